// Sensitivity ranges and quality measures over the Netlib set.  Every model
// under 500 rows and a sample of larger ones: ranges probed by warm re-solves
// inside and outside their ends (tests/common/rangecheck.h), quality measures
// against the checker (tests/common/qualcheck.h) on every model, and, when
// glpsol is installed, cost, right-hand side and bound ranges compared with
// its sensitivity report on the models where both solvers end in the same
// basis (ranges belong to a basis; with another basis they may differ).
#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include <unistd.h>

#include "common/getmodel.h"
#include "common/qualcheck.h"
#include "common/rangecheck.h"
#include "common/reference.h"
#include "common/session.h"
#include "velto.h"

namespace {

struct session : velto_test::session {
  session() : velto_test::session("sensit") {}
};

// Larger models probed on a sample of their items.
const char *const kLarge[] = {"25fv47", "bnl1", "ship08l", "sctap2"};

struct caseinfo {
  std::string name;
  int rows;
  bool large;
};

std::vector<caseinfo> cases() {
  std::vector<caseinfo> out;
  for (auto &r : velto_test::readreference("netlib")) {
    const int rows = static_cast<int>(r.integer(0));
    bool large = false;
    for (const char *l : kLarge) large = large || r.name == l;
    if (rows < 500 || large) out.push_back({r.name, rows, large});
  }
  if (out.empty()) out.push_back({"none", 0, false});
  return out;
}

// ---- glpsol's report -------------------------------------------------------

struct glpitem {
  std::string status;
  double actlo = 0, acthi = 0, objlo = 0, objhi = 0;
};

double glpnum(const std::string &t) {
  if (t == ".") return 0.0;
  if (t == "-Inf") return -1e20;
  if (t == "+Inf") return 1e20;
  return std::strtod(t.c_str(), nullptr);
}

// Reads the rows and columns of a sensitivity report: two lines per item.
bool readglp(const std::string &file, std::map<std::string, glpitem> &rows,
             std::map<std::string, glpitem> &cols) {
  std::ifstream in(file);
  if (!in) return false;
  std::string line;
  std::map<std::string, glpitem> *into = nullptr;
  while (std::getline(in, line)) {
    if (line.find("No. Row name") != std::string::npos) into = &rows;
    if (line.find("No. Column name") != std::string::npos) into = &cols;
    if (into == nullptr) continue;
    std::istringstream a(line);
    std::vector<std::string> t;
    std::string w;
    while (a >> w) t.push_back(w);
    if (t.size() < 9 || t[0].find_first_not_of("0123456789") != std::string::npos) continue;
    std::string second;
    if (!std::getline(in, second)) break;
    std::istringstream b(second);
    std::vector<std::string> u;
    while (b >> w) u.push_back(w);
    if (u.size() < 5) continue;
    glpitem g;
    g.status = t[2];
    g.actlo = glpnum(t[6]);
    g.objlo = glpnum(t[7]);
    g.acthi = glpnum(u[2]);
    g.objhi = glpnum(u[3]);
    (*into)[t[1]] = g;
  }
  return true;
}

bool haveglpsol() { return std::system("command -v glpsol >/dev/null 2>&1") == 0; }

bool close(double a, double b) {
  if (std::fabs(a) >= 1e19 || std::fabs(b) >= 1e19) return (a > 0) == (b > 0) && std::fabs(a) >= 1e19 && std::fabs(b) >= 1e19;
  return std::fabs(a - b) <= 1e-5 * (1 + std::max(std::fabs(a), std::fabs(b)));
}

// Compares with glpsol where both bases agree.  Returns the count of
// ranges compared; -1 when the bases differ; failures are added.
long compare_glpsol(session &s, const std::string &name, const std::string &mps,
                    std::vector<std::string> &failures) {
  const std::string tmp = "/tmp/velto_sensit_" + std::to_string(getpid()) + "_" + name;
  const std::string cmd = "zcat '" + mps + "' > " + tmp + ".mps && glpsol --mps " + tmp +
                          ".mps --simplex --ranges " + tmp + ".rng >/dev/null 2>&1";
  const int rc = std::system(cmd.c_str());
  std::map<std::string, glpitem> rows, cols;
  const bool ok = rc == 0 && readglp(tmp + ".rng", rows, cols);
  std::remove((tmp + ".mps").c_str());
  std::remove((tmp + ".rng").c_str());
  if (!ok) return -2;
  const int n = VLTgetnumcols(s.env, s.lp), m = VLTgetnumrows(s.env, s.lp);
  const std::vector<std::string> cn = velto_test::getnames(s.env, s.lp, false, n);
  const std::vector<std::string> rn = velto_test::getnames(s.env, s.lp, true, m);
  // Ranges belong to a basis: start from glpsol's final basis, which must be
  // optimal here too (no iteration), so that both speak of the same one.
  std::vector<int> cstat(n), rstat(m);
  std::vector<char> sense(m);
  VLTgetsense(s.env, s.lp, sense.data(), 0, m - 1);
  for (int j = 0; j < n; ++j) {
    auto it = cols.find(cn[j]);
    if (it == cols.end()) return -1;
    const std::string &st = it->second.status;
    cstat[j] = st == "BS" ? 1 : st == "NU" ? 2 : st == "NF" ? 3 : 0;
  }
  for (int i = 0; i < m; ++i) {
    auto it = rows.find(rn[i]);
    if (it == rows.end()) return -1;
    const std::string &st = it->second.status;
    rstat[i] = st == "BS" ? 1 : (sense[i] == 'R' && st == "NU") ? 2 : 0;
  }
  VLTsetintparam(s.env, VLT_PARAM_PREIND, 0);
  VLTsetintparam(s.env, VLT_PARAM_ADVIND, 1);
  if (VLTcopybase(s.env, s.lp, cstat.data(), rstat.data()) != 0) return -1;
  VLTprimopt(s.env, s.lp);
  if (VLTgetstat(s.env, s.lp) != 1) return -1;
  if (VLTgetitcnt(s.env, s.lp) != 0) {
    // Not optimal for us within our tolerances: solve again, no comparison.
    VLTlpopt(s.env, s.lp);
    return -1;
  }
  std::vector<double> clo(n), cup(n), rlo(m), rup(m), lblo(n), lbup(n), ublo(n), ubup(n);
  std::vector<double> lb(n), ub(n);
  VLTobjsa(s.env, s.lp, 0, n - 1, clo.data(), cup.data());
  VLTrhssa(s.env, s.lp, 0, m - 1, rlo.data(), rup.data());
  VLTboundsa(s.env, s.lp, 0, n - 1, lblo.data(), lbup.data(), ublo.data(), ubup.data());
  VLTgetlb(s.env, s.lp, lb.data(), 0, n - 1);
  VLTgetub(s.env, s.lp, ub.data(), 0, n - 1);
  long compared = 0;
  char buf[256];
  auto check = [&](const char *what, const std::string &item, double a, double b, double ga,
                   double gb) {
    // glpsol reports an interval that misses the present value (low end
    // above the high one) when a basic value stands just outside its bound
    // within the tolerance; that range is not comparable.
    if (ga > gb) return;
    ++compared;
    if (close(a, ga) && close(b, gb)) return;
    std::snprintf(buf, sizeof buf, "%s %s %s: ours [%.10g, %.10g], glpsol [%.10g, %.10g]",
                  name.c_str(), what, item.c_str(), a, b, ga, gb);
    if (failures.size() < 30) failures.push_back(buf);
  };
  for (int j = 0; j < n; ++j) {
    const glpitem &g = cols[cn[j]];
    check("cost", cn[j], clo[j], cup[j], g.objlo, g.objhi);
    // The activity range of a nonbasic column is the range of its bound in
    // force (fixed columns: either bound).
    // glpsol lets a bound run past the other one; ours stop there.
    if (g.status == "NL") check("lb", cn[j], lblo[j], lbup[j], g.actlo, std::min(g.acthi, ub[j]));
    if (g.status == "NU") check("ub", cn[j], ublo[j], ubup[j], std::max(g.actlo, lb[j]), g.acthi);
  }
  for (int i = 0; i < m; ++i) {
    const glpitem &g = rows[rn[i]];
    // An active row's activity range is its right-hand side range.
    if (g.status == "NL" || g.status == "NU" || g.status == "NS")
      check("rhs", rn[i], rlo[i], rup[i], g.actlo, g.acthi);
  }
  return compared;
}

class SensitNetlib : public ::testing::TestWithParam<caseinfo> {};

TEST_P(SensitNetlib, RangesAndQuality) {
  const caseinfo c = GetParam();
  if (c.name == "none") GTEST_SKIP() << "no Netlib data under " << velto_test::datadir();
  const std::string path = velto_test::datadir() + "/netlib/" + c.name + ".mps.gz";
  session s;
  if (VLTreadcopyprob(s.env, s.lp, path.c_str(), nullptr) != 0) GTEST_SKIP() << "cannot read " << path;
  ASSERT_EQ(VLTlpopt(s.env, s.lp), 0);
  ASSERT_EQ(VLTgetstat(s.env, s.lp), 1) << c.name;
  qualcheck::expect_measures_agree(s.env, s.lp, c.name);

  long glpcompared = 0;
  std::vector<std::string> glpfail;
  if (haveglpsol()) glpcompared = compare_glpsol(s, c.name, path, glpfail);
  for (auto &f : glpfail) ADD_FAILURE() << f;

  rangecheck::tally t;
  ASSERT_EQ(rangecheck::checkmodel(s.env, s.lp, c.large ? 15 : 60, t, c.name), 0);
  for (auto &f : t.failures) ADD_FAILURE() << f;
  for (auto &f : t.notes) std::printf("[ sensit ] note: %s\n", f.c_str());
  std::printf("[ sensit ] %-10s %5d rows: %5ld ranges probed (%ld inside, %ld outside, %ld "
              "outside unconfirmed); glpsol: %s\n",
              c.name.c_str(), c.rows, t.ranges, t.inside, t.outside, t.unconfirmed,
              glpcompared >= 0 ? (std::to_string(glpcompared) + " ranges compared").c_str()
              : glpcompared == -1 ? "other basis" : "not run");
  // An outside point that leaves the basis standing would mean a range too
  // narrow; a handful may stand within the optimizer's tolerances.
  EXPECT_LE(t.unconfirmed, std::max(1L, t.outside / 50)) << c.name;
}

INSTANTIATE_TEST_SUITE_P(Netlib, SensitNetlib, ::testing::ValuesIn(cases()),
                         [](const ::testing::TestParamInfo<caseinfo> &i) {
                           std::string n = i.param.name;
                           for (char &ch : n)
                             if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
                           return n;
                         });

}  // namespace
