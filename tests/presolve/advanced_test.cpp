// The calls around the presolve record: protected columns, the basic
// presolve, rows and objective changes carried into the reduced problem,
// the writing of the reduced problem, and the proofs of infeasibility and
// unboundedness when the reduced problem has no optimum.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>

#include <unistd.h>

#include "presolve/lpbuild.h"
#include "common/lpcheck.h"

using namespace presolve_test;

namespace {

// A model on which several reductions fire: a fixed column, a free column
// singleton in an equality row, a slack column, a singleton row and an empty
// column that goes to its lower bound by the sign of its cost.
enum { X0, X1, X2, X3, X4, X5, X6 };
lpdef mixed_model() {
  lpdef d;
  d.col(1, 0, 10);        // x0
  d.col(2, 0, 10);        // x1
  d.col(-1, 0, 10);       // x2
  d.col(3, 2, 2);         // x3 fixed
  d.col(1, -INF, INF);    // x4 free, only in r2
  d.col(0, 0, INF);       // x5 slack of r3
  d.col(4, 0, 5);         // x6 empty
  d.row({{X0, 1}, {X1, 1}, {X2, 1}, {X3, 1}}, 'G', 4);
  d.row({{X0, 1}, {X1, -1}, {X2, 2}}, 'L', 6);
  d.row({{X4, 1}, {X0, 1}, {X2, 1}}, 'E', 3);
  d.row({{X1, 1}, {X2, 1}, {X5, 1}}, 'E', 8);
  d.row({{X2, 1}}, 'L', 7);
  return d;
}

struct session {
  vtest::Env env;
  VLTLPptr lp = nullptr;
  explicit session(const lpdef &d) {
    int st = 0;
    lp = VLTcreateprob(env, &st, "adv");
    VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0);
    EXPECT_EQ(d.load(env, lp), 0);
  }
  ~session() { VLTfreeprob(env, &lp); }
  int prestat() {
    int ps = -1;
    VLTgetprestat(env, lp, &ps, nullptr, nullptr, nullptr, nullptr);
    return ps;
  }
  std::vector<int> colmap() {
    std::vector<int> c(VLTgetnumcols(env, lp));
    VLTgetprestat(env, lp, nullptr, c.data(), nullptr, nullptr, nullptr);
    return c;
  }
};

// Optimum of a model solved with presolve off.
double plain_optimum(const lpdef &d) {
  outcome o = solve(d, 0, 3, 0, VLTdualopt);
  EXPECT_EQ(o.lpstat, 1);
  return o.obj;
}

// Solves the reduced problem of s by itself, carries its optimum back and
// checks it on the user's model; returns the user's objective of that point.
double reduced_optimum_carried_back(session &s) {
  VLTLPptr red = nullptr;
  EXPECT_EQ(VLTgetredlp(s.env, s.lp, &red), 0);
  if (red == nullptr) return NAN;
  EXPECT_EQ(VLTsetintparam(s.env, VLT_PARAM_PREIND, 0), 0);
  EXPECT_EQ(VLTdualopt(s.env, red), 0);
  EXPECT_EQ(VLTgetstat(s.env, red), 1);
  const int rn = VLTgetnumcols(s.env, red), rm = VLTgetnumrows(s.env, red);
  std::vector<double> rx(rn), rpi(rm);
  EXPECT_EQ(VLTsolution(s.env, red, nullptr, nullptr, rx.data(), rpi.data(), nullptr, nullptr), 0);
  model m = readmodel(s.env, s.lp);
  std::vector<double> x(m.n), pi(m.m);
  EXPECT_EQ(VLTuncrushx(s.env, s.lp, x.data(), rx.data()), 0);
  EXPECT_EQ(VLTuncrushpi(s.env, s.lp, pi.data(), rpi.data(), 0), 0);
  verdict v = kkt_check(m, x, pi);
  EXPECT_TRUE(v.ok()) << describe(v);
  return v.obj;
}

