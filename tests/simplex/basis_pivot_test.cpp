// Pivots by hand: the basis after a pivot agrees with dense inversion, stays
// primal feasible after a ratio-test pivot, and a re-solve from it reaches
// the optimum; bound moves, illegal pivots, phase 2 setup and partial bases.
#include <gtest/gtest.h>

#include "simplex/basis_util.h"

using namespace basistest;

namespace {

constexpr int kNone = 2100000000;

bool solved(Session &s, Dense &d, std::mt19937 &g, int m, int n) {
  for (int tries = 0; tries < 10; ++tries) {
    d = random_model(g, m, n);
    if (d.load(s) != 0 || VLTdualopt(s.env, s.lp) != 0) return false;
    if (VLTgetstat(s.env, s.lp) == 1) return true;
  }
  return false;
}

double objval(Session &s) {
  double v = 0;
  EXPECT_EQ(VLTgetobjval(s.env, s.lp, &v), 0);
  return v;
}

}  // namespace

TEST(BasisPivot, RatioTestPivotKeepsFeasibilityAndResolveReachesOptimum) {
  std::mt19937 g(21);
  int pivots = 0;
  for (int t = 0; t < 10; ++t) {
    SCOPED_TRACE(t);
    Session s;
    Dense d;
    ASSERT_TRUE(solved(s, d, g, 4 + t % 4, 7 + t));
    const double opt = objval(s);
    Basis b0;
    ASSERT_TRUE(b0.build(s, d));
    // The first nonbasic column whose increase meets a blocking variable.
    int q = -1, leave = kNone, lstat = 0;
    for (int j = 0; j < d.n && q < 0; ++j) {
      if (b0.pos[j] >= 0) continue;
      double r;
      int l, ls, st;
      ASSERT_EQ(VLTpratio(s.env, s.lp, &j, 1, nullptr, nullptr, nullptr, nullptr, &r, &l, &ls, &st), 0);
      if (st == 0 && l != kNone) {
        q = j;
        leave = l;
        lstat = ls;
      }
    }
    if (q < 0) continue;
    ++pivots;
    int rpos = b0.pos[var_of(d, leave)];
    ASSERT_EQ(VLTpivot(s.env, s.lp, q, leave, lstat), 0);
    EXPECT_EQ(VLTgetstat(s.env, s.lp), 13);
    EXPECT_EQ(VLTgetmethod(s.env, s.lp), 10);
    Basis b1;
    ASSERT_TRUE(b1.build(s, d));
    EXPECT_EQ(b1.head[rpos], q);
    std::vector<int> cstat(d.n), rstat(d.m);
    ASSERT_EQ(VLTgetbase(s.env, s.lp, cstat.data(), rstat.data()), 0);
    EXPECT_EQ(cstat[q], 1);
    if (leave >= 0) {
      EXPECT_EQ(cstat[leave], lstat);
    }
    // Columns of the inverse against the dense inverse of the new head.
    std::vector<double> col(d.m);
    for (int k = 0; k < d.m; ++k) {
      ASSERT_EQ(VLTbinvcol(s.env, s.lp, k, col.data()), 0);
      for (int r = 0; r < d.m; ++r) EXPECT_NEAR(col[r], b1.Binv[r * d.m + k], 1e-8);
    }
    // The library's values are those of the new basis, and feasible.
    std::vector<double> x(d.n);
    ASSERT_EQ(VLTgetx(s.env, s.lp, x.data(), 0, d.n - 1), 0);
    for (int j = 0; j < d.n; ++j) EXPECT_NEAR(x[j], b1.x[j], 1e-8);
    int pw = 0;
    ASSERT_EQ(VLTcheckpfeas(s.env, s.lp, &pw), 0);
    EXPECT_EQ(pw, kNone);
    // The primal simplex goes on from the pivoted basis.
    ASSERT_EQ(VLTprimopt(s.env, s.lp), 0);
    ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
    EXPECT_NEAR(objval(s), opt, 1e-7 * (1 + std::fabs(opt)));
  }
  EXPECT_GE(pivots, 6);
}

TEST(BasisPivot, BoundMovesAndIllegalPivots) {
  Session s;
  Dense d;
  d.m = 2;
  d.n = 3;
  d.A = {1, 1, 1, 1, -1, 0};
  d.c = {-1, -2, 1};
  d.lb = {0, 0, 0};
  d.ub = {4, 4, 1e20};
  d.rhs = {5, 1};
  d.sense = {'L', 'G'};
  ASSERT_EQ(d.load(s), 0);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
  std::vector<int> cstat(3), rstat(2);
  ASSERT_EQ(VLTgetbase(s.env, s.lp, cstat.data(), rstat.data()), 0);
  // x2 has cost 1 and stays at its lower bound 0.
  ASSERT_EQ(cstat[2], 0);
  const double opt = objval(s);
  // The status already in force: nothing happens.
  ASSERT_EQ(VLTpivot(s.env, s.lp, 2, 2, 0), 0);
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 1);
  EXPECT_DOUBLE_EQ(objval(s), opt);
  // x2 has no upper bound to move to.
  s.err.text.clear();
  EXPECT_EQ(VLTpivot(s.env, s.lp, 2, 2, 2), 1267);
  EXPECT_EQ(s.err.text, "VELTO Error  1267: Illegal pivot.\n");
  // Basic entering variable, out of range, none given.
  int basic = -1;
  for (int j = 0; j < 3; ++j)
    if (cstat[j] == 1) basic = j;
  ASSERT_GE(basic, 0);
  EXPECT_EQ(VLTpivot(s.env, s.lp, basic, -1, 0), 1267);
  EXPECT_EQ(VLTpivot(s.env, s.lp, 3, -1, 0), 1267);
  EXPECT_EQ(VLTpivot(s.env, s.lp, -3, 0, 0), 1267);
  EXPECT_EQ(VLTpivot(s.env, s.lp, kNone, kNone, 0), 1267);
  EXPECT_EQ(VLTpivot(s.env, s.lp, 2, basic, 5), 1267);  // no such status
  // Leaving variable that is not basic.
  int other = kNone;
  for (int j = 0; j < 2; ++j)
    if (cstat[j] != 1) other = j;
  for (int i = 0; i < 2; ++i)
    if (rstat[i] != 1) other = -i - 1;
  ASSERT_NE(other, kNone);
  EXPECT_EQ(VLTpivot(s.env, s.lp, 2, other, 0), 1267);
  // A nonbasic column at a bound moves to its other bound.
  int mover = -1;
  for (int j = 0; j < 2; ++j)
    if (cstat[j] == 0 || cstat[j] == 2) mover = j;
  if (mover >= 0) {
    int to = 2 - cstat[mover];
    ASSERT_EQ(VLTpivot(s.env, s.lp, mover, mover, to), 0);
    ASSERT_EQ(VLTgetbase(s.env, s.lp, cstat.data(), rstat.data()), 0);
    EXPECT_EQ(cstat[mover], to);
  }
}

