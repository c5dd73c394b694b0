// Basis factorization: sparse LU with threshold-Markowitz pivoting, a dense
// tail, Forrest-Tomlin updates with row etas, and dense and hypersparse
// triangular solves.
//
// Calling protocol (simplex side)
// -------------------------------
// 1. Describe the working matrix once per run in a `lumatrix` (column form;
//    slacks are identity columns, see the numbering below) and create the
//    factor with `lu_create(m)`; free it with `lu_free(&fac)`.
// 2. Factor the basis given by `head` (head[k] = variable at basis position
//    k, k = 0..m-1) with `lu_refactor`.  Results:
//      0     factor ready;
//      2002  factor ready, but the basis was repaired: `head` was rewritten
//            (unpivoted columns replaced by the slack of an unpivoted row, or
//            by its artificial when the row has no slack); the variables that
//            left are listed in fac->dropped with their former positions in
//            fac->droppos (fac->ndropped of them; an artificial that leaves
//            is simply gone and not listed) and must be made nonbasic by the
//            caller; recompute x, pi, d;
//      1256  singular and not repaired (repair limit reached); the marks
//            fac->rowdone (by row) and fac->coldone (by position) tell which
//            rows and positions pivoted;
//      1001  out of memory.
//    `lu_probe` factorizes any list of columns in analysis mode (crash,
//    subset selection) and only reports which rows and columns pivoted.
// 3. Solves.  FTRAN solves B x = b with x by basis position; BTRAN solves
//    B' y = c with c by basis position and y by row.  Dense forms work in
//    place on an array of m doubles; sparse forms take a count/index/value
//    right-hand side and write an `svec` of dimension m (cleared first).
// 4. One iteration:
//      lu_ftran_spike(fac, &col, nnz, ind, val)    entering column a_q;
//      [dual: lu_btran_leaving(fac, &rho, p)]      row p of the inverse;
//      lu_check_pivot(fac, p, alpha, keep)         0 or 2003 (rejected);
//      lu_update(env, fac, mat, p, q)              0: factor now holds the
//                                                  new basis; kLuRefactor:
//                                                  it does not, set
//                                                  head[p] = q and call
//                                                  lu_refactor.
//    The caller writes head[p] = q itself in both cases.  After a 2003 the
//    caller picks another pivot or refactorizes.
// 5. Refactorize at any time with `lu_refactor`; `lu_update` asks for it by
//    its own rules (dynamic cost rule, or a fixed interval from the
//    refactorization parameter, eta file full, unstable pivots).
//
// Variable numbering: 0..ncols-1 are the columns held in column storage
// (structural and range columns), ncols..ncols+nslack-1 the slacks (one
// entry each: row slackrow[s], coefficient slackcoef[s]), and allcols + i
// (allcols = ncols + nslack) the artificial of row i, a unit column.
#pragma once

#include "env/env.h"
#include "simplex/svec.h"

namespace velto {

// Private status codes of the factor (never reach the application).
enum : int {
  kLuSingular = 1256,     // basis singular, not repaired
  kLuDenseMemory = 2000,  // dense tail could not get its block
  kLuRepaired = 2002,     // factor good, basis changed by repair
  kLuRejected = 2003,     // pivot failed the stability test
  kLuSpread = 2009,       // pivots too spread for the threshold in use
  kLuRefactor = 2010,     // update not applied: refactorize the new basis
};

// Column-form view of the working matrix.  Arrays are borrowed, not owned.
struct lumatrix {
  int nrows;
  int ncols;                 // columns held in matbeg/matcnt/matind/matval
  const int *matbeg;
  const int *matcnt;
  const int *matind;
  const double *matval;
  int nslack;                // slacks: variables ncols .. ncols+nslack-1
  const int *slackrow;       // null: slack s is row s (then nslack = nrows)
  const double *slackcoef;   // null: every slack coefficient is +1
};

// Row eta file of the Forrest-Tomlin update.
struct etafile {
  int count;          // etas in the file
  int limit;          // largest number of etas before a refactorization
  int dynamic;        // 1: refactorization frequency chosen at run time
  int cap;            // nonzero capacity in use
  int capmax;         // absolute bound on the nonzero capacity
  int dim;            // m
  int lastreal;       // 0 when the last eta is the identity
  int mustrefactor;   // a pivot failed the stability test
  int alloclimit;     // eta slots allocated in pivotrow/start
  int *pivotrow;      // [limit+1] pivot number of the row each eta rewrites
  int *start;         // [limit+2] start of each eta in ind/val
  int *ind;           // [cap]
  double *val;        // [cap]
  int *firsteta;      // [m] first eta in which a pivot number appears
};

// Storage of a set of sparse lines (rows or columns) in one pair of arrays,
// each line with a start, a count and room to grow in place.
struct linefile {
  int nline;
  int size;           // cells allocated
  int used;           // write position (first free cell at the end)
  int *beg;           // [nline]
  int *cnt;           // [nline]
  int *room;          // [nline] cells reserved for the line
  int *ind;           // [size]
  double *val;        // [size] (null for an index-only file)
};

struct lufactor {
  int ready;          // 1 after a factorization usable for solves
  int dim;            // m
  double density;     // dense-tail switch (0.6; 10.0 after a dense failure)
  int locked;         // file multipliers frozen after compression
  int lrowless;       // 1: no row-wise copy of L (L heavy)
  int nlead;          // leading pivots with an empty L column
  int ufirst;         // first U position whose column is not empty
  int lowchg;         // lowest position changed since the factorization
  int basisnz;        // nonzeros of B at factor time
  int lunz;           // nonzeros of L and U with the pivots, at factor time
  int order;          // 1: column singletons first, 0: row singletons first
  double rowfilemul;  // working file multipliers
  double colfilemul;

