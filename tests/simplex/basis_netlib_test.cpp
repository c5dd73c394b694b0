// Basis calls on small public models: the optimal basis passes both checks,
// ratio-test pivots keep it primal feasible and move the objective by step
// times reduced cost, and a re-solve from the pivoted basis (or after rows
// were pivoted in) reaches the published optimum.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "common/lpcheck.h"
#include "common/reference.h"
#include "velto.h"

namespace {

constexpr int kNone = 2100000000;

struct Quiet {
  VLTENVptr env = nullptr;
  VLTLPptr lp = nullptr;
  Quiet() {
    int st = 0;
    env = VLTopenVELTO(&st);
    lp = VLTcreateprob(env, &st, "n");
    VLTsetintparam(env, VLT_PARAM_PREIND, 0);
  }
  ~Quiet() {
    VLTfreeprob(env, &lp);
    VLTcloseVELTO(&env);
  }
};

double cx(const Quiet &s) {
  double obj = 0, off = 0;
  VLTgetobjval(s.env, s.lp, &obj);
  VLTgetobjoffset(s.env, s.lp, &off);
  return obj - off;
}

}  // namespace

TEST(BasisNetlib, PivotsFromTheOptimumAndBackToThePublishedOptimum) {
  std::vector<velto_test::refentry> ref = velto_test::readreference("netlib");
  if (ref.empty()) GTEST_SKIP() << "public models not found under " << velto_test::datadir();
  const char *names[] = {"afiro", "adlittle", "blend", "share2b"};
  int models = 0;
  for (const char *name : names) {
    SCOPED_TRACE(name);
    double z = std::nan("");
    for (const auto &r : ref)
      if (r.name == name) z = r.num(3);
    if (std::isnan(z)) continue;
    ++models;
    Quiet s;
    ASSERT_EQ(VLTreadcopyprob(s.env, s.lp, velto_test::modelpath("netlib", name).c_str(), nullptr), 0);
    ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
    ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
    const double tol = 1e-6 * std::max(1.0, std::fabs(z));
    EXPECT_NEAR(cx(s), z, tol);
    int pw = 0, dw = 0;
    ASSERT_EQ(VLTcheckpfeas(s.env, s.lp, &pw), 0);
    ASSERT_EQ(VLTcheckdfeas(s.env, s.lp, &dw), 0);
    EXPECT_EQ(pw, kNone);
    EXPECT_EQ(dw, kNone);
    const int n = VLTgetnumcols(s.env, s.lp), m = VLTgetnumrows(s.env, s.lp);
    const lpcheck::model md = lpcheck::from_api(s.env, s.lp);
    // Up to five pivots, each along a nonbasic column's ratio test.
    int pivots = 0;
    for (int j = 0; j < n && pivots < 5; ++j) {
      std::vector<int> cstat(n), rstat(m);
      ASSERT_EQ(VLTgetbase(s.env, s.lp, cstat.data(), rstat.data()), 0);
      if (cstat[j] != 0) continue;
      double r, dj;
      int l, ls, st;
      ASSERT_EQ(VLTpratio(s.env, s.lp, &j, 1, nullptr, nullptr, nullptr, nullptr, &r, &l, &ls, &st), 0);
      if (st != 0 || l == kNone || r > 1e6) continue;
      ASSERT_EQ(VLTgetdj(s.env, s.lp, &dj, j, j), 0);
      double before = cx(s);
      ASSERT_EQ(VLTpivot(s.env, s.lp, j, l, ls), 0);
      ++pivots;
      EXPECT_NEAR(cx(s), before + r * dj, 1e-7 * (1 + std::fabs(before)));
      ASSERT_EQ(VLTcheckpfeas(s.env, s.lp, &pw), 0);
      EXPECT_EQ(pw, kNone);
      // The values of the pivoted basis, checked against the model alone.
      std::vector<double> x(n);
      ASSERT_EQ(VLTgetx(s.env, s.lp, x.data(), 0, n - 1), 0);
      EXPECT_LE(lpcheck::primal_violation(md, x, true), 1e-6);
    }
    EXPECT_GT(pivots, 0);
    ASSERT_EQ(VLTprimopt(s.env, s.lp), 0);
    ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
    EXPECT_NEAR(cx(s), z, tol);
    // Tight rows pivoted in, then the dual simplex from there.
    std::vector<int> cstat(n), rstat(m), rows;
    ASSERT_EQ(VLTgetbase(s.env, s.lp, cstat.data(), rstat.data()), 0);
    for (int i = 0; i < m && rows.size() < 3; ++i)
      if (rstat[i] != 1) rows.push_back(i);
    ASSERT_EQ(VLTpivotin(s.env, s.lp, rows.data(), static_cast<int>(rows.size())), 0);
    ASSERT_EQ(VLTgetbase(s.env, s.lp, cstat.data(), rstat.data()), 0);
    int in = 0;
    for (int i : rows) in += rstat[i] == 1;
    EXPECT_GT(in, 0);
    ASSERT_EQ(VLTprimopt(s.env, s.lp), 0);
    ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
    EXPECT_NEAR(cx(s), z, tol);
  }
  EXPECT_EQ(models, 4);
}
