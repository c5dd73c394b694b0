// Independent optimality check of the solution an optimizer left in lp: the
// model and the solution are read back through the public calls and checked
// by the shared LP checker.
#pragma once

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "common/lpcheck.h"
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

// Checks the solution of lp as VLTsolution gives it.  Values are in the
// user's sign: for a minimization pi of a 'L' row is <= 0 and of a 'G' row
// >= 0, dj >= 0 at a lower bound and <= 0 at an upper bound; a maximization
// flips them.  Primal violations are relative to max(1, |bound|).
inline lpcheck check_solution(VLTENVptr env, VLTLPptr lp, double ptol = 1e-6) {
  lpcheck r;
  const ::lpcheck::model md = ::lpcheck::from_api(env, lp);
  std::vector<double> x(md.n), pi(md.m), dj(md.n), slack(md.m);
  if (VLTsolution(env, lp, &r.lpstat, &r.objval, x.data(), pi.data(), slack.data(), dj.data())) {
    r.error = "VLTsolution failed";
    return r;
  }
  // The checker works in minimization sign.
  for (double &v : pi) v *= md.objsen;
  r.pinf = ::lpcheck::primal_violation(md, x, true);
  r.dinf = ::lpcheck::dual_violation(md, x, pi, ptol);
  const std::vector<double> d = ::lpcheck::reduced_costs(md, pi);
  for (int j = 0; j < md.n; ++j)
    r.djerr = std::max(r.djerr, std::fabs(d[j] - md.objsen * dj[j]) / ::lpcheck::dj_scale(md, pi, j));
  const double cx = md.objsen * ::lpcheck::objective(md, x);
  r.objerr = std::fabs(r.objval - cx) / std::max(1.0, std::fabs(cx));
  return r;
}

// Collects everything written to a channel.
struct capture {
  std::string text;
  static void take(void *h, const char *s) { static_cast<capture *>(h)->text += s; }
};

}  // namespace primal_test
