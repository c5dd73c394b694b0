// Primal clean-up of the dual method.  When the dual simplex ends on a
// primal feasible basis whose true reduced costs still show small wrong
// signs (below the optimality tolerance, left over from the removal of
// perturbations and shifts or from Harris steps), each such variable is an
// improving direction of the primal.  Accepting them can cost far more than
// the tolerance in the objective when the variable can move a long way, so
// a few primal simplex pivots take them in: the entering variable is the
// one with the largest wrong-signed reduced cost, and a textbook ratio test
// over the basic variables and the entering variable's own box keeps the
// basis primal feasible.
#include <algorithm>
#include <cmath>

#include "simplex/dualcore.h"

namespace velto {

double nonbasic_value(const dualengine &e, int j);
double dual_infeas(const dualengine &e, int j, double tol);
int dual_refresh(dualengine &e);
void dse_update_pivot(dualengine &e, int r, double w);
void dual_perturb_leaving(dualengine &e, int j);

namespace {

constexpr double kInf = 1e19;
constexpr double kPivTol = 1e-9;

// The entering candidate: largest dual infeasibility above tol, among the
// variables not set aside.
int choose_entering(const dualengine &e, double tol, const std::vector<char> &aside) {
  int q = -1;
  double best = 0.0;
  for (int j = 0; j < e.nt; ++j) {
    if (!aside.empty() && aside[j]) continue;
    double v = dual_infeas(e, j, tol);
    if (v > best) {
      best = v;
      q = j;
    }
  }
  return q;
}

}  // namespace

// Runs primal pivots until no reduced cost is wrong by more than tol, at
// most `limit` of them.  Returns the number of pivots and flips made, or a
// negative error.  *stuck is set when a candidate could not be pivoted in
// (no acceptable pivot, or no limit on its move).
int dual_primal_cleanup(dualengine &e, double tol, int limit, int *stuck) {
  const dualprob &p = *e.p;
  const int m = e.m;
  *stuck = 0;
  int done = 0;
  // Below the working tolerance (the last look before optimality) only
  // moves that gain more than 1e-12 of the objective count: a degenerate
  // pivot there changes nothing but the basis, and a restart from an
  // optimal basis walked through hundreds of them (dfl001).
  const bool lastlook = tol < 1e-10;
  std::vector<char> aside;
  double gainfloor = 0.0;
  if (lastlook) {
    double obj = 0.0;
    for (int j = 0; j < e.nt; ++j) obj += p.cost[j] * e.x[j];
    gainfloor = 1e-12 * std::max(1.0, std::fabs(obj));
  }
  while (done < limit && e.itcnt < e.opt.itlim) {
    const int q = choose_entering(e, tol, aside);
    if (q < 0) break;
    // Direction of the move of q: up when its reduced cost is negative.
    const double dq = e.d[q];
    const int dir = dq < 0.0 ? 1 : -1;
    e.fac->ftran_col(p, q, e.col);
    // Basic variable i moves by -dir * t * col[i].
    double tmax = 1e300;
    int r = -1;
    double rbest = 0.0;
    const double ftol = e.opt.feastol;
    // Two passes: the bound of the step with the feasibility tolerance, then
    // among the rows that block within it the largest pivot.
    for (int pass = 0; pass < 2; ++pass) {
      for (int i = 0; i < m; ++i) {
        double a = e.col[i];
        if (std::fabs(a) < kPivTol) continue;
        int j = e.head[i];
        double mv = -dir * a;
        double x = e.x[j];
        double t;
        if (mv < 0.0) {
          if (e.wlb[j] <= -kInf) continue;
          t = (x - e.wlb[j] + (pass == 0 ? ftol : 0.0)) / -mv;
        } else {
          if (e.wub[j] >= kInf) continue;
          t = (e.wub[j] - x + (pass == 0 ? ftol : 0.0)) / mv;
        }
        if (t < 0.0) t = 0.0;
        if (pass == 0) {
          tmax = std::min(tmax, t);
        } else if (t <= tmax && std::fabs(a) > rbest) {
          rbest = std::fabs(a);
          r = i;
        }
      }
    }
    const double box = (e.wlb[q] > -kInf && e.wub[q] < kInf) ? e.wub[q] - e.wlb[q] : 1e300;
    if (r < 0 && box >= 1e299) {
      // No limit on the move: leave the variable out; the caller accepts.
      *stuck = 1;
      break;
    }
    double t;
    int lv = -1;
    if (r >= 0) {
      lv = e.head[r];
      double a = e.col[r];
      double mv = -dir * a;
      double bound = mv < 0.0 ? e.wlb[lv] : e.wub[lv];
      t = (bound - e.x[lv]) / mv;
      if (t < 0.0) t = 0.0;
    } else {
      t = box;
    }
    if (lastlook && std::min(t, box) * std::fabs(dq) < gainfloor) {
      if (aside.empty()) aside.assign(e.nt, 0);
      aside[q] = 1;
      continue;
    }
    if (box <= t) {
      // q reaches its other bound first: a flip, no basis change.
      for (int i = 0; i < m; ++i)
        if (e.col[i] != 0.0) e.x[e.head[i]] -= dir * box * e.col[i];
      e.status[q] = e.status[q] == 0 ? 2 : 0;
      e.x[q] = nonbasic_value(e, q);
      e.d[q] = dq;  // unchanged; now feasible on the other side
      e.itcnt++;
      e.logenter = q;
      e.logleave = -1;
      dual_log_iteration(e);
      done++;
      continue;
    }
    // Pivot row r for the reduced costs and the norms.
    e.fac->btran_row(r, e.rho);
    e.rhonnz = 0;
    double w = 0.0;
    for (int i = 0; i < m; ++i)
      if (e.rho[i] != 0.0) {
        e.rhoind[e.rhonnz++] = i;
        w += e.rho[i] * e.rho[i];
      }
    pivot_row(e.rc, p, e.rho, e.rhoind, e.rhonnz, e.status, e.row);
    const double arow = e.row.val[q];
    if (std::fabs(arow) < kPivTol || std::fabs(arow - e.col[r]) > 1e-6 * (1.0 + std::fabs(arow))) {
      *stuck = 1;
      break;
    }
    const double thetad = dq / arow;
    for (int k = 0; k < e.row.nnz; ++k) {
      int j = e.row.ind[k];
      if (e.status[j] != 1) e.d[j] -= thetad * e.row.val[j];
    }
    for (int i = 0; i < m; ++i) e.pi[i] += thetad * e.rho[i];
    // Primal step.
    const double bound = (-dir * e.col[r]) < 0.0 ? e.wlb[lv] : e.wub[lv];
    const int lvstat = (-dir * e.col[r]) < 0.0 ? 0 : 2;
    for (int i = 0; i < m; ++i)
      if (e.col[i] != 0.0) e.x[e.head[i]] -= dir * t * e.col[i];
    e.x[q] += dir * t;
    e.x[lv] = bound;
    dse_update_pivot(e, r, w);
    // The factor update wants the entering column's solve as the last one.
    e.fac->ftran_col(p, q, e.col);
    e.lastleave = lv;
    e.lastleavepos = r;
    e.head[r] = q;
    e.pos[q] = r;
    e.status[q] = 1;
    e.d[q] = 0.0;
    e.pos[lv] = -1;
    e.status[lv] = e.wlb[lv] == e.wub[lv] ? 0 : lvstat;
    e.d[lv] = -thetad;
    rowcopy_remove(e.rc, p, q);
    rowcopy_append(e.rc, p, lv);
    e.itcnt++;
    e.logenter = q;
    e.logleave = lv;
    dual_log_iteration(e);
    done++;
    if (e.fac->update(r, q, e.col) != 0 || e.fac->updates() >= e.opt.refactor) {
      int s = dual_refresh(e);
      if (s) return -s;
    }
  }
  return done;
}

}  // namespace velto
