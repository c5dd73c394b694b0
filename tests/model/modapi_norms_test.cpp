// The norm calls: dual norms read after a solve, loaded with their basis
// into a fresh load of the same model, and used there.
#include <map>

#include "common/dense.h"
#include "fixture.h"

using namespace velto_test;

namespace {

void loadmodel(VLTENVptr env, VLTLPptr lp, int seed) {
  std::mt19937 g(seed);
  Model d = randommodel(g, 12, 8, false, true);
  for (int j = 0; j < d.n; ++j) {  // boxes keep it bounded
    d.lb[j] = -3;
    d.ub[j] = 4;
  }
  ASSERT_EQ(load(env, lp, d), 0);
}

// Largest relative gap between the norms in head form and the squared row
// norms of the inverse of the basis they name, made densely from the matrix.
double normgap(VLTENVptr env, VLTLPptr lp, const std::vector<double> &nn,
               const std::vector<int> &hh) {
  const int m = static_cast<int>(hh.size());
  std::vector<double> b(static_cast<size_t>(m) * m, 0.0), inv;
  for (int k = 0; k < m; ++k) {
    if (hh[k] < 0) {
      b[static_cast<size_t>(-hh[k] - 1) * m + k] = 1.0;  // a logical's sign leaves the norms alone
      continue;
    }
    int nz = 0, beg = 0, surplus = 0;
    std::vector<int> ind(m);
    std::vector<double> val(m);
    EXPECT_EQ(VLTgetcols(env, lp, &nz, &beg, ind.data(), val.data(), m, &surplus, hh[k], hh[k]), 0);
    for (int q = 0; q < nz; ++q) b[static_cast<size_t>(ind[q]) * m + k] = val[q];
  }
  if (!densela::invert(b, m, inv)) return 1e300;
  double gap = 0;
  for (int k = 0; k < m; ++k) {
    double g = 0;
    for (int j = 0; j < m; ++j) g += inv[static_cast<size_t>(k) * m + j] * inv[static_cast<size_t>(k) * m + j];
    gap = std::max(gap, std::fabs(nn[k] - g) / std::max(1.0, g));
  }
  return gap;
}

}  // namespace

TEST_F(StoreTest, NormCallsWithoutNormsOrBasis) {
  loadmodel(env, lp, 3);
  double nn[8];
  int hh[8], len = -1, cs[12], rs[8];
  EXPECT_EQ(VLTgetdnorms(env, lp, nn, hh, &len), 1264);
  EXPECT_EQ(VLTgetbasednorms(env, lp, cs, rs, nn), 1262);
  EXPECT_EQ(VLTgetpnorms(env, lp, nn, nn, &len), 1264);
  EXPECT_EQ(takeErrors(), "VELTO Error  1264: No norms available.\n"
                          "VELTO Error  1262: No basis exists.\n"
                          "VELTO Error  1264: No norms available.\n");
  EXPECT_EQ(VLTcopydnorms(env, lp, nn, hh, -1), 1003);
  EXPECT_EQ(VLTcopydnorms(env, lp, nullptr, hh, 2), 1004);
  takeErrors();
  EXPECT_EQ(VLTkilldnorms(lp), 0);
  EXPECT_EQ(VLTkillpnorms(nullptr), 0);
}

TEST_F(StoreTest, DualNormsCarryABasisIntoAFreshLoad) {
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_PREIND, 0), 0);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_DPRIIND, 2), 0);  // steepest edge
  int solved = 0;
  for (int seed = 1; seed <= 20; ++seed) {
    loadmodel(env, lp, seed);
    ASSERT_EQ(VLTdualopt(env, lp), 0);
    if (VLTgetstat(env, lp) != 1) continue;
    ++solved;
    double z = 0;
    VLTgetobjval(env, lp, &z);
    const int m = VLTgetnumrows(env, lp), n = VLTgetnumcols(env, lp);
    std::vector<double> nn(m), bn(m);
    std::vector<int> hh(m), cs(n), rs(m);
    int len = 0;
    ASSERT_EQ(VLTgetdnorms(env, lp, nn.data(), hh.data(), &len), 0);
    ASSERT_EQ(len, m);
    ASSERT_EQ(VLTgetbasednorms(env, lp, cs.data(), rs.data(), bn.data()), 0);
    // The based form lists the same norms: columns by index, then rows.
    std::map<int, double> byhead;
    for (int k = 0; k < m; ++k) byhead[hh[k]] = nn[k];
    int q = 0;
    for (int j = 0; j < n; ++j)
      if (cs[j] == 1) {
        EXPECT_EQ(bn[q++], byhead.at(j));
      }
    for (int i = 0; i < m; ++i)
      if (rs[i] == 1) {
        EXPECT_EQ(bn[q++], byhead.at(-i - 1));
      }
    ASSERT_EQ(q, m);
    VLTLPptr other = VLTcreateprob(env, nullptr, "other");
    loadmodel(env, other, seed);
    ASSERT_EQ(VLTcopybasednorms(env, other, cs.data(), rs.data(), bn.data()), 0);
    ASSERT_EQ(VLTdualopt(env, other), 0);
    EXPECT_EQ(VLTgetstat(env, other), 1);
    EXPECT_EQ(VLTgetitcnt(env, other), 0) << seed;
    double z2 = 0;
    VLTgetobjval(env, other, &z2);
    EXPECT_NEAR(z, z2, 1e-9 * std::max(1.0, std::fabs(z)));
    // The norms given were the ones used: they read back unchanged.
    std::vector<double> n2(m);
    std::vector<int> h2(m);
    ASSERT_EQ(VLTgetdnorms(env, other, n2.data(), h2.data(), &len), 0);
    for (int k = 0; k < m; ++k) EXPECT_NEAR(n2[k], byhead.at(h2[k]), 1e-12) << seed;
    VLTfreeprob(env, &other);
  }
  EXPECT_GE(solved, 5);
}

