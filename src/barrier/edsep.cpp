// Multilevel vertex separators: coarsening by random matching, a start with
// every vertex of the coarsest graph in the separator, and refinement on the
// way back to the finest level.
#include <algorithm>
#include <vector>

#include "barrier/barorder.h"
#include "barrier/edvfm.h"

namespace velto {

namespace {

constexpr int kMaxLevels = 50;
// Extra rounds over the coarse levels, in all: each costs a refinement of
// every level, and past the first few they seldom pay.
constexpr int kMaxRounds = 1;

// Coarsens g by a matching; false when it doesn't shrink enough.
bool coarsen(sepgraph &g, sepgraph &c, uint32_t *seed) {
  const int n = g.n;
  std::vector<int> match(n, -1);
  g.cmap.assign(n, -1);
  int nc = 0;
  for (int v = 0; v < n; ++v) {
    if (match[v] >= 0) continue;
    int len = g.adjbeg[v + 1] - g.adjbeg[v];
    int partner = v;
    if (len > 0) {
      int start = randint(seed) % len;
      for (int k = 0; k < len; ++k) {
        int u = g.adjlist[g.adjbeg[v] + (start + k) % len];
        if (match[u] < 0 && u != v) {
          partner = u;
          break;
        }
      }
    }
    match[v] = partner;
    match[partner] = v;
    g.cmap[v] = g.cmap[partner] = nc++;
  }
  if (nc > 0.9 * n) return false;
  c.n = nc;
  c.weights.assign(nc, 0);
  std::vector<int> first(nc, -1);
  for (int v = 0; v < n; ++v) {
    c.weights[g.cmap[v]] += g.weights[v];
    if (first[g.cmap[v]] < 0) first[g.cmap[v]] = v;
  }
  c.adjbeg.assign(nc + 1, 0);
  c.adjlist.clear();
  std::vector<int> seen(nc, -1);
  for (int cv = 0; cv < nc; ++cv) {
    int v = first[cv];
    seen[cv] = cv;
    for (int x : {v, match[v]}) {
      for (int a = g.adjbeg[x]; a < g.adjbeg[x + 1]; ++a) {
        int cu = g.cmap[g.adjlist[a]];
        if (seen[cu] != cv) {
          seen[cu] = cv;
          c.adjlist.push_back(cu);
        }
      }
      if (match[v] == v) break;
    }
    c.adjbeg[cv + 1] = (int)c.adjlist.size();
  }
  return true;
}

double refine(const sepgraph &g, std::vector<signed char> &side, uint32_t *seed) {
  double score = 1e300;
  for (int pass = 0; pass < 5; ++pass) {
    double s = fmpass(g, side, seed);
    if (s == score) break;
    score = s;
  }
  return score;
}

// Each fine vertex takes the side of its coarse vertex.
void project_down(const sepgraph &fine, std::vector<signed char> &side) {
  std::vector<signed char> out(fine.n);
  for (int v = 0; v < fine.n; ++v) out[v] = side[fine.cmap[v]];
  side.swap(out);
}

// Each coarse vertex takes the side of its members; members that disagree
// put it in the separator.
void project_up(const sepgraph &fine, int ncoarse, std::vector<signed char> &side) {
  std::vector<signed char> out(ncoarse, -1);
  for (int v = 0; v < fine.n; ++v) {
    signed char &c = out[fine.cmap[v]];
    c = c < 0 || c == side[v] ? side[v] : 2;
  }
  side.swap(out);
}

}  // namespace

void separator(const ordgraph &og, uint32_t seed, std::vector<signed char> &side) {
  std::vector<sepgraph> lv(1);
  lv[0].n = og.n;
  lv[0].adjbeg = og.adjbeg;
  lv[0].adjlist = og.adjlist;
  lv[0].weights.assign(og.n, 1);
  uint32_t s = seed;
  while ((int)lv.size() < kMaxLevels && lv.back().n >= 50) {
    sepgraph c;
    if (!coarsen(lv.back(), c, &s)) break;
    lv.push_back(std::move(c));
  }
  // The coarsest graph is small: several starts with every vertex in the
  // separator, refined from random offsets, and the best kept.
  const int last = (int)lv.size() - 1;
  std::vector<signed char> cur;
  double score = 1e300;
  for (int t = 0; t < 10; ++t) {
    std::vector<signed char> start(lv[last].n, 2);
    double sc = refine(lv[last], start, &s);
    if (sc < score) {
      score = sc;
      cur.swap(start);
    }
  }
  for (int l = last - 1; l >= 0; --l) {
    project_down(lv[l], cur);
    score = refine(lv[l], cur, &s);
  }
  // A costly separator is worth more rounds: up and down the coarser
  // levels again, keeping the best partition.
  const int top = std::min(5, (int)lv.size() - 1);
  auto estimate = [&](const std::vector<signed char> &sd) {
    double ws = 0;
    for (int v = 0; v < og.n; ++v) ws += sd[v] == 2;
    return ws * ws * ws * (double)og.adjlist.size() / std::max<double>(1.0, (double)og.edges()) * 0.002;
  };
  if (top > 0) {
    int rounds = std::min(10, (int)estimate(cur));
    // A better round renews the count, up to kMaxRounds in all.
    int total = 0;
    for (int k = 0; k < rounds && total < kMaxRounds; ++k, ++total) {
      std::vector<signed char> trial = cur;
      for (int l = 0; l < top; ++l) project_up(lv[l], lv[l + 1].n, trial);
      double sc = 0;
      for (int l = top; l >= 0; --l) {
        if (l < top) project_down(lv[l], trial);
        sc = refine(lv[l], trial, &s);
      }
      if (sc < score) {
        score = sc;
        cur.swap(trial);
        k = -1;
        rounds = std::min(10, (int)estimate(cur));
      }
    }
  }
  side.swap(cur);
}

}  // namespace velto
