// Presolve record: creation from the model, row activities, the undo log and
// the removal of rows and columns.
#include <algorithm>
#include <cmath>
#include <new>

#include "env/par.h"
#include "model/store.h"
#include "presolve/presolve.h"

namespace velto {

namespace {

void release_layer(env *, lp *p) {
  prerec *r = p->presolve;
  p->presolve = nullptr;
  if (r == nullptr) return;
  if (r->redlp) {
    // The work-file multipliers of the factor carry over when larger.
    lpcore *rc = r->redlp->core;
    if (rc && p->core) {
      p->core->rowfilemul = std::max(p->core->rowfilemul, rc->rowfilemul);
      p->core->colfilemul = std::max(p->core->colfilemul, rc->colfilemul);
    }
    freeprob(r->envp, &r->redlp);
  }
  presolve_delete(r);
}

inline double lowside(double b) { return b <= 0 ? b * 1.0000000000000002 : b * 0.9999999999999997; }
inline double upside(double b) { return b > 0 ? b * 1.0000000000000002 : b * 0.9999999999999997; }

}  // namespace

void presolve_register() {
  static bool done = false;
  if (!done) {
    setlayerops(kLayerPresolve, layerops{release_layer, nullptr});
    done = true;
  }
}

void presolve_delete(prerec *r) { delete r; }

void presolve_free(env *e, lp *p) {
  presolve_register();
  if (p->presolve) release_layer(e, p);
}

int presolve_load(env *e, lp *p, int method, prerec **out) {
  *out = nullptr;
  prerec *r = new (std::nothrow) prerec();
  if (r == nullptr) return kNoMemory;
  const parblock *pb = e->params;
  const lpcore *c = p->core;
  r->envp = e;
  r->method = method;
  r->preind = pb->preind;
  r->prepass = pb->prepass;
  r->reduce = pb->reduce;
  r->prelinear = pb->prelinear;
  r->valid = 1;
  r->aggind = pb->aggind;
  r->depind = pb->depind;
  r->predual = pb->predual;
  r->aggfill = pb->aggfill;
  r->aggsorted = pb->p1061;
  r->aggtol = pb->p1055;
  r->bndstren = e->mipparams->bndstrenind;
  r->feastol = pb->eprhs;
  r->opttol = pb->epopt;
  r->inttol = 0.0;
  r->predisp = pb->predisp;
  r->simdisplay = pb->simdisplay;
  r->objsen = c->objsen < 0 ? -1.0 : 1.0;
  // The dual form is chosen only on request or for the barrier; neither is
  // made here, so the primal form stays.
  r->dualform = -1;
  const int m = c->numrows, n = c->numcols;
  int nr = 0;
  for (int i = 0; i < m; ++i) nr += c->sense[i] == 'R';
  const int nc = n + nr;
  r->nrows = m;
  r->ncolsorig = n;
  r->ncols = nc;
  r->keep = 0;
  r->origoffset = c->objoffset;
  r->objoffset = c->objoffset;
  try {
    r->lb.resize(nc);
    r->ub.resize(nc);
    r->obj.assign(nc, 0.0);
    r->rhs.resize(m);
    r->sense.resize(m);
    if (n) {
      getlb_u(p, r->lb.data(), 0, n - 1);
      getub_u(p, r->ub.data(), 0, n - 1);
      getobj_u(p, r->obj.data(), 0, n - 1);
    }
    std::vector<double> rng(m, 0.0);
    if (m) {
      getrhs_u(p, r->rhs.data(), 0, m - 1);
      if (nr) getrng_u(p, rng.data(), 0, m - 1);
    }
    for (int j = 0; j < n; ++j) {
      if (r->lb[j] <= -kInfThreshold) r->lb[j] = -kInfBound;
      if (r->ub[j] >= kInfThreshold) r->ub[j] = kInfBound;
    }
    // Column-wise matrix, range columns behind the structurals.
    r->cbeg.resize(nc);
    r->clen.assign(nc, 0);
    int nz = 0;
    for (int j = 0; j < n; ++j) nz += c->matcnt[j];
    r->cind.reserve(nz + nr);
    r->cval.reserve(nz + nr);
    for (int j = 0; j < n; ++j) {
      r->cbeg[j] = static_cast<int>(r->cind.size());
      for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k) {
        double v = matval_u(p, k, j);
        if (std::fabs(v) <= 1e-13) continue;
        r->cind.push_back(c->matind[k]);
        r->cval.push_back(v);
      }
      r->clen[j] = static_cast<int>(r->cind.size()) - r->cbeg[j];
    }
    int rc = n;
    for (int i = 0; i < m; ++i) {
      r->sense[i] = c->sense[i];
      if (c->sense[i] != 'R') continue;
      r->sense[i] = 'E';
      r->rangerow.push_back(i);
      r->cbeg[rc] = static_cast<int>(r->cind.size());
      r->clen[rc] = 1;
      r->cind.push_back(i);
      r->cval.push_back(-1.0);
      double v = rng[i];
      r->lb[rc] = v > 0 ? 0.0 : v;
      r->ub[rc] = v > 0 ? v : 0.0;
      ++rc;
    }
    r->nnz = static_cast<int>(r->cind.size());
    // Row-wise copy by transposition.
    r->rlen.assign(m, 0);
    for (int k = 0; k < r->nnz; ++k) ++r->rlen[r->cind[k]];
    r->rbeg.resize(m);
    int pos = 0;
    for (int i = 0; i < m; ++i) {
      r->rbeg[i] = pos;
      pos += r->rlen[i];
    }
    r->rind.resize(r->nnz);
    r->rval.resize(r->nnz);
    std::vector<int> fill(r->rbeg);
    for (int j = 0; j < nc; ++j)
      for (int k = r->cbeg[j]; k < r->cbeg[j] + r->clen[j]; ++k) {
        int i = r->cind[k];
        r->rind[fill[i]] = j;
        r->rval[fill[i]++] = r->cval[k];
      }
    // The structural entries of each ranged row, for the values of its
    // range column whatever the reductions do to the matrix.
    r->rangebeg.push_back(0);
    for (int i : r->rangerow) {
      for (int k = r->rbeg[i]; k < r->rbeg[i] + r->rlen[i]; ++k)
        if (r->rind[k] < n) {
          r->rangeind.push_back(r->rind[k]);
          r->rangeval.push_back(r->rval[k]);
        }
      r->rangebeg.push_back(static_cast<int>(r->rangeind.size()));
    }
    r->rowcnt = r->rlen;
    r->colcnt = r->clen;
    r->rowminfin.assign(m, 0.0);
    r->rowmaxfin.assign(m, 0.0);
    r->rowmininf.assign(m, 0);
    r->rowmaxinf.assign(m, 0);
    r->rowmap.assign(m, 0);
    r->colmap.assign(nc, 0);
    r->origlb = r->lb;
    r->origub = r->ub;
    r->origobj = r->obj;
    r->origrhs = r->rhs;
    r->origsense = r->sense;
    r->log.reserve(static_cast<size_t>(0.1 * (m + nc)) + 1);
    r->dualgone.assign(nc, kDualNone);
    // Protected columns, stored on the problem by VLTcopyprotected.
    if (p->auxcount > 0 && p->aux) {
      r->frozen.assign(nc, 0);
      for (int k = 0; k < p->auxcount; ++k)
        if (p->aux[k] >= 0 && p->aux[k] < n) r->frozen[p->aux[k]] = 1;
    }
  } catch (const std::bad_alloc &) {
    delete r;
    return kNoMemory;
  }
  *out = r;
  return 0;
}