TEST(PresolveProtected, StoredListRoundTripsWithTheShortArrayRule) {
  session s(mixed_model());
  int cnt = -1, surplus = 0;
  int got[4] = {-1, -1, -1, -1};
  // Nothing stored yet.
  EXPECT_EQ(VLTgetprotected(s.env, s.lp, &cnt, got, 4, &surplus), 0);
  EXPECT_EQ(cnt, 0);
  EXPECT_EQ(surplus, 4);
  const int list[3] = {X4, X5, X0};
  ASSERT_EQ(VLTcopyprotected(s.env, s.lp, 3, list), 0);
  EXPECT_EQ(VLTgetprotected(s.env, s.lp, &cnt, nullptr, 0, &surplus), 1207);
  EXPECT_EQ(surplus, -3);
  EXPECT_EQ(VLTgetprotected(s.env, s.lp, &cnt, got, 2, &surplus), 1207);
  EXPECT_EQ(cnt, 2);
  EXPECT_EQ(surplus, -1);
  EXPECT_EQ(got[0], X4);
  EXPECT_EQ(got[1], X5);
  EXPECT_EQ(VLTgetprotected(s.env, s.lp, &cnt, got, 4, &surplus), 0);
  EXPECT_EQ(cnt, 3);
  EXPECT_EQ(surplus, 1);
  EXPECT_EQ(got[2], X0);
  // Bad arguments.
  s.env.err.clear();
  EXPECT_EQ(VLTcopyprotected(s.env, s.lp, -1, list), 1003);
  EXPECT_EQ(s.env.err.all(), "VELTO Error  1003: Bad argument to Callable Library function.\n");
  EXPECT_EQ(VLTcopyprotected(s.env, s.lp, 2, nullptr), 1004);
  EXPECT_EQ(VLTgetprotected(s.env, s.lp, nullptr, got, 4, &surplus), 1004);
  // Indices are checked only with the data check on.
  const int bad[1] = {99};
  EXPECT_EQ(VLTcopyprotected(s.env, s.lp, 1, bad), 0);
  ASSERT_EQ(VLTsetintparam(s.env, VLT_PARAM_DATACHECK, 1), 0);
  s.env.err.clear();
  EXPECT_EQ(VLTcopyprotected(s.env, s.lp, 1, bad), 1201);
  EXPECT_EQ(s.env.err.all(), "VELTO Error  1201: Column index 99 out of range.\n");
  // An empty list clears the protection.
  EXPECT_EQ(VLTcopyprotected(s.env, s.lp, 0, nullptr), 0);
  EXPECT_EQ(VLTgetprotected(s.env, s.lp, &cnt, got, 4, &surplus), 0);
  EXPECT_EQ(cnt, 0);
}

TEST(PresolveProtected, ProtectedColumnsAreNeitherSubstitutedNorSlacks) {
  const lpdef d = mixed_model();
  const double opt = plain_optimum(d);
  {
    session s(d);
    ASSERT_EQ(VLTpresolve(s.env, s.lp, 2), 0);
    std::vector<int> c = s.colmap();
    EXPECT_EQ(c[X4], -4);  // substituted out
    EXPECT_EQ(c[X5], -4);  // taken as the slack of its row
  }
  session s(d);
  const int list[2] = {X4, X5};
  ASSERT_EQ(VLTcopyprotected(s.env, s.lp, 2, list), 0);
  ASSERT_EQ(VLTpresolve(s.env, s.lp, 2), 0);
  std::vector<int> c = s.colmap();
  EXPECT_GE(c[X4], 0);
  EXPECT_GE(c[X5], 0);
  EXPECT_LT(c[X3], 0);  // fixing is still allowed
  EXPECT_NEAR(reduced_optimum_carried_back(s), opt, 1e-9);
  // The optimizer keeps them too and reaches the same optimum.
  ASSERT_EQ(VLTsetintparam(s.env, VLT_PARAM_PREIND, 1), 0);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  double obj = 0;
  VLTgetobjval(s.env, s.lp, &obj);
  EXPECT_NEAR(obj, opt, 1e-9);
  EXPECT_GE(s.colmap()[X4], 0);
}

