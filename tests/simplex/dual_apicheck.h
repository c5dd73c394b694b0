// Reads a model and a solution back through the public interface and checks
// them independently of the optimizer's own numbers.
#pragma once

#include <string>
#include <vector>

#include "simplex/dual_testutil.h"
#include "velto.h"

namespace dualtest {

// The model of lp, in the checker's form (rows lo <= a'x <= up).
inline model api_model(VLTENVptr env, VLTLPptr lp) {
  model md;
  int m = VLTgetnumrows(env, lp), n = VLTgetnumcols(env, lp);
  md.m = m;
  md.n = n;
  md.c.resize(n);
  md.lb.resize(n);
  md.ub.resize(n);
  if (n > 0) {
    VLTgetobj(env, lp, md.c.data(), 0, n - 1);
    VLTgetlb(env, lp, md.lb.data(), 0, n - 1);
    VLTgetub(env, lp, md.ub.data(), 0, n - 1);
  }
  double off = 0.0;
  VLTgetobjoffset(env, lp, &off);
  md.c0 = off;
  if (VLTgetobjsen(env, lp) == -1) {
    // Checked as the equivalent minimization.
    for (double &v : md.c) v = -v;
    md.c0 = -md.c0;
  }
  std::vector<double> rhs(m), rng(m, 0.0);
  std::vector<char> sense(m);
  if (m > 0) {
    VLTgetrhs(env, lp, rhs.data(), 0, m - 1);
    VLTgetsense(env, lp, sense.data(), 0, m - 1);
    VLTgetrngval(env, lp, rng.data(), 0, m - 1);
  }
  md.rlo.assign(m, -1e20);
  md.rup.assign(m, 1e20);
  for (int i = 0; i < m; ++i) {
    switch (sense[i]) {
      case 'L': md.rup[i] = rhs[i]; break;
      case 'G': md.rlo[i] = rhs[i]; break;
      case 'E': md.rlo[i] = md.rup[i] = rhs[i]; break;
      default:
        md.rlo[i] = rhs[i] + std::min(0.0, rng[i]);
        md.rup[i] = rhs[i] + std::max(0.0, rng[i]);
    }
  }
  md.cols.assign(n, {});
  if (n > 0) {
    int nz = 0, surplus = 0;
    int space = VLTgetnumnz(env, lp);
    std::vector<int> beg(n), ind(space > 0 ? space : 1);
    std::vector<double> val(space > 0 ? space : 1);
    VLTgetcols(env, lp, &nz, beg.data(), ind.data(), val.data(), space, &surplus, 0, n - 1);
    for (int j = 0; j < n; ++j) {
      int end = j + 1 < n ? beg[j + 1] : nz;
      for (int k = beg[j]; k < end; ++k) md.cols[j].push_back({ind[k], val[k]});
    }
  }
  return md;
}

struct apisol {
  std::vector<double> x, pi, slack, dj;
  double objval = 0.0;
  int stat = 0;
};

inline int api_solution(VLTENVptr env, VLTLPptr lp, const model &md, apisol &s) {
  s.x.resize(md.n);
  s.pi.resize(md.m);
  s.slack.resize(md.m);
  s.dj.resize(md.n);
  return VLTsolution(env, lp, &s.stat, &s.objval, s.x.data(), s.pi.data(), s.slack.data(),
                     s.dj.data());
}

// Largest violation of optimality for the user's solution (x, pi), in the
// minimization form of the checker (pi negated for a maximization).
inline void api_violations(VLTENVptr env, VLTLPptr lp, const model &md, const apisol &s,
                           double *pv, double *dv) {
  std::vector<double> y = s.pi;
  if (VLTgetobjsen(env, lp) == -1)
    for (double &v : y) v = -v;
  *pv = primal_violation(md, s.x);
  *dv = dual_violation(md, s.x, y, 1e-6);
}

}  // namespace dualtest