// A bound change keeps the steepest-edge norms, and a row added and deleted
// again keeps those of the rest:
// the norms stay exact (checked against a dense inverse), only the new
// row's norm is computed, and the re-solves start without the full
// computation of all norms.
TEST_F(StoreTest, DualNormsOutliveRowsAddedAndDeleted) {
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_PREIND, 0), 0);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_DPRIIND, 2), 0);
  Captured log;
  capturelog(log);
  int checked = 0;
  for (int seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    loadmodel(env, lp, seed);
    ASSERT_EQ(VLTdualopt(env, lp), 0);
    if (VLTgetstat(env, lp) != 1) continue;
    const int m = VLTgetnumrows(env, lp);
    std::vector<double> nn(m + 1);
    std::vector<int> hh(m + 1);
    int len = 0;
    ASSERT_EQ(VLTgetdnorms(env, lp, nn.data(), hh.data(), &len), 0);
    if (*std::max_element(hh.begin(), hh.begin() + m) < 0) continue;  // all logicals
    // A bound change (here to the same value) keeps the basis and its norms.
    {
      int j = 0;
      char lu = 'U';
      double ub = 0;
      ASSERT_EQ(VLTgetub(env, lp, &ub, 0, 0), 0);
      ASSERT_EQ(VLTchgbds(env, lp, 1, &j, &lu, &ub), 0);
      ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 1), 0);
      log.text.clear();
      ASSERT_EQ(VLTdualopt(env, lp), 0);
      ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0), 0);
      EXPECT_EQ(VLTgetitcnt(env, lp), 0);
      EXPECT_EQ(log.text, "Reinitializing dual norms . . .\n");
    }
    // A row that the optimum leaves slack.
    int ind[] = {0, 1};
    double val[] = {1.0, 1.0}, rhs = 1e6;
    char sense = 'L';
    int beg = 0;
    ASSERT_EQ(VLTaddrows(env, lp, 0, 1, 2, &rhs, &sense, &beg, ind, val, nullptr, nullptr), 0);
    std::vector<double> n2(m + 1);
    std::vector<int> h2(m + 1);
    ASSERT_EQ(VLTgetdnorms(env, lp, n2.data(), h2.data(), &len), 0);
    ASSERT_EQ(len, m);  // the old rows' norms, kept with the start
    for (int k = 0; k < m; ++k) {
      EXPECT_EQ(h2[k], hh[k]);
      EXPECT_EQ(n2[k], nn[k]);
    }
    ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 1), 0);
    log.text.clear();
    ASSERT_EQ(VLTdualopt(env, lp), 0);
    EXPECT_EQ(VLTgetstat(env, lp), 1);
    EXPECT_EQ(VLTgetitcnt(env, lp), 0);
    EXPECT_EQ(log.text, "Reinitializing dual norms . . .\nComputed 1 new norms.\n");
    ASSERT_EQ(VLTgetdnorms(env, lp, n2.data(), h2.data(), &len), 0);
    ASSERT_EQ(len, m + 1);
    EXPECT_LT(normgap(env, lp, n2, h2), 1e-9);
    // The row goes again with its slack basic: the others' norms stand.
    ASSERT_EQ(VLTdelrows(env, lp, m, m), 0);
    log.text.clear();
    ASSERT_EQ(VLTdualopt(env, lp), 0);
    EXPECT_EQ(VLTgetstat(env, lp), 1);
    EXPECT_EQ(VLTgetitcnt(env, lp), 0);
    EXPECT_EQ(log.text, "Reinitializing dual norms . . .\n");
    ASSERT_EQ(VLTgetdnorms(env, lp, nn.data(), hh.data(), &len), 0);
    ASSERT_EQ(len, m);
    nn.resize(m);
    hh.resize(m);
    EXPECT_LT(normgap(env, lp, nn, hh), 1e-9);
    ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0), 0);
    ++checked;
  }
  EXPECT_GE(checked, 3);
}

