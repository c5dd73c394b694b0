// Deleting rows and columns of a loaded model.  Arrays close up in place over
// the deleted entries; the matrix keeps its column starts, so a column's gap
// grows by what it lost.  The basis of the remaining rows and columns is kept
// as the start of the next solve.
#include <algorithm>
#include <cstring>
#include <vector>

#include "model/lp.h"
#include "model/store.h"

namespace velto {

namespace {

// Closes up arr[0..n) over the entries whose map value is -1.
template <class T>
void closeup(T *arr, const int *map, int n) {
  if (arr == nullptr) return;
  for (int k = 0; k < n; ++k)
    if (map[k] >= 0 && map[k] != k) arr[map[k]] = arr[k];
}

// Turns flags (1 delete) into the new index of each entry, -1 if deleted.
// Returns the count of kept entries.
int makemap(int *flags, int n) {
  int kept = 0;
  for (int k = 0; k < n; ++k) flags[k] = flags[k] == 1 ? -1 : kept++;
  return kept;
}

}  // namespace

int carrybasis(lp *p) {
  lpcore *c = p->core;
  if (!soln_hasbasis(p)) return 0;
  if (p->start == nullptr) {
    p->start = allocnzero<start>(1);
    if (p->start == nullptr) return kNoMemory;
  }
  start *s = p->start;
  s->colcap = std::max(s->colcap, c->colspace);
  s->rowcap = std::max(s->rowcap, c->rowspace);
  if (!growarray(s->colstat, s->colcap) || !growarray(s->rowstat, s->rowcap)) return kNoMemory;
  soln_userbasis(p, s->colstat, s->rowstat);
  return 0;
}

namespace {

// The norms kept with the start follow the deletion: entries of deleted
// rows or columns go, the others are renumbered.  A head entry is a column
// index, or -i-1 for row i.
void mapstartnorms(lp *p, const int *map, bool rows) {
  start *s = p->start;
  if (s == nullptr) return;
  if (s->dnorm && s->dnormhead) {
    int out = 0;
    for (int k = 0; k < s->dnormlen; ++k) {
      int h = s->dnormhead[k];
      if (rows && h < 0) {
        if (map[-h - 1] < 0) continue;
        h = -map[-h - 1] - 1;
      } else if (!rows && h >= 0) {
        if (map[h] < 0) continue;
        h = map[h];
      }
      s->dnormhead[out] = h;
      s->dnorm[out++] = s->dnorm[k];
    }
    s->dnormlen = out;
  }
  const int n = rows ? p->core->numrows : p->core->numcols;
  closeup(rows ? s->pnormrow : s->pnormcol, map, n);
}

// Deletes the rows whose map entry is -1 (map from makemap).
void droprows(lp *p, const int *map, int kept, int first) {
  lpcore *c = p->core;
  const int m = c->numrows;
  closeup(c->sense, map, m);
  closeup(c->rhs, map, m);
  closeup(c->rngval, map, m);
  closeup(c->rowscale, map, m);
  closeup(c->rowfactor, map, m);
  closeup(c->rowname, map, m);
  if (start *s = p->start) {
    closeup(s->rowstat, map, m);
    closeup(s->slackstart, map, m);
    closeup(s->pistart, map, m);
  }
  // Entries below the first deleted row keep their index: one comparison
  // decides for most of them.
  for (int j = 0; j < c->numcols; ++j) {
    int *ind = c->matind + c->matbeg[j];
    double *val = c->matval + c->matbeg[j];
    const int cnt = c->matcnt[j];
    int out = 0;
    for (int k = 0; k < cnt; ++k) {
      const int i = ind[k];
      if (i < first) {
        ind[out] = i;
        val[out++] = val[k];
      } else if (map[i] >= 0) {
        ind[out] = map[i];
        val[out++] = val[k];
      }
    }
    c->matcnt[j] = out;
  }
  c->numrows = kept;
}

void dropcols(lp *p, const int *map, int kept) {
  lpcore *c = p->core;
  const int n = c->numcols;
  closeup(c->obj, map, n);
  closeup(c->lb, map, n);
  closeup(c->ub, map, n);
  closeup(c->lbkind, map, n);
  closeup(c->ubkind, map, n);
  closeup(c->ctype, map, n);
  closeup(c->colscale, map, n);
  closeup(c->colfactor, map, n);
  closeup(c->colname, map, n);
  closeup(c->matbeg, map, n);
  closeup(c->matcnt, map, n);
  if (start *s = p->start) {
    closeup(s->colstat, map, n);
    closeup(s->xstart, map, n);
    closeup(s->djstart, map, n);
  }
  c->numcols = kept;
}

// The rest of a deletion once the arrays are closed up: range columns and
// slacks laid out again, the problem type from the column types.
int rearrange(lp *p) {
  int status = arrange(p);
  if (status) return status;
  arrangeslacks(p);
  if (p->core->slackrow == nullptr || p->core->slackval == nullptr) return kNoMemory;
  settype(p);
  return 0;
}

int delframe(env *e, lp *p) {
  int status = changeframe(e, p);
  if (status == 0) status = cache_flush(e, p);
  return status;
}

}  // namespace

// Deletes the rows flagged 1 in flags[0..numrows); flags come back as the
// map from old to new indices (-1 for deleted rows).
int delrowset(env *e, lp *p, int *flags, int event) {
  lpcore *c = p->core;
  const int m = c->numrows;
  const int kept = makemap(flags, m);
  if (kept == m) return 0;
  layers_rowsgo(e, p, flags);
  dropstate(e, p, event);
  mapstartnorms(p, flags, true);
  int first = 0;
  while (flags[first] >= 0) ++first;
  droprows(p, flags, kept, first);
  return rearrange(p);
}

int delcolset(env *e, lp *p, int *flags, int event) {
  lpcore *c = p->core;
  const int n = c->numcols;
  const int kept = makemap(flags, n);
  if (kept == n) return 0;
  dropstate(e, p, event);
  mapstartnorms(p, flags, false);
  dropcols(p, flags, kept);
  return rearrange(p);
}

namespace {

int delrange(env *e, lp *p, int begin, int end, bool rows) {
  int status = delframe(e, p);
  if (status) return status;
  const int count = rows ? p->core->numrows : p->core->numcols;
  if (!rangecheck(e, rows ? "VLTdelrows" : "VLTdelcols", begin, end, 0, count) || begin > end)
    return kIndexRange;
  std::vector<int> flags(count, 0);
  std::fill(flags.begin() + begin, flags.begin() + end + 1, 1);
  return rows ? delrowset(e, p, flags.data(), 19) : delcolset(e, p, flags.data(), 31);
}

int delset(env *e, lp *p, int *flags, bool rows) {
  int status = delframe(e, p);
  if (status) return status;
  if (flags == nullptr) return kNullPointer;
  const int count = rows ? p->core->numrows : p->core->numcols;
  if (count == 0) return 0;
  return rows ? delrowset(e, p, flags, 20) : delcolset(e, p, flags, 32);
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTdelrows(VLTENVptr env, VLTLPptr lp, int begin, int end) {
  return finish(env, guarded([&] { return delrange(env, lp, begin, end, true); }));
}

int VLTdelcols(VLTENVptr env, VLTLPptr lp, int begin, int end) {
  return finish(env, guarded([&] { return delrange(env, lp, begin, end, false); }));
}

int VLTdelsetrows(VLTENVptr env, VLTLPptr lp, int *delstat) {
  return finish(env, guarded([&] { return delset(env, lp, delstat, true); }));
}

int VLTdelsetcols(VLTENVptr env, VLTLPptr lp, int *delstat) {
  return finish(env, guarded([&] { return delset(env, lp, delstat, false); }));
}

}  // extern "C"
