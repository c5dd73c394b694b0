// Dual simplex engine on a computational form.
//
// The engine works on the form
//     sum_j a_ij x_j + slackval_i s_i = rhs_i,   lb <= (x, s) <= ub,
// minimizing cost'(x, s).  Variables 0..n-1 are the structural (and range)
// columns, n..n+m-1 the logical of each row.  A basis is a head of m variable
// indices; nonbasic variables sit at a bound (status 0 lower, 2 upper) or,
// when free, at zero (status 3).
//
// Phase 1 removes dual infeasibilities by solving an auxiliary boxed problem
// with the same basis and costs; phase 2 is the long-step dual simplex with
// bound flipping, dual steepest-edge pricing and cost perturbation against
// stalling.  The engine knows nothing of the C boundary: the optimizer entry
// maps a model onto `dualprob`, runs `dual_solve` and maps the result back.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "env/callback.h"

namespace velto {

}  // namespace velto
struct velto_env;
namespace velto {
using env = ::velto_env;

// Computational form.  The matrix is column-wise for the n columns; a logical
// has the single entry slackval[i] in row i.
struct dualprob {
  int m = 0;
  int n = 0;
  std::vector<int> matbeg;   // n + 1
  std::vector<int> matind;
  std::vector<double> matval;
  std::vector<double> slackval;  // m
  std::vector<double> rhs;       // m
  std::vector<double> lb, ub;    // n + m; +-1e20 and beyond mean infinite
  std::vector<double> cost;      // n + m, minimization sign
};

// Basis factor used by the engine.  The default is a sparse LU with product
// form updates; tests may substitute a dense one.
struct dualfactor {
  virtual ~dualfactor() = default;
  // Factors the basis given by head.  Returns 0, or the count of dependent
  // positions; those positions are listed in `singular` and have been given
  // the logical of the row named in `singrow`.
  virtual int factor(const dualprob &p, std::vector<int> &head, std::vector<int> &singular,
                     std::vector<int> &singrow) = 0;
  // Dense in-place solves B x = v and B' y = v.
  virtual void ftran(std::vector<double> &v) = 0;
  virtual void btran(std::vector<double> &v) = 0;
  // FTRAN of the column of variable q (kept for the update of the factor).
  virtual void ftran_col(const dualprob &p, int q, std::vector<double> &col) {
    std::fill(col.begin(), col.end(), 0.0);
    if (q < p.n) {
      for (int k = p.matbeg[q]; k < p.matbeg[q + 1]; ++k) col[p.matind[k]] = p.matval[k];
    } else {
      col[q - p.n] = p.slackval[q - p.n];
    }
    ftran(col);
  }
  // Row r of the inverse (kept for the update of the factor).
  virtual void btran_row(int r, std::vector<double> &rho) {
    std::fill(rho.begin(), rho.end(), 0.0);
    rho[r] = 1.0;
    btran(rho);
  }
  // Column at position r replaced by variable q; `col` is its FTRAN.
  // Returns 1 when a refactorization is due, -1 on failure.
  virtual int update(int r, int q, const std::vector<double> &col) = 0;
  virtual int updates() const = 0;
};

dualfactor *make_dense_factor();
// Sparse LU of the library's factor module; `e` supplies its parameters.
dualfactor *make_sparse_factor(env *e, const dualprob &p);

// Row-wise copy of the nonbasic, non-fixed columns.  Each row keeps room for
// all its entries; a column that becomes basic has its entries moved to the
// end of the active part, one that leaves the basis is appended back.
struct dualrowcopy {
  int built = 0;
  std::vector<int> rowbeg;   // m + 1
  std::vector<int> rowend;   // m, end of the active part
  std::vector<int> colind;
  std::vector<double> val;
};

void rowcopy_build(dualrowcopy &rc, const dualprob &p, const std::vector<int> &status);
void rowcopy_remove(dualrowcopy &rc, const dualprob &p, int j);
void rowcopy_append(dualrowcopy &rc, const dualprob &p, int j);

// Sparse work vector with a dense value array and an index list.
struct dvec {
  int nnz = 0;
  std::vector<int> ind;
  std::vector<double> val;
  std::vector<char> mark;
  void resize(int n) {
    ind.assign(n, 0);
    val.assign(n, 0.0);
    mark.assign(n, 0);
    nnz = 0;
  }
  void clear() {
    for (int k = 0; k < nnz; ++k) {
      val[ind[k]] = 0.0;
      mark[ind[k]] = 0;
    }
    nnz = 0;
  }
  void add(int i, double v) {
    if (!mark[i]) {
      mark[i] = 1;
      ind[nnz++] = i;
    }
    val[i] += v;
  }
};

// Pivot row alpha_j = rho' a_j over the nonbasic variables (logicals
// included, numbered n + i).  rho is dense; its nonzero positions are given.
void pivot_row(const dualrowcopy &rc, const dualprob &p, const std::vector<double> &rho,
               const std::vector<int> &rhoind, int rhonnz, const std::vector<int> &status,
               dvec &out);

// Options of a run.
struct dualopts {
  double feastol = 1e-6;     // primal feasibility
  double opttol = 1e-6;      // dual feasibility
  double pivtol = 1e-7;      // smallest acceptable pivot in the ratio test
  double persize = 1e-6;     // perturbation size
  int perind = 0;            // perturb at the start
  int perlim = 0;            // iterations without progress before perturbing (0: automatic)
  int longstep = 1;          // bound flipping in the ratio test
  int pricing = 2;           // 1 largest infeasibility, 2 steepest edge exact start, 4 start at 1
  int itlim = 2100000000;
  int refactor = 100;        // updates between refactorizations
  double tilim = 1e75;       // seconds
  double objulim = 1e75;     // stop when the dual objective passes this (minimization sign)
  volatile int *abortword = nullptr;
  // The progress callback, called once per iteration; non-zero stops.
  int (*progress)(void *ctx, cbprogress &pr) = nullptr;
  void *progctx = nullptr;
  int display = 0;
  // Log lines go through this function when display is on.
  void (*log)(void *ctx, const char *line) = nullptr;
  void *logctx = nullptr;
  // Label of variable j for the one-line-per-iteration log, 23 characters
  // wide (a row's name in 17 and a tag); null gives x<j+1> and c<i+1>.
  void (*label)(void *ctx, int j, char *buf, int len) = nullptr;
  double objsen = 1.0;       // for the objective shown in the log
  double objoffset = 0.0;
};

// Outcome codes of the engine.
enum : int {
  kDualOptimal = 1,
  kDualUnbounded = 2,      // no dual feasible point: the primal has a ray
  kDualInfeasible = 3,     // dual unbounded: the primal is infeasible
  kDualItLim = 10,
  kDualTimeLim = 11,
  kDualObjLim = 12,
  kDualAbort = 13,
};

// Candidate of the dual ratio test.
struct bfrtcand {
  int j;
  double a;       // alpha~_j, oriented so that d_j - t a is the reduced cost at step t
  double t;       // breakpoint d_j / a
  double tbound;  // breakpoint with the Harris tolerance
  double range;   // width of the box; 1e75 when the variable cannot flip
};

// Engine state.  It persists between runs so that a warm start reuses the
// basis and the norms.
struct dualengine {
  const dualprob *p = nullptr;
  env *envp = nullptr;       // parameters of the factor; may be null for dense
  dualopts opt;
  dualfactor *fac = nullptr;
  int m = 0, n = 0, nt = 0;