const char *pre_colname(const prerec *r, lp *p, int j) {
  env *e = r->envp;
  const lpcore *c = p->core;
  if (j < r->ncolsorig) return colnameof(e, c->colname, c->numcols, j);
  return rownameof(e, c->rowname, c->numrows, r->rangerow[j - r->ncolsorig]);
}

const char *pre_rowname(const prerec *r, lp *p, int i) {
  return rownameof(r->envp, p->core->rowname, p->core->numrows, i);
}

void activity_add(prerec *r, int i, double a, double l, double u, int sgn) {
  bool lfin = l > -kInfBound, ufin = u < kInfBound;
  if (a > 0) {
    if (lfin) r->rowminfin[i] += sgn * a * lowside(l);
    else r->rowmininf[i] += sgn;
    if (ufin) r->rowmaxfin[i] += sgn * a * upside(u);
    else r->rowmaxinf[i] += sgn;
  } else {
    if (ufin) r->rowminfin[i] += sgn * a * upside(u);
    else r->rowmininf[i] += sgn;
    if (lfin) r->rowmaxfin[i] += sgn * a * lowside(l);
    else r->rowmaxinf[i] += sgn;
  }
}

void activity_all(prerec *r) {
  std::fill(r->rowminfin.begin(), r->rowminfin.end(), 0.0);
  std::fill(r->rowmaxfin.begin(), r->rowmaxfin.end(), 0.0);
  std::fill(r->rowmininf.begin(), r->rowmininf.end(), 0);
  std::fill(r->rowmaxinf.begin(), r->rowmaxinf.end(), 0);
  for (int j = 0; j < r->ncols; ++j) {
    if (r->colcnt[j] < 1) continue;
    for (int k = r->cbeg[j]; k < r->cbeg[j] + r->clen[j]; ++k) {
      int i = r->cind[k];
      if (r->rowcnt[i] < 1) continue;
      activity_add(r, i, r->cval[k], r->lb[j], r->ub[j], 1);
    }
  }
}

