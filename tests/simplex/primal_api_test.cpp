// The primal simplex through the public calls on small hand-made models.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "simplex/primal_check.h"
#include "velto.h"

namespace {

using primal_test::capture;
using primal_test::check_solution;

// A dense description of a small model, loaded by VLTcopylpwnames.
struct small {
  int objsen = 1;
  std::vector<double> obj, lb, ub, rhs, rng;
  std::string sense;
  std::vector<std::vector<double>> a;  // rows
  std::vector<std::string> cname, rname;
};

class PrimalApi : public ::testing::Test {
 protected:
  VLTENVptr env = nullptr;
  VLTLPptr lp = nullptr;
  capture res, warn;
  void SetUp() override {
    int st = 0;
    env = VLTopenVELTO(&st);
    ASSERT_EQ(st, 0);
    lp = VLTcreateprob(env, &st, "t");
    ASSERT_EQ(st, 0);
    VLTCHANNELptr r, w, e, l;
    VLTgetchannels(env, &r, &w, &e, &l);
    VLTaddfuncdest(env, r, &res, capture::take);
    VLTaddfuncdest(env, w, &warn, capture::take);
    VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0);
  }
  void TearDown() override {
    VLTfreeprob(env, &lp);
    VLTcloseVELTO(&env);
  }
  void load(const small &s) {
    int m = (int)s.rhs.size(), n = (int)s.obj.size();
    std::vector<int> beg(n), cnt(n), ind;
    std::vector<double> val;
    for (int j = 0; j < n; ++j) {
      beg[j] = (int)ind.size();
      for (int i = 0; i < m; ++i)
        if (s.a[i][j] != 0.0) { ind.push_back(i); val.push_back(s.a[i][j]); }
      cnt[j] = (int)ind.size() - beg[j];
    }
    std::vector<char *> cn, rn;
    for (auto &x : s.cname) cn.push_back(const_cast<char *>(x.c_str()));
    for (auto &x : s.rname) rn.push_back(const_cast<char *>(x.c_str()));
    ASSERT_EQ(VLTcopylpwnames(env, lp, n, m, s.objsen, s.obj.data(), s.rhs.data(), s.sense.data(),
                              beg.data(), cnt.data(), ind.data(), val.data(), s.lb.data(),
                              s.ub.data(), s.rng.empty() ? nullptr : s.rng.data(),
                              cn.empty() ? nullptr : cn.data(), rn.empty() ? nullptr : rn.data()),
              0);
  }
  void expect_optimal(double z) {
    auto c = check_solution(env, lp);
    ASSERT_TRUE(c.error.empty()) << c.error;
    EXPECT_EQ(c.lpstat, 1);
    EXPECT_NEAR(c.objval, z, 1e-9 * std::max(1.0, std::fabs(z)));
    EXPECT_LE(c.pinf, 1e-9);
    EXPECT_LE(c.dinf, 1e-9);
    EXPECT_LE(c.djerr, 1e-9);
    EXPECT_LE(c.objerr, 1e-12);
  }
};

// max 3x + 5y: x <= 4, 2y <= 12, 3x + 2y <= 18; optimum 36 at (2, 6).
small textbook() {
  small s;
  s.objsen = -1;
  s.obj = {3, 5};
  s.lb = {0, 0};
  s.ub = {1e20, 1e20};
  s.rhs = {4, 12, 18};
  s.sense = "LLL";
  s.a = {{1, 0}, {0, 2}, {3, 2}};
  s.cname = {"x", "y"};
  s.rname = {"plant1", "plant2", "plant3"};
  return s;
}

// Mixed senses, a ranged row, a free column, a boxed column and a fixed one.
// min  x1 + 2 x2 - x3 + x4
//  r1: x1 + x2 + x3       >= 2
//  r2: x1 - x3 + x4        = 1
//  r3: 1 <= x2 + x3 <= 4   (ranged, rhs 1, range 3)
//  r4: x1 + x2 + x3 + x4  <= 10
//  x1 free, 0 <= x2 <= 3, -1 <= x3 <= 2, x4 = 0.5
// Optimum: x3 = 2 (cost -1) pushes x1 = 1 - x4 + x3 = 2.5 ... the solver's
// answer is checked by the optimality conditions, its value against 2.5.
small mixed() {
  small s;
  s.obj = {1, 2, -1, 1};
  s.lb = {-1e20, 0, -1, 0.5};
  s.ub = {1e20, 3, 2, 0.5};
  s.rhs = {2, 1, 1, 10};
  s.rng = {0, 0, 3, 0};
  s.sense = "GERL";
  s.a = {{1, 1, 1, 0}, {1, 0, -1, 1}, {0, 1, 1, 0}, {1, 1, 1, 1}};
  return s;
}

