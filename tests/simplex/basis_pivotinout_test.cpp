// Forcing row slacks into the basis and fixed columns out of it.
#include <gtest/gtest.h>

#include "simplex/basis_util.h"

using namespace basistest;

namespace {

// min -x - 2y  s.t.  x + y <= 4 (c0), x - y <= 1 (c1), y <= 3 (c2);
// 0 <= x, y <= 10.  Optimum x = 1, y = 3 with c0 and c2 tight.
Dense small_model() {
  Dense d;
  d.m = 3;
  d.n = 2;
  d.A = {1, 1, 1, -1, 0, 1};
  d.c = {-1, -2};
  d.lb = {0, 0};
  d.ub = {10, 10};
  d.rhs = {4, 1, 3};
  d.sense = {'L', 'L', 'L'};
  return d;
}

}  // namespace

TEST(BasisPivotIn, SlacksOfListedRowsBecomeBasic) {
  Session s;
  Dense d = small_model();
  ASSERT_EQ(d.load(s), 0);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
  std::vector<int> cstat(2), rstat(3);
  ASSERT_EQ(VLTgetbase(s.env, s.lp, cstat.data(), rstat.data()), 0);
  ASSERT_NE(rstat[0], 1);
  ASSERT_NE(rstat[2], 1);
  // Rows whose slacks are basic already: nothing changes.
  int basicrow = rstat[1] == 1 ? 1 : -1;
  ASSERT_EQ(basicrow, 1);
  s.res.text.clear();
  ASSERT_EQ(VLTpivotin(s.env, s.lp, &basicrow, 1), 0);
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 1);
  EXPECT_EQ(s.res.text, "");
  // Both tight rows.
  int rows[2] = {0, 2};
  ASSERT_EQ(VLTpivotin(s.env, s.lp, rows, 2), 0);
  EXPECT_EQ(s.res.text, "2 rows pivoted in.\n");
  ASSERT_EQ(VLTgetbase(s.env, s.lp, cstat.data(), rstat.data()), 0);
  EXPECT_EQ(rstat[0], 1);
  EXPECT_EQ(rstat[2], 1);
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 6);
  EXPECT_EQ(VLTgetmethod(s.env, s.lp), 8);
  // The reported basis is consistent: values solve the rows.
  Basis b;
  ASSERT_TRUE(b.build(s, d));
  std::vector<double> x(2), slack(3);
  ASSERT_EQ(VLTgetx(s.env, s.lp, x.data(), 0, 1), 0);
  ASSERT_EQ(VLTgetslack(s.env, s.lp, slack.data(), 0, 2), 0);
  for (int i = 0; i < 3; ++i)
    EXPECT_NEAR(d.a(i, 0) * x[0] + d.a(i, 1) * x[1] + slack[i], d.rhs[i], 1e-9);
  for (int j = 0; j < 2; ++j) EXPECT_NEAR(x[j], b.x[j], 1e-9);
  // A re-solve goes back to the optimum.
  ASSERT_EQ(VLTprimopt(s.env, s.lp), 0);
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 1);
  double obj = 0;
  VLTgetobjval(s.env, s.lp, &obj);
  EXPECT_NEAR(obj, -7.0, 1e-9);
}

TEST(BasisPivotIn, ArgumentsAndMessages) {
  Session s;
  Dense d = small_model();
  ASSERT_EQ(d.load(s), 0);
  int rows[1] = {0};
  EXPECT_EQ(VLTpivotin(s.env, s.lp, rows, 1), 1262);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  s.err.text.clear();
  s.res.text.clear();
  EXPECT_EQ(VLTpivotin(s.env, s.lp, rows, -1), 1003);
  EXPECT_EQ(VLTpivotin(s.env, s.lp, rows, 4), 1003);
  EXPECT_EQ(VLTpivotin(s.env, s.lp, nullptr, 1), 1004);
  int bad[2] = {0, 5};
  EXPECT_EQ(VLTpivotin(s.env, s.lp, bad, 2), 1203);
  EXPECT_EQ(s.err.text,
            "VELTO Error  1003: Bad argument to Callable Library function.\n"
            "VELTO Error  1003: Bad argument to Callable Library function.\n"
            "VELTO Error  1004: Null pointer for required data.\n"
            "VELTO Error  1203: Row index 5 out of range.\n");
  EXPECT_EQ(VLTpivotin(s.env, s.lp, rows, 0), 0);
  EXPECT_EQ(s.res.text, "No rows to pivot in.\n");
  // The call changed nothing on failure.
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 1);
  ASSERT_EQ(VLTpivotin(s.env, s.lp, rows, 1), 0);
  EXPECT_EQ(s.res.text, "No rows to pivot in.\n1 row pivoted in.\n");
}