TEST(PresolveMaps, RowThatLostItsSlackColumnKeepsItsReducedIndex) {
  session s(mixed_model());
  ASSERT_EQ(VLTpresolve(s.env, s.lp, 2), 0);
  VLTLPptr red = nullptr;
  VLTgetredlp(s.env, s.lp, &red);
  ASSERT_NE(red, nullptr);
  std::vector<int> pr(5), orr(VLTgetnumrows(s.env, red));
  ASSERT_EQ(VLTgetprestat(s.env, s.lp, nullptr, nullptr, pr.data(), nullptr, orr.data()), 0);
  // r3 became x1 + x2 <= 8 when x5 went; r2 went with the free x4.
  ASSERT_GE(pr[3], 0);
  EXPECT_EQ(orr[pr[3]], 3);
  char sense = 0;
  VLTgetsense(s.env, red, &sense, pr[3], pr[3]);
  EXPECT_EQ(sense, 'L');
  EXPECT_EQ(pr[2], -2);
  EXPECT_EQ(VLTEgetorigrowind(s.env, s.lp, pr[3]), 3);
}

TEST(PresolveAddRows, RowsOnRemovedColumnsKeepTheReducedProblemEquivalent) {
  lpdef d = mixed_model();
  session s(d);
  ASSERT_EQ(VLTpresolve(s.env, s.lp, 2), 0);
  ASSERT_EQ(s.prestat(), 1);
  VLTLPptr red = nullptr;
  VLTgetredlp(s.env, s.lp, &red);
  const int redrows = VLTgetnumrows(s.env, red);
  // Two rows on the fixed, substituted and slack columns and a live one;
  // the first cuts the old optimum off.
  const int beg[2] = {0, 4};
  const int ind[6] = {X0, X3, X4, X5, X1, X2};
  const double val[6] = {1, 1, 1, 1, 1, 2};
  const double rhs[2] = {6, 4};
  const char sense[2] = {'L', 'G'};
  char n1[] = "cut1", n2[] = "cut2";
  char *names[2] = {n1, n2};
  s.env.warn.clear();
  ASSERT_EQ(VLTpreaddrows(s.env, s.lp, 2, 6, rhs, sense, beg, ind, val, names), 0);
  EXPECT_EQ(s.env.warn.all(), "");
  EXPECT_EQ(VLTgetnumrows(s.env, s.lp), 7);
  ASSERT_EQ(s.prestat(), 1);
  EXPECT_EQ(VLTgetnumrows(s.env, red), redrows + 2);
  EXPECT_EQ(VLTEgetorigrowind(s.env, s.lp, redrows + 1), 6);
  // The same model written out in full.
  d.row({{X0, 1}, {X3, 1}, {X4, 1}, {X5, 1}}, 'L', 6);
  d.row({{X1, 1}, {X2, 2}}, 'G', 4);
  const double opt = plain_optimum(d);
  const double before = plain_optimum(mixed_model());
  EXPECT_GT(opt, before + 1e-6) << "the added rows should cut the optimum off";
  EXPECT_NEAR(reduced_optimum_carried_back(s), opt, 1e-9);
}

TEST(PresolveAddRows, RowOnAColumnRemovedByItsCostDropsTheRecord) {
  session s(mixed_model());
  ASSERT_EQ(VLTpresolve(s.env, s.lp, 2), 0);
  const int beg[1] = {0};
  const int ind[2] = {X6, X0};
  const double val[2] = {1, 1};
  const double rhs[1] = {3};
  const char sense[1] = {'G'};
  s.env.warn.clear();
  ASSERT_EQ(VLTpreaddrows(s.env, s.lp, 1, 2, rhs, sense, beg, ind, val, nullptr), 0);
  EXPECT_EQ(s.env.warn.all(), "Warning: Adding rows to the presolved model fails.\n");
  EXPECT_EQ(s.prestat(), 0);
  EXPECT_EQ(VLTgetnumrows(s.env, s.lp), 6);
  // Bad arguments change nothing and keep the record.
  ASSERT_EQ(VLTpresolve(s.env, s.lp, 2), 0);
  EXPECT_EQ(VLTpreaddrows(s.env, s.lp, -1, 0, rhs, sense, beg, ind, val, nullptr), 1003);
  EXPECT_EQ(VLTpreaddrows(s.env, s.lp, 1, 2, rhs, sense, nullptr, ind, val, nullptr), 1004);
  EXPECT_EQ(s.prestat(), 1);
  EXPECT_EQ(VLTgetnumrows(s.env, s.lp), 6);
}

