// Quality measures of a stored solution: infeasibilities, residuals, sizes
// of the primal and dual vectors, the objective pair and the condition of
// the basis, each by its number (VLTgetdblquality) with the row or column
// where a largest value occurs (VLTgetintquality).  All are recomputed from
// the model and the solution as the getters give them; nothing is changed.
#include <algorithm>
#include <cmath>
#include <vector>

#include "env/par.h"
#include "model/lp.h"
#include "model/store.h"
#include "simplex/quality.h"

namespace velto {

namespace {

enum : int {
  kBadArg = 1003,
  kNoSolution = 1217,
  kNotMip = 3003,
  kLastCode = 42,
};

inline bool isfin(double b) { return std::fabs(b) < kInfThreshold; }

// One measure: its value and where a largest value occurs (a column j, or
// ~i for row i; -1 when nothing was seen).
struct measure {
  double value = 0.0;
  int at = -1;
  void take(double v, int where) {
    if (v > value) {
      value = v;
      at = where;
    }
  }
};

// Sum and largest of one quantity, unscaled and scaled: codes
// largest-unscaled, largest-scaled, sum-unscaled, sum-scaled.
struct fourway {
  measure big[2];
  double sum[2] = {0.0, 0.0};
  void add(double u, double s, int where) {
    u = std::fabs(u);
    s = std::fabs(s);
    big[0].take(u, where);
    big[1].take(s, where);
    sum[0] += u;
    sum[1] += s;
  }
};

struct qualdata {
  const lp *p = nullptr;
  bool mip = false;
  bool duals = false;  // pi and d exist
  int m = 0, n = 0, objsen = 1;
  std::vector<double> x, slack, pi, dj, obj, lb, ub, rhs, rng, ax;
  std::vector<char> sense, ctype;
  std::vector<int> cstat, rstat;  // empty without a basis
  std::vector<double> rs, cs;     // scale factors (1 when unscaled)
};

// Reads the model and the solution through the getters.  A negative
// status was reported by the getter already.
int readsolution(env *e, lp *p, qualdata &q) {
  const lpcore *c = p->core;
  q.p = p;
  q.m = c->numrows;
  q.n = c->numcols;
  q.objsen = c->objsen;
  q.mip = p->probtype == kTypeMILP || p->probtype == kTypeMIQP;
  const int m = q.m, n = q.n;
  q.x.assign(n, 0.0);
  q.slack.assign(m, 0.0);
  q.obj.assign(n, 0.0);
  q.lb.assign(n, 0.0);
  q.ub.assign(n, 0.0);
  q.rhs.assign(m, 0.0);
  q.rng.assign(m, 0.0);
  q.sense.assign(c->sense, c->sense + m);
  q.ctype.assign(n, 'C');
  if (c->ctype) q.ctype.assign(c->ctype, c->ctype + n);
  if (n) {
    getobj_u(p, q.obj.data(), 0, n - 1);
    getlb_u(p, q.lb.data(), 0, n - 1);
    getub_u(p, q.ub.data(), 0, n - 1);
  }
  if (m) {
    getrhs_u(p, q.rhs.data(), 0, m - 1);
    getrng_u(p, q.rng.data(), 0, m - 1);
  }
  q.rs.assign(m, 1.0);
  q.cs.assign(n, 1.0);
  if (c->rowscale)
    for (int i = 0; i < m; ++i) q.rs[i] = c->rowscale[i];
  if (c->colscale)
    for (int j = 0; j < n; ++j) q.cs[j] = c->colscale[j];
  int st = 0;
  if (q.mip) {
    if (n) st = VLTgetmipx(e, p, q.x.data(), 0, n - 1);
    if (st == 0 && m) st = VLTgetmipslack(e, p, q.slack.data(), 0, m - 1);
    return st ? -st : 0;
  }
  if (n) st = VLTgetx(e, p, q.x.data(), 0, n - 1);
  if (st == 0 && m) st = VLTgetslack(e, p, q.slack.data(), 0, m - 1);
  if (st) return -st;
  q.pi.assign(m, 0.0);
  q.dj.assign(n, 0.0);
  q.duals = p->soln->pi != nullptr && p->soln->dj != nullptr;
  if (q.duals) {
    if (m) st = VLTgetpi(e, p, q.pi.data(), 0, m - 1);
    if (st == 0 && n) st = VLTgetdj(e, p, q.dj.data(), 0, n - 1);
    if (st) return -st;
  }
  if (soln_hasbasis(p)) {
    q.cstat.assign(n, 0);
    q.rstat.assign(m, 0);
    soln_userbasis(p, q.cstat.data(), q.rstat.data());
  }
  return 0;
}

// The low and high end of row i's activity.
void rowends(const qualdata &q, int i, double &lo, double &hi) {
  const double b = q.rhs[i];
  lo = -kInfBound;
  hi = kInfBound;
  switch (q.sense[i]) {
    case 'L': hi = b; break;
    case 'G': lo = b; break;
    case 'E': lo = hi = b; break;
    default:
      lo = b + std::min(0.0, q.rng[i]);
      hi = b + std::max(0.0, q.rng[i]);
  }
}

// Where a variable stands for the sign test of its dual: 0 at its lower
// bound, 2 at its upper, 1 between (the dual must vanish), 4 fixed (any
// sign).  From the basis when there is one, else from the value.
int dualside(int st, double v, double lo, double hi, double tol) {
  if (isfin(lo) && isfin(hi) && hi - lo < 1e-10) return 4;
  if (st >= 0) {
    if (st == 0 && isfin(lo)) return 0;
    if (st == 2 && isfin(hi)) return 2;
    return 1;
  }
  const bool atlo = isfin(lo) && v <= lo + tol * (1.0 + std::fabs(lo));
  const bool athi = isfin(hi) && v >= hi - tol * (1.0 + std::fabs(hi));
  if (atlo && athi) return 4;
  return atlo ? 0 : athi ? 2 : 1;
}

// Violation of the sign of a dual value (minimization sign) for its side.
double signviolation(int side, double d) {
  switch (side) {
    case 0: return std::max(0.0, -d);
    case 2: return std::max(0.0, d);
    case 1: return std::fabs(d);
    default: return 0.0;
  }
}

// All measures at once, by code (1 .. 42); codes that need the duals are
// left out when the solution has none.
struct allmeasures {
  double value[kLastCode + 1] = {};
  int at[kLastCode + 1];
  allmeasures() { std::fill(at, at + kLastCode + 1, -1); }
  void put4(int code, const fourway &f) {
    value[code] = f.big[0].value;
    at[code] = f.big[0].at;
    value[code + 1] = f.big[1].value;
    at[code + 1] = f.big[1].at;
    value[code + 2] = f.sum[0];
    value[code + 3] = f.sum[1];
  }
  // A size: largest at big, big + 1; sums at sum, sum + 1.
  void putsize(int big, int sum, const fourway &f) {
    for (int s = 0; s < 2; ++s) {
      value[big + s] = f.big[s].value;
      at[big + s] = f.big[s].at;
      value[sum + s] = f.sum[s];
    }
  }
};

void compute(env *e, const qualdata &q, allmeasures &r) {
  const lpcore *c = q.p->core;
  const int m = q.m, n = q.n;
  const double tol = e->params->eprhs;
  std::vector<double> ax(m, 0.0);
  for (int j = 0; j < n; ++j)
    for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k)
      ax[c->matind[k]] += matval_u(q.p, k, j) * q.x[j];

