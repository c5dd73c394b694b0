// Optimality verdicts on the user's model for the presolve tests, from the
// shared LP checker: primal residuals, dual signs with complementarity,
// reduced costs recomputed from pi and the slacks, each with the place of
// its worst violation.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "common/lpcheck.h"
#include "velto.h"

namespace presolve_test {

using lpcheck::model;

inline model readmodel(VLTENVptr env, VLTLPptr lp) { return lpcheck::from_api(env, lp); }

struct verdict {
  double pinf = 0, dinf = 0, djerr = 0, slackerr = 0;
  double obj = 0;  // c'x + offset in the user's sign
  std::string worst;
  bool ok(double tol = 1e-6) const {
    return pinf <= tol && dinf <= tol && djerr <= tol && slackerr <= tol;
  }
};

inline std::string place(const model &d, int at) {
  return at < 0 ? std::string("none")
                : at < d.n ? "column " + std::to_string(at) : "row " + std::to_string(at - d.n);
}

inline verdict primal_check(const model &d, const std::vector<double> &x) {
  verdict v;
  int at = -1;
  v.pinf = lpcheck::primal_violation(d, x, true, &at);
  if (v.pinf > 1e-6) v.worst = place(d, at) + " infeasible";
  v.obj = d.objsen * lpcheck::objective(d, x);
  return v;
}

// Full check of x, pi (and slack, dj when given) in the user's signs.
inline verdict kkt_check(const model &d, const std::vector<double> &x,
                         const std::vector<double> &pi, const std::vector<double> *slack = nullptr,
                         const std::vector<double> *dj = nullptr) {
  verdict v = primal_check(d, x);
  std::vector<double> y(pi);
  for (double &e : y) e *= d.objsen;  // the checker's minimization sign
  int at = -1;
  v.dinf = lpcheck::dual_violation(d, x, y, 1e-6, &at);
  if (v.dinf > 1e-6) v.worst.append(" ").append(place(d, at)).append(" dual infeasible or not complementary");
  if (slack) {
    v.slackerr = lpcheck::slack_error(d, x, *slack, &at);
    if (v.slackerr > 1e-6) v.worst.append(" ").append(place(d, at)).append(" slack");
  }
  if (dj) {
    const std::vector<double> r = lpcheck::reduced_costs(d, y);
    for (int j = 0; j < d.n; ++j) {
      const double e = std::fabs(d.objsen * (*dj)[j] - r[j]) / lpcheck::dj_scale(d, y, j);
      if (e > v.djerr) {
        v.djerr = e;
        if (e > 1e-6) v.worst.append(" column ").append(std::to_string(j)).append(" reduced cost");
      }
    }
  }
  return v;
}

inline std::string describe(const verdict &v) {
  std::ostringstream os;
  os << "pinf " << v.pinf << " dinf " << v.dinf << " djerr " << v.djerr << " slackerr "
     << v.slackerr << " worst: " << v.worst;
  return os.str();
}

}  // namespace presolve_test
