// The norm calls: dual steepest-edge weights of the last dual run (or of a
// start) read out and loaded back with the basis they belong to, so that a
// re-solve starts with the norms of the last one; primal norms kept with the
// start.  A head entry names a column by its index and a row i as -i-1.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "model/lp.h"
#include "model/store.h"
#include "simplex/dualstate.h"

namespace velto {

namespace {

// Engine variable (columns, range columns, one logical per row) to the
// head form of the calls, and back.
int touser(const lpcore *c, int v) {
  if (v < c->numcols) return v;
  if (v < c->totcols) return -c->matind[c->matbeg[v]] - 1;
  return -(v - c->totcols) - 1;
}

std::vector<int> rangecolumn(const lpcore *c) {
  std::vector<int> rc(c->numrows, -1);
  for (int k = c->numcols; k < c->totcols; ++k) rc[c->matind[c->matbeg[k]]] = k;
  return rc;
}

int fromuser(const lpcore *c, const std::vector<int> &rc, int u) {
  if (u >= 0) return u < c->numcols ? u : -1;
  const int i = -u - 1;
  if (i >= c->numrows) return -1;
  return rc[i] >= 0 ? rc[i] : c->totcols + i;
}

const dualstate *livenorms(const lp *p) {
  const dualstate *ds = reinterpret_cast<const dualstate *>(p->dual);
  const lpcore *c = p->core;
  if (ds == nullptr || !ds->engready || !ds->normsok) return nullptr;
  if (ds->prob.m != c->numrows || ds->prob.n != c->totcols) return nullptr;
  if (static_cast<int>(ds->eng.gamma.size()) < c->numrows ||
      static_cast<int>(ds->eng.head.size()) < c->numrows)
    return nullptr;
  return ds;
}

// The dual norms in head form; false if there are none.
bool dualnorms(const lp *p, std::vector<double> &norm, std::vector<int> &head) {
  const lpcore *c = p->core;
  if (const dualstate *ds = livenorms(p)) {
    norm.assign(ds->eng.gamma.begin(), ds->eng.gamma.begin() + c->numrows);
    head.resize(c->numrows);
    for (int k = 0; k < c->numrows; ++k) head[k] = touser(c, ds->eng.head[k]);
    return true;
  }
  const start *s = p->start;
  if (s && s->dnorm && s->dnormhead && s->dnormlen > 0) {
    norm.assign(s->dnorm, s->dnorm + s->dnormlen);
    head.assign(s->dnormhead, s->dnormhead + s->dnormlen);
    return true;
  }
  return false;
}

int ensurestart(lp *p) {
  if (p->start == nullptr) p->start = allocnzero<start>(1);
  return p->start ? 0 : kNoMemory;
}

// Puts norm/head (len entries, head form) into the start record.
int setstartnorms(lp *p, const double *norm, const int *head, int len) {
  int status = ensurestart(p);
  if (status) return status;
  start *s = p->start;
  double *nn = allocn<double>(std::max(len, 1));
  int *hh = allocn<int>(std::max(len, 1));
  if (nn == nullptr || hh == nullptr) {
    release(&nn);
    release(&hh);
    return kNoMemory;
  }
  std::copy(norm, norm + len, nn);
  std::copy(head, head + len, hh);
  release(&s->dnorm);
  release(&s->dnormhead);
  s->dnorm = nn;
  s->dnormhead = hh;
  s->dnormlen = len;
  return 0;
}

int copydnorms(env *e, lp *p, const double *norm, const int *head, int len) {
  int status = changeframe(e, p);
  if (status == 0) status = cache_flush(e, p);
  if (status) return status;
  if (len < 0) return kBadArgument;
  if (len > 0 && (norm == nullptr || head == nullptr)) return kNullPointer;
  if (len > p->core->numrows) return kBadArgument;
  status = ensurestart(p);
  if (status) return status;
  dropstate(e, p, 44);
  return setstartnorms(p, norm, head, len);
}

}  // namespace

int feasible_status(const dualengine &e, int j, double dj);

// Rows about to be deleted whose logical is nonbasic: the logical is pivoted
// into the basis first, in the place of the basic variable with the largest
// entry in its column of the inverse (the one whose departure leaves the
// rest of the basis nonsingular), and the norms follow the pivot.  A row
// that goes with its logical basic leaves the other rows of the inverse as
// they were, so the norms carried then are exact.  The last dual run must
// hold the basis of the solution record; otherwise nothing happens.
void dual_rowsgo(env *, lp *p, const int *map) {
  dualstate *ds = reinterpret_cast<dualstate *>(p->dual);
  const soln *s = p->soln;
  const lpcore *c = p->core;
  if (livenorms(p) == nullptr || s == nullptr || !s->hasbasis || s->head == nullptr ||
      s->cstat == nullptr || s->rows != c->numrows || ds->eng.fac == nullptr)
    return;
  dualengine &e = ds->eng;
  const int m = c->numrows, n = e.n;
  for (int k = 0; k < m; ++k)
    if (dual_from_working(p, s->head[k]) != e.head[k]) return;
  std::vector<int> rowslack(m, -1);
  for (int k = 0; k < c->allcols - c->totcols; ++k) rowslack[c->slackrow[k]] = k;
  int pivots = 0;
  std::vector<double> col(m), rho(m), tau(m);
  for (int r = 0; r < m; ++r) {
    const int q = n + r;
    if (map[r] >= 0 || e.status[q] == 1) continue;
    // Beyond a few rows a fresh start of the norms is as cheap.
    if (++pivots > 20) return;
    e.fac->ftran_col(*e.p, q, col);
    int best = -1;
    double big = 1e-7;
    for (int i = 0; i < m; ++i) {
      const int h = e.head[i];
      if (h >= n && map[h - n] < 0) continue;  // a logical that goes anyway
      if (std::fabs(col[i]) > big) {
        big = std::fabs(col[i]);
        best = i;
      }
    }
    if (best < 0) return;
    const double ar = col[best];
    if (e.opt.pricing == 2 || e.opt.pricing == 4) {
      e.fac->btran_row(best, rho);
      double w = 0.0;
      for (int i = 0; i < m; ++i) w += rho[i] * rho[i];
      tau = rho;
      e.fac->ftran(tau);
      for (int i = 0; i < m; ++i) {
        if (col[i] == 0.0 || i == best) continue;
        const double t = col[i] / ar;
        e.gamma[i] = std::max(e.gamma[i] + t * t * w - 2.0 * t * tau[i], 1e-4);
      }
      e.gamma[best] = std::max(w / (ar * ar), 1e-4);
    } else {
      e.gamma[best] = -1.0;  // computed at the next start
    }
    // The leaving variable goes to the bound its reduced cost after the
    // pivot asks for.
    const int out = e.head[best];
    const double dout = -e.d[q] / ar;
    if (e.fac->update(best, q, col) < 0) return;
    e.head[best] = q;
    e.pos[q] = best;
    e.pos[out] = -1;
    e.status[q] = 1;
    e.status[out] = feasible_status(e, out, dout);
    soln *sw = p->soln;
    sw->head[best] = dual_to_working(p, rowslack, q);
    if (rowslack[r] >= 0) sw->cstat[c->totcols + rowslack[r]] = 1;
    const int wout = dual_to_working(p, rowslack, out);
    if (wout < c->allcols) sw->cstat[wout] = e.status[out];
  }
}

void dual_carrynorms(env *, lp *p) {
  const dualstate *ds = livenorms(p);
  const soln *s = p->soln;
  if (ds == nullptr || s == nullptr || !s->hasbasis || s->head == nullptr || s->rows != p->core->numrows)
    return;
  // Only norms of the basis that the start now holds: a primal run after the
  // dual one leaves the engine behind.
  const int m = p->core->numrows;
  for (int k = 0; k < m; ++k)
    if (dual_from_working(p, s->head[k]) != ds->eng.head[k]) return;
  std::vector<double> norm;
  std::vector<int> head;
  if (dualnorms(p, norm, head)) setstartnorms(p, norm.data(), head.data(), m);
}

int dual_startnorms(const lp *p, const std::vector<int> &head, std::vector<double> &gamma) {
  const start *s = p->start;
  const lpcore *c = p->core;
  const int m = c->numrows;
  if (s == nullptr || s->dnorm == nullptr || s->dnormhead == nullptr || s->dnormlen <= 0)
    return 0;
  const std::vector<int> rc = rangecolumn(c);
  std::vector<double> byvar(c->totcols + m, -1.0);
  for (int k = 0; k < s->dnormlen; ++k) {
    const int v = fromuser(c, rc, s->dnormhead[k]);
    if (v >= 0 && s->dnorm[k] > 0.0 && std::isfinite(s->dnorm[k])) byvar[v] = s->dnorm[k];
  }
  gamma.assign(m, -1.0);
  int found = 0;
  for (int k = 0; k < m; ++k) {
    if (head[k] < 0 || head[k] >= c->totcols + m) continue;
    gamma[k] = byvar[head[k]];
    found += gamma[k] > 0.0;
  }
  return found;
}

}  // namespace velto

