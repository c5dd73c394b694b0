// Dual pricing: choice of the leaving row, and the dual steepest-edge norms.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "simplex/dualcore.h"

namespace velto {

// Primal infeasibility of basis position i: positive amount, with the side in
// *sgn (+1 above the upper bound, -1 below the lower bound).
static inline double row_infeas(const dualengine &e, int i, double tol, int *sgn) {
  int j = e.head[i];
  double x = e.x[j];
  if (x < e.wlb[j] - tol) {
    *sgn = -1;
    return e.wlb[j] - x;
  }
  if (x > e.wub[j] + tol) {
    *sgn = 1;
    return x - e.wub[j];
  }
  return 0.0;
}

int dprice_select(const dualengine &e, double tol, const std::vector<char> &rejected) {
  int best = -1;
  double bestv = 0.0;
  const bool steep = e.opt.pricing != 1;
  for (int i = 0; i < e.m; ++i) {
    int sgn;
    double v = row_infeas(e, i, tol, &sgn);
    if (v <= 0.0 || rejected[i]) continue;
    double score = steep ? v * v / e.gamma[i] : v;
    if (score > bestv) {
      bestv = score;
      best = i;
    }
  }
  return best;
}

double dprice_amount(const dualengine &e, int i, int *sgn) {
  *sgn = 0;
  return row_infeas(e, i, 0.0, sgn);
}

// Full-space norms: row p of B^-1 [A I] over every variable, basic ones
// included (they give the 1), plus the part of the identity:
// 1 + ||rho||^2 + ||rho' A_N||^2.  An all-logical basis needs no solve:
// rho is e_i / s_i for the logical of row i with coefficient s_i.
int dnorm_init_full(dualengine &e) {
  const dualprob &p = *e.p;
  const int m = e.m;
  bool slackbasis = true;
  for (int c = 0; c < m && slackbasis; ++c) slackbasis = e.head[c] >= e.n;
  if (slackbasis) {
    for (int c = 0; c < m; ++c) {
      int i = e.head[c] - e.n;
      double s = 1.0 / (p.slackval[i] * p.slackval[i]);
      double g = 1.0 + s;
      for (int k = e.rc.rowbeg[i]; k < e.rc.rowend[i]; ++k) g += e.rc.val[k] * e.rc.val[k] * s;
      e.gamma[c] = g;
    }
    e.normsvalid = 1;
    return 0;
  }
  if (e.opt.display > 0 && e.opt.log) e.opt.log(e.opt.logctx, "Initializing dual full norms . . .\n");
  std::vector<double> &v = e.work;
  std::vector<int> ind(m);
  for (int c = 0; c < m; ++c) {
    std::fill(v.begin(), v.end(), 0.0);
    v[c] = 1.0;
    e.fac->btran(v);
    int nnz = 0;
    double g = 1.0;
    for (int i = 0; i < m; ++i)
      if (v[i] != 0.0) {
        ind[nnz++] = i;
        g += v[i] * v[i];
      }
    pivot_row(e.rc, p, v, ind, nnz, e.status, e.row);
    for (int k = 0; k < e.row.nnz; ++k) g += e.row.val[e.row.ind[k]] * e.row.val[e.row.ind[k]];
    e.row.clear();
    e.gamma[c] = g;
  }
  e.normsvalid = 1;
  return 0;
}

// Update of the full-space norms after a pivot at position r, before the
// basis changes: e.col is B^-1 a_q, e.rho row r of B^-1 (rho2 its squared
// norm), e.row the pivot row over the nonbasic variables.  With R_i the
// full-space row i, the new rows are R_i - t_i R_r (t_i = col_i / col_r), so
// gamma_i += t_i^2 gamma_r - 2 t_i <R_i, R_r>, where the inner products are
// tau = B^-1 (rho + A_N row').
void dse_update_full(dualengine &e, int r, double rho2) {
  const dualprob &p = *e.p;
  const int m = e.m;
  const double ar = e.col[r];
  double w = 1.0 + rho2;
  std::copy(e.rho.begin(), e.rho.end(), e.tau.begin());
  for (int k = 0; k < e.row.nnz; ++k) {
    int j = e.row.ind[k];
    if (e.status[j] == 1) continue;
    double a = e.row.val[j];
    w += a * a;
    if (j < e.n) {
      for (int q = p.matbeg[j]; q < p.matbeg[j + 1]; ++q) e.tau[p.matind[q]] += a * p.matval[q];
    } else {
      e.tau[j - e.n] += a * p.slackval[j - e.n];
    }
  }
  e.fac->ftran(e.tau);
  for (int i = 0; i < m; ++i) {
    double a = e.col[i];
    if (a == 0.0 || i == r) continue;
    double t = a / ar;
    double g = e.gamma[i] + t * t * w - 2.0 * t * e.tau[i];
    // Row i keeps its own unit and gains -t at the leaving variable.
    e.gamma[i] = std::max(g, 1.0 + t * t);
  }
  e.gamma[r] = std::max(w / (ar * ar), 1.0);
}

// Norm of basis position c by the rule in force, from one BTRAN (and, for
// full-space norms, the row product).
double dnorm_one(dualengine &e, int c) {
  if (e.opt.pricing == 4 || e.opt.pricing == 1) return 1.0;
  const int m = e.m;
  std::vector<double> &v = e.work;
  std::fill(v.begin(), v.end(), 0.0);
  v[c] = 1.0;
  e.fac->btran(v);
  double g = e.opt.pricing == 3 ? 1.0 : 0.0;
  if (e.opt.pricing != 3) {
    for (int i = 0; i < m; ++i) g += v[i] * v[i];
    return g;
  }
  std::vector<int> ind(m);
  int nnz = 0;
  for (int i = 0; i < m; ++i)
    if (v[i] != 0.0) {
      ind[nnz++] = i;
      g += v[i] * v[i];
    }
  pivot_row(e.rc, *e.p, v, ind, nnz, e.status, e.row);
  for (int k = 0; k < e.row.nnz; ++k) g += e.row.val[e.row.ind[k]] * e.row.val[e.row.ind[k]];
  e.row.clear();
  return g;
}

// Norms seeded from a start: the positions without one are computed.
int dnorm_fill(dualengine &e) {
  if (e.opt.display > 0 && e.opt.log && e.itcnt == 0)
    e.opt.log(e.opt.logctx, "Reinitializing dual norms . . .\n");
  int made = 0;
  for (int c = 0; c < e.m; ++c)
    if (!(e.gamma[c] > 0.0)) {
      e.gamma[c] = std::max(dnorm_one(e, c), 1e-4);
      ++made;
    }
  if (made > 0 && e.opt.display > 0 && e.opt.log) {
    char line[64];
    std::snprintf(line, sizeof line, "Computed %d new norms.\n", made);
    e.opt.log(e.opt.logctx, line);
  }
  e.normsseeded = 0;
  e.normsvalid = 1;
  return 0;
}

// Exact norms ||e_i' B^-1||^2; a row whose basic variable is a logical or a
// singleton column of the basis in its row has the norm 1/a^2 at once.
int dnorm_init(dualengine &e) {
  const dualprob &p = *e.p;
  const int m = e.m;
  if (e.normsseeded && static_cast<int>(e.gamma.size()) == m) return dnorm_fill(e);
  if (e.opt.pricing == 4 || e.opt.pricing == 1) {
    std::fill(e.gamma.begin(), e.gamma.end(), 1.0);
    e.normsvalid = 1;
    return 0;
  }
  if (e.opt.pricing == 3) return dnorm_init_full(e);
  // An all-logical basis has unit norms (up to the logicals' signs).
  bool slackbasis = true;
  for (int c = 0; c < m && slackbasis; ++c) slackbasis = e.head[c] >= e.n;
  if (!slackbasis && e.opt.display > 0 && e.opt.log)
    e.opt.log(e.opt.logctx, "Initializing dual steep norms . . .\n");
  std::vector<int> cnt(m, 0), lastpos(m, -1);
  std::vector<double> lastval(m, 0.0);
  for (int c = 0; c < m; ++c) {
    int j = e.head[c];
    if (j >= e.n) {
      int r = j - e.n;
      cnt[r]++;
      lastpos[r] = c;
      lastval[r] = p.slackval[r];
    } else {
      for (int k = p.matbeg[j]; k < p.matbeg[j + 1]; ++k) {
        int r = p.matind[k];
        cnt[r]++;
        lastpos[r] = c;
        lastval[r] = p.matval[k];
      }
    }
  }
  std::fill(e.gamma.begin(), e.gamma.end(), -1.0);
  // A row with one basic entry a at position c makes row c of the inverse
  // e_r / a: its norm is 1 / a^2 without a solve.
  for (int r = 0; r < m; ++r)
    if (cnt[r] == 1) e.gamma[lastpos[r]] = 1.0 / (lastval[r] * lastval[r]);
  std::vector<double> &v = e.work;
  for (int c = 0; c < m; ++c) {
    if (e.gamma[c] >= 0.0) continue;
    std::fill(v.begin(), v.end(), 0.0);
    v[c] = 1.0;
    e.fac->btran(v);
    double s = 0.0;
    for (int i = 0; i < m; ++i) s += v[i] * v[i];
    e.gamma[c] = s;
  }
  e.normsvalid = 1;
  return 0;
}

// Norm update of a pivot at position r, before the basis changes, by the
// pricing rule in force: full-space, the row norms through tau = B^-1 rho,
// or nothing for Dantzig pricing.  w = ||rho||^2.
void dse_update(dualengine &e, int r, double w);

void dse_update_pivot(dualengine &e, int r, double w) {
  if (e.opt.pricing == 3) {
    dse_update_full(e, r, w);
  } else if (e.opt.pricing != 1) {
    std::copy(e.rho.begin(), e.rho.end(), e.tau.begin());
    e.fac->ftran(e.tau);
    dse_update(e, r, w);
  }
}

// Update after a pivot at position r with pivot column e.col (B^-1 a_q),
// w = ||rho||^2 and tau = B^-1 rho (old basis).
void dse_update(dualengine &e, int r, double w) {
  if (e.opt.pricing == 1) return;
  const double ar = e.col[r];
  if (1000.0 * w < e.gamma[r] && e.opt.pricing != 4) {
    std::fill(e.gamma.begin(), e.gamma.end(), 1.0);
    return;
  }
  const double k = 1.0 / ar;
  for (int i = 0; i < e.m; ++i) {
    double a = e.col[i];
    if (a == 0.0 || i == r) continue;
    double t = a * k;
    double g = e.gamma[i] + t * t * w - 2.0 * t * e.tau[i];
    e.gamma[i] = std::max(g, 1e-4);
  }
  e.gamma[r] = std::max(w * k * k, 1e-4);
}

}  // namespace velto
