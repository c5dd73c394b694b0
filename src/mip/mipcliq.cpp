// The clique table: cliques read from the rows, their extension by the
// literals adjacent to all members, subsumption, merging by following the
// cliques from an assumed literal, and the finish that fixes literals
// excluded by both values of a column.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "mip/mipcliq.h"

namespace velto {

void cliqueadd(cliquetable &t, const std::vector<int> &lits, int type) {
  int id = static_cast<int>(t.cliques.size());
  for (int l : lits) {
    size_t s = static_cast<size_t>(cliquetable::slot(l));
    if (s >= t.lists.size()) t.lists.resize(s + 2);
    t.lists[s].push_back(id);
  }
  t.members += static_cast<int>(lits.size());
  t.cliques.push_back(lits);
  t.ctype.push_back(type);
}

void cliqueindex(cliquetable &t, const double *lb, const double *ub) {
  size_t out = 0;
  t.members = 0;
  for (size_t c = 0; c < t.cliques.size(); ++c) {
    std::vector<int> &q = t.cliques[c];
    q.erase(std::remove_if(q.begin(), q.end(),
                           [&](int l) { return l >= 0 ? ub[l] <= 0.9 : lb[~l] >= 0.1; }),
            q.end());
    if (q.size() < 2) continue;
    t.members += static_cast<int>(q.size());
    if (out != c) {
      t.cliques[out].swap(q);
      t.ctype[out] = t.ctype[c];
    }
    ++out;
  }
  t.cliques.resize(out);
  t.ctype.resize(out);
  for (auto &l : t.lists) l.clear();
  t.lists.resize(2 * static_cast<size_t>(t.ncols));
  for (size_t c = 0; c < t.cliques.size(); ++c)
    for (int l : t.cliques[c]) t.lists[cliquetable::slot(l)].push_back(static_cast<int>(c));
}

void cliquesfromrows(const cutmodel &cm, const double *lb, const double *ub, long long budget,
                     cliquetable &t) {
  t = cliquetable();
  t.ncols = cm.n;
  t.lists.resize(2 * static_cast<size_t>(cm.n));
  t.built = true;
  std::vector<double> work(std::max(cm.n, 1), 0.0);
  knapsack k;
  const rowcopy &rc = *cm.rc;
  std::vector<int> lits;
  for (int i = 0; i < cm.m && t.members < budget; ++i) {
    // 1. An equality on binaries with one magnitude: exactly one is 1.
    if (cm.sense[i] == 'E' && rc.rowend[i] - rc.rowbeg[i] >= 2) {
      bool ok = true;
      double mag = std::fabs(rc.rowval[rc.rowbeg[i]]);
      int neg = 0;
      lits.clear();
      for (int p = rc.rowbeg[i]; p < rc.rowend[i] && ok; ++p) {
        int j = rc.rowind[p];
        double a = rc.rowval[p];
        ok = cm.ctype && cm.ctype[j] == 'B' && std::fabs(std::fabs(a) - mag) <= 1e-10;
        if (a < 0) ++neg;
        lits.push_back(a < 0 ? ~j : j);
      }
      if (ok && std::fabs(cm.rhs[i] - (1.0 - neg) * mag) <= 1e-10 * std::max(1.0, mag)) {
        cliqueadd(t, lits, 1);
        continue;
      }
    }
    // 2. The knapsack of each form.
    for (int neg = 0; neg < 2 && t.members < budget; ++neg) {
      knapextract(cm, lb, ub, i, neg, 0, work, k);
      const int n = k.n;
      if (n < 2) continue;
      std::vector<int> ord(n);
      std::iota(ord.begin(), ord.end(), 0);
      std::stable_sort(ord.begin(), ord.end(), [&](int a, int b) { return k.w[a] < k.w[b]; });
      std::vector<double> w(n);
      std::vector<int> lit(n);
      for (int q = 0; q < n; ++q) {
        w[q] = k.w[ord[q]];
        lit[q] = k.compl_[ord[q]] ? ~k.col[ord[q]] : k.col[ord[q]];
      }
      if (w[n - 1] + w[n - 2] <= k.cap) continue;
      const double th = k.cap + 1e-6 * std::fabs(k.cap);
      int i0 = n - 2;
      while (i0 >= 0 && w[i0] + w[i0 + 1] > th) --i0;
      const int first = i0 + 1;
      if (n - first < 2) continue;
      lits.assign(lit.begin() + first, lit.end());
      cliqueadd(t, lits, std::fabs(w[first] - k.cap) < 1e-6 ? 0 : 2);
      // A lighter item with the heaviest ones it cannot join.
      int p = first;
      for (int j = first - 1; j >= 0 && t.members < budget; --j) {
        while (p < n && !(w[j] + w[p] > th)) ++p;
        if (p >= n) break;
        lits.assign(1, lit[j]);
        lits.insert(lits.end(), lit.begin() + p, lit.end());
        cliqueadd(t, lits, 2);
      }
    }
  }
}

int litfalse(std::vector<double> &lb, std::vector<double> &ub, int lit) {
  int j = lit >= 0 ? lit : ~lit;
  if (lit >= 0) {
    if (lb[j] > 0.5) return -1;
    if (ub[j] == 0.0) return 0;
    ub[j] = 0.0;
  } else {
    if (ub[j] < 0.5) return -1;
    if (lb[j] == 1.0) return 0;
    lb[j] = 1.0;
  }
  return 1;
}

void cliquemarker::mark(const cliquetable &t, int lit) {
  ++token;
  if (token == 0x7fffffff) {
    std::fill(stamp.begin(), stamp.end(), 0);
    token = 1;
  }
  if (stamp.size() < t.lists.size()) stamp.resize(t.lists.size(), 0);
  const std::vector<int> *h = t.holding(lit);
  if (h == nullptr) return;
  for (int c : *h) {
    work += static_cast<long long>(t.cliques[c].size());
    for (int l : t.cliques[c])
      if (l != lit) stamp[cliquetable::slot(l)] = token;
  }
}

void extendlist(const cliquetable &t, cliquemarker &mk, std::vector<int> &list, int given,
                const double *x, unsigned *seed) {
  if (list.empty()) return;
  mk.mark(t, list[0]);
  std::vector<char> inlist;
  // Candidates: the neighbours of the first literal, in walk order.
  std::vector<int> extra;
  {
    std::vector<int> seen;
    const std::vector<int> *h = t.holding(list[0]);
    if (h != nullptr) {
      const int tok = mk.token;
      for (int c : *h)
        for (int l : t.cliques[c]) {
          int s = cliquetable::slot(l);
          if (mk.stamp[s] != tok) continue;
          mk.stamp[s] = -tok;  // taken once
          seen.push_back(s);
          if (std::find(list.begin(), list.end(), l) != list.end()) continue;
          if (x != nullptr) {
            double v = l >= 0 ? x[l] : 1.0 - x[~l];
            if (!(v > 0.1)) continue;
          }
          extra.push_back(l);
        }
      for (int s : seen) mk.stamp[s] = tok;
    }
  }
  if (x != nullptr) {
    double sum = 0.0;
    for (int l : list) sum += l >= 0 ? x[l] : 1.0 - x[~l];
    for (int l : extra) sum += l >= 0 ? x[l] : 1.0 - x[~l];
    if (sum < 1.1 || list.size() + extra.size() < 3) {
      list.clear();
      return;
    }
  }
  if (seed != nullptr) {
    for (size_t k = extra.size(); k > 1; --k) {
      *seed = *seed * 1103515245u + 12345u;
      size_t r = (*seed >> 8) % k;
      std::swap(extra[k - 1], extra[r]);
    }
  }
  list.insert(list.end(), extra.begin(), extra.end());
  // Keep only literals adjacent to every earlier one.
  const size_t stop = static_cast<size_t>(given) + 20;
  size_t i = 1;
  for (; i < list.size() && i < stop; ++i) {
    mk.mark(t, list[i]);
    size_t out = i + 1;
    for (size_t q = i + 1; q < list.size(); ++q)
      if (mk.stamp[cliquetable::slot(list[q])] == mk.token) list[out++] = list[q];
    list.resize(out);
  }
  // Past the stop the later literals are unchecked among themselves.
  if (i < list.size()) list.resize(i + 1);
}

namespace {

// Deletes cliques that others contain; a contained equality clique fixes the
// outside literals of the larger one false and deletes that one instead.
// Returns true when anything was deleted.
bool subsume(cliquetable &t, std::vector<double> &lb, std::vector<double> &ub, long long budget,
             long long *work) {
  bool deleted = false;
  const int nc = static_cast<int>(t.cliques.size());
  std::vector<int> stamp(t.lists.size(), -1);
  for (int c = 0; c < nc && *work < budget; ++c) {
    const std::vector<int> &q = t.cliques[c];
    if (q.empty()) continue;
    // A clique that holds all of q holds its literal of the fewest cliques.
    const std::vector<int> *few = nullptr;
    for (int l : q) {
      const std::vector<int> *h = t.holding(l);
      if (h != nullptr && (few == nullptr || h->size() < few->size())) few = h;
      stamp[cliquetable::slot(l)] = c;
    }
    if (few == nullptr) continue;
    int by = -1;
    for (int d : *few) {
      const std::vector<int> &o = t.cliques[d];
      if (d == c || o.size() < q.size()) continue;
      *work += static_cast<long long>(o.size());
      size_t hit = 0;
      for (int l : o) hit += stamp[cliquetable::slot(l)] == c;
      if (hit == q.size()) {
        by = d;
        break;
      }
    }
    if (by < 0) continue;
    deleted = true;
    if (t.ctype[c] != 1) {
      t.cliques[c].clear();
      continue;
    }
    for (int l : t.cliques[by])
      if (stamp[cliquetable::slot(l)] != c) litfalse(lb, ub, l);
    t.cliques[by].clear();
  }
  return deleted;
}

}  // namespace

bool cliqueextend(cliquetable &t, std::vector<double> &lb, std::vector<double> &ub,
                  long long budget, long long *work) {
  cliquemarker mk;
  bool changed = false;
  const int nc = static_cast<int>(t.cliques.size());
  std::vector<int> cnt(t.lists.size(), 0), touched;
  for (int c = 0; c < nc; ++c) {
    if ((*work >= budget && !changed) || *work > 5 * budget) break;
    std::vector<int> &q = t.cliques[c];
    if (q.size() < 2 || q.size() > 99) continue;
    // Literals adjacent to every member.
    touched.clear();
    for (size_t i = 0; i < q.size(); ++i) {
      mk.work = 0;
      mk.mark(t, q[i]);
      *work += mk.work;
      const std::vector<int> *h = t.holding(q[i]);
      for (int d : *h)
        for (int l : t.cliques[d]) {
          int s = cliquetable::slot(l);
          if (mk.stamp[s] != mk.token) continue;
          mk.stamp[s] = 0;
          if (cnt[s]++ == 0) touched.push_back(l);
        }
    }
    std::vector<int> cand;
    for (int l : touched) {
      int s = cliquetable::slot(l);
      int j = l >= 0 ? l : ~l;
      bool member = std::find(q.begin(), q.end(), j) != q.end() ||
                    std::find(q.begin(), q.end(), ~j) != q.end();
      if (cnt[s] == static_cast<int>(q.size()) && !member && lb[j] != ub[j]) cand.push_back(l);
      cnt[s] = 0;
    }
    if (cand.empty()) continue;
    if (t.ctype[c] == 1) {
      // Exactly one member is 1, so a literal adjacent to all is 0.
      for (int l : cand) changed = litfalse(lb, ub, l) > 0 || changed;
      continue;
    }
    // The candidates must be adjacent among themselves too.
    std::vector<int> list = q;
    const size_t base = list.size();
    list.insert(list.end(), cand.begin(), cand.end());
    for (size_t i = base; i < list.size(); ++i) {
      mk.work = 0;
      mk.mark(t, list[i]);
      *work += mk.work;
      size_t out = i + 1;
      for (size_t k = i + 1; k < list.size(); ++k)
        if (mk.stamp[cliquetable::slot(list[k])] == mk.token) list[out++] = list[k];
      list.resize(out);
    }
    q.swap(list);
    t.ctype[c] = 4;
    changed = true;
  }
  if (changed) cliqueindex(t, lb.data(), ub.data());
  if (subsume(t, lb, ub, budget, work)) {
    cliqueindex(t, lb.data(), ub.data());
    changed = true;
  }
  return changed;
}

bool cliquemerge(cliquetable &t, std::vector<double> &lb, std::vector<double> &ub,
                 long long budget, long long *work) {
  if (t.cliques.empty()) return false;
  const int n = t.ncols;
  const size_t nslots = 2 * static_cast<size_t>(n);
  std::vector<char> state(nslots, 0);  // 1 true, 2 false
  std::vector<int> falsecnt(t.cliques.size(), 0), touchedlits, touchedcl, stack;
  bool changed = false;
  for (int j = 0; j < n && *work < budget; ++j) {
    for (int pol = 0; pol < 2; ++pol) {
      const int start = pol ? ~j : j;
      if (t.holding(start) == nullptr || lb[j] == ub[j]) continue;
      bool conflict = false;
      std::vector<int> joins;
      auto assume = [&](int l, char v) {
        int s = cliquetable::slot(l), so = cliquetable::slot(~l);
        if (state[s] == v) return;
        if (state[s] != 0 || state[so] == v) {
          conflict = true;
          return;
        }
        state[s] = v;
        state[so] = v == 1 ? 2 : 1;
        touchedlits.push_back(s);
        touchedlits.push_back(so);
        stack.push_back(l);
      };
      assume(start, 1);
      while (!stack.empty() && !conflict) {
        int l = stack.back();
        stack.pop_back();
        int s = cliquetable::slot(l);
        if (state[s] == 1) {
          // Every other member of its cliques is 0.
          for (int c : t.lists[s]) {
            *work += static_cast<long long>(t.cliques[c].size());
            for (int o : t.cliques[c])
              if (o != l) assume(o, 2);
          }
        } else {
          *work += static_cast<long long>(t.lists[s].size());
          for (int c : t.lists[s]) {
            if (falsecnt[c]++ == 0) touchedcl.push_back(c);
            const int size = static_cast<int>(t.cliques[c].size());
            if (t.ctype[c] == 1 && falsecnt[c] == size - 1) {
              // The last member of an equality clique is 1.
              for (int o : t.cliques[c])
                if (state[cliquetable::slot(o)] == 0) assume(o, 1);
            } else if (falsecnt[c] == size) {
              if (t.ctype[c] == 1) conflict = true;
              else joins.push_back(c);
            }
          }
        }
      }
      if (conflict) {
        changed = litfalse(lb, ub, start) > 0 || changed;
      } else {
        for (int c : joins) {
          if (std::find(t.cliques[c].begin(), t.cliques[c].end(), start) != t.cliques[c].end())
            continue;
          t.cliques[c].push_back(start);
          t.lists[cliquetable::slot(start)].push_back(c);
          ++t.members;
          t.ctype[c] = 4;
          changed = true;
        }
      }
      stack.clear();
      for (int s : touchedlits) state[s] = 0;
      for (int c : touchedcl) falsecnt[c] = 0;
      touchedlits.clear();
      touchedcl.clear();
    }
  }
  cliqueindex(t, lb.data(), ub.data());
  if (subsume(t, lb, ub, budget + 1, work)) cliqueindex(t, lb.data(), ub.data());
  return changed;
}

int cliquefinish(cliquetable &t, std::vector<double> &lb, std::vector<double> &ub,
                 long long budget) {
  cliquemarker mk;
  int fixed = 0;
  for (int j = 0; j < t.ncols && mk.work < budget; ++j) {
    if (lb[j] == ub[j] || t.holding(j) == nullptr || t.holding(~j) == nullptr) continue;
    mk.mark(t, j);
    const int tok = mk.token;
    std::vector<int> both;
    for (int c : *t.holding(~j))
      for (int l : t.cliques[c])
        if ((l >= 0 ? l : ~l) != j && mk.stamp[cliquetable::slot(l)] == tok) both.push_back(l);
    // Either value of j excludes these literals.
    for (int l : both) fixed += litfalse(lb, ub, l) > 0 ? 1 : 0;
  }
  if (fixed > 0) cliqueindex(t, lb.data(), ub.data());
  return fixed;
}

}  // namespace velto
