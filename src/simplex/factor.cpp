// Sparse LU factorization: one attempt.  The active submatrix is held in a
// row file (column numbers and values) and a column file (row numbers).  The
// pivot search takes singletons first (columns, then rows, or the reverse
// with `order` 0) and then scans columns and rows by rising count with the
// threshold-Markowitz rule; when the active part becomes dense it is handed
// to the dense tail.
#include <cmath>
#include <new>

#include "simplex/factorint.h"

namespace velto {

void countlists::init(int nline, int maxcount) {
  head.assign(maxcount + 2, -1);
  next.assign(nline, -1);
  prev.assign(nline, -1);
  at.assign(nline, -1);
}

void countlists::link(int line, int count) {
  at[line] = count;
  prev[line] = -1;
  int n = head[count];
  next[line] = n;
  if (n >= 0) prev[n] = line;
  head[count] = line;
}

void countlists::unlink(int line) {
  int c = at[line];
  if (c < 0) return;
  int p = prev[line], n = next[line];
  if (p >= 0)
    next[p] = n;
  else
    head[c] = n;
  if (n >= 0) prev[n] = p;
  at[line] = -1;
}

facwork::~facwork() {
  lf_free(&rows);
  lf_free(&cols);
}

int lu_lpush(lufactor *fac, facwork *fw, int row, double val) {
  int n = fw->lnz;
  if (n >= fac->lsize) {
    long ns = fac->lsize < 1024 ? 1024 : 2L * fac->lsize;
    if (ns > kMaxFileCells) ns = kMaxFileCells;
    if (ns <= n) return kNoMemory;
    int *ni = static_cast<int *>(regrow(fac->lind, sizeof(int) * ns));
    if (ni == nullptr) return kNoMemory;
    fac->lind = ni;
    double *nv = static_cast<double *>(regrow(fac->lval, sizeof(double) * ns));
    if (nv == nullptr) return kNoMemory;
    fac->lval = nv;
    fac->lsize = static_cast<int>(ns);
  }
  fac->lind[n] = row;
  fac->lval[n] = val;
  fw->lnz = n + 1;
  return 0;
}

int lu_column(const lumatrix *mat, int j, int *ind, double *val) {
  if (j < mat->ncols) {
    int b = mat->matbeg[j], n = mat->matcnt[j];
    for (int k = 0; k < n; k++) {
      ind[k] = mat->matind[b + k];
      val[k] = mat->matval[b + k];
    }
    return n;
  }
  int s = j - mat->ncols;
  if (s < mat->nslack) {
    ind[0] = mat->slackrow ? mat->slackrow[s] : s;
    val[0] = mat->slackcoef ? mat->slackcoef[s] : 1.0;
    return 1;
  }
  ind[0] = s - mat->nslack;
  val[0] = 1.0;
  return 1;
}

int lu_colcount(const lumatrix *mat, int j) { return j < mat->ncols ? mat->matcnt[j] : 1; }

namespace {

// Value of the active entry (row i, local column j); 0 if absent.
inline double entry(const facwork *fw, int i, int j) {
  int p = lf_find(&fw->rows, i, j);
  return p < 0 ? 0.0 : fw->rows.val[p];
}

inline void rescan_max(facwork *fw, int i) {
  const linefile &r = fw->rows;
  double mx = 0.0;
  for (int p = r.beg[i], e = p + r.cnt[i]; p < e; p++) mx = std::max(mx, std::fabs(r.val[p]));
  fw->rowmax[i] = mx;
}

inline void link_row(facwork *fw, int i) {
  int c = fw->rows.cnt[i];
  fw->rl.link(i, c);
  if (c > fw->rhigh) fw->rhigh = c;
}
inline void link_col(facwork *fw, int j) {
  int c = fw->ccount(j);
  fw->cl.link(j, c);
  if (c > fw->chigh) fw->chigh = c;
}

struct pick {
  int i = -1, j = -1;
  double a = 0.0;
};

// Threshold-Markowitz pivot search.  Returns false when no line has an
// acceptable entry.
bool find_pivot(facwork *fw, int order, double u, double t, pick *best) {
  // Singletons.
  for (int pass = 0; pass < 2; pass++) {
    bool colpass = (pass == 0) == (order != 0);
    if (colpass) {
      while (fw->cl.head[1] >= 0) {
        int j = fw->cl.head[1];
        int p = fw->cols.beg[j];
        while (fw->rstate[fw->cols.ind[p]] == 1) p++;
        int i = fw->cols.ind[p];
        double a = entry(fw, i, j);
        if (std::fabs(a) >= t) {
          *best = {i, j, a};
          return true;
        }
        fw->cl.unlink(j);
        fw->cstate[j] = 2;
      }
    } else {
      while (fw->rl.head[1] >= 0) {
        int i = fw->rl.head[1];
        int p = fw->rows.beg[i];
        double a = fw->rows.val[p];
        if (std::fabs(a) >= t) {
          *best = {i, fw->rows.ind[p], a};
          return true;
        }
        fw->rl.unlink(i);
        fw->rstate[i] = 2;
      }
    }
  }
  double merit = kBig, bestabs = 0.0;
  int lines = 0;
  int high = std::max(fw->rhigh, fw->chigh);
  if (high > 32767) high = 32767;
  for (int c = 2; c <= high; c++) {
    double cm1 = c - 1;
    if (c <= fw->chigh) {
      for (int j = fw->cl.head[c]; j >= 0;) {
        int nextj = fw->cl.next[j];
        bool cand = false;
        const linefile &cf = fw->cols;
        for (int p = cf.beg[j], e = p + cf.cnt[j]; p < e; p++) {
          int i = cf.ind[p];
          if (fw->rstate[i] == 1) continue;
          double a = entry(fw, i, j), aa = std::fabs(a);
          if (aa < t || u * fw->rowmax[i] > aa) continue;
          cand = true;
          double mer = (fw->rows.cnt[i] - 1) * cm1;
          if (mer < merit || (mer == merit && aa > bestabs)) {
            merit = mer;
            bestabs = aa;
            *best = {i, j, a};
          }
        }
        if (!cand) {
          fw->cl.unlink(j);
          fw->cstate[j] = 2;
        }
        lines++;
        if (merit <= cm1 * cm1) return true;
        if (lines >= 2 && merit < kBig) return true;
        j = nextj;
      }
    }
    if (c <= fw->rhigh) {
      for (int i = fw->rl.head[c]; i >= 0;) {
        int nexti = fw->rl.next[i];
        bool cand = false;
        const linefile &rf = fw->rows;
        double lim = u * fw->rowmax[i];
        for (int p = rf.beg[i], e = p + rf.cnt[i]; p < e; p++) {
          double a = rf.val[p], aa = std::fabs(a);
          if (aa < t || lim > aa) continue;
          cand = true;
          int j = rf.ind[p];
          double mer = cm1 * (fw->ccount(j) - 1);
          if (mer < merit || (mer == merit && aa > bestabs)) {
            merit = mer;
            bestabs = aa;
            *best = {i, j, a};
          }
        }
        if (!cand) {
          fw->rl.unlink(i);
          fw->rstate[i] = 2;
        }
        lines++;
        if (merit <= cm1 * cm1) return true;
        if (lines >= 2 && merit < kBig) return true;
        i = nexti;
      }
    }
  }
  return merit < kBig;
}

// Removes row i from the index list of column j.
inline void col_drop_row(facwork *fw, int j, int i) {
  int p = lf_find(&fw->cols, j, i);
  if (p >= 0) lf_remove_at(&fw->cols, j, p);
}

// Row i was pivoted: a short column drops it at once; a long one (a dense
// column meets every pivot row, and a search per pivot would make the
// factor quadratic) keeps it as a stale entry and sheds all of them in one
// pass once they are half of its list.
inline void col_drop_pivot_row(facwork *fw, int j, int i) {
  linefile &cf = fw->cols;
  if (cf.cnt[j] <= 16) {
    col_drop_row(fw, j, i);
    return;
  }
  if (2 * ++fw->cstale[j] < cf.cnt[j]) return;
  int b = cf.beg[j], k = b;
  for (int p = b, e = b + cf.cnt[j]; p < e; p++)
    if (fw->rstate[cf.ind[p]] != 1) cf.ind[k++] = cf.ind[p];
  cf.cnt[j] = k - b;
  fw->cstale[j] = 0;
}

int eliminate(lufactor *fac, facwork *fw, const pick &pv) {
  linefile *rf = &fw->rows, *cf = &fw->cols;
  const int i = pv.i, j = pv.j;
  const int k = static_cast<int>(fw->prow.size());
  fw->prow.push_back(i);
  fw->pcol.push_back(j);
  fw->pval.push_back(pv.a);
  fw->rstate[i] = 1;
  fw->cstate[j] = 1;
  fw->rl.unlink(i);
  fw->cl.unlink(j);
  fw->activerows--;
  fac->lbeg[k] = fw->lnz;
  const double pinv = 1.0 / pv.a;

  // Pivot row: drop the pivot, scale into the U row, scatter, unlink.
  lf_remove_at(rf, i, lf_find(rf, i, j));
  fw->activenz -= rf->cnt[i] + fw->ccount(j);
  std::vector<int> prc;
  prc.reserve(rf->cnt[i]);
  for (int p = rf->beg[i], e = p + rf->cnt[i]; p < e; p++) {
    int c = rf->ind[p];
    rf->val[p] *= pinv;
    fw->w[c] = rf->val[p];
    fw->wmark[c] = 1;
    prc.push_back(c);
    col_drop_pivot_row(fw, c, i);
    fw->cl.unlink(c);
  }
  // Other rows of the pivot column.
  std::vector<int> pcr;
  pcr.reserve(fw->ccount(j));
  for (int p = cf->beg[j], e = p + cf->cnt[j]; p < e; p++)
    if (fw->rstate[cf->ind[p]] != 1) pcr.push_back(cf->ind[p]);
  cf->cnt[j] = 0;
  fw->cstale[j] = 0;
  for (int r : pcr) {
    fw->rl.unlink(r);
    int p = lf_find(rf, r, j);
    double arj = rf->val[p];
    lf_remove_at(rf, r, p);
    if (int st = lu_lpush(fac, fw, r, -arj * pinv)) return st;
    int stamp = ++fw->stamp;
    // Merge with the pivot row.
    for (int q = rf->beg[r]; q < rf->beg[r] + rf->cnt[r];) {
      int c = rf->ind[q];
      if (fw->wmark[c]) {
        fw->seen[c] = stamp;
        double v = rf->val[q] - arj * fw->w[c];
        if (std::fabs(v) < kDropTol) {
          lf_remove_at(rf, r, q);
          col_drop_row(fw, c, r);
          fw->activenz--;
          continue;
        }
        rf->val[q] = v;
      }
      q++;
    }
    // Fill.
    for (int c : prc) {
      if (fw->seen[c] == stamp) continue;
      double v = -arj * fw->w[c];
      if (std::fabs(v) < kDropTol) continue;
      if (int st = lf_push(rf, r, c, v, &fac->rowfilemul, fac->locked)) return st;
      if (int st = lf_push(cf, c, r, 0.0, &fac->colfilemul, fac->locked)) return st;
      fw->activenz++;
    }
    rescan_max(fw, r);
  }
  fac->lend[k] = fw->lnz;
  // Relink.
  for (int r : pcr) {
    if (fw->rstate[r] == 2) fw->rstate[r] = 0;
    link_row(fw, r);
  }
  for (int c : prc) {
    fw->wmark[c] = 0;
    fw->w[c] = 0.0;
    if (fw->cstate[c] == 0 || (fw->cstate[c] == 2 && fw->ccount(c) == 1)) {
      fw->cstate[c] = 0;
      link_col(fw, c);
    }
  }
  return 0;
}

}  // namespace

int lu_core(lufactor *fac, const lumatrix *mat, int nc, const int *cols, const int *mask,
            double threshold, double singtol, int analysis) {
  const int m = mat->nrows;
  if (fac->scratch == nullptr) {
    fac->scratch = new (std::nothrow) facwork;
    if (fac->scratch == nullptr) return kNoMemory;
  }
  facwork *fw = static_cast<facwork *>(fac->scratch);
  try {
    fw->m = m;
    fw->nc = nc;
    // Singleton order from the fill seen per update by the last factor.
    if (fac->prevupdates > 0 && fac->lunz > 0) {
      double r = (static_cast<double>(fac->curnz + m) - fac->lunz) / fac->lunz / fac->prevupdates;
      if (fac->order == 1 && r < 7.5e-5)
        fac->order = 0;
      else if (fac->order == 0 && r > 1.5e-4)
        fac->order = 1;
    }
    // Counts.
    std::vector<int> rcnt(m, 0), ccnt(nc, 0);
    long nz = 0;
    int maxlen = 1;
    for (int k = 0; k < nc; k++) maxlen = std::max(maxlen, lu_colcount(mat, cols[k]));
    std::vector<int> ci(maxlen);
    std::vector<double> cv(maxlen);
    for (int k = 0; k < nc; k++) {
      int n = lu_column(mat, cols[k], ci.data(), cv.data());
      for (int q = 0; q < n; q++) {
        if (cv[q] == 0.0 || (mask && !mask[ci[q]])) continue;
        rcnt[ci[q]]++;
        ccnt[k]++;
        nz++;
      }
    }
    fac->basisnz = static_cast<int>(nz);
    long rsize = static_cast<long>(nz * fac->rowfilemul) + 2L * m + 16;
    if (rsize > kMaxFileCells) return kNoMemory;
    if (int st = lf_alloc(&fw->rows, m, rsize, true)) return st;
    long csize = static_cast<long>((nz + 1) * fac->colfilemul) + 2L * nc + 16;
    if (csize + 5L * (nc + 1) + 1 > 174999999) return kNoMemory;
    if (int st = lf_alloc(&fw->cols, nc, csize, false)) return st;
    for (int i = 0; i < m; i++) {
      fw->rows.beg[i] = fw->rows.used;
      fw->rows.room[i] = rcnt[i] + 1;
      fw->rows.used += rcnt[i] + 1;
    }
    for (int k = 0; k < nc; k++) {
      fw->cols.beg[k] = fw->cols.used;
      fw->cols.room[k] = ccnt[k] + 1;
      fw->cols.used += ccnt[k] + 1;
    }
    for (int k = 0; k < nc; k++) {
      int n = lu_column(mat, cols[k], ci.data(), cv.data());
      for (int q = 0; q < n; q++) {
        int i = ci[q];
        if (cv[q] == 0.0 || (mask && !mask[i])) continue;
        int p = fw->rows.beg[i] + fw->rows.cnt[i]++;
        fw->rows.ind[p] = k;
        fw->rows.val[p] = cv[q];
        fw->cols.ind[fw->cols.beg[k] + fw->cols.cnt[k]++] = i;
      }
    }
    // State, lists, work.
    int maxc = std::max(m, nc);
    fw->rstate.assign(m, 0);
    fw->cstate.assign(nc, 0);
    fw->cstale.assign(nc, 0);
    fw->rowmax.assign(m, 0.0);
    fw->w.assign(nc, 0.0);
    fw->wmark.assign(nc, 0);
    fw->seen.assign(nc, 0);
    fw->stamp = 0;
    fw->rl.init(m, maxc);
    fw->cl.init(nc, maxc);
    fw->rhigh = fw->chigh = 0;
    fw->prow.clear();
    fw->pcol.clear();
    fw->pval.clear();
    fw->activenz = nz;
    fw->activerows = 0;
    for (int i = 0; i < m; i++) {
      if (mask && !mask[i]) {
        fw->rstate[i] = 3;  // outside the mask: never pivots
        continue;
      }
      rescan_max(fw, i);
      link_row(fw, i);
      fw->activerows++;
    }
    for (int k = 0; k < nc; k++) link_col(fw, k);
    fw->lnz = 0;
    fac->ndense = 0;

    int status = 0;
    const int maxpiv = std::min(m, nc);
    int activecols = nc;
    while (fw->activerows > 0 && static_cast<int>(fw->prow.size()) < maxpiv) {
      double r = fw->activerows;
      if (mask == nullptr && fw->activenz > r * r * fac->density + 1e-10 &&
          activecols <= 2 * fw->activerows) {
        status = lu_dense(fac, fw, singtol);
        break;
      }
      pick pv;
      if (!find_pivot(fw, fac->order, threshold, singtol, &pv)) {
        status = kLuSingular;
        break;
      }
      if (int st = eliminate(fac, fw, pv)) return st;
      activecols--;
    }
    if (status == 0 && static_cast<int>(fw->prow.size()) < m && !analysis) status = kLuSingular;
    return status;
  } catch (const std::bad_alloc &) {
    return kNoMemory;
  }
}

}  // namespace velto
