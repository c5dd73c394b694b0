// VLTpivotout: drives listed fixed columns out of the basis, each by one
// dual pivot, so that the basis keeps its dual feasibility.
#include <cmath>
#include <vector>

#include "env/par.h"
#include "model/lp.h"
#include "model/store.h"
#include "simplex/bframe.h"
#include "simplex/bratio.h"

namespace velto {

namespace {

int pivotout_run(env *e, lp *p, const int *clist, int clen) {
  const lpcore *c = p->core;
  const int n = c->numcols;
  if (p->probtype == kTypeMILP || p->probtype == kTypeMIQP) return 1017;
  if (p->probtype != kTypeLP && p->probtype != kTypeFixed && p->probtype != kTypeRelaxed &&
      p->probtype != kTypeNode)
    return 1018;
  if (!basisexists(p)) return 1262;
  if (clen < 0 || clen > n) return kBadArgument;
  if (clen == 0) {
    if (e->params->simdisplay) msg(e->reschannel, "No variables to pivot out.\n");
    return 0;
  }
  if (clist == nullptr) return kNullPointer;
  std::vector<double> lb(n), ub(n);
  getlb_u(p, lb.data(), 0, n - 1);
  getub_u(p, ub.data(), 0, n - 1);
  for (int k = 0; k < clen; ++k) {
    int j = clist[k];
    if (j < 0 || j >= n) {
      msg(e->errchannel, errtext(e, 1201), j);
      return -1201;
    }
    if (lb[j] != ub[j]) return 1221;
  }
  const start *s = p->start;
  if (s && (s->xstart || s->slackstart || s->djstart || s->pistart)) return 1255;
  double oldmark = e->params->epmrk;
  if (e->params->epmrk < 0.1) e->params->epmrk = 0.1;
  bframe f;
  int st = frame_open(e, p, f, kFrameAnyBasis, 1262);
  e->params->epmrk = oldmark;
  if (st) return st;
  std::vector<int> basic;
  for (int k = 0; k < clen; ++k)
    if (f.status[clist[k]] == 1) basic.push_back(clist[k]);
  if (basic.empty()) {
    msg(e->reschannel, "All indicated variables are nonbasic.\n");
    return 0;
  }
  int done = 0;
  std::vector<double> rho(f.m);
  for (int j : basic) {
    int r = f.pos[j];
    if (r < 0) continue;
    std::fill(rho.begin(), rho.end(), 0.0);
    rho[r] = 1.0;
    f.fac->btran(rho);
    bratio res = ratio_dual_ro(f, r, -1, rho, e->params->epopt);
    if (res.stat != 0 || res.pivot < 0) res = ratio_dual_ro(f, r, 1, rho, e->params->epopt);
    if (res.stat != 0 || res.pivot < 0) continue;
    int q = res.pivot;
    f.head[r] = q;
    f.status[q] = 1;
    f.status[j] = 0;
    f.x[j] = f.prob.lb[j];
    st = frame_refresh(f);
    if (st) return st;
    ++done;
  }
  bool pf = frame_worst_primal(f, e->params->eprhs) < 0;
  bool df = frame_worst_dual(f, e->params->epopt) < 0;
  st = frame_close(f, pf && df ? 1 : 6, 9);
  if (st) return st;
  if (e->params->simdisplay) {
    if (done == 1) msg(e->reschannel, "One variable pivoted out.\n");
    else msg(e->reschannel, "%d variables pivoted out.\n", done);
  }
  return 0;
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTpivotout(VLTENVptr env, VLTLPptr lp, const int *clist, int clen) {
  int status = guarded([&] { return queryframe(env, &lp); });
  if (status == 0) status = guarded([&] { return pivotout_run(env, lp, clist, clen); });
  if (status) report(env, &status);
  return status;
}

}  // extern "C"
