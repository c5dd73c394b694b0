// Internal state of one primal simplex run, shared by its modules.
#pragma once

#include <vector>

#include "simplex/bfactor.h"
#include "simplex/pwork.h"

namespace velto {

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

  bfactor f;
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
  int reinv = 100;
  double markowitz = 0.1;           // working threshold of the factor
  std::vector<double> xbold;
  bool perturbed = false;
  int perturbcount = 0;
  int degenerate = 0;
  double objval = 0.0;

  // Pricing weights (devex reference weights or steepest-edge norms).
  std::vector<double> w;
  std::vector<char> refset;
  // Partial pricing.
  std::vector<int> plist;
  std::vector<double> pscore;
  int listmax = 5, listcap = 5, nsect = 1, cursect = 0;
  double matrixnz = 0.0;

  // Log state.
  int lastlogref = -1, lastlogphase = 0;
  double lastelapsed = 0.0;
  int lastelapsedit = 0;

  pengine(const wprob &pp, pbasis &bb, const poptions &oo, const phooks &hh,
          presult &rr)
      : p(pp), b(bb), opt(oo), hk(hh), res(rr), m(pp.m), n(pp.n),
        nt(pp.n + pp.m) {}

  // ---- poptutil.cpp ----
  void column(int j, wvec &v) const;          // a_j scattered into v
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
  void perturb_bounds();
  void remove_perturbation();
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

  // ---- progress.cpp ----
  void log_iteration(int q, int leaving, bool flip, int endstat);
  void logf(const char *fmt, ...) __attribute__((format(printf, 2, 3)));
  void var_label(int j, char *buf, int len) const;
};

}  // namespace velto
