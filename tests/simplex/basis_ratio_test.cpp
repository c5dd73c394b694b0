// Ratio tests, leave estimates and weights of the basis calls against the
// same computations done densely here from the basis the library reports.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "simplex/basis_util.h"

using namespace basistest;

namespace {

constexpr double kBig = 1e75;
constexpr int kNone = 2100000000;

bool finite(double b) { return std::fabs(b) < 1e17; }

struct Expected {
  bool flip = false, unbounded = false;
  double tmin = kBig;   // smallest blocking ratio
  double range = kBig;
  std::vector<double> ratio;  // per position, kBig when it does not block
};

// Primal ratio test done by hand: variable v moves by sigma * t.
Expected primal_by_hand(const Dense &d, const Basis &b, int v, int sigma) {
  Expected e;
  std::vector<double> alpha = b.ftran(v);
  e.ratio.assign(d.m, kBig);
  for (int k = 0; k < d.m; ++k) {
    double a = sigma * alpha[k];
    int h = b.head[k];
    double x = b.x[h];
    if (a > 1e-9 && finite(d.varlb(h))) e.ratio[k] = std::max(0.0, (x - d.varlb(h)) / a);
    if (a < -1e-9 && finite(d.varub(h))) e.ratio[k] = std::max(0.0, (d.varub(h) - x) / -a);
    e.tmin = std::min(e.tmin, e.ratio[k]);
  }
  double bound = sigma > 0 ? d.varub(v) : d.varlb(v);
  if (finite(bound)) e.range = std::fabs(bound - b.x[v]);
  e.flip = e.range <= e.tmin;
  e.unbounded = e.tmin >= kBig && e.range >= kBig;
  return e;
}

// Dual ratios by hand for the basic variable at position r moving by sigma:
// the objective change per unit, per entering candidate (kBig when none).
std::vector<double> dual_by_hand(const Dense &d, const Basis &b, int r, int sigma) {
  std::vector<double> row = b.tabrow(r);
  const int nt = d.n + d.m;
  std::vector<double> rate(nt, kBig);
  for (int j = 0; j < nt; ++j) {
    if (b.pos[j] >= 0 || d.varlb(j) == d.varub(j)) continue;
    double a = row[j];
    if (std::fabs(a) <= 1e-9) continue;
    bool canup = b.x[j] < d.varub(j) - 1e-9, candown = b.x[j] > d.varlb(j) + 1e-9;
    // x_r changes by -a * dx_j.
    if (canup && a * sigma < 0) rate[j] = std::min(rate[j], b.dj[j] / std::fabs(a));
    if (candown && a * sigma > 0) rate[j] = std::min(rate[j], -b.dj[j] / std::fabs(a));
  }
  return rate;
}

// Engine direction in the user's terms: a column moves itself; for a slack
// the direction names the row activity, which moves against the slack.
int user_sigma(const Dense &d, int v, int up) {
  int s = up ? 1 : -1;
  return v < d.n ? s : -s;
}

struct Solved {
  Session s;
  Dense d;
  Basis b;
};

// A random model with an optimum (a few draws may be unbounded).
bool solve_random(Solved &t, std::mt19937 &g, int m, int n) {
  for (int tries = 0; tries < 10; ++tries) {
    t.d = random_model(g, m, n);
    if (t.d.load(t.s) != 0) return false;
    if (VLTdualopt(t.s.env, t.s.lp) != 0) return false;
    if (VLTgetstat(t.s.env, t.s.lp) == 1) return t.b.build(t.s, t.d);
  }
  return false;
}

}  // namespace

