// Step ratios, the merit of a direction, the complementarity after a step
// and the central corrections.
#include <algorithm>
#include <cmath>

#include "barrier/barengin.h"

namespace velto {

namespace {
// Calls f(v, dv, u, du, pos) for every complementarity pair: the primal
// value and step, the dual value and step, and the index into rxz (pos)
// or rsw (pos < 0: column -pos - 1).
template <class F>
void pairs(const barprob &bp, const iterate &it, const steprec &st, F f) {
  const int n = bp.n;
  for (int j = 0; j < n; ++j) {
    if (bp.haslow[j]) f(it.x[j], st.dx[j], it.z[j], st.dz[j], j);
    if (bp.hasup[j]) f(it.s[j], st.ds[j], it.w[j], st.dw[j], -j - 1);
  }
  for (int i = 0; i < bp.m; ++i)
    if (bp.rowsense(i) != 'E') f(it.x[n + i], st.dx[n + i], it.z[n + i], st.dz[n + i], n + i);
}
}  // namespace

void bar_ratios(const barprob &bp, const iterate &it, const steprec &st, double &prirat,
                double &duarat) {
  double p = 1.05, d = 1.05;
  pairs(bp, it, st, [&](double v, double dv, double u, double du, int) {
    if (v + p * dv < 0.0) p = -v / dv;
    if (u + d * du < 0.0) d = -u / du;
  });
  // A step that would raise complementarity along the longer side is cut
  // to the shorter one.
  if (p < d) {
    double ex = 0.0;
    pairs(bp, it, st, [&](double v, double, double, double du, int) { ex += v * du; });
    if (ex > 0.0) d = p;
  } else if (d < p) {
    double ex = 0.0;
    pairs(bp, it, st, [&](double, double dv, double u, double, int) { ex += u * dv; });
    if (ex > 0.0) p = d;
  }
  prirat = p;
  duarat = d;
}

double bar_merit(const iterate &it, double prirat, double duarat) {
  const double cap = 1.000050002500125;
  const double p = std::min(prirat, cap), d = std::min(duarat, cap);
  const double prel = it.uppinf / (it.xcnorm + 1.0) + it.priminf / (it.xnorm + 1.0);
  const double drel = it.dualinf / (it.ynorm + 1.0 + it.znorm);
  return prel <= drel ? p + d + d : p + p + d;
}

double bar_compafter(const barprob &bp, const iterate &it, const steprec &st, double ap, double ad) {
  double g = 0.0;
  pairs(bp, it, st, [&](double v, double dv, double u, double du, int) { g += (v + ap * dv) * (u + ad * du); });
  return g;
}

int bar_central(const barprob &bp, const iterate &it, steprec &st, double prirat, double duarat) {
  const double ap = std::min(1.0, 1.2 * prirat + 0.1), ad = std::min(1.0, 1.2 * duarat + 0.1);
  double sum = 0.0;
  int k = 0;
  pairs(bp, it, st, [&](double v, double dv, double u, double du, int) {
    sum += (v + ap * dv) * (u + ad * du);
    ++k;
  });
  if (k == 0) return 0;
  double avg = sum / k;
  if (avg < 0.0) avg = st.mu / k;
  const double lo = 0.1 * avg, hi = 10.0 * avg;
  int touched = 0;
  std::vector<double> &rxz = st.rxz, &rsw = st.rsw;
  pairs(bp, it, st, [&](double v, double dv, double u, double du, int pos) {
    const double prod = (v + ap * dv) * (u + ad * du);
    double t = 0.0;
    if (prod < lo) t = lo - prod;
    else if (prod > hi) t = std::max(hi - prod, -hi);
    else return;
    double &r = pos >= 0 ? rxz[pos] : rsw[-pos - 1];
    // The linearized product v * u + r must stay non-negative.
    r = std::max(r + t, -v * u);
    ++touched;
  });
  return touched;
}

}  // namespace velto
