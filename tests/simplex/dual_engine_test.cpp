// Dual simplex engine on hand-built and random models: answers are checked
// by primal/dual residuals, Farkas proofs and rays recomputed from the model.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <random>

#include "simplex/dual_testutil.h"

using namespace velto;
using dualtest::model;

namespace {

struct run {
  dualprob p;
  dualengine e;
  int status = 0;
  std::vector<double> x, y;
  ~run() { dual_free(e); }
};

void solve(const model &md, run &r, dualopts o = dualopts()) {
  r.p = dualtest::to_prob(md);
  std::vector<int> head, status;
  dual_slackbasis(r.p, head, status);
  ASSERT_EQ(dual_setup(r.e, r.p, head, status, o), 0);
  r.status = dual_solve(r.e);
  r.x.assign(r.e.x.begin(), r.e.x.begin() + md.n);
  r.y = r.e.pi;
}

// Row i of the inverse of the final basis: the Farkas multipliers of a
// leaving row that could not be brought to its bound.
std::vector<double> farkas_row(run &r) {
  std::vector<double> rho(r.p.m, 0.0);
  r.e.fac->btran_row(r.e.lastleavepos, rho);
  return rho;
}

void addcol(model &md, double c, double lb, double ub, std::vector<std::pair<int, double>> e) {
  md.cols.push_back(std::move(e));
  md.c.push_back(c);
  md.lb.push_back(lb);
  md.ub.push_back(ub);
  md.n++;
}
void addrow(model &md, double lo, double up) {
  md.rlo.push_back(lo);
  md.rup.push_back(up);
  md.m++;
}

// Random model with a known feasible point: rows are built around a*x0 with
// all kinds of senses, columns with all kinds of bounds.  With `bounded` the
// columns are boxed or the costs point into the finite side, so the model has
// an optimum.
model random_model(std::mt19937 &g, int m, int n, double density, bool bounded) {
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::uniform_int_distribution<int> kind(0, 4);
  model md;
  std::vector<double> x0(n);
  for (int j = 0; j < n; ++j) {
    int k = kind(g);
    double lb = -1e20, ub = 1e20;
    double c = u(g) * 10;
    x0[j] = u(g) * 3;
    switch (k) {
      case 0: lb = x0[j] - 1 - std::fabs(u(g)); ub = x0[j] + 1 + std::fabs(u(g)); break;
      case 1: lb = std::floor(x0[j]) - 1; if (bounded) c = std::fabs(c); break;
      case 2: ub = std::ceil(x0[j]) + 1; if (bounded) c = -std::fabs(c); break;
      case 3: lb = ub = x0[j]; break;
      default:
        if (bounded) { lb = x0[j] - 5; ub = x0[j] + 5; }
    }
    std::vector<std::pair<int, double>> col;
    for (int i = 0; i < m; ++i)
      if (std::fabs(u(g)) < density) col.push_back({i, std::round(u(g) * 100) / 10});
    addcol(md, c, lb, ub, col);
  }
  std::vector<double> act(m, 0.0);
  for (int j = 0; j < n; ++j)
    for (auto &e : md.cols[j]) act[e.first] += e.second * x0[j];
  for (int i = 0; i < m; ++i) {
    int k = kind(g);
    double s = std::fabs(u(g)) * 2;
    switch (k) {
      case 0: addrow(md, -1e20, act[i] + s); break;
      case 1: addrow(md, act[i] - s, 1e20); break;
      case 2: addrow(md, act[i], act[i]); break;
      default: addrow(md, act[i] - s, act[i] + s + 0.5);
    }
  }
  return md;
}

void expect_optimal(const model &md, run &r) {
  ASSERT_EQ(r.status, kDualOptimal);
  EXPECT_LE(dualtest::primal_violation(md, r.x), 1e-7);
  EXPECT_LE(dualtest::dual_violation(md, r.x, r.y, 1e-7), 1e-7);
}

}  // namespace

TEST(DualEngine, TextbookModelReachesKnownOptimum) {
  // max 3x + 5y, x <= 4, 2y <= 12, 3x + 2y <= 18: optimum 36 at (2, 6).
  model md;
  addrow(md, -1e20, 4);
  addrow(md, -1e20, 12);
  addrow(md, -1e20, 18);
  addcol(md, -3, 0, 1e20, {{0, 1}, {2, 3}});
  addcol(md, -5, 0, 1e20, {{1, 2}, {2, 2}});
  run r;
  solve(md, r);
  expect_optimal(md, r);
  EXPECT_NEAR(dualtest::objective(md, r.x), -36.0, 1e-9);
  EXPECT_NEAR(r.x[0], 2.0, 1e-9);
  EXPECT_NEAR(r.x[1], 6.0, 1e-9);
}

