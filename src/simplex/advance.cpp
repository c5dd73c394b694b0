// Start bases: the slack basis and a triangular crash for the primal.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "simplex/pwork.h"

namespace velto {

void pstart_slack(const wprob &p, pbasis &b) {
  const int n = p.n, m = p.m;
  b.stat.assign(n + m, kAtLower);
  b.head.resize(m);
  b.x.assign(n + m, 0.0);
  for (int i = 0; i < m; ++i) {
    b.head[i] = n + i;
    b.stat[n + i] = kBasic;
  }
  for (int j = 0; j < n; ++j) {
    if (std::isfinite(p.lb[j])) b.stat[j] = kAtLower;
    else if (std::isfinite(p.ub[j])) b.stat[j] = kAtUpper;
    else b.stat[j] = kFree;
  }
  pbasis_settle(p, b);
}

// Brings structural columns into the slack basis so that the basis stays
// close to triangular: free columns first, then columns with one bound,
// then boxed ones; each new column must have a large entry in a row no
// earlier column pivots in and stay small in the rows already taken.
void pstart_crash(const wprob &p, pbasis &b) {
  const int n = p.n, m = p.m;
  pstart_slack(p, b);
  struct cand { int group; double score; int j; };
  std::vector<cand> order;
  order.reserve(n);
  for (int j = 0; j < n; ++j) {
    if (p.cbeg[j + 1] == p.cbeg[j]) continue;
    bool hl = std::isfinite(p.lb[j]), hu = std::isfinite(p.ub[j]);
    if (hl && hu && p.lb[j] == p.ub[j]) continue;
    int g;
    double s = 0.0;
    if (!hl && !hu) g = 1;
    else if (hl && !hu) { g = p.lb[j] < 0 ? 2 : 3; s = p.lb[j]; }
    else if (!hl && hu) { g = p.ub[j] > 0 ? 2 : 3; s = -p.ub[j]; }
    else { g = 4; s = p.lb[j] - p.ub[j]; }
    order.push_back({g, s, j});
  }
  std::stable_sort(order.begin(), order.end(), [](const cand &a, const cand &c) {
    return a.group != c.group ? a.group < c.group : a.score < c.score;
  });
  std::vector<double> limit(m, 0.0);
  std::vector<int> count(m, 0);
  std::vector<char> taken(m, 0);
  int added = 0;
  for (const cand &c : order) {
    if (c.group >= 4) break;  // boxed columns stay at a bound
    int j = c.j, prow = -1;
    double best = 0.99;
    for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t) {
      int i = p.cind[t];
      if (!taken[i] && count[i] == 0 && std::fabs(p.cval[t]) > best) {
        best = std::fabs(p.cval[t]);
        prow = i;
      }
    }
    if (prow < 0) {
      best = 1e-10;
      bool reject = false;
      for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t) {
        int i = p.cind[t];
        double a = std::fabs(p.cval[t]);
        if (taken[i]) {
          if (a > limit[i]) { reject = true; break; }
        } else if (a > best) {
          best = a;
          prow = i;
        }
      }
      if (reject) prow = -1;
    }
    if (prow < 0) continue;
    // Column j replaces the logical of row prow.
    int s = n + prow;
    b.stat[j] = kBasic;
    b.head[prow] = j;
    b.stat[s] = std::isfinite(p.lb[s]) ? kAtLower : std::isfinite(p.ub[s]) ? kAtUpper : kFree;
    taken[prow] = 1;
    limit[prow] = 0.01 * best;
    for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t) count[p.cind[t]]++;
    ++added;
  }
  (void)added;
  pbasis_settle(p, b);
}

}  // namespace velto
