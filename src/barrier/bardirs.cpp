// Residuals, weights and the Newton direction of the iteration.
#include <algorithm>
#include <cmath>

#include "barrier/barengin.h"
#include "env/par.h"

namespace velto {

namespace {
inline double rowsign(const barprob &bp, int i) {
  const char s = bp.rowsense(i);
  return s == 'L' ? 1.0 : s == 'G' ? -1.0 : 0.0;
}
}  // namespace

void bar_residuals(const barprob &bp, iterate &it, steprec &st) {
  const int n = bp.n, m = bp.m;
  st.rp.assign(m, 0.0);
  st.ru.assign(n, 0.0);
  st.rd.assign(n + m, 0.0);
  double pobj = bp.offset, dobj = bp.offset, comp = 0.0;
  double pinf = 0.0, uinf = 0.0, dinf = 0.0;
  double xn = 0.0, xcn = 0.0, yn = 0.0, zn = 0.0;
  for (int i = 0; i < m; ++i) {
    st.rp[i] = bp.rhs[i] - rowsign(bp, i) * it.x[n + i];
    dobj += bp.rhs[i] * it.y[i];
    yn += std::fabs(it.y[i]);
  }
  for (int j = 0; j < n; ++j) {
    double ay = 0.0;
    for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) {
      st.rp[bp.colind[k]] -= bp.colval[k] * it.x[j];
      ay += bp.colval[k] * it.y[bp.colind[k]];
    }
    double r = bp.obj[j] - ay;
    const double cs = bp.colscale.empty() ? 1.0 : bp.colscale[j];
    pobj += bp.obj[j] * it.x[j];
    xcn += std::fabs(it.x[j]) * cs;
    if (bp.haslow[j]) {
      r -= it.z[j];
      comp += it.x[j] * it.z[j];
      zn += std::fabs(it.z[j]);
    }
    if (bp.hasup[j]) {
      r += it.w[j];
      st.ru[j] = bp.upper[j] - it.x[j] - it.s[j];
      uinf += std::fabs(st.ru[j]) * cs;
      comp += it.s[j] * it.w[j];
      dobj -= bp.upper[j] * it.w[j];
      zn += std::fabs(it.w[j]);
    }
    st.rd[j] = r;
    dinf += std::fabs(r);
  }
  xn = xcn;
  for (int i = 0; i < m; ++i) {
    const double sg = rowsign(bp, i);
    if (sg == 0.0) continue;
    st.rd[n + i] = -sg * it.y[i] - it.z[n + i];
    dinf += std::fabs(st.rd[n + i]);
    comp += it.x[n + i] * it.z[n + i];
    xn += std::fabs(it.x[n + i]) / (bp.rowscale.empty() ? 1.0 : bp.rowscale[i]);
    zn += std::fabs(it.z[n + i]);
  }
  double rowmax = 0.0;
  for (int i = 0; i < m; ++i) {
    const double rs = bp.rowscale.empty() ? 1.0 : bp.rowscale[i];
    pinf += std::fabs(st.rp[i]) / rs;
    rowmax = std::max(rowmax, std::fabs(st.rp[i]) / (rs + std::fabs(bp.rhs[i])));
  }
  it.prowmax = rowmax;
  it.pobj = pobj;
  it.dobj = dobj;
  it.gap = pobj - dobj;
  it.comp = comp;
  it.priminf = pinf;
  it.uppinf = uinf;
  it.dualinf = dinf;
  it.xnorm = xn;
  it.xcnorm = xcn;
  it.ynorm = yn;
  it.znorm = zn;
  it.primrel = (pinf + uinf) / (xn + 1.0);
  it.dualrel = dinf / (yn + 1.0 + zn);
}

void bar_weights(const barprob &bp, const iterate &it, std::vector<double> &d) {
  const int n = bp.n, m = bp.m;
  d.assign(n + m, 0.0);
  for (int j = 0; j < n; ++j) {
    double den = 0.0;
    if (bp.haslow[j]) den += it.z[j] / it.x[j];
    if (bp.hasup[j]) den += it.w[j] / it.s[j];
    if (den > 0.0) d[j] = 1.0 / den;
  }
  for (int i = 0; i < m; ++i)
    if (rowsign(bp, i) != 0.0) d[n + i] = it.x[n + i] / it.z[n + i];
  if (bp.freelist.empty()) return;
  // Free columns: a weight large against the others, so that their
  // direction nearly meets their dual equation.
  double dmax = 0.0, h = 0.0;
  int k = 0;
  for (int j = 0; j < n + m; ++j) {
    if (j < n && !bp.haslow[j] && !bp.hasup[j]) continue;
    if (j >= n && rowsign(bp, j - n) == 0.0) continue;
    dmax = std::max(dmax, d[j]);
    if (d[j] >= 1.0) {
      h += 1.0 / d[j];
      ++k;
    }
  }
  double g = 1e8;
  if (k > 0) {
    const double t = 1e6 / (h / k);
    g = t > dmax ? dmax : std::sqrt(dmax * t);
  }
  double xmax = 0.0;
  for (int j : bp.freelist) xmax = std::max(xmax, std::fabs(it.x[j]));
  if (xmax == 0.0) xmax = 1.0;
  for (int j : bp.freelist) d[j] = std::max(std::fabs(it.x[j]), xmax * 1e-6) / xmax * g;
}

