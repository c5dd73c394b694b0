// Presolve: the record that hangs on a problem, the reductions and the
// mapping of solutions, bases and linear forms between the user's problem
// and the reduced one.
#pragma once

#include <utility>
#include <vector>

#include "model/lp.h"

namespace velto {

// Operation codes of the undo log.
enum : int {
  kOpFixed = 3, kOpAtLower = 4, kOpAtUpper = 5,
  kOpRowLower = 6, kOpRowUpper = 7, kOpRowBoth = 8,
  kOpForceMin = 9, kOpForceMax = 10,
  kOpFreeSingleton = 11, kOpFreeEmpty = 12,
  kOpSlackLower = 13, kOpSlackUpper = 14,
  kOpSubst = 15, kOpMoveLower = 16, kOpMoveUpper = 17, kOpMoveBoth = 18,
  kOpMergeCols = 21, kOpMergeRows = 22,
};

// Cost conditions of columns removed by dual reasoning (c in the
// minimization sign): c < feastol, c > -feastol, c >= -opttol, c <= opttol,
// |c| <= opttol.
enum : char {
  kDualNone = 0, kDualBelowFeas = 1, kDualAboveFeas = 2, kDualAtLeast = 3, kDualAtMost = 4,
  kDualZero = 5,
  kDualPaired = 6,  // removed for a parallel column: any cost change undoes it
};

// Values of colmap for removed columns.
enum : int {
  kMapAtLower = -1, kMapAtUpper = -2, kMapFixed = -3, kMapLinear = -4, kMapNonlinear = -5,
};

// One undo record; its integer and double entries live in the log pools at
// [start, start + len).
struct undorec {
  int op;
  int index;
  int cnt;
  double cost;
  double low, up;
  int start;
  int len;
};

struct prerec {
  // settings
  int method;
  int preind, prepass, reduce, prelinear;
  int keep;
  int valid;
  int aggind, depind;
  int dualform, predual;
  int bndstren, aggfill;
  int aggsorted;      // the aggregator visits rows shortest first
  double aggtol;      // smallest pivot relative to its column's entries
  double feastol, opttol, inttol;
  // counters
  int rowsgone, colsgone, coefchanged, subst, bndimproved;
  double objoffset;   // user objective sense
  double objsen;
  lp *redlp;
  // sizes: ncols counts the structural columns plus one per ranged row
  int nrows, ncolsorig, ncols, nnz;
  // column-wise matrix (entries of gone rows stay in place)
  std::vector<int> cbeg, clen, cind;
  std::vector<double> cval;
  // row-wise copy
  std::vector<int> rbeg, rlen, rind;
  std::vector<double> rval;
  std::vector<int> rowcnt, colcnt;
  std::vector<double> lb, ub, obj, rhs;
  std::vector<char> sense;
  std::vector<double> rowminfin, rowmaxfin;
  std::vector<int> rowmininf, rowmaxinf;
  std::vector<int> rowmap, colmap;
  // 1 for a column the application protected: never substituted nor used
  // as a slack column.  Empty when nothing is protected.
  std::vector<char> frozen;
  // For a column removed by reasoning on the sign of its cost, the condition
  // that its cost met (kDual...); 0 for the others.
  std::vector<char> dualgone;
  // 1 for a column kept for a merged pair of parallel columns: it stands
  // for both and no longer for itself alone.  Empty until a merge.
  std::vector<char> merged;
  // Bound strengthening: per column bit 1 when the upper bound, bit 2 when
  // the lower bound was moved in to the implied bound with a margin.  Empty
  // when no bound moved.
  std::vector<char> strengthened;
  // Entries in removed columns of rows added after presolve: per column,
  // (row, coefficient).  Empty until rows are added.
  std::vector<std::vector<std::pair<int, double>>> addedcol;
  // For each range column (index ncolsorig + t): its row, and the row's
  // structural entries as loaded at [rangebeg[t], rangebeg[t + 1]).
  std::vector<int> rangerow, rangebeg, rangeind;
  std::vector<double> rangeval;
  // the model as loaded (ranged rows as "E" with their range column)
  std::vector<double> origlb, origub, origobj, origrhs;
  std::vector<char> origsense;
  double origoffset;
  // undo log: records oldest first, pools of their entries
  std::vector<undorec> log;
  std::vector<int> logind;
  std::vector<double> logval;
  // run figures
  int tries;
  int passes;
  int predisp, simdisplay;
  env *envp;
};

// ---- preutil.cpp -------------------------------------------------------------
// Creates the record and copies the model into it (user units, ranged rows
// as equalities with their range columns).  0 or 1001.
int presolve_load(env *e, lp *p, int method, prerec **out);
void presolve_delete(prerec *r);
// Releases the record of p and its reduced problem.
void presolve_free(env *e, lp *p);
// Registers the layer operations of the record with the problem store.
void presolve_register();

const char *pre_colname(const prerec *r, lp *p, int j);
const char *pre_rowname(const prerec *r, lp *p, int i);

// Activity bookkeeping.
void activity_all(prerec *r);
void activity_add(prerec *r, int i, double a, double l, double u, int sgn);

// Undo records.
int push_record(prerec *r, int op, int index, double cost, double low, double up);
void push_entry(prerec *r, int ind, double val);
void push_column_entries(prerec *r, int j);
void push_row_entries(prerec *r, int i);
inline const int *rec_ind(const prerec *r, const undorec &u) { return r->logind.data() + u.start; }
inline const double *rec_val(const prerec *r, const undorec &u) { return r->logval.data() + u.start; }

int remove_column(env *e, prerec *r, lp *p, int j, int position);
int remove_row(env *e, prerec *r, lp *p, int i, int recheck);
int column_test(env *e, prerec *r, lp *p, int j);
// Logs op (3, 4, 5 or 12) with the column's live entries, then removes it.
int log_and_remove(env *e, prerec *r, lp *p, int j, int op, int position);
void implied_bounds(const prerec *r, int j, double *lo, double *hi);
// Largest (smallest) activity of row i without the term a of column j; false
// when more than that term is infinite.
bool rowmax_without(const prerec *r, int i, int j, double a, double *out);
bool rowmin_without(const prerec *r, int i, int j, double a, double *out);

inline bool frozencol(const prerec *r, int j) { return !r->frozen.empty() && r->frozen[j]; }
// Whether cost c (minimization sign) still meets the condition under which
// a column was removed.
bool dual_condition_holds(const prerec *r, int cond, double c);

inline bool rowlive(const prerec *r, int i) { return r->rowcnt[i] >= 0; }
inline bool collive(const prerec *r, int j) { return r->colcnt[j] >= 0; }

// ---- presub.cpp: the reductions; each returns 0, 1001 or 1101 ---------------
int pre_cleanup_columns(env *e, prerec *r, lp *p);
int pre_empty_rows(env *e, prerec *r, lp *p);
int pre_singleton_rows(env *e, prerec *r, lp *p);
int pre_forcing_rows(env *e, prerec *r, lp *p);
int pre_free_singletons(env *e, prerec *r, lp *p);
int pre_slack_columns(env *e, prerec *r, lp *p);
int pre_implied_redundancy(env *e, prerec *r, lp *p);
// Columns that no row stops from moving the way their cost prefers go to
// that bound.
int pre_dominated_columns(env *e, prerec *r, lp *p);
// Not part of this presolve yet: removes nothing.
int pre_dual_bounds(env *e, prerec *r, lp *p);
// Moves bounds in to the bounds that the rows imply, less a margin of
// 1e6 times the feasibility tolerance, so that the new bounds never hold
// at a feasible point.  0 or 1101.
int pre_strengthen_bounds(env *e, prerec *r, lp *p);

// ---- preadv.cpp: parallel rows and columns; 0, 1001 or 1101 ------------------
int pre_duplicate_rows(env *e, prerec *r, lp *p);
int pre_duplicate_columns(env *e, prerec *r, lp *p);

// ---- aggregat.cpp ---------------------------------------------------------------
// Substitutes equality rows out with one of their columns: free and implied
// free columns, and doubleton equations with the bounds of the eliminated
// column moved onto the survivor.  0, 1001 or 1106.
int pre_aggregate(env *e, prerec *r, lp *p);

// ---- presolve.cpp -------------------------------------------------------------
// The driver: reduces the model of p on behalf of `method`.  0, 1001, 1101,
// 1117, 1118, 1106.  On return p->presolve is null when nothing was reduced.
int presolve_run(env *e, lp *p, int method);
// The abort word and the progress callback: 1106 asks to stop.
int pre_poll(env *e, const prerec *r, lp *p);
// Optimizer entry with presolve: reduces, runs `kernel` on the reduced
// problem, maps the basis back and lets `kernel` clean up on p.  Runs `kernel`
// on p alone when presolve is off or a start is to be used.
using kernelfn = int (*)(env *e, lp *p);
int presolve_wrap(env *e, lp *p, int method, kernelfn kernel);

// ---- unpreslv.cpp ---------------------------------------------------------------
// Postsolve result in the user's terms: x over ncols (structurals then range
// columns), pi and dj in the minimization sign, statuses of columns (ncols)
// and rows.
struct postsoln {
  std::vector<double> x, pi, dj;
  std::vector<int> cstat, rstat;
};
// Replays the log.  `basis` selects the basis mode (statuses from rcstat,
// rrstat of the reduced problem); redx, redpi, reddj may be null.
void postsolve_replay(const prerec *r, const double *redx, const double *redpi,
                      const double *reddj, const int *rcstat, const int *rrstat, bool basis,
                      postsoln &out);
// Maps the reduced problem's basis to the user's problem and installs it as
// the user's start basis.  0 or a status.
int postsolve_basis(env *e, lp *p);

// Crushes the linear form sum val[k] x[ind[k]] over original columns into
// reduced columns (entries below 1e-13 kept as 1e-13) plus a constant.
// Returns 0, or 1121 when the form needs a column that cannot be expressed.
int crush_linear(const prerec *r, int len, const int *ind, const double *val,
                 std::vector<int> &outind, std::vector<double> &outval, double *offset);

}  // namespace velto
