// Solves with the normal matrix: the factor's solve and iterative
// refinement against A*D*A' itself.
#include <cmath>
#include <vector>

#include "barrier/barrier.h"

namespace velto {

void normal_product(const barprob &bp, const std::vector<double> &d, const std::vector<double> &x,
                    std::vector<double> &y) {
  y.assign(bp.m, 0.0);
  for (int i = 0; i < bp.m; ++i) y[i] = d[bp.n + i] * x[i];
  for (int j = 0; j < bp.n; ++j) {
    double t = 0.0;
    for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) t += bp.colval[k] * x[bp.colind[k]];
    if (t == 0.0) continue;
    t *= d[j];
    for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) y[bp.colind[k]] += bp.colval[k] * t;
  }
}

int normal_solve(env *e, const barprob &bp, const cholrec &c, const std::vector<double> &d,
                 std::vector<double> &x, const std::vector<double> &rhs, int rounds) {
  int st = chol_solve(e, c, x, rhs, false, nullptr);
  if (st) return st;
  return guarded([&]() -> int {
    std::vector<double> mx, res(bp.m), dx;
    double last = 1e300;
    for (int k = 0; k < rounds; ++k) {
      normal_product(bp, d, x, mx);
      double norm = 0.0;
      for (int i = 0; i < bp.m; ++i) {
        res[i] = rhs[i] - mx[i];
        norm = std::fmax(norm, std::fabs(res[i]));
      }
      if (norm == 0.0 || norm >= 0.5 * last) break;
      last = norm;
      int s = chol_solve(e, c, dx, res, false, nullptr);
      if (s) return s;
      for (int i = 0; i < bp.m; ++i) x[i] += dx[i];
    }
    return 0;
  });
}

}  // namespace velto
