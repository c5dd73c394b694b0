// Rounding cuts, flow covers and Gomory cuts: every cut checked valid on
// every integer point of its row or model (the continuous part of a row
// maximized exactly for each integer assignment), violated at the point it
// was asked to separate, and found where the textbook says it must be; the
// cut loop with these families gives the enumerated optimum and prints the
// count of each family's rows.
#include <cmath>
#include <functional>
#include <random>

#include "mip/mipcuts.h"
#include "mip/mipmir.h"
#include "mipfix.h"

namespace miptest {
namespace {

using namespace velto;

// max c'z subject to a'z <= b and lo <= z <= hi (finite boxes), exactly,
// through the one-multiplier dual; -1e300 when infeasible.
double maxlp(const std::vector<double> &c, const std::vector<double> &a, double b,
             const std::vector<double> &lo, const std::vector<double> &hi) {
  double amin = 0.0;
  for (size_t i = 0; i < a.size(); ++i) amin += std::min(a[i] * lo[i], a[i] * hi[i]);
  if (amin > b + 1e-12) return -1e300;
  std::vector<double> lams = {0.0};
  for (size_t i = 0; i < a.size(); ++i)
    if (a[i] != 0.0 && c[i] / a[i] > 0.0) lams.push_back(c[i] / a[i]);
  double best = 1e300;
  for (double l : lams) {
    double v = l * b;
    for (size_t i = 0; i < a.size(); ++i) {
      double r = c[i] - l * a[i];
      v += std::max(r * lo[i], r * hi[i]);
    }
    best = std::min(best, v);
  }
  return best;
}

// A row sum a x <= rhs over integer columns (boxes [lb, ub]) and continuous
// ones, some of which have a variable upper bound x <= ub * y on a binary.
struct mixrow {
  int n = 0;
  std::vector<double> a, lb, ub, x;
  std::vector<char> type;
  std::vector<int> link;
  double rhs = 0.0;
  mircols cols() const {
    mircols w;
    w.lb = lb.data(), w.ub = ub.data(), w.x = x.data(), w.type = type.data();
    w.link = link.data();
    return w;
  }
  // Largest excess of the cut over its rhs at a point of the row's set;
  // points counts the integer assignments that admit a point.
  double worst(const mircut &cut, int *points) const {
    std::vector<int> ints, conts;
    for (int j = 0; j < n; ++j) (type[j] == 'C' ? conts : ints).push_back(j);
    std::vector<double> cc(n, 0.0);
    for (size_t k = 0; k < cut.ind.size(); ++k) cc[cut.ind[k]] += cut.val[k];
    std::vector<double> v(n, 0.0);
    double worst = -1e300;
    *points = 0;
    std::function<void(size_t)> rec = [&](size_t p) {
      if (p < ints.size()) {
        int j = ints[p];
        for (double t = lb[j]; t <= ub[j] + 1e-9; t += 1.0) v[j] = t, rec(p + 1);
        return;
      }
      double b = rhs, lhs = 0.0;
      for (int j : ints) b -= a[j] * v[j], lhs += cc[j] * v[j];
      std::vector<double> c, ac, lo, hi;
      for (int j : conts) {
        c.push_back(cc[j]), ac.push_back(a[j]), lo.push_back(lb[j]);
        hi.push_back(link[j] >= 0 ? ub[j] * v[link[j]] : ub[j]);
      }
      double m = maxlp(c, ac, b, lo, hi);
      if (m < -1e299) return;
      ++*points;
      worst = std::max(worst, lhs + m - cut.rhs);
    };
    rec(0);
    return worst;
  }
  double activity(const mircut &cut) const {
    double s = 0.0;
    for (size_t k = 0; k < cut.ind.size(); ++k) s += cut.val[k] * x[cut.ind[k]];
    return s;
  }
};

// Random rows: general integers in [0, 3], binaries, continuous columns in
// [0, U] with or without a binary switch; flows: continuous columns are all
// capacitated and non-negative.  The point lies in the row's LP box.
mixrow randomrow(std::mt19937 &g, bool flows) {
  std::uniform_real_distribution<double> u(0.0, 1.0);
  mixrow r;
  int ni = 2 + static_cast<int>(g() % 3), nc = 1 + static_cast<int>(g() % 3);
  int nb = flows ? nc : 0;
  r.n = ni + nc + nb;
  for (int j = 0; j < r.n; ++j) {
    bool cont = j >= ni && j < ni + nc;
    bool bin = j >= ni + nc || (!cont && g() % 2 == 0);
    r.type.push_back(cont ? 'C' : 'I');
    r.lb.push_back(0.0);
    r.ub.push_back(cont ? static_cast<double>(1 + g() % 6) : bin ? 1.0 : 3.0);
    double c = static_cast<double>(1 + g() % 9) * (u(g) < 0.5 ? 0.5 : 1.0);
    r.a.push_back(g() % 4 == 0 ? -c : c);
    r.link.push_back(-1);
  }
  for (int k = 0; k < nb; ++k) r.link[ni + k] = ni + nc + k;
  if (!flows)
    for (int j = ni; j < ni + nc; ++j)
      if (g() % 2 == 0) {
        int b = -1;
        for (int k = 0; k < ni; ++k)
          if (r.ub[k] == 1.0) b = k;
        r.link[j] = b;
      }
  double pos = 0.0;
  for (int j = 0; j < r.n; ++j) pos += std::max(0.0, r.a[j]) * r.ub[j];
  r.rhs = std::floor(pos * (0.2 + 0.5 * u(g))) + (g() % 2 ? 0.5 : 0.0);
  // a point in the box (variable bounds kept) on the row
  r.x.assign(r.n, 0.0);
  for (int tries = 0; tries < 50; ++tries) {
    double act = 0.0;
    for (int j = 0; j < r.n; ++j) r.x[j] = r.ub[j] * u(g);
    for (int j = 0; j < r.n; ++j)
      if (r.link[j] >= 0) r.x[j] = std::min(r.x[j], r.ub[j] * r.x[r.link[j]]);
    for (int j = 0; j < r.n; ++j) act += r.a[j] * r.x[j];
    if (act <= r.rhs) break;
  }
  return r;
}

using separator = bool (*)(const mircols &, int, double, const int *, const double *, double,
                           mircut &);

// Runs a separator over many random rows: each cut holds on the row's set
// and is violated at the point; returns how many cuts were found.
int sweep(separator sep, bool flows, double minviol, int trials, const char *what) {
  std::mt19937 g(flows ? 11 : 17);
  int found = 0;
  for (int t = 0; t < trials && !::testing::Test::HasFailure(); ++t) {
    mixrow r = randomrow(g, flows);
    std::vector<int> cols(r.n);
    for (int j = 0; j < r.n; ++j) cols[j] = j;
    mircut cut;
    if (!sep(r.cols(), r.n, r.rhs, cols.data(), r.a.data(), minviol, cut)) continue;
    ++found;
    int points = 0;
    double excess = r.worst(cut, &points);
    EXPECT_LE(excess, 1e-7) << what << " trial " << t << ": the cut removes a point of the row";
    EXPECT_GT(r.activity(cut) - cut.rhs, 1e-4) << what << " trial " << t << ": not violated";
  }
  return found;
}

TEST(MirCuts, RoundingCutsHoldOnEveryPointOfTheirRowAndCutThePoint) {
  int found = sweep(cmir, false, -0.001, 3000, "cmir");
  EXPECT_GT(found, 30);
}

TEST(MirCuts, FlowCoversHoldOnEveryPointOfTheirFlowSetAndCutThePoint) {
  int found = sweep(flowcover, true, -0.1, 3000, "flow cover");
  EXPECT_GT(found, 30);
}

// 2 y1 + 2 y2 - s <= 3, y integer in [0, 2], s >= 0 at y = (0.75, 0.75),
// s = 0: the rounding with divisor 2 gives y1 + y2 - s <= 1, violated by 0.5.
TEST(MirCuts, TextbookRoundingCutSeparatesTheFractionalVertex) {
  mixrow r{.n = 3, .a = {2, 2, -1}, .lb = {0, 0, 0}, .ub = {2, 2, 10}, .x = {0.75, 0.75, 0.0},
           .type = {'I', 'I', 'C'}, .link = {-1, -1, -1}, .rhs = 3};
  int cols[] = {0, 1, 2};
  mircut cut;
  ASSERT_TRUE(cmir(r.cols(), 3, r.rhs, cols, r.a.data(), -0.001, cut));
  int points = 0;
  EXPECT_LE(r.worst(cut, &points), 1e-9);
  EXPECT_GT(points, 0);
  double amax = 0;
  for (double v : cut.val) amax = std::max(amax, std::fabs(v));
  EXPECT_NEAR((r.activity(cut) - cut.rhs) / amax, 0.5, 1e-6);
}

// x1 + x2 <= 5 with x_j <= 4 y_j at x = (4, 1), y = (1, 0.25): the cover
// {1, 2} with excess 3 gives x1 + x2 + (1 - y1) + (1 - y2) <= 5, violated
// by 0.75.
TEST(MirCuts, TextbookFlowCoverSeparatesTheFractionalVertex) {
  mixrow r{.n = 4, .a = {1, 1, 0, 0}, .lb = {0, 0, 0, 0}, .ub = {4, 4, 1, 1}, .x = {4, 1, 1, 0.25},
           .type = {'C', 'C', 'I', 'I'}, .link = {2, 3, -1, -1}, .rhs = 5};
  int cols[] = {0, 1};
  mircut cut;
  ASSERT_TRUE(flowcover(r.cols(), 2, r.rhs, cols, r.a.data(), -0.1, cut));
  int points = 0;
  EXPECT_LE(r.worst(cut, &points), 1e-9);
  EXPECT_GE(r.activity(cut) - cut.rhs, 0.75 - 1e-7);
}

// A free column ends the rounding; a negative lower bound ends the flow
// cover; rows with no fractional integer give nothing.
TEST(MirCuts, RowsThatCannotGiveACut) {
  mixrow r{.n = 3, .a = {2, 2, -1}, .lb = {0, 0, -1e20}, .ub = {2, 2, 1e20}, .x = {0.75, 0.75, 0.0},
           .type = {'I', 'I', 'C'}, .link = {-1, -1, -1}, .rhs = 3};
  int cols[] = {0, 1, 2};
  mircut cut;
  EXPECT_FALSE(cmir(r.cols(), 3, r.rhs, cols, r.a.data(), -0.001, cut));
  r.lb[2] = -1.0;
  r.ub[2] = 5.0;
  EXPECT_FALSE(flowcover(r.cols(), 3, r.rhs, cols, r.a.data(), -0.1, cut));
  r.lb[2] = 0.0;
  r.x = {1.0, 0.0, 0.0};
  EXPECT_FALSE(cmir(r.cols(), 3, r.rhs, cols, r.a.data(), -0.001, cut));
  // a coefficient range of a million or more is refused
  r.a = {2e6, 2, -1};
  r.ub = {2, 2, 10};
  r.x = {0.75, 0.75, 0.0};
  mircut wide;
  if (cmir(r.cols(), 3, r.rhs, cols, r.a.data(), -0.001, wide)) {
    double amax = 0, amin = 1e300;
    for (double v : wide.val) amax = std::max(amax, std::fabs(v)), amin = std::min(amin, std::fabs(v));
    EXPECT_GT(amin * 1e6, amax);
  }
}

// The cut loop with the new families on small pure integer models: every
// cut that reaches the node problem holds at every feasible point, and the
// optimum is the enumerated one, with each family on and off.
struct watched {
  const dense *d = nullptr;
  std::vector<std::vector<double>> points;
  int cuts = 0, bad = 0;
};

void seen(void *ctx, int nnz, const int *ind, const double *val, char sense, double rhs,
          const double *lb, const double *, double cutoff) {
  auto *w = static_cast<watched *>(ctx);
  if (cutoff < 1e75 || lb != nullptr) return;  // fixings and local cuts: not ours
  ++w->cuts;
  for (const auto &x : w->points) {
    double act = 0.0;
    for (int k = 0; k < nnz; ++k) act += val[k] * x[ind[k]];
    double viol = sense == 'L' ? act - rhs : sense == 'G' ? rhs - act : std::fabs(act - rhs);
    if (viol > 1e-6) {
      ++w->bad;
      break;
    }
  }
}

class MirLoopTest : public MipTest {};

TEST_F(MirLoopTest, IntegerModelsReachTheEnumeratedOptimumWithValidCuts) {
  std::mt19937 g(23);
  int fracrows = 0, mirrows = 0;
  for (int trial = 0; trial < 20 && !HasFailure(); ++trial) {
    dense d;
    const int n = 5, m = 3;
    d.objsen = -1;
    for (int j = 0; j < n; ++j) {
      d.c.push_back(static_cast<double>(3 + g() % 20));
      d.lb.push_back(0.0);
      d.ub.push_back(j % 2 ? 1.0 : 4.0);
    }
    d.ctype = "IBIBI";
    for (int i = 0; i < m; ++i) {
      std::vector<double> row(n);
      double s = 0;
      for (double &v : row) v = static_cast<double>(2 + g() % 13), s += v;
      d.a.push_back(row);
      d.sense.push_back('L');
      d.rhs.push_back(std::floor(s * 1.3) + 0.5 * (g() % 2));
    }
    watched w;
    w.d = &d;
    double best = -1e300;
    std::vector<double> x(n);
    std::function<void(int)> rec = [&](int j) {
      if (j == n) {
        for (int i = 0; i < m; ++i) {
          double act = 0;
          for (int k = 0; k < n; ++k) act += d.a[i][k] * x[k];
          if (act > d.rhs[i] + 1e-9) return;
        }
        w.points.push_back(x);
        double z = 0;
        for (int k = 0; k < n; ++k) z += d.c[k] * x[k];
        best = std::max(best, z);
        return;
      }
      for (double t = d.lb[j]; t <= d.ub[j]; t += 1.0) x[j] = t, rec(j + 1);
    };
    rec(0);
    for (int off = 0; off < 2; ++off) {
      TearDown();
      SetUp();
      loaddense(env, lp, d);
      res.clear();
      VLTsetintparam(env, VLT_PARAM_MIPDISPLAY, getenv("MIRDBG") ? 3 : 1);
      VLTsetintparam(env, VLT_PARAM_COVERS, -1);
      VLTsetintparam(env, VLT_PARAM_GUBCOVERS, -1);
      VLTsetintparam(env, VLT_PARAM_MIRCUTS, off ? -1 : 2);
      VLTsetintparam(env, VLT_PARAM_FLOWCOVERS, off ? -1 : 2);
      VLTsetintparam(env, VLT_PARAM_FRACCUTS, off ? -1 : 2);
      velto::cutwatch.seen = seen;
      velto::cutwatch.ctx = &w;
      int rc = VLTmipopt(env, lp);
      velto::cutwatch = velto::cutwatcher();
      ASSERT_EQ(rc, 0);
      EXPECT_EQ(w.bad, 0) << "trial " << trial << ": a cut removes a feasible point";
      double z = 0;
      ASSERT_EQ(VLTgetmipobjval(env, lp, &z), 0);
      EXPECT_NEAR(z, best, 1e-6) << "trial " << trial << (off ? " families off" : " families on");
      if (off) {
        EXPECT_EQ(res.find("Gomory fractional cuts applied"), std::string::npos) << res;
        continue;
      }
      // one summary line per family switched on, counting its rows
      mipwork *mw = lp->mip->work;
      ASSERT_NE(mw->cuts, nullptr);
      int fr = mw->cuts->applied[kCutFrac], mr = mw->cuts->applied[kCutMir];
      int fl = mw->cuts->applied[kCutFlow];
      fracrows += fr, mirrows += mr;
      EXPECT_NE(res.find("Gomory fractional cuts applied: " + std::to_string(fr) + "\n"),
                std::string::npos) << res;
      EXPECT_NE(res.find("Mixed integer rounding cuts applied:  " + std::to_string(mr) + "\n"),
                std::string::npos) << res;
      EXPECT_NE(res.find("Flow cuts applied:  " + std::to_string(fl) + "\n"), std::string::npos)
          << res;
    }
  }
  EXPECT_GT(fracrows, 0);
  EXPECT_GT(mirrows, 0);
}

}  // namespace
}  // namespace miptest

