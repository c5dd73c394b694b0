// The node problem: a continuous copy of the model whose bounds and basis
// are set per node, solved through the public LP calls.
#include <algorithm>
#include <cmath>

#include "env/files.h"
#include "env/par.h"
#include "mip/mipnode.h"
#include "mip/miptree.h"
#include "model/store.h"

namespace velto {

int nodelp_make(env *e, lp *p, lp **out) {
  *out = nullptr;
  int status = 0;
  lp *q = VLTcloneprob(e, p, &status);
  if (q == nullptr) return status ? status : kNoMemory;
  releaselayer(e, q, kLayerSos);
  release(&q->core->ctype);
  settype(q);
  q->probtype = kTypeNode;
  int rc = VLTchgprobname(e, q, "nodelp");
  if (rc) {
    VLTfreeprob(e, &q);
    return rc;
  }
  *out = q;
  return 0;
}

namespace {

int applybounds(env *e, lp *q, const std::vector<int> &idx, const std::vector<char> &lu,
                const std::vector<double> &bd) {
  if (idx.empty()) return 0;
  return VLTchgbds(e, q, static_cast<int>(idx.size()), idx.data(), lu.data(), bd.data());
}

}  // namespace

int nodeinstall(env *e, nodestate &ns, const bdchglist *bounds, const int *cstat,
                const int *rstat) {
  lp *q = ns.nodelp;
  // 1. Undo the previous node's changes.
  std::vector<int> idx;
  std::vector<char> lu;
  std::vector<double> bd;
  for (size_t k = 0; k < ns.actidx.size(); ++k) {
    int j = ns.actidx[k];
    char s = ns.actsense[k];
    if (s == 'L' || s == 'B') {
      idx.push_back(j);
      lu.push_back('L');
      bd.push_back(ns.glb[j]);
    }
    if (s == 'U' || s == 'B') {
      idx.push_back(j);
      lu.push_back('U');
      bd.push_back(ns.gub[j]);
    }
  }
  int status = applybounds(e, q, idx, lu, bd);
  if (status) return status;
  ns.actidx.clear();
  ns.actsense.clear();
  ns.actval.clear();
  if (bounds == nullptr && cstat == nullptr) return 0;
  // 2. The node's list merged with the global bounds.
  idx.clear();
  lu.clear();
  bd.clear();
  for (int k = 0; bounds != nullptr && k < bounds->count; ++k) {
    int j = bounds->index[k];
    char s = bounds->sense[k];
    double v = bounds->value[k];
    bool lowimplied = v <= ns.glb[j], upimplied = v >= ns.gub[j];
    if (s == 'B') {
      if (lowimplied && upimplied) continue;
      if (lowimplied) s = 'U';
      else if (upimplied) s = 'L';
    }
    if ((s == 'L' && lowimplied) || (s == 'U' && upimplied)) continue;
    ns.actidx.push_back(j);
    ns.actsense.push_back(s);
    ns.actval.push_back(v);
    idx.push_back(j);
    lu.push_back(s);
    bd.push_back(v);
  }
  status = applybounds(e, q, idx, lu, bd);
  if (status) return status;
  // 3. The node's basis.
  if (cstat != nullptr && rstat != nullptr) status = VLTcopybase(e, q, cstat, rstat);
  return status;
}

int nodepricing(env *e, int dpriind, int nodes, long long iters, long long rootiters) {
  if (dpriind == 0 && nodes > 0) {
    long long a = (iters - rootiters) / nodes;
    if (a > 50) e->params->dpriind = 4;
    else if (a < 20) e->params->dpriind = 5;
  }
  return e->params->dpriind;
}

int nodelpsolve(env *e, lp *q, int objsen, double cutoff, double start, double tilim, int alg,
                lpresult *res, int *iters, double *obj) {
  *res = lpresult();
  *iters = 0;
  *obj = 1e75;
  double oldlim = e->params->tilim;
  double oldul = e->params->objulim, oldll = e->params->objllim;
  int oldmethod = e->params->lpmethod;
  double c = std::min(cutoff, 1e75);
  if (objsen < 0) e->params->objllim = -c;
  else e->params->objulim = c;
  e->params->tilim = std::max(0.0, tilim - (now(e) - start));
  int status = 0;
  switch (alg) {
    case 0:
      e->params->lpmethod = 0;
      status = VLTlpopt(e, q);
      break;
    case 1:
      status = VLTprimopt(e, q);
      break;
    case 2:
      status = VLTdualopt(e, q);
      break;
    case 3:  // network, barrier, sifting, concurrent: through the LP entry
    case 4:
    case 5:
    case 6:
      e->params->lpmethod = alg;
      status = VLTlpopt(e, q);
      break;
    default:
      status = kBadArgument;
      break;
  }
  e->params->tilim = oldlim;
  e->params->objulim = oldul;
  e->params->objllim = oldll;
  e->params->lpmethod = oldmethod;
  if (status) return status;
  *iters = VLTgetitcnt(e, q);
  res->status = VLTgetstat(e, q);
  int type = 0;
  VLTsolninfo(e, q, &res->method, &type, &res->pfeas, &res->dfeas);
  if (res->status == 11) return 108;
  if (res->status == 13) return 114;
  // 5: optimal with infeasibilities after unscaling, which the search
  // takes as optimal as well.
  if (res->status != 1 && res->status != 5 && res->status != 3 && res->status != 12) return 3019;
  if (res->status == 1 || res->status == 5) {
    double z = 0.0;
    status = VLTgetobjval(e, q, &z);
    if (status) return status;
    *obj = z * objsen;
  }
  return 0;
}

}  // namespace velto
