// Forrest-Tomlin update: long runs of random column exchanges checked against
// fresh factors of the same basis, and the update's special cases.
#include <gtest/gtest.h>

#include "lu_helpers.h"

using namespace velto;
using namespace lutest;

namespace {

// m rows, n = 3m random sparse columns (each with a dominant entry so that
// random exchanges stay well conditioned), plus slacks.
Model random_model(std::mt19937 &rng, int m, double extra) {
  Model md;
  md.m = m;
  std::uniform_real_distribution<double> u(-1.0, 1.0), mag(1.0, 10.0);
  std::poisson_distribution<int> pe(extra);
  std::uniform_int_distribution<int> row(0, m - 1);
  for (int j = 0; j < 3 * m; j++) {
    std::vector<std::pair<int, double>> e;
    std::vector<char> used(m, 0);
    int d = row(rng);
    used[d] = 1;
    e.push_back({d, (u(rng) < 0 ? -1 : 1) * mag(rng)});
    int k = std::min(pe(rng), m - 1);
    for (int t = 0; t < k; t++) {
      int i = row(rng);
      if (used[i]) continue;
      used[i] = 1;
      e.push_back({i, u(rng)});
    }
    md.addcol(e);
  }
  md.finish();
  return md;
}

double maxabs(const std::vector<double> &v) {
  double s = 0;
  for (double x : v) s = std::max(s, std::fabs(x));
  return s;
}

// Compares the updated factor with a fresh factor of the same head.
void compare_with_fresh(const Model &md, lufactor *f, const std::vector<int> &head,
                        std::mt19937 &rng) {
  const int m = md.m;
  Fac G(m);
  std::vector<int> h2 = head;
  double u = 0.1;
  ASSERT_EQ(lu_refactor(nullptr, G.f, &md.mat, h2.data(), &u, 1e-13, 0, nullptr), 0);
  ASSERT_EQ(h2, head);
  std::uniform_real_distribution<double> ur(-1, 1);
  std::vector<double> b(m);
  for (double &x : b) x = ur(rng);
  std::vector<double> x1 = b, x2 = b;
  lu_ftran(f, x1.data());
  lu_ftran(G.f, x2.data());
  double sc = std::max(1.0, maxabs(x2));
  for (int i = 0; i < m; i++) ASSERT_NEAR(x1[i], x2[i], 1e-9 * sc) << "ftran " << i;
  std::vector<double> y1 = b, y2 = b;
  lu_btran(f, y1.data());
  lu_btran(G.f, y2.data());
  sc = std::max(1.0, maxabs(y2));
  for (int i = 0; i < m; i++) ASSERT_NEAR(y1[i], y2[i], 1e-9 * sc) << "btran " << i;
  // Sparse forms on the updated factor against the fresh dense ones.
  std::uniform_int_distribution<int> pick(0, m - 1);
  int i0 = pick(rng);
  double one = 1.0;
  SVec out(m);
  std::vector<double> e(m, 0.0);
  e[i0] = 1.0;
  std::vector<double> ref = e;
  lu_ftran(G.f, ref.data());
  lu_ftran_sparse(f, &out.v, 1, &i0, &one);
  ASSERT_TRUE(svec_consistent(out.v));
  sc = std::max(1.0, maxabs(ref));
  for (int i = 0; i < m; i++) ASSERT_NEAR(out.v.val[i], ref[i], 1e-9 * sc);
  ref = e;
  lu_btran(G.f, ref.data());
  lu_btran_unit(f, &out.v, i0);
  ASSERT_TRUE(svec_consistent(out.v));
  sc = std::max(1.0, maxabs(ref));
  for (int i = 0; i < m; i++) ASSERT_NEAR(out.v.val[i], ref[i], 1e-9 * sc);
  ASSERT_LE(ftran_residual(md, head, x1, b), 1e-11);
}

struct RunStats {
  int updates = 0, refactors = 0, rejected = 0;
};

// `count` exchanges from the slack basis; the entering column is chosen at
// random and the leaving position among the larger entries of its FTRAN.
void exchange_run(std::mt19937 &rng, int m, double extra, int count, int reinv, RunStats *rs,
                  bool use_leaving) {
  Model md = random_model(rng, m, extra);
  const int nvar = md.n + m;
  std::vector<int> head(m), where(nvar, -1);
  for (int p = 0; p < m; p++) head[p] = md.n + p, where[md.n + p] = p;
  Fac F(m);
  F.f->reinv = reinv;
  double u = 0.1;
  ASSERT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-13, 0, nullptr), 0);
  SVec col(m), row(m);
  std::uniform_int_distribution<int> var(0, nvar - 1);
  std::vector<int> ci;
  std::vector<double> cv;
  int done = 0;
  while (done < count) {
    int q = var(rng);
    if (where[q] >= 0) continue;
    md.column(q, ci, cv);
    lu_ftran_spike(F.f, &col.v, static_cast<int>(ci.size()), ci.data(), cv.data(), q);
    double amax = 0;
    for (int k = 0; k < col.v.nnz; k++) amax = std::max(amax, std::fabs(col.v.val[col.v.ind[k]]));
    if (amax < 1e-6) continue;
    std::vector<int> cand;
    for (int k = 0; k < col.v.nnz; k++)
      if (std::fabs(col.v.val[col.v.ind[k]]) >= 0.3 * amax) cand.push_back(col.v.ind[k]);
    int p = cand[std::uniform_int_distribution<int>(0, static_cast<int>(cand.size()) - 1)(rng)];
    double alpha = col.v.val[p];
    if (use_leaving) {
      lu_btran_leaving(F.f, &row.v, p);
      // Row p of the inverse times the entering column is alpha.
      double s = 0;
      for (size_t k = 0; k < ci.size(); k++) s += row.v.val[ci[k]] * cv[k];
      ASSERT_NEAR(s, alpha, 1e-9 * std::max(1.0, std::fabs(alpha)));
    }
    if (lu_check_pivot(F.f, p, alpha, 1) != 0) {
      rs->rejected++;
      continue;
    }
    int st = lu_update(nullptr, F.f, &md.mat, p, q);
    where[head[p]] = -1;
    head[p] = q;
    where[q] = p;
    if (st == kLuRefactor) {
      rs->refactors++;
      u = 0.1;
      ASSERT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-13, 0, nullptr), 0);
    } else {
      ASSERT_EQ(st, 0);
      rs->updates++;
    }
    done++;
    if (done % 50 == 0 || done == count) {
      ASSERT_EQ(lu_check(F.f), 0) << "after " << done;
      compare_with_fresh(md, F.f, head, rng);
      if (::testing::Test::HasFatalFailure()) return;
    }
  }
}

}  // namespace

