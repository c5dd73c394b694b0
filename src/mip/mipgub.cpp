// GUB covers: lifted covers of a knapsack row whose items fall into clique
// groups (at most one item of a group is 1) of the clique table.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "mip/mipcuts.h"

namespace velto {

namespace {

struct gubitem {
  int col;
  double w;
  int pol;
};

// Clique groups among the items: greedy by the clique that holds most of
// the unassigned items.  Returns the groups as item lists; pol per item.
std::vector<std::vector<int>> partition(const knapsack &k, const cliquetable &t,
                                        std::vector<int> &pol) {
  const int n = k.n;
  std::unordered_map<int, int> itemof;
  for (int i = 0; i < n; ++i) itemof[k.col[i]] = i;
  std::unordered_map<int, int> count;
  for (int i = 0; i < n; ++i)
    for (int lit : {k.col[i], ~k.col[i]}) {
      if (const std::vector<int> *h = t.holding(lit))
        for (int c : *h) ++count[c];
    }
  std::vector<char> done(n, 0);
  pol.assign(n, 1);
  std::vector<std::vector<int>> groups;
  for (;;) {
    int best = -1, bc = 0;
    for (auto &[c, v] : count)
      if (v > bc || (v == bc && v > 0 && c < best)) best = c, bc = v;
    if (bc < 2) break;
    std::vector<int> g;
    for (int lit : t.cliques[best]) {
      int col = lit < 0 ? ~lit : lit;
      auto it = itemof.find(col);
      if (it == itemof.end() || done[it->second]) continue;
      int i = it->second;
      done[i] = 1;
      pol[i] = lit < 0 ? -1 : 1;
      g.push_back(i);
      for (int l2 : {col, ~col}) {
        if (const std::vector<int> *h = t.holding(l2))
          for (int c : *h) --count[c];
      }
    }
    if (g.empty()) {
      count[best] = 0;
      continue;
    }
    groups.push_back(std::move(g));
  }
  for (int i = 0; i < n; ++i)
    if (!done[i]) groups.push_back({i});
  return groups;
}

}  // namespace

int gubfind(const knapsack &k, const cliquetable &t, const double *x, int *nnz, double *rhs,
            std::vector<int> &ind, std::vector<double> &val) {
  *nnz = 0;
  *rhs = 0.0;
  ind.clear();
  val.clear();
  const int n = k.n;
  if (n < 2) return 0;
  // Signed weights in the columns.
  std::vector<double> w(n);
  double cap = k.cap;
  for (int i = 0; i < n; ++i) {
    w[i] = k.compl_[i] ? -k.w[i] : k.w[i];
    if (k.compl_[i]) cap -= k.w[i];
  }
  // 1. Groups.
  std::vector<int> pol;
  std::vector<std::vector<int>> groups = partition(k, t, pol);
  bool grouped = false;
  for (auto &g : groups) grouped = grouped || g.size() > 1;
  if (!grouped) return 0;
  // 2. Items as literals of their groups.
  for (int i = 0; i < n; ++i)
    if (pol[i] == -1) {
      cap -= w[i];
      w[i] = -w[i];
    }
  // 3. A group with a negative weight: its most negative member stands for
  // the group's slack.
  for (auto &g : groups) {
    int m = -1;
    for (int i : g)
      if (w[i] < 0 && (m < 0 || w[i] < w[m])) m = i;
    if (m < 0) continue;
    double wm = w[m];
    cap -= wm;
    for (int i : g)
      if (i != m) w[i] -= wm;
    w[m] = -wm;
    pol[m] *= 2;
  }
  // 4, 5.
  const double t6 = cap >= 1000000 ? cap * 1e-12 : 1e-6;
  for (auto &g : groups)
    std::stable_sort(g.begin(), g.end(), [&](int a, int b) { return w[a] > w[b]; });
  // 6. Values of the literals.
  std::vector<double> xs(n);
  auto lit = [&](int i) { return pol[i] > 0 ? x[k.col[i]] : 1.0 - x[k.col[i]]; };
  for (auto &g : groups)
    for (int i : g) {
      if (pol[i] == 2 || pol[i] == -2) {
        double v = 1.0 - lit(i);
        for (int o : g)
          if (o != i) v -= lit(o);
        xs[i] = v;
      } else {
        xs[i] = lit(i);
      }
    }
  // 7.
  bool frac = false;
  for (int i = 0; i < n; ++i) frac = frac || (xs[i] > 1e-6 && xs[i] < 0.999999);
  if (!frac) return 0;
  // 8. The cover, at most one item per group.
  const int ng = static_cast<int>(groups.size());
  std::vector<int> member(ng, -1);  // the group's item in C
  double wc = 0.0;
  const double target = cap + t6;
  for (int g = 0; g < ng; ++g)
    for (int i : groups[g])
      if (xs[i] > 0.999999) {
        member[g] = i;
        wc += w[i];
        break;
      }
  while (wc < target) {
    int bg = -1, bi = -1;
    for (int g = 0; g < ng; ++g) {
      if (member[g] >= 0) continue;
      for (int i : groups[g])
        if (bi < 0 || xs[i] > xs[bi]) bi = i, bg = g;
    }
    if (bg < 0) break;
    member[bg] = bi;
    wc += w[bi];
  }
  while (wc < target) {
    int bg = -1;
    for (int g = 0; g < ng; ++g)
      if (member[g] >= 0 && member[g] != groups[g][0] &&
          (bg < 0 || xs[member[g]] < xs[member[bg]]))
        bg = g;
    if (bg < 0) break;
    wc += w[groups[bg][0]] - w[member[bg]];
    member[bg] = groups[bg][0];
  }
  if (wc < target) return 0;
  for (;;) {
    int bg = -1;
    for (int g = 0; g < ng; ++g)
      if (member[g] >= 0 && w[member[g]] + target < wc &&
          (bg < 0 || xs[member[g]] < xs[member[bg]]))
        bg = g;
    if (bg < 0) break;
    wc -= w[member[bg]];
    member[bg] = -1;
  }
  // 9. Lifting, group by group.
  int kk = 0;
  for (int g = 0; g < ng; ++g) kk += member[g] >= 0;
  if (kk < 1) return 0;
  std::vector<double> coef(n, 0.0);
  std::vector<double> xg(ng, 0.0);
  for (int g = 0; g < ng; ++g) {
    if (member[g] >= 0) coef[member[g]] = 1.0;
    for (int i : groups[g])
      if (i != member[g]) xg[g] += xs[i];
  }
  std::vector<int> gord(ng);
  std::iota(gord.begin(), gord.end(), 0);
  std::stable_sort(gord.begin(), gord.end(), [&](int a, int b) { return xg[a] > xg[b]; });
  std::vector<double> h(kk + 1, 1e37);
  h[0] = 0.0;
  std::vector<char> gdone(ng, 0);
  for (int g : gord) {
    gdone[g] = 1;
    // Least weight of p cover items of the groups still to come.
    std::vector<double> cw;
    for (int o = 0; o < ng; ++o)
      if (!gdone[o] && member[o] >= 0) cw.push_back(w[member[o]]);
    std::sort(cw.begin(), cw.end());
    std::vector<double> Q(kk + 1, 1e37);
    Q[0] = 0.0;
    for (size_t p = 0; p < cw.size() && static_cast<int>(p) < kk; ++p) Q[p + 1] = Q[p] + cw[p];
    for (int i : groups[g]) {
      if (i == member[g]) continue;
      double room = cap + t6 - w[i];
      double a;
      if (room < 0) {
        a = kk;
      } else {
        int best = 0;
        for (int u = 0; u <= kk; ++u) {
          if (h[u] > room) continue;
          int p = 0;
          while (p + 1 <= kk && Q[p + 1] <= room - h[u]) ++p;
          best = std::max(best, p + u);
        }
        a = std::max(0, kk - 1 - best);
      }
      coef[i] = a;
    }
    for (int l = kk; l >= 0; --l)
      for (int i : groups[g]) {
        int a = static_cast<int>(coef[i]);
        if (a >= 1 && a <= l) h[l] = std::min(h[l], h[l - a] + w[i]);
      }
  }
  // 10.
  double viol = 1.0 - kk;
  for (int i = 0; i < n; ++i) viol += coef[i] * xs[i];
  if (viol < 0.1) return 0;
  // 11. Back to the columns.
  double r = kk - 1;
  for (auto &g : groups) {
    for (int i : g) {
      if (pol[i] != 2 && pol[i] != -2) continue;
      double a = -coef[i];
      coef[i] = a;
      r += a;
      for (int o : g)
        if (o != i) coef[o] += a;
      break;
    }
  }
  for (int i = 0; i < n; ++i)
    if (pol[i] < 0) {
      coef[i] = -coef[i];
      r += coef[i];
    }
  for (int i = 0; i < n; ++i)
    if (coef[i] != 0.0) {
      ind.push_back(k.col[i]);
      val.push_back(coef[i]);
    }
  *rhs = r;
  *nnz = static_cast<int>(ind.size());
  return 0;
}

int gubscan(cutwork &cw, const double *glb, const double *gub) {
  const cutmodel &cm = cw.cm;
  if (static_cast<int>(cw.coverrows.size()) != cm.m) cw.coverrows.assign(cm.m, 0);
  std::vector<double> work(std::max(cm.n, 1), 0.0);
  knapsack k;
  int count = 0;
  std::vector<int> pol;
  for (int i = 0; i < cm.m; ++i) {
    for (int neg = 0; neg < 2; ++neg) {
      knapextract(cm, glb, gub, i, neg, 1, work, k);
      if (k.n < 2) continue;
      if (static_cast<int>(partition(k, cw.cliques, pol).size()) < k.n) {
        cw.coverrows[i] |= neg ? 8 : 4;
        ++count;
      }
    }
  }
  return count;
}

int gubround(cutwork &cw, const double *x, const double *glb, const double *gub, int limit,
             int *count) {
  *count = 0;
  if (limit <= 0 || cw.cliques.cliques.empty()) return 0;
  const cutmodel &cm = cw.cm;
  std::vector<double> work(std::max(cm.n, 1), 0.0);
  std::vector<int> ind;
  std::vector<double> val;
  knapsack k;
  for (int i = 0; i < cm.m && *count < limit; ++i) {
    for (int neg = 0; neg < 2 && *count < limit; ++neg) {
      if (i >= static_cast<int>(cw.coverrows.size()) || !(cw.coverrows[i] & (neg ? 8 : 4))) continue;
      knapextract(cm, glb, gub, i, neg, 1, work, k);
      if (k.n < 2) continue;
      int nnz = 0;
      double rhs = 0.0;
      int st = gubfind(k, cw.cliques, x, &nnz, &rhs, ind, val);
      if (st) return st;
      if (nnz < 1) continue;
      st = cutsetpush(cw.pool, 0, kCutGub, nnz, ind.data(), val.data(), 'L', rhs);
      if (st) return st;
      ++*count;
    }
  }
  return 0;
}

}  // namespace velto