  // Primal infeasibility (codes 1-4) and residuals (11-14).
  fourway pinf, pres;
  for (int j = 0; j < n; ++j) {
    const double x = q.x[j];
    double v = 0.0;
    if (isfin(q.lb[j])) v = std::max(v, q.lb[j] - x);
    if (isfin(q.ub[j])) v = std::max(v, x - q.ub[j]);
    const char t = q.ctype[j];
    if ((t == 'S' || t == 'N') && x > 0.0 && x < q.lb[j])
      v = x < q.lb[j] - x ? x : q.lb[j] - x;  // the nearer of 0 and the bound
    if (v > 0.0) pinf.add(v, v * q.cs[j], j);
  }
  // The row's activity as its slack gives it.
  std::vector<double> act(m);
  for (int i = 0; i < m; ++i)
    act[i] = q.sense[i] == 'R' ? q.rhs[i] + q.slack[i] : q.rhs[i] - q.slack[i];
  for (int i = 0; i < m; ++i) {
    double lo, hi;
    rowends(q, i, lo, hi);
    const double v =
        std::max({0.0, isfin(lo) ? lo - act[i] : 0.0, isfin(hi) ? act[i] - hi : 0.0});
    if (v > 0.0) pinf.add(v, v / q.rs[i], -i - 1);
    const double res = q.sense[i] == 'R' ? ax[i] - q.rhs[i] - q.slack[i]
                                         : q.rhs[i] - ax[i] - q.slack[i];
    pres.add(res, res / q.rs[i], i);
  }
  r.put4(1, pinf);
  r.put4(11, pres);

