// Solution reports: the text form's lines and the binary form's records,
// with values checked against the model's own solution calls.
#include <cstring>

#include "support.h"

using namespace velto_test;

namespace {

// max 3x + 2y, x + y <= 4, x + 3y <= 6, x <= 3; a long row name.
void tiny(VLTENVptr env, VLTLPptr lp) {
  double obj[] = {3, 2}, lb[] = {0, 0}, ub[] = {3, 1e20}, rhs[] = {4, 6}, val[] = {1, 1, 1, 3};
  int beg[] = {0, 2}, cnt[] = {2, 2}, ind[] = {0, 1, 0, 1};
  char sense[] = {'L', 'L'};
  char c0[] = "x", c1[] = "y", r0[] = "a_rather_long_row_name", r1[] = "b";
  char *cn[] = {c0, c1}, *rn[] = {r0, r1};
  ASSERT_EQ(VLTcopylpwnames(env, lp, 2, 2, -1, obj, rhs, sense, beg, cnt, ind, val, lb, ub,
                            nullptr, cn, rn),
            0);
}

}  // namespace

TEST_F(FileTest, TextSolutionReport) {
  tiny(env_, lp_);
  EXPECT_EQ(VLTwritesol(env_, lp_, path("s.txt").c_str(), nullptr), 1261);
  ASSERT_EQ(VLTprimopt(env_, lp_), 0);
  ASSERT_EQ(VLTgetstat(env_, lp_), 1);
  clearlogs();
  ASSERT_EQ(VLTwritesol(env_, lp_, path("s.rep").c_str(), "txt"), 0);
  EXPECT_EQ(warn_, "Warning, row names truncated to 16 characters.\n");
  const std::string t = slurp(path("s.rep"));
  EXPECT_NE(t.find(" STATUS           OPTIMAL SOLN     \n"), std::string::npos) << t;
  EXPECT_NE(t.find("(MAX)"), std::string::npos);
  // x = 3, y = 1 (objective 11): row a is at its limit 4, column y basic.
  int cs[2], rs[2];
  ASSERT_EQ(VLTgetbase(env_, lp_, cs, rs), 0);
  char line[200];
  std::snprintf(line, sizeof line, "%6d  %-16.16s %2s%16.7G%16.7G%16s%16.7G", 2,
                "a_rather_long_row_name", rs[0] == 1 ? "BS" : "UL", 4.0, 0.0, "            NONE",
                4.0);
  EXPECT_NE(t.find(line), std::string::npos) << t;
  std::snprintf(line, sizeof line, " %c%6d  %-16.16s %2s%16.7G%16.7G%16.7G%16s", ' ', 5, "y",
                "BS", 1.0, 2.0, 0.0, "            NONE");
  EXPECT_NE(t.find(line), std::string::npos) << t;
  EXPECT_EQ(VLTwritesol(env_, lp_, path("s.xyz").c_str(), nullptr), 1424);
  EXPECT_EQ(VLTwritesol(env_, lp_, "", "TXT"), 1421);
}

TEST_F(FileTest, BinarySolutionRecords) {
  tiny(env_, lp_);
  ASSERT_EQ(VLTprimopt(env_, lp_), 0);
  ASSERT_EQ(VLTbinsolwrite(env_, lp_, path("s.bin").c_str()), 0);
  const std::string b = slurp(path("s.bin"));
  // Walk the records: equal length words around each body.
  std::vector<std::string> recs;
  size_t pos = 0;
  while (pos + 4 <= b.size()) {
    int len = 0, tail = -1;
    std::memcpy(&len, b.data() + pos, 4);
    ASSERT_GE(len, 0);
    ASSERT_LE(pos + 8 + len, b.size());
    std::memcpy(&tail, b.data() + pos + 4 + len, 4);
    EXPECT_EQ(tail, len);
    recs.push_back(b.substr(pos + 4, len));
    pos += 8 + len;
  }
  EXPECT_EQ(pos, b.size());
  ASSERT_GE(recs.size(), 12u);
  EXPECT_EQ(recs[0].substr(0, 8), "NAME    ");
  EXPECT_EQ(recs[1].substr(0, 8), "SOLUTION");
  EXPECT_EQ(recs.back(), std::string("ENDATA") + std::string(10, ' '));
  // Rows: objective row then two rows, each 64 bytes; activity of row b.
  EXPECT_EQ(recs[5].substr(0, 8), "RSECTION");
  ASSERT_EQ(recs[10].size(), 64u);
  double act = 0;
  std::memcpy(&act, recs[10].data(), 8);
  double x[2];
  ASSERT_EQ(VLTgetx(env_, lp_, x, 0, 1), 0);
  EXPECT_NEAR(act, x[0] + 3 * x[1], 1e-9);
  EXPECT_EQ(recs[10].substr(56, 8), "b       ");
  EXPECT_EQ(warn_, "Warning, row names truncated to 8 characters.\n");
}

