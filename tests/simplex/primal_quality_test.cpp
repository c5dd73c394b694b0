// Condition of the basis through the public calls: the estimate and the
// exact number against a dense computation of ||B||inf ||B^-1||inf from
// the model and the basis read back.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "velto.h"
#include "common/session.h"

namespace {

class PrimalQuality : public ::testing::Test, protected velto_test::session {
 protected:
  PrimalQuality() : session("kappa") {}
  void SetUp() override {
    ASSERT_NE(env, nullptr);
    VLTsetintparam(env, VLT_PARAM_PREIND, 0);
  }

  // Loads max c'x over rows given densely ('L' rows unless told), x >= 0.
  void load(int m, int n, const std::vector<double> &A, const std::vector<double> &rhs,
            const std::vector<double> &c, char rowsense = 'L') {
    std::vector<int> beg(n), cnt(n), ind;
    std::vector<double> val;
    for (int j = 0; j < n; ++j) {
      beg[j] = (int)ind.size();
      for (int i = 0; i < m; ++i)
        if (A[i * n + j] != 0.0) {
          ind.push_back(i);
          val.push_back(A[i * n + j]);
        }
      cnt[j] = (int)ind.size() - beg[j];
    }
    std::vector<char> sense(m, rowsense);
    std::vector<double> lb(n, 0.0), ub(n, 1e20);
    ASSERT_EQ(VLTcopylp(env, lp, n, m, -1, c.data(), rhs.data(), sense.data(), beg.data(),
                        cnt.data(), ind.data(), val.data(), lb.data(), ub.data(), nullptr),
              0);
  }

  // ||B||inf ||B^-1||inf of the basis in the solution, by dense Gauss-Jordan.
  double dense_kappa(int m, int n, const std::vector<double> &A) {
    std::vector<int> cstat(n), rstat(m);
    EXPECT_EQ(VLTgetbase(env, lp, cstat.data(), rstat.data()), 0);
    std::vector<std::vector<double>> B(m, std::vector<double>(m, 0.0));
    int k = 0;
    for (int j = 0; j < n; ++j)
      if (cstat[j] == 1) {
        for (int i = 0; i < m; ++i) B[i][k] = A[i * n + j];
        ++k;
      }
    for (int i = 0; i < m; ++i)
      if (rstat[i] == 1) B[i][k++] = 1.0;
    EXPECT_EQ(k, m);
    double nb = 0.0;
    for (int i = 0; i < m; ++i) {
      double s = 0.0;
      for (int c = 0; c < m; ++c) s += std::fabs(B[i][c]);
      nb = std::max(nb, s);
    }
    std::vector<std::vector<double>> I(m, std::vector<double>(m, 0.0));
    for (int i = 0; i < m; ++i) I[i][i] = 1.0;
    for (int c = 0; c < m; ++c) {
      int p = c;
      for (int i = c + 1; i < m; ++i)
        if (std::fabs(B[i][c]) > std::fabs(B[p][c])) p = i;
      std::swap(B[c], B[p]);
      std::swap(I[c], I[p]);
      double d = B[c][c];
      for (int t = 0; t < m; ++t) {
        B[c][t] /= d;
        I[c][t] /= d;
      }
      for (int i = 0; i < m; ++i)
        if (i != c && B[i][c] != 0.0) {
          double f = B[i][c];
          for (int t = 0; t < m; ++t) {
            B[i][t] -= f * B[c][t];
            I[i][t] -= f * I[c][t];
          }
        }
    }
    double ni = 0.0;
    for (int i = 0; i < m; ++i) {
      double s = 0.0;
      for (int c = 0; c < m; ++c) s += std::fabs(I[i][c]);
      ni = std::max(ni, s);
    }
    return nb * ni;
  }
};

TEST_F(PrimalQuality, SlackBasisHasConditionOne) {
  load(2, 2, {1, 2, 3, 1}, {4, 5}, {1, 1});
  VLTsetintparam(env, VLT_PARAM_ITLIM, 0);
  VLTsetintparam(env, VLT_PARAM_CRAIND, 0);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  EXPECT_EQ(VLTgetstat(env, lp), 10);
  EXPECT_DOUBLE_EQ(VLTgetkappa(env, lp), 1.0);
  EXPECT_DOUBLE_EQ(VLTgetExactkappa(env, lp), 1.0);
}

TEST_F(PrimalQuality, OptimalBasisMatchesDenseComputation) {
  // Optimal basis holds all three structurals and the slack of row 3.
  const std::vector<double> A = {2, 1, 1,   //
                                 1, 3, 2,   //
                                 2, 1, 4,   //
                                 1, 1, 1};
  load(4, 3, A, {10, 15, 20, 100}, {3, 2, 4});
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  ASSERT_EQ(VLTgetstat(env, lp), 1);
  double ref = dense_kappa(4, 3, A);
  double exact = VLTgetExactkappa(env, lp);
  double est = VLTgetkappa(env, lp);
  EXPECT_NEAR(exact, ref, 1e-9 * ref);
  // The estimate is a lower bound of the exact number, and close to it.
  EXPECT_LE(est, exact * (1 + 1e-12));
  EXPECT_GE(est, exact / 4);
}

TEST_F(PrimalQuality, IllConditionedBasisGivesALargeEstimate) {
  // Two equality rows with one point in common; the basis of both
  // columns is triangular with a large off-diagonal entry M and has the
  // condition (1 + M)^2.
  const double M = 1e6;
  const std::vector<double> A = {1, M, 0, 1};
  load(2, 2, A, {M + 1, 1}, {1, 1.5}, 'E');
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  std::vector<int> cstat(2), rstat(2);
  ASSERT_EQ(VLTgetbase(env, lp, cstat.data(), rstat.data()), 0);
  ASSERT_EQ(cstat[0], 1);
  ASSERT_EQ(cstat[1], 1);
  double ref = dense_kappa(2, 2, A);
  double exact = VLTgetExactkappa(env, lp);
  double est = VLTgetkappa(env, lp);
  EXPECT_NEAR(ref, (1 + M) * (1 + M), 1e-6 * ref);
  EXPECT_NEAR(exact, ref, 1e-3 * ref);
  EXPECT_GE(est, exact / 4);
}

TEST_F(PrimalQuality, ErrorsWithoutASolutionOrHandle) {
  load(2, 2, {1, 2, 3, 1}, {4, 5}, {1, 1});
  EXPECT_EQ(VLTgetkappa(env, lp), -1.0);
  EXPECT_NE(errors.find("VELTO Error  1217: No solution exists"), std::string::npos) << errors;
  errors.clear();
  EXPECT_EQ(VLTgetExactkappa(env, lp), -1.0);
  EXPECT_NE(errors.find("VELTO Error  1217"), std::string::npos) << errors;
  EXPECT_EQ(VLTgetkappa(nullptr, lp), -1.0);
  EXPECT_EQ(VLTgetkappa(env, nullptr), -1.0);
}

}  // namespace
