// Sensitivity ranges of a solved linear program: how far a cost, a right-hand
// side or a bound may move while the final basis stays optimal (costs) or
// feasible (right-hand sides and bounds).  Everything is read from the basis
// frame, in the user's units; the answers are in the user's objective sign.
//
// Costs: a nonbasic column's range ends where its reduced cost changes sign;
// a basic column's by a ratio test of the reduced costs against the row of
// B^-1 A at its position.  Right-hand sides and bounds: the column of B^-1
// (of the row, or of the column whose bound is in force) moves the basic
// values, and the first basic variable to reach a limit ends the range.
#include <algorithm>
#include <cmath>
#include <vector>

#include "env/par.h"
#include "model/lp.h"
#include "model/store.h"
#include "simplex/bframe.h"

namespace velto {

namespace {

enum : int { kNoSolution = 1217, kNotAvailable = 1260 };

constexpr double kPivTol = 1e-10;   // smaller entries of B^-1 A are no candidates
constexpr double kZeroTol = 1e-10;  // values this close to 0 count as 0
constexpr double kRhsBig = 1e17;    // right-side and bound limits beyond this are infinite
constexpr double kCostBig = 1e19;   // cost limits beyond this are infinite
constexpr double kNone = 1e20;

inline bool isfin(double b) { return std::fabs(b) < kInfThreshold; }

enum sakind : int { kSaCost, kSaRhs, kSaBound };

// Checks shared by the four calls, after the handles and the null outputs:
// the problem type, a solution with a basis, and its status.
int sacheck(env *e, lp *p, int kind, int begin, int end, int count, const char *caller) {
  if (p->probtype == kTypeMILP || p->probtype == kTypeMIQP) return 1017;
  if (p->probtype == kTypeQP || p->probtype == kTypeZeroedQP || p->probtype == kTypeQPNode ||
      p->probtype == kTypeFixedMIQP)
    return 1018;
  const soln *s = p->soln;
  if (s == nullptr || s->lpstat == 0 || p->lpstat == 0) return kNoSolution;
  // A solution without a basis (an interior point) has no ranges.
  if (!soln_hasbasis(p) || s->method == 4) return kNotAvailable;
  const int st = s->lpstat;
  bool ok = st == 1 || st == 5;
  if (!ok && s->method != 2) ok = st == 2 || (st == 3 && kind == kSaRhs);
  if (!ok) return kNotAvailable;
  if (!rangecheck(e, caller, begin, end, 0, count)) return kIndexRange;
  return 0;
}

// Limits of each basic variable for the right-side and bound walks, by basis
// position.  A feasible value keeps the bounds of its variable; a value
// outside them may move further out without limit and back up to the bound
// it violates.
struct basiclimits {
  std::vector<double> lo, up;  // +-kNone for none
};

void makelimits(const bframe &f, double tol, basiclimits &bl) {
  bl.lo.assign(f.m, -kNone);
  bl.up.assign(f.m, kNone);
  for (int k = 0; k < f.m; ++k) {
    const int v = f.head[k];
    const double x = f.x[v], lb = f.prob.lb[v], ub = f.prob.ub[v];
    if (isfin(lb) && x < lb - tol) {
      bl.up[k] = lb;
    } else if (isfin(ub) && x > ub + tol) {
      bl.lo[k] = ub;
    } else {
      if (isfin(lb)) bl.lo[k] = lb;
      if (isfin(ub)) bl.up[k] = ub;
    }
  }
}

// The interval [lo, hi] of t, containing 0, over which x_B + t w stays
// within the limits.
void walk(const bframe &f, const basiclimits &bl, const std::vector<double> &w, double &lo,
          double &hi) {
  lo = -kNone;
  hi = kNone;
  for (int k = 0; k < f.m; ++k) {
    const double wk = w[k];
    if (std::fabs(wk) < kPivTol) continue;
    const double x = f.x[f.head[k]];
    double t1 = -kNone, t2 = kNone;  // t reaching the lower and the upper limit
    bool has1 = bl.lo[k] > -kNone, has2 = bl.up[k] < kNone;
    if (has1) t1 = (bl.lo[k] - x) / wk;
    if (has2) t2 = (bl.up[k] - x) / wk;
    if (wk > 0) {
      if (has1) lo = std::max(lo, t1);
      if (has2) hi = std::min(hi, t2);
    } else {
      if (has2) lo = std::max(lo, t2);
      if (has1) hi = std::min(hi, t1);
    }
  }
  lo = std::min(lo, 0.0);
  hi = std::max(hi, 0.0);
}

// value + t for a limit t of a right side or bound, with the infinite ends.
double rhsend(double value, double t) {
  if (t <= -kRhsBig) return -kNone;
  if (t >= kRhsBig) return kNone;
  double r = value + t;
  return std::fabs(r) < kZeroTol ? 0.0 : r;
}

// Range of right side i: [b + lo, b + hi] as limits on the move t.
void rhsmove(bframe &f, const basiclimits &bl, int i, std::vector<double> &w, double &lo,
             double &hi) {
  std::fill(w.begin(), w.end(), 0.0);
  w[i] = 1.0;
  if (f.m) f.fac->ftran(w);
  walk(f, bl, w, lo, hi);
}

// Move t of nonbasic variable v: the basic values change by -t B^-1 a_v.
void varmove(bframe &f, const basiclimits &bl, int v, std::vector<double> &w, double &lo,
             double &hi) {
  frame_column(f, v, w);
  if (f.m) f.fac->ftran(w);
  for (double &t : w) t = -t;
  walk(f, bl, w, lo, hi);
}

int openframe(env *e, lp *p, bframe &f) {
  return frame_open(e, p, f, kFrameSolnOnly, kNotAvailable);
}

// The frame with the limits of its basic variables, for the right-side and
// bound walks.
struct walkframe {
  bframe f;
  basiclimits bl;
  std::vector<double> w;  // work column over the rows
};

int openwalk(env *e, lp *p, walkframe &wf) {
  int st = openframe(e, p, wf.f);
  if (st) return st;
  makelimits(wf.f, e->params->eprhs, wf.bl);
  wf.w.assign(wf.f.m, 0.0);
  return 0;
}

// ---- costs -------------------------------------------------------------

// Row-wise copy of the structural and range columns of the frame.
struct rowcopy {
  std::vector<int> beg, ind;
  std::vector<double> val;
};

void makerows(const bframe &f, rowcopy &r) {
  const dualprob &q = f.prob;
  r.beg.assign(f.m + 1, 0);
  for (int k = 0; k < q.matbeg[f.n]; ++k) ++r.beg[q.matind[k] + 1];
  for (int i = 0; i < f.m; ++i) r.beg[i + 1] += r.beg[i];
  r.ind.resize(q.matbeg[f.n]);
  r.val.resize(q.matbeg[f.n]);
  std::vector<int> next(r.beg.begin(), r.beg.end() - 1);
  for (int j = 0; j < f.n; ++j)
    for (int k = q.matbeg[j]; k < q.matbeg[j + 1]; ++k) {
      int at = next[q.matind[k]]++;
      r.ind[at] = j;
      r.val[at] = q.matval[k];
    }
}

// Limits [lo, hi] on the change t (minimization sign) of the cost of the
// basic variable at position p: the reduced costs d_k - t alpha_k of the
// nonbasic variables keep their signs.
void basiccost(const bframe &f, const rowcopy &r, int p, std::vector<double> &rho,
               std::vector<double> &alpha, std::vector<int> &touched, double &lo, double &hi) {
  std::fill(rho.begin(), rho.end(), 0.0);
  rho[p] = 1.0;
  if (f.m) f.fac->btran(rho);
  touched.clear();
  for (int i = 0; i < f.m; ++i) {
    const double ri = rho[i];
    if (ri == 0.0) continue;
    for (int k = r.beg[i]; k < r.beg[i + 1]; ++k) {
      const int j = r.ind[k];
      if (alpha[j] == 0.0) touched.push_back(j);
      alpha[j] += ri * r.val[k];
      if (alpha[j] == 0.0) alpha[j] = 1e-300;  // keep it listed once
    }
  }
  lo = -kNone;
  hi = kNone;
  auto limit = [&](int v, double a) {
    if (std::fabs(a) < kPivTol) return;
    const int st = f.status[v];
    if (st == 1 || f.prob.ub[v] - f.prob.lb[v] < kPivTol) return;
    const double ratio = f.d[v] / a;
    if (st == 3) {
      // A free nonbasic variable keeps a zero reduced cost only at t = 0.
      lo = std::max(lo, ratio);
      hi = std::min(hi, ratio);
    } else if ((st == 0) == (a > 0)) {
      hi = std::min(hi, ratio);
    } else {
      lo = std::max(lo, ratio);
    }
  };
  for (int j : touched) {
    limit(j, alpha[j]);
    alpha[j] = 0.0;
  }
  for (int i = 0; i < f.m; ++i)
    if (rho[i] != 0.0) limit(f.n + i, rho[i] * f.prob.slackval[i]);
}

int objsa(env *e, lp *p, int begin, int end, double *lower, double *upper) {
  bframe f;
  int st = openframe(e, p, f);
  if (st) return st;
  const soln *s = p->soln;
  const bool optimal = s->lpstat == 1 || s->lpstat == 5 || s->lpstat == 3;
  const int sen = p->core->objsen;
  std::vector<double> obj(f.nc);
  if (f.nc) getobj_u(p, obj.data(), 0, f.nc - 1);
  rowcopy rows;
  std::vector<double> rho, alpha;
  std::vector<int> touched;
  for (int j = begin; j <= end; ++j) {
    const double c = obj[j];
    double &L = lower[j - begin], &U = upper[j - begin];
    const int stj = f.status[j];
    if (stj != 1) {
      if (f.prob.ub[j] - f.prob.lb[j] < kPivTol) {
        L = -kNone;
        U = kNone;
      } else if (stj == 3) {
        L = U = c;
      } else {
        // The user's reduced cost is sen * d; the range ends where it is 0.
        const double vv = c - sen * f.d[j];
        if ((stj == 0 ? 1 : -1) * sen == 1) {
          L = vv;
          U = kNone;
        } else {
          L = -kNone;
          U = vv;
        }
      }
      continue;
    }
    if (rows.beg.empty()) {
      makerows(f, rows);
      rho.assign(f.m, 0.0);
      alpha.assign(f.n, 0.0);
    }
    double lo, hi;
    basiccost(f, rows, f.pos[j], rho, alpha, touched, lo, hi);
    if (optimal) {
      lo = std::min(lo, 0.0);
      hi = std::max(hi, 0.0);
    } else if (lo > hi + kZeroTol) {
      L = kNone;
      U = -kNone;
      continue;
    }
    // t is in minimization sign: the user's cost moves by sen * t.
    double tlo = sen == 1 ? lo : -hi, thi = sen == 1 ? hi : -lo;
    L = tlo <= -kCostBig ? -kNone : c + tlo;
    U = thi >= kCostBig ? kNone : c + thi;
  }
  return 0;
}

// ---- right-hand sides ----------------------------------------------------

int rhssa(env *e, lp *p, int begin, int end, double *lower, double *upper) {
  walkframe wf;
  int st = openwalk(e, p, wf);
  if (st) return st;
  bframe &f = wf.f;
  basiclimits &bl = wf.bl;
  std::vector<double> &w = wf.w;
  for (int i = begin; i <= end; ++i) {
    double lo, hi;
    rhsmove(f, bl, i, w, lo, hi);
    const double b = f.prob.rhs[i];
    lower[i - begin] = rhsend(b, lo);
    upper[i - begin] = rhsend(b, hi);
  }
  return 0;
}

// The two sides of each row: the lower side (the right side of a 'G' or 'E'
// row, the low end of a range) and the upper side, each with its range.  A
// side that is not in force may move from the row's activity to infinity.
int rangesa(env *e, lp *p, int begin, int end, double *lolower, double *loupper,
            double *uplower, double *upupper) {
  walkframe wf;
  int st = openwalk(e, p, wf);
  if (st) return st;
  bframe &f = wf.f;
  basiclimits &bl = wf.bl;
  std::vector<double> &w = wf.w;
  const lpcore *c = p->core;
  for (int i = begin; i <= end; ++i) {
    const int k = i - begin;
    const double b = f.prob.rhs[i];
    double lo, hi;
    rhsmove(f, bl, i, w, lo, hi);
    const double rlo = rhsend(b, lo), rhi = rhsend(b, hi);
    const char sense = c->sense[i];
    // Activity a_i x; for a ranged row its two ends and the one in force
    // (-1 the low end, 1 the high end, 0 neither).
    double act = b, lside = b, uside = b;
    int side = 0;
    if (sense == 'R') {
      const int r = f.rangecol[i];
      act = b + f.x[r];
      lside = b + f.prob.lb[r];
      uside = b + f.prob.ub[r];
      side = f.status[r] == 0 ? -1 : f.status[r] == 2 ? 1 : 0;
    } else if (sense != 'E') {
      act = b - f.prob.slackval[i] * f.x[f.n + i];
    }
    auto put = [&](double *a, double *z, double x, double y) {
      if (a) a[k] = x;
      if (z) z[k] = y;
    };
    if (sense == 'E') {
      put(lolower, loupper, rlo, rhi);
      put(uplower, upupper, rlo, rhi);
    } else if (sense == 'G' || sense == 'L') {
      // The side in force has the right side's range; a basic slack gives
      // the same interval, from minus infinity to the activity (or from the
      // activity up).  The infinite side may come down to the activity.
      if (sense == 'G') {
        put(lolower, loupper, rlo, rhi);
        put(uplower, upupper, act, kNone);
      } else {
        put(lolower, loupper, -kNone, act);
        put(uplower, upupper, rlo, rhi);
      }
    } else if (side == 0) {
      put(lolower, loupper, -kNone, act);
      put(uplower, upupper, act, kNone);
    } else if (side == -1) {
      // The low end is in force: it moves like the right side, but not past
      // the high end.
      put(lolower, loupper, rhsend(lside, lo), std::min(rhsend(lside, hi), uside));
      put(uplower, upupper, act, kNone);
    } else {
      put(lolower, loupper, -kNone, act);
      put(uplower, upupper, std::max(rhsend(uside, lo), lside), rhsend(uside, hi));
    }
  }
  return 0;
}

// ---- bounds ----------------------------------------------------------------

int boundsa(env *e, lp *p, int begin, int end, double *lblower, double *lbupper,
            double *ublower, double *ubupper) {
  walkframe wf;
  int st = openwalk(e, p, wf);
  if (st) return st;
  bframe &f = wf.f;
  basiclimits &bl = wf.bl;
  std::vector<double> &w = wf.w;
  const double tol = e->params->eprhs;
  auto put = [](double *a, int k, double v) {
    if (a) a[k] = v;
  };
  for (int j = begin; j <= end; ++j) {
    const int k = j - begin;
    const double x = f.x[j], lb = f.prob.lb[j], ub = f.prob.ub[j];
    const double lbv = isfin(lb) ? lb : -kNone, ubv = isfin(ub) ? ub : kNone;
    const int stj = f.status[j];
    // A fixed nonbasic column whose reduced cost asks for the other bound is
    // optimal only while it stays fixed: neither bound may move.
    if ((stj == 0 || stj == 2) && ub - lb < kPivTol &&
        (stj == 0 ? f.d[j] < -e->params->epopt : f.d[j] > e->params->epopt)) {
      put(lblower, k, lbv);
      put(lbupper, k, lbv);
      put(ublower, k, ubv);
      put(ubupper, k, ubv);
      continue;
    }
    if (stj == 1 || stj == 3) {
      // The bounds are not in force: each may move up to the value.
      double a, b;
      if (!isfin(lb) || lb - tol <= x) { a = -kNone; b = x; } else { a = x; b = kNone; }
      if (isfin(ub)) b = std::min(b, ub);
      put(lblower, k, a);
      put(lbupper, k, b);
      if (!isfin(ub) || ub + tol >= x) { a = x; b = kNone; } else { a = -kNone; b = x; }
      if (isfin(lb)) a = std::max(a, lb);
      put(ublower, k, a);
      put(ubupper, k, b);
      continue;
    }
    double lo = 0.0, hi = 0.0;
    if (lblower || lbupper || ublower || ubupper) varmove(f, bl, j, w, lo, hi);
    if (stj == 0) {
      put(lblower, k, rhsend(lbv, lo));
      put(lbupper, k, std::min(rhsend(lbv, hi), ubv));
      put(ublower, k, lbv);
      put(ubupper, k, kNone);
    } else {
      put(lblower, k, -kNone);
      put(lbupper, k, ubv);
      put(ublower, k, std::max(rhsend(ubv, lo), lbv));
      put(ubupper, k, rhsend(ubv, hi));
    }
  }
  return 0;
}

// Frame of the four calls: handles, null outputs, the problem and its
// solution, then the work.
template <class F>
int sacall(env *e, lp *p, bool outputs, int kind, int begin, int end, bool rows,
           const char *caller, F work) {
  if (!checkenv(e)) return kNoEnvironment;
  int status = 0;
  if (!outputs) status = kNullPointer;
  if (status == 0) status = guarded([&] { return queryframe(e, &p); });
  if (status == 0)
    status = guarded([&] {
      return sacheck(e, p, kind, begin, end, rows ? p->core->numrows : p->core->numcols,
                     caller);
    });
  if (status == 0 && end >= begin) status = guarded([&] { return work(p); });
  return finish(e, status);
}

}  // namespace
}  // namespace velto

