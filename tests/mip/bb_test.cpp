// Branch and bound through VLTmipopt: statuses of every way a run ends, the
// limits and resumed runs, the checks of the call, the exact log lines, the
// branching rules against brute-force optima, and repeatability.
#include <algorithm>
#include <cmath>
#include <random>
#include <sstream>

#include "common/mipcheck.h"
#include "common/reference.h"
#include "mipfix.h"

namespace miptest {
namespace {

class BB : public MipTest {
 protected:
  // These models are built to need a tree (a single cover closes the
  // parity knapsack at the root, a heuristic finds its optimum before node
  // 1); the cut loop and the heuristics have their own tests.
  void SetUp() override {
    MipTest::SetUp();
    VLTsetintparam(env, VLT_PARAM_COVERS, -1);
    VLTsetintparam(env, VLT_PARAM_HEURFREQ, -1);
  }
  void load(const dense &d) { loaddense(env, lp, d); }
  // A fresh empty problem in place of the present one.
  void fresh(const char *name) {
    if (lp) VLTfreeprob(env, &lp);
    int st = 0;
    lp = VLTcreateprob(env, &st, name);
    ASSERT_EQ(st, 0);
  }
  void quiet() { VLTsetintparam(env, VLT_PARAM_MIPDISPLAY, 0); }
  int stat() { return VLTgetstat(env, lp); }
  double mipobj() {
    double z = 0;
    EXPECT_EQ(VLTgetmipobjval(env, lp, &z), 0);
    return z;
  }
  void expectchecked() {
    mipcheck::verdict v = mipcheck::checkmip(env, lp);
    EXPECT_TRUE(v.ok) << v.why;
  }
};

// max sum c_j x_j, sum 2 x_j <= n (n odd), binaries: the parity keeps the
// bound above every integer point, so the proof takes many nodes.  The
// optimum takes the (n - 1) / 2 largest c.
dense parityknap(int n) {
  dense d;
  d.objsen = -1;
  for (int j = 0; j < n; ++j) d.c.push_back(1.0 + 0.013 * j + 0.0007 * (j * j % 7));
  d.lb.assign(n, 0.0);
  d.ub.assign(n, 1.0);
  d.a.push_back(std::vector<double>(n, 2.0));
  d.sense = {'L'};
  d.rhs = {static_cast<double>(n)};
  d.ctype.assign(n, 'B');
  return d;
}
double parityopt(const dense &d) {
  std::vector<double> c = d.c;
  std::sort(c.rbegin(), c.rend());
  double s = 0;
  for (size_t k = 0; k < (c.size() - 1) / 2; ++k) s += c[k];
  return s;
}

// sum 2 x_j = n with n odd: integer infeasible, feasible relaxation.
dense jeroslow(int n) {
  dense d;
  d.c.assign(n, 1.0);
  d.lb.assign(n, 0.0);
  d.ub.assign(n, 1.0);
  d.a.push_back(std::vector<double>(n, 2.0));
  d.sense = {'E'};
  d.rhs = {static_cast<double>(n)};
  d.ctype.assign(n, 'B');
  return d;
}

TEST_F(BB, FinishedSearchesEndOptimalAndAreNotRunAgain) {
  dense d = parityknap(11);
  load(d);
  quiet();
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 101);
  EXPECT_NEAR(mipobj(), parityopt(d), 1e-9);
  expectchecked();
  int nodes = VLTgetnodecnt(env, lp);
  EXPECT_GT(nodes, 0);
  double bound = 0;
  ASSERT_EQ(VLTgetbestobjval(env, lp, &bound), 0);
  EXPECT_LE(std::fabs(bound - parityopt(d)), 1e-4 * std::fabs(parityopt(d)));
  // A finished search returns at once and keeps its answer.
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 101);
  EXPECT_EQ(VLTgetnodecnt(env, lp), nodes);
  // A change of the model starts over.
  double one = 1.0;
  int j = 0;
  char u = 'U';
  ASSERT_EQ(VLTchgbds(env, lp, 1, &j, &u, &one), 0);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 101);
  expectchecked();
}

TEST_F(BB, IntegralRootEndsWithZeroNodes) {
  dense d;
  d.c = {1, 1};
  d.lb = {0, 0};
  d.ub = {5, 5};
  d.a = {{1, 1}};
  d.sense = {'G'};
  d.rhs = {3};
  d.ctype = "II";
  load(d);
  quiet();
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 101);
  EXPECT_EQ(VLTgetnodecnt(env, lp), 0);
  EXPECT_NEAR(mipobj(), 3.0, 1e-9);
  expectchecked();
}