TEST(BasisPivot, PivotWithoutBasisStartsFromTheSlackBasis) {
  Session s;
  Dense d;
  d.m = 2;
  d.n = 2;
  d.A = {2, 1, 1, 3};
  d.c = {-1, -1};
  d.lb = {0, 0};
  d.ub = {10, 10};
  d.rhs = {8, 9};
  d.sense = {'L', 'L'};
  ASSERT_EQ(d.load(s), 0);
  // x0 enters in place of the slack of row 0: x0 = 4.
  ASSERT_EQ(VLTpivot(s.env, s.lp, 0, -1, 0), 0);
  Basis b;
  ASSERT_TRUE(b.build(s, d));
  EXPECT_EQ(b.headuser[0], 0);
  EXPECT_EQ(b.headuser[1], -2);
  std::vector<double> x(2);
  ASSERT_EQ(VLTgetx(s.env, s.lp, x.data(), 0, 1), 0);
  EXPECT_NEAR(x[0], 4.0, 1e-12);
  EXPECT_NEAR(x[1], 0.0, 1e-12);
  // setphase2 keeps the basis and marks the record as a manual one.
  ASSERT_EQ(VLTsetphase2(s.env, s.lp), 0);
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 13);
  Basis b2;
  ASSERT_TRUE(b2.build(s, d));
  EXPECT_EQ(b2.headuser, b.headuser);
  ASSERT_EQ(VLTprimopt(s.env, s.lp), 0);
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 1);
  EXPECT_NEAR(objval(s), -(3.0 + 2.0), 1e-9);  // x = (3, 2)
}

TEST(BasisPivot, PartialBaseFillsTheRest) {
  Session s;
  Dense d;
  d.m = 3;
  d.n = 4;
  d.A = {1, 1, 0, 0, 0, 1, 1, 0, 1, 0, 0, 1};
  d.c = {1, 1, 1, 1};
  d.lb = {0, -1e20, -1e20, 1};
  d.ub = {5, 3, 1e20, 2};
  d.rhs = {1, 2, 3};
  d.sense = {'L', 'G', 'E'};
  ASSERT_EQ(d.load(s), 0);
  int cind[1] = {3}, cst[1] = {2}, rind[1] = {1}, rst[1] = {0};
  ASSERT_EQ(VLTcopypartialbase(s.env, s.lp, 1, cind, cst, 1, rind, rst), 0);
  std::vector<int> cstat(4), rstat(3);
  ASSERT_EQ(VLTgetbase(s.env, s.lp, cstat.data(), rstat.data()), 0);
  EXPECT_EQ(cstat, (std::vector<int>{0, 2, 3, 2}));
  EXPECT_EQ(rstat, (std::vector<int>{1, 0, 1}));
  // Argument checks.
  s.err.text.clear();
  EXPECT_EQ(VLTcopypartialbase(s.env, s.lp, -1, cind, cst, 0, nullptr, nullptr), 1003);
  EXPECT_EQ(VLTcopypartialbase(s.env, s.lp, 1, nullptr, cst, 0, nullptr, nullptr), 1004);
  EXPECT_EQ(VLTcopypartialbase(s.env, s.lp, 0, nullptr, nullptr, 1, rind, nullptr), 1004);
  int badc[1] = {4}, badr[1] = {-1}, badst[1] = {7};
  EXPECT_EQ(VLTcopypartialbase(s.env, s.lp, 1, badc, cst, 0, nullptr, nullptr), 1201);
  EXPECT_EQ(VLTcopypartialbase(s.env, s.lp, 0, nullptr, nullptr, 1, badr, rst), 1203);
  EXPECT_EQ(VLTcopypartialbase(s.env, s.lp, 1, cind, badst, 0, nullptr, nullptr), 1253);
  EXPECT_EQ(s.err.text,
            "VELTO Error  1003: Bad argument to Callable Library function.\n"
            "VELTO Error  1004: Null pointer for required data.\n"
            "VELTO Error  1004: Null pointer for required data.\n"
            "VELTO Error  1201: Column index 4 out of range.\n"
            "VELTO Error  1203: Row index -1 out of range.\n"
            "VELTO Error  1253: Invalid status entry 0 for the basis.\n");
  // The partial base is a start the optimizer accepts.
  ASSERT_EQ(VLTcopypartialbase(s.env, s.lp, 0, nullptr, nullptr, 0, nullptr, nullptr), 0);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 1);
}
