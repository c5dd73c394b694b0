// Semi-continuous and semi-integer columns as linked binaries on a copy of
// the model.
#include "env/par.h"
#include "mip/mip.h"
#include "mipfix.h"

namespace miptest {
namespace {

using namespace velto;

class SemiTest : public MipTest {
 protected:
  void SetUp() override {
    MipTest::SetUp();
    const double obj[] = {1, 2, 3, 4};
    const double rhs[] = {10};
    const int beg[] = {0, 1, 2, 3}, cnt[] = {1, 1, 1, 1}, ind[] = {0, 0, 0, 0};
    const double val[] = {1, 1, 1, 1};
    const double lb[] = {2, 1, 0, 0}, ub[] = {8, 4, 1e20, 5};
    char *cn[] = {(char *)"a", (char *)"b", (char *)"c", (char *)"d"};
    char *rn[] = {(char *)"r"};
    ASSERT_EQ(VLTcopylpwnames(env, lp, 4, 1, 1, obj, rhs, "L", beg, cnt, ind, val, lb, ub,
                              nullptr, cn, rn),
              0);
    ASSERT_EQ(VLTcopyctype(env, lp, "SNCS"), 0);
  }
  void TearDown() override {
    if (q) VLTfreeprob(env, &q);
    MipTest::TearDown();
  }
  VLTLPptr q = nullptr;
};

TEST_F(SemiTest, ConvertedCopyHasLinkedBinaries) {
  const int oi[] = {0, 2}, op[] = {5, 1}, od[] = {1, 0};
  ASSERT_EQ(VLTcopyorder(env, lp, 2, oi, op, od), 0);
  const int si[] = {0, 1, 3};
  const double sv[] = {3.0, 0.5, 4.0};
  ASSERT_EQ(VLTcopymipstart(env, lp, 3, si, sv), 0);
  const char st[] = {'1'};
  const int sb[] = {0}, sm[] = {3, 2};
  const double sw[] = {1, 2};
  ASSERT_EQ(VLTcopysos(env, lp, 1, 2, st, nullptr, sb, sm, sw), 0);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_MIPSTART, 1), 0);
  semidata sd;
  ASSERT_EQ(semiconvert(env, lp, &q, sd), 0);
  ASSERT_NE(q, nullptr);
  EXPECT_EQ(sd.cols, (std::vector<int>{0, 1, 3}));  // a lower limit of 0 still counts
  EXPECT_EQ(sd.firstcol, 4);
  EXPECT_EQ(sd.lastcol, 6);
  EXPECT_EQ(sd.firstrow, 1);
  EXPECT_EQ(sd.lastrow, 6);
  char ct[7];
  ASSERT_EQ(VLTgetctype(env, q, ct, 0, 6), 0);
  EXPECT_EQ(std::string(ct, 7), "CICCBBB");
  double lb[7], ub[7];
  ASSERT_EQ(VLTgetlb(env, q, lb, 0, 6), 0);
  ASSERT_EQ(VLTgetub(env, q, ub, 0, 6), 0);
  EXPECT_EQ(std::vector<double>(lb, lb + 7), (std::vector<double>{0, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(std::vector<double>(ub, ub + 7), (std::vector<double>{8, 4, 1e20, 5, 1, 1, 1}));
  // The rows of column a: a - 2 z >= 0 and a - 8 z <= 0.
  int nz, surplus, rb[2], ri[4];
  double rv[4];
  ASSERT_EQ(VLTgetrows(env, q, &nz, rb, ri, rv, 4, &surplus, 1, 2), 0);
  EXPECT_EQ(std::vector<int>(ri, ri + 4), (std::vector<int>{0, 4, 0, 4}));
  EXPECT_EQ(std::vector<double>(rv, rv + 4), (std::vector<double>{1, -2, 1, -8}));
  char sense[6];
  ASSERT_EQ(VLTgetsense(env, q, sense, 1, 6), 0);
  EXPECT_EQ(std::string(sense, 6), "GLGLGL");
  int index = -1;
  ASSERT_EQ(VLTgetcolindex(env, q, "SCBV_d", &index), 0);
  EXPECT_EQ(index, 6);
  ASSERT_EQ(VLTgetrowindex(env, q, "SCUB_b", &index), 0);
  EXPECT_EQ(index, 4);
  // The order grows by the binaries with their columns' entries.
  int cnt, ind[8], pri[8], dir[8];
  ASSERT_EQ(VLTgetorder(env, q, &cnt, ind, pri, dir, 8, &surplus), 0);
  EXPECT_EQ(std::vector<int>(ind, ind + cnt), (std::vector<int>{0, 2, 4, 5, 6}));
  EXPECT_EQ(std::vector<int>(pri, pri + cnt), (std::vector<int>{5, 1, 5, 0, 0}));
  EXPECT_EQ(std::vector<int>(dir, dir + cnt), (std::vector<int>{1, 0, 1, 0, 0}));
  // Start values: the plain semi-continuous column loses its value, the set
  // member keeps it; binaries are 1 where the value reaches the lower limit.
  double v[8];
  ASSERT_EQ(VLTgetmipstart(env, q, &cnt, ind, v, 8, &surplus), 0);
  EXPECT_EQ(std::vector<int>(ind, ind + cnt), (std::vector<int>{0, 1, 3, 4, 5, 6}));
  EXPECT_EQ(std::vector<double>(v, v + cnt), (std::vector<double>{1e20, 0.5, 4.0, 1, 0, 1}));
  // The user's model is untouched.
  ASSERT_EQ(VLTgetctype(env, lp, ct, 0, 3), 0);
  EXPECT_EQ(std::string(ct, 4), "SNCS");
  EXPECT_EQ(VLTgetnumcols(env, lp), 4);
  ASSERT_EQ(VLTgetlb(env, lp, lb, 0, 0), 0);
  EXPECT_EQ(lb[0], 2.0);
  std::vector<double> x = {1, 2, 3, 4, 1, 1, 0};
  semirestore_x(sd, x);
  EXPECT_EQ(x, (std::vector<double>{1, 2, 3, 4}));
}

TEST_F(SemiTest, InfiniteUpperBoundIsRefused) {
  const int j[] = {3};
  const char lu[] = {'U'};
  const double inf[] = {1e20};
  ASSERT_EQ(VLTchgbds(env, lp, 1, j, lu, inf), 0);
  semidata sd;
  take(err);
  EXPECT_EQ(semiconvert(env, lp, &q, sd), -3022);
  EXPECT_EQ(take(err), "VELTO Error  3022: Illegal bds. on semi-continuous or semi-integer variable 3.\n");
  EXPECT_EQ(q, nullptr);
}

TEST_F(SemiTest, ModelWithoutSemiColumnsNeedsNoCopy) {
  ASSERT_EQ(VLTcopyctype(env, lp, "CCIB"), 0);
  semidata sd;
  ASSERT_EQ(semiconvert(env, lp, &q, sd), 0);
  EXPECT_EQ(q, nullptr);
  EXPECT_EQ(sd.count, 0);
}

}  // namespace
}  // namespace miptest