TEST_F(BB, InfeasibleAndUnboundedModels) {
  // Infeasible relaxation.
  dense d;
  d.c = {1, 1};
  d.lb = {0, 0};
  d.ub = {1, 1};
  d.a = {{1, 1}};
  d.sense = {'G'};
  d.rhs = {3};
  d.ctype = "BB";
  load(d);
  quiet();
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 103);
  double z;
  EXPECT_EQ(VLTgetmipobjval(env, lp, &z), 3017);
  // Integer infeasible with a feasible relaxation: the tree proves it.
  fresh("jer");
  load(jeroslow(7));
  quiet();
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 103);
  EXPECT_GT(VLTgetnodecnt(env, lp), 0);
  // Unbounded relaxation: 118, no error.
  fresh("unb");
  dense u;
  u.objsen = -1;
  u.c = {1, 1};
  u.lb = {0, 0};
  u.ub = {1e20, 1e20};
  u.a = {{1, -1}};
  u.sense = {'L'};
  u.rhs = {0.5};
  u.ctype = "IC";
  load(u);
  quiet();
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 118);
}

TEST_F(BB, NodeLimitStopsAndAResumedRunFinishes) {
  dense d = parityknap(11);
  load(d);
  quiet();
  VLTsetintparam(env, VLT_PARAM_NODELIM, 3);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  int s1 = stat();
  EXPECT_TRUE(s1 == 105 || s1 == 106) << s1;
  EXPECT_EQ(VLTgetnodecnt(env, lp), 3);
  EXPECT_GT(VLTgetnodeleftcnt(env, lp), 0);
  // The limit counts from the start of each call.
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(VLTgetnodecnt(env, lp), 6);
  VLTsetintparam(env, VLT_PARAM_NODELIM, 2100000000);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 101);
  EXPECT_NEAR(mipobj(), parityopt(d), 1e-9);
  expectchecked();
  EXPECT_EQ(VLTgetnodeleftcnt(env, lp), 0);
}

TEST_F(BB, NodeLimitWithAnIncumbentIs105AndWithoutIs106) {
  load(jeroslow(31));
  quiet();
  VLTsetintparam(env, VLT_PARAM_NODELIM, 50);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 106);
  fresh("k");
  load(parityknap(41));
  quiet();
  VLTsetintparam(env, VLT_PARAM_NODELIM, 500);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 105);
  expectchecked();
  double z = mipobj(), b = 0;
  ASSERT_EQ(VLTgetbestobjval(env, lp, &b), 0);
  EXPECT_GE(b, z - 1e-9);  // a maximization: the bound is above
}

TEST_F(BB, SolutionLimitAndTimeLimit) {
  load(parityknap(41));
  quiet();
  VLTsetintparam(env, VLT_PARAM_INTSOLLIM, 1);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 104);
  expectchecked();
  // A second call gets a fresh solution count and stops at its first
  // improvement, or runs on.
  VLTsetintparam(env, VLT_PARAM_INTSOLLIM, 2100000000);
  VLTsetdblparam(env, VLT_PARAM_TILIM, 0.3);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 107);
  expectchecked();
  fresh("j");
  load(jeroslow(41));
  quiet();
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 108);
}

TEST_F(BB, TreeMemoryLimitIs112WithoutAnIncumbent) {
  load(jeroslow(31));
  quiet();
  VLTsetdblparam(env, VLT_PARAM_TRELIM, 0.001);  // a kilobyte of open nodes
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 112);
  EXPECT_GT(VLTgetnodeleftcnt(env, lp), 0);
}

TEST_F(BB, GapToleranceStopsWith102) {
  load(parityknap(41));
  quiet();
  VLTsetdblparam(env, VLT_PARAM_EPGAP, 0.1);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 102);
  double z = mipobj(), b = 0;
  ASSERT_EQ(VLTgetbestobjval(env, lp, &b), 0);
  EXPECT_LE(std::fabs(z - b), 0.1 * std::fabs(z) + 1e-9);
  expectchecked();
}