  // basis
  std::vector<int> head;     // m
  std::vector<int> status;   // nt: 0 lower, 1 basic, 2 upper, 3 free at zero
  std::vector<int> pos;      // nt: basis position or -1
  std::vector<double> x;     // nt: values of all variables
  std::vector<double> pi;    // m
  std::vector<double> d;     // nt reduced costs
  std::vector<double> wcost; // nt working (perturbed, shifted) costs
  std::vector<double> gamma; // m dual steepest-edge weights
  int normsvalid = 0;
  // gamma came from a start: entries at or below 0 are still to be computed
  // (dnorm_init), the others stand.
  int normsseeded = 0;

  // working bounds: the model's in phase 2, the auxiliary box in phase 1
  std::vector<double> wlb, wub;
  int phase = 2;

  double harris = 1e-7;       // Harris tolerance of the ratio test
  std::vector<bfrtcand> cands;
  std::vector<size_t> group;
  dualrowcopy rc;
  dvec row;      // pivot row over nonbasic variables
  std::vector<double> rho, col, tau, work, flipcol;
  std::vector<int> rhoind;
  int rhonnz = 0;

  // perturbation and progress
  int perturbed = 0;
  int percount = 0;
  int shifts = 0;
  double persize = 0;
  uint32_t seed = 1;
  double lastobj = 0;
  int progbase = 0;
  int perlimit = 50;

  // iteration log
  double t0 = 0;             // clock at the start of the run
  int logenter = -1;         // variable that entered in the last iteration
  int logleave = -1;         // variable that left; -1 for a bound flip
  int loglastref = -1, loglastphase = 0;
  int lastelapsedit = 0;
  double lastelapsed = 0;

  // results
  int itcnt = 0;
  int phase1cnt = 0;
  int refactors = 0;
  int result = 0;
  int lastleave = -1;        // variable that left last (for the Farkas row)
  int lastleavepos = -1;
  double lastleavevalue = 0; // its value before the pivot
  std::vector<double> ray;   // primal ray for kDualUnbounded, nt entries
  int hasray = 0;
  double objval = 0;
  int singular = 0;
};

// Sets up the engine on a problem with a starting basis in head/status
// (status of nonbasic variables only needs 0, 2 or 3; wrong sides are fixed).
// Returns 0 or 1001.
int dual_setup(dualengine &e, const dualprob &p, const std::vector<int> &head,
               const std::vector<int> &status, const dualopts &opt);
// Slack basis for a problem.
void dual_slackbasis(const dualprob &p, std::vector<int> &head, std::vector<int> &status);
// Runs the method; returns the outcome code (1, 2, 3, 10, 11, 12, 13).
int dual_solve(dualengine &e);
void dual_free(dualengine &e);

// Pieces exposed for tests.
// Bound-flipping ratio test.  Returns the entering variable or -1; fills the
// variables to flip.  `slope` is the primal infeasibility of the leaving row.
// `sgn` is +1 when the leaving variable goes to its upper bound, -1 to lower.
int dual_ratio(dualengine &e, double slope, int sgn, std::vector<int> &flips,
               double &theta, int longstep);
double dual_objective(const dualengine &e);
// Writes the log of the iteration just counted, by the display level.
void dual_log_iteration(dualengine &e);
void dual_compute_duals(dualengine &e);
void dual_compute_primal(dualengine &e);

}  // namespace velto
