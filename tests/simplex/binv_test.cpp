// Read-only basis calls against dense linear algebra on small models: the
// basis matrix is rebuilt from the head the library reports and inverted
// here by Gauss-Jordan elimination.
#include <gtest/gtest.h>

#include <random>

#include "common/dense.h"
#include "simplex/dual_apicheck.h"

using namespace dualtest;

namespace {

struct session {
  VLTENVptr env = nullptr;
  VLTLPptr lp = nullptr;
  session() {
    int st = 0;
    env = VLTopenVELTO(&st);
    lp = VLTcreateprob(env, &st, "b");
  }
  ~session() {
    VLTfreeprob(env, &lp);
    VLTcloseVELTO(&env);
  }
};

// Random model with rows of senses L, G, E and a feasible point.
void load_random(session &s, std::mt19937 &g, int m, int n) {
  std::uniform_real_distribution<double> u(-1, 1);
  std::vector<int> beg, cnt, ind;
  std::vector<double> val, obj(n), lb(n, 0.0), ub(n), rhs(m, 0.0);
  std::vector<char> sense(m);
  std::vector<double> x0(n);
  for (int j = 0; j < n; ++j) {
    x0[j] = 1 + std::fabs(u(g));
    obj[j] = u(g) * 5;
    ub[j] = 5;
    beg.push_back(static_cast<int>(ind.size()));
    for (int i = 0; i < m; ++i)
      if (std::fabs(u(g)) < 0.5 || i == j % m) {
        ind.push_back(i);
        val.push_back(std::round(u(g) * 40) / 10 + (i == j % m ? 5 : 0));
        rhs[i] += val.back() * x0[j];
      }
    cnt.push_back(static_cast<int>(ind.size()) - beg.back());
  }
  const char senses[] = {'L', 'G', 'E'};
  for (int i = 0; i < m; ++i) {
    sense[i] = senses[i % 3];
    if (sense[i] == 'L') rhs[i] += 1;
    if (sense[i] == 'G') rhs[i] -= 1;
  }
  ASSERT_EQ(VLTcopylp(s.env, s.lp, n, m, 1, obj.data(), rhs.data(), sense.data(), beg.data(),
                      cnt.data(), ind.data(), val.data(), lb.data(), ub.data(), nullptr),
            0);
}

using densela::invert;

}  // namespace

TEST(BinvCalls, AgreeWithDenseInverseOfTheReportedBasis) {
  std::mt19937 g(31);
  for (int t = 0; t < 12; ++t) {
    SCOPED_TRACE(t);
    session s;
    int m = 4 + t % 6, n = 6 + t;
    load_random(s, g, m, n);
    ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
    ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
    model md = api_model(s.env, s.lp);
    std::vector<int> head(m);
    std::vector<double> xb(m);
    ASSERT_EQ(VLTgetbhead(s.env, s.lp, head.data(), xb.data()), 0);
    // B: structural columns, and e_i for the slack of row i.
    std::vector<double> B(static_cast<size_t>(m) * m, 0.0), inv;
    for (int k = 0; k < m; ++k) {
      if (head[k] >= 0) {
        for (auto &e : md.cols[head[k]]) B[e.first * m + k] = e.second;
      } else {
        B[(-head[k] - 1) * m + k] = 1.0;
      }
    }
    ASSERT_TRUE(invert(B, m, inv));
    // Basic values against the solution.
    std::vector<double> x(n), slack(m);
    VLTgetx(s.env, s.lp, x.data(), 0, n - 1);
    VLTgetslack(s.env, s.lp, slack.data(), 0, m - 1);
    for (int k = 0; k < m; ++k)
      EXPECT_NEAR(xb[k], head[k] >= 0 ? x[head[k]] : slack[-head[k] - 1], 1e-9);
    std::vector<double> v(m), z(n);
    for (int i = 0; i < m; ++i) {
      ASSERT_EQ(VLTbinvrow(s.env, s.lp, i, v.data()), 0);
      for (int k = 0; k < m; ++k) EXPECT_NEAR(v[k], inv[i * m + k], 1e-9);
      ASSERT_EQ(VLTbinvcol(s.env, s.lp, i, v.data()), 0);
      for (int k = 0; k < m; ++k) EXPECT_NEAR(v[k], inv[k * m + i], 1e-9);
      ASSERT_EQ(VLTbinvarow(s.env, s.lp, i, z.data()), 0);
      for (int j = 0; j < n; ++j) {
        double want = 0;
        for (auto &e : md.cols[j]) want += inv[i * m + e.first] * e.second;
        EXPECT_NEAR(z[j], want, 1e-9);
      }
    }
    std::vector<double> grad(m);
    std::vector<int> ghead(m);
    for (int j = 0; j < n; ++j) {
      ASSERT_EQ(VLTbinvacol(s.env, s.lp, j, v.data()), 0);
      ASSERT_EQ(VLTgetgrad(s.env, s.lp, j, j % 2 ? ghead.data() : nullptr, grad.data()), 0);
      for (int k = 0; k < m; ++k) {
        double want = 0;
        for (auto &e : md.cols[j]) want += inv[k * m + e.first] * e.second;
        EXPECT_NEAR(v[k], want, 1e-9);
        EXPECT_NEAR(grad[k], want, 1e-9);
      }
      if (j % 2) {
        EXPECT_EQ(ghead, head);
      }
    }
    // Solves with an arbitrary right side.
    std::vector<double> r(m), y(m);
    for (int i = 0; i < m; ++i) r[i] = y[i] = i - 1.5;
    ASSERT_EQ(VLTftran(s.env, s.lp, r.data()), 0);
    ASSERT_EQ(VLTbtran(s.env, s.lp, y.data()), 0);
    for (int k = 0; k < m; ++k) {
      double fw = 0, bw = 0;
      for (int i = 0; i < m; ++i) {
        fw += inv[k * m + i] * (i - 1.5);
        bw += inv[i * m + k] * (i - 1.5);
      }
      EXPECT_NEAR(r[k], fw, 1e-9);
      EXPECT_NEAR(y[k], bw, 1e-9);
    }
  }
}

