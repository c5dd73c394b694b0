// Builds the engine's working problem from a model given by arrays.
#include <cmath>

#include "simplex/build.h"

namespace velto {

static double tobound(double v) {
  if (v >= 1e20) return kInf;
  if (v <= -1e20) return -kInf;
  return v;
}

int wprob_build(const lpview &v, wprob &p, int *badcol) {
  const int m = v.nrows, n = v.ncols;
  p.m = m;
  p.n = n;
  p.objsen = v.objsen;
  p.objconst = v.objconst;
  p.cbeg.assign(n + 1, 0);
  p.cind.clear();
  p.cval.clear();
  for (int j = 0; j < n; ++j) {
    for (int t = v.matbeg[j]; t < v.matbeg[j] + v.matcnt[j]; ++t) {
      if (v.matval[t] == 0.0) continue;
      p.cind.push_back(v.matind[t]);
      p.cval.push_back(v.matval[t]);
    }
    p.cbeg[j + 1] = (int)p.cind.size();
  }
  p.cost.assign(n + m, 0.0);
  p.lb.assign(n + m, 0.0);
  p.ub.assign(n + m, 0.0);
  p.rhs.assign(v.rhs, v.rhs + m);
  int status = 0;
  if (badcol) *badcol = -1;
  for (int j = 0; j < n; ++j) {
    p.cost[j] = v.objsen * v.obj[j];
    p.lb[j] = tobound(v.lb[j]);
    p.ub[j] = tobound(v.ub[j]);
    if (std::isfinite(p.lb[j]) && std::isfinite(p.ub[j])) {
      double w = p.ub[j] - p.lb[j];
      if (w < -1e-10) {
        if (status == 0 && badcol) *badcol = j;
        status = 1100;
      } else if (w < 1e-10) {
        p.ub[j] = p.lb[j];  // fixed
      }
    }
  }
  // Logical s_i = rhs_i - a_i x.
  for (int i = 0; i < m; ++i) {
    double &l = p.lb[n + i], &u = p.ub[n + i];
    switch (v.sense[i]) {
      case 'L': l = 0.0; u = kInf; break;
      case 'G': l = -kInf; u = 0.0; break;
      case 'R': {
        double r = v.rngval ? v.rngval[i] : 0.0;
        if (r >= 0) { l = -r; u = 0.0; } else { l = 0.0; u = -r; }
        break;
      }
      default: l = 0.0; u = 0.0; break;
    }
  }
  p.scaled = false;
  p.rscale.assign(m, 1.0);
  p.vscale.assign(n + m, 1.0);
  wprob_rowcopy(p);
  return status;
}

}  // namespace velto
