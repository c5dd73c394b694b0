// The primal engine's use of the library's sparse LU: factor life cycle,
// solves on the engine's work vectors, the basis update, and the
// condition estimate of the basis.
#include <algorithm>
#include <cmath>

#include "env/env.h"
#include "env/par.h"
#include "simplex/pengine.h"
#include "simplex/quality.h"

namespace velto {

namespace {

// Copies the last solve's result into a cleared work vector.
void load(const svec &sv, wvec &v, int m) {
  v.clear();
  if (sv.nnz >= 0) {
    for (int s = 0; s < sv.nnz; ++s) {
      int i = sv.ind[s];
      if (sv.val[i] != 0.0) v.set(i, sv.val[i]);
    }
  } else {
    for (int i = 0; i < m; ++i)
      if (sv.val[i] != 0.0) v.set(i, sv.val[i]);
  }
}

}  // namespace

int pengine::factor_init() {
  matcnt.resize(n);
  for (int j = 0; j < n; ++j) matcnt[j] = p.cbeg[j + 1] - p.cbeg[j];
  mat.nrows = m;
  mat.ncols = n;
  mat.matbeg = p.cbeg.data();
  mat.matcnt = matcnt.data();
  mat.matind = p.cind.data();
  mat.matval = p.cval.data();
  mat.nslack = m;
  mat.slackrow = nullptr;
  mat.slackcoef = nullptr;
  fac = lu_create(m);
  if (fac == nullptr || svec_alloc(&sv, m) != 0) return kNoMemory;
  fac->reinv = opt.reinv;
  fac->display = opt.display > 0;
  fac->costweight = pricing == kPriceSteepest || pricing == kPriceSteepestSlack ? 10 : 20;
  gath.assign(m > 0 ? m : 1, 0.0);
  headtmp.resize(m);
  singtol = hk.e && hk.e->params ? hk.e->params->singtol : 1e-13;
  return 0;
}

// Factorizes the basis in b.head.  When the factor repairs a singular
// basis, the columns it took out become nonbasic at a bound and the
// logicals of the rows left over become basic.
int pengine::refactor() {
  std::copy(b.head.begin(), b.head.end(), headtmp.begin());
  fac->itcnt = itcnt;
  int st = lu_refactor(hk.e, fac, &mat, headtmp.data(), &markowitz, singtol, 1, nullptr);
  ++refactors;
  fresh = true;
  basisnz = 0.0;
  for (int k = 0; k < m; ++k) basisnz += collen(headtmp[k]);
  if (st == 0) return 0;
  if (st == kNoMemory) return kNoMemory;
  if (st != kLuRepaired) return kLuSingular;
  for (int t = 0; t < fac->ndropped; ++t) {
    int j = fac->dropped[t];
    pos[j] = -1;
    if (std::isfinite(lbw[j])) { b.stat[j] = kAtLower; b.x[j] = lbw[j]; }
    else if (std::isfinite(ubw[j])) { b.stat[j] = kAtUpper; b.x[j] = ubw[j]; }
    else { b.stat[j] = kFree; b.x[j] = 0.0; }
  }
  for (int k = 0; k < m; ++k) {
    int j = headtmp[k];
    if (j != b.head[k]) {
      if (pos[b.head[k]] == k) pos[b.head[k]] = -1;
      b.head[k] = j;
      pos[j] = k;
      b.stat[j] = kBasic;
    }
  }
  djvalid = false;
  return 0;
}

void pengine::ftran(wvec &v) {
  for (int s = 0; s < v.nnz; ++s) gath[s] = v.val[v.ind[s]];
  lu_ftran_sparse(fac, &sv, v.nnz, v.ind.data(), gath.data());
  load(sv, v, m);
}

void pengine::ftran_column(int q, wvec &out) {
  if (q >= n) {
    int i = q - n;
    double one = 1.0;
    lu_ftran_spike(fac, &sv, 1, &i, &one, q);
  } else {
    int b0 = p.cbeg[q];
    lu_ftran_spike(fac, &sv, p.cbeg[q + 1] - b0, p.cind.data() + b0, p.cval.data() + b0, q);
  }
  load(sv, out, m);
}

void pengine::btran(wvec &v) {
  for (int s = 0; s < v.nnz; ++s) gath[s] = v.val[v.ind[s]];
  lu_btran_sparse(fac, &sv, v.nnz, v.ind.data(), gath.data());
  load(sv, v, m);
}

void pengine::btran_row(int r, wvec &out) {
  lu_btran_leaving(fac, &sv, r);
  load(sv, out, m);
}

int pengine::check_pivot(int r, double alpha) { return lu_check_pivot(fac, r, alpha, 1); }

int pengine::factor_update(int r, int q) {
  fresh = false;
  return lu_update(hk.e, fac, &mat, r, q);
}

double pengine::kappa() {
  if (fac == nullptr || !fac->ready) return -1.0;
  return lu_kappa(fac, &mat, b.head.data());
}

}  // namespace velto
