// One pass of vertex Fiduccia-Mattheyses: separator vertices move to a side,
// pulling their neighbours on the other side into the separator; the best
// partition of the pass is kept.
#include "barrier/edvfm.h"

#include <queue>
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

struct mover {
  const sepgraph &g;
  std::vector<signed char> &side;
  std::vector<int> gain[2];
  std::vector<int> version;
  std::vector<char> locked;
  using entry = std::pair<int, std::pair<int, int>>;  // gain, (version, vertex)
  std::priority_queue<entry> heap[2];
  double w[3] = {0, 0, 0};

  mover(const sepgraph &gr, std::vector<signed char> &sd) : g(gr), side(sd) {
    gain[0].assign(g.n, kLocked);
    gain[1].assign(g.n, kLocked);
    version.assign(g.n, 0);
    locked.assign(g.n, 0);
    for (int v = 0; v < g.n; ++v) w[side[v]] += g.weights[v];
  }
  void setgains(int v) {
    version[v]++;
    if (side[v] != 2 || locked[v]) {
      gain[0][v] = gain[1][v] = kLocked;
      return;
    }
    int pull[2] = {0, 0};
    for (int a = g.adjbeg[v]; a < g.adjbeg[v + 1]; ++a) {
      int u = g.adjlist[a];
      if (side[u] < 2) pull[side[u]] += g.weights[u];
    }
    for (int s = 0; s < 2; ++s) {
      gain[s][v] = g.weights[v] - pull[1 - s];
      heap[s].push({gain[s][v], {version[v], v}});
    }
  }
  void bump(int v, int s, int delta) {
    if (locked[v] || gain[s][v] == kLocked) return;
    version[v]++;
    gain[s][v] += delta;
    gain[1 - s][v] += 0;
    heap[s].push({gain[s][v], {version[v], v}});
    heap[1 - s].push({gain[1 - s][v], {version[v], v}});
  }
  int top(int s) {
    while (!heap[s].empty()) {
      auto [gn, vv] = heap[s].top();
      int v = vv.second;
      if (vv.first == version[v] && side[v] == 2 && !locked[v] && gain[s][v] == gn) return v;
      heap[s].pop();
    }
    return -1;
  }
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
