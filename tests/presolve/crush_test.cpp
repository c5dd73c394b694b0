// Points and linear forms carried between the user's model and the reduced
// one: round trips, values of forms preserved, and the edge cases of forms.
#include <gtest/gtest.h>

#include "presolve/lpbuild.h"

using namespace presolve_test;

namespace {

// A model with a fixed column, a forcing row, a free column singleton in an
// equation, a singleton row and a ranged row; with primal reductions only
// every removed column is determined by the point that remains.
lpdef mixed_model() {
  lpdef d;
  int x1 = d.col(1, 2, 2), x2 = d.col(1, 0, INF), x3 = d.col(1, 0, INF);
  int x4 = d.col(1, -INF, INF), x5 = d.col(-1, 0, 5), x6 = d.col(1, 0, 5), x7 = d.col(-1, 0, 3);
  d.row({{x2, 1}, {x3, 1}}, 'L', 0);
  d.row({{x4, 1}, {x5, 1}, {x6, 1}}, 'E', 10);
  d.row({{x5, 1}, {x6, -1}}, 'L', 1);
  d.row({{x5, 1}, {x1, 1}}, 'R', 3, 2);
  d.row({{x7, 1}}, 'L', 2);
  d.row({{x7, 1}, {x5, 1}}, 'G', 1);
  return d;
}

const std::vector<double> kPoint = {2, 0, 0, 6.5, 2, 1.5, 1};

struct presolved {
  vtest::Env env;
  VLTLPptr lp = nullptr, red = nullptr;
  explicit presolved(const lpdef &d, int reduce = 1, int aggind = -1) {
    int st = 0;
    lp = VLTcreateprob(env, &st, "crush");
    VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0);
    VLTsetintparam(env, VLT_PARAM_AGGIND, aggind);
    VLTsetintparam(env, VLT_PARAM_REDUCE, reduce);
    EXPECT_EQ(d.load(env, lp), 0);
    EXPECT_EQ(VLTpresolve(env, lp, 1), 0);
    EXPECT_EQ(VLTgetredlp(env, lp, &red), 0);
  }
  ~presolved() { VLTfreeprob(env, &lp); }
};

double dot(const std::vector<double> &x, int len, const int *ind, const double *val) {
  double s = 0;
  for (int k = 0; k < len; ++k) s += val[k] * x[ind[k]];
  return s;
}

TEST(PresolveCrush, FeasiblePointSurvivesTheRoundTrip) {
  lpdef d = mixed_model();
  presolved p(d);
  ASSERT_NE(p.red, nullptr);
  const int rn = VLTgetnumcols(p.env, p.red);
  ASSERT_LT(rn, 7);
  model m = readmodel(p.env, p.lp);
  ASSERT_TRUE(primal_check(m, kPoint).pinf <= 1e-12) << "the test point must be feasible";
  std::vector<double> rx(rn), back(7);
  ASSERT_EQ(VLTcrushx(p.env, p.lp, kPoint.data(), rx.data()), 0);
  // Feasible in the reduced problem, with the same objective up to the offset.
  model rm = readmodel(p.env, p.red);
  verdict rv = primal_check(rm, rx);
  EXPECT_LE(rv.pinf, 1e-12) << rv.worst;
  EXPECT_NEAR(rv.obj, primal_check(m, kPoint).obj, 1e-12);
  ASSERT_EQ(VLTuncrushx(p.env, p.lp, back.data(), rx.data()), 0);
  for (int j = 0; j < 7; ++j) EXPECT_NEAR(back[j], kPoint[j], 1e-12) << "column " << j;
}

