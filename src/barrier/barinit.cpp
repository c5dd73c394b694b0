// The barrier problem made from a model, and the iterate written back as
// the model's solution.
#include <algorithm>
#include <cmath>

#include "barrier/barengin.h"
#include "env/par.h"
#include "model/store.h"

namespace velto {

int bar_prepare(env *e, lp *p, barprob &bp, barmap &map) {
  return guarded([&]() -> int {
    const lpcore *c = p->core;
    const int m = c->numrows, n0 = c->numcols;
    std::vector<double> obj(n0), lb(n0), ub(n0), rhs(m), rng(m);
    if (n0 > 0) {
      getobj_u(p, obj.data(), 0, n0 - 1);
      getlb_u(p, lb.data(), 0, n0 - 1);
      getub_u(p, ub.data(), 0, n0 - 1);
    }
    if (m > 0) {
      getrhs_u(p, rhs.data(), 0, m - 1);
      getrng_u(p, rng.data(), 0, m - 1);
    }
    const double sen = c->objsen;
    const double varup = e->barparams->barvarup;
    const bool box = varup < kInfBound;
    bp = barprob();
    bp.m = m;
    bp.objsen = c->objsen;
    bp.offset = sen * c->objoffset;
    bp.rhs = rhs;
    bp.sense.assign(m, 'E');
    map = barmap();
    map.colpos.assign(n0, -1);
    map.shift.assign(n0, 0.0);
    map.rangepos.assign(m, -1);
    map.rangeshift.assign(m, 0.0);
    map.rowsign.assign(m, 0.0);
    bp.colbeg.push_back(0);
    // Adds a column with lower bound lo and upper bound up (either may be
    // infinite); returns its shift.
    auto addcol = [&](double cost, double lo, double up) {
      bool hl = lo > -kInfThreshold, hu = up < kInfThreshold;
      if (box && !hl && !hu) lo = -varup, up = varup, hl = hu = true;
      else if (box && !hl) lo = up - varup, hl = true;
      else if (box && !hu) up = lo + varup, hu = true;
      const double sh = hl ? lo : 0.0;
      bp.obj.push_back(cost);
      bp.haslow.push_back(hl);
      bp.hasup.push_back(hu);
      bp.upper.push_back(hu ? up - sh : kInfBound);
      if (!hl && !hu) bp.freelist.push_back(bp.n);
      if (hu) bp.bounds |= 1;
      bp.offset += cost * sh;
      ++bp.n;
      return sh;
    };
    for (int j = 0; j < n0; ++j) {
      if (lb[j] > ub[j]) map.infeasiblebounds = true;
      if (lb[j] > -kInfThreshold && ub[j] - lb[j] <= 0.0) {
        // A fixed column leaves the problem: its value moves to the rows.
        map.shift[j] = lb[j];
        bp.offset += sen * obj[j] * lb[j];
        for (int k = c->matbeg[j]; k < c->matend[j]; ++k) bp.rhs[c->matind[k]] -= matval_u(p, k, j) * lb[j];
        continue;
      }
      map.colpos[j] = bp.n;
      const double sh = addcol(sen * obj[j], lb[j], ub[j]);
      map.shift[j] = sh;
      for (int k = c->matbeg[j]; k < c->matend[j]; ++k) {
        const double v = matval_u(p, k, j);
        if (v == 0.0) continue;
        bp.colind.push_back(c->matind[k]);
        bp.colval.push_back(v);
        if (sh != 0.0) bp.rhs[c->matind[k]] -= v * sh;
      }
      bp.colbeg.push_back((int)bp.colind.size());
    }
    for (int i = 0; i < m; ++i) {
      const char sn = c->sense[i];
      if (sn == 'L' || sn == 'G') {
        bp.sense[i] = sn;
        map.rowsign[i] = sn == 'L' ? 1.0 : -1.0;
      } else if (sn == 'R' && rng[i] != 0.0) {
        // a x - t = rhs with t between 0 and the range.
        map.rangepos[i] = bp.n;
        const double sh = addcol(0.0, std::min(0.0, rng[i]), std::max(0.0, rng[i]));
        map.rangeshift[i] = sh;
        bp.colind.push_back(i);
        bp.colval.push_back(-1.0);
        bp.rhs[i] += sh;
        bp.colbeg.push_back((int)bp.colind.size());
      }
    }
    if (e->params->scaind >= 0) bar_scale(bp, map);
    bp.buildrows();
    return 0;
  });
}

void bar_scale(barprob &bp, barmap &map) {
  const int m = bp.m, n = bp.n;
  std::vector<double> r(m, 1.0), cs(n, 1.0);
  auto pow2 = [](double v) { return std::ldexp(1.0, (int)std::lround(std::log2(v))); };
  // Geometric passes: each row, then each column, divided by the square
  // root of its smallest times its largest magnitude.
  for (int pass = 0; pass < 6; ++pass) {
    std::vector<double> lo(m, 1e300), hi(m, 0.0);
    for (int j = 0; j < n; ++j)
      for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) {
        const double a = std::fabs(bp.colval[k]) * cs[j];
        const int i = bp.colind[k];
        if (a == 0.0) continue;
        lo[i] = std::min(lo[i], a);
        hi[i] = std::max(hi[i], a);
      }
    for (int i = 0; i < m; ++i)
      if (hi[i] > 0.0) r[i] = 1.0 / std::sqrt(lo[i] * hi[i]);
    double spread = 0.0;
    for (int j = 0; j < n; ++j) {
      double l = 1e300, h = 0.0;
      for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) {
        const double a = std::fabs(bp.colval[k]) * r[bp.colind[k]];
        if (a == 0.0) continue;
        l = std::min(l, a);
        h = std::max(h, a);
      }
      if (h > 0.0) {
        cs[j] = 1.0 / std::sqrt(l * h);
        spread = std::max(spread, h / l);
      }
    }
    if (spread < 4.0) break;
  }
  for (int j = 0; j < n; ++j) {
    double h = 0.0;
    for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k)
      h = std::max(h, std::fabs(bp.colval[k]) * r[bp.colind[k]] * cs[j]);
    if (h > 0.0) cs[j] /= h;
  }
  for (int i = 0; i < m; ++i) r[i] = pow2(r[i]);
  for (int j = 0; j < n; ++j) cs[j] = pow2(cs[j]);
  bool any = false;
  for (int i = 0; i < m && !any; ++i) any = r[i] != 1.0;
  for (int j = 0; j < n && !any; ++j) any = cs[j] != 1.0;
  if (!any) return;
  for (int j = 0; j < n; ++j) {
    for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) bp.colval[k] *= r[bp.colind[k]] * cs[j];
    bp.obj[j] *= cs[j];
    if (bp.hasup[j]) bp.upper[j] /= cs[j];
  }
  for (int i = 0; i < m; ++i) bp.rhs[i] *= r[i];
  map.colscale = cs;
  map.rowscale = r;
  bp.colscale = std::move(cs);
  bp.rowscale = std::move(r);
}