TEST(PresolveChangeObjective, ChangesReachRemovedAndKeptColumns) {
  lpdef d = mixed_model();
  session s(d);
  ASSERT_EQ(VLTpresolve(s.env, s.lp, 2), 0);
  ASSERT_EQ(s.prestat(), 1);
  // A kept column, the fixed one, the substituted one, the slack column and
  // the empty one with a cost that keeps its sign.
  const int idx[5] = {X1, X3, X4, X5, X6};
  const double val[5] = {-3, 5, 2.5, 1.5, 7};
  s.env.warn.clear();
  ASSERT_EQ(VLTprechgobj(s.env, s.lp, 5, idx, val), 0);
  EXPECT_EQ(s.env.warn.all(), "");
  ASSERT_EQ(s.prestat(), 1);
  for (int k = 0; k < 5; ++k) d.obj[idx[k]] = val[k];
  const double opt = plain_optimum(d);
  EXPECT_NEAR(reduced_optimum_carried_back(s), opt, 1e-9);
  double obj = 0;
  VLTgetobj(s.env, s.lp, &obj, X4, X4);
  EXPECT_EQ(obj, 2.5);
}

TEST(PresolveChangeObjective, CostThatBreaksADualReductionDropsTheRecord) {
  session s(mixed_model());
  ASSERT_EQ(VLTpresolve(s.env, s.lp, 2), 0);
  // x6 went to its lower bound because its cost is positive.
  const int idx[1] = {X6};
  const double val[1] = {-2};
  s.env.warn.clear();
  ASSERT_EQ(VLTprechgobj(s.env, s.lp, 1, idx, val), 0);
  EXPECT_EQ(s.env.warn.all(), "Warning: Changing the objective of the presolved model fails.\n");
  EXPECT_EQ(s.prestat(), 0);
  double obj = 0;
  VLTgetobj(s.env, s.lp, &obj, X6, X6);
  EXPECT_EQ(obj, -2);
  // Without a record the call is a plain change.
  const double val2[1] = {1};
  EXPECT_EQ(VLTprechgobj(s.env, s.lp, 1, idx, val2), 0);
  VLTgetobj(s.env, s.lp, &obj, X6, X6);
  EXPECT_EQ(obj, 1);
  const int badidx[1] = {42};
  EXPECT_EQ(VLTprechgobj(s.env, s.lp, 1, badidx, val2), 1201);
}

TEST(PresolveChangeObjective, OptimizerSolvesTheRecordAsChanged) {
  lpdef d = mixed_model();
  session s(d);
  ASSERT_EQ(VLTpresolve(s.env, s.lp, 2), 0);
  VLTLPptr red = nullptr;
  VLTgetredlp(s.env, s.lp, &red);
  const int redrows = VLTgetnumrows(s.env, red);
  const int beg[1] = {0};
  const int ind[4] = {X0, X3, X4, X5};
  const double val[4] = {1, 1, 1, 1};
  const double rhs[1] = {6};
  const char sense[1] = {'L'};
  ASSERT_EQ(VLTpreaddrows(s.env, s.lp, 1, 4, rhs, sense, beg, ind, val, nullptr), 0);
  const int idx[2] = {X2, X4};
  const double obj[2] = {-2, 0.5};
  ASSERT_EQ(VLTprechgobj(s.env, s.lp, 2, idx, obj), 0);
  d.row({{X0, 1}, {X3, 1}, {X4, 1}, {X5, 1}}, 'L', 6);
  d.obj[X2] = -2;
  d.obj[X4] = 0.5;
  const double opt = plain_optimum(d);
  // The optimizer works on the record as it stands: the same reduced
  // problem, with the added row.
  ASSERT_EQ(VLTsetintparam(s.env, VLT_PARAM_PREIND, 1), 0);
  ASSERT_EQ(VLTsetintparam(s.env, VLT_PARAM_SIMDISPLAY, 1), 0);
  s.env.res.clear();
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
  EXPECT_EQ(s.env.res.all().find("Presolve"), std::string::npos) << s.env.res.all();
  VLTLPptr after = nullptr;
  VLTgetredlp(s.env, s.lp, &after);
  EXPECT_EQ(after, red);
  EXPECT_EQ(VLTgetnumrows(s.env, after), redrows + 1);
  model m = readmodel(s.env, s.lp);
  std::vector<double> x(m.n), pi(m.m), slack(m.m), dj(m.n);
  double z = 0;
  ASSERT_EQ(VLTsolution(s.env, s.lp, nullptr, &z, x.data(), pi.data(), slack.data(), dj.data()), 0);
  EXPECT_NEAR(z, opt, 1e-9);
  verdict v = kkt_check(m, x, pi, &slack, &dj);
  EXPECT_TRUE(v.ok()) << describe(v);
  EXPECT_EQ(VLTgetitcnt(s.env, s.lp), VLTgetitcnt(s.env, red)) << "clean-up iterations";
}

