// The loop of the interior-point method: stop tests and log, one factor
// per iteration, the predictor, the corrector and the central corrections,
// and the step.
#include <algorithm>
#include <cmath>

#include "barrier/barengin.h"
#include "env/callback.h"
#include "env/files.h"
#include "env/par.h"

namespace velto {

namespace {

struct dirsave {
  std::vector<double> dx, dz, ds, dw, dy;
  double prirat = 0, duarat = 0, merit = -1;
  void take(const steprec &st, double p, double d, double mer) {
    dx = st.dx, dz = st.dz, ds = st.ds, dw = st.dw, dy = st.dy;
    prirat = p, duarat = d, merit = mer;
  }
  void give(steprec &st) const {
    st.dx = dx, st.dz = dz, st.ds = ds, st.dw = dw, st.dy = dy;
  }
};

void logline(env *e, const barprob &bp, const iterate &it, const char *lead) {
  msg(e->reschannel, "%s %15.7e %15.7e %9.2e %9.2e %9.2e\n", lead, bp.objsen * it.pobj,
      bp.objsen * it.dobj, it.priminf, it.uppinf, it.dualinf);
}

// The number of passes of the direction loop.
int passcount(env *e, const barprob &bp, const cholrec &c) {
  const barparblock *bpar = e->barparams;
  if (bpar->barmaxcor >= 0) return std::min(bpar->barmaxcor, 2000000000) + 1;
  const double nnza = (double)bp.colind.size();
  const double ratio = c.fpops / (30.0 * (bp.m + bp.n) + 2.0 * c.nzcount + 2.0 * nnza);
  if (bpar->bardisplay > 1) msg(e->reschannel, "Efficiency ratio is %.2g\n", ratio);
  int count = ratio < 50 ? 1 : (int)(ratio * 0.02) + 3;
  return std::min(count, 21);
}

// The stop tests; 0 goes on.
int stoptest(env *e, const barprob &bp, const iterate &it, const steprec &st, int iter0,
             double tilim, double t0) {
  const barparblock *bpar = e->barparams;
  const double ep = bpar->barepcomp;
  const int lim = bpar->p3023;
  const int k = st.pairs;
  const int pos = it.iter % 20;
  auto ring = [](double now, double then) { return then == 0.0 ? 1e-10 : now / then; };
  const double cr = ring(it.comp, st.ringcomp[pos]);
  const double pr = ring(it.priminf + it.uppinf, st.ringpri[pos]);
  const double dr = ring(it.dualinf, st.ringdual[pos]);
  const double dob = std::fabs(it.dobj) + 1.0, pob = std::fabs(it.pobj) + 1.0;
  const double cn = it.comp / dob, gap = std::fabs(it.gap);
  if (it.iter - iter0 >= bpar->baritlim) {
    if (bpar->bardisplay > 0) msg(e->reschannel, " Barrier iteration limit exceeded.\n");
    return 10;
  }
  if (now(e) - t0 >= tilim) {
    if (bpar->bardisplay > 0) msg(e->reschannel, " Barrier time limit exceeded.\n");
    return 11;
  }
  if (k == 0 && (int)bp.freelist.size() == bp.n) {
    if (cn < ep && it.primrel < ep && it.dualrel < ep) return 1;
    if (it.primrel < 1e-8 && it.dualrel < 1e-8 && gap / pob < ep) return 1;
    if (it.iter >= lim && pr > 0.99 && dr > 0.99) return it.dualrel <= 1e-8 ? 6 : 2;
    return 0;
  }
  bool stall = st.pfeas && st.dfeas && cr > 0.9;
  if (it.iter >= lim) {
    if (st.pfeas && !st.dfeas && dr > 0.99) stall = true;
    if (st.dfeas && !st.pfeas && pr > 0.99) stall = true;
    if (!st.pfeas && !st.dfeas && pr > 0.99 && dr > 0.99) stall = true;
  }
  if (stall) {
    if (it.primrel <= 1e-8 && it.dualrel <= 1e-8) return 6;
    return it.primrel <= 1e-8 ? 2 : 3;
  }
  // The primal residual is tested even after a full primal step: the
  // steps that follow may let it drift, and the answer must satisfy the
  // rows it reports.
  const bool pok = it.priminf / (it.xnorm + 1) < 1e-8 && it.uppinf / (it.xcnorm + 1) < 1e-8;
  const bool dok = st.dfeas || it.dualrel < 1e-8;
  if (cn >= ep) {
    if (gap / dob < ep && gap / pob < ep && pok && dok) return 1;
    if (st.pfeas && it.comp < dob && it.comp < pob && gap < dob && gap < pob) {
      double t = 0.0;
      for (int j = 0; j < bp.n + bp.m; ++j) t = std::max(t, std::fabs(it.x[j]));
      for (int j = 0; j < bp.n; ++j)
        if (bp.hasup[j]) t = std::max(t, std::fabs(it.s[j]));
      if ((1 + t) / st.startscale >= bpar->bargrowth) return 20;
    }
  } else {
    // Complementarity is gone: optimal when the gap closed on a feasible
    // pair, otherwise the diverging side tells which problem has no point.
    // With the gap closed and the rows met loosely, the run goes on while
    // the primal residual can still fall, up to the stall limit.
    if (gap / dob < 50 * ep && it.primrel < 1e-6 && it.dualrel < 1e-6) return pok || it.iter >= lim ? 1 : 0;
    if (it.iter > 4) {
      double pc = 0.0, pb = 0.0, pu = 0.0;
      for (int j = 0; j < bp.n; ++j) {
        pc += bp.obj[j] * it.x[j];
        if (bp.hasup[j]) pu += (bp.upper[j] - it.x[j] - it.s[j]) * it.w[j];
      }
      for (int i = 0; i < bp.m; ++i) pb += bp.rhs[i] * it.y[i];
      const double t = 100 * it.comp;
      if (std::fabs(pu) + std::fabs(pb) >= t && !(it.primrel < 1e-8)) return 3;
      if (std::fabs(pc) >= t && !(it.dualrel < 1e-8)) return 2;
      if (bpar->bardisplay > 0) msg(e->reschannel, " Barrier cannot determine infeasibility.\n");
      return 5;
    }
  }
  const double rng = bpar->barobjrng;
  if (it.pobj < -rng) return 21;
  if (it.dobj > rng) return 22;
  if (std::fabs(it.pobj) > 1e76 || std::fabs(it.dobj) > 1e76) return 42;
  return 0;
}

double score(const iterate &it) {
  const double v = std::max({it.primrel, it.dualrel, std::fabs(it.gap) / (std::fabs(it.pobj) + 1.0)});
  return std::isfinite(v) ? v : 1e300;
}

// At the optimum the rows may still be met only to the relative accuracy
// of the stop test, which leaves a row with a small right side visibly
// off.  One projection with the last weights moves the primal point onto
// the rows, D A' v for A D A' v = rp, within the bounds; the weights of
// the variables at bounds are tiny, so the basic ones carry the move.
int project(env *e, const barprob &bp, cholrec &c, iterate &it, steprec &st) {
  const int n = bp.n, m = bp.m;
  for (int round = 0; round < 5 && it.prowmax > 1e-10; ++round) {
    bar_weights(bp, it, st.weights);
    int s = chol_factor(e, bp, c, st.weights);
    std::vector<double> v;
    if (s == 0) s = normal_solve(e, bp, c, st.weights, v, st.rp, 3);
    if (s) return s;
    const std::vector<double> &d = st.weights;
    std::vector<double> dx(n + m, 0.0);
    for (int j = 0; j < n; ++j) {
      double av = 0.0;
      for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) av += bp.colval[k] * v[bp.colind[k]];
      dx[j] = d[j] * av;
    }
    for (int i = 0; i < m; ++i) {
      const char sn = bp.rowsense(i);
      if (sn != 'E') dx[n + i] = d[n + i] * (sn == 'L' ? v[i] : -v[i]);
    }
    double a = 1.0;
    for (int j = 0; j < n + m; ++j) {
      const bool low = j < n ? bp.haslow[j] != 0 : bp.rowsense(j - n) != 'E';
      if (low && dx[j] < 0.0) a = std::min(a, -0.9 * it.x[j] / dx[j]);
      if (j < n && bp.hasup[j] && dx[j] > 0.0) a = std::min(a, 0.9 * it.s[j] / dx[j]);
    }
    const iterate before = it;
    const double rowmax = it.prowmax, inf = it.priminf + it.uppinf;
    for (int j = 0; j < n + m; ++j) it.x[j] += a * dx[j];
    for (int j = 0; j < n; ++j)
      if (bp.hasup[j]) it.s[j] -= a * dx[j];
    bar_residuals(bp, it, st);
    if (!(it.prowmax < rowmax) || it.priminf + it.uppinf > inf) {
      it = before;
      bar_residuals(bp, it, st);
      break;
    }
  }
  return 0;
}

void takestep(const barprob &bp, iterate &it, const steprec &st, double ap, double ad) {
  const int n = bp.n, m = bp.m;
  for (int j = 0; j < n + m; ++j) {
    it.x[j] += ap * st.dx[j];
    it.z[j] += ad * st.dz[j];
  }
  for (int j = 0; j < n; ++j)
    if (bp.hasup[j]) {
      it.s[j] += ap * st.ds[j];
      it.w[j] += ad * st.dw[j];
    }
  for (int i = 0; i < m; ++i) it.y[i] += ad * st.dy[i];
}

}  // namespace