  // Pivot sequence: arrays indexed by pivot number k.
  double *pivinv;     // 1 / pivot
  int *pivrow;        // row of pivot k
  int *rowpiv;        // row -> pivot number
  // L by columns (pivot order) and its row-wise copy.
  int *lbeg, *lend;   // [m] range of the L column of pivot k in lind/lval
  int *lind;          // rows
  double *lval;
  int lsize;          // capacity of lind/lval
  int *lrbeg, *lrend; // [m] row-wise copy indexed by pivot number
  int *lrind;         // pivot numbers of the L columns acting on the row
  double *lrval;      // multiplier scaled by that pivot's pivinv
  int lrsize;
  // U with a unit diagonal.  Rows are pivot numbers, columns basis
  // positions; `urow` holds column numbers, `ucol` holds pivot numbers.
  linefile urow;
  linefile ucol;
  int *pivcol;        // [m] U position -> basis position (column)
  int *pivpos;        // [m] basis position -> U position
  int *pivperm;       // [m] U position -> pivot number (row of U)
  int *pivperminv;    // [m] pivot number -> U position

  etafile eta;

  // Stored vectors of the pending update (valid when the count is > 0).
  int rowetanz;  int *rowetaind;  double *rowetaval;  int rowetapos;
  int spikenz;   int *spikeind;   double *spikeval;   int spikevar;

  // Work: dense vectors (zero between calls), marks (zero between calls),
  // position heap.
  double *work0, *work1, *work2;
  int *mark0, *mark1;
  int *list0, *list1;
  int *heap;

  // Counters and refactorization bookkeeping.
  int updates;        // updates since this factorization
  int prevupdates;    // updates at the moment of the last factorization
  int rejectfactors;  // refactorizations forced by rejected pivots
  int factorcount;    // factorizations done
  int curnz, sumnz;
  double bestavg;
  int matrixnz;       // nonzeros of the working matrix, for the cost rule
  int costweight;     // pricing weight of the cost rule: 10, 12 or 20
  int reinv;          // refactorization parameter: 0 dynamic, n fixed

  // Singularity handling of lu_refactor.
  int singcount;      // repaired singularities (caller may reset per pass)
  int singlim;        // limit; 0 means no limit
  int *rowdone;       // [m] 1 for rows that pivoted in the last attempt
  int *coldone;       // [max(m, probe columns)] 1 for pivoted columns
  int coldonecap;
  int ndropped;       // variables taken out of the basis by the repair
  int *dropped;       // [m]
  int *droppos;       // [m] their former basis positions
  double lastratio;   // largest / smallest pivot ratio of the last factor
  int ndense;         // rows of the dense tail in the last factorization (0: none)
  int display;        // non-zero: repair and threshold lines on the results channel
  int itcnt;          // caller's iteration count (threshold line only when > 0)