TEST_F(BB, CallChecksAndTheirMessages) {
  // A continuous model is not for the integer optimizer.
  dense d;
  d.c = {1};
  d.lb = {0};
  d.ub = {1};
  load(d);
  ASSERT_EQ(VLTchgprobtype(env, lp, 0), 0);
  take(err);
  EXPECT_EQ(VLTmipopt(env, lp), 3003);
  EXPECT_EQ(take(err), "VELTO Error  3003: Not a mixed-integer problem.\n");
  EXPECT_EQ(VLTmipopt(nullptr, lp), 1002);
  // A fixed integer column with a fractional value.
  fresh("f");
  const char *name = "xf";
  char *names[] = {const_cast<char *>(name)};
  d.lb = {0.5};
  d.ub = {0.5};
  d.ctype = "I";
  load(d);
  ASSERT_EQ(VLTchgcolname(env, lp, 1, std::vector<int>{0}.data(), names), 0);
  take(err);
  EXPECT_EQ(VLTmipopt(env, lp), 3011);
  EXPECT_EQ(take(err),
            "VELTO Error  3011: Non-integral fixed bound value 0.5 \n      for integer variable 'xf'.\n");
}

TEST_F(BB, ToleranceAndBinaryBoundWarnings) {
  dense d;
  int n = 8;
  d.c.assign(n, 1.0);
  d.lb.assign(n, 0.0);
  d.ub.assign(n, 0.5);
  d.ub[6] = 1.0;
  d.lb[7] = 1.0, d.ub[7] = 1.0;  // a binary fixed at 1 passes
  d.ctype.assign(n, 'B');
  load(d);
  quiet();
  VLTsetdblparam(env, VLT_PARAM_EPRHS, 1e-4);
  take(warn);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 101);
  std::string w = take(warn);
  EXPECT_NE(w.find("Warning, resetting feasibility/rhs tolerance (0.0001)\n"
                   "to be smaller than integer tolerance (1e-05).\n"),
            std::string::npos)
      << w;
  int bad = 0;
  for (size_t p = 0; (p = w.find("has bounds other than 0 and 1.\n", p)) != std::string::npos; ++p) ++bad;
  EXPECT_EQ(bad, 5);
  EXPECT_NE(w.find("Warning: Binary variable 'x1' has bounds other than 0 and 1.\n"), std::string::npos);
  EXPECT_NE(w.find("1 binary variable bound warnings not printed.\n"), std::string::npos);
  EXPECT_EQ(w.find("'x8'"), std::string::npos);
  double eprhs = 0;
  VLTgetdblparam(env, VLT_PARAM_EPRHS, &eprhs);
  EXPECT_EQ(eprhs, 1e-4);  // restored after the run
}

