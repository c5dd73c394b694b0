// Condition measures of a factored basis.
#pragma once

#include "env/env.h"
#include "model/lp.h"
#include "simplex/lufactor.h"

namespace velto {

// Estimate of the condition number of the basis B (infinity norm): the
// largest row sum of |B| times a lower estimate of the norm of B^-1 found
// from a few solves with sign vectors.  1.0 for a basis of unit columns;
// 1e75 when the solves overflow (a basis that is singular in practice);
// -1.0 when the factor is not ready.  Uses O(m) work space and solves only.
double lu_kappa(lufactor *fac, const lumatrix *mat, const int *head);

// The exact condition number in the same norm, from the explicit rows of
// B^-1 (one solve per unit vector).  The clock of `e` is checked at each
// column against `tilim` seconds from `start`.  0, 1001, 1258 (factor not
// ready) or 1268 (time limit).
int lu_exact_kappa(env *e, lufactor *fac, const lumatrix *mat, const int *head, double tilim,
                   double start, double *kappa);

// The estimate of the basis of the problem's solution record (factored
// afresh): 0, 1217 without a solution, 1258 without a basis, 1001; a basis
// that is singular in practice gives 1e75 with status 0.
int solution_kappa(env *e, lp *p, double *value);

// The clean-up pass of an optimizer on the unscaled model (after a scaled
// optimum that is infeasible in the user's units) is given up at once when
// the condition estimate of its first basis exceeds this.
constexpr double kKappaStop = 1e15;

// Iteration limit of that clean-up pass, from the count `itcnt` reached so
// far, the objective, the estimate of the final scaled basis (negative when
// it could not be computed) and the user's limit `itlim`: 5% more
// iterations when (|objval| + 1) kappa >= 1e21 and that fits the limit,
// otherwise the user's limit.
int cleanup_itlim(int itcnt, double objval, double kappa, int itlim);

}  // namespace velto
