// Binary model files on every public model: written and read back, the
// model equals the one read from the MPS file, array by array, name by name,
// through the getters; the basis of a solved Netlib model read back into a
// fresh load starts the re-solve at its optimum.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "common/getmodel.h"
#include "common/reference.h"
#include "common/session.h"

using namespace velto_test;

namespace {


std::string tempname(const std::string &name) {
  return "/tmp/velto_sav_" + std::to_string(getpid()) + "_" + name + ".sav";
}

void roundtrip(const std::string &set) {
  const auto ref = readreference(set);
  if (ref.empty()) GTEST_SKIP() << "no " << set << " models under " << datadir();
  int done = 0;
  for (const auto &r : ref) {
    SCOPED_TRACE(r.name);
    session s;
    if (VLTreadcopyprob(s.env, s.lp, modelpath(set, r.name).c_str(), nullptr) != 0) continue;
    const std::string f = tempname(r.name);
    ASSERT_EQ(VLTwriteprob(s.env, s.lp, f.c_str(), nullptr), 0);
    session t;
    ASSERT_EQ(VLTreadcopyprob(t.env, t.lp, f.c_str(), nullptr), 0);
    std::remove(f.c_str());
    expect_same(getmodel(s.env, s.lp), getmodel(t.env, t.lp));
    ++done;
  }
  std::printf("%s: %d models\n", set.c_str(), done);
  EXPECT_GT(done, 0);
}

}  // namespace

TEST(SavModels, NetlibRoundTrip) { roundtrip("netlib"); }
TEST(SavModels, Miplib3RoundTrip) { roundtrip("miplib3"); }

// Solve, write the basis (as a basis file, and with the model in the binary
// file), read it into a fresh load, and re-solve: no iteration is needed.
TEST(SavModels, NetlibBasisComesBackWithTheModel) {
  const auto ref = readreference("netlib");
  if (ref.empty()) GTEST_SKIP() << "no Netlib models under " << datadir();
  int done = 0;
  for (const auto &r : ref) {
    if (const char *cap = std::getenv("VELTO_MAXROWS"); cap && r.integer(0) > std::atoi(cap)) continue;
    SCOPED_TRACE(r.name);
    session s;
    VLTsetintparam(s.env, VLT_PARAM_PREIND, 0);
    if (VLTreadcopyprob(s.env, s.lp, modelpath("netlib", r.name).c_str(), nullptr) != 0) continue;
    ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
    if (VLTgetstat(s.env, s.lp) != 1) continue;
    double z = 0;
    VLTgetobjval(s.env, s.lp, &z);
    const std::string f = tempname(r.name);
    ASSERT_EQ(VLTsavwrite(s.env, s.lp, f.c_str()), 0);
    session t;
    VLTsetintparam(t.env, VLT_PARAM_PREIND, 0);
    ASSERT_EQ(VLTreadcopyprob(t.env, t.lp, f.c_str(), nullptr), 0);
    std::remove(f.c_str());
    const std::string b = tempname(r.name) + ".bas";
    ASSERT_EQ(VLTmbasewrite(s.env, s.lp, b.c_str()), 0);
    session u;
    VLTsetintparam(u.env, VLT_PARAM_PREIND, 0);
    ASSERT_EQ(VLTreadcopyprob(u.env, u.lp, modelpath("netlib", r.name).c_str(), nullptr), 0);
    ASSERT_EQ(VLTreadcopybase(u.env, u.lp, b.c_str()), 0);
    std::remove(b.c_str());
    for (session *q : {&t, &u}) {
      ASSERT_EQ(VLTdualopt(q->env, q->lp), 0);
      EXPECT_EQ(VLTgetstat(q->env, q->lp), 1);
      EXPECT_EQ(VLTgetitcnt(q->env, q->lp), 0);
      double z2 = 0;
      VLTgetobjval(q->env, q->lp, &z2);
      EXPECT_NEAR(z2, z, 1e-9 * std::max(1.0, std::fabs(z)));
    }
    ++done;
  }
  std::printf("netlib basis: %d models\n", done);
  EXPECT_GT(done, 0);
}
