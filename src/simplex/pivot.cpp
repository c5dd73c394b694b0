// Changing the basis by hand: a single pivot or bound move, and a start
// basis built from part of the statuses.
#include <algorithm>
#include <cmath>
#include <vector>

#include "env/par.h"
#include "model/lp.h"
#include "model/store.h"
#include "simplex/bframe.h"

namespace velto {

namespace {

enum : int { kIllegalPivot = 1267, kBadStatus = 1253 };

inline bool isfin(double b) { return std::fabs(b) < 1e17; }

// Puts nonbasic v at the bound named by `stat` (0 lower, 2 upper).
int boundmove(bframe &f, int v, int stat) {
  if (stat != 0 && stat != 2) return kIllegalPivot;
  double b = stat == 0 ? f.prob.lb[v] : f.prob.ub[v];
  if (!isfin(b)) return kIllegalPivot;
  f.status[v] = stat;
  f.x[v] = b;
  return 0;
}

int pivot_run(env *e, lp *p, int jenter, int jleave, int leavestat) {
  const lpcore *c = p->core;
  const int n = c->numcols, m = c->numrows;
  auto valid = [&](int j) { return j == kBigInt || (j >= -m && j < n); };
  if (!valid(jenter) || !valid(jleave) || (jenter == kBigInt && jleave == kBigInt))
    return kIllegalPivot;
  bframe f;
  int st = frame_open(e, p, f, kFrameAnyBasis, 1262);
  if (st) return st;
  int q = jenter == kBigInt ? -1 : to_internal(f, jenter);
  int l = jleave == kBigInt ? -1 : to_internal(f, jleave);
  if (q >= 0 && l != q && f.status[q] == 1) return kIllegalPivot;
  if (q < 0 || l < 0 || q == l) {
    // A bound move of the one variable given.
    int v = q >= 0 ? q : l;
    if (f.status[v] == 1) return kIllegalPivot;
    if (f.status[v] == leavestat && f.source == 0) return 0;
    st = boundmove(f, v, leavestat);
    if (st) return st;
  } else {
    int r = f.pos[l];
    if (r < 0) return kIllegalPivot;
    if (leavestat != 0 && leavestat != 2) return kIllegalPivot;
    std::vector<double> alpha(f.m);
    frame_column(f, q, alpha);
    f.fac->ftran(alpha);
    double big = 0.0;
    for (double a : alpha) big = std::max(big, std::fabs(a));
    double a = std::fabs(alpha[r]);
    if (a < 1e-8 || a < 1e-8 * big) return kIllegalPivot;
    f.head[r] = q;
    f.status[q] = 1;
    f.status[l] = leavestat;
    double b = leavestat == 0 ? f.prob.lb[l] : f.prob.ub[l];
    if (isfin(b)) {
      f.x[l] = b;
    } else {
      // No such bound: the other one, or free at zero.
      double o = leavestat == 0 ? f.prob.ub[l] : f.prob.lb[l];
      f.status[l] = isfin(o) ? 2 - leavestat : 3;
      f.x[l] = isfin(o) ? o : 0.0;
    }
  }
  st = frame_refresh(f);
  if (st) return st == 1256 ? kIllegalPivot : st;
  return frame_close(f, 13, 10);
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTpivot(VLTENVptr env, VLTLPptr lp, int jenter, int jleave, int leavestat) {
  int status = guarded([&] { return queryframe(env, &lp); });
  if (status == 0 && (lp->probtype == kTypeMILP || lp->probtype == kTypeMIQP)) status = 1017;
  if (status == 0) status = guarded([&] { return pivot_run(env, lp, jenter, jleave, leavestat); });
  if (status) report(env, &status);
  return status;
}

int VLTcopypartialbase(VLTENVptr env, VLTLPptr lp, int ccnt, const int *cindices,
                       const int *cstat, int rcnt, const int *rindices, const int *rstat) {
  int status = guarded([&] { return queryframe(env, &lp); });
  if (status == 0) {
    status = guarded([&]() -> int {
      const lpcore *c = lp->core;
      const int n = c->numcols, m = c->numrows;
      if (ccnt < 0 || rcnt < 0) return kBadArgument;
      if ((ccnt > 0 && (!cindices || !cstat)) || (rcnt > 0 && (!rindices || !rstat)))
        return kNullPointer;
      for (int k = 0; k < ccnt; ++k) {
        if (cindices[k] < 0 || cindices[k] >= n) {
          msg(env->errchannel, errtext(env, 1201), cindices[k]);
          return -1201;
        }
        if (cstat[k] < 0 || cstat[k] > 3) {
          msg(env->errchannel, errtext(env, kBadStatus), k);
          return -kBadStatus;
        }
      }
      for (int k = 0; k < rcnt; ++k) {
        if (rindices[k] < 0 || rindices[k] >= m) {
          msg(env->errchannel, errtext(env, 1203), rindices[k]);
          return -1203;
        }
        if (rstat[k] < 0 || rstat[k] > 2) {
          msg(env->errchannel, errtext(env, kBadStatus), k);
          return -kBadStatus;
        }
      }
      std::vector<int> cs(std::max(n, 1)), rs(std::max(m, 1), 1);
      std::vector<double> lb(n), ub(n);
      if (n) {
        getlb_u(lp, lb.data(), 0, n - 1);
        getub_u(lp, ub.data(), 0, n - 1);
      }
      for (int j = 0; j < n; ++j) cs[j] = isfin(lb[j]) ? 0 : isfin(ub[j]) ? 2 : 3;
      for (int k = 0; k < ccnt; ++k) cs[cindices[k]] = cstat[k];
      for (int k = 0; k < rcnt; ++k) rs[rindices[k]] = rstat[k];
      int s = VLTcopybase(env, lp, cs.data(), rs.data());
      return s ? -s : 0;
    });
  }
  if (status) report(env, &status);
  return status;
}

}  // extern "C"
