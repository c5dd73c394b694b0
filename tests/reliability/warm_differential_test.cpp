// Warm re-solves against cold solves of fresh copies, on random models and
// on small public models, by every method with presolve on and off.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "common/reference.h"
#include "reliability/warm_diff.h"

namespace {

struct WarmDifferential : ::testing::Test {
  VLTENVptr env = nullptr;
  void SetUp() override {
    int st = 0;
    env = VLTopenVELTO(&st);
    ASSERT_NE(env, nullptr);
    // A run that cycles shows as a status 10 disagreement, not a hang.
    VLTsetintparam(env, VLT_PARAM_ITLIM, 20000);
  }
  void TearDown() override { VLTcloseVELTO(&env); }
};

TEST_F(WarmDifferential, RandomModelsEverySetup) {
  warmdiff::tally t;
  warmdiff::run_random(env, 1, 4000, 8, t);
  EXPECT_TRUE(t.failures.empty()) << warmdiff::summary(t);
  std::printf("%s\n", warmdiff::summary(t).c_str());
}

TEST_F(WarmDifferential, SmallNetlibModelsEverySetup) {
  warmdiff::tally t;
  const int found = warmdiff::run_netlib(env, velto_test::datadir(),
                                         {"afiro", "kb2", "sc50a", "adlittle", "blend"}, 100,
                                         7919, 8, t);
  if (found == 0) GTEST_SKIP() << "no Netlib models under " << velto_test::datadir();
  EXPECT_TRUE(t.failures.empty()) << warmdiff::summary(t);
  std::printf("%s\n", warmdiff::summary(t).c_str());
}

}  // namespace
