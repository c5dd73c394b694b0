// The barrier (no crossover) on every Netlib model but forplan: how many
// reach the published optimum within 1e-8 relative with status 1, with the
// failures listed and their reasons; and the infeasible set, where the
// barrier must never claim an optimum.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "common/lpcheck.h"
#include "common/reference.h"
#include "velto.h"

using namespace velto_test;

namespace {

struct outcome {
  int lpstat = 0;
  int status = 0;
  int iters = 0;
  double obj = 0, pviol = 0, seconds = 0;
  int at = -1, n = 0;  // place of the largest violation: column, or n + row
};

outcome solve(const std::string &set, const std::string &name) {
  outcome r;
  int st = 0;
  VLTENVptr env = VLTopenVELTO(&st);
  VLTLPptr lp = VLTcreateprob(env, &st, name.c_str());
  VLTsetintparam(env, VLT_PARAM_BARDISPLAY, 0);
  VLTsetdblparam(env, VLT_PARAM_TILIM, 300.0);
  r.status = VLTreadcopyprob(env, lp, modelpath(set, name).c_str(), nullptr);
  const auto t0 = std::chrono::steady_clock::now();
  if (r.status == 0) r.status = VLTbaropt(env, lp);
  r.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
  if (r.status == 0) {
    r.lpstat = VLTgetstat(env, lp);
    r.iters = VLTgetbaritcnt(env, lp);
    double off = 0;
    VLTgetobjval(env, lp, &r.obj);
    VLTgetobjoffset(env, lp, &off);
    r.obj -= off;
    const lpcheck::model md = lpcheck::from_api(env, lp);
    std::vector<double> x(md.n);
    if (md.n > 0) VLTgetx(env, lp, x.data(), 0, md.n - 1);
    r.pviol = lpcheck::primal_violation(md, x, true, &r.at);
    r.n = md.n;
  }
  VLTfreeprob(env, &lp);
  VLTcloseVELTO(&env);
  return r;
}

// The published value of e226 includes the objective constant -7.113 that
// an RHS entry on its objective row would give; the reader leaves it out.
double published_constant(const std::string &name) { return name == "e226" ? -7.113 : 0.0; }

TEST(NetlibBarrier, PublishedOptima) {
  if (!std::filesystem::exists(datadir() + "/netlib/REFERENCE.tsv"))
    GTEST_SKIP() << "public model folder " << datadir() << " not found (set VELTO_DATA)";
  const char *only = std::getenv("VELTO_NETLIB_ONLY");
  int good = 0, total = 0;
  std::string failures;
  for (auto &ref : readreference("netlib")) {
    if (ref.name == "forplan") continue;
    if (only && ref.name != only) continue;
    ++total;
    const double z = ref.num(3);
    outcome r = solve("netlib", ref.name);
    const double rel = std::fabs(r.obj + published_constant(ref.name) - z) / std::max(1.0, std::fabs(z));
    std::printf("%-10s status %d lpstat %2d iters %3d time %7.2f relerr %.1e pviol %.1e\n", ref.name.c_str(),
                r.status, r.lpstat, r.iters, r.seconds, rel, r.pviol);
    if (r.status == 0 && r.lpstat == 1 && rel < 1e-8 && r.pviol < 1e-6) {
      ++good;
      continue;
    }
    char line[200];
    if (r.status != 0) std::snprintf(line, sizeof line, "%s: error %d\n", ref.name.c_str(), r.status);
    else if (r.lpstat != 1) std::snprintf(line, sizeof line, "%s: status %d\n", ref.name.c_str(), r.lpstat);
    else
      std::snprintf(line, sizeof line, "%s: objective off by %.1e, primal violation %.1e at %s %d\n", ref.name.c_str(),
                    rel, r.pviol, r.at >= r.n ? "row" : "column", r.at >= r.n ? r.at - r.n : r.at);
    failures += line;
  }
  std::printf("%d of %d Netlib models at the published optimum within 1e-8\n%s", good, total, failures.c_str());
  // The count reached last (dfl001 and lotfi still fail); a drop is a
  // regression.
  if (!only) {
    EXPECT_GE(good, 62) << failures;
  }
}

TEST(NetlibBarrier, InfeasibleModelsAreNeverOptimal) {
  if (!std::filesystem::exists(datadir() + "/infeas/REFERENCE.tsv"))
    GTEST_SKIP() << "public model folder " << datadir() << " not found (set VELTO_DATA)";
  int infeasible = 0, total = 0;
  for (auto &ref : readreference("infeas")) {
    outcome r = solve("infeas", ref.name);
    std::printf("%-10s status %d lpstat %2d iters %3d time %7.2f\n", ref.name.c_str(), r.status, r.lpstat, r.iters,
                r.seconds);
    ++total;
    if (r.lpstat == 3) ++infeasible;
    EXPECT_TRUE(r.status != 0 || r.lpstat != 1) << ref.name;
  }
  std::printf("%d of %d infeasible models found infeasible\n", infeasible, total);
}

}  // namespace
