// The pieces of the primal engine on their own: the basis factor, scaling,
// start bases, and a few small Netlib models through the public calls.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <random>
#include <vector>

#include "common/reference.h"
#include "simplex/bfactor.h"
#include "simplex/primal_check.h"
#include "simplex/pwork.h"
#include "velto.h"

namespace {

using velto::bfactor;
using velto::wvec;

// A random sparse matrix that is non-singular: a permuted diagonal of
// sizeable entries plus random off-diagonal fill.
struct sparsemat {
  int m;
  std::vector<int> beg, len, ind;
  std::vector<double> val;
  std::vector<std::vector<double>> dense;
};

sparsemat random_matrix(int m, double density, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::uniform_real_distribution<double> p(0.0, 1.0);
  std::vector<int> perm(m);
  for (int i = 0; i < m; ++i) perm[i] = i;
  std::shuffle(perm.begin(), perm.end(), gen);
  sparsemat s;
  s.m = m;
  s.dense.assign(m, std::vector<double>(m, 0.0));
  for (int k = 0; k < m; ++k) {
    s.dense[perm[k]][k] = (u(gen) > 0 ? 1.0 : -1.0) * (2.0 + 3.0 * p(gen));
    for (int i = 0; i < m; ++i)
      if (i != perm[k] && p(gen) < density) s.dense[i][k] = u(gen);
  }
  for (int k = 0; k < m; ++k) {
    s.beg.push_back((int)s.ind.size());
    for (int i = 0; i < m; ++i)
      if (s.dense[i][k] != 0.0) { s.ind.push_back(i); s.val.push_back(s.dense[i][k]); }
    s.len.push_back((int)s.ind.size() - s.beg.back());
  }
  return s;
}

// Largest |B y - b| over rows, B given densely by columns of positions.
double residual_ftran(const std::vector<std::vector<double>> &B, const std::vector<double> &y,
                      const std::vector<double> &b) {
  int m = (int)b.size();
  double r = 0.0;
  for (int i = 0; i < m; ++i) {
    double s = 0.0;
    for (int k = 0; k < m; ++k) s += B[i][k] * y[k];
    r = std::max(r, std::fabs(s - b[i]));
  }
  return r;
}

double residual_btran(const std::vector<std::vector<double>> &B, const std::vector<double> &z,
                      const std::vector<double> &c) {
  int m = (int)c.size();
  double r = 0.0;
  for (int k = 0; k < m; ++k) {
    double s = 0.0;
    for (int i = 0; i < m; ++i) s += B[i][k] * z[i];
    r = std::max(r, std::fabs(s - c[k]));
  }
  return r;
}

TEST(PrimalFactor, SolvesAreAccurateBeforeAndAfterUpdates) {
  for (unsigned seed = 1; seed <= 4; ++seed) {
    const int m = 60;
    sparsemat s = random_matrix(m, 0.05, seed);
    bfactor f;
    std::vector<int> badpos, badrow;
    ASSERT_EQ(f.factor(m, s.beg, s.len, s.ind.data(), s.val.data(), badpos, badrow), 0);
    std::mt19937 gen(seed + 100);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    auto B = s.dense;
    for (int round = 0; round < 25; ++round) {
      std::vector<double> b(m), c(m);
      for (int i = 0; i < m; ++i) { b[i] = u(gen); c[i] = u(gen); }
      wvec v;
      v.init(m);
      for (int i = 0; i < m; ++i) v.set(i, b[i]);
      f.ftran(v);
      EXPECT_LT(residual_ftran(B, v.val, b), 1e-9) << "seed " << seed << " round " << round;
      wvec w;
      w.init(m);
      for (int i = 0; i < m; ++i) w.set(i, c[i]);
      f.btran(w);
      EXPECT_LT(residual_btran(B, w.val, c), 1e-9) << "seed " << seed << " round " << round;
      // Replace the column at a position by a new random column whose FTRAN
      // has a large entry there.
      std::vector<double> a(m, 0.0);
      for (int i = 0; i < m; ++i)
        if (u(gen) > 0.8) a[i] = u(gen);
      wvec alpha;
      alpha.init(m);
      for (int i = 0; i < m; ++i)
        if (a[i] != 0.0) alpha.set(i, a[i]);
      f.ftran(alpha);
      int r = 0;
      for (int k = 1; k < m; ++k)
        if (std::fabs(alpha.val[k]) > std::fabs(alpha.val[r])) r = k;
      if (std::fabs(alpha.val[r]) < 1e-3) continue;
      f.update(alpha, r);
      for (int i = 0; i < m; ++i) B[i][r] = a[i];
    }
    EXPECT_GT(f.updates, 10);
  }
}

TEST(PrimalFactor, SingularBasisNamesTheDependentPositions) {
  // Columns 0 and 2 are equal; row 1 is left without a pivot.
  const int m = 3;
  std::vector<int> beg = {0, 2, 3}, len = {2, 1, 2}, ind = {0, 1, 2, 0, 1};
  std::vector<double> val = {1.0, 1.0, 1.0, 1.0, 1.0};
  bfactor f;
  std::vector<int> badpos, badrow;
  EXPECT_EQ(f.factor(m, beg, len, ind.data(), val.data(), badpos, badrow), 1);
  ASSERT_EQ(badpos.size(), 1u);
  ASSERT_EQ(badrow.size(), 1u);
  EXPECT_TRUE(badpos[0] == 0 || badpos[0] == 2);
  EXPECT_TRUE(badrow[0] == 0 || badrow[0] == 1);
}

velto::wprob tiny_problem(double a01) {
  velto::wprob p;
  p.m = 2;
  p.n = 2;
  p.cbeg = {0, 2, 3};
  p.cind = {0, 1, 1};
  p.cval = {1.0, a01, 1.0};
  p.cost = {1, 1, 0, 0};
  p.lb = {0, 0, 0, 0};
  p.ub = {4, 8, velto::kInf, velto::kInf};
  p.rhs = {3, 5};
  velto::wprob_rowcopy(p);
  return p;
}

TEST(PrimalScaling, OnlyWideRangesAreScaledAndRowsComeOutEquilibrated) {
  velto::wprob ones = tiny_problem(1.0);
  EXPECT_FALSE(velto::wprob_scale_needed(ones));
  EXPECT_EQ(velto::wprob_scale(ones, 0), 0);
  EXPECT_FALSE(ones.scaled);

  for (int mode = 0; mode <= 1; ++mode) {
    velto::wprob p = tiny_problem(20.0);
    EXPECT_TRUE(velto::wprob_scale_needed(p));
    EXPECT_EQ(velto::wprob_scale(p, mode), 1);
    // Every column's largest scaled entry is 1 after the final equilibration.
    for (int j = 0; j < p.n; ++j) {
      double mx = 0;
      for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t) mx = std::max(mx, std::fabs(p.cval[t]));
      EXPECT_NEAR(mx, 1.0, 1e-12);
    }
    // Scaled values satisfy a' x' = b' for x' = x c: check with x = (1, 2).
    double x0 = 1.0 * p.vscale[0], x1 = 2.0 * p.vscale[1];
    EXPECT_NEAR(p.cval[0] * x0, 1.0 / p.rscale[0], 1e-12);
    EXPECT_NEAR(p.cval[1] * x0 + p.cval[2] * x1, 22.0 / p.rscale[1], 1e-12);
    EXPECT_NEAR(p.ub[0], 4.0 * p.vscale[0], 1e-12);
    EXPECT_NEAR(p.cost[1] * p.vscale[1], 1.0, 1e-12);
  }
}

