// Dual ratio test with bound flipping (long step) and Harris tolerances.
#include <algorithm>
#include <cmath>

#include "simplex/dualcore.h"

namespace velto {

// Picks the entering variable for a leaving row whose primal infeasibility is
// `slope`.  sgn is +1 when the leaving variable goes to its upper bound (its
// value is above it), -1 when it goes to its lower bound.  The pivot row is
// e.row.  Boxed variables whose breakpoints are passed while the slope of the
// dual objective stays positive are returned in flips.
int dual_ratio(dualengine &e, double slope, int sgn, std::vector<int> &flips,
               double &theta, int longstep) {
  const std::vector<double> &alpha = e.row.val;
  const double tol = e.harris;
  const double pivtol = e.opt.pivtol;
  flips.clear();
  std::vector<bfrtcand> &cs = e.cands;
  cs.clear();
  for (int k = 0; k < e.row.nnz; ++k) {
    int j = e.row.ind[k];
    int st = e.status[j];
    if (st == 1) continue;
    double lo = e.wlb[j], up = e.wub[j];
    if (lo == up) continue;
    double a = sgn * alpha[j];
    double dj = e.d[j];
    bfrtcand c;
    c.j = j;
    c.a = a;
    if (st == 0) {
      if (a <= pivtol) continue;
      c.t = dj / a;
      c.tbound = (dj + tol) / a;
    } else if (st == 2) {
      if (a >= -pivtol) continue;
      c.t = dj / a;
      c.tbound = (dj - tol) / a;
    } else {
      if (std::fabs(a) <= pivtol) continue;
      c.t = std::fabs(dj) / std::fabs(a);
      if ((dj > 0) != (a > 0)) c.t = 0.0;
      c.tbound = (std::fabs(dj) + tol) / std::fabs(a);
      if ((dj > 0) != (a > 0)) c.tbound = tol / std::fabs(a);
    }
    bool boxed = lo > -1e19 && up < 1e19 && st != 3;
    c.range = boxed ? (up - lo) : 1e75;
    cs.push_back(c);
  }
  int q = -1;
  size_t lo = 0;
  // Sorting once by the tolerant breakpoint lets each group be a prefix of
  // what remains.
  std::sort(cs.begin(), cs.end(), [](const bfrtcand &x, const bfrtcand &y) {
    return x.tbound < y.tbound || (x.tbound == y.tbound && x.j < y.j);
  });
  while (lo < cs.size()) {
    // Harris bound over the remaining candidates is the smallest tbound.
    double hb = cs[lo].tbound;
    size_t hi = lo;
    double dec = 0.0;
    // Group: every remaining candidate whose exact breakpoint is within hb.
    // Since candidates are sorted by tbound, scan forward while t <= hb is
    // possible; tbound >= t, so once tbound exceeds hb + the largest tol
    // share no member can follow.  A simple full scan of the rest is used
    // for candidates with tbound close to hb.
    std::vector<size_t> &grp = e.group;
    grp.clear();
    for (size_t k = lo; k < cs.size(); ++k) {
      if (cs[k].t <= hb) {
        grp.push_back(k);
        dec += std::fabs(cs[k].a) * cs[k].range;
      }
      if (cs[k].tbound > hb + 1e3 * (hb + 1.0)) break;
    }
    if (grp.empty()) grp.push_back(lo);
    if (longstep && dec < 1e74 && slope - dec > 0.0) {
      // Pass the whole group: each member flips to its other bound.
      slope -= dec;
      // Move group members to the front of the remaining part.
      for (size_t g : grp) {
        flips.push_back(cs[g].j);
        cs[g].range = -1.0;  // mark passed
      }
      size_t w = lo;
      for (size_t k = lo; k < cs.size(); ++k)
        if (cs[k].range >= 0.0) cs[w++] = cs[k];
      cs.resize(w);
      (void)hi;
      continue;
    }
    // Entering variable: the largest |alpha| in the group.
    double best = -1.0;
    for (size_t g : grp) {
      double v = std::fabs(cs[g].a);
      if (v > best || (v == best && cs[g].j < q)) {
        best = v;
        q = cs[g].j;
        theta = cs[g].t;
      }
    }
    break;
  }
  if (q < 0) theta = 0.0;
  return q;
}

}  // namespace velto
