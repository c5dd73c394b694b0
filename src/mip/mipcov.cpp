// Cover separation over the knapsack rows: the scan at the root and the
// rounds of global and local covers.
#include <algorithm>
#include <cmath>

#include "mip/mipcuts.h"

namespace velto {

int coverscan(cutwork &cw, const double *glb, const double *gub) {
  const cutmodel &cm = cw.cm;
  cw.coverrows.assign(cm.m, 0);
  std::vector<double> work(std::max(cm.n, 1), 0.0);
  knapsack k;
  int count = 0;
  for (int i = 0; i < cm.m; ++i) {
    for (int neg = 0; neg < 2; ++neg) {
      knapextract(cm, glb, gub, i, neg, 1, work, k);
      if (k.n > 1) cw.coverrows[i] |= neg ? 2 : 1;
    }
    if (cw.coverrows[i] & 3) ++count;
  }
  return count;
}

int coverround(cutwork &cw, const double *x, const double *glb, const double *gub,
               const double *llb, const double *lub, int limit, bool cover, bool localflag,
               cutstore *local, int counts[2]) {
  counts[0] = counts[1] = 0;
  if (limit <= 0) return 0;
  const cutmodel &cm = cw.cm;
  std::vector<double> work(std::max(cm.n, 1), 0.0);
  std::vector<int> ind;
  std::vector<double> val;
  knapsack k;
  for (int i = 0; i < cm.m && i < static_cast<int>(cw.coverrows.size()); ++i) {
    for (int neg = 0; neg < 2; ++neg) {
      if (!(cw.coverrows[i] & (neg ? 2 : 1))) continue;
      bool served = false;
      int nnz = 0;
      double rhs = 0.0;
      if (cover) {
        knapextract(cm, glb, gub, i, neg, 1, work, k);
        if (k.n > 1) {
          if (coverfind(k, x, &nnz, &rhs, ind, val)) return 1;
          if (nnz > 0) {
            int st = cutsetpush(cw.pool, 0, kCutCover, nnz, ind.data(), val.data(), 'L', rhs);
            if (st) return st;
            ++counts[0];
            served = true;
          }
        }
      }
      if (localflag && !served && local != nullptr) {
        knapextract(cm, llb, lub, i, neg, 1, work, k);
        if (k.n > 1) {
          if (coverfind(k, x, &nnz, &rhs, ind, val)) return 1;
          if (nnz > 0) {
            int found = 0, id = 0;
            int st = cutstoreadd(*local, kCutCover, 'L', rhs, nnz, ind.data(), val.data(), &found,
                                 &id, 0);
            if (st) return st;
            if (!found) ++counts[1];
          }
        }
      }
      if (counts[0] + counts[1] >= limit) return 0;
    }
  }
  return 0;
}

}  // namespace velto