TEST(PresolveCrush, FormsKeepTheirValue) {
  lpdef d = mixed_model();
  presolved p(d);
  ASSERT_NE(p.red, nullptr);
  const int rn = VLTgetnumcols(p.env, p.red);
  std::vector<double> rx(rn);
  ASSERT_EQ(VLTcrushx(p.env, p.lp, kPoint.data(), rx.data()), 0);
  // Every column with a distinct weight.
  const int ind[7] = {0, 1, 2, 3, 4, 5, 6};
  const double val[7] = {3, -1, 2, 0.5, 7, -4, 1.5};
  int plen = -1;
  double off = 0;
  std::vector<int> pind(rn);
  std::vector<double> pval(rn);
  ASSERT_EQ(VLTcrushform(p.env, p.lp, 7, ind, val, &plen, &off, pind.data(), pval.data()), 0);
  ASSERT_GE(plen, 0);
  EXPECT_NEAR(dot(rx, plen, pind.data(), pval.data()) + off, dot(kPoint, 7, ind, val), 1e-12);

  // A reduced form written back in the user's columns.
  std::vector<int> rind(rn);
  std::vector<double> rval(rn);
  for (int k = 0; k < rn; ++k) {
    rind[k] = k;
    rval[k] = 1.0 + k;
  }
  int len = -1;
  std::vector<int> oind(7);
  std::vector<double> oval(7);
  ASSERT_EQ(VLTuncrushform(p.env, p.lp, rn, rind.data(), rval.data(), &len, &off, oind.data(),
                           oval.data()),
            0);
  EXPECT_NEAR(dot(kPoint, len, oind.data(), oval.data()) + off,
              dot(rx, rn, rind.data(), rval.data()), 1e-12);
}

TEST(PresolveCrush, FormEdgeCases) {
  lpdef d = mixed_model();
  // Without the aggregator x5 stays in the reduced problem.
  presolved p(d, 1, 0);
  ASSERT_NE(p.red, nullptr);
  int plen = -1, pind[8];
  double off = 0, pval[8];
  // Only a fixed column: empty form, the constant in the offset.
  int i0 = 0;
  double v0 = 3;
  ASSERT_EQ(VLTcrushform(p.env, p.lp, 1, &i0, &v0, &plen, &off, pind, pval), 0);
  EXPECT_EQ(plen, 0);
  EXPECT_EQ(off, 6);
  // x4 = 10 - x5 - x6, so x4 + x5 cancels in x5: the entry stays, tiny.
  int i2[2] = {3, 4};
  double v2[2] = {1, 1};
  ASSERT_EQ(VLTcrushform(p.env, p.lp, 2, i2, v2, &plen, &off, pind, pval), 0);
  EXPECT_EQ(off, 10);
  ASSERT_EQ(plen, 2);
  int tiny = 0;
  for (int k = 0; k < plen; ++k) tiny += std::fabs(pval[k]) <= 1e-12;
  EXPECT_EQ(tiny, 1);
  // A column index out of range.
  int bad = 7;
  EXPECT_EQ(VLTcrushform(p.env, p.lp, 1, &bad, &v0, &plen, &off, pind, pval), 1201);
  EXPECT_NE(p.env.err.all().find("1201"), std::string::npos);
  // An empty reduced form.
  int len = -1;
  EXPECT_EQ(VLTuncrushform(p.env, p.lp, 0, nullptr, nullptr, &len, &off, pind, pval), 0);
  EXPECT_EQ(len, 0);
  EXPECT_NE(p.env.warn.all().find("Warning: form length is zero.\n"), std::string::npos);
}

TEST(PresolveCrush, SlackAndReducedCostFromAPoint) {
  lpdef d = mixed_model();
  presolved p(d);
  std::vector<double> slack(6), dj(7), pi = {1, -2, 0.5, 3, 0, -1};
  ASSERT_EQ(VLTslackfromx(p.env, p.lp, kPoint.data(), slack.data()), 0);
  EXPECT_NEAR(slack[0], 0, 1e-15);
  EXPECT_NEAR(slack[2], 1 - 0.5, 1e-15);
  EXPECT_NEAR(slack[3], 4 - 3, 1e-15);  // ranged: activity above the right-hand side
  EXPECT_NEAR(slack[5], 1 - 3, 1e-15);
  ASSERT_EQ(VLTdjfrompi(p.env, p.lp, pi.data(), dj.data()), 0);
  EXPECT_NEAR(dj[4], -1 - (-2 + 0.5 + 3 - 1), 1e-15);
}

}  // namespace