using namespace velto;

extern "C" {

int VLTgetdnorms(VLTENVptr env, VLTLPptr lp, double *norm, int *head, int *len_p) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (norm == nullptr || head == nullptr || len_p == nullptr) return static_cast<int>(kNullPointer);
    std::vector<double> nn;
    std::vector<int> hh;
    if (!dualnorms(lp, nn, hh)) return 1264;
    std::copy(nn.begin(), nn.end(), norm);
    std::copy(hh.begin(), hh.end(), head);
    *len_p = static_cast<int>(nn.size());
    return 0;
  }));
}

int VLTcopydnorms(VLTENVptr env, VLTLPptr lp, const double *norm, const int *head, int len) {
  return finish(env, guarded([&] { return copydnorms(env, lp, norm, head, len); }));
}

int VLTgetbasednorms(VLTENVptr env, VLTLPptr lp, int *cstat, int *rstat, double *dnorm) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (!basisexists(lp)) return 1262;
    if (cstat == nullptr || rstat == nullptr || dnorm == nullptr) return static_cast<int>(kNullPointer);
    const lpcore *c = lp->core;
    std::vector<double> nn;
    std::vector<int> hh;
    if (!dualnorms(lp, nn, hh) || static_cast<int>(nn.size()) != c->numrows) return 1264;
    s = VLTgetbase(env, lp, cstat, rstat);
    if (s) return -s;
    // Norms by basic column in index order, then by basic row.
    std::vector<double> bycol(c->numcols, -1.0), byrow(c->numrows, -1.0);
    for (size_t k = 0; k < hh.size(); ++k)
      (hh[k] >= 0 ? bycol[hh[k]] : byrow[-hh[k] - 1]) = nn[k];
    int q = 0;
    for (int j = 0; j < c->numcols; ++j)
      if (cstat[j] == 1) {
        if (bycol[j] < 0 || q >= c->numrows) return 1262;
        dnorm[q++] = bycol[j];
      }
    for (int i = 0; i < c->numrows; ++i)
      if (rstat[i] == 1) {
        if (byrow[i] < 0 || q >= c->numrows) return 1262;
        dnorm[q++] = byrow[i];
      }
    return q == c->numrows ? 0 : 1262;
  }));
}

