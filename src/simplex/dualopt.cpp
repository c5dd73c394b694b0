// VLTdualopt: the dual simplex method on a problem object.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <new>

#include "env/files.h"
#include "env/par.h"
#include "fileio/rwutil.h"
#include "model/lp.h"
#include "model/store.h"
#include "presolve/presolve.h"
#include "simplex/dualstate.h"

namespace velto {

namespace {

void release_dual(env *, lp *p) {
  dualstate *s = reinterpret_cast<dualstate *>(p->dual);
  p->dual = nullptr;
  if (s == nullptr) return;
  dual_free(s->eng);
  delete s->bfac;
  delete s;
}

void mark_dual(env *e, lp *p, int event) {
  dualstate *s = reinterpret_cast<dualstate *>(p->dual);
  if (s == nullptr) return;
  // Bounds, ranges and costs leave the basis matrix alone, and with it the
  // norms: they move to the start for the next run (branching re-solves
  // after every bound change).
  if (event == 3 || event == 4 || event == 5 || (event >= 12 && event <= 14) || event == 58)
    dual_carrynorms(e, p);
  s->normsok = 0;
  s->bready = 0;
}

}  // namespace

dualstate *dualstate_get(env *, lp *p) {
  static bool registered = false;
  if (!registered) {
    setlayerops(kLayerDual, layerops{release_dual, mark_dual, dual_carrynorms, dual_rowsgo});
    registered = true;
  }
  if (p->dual == nullptr) {
    dualstate *s = new (std::nothrow) dualstate();
    if (s == nullptr) return nullptr;
    p->dual = reinterpret_cast<velto::dualstate *>(s);
  }
  return reinterpret_cast<dualstate *>(p->dual);
}

void dual_buildprob(const lp *p, dualprob &prob, std::vector<int> &rowslack) {
  const lpcore *c = p->core;
  const int m = c->numrows, n = c->totcols;
  prob.m = m;
  prob.n = n;
  prob.matbeg.assign(n + 1, 0);
  int nz = 0;
  for (int j = 0; j < n; ++j) nz += c->matcnt[j];
  prob.matind.resize(nz);
  prob.matval.resize(nz);
  nz = 0;
  for (int j = 0; j < n; ++j) {
    for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k) {
      if (c->matval[k] == 0.0) continue;
      prob.matind[nz] = c->matind[k];
      prob.matval[nz] = c->matval[k];
      ++nz;
    }
    prob.matbeg[j + 1] = nz;
  }
  prob.matind.resize(nz);
  prob.matval.resize(nz);
  rowslack.assign(m, -1);
  for (int k = 0; k < c->allcols - c->totcols; ++k) rowslack[c->slackrow[k]] = k;
  prob.slackval.assign(m, 1.0);
  prob.rhs.assign(c->rhs, c->rhs + m);
  prob.lb.assign(n + m, 0.0);
  prob.ub.assign(n + m, 0.0);
  prob.cost.assign(n + m, 0.0);
  for (int j = 0; j < n; ++j) {
    double lo = c->lb[j], up = c->ub[j];
    prob.lb[j] = lo <= -kInfThreshold ? -kInfBound : lo;
    prob.ub[j] = up >= kInfThreshold ? kInfBound : up;
    // A box narrower than 1e-10 either way is a fixed column.
    if (prob.ub[j] < prob.lb[j] && prob.ub[j] >= prob.lb[j] - 1e-10) prob.ub[j] = prob.lb[j];
    prob.cost[j] = c->objsen * c->obj[j];
  }
  for (int i = 0; i < m; ++i) {
    if (rowslack[i] >= 0) {
      prob.slackval[i] = c->slackval[rowslack[i]];
      prob.ub[n + i] = kInfBound;
    }
  }
}

int dual_to_working(const lp *p, const std::vector<int> &rowslack, int v) {
  const lpcore *c = p->core;
  if (v < c->totcols) return v;
  int i = v - c->totcols;
  return rowslack[i] >= 0 ? c->totcols + rowslack[i] : c->allcols + i;
}

int dual_from_working(const lp *p, int j) {
  const lpcore *c = p->core;
  if (j < c->totcols) return j;
  if (j < c->allcols) return c->totcols + c->slackrow[j - c->totcols];
  return c->totcols + (j - c->allcols);
}

