// The model as the finder sees it, and the test that a vector of row
// multipliers proves a set of rows and bounds infeasible.
#include <algorithm>
#include <cmath>

#include "composite/iis.h"

namespace velto {

double iismodel::rowlo(int i) const {
  switch (sense[i]) {
    case 'G': case 'E': return rhs[i];
    case 'R': return rng[i] >= 0 ? rhs[i] : rhs[i] + rng[i];
    default: return -kInfBound;
  }
}

double iismodel::rowhi(int i) const {
  switch (sense[i]) {
    case 'L': case 'E': return rhs[i];
    case 'R': return rng[i] >= 0 ? rhs[i] + rng[i] : rhs[i];
    default: return kInfBound;
  }
}

int iis_getmodel(env *e, lp *p, iismodel &d) {
  d.m = VLTgetnumrows(e, p);
  d.n = VLTgetnumcols(e, p);
  d.objsen = VLTgetobjsen(e, p);
  const int nz = VLTgetnumnz(e, p);
  d.rhs.assign(d.m, 0.0);
  d.rng.assign(d.m, 0.0);
  d.sense.assign(d.m, 'L');
  d.lb.assign(d.n, 0.0);
  d.ub.assign(d.n, 0.0);
  d.beg.assign(d.n + 1, 0);
  d.ind.assign(nz + 1, 0);
  d.val.assign(nz + 1, 0.0);
  int s = 0;
  if (d.m > 0) {
    if ((s = VLTgetrhs(e, p, d.rhs.data(), 0, d.m - 1)) != 0) return -s;
    if ((s = VLTgetsense(e, p, d.sense.data(), 0, d.m - 1)) != 0) return -s;
    if ((s = VLTgetrngval(e, p, d.rng.data(), 0, d.m - 1)) != 0) return -s;
  }
  if (d.n > 0) {
    if ((s = VLTgetlb(e, p, d.lb.data(), 0, d.n - 1)) != 0) return -s;
    if ((s = VLTgetub(e, p, d.ub.data(), 0, d.n - 1)) != 0) return -s;
    int got = 0, surplus = 0;
    s = VLTgetcols(e, p, &got, d.beg.data(), d.ind.data(), d.val.data(), nz, &surplus, 0,
                   d.n - 1);
    if (s) return -s;
    d.beg[d.n] = got;
  }
  return 0;
}

bool iis_certify(const iismodel &d, const std::vector<int> &rowin, const std::vector<int> &colin,
                 const double *y, std::vector<int> &rowside, std::vector<int> &colside,
                 std::vector<double> *mult) {
  double ymax = 0.0;
  for (int i = 0; i < d.m; ++i)
    if (rowin[i]) ymax = std::max(ymax, std::fabs(y[i]));
  if (ymax == 0.0) return false;
  const double ytol = 1e-13 * std::max(1.0, ymax);
  std::vector<double> u(d.m), z(d.n);
  for (int sgn = 1; sgn >= -1; sgn -= 2) {
    // The rows combine to z'x >= beta: a positive multiplier takes the
    // row's lower side, a negative one its upper side.
    double beta = 0.0, scale = 0.0;
    bool ok = true;
    for (int i = 0; i < d.m && ok; ++i) {
      u[i] = (rowin[i] && std::fabs(y[i]) >= ytol) ? sgn * y[i] : 0.0;
      if (u[i] == 0.0) continue;
      const double side = u[i] > 0 ? d.rowlo(i) : d.rowhi(i);
      if (std::fabs(side) >= kInfBound) ok = false;
      beta += u[i] * side;
      scale += std::fabs(u[i] * side);
    }
    if (!ok) continue;
    // No point within the bounds reaches beta: max z'x < beta.
    double top = 0.0;
    for (int j = 0; j < d.n && ok; ++j) {
      double s = 0.0, b = 0.0;
      for (int k = d.beg[j]; k < d.beg[j + 1]; ++k) {
        const double t = u[d.ind[k]] * d.val[k];
        s += t;
        b = std::max(b, std::fabs(t));
      }
      z[j] = std::fabs(s) <= 1e-9 * (1.0 + b) ? 0.0 : s;
      if (z[j] == 0.0) continue;
      const double bd = z[j] > 0 ? d.ub[j] : d.lb[j];
      if (!colin[j] || std::fabs(bd) >= kInfBound) {
        ok = false;
        break;
      }
      top += z[j] * bd;
      scale += std::fabs(z[j] * bd);
    }
    if (!ok || beta - top <= 1e-9 * (1.0 + scale)) continue;
    rowside.assign(d.m, -1);
    colside.assign(d.n, -1);
    for (int i = 0; i < d.m; ++i) {
      if (u[i] == 0.0) continue;
      if (d.rowlo(i) == d.rowhi(i))
        rowside[i] = kIisFixed;
      else
        rowside[i] = u[i] > 0 ? kIisLower : kIisUpper;
    }
    for (int j = 0; j < d.n; ++j) {
      if (z[j] == 0.0) continue;
      if (d.lb[j] == d.ub[j])
        colside[j] = kIisFixed;
      else
        colside[j] = z[j] > 0 ? kIisUpper : kIisLower;
    }
    if (mult) *mult = u;
    return true;
  }
  return false;
}

}  // namespace velto
