// Cases of the factor on small matrices built here: dependent rows, dense
// columns, the summary block, an all-zero right-hand side, and the task
// structure of the parallel factor.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "barrier/barrier.h"
#include "barrier/normal.h"
#include "env/capture.h"

namespace {

using velto::barprob;
using velto::cholrec;

barprob fromdense(const std::vector<std::vector<double>> &rows) {
  barprob bp;
  bp.m = (int)rows.size();
  bp.n = (int)rows[0].size();
  bp.colbeg.assign(bp.n + 1, 0);
  for (int j = 0; j < bp.n; ++j) {
    for (int i = 0; i < bp.m; ++i)
      if (rows[i][j] != 0.0) {
        bp.colind.push_back(i);
        bp.colval.push_back(rows[i][j]);
      }
    bp.colbeg[j + 1] = (int)bp.colind.size();
  }
  bp.sense.assign(bp.m, 'E');
  bp.buildrows();
  return bp;
}

// A banded random matrix of m rows, plus one column in every row when
// `densecol` is set.
barprob banded(int m, bool densecol) {
  std::mt19937 gen(9);
  std::uniform_real_distribution<double> u(0.5, 2.0);
  std::vector<std::vector<double>> rows(m, std::vector<double>(2 * m + (densecol ? 1 : 0), 0.0));
  for (int i = 0; i < m; ++i) {
    rows[i][2 * i] = u(gen);
    rows[i][(2 * i + 3) % (2 * m)] = u(gen);
    rows[(i + 1) % m][2 * i + 1] = u(gen);
    if (densecol) rows[i][2 * m] = u(gen);
  }
  return fromdense(rows);
}

TEST(CholCases, MultipleOfARowIsDroppedAndCounted) {
  barprob bp = fromdense({{1, 1, 0}, {2, 2, 0}, {0, 1, 1}});
  vtest::Env env;
  VLTsetintparam(env, VLT_PARAM_BARDISPLAY, 0);
  cholrec c;
  ASSERT_EQ(velto::chol_analyse(env, bp, c), 0);
  std::vector<double> d(bp.n + bp.m, 0.0);
  for (int j = 0; j < bp.n; ++j) d[j] = 1.0;
  ASSERT_EQ(velto::chol_factor(env, bp, c, d), 0);
  EXPECT_EQ(c.npivsmall, 1);
  // A right-hand side in the range: r = M (1, 0, 1).
  std::vector<double> r, y;
  btest::normalproduct(bp, d, {1.0, 0.0, 1.0}, r);
  int flag = -1;
  ASSERT_EQ(velto::chol_solve(env, c, y, r, true, &flag), 0);
  EXPECT_EQ(flag, 0);
  EXPECT_TRUE(y[0] == 0.0 || y[1] == 0.0) << "the dropped row's entry is 0";
  EXPECT_LT(btest::relresidual(bp, d, y, r), 1e-14);
  // Out of the range, the lost pivot matters and the check says so.
  ASSERT_EQ(velto::chol_solve(env, c, y, {1.0, 0.0, 0.0}, true, &flag), 0);
  EXPECT_EQ(flag, 1);
}

TEST(CholCases, AllZeroRightHandSideGivesZero) {
  barprob bp = fromdense({{1, 1, 0}, {0, 1, 1}});
  vtest::Env env;
  VLTsetintparam(env, VLT_PARAM_BARDISPLAY, 0);
  cholrec c;
  ASSERT_EQ(velto::chol_analyse(env, bp, c), 0);
  std::vector<double> y{5.0, 5.0};
  ASSERT_EQ(velto::chol_solve(env, c, y, {0.0, 0.0}, false, nullptr), 0);  // no factor yet
  EXPECT_EQ(y, (std::vector<double>{0.0, 0.0}));
}

TEST(CholCases, DenseColumnBordersTheFactor) {
  barprob bp = banded(150, true);
  vtest::Env env;
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_BARDISPLAY, 1), 0);
  cholrec c;
  ASSERT_EQ(velto::chol_analyse(env, bp, c), 0);
  EXPECT_EQ(c.ndense, 1);
  EXPECT_EQ(c.n, 151);
  EXPECT_NE(env.res.all().find("\n***NOTE: Found 1 dense columns.\n\n"), std::string::npos);
  std::vector<double> d = btest::randomweights(bp, 2), r, y;
  ASSERT_EQ(velto::chol_factor(env, bp, c, d), 0);
  EXPECT_EQ(c.npivneg, 1);  // the border row's pivot
  std::vector<double> y0(bp.m, 1.0);
  btest::normalproduct(bp, d, y0, r);
  ASSERT_EQ(velto::normal_solve(env, bp, c, d, y, r, 3), 0);
  EXPECT_LT(btest::relresidual(bp, d, y, r), 1e-12);
  // A threshold above every column's length: no dense columns at all.
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_BARCOLNZ, 1000), 0);
  cholrec c2;
  ASSERT_EQ(velto::chol_analyse(env, bp, c2), 0);
  EXPECT_EQ(c2.ndense, 0);
  EXPECT_EQ(c2.n, 150);
}