double dual_usersign(const lp *p, int v) {
  const lpcore *c = p->core;
  if (v < c->totcols) return 1.0;
  return c->sense[v - c->totcols] == 'G' ? -1.0 : 1.0;
}

namespace {

// Start basis: the last solution's basis, or the user's, when the advanced
// start is on; otherwise all logicals.
void startbasis(env *e, const lp *p, const dualprob &prob, std::vector<int> &head,
                std::vector<int> &status) {
  const lpcore *c = p->core;
  const int m = prob.m, n = prob.n;
  dual_slackbasis(prob, head, status);
  if (!e->params->advind) return;
  const soln *s = p->soln;
  if (s && s->hasbasis && s->cstat && s->head && s->rows == m && s->allcols == c->allcols &&
      s->cols == c->totcols) {
    std::vector<int> st(n + m, 0);
    for (int j = 0; j < c->allcols; ++j) st[dual_from_working(p, j)] = s->cstat[j];
    for (int i = 0; i < m; ++i) st[dual_from_working(p, s->head[i])] = 1;
    // Artificials not in the head are nonbasic.
    std::vector<int> h;
    for (int v = 0; v < n + m; ++v)
      if (st[v] == 1) h.push_back(v);
    if (static_cast<int>(h.size()) == m) {
      for (int i = 0; i < m; ++i) h[i] = dual_from_working(p, s->head[i]);
      head = h;
      status = st;
      return;
    }
  }
  const start *u = p->start;
  if (u && u->colstat && u->rowstat) {
    std::vector<int> st(n + m, 0);
    for (int j = 0; j < c->numcols; ++j) st[j] = u->colstat[j];
    for (int i = 0; i < m; ++i) {
      int r = u->rowstat[i];
      if (c->sense[i] == 'R') {
        // The range column carries the row's status; its logical stays out.
        for (int k = c->numcols; k < c->totcols; ++k)
          if (c->matind[c->matbeg[k]] == i) st[k] = r;
        st[n + i] = 0;
      } else {
        st[n + i] = r;
      }
    }
    // The first m basic variables form the head; any beyond are nonbasic.
    std::vector<int> h;
    for (int v = 0; v < n + m; ++v)
      if (st[v] == 1) {
        if (static_cast<int>(h.size()) < m) h.push_back(v);
        else st[v] = 0;
      }
    // Fill a short basis with logicals of rows whose logical is out.
    for (int i = 0; i < m && static_cast<int>(h.size()) < m; ++i)
      if (st[n + i] != 1) {
        st[n + i] = 1;
        h.push_back(n + i);
      }
    head = h;
    status = st;
  }
}

// Contradictory bounds: the warning for the first, and status 3.
int boundscan(env *e, lp *p) {
  const lpcore *c = p->core;
  int bad = 0;
  for (int j = 0; j < c->totcols; ++j) {
    double lo = c->lb[j], up = c->ub[j];
    if (lo <= -kInfThreshold || up >= kInfThreshold) continue;
    if (up - lo >= -1e-10) continue;
    if (!bad && p->probtype != kTypeNode && p->probtype != kTypeQPNode) {
      const char *name = j < c->numcols
                             ? colnameof(e, c->colname, c->numcols, j)
                             : rownameof(e, c->rowname, c->numrows, c->matind[c->matbeg[j]]);
      msg(e->warnchannel, "Warning:  Bounds on '%s' contradictory.\n", name ? name : "");
    }
    bad = 1;
  }
  return bad;
}

// What the labels of the iteration log need.
struct logctx {
  env *e;
  const lp *p;
  const std::vector<int> *rowslack;
  int lastwrite = 0;  // iteration count of the last restart file
};

// The restart file "<problem name>.xxx" at every multiple of
// VLT_PARAM_BASINTERVAL iterations, from the engine's basis.
void writerestart(logctx &l, const dualengine &g) {
  lp *p = const_cast<lp *>(l.p);
  const lpcore *c = p->core;
  if (c->probname == nullptr) return;
  const int n = c->numcols, m = c->numrows;
  std::vector<int> cs(n), rs(m);
  for (int j = 0; j < n; ++j) cs[j] = g.status[j];
  for (int i = 0; i < m; ++i) {
    const int st = g.status[c->totcols + i];
    rs[i] = st == 1 ? 1 : st == 2 ? 2 : 0;
  }
  for (int k = c->numcols; k < c->totcols; ++k) rs[c->matind[c->matbeg[k]]] = g.status[k];
  const std::string name = std::string(c->probname) + ".xxx";
  if (writebasisfile(l.e, p, name.c_str(), cs.data(), rs.data(), g.itcnt) == 0)
    msg(l.e->reschannel, "Basis written to file '%s'.\n", name.c_str());
}

// A column's name right-aligned in 23 characters; a row's in 17 followed by
// " range" for its range column, " slack" for its slack, " artif" for the
// artificial of a row without a slack.
void loglabel(void *ctx, int j, char *buf, int len) {
  const logctx *lc = static_cast<const logctx *>(ctx);
  const lpcore *c = lc->p->core;
  const char *name;
  if (j < c->numcols) {
    name = colnameof(lc->e, c->colname, c->numcols, j);
    std::snprintf(buf, len, "%23s", name ? name : "");
    return;
  }
  const char *tag;
  int row;
  if (j < c->totcols) {
    row = c->matind[c->matbeg[j]];
    tag = "range";
  } else {
    row = j - c->totcols;
    tag = (*lc->rowslack)[row] >= 0 ? "slack" : "artif";
  }
  name = rownameof(lc->e, c->rowname, c->numrows, row);
  std::snprintf(buf, len, "%17s %s", name ? name : "", tag);
}

int outcome_status(int r) {
  switch (r) {
    case kDualOptimal: return 1;
    case kDualUnbounded: return 2;
    case kDualInfeasible: return 3;
    case kDualItLim: return 10;
    case kDualTimeLim: return 11;
    case kDualObjLim: return 12;
    default: return 13;
  }
}

// Writes the engine's result to the solution record.  `nodual` marks a
// model known to have no dual feasible point.
int writesoln(env *e, lp *p, dualstate *ds, const std::vector<int> &rowslack, int lpstat,
              bool nodual = false) {
  const lpcore *c = p->core;
  const dualengine &g = ds->eng;
  const int m = c->numrows, n = c->totcols;
  soln *s = soln_create(e, p, 1, 1);
  if (s == nullptr) return kNoMemory;
  for (int j = 0; j < n; ++j) {
    s->x[j] = g.x[j];
    s->dj[j] = g.status[j] == 1 ? 0.0 : g.d[j];
    s->cstat[j] = g.status[j];
  }
  for (int i = 0; i < m; ++i) {
    s->pi[i] = g.pi[i];
    s->slack[i] = rowslack[i] >= 0 ? g.x[n + i] : 0.0;
    if (rowslack[i] >= 0) s->cstat[n + rowslack[i]] = g.status[n + i];
    s->head[i] = dual_to_working(p, rowslack, g.head[i]);
    s->xbasic[i] = g.x[g.head[i]];
  }
  s->itcnt = g.itcnt;
  s->phase1cnt = g.phase1cnt;
  double obj = c->objoffset;
  for (int j = 0; j < c->numcols; ++j) obj += c->obj[j] * g.x[j];
  int pfeas = 0, dfeas = 0;
  switch (lpstat) {
    case 1: pfeas = dfeas = 1; break;
    case 2: pfeas = 1; break;
    case 3: dfeas = 1; break;
    case 10: case 11: case 13: dfeas = g.phase == 2 ? 1 : 0; break;
    case 12: dfeas = 1; break;
    default: break;
  }
  if (nodual) dfeas = 0;
  if (lpstat == 1) {
    // Final accounting on the model as stored: primal residuals of the
    // rows and bounds, and the signs of the reduced costs.
    double pinf = 0.0, dinf = 0.0;
    std::vector<double> act(m, 0.0);
    for (int j = 0; j < n; ++j) {
      for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k) act[c->matind[k]] += c->matval[k] * g.x[j];
      if (c->lb[j] > -kInfThreshold) pinf = std::max(pinf, c->lb[j] - g.x[j]);
      if (c->ub[j] < kInfThreshold) pinf = std::max(pinf, g.x[j] - c->ub[j]);
    }
    for (int i = 0; i < m; ++i) {
      double sv = rowslack[i] >= 0 ? c->slackval[rowslack[i]] * g.x[n + i] : 0.0;
      pinf = std::max(pinf, std::fabs(act[i] + sv - c->rhs[i]));
      if (rowslack[i] >= 0) pinf = std::max(pinf, -g.x[n + i]);
    }
    for (int v = 0; v < n + m; ++v) {
      int st = g.status[v];
      if (st == 1 || ds->prob.lb[v] == ds->prob.ub[v]) continue;
      double d = g.d[v];
      if (st == 0) dinf = std::max(dinf, -d);
      else if (st == 2) dinf = std::max(dinf, d);
      else dinf = std::max(dinf, std::fabs(d));
    }
    if (pinf > e->params->eprhs || dinf > e->params->epopt) lpstat = 5;
  }
  soln_finish(p, lpstat, 2, pfeas, dfeas, obj);
  return 0;
}

