// The starting point: a least-squares primal point and a dual estimate,
// pushed into the interior by safety margins.
#include <algorithm>
#include <cmath>

#include "barrier/barengin.h"
#include "env/par.h"

namespace velto {

int bar_start(env *e, const barprob &bp, cholrec &c, iterate &it, steprec &st) {
  return guarded([&]() -> int {
    const int n = bp.n, m = bp.m;
    const barparblock *bpar = e->barparams;
    const int alg = bpar->barstartalg;
    auto sgn = [&](int i) {
      const char s = bp.rowsense(i);
      return s == 'L' ? 1.0 : s == 'G' ? -1.0 : 0.0;
    };
    it.x.assign(n + m, 0.0);
    it.z.assign(n + m, 0.0);
    it.s.assign(n, 0.0);
    it.w.assign(n, 0.0);
    it.y.assign(m, 0.0);
    // 1. Least squares for A x = b with unit weights.
    std::vector<double> d(n + m, 0.0);
    for (int j = 0; j < n; ++j) d[j] = 1.0;
    for (int i = 0; i < m; ++i) d[n + i] = sgn(i) != 0.0 ? 1.0 : 0.0;
    int s = chol_factor(e, bp, c, d);
    std::vector<double> v;
    if (s == 0) s = normal_solve(e, bp, c, d, v, bp.rhs, 2);
    if (s) return s;
    for (int j = 0; j < n; ++j) {
      double t = 0.0;
      for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) t += bp.colval[k] * v[bp.colind[k]];
      it.x[j] = t;
    }
    for (int i = 0; i < m; ++i) it.x[n + i] = sgn(i) * v[i];
    double bnorm = 0.0, cnorm = 0.0, cnorm1 = 0.0;
    for (int i = 0; i < m; ++i) bnorm = std::max(bnorm, std::fabs(bp.rhs[i]));
    for (int j = 0; j < n; ++j) {
      cnorm = std::max(cnorm, std::fabs(bp.obj[j]));
      cnorm1 += std::fabs(bp.obj[j]);
    }
    const bool nocost = cnorm == 0.0;
    // 2. Dual estimate.
    if (alg == 2 || alg == 4) {
      std::vector<double> ac(m, 0.0);
      for (int j = 0; j < n; ++j)
        for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) ac[bp.colind[k]] += bp.colval[k] * bp.obj[j];
      s = normal_solve(e, bp, c, d, it.y, ac, 2);
      if (s) return s;
    }
    std::vector<double> dj(n + m, 0.0);
    for (int j = 0; j < n; ++j) {
      if (!bp.haslow[j] && !bp.hasup[j]) continue;
      double t = bp.obj[j];
      for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) t -= bp.colval[k] * it.y[bp.colind[k]];
      dj[j] = t;
    }
    for (int i = 0; i < m; ++i) dj[n + i] = -sgn(i) * it.y[i];
    // 3. Without costs, bounded columns go to the middle.
    for (int j = 0; j < n; ++j)
      if (bp.hasup[j]) {
        if (nocost) it.x[j] = (it.x[j] + bp.upper[j]) / 2;
        it.s[j] = bp.upper[j] - it.x[j];
      }
    // 4 to 6. The primal margin.
    double p = 1.0;
    if (alg == 1 || alg == 2) {
      double lowest = -1.0;
      for (int j = 0; j < n; ++j) {
        if (bp.haslow[j]) lowest = std::min(lowest, it.x[j]);
        if (nocost && bp.hasup[j]) lowest = std::min(lowest, it.s[j]);
      }
      for (int i = 0; i < m; ++i)
        if (sgn(i) != 0.0) lowest = std::min(lowest, it.x[n + i]);
      const double psafe = -lowest;
      if (bpar->bardisplay > 1) msg(e->reschannel, "solved psafe was %20.13e\n", psafe);
      p = std::max(psafe, 0.01 * bnorm);
      if (p < 100) {
        if (psafe < 0.1 * bnorm) p = psafe >= 100 ? psafe : bnorm + 1;
        else if (psafe >= bnorm && psafe <= 1) p = 10;
        else if (bnorm > 10) p = std::max(psafe, 10.0);
        else p = std::max(psafe, 1.0);
      }
      double r = 1e75;
      for (int j = 0; j < n; ++j)
        if (bp.haslow[j] && bp.hasup[j]) r = std::min(r, bp.upper[j]);
      if (r < 0.001) {
        const double t = r * 1e7 + 1;
        if (p > t) p = t;
        else if (p > 1000) p = 100;
      }
    } else {
      double sum = 0.0;
      int cnt = 0;
      for (int j = 0; j < n; ++j)
        if (bp.haslow[j]) sum += std::fabs(it.x[j]), ++cnt;
      for (int i = 0; i < m; ++i)
        if (sgn(i) != 0.0) sum += std::fabs(it.x[n + i]), ++cnt;
      p = cnt > 0 && sum > 0 ? sum / cnt : 1.0;
    }
    // 7, 8. The dual margin.
    double dsafe = 1.0;
    if (alg == 1 || alg == 3) {
      if (p / 12 > 1) {
        dsafe = cnorm1 + 1 < 0.1 * p ? cnorm1 + 1 : p / 12;
      } else {
        bool signs = true;
        for (int j = 0; j < n; ++j) {
          if (bp.obj[j] < 0 && !bp.hasup[j]) signs = false;
          if (bp.obj[j] > 0 && !bp.haslow[j]) signs = false;
        }
        if (signs && n > 0 && cnorm1 / n > 1) dsafe = cnorm1 / n;
      }
    } else {
      double lo = 1e75;
      for (int j = 0; j < n + m; ++j)
        if (dj[j] != 0.0) lo = std::min(lo, std::fabs(dj[j]));
      dsafe = std::max(lo < 1e75 ? lo : 1.0, 1.0);
    }
    if (!bp.freelist.empty()) {
      double sum = 0.0;
      int cnt = 0;
      for (int j = 0; j < n; ++j)
        if (bp.obj[j] != 0.0) sum += std::fabs(bp.obj[j]), ++cnt;
      dsafe = std::max({dsafe, cnt ? sum / cnt : 0.0, 1000.0});
    }
    if (bpar->bardisplay > 1) {
      msg(e->reschannel, "bnorm was %20.13e\n", bnorm);
      msg(e->reschannel, "cnorm was %20.13e\n", cnorm);
      msg(e->reschannel, " Primal safe is %20.13e\n", p);
      msg(e->reschannel, " Dual   safe is %20.13e\n", dsafe);
    }
    if (bpar->p3005 > 0) p = bpar->p3005;
    if (bpar->p3001 > 0) dsafe = bpar->p3001;
    // 11. Into the interior.
    auto safe = [](double v, double lim) { return v > lim ? v : std::fabs(v) > lim ? std::fabs(v) : lim; };
    for (int j = 0; j < n; ++j) {
      if (bp.haslow[j]) it.x[j] = safe(it.x[j], p);
      if (bp.hasup[j]) it.s[j] = safe(it.s[j], p);
      const double zj = dj[j];
      if (bp.haslow[j] && bp.hasup[j]) {
        if (zj > dsafe) it.z[j] = zj + dsafe, it.w[j] = dsafe;
        else if (zj < -dsafe || zj <= 0) it.z[j] = dsafe, it.w[j] = dsafe - zj;
        else it.z[j] = zj + dsafe, it.w[j] = dsafe;
      } else if (bp.haslow[j]) {
        it.z[j] = safe(zj, dsafe);
      } else if (bp.hasup[j]) {
        it.w[j] = safe(-zj, dsafe);
      }
    }
    for (int i = 0; i < m; ++i)
      if (sgn(i) != 0.0) {
        it.x[n + i] = safe(it.x[n + i], p);
        it.z[n + i] = safe(dj[n + i], dsafe);
      }
    double t = 0.0;
    for (int j = 0; j < n + m; ++j) t = std::max(t, std::fabs(it.x[j]));
    for (int j = 0; j < n; ++j)
      if (bp.hasup[j]) t = std::max(t, std::fabs(it.s[j]));
    st.startscale = t + 1.0;
    return 0;
  });
}

}  // namespace velto
