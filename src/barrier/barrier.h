// The barrier's sparse symmetric factor: ordering entry, symbolic analysis,
// numeric L*D*L' on panels of supernodes, and the solves.
#pragma once

#include <atomic>
#include <vector>

#include "barrier/barorder.h"
#include "barrier/barprob.h"
#include "env/env.h"

namespace velto {

// The graph of A*A' (rows of bp), leaving out the dense columns.
void build_normal_graph(const barprob &bp, ordgraph &g);

// One ordering run by method; when better than `best` its order and cost
// replace those in `perm` and `best` (under the environment lock).
int order_once(env *e, const ordgraph &g, int method, bool report, uint32_t seed,
               std::vector<int> &perm, double nnz, ordresult &best);

// The ordering of the normal matrix of bp by VLT_PARAM_BARORDER (0 automatic,
// 1 minimum degree, 2 minimum fill, 3 nested dissection): perm[row] is its
// place.  Returns 0 or 1001.
int bar_order(env *e, const barprob &bp, int barorder, std::vector<int> &perm, ordresult &out);

}  // namespace velto

namespace velto {

// A symmetric L*D*L' factor of the normal matrix of a barprob (mode 98) or
// of an explicit pattern (mode 113), bordered by one row per dense column.
struct cholrec {
  int mode = 98;
  int n = 0;        // rows in the factor: constraint rows plus ndense
  int m = 0;        // constraint rows
  int ndense = 0;
  std::vector<int> perm, iperm;  // perm[original row] = place; iperm the inverse
  // Supernodes: columns sfirst[s] .. slast[s], pattern patind[spat[s] ..
  // spat[s] + slen[s]), the supernode's own columns first.
  int nsuper = 0;
  std::vector<int> sfirst, slast, spat, slen, patind;
  std::vector<int> snmap;        // head: its last column; other columns: the head
  std::vector<int> rowlen;       // per column, diagonal included
  std::vector<double> valstart;  // per column, prefix sum of rowlen
  double nzcount = 0, fpops = 0, formops = 0;
  double intspace = 0;
  int oocflag = 0;
  // Panels: supernodes cut to at most panelwidth columns.
  int panelwidth = 0, maxpanel = 0, npanels = 0, kernelkind = 0;
  std::vector<int> pfirst, pwidth, psuper, poff, plen, panelend, panelof;
  std::vector<size_t> pval;      // start of a panel's block in vals
  std::vector<double> vals;
  // Update lists by target panel: source panel, first place in the source's
  // rows, count of rows in the target.
  std::vector<int> updstart, updsrc, updpos, updcnt;
  std::vector<int> parentpanel;
  // Tasks: panels tasklist[taskfirst[t] .. taskend[t]), ascending.
  std::vector<int> taskfirst, taskend, tasklist;
  std::atomic<int> nexttask{0};
  int nthreads = 1;
  std::vector<std::atomic<int>> pivotdone;
  std::vector<double> pivots, diag;
  std::vector<char> freerow;
  int npivneg = 0, npivsmall = 0;
  int npivraised = 0;  // pivots raised to the floor (dense columns only)
  double condest = 0.0, dscale = 1.0;
  double lastfactortime = 0.0;
};

// Symbolic analysis of the normal matrix of bp for the row order perm
// (perm[row] = place among the constraint rows), with the dense columns of
// bp as border rows: supernodes, amalgamation, postorder, statistics, and
// the numeric setup.  Returns 0 or 1001.
int sym_normal(env *e, cholrec &c, const barprob &bp, const std::vector<int> &perm);

// Panels, update lists, tasks and worker scratch for nthreads workers.
int chol_setup(env *e, const barprob &bp, cholrec &c, int nthreads);

// Numeric factor of A*D*A' (bordered) for weights d: bp.n columns, then bp.m
// slack terms.  Returns 0 or 1001.
int chol_factor(env *e, const barprob &bp, cholrec &c, const std::vector<double> &d);

// Solves with the last factor: x (size c.m) for rhs (size c.m).  With check
// set, flag tells that a dropped pivot mattered.
int chol_solve(env *e, const cholrec &c, std::vector<double> &x, const std::vector<double> &rhs,
               bool check, int *flag);

void chol_free(cholrec &c);

// Analysis and first setup in one: dense columns, ordering, symbolic factor.
int chol_analyse(env *e, barprob &bp, cholrec &c);

}  // namespace velto

namespace velto {

// Solves (A*D*A' + S) x = rhs with the last factor and refines x against the
// matrix itself, at most `rounds` times while the residual falls: the
// border of dense columns loses digits that one refinement step gives back.
int normal_solve(env *e, const barprob &bp, const cholrec &c, const std::vector<double> &d,
                 std::vector<double> &x, const std::vector<double> &rhs, int rounds);

// y = (A*D*A' + S) x, with S the slack terms of d.
void normal_product(const barprob &bp, const std::vector<double> &d, const std::vector<double> &x,
                    std::vector<double> &y);

}  // namespace velto
