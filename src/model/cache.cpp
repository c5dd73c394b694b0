// Change cache: additions that cannot go straight into the model wait here
// and are folded in by one pass when the full model is needed.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <vector>

#include "model/lp.h"
#include "model/modelpar.h"
#include "model/store.h"

namespace velto {

int cache_new(cache **c) {
  *c = allocnzero<cache>(1);
  if (*c == nullptr) return kNoMemory;
  (*c)->empty = 1;
  (*c)->mfirst = -1;
  return 0;
}

void cache_free(cache **cp) {
  cache *c = *cp;
  if (c == nullptr) return;
  release(&c->cobj); release(&c->clb); release(&c->cub); release(&c->cctype);
  nameset_free(&c->cnames);
  release(&c->rrhs); release(&c->rsense); release(&c->rrngval);
  nameset_free(&c->rnames);
  release(&c->mrow); release(&c->mcol); release(&c->mbeg); release(&c->mind); release(&c->mval);
  release(&c->qrow); release(&c->qcol); release(&c->qval);
  release(cp);
}

void cache_clear(cache *c) {
  if (c == nullptr) return;
  c->empty = 1;
  c->ccnt = c->rcnt = c->mnz = c->qcnt = 0;
  c->mform = 0;
  c->mfirst = -1;
  c->mvecs = c->mvecsheld = 0;
  release(&c->cctype);
  nameset_free(&c->cnames);
  nameset_free(&c->rnames);
  release(&c->mrow);
  release(&c->mcol);
  release(&c->mbeg);
  release(&c->mind);
  release(&c->mval);
  c->mvecspace = 0;
  c->mspace = 0;
}

int cache_overlimit(const cache *c) {
  if (c == nullptr || c->empty) return 0;
  return c->ccnt > std::max(c->basecols, 10) || c->rcnt > std::max(c->baserows, 10) ||
         c->mnz > std::max(c->basenz, 10) || c->qcnt > std::max(c->basenz, 10);
}

namespace {

void takebases(cache *c, const lpcore *core) {
  if (!c->empty) return;
  c->basecols = core->numcols;
  c->baserows = core->numrows;
  c->basenz = core->nzspace;
}

// New capacity for `have` + `req` items under the growth rule.
long long newcap(int cap, int have, int req, int growth, int floor) {
  long long need = static_cast<long long>(have) + req;
  if (need <= cap) return cap;
  if (cap == 0) return std::max({2LL * req, static_cast<long long>(req) + growth, static_cast<long long>(floor), need});
  return std::max(2LL * (static_cast<long long>(cap) + req), need);
}

// Adds default names prefix+(first+k+1) for k = 0..n-1.
int adddefaults(nameset *s, char prefix, int first, int n) {
  char buf[16];
  for (int k = 0; k < n; ++k) {
    std::snprintf(buf, sizeof buf, "%c%d", prefix, first + k + 1);
    const char *one[1] = {buf};
    int status = nameset_add(s, 1, one);
    if (status) return status;
  }
  return 0;
}

int addnames(nameset *s, char prefix, int firstindex, int n, char *const *names) {
  for (int k = 0; k < n; ++k) {
    const char *nm = names ? names[k] : nullptr;
    int status;
    if (nm && nm[0]) {
      const char *one[1] = {nm};
      status = nameset_add(s, 1, one);
    } else {
      status = adddefaults(s, prefix, firstindex + k, 1);
    }
    if (status) return status;
  }
  return 0;
}

// Makes room for `want` entries; the triple arrays and the vector index
// array are made when asked for or kept in step when present.
int growentries(cache *c, long long want, int growth, bool triples, bool vectors) {
  long long cap = c->mspace;
  if (want > cap) cap = newcap(c->mspace, c->mnz, static_cast<int>(want - c->mnz), growth, 500);
  cap = std::max<long long>(cap, 1);
  if (cap > 2100000000LL) return 1012;
  bool grow = cap > c->mspace;
  if ((grow || !c->mval) && !growarray(c->mval, cap)) return kNoMemory;
  if (triples || c->mrow) {
    if ((grow || !c->mrow) && !growarray(c->mrow, cap)) return kNoMemory;
    if ((grow || !c->mcol) && !growarray(c->mcol, cap)) return kNoMemory;
  }
  if ((vectors || c->mind) && (grow || !c->mind) && !growarray(c->mind, cap)) return kNoMemory;
  c->mspace = static_cast<int>(cap);
  return 0;
}

// Turns vectors held by rows or columns into triples.
int totriples(cache *c) {
  if (c->mform != 1 && c->mform != 2) return 0;
  int cap = std::max(c->mspace, 1);
  int *rows = allocn<int>(cap), *cols = allocn<int>(cap);
  if (!rows || !cols) {
    release(&rows);
    release(&cols);
    return kNoMemory;
  }
  for (int v = 0; v < c->mvecsheld; ++v) {
    int end = v + 1 < c->mvecsheld ? c->mbeg[v + 1] : c->mnz;
    for (int k = c->mbeg[v]; k < end; ++k) {
      if (c->mform == 1) { rows[k] = c->mfirst + v; cols[k] = c->mind[k]; }
      else { cols[k] = c->mfirst + v; rows[k] = c->mind[k]; }
    }
  }
  release(&c->mrow);
  release(&c->mcol);
  c->mrow = rows;
  c->mcol = cols;
  release(&c->mbeg);
  release(&c->mind);
  c->mvecsheld = c->mvecspace = 0;
  c->mform = 3;
  c->mvecs = 0;
  c->mfirst = -1;
  return 0;
}

int addvectors(env *e, lp *p, int form, int first, int vectors, int nz, const int *beg,
               const int *ind, const double *val) {
  if (beg == nullptr || ind == nullptr || val == nullptr || vectors <= 0) return 0;
  cache *c = p->core->cache;
  takebases(c, p->core);
  int growth = form == 1 ? par_rowgrowth(e) : par_colgrowth(e);
  if (c->mform == 0) c->mform = form;
  bool keep = c->mform == form && (c->mvecs < 1 || c->mvecs == first);
  int status = 0;
  if (!keep) status = totriples(c);
  if (status) return status;
  int live = 0;
  for (int k = 0; k < nz; ++k) live += val[k] != 0.0;
  status = growentries(c, static_cast<long long>(c->mnz) + live, par_nzgrowth(e), !keep, keep);
  if (status) return status;
  if (keep) {
    if (c->mvecsheld + vectors > c->mvecspace) {
      long long cap = newcap(c->mvecspace, c->mvecsheld, vectors, growth, 100);
      if (!growarray(c->mbeg, cap)) return kNoMemory;
      c->mvecspace = static_cast<int>(cap);
    }
    if (c->mfirst == -1) c->mfirst = first;
    for (int v = 0; v < vectors; ++v) {
      int end = v + 1 < vectors ? beg[v + 1] : nz;
      c->mbeg[c->mvecsheld++] = c->mnz;
      for (int k = beg[v]; k < end; ++k) {
        if (val[k] == 0.0) continue;
        c->mind[c->mnz] = ind[k];
        c->mval[c->mnz] = val[k];
        ++c->mnz;
      }
    }
    c->mvecs += vectors;
  } else {
    for (int v = 0; v < vectors; ++v) {
      int end = v + 1 < vectors ? beg[v + 1] : nz;
      for (int k = beg[v]; k < end; ++k) {
        if (val[k] == 0.0) continue;
        int a = first + v, b = ind[k];
        c->mrow[c->mnz] = form == 1 ? a : b;
        c->mcol[c->mnz] = form == 1 ? b : a;
        c->mval[c->mnz] = val[k];
        ++c->mnz;
      }
    }
  }
  c->empty = 0;
  return 0;
}

}  // namespace

int cache_newcols(env *e, lp *p, int count, const double *obj, const double *lb,
                  const double *ub, const char *ctype, char **names) {
  cache *c = p->core->cache;
  takebases(c, p->core);
  if (count <= 0) return 0;
  if (c->ccnt + count > c->cspace) {
    long long cap = newcap(c->cspace, c->ccnt, count, par_colgrowth(e), 100);
    if (cap > 2100000000LL) return 1012;
    if (!growarray(c->cobj, cap) || !growarray(c->clb, cap) || !growarray(c->cub, cap))
      return kNoMemory;
    if (c->cctype && !growarray(c->cctype, cap)) return kNoMemory;
    c->cspace = static_cast<int>(cap);
  }
  if (ctype && c->cctype == nullptr) {
    c->cctype = allocn<char>(c->cspace);
    if (c->cctype == nullptr) return kNoMemory;
    std::fill(c->cctype, c->cctype + c->ccnt, 'C');
  }
  int status = 0;
  if (c->cnames == nullptr && (p->core->colname || names)) {
    c->cnames = nameset_new(c->cspace, 'x', 0, &status);
    if (status == 0) status = adddefaults(c->cnames, 'x', c->basecols, c->ccnt);
    if (status) {
      nameset_free(&c->cnames);
      return status;
    }
  }
  if (c->cnames) {
    int before = c->cnames->count;
    status = addnames(c->cnames, 'x', c->basecols + c->ccnt, count, names);
    if (status) {
      nameset_truncate(c->cnames, before);
      return status;
    }
  }
  for (int k = 0; k < count; ++k) {
    int q = c->ccnt + k;
    c->cobj[q] = obj ? obj[k] : 0.0;
    double l = lb ? lb[k] : 0.0, u = ub ? ub[k] : kInfBound;
    int lk, uk;
    clampbound(l, u, lk, uk);
    c->clb[q] = l;
    c->cub[q] = u;
    if (c->cctype) c->cctype[q] = ctype ? ctype[k] : 'C';
  }
  c->ccnt += count;
  c->empty = 0;
  return 0;
}

int cache_newrows(env *e, lp *p, int count, const double *rhs, const char *sense,
                  const double *rngval, char **names) {
  cache *c = p->core->cache;
  takebases(c, p->core);
  if (count <= 0) return 0;
  if (c->rcnt + count > c->rspace) {
    long long cap = newcap(c->rspace, c->rcnt, count, par_rowgrowth(e), 100);
    if (cap > 2100000000LL) return 1012;
    if (!growarray(c->rrhs, cap) || !growarray(c->rsense, cap) || !growarray(c->rrngval, cap))
      return kNoMemory;
    c->rspace = static_cast<int>(cap);
  }
  int status = 0;
  if (c->rnames == nullptr && (p->core->rowname || names)) {
    c->rnames = nameset_new(c->rspace, 'c', 0, &status);
    if (status == 0) status = adddefaults(c->rnames, 'c', c->baserows, c->rcnt);
    if (status) {
      nameset_free(&c->rnames);
      return status;
    }
  }
  if (c->rnames) {
    int before = c->rnames->count;
    status = addnames(c->rnames, 'c', c->baserows + c->rcnt, count, names);
    if (status) {
      nameset_truncate(c->rnames, before);
      return status;
    }
  }
  for (int k = 0; k < count; ++k) {
    int q = c->rcnt + k;
    c->rrhs[q] = rhs ? rhs[k] : 0.0;
    c->rsense[q] = sense ? sense[k] : 'E';
    c->rrngval[q] = rngval ? rngval[k] : 0.0;
  }
  c->rcnt += count;
  c->empty = 0;
  return 0;
}

int cache_addcolsnz(env *e, lp *p, int first, int vectors, int nz, const int *beg,
                    const int *ind, const double *val) {
  return addvectors(e, p, 2, first, vectors, nz, beg, ind, val);
}

int cache_addrowsnz(env *e, lp *p, int first, int vectors, int nz, const int *beg,
                    const int *ind, const double *val) {
  return addvectors(e, p, 1, first, vectors, nz, beg, ind, val);
}

int cache_addtriples(env *e, lp *p, int count, const int *rows, const int *cols,
                     const double *vals) {
  cache *c = p->core->cache;
  takebases(c, p->core);
  if (count <= 0) return 0;
  int status = totriples(c);
  if (status) return status;
  int live = 0;
  for (int k = 0; k < count; ++k) live += vals[k] != 0.0;
  status = growentries(c, static_cast<long long>(c->mnz) + live, par_nzgrowth(e), true, false);
  if (status) return status;
  for (int k = 0; k < count; ++k) {
    if (vals[k] == 0.0) continue;
    c->mrow[c->mnz] = rows[k];
    c->mcol[c->mnz] = cols[k];
    c->mval[c->mnz] = vals[k];
    ++c->mnz;
  }
  c->mform = 3;
  c->empty = 0;
  return 0;
}

int cache_fold(env *e, lp *p, int fire) {
  lpcore *core = p->core;
  cache *c = core->cache;
  if (c == nullptr || c->empty) return 0;
  int status = 0;
  int n0 = core->numcols, m0 = core->numrows;
  bool hadcols = c->ccnt > 0, hadrows = c->rcnt > 0, hadnz = c->mnz > 0;
  // A part that did not get into the model stays pending (with everything
  // after it), so that a fold that ran out of memory loses nothing and the
  // next call folds the rest.
  if (c->ccnt > 0) {
    if (fire) dropstate(e, p, 29);
    status = appendcols(e, p, c->ccnt, c->cobj, c->clb, c->cub, c->cctype,
                        c->cnames ? c->cnames->names : nullptr, 0, nullptr, nullptr, nullptr);
    if (p->core->numcols != n0 + c->ccnt) return status ? status : kNoMemory;
    c->basecols = core->numcols;
    c->ccnt = 0;
    release(&c->cctype);
    nameset_free(&c->cnames);
  }
  if (status == 0 && c->rcnt > 0) {
    if (fire) dropstate(e, p, 17);
    status = appendrows(e, p, c->rcnt, c->rrhs, c->rsense, c->rrngval,
                        c->rnames ? c->rnames->names : nullptr);
    if (p->core->numrows != m0 + c->rcnt) return status ? status : kNoMemory;
    c->baserows = core->numrows;
    c->rcnt = 0;
    nameset_free(&c->rnames);
  }
  if (status != 0) return status;
  if (status == 0 && c->mnz > 0) {
    int form = c->mform;
    status = totriples(c);
    if (status == 0) {
      if (fire) dropstate(e, p, form == 2 ? 6 : 34);
      status = insertentries(e, p, c->mnz, c->mrow, c->mcol, c->mval);
    }
    if (status) return status;
  }
  start *s = p->start;
  if (status == 0 && s && hadnz) {
    core = p->core;
    if (hadcols && s->pistart && s->djstart) {
      for (int j = n0; j < core->numcols; ++j)
        for (int k = core->matbeg[j]; k < core->matend[j]; ++k)
          s->djstart[j] -= s->pistart[core->matind[k]] * core->matval[k];
    }
    if (hadrows && s->xstart && s->slackstart) {
      for (int j = 0; j < core->numcols; ++j) {
        if (s->xstart[j] == 0.0) continue;
        for (int k = core->matbeg[j]; k < core->matend[j]; ++k) {
          int i = core->matind[k];
          if (i < m0) continue;
          double d = core->matval[k] * s->xstart[j];
          s->slackstart[i] += core->sense[i] == 'G' ? d : -d;
        }
      }
    }
  }
  cache_clear(c);
  return status;
}

int cache_flush(env *e, lp *p) {
  cache *c = p->core->cache;
  if (c == nullptr || c->empty) return 0;
  return cache_fold(e, p, 1);
}

}  // namespace velto