namespace miptest {
namespace {

// Automatic Gomory cuts run only when the model has fewer than ten columns
// per row (or VLT_PARAM_FRACPASS asks for passes); class 1 runs them always.
TEST_F(MirLoopTest, AutomaticGomoryCutsSkipWideModels) {
  dense d;
  const int n = 12;
  d.objsen = -1;
  std::vector<double> row;
  for (int j = 0; j < n; ++j) {
    d.c.push_back(static_cast<double>(5 + (7 * j) % 11));
    d.lb.push_back(0.0);
    d.ub.push_back(3.0);
    row.push_back(static_cast<double>(4 + (5 * j) % 13));
  }
  d.ctype = std::string(n, 'I');
  d.a = {row};
  d.sense = {'L'};
  d.rhs = {40.5};
  auto gomoryrows = [&](int cls, int fracpass) {
    TearDown();
    SetUp();
    loaddense(env, lp, d);
    VLTsetintparam(env, VLT_PARAM_MIPDISPLAY, 0);
    VLTsetintparam(env, VLT_PARAM_COVERS, -1);
    VLTsetintparam(env, VLT_PARAM_GUBCOVERS, -1);
    VLTsetintparam(env, VLT_PARAM_MIRCUTS, -1);
    VLTsetintparam(env, VLT_PARAM_FLOWCOVERS, -1);
    VLTsetintparam(env, VLT_PARAM_FRACCUTS, cls);
    VLTsetintparam(env, VLT_PARAM_FRACPASS, fracpass);
    VLTsetintparam(env, VLT_PARAM_NODELIM, 1);
    EXPECT_EQ(VLTmipopt(env, lp), 0);
    mipwork *w = lp->mip->work;
    return w && w->cuts ? w->cuts->pool.typecount[kCutFrac] +
                              w->cuts->purgepool.count() : -1;
  };
  EXPECT_EQ(gomoryrows(0, 0), 0);
  EXPECT_GT(gomoryrows(1, 0), 0);
  EXPECT_GT(gomoryrows(0, 1), 0);
}

}  // namespace
}  // namespace miptest
