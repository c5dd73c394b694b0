// Integer models through the MPS and LP files: column types of every kind
// and special ordered sets survive a write and a read, compared array by
// array through the getters.
#include <fstream>

#include "mipfix.h"

namespace miptest {
namespace {

struct snapshot {
  int n = 0, m = 0;
  std::vector<double> obj, lb, ub, rhs, val;
  std::string ctype, sense;
  std::vector<int> beg, ind, sosbeg, sosind;
  std::vector<char> sostype;
  std::vector<double> soswt;
};

snapshot read(VLTENVptr env, VLTLPptr lp) {
  snapshot s;
  s.n = VLTgetnumcols(env, lp);
  s.m = VLTgetnumrows(env, lp);
  s.obj.resize(s.n);
  s.lb.resize(s.n);
  s.ub.resize(s.n);
  s.rhs.resize(s.m);
  s.ctype.resize(s.n);
  s.sense.resize(s.m);
  EXPECT_EQ(VLTgetobj(env, lp, s.obj.data(), 0, s.n - 1), 0);
  EXPECT_EQ(VLTgetlb(env, lp, s.lb.data(), 0, s.n - 1), 0);
  EXPECT_EQ(VLTgetub(env, lp, s.ub.data(), 0, s.n - 1), 0);
  EXPECT_EQ(VLTgetctype(env, lp, s.ctype.data(), 0, s.n - 1), 0);
  EXPECT_EQ(VLTgetrhs(env, lp, s.rhs.data(), 0, s.m - 1), 0);
  EXPECT_EQ(VLTgetsense(env, lp, s.sense.data(), 0, s.m - 1), 0);
  int nz = 0, surplus = 0;
  s.beg.resize(s.n);
  VLTgetcols(env, lp, &nz, s.beg.data(), nullptr, nullptr, 0, &surplus, 0, s.n - 1);
  s.ind.resize(-surplus);
  s.val.resize(-surplus);
  EXPECT_EQ(VLTgetcols(env, lp, &nz, s.beg.data(), s.ind.data(), s.val.data(), -surplus, &surplus,
                       0, s.n - 1),
            0);
  int ns = VLTgetnumsos(env, lp);
  if (ns > 0) {
    s.sostype.resize(ns);
    s.sosbeg.resize(ns);
    VLTgetsos(env, lp, &nz, s.sostype.data(), nullptr, s.sosbeg.data(), nullptr, nullptr, 0,
              &surplus, 0, ns - 1);
    s.sosind.resize(-surplus);
    s.soswt.resize(-surplus);
    EXPECT_EQ(VLTgetsos(env, lp, &nz, s.sostype.data(), nullptr, s.sosbeg.data(), s.sosind.data(),
                        s.soswt.data(), -surplus, &surplus, 0, ns - 1),
              0);
  }
  return s;
}

void same(const snapshot &a, const snapshot &b) {
  EXPECT_EQ(a.n, b.n);
  EXPECT_EQ(a.m, b.m);
  EXPECT_EQ(a.obj, b.obj);
  EXPECT_EQ(a.lb, b.lb);
  EXPECT_EQ(a.ub, b.ub);
  EXPECT_EQ(a.ctype, b.ctype);
  EXPECT_EQ(a.rhs, b.rhs);
  EXPECT_EQ(a.sense, b.sense);
  EXPECT_EQ(a.beg, b.beg);
  EXPECT_EQ(a.ind, b.ind);
  EXPECT_EQ(a.val, b.val);
  EXPECT_EQ(a.sostype, b.sostype);
  EXPECT_EQ(a.sosbeg, b.sosbeg);
  EXPECT_EQ(a.sosind, b.sosind);
  EXPECT_EQ(a.soswt, b.soswt);
}

class FileRoundTrip : public MipTest, public ::testing::WithParamInterface<const char *> {
 protected:
  void SetUp() override {
    MipTest::SetUp();
    // Every column type: C, B, I, I with a negative lower bound, S, N, C
    // free, I without an upper bound.
    const int n = 8;
    const double obj[n] = {1, -2, 3, 0.5, 4, -1, 2.25, 1};
    const double lb[n] = {0, 0, 0, -5, 2, 1, -1e20, 0};
    const double ub[n] = {10, 1, 10, 5, 8, 4, 1e20, 1e20};
    const double rhs[] = {12, 3, -1};
    const char sense[] = "LGE";
    const int beg[n] = {0, 2, 4, 5, 7, 8, 10, 11};
    const int cnt[n] = {2, 2, 1, 2, 1, 2, 1, 1};
    const int ind[] = {0, 1, 0, 2, 1, 0, 2, 1, 0, 2, 1, 2};
    const double val[] = {1, 2, 3, -1, 1.5, 2, 1, -4, 1, 1, 0.125, 7};
    char *cn[n] = {(char *)"c0", (char *)"b1", (char *)"i2", (char *)"i3", (char *)"s4",
                   (char *)"n5", (char *)"f6", (char *)"i7"};
    char *rn[] = {(char *)"r0", (char *)"r1", (char *)"r2"};
    ASSERT_EQ(VLTcopylpwnames(env, lp, n, 3, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub,
                              nullptr, cn, rn),
              0);
    ASSERT_EQ(VLTcopyctype(env, lp, "CBIISNCI"), 0);
    const char st[] = {'1', '2'};
    const int sb[] = {0, 3};
    const int si[] = {0, 6, 2, 1, 3, 4, 7};
    const double sw[] = {1, 2.5, 4, 1, 2, 3, 4.75};
    ASSERT_EQ(VLTcopysos(env, lp, 2, 7, st, nullptr, sb, si, sw), 0);
  }
};

TEST_P(FileRoundTrip, KeepsTypesAndSets) {
  snapshot before = read(env, lp);
  std::string file = path(std::string("model.") + GetParam());
  ASSERT_EQ(VLTwriteprob(env, lp, file.c_str(), nullptr), 0);
  int status;
  VLTLPptr back = VLTcreateprob(env, &status, "back");
  ASSERT_EQ(VLTreadcopyprob(env, back, file.c_str(), nullptr), 0) << err;
  same(read(env, back), before);
  EXPECT_EQ(VLTgetnumsemicont(env, back), 1);
  EXPECT_EQ(VLTgetnumsemiint(env, back), 1);
  VLTfreeprob(env, &back);
}

INSTANTIATE_TEST_SUITE_P(Formats, FileRoundTrip, ::testing::Values("mps", "lp"));

TEST_F(MipTest, MpsSetSectionIsRead) {
  std::ofstream(path("s.mps")) << "NAME sets\nROWS\n N obj\n L c1\nCOLUMNS\n"
                                  "    x  obj  1  c1  1\n    y  obj  1  c1  1\n    z  c1  1\n"
                                  "RHS\n    rhs  c1  1\nBOUNDS\n UP bnd x 1\n UP bnd y 1\n UP bnd z 1\n"
                                  "SOS\n S2\n    z  3\n    x  1\n    y  2\nENDATA\n";
  ASSERT_EQ(VLTreadcopyprob(env, lp, path("s.mps").c_str(), nullptr), 0) << err;
  ASSERT_EQ(VLTgetnumsos(env, lp), 1);
  int nz, surplus, beg, ind[3];
  char type;
  double wt[3];
  ASSERT_EQ(VLTgetsos(env, lp, &nz, &type, nullptr, &beg, ind, wt, 3, &surplus, 0, 0), 0);
  EXPECT_EQ(type, '2');
  EXPECT_EQ(std::vector<int>(ind, ind + 3), (std::vector<int>{0, 1, 2}));
  EXPECT_EQ(std::vector<double>(wt, wt + 3), (std::vector<double>{1, 2, 3}));
  EXPECT_EQ(VLTgetprobtype(env, lp), 1);
}

TEST_F(MipTest, SetWithTiedWeightsInAFileIsAnError) {
  std::ofstream(path("t.lp")) << "Minimize\n obj: x + y\nSubject To\n c1: x + y <= 1\n"
                                 "SOS\n S1 :: x : 1  y : 1\nEnd\n";
  EXPECT_EQ(VLTreadcopyprob(env, lp, path("t.lp").c_str(), nullptr), 3010);
  EXPECT_EQ(take(err), "VELTO Error  3010: Set does not have unique weights.\n");
}

}  // namespace
}  // namespace miptest

