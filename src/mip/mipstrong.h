// Strong branching and the Driebeek penalties: trial dual re-solves of the
// two children of a fractional column, and the one-pivot bound on what each
// child costs.  Both work on a solved LP (the node problem, or the user's LP
// for VLTstrongbranch) and leave its basis, bounds and norms as they found
// them.
#pragma once

#include "model/lp.h"

namespace velto {

// Trial solves of the children of the columns list[0..count-1] of the LP q,
// which must be solved to optimality (status 1 or 5; otherwise 1252).  For
// each column: down side with the upper bound at floor(x), up side with the
// lower bound at floor(x) + 1, each by the dual simplex with at most
// `itlim` iterations and an objective limit at `cutoff` (model sense; an
// infinite value means none).  down[k] and up[k] get the objective reached
// (model sense): the child's optimum, the limit when it was hit, 1e75 x sense
// for an infeasible child; when the iteration limit stopped it, the objective
// of its last basis if that is dual feasible, else the parent's optimum (so
// a value never passes the child's optimum); a nonbasic column gets
// -1e20 x sense in both and status -1.
// When downstat/upstat are given (may be null) and ctype is given, they get
// the count of fractional integer columns (tolerance epint) of an optimal
// child, else -1.  nthreads > 1 shares the list among clones of q.
// Returns 0, 1263 on a user abort, 1266 past the time limit, 1201 for a
// column out of range, or another error.
int strongkernel(env *e, lp *q, const int *list, int count, double *down, double *up,
                 int itlim, int nthreads, double cutoff, const char *ctype, double epint,
                 int *downstat, int *upstat);

// Driebeek penalties of the optimal basis of q for the basic columns
// cols[0..count-1]: downpen[k] = f x d_down and uppen[k] = (1 - f) x d_up,
// f the fraction of the column's value, d the smallest objective increase
// (minimization sense, never negative) of one dual pivot on its row taking
// the value to floor or ceiling.  A fraction within epint of an integer, a
// nonbasic column, or an LP without a basis and dual values gives 0 and 0.
int branchpen(env *e, lp *q, const int *cols, int count, double epint, double *downpen,
              double *uppen);

}  // namespace velto
