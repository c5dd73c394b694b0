// Sensitivity ranges and quality measures through the public calls.  Ranges
// are checked by what they mean (warm re-solves just inside and just outside
// each finite end, tests/common/rangecheck.h); quality measures against the
// independent checker of tests/common/lpcheck.h.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "common/lpcheck.h"
#include "common/qualcheck.h"
#include "common/rangecheck.h"
#include "common/session.h"
#include "common/reference.h"
#include "velto.h"

namespace {

class Sensit : public ::testing::Test, protected velto_test::session {
 protected:
  Sensit() : session("sensit") {}
  void SetUp() override { ASSERT_NE(env, nullptr); }

  struct rowspec {
    std::vector<std::pair<int, double>> a;
    char sense;
    double rhs, rng = 0.0;
  };

  void load(int objsen, const std::vector<double> &c, const std::vector<double> &lb,
            const std::vector<double> &ub, const std::vector<rowspec> &rows) {
    const int n = static_cast<int>(c.size()), m = static_cast<int>(rows.size());
    std::vector<int> beg(n), cnt(n), ind;
    std::vector<double> val, rhs(m), rng(m);
    std::vector<char> sense(m);
    for (int j = 0; j < n; ++j) {
      beg[j] = static_cast<int>(ind.size());
      for (int i = 0; i < m; ++i)
        for (auto &e : rows[i].a)
          if (e.first == j) {
            ind.push_back(i);
            val.push_back(e.second);
          }
      cnt[j] = static_cast<int>(ind.size()) - beg[j];
    }
    for (int i = 0; i < m; ++i) {
      sense[i] = rows[i].sense;
      rhs[i] = rows[i].rhs;
      rng[i] = rows[i].rng;
    }
    ASSERT_EQ(VLTcopylp(env, lp, n, m, objsen, c.data(), rhs.data(), sense.data(), beg.data(),
                        cnt.data(), ind.data(), val.data(), lb.data(), ub.data(), rng.data()),
              0);
  }

  // Every kind of row and column: 'G', 'L', 'E' and ranged rows; a bounded,
  // a free, a fixed and an upper-bounded column.  objsen -1 loads the same
  // problem as a maximization of the negated costs.
  void mixed(int objsen) {
    std::vector<double> c = {2, 3, -1, 0, 1, 4};
    for (double &v : c) v *= objsen;
    load(objsen, c, {0, 0, -1e20, -1e20, 1, 0}, {10, 1e20, 4, 1e20, 1, 3},
         {{{{0, 1}, {1, 1}, {2, 1}}, 'G', 4},
          {{{0, 1}, {1, -1}, {3, 1}}, 'L', 2},
          {{{1, 1}, {2, 1}, {4, 1}}, 'E', 5},
          {{{0, 1}, {5, 1}}, 'R', 1, 5},
          {{{2, 1}, {3, -1}}, 'L', 3}});
  }

  void solve_optimal() {
    ASSERT_EQ(VLTlpopt(env, lp), 0);
    ASSERT_EQ(VLTgetstat(env, lp), 1);
  }

