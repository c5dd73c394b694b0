// Constrained approximate minimum degree and minimum fill on a quotient
// graph: elements absorb their predecessors, indistinguishable variables
// merge into supervariables, variables with no neighbours outside the new
// element are eliminated with it.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "barrier/barorder.h"

namespace velto {

namespace {

enum : signed char { kVar = 0, kElem = 1, kGone = 2, kAbsorbed = 3, kSetAside = 4 };

struct qgraph {
  int n = 0;
  int mode = 0;
  std::vector<signed char> state;
  std::vector<int> nv, degree, label, rep, chain, tail;
  std::vector<int64_t> score;
  std::vector<std::vector<int>> elist, vlist;  // elements and variables of a variable; an element's variables in vlist
  // buckets by score
  std::vector<int> head, next, prev;
  std::vector<char> inlist;
  int mindeg = 0;
  int listed = 0;
  // stamps
  std::vector<int> mark, seen, wmark;
  std::vector<int64_t> w;
  int stamp = 0, seenstamp = 0, wstamp = 0;
  // results
  std::vector<int> order;
  int numbered = 0;
  double nfactor = 0.0, opcount = 0.0;

  int find(int j) {
    int r = j;
    while (state[r] == kAbsorbed) r = rep[r];
    while (state[j] == kAbsorbed) {
      int nx = rep[j];
      rep[j] = r;
      j = nx;
    }
    return r;
  }
  void insert(int v) {
    int b = score[v] >= n ? n : (int)score[v];
    next[v] = head[b];
    prev[v] = -1;
    if (head[b] >= 0) prev[head[b]] = v;
    head[b] = v;
    inlist[v] = 1;
    if (b < mindeg) mindeg = b;
    ++listed;
  }
  void remove(int v) {
    if (!inlist[v]) return;
    int b = score[v] >= n ? n : (int)score[v];
    if (prev[v] >= 0) next[prev[v]] = next[v];
    else head[b] = next[v];
    if (next[v] >= 0) prev[next[v]] = prev[v];
    inlist[v] = 0;
    --listed;
  }
  int pick() {
    while (mindeg < n && head[mindeg] < 0) ++mindeg;
    if (mindeg < n) return head[mindeg];
    int best = -1;
    for (int v = head[n]; v >= 0; v = next[v])
      if (best < 0 || score[v] < score[best]) best = v;
    return best;
  }
  void number(int p) {
    for (int v = p; v >= 0; v = chain[v]) order[v] = numbered++;
  }
  void count(int nvp, double d) {
    nfactor += nvp * d + nvp * (nvp + 1.0) / 2.0;
    for (int k = nvp; k >= 1; --k) opcount += (d + k) * (d + k);
  }
  int64_t fillscore(int i, int64_t d, int64_t total) const {
    if (mode == 0) return d;
    if (d >= 30000) return 1000000000;
    int64_t wv = total - nv[i];
    int64_t s = (d * d - d - (wv * wv - wv)) / 2;
    if (s < 0) s = 0;
    if (mode == 2) s /= 2 * (int64_t)nv[i];
    return s;
  }
  // Weighted size of element e; its list is pruned of what is gone.
  int64_t elemsize(int e) {
    ++seenstamp;
    std::vector<int> &l = vlist[e];
    size_t k = 0;
    int64_t s = 0;
    for (int j : l) {
      int r = find(j);
      if (state[r] != kVar || nv[r] <= 0 || seen[r] == seenstamp) continue;
      seen[r] = seenstamp;
      l[k++] = r;
      s += nv[r];
    }
    l.resize(k);
    return s;
  }
  void eliminate(int p);
};

void qgraph::eliminate(int p) {
  remove(p);
  const int nvp = nv[p];
  number(p);
  // The new element: variables reached through p's elements and its own.
  ++stamp;
  std::vector<int> lp;
  mark[p] = stamp;
  for (int e : elist[p]) {
    if (state[e] != kElem) continue;
    for (int j : vlist[e]) {
      int r = find(j);
      if (state[r] == kVar && nv[r] > 0 && mark[r] != stamp) {
        mark[r] = stamp;
        lp.push_back(r);
      }
    }
    state[e] = kGone;
    std::vector<int>().swap(vlist[e]);
  }
  for (int j : vlist[p]) {
    int r = find(j);
    if (state[r] == kVar && nv[r] > 0 && mark[r] != stamp) {
      mark[r] = stamp;
      lp.push_back(r);
    }
  }
  std::vector<int>().swap(elist[p]);
  state[p] = kElem;
  int64_t degp = 0;
  for (int i : lp) degp += nv[i];
  count(nvp, (double)degp);
  for (int i : lp) remove(i);

  // Outer scan: w[e] = the part of e outside the new element.
  ++wstamp;
  for (int i : lp)
    for (int e : elist[i]) {
      if (state[e] != kElem || e == p) continue;
      if (wmark[e] != wstamp) {
        wmark[e] = wstamp;
        w[e] = elemsize(e);
      }
      w[e] -= nv[i];
    }
  // Prune the lists; variables left with no neighbours outside the element
  // go with p.
  std::vector<int64_t> ext(lp.size());
  int64_t gone = 0;
  for (size_t t = 0; t < lp.size(); ++t) {
    int i = lp[t];
    std::vector<int> &el = elist[i];
    size_t k = 0;
    int64_t de = 0;
    for (int e : el) {
      if (state[e] != kElem || e == p) continue;
      if (w[e] <= 0) {  // inside the new element: absorbed
        state[e] = kGone;
        std::vector<int>().swap(vlist[e]);
        continue;
      }
      el[k++] = e;
      de += w[e];
    }
    el.resize(k);
    std::vector<int> &vl = vlist[i];
    ++seenstamp;
    k = 0;
    int64_t da = 0;
    for (int j : vl) {
      int r = find(j);
      if (r == i || state[r] != kVar || nv[r] <= 0 || mark[r] == stamp || seen[r] == seenstamp) continue;
      seen[r] = seenstamp;
      vl[k++] = r;
      da += nv[r];
    }
    vl.resize(k);
    if (el.empty() && vl.empty() && label[i] == label[p]) {
      // Mass elimination.
      const double d = (double)(degp - gone - nv[i]);
      count(nv[i], d);
      number(i);
      gone += nv[i];
      state[i] = kGone;
      nv[i] = 0;
      std::vector<int>().swap(el);
      std::vector<int>().swap(vl);
      continue;
    }
    el.insert(el.begin(), p);
    ext[t] = de + da;
  }
  degp -= gone;
  const int64_t nleft = n - numbered;
  {
    size_t k = 0;
    for (size_t t = 0; t < lp.size(); ++t)
      if (nv[lp[t]] > 0) {
        ext[k] = ext[t];
        lp[k++] = lp[t];
      }
    lp.resize(k);
    ext.resize(k);
  }
  for (size_t t = 0; t < lp.size(); ++t) {
    int i = lp[t];
    int64_t inside = degp - nv[i];
    int64_t d = std::min<int64_t>({(int64_t)degree[i] + inside, nleft - nv[i], ext[t] + inside});
    degree[i] = (int)std::max<int64_t>(d, 0);
  }
  // Indistinguishable variables: same lists, same label.
  if (lp.size() > 1) {
    const int64_t hm = std::max<int64_t>(1, std::min<int64_t>(n, (int64_t)lp.size()));
    std::vector<std::vector<int>> bucket(hm);
    for (int i : lp) {
      int64_t h = 0;
      for (int e : elist[i]) h += e;
      for (int j : vlist[i]) h += j;
      bucket[h % hm].push_back(i);
    }
    for (auto &b : bucket) {
      for (size_t x = 0; x < b.size(); ++x) {
        int i = b[x];
        if (nv[i] <= 0) continue;
        bool marked = false;
        for (size_t y = x + 1; y < b.size(); ++y) {
          int j = b[y];
          if (nv[j] <= 0 || label[j] != label[i]) continue;
          if (elist[i].size() + vlist[i].size() != elist[j].size() + vlist[j].size()) continue;
          if (elist[i].size() != elist[j].size()) continue;
          if (!marked) {
            ++seenstamp;
            for (int e : elist[i]) seen[e] = seenstamp;
            for (int v : vlist[i]) seen[v] = seenstamp;
            marked = true;
          }
          bool same = true;
          for (int e : elist[j])
            if (seen[e] != seenstamp) { same = false; break; }
          if (same)
            for (int v : vlist[j])
              if (seen[v] != seenstamp) { same = false; break; }
          if (!same) continue;
          // Merge j into i.
          nv[i] += nv[j];
          degree[i] -= nv[j];
          if (degree[i] < 0) degree[i] = 0;
          nv[j] = 0;
          state[j] = kAbsorbed;
          rep[j] = i;
          chain[tail[i]] = j;
          tail[i] = tail[j];
          std::vector<int>().swap(elist[j]);
          std::vector<int>().swap(vlist[j]);
        }
      }
    }
    size_t k = 0;
    for (int i : lp)
      if (nv[i] > 0) lp[k++] = i;
    lp.resize(k);
  }
  int64_t total = 0;
  for (int i : lp) total += nv[i];
  for (int i : lp) {
    score[i] = fillscore(i, degree[i], total);
    if (label[i] == label[p]) insert(i);
  }
  vlist[p] = std::move(lp);
}

}  // namespace

ordresult mindegree(const ordgraph &g, int mode, const std::vector<int> &labelin,
                    std::vector<int> &perm, velto_channel *ch) {
  qgraph q;
  const int n = g.n;
  q.n = n;
  q.mode = mode;
  perm.resize(n);
  if (n == 0) return ordresult{0.0, 0.0};
  q.state.assign(n, kVar);
  q.nv.assign(n, 1);
  q.degree.resize(n);
  q.label = labelin.empty() ? std::vector<int>(n, 0) : labelin;
  q.rep.assign(n, -1);
  q.chain.assign(n, -1);
  q.tail.resize(n);
  q.score.assign(n, 0);
  q.elist.resize(n);
  q.vlist.resize(n);
  q.head.assign(n + 1, -1);
  q.next.assign(n, -1);
  q.prev.assign(n, -1);
  q.inlist.assign(n, 0);
  q.mark.assign(n, 0);
  q.seen.assign(n, 0);
  q.wmark.assign(n, 0);
  q.w.assign(n, 0);
  q.order.assign(n, -1);
  int maxlabel = 0;
  for (int v = 0; v < n; ++v) {
    q.tail[v] = v;
    q.degree[v] = g.adjbeg[v + 1] - g.adjbeg[v];
    maxlabel = std::max(maxlabel, q.label[v]);
  }
  // Dense vertices of the last label go to the end of the order.
  const double mean = (double)g.adjlist.size() / n;
  std::vector<int> aside;
  for (int v = 0; v < n; ++v)
    if (q.label[v] == maxlabel && q.degree[v] > 20.0 * mean && q.degree[v] > 16) {
      q.state[v] = kSetAside;
      q.label[v] = maxlabel + 1;
      aside.push_back(v);
    }
  for (int v = 0; v < n; ++v) {
    if (q.state[v] == kSetAside) continue;
    std::vector<int> &l = q.vlist[v];
    for (int a = g.adjbeg[v]; a < g.adjbeg[v + 1]; ++a) {
      int u = g.adjlist[a];
      if (u != v && q.state[u] != kSetAside) l.push_back(u);
    }
    q.degree[v] = (int)l.size();
    int64_t d = q.degree[v];
    q.score[v] = mode == 0 ? d : (d >= 30000 ? 1000000000 : d * (d - 1) / 2);
    if (mode == 2 && d < 30000) q.score[v] = d * (d - 1) / 4;
  }
  std::vector<std::vector<int>> bylabel(maxlabel + 1);
  for (int v = 0; v < n; ++v)
    if (q.state[v] == kVar) bylabel[q.label[v]].push_back(v);
  double t0 = ch != nullptr ? barclock() : 0.0, tlast = t0;
  int lastcount = 0;
  for (int lab = 0; lab <= maxlabel; ++lab) {
    q.mindeg = 0;
    for (int v : bylabel[lab])
      if (q.state[v] == kVar && q.nv[v] > 0) q.insert(v);
    while (q.listed > 0) {
      int p = q.pick();
      q.eliminate(p);
      if (ch != nullptr && q.numbered - lastcount >= 1001) {
        double t = barclock();
        if (t - tlast >= 15.0) {
          msg(ch, "Elapsed ordering time = %7.2f sec.\n", t - t0);
          tlast = t;
          lastcount = q.numbered;
        }
      }
    }
  }
  // The set-aside vertices last, the first of them at the very end.
  int place = n;
  for (int v : aside) q.order[v] = --place;
  if (!aside.empty()) {
    const double k = (double)aside.size();
    q.nfactor += k * (k + 1) / 2;
    for (double j = 1; j <= k; ++j) q.opcount += j * j;
  }
  for (int v = 0; v < n; ++v) perm[v] = q.order[v];
  return ordresult{q.opcount, q.nfactor};
}

}  // namespace velto