int VLTcopybasednorms(VLTENVptr env, VLTLPptr lp, const int *cstat, const int *rstat,
                      const double *dnorm) {
  return finish(env, guarded([&] {
    int s = changeframe(env, lp);
    if (s == 0) s = cache_flush(env, lp);
    if (s) return s;
    if (cstat == nullptr || rstat == nullptr) return static_cast<int>(kNullPointer);
    s = VLTcopybase(env, lp, cstat, rstat);
    if (s) return -s;
    if (dnorm == nullptr) return 0;
    const lpcore *c = lp->core;
    std::vector<int> head;
    for (int j = 0; j < c->numcols; ++j)
      if (cstat[j] == 1) head.push_back(j);
    for (int i = 0; i < c->numrows; ++i)
      if (rstat[i] == 1) head.push_back(-i - 1);
    if (static_cast<int>(head.size()) != c->numrows) return 1262;
    return copydnorms(env, lp, dnorm, head.data(), c->numrows);
  }));
}

int VLTkilldnorms(VLTLPptr lp) {
  if (lp == nullptr || !checklp(lp) || isview(lp)) return 0;
  if (start *s = lp->start) {
    release(&s->dnorm);
    release(&s->dnormhead);
    s->dnormlen = 0;
  }
  dropstate(nullptr, lp, 44);
  return 0;
}

int VLTkillpnorms(VLTLPptr lp) {
  if (lp == nullptr || !checklp(lp) || isview(lp)) return 0;
  if (start *s = lp->start) {
    release(&s->pnormcol);
    release(&s->pnormrow);
    s->pnormlen = 0;
  }
  return 0;
}

int VLTgetpnorms(VLTENVptr env, VLTLPptr lp, double *cnorm, double *rnorm, int *len_p) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (cnorm == nullptr || rnorm == nullptr || len_p == nullptr) return static_cast<int>(kNullPointer);
    const start *st = lp->start;
    if (st == nullptr || st->pnormcol == nullptr || st->pnormrow == nullptr) return 1264;
    std::copy(st->pnormcol, st->pnormcol + lp->core->numcols, cnorm);
    std::copy(st->pnormrow, st->pnormrow + lp->core->numrows, rnorm);
    *len_p = st->pnormlen;
    return 0;
  }));
}

int VLTcopypnorms(VLTENVptr env, VLTLPptr lp, const double *cnorm, const double *rnorm, int len) {
  return finish(env, guarded([&] {
    int s = changeframe(env, lp);
    if (s == 0) s = cache_flush(env, lp);
    if (s) return s;
    if (len < 0) return static_cast<int>(kBadArgument);
    if (cnorm == nullptr || rnorm == nullptr) return static_cast<int>(kNullPointer);
    s = ensurestart(lp);
    if (s) return s;
    start *st = lp->start;
    const lpcore *c = lp->core;
    if (!growarray(st->pnormcol, c->colspace) || !growarray(st->pnormrow, c->rowspace))
      return static_cast<int>(kNoMemory);
    std::copy(cnorm, cnorm + c->numcols, st->pnormcol);
    std::copy(rnorm, rnorm + c->numrows, st->pnormrow);
    st->pnormlen = len;
    return 0;
  }));
}

}  // extern "C"
