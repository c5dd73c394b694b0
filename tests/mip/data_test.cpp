// Integer model data through the API: sets, orders, start values, column
// type counts, problem type changes and the result getters before a run.
#include <cstring>

#include "mip/mip.h"
#include "mipfix.h"

namespace miptest {
namespace {

class DataTest : public MipTest {
 protected:
  void SetUp() override {
    MipTest::SetUp();
    loadcols(6, std::vector<double>(6, 0.0), {1, 1, 5, 10, 1e20, 1});
  }
  // Reads all sets back.
  struct sets {
    std::vector<char> type;
    std::vector<int> pri, beg, ind;
    std::vector<double> wt;
  };
  sets readsets() {
    sets s;
    int n = VLTgetnumsos(env, lp), nz = 0, surplus = 0;
    if (n == 0) return s;
    s.type.resize(n);
    s.pri.resize(n);
    s.beg.resize(n);
    int rc = VLTgetsos(env, lp, &nz, s.type.data(), s.pri.data(), s.beg.data(), nullptr, nullptr,
                       0, &surplus, 0, n - 1);
    EXPECT_EQ(rc, surplus < 0 ? 1207 : 0);
    s.ind.resize(-surplus);
    s.wt.resize(-surplus);
    EXPECT_EQ(VLTgetsos(env, lp, &nz, s.type.data(), s.pri.data(), s.beg.data(), s.ind.data(),
                        s.wt.data(), -surplus, &surplus, 0, n - 1),
              0);
    EXPECT_EQ(surplus, 0);
    return s;
  }
};

TEST_F(DataTest, SetsAreSortedByWeightAndReadBack) {
  // Two sets; the first starts at 1, so member 0 of the arrays is skipped.
  const char type[] = {'1', '2'};
  const int pri[] = {3, 7};
  const int beg[] = {1, 4};
  const int ind[] = {5, 2, 0, 1, 3, 4};
  const double wt[] = {9.0, 3.0, 1.0, 2.0, 0.5, 0.25};
  ASSERT_EQ(VLTcopysos(env, lp, 2, 6, type, pri, beg, ind, wt), 0);
  EXPECT_EQ(VLTgetnumsos(env, lp), 2);
  sets s = readsets();
  EXPECT_EQ(s.type, (std::vector<char>{'1', '2'}));
  EXPECT_EQ(s.pri, (std::vector<int>{3, 7}));
  EXPECT_EQ(s.beg, (std::vector<int>{0, 3}));
  EXPECT_EQ(s.ind, (std::vector<int>{0, 1, 2, 4, 3}));
  EXPECT_EQ(s.wt, (std::vector<double>{1.0, 2.0, 3.0, 0.25, 0.5}));
  // The model became a MIP with all columns continuous.
  EXPECT_EQ(VLTgetprobtype(env, lp), 1);
  EXPECT_EQ(VLTgetnumint(env, lp) + VLTgetnumbin(env, lp), 0);
}

TEST_F(DataTest, TiedWeightsAreRefusedAndCopyLeavesNoSets) {
  const char type[] = {'1'};
  const int beg[] = {0};
  const int ind[] = {0, 1, 2};
  const double wt[] = {1.0, 2.0, 1.0 + 1e-11};
  EXPECT_EQ(VLTcopysos(env, lp, 1, 3, type, nullptr, beg, ind, wt), 3010);
  EXPECT_EQ(take(err), "VELTO Error  3010: Set does not have unique weights.\n");
  EXPECT_EQ(VLTgetnumsos(env, lp), 0);
  // An add that fails keeps the sets there were.
  const double good[] = {1.0, 2.0, 3.0};
  ASSERT_EQ(VLTcopysos(env, lp, 1, 3, type, nullptr, beg, ind, good), 0);
  EXPECT_EQ(VLTaddsos(env, lp, 1, 3, type, nullptr, beg, ind, wt), 3010);
  EXPECT_EQ(VLTgetnumsos(env, lp), 1);
}

TEST_F(DataTest, SetArgumentsAreChecked) {
  const char type[] = {'3'};
  const int beg[] = {0};
  const int ind[] = {0, 9};
  const double wt[] = {1.0, 2.0};
  EXPECT_EQ(VLTcopysos(env, lp, -1, 2, type, nullptr, beg, ind, wt), 1003);
  EXPECT_EQ(VLTcopysos(env, lp, 1, 2, type, nullptr, nullptr, ind, wt), 1004);
  take(err);
  // A member outside the columns is refused even without the data check.
  EXPECT_EQ(VLTcopysos(env, lp, 1, 2, type, nullptr, beg, ind, wt), 1201);
  EXPECT_EQ(take(err), "VELTO Error  1201: Column index 9 out of range.\n");
  const int ind2[] = {0, 1};
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_DATACHECK, 1), 0);
  EXPECT_EQ(VLTcopysos(env, lp, 1, 2, type, nullptr, beg, ind2, wt), 3009);
  EXPECT_EQ(take(err), "VELTO Error  3009: Illegal sostype entry 0.\n");
  // Zero counts only clear.
  const char t1[] = {'1'};
  ASSERT_EQ(VLTcopysos(env, lp, 1, 2, t1, nullptr, beg, ind2, wt), 0);
  EXPECT_EQ(VLTcopysos(env, lp, 0, 0, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(VLTgetnumsos(env, lp), 0);
  int nz, surplus;
  EXPECT_EQ(VLTgetsos(env, lp, &nz, nullptr, nullptr, nullptr, nullptr, nullptr, 0, &surplus, 0, 0),
            3015);
}

TEST_F(DataTest, DeletingSetsRenumbersTheRest) {
  const char type[] = {'1', '2', '1'};
  const int beg[] = {0, 2, 4};
  const int ind[] = {0, 1, 2, 3, 4, 5};
  const double wt[] = {1, 2, 1, 2, 1, 2};
  ASSERT_EQ(VLTcopysos(env, lp, 3, 6, type, nullptr, beg, ind, wt), 0);
  int del[] = {0, 1, 0};
  ASSERT_EQ(VLTdelsetsos(env, lp, del), 0);
  EXPECT_EQ(del[0], 0);
  EXPECT_EQ(del[1], -1);
  EXPECT_EQ(del[2], 1);
  sets s = readsets();
  EXPECT_EQ(s.type, (std::vector<char>{'1', '1'}));
  EXPECT_EQ(s.ind, (std::vector<int>{0, 1, 4, 5}));
  // Partial reads: the second set alone, and too little room.
  int nz = 0, surplus = 0, b = -1, mi[1];
  double mw[1];
  char t;
  EXPECT_EQ(VLTgetsos(env, lp, &nz, &t, nullptr, &b, mi, mw, 1, &surplus, 1, 1), 1207);
  EXPECT_EQ(surplus, -1);
  EXPECT_EQ(nz, 1);
  EXPECT_EQ(mi[0], 4);
  EXPECT_EQ(b, 0);
}

TEST_F(DataTest, OrderAndStartRoundTrip) {
  int cnt, surplus, ind[4], pri[4], dir[4];
  double val[4];
  ASSERT_EQ(VLTchgprobtype(env, lp, 1), 0);
  EXPECT_EQ(VLTgetorder(env, lp, &cnt, ind, pri, dir, 4, &surplus), 3016);
  EXPECT_EQ(VLTgetmipstart(env, lp, &cnt, ind, val, 4, &surplus), 3020);
  const int oi[] = {3, 1}, op[] = {5, 2}, od[] = {-1, 1};
  ASSERT_EQ(VLTcopyorder(env, lp, 2, oi, op, od), 0);
  ASSERT_EQ(VLTgetorder(env, lp, &cnt, ind, pri, dir, 4, &surplus), 0);
  EXPECT_EQ(cnt, 2);
  EXPECT_EQ(surplus, 2);
  EXPECT_EQ(std::vector<int>(ind, ind + 2), (std::vector<int>{3, 1}));
  EXPECT_EQ(std::vector<int>(pri, pri + 2), (std::vector<int>{5, 2}));
  EXPECT_EQ(std::vector<int>(dir, dir + 2), (std::vector<int>{-1, 1}));
  EXPECT_EQ(VLTgetorder(env, lp, &cnt, ind, pri, dir, 1, &surplus), 1207);
  EXPECT_EQ(surplus, -1);
  const int si[] = {0, 2, 4};
  const double sv[] = {1.0, 2.5, -3.0};
  ASSERT_EQ(VLTcopymipstart(env, lp, 3, si, sv), 0);
  ASSERT_EQ(VLTgetmipstart(env, lp, &cnt, ind, val, 4, &surplus), 0);
  EXPECT_EQ(cnt, 3);
  EXPECT_EQ(std::vector<double>(val, val + 3), (std::vector<double>{1.0, 2.5, -3.0}));
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_DATACHECK, 1), 0);
  const int bad[] = {0, 2};
  take(err);
  EXPECT_EQ(VLTcopyorder(env, lp, 2, oi, op, bad), 3007);
  EXPECT_EQ(take(err), "VELTO Error  3007: Illegal direction entry 1.\n");
  // cnt 0 clears.
  ASSERT_EQ(VLTcopyorder(env, lp, 0, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(VLTgetorder(env, lp, &cnt, ind, pri, dir, 4, &surplus), 3016);
}

TEST_F(DataTest, GeneratedOrderByBoundRange) {
  // Types B, B, I [0,5], I [0,10], I [0,inf), C.
  const char ct[] = "BBIIIC";
  ASSERT_EQ(VLTcopyctype(env, lp, ct), 0);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_MIPORDTYPE, 2), 0);
  int cnt, surplus, ind[6], pri[6];
  ASSERT_EQ(VLTgetorder(env, lp, &cnt, ind, pri, nullptr, 6, &surplus), 0);
  EXPECT_EQ(take(res), "Generated priority order by increasing bound range.\n");
  // top = 10: binaries 12, ranges 5 and 10 give 7 and 2, the unbounded one 1.
  EXPECT_EQ(std::vector<int>(ind, ind + cnt), (std::vector<int>{0, 1, 2, 3, 4}));
  EXPECT_EQ(std::vector<int>(pri, pri + cnt), (std::vector<int>{12, 12, 7, 2, 1}));
  // The generated order is not kept.
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_MIPORDTYPE, 0), 0);
  EXPECT_EQ(VLTgetorder(env, lp, &cnt, ind, pri, nullptr, 6, &surplus), 3016);
}