TEST(LUUpdate, TenThousandExchangesMatchFreshFactors) {
  std::mt19937 rng(2024);
  RunStats rs;
  const int sizes[] = {5, 20, 60, 150, 300};
  int total = 0;
  for (int run = 0; run < 20; run++) {
    int m = sizes[run % 5];
    double extra = (run % 2) ? 3.0 : 1.0;
    exchange_run(rng, m, extra, 500, 0, &rs, run % 3 == 0);
    ASSERT_FALSE(HasFatalFailure()) << "run " << run;
    total += 500;
  }
  EXPECT_EQ(total, 10000);
  EXPECT_GT(rs.updates, 5000);
}

TEST(LUUpdate, FixedIntervalRefactorsOnSchedule) {
  std::mt19937 rng(99);
  RunStats rs;
  exchange_run(rng, 40, 2.0, 300, 25, &rs, false);
  ASSERT_FALSE(HasFatalFailure());
  // REINV = 25: 24 updates per factor, the 25th asks for a refactorization.
  EXPECT_EQ(rs.refactors, 300 / 25);
  // REINV = 1: every update asks for a refactorization.
  RunStats r1;
  exchange_run(rng, 30, 2.0, 50, 1, &r1, false);
  ASSERT_FALSE(HasFatalFailure());
  EXPECT_EQ(r1.updates, 0);
  EXPECT_EQ(r1.refactors, 50);
}

