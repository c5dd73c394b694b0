// The pieces of the primal engine on their own: scaling,
// start bases, and a few small Netlib models through the public calls.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

#include "common/reference.h"
#include "simplex/primal_check.h"
#include "simplex/pkernel.h"
#include "simplex/pwork.h"
#include "velto.h"

namespace {

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

// The passes of the kernel.  Row R (x1 >= 1) is written with entries 1e-4
// and row T is x1 <= 2; min -eta x1.  Phase 1 stops at x1 = 1 with R tight;
// there the reduced cost of R's slack is -eta in the scaled model, within
// the tolerance, but -eta 1e4 in the user's units.  eta = 5e-10 sits below
// the scaled pass's last pricing (1e-9) while -eta 1e4 breaks the user's
// optimality tolerance (1e-6).
namespace passes {

struct model {
  std::vector<double> obj, rhs, rng, lb, ub, val;
  std::vector<int> beg, cnt, ind;
  std::string sense;
  velto::lpview v;
};

// With `illcond`, two more equality rows 1e9 x2 = 1e9 and 1e-9 x3 = 1e-9
// put a basis of condition 1e18 under the unscaled model (1 when scaled).
model make(double eta, bool illcond) {
  model d;
  const int n = illcond ? 3 : 1;
  d.obj.assign(n, 0.0);
  d.obj[0] = -eta;
  d.lb.assign(n, 0.0);
  d.ub.assign(n, 1e20);
  d.rhs = {1e-4, 2};
  d.sense = "GL";
  d.beg = {0};
  d.ind = {0, 1};
  d.val = {1e-4, 1.0};
  if (illcond) {
    d.rhs.push_back(1e9);
    d.rhs.push_back(1e-9);
    d.sense += "EE";
    d.beg.push_back(2);
    d.beg.push_back(3);
    d.ind.push_back(2);
    d.ind.push_back(3);
    d.val.push_back(1e9);
    d.val.push_back(1e-9);
  }
  d.rng.assign(d.rhs.size(), 0.0);
  for (int j = 0; j < n; ++j) d.cnt.push_back(j == 0 ? 2 : 1);
  velto::lpview &v = d.v;
  v.nrows = (int)d.rhs.size();
  v.ncols = n;
  v.obj = d.obj.data();
  v.rhs = d.rhs.data();
  v.rngval = d.rng.data();
  v.sense = d.sense.c_str();
  v.matbeg = d.beg.data();
  v.matcnt = d.cnt.data();
  v.matind = d.ind.data();
  v.matval = d.val.data();
  v.lb = d.lb.data();
  v.ub = d.ub.data();
  return d;
}

}  // namespace passes

TEST(PrimalPasses, ScaledOptimumInfeasibleUnscaledGetsAnUnscaledPass) {
  passes::model d = passes::make(5e-10, false);
  velto::kconfig cfg;
  cfg.opt.crash = 0;
  velto::phooks hk;
  velto::kout o;
  velto::primal_kernel_view(d.v, cfg, hk, nullptr, 0, o);
  EXPECT_EQ(o.err, 0);
  EXPECT_EQ(o.passes, 2);
  EXPECT_EQ(o.lpstat, 1);
  EXPECT_NEAR(o.x[0], 2.0, 1e-9);
  EXPECT_LE(o.dinf, 1e-6);

  // Without the rerun the scaled optimum stands, marked as status 5.
  cfg.rerun = 0;
  velto::primal_kernel_view(d.v, cfg, hk, nullptr, 0, o);
  EXPECT_EQ(o.passes, 1);
  EXPECT_EQ(o.lpstat, 5);
  EXPECT_NEAR(o.x[0], 1.0, 1e-9);
  EXPECT_GT(o.dinf, 1e-6);
}

TEST(PrimalPasses, IllConditionedUnscaledBasisEndsThePassAndReturnsToScaled) {
  passes::model d = passes::make(5e-10, true);
  velto::kconfig cfg;
  cfg.opt.crash = 0;
  velto::phooks hk;
  velto::kout o;
  velto::primal_kernel_view(d.v, cfg, hk, nullptr, 0, o);
  EXPECT_EQ(o.err, 0);
  EXPECT_EQ(o.passes, 3);
  EXPECT_EQ(o.lpstat, 5);
  EXPECT_NEAR(o.x[0], 1.0, 1e-9);
}