TEST_F(DataTest, TypeCountsIncludePendingColumns) {
  const int idx[] = {0, 2, 3, 5};
  const char ct[] = {'B', 'I', 'S', 'N'};
  ASSERT_EQ(VLTchgctype(env, lp, 4, idx, ct), 0);
  EXPECT_EQ(VLTgetnumbin(env, lp), 1);
  EXPECT_EQ(VLTgetnumint(env, lp), 1);
  EXPECT_EQ(VLTgetnumsemicont(env, lp), 1);
  EXPECT_EQ(VLTgetnumsemiint(env, lp), 1);
  // Columns waiting in the change cache count too.
  const char more[] = {'I', 'I', 'B'};
  ASSERT_EQ(VLTEcacheNewCols(env, lp, 3, nullptr, nullptr, nullptr, more, nullptr), 0);
  EXPECT_EQ(VLTgetnumint(env, lp), 3);
  EXPECT_EQ(VLTgetnumbin(env, lp), 2);
}

TEST_F(DataTest, ProblemTypeChanges) {
  char ct[6];
  EXPECT_EQ(VLTgetctype(env, lp, ct, 0, 5), 3003);
  EXPECT_EQ(VLTchgprobtype(env, lp, 2), 1024);
  EXPECT_EQ(VLTchgprobtype(env, lp, 4), 1022);
  EXPECT_EQ(VLTchgprobtype(env, lp, 0), 0);  // same type: nothing
  ASSERT_EQ(VLTchgprobtype(env, lp, 1), 0);
  ASSERT_EQ(VLTgetctype(env, lp, ct, 0, 5), 0);
  EXPECT_EQ(std::string(ct, 6), "CCCCCC");
  const char type[] = {'1'};
  const int beg[] = {0};
  const int ind[] = {0, 1};
  const double wt[] = {1, 2};
  ASSERT_EQ(VLTcopysos(env, lp, 1, 2, type, nullptr, beg, ind, wt), 0);
  // Fixing needs an incumbent.
  EXPECT_EQ(VLTchgprobtype(env, lp, 3), 3017);
  // The relaxed view answers the model's LP queries without types.
  ASSERT_EQ(VLTchgprobtype(env, lp, 2), 0);
  EXPECT_EQ(VLTgetprobtype(env, lp), 2);
  double ub[6];
  ASSERT_EQ(VLTgetub(env, lp, ub, 0, 5), 0);
  EXPECT_EQ(ub[3], 10.0);
  EXPECT_EQ(VLTgetctype(env, lp, ct, 0, 5), 3003);
  ASSERT_EQ(VLTchgprobtype(env, lp, 1), 0);
  EXPECT_EQ(VLTgetnumsos(env, lp), 1);
  // Back to LP drops the integer data.
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_DATACHECK, 1), 0);
  ASSERT_EQ(VLTchgprobtype(env, lp, 0), 0);
  EXPECT_EQ(take(warn), "Freeing MIP data.\n");
  EXPECT_EQ(VLTgetnumsos(env, lp), 0);
  EXPECT_EQ(VLTgetctype(env, lp, ct, 0, 5), 3003);
}

