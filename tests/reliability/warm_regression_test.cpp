// Regression tests of warm re-solves, of the verdict for a model without a
// primal or a dual feasible point, and of limits under presolve.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "common/lpcheck.h"
#include "common/reference.h"
#include "velto.h"

namespace {

bool readable(const std::string &path) {
  FILE *f = std::fopen(path.c_str(), "rb");
  if (f) std::fclose(f);
  return f != nullptr;
}

struct WarmRegression : ::testing::Test {
  VLTENVptr env = nullptr;
  void SetUp() override {
    int st = 0;
    env = VLTopenVELTO(&st);
    ASSERT_NE(env, nullptr);
  }
  void TearDown() override { VLTcloseVELTO(&env); }

  VLTLPptr load(int n, int m, int objsen, std::vector<double> obj, std::vector<double> rhs,
                std::string sense, std::vector<int> beg, std::vector<int> cnt,
                std::vector<int> ind, std::vector<double> val, std::vector<double> lb,
                std::vector<double> ub) {
    int st = 0;
    VLTLPptr lp = VLTcreateprob(env, &st, "t");
    EXPECT_NE(lp, nullptr);
    EXPECT_EQ(VLTcopylp(env, lp, n, m, objsen, obj.data(), rhs.data(), sense.data(), beg.data(),
                        cnt.data(), ind.data(), val.data(), lb.data(), ub.data(), nullptr),
              0);
    return lp;
  }

  std::vector<double> getx(VLTLPptr lp) {
    const int n = VLTgetnumcols(env, lp);
    std::vector<double> x(n);
    EXPECT_EQ(VLTgetx(env, lp, x.data(), 0, n - 1), 0);
    return x;
  }

  // Optimal, primal and dual feasible by the independent check.
  void expect_optimal(VLTLPptr lp) {
    ASSERT_EQ(VLTgetstat(env, lp), 1);
    const lpcheck::model md = lpcheck::from_api(env, lp);
    const std::vector<double> x = getx(lp);
    std::vector<double> y(md.m);
    ASSERT_EQ(VLTgetpi(env, lp, y.data(), 0, md.m - 1), 0);
    if (md.objsen == -1)
      for (double &v : y) v = -v;
    EXPECT_LE(lpcheck::primal_violation(md, x, true), 1e-6);
    EXPECT_LE(lpcheck::dual_violation(md, x, y, 1e-7), 1e-6);
  }

  // Unbounded, with a feasible point and a ray of negative cost checked on
  // the model.
  void expect_unbounded(VLTLPptr lp) {
    ASSERT_EQ(VLTgetstat(env, lp), 2);
    int solnmethod = 0, type = 0, pfeas = -1, dfeas = -1;
    ASSERT_EQ(VLTsolninfo(env, lp, &solnmethod, &type, &pfeas, &dfeas), 0);
    EXPECT_EQ(pfeas, 1);
    const lpcheck::model md = lpcheck::from_api(env, lp);
    EXPECT_LE(lpcheck::primal_violation(md, getx(lp), true), 1e-6);
    std::vector<double> r(md.n);
    ASSERT_EQ(VLTgetray(env, lp, r.data()), 0);
    double cr = 0.0;
    EXPECT_LE(lpcheck::ray_violation(md, r, &cr), 1e-6);
    EXPECT_LT(cr, 0.0);
  }