using namespace velto;

extern "C" {

int VLTobjsa(VLTENVptr env, VLTLPptr lp, int begin, int end, double *lower, double *upper) {
  return sacall(env, lp, lower && upper, kSaCost, begin, end, false, "VLTobjsa",
                [&](velto_lp *p) { return objsa(env, p, begin, end, lower, upper); });
}

int VLTrhssa(VLTENVptr env, VLTLPptr lp, int begin, int end, double *lower, double *upper) {
  return sacall(env, lp, lower && upper, kSaRhs, begin, end, true, "VLTrhssa",
                [&](velto_lp *p) { return rhssa(env, p, begin, end, lower, upper); });
}

int VLTboundsa(VLTENVptr env, VLTLPptr lp, int begin, int end, double *lblower,
               double *lbupper, double *ublower, double *ubupper) {
  return sacall(env, lp, lblower || lbupper || ublower || ubupper, kSaBound, begin, end, false,
                "VLTboundsa", [&](velto_lp *p) {
                  return boundsa(env, p, begin, end, lblower, lbupper, ublower, ubupper);
                });
}

int VLTErangesa(VLTENVptr env, VLTLPptr lp, int begin, int end, double *lolower,
                double *loupper, double *uplower, double *upupper) {
  return sacall(env, lp, lolower || loupper || uplower || upupper, kSaRhs, begin, end, true,
                "VLTErangesa", [&](velto_lp *p) {
                  return rangesa(env, p, begin, end, lolower, loupper, uplower, upupper);
                });
}

}  // extern "C"
