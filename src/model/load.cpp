// Problem object: creation, whole-model loading, cloning, freeing, and the
// arrangement of ranged-row columns and slacks.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "model/lp.h"
#include "model/modelpar.h"
#include "mip/mip.h"
#include "model/store.h"

namespace velto {

// ---- memory of the core ---------------------------------------------------------

void core_free(lpcore **cp) {
  lpcore *c = *cp;
  if (c == nullptr) return;
  release(&c->optpriv1);
  release(&c->optpriv2);
  release(&c->probname);
  release(&c->obj);
  release(&c->rhs);
  release(&c->sense);
  release(&c->objname);
  release(&c->rowname);
  release(&c->colname);
  release(&c->rownamestore);
  release(&c->colnamestore);
  release(&c->matbeg);
  release(&c->matcnt);
  release(&c->matind);
  release(&c->matval);
  release(&c->lb);
  release(&c->ub);
  release(&c->rngval);
  release(&c->ctype);
  release(&c->usercuts);
  release(&c->lazycons);
  release(&c->matend);
  release(&c->lbkind);
  release(&c->ubkind);
  release(&c->slackrow);
  release(&c->slackval);
  release(&c->rowscale);
  release(&c->colscale);
  release(&c->rowfactor);
  release(&c->colfactor);
  cache_free(&c->cache);
  release(cp);
}

int core_fitspace(lpcore *c, int colspace, int rowspace, int nzspace, uint32_t cnb,
                  uint32_t rnb) {
  colspace = std::max(colspace, 1);
  rowspace = std::max(rowspace, 1);
  nzspace = std::max(nzspace, 1);
  if (colspace > c->colspace) {
    size_t n = colspace;
    if (!growarray(c->obj, n) || !growarray(c->matbeg, n) || !growarray(c->matcnt, n) ||
        !growarray(c->lb, n) || !growarray(c->ub, n))
      return kNoMemory;
    if (c->matend && !growarray(c->matend, n)) return kNoMemory;
    if (c->lbkind && !growarray(c->lbkind, n)) return kNoMemory;
    if (c->ubkind && !growarray(c->ubkind, n)) return kNoMemory;
    if (c->colscale && !growarray(c->colscale, n)) return kNoMemory;
    if (c->colfactor && !growarray(c->colfactor, n)) return kNoMemory;
    if (c->colname && !growarray(c->colname, n)) return kNoMemory;
    if (c->ctype) {
      if (!growarray(c->ctype, n)) return kNoMemory;
      std::memset(c->ctype + c->colspace, 'C', n - c->colspace);
    }
    c->colspace = colspace;
  }
  if (rowspace > c->rowspace) {
    size_t n = rowspace;
    if (!growarray(c->rhs, n) || !growarray(c->sense, n)) return kNoMemory;
    if (c->rngval) {
      if (!growarray(c->rngval, n)) return kNoMemory;
      std::fill(c->rngval + c->rowspace, c->rngval + n, 0.0);
    }
    if (c->slackrow && !growarray(c->slackrow, n)) return kNoMemory;
    if (c->slackval && !growarray(c->slackval, n)) return kNoMemory;
    if (c->rowscale && !growarray(c->rowscale, n)) return kNoMemory;
    if (c->rowfactor && !growarray(c->rowfactor, n)) return kNoMemory;
    if (c->rowname && !growarray(c->rowname, n)) return kNoMemory;
    c->rowspace = rowspace;
  }
  if (nzspace > c->nzspace) {
    if (!growarray(c->matind, nzspace) || !growarray(c->matval, nzspace)) return kNoMemory;
    c->nzspace = nzspace;
  }
  // Name stores; pointers follow a moved store.
  auto fitnames = [](char **&names, char *&store, uint32_t &space, int count, int cap,
                     uint32_t want) -> bool {
    if (want == 0 || want <= space) return true;
    if (names == nullptr) {
      names = allocnzero<char *>(cap);
      if (names == nullptr) return false;
    }
    char *old = store;
    char *nstore = static_cast<char *>(old ? resize(old, want) : alloc(want));
    if (nstore == nullptr) return false;
    if (old != nullptr && nstore != old)
      for (int k = 0; k < count; ++k)
        if (names[k]) names[k] = nstore + (names[k] - old);
    store = nstore;
    space = want;
    return true;
  };
  if (!fitnames(c->colname, c->colnamestore, c->colnamespace, c->numcols, c->colspace, cnb))
    return kNoMemory;
  if (!fitnames(c->rowname, c->rownamestore, c->rownamespace, c->numrows, c->rowspace, rnb))
    return kNoMemory;
  return 0;
}

int ensurespace_g(env *e, lp *p, int ncols, int nrows, int nz, uint32_t cnb, uint32_t rnb,
                  int colgrow, int rowgrow, int nzgrow) {
  lpcore *c = p->core;
  bool colfit = ncols <= c->colspace, rowfit = nrows <= c->rowspace, nzfit = nz <= c->nzspace;
  bool cnfit = cnb <= c->colnamespace, rnfit = rnb <= c->rownamespace;
  if (colfit && rowfit && nzfit && cnfit && rnfit) return 0;
  auto cap = [](long long want) -> long long { return std::min<long long>(want, 2099999999LL); };
  int ncs = colfit ? c->colspace : static_cast<int>(cap(static_cast<long long>(ncols) + colgrow));
  int nrs = rowfit ? c->rowspace : static_cast<int>(cap(static_cast<long long>(nrows) + rowgrow));
  int nzs = nzfit ? c->nzspace : static_cast<int>(cap(static_cast<long long>(nz) + nzgrow));
  uint32_t ncn = cnfit ? c->colnamespace
                       : static_cast<uint32_t>(cap((17LL * colgrow + cnb + 3) & ~3LL));
  uint32_t nrn = rnfit ? c->rownamespace
                       : static_cast<uint32_t>(cap((17LL * rowgrow + rnb + 3) & ~3LL));
  dropstate(e, p, colfit ? 17 : 29);
  return core_fitspace(c, ncs, nrs, nzs, ncn, nrn);
}

int ensurespace(env *e, lp *p, int ncols, int nrows, int nz, uint32_t cnb, uint32_t rnb) {
  return ensurespace_g(e, p, ncols, nrows, nz, cnb, rnb, par_colgrowth(e), par_rowgrowth(e),
                       par_nzgrowth(e));
}

int usednz(const lpcore *c) {
  int end = 0;
  for (int j = 0; j < c->numcols; ++j) end = std::max(end, c->matbeg[j] + c->matcnt[j]);
  return end;
}

int numnz(const lp *p) {
  const lpcore *c = p->core;
  long long n = 0;
  for (int j = 0; j < c->numcols; ++j) n += c->matcnt[j];
  return static_cast<int>(n);
}

// ---- arrangement -------------------------------------------------------------------

int arrange(lp *p) {
  lpcore *c = p->core;
  if (c->matend == nullptr) c->matend = allocn<int>(c->colspace);
  if (c->lbkind == nullptr) c->lbkind = allocn<int>(c->colspace);
  if (c->ubkind == nullptr) c->ubkind = allocn<int>(c->colspace);
  if (!c->matend || !c->lbkind || !c->ubkind) {
    release(&c->matend);
    release(&c->lbkind);
    release(&c->ubkind);
    return kNoMemory;
  }
  c->totcols = c->numcols;
  if (c->rngval != nullptr) {
    int pos = usednz(c);
    for (int i = 0; i < c->numrows; ++i) {
      if (c->sense[i] != 'R') continue;
      int j = c->totcols;
      if (j >= c->colspace || pos >= c->nzspace) {
        release(&c->matend);
        release(&c->lbkind);
        release(&c->ubkind);
        return 1401;
      }
      c->matbeg[j] = pos;
      c->matcnt[j] = 1;
      c->matind[pos] = i;
      c->matval[pos] = -1.0;
      ++pos;
      c->obj[j] = 0.0;
      double r = c->rngval[i];
      if (c->colscale != nullptr && c->rowscale != nullptr) {
        c->colscale[j] = 1.0 / c->rowscale[i];
        r *= c->colscale[j];
      }
      if (r > 0) { c->lb[j] = 0.0; c->ub[j] = r; }
      else { c->lb[j] = r; c->ub[j] = 0.0; }
      if (c->ctype) c->ctype[j] = 'C';
      c->totcols = j + 1;
    }
  }
  for (int j = 0; j < c->totcols; ++j) {
    clampbound(c->lb[j], c->ub[j], c->lbkind[j], c->ubkind[j]);
    c->matend[j] = c->matbeg[j] + c->matcnt[j];
  }
  return 0;
}

void arrangeslacks(lp *p) {
  lpcore *c = p->core;
  if (c->slackrow == nullptr) c->slackrow = allocn<int>(c->rowspace);
  if (c->slackval == nullptr) c->slackval = allocn<double>(c->rowspace);
  int k = 0;
  if (c->slackrow && c->slackval) {
    for (int i = 0; i < c->numrows; ++i) {
      if (c->sense[i] == 'L' || c->sense[i] == 'G') {
        c->slackrow[k] = i;
        c->slackval[k] = c->sense[i] == 'L' ? 1.0 : -1.0;
        ++k;
      }
    }
  } else {
    for (int i = 0; i < c->numrows; ++i) k += (c->sense[i] == 'L' || c->sense[i] == 'G');
  }
  c->allcols = c->totcols + k;
  c->allcols0 = c->allcols;
}

void settype(lp *p) {
  lpcore *c = p->core;
  int n = 0, semi = 0;
  if (c->ctype)
    for (int j = 0; j < c->numcols; ++j) {
      n += c->ctype[j] != 'C';
      semi += c->ctype[j] == 'S';
    }
  c->numint = n;
  c->semicount = semi;
  switch (p->probtype) {
    case kTypeRelaxed: case kTypeFixed: case kTypeNode: case kTypeFixedMIQP: case kTypeQPNode:
    case kTypeZeroedQP:
      return;
    default:
      break;
  }
  bool q = p->qp != nullptr, i = c->ctype != nullptr;
  p->probtype = q ? (i ? kTypeMIQP : kTypeQP) : (i ? kTypeMILP : kTypeLP);
}

// ---- loading checks -------------------------------------------------------------------

uint32_t namebytes(char **names, int n) {
  if (names == nullptr) return 0;
  uint64_t b = 0;
  for (int k = 0; k < n; ++k) b += (names[k] ? std::strlen(names[k]) : 0) + 1;
  return static_cast<uint32_t>(std::min<uint64_t>(b, 2099999999u));
}

uint32_t storeused(char **names, int n, const char *store) {
  uint32_t used = 0;
  if (names == nullptr || store == nullptr) return 0;
  for (int k = 0; k < n; ++k)
    if (names[k])
      used = std::max<uint32_t>(used, static_cast<uint32_t>(names[k] - store) +
                                          static_cast<uint32_t>(std::strlen(names[k])) + 1);
  return used;
}

int packcolumn(const int *ind, const double *val, int cnt, int *outind, double *outval,
               int *where) {
  int out = 0;
  for (int k = 0; k < cnt; ++k) {
    int i = ind[k];
    if (where[i] >= 0) {
      outval[where[i]] += val[k];
    } else {
      where[i] = out;
      outind[out] = i;
      outval[out] = val[k];
      ++out;
    }
  }
  int kept = 0;
  for (int k = 0; k < out; ++k) {
    where[outind[k]] = -1;
    if (outval[k] == 0.0) continue;
    outind[kept] = outind[k];
    outval[kept] = outval[k];
    ++kept;
  }
  return kept;
}

int checknumbers(env *e, int n, const double *a, numberkind kind) {
  for (int k = 0; a != nullptr && k < n; ++k) {
    double v = a[k];
    if (std::isfinite(v)) continue;
    if (kind == kNumLower && v < 0.0) continue;
    if (kind == kNumUpper && v > 0.0) continue;
    msg(e->errchannel, errtext(e, 1225), k);
    return -1225;
  }
  return 0;
}

int checkload(env *e, int numcols, int numrows, int objsen, const char *sense,
              const int *matbeg, const int *matcnt, const int *matind, char **colname,
              char **rowname, bool full) {
  if (full && objsen != 1 && objsen != -1) return kBadArgument;
  if (full)
    for (int i = 0; i < numrows; ++i) {
      char s = sense[i];
      if (s != 'L' && s != 'G' && s != 'E' && s != 'R') {
        msg(e->errchannel, errtext(e, 1215), i);
        return -1215;
      }
    }
  if (numcols > 0 && matbeg[0] < 0) return kIndexRange;
  for (int j = 1; full && j < numcols; ++j)
    if (matbeg[j] < matbeg[j - 1]) {
      msg(e->errchannel, errtext(e, 1226), j);
      return -1226;
    }
  for (int j = 0; j < numcols; ++j) {
    if (matbeg[j] < 0) return kIndexRange;
    if (matcnt[j] < 0 || matcnt[j] > numrows) {
      msg(e->errchannel, errtext(e, 1227), j);
      return -1227;
    }
  }
  int status = 0;
  if (full)
    for (int j = 0; j + 1 < numcols; ++j)
      if (static_cast<long long>(matbeg[j]) + matcnt[j] > matbeg[j + 1]) {
        msg(e->errchannel, errtext(e, 1228), j);
        status = -1228;
      }
  if (status) return status;
  std::vector<int> mark;
  if (full) mark.assign(numrows, -1);
  for (int j = 0; j < numcols; ++j) {
    for (int k = matbeg[j]; k < matbeg[j] + matcnt[j]; ++k) {
      int i = matind[k];
      if (i < 0 || i >= numrows) {
        msg(e->errchannel, errtext(e, 1201), k);
        return -1201;
      }
      if (full) {
        if (mark[i] == j) {
          msg(e->errchannel, errtext(e, 1222));
          return -1222;
        }
        mark[i] = j;
      }
    }
  }
  if (full) {
    for (int j = 0; colname && j < numcols; ++j)
      if (colname[j] == nullptr) {
        msg(e->errchannel, errtext(e, 1224), j);
        return -1224;
      }
    for (int i = 0; rowname && i < numrows; ++i)
      if (rowname[i] == nullptr) {
        msg(e->errchannel, errtext(e, 1224), i);
        return -1224;
      }
  }
  return 0;
}

// ---- layers -------------------------------------------------------------------------------

void freeviews(env *e, lp *p) {
  if (p->fixedlp) {
    lp *v = p->fixedlp;
    p->fixedlp = nullptr;
    VLTfreeprob(e, &v);
  }
  if (p->auxlp) {
    lp *v = p->auxlp;
    p->auxlp = nullptr;
    VLTfreeprob(e, &v);
  }
}

void dropall(env *e, lp *p) {
  releaselayer(e, p, kLayerOptpriv);
  releaselayer(e, p, kLayerSift);
  releaselayer(e, p, kLayerIis);
  releaselayer(e, p, kLayerQp);
  releaselayer(e, p, kLayerQpaux);
  releaselayer(e, p, kLayerBarrier);
  freeviews(e, p);
  releaselayer(e, p, kLayerMip);
  releaselayer(e, p, kLayerPresolve);
  releaselayer(e, p, kLayerPrice);
  releaselayer(e, p, kLayerDual);
  releaselayer(e, p, kLayerNormblock);
  releaselayer(e, p, kLayerPrimal);
  releaselayer(e, p, kLayerQpwork);
  releaselayer(e, p, kLayerWork);
  releaselayer(e, p, kLayerFactor);
  soln_free(&p->soln);
  start_free(&p->start);
  releaselayer(e, p, kLayerStartnorms);
}

void freeprob(env *e, lp **pp) {
  lp *p = *pp;
  if (p == nullptr) return;
  dropall(e, p);
  if (p->core) releaselayer(e, p, kLayerSos);
  core_free(&p->core);
  release(&p->aux);
  p->self = nullptr;
  p->tag = 0;
  p->self2 = nullptr;
  resremove(e, p);
  release(pp);
}

// ---- handing over whole arrays -------------------------------------------------------------

void lpload_free(lpload *d) {
  release(&d->probname);
  release(&d->obj);
  release(&d->rhs);
  release(&d->sense);
  release(&d->matbeg);
  release(&d->matcnt);
  release(&d->matind);
  release(&d->matval);
  release(&d->lb);
  release(&d->ub);
  release(&d->rngval);
  release(&d->ctype);
  release(&d->colname);
  release(&d->colnamestore);
  release(&d->rowname);
  release(&d->rownamestore);
  release(&d->objname);
}

namespace {

// Builds a core that owns the arrays of d; d's pointers are cleared.
int makecore(env *e, lpload *d, lpcore **out) {
  *out = nullptr;
  if (d->probname == nullptr) return kNullPointer;
  int nr = 0;
  for (int i = 0; d->sense && i < d->numrows; ++i) nr += d->sense[i] == 'R';
  lpcore *c = allocnzero<lpcore>(1);
  if (c == nullptr) return kNoMemory;
  c->probname = d->probname;
  c->numrows = d->numrows;
  c->numcols = d->numcols;
  c->objsen = d->objsen;
  c->obj = d->obj; c->rhs = d->rhs; c->sense = d->sense;
  c->matbeg = d->matbeg; c->matcnt = d->matcnt; c->matind = d->matind; c->matval = d->matval;
  c->lb = d->lb; c->ub = d->ub; c->rngval = d->rngval; c->ctype = d->ctype;
  c->colname = d->colname; c->colnamestore = d->colnamestore;
  c->rowname = d->rowname; c->rownamestore = d->rownamestore;
  c->objname = d->objname;
  c->objoffset = d->objoffset;
  // Sizes known to hold: the used parts; a larger stated capacity is trusted.
  c->colspace = std::max(d->colspace, std::max(d->numcols, 1));
  c->rowspace = std::max(d->rowspace, std::max(d->numrows, 1));
  int nzused = 0;
  if (d->matbeg && d->matcnt)
    for (int j = 0; j < d->numcols; ++j) nzused = std::max(nzused, d->matbeg[j] + d->matcnt[j]);
  c->nzspace = std::max(d->nzspace, std::max(nzused, 1));
  c->colnamespace = d->colnamestore ? std::max(d->colnamespace, storeused(d->colname, d->numcols, d->colnamestore)) : 0;
  c->rownamespace = d->rownamestore ? std::max(d->rownamespace, storeused(d->rowname, d->numrows, d->rownamestore)) : 0;
  std::memset(d, 0, sizeof *d);
  c->mark1 = c->mark2 = -1;
  c->scaletype = -1;
  c->flag1 = c->flag2 = c->flag3 = 1;
  c->rowfilemul = par_rfilemul(e);
  c->colfilemul = par_cfilemul(e);
  c->modeltol[0] = c->modeltol[2] = par_tol1050(e);
  c->modeltol[1] = c->modeltol[3] = par_tol1049(e);
  c->totcols = c->allcols = c->allcols0 = c->numcols;
  int status = 0;
  if (!c->obj || !c->rhs || !c->sense || !c->matbeg || !c->matcnt || !c->matind || !c->matval ||
      !c->lb || !c->ub)
    status = kNullPointer;
  if (status == 0 && nr > 0 && c->rngval == nullptr) {
    c->rngval = allocnzero<double>(c->rowspace);
    if (c->rngval == nullptr) status = kNoMemory;
  }
  // Room for the ranged-row columns behind the user's data.
  if (status == 0 && (c->numcols + nr > c->colspace || nzused + nr > c->nzspace)) {
    int cs = c->colspace, ns = c->nzspace;
    c->colspace = c->numcols; c->nzspace = nzused;  // resize from the used parts
    status = core_fitspace(c, std::max(cs, c->numcols + nr), c->rowspace,
                           std::max(ns, nzused + nr), 0, 0);
  }
  // Names given only partly (no store) are not kept.
  if (status == 0 && (c->colname == nullptr) != (c->colnamestore == nullptr)) {
    release(&c->colname); release(&c->colnamestore); c->colnamespace = 0;
  }
  if (status == 0 && (c->rowname == nullptr) != (c->rownamestore == nullptr)) {
    release(&c->rowname); release(&c->rownamestore); c->rownamespace = 0;
  }
  if (status == 0) status = cache_new(&c->cache);
  if (status) {
    core_free(&c);
    return status;
  }
  *out = c;
  return 0;
}

int finishcore(lp *p) {
  int status = arrange(p);
  if (status) return status;
  arrangeslacks(p);
  if (p->core->slackrow == nullptr || p->core->slackval == nullptr) return kNoMemory;
  settype(p);
  return 0;
}

}  // namespace

lp *newlpobject(env *e, int *status_p, lpload *d) {
  int status = 0;
  lp *p = nullptr;
  lpcore *c = nullptr;
  status = makecore(e, d, &c);
  if (status == 0) {
    p = allocnzero<lp>(1);
    if (p == nullptr) status = kNoMemory;
  }
  if (status == 0) {
    p->self = p;
    p->tag = kLpTag;
    p->self2 = p;
    p->owner = e;
    p->lpstat = -1;
    p->core = c;
    c = nullptr;
    status = finishcore(p);
  }
  if (status == 0) status = resadd(e, kResProblem, p);
  if (status) {
    if (p) {
      core_free(&p->core);
      release(&p);
    }
    core_free(&c);
    lpload_free(d);
  }
  if (status_p) *status_p = status;
  return p;
}

int loadowned(env *e, lp *p, lpload *d) {
  lpcore *c = nullptr;
  int status = makecore(e, d, &c);
  if (status) {
    lpload_free(d);
    return status;
  }
  dropstate(e, p, 16);
  dropall(e, p);
  releaselayer(e, p, kLayerSos);
  core_free(&p->core);
  p->core = c;
  if (p->probtype == kTypeMILP || p->probtype == kTypeMIQP) p->probtype = kTypeLP;
  status = finishcore(p);
  p->lpstat = 0;
  return status;
}

// ---- whole-model copy ---------------------------------------------------------------------

int copylpwnames(env *e, lp *p, int numcols, int numrows, int objsen, const double *obj,
                 const double *rhs, const char *sense, const int *matbeg, const int *matcnt,
                 const int *matind, const double *matval, const double *lb, const double *ub,
                 const double *rngval, char **colname, char **rowname, int colgrow, int rowgrow,
                 int nzgrow) {
  lpcore *c = p->core;
  std::vector<int> where(static_cast<size_t>(numrows), -1);
  dropstate(e, p, 16);
  int nz = numcols > 0 ? matbeg[numcols - 1] + matcnt[numcols - 1] : 0;
  for (int j = 0; j < numcols; ++j) nz = std::max(nz, matbeg[j] + matcnt[j]);
  int nr = 0;
  for (int i = 0; i < numrows; ++i) nr += sense[i] == 'R';
  if (colname == nullptr) {
    release(&c->colname);
    release(&c->colnamestore);
    c->colnamespace = 0;
  }
  if (rowname == nullptr) {
    release(&c->rowname);
    release(&c->rownamestore);
    c->rownamespace = 0;
  }
  uint32_t cnb = namebytes(colname, numcols), rnb = namebytes(rowname, numrows);
  // Counts go to zero first so that a growing store moves no stale pointers.
  c->numcols = c->numrows = c->totcols = c->allcols = 0;
  int status = ensurespace_g(e, p, std::max(numcols + nr, 1), std::max(numrows, 1),
                             std::max(nz + nr, 1), cnb, rnb, colgrow, rowgrow, nzgrow);
  if (status) return status;
  if (rngval != nullptr || nr > 0) {
    if (c->rngval == nullptr) {
      c->rngval = allocnzero<double>(c->rowspace);
      if (c->rngval == nullptr) return kNoMemory;
    }
  } else {
    release(&c->rngval);
  }
  if (colname && c->colname == nullptr) {
    c->colname = allocnzero<char *>(c->colspace);
    c->colnamestore = allocn<char>(std::max<uint32_t>(cnb, 1));
    c->colnamespace = std::max<uint32_t>(cnb, 1);
    if (!c->colname || !c->colnamestore) return kNoMemory;
  }
  if (rowname && c->rowname == nullptr) {
    c->rowname = allocnzero<char *>(c->rowspace);
    c->rownamestore = allocn<char>(std::max<uint32_t>(rnb, 1));
    c->rownamespace = std::max<uint32_t>(rnb, 1);
    if (!c->rowname || !c->rownamestore) return kNoMemory;
  }
  c->numcols = numcols;
  c->numrows = numrows;
  c->totcols = c->allcols = numcols;
  c->objsen = objsen;
  c->objoffset = 0.0;
  c->mark1 = c->mark2 = -1;
  c->flag1 = c->flag2 = c->flag3 = 1;
  if (numcols > 0) {
    std::memcpy(c->obj, obj, sizeof(double) * numcols);
    std::memcpy(c->lb, lb, sizeof(double) * numcols);
    std::memcpy(c->ub, ub, sizeof(double) * numcols);
    std::memcpy(c->matbeg, matbeg, sizeof(int) * numcols);
  }
  if (numrows > 0) {
    std::memcpy(c->rhs, rhs, sizeof(double) * numrows);
    std::memcpy(c->sense, sense, numrows);
    if (rngval) std::memcpy(c->rngval, rngval, sizeof(double) * numrows);
    else if (c->rngval) std::fill(c->rngval, c->rngval + numrows, 0.0);
  }
  for (int j = 0; j < numcols; ++j)
    c->matcnt[j] = packcolumn(matind + matbeg[j], matval + matbeg[j], matcnt[j],
                              c->matind + matbeg[j], c->matval + matbeg[j], where.data());
  auto pack = [](char **dst, char *store, char **src, int n) {
    char *q = store;
    for (int k = 0; k < n; ++k) {
      const char *s = src[k] ? src[k] : "";
      size_t len = std::strlen(s) + 1;
      std::memcpy(q, s, len);
      dst[k] = q;
      q += len;
    }
  };
  if (colname) pack(c->colname, c->colnamestore, colname, numcols);
  if (rowname) pack(c->rowname, c->rownamestore, rowname, numrows);
  if (c->ctype) std::fill(c->ctype, c->ctype + c->colspace, 'C');
  status = arrange(p);
  if (status) return status;
  arrangeslacks(p);
  if (c->slackrow == nullptr || c->slackval == nullptr) return kNoMemory;
  cache_clear(c->cache);
  settype(p);
  return 0;
}

namespace {

// Frame shared by the two exported load calls.
int copyframe(env *e, lp *p, int numcols, int numrows, int objsen, const double *obj,
              const double *rhs, const char *sense, const int *matbeg, const int *matcnt,
              const int *matind, const double *matval, const double *lb, const double *ub,
              const double *rngval, char **colname, char **rowname, int colgrow, int rowgrow,
              int nzgrow) {
  if (!checkenv(e)) return kNoEnvironment;
  if (!checklp(e, p)) return kNoProblem;
  if (isview(p) || p->probtype == kTypeZeroedQP) return 1023;
  if (numcols < 0 || numrows < 0) return kBadArgument;
  if (p->probtype == kTypeMILP || p->probtype == kTypeMIQP) {
    msg(e->warnchannel, "Freeing MIP data.\n");
    freeviews(e, p);
    releaselayer(e, p, kLayerMip);
    releaselayer(e, p, kLayerSos);
    release(&p->core->ctype);
    settype(p);
  }
  if (p->probtype == kTypeQP || p->probtype == kTypeMIQP) {
    msg(e->warnchannel, "Freeing QP data.\n");
    releaselayer(e, p, kLayerMip);
    releaselayer(e, p, kLayerQp);
    settype(p);
  }
  if ((numcols > 0 && (!obj || !matbeg || !matcnt || !lb || !ub)) ||
      (numrows > 0 && (!rhs || !sense)))
    return kNullPointer;
  if (numcols > 0) {
    long long nz = 0;
    for (int j = 0; j < numcols; ++j)
      if (matcnt[j] > 0) nz = std::max<long long>(nz, static_cast<long long>(matbeg[j]) + matcnt[j]);
    if (nz > 0 && (!matind || !matval)) return kNullPointer;
  }
  int status = checkload(e, numcols, numrows, objsen, sense, matbeg, matcnt, matind, colname,
                         rowname, par_datacheck(e) != 0);
  if (status == 0) status = checknumbers(e, numcols, obj, kNumValue);
  if (status == 0) status = checknumbers(e, numrows, rhs, kNumValue);
  if (status == 0) status = checknumbers(e, numcols, lb, kNumLower);
  if (status == 0) status = checknumbers(e, numcols, ub, kNumUpper);
  if (status == 0) status = checknumbers(e, numrows, rngval, kNumValue);
  for (int j = 0; status == 0 && j < numcols; ++j)
    for (int k = matbeg[j]; status == 0 && k < matbeg[j] + matcnt[j]; ++k)
      if (!std::isfinite(matval[k])) {
        msg(e->errchannel, errtext(e, 1225), k);
        status = -1225;
      }
  if (status) return status;
  if (objsen != -1) objsen = 1;
  return copylpwnames(e, p, numcols, numrows, objsen, obj, rhs, sense, matbeg, matcnt, matind,
                      matval, lb, ub, rngval, colname, rowname, colgrow, rowgrow, nzgrow);
}

}  // namespace
}  // namespace velto

