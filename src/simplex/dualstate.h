// The dual method's layer of a problem object, and the mapping between the
// problem store's working form and the engine's computational form.
#pragma once

#include <vector>

#include "model/lp.h"
#include "simplex/dualcore.h"

namespace velto {

// Record behind lp.dual.  It outlives a call so that a re-solve reuses the
// norms, and so that the Farkas row and the ray of the last run can be read.
struct dualstate {
  dualprob prob;
  dualengine eng;
  int engready = 0;      // eng holds the final basis of the last run
  int normsok = 0;       // eng.gamma belongs to eng.head
  int farkaspos = -1;    // basis position of the row that proved infeasibility
  double farkasval = 0;  // its basic value then
  std::vector<double> ray;  // primal ray by working column (totcols), status 2
  int hasray = 0;
  // Basis factor used by the read-only basis calls, with the head it holds.
  dualprob bprob;
  dualfactor *bfac = nullptr;
  std::vector<int> bhead;
  int bready = 0;
};

// Dual norms kept with the start, by the basis positions of head (engine
// numbering), -1 where the start has no norm for the basic variable.
// Returns the count of positions that got a norm.
int dual_startnorms(const lp *p, const std::vector<int> &head, std::vector<double> &gamma);

// Moves the norms of the last dual run into the start (head form), when they
// belong to the basis of the solution record; run as rows or columns come or go.
void dual_carrynorms(env *e, lp *p);

// Before rows go (map[i] < 0 for a deleted row): their nonbasic logicals are
// pivoted into the basis so that the rest keeps a nonsingular basis and
// exact norms.
void dual_rowsgo(env *e, lp *p, const int *map);

// The dual simplex method on p (the work of VLTdualopt after the handle
// tests); returns a status.
int dual_optimize(env *e, lp *p);

// Returns the layer, making it on first use; null on 1001.
dualstate *dualstate_get(env *e, lp *p);

// Builds the computational form of the working model of p (structural and
// range columns, then one logical per row: the slack, or the artificial of
// a row without one).  `rowslack` receives, per row, its slack index or -1.
void dual_buildprob(const lp *p, dualprob &prob, std::vector<int> &rowslack);

// Engine numbering <-> working numbering of the store.
int dual_to_working(const lp *p, const std::vector<int> &rowslack, int v);
int dual_from_working(const lp *p, int j);

// Sign of a row's logical in the user's view of the basis: the slack of a
// 'G' row is read as rhs - activity, the negation of the working slack.
double dual_usersign(const lp *p, int v);

}  // namespace velto
