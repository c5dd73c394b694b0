// Changes to a loaded model, and dropstate: which derived layers survive a
// change.
#include <algorithm>
#include <cmath>
#include <cstdio>
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
    case kLayerIis: return reinterpret_cast<void **>(&p->iis);
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

void layers_rowsgo(env *e, lp *p, const int *map) {
  if (p->dual && g_layerops[kLayerDual].rowsgo) g_layerops[kLayerDual].rowsgo(e, p, map);
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
    // A tightening of basic columns' bounds: the basis and with it the dual
    // norms and the factor stay, so the dual state is left alone.
    case 59: return ev3 & ~(aSift | aMdual);
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
  // Rows or columns come or go: the basis of the rest outlives the solution
  // record as the next start.
  // A changed sense or matrix entry keeps the basis as a start too; the
  // norms only where the basis matrix of the rest is unchanged.
  if ((event >= 17 && event <= 20) || (event >= 28 && event <= 34)) {
    carrybasis(p);
    if (event <= 32 && p->dual && g_layerops[kLayerDual].carry) g_layerops[kLayerDual].carry(e, p);
  }
  if (a & aMip) {
    if (g_layerops[kLayerMip].mark) marklayer(e, p, kLayerMip, event);
    else releaselayer(e, p, kLayerMip);
  }
  if (a & aPre) {
    if (g_layerops[kLayerPresolve].mark) marklayer(e, p, kLayerPresolve, event);
    else releaselayer(e, p, kLayerPresolve);
  }
  if (a & aBar) releaselayer(e, p, kLayerBarrier);
  if (a & aSift) releaselayer(e, p, kLayerSift);
  // A subset found for the model before the change no longer speaks for it.
  if (a & aPre) releaselayer(e, p, kLayerIis);
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

// ---- growing the model -----------------------------------------------------------------

namespace {

// Keeps the start record in step with the model's counts: new columns at
// lower bound, new rows basic.
// Fits the start to a model that grew.  If memory runs out the start is
// dropped (a start that does not cover the model is never left behind) and
// 1001 is returned; the model itself is complete.
int start_fit_arrays(lp *p, int n0, int m0);
int start_fit(lp *p, int n0, int m0) {
  int status = start_fit_arrays(p, n0, m0);
  if (status) start_free(&p->start);
  return status;
}

int start_fit_arrays(lp *p, int n0, int m0) {
  start *s = p->start;
  if (s == nullptr) return 0;
  const lpcore *c = p->core;
  if (c->colspace > s->colcap) {
    size_t n = c->colspace;
    if (s->colstat && !growarray(s->colstat, n)) return kNoMemory;
    if (s->xstart && !growarray(s->xstart, n)) return kNoMemory;
    if (s->djstart && !growarray(s->djstart, n)) return kNoMemory;
    s->colcap = c->colspace;
  }
  if (c->rowspace > s->rowcap) {
    size_t n = c->rowspace;
    if (s->rowstat && !growarray(s->rowstat, n)) return kNoMemory;
    if (s->slackstart && !growarray(s->slackstart, n)) return kNoMemory;
    if (s->pistart && !growarray(s->pistart, n)) return kNoMemory;
    s->rowcap = c->rowspace;
  }
  for (int j = n0; j < c->numcols; ++j) {
    if (s->colstat) s->colstat[j] = c->lbkind[j] == kBoundInfinite
                                        ? (c->ubkind[j] == kBoundInfinite ? 3 : 2) : 0;
    if (s->xstart) s->xstart[j] = 0.0;
    if (s->djstart) s->djstart[j] = c->obj[j];
  }
  for (int i = m0; i < c->numrows; ++i) {
    if (s->rowstat) s->rowstat[i] = 1;
    if (s->slackstart) s->slackstart[i] = 0.0;
    if (s->pistart) s->pistart[i] = 0.0;
  }
  return 0;
}

// Writes the texts of names (or defaults prefix+(first+k+1)) at the end of a
// model's name store that has room.
void appendnames(char **ptrs, char *store, uint32_t used, int first, int n, char *const *names,
                 char prefix) {
  char *q = store + used;
  for (int k = 0; k < n; ++k) {
    const char *nm = names ? names[k] : nullptr;
    size_t len;
    if (nm && nm[0]) {
      len = std::strlen(nm) + 1;
      std::memcpy(q, nm, len);
    } else {
      len = static_cast<size_t>(std::snprintf(q, 13, "%c%d", prefix, first + k + 1)) + 1;
    }
    ptrs[first + k] = q;
    q += len;
  }
}

uint32_t newnamebytes(int n, char *const *names) {
  uint64_t b = 0;
  for (int k = 0; k < n; ++k) {
    const char *nm = names ? names[k] : nullptr;
    b += (nm && nm[0]) ? std::strlen(nm) + 1 : 13;
  }
  return static_cast<uint32_t>(std::min<uint64_t>(b, 2099999999u));
}

}  // namespace

int appendcols(env *e, lp *p, int ccnt, const double *obj, const double *lb, const double *ub,
               const char *ctype, char *const *names, int nzcnt, const int *beg, const int *ind,
               const double *val) {
  if (ccnt <= 0) return 0;
  lpcore *c = p->core;
  int n0 = c->numcols, m0 = c->numrows;
  int nr = c->totcols - c->numcols;
  int used = usednz(c);
  int status = 0;
  bool wantnames = c->colname != nullptr || names != nullptr;
  if (wantnames && c->colname == nullptr) status = makecolnames(e, p);
  if (status) return status;
  uint32_t nameused = wantnames ? storeused(c->colname, n0, c->colnamestore) : 0;
  uint32_t namereq = wantnames ? nameused + newnamebytes(ccnt, names) : 0;
  status = ensurespace(e, p, n0 + ccnt + nr, std::max(m0, 1), used + std::max(nzcnt, 0) + nr,
                       namereq, 0);
  if (status) return status;
  if (ctype && c->ctype == nullptr) {
    c->ctype = allocn<char>(c->colspace);
    if (c->ctype == nullptr) return kNoMemory;
    std::fill(c->ctype, c->ctype + c->colspace, 'C');
  }
  int pos = used;
  std::vector<int> where(beg && ind && val ? static_cast<size_t>(m0) : 0, -1);
  for (int k = 0; k < ccnt; ++k) {
    int j = n0 + k;
    c->obj[j] = obj ? obj[k] : 0.0;
    c->lb[j] = lb ? lb[k] : 0.0;
    c->ub[j] = ub ? ub[k] : kInfBound;
    if (c->colscale) c->colscale[j] = 1.0;
    if (c->ctype) c->ctype[j] = ctype ? ctype[k] : 'C';
    c->matbeg[j] = pos;
    if (beg && ind && val) {
      int end = k + 1 < ccnt ? beg[k + 1] : nzcnt;
      pos += packcolumn(ind + beg[k], val + beg[k], end - beg[k], c->matind + pos,
                        c->matval + pos, where.data());
    }
    c->matcnt[j] = pos - c->matbeg[j];
  }
  if (wantnames) appendnames(c->colname, c->colnamestore, nameused, n0, ccnt, names, 'x');
  c->numcols = n0 + ccnt;
  status = arrange(p);
  if (status) return status;
  arrangeslacks(p);
  settype(p);
  return start_fit(p, n0, m0);
}

int appendrows(env *e, lp *p, int rcnt, const double *rhs, const char *sense,
               const double *rngval, char *const *names) {
  if (rcnt <= 0) return 0;
  lpcore *c = p->core;
  int n0 = c->numcols, m0 = c->numrows;
  int newr = 0;
  for (int k = 0; k < rcnt; ++k) newr += sense && sense[k] == 'R';
  int nr = c->totcols - c->numcols + newr;
  int status = 0;
  bool wantnames = c->rowname != nullptr || names != nullptr;
  if (wantnames && c->rowname == nullptr) status = makerownames(e, p);
  if (status) return status;
  uint32_t nameused = wantnames ? storeused(c->rowname, m0, c->rownamestore) : 0;
  uint32_t namereq = wantnames ? nameused + newnamebytes(rcnt, names) : 0;
  status = ensurespace(e, p, std::max(n0 + nr, 1), m0 + rcnt, usednz(c) + nr, 0, namereq);
  if (status) return status;
  if (newr > 0 && c->rngval == nullptr) {
    c->rngval = allocnzero<double>(c->rowspace);
    if (c->rngval == nullptr) return kNoMemory;
  }
  for (int k = 0; k < rcnt; ++k) {
    int i = m0 + k;
    c->rhs[i] = rhs ? rhs[k] : 0.0;
    c->sense[i] = sense ? sense[k] : 'E';
    if (c->rngval) c->rngval[i] = rngval ? rngval[k] : 0.0;
    if (c->rowscale) c->rowscale[i] = 1.0;
  }
  if (wantnames) appendnames(c->rowname, c->rownamestore, nameused, m0, rcnt, names, 'c');
  c->numrows = m0 + rcnt;
  status = arrange(p);
  if (status) return status;
  arrangeslacks(p);
  return start_fit(p, n0, m0);
}

int insertentries(env *e, lp *p, int cnt, const int *rows, const int *cols, const double *vals) {
  if (cnt <= 0) return 0;
  lpcore *c = p->core;
  int n = c->numcols, m = c->numrows;
  // Triples grouped by column, in their given order.
  std::vector<int> first(n + 1, 0), order(cnt);
  for (int k = 0; k < cnt; ++k) ++first[cols[k] + 1];
  for (int j = 0; j < n; ++j) first[j + 1] += first[j];
  {
    std::vector<int> next(first.begin(), first.end() - 1);
    for (int k = 0; k < cnt; ++k) order[next[cols[k]]++] = k;
  }
  std::vector<int> where(m, -1), batch(m, -1);
  std::vector<int> newbeg(n + 1, 0);
  std::vector<int> ind;
  std::vector<double> val;
  ind.reserve(static_cast<size_t>(usednz(c)) + cnt);
  val.reserve(static_cast<size_t>(usednz(c)) + cnt);
  for (int j = 0; j < n; ++j) {
    size_t start = ind.size();
    for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k) {
      where[c->matind[k]] = static_cast<int>(ind.size());
      ind.push_back(c->matind[k]);
      val.push_back(c->matval[k]);
    }
    for (int q = first[j]; q < first[j + 1]; ++q) {
      int t = order[q];
      int i = rows[t];
      double v = vals[t];
      if (c->rowscale) v /= c->rowscale[i];
      if (c->colscale) v /= c->colscale[j];
      if (where[i] >= 0) {
        // A triple replaces what the model held; triples of one batch on
        // the same place add up, as repeated entries do everywhere else.
        if (batch[i] == j) val[where[i]] += v;
        else val[where[i]] = v;
        batch[i] = j;
      } else {
        batch[i] = j;
        where[i] = static_cast<int>(ind.size());
        ind.push_back(i);
        val.push_back(v);
      }
    }
    // Close up over entries that became zero, and clear the marks.
    size_t out = start;
    for (size_t k = start; k < ind.size(); ++k) {
      where[ind[k]] = -1;
      if (val[k] == 0.0) continue;
      ind[out] = ind[k];
      val[out] = val[k];
      ++out;
    }
    ind.resize(out);
    val.resize(out);
    newbeg[j + 1] = static_cast<int>(out);
  }
  int nr = c->totcols - c->numcols;
  int total = static_cast<int>(ind.size());
  int status = ensurespace(e, p, std::max(n + nr, 1), std::max(m, 1), total + nr, 0, 0);
  if (status) return status;
  if (total > 0) {
    std::memcpy(c->matind, ind.data(), sizeof(int) * total);
    std::memcpy(c->matval, val.data(), sizeof(double) * total);
  }
  for (int j = 0; j < n; ++j) {
    c->matbeg[j] = newbeg[j];
    c->matcnt[j] = newbeg[j + 1] - newbeg[j];
  }
  return arrange(p);
}

}  // namespace velto

