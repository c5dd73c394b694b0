// Independent optimality checks of an LP solution: the model and the
// solution are read back through the public calls and the primal, dual and
// complementarity conditions are recomputed from them.
#pragma once

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "velto.h"

namespace primal_test {

struct lpcheck {
  double pinf = 0;    // largest bound or row violation (relative)
  double dinf = 0;    // largest dual sign violation (relative)
  double djerr = 0;   // largest |dj - (c - A'pi)| (relative)
  double objerr = 0;  // |objval - (c'x + offset)| relative
  double objval = 0;
  int lpstat = 0;
  std::string error;
};

inline double rel(double v, double scale) { return v / std::max(1.0, std::fabs(scale)); }

// Checks the solution of lp.  Values are in the user's sign: for a
// minimization pi of a 'L' row is <= 0 and of a 'G' row >= 0, dj >= 0 at a
// lower bound and <= 0 at an upper bound; a maximization flips them.
inline lpcheck check_solution(VLTENVptr env, VLTLPptr lp, double ptol = 1e-6) {
  lpcheck r;
  const int m = VLTgetnumrows(env, lp), n = VLTgetnumcols(env, lp);
  const int objsen = VLTgetobjsen(env, lp);
  std::vector<double> obj(n), lb(n), ub(n), rhs(m), rng(m), x(n), pi(m), dj(n), slack(m);
  std::vector<char> sense(m);
  if (n) {
    VLTgetobj(env, lp, obj.data(), 0, n - 1);
    VLTgetlb(env, lp, lb.data(), 0, n - 1);
    VLTgetub(env, lp, ub.data(), 0, n - 1);
  }
  if (m) {
    VLTgetrhs(env, lp, rhs.data(), 0, m - 1);
    VLTgetsense(env, lp, sense.data(), 0, m - 1);
    VLTgetrngval(env, lp, rng.data(), 0, m - 1);
  }
  int nz = VLTgetnumnz(env, lp), got = 0, surplus = 0;
  std::vector<int> beg(n + 1), ind(std::max(nz, 1));
  std::vector<double> val(std::max(nz, 1));
  if (n && VLTgetcols(env, lp, &got, beg.data(), ind.data(), val.data(), nz, &surplus, 0, n - 1)) {
    r.error = "VLTgetcols failed";
    return r;
  }
  beg[n] = got;
  double offset = 0.0;
  VLTgetobjoffset(env, lp, &offset);
  if (VLTsolution(env, lp, &r.lpstat, &r.objval, x.data(), pi.data(), slack.data(), dj.data())) {
    r.error = "VLTsolution failed";
    return r;
  }
  // Primal: bounds and rows.
  std::vector<double> ax(m, 0.0);
  for (int j = 0; j < n; ++j) {
    r.pinf = std::max(r.pinf, rel(lb[j] - x[j], lb[j]));
    r.pinf = std::max(r.pinf, rel(x[j] - ub[j], ub[j]));
    for (int k = beg[j]; k < beg[j + 1]; ++k) ax[ind[k]] += val[k] * x[j];
  }
  std::vector<double> rlo(m), rhi(m);
  for (int i = 0; i < m; ++i) {
    double lo = -1e30, hi = 1e30;
    switch (sense[i]) {
      case 'L': hi = rhs[i]; break;
      case 'G': lo = rhs[i]; break;
      case 'E': lo = hi = rhs[i]; break;
      case 'R':
        lo = std::min(rhs[i], rhs[i] + rng[i]);
        hi = std::max(rhs[i], rhs[i] + rng[i]);
        break;
    }
    rlo[i] = lo;
    rhi[i] = hi;
    r.pinf = std::max(r.pinf, rel(lo - ax[i], lo));
    r.pinf = std::max(r.pinf, rel(ax[i] - hi, hi));
  }
  // Dual: reduced costs from pi, their signs, and the row duals' signs, all
  // in minimization sign.
  double cx = offset;
  for (int j = 0; j < n; ++j) {
    cx += obj[j] * x[j];
    double d = obj[j];
    double scale = std::fabs(obj[j]);
    for (int k = beg[j]; k < beg[j + 1]; ++k) {
      d -= val[k] * pi[ind[k]];
      scale = std::max(scale, std::fabs(val[k] * pi[ind[k]]));
    }
    r.djerr = std::max(r.djerr, rel(std::fabs(d - dj[j]), scale));
    double dm = objsen * d;
    bool atlo = x[j] <= lb[j] + ptol * std::max(1.0, std::fabs(lb[j]));
    bool atup = x[j] >= ub[j] - ptol * std::max(1.0, std::fabs(ub[j]));
    if (!atlo) r.dinf = std::max(r.dinf, rel(dm, scale));   // must not be > 0
    if (!atup) r.dinf = std::max(r.dinf, rel(-dm, scale));  // must not be < 0
  }
  for (int i = 0; i < m; ++i) {
    double pm = objsen * pi[i];
    bool atlo = ax[i] <= rlo[i] + ptol * std::max(1.0, std::fabs(rlo[i]));
    bool athi = ax[i] >= rhi[i] - ptol * std::max(1.0, std::fabs(rhi[i]));
    if (!athi) r.dinf = std::max(r.dinf, -pm);  // pi < 0 needs the row at its top
    if (!atlo) r.dinf = std::max(r.dinf, pm);   // pi > 0 needs the row at its bottom
  }
  r.objerr = rel(std::fabs(r.objval - cx), cx);
  return r;
}

// Collects everything written to a channel.
struct capture {
  std::string text;
  static void take(void *h, const char *s) { static_cast<capture *>(h)->text += s; }
};

}  // namespace primal_test
