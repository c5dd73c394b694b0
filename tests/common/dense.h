// Dense linear algebra for checking the sparse kernels on small models.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

namespace densela {

// Gauss-Jordan inverse with partial pivoting of a row-major square matrix;
// false when a pivot falls below 1e-12 (singular for the test's purposes).
inline bool invert(std::vector<double> a, int m, std::vector<double> &inv) {
  inv.assign(static_cast<size_t>(m) * m, 0.0);
  for (int i = 0; i < m; ++i) inv[i * m + i] = 1.0;
  for (int c = 0; c < m; ++c) {
    int p = c;
    for (int r = c + 1; r < m; ++r)
      if (std::fabs(a[r * m + c]) > std::fabs(a[p * m + c])) p = r;
    if (std::fabs(a[p * m + c]) < 1e-12) return false;
    for (int k = 0; k < m; ++k) {
      std::swap(a[p * m + k], a[c * m + k]);
      std::swap(inv[p * m + k], inv[c * m + k]);
    }
    const double d = a[c * m + c];
    for (int k = 0; k < m; ++k) {
      a[c * m + k] /= d;
      inv[c * m + k] /= d;
    }
    for (int r = 0; r < m; ++r) {
      if (r == c || a[r * m + c] == 0.0) continue;
      const double f = a[r * m + c];
      for (int k = 0; k < m; ++k) {
        a[r * m + k] -= f * a[c * m + k];
        inv[r * m + k] -= f * inv[c * m + k];
      }
    }
  }
  return true;
}

}  // namespace densela
