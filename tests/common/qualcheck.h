// Quality measures of a solution (VLTgetdblquality and kin) checked against
// the independent checker's recomputation from the model (lpcheck.h).
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "common/lpcheck.h"
#include "velto.h"

namespace qualcheck {

struct point {
  std::vector<double> x, slack, pi, dj;
};

inline point readpoint(VLTENVptr env, VLTLPptr lp) {
  const int n = VLTgetnumcols(env, lp), m = VLTgetnumrows(env, lp);
  point p;
  p.x.resize(n);
  p.slack.resize(m);
  p.pi.resize(m);
  p.dj.resize(n);
  VLTgetx(env, lp, p.x.data(), 0, n - 1);
  VLTgetslack(env, lp, p.slack.data(), 0, m - 1);
  VLTgetpi(env, lp, p.pi.data(), 0, m - 1);
  VLTgetdj(env, lp, p.dj.data(), 0, n - 1);
  return p;
}

inline double quality(VLTENVptr env, VLTLPptr lp, int what) {
  double v = -1.0;
  EXPECT_EQ(VLTgetdblquality(env, lp, &v, what), 0) << what;
  return v;
}

// The measures against the checker's own recomputation from the model.
inline void expect_measures_agree(VLTENVptr env, VLTLPptr lp, const std::string &name) {
  const lpcheck::model md = lpcheck::from_api(env, lp);
  const point p = readpoint(env, lp);
  // Primal infeasibility: the checker's largest bound or row violation of
  // x, where the rows are measured by the slacks the library reports; the
  // two agree to the size of the residuals.
  const double resid = quality(env, lp, VLT_QUAL_MAX_PRIMAL_RESIDUAL);
  int at = -1;
  const double pv = lpcheck::primal_violation(md, p.x, false, &at);
  EXPECT_NEAR(quality(env, lp, VLT_QUAL_MAX_PRIMAL_INFEAS), pv, 1e-9 + 2 * resid) << name;
  // Residuals of the rows, recomputed.
  const std::vector<double> ax = lpcheck::activity(md, p.x);
  double rmax = 0.0;
  for (int i = 0; i < md.m; ++i) {
    const double want = md.sense[i] == 'R' ? ax[i] - md.rhs[i] : md.rhs[i] - ax[i];
    rmax = std::max(rmax, std::fabs(want - p.slack[i]));
  }
  EXPECT_NEAR(resid, rmax, 1e-12 + 1e-12 * rmax) << name;
  int index = -2;
  double cax = VLTcheckax(env, lp, &index, 0);
  EXPECT_EQ(cax, resid) << name;
  if (rmax > 0.0) {
    ASSERT_GE(index, 0);
    const double want = md.sense[index] == 'R' ? ax[index] - md.rhs[index] : md.rhs[index] - ax[index];
    EXPECT_NEAR(std::fabs(want - p.slack[index]), rmax, 1e-12 + 1e-9 * rmax) << name;
  }
  // Dual residuals: c - A'pi - d in the user's sign.
  std::vector<double> y(md.m);
  for (int i = 0; i < md.m; ++i) y[i] = md.objsen * p.pi[i];
  const std::vector<double> d = lpcheck::reduced_costs(md, y);
  double dmax = 0.0;
  for (int j = 0; j < md.n; ++j) dmax = std::max(dmax, std::fabs(d[j] - md.objsen * p.dj[j]));
  EXPECT_NEAR(quality(env, lp, VLT_QUAL_MAX_DUAL_RESIDUAL), dmax, 1e-12 + 1e-9 * dmax) << name;
  EXPECT_EQ(VLTcheckpib(env, lp, nullptr, 0), quality(env, lp, VLT_QUAL_MAX_DUAL_RESIDUAL));
  // The objectives: the primal one is c'x; at an optimum the dual one meets it.
  const double primal = md.objsen * lpcheck::objective(md, p.x);
  EXPECT_NEAR(quality(env, lp, VLT_QUAL_PRIMAL_OBJ), primal, 1e-9 * (1 + std::fabs(primal)))
      << name;
  if (VLTgetstat(env, lp) == 1) {
    EXPECT_NEAR(quality(env, lp, VLT_QUAL_DUAL_OBJ), primal, 1e-6 * (1 + std::fabs(primal)))
        << name;
    EXPECT_LE(std::fabs(quality(env, lp, VLT_QUAL_OBJ_GAP)), 1e-6 * (1 + std::fabs(primal)));
    // Dual feasibility of an optimum, in the checker's terms and in ours.
    EXPECT_LE(lpcheck::dual_violation(md, p.x, y, 1e-6), 1e-6) << name;
    EXPECT_LE(quality(env, lp, VLT_QUAL_MAX_DUAL_INFEAS), 1e-6) << name;
    EXPECT_LE(quality(env, lp, VLT_QUAL_MAX_COMP_SLACK), 1e-6 * (1 + std::fabs(primal))) << name;
  }
  // Sizes.
  double xmax = 0.0, xsum = 0.0;
  for (double v : p.x) {
    xmax = std::max(xmax, std::fabs(v));
    xsum += std::fabs(v);
  }
  EXPECT_EQ(quality(env, lp, VLT_QUAL_MAX_X), xmax);
  EXPECT_NEAR(quality(env, lp, VLT_QUAL_SUM_X), xsum, 1e-12 * (1 + xsum));
  // The model is not held scaled: scaled measures equal the unscaled ones.
  for (int code : {1, 3, 5, 7, 11, 13, 15, 17, 23, 25, 29, 31, 33, 35, 37})
    EXPECT_EQ(quality(env, lp, code), quality(env, lp, code + 1)) << code;
  // Except the scaled largest slack, which leaves out equality rows.
  double smax = 0.0, smaxne = 0.0;
  for (int i = 0; i < md.m; ++i) {
    smax = std::max(smax, std::fabs(p.slack[i]));
    if (md.sense[i] != 'E') smaxne = std::max(smaxne, std::fabs(p.slack[i]));
  }
  EXPECT_EQ(quality(env, lp, VLT_QUAL_MAX_SLACK), smax);
  EXPECT_EQ(quality(env, lp, VLT_QUAL_MAX_SCALED_SLACK), smaxne);
}

}  // namespace qualcheck