  // Integer infeasibility (9, 10).
  measure iinf;
  double isum = 0.0;
  for (int j = 0; j < n; ++j) {
    const char t = q.ctype[j];
    if (t == 'C' || t == 'S') continue;
    const double f = q.x[j] - std::floor(q.x[j]);
    const double v = std::min(f, 1.0 - f);
    iinf.take(v, j);
    isum += v;
  }
  r.value[9] = iinf.value;
  r.at[9] = iinf.at;
  r.value[10] = isum;

  // Sizes of x and the slacks (23, 24, 27, 28, 31, 32, 35, 36).
  fourway xs, ss;
  for (int j = 0; j < n; ++j) xs.add(q.x[j], q.x[j] * q.cs[j], j);
  measure sbig;
  for (int i = 0; i < m; ++i) {
    ss.add(q.slack[i], q.slack[i] / q.rs[i], i);
    if (q.sense[i] != 'E') sbig.take(std::fabs(q.slack[i] / q.rs[i]), i);
  }
  r.putsize(23, 31, xs);
  r.putsize(27, 35, ss);
  r.value[28] = sbig.value;  // leaves out equality rows; no index
  r.at[28] = -1;

  // Primal objective (42), in the user's sign.
  double primal = c->objoffset;
  for (int j = 0; j < n; ++j) primal += q.obj[j] * q.x[j];
  r.value[42] = primal;
  if (!q.duals) return;

  // Dual infeasibility (5-8), dual residuals (15-18), complementarity (19,
  // 21), sizes of pi and d (25, 26, 29, 30, 33, 34, 37, 38) and the dual
  // objective (40, 41).  Signs are turned to minimization.
  const double sen = q.objsen;
  fourway dinf, dres, ps, ds;
  measure comp;
  double csum = 0.0;
  double dual = sen * c->objoffset;
  std::vector<double> aty(n, 0.0);
  for (int j = 0; j < n; ++j)
    for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k)
      aty[j] += matval_u(q.p, k, j) * q.pi[c->matind[k]];
  for (int j = 0; j < n; ++j) {
    const double d = sen * q.dj[j];
    const int st = q.cstat.empty() ? -1 : q.cstat[j];
    const int side = dualside(st, q.x[j], q.lb[j], q.ub[j], tol);
    const double v = signviolation(side, d);
    if (v > 0.0) dinf.add(v, v / q.cs[j], j);
    const double res = q.obj[j] - aty[j] - q.dj[j];
    dres.add(res, res / q.cs[j], j);
    ds.add(q.dj[j], q.dj[j] / q.cs[j], j);
    // Complementarity: the dual times the distance to the bound it leans on.
    double prod = 0.0;
    if (d > 0.0 && isfin(q.lb[j])) prod = d * (q.x[j] - q.lb[j]);
    else if (d < 0.0 && isfin(q.ub[j])) prod = -d * (q.ub[j] - q.x[j]);
    comp.take(std::fabs(prod), j);
    csum += std::fabs(prod);
    if (d > 0.0 && q.lb[j] > -kInfBound) dual += d * q.lb[j];
    else if (d < 0.0 && q.ub[j] < kInfBound) dual += d * q.ub[j];
  }
  for (int i = 0; i < m; ++i) {
    const double y = sen * q.pi[i];
    double lo, hi;
    rowends(q, i, lo, hi);
    int st = -1;
    if (!q.rstat.empty()) {
      // A row's status: basic slack means the row is not in force.
      // A ranged row's status is its range column's: 0 puts the activity
      // at the low end.  An 'L' row's slack at 0 puts it at the high end.
      st = q.rstat[i] == 1 ? 1 : q.rstat[i] == 2 ? 2 : 0;
      if (q.sense[i] == 'L' && st == 0) st = 2;
    }
    // The row's logical a_i x has cost 0 and column -e_i: its dual is y.
    const int side = dualside(st, act[i], lo, hi, tol);
    const double v = signviolation(side, y);
    if (v > 0.0) dinf.add(v, v * q.rs[i], -i - 1);
    ps.add(q.pi[i], q.pi[i] * q.rs[i], i);
    double prod = 0.0;
    if (y > 0.0 && isfin(lo)) prod = y * (act[i] - lo);
    else if (y < 0.0 && isfin(hi)) prod = -y * (hi - act[i]);
    comp.take(std::fabs(prod), -i - 1);
    csum += std::fabs(prod);
    if (y > 0.0 && isfin(lo)) dual += y * lo;
    else if (y < 0.0 && isfin(hi)) dual += y * hi;
    else if (q.sense[i] != 'R') dual += y * q.rhs[i];
  }
  r.put4(5, dinf);
  r.put4(15, dres);
  r.value[19] = comp.value;
  r.at[19] = comp.at;
  r.value[21] = csum;
  r.putsize(25, 33, ps);
  r.putsize(29, 37, ds);
  r.value[41] = sen * dual;
  r.value[40] = primal - sen * dual;
}