TEST(BasisRatio, PrimalRatioMatchesDenseTestInBothDirections) {
  std::mt19937 g(7);
  int checked = 0, flips = 0, pivots = 0;
  for (int t = 0; t < 10; ++t) {
    SCOPED_TRACE(t);
    Solved sv;
    ASSERT_TRUE(solve_random(sv, g, 4 + t % 5, 6 + t));
    const Dense &d = sv.d;
    std::vector<int> list;
    for (int v = 0; v < d.n + d.m; ++v)
      if (sv.b.pos[v] < 0 && d.varlb(v) != d.varub(v)) list.push_back(user_index(d, v));
    const int cnt = static_cast<int>(list.size());
    std::vector<double> dr(cnt), ur(cnt);
    std::vector<int> dl(cnt), dls(cnt), ds(cnt), ul(cnt), uls(cnt), us(cnt);
    ASSERT_EQ(VLTpratio(sv.s.env, sv.s.lp, list.data(), cnt, dr.data(), dl.data(), dls.data(),
                        ds.data(), ur.data(), ul.data(), uls.data(), us.data()),
              0);
    for (int k = 0; k < cnt; ++k) {
      int v = var_of(d, list[k]);
      for (int up = 0; up < 2; ++up) {
        SCOPED_TRACE(testing::Message() << "var " << list[k] << " up " << up);
        Expected e = primal_by_hand(d, sv.b, v, user_sigma(d, v, up));
        double ratio = up ? ur[k] : dr[k];
        int leave = up ? ul[k] : dl[k], stat = up ? us[k] : ds[k];
        if (std::fabs(e.range - e.tmin) < 1e-4) continue;  // too close to call
        ++checked;
        if (e.unbounded) {
          EXPECT_EQ(stat, 2);
          EXPECT_EQ(leave, kNone);
        } else if (e.flip) {
          ++flips;
          EXPECT_EQ(stat, 0);
          EXPECT_EQ(leave, kNone);
          EXPECT_NEAR(ratio, e.range, 1e-7);
        } else {
          ++pivots;
          ASSERT_EQ(stat, 0);
          ASSERT_NE(leave, kNone);
          int r = sv.b.pos[var_of(d, leave)];
          ASSERT_GE(r, 0);
          // The chosen variable blocks, at its own ratio, within the
          // Harris tolerance of the smallest.
          EXPECT_NEAR(ratio, e.ratio[r], 1e-7);
          EXPECT_LE(ratio, e.tmin + 1e-5);
        }
      }
    }
  }
  EXPECT_GT(pivots, 20);
  EXPECT_GT(flips, 5);
  EXPECT_GT(checked, 60);
}

TEST(BasisRatio, DualRatioAndLeaveEstimatesMatchDenseRow) {
  std::mt19937 g(11);
  int checked = 0;
  for (int t = 0; t < 10; ++t) {
    SCOPED_TRACE(t);
    Solved sv;
    ASSERT_TRUE(solve_random(sv, g, 4 + t % 5, 6 + t));
    const Dense &d = sv.d;
    const int cnt = d.m;
    std::vector<int> list(cnt);
    for (int k = 0; k < cnt; ++k) list[k] = sv.b.headuser[k];
    std::vector<double> dr(cnt), ur(cnt), md(cnt), mu(cnt);
    std::vector<int> dl(cnt), dls(cnt), ds(cnt), ul(cnt), uls(cnt), us(cnt);
    ASSERT_EQ(VLTdratio(sv.s.env, sv.s.lp, list.data(), cnt, dr.data(), dl.data(), dls.data(),
                        ds.data(), ur.data(), ul.data(), uls.data(), us.data()),
              0);
    ASSERT_EQ(VLTmdleave(sv.s.env, sv.s.lp, list.data(), cnt, md.data(), mu.data()), 0);
    for (int k = 0; k < cnt; ++k) {
      int v = var_of(d, list[k]);
      int r = sv.b.pos[v];
      for (int up = 0; up < 2; ++up) {
        SCOPED_TRACE(testing::Message() << "var " << list[k] << " up " << up);
        std::vector<double> rate = dual_by_hand(d, sv.b, r, user_sigma(d, v, up));
        double best = *std::min_element(rate.begin(), rate.end());
        double est = up ? mu[k] : md[k];
        ++checked;
        if (best >= kBig) {
          EXPECT_EQ(up ? us[k] : ds[k], 2);
          EXPECT_EQ(up ? ul[k] : dl[k], kNone);
          EXPECT_GE(est, kBig);
          continue;
        }
        EXPECT_NEAR(est, std::max(0.0, best), 1e-7 * (1 + best));
        ASSERT_EQ(up ? us[k] : ds[k], 0);
        int enter = up ? ul[k] : dl[k];
        ASSERT_NE(enter, kNone);
        int j = var_of(d, enter);
        EXPECT_LT(rate[j], kBig);
        EXPECT_NEAR(up ? ur[k] : dr[k], rate[j], 1e-7 * (1 + rate[j]));
        EXPECT_LE(up ? ur[k] : dr[k], best + 1e-5);
      }
    }
  }
  EXPECT_GT(checked, 80);
}

