// Factor life cycle, the solve form built from a finished attempt, and the
// drivers lu_refactor (with its retry rules) and lu_probe.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "env/par.h"
#include "simplex/factorint.h"

namespace velto {

namespace {

template <class T>
bool take(T **p, int n) {
  *p = allocnzero<T>(n > 0 ? n : 1);
  return *p != nullptr;
}

}  // namespace

lufactor *lu_create(int m) {
  lufactor *f = allocnzero<lufactor>(1);
  if (f == nullptr) return nullptr;
  f->dim = m;
  f->density = 0.6;
  f->order = 1;
  f->rowfilemul = kFileMulDefault;
  f->colfilemul = kFileMulDefault;
  f->bestavg = kBig;
  f->costweight = 20;
  f->singlim = 10;
  f->lowchg = m;
  bool ok = take(&f->pivinv, m) && take(&f->pivrow, m) && take(&f->rowpiv, m) &&
            take(&f->lbeg, m) && take(&f->lend, m) && take(&f->lrbeg, m) &&
            take(&f->lrend, m) && take(&f->pivcol, m) && take(&f->pivpos, m) &&
            take(&f->pivperm, m) && take(&f->pivperminv, m) && take(&f->work0, m) &&
            take(&f->work1, m) && take(&f->work2, m) && take(&f->mark0, m) &&
            take(&f->mark1, m) && take(&f->list0, m) && take(&f->list1, m) &&
            take(&f->heap, m) && take(&f->rowdone, m) && take(&f->coldone, m) &&
            take(&f->dropped, m) && take(&f->droppos, m) && take(&f->rowetaind, m) &&
            take(&f->rowetaval, m) && take(&f->spikeind, m) && take(&f->spikeval, m) &&
            take(&f->eta.firsteta, m);
  f->coldonecap = m;
  if (!ok) lu_free(&f);
  return f;
}

void lu_free(lufactor **fp) {
  lufactor *f = *fp;
  if (f == nullptr) return;
  delete static_cast<facwork *>(f->scratch);
  f->scratch = nullptr;
  lf_free(&f->urow);
  lf_free(&f->ucol);
  int **ints[] = {&f->pivrow, &f->rowpiv, &f->lbeg, &f->lend, &f->lind, &f->lrbeg,
                  &f->lrend, &f->lrind, &f->pivcol, &f->pivpos, &f->pivperm, &f->pivperminv,
                  &f->mark0, &f->mark1, &f->list0, &f->list1, &f->heap, &f->rowdone,
                  &f->coldone, &f->dropped, &f->droppos, &f->rowetaind, &f->spikeind,
                  &f->eta.pivotrow, &f->eta.start, &f->eta.ind, &f->eta.firsteta};
  for (int **p : ints) release(p);
  double **dbls[] = {&f->pivinv, &f->lval, &f->lrval, &f->work0, &f->work1,
                     &f->work2, &f->rowetaval, &f->spikeval, &f->eta.val};
  for (double **p : dbls) release(p);
  release(fp);
}

// Releases what a failed attempt for memory leaves behind.
static void drop_optional(lufactor *f) {
  lf_free(&f->urow);
  lf_free(&f->ucol);
  release(&f->lrind);
  release(&f->lrval);
  f->lrsize = 0;
  release(&f->eta.ind);
  release(&f->eta.val);
  f->eta.cap = 0;
  if (f->scratch) {
    facwork *fw = static_cast<facwork *>(f->scratch);
    lf_free(&fw->rows);
    lf_free(&fw->cols);
  }
}

int lu_link(lufactor *fac) {
  facwork *fw = static_cast<facwork *>(fac->scratch);
  const int m = fac->dim;
  const linefile *rf = &fw->rows;
  long unz = 0;
  for (int k = 0; k < m; k++) {
    int i = fw->prow[k], j = fw->pcol[k];
    fac->pivinv[k] = 1.0 / fw->pval[k];
    fac->pivrow[k] = i;
    fac->rowpiv[i] = k;
    fac->pivcol[k] = j;
    fac->pivpos[j] = k;
    fac->pivperm[k] = k;
    fac->pivperminv[k] = k;
    unz += rf->cnt[i];
  }
  const int lnz = fw->lnz;
  fac->lunz = static_cast<int>(std::min<long>(lnz + unz + m, 2100000000L));
  // U by rows, with room to grow when it all fits.
  long rsize = 2 * (2 * unz + m) + 1024;
  bool roomy = true;
  if (rsize > kMaxFileCells) {
    rsize = std::min<long>(kMaxFileCells, unz + m + 1024);
    roomy = false;
  }
  if (int st = lf_alloc(&fac->urow, m, rsize, true)) return st;
  for (int k = 0; k < m; k++) {
    int i = fw->prow[k], n = rf->cnt[i];
    fac->urow.beg[k] = fac->urow.used;
    fac->urow.room[k] = roomy ? 2 * n + 1 : n;
    fac->urow.cnt[k] = n;
    std::memcpy(fac->urow.ind + fac->urow.used, rf->ind + rf->beg[i], sizeof(int) * n);
    std::memcpy(fac->urow.val + fac->urow.used, rf->val + rf->beg[i], sizeof(double) * n);
    fac->urow.used += fac->urow.room[k];
  }
  // U by columns: pivot numbers.  Room for the spikes of the updates.
  long allowance = std::min<long>(static_cast<long>(m) * (m + 1) / 2, 10L * m + unz + 1024);
  long csize = std::min<long>(kMaxFileCells, unz + allowance);
  if (int st = lf_alloc(&fac->ucol, m, csize, true)) return st;
  int *cc = fac->mark0;  // zero between calls
  for (int k = 0; k < m; k++)
    for (int p = fac->urow.beg[k], e = p + fac->urow.cnt[k]; p < e; p++) cc[fac->urow.ind[p]]++;
  for (int c = 0; c < m; c++) {
    fac->ucol.beg[c] = fac->ucol.used;
    fac->ucol.room[c] = cc[c];
    fac->ucol.used += cc[c];
    cc[c] = 0;
  }
  for (int k = 0; k < m; k++)
    for (int p = fac->urow.beg[k], e = p + fac->urow.cnt[k]; p < e; p++) {
      int c = fac->urow.ind[p];
      int q = fac->ucol.beg[c] + fac->ucol.cnt[c]++;
      fac->ucol.ind[q] = k;
      fac->ucol.val[q] = fac->urow.val[p];
    }
  fac->ufirst = m;
  for (int pos = 0; pos < m; pos++)
    if (fac->ucol.cnt[fac->pivcol[pos]] > 0) {
      fac->ufirst = pos;
      break;
    }
  fac->nlead = 0;
  while (fac->nlead < m && fac->lbeg[fac->nlead] == fac->lend[fac->nlead]) fac->nlead++;
  // Row-wise copy of L unless L is heavy.
  long fill = static_cast<long>(fac->lunz) - fac->basisnz;
  fac->lrowless = fill >= static_cast<long>(0.3 * fac->basisnz) && lnz > 0 ? 1 : 0;
  if (!fac->lrowless) {
    if (fac->lrsize < lnz) {
      release(&fac->lrind);
      release(&fac->lrval);
      fac->lrsize = 0;
      fac->lrind = allocn<int>(lnz);
      fac->lrval = allocn<double>(lnz);
      if (!fac->lrind || !fac->lrval) return kNoMemory;
      fac->lrsize = lnz;
    }
    int *lc = fac->mark0;
    for (int e = 0; e < lnz; e++) lc[fac->rowpiv[fac->lind[e]]]++;
    int pos = 0;
    for (int k = 0; k < m; k++) {
      fac->lrbeg[k] = pos;
      fac->lrend[k] = pos;
      pos += lc[k];
      lc[k] = 0;
    }
    for (int k = 0; k < m; k++)
      for (int e = fac->lbeg[k]; e < fac->lend[k]; e++) {
        int r = fac->rowpiv[fac->lind[e]];
        int q = fac->lrend[r]++;
        fac->lrind[q] = k;
        fac->lrval[q] = fac->lval[e];
      }
  }
  fac->curnz = fac->lunz - m;
  fac->sumnz = fac->lunz;
  fac->bestavg = kBig;
  fac->lowchg = m;
  return eta_reset(fac);
}

// Parameters of the environment: refactorization interval, singularity
// limit and, before the first factorization, the file multipliers.
static void read_params(env *e, lufactor *fac) {
  if (e == nullptr || e->params == nullptr) return;
  fac->reinv = e->params->reinv;
  fac->singlim = e->params->singlim;
  if (fac->factorcount == 0 && !fac->locked) {
    fac->rowfilemul = std::max(1.1, e->params->rfilemul);
    fac->colfilemul = std::max(1.1, e->params->cfilemul);
  }
}

static double pivot_ratio(const lufactor *fac) {
  double mx = 0.0, mn = kBig;
  for (int k = 0; k < fac->dim; k++) {
    double a = std::fabs(fac->pivinv[k]);
    mx = std::max(mx, a);
    mn = std::min(mn, a);
  }
  return fac->dim > 0 ? mx / mn : 1.0;
}

static bool too_spread(double g, double u) {
  return (g > 1e9 && u < 0.1) || (g > 1e10 && u < 0.2) || (g > 1e11 && u < 0.3) ||
         (g > 1e12 && u < 0.5) || (g > 1e13 && u < 0.99999);
}

static double raise_threshold(double u) { return u < 0.1 ? 0.1 : std::min(u + 0.1, 0.99999); }

static void mark_done(lufactor *fac, int m, int nc, int *rowdone, int *coldone) {
  facwork *fw = static_cast<facwork *>(fac->scratch);
  for (int i = 0; i < m; i++) rowdone[i] = fw && fw->rstate.size() == static_cast<size_t>(m) && fw->rstate[i] == 1;
  for (int j = 0; j < nc; j++) coldone[j] = fw && fw->cstate.size() == static_cast<size_t>(nc) && fw->cstate[j] == 1;
}

int lu_refactor(env *e, lufactor *fac, const lumatrix *mat, int *head, double *markowitz,
                double singtol, int repair, double *ratio_out) {
  const int m = fac->dim;
  read_params(e, fac);
  const double rmul0 = fac->rowfilemul, cmul0 = fac->colfilemul;
  fac->ready = 0;
  fac->prevupdates = fac->updates;
  fac->updates = 0;
  fac->ndropped = 0;
  lu_clear_pending(fac);
  long mnz = mat->nslack;
  for (int j = 0; j < mat->ncols; j++) mnz += mat->matcnt[j];
  fac->matrixnz = static_cast<int>(std::min<long>(mnz, 2100000000L));
  bool compressed = false, report = false;
  const double u0 = *markowitz;
  int repairs = 0, status = 0;
  for (int attempt = 0; attempt < 40; attempt++) {
    status = m == 0 ? 0 : lu_core(fac, mat, m, head, nullptr, *markowitz, singtol, 0);
    double g = 1.0;
    if (status == 0) status = m == 0 ? eta_reset(fac) : lu_link(fac);
    if (status == 0) {
      g = pivot_ratio(fac);
      fac->lastratio = g;
      if (ratio_out)
        *ratio_out = g;
      else if (too_spread(g, *markowitz))
        status = kLuSpread;
    }
    if (status == 0) break;
    if (status == kNoMemory) {
      drop_optional(fac);
      if (compressed || fac->rowfilemul != rmul0 || fac->colfilemul != cmul0 ||
          fac->rowfilemul <= 1.1)
        break;
      if (e) msg(e->warnchannel, "Compressing row and column files.\n");
      fac->rowfilemul = fac->colfilemul = 1.1;
      fac->locked = 1;
      compressed = true;
    } else if (status == kLuDenseMemory) {
      if (e) msg(e->warnchannel, "Not enough memory for dense factorization.\n");
      fac->density = 10.0;
    } else if (status == kLuSpread) {
      double u = *markowitz;
      *markowitz = raise_threshold(u);
      if (fac->itcnt > 0 && *markowitz - u0 > 0.01) report = true;
      if (*markowitz == u) break;
    } else if (status == kLuSingular) {
      if (repairs >= 10) break;
      mark_done(fac, m, m, fac->rowdone, fac->coldone);
      if (repair && repairs == 0) {
        int old = fac->singcount++;
        if (old >= fac->singlim) break;
        *markowitz = raise_threshold(*markowitz);
        if (fac->display && e) msg(e->reschannel, "Repairing basis singularity.\n");
      }
      int st = lu_repair(e, fac, mat, head, fac->rowdone, fac->coldone);
      if (st) {
        status = st;
        break;
      }
      repairs++;
    } else {
      break;
    }
  }
  if (report && fac->display && e)
    msg(e->reschannel, "Markowitz threshold set to %g.\n", *markowitz);
  if (status != 0) return status;
  fac->ready = 1;
  fac->factorcount++;
  return repairs > 0 ? kLuRepaired : 0;
}

int lu_probe(env *e, lufactor *fac, const lumatrix *mat, int ncols, const int *cols, int *rowdone,
             int *coldone, const int *mask, double threshold, double singtol) {
  const int m = fac->dim;
  read_params(e, fac);
  const double rmul0 = fac->rowfilemul, cmul0 = fac->colfilemul;
  fac->ready = 0;
  bool compressed = false;
  int status = 0;
  for (int attempt = 0; attempt < 10; attempt++) {
    status = (m == 0 || ncols == 0) ? 0 : lu_core(fac, mat, ncols, cols, mask, threshold, singtol, 1);
    if (status == kNoMemory) {
      drop_optional(fac);
      if (compressed || fac->rowfilemul != rmul0 || fac->colfilemul != cmul0 ||
          fac->rowfilemul <= 1.1)
        return kNoMemory;
      if (e) msg(e->warnchannel, "Compressing row and column files.\n");
      fac->rowfilemul = fac->colfilemul = 1.1;
      fac->locked = 1;
      compressed = true;
      continue;
    }
    if (status == kLuDenseMemory) {
      if (e) msg(e->warnchannel, "Not enough memory for dense factorization.\n");
      fac->density = 10.0;
      continue;
    }
    break;
  }
  if (status != 0 && status != kLuSingular) return status;
  if (m == 0 || ncols == 0) {
    for (int i = 0; i < m; i++) rowdone[i] = 0;
    for (int j = 0; j < ncols; j++) coldone[j] = 0;
  } else {
    mark_done(fac, m, ncols, rowdone, coldone);
  }
  int counted = 0, npiv = 0;
  for (int i = 0; i < m; i++) {
    if (!mask || mask[i]) counted++;
    npiv += rowdone[i];
  }
  return npiv < std::min(counted, ncols) ? kLuRepaired : 0;
}

}  // namespace velto
