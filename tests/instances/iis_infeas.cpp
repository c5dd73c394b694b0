// The infeasibility finder over every model of the infeasible set, with
// both filters.  The subset found is rebuilt as a model of its own (member
// rows with the side in force, member columns with the bound in force, every
// other column of those rows free): it must be infeasible, by our primal
// simplex and by clp when installed, and feasible when any one member goes.
// The file of VLTiiswrite must read back as the same subset, also where a
// column's name would read as a number.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/getmodel.h"
#include "common/reference.h"
#include "velto.h"

namespace {

using velto_test::datadir;
using velto_test::modelpath;
using velto_test::referencenames;

struct subset {
  int iisstat = 0;
  std::vector<int> rows, rowstat, cols, colstat;
};

struct model {
  int m = 0, n = 0;
  std::vector<double> rhs, rng, lb, ub;
  std::vector<char> sense;
  std::vector<std::vector<std::pair<int, double>>> rowvec;  // entries of each row
};

// The model through the public getters, with its rows as entry lists.
model readmodel(VLTENVptr env, VLTLPptr lp) {
  velto_test::apimodel a = velto_test::getmodel(env, lp);
  model d;
  d.m = a.m, d.n = a.n;
  d.rhs = a.rhs, d.rng = a.rng, d.lb = a.lb, d.ub = a.ub, d.sense = a.sense;
  d.rowvec.resize(d.m);
  for (int j = 0; j < d.n; ++j) {
    const int end = j + 1 < d.n ? a.beg[j + 1] : a.nz;
    for (int k = a.beg[j]; k < end; ++k) d.rowvec[a.ind[k]].push_back({j, a.val[k]});
  }
  return d;
}

// The subset as a model: one row per member row, all columns of the model
// (free unless a member).  `droprow`/`dropcol` leave one member out.
VLTLPptr buildsubset(VLTENVptr env, const model &d, const subset &s, int droprow, int dropcol) {
  int status = 0;
  VLTLPptr q = VLTcreateprob(env, &status, "subset");
  std::vector<double> obj(d.n, 0.0), lb(d.n, -VLT_INFBOUND), ub(d.n, VLT_INFBOUND);
  for (size_t k = 0; k < s.cols.size(); ++k) {
    if (static_cast<int>(k) == dropcol) continue;
    const int j = s.cols[k];
    if (s.colstat[k] != 2) lb[j] = d.lb[j];
    if (s.colstat[k] != 0) ub[j] = d.ub[j];
  }
  VLTnewcols(env, q, d.n, obj.data(), lb.data(), ub.data(), nullptr, nullptr);
  for (size_t k = 0; k < s.rows.size(); ++k) {
    if (static_cast<int>(k) == droprow) continue;
    const int i = s.rows[k];
    double lo = d.rhs[i], hi = d.rhs[i];
    if (d.sense[i] == 'L') lo = -VLT_INFBOUND;
    if (d.sense[i] == 'G') hi = VLT_INFBOUND;
    if (d.sense[i] == 'R') (d.rng[i] >= 0 ? hi : lo) += d.rng[i];
    char sense = s.rowstat[k] == 0 ? 'G' : s.rowstat[k] == 2 ? 'L' : 'E';
    double rhs = s.rowstat[k] == 0 ? lo : s.rowstat[k] == 2 ? hi : d.rhs[i];
    std::vector<int> ind;
    std::vector<double> val;
    for (auto &t : d.rowvec[i]) ind.push_back(t.first), val.push_back(t.second);
    int beg = 0;
    VLTaddrows(env, q, 0, 1, static_cast<int>(ind.size()), &rhs, &sense, &beg, ind.data(),
               val.data(), nullptr, nullptr);
  }
  return q;
}

int solvestat(VLTENVptr env, VLTLPptr q) {
  if (VLTprimopt(env, q) != 0) return -1;
  return VLTgetstat(env, q);
}

// clp's verdict on an MPS file: 1 infeasible, 0 feasible, -1 no answer.
int clpverdict(const std::string &file) {
  std::string cmd = "clp " + file + " -primals 2>&1";
  FILE *p = popen(cmd.c_str(), "r");
  if (p == nullptr) return -1;
  char buf[512];
  int verdict = -1;
  while (std::fgets(buf, sizeof buf, p)) {
    std::string line(buf);
    if (line.find("PrimalInfeasible") != std::string::npos ||
        line.find("Primal infeasible") != std::string::npos)
      verdict = 1;
    else if (line.find("Optimal objective") != std::string::npos && verdict < 0)
      verdict = 0;
  }
  pclose(p);
  return verdict;
}

bool haveclp() { return std::system("command -v clp >/dev/null 2>&1") == 0; }

class IisInfeas : public ::testing::TestWithParam<std::string> {};

TEST_P(IisInfeas, SubsetIsInfeasibleAndIrreducible) {
  const std::string name = GetParam();
  const std::string path = modelpath("infeas", name);
  FILE *probe = name == "none" ? nullptr : std::fopen(path.c_str(), "r");
  if (probe != nullptr) std::fclose(probe);
  if (probe == nullptr)
    GTEST_SKIP() << "infeasible models not found under " << datadir() << "/infeas (set VELTO_DATA)";
  const bool clp = haveclp();
  for (int filter = 0; filter <= 1; ++filter) {
    SCOPED_TRACE("IISIND " + std::to_string(filter));
    int status = 0;
    VLTENVptr env = VLTopenVELTO(&status);
    ASSERT_NE(env, nullptr);
    VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0);
    VLTCHANNELptr err = nullptr;
    VLTgetchannels(env, nullptr, nullptr, &err, nullptr);
    VLTaddfpdest(env, err, stderr);
    VLTLPptr lp = VLTcreateprob(env, &status, name.c_str());
    ASSERT_EQ(VLTreadcopyprob(env, lp, path.c_str(), nullptr), 0);
    ASSERT_EQ(VLTlpopt(env, lp), 0);
    ASSERT_EQ(VLTgetstat(env, lp), 3);
    VLTsetintparam(env, VLT_PARAM_IISIND, filter);
    VLTsetdblparam(env, VLT_PARAM_TILIM, 120.0);
    int nr = 0, nc = 0;
    auto t0 = std::chrono::steady_clock::now();
    ASSERT_EQ(VLTfindiis(env, lp, &nr, &nc), 0);
    const double secs = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    VLTsetdblparam(env, VLT_PARAM_TILIM, VLT_BIGREAL);
    subset s;
    s.rows.resize(nr);
    s.rowstat.resize(nr);
    s.cols.resize(nc);
    s.colstat.resize(nc);
    ASSERT_EQ(VLTgetiis(env, lp, &s.iisstat, s.rows.data(), s.rowstat.data(), nullptr,
                        s.cols.data(), s.colstat.data(), nullptr),
              0);
    std::printf("IIS %-10s filter %d: %4d rows %4d columns %s %7.2f s\n", name.c_str(), filter,
                nr, nc, s.iisstat == 1 ? "complete" : "partial ", secs);
    model d = readmodel(env, lp);
    VLTsetintparam(env, VLT_PARAM_PREIND, 0);

    VLTLPptr q = buildsubset(env, d, s, -1, -1);
    EXPECT_EQ(solvestat(env, q), 3) << "the subset is not infeasible";
    if (clp) {
      const std::string mps = ::testing::TempDir() + "iis_" + name + ".mps";
      ASSERT_EQ(VLTwriteprob(env, q, mps.c_str(), nullptr), 0);
      EXPECT_EQ(clpverdict(mps), 1) << "clp finds the subset feasible";
      std::remove(mps.c_str());
    }
    VLTfreeprob(env, &q);
    if (s.iisstat == 1) {
      for (int k = 0; k < nr; ++k) {
        VLTLPptr r = buildsubset(env, d, s, k, -1);
        const int st = solvestat(env, r);
        EXPECT_TRUE(st == 1 || st == 2) << "still infeasible without row " << s.rows[k];
        VLTfreeprob(env, &r);
      }
      for (int k = 0; k < nc; ++k) {
        VLTLPptr r = buildsubset(env, d, s, -1, k);
        const int st = solvestat(env, r);
        EXPECT_TRUE(st == 1 || st == 2) << "still infeasible without the bound of column " << s.cols[k];
        VLTfreeprob(env, &r);
      }
    }

    // The file reads back as the subset where the names allow the LP form.
    const std::string file = ::testing::TempDir() + "iis_" + name + ".lp";
    ASSERT_EQ(VLTiiswrite(env, lp, file.c_str()), 0);
    VLTLPptr back = VLTcreateprob(env, &status, "back");
    VLTdelfpdest(env, err, stderr);
    const int rs = VLTreadcopyprob(env, back, file.c_str(), nullptr);
    VLTaddfpdest(env, err, stderr);
    EXPECT_EQ(rs, 0) << "the written subset doesn't read back";
    if (rs == 0) {
      EXPECT_EQ(VLTgetnumrows(env, back), nr);
      EXPECT_EQ(solvestat(env, back), 3) << "the written subset is not infeasible";
    }
    VLTfreeprob(env, &back);
    std::remove(file.c_str());
    VLTfreeprob(env, &lp);
    VLTcloseVELTO(&env);
  }
}

INSTANTIATE_TEST_SUITE_P(Infeas, IisInfeas, ::testing::ValuesIn(referencenames("infeas")),
                         [](const auto &info) { return info.param; });

}  // namespace