  // The warm answer of lp against a cold solve of a fresh copy.
  void expect_same_as_cold(VLTLPptr lp) {
    int st = 0;
    VLTLPptr cold = VLTcloneprob(env, lp, &st);
    ASSERT_NE(cold, nullptr);
    ASSERT_EQ(VLTlpopt(env, cold), 0);
    EXPECT_EQ(VLTgetstat(env, lp), VLTgetstat(env, cold));
    double ow = 0.0, oc = 0.0;
    EXPECT_EQ(VLTgetobjval(env, lp, &ow), 0);
    EXPECT_EQ(VLTgetobjval(env, cold, &oc), 0);
    EXPECT_NEAR(ow, oc, 1e-9 * std::max({1.0, std::fabs(ow), std::fabs(oc)}));
    VLTfreeprob(env, &cold);
  }
};

// y + x1 + x2 = 0.8 with x1 in [0, 0.7], x2 in [0, 0.1]: once y is fixed
// at 0, both boxes must be used up to the last rounding bit.  The dual's
// bound-flipping ratio test passed both breakpoints, the row was left
// feasible within rounding, and "no entering variable" was taken for a
// proof of infeasibility.
TEST_F(WarmRegression, DualFalseInfeasibleWhenFlipsExactlyReachTheBound) {
  for (int method : {2, 0}) {
    for (double lo : {0.7, 0.1}) {
      SCOPED_TRACE("method " + std::to_string(method) + " first box " + std::to_string(lo));
      VLTsetintparam(env, VLT_PARAM_LPMETHOD, method);
      VLTLPptr lp = load(3, 1, 1, {0.0, 1.0, 2.0}, {0.8}, "E", {0, 1, 2}, {1, 1, 1}, {0, 0, 0},
                         {1.0, 1.0, 1.0}, {0.0, 0.0, 0.0}, {1e20, lo, 0.8 - lo});
      ASSERT_EQ(VLTlpopt(env, lp), 0);
      expect_optimal(lp);
      const int j = 0;
      const char u = 'U';
      const double zero = 0.0;
      ASSERT_EQ(VLTchgbds(env, lp, 1, &j, &u, &zero), 0);
      ASSERT_EQ(VLTlpopt(env, lp), 0);
      expect_optimal(lp);
      const std::vector<double> x = getx(lp);
      EXPECT_NEAR(x[1] + x[2], 0.8, 1e-9);
      expect_same_as_cold(lp);
      VLTfreeprob(env, &lp);
    }
  }
}

// The change sequence of the report on kb2: two costs and an upper bound of
// 0, then a warm re-solve by the dual (and the automatic choice) said
// infeasible while the model has an optimum.
TEST_F(WarmRegression, KbTwoWarmDualAfterCostAndBoundChangesSaidInfeasible) {
  const std::string path = velto_test::modelpath("netlib", "kb2");
  if (!readable(path)) GTEST_SKIP() << "kb2 not found under " << velto_test::datadir();
  for (int method : {2, 0}) {
    for (int pre : {1, 0}) {
      SCOPED_TRACE("method " + std::to_string(method) + " presolve " + std::to_string(pre));
      VLTsetintparam(env, VLT_PARAM_LPMETHOD, method);
      VLTsetintparam(env, VLT_PARAM_PREIND, pre);
      int st = 0;
      VLTLPptr lp = VLTcreateprob(env, &st, "kb2");
      ASSERT_EQ(VLTreadcopyprob(env, lp, path.c_str(), nullptr), 0);
      ASSERT_EQ(VLTlpopt(env, lp), 0);
      expect_optimal(lp);
      int j = 38;
      double v = 2.48572;
      ASSERT_EQ(VLTchgobj(env, lp, 1, &j, &v), 0);
      j = 29;
      v = 0.0;
      const char u = 'U';
      ASSERT_EQ(VLTchgbds(env, lp, 1, &j, &u, &v), 0);
      j = 16;
      v = -2.06538;
      ASSERT_EQ(VLTchgobj(env, lp, 1, &j, &v), 0);
      ASSERT_EQ(VLTlpopt(env, lp), 0);
      expect_optimal(lp);
      expect_same_as_cold(lp);
      VLTfreeprob(env, &lp);
    }
  }
}

// min -x - y, x - y >= 1, -x + y >= 1, x, y >= 0: neither the model nor its
// dual has a feasible point.  The dual method found no dual feasible point
// and reported "unbounded" without a feasible point.  The verdict is
// settled on primal feasibility: infeasible, with a Farkas proof from the
// dual; "unbounded" only with a feasible point and a ray.
TEST_F(WarmRegression, NoPrimalNorDualFeasiblePointWasCalledUnbounded) {
  for (int method : {0, 1, 2}) {
    for (int pre : {1, 0}) {
      SCOPED_TRACE("method " + std::to_string(method) + " presolve " + std::to_string(pre));
      VLTsetintparam(env, VLT_PARAM_LPMETHOD, method);
      VLTsetintparam(env, VLT_PARAM_PREIND, pre);
      VLTLPptr lp = load(2, 2, 1, {-1.0, -1.0}, {1.0, 1.0}, "GG", {0, 2}, {2, 2},
                         {0, 1, 0, 1}, {1.0, -1.0, -1.0, 1.0}, {0.0, 0.0}, {1e20, 1e20});
      ASSERT_EQ(VLTlpopt(env, lp), 0);
      EXPECT_EQ(VLTgetstat(env, lp), 3);
      int solnmethod = 0, type = 0, pfeas = -1, dfeas = -1;
      ASSERT_EQ(VLTsolninfo(env, lp, &solnmethod, &type, &pfeas, &dfeas), 0);
      EXPECT_EQ(pfeas, 0);
      if (method != 1) {
        EXPECT_EQ(dfeas, 0);
        std::vector<double> y(2);
        double proof = 0.0;
        ASSERT_EQ(VLTdualfarkas(env, lp, y.data(), &proof), 0);
        EXPECT_GT(lpcheck::farkas_gap(lpcheck::from_api(env, lp), y), 0.0);
        EXPECT_GT(proof, 0.0);
      }
      VLTfreeprob(env, &lp);
    }
  }
}

// The same dual phase 1 outcome on a model that has a feasible point:
// min -x - y, x - y >= 1, x, y >= 0 is unbounded, and the answer carries a
// feasible point and a ray of negative cost.
TEST_F(WarmRegression, NoDualFeasiblePointWithAFeasiblePointIsUnboundedWithPointAndRay) {
  for (int method : {0, 2}) {
    SCOPED_TRACE("method " + std::to_string(method));
    VLTsetintparam(env, VLT_PARAM_LPMETHOD, method);
    VLTsetintparam(env, VLT_PARAM_PREIND, 0);
    VLTLPptr lp = load(2, 1, 1, {-1.0, -1.0}, {1.0}, "G", {0, 1}, {1, 1}, {0, 0}, {1.0, -1.0},
                       {0.0, 0.0}, {1e20, 1e20});
    ASSERT_EQ(VLTlpopt(env, lp), 0);
    expect_unbounded(lp);
    VLTfreeprob(env, &lp);
  }
}

// recipe with two costs made negative is unbounded.  The dual's phase 1
// ended each time with cost shifts; removing them and starting phase 1
// again went on until the round limit, and the run ended "aborted".
TEST_F(WarmRegression, DualPhaseOneEndingWithShiftsRestartedUntilAbort) {
  const std::string path = velto_test::modelpath("netlib", "recipe");
  if (!readable(path)) GTEST_SKIP() << "recipe not found under " << velto_test::datadir();
  for (int pre : {0, 1}) {
    SCOPED_TRACE("presolve " + std::to_string(pre));
    VLTsetintparam(env, VLT_PARAM_LPMETHOD, 2);
    VLTsetintparam(env, VLT_PARAM_PREIND, pre);
    int st = 0;
    VLTLPptr lp = VLTcreateprob(env, &st, "recipe");
    ASSERT_EQ(VLTreadcopyprob(env, lp, path.c_str(), nullptr), 0);
    const int ind[2] = {41, 34};
    const double val[2] = {-1.0, -5.0};
    ASSERT_EQ(VLTchgobj(env, lp, 2, ind, val), 0);
    ASSERT_EQ(VLTlpopt(env, lp), 0);
    expect_unbounded(lp);
    VLTfreeprob(env, &lp);
  }
}

// "Unbounded or infeasible" only when a limit stops the search for a
// feasible point; an answer is never "unbounded" for the model above.
TEST_F(WarmRegression, NoPrimalNorDualFeasiblePointUnderIterationLimits) {
  bool saw4 = false;
  for (int method : {0, 2}) {
    for (int lim = 0; lim <= 6; ++lim) {
      VLTsetintparam(env, VLT_PARAM_LPMETHOD, method);
      VLTsetintparam(env, VLT_PARAM_PREIND, 0);
      VLTsetintparam(env, VLT_PARAM_ITLIM, lim);
      VLTLPptr lp = load(2, 2, 1, {-1.0, -1.0}, {1.0, 1.0}, "GG", {0, 2}, {2, 2},
                         {0, 1, 0, 1}, {1.0, -1.0, -1.0, 1.0}, {0.0, 0.0}, {1e20, 1e20});
      ASSERT_EQ(VLTlpopt(env, lp), 0);
      const int stat = VLTgetstat(env, lp);
      EXPECT_TRUE(stat == 3 || stat == 4 || stat == 10) << "limit " << lim << " status " << stat;
      EXPECT_LE(VLTgetitcnt(env, lp), lim);
      if (stat == 4) {
        saw4 = true;
        int solnmethod = 0, type = 0, pfeas = -1, dfeas = -1;
        ASSERT_EQ(VLTsolninfo(env, lp, &solnmethod, &type, &pfeas, &dfeas), 0);
        EXPECT_EQ(pfeas, 0);
        EXPECT_EQ(dfeas, 0);
      }
      VLTfreeprob(env, &lp);
    }
  }
  EXPECT_TRUE(saw4) << "no limit stopped the search between the two phases";
}

// A transportation model with fixed columns and singleton rows, so that
// presolve reduces it and the reduced problem takes many iterations.  With
// presolve on, ITLIM n gave the reduced problem n iterations and the
// clean-up n more.
VLTLPptr transport(VLTENVptr env, int k) {
  const int n = k * k + 2, m = 2 * k + 1;
  std::vector<double> obj(n), lb(n, 0.0), ub(n, 1e20), rhs(m), val;
  std::vector<int> beg(n), cnt(n), ind;
  std::string sense(m, 'L');
  for (int s = 0; s < k; ++s)
    for (int d = 0; d < k; ++d) {
      const int j = s * k + d;
      obj[j] = 1 + (7 * s + 11 * d + s * d) % 17;
      beg[j] = static_cast<int>(ind.size());
      ind.push_back(s);
      val.push_back(1.0);
      ind.push_back(k + d);
      val.push_back(1.0);
      cnt[j] = 2;
    }
  for (int s = 0; s < k; ++s) rhs[s] = 10 + (3 * s) % 7;
  for (int d = 0; d < k; ++d) {
    sense[k + d] = 'G';
    rhs[k + d] = 8 + (5 * d) % 4;
  }
  // A fixed column and a column alone in a singleton row.
  const int f = k * k, g = k * k + 1;
  obj[f] = 3.0;
  lb[f] = ub[f] = 2.0;
  beg[f] = static_cast<int>(ind.size());
  ind.push_back(0);
  val.push_back(1.0);
  cnt[f] = 1;
  obj[g] = 1.0;
  beg[g] = static_cast<int>(ind.size());
  ind.push_back(2 * k);
  val.push_back(1.0);
  cnt[g] = 1;
  sense[2 * k] = 'G';
  rhs[2 * k] = 4.0;
  int st = 0;
  VLTLPptr lp = VLTcreateprob(env, &st, "transport");
  EXPECT_EQ(VLTcopylp(env, lp, n, m, 1, obj.data(), rhs.data(), sense.data(), beg.data(),
                      cnt.data(), ind.data(), val.data(), lb.data(), ub.data(), nullptr),
            0);
  return lp;
}

TEST_F(WarmRegression, IterationLimitDoubledUnderPresolve) {
  for (int method : {2, 1, 0}) {
    SCOPED_TRACE("method " + std::to_string(method));
    VLTsetintparam(env, VLT_PARAM_LPMETHOD, method);
    VLTsetintparam(env, VLT_PARAM_PREIND, 1);
    VLTsetintparam(env, VLT_PARAM_ITLIM, 2100000000);
    VLTLPptr lp = transport(env, 12);
    ASSERT_EQ(VLTlpopt(env, lp), 0);
    expect_optimal(lp);
    const int full = VLTgetitcnt(env, lp);
    VLTfreeprob(env, &lp);
    ASSERT_GT(full, 4);
    for (int lim = 0; lim < full; lim += std::max(1, full / 12)) {
      VLTsetintparam(env, VLT_PARAM_ITLIM, lim);
      lp = transport(env, 12);
      ASSERT_EQ(VLTlpopt(env, lp), 0);
      EXPECT_LE(VLTgetitcnt(env, lp), lim) << "limit " << lim;
      const int stat = VLTgetstat(env, lp);
      EXPECT_TRUE(stat == 1 || stat == 10) << "limit " << lim << " status " << stat;
      VLTfreeprob(env, &lp);
    }
  }
}

}  // namespace