using namespace velto;

extern "C" {

void *VLTEgetCache(VLTLPptr lp) { return checklp(lp) ? lp->core->cache : nullptr; }

int VLTcompletelp(VLTENVptr env, VLTLPptr lp) {
  int status = 0;
  if (!checkenv(env)) status = kNoEnvironment;
  else if (!checklp(env, lp)) status = kNoProblem;
  if (status == 0) status = guarded([&] { return cache_flush(env, lp); });
  if (status) report(env, &status);
  return status;
}

int VLTEcacheNewCols(VLTENVptr env, VLTLPptr lp, int count, const double *obj,
                     const double *lb, const double *ub, const char *ctype, char **names) {
  int status = changeframe(env, lp);
  if (status == 0 && count < 0) status = kBadArgument;
  if (status == 0) status = checknumbers(env, count, obj, kNumValue);
  if (status == 0) status = checknumbers(env, count, lb, kNumLower);
  if (status == 0) status = checknumbers(env, count, ub, kNumUpper);
  if (status == 0) status = guarded([&] { return cache_newcols(env, lp, count, obj, lb, ub, ctype, names); });
  if (status) report(env, &status);
  return status;
}

int VLTEcacheNewRows(VLTENVptr env, VLTLPptr lp, int count, const double *rhs,
                     const char *sense, const double *rngval, char **names) {
  int status = changeframe(env, lp);
  if (status == 0 && count < 0) status = kBadArgument;
  if (status == 0) status = checknumbers(env, count, rhs, kNumValue);
  if (status == 0) status = checknumbers(env, count, rngval, kNumValue);
  if (status == 0) status = guarded([&] { return cache_newrows(env, lp, count, rhs, sense, rngval, names); });
  if (status) report(env, &status);
  return status;
}

int VLTEcacheNewNZsByNZ(VLTENVptr env, VLTLPptr lp, int count, const int *rows,
                        const int *cols, const double *values) {
  int status = changeframe(env, lp);
  if (status == 0 && count < 0) status = kBadArgument;
  if (status == 0 && count > 0 && (!rows || !cols || !values)) status = kNullPointer;
  if (status == 0) status = checknumbers(env, count, values, kNumValue);
  if (status == 0) {
    int m = lp->core->numrows + pendingrows(lp), n = lp->core->numcols + pendingcols(lp);
    for (int k = 0; k < count && status == 0; ++k) {
      if (rows[k] < 0 || rows[k] >= m) {
        msg(env->errchannel, errtext(env, 1203), rows[k]);
        status = -1203;
      } else if (cols[k] < 0 || cols[k] >= n) {
        msg(env->errchannel, errtext(env, 1201), cols[k]);
        status = -1201;
      }
    }
  }
  if (status == 0) status = guarded([&] { return cache_addtriples(env, lp, count, rows, cols, values); });
  if (status) report(env, &status);
  return status;
}

}  // extern "C"