int push_record(prerec *r, int op, int index, double cost, double low, double up) {
  undorec u;
  u.op = op;
  u.index = index;
  u.cnt = 0;
  u.cost = cost;
  u.low = low;
  u.up = up;
  u.start = static_cast<int>(r->logind.size());
  u.len = 0;
  r->log.push_back(u);
  return static_cast<int>(r->log.size()) - 1;
}

void push_entry(prerec *r, int ind, double val) {
  r->logind.push_back(ind);
  r->logval.push_back(val);
  undorec &u = r->log.back();
  ++u.len;
  ++u.cnt;
}

void push_column_entries(prerec *r, int j) {
  for (int k = r->cbeg[j]; k < r->cbeg[j] + r->clen[j]; ++k)
    if (rowlive(r, r->cind[k])) push_entry(r, r->cind[k], r->cval[k]);
}

void push_row_entries(prerec *r, int i) {
  for (int k = r->rbeg[i]; k < r->rbeg[i] + r->rlen[i]; ++k)
    if (collive(r, r->rind[k])) push_entry(r, r->rind[k], r->rval[k]);
}

int remove_column(env *e, prerec *r, lp *p, int j, int position) {
  double v = position == 0 ? r->lb[j] : position == 1 ? r->ub[j] : 0.0;
  if (std::fabs(v) >= kInfBound) {
    if (r->predisp)
      msg(e->reschannel, "Column '%.255s' set to infinite %s bound.\n", pre_colname(r, p, j),
          position == 1 ? "upper" : "lower");
    return 1101;
  }
  if (r->colcnt[j] > 0) {
    for (int k = r->cbeg[j]; k < r->cbeg[j] + r->clen[j]; ++k) {
      int i = r->cind[k];
      if (!rowlive(r, i)) continue;
      double a = r->cval[k];
      --r->rowcnt[i];
      r->rhs[i] -= v * a;
      activity_add(r, i, a, r->lb[j], r->ub[j], -1);
    }
  }
  ++r->colsgone;
  r->colcnt[j] = -1;
  r->objoffset += r->obj[j] * v;
  r->obj[j] = 0.0;
  // Where the value sits relative to the bounds as loaded.
  if (std::fabs(v - r->origlb[j]) <= 1e-10) r->colmap[j] = kMapAtLower;
  else if (std::fabs(v - r->origub[j]) <= 1e-10) r->colmap[j] = kMapAtUpper;
  else r->colmap[j] = kMapFixed;
  return 0;
}

int remove_row(env *e, prerec *r, lp *p, int i, int recheck) {
  if (r->rowcnt[i] < 1) return 0;
  ++r->rowsgone;
  r->rowcnt[i] = -1;
  r->rowmap[i] = -1;
  for (int k = r->rbeg[i]; k < r->rbeg[i] + r->rlen[i]; ++k) {
    int j = r->rind[k];
    if (!collive(r, j)) continue;
    --r->colcnt[j];
    if (recheck && r->colcnt[j] == 0) {
      int st = column_test(e, r, p, j);
      if (st) return st;
    }
  }
  return 0;
}

// Logs a column removal with the column's live entries and removes it.
int log_and_remove(env *e, prerec *r, lp *p, int j, int op, int position) {
  push_record(r, op, j, r->obj[j], r->lb[j], r->ub[j]);
  push_column_entries(r, j);
  return remove_column(e, r, p, j, position);
}

int column_test(env *e, prerec *r, lp *p, int j) {
  const double lo = r->lb[j], up = r->ub[j];
  const int cnt = r->colcnt[j];
  const bool primal = r->reduce & 1;
  if (primal && lo - up > r->feastol) {
    if (r->predisp) msg(e->reschannel, "Bound infeasibility column '%.255s'.\n", pre_colname(r, p, j));
    return 1101;
  }
  if (primal && up - lo < 1e-10) {
    if (cnt < 0) return 0;
    return log_and_remove(e, r, p, j, kOpFixed, 0);
  }
  if (r->reduce < 2 || cnt != 0) return 0;
  const double c = r->objsen * r->obj[j];
  if ((up >= kInfBound && c < -r->opttol) || (lo <= -kInfBound && c > r->opttol)) {
    if (r->predisp)
      msg(e->reschannel, "Dual infeasible due to empty column '%.255s'.\n", pre_colname(r, p, j));
    return 1101;
  }
  // The sign of the cost decides where the column goes.
  if (c >= -r->opttol && lo > -kInfBound) {
    r->dualgone[j] = kDualAtLeast;
    return log_and_remove(e, r, p, j, kOpAtLower, 0);
  }
  if (c <= r->opttol && up < kInfBound) {
    r->dualgone[j] = kDualAtMost;
    return log_and_remove(e, r, p, j, kOpAtUpper, 1);
  }
  r->dualgone[j] = kDualZero;
  return log_and_remove(e, r, p, j, kOpFreeEmpty, 2);
}

