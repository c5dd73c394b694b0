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
