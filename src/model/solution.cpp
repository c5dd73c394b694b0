// Solution store: the records an optimizer leaves and their getters.
#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "model/modelpar.h"

#include "model/lp.h"
#include "model/store.h"

namespace velto {

void soln_free(soln **sp) {
  soln *s = *sp;
  if (s == nullptr) return;
  release(&s->cstat); release(&s->x); release(&s->slack); release(&s->pi); release(&s->dj);
  release(&s->head); release(&s->xbasic); release(&s->offind); release(&s->offval);
  release(sp);
}

void start_free(start **sp) {
  start *s = *sp;
  if (s == nullptr) return;
  release(&s->colstat); release(&s->rowstat); release(&s->xstart); release(&s->slackstart);
  release(&s->djstart); release(&s->pistart); release(&s->pnormcol); release(&s->pnormrow);
  release(&s->dnorm); release(&s->dnormhead);
  release(sp);
}

}  // namespace velto

namespace velto {

soln *soln_create(env *, lp *p, int withx, int withslack) {
  const lpcore *c = p->core;
  soln *s = allocnzero<soln>(1);
  if (s == nullptr) return nullptr;
  s->rows = c->numrows;
  s->cols = c->totcols;
  s->allcols = c->allcols;
  s->cstat = allocnzero<int>(c->allcols);
  s->pi = allocnzero<double>(c->numrows);
  s->dj = allocnzero<double>(c->totcols);
  s->head = allocnzero<int>(c->numrows);
  s->xbasic = allocnzero<double>(c->numrows);
  if (withx) s->x = allocnzero<double>(c->totcols);
  if (withslack) s->slack = allocnzero<double>(c->numrows);
  if (!s->cstat || !s->pi || !s->dj || !s->head || !s->xbasic || (withx && !s->x) ||
      (withslack && !s->slack)) {
    soln_free(&s);
    return nullptr;
  }
  s->valid = 1;
  soln_free(&p->soln);
  p->soln = s;
  return s;
}

void soln_finish(lp *p, int lpstat, int method, int pfeas, int dfeas, double objval) {
  soln *s = p->soln;
  if (s == nullptr) return;
  s->lpstat = lpstat;
  s->method = method;
  s->pfeas = pfeas;
  s->dfeas = dfeas;
  s->objval = objval;
  s->valid = 1;
  if (method == 1 || method == 2 || method == 8 || method == 9 || method == 10) s->hasbasis = 1;
  p->lpstat = lpstat;
}

namespace {
bool isqp(const lp *p) {
  return p->probtype == kTypeQP || p->probtype == kTypeZeroedQP || p->probtype == kTypeMIQP ||
         p->probtype == kTypeFixedMIQP;
}
// A record written for other counts (the model grew since) is not read.
bool fits(const lp *p) {
  const soln *s = p->soln;
  const lpcore *c = p->core;
  return s->rows == c->numrows && s->cols == c->totcols && s->allcols == c->allcols;
}
bool startbasis(const lp *p) { return p->start && p->start->colstat && p->start->rowstat; }
}  // namespace

bool soln_hasbasis(const lp *p) {
  const soln *s = p->soln;
  return s && s->hasbasis && s->cstat && s->head && s->method != 4 && fits(p);
}

// The user's basis from the solution record.
void soln_userbasis(const lp *p, int *cstat, int *rstat) {
  const soln *s = p->soln;
  const lpcore *c = p->core;
  if (cstat)
    for (int j = 0; j < c->numcols; ++j) cstat[j] = s->cstat[j];
  if (rstat == nullptr) return;
  std::vector<char> artbasic(c->numrows, 0);
  for (int r = 0; r < s->rows; ++r)
    if (s->head[r] >= c->allcols && s->head[r] - c->allcols < c->numrows)
      artbasic[s->head[r] - c->allcols] = 1;
  for (int i = 0; i < c->numrows; ++i) rstat[i] = artbasic[i] ? 1 : 0;
  for (int k = c->numcols; k < c->totcols; ++k) rstat[c->matind[c->matbeg[k]]] = s->cstat[k];
  for (int j = c->totcols; j < c->allcols; ++j) rstat[c->slackrow[j - c->totcols]] = s->cstat[j];
}

bool solnexists(const lp *p) {
  const soln *s = p->soln;
  if (s == nullptr || s->lpstat == 0 || !fits(p)) return false;
  int m = s->method;
  if (m == 4) return true;
  if (isqp(p)) return m == 1 || m == 2;
  return m == 1 || m == 2 || m == 8 || m == 9 || m == 10;
}

bool basisexists(const lp *p) { return soln_hasbasis(p) || startbasis(p); }

}  // namespace velto