// The rows of the log: header, node rows at the interval, incumbent rows,
// the closing lines; checked column by column.
TEST_F(BB, NodeLogLines) {
  dense d = parityknap(11);
  load(d);
  VLTsetintparam(env, VLT_PARAM_MIPINTERVAL, 1);
  take(res);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  std::string log = take(res);
  EXPECT_NE(log.find("MIP emphasis: balance optimality and feasibility\n"), std::string::npos);
  EXPECT_NE(log.find("Root relaxation solution time = "), std::string::npos);
  const std::string header =
      "\n        Nodes                                         Cuts/\n"
      "   Node  Left     Objective  IInf  Best Integer     Best Node    ItCnt     Gap\n\n";
  ASSERT_NE(log.find(header), std::string::npos) << log;
  EXPECT_EQ(log.find(header), log.rfind(header));  // printed once
  std::istringstream in(log.substr(log.find(header) + header.size()));
  std::string line;
  int rows = 0, stars = 0, lastnode = -1;
  while (std::getline(in, line)) {
    if (line.empty() || line.rfind("Elapsed", 0) == 0) continue;
    ASSERT_GE(line.size(), 79u) << line << "\n" << log;
    char mark = line[0];
    int node = std::stoi(line.substr(1, 6));
    EXPECT_TRUE(mark == ' ' || mark == '*');
    if (mark == '*') {
      ++stars;
      // a node that brings an incumbent shows as its incumbent row
      if (node == lastnode + 1) lastnode = node;
      // incumbent row: empty objective, zero infeasibilities, the value in
      // the best-integer column
      EXPECT_EQ(line.substr(13, 20), std::string(14, ' ') + "     0") << line;
      EXPECT_GT(std::stod(line.substr(33, 14)), 0.0);
    } else {
      // the root shows twice: at the cut loop's first pass and as the
      // first node of the tree
      if (!(node == 0 && lastnode == 0 && rows == 1)) {
        EXPECT_EQ(node, lastnode + 1) << "interval 1 shows every node\n" << log;
      }
      lastnode = node;
      std::string obj = line.substr(13, 20);
      EXPECT_TRUE(obj == "    infeasible      " || obj == "        cutoff      " ||
                  std::isdigit(static_cast<unsigned char>(obj[13])))
          << line;
    }
    std::string gap = line.substr(70);
    EXPECT_TRUE(gap == "         " || gap.back() == '%' || gap == "     --- ") << line;
    ++rows;
  }
  EXPECT_GE(stars, 1);
  EXPECT_EQ(lastnode, VLTgetnodecnt(env, lp));  // the root is node 0
  EXPECT_GT(rows, 5);
  // Display 1: the node log line and one line per incumbent.
  fresh("d1");
  load(d);
  VLTsetintparam(env, VLT_PARAM_MIPDISPLAY, 1);
  take(res);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  log = take(res);
  EXPECT_NE(log.find("\nNode log . . .\n"), std::string::npos);
  EXPECT_EQ(log.find(header), std::string::npos);
  size_t p = log.find("Best integer = ");
  ASSERT_NE(p, std::string::npos);
  std::string first = log.substr(p, log.find('\n', p) - p);
  char buf[128];
  double z = 0, bn = 0;
  int node = 0;
  ASSERT_EQ(std::sscanf(first.c_str(), "Best integer = %le  Node = %d  Best node = %le", &z, &node, &bn), 3) << first;
  std::snprintf(buf, sizeof buf, "Best integer = %14.6le  Node = %7d  Best node = %14.6le", z, node, bn);
  EXPECT_EQ(first, buf);
  // Display 0 is silent.
  VLTsetintparam(env, VLT_PARAM_MIPDISPLAY, 0);
  fresh("d0");
  load(d);
  take(res);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(take(res), "");
}

TEST_F(BB, InfeasibleRootLogsItsStatusRow) {
  dense d;
  d.c = {1, 1};
  d.lb = {0, 0};
  d.ub = {1, 1};
  d.a = {{1, 1}};
  d.sense = {'G'};
  d.rhs = {3};
  d.ctype = "BB";
  load(d);
  take(res);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  std::string log = take(res);
  char row[128];
  std::snprintf(row, sizeof row, "%7d%6d     %-45s %6d\n", 0, 0, "infeasible", VLTgetmipitcnt(env, lp));
  EXPECT_NE(log.find(row), std::string::npos) << log;
}

TEST_F(BB, TwoRunsGiveTheSameNodesAndLog) {
  std::string logs[2];
  int nodes[2];
  for (int k = 0; k < 2; ++k) {
    fresh("rep");
    load(parityknap(15));
    VLTsetintparam(env, VLT_PARAM_MIPINTERVAL, 7);
    take(res);
    ASSERT_EQ(VLTmipopt(env, lp), 0);
    nodes[k] = VLTgetnodecnt(env, lp);
    std::string l = take(res);
    // the timing lines differ by nature
    std::string kept;
    std::istringstream in(l);
    for (std::string line; std::getline(in, line);)
      if (line.find("time") == std::string::npos) kept += line + "\n";
    logs[k] = kept;
  }
  EXPECT_EQ(nodes[0], nodes[1]);
  EXPECT_EQ(logs[0], logs[1]);
}

// Small random models with their optimum found by enumeration.
dense randommip(unsigned seed, int n, int m) {
  std::mt19937 g(seed);
  std::uniform_int_distribution<int> coef(-3, 9), obj(-5, 12);
  dense d;
  d.objsen = -1;
  for (int j = 0; j < n; ++j) d.c.push_back(obj(g) + 0.01 * j);
  d.lb.assign(n, 0.0);
  d.ub.assign(n, 1.0);
  d.ub[n - 1] = 3.0;  // one general integer
  for (int i = 0; i < m; ++i) {
    std::vector<double> row(n);
    double s = 0;
    for (int j = 0; j < n; ++j) s += std::max(0.0, row[j] = coef(g));
    d.a.push_back(row);
    d.sense.push_back('L');
    d.rhs.push_back(std::floor(s * 0.45) + 0.5);
  }
  d.ctype.assign(n, 'B');
  d.ctype[n - 1] = 'I';
  return d;
}
double enumerate(const dense &d) {
  int n = static_cast<int>(d.c.size());
  double best = -1e300;
  for (long mask = 0; mask < (1L << (n - 1)); ++mask)
    for (int last = 0; last <= 3; ++last) {
      std::vector<double> x(n);
      for (int j = 0; j < n - 1; ++j) x[j] = (mask >> j) & 1;
      x[n - 1] = last;
      bool ok = true;
      for (size_t i = 0; i < d.a.size() && ok; ++i) {
        double s = 0;
        for (int j = 0; j < n; ++j) s += d.a[i][j] * x[j];
        ok = s <= d.rhs[i] + 1e-9;
      }
      if (!ok) continue;
      double z = 0;
      for (int j = 0; j < n; ++j) z += d.c[j] * x[j];
      best = std::max(best, z);
    }
  return best;
}

