// The views the cut families read: the row-wise copy with its member order,
// the row classes, and the set reduction against working bounds.
#include "mip/mip.h"
#include "mipfix.h"

namespace miptest {
namespace {

using namespace velto;

TEST_F(MipTest, RowCopyPutsBinariesThenIntegersByMagnitude) {
  // Types C B I B B I.  Row 0: C 5, B 1, I -3, B -4, I 2; row 1: B 1, B 1;
  // row 2: C 2, B -7 (a variable bound row); row 3: I 1, I 1, C 1.
  const int n = 6;
  const double obj[n] = {1, 0, 2, -1, 0, 0};
  const double rhs[] = {10, 1, 0, 4};
  const char sense[] = "LEGR";
  const double rng[] = {0, 0, 0, 2};
  const int beg[n] = {0, 3, 5, 7, 9, 10};
  const int cnt[n] = {3, 2, 2, 2, 1, 2};
  const int ind[] = {0, 2, 3, 0, 1, 0, 3, 0, 1, 2, 0, 3};
  const double val[] = {5, 2, 1, 1, 1, -3, 1, -4, 1, -7, 2, 1};
  const double lb[n] = {0, 0, 0, 0, 0, 0}, ub[n] = {9, 1, 9, 1, 1, 9};
  ASSERT_EQ(VLTcopylp(env, lp, n, 4, -1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, rng), 0);
  ASSERT_EQ(VLTcopyctype(env, lp, "CBIBBI"), 0);
  rowcopy rc;
  rowcopybuild(lp, rc);
  ASSERT_EQ(rc.rows, 4);
  auto row = [&](int i) {
    std::vector<std::pair<int, double>> r;
    for (int k = rc.rowbeg[i]; k < rc.rowend[i]; ++k) r.push_back({rc.rowind[k], rc.rowval[k]});
    return r;
  };
  using V = std::vector<std::pair<int, double>>;
  EXPECT_EQ(row(0), (V{{3, -4}, {1, 1}, {2, -3}, {5, 2}, {0, 5}}));
  EXPECT_EQ(row(1), (V{{1, 1}, {3, 1}}));
  EXPECT_EQ(row(2), (V{{4, -7}, {0, 2}}));
  EXPECT_EQ(row(3), (V{{2, 1}, {5, 1}, {0, 1}}));
  // The objective in minimization sign, integers first as well.
  EXPECT_EQ(rc.objind, (std::vector<int>{3, 2, 0}));
  EXPECT_EQ(rc.objval, (std::vector<double>{1, -2, -1}));
  std::vector<int> cls;
  rowclassbuild(lp, cls);
  // Row 0 mixed; row 1 binaries with unit coefficients, an equality;
  // row 2 a variable bound; row 3 general.
  EXPECT_EQ(cls, (std::vector<int>{5, 4, 6, 5}));
}

TEST_F(MipTest, RowClassesOfBinaryRows) {
  const double obj[] = {0, 0, 0};
  const double rhs[] = {1, 2, 1, 3};
  const char sense[] = "LGER";
  const double rng[] = {0, 0, 0, 1};
  const int beg[] = {0, 4, 8};
  const int cnt[] = {4, 4, 4};
  const int ind[] = {0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3};
  const double val[] = {1, 1, 1, 1, -1, 2, 1, 3, 1, 1, 1, 1};
  const double lb[] = {0, 0, 0}, ub[] = {1, 1, 1};
  ASSERT_EQ(VLTcopylp(env, lp, 3, 4, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, rng), 0);
  ASSERT_EQ(VLTcopyctype(env, lp, "BBB"), 0);
  std::vector<int> cls;
  rowclassbuild(lp, cls);
  // Row 0: +1 -1 +1, L -> 2; row 1: 1 2 1, G -> 1; row 2: 1 1 1, E -> 4;
  // row 3: 1 3 1, R -> 3.
  EXPECT_EQ(cls, (std::vector<int>{2, 1, 4, 3}));
}

TEST(SosReduce, MembersThatMustStayZero) {
  sosdata s;
  s.count = 3;
  s.type = {'1', '2', '2'};
  s.beg = {0, 3, 7, 10};
  s.ind = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
  s.wt = {1, 2, 3, 1, 2, 3, 4, 1, 2, 3};
  std::vector<double> lb(10, 0.0), ub(10, 5.0);
  lb[1] = 0.5;  // type 1: the others go to 0
  lb[4] = 1.0;  // type 2 with one non-zero at position 1: position 3 goes
  ASSERT_EQ(sosreduce(s, lb, ub), 0);
  EXPECT_EQ(ub, (std::vector<double>{0, 5, 0, 5, 5, 5, 0, 5, 5, 5}));
  lb[7] = 1.0;
  lb[9] = 1.0;  // two non-zeros not next to each other
  EXPECT_EQ(sosreduce(s, lb, ub), 103);
  lb[9] = 0.0;
  ub[8] = -1.0;  // next to each other: the rest goes
  ASSERT_EQ(sosreduce(s, lb, ub), 0);
  EXPECT_EQ(ub[9], 0.0);
  lb[2] = 2.0;  // a second non-zero in a type 1 set
  EXPECT_EQ(sosreduce(s, lb, ub), 103);
}

}  // namespace
}  // namespace miptest
