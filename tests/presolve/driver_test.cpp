// The driver seen from the API: summary lines, verdicts of infeasibility and
// unboundedness with their statuses and messages, settings that switch
// reductions off, and the calls on the presolve record.
#include <gtest/gtest.h>

#include "presolve/lpbuild.h"

using namespace presolve_test;

namespace {

lpdef empty_columns_model() {
  lpdef d;
  int x1 = d.col(1, 0, 10);
  d.col(-1, 0, 4);
  d.col(0, -INF, INF);
  d.col(1, -1, 3);
  int x5 = d.col(2, 0, 5);
  d.row({{x1, 1}, {x5, 1}}, 'G', 1);
  return d;
}

TEST(PresolveDriver, SummaryLines) {
  outcome o = solve(empty_columns_model());
  EXPECT_NE(o.res.find("Tried aggregator 1 time.\n"), std::string::npos) << o.res;
  EXPECT_NE(o.res.find("LP Presolve eliminated 0 rows and 3 columns.\n"), std::string::npos) << o.res;
  EXPECT_NE(o.res.find("Reduced LP has 1 rows, 2 columns, and 2 nonzeros.\n"), std::string::npos) << o.res;
  EXPECT_NE(o.res.find("Presolve time = "), std::string::npos) << o.res;
  // Quiet with the display off.
  outcome q = solve(empty_columns_model(), 1, 3, 0);
  EXPECT_EQ(q.res.find("Presolve"), std::string::npos) << q.res;
}

TEST(PresolveDriver, NothingToReduceLeavesNoRecord) {
  lpdef d;
  int x1 = d.col(1, 0, INF), x2 = d.col(1, 0, INF);
  d.row({{x1, 1}, {x2, 2}}, 'G', 2);
  d.row({{x1, 3}, {x2, 1}}, 'G', 3);
  outcome o = solve(d);
  ASSERT_EQ(o.lpstat, 1);
  EXPECT_NEAR(o.obj, 1.4, 1e-12);
  EXPECT_EQ(o.prestat, 0);
  EXPECT_NE(o.res.find("No LP presolve or aggregator reductions.\n"), std::string::npos) << o.res;
}

TEST(PresolveDriver, ReduceZeroRunsNoReductionAndAggindZeroTriesNone) {
  outcome o = solve(empty_columns_model(), 1, 0);
  ASSERT_EQ(o.lpstat, 1);
  EXPECT_NEAR(o.obj, -4, 1e-12);
  EXPECT_EQ(o.prestat, 0);
  EXPECT_NE(o.res.find("No LP presolve or aggregator reductions.\n"), std::string::npos) << o.res;

  vtest::Env env;
  int st = 0;
  VLTLPptr lp = VLTcreateprob(env, &st, "agg");
  VLTsetintparam(env, VLT_PARAM_AGGIND, 0);
  ASSERT_EQ(empty_columns_model().load(env, lp), 0);
  ASSERT_EQ(VLTpresolve(env, lp, 1), 0);
  EXPECT_NE(env.res.all().find("Tried aggregator 0 times.\n"), std::string::npos) << env.res.all();
  VLTfreeprob(env, &lp);
}

// An empty row 0 >= 1.
lpdef infeasible_model() {
  lpdef d;
  int x1 = d.col(1, 0, INF), x2 = d.col(1, 0, INF);
  d.row({{x1, 1}, {x2, 1}}, 'G', 1);
  d.row({}, 'G', 1);
  return d;
}

// An empty column with a negative cost and no upper bound.
lpdef unbounded_model() {
  lpdef d;
  int x1 = d.col(1, 0, INF);
  d.col(-1, 0, INF);
  d.row({{x1, 1}}, 'G', 1);
  d.row({{x1, 1}}, 'L', 5);
  return d;
}

// Inside an optimizer a verdict of presolve is printed, and the optimizer
// then settles infeasible or unbounded on the user's model, with its
// certificate.
TEST(PresolveDriver, InfeasibleAndUnboundedVerdictsInsideTheOptimizer) {
  outcome o = solve(infeasible_model());
  EXPECT_EQ(o.status, 0);
  EXPECT_EQ(o.lpstat, 3);
  EXPECT_NE(o.res.find("Infeasibility row 'r2':  0 >= 1.\n"), std::string::npos) << o.res;
  EXPECT_EQ(o.err, "");
  EXPECT_EQ(solve(infeasible_model(), 1, 1).lpstat, 3);
  EXPECT_EQ(solve(infeasible_model(), 0).lpstat, 3);

  o = solve(unbounded_model());
  EXPECT_EQ(o.lpstat, 2);
  EXPECT_EQ(o.err, "");
  EXPECT_NE(o.res.find("Dual infeasible due to empty column 'x2'.\n"), std::string::npos) << o.res;
  EXPECT_EQ(solve(unbounded_model(), 1, 2).lpstat, 2);
  EXPECT_EQ(solve(unbounded_model(), 0).lpstat, 2);
}

TEST(PresolveDriver, VerdictsOfVLTpresolveAndTheirErrorLines) {
  struct cse {
    lpdef d;
    int reduce, predisp, status;
  } cases[] = {{infeasible_model(), 3, 1, 1101}, {infeasible_model(), 1, 1, 1117},
               {unbounded_model(), 2, 1, 1118}, {infeasible_model(), 1, 0, 1117}};
  for (const cse &c : cases) {
    vtest::Env env;
    int st = 0;
    VLTLPptr lp = VLTcreateprob(env, &st, "v");
    VLTsetintparam(env, VLT_PARAM_REDUCE, c.reduce);
    VLTsetintparam(env, VLT_PARAM_PREDISP, c.predisp);
    ASSERT_EQ(c.d.load(env, lp), 0);
    EXPECT_EQ(VLTpresolve(env, lp, 1), c.status);
    char text[1024];
    ASSERT_NE(VLTgeterrorstring(env, c.status, text), nullptr);
    if (c.predisp) {
      EXPECT_EQ(env.err.all(), std::string(text));
    } else {
      EXPECT_EQ(env.err.all(), "");
      EXPECT_EQ(env.res.all().find("Infeasibility"), std::string::npos);
    }
    VLTLPptr red = lp;
    EXPECT_EQ(VLTgetredlp(env, lp, &red), 0);
    EXPECT_EQ(red, nullptr);
    VLTfreeprob(env, &lp);
  }
}

TEST(PresolveDriver, InfeasibleBoundsAndImpliedInfeasibility) {
  lpdef d;
  int x1 = d.col(1, 3, 2), x2 = d.col(1, 0, INF);
  d.row({{x1, 1}, {x2, 1}}, 'G', 1);
  outcome o = solve(d);
  EXPECT_EQ(o.lpstat, 3);
  EXPECT_NE(o.res.find("Bound infeasibility column 'x1'.\n"), std::string::npos) << o.res;

  lpdef f;
  // Not parallel columns, so that no merge comes first.
  int y1 = f.col(1, 0, 1), y2 = f.col(1, 0, 1);
  f.row({{y1, 1}, {y2, 2}}, 'G', 4);
  o = solve(f);
  EXPECT_EQ(o.lpstat, 3);
  EXPECT_NE(o.res.find("Row 'r1' infeasible, all entries at implied bounds.\n"), std::string::npos)
      << o.res;
  EXPECT_EQ(solve(f, 0).lpstat, 3);

  lpdef s;
  int z1 = s.col(1, 0, INF);
  s.row({{z1, 2}}, 'E', -4);
  o = solve(s);
  EXPECT_EQ(o.lpstat, 3);
  EXPECT_NE(o.res.find("Infeasible column 'x1'.\n"), std::string::npos) << o.res;
}

TEST(PresolveDriver, RecordCalls) {
  vtest::Env env;
  int st = 0;
  VLTLPptr lp = VLTcreateprob(env, &st, "rec");
  VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0);
  lpdef d = empty_columns_model();
  ASSERT_EQ(d.load(env, lp), 0);
  double x[5] = {0}, rx[2] = {0};
  EXPECT_EQ(VLTuncrushx(env, lp, x, rx), 1103);
  EXPECT_EQ(VLTcrushx(env, lp, x, rx), 1103);
  VLTLPptr red = nullptr;
  EXPECT_EQ(VLTgetredlp(env, lp, nullptr), 1004);
  ASSERT_EQ(VLTpresolve(env, lp, 1), 0);
  ASSERT_EQ(VLTgetredlp(env, lp, &red), 0);
  ASSERT_NE(red, nullptr);
  EXPECT_EQ(VLTgetnumcols(env, red), 2);
  int prestat = -1, pc[5], pr[1], oc[2], orr[1];
  ASSERT_EQ(VLTgetprestat(env, lp, &prestat, pc, pr, oc, orr), 0);
  EXPECT_EQ(prestat, 1);
  EXPECT_EQ(pc[0], 0);
  EXPECT_EQ(pc[1], -2);  // at its upper bound
  EXPECT_EQ(pc[3], -1);  // at its lower bound
  EXPECT_EQ(pc[4], 1);
  EXPECT_EQ(oc[1], 4);
  EXPECT_EQ(orr[0], 0);
  EXPECT_EQ(VLTEgetorigcolind(env, lp, 1), 4);
  EXPECT_EQ(VLTEgetorigrowind(env, lp, 0), 0);
  EXPECT_EQ(VLTgetprestat(env, lp, nullptr, nullptr, nullptr, nullptr, nullptr), 1004);
  // A change to the model discards the record.
  int idx = 0;
  char lu = 'U';
  double bd = 9;
  ASSERT_EQ(VLTchgbds(env, lp, 1, &idx, &lu, &bd), 0);
  ASSERT_EQ(VLTgetprestat(env, lp, &prestat, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(prestat, 0);
  ASSERT_EQ(VLTpresolve(env, lp, 1), 0);
  EXPECT_EQ(VLTfreepresolve(env, lp), 0);
  ASSERT_EQ(VLTgetredlp(env, lp, &red), 0);
  EXPECT_EQ(red, nullptr);
  VLTfreeprob(env, &lp);
}

}  // namespace

namespace {

TEST(PresolveDriver, ModelWithoutRowsIsSolvedByPresolveAlone) {
  lpdef d;
  d.col(1, 0, 1);
  d.col(-1, 0, 3);
  d.col(0, -2, 2);
  outcome o = solve(d);
  ASSERT_EQ(o.lpstat, 1);
  EXPECT_EQ(o.prestat, 2);
  EXPECT_NEAR(o.obj, -3, 1e-12);
  EXPECT_EQ(o.x, (std::vector<double>{0, 3, -2}));
  EXPECT_TRUE(o.final.ok()) << describe(o.final);
}

}  // namespace
