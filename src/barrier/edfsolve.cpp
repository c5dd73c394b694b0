// Solves with the factor: forward substitution and the diagonal, with the
// test of dropped pivots; the backward substitution is in edbsolve.
#include <cmath>
#include <vector>

#include "barrier/barrier.h"
#include "barrier/edkernel.h"

namespace velto {

void chol_backward(const cholrec &c, std::vector<double> &y);

int chol_solve(env *e, const cholrec &c, std::vector<double> &x, const std::vector<double> &rhs,
               bool check, int *flag) {
  (void)e;
  return guarded([&]() -> int {
    const int n = c.n;
    if (flag) *flag = 0;
    x.assign(c.m, 0.0);
    double s = 0.0;
    for (int i = 0; i < c.m; ++i) s += std::fabs(rhs[i]);
    if (s < 1e-15) return 0;
    const double f = std::ldexp(1.0, (int)std::floor(std::log2(s)));
    std::vector<double> y(n, 0.0);
    for (int i = 0; i < c.m; ++i) y[c.perm[i]] = rhs[i] / f;
    // Forward.
    for (int p = 0; p < c.npanels; ++p) {
      const int w = c.pwidth[p], len = c.plen[p], first = c.pfirst[p];
      const int *pat = &c.patind[c.poff[p]];
      const double *val = c.vals.data() + c.pval[p];
      for (int j = 0; j < w; ++j) {
        const double yj = y[first + j];
        if (yj == 0.0) continue;
        for (int i = j + 1; i < len; ++i) y[pat[i]] -= val[panelrow(w, i) + j] * yj;
      }
    }
    // Diagonal.
    const double sd = std::sqrt(c.dscale) * std::fmin(f, 1.0);
    double ymax = 0.0;
    for (int p = 0; p < c.npanels; ++p) {
      const int w = c.pwidth[p], first = c.pfirst[p];
      const double *val = c.vals.data() + c.pval[p];
      for (int j = 0; j < w; ++j) {
        const int col = first + j;
        const double piv = val[panelrow(w, j) + j];
        if (piv == 0.0) {
          if (check && flag) {
            const double z = std::fabs(y[col] * sd);
            const int orig = c.iperm[col];
            const double r = orig < c.m ? std::fabs(rhs[orig]) : 0.0;
            if (z >= 1e-9 && z > (r + 1) * 1e-13 && z > ymax * 1e8 * c.diag[col] * 2.3e-16) *flag = 1;
          }
          y[col] = 0.0;
        } else {
          y[col] /= piv;
          ymax = std::fmax(ymax, std::fabs(y[col]));
        }
      }
    }
    chol_backward(c, y);
    for (int i = 0; i < c.m; ++i) x[i] = y[c.perm[i]] * f * c.dscale;
    return 0;
  });
}

}  // namespace velto
