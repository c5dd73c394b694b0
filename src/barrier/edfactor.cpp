// Numeric factor of the bordered normal matrix: weights, diagonal and drop
// limit, then the tasks of panels on the workers.
#include <algorithm>
#include <cmath>
#include <thread>
#include <vector>

#include "barrier/barrier.h"
#include "barrier/edkernel.h"
#include "env/par.h"
#include "env/thread.h"

namespace velto {

namespace {

struct shared {
  env *e;
  const barprob *bp;
  cholrec *c;
  const std::vector<double> *w;  // scaled weights
  std::vector<int> densepos;     // per column of A: its border row, or -1
  bool parallel;
};

struct worker {
  shared *sh;
  std::vector<int> relindex;
  std::vector<double> rowbuf;
  pivotctx pc;
};

// Assembles the columns of panel p from A*D*A' and the border.
void scatter(const shared &sh, int p, double *val, const int *relindex) {
  const barprob &bp = *sh.bp;
  const cholrec &c = *sh.c;
  const std::vector<double> &w = *sh.w;
  const int first = c.pfirst[p], pw = c.pwidth[p];
  for (int j = 0; j < pw; ++j) {
    const int col = first + j;
    const int orig = c.iperm[col];
    if (orig >= c.m) {
      const int dcol = bp.densecols[orig - c.m];
      val[panelrow(pw, j) + j] += -1.0 / w[dcol];
      continue;
    }
    for (int q = bp.rowbeg[orig]; q < bp.rowbeg[orig + 1]; ++q) {
      const int k = bp.rowind[q];
      const double a = bp.rowval[q];
      const int dp = sh.densepos[k];
      if (dp >= 0) {
        const int r = c.perm[dp];
        val[panelrow(pw, relindex[r]) + j] += a;
        continue;
      }
      const double v = a * w[k];
      if (v == 0.0) continue;
      for (int t = bp.colbeg[k]; t < bp.colbeg[k + 1]; ++t) {
        const int r = c.perm[bp.colind[t]];
        if (r >= col) val[panelrow(pw, relindex[r]) + j] += v * bp.colval[t];
      }
    }
    double &dg = val[panelrow(pw, j) + j];
    dg += w[bp.n + orig];
    if (dg == 0.0 && bp.rowsense(orig) == 'E') dg = 1e-8;
  }
}

void runpanels(worker &wk, int tbeg, int tend) {
  shared &sh = *wk.sh;
  cholrec &c = *sh.c;
  for (int at = tbeg; at < tend; ++at) {
    const int p = c.tasklist[at];
    const int pw = c.pwidth[p], len = c.plen[p];
    const int *pat = &c.patind[c.poff[p]];
    double *val = c.vals.data() + c.pval[p];
    for (int k = 0; k < len; ++k) wk.relindex[pat[k]] = k;
    std::fill(val, val + panelsize(pw, len), 0.0);
    scatter(sh, p, val, wk.relindex.data());
    for (int u = c.updstart[p]; u < c.updstart[p + 1]; ++u) {
      const int s = c.updsrc[u];
      if (sh.parallel)
        while (c.pivotdone[s].load(std::memory_order_acquire) == 0) std::this_thread::yield();
      panelupdate(c.vals.data() + c.pval[s], c.pwidth[s], &c.patind[c.poff[s]], c.plen[s],
                  c.updpos[u], c.updcnt[u], val, pw, c.pfirst[p], wk.relindex.data(),
                  wk.rowbuf.data(), c.kernelkind);
    }
    panelfactor(val, pw, len, c.pfirst[p], wk.pc);
    c.pivotdone[p].store(1, std::memory_order_release);
  }
}

void workerrun(void *arg) {
  worker &wk = *static_cast<worker *>(arg);
  shared &sh = *wk.sh;
  cholrec &c = *sh.c;
  const int ntasks = (int)c.taskfirst.size();
  for (;;) {
    envlock(sh.e);
    const int t = c.nexttask.fetch_add(1);
    envunlock(sh.e);
    if (t >= ntasks) break;
    runpanels(wk, c.taskfirst[t], c.taskend[t]);
  }
}

}  // namespace

int chol_factor(env *e, const barprob &bp, cholrec &c, const std::vector<double> &d) {
  return guarded([&]() -> int {
    const double t0 = barclock();
    const int n = c.n, m = c.m;
    // Scale of the weights.
    double dmax = 0.0;
    for (double x : d) dmax = std::max(dmax, x);
    c.dscale = 1.0;
    if (c.ndense == 0 && dmax > 0.0) {
      if (dmax < 1.0) c.dscale = std::ldexp(1.0, (int)std::floor(std::log2(1.0 / dmax)));
      else if (dmax >= 1e15) c.dscale = std::ldexp(1.0, (int)std::floor(std::log2(1e15 / dmax)));
    }
    std::vector<double> w(d.size());
    for (size_t k = 0; k < d.size(); ++k) w[k] = d[k] * c.dscale;
    shared sh{e, &bp, &c, &w, std::vector<int>(bp.n, -1), c.nthreads > 1};
    for (size_t t = 0; t < bp.densecols.size(); ++t) sh.densepos[bp.densecols[t]] = m + (int)t;
    // Diagonal of the matrix, the drop limit and the dependent rows.
    c.diag.assign(n, 0.0);
    for (int i = 0; i < m; ++i) {
      double s = w[bp.n + i];
      for (int q = bp.rowbeg[i]; q < bp.rowbeg[i + 1]; ++q) {
        const int k = bp.rowind[q];
        if (sh.densepos[k] < 0) s += bp.rowval[q] * bp.rowval[q] * w[k];
      }
      if (s == 0.0 && bp.rowsense(i) == 'E') s = 1e-8;
      c.diag[c.perm[i]] = s;
    }
    for (int t = 0; t < c.ndense; ++t) c.diag[c.perm[m + t]] = -1.0 / w[bp.densecols[t]];
    c.freerow.assign(n, 0);
    double big = 0.0;
    for (int i = 0; i < m; ++i) big = std::max(big, c.diag[c.perm[i]]);
    const double droplimit = big * 1e-25 * (c.ndense > 0 ? 1e-10 : 1.0);
    for (int i = 0; i < m; ++i)
      if (bp.rowsense(i) == 'E' && c.diag[c.perm[i]] < droplimit) c.freerow[c.perm[i]] = 1;
    // The tasks.
    for (auto &f : c.pivotdone) f.store(0, std::memory_order_relaxed);
    c.nexttask.store(0);
    const int T = c.nthreads;
    std::vector<worker> wk(T);
    std::vector<void *> args(T);
    for (int t = 0; t < T; ++t) {
      wk[t].sh = &sh;
      wk[t].relindex.assign(n, 0);
      wk[t].rowbuf.assign(std::max(c.panelwidth, 1), 0.0);
      wk[t].pc.diag = c.diag.data();
      wk[t].pc.freerow = c.freerow.data();
      wk[t].pc.noise = c.ndense == 0 ? kPivotNoise : 0.0;
      wk[t].pc.floor = c.ndense > 0 ? big * kPivotFloor : 0.0;
      args[t] = &wk[t];
    }
    if (T == 1) workerrun(args[0]);
    else teamrun(e, workerrun, T, args.data());
    c.npivneg = c.npivsmall = c.npivraised = 0;
    double pmax = 0.0, pmin = 1e300;
    for (auto &x : wk) {
      c.npivneg += x.pc.npivneg;
      c.npivsmall += x.pc.npivsmall;
      c.npivraised += x.pc.nraised;
      pmax = std::max(pmax, x.pc.pmax);
      pmin = std::min(pmin, x.pc.pmin);
    }
    c.condest = pmin < 1e300 && pmin > 0 ? pmax / pmin : 0.0;
    double t = barclock() - t0;
    c.lastfactortime = t;
    if (T > 1 || e->barparams->bardisplay > 1) {
      const double tt = t > 0 ? t : 0.01;
      msg(e->reschannel, "       %.2fs for iteration (%.2fs, %.0f Mflops for lin. solve)\n", t, t,
          (c.fpops + c.formops) / tt * 1e-6);
    }
    return 0;
  });
}

}  // namespace velto