TEST(PresolveBasic, ImpliedBoundsAndRedundantRowsOfASmallModel) {
  lpdef d;
  int x0 = d.col(1, 0, 10), x1 = d.col(1, 0, 10), x2 = d.col(1, -INF, INF);
  d.row({{x0, 1}, {x1, 1}}, 'L', 4);
  d.row({{x2, 1}, {x0, -1}}, 'G', 1);
  d.row({{x0, 1}, {x1, 1}}, 'L', 30);
  d.row({{x2, 1}, {x0, 1}}, 'L', 20);
  d.row({{x0, 1}, {x1, 1}}, 'R', -5, 30);
  session s(d);
  std::vector<double> lo(3), up(3);
  std::vector<int> rs(5, 7);
  ASSERT_EQ(VLTbasicpresolve(s.env, s.lp, lo.data(), up.data(), rs.data()), 0);
  EXPECT_EQ(lo, (std::vector<double>{0, 0, 1}));
  EXPECT_EQ(up, (std::vector<double>{4, 4, 20}));
  EXPECT_EQ(rs, (std::vector<int>{0, 0, -1, 0, -1}));
  // Nothing changed, no record made.
  EXPECT_EQ(s.prestat(), 0);
  double b = 0;
  VLTgetub(s.env, s.lp, &b, x0, x0);
  EXPECT_EQ(b, 10);
  EXPECT_EQ(VLTbasicpresolve(s.env, s.lp, nullptr, nullptr, nullptr), 1004);
  EXPECT_EQ(VLTbasicpresolve(s.env, s.lp, nullptr, up.data(), nullptr), 0);
  // Bounds that cross.
  d.row({{x0, 1}}, 'G', 6);
  session t(d);
  t.env.err.clear();
  EXPECT_EQ(VLTbasicpresolve(t.env, t.lp, lo.data(), up.data(), nullptr), 1117);
  EXPECT_EQ(t.env.err.all(), "VELTO Error  1117: Presolve determines problem is infeasible.\n");
}