namespace miptest {
namespace {

// Every cut of a file with markers, integer bounds and sets reads to a
// status; a successful read gives sets whose members are columns.
TEST_F(MipTest, TruncatedIntegerFilesNeverCrash) {
  const std::string text =
      "NAME sets\nROWS\n N obj\n L c1\nCOLUMNS\n    MARKER  'MARKER'  'INTORG'\n"
      "    x  obj  1  c1  1\n    MARKER  'MARKER'  'INTEND'\n    y  obj  1  c1  1\n    z  c1  1\n"
      "RHS\n    rhs  c1  1\nBOUNDS\n UI bnd x 4\n SC bnd y 3\n BV bnd z\n"
      "SOS\n S2\n    z  3\n    x  1\n    y  2\n S1\n    x  5\n    z  5\nENDATA\n";
  int ok = 0, failed = 0;
  for (size_t cut = 0; cut <= text.size(); ++cut) {
    std::ofstream(path("cut.mps"), std::ios::binary) << text.substr(0, cut);
    int status = VLTreadcopyprob(env, lp, path("cut.mps").c_str(), nullptr);
    if (status != 0) {
      ++failed;
      continue;
    }
    ++ok;
    int n = VLTgetnumcols(env, lp), ns = VLTgetnumsos(env, lp);
    if (ns == 0) continue;
    int nz, surplus;
    std::vector<int> beg(ns), ind(16);
    std::vector<double> wt(16);
    ASSERT_EQ(VLTgetsos(env, lp, &nz, nullptr, nullptr, beg.data(), ind.data(), wt.data(), 16,
                        &surplus, 0, ns - 1),
              0);
    for (int k = 0; k < nz; ++k) EXPECT_LT(ind[k], n);
  }
  EXPECT_GT(ok, 0);
  EXPECT_GT(failed, 0);  // the whole file has tied weights in its second set
  take(err);
  take(warn);
}

}  // namespace
}  // namespace miptest
