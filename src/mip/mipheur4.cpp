// Local search by flips: the integer columns rounded down from a start
// point, steps of one unit that lower the rows' total violation (each row
// measured against the range its continuous columns can still cover),
// and with no violation left the continuous rest solved on the work copy.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "env/par.h"
#include "mip/mipheur.h"

namespace velto {

namespace {

// Violation of a row whose activity can lie anywhere in [lo, hi].
double rowviol(const heurstate &hs, int i, double lo, double hi, double tol) {
  double v = 0.0;
  if (hs.rhi[i] < 1e20 && lo > hs.rhi[i] + tol) v += lo - hs.rhi[i];
  if (hs.rlo[i] > -1e20 && hi < hs.rlo[i] - tol) v += hs.rlo[i] - hi;
  return v;
}

}  // namespace

int heurrest(heurcall &hc, const std::vector<double> &xi, const char *method) {
  miprun &r = *hc.r;
  int st = heurreset(hc);
  if (st) return st;
  std::vector<int> idx;
  std::vector<double> v;
  for (int j = 0; j < r.n; ++j)
    if (r.ctype[j] != 'C') idx.push_back(j), v.push_back(xi[j]);
  if ((st = heurbounds(hc, idx, v, v)) != 0) return st;
  double obj = 0.0;
  if (!heursolve(hc, &obj)) return 0;
  return heurcheck(hc, method, obj);
}

int flipheur(heurcall &hc, const std::vector<double> &start) {
  miprun &r = *hc.r;
  heurstate &hs = *hc.hs;
  const int n = r.n, m = hs.m;
  const double ep = r.ctl.epint, tol = r.e->params->eprhs;
  hc.found = 0;
  std::vector<double> xi(std::max(n, 1), 0.0);
  std::vector<double> lo(m, 0.0), hi(m, 0.0);
  std::vector<int> loinf(m, 0), hiinf(m, 0);
  std::vector<int> ints;
  for (int j = 0; j < n; ++j) {
    if (r.ctype[j] != 'C') {
      xi[j] = std::clamp(std::floor(start[j] + ep), hc.lb[j], hc.ub[j]);
      if (std::fabs(xi[j]) >= 1e20) return 0;
      ints.push_back(j);
    }
    for (int k = hs.cbeg[j]; k < hs.cbeg[j + 1]; ++k) {
      int i = hs.cind[k];
      double a = hs.cval[k];
      double l = r.ctype[j] != 'C' ? xi[j] : a > 0 ? hc.lb[j] : hc.ub[j];
      double u = r.ctype[j] != 'C' ? xi[j] : a > 0 ? hc.ub[j] : hc.lb[j];
      if (std::fabs(l) >= 1e20) ++loinf[i]; else lo[i] += a * l;
      if (std::fabs(u) >= 1e20) ++hiinf[i]; else hi[i] += a * u;
    }
  }
  auto lof = [&](int i) { return loinf[i] ? -1e75 : lo[i]; };
  auto hif = [&](int i) { return hiinf[i] ? 1e75 : hi[i]; };
  double total = 0.0;
  for (int i = 0; i < m; ++i) total += rowviol(hs, i, lof(i), hif(i), tol);
  if (total <= 0.0) return heurrest(hc, xi, "local search");
  const long long cap = 20LL * static_cast<long long>(hs.cind.size()) + 10000;
  long long work = 0;
  for (int passes = 0; passes < 100 && work < cap; ++passes) {
    std::shuffle(ints.begin(), ints.end(), hs.rng);
    bool moved = false;
    for (int j : ints) {
      for (int step : {1, -1}) {
        double nv = xi[j] + step;
        if (nv < hc.lb[j] - ep || nv > hc.ub[j] + ep) continue;
        double change = 0.0;
        work += hs.cbeg[j + 1] - hs.cbeg[j];
        for (int k = hs.cbeg[j]; k < hs.cbeg[j + 1]; ++k) {
          int i = hs.cind[k];
          double d = hs.cval[k] * step;
          change += rowviol(hs, i, lof(i) + d, hif(i) + d, tol) - rowviol(hs, i, lof(i), hif(i), tol);
        }
        if (change < -1e-9) {
          xi[j] = nv;
          for (int k = hs.cbeg[j]; k < hs.cbeg[j + 1]; ++k) {
            lo[hs.cind[k]] += hs.cval[k] * step;
            hi[hs.cind[k]] += hs.cval[k] * step;
          }
          total += change;
          moved = true;
          break;
        }
      }
      if (total <= 1e-9) break;
    }
    if (total <= 1e-9) {
      // recount from scratch before trusting the running sum
      double t = 0.0;
      for (int i = 0; i < m; ++i) t += rowviol(hs, i, lof(i), hif(i), tol);
      if (t <= 1e-9) return heurrest(hc, xi, "local search");
      total = t;
    }
    if (!moved) break;
  }
  return 0;
}

int flipstart(heurcall &hc, int side) {
  miprun &r = *hc.r;
  const std::vector<double> &glb = r.bb->ns.glb, &gub = r.bb->ns.gub;
  std::vector<double> s(std::max(r.n, 1), 0.0);
  for (int j = 0; j < r.n; ++j) {
    bool lfin = glb[j] > -1e20, ufin = gub[j] < 1e20;
    if (!lfin && !ufin) return 0;
    if (r.ctype[j] == 'C') s[j] = lfin ? glb[j] : gub[j];
    else if (side == 0) s[j] = lfin ? glb[j] : gub[j];
    else s[j] = ufin ? gub[j] : glb[j];
  }
  return flipheur(hc, s);
}

}  // namespace velto