// ---- exported changes ---------------------------------------------------------------------

using namespace velto;

namespace {

// Tests a list of indices against [0, limit); prints the row or column line.
int checkindices(env *e, int cnt, const int *indices, int limit, bool rows) {
  for (int k = 0; k < cnt; ++k)
    if (indices[k] < 0 || indices[k] >= limit) {
      msg(e->errchannel, errtext(e, rows ? 1203 : 1201), indices[k]);
      return rows ? -1203 : -1201;
    }
  return 0;
}

bool goodsense(char s) { return s == 'L' || s == 'G' || s == 'E' || s == 'R'; }
bool goodctype(char t) { return t == 'C' || t == 'B' || t == 'I' || t == 'S' || t == 'N'; }

// Checks a block of sparse vectors: starts ascending and inside nz, indices
// in [0, limit), and with the data check no index twice in one vector.
int checkvectors(env *e, int vectors, int nz, const int *beg, const int *ind, int limit,
                 bool rowvectors, bool full) {
  if (nz == 0) return 0;
  if (beg[0] < 0) return kIndexRange;
  for (int v = 0; v < vectors; ++v) {
    if (v > 0 && beg[v] < beg[v - 1]) {
      msg(e->errchannel, errtext(e, 1226), v);
      return -1226;
    }
    if (beg[v] > nz) {
      msg(e->errchannel, errtext(e, 1227), v);
      return -1227;
    }
  }
  std::vector<int> mark;
  if (full) mark.assign(limit, -1);
  for (int v = 0; v < vectors; ++v) {
    int end = v + 1 < vectors ? beg[v + 1] : nz;
    for (int k = beg[v]; k < end; ++k) {
      int i = ind[k];
      if (i < 0 || i >= limit) {
        msg(e->errchannel, errtext(e, rowvectors ? 1201 : 1203), k);
        return rowvectors ? -1201 : -1203;
      }
      if (full) {
        if (mark[i] == v) {
          msg(e->errchannel, errtext(e, 1222));
          return -1222;
        }
        mark[i] = v;
      }
    }
  }
  return 0;
}

int checknames(env *e, int n, char **names) {
  for (int k = 0; names && k < n; ++k)
    if (names[k] == nullptr) {
      msg(e->errchannel, errtext(e, 1224), k);
      return -1224;
    }
  return 0;
}

// Bound value rules; returns false when the value is to be ignored.
bool boundvalue(env *e, char kind, double v, double &stored, int &bkind) {
  if (kind == 'L' && v >= kInfBound) {
    msg(e->warnchannel, "Warning:  Infinity lower bound ignored.\n");
    return false;
  }
  if (kind == 'U' && v <= -kInfBound) {
    msg(e->warnchannel, "Warning:  -Infinity upper bound ignored.\n");
    return false;
  }
  if (kind == 'L' && v <= -kInfBound) { stored = -kInfBound; bkind = kBoundInfinite; return true; }
  if (kind == 'U' && v >= kInfBound) { stored = kInfBound; bkind = kBoundInfinite; return true; }
  if (std::fabs(v) < 1e-10) { stored = 0.0; bkind = kBoundZero; return true; }
  stored = v;
  bkind = kBoundFinite;
  return true;
}

// Repairs one column's status after a bound change.
int repairstatus(int st, int lk, int uk) {
  if (st == 1) return st;
  if (lk == kBoundInfinite && uk == kBoundInfinite) return 3;
  if (st == 0 && lk == kBoundInfinite) return 2;
  if (st == 2 && uk == kBoundInfinite) return 0;
  if (st == 3) return lk != kBoundInfinite ? 0 : (uk != kBoundInfinite ? 2 : 3);
  return st;
}

}  // namespace