TEST_F(DataTest, ResultGettersBeforeARun) {
  take(err);
  double v;
  EXPECT_EQ(VLTgetnodecnt(env, lp), 0);
  EXPECT_EQ(take(err), "VELTO Error  3003: Not a mixed-integer problem.\n");
  ASSERT_EQ(VLTchgprobtype(env, lp, 1), 0);
  EXPECT_EQ(VLTgetnodecnt(env, lp), 0);
  EXPECT_EQ(take(err), "VELTO Error  1217: No solution exists.\n");
  EXPECT_EQ(VLTgetnodeint(env, lp), -1);
  EXPECT_EQ(take(err), "VELTO Error  3017: No integer feasible solution exists.\n");
  EXPECT_EQ(VLTgetmipobjval(env, lp, &v), 3017);
  EXPECT_EQ(VLTgetbestobjval(env, lp, &v), 1217);
  double x[6];
  EXPECT_EQ(VLTgetmipx(env, lp, x, 0, 5), 3017);
}

}  // namespace
}  // namespace miptest

namespace miptest {
namespace {

TEST_F(MipTest, CloneCarriesTypesAndSets) {
  loadcols(3, {0, 0, 0}, {1, 1, 1});
  ASSERT_EQ(VLTcopyctype(env, lp, "BIC"), 0);
  const char type[] = {'2'};
  const int beg[] = {0};
  const int ind[] = {2, 0};
  const double wt[] = {2, 1};
  ASSERT_EQ(VLTcopysos(env, lp, 1, 2, type, nullptr, beg, ind, wt), 0);
  int status;
  VLTLPptr q = VLTcloneprob(env, lp, &status);
  ASSERT_EQ(status, 0);
  // Changing the original leaves the clone's sets alone.
  int del[] = {1};
  ASSERT_EQ(VLTdelsetsos(env, lp, del), 0);
  EXPECT_EQ(VLTgetnumsos(env, lp), 0);
  EXPECT_EQ(VLTgetnumsos(env, q), 1);
  EXPECT_EQ(VLTgetnumbin(env, q), 1);
  EXPECT_EQ(VLTgetnumint(env, q), 1);
  VLTfreeprob(env, &q);
}

}  // namespace
}  // namespace miptest

