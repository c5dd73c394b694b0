// Forrest-Tomlin update.  The entering column, carried through L and the
// etas (the spike), replaces the leaving column of U; the row of U at the
// leaving position is eliminated by a single row eta y' = e_p' U^-1 / alpha
// written to the eta file, and the permutation of U is repaired by a swap
// with an empty leading position or a cyclic shift up to the lowest row the
// spike allows.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "simplex/factorint.h"

namespace velto {

void lu_clear_pending(lufactor *f) {
  f->rowetanz = 0;
  f->rowetapos = -1;
  f->spikenz = 0;
  f->spikevar = -1;
}

int eta_reset(lufactor *f) {
  etafile &E = f->eta;
  const int m = f->dim;
  E.dim = m;
  E.count = 0;
  E.lastreal = 1;
  E.mustrefactor = 0;
  long cap0;
  if (f->reinv <= 0) {
    E.limit = kReinvMax;
    E.dynamic = 1;
    cap0 = m < 50 ? 100L * m + 1 : 5001;
  } else {
    E.limit = f->reinv - 1;
    E.dynamic = 0;
    cap0 = (m >= 50 ? 50L : static_cast<long>(m)) * E.limit + 1;
  }
  E.capmax = static_cast<int>(std::min<long>(static_cast<long>(E.limit) * m + 1, kMaxFileCells));
  cap0 = std::min<long>(std::max<long>(cap0, 16), kMaxFileCells);
  if (E.pivotrow == nullptr || E.alloclimit < E.limit) {
    release(&E.pivotrow);
    release(&E.start);
    E.alloclimit = 0;
    E.pivotrow = allocn<int>(E.limit + 1);
    E.start = allocn<int>(E.limit + 2);
    if (!E.pivotrow || !E.start) return kNoMemory;
    E.alloclimit = E.limit;
  }
  if (E.ind == nullptr || E.cap < cap0) {
    release(&E.ind);
    release(&E.val);
    E.cap = 0;
    E.ind = allocn<int>(cap0);
    E.val = allocn<double>(cap0);
    if (!E.ind || !E.val) return kNoMemory;
    E.cap = static_cast<int>(cap0);
  }
  E.start[0] = 0;
  return 0;
}

// Room for an eta of n entries.  false when the file cannot take it.
static bool eta_room(etafile &E, int n) {
  long end = E.start[E.count];
  if (end + n < E.cap) return true;
  long n2 = n + end;
  if (n2 > E.capmax) return false;
  double nc = 1.2 * n2;
  if (E.count >= 5) {
    if (!E.dynamic && E.count < E.limit)
      nc = nc / (E.count + 1) * E.limit;
    else if (E.dynamic && E.count < 100)
      nc = nc / (E.count + 1) * 100;
  }
  long ncap = static_cast<long>(std::min<double>(nc, kMaxFileCells));
  if (ncap <= n2) ncap = n + n2 + 1;
  int *ni = static_cast<int *>(regrow(E.ind, sizeof(int) * ncap));
  if (ni == nullptr) {
    E.capmax = E.cap;
    return false;
  }
  E.ind = ni;
  double *nv = static_cast<double *>(regrow(E.val, sizeof(double) * ncap));
  if (nv == nullptr) {
    E.capmax = E.cap;
    return false;
  }
  E.val = nv;
  E.cap = static_cast<int>(ncap);
  return true;
}

int lu_check_pivot(lufactor *f, int pos, double alpha, int keep) {
  if (f->rowetanz == 0 || f->rowetapos != pos) lu_make_roweta(f, pos);
  bool bad = std::fabs(alpha) <= kDropTol;
  if (!bad) {
    double ymax = 0.0;
    for (int q = 0; q < f->rowetanz; q++) ymax = std::max(ymax, std::fabs(f->rowetaval[q]));
    bad = ymax / std::fabs(alpha) > 1e8;
  }
  if (!bad && f->spikenz > 0) {
    double smax = 0.0;
    for (int q = 0; q < f->spikenz; q++) smax = std::max(smax, std::fabs(f->spikeval[q]));
    bad = smax > 1e8;
  }
  if (bad) {
    f->eta.mustrefactor = 1;
    lu_clear_pending(f);
    return kLuRejected;
  }
  if (!keep) lu_clear_pending(f);
  return 0;
}

namespace {

inline void set_pos(lufactor *f, int pos, int col, int row) {
  f->pivcol[pos] = col;
  f->pivpos[col] = pos;
  f->pivperm[pos] = row;
  f->pivperminv[row] = pos;
}

}  // namespace

static int refuse(lufactor *f) {
  f->ready = 0;
  lu_clear_pending(f);
  return kLuRefactor;
}

int lu_update(env *, lufactor *f, const lumatrix *mat, int pos, int entering) {
  const int m = f->dim;
  if (!f->ready || pos < 0 || pos >= m) return refuse(f);
  if (f->rowetanz == 0 || f->rowetapos != pos) lu_make_roweta(f, pos);
  if (f->spikenz == 0 || f->spikevar != entering) {
    if (lu_make_spike(f, mat, entering) != 0) return refuse(f);
  }
  const int ns = f->spikenz > 0 ? f->spikenz : 0;
  // alpha = y' s.
  double *yv = f->work1;
  for (int q = 0; q < f->rowetanz; q++) yv[f->rowetaind[q]] = f->rowetaval[q];
  double alpha = 0.0;
  for (int q = 0; q < ns; q++) alpha += yv[f->spikeind[q]] * f->spikeval[q];
  for (int q = 0; q < f->rowetanz; q++) yv[f->rowetaind[q]] = 0.0;
  if (std::fabs(alpha) <= kDropTol) return refuse(f);

  const int P0 = f->pivpos[pos], r = f->pivperm[P0];
  linefile *UR = &f->urow, *UC = &f->ucol;
  etafile &E = f->eta;
  const int u = f->updates;
  f->curnz += f->rowetanz + ns - UC->cnt[pos] - UR->cnt[r];
  if (E.dynamic) {
    double cost = (f->lunz + 0.2 * f->matrixnz) * f->costweight;
    double avg = (cost + f->sumnz) / (u + 1.0);
    double prev = f->bestavg;
    f->bestavg = avg;
    if (avg > prev && u >= 61) return refuse(f);
    f->sumnz += f->curnz;
  }
  bool unit = f->rowetanz == 1 && f->rowetaind[0] == r && alpha == 1.0;
  if (u >= E.limit || (u >= 100 && E.mustrefactor)) {
    if (E.mustrefactor) f->rejectfactors++;
    return refuse(f);
  }
  if (!unit && (E.count >= E.alloclimit || !eta_room(E, f->rowetanz))) return refuse(f);

  // Take row r out of the column copy and column pos out of the row copy.
  for (int p = UR->beg[r], e = p + UR->cnt[r]; p < e; p++) {
    int c = UR->ind[p];
    int q = lf_find(UC, c, r);
    if (q >= 0) lf_remove_at(UC, c, q);
  }
  UR->cnt[r] = 0;
  for (int p = UC->beg[pos], e = p + UC->cnt[pos]; p < e; p++) {
    int rr = UC->ind[p];
    int q = lf_find(UR, rr, pos);
    if (q >= 0) lf_remove_at(UR, rr, q);
  }
  UC->cnt[pos] = 0;

  // The row eta.
  if (unit) {
    E.lastreal = 0;
  } else {
    int s0 = E.start[E.count], n = 0;
    const double ainv = 1.0 / alpha;
    int id = E.count;
    if (id == 0)
      for (int k = 0; k < m; k++) E.firsteta[k] = kNoEta;
    for (int q = 0; q < f->rowetanz; q++) {
      int k = f->rowetaind[q];
      E.ind[s0 + n] = k;
      E.val[s0 + n++] = f->rowetaval[q] * ainv;
      if (E.firsteta[k] > id) E.firsteta[k] = id;
    }
    E.pivotrow[id] = r;
    E.start[id + 1] = s0 + n;
    E.count = id + 1;
    E.lastreal = 1;
  }

  // The spike becomes column pos; row r keeps only its unit diagonal.
  int hi = -1, n = 0;
  for (int q = 0; q < ns; q++)
    if (f->spikeind[q] != r) n++;
  // Memory shortage here is not a failure: the caller refactorizes.
  if (lf_place(UC, pos, n, nullptr, 1) != 0) return refuse(f);
  for (int q = 0; q < ns; q++) {
    int rr = f->spikeind[q];
    if (rr == r) continue;
    double v = f->spikeval[q];
    lf_push(UC, pos, rr, v, nullptr, 1);
    if (lf_push(UR, rr, pos, v, &f->rowfilemul, f->locked) != 0) return refuse(f);
    hi = std::max(hi, f->pivperminv[rr]);
  }

  // Repair the order.
  int uf = f->ufirst;
  if (hi < uf && P0 < uf) {
    int Q = uf - 1;
    if (Q != P0) {
      int c2 = f->pivcol[Q], r2 = f->pivperm[Q];
      set_pos(f, Q, pos, r);
      set_pos(f, P0, c2, r2);
    }
    uf = Q;
  } else if (hi < P0) {
    if (n > 0) uf = std::min(uf, P0);
  } else {
    for (int q = P0; q < hi; q++) set_pos(f, q, f->pivcol[q + 1], f->pivperm[q + 1]);
    set_pos(f, hi, pos, r);
    if (uf > P0 && uf <= hi) uf--;
  }
  while (uf < m && UC->cnt[f->pivcol[uf]] == 0) uf++;
  f->ufirst = uf;
  f->lowchg = std::min(f->lowchg, P0);
  f->updates = u + 1;
  lu_clear_pending(f);
  return 0;
}

}  // namespace velto
