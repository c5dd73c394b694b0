// Exported questions about the current basis: positions, the divergence of
// an unbounded basis, steepest-edge weights of new rows, feasibility of the
// basis, and read-only ratio tests in both directions.
#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "env/par.h"
#include "model/lp.h"
#include "model/store.h"
#include "simplex/bframe.h"
#include "simplex/bratio.h"

namespace velto {

namespace {

enum : int {
  kNoSolution = 1217,
  kNotBasic = 1251,
  kNotUnbounded = 1254,
  kBadPricing = 1257,
  kNoFactor = 1258,
  kIllegalPivot = 1267,
};

bool solnbasis(const lp *p) {
  const soln *s = p->soln;
  return s && s->hasbasis && s->head && s->cstat && s->lpstat != 0 && p->lpstat != 0 &&
         s->rows == p->core->numrows && s->allcols == p->core->allcols;
}

// Checks a list of variables in the user's numbering; prints the column or
// row line and returns the code negated.
int checkvars(env *e, const lp *p, int cnt, const int *indices) {
  const int n = p->core->numcols, m = p->core->numrows;
  for (int k = 0; k < cnt; ++k) {
    int j = indices[k];
    if (j >= n) {
      msg(e->errchannel, errtext(e, 1201), j);
      return -1201;
    }
    if (j < 0 && -j - 1 >= m) {
      msg(e->errchannel, errtext(e, 1203), -j - 1);
      return -1203;
    }
  }
  return 0;
}

}  // namespace

// Nonbasic variable along which the basis of an unbounded result diverges:
// dual infeasible, with no bound in its improving direction and no basic
// variable blocking it.  -1 when there is none.  `dir` gets its direction
// and `alpha` its FTRAN column.
int frame_divergence(bframe &f, double tol, int &dir, std::vector<double> &alpha) {
  const dualprob &p = f.prob;
  // Dual infeasible candidates without a bound ahead, largest first.
  std::vector<std::pair<double, int>> cand;
  for (int v = 0; v < f.n + f.m; ++v) {
    int st = f.status[v];
    if (st == 1 || p.lb[v] == p.ub[v]) continue;
    double dv = f.d[v];
    int dv_dir = 0;
    if (st == 0 && dv < -tol) dv_dir = 1;
    else if (st == 2 && dv > tol) dv_dir = -1;
    else if (st == 3 && std::fabs(dv) > tol) dv_dir = dv < 0 ? 1 : -1;
    if (dv_dir == 0 || move_range(f, v, dv_dir) < 1e75) continue;
    cand.push_back({-std::fabs(dv), v});
  }
  std::sort(cand.begin(), cand.end());
  std::vector<double> a(f.m);
  for (const auto &cv : cand) {
    int v = cv.second;
    int dv_dir = f.d[v] < 0 ? 1 : -1;
    frame_column(f, v, a);
    if (f.m) f.fac->ftran(a);
    bool blocked = false;
    for (int k = 0; k < f.m && !blocked; ++k) {
      double s = dv_dir * a[k];
      if (std::fabs(s) <= 1e-9) continue;
      int b = f.head[k];
      blocked = s > 0 ? std::fabs(p.lb[b]) < 1e17 : std::fabs(p.ub[b]) < 1e17;
    }
    if (blocked) continue;
    dir = dv_dir;
    alpha = a;
    return v;
  }
  return -1;
}

// Ray of an unbounded basis over the user's columns (VLTgetray after a
// method that keeps no ray of its own).  0, or 1217 when the basis shows
// no divergence.
int basis_ray(env *e, lp *p, double *z) {
  bframe f;
  int st = frame_open(e, p, f, kFrameSolnOnly, kNoSolution);
  if (st) return st;
  int dir = 0;
  std::vector<double> alpha;
  int q = frame_divergence(f, e->params->epopt, dir, alpha);
  if (q < 0) return kNoSolution;
  std::fill(z, z + f.nc, 0.0);
  if (q < f.nc) z[q] = dir;
  for (int k = 0; k < f.m; ++k)
    if (f.head[k] < f.nc) z[f.head[k]] = -dir * alpha[k];
  return 0;
}

int basis_primal_feasible(env *e, lp *p) {
  bframe f;
  if (frame_open(e, p, f, kFrameAnyBasis, 1262) != 0) return -1;
  return frame_worst_primal(f, e->params->eprhs) < 0 ? 1 : 0;
}

}  // namespace velto

using namespace velto;

