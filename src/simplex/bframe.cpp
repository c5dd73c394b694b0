// Basis frame: the problem's basis over the dual engine's computational
// form, factored, with the primal and dual values that the basis gives.
#include "simplex/bframe.h"

#include <algorithm>
#include <cmath>

#include "env/par.h"
#include "model/store.h"
#include "simplex/dualstate.h"

namespace velto {

namespace {

inline double cfac(const lpcore *c, int j) { return c->colscale ? c->colscale[j] : 1.0; }
inline double rfac(const lpcore *c, int i) { return c->rowscale ? c->rowscale[i] : 1.0; }
inline bool isfin(double b) { return std::fabs(b) < kInfThreshold; }

// The working model in the user's units.
void buildprob(bframe &f) {
  const lp *p = f.p;
  const lpcore *c = p->core;
  const int m = c->numrows, n = c->totcols, nc = c->numcols;
  dualprob &q = f.prob;
  q.m = m;
  q.n = n;
  q.matbeg.assign(n + 1, 0);
  q.matind.clear();
  q.matval.clear();
  q.lb.assign(n + m, 0.0);
  q.ub.assign(n + m, 0.0);
  q.cost.assign(n + m, 0.0);
  q.rhs.assign(m, 0.0);
  q.slackval.assign(m, 1.0);
  std::vector<double> obj(nc), lb(nc), ub(nc), rng(m, 0.0);
  if (nc) {
    getobj_u(p, obj.data(), 0, nc - 1);
    getlb_u(p, lb.data(), 0, nc - 1);
    getub_u(p, ub.data(), 0, nc - 1);
  }
  if (m) {
    getrhs_u(p, q.rhs.data(), 0, m - 1);
    getrng_u(p, rng.data(), 0, m - 1);
  }
  f.rangecol.assign(m, -1);
  for (int j = 0; j < n; ++j) {
    if (j < nc) {
      for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k) {
        double v = matval_u(p, k, j);
        if (v == 0.0) continue;
        q.matind.push_back(c->matind[k]);
        q.matval.push_back(v);
      }
      double lo = lb[j] <= -kInfThreshold ? -kInfBound : lb[j];
      double up = ub[j] >= kInfThreshold ? kInfBound : ub[j];
      if (up < lo && up >= lo - 1e-10) up = lo;
      q.lb[j] = lo;
      q.ub[j] = up;
      q.cost[j] = c->objsen * obj[j];
    } else {
      // Range column: a x - r = rhs, r between 0 and the range value.
      int i = c->matind[c->matbeg[j]];
      f.rangecol[i] = j;
      q.matind.push_back(i);
      q.matval.push_back(-1.0);
      q.lb[j] = std::min(0.0, rng[i]);
      q.ub[j] = std::max(0.0, rng[i]);
    }
    q.matbeg[j + 1] = static_cast<int>(q.matind.size());
  }
  f.rowslack.assign(m, -1);
  for (int k = 0; k < c->allcols - c->totcols; ++k) f.rowslack[c->slackrow[k]] = k;
  for (int i = 0; i < m; ++i) {
    if (f.rowslack[i] >= 0) {
      q.slackval[i] = c->slackval[f.rowslack[i]];
      q.ub[n + i] = kInfBound;
    }
  }
}

bool solnbasis(const lp *p) {
  const soln *s = p->soln;
  const lpcore *c = p->core;
  return s && s->hasbasis && s->head && s->cstat && s->lpstat != 0 && p->lpstat != 0 &&
         s->method != 4 && s->rows == c->numrows && s->allcols == c->allcols &&
         s->cols == c->totcols;
}

void frombasis_soln(bframe &f) {
  const lp *p = f.p;
  const lpcore *c = p->core;
  const soln *s = p->soln;
  const int m = f.m, nt = f.n + f.m;
  f.status.assign(nt, 0);
  f.x.assign(nt, 0.0);
  for (int j = 0; j < c->allcols; ++j) f.status[dual_from_working(p, j)] = s->cstat[j];
  f.head.resize(m);
  for (int i = 0; i < m; ++i) {
    int v = dual_from_working(p, s->head[i]);
    f.head[i] = v;
    f.status[v] = 1;
  }
  // Superbasic values of the record.
  if (s->x)
    for (int j = 0; j < f.n; ++j)
      if (f.status[j] == 3) f.x[j] = s->x[j] / cfac(c, j);
  for (int v = 0; v < nt; ++v)
    if (f.status[v] == 1 && std::find(f.head.begin(), f.head.end(), v) == f.head.end())
      f.status[v] = 0;
}

void frombasis_start(bframe &f) {
  const lp *p = f.p;
  const lpcore *c = p->core;
  const start *u = p->start;
  const int m = f.m, n = f.n, nt = n + m;
  f.status.assign(nt, 0);
  f.x.assign(nt, 0.0);
  for (int j = 0; j < c->numcols; ++j) f.status[j] = u->colstat[j];
  for (int i = 0; i < m; ++i) {
    if (f.rangecol[i] >= 0) f.status[f.rangecol[i]] = u->rowstat[i];
    else f.status[n + i] = u->rowstat[i];
  }
  f.head.clear();
  for (int v = 0; v < nt; ++v) {
    if (f.status[v] != 1) continue;
    if (static_cast<int>(f.head.size()) < m) f.head.push_back(v);
    else f.status[v] = 0;
  }
  // A short basis is filled with logicals; the factor repairs what is left.
  for (int i = 0; i < m && static_cast<int>(f.head.size()) < m; ++i)
    if (f.status[n + i] != 1) {
      f.status[n + i] = 1;
      f.head.push_back(n + i);
    }
}

void frombasis_slack(bframe &f) {
  const int m = f.m, n = f.n;
  f.status.assign(n + m, 0);
  f.x.assign(n + m, 0.0);
  f.head.resize(m);
  for (int i = 0; i < m; ++i) {
    f.head[i] = n + i;
    f.status[n + i] = 1;
  }
}

// Nonbasic variables at a bound that exists; free ones at zero or at their
// superbasic value.
void settle(bframe &f) {
  const dualprob &q = f.prob;
  for (size_t v = 0; v < f.status.size(); ++v) {
    int &st = f.status[v];
    if (st == 1) continue;
    bool lo = isfin(q.lb[v]), up = isfin(q.ub[v]);
    if (st != 0 && st != 2 && st != 3) st = 0;
    if (st == 0 && !lo) st = up ? 2 : 3;
    if (st == 2 && !up) st = lo ? 0 : 3;
    if (st == 3 && lo && up && q.lb[v] == q.ub[v]) st = 0;
    if (st == 0) f.x[v] = q.lb[v];
    else if (st == 2) f.x[v] = q.ub[v];
  }
}

void compute(bframe &f) {
  const dualprob &q = f.prob;
  const int m = f.m, n = f.n, nt = n + m;
  f.pos.assign(nt, -1);
  for (int k = 0; k < m; ++k) f.pos[f.head[k]] = k;
  std::vector<double> r(q.rhs);
  for (int v = 0; v < nt; ++v) {
    if (f.status[v] == 1 || f.x[v] == 0.0) continue;
    if (v < n) {
      for (int k = q.matbeg[v]; k < q.matbeg[v + 1]; ++k) r[q.matind[k]] -= q.matval[k] * f.x[v];
    } else {
      r[v - n] -= q.slackval[v - n] * f.x[v];
    }
  }
  if (m) f.fac->ftran(r);
  for (int k = 0; k < m; ++k) f.x[f.head[k]] = r[k];
  f.pi.assign(m, 0.0);
  for (int k = 0; k < m; ++k) f.pi[k] = q.cost[f.head[k]];
  if (m) f.fac->btran(f.pi);
  f.d.assign(nt, 0.0);
  for (int v = 0; v < nt; ++v)
    f.d[v] = f.status[v] == 1 ? 0.0 : q.cost[v] - frame_dot(f, v, f.pi);
}

}  // namespace

