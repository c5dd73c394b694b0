// The dual simplex iteration and its phases.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "simplex/dualcore.h"

namespace velto {

double nonbasic_value(const dualengine &e, int j);
int feasible_status(const dualengine &e, int j, double dj);
int dual_refactor(dualengine &e);
double dual_infeas(const dualengine &e, int j, double tol);
int dual_flip_boxed(dualengine &e, double tol);
int dual_infeas_count(const dualengine &e, double tol, double *sum);
void dual_set_phase1(dualengine &e);
void dual_set_phase2(dualengine &e);
int dprice_select(const dualengine &e, double tol, const std::vector<char> &rejected);
double dprice_amount(const dualengine &e, int i, int *sgn);
int dnorm_init(dualengine &e);
void dse_update_pivot(dualengine &e, int r, double w);
void dual_perturb(dualengine &e);
void dual_unperturb(dualengine &e);
void dual_perturb_leaving(dualengine &e, int j);
int dual_primal_cleanup(dualengine &e, double tol, int limit, int *stuck);

namespace {

constexpr double kInf = 1e19;
constexpr int kNoMove = 101;

double now_seconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

// Everything that depends on the factor, recomputed from scratch.
int refresh(dualengine &e) {
  int r = dual_refactor(e);
  if (r) return r;
  dual_compute_duals(e);
  dual_compute_primal(e);
  if (!e.normsvalid) dnorm_init(e);
  return 0;
}

// Settles the phase from the current reduced costs: boxed variables go to the
// side their cost asks for (beyond fliptol); any other dual infeasibility
// beyond the optimality tolerance means phase 1.
void settle_phase(dualengine &e, double fliptol) {
  if (e.phase == 1) dual_set_phase2(e);
  dual_flip_boxed(e, fliptol);
  if (dual_infeas_count(e, e.opt.opttol, nullptr) > 0) {
    dual_set_phase1(e);
  } else {
    e.phase = 2;
  }
  dual_compute_primal(e);
}

// Tolerance on the true reduced costs at the end.  A reduced cost of the
// wrong sign well above rounding is a real improving direction: left in
// place because it is below the optimality tolerance, it can cost far more
// than that tolerance in the objective when the variable's move is long (a
// reduced cost of 4e-7 on a column that can grow by thousands).  Boxed
// variables are flipped at this tolerance once the costs are clean, and the
// others are taken in by primal pivots (dualclean.cpp).
double clean_tol(const dualengine &e) { return std::min(e.opt.opttol, 1e-9); }

// The last look before optimality is declared takes in reduced costs wrong
// by more than this: at 1e-9 a column that can move a few hundred units
// still leaves the objective short by more than 1e-9 of its size.
constexpr double kFinalCleanTol = 1e-11;

// Costs of nonbasic variables whose reduced costs are slightly wrong are
// moved so the basis is dual feasible again; counted as shifts.
void shift_small(dualengine &e, double tol) {
  for (int j = 0; j < e.nt; ++j) {
    double v = dual_infeas(e, j, 0.0);
    if (v <= 0.0 || v > tol) continue;
    double dj = e.d[j];
    e.wcost[j] -= dj;
    e.d[j] = 0.0;
    e.shifts++;
  }
}

void logf(const dualengine &e, const char *fmt, ...) {
  if (e.opt.display <= 0 || e.opt.log == nullptr) return;
  char buf[256];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(buf, sizeof buf, fmt, ap);
  va_end(ap);
  e.opt.log(e.opt.logctx, buf);
}

// Iteration line: phase 1 shows the sum of dual infeasibilities, phase 2 the
// dual objective in the user's sign.
void logline(const dualengine &e) {
  double obj = dual_objective(e);
  if (e.phase == 1)
    logf(e, "Iteration: %5d   Dual infeasibility = %20.6f\n", e.itcnt, std::max(0.0, -obj));
  else
    logf(e, "Iteration: %5d   Dual objective     = %20.6f\n", e.itcnt,
         e.opt.objsen * obj + e.opt.objoffset);
}

void label(const dualengine &e, int j, char *buf, int len) {
  if (e.opt.label) {
    e.opt.label(e.opt.logctx, j, buf, len);
    return;
  }
  char name[32];
  if (j < e.n) {
    std::snprintf(name, sizeof name, "x%d", j + 1);
    std::snprintf(buf, len, "%23s", name);
  } else {
    std::snprintf(name, sizeof name, "c%d", j - e.n + 1);
    std::snprintf(buf, len, "%17s slack", name);
  }
}

}  // namespace

void dual_log_iteration(dualengine &e) {
  if (e.opt.display <= 0 || e.opt.log == nullptr) return;
  if (e.opt.display == 1) {
    if (e.itcnt == 1) logf(e, "\nIteration log . . .\n");
    if (e.refactors != e.loglastref || e.phase != e.loglastphase) {
      logline(e);
      e.loglastref = e.refactors;
      e.loglastphase = e.phase;
    }
  } else if (e.logenter >= 0) {
    if (e.itcnt == 1)
      logf(e, "\nIteration      Dual Objective     "
              "       In Variable           Out Variable\n");
    char line[640], in[300], out[300];
    double obj = dual_objective(e);
    double v = e.phase == 1 ? std::max(0.0, -obj) : e.opt.objsen * obj + e.opt.objoffset;
    label(e, e.logenter, in, sizeof in);
    if (e.logleave >= 0) {
      label(e, e.logleave, out, sizeof out);
      std::snprintf(line, sizeof line, e.phase == 1 ? "%6d  I" : "%6d   ", e.itcnt);
    } else {
      std::snprintf(out, sizeof out, "%s",
                    e.status[e.logenter] == 2 ? "    goes to upper bound" : "    goes to lower bound");
      std::snprintf(line, sizeof line, e.phase == 1 ? "%6d  I" : "%6d   ", e.itcnt);
    }
    size_t len = std::strlen(line);
    std::snprintf(line + len, sizeof line - len, std::fabs(v) >= 1e11 ? "%20.6e%s%s\n" : "%20.6f%s%s\n",
                  v, in, out);
    e.opt.log(e.opt.logctx, line);
  }
  // A line with the clock every thousand iterations, at most every ten
  // seconds.
  if (e.itcnt % 1000 == 0 && e.itcnt - e.lastelapsedit >= 1000) {
    e.lastelapsedit = e.itcnt;
    double t = now_seconds() - e.t0;
    if (t - e.lastelapsed >= 10.0) {
      e.lastelapsed = t;
      logf(e, "Elapsed time = %7.2f sec. (%d iterations)\n", t, e.itcnt);
    }
  }
}

// One iteration.  Returns 0 after a pivot, kNoMove when the row was set
// aside or the factor renewed without a pivot, 100 when no row is
// infeasible, an outcome code, or a negative error.
static int iterate(dualengine &e, std::vector<char> &rejected, int &retries) {
  const dualprob &p = *e.p;
  e.logenter = -1;
  const int m = e.m;
  const double ftol = e.phase == 1 ? 1e-7 : e.opt.feastol;
  int r = dprice_select(e, ftol, rejected);
  if (r < 0) return 100;  // no leaving row: the phase is optimal
  int sgn;
  double amount = dprice_amount(e, r, &sgn);
  const int lv = e.head[r];

  // rho = e_r' B^-1
  e.fac->btran_row(r, e.rho);
  e.rhonnz = 0;
  double w = 0.0;
  for (int i = 0; i < m; ++i)
    if (e.rho[i] != 0.0) {
      if (std::fabs(e.rho[i]) < 1e-14) {
        e.rho[i] = 0.0;
        continue;
      }
      e.rhoind[e.rhonnz++] = i;
      w += e.rho[i] * e.rho[i];
    }
  pivot_row(e.rc, p, e.rho, e.rhoind, e.rhonnz, e.status, e.row);

  std::vector<int> flips;
  double t = 0.0;
  int q = dual_ratio(e, amount, sgn, flips, t, e.opt.longstep);
  if (q < 0) {
    if (e.fac->updates() > 0 && retries < 2) {
      retries++;
      int s = refresh(e);
      return s ? -s : kNoMove;
    }
    if (e.phase == 1) {
      rejected[r] = 1;
      return kNoMove;
    }
    e.lastleave = lv;
    e.lastleavepos = r;
    e.lastleavevalue = e.x[lv];
    return kDualInfeasible;
  }

  // Entering column.
  e.fac->ftran_col(p, q, e.col);
  double ar = e.col[r];
  double arow = e.row.val[q];
  if (std::fabs(ar) < 1e-9 || std::fabs(ar - arow) > 1e-6 * (1.0 + std::fabs(ar))) {
    if (e.fac->updates() > 0) {
      int s = refresh(e);
      return s ? -s : kNoMove;
    }
    if (std::fabs(ar) < 1e-9) {
      rejected[r] = 1;
      return kNoMove;
    }
  }
  retries = 0;

  // Dual step.  A slightly wrong reduced cost of the entering variable is
  // removed by a cost shift so the step is never negative.
  if (t < 0.0) {
    e.wcost[q] -= e.d[q];
    e.d[q] = 0.0;
    e.shifts++;
    t = 0.0;
  }
  const double thetad = sgn * t;
  if (thetad != 0.0) {
    for (int k = 0; k < e.row.nnz; ++k) {
      int j = e.row.ind[k];
      if (e.status[j] != 1) e.d[j] -= thetad * e.row.val[j];
    }
  }
  for (int i = 0; i < m; ++i) e.pi[i] += thetad * e.rho[i];

  // Bound flips: one solve for all of them.
  if (!flips.empty()) {
    std::fill(e.flipcol.begin(), e.flipcol.end(), 0.0);
    for (int j : flips) {
      double oldv = nonbasic_value(e, j);
      e.status[j] = e.status[j] == 0 ? 2 : 0;
      double dx = nonbasic_value(e, j) - oldv;
      e.x[j] += dx;
      if (j < e.n) {
        for (int k = p.matbeg[j]; k < p.matbeg[j + 1]; ++k) e.flipcol[p.matind[k]] += dx * p.matval[k];
      } else {
        e.flipcol[j - e.n] += dx * p.slackval[j - e.n];
      }
    }
    e.fac->ftran(e.flipcol);
    for (int i = 0; i < m; ++i) e.x[e.head[i]] -= e.flipcol[i];
  }

  // Primal step.
  const double bound = sgn > 0 ? e.wub[lv] : e.wlb[lv];
  const double thetap = (e.x[lv] - bound) / ar;
  for (int i = 0; i < m; ++i)
    if (e.col[i] != 0.0) e.x[e.head[i]] -= thetap * e.col[i];
  e.x[q] += thetap;
  e.x[lv] = bound;

  // Norms: tau = B^-1 rho before the basis changes.
  dse_update_pivot(e, r, w);

  // Basis change.
  e.logenter = q;
  e.logleave = lv;
  e.lastleave = lv;
  e.lastleavepos = r;
  e.head[r] = q;
  e.pos[q] = r;
  e.status[q] = 1;
  e.d[q] = 0.0;
  e.pos[lv] = -1;
  e.status[lv] = sgn > 0 ? 2 : 0;
  if (e.wlb[lv] == e.wub[lv]) e.status[lv] = 0;
  e.d[lv] = -thetad;
  rowcopy_remove(e.rc, p, q);
  rowcopy_append(e.rc, p, lv);
  if (e.perturbed) dual_perturb_leaving(e, lv);

  if (e.fac->update(r, q, e.col) != 0 || e.fac->updates() >= e.opt.refactor) {
    int s = refresh(e);
    if (s) return -s;
    std::fill(rejected.begin(), rejected.end(), 0);
    if (e.phase == 2) {
      // Drift may leave small dual infeasibilities: flip or shift them.
      if (dual_flip_boxed(e, e.opt.opttol) > 0) dual_compute_primal(e);
      shift_small(e, 1e-5);
    }
  }
  return 0;
}

int dual_refresh(dualengine &e) { return refresh(e); }

int dual_solve(dualengine &e) {
  const double t0 = now_seconds();
  e.t0 = t0;
  std::vector<char> rejected(e.m, 0);
  int retries = 0;
  int s = refresh(e);
  if (s) return -s;
  settle_phase(e, e.opt.opttol);
  if (e.opt.perind && e.phase == 2) {
    dual_perturb(e);
    logf(e, "Perturbation started.\n");
  }
  e.loglastref = e.refactors;
  e.loglastphase = e.phase;
  e.lastelapsedit = e.itcnt;
  e.lastelapsed = 0.0;
  e.lastobj = -1e75;
  e.progbase = e.itcnt;
  int rounds = 0, cleanups = 0;
  for (;;) {
    if (e.itcnt >= e.opt.itlim) return e.result = kDualItLim;
    if (e.opt.progress) {
      cbprogress pr;
      pr.wherefrom = 2;
      pr.have = 1u << 2 | 1u << 6 | 1u << 7;
      pr.itcnt = e.itcnt;
      pr.dfeas = e.phase == 2;
      pr.objctx = &e;
      pr.objfn = [](const void *c) { return dual_objective(*static_cast<const dualengine *>(c)); };
      if (e.opt.progress(e.opt.progctx, pr)) return e.result = kDualAbort;
    }
    if (e.itcnt % 25 == 0) {
      if (e.itcnt > 0 && e.opt.abortword && *e.opt.abortword) return e.result = kDualAbort;
      // Read before the first iteration too: a run started with no time
      // left (the clean-up of a call whose limit has passed) stops at once.
      if (e.opt.tilim < 1e75 && now_seconds() - t0 > e.opt.tilim) return e.result = kDualTimeLim;
    }
    int r = iterate(e, rejected, retries);
    if (r < 0) return e.result = r;
    if (r == kNoMove) continue;
    if (r == 0) {
      // Counted only when the basis or a bound moved.
      e.itcnt++;
      if (e.phase == 1) e.phase1cnt++;
      dual_log_iteration(e);
      // Objective limit: the dual objective only rises in phase 2, so once
      // past the limit the primal optimum is past it too.
      if (e.opt.objulim < 1e75 && e.phase == 2 && !e.perturbed && e.shifts == 0 &&
          dual_objective(e) > e.opt.objulim) {
        if (e.fac->updates() > 0) {
          s = refresh(e);
          if (s) return e.result = -s;
        }
        if (dual_objective(e) > e.opt.objulim) return e.result = kDualObjLim;
      }
      if (e.itcnt - e.progbase >= e.perlimit) {
        double obj = dual_objective(e);
        if (obj > e.lastobj + 1e-9 * (1.0 + std::fabs(obj))) {
          e.lastobj = obj;
        } else if (!e.perturbed && e.phase == 2 && e.percount < 6) {
          dual_perturb(e);
          logf(e, e.percount == 1 ? "Perturbation started.\n" : "Reperturbation started.\n");
          e.lastobj = -1e75;
        }
        e.progbase = e.itcnt;
      }
      continue;
    }
    if (r == kDualInfeasible) {
      // The proof holds whatever the costs; it rests on the bounds only.
      if (e.perturbed || e.shifts) dual_unperturb(e);
      return e.result = kDualInfeasible;
    }
    // r == 100: no infeasible row in this phase.
    if (e.fac->updates() > 0) {
      s = refresh(e);
      if (s) return e.result = -s;
      std::fill(rejected.begin(), rejected.end(), 0);
      if (e.phase == 2 && (dual_flip_boxed(e, e.opt.opttol) > 0)) dual_compute_primal(e);
      if (dprice_select(e, e.phase == 1 ? 1e-7 : e.opt.feastol, rejected) >= 0) continue;
    }
    if (++rounds > 50) return e.result = -1256;
    if (e.phase == 1) {
      // The auxiliary problem is solved; its solution is a ray when the
      // reduced costs cannot be made feasible.
      std::vector<double> aux(e.x);
      double auxobj = 0.0, trueobj = 0.0;
      for (int j = 0; j < e.nt; ++j) {
        auxobj += e.wcost[j] * aux[j];
        trueobj += e.p->cost[j] * aux[j];
      }
      dual_set_phase2(e);
      double sum = 0.0;
      int cnt = dual_infeas_count(e, e.opt.opttol, &sum);
      if (cnt == 0) {
        dual_compute_primal(e);
        continue;
      }
      // The auxiliary solution lies in the recession cone of the bounds
      // whatever costs found it: of negative true cost, it is a ray.
      // Without this test a phase 1 that ends with shifts each time would
      // remove them and start again for ever.
      if (trueobj < -e.opt.opttol) {
        e.ray = aux;
        e.hasray = 1;
        return e.result = kDualUnbounded;
      }
      if (e.perturbed || e.shifts) {
        dual_unperturb(e);
        settle_phase(e, clean_tol(e));
        continue;
      }
      if (auxobj < -e.opt.opttol) {
        e.ray = aux;
        e.hasray = 1;
        return e.result = kDualUnbounded;
      }
      // Tiny leftovers: shift them away and go on in phase 2.
      shift_small(e, 1e75);
      e.phase = 2;
      dual_compute_primal(e);
      continue;
    }
    // Phase 2 optimal for the working costs.
    if (e.perturbed || e.shifts) {
      if (e.perturbed) logf(e, "Removing perturbation.\n");
      else logf(e, "Removing shift (%d).\n", e.shifts);
      dual_unperturb(e);
      // The basis is primal feasible: primal pivots take in the variables
      // whose true reduced costs are now wrong.  What they leave (a move
      // without limit, or too many of them) goes by flips and phase 1.
      int stuck = 0;
      s = dual_primal_cleanup(e, clean_tol(e), std::max(100, e.m / 4), &stuck);
      if (s < 0) return e.result = s;
      settle_phase(e, clean_tol(e));
      e.progbase = e.itcnt;
      e.lastobj = -1e75;
      continue;
    }
    // Optimal for the true costs within the tolerances; take in what
    // improving directions remain, then check again.
    if (cleanups < 5) {
      ++cleanups;
      int stuck = 0;
      int done = dual_primal_cleanup(e, kFinalCleanTol, std::max(100, e.m / 4), &stuck);
      if (done < 0) return e.result = done;
      if (done > 0) {
        --rounds;
        continue;
      }
    }
    return e.result = kDualOptimal;
  }
}

}  // namespace velto