TEST(BasisPivotOut, FixedBasicColumnLeavesByADualPivot) {
  Session s;
  // min x0 + x1 + x2  s.t.  x0 + x1 + x2 >= 3 (c0), x0 - x2 <= 1 (c1);
  // x2 fixed at 1.
  Dense d;
  d.m = 2;
  d.n = 3;
  d.A = {1, 1, 1, 1, 0, -1};
  d.c = {1, 2, 1};
  d.lb = {0, 0, 1};
  d.ub = {10, 10, 1};
  d.rhs = {3, 1};
  d.sense = {'G', 'L'};
  ASSERT_EQ(d.load(s), 0);
  // A basis with the fixed column basic: x0 and x2 basic.
  int cstat[3] = {1, 0, 1}, rstat[2] = {0, 0};
  ASSERT_EQ(VLTcopybase(s.env, s.lp, cstat, rstat), 0);
  ASSERT_EQ(VLTsetphase2(s.env, s.lp), 0);
  std::vector<int> cs(3), rs(2);
  ASSERT_EQ(VLTgetbase(s.env, s.lp, cs.data(), rs.data()), 0);
  ASSERT_EQ(cs[2], 1);
  s.res.text.clear();
  int col[1] = {2};
  ASSERT_EQ(VLTpivotout(s.env, s.lp, col, 1), 0);
  EXPECT_EQ(s.res.text, "One variable pivoted out.\n");
  ASSERT_EQ(VLTgetbase(s.env, s.lp, cs.data(), rs.data()), 0);
  EXPECT_NE(cs[2], 1);
  EXPECT_EQ(VLTgetmethod(s.env, s.lp), 9);
  Basis b;
  ASSERT_TRUE(b.build(s, d));
  std::vector<double> x(3);
  ASSERT_EQ(VLTgetx(s.env, s.lp, x.data(), 0, 2), 0);
  EXPECT_NEAR(x[2], 1.0, 1e-12);
  for (int j = 0; j < 3; ++j) EXPECT_NEAR(x[j], b.x[j], 1e-9);
  // Once out it stays out: the same call now says so.
  s.res.text.clear();
  ASSERT_EQ(VLTpivotout(s.env, s.lp, col, 1), 0);
  EXPECT_EQ(s.res.text, "All indicated variables are nonbasic.\n");
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
  double obj = 0;
  VLTgetobjval(s.env, s.lp, &obj);
  EXPECT_NEAR(obj, 3.0, 1e-9);  // x = (2, 0, 1)
  // Arguments.
  s.err.text.clear();
  int free1[1] = {0}, bad[1] = {3};
  EXPECT_EQ(VLTpivotout(s.env, s.lp, free1, 1), 1221);
  EXPECT_EQ(VLTpivotout(s.env, s.lp, bad, 1), 1201);
  EXPECT_EQ(VLTpivotout(s.env, s.lp, col, -1), 1003);
  EXPECT_EQ(s.err.text,
            "VELTO Error  1221: Only fixed variables are pivoted out.\n"
            "VELTO Error  1201: Column index 3 out of range.\n"
            "VELTO Error  1003: Bad argument to Callable Library function.\n");
  s.res.text.clear();
  EXPECT_EQ(VLTpivotout(s.env, s.lp, col, 0), 0);
  EXPECT_EQ(s.res.text, "No variables to pivot out.\n");
}
