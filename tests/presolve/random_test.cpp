// Differential test on thousands of small random models rich in the
// structures presolve works on: the same status and objective with presolve
// on and off, and the reduced optimum carried back passes the optimality
// check on the user's model.
#include <gtest/gtest.h>

#include <cstdio>
#include <random>

#include "presolve/lpbuild.h"

using namespace presolve_test;

namespace {

lpdef random_model(std::mt19937 &g) {
  auto pick = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(g); };
  lpdef d;
  d.objsen = pick(0, 3) == 0 ? -1 : 1;
  const int n = pick(1, 7), m = pick(1, 6);
  for (int j = 0; j < n; ++j) {
    double c = pick(0, 2) == 0 ? 0.0 : pick(-4, 6);
    double l = 0, u = INF;
    switch (pick(0, 6)) {
      case 0: l = -INF; u = INF; break;             // free
      case 1: l = u = pick(-2, 3); break;           // fixed
      case 2: l = pick(-3, 0); u = l + pick(1, 5); break;
      case 3: l = -INF; u = pick(-1, 4); break;
      case 4: l = pick(-2, 2); break;
      default: break;                               // [0, inf)
    }
    d.col(c, l, u);
  }
  // Most right-hand sides come from a point within the bounds, so that most
  // models are feasible.
  std::vector<double> x0(n);
  for (int j = 0; j < n; ++j) {
    double l = d.lb[j] <= -INF ? -3 : d.lb[j], u = d.ub[j] >= INF ? l + 4 : d.ub[j];
    x0[j] = l + (u - l) * pick(0, 4) / 4.0;
  }
  for (int i = 0; i < m; ++i) {
    std::vector<std::pair<int, double>> e;
    const int kind = pick(0, 9);
    if (kind == 0) {
      // empty row
    } else if (kind <= 2) {
      int a = pick(-3, 3);
      e.push_back({pick(0, n - 1), a == 0 ? 1.0 : a});  // singleton row
    } else if (kind == 3 && n >= 2) {
      // doubleton, mostly an equation
      int j0 = pick(0, n - 1), j1 = (j0 + pick(1, n - 1)) % n;
      int a0 = pick(-3, 3), a1 = pick(-3, 3);
      e.push_back({j0, a0 == 0 ? 1.0 : a0});
      e.push_back({j1, a1 == 0 ? -1.0 : a1});
    } else {
      for (int j = 0; j < n; ++j)
        if (pick(0, 9) < 5) {
          int a = pick(-3, 3);
          if (a != 0) e.push_back({j, static_cast<double>(a)});
        }
    }
    const char senses[] = {'L', 'G', 'E', 'R'};
    char s = kind == 3 && pick(0, 2) > 0 ? 'E' : senses[pick(0, 3)];
    double b = pick(-4, 8), r = s == 'R' ? pick(-3, 4) : 0;
    if (pick(0, 4) > 0) {
      double act = 0;
      for (auto [j, a] : e) act += a * x0[j];
      int gap = pick(0, 2);
      b = s == 'L' ? act + gap : s == 'G' ? act - gap : act;
      if (s == 'R') b = r >= 0 ? act - std::min<double>(gap, r) : act + std::min<double>(gap, -r);
    }
    d.row(std::move(e), s, b, r);
  }
  // Parallel rows: a scaled copy of a row with its own sense and a
  // right-hand side at, near or away from the scaled one.
  if (m >= 1 && pick(0, 2) == 0) {
    const int i = pick(0, m - 1);
    const double sc[] = {1, -1, 2, -0.5};
    const double f = sc[pick(0, 3)];
    std::vector<std::pair<int, double>> e;
    for (auto [j, a] : d.rows[i]) e.push_back({j, f * a});
    const char senses[] = {'L', 'G', 'E'};
    d.row(std::move(e), senses[pick(0, 2)], f * d.rhs[i] + pick(-1, 1) * pick(0, 2), 0);
  }
  // Parallel columns: a scaled copy of a column's entries with bounds and
  // a cost of its own, the cost often proportional.
  if (n >= 1 && pick(0, 2) == 0) {
    const int j = pick(0, n - 1);
    const double sc[] = {1, -1, 2, -0.5};
    const double f = sc[pick(0, 3)];
    double l = 0, u = INF;
    switch (pick(0, 3)) {
      case 0: l = -INF; break;
      case 1: u = pick(1, 4); break;
      case 2: l = -INF; u = pick(-1, 3); break;
      default: break;
    }
    const int q = d.col(pick(0, 1) ? f * d.obj[j] : pick(-3, 3), l, u);
    for (auto &row : d.rows)
      for (size_t k = 0, len = row.size(); k < len; ++k)
        if (row[k].first == j) row.push_back({q, f * row[k].second});
  }
  return d;
}

TEST(PresolveRandom, SameStatusAndObjectiveWithAndWithoutPresolve) {
  std::mt19937 g(20261123);
  int counts[4] = {0, 0, 0, 0};
  int reduced = 0, cleanup = 0;
  for (int t = 0; t < 3000; ++t) {
    lpdef d = random_model(g);
    // Every third model goes through the dual simplex.
    auto opt = t % 3 == 2 ? VLTdualopt : VLTprimopt;
    outcome off = solve(d, 0, 3, 0, opt);
    outcome on = solve(d, 1, 3, 0, opt);
    SCOPED_TRACE("model " + std::to_string(t) + (t % 3 == 2 ? " dual" : " primal"));
    ASSERT_EQ(on.status, 0) << on.err;
    ASSERT_EQ(off.status, 0) << off.err;
    ASSERT_TRUE(off.lpstat == 1 || off.lpstat == 2 || off.lpstat == 3) << off.lpstat;
    ASSERT_EQ(on.lpstat, off.lpstat);
    ++counts[on.lpstat];
    if (on.lpstat != 1) continue;
    EXPECT_NEAR(on.obj, off.obj, 1e-9 * (1 + std::fabs(off.obj)));
    EXPECT_TRUE(on.final.ok()) << describe(on.final);
    if (on.prestat >= 1) {
      ++reduced;
      cleanup += on.itcnt - on.reditcnt;
      EXPECT_TRUE(on.post.ok()) << describe(on.post);
      EXPECT_NEAR(on.post.obj, off.obj, 1e-9 * (1 + std::fabs(off.obj)));
    }
    if (HasFailure()) return;
  }
  std::printf("optimal %d unbounded %d infeasible %d; reduced %d, clean-up iterations %d\n",
              counts[1], counts[2], counts[3], reduced, cleanup);
}

}  // namespace