int bar_direction(env *e, const barprob &bp, const cholrec &c, const iterate &it, steprec &st,
                  int rounds) {
  return guarded([&]() -> int {
    const int n = bp.n, m = bp.m;
    const std::vector<double> &d = st.weights;
    std::vector<double> rhat(n + m, 0.0), rhs(st.rp);
    for (int j = 0; j < n; ++j) {
      double r = st.rd[j];
      if (bp.haslow[j]) r -= st.rxz[j] / it.x[j];
      if (bp.hasup[j]) r += (st.rsw[j] - it.w[j] * st.ru[j]) / it.s[j];
      rhat[j] = r;
      const double t = d[j] * r;
      if (t != 0.0)
        for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) rhs[bp.colind[k]] += bp.colval[k] * t;
    }
    for (int i = 0; i < m; ++i) {
      const double sg = rowsign(bp, i);
      if (sg == 0.0) continue;
      rhat[n + i] = st.rd[n + i] - st.rxz[n + i] / it.x[n + i];
      rhs[i] += sg * d[n + i] * rhat[n + i];
    }
    int s = normal_solve(e, bp, c, d, st.dy, rhs, rounds);
    if (s) return s;
    st.dx.assign(n + m, 0.0);
    st.dz.assign(n + m, 0.0);
    st.ds.assign(n, 0.0);
    st.dw.assign(n, 0.0);
    // dx = D (A' dy - rhat), adding D A' v for a correction v of dy.
    auto addx = [&](const std::vector<double> &v, bool first) {
      for (int j = 0; j < n; ++j) {
        double av = 0.0;
        for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) av += bp.colval[k] * v[bp.colind[k]];
        st.dx[j] += d[j] * (first ? av - rhat[j] : av);
      }
      for (int i = 0; i < m; ++i) {
        const double sg = rowsign(bp, i);
        if (sg != 0.0) st.dx[n + i] += d[n + i] * (first ? sg * v[i] - rhat[n + i] : sg * v[i]);
      }
    };
    addx(st.dy, true);
    // Refinement against the primal equations themselves: the normal
    // equations may be solved well while A dx misses rp by much when the
    // weights spread over many orders of magnitude.  The target is relative to the primal residual itself: a direction
    // that misses A dx = rp by more than a tenth of rp undoes the primal
    // progress of the step.
    double rpsum = 0.0;
    for (int i = 0; i < m; ++i)
      if (c.freerow.empty() || !c.freerow[c.perm[i]]) rpsum += std::fabs(st.rp[i]);
    const double target = std::max({std::min(0.2 * it.comp, 0.1 * rpsum), (it.xnorm + 1) * 1e-10, 1e-10});
    std::vector<double> q(m), best_dx, best_dy, corr;
    double last = 1e300, orig = -1, fin = 0.0;
    int round = 0;
    for (; round < 10; ++round) {
      for (int i = 0; i < m; ++i) q[i] = st.rp[i] - rowsign(bp, i) * st.dx[n + i];
      for (int j = 0; j < n; ++j)
        for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) q[bp.colind[k]] -= bp.colval[k] * st.dx[j];
      double r = 0.0;
      for (int i = 0; i < m; ++i)
        if (c.freerow.empty() || !c.freerow[c.perm[i]]) r += std::fabs(q[i]);
      if (orig < 0) orig = r;
      fin = std::min(r, last);
      if (r >= last) {
        st.dx = best_dx, st.dy = best_dy;
        break;
      }
      if (r < target) break;
      last = r;
      best_dx = st.dx, best_dy = st.dy;
      s = chol_solve(e, c, corr, q, false, nullptr);
      if (s) return s;
      for (int i = 0; i < m; ++i) st.dy[i] += corr[i];
      addx(corr, false);
    }
    if (e->barparams->bardisplay > 1)
      msg(e->reschannel, "Refinement - orig %.2e, refined %.2e, target %.2e, %d iter\n", orig, fin, target, round);
    for (int j = 0; j < n; ++j) {
      const double dx = st.dx[j];
      if (bp.haslow[j]) st.dz[j] = (st.rxz[j] - it.z[j] * dx) / it.x[j];
      if (bp.hasup[j]) {
        st.ds[j] = st.ru[j] - dx;
        st.dw[j] = (st.rsw[j] - it.w[j] * st.ds[j]) / it.s[j];
      }
    }
    for (int i = 0; i < m; ++i)
      if (rowsign(bp, i) != 0.0) st.dz[n + i] = (st.rxz[n + i] - it.z[n + i] * st.dx[n + i]) / it.x[n + i];
    return 0;
  });
}

}  // namespace velto
