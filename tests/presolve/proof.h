// Independent checks of the proofs an optimizer gives when a model has no
// optimum: a Farkas row for an infeasible model.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "presolve/kkt.h"

namespace presolve_test {

// y (or -y) proves infeasibility when y'Ax <= y'r holds on the row sides
// while the smallest (y'A)x over the bounds is larger; returns that gap
// (negative when neither proves anything).
inline double farkas_gap(const model &m, const std::vector<double> &y0) {
  auto eval = [&](double sg) {
    double side = 0.0, low = 0.0;
    for (int i = 0; i < m.m; ++i) {
      const double y = sg * y0[i];
      double lo = -1e30, hi = 1e30;
      switch (m.sense[i]) {
        case 'L': hi = m.rhs[i]; break;
        case 'G': lo = m.rhs[i]; break;
        case 'E': lo = hi = m.rhs[i]; break;
        default:
          lo = m.rhs[i] + std::min(0.0, m.rng[i]);
          hi = m.rhs[i] + std::max(0.0, m.rng[i]);
      }
      if (y > 1e-12) {
        if (hi >= 1e30) return -1e300;
        side += y * hi;
      } else if (y < -1e-12) {
        if (lo <= -1e30) return -1e300;
        side += y * lo;
      }
    }
    for (int j = 0; j < m.n; ++j) {
      // Cancellation noise below 1e-9 of the terms does not count.
      double z = 0.0, size = 1.0;
      for (int k = m.beg[j]; k < m.beg[j + 1]; ++k) {
        z += sg * y0[m.ind[k]] * m.val[k];
        size += std::fabs(y0[m.ind[k]] * m.val[k]);
      }
      if (std::fabs(z) <= 1e-9 * size) continue;
      if (z > 0) {
        if (m.lb[j] <= -1e20) return -1e300;
        low += z * m.lb[j];
      } else {
        if (m.ub[j] >= 1e20) return -1e300;
        low += z * m.ub[j];
      }
    }
    return low - side;
  };
  return std::max(eval(1.0), eval(-1.0));
}

}  // namespace presolve_test