TEST(PresolveBasic, ImpliedBoundsAndRedundantRowsHoldOnRecipe) {
  const std::string file = std::string(VELTO_DATA_DEFAULT) + "/netlib/recipe.mps.gz";
  const char *dir = std::getenv("VELTO_DATA");
  const std::string path = dir ? std::string(dir) + "/netlib/recipe.mps.gz" : file;
  if (!std::filesystem::exists(path)) GTEST_SKIP() << "public model " << path << " not found";
  vtest::Env env;
  int st = 0;
  VLTLPptr lp = VLTcreateprob(env, &st, "recipe");
  VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0);
  VLTsetintparam(env, VLT_PARAM_PREIND, 0);
  ASSERT_EQ(VLTreadcopyprob(env, lp, path.c_str(), nullptr), 0);
  model m = readmodel(env, lp);
  std::vector<double> lo(m.n), up(m.n);
  std::vector<int> rs(m.m);
  ASSERT_EQ(VLTbasicpresolve(env, lp, lo.data(), up.data(), rs.data()), 0);
  // A redundant row holds over the whole box of the bounds.
  std::vector<double> mn(m.m, 0.0), mx(m.m, 0.0);
  for (int j = 0; j < m.n; ++j)
    for (auto [i, a] : m.cols[j]) {
      mn[i] += a * (a > 0 ? m.lb[j] : m.ub[j]);
      mx[i] += a * (a > 0 ? m.ub[j] : m.lb[j]);
    }
  int redundant = 0;
  for (int i = 0; i < m.m; ++i) {
    if (rs[i] != -1) continue;
    ++redundant;
    EXPECT_LE(mx[i], m.rup[i] + 1e-9) << "row " << i;
    EXPECT_GE(mn[i], m.rlo[i] - 1e-9) << "row " << i;
  }
  // Each column's range over the feasible set, by two solves, lies within
  // the implied bounds, which lie within the declared ones.
  std::vector<double> c0(m.n);
  VLTgetobj(env, lp, c0.data(), 0, m.n - 1);
  std::vector<int> all(m.n);
  for (int j = 0; j < m.n; ++j) all[j] = j;
  int tighter = 0;
  for (int j = 0; j < m.n; ++j) {
    EXPECT_GE(lo[j], m.lb[j]);
    EXPECT_LE(up[j], m.ub[j]);
    tighter += lo[j] > m.lb[j] || up[j] < m.ub[j];
    for (double sg : {1.0, -1.0}) {
      std::vector<double> c(m.n, 0.0);
      c[j] = sg;
      ASSERT_EQ(VLTchgobj(env, lp, m.n, all.data(), c.data()), 0);
      ASSERT_EQ(VLTdualopt(env, lp), 0);
      const int stat = VLTgetstat(env, lp);
      if (stat == 2) {
        EXPECT_GE(sg > 0 ? -lo[j] : up[j], 1e19) << "column " << j;
        continue;
      }
      ASSERT_EQ(stat, 1);
      double v = 0;
      VLTgetx(env, lp, &v, j, j);
      EXPECT_GE(v, lo[j] - 1e-7) << "column " << j;
      EXPECT_LE(v, up[j] + 1e-7) << "column " << j;
    }
  }
  EXPECT_GT(tighter, 0);
  EXPECT_GT(redundant, 0);
  // Taking out the redundant rows leaves the optimum.
  ASSERT_EQ(VLTchgobj(env, lp, m.n, all.data(), c0.data()), 0);
  ASSERT_EQ(VLTdualopt(env, lp), 0);
  double z0 = 0, z1 = 0;
  VLTgetobjval(env, lp, &z0);
  // A redundant row is made free: at most 1e20.
  for (int i = 0; i < m.m; ++i) {
    if (rs[i] != -1) continue;
    const char L = 'L';
    const double big = 1e20;
    ASSERT_EQ(VLTchgsense(env, lp, 1, &i, &L), 0);
    ASSERT_EQ(VLTchgrhs(env, lp, 1, &i, &big), 0);
  }
  ASSERT_EQ(VLTdualopt(env, lp), 0);
  VLTgetobjval(env, lp, &z1);
  EXPECT_NEAR(z0, z1, 1e-9 * (1 + std::fabs(z0)));
  std::printf("recipe: %d redundant rows, %d columns with tighter bounds\n", redundant, tighter);
  VLTfreeprob(env, &lp);
}