// Codes that need the dual values.
bool dualcode(int what) {
  return (what >= 5 && what <= 8) || (what >= 15 && what <= 19) || what == 21 ||
         what == 25 || what == 26 || what == 29 || what == 30 || (what >= 33 && what <= 38) ||
         what == 40 || what == 41;
}

// Codes with an index for VLTgetintquality.
bool indexcode(int what) {
  switch (what) {
    case 1: case 2: case 5: case 6: case 9: case 11: case 12: case 15: case 16: case 19:
    case 23: case 24: case 25: case 26: case 27: case 29: case 30:
      return true;
    default:
      return false;
  }
}

// The measure `what` into value and, when index is given (only for codes
// with an index), where its largest value occurs.
int quality(env *e, lp *p, int what, double *value, int *index) {
  const soln *s = p->soln;
  const bool mip = p->probtype == kTypeMILP || p->probtype == kTypeMIQP;
  if (!mip && (s == nullptr || s->lpstat == 0 || p->lpstat == 0)) return kNoSolution;
  if (what < 1 || what > kLastCode || what == 20 || what == 22) return kBadArg;
  if (index && !indexcode(what)) return kBadArg;
  if ((what == 9 || what == 10) && !mip) return kNotMip;
  if (what == 39) {
    if (mip) return kNoSolution;
    return solution_kappa(e, p, value);
  }
  qualdata q;
  int st = readsolution(e, p, q);
  if (st) return st;
  if (dualcode(what) && !q.duals) return kNoSolution;
  allmeasures r;
  compute(e, q, r);
  if (value) *value = r.value[what];
  if (index) *index = r.at[what];
  return 0;
}

template <class F>
int qualcall(env *e, lp *p, bool out, F work) {
  if (!checkenv(e)) return kNoEnvironment;
  int status = guarded([&] { return queryframe(e, &p); });
  if (status == 0 && !out) status = kNullPointer;
  if (status == 0) status = guarded([&] { return work(p); });
  return finish(e, status);
}

// A largest measure as a double with its index; -1.0 on failure.
double largest(env *e, lp *p, int *index, int what) {
  double v = -1.0;
  int at = -1;
  int st = qualcall(e, p, true, [&](velto_lp *q) { return quality(e, q, what, &v, &at); });
  if (st) return -1.0;
  if (index) *index = at;
  return v;
}

}  // namespace
}  // namespace velto

using namespace velto;

extern "C" {

int VLTgetdblquality(VLTENVptr env, VLTLPptr lp, double *value, int what) {
  return qualcall(env, lp, value != nullptr,
                  [&](velto_lp *p) { return quality(env, p, what, value, nullptr); });
}

int VLTgetintquality(VLTENVptr env, VLTLPptr lp, int *index, int what) {
  return qualcall(env, lp, index != nullptr,
                  [&](velto_lp *p) { return quality(env, p, what, nullptr, index); });
}

double VLTcheckax(VLTENVptr env, VLTLPptr lp, int *index, int flag) {
  return largest(env, lp, index, flag ? 12 : 11);
}

double VLTcheckpib(VLTENVptr env, VLTLPptr lp, int *index, int flag) {
  return largest(env, lp, index, flag ? 16 : 15);
}

}  // extern "C"