  void probe_all(const std::string &name) {
    rangecheck::tally t;
    ASSERT_EQ(rangecheck::checkmodel(env, lp, 1000, t, name), 0);
    for (auto &f : t.failures) ADD_FAILURE() << f;
    EXPECT_EQ(t.unconfirmed, 0) << name << ": outside ends where the basis stood";
    EXPECT_GT(t.inside, 0);
    if (std::getenv("VELTO_TEST_VERBOSE"))
      std::printf("%s: %ld ranges, %ld inside and %ld outside points\n", name.c_str(), t.ranges,
                  t.inside, t.outside);
  }
};

TEST_F(Sensit, RangesHoldInsideAndBreakOutside_MixedRowsAndColumns) {
  mixed(1);
  solve_optimal();
  probe_all("mixed-min");
}

TEST_F(Sensit, RangesHoldInsideAndBreakOutside_Maximization) {
  mixed(-1);
  solve_optimal();
  probe_all("mixed-max");
}

// The same problem as a minimization and as a maximization of the negated
// costs: the cost ranges mirror, the others agree.
TEST_F(Sensit, MaximizationMirrorsCostRanges) {
  std::vector<double> lo[2], up[2], rlo[2], rup[2];
  for (int s = 0; s < 2; ++s) {
    VLTfreeprob(env, &lp);
    int st = 0;
    lp = VLTcreateprob(env, &st, "m");
    mixed(s == 0 ? 1 : -1);
    solve_optimal();
    lo[s].resize(6);
    up[s].resize(6);
    rlo[s].resize(5);
    rup[s].resize(5);
    ASSERT_EQ(VLTobjsa(env, lp, 0, 5, lo[s].data(), up[s].data()), 0);
    ASSERT_EQ(VLTrhssa(env, lp, 0, 4, rlo[s].data(), rup[s].data()), 0);
  }
  for (int j = 0; j < 6; ++j) {
    EXPECT_NEAR(lo[1][j], -up[0][j], 1e-9) << j;
    EXPECT_NEAR(up[1][j], -lo[0][j], 1e-9) << j;
  }
  for (int i = 0; i < 5; ++i) {
    EXPECT_NEAR(rlo[1][i], rlo[0][i], 1e-9) << i;
    EXPECT_NEAR(rup[1][i], rup[0][i], 1e-9) << i;
  }
}

// A degenerate vertex: three constraints through (1, 0) in two dimensions.
// Ranges are those of the final basis, one side possibly of width zero.
TEST_F(Sensit, DegenerateVertexRangesAreThoseOfTheBasis) {
  load(1, {-1, -1}, {0, 0}, {1e20, 1e20},
       {{{{0, 1}, {1, 1}}, 'L', 1}, {{{0, 1}}, 'L', 1}, {{{0, 1}, {1, 2}}, 'L', 2},
        {{{1, 1}}, 'L', 1}});
  solve_optimal();
  probe_all("degenerate");
}

// Nonbasic columns: at its lower bound the range is [c - d, inf); a fixed
// column has no limits; at the upper bound (-inf, c - d].
TEST_F(Sensit, NonbasicColumnRangesFollowReducedCosts) {
  load(1, {1, 2, -1, 5}, {0, 0, 0, 2}, {1e20, 1e20, 3, 2},
       {{{{0, 1}, {1, 1}, {2, 1}, {3, 1}}, 'G', 4}});
  solve_optimal();
  std::vector<int> cstat(4), rstat(1);
  ASSERT_EQ(VLTgetbase(env, lp, cstat.data(), rstat.data()), 0);
  std::vector<double> d(4), lo(4), up(4);
  ASSERT_EQ(VLTgetdj(env, lp, d.data(), 0, 3), 0);
  ASSERT_EQ(VLTobjsa(env, lp, 0, 3, lo.data(), up.data()), 0);
  const double c[4] = {1, 2, -1, 5};
  int seen = 0;
  for (int j = 0; j < 4; ++j) {
    if (j == 3) {
      EXPECT_EQ(lo[j], -1e20);  // fixed
      EXPECT_EQ(up[j], 1e20);
      continue;
    }
    if (cstat[j] == 0) {
      EXPECT_NEAR(lo[j], c[j] - d[j], 1e-12);
      EXPECT_EQ(up[j], 1e20);
      ++seen;
    } else if (cstat[j] == 2) {
      EXPECT_EQ(lo[j], -1e20);
      EXPECT_NEAR(up[j], c[j] - d[j], 1e-12);
      ++seen;
    }
  }
  EXPECT_EQ(cstat[2], 2);  // x2 at its upper bound 3
  EXPECT_GE(seen, 2);
}

// A fixed column at the bound its reduced cost does not ask for stays
// optimal only while fixed: both of its bound ranges are the single point.
TEST_F(Sensit, FixedColumnAgainstItsReducedCostKeepsBothBounds) {
  // min x0 - x1, x0 + x1 >= 2, x1 fixed at 1: d1 = -2 < 0.
  load(1, {1, -1}, {0, 1}, {1e20, 1}, {{{{0, 1}, {1, 1}}, 'G', 2}});
  solve_optimal();
  std::vector<int> cs(2), rs(1);
  ASSERT_EQ(VLTgetbase(env, lp, cs.data(), rs.data()), 0);
  double a, b, c, d;
  ASSERT_EQ(VLTboundsa(env, lp, 1, 1, &a, &b, &c, &d), 0);
  if (cs[1] == 0) {
    EXPECT_EQ(a, 1.0);
    EXPECT_EQ(b, 1.0);
    EXPECT_EQ(c, 1.0);
    EXPECT_EQ(d, 1.0);
  } else {
    ASSERT_EQ(cs[1], 2);
    EXPECT_EQ(a, -1e20);  // the lower bound may go down, the upper one moves x
    EXPECT_EQ(b, 1.0);
  }
  probe_all("fixed");
  // Set the status against the sign by hand and ask again.
  cs[1] = 0;
  ASSERT_EQ(VLTcopybase(env, lp, cs.data(), rs.data()), 0);
  VLTsetintparam(env, VLT_PARAM_PREIND, 0);
  VLTsetintparam(env, VLT_PARAM_ADVIND, 1);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  std::vector<int> now(2);
  ASSERT_EQ(VLTgetbase(env, lp, now.data(), rs.data()), 0);
  if (now[1] == 0) {
    ASSERT_EQ(VLTboundsa(env, lp, 1, 1, &a, &b, &c, &d), 0);
    EXPECT_EQ(a, 1.0);
    EXPECT_EQ(d, 1.0);
    probe_all("fixed-at-lower");
  }
}

// A basic column that no nonbasic column limits: its cost may take any value.
TEST_F(Sensit, BasicColumnWithoutLimitsHasTheWholeLine) {
  load(1, {3, 1}, {-1e20, 0}, {1e20, 1e20}, {{{{0, 1}}, 'E', 2}, {{{1, 1}}, 'G', 1}});
  solve_optimal();
  double lo[2], up[2];
  ASSERT_EQ(VLTobjsa(env, lp, 0, 1, lo, up), 0);
  EXPECT_EQ(lo[0], -1e20);
  EXPECT_EQ(up[0], 1e20);
  probe_all("unlimited");
}

// The extended row ranges: an equality row agrees with VLTrhssa on both
// sides; the infinite side of an inequality reaches down to the activity.
TEST_F(Sensit, ExtendedRowRangesBySense) {
  mixed(1);
  solve_optimal();
  const int m = 5;
  std::vector<double> rlo(m), rup(m), a(m), b(m), c(m), d(m), ax(m);
  ASSERT_EQ(VLTrhssa(env, lp, 0, m - 1, rlo.data(), rup.data()), 0);
  ASSERT_EQ(VLTErangesa(env, lp, 0, m - 1, a.data(), b.data(), c.data(), d.data()), 0);
  ASSERT_EQ(VLTgetax(env, lp, ax.data(), 0, m - 1), 0);
  // Row 2 is the equality.
  EXPECT_EQ(a[2], rlo[2]);
  EXPECT_EQ(b[2], rup[2]);
  EXPECT_EQ(c[2], rlo[2]);
  EXPECT_EQ(d[2], rup[2]);
  // 'G' row 0: the low side as VLTrhssa, the high side from the activity up.
  EXPECT_EQ(a[0], rlo[0]);
  EXPECT_EQ(b[0], rup[0]);
  EXPECT_NEAR(c[0], ax[0], 1e-9);
  EXPECT_EQ(d[0], 1e20);
  // 'L' rows 1 and 4: the mirror image.
  for (int i : {1, 4}) {
    EXPECT_EQ(a[i], -1e20);
    EXPECT_NEAR(b[i], ax[i], 1e-9);
    EXPECT_EQ(c[i], rlo[i]);
    EXPECT_EQ(d[i], rup[i]);
  }
  // The ranged row: each side's range holds its current value.
  EXPECT_LE(a[3], 1.0 + 1e-9);
  EXPECT_GE(b[3], 1.0 - 1e-9);
  EXPECT_LE(c[3], 6.0 + 1e-9);
  EXPECT_GE(d[3], 6.0 - 1e-9);
}

// The probe over a side of a ranged row: moving the side in force within its
// reported range keeps the basis.
TEST_F(Sensit, RangedRowSideInForceKeepsTheBasis) {
  // min x0 + x1, 2 <= x0 + x1 <= 7 (ranged), x0 - x1 <= 1: the low end binds.
  load(1, {1, 1}, {0, 0}, {1e20, 1e20},
       {{{{0, 1}, {1, 1}}, 'R', 2, 5}, {{{0, 1}, {1, -1}}, 'L', 1}});
  solve_optimal();
  double a, b, c, d;
  ASSERT_EQ(VLTErangesa(env, lp, 0, 0, &a, &b, &c, &d), 0);
  EXPECT_LE(a, 2.0);
  EXPECT_GE(b, 2.0);
  EXPECT_LE(b, 7.0);  // never past the high end
  EXPECT_NEAR(c, 2.0, 1e-9);
  EXPECT_EQ(d, 1e20);
  // Move the low end (rhs and range together keep the high end at 7).
  std::vector<int> cs(2), rs(2);
  ASSERT_EQ(VLTgetbase(env, lp, cs.data(), rs.data()), 0);
  VLTsetintparam(env, VLT_PARAM_PREIND, 0);
  VLTsetintparam(env, VLT_PARAM_ADVIND, 1);
  const double inside = b - 1e-7 * (1 + std::fabs(b));
  int row = 0;
  double rng = 7.0 - inside;
  ASSERT_EQ(VLTchgrhs(env, lp, 1, &row, &inside), 0);
  ASSERT_EQ(VLTchgrngval(env, lp, 1, &row, &rng), 0);
  ASSERT_EQ(VLTcopybase(env, lp, cs.data(), rs.data()), 0);
  ASSERT_EQ(VLTdualopt(env, lp), 0);
  EXPECT_EQ(VLTgetstat(env, lp), 1);
  EXPECT_EQ(VLTgetitcnt(env, lp), 0);
}

TEST_F(Sensit, ArgumentAndStatusChecks) {
  double lo[8], up[8];
  // No solution yet.
  mixed(1);
  EXPECT_EQ(VLTobjsa(env, lp, 0, 0, lo, up), 1217);
  EXPECT_EQ(VLTrhssa(env, lp, 0, 0, lo, up), 1217);
  solve_optimal();
  errors.clear();
  EXPECT_EQ(VLTobjsa(env, lp, 0, 0, nullptr, up), 1004);
  EXPECT_EQ(VLTboundsa(env, lp, 0, 0, nullptr, nullptr, nullptr, nullptr), 1004);
  EXPECT_EQ(VLTboundsa(env, lp, 0, 0, nullptr, lo, nullptr, nullptr), 0);  // one array suffices
  EXPECT_EQ(VLTobjsa(env, lp, 0, 6, lo, up), 1200);
  EXPECT_EQ(VLTrhssa(env, lp, -1, 2, lo, up), 1200);
  EXPECT_EQ(VLTErangesa(env, lp, 3, 5, lo, up, nullptr, nullptr), 1200);
  EXPECT_NE(errors.find("VELTO Error  1200"), std::string::npos) << errors;
  EXPECT_EQ(VLTobjsa(env, lp, 3, 2, lo, up), 0);  // an empty range is no error
  EXPECT_EQ(VLTobjsa(nullptr, lp, 0, 0, lo, up), 1002);
  EXPECT_EQ(VLTobjsa(env, nullptr, 0, 0, lo, up), 1009);
  // A model change drops the solution.
  double v = 3.0;
  int j = 0;
  ASSERT_EQ(VLTchgobj(env, lp, 1, &j, &v), 0);
  EXPECT_EQ(VLTobjsa(env, lp, 0, 0, lo, up), 1217);
}

TEST_F(Sensit, DualInfeasibleResultHasNoRanges) {
  // x0 + x1 >= 3 with x0, x1 <= 1: infeasible; the dual method says so.
  load(1, {1, 1}, {0, 0}, {1, 1}, {{{{0, 1}, {1, 1}}, 'G', 3}});
  VLTsetintparam(env, VLT_PARAM_PREIND, 0);
  ASSERT_EQ(VLTdualopt(env, lp), 0);
  ASSERT_EQ(VLTgetstat(env, lp), 3);
  double lo[2], up[2];
  errors.clear();
  EXPECT_EQ(VLTrhssa(env, lp, 0, 0, lo, up), 1260);
  EXPECT_EQ(VLTobjsa(env, lp, 0, 1, lo, up), 1260);
  EXPECT_NE(errors.find("Sensitivity analysis not available for current status"),
            std::string::npos)
      << errors;
}

// An unbounded result of the primal method still has cost and right-hand
// side ranges (of its last basis); a cost range may be empty then.
TEST_F(Sensit, PrimalUnboundedResultStillHasRanges) {
  // min -x0 - x1, x0 - x1 <= 1, x1 - 2 x0 <= 4: the ray (1, 1) is unbounded.
  load(1, {-1, -1}, {0, 0}, {1e20, 1e20},
       {{{{0, 1}, {1, -1}}, 'L', 1}, {{{0, -2}, {1, 1}}, 'L', 4}});
  VLTsetintparam(env, VLT_PARAM_PREIND, 0);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  ASSERT_EQ(VLTgetstat(env, lp), 2);
  double lo[2], up[2], rlo[2], rup[2];
  EXPECT_EQ(VLTobjsa(env, lp, 0, 1, lo, up), 0);
  EXPECT_EQ(VLTrhssa(env, lp, 0, 1, rlo, rup), 0);
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(lo[i] <= up[i] || (lo[i] == 1e20 && up[i] == -1e20)) << i;
    EXPECT_LE(rlo[i], rup[i]) << i;
  }
}