extern "C" {

int VLTgetijrow(VLTENVptr env, VLTLPptr lp, int i, int j, int *pos_p) {
  if (pos_p) *pos_p = -1;
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    const lpcore *c = p->core;
    if (!solnbasis(p)) return kNoSolution;
    if ((i >= 0 && j >= 0) || j >= c->numcols || i >= c->numrows || (j < 0 && i < 0))
      return kIndexRange;
    if (pos_p == nullptr) return kNullPointer;
    const soln *s = p->soln;
    for (int r = 0; r < c->numrows; ++r) {
      int h = s->head[r];
      bool hit;
      if (j >= 0) {
        hit = h == j;
      } else if (h >= c->allcols) {
        hit = h - c->allcols == i;
      } else if (h >= c->totcols) {
        hit = c->slackrow[h - c->totcols] == i;
      } else {
        hit = h >= c->numcols && c->matind[c->matbeg[h]] == i;
      }
      if (hit) {
        *pos_p = r;
        return 0;
      }
    }
    return kNotBasic;
  });
}

int VLTgetijdiv(VLTENVptr env, VLTLPptr lp, int *idiv_p, int *jdiv_p) {
  if (idiv_p) *idiv_p = -1;
  if (jdiv_p) *jdiv_p = -1;
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    if (!solnbasis(p)) return kNoSolution;
    if (idiv_p == nullptr || jdiv_p == nullptr) return kNullPointer;
    if (p->soln->lpstat != 2) return kNotUnbounded;
    bframe f;
    int st = frame_open(env, p, f, kFrameSolnOnly, kNoSolution);
    if (st) return st;
    int dir = 0;
    std::vector<double> alpha;
    int q = frame_divergence(f, env->params->epopt, dir, alpha);
    if (q < 0) return 0;
    int u = to_external(f, q);
    if (u >= 0) *jdiv_p = u;
    else *idiv_p = -u - 1;
    return 0;
  });
}

int VLTgetweight(VLTENVptr env, VLTLPptr lp, int rcnt, const int *rmatbeg, const int *rmatind,
                 const double *rmatval, double *weight, int dpriind) {
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    if (rcnt < 0) return kBadArgument;
    if (rcnt == 0) {
      msg(env->warnchannel, "Warning:  No weights computed.\n");
      return 0;
    }
    if (dpriind != 2 && dpriind != 3) return kBadPricing;
    if (!rmatbeg || !rmatind || !rmatval || !weight) return kNullPointer;
    // rmatbeg holds rcnt + 1 entries: row r is rmatbeg[r] .. rmatbeg[r+1]-1.
    if (rmatbeg[0] < 0) return kBadArgument;
    for (int r = 0; r < rcnt; ++r)
      if (rmatbeg[r + 1] < rmatbeg[r]) return kBadArgument;
    for (int k = rmatbeg[0]; k < rmatbeg[rcnt]; ++k)
      if (rmatind[k] < 0) return kIndexRange;
    bframe f;
    int st = frame_open(env, p, f, kFrameSolnOnly, kNoFactor);
    if (st) return st;
    std::vector<double> y(f.m, 0.0), row(f.nc, 0.0);
    for (int r = 0; r < rcnt; ++r) {
      std::fill(y.begin(), y.end(), 0.0);
      for (int k = rmatbeg[r]; k < rmatbeg[r + 1]; ++k) {
        int j = rmatind[k];
        if (j >= f.nc) continue;
        row[j] += rmatval[k];
        if (f.pos[j] >= 0) y[f.pos[j]] += rmatval[k];
      }
      if (f.m) f.fac->btran(y);
      double w = 0.0;
      for (double t : y) w += t * t;
      if (dpriind == 3) {
        // The rest of the new row's tableau row: its nonbasic columns.
        for (int j = 0; j < f.nc; ++j) {
          if (f.status[j] == 1) continue;
          double t = row[j] - frame_dot(f, j, y);
          w += t * t;
        }
      }
      for (int k = rmatbeg[r]; k < rmatbeg[r + 1]; ++k)
        if (rmatind[k] < f.nc) row[rmatind[k]] = 0.0;
      weight[r] = w;
    }
    return 0;
  });
}

static int checkfeas(VLTENVptr env, VLTLPptr lp, int *out, int side) {
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    if (out == nullptr) return kNullPointer;
    bframe f;
    int st = frame_open(env, p, f, kFrameAnyBasis, 1262);
    if (st) return st;
    int pw = side & 1 ? frame_worst_primal(f, env->params->eprhs) : -1;
    int dw = side & 2 ? frame_worst_dual(f, env->params->epopt) : -1;
    if (side == 1) *out = pw < 0 ? kBigInt : to_external(f, pw);
    else if (side == 2) *out = dw < 0 ? kBigInt : to_external(f, dw);
    else *out = pw < 0 && dw < 0 ? 1 : 0;
    return 0;
  });
}

int VLTcheckpfeas(VLTENVptr env, VLTLPptr lp, int *infeas_p) { return checkfeas(env, lp, infeas_p, 1); }
int VLTcheckdfeas(VLTENVptr env, VLTLPptr lp, int *infeas_p) { return checkfeas(env, lp, infeas_p, 2); }
int VLTchecksoln(VLTENVptr env, VLTLPptr lp, int *feas_p) { return checkfeas(env, lp, feas_p, 3); }