TEST(PresolveWrite, ReducedProblemWrittenAndReadBackHasTheSameOptimum) {
  const lpdef d = mixed_model();
  const double opt = plain_optimum(d);
  const std::string file =
      (std::filesystem::temp_directory_path() / ("velto_preslv_" + std::to_string(::getpid()) + ".lp")).string();
  session s(d);
  double off = 0;
  ASSERT_EQ(VLTpreslvwrite(s.env, s.lp, file.c_str(), &off), 0);
  VLTLPptr red = nullptr;
  VLTgetredlp(s.env, s.lp, &red);
  ASSERT_NE(red, nullptr);
  double redoff = 0;
  VLTgetobjoffset(s.env, red, &redoff);
  EXPECT_EQ(off, redoff);
  int st = 0;
  VLTLPptr back = VLTcreateprob(s.env, &st, "back");
  ASSERT_EQ(VLTreadcopyprob(s.env, back, file.c_str(), nullptr), 0);
  EXPECT_EQ(VLTgetnumrows(s.env, back), VLTgetnumrows(s.env, red));
  EXPECT_EQ(VLTgetnumcols(s.env, back), VLTgetnumcols(s.env, red));
  ASSERT_EQ(VLTsetintparam(s.env, VLT_PARAM_PREIND, 0), 0);
  ASSERT_EQ(VLTdualopt(s.env, back), 0);
  ASSERT_EQ(VLTgetstat(s.env, back), 1);
  double z = 0, backoff = 0;
  VLTgetobjval(s.env, back, &z);
  VLTgetobjoffset(s.env, back, &backoff);
  // The file may carry the constant or not; objoff says what it is.
  EXPECT_NEAR(z - backoff + off, opt, 1e-9);
  VLTfreeprob(s.env, &back);
  std::filesystem::remove(file);
  EXPECT_EQ(VLTpreslvwrite(s.env, s.lp, nullptr, &off), 1004);
  // A model nothing reduces is written as it is.
  lpdef plain;
  int a = plain.col(1, 0, INF), b = plain.col(2, 0, INF);
  plain.row({{a, 1}, {b, 1}}, 'G', 1);
  plain.row({{a, 1}, {b, -1}}, 'L', 3);
  session p(plain);
  ASSERT_EQ(VLTpreslvwrite(p.env, p.lp, file.c_str(), &off), 0);
  EXPECT_EQ(p.prestat(), 0);
  VLTLPptr again = VLTcreateprob(p.env, &st, "again");
  ASSERT_EQ(VLTreadcopyprob(p.env, again, file.c_str(), nullptr), 0);
  EXPECT_EQ(VLTgetnumrows(p.env, again), 2);
  VLTfreeprob(p.env, &again);
  std::filesystem::remove(file);
  // An infeasible model gives the presolve verdict.
  lpdef bad;
  int c = bad.col(1, 0, 1);
  bad.row({{c, 1}}, 'G', 3);
  session q(bad);
  q.env.err.clear();
  EXPECT_EQ(VLTpreslvwrite(q.env, q.lp, file.c_str(), &off), 1101);
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(PresolveVerdicts, InfeasibleReducedProblemGivesAProofOnTheUserModel) {
  lpdef d;
  int x0 = d.col(1, 0, INF), x1 = d.col(1, 0, INF), x2 = d.col(1, 1, 1);
  d.row({{x0, 1}, {x1, 1}, {x2, 1}}, 'G', 6);
  d.row({{x0, 1}, {x1, 2}}, 'L', 3);
  d.row({{x0, 2}, {x1, 1}}, 'L', 3);
  session s(d);
  ASSERT_EQ(VLTsetintparam(s.env, VLT_PARAM_PREIND, 1), 0);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  ASSERT_EQ(VLTgetstat(s.env, s.lp), 3);
  lpcheck::model m = lpcheck::from_api(s.env, s.lp);
  std::vector<double> y(m.m);
  double proof = 0;
  ASSERT_EQ(VLTdualfarkas(s.env, s.lp, y.data(), &proof), 0);
  const double gap = lpcheck::farkas_gap(m, y);
  EXPECT_GT(gap, 1e-6);
  EXPECT_NEAR(proof, gap, 1e-9 * (1 + std::fabs(gap)));
}

TEST(PresolveVerdicts, UnboundedReducedProblemGivesARayOfTheUserModel) {
  lpdef d;
  int x0 = d.col(-1, 0, INF), x1 = d.col(-1, 0, INF), x2 = d.col(2, 3, 3);
  d.row({{x0, 1}, {x1, -1}, {x2, 1}}, 'L', 5);
  d.row({{x0, 1}, {x1, -2}}, 'L', 4);
  session s(d);
  ASSERT_EQ(VLTsetintparam(s.env, VLT_PARAM_PREIND, 1), 0);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  ASSERT_EQ(VLTgetstat(s.env, s.lp), 2);
  lpcheck::model m = lpcheck::from_api(s.env, s.lp);
  std::vector<double> z(m.n);
  ASSERT_EQ(VLTgetray(s.env, s.lp, z.data()), 0);
  // The ray stays in the recession cone and improves the objective.
  double cr = 0;
  EXPECT_LE(lpcheck::ray_violation(m, z, &cr), 1e-9);
  EXPECT_LT(cr, -1e-9);
}

}  // namespace
