// Kernel frame around the primal iterations.
#include "simplex/pkernel.h"

#include "simplex/lufactor.h"
#include "simplex/quality.h"

#include <algorithm>
#include <cmath>

namespace velto {

namespace {

// Statuses from a given start; false when it is not a basis.
bool basis_from_start(const wprob &p, const kstart &s, pbasis &b) {
  const int n = p.n, m = p.m;
  if ((int)s.stat.size() != n + m) return false;
  b.stat = s.stat;
  b.head.clear();
  b.x.assign(n + m, 0.0);
  for (int j = 0; j < n + m; ++j) {
    if (b.stat[j] < 0 || b.stat[j] > 3) return false;
    if (b.stat[j] == kBasic) b.head.push_back(j);
  }
  if ((int)b.head.size() != m) return false;
  pbasis_settle(p, b);
  return true;
}

void unscaled_measures(const wprob &u, const std::vector<signed char> &stat,
                       const std::vector<double> &x, const std::vector<double> &d,
                       double &pinf, double &dinf) {
  pinf = dinf = 0.0;
  for (int j = 0; j < u.n + u.m; ++j) {
    if (stat[j] == kBasic) {
      pinf = std::max(pinf, std::max(u.lb[j] - x[j], x[j] - u.ub[j]));
    } else {
      double dj = d[j];
      if (u.lb[j] == u.ub[j]) continue;
      if (stat[j] == kAtLower) dinf = std::max(dinf, -dj);
      else if (stat[j] == kAtUpper) dinf = std::max(dinf, dj);
      else dinf = std::max(dinf, std::fabs(dj));
    }
  }
}

// Values of a run on `s` in the units of `u`, with the largest primal and
// dual infeasibilities in both.
void unscale_result(const wprob &u, const wprob &s, const pbasis &b, const presult &r,
                    std::vector<double> &x, std::vector<double> &d, std::vector<double> &pi,
                    double &pinf, double &dinf, double &pinfs, double &dinfs) {
  const int n = u.n, m = u.m;
  x.resize(n + m);
  d.resize(n + m);
  pi.resize(m);
  for (int j = 0; j < n + m; ++j) {
    x[j] = r.x[j] / s.vscale[j];
    d[j] = r.d[j] * s.vscale[j];
  }
  for (int i = 0; i < m; ++i) pi[i] = r.pi[i] / s.rscale[i];
  unscaled_measures(u, b.stat, x, d, pinf, dinf);
  unscaled_measures(s, b.stat, r.x, r.d, pinfs, dinfs);
}

}  // namespace

void primal_kernel_view(const lpview &v, const kconfig &cfg, const phooks &hk,
                        const kstart *start, int iter0, kout &out) {
  out = kout();
  wprob u;
  int st = wprob_build(v, u, &out.badcol);
  if (st) { out.err = st; return; }
  const int n = u.n, m = u.m;
  wprob s = u;
  wprob_scale(s, cfg.scaind);

  pbasis b;
  bool given = start && basis_from_start(s, *start, b);
  if (!given) {
    if (cfg.opt.crash) pstart_crash(s, b);
    else pstart_slack(s, b);
  } else {
    // Values of nonbasic variables are at their scaled bounds already.
  }
  poptions opt = cfg.opt;
  opt.scaled_log = s.scaled;
  opt.want_kappa = s.scaled && cfg.rerun;
  presult r;
  primal_run(s, b, opt, hk, iter0, 0, r);
  out.passes = 1;
  if (r.err) { out.err = r.err; out.itcnt = r.itcnt; return; }
  std::vector<double> x, d, pi;
  double pinf, dinf, pinfs, dinfs;
  unscale_result(u, s, b, r, x, d, pi, pinf, dinf, pinfs, dinfs);
  if (s.scaled && cfg.rerun && r.lpstat == kPOptimal &&
      (pinf > opt.feastol || dinf > opt.opttol)) {
    // Second pass, on the unscaled model from the final basis.  It is given
    // up at once when that basis is too ill-conditioned in the user's units.
    pbasis ub = b;
    for (int j = 0; j < n + m; ++j) ub.x[j] = x[j];
    pbasis_settle(u, ub);
    presult r2;
    poptions o2 = cfg.opt;
    o2.scaled_log = false;
    o2.kappa_check = 1;
    o2.pricing = r.pricing_used;
    o2.itlim = cleanup_itlim(r.itcnt, r.objval, r.kappa, cfg.opt.itlim);
    primal_run(u, ub, o2, hk, r.itcnt, r.phase1cnt, r2);
    out.passes = 2;
    if (r2.err == 0 && r2.lpstat != kPItLim && r2.lpstat != kPTimeLim && r2.lpstat != kPAbort) {
      b = ub;
      r = r2;
      unscale_result(u, u, b, r, x, d, pi, pinf, dinf, pinfs, dinfs);
    } else if (r2.err != 0 && r2.err != kLuSingular) {
      out.err = r2.err;
      out.itcnt = r2.itcnt;
      return;
    } else {
      // The unscaled pass failed: a third pass goes back to the scaled
      // model from where the second one stopped, with the user's limit.
      pbasis sb = ub;
      for (int j = 0; j < n + m; ++j) sb.x[j] = ub.x[j] * s.vscale[j];
      pbasis_settle(s, sb);
      presult r3;
      poptions o3 = cfg.opt;
      o3.scaled_log = true;
      o3.pricing = r.pricing_used;
      primal_run(s, sb, o3, hk, r2.itcnt, r2.phase1cnt, r3);
      out.passes = 3;
      if (r3.err) { out.err = r3.err; out.itcnt = r3.itcnt; return; }
      b = sb;
      r = r3;
      unscale_result(u, s, b, r, x, d, pi, pinf, dinf, pinfs, dinfs);
    }
  }
  out.itcnt = r.itcnt;
  out.phase1cnt = r.phase1cnt;
  out.lpstat = r.lpstat;
  out.pfeas = r.pfeas;
  out.dfeas = r.dfeas;
  out.pricing_used = r.pricing_used;
  out.pinf = pinf;
  out.dinf = dinf;
  out.pinfs = pinfs;
  out.dinfs = dinfs;
  if (out.lpstat == kPOptimal && (pinf > cfg.opt.feastol || dinf > cfg.opt.opttol))
    out.lpstat = 5;
  double obj = 0.0;
  for (int j = 0; j < n; ++j) obj += v.obj[j] * x[j];
  out.objval = obj + u.objconst;
  out.x = std::move(x);
  out.pi = std::move(pi);
  out.d = std::move(d);
  out.stat = b.stat;
  out.head = b.head;
  out.hasbasis = 1;
}

}  // namespace velto
