// Presolve on the Netlib models: the same optimum with presolve on and off,
// the postsolved point checked on the user's model, and the clean-up
// iterations after postsolve counted.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "common/reference.h"
#include "presolve/kkt.h"
#include "common/lpcheck.h"
#include "velto.h"

using namespace velto_test;
using namespace presolve_test;

namespace {

bool haveData() { return std::filesystem::exists(datadir() + "/netlib/REFERENCE.tsv"); }

double published_constant(const std::string &name) { return name == "e226" ? -7.113 : 0.0; }

struct run {
  int status = -1, lpstat = 0, itcnt = 0, reditcnt = 0;
  double obj = 0;
  verdict check;      // the final solution on the user's model
  verdict postcheck;  // the reduced optimum carried back by uncrush
  bool reduced = false;
};

// Solves a model with the optimizer `opt`; with presolve on also carries
// the reduced problem's optimum back through VLTuncrushx and VLTuncrushpi.
run solve(const std::string &name, int preind, int (*opt)(VLTENVptr, VLTLPptr)) {
  run r;
  int st = 0;
  VLTENVptr env = VLTopenVELTO(&st);
  VLTLPptr lp = VLTcreateprob(env, &st, name.c_str());
  VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0);
  VLTsetintparam(env, VLT_PARAM_PREIND, preind);
  r.status = VLTreadcopyprob(env, lp, modelpath("netlib", name).c_str(), nullptr);
  if (r.status == 0) r.status = opt(env, lp);
  if (r.status == 0) {
    model d = readmodel(env, lp);
    r.lpstat = VLTgetstat(env, lp);
    r.itcnt = VLTgetitcnt(env, lp);
    std::vector<double> x(d.n), pi(d.m), slack(d.m), dj(d.n);
    VLTsolution(env, lp, nullptr, &r.obj, x.data(), pi.data(), slack.data(), dj.data());
    r.check = kkt_check(d, x, pi, &slack, &dj);
    VLTLPptr red = nullptr;
    VLTgetredlp(env, lp, &red);
    if (red) {
      r.reduced = true;
      r.reditcnt = VLTgetitcnt(env, red);
      const int rn = VLTgetnumcols(env, red), rm = VLTgetnumrows(env, red);
      std::vector<double> rx(rn), rpi(rm);
      VLTsolution(env, red, nullptr, nullptr, rx.data(), rpi.data(), nullptr, nullptr);
      VLTuncrushx(env, lp, x.data(), rx.data());
      VLTuncrushpi(env, lp, pi.data(), rpi.data(), 0);
      r.postcheck = kkt_check(d, x, pi);
    }
  }
  VLTfreeprob(env, &lp);
  VLTcloseVELTO(&env);
  return r;
}

TEST(NetlibPresolve, SameOptimumWithAndWithoutPresolve) {
  if (!haveData()) GTEST_SKIP() << "public model folder " << datadir() << " not found (set VELTO_DATA)";
  const char *only = std::getenv("VELTO_NETLIB_ONLY");
  long cleanup = 0, reduced = 0;
  for (const refentry &e : readreference("netlib")) {
    if (e.name == "forplan") continue;
    if (only && e.name != only) continue;
    const double ref = e.num(3) - published_constant(e.name);
    SCOPED_TRACE(e.name);
    for (int method = 1; method <= 2; ++method) {
      SCOPED_TRACE(method == 1 ? "primal" : "dual");
      auto opt = method == 1 ? VLTprimopt : VLTdualopt;
      run off = solve(e.name, 0, opt);
      run on = solve(e.name, 1, opt);
      ASSERT_EQ(on.status, 0);
      ASSERT_EQ(off.status, 0);
      EXPECT_EQ(on.lpstat, 1);
      const double tol = 1e-6 * std::max(1.0, std::fabs(ref));
      EXPECT_LE(std::fabs(on.obj - off.obj), 1e-6 * std::max(1.0, std::fabs(off.obj)));
      EXPECT_LE(std::fabs(on.obj - ref), tol) << "objective " << on.obj << " published " << ref;
      EXPECT_TRUE(on.check.ok(1e-5)) << describe(on.check);
      if (on.reduced) {
        ++reduced;
        cleanup += on.itcnt - on.reditcnt;
        // The reduced optimum carried back is itself optimal on the user's model.
        EXPECT_TRUE(on.postcheck.ok(1e-5)) << describe(on.postcheck);
      }
      std::printf("%-10s %s iterations off %6d on %6d (clean-up %d)%s\n", e.name.c_str(),
                  method == 1 ? "primal" : "dual  ", off.itcnt, on.itcnt, on.itcnt - on.reditcnt,
                  on.reduced ? "" : " not reduced");
      std::fflush(stdout);
    }
  }
  std::printf("models reduced %ld, clean-up iterations in total %ld\n", reduced, cleanup);
}

TEST(NetlibPresolve, InfeasibleModelsGiveAProofOfTheUserModel) {
  if (!std::filesystem::exists(datadir() + "/infeas/REFERENCE.tsv"))
    GTEST_SKIP() << "public model folder " << datadir() << "/infeas not found (set VELTO_DATA)";
  for (const refentry &e : readreference("infeas")) {
    SCOPED_TRACE(e.name);
    for (int method = 1; method <= 2; ++method) {
      SCOPED_TRACE(method == 1 ? "primal" : "dual");
      int st = 0;
      VLTENVptr env = VLTopenVELTO(&st);
      VLTLPptr lp = VLTcreateprob(env, &st, e.name.c_str());
      VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0);
      VLTsetintparam(env, VLT_PARAM_PREDISP, 0);
      ASSERT_EQ(VLTreadcopyprob(env, lp, modelpath("infeas", e.name).c_str(), nullptr), 0);
      ASSERT_EQ(method == 1 ? VLTprimopt(env, lp) : VLTdualopt(env, lp), 0);
      EXPECT_EQ(VLTgetstat(env, lp), 3);
      if (method == 2 && VLTgetstat(env, lp) == 3) {
        // The dual's proof is one of the user's model, whatever presolve did.
        lpcheck::model m = lpcheck::from_api(env, lp);
        std::vector<double> y(m.m);
        double proof = 0;
        ASSERT_EQ(VLTdualfarkas(env, lp, y.data(), &proof), 0);
        const double gap = lpcheck::farkas_gap(m, y);
        EXPECT_GT(gap, 0.0);
        EXPECT_NEAR(proof, gap, 1e-6 * std::max(1.0, std::fabs(gap)));
      }
      VLTfreeprob(env, &lp);
      VLTcloseVELTO(&env);
    }
  }
}

}  // namespace
