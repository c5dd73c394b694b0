// One pass of vertex Fiduccia-Mattheyses: separator vertices move to a side,
// pulling their neighbours on the other side into the separator; the best
// partition of the pass is kept.
#include "barrier/edvfm.h"

#include <utility>

#include "env/env.h"

namespace velto {

double sepscore(double wa, double wb, double ws) {
  if (wa <= 0 || wb <= 0) return 1e74;
  double b = wa / wb;
  if (b < 1) b = 1 / b;
  double s = ws / (wa * wb);
  if (b > 5) s += b * 1e10;
  return s;
}

namespace {

constexpr int kLocked = -1000000000;

// Separator vertices by gain for a move to one side: doubly linked lists in
// buckets indexed by gain + maxgain, the highest possibly non-empty bucket
// kept, so that the best move is found in constant time but for the scan
// down over emptied buckets.
struct buckets {
  int maxgain = 0;
  int top = -1;
  std::vector<int> head, next, prev, gain;

  void init(int n, int maxg) {
    maxgain = maxg;
    top = -1;
    head.assign(2 * (size_t)maxg + 1, -1);
    next.assign(n, -1);
    prev.assign(n, -1);
    gain.assign(n, kLocked);
  }
  void remove(int v) {
    if (gain[v] == kLocked) return;
    if (prev[v] >= 0)
      next[prev[v]] = next[v];
    else
      head[gain[v] + maxgain] = next[v];
    if (next[v] >= 0) prev[next[v]] = prev[v];
    gain[v] = kLocked;
  }
  void insert(int v, int g) {
    remove(v);
    const int b = g + maxgain;
    prev[v] = -1;
    next[v] = head[b];
    if (head[b] >= 0) prev[head[b]] = v;
    head[b] = v;
    gain[v] = g;
    if (b > top) top = b;
  }
  int best() {
    while (top >= 0 && head[top] < 0) --top;
    return top >= 0 ? head[top] : -1;
  }
};

struct mover {
  const sepgraph &g;
  std::vector<signed char> &side;
  buckets list[2];
  std::vector<char> locked;
  double w[3] = {0, 0, 0};

  mover(const sepgraph &gr, std::vector<signed char> &sd) : g(gr), side(sd) {
    locked.assign(g.n, 0);
    for (int v = 0; v < g.n; ++v) w[side[v]] += g.weights[v];
    // A gain is a vertex weight less a sum of other weights: the total
    // weight bounds it either way.
    const int total = (int)(w[0] + w[1] + w[2]);
    list[0].init(g.n, total);
    list[1].init(g.n, total);
  }
  void setgains(int v) {
    if (side[v] != 2 || locked[v]) {
      list[0].remove(v);
      list[1].remove(v);
      return;
    }
    int pull[2] = {0, 0};
    for (int a = g.adjbeg[v]; a < g.adjbeg[v + 1]; ++a) {
      int u = g.adjlist[a];
      if (side[u] < 2) pull[side[u]] += g.weights[u];
    }
    for (int s = 0; s < 2; ++s) list[s].insert(v, g.weights[v] - pull[1 - s]);
  }
  void bump(int v, int s, int delta) {
    if (locked[v] || list[s].gain[v] == kLocked) return;
    list[s].insert(v, list[s].gain[v] + delta);
  }
  int top(int s) { return list[s].best(); }
  // Score after moving v to side s.
  double trial(int v, int s) const {
    double ws = w[2] - g.weights[v], wd[2] = {w[0], w[1]};
    wd[s] += g.weights[v];
    for (int a = g.adjbeg[v]; a < g.adjbeg[v + 1]; ++a) {
      int u = g.adjlist[a];
      if (side[u] == 1 - s) {
        wd[1 - s] -= g.weights[u];
        ws += g.weights[u];
      }
    }
    return sepscore(wd[0], wd[1], ws);
  }
};

}  // namespace

double fmpass(const sepgraph &g, std::vector<signed char> &side, uint32_t *seed) {
  mover m(g, side);
  const int n = g.n;
  const int off = n > 0 ? randint(seed) % n : 0;
  for (int k = 0; k < n; ++k) {
    int v = (k + off) % n;
    if (side[v] == 2) m.setgains(v);
  }
  double best = sepscore(m.w[0], m.w[1], m.w[2]);
  const double start = best;
  // The moves: (vertex, old side) for moved and pulled vertices alike.
  std::vector<std::pair<int, int>> log;
  size_t bestpos = 0;
  int sincebest = 0;
  std::vector<int> pulled;
  for (;;) {
    int c0 = m.top(0), c1 = m.top(1);
    if (c0 < 0 && c1 < 0) break;
    double s0 = c0 >= 0 ? m.trial(c0, 0) : 1e300;
    double s1 = c1 >= 0 ? m.trial(c1, 1) : 1e300;
    int s = s0 <= s1 ? 0 : 1;
    int v = s == 0 ? c0 : c1;
    double sc = s == 0 ? s0 : s1;
    // Move v to side s; its neighbours on the other side join the separator.
    m.locked[v] = 1;
    log.push_back({v, 2});
    side[v] = (signed char)s;
    m.w[2] -= g.weights[v];
    m.w[s] += g.weights[v];
    // Gains change by the weights that moved: separator neighbours of v
    // would now pull v when moving to the other side; those of a pulled
    // vertex no longer would pull it.
    pulled.clear();
    for (int a = g.adjbeg[v]; a < g.adjbeg[v + 1]; ++a) {
      int u = g.adjlist[a];
      if (side[u] == 2) {
        m.bump(u, 1 - s, -g.weights[v]);
      } else if (side[u] == 1 - s) {
        log.push_back({u, 1 - s});
        side[u] = 2;
        m.w[1 - s] -= g.weights[u];
        m.w[2] += g.weights[u];
        pulled.push_back(u);
      }
    }
    m.setgains(v);
    for (int u : pulled)
      for (int b = g.adjbeg[u]; b < g.adjbeg[u + 1]; ++b) {
        int x = g.adjlist[b];
        if (side[x] == 2) m.bump(x, s, g.weights[u]);
      }
    for (int u : pulled) m.setgains(u);
    ++sincebest;
    if (sc < best) {
      best = sc;
      bestpos = log.size();
      sincebest = 0;
    }
    if (sincebest >= 201 && best < 1) break;
  }
  // Undo what followed the best position.
  for (size_t k = log.size(); k > bestpos; --k) side[log[k - 1].first] = (signed char)log[k - 1].second;
  return bestpos > 0 ? best : start;
}

}  // namespace velto
