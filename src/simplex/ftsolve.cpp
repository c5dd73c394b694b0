// Triangular solves with the factor: FTRAN (L pass, etas, U pass) and BTRAN
// (U pass, etas transposed, L pass), dense and sparse.  The sparse forms keep
// the touched entries in a mark vector and a list, and walk them in
// triangular order from a heap while that pays, switching to a plain sweep
// once the heap holds a large share of what is left.  Every sparse solve
// leaves the work vectors and marks zeroed.
#include <cmath>
#include <cstring>

#include "simplex/factorint.h"

namespace velto {

// ---- heaps --------------------------------------------------------------------------
void heap_push_min(posheap *h, int x) {
  int i = h->n++;
  while (i > 0) {
    int p = (i - 1) >> 1;
    if (h->a[p] <= x) break;
    h->a[i] = h->a[p];
    i = p;
  }
  h->a[i] = x;
}
int heap_pop_min(posheap *h) {
  int top = h->a[0], x = h->a[--h->n], i = 0, n = h->n;
  for (;;) {
    int c = 2 * i + 1;
    if (c >= n) break;
    if (c + 1 < n && h->a[c + 1] < h->a[c]) c++;
    if (h->a[c] >= x) break;
    h->a[i] = h->a[c];
    i = c;
  }
  if (n > 0) h->a[i] = x;
  return top;
}
void heap_push_max(posheap *h, int x) {
  int i = h->n++;
  while (i > 0) {
    int p = (i - 1) >> 1;
    if (h->a[p] >= x) break;
    h->a[i] = h->a[p];
    i = p;
  }
  h->a[i] = x;
}
int heap_pop_max(posheap *h) {
  int top = h->a[0], x = h->a[--h->n], i = 0, n = h->n;
  for (;;) {
    int c = 2 * i + 1;
    if (c >= n) break;
    if (c + 1 < n && h->a[c + 1] > h->a[c]) c++;
    if (h->a[c] <= x) break;
    h->a[i] = h->a[c];
    i = c;
  }
  if (n > 0) h->a[i] = x;
  return top;
}

namespace ftdetail {

// Touched set over one index space: values, marks and a list.
struct touched {
  double *v;
  int *mark;
  int *list;
  int n;
  int *heap;  // position heap of the passes run on this set
  inline void touch(int i) {
    if (!mark[i]) {
      mark[i] = 1;
      list[n++] = i;
    }
  }
  void reset() {
    for (int k = 0; k < n; k++) {
      v[list[k]] = 0.0;
      mark[list[k]] = 0;
    }
    n = 0;
  }
};

// FTRAN L pass in pivot numbering, in place on t.v.
void ftran_l(lufactor *f, touched &t) {
  const int m = f->dim, nlead = f->nlead;
  const double *pinv = f->pivinv;
  double *z = t.v;
  auto step = [&](int k) {
    double v = z[k];
    if (v == 0.0) return;
    // Everything this entry contributes scales with v / pivot.
    if (std::fabs(pinv[k] * v) < kDropTol) {
      z[k] = 0.0;
      return;
    }
    z[k] = pinv[k] * v;
    for (int e = f->lbeg[k], ee = f->lend[k]; e < ee; e++) {
      int p = f->rowpiv[f->lind[e]];
      t.touch(p);
      z[p] += f->lval[e] * v;
    }
  };
  if (m > 50 * t.n) {
    posheap h{t.heap, 0};
    for (int q = 0; q < t.n; q++) {
      int k = t.list[q];
      if (k < nlead)
        z[k] *= pinv[k];
      else
        heap_push_min(&h, k);
    }
    while (h.n > 0) {
      if (m - h.a[0] <= 50 * h.n) {  // heap no longer pays
        int from = h.a[0];
        for (int k = from; k < m; k++) step(k);
        return;
      }
      int k = heap_pop_min(&h);
      int n0 = t.n;
      step(k);
      for (int q = n0; q < t.n; q++) heap_push_min(&h, t.list[q]);
    }
    return;
  }
  int lo = m;
  for (int q = 0; q < t.n; q++) {
    int k = t.list[q];
    if (k < nlead)
      z[k] *= pinv[k];
    else if (k < lo)
      lo = k;
  }
  for (int k = lo; k < m; k++) step(k);
}

// Etas in order, in place.
void ftran_eta(lufactor *f, touched &t) {
  const etafile &E = f->eta;
  if (E.count == 0) return;
  int first = 0;
  if (t.n < 2 * E.start[E.count]) {
    first = kNoEta;
    for (int q = 0; q < t.n; q++) first = std::min(first, E.firsteta[t.list[q]]);
  }
  double *z = t.v;
  for (int k = first; k < E.count; k++) {
    double s = 0.0;
    for (int e = E.start[k]; e < E.start[k + 1]; e++) s += E.val[e] * z[E.ind[e]];
    int r = E.pivotrow[k];
    if (s != 0.0 || z[r] != 0.0) {
      t.touch(r);
      z[r] = s;
    }
  }
}

// U pass of FTRAN: t (pivot numbers) into out (positions).
void ftran_u(lufactor *f, touched &t, svec *out) {
  const int uf = f->ufirst;
  const linefile &U = f->ucol;
  double *z = t.v;
  int n = 0;
  auto step = [&](int pos) {
    int r = f->pivperm[pos];
    double v = z[r];
    if (v == 0.0) return;
    z[r] = 0.0;
    // A small value still spreads (growth along U chains would magnify the
    // error); it is only left out of the result.
    int c = f->pivcol[pos];
    if (std::fabs(v) >= kDropTol) {
      out->val[c] = v;
      out->ind[n++] = c;
    }
    for (int p = U.beg[c], e = p + U.cnt[c]; p < e; p++) {
      int rr = U.ind[p];
      t.touch(rr);
      z[rr] -= v * U.val[p];
    }
  };
  int top = -1;
  posheap h{t.heap, 0};
  for (int q = 0; q < t.n; q++) {
    int pos = f->pivperminv[t.list[q]];
    if (pos >= uf && pos > top) top = pos;
  }
  if (top >= 0 && top > 30 * t.n) {
    for (int q = 0; q < t.n; q++) {
      int pos = f->pivperminv[t.list[q]];
      if (pos >= uf) heap_push_max(&h, pos);
    }
    while (h.n > 0) {
      int pos = h.a[0];
      int c = f->pivcol[pos];
      if (pos <= 20 * U.cnt[c] || 20 * h.n >= pos) break;
      heap_pop_max(&h);
      int n0 = t.n;
      step(pos);
      for (int q = n0; q < t.n; q++) heap_push_max(&h, f->pivperminv[t.list[q]]);
    }
    top = h.n > 0 ? h.a[0] : -1;
  }
  for (int pos = top; pos >= uf; pos--) step(pos);
  // Positions below ufirst have empty columns: copies only.
  for (int q = 0; q < t.n; q++) {
    int r = t.list[q];
    double v = z[r];
    if (v == 0.0) continue;
    z[r] = 0.0;
    if (std::fabs(v) < kDropTol) continue;
    int c = f->pivcol[f->pivperminv[r]];
    out->val[c] = v;
    out->ind[n++] = c;
  }
  out->nnz = n;
}

// U pass of BTRAN: y (positions) into w (pivot numbers), by rows of U.
void btran_u(lufactor *f, touched &y, touched &w) {
  const int m = f->dim;
  const linefile &U = f->urow;
  auto step = [&](int pos) {
    int c = f->pivcol[pos];
    double v = y.v[c];
    if (v == 0.0) return;
    y.v[c] = 0.0;
    int r = f->pivperm[pos];
    // No drop here: the L pass that follows multiplies by L's entries,
    // which the row-wise threshold does not bound.
    w.touch(r);
    w.v[r] = v;
    for (int p = U.beg[r], e = p + U.cnt[r]; p < e; p++) {
      int cc = U.ind[p];
      y.touch(cc);
      y.v[cc] -= v * U.val[p];
    }
  };
  int low = m;
  for (int q = 0; q < y.n; q++) low = std::min(low, f->pivpos[y.list[q]]);
  if (m > 30 * y.n && m - low > 20 * y.n) {
    posheap h{y.heap, 0};
    for (int q = 0; q < y.n; q++) heap_push_min(&h, f->pivpos[y.list[q]]);
    while (h.n > 0) {
      if (10 * h.n >= m - h.a[0]) break;
      int pos = heap_pop_min(&h);
      int n0 = y.n;
      step(pos);
      for (int q = n0; q < y.n; q++) heap_push_min(&h, f->pivpos[y.list[q]]);
    }
    low = h.n > 0 ? h.a[0] : m;
  }
  for (int pos = low; pos < m; pos++) step(pos);
  // y is consumed; clear marks.
  for (int q = 0; q < y.n; q++) {
    y.v[y.list[q]] = 0.0;
    y.mark[y.list[q]] = 0;
  }
  y.n = 0;
}

// Etas transposed, last to first.
void btran_eta(lufactor *f, touched &w) {
  const etafile &E = f->eta;
  double *z = w.v;
  for (int k = E.count - 1; k >= 0; k--) {
    int r = E.pivotrow[k];
    double v = z[r];
    if (v == 0.0) continue;
    z[r] = 0.0;
    for (int e = E.start[k]; e < E.start[k + 1]; e++) {
      int i = E.ind[e];
      w.touch(i);
      z[i] += E.val[e] * v;
    }
  }
}

// L pass of BTRAN: w (pivot numbers) into out (rows).
void btran_l(lufactor *f, touched &w, svec *out) {
  const int m = f->dim;
  double *g = w.v, *o = out->val;
  int n = 0;
  if (f->lrowless) {
    // Dot products on the L columns, falling pivot numbers.
    int hi = -1;
    for (int q = 0; q < w.n; q++) hi = std::max(hi, w.list[q]);
    for (int k = hi; k >= 0; k--) {
      double s = g[k] * f->pivinv[k];
      g[k] = 0.0;
      for (int e = f->lbeg[k]; e < f->lend[k]; e++) s += f->lval[e] * o[f->lind[e]];
      o[f->pivrow[k]] = s;
    }
    for (int q = 0; q < w.n; q++) w.mark[w.list[q]] = 0;
    w.n = 0;
    for (int k = 0; k <= hi; k++) {
      int i = f->pivrow[k];
      if (o[i] == 0.0) continue;
      if (std::fabs(o[i]) < kDropTol)
        o[i] = 0.0;
      else
        out->ind[n++] = i;
    }
    out->nnz = n;
    return;
  }
  for (int q = 0; q < w.n; q++) g[w.list[q]] *= f->pivinv[w.list[q]];
  auto step = [&](int k) {
    double v = g[k];
    if (v == 0.0) return;
    g[k] = 0.0;
    // L multipliers are not bounded by the threshold: a small value still
    // spreads, it is only left out of the result.
    int i = f->pivrow[k];
    if (std::fabs(v) >= kDropTol) {
      o[i] = v;
      out->ind[n++] = i;
    }
    for (int e = f->lrbeg[k]; e < f->lrend[k]; e++) {
      int k2 = f->lrind[e];
      w.touch(k2);
      g[k2] += f->lrval[e] * v;
    }
  };
  int hi = -1;
  for (int q = 0; q < w.n; q++) hi = std::max(hi, w.list[q]);
  if (m > 10 * w.n && 30 * w.n < hi) {
    posheap h{w.heap, 0};
    for (int q = 0; q < w.n; q++) heap_push_max(&h, w.list[q]);
    while (h.n > 0) {
      if (20 * h.n >= h.a[0]) break;
      int k = heap_pop_max(&h);
      int n0 = w.n;
      step(k);
      for (int q = n0; q < w.n; q++) heap_push_max(&h, w.list[q]);
    }
    hi = h.n > 0 ? h.a[0] : -1;
  }
  for (int k = hi; k >= 0; k--) step(k);
  for (int q = 0; q < w.n; q++) {
    g[w.list[q]] = 0.0;
    w.mark[w.list[q]] = 0;
  }
  w.n = 0;
  out->nnz = n;
}

void store_spike(lufactor *f, const touched &t, int var) {
  int n = 0;
  for (int q = 0; q < t.n; q++) {
    int r = t.list[q];
    double v = t.v[r];
    if (std::fabs(v) >= kDropTol) {
      f->spikeind[n] = r;
      f->spikeval[n++] = v;
    }
  }
  f->spikenz = n;
  f->spikevar = var;
  if (n == 0) {  // keep an explicit empty spike valid
    f->spikenz = -1;
  }
}

// Work vectors of one solve: the factor's own or a caller's.
struct solvework {
  double *v0, *v1;
  int *m0, *m1, *l0, *l1, *heap;
};
inline solvework own(lufactor *f) {
  return {f->work0, f->work1, f->mark0, f->mark1, f->list0, f->list1, f->heap};
}
inline solvework theirs(luwork *w) { return {w->v0, w->v1, w->m0, w->m1, w->l0, w->l1, w->heap}; }

void ftran_core(lufactor *f, const solvework &sw, svec *out, int nnz, const int *ind,
                const double *val, bool spike, int var) {
  touched t{sw.v0, sw.m0, sw.l0, 0, sw.heap};
  for (int q = 0; q < nnz; q++) {
    if (val[q] == 0.0) continue;
    int k = f->rowpiv[ind[q]];
    t.touch(k);
    t.v[k] += val[q];
  }
  svec_clear(out);
  ftran_l(f, t);
  ftran_eta(f, t);
  if (spike) store_spike(f, t, var);
  ftran_u(f, t, out);
  t.reset();
}

// U pass of a BTRAN, leaving w in v0 / m0 / l0 (pivot numbers); returns the
// touched count.  `unitpos` >= 0 solves for the unit vector at that position.
int btran_first(lufactor *f, const solvework &sw, int nnz, const int *ind, const double *val,
                int unitpos) {
  touched y{sw.v1, sw.m1, sw.l1, 0, sw.heap};
  touched w{sw.v0, sw.m0, sw.l0, 0, sw.heap};
  if (unitpos >= 0) {
    y.touch(unitpos);
    y.v[unitpos] = 1.0;
  }
  for (int q = 0; q < nnz; q++) {
    if (val[q] == 0.0) continue;
    y.touch(ind[q]);
    y.v[ind[q]] += val[q];
  }
  btran_u(f, y, w);
  return w.n;
}

void btran_rest(lufactor *f, const solvework &sw, int n, svec *out) {
  touched w{sw.v0, sw.m0, sw.l0, n, sw.heap};
  svec_clear(out);
  btran_eta(f, w);
  btran_l(f, w, out);
}

void keep_roweta(lufactor *f, int n, int pos) {
  int k = 0;
  for (int q = 0; q < n; q++) {
    int r = f->list0[q];
    double v = f->work0[r];
    if (std::fabs(v) >= kDropTol) {
      f->rowetaind[k] = r;
      f->rowetaval[k++] = v;
    }
  }
  f->rowetanz = k;
  f->rowetapos = pos;
}

}  // namespace ftdetail

using namespace ftdetail;

int luwork_alloc(luwork *w, int m) {
  *w = luwork{};
  w->dim = m;
  int n = m > 0 ? m : 1;
  w->v0 = allocnzero<double>(n);
  w->v1 = allocnzero<double>(n);
  w->m0 = allocnzero<int>(n);
  w->m1 = allocnzero<int>(n);
  w->l0 = allocn<int>(n);
  w->l1 = allocn<int>(n);
  w->heap = allocn<int>(n);
  if (!w->v0 || !w->v1 || !w->m0 || !w->m1 || !w->l0 || !w->l1 || !w->heap) {
    luwork_free(w);
    return kNoMemory;
  }
  return 0;
}

void luwork_free(luwork *w) {
  release(&w->v0);
  release(&w->v1);
  release(&w->m0);
  release(&w->m1);
  release(&w->l0);
  release(&w->l1);
  release(&w->heap);
  w->dim = 0;
}

void lu_ftran_sparse(lufactor *f, svec *out, int nnz, const int *ind, const double *val) {
  f->spikenz = 0;  // a spike must come from the entering column's own solve
  f->spikevar = -1;
  ftran_core(f, own(f), out, nnz, ind, val, false, -1);
}

void lu_ftran_sparse(const lufactor *f, svec *out, int nnz, const int *ind, const double *val,
                     luwork *w) {
  ftran_core(const_cast<lufactor *>(f), theirs(w), out, nnz, ind, val, false, -1);
}

void lu_ftran_spike(lufactor *f, svec *out, int nnz, const int *ind, const double *val, int var) {
  ftran_core(f, own(f), out, nnz, ind, val, true, var);
}

void lu_ftran2(lufactor *f, svec *out1, int nnz1, const int *ind1, const double *val1, svec *out2,
               int nnz2, const int *ind2, const double *val2) {
  ftran_core(f, own(f), out1, nnz1, ind1, val1, false, -1);
  ftran_core(f, own(f), out2, nnz2, ind2, val2, false, -1);
}

void lu_btran_sparse(lufactor *f, svec *out, int nnz, const int *ind, const double *val) {
  solvework sw = own(f);
  btran_rest(f, sw, btran_first(f, sw, nnz, ind, val, -1), out);
}

void lu_btran_sparse(const lufactor *f, svec *out, int nnz, const int *ind, const double *val,
                     luwork *w) {
  lufactor *ff = const_cast<lufactor *>(f);
  solvework sw = theirs(w);
  btran_rest(ff, sw, btran_first(ff, sw, nnz, ind, val, -1), out);
}

void lu_btran_unit(lufactor *f, svec *out, int pos) {
  solvework sw = own(f);
  btran_rest(f, sw, btran_first(f, sw, 0, nullptr, nullptr, pos), out);
}

void lu_btran_unit(const lufactor *f, svec *out, int pos, luwork *w) {
  lufactor *ff = const_cast<lufactor *>(f);
  solvework sw = theirs(w);
  btran_rest(ff, sw, btran_first(ff, sw, 0, nullptr, nullptr, pos), out);
}

void lu_btran_leaving(lufactor *f, svec *out, int pos) {
  solvework sw = own(f);
  int n = btran_first(f, sw, 0, nullptr, nullptr, pos);
  keep_roweta(f, n, pos);
  btran_rest(f, sw, n, out);
}

// Row eta alone (U pass of the unit BTRAN), for an update that lacks it.
void lu_make_roweta(lufactor *f, int pos) {
  int n = btran_first(f, own(f), 0, nullptr, nullptr, pos);
  keep_roweta(f, n, pos);
  touched w{f->work0, f->mark0, f->list0, n, f->heap};
  w.reset();
}

void lu_btran2(lufactor *f, svec *out1, int nnz1, const int *ind1, const double *val1, svec *out2,
               int nnz2, const int *ind2, const double *val2) {
  lu_btran_sparse(f, out1, nnz1, ind1, val1);
  lu_btran_sparse(f, out2, nnz2, ind2, val2);
}

// ---- dense solves --------------------------------------------------------------------
void lu_ftran(lufactor *f, double *b) {
  const int m = f->dim, nlead = f->nlead;
  double *z = f->work0;
  for (int k = 0; k < nlead; k++) {
    int i = f->pivrow[k];
    z[k] = b[i] * f->pivinv[k];
    b[i] = 0.0;
  }
  for (int k = nlead; k < m; k++) {
    int i = f->pivrow[k];
    double v = b[i];
    b[i] = 0.0;
    if (std::fabs(f->pivinv[k] * v) < kDropTol) continue;
    z[k] = f->pivinv[k] * v;
    for (int e = f->lbeg[k], ee = f->lend[k]; e < ee; e++) b[f->lind[e]] += f->lval[e] * v;
  }
  const etafile &E = f->eta;
  for (int k = 0; k < E.count; k++) {
    double s = 0.0;
    for (int e = E.start[k]; e < E.start[k + 1]; e++) s += E.val[e] * z[E.ind[e]];
    z[E.pivotrow[k]] = s;
  }
  const linefile &U = f->ucol;
  for (int pos = m - 1; pos >= f->ufirst; pos--) {
    int r = f->pivperm[pos], c = f->pivcol[pos];
    double v = z[r];
    z[r] = 0.0;
    if (v == 0.0) continue;
    if (std::fabs(v) >= kDropTol) b[c] = v;
    for (int p = U.beg[c], e = p + U.cnt[c]; p < e; p++) z[U.ind[p]] -= v * U.val[p];
  }
  for (int pos = 0; pos < f->ufirst; pos++) {
    int r = f->pivperm[pos];
    b[f->pivcol[pos]] = z[r];
    z[r] = 0.0;
  }
}

void lu_btran(lufactor *f, double *c) {
  const int m = f->dim;
  double *w = f->work0;
  const linefile &U = f->ucol;
  int pos = 0;
  while (pos < m && c[f->pivcol[pos]] == 0.0) pos++;
  for (; pos < m; pos++) {
    int col = f->pivcol[pos], r = f->pivperm[pos];
    double s = c[col];
    c[col] = 0.0;
    for (int p = U.beg[col], e = p + U.cnt[col]; p < e; p++) s -= U.val[p] * w[U.ind[p]];
    w[r] = s;
  }
  const etafile &E = f->eta;
  for (int k = E.count - 1; k >= 0; k--) {
    int r = E.pivotrow[k];
    double v = w[r];
    if (v == 0.0) continue;
    w[r] = 0.0;
    for (int e = E.start[k]; e < E.start[k + 1]; e++) w[E.ind[e]] += E.val[e] * v;
  }
  int hi = m - 1;
  while (hi >= 0 && w[hi] == 0.0) {
    c[f->pivrow[hi]] = 0.0;
    hi--;
  }
  if (f->lrowless) {
    for (int k = hi; k >= 0; k--) {
      double s = w[k] * f->pivinv[k];
      w[k] = 0.0;
      for (int e = f->lbeg[k]; e < f->lend[k]; e++) s += f->lval[e] * c[f->lind[e]];
      c[f->pivrow[k]] = s;
    }
    return;
  }
  for (int k = 0; k <= hi; k++) w[k] *= f->pivinv[k];
  for (int k = hi; k >= 0; k--) {
    double v = w[k];
    w[k] = 0.0;
    c[f->pivrow[k]] = v;
    if (v == 0.0) continue;
    for (int e = f->lrbeg[k]; e < f->lrend[k]; e++) w[f->lrind[e]] += f->lrval[e] * v;
  }
}

}  // namespace velto

namespace velto {

using namespace ftdetail;

// Spike of variable `var` (L pass and etas of its column), for an update
// that lacks it.
int lu_make_spike(lufactor *f, const lumatrix *mat, int var) {
  int n = lu_colcount(mat, var);
  int *ci = allocn<int>(n);
  double *cv = allocn<double>(n);
  if (!ci || !cv) {
    release(&ci);
    release(&cv);
    return kNoMemory;
  }
  n = lu_column(mat, var, ci, cv);
  touched t{f->work0, f->mark0, f->list0, 0, f->heap};
  for (int q = 0; q < n; q++) {
    if (cv[q] == 0.0) continue;
    int k = f->rowpiv[ci[q]];
    t.touch(k);
    t.v[k] += cv[q];
  }
  release(&ci);
  release(&cv);
  ftran_l(f, t);
  ftran_eta(f, t);
  store_spike(f, t, var);
  t.reset();
  return 0;
}

}  // namespace velto