// Changes that keep the basis of the rest as the next start: an added
// column whose cost keeps it out (regression: an added column used to drop
// the basis, and the re-solve started over from the logicals), a matrix
// entry of a basic column or a row sense set again to its value (both drop
// the solution record).  Each re-solve takes 0 iterations to the optimum.
TEST_F(StoreTest, ChangesKeepTheBasisAsTheNextStart) {
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_PREIND, 0), 0);
  int checked = 0;
  for (int seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    loadmodel(env, lp, seed);
    ASSERT_EQ(VLTdualopt(env, lp), 0);
    if (VLTgetstat(env, lp) != 1) continue;
    double z = 0;
    VLTgetobjval(env, lp, &z);
    auto resolved = [&](int (*opt)(VLTENVptr, VLTLPptr)) {
      ASSERT_EQ(opt(env, lp), 0);
      EXPECT_EQ(VLTgetstat(env, lp), 1);
      EXPECT_EQ(VLTgetitcnt(env, lp), 0);
      double z2 = 0;
      VLTgetobjval(env, lp, &z2);
      EXPECT_NEAR(z2, z, 1e-9 * std::max(1.0, std::fabs(z)));
    };
    const double obj = VLTgetobjsen(env, lp) * 1e4, lo = 0, up = 1;
    int beg = 0, ind[] = {0, 2};
    double val[] = {1.0, -1.0};
    ASSERT_EQ(VLTaddcols(env, lp, 1, 2, &obj, &beg, ind, val, &lo, &up, nullptr), 0);
    resolved(VLTdualopt);
    ASSERT_EQ(VLTnewcols(env, lp, 1, &obj, &lo, &up, nullptr, nullptr), 0);
    resolved(VLTprimopt);
    const int m = VLTgetnumrows(env, lp), n = VLTgetnumcols(env, lp);
    std::vector<int> cs(n), rs(m);
    ASSERT_EQ(VLTgetbase(env, lp, cs.data(), rs.data()), 0);
    int j = 0;
    while (j < n && cs[j] != 1) ++j;
    int nz = 0, surplus = 0;
    std::vector<int> rows(m);
    std::vector<double> vals(m);
    if (j < n) {
      ASSERT_EQ(VLTgetcols(env, lp, &nz, &beg, rows.data(), vals.data(), m, &surplus, j, j), 0);
    }
    if (nz > 0) {
      ASSERT_EQ(VLTchgcoef(env, lp, rows[0], j, vals[0]), 0);
      resolved(VLTdualopt);
    }
    char sense = 0;
    int row = 0;
    ASSERT_EQ(VLTgetsense(env, lp, &sense, 0, 0), 0);
    if (sense != 'R') {
      ASSERT_EQ(VLTchgsense(env, lp, 1, &row, &sense), 0);
      resolved(VLTprimopt);
    }
    ++checked;
  }
  EXPECT_GE(checked, 5);
}

// VLTunscaleprob on a model that holds the user's numbers changes nothing:
// the numbers, the basis and the norms stay, and a re-solve is silent with
// 0 iterations (the cut loop calls it before every batch of rows).
TEST_F(StoreTest, UnscaleKeepsAModelInUserNumbersAsItIs) {
  EXPECT_EQ(VLTunscaleprob(nullptr, lp), 1002);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_PREIND, 0), 0);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_DPRIIND, 2), 0);
  for (int seed = 1; seed < 20; ++seed) {
    loadmodel(env, lp, seed);
    ASSERT_EQ(VLTdualopt(env, lp), 0);
    if (VLTgetstat(env, lp) == 1) break;
  }
  ASSERT_EQ(VLTgetstat(env, lp), 1);
  const int n = VLTgetnumcols(env, lp);
  std::vector<double> before(n), after(n);
  ASSERT_EQ(VLTgetobj(env, lp, before.data(), 0, n - 1), 0);
  ASSERT_EQ(VLTunscaleprob(env, lp), 0);
  ASSERT_EQ(VLTgetobj(env, lp, after.data(), 0, n - 1), 0);
  EXPECT_EQ(before, after);
  EXPECT_EQ(VLTgetstat(env, lp), 1);
  Captured log;
  capturelog(log);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 1), 0);
  ASSERT_EQ(VLTdualopt(env, lp), 0);
  EXPECT_EQ(VLTgetitcnt(env, lp), 0);
  EXPECT_EQ(log.text, "");
}
