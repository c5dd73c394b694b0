// Clones, the thread team, the locks, and two environments solving at once.
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "common/reference.h"
#include "env/capture.h"
#include "env/thread.h"
#include "velto.h"

namespace {

TEST(Clone, ThreadLimitClonesThenError1020) {
  vtest::Env env;
  std::vector<VLTENVptr> kids;
  int status = 0;
  for (int i = 0; i < 16; ++i) {
    VLTENVptr c = VLTparenv(env, &status);
    ASSERT_EQ(status, 0) << i;
    ASSERT_NE(c, nullptr);
    kids.push_back(c);
  }
  EXPECT_EQ(VLTparenv(env, &status), nullptr);
  EXPECT_EQ(status, 1020);
  EXPECT_EQ(env.err.all(), "VELTO Error  1020: Thread limit exceeded.\n");
  // A clone can't be cloned.
  env.err.clear();
  EXPECT_EQ(VLTparenv(kids[0], &status), nullptr);
  EXPECT_EQ(status, 1019);
  // Freeing one makes room for one.
  ASSERT_EQ(VLTfreeparenv(env, &kids[3]), 0);
  EXPECT_EQ(kids[3], nullptr);
  VLTENVptr again = VLTparenv(env, &status);
  EXPECT_EQ(status, 0);
  EXPECT_NE(again, nullptr);
  // The rest goes with the parent (checked by the sanitizer builds).
}

TEST(Clone, ForeignChildIs1003AndNullChildIsNothing) {
  vtest::Env a, b;
  int status = 0;
  VLTENVptr c = VLTparenv(a, &status);
  ASSERT_EQ(status, 0);
  EXPECT_EQ(VLTfreeparenv(b, &c), 1003);
  EXPECT_EQ(b.err.all(), "VELTO Error  1003: Bad argument to Callable Library function.\n");
  EXPECT_NE(c, nullptr);
  EXPECT_EQ(VLTsetintparam(c, VLT_PARAM_SCRIND, 0), 0);  // still alive
  VLTENVptr none = nullptr;
  EXPECT_EQ(VLTfreeparenv(a, &none), 0);
  EXPECT_EQ(VLTfreeparenv(a, &c), 0);
  EXPECT_EQ(VLTcloseVELTO(&c), 1002);
}

TEST(Clone, ParametersAreCopiedAtCloneTimeOnly) {
  vtest::Env env;
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_ITLIM, 77), 0);
  int status = 0;
  VLTENVptr c = VLTparenv(env, &status);
  ASSERT_EQ(status, 0);
  int v = 0;
  EXPECT_EQ(VLTgetintparam(c, VLT_PARAM_ITLIM, &v), 0);
  EXPECT_EQ(v, 77);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_ITLIM, 99), 0);
  EXPECT_EQ(VLTgetintparam(c, VLT_PARAM_ITLIM, &v), 0);
  EXPECT_EQ(v, 77);
  // The clone has channels of its own that start without destinations.
  EXPECT_EQ(VLTsetintparam(c, VLT_PARAM_ITLIM, -5), 1014);
  EXPECT_EQ(env.err.all(), "");
  EXPECT_EQ(VLTcloseVELTO(&c), 1021);
}

struct work {
  std::atomic<int> *sum;
  int value;
  std::thread::id id;
};

void addwork(void *arg) {
  work *w = static_cast<work *>(arg);
  w->id = std::this_thread::get_id();
  w->sum->fetch_add(w->value);
}

TEST(Team, EveryMemberRunsOnceAndMemberZeroOnTheCaller) {
  vtest::Env env;
  for (int n : {1, 2, 3}) {
    std::atomic<int> sum{0};
    std::vector<work> w(n);
    std::vector<void *> args(n);
    for (int i = 0; i < n; ++i) {
      w[i] = {&sum, 1 << i, {}};
      args[i] = &w[i];
    }
    velto::teamrun(env, addwork, n, args.data());
    EXPECT_EQ(sum.load(), (1 << n) - 1);
    EXPECT_EQ(velto::teamsize(env), n);
    EXPECT_EQ(w[0].id, std::this_thread::get_id());
    for (int i = 1; i < n; ++i) EXPECT_NE(w[i].id, std::this_thread::get_id());
  }
}

