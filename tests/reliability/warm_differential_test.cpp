// Warm re-solves against cold solves of fresh copies, on random models and
// on small public models, by every method with presolve on and off.
#include <gtest/gtest.h>

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
  void report(const warmdiff::tally &t) {
    std::string all;
    for (const std::string &f : t.failures) all += "\n  " + f;
    EXPECT_TRUE(t.failures.empty()) << t.failures.size() << " disagreements:" << all;
    std::printf("%ld sequences, %ld solves, %ld compared (%ld optimal, %ld infeasible, %ld unbounded)\n",
                t.sequences, t.solves, t.compared, t.optimal, t.infeasible, t.unbounded);
  }
};

TEST_F(WarmDifferential, RandomModelsEverySetup) {
  warmdiff::tally t;
  const auto setups = warmdiff::all_setups();
  for (unsigned seed = 1; seed <= 4000; ++seed) {
    warmdiff::runner r(env, seed, t);
    VLTLPptr lp = r.random_model();
    ASSERT_NE(lp, nullptr);
    const warmdiff::setup &s = setups[seed % setups.size()];
    r.sequence(lp, s, 8, "random seed " + std::to_string(seed));
    VLTfreeprob(env, &lp);
  }
  report(t);
}

TEST_F(WarmDifferential, SmallNetlibModelsEverySetup) {
  const char *names[] = {"afiro", "kb2", "sc50a", "adlittle", "blend"};
  warmdiff::tally t;
  const auto setups = warmdiff::all_setups();
  int found = 0;
  for (const char *name : names) {
    const std::string path = velto_test::modelpath("netlib", name);
    if (FILE *f = std::fopen(path.c_str(), "rb")) std::fclose(f);
    else continue;
    ++found;
    for (unsigned k = 0; k < 100; ++k) {
      const unsigned seed = 7919 * (k + 1) + found;
      warmdiff::runner r(env, seed, t);
      int st = 0;
      VLTLPptr lp = VLTcreateprob(env, &st, name);
      ASSERT_EQ(VLTreadcopyprob(env, lp, path.c_str(), nullptr), 0) << path;
      const warmdiff::setup &s = setups[k % setups.size()];
      r.sequence(lp, s, 8, std::string(name) + " seed " + std::to_string(seed));
      VLTfreeprob(env, &lp);
    }
  }
  if (found == 0) GTEST_SKIP() << "no Netlib models under " << velto_test::datadir();
  report(t);
}

}  // namespace