// Near the optimum of a model with dense columns, every sparse column of
// a row may be at a bound: the sparse part alone is then nearly singular
// and the border's elimination loses the solution (the fit2p failure).
// The small pivots are raised, counted, and the solve still meets the true
// matrix closely.
TEST(CholCases, DenseBorderOverNearlySingularSparsePart) {
  barprob bp = banded(150, true);
  vtest::Env env;
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_BARDISPLAY, 0), 0);
  cholrec c;
  ASSERT_EQ(velto::chol_analyse(env, bp, c), 0);
  ASSERT_EQ(c.ndense, 1);
  std::mt19937 gen(4);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  std::vector<double> d(bp.n + bp.m, 0.0), r, y;
  // Rows 20 to 29 keep only tiny weights on their sparse columns.
  for (int j = 0; j < bp.n - 1; ++j) d[j] = j >= 38 && j < 62 ? 1e-14 * (1 + u(gen)) : 1.0 + u(gen);
  d[bp.n - 1] = 1e6;
  ASSERT_EQ(velto::chol_factor(env, bp, c, d), 0);
  EXPECT_GT(c.npivraised, 0);
  std::vector<double> y0(bp.m);
  for (double &v : y0) v = u(gen) - 0.5;
  btest::normalproduct(bp, d, y0, r);
  ASSERT_EQ(velto::normal_solve(env, bp, c, d, y, r, 3), 0);
  double res = 0.0, rn = 0.0;
  std::vector<double> my;
  btest::normalproduct(bp, d, y, my);
  for (int i = 0; i < bp.m; ++i) {
    res = std::fmax(res, std::fabs(r[i] - my[i]));
    rn = std::fmax(rn, std::fabs(r[i]));
  }
  EXPECT_LT(res, 1e-10 * rn);
}

TEST(CholCases, FewerThanHundredRowsNeverHaveAutomaticDenseColumns) {
  barprob bp = banded(99, true);
  vtest::Env env;
  VLTsetintparam(env, VLT_PARAM_BARDISPLAY, 0);
  ASSERT_EQ(velto::find_dense(env, bp), 0);
  EXPECT_TRUE(bp.densecols.empty());
}

TEST(CholCases, SummaryStatisticsBlock) {
  barprob bp = banded(120, false);
  vtest::Env env;
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_BARDISPLAY, 1), 0);
  cholrec c;
  ASSERT_EQ(velto::chol_analyse(env, bp, c), 0);
  // Nonzeros counted again from the stored patterns of the columns.
  double nz = 0, isp = 0;
  for (int s = 0; s < c.nsuper; ++s) {
    isp += c.slen[s];
    for (int j = c.sfirst[s]; j <= c.slast[s]; ++j) nz += c.slen[s] - (j - c.sfirst[s]);
  }
  char buf[256];
  std::snprintf(buf, sizeof buf,
                "Summary statistics for Cholesky factor:\n"
                "  Rows in Factor            = 120\n"
                "  Integer space required    = %.0f\n"
                "  Total non-zeros in factor = %.0f\n",
                isp, nz);
  const std::string all = env.res.all();
  EXPECT_NE(all.find(buf), std::string::npos) << all;
  EXPECT_NE(all.find("  Total FP ops to factor    = "), std::string::npos);
  EXPECT_EQ(all.find("  Threads"), std::string::npos);
  EXPECT_EQ(all.find("super-nodes"), std::string::npos);
  env.res.clear();
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_BARDISPLAY, 2), 0);
  ASSERT_EQ(velto::chol_analyse(env, bp, c), 0);
  char sn[64];
  std::snprintf(sn, sizeof sn, "L has %d super-nodes.\nHistogram of super-node widths:\nSupWidth:", c.nsuper);
  EXPECT_NE(env.res.all().find(sn), std::string::npos);
  EXPECT_NE(env.res.all().find("\n  Number:"), std::string::npos);
}

TEST(CholCases, TasksCoverEveryPanelOnceAndSourcesComeFirst) {
  barprob bp;
  if (!btest::loadnetlib("pilot87", bp)) GTEST_SKIP() << "netlib/pilot87 not found";
  vtest::Env env;
  VLTsetintparam(env, VLT_PARAM_BARDISPLAY, 0);
  cholrec c;
  ASSERT_EQ(velto::chol_analyse(env, bp, c), 0);
  ASSERT_EQ(velto::chol_setup(env, bp, c, 2), 0);
  ASSERT_GT(c.taskfirst.size(), 1u);
  std::vector<int> taskof(c.npanels, -1);
  for (size_t t = 0; t < c.taskfirst.size(); ++t)
    for (int a = c.taskfirst[t]; a < c.taskend[t]; ++a) {
      const int p = c.tasklist[a];
      EXPECT_EQ(taskof[p], -1) << "panel " << p << " in two tasks";
      taskof[p] = (int)t;
      if (a > c.taskfirst[t]) {
        EXPECT_LT(c.tasklist[a - 1], p);
      }
    }
  for (int p = 0; p < c.npanels; ++p) {
    ASSERT_GE(taskof[p], 0) << "panel " << p << " in no task";
    for (int u = c.updstart[p]; u < c.updstart[p + 1]; ++u) {
      const int s = c.updsrc[u];
      EXPECT_LT(s, p);
      EXPECT_LE(taskof[s], taskof[p]) << "a source in a later task can deadlock the workers";
    }
  }
}

}  // namespace