int frame_refresh(bframe &f) {
  if (f.m > 0) {
    if (!f.fac) {
      f.fac.reset(make_sparse_factor(f.e, f.prob));
      if (!f.fac) return kNoMemory;
    }
    std::vector<int> h = f.head, sing, singrow;
    int r = f.fac->factor(f.prob, h, sing, singrow);
    if (r < 0) return 1256;
    if (r > 0) {
      // Only a start basis may be repaired: the solution's basis is what
      // the user asks about.
      if (f.source == 0) return 1256;
      for (int k = 0; k < f.m; ++k)
        if (h[k] != f.head[k]) {
          f.status[f.head[k]] = 0;
          f.status[h[k]] = 1;
        }
      f.head = h;
      settle(f);
    }
  }
  compute(f);
  return 0;
}

int frame_open(env *e, lp *p, bframe &f, int from, int nobasis) {
  f.e = e;
  f.p = p;
  const lpcore *c = p->core;
  f.m = c->numrows;
  f.n = c->totcols;
  f.nc = c->numcols;
  buildprob(f);
  if (solnbasis(p)) {
    f.source = 0;
    frombasis_soln(f);
  } else if (from == kFrameSolnOnly) {
    return nobasis;
  } else if (p->start && p->start->colstat && p->start->rowstat) {
    f.source = 1;
    frombasis_start(f);
  } else {
    f.source = 2;
    frombasis_slack(f);
  }
  settle(f);
  return frame_refresh(f);
}