namespace {
inline double rfac(const lpcore *c, int i) { return c->rowscale ? c->rowscale[i] : 1.0; }
inline double cfac(const lpcore *c, int j) { return c->colscale ? c->colscale[j] : 1.0; }
}  // namespace

int bar_writesoln(env *e, lp *p, const barprob & /*bp*/, const barmap &map, const iterate &it,
                  const barresult &res) {
  return guarded([&]() -> int {
    const lpcore *c = p->core;
    const int m = c->numrows, n0 = c->numcols;
    std::vector<double> x(n0), obj(n0), rhs(m);
    if (n0 > 0) getobj_u(p, obj.data(), 0, n0 - 1);
    if (m > 0) getrhs_u(p, rhs.data(), 0, m - 1);
    for (int j = 0; j < n0; ++j) {
      const int q = map.colpos[j];
      const double sc = q >= 0 && !map.colscale.empty() ? map.colscale[q] : 1.0;
      x[j] = map.shift[j] + (q >= 0 && !it.x.empty() ? it.x[q] * sc : 0.0);
    }
    // The model's dual of row i.
    auto ydual = [&](int i) { return it.y[i] * (map.rowscale.empty() ? 1.0 : map.rowscale[i]); };
    std::vector<double> ax(m, 0.0), dj(n0);
    double objval = c->objoffset;
    for (int j = 0; j < n0; ++j) {
      double t = c->objsen * obj[j];
      for (int k = c->matbeg[j]; k < c->matend[j]; ++k) {
        const double v = matval_u(p, k, j);
        ax[c->matind[k]] += v * x[j];
        if (!it.y.empty()) t -= v * ydual(c->matind[k]);
      }
      dj[j] = t;
      objval += obj[j] * x[j];
    }
    soln *s = soln_create(e, p, 1, 1);
    if (s == nullptr) return kNoMemory;
    for (int j = 0; j < n0; ++j) {
      s->x[j] = x[j] * cfac(c, j);
      s->dj[j] = dj[j] / cfac(c, j);
    }
    for (int i = 0; i < m; ++i) {
      const double y = it.y.empty() ? 0.0 : ydual(i);
      s->pi[i] = y * rfac(c, i);
      const double sl = rhs[i] - ax[i];
      s->slack[i] = (c->sense[i] == 'G' ? -sl : sl) / rfac(c, i);
    }
    // Range columns of the stored model hold a x - rhs of their row.
    for (int k = n0; k < c->totcols; ++k) {
      const int i = c->matind[c->matbeg[k]];
      s->x[k] = (ax[i] - rhs[i]) / rfac(c, i);
      s->dj[k] = 0.0;
    }
    s->baritcnt = res.iters;
    soln_finish(p, res.status, 4, res.pfeas, res.dfeas, objval);
    return 0;
  });
}

}  // namespace velto
