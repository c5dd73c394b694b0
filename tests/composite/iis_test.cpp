// The infeasibility finder on small models with one known irreducible
// infeasible subset: members and sides, both filters, the displays line for
// line, the file read back, argument errors and the partial mark of a time
// limit.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "velto.h"

namespace {

void collect(void *handle, const char *text) { *static_cast<std::string *>(handle) += text; }

class Iis : public ::testing::Test {
 protected:
  void SetUp() override {
    int status = 0;
    env = VLTopenVELTO(&status);
    ASSERT_NE(env, nullptr);
    VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0);
    VLTCHANNELptr res, warn, err;
    VLTgetchannels(env, &res, &warn, &err, nullptr);
    VLTaddfuncdest(env, err, &errors, collect);
    VLTaddfuncdest(env, res, &log, collect);
    VLTaddfuncdest(env, warn, &log, collect);
    out = VLTaddchannel(env);
    VLTaddfuncdest(env, out, &shown, collect);
  }
  void TearDown() override {
    if (lp) VLTfreeprob(env, &lp);
    VLTcloseVELTO(&env);
  }

  // x - y >= 8 and y >= 3 need x >= 11, above x's bound 10; the other two
  // rows are slack.  The one subset: r1, r2 and the upper bound of x.
  void loadbound(bool names) {
    int status = 0;
    lp = VLTcreateprob(env, &status, "iisbound");
    double obj[] = {1, 1}, rhs[] = {5, 8, 3, 100}, lb[] = {0, 0}, ub[] = {10, VLT_INFBOUND};
    char sense[] = "GGGL";
    int beg[] = {0, 3}, cnt[] = {3, 4}, ind[] = {0, 1, 3, 0, 1, 2, 3};
    double val[] = {1, 1, 1, 1, -1, 1, 1};
    char c0[] = "x", c1[] = "y", r0[] = "r0", r1[] = "r1", r2[] = "r2", r3[] = "r3";
    char *cn[] = {c0, c1}, *rn[] = {r0, r1, r2, r3};
    ASSERT_EQ(VLTcopylpwnames(env, lp, 2, 4, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub,
                              nullptr, names ? cn : nullptr, names ? rn : nullptr),
              0);
  }
  // Rows 0 and 2 ask x + y to be 1 and 2, with both columns free; row 1 is
  // slack.
  void loadequal() {
    int status = 0;
    lp = VLTcreateprob(env, &status, "iisequal");
    double obj[] = {0, 0}, rhs[] = {1, 0, 2}, lb[] = {-VLT_INFBOUND, -VLT_INFBOUND},
           ub[] = {VLT_INFBOUND, VLT_INFBOUND};
    char sense[] = "EGE";
    int beg[] = {0, 3}, cnt[] = {3, 3}, ind[] = {0, 1, 2, 0, 1, 2};
    double val[] = {1, 1, 1, 1, -1, 1};
    ASSERT_EQ(VLTcopylp(env, lp, 2, 3, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
  }
  // Row 1 has no entries and asks 0 >= 5: a subset of one row and no bound.
  void loademptyrow() {
    int status = 0;
    lp = VLTcreateprob(env, &status, "iisrow");
    double obj[] = {1}, rhs[] = {1, 5}, lb[] = {0}, ub[] = {4};
    char sense[] = "GG";
    int beg[] = {0}, cnt[] = {1}, ind[] = {0};
    double val[] = {1};
    ASSERT_EQ(VLTcopylp(env, lp, 1, 2, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
  }

  struct found {
    int stat = 0;
    std::vector<int> rows, rowstat, cols, colstat;
  };
  found getiis() {
    found f;
    int nr = -1, nc = -1;
    EXPECT_EQ(VLTgetiis(env, lp, &f.stat, nullptr, nullptr, &nr, nullptr, nullptr, &nc), 0);
    f.rows.resize(nr);
    f.rowstat.resize(nr);
    f.cols.resize(nc);
    f.colstat.resize(nc);
    EXPECT_EQ(VLTgetiis(env, lp, nullptr, f.rows.data(), f.rowstat.data(), nullptr, f.cols.data(),
                        f.colstat.data(), nullptr),
              0);
    return f;
  }

  VLTENVptr env = nullptr;
  VLTLPptr lp = nullptr;
  VLTCHANNELptr out = nullptr;
  std::string errors, log, shown;
};

std::string slurp(const std::string &name) {
  std::ifstream in(name);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

TEST_F(Iis, BothFiltersFindTheRowsAndTheBoundThatConflict) {
  for (int filter = 0; filter <= 1; ++filter) {
    SCOPED_TRACE(filter);
    loadbound(true);
    ASSERT_EQ(VLTprimopt(env, lp), 0);
    ASSERT_EQ(VLTgetstat(env, lp), 3);
    ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_IISIND, filter), 0);
    int nr = -1, nc = -1;
    ASSERT_EQ(VLTfindiis(env, lp, &nr, &nc), 0);
    EXPECT_EQ(nr, 2);
    EXPECT_EQ(nc, 1);
    found f = getiis();
    EXPECT_EQ(f.stat, 1);
    EXPECT_EQ(f.rows, (std::vector<int>{1, 2}));
    EXPECT_EQ(f.rowstat, (std::vector<int>{0, 0}));
    EXPECT_EQ(f.cols, (std::vector<int>{0}));
    EXPECT_EQ(f.colstat, (std::vector<int>{2}));
    // The finder's own settings are put back.
    int pre = -1, adv = -1;
    VLTgetintparam(env, VLT_PARAM_PREIND, &pre);
    VLTgetintparam(env, VLT_PARAM_ADVIND, &adv);
    EXPECT_EQ(pre, 1);
    EXPECT_EQ(adv, 1);
    EXPECT_EQ(errors, "");
    VLTfreeprob(env, &lp);
  }
}

TEST_F(Iis, DualSimplexInfeasibilityIsAStartToo) {
  loadbound(false);
  ASSERT_EQ(VLTdualopt(env, lp), 0);
  ASSERT_EQ(VLTgetstat(env, lp), 3);
  int nr = 0, nc = 0;
  ASSERT_EQ(VLTfindiis(env, lp, &nr, &nc), 0);
  found f = getiis();
  EXPECT_EQ(f.rows, (std::vector<int>{1, 2}));
  EXPECT_EQ(f.cols, (std::vector<int>{0}));
}

TEST_F(Iis, ShortDisplayByNamesAndByIndices) {
  loadbound(true);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  int nr, nc;
  ASSERT_EQ(VLTfindiis(env, lp, &nr, &nc), 0);
  ASSERT_EQ(VLTdisplayiis(env, lp, out, 1), 0);
  EXPECT_EQ(shown,
            "\nNames of rows in the IIS:\n"
            "r1    (lower bound)\n"
            "r2    (lower bound)\n"
            "Names of columns in the IIS:\n"
            "x     (upper bound)\n");
  // Other display values print nothing.
  shown.clear();
  EXPECT_EQ(VLTdisplayiis(env, lp, out, 3), 0);
  EXPECT_EQ(VLTdisplayiis(env, lp, out, 0), 0);
  EXPECT_EQ(shown, "");
  VLTfreeprob(env, &lp);

  loadbound(false);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  ASSERT_EQ(VLTfindiis(env, lp, &nr, &nc), 0);
  ASSERT_EQ(VLTdisplayiis(env, lp, out, 1), 0);
  EXPECT_EQ(shown,
            "\nIndices of rows in the IIS:\n"
            "Row 1    (lower bound)\n"
            "Row 2    (lower bound)\n"
            "Indices of columns in the IIS:\n"
            "Column 0    (upper bound)\n");
}

TEST_F(Iis, SingleRowSubsetHasNoColumns) {
  loademptyrow();
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  ASSERT_EQ(VLTgetstat(env, lp), 3);
  int nr = -1, nc = -1;
  ASSERT_EQ(VLTfindiis(env, lp, &nr, &nc), 0);
  EXPECT_EQ(nr, 1);
  EXPECT_EQ(nc, 0);
  ASSERT_EQ(VLTdisplayiis(env, lp, out, 1), 0);
  EXPECT_EQ(shown,
            "\nIndices of rows in the IIS:\n"
            "Row 1    (lower bound)\n"
            "Indices of columns in the IIS:\n"
            "None.\n");
}

TEST_F(Iis, LpFormListsOtherColumnsFreeAndReadsBackInfeasible) {
  loadbound(true);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  int nr, nc;
  ASSERT_EQ(VLTfindiis(env, lp, &nr, &nc), 0);
  ASSERT_EQ(VLTdisplayiis(env, lp, out, 2), 0);
  const std::string expected =
      "\\Problem name: iisbound\n\n"
      "Minimize\n"
      "subject to\n"
      "\\Rows in the IIS:\n"
      " r1: x - y >= 8\n"
      " r2: y >= 3\n"
      "\\Columns in the IIS:\n"
      "Bounds\n"
      " -Inf <= x <= 10\n"
      "\\Non-IIS columns intersecting IIS rows:\n"
      "      y Free\n"
      "End\n";
  EXPECT_EQ(shown, expected);
  const std::string file = ::testing::TempDir() + "iis_bound.lp";
  ASSERT_EQ(VLTiiswrite(env, lp, file.c_str()), 0);
  EXPECT_EQ(slurp(file), expected);
  int status = 0;
  VLTLPptr back = VLTcreateprob(env, &status, "back");
  ASSERT_EQ(VLTreadcopyprob(env, back, file.c_str(), nullptr), 0);
  EXPECT_EQ(VLTgetnumrows(env, back), 2);
  EXPECT_EQ(VLTgetnumcols(env, back), 2);
  ASSERT_EQ(VLTprimopt(env, back), 0);
  EXPECT_EQ(VLTgetstat(env, back), 3);
  VLTfreeprob(env, &back);
  std::remove(file.c_str());
}

// Column names that the LP reader takes for a number or a keyword ("1",
// "e5", "end") are written behind an "x" (one more while that names another
// column), so the file reads back as a model with the same rows and columns.
TEST_F(Iis, LpFormNamesThatReadAsNumbersReadBack) {
  int status = 0;
  lp = VLTcreateprob(env, &status, "iisnames");
  // The rows of loadbound over columns "1", "e5", "end" and "x1", the last
  // two in r1 with upper bounds 0.5 and 0.25: r1 asks 8, and at most 7.75
  // is reached.  The subset: r1, r2 and the upper bounds of "1", "end", "x1".
  double obj[] = {1, 1, 0, 0}, rhs[] = {5, 8, 3, 100}, lb[] = {0, 0, 0, 0},
         ub[] = {10, VLT_INFBOUND, 0.5, 0.25};
  char sense[] = "GGGL";
  int beg[] = {0, 3, 7, 8}, cnt[] = {3, 4, 1, 1}, ind[] = {0, 1, 3, 0, 1, 2, 3, 1, 1};
  double val[] = {1, 1, 1, 1, -1, 1, 1, 1, 1};
  char c0[] = "1", c1[] = "e5", c2[] = "end", c3[] = "x1";
  char r0[] = "r0", r1[] = "r1", r2[] = "r2", r3[] = "r3";
  char *cn[] = {c0, c1, c2, c3}, *rn[] = {r0, r1, r2, r3};
  ASSERT_EQ(VLTcopylpwnames(env, lp, 4, 4, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr,
                            cn, rn),
            0);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  ASSERT_EQ(VLTgetstat(env, lp), 3);
  const std::string file = ::testing::TempDir() + "iis_names.lp";
  ASSERT_EQ(VLTiiswrite(env, lp, file.c_str()), 0);
  const std::string text = slurp(file);
  EXPECT_NE(text.find(" -Inf <= xx1 <= 10\n"), std::string::npos) << text;
  EXPECT_NE(text.find(" r2: xe5 >= 3\n"), std::string::npos) << text;
  EXPECT_NE(text.find(" -Inf <= xend <= 0.5\n"), std::string::npos) << text;
  EXPECT_NE(text.find(" -Inf <= x1 <= 0.25\n"), std::string::npos) << text;
  VLTLPptr back = VLTcreateprob(env, &status, "back");
  ASSERT_EQ(VLTreadcopyprob(env, back, file.c_str(), nullptr), 0) << text;
  found f = getiis();
  EXPECT_EQ(VLTgetnumrows(env, back), f.rows.size());
  // Every column of the member rows comes back, under its written name.
  EXPECT_EQ(VLTgetnumcols(env, back), 4);
  int idx = -1;
  for (const char *n : {"xx1", "xe5", "xend", "x1"})
    EXPECT_EQ(VLTgetcolindex(env, back, n, &idx), 0) << n;
  ASSERT_EQ(VLTprimopt(env, back), 0);
  EXPECT_EQ(VLTgetstat(env, back), 3);
  VLTfreeprob(env, &back);
  std::remove(file.c_str());
}

TEST_F(Iis, EqualityRowsSumToZeroEqualsOne) {
  loadequal();
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  ASSERT_EQ(VLTgetstat(env, lp), 3);
  int nr, nc;
  ASSERT_EQ(VLTfindiis(env, lp, &nr, &nc), 0);
  found f = getiis();
  EXPECT_EQ(f.rows, (std::vector<int>{0, 2}));
  EXPECT_EQ(f.rowstat, (std::vector<int>{1, 1}));
  EXPECT_TRUE(f.cols.empty());
  ASSERT_EQ(VLTdisplayiis(env, lp, out, 2), 0);
  EXPECT_EQ(shown,
            "\\Problem name: iisequal\n\n"
            "Minimize\n"
            "subject to\n"
            "\\Rows in the IIS:\n"
            " c1: x1 + x2 = 1\n"
            " c3: x1 + x2 = 2\n"
            "\\Sum of equality rows in the IIS:\n"
            "\\  = 1\n"
            "\\Columns in the IIS:\n"
            "\\None.\n"
            "Bounds\n"
            "\\Non-IIS columns intersecting IIS rows:\n"
            "      x1 Free\n"
            "      x2 Free\n"
            "End\n");
}

TEST_F(Iis, TimeLimitLeavesAPartialSubset) {
  loadbound(true);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  ASSERT_EQ(VLTsetdblparam(env, VLT_PARAM_TILIM, 0.0), 0);
  VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 1);
  int nr = -1, nc = -1;
  ASSERT_EQ(VLTfindiis(env, lp, &nr, &nc), 0);
  // Every member is still a candidate: all rows, both columns' bounds.
  EXPECT_EQ(nr, 4);
  EXPECT_EQ(nc, 2);
  found f = getiis();
  EXPECT_EQ(f.stat, 2);
  EXPECT_NE(log.find("Infeasibility Finder Algorithm exceeded time limit.\n"
                     "Partial infeasibility output available.\n"),
            std::string::npos);
  ASSERT_EQ(VLTdisplayiis(env, lp, out, 1), 0);
  EXPECT_EQ(shown.rfind("\nNames of rows in the (partial) IIS:\n", 0), 0u);
  EXPECT_NE(shown.find("Names of columns in the (partial) IIS:\n"), std::string::npos);
  double tilim = 0;
  VLTgetdblparam(env, VLT_PARAM_TILIM, &tilim);
  EXPECT_EQ(tilim, 0.0);

  // The elastic filter out of time is an error, and no subset is kept.
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_IISIND, 1), 0);
  errors.clear();
  EXPECT_EQ(VLTfindiis(env, lp, &nr, &nc), 1712);
  EXPECT_EQ(errors, "VELTO Error  1712: Time limit exceeded on IIS subproblem.\n");
  EXPECT_EQ(VLTgetiis(env, lp, nullptr, nullptr, nullptr, &nr, nullptr, nullptr, &nc), 1701);
}