TEST_F(BB, EveryVarselAndNodeselReachesTheEnumeratedOptimum) {
  for (unsigned seed = 1; seed <= 3; ++seed) {
    dense d = randommip(seed, 13, 4);
    double opt = enumerate(d);
    for (int varsel : {-1, 0, 1, 2, 3, 4})
      for (int nodesel : {0, 1, 2, 3}) {
        fresh("r");
        load(d);
        quiet();
        VLTsetintparam(env, VLT_PARAM_VARSEL, varsel);
        VLTsetintparam(env, VLT_PARAM_NODESEL, nodesel);
        VLTsetdblparam(env, VLT_PARAM_EPGAP, 0.0);
        VLTsetdblparam(env, VLT_PARAM_EPAGAP, 0.0);
        ASSERT_EQ(VLTmipopt(env, lp), 0);
        EXPECT_EQ(stat(), 101) << "seed " << seed << " varsel " << varsel << " nodesel " << nodesel;
        EXPECT_NEAR(mipobj(), opt, 1e-7) << "seed " << seed << " varsel " << varsel << " nodesel " << nodesel;
        expectchecked();
      }
  }
}

// A stop keeps the node in hand for the next call (it was once dropped).
TEST_F(BB, ResumingOneNodeAtATimeLosesNoNode) {
  for (unsigned seed = 4; seed <= 6; ++seed) {
    dense d = randommip(seed, 13, 4);
    fresh("r");
    load(d);
    quiet();
    VLTsetintparam(env, VLT_PARAM_NODELIM, 1);
    VLTsetdblparam(env, VLT_PARAM_EPGAP, 0.0);
    VLTsetdblparam(env, VLT_PARAM_EPAGAP, 0.0);
    // rounding cuts would close these models at the root: a tree is wanted
    VLTsetintparam(env, VLT_PARAM_MIRCUTS, -1);
    VLTsetintparam(env, VLT_PARAM_FLOWCOVERS, -1);
    VLTsetintparam(env, VLT_PARAM_FRACCUTS, -1);
    int calls = 0;
    do {
      ASSERT_EQ(VLTmipopt(env, lp), 0);
    } while (++calls < 100000 && (stat() == 105 || stat() == 106));
    EXPECT_EQ(stat(), 101) << "seed " << seed;
    EXPECT_NEAR(mipobj(), enumerate(d), 1e-7) << "seed " << seed;
    EXPECT_EQ(VLTgetnodecnt(env, lp), calls - 1) << "one node per call";
    EXPECT_GT(calls, 10) << "seed " << seed;
    expectchecked();
  }
}

TEST_F(BB, BranchDirectionAndOrderDirection) {
  // The first child of the root is node 1; its direction shows on the log
  // channel.
  std::string logtext;
  VLTCHANNELptr r, w, e, l;
  ASSERT_EQ(VLTgetchannels(env, &r, &w, &e, &l), 0);
  VLTaddfuncdest(env, l, &logtext, append);
  auto firstdir = [&](int brdir, bool order) {
    fresh("dir");
    dense d = parityknap(11);
    load(d);
    if (order) {
      std::vector<int> ind(11), pri(11, 1), dir(11, 1);
      for (int j = 0; j < 11; ++j) ind[j] = j;
      EXPECT_EQ(VLTcopyorder(env, lp, 11, ind.data(), pri.data(), dir.data()), 0);
    }
    VLTsetintparam(env, VLT_PARAM_BRDIR, brdir);
    VLTsetintparam(env, VLT_PARAM_MIPINTERVAL, 1);
    logtext.clear();
    EXPECT_EQ(VLTmipopt(env, lp), 0);
    // first log entry of a node row: name (16), blank, direction
    size_t p = logtext.find("Variable B Parent  Depth");
    EXPECT_NE(p, std::string::npos);
    std::string rest = logtext.substr(p + 24);
    return rest.size() > 17 ? rest[17] : '?';
  };
  EXPECT_EQ(firstdir(-1, false), 'D');
  EXPECT_EQ(firstdir(1, false), 'U');
  EXPECT_EQ(firstdir(-1, true), 'U');  // the order's direction wins
}

