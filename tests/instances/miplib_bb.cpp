// The integer optimizer on MIPLIB 3: every model that cbc (run here, one
// thread, 10 s) solves to optimality must end optimal, or optimal within
// the gap, with the published objective, and the returned point must pass
// the independent check (integrality, rows and bounds, objective recomputed
// from x).  VELTO_MIP_SECONDS (default 300) caps our run per model.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "common/mipcheck.h"
#include "common/reference.h"
#include "velto.h"

using namespace velto_test;

namespace {

// True when cbc is installed and proves the model optimal within 10 s.
bool cbcsolves(const std::string &path, std::string *why) {
  if (std::system("command -v cbc >/dev/null 2>&1") != 0) {
    *why = "cbc not installed";
    return false;
  }
  char tmp[] = "/tmp/velto_bbXXXXXX";
  int fd = mkstemp(tmp);
  if (fd < 0) return false;
  close(fd);
  std::string mps = std::string(tmp) + ".mps";
  std::string cmd = "gzip -dc '" + path + "' > " + mps + " && timeout 30 cbc " + mps +
                    " -threads 1 -sec 10 -solve -quit 2>&1 | grep -q '^Result - Optimal solution found'";
  bool ok = std::system(cmd.c_str()) == 0;
  std::remove(mps.c_str());
  std::remove(tmp);
  if (!ok) *why = "cbc does not solve it within 10 s";
  return ok;
}

class MiplibBB : public ::testing::TestWithParam<std::string> {};

TEST_P(MiplibBB, SolvesWhatCbcSolvesInTenSeconds) {
  const std::string name = GetParam();
  auto ref = readreference("miplib3");
  if (ref.empty()) GTEST_SKIP() << "MIPLIB 3 data not found under " << datadir();
  double opt = std::nan("");
  for (auto &r : ref)
    if (r.name == name) opt = r.num(4);
  std::string path = modelpath("miplib3", name), why;
  if (!cbcsolves(path, &why)) GTEST_SKIP() << name << ": " << why;
  int status = 0;
  VLTENVptr env = VLTopenVELTO(&status);
  ASSERT_NE(env, nullptr);
  VLTLPptr lp = VLTcreateprob(env, &status, name.c_str());
  ASSERT_EQ(VLTreadcopyprob(env, lp, path.c_str(), nullptr), 0);
  const char *cap = std::getenv("VELTO_MIP_SECONDS");
  VLTsetdblparam(env, VLT_PARAM_TILIM, cap ? std::atof(cap) : 300.0);
  VLTsetintparam(env, VLT_PARAM_MIPDISPLAY, 0);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  int st = VLTgetstat(env, lp);
  EXPECT_TRUE(st == 101 || st == 102) << name << " status " << st;
  double z = 0, epgap = 1e-4;
  if (VLTgetmipobjval(env, lp, &z) == 0) {
    if (!std::isnan(opt) && (st == 101 || st == 102)) {
      EXPECT_LE(std::fabs(z - opt), epgap * std::fabs(opt) + 1e-6 + 1e-8 * std::fabs(opt))
          << name << " objective " << z << " published " << opt;
    }
    mipcheck::verdict v = mipcheck::checkmip(env, lp);
    EXPECT_TRUE(v.ok) << name << ":" << v.why;
  }
  VLTfreeprob(env, &lp);
  VLTcloseVELTO(&env);
}

INSTANTIATE_TEST_SUITE_P(Miplib3, MiplibBB, ::testing::ValuesIn(referencenames("miplib3")),
                         [](const auto &info) { return info.param; });

}  // namespace
