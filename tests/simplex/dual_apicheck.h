// Reads a model and a solution back through the public interface and checks
// them independently of the optimizer's own numbers.
#pragma once

#include <string>
#include <vector>

#include "simplex/dual_testutil.h"
#include "velto.h"

namespace dualtest {

// The model of lp, in the checker's form (rows lo <= a'x <= up).
inline model api_model(VLTENVptr env, VLTLPptr lp) { return lpcheck::from_api(env, lp); }

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