// The dual has no feasible point, so the model is unbounded when it has a
// feasible point and infeasible otherwise.  The dual simplex on zero costs,
// where every basis is dual feasible, settles which from the last basis: an
// optimum is a feasible point, a row without entering candidate a Farkas
// proof.  Returns the outcome (kDualOptimal for a feasible point) or a
// negative error; the engine's counters cover both runs and its duals are
// those of the true costs.
int settle_feasibility(env *e, dualstate *ds, const dualopts &o0, double t0) {
  dualengine &g = ds->eng;
  const std::vector<int> head = g.head, status = g.status;
  const int it = g.itcnt, p1 = g.phase1cnt, refs = g.refactors;
  dualopts o = o0;
  o.itlim = std::max(0, o0.itlim - it);
  if (o0.tilim < 1e75) o.tilim = std::max(0.0, e->params->tilim - (now(e) - t0));
  o.objulim = 1e75;
  std::vector<double> cost(ds->prob.cost.size(), 0.0);
  cost.swap(ds->prob.cost);
  dual_free(g);
  g = dualengine();
  g.envp = e;
  int res = dual_setup(g, ds->prob, head, status, o);
  if (res == 0) res = dual_solve(g);
  else res = -res;
  cost.swap(ds->prob.cost);
  g.itcnt += it;
  g.phase1cnt += p1;
  g.refactors += refs;
  if (res >= 0) {
    g.wcost = ds->prob.cost;
    dual_compute_duals(g);
  }
  return res;
}

}  // namespace

