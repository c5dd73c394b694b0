// The heuristics on MIPLIB 3: within 100 nodes the search must hold an
// incumbent that passes the independent check (integrality, rows and
// bounds, objective recomputed from x), and every solution a heuristic
// hands to the store must pass the same check.  Prints per model the node
// and the method of the first heuristic incumbent.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "common/mipcheck.h"
#include "common/reference.h"
#include "mip/mipheur.h"
#include "velto.h"

using namespace velto_test;

namespace {

struct seenpoint {
  std::string method;
  int node;
  std::vector<double> x;
  double obj;
};

class MiplibHeur : public ::testing::TestWithParam<std::string> {};

TEST_P(MiplibHeur, IncumbentWithinHundredNodes) {
  const std::string name = GetParam();
  if (readreference("miplib3").empty()) GTEST_SKIP() << "MIPLIB 3 data not found under " << datadir();
  const std::string path = modelpath("miplib3", name);
  if (!std::ifstream(path).good()) GTEST_SKIP() << name << " is not in " << datadir() << "/miplib3";
  std::vector<seenpoint> seen;
  velto::heurwatch.ctx = &seen;
  velto::heurwatch.seen = [](void *ctx, const char *method, int node, const double *x, int n,
                             double obj) {
    static_cast<std::vector<seenpoint> *>(ctx)->push_back(
        {method, node, std::vector<double>(x, x + n), obj});
  };
  int status = 0;
  VLTENVptr env = VLTopenVELTO(&status);
  ASSERT_NE(env, nullptr);
  VLTLPptr lp = VLTcreateprob(env, &status, name.c_str());
  ASSERT_EQ(VLTreadcopyprob(env, lp, path.c_str(), nullptr), 0);
  VLTsetintparam(env, VLT_PARAM_MIPDISPLAY, 0);
  VLTsetintparam(env, VLT_PARAM_NODELIM, 100);
  VLTsetdblparam(env, VLT_PARAM_TILIM, 120.0);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  int st = VLTgetstat(env, lp);
  double z = 0;
  EXPECT_EQ(VLTgetmipobjval(env, lp, &z), 0) << name << ": no incumbent within 100 nodes, status " << st;
  mipcheck::verdict v = mipcheck::checkmip(env, lp);
  EXPECT_TRUE(v.ok) << name << ":" << v.why;
  for (const seenpoint &p : seen) {
    mipcheck::verdict pv = mipcheck::check(env, lp, p.x, p.obj);
    EXPECT_TRUE(pv.ok) << name << " " << p.method << " at node " << p.node << ":" << pv.why;
  }
  if (!seen.empty())
    std::printf("%-8s first heuristic incumbent at node %d by %s (%.6g); %zu in all; best %.6g\n",
                name.c_str(), seen[0].node, seen[0].method.c_str(), seen[0].obj, seen.size(), z);
  else
    std::printf("%-8s no heuristic incumbent; best %.6g\n", name.c_str(), z);
  velto::heurwatch = velto::heurwatcher();
  VLTfreeprob(env, &lp);
  VLTcloseVELTO(&env);
}

INSTANTIATE_TEST_SUITE_P(Miplib3, MiplibHeur,
                         ::testing::Values("p0201", "vpm1", "vpm2", "misc07", "bell5", "egout"),
                         [](const auto &info) { return info.param; });

}  // namespace
