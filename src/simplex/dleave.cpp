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
  const double ftol = e.phase == 1 ? 1e-7 : e.opt.feastol;
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
  // Each round finds the Harris bound of the remaining candidates and the
  // group of breakpoints within it; a group whose boxes the slope can pay
  // for is passed (its members flip), otherwise it holds the entering
  // variable.  The first rounds scan; when many rounds are needed the rest
  // is sorted by the tolerant breakpoint so that a round only looks at the
  // front of the list.
  const double reach = tol / pivtol;  // most a breakpoint lies below its bound
  size_t lo = 0, nrem = cs.size();
  bool sorted = false;
  int rounds = 0;
  std::vector<size_t> &grp = e.group;
  while (lo < nrem) {
    if (!sorted && ++rounds > 4 && nrem - lo > 32) {
      std::sort(cs.begin() + lo, cs.begin() + nrem, [](const bfrtcand &x, const bfrtcand &y) {
        return x.tbound < y.tbound || (x.tbound == y.tbound && x.j < y.j);
      });
      sorted = true;
    }
    double hb = 1e300;
    if (sorted) {
      hb = cs[lo].tbound;
    } else {
      for (size_t k = lo; k < nrem; ++k) hb = std::min(hb, cs[k].tbound);
    }
    grp.clear();
    double dec = 0.0;
    for (size_t k = lo; k < nrem; ++k) {
      if (sorted && cs[k].tbound > hb + reach) break;
      if (cs[k].range >= 0.0 && cs[k].t <= hb) {
        grp.push_back(k);
        dec += std::fabs(cs[k].a) * cs[k].range;
      }
    }
    if (grp.empty()) {
      for (size_t k = lo; k < nrem; ++k)
        if (cs[k].range >= 0.0 && cs[k].tbound == hb) grp.push_back(k);
      dec = 1e75;
    }
    // A group that leaves the row within the feasibility tolerance is not
    // passed when nothing lies beyond it: the row can be made feasible,
    // and passing would turn the last entering candidate into a false
    // proof of infeasibility.
    bool pass = longstep && dec < 1e74 && slope - dec > 0.0;
    if (pass && slope - dec <= ftol) {
      size_t beyond = 0;
      for (size_t k = lo; k < nrem; ++k)
        if (cs[k].range >= 0.0) ++beyond;
      pass = beyond > grp.size();
    }
    if (pass) {
      // Pass the whole group: each member flips to its other bound.
      slope -= dec;
      for (size_t g : grp) {
        flips.push_back(cs[g].j);
        cs[g].range = -1.0;
      }
      if (sorted) {
        while (lo < nrem && cs[lo].range < 0.0) ++lo;
      } else {
        size_t w = lo;
        for (size_t k = lo; k < nrem; ++k)
          if (cs[k].range >= 0.0) cs[w++] = cs[k];
        nrem = w;
      }
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
