// Names the writers could write but the readers would not take back.  The
// rule: the name calls take any text; the MPS and LP writers refuse (1003,
// after a line naming the culprit, no file written) a model with a name that
// would not read back as itself: empty, blanks or control characters, over
// 255 characters, twice on one side, in MPS a row named like the objective,
// and in LP what its reader takes for an operator, a number or a keyword.
// Everything else goes round trip unchanged, checked through the getters.
#include <filesystem>
#include <string>
#include <vector>

#include "support.h"

namespace {

using velto_test::FileTest;

struct Snapshot {
  std::vector<std::string> cols, rows;
  std::vector<double> obj, lb, ub, rhs;
  std::vector<char> sense;
  std::vector<std::vector<double>> dense;
};

std::vector<std::string> names(VLTENVptr env, VLTLPptr lp, bool rows) {
  int n = rows ? VLTgetnumrows(env, lp) : VLTgetnumcols(env, lp);
  std::vector<std::string> out;
  if (n == 0) return out;
  std::vector<char *> p(n);
  std::vector<char> store(1 << 16);
  int surplus = 0;
  int st = rows ? VLTgetrowname(env, lp, p.data(), store.data(), 1 << 16, &surplus, 0, n - 1)
                : VLTgetcolname(env, lp, p.data(), store.data(), 1 << 16, &surplus, 0, n - 1);
  EXPECT_EQ(st, 0);
  for (int k = 0; k < n; ++k) out.emplace_back(p[k]);
  return out;
}

Snapshot snap(VLTENVptr env, VLTLPptr lp) {
  Snapshot s;
  int n = VLTgetnumcols(env, lp), m = VLTgetnumrows(env, lp);
  s.cols = names(env, lp, false);
  s.rows = names(env, lp, true);
  s.obj.resize(n), s.lb.resize(n), s.ub.resize(n), s.rhs.resize(m), s.sense.resize(m);
  EXPECT_EQ(VLTgetobj(env, lp, s.obj.data(), 0, n - 1), 0);
  EXPECT_EQ(VLTgetlb(env, lp, s.lb.data(), 0, n - 1), 0);
  EXPECT_EQ(VLTgetub(env, lp, s.ub.data(), 0, n - 1), 0);
  EXPECT_EQ(VLTgetrhs(env, lp, s.rhs.data(), 0, m - 1), 0);
  EXPECT_EQ(VLTgetsense(env, lp, s.sense.data(), 0, m - 1), 0);
  s.dense.assign(m, std::vector<double>(n, 0.0));
  for (int i = 0; i < m; ++i)
    for (int j = 0; j < n; ++j) EXPECT_EQ(VLTgetcoef(env, lp, i, j, &s.dense[i][j]), 0);
  return s;
}

class FrameNames : public FileTest {
 protected:
  // Two rows, three columns, with the names given.
  void load(std::vector<std::string> cols, std::vector<std::string> rows) {
    double obj[] = {1, -2, 3}, lb[] = {0, -1, 0}, ub[] = {4, 5, 1e20};
    double rhs[] = {2, 7}, val[] = {1, 2, 1, 3, 1};
    char sense[] = {'G', 'L'};
    int beg[] = {0, 2, 3}, cnt[] = {2, 1, 2}, ind[] = {0, 1, 0, 0, 1};
    std::vector<char *> cp, rp;
    for (auto &c : cols) cp.push_back(c.data());
    for (auto &r : rows) rp.push_back(r.data());
    ASSERT_EQ(VLTcopylpwnames(env_, lp_, 3, 2, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub,
                              nullptr, cp.data(), rp.data()),
              0);
  }
  void roundtrip(const std::string &file) {
    SCOPED_TRACE(file);
    Snapshot a = snap(env_, lp_);
    ASSERT_EQ(VLTwriteprob(env_, lp_, path(file).c_str(), nullptr), 0);
    VLTLPptr back = VLTcreateprob(env_, nullptr, "back");
    ASSERT_EQ(VLTreadcopyprob(env_, back, path(file).c_str(), nullptr), 0);
    Snapshot b = snap(env_, back);
    VLTfreeprob(env_, &back);
    EXPECT_EQ(a.cols, b.cols);
    EXPECT_EQ(a.rows, b.rows);
    EXPECT_EQ(a.obj, b.obj);
    EXPECT_EQ(a.lb, b.lb);
    EXPECT_EQ(a.ub, b.ub);
    EXPECT_EQ(a.rhs, b.rhs);
    EXPECT_EQ(a.sense, b.sense);
    EXPECT_EQ(a.dense, b.dense);
  }
  void refused(const std::string &file, const std::string &line) {
    SCOPED_TRACE(file);
    clearlogs();
    std::filesystem::remove(path(file));
    EXPECT_EQ(VLTwriteprob(env_, lp_, path(file).c_str(), nullptr), 1003);
    EXPECT_EQ(err_, line + "VELTO Error  1003: Bad argument to Callable Library function.\n");
    EXPECT_FALSE(std::filesystem::exists(path(file)));
  }
};

TEST_F(FrameNames, OrdinaryNamesGoRoundTripInEveryForm) {
  load({"x_1", "y.2", "z{3}"}, {"demand", "supply"});
  for (const char *f : {"m.mps", "m.lp", "m.mps.gz", "m.lp.gz"}) roundtrip(f);
}

TEST_F(FrameNames, NamesOnlyMpsTakesBackAreRefusedByLpOnly) {
  load({"1x", "e5", "a+b"}, {"end", "2nd"});
  roundtrip("m.mps");
  const std::string tail = ": the model can't be written in LP form.\n";
  refused("m.lp", "Column 0 name '1x' does not start with a letter" + tail);
  ASSERT_EQ(VLTchgname(env_, lp_, 'c', 0, "x1"), 0);
  refused("m.lp", "Column 1 name 'e5' reads as a number" + tail);
  ASSERT_EQ(VLTchgname(env_, lp_, 'c', 1, "y"), 0);
  refused("m.lp", "Column 2 name 'a+b' holds an operator character" + tail);
  ASSERT_EQ(VLTchgname(env_, lp_, 'c', 2, "Bounds"), 0);
  refused("m.lp", "Column 2 name 'Bounds' is a keyword" + tail);
  ASSERT_EQ(VLTchgname(env_, lp_, 'c', 2, "z"), 0);
  ASSERT_EQ(VLTchgname(env_, lp_, 'r', 0, "r:1"), 0);
  refused("m.lp", "Row 0 name 'r:1' holds an operator character" + tail);
  // Row names are labels only: a keyword or a leading digit reads back.
  ASSERT_EQ(VLTchgname(env_, lp_, 'r', 0, "end"), 0);
  roundtrip("m.lp");
}

TEST_F(FrameNames, BlankEmptyAndDuplicateNamesRefusedByBothWriters) {
  struct Case {
    std::vector<std::string> cols, rows;
    std::string mps, lp;
  };
  const std::string tail = ": the model can't be written in ";
  std::vector<Case> cases = {
      {{"a b", "y", "z"}, {"r1", "r2"},
       "Column 0 name 'a b' holds a blank or control character" + tail + "MPS form.\n",
       "Column 0 name 'a b' holds a blank or control character" + tail + "LP form.\n"},
      {{"x", "", "z"}, {"r1", "r2"}, "Column 1 name '' is empty" + tail + "MPS form.\n",
       "Column 1 name '' is empty" + tail + "LP form.\n"},
      {{"x", "y", "x"}, {"r1", "r2"}, "Column 2 name 'x' is used twice" + tail + "MPS form.\n",
       "Column 2 name 'x' is used twice" + tail + "LP form.\n"},
      {{"x", "y", "z"}, {"r", "r"}, "Row 1 name 'r' is used twice" + tail + "MPS form.\n",
       "Row 1 name 'r' is used twice" + tail + "LP form.\n"},
      {{"x", "y", "z"}, {"obj", "r"}, "Row 0 name 'obj' is the objective's name" + tail + "MPS form.\n",
       ""},
      {{"x", "y", "z"}, {"r\t1", "r"},
       "Row 0 name 'r\t1' holds a blank or control character" + tail + "MPS form.\n",
       "Row 0 name 'r\t1' holds a blank or control character" + tail + "LP form.\n"},
  };
  for (auto &c : cases) {
    load(c.cols, c.rows);
    refused("m.mps", c.mps);
    refused("m.mps.gz", c.mps);
    if (c.lp.empty())
      roundtrip("m.lp");
    else
      refused("m.lp", c.lp);
  }
  // The same model with names changed through the name calls.
  load({"x", "y", "z"}, {"r1", "r2"});
  ASSERT_EQ(VLTchgname(env_, lp_, 'c', 2, "y"), 0);
  refused("m.lp", "Column 2 name 'y' is used twice" + tail + "LP form.\n");
  ASSERT_EQ(VLTchgname(env_, lp_, 'c', 2, "z"), 0);
  roundtrip("m.lp");
}

}  // namespace