TEST(BasisRatio, WeightsOfNewRowsMatchDenseBtran) {
  std::mt19937 g(5);
  for (int t = 0; t < 6; ++t) {
    SCOPED_TRACE(t);
    Solved sv;
    ASSERT_TRUE(solve_random(sv, g, 5 + t, 8 + t));
    const Dense &d = sv.d;
    std::uniform_real_distribution<double> u(-2, 2);
    const int rcnt = 4;
    std::vector<int> beg{0}, ind;
    std::vector<double> val;
    for (int r = 0; r < rcnt; ++r) {
      for (int j = 0; j < d.n; ++j)
        if ((j + r) % 2 == 0) {
          ind.push_back(j);
          val.push_back(std::round(u(g) * 10) / 10 + 0.05);
        }
      if (r == 1) {  // an index past the structurals is skipped
        ind.push_back(d.n + 3);
        val.push_back(9.0);
      }
      beg.push_back(static_cast<int>(ind.size()));
    }
    std::vector<double> w2(rcnt), w3(rcnt);
    ASSERT_EQ(VLTgetweight(sv.s.env, sv.s.lp, rcnt, beg.data(), ind.data(), val.data(), w2.data(), 2), 0);
    ASSERT_EQ(VLTgetweight(sv.s.env, sv.s.lp, rcnt, beg.data(), ind.data(), val.data(), w3.data(), 3), 0);
    const int m = d.m;
    for (int r = 0; r < rcnt; ++r) {
      std::vector<double> row(d.n, 0.0), uvec(m, 0.0), y(m, 0.0);
      for (int k = beg[r]; k < beg[r + 1]; ++k)
        if (ind[k] < d.n) row[ind[k]] += val[k];
      for (int j = 0; j < d.n; ++j)
        if (sv.b.pos[j] >= 0) uvec[sv.b.pos[j]] = row[j];
      for (int i = 0; i < m; ++i)
        for (int k = 0; k < m; ++k) y[i] += sv.b.Binv[k * m + i] * uvec[k];
      double e2 = 0.0;
      for (double v : y) e2 += v * v;
      double e3 = e2;
      for (int j = 0; j < d.n; ++j) {
        if (sv.b.pos[j] >= 0) continue;
        double t3 = row[j];
        for (int i = 0; i < m; ++i) t3 -= y[i] * d.a(i, j);
        e3 += t3 * t3;
      }
      EXPECT_NEAR(w2[r], e2, 1e-8 * (1 + e2));
      EXPECT_NEAR(w3[r], e3, 1e-8 * (1 + e3));
      EXPECT_GE(w3[r], w2[r]);
    }
  }
}

// A slack's direction names the row's activity: on an 'L' row at its bound
// the activity can only fall, so "down" moves and "up" is a zero flip.
TEST(BasisRatio, SlackDirectionFollowsTheRowActivity) {
  Session s;
  // min -x - y  s.t.  x + y <= 4 (c0), x <= 3 (c1);  0 <= x, y <= 10.
  Dense d;
  d.m = 2;
  d.n = 2;
  d.A = {1, 1, 1, 0};
  d.c = {-1, -2};
  d.lb = {0, 0};
  d.ub = {10, 10};
  d.rhs = {4, 3};
  d.sense = {'L', 'L'};
  ASSERT_EQ(d.load(s), 0);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
  // Optimum y = 4, x = 0; the slack of c0 is nonbasic at 0.
  int list[1] = {-1};
  double dr, ur;
  int dl, dls, ds, ul, uls, us;
  ASSERT_EQ(VLTpratio(s.env, s.lp, list, 1, &dr, &dl, &dls, &ds, &ur, &ul, &uls, &us), 0);
  EXPECT_EQ(us, 0);
  EXPECT_EQ(ul, kNone);
  EXPECT_DOUBLE_EQ(ur, 0.0);
  // Lowering the activity of c0 drives y down to 0 after 4 units.
  EXPECT_EQ(ds, 0);
  EXPECT_EQ(dl, 1);
  EXPECT_NEAR(dr, 4.0, 1e-12);
  EXPECT_EQ(dls, 0);
}
