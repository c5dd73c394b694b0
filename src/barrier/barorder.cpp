// The ordering entry: the graph of A*A' without the dense columns, the first
// order, and the automatic trials of nested dissection on the thread team.
#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

#include "barrier/barorder.h"
#include "barrier/barprob.h"
#include "barrier/barrier.h"
#include "env/par.h"
#include "env/thread.h"

namespace velto {

namespace {

// Nested dissection is tried when the minimum degree factor costs this many
// operations per nonzero of the matrix.  At 500 a model like cycle (315,
// where dissection saves 40 percent of the factor) is left with minimum
// degree; at 300 it is not, and the trials stay cheap beside the factor.
constexpr double kTryDissection = 300.0;

// Shared state of the trials.
struct trials {
  env *e = nullptr;
  const ordgraph *g = nullptr;
  double nnz = 0.0;
  int nthreads = 1;
  int share = 0;
  int budget = 0;
  // under the environment lock
  double best = 1e75;
  double bestfactor = 0.0;
  std::vector<int> perm;
  int failures = 0;
  int improved = 0;
  bool stop = false;
  int error = 0;
  // the step counter of the rounds
  std::atomic<int> arrived{0};
};

struct trialarg {
  trials *t;
  int index;
};

void trialloop(void *a) {
  trialarg *ta = static_cast<trialarg *>(a);
  trials &t = *ta->t;
  const int T = t.nthreads;
  std::vector<int> perm;
  for (int k = 0; k < t.share; ++k) {
    envlock(t.e);
    const bool stop = t.stop;
    const double before = t.best;
    envunlock(t.e);
    ordresult r;
    int err = 0;
    if (!stop) {
      err = guarded([&] {
        order_graph(t.e, *t.g, kOrderNd, (uint32_t)(ta->index + k * T + 1), perm);
        r = ordercost(*t.g, perm);
        return 0;
      });
    }
    if (!stop) {
      // The shared best is read and written under the lock only: a test
      // before entering it would race with the other member's store.
      envlock(t.e);
      if (err == 0 && r.opcount < t.best) {
        t.best = r.opcount;
        t.bestfactor = r.nfactor;
        t.perm = perm;
        t.improved = 1;
      }
      if (err) {
        t.error = err;
        t.stop = true;
      } else if (!(r.opcount < 0.9 * before)) {
        t.failures++;
        if (k == 0 && ta->index == 0) t.stop = true;
        if (t.failures >= t.budget) t.stop = true;
      }
      envunlock(t.e);
    }
    // Everyone finishes round k before round k + 1 starts.
    const int target = (k + 1) * T;
    t.arrived.fetch_add(1);
    while (t.arrived.load() < target) std::this_thread::yield();
  }
}

}  // namespace

void build_normal_graph(const barprob &bp, ordgraph &g) {
  const int m = bp.m;
  g.n = m;
  g.adjbeg.assign(m + 1, 0);
  g.adjlist.clear();
  std::vector<int> mark(m, -1);
  for (int i = 0; i < m; ++i) {
    mark[i] = i;
    for (int p = bp.rowbeg[i]; p < bp.rowbeg[i + 1]; ++p) {
      int j = bp.rowind[p];
      if (!bp.dense.empty() && bp.dense[j]) continue;
      for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) {
        int r = bp.colind[k];
        if (mark[r] != i) {
          mark[r] = i;
          g.adjlist.push_back(r);
        }
      }
    }
    g.adjbeg[i + 1] = (int)g.adjlist.size();
  }
}

int order_once(env *e, const ordgraph &g, int method, bool report, uint32_t seed,
               std::vector<int> &perm, double nnz, ordresult &best) {
  (void)report;
  (void)nnz;
  return guarded([&] {
    std::vector<int> p;
    order_graph(e, g, method, seed, p);
    ordresult r = ordercost(g, p);
    envlock(e);
    if (r.opcount < best.opcount) {
      best = r;
      perm = p;
    }
    envunlock(e);
    return 0;
  });
}

int bar_order(env *e, const barprob &bp, int barorder, std::vector<int> &perm, ordresult &out) {
  return guarded([&]() -> int {
    const double t0 = barclock();
    const barparblock *bpar = e->barparams;
    ordgraph g;
    build_normal_graph(bp, g);
    const double nnz = (double)g.edges() + g.n;
    if (bpar->bardisplay >= 1)
      msg(e->reschannel, "Number of nonzeros in lower triangle of A*A' = %lld\n", (long long)g.edges());
    ordresult best;
    const int first = barorder == 0 ? kOrderAmd : barorder;
    int st = order_once(e, g, first, true, 1, perm, nnz, best);
    if (st) return st;
    bool nd = false;
    if (barorder == 0 && nnz > 0 && best.opcount / nnz >= kTryDissection) {
      trials t;
      t.e = e;
      t.g = &g;
      t.nnz = nnz;
      t.best = best.opcount;
      t.bestfactor = best.nfactor;
      int T = bpar->p3022 != 0 ? std::min(bpar->p3022, e->threadlimit)
                               : std::min(2, cpucap(threadcount(e, kThreadsBarrier) > 0
                                                        ? threadcount(e, kThreadsBarrier)
                                                        : 2));
      T = std::max(T, 1);
      t.budget = std::min(5, (int)(0.001 * best.opcount / nnz));
      t.budget = std::max(t.budget, 1);
      t.nthreads = T;
      t.share = (t.budget + T - 1) / T;
      std::vector<trialarg> args(T);
      std::vector<void *> argp(T);
      for (int i = 0; i < T; ++i) {
        args[i] = {&t, i};
        argp[i] = &args[i];
      }
      teamrun(e, trialloop, T, argp.data());
      if (t.improved && t.error == 0) {
        perm = t.perm;
        best.opcount = t.best;
        best.nfactor = t.bestfactor;
        nd = true;
      }
    }
    if (bpar->bardisplay > 0 && barorder == 0)
      msg(e->reschannel, nd ? "Using Nested Dissection ordering\n" : "Using Approximate Minimum Degree ordering\n");
    if (bpar->bardisplay > 0) {
      static const char *kind[] = {"automatic", "approximate-min-degree", "approximate-min-fill",
                                   "nested dissection"};
      msg(e->reschannel, "Total time for %s ordering = %.2f sec.\n", kind[barorder], barclock() - t0);
    }
    out = best;
    return 0;
  });
}

}  // namespace velto