TEST(BinvCalls, ArgumentAndStateErrors) {
  session s;
  std::mt19937 g(1);
  load_random(s, g, 3, 5);
  double v[8];
  int h[3];
  EXPECT_EQ(VLTbinvrow(s.env, s.lp, 0, v), 1258);
  EXPECT_EQ(VLTgetgrad(s.env, s.lp, 0, h, v), 1258);
  EXPECT_EQ(VLTgetbhead(s.env, s.lp, h, v), 1217);
  EXPECT_EQ(VLTdualfarkas(s.env, s.lp, v, nullptr), 1265);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  EXPECT_EQ(VLTbinvrow(s.env, s.lp, 3, v), 1200);
  EXPECT_EQ(VLTbinvcol(s.env, s.lp, -1, v), 1200);
  EXPECT_EQ(VLTbinvacol(s.env, s.lp, 5, v), 1200);
  EXPECT_EQ(VLTgetgrad(s.env, s.lp, 5, h, v), 1200);
  EXPECT_EQ(VLTgetgrad(s.env, s.lp, 0, h, nullptr), 1004);
  EXPECT_EQ(VLTbinvrow(s.env, s.lp, 0, nullptr), 1004);
  EXPECT_EQ(VLTgetray(s.env, s.lp, v), 1217);
  EXPECT_EQ(VLTdualfarkas(s.env, s.lp, v, nullptr), 1265);
  // A model change drops the basis.
  int j = 0;
  char lu = 'U';
  double bd = 4;
  ASSERT_EQ(VLTchgbds(s.env, s.lp, 1, &j, &lu, &bd), 0);
  EXPECT_EQ(VLTbinvrow(s.env, s.lp, 0, v), 1258);
}

TEST(BinvCalls, FarkasProofAndRayAreIndependentlyValid) {
  {
    // x + y >= 5 and x - y = 0 with x, y in [0, 2]: infeasible.
    session s;
    double obj[] = {1, 1}, rhs[] = {5, 0}, lb[] = {0, 0}, ub[] = {2, 2};
    double val[] = {1, 1, 1, -1};
    char sense[] = {'G', 'E'};
    int beg[] = {0, 2}, cnt[] = {2, 2}, ind[] = {0, 1, 0, 1};
    ASSERT_EQ(VLTcopylp(s.env, s.lp, 2, 2, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
    ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
    ASSERT_EQ(VLTgetstat(s.env, s.lp), 3);
    model md = api_model(s.env, s.lp);
    std::vector<double> y(2);
    double proof = 0;
    ASSERT_EQ(VLTdualfarkas(s.env, s.lp, y.data(), &proof), 0);
    EXPECT_GE(y[0], 0.0);  // a 'G' row takes a non-negative multiplier
    EXPECT_GT(farkas_gap(md, y), 0.5);
    EXPECT_NEAR(proof, farkas_gap(md, y), 1e-9);
    double z[2];
    EXPECT_EQ(VLTgetray(s.env, s.lp, z), 1217);
  }
  {
    // max x + 2y, x - y <= 1, x + y >= 1: unbounded.
    session s;
    double obj[] = {1, 2}, rhs[] = {1, 1}, lb[] = {0, 0}, ub[] = {1e20, 1e20};
    double val[] = {1, 1, -1, 1};
    char sense[] = {'L', 'G'};
    int beg[] = {0, 2}, cnt[] = {2, 2}, ind[] = {0, 1, 0, 1};
    ASSERT_EQ(VLTcopylp(s.env, s.lp, 2, 2, -1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
    ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
    ASSERT_EQ(VLTgetstat(s.env, s.lp), 2);
    model md = api_model(s.env, s.lp);
    std::vector<double> z(2);
    ASSERT_EQ(VLTgetray(s.env, s.lp, z.data()), 0);
    double cr = 0;
    EXPECT_LE(ray_violation(md, z, &cr), 1e-12);
    EXPECT_LT(cr, 0.0);  // improves the maximization
  }
}
