// Symbolic factor of the normal matrix: column patterns by merging the
// children's, supernodes, amalgamation, postorder and the statistics.
#include <algorithm>
#include <climits>
#include <map>
#include <vector>

#include "barrier/barrier.h"
#include "env/par.h"
#include "env/thread.h"

namespace velto {

namespace {

struct snode {
  std::vector<int> cols;   // own columns, in order
  std::vector<int> below;  // rows after the own columns, ascending
  std::vector<int> kids;
  int parent = -1;
  bool gone = false;
};

// Supernodes from the column patterns, in the order of the columns.
void patterns(const barprob &bp, int m, int n, const std::vector<int> &place,
              std::vector<snode> &sn) {
  std::vector<int> mark(n, -1);
  std::vector<std::vector<int>> dense_of_row(m);
  for (size_t t = 0; t < bp.densecols.size(); ++t) {
    int j = bp.densecols[t];
    for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) dense_of_row[bp.colind[k]].push_back(m + (int)t);
  }
  std::vector<int> inv(n);
  for (int i = 0; i < n; ++i) inv[place[i]] = i;
  // Pattern of each column below the diagonal, kept while a later column
  // still needs it; a column joins its predecessor's supernode when its
  // pattern is the predecessor's without the first entry.
  std::vector<std::vector<int>> kids(n);
  std::vector<int> prevpat;  // pattern of column j - 1 below its diagonal
  std::vector<std::vector<int>> colpat(n);
  std::vector<int> L;
  for (int j = 0; j < n; ++j) {
    const int orig = inv[j];
    L.clear();
    mark[j] = j;
    if (orig >= m) {
      // The dense rows and everything after them form one dense triangle.
      for (int r = j + 1; r < n; ++r) L.push_back(r);
    } else {
      for (int p = bp.rowbeg[orig]; p < bp.rowbeg[orig + 1]; ++p) {
        int k = bp.rowind[p];
        if (!bp.dense.empty() && bp.dense[k]) continue;
        for (int q = bp.colbeg[k]; q < bp.colbeg[k + 1]; ++q) {
          int r = place[bp.colind[q]];
          if (r > j && mark[r] != j) {
            mark[r] = j;
            L.push_back(r);
          }
        }
      }
      for (int r : dense_of_row[orig])
        if (mark[place[r]] != j) {
          mark[place[r]] = j;
          L.push_back(place[r]);
        }
      for (int c : kids[j]) {
        for (int r : colpat[c])
          if (r > j && mark[r] != j) {
            mark[r] = j;
            L.push_back(r);
          }
        std::vector<int>().swap(colpat[c]);
      }
      std::sort(L.begin(), L.end());
    }
    const bool join = j > 0 && !sn.empty() && prevpat.size() == L.size() + 1 && prevpat[0] == j &&
                      std::equal(L.begin(), L.end(), prevpat.begin() + 1);
    if (join) {
      sn.back().cols.push_back(j);
      sn.back().below.erase(sn.back().below.begin());
    } else {
      snode s;
      s.cols.push_back(j);
      s.below = L;
      sn.push_back(std::move(s));
    }
    if (!L.empty()) {
      colpat[j] = L;
      kids[L[0]].push_back(j);
    }
    prevpat = L;
    if (orig >= m || (int)L.size() == n - j - 1) {
      // The rest of the matrix is one dense triangle.
      for (int r = j + 1; r < n; ++r) {
        sn.back().cols.push_back(r);
        sn.back().below.erase(sn.back().below.begin());
      }
      break;
    }
  }
}

// Merges children into parents where the extra zeros cost less than the
// smaller update work saves.
void amalgamate(std::vector<snode> &sn, const std::vector<int> &snof) {
  const int ns = (int)sn.size();
  for (int s = 0; s < ns; ++s) {
    if (sn[s].below.empty()) continue;
    int p = snof[sn[s].below[0]];
    sn[s].parent = p;
    sn[p].kids.push_back(s);
  }
  std::vector<int> queue;
  for (int s = ns - 1; s >= 0; --s)
    if (sn[s].parent < 0) queue.push_back(s);
  while (!queue.empty()) {
    int p = queue.back();
    queue.pop_back();
    for (;;) {
      snode &ps = sn[p];
      const double lenp = (double)(ps.cols.size() + ps.below.size());
      int bestc = -1;
      double best = 1e300;
      for (size_t t = 0; t < ps.kids.size(); ++t) {
        const snode &c = sn[ps.kids[t]];
        const double w = (double)c.cols.size(), r = (double)c.below.size();
        const double d = lenp - r;
        const double score = d * ((2 * r + 1 + d) * w) * 0.5 - (r * (r + 1) + 200);
        if (score < best) {
          best = score;
          bestc = (int)t;
        }
      }
      if (bestc < 0 || best >= -0.1) break;
      int c = ps.kids[bestc];
      ps.kids.erase(ps.kids.begin() + bestc);
      snode &cs = sn[c];
      std::vector<int> cols = cs.cols;
      cols.insert(cols.end(), ps.cols.begin(), ps.cols.end());
      ps.cols.swap(cols);
      for (int k : cs.kids) {
        sn[k].parent = p;
        ps.kids.push_back(k);
      }
      cs.gone = true;
      std::vector<int>().swap(cs.cols);
      std::vector<int>().swap(cs.below);
      std::vector<int>().swap(cs.kids);
    }
    for (int k : sn[p].kids) queue.push_back(k);
  }
}

}  // namespace

