// Each reduction on a model where it fires, judged by the solution on the
// user's model: the known optimum, the optimality check of the optimizer's
// answer and of the reduced optimum carried back, and a postsolved basis
// that needs no further iteration.
#include <gtest/gtest.h>

#include "presolve/lpbuild.h"

using namespace presolve_test;

namespace {

TEST(PresolveReductions, FixedColumnsIncludingAHairlineBox) {
  lpdef d;
  int x1 = d.col(1, 2, 2), x2 = d.col(1, 0, INF), x3 = d.col(0, 1, 1 + 5e-11);
  d.row({{x1, 1}, {x2, 1}}, 'G', 3);
  d.row({{x2, 1}, {x3, 1}}, 'G', 2);
  expect_reduced_optimum(d, 3.0);
}

TEST(PresolveReductions, EmptyColumnsGoToTheBoundTheirCostPrefers) {
  lpdef d;
  int x1 = d.col(1, 0, 10);
  d.col(-1, 0, 4);     // to its upper bound
  d.col(0, -INF, INF); // free at zero
  d.col(1, -1, 3);     // to its lower bound
  int x5 = d.col(2, 0, 5);
  d.row({{x1, 1}, {x5, 1}}, 'G', 1);
  expect_reduced_optimum(d, 1 - 4 + 0 - 1);
  outcome o = solve(d);
  EXPECT_EQ(o.cstat[1], 2);
  EXPECT_EQ(o.cstat[2], 3) << "an empty free column is reported free";
  EXPECT_EQ(o.cstat[3], 0);
}

TEST(PresolveReductions, SingletonRowsBecomeBounds) {
  lpdef d;
  d.objsen = -1;
  int x1 = d.col(2, 0, INF), x2 = d.col(1, 0, INF), x3 = d.col(1, 0, INF);
  d.row({{x1, 1}, {x2, 1}}, 'L', 8);
  d.row({{x1, 1}}, 'L', 5);     // lowers the upper bound, active
  d.row({{x2, -1}}, 'G', -6);   // lowers the upper bound, inactive
  d.row({{x2, 1}}, 'G', 1);     // raises the lower bound, inactive
  d.row({{x3, 2}}, 'E', 4);     // fixes x3
  expect_reduced_optimum(d, 2 * 5 + 3 + 2);
}

TEST(PresolveReductions, SingletonRowThatTightensNothingStays) {
  lpdef d;
  int x1 = d.col(1, 0, 2), x2 = d.col(1, 0, INF);
  d.row({{x1, 1}, {x2, 1}}, 'G', 1.5);
  d.row({{x1, 1}}, 'L', 7);  // looser than the bound: removed as redundant
  expect_reduced_optimum(d, 1.5);
}

TEST(PresolveReductions, ForcingRowAtItsMinimumRemovesEverything) {
  lpdef d;
  int x1 = d.col(-1, 0, INF), x2 = d.col(-1, 0, INF), x3 = d.col(-1, 0, 10);
  d.row({{x1, 1}, {x2, 1}}, 'L', 0);
  d.row({{x1, 1}, {x3, 1}}, 'L', 4);
  expect_reduced_optimum(d, -4);
  outcome o = solve(d);
  EXPECT_EQ(o.prestat, 2);
  EXPECT_NE(o.res.find("All rows and columns eliminated.\n"), std::string::npos) << o.res;
  // A basis on the user's model: one basic per row.
  int basic = 0;
  for (int s : o.cstat) basic += s == 1;
  for (int s : o.rstat) basic += s == 1;
  EXPECT_EQ(basic, 2);
}

TEST(PresolveReductions, ForcingRowAtItsMaximum) {
  lpdef d;
  d.objsen = -1;
  int x4 = d.col(1, 0, 2), x5 = d.col(1, 0, 4), x6 = d.col(1, 0, INF);
  d.row({{x4, 1}, {x5, 1}}, 'G', 6);
  d.row({{x5, 1}, {x6, 1}}, 'L', 7);
  expect_reduced_optimum(d, 9);
}

TEST(PresolveReductions, ForcingRowWhoseColumnsHaveDualsOfTheRightSignStaysBasic) {
  lpdef d;
  int x1 = d.col(1, 0, INF), x2 = d.col(2, 0, INF), x3 = d.col(1, 0, INF);
  d.row({{x1, 1}, {x2, 1}}, 'L', 0);
  d.row({{x1, 1}, {x3, 1}}, 'G', -3);
  outcome o = solve(d);
  ASSERT_EQ(o.lpstat, 1);
  EXPECT_NEAR(o.obj, 0, 1e-12);
  EXPECT_TRUE(o.final.ok()) << describe(o.final);
  EXPECT_EQ(o.rstat[0], 1);
  EXPECT_EQ(o.pi[0], 0.0);
}

TEST(PresolveReductions, FreeColumnSingletonInAnEquation) {
  lpdef d;
  int x1 = d.col(0.5, 0, INF), x2 = d.col(2, 0, INF), x3 = d.col(1, -INF, INF);
  d.row({{x1, 1}, {x2, 1}, {x3, 1}}, 'E', 10);
  d.row({{x1, 1}, {x2, -1}}, 'L', 4);
  expect_reduced_optimum(d, 8);
}

TEST(PresolveReductions, FreeColumnSingletonInAnInequalityNeedsDualReductions) {
  lpdef d;
  int x1 = d.col(1, 0, INF), x2 = d.col(1, 0, INF), x3 = d.col(-1, -INF, INF);
  d.row({{x1, 1}, {x2, 1}, {x3, 1}}, 'L', 10);
  d.row({{x1, 1}, {x2, 1}}, 'G', 2);
  expect_reduced_optimum(d, -6);
  // Primal reductions alone keep the row.
  outcome o = solve(d, 1, 1);
  ASSERT_EQ(o.lpstat, 1);
  EXPECT_NEAR(o.obj, -6, 1e-9);
}

TEST(PresolveReductions, LargeRightHandSideBlocksTheInequalitySubstitution) {
  lpdef d;
  int x1 = d.col(1, 0, INF), x3 = d.col(-1, -INF, INF), x4 = d.col(1, 0, INF);
  d.row({{x1, 1}, {x3, 1}}, 'L', 1e10);
  d.row({{x1, 1}, {x4, 1}}, 'G', 2);
  outcome o = solve(d);
  ASSERT_EQ(o.lpstat, 1);
  EXPECT_EQ(o.prestat, 0) << o.res;
  EXPECT_NEAR(o.obj, -1e10 + 2, 1e-3);
}

TEST(PresolveReductions, SlackColumnsTurnEquationsIntoInequalities) {
  lpdef d;
  d.objsen = -1;
  int x1 = d.col(1, 0, 3), x2 = d.col(2, 0, 3), s = d.col(0, 0, INF);
  d.row({{x1, 1}, {x2, 1}, {s, 1}}, 'E', 4);
  int y1 = d.col(1, 0, 5), y2 = d.col(1, 0, 5), t = d.col(0, -INF, 2);
  d.row({{y1, 1}, {y2, 1}, {t, -1}}, 'E', 1);
  expect_reduced_optimum(d, 7 + 3);
}

TEST(PresolveReductions, RowMadeRedundantByImpliedBounds) {
  lpdef d;
  d.objsen = -1;
  // x4 earns a little, so that it has a reason to stay in the second row.
  int x1 = d.col(1, 0, INF), x2 = d.col(1, 0, INF), x3 = d.col(1, 0, INF), x4 = d.col(0.5, 0, INF);
  d.row({{x1, 1}, {x3, 1}}, 'L', 2);
  d.row({{x2, 1}, {x4, 1}}, 'L', 3);
  d.row({{x1, 1}, {x2, 1}}, 'L', 10);
  expect_reduced_optimum(d, 5);
  EXPECT_EQ(solve(d).redrows, 2);
}

TEST(PresolveReductions, RangedRowsAndEmptyRows) {
  lpdef d;
  int x1 = d.col(-1, 0, INF), x2 = d.col(-2, 0, INF);
  d.row({{x1, 1}, {x2, 1}}, 'R', 1, 2);
  d.row({{x2, 1}}, 'R', 0.5, 1.5);
  d.row({}, 'L', 1);
  d.row({{x1, 1}, {x2, 3}}, 'R', 10, -20);
  expect_reduced_optimum(d, -5);
}

// ---- the aggregator ------------------------------------------------------------

bool has_line(const std::string &log, const std::string &line) {
  return log.find(line) != std::string::npos;
}

TEST(PresolveAggregator, FreeColumnInTwoRowsIsSubstitutedOut) {
  // y = 4 - x1 - x2 leaves min 8 - x1 - x2 with 2 x1 + x2 <= 3.
  lpdef d;
  int x1 = d.col(1, 0, INF), x2 = d.col(1, 0, INF), y = d.col(2, -INF, INF);
  d.row({{x1, 1}, {x2, 1}, {y, 1}}, 'E', 4);
  d.row({{y, 1}, {x1, -1}}, 'G', 1);
  expect_reduced_optimum(d, 5);
  outcome o = solve(d);
  EXPECT_TRUE(has_line(o.res, "Aggregator did 1 substitutions.\n")) << o.res;
  ASSERT_EQ(o.pcstat.size(), 3u);
  EXPECT_EQ(o.pcstat[y], -4) << "a substituted column is a linear function of others";
  EXPECT_EQ(o.prstat[0], -2);
}

TEST(PresolveAggregator, DoubletonMovesTheEliminatedBoundOntoTheSurvivor) {
  // x2 = x1/2 with x2 <= 3 caps x1 at 6, and the optimum sits on that cap.
  lpdef d;
  d.objsen = -1;
  int x1 = d.col(1, 0, 10), x2 = d.col(0.05, 0, 3), x3 = d.col(0.1, 0, INF);
  d.row({{x1, 1}, {x2, -2}}, 'E', 0);
  d.row({{x1, 1}, {x3, 1}}, 'L', 8);
  expect_reduced_optimum(d, 6.35);
  outcome o = solve(d);
  EXPECT_TRUE(has_line(o.res, "Aggregator did 1 substitutions.\n")) << o.res;
  EXPECT_EQ(o.cstat[x2], 2) << "the eliminated column holds the bound";
  EXPECT_EQ(o.cstat[x1], 1);
  EXPECT_NEAR(o.x[x2], 3, 1e-12);
}

TEST(PresolveAggregator, DoubletonMovesBothBoundsAndTheLowerOneHolds) {
  // x1 + x2 = 5 with x2 in [1, 3] keeps x1 in [2, 4]; min 2.5 + 0.5 x1 +
  // 0.2 x3 with x1 + x3 >= 3 puts x1 on the moved lower bound.
  lpdef d;
  int x1 = d.col(1, 0, 10), x2 = d.col(0.5, 1, 3), x3 = d.col(0.2, 0, INF);
  d.row({{x1, 1}, {x2, 1}}, 'E', 5);
  d.row({{x1, 1}, {x3, 1}}, 'G', 3);
  expect_reduced_optimum(d, 3.7);
  outcome o = solve(d);
  EXPECT_TRUE(has_line(o.res, "Aggregator did 1 substitutions.\n")) << o.res;
  EXPECT_EQ(o.cstat[x2], 2);
}

TEST(PresolveAggregator, OffWithAggindZero) {
  lpdef d;
  int x1 = d.col(1, 0, INF), x2 = d.col(1, 0, INF), y = d.col(2, -INF, INF);
  d.row({{x1, 1}, {x2, 1}, {y, 1}}, 'E', 4);
  d.row({{y, 1}, {x1, -1}}, 'G', 1);
  vtest::Env env;
  int st = 0;
  VLTLPptr lp = VLTcreateprob(env, &st, "agg");
  VLTsetintparam(env, VLT_PARAM_AGGIND, 0);
  ASSERT_EQ(d.load(env, lp), 0);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_TRUE(has_line(env.res.all(), "Tried aggregator 0 times.\n")) << env.res.all();
  EXPECT_FALSE(has_line(env.res.all(), "Aggregator did")) << env.res.all();
  double obj = 0;
  VLTgetobjval(env, lp, &obj);
  EXPECT_NEAR(obj, 5, 1e-9);
  VLTfreeprob(env, &lp);
}

// ---- parallel rows and columns -----------------------------------------------------

TEST(PresolveDuplicates, OppositeParallelRowsBecomeOneEquation) {
  // x1 + 2 x2 <= 4 and -2 x1 - 4 x2 <= -8 meet in x1 + 2 x2 = 4; the dual
  // belongs to the second row.
  lpdef d;
  int x1 = d.col(3, 0, INF), x2 = d.col(1, 0, INF);
  d.row({{x1, 1}, {x2, 2}}, 'L', 4);
  d.row({{x1, -2}, {x2, -4}}, 'L', -8);
  expect_reduced_optimum(d, 2);
  outcome o = solve(d);
  EXPECT_EQ(o.prstat[1], -3) << "the second row is merged into the first";
  EXPECT_EQ(o.pi[0], 0.0);
  EXPECT_LT(o.pi[1], 0.0);
}

TEST(PresolveDuplicates, ParallelRowsThatCannotBothHold) {
  lpdef d;
  int x1 = d.col(1, 0, INF), x2 = d.col(1, 0, INF);
  d.row({{x1, 1}, {x2, 1}}, 'L', 1);
  d.row({{x1, 2}, {x2, 2}}, 'G', 5);
  outcome o = solve(d);
  EXPECT_EQ(o.lpstat, 3);
  EXPECT_TRUE(has_line(o.res, "Constraints 'r1' and 'r2' are inconsistent.\n")) << o.res;
}

TEST(PresolveDuplicates, LooserParallelRowGoes) {
  lpdef d;
  d.objsen = -1;
  int x1 = d.col(1, 0, INF), x2 = d.col(2, 0, INF), x3 = d.col(1, 0, 1);
  d.row({{x1, 1}, {x2, 1}, {x3, 1}}, 'L', 6);
  d.row({{x1, 3}, {x2, 3}, {x3, 3}}, 'L', 12);  // x1 + x2 + x3 <= 4
  d.row({{x1, 1}, {x2, -1}}, 'G', -1);
  expect_reduced_optimum(d, 1.5 + 2 * 2.5);
}

TEST(PresolveDuplicates, FreeParallelColumnsWithProportionalCosts) {
  lpdef d;
  int x = d.col(1, -INF, INF), y = d.col(2, -INF, INF), w = d.col(1, 0, INF);
  d.row({{x, 1}, {y, 2}, {w, 1}}, 'G', 2);
  d.row({{x, 1}, {y, 2}, {w, -1}}, 'L', 6);
  expect_reduced_optimum(d, 2);
  outcome o = solve(d);
  EXPECT_EQ(o.cstat[y], 3) << "the second column is taken free at zero";
  EXPECT_EQ(o.x[y], 0.0);
}

TEST(PresolveDuplicates, FreeParallelColumnsWithOtherCostsAreUnbounded) {
  lpdef d;
  int x = d.col(1, -INF, INF), y = d.col(2, -INF, INF), w = d.col(1, 0, INF);
  d.row({{x, 1}, {y, 1}, {w, 1}}, 'G', 2);
  d.row({{x, 1}, {y, 1}, {w, -1}}, 'L', 6);
  outcome o = solve(d);
  EXPECT_EQ(o.lpstat, 2);
  EXPECT_TRUE(has_line(o.res, "Duplicate columns x1 and x2 make problem unbounded.\n")) << o.res;
}

TEST(PresolveDuplicates, BoxedParallelColumnsMergeAndSplitBack) {
  // x in [0, 2] and y in [0, 3] with column y = 2 column x and cost y = 2
  // cost x: one column x + 2 y in [0, 8]; the optimum needs both.
  lpdef d;
  int x = d.col(1, 0, 2), y = d.col(2, 0, 3), w = d.col(3, 0, INF);
  d.row({{x, 1}, {y, 2}, {w, 1}}, 'G', 5);
  d.row({{x, 1}, {y, 2}, {w, -1}}, 'L', 7);
  expect_reduced_optimum(d, 5);
  outcome o = solve(d);
  EXPECT_EQ(o.pcstat[y], -5) << "a merged column cannot be crushed";
  EXPECT_NEAR(o.x[x] + 2 * o.x[y], 5, 1e-9);
}

// ---- dual reductions ----------------------------------------------------------------

TEST(PresolveDualReductions, ColumnsNoRowHoldsBackGoToTheirBounds) {
  // x3 only loosens its rows as it grows and its cost rewards growth: it
  // goes to its upper bound; x4 only loosens as it shrinks at a positive
  // cost: to its lower bound.
  lpdef d;
  int x1 = d.col(1, 0, INF), x2 = d.col(2, 0, INF), x3 = d.col(-1, 0, 4), x4 = d.col(1, -1, 5);
  d.row({{x1, 1}, {x2, 1}, {x3, 1}, {x4, -1}}, 'G', 6);
  d.row({{x1, 1}, {x2, -1}, {x3, -2}, {x4, 1}}, 'L', 1);
  expect_reduced_optimum(d, 1 * 1 - 4 - 1);
  outcome o = solve(d);
  EXPECT_EQ(o.pcstat[x3], -2);
  EXPECT_EQ(o.pcstat[x4], -1);
  EXPECT_EQ(o.cstat[x3], 2);
  EXPECT_EQ(o.cstat[x4], 0);
  // Without dual reductions both stay for the optimizer.
  outcome primal = solve(d, 1, 1);
  ASSERT_EQ(primal.lpstat, 1);
  EXPECT_NEAR(primal.obj, -4, 1e-9);
}

TEST(PresolveAggregator, FillLimitZeroStillTakesDoubletons) {
  lpdef d;
  d.objsen = -1;
  int x1 = d.col(1, 0, 10), x2 = d.col(0.05, 0, 3), x3 = d.col(0.1, 0, INF);
  d.row({{x1, 1}, {x2, -2}}, 'E', 0);
  d.row({{x1, 1}, {x3, 1}}, 'L', 8);
  vtest::Env env;
  int st = 0;
  VLTLPptr lp = VLTcreateprob(env, &st, "agg");
  VLTsetintparam(env, VLT_PARAM_AGGFILL, 0);
  ASSERT_EQ(d.load(env, lp), 0);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_TRUE(has_line(env.res.all(), "Aggregator did 1 substitutions.\n")) << env.res.all();
  double obj = 0;
  VLTgetobjval(env, lp, &obj);
  EXPECT_NEAR(obj, 6.35, 1e-9);
  VLTfreeprob(env, &lp);
}

// ---- bound strengthening ---------------------------------------------------------------

TEST(PresolveBoundStrengthening, BoundsMoveInToTheImpliedOnesWithAMargin) {
  // x1 + x2 + x3 <= 4 over nonnegative columns implies upper bounds of 4;
  // the reduced problem gets them one unit (1e6 times EPRHS) looser.
  lpdef d;
  int x1 = d.col(-1, 0, INF), x2 = d.col(-2, 0, INF), x3 = d.col(1, 0, INF);
  d.row({{x1, 1}, {x2, 1}, {x3, 1}}, 'L', 4);
  d.row({{x1, 1}, {x2, -1}, {x3, 1}}, 'G', -3);
  for (int ind : {1, -1}) {
    SCOPED_TRACE(ind);
    vtest::Env env;
    int st = 0;
    VLTLPptr lp = VLTcreateprob(env, &st, "strengthen");
    VLTsetintparam(env, VLT_PARAM_BNDSTRENIND, ind);
    ASSERT_EQ(d.load(env, lp), 0);
    ASSERT_EQ(VLTpresolve(env, lp, 2), 0);
    VLTLPptr red = nullptr;
    ASSERT_EQ(VLTgetredlp(env, lp, &red), 0);
    if (ind == -1) {
      // Automatic only for the dual simplex on models of 10001 columns or more.
      EXPECT_EQ(red, nullptr);
      EXPECT_TRUE(has_line(env.res.all(), "No LP presolve or aggregator reductions.\n"));
    } else {
      ASSERT_NE(red, nullptr) << env.res.all();
      double ub[3] = {0, 0, 0};
      ASSERT_EQ(VLTgetub(env, red, ub, 0, 2), 0);
      for (double u : ub) EXPECT_NEAR(u, 5, 1e-9);
    }
    ASSERT_EQ(VLTdualopt(env, lp), 0);
    ASSERT_EQ(VLTgetstat(env, lp), 1);
    double obj = 0;
    VLTgetobjval(env, lp, &obj);
    EXPECT_NEAR(obj, -7.5, 1e-9);
    model m = readmodel(env, lp);
    std::vector<double> x(3), pi(2), slack(2), dj(3);
    VLTsolution(env, lp, nullptr, nullptr, x.data(), pi.data(), slack.data(), dj.data());
    verdict v = kkt_check(m, x, pi, &slack, &dj);
    EXPECT_TRUE(v.ok()) << describe(v);
    VLTfreeprob(env, &lp);
  }
}

}  // namespace