namespace {

// What the walker hands its operations, as text lines.
struct walklog {
  std::vector<std::string> ev;
  static void head(void *h, const char *prob, const char *obj, double z, int lpstat, int pfeas,
                   int it, int objsen, int rows, int cols) {
    char b[200];
    std::snprintf(b, sizeof b, "head %s %s %g %d %d %d %d %d %d", prob, obj, z, lpstat, pfeas, it >= 0,
                  objsen, rows, cols);
    static_cast<walklog *>(h)->ev.push_back(b);
  }
  static void rows(void *h) { static_cast<walklog *>(h)->ev.push_back("rows"); }
  static void cols(void *h) { static_cast<walklog *>(h)->ev.push_back("cols"); }
  static void end(void *h) { static_cast<walklog *>(h)->ev.push_back("end"); }
  static void entry(void *h, char mark, int num, const char *name, const char *st, double act,
                    double second, double lo, double up, double dual) {
    char b[200];
    std::snprintf(b, sizeof b, "%c %d %s %s %g %g %g %g %g", mark, num, name, st, act, second, lo, up, dual);
    static_cast<walklog *>(h)->ev.push_back(b);
  }
};

}  // namespace

// The exported walker calls the operations in their order with the values
// of the report: at the maximum 11, x = 3 and y = 1 make both rows tight
// (a degenerate vertex), so statuses and duals are read from the basis
// and the dual calls.
TEST_F(FileTest, SolutionWalkerOperations) {
  tiny(env_, lp_);
  walklog w;
  EXPECT_EQ(VLTsolwrite(env_, lp_, walklog::head, walklog::rows, walklog::cols, walklog::entry,
                        walklog::end, &w),
            1261);
  EXPECT_EQ(err_, "VELTO Error  1261: No basic solution exists.\n");
  EXPECT_TRUE(w.ev.empty());
  ASSERT_EQ(VLTprimopt(env_, lp_), 0);
  ASSERT_EQ(VLTsolwrite(env_, lp_, walklog::head, walklog::rows, walklog::cols, walklog::entry,
                        walklog::end, &w),
            0);
  int cs[2], rs[2];
  double pi[2], dj[2];
  ASSERT_EQ(VLTgetbase(env_, lp_, cs, rs), 0);
  ASSERT_EQ(VLTgetpi(env_, lp_, pi, 0, 1), 0);
  ASSERT_EQ(VLTgetdj(env_, lp_, dj, 0, 1), 0);
  const double absent = 1.01e75;
  auto line = [](char mark, int num, const char *name, const char *st, double act, double second,
                 double lo, double up, double dual) {
    char b[200];
    std::snprintf(b, sizeof b, "%c %d %s %s %g %g %g %g %g", mark, num, name, st, act, second, lo, up, dual);
    return std::string(b);
  };
  auto rowst = [&](int i) { return rs[i] == 1 ? "BS" : "UL"; };
  auto colst = [&](int j) { return cs[j] == 1 ? "BS" : cs[j] == 2 ? "UL" : "LL"; };
  auto mark = [&](int st, double d) { return st != 1 && std::fabs(d) <= 1e-6 ? 'A' : ' '; };
  const std::vector<std::string> want = {
      "head test  11 1 1 1 -1 2 2",
      "rows",
      line(' ', 1, "", "BS", 11, -11, -absent, absent, 1),
      line(mark(rs[0], pi[0]), 2, "a_rather_long_row_name", rowst(0), 4, 0, -absent, 4, pi[0]),
      line(mark(rs[1], pi[1]), 3, "b", rowst(1), 6, 0, -absent, 6, pi[1]),
      "end",
      "cols",
      line(mark(cs[0], dj[0]), 4, "x", colst(0), 3, 3, 0, 3, dj[0]),
      line(mark(cs[1], dj[1]), 5, "y", colst(1), 1, 2, 0, absent, dj[1]),
      "end"};
  EXPECT_EQ(w.ev, want);
  // Null operations are skipped.
  EXPECT_EQ(VLTsolwrite(env_, lp_, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
}