TEST(LUUpdate, SlackBasisUpdatesShrinkUfirstAndUnitRowsNeedNoEta) {
  // Structural column j has 1.0 in row j and 0.5 in row j+1.
  const int m = 12;
  Model md;
  md.m = m;
  for (int j = 0; j < m; j++) {
    if (j + 1 < m)
      md.addcol({{j, 1.0}, {j + 1, 0.5}});
    else
      md.addcol({{j, 1.0}});
  }
  md.finish();
  std::vector<int> head(m);
  for (int p = 0; p < m; p++) head[p] = md.n + p;
  Fac F(m);
  double u = 0.1;
  ASSERT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-13, 0, nullptr), 0);
  EXPECT_EQ(F.f->ufirst, m);
  SVec col(m);
  std::vector<int> ci;
  std::vector<double> cv;
  // Entering in falling order keeps the leaving row of U empty every time.
  for (int j = m - 2; j >= 0; j--) {
    md.column(j, ci, cv);
    lu_ftran_spike(F.f, &col.v, static_cast<int>(ci.size()), ci.data(), cv.data(), j);
    // Position j holds slack j; its U row is empty and alpha = 1.
    ASSERT_DOUBLE_EQ(col.v.val[j], 1.0);
    ASSERT_EQ(lu_check_pivot(F.f, j, 1.0, 1), 0);
    ASSERT_EQ(lu_update(nullptr, F.f, &md.mat, j, j), 0);
    head[j] = j;
    EXPECT_EQ(F.f->ufirst, j + 1) << "update " << j;
    EXPECT_EQ(F.f->eta.count, 0) << "a unit row eta with alpha 1 is not stored";
    ASSERT_EQ(lu_check(F.f), 0);
  }
  std::mt19937 rng(4);
  compare_with_fresh(md, F.f, head, rng);
}

TEST(LUUpdate, UnstablePivotsAreRejected) {
  std::mt19937 rng(11);
  Model md = random_model(rng, 20, 2.0);
  std::vector<int> head(20);
  for (int p = 0; p < 20; p++) head[p] = md.n + p;
  Fac F(20);
  double u = 0.1;
  ASSERT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-13, 0, nullptr), 0);
  EXPECT_EQ(lu_check_pivot(F.f, 3, 1e-14, 1), kLuRejected);
  EXPECT_EQ(F.f->eta.mustrefactor, 1);
  EXPECT_EQ(F.f->rowetanz, 0);
  // A pivot of 1e-9 against a row eta entry of 1 exceeds the 1e8 ratio.
  EXPECT_EQ(lu_check_pivot(F.f, 3, 1e-9, 1), kLuRejected);
  EXPECT_EQ(lu_check_pivot(F.f, 3, 0.5, 0), 0);
  EXPECT_EQ(F.f->rowetanz, 0) << "keep = 0 drops the stored row eta";
  // Refactorization clears the flag.
  ASSERT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-13, 0, nullptr), 0);
  EXPECT_EQ(F.f->eta.mustrefactor, 0);
}

TEST(LUUpdate, IntervalAndSingularityLimitComeFromTheEnvironment) {
  int st = 0;
  VLTENVptr env = VLTopenVELTO(&st);
  ASSERT_NE(env, nullptr);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_REINV, 3), 0);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_SINGLIM, 0), 0);
  const int m = 6;
  Model md;
  md.m = m;
  for (int j = 0; j < m; j++) md.addcol({{j, 2.0}});
  md.addcol({{0, 1.0}, {1, 1.0}});
  md.finish();
  std::vector<int> head(m);
  for (int p = 0; p < m; p++) head[p] = md.n + p;
  Fac F(m);
  double u = 0.01;
  ASSERT_EQ(lu_refactor(env, F.f, &md.mat, head.data(), &u, 1e-13, 1, nullptr), 0);
  EXPECT_EQ(F.f->eta.limit, 2);
  EXPECT_EQ(F.f->eta.dynamic, 0);
  SVec col(m);
  std::vector<int> ci;
  std::vector<double> cv;
  int statuses[3];
  for (int j = 0; j < 3; j++) {
    md.column(j, ci, cv);
    lu_ftran_spike(F.f, &col.v, static_cast<int>(ci.size()), ci.data(), cv.data(), j);
    statuses[j] = lu_update(env, F.f, &md.mat, j, j);
    head[j] = j;
  }
  EXPECT_EQ(statuses[0], 0);
  EXPECT_EQ(statuses[1], 0);
  EXPECT_EQ(statuses[2], kLuRefactor);
  EXPECT_EQ(F.f->ready, 0);
  // Singular basis with the limit at 0: no repair, the singular status.
  head[3] = head[4] = m;  // the same structural twice
  EXPECT_EQ(lu_refactor(env, F.f, &md.mat, head.data(), &u, 1e-13, 1, nullptr), kLuSingular);
  VLTcloseVELTO(&env);
}
