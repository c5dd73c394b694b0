// The analysis of the normal matrix in one call: dense columns, ordering,
// symbolic factor and the setup for the workers.
#include <algorithm>

#include "barrier/barrier.h"
#include "env/par.h"
#include "env/thread.h"

namespace velto {

int chol_analyse(env *e, barprob &bp, cholrec &c) {
  int st = guarded([&] {
    if (bp.rowbeg.empty()) bp.buildrows();
    return 0;
  });
  if (st == 0) st = find_dense(e, bp);
  std::vector<int> perm;
  ordresult r;
  if (st == 0) st = bar_order(e, bp, e->barparams->barorder, perm, r);
  if (st == 0) st = sym_normal(e, c, bp, perm);
  int threads = threadcount(e, kThreadsBarrier);
  threads = threads <= 0 ? 1 : cpucap(threads);
  if (st == 0) st = chol_setup(e, bp, c, threads);
  if (st) chol_free(c);
  return st;
}

}  // namespace velto