struct counter {
  volatile int word = 0;
  long plain = 0;     // guarded by the spin lock
  long locked = 0;    // guarded by the environment lock
  VLTENVptr env;
};

void hammer(void *arg) {
  counter *c = static_cast<counter *>(arg);
  for (int i = 0; i < 20000; ++i) {
    VLTEgeneric_lock(&c->word);
    c->plain++;
    VLTEgeneric_unlock(&c->word);
    velto::envlock(c->env);
    c->locked++;
    velto::envunlock(c->env);
  }
}

TEST(Team, SpinLockAndEnvironmentLockCountEveryIncrement) {
  vtest::Env env;
  counter c;
  c.env = env;
  void *args[2] = {&c, &c};
  for (int round = 0; round < 50; ++round) velto::teamrun(env, hammer, 2, args);
  EXPECT_EQ(c.plain, 50L * 2 * 20000);
  EXPECT_EQ(c.locked, 50L * 2 * 20000);
}

TEST(Team, ThreadCountRule) {
  vtest::Env env;
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_THREADS, 1), 0);
  EXPECT_EQ(velto::threadcount(env, 0), 16);
  EXPECT_EQ(velto::threadcount(env, 1), 1);
  EXPECT_EQ(velto::threadcount(env, 2), 1);
  EXPECT_EQ(velto::threadcount(env, 3), 1);
  EXPECT_EQ(velto::threadcount(env, 9), 1);
  EXPECT_EQ(velto::cpucap(0), 1);
  EXPECT_EQ(velto::cpucap(1), 1);
  EXPECT_EQ(velto::cpucap(100000), (int)std::max(1u, std::thread::hardware_concurrency()));
}

// Solves one model in its own environment; the results to compare.
struct solved {
  int status = -1, lpstat = -1, itcnt = -1;
  std::vector<double> x;
  double obj = 0.0;
};

solved solve(const std::string &name, int method) {
  solved s;
  int status = 0;
  VLTENVptr env = VLTopenVELTO(&status);
  VLTLPptr lp = VLTcreateprob(env, &status, name.c_str());
  s.status = VLTreadcopyprob(env, lp, velto_test::modelpath("netlib", name).c_str(), nullptr);
  if (s.status == 0) s.status = method == 1 ? VLTprimopt(env, lp) : VLTdualopt(env, lp);
  if (s.status == 0) {
    s.lpstat = VLTgetstat(env, lp);
    s.itcnt = VLTgetitcnt(env, lp);
    VLTgetobjval(env, lp, &s.obj);
    s.x.resize(VLTgetnumcols(env, lp));
    VLTgetx(env, lp, s.x.data(), 0, (int)s.x.size() - 1);
  }
  VLTfreeprob(env, &lp);
  VLTcloseVELTO(&env);
  return s;
}

TEST(Team, TwoEnvironmentsSolvingAtOnceMatchOneAfterTheOther) {
  const std::string a = "25fv47", b = "scfxm2";
  solved sa = solve(a, 2), sb = solve(b, 1);
  if (sa.status != 0 || sb.status != 0) GTEST_SKIP() << "netlib models not found";
  ASSERT_EQ(sa.lpstat, 1);
  ASSERT_EQ(sb.lpstat, 1);
  for (int round = 0; round < 3; ++round) {
    solved pa, pb;
    std::thread t1([&] { pa = solve(a, 2); });
    std::thread t2([&] { pb = solve(b, 1); });
    t1.join();
    t2.join();
    EXPECT_EQ(pa.itcnt, sa.itcnt);
    EXPECT_EQ(pb.itcnt, sb.itcnt);
    EXPECT_EQ(pa.obj, sa.obj);
    EXPECT_EQ(pb.obj, sb.obj);
    EXPECT_EQ(pa.x, sa.x);
    EXPECT_EQ(pb.x, sb.x);
  }
}

}  // namespace
