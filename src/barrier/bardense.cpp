// Dense columns: the columns whose outer products would fill the normal
// matrix are kept out of it and border the factor instead.
#include <algorithm>
#include <cmath>
#include <vector>

#include "barrier/barprob.h"
#include "env/par.h"

namespace velto {

void barprob::buildrows() {
  rowbeg.assign(m + 1, 0);
  for (int j = 0; j < n; ++j)
    for (int k = colbeg[j]; k < colbeg[j + 1]; ++k) rowbeg[colind[k] + 1]++;
  for (int i = 0; i < m; ++i) rowbeg[i + 1] += rowbeg[i];
  rowind.resize(colind.size());
  rowval.resize(colind.size());
  std::vector<int> at(rowbeg.begin(), rowbeg.end() - 1);
  for (int j = 0; j < n; ++j)
    for (int k = colbeg[j]; k < colbeg[j + 1]; ++k) {
      int p = at[colind[k]]++;
      rowind[p] = j;
      rowval[p] = colval[k];
    }
}

namespace {

// Threshold of the automatic rule: the length from which a column is dense.
long autothreshold(const barprob &bp) {
  const int rows = bp.m, cols = bp.n;
  int longest = 0;
  for (int j = 0; j < cols; ++j) longest = std::max(longest, bp.collen(j));
  const double nnz = (double)bp.colind.size();
  const long shortlen = std::min<long>((long)(5.0 * nnz / rows), (long)longest + 1);
  if (shortlen > rows) return (long)rows + 1;
  std::vector<int> hist(longest + 1, 0);
  for (int j = 0; j < cols; ++j) hist[bp.collen(j)]++;
  // Entries that the columns of each length add to the normal matrix.
  std::vector<double> est(longest + 1, 0.0);
  const long cap = (long)std::sqrt(100.0 * std::min(rows, cols)) + 100;
  std::vector<int> mark(rows, -1);
  std::vector<int> cl;
  for (int i = 0; i < rows; ++i) {
    cl.assign(bp.rowind.begin() + bp.rowbeg[i], bp.rowind.begin() + bp.rowbeg[i + 1]);
    std::stable_sort(cl.begin(), cl.end(), [&](int a, int b) {
      int la = bp.collen(a), lb = bp.collen(b);
      bool sa = la >= shortlen, sb = lb >= shortlen;
      if (sa != sb) return sb;  // short columns first
      return sa && la < lb;
    });
    for (int j : cl) {
      const int len = bp.collen(j);
      if (len > cap) {
        est[len] += std::min(rows - i, len);
        continue;
      }
      for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) {
        int r = bp.colind[k];
        if (r > i && mark[r] != i) {
          mark[r] = i;
          est[len] += 1;
        }
      }
    }
  }
  const long kmax = std::min<long>(std::clamp<long>((long)(0.01 * rows), 10, 500), (long)(0.5 * rows));
  double bestcost = 1e75;
  long bestl = 2100000000;
  // Walk the lengths in use downward from the longest.
  std::vector<double> below(longest + 2, 0.0);  // sum of est for len <= L
  for (int l = 0; l <= longest; ++l) below[l + 1] = below[l] + est[l];
  long k = 0;  // columns longer than L
  for (int l = longest; l >= 0; --l) {
    if (hist[l] == 0) continue;
    const double cost = below[l + 1] + 1000.0 + 0.025 * rows * k + (2.0 * k) * (k - 1) * 0.5;
    if (cost < 0.8 * bestcost && k < kmax) {
      bestcost = cost;
      bestl = l;
    }
    k += hist[l];
  }
  // A column shorter than a tenth of the rows is kept in the sparse part:
  // the border it would join saves little fill, while it costs accuracy
  // near the optimum, where the sparse part left alone turns singular.
  return std::max<long>(std::min<long>(bestl, rows) + 1, rows / 10);
}

}  // namespace

int find_dense(env *e, barprob &bp) {
  return guarded([&] {
    bp.dense.assign(bp.n, 0);
    bp.densecols.clear();
    if (bp.m < e->barparams->p3015) return 0;
    if (bp.rowbeg.empty()) bp.buildrows();
    long t = e->barparams->barcolnz > 0 ? e->barparams->barcolnz : autothreshold(bp);
    if (e->barparams->bardisplay >= 2)
      msg(e->reschannel, "Looking for dense columns with more than %ld nonzeros.\n", t);
    for (int j = 0; j < bp.n; ++j)
      if (bp.collen(j) >= t) {
        bp.dense[j] = 1;
        bp.densecols.push_back(j);
      }
    if (!bp.densecols.empty() && e->barparams->bardisplay >= 1)
      msg(e->reschannel, "\n***NOTE: Found %d dense columns.\n\n", (int)bp.densecols.size());
    return 0;
  });
}

}  // namespace velto
