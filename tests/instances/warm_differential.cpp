// The long run of the warm re-solve differential test: seeds apart from the
// unit suite's, longer sequences, and more of the small Netlib models.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "common/reference.h"
#include "reliability/warm_diff.h"

namespace {

void report(const warmdiff::tally &t) {
  std::string all;
  for (const std::string &f : t.failures) all += "\n  " + f;
  EXPECT_TRUE(t.failures.empty()) << t.failures.size() << " disagreements:" << all;
  std::printf("%ld sequences, %ld solves, %ld compared (%ld optimal, %ld infeasible, %ld unbounded)\n",
              t.sequences, t.solves, t.compared, t.optimal, t.infeasible, t.unbounded);
}

TEST(WarmDifferentialLong, RandomModels) {
  int st = 0;
  VLTENVptr env = VLTopenVELTO(&st);
  ASSERT_NE(env, nullptr);
  VLTsetintparam(env, VLT_PARAM_ITLIM, 20000);
  warmdiff::tally t;
  const auto setups = warmdiff::all_setups();
  for (unsigned seed = 1000001; seed <= 1020000; ++seed) {
    warmdiff::runner r(env, seed, t);
    VLTLPptr lp = r.random_model();
    ASSERT_NE(lp, nullptr);
    r.sequence(lp, setups[seed % setups.size()], 12, "random seed " + std::to_string(seed));
    VLTfreeprob(env, &lp);
  }
  report(t);
  VLTcloseVELTO(&env);
}

TEST(WarmDifferentialLong, SmallNetlibModels) {
  const char *names[] = {"afiro", "kb2", "sc50a", "sc50b", "adlittle", "blend", "sc105",
                         "stocfor1", "share2b", "recipe", "boeing2", "israel"};
  int st = 0;
  VLTENVptr env = VLTopenVELTO(&st);
  ASSERT_NE(env, nullptr);
  VLTsetintparam(env, VLT_PARAM_ITLIM, 20000);
  warmdiff::tally t;
  const auto setups = warmdiff::all_setups();
  int found = 0;
  for (const char *name : names) {
    const std::string path = velto_test::modelpath("netlib", name);
    if (FILE *f = std::fopen(path.c_str(), "rb")) std::fclose(f);
    else continue;
    ++found;
    for (unsigned k = 0; k < 200; ++k) {
      const unsigned seed = 500009 * (k + 1) + found;
      warmdiff::runner r(env, seed, t);
      VLTLPptr lp = VLTcreateprob(env, &st, name);
      ASSERT_EQ(VLTreadcopyprob(env, lp, path.c_str(), nullptr), 0) << path;
      r.sequence(lp, setups[k % setups.size()], 10, std::string(name) + " seed " + std::to_string(seed));
      VLTfreeprob(env, &lp);
    }
  }
  VLTcloseVELTO(&env);
  if (found == 0) GTEST_SKIP() << "no Netlib models under " << velto_test::datadir();
  report(t);
}

}  // namespace