TEST(DualEngine, RandomModelsAllBoundAndRowKindsEveryPricing) {
  std::mt19937 g(7);
  for (int t = 0; t < 60; ++t) {
    int m = 5 + t % 23, n = 8 + (t * 7) % 31;
    model md = random_model(g, m, n, 0.4, true);
    for (int pricing : {1, 2, 4}) {
      SCOPED_TRACE(testing::Message() << "model " << t << " pricing " << pricing);
      dualopts o;
      o.pricing = pricing;
      run r;
      solve(md, r, o);
      expect_optimal(md, r);
    }
  }
}

TEST(DualEngine, LongStepAndPlainRatioTestAgree) {
  std::mt19937 g(11);
  for (int t = 0; t < 30; ++t) {
    model md = random_model(g, 12, 25, 0.5, true);
    dualopts a, b;
    b.longstep = 0;
    run ra, rb;
    solve(md, ra, a);
    solve(md, rb, b);
    expect_optimal(md, ra);
    expect_optimal(md, rb);
    EXPECT_NEAR(dualtest::objective(md, ra.x), dualtest::objective(md, rb.x),
                1e-7 * (1 + std::fabs(dualtest::objective(md, ra.x))));
  }
}

TEST(DualEngine, InfeasibleModelsGiveFarkasProof) {
  std::mt19937 g(3);
  for (int t = 0; t < 25; ++t) {
    model md = random_model(g, 10, 15, 0.5, true);
    // Two rows that cannot both hold: a'x <= s and a'x >= s + 1 over a dense
    // combination of the columns.
    std::uniform_real_distribution<double> u(0.5, 2.0);
    int r1 = md.m, r2 = md.m + 1;
    addrow(md, -1e20, 1.0);
    addrow(md, 2.0, 1e20);
    for (int j = 0; j < md.n; ++j)
      if (j % 3 == t % 3) {
        double a = std::round(u(g) * 10) / 10;
        md.cols[j].push_back({r1, a});
        md.cols[j].push_back({r2, a});
      }
    run r;
    solve(md, r);
    ASSERT_EQ(r.status, kDualInfeasible) << "model " << t;
    std::vector<double> y = farkas_row(r);
    EXPECT_GT(dualtest::farkas_gap(md, y), 1e-6) << "model " << t;
  }
}

TEST(DualEngine, ContradictoryBoxesAloneAreInfeasible) {
  // x + y >= 5 with x, y in [0, 2]: the ratio test passes both boxes and
  // the row still cannot be satisfied.
  model md;
  addrow(md, 5, 1e20);
  addcol(md, 1, 0, 2, {{0, 1}});
  addcol(md, 1, 0, 2, {{0, 1}});
  run r;
  solve(md, r);
  ASSERT_EQ(r.status, kDualInfeasible);
  EXPECT_GT(dualtest::farkas_gap(md, farkas_row(r)), 0.5);
}

TEST(DualEngine, UnboundedModelsGiveRay) {
  std::mt19937 g(5);
  int found = 0;
  for (int t = 0; t < 40; ++t) {
    model md = random_model(g, 8, 14, 0.4, false);
    run r;
    solve(md, r);
    if (r.status == kDualOptimal) {
      expect_optimal(md, r);
      continue;
    }
    if (r.status == kDualInfeasible) {
      EXPECT_GT(dualtest::farkas_gap(md, farkas_row(r)), 1e-6);
      continue;
    }
    ASSERT_EQ(r.status, kDualUnbounded) << "model " << t;
    ASSERT_TRUE(r.e.hasray);
    std::vector<double> ray(r.e.ray.begin(), r.e.ray.begin() + md.n);
    double cr = 0;
    EXPECT_LE(dualtest::ray_violation(md, ray, &cr), 1e-9) << "model " << t;
    EXPECT_LT(cr, -1e-9) << "model " << t;
    ++found;
  }
  EXPECT_GT(found, 5);
}

TEST(DualEngine, FreeColumnWithoutRowsIsUnbounded) {
  model md;
  addrow(md, 1, 1);
  addcol(md, 1, 0, 1e20, {{0, 1}});
  addcol(md, -1, -1e20, 1e20, {});
  run r;
  solve(md, r);
  ASSERT_EQ(r.status, kDualUnbounded);
  EXPECT_GT(r.e.ray[1], 0.0);
  EXPECT_EQ(r.e.ray[0], 0.0);
}

