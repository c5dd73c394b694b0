// What the model implies beyond its rows: the implication store, bound
// propagation over the rows and the clique table, probing at the root, and
// the clique and implied-bound cuts that read them.
#pragma once

#include <vector>

#include "mip/mipbb.h"
#include "mip/mipcuts.h"

namespace velto {

// One implication: when column `src` takes `srcval`, column `tgt` has the
// upper ('U') or lower ('L') bound `bound`.  A source at or above the
// column count is the slack of row src - n.
struct implication {
  int src = 0;
  int srcval = 0;
  char kind = 'U';
  int tgt = 0;
  double bound = 0.0;
};

struct impltab {
  int n = 0, maxcount = 0;
  std::vector<implication> recs;
  std::vector<std::vector<int>> bysrc;  // per source (columns, then row slacks)
  std::vector<std::vector<int>> bytgt;  // per column
  std::vector<int> link;  // the binary that gives a column its upper bound, or -1
};
void implinit(impltab &t, int n, int m);
// Adds an implication unless the store is full, the bound is 1e10 or more
// in magnitude, or it is no tighter than the target's bounds tlb/tub or
// than one the store holds.  Returns 1 when it was stored.
int impladd(impltab &t, double tlb, double tub, int src, int tgt, char kind, double bound,
            int srcval);
// The implications that the rows give (a binary's value limits the other
// columns of its row).
void implfromrows(const cutmodel &cm, const double *lb, const double *ub, impltab &t);

// Bound propagation on local bounds over the rows, the cliques and the
// implications.  Changes are kept on a trail so that a probe can be undone.
struct propagator {
  const cutmodel *cm = nullptr;
  const cliquetable *ct = nullptr;
  const impltab *it = nullptr;
  int n = 0, m = 0;
  double feastol = 1e-6;
  std::vector<int> colbeg, colrow;  // rows of each column
  std::vector<double> colval;
  std::vector<double> lb, ub;
  struct change {
    int col;
    double lb, ub;
  };
  std::vector<change> trail;
  std::vector<int> queue, fixq;
  std::vector<char> inq;
  long long work = 0;
  bool infeasible = false;
};
void propinit(propagator &p, const cutmodel &cm, const cliquetable *ct, const impltab *it,
              const double *lb, const double *ub, double feastol);
// Sets a bound of column j (side 'L' or 'U'), queueing what it can bite;
// false when it contradicts the other bound.
bool propbound(propagator &p, int j, char side, double v);
// Runs the queues dry or until the work passes `limit` (0: none).  Returns
// false when the bounds are infeasible.
bool proprun(propagator &p, long long limit);
// Undoes the changes made since the trail had `mark` entries.
void propundo(propagator &p, size_t mark);

// Marks the literals that share a clique with `lit` (stamp == token);
// work counts the sizes of the cliques walked.
struct cliquemarker {
  std::vector<int> stamp;
  int token = 0;
  long long work = 0;
  void mark(const cliquetable &t, int lit);
};
// Makes `lit` false in lb/ub: 1 when a bound moved, 0 when it was false
// already, -1 when the literal is true.
int litfalse(std::vector<double> &lb, std::vector<double> &ub, int lit);
// Extends a clique given as its first `given` literals by the neighbours
// of the first literal that are adjacent to all kept ones.  With x, only
// literals of value above 0.1 qualify and the list is emptied unless it can
// reach a value sum of 1.1 with 3 members; with seed, the new part is
// shuffled.
void extendlist(const cliquetable &t, cliquemarker &mk, std::vector<int> &list, int given,
                const double *x, unsigned *seed);
// Grows cliques by the literals adjacent to all their members (equality
// cliques fix those literals false instead), then deletes subsumed cliques.
// Fixings go into lb/ub.  True when anything changed.
bool cliqueextend(cliquetable &t, std::vector<double> &lb, std::vector<double> &ub,
                  long long budget, long long *work);
// Follows each literal assumed 1 through the cliques: a contradiction fixes
// it false, a clique whose members all fall to 0 takes it in.
bool cliquemerge(cliquetable &t, std::vector<double> &lb, std::vector<double> &ub,
                 long long budget, long long *work);
// Fixes false the literals that share a clique with both literals of a
// column; returns the count.
int cliquefinish(cliquetable &t, std::vector<double> &lb, std::vector<double> &ub,
                 long long budget);

// The root work: implications of the rows, the clique table with its
// extension, probing (VLT_PARAM_PROBE 1..3), merging and the finish, the
// "Clique table members" line; tightened bounds go to the global bounds
// and the node problem.  Returns 0, 108, 114 or an error.
int rootimplications(miprun &r);

// Clique cuts at x into the pool; *count gets how many were new.
int cliqueround(cutwork &cw, const double *x, int limit, int *count);
// Implied-bound cuts at x, written with the global bounds lb/ub.
int implround(cutwork &cw, const double *x, const double *lb, const double *ub, int limit,
              int *count);

}  // namespace velto
