// The primal optimizer on a problem object: parameters in, model view,
// start basis, kernel, and the solution record out.
#include "simplex/solve.h"

#include <cstring>
#include <string>
#include <vector>

#include "env/callback.h"
#include "env/files.h"
#include "env/par.h"
#include "fileio/rwutil.h"
#include "model/lp.h"
#include "model/store.h"
#include "simplex/pengine.h"
#include "simplex/pkernel.h"

namespace velto {

namespace {

struct hookctx {
  env *e;
  lp *p;
  std::vector<int> logcol;  // store column of the logical of each row
  int lastwrite = 0;        // iteration count of the last restart file
};

// The restart file "<problem name>.xxx" at every multiple of
// VLT_PARAM_BASINTERVAL iterations (under VLT_PARAM_XXXIND), from the
// engine's basis: structurals, then the logical of each row.
void writerestart(hookctx &h, const pengine &en) {
  const lpcore *c = h.p->core;
  const int n = c->numcols, m = c->numrows;
  if (c->probname == nullptr || en.n != n || en.m != m) return;
  std::vector<int> cs(n), rs(m);
  for (int j = 0; j < n; ++j) cs[j] = en.b.stat[j];
  for (int i = 0; i < m; ++i) {
    const int st = en.b.stat[n + i];
    rs[i] = st == 1 ? 1 : st == 2 ? 2 : 0;
  }
  const std::string name = std::string(c->probname) + ".xxx";
  if (writebasisfile(h.e, h.p, name.c_str(), cs.data(), rs.data(), en.itcnt) == 0)
    msg(h.e->reschannel, "Basis written to file '%s'.\n", name.c_str());
}

void hook_log(void *ctx, const char *text) {
  msg(static_cast<hookctx *>(ctx)->e->reschannel, "%s", text);
}

int hook_stop(void *ctx) {
  env *e = static_cast<hookctx *>(ctx)->e;
  return e->params->abortword && *e->params->abortword != 0;
}

int hook_progress(void *ctx, cbprogress &pr) {
  hookctx *h = static_cast<hookctx *>(ctx);
  const parblock *pb = h->e->params;
  if (pb->xxxind && pr.itcnt > 0 && pr.itcnt % pb->basinterval == 0 && pr.itcnt != h->lastwrite &&
      pr.objctx) {
    h->lastwrite = pr.itcnt;
    writerestart(*h, *static_cast<const pengine *>(pr.objctx));
  }
  return lpcallback(h->e, h->p, pr);
}

double hook_clock(void *ctx) { return now(static_cast<hookctx *>(ctx)->e); }

void hook_name(void *ctx, int j, char *buf, int len) {
  hookctx *h = static_cast<hookctx *>(ctx);
  const lpcore *c = h->p->core;
  const char *s = j < c->numcols
                      ? colnameof(h->e, c->colname, c->numcols, j)
                      : rownameof(h->e, c->rowname, c->numrows, j - c->numcols);
  std::snprintf(buf, len, "%s", s);
}

// The model in the user's values, whatever scaling the store holds.
struct userdata {
  std::vector<double> obj, rhs, rng, lb, ub, val;
  std::vector<int> beg, cnt, ind;
  lpview v;
};

void make_view(lp *p, userdata &u) {
  const lpcore *c = p->core;
  const int n = c->numcols, m = c->numrows;
  u.obj.resize(n); u.lb.resize(n); u.ub.resize(n);
  u.rhs.resize(m); u.rng.assign(m, 0.0);
  if (n) { getobj_u(p, u.obj.data(), 0, n - 1); getlb_u(p, u.lb.data(), 0, n - 1); getub_u(p, u.ub.data(), 0, n - 1); }
  if (m) {
    getrhs_u(p, u.rhs.data(), 0, m - 1);
    if (c->rngval) getrng_u(p, u.rng.data(), 0, m - 1);
  }
  u.beg.resize(n); u.cnt.resize(n);
  u.ind.clear(); u.val.clear();
  for (int j = 0; j < n; ++j) {
    u.beg[j] = (int)u.ind.size();
    for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k) {
      u.ind.push_back(c->matind[k]);
      u.val.push_back(matval_u(p, k, j));
    }
    u.cnt[j] = (int)u.ind.size() - u.beg[j];
  }
  lpview &v = u.v;
  v.nrows = m; v.ncols = n; v.objsen = c->objsen; v.objconst = c->objoffset;
  v.obj = u.obj.data(); v.rhs = u.rhs.data(); v.rngval = u.rng.data();
  v.sense = c->sense; v.matbeg = u.beg.data(); v.matcnt = u.cnt.data();
  v.matind = u.ind.data(); v.matval = u.val.data(); v.lb = u.lb.data(); v.ub = u.ub.data();
}

// Store column of the logical of row i: slack, range column, or the
// artificial of the row.
struct logmap {
  std::vector<int> col;   // per row
  void build(const lpcore *c) {
    const int m = c->numrows;
    col.assign(m, -1);
    for (int k = c->numcols; k < c->totcols; ++k) col[c->matind[c->matbeg[k]]] = k;
    for (int j = c->totcols; j < c->allcols; ++j) col[c->slackrow[j - c->totcols]] = j;
    for (int i = 0; i < m; ++i)
      if (col[i] < 0) col[i] = c->allcols + i;
  }
};

// Orientation of a logical s = rhs - a x against the store's column:
// +1 for the slack of an 'L' or 'E' row, -1 for 'G' rows and range columns.
double logsign(const lpcore *c, int i) {
  return (c->sense[i] == 'G' || c->sense[i] == 'R') ? -1.0 : 1.0;
}

// A store status of the logical of row i in the engine's terms.
signed char logstat_in(const lpcore *c, int i, int st) {
  if (st == 1) return kBasic;
  switch (c->sense[i]) {
    case 'G': return kAtUpper;
    case 'R': return st == 2 ? kAtLower : kAtUpper;
    default: return kAtLower;
  }
}

int logstat_out(const lpcore *c, int i, int st) {
  if (st == kBasic) return 1;
  if (c->sense[i] == 'R') return st == kAtLower ? 2 : 0;
  return 0;
}

int hook_logkind(void *ctx, int i) {
  hookctx *h = static_cast<hookctx *>(ctx);
  const lpcore *c = h->p->core;
  int k = h->logcol[i];
  return k < c->totcols ? 1 : k < c->allcols ? 0 : 2;
}

bool start_from_soln(const lp *p, kstart &ks) {
  const soln *s = p->soln;
  const lpcore *c = p->core;
  if (!s || !s->hasbasis || !s->cstat || !s->head || s->method == 4) return false;
  if (s->rows != c->numrows || s->allcols != c->allcols) return false;
  const int n = c->numcols, m = c->numrows;
  ks.stat.assign(n + m, kAtLower);
  for (int j = 0; j < n; ++j) ks.stat[j] = (signed char)s->cstat[j];
  logmap lm;
  lm.build(c);
  for (int i = 0; i < m; ++i) {
    int k = lm.col[i];
    int st = k < c->allcols ? s->cstat[k] : 0;
    ks.stat[n + i] = logstat_in(c, i, st);
  }
  for (int r = 0; r < m; ++r)
    if (s->head[r] >= c->allcols) ks.stat[n + s->head[r] - c->allcols] = kBasic;
  return true;
}

bool start_from_user(const lp *p, kstart &ks) {
  const start *st = p->start;
  const lpcore *c = p->core;
  if (!st || !st->colstat || !st->rowstat) return false;
  const int n = c->numcols, m = c->numrows;
  ks.stat.assign(n + m, kAtLower);
  for (int j = 0; j < n; ++j) ks.stat[j] = (signed char)st->colstat[j];
  for (int i = 0; i < m; ++i) ks.stat[n + i] = logstat_in(c, i, st->rowstat[i]);
  return true;
}

// Writes the kernel's result into the solution record of p.
int write_soln(env *e, lp *p, const kout &o) {
  const lpcore *c = p->core;
  const int n = c->numcols, m = c->numrows;
  soln *s = soln_create(e, p, 1, 1);
  if (s == nullptr) return kNoMemory;
  logmap lm;
  lm.build(c);
  for (int j = 0; j < n; ++j) {
    s->x[j] = o.x[j];
    s->dj[j] = o.d[j];
    s->cstat[j] = o.stat[j];
  }
  for (int i = 0; i < m; ++i) {
    double sg = logsign(c, i);
    int k = lm.col[i];
    double val = sg * o.x[n + i];
    s->slack[i] = c->sense[i] == 'R' ? 0.0 : val;
    s->pi[i] = o.pi[i];
    if (k < c->allcols) s->cstat[k] = logstat_out(c, i, o.stat[n + i]);
    if (k < c->totcols) {
      s->x[k] = val;
      s->dj[k] = sg * o.d[n + i];
    }
  }
  for (int r = 0; r < m; ++r) {
    int j = o.head[r];
    if (j < n) {
      s->head[r] = j;
      s->xbasic[r] = o.x[j];
    } else {
      int i = j - n;
      s->head[r] = lm.col[i];
      s->xbasic[r] = logsign(c, i) * o.x[j];
    }
  }
  s->itcnt = o.itcnt;
  s->phase1cnt = o.phase1cnt;
  soln_finish(p, o.lpstat, 1, o.pfeas, o.dfeas, o.objval);
  s->hasbasis = o.hasbasis;
  return 0;
}

}  // namespace

