// Scaling of the working problem: equilibration or geometric scaling.
#include <algorithm>
#include <cmath>

#include "simplex/pwork.h"

namespace velto {

void wprob_rowcopy(wprob &p) {
  p.rbeg.assign(p.m + 1, 0);
  for (int i : p.cind) p.rbeg[i + 1]++;
  for (int i = 0; i < p.m; ++i) p.rbeg[i + 1] += p.rbeg[i];
  p.rind.resize(p.cind.size());
  p.rval.resize(p.cind.size());
  std::vector<int> fill(p.rbeg.begin(), p.rbeg.end() - 1);
  for (int j = 0; j < p.n; ++j)
    for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t) {
      int i = p.cind[t];
      p.rind[fill[i]] = j;
      p.rval[fill[i]++] = p.cval[t];
    }
}

bool wprob_scale_needed(const wprob &p) {
  double mx = 0.0, mn = kInf;
  for (double v : p.cval) {
    double a = std::fabs(v);
    if (a <= 1e-13) continue;
    mx = std::max(mx, a);
    mn = std::min(mn, a);
  }
  if (mx == 0.0) return false;
  return mx > 10.0 || mn < 0.1 || mx / mn > 10.0;
}

int wprob_scale(wprob &p, int mode) {
  const int m = p.m, n = p.n;
  p.rscale.assign(m, 1.0);
  p.vscale.assign(n + m, 1.0);
  if (mode < 0 || m == 0 || n == 0 || !wprob_scale_needed(p)) {
    p.scaled = false;
    return 0;
  }
  std::vector<double> &r = p.rscale;
  std::vector<double> c(n, 1.0);
  auto equilibrate = [&]() {
    std::vector<double> rmax(m, 0.0);
    for (int j = 0; j < n; ++j)
      for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t)
        rmax[p.cind[t]] = std::max(rmax[p.cind[t]], std::fabs(p.cval[t]) / c[j]);
    for (int i = 0; i < m; ++i)
      if (rmax[i] > 0.0) r[i] = rmax[i];
    for (int j = 0; j < n; ++j) {
      double mx = 0.0;
      for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t)
        mx = std::max(mx, std::fabs(p.cval[t]) / r[p.cind[t]]);
      if (mx > 0.0) c[j] = mx;
    }
  };
  if (mode == 1) {
    // Alternating geometric passes while the column ratio improves.
    auto measure_cols = [&]() {
      double w = 1.0;
      for (int j = 0; j < n; ++j) {
        double mx = 0.0, mn = kInf;
        for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t) {
          double a = std::fabs(p.cval[t]);
          if (a <= 1e-13) continue;
          a /= r[p.cind[t]];
          mx = std::max(mx, a);
          mn = std::min(mn, a);
        }
        if (mx > 0.0) {
          c[j] = std::sqrt(mx * mn);
          w = std::max(w, mx / mn);
        }
      }
      return w;
    };
    double w = 1.0;
    for (int j = 0; j < n; ++j) {
      double mx = 0.0, mn = kInf;
      for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t) {
        double a = std::fabs(p.cval[t]);
        if (a <= 1e-13) continue;
        mx = std::max(mx, a);
        mn = std::min(mn, a);
      }
      if (mx > 0.0) w = std::max(w, mx / mn);
    }
    double prev = w >= 1.1111111111111112 ? 1e75 : w;
    std::vector<double> rmx(m), rmn(m);
    for (int pass = 0; pass < 20; ++pass) {
      if (w >= 0.9 * prev && w <= prev + 1e-10) break;
      std::fill(rmx.begin(), rmx.end(), 0.0);
      std::fill(rmn.begin(), rmn.end(), kInf);
      for (int j = 0; j < n; ++j)
        for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t) {
          double a = std::fabs(p.cval[t]);
          if (a <= 1e-13) continue;
          a /= c[j];
          int i = p.cind[t];
          rmx[i] = std::max(rmx[i], a);
          rmn[i] = std::min(rmn[i], a);
        }
      for (int i = 0; i < m; ++i)
        if (rmx[i] > 0.0) r[i] = std::sqrt(rmx[i] * rmn[i]);
      prev = w;
      w = measure_cols();
    }
  }
  equilibrate();
  // Apply: a' = a / (r c), b' = b / r, c' = cost / c, bounds times c.
  for (int j = 0; j < n; ++j) {
    for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t) p.cval[t] /= r[p.cind[t]] * c[j];
    p.vscale[j] = c[j];
  }
  for (int i = 0; i < m; ++i) p.vscale[n + i] = 1.0 / r[i];
  for (int i = 0; i < m; ++i) p.rhs[i] /= r[i];
  for (int j = 0; j < n + m; ++j) {
    double s = p.vscale[j];
    p.cost[j] /= s;
    p.lb[j] *= s;
    p.ub[j] *= s;
  }
  wprob_rowcopy(p);
  p.scaled = true;
  return 1;
}

}  // namespace velto