  void *scratch;      // factorization work space (factor.cpp)
};

// ---- life cycle ----------------------------------------------------------------
// Creates an empty factor of dimension m; null when out of memory.
lufactor *lu_create(int m);
void lu_free(lufactor **fac);

// ---- factorization ----------------------------------------------------------------
// With an environment, the refactorization interval (VLT_PARAM_REINV), the
// singularity limit (VLT_PARAM_SINGLIM) and, before the first factorization,
// the file multipliers (VLT_PARAM_RFILEMUL, VLT_PARAM_CFILEMUL) are read from
// its parameters; without one (e = null) the fields of `fac` are used as set.
// Driver for the basis in `head`.  `markowitz` is the caller's working
// threshold (raised in place by 0.1 steps when pivots spread or the basis is
// repaired); `singtol` the absolute pivot tolerance; `repair` non-zero counts
// a singularity against fac->singlim; `ratio_out`, when given, receives the
// pivot ratio and the conditioning test is skipped.
// Returns 0, 1001, 1256 or 2002 (see above).
int lu_refactor(env *e, lufactor *fac, const lumatrix *mat, int *head, double *markowitz,
                double singtol, int repair, double *ratio_out);
// Analysis mode on `ncols` columns (may exceed m): marks pivoted rows in
// rowdone[m] and columns in coldone[ncols].  `mask` (may be null) marks the
// rows that count.  The factor is left not ready.  Returns 0, 1001, or 2002
// when the columns were rank deficient.
int lu_probe(env *e, lufactor *fac, const lumatrix *mat, int ncols, const int *cols, int *rowdone,
             int *coldone, const int *mask, double threshold, double singtol);

// ---- solves -----------------------------------------------------------------------------
// Dense FTRAN, in place: b (by row) becomes x (by basis position).
void lu_ftran(lufactor *fac, double *b);
// Sparse FTRAN of nnz/ind/val (by row) into out (by position).
void lu_ftran_sparse(lufactor *fac, svec *out, int nnz, const int *ind, const double *val);
// As lu_ftran_sparse, and keeps the spike of variable `var` for the update.
void lu_ftran_spike(lufactor *fac, svec *out, int nnz, const int *ind, const double *val,
                    int var = -1);
// Two right-hand sides.
void lu_ftran2(lufactor *fac, svec *out1, int nnz1, const int *ind1, const double *val1,
               svec *out2, int nnz2, const int *ind2, const double *val2);
// Caller-owned work vectors: solves given one only read the factor, so
// several may run at once on one factor (one luwork per thread).
struct luwork {
  int dim;
  double *v0, *v1;
  int *m0, *m1, *l0, *l1, *heap;
};
int luwork_alloc(luwork *w, int m);  // 0 or 1001
void luwork_free(luwork *w);
void lu_ftran_sparse(const lufactor *fac, svec *out, int nnz, const int *ind, const double *val,
                     luwork *w);
void lu_btran_sparse(const lufactor *fac, svec *out, int nnz, const int *ind, const double *val,
                     luwork *w);
void lu_btran_unit(const lufactor *fac, svec *out, int pos, luwork *w);
// Dense BTRAN, in place: c (by position) becomes y (by row).
void lu_btran(lufactor *fac, double *c);
// Sparse BTRAN of nnz/ind/val (by position) into out (by row).
void lu_btran_sparse(lufactor *fac, svec *out, int nnz, const int *ind, const double *val);
// Row `pos` of the inverse of B (BTRAN of the unit vector at position pos).
void lu_btran_unit(lufactor *fac, svec *out, int pos);
// As lu_btran_unit, and keeps the row eta for the update at `pos`.
void lu_btran_leaving(lufactor *fac, svec *out, int pos);
void lu_btran2(lufactor *fac, svec *out1, int nnz1, const int *ind1, const double *val1,
               svec *out2, int nnz2, const int *ind2, const double *val2);

// ---- update -------------------------------------------------------------------------------
// Stability test of the pivot alpha at position `pos` (alpha from the FTRAN
// of the entering column).  0, or 2003 with mustrefactor set.  With `keep` 0,
// or on rejection, the stored spike and row eta are dropped.
int lu_check_pivot(lufactor *fac, int pos, double alpha, int keep);
// Replaces the column at basis position `pos` by variable `entering`.  Uses
// the stored spike and row eta, computing what is missing.  0, or
// kLuRefactor: the factor no longer represents a basis (not ready) and the
// caller refactorizes the new basis; memory shortage ends the same way.
int lu_update(env *e, lufactor *fac, const lumatrix *mat, int pos, int entering);
// Drops the stored spike and row eta.
void lu_clear_pending(lufactor *fac);

// ---- helpers shared by the factor modules ------------------------------------------------
// Entries of variable j: count, and rows/values written to ind/val
// (capacity at least the column count, 1 for a slack or artificial).
int lu_column(const lumatrix *mat, int j, int *ind, double *val);
int lu_colcount(const lumatrix *mat, int j);
// Row of the slack variable of row i, or -1 when the row has none.
int lu_slack_of_row(const lumatrix *mat, int row);

// Consistency check of a ready factor (tests, debugging): 0 when sound.
int lu_check(const lufactor *fac);

// Singularity repair: replaces the unpivoted positions of `head` (coldone by
// position, rowdone by row, 1 for pivoted) by the slack or artificial of an
// unpivoted row.  Lists the variables that left in fac->dropped.  0 or 1001.
int lu_repair(env *e, lufactor *fac, const lumatrix *mat, int *head, const int *rowdone,
              const int *coldone);

}  // namespace velto
