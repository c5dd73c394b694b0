// Dense tail of the factorization: the active submatrix, once dense enough,
// is copied into a block and eliminated with row-wise partial pivoting (the
// largest entry of each row, columns swapped into place).
#include <algorithm>
#include <cmath>
#include <new>
#include <vector>

#include "simplex/factorint.h"

namespace velto {

int lu_dense(lufactor *fac, facwork *fw, double singtol) {
  linefile *rf = &fw->rows;
  std::vector<int> R, C;
  for (int i = 0; i < fw->m; i++)
    if (fw->rstate[i] == 0 || fw->rstate[i] == 2) R.push_back(i);
  for (int j = 0; j < fw->nc; j++)
    if (fw->cstate[j] == 0 || fw->cstate[j] == 2) C.push_back(j);
  const long r = static_cast<long>(R.size()), nc = static_cast<long>(C.size());
  if (r * nc >= kMaxFileCells) return kLuDenseMemory;
  fac->ndense = static_cast<int>(r);
  // Ascending counts, as the count lists would give them.
  std::sort(R.begin(), R.end(), [rf](int a, int b) {
    return rf->cnt[a] != rf->cnt[b] ? rf->cnt[a] < rf->cnt[b] : a < b;
  });
  std::sort(C.begin(), C.end(), [fw](int a, int b) {
    return fw->ccount(a) != fw->ccount(b) ? fw->ccount(a) < fw->ccount(b) : a < b;
  });
  std::vector<double> A;
  std::vector<int> where(fw->nc, -1);
  try {
    A.assign(r * nc, 0.0);
  } catch (const std::bad_alloc &) {
    return kLuDenseMemory;
  }
  for (long q = 0; q < nc; q++) where[C[q]] = static_cast<int>(q);
  for (long t = 0; t < r; t++) {
    int i = R[t];
    for (int p = rf->beg[i], e = p + rf->cnt[i]; p < e; p++) A[t * nc + where[rf->ind[p]]] = rf->val[p];
    rf->cnt[i] = 0;  // the row is rewritten below as a U row
  }
  int status = 0;
  long piv = 0;
  std::vector<int> rowpiv(r, -1);  // block column each row pivoted on
  for (long t = 0; t < r && piv < nc; t++) {
    double *at = &A[t * nc];
    long best = -1;
    double bv = 0.0;
    for (long c = piv; c < nc; c++) {
      double v = std::fabs(at[c]);
      if (v > bv) {
        bv = v;
        best = c;
      }
    }
    if (best < 0 || bv < singtol) {
      status = kLuSingular;
      continue;
    }
    if (best != piv) {
      for (long s = 0; s < r; s++) std::swap(A[s * nc + best], A[s * nc + piv]);
      std::swap(C[best], C[piv]);
    }
    const double a = at[piv], pinv = 1.0 / a;
    const int k = static_cast<int>(fw->prow.size());
    fw->prow.push_back(R[t]);
    fw->pcol.push_back(C[piv]);
    fw->pval.push_back(a);
    fw->rstate[R[t]] = 1;
    fw->cstate[C[piv]] = 1;
    rowpiv[t] = static_cast<int>(piv);
    fac->lbeg[k] = fw->lnz;
    for (long c = piv + 1; c < nc; c++) at[c] *= pinv;
    for (long s = t + 1; s < r; s++) {
      double *as = &A[s * nc];
      double f = as[piv];
      if (f == 0.0) continue;
      as[piv] = 0.0;
      if (int st = lu_lpush(fac, fw, R[s], -f * pinv)) return st;
      for (long c = piv + 1; c < nc; c++)
        if (at[c] != 0.0) as[c] -= f * at[c];
    }
    fac->lend[k] = fw->lnz;
    piv++;
  }
  // U rows back into the row file: entries of the columns that pivoted.
  for (long t = 0; t < r; t++) {
    if (rowpiv[t] < 0) continue;
    int i = R[t];
    const double *at = &A[t * nc];
    for (long c = rowpiv[t] + 1; c < piv; c++) {
      if (std::fabs(at[c]) < kDropTol) continue;
      if (int st = lf_push(rf, i, C[c], at[c], &fac->rowfilemul, fac->locked)) return st;
    }
  }
  fw->activerows = 0;
  for (int i : R)
    if (fw->rstate[i] != 1) fw->activerows++;
  return status;
}

}  // namespace velto