TEST_F(Sensit, IntegerProblemHasNoRanges) {
  mixed(1);
  const char ct[6] = {'I', 'C', 'C', 'C', 'C', 'C'};
  ASSERT_EQ(VLTcopyctype(env, lp, ct), 0);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  double lo[6], up[6];
  EXPECT_EQ(VLTobjsa(env, lp, 0, 5, lo, up), 1017);
}

// ---- Netlib ----------------------------------------------------------------

class SensitNetlib : public Sensit, public ::testing::WithParamInterface<const char *> {};

TEST_P(SensitNetlib, RangesHoldInsideAndBreakOutside) {
  const std::string path = velto_test::datadir() + "/netlib/" + GetParam() + ".mps.gz";
  if (VLTreadcopyprob(env, lp, path.c_str(), nullptr) != 0)
    GTEST_SKIP() << "no " << path << " (set VELTO_DATA)";
  solve_optimal();
  probe_all(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Small, SensitNetlib, ::testing::Values("afiro", "sc105", "kb2", "share2b"));

// ---- quality measures ---------------------------------------------------------

using qualcheck::expect_measures_agree;
using qualcheck::quality;
using qualcheck::readpoint;
using qualcheck::point;

TEST_F(Sensit, QualityMeasuresAgreeWithTheChecker_Optimal) {
  mixed(-1);
  solve_optimal();
  expect_measures_agree(env, lp, "mixed");
}

TEST_F(Sensit, QualityMeasuresAgreeWithTheChecker_IterationLimit) {
  // Stopped early: the point is infeasible and the measures say by how much.
  const std::string path = velto_test::datadir() + "/netlib/sc105.mps.gz";
  if (VLTreadcopyprob(env, lp, path.c_str(), nullptr) != 0) GTEST_SKIP() << "no " << path;
  VLTsetintparam(env, VLT_PARAM_PREIND, 0);
  VLTsetintparam(env, VLT_PARAM_ITLIM, 5);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  ASSERT_EQ(VLTgetstat(env, lp), 10);
  expect_measures_agree(env, lp, "sc105-itlim");
  double v = quality(env, lp, VLT_QUAL_MAX_PRIMAL_INFEAS);
  int at = -5;
  ASSERT_EQ(VLTgetintquality(env, lp, &at, VLT_QUAL_MAX_PRIMAL_INFEAS), 0);
  if (v > 0.0) {
    const lpcheck::model md = lpcheck::from_api(env, lp);
    const point p = readpoint(env, lp);
    int cat = -1;
    lpcheck::primal_violation(md, p.x, false, &cat);
    // The checker numbers a row i as n + i; the library as ~i.
    const int want = cat >= md.n ? -(cat - md.n) - 1 : cat;
    EXPECT_EQ(at, want);
  }
}

TEST_F(Sensit, QualityMeasuresAgreeWithTheChecker_Netlib) {
  for (const char *name : {"afiro", "sc105", "adlittle", "blend"}) {
    const std::string path = velto_test::datadir() + "/netlib/" + name + ".mps.gz";
    if (VLTreadcopyprob(env, lp, path.c_str(), nullptr) != 0) GTEST_SKIP() << "no " << path;
    solve_optimal();
    expect_measures_agree(env, lp, name);
  }
}

TEST_F(Sensit, QualityCodesAndStatuses) {
  double v = 0.0;
  int at = 0;
  mixed(1);
  EXPECT_EQ(VLTgetdblquality(env, lp, &v, 1), 1217);
  EXPECT_EQ(VLTcheckax(env, lp, &at, 0), -1.0);
  solve_optimal();
  for (int code : {0, 20, 22, 43, -1}) EXPECT_EQ(VLTgetdblquality(env, lp, &v, code), 1003) << code;
  EXPECT_EQ(VLTgetdblquality(env, lp, &v, 9), 3003);
  EXPECT_EQ(VLTgetdblquality(env, lp, nullptr, 1), 1004);
  EXPECT_EQ(VLTgetintquality(env, lp, nullptr, 1), 1004);
  // Sums and the scaled slack measure have no index.
  for (int code : {3, 13, 28, 31, 39, 40}) EXPECT_EQ(VLTgetintquality(env, lp, &at, code), 1003) << code;
  EXPECT_EQ(VLTgetintquality(env, lp, &at, 23), 0);
  const point p = readpoint(env, lp);
  EXPECT_EQ(std::fabs(p.x[at]), quality(env, lp, VLT_QUAL_MAX_X));
  EXPECT_EQ(quality(env, lp, VLT_QUAL_KAPPA), VLTgetkappa(env, lp));
}

TEST_F(Sensit, KappaOfAnAllSlackBasisIsOne) {
  // max x0 + x1 with x0, x1 <= 0 through 'L' rows: the slack basis is optimal.
  load(-1, {-1, -1}, {0, 0}, {1e20, 1e20}, {{{{0, 1}}, 'L', 4}, {{{1, 1}}, 'L', 4}});
  VLTsetintparam(env, VLT_PARAM_PREIND, 0);
  ASSERT_EQ(VLTprimopt(env, lp), 0);
  std::vector<int> cs(2), rs(2);
  ASSERT_EQ(VLTgetbase(env, lp, cs.data(), rs.data()), 0);
  ASSERT_EQ(rs[0], 1);
  ASSERT_EQ(rs[1], 1);
  EXPECT_EQ(quality(env, lp, VLT_QUAL_KAPPA), 1.0);
}

TEST_F(Sensit, IntegerInfeasibilityOfAnIncumbent) {
  mixed(1);
  const char ct[6] = {'I', 'C', 'I', 'C', 'C', 'C'};
  ASSERT_EQ(VLTcopyctype(env, lp, ct), 0);
  double v = -1.0;
  EXPECT_EQ(VLTgetdblquality(env, lp, &v, 9), 3017);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  ASSERT_EQ(VLTgetdblquality(env, lp, &v, 9), 0);
  std::vector<double> x(6);
  ASSERT_EQ(VLTgetmipx(env, lp, x.data(), 0, 5), 0);
  double want = 0.0;
  for (int j : {0, 2}) want = std::max(want, std::fabs(x[j] - std::round(x[j])));
  EXPECT_NEAR(v, want, 1e-15);
  ASSERT_EQ(VLTgetdblquality(env, lp, &v, VLT_QUAL_MAX_PRIMAL_INFEAS), 0);
  const lpcheck::model md = lpcheck::from_api(env, lp);
  EXPECT_NEAR(v, lpcheck::primal_violation(md, x), 1e-9);
}

}  // namespace