TEST_F(PrimalApi, TextbookOptimumEveryPricing) {
  load(textbook());
  for (int pr = -1; pr <= 4; ++pr) {
    ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_PPRIIND, pr), 0);
    VLTsetintparam(env, VLT_PARAM_ADVIND, 0);
    ASSERT_EQ(VLTprimopt(env, lp), 0);
    expect_optimal(36.0);
    double x[2];
    ASSERT_EQ(VLTgetx(env, lp, x, 0, 1), 0);
    EXPECT_NEAR(x[0], 2.0, 1e-12);
    EXPECT_NEAR(x[1], 6.0, 1e-12);
  }
}

TEST_F(PrimalApi, MixedSensesRangesFreeAndFixed) {
  load(mixed());
  for (int sc = -1; sc <= 1; ++sc) {
    VLTsetintparam(env, VLT_PARAM_SCAIND, sc);
    VLTsetintparam(env, VLT_PARAM_ADVIND, 0);
    ASSERT_EQ(VLTprimopt(env, lp), 0);
    // x4 = 0.5, x3 = 2 at its upper bound, r2 gives x1 = 2.5 - ... the
    // cheapest point: x1 = 1 - 0.5 + x3, objective x1 + 2x2 - x3 + 0.5
    // = 1 + 2 x2, so x2 = 0 and x3 is free within r1 (x1 + x3 >= 2) and r3
    // (1 <= x3 <= 4): objective 1.
    expect_optimal(1.0);
  }
}

TEST_F(PrimalApi, InfeasibleAndUnbounded) {
  small s = textbook();
  s.sense = "LLG";
  s.rhs = {4, 12, 100};  // 3x + 2y >= 100 cannot hold with x <= 4, y <= 6
  load(s);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_EQ(VLTgetstat(env, lp), 3);

  small u = textbook();
  u.a = {{1, 0}, {0, 0}, {3, -2}};  // y unbounded above
  load(u);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_EQ(VLTgetstat(env, lp), 2);
}

TEST_F(PrimalApi, IterationLimitZeroLeavesAReadableSolution) {
  load(textbook());
  VLTsetintparam(env, VLT_PARAM_ITLIM, 0);
  VLTsetintparam(env, VLT_PARAM_CRAIND, 0);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_EQ(VLTgetstat(env, lp), 10);
  EXPECT_EQ(VLTgetitcnt(env, lp), 0);
  int stat = 0;
  double obj = -1, x[2] = {-1, -1}, pi[3], slack[3], dj[2];
  ASSERT_EQ(VLTsolution(env, lp, &stat, &obj, x, pi, slack, dj), 0);
  EXPECT_EQ(stat, 10);
  // The slack basis: every column at its lower bound 0.
  EXPECT_EQ(x[0], 0.0);
  EXPECT_EQ(x[1], 0.0);
  EXPECT_EQ(obj, 0.0);
  EXPECT_EQ(slack[2], 18.0);
}

TEST_F(PrimalApi, ContradictoryBoundsWarnAndReportInfeasible) {
  small s = textbook();
  s.lb = {0, 5};
  s.ub = {1e20, 4};
  load(s);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_EQ(VLTgetstat(env, lp), 3);
  EXPECT_EQ(warn.text, "Warning:  Bounds on 'y' contradictory.\n");

  // Crossing by less than 1e-10 is a fixed column, without a warning.
  warn.text.clear();
  s.lb = {0, 5};
  s.ub = {1e20, 5 - 1e-11};
  load(s);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_EQ(VLTgetstat(env, lp), 1);
  EXPECT_EQ(warn.text, "");
  double x[2];
  VLTgetx(env, lp, x, 0, 1);
  EXPECT_NEAR(x[1], 5.0, 1e-9);
  EXPECT_NEAR(x[0], 8.0 / 3.0, 1e-9);
}

