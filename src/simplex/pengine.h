// Internal state of one primal simplex run, shared by its modules.
#pragma once

#include <vector>

#include "simplex/lufactor.h"
#include "simplex/pwork.h"
#include "simplex/svec.h"

namespace velto {

// A work vector of the engine: dense values plus the list of touched
// indices, so that clearing costs only the touched entries.
struct wvec {
  std::vector<double> val;
  std::vector<int> ind;
  std::vector<char> mark;
  int nnz = 0;
  void init(int m) {
    val.assign(m, 0.0);
    ind.assign(m, 0);
    mark.assign(m, 0);
    nnz = 0;
  }
  void clear() {
    for (int k = 0; k < nnz; ++k) {
      val[ind[k]] = 0.0;
      mark[ind[k]] = 0;
    }
    nnz = 0;
  }
  void set(int i, double v) {
    if (!mark[i]) { mark[i] = 1; ind[nnz++] = i; }
    val[i] = v;
  }
};

struct pengine {
  const wprob &p;
  pbasis &b;
  const poptions &opt;
  const phooks &hk;
  presult &res;
  int m, n, nt;

  std::vector<double> lbw, ubw;   // working bounds (perturbed)
  std::vector<int> pos;           // basis position of a variable, -1 nonbasic
  std::vector<double> cb;         // cost by position in the current phase
  std::vector<double> pi, d;      // duals and reduced costs (all variables)
  std::vector<char> mark;         // 1: kept out of pricing (rejected)
  int nrejected = 0;

  // Basis factor (the library's sparse LU) and its view of the matrix:
  // structurals 0..n-1 from the column copy, logical n+i the unit column
  // of row i.
  lufactor *fac = nullptr;
  lumatrix mat{};
  std::vector<int> matcnt;
  svec sv{};                      // result of the last solve
  std::vector<double> gath;       // packed right-hand side of a solve
  std::vector<int> headtmp;
  double singtol = 1e-13;
  wvec col, rho, tau, dcb;
  std::vector<double> arow;       // pivot row over all variables
  std::vector<int> arowind;
  std::vector<char> arowmark;
  int arownnz = 0;
  std::vector<int> bcbeg, bclen, bcind;
  std::vector<double> bcval;

  int phase = 1;
  int itcnt = 0, phase1cnt = 0;
  int refactors = 0;
  int ninf = 0;
  double suminf = 0.0;
  double feastol, opttol, delta;
  int pricing;                     // engine in force
  bool djvalid = false;            // d holds current reduced costs
  bool fresh = false;              // no update since the last factorization
  int reinv = 500;                 // cap on updates between refactorizations
  int reinvcap = 500;              // its value at the start of the run
  double markowitz = 0.1;           // working threshold of the factor
  std::vector<double> xbold;
  bool longstep = true;            // phase-1 test passes breakpoints
  // Perturbation of the bounds of basic variables.
  bool perturbed = false;          // a perturbation is in force
  int perturbcount = 0;            // perturbations made in this run
  double pertsize = 1e-6;          // current size
  uint32_t pertseed = 1234567u;    // generator of the random amounts
  // Phase 1 ended on the perturbed bounds with a residue of infeasibility:
  // the perturbation was taken away to finish phase 1 on the true bounds
  // and comes back, same size, once phase 2 starts.
  bool pertpending = false;
  int phase1removals = 0;
  // Progress monitor: iterations without progress start a perturbation.
  double proglastobj = 0.0;        // measure at the last reset
  int proglastcheck = 0;           // iteration of the last exact check
  int progbase = 0;                // iteration of the last reset
  int progphase = 0;               // phase at the last reset
  int proglimit = 400;             // iterations without progress allowed
  int proginterval = 501;          // iterations between exact checks
  double objval = 0.0;

  // Pricing weights (devex reference weights or steepest-edge norms).
  std::vector<double> w;
  std::vector<char> refset;
  // Partial pricing.
  std::vector<int> plist;
  std::vector<double> pscore;
  int listmax = 5, listcap = 5, nsect = 1, cursect = 0;
  double matrixnz = 0.0;
  double basisnz = 0.0;            // nonzeros of the basis columns

  // Log state.
  int lastlogref = -1, lastlogphase = 0;
  double lastelapsed = 0.0;
  int lastelapsedit = 0;

  pengine(const wprob &pp, pbasis &bb, const poptions &oo, const phooks &hh,
          presult &rr)
      : p(pp), b(bb), opt(oo), hk(hh), res(rr), m(pp.m), n(pp.n),
        nt(pp.n + pp.m) {}
  ~pengine() {
    lu_free(&fac);
    svec_free(&sv);
  }
  pengine(const pengine &) = delete;
  pengine &operator=(const pengine &) = delete;

  // ---- pfactor.cpp ----
  int factor_init();                          // 0 or 1001
  void ftran(wvec &v);                        // B x = v in place
  void ftran_column(int q, wvec &out);        // B^-1 a_q, kept for the update
  void btran(wvec &v);                        // B' y = v in place
  void btran_row(int r, wvec &out);           // row r of B^-1, kept for the update
  int check_pivot(int r, double alpha);       // 0 or kLuRejected
  // Replaces the column at position r by variable q in the factor: 0, or
  // non-zero when the factor must be rebuilt for the new basis.
  int factor_update(int r, int q);
  double kappa();                             // condition estimate of B

  // ---- poptutil.cpp ----
  void column(int j, wvec &v) const;          // a_j scattered into v
  int collen(int j) const { return j < n ? p.cbeg[j + 1] - p.cbeg[j] : 1; }
  double coldot(int j, const double *y) const;  // a_j' y
  int refactor();                             // 0, 1256
  void compute_xb();
  void set_phase_costs();                     // cb and phase from xb
  double phase1_cost(int i) const;
  void compute_pi();
  void compute_dj();
  void compute_objval();
  void pivot_row();                           // rho' [A I] into arow
  double max_primal_infeas() const;

  // ---- pperturb.cpp ----
  void perturb_init();                        // sizes and limits of a run
  void perturb_bounds(bool keepsize = false);  // start or renew a perturbation
  void perturb_entering(int q);               // extend it to an entering variable
  void remove_perturbation();
  void progress_reset();
  bool progress_check();                      // exact check; true on progress
  // Once per iteration, before the count is raised: perturbs when the run
  // has stalled.  `q` entered (-1 none), `leaving` left (-1 none).
  void progress_tick(int q, int leaving);
  void refresh();                             // factor, x, phase, pi, d

  // ---- pprice.cpp ----
  void price_init();
  int price_select(double tol);
  void price_update_weights(int q, int r, int leaving, double alpha_r);
  void devex_reset();
  bool price_switch_test();
  double dj_fresh(int j) const;

  // ---- ratio.cpp ----
  // Returns 0 pivot (r >= 0) or bound flip (r = -1); 2 unbounded.
  int ratio_primal(int q, int dir, double range, int &r, double &step,
                   int &endstat);
  int ratio_primal1(int q, int dir, double dq, double range, int &r,
                    double &step, int &endstat);
  struct bpoint {
    double t, a;
    int k, upper;
  };
  std::vector<bpoint> bps;

  // ---- progress.cpp ----
  void log_iteration(int q, int leaving, bool flip, int endstat);
  void logf(const char *fmt, ...) __attribute__((format(printf, 2, 3)));
  void var_label(int j, char *buf, int len) const;
};

}  // namespace velto