using namespace velto;

namespace {

// Sign of the dual values on the way out.
double dualsign(const lp *p) {
  const soln *s = p->soln;
  if ((s->method == 1 && s->pfeas != 1) || (s->method == 2 && s->dfeas != 1)) return 1.0;
  return p->core->objsen;
}

inline double rfac(const lpcore *c, int i) { return c->rowscale ? c->rowscale[i] : 1.0; }
inline double cfac(const lpcore *c, int j) { return c->colscale ? c->colscale[j] : 1.0; }

// Values of columns [begin, end] of the working problem (structural and
// range columns), scaled.
int workx(const lp *p, double *out, int begin, int end) {
  const soln *s = p->soln;
  const lpcore *c = p->core;
  if (s->x) {
    for (int j = begin; j <= end; ++j) out[j - begin] = s->x[j];
    return 0;
  }
  if (!s->cstat || !s->head || !s->xbasic) return kNullPointer;
  for (int j = begin; j <= end; ++j) {
    int st = s->cstat[j];
    out[j - begin] = st == 0 ? c->lb[j] : st == 2 ? c->ub[j] : 0.0;
  }
  for (int r = 0; r < s->rows; ++r) {
    int j = s->head[r];
    if (j >= begin && j <= end) out[j - begin] = s->xbasic[r];
  }
  for (int k = 0; k < s->offcount; ++k) {
    int j = s->offind[k];
    if (j >= begin && j <= end) out[j - begin] = s->offval[k];
  }
  return 0;
}

int getx(const lp *p, double *x, int begin, int end) {
  int status = workx(p, x, begin, end);
  if (status) return status;
  const lpcore *c = p->core;
  for (int j = begin; j <= end; ++j) x[j - begin] /= cfac(c, j);
  return 0;
}

// User slacks of all rows (unscaled).
int allslacks(const lp *p, std::vector<double> &sl) {
  const soln *s = p->soln;
  const lpcore *c = p->core;
  int m = c->numrows;
  sl.assign(m, 0.0);
  if (s->slack) {
    for (int i = 0; i < m; ++i) sl[i] = c->sense[i] == 'G' ? -s->slack[i] : s->slack[i];
    if (c->totcols > c->numcols) {
      if (s->x == nullptr) return kNullPointer;
      for (int k = c->numcols; k < c->totcols; ++k) sl[c->matind[c->matbeg[k]]] = s->x[k];
    }
  } else {
    if (!s->cstat || !s->head || !s->xbasic) return kNullPointer;
    for (int k = c->numcols; k < c->totcols; ++k) {
      int st = s->cstat[k];
      if (st == 0 || st == 2) sl[c->matind[c->matbeg[k]]] = st == 0 ? c->lb[k] : c->ub[k];
    }
    auto put = [&](int j, double v) {
      if (j >= c->totcols && j < c->allcols) {
        int i = c->slackrow[j - c->totcols];
        sl[i] = c->sense[i] == 'G' ? -v : v;
      } else if (j >= c->numcols && j < c->totcols) {
        sl[c->matind[c->matbeg[j]]] = v;
      }
    };
    for (int r = 0; r < s->rows; ++r) put(s->head[r], s->xbasic[r]);
    for (int k = 0; k < s->offcount; ++k) put(s->offind[k], s->offval[k]);
  }
  for (int i = 0; i < m; ++i) sl[i] *= rfac(c, i);
  return 0;
}

int getslack(const lp *p, double *out, int begin, int end) {
  std::vector<double> sl;
  int status = allslacks(p, sl);
  if (status) return status;
  for (int i = begin; i <= end; ++i) out[i - begin] = sl[i];
  return 0;
}

int getax(const lp *p, double *out, int begin, int end) {
  std::vector<double> sl;
  int status = allslacks(p, sl);
  if (status) return status;
  const lpcore *c = p->core;
  for (int i = begin; i <= end; ++i) {
    double rhs = c->rhs[i] * rfac(c, i);
    out[i - begin] = c->sense[i] == 'R' ? rhs + sl[i] : rhs - sl[i];
  }
  return 0;
}

int getpi(const lp *p, double *out, int begin, int end) {
  const soln *s = p->soln;
  if (s->pi == nullptr) return kNullPointer;
  double sg = dualsign(p);
  for (int i = begin; i <= end; ++i) out[i - begin] = sg * s->pi[i] / rfac(p->core, i);
  return 0;
}

int getdj(const lp *p, double *out, int begin, int end) {
  const soln *s = p->soln;
  if (s->dj == nullptr) return kNullPointer;
  double sg = dualsign(p);
  for (int j = begin; j <= end; ++j) out[j - begin] = sg * cfac(p->core, j) * s->dj[j];
  return 0;
}

// Getter frame of the solution arrays: null array, range, solution.
template <class G>
int solngetter(env *e, lp *p, const char *caller, double *out, int begin, int end, bool rows,
               G get) {
  int status = queryframe(e, &p);
  if (status) return status;
  if (out == nullptr) return kNullPointer;
  if (!rangecheck(e, caller, begin, end, 0, rows ? p->core->numrows : p->core->numcols))
    return kIndexRange;
  if (!solnexists(p)) return 1217;
  if (end < begin) return 0;
  return get(p, out, begin, end);
}


int makestart(lp *p) {
  if (p->start) return 0;
  p->start = allocnzero<start>(1);
  return p->start ? 0 : kNoMemory;
}

int copystart(env *e, lp *p, const int *cstat, const int *rstat, const double *x,
              const double *slack, const double *dj, const double *pi) {
  int status = changeframe(e, p);
  if (status == 0) status = cache_flush(e, p);
  if (status) return status;
  bool basis = cstat && rstat;
  if (!basis && !x && !pi) return kNullPointer;
  const lpcore *c = p->core;
  int n = c->numcols, m = c->numrows;
  if (basis && par_datacheck(e)) {
    for (int j = 0; j < n; ++j)
      if (cstat[j] < 0 || cstat[j] > 3) {
        msg(e->errchannel, errtext(e, 1253), j);
        return -1253;
      }
    for (int i = 0; i < m; ++i)
      if (rstat[i] < 0 || rstat[i] > 3) {
        msg(e->errchannel, errtext(e, 1253), i);
        return -1253;
      }
  }
  status = makestart(p);
  if (status) return status;
  start *s = p->start;
  s->colcap = std::max(s->colcap, c->colspace);
  s->rowcap = std::max(s->rowcap, c->rowspace);
  auto fit = [&](auto *&arr, int cap) { return growarray(arr, static_cast<size_t>(cap)); };
  if (basis) {
    if (!fit(s->colstat, s->colcap) || !fit(s->rowstat, s->rowcap)) return kNoMemory;
    if (n) std::memcpy(s->colstat, cstat, sizeof(int) * n);
    if (m) std::memcpy(s->rowstat, rstat, sizeof(int) * m);
  }
  if (x) {
    std::vector<double> sl(m);
    if (slack) {
      std::copy(slack, slack + m, sl.begin());
    } else {
      for (int i = 0; i < m; ++i) sl[i] = c->rhs[i] * rfac(c, i);
      for (int j = 0; j < n; ++j)
        for (int k = c->matbeg[j]; k < c->matend[j]; ++k)
          sl[c->matind[k]] -= matval_u(p, k, j) * x[j];
    }
    if (!fit(s->xstart, s->colcap) || !fit(s->slackstart, s->rowcap)) return kNoMemory;
    for (int j = 0; j < n; ++j) s->xstart[j] = x[j] * cfac(c, j);
    for (int i = 0; i < m; ++i) {
      s->slackstart[i] = sl[i] / rfac(c, i);
      if (c->sense[i] == 'G') s->slackstart[i] = -s->slackstart[i];
    }
  }
  if (pi) {
    std::vector<double> d(n);
    if (dj) {
      std::copy(dj, dj + n, d.begin());
    } else {
      getobj_u(p, d.data(), 0, n - 1);
      for (int j = 0; j < n; ++j)
        for (int k = c->matbeg[j]; k < c->matend[j]; ++k)
          d[j] -= pi[c->matind[k]] * matval_u(p, k, j);
    }
    if (!fit(s->pistart, s->rowcap) || !fit(s->djstart, s->colcap)) return kNoMemory;
    for (int i = 0; i < m; ++i) s->pistart[i] = pi[i] * rfac(c, i) * c->objsen;
    for (int j = 0; j < n; ++j) s->djstart[j] = d[j] / cfac(c, j) * c->objsen;
  }
  // The copied basis is the start of the next solve: the last solve's basis
  // no longer speaks for the problem.
  if (basis && p->soln) p->soln->hasbasis = 0;
  dropstate(e, p, 43);
  return 0;
}

// Integer-valued solution counters: the value, or 0 after a reported failure.
template <class F>
int counter(env *e, lp *p, F get) {
  int status = guarded([&] { return queryframe(e, &p); });
  if (status) {
    report(e, &status);
    return 0;
  }
  return p->soln ? get(p->soln) : 0;
}

}  // namespace