TEST_F(PrimalApi, AdvindAndPerindKeepTheUsersValues) {
  load(mixed());
  for (int adv = 0; adv <= 1; ++adv)
    for (int per = 0; per <= 1; ++per) {
      VLTsetintparam(env, VLT_PARAM_ADVIND, adv);
      VLTsetintparam(env, VLT_PARAM_PERIND, per);
      ASSERT_EQ(VLTprimopt(env, lp), 0);
      expect_optimal(1.0);
      int a = -1, p = -1;
      VLTgetintparam(env, VLT_PARAM_ADVIND, &a);
      VLTgetintparam(env, VLT_PARAM_PERIND, &p);
      EXPECT_EQ(a, adv);
      EXPECT_EQ(p, per);
    }
}

TEST_F(PrimalApi, ResolveFromCopiedOptimalBasisTakesNoIterations) {
  load(mixed());
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_GT(VLTgetitcnt(env, lp), 0);
  int cstat[4], rstat[4];
  ASSERT_EQ(VLTgetbase(env, lp, cstat, rstat), 0);

  // A fresh problem with the same model and the basis given by the user.
  VLTfreeprob(env, &lp);
  int st = 0;
  lp = VLTcreateprob(env, &st, "again");
  load(mixed());
  ASSERT_EQ(VLTcopybase(env, lp, cstat, rstat), 0);
  VLTsetintparam(env, VLT_PARAM_ADVIND, 1);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_EQ(VLTgetitcnt(env, lp), 0);
  expect_optimal(1.0);

  // And straight from the solution left on the problem.
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_EQ(VLTgetitcnt(env, lp), 0);
}

TEST_F(PrimalApi, LogLinesAtEachDisplayLevel) {
  load(textbook());
  VLTsetintparam(env, VLT_PARAM_PREIND, 0);  // the engine's own log, no presolve lines
  VLTsetintparam(env, VLT_PARAM_CRAIND, 0);
  VLTsetintparam(env, VLT_PARAM_PPRIIND, 4);
  VLTsetintparam(env, VLT_PARAM_SCAIND, -1);
  VLTsetintparam(env, VLT_PARAM_ADVIND, 0);
  VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_EQ(res.text, "");

  // Dantzig from the slack basis: y enters (reduced cost -5) and plant2's
  // slack leaves; then x enters and plant3's slack leaves.  The objective is
  // shown in the user's sense.
  res.text.clear();
  VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 2);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_EQ(res.text,
            "\nIteration           Objective            In Variable           Out Variable\n"
            "     1              30.000000                      y           plant2 slack\n"
            "     2              36.000000                      x           plant3 slack\n");

  res.text.clear();
  VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 1);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_EQ(res.text,
            "\nIteration log . . .\n"
            "Iteration:     1    Objective     =            30.000000\n");
}

TEST_F(PrimalApi, BoundFlipIsLoggedAsGoingToABound) {
  // min -x - y, x + y <= 10, 0 <= x <= 1, 0 <= y <= 2: both enter by flips.
  small s;
  s.obj = {-1, -1};
  s.lb = {0, 0};
  s.ub = {1, 2};
  s.rhs = {10};
  s.sense = "L";
  s.a = {{1, 1}};
  s.cname = {"x", "y"};
  s.rname = {"cap"};
  load(s);
  VLTsetintparam(env, VLT_PARAM_PREIND, 0);  // presolve would solve it outright
  VLTsetintparam(env, VLT_PARAM_CRAIND, 0);
  VLTsetintparam(env, VLT_PARAM_PPRIIND, 4);
  VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 2);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  expect_optimal(-3.0);
  EXPECT_NE(res.text.find("    goes to upper bound\n"), std::string::npos) << res.text;
  EXPECT_EQ(VLTgetitcnt(env, lp), 2);
}