barresult bar_iterate(env *e, lp *p, const barprob &bp, cholrec &c, iterate &it, steprec &st,
                      double tilim, double t0) {
  barresult res;
  const barparblock *bpar = e->barparams;
  const int n = bp.n, m = bp.m, iter0 = it.iter;
  const int maxcorr = passcount(e, bp, c);
  if (bpar->bardisplay > 0 && maxcorr > 1) msg(e->reschannel, "Max number of central corrections is %d\n", maxcorr - 1);
  std::fill(st.ringcomp, st.ringcomp + 20, 1e75);
  std::fill(st.ringpri, st.ringpri + 20, 1e75);
  std::fill(st.ringdual, st.ringdual + 20, 1e75);
  st.pairs = 0;
  for (int j = 0; j < n; ++j) st.pairs += bp.haslow[j] + bp.hasup[j];
  for (int i = 0; i < m; ++i) st.pairs += bp.rowsense(i) != 'E';
  const int rounds = (!bp.densecols.empty() || !bp.freelist.empty()) ? 3 : 1;
  iterate best;
  double bestscore = 1e300;
  int status = 0;
  bar_residuals(bp, it, st);
  if (bpar->bardisplay > 0)
    msg(e->reschannel, " %3s %15s %15s %9s %9s %9s\n", "Itn", "Primal Obj", "Dual Obj", "Prim Inf", "Upper Inf",
        "Dual Inf");
  for (;;) {
    status = stoptest(e, bp, it, st, iter0, tilim, t0);
    if (bpar->bardisplay > 0) {
      char lead[16];
      std::snprintf(lead, sizeof lead, " %3d", it.iter);
      logline(e, bp, it, lead);
    }
    if (status == 0) {
      cbprogress pr;
      pr.wherefrom = VLT_CALLBACK_BARRIER;
      pr.have = 1u << 1 | 1u << 2 | 1u << 3 | 1u << 4 | 1u << 5 | 1u << 6 | 1u << 7;
      pr.obj = bp.objsen * it.pobj;
      pr.dualobj = bp.objsen * it.dobj;
      pr.pinf = it.priminf + it.uppinf;
      pr.dinf = it.dualinf;
      pr.pfeas = st.pfeas;
      pr.dfeas = st.dfeas;
      pr.itcnt = it.iter;
      if (lpcallback(e, p, pr)) status = 13;
    }
    if (status) break;
    if (score(it) < bestscore) {
      best = it;
      bestscore = score(it);
    }
    const int pos = it.iter % 20;
    st.ringcomp[pos] = st.pfeas && st.dfeas ? it.comp : 0.0;
    st.ringpri[pos] = it.priminf + it.uppinf;
    st.ringdual[pos] = it.dualinf;
    ++it.iter;
    bar_weights(bp, it, st.weights);
    int s = chol_factor(e, bp, c, st.weights);
    if (s) {
      status = s;
      break;
    }
    // Pass 0: the affine direction.
    st.rxz.assign(n + m, 0.0);
    st.rsw.assign(n, 0.0);
    for (int j = 0; j < n; ++j) {
      if (bp.haslow[j]) st.rxz[j] = -it.x[j] * it.z[j];
      if (bp.hasup[j]) st.rsw[j] = -it.s[j] * it.w[j];
    }
    for (int i = 0; i < m; ++i)
      if (bp.rowsense(i) != 'E') st.rxz[n + i] = -it.x[n + i] * it.z[n + i];
    s = bar_direction(e, bp, c, it, st, rounds);
    if (s) {
      status = s;
      break;
    }
    double prirat, duarat;
    bar_ratios(bp, it, st, prirat, duarat);
    dirsave bestdir;
    bestdir.take(st, prirat, duarat, bar_merit(it, prirat, duarat));
    prirat = std::min(prirat, 1.0);
    duarat = std::min(duarat, 1.0);
    const int k = st.pairs;
    double mu = 0.0;
    if (k > 0) {
      const double g = it.comp, ga = bar_compafter(bp, it, st, prirat, duarat);
      if ((g / k >= 1 || (prirat == 1 && duarat == 1)) && g > 0) mu = (ga / g) * (ga / g) * ga / k;
      else mu = g / ((double)k * k);
      if (prirat == 1 && duarat == 1 && st.pfeas && st.dfeas) mu = 0.0;
    }
    st.mu = mu;
    const bool fullaffine = mu == 0.0 && prirat == 1 && duarat == 1;
    int touched = 0, passes = 0;
    if (!fullaffine && maxcorr >= 1) {
      // Pass 1: the corrector with the second-order terms of the affine step.
      std::vector<double> base(st.rxz.size()), baseu(st.rsw.size());
      for (int j = 0; j < n + m; ++j) {
        const bool pair = j < n ? bp.haslow[j] != 0 : bp.rowsense(j - n) != 'E';
        base[j] = pair ? -it.x[j] * it.z[j] - st.dx[j] * st.dz[j] : 0.0;
      }
      for (int j = 0; j < n; ++j) baseu[j] = bp.hasup[j] ? -it.s[j] * it.w[j] - st.ds[j] * st.dw[j] : 0.0;
      auto setrhs = [&](double target) {
        for (int j = 0; j < n + m; ++j)
          st.rxz[j] = base[j] + ((j < n ? bp.haslow[j] != 0 : bp.rowsense(j - n) != 'E') ? target : 0.0);
        for (int j = 0; j < n; ++j) st.rsw[j] = baseu[j] + (bp.hasup[j] ? target : 0.0);
      };
      // The corrector for a target; its merit, or -1 after a failed solve.
      auto corrector = [&](double target) {
        setrhs(target);
        s = bar_direction(e, bp, c, it, st, rounds);
        if (s) return -1.0;
        bar_ratios(bp, it, st, prirat, duarat);
        return bar_merit(it, prirat, duarat);
      };
      double merit = corrector(mu);
      if (s == 0 && it.iter < 10 && merit < 0.5 * bestdir.merit && bestdir.merit > 0.01) {
        if (bpar->bardisplay > 2) msg(e->reschannel, "Change barrier from %.4e to %.4e\n", mu, 10 * mu);
        mu *= 10;
        st.mu = mu;
        merit = corrector(mu);
      }
      if (s) {
        status = s;
        break;
      }
      bestdir.take(st, prirat, duarat, merit);
      passes = 1;
      // Passes 2 and up: central corrections.
      int weak = 0;
      std::vector<double> keep = st.rxz, keepu = st.rsw;
      for (int pass = 2; pass <= maxcorr; ++pass) {
        const int t = bar_central(bp, it, st, prirat, duarat);
        if (t == 0) break;
        s = bar_direction(e, bp, c, it, st, rounds);
        if (s) break;
        double pr2, dr2;
        bar_ratios(bp, it, st, pr2, dr2);
        const double mer = bar_merit(it, pr2, dr2);
        ++passes;
        if (mer < 1.02 * bestdir.merit) ++weak;
        if (mer > bestdir.merit) {
          bestdir.take(st, pr2, dr2, mer);
          keep = st.rxz, keepu = st.rsw;
          prirat = pr2, duarat = dr2;
          touched += t;
        } else {
          st.rxz = keep, st.rsw = keepu;
        }
        if (mer < 0.1 * bestdir.merit || weak > maxcorr / 5) break;
      }
      if (s) {
        status = s;
        break;
      }
    }
    if (bpar->bardisplay > 1 && maxcorr > 1)
      msg(e->reschannel, "Iteration %d did %d central corrections %d vars\n", it.iter, std::max(passes - 1, 0),
          touched);
    bestdir.give(st);
    // The step.
    double ap = bestdir.prirat, ad = bestdir.duarat;
    // Until both sides are feasible the step stays well inside the
    // boundary: a step of 0.99995 of the way there, taken while the primal
    // residual is still large, leaves pairs with products far below the
    // mean and a factor too ill-conditioned to remove the residual later.
    const double far = 0.95;
    const double factor = fullaffine ? 0.9999999999999998 : (st.pfeas && st.dfeas ? 0.99995 : far);
    // A step that the usual factor would make full stays full: it meets
    // that side's equations exactly.
    ap = ap * 0.99995 >= 1.0 ? 1.0 : ap * factor;
    ad = ad * 0.99995 >= 1.0 ? 1.0 : ad * factor;
    // A direction that the factor got wrong shows as primal residuals
    // growing after the step: the step is then cut back.
    const iterate before = it;
    const double oldinf = it.priminf + it.uppinf;
    for (int cut = 0;; ++cut) {
      takestep(bp, it, st, ap, ad);
      bar_residuals(bp, it, st);
      const double inf = it.priminf + it.uppinf;
      const bool bad = !std::isfinite(inf) || !std::isfinite(it.dualinf) ||
                       inf > 10 * oldinf + 1e-8 * (it.xnorm + 1);
      if (!bad) break;
      if (cut == 5) {
        status = 42;
        break;
      }
      it = before;
      ap *= 0.25;
      ad *= 0.25;
      if (bpar->bardisplay > 1) msg(e->reschannel, "Reduce step to %.3f, %.3f\n", ap, ad);
    }
    if (status) break;
    if (ap == 1.0) st.pfeas = 1;
    if (ad == 1.0) st.dfeas = 1;
    if (!st.pfeas && it.primrel < 1e-8 && it.priminf + it.uppinf < 1e-5) st.pfeas = 1;
    if (!st.dfeas && it.dualrel < 1e-8 && it.dualinf < 1e-5) st.dfeas = 1;
  }
  if (status == 1) {
    const int s = guarded([&] { return project(e, bp, c, it, st); });
    if (s) status = s;
  }
  if (status >= 1000) {
    res.status = status;
    return res;
  }
  if (status != 1 && status != 10 && status != 11 && status != 13) {
    if (!best.x.empty() && score(best) < score(it)) {
      best.iter = it.iter;
      it = best;
      bar_residuals(bp, it, st);
      if (bpar->bardisplay > 0) logline(e, bp, it, "  * ");
    }
    if (it.primrel < 1e-8 && it.dualrel < 1e-8) status = 6;
    else if (status == 42) {
      status = 6;
      if (bpar->bardisplay > 0) msg(e->reschannel, "Numerical errors encountered.\n");
    }
  }
  res.status = status;
  res.iters = it.iter;
  res.pfeas = status == 1 || it.primrel < 1e-8;
  res.dfeas = status == 1 || it.dualrel < 1e-8;
  return res;
}

}  // namespace velto
