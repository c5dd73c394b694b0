// Condition of the basis: the estimate used by the optimizer's passes and
// the exported calls that report it.
#include "simplex/quality.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "env/files.h"
#include "env/par.h"
#include "model/lp.h"
#include "model/store.h"

namespace velto {

namespace {

constexpr double kOverflow = 1e37;

// Largest row sum of |B|: over the basic columns, with 1 per basic slack
// or artificial (their single entry has magnitude 1 up to sign).
double row_norm(const lumatrix *mat, const int *head, int m, std::vector<double> &r) {
  r.assign(m, 0.0);
  const int allcols = mat->ncols + mat->nslack;
  for (int k = 0; k < m; ++k) {
    int j = head[k];
    if (j < mat->ncols) {
      for (int t = mat->matbeg[j]; t < mat->matbeg[j] + mat->matcnt[j]; ++t)
        r[mat->matind[t]] += std::fabs(mat->matval[t]);
    } else if (j < allcols) {
      int s = j - mat->ncols;
      int row = mat->slackrow ? mat->slackrow[s] : s;
      r[row] += mat->slackcoef ? std::fabs(mat->slackcoef[s]) : 1.0;
    } else {
      r[j - allcols] += 1.0;
    }
  }
  double mx = 0.0;
  for (int i = 0; i < m; ++i) mx = std::max(mx, r[i]);
  return mx;
}

bool overflowed(const std::vector<double> &v) {
  for (double x : v)
    if (!(std::fabs(x) <= kOverflow)) return true;
  return false;
}

}  // namespace

// The norm of B^-1 (largest row sum) equals the 1-norm of B^-T; it is
// estimated by the sign-vector iteration for the 1-norm: y = B^-T x, then
// z = B^-1 sign(y), moving x to the unit vector of the largest |z_k| while
// that promises a larger value.  Both ||y||_1 and ||z||_inf are lower
// bounds of the norm; the estimate is the larger, times ||B||_inf.
double lu_kappa(lufactor *fac, const lumatrix *mat, const int *head) {
  if (fac == nullptr || !fac->ready) return -1.0;
  const int m = fac->dim;
  if (m == 0) return 1.0;
  std::vector<double> r;
  const double N = row_norm(mat, head, m, r);
  std::vector<double> x(m, 1.0 / m), y(m), z(m);
  double est = 0.0;
  int last = -1;
  for (int it = 0; it < 5; ++it) {
    y = x;
    lu_btran(fac, y.data());  // by position in, by row out
    if (overflowed(y)) return 1e75;
    double y1 = 0.0;
    for (int i = 0; i < m; ++i) y1 += std::fabs(y[i]);
    for (int i = 0; i < m; ++i) z[i] = y[i] >= 0.0 ? 1.0 : -1.0;
    lu_ftran(fac, z.data());  // by row in, by position out
    if (overflowed(z)) return 1e75;
    int kmax = 0;
    double zx = 0.0;
    for (int k = 0; k < m; ++k) {
      if (std::fabs(z[k]) > std::fabs(z[kmax])) kmax = k;
      zx += z[k] * x[k];
    }
    est = std::max({est, y1, std::fabs(z[kmax])});
    if (std::fabs(z[kmax]) <= zx || kmax == last) break;
    last = kmax;
    std::fill(x.begin(), x.end(), 0.0);
    x[kmax] = 1.0;
  }
  double kappa = std::max(est, 1e-13) * N;
  return kappa > kOverflow ? 1e75 : kappa;
}

int lu_exact_kappa(env *e, lufactor *fac, const lumatrix *mat, const int *head, double tilim,
                   double start, double *kappa) {
  *kappa = -1.0;
  if (fac == nullptr || !fac->ready) return 1258;
  const int m = fac->dim;
  if (m == 0) {
    *kappa = 1.0;
    return 0;
  }
  std::vector<double> r;
  const double N = row_norm(mat, head, m, r);
  std::vector<double> rowsum(m, 0.0);
  svec col{};
  if (svec_alloc(&col, m) != 0) return kNoMemory;
  double one = 1.0;
  int status = 0;
  for (int i = 0; i < m && status == 0; ++i) {
    // Column i of B^-1: its entries add to the row sums of B^-1.
    lu_ftran_sparse(fac, &col, 1, &i, &one);
    if (col.nnz >= 0) {
      for (int s = 0; s < col.nnz; ++s) rowsum[col.ind[s]] += std::fabs(col.val[col.ind[s]]);
    } else {
      for (int k = 0; k < m; ++k) rowsum[k] += std::fabs(col.val[k]);
    }
    if (e && tilim < 1e75 && now(e) - start > tilim) status = 1268;
  }
  svec_free(&col);
  if (status) return status;
  double inv = 0.0;
  for (int k = 0; k < m; ++k) inv = std::max(inv, rowsum[k]);
  *kappa = std::isfinite(inv * N) ? inv * N : 1e75;
  return 0;
}

int cleanup_itlim(int itcnt, double objval, double kappa, int itlim) {
  if (kappa < 0.0) return itlim;
  double lim = std::trunc(1.05 * itcnt);
  if ((std::fabs(objval) + 1.0) * kappa >= 1e21 && lim <= itlim) return static_cast<int>(lim);
  return itlim;
}

namespace {

// A factor of the basis stored in the solution record, over the model's
// arrays as they stand.
struct basisfactor {
  lufactor *fac = nullptr;
  lumatrix mat{};
  std::vector<int> head;
  ~basisfactor() { lu_free(&fac); }
};

int factor_solution_basis(env *e, lp *p, basisfactor &bf) {
  const lpcore *c = p->core;
  const soln *s = p->soln;
  if (s == nullptr || !s->hasbasis || s->head == nullptr || s->rows != c->numrows ||
      s->allcols != c->allcols)
    return 1258;
  const int m = c->numrows;
  bf.mat.nrows = m;
  bf.mat.ncols = c->totcols;
  bf.mat.matbeg = c->matbeg;
  bf.mat.matcnt = c->matcnt;
  bf.mat.matind = c->matind;
  bf.mat.matval = c->matval;
  bf.mat.nslack = c->allcols - c->totcols;
  bf.mat.slackrow = c->slackrow;
  bf.mat.slackcoef = c->slackval;
  bf.head.assign(s->head, s->head + m);
  for (int k = 0; k < m; ++k)
    if (bf.head[k] < 0 || bf.head[k] >= c->allcols + m) return 1258;
  bf.fac = lu_create(m);
  if (bf.fac == nullptr) return kNoMemory;
  double u = e->params->epmrk;
  // The factor must be of this basis as it stands: no repair.
  bf.fac->singlim = 0;
  int st = lu_refactor(nullptr, bf.fac, &bf.mat, bf.head.data(), &u, e->params->singtol, 0,
                       nullptr);
  if (st == kNoMemory) return kNoMemory;
  if (st == kLuRepaired) return kLuRepaired;  // singular: the caller reports 1e75
  if (st != 0) return 1258;
  return 0;
}

template <class F>
double kappa_call(env *e, lp *p, F &&work) {
  int status = 0;
  double value = -1.0;
  if (!checkenv(e)) return -1.0;
  if (!checklp(e, p)) status = kNoProblem;
  if (status == 0) status = guarded([&] { return cache_flush(e, p); });
  if (status == 0) status = guarded([&] { return work(value); });
  if (status) {
    value = -1.0;
    report(e, &status);
  }
  return value;
}

}  // namespace

int solution_kappa(env *e, lp *p, double *value) {
  basisfactor bf;
  int st = factor_solution_basis(e, p, bf);
  if (st == 1258 && p->soln == nullptr) st = 1217;
  if (st == 0) *value = lu_kappa(bf.fac, &bf.mat, bf.head.data());
  if (st == kLuRepaired) {
    *value = 1e75;
    st = 0;
  }
  return st;
}

}  // namespace velto

using namespace velto;

extern "C" {

double VLTgetkappa(VLTENVptr env, VLTLPptr lp) {
  return kappa_call(env, lp, [&](double &value) { return solution_kappa(env, lp, &value); });
}

double VLTgetExactkappa(VLTENVptr env, VLTLPptr lp) {
  return kappa_call(env, lp, [&](double &value) {
    basisfactor bf;
    int st = factor_solution_basis(env, lp, bf);
    if (st == 1258 && lp->soln == nullptr) st = 1217;
    if (st == 0)
      st = lu_exact_kappa(env, bf.fac, &bf.mat, bf.head.data(), env->params->tilim, now(env),
                          &value);
    if (st == kLuRepaired) { value = 1e75; st = 0; }
    return st;
  });
}

}  // extern "C"
