// VLTdualopt through the public interface: statuses, messages, warm starts,
// and solutions checked against the model read back through the API.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "common/session.h"
#include "simplex/dual_apicheck.h"

using namespace dualtest;

namespace {

using velto_test::session;

// max 3x + 5y s.t. x <= 4, 2y <= 12, 3x + 2y <= 18; optimum 36 at (2, 6)
// with duals (0, 1.5, 1).
void load_textbook(session &s) {
  double obj[] = {3, 5}, rhs[] = {4, 12, 18}, lb[] = {0, 0}, ub[] = {1e20, 1e20};
  char sense[] = {'L', 'L', 'L'};
  int beg[] = {0, 2}, cnt[] = {2, 2}, ind[] = {0, 2, 1, 2};
  double val[] = {1, 3, 2, 2};
  ASSERT_EQ(VLTcopylp(s.env, s.lp, 2, 3, -1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
}

std::string datadir() {
  const char *d = std::getenv("VELTO_DATA");
  return d ? d : VELTO_DATA_DEFAULT;
}

}  // namespace

TEST(DualOpt, TextbookMaximizationSolvesWithUserSigns) {
  session s;
  load_textbook(s);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 1);
  EXPECT_EQ(VLTgetmethod(s.env, s.lp), 2);
  model md = api_model(s.env, s.lp);
  apisol sol;
  ASSERT_EQ(api_solution(s.env, s.lp, md, sol), 0);
  EXPECT_NEAR(sol.objval, 36.0, 1e-9);
  EXPECT_NEAR(sol.x[0], 2.0, 1e-9);
  EXPECT_NEAR(sol.x[1], 6.0, 1e-9);
  EXPECT_NEAR(sol.pi[0], 0.0, 1e-9);
  EXPECT_NEAR(sol.pi[1], 1.5, 1e-9);
  EXPECT_NEAR(sol.pi[2], 1.0, 1e-9);
  EXPECT_NEAR(sol.slack[0], 2.0, 1e-9);
  double pv, dv;
  api_violations(s.env, s.lp, md, sol, &pv, &dv);
  EXPECT_LE(pv, 1e-9);
  EXPECT_LE(dv, 1e-9);
}

TEST(DualOpt, StatusesForInfeasibleUnboundedAndLimits) {
  {
    // x + y >= 5, x, y in [0, 2]
    session s;
    double obj[] = {1, 1}, rhs[] = {5}, lb[] = {0, 0}, ub[] = {2, 2}, val[] = {1, 1};
    char sense[] = {'G'};
    int beg[] = {0, 1}, cnt[] = {1, 1}, ind[] = {0, 0};
    ASSERT_EQ(VLTcopylp(s.env, s.lp, 2, 1, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
    ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
    EXPECT_EQ(VLTgetstat(s.env, s.lp), 3);
  }
  {
    // min -x - y, x - y <= 1, x, y >= 0: unbounded along (1, 1).
    session s;
    double obj[] = {-1, -1}, rhs[] = {1}, lb[] = {0, 0}, ub[] = {1e20, 1e20}, val[] = {1, -1};
    char sense[] = {'L'};
    int beg[] = {0, 1}, cnt[] = {1, 1}, ind[] = {0, 0};
    ASSERT_EQ(VLTcopylp(s.env, s.lp, 2, 1, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
    ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
    EXPECT_EQ(VLTgetstat(s.env, s.lp), 2);
  }
  {
    session s;
    load_textbook(s);
    ASSERT_EQ(VLTsetintparam(s.env, VLT_PARAM_ITLIM, 0), 0);
    ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
    EXPECT_EQ(VLTgetstat(s.env, s.lp), 10);
    double x[2];
    EXPECT_EQ(VLTgetx(s.env, s.lp, x, 0, 1), 0);
    EXPECT_EQ(VLTgetitcnt(s.env, s.lp), 0);
  }
}

TEST(DualOpt, ContradictoryBoundsWarnAndGiveStatus3) {
  session s;
  load_textbook(s);
  int idx[] = {1, 1};
  char lu[] = {'L', 'U'};
  double bd[] = {3, 2};
  ASSERT_EQ(VLTchgbds(s.env, s.lp, 2, idx, lu, bd), 0);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 3);
  EXPECT_NE(s.warnings.find("Warning:  Bounds on 'x2' contradictory.\n"), std::string::npos)
      << s.warnings;
  // A crossing smaller than 1e-10 is a fixed column, without a warning.
  s.warnings.clear();
  bd[0] = 2 + 5e-11;
  ASSERT_EQ(VLTchgbds(s.env, s.lp, 2, idx, lu, bd), 0);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 1);
  EXPECT_EQ(s.warnings, "");
}

TEST(DualOpt, MixedIntegerModelIsRefused) {
  session s;
  load_textbook(s);
  char ct[] = {'I', 'C'};
  ASSERT_EQ(VLTcopyctype(s.env, s.lp, ct), 0);
  EXPECT_EQ(VLTdualopt(s.env, s.lp), 1017);
  EXPECT_EQ(VLTdualopt(nullptr, s.lp), 1002);
  EXPECT_EQ(VLTdualopt(s.env, nullptr), 1009);
}

TEST(DualOpt, WarmStartAfterBoundOrCostChange) {
  std::string f = datadir() + "/netlib/sc105.mps.gz";
  if (!std::ifstream(f)) GTEST_SKIP() << "public models not found: " << f;
  session s;
  ASSERT_EQ(VLTreadcopyprob(s.env, s.lp, f.c_str(), nullptr), 0);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
  int cold = VLTgetitcnt(s.env, s.lp);
  int n = VLTgetnumcols(s.env, s.lp);
  std::vector<double> x(n);
  VLTgetx(s.env, s.lp, x.data(), 0, n - 1);
  int warm = 0, runs = 0;
  for (int j = 0; j < n && runs < 8; j += 7) {
    if (x[j] < 1e-3) continue;
    // Tighten a bound past the optimal value, re-solve warm, restore.
    char lu = 'U';
    double bd = x[j] * 0.9;
    ASSERT_EQ(VLTchgbds(s.env, s.lp, 1, &j, &lu, &bd), 0);
    ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
    int st = VLTgetstat(s.env, s.lp);
    ASSERT_TRUE(st == 1 || st == 3) << st;
    warm += VLTgetitcnt(s.env, s.lp);
    ++runs;
    if (st == 1) {
      model md = api_model(s.env, s.lp);
      apisol sol;
      ASSERT_EQ(api_solution(s.env, s.lp, md, sol), 0);
      double pv, dv;
      api_violations(s.env, s.lp, md, sol, &pv, &dv);
      EXPECT_LE(pv, 1e-6);
      EXPECT_LE(dv, 1e-6);
    }
    bd = 1e20;
    ASSERT_EQ(VLTchgbds(s.env, s.lp, 1, &j, &lu, &bd), 0);
    ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
    ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
  }
  ASSERT_GT(runs, 0);
  EXPECT_LE(warm, runs * cold / 10 + runs);
}

TEST(DualOpt, SmallNetlibModelsThroughTheInterface) {
  std::string dir = datadir() + "/netlib/";
  std::ifstream ref(dir + "REFERENCE.tsv");
  if (!ref) GTEST_SKIP() << "public models not found under " << dir;
  std::map<std::string, double> opt;
  std::string line;
  while (std::getline(ref, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream ls(line);
    std::string name;
    int m, n, nz;
    double z;
    ls >> name >> m >> n >> nz >> z;
    opt[name] = z;
  }
  for (const char *name : {"afiro", "adlittle", "blend", "sc105", "kb2", "boeing2", "recipe"}) {
    SCOPED_TRACE(name);
    session s;
    ASSERT_EQ(VLTreadcopyprob(s.env, s.lp, (dir + name + ".mps.gz").c_str(), nullptr), 0);
    ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
    ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
    model md = api_model(s.env, s.lp);
    apisol sol;
    ASSERT_EQ(api_solution(s.env, s.lp, md, sol), 0);
    double pv, dv;
    api_violations(s.env, s.lp, md, sol, &pv, &dv);
    EXPECT_LE(pv, 1e-6);
    EXPECT_LE(dv, 1e-6);
    double z = objective(md, sol.x) - md.c0;
    EXPECT_NEAR(z, opt[name], 1e-6 * (1 + std::fabs(opt[name])));
  }
}

TEST(DualOpt, LogLinesAndObjectiveLimit) {
  std::string f = datadir() + "/netlib/afiro.mps.gz";
  if (!std::ifstream(f)) GTEST_SKIP() << "public models not found: " << f;
  session s;
  std::string log;
  VLTCHANNELptr res, warn, err, lg;
  VLTgetchannels(s.env, &res, &warn, &err, &lg);
  ASSERT_EQ(VLTreadcopyprob(s.env, s.lp, f.c_str(), nullptr), 0);
  VLTaddfuncdest(s.env, res, &log, [](void *h, const char *t) { *static_cast<std::string *>(h) += t; });
  ASSERT_EQ(VLTsetintparam(s.env, VLT_PARAM_SIMDISPLAY, 1), 0);
  ASSERT_EQ(VLTsetintparam(s.env, VLT_PARAM_PREIND, 0), 0);  // the engine's own log only
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
  // Every line is an iteration line of one of the two phases; the last
  // phase-2 value is a bound below the optimum -464.7531.
  std::istringstream in(log);
  std::string line;
  int lines = 0;
  double last = -1e300;
  while (std::getline(in, line)) {
    if (line.empty() || line == "Iteration log . . .") continue;
    int it;
    double v;
    bool p1 = std::sscanf(line.c_str(), "Iteration: %d   Dual infeasibility = %lf", &it, &v) == 2;
    bool p2 = std::sscanf(line.c_str(), "Iteration: %d   Dual objective     = %lf", &it, &v) == 2;
    EXPECT_TRUE(p1 || p2) << line;
    if (p2) last = v;
    ++lines;
  }
  EXPECT_GT(lines, 0);
  EXPECT_LE(last, -464.7531 + 1e-4);
  // The dual objective passes -500 on its way up to the optimum: status 12.
  ASSERT_EQ(VLTsetdblparam(s.env, VLT_PARAM_OBJULIM, -500.0), 0);
  ASSERT_EQ(VLTsetintparam(s.env, VLT_PARAM_ADVIND, 0), 0);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 12);
  ASSERT_EQ(VLTsetdblparam(s.env, VLT_PARAM_OBJULIM, -400.0), 0);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 1);
}

TEST(DualOpt, EveryPricingRuleSolvesSmallModels) {
  std::string dir = datadir() + "/netlib/";
  if (!std::ifstream(dir + "REFERENCE.tsv")) GTEST_SKIP() << "public models not found under " << dir;
  for (int dpri : {0, 1, 2, 3, 4}) {
    for (const char *name : {"afiro", "sc105", "share2b", "scagr7", "boeing2"}) {
      SCOPED_TRACE(testing::Message() << name << " pricing " << dpri);
      session s;
      ASSERT_EQ(VLTsetintparam(s.env, VLT_PARAM_DPRIIND, dpri), 0);
      ASSERT_EQ(VLTreadcopyprob(s.env, s.lp, (dir + name + ".mps.gz").c_str(), nullptr), 0);
      ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
      ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
      model md = api_model(s.env, s.lp);
      apisol sol;
      ASSERT_EQ(api_solution(s.env, s.lp, md, sol), 0);
      double pv, dv;
      api_violations(s.env, s.lp, md, sol, &pv, &dv);
      EXPECT_LE(pv, 1e-6);
      EXPECT_LE(dv, 1e-6);
    }
  }
}

TEST(DualOpt, LpoptRunsTheDualByDefault) {
  session s;
  load_textbook(s);
  ASSERT_EQ(VLTlpopt(s.env, s.lp), 0);
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 1);
  EXPECT_EQ(VLTgetmethod(s.env, s.lp), 2);
  double obj = 0;
  ASSERT_EQ(VLTgetobjval(s.env, s.lp, &obj), 0);
  EXPECT_NEAR(obj, 36.0, 1e-9);
  // Parameters that a run may touch read back as the user left them.
  int adv = -1, per = -1;
  VLTgetintparam(s.env, VLT_PARAM_ADVIND, &adv);
  VLTgetintparam(s.env, VLT_PARAM_PERIND, &per);
  EXPECT_EQ(adv, 1);
  EXPECT_EQ(per, 0);
}