extern "C" {

int VLTsolution(VLTENVptr env, VLTLPptr lp, int *lpstat_p, double *objval_p, double *x,
                double *pi, double *slack, double *dj) {
  if (lpstat_p) *lpstat_p = 0;
  if (objval_p) *objval_p = 0.0;
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (!solnexists(lp)) return 1217;
    const lpcore *c = lp->core;
    if (x && (s = getx(lp, x, 0, c->numcols - 1))) return s;
    if (pi && (s = getpi(lp, pi, 0, c->numrows - 1))) return s;
    if (slack && (s = getslack(lp, slack, 0, c->numrows - 1))) return s;
    if (dj && (s = getdj(lp, dj, 0, c->numcols - 1))) return s;
    if (lpstat_p) *lpstat_p = lp->lpstat;
    if (objval_p) *objval_p = lp->soln->objval;
    return 0;
  }));
}

int VLTsolninfo(VLTENVptr env, VLTLPptr lp, int *solnmethod_p, int *solntype_p, int *pfeasind_p,
                int *dfeasind_p) {
  if (solnmethod_p) *solnmethod_p = -1;
  if (solntype_p) *solntype_p = 0;
  if (pfeasind_p) *pfeasind_p = 0;
  if (dfeasind_p) *dfeasind_p = 0;
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (lp->probtype == kTypeMILP || lp->probtype == kTypeMIQP) return 1017;
    if (!solnexists(lp)) return 0;
    const soln *so = lp->soln;
    if (solnmethod_p) *solnmethod_p = so->method;
    if (solntype_p) *solntype_p = soln_hasbasis(lp) ? 1 : 2;
    if (pfeasind_p) *pfeasind_p = so->pfeas;
    if (dfeasind_p) *dfeasind_p = so->dfeas;
    return 0;
  }));
}

