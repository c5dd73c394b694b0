// The primal simplex iteration loop.
#include <algorithm>
#include <cmath>

#include "simplex/pengine.h"
#include "simplex/quality.h"

namespace velto {

namespace {

bool partial_mode(int pricing) {
  return pricing == kPriceAuto || pricing == kPricePartialOnly;
}

// Applies the phase-1 cost changes of the positions touched by the last
// step: pi and the reduced costs follow by one BTRAN and a row product.
void phase1_repair(pengine &e, int r, bool keepdj) {
  e.dcb.clear();
  auto touch = [&](int k) {
    double c = e.phase1_cost(k);
    if (c != e.cb[k]) {
      e.dcb.set(k, c - e.cb[k]);
      e.cb[k] = c;
    }
  };
  for (int s = 0; s < e.col.nnz; ++s) touch(e.col.ind[s]);
  if (r >= 0) touch(r);
  if (e.dcb.nnz == 0 || !keepdj) {
    e.dcb.clear();
    return;
  }
  e.rho.clear();
  for (int s = 0; s < e.dcb.nnz; ++s) e.rho.set(e.dcb.ind[s], e.dcb.val[e.dcb.ind[s]]);
  e.dcb.clear();
  e.btran(e.rho);
  for (int s = 0; s < e.rho.nnz; ++s) e.pi[e.rho.ind[s]] += e.rho.val[e.rho.ind[s]];
  e.pivot_row();
  for (int s = 0; s < e.arownnz; ++s) {
    int j = e.arowind[s];
    if (e.pos[j] < 0) e.d[j] -= e.arow[j];
  }
}

int count_infeasible(const pengine &e) {
  int c = 0;
  for (int k = 0; k < e.m; ++k) c += e.cb[k] != 0.0;
  return c;
}

}  // namespace

void pbasis_settle(const wprob &p, pbasis &b) {
  int nt = p.n + p.m;
  b.x.resize(nt, 0.0);
  for (int j = 0; j < nt; ++j) {
    if (b.stat[j] == kBasic) continue;
    bool hl = std::isfinite(p.lb[j]), hu = std::isfinite(p.ub[j]);
    if (b.stat[j] == kAtUpper && !hu) b.stat[j] = hl ? kAtLower : kFree;
    if (b.stat[j] == kAtLower && !hl) b.stat[j] = hu ? kAtUpper : kFree;
    if (b.stat[j] == kFree && (hl || hu)) {
      // A superbasic value inside its bounds is kept; otherwise go to a bound.
      double v = b.x[j];
      if (!(v >= p.lb[j] && v <= p.ub[j]))
        b.stat[j] = hl ? kAtLower : kAtUpper;
    }
    if (b.stat[j] == kAtLower) b.x[j] = p.lb[j];
    else if (b.stat[j] == kAtUpper) b.x[j] = p.ub[j];
    else if (!(hl || hu)) b.x[j] = 0.0;
  }
}

// Reduced-cost tolerance of the last pricing before optimality is declared.
constexpr double kFinalOptTol = 1e-9;

void primal_run(const wprob &p, pbasis &b, const poptions &opt,
                const phooks &hk, int iter0, int phase1cnt0, presult &res) {
  pengine e(p, b, opt, hk, res);
  const int m = e.m, nt = e.nt;
  int itlim = opt.itlim;
  // The final pricing at kFinalOptTol: whether it has begun, where, and the
  // working tolerance it replaced.  On a degenerate optimum it could pivot
  // on rounding for ever, so it has as many pivots as the dual's clean-up.
  bool tightened = false;
  int tightstart = 0;
  double worktol = 0.0;
  int clearedat = -1;  // iteration count when the rejected marks were last cleared
  res = presult();
  e.lbw = p.lb;
  e.ubw = p.ub;
  e.pos.assign(nt, -1);
  for (int k = 0; k < m; ++k) e.pos[b.head[k]] = k;
  pbasis_settle(p, b);
  e.mark.assign(nt, 0);
  e.pi.assign(m, 0.0);
  e.d.assign(nt, 0.0);
  e.arow.assign(nt, 0.0);
  e.arowind.assign(nt, 0);
  e.arowmark.assign(nt, 0);
  e.col.init(m);
  e.rho.init(m);
  e.tau.init(m);
  e.dcb.init(m);
  e.feastol = opt.feastol;
  e.opttol = 0.1 * opt.opttol;
  e.delta = 0.5 * opt.feastol;
  e.pricing = opt.pricing;
  // With a fixed refactorization interval the factor keeps it; otherwise
  // its cost rule decides, under a cap that falls when updated values drift.
  e.reinv = opt.reinv > 0 ? opt.reinv + 1 : 200;
  e.reinvcap = e.reinv;
  e.markowitz = std::max(opt.markowitz, 0.1);
  e.itcnt = iter0;
  e.phase1cnt = phase1cnt0;
  e.matrixnz = (double)p.cind.size() + m;
  e.longstep = true;

  if (e.factor_init() != 0) {
    res.err = kNoMemory;
    goto done;
  }
  e.refresh();
  if (res.err) goto done;
  if (opt.kappa_check) {
    res.kappa = e.kappa();
    if (res.kappa > kKappaStop) itlim = e.itcnt;
  }
  e.price_init();
  if (e.pricing == kPriceDevex && opt.display > 0 && e.itcnt == 0) {
    // The devex engine chosen from the start says so once.
  }
  e.perturb_init();
  if (opt.perturb_at_start) e.perturb_bounds();

  for (;;) {
    if (res.err) break;
    if (e.itcnt >= itlim) { res.lpstat = kPItLim; break; }
    if (hk.stop && hk.stop(hk.ctx)) { res.lpstat = kPAbort; break; }
    if (hk.progress) {
      cbprogress pr;
      pr.wherefrom = 1;
      pr.have = 1u << 1 | 1u << 3 | 1u << 5 | 1u << 7;
      pr.itcnt = e.itcnt;
      pr.pfeas = e.phase == 2;
      pr.pinf = e.phase == 1 ? e.suminf : 0.0;
      pr.objctx = &e;
      pr.objfn = [](const void *c) {
        pengine *en = const_cast<pengine *>(static_cast<const pengine *>(c));
        en->compute_objval();
        return en->objval;
      };
      if (hk.progress(hk.ctx, pr)) { res.lpstat = kPAbort; break; }
    }
    // The clock is read before the first iteration too: a run started with
    // no time left (the clean-up of a call whose limit has passed) stops at once.
    if (e.itcnt % 25 == 0 && hk.clock && opt.tilim < 1e75) {
      if (hk.clock(hk.ctx) - hk.starttime > opt.tilim) { res.lpstat = kPTimeLim; break; }
    }
    if (e.pricing == kPriceAuto && e.price_switch_test()) {
      e.pricing = kPriceDevex;
      e.compute_pi();
      e.compute_dj();
      e.price_init();
      e.logf(e.itcnt == 0 ? "Using devex.\n" : "Switched to devex.\n");
    }
    if (e.pertpending && e.phase == 2) {
      e.pertpending = false;
      e.perturb_bounds(true);
      e.progress_reset();
    }
    if (partial_mode(e.pricing)) e.compute_pi();
    else if (!e.djvalid) { e.compute_pi(); e.compute_dj(); }

    if (tightened && e.opttol < worktol && e.itcnt - tightstart > std::max(100, m / 4))
      e.opttol = worktol;
    int q = e.price_select(e.opttol);
    if (q < 0) {
      if (!e.fresh || e.fac->updates > 0) { e.refresh(); continue; }
      // Rejected candidates get another chance once the basis has changed;
      // on the basis that rejected them they would be rejected again, and
      // the loop would turn for ever without a pivot.
      if (e.nrejected > 0 && e.itcnt != clearedat) {
        std::fill(e.mark.begin(), e.mark.end(), 0);
        e.nrejected = 0;
        clearedat = e.itcnt;
        continue;
      }
      if (e.perturbed) {
        // A phase 1 that stops short on perturbed bounds finishes on the true
        // ones; phase 2 then gets its perturbation back.
        if (e.phase == 1 && e.phase1removals < 2) {
          ++e.phase1removals;
          e.pertpending = true;
        }
        e.remove_perturbation();
        continue;
      }
      // Before optimality is declared, reduced costs are priced once more at
      // a tolerance of 1e-9: a column of a long move left in at the working
      // tolerance can be worth more than rounding in the objective.
      if (e.phase == 2 && !tightened && e.opttol > kFinalOptTol) {
        tightened = true;
        tightstart = e.itcnt;
        worktol = e.opttol;
        e.opttol = kFinalOptTol;
        continue;
      }
      res.lpstat = e.phase == 1 ? kPInfeasible : kPOptimal;
      break;
    }

    // Direction and distance to the opposite bound.
    int st = b.stat[q];
    int dir = st == kAtLower ? 1 : st == kAtUpper ? -1 : (e.d[q] < 0 ? 1 : -1);
    double range = kInf;
    if (dir > 0 && std::isfinite(e.ubw[q])) range = e.ubw[q] - b.x[q];
    if (dir < 0 && std::isfinite(e.lbw[q])) range = b.x[q] - e.lbw[q];
    if (range < 0) range = 0;

    e.ftran_column(q, e.col);
    int r = -1, endstat = 0;
    double step = 0.0;
    int rt = 3;
    if (e.phase == 1 && e.longstep)
      rt = e.ratio_primal1(q, dir, partial_mode(e.pricing) ? e.dj_fresh(q) : e.d[q], range, r,
                           step, endstat);
    if (rt == 3) rt = e.ratio_primal(q, dir, range, r, step, endstat);
    if (rt == 2) {
      if (!e.fresh) { e.refresh(); continue; }
      if (e.phase == 1) { e.mark[q] = 1; ++e.nrejected; continue; }
      if (e.perturbed) { e.remove_perturbation(); continue; }
      res.lpstat = kPUnbounded;
      break;
    }
    double alpha_r = r >= 0 ? e.col.val[r] : 0.0;
    if (r >= 0 && std::fabs(alpha_r) < 1e-7) {
      if (!e.fresh) { e.refresh(); continue; }
      if (std::fabs(alpha_r) < 1e-9) { e.mark[q] = 1; ++e.nrejected; continue; }
    }
    const bool keepdj = !partial_mode(e.pricing);
    if (r >= 0 && keepdj) {
      e.btran_row(r, e.rho);
      e.pivot_row();
      double ar = e.arow[q];
      if (std::fabs(ar - alpha_r) > 1e-7 * (1.0 + std::fabs(alpha_r))) {
        if (!e.fresh) { e.refresh(); continue; }
      }
      if (e.pricing == kPriceSteepest || e.pricing == kPriceSteepestSlack) {
        e.tau.clear();
        for (int s = 0; s < e.col.nnz; ++s) e.tau.set(e.col.ind[s], e.col.val[e.col.ind[s]]);
        e.btran(e.tau);
      }
    }

    if (r >= 0 && e.check_pivot(r, alpha_r) != 0) {
      // Unstable for the factor's update: retry on a fresh factor, then
      // leave the candidate out until the next refactorization.
      if (!e.fresh) { e.refresh(); continue; }
      e.mark[q] = 1;
      ++e.nrejected;
      continue;
    }

    // Move.
    double theta = dir * step;
    double dq = keepdj ? e.d[q] : e.dj_fresh(q);
    if (theta != 0.0) {
      b.x[q] += theta;
      for (int s = 0; s < e.col.nnz; ++s) {
        int k = e.col.ind[s];
        b.x[b.head[k]] -= theta * e.col.val[k];
      }
    }
    if (e.phase == 2) e.objval += dq * theta;
    int leaving = -1;
    if (r < 0) {
      b.stat[q] = endstat;
      b.x[q] = endstat == kAtUpper ? e.ubw[q] : e.lbw[q];
      if (e.phase == 1) phase1_repair(e, -1, keepdj);
    } else {
      leaving = b.head[r];
      b.x[leaving] = endstat == kAtUpper ? e.ubw[leaving] : e.lbw[leaving];
      if (keepdj) {
        e.price_update_weights(q, r, leaving, alpha_r);
        double thd = dq / alpha_r;
        for (int s = 0; s < e.arownnz; ++s) {
          int j = e.arowind[s];
          if (e.pos[j] < 0) e.d[j] -= thd * e.arow[j];
        }
        e.d[leaving] = -thd - (e.phase == 1 ? e.cb[r] : 0.0);
        e.d[q] = 0.0;
        for (int s = 0; s < e.rho.nnz; ++s) e.pi[e.rho.ind[s]] += thd * e.rho.val[e.rho.ind[s]];
      }
      e.pos[leaving] = -1;
      e.basisnz += e.collen(q) - e.collen(leaving);
      b.stat[leaving] = endstat;
      e.pos[q] = r;
      b.head[r] = q;
      b.stat[q] = kBasic;
      if (e.perturbed) e.perturb_entering(q);
      bool rebuilt = false;
      if (e.factor_update(r, q) != 0) {
        // The factor asked to be rebuilt for the new basis; values, phase
        // and duals are recomputed with it.
        e.refresh();
        if (res.err) break;
        rebuilt = true;
      }
      if (e.pricing == kPriceDevex && e.w[q] < 0) e.devex_reset();
      if (rebuilt) {
        // Nothing to repair: the refresh set the costs of every position.
      } else if (e.phase == 1) {
        e.cb[r] = 0.0;
        phase1_repair(e, r, keepdj);
      } else {
        e.cb[r] = p.cost[q];
      }
    }
    if (e.phase == 1 && count_infeasible(e) == 0) {
      e.set_phase_costs();
      if (e.phase == 2) {
        e.compute_pi();
        if (keepdj) e.compute_dj();
        e.compute_objval();
      }
    }
    e.progress_tick(q, leaving);
    if (res.err) break;
    if (e.fac->updates >= e.reinv) e.refresh();
    ++e.itcnt;
    if (e.phase == 1) ++e.phase1cnt;
    if (e.phase == 2 && e.objval < opt.objlim) {
      e.refresh();
      if (e.phase == 2 && e.objval < opt.objlim) { res.lpstat = kPObjLim; break; }
    }
    e.log_iteration(q, leaving, r < 0, endstat);
    if (opt.display > 0 && hk.clock && e.itcnt % 1000 == 0 &&
        e.itcnt - e.lastelapsedit >= 1000) {
      double t = hk.clock(hk.ctx) - hk.starttime;
      e.lastelapsedit = e.itcnt;
      if (t - e.lastelapsed >= 10.0) {
        e.lastelapsed = t;
        e.logf("Elapsed time = %7.2f sec. (%d iterations)\n", t, e.itcnt);
      }
    }
  }

  // Leave the model's own bounds in force and make the values consistent.
  if (!res.err && e.perturbed) {
    e.logf("Removing perturbation.\n");
    for (int j = 0; j < nt; ++j) { e.lbw[j] = p.lb[j]; e.ubw[j] = p.ub[j]; }
    for (int j = 0; j < nt; ++j)
      if (e.pos[j] < 0) {
        if (b.stat[j] == kAtLower) b.x[j] = p.lb[j];
        else if (b.stat[j] == kAtUpper) b.x[j] = p.ub[j];
      }
    e.perturbed = false;
    e.refresh();
  } else if (!res.err && (!e.fresh || e.fac->updates > 0)) {
    e.refresh();
  }
  if (!res.err && opt.want_kappa) res.kappa = e.kappa();
done:
  res.itcnt = e.itcnt;
  res.phase1cnt = e.phase1cnt;
  res.pricing_used = e.pricing;
  if (res.err) return;
  {
    // Final duals with the true costs (phase-1 costs for an infeasible end).
    if (res.lpstat != kPInfeasible) {
      e.phase = 2;
      for (int k = 0; k < m; ++k) e.cb[k] = p.cost[b.head[k]];
    }
    e.compute_pi();
    e.compute_dj();
    double obj = 0.0;
    for (int j = 0; j < nt; ++j) obj += p.cost[j] * b.x[j];
    res.objval = obj;
    res.x = b.x;
    res.pi = e.pi;
    res.d = e.d;
    bool pf = e.max_primal_infeas() <= opt.feastol;
    switch (res.lpstat) {
      case kPOptimal: res.pfeas = res.dfeas = 1; break;
      case kPUnbounded: res.pfeas = 1; break;
      case kPInfeasible: break;
      case kPObjLim: res.pfeas = 1; break;
      default: res.pfeas = pf ? 1 : 0; break;
    }
  }
}

}  // namespace velto
