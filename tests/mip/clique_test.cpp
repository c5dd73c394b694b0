// Cliques, implications and probing: the clique table of a hand-made model
// against its hand-counted cliques, every clique and every fixing of the
// extension, merging, finish and probing checked against enumeration of
// all integer points, propagation on random models against enumeration,
// implied-bound cuts valid and violated where they should be, and the
// probing and clique lines of the log.
#include <cstdio>
#include <cstring>
#include <random>
#include <set>

#include "mip/mipcliq.h"
#include "mipfix.h"

namespace miptest {
namespace {

using namespace velto;

using clique = std::pair<std::set<int>, int>;  // literals, type

class CliqueTest : public MipTest {
 protected:
  void load(const dense &d) {
    loaddense(env, lp, d);
    rowcopybuild(lp, rc);
    cutmodelbuild(lp, rc, cm);
    glb = d.lb;
    gub = d.ub;
    model = d;
  }
  // Every integer point of the model (columns integer in [lb, ub], at most
  // a few thousand points).
  std::vector<std::vector<double>> points() const {
    const int n = static_cast<int>(model.c.size());
    std::vector<std::vector<double>> out;
    std::vector<double> x(model.lb);
    for (;;) {
      bool ok = true;
      for (size_t i = 0; i < model.a.size() && ok; ++i) {
        double act = 0;
        for (int j = 0; j < n; ++j) act += model.a[i][j] * x[j];
        char s = model.sense[i];
        if ((s == 'L' || s == 'E') && act > model.rhs[i] + 1e-9) ok = false;
        if ((s == 'G' || s == 'E') && act < model.rhs[i] - 1e-9) ok = false;
      }
      if (ok) out.push_back(x);
      int j = 0;
      while (j < n && x[j] >= model.ub[j]) x[j] = model.lb[j], ++j;
      if (j == n) break;
      x[j] += 1;
    }
    return out;
  }
  std::vector<clique> table(const cliquetable &t) const {
    std::vector<clique> out;
    for (size_t c = 0; c < t.cliques.size(); ++c)
      if (!t.cliques[c].empty())
        out.push_back({std::set<int>(t.cliques[c].begin(), t.cliques[c].end()), t.ctype[c]});
    std::sort(out.begin(), out.end());
    return out;
  }
  // At most one literal of each clique is 1 at every integer point.
  void expect_cliques_valid(const cliquetable &t) {
    auto pts = points();
    ASSERT_FALSE(pts.empty());
    for (size_t c = 0; c < t.cliques.size(); ++c)
      for (auto &x : pts) {
        int ones = 0;
        for (int l : t.cliques[c]) ones += (l >= 0 ? x[l] : 1 - x[~l]) > 0.5;
        EXPECT_LE(ones, 1) << "clique " << c;
      }
  }
  // Every integer point lies in lb/ub.
  void expect_bounds_valid(const std::vector<double> &lb, const std::vector<double> &ub) {
    for (auto &x : points())
      for (size_t j = 0; j < x.size(); ++j) {
        EXPECT_GE(x[j], lb[j] - 1e-9) << "column " << j;
        EXPECT_LE(x[j], ub[j] + 1e-9) << "column " << j;
      }
  }
  // The integer optimum that VLTmipopt reports is the best of the points.
  void expect_optimum(const std::vector<std::vector<double>> &pts, const std::string &what) {
    double best = 1e75;
    for (auto &x : pts) {
      double z = 0;
      for (size_t j = 0; j < x.size(); ++j) z += model.c[j] * x[j];
      best = std::min(best, z);
    }
    double obj = 0;
    ASSERT_EQ(VLTgetmipobjval(env, lp, &obj), 0) << what;
    EXPECT_NEAR(obj, best, 1e-9) << what;
  }
  dense model;
  rowcopy rc;
  cutmodel cm;
  std::vector<double> glb, gub;
};

dense binaries(int n, std::vector<std::vector<double>> a, std::string sense,
               std::vector<double> rhs) {
  dense d;
  d.c.assign(n, 0.0);
  d.lb.assign(n, 0.0);
  d.ub.assign(n, 1.0);
  d.ctype.assign(n, 'B');
  d.a = std::move(a);
  d.sense.assign(sense.begin(), sense.end());
  d.rhs = std::move(rhs);
  return d;
}

TEST_F(CliqueTest, RowsGiveTheirCliquesWithTypes) {
  // x0+x1+x2 = 1: exactly one, type 1.  x3 + x4 - x5 <= 0: the literals
  // x3, x4, ~x5 of weight 1 against capacity 1, at capacity: type 0.
  // 3x6 + 2x7 + 2x8 + x9 <= 3: {x7, x8, x6} (any two pass 3) of type 2, and
  // the light x9 with x6 alone, type 2.  2x10 + 2.0000001x11 <= 4 exceeds
  // the capacity by less than the factor 1.000001: no clique.
  std::vector<std::vector<double>> a(4, std::vector<double>(12, 0.0));
  a[0][0] = a[0][1] = a[0][2] = 1;
  a[1][3] = a[1][4] = 1, a[1][5] = -1;
  a[2][6] = 3, a[2][7] = 2, a[2][8] = 2, a[2][9] = 1;
  a[3][10] = 2, a[3][11] = 2.0000001;
  load(binaries(12, a, "ELLL", {1, 0, 3, 4}));
  cliquetable t;
  cliquesfromrows(cm, glb.data(), gub.data(), 1000000, t);
  std::vector<clique> want = {{{0, 1, 2}, 1}, {{3, 4, ~5}, 0}, {{6, 7, 8}, 2}, {{6, 9}, 2}};
  std::sort(want.begin(), want.end());
  EXPECT_EQ(table(t), want);
  EXPECT_EQ(t.members, 3 + 3 + 3 + 2);
  expect_cliques_valid(t);
  // Each literal knows its cliques.
  ASSERT_NE(t.holding(6), nullptr);
  EXPECT_EQ(t.holding(6)->size(), 2u);
  ASSERT_NE(t.holding(~5), nullptr);
  EXPECT_EQ(t.holding(5), nullptr);
  // A heavier pair passes the factor and makes a clique.
  a[3][11] = 2.00001;
  MipTest::TearDown();
  MipTest::SetUp();
  load(binaries(12, a, "ELLL", {1, 0, 3, 4}));
  cliquesfromrows(cm, glb.data(), gub.data(), 1000000, t);
  want.push_back({{10, 11}, 2});
  std::sort(want.begin(), want.end());
  EXPECT_EQ(table(t), want);
}

TEST_F(CliqueTest, ExtensionGrowsCliquesAndFixesAgainstAnEquality) {
  // Pairs {0,1}, {0,2}, {1,2} are one clique {0,1,2}; x3 excludes each of
  // x4, x5, x6 of which exactly one is 1, so x3 is 0.
  std::vector<std::vector<double>> a(7, std::vector<double>(7, 0.0));
  a[0][0] = a[0][1] = 1;
  a[1][0] = a[1][2] = 1;
  a[2][1] = a[2][2] = 1;
  a[3][4] = a[3][5] = a[3][6] = 1;
  a[4][3] = a[4][4] = 1;
  a[5][3] = a[5][5] = 1;
  a[6][3] = a[6][6] = 1;
  load(binaries(7, a, "LLLELLL", {1, 1, 1, 1, 1, 1, 1}));
  cliquetable t;
  cliquesfromrows(cm, glb.data(), gub.data(), 1000000, t);
  std::vector<double> lb = glb, ub = gub;
  long long work = 0;
  EXPECT_TRUE(cliqueextend(t, lb, ub, 1000000, &work));
  EXPECT_EQ(ub[3], 0.0);
  expect_bounds_valid(lb, ub);
  auto got = table(t);
  EXPECT_NE(std::find(got.begin(), got.end(), clique{{0, 1, 2}, 4}), got.end());
  for (auto &c : got) EXPECT_FALSE(c.first.size() == 2 && c.first.count(0) && c.first.count(1));
  EXPECT_NE(std::find(got.begin(), got.end(), clique{{4, 5, 6}, 1}), got.end());
  expect_cliques_valid(t);
}

TEST_F(CliqueTest, MergingAndFinishFixOnlyWhatNoPointUses) {
  // Assuming x3 = 1 empties the equality x0+x1+x2 = 1: x3 is 0.  x4 shares
  // a clique with x5 and with its complement (x4 + x5 <= 1, x5 - x4 <= 0):
  // either value of x4 excludes x5.
  std::vector<std::vector<double>> a(6, std::vector<double>(6, 0.0));
  a[0][0] = a[0][1] = a[0][2] = 1;
  a[1][3] = a[1][0] = 1;
  a[2][3] = a[2][1] = 1;
  a[3][3] = a[3][2] = 1;
  a[4][4] = a[4][5] = 1;
  a[5][5] = 1, a[5][4] = -1;
  load(binaries(6, a, "ELLLLL", {1, 1, 1, 1, 1, 0}));
  cliquetable t;
  cliquesfromrows(cm, glb.data(), gub.data(), 1000000, t);
  std::vector<double> lb = glb, ub = gub;
  long long work = 0;
  cliquemerge(t, lb, ub, 1000000, &work);
  EXPECT_EQ(ub[3], 0.0);
  EXPECT_EQ(ub[5], 0.0);  // x5 = 1 sets x4 both ways
  expect_bounds_valid(lb, ub);
  expect_cliques_valid(t);
  // The finish alone sees x5 too.
  cliquesfromrows(cm, glb.data(), gub.data(), 1000000, t);
  lb = glb, ub = gub;
  EXPECT_EQ(cliquefinish(t, lb, ub, 1000000), 1);
  EXPECT_EQ(ub[5], 0.0);
  expect_bounds_valid(lb, ub);
}

TEST_F(CliqueTest, PropagationKeepsEveryIntegerPointOfRandomModels) {
  std::mt19937 gen(7);
  std::uniform_int_distribution<int> coef(-4, 5), pick(0, 9);
  int fixings = 0;
  for (int trial = 0; trial < 40; ++trial) {
    // 8 binaries and 2 integers on [0, 3]; 4 rows.
    const int n = 10;
    dense d;
    d.c.assign(n, 0.0);
    d.lb.assign(n, 0.0);
    d.ub.assign(n, 1.0);
    d.ub[8] = d.ub[9] = 3;
    d.ctype = "BBBBBBBBII";
    for (int i = 0; i < 4; ++i) {
      std::vector<double> row(n, 0.0);
      double pos = 0;
      for (int j = 0; j < n; ++j)
        if (pick(gen) < 5) row[j] = coef(gen), pos += std::max(0.0, row[j]) * d.ub[j];
      d.a.push_back(row);
      d.sense.push_back("LGE"[i % 3 == 2 ? (trial % 2 ? 0 : 2) : i % 2]);
      d.rhs.push_back(std::floor(pos * (i % 2 ? 0.3 : 0.5)));
    }
    MipTest::TearDown();
    MipTest::SetUp();
    load(d);
    auto pts = points();
    if (pts.empty()) continue;
    cliquetable t;
    cliquesfromrows(cm, glb.data(), gub.data(), 1000000, t);
    expect_cliques_valid(t);
    propagator p;
    propinit(p, cm, &t, nullptr, glb.data(), gub.data(), 1e-6);
    const int j = pick(gen) % 8, v = trial % 2;
    bool ok = propbound(p, j, v ? 'L' : 'U', v) && proprun(p, 0);
    std::vector<std::vector<double>> with;
    for (auto &x : pts)
      if (x[j] == v) with.push_back(x);
    if (!ok) {
      EXPECT_TRUE(with.empty()) << "trial " << trial << ": propagation said infeasible";
      continue;
    }
    for (int k = 0; k < n; ++k) fixings += p.lb[k] == p.ub[k] && glb[k] != gub[k];
    for (auto &x : with)
      for (int k = 0; k < n; ++k) {
        EXPECT_GE(x[k], p.lb[k] - 1e-9) << "trial " << trial << " column " << k;
        EXPECT_LE(x[k], p.ub[k] + 1e-9) << "trial " << trial << " column " << k;
      }
  }
  EXPECT_GT(fixings, 40);  // the propagation did work
}

// The watcher of the known-optimum check, here against every integer point.
struct pointwatch {
  std::vector<std::vector<double>> pts;
  int fixings = 0, cuts = 0, bad = 0;
};
void seenpoint(void *ctx, int nnz, const int *ind, const double *val, char sense, double rhs,
               const double *lb, const double *, double cutoff) {
  auto *w = static_cast<pointwatch *>(ctx);
  if (lb != nullptr) return;  // local cuts are another family's
  (cutoff < 1e75 ? w->fixings : w->cuts) += 1;
  if (cutoff < 1e75 && cutoff < 1e74) return;  // rests on a cutoff: not probing's
  for (auto &x : w->pts) {
    double act = 0;
    for (int k = 0; k < nnz; ++k) act += val[k] * x[ind[k]];
    bool ok = sense == 'L' ? act <= rhs + 1e-7 : sense == 'G' ? act >= rhs - 1e-7
                                                              : std::fabs(act - rhs) <= 1e-7;
    w->bad += !ok;
  }
}

TEST_F(CliqueTest, ProbingFixesWhatEnumerationProvesAndKeepsTheOptimum) {
  // x0 = 1 forces x1 = x2 = 0 against x1 + x2 >= 1: probing fixes x0 alone.
  std::vector<std::vector<double>> a = {{1, 1, 0, 0}, {1, 0, 1, 0}, {0, 1, 1, 0}, {0, 1, 1, 1}};
  dense d = binaries(4, a, "LLGL", {1, 1, 1, 2});
  d.c = {-5, 1, 2, -1};
  load(d);
  VLTsetintparam(env, VLT_PARAM_PROBE, 1);
  VLTsetintparam(env, VLT_PARAM_MIPDISPLAY, 2);
  pointwatch w;
  w.pts = points();
  cutwatch.seen = seenpoint;
  cutwatch.ctx = &w;
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  cutwatch = cutwatcher();
  EXPECT_EQ(w.bad, 0);
  EXPECT_GE(w.fixings, 1);
  EXPECT_NE(res.find("Probing fixed 1 vars, tightened 0 bounds\n"), std::string::npos) << res;
  size_t at = res.find("Probing time = ");
  ASSERT_NE(at, std::string::npos);
  double secs = -1;
  ASSERT_EQ(std::sscanf(res.c_str() + at, "Probing time = %lf", &secs), 1);
  char line[64];
  std::snprintf(line, sizeof line, "Probing time = %7.2f sec.\n", secs);
  EXPECT_EQ(res.substr(at, std::strlen(line)), line);
  // The rows give the cliques {x0,x1}, {x0,x2}, {~x1,~x2} (the last row
  // none: 1 + 1 <= 2); with x0 fixed only {~x1,~x2} is left.
  EXPECT_NE(res.find("Clique table members: 2\n"), std::string::npos) << res;
  expect_optimum(w.pts, "hand model");
}

TEST_F(CliqueTest, ProbingLevelsKeepTheOptimumOfRandomModels) {
  std::mt19937 gen(11);
  std::uniform_int_distribution<int> coef(-3, 6), pick(0, 9), cost(-9, 9);
  for (int trial = 0; trial < 12; ++trial) {
    const int n = 10;
    std::vector<std::vector<double>> a;
    std::string sense;
    std::vector<double> rhs;
    for (int i = 0; i < 5; ++i) {
      std::vector<double> row(n, 0.0);
      double pos = 0;
      for (int j = 0; j < n; ++j)
        if (pick(gen) < 4) row[j] = coef(gen), pos += std::max(0.0, row[j]);
      a.push_back(row);
      sense.push_back(i == 4 ? 'E' : 'L');
      rhs.push_back(i == 4 ? 0 : std::floor(pos * 0.5));
    }
    dense d = binaries(n, a, sense, rhs);
    for (int j = 0; j < n; ++j) d.c[j] = cost(gen);
    for (int level = 1; level <= 3; ++level) {
      MipTest::TearDown();
      MipTest::SetUp();
      load(d);
      pointwatch w;
      w.pts = points();
      if (w.pts.empty()) break;
      VLTsetintparam(env, VLT_PARAM_PROBE, level);
      VLTsetintparam(env, VLT_PARAM_CLIQUES, 2);
      VLTsetintparam(env, VLT_PARAM_IMPLBD, 2);
      cutwatch.seen = seenpoint;
      cutwatch.ctx = &w;
      ASSERT_EQ(VLTmipopt(env, lp), 0);
      cutwatch = cutwatcher();
      EXPECT_EQ(w.bad, 0) << "trial " << trial << " level " << level;
      expect_optimum(w.pts, "trial " + std::to_string(trial) + " level " + std::to_string(level));
    }
  }
}

TEST_F(CliqueTest, CliqueCutJoinsPairsThatTheRowsGiveOneByOne) {
  // x0+x1 <= 1, x0+x2 <= 1, x1+x2 <= 1 hold at (1/2, 1/2, 1/2); the clique
  // x0 + x1 + x2 <= 1 does not.  x3 is in no clique.
  std::vector<std::vector<double>> a = {{1, 1, 0, 0}, {1, 0, 1, 0}, {0, 1, 1, 0}};
  load(binaries(4, a, "LLL", {1, 1, 1}));
  cutwork cw;
  cw.cm = cm;
  cliquesfromrows(cw.cm, glb.data(), gub.data(), 1000000, cw.cliques);
  cutsetinit(cw.pool, 3, 1, 1);
  const double x[4] = {0.5, 0.5, 0.5, 1.0};
  int count = 0;
  ASSERT_EQ(cliqueround(cw, x, 10, &count), 0);
  ASSERT_EQ(count, 1);
  const cutstore &f = cw.pool.fresh[0];
  ASSERT_EQ(f.count(), 1);
  const cutrec &c = f.recs[0];
  EXPECT_EQ(c.type, kCutClique);
  EXPECT_EQ(c.sense, 'L');
  EXPECT_EQ(c.rhs, 1.0);
  ASSERT_EQ(c.nnz, 3);
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(f.indof(0)[k], k);
    EXPECT_EQ(f.valof(0)[k], 1.0);
  }
  // A point that the clique holds at gives nothing.
  const double y[4] = {0.5, 0.5, 0.0, 1.0};
  cutsetinit(cw.pool, 3, 1, 1);
  ASSERT_EQ(cliqueround(cw, y, 10, &count), 0);
  EXPECT_EQ(count, 0);
}

TEST_F(CliqueTest, CutsAndProbingKeepEveryIntegerPointOfMixedModels) {
  // Integers on [0, 3] switched by binaries (z - 3y <= 1: y = 0 gives
  // z <= 1) under random rows; every cut and fixing must hold at every
  // integer point of the model.
  std::mt19937 gen(5);
  std::uniform_int_distribution<int> coef(-3, 4), pick(0, 9), cost(-9, 9);
  for (int trial = 0; trial < 10; ++trial) {
    const int n = 9;  // y0..y5 binary, z6..z8 integer
    dense d;
    d.c.resize(n);
    for (int j = 0; j < n; ++j) d.c[j] = cost(gen);
    d.lb.assign(n, 0.0);
    d.ub = {1, 1, 1, 1, 1, 1, 3, 3, 3};
    d.ctype = "BBBBBBIII";
    for (int k = 0; k < 3; ++k) {
      std::vector<double> row(n, 0.0);
      row[6 + k] = 1, row[k] = -3;
      d.a.push_back(row), d.sense.push_back('L'), d.rhs.push_back(1);
    }
    for (int i = 0; i < 3; ++i) {
      std::vector<double> row(n, 0.0);
      double pos = 0;
      for (int j = 0; j < n; ++j)
        if (pick(gen) < 5) row[j] = coef(gen), pos += std::max(0.0, row[j]) * d.ub[j];
      d.a.push_back(row), d.sense.push_back('L'), d.rhs.push_back(std::floor(pos * 0.4));
    }
    MipTest::TearDown();
    MipTest::SetUp();
    load(d);
    pointwatch w;
    w.pts = points();
    if (w.pts.empty()) continue;
    VLTsetintparam(env, VLT_PARAM_PROBE, 3);
    VLTsetintparam(env, VLT_PARAM_IMPLBD, 2);
    VLTsetintparam(env, VLT_PARAM_CLIQUES, 2);
    cutwatch.seen = seenpoint;
    cutwatch.ctx = &w;
    ASSERT_EQ(VLTmipopt(env, lp), 0);
    cutwatch = cutwatcher();
    EXPECT_EQ(w.bad, 0) << "trial " << trial;
    expect_optimum(w.pts, "trial " + std::to_string(trial));
  }
}

TEST_F(CliqueTest, ImpliedBoundCutHoldsAtEveryPointAndCutsTheFractionalOne) {
  // x - 4y <= 2 with x on [0, 3], y binary: y = 0 gives x <= 2, and the cut
  // x <= 2 + y is tighter than the row where y is fractional.
  dense d;
  d.c = {0, 0};
  d.lb = {0, 0};
  d.ub = {3, 1};
  d.ctype = "CB";
  d.a = {{1, -4}};
  d.sense = {'L'};
  d.rhs = {2};
  load(d);
  cutwork cw;
  cw.cm = cm;
  cw.impl = std::make_shared<impltab>();
  implinit(*cw.impl, 2, 1);
  implfromrows(cw.cm, glb.data(), gub.data(), *cw.impl);
  ASSERT_EQ(cw.impl->recs.size(), 1u);
  const implication &im = cw.impl->recs[0];
  EXPECT_EQ(im.src, 1);
  EXPECT_EQ(im.srcval, 0);
  EXPECT_EQ(im.kind, 'U');
  EXPECT_EQ(im.tgt, 0);
  EXPECT_NEAR(im.bound, 2.0, 1e-12);
  cutsetinit(cw.pool, 1, 1, 1);
  const double x[2] = {3.0, 0.25};  // on the row: 3 - 1 = 2
  int count = 0;
  ASSERT_EQ(implround(cw, x, glb.data(), gub.data(), 10, &count), 0);
  ASSERT_EQ(count, 1);
  const cutstore &f = cw.pool.fresh[0];
  ASSERT_EQ(f.count(), 1);
  const cutrec &c = f.recs[0];
  EXPECT_EQ(c.type, kCutImplBd);
  auto act = [&](double xv, double yv) {
    double s = 0;
    for (int k = 0; k < c.nnz; ++k) s += f.valof(0)[k] * (f.indof(0)[k] == 0 ? xv : yv);
    return s;
  };
  EXPECT_GT(act(3.0, 0.25) - c.rhs, 0.1);
  for (int yv = 0; yv <= 1; ++yv)
    for (double xv = 0; xv <= 3.0; xv += 0.125)
      if (xv - 4 * yv <= 2 + 1e-12) {
        EXPECT_LE(act(xv, yv), c.rhs + 1e-12) << xv << " " << yv;
      }
}

}  // namespace
}  // namespace miptest
