// Two-pass (Harris) ratio test of the primal simplex, both phases.
#include <algorithm>
#include <cmath>

#include "simplex/pengine.h"

namespace velto {

// The entering variable q moves in direction dir (+1 up, -1 down); basic
// position k changes at rate -dir * alpha_k.  In phase 1 a variable below
// its lower bound blocks when it reaches that bound and one above its upper
// bound when it comes down to it; feasible variables block at both bounds.
// Returns 0 with the leaving position r (or r = -1 for a bound flip of q),
// or 2 when nothing blocks.
int pengine::ratio_primal(int q, int dir, double range, int &r, double &step,
                          int &endstat) {
  (void)q;
  const double pivtol = 1e-7;
  double tmax = kInf;
  double maxabs = 0.0;
  for (int s = 0; s < col.nnz; ++s) {
    int k = col.ind[s];
    double a = dir * col.val[k];
    double aa = std::fabs(a);
    if (aa < pivtol) continue;
    maxabs = std::max(maxabs, aa);
    int j = b.head[k];
    double x = b.x[j], lo = lbw[j], hi = ubw[j];
    if (phase == 1) {
      if (cb[k] < 0) { hi = lo; lo = -kInf; }
      else if (cb[k] > 0) { lo = hi; hi = kInf; }
    }
    double t;
    if (a > 0) {
      if (lo == -kInf) continue;
      t = (x - lo + delta) / a;
    } else {
      if (hi == kInf) continue;
      t = (x - hi - delta) / a;
    }
    if (t < tmax) tmax = t;
  }
  if (tmax == kInf && range == kInf) return 2;
  if (range <= tmax) {
    r = -1;
    step = range;
    endstat = dir > 0 ? kAtUpper : kAtLower;
    return 0;
  }
  // Second pass: the largest pivot among the ratios within the bound.
  double best = 0.0, bestratio = 0.0;
  int bestk = -1, bestend = kAtLower;
  for (int s = 0; s < col.nnz; ++s) {
    int k = col.ind[s];
    double a = dir * col.val[k];
    double aa = std::fabs(a);
    if (aa < pivtol) continue;
    int j = b.head[k];
    double x = b.x[j], lo = lbw[j], hi = ubw[j];
    if (phase == 1) {
      if (cb[k] < 0) { hi = lo; lo = -kInf; }
      else if (cb[k] > 0) { lo = hi; hi = kInf; }
    }
    double t;
    int es;
    if (a > 0) {
      if (lo == -kInf) continue;
      t = (x - lo) / a;
      es = lo == lbw[j] ? kAtLower : kAtUpper;
    } else {
      if (hi == kInf) continue;
      t = (x - hi) / a;
      es = hi == ubw[j] ? kAtUpper : kAtLower;
    }
    if (t > tmax) continue;
    // Prefer large pivots; among near ties, structural columns.
    double merit = aa * (j < n ? 1.0 : 0.4999);
    if (merit > best) { best = merit; bestk = k; bestratio = t; bestend = es; }
  }
  if (bestk < 0) return 2;
  r = bestk;
  step = std::max(bestratio, 0.0);
  endstat = bestend;
  (void)maxabs;
  return 0;
}

}  // namespace velto

namespace velto {

// Phase-1 test that passes breakpoints: the sum of infeasibilities is
// piecewise linear along the ray, with slope starting at -|d_q|; each basic
// variable raises the slope by |alpha| when it reaches a bound (becoming
// feasible, or starting to violate), so a variable below its lower bound may
// pass that bound and block at its upper one.  The step goes to the
// breakpoint where the slope turns non-negative, choosing the largest pivot
// among the breakpoints that lie together there.  Returns as ratio_primal;
// 3 asks the caller to use the one-breakpoint test instead.
int pengine::ratio_primal1(int q, int dir, double dq, double range, int &r,
                           double &step, int &endstat) {
  (void)q;
  const double pivtol = 1e-7;
  bps.clear();
  for (int s = 0; s < col.nnz; ++s) {
    int k = col.ind[s];
    double a = dir * col.val[k];
    double aa = std::fabs(a);
    if (aa < pivtol) continue;
    int j = b.head[k];
    double x = b.x[j], lo = lbw[j], hi = ubw[j];
    if (a > 0) {
      // x decreases: it crosses hi (if above it) and then lo.
      if (cb[k] > 0) bps.push_back({(x - hi) / a, aa, k, 1});
      if (cb[k] >= 0 && lo > -kInf) bps.push_back({(x - lo) / a, aa, k, 0});
    } else {
      if (cb[k] < 0) bps.push_back({(x - lo) / a, aa, k, 0});
      if (cb[k] <= 0 && hi < kInf) bps.push_back({(x - hi) / a, aa, k, 1});
    }
  }
  // Breakpoints come off a heap in rising order only up to the turn: a
  // long column has many, and the step rarely passes more than a few.
  auto later = [](const bpoint &u, const bpoint &v) { return u.t > v.t; };
  std::make_heap(bps.begin(), bps.end(), later);
  // bps[heapn..] holds the passed ones, the latest first.
  size_t heapn = bps.size();
  double slope = -std::fabs(dq);
  bool turned = false;
  while (heapn > 0) {
    if (bps[0].t >= range) break;
    std::pop_heap(bps.begin(), bps.begin() + heapn, later);
    --heapn;
    slope += bps[heapn].a;
    if (slope >= -1e-12) { turned = true; break; }
  }
  if (!turned) {
    if (range < kInf) {
      r = -1;
      step = range;
      endstat = dir > 0 ? kAtUpper : kAtLower;
      return 0;
    }
    return bps.empty() ? 2 : 3;
  }
  // Among the breakpoints within a Harris window of the turning one, the
  // largest pivot.
  const bpoint &turn = bps[heapn];
  double tt = turn.t;
  double tmax = tt + delta / turn.a;
  for (size_t i = 0; i < heapn; ++i) tmax = std::min(tmax, bps[i].t + delta / bps[i].a);
  int best = -1;
  double bestabs = 0.0;
  for (size_t i = 0; i < bps.size(); ++i) {
    if (bps[i].t > tmax) continue;
    if (i > heapn && bps[i].t < tt - 1e-12) continue;
    if (bps[i].a > bestabs) { bestabs = bps[i].a; best = (int)i; }
  }
  if (best < 0 || bestabs < 1e-5) return 3;
  const bpoint &c = bps[best];
  int j = b.head[c.k];
  r = c.k;
  step = std::max(c.t, 0.0);
  endstat = c.upper ? kAtUpper : kAtLower;
  if (c.upper ? ubw[j] == kInf : lbw[j] == -kInf) return 3;
  return 0;
}

}  // namespace velto
