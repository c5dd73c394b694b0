// Heuristics and MIP start values through VLTmipopt: every incumbent that a
// heuristic hands to the store passes the independent point check; the
// frequency -1 gives no '+' rows; the heuristics leave the search's answer
// alone (optimum by enumeration); a start at the optimum closes the search
// before node 1; the start value messages line by line.
#include <algorithm>
#include <cmath>
#include <random>
#include <regex>
#include <sstream>

#include "common/mipcheck.h"
#include "mip/mipheur.h"
#include "mipfix.h"

namespace miptest {
namespace {

// A model of nint integer columns (binaries and integers on [0, 3]) and
// ncont continuous ones, with m rows that a random integer point satisfies.
dense randommodel(unsigned seed, int nint, int ncont, int m) {
  std::mt19937 g(seed);
  std::uniform_int_distribution<int> coef(-2, 6), cost(1, 9), pick(0, 3);
  dense d;
  const int n = nint + ncont;
  std::vector<double> pt(n);
  for (int j = 0; j < n; ++j) {
    bool bin = j < nint && j % 2 == 0;
    d.ctype += j < nint ? (bin ? 'B' : 'I') : 'C';
    d.lb.push_back(0);
    d.ub.push_back(bin ? 1 : j < nint ? 3 : 5);
    pt[j] = bin ? pick(g) % 2 : j < nint ? pick(g) : 2.5;
    d.c.push_back(j < nint ? cost(g) : 0.5 * cost(g));
  }
  for (int i = 0; i < m; ++i) {
    std::vector<double> row(n);
    double act = 0;
    for (int j = 0; j < n; ++j) {
      row[j] = (g() % 3 == 0) ? 0 : coef(g);
      act += row[j] * pt[j];
    }
    d.a.push_back(row);
    d.sense.push_back(i % 2 ? 'L' : 'G');
    d.rhs.push_back(i % 2 ? act + 0.5 : act - 0.5);
  }
  return d;
}

// Minimum over all integer points of a pure integer model (no continuous
// columns), by enumeration; 1e75 when none is feasible.
double enumerate(const dense &d, std::vector<double> *best = nullptr) {
  const int n = static_cast<int>(d.c.size());
  std::vector<double> x(n);
  double bestz = 1e75;
  for (int j = 0; j < n; ++j) x[j] = d.lb[j];
  for (;;) {
    bool ok = true;
    for (size_t i = 0; i < d.a.size() && ok; ++i) {
      double act = 0;
      for (int j = 0; j < n; ++j) act += d.a[i][j] * x[j];
      ok = d.sense[i] == 'L' ? act <= d.rhs[i] + 1e-9
           : d.sense[i] == 'G' ? act >= d.rhs[i] - 1e-9
                               : std::fabs(act - d.rhs[i]) <= 1e-9;
    }
    if (ok) {
      double z = 0;
      for (int j = 0; j < n; ++j) z += d.c[j] * x[j];
      z *= d.objsen;
      if (z < bestz) {
        bestz = z;
        if (best) *best = x;
      }
    }
    int j = 0;
    while (j < n && x[j] >= d.ub[j]) x[j] = d.lb[j], ++j;
    if (j == n) break;
    x[j] += 1;
  }
  return bestz >= 1e75 ? bestz : bestz * d.objsen;
}

struct seenpoint {
  std::string method;
  int node;
  std::vector<double> x;
  double obj;
};

class Heur : public MipTest {
 protected:
  void SetUp() override {
    MipTest::SetUp();
    velto::heurwatch.seen = [](void *ctx, const char *method, int node, const double *x, int n,
                               double obj) {
      static_cast<std::vector<seenpoint> *>(ctx)->push_back(
          {method, node, std::vector<double>(x, x + n), obj});
    };
    velto::heurwatch.ctx = &seen;
  }
  void TearDown() override {
    velto::heurwatch = velto::heurwatcher();
    MipTest::TearDown();
  }
  void load(const dense &d) { loaddense(env, lp, d); }
  void fresh() {
    if (lp) VLTfreeprob(env, &lp);
    int st = 0;
    lp = VLTcreateprob(env, &st, "heur");
    ASSERT_EQ(st, 0);
  }
  double mipobj() {
    double z = 0;
    EXPECT_EQ(VLTgetmipobjval(env, lp, &z), 0);
    return z;
  }
  static int plusrows(const std::string &log) {
    static const std::regex plus(R"(^\*\s*\d+\+)");
    std::istringstream in(log);
    std::string line;
    int k = 0;
    while (std::getline(in, line)) k += std::regex_search(line, plus);
    return k;
  }
  std::vector<seenpoint> seen;
};

// The cuts off, so that the heuristics meet fractional nodes.
void nocuts(VLTENVptr env) {
  VLTsetintparam(env, VLT_PARAM_COVERS, -1);
  VLTsetintparam(env, VLT_PARAM_GUBCOVERS, -1);
}

TEST_F(Heur, EveryHeuristicIncumbentPassesTheIndependentCheck) {
  nocuts(env);
  VLTsetintparam(env, VLT_PARAM_HEURFREQ, 1);
  VLTsetintparam(env, 2062, 5);  // the repair search every 5 nodes
  int found = 0;
  std::vector<std::string> methods;
  for (unsigned seed = 1; seed <= 12; ++seed) {
    fresh();
    dense d = randommodel(seed, 14, 4, 7);
    d.objsen = seed % 3 == 0 ? -1 : 1;
    load(d);
    seen.clear();
    ASSERT_EQ(VLTmipopt(env, lp), 0);
    int st = VLTgetstat(env, lp);
    ASSERT_TRUE(st == 101 || st == 102) << "seed " << seed << " status " << st;
    for (const seenpoint &p : seen) {
      mipcheck::verdict v = mipcheck::check(env, lp, p.x, p.obj);
      EXPECT_TRUE(v.ok) << "seed " << seed << " " << p.method << " at node " << p.node << ":"
                        << v.why;
      methods.push_back(p.method);
    }
    found += static_cast<int>(seen.size());
    mipcheck::verdict v = mipcheck::checkmip(env, lp);
    EXPECT_TRUE(v.ok) << v.why;
  }
  EXPECT_GT(found, 0);
  // each heuristic incumbent shows as a '+' row
  EXPECT_GT(plusrows(res), 0);
}

TEST_F(Heur, HeuristicsLeaveTheOptimumOfTheSearchAlone) {
  nocuts(env);
  for (unsigned seed = 20; seed < 26; ++seed) {
    dense d = randommodel(seed, 9, 0, 5);
    double opt = enumerate(d);
    if (opt >= 1e75) continue;
    for (int freq : {-1, 0, 1}) {
      fresh();
      load(d);
      VLTsetintparam(env, VLT_PARAM_HEURFREQ, freq);
      ASSERT_EQ(VLTmipopt(env, lp), 0);
      ASSERT_EQ(VLTgetstat(env, lp), 101) << "seed " << seed << " freq " << freq;
      EXPECT_NEAR(mipobj(), opt, 1e-6) << "seed " << seed << " freq " << freq;
    }
  }
}

TEST_F(Heur, FrequencyMinusOneGivesNoPlusRowsAndNoHeuristicIncumbent) {
  nocuts(env);
  for (unsigned seed = 1; seed <= 6; ++seed) {
    fresh();
    load(randommodel(seed, 14, 4, 7));
    VLTsetintparam(env, VLT_PARAM_HEURFREQ, -1);
    seen.clear();
    res.clear();
    ASSERT_EQ(VLTmipopt(env, lp), 0);
    EXPECT_EQ(plusrows(res), 0) << res;
    EXPECT_TRUE(seen.empty());
    mipcheck::verdict v = mipcheck::checkmip(env, lp);
    EXPECT_TRUE(v.ok) << v.why;
  }
}

// ---- MIP start values ------------------------------------------------------------

// min 4a + 5b + 6c + 3d, 2a + 3b + 4c + d >= 7, a + b + c + d <= 3, a..d
// integers on [0, 3]: the optimum by enumeration.
dense startmodel() {
  dense d;
  d.c = {4, 5, 6, 3};
  d.lb.assign(4, 0);
  d.ub.assign(4, 3);
  d.a = {{2, 3, 4, 1}, {1, 1, 1, 1}};
  d.sense = {'G', 'L'};
  d.rhs = {7, 3};
  d.ctype = "IIII";
  return d;
}

TEST_F(Heur, StartAtTheOptimumGivesAStarRowBeforeNodeOneAndEndsAtOnce) {
  dense d = startmodel();
  std::vector<double> best;
  double opt = enumerate(d, &best);
  ASSERT_LT(opt, 1e75);
  load(d);
  VLTsetintparam(env, VLT_PARAM_HEURFREQ, -1);
  nocuts(env);
  VLTsetintparam(env, VLT_PARAM_MIPSTART, 1);
  std::vector<int> ind = {0, 1, 2, 3};
  ASSERT_EQ(VLTcopymipstart(env, lp, 4, ind.data(), best.data()), 0);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(VLTgetstat(env, lp), 101);
  EXPECT_EQ(VLTgetnodecnt(env, lp), 0) << res;
  EXPECT_NEAR(mipobj(), opt, 1e-9);
  EXPECT_NE(res.find("MIP start values provide initial solution.\n"), std::string::npos) << res;
  // the '*' row of node 0 comes first, and no row of node 1 follows
  std::regex star(R"(\n\*\s+0 )"), node1(R"(\n[ *]\s+1[ +])");
  EXPECT_TRUE(std::regex_search(res, star)) << res;
  EXPECT_FALSE(std::regex_search(res, node1)) << res;
  EXPECT_TRUE(warn.empty()) << warn;
}

TEST_F(Heur, StartValuesAreUsedOnlyWithTheParameterOn) {
  dense d = startmodel();
  std::vector<double> best;
  enumerate(d, &best);
  load(d);
  std::vector<int> ind = {0, 1, 2, 3};
  ASSERT_EQ(VLTcopymipstart(env, lp, 4, ind.data(), best.data()), 0);
  VLTsetintparam(env, VLT_PARAM_MIPSTART, 0);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(res.find("MIP start values"), std::string::npos);
}

TEST_F(Heur, StartMessagesLineByLine) {
  dense d = startmodel();
  VLTsetintparam(env, VLT_PARAM_MIPSTART, 1);
  VLTsetintparam(env, VLT_PARAM_MIPDISPLAY, 1);
  auto run = [&](std::vector<int> ind, std::vector<double> val) {
    fresh();
    load(d);
    EXPECT_EQ(VLTcopymipstart(env, lp, static_cast<int>(ind.size()), ind.data(), val.data()), 0);
    warn.clear();
    res.clear();
    EXPECT_EQ(VLTmipopt(env, lp), 0);
    EXPECT_EQ(VLTgetstat(env, lp), 101);
    EXPECT_NEAR(mipobj(), enumerate(d), 1e-9);
    return warn;
  };
  // a missing integer value: the start is ignored
  EXPECT_EQ(run({0, 1, 2}, {1, 1, 1}),
            "Warning:  MIP start value missing for variable 'x4'\n"
            "Warning:  MIP start values needed for all integer variables.\n"
            "          MIP start values ignored.\n");
  // 1e19 and above count as not given
  EXPECT_EQ(run({0, 1, 2, 3}, {1, 1, 1, 1e19}),
            "Warning:  MIP start value missing for variable 'x4'\n"
            "Warning:  MIP start values needed for all integer variables.\n"
            "          MIP start values ignored.\n");
  EXPECT_EQ(run({0, 1, 2, 3}, {1, 0.5, 1, 1}),
            "Warning:  Non-integral MIP start value for variable 'x2'.\n"
            "          MIP start values ignored.\n");
  EXPECT_EQ(run({0, 1, 2, 3}, {1, 1, 4, 1}),
            "Warning: MIP start value for variable 'x3' is infeasible.\n");
  // inside the bounds but against the rows
  EXPECT_EQ(run({0, 1, 2, 3}, {0, 0, 0, 0}), "Warning:  MIP start values are infeasible.\n");
  EXPECT_NE(res.find("\nSubproblem optimization status using MIP start values: "), std::string::npos)
      << res;
  // a feasible start is taken
  EXPECT_EQ(run({0, 1, 2, 3}, {0, 1, 1, 0}), "");
  EXPECT_NE(res.find("MIP start values provide initial solution.\n"), std::string::npos);
}

TEST_F(Heur, MoreThanFiveMissingValuesAreCounted) {
  dense d;
  const int n = 8;
  d.c.assign(n, 1);
  d.lb.assign(n, 0);
  d.ub.assign(n, 1);
  d.a = {std::vector<double>(n, 1)};
  d.sense = {'G'};
  d.rhs = {1};
  d.ctype.assign(n, 'B');
  load(d);
  VLTsetintparam(env, VLT_PARAM_MIPSTART, 1);
  int j = 0;
  double v = 1;
  ASSERT_EQ(VLTcopymipstart(env, lp, 1, &j, &v), 0);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(warn,
            "Warning:  MIP start value missing for variable 'x2'\n"
            "Warning:  MIP start value missing for variable 'x3'\n"
            "Warning:  MIP start value missing for variable 'x4'\n"
            "Warning:  MIP start value missing for variable 'x5'\n"
            "Warning:  MIP start value missing for variable 'x6'\n"
            "Warning:  2 value missing messages not printed.\n"
            "Warning:  MIP start values needed for all integer variables.\n"
            "          MIP start values ignored.\n");
}

// The continuous columns of a start may be left out: the integers are
// fixed and the rest is solved.
TEST_F(Heur, StartWithoutContinuousValuesIsCompletedByTheLp) {
  dense d = startmodel();
  d.c.push_back(5);
  d.lb.push_back(0);
  d.ub.push_back(10);
  d.a[0].push_back(1);
  d.a[1].push_back(0);
  d.ctype += 'C';
  load(d);
  VLTsetintparam(env, VLT_PARAM_MIPSTART, 1);
  VLTsetintparam(env, VLT_PARAM_HEURFREQ, -1);
  nocuts(env);
  VLTsetintparam(env, VLT_PARAM_INTSOLLIM, 1);  // stop at the first incumbent
  std::vector<int> ind = {0, 1, 2, 3};
  std::vector<double> val = {1, 0, 0, 1};  // 2 + 1 = 3: the continuous column makes up 4
  ASSERT_EQ(VLTcopymipstart(env, lp, 4, ind.data(), val.data()), 0);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(warn, "");
  EXPECT_NE(res.find("MIP start values provide initial solution.\n"), std::string::npos) << res;
  EXPECT_EQ(VLTgetstat(env, lp), 104);
  EXPECT_NEAR(mipobj(), 4 + 3 + 4 * 5, 1e-9);
  mipcheck::verdict v = mipcheck::checkmip(env, lp);
  EXPECT_TRUE(v.ok) << v.why;
}

}  // namespace
}  // namespace miptest
