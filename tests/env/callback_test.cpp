// Progress callbacks: registration, the query, and a stop from the callback
// in the primal and the dual simplex, with the run going on at the next call.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "common/reference.h"
#include "env/capture.h"
#include "velto.h"

namespace {

int noop(VLTCENVptr, void *, int, void *) { return 0; }

TEST(CallbackRegister, SetGetAndNullPointersSkipped) {
  vtest::Env env;
  VLTCALLBACKFUNC f = &noop;
  void *h = &env;
  EXPECT_EQ(VLTgetlpcallbackfunc(env, &f, &h), 0);
  EXPECT_EQ(f, nullptr);
  EXPECT_EQ(h, nullptr);
  int handle = 7;
  EXPECT_EQ(VLTsetlpcallbackfunc(env, noop, &handle), 0);
  EXPECT_EQ(VLTgetlpcallbackfunc(env, &f, nullptr), 0);
  EXPECT_EQ(f, &noop);
  EXPECT_EQ(VLTgetlpcallbackfunc(env, nullptr, &h), 0);
  EXPECT_EQ(h, &handle);
  EXPECT_EQ(VLTsetmipcallbackfunc(env, noop, &handle), 0);
  EXPECT_EQ(VLTgetmipcallbackfunc(env, &f, &h), 0);
  EXPECT_EQ(f, &noop);
  EXPECT_EQ(VLTsetnetcallbackfunc(env, noop, nullptr), 0);
  EXPECT_EQ(VLTgetnetcallbackfunc(env, &f, &h), 0);
  EXPECT_EQ(f, &noop);
  EXPECT_EQ(h, nullptr);
  EXPECT_EQ(VLTsetlpcallbackfunc(nullptr, noop, nullptr), 1002);
}

TEST(CallbackRegister, CloneCopiesCallbacks) {
  vtest::Env env;
  int handle = 0;
  ASSERT_EQ(VLTsetlpcallbackfunc(env, noop, &handle), 0);
  int status = -1;
  VLTENVptr child = VLTparenv(env, &status);
  ASSERT_EQ(status, 0);
  VLTCALLBACKFUNC f = nullptr;
  void *h = nullptr;
  EXPECT_EQ(VLTgetlpcallbackfunc(child, &f, &h), 0);
  EXPECT_EQ(f, &noop);
  EXPECT_EQ(h, &handle);
  EXPECT_EQ(VLTfreeparenv(env, &child), 0);
}

TEST(CallbackInfo, OutsideACallbackIsError1006) {
  vtest::Env env;
  int v = 0;
  EXPECT_EQ(VLTgetcallbackinfo(env, &v, 1, 7, &v), 1006);
  EXPECT_EQ(env.err.all(), "VELTO Error  1006: Error during callback.\n");
}

struct stopper {
  int k = 0;          // stop when the iteration count reaches k (0: never)
  int calls = 0;
  int lastit = -1;
  int wherefrom = 0;
  int badwhich = 0;   // status of a query that must be refused
  double obj = 0.0;
  int objstatus = -1;
};

int stop_at_k(VLTCENVptr env, void *cbdata, int wherefrom, void *handle) {
  stopper *s = static_cast<stopper *>(handle);
  s->calls++;
  s->wherefrom = wherefrom;
  int it = -1;
  if (VLTgetcallbackinfo(env, cbdata, wherefrom, VLT_CALLBACK_INFO_ITCOUNT, &it) != 0) return 1;
  s->lastit = it;
  // The other method's objective is not there for this method.
  double d = 0.0;
  s->badwhich = VLTgetcallbackinfo(env, cbdata, wherefrom,
                                   wherefrom == 1 ? VLT_CALLBACK_INFO_DUAL_OBJ : VLT_CALLBACK_INFO_PRIMAL_OBJ,
                                   &d);
  s->objstatus = VLTgetcallbackinfo(env, cbdata, wherefrom,
                                    wherefrom == 1 ? VLT_CALLBACK_INFO_PRIMAL_OBJ : VLT_CALLBACK_INFO_DUAL_OBJ,
                                    &s->obj);
  return s->k > 0 && it >= s->k;
}

// Reads a Netlib model with presolve off, so that the iterations counted by
// the callback are those of the simplex on the model itself.
struct Model {
  vtest::Env env;
  VLTLPptr lp = nullptr;
  double optimum = 0.0;
  bool ok = false;
  explicit Model(const std::string &name) {
    for (const auto &r : velto_test::readreference("netlib"))
      if (r.name == name) optimum = r.num(3);
    int status = 0;
    lp = VLTcreateprob(env, &status, name.c_str());
    if (VLTreadcopyprob(env, lp, velto_test::modelpath("netlib", name).c_str(), nullptr) != 0) return;
    VLTsetintparam(env, VLT_PARAM_PREIND, 0);
    ok = true;
  }
  ~Model() { VLTfreeprob(env, &lp); }
};

void abort_and_continue(int method) {
  Model m("25fv47");
  if (!m.ok) GTEST_SKIP() << "netlib/25fv47 not found under " << velto_test::datadir();
  auto opt = [&](VLTLPptr lp) { return method == 1 ? VLTprimopt(m.env, lp) : VLTdualopt(m.env, lp); };
  // A cold run for the count to compare with.
  ASSERT_EQ(opt(m.lp), 0);
  ASSERT_EQ(VLTgetstat(m.env, m.lp), 1);
  const int full = VLTgetitcnt(m.env, m.lp);
  ASSERT_GT(full, 100);

  Model a("25fv47");
  stopper s;
  s.k = full / 2;
  ASSERT_EQ(VLTsetlpcallbackfunc(a.env, stop_at_k, &s), 0);
  auto opta = [&]() { return method == 1 ? VLTprimopt(a.env, a.lp) : VLTdualopt(a.env, a.lp); };
  ASSERT_EQ(opta(), 0);
  EXPECT_EQ(VLTgetstat(a.env, a.lp), 13);
  EXPECT_EQ(s.wherefrom, method);
  EXPECT_EQ(s.lastit, s.k);
  EXPECT_EQ(VLTgetitcnt(a.env, a.lp), s.k);
  EXPECT_EQ(s.badwhich, 1003);
  EXPECT_EQ(s.objstatus, 0);
  EXPECT_TRUE(std::isfinite(s.obj));
  // The stopped run leaves a solution to read.
  double obj = 0.0;
  EXPECT_EQ(VLTgetobjval(a.env, a.lp, &obj), 0);

  // Without the stop the next call goes on from that basis.
  s.k = 0;
  ASSERT_EQ(opta(), 0);
  EXPECT_EQ(VLTgetstat(a.env, a.lp), 1);
  ASSERT_EQ(VLTgetobjval(a.env, a.lp, &obj), 0);
  EXPECT_NEAR(obj, a.optimum, 1e-6 * (1.0 + std::fabs(a.optimum)));
  EXPECT_LT(VLTgetitcnt(a.env, a.lp), full - s.k / 2) << "the second call started over";
}

TEST(CallbackStop, PrimalStopsAtIterationKAndContinues) { abort_and_continue(1); }
TEST(CallbackStop, DualStopsAtIterationKAndContinues) { abort_and_continue(2); }

int stop_presolve(VLTCENVptr env, void *cbdata, int wherefrom, void *handle) {
  stopper *s = static_cast<stopper *>(handle);
  s->wherefrom = wherefrom;
  int rows = -1;
  s->objstatus = VLTgetcallbackinfo(env, cbdata, wherefrom, VLT_CALLBACK_INFO_PRESOLVE_ROWSGONE, &rows);
  return wherefrom == VLT_CALLBACK_PRESOLVE;
}

// The optimizer call itself succeeds: the stop is an outcome of the run,
// status 13, like a stop in the simplex.
TEST(CallbackStop, PresolveStopEndsTheRunAborted) {
  Model m("25fv47");
  if (!m.ok) GTEST_SKIP() << "netlib/25fv47 not found";
  VLTsetintparam(m.env, VLT_PARAM_PREIND, 1);
  stopper s;
  ASSERT_EQ(VLTsetlpcallbackfunc(m.env, stop_presolve, &s), 0);
  EXPECT_EQ(VLTdualopt(m.env, m.lp), 0);
  EXPECT_EQ(VLTgetstat(m.env, m.lp), 13);
  EXPECT_EQ(s.wherefrom, VLT_CALLBACK_PRESOLVE);
  EXPECT_EQ(s.objstatus, 0);
  EXPECT_EQ(m.env.err.all(), "");
}

}  // namespace
