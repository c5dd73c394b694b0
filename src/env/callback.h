// Progress callbacks: what an optimizer reports while its callback runs.
#pragma once

#include "env/env.h"

namespace velto {

// Filled by an optimizer right before it calls the progress callback.
// Values that the optimizer doesn't have stay as they are; `have` says
// which `which` values are there (bit `which`).
struct cbprogress {
  int wherefrom = 0;
  unsigned have = 0;
  double obj = 0.0, dualobj = 0.0;
  double pinf = 0.0, dinf = 0.0;
  int pfeas = 0, dfeas = 0;
  int itcnt = 0;
  int counts[4] = {0, 0, 0, 0};  // presolve: rows, columns, substitutions, coefficients
  // Objective on demand (the primal's phase objective); null when `obj` holds it.
  double (*objfn)(const void *ctx) = nullptr;
  const void *objctx = nullptr;
};

// Calls the LP callback of e, if one is set, with the problem `cbdata` and
// the progress record.  Returns its result: non-zero asks to stop.  The
// environment's abort word also counts as a stop.
int lpcallback(env *e, void *cbdata, cbprogress &pr);

}  // namespace velto