TEST_F(PrimalApi, LogNamesTheKindOfEachLogical) {
  // min -x - y: r is ranged, 1 <= x <= 4; e is an equality, y = 2.  From
  // the slack basis both rows are violated (x = 0 is below r's range, e's
  // artificial is 2): phase 1 brings x in for r's range column, then y for
  // e's artificial; in phase 2 the range column flips to its other bound.
  small s;
  s.obj = {-1, -1};
  s.lb = {0, 0};
  s.ub = {1e20, 1e20};
  s.rhs = {1, 2};
  s.rng = {3, 0};
  s.sense = "RE";
  s.a = {{1, 0}, {0, 1}};
  s.cname = {"x", "y"};
  s.rname = {"r", "e"};
  load(s);
  VLTsetintparam(env, VLT_PARAM_PREIND, 0);
  VLTsetintparam(env, VLT_PARAM_CRAIND, 0);
  VLTsetintparam(env, VLT_PARAM_PPRIIND, 4);
  VLTsetintparam(env, VLT_PARAM_SCAIND, -1);
  VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 2);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  expect_optimal(-6.0);
  EXPECT_EQ(res.text,
            "\nIteration           Objective            In Variable           Out Variable\n"
            "     1  I            2.000000                      x                r range\n"
            "     2              -3.000000                      y                e artif\n"
            "     3              -6.000000                r range    goes to lower bound\n");
}

TEST_F(PrimalApi, PerturbationAtStartIsAnnouncedAndRemoved) {
  load(textbook());
  VLTsetintparam(env, VLT_PARAM_PREIND, 0);
  VLTsetintparam(env, VLT_PARAM_PERIND, 1);
  VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 1);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  // The optimum is that of the clean model, to full accuracy.
  expect_optimal(36.0);
  EXPECT_EQ(res.text.rfind("Perturbation started.\n", 0), 0u) << res.text;
  EXPECT_NE(res.text.find("Removing perturbation.\n"), std::string::npos) << res.text;
  int perind = -1;
  VLTgetintparam(env, VLT_PARAM_PERIND, &perind);
  EXPECT_EQ(perind, 1);
}

// A chain x1 <= x2 <= ... <= x6 <= 1 with max x1 + ... + x6: every row is
// tight at the origin, so the first pivots make no progress.
small degenerate_chain() {
  small s;
  const int n = 6;
  s.objsen = -1;
  s.obj.assign(n, 1.0);
  s.lb.assign(n, 0.0);
  s.ub.assign(n, 1e20);
  for (int i = 0; i + 1 < n; ++i) {
    std::vector<double> row(n, 0.0);
    row[i] = 1;
    row[i + 1] = -1;
    s.a.push_back(row);
    s.rhs.push_back(0);
  }
  std::vector<double> last(n, 0.0);
  last[n - 1] = 1;
  s.a.push_back(last);
  s.rhs.push_back(1);
  s.sense.assign(n, 'L');
  return s;
}

TEST_F(PrimalApi, StallOfOneIterationPerturbsWithPerlimOne) {
  load(degenerate_chain());
  VLTsetintparam(env, VLT_PARAM_PREIND, 0);
  VLTsetintparam(env, VLT_PARAM_CRAIND, 0);
  VLTsetintparam(env, VLT_PARAM_PPRIIND, 4);
  VLTsetintparam(env, VLT_PARAM_SCAIND, -1);
  VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 1);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  expect_optimal(6.0);
  EXPECT_EQ(res.text.find("Perturbation started."), std::string::npos) << res.text;

  res.text.clear();
  VLTsetintparam(env, VLT_PARAM_PERLIM, 1);
  VLTsetintparam(env, VLT_PARAM_ADVIND, 0);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  expect_optimal(6.0);
  EXPECT_NE(res.text.find("Perturbation started.\n"), std::string::npos) << res.text;
  EXPECT_NE(res.text.find("Removing perturbation.\n"), std::string::npos) << res.text;
}

TEST_F(PrimalApi, EntryErrors) {
  EXPECT_EQ(VLTprimopt(nullptr, lp), 1002);
  EXPECT_EQ(VLTprimopt(env, nullptr), 1009);
  EXPECT_EQ(VLTlpopt(nullptr, lp), 1002);
  load(textbook());
  char ctype[2] = {'I', 'C'};
  ASSERT_EQ(VLTcopyctype(env, lp, ctype), 0);
  EXPECT_EQ(VLTprimopt(env, lp), 1017);
}

TEST_F(PrimalApi, LpoptSolvesWithTheDefaultMethod) {
  load(mixed());
  ASSERT_EQ(VLTlpopt(env, lp), 0);
  expect_optimal(1.0);
}

}  // namespace
