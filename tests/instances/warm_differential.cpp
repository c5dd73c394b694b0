// The long run of the warm re-solve differential test: seeds apart from the
// unit suite's, longer sequences, and more of the small Netlib models.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "common/reference.h"
#include "reliability/warm_diff.h"

namespace {

struct WarmDifferentialLong : ::testing::Test {
  VLTENVptr env = nullptr;
  void SetUp() override {
    int st = 0;
    env = VLTopenVELTO(&st);
    ASSERT_NE(env, nullptr);
    VLTsetintparam(env, VLT_PARAM_ITLIM, 20000);
  }
  void TearDown() override { VLTcloseVELTO(&env); }
};

TEST_F(WarmDifferentialLong, RandomModels) {
  warmdiff::tally t;
  warmdiff::run_random(env, 1000001, 1020000, 12, t);
  EXPECT_TRUE(t.failures.empty()) << warmdiff::summary(t);
  std::printf("%s\n", warmdiff::summary(t).c_str());
}

TEST_F(WarmDifferentialLong, SmallNetlibModels) {
  warmdiff::tally t;
  const int found = warmdiff::run_netlib(
      env, velto_test::datadir(),
      {"afiro", "kb2", "sc50a", "sc50b", "adlittle", "blend", "sc105", "stocfor1", "share2b",
       "recipe", "boeing2", "israel"},
      200, 500009, 10, t);
  if (found == 0) GTEST_SKIP() << "no Netlib models under " << velto_test::datadir();
  EXPECT_TRUE(t.failures.empty()) << warmdiff::summary(t);
  std::printf("%s\n", warmdiff::summary(t).c_str());
}

}  // namespace
