// Consistency check of the factor's solve form, for tests and debugging:
// permutations are inverse pairs, the row and column copies of U hold the
// same entries, U is triangular in position order, and L acts only on later
// pivots.  Returns 0 when consistent, otherwise a code naming the first
// violated property.
#include <algorithm>
#include <vector>

#include "simplex/factorint.h"

namespace velto {

namespace {
struct uentry {
  int r, c;
  double v;
};
void sort_entries(std::vector<uentry> &a) {
  std::sort(a.begin(), a.end(), [](const uentry &x, const uentry &y) {
    return x.r != y.r ? x.r < y.r : x.c < y.c;
  });
}
}  // namespace

int lu_check(const lufactor *f) {
  const int m = f->dim;
  for (int k = 0; k < m; k++) {
    if (f->rowpiv[f->pivrow[k]] != k) return 1;
    if (f->pivpos[f->pivcol[k]] != k) return 2;
    if (f->pivperminv[f->pivperm[k]] != k) return 3;
  }
  std::vector<uentry> rows, cols;
  for (int r = 0; r < m; r++)
    for (int p = f->urow.beg[r]; p < f->urow.beg[r] + f->urow.cnt[r]; p++)
      rows.push_back({r, f->urow.ind[p], f->urow.val[p]});
  for (int c = 0; c < m; c++)
    for (int p = f->ucol.beg[c]; p < f->ucol.beg[c] + f->ucol.cnt[c]; p++)
      cols.push_back({f->ucol.ind[p], c, f->ucol.val[p]});
  sort_entries(rows);
  sort_entries(cols);
  if (rows.size() != cols.size()) return 4;
  for (size_t k = 0; k < rows.size(); k++) {
    const uentry &a = rows[k], &b = cols[k];
    if (a.r != b.r || a.c != b.c || a.v != b.v) return 4;
    if (k > 0 && a.r == rows[k - 1].r && a.c == rows[k - 1].c) return 4;  // duplicate
    if (f->pivperminv[a.r] >= f->pivpos[a.c]) return 5;
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
