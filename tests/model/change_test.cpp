// Changes to a loaded model: bounds, senses, objective sense.
#include "fixture.h"
#include "model/lp.h"

using namespace velto_test;

TEST_F(StoreTest, BoundChangesFollowTheInfinityRules) {
  double obj[] = {1, 1, 1}, lb[] = {0, 0, 0}, ub[] = {5, 5, 5}, rhs[] = {1}, val[] = {1, 1, 1};
  int beg[] = {0, 1, 2}, cnt[] = {1, 1, 1}, ind[] = {0, 0, 0};
  char sense[] = {'L'};
  ASSERT_EQ(VLTcopylp(env, lp, 3, 1, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
  int idx[] = {0, 1, 2, 2};
  char lu[] = {'L', 'U', 'U', 'L'};
  double bd[] = {1e20, -1e20, 1e-11, -2e30};
  ASSERT_EQ(VLTchgbds(env, lp, 4, idx, lu, bd), 0);
  EXPECT_EQ(takeWarnings(),
            "Warning:  Infinity lower bound ignored.\n"
            "Warning:  -Infinity upper bound ignored.\n");
  double l[3], u[3];
  ASSERT_EQ(VLTgetlb(env, lp, l, 0, 2), 0);
  ASSERT_EQ(VLTgetub(env, lp, u, 0, 2), 0);
  EXPECT_EQ(l[0], 0.0);   // ignored
  EXPECT_EQ(u[1], 5.0);   // ignored
  EXPECT_EQ(u[2], 0.0);   // tiny becomes exactly zero
  EXPECT_EQ(lp->core->ubkind[2], velto::kBoundZero);
  EXPECT_EQ(l[2], -1e20);
  EXPECT_EQ(lp->core->lbkind[2], velto::kBoundInfinite);
  // Both bounds at once, and a start basis repaired to match.
  int cs[] = {0, 2, 0}, rs[] = {1};
  ASSERT_EQ(VLTcopybase(env, lp, cs, rs), 0);
  int one = 1;
  char b = 'B';
  double big = 1e20;
  ASSERT_EQ(VLTchgbds(env, lp, 1, &one, &b, &big), 0);  // lower ignored, upper infinite
  takeWarnings();
  int two = 2;
  char up = 'U';
  double inf = 1e20;
  ASSERT_EQ(VLTchgbds(env, lp, 1, &two, &up, &inf), 0);  // column 2 now free
  int cs2[3], rs2[1];
  ASSERT_EQ(VLTgetbase(env, lp, cs2, rs2), 0);
  EXPECT_EQ(cs2[1], 0);  // at upper with an infinite upper bound goes to lower
  EXPECT_EQ(cs2[2], 3);  // both bounds infinite: free
}

TEST_F(StoreTest, SenseChangesMoveRangeColumns) {
  double obj[] = {1}, lb[] = {0}, ub[] = {5}, rhs[] = {1, 2}, val[] = {1, 1};
  int beg[] = {0}, cnt[] = {2}, ind[] = {0, 1};
  char sense[] = {'L', 'G'};
  ASSERT_EQ(VLTcopylp(env, lp, 1, 2, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
  EXPECT_EQ(lp->core->rngval, nullptr);
  int i = 0;
  char r = 'R';
  ASSERT_EQ(VLTchgsense(env, lp, 1, &i, &r), 0);
  ASSERT_NE(lp->core->rngval, nullptr);
  double rg[2];
  ASSERT_EQ(VLTgetrngval(env, lp, rg, 0, 1), 0);
  EXPECT_EQ(rg[0], 0.0);
  EXPECT_EQ(lp->core->totcols, 2);
  EXPECT_EQ(lp->core->allcols, 3);  // one slack left, for the 'G' row
  EXPECT_EQ(VLTgetnumnz(env, lp), 2);
  char back = 'E';
  ASSERT_EQ(VLTchgsense(env, lp, 1, &i, &back), 0);
  EXPECT_EQ(lp->core->totcols, 1);
  char bad = 'Z';
  EXPECT_EQ(VLTchgsense(env, lp, 1, &i, &bad), 1215);
  EXPECT_EQ(takeErrors(), "VELTO Error  1215: Illegal sense entry 0.\n");
  VLTchgobjsen(env, lp, -7);
  EXPECT_EQ(VLTgetobjsen(env, lp), -1);
  VLTchgobjsen(env, lp, 0);
  EXPECT_EQ(VLTgetobjsen(env, lp), 1);
}
