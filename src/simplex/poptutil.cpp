// Basic values, duals and phases of the primal engine.
#include <algorithm>
#include <cmath>

#include "simplex/pengine.h"

namespace velto {

void pengine::column(int j, wvec &v) const {
  if (j >= n) {
    v.set(j - n, 1.0);
    return;
  }
  for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t) v.set(p.cind[t], p.cval[t]);
}

double pengine::coldot(int j, const double *y) const {
  if (j >= n) return y[j - n];
  double s = 0.0;
  for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t) s += p.cval[t] * y[p.cind[t]];
  return s;
}

void pengine::compute_xb() {
  wvec &v = col;
  v.clear();
  for (int i = 0; i < m; ++i) v.set(i, p.rhs[i]);
  for (int j = 0; j < nt; ++j) {
    if (pos[j] >= 0) continue;
    double xj = b.x[j];
    if (xj == 0.0) continue;
    if (j >= n) {
      v.val[j - n] -= xj;
    } else {
      for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t) v.val[p.cind[t]] -= p.cval[t] * xj;
    }
  }
  ftran(v);
  for (int k = 0; k < m; ++k) b.x[b.head[k]] = v.val[k];
  v.clear();
}

double pengine::phase1_cost(int k) const {
  int j = b.head[k];
  double x = b.x[j];
  if (x < lbw[j] - feastol) return -1.0;
  if (x > ubw[j] + feastol) return 1.0;
  return 0.0;
}

void pengine::set_phase_costs() {
  ninf = 0;
  suminf = 0.0;
  for (int k = 0; k < m; ++k) {
    int j = b.head[k];
    double x = b.x[j];
    if (x < lbw[j] - feastol) { ++ninf; suminf += lbw[j] - x; }
    else if (x > ubw[j] + feastol) { ++ninf; suminf += x - ubw[j]; }
  }
  phase = ninf > 0 ? 1 : 2;
  cb.assign(m, 0.0);
  for (int k = 0; k < m; ++k)
    cb[k] = phase == 1 ? phase1_cost(k) : p.cost[b.head[k]];
  djvalid = false;
}

void pengine::compute_pi() {
  wvec &v = rho;
  v.clear();
  for (int k = 0; k < m; ++k)
    if (cb[k] != 0.0) v.set(k, cb[k]);
  btran(v);
  for (int i = 0; i < m; ++i) pi[i] = v.val[i];
  v.clear();
}

void pengine::compute_dj() {
  for (int j = 0; j < nt; ++j) {
    if (pos[j] >= 0) { d[j] = 0.0; continue; }
    double c = phase == 1 ? 0.0 : p.cost[j];
    d[j] = c - coldot(j, pi.data());
  }
  djvalid = true;
}

void pengine::compute_objval() {
  if (phase == 1) {
    double s = 0.0;
    for (int k = 0; k < m; ++k) {
      int j = b.head[k];
      double x = b.x[j];
      if (x < lbw[j] - feastol) s += lbw[j] - x;
      else if (x > ubw[j] + feastol) s += x - ubw[j];
    }
    objval = s;
    return;
  }
  double s = 0.0;
  for (int j = 0; j < nt; ++j) s += p.cost[j] * b.x[j];
  objval = s;
}

// arow = rho' [A I] for the nonbasic variables, rho = B^-T e_r held in `rho`.
void pengine::pivot_row() {
  for (int t = 0; t < arownnz; ++t) {
    arow[arowind[t]] = 0.0;
    arowmark[arowind[t]] = 0;
  }
  arownnz = 0;
  // Row-wise the product costs the rows of rho's nonzeros; column-wise, one
  // pass over the nonbasic columns.  A dense rho (phase-1 cost changes, a
  // large basis inverse) goes by columns.
  double rowwork = 0.0;
  for (int s = 0; s < rho.nnz && rowwork <= matrixnz; ++s) {
    int i = rho.ind[s];
    rowwork += p.rbeg[i + 1] - p.rbeg[i] + 1;
  }
  if (rowwork > 0.4 * (matrixnz - basisnz)) {
    const double *y = rho.val.data();
    for (int j = 0; j < n; ++j) {
      if (pos[j] >= 0) continue;
      double v = 0.0;
      for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t) v += y[p.cind[t]] * p.cval[t];
      if (v != 0.0) {
        arow[j] = v;
        arowmark[j] = 1;
        arowind[arownnz++] = j;
      }
    }
    for (int s = 0; s < rho.nnz; ++s) {
      int i = rho.ind[s], j = n + i;
      if (pos[j] >= 0) continue;
      arow[j] = y[i];
      arowmark[j] = 1;
      arowind[arownnz++] = j;
    }
    return;
  }
  for (int s = 0; s < rho.nnz; ++s) {
    int i = rho.ind[s];
    double r = rho.val[i];
    for (int t = p.rbeg[i]; t < p.rbeg[i + 1]; ++t) {
      int j = p.rind[t];
      if (!arowmark[j]) { arowmark[j] = 1; arowind[arownnz++] = j; }
      arow[j] += r * p.rval[t];
    }
    int j = n + i;
    if (!arowmark[j]) { arowmark[j] = 1; arowind[arownnz++] = j; }
    arow[j] += r;
  }
}

double pengine::max_primal_infeas() const {
  double mx = 0.0;
  for (int k = 0; k < m; ++k) {
    int j = b.head[k];
    double x = b.x[j];
    mx = std::max(mx, std::max(lbw[j] - x, x - ubw[j]));
  }
  return mx;
}

// Refactorizes when updates stand, recomputes the basic values and the
// phase, then the duals.  When the updated values had drifted far from the
// recomputed ones, the factor is made more stable: a higher threshold and
// fewer updates between refactorizations.
void pengine::refresh() {
  bool refactored = false;
  if (!fresh || fac->updates > 0 || !fac->ready) {
    int st = refactor();
    if (st) { res.err = st; return; }
    refactored = true;
  }
  if (refactored && itcnt > 0) {
    xbold.resize(m);
    for (int k = 0; k < m; ++k) xbold[k] = b.x[b.head[k]];
  }
  compute_xb();
  if (refactored && itcnt > 0) {
    double drift = 0.0;
    for (int k = 0; k < m; ++k) {
      double x = b.x[b.head[k]];
      drift = std::max(drift, std::fabs(xbold[k] - x) / (1.0 + std::fabs(x)));
    }
    if (drift > 1e-6) {
      if (markowitz < 0.5) markowitz = std::min(0.5, 2.0 * markowitz);
      if (reinv > 50) reinv = std::max(50, reinv / 2);
    } else if (drift < 1e-9 && reinv < reinvcap) {
      // Clean values again: the cap climbs back, so that one bad stretch
      // does not cost short refactorization intervals for the rest of a
      // long run.
      reinv = std::min(reinvcap, reinv + 25);
    }
  }
  if (perturbed && phase == 2) {
    // Under a perturbation, basic values that the fresh solve puts a hair
    // outside their working bounds move those bounds instead of sending the
    // run back to phase 1; the clean bounds return at the end anyway.
    for (int k = 0; k < m; ++k) {
      int j = b.head[k];
      double x = b.x[j];
      if (x < lbw[j] - feastol && lbw[j] - x <= 1e-4 * (1.0 + std::fabs(lbw[j])))
        lbw[j] = x;
      else if (x > ubw[j] + feastol && x - ubw[j] <= 1e-4 * (1.0 + std::fabs(ubw[j])))
        ubw[j] = x;
    }
  }
  set_phase_costs();
  compute_pi();
  compute_dj();
  compute_objval();
}

}  // namespace velto
