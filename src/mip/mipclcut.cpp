// Clique cuts: violated cliques of the table, extended to maximal ones,
// and cliques grown from single literals of large value.
#include <algorithm>
#include <set>

#include "mip/mipcliq.h"

namespace velto {

namespace {

double litvalue(const double *x, int l) { return l >= 0 ? x[l] : 1.0 - x[~l]; }

// Extends the clique in `list` to a maximal one and offers
// sum(plain) - sum(complemented) <= 1 - #complemented, once per round.
int offer(cutwork &cw, cliquemarker &mk, std::vector<int> &list, std::set<std::vector<int>> &offered,
          int *count) {
  std::sort(list.begin(), list.end());
  extendlist(cw.cliques, mk, list, static_cast<int>(list.size()), nullptr, nullptr);
  std::sort(list.begin(), list.end());
  if (!offered.insert(list).second) return 0;
  std::vector<int> ind;
  std::vector<double> val;
  int ncompl = 0;
  for (int l : list) {
    ind.push_back(l >= 0 ? l : ~l);
    val.push_back(l >= 0 ? 1.0 : -1.0);
    ncompl += l < 0;
  }
  ++*count;
  return cutsetpush(cw.pool, 0, kCutClique, static_cast<int>(ind.size()), ind.data(), val.data(),
                    'L', 1.0 - ncompl);
}

}  // namespace

int cliqueround(cutwork &cw, const double *x, int limit, int *count) {
  *count = 0;
  cliquetable &t = cw.cliques;
  if (limit <= 0 || t.cliques.empty()) return 0;
  cliquemarker mk;
  std::vector<int> list;
  std::set<std::vector<int>> offered;
  const int nc = static_cast<int>(t.cliques.size());
  for (int c = 0; c < nc && *count < limit; ++c) {
    const int ty = t.ctype[c];
    if (ty != 2 && ty != 3 && ty != 4) continue;
    const std::vector<int> &q = t.cliques[c];
    double v = -1.0;
    for (int l : q) v += litvalue(x, l);
    if (!(v > 0.1)) continue;
    list = q;
    if (int st = offer(cw, mk, list, offered, count)) return st;
  }
  for (int j = 0; j < t.ncols && *count < limit; ++j) {
    for (int pol = 0; pol < 2 && *count < limit; ++pol) {
      const int lit = pol ? ~j : j;
      if (!(litvalue(x, lit) > 0.1) || t.holding(lit) == nullptr) continue;
      list.assign(1, lit);
      extendlist(t, mk, list, 1, x, &t.seed);
      if (list.size() <= 2) continue;
      double v = -1.0;
      for (int l : list) v += litvalue(x, l);
      if (!(v > 0.1)) continue;
      if (int st = offer(cw, mk, list, offered, count)) return st;
    }
  }
  return 0;
}

}  // namespace velto
