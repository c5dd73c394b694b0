// Changes to a loaded model, and dropstate: which derived layers survive a
// change.
#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "model/lp.h"
#include "model/modelpar.h"
#include "model/store.h"

namespace velto {

// ---- layers ----------------------------------------------------------------------------

namespace {
layerops g_layerops[kLayerCount];

void **layerslot(lp *p, int layer) {
  switch (layer) {
    case kLayerFactor: return reinterpret_cast<void **>(&p->factor);
    case kLayerWork: return reinterpret_cast<void **>(&p->work);
    case kLayerPrimal: return reinterpret_cast<void **>(&p->primal);
    case kLayerDual: return reinterpret_cast<void **>(&p->dual);
    case kLayerQpwork: return &p->qpwork;
    case kLayerNormblock: return &p->normblock;
    case kLayerPresolve: return reinterpret_cast<void **>(&p->presolve);
    case kLayerMip: return reinterpret_cast<void **>(&p->mip);
    case kLayerBarrier: return reinterpret_cast<void **>(&p->barrier);
    case kLayerQp: return reinterpret_cast<void **>(&p->qp);
    case kLayerSift: return reinterpret_cast<void **>(&p->sift);
    case kLayerStartnorms: return &p->startnorms;
    case kLayerQpaux: return &p->qpaux;
    case kLayerSos: return p->core ? reinterpret_cast<void **>(&p->core->sos) : nullptr;
    default: return nullptr;
  }
}
}  // namespace

void setlayerops(int layer, layerops ops) {
  if (layer >= 0 && layer < kLayerCount) g_layerops[layer] = ops;
}

void releaselayer(env *e, lp *p, int layer) {
  if (layer == kLayerPrice) {
    if (g_layerops[layer].release) g_layerops[layer].release(e, p);
    release(&p->priceref);
    release(&p->pricecand);
    return;
  }
  if (layer == kLayerOptpriv) {
    if (g_layerops[layer].release) g_layerops[layer].release(e, p);
    if (p->core) {
      release(&p->core->optpriv1);
      release(&p->core->optpriv2);
    }
    return;
  }
  void **slot = layerslot(p, layer);
  if (slot == nullptr || *slot == nullptr) return;
  if (g_layerops[layer].release) g_layerops[layer].release(e, p);
  if (*slot != nullptr) release(slot);  // the hook may have cleared it
}

namespace {
void marklayer(env *e, lp *p, int layer, int event) {
  void **slot = layer == kLayerPrice ? &p->priceref : layerslot(p, layer);
  if (slot == nullptr || (layer != kLayerPrice && *slot == nullptr)) return;
  if (g_layerops[layer].mark) g_layerops[layer].mark(e, p, event);
}

// Action bits of dropstate.
enum : unsigned {
  aViews = 1u << 0, aStat = 1u << 1, aMip = 1u << 2, aPre = 1u << 3, aBar = 1u << 4,
  aSift = 1u << 5, aNorms = 1u << 6, aMprice = 1u << 7, aFprice = 1u << 8, aMsoln = 1u << 9,
  aFsoln = 1u << 10, aFfact = 1u << 11, aMdual = 1u << 12, aFdual = 1u << 13,
  aFprim = 1u << 14, aMwork = 1u << 15, aFwork = 1u << 16, aFstart = 1u << 17,
  aAuxOnly = 1u << 18,     // views without fixedlp
  aFactReset = 1u << 19,   // partial factor reset (a mark of the factor)
  aDualNorms = 1u << 20,   // dual norms only (a mark of the dual state)
  aEverything = 1u << 21,  // the full drop of a whole load
};

unsigned actions(int event) {
  const unsigned ev3 = aViews | aStat | aMprice | aMsoln | aMdual | aMwork | aNorms | aPre |
                       aBar | aMip | aSift;
  const unsigned ev7 = aViews | aStat | aNorms | aPre | aBar | aMip | aSift;
  const unsigned ev12 = aViews | aStat | aMprice | aMsoln | aMdual | aPre | aBar | aMip;
  const unsigned ev17 = aViews | aStat | aFprim | aFdual | aFwork | aFfact | aFsoln | aFprice |
                        aNorms | aPre | aBar | aMip | aSift;
  const unsigned ev24 = aViews | aStat | aFstart | aFprim | aFdual | aFwork | aFfact | aFsoln |
                        aFprice | aNorms | aPre | aBar | aMip;
  const unsigned ev28 = aViews | aStat | aFprim | aFdual | aFwork | aMprice | aNorms | aPre |
                        aBar | aMip | aSift;
  const unsigned ev39 = aStat | aFprim | aFdual | aFwork | aFfact | aFsoln | aFprice | aSift;
  const unsigned ev41 = aAuxOnly | aStat | aMprice | aMsoln | aMdual | aFactReset | aDualNorms |
                        aPre | aBar | aMip | aSift;
  switch (event) {
    case 1: return aViews | aPre | aBar | aMip;
    case 2: return aViews | aPre | aBar | aMip | aFfact | aFsoln;
    case 3: case 58: return ev3;
    case 4: return ev3 & ~aSift;
    case 5: return (ev3 & ~(aViews | aSift)) | aAuxOnly;
    case 6: return aViews | aStat | aMprice | aNorms | aPre | aBar | aMip | aSift;
    case 7: case 8: case 9: case 10: case 11: return ev7;
    case 12: case 13: case 14: return ev12;
    case 16: return aEverything;
    case 17: case 18: case 19: case 20: case 60: return ev17;
    case 23: return aViews;
    case 24: case 25: case 26: case 27: return ev24;
    case 28: return ev28;
    case 29: case 30: case 31: case 32: case 33: return ev28 | aFfact | aFsoln;
    case 34: return (ev28 | aFfact | aFsoln) & ~aSift;
    case 35: return aStat | aMprice | aMsoln | aFdual | aBar | aSift;
    case 36: return aStat | aMsoln | aFdual | aBar | aSift;
    case 37: case 38: return aStat | aFprim | aBar | aSift;
    case 39: return ev39;
    case 40: case 46: case 47: case 48: case 49: case 50: return ev39 | aBar;
    case 41: case 42: return ev41;
    case 43: return ev41 & ~(aAuxOnly | aPre | aMip);
    case 44: return aDualNorms;
    case 45: return aStat | aFprim | aFdual | aFfact | aFsoln | aFprice | aBar | aDualNorms;
    case 51: return aMprice | aMsoln | aMdual | aMwork | aFactReset | aDualNorms | aSift;
    case 52: return aAuxOnly | aStat | aPre | aMip | aSift;
    case 53: return aMprice | aMsoln | aMdual | aDualNorms | aSift;
    case 54: case 55: return aMsoln | aMdual | aSift;
    case 56: return aViews | aStat | aFstart | aFprim | aFdual | aFwork | aFfact | aFsoln |
                    aFprice | aPre | aBar | aMip | aSift;
    case 57: return aFprim | aFdual | aFwork | aFfact | aFprice;
    case 61: return aStat | aSift;
    default: return 0;
  }
}
}  // namespace

void dropstate(env *e, lp *p, int event) {
  unsigned a = actions(event);
  if (a == 0 || p == nullptr) return;
  if (a & aEverything) {
    dropall(e, p);
    p->lpstat = 0;
    lpcore *c = p->core;
    release(&c->rowscale);
    release(&c->colscale);
    release(&c->rowfactor);
    release(&c->colfactor);
    c->scaletype = -1;
    return;
  }
  if (a & aViews) {
    if (p->fixedlp && !isview(p) && p->mip != nullptr) {
      lp *v = p->fixedlp;
      p->fixedlp = nullptr;
      VLTfreeprob(e, &v);
    }
  }
  if ((a & (aViews | aAuxOnly)) && p->auxlp) {
    lp *v = p->auxlp;
    p->auxlp = nullptr;
    VLTfreeprob(e, &v);
  }
  if (a & aStat) p->lpstat = 0;
  if (a & aMip) releaselayer(e, p, kLayerMip);
  if (a & aPre) {
    if (g_layerops[kLayerPresolve].mark) marklayer(e, p, kLayerPresolve, event);
    else releaselayer(e, p, kLayerPresolve);
  }
  if (a & aBar) releaselayer(e, p, kLayerBarrier);
  if (a & aSift) releaselayer(e, p, kLayerSift);
  if (a & aNorms) releaselayer(e, p, kLayerNormblock);
  if (a & aFprice) releaselayer(e, p, kLayerPrice);
  else if (a & aMprice) marklayer(e, p, kLayerPrice, event);
  if (a & aFsoln) soln_free(&p->soln);
  else if ((a & aMsoln) && p->soln) p->soln->valid = 0;
  if (a & aFfact) releaselayer(e, p, kLayerFactor);
  else if (a & aFactReset) marklayer(e, p, kLayerFactor, event);
  if (a & aFdual) releaselayer(e, p, kLayerDual);
  else if (a & (aMdual | aDualNorms)) marklayer(e, p, kLayerDual, event);
  if (a & aFprim) releaselayer(e, p, kLayerPrimal);
  if (a & aFwork) releaselayer(e, p, kLayerWork);
  else if (a & aMwork) marklayer(e, p, kLayerWork, event);
  if (a & aFstart) {
    start_free(&p->start);
    releaselayer(e, p, kLayerStartnorms);
  }
}

}  // namespace velto
