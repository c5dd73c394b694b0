// Known-optimum check of the cut loop on MIPLIB 3: cbc (run here, one
// thread, 60 s) gives an optimal solution of each model it proves optimal;
// that point, checked feasible by the independent checker, must satisfy
// every cut that our branch and cut puts into its node problem (a local cut
// only when the point lies in that node's box) and every bound that the
// cut loop fixes while the cutoff is above the optimum.  A cut that removes
// an optimum is silent otherwise: the search would just end worse or slower.
// VELTO_MIP_SECONDS (default 60) caps our run per model.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "common/mipcheck.h"
#include "common/reference.h"
#include "mip/mipcuts.h"
#include "velto.h"

using namespace velto_test;

namespace {

// Runs cbc on the model; true with the point (by column name) when it
// reports an optimal solution.
bool cbcoptimum(const std::string &path, std::vector<std::pair<std::string, double>> &sol,
                std::string *why) {
  if (std::system("command -v cbc >/dev/null 2>&1") != 0) {
    *why = "cbc not installed";
    return false;
  }
  char tmp[] = "/tmp/velto_cutsXXXXXX";
  int fd = mkstemp(tmp);
  if (fd < 0) return false;
  close(fd);
  std::string mps = std::string(tmp) + ".mps", solu = std::string(tmp) + ".sol";
  std::string cmd = "gzip -dc '" + path + "' > " + mps + " && timeout 90 cbc " + mps +
                    " -threads 1 -sec 60 -solve -solu " + solu + " >/dev/null 2>&1";
  int rc = std::system(cmd.c_str());
  std::ifstream in(solu);
  std::string line;
  bool ok = rc == 0 && std::getline(in, line) && line.rfind("Optimal", 0) == 0;
  while (ok && std::getline(in, line)) {
    std::istringstream ls(line);
    std::string idx, name;
    double v = 0;
    if (ls >> idx) {
      if (idx == "**") ls >> idx;  // cbc marks infeasible entries
      if (ls >> name >> v) sol.emplace_back(name, v);
    }
  }
  std::remove(mps.c_str());
  std::remove(solu.c_str());
  std::remove(tmp);
  if (!ok) *why = "cbc does not prove it optimal within 60 s";
  return ok;
}

// cbc prints its point to a few digits, which on models with continuous
// columns (qnet1_o) leaves rows off by 1e-5.  The integer part is what a
// cut can remove: keep it and take the continuous part from an LP with the
// integer columns fixed, so the point is feasible to our tolerances.
void polish(VLTENVptr env, VLTLPptr lp, std::vector<double> &x) {
  int n = VLTgetnumcols(env, lp), status = 0;
  std::vector<char> ctype(n);
  if (VLTgetctype(env, lp, ctype.data(), 0, n - 1) != 0) return;
  VLTLPptr fixed = VLTcloneprob(env, lp, &status);
  if (fixed == nullptr) return;
  std::vector<int> ind;
  std::vector<char> lu;
  std::vector<double> bd;
  bool continuous = false;
  for (int j = 0; j < n; ++j) {
    if (ctype[j] == 'C') {
      continuous = true;
      continue;
    }
    ind.push_back(j);
    lu.push_back('B');
    bd.push_back(std::round(x[j]));
  }
  if (continuous && VLTchgbds(env, fixed, static_cast<int>(ind.size()), ind.data(), lu.data(),
                              bd.data()) == 0 &&
      VLTchgprobtype(env, fixed, 0) == 0 && VLTlpopt(env, fixed) == 0 &&
      VLTgetstat(env, fixed) == 1) {
    std::vector<double> y(n);
    if (VLTgetx(env, fixed, y.data(), 0, n - 1) == 0) x = y;
  }
  VLTfreeprob(env, &fixed);
}

struct watch {
  std::vector<double> x;  // the known optimum
  double optmin = 0.0;    // its objective in minimization sign
  int cuts = 0, local = 0, fixings = 0, bad = 0;
  std::string first;
};

void seen(void *ctx, int nnz, const int *ind, const double *val, char sense, double rhs,
          const double *lb, const double *ub, double cutoff) {
  auto *w = static_cast<watch *>(ctx);
  bool fixing = cutoff < 1e75;
  if (fixing && !(cutoff > w->optmin + 1e-6 * (1.0 + std::fabs(w->optmin)))) return;
  if (lb != nullptr) {
    for (size_t j = 0; j < w->x.size(); ++j)
      if (w->x[j] < lb[j] - 1e-9 || w->x[j] > ub[j] + 1e-9) return;  // not in this node
    ++w->local;
  } else if (fixing) {
    ++w->fixings;
  } else {
    ++w->cuts;
  }
  double act = 0.0, scale = std::max(1.0, std::fabs(rhs));
  for (int k = 0; k < nnz; ++k) {
    act += val[k] * w->x[ind[k]];
    scale = std::max(scale, std::fabs(val[k] * w->x[ind[k]]));
  }
  double viol = sense == 'L' ? act - rhs : sense == 'G' ? rhs - act : std::fabs(act - rhs);
  if (viol > 1e-6 * scale) {
    if (w->bad++ == 0) {
      std::ostringstream os;
      os << (fixing ? "fixing" : lb ? "local cut" : "cut") << " with " << nnz
         << " terms violated by " << viol << " at the optimum (rhs " << rhs << ")";
      w->first = os.str();
    }
  }
}

class MiplibCuts : public ::testing::TestWithParam<std::string> {};

TEST_P(MiplibCuts, NoCutRemovesTheKnownOptimum) {
  const std::string name = GetParam();
  auto ref = readreference("miplib3");
  if (ref.empty()) GTEST_SKIP() << "MIPLIB 3 data not found under " << datadir();
  std::string path = modelpath("miplib3", name), why;
  std::vector<std::pair<std::string, double>> sol;
  if (!cbcoptimum(path, sol, &why)) GTEST_SKIP() << name << ": " << why;
  int status = 0;
  VLTENVptr env = VLTopenVELTO(&status);
  ASSERT_NE(env, nullptr);
  VLTLPptr lp = VLTcreateprob(env, &status, name.c_str());
  ASSERT_EQ(VLTreadcopyprob(env, lp, path.c_str(), nullptr), 0);
  watch w;
  int n = VLTgetnumcols(env, lp);
  w.x.assign(n, 0.0);
  for (auto &[col, v] : sol) {
    int j = -1;
    ASSERT_EQ(VLTgetcolindex(env, lp, col.c_str(), &j), 0) << name << ": cbc column " << col;
    w.x[j] = v;
  }
  polish(env, lp, w.x);
  std::vector<double> obj(n);
  ASSERT_EQ(VLTgetobj(env, lp, obj.data(), 0, n - 1), 0);
  double z = 0.0;
  for (int j = 0; j < n; ++j) z += obj[j] * w.x[j];
  // The point itself must be a feasible integer point of the model.
  mipcheck::verdict v = mipcheck::check(env, lp, w.x, z, 1e-6, 1e-6);
  ASSERT_TRUE(v.ok) << name << ": cbc's point fails the check:" << v.why;
  w.optmin = z * VLTgetobjsen(env, lp);
  const char *cap = std::getenv("VELTO_MIP_SECONDS");
  VLTsetdblparam(env, VLT_PARAM_TILIM, cap ? std::atof(cap) : 60.0);
  VLTsetintparam(env, VLT_PARAM_MIPDISPLAY, 0);
  // Every cover family at the root and at nodes, local covers too; clique
  // and implied-bound cuts everywhere, and the deepest probing, whose
  // fixings come to the watcher as fixings; MIR cuts and flow covers (both
  // tried on each row) at the root and nodes, Gomory cuts for five root
  // passes.
  VLTsetintparam(env, VLT_PARAM_COVERS, 2);
  VLTsetintparam(env, VLT_PARAM_GUBCOVERS, 2);
  VLTsetintparam(env, VLT_PARAM_LOCALCOVERS, 2);
  VLTsetintparam(env, VLT_PARAM_CLIQUES, 2);
  VLTsetintparam(env, VLT_PARAM_IMPLBD, 2);
  VLTsetintparam(env, VLT_PARAM_PROBE, 3);
  VLTsetintparam(env, VLT_PARAM_MIRCUTS, 2);
  VLTsetintparam(env, VLT_PARAM_FLOWCOVERS, 2);
  VLTsetintparam(env, VLT_PARAM_FRACCUTS, 2);
  velto::cutwatch.seen = seen;
  velto::cutwatch.ctx = &w;
  int rc = VLTmipopt(env, lp);
  velto::cutwatch = velto::cutwatcher();
  ASSERT_EQ(rc, 0);
  EXPECT_EQ(w.bad, 0) << name << ": " << w.bad << " of " << w.cuts + w.local + w.fixings
                      << " cuts and fixings remove the known optimum; first: " << w.first;
  std::printf("%s: %d cuts, %d local cuts, %d fixings checked\n", name.c_str(), w.cuts, w.local,
              w.fixings);
  VLTfreeprob(env, &lp);
  VLTcloseVELTO(&env);
}

INSTANTIATE_TEST_SUITE_P(Miplib3, MiplibCuts, ::testing::ValuesIn(referencenames("miplib3")),
                         [](const auto &info) { return info.param; });

}  // namespace
