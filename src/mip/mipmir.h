// Mixed-integer rounding cuts from rows and aggregations of rows, flow
// covers, and Gomory mixed-integer cuts from rows of the simplex tableau.
#pragma once

#include <vector>

#include "mip/mipcuts.h"

namespace velto {

// The columns a separator reads: bounds (1e20 for none), the point, the
// type ('C', or 'I' for a column whose values and bounds are integral) and
// the binary column of a variable upper bound x[j] <= ub[j] * x[link[j]]
// (-1 for none), all per working column.
struct mircols {
  const double *lb = nullptr, *ub = nullptr, *x = nullptr;
  const char *type = nullptr;
  const int *link = nullptr;
};

// A cut in working columns, sense 'L'.
struct mircut {
  std::vector<int> ind;
  std::vector<double> val;
  double rhs = 0.0;
  void clear() {
    ind.clear();
    val.clear();
    rhs = 0.0;
  }
};

// The rounding cut of the row sum vals[k] x[cols[k]] <= rhs: true with the
// cut in `out`.  minviol -v (v > 0) asks for a violation of v per entry.
bool cmir(const mircols &w, int n, double rhs, const int *cols, const double *vals,
          double minviol, mircut &out);

// The lifted flow cover of the row read as a single-node flow set (flows
// f = |a| x with capacities M = |a| ub and switches y: the binary link, or
// the column itself when binary): true with the cut in `out`.
bool flowcover(const mircols &w, int n, double rhs, const int *cols, const double *vals,
               double minviol, mircut &out);

// Drops coefficients of magnitude at most tiny, moving each to the rhs
// through the bound that keeps the cut valid (kept when that bound is
// infinite), and sorts out zero entries.  lb/ub per column.
void cutrelax(mircut &c, const double *lb, const double *ub, double tiny);

// Variable upper bounds x[j] <= u * x[k] with k binary, from two-term rows
// (link[j] = k, -1 for none); lb/ub are the working bounds, and ub[j]
// becomes u when the row bounds x[j] tighter.
void vublinks(const cutmodel &cm, const double *lb, double *ub, std::vector<int> &link);

// One round of flow covers and MIR cuts over the rows of class 5 at x:
// mode 0 each row chooses, 1 flow covers, 2 MIR, 3 both.  counts[0] flow
// covers, counts[1] MIR cuts offered to the pool.
int mirround(cutwork &cw, const std::vector<int> &rowclass, const double *x, const double *glb,
             const double *gub, int limit, int mode, int aggcutlim, int counts[2]);

struct miprun;
// Gomory mixed-integer cuts from the tableau rows of the fractional basic
// integer columns of the solved node problem; *count gets how many.
int gomoryround(miprun &r, cutwork &cw, int cls, int limit, int *count);

}  // namespace velto