namespace miptest {
namespace {

TEST_F(MipTest, GeneratedOrderByDecreasingCostTakesContinuousSetMembers) {
  loadcols(7, std::vector<double>(7, 0.0), std::vector<double>(7, 1.0));
  ASSERT_EQ(VLTcopyctype(env, lp, "BBIIICC"), 0);
  const int idx[] = {0, 1, 2, 3, 4, 5, 6};
  const double c[] = {1, 10, 2, 100, 0, 5, -3};
  ASSERT_EQ(VLTchgobj(env, lp, 7, idx, c), 0);
  // Columns 5 and 6 are continuous but set members: they take part.
  const char st[] = {'1'};
  const int sb[] = {0};
  const int si[] = {5, 6};
  const double sw[] = {1, 2};
  ASSERT_EQ(VLTcopysos(env, lp, 1, 2, st, nullptr, sb, si, sw), 0);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_MIPORDTYPE, 1), 0);
  int cnt, surplus, ind[7], pri[7];
  take(res);
  ASSERT_EQ(VLTgetorder(env, lp, &cnt, ind, pri, nullptr, 7, &surplus), 0);
  EXPECT_EQ(take(res), "Generated priority order by decreasing cost.\n");
  // Scores 1, 10, 2, 100, none, 5, 3: step (100 - 1) * 0.25 / 6 = 4.125.
  // By rising score 0, 1, 2, 3, 5 stay at 1; 10 is 5 past 5 (priority 2),
  // 100 past 10 (priority 3).
  EXPECT_EQ(std::vector<int>(ind, ind + cnt), (std::vector<int>{0, 1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(std::vector<int>(pri, pri + cnt), (std::vector<int>{1, 2, 1, 3, 1, 1, 1}));
}

}  // namespace
}  // namespace miptest

namespace miptest {
namespace {

// Regression: a change of sets or types freed the order and start values
// with the run's results.
TEST_F(MipTest, ModelChangesEndTheRunButKeepOrderAndStart) {
  loadcols(3, {0, 0, 0}, {1, 1, 1});
  ASSERT_EQ(VLTcopyctype(env, lp, "BBB"), 0);
  const int oi[] = {1};
  const int op[] = {4};
  ASSERT_EQ(VLTcopyorder(env, lp, 1, oi, op, nullptr), 0);
  const double sv[] = {1.0};
  ASSERT_EQ(VLTcopymipstart(env, lp, 1, oi, sv), 0);
  lp->mip->work = new velto::mipwork();
  lp->mip->work->nodecnt = 17;
  EXPECT_EQ(VLTgetnodecnt(env, lp), 17);
  const int j[] = {2};
  ASSERT_EQ(VLTchgctype(env, lp, 1, j, "I"), 0);
  const char st[] = {'1'};
  const int sb[] = {0}, sm[] = {0, 1};
  const double sw[] = {1, 2};
  ASSERT_EQ(VLTcopysos(env, lp, 1, 2, st, nullptr, sb, sm, sw), 0);
  take(err);
  EXPECT_EQ(VLTgetnodecnt(env, lp), 0);
  EXPECT_EQ(take(err), "VELTO Error  1217: No solution exists.\n");
  int cnt, surplus, ind[2], pri[2];
  double v[2];
  ASSERT_EQ(VLTgetorder(env, lp, &cnt, ind, pri, nullptr, 2, &surplus), 0);
  EXPECT_EQ(pri[0], 4);
  ASSERT_EQ(VLTgetmipstart(env, lp, &cnt, ind, v, 2, &surplus), 0);
  EXPECT_EQ(v[0], 1.0);
  // A new model drops them.
  loadcols(2, {0, 0}, {1, 1});
  ASSERT_EQ(VLTchgprobtype(env, lp, 1), 0);
  EXPECT_EQ(VLTgetorder(env, lp, &cnt, ind, pri, nullptr, 2, &surplus), 3016);
}

}  // namespace
}  // namespace miptest
