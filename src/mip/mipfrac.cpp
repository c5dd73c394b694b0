// Gomory mixed-integer cuts from rows of the simplex tableau of the solved
// node problem at the root.  A tableau row is y'(A x + s) = y' rhs for the
// row y of the basis inverse, an identity over every point; each variable
// is measured from a bound, so the rounding holds for every feasible point
// whatever the accuracy of y.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "env/env.h"
#include "env/par.h"
#include "mip/mipbb.h"
#include "mip/mipmir.h"
#include "model/store.h"

namespace velto {

namespace {

// The node problem as the cuts read it.
struct tableau {
  int n = 0, m = 0;
  std::vector<double> x, slack, lb, ub, rhs;
  std::vector<char> sense;
  std::vector<int> cstat, rstat, head;
  std::vector<int> rbeg, rind;
  std::vector<double> rval;
  std::vector<char> intslack;  // the row's slack takes integer values
};

int readtableau(env *e, lp *q, const char *ctype, int n, tableau &t) {
  t.n = n;
  t.m = VLTgetnumrows(e, q);
  const int m = t.m;
  if (n <= 0 || m <= 0) return 1;
  t.x.resize(n), t.lb.resize(n), t.ub.resize(n), t.cstat.resize(n);
  t.slack.resize(m), t.rhs.resize(m), t.sense.resize(m), t.rstat.resize(m), t.head.resize(m);
  if (VLTgetx(e, q, t.x.data(), 0, n - 1) || VLTgetslack(e, q, t.slack.data(), 0, m - 1) ||
      VLTgetbase(e, q, t.cstat.data(), t.rstat.data()) ||
      VLTgetbhead(e, q, t.head.data(), nullptr) || VLTgetlb(e, q, t.lb.data(), 0, n - 1) ||
      VLTgetub(e, q, t.ub.data(), 0, n - 1) || VLTgetrhs(e, q, t.rhs.data(), 0, m - 1) ||
      VLTgetsense(e, q, t.sense.data(), 0, m - 1))
    return 1;
  int nz = 0, surplus = 0;
  const int space = VLTgetnumnz(e, q);
  t.rbeg.resize(m + 1);
  t.rind.resize(std::max(space, 1));
  t.rval.resize(std::max(space, 1));
  if (VLTgetrows(e, q, &nz, t.rbeg.data(), t.rind.data(), t.rval.data(), space, &surplus, 0,
                 m - 1))
    return 1;
  t.rbeg[m] = nz;
  t.intslack.assign(m, 0);
  for (int i = 0; i < m; ++i) {
    bool integral = t.rhs[i] == std::floor(t.rhs[i]);
    for (int p = t.rbeg[i]; p < t.rbeg[i + 1] && integral; ++p) {
      char ty = ctype ? ctype[t.rind[p]] : 'C';
      integral = ty != 'C' && t.rval[p] == std::floor(t.rval[p]);
    }
    t.intslack[i] = integral;
  }
  return 0;
}

bool intcol(const tableau &t, const char *ctype, int j) {
  char ty = ctype ? ctype[j] : 'C';
  return ty != 'C' && t.lb[j] == std::floor(t.lb[j]) && t.ub[j] == std::floor(t.ub[j]);
}

// The cut of basis position `pos` (basic column j): false when the row
// gives none.
bool gomorycut(env *e, lp *q, const tableau &t, const char *ctype, int pos, int j,
               std::vector<double> &y, std::vector<double> &z, mircut &cut) {
  const int n = t.n, m = t.m;
  if (VLTbinvrow(e, q, pos, y.data()) || VLTbinvarow(e, q, pos, z.data())) return false;
  z[j] -= 1.0;  // x_j + sum z x + sum y s = y'rhs
  double beta = 0.0;
  for (int i = 0; i < m; ++i) beta += y[i] * t.rhs[i];
  // Items: coefficient on t >= 0, the bound it is measured from (side 0
  // lower, 1 upper), integrality.
  struct item {
    int k;  // column, or n + row for a slack
    double a;
    int side;
    bool integer;
  };
  std::vector<item> it;
  bool slackin = false;
  for (int k = 0; k < n; ++k) {
    double a = z[k];
    if (a == 0.0) continue;
    double l = t.lb[k], u = t.ub[k];
    if (u - l < 1e-10 && std::fabs(l) < 1e20) {
      beta -= a * l;  // fixed: a constant
      continue;
    }
    int side;
    if (t.cstat[k] == 0) side = 0;
    else if (t.cstat[k] == 2) side = 1;
    else if (l > -1e20 && (u >= 1e20 || t.x[k] - l <= u - t.x[k])) side = 0;
    else side = 1;
    double b = side ? u : l;
    if (std::fabs(b) >= 1e20) {
      if (std::fabs(a) > 1e-12) return false;  // no bound to measure from
      continue;
    }
    beta -= a * b;
    it.push_back({k, side ? -a : a, side, k != j && intcol(t, ctype, k)});
  }
  for (int i = 0; i < m; ++i) {
    double a = y[i];
    if (a == 0.0 || t.sense[i] == 'E') continue;
    if (t.sense[i] == 'R') {
      if (std::fabs(a) > 1e-12) return false;
      continue;
    }
    // s = rhs - a x is >= 0 for 'L' (measured from 0) and <= 0 for 'G'.
    int side = t.sense[i] == 'G' ? 1 : 0;
    it.push_back({n + i, side ? -a : a, side, t.intslack[i] != 0});
    if (std::fabs(a) > 1e-10) slackin = true;
  }
  // The row at the point must give back x_j: else the factor is not to be
  // trusted for this row.
  if (std::fabs(beta - t.x[j]) > 1e-6 * (1.0 + std::fabs(t.x[j]))) return false;
  const double f = beta - std::floor(beta);
  if (f < 0.001 || 1.0 - f < 0.001) return false;
  // sum g t >= f, written back in the columns as sum c x >= R.
  std::vector<double> c(n, 0.0);
  double R = f;
  for (const item &q : it) {
    double g;
    if (q.integer) {
      double fa = q.a - std::floor(q.a);
      g = fa <= f ? fa : f * (1.0 - fa) / (1.0 - f);
    } else {
      g = q.a > 0 ? q.a : f * -q.a / (1.0 - f);
    }
    if (g == 0.0) continue;
    if (q.k < n) {
      if (q.side == 0) c[q.k] += g, R += g * t.lb[q.k];
      else c[q.k] -= g, R -= g * t.ub[q.k];
    } else {
      int i = q.k - n;
      double s = q.side == 0 ? g : -g;  // g t = s (rhs - a x)
      R -= s * t.rhs[i];
      for (int p = t.rbeg[i]; p < t.rbeg[i + 1]; ++p) c[t.rind[p]] -= s * t.rval[p];
    }
  }
  // As 'L': -c x <= -R.
  cut.clear();
  double cmax = 0.0;
  for (int k = 0; k < n; ++k)
    if (c[k] != 0.0) cmax = std::max(cmax, std::fabs(c[k]));
  if (!(cmax > 0.0) || 1.0 / cmax < 1e-5) return false;
  const double tol = slackin ? 1e-4 : 1e-8;
  for (int k = 0; k < n; ++k)
    if (c[k] != 0.0) cut.ind.push_back(k), cut.val.push_back(-c[k] / cmax);
  cut.rhs = -R / cmax;
  cutrelax(cut, t.lb.data(), t.ub.data(), 1e-10);
  if (cut.ind.empty()) return false;
  double act = 0.0;
  for (size_t p = 0; p < cut.ind.size(); ++p) {
    if (std::fabs(cut.val[p]) < tol) return false;
    act += cut.val[p] * t.x[cut.ind[p]];
  }
  return act - cut.rhs >= tol;
}

}  // namespace

int gomoryround(miprun &r, cutwork &cw, int cls, int limit, int *count) {
  *count = 0;
  env *e = r.e;
  lp *q = r.q;
  if (limit <= 0) return 0;
  tableau t;
  if (r.p->qp != nullptr || readtableau(e, q, r.ctype, r.n, t)) {
    if (r.ctl.display > 0) msg(e->warnchannel, "Warning: cannot generate Gomory cuts.\n");
    return 0;
  }
  const mipparblock *mp = e->mipparams;
  long long budget = 2100000000;
  if (cls < 1 && mp->fracpass == 0)
    budget = 5LL * VLTgetnumnz(e, r.p) - VLTgetnumnz(e, q);
  if (budget < 1) return 0;
  // Candidates: fractional basic integer columns, the most fractional first.
  const double epint = r.ctl.epint;
  std::vector<int> pos;
  std::vector<double> score;
  for (int i = 0; i < t.m; ++i) {
    int j = t.head[i];
    if (j < 0 || j >= t.n || !intcol(t, r.ctype, j)) continue;
    double f = t.x[j] - std::floor(t.x[j]);
    if (!(f > epint && f < 1.0 - epint)) continue;
    pos.push_back(i);
    score.push_back(std::min(f, 1.0 - f));
  }
  std::vector<int> order(pos.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return score[a] > score[b]; });
  const int cand = std::min<int>(std::min(limit, mp->fraccand), static_cast<int>(order.size()));
  std::vector<double> y(t.m), z(t.n);
  mircut cut;
  for (int k = 0; k < cand; ++k) {
    int i = pos[order[k]], j = t.head[i];
    if (!gomorycut(e, q, t, r.ctype, i, j, y, z, cut)) continue;
    int st = cutsetpush(cw.pool, 0, kCutFrac, static_cast<int>(cut.ind.size()), cut.ind.data(),
                        cut.val.data(), 'L', cut.rhs);
    if (st) return st;
    ++*count;
    budget -= static_cast<long long>(cut.ind.size());
    if (budget <= 0) break;
  }
  return 0;
}

}  // namespace velto