int VLTsetphase2(VLTENVptr env, VLTLPptr lp) {
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    if (p->probtype == kTypeMILP || p->probtype == kTypeMIQP) return 1017;
    bframe f;
    int st = frame_open(env, p, f, kFrameAnyBasis, 1262);
    if (st) return st;
    return frame_close(f, 13, 10);
  });
}

int VLTmdleave(VLTENVptr env, VLTLPptr lp, const int *indices, int cnt, double *downratio,
               double *upratio) {
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    if (cnt < 0) return kBadArgument;
    if (cnt == 0) {
      msg(env->reschannel, "Variable list empty.\n");
      return 0;
    }
    if (!indices || !downratio || !upratio) return kNullPointer;
    int st = checkvars(env, p, cnt, indices);
    if (st) return st;
    bframe f;
    st = frame_open(env, p, f, kFrameSolnOnly, kNoFactor);
    if (st) return st;
    std::vector<double> rho(f.m);
    for (int k = 0; k < cnt; ++k) {
      int v = to_internal(f, indices[k]);
      int r = f.pos[v];
      if (r < 0) return kNotBasic;
      std::fill(rho.begin(), rho.end(), 0.0);
      rho[r] = 1.0;
      f.fac->btran(rho);
      downratio[k] = dual_rate(f, user_direction(f, v, 0), rho);
      upratio[k] = dual_rate(f, user_direction(f, v, 1), rho);
    }
    return 0;
  });
}

}  // extern "C"

namespace {

// The two read-only ratio calls; `dual` picks the test.
int ratiocall(env *e, lp *lpp, const int *indices, int cnt, double *dratio, int *dleave,
              int *dleavestat, int *dstat, double *uratio, int *uleave, int *uleavestat,
              int *ustat, bool dual) {
  return basiscall(e, lpp, [&](velto_lp *p) -> int {
    bframe f;
    int st = frame_open(e, p, f, kFrameSolnOnly, kNoFactor);
    if (st) return st;
    if (cnt < 0) return kBadArgument;
    if (indices == nullptr) return kNullPointer;
    if (cnt == 0) {
      msg(e->reschannel, "Variable list empty.\n");
      return 0;
    }
    st = checkvars(e, p, cnt, indices);
    if (st) return st;
    double *ratio[2] = {dratio, uratio};
    int *leave[2] = {dleave, uleave}, *lstat[2] = {dleavestat, uleavestat}, *stat[2] = {dstat, ustat};
    std::vector<double> vec(f.m);
    for (int k = 0; k < cnt; ++k) {
      int v = to_internal(f, indices[k]);
      bool wrong = dual ? f.status[v] != 1 : f.status[v] == 1;
      if (!wrong) {
        if (dual) {
          std::fill(vec.begin(), vec.end(), 0.0);
          vec[f.pos[v]] = 1.0;
          if (f.m) f.fac->btran(vec);
        } else {
          frame_column(f, v, vec);
          if (f.m) f.fac->ftran(vec);
        }
      }
      for (int up = 0; up < 2; ++up) {
        bratio res;
        if (wrong) {
          res.stat = 2003;
          res.endstat = f.status[v];
        } else if (dual) {
          int dir = user_direction(f, v, up);
          res = ratio_dual_ro(f, f.pos[v], dir, vec, e->params->epopt);
        } else {
          int dir = user_direction(f, v, up);
          res = ratio_primal_ro(f, v, dir, vec, move_range(f, v, dir), e->params->eprhs);
        }
        int lv = kBigInt;
        if (res.stat == 0 && res.pivot >= 0) lv = to_external(f, dual ? res.pivot : f.head[res.pivot]);
        if (ratio[up]) ratio[up][k] = res.stat == 2003 ? 0.0 : res.step;
        if (leave[up]) leave[up][k] = lv;
        if (lstat[up]) lstat[up][k] = res.endstat;
        if (stat[up]) stat[up][k] = res.stat == 2003 ? kIllegalPivot : res.stat;
      }
    }
    return 0;
  });
}

}  // namespace

extern "C" {

int VLTpratio(VLTENVptr env, VLTLPptr lp, const int *indices, int cnt, double *downratio,
              int *downleave, int *downleavestat, int *downstat, double *upratio, int *upleave,
              int *upleavestat, int *upstat) {
  return ratiocall(env, lp, indices, cnt, downratio, downleave, downleavestat, downstat, upratio,
                   upleave, upleavestat, upstat, false);
}

int VLTdratio(VLTENVptr env, VLTLPptr lp, const int *indices, int cnt, double *downratio,
              int *downleave, int *downleavestat, int *downstat, double *upratio, int *upleave,
              int *upleavestat, int *upstat) {
  return ratiocall(env, lp, indices, cnt, downratio, downleave, downleavestat, downstat, upratio,
                   upleave, upleavestat, upstat, true);
}

}  // extern "C"