int velto::chgbds(env *e, lp *p, int cnt, const int *indices, const char *lu, const double *bd,
                  int event) {
  int status = changeframe(e, p);
  if (status) return status;
  if (cnt < 0) return kBadArgument;
  if (cnt == 0) return 0;
  if (!indices || !lu || !bd) return kNullPointer;
  lpcore *c = p->core;
  int n = c->numcols;
  status = checkindices(e, cnt, indices, n + pendingcols(p), false);
  if (status) return status;
  for (int k = 0; k < cnt; ++k)
    if (lu[k] != 'L' && lu[k] != 'U' && lu[k] != 'B') {
      msg(e->errchannel, errtext(e, 1229), k);
      return -1229;
    }
  // An infinite value follows the rules of the model's infinity (1e20).
  for (int k = 0; k < cnt; ++k)
    if (std::isnan(bd[k])) {
      msg(e->errchannel, errtext(e, 1225), k);
      return -1225;
    }
  bool fired = false;
  double epopt = par_epopt(e);
  for (int k = 0; k < cnt; ++k) {
    int j = indices[k];
    char kind = lu[k];
    if (j >= n) {
      cache *ch = c->cache;
      int q = j - ch->basecols;
      for (char part : {'L', 'U'}) {
        if (kind != part && kind != 'B') continue;
        double v;
        int bk;
        if (!boundvalue(e, part, bd[k], v, bk)) continue;
        (part == 'L' ? ch->clb : ch->cub)[q] = v;
      }
      continue;
    }
    if (!fired) {
      dropstate(e, p, event);
      fired = true;
    }
    bool wasfixed = c->lbkind[j] != kBoundInfinite && c->ubkind[j] != kBoundInfinite &&
                    c->lb[j] == c->ub[j];
    for (char part : {'L', 'U'}) {
      if (kind != part && kind != 'B') continue;
      double v;
      int bk;
      if (!boundvalue(e, part, bd[k], v, bk)) continue;
      if (bk == kBoundFinite && c->colscale) v *= c->colscale[j];
      if (part == 'L') { c->lb[j] = v; c->lbkind[j] = bk; }
      else { c->ub[j] = v; c->ubkind[j] = bk; }
    }
    int lk = c->lbkind[j], uk = c->ubkind[j];
    if (p->start && p->start->colstat) p->start->colstat[j] = repairstatus(p->start->colstat[j], lk, uk);
    soln *s = p->soln;
    if (s && s->cstat && j < s->cols) {
      int st = repairstatus(s->cstat[j], lk, uk);
      bool nowfixed = lk != kBoundInfinite && uk != kBoundInfinite && c->lb[j] == c->ub[j];
      if (wasfixed && !nowfixed && s->hasbasis && st != 1 && s->dj &&
          std::fabs(s->dj[j]) <= epopt && lk != kBoundInfinite && uk != kBoundInfinite)
        st = kind == 'L' ? 2 : 0;
      s->cstat[j] = st;
    }
  }
  return 0;
}