TEST_F(Iis, LogLinesOfARun) {
  loadbound(true);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 1);
  VLTsetintparam(env, VLT_PARAM_IISIND, 1);
  log.clear();
  int nr, nc;
  ASSERT_EQ(VLTfindiis(env, lp, &nr, &nc), 0);
  EXPECT_EQ(log,
            "Starting infeasibility finder algorithm...\n"
            "Performing elastic filter\n"
            "Performing row sensitivity filter\n"
            "Performing column sensitivity filter\n");
}

TEST_F(Iis, StatusOfTheModelDecides) {
  int nr, nc;
  loadbound(true);
  EXPECT_EQ(VLTfindiis(env, lp, &nr, &nc), 1702);
  EXPECT_EQ(errors, "VELTO Error  1702: No solution exists; infeasibility analysis not available.\n");
  EXPECT_EQ(VLTgetiis(env, lp, nullptr, nullptr, nullptr, &nr, nullptr, nullptr, &nc), 1701);
  EXPECT_EQ(VLTdisplayiis(env, lp, out, 1), 1701);
  // Made feasible by a looser bound on x.
  int j = 0;
  char u = 'U';
  double bd = 20;
  ASSERT_EQ(VLTchgbds(env, lp, 1, &j, &u, &bd), 0);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  ASSERT_EQ(VLTgetstat(env, lp), 1);
  errors.clear();
  EXPECT_EQ(VLTfindiis(env, lp, &nr, &nc), 1703);
  EXPECT_EQ(errors, "VELTO Error  1703: Problem is feasible; no IIS available.\n");
}