void frame_column(const bframe &f, int v, std::vector<double> &a) {
  const dualprob &q = f.prob;
  std::fill(a.begin(), a.end(), 0.0);
  if (v < f.n) {
    for (int k = q.matbeg[v]; k < q.matbeg[v + 1]; ++k) a[q.matind[k]] += q.matval[k];
  } else {
    a[v - f.n] = q.slackval[v - f.n];
  }
}

double frame_dot(const bframe &f, int v, const std::vector<double> &y) {
  const dualprob &q = f.prob;
  if (v >= f.n) return q.slackval[v - f.n] * y[v - f.n];
  double s = 0.0;
  for (int k = q.matbeg[v]; k < q.matbeg[v + 1]; ++k) s += q.matval[k] * y[q.matind[k]];
  return s;
}

int frame_collen(const bframe &f, int v) {
  if (v >= f.n) return 1;
  return f.prob.matbeg[v + 1] - f.prob.matbeg[v];
}

double frame_rowcoef(const bframe &f, int v) {
  if (v >= f.n) return f.prob.slackval[v - f.n];
  if (v >= f.nc) return -1.0;
  return 0.0;
}

int to_internal(const bframe &f, int user) {
  if (user >= 0) return user < f.nc ? user : -1;
  int i = -user - 1;
  if (i >= f.m) return -1;
  return f.rangecol[i] >= 0 ? f.rangecol[i] : f.n + i;
}

int to_external(const bframe &f, int v) {
  if (v < 0 || v >= f.n + f.m) return kBigInt;
  if (v < f.nc) return v;
  if (v < f.n) return -f.prob.matind[f.prob.matbeg[v]] - 1;
  return -(v - f.n) - 1;
}

int user_status(const bframe &, int, int st) { return st; }

int frame_worst_primal(const bframe &f, double tol) {
  int worst = -1;
  double wv = tol;
  for (int k = 0; k < f.m; ++k) {
    int v = f.head[k];
    double x = f.x[v], viol = 0.0;
    if (isfin(f.prob.lb[v])) viol = std::max(viol, f.prob.lb[v] - x);
    if (isfin(f.prob.ub[v])) viol = std::max(viol, x - f.prob.ub[v]);
    if (viol > wv) {
      wv = viol;
      worst = v;
    }
  }
  return worst;
}

int frame_worst_dual(const bframe &f, double tol) {
  int worst = -1;
  double wv = tol;
  for (int v = 0; v < f.n + f.m; ++v) {
    int st = f.status[v];
    if (st == 1 || f.prob.lb[v] == f.prob.ub[v]) continue;
    double d = f.d[v];
    double viol = st == 0 ? -d : st == 2 ? d : std::fabs(d);
    if (viol > wv) {
      wv = viol;
      worst = v;
    }
  }
  return worst;
}

int frame_close(bframe &f, int lpstat, int method) {
  lp *p = f.p;
  env *e = f.e;
  const lpcore *c = p->core;
  const int m = f.m, n = f.n;
  soln *s = soln_create(e, p, 1, 1);
  if (s == nullptr) return kNoMemory;
  for (int j = 0; j < n; ++j) {
    s->x[j] = f.x[j] * cfac(c, j);
    s->dj[j] = f.status[j] == 1 ? 0.0 : f.d[j] / cfac(c, j);
    s->cstat[j] = f.status[j];
  }
  for (int i = 0; i < m; ++i) {
    s->pi[i] = f.pi[i] * rfac(c, i);
    s->slack[i] = f.rowslack[i] >= 0 ? f.x[n + i] / rfac(c, i) : 0.0;
    if (f.rowslack[i] >= 0) s->cstat[n + f.rowslack[i]] = f.status[n + i];
  }
  for (int k = 0; k < m; ++k) {
    int v = f.head[k];
    s->head[k] = dual_to_working(p, f.rowslack, v);
    s->xbasic[k] = v < n ? f.x[v] * cfac(c, v) : f.x[v] / rfac(c, v - n);
  }
  double obj = c->objoffset;
  for (int j = 0; j < f.nc; ++j) obj += c->objsen * f.prob.cost[j] * f.x[j];
  int pfeas = frame_worst_primal(f, e->params->eprhs) < 0 ? 1 : 0;
  int dfeas = frame_worst_dual(f, e->params->epopt) < 0 ? 1 : 0;
  soln_finish(p, lpstat, method, pfeas, dfeas, obj);
  s->hasbasis = 1;
  return 0;
}

}  // namespace velto