TEST(PrimalStart, CrashKeepsOneBasicVariablePerRow) {
  velto::wprob p = tiny_problem(20.0);
  p.lb[0] = -velto::kInf;
  p.ub[0] = velto::kInf;  // a free column is taken first
  velto::pbasis b;
  velto::pstart_crash(p, b);
  ASSERT_EQ((int)b.head.size(), p.m);
  int basic = 0;
  for (int j = 0; j < p.n + p.m; ++j) basic += b.stat[j] == velto::kBasic;
  EXPECT_EQ(basic, p.m);
  EXPECT_EQ(b.stat[0], velto::kBasic);
  std::vector<int> seen(p.n + p.m, 0);
  for (int j : b.head) EXPECT_EQ(seen[j]++, 0);
}

// A handful of small Netlib models in the default suite: every pricing
// rule gives the published optimum with independently checked optimality.
TEST(PrimalSmallNetlib, EveryPricingRule) {
  using namespace velto_test;
  if (!std::filesystem::exists(datadir() + "/netlib/REFERENCE.tsv"))
    GTEST_SKIP() << "public model folder " << datadir() << " not found (set VELTO_DATA)";
  const char *names[] = {"afiro", "sc50a", "adlittle", "kb2", "blend", "share2b", "sc105"};
  for (const refentry &e : readreference("netlib")) {
    bool take = false;
    for (const char *n : names) take |= e.name == n;
    if (!take) continue;
    for (int pr = -1; pr <= 4; ++pr) {
      SCOPED_TRACE(e.name + " pricing " + std::to_string(pr));
      int st = 0;
      VLTENVptr env = VLTopenVELTO(&st);
      VLTLPptr lp = VLTcreateprob(env, &st, "m");
      VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0);
      VLTsetintparam(env, VLT_PARAM_PPRIIND, pr);
      ASSERT_EQ(VLTreadcopyprob(env, lp, modelpath("netlib", e.name).c_str(), nullptr), 0);
      ASSERT_EQ(VLTprimopt(env, lp), 0);
      auto c = primal_test::check_solution(env, lp);
      EXPECT_EQ(c.lpstat, 1);
      double ref = e.num(3);
      EXPECT_LE(std::fabs(c.objval - ref), 1e-6 * std::max(1.0, std::fabs(ref)));
      EXPECT_LE(c.pinf, 1e-6);
      EXPECT_LE(c.dinf, 1e-6);
      EXPECT_LE(c.djerr, 1e-9);
      VLTfreeprob(env, &lp);
      VLTcloseVELTO(&env);
    }
  }
}

}  // namespace