bool dual_condition_holds(const prerec *r, int cond, double c) {
  switch (cond) {
    case kDualBelowFeas: return c < r->feastol;
    case kDualAboveFeas: return c > -r->feastol;
    case kDualAtLeast: return c >= -r->opttol;
    case kDualAtMost: return c <= r->opttol;
    case kDualZero: return std::fabs(c) <= r->opttol;
    case kDualPaired: return false;
    default: return true;
  }
}

// Activity of row i without the term of column j (coefficient a); false when
// more than that term is infinite.
bool rowmax_without(const prerec *r, int i, int j, double a, double *out) {
  double l = r->lb[j], u = r->ub[j];
  bool own_inf = a > 0 ? u >= kInfBound : l <= -kInfBound;
  if (r->rowmaxinf[i] == 0) {
    *out = r->rowmaxfin[i] - a * (a > 0 ? u : l);
    return true;
  }
  if (r->rowmaxinf[i] == 1 && own_inf) {
    *out = r->rowmaxfin[i];
    return true;
  }
  return false;
}

bool rowmin_without(const prerec *r, int i, int j, double a, double *out) {
  double l = r->lb[j], u = r->ub[j];
  bool own_inf = a > 0 ? l <= -kInfBound : u >= kInfBound;
  if (r->rowmininf[i] == 0) {
    *out = r->rowminfin[i] - a * (a > 0 ? l : u);
    return true;
  }
  if (r->rowmininf[i] == 1 && own_inf) {
    *out = r->rowminfin[i];
    return true;
  }
  return false;
}

void implied_bounds(const prerec *r, int j, double *plo, double *phi) {
  double lo = -kInfBound, hi = kInfBound;
  const double lbj = r->lb[j], ubj = r->ub[j];
  // The bounds that the rows force.
  for (int k = r->cbeg[j]; k < r->cbeg[j] + r->clen[j]; ++k) {
    int i = r->cind[k];
    double a = r->cval[k];
    if (a == 0.0 || !rowlive(r, i)) continue;
    char s = r->sense[i];
    if ((s == 'L' || s == 'E') && r->rowmininf[i] == 0) {
      double t = (r->rhs[i] - r->rowminfin[i]) / a;
      if (a > 0) hi = std::min(hi, t + lbj);
      else lo = std::max(lo, t + ubj);
    }
    if ((s == 'G' || s == 'E') && r->rowmaxinf[i] == 0) {
      double ap = -a;
      double t = (r->rowmaxfin[i] - r->rhs[i]) / ap;
      if (ap > 0) hi = std::min(hi, t + lbj);
      else lo = std::max(lo, t + ubj);
    }
  }
  // The range in which every row holds whatever the other columns do.
  double bhi = kInfBound, blo = -kInfBound;
  for (int k = r->cbeg[j]; k < r->cbeg[j] + r->clen[j]; ++k) {
    int i = r->cind[k];
    double a = r->cval[k];
    if (a == 0.0 || !rowlive(r, i)) continue;
    char s = r->sense[i];
    if (s == 'L' || s == 'E') {
      double ap = -a;
      if (r->rowmaxinf[i] == 0) {
        double t = (r->rowmaxfin[i] - r->rhs[i]) / ap;
        if (ap <= 0) bhi = std::min(bhi, t + ubj);
        else blo = std::max(blo, t + lbj);
      } else {
        if (ap <= 0) bhi = -kInfBound;
        else blo = kInfBound;
      }
    }
    if (s == 'G' || s == 'E') {
      if (r->rowmininf[i] == 0) {
        double t = (r->rowminfin[i] - r->rhs[i]) / a;
        if (a <= 0) bhi = std::min(bhi, t + ubj);
        else blo = std::max(blo, t + lbj);
      } else {
        if (a <= 0) bhi = -kInfBound;
        else blo = kInfBound;
      }
    }
  }
  double c = r->objsen * r->obj[j];
  if (c > 0 && blo < bhi && blo < hi) hi = std::min(hi, blo);
  if (c < 0 && blo < bhi && lo < bhi) lo = std::max(lo, bhi);
  *plo = lo;
  *phi = hi;
}

}  // namespace velto