TEST(DualEngine, RatioTestFlipsBoxesWhileSlopeStaysPositive) {
  // Leaving row with infeasibility 3 going up (sgn +1); three boxed
  // candidates at lower bound with alpha 1 and widths 1, 1, 5, breakpoints
  // 0.1, 0.2, 0.3.  The first two are passed (slope 3 - 1 - 1 = 1 > 0),
  // the third stops the step and enters.
  dualprob p;
  p.m = 1;
  p.n = 3;
  p.matbeg = {0, 1, 2, 3};
  p.matind = {0, 0, 0};
  p.matval = {1, 1, 1};
  p.slackval = {1};
  p.rhs = {0};
  p.lb = {0, 0, 0, 0};
  p.ub = {1, 1, 5, 0};
  p.cost = {0.1, 0.2, 0.3, 0};
  dualengine e;
  std::vector<int> head{3}, status{0, 0, 0, 1};
  ASSERT_EQ(dual_setup(e, p, head, status, dualopts()), 0);
  e.d = {0.1, 0.2, 0.3, 0};
  e.row.clear();
  for (int j = 0; j < 3; ++j) e.row.add(j, 1.0);
  std::vector<int> flips;
  double t = 0;
  int q = dual_ratio(e, 3.0, 1, flips, t, 1);
  EXPECT_EQ(q, 2);
  EXPECT_NEAR(t, 0.3, 1e-12);
  std::sort(flips.begin(), flips.end());
  EXPECT_EQ(flips, (std::vector<int>{0, 1}));
  // Without long steps the first breakpoint enters.
  q = dual_ratio(e, 3.0, 1, flips, t, 0);
  EXPECT_EQ(q, 0);
  EXPECT_TRUE(flips.empty());
  // With a slope of 1.5 only the first box can be passed.
  q = dual_ratio(e, 1.5, 1, flips, t, 1);
  EXPECT_EQ(q, 1);
  EXPECT_EQ(flips, (std::vector<int>{0}));
  dual_free(e);
}

TEST(DualEngine, PivotRowThroughRowCopyMatchesDenseProduct) {
  std::mt19937 g(9);
  std::uniform_real_distribution<double> u(-1, 1);
  model md = random_model(g, 20, 40, 0.3, true);
  dualprob p = dualtest::to_prob(md);
  std::vector<int> head, status;
  dual_slackbasis(p, head, status);
  // Make some structurals basic, then move them in and out of the copy.
  dualrowcopy rc;
  rowcopy_build(rc, p, status);
  for (int j = 0; j < p.n; j += 3) {
    status[j] = 1;
    rowcopy_remove(rc, p, j);
  }
  for (int j = 0; j < p.n; j += 6) {
    status[j] = 0;
    rowcopy_append(rc, p, j);
  }
  for (int i = 0; i < p.m; i += 4) status[p.n + i] = 0;
  std::vector<double> rho(p.m, 0.0);
  std::vector<int> ind;
  for (int i = 0; i < p.m; ++i)
    if (i % 3 != 1) {
      rho[i] = u(g);
      ind.push_back(i);
    }
  dvec out;
  out.resize(p.n + p.m);
  pivot_row(rc, p, rho, ind, static_cast<int>(ind.size()), status, out);
  for (int j = 0; j < p.n + p.m; ++j) {
    double want = 0.0;
    bool nonbasic = status[j] != 1 && p.lb[j] != p.ub[j];
    if (nonbasic) {
      if (j < p.n) {
        for (int k = p.matbeg[j]; k < p.matbeg[j + 1]; ++k) want += rho[p.matind[k]] * p.matval[k];
      } else {
        want = rho[j - p.n] * p.slackval[j - p.n];
      }
    }
    if (std::fabs(want) < 1e-12) want = 0.0;
    EXPECT_NEAR(out.val[j], want, 1e-12) << "column " << j;
  }
}

TEST(DualEngine, SteepestEdgeWeightsTrackExactNorms) {
  std::mt19937 g(21);
  model md = random_model(g, 30, 45, 0.3, true);
  for (int lim : {5, 12, 25}) {
    dualopts o;
    o.itlim = lim;
    o.refactor = 1000;
    run r;
    solve(md, r, o);
    if (r.status != kDualItLim) continue;
    std::vector<double> v(r.p.m);
    for (int c = 0; c < r.p.m; ++c) {
      r.e.fac->btran_row(c, v);
      double s = 0;
      for (double a : v) s += a * a;
      EXPECT_NEAR(r.e.gamma[c], std::max(s, 1e-4), 1e-6 * (1 + s)) << "position " << c << " after " << lim;
    }
  }
}

