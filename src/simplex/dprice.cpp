// Dual pricing: choice of the leaving row, and the dual steepest-edge norms.
#include <algorithm>
#include <cmath>

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

// Exact norms ||e_i' B^-1||^2; a row whose basic variable is a logical or a
// singleton column of the basis in its row has the norm 1/a^2 at once.
int dnorm_init(dualengine &e) {
  const dualprob &p = *e.p;
  const int m = e.m;
  if (e.opt.pricing == 4 || e.opt.pricing == 1) {
    std::fill(e.gamma.begin(), e.gamma.end(), 1.0);
    e.normsvalid = 1;
    return 0;
  }
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
