// Setup of the numeric phase: panel width, panels, update lists and tasks.
#include <algorithm>
#include <cmath>
#include <vector>

#include "barrier/barrier.h"
#include "barrier/edkernel.h"
#include "env/par.h"

namespace velto {

namespace {

int panel_width(const cholrec &c, int threads) {
  // Longest weighted path of the tree: a column costs 3 * rowlen.
  std::vector<double> path(c.n, 0.0);
  double crit = 0.0;
  for (int s = 0; s < c.nsuper; ++s)
    for (int j = c.sfirst[s]; j <= c.slast[s]; ++j) {
      path[j] += 3.0 * c.rowlen[j];
      crit = std::max(crit, path[j]);
      const int at = c.spat[s] + (j - c.sfirst[s]) + 1;
      if (at < c.spat[s] + c.slen[s]) {
        int parent = c.patind[at];
        path[parent] = std::max(path[parent], path[j]);
      }
    }
  long x = crit > 0 ? (long)((c.fpops / crit) / threads) : 0;
  long w = x / 2 / 2 * 2;
  const long low = c.formops > c.fpops ? 2 : 24;
  if (w < low) w = low;
  if (w > 112) w = 112;
  return (int)w;
}

}  // namespace

void buildpanels(cholrec &c);
void buildtasks(cholrec &c);

int chol_setup(env *e, const barprob &bp, cholrec &c, int nthreads) {
  (void)bp;
  return guarded([&]() -> int {
    c.nthreads = std::max(1, nthreads);
    const int kk = e->barparams->p3020;
    c.kernelkind = kk == 0 ? 2 : (kk > 0 ? kk : 0);
    // The panels are cut once per analysis; a new worker count only
    // changes the tasks, so the factor's values don't depend on it.
    if (c.npanels == 0) buildpanels(c);
    buildtasks(c);
    c.pivotdone = std::vector<std::atomic<int>>(c.npanels);
    return 0;
  });
}

void buildpanels(cholrec &c) {
  {
    const int pw = panel_width(c, c.nthreads);
    c.panelwidth = 0;
    c.pfirst.clear();
    c.pwidth.clear();
    c.psuper.clear();
    c.poff.clear();
    c.plen.clear();
    c.panelof.assign(c.n, 0);
    c.panelend.assign(c.n, 0);
    for (int s = 0; s < c.nsuper; ++s)
      for (int f = c.sfirst[s]; f <= c.slast[s]; f += pw) {
        int w = std::min(pw, c.slast[s] - f + 1);
        int p = (int)c.pfirst.size();
        c.pfirst.push_back(f);
        c.pwidth.push_back(w);
        c.psuper.push_back(s);
        c.poff.push_back(c.spat[s] + (f - c.sfirst[s]));
        c.plen.push_back(c.slen[s] - (f - c.sfirst[s]));
        c.panelwidth = std::max(c.panelwidth, w);
        for (int j = f; j < f + w; ++j) {
          c.panelof[j] = p;
          c.panelend[j] = j == f ? f + w - 1 : f;
        }
      }
    const int np = c.npanels = (int)c.pfirst.size();
    c.pval.assign(np + 1, 0);
    c.maxpanel = 0;
    for (int p = 0; p < np; ++p) {
      size_t sz = panelsize(c.pwidth[p], c.plen[p]);
      c.pval[p + 1] = c.pval[p] + sz;
      c.maxpanel = std::max<int>(c.maxpanel, (int)sz);
    }
    if (c.oocflag == 0) c.vals.assign(c.pval[np], 0.0);
    // Update lists: each run of a source's rows below its block that falls
    // in one target panel.
    std::vector<int> cnt(np + 1, 0);
    c.parentpanel.assign(np, -1);
    struct upd { int t, s, q, n; };
    std::vector<upd> all;
    for (int s = 0; s < np; ++s) {
      const int *pat = &c.patind[c.poff[s]];
      const int w = c.pwidth[s], len = c.plen[s];
      if (len > w) c.parentpanel[s] = c.panelof[pat[w]];
      for (int q = w; q < len;) {
        int t = c.panelof[pat[q]];
        int q2 = q;
        const int tend = c.pfirst[t] + c.pwidth[t];
        while (q2 < len && pat[q2] < tend) ++q2;
        all.push_back({t, s, q, q2 - q});
        cnt[t + 1]++;
        q = q2;
      }
    }
    for (int t = 0; t < np; ++t) cnt[t + 1] += cnt[t];
    c.updstart = cnt;
    c.updsrc.resize(all.size());
    c.updpos.resize(all.size());
    c.updcnt.resize(all.size());
    std::vector<int> at(cnt.begin(), cnt.end() - 1);
    for (const upd &u : all) {  // sources ascending within each target
      int k = at[u.t]++;
      c.updsrc[k] = u.s;
      c.updpos[k] = u.q;
      c.updcnt[k] = u.n;
    }
  }
}

void buildtasks(cholrec &c) {
  {
    const int np = c.npanels;
    // Work of each panel, accumulated up the tree.
    std::vector<double> work(np, 0.0);
    for (int p = 0; p < np; ++p) {
      const double w = c.pwidth[p], len = c.plen[p], r = len - w;
      work[p] += w * (w + 1) * (2 * w + 1) / 6 + r * w * w;
      const int *pat = &c.patind[c.poff[p]];
      for (int k = c.pwidth[p]; k < c.plen[p]; ++k) work[c.panelof[pat[k]]] += 2 * w * (len - k);
    }
    double total = 0.0;
    for (int p = 0; p < np; ++p) {
      int q = c.parentpanel[p];
      if (q >= 0) work[q] += work[p];
      else total += work[p];
    }
    // Tasks: a panel below the threshold goes with the highest ancestor
    // below it, so a whole subtree forms one task; a panel at or above it is
    // a task of its own.  Panels of a task are kept ascending.
    c.taskfirst.clear();
    c.taskend.clear();
    c.tasklist.clear();
    if (total < 5e6 || c.nthreads == 1) {
      for (int p = 0; p < np; ++p) c.tasklist.push_back(p);
      c.taskfirst.push_back(0);
      c.taskend.push_back(np);
    } else {
      const double th = std::max(5e6, total / c.nthreads * 0.1);
      std::vector<int> root(np, -1);
      for (int p = np - 1; p >= 0; --p) {
        if (work[p] >= th) continue;
        const int q = c.parentpanel[p];
        root[p] = (q < 0 || work[q] >= th) ? p : root[q];
      }
      std::vector<std::vector<int>> groups(np);
      for (int p = 0; p < np; ++p)
        if (root[p] >= 0) groups[root[p]].push_back(p);
      std::vector<int> singles;
      for (int p = 0; p < np; ++p) {
        if (root[p] < 0) {
          singles.push_back(p);
        } else if (root[p] == p) {
          if (groups[p].size() == 1) {
            singles.push_back(p);
            continue;
          }
          c.taskfirst.push_back((int)c.tasklist.size());
          c.tasklist.insert(c.tasklist.end(), groups[p].begin(), groups[p].end());
          c.taskend.push_back((int)c.tasklist.size());
        }
      }
      std::sort(singles.begin(), singles.end());
      for (int p : singles) {
        c.taskfirst.push_back((int)c.tasklist.size());
        c.tasklist.push_back(p);
        c.taskend.push_back((int)c.tasklist.size());
      }
    }
  }
}

void chol_free(cholrec &c) {
  c.perm.clear();
  c.iperm.clear();
  c.sfirst.clear();
  c.slast.clear();
  c.spat.clear();
  c.slen.clear();
  std::vector<int>().swap(c.patind);
  std::vector<double>().swap(c.vals);
  c.npanels = c.nsuper = c.n = 0;
}

}  // namespace velto