namespace {

// The frame shared by the per-entry changes of the objective and the
// right-hand side: argument checks, entries of pending (cached) rows or
// columns stored in the change cache, one dropstate with the given event
// before the first stored entry, and apply(index, value) for each stored one.
template <class Apply>
static int chgentries(env *e, lp *p, int cnt, const int *indices, const double *values,
                      bool rows, int event, Apply apply) {
  int status = changeframe(e, p);
  if (status) return status;
  if (cnt < 0) return kBadArgument;
  if (cnt == 0) return 0;
  if (!indices || !values) return kNullPointer;
  lpcore *c = p->core;
  const int stored = rows ? c->numrows : c->numcols;
  status = checkindices(e, cnt, indices, stored + (rows ? pendingrows(p) : pendingcols(p)), rows);
  if (status == 0) status = checknumbers(e, cnt, values, kNumValue);
  if (status) return status;
  bool fired = false;
  for (int k = 0; k < cnt; ++k) {
    const int q = indices[k];
    if (q >= stored) {
      if (rows) c->cache->rrhs[q - c->cache->baserows] = values[k];
      else c->cache->cobj[q - c->cache->basecols] = values[k];
      continue;
    }
    if (!fired) {
      dropstate(e, p, event);
      fired = true;
    }
    apply(q, values[k]);
  }
  return 0;
}

int chgobj(env *e, lp *p, int cnt, const int *indices, const double *values) {
  // The stored solution stays consistent: dj moves with the cost.
  return chgentries(e, p, cnt, indices, values, false, 14, [p](int j, double value) {
    lpcore *c = p->core;
    double v = c->colscale ? value / c->colscale[j] : value;
    double delta = v - c->obj[j];
    c->obj[j] = v;
    soln *s = p->soln;
    if (s && s->dj && j < s->cols) s->dj[j] += c->objsen * delta;
  });
}

int chgrhs(env *e, lp *p, int cnt, const int *indices, const double *values) {
  // The stored slack moves with the right-hand side.
  return chgentries(e, p, cnt, indices, values, true, 8, [p](int i, double value) {
    lpcore *c = p->core;
    double v = c->rowscale ? value / c->rowscale[i] : value;
    double delta = v - c->rhs[i];
    c->rhs[i] = v;
    soln *s = p->soln;
    if (s && s->slack && i < s->rows)
      s->slack[i] += (c->sense[i] == 'G' || c->sense[i] == 'R') ? -delta : delta;
  });
}

int chgsense(env *e, lp *p, int cnt, const int *indices, const char *sense) {
  int status = changeframe(e, p);
  if (status) return status;
  if (cnt < 0) return kBadArgument;
  if (cnt == 0) return 0;
  if (!indices || !sense) return kNullPointer;
  lpcore *c = p->core;
  int m = c->numrows;
  status = checkindices(e, cnt, indices, m + pendingrows(p), true);
  if (status) return status;
  for (int k = 0; k < cnt; ++k)
    if (!goodsense(sense[k])) {
      msg(e->errchannel, errtext(e, 1215), k);
      return -1215;
    }
  int inmodel = 0, toR = 0;
  for (int k = 0; k < cnt; ++k) {
    if (indices[k] < m) {
      ++inmodel;
      toR += sense[k] == 'R';
    }
  }
  if (inmodel > 0) {
    dropstate(e, p, 33);
    // Room for every row becoming ranged, at worst.
    int nr = c->totcols - c->numcols + toR;
    status = ensurespace(e, p, c->numcols + nr, std::max(m, 1), usednz(c) + nr, 0, 0);
    if (status) return status;
    if (toR > 0 && c->rngval == nullptr) {
      c->rngval = allocnzero<double>(c->rowspace);
      if (c->rngval == nullptr) return kNoMemory;
    }
  }
  for (int k = 0; k < cnt; ++k) {
    int i = indices[k];
    if (i >= m) {
      c->cache->rsense[i - c->cache->baserows] = sense[k];
      continue;
    }
    char old = c->sense[i];
    c->sense[i] = sense[k];
    if (p->start && p->start->rowstat && sense[k] != 'R' && p->start->rowstat[i] != 1)
      p->start->rowstat[i] = 0;
    soln *s = p->soln;
    bool oldlow = old == 'L' || old == 'E', newlow = sense[k] == 'L' || sense[k] == 'E';
    if (s && s->slack && i < s->rows && oldlow != newlow) s->slack[i] = -s->slack[i];
  }
  if (inmodel > 0) {
    status = arrange(p);
    if (status) return status;
    arrangeslacks(p);
  }
  return 0;
}

// Adds columns: straight into the model when it has room and nothing is
// pending, else through the change cache.
int addcols(env *e, lp *p, int ccnt, int nzcnt, const double *obj, const int *beg,
            const int *ind, const double *val, const double *lb, const double *ub,
            const char *ctype, char **names, bool withnz) {
  int status = changeframe(e, p);
  if (status) return status;
  if (ccnt < 0 || nzcnt < 0) return kBadArgument;
  if (ccnt == 0) return 0;
  if (withnz && nzcnt > 0 && (!beg || !ind || !val)) return kNullPointer;
  bool full = par_datacheck(e) != 0;
  lpcore *c = p->core;
  int m = c->numrows + pendingrows(p);
  if (withnz && nzcnt > 0) {
    status = checkvectors(e, ccnt, nzcnt, beg, ind, m, false, full);
    if (status == 0) status = checknumbers(e, nzcnt, val, kNumValue);
    if (status) return status;
  }
  if (status == 0) status = checknumbers(e, ccnt, obj, kNumValue);
  if (status == 0) status = checknumbers(e, ccnt, lb, kNumLower);
  if (status == 0) status = checknumbers(e, ccnt, ub, kNumUpper);
  if (status) return status;
  if (full) {
    status = checknames(e, ccnt, names);
    if (status) return status;
    for (int k = 0; ctype && k < ccnt; ++k)
      if (!goodctype(ctype[k])) {
        msg(e->errchannel, errtext(e, 3021), k);
        return -3021;
      }
  }
  cache *ch = c->cache;
  int nr = c->totcols - c->numcols;
  bool names_ok = names == nullptr && c->colname == nullptr;
  bool fits = ch->empty && c->numcols + ccnt + nr <= c->colspace &&
              usednz(c) + nzcnt + nr <= c->nzspace && names_ok && pendingrows(p) == 0;
  if (fits) {
    dropstate(e, p, 28);
    return appendcols(e, p, ccnt, obj, lb, ub, ctype, names, withnz ? nzcnt : 0,
                      withnz ? beg : nullptr, ind, val);
  }
  int first = c->numcols + pendingcols(p);
  status = cache_newcols(e, p, ccnt, obj, lb, ub, ctype, names);
  if (status == 0 && withnz) status = cache_addcolsnz(e, p, first, ccnt, nzcnt, beg, ind, val);
  if (status == 0 && withnz && cache_overlimit(ch)) status = cache_fold(e, p, 1);
  return status;
}

int addrows(env *e, lp *p, int ccnt, int rcnt, int nzcnt, const double *rhs, const char *sense,
            const double *rngval, const int *beg, const int *ind, const double *val,
            char **colnames, char **rownames, bool withnz) {
  int status = changeframe(e, p);
  if (status) return status;
  if (ccnt < 0 || rcnt < 0 || nzcnt < 0) return kBadArgument;
  if (rcnt == 0 && ccnt == 0) return 0;
  if (withnz && nzcnt > 0 && (!beg || !ind || !val)) return kNullPointer;
  bool full = par_datacheck(e) != 0;
  lpcore *c = p->core;
  for (int k = 0; sense && k < rcnt; ++k)
    if (!goodsense(sense[k])) {
      msg(e->errchannel, errtext(e, 1215), k);
      return -1215;
    }
  int n = c->numcols + pendingcols(p) + ccnt;
  if (withnz && nzcnt > 0) {
    status = checkvectors(e, rcnt, nzcnt, beg, ind, n, true, full);
    if (status == 0) status = checknumbers(e, nzcnt, val, kNumValue);
    if (status) return status;
  }
  if (status == 0) status = checknumbers(e, rcnt, rhs, kNumValue);
  if (status == 0) status = checknumbers(e, rcnt, rngval, kNumValue);
  if (status) return status;
  if (full) {
    status = checknames(e, ccnt, colnames);
    if (status == 0) status = checknames(e, rcnt, rownames);
    if (status) return status;
  }
  cache *ch = c->cache;
  bool direct = ch->empty && (!withnz || nzcnt == 0) && ccnt == 0 &&
                c->numrows + rcnt <= c->rowspace && rownames == nullptr && c->rowname == nullptr;
  if (direct) {
    int newr = 0;
    for (int k = 0; sense && k < rcnt; ++k) newr += sense[k] == 'R';
    direct = newr == 0;
  }
  if (direct) {
    dropstate(e, p, 17);
    return appendrows(e, p, rcnt, rhs, sense, rngval, rownames);
  }
  if (ccnt > 0) {
    status = cache_newcols(e, p, ccnt, nullptr, nullptr, nullptr, nullptr, colnames);
    if (status) return status;
  }
  int first = c->numrows + pendingrows(p);
  status = cache_newrows(e, p, rcnt, rhs, sense, rngval, rownames);
  if (status == 0 && withnz) status = cache_addrowsnz(e, p, first, rcnt, nzcnt, beg, ind, val);
  if (status == 0 && cache_overlimit(ch)) status = cache_fold(e, p, 1);
  return status;
}

// Name changes of the model and of pending items.
int chgnames(env *e, lp *p, int cnt, const int *indices, char **names, bool rows) {
  int status = changeframe(e, p);
  if (status) return status;
  if (cnt < 0) return kBadArgument;
  if (cnt == 0) return 0;
  if (!indices || !names) return kNullPointer;
  lpcore *c = p->core;
  int nmodel = rows ? c->numrows : c->numcols;
  int npend = rows ? pendingrows(p) : pendingcols(p);
  status = checkindices(e, cnt, indices, nmodel + npend, rows);
  if (status) return status;
  status = checknames(e, cnt, names);
  if (status) return status;
  if (par_datacheck(e)) {
    std::vector<int> sorted(indices, indices + cnt);
    std::sort(sorted.begin(), sorted.end());
    if (std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end()) {
      msg(e->errchannel, errtext(e, 1222));
      return -1222;
    }
  }
  dropstate(e, p, 23);
  char **&ptrs = rows ? c->rowname : c->colname;
  char *&store = rows ? c->rownamestore : c->colnamestore;
  uint32_t &space = rows ? c->rownamespace : c->colnamespace;
  int inmodel = 0;
  uint64_t bytes = 0;
  for (int k = 0; k < cnt; ++k)
    if (indices[k] < nmodel) {
      ++inmodel;
      bytes += std::strlen(names[k]) + 1;
    }
  if (inmodel > 0) {
    if (ptrs == nullptr) {
      status = rows ? makerownames(e, p) : makecolnames(e, p);
      if (status) return status;
    }
    uint32_t used = storeused(ptrs, nmodel, store);
    if (used + bytes > space) {
      // Compact the live names into a fresh store with room for the new ones.
      uint64_t live = 0;
      for (int k = 0; k < nmodel; ++k) live += std::strlen(ptrs[k]) + 1;
      int grow = rows ? par_rowgrowth(e) : par_colgrowth(e);
      uint64_t want = (live + bytes + 17ull * grow + 3) & ~3ull;
      if (want >= 2100000000ull) return 1012;
      char *fresh = allocn<char>(want);
      if (fresh == nullptr) return kNoMemory;
      char *q = fresh;
      for (int k = 0; k < nmodel; ++k) {
        size_t len = std::strlen(ptrs[k]) + 1;
        std::memcpy(q, ptrs[k], len);
        ptrs[k] = q;
        q += len;
      }
      release(&store);
      store = fresh;
      space = static_cast<uint32_t>(want);
      used = static_cast<uint32_t>(q - fresh);
    }
    char *q = store + used;
    for (int k = 0; k < cnt; ++k) {
      if (indices[k] >= nmodel) continue;
      size_t len = std::strlen(names[k]) + 1;
      std::memcpy(q, names[k], len);
      ptrs[indices[k]] = q;
      q += len;
    }
  }
  if (inmodel < cnt) {
    cache *ch = c->cache;
    nameset *&set = rows ? ch->rnames : ch->cnames;
    int base = rows ? ch->baserows : ch->basecols;
    if (set == nullptr) {
      set = nameset_new(npend, rows ? 'c' : 'x', 0, &status);
      char buf[16];
      for (int k = 0; status == 0 && k < npend; ++k) {
        std::snprintf(buf, sizeof buf, "%c%d", rows ? 'c' : 'x', base + k + 1);
        const char *one[1] = {buf};
        status = nameset_add(set, 1, one);
      }
      if (status) {
        nameset_free(&set);
        return status;
      }
    }
    for (int k = 0; k < cnt; ++k) {
      if (indices[k] < nmodel) continue;
      int q = indices[k] - base;
      const char *one[1] = {names[k]};
      status = nameset_replace(set, 1, &q, one);
      if (status) return status;
    }
  }
  return 0;
}

int copyctype(env *e, lp *p, const char *ctype) {
  int status = changeframe(e, p);
  if (status) return status;
  status = cache_flush(e, p);
  if (status) return status;
  if (ctype == nullptr) return kNullPointer;
  lpcore *c = p->core;
  if (par_datacheck(e))
    for (int j = 0; j < c->numcols; ++j)
      if (!goodctype(ctype[j])) {
        msg(e->errchannel, errtext(e, 3021), j);
        return -3021;
      }
  if (c->ctype == nullptr) {
    c->ctype = allocn<char>(c->colspace);
    if (c->ctype == nullptr) return kNoMemory;
  }
  std::fill(c->ctype, c->ctype + c->colspace, 'C');
  if (c->numcols > 0) std::memcpy(c->ctype, ctype, c->numcols);
  dropstate(e, p, 7);
  settype(p);
  return 0;
}

int chgctype(env *e, lp *p, int cnt, const int *indices, const char *ctype) {
  int status = changeframe(e, p);
  if (status) return status;
  if (cnt < 0) return kBadArgument;
  if (cnt == 0) return 0;
  if (!indices || !ctype) return kNullPointer;
  lpcore *c = p->core;
  int n = c->numcols;
  status = checkindices(e, cnt, indices, n + pendingcols(p), false);
  if (status) return status;
  if (par_datacheck(e))
    for (int k = 0; k < cnt; ++k)
      if (!goodctype(ctype[k])) {
        msg(e->errchannel, errtext(e, 3021), k);
        return -3021;
      }
  cache *ch = c->cache;
  bool inmodel = false;
  for (int k = 0; k < cnt; ++k) inmodel |= indices[k] < n;
  if (c->ctype == nullptr) {
    c->ctype = allocn<char>(c->colspace);
    if (c->ctype == nullptr) return kNoMemory;
    std::fill(c->ctype, c->ctype + c->colspace, 'C');
  }
  for (int k = 0; k < cnt; ++k) {
    int j = indices[k];
    if (j < n) {
      c->ctype[j] = ctype[k];
      continue;
    }
    if (ch->cctype == nullptr) {
      ch->cctype = allocn<char>(std::max(ch->cspace, 1));
      if (ch->cctype == nullptr) return kNoMemory;
      std::fill(ch->cctype, ch->cctype + std::max(ch->cspace, 1), 'C');
    }
    ch->cctype[j - ch->basecols] = ctype[k];
  }
  if (inmodel) dropstate(e, p, 7);
  settype(p);
  return 0;
}

}  // namespace