using namespace velto;

extern "C" {

VLTLPptr VLTcreateprob(VLTENVptr env, int *status_p, const char *probname) {
  int status = 0;
  lp *p = nullptr;
  if (status_p) *status_p = 0;
  try {
    if (!checkenv(env)) status = kNoEnvironment;
    else if (probname == nullptr) status = kNullPointer;
    else if (static_cast<double>(std::strlen(probname)) + 1.0 >= 2099999999.0) status = 1012;
    if (status == 0) {
      lpload d{};
      size_t len = std::strlen(probname) + 1;
      d.probname = allocn<char>(len);
      d.obj = allocnzero<double>(1);
      d.rhs = allocnzero<double>(1);
      d.sense = allocnzero<char>(1);
      d.matbeg = allocnzero<int>(1);
      d.matcnt = allocnzero<int>(1);
      d.matind = allocnzero<int>(1);
      d.matval = allocnzero<double>(1);
      d.lb = allocnzero<double>(1);
      d.ub = allocnzero<double>(1);
      d.objsen = 1;
      d.colspace = d.rowspace = d.nzspace = 1;
      if (!d.probname || !d.obj || !d.rhs || !d.sense || !d.matbeg || !d.matcnt || !d.matind ||
          !d.matval || !d.lb || !d.ub) {
        lpload_free(&d);
        status = kNoMemory;
      } else {
        std::memcpy(d.probname, probname, len);
        p = newlpobject(env, &status, &d);
      }
    }
  } catch (const std::bad_alloc &) {
    status = kNoMemory;
  }
  if (status) {
    report(env, &status);
    p = nullptr;
  }
  if (status_p) *status_p = status;
  return p;
}

int VLTfreeprob(VLTENVptr env, VLTLPptr *lp_p) {
  int status = 0;
  if (!checkenv(env)) status = kNoEnvironment;
  else if (lp_p == nullptr || *lp_p == nullptr) status = kNullPointer;
  else if ((*lp_p)->self != *lp_p || (*lp_p)->tag != kLpTag || (*lp_p)->owner != env)
    status = kNoProblem;
  else if ((*lp_p)->holder != nullptr)
    status = kBadArgument;  // a reduced problem goes with the problem that holds it
  if (status == 0) freeprob(env, lp_p);
  if (status) report(env, &status);
  return status;
}

int VLTcopylp(VLTENVptr env, VLTLPptr lp, int numcols, int numrows, int objsen,
              const double *obj, const double *rhs, const char *sense, const int *matbeg,
              const int *matcnt, const int *matind, const double *matval, const double *lb,
              const double *ub, const double *rngval) {
  return VLTcopylpwnames(env, lp, numcols, numrows, objsen, obj, rhs, sense, matbeg, matcnt,
                         matind, matval, lb, ub, rngval, nullptr, nullptr);
}

int VLTcopylpwnames(VLTENVptr env, VLTLPptr lp, int numcols, int numrows, int objsen,
                    const double *obj, const double *rhs, const char *sense, const int *matbeg,
                    const int *matcnt, const int *matind, const double *matval, const double *lb,
                    const double *ub, const double *rngval, char **colname, char **rowname) {
  int status;
  try {
    status = copyframe(env, lp, numcols, numrows, objsen, obj, rhs, sense, matbeg, matcnt,
                       matind, matval, lb, ub, rngval, colname, rowname,
                       checkenv(env) ? par_colgrowth(env) : 0, checkenv(env) ? par_rowgrowth(env) : 0,
                       checkenv(env) ? par_nzgrowth(env) : 0);
  } catch (const std::bad_alloc &) {
    status = kNoMemory;
  }
  if (status) report(env, &status);
  return status;
}

int VLTcopyobjname(VLTENVptr env, VLTLPptr lp, const char *objname) {
  int status = 0;
  if (!checkenv(env)) status = kNoEnvironment;
  else if (!checklp(env, lp)) status = kNoProblem;
  else if (isview(lp)) status = 1023;
  if (status == 0) {
    char *copy = nullptr;
    if (objname != nullptr) {
      size_t len = std::strlen(objname) + 1;
      copy = allocn<char>(len);
      if (copy == nullptr) status = kNoMemory;
      else std::memcpy(copy, objname, len);
    }
    if (status == 0) {
      release(&lp->core->objname);
      lp->core->objname = copy;
    }
  }
  if (status) report(env, &status);
  return status;
}

VLTLPptr VLTcloneprob(VLTENVptr env, VLTLPptr lp, int *status_p) {
  int status = 0;
  velto::lp *q = nullptr;
  if (status_p) *status_p = 0;
  try {
    if (!checkenv(env)) status = kNoEnvironment;
    else if (!checklp(env, lp)) status = kNoProblem;
    if (status == 0) status = cache_flush(env, lp);
    if (status == 0) {
      q = VLTcreateprob(env, &status, lp->core->probname);
      if (status > 0) status = -status;  // already reported
    }
    if (status == 0) {
      const lpcore *c = lp->core;
      int n = c->numcols, m = c->numrows, nz = numnz(lp);
      std::vector<double> obj(n), lb(n), ub(n), rhs(m), rng(m), val(nz);
      std::vector<int> beg(n), cnt(n), ind(nz);
      getobj_u(lp, obj.data(), 0, n - 1);
      getlb_u(lp, lb.data(), 0, n - 1);
      getub_u(lp, ub.data(), 0, n - 1);
      getrhs_u(lp, rhs.data(), 0, m - 1);
      getrng_u(lp, rng.data(), 0, m - 1);
      int pos = 0;
      for (int j = 0; j < n; ++j) {
        beg[j] = pos;
        cnt[j] = c->matcnt[j];
        for (int k = c->matbeg[j]; k < c->matend[j]; ++k) {
          ind[pos] = c->matind[k];
          val[pos] = matval_u(lp, k, j);
          ++pos;
        }
      }
      status = copylpwnames(env, q, n, m, c->objsen, obj.data(), rhs.data(), c->sense,
                            beg.data(), cnt.data(), ind.data(), val.data(), lb.data(),
                            ub.data(), c->rngval ? rng.data() : nullptr, c->colname,
                            c->rowname, 0, 0, 0);
      if (status == 0) {
        q->core->objoffset = c->objoffset;
        if (c->objname) {
          size_t len = std::strlen(c->objname) + 1;
          q->core->objname = allocn<char>(len);
          if (q->core->objname == nullptr) status = kNoMemory;
          else std::memcpy(q->core->objname, c->objname, len);
        }
      }
      if (status == 0 && c->ctype) {
        q->core->ctype = allocn<char>(q->core->colspace);
        if (q->core->ctype == nullptr) status = kNoMemory;
        else {
          std::fill(q->core->ctype, q->core->ctype + q->core->colspace, 'C');
          std::memcpy(q->core->ctype, c->ctype, n);
          settype(q);
        }
      }
      if (status == 0 && c->sos) {
        mip_register();
        q->core->sos = new sosdata(*c->sos);
      }
    }
  } catch (const std::bad_alloc &) {
    status = kNoMemory;
  }
  if (status) {
    if (q) freeprob(env, &q);
    report(env, &status);
  }
  if (status_p) *status_p = status;
  return q;
}

// Brings a model that holds scaled values back to the user's numbers and
// drops the scale factors; on a model that holds its user values only the
// factors go (the cut loop calls this before every batch of rows, so it
// must not cost a re-solve its norms).
int VLTunscaleprob(VLTENVptr env, VLTLPptr lp) {
  int status = guarded([&] {
    int st = changeframe(env, lp);
    if (st == 0) st = cache_flush(env, lp);
    if (st) return st;
    lpcore *c = lp->core;
    if (c->rowscale || c->colscale) {
      dropstate(env, lp, 51);
      for (int j = 0; j < c->totcols; ++j) {
        const double cj = c->colscale && j < c->numcols ? c->colscale[j] : 1.0;
        for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k)
          c->matval[k] *= cj * (c->rowscale ? c->rowscale[c->matind[k]] : 1.0);
        if (j >= c->numcols) continue;
        c->obj[j] *= cj;
        if (c->lbkind[j] == kBoundFinite) c->lb[j] /= cj;
        if (c->ubkind[j] == kBoundFinite) c->ub[j] /= cj;
      }
      for (int i = 0; c->rowscale && i < c->numrows; ++i) c->rhs[i] *= c->rowscale[i];
      release(&c->rowscale);
      release(&c->colscale);
    }
    release(&c->rowfactor);
    release(&c->colfactor);
    c->scaletype = -1;
    return 0;
  });
  if (status) report(env, &status);
  return status;
}

}  // extern "C"
