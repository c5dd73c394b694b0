// The infeasibility finder: an irreducible infeasible subset (IIS) of an
// infeasible linear program, its record on the problem and its displays.
#pragma once

#include <vector>

#include "model/lp.h"

namespace velto {

// Side of a member that is in force.
enum : int { kIisLower = 0, kIisFixed = 1, kIisUpper = 2 };
// iisstat values.
enum : int { kIisComplete = 1, kIisPartial = 2 };

// The subset found for a problem, held in lp.iis until a change of the model
// or a search with another VLT_PARAM_IISIND replaces it.
struct iisrec {
  std::vector<int> rowind, colind;    // members, rising
  std::vector<int> rowstat, colstat;  // kIisLower, kIisFixed or kIisUpper
  int numrows = 0, numcols = 0;
  int iisstat = 0;  // kIisComplete or kIisPartial
  int iisind = 0;   // the VLT_PARAM_IISIND it was computed with
  // Row multipliers that prove the subset infeasible (empty when none was
  // found); the LP-like display sums equality rows with them.
  std::vector<double> mult;
};

// Handles, following a view, folding the cache, 1017 for an integer model.
int iisframe(env *e, lp **pp);
// Installs a record on p, freeing the one it held.
void iis_store(env *e, lp *p, iisrec *r);
// Computes the subset of p with the present VLT_PARAM_IISIND and stores it;
// a stored one with the same setting is kept.  0 or a status (negative when
// the message was printed).
int findiis(env *e, lp *p);
// Prints the stored subset on ch: display 1 the short form, 2 the LP-like
// form; other values print nothing.  0 or a status.
int iisdisplay(env *e, lp *p, velto_channel *ch, int display);

// The model of a problem in the user's units, column-wise (beg has n + 1
// entries).
struct iismodel {
  int m = 0, n = 0, objsen = 1;
  std::vector<double> rhs, rng, lb, ub, val;
  std::vector<char> sense;
  std::vector<int> beg, ind;
  // Bounds of row i's activity (infinite sides as +-1e20).
  double rowlo(int i) const;
  double rowhi(int i) const;
};
int iis_getmodel(env *e, lp *p, iismodel &d);

// Certificate of infeasibility: multipliers y of the rows (rows outside
// `rowin` count as absent), with the columns outside `colin` free.  Finds
// the sign for which y proves the flagged members infeasible and gives, for
// each member the proof needs, the side it uses (kIisLower, kIisFixed or
// kIisUpper; -1 for a member the proof doesn't need); `mult` gets the
// multipliers with that sign.  False when y proves nothing.
bool iis_certify(const iismodel &d, const std::vector<int> &rowin, const std::vector<int> &colin,
                 const double *y, std::vector<int> &rowside, std::vector<int> &colside,
                 std::vector<double> *mult);

}  // namespace velto
