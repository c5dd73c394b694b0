// Basis frame of the exported basis operations: the current basis of a
// problem over the computational form of the dual engine (structural and
// range columns 0..n-1, then one logical per row), in the user's units, with
// its factor and the values, duals and reduced costs that the basis gives.
#pragma once

#include <memory>
#include <vector>

#include "model/lp.h"
#include "model/store.h"
#include "simplex/dualcore.h"

namespace velto {

// The frame of an exported basis call: handle checks and the change cache
// through queryframe, then work(p); allocation failures become 1001 and a
// non-zero status is reported.
template <class F>
int basiscall(env *e, lp *p, F work) {
  int status = guarded([&] { return queryframe(e, &p); });
  if (status == 0) status = guarded([&] { return work(p); });
  if (status) report(e, &status);
  return status;
}

struct bframe {
  env *e = nullptr;
  lp *p = nullptr;
  int m = 0;       // rows
  int n = 0;       // structural and range columns (totcols)
  int nc = 0;      // user's columns
  dualprob prob;   // user's units, minimization sign
  std::vector<int> rowslack;  // per row its slack index or -1 (store form)
  std::vector<int> rangecol;  // per row its range column or -1
  std::vector<int> head;      // m, variable per basis position
  std::vector<int> status;    // n + m: 0 lower, 1 basic, 2 upper, 3 free/superbasic
  std::vector<int> pos;       // n + m: basis position or -1
  std::vector<double> x;      // n + m values
  std::vector<double> pi;     // m duals
  std::vector<double> d;      // n + m reduced costs
  std::unique_ptr<dualfactor> fac;
  int source = 0;             // 0 the solution's basis, 1 the start basis, 2 slack basis
};

// Where a frame may take its basis from.
enum : int { kFrameSolnOnly = 0, kFrameAnyBasis = 1 };

// Builds the frame over the basis of the solution record (or, with
// kFrameAnyBasis, the user's start basis or the all-logical basis), factors
// it and computes x, pi and d.  Returns 0; `nobasis` when the basis asked for
// does not exist; 1256 for a singular basis of the solution; 1001.
int frame_open(env *e, lp *p, bframe &f, int from, int nobasis);
// Refactors the head and recomputes x, pi, d.  0 or 1256.
int frame_refresh(bframe &f);
// Writes the frame's basis and values to the solution record with the given
// status and method; `pfeas`/`dfeas` from the frame's own checks.
int frame_close(bframe &f, int lpstat, int method);

// Column of variable v of the computational form, dense over the rows.
void frame_column(const bframe &f, int v, std::vector<double> &a);
// a_v' y for variable v.
double frame_dot(const bframe &f, int v, const std::vector<double> &y);
// Number of entries of variable v (logicals count 1).
int frame_collen(const bframe &f, int v);
// Coefficient sign of a row's logical or range column in its row.
double frame_rowcoef(const bframe &f, int v);

// User numbering (column j, or ~i for the slack of row i) <-> variables of
// the form.  A slack of a ranged row is its range column; of an equality
// row its logical.  to_internal gives -1 for a value out of range;
// to_external gives 2100000000 for none.
int to_internal(const bframe &f, int user);
int to_external(const bframe &f, int v);
// Status of variable v as the user's basis arrays show it.
int user_status(const bframe &f, int v, int st);

// Most primal infeasible basic variable (violation above tol) or -1, and
// the most dual infeasible nonbasic variable or -1.
int frame_worst_primal(const bframe &f, double tol);
int frame_worst_dual(const bframe &f, double tol);

// Ray of an unbounded basis over the user's columns, found from the basis
// itself (basisq.cpp).  0, or 1217 when the basis shows no divergence.
int basis_ray(env *e, lp *p, double *z);
// Whether the basis that an advanced start would use is primal feasible
// within VLT_PARAM_EPRHS: 1 yes, 0 no, -1 when it cannot be told.
int basis_primal_feasible(env *e, lp *p);

}  // namespace velto