int VLTgetobjval(VLTENVptr env, VLTLPptr lp, double *objval_p) {
  if (objval_p) *objval_p = 0.0;
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (objval_p == nullptr) return static_cast<int>(kNullPointer);
    if (!solnexists(lp)) return 1217;
    *objval_p = lp->soln->objval;
    return 0;
  }));
}

int VLTgetx(VLTENVptr env, VLTLPptr lp, double *x, int begin, int end) {
  return finish(env, guarded([&] { return solngetter(env, lp, "VLTgetx", x, begin, end, false, getx); }));
}
int VLTgetslack(VLTENVptr env, VLTLPptr lp, double *slack, int begin, int end) {
  return finish(env, guarded([&] { return solngetter(env, lp, "VLTgetslack", slack, begin, end, true, getslack); }));
}
int VLTgetpi(VLTENVptr env, VLTLPptr lp, double *pi, int begin, int end) {
  return finish(env, guarded([&] { return solngetter(env, lp, "VLTgetpi", pi, begin, end, true, getpi); }));
}
int VLTgetdj(VLTENVptr env, VLTLPptr lp, double *dj, int begin, int end) {
  return finish(env, guarded([&] { return solngetter(env, lp, "VLTgetdj", dj, begin, end, false, getdj); }));
}
int VLTgetax(VLTENVptr env, VLTLPptr lp, double *ax, int begin, int end) {
  return finish(env, guarded([&] { return solngetter(env, lp, "VLTgetax", ax, begin, end, true, getax); }));
}

