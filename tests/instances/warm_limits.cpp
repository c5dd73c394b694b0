// Limits cover a whole optimizer call with presolve on: the reduced
// problem, the postsolve and the clean-up on the user's model together.
// ITLIM n stops at n iterations or fewer in total, TILIM t within t + 0.1 s
// of wall time, on two models large enough for presolve to matter.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>

#include "common/reference.h"
#include "velto.h"

namespace {

struct limits_case {
  const char *model;
  int lpmethod;
};

class WarmLimits : public ::testing::TestWithParam<limits_case> {
 protected:
  VLTENVptr env = nullptr;
  VLTLPptr lp = nullptr;
  void SetUp() override {
    const std::string path = velto_test::modelpath("netlib", GetParam().model);
    if (FILE *f = std::fopen(path.c_str(), "rb")) std::fclose(f);
    else GTEST_SKIP() << path << " not found (set VELTO_DATA)";
    int st = 0;
    env = VLTopenVELTO(&st);
    ASSERT_NE(env, nullptr);
    lp = VLTcreateprob(env, &st, GetParam().model);
    ASSERT_EQ(VLTreadcopyprob(env, lp, path.c_str(), nullptr), 0);
    VLTsetintparam(env, VLT_PARAM_PREIND, 1);
    VLTsetintparam(env, VLT_PARAM_LPMETHOD, GetParam().lpmethod);
  }
  void TearDown() override {
    if (lp) VLTfreeprob(env, &lp);
    if (env) VLTcloseVELTO(&env);
  }
  // A fresh copy, so that no basis of an earlier run is used.
  VLTLPptr fresh() {
    int st = 0;
    return VLTcloneprob(env, lp, &st);
  }
};

TEST_P(WarmLimits, IterationLimitCoversTheWholeCall) {
  for (int lim : {100, 1000}) {
    VLTsetintparam(env, VLT_PARAM_ITLIM, lim);
    VLTLPptr q = fresh();
    ASSERT_NE(q, nullptr);
    ASSERT_EQ(VLTlpopt(env, q), 0);
    EXPECT_EQ(VLTgetstat(env, q), 10) << "limit " << lim;
    EXPECT_LE(VLTgetitcnt(env, q), lim);
    VLTfreeprob(env, &q);
  }
}

TEST_P(WarmLimits, TimeLimitCoversTheWholeCall) {
  VLTsetdblparam(env, VLT_PARAM_TILIM, 1.0);
  VLTLPptr q = fresh();
  ASSERT_NE(q, nullptr);
  const auto t0 = std::chrono::steady_clock::now();
  ASSERT_EQ(VLTlpopt(env, q), 0);
  const double dt = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  EXPECT_EQ(VLTgetstat(env, q), 11);
  EXPECT_LE(dt, 1.1);
  VLTfreeprob(env, &q);
}

INSTANTIATE_TEST_SUITE_P(Netlib, WarmLimits,
                         ::testing::Values(limits_case{"dfl001", 2}, limits_case{"dfl001", 1},
                                           limits_case{"dfl001", 0}, limits_case{"pilot87", 2},
                                           limits_case{"pilot87", 1}, limits_case{"pilot87", 0}),
                         [](const ::testing::TestParamInfo<limits_case> &i) {
                           return std::string(i.param.model) + "_method" +
                                  std::to_string(i.param.lpmethod);
                         });

}  // namespace
