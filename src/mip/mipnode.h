// The node problem of a search and the incumbent store.
#pragma once

#include <vector>

#include "mip/mip.h"

namespace velto {

struct bdchglist;

// The best integer solution known, with the cutoff that it implies.  All
// objectives in minimization sense.
struct incumbent {
  int solnseq = -1;      // node of the solution; -1: no incumbent
  int havex = 0;
  double bestobj = 1e75;
  double cutoff = 1e75;
  std::vector<double> x;  // unscaled model columns
  std::vector<int> colstat, rowstat;
  int solcnt = 0;
  double epint = 1e-5;
  double increment = 0.0;  // 0: not known
  double objdif = 0.0, relobjdif = 0.0;
  int ncols = 0;
};

// A fresh store for the environment's parameters and the model's sense.
void incumbent_init(env *e, int objsen, int ncols, incumbent &s);
// Cutoff for a solution of objective z.
double cutoff_from_obj(const incumbent &s, double z);
// Lowers the cutoff to min(cutoff, value, cutoff implied by bestobj);
// returns true when it changed.
bool incumbent_tighten(incumbent &s, double value);
// Offers the solution of `nodelp` (objective `obj`, minimization sense) found
// at node `node`; reads x and the basis through the public calls.  Sets
// *accepted.  Returns 0 or an error; on failure the old incumbent stays.
int incumbent_offer(env *e, lp *nodelp, incumbent &s, int node, double obj, int *accepted);
// Offer of a value without a vector.
int incumbent_offer_value(incumbent &s, int node, double obj, int *accepted);

// The node problem: a copy of the model (no column types) with problem type
// 4, bounds and basis installed per node.
struct nodestate {
  lp *nodelp = nullptr;
  std::vector<double> glb, gub;   // global bounds, user units
  std::vector<int> actidx;        // the installed node's bound changes
  std::vector<char> actsense;
  std::vector<double> actval;
};

// Makes `nodelp` from the model (names, bounds, objective offset).
int nodelp_make(env *e, lp *p, lp **nodelp);
// Installs a node: undoes the previous node's bounds, applies the node's
// (merged with the global bounds) and its basis when given (cstat/rstat may
// be null).  The applied list replaces the state's active set.
int nodeinstall(env *e, nodestate &ns, const bdchglist *bounds, const int *cstat,
                const int *rstat);

// Pricing for the node solves when the run left it to the library
// (`dpriind` 0): average iterations per node above 50 choose 4, below 20
// choose 5, else the parameter stays.  Returns the value set or kept.
int nodepricing(env *e, int dpriind, int nodes, long long iters, long long rootiters);

// Reduced-cost fixing.  rcfix[j] is the objective above which column j must
// stay at the bound glbside[j] ('L' or 'U'); -1e75 when unset.
struct rcfixtable {
  std::vector<double> rcfix;
  std::vector<char> glbside;
};
// Enters the root solution of `q` (objective `obj`, minimization sign).
int rcfix_root(env *e, lp *q, const char *ctype, int objsen, double obj, rcfixtable &t);
// Fixes the global bounds of columns whose entry is above the cutoff;
// returns the count.
int rcfix_apply(const rcfixtable &t, const char *ctype, double cutoff, std::vector<double> &glb,
                std::vector<double> &gub);
// At a node of objective `nodeobj`: fixes integer columns whose reduced
// cost exceeds the gap to the cutoff, in `list` and in `q`.
int rcfix_node(env *e, lp *q, const char *ctype, int objsen, double nodeobj, double cutoff,
               bdchglist &list, int *fixed);

// Result of a node solve.
struct lpresult {
  int status = 0;
  int method = 0;
  int pfeas = 0, dfeas = 0;
};
// Solves the node problem with algorithm `alg` (0 automatic, 1 primal,
// 2 dual, others through VLTlpopt by that method); the objective limit is taken from the cutoff.  Returns 0, 108 on
// a time limit, 3019 when the result is neither optimal nor infeasible nor
// cut off, or an error.
int nodelpsolve(env *e, lp *nodelp, int objsen, double cutoff, double start, double tilim,
                int alg, lpresult *res, int *iters, double *obj);

}  // namespace velto