int primal_optimize(env *e, lp *p) {
  parblock *par = e->params;
  const int advind = par->advind, perind = par->perind;
  int status = 0;
  if (p->probtype == kTypeMILP || p->probtype == kTypeMIQP) return 1017;
  if (p->probtype == kTypeQP || p->probtype == kTypeZeroedQP) return 1018;

  kconfig cfg;
  cfg.opt.pricing = par->ppriind;
  cfg.opt.pricelim = par->pricelim;
  cfg.opt.itlim = par->itlim;
  cfg.opt.tilim = par->tilim;
  cfg.opt.feastol = par->eprhs;
  cfg.opt.opttol = par->epopt;
  cfg.opt.markowitz = par->epmrk;
  cfg.opt.objlim = p->core->objsen == 1 ? par->objllim : -par->objulim;
  cfg.opt.perturb_at_start = perind;
  cfg.opt.epper = par->epper;
  cfg.opt.perlim = par->perlim;
  cfg.opt.crash = par->craind != 0;
  cfg.opt.display = par->simdisplay;
  cfg.opt.reinv = par->reinv;
  cfg.scaind = par->scaind;

  hookctx hc{e, p, {}};
  {
    logmap lm;
    lm.build(p->core);
    hc.logcol = std::move(lm.col);
  }
  phooks hk;
  hk.ctx = &hc;
  hk.e = e;
  hk.logline = hook_log;
  hk.stop = hook_stop;
  hk.progress = hook_progress;
  hk.clock = hook_clock;
  hk.varname = hook_name;
  hk.logkind = hook_logkind;
  hk.starttime = now(e);

  kstart ks;
  bool have = false;
  if (advind) have = start_from_soln(p, ks) || start_from_user(p, ks);

  userdata u;
  make_view(p, u);
  kout o;
  primal_kernel_view(u.v, cfg, hk, have ? &ks : nullptr, 0, o);
  if (o.err == 1100) {
    const lpcore *c = p->core;
    msg(e->warnchannel, "Warning:  Bounds on '%s' contradictory.\n",
        colnameof(e, c->colname, c->numcols, o.badcol));
    soln *s = soln_create(e, p, 1, 1);
    if (s == nullptr) {
      status = kNoMemory;
    } else {
      soln_finish(p, 3, 1, 0, 0, 0.0);
      s->hasbasis = 0;
    }
  } else if (o.err) {
    status = o.err;
  } else {
    status = write_soln(e, p, o);
  }
  par->advind = advind;
  par->perind = perind;
  return status;
}

}  // namespace velto