int dual_optimize(env *e, lp *p) {
  const double tstart = now(e);
  if (p->probtype == kTypeMILP || p->probtype == kTypeMIQP) return 1017;
  if (p->probtype == kTypeQP || p->probtype == kTypeZeroedQP || p->probtype == kTypeFixedMIQP ||
      p->probtype == kTypeQPNode)
    return 1018;
  dualstate *ds = dualstate_get(e, p);
  if (ds == nullptr) return kNoMemory;
  const lpcore *c = p->core;
  std::vector<int> rowslack;
  std::vector<int> head, status;
  // Keep the last run's head and norms when they can serve this one.
  std::vector<int> oldhead;
  std::vector<double> oldgamma;
  const int oldpricing = ds->eng.opt.pricing;
  if (ds->engready && ds->normsok) {
    oldhead = ds->eng.head;
    oldgamma = ds->eng.gamma;
  }
  dual_free(ds->eng);
  ds->eng = dualengine();
  ds->engready = 0;
  ds->farkaspos = -1;
  ds->hasray = 0;
  ds->bready = 0;
  dual_buildprob(p, ds->prob, rowslack);
  if (boundscan(e, p)) {
    // No basis can make the model feasible: report infeasibility from the
    // all-logical basis.
    dual_slackbasis(ds->prob, head, status);
    dualopts o;
    o.itlim = 0;
    ds->eng.envp = e;
    int r = dual_setup(ds->eng, ds->prob, head, status, o);
    if (r == 0) r = dual_solve(ds->eng) < 0 ? 1 : 0;
    if (r) return kNoMemory;
    int st = writesoln(e, p, ds, rowslack, 3);
    if (st == 0) p->soln->dfeas = 0;
    return st;
  }
  startbasis(e, p, ds->prob, head, status);
  const parblock *pb = e->params;
  dualopts o;
  o.feastol = pb->eprhs;
  o.opttol = pb->epopt;
  o.persize = pb->epper;
  o.perind = pb->perind;
  o.perlim = pb->perlim;
  o.itlim = pb->itlim;
  // The time spent here before the engine starts counts against the limit.
  o.tilim = pb->tilim < 1e75 ? std::max(0.0, pb->tilim - (now(e) - tstart)) : pb->tilim;
  o.longstep = pb->p1051;
  o.abortword = pb->abortword;
  o.display = pb->simdisplay;
  logctx lc{e, p, &rowslack};
  o.progress = [](void *ctx, cbprogress &pr) {
    logctx *l = static_cast<logctx *>(ctx);
    // Restart files only under VLT_PARAM_XXXIND: a long run on a model read
    // from a shared folder leaves nothing there by default.
    const int every = l->e->params->basinterval;
    if (l->e->params->xxxind && pr.itcnt > 0 && pr.itcnt % every == 0 &&
        pr.itcnt != l->lastwrite && pr.objctx) {
      l->lastwrite = pr.itcnt;
      writerestart(*l, *static_cast<const dualengine *>(pr.objctx));
    }
    return lpcallback(l->e, const_cast<lp *>(l->p), pr);
  };
  o.progctx = &lc;
  o.log = [](void *ctx, const char *line) {
    msg(static_cast<logctx *>(ctx)->e->reschannel, "%s", line);
  };
  o.logctx = &lc;
  o.label = loglabel;
  o.objsen = c->objsen;
  o.objoffset = c->objoffset;
  o.objulim = c->objsen == 1 ? pb->objulim : -pb->objllim;
  int mode = pb->dpriind;
  if (mode == 0) mode = (pb->advind && p->start && p->start->dnorm) ? 4 : 2;
  o.pricing = mode;
  if (pb->reinv > 0) o.refactor = pb->reinv;
  ds->eng.envp = e;
  int r = dual_setup(ds->eng, ds->prob, head, status, o);
  if (r) return r;
  if (!oldhead.empty() && oldhead == ds->eng.head && o.pricing != 1 &&
      (o.pricing == 3) == (oldpricing == 3)) {
    ds->eng.gamma = oldgamma;
    ds->eng.normsvalid = 1;
  } else if (o.pricing != 1 && pb->advind) {
    // Norms kept with the start (VLTcopydnorms, or carried across added and
    // deleted rows): the basic variables without one get theirs computed.
    std::vector<double> g;
    if (dual_startnorms(p, ds->eng.head, g) > 0) {
      ds->eng.gamma.swap(g);
      ds->eng.normsseeded = 1;
    }
  }
  int res = dual_solve(ds->eng);
  if (res < 0) {
    if (res == -1001) return kNoMemory;
    if (ds->eng.itcnt == 0) return -res;
    res = kDualAbort;
  }
  ds->engready = 1;
  ds->normsok = 1;
  int lpstat = outcome_status(res);
  bool nodual = false;
  if (res == kDualUnbounded) {
    std::vector<double> ray(ds->eng.ray);
    res = settle_feasibility(e, ds, o, tstart);
    if (res == -1001) return kNoMemory;
    if (res < 0) res = kDualAbort;  // what is known stands: no dual feasible point
    nodual = true;
    if (res == kDualOptimal) {
      ds->eng.ray = std::move(ray);
      ds->eng.hasray = 1;
      res = kDualUnbounded;
      lpstat = 2;
    } else if (res == kDualInfeasible) {
      lpstat = 3;
    } else {
      // A limit (or a failure) stopped the search for a feasible point.
      lpstat = 4;
    }
  }
  if (res == kDualInfeasible) {
    ds->farkaspos = ds->eng.lastleavepos;
    ds->farkasval = ds->eng.x[ds->eng.lastleave];
  }
  if (res == kDualUnbounded && ds->eng.hasray) {
    ds->ray.assign(ds->eng.ray.begin(), ds->eng.ray.begin() + c->totcols);
    ds->hasray = 1;
  }
  return writesoln(e, p, ds, rowslack, lpstat, nodual);
}

}  // namespace velto

using namespace velto;

extern "C" {

int VLTdualopt(VLTENVptr env, VLTLPptr lp) {
  int status = guarded([&] { return queryframe(env, &lp); });
  if (status == 0) status = guarded([&] { return presolve_wrap(env, lp, 2, dual_optimize); });
  if (status) report(env, &status);
  return status;
}

}  // extern "C"
