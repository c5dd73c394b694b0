// Changes of single coefficients, of lists of coefficients and of ranges,
// and the tightening of bounds.  A change of a few entries touches only
// those entries (and the one column they lie in): branch and cut edits its
// node problems through these calls.
#include <algorithm>
#include <cmath>
#include <vector>

#include "env/par.h"
#include "model/lp.h"
#include "model/store.h"

namespace velto {

namespace {

inline double rfac(const lpcore *c, int i) { return c->rowscale ? c->rowscale[i] : 1.0; }
inline double cfac(const lpcore *c, int j) { return c->colscale ? c->colscale[j] : 1.0; }

// Is column j basic in the basis the next solve starts from?
bool isbasic(const lp *p, int j) {
  if (soln_hasbasis(p)) return p->soln->cstat[j] == 1;
  const start *s = p->start;
  return s && s->colstat && s->rowstat && s->colstat[j] == 1;
}

// Sign of a row's working slack in row activity + sign * slack = rhs.
double slacksign(char sense) { return sense == 'G' || sense == 'R' ? -1.0 : 1.0; }

// Repairs the statuses of the nonbasic range columns after their bounds
// moved: both infinite gives 3, an infinite bound that a column sits at
// sends it to the other one.
void repairranges(lp *p) {
  soln *s = p->soln;
  const lpcore *c = p->core;
  if (!soln_hasbasis(p)) return;
  for (int k = c->numcols; k < c->totcols; ++k) {
    int &st = s->cstat[k];
    if (st == 1) continue;
    const bool lo = c->lbkind[k] == kBoundInfinite, up = c->ubkind[k] == kBoundInfinite;
    if (lo && up) st = 3;
    else if (st == 0 && lo) st = 2;
    else if (st == 2 && up) st = 0;
  }
}

// Matrix entry (i, j) of the stored model, both indices in the model.
int setentry(env *e, lp *p, int i, int j, double value) {
  lpcore *c = p->core;
  const int event = basisexists(p) && !isbasic(p, j) ? 6 : 34;
  const double v = value / (rfac(c, i) * cfac(c, j));
  const int beg = c->matbeg[j];
  int at = -1;
  for (int k = beg; k < beg + c->matcnt[j]; ++k)
    if (c->matind[k] == i) {
      at = k;
      break;
    }
  if (at < 0 && v != 0.0) {
    // Room behind the column: columns lie in ascending order of their
    // starts, the range columns behind the last one.
    const int limit = j + 1 < c->numcols   ? c->matbeg[j + 1]
                      : c->totcols > c->numcols ? c->matbeg[c->numcols]
                                                : c->nzspace;
    if (beg + c->matcnt[j] >= limit) return cache_addtriples(e, p, 1, &i, &j, &value);
  }
  dropstate(e, p, event);
  const double old = at >= 0 ? c->matval[at] : 0.0;
  if (at >= 0 && v != 0.0) {
    c->matval[at] = v;
  } else if (at >= 0) {
    const int last = beg + c->matcnt[j] - 1;
    c->matind[at] = c->matind[last];
    c->matval[at] = c->matval[last];
    --c->matcnt[j];
    c->matend[j] = beg + c->matcnt[j];
  } else if (v != 0.0) {
    const int pos = beg + c->matcnt[j];
    c->matind[pos] = i;
    c->matval[pos] = v;
    ++c->matcnt[j];
    c->matend[j] = pos + 1;
  }
  // A record that survives the change follows it: the row's slack moves with
  // the activity, the column's reduced cost with the column.
  soln *s = p->soln;
  const double delta = v - old;
  if (s && delta != 0.0) {
    if (s->slack && s->x && i < s->rows && j < s->cols)
      s->slack[i] -= slacksign(c->sense[i]) * delta * s->x[j];
    if (s->dj && s->pi && i < s->rows && j < s->cols) s->dj[j] -= delta * s->pi[i];
  }
  return 0;
}

}  // namespace

int chgrngval(env *e, lp *p, int cnt, const int *indices, const double *values, int event) {
  int status = changeframe(e, p);
  if (status) return status;
  if (cnt < 0) return kBadArgument;
  if (cnt == 0) return 0;
  if (!indices || !values) return kNullPointer;
  lpcore *c = p->core;
  const int m = c->numrows;
  for (int k = 0; k < cnt; ++k)
    if (indices[k] < 0 || indices[k] >= m + pendingrows(p)) {
      msg(e->errchannel, errtext(e, 1203), indices[k]);
      return -1203;
    }
  status = checknumbers(e, cnt, values, kNumValue);
  if (status) return status;
  bool inmodel = false;
  for (int k = 0; k < cnt; ++k) inmodel |= indices[k] < m;
  if (inmodel && c->rngval == nullptr) {
    c->rngval = allocnzero<double>(c->rowspace);
    if (c->rngval == nullptr) return kNoMemory;
  }
  bool fired = false;
  for (int k = 0; k < cnt; ++k) {
    const int i = indices[k];
    if (i >= m) {
      c->cache->rrngval[i - c->cache->baserows] = values[k];
      continue;
    }
    if (!fired) {
      dropstate(e, p, event);
      fired = true;
    }
    c->rngval[i] = values[k];
  }
  if (!inmodel) return 0;
  status = arrange(p);
  if (status) return status;
  arrangeslacks(p);
  repairranges(p);
  return 0;
}

int chgcoef(env *e, lp *p, int i, int j, double value) {
  int status = changeframe(e, p);
  if (status) return status;
  lpcore *c = p->core;
  const int m = c->numrows + pendingrows(p), n = c->numcols + pendingcols(p);
  if (i < -1 || i >= m || j < -2 || j >= n) return kIndexRange;
  if (i == -1 && j < 0) return 1211;
  status = checknumbers(e, 1, &value, kNumValue);
  if (status) return status;
  if (i == -1) {
    const int s = VLTchgobj(e, p, 1, &j, &value);
    return s ? -s : 0;
  }
  if (j == -1) {
    const int s = VLTchgrhs(e, p, 1, &i, &value);
    return s ? -s : 0;
  }
  if (j == -2) return chgrngval(e, p, 1, &i, &value, 3);
  if (i >= c->numrows || j >= c->numcols || !c->cache->empty) {
    // An entry of a pending row or column, or one that must wait behind
    // pending entries: a zero cannot be queued, so the cache is folded.
    if (value != 0.0) return cache_addtriples(e, p, 1, &i, &j, &value);
    status = cache_flush(e, p);
    if (status) return status;
  }
  return setentry(e, p, i, j, value);
}

int chgcoeflist(env *e, lp *p, int cnt, const int *rows, const int *cols, const double *vals) {
  int status = changeframe(e, p);
  if (status) return status;
  if (cnt < 0) return kBadArgument;
  if (cnt == 0) return 0;
  if (!rows || !cols || !vals) return kNullPointer;
  lpcore *c = p->core;
  const int m = c->numrows + pendingrows(p), n = c->numcols + pendingcols(p);
  for (int k = 0; k < cnt; ++k) {
    if (rows[k] < 0 || rows[k] >= m) {
      msg(e->errchannel, errtext(e, 1203), rows[k]);
      return -1203;
    }
    if (cols[k] < 0 || cols[k] >= n) {
      msg(e->errchannel, errtext(e, 1201), cols[k]);
      return -1201;
    }
  }
  status = checknumbers(e, cnt, vals, kNumValue);
  if (status) return status;
  if (cnt == 2 && rows[0] == rows[1] && cols[0] == cols[1]) return 1222;
  if (cnt <= 2) {
    for (int k = 0; k < cnt; ++k) {
      status = chgcoef(e, p, rows[k], cols[k], vals[k]);
      if (status) return status;
    }
    return 0;
  }
  // Sorted by column through a counting pass, then by row: a repeated
  // position sits next to its twin.
  std::vector<int> first(n + 1, 0), order(cnt);
  for (int k = 0; k < cnt; ++k) ++first[cols[k] + 1];
  for (int j = 0; j < n; ++j) first[j + 1] += first[j];
  {
    std::vector<int> next(first.begin(), first.end() - 1);
    for (int k = 0; k < cnt; ++k) order[next[cols[k]]++] = k;
  }
  for (int j = 0; j < n; ++j) {
    auto b = order.begin() + first[j], en = order.begin() + first[j + 1];
    std::sort(b, en, [&](int a, int q) { return rows[a] < rows[q]; });
    for (auto it = b; it + 1 < en; ++it)
      if (rows[*it] == rows[*(it + 1)]) return 1222;
  }
  if (!c->cache->empty) {
    status = cache_flush(e, p);
    if (status) return status;
  }
  dropstate(e, p, 34);
  return insertentries(e, p, cnt, rows, cols, vals);
}

// VLTtightenbds: VLTchgbds, keeping the dual norms when every column in the
// list is basic and keeps a box at least the feasibility tolerance wide.
int tightenbds(env *e, lp *p, int cnt, const int *indices, const char *lu, const double *bd) {
  int status = changeframe(e, p);
  if (status) return status;
  if (cnt <= 0 || !indices || !lu || !bd) return chgbds(e, p, cnt, indices, lu, bd, 4);
  const lpcore *c = p->core;
  bool keep = soln_hasbasis(p);
  const double tol = e->params->eprhs;
  for (int k = 0; keep && k < cnt; ++k) {
    const int j = indices[k];
    if (j < 0 || j >= c->numcols || !isbasic(p, j)) {
      keep = false;
      break;
    }
    double lo = c->lb[j] / cfac(c, j), up = c->ub[j] / cfac(c, j);
    if (lu[k] == 'L' || lu[k] == 'B') lo = bd[k];
    if (lu[k] == 'U' || lu[k] == 'B') up = bd[k];
    keep = up - lo >= tol;
  }
  return chgbds(e, p, cnt, indices, lu, bd, keep ? 59 : 4);
}

}  // namespace velto

using namespace velto;

extern "C" {

int VLTchgcoef(VLTENVptr env, VLTLPptr lp, int i, int j, double newvalue) {
  return finish(env, guarded([&] { return chgcoef(env, lp, i, j, newvalue); }));
}

int VLTchgcoeflist(VLTENVptr env, VLTLPptr lp, int numcoefs, const int *rowlist,
                   const int *collist, const double *vallist) {
  return finish(env, guarded([&] { return chgcoeflist(env, lp, numcoefs, rowlist, collist, vallist); }));
}

int VLTchgrngval(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices, const double *values) {
  return finish(env, guarded([&] { return chgrngval(env, lp, cnt, indices, values, 58); }));
}

int VLTtightenbds(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices, const char *lu,
                  const double *bd) {
  return finish(env, guarded([&] { return tightenbds(env, lp, cnt, indices, lu, bd); }));
}

}  // extern "C"
