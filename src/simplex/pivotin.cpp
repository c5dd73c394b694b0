// VLTpivotin: makes the logicals of the listed rows basic.  Each logical
// enters as a free variable, so that once basic it never blocks a later
// ratio test; the row is then no longer binding in the basis.
#include <vector>

#include "env/par.h"
#include "model/lp.h"
#include "model/store.h"
#include "simplex/bframe.h"
#include "simplex/bratio.h"

namespace velto {

namespace {

// The Markowitz threshold raised for a call and restored on every path.
struct markguard {
  env *e;
  double old;
  explicit markguard(env *en, double floor) : e(en), old(en->params->epmrk) {
    if (old < floor) e->params->epmrk = floor;
  }
  ~markguard() { e->params->epmrk = old; }
};

int pivotin_run(env *e, lp *p, const int *rlist, int rlen) {
  const lpcore *c = p->core;
  const int m = c->numrows;
  if (p->probtype == kTypeMILP || p->probtype == kTypeMIQP) return 1017;
  if (p->probtype != kTypeLP && p->probtype != kTypeFixed && p->probtype != kTypeRelaxed &&
      p->probtype != kTypeNode)
    return 1018;
  if (!basisexists(p)) return 1262;
  if (rlen < 0 || rlen > m) return kBadArgument;
  if (rlen == 0) {
    if (e->params->simdisplay) msg(e->reschannel, "No rows to pivot in.\n");
    return 0;
  }
  if (rlist == nullptr) return kNullPointer;
  for (int k = 0; k < rlen; ++k)
    if (rlist[k] < 0 || rlist[k] >= m) {
      msg(e->errchannel, errtext(e, 1203), rlist[k]);
      return -1203;
    }
  markguard mg(e, 0.1);
  bframe f;
  int st = frame_open(e, p, f, kFrameAnyBasis, 1262);
  if (st) return st;
  std::vector<int> need;
  std::vector<char> listed(m, 0);
  for (int k = 0; k < rlen; ++k) {
    int i = rlist[k];
    if (listed[i]) continue;
    listed[i] = 1;
    if (f.status[to_internal(f, -i - 1)] != 1) need.push_back(i);
  }
  if (need.empty()) return 0;
  // Logicals of listed rows become free for the rest of the call.
  std::vector<double> keeplb(f.prob.lb), keepub(f.prob.ub);
  for (int i = 0; i < m; ++i)
    if (listed[i]) {
      int v = to_internal(f, -i - 1);
      f.prob.lb[v] = -kInfBound;
      f.prob.ub[v] = kInfBound;
    }
  int done = 0;
  std::vector<double> alpha(f.m);
  for (int i : need) {
    int q = to_internal(f, -i - 1);
    frame_column(f, q, alpha);
    f.fac->ftran(alpha);
    bratio res = ratio_primal_ro(f, q, 1, alpha, 1e75, e->params->eprhs);
    if (res.stat == 2 || res.stat == 2003 || res.pivot < 0)
      res = ratio_primal_ro(f, q, -1, alpha, 1e75, e->params->eprhs);
    if (res.stat != 0 || res.pivot < 0) continue;
    int l = f.head[res.pivot];
    f.head[res.pivot] = q;
    f.status[q] = 1;
    f.status[l] = res.endstat;
    f.x[l] = res.endstat == 2 ? f.prob.ub[l] : f.prob.lb[l];
    if (res.endstat == 3) f.x[l] = 0.0;
    st = frame_refresh(f);
    if (st) return st == 1256 ? 1256 : st;
    ++done;
  }
  f.prob.lb = keeplb;
  f.prob.ub = keepub;
  st = frame_close(f, 6, 8);
  if (st) return st;
  p->soln->dfeas = 0;
  if (e->params->simdisplay) {
    if (done == 1) msg(e->reschannel, "1 row pivoted in.\n");
    else msg(e->reschannel, "%d rows pivoted in.\n", done);
  }
  return 0;
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTpivotin(VLTENVptr env, VLTLPptr lp, const int *rlist, int rlen) {
  int status = guarded([&] { return queryframe(env, &lp); });
  if (status == 0) status = guarded([&] { return pivotin_run(env, lp, rlist, rlen); });
  if (status) report(env, &status);
  return status;
}

}  // extern "C"