TEST_F(Iis, AChangeOfTheModelDropsTheSubset) {
  loadbound(true);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  int nr, nc;
  ASSERT_EQ(VLTfindiis(env, lp, &nr, &nc), 0);
  ASSERT_EQ(VLTgetiis(env, lp, nullptr, nullptr, nullptr, &nr, nullptr, nullptr, &nc), 0);
  int i = 3;
  double rhs = 50;
  ASSERT_EQ(VLTchgrhs(env, lp, 1, &i, &rhs), 0);
  EXPECT_EQ(VLTgetiis(env, lp, nullptr, nullptr, nullptr, &nr, nullptr, nullptr, &nc), 1701);
}

TEST_F(Iis, ArgumentErrors) {
  int nr, nc;
  EXPECT_EQ(VLTfindiis(nullptr, nullptr, &nr, &nc), 1002);
  EXPECT_EQ(VLTgetiis(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 1002);
  EXPECT_EQ(VLTdisplayiis(nullptr, nullptr, nullptr, 1), 1002);
  EXPECT_EQ(VLTiiswrite(nullptr, nullptr, "x.lp"), 1002);
  EXPECT_EQ(VLTfindiis(env, nullptr, &nr, &nc), 1009);
  loadbound(true);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_EQ(VLTfindiis(env, lp, nullptr, &nc), 1004);
  EXPECT_EQ(VLTfindiis(env, lp, &nr, nullptr), 1004);
  EXPECT_EQ(VLTiiswrite(env, lp, nullptr), 1421);
  EXPECT_EQ(VLTiiswrite(env, lp, ""), 1421);
  errors.clear();
  // The file call finds the subset itself, then fails to open the file.
  EXPECT_EQ(VLTiiswrite(env, lp, "/nonexistent-dir/iis.lp"), 1422);
  EXPECT_EQ(errors, "VELTO Error  1422: Could not open file '/nonexistent-dir/iis.lp' for writing.\n");
  EXPECT_EQ(VLTgetiis(env, lp, nullptr, nullptr, nullptr, &nr, nullptr, nullptr, &nc), 0);
  ASSERT_EQ(VLTfindiis(env, lp, &nr, &nc), 0);
  EXPECT_EQ(VLTdisplayiis(env, lp, nullptr, 1), 1051);
  // Integer models are refused.
  char b = 'I';
  int j = 1;
  ASSERT_EQ(VLTchgctype(env, lp, 1, &j, &b), 0);
  EXPECT_EQ(VLTfindiis(env, lp, &nr, &nc), 1017);
  EXPECT_EQ(VLTgetiis(env, lp, nullptr, nullptr, nullptr, &nr, nullptr, nullptr, &nc), 1017);
  EXPECT_EQ(VLTdisplayiis(env, lp, out, 1), 1017);
  EXPECT_EQ(VLTiiswrite(env, lp, "x.lp"), 1017);
}

}  // namespace