int sym_normal(env *e, cholrec &c, const barprob &bp, const std::vector<int> &perm) {
  return guarded([&]() -> int {
    const int m = bp.m, nd = (int)bp.densecols.size(), n = m + nd;
    c.mode = 98;
    c.npanels = 0;  // cut again at the next setup
    c.m = m;
    c.ndense = nd;
    c.n = n;
    std::vector<int> place(n);
    for (int i = 0; i < m; ++i) place[i] = perm[i];
    for (int t = 0; t < nd; ++t) place[m + t] = m + t;
    std::vector<snode> sn;
    patterns(bp, m, n, place, sn);
    std::vector<int> snof(n);
    for (int s = 0; s < (int)sn.size(); ++s)
      for (int j : sn[s].cols) snof[j] = s;
    amalgamate(sn, snof);
    // Postorder from the roots, in the order of their columns.
    std::vector<int> roots;
    for (int s = 0; s < (int)sn.size(); ++s)
      if (!sn[s].gone && sn[s].parent < 0) roots.push_back(s);
    std::vector<int> post;
    for (int r : roots) {
      std::vector<std::pair<int, size_t>> stack{{r, 0}};
      while (!stack.empty()) {
        auto &[s, k] = stack.back();
        if (k == 0) std::sort(sn[s].kids.begin(), sn[s].kids.end());
        if (k < sn[s].kids.size()) {
          int child = sn[s].kids[k++];
          stack.push_back({child, 0});
        } else {
          post.push_back(s);
          stack.pop_back();
        }
      }
    }
    std::vector<int> newnum(n, -1);
    int next = 0;
    for (int s : post)
      for (int j : sn[s].cols) newnum[j] = next++;
    c.nsuper = (int)post.size();
    c.sfirst.resize(c.nsuper);
    c.slast.resize(c.nsuper);
    c.spat.resize(c.nsuper);
    c.slen.resize(c.nsuper);
    c.patind.clear();
    c.snmap.assign(n, 0);
    c.rowlen.assign(n, 0);
    c.intspace = 0;
    for (int t = 0; t < c.nsuper; ++t) {
      const snode &s = sn[post[t]];
      c.sfirst[t] = newnum[s.cols.front()];
      c.slast[t] = c.sfirst[t] + (int)s.cols.size() - 1;
      c.spat[t] = (int)c.patind.size();
      for (int j : s.cols) c.patind.push_back(newnum[j]);
      size_t at = c.patind.size();
      for (int r : s.below) c.patind.push_back(newnum[r]);
      std::sort(c.patind.begin() + at, c.patind.end());
      c.slen[t] = (int)(c.patind.size() - c.spat[t]);
      c.intspace += c.slen[t];
      for (int j = c.sfirst[t]; j <= c.slast[t]; ++j) {
        c.snmap[j] = j == c.sfirst[t] ? c.slast[t] : c.sfirst[t];
        c.rowlen[j] = c.slen[t] - (j - c.sfirst[t]);
      }
    }
    c.perm.resize(n);
    c.iperm.resize(n);
    for (int i = 0; i < n; ++i) {
      c.perm[i] = newnum[place[i]];
      c.iperm[c.perm[i]] = i;
    }
    c.valstart.assign(n + 1, 0.0);
    c.nzcount = c.fpops = 0;
    for (int j = 0; j < n; ++j) {
      c.valstart[j + 1] = c.valstart[j] + c.rowlen[j];
      c.nzcount += c.rowlen[j];
      c.fpops += (double)c.rowlen[j] * c.rowlen[j];
    }
    c.formops = 0;
    for (int j = 0; j < bp.n; ++j)
      if (bp.dense.empty() || !bp.dense[j]) c.formops += (double)bp.collen(j) * (bp.collen(j) + 1);
    const barparblock *bpar = e->barparams;
    if (bpar->bardisplay > 0) {
      const int threads = std::max(1, cpucap(threadcount(e, kThreadsBarrier) > 0 ? threadcount(e, kThreadsBarrier) : 1));
      msg(e->reschannel, "Summary statistics for Cholesky factor:\n");
      if (threads > 1) msg(e->reschannel, "  Threads                   = %d\n", threads);
      msg(e->reschannel, "  Rows in Factor            = %d\n", n);
      msg(e->reschannel, "  Integer space required    = %.0f\n", c.intspace);
      msg(e->reschannel, "  Total non-zeros in factor = %.0f\n", c.nzcount);
      msg(e->reschannel, "  Total FP ops to factor    = %.0f\n", c.fpops);
    }
    if (bpar->bardisplay > 1) {
      msg(e->reschannel, "L has %d super-nodes.\n", c.nsuper);
      std::map<int, int> hist;
      for (int t = 0; t < c.nsuper; ++t) hist[c.slast[t] - c.sfirst[t] + 1]++;
      msg(e->reschannel, "Histogram of super-node widths:\n");
      std::vector<std::pair<int, int>> h(hist.begin(), hist.end());
      for (size_t a = 0; a < h.size(); a += 10) {
        size_t b = std::min(h.size(), a + 10);
        msg(e->reschannel, "SupWidth:");
        for (size_t k = a; k < b; ++k) msg(e->reschannel, "%7d", h[k].first);
        msg(e->reschannel, "\n  Number:");
        for (size_t k = a; k < b; ++k) msg(e->reschannel, "%7d", h[k].second);
        msg(e->reschannel, "\n");
      }
    }
    if (c.intspace > INT_MAX || c.nzcount > INT_MAX) return kNoMemory;
    if (c.oocflag && c.nzcount <= e->params->workmem * 1024.0 * 1024.0 * 0.125) c.oocflag = 0;
    if (c.nzcount > bpar->p3021 * 1024.0 * 1024.0 * 0.125) return kNoMemory;
    return 0;
  });
}

}  // namespace velto
