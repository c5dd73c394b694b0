// Nested dissection by labels, the inner ordering routine, and the exact
// symbolic cost of an order.
#include <algorithm>
#include <vector>

#include "barrier/barorder.h"

namespace velto {

namespace {

// Connected components of the vertices listed in `verts` (all with
// inpart[v] == part), each appended to `out` as a vertex list.
void components(const ordgraph &g, const std::vector<int> &verts, std::vector<int> &inpart, int part,
                std::vector<std::vector<int>> &out) {
  for (int s : verts) {
    if (inpart[s] != part) continue;
    std::vector<int> comp{s};
    inpart[s] = -1;
    for (size_t h = 0; h < comp.size(); ++h) {
      int v = comp[h];
      for (int a = g.adjbeg[v]; a < g.adjbeg[v + 1]; ++a) {
        int u = g.adjlist[a];
        if (inpart[u] == part) {
          inpart[u] = -1;
          comp.push_back(u);
        }
      }
    }
    out.push_back(std::move(comp));
  }
}

// The subgraph on `verts`, renumbered.
ordgraph extract(const ordgraph &g, const std::vector<int> &verts, std::vector<int> &local) {
  ordgraph s;
  s.n = (int)verts.size();
  for (int k = 0; k < s.n; ++k) local[verts[k]] = k;
  s.adjbeg.assign(s.n + 1, 0);
  for (int k = 0; k < s.n; ++k) {
    int v = verts[k];
    for (int a = g.adjbeg[v]; a < g.adjbeg[v + 1]; ++a)
      if (local[g.adjlist[a]] >= 0) s.adjlist.push_back(local[g.adjlist[a]]);
    s.adjbeg[k + 1] = (int)s.adjlist.size();
  }
  for (int v : verts) local[v] = -1;
  return s;
}

}  // namespace

int dissect(const ordgraph &g, uint32_t seed, std::vector<int> &label) {
  const int n = g.n;
  label.assign(n, 0);
  if (n == 0) return 1;
  const int minsize = std::max(100, n / 32);
  std::vector<int> inpart(n, 0), local(n, -1);
  std::vector<int> all(n);
  for (int v = 0; v < n; ++v) all[v] = v;
  std::vector<std::vector<int>> work;
  components(g, all, inpart, 0, work);
  int next = 1;
  uint32_t s = seed;
  while (!work.empty()) {
    std::vector<int> verts = std::move(work.back());
    work.pop_back();
    if ((int)verts.size() < minsize) continue;
    ordgraph sub = extract(g, verts, local);
    std::vector<signed char> side;
    separator(sub, s++, side);
    int nsep = 0;
    for (signed char c : side) nsep += c == 2;
    if (nsep == 0 || nsep == sub.n) continue;
    const int lab = next++;
    for (int k = 0; k < sub.n; ++k) {
      int v = verts[k];
      if (side[k] == 2) label[v] = lab;
      inpart[v] = side[k] == 2 ? -1 : 1;
    }
    // What is left splits into components, each dissected further.
    std::vector<std::vector<int>> parts;
    components(g, verts, inpart, 1, parts);
    for (auto &p : parts) work.push_back(std::move(p));
  }
  // Separators found earlier go later: the first separator has the highest
  // label.
  int maxl = next - 1;
  for (int v = 0; v < n; ++v)
    if (label[v] > 0) label[v] = maxl - label[v] + 1;
  return next;
}

ordresult order_graph(env *e, const ordgraph &g, int method, uint32_t seed, std::vector<int> &perm) {
  (void)e;
  std::vector<int> label;
  if (method == kOrderNd) dissect(g, seed, label);
  return mindegree(g, method == kOrderAmd ? 0 : 1, label, perm, nullptr);
}

ordresult ordercost(const ordgraph &g, const std::vector<int> &perm) {
  const int n = g.n;
  std::vector<int> inv(n);
  for (int v = 0; v < n; ++v) inv[perm[v]] = v;
  std::vector<int> parent(n, -1), anc(n, -1), flag(n, -1), cc(n, 1);
  // Elimination tree of the permuted matrix.
  for (int k = 0; k < n; ++k) {
    int v = inv[k];
    for (int a = g.adjbeg[v]; a < g.adjbeg[v + 1]; ++a) {
      int i = perm[g.adjlist[a]];
      while (i >= 0 && i < k) {
        int nx = anc[i];
        anc[i] = k;
        if (nx < 0) {
          parent[i] = k;
          break;
        }
        i = nx;
      }
    }
  }
  // Row subtrees: row k has an entry in every column on the paths from its
  // neighbours below k up to k.
  for (int k = 0; k < n; ++k) {
    flag[k] = k;
    int v = inv[k];
    for (int a = g.adjbeg[v]; a < g.adjbeg[v + 1]; ++a) {
      int i = perm[g.adjlist[a]];
      if (i > k) continue;
      while (flag[i] != k) {
        cc[i]++;
        flag[i] = k;
        i = parent[i];
      }
    }
  }
  ordresult r{0.0, 0.0};
  for (int j = 0; j < n; ++j) {
    r.nfactor += cc[j];
    r.opcount += (double)cc[j] * cc[j];
  }
  return r;
}

}  // namespace velto