extern "C" {

void VLTchgobjsen(VLTENVptr env, VLTLPptr lp, int maxormin) {
  int status = changeframe(env, lp);
  if (status == 0) {
    dropstate(env, lp, 12);
    lp->core->objsen = maxormin < 0 ? -1 : 1;
  }
  if (status) report(env, &status);
}

int VLTchgobj(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices, const double *values) {
  return finish(env, guarded([&] { return chgobj(env, lp, cnt, indices, values); }));
}

int VLTchgrhs(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices, const double *values) {
  return finish(env, guarded([&] { return chgrhs(env, lp, cnt, indices, values); }));
}

int VLTchgbds(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices, const char *lu,
              const double *bd) {
  return finish(env, guarded([&] { return velto::chgbds(env, lp, cnt, indices, lu, bd, 4); }));
}

int VLTchgsense(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices, const char *sense) {
  return finish(env, guarded([&] { return chgsense(env, lp, cnt, indices, sense); }));
}

int VLTaddcols(VLTENVptr env, VLTLPptr lp, int ccnt, int nzcnt, const double *obj,
               const int *cmatbeg, const int *cmatind, const double *cmatval, const double *lb,
               const double *ub, char **colname) {
  return finish(env, guarded([&] {
    return addcols(env, lp, ccnt, nzcnt, obj, cmatbeg, cmatind, cmatval, lb, ub, nullptr,
                   colname, true);
  }));
}

int VLTnewcols(VLTENVptr env, VLTLPptr lp, int ccnt, const double *obj, const double *lb,
               const double *ub, const char *ctype, char **colname) {
  return finish(env, guarded([&] {
    return addcols(env, lp, ccnt, 0, obj, nullptr, nullptr, nullptr, lb, ub, ctype, colname,
                   false);
  }));
}

int VLTaddrows(VLTENVptr env, VLTLPptr lp, int ccnt, int rcnt, int nzcnt, const double *rhs,
               const char *sense, const int *rmatbeg, const int *rmatind, const double *rmatval,
               char **colname, char **rowname) {
  return finish(env, guarded([&] {
    return addrows(env, lp, ccnt, rcnt, nzcnt, rhs, sense, nullptr, rmatbeg, rmatind, rmatval,
                   colname, rowname, true);
  }));
}

int VLTnewrows(VLTENVptr env, VLTLPptr lp, int rcnt, const double *rhs, const char *sense,
               const double *rngval, char **rowname) {
  return finish(env, guarded([&] {
    return addrows(env, lp, 0, rcnt, 0, rhs, sense, rngval, nullptr, nullptr, nullptr, nullptr,
                   rowname, false);
  }));
}

int VLTchgcolname(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices, char **newname) {
  return finish(env, guarded([&] { return chgnames(env, lp, cnt, indices, newname, false); }));
}

int VLTchgrowname(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices, char **newname) {
  return finish(env, guarded([&] { return chgnames(env, lp, cnt, indices, newname, true); }));
}

int VLTchgname(VLTENVptr env, VLTLPptr lp, int key, int ij, const char *name) {
  return finish(env, guarded([&] {
    int s = changeframe(env, lp);
    if (s) return s;
    if (name == nullptr) return static_cast<int>(kNullPointer);
    char *one[1] = {const_cast<char *>(name)};
    if (key == 'c') return chgnames(env, lp, 1, &ij, one, false);
    if (key == 'r') return chgnames(env, lp, 1, &ij, one, true);
    dropstate(env, lp, 23);
    return 0;
  }));
}

int VLTdelnames(VLTENVptr env, VLTLPptr lp) {
  int status = changeframe(env, lp);
  if (status == 0) {
    dropstate(env, lp, 23);
    lpcore *c = lp->core;
    release(&c->colname);
    release(&c->colnamestore);
    release(&c->rowname);
    release(&c->rownamestore);
    c->colnamespace = c->rownamespace = 0;
    nameset_free(&c->cache->cnames);
    nameset_free(&c->cache->rnames);
  }
  return finish(env, status);
}

int VLTchgprobname(VLTENVptr env, VLTLPptr lp, const char *probname) {
  int status = changeframe(env, lp);
  if (status == 0 && probname == nullptr) status = kNullPointer;
  if (status == 0) {
    size_t len = std::strlen(probname) + 1;
    char *copy = allocn<char>(len);
    if (copy == nullptr) status = kNoMemory;
    else {
      std::memcpy(copy, probname, len);
      release(&lp->core->probname);
      lp->core->probname = copy;
    }
  }
  return finish(env, status);
}

int VLTEsetnamefunctions(VLTENVptr env, VLTNAMEFUNC colfunc, VLTNAMEFUNC rowfunc, void *handle) {
  if (!checkenv(env)) return kNoEnvironment;
  env->colnamefn = reinterpret_cast<void *>(colfunc);
  env->rownamefn = reinterpret_cast<void *>(rowfunc);
  env->namehandle = handle;
  return 0;
}

int VLTcopyctype(VLTENVptr env, VLTLPptr lp, const char *ctype) {
  return finish(env, guarded([&] { return copyctype(env, lp, ctype); }));
}

int VLTchgctype(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices, const char *ctype) {
  return finish(env, guarded([&] { return chgctype(env, lp, cnt, indices, ctype); }));
}

int VLTgetctype(VLTENVptr env, VLTLPptr lp, char *ctype, int begin, int end) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    int t = lp->probtype;
    if (lp->core->ctype == nullptr ||
        !(t == kTypeMILP || t == kTypeRelaxed || t == kTypeFixed || t == kTypeMIQP ||
          t == kTypeFixedMIQP || t == kTypeNode || t == kTypeQPNode))
      return 3003;
    if (!rangecheck(env, "VLTgetctype", begin, end, 0, lp->core->numcols))
      return static_cast<int>(kIndexRange);
    if (end < begin) return 0;
    if (ctype == nullptr) return static_cast<int>(kNullPointer);
    std::memcpy(ctype, lp->core->ctype + begin, static_cast<size_t>(end - begin + 1));
    return 0;
  }));
}

}  // extern "C"
