// Exported optimizer entries.
#include <new>

#include "env/par.h"
#include "model/lp.h"
#include "model/store.h"
#include "barrier/vltbar.h"
#include "presolve/presolve.h"
#include "simplex/bframe.h"
#include "simplex/dualstate.h"
#include "simplex/solve.h"

using namespace velto;

namespace {

int entry(env *e, lp *p, int (*run)(env *, lp *)) {
  int status = 0;
  if (!checkenv(e)) return kNoEnvironment;
  if (!checklp(e, p)) status = kNoProblem;
  if (status == 0) status = guarded([&] { return cache_flush(e, p); });
  if (status == 0) status = guarded([&] { return run(e, p); });
  if (status) report(e, &status);
  return status;
}

// Automatic choice: from a basis that is primal feasible the primal
// simplex, otherwise the dual.
int automethod(env *e, lp *p) {
  if (e->params->advind && basisexists(p)) return basis_primal_feasible(e, p) == 1 ? 1 : 2;
  return 2;
}

// Method choice: 1 is the primal simplex; the dual simplex is the default
// and stands in for the methods not wired in yet.
int lpopt_run(env *e, lp *p) {
  int method = e->params->lpmethod;
  if (method == 0) method = automethod(e, p);
  if (method == 1) return presolve_wrap(e, p, 1, primal_optimize);
  if (method == 4) return hybbar_run(e, p, 0);
  return presolve_wrap(e, p, 2, dual_optimize);
}
int primopt_run(env *e, lp *p) { return presolve_wrap(e, p, 1, primal_optimize); }

}  // namespace

extern "C" {

int VLTprimopt(VLTENVptr env, VLTLPptr lp) { return entry(env, lp, primopt_run); }

int VLTlpopt(VLTENVptr env, VLTLPptr lp) { return entry(env, lp, lpopt_run); }

}  // extern "C"
