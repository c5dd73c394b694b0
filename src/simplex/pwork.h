// Working problem and state of the primal simplex engine.
//
// The engine runs on its own copy of the model in computational form:
// minimize c'x subject to A x + s = b, one logical s_i per row, every
// variable with its own lower and upper bound (infinite ones are +-inf).
// Variables 0..n-1 are structural, n..n+m-1 the logicals.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "env/callback.h"

struct velto_env;

namespace velto {

constexpr double kInf = std::numeric_limits<double>::infinity();

// Basis status of a variable in the engine (same values as at the API).
enum : signed char { kAtLower = 0, kBasic = 1, kAtUpper = 2, kFree = 3 };

// The model in computational form, possibly scaled.
struct wprob {
  int m = 0, n = 0;
  std::vector<int> cbeg, cind;   // column-wise A, n+1 starts
  std::vector<double> cval;
  std::vector<int> rbeg, rind;   // row-wise copy of A
  std::vector<double> rval;
  std::vector<double> cost;      // n+m, minimization sign, logicals 0
  std::vector<double> lb, ub;    // n+m
  std::vector<double> rhs;       // m
  int objsen = 1;                // 1 minimize, -1 maximize (user's sense)
  double objconst = 0.0;         // user objective = objsen * c'x + objconst
  // Scale factors: x_scaled = x * vscale[j]; rows: b_scaled = b / rscale[i].
  bool scaled = false;
  std::vector<double> rscale;    // m
  std::vector<double> vscale;    // n+m (logical i: 1 / rscale[i])
  int ncols() const { return n + m; }
};

// Builds the row-wise copy of A from the column-wise one.
void wprob_rowcopy(wprob &p);
// Scales p in place: mode 0 equilibration, 1 aggressive geometric.  Returns
// 1 when scaling was applied, 0 when the matrix needs none.
int wprob_scale(wprob &p, int mode);
// True when the nonzeros of the matrix call for scaling.
bool wprob_scale_needed(const wprob &p);

// Pricing engines.
enum : int {
  kPricePartialOnly = -1,
  kPriceAuto = 0,
  kPriceDevex = 1,
  kPriceSteepest = 2,
  kPriceSteepestSlack = 3,
  kPriceDantzig = 4,
};

// Settings of one run, taken from the parameters by the caller.
struct poptions {
  int pricing = kPriceAuto;
  int pricelim = 0;           // partial list size, 0 automatic
  int itlim = 2100000000;
  double tilim = 1e75;
  double feastol = 1e-6;
  double opttol = 1e-6;
  double markowitz = 0.01;
  double objlim = -1e75;      // stop in phase 2 once c'x falls below
  int perturb_at_start = 0;
  double epper = 1e-6;        // size of the first perturbation
  int perlim = 0;             // iterations without progress before one, 0 automatic
  int crash = 1;              // 0 none, otherwise the triangular crash
  int display = 0;            // iteration log level 0, 1, 2
  int reinv = 0;              // refactorization frequency, 0 automatic
  bool scaled_log = false;    // log labels of a scaled model
  // Clean-up pass on the unscaled model: estimate the condition of the
  // first basis and stop at once (status 10) when it is above 1e15.
  int kappa_check = 0;
  // Report the condition estimate of the final basis in presult::kappa.
  int want_kappa = 0;
};

// Engine outcome.
enum : int {
  kPNone = 0,
  kPOptimal = 1,
  kPUnbounded = 2,
  kPInfeasible = 3,
  kPItLim = 10,
  kPTimeLim = 11,
  kPObjLim = 12,
  kPAbort = 13,
};

// Hooks the caller may give: log output, abort word, clock, names.
struct phooks {
  void *ctx = nullptr;
  // Environment for the parameters of the factor and its messages; may be
  // null (then the factor's defaults hold).
  ::velto_env *e = nullptr;
  void (*logline)(void *ctx, const char *text) = nullptr;
  // Non-zero asks the run to stop (abort word, callback).
  int (*stop)(void *ctx) = nullptr;
  // The progress callback, called once per iteration; non-zero stops.
  int (*progress)(void *ctx, cbprogress &pr) = nullptr;
  double (*clock)(void *ctx) = nullptr;
  // Name of variable j (structural or logical) for the detailed log.
  void (*varname)(void *ctx, int j, char *buf, int len) = nullptr;
  // Kind of the logical of row i for the detailed log: 0 slack, 1 range
  // column, 2 artificial.
  int (*logkind)(void *ctx, int i) = nullptr;
  double starttime = 0.0;
};

// Basis: status of every variable and the head (basic variable per row).
struct pbasis {
  std::vector<signed char> stat;  // n+m
  std::vector<int> head;          // m
  std::vector<double> x;          // n+m values (nonbasic free ones may be != 0)
};

struct presult {
  int lpstat = kPNone;
  int itcnt = 0;
  int phase1cnt = 0;
  int pfeas = 0, dfeas = 0;
  double objval = 0.0;          // c'x + objconst in minimization sign
  std::vector<double> x;        // n+m
  std::vector<double> pi;       // m
  std::vector<double> d;        // n+m
  int err = 0;                  // 0, 1001 memory, 1256 factor failure
  double kappa = 0.0;
  int pricing_used = 0;         // engine in force at the end
};

// Makes a start basis: the user's (when `given` is non-null and valid), a
// crash basis when `crash` is set, otherwise the slack basis.
void pstart_slack(const wprob &p, pbasis &b);
void pstart_crash(const wprob &p, pbasis &b);
// Puts nonbasic variables at a bound that exists and sets their values.
void pbasis_settle(const wprob &p, pbasis &b);

// Runs the primal simplex on p from basis b.  b is updated to the final
// basis.  `iter0` counts iterations already done on this problem.
void primal_run(const wprob &p, pbasis &b, const poptions &opt,
                const phooks &hooks, int iter0, int phase1cnt0,
                presult &res);

}  // namespace velto