int VLTgetmethod(VLTENVptr env, VLTLPptr lp) {
  int status = guarded([&] { return queryframe(env, &lp); });
  if (status == 0 && lp->soln == nullptr) status = 1217;
  if (status) {
    report(env, &status);
    return 0;
  }
  return lp->soln->method;
}

int VLTgetstat(VLTENVptr env, VLTLPptr lp) {
  int status = guarded([&] { return queryframe(env, &lp); });
  if (status) {
    report(env, &status);
    return 0;
  }
  return lp->lpstat;
}

int VLTgetitcnt(VLTENVptr env, VLTLPptr lp) { return counter(env, lp, [](const soln *s) { return s->itcnt; }); }
int VLTgetphase1cnt(VLTENVptr env, VLTLPptr lp) { return counter(env, lp, [](const soln *s) { return s->phase1cnt; }); }
int VLTgetbaritcnt(VLTENVptr env, VLTLPptr lp) { return counter(env, lp, [](const soln *s) { return s->baritcnt; }); }
int VLTgetcrossppushcnt(VLTENVptr env, VLTLPptr lp) { return counter(env, lp, [](const soln *s) { return s->crossppush; }); }
int VLTgetcrosspexchcnt(VLTENVptr env, VLTLPptr lp) { return counter(env, lp, [](const soln *s) { return s->crosspexch; }); }
int VLTgetcrossdpushcnt(VLTENVptr env, VLTLPptr lp) { return counter(env, lp, [](const soln *s) { return s->crossdpush; }); }
int VLTgetcrossdexchcnt(VLTENVptr env, VLTLPptr lp) { return counter(env, lp, [](const soln *s) { return s->crossdexch; }); }
int VLTgetpsbcnt(VLTENVptr env, VLTLPptr lp) { return counter(env, lp, [](const soln *s) { return s->psbcnt; }); }
int VLTgetdsbcnt(VLTENVptr env, VLTLPptr lp) { return counter(env, lp, [](const soln *s) { return s->dsbcnt; }); }

int VLTgetbase(VLTENVptr env, VLTLPptr lp, int *cstat, int *rstat) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (!basisexists(lp)) return 1262;
    if (cstat == nullptr && rstat == nullptr) return static_cast<int>(kNullPointer);
    bool fromsoln = soln_hasbasis(lp) && (lp->soln->valid || !startbasis(lp));
    if (fromsoln) {
      soln_userbasis(lp, cstat, rstat);
    } else {
      const start *st = lp->start;
      if (cstat && lp->core->numcols) std::memcpy(cstat, st->colstat, sizeof(int) * lp->core->numcols);
      if (rstat && lp->core->numrows) std::memcpy(rstat, st->rowstat, sizeof(int) * lp->core->numrows);
    }
    return 0;
  }));
}

int VLTcangetbase(VLTENVptr env, VLTLPptr lp) {
  int status = guarded([&] { return queryframe(env, &lp); });
  if (status) {
    report(env, &status);
    return 0;
  }
  return basisexists(lp) ? 1 : 0;
}

int VLTcopybase(VLTENVptr env, VLTLPptr lp, const int *cstat, const int *rstat) {
  return finish(env, guarded([&] {
    if (checkenv(env) && checklp(env, lp) && (cstat == nullptr || rstat == nullptr)) {
      int s = changeframe(env, lp);
      return s ? s : static_cast<int>(kNullPointer);
    }
    return copystart(env, lp, cstat, rstat, nullptr, nullptr, nullptr, nullptr);
  }));
}

int VLTcopystart(VLTENVptr env, VLTLPptr lp, const int *cstat, const int *rstat,
                 const double *cprim, const double *rprim, const double *cdual,
                 const double *rdual) {
  return finish(env, guarded([&] {
    return copystart(env, lp, cstat, rstat, cprim, rprim, cdual, rdual);
  }));
}

}  // extern "C"
