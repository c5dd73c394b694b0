// Primal heuristics of the search: rounding, fix-and-propagate, diving,
// local search by flips, the repair and root rounding runs on a nested
// problem, and the processing of MIP start values.  Every method works on
// a copy of the node problem (its bounds and basis), so that the node in
// hand keeps its solution; a found solution goes to the incumbent store.
#pragma once

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "mip/mipbb.h"

namespace velto {

// What the heuristics keep over one run: the model's rows and columns in
// user units, the budget counters and the mode statistics.
struct heurstate {
  int n = 0, m = 0;
  std::vector<double> rlo, rhi;        // row limits, +-1e20 when open
  std::vector<int> cbeg, cind;         // column-wise model (base rows)
  std::vector<double> cval;
  std::vector<double> obj;             // objective, minimization sign
  const rowcopy *rc = nullptr;
  int nopolish = 0, heurfail = 0;
  long long itroot = 0, itrootbad = 0, itmode = 0, itmodebad = 0;
  int modehits[5] = {};
  double divebias = 0.5;
  std::mt19937_64 rng{20240601};
  double lastmark = -1.0;
  const char *ctype = nullptr;
};

// One call of the node heuristic: the node's point and a work copy of the
// node problem.
struct heurcall {
  miprun *r = nullptr;
  heurstate *hs = nullptr;
  bbnode *node = nullptr;
  bool root = false;
  lp *h = nullptr;                     // work copy (null until a method needs it)
  std::vector<double> x, lb, ub;       // node solution and bounds (model columns)
  std::vector<double> dj;              // node reduced costs (minimization sign)
  std::vector<int> cstat, rstat;       // node basis
  double obj = 1e75;                   // node objective, minimization sign
  long long iters = 0;                 // iterations of the method in progress
  int found = 0;
  ~heurcall();
};

// Watcher of the incumbents that heuristics hand to the store (tests).
struct heurwatcher {
  void (*seen)(void *ctx, const char *method, int node, const double *x, int n,
               double objmodel) = nullptr;
  void *ctx = nullptr;
};
extern heurwatcher heurwatch;

// The run's heuristic state (made on first use).
heurstate &heurof(miprun &r);

// Budget gate for a method with counters (u, b); `frac` is 0.1 for the
// root methods and 0.5 for the modes.
bool heurgate(const miprun &r, long long u, long long b, double frac);

// Reads the solved node problem's point, reduced costs and basis into hc;
// false when the node problem holds no optimal solution.
bool heurpoint(miprun &r, heurcall &hc);
// The work copy: the node problem's rows, the node's bounds and basis.
int heurwork(heurcall &hc);
// Puts the node's bounds and basis back into the work copy.
int heurreset(heurcall &hc);
// Sets bounds of the work copy; columns in idx, both sides from lo/hi.
int heurbounds(heurcall &hc, const std::vector<int> &idx, const std::vector<double> &lo,
               const std::vector<double> &hi);
// Warm dual re-solve of the work copy under the cutoff: true when optimal,
// with *obj in minimization sign.
bool heursolve(heurcall &hc, double *obj);
// x of the work copy (model columns).
void heurgetx(heurcall &hc, std::vector<double> &x);
// Counts the integer infeasibilities of x under the work copy's bounds.
int heuriinf(const heurcall &hc, const std::vector<double> &x);
// The work copy holds a solution of objective obj: fixes the integer
// columns at their rounded values when they are not yet, re-solves, and
// offers an integral, SOS-feasible solution below the cutoff to the store.
// Returns 0 or an error; hc.found tells a new incumbent.
int heurcheck(heurcall &hc, const char *method, double obj);

// The integer columns fixed at xi in the work copy, the continuous rest
// solved and offered as `method`'s.
int heurrest(heurcall &hc, const std::vector<double> &xi, const char *method);

// Methods; each returns 0 or an error and sets hc.found.
int roundheur(heurcall &hc);
int fixheur(heurcall &hc, int mode);
int divemix(heurcall &hc);
int flipheur(heurcall &hc, const std::vector<double> &start);
int flipstart(heurcall &hc, int side);
// Repair: a nested search on a copy of the model under the node's bounds,
// with the integer columns on which the node and the incumbent agree
// fixed (all the node's near-integral ones without an incumbent).
int repairheur(miprun &r, bbnode *node);
// Polish of the incumbent within the node's bounds: unit steps of integer
// columns that lower the objective, alone or with a partner from the first
// row the step alone would break; the continuous rest re-solved.
int polish(miprun &r, bbnode *node);
// Root rounding: the near-integral columns of the root fixed, a nested
// search for a first solution.
int rootround(miprun &r, bbnode *root);

// The plug-ins of the search.
int heurroot(miprun &r, bbnode *root);
int heurnode(miprun &r, bbnode *node, int deep);
int heurrootround(miprun &r, bbnode *root);
int heurrepair(miprun &r, bbnode *node);
int heurpolish(miprun &r, bbnode *node);

// MIP start values at the start of VLTmipopt: 0, 108, 114 or an error.
int mipstartrun(env *e, lp *p);

}  // namespace velto