// Full-space weights: 1 + ||rho||^2 + ||rho' A_N||^2 for every position,
// kept by the update.  No fixed columns or equality rows, whose variables
// the weights leave out once nonbasic.
TEST(DualEngine, FullSpaceSteepestEdgeWeightsTrackExactNorms) {
  std::mt19937 g(34);
  model md = random_model(g, 30, 45, 0.3, true);
  for (int j = 0; j < md.n; ++j)
    if (md.lb[j] == md.ub[j]) md.ub[j] += 1.0;
  for (int i = 0; i < md.m; ++i)
    if (md.rlo[i] == md.rup[i]) md.rup[i] += 1.0;
  int checked = 0;
  for (int lim : {5, 12, 25}) {
    dualopts o;
    o.itlim = lim;
    o.refactor = 1000;
    o.pricing = 3;
    run r;
    solve(md, r, o);
    if (r.status != kDualItLim) continue;
    ++checked;
    const dualprob &p = r.p;
    std::vector<double> v(p.m);
    for (int c = 0; c < p.m; ++c) {
      r.e.fac->btran_row(c, v);
      double s = 1.0;
      for (double a : v) s += a * a;
      for (int j = 0; j < p.n + p.m; ++j) {
        if (r.e.status[j] == 1 || p.lb[j] == p.ub[j]) continue;
        double a = 0.0;
        if (j < p.n) {
          for (int k = p.matbeg[j]; k < p.matbeg[j + 1]; ++k) a += v[p.matind[k]] * p.matval[k];
        } else {
          a = v[j - p.n] * p.slackval[j - p.n];
        }
        s += a * a;
      }
      EXPECT_NEAR(r.e.gamma[c], s, 1e-6 * s) << "position " << c << " after " << lim;
    }
  }
  EXPECT_GT(checked, 0);
}

TEST(DualEngine, WarmStartAfterBoundChangeTakesFewIterations) {
  std::mt19937 g(13);
  int cold = 0, warm = 0;
  for (int t = 0; t < 10; ++t) {
    model md = random_model(g, 40, 60, 0.2, true);
    run r;
    solve(md, r);
    ASSERT_EQ(r.status, kDualOptimal);
    // Tighten the bound of a basic column past its value.
    int j = -1;
    for (int k = 0; k < md.n; ++k)
      if (r.e.status[k] == 1 && md.lb[k] < md.ub[k] - 0.5) {
        j = k;
        break;
      }
    if (j < 0) continue;
    model md2 = md;
    md2.ub[j] = std::max(md.lb[j], r.x[j] - 0.25);
    run c;
    solve(md2, c);
    dualprob p2 = dualtest::to_prob(md2);
    dualengine e2;
    ASSERT_EQ(dual_setup(e2, p2, r.e.head, r.e.status, dualopts()), 0);
    int st = dual_solve(e2);
    std::vector<double> x(e2.x.begin(), e2.x.begin() + md.n);
    EXPECT_EQ(st, c.status);
    if (st == kDualOptimal) {
      EXPECT_LE(dualtest::primal_violation(md2, x), 1e-7);
      EXPECT_LE(dualtest::dual_violation(md2, x, e2.pi, 1e-7), 1e-7);
    }
    cold += c.e.itcnt;
    warm += e2.itcnt;
    dual_free(e2);
  }
  EXPECT_LT(warm * 4, cold);
}

TEST(DualEngine, IterationLimitStopsWithStatus10) {
  std::mt19937 g(17);
  model md = random_model(g, 30, 40, 0.3, true);
  dualopts o;
  o.itlim = 0;
  run r;
  solve(md, r, o);
  EXPECT_EQ(r.status, kDualItLim);
  EXPECT_EQ(r.e.itcnt, 0);
}

TEST(DualEngine, SmallNetlibModelsReachPublishedOptima) {
  const char *dir = std::getenv("VELTO_DATA");
  std::string base = std::string(dir ? dir : VELTO_DATA_DEFAULT) + "/netlib/";
  std::ifstream ref(base + "REFERENCE.tsv");
  if (!ref) GTEST_SKIP() << "public models not found under " << base;
  std::map<std::string, double> opt;
  std::string line;
  while (std::getline(ref, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream ls(line);
    std::string name;
    int m, n, nz;
    double z;
    ls >> name >> m >> n >> nz >> z;
    opt[name] = z;
  }
  for (const char *name : {"afiro", "adlittle", "blend", "sc105", "share2b", "kb2", "stocfor1"}) {
    SCOPED_TRACE(name);
    model md;
    ASSERT_TRUE(dualtest::read_mps(base + name + ".mps.gz", md));
    run r;
    solve(md, r);
    expect_optimal(md, r);
    double z = dualtest::objective(md, r.x) - md.c0;
    EXPECT_NEAR(z, opt[name], 1e-6 * (1 + std::fabs(opt[name])));
  }
}