TEST_F(BB, SpecialOrderedSetBranching) {
  // max x1 + 2 x2 + 3 x3 with x1 + x2 + x3 <= 2 on [0, 1], one of them
  // non-zero: the answer is x3 = 1.
  dense d;
  d.objsen = -1;
  d.c = {1, 2, 3, 0.5};
  d.lb = {0, 0, 0, 0};
  d.ub = {1, 1, 1, 1};
  d.a = {{1, 1, 1, 0}};
  d.sense = {'L'};
  d.rhs = {2};
  d.ctype = "CCCB";
  load(d);
  char type = '1';
  int beg = 0, ind[] = {0, 1, 2};
  double wt[] = {1, 2, 3};
  ASSERT_EQ(VLTcopysos(env, lp, 1, 3, &type, nullptr, &beg, ind, wt), 0);
  quiet();
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 101);
  EXPECT_NEAR(mipobj(), 3.5, 1e-9);
  std::vector<double> x(4);
  ASSERT_EQ(VLTgetmipx(env, lp, x.data(), 0, 3), 0);
  int nz = 0;
  for (int j = 0; j < 3; ++j) nz += std::fabs(x[j]) > 1e-9;
  EXPECT_EQ(nz, 1);
  expectchecked();
}

TEST_F(BB, SemiContinuousColumnsTakeZeroOrTheirRange) {
  // min x + y with x + y >= 1, x semi-continuous on [2, 5], y on [0, 0.5]:
  // the relaxation would take x = 0.5; the answer is x = 2, y = 0 (objective
  // 2) against x = 0 being infeasible.
  dense d;
  d.c = {1, 1.5};
  d.lb = {2, 0};
  d.ub = {5, 0.5};
  d.a = {{1, 1}};
  d.sense = {'G'};
  d.rhs = {1};
  d.ctype = "SC";
  load(d);
  quiet();
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(stat(), 101);
  EXPECT_NEAR(mipobj(), 2.0, 1e-9);
  std::vector<double> x(2);
  ASSERT_EQ(VLTgetmipx(env, lp, x.data(), 0, 1), 0);
  EXPECT_NEAR(x[0], 2.0, 1e-9);
  EXPECT_NEAR(x[1], 0.0, 1e-9);
  EXPECT_EQ(VLTgetnumcols(env, lp), 2);  // the model keeps its columns
  ASSERT_EQ(VLTmipopt(env, lp), 0);     // finished: returns at once
  EXPECT_EQ(stat(), 101);
}

// Small public models: every rule reaches the published optimum.
TEST_F(BB, SmallMiplibModelsUnderEveryRule) {
  auto ref = velto_test::readreference("miplib3");
  if (ref.empty()) GTEST_SKIP() << "MIPLIB 3 data not found under " << velto_test::datadir();
  for (const char *name : {"p0033", "enigma"}) {
    double opt = std::nan("");
    for (auto &r : ref)
      if (r.name == name) opt = r.num(4);
    for (int varsel : {-1, 1, 2, 3, 4})
      for (int nodesel : {0, 1, 2, 3}) {
        fresh(name);
        ASSERT_EQ(VLTreadcopyprob(env, lp, velto_test::modelpath("miplib3", name).c_str(), nullptr), 0);
        quiet();
        VLTsetintparam(env, VLT_PARAM_VARSEL, varsel);
        VLTsetintparam(env, VLT_PARAM_NODESEL, nodesel);
        ASSERT_EQ(VLTmipopt(env, lp), 0);
        int s = stat();
        EXPECT_TRUE(s == 101 || s == 102) << name << " " << varsel << " " << nodesel << " " << s;
        EXPECT_LE(std::fabs(mipobj() - opt), 1e-4 * std::max(1.0, std::fabs(opt)))
            << name << " varsel " << varsel << " nodesel " << nodesel;
        expectchecked();
      }
  }
}

}  // namespace
}  // namespace miptest
