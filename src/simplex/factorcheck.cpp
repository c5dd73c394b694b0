// Consistency check of the factor's solve form, for tests and debugging:
// permutations are inverse pairs, the row and column copies of U hold the
// same entries, U is triangular in position order, and L acts only on later
// pivots.  Returns 0 when consistent, otherwise a code naming the first
// violated property.
#include <map>
#include <utility>

#include "simplex/factorint.h"

namespace velto {

int lu_check(const lufactor *f) {
  const int m = f->dim;
  for (int k = 0; k < m; k++) {
    if (f->rowpiv[f->pivrow[k]] != k) return 1;
    if (f->pivpos[f->pivcol[k]] != k) return 2;
    if (f->pivperminv[f->pivperm[k]] != k) return 3;
  }
  std::map<std::pair<int, int>, double> rows, cols;
  for (int r = 0; r < m; r++)
    for (int p = f->urow.beg[r]; p < f->urow.beg[r] + f->urow.cnt[r]; p++)
      rows[{r, f->urow.ind[p]}] = f->urow.val[p];
  for (int c = 0; c < m; c++)
    for (int p = f->ucol.beg[c]; p < f->ucol.beg[c] + f->ucol.cnt[c]; p++)
      cols[{f->ucol.ind[p], c}] = f->ucol.val[p];
  if (rows != cols) return 4;
  for (auto &e : rows) {
    int r = e.first.first, c = e.first.second;
    if (f->pivperminv[r] >= f->pivpos[c]) return 5;
  }
  for (int pos = 0; pos < f->ufirst && pos < m; pos++)
    if (f->ucol.cnt[f->pivcol[pos]] != 0) return 6;
  for (int k = 0; k < m; k++)
    for (int e = f->lbeg[k]; e < f->lend[k]; e++)
      if (f->rowpiv[f->lind[e]] <= k) return 7;
  for (int k = 0; k < f->nlead; k++)
    if (f->lend[k] != f->lbeg[k]) return 8;
  return 0;
}

}  // namespace velto
