// Factorization: differential checks of fresh factors against independent
// residuals, singular and nearly singular bases, analysis mode.
#include <gtest/gtest.h>

#include <thread>

#include "lu_helpers.h"

using namespace velto;
using namespace lutest;

namespace {

std::vector<int> identity_head(int m) {
  std::vector<int> h(m);
  for (int i = 0; i < m; i++) h[i] = i;
  return h;
}

// Runs every solve on a fresh factor of `head` and checks residuals and the
// agreement of the sparse and dense forms.
void check_solves(const Model &md, lufactor *f, const std::vector<int> &head, std::mt19937 &rng,
                  double tol) {
  const int m = md.m;
  std::uniform_real_distribution<double> u(-1, 1);
  std::uniform_int_distribution<int> pick(0, m - 1);
  // Dense FTRAN and BTRAN.
  std::vector<double> b(m), x(m), c(m), y(m);
  for (int i = 0; i < m; i++) b[i] = u(rng), c[i] = u(rng);
  x = b;
  lu_ftran(f, x.data());
  EXPECT_LE(ftran_residual(md, head, x, b), tol);
  y = c;
  lu_btran(f, y.data());
  EXPECT_LE(btran_residual(md, head, y, c), tol);
  // Sparse right-hand sides against the dense forms.
  SVec out(m);
  for (int trial = 0; trial < 3; trial++) {
    int nz = 1 + trial;
    std::vector<int> ind;
    std::vector<double> val;
    std::vector<double> dense(m, 0.0);
    for (int k = 0; k < nz; k++) {
      int i = pick(rng);
      if (dense[i] != 0.0) continue;
      dense[i] = u(rng) + 2.0;
      ind.push_back(i);
      val.push_back(dense[i]);
    }
    std::vector<double> ref = dense;
    lu_ftran(f, ref.data());
    lu_ftran_sparse(f, &out.v, static_cast<int>(ind.size()), ind.data(), val.data());
    EXPECT_TRUE(svec_consistent(out.v));
    EXPECT_LE(ftran_residual(md, head, out.dense(), dense), tol)
        << "dense form: " << ftran_residual(md, head, ref, dense) << " ratio " << f->lastratio;
    double sc = 1;
    for (double v : ref) sc = std::max(sc, std::fabs(v));
    for (int i = 0; i < m; i++) ASSERT_NEAR(out.v.val[i], ref[i], 1e-10 * sc);
    ref = dense;
    lu_btran(f, ref.data());
    lu_btran_sparse(f, &out.v, static_cast<int>(ind.size()), ind.data(), val.data());
    EXPECT_TRUE(svec_consistent(out.v));
    EXPECT_LE(btran_residual(md, head, out.dense(), dense), tol)
        << "dense form: " << btran_residual(md, head, ref, dense) << " ratio " << f->lastratio;
    sc = 1;
    for (double v : ref) sc = std::max(sc, std::fabs(v));
    for (int i = 0; i < m; i++) ASSERT_NEAR(out.v.val[i], ref[i], 1e-10 * sc);
  }
  // A row of the inverse.
  int p = pick(rng);
  lu_btran_unit(f, &out.v, p);
  EXPECT_TRUE(svec_consistent(out.v));
  std::vector<double> e(m, 0.0);
  e[p] = 1.0;
  std::vector<double> ed = e;
  lu_btran(f, ed.data());
  EXPECT_LE(btran_residual(md, head, out.dense(), e), tol)
      << "dense form: " << btran_residual(md, head, ed, e) << " ratio " << f->lastratio;
}

}  // namespace

// 1000 random sparse bases, a tenth of them dense enough for the dense tail.
// At threshold 0.1 the residuals stay within 1e-12; at the default 0.01 the
// growth that the looser threshold allows costs a few digits on some.
TEST(LUFactor, RandomSparseBasesSolveToTwelveDigits) {
  for (double u0 : {0.1, 0.01}) {
    const double tol = u0 >= 0.1 ? 1e-12 : 1e-10;
    std::mt19937 rng(12345);
    std::uniform_int_distribution<int> dim(1, 120);
    std::uniform_real_distribution<double> dens(0.2, 4.0);
    int dense_tails = 0;
    for (int t = 0; t < 1000; t++) {
      int m = dim(rng);
      double extra = (t % 10 == 9) ? 0.6 * m : dens(rng);
      Model md = random_basis(rng, m, extra);
      std::vector<int> head = identity_head(m);
      Fac F(m);
      ASSERT_NE(F.f, nullptr);
      double u = u0;
      int st = lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-13, 0, nullptr);
      ASSERT_EQ(st, 0) << "matrix " << t << " m=" << m;
      ASSERT_EQ(F.f->ready, 1);
      ASSERT_EQ(lu_check(F.f), 0) << "matrix " << t;
      if (F.f->ndense > 0) dense_tails++;
      check_solves(md, F.f, head, rng, tol);
      if (HasFailure()) FAIL() << "threshold " << u0 << " matrix " << t << " m=" << m;
    }
    EXPECT_GE(dense_tails, 100);
  }
}

// A few columns that cover most rows among short ones (the shape of models
// with linking columns): every pivot row meets the long columns, whose
// lists shed pivoted rows in batches.  Solves must stay exact and the
// factor consistent, whichever order the pivots come in.
TEST(LUFactor, LongColumnsAmongShortOnesSolveToTwelveDigits) {
  std::mt19937 rng(777);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  for (int t = 0; t < 12; t++) {
    const int m = 200 + 100 * (t % 4);
    Model md = random_basis(rng, m, 1.5);
    // Replace a few basis columns by long ones: the diagonal entry kept,
    // and a random 60 to 100 percent of the other rows.
    const int nlong = 2 + t % 5;
    Model lm;
    lm.m = m;
    std::uniform_real_distribution<double> share(0.6, 1.0);
    for (int j = 0; j < m; j++) {
      std::vector<std::pair<int, double>> e;
      for (int k = md.beg[j]; k < md.beg[j] + md.cnt[j]; k++) e.push_back({md.ind[k], md.val[k]});
      if (j % (m / nlong) == 0) {
        int d = e[0].first;
        double sh = share(rng);
        e.resize(1);
        for (int i = 0; i < m; i++)
          if (i != d && (u(rng) + 1.0) / 2.0 < sh) e.push_back({i, 0.1 * u(rng)});
      }
      lm.addcol(e);
    }
    lm.finish();
    std::vector<int> head = identity_head(m);
    Fac F(m);
    ASSERT_NE(F.f, nullptr);
    double thr = 0.1;
    int st = lu_refactor(nullptr, F.f, &lm.mat, head.data(), &thr, 1e-13, 0, nullptr);
    ASSERT_EQ(st, 0) << "matrix " << t;
    ASSERT_EQ(lu_check(F.f), 0) << "matrix " << t;
    check_solves(lm, F.f, head, rng, 1e-12);
    if (HasFailure()) FAIL() << "matrix " << t << " m=" << m << " long columns " << nlong;
  }
}

TEST(LUFactor, SlackBasisPivotsAsSingletonsWithEmptyL) {
  std::mt19937 rng(7);
  Model md = random_basis(rng, 40, 2.0);
  // Slacks with mixed signs through the slack tables.
  md.srow.resize(40);
  md.scoef.resize(40);
  for (int i = 0; i < 40; i++) md.srow[i] = 39 - i, md.scoef[i] = (i % 2) ? -1.0 : 1.0;
  md.finish(false);
  std::vector<int> head(40);
  for (int p = 0; p < 40; p++) head[p] = md.n + p;
  Fac F(40);
  double u = 0.01;
  ASSERT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-13, 0, nullptr), 0);
  EXPECT_EQ(F.f->nlead, 40);
  EXPECT_EQ(F.f->lunz, 40);
  EXPECT_EQ(F.f->ufirst, 40);
  std::vector<double> b(40), x;
  for (int i = 0; i < 40; i++) b[i] = i + 1;
  x = b;
  lu_ftran(F.f, x.data());
  // B x = b exactly: x[p] = b[srow[p]] * scoef[p].
  for (int p = 0; p < 40; p++) EXPECT_EQ(x[p], b[39 - p] * ((p % 2) ? -1.0 : 1.0));
}

TEST(LUFactor, DuplicateColumnsMarkExactlyTheDependentPair) {
  // Rows 0..5; two copies of the column e2 + 2 e4 and slacks elsewhere.
  Model md;
  md.m = 6;
  md.addcol({{2, 1.0}, {4, 2.0}});
  md.addcol({{2, 1.0}, {4, 2.0}});
  md.finish();
  const int n = md.n;
  std::vector<int> head = {n + 0, 0, n + 1, n + 3, 1, n + 5};
  Fac F(6);
  F.f->singlim = 0;  // no repair allowed: the singular status comes back
  double u = 0.01;
  EXPECT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-13, 1, nullptr), kLuSingular);
  EXPECT_EQ(F.f->ready, 0);
  int unrows = 0, uncols = 0;
  for (int i = 0; i < 6; i++) {
    if (!F.f->rowdone[i]) {
      unrows++;
      EXPECT_TRUE(i == 2 || i == 4) << i;
    }
    if (!F.f->coldone[i]) {
      uncols++;
      EXPECT_TRUE(i == 1 || i == 4) << i;
    }
  }
  EXPECT_EQ(unrows, 1);
  EXPECT_EQ(uncols, 1);
  // With repair: status 2002, the dependent copy leaves for a slack.
  F.f->singlim = 10;
  F.f->singcount = 0;
  u = 0.01;
  EXPECT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-13, 1, nullptr), kLuRepaired);
  EXPECT_EQ(F.f->ready, 1);
  EXPECT_EQ(F.f->singcount, 1);
  EXPECT_DOUBLE_EQ(u, 0.1);  // the repair raises the threshold
  ASSERT_EQ(F.f->ndropped, 1);
  int p = F.f->droppos[0];
  EXPECT_TRUE(p == 1 || p == 4);
  EXPECT_TRUE(head[p] == n + 2 || head[p] == n + 4);
  std::mt19937 rng(1);
  check_solves(md, F.f, head, rng, 1e-12);
}

TEST(LUFactor, RepairUsesArtificialWhenRowHasNoSlack) {
  // Slacks only for rows 0 and 1 (row 2 is an equality row without one).
  Model md;
  md.m = 3;
  md.addcol({{0, 1.0}, {2, 1.0}});
  md.addcol({{0, 2.0}, {2, 2.0}});
  md.srow = {0, 1};
  md.scoef = {1.0, -1.0};
  md.finish(false);
  md.mat.nslack = 2;
  std::vector<int> head = {0, 1, 3};  // col0, col1 (parallel), slack of row 1
  Fac F(3);
  double u = 0.01;
  EXPECT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-13, 0, nullptr), kLuRepaired);
  ASSERT_EQ(F.f->ndropped, 1);
  int p = F.f->droppos[0];
  // The unpivoted row is 0 or 2: slack 2 (variable 2) or the artificial 4 + 2.
  EXPECT_TRUE(head[p] == 2 || head[p] == 6) << head[p];
  EXPECT_EQ(F.f->singcount, 0);  // repair = 0 does not count
}

TEST(LUFactor, SingularToleranceAboveEveryEntryPivotsNothing) {
  std::mt19937 rng(3);
  Model md = random_basis(rng, 8, 1.0);
  for (double &v : md.val) v = v > 0 ? 0.5 : -0.5;
  md.finish();
  std::vector<int> head = identity_head(8);
  Fac F(8);
  F.f->singlim = 0;
  double u = 0.01;
  EXPECT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 0.9, 1, nullptr), kLuSingular);
  for (int i = 0; i < 8; i++) {
    EXPECT_EQ(F.f->rowdone[i], 0);
    EXPECT_EQ(F.f->coldone[i], 0);
  }
}

TEST(LUFactor, SpreadPivotsRaiseTheThresholdInSteps) {
  auto diag = [](double small) {
    Model md;
    md.m = 3;
    md.addcol({{0, 1.0}});
    md.addcol({{1, small}, {0, 0.5}});
    md.addcol({{2, 1.0}, {1, 0.25}});
    md.finish();
    return md;
  };
  struct Case {
    double small, expect;
  } cases[] = {{1e-8, 0.01}, {2e-10, 0.1}, {2e-11, 0.2}, {2e-12, 0.3}, {2e-13, 0.5},
               {1e-14, 0.99999}};
  for (const Case &cs : cases) {
    Model md = diag(cs.small);
    std::vector<int> head = identity_head(3);
    Fac F(3);
    double u = 0.01;
    EXPECT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-15, 0, nullptr), 0);
    EXPECT_DOUBLE_EQ(u, cs.expect) << cs.small;
    // With a ratio requested there is no test and no raise.
    double ratio = 0, u2 = 0.01;
    EXPECT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u2, 1e-15, 0, &ratio), 0);
    EXPECT_DOUBLE_EQ(u2, 0.01);
    EXPECT_NEAR(ratio, 1.0 / cs.small, 1e-6 / cs.small);
  }
}

TEST(LUFactor, ZeroRightHandSideGivesEmptyResults) {
  std::mt19937 rng(5);
  Model md = random_basis(rng, 30, 2.0);
  std::vector<int> head = identity_head(30);
  Fac F(30);
  double u = 0.01;
  ASSERT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-13, 0, nullptr), 0);
  SVec out(30);
  int i0 = 3;
  double z0 = 0.0;
  lu_ftran_sparse(F.f, &out.v, 0, nullptr, nullptr);
  EXPECT_EQ(out.v.nnz, 0);
  lu_ftran_sparse(F.f, &out.v, 1, &i0, &z0);
  EXPECT_EQ(out.v.nnz, 0);
  lu_btran_sparse(F.f, &out.v, 0, nullptr, nullptr);
  EXPECT_EQ(out.v.nnz, 0);
  EXPECT_TRUE(svec_consistent(out.v));
}

TEST(LUFactor, CancellationLeavesExactZeros) {
  // B = [[1, 1], [1, 1 + 1e-3]]; b = B e0 = (1, 1): x = e0 after cancellation.
  Model md;
  md.m = 2;
  md.addcol({{0, 1.0}, {1, 1.0}});
  md.addcol({{0, 1.0}, {1, 1.0 + 1e-3}});
  md.finish();
  std::vector<int> head = {0, 1};
  Fac F(2);
  double u = 0.01;
  ASSERT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-13, 0, nullptr), 0);
  SVec out(2);
  int ind[2] = {0, 1};
  double val[2] = {1.0, 1.0};
  lu_ftran_sparse(F.f, &out.v, 2, ind, val);
  EXPECT_TRUE(svec_consistent(out.v));
  EXPECT_EQ(out.v.nnz, 1);
  EXPECT_EQ(out.v.val[1], 0.0);
  EXPECT_NEAR(out.v.val[0], 1.0, 1e-15);
}

TEST(LUFactor, ProbeReportsRankAndRespectsTheMask) {
  // Four rows; columns: e0+e1, 2(e0+e1) (dependent), e2, e3 only outside the mask.
  Model md;
  md.m = 4;
  md.addcol({{0, 1.0}, {1, 1.0}});
  md.addcol({{0, 2.0}, {1, 2.0}});
  md.addcol({{2, 1.0}, {1, 3.0}});
  md.addcol({{3, 1.0}});
  md.addcol({{0, 1.0}, {1, -1.0}});
  md.finish();
  Fac F(4);
  std::vector<int> rowdone(4), coldone(5);
  int cols4[4] = {0, 1, 2, 3};
  EXPECT_EQ(lu_probe(nullptr, F.f, &md.mat, 4, cols4, rowdone.data(), coldone.data(), nullptr, 0.01,
                     1e-13),
            kLuRepaired);
  EXPECT_EQ(coldone[0] + coldone[1], 1);
  EXPECT_EQ(coldone[2], 1);
  EXPECT_EQ(coldone[3], 1);
  EXPECT_EQ(F.f->ready, 0);
  // Five columns, full rank on the masked rows 0..2; column 3 has no masked
  // entry and stays unpivoted, as does row 3.
  int mask[4] = {1, 1, 1, 0};
  int cols5[5] = {0, 1, 2, 3, 4};
  EXPECT_EQ(lu_probe(nullptr, F.f, &md.mat, 5, cols5, rowdone.data(), coldone.data(), mask, 0.01,
                     1e-13),
            0);
  EXPECT_EQ(coldone[3], 0);
  EXPECT_EQ(rowdone[3], 0);
  EXPECT_EQ(rowdone[0] + rowdone[1] + rowdone[2], 3);
  EXPECT_EQ(coldone[0] + coldone[1], 1);
  EXPECT_EQ(coldone[2] + coldone[4], 2);
}

// Random bases made deficient on purpose (empty columns, repeated columns,
// combinations of other columns): without repair the status is exactly the
// singular one, with repair the factor works and its solves are accurate.
TEST(LUFactor, DeficientRandomBasesAreRepairedOrReported) {
  std::mt19937 rng(31337);
  std::uniform_int_distribution<int> dim(2, 60);
  for (int t = 0; t < 300; t++) {
    int m = dim(rng);
    Model md = random_basis(rng, m, 1.5);
    // Rebuild with k broken columns.
    int k = 1 + t % 3;
    Model bad;
    bad.m = m;
    std::uniform_int_distribution<int> col(0, m - 1);
    std::vector<int> broken;
    for (int q = 0; q < k; q++) broken.push_back(col(rng));
    std::vector<int> ri;
    std::vector<double> rv;
    for (int j = 0; j < m; j++) {
      std::vector<std::pair<int, double>> e;
      bool isbroken = std::find(broken.begin(), broken.end(), j) != broken.end();
      if (!isbroken) {
        md.column(j, ri, rv);
        for (size_t q = 0; q < ri.size(); q++) e.push_back({ri[q], rv[q]});
      } else if (t % 3 == 1) {
        int src = (j + 1) % m;  // repeat a neighbour, scaled
        md.column(src, ri, rv);
        for (size_t q = 0; q < ri.size(); q++) e.push_back({ri[q], -3.0 * rv[q]});
      } else if (t % 3 == 2 && m >= 3) {
        // Sum of two other columns.
        std::vector<double> dense(m, 0.0);
        for (int src : {(j + 1) % m, (j + 2) % m}) {
          md.column(src, ri, rv);
          for (size_t q = 0; q < ri.size(); q++) dense[ri[q]] += rv[q];
        }
        for (int i = 0; i < m; i++)
          if (dense[i] != 0.0) e.push_back({i, dense[i]});
      }  // else: an empty column
      bad.addcol(e);
    }
    bad.finish();
    std::vector<int> head = identity_head(m);
    Fac F(m);
    F.f->singlim = 0;
    double u = 0.01;
    int st = lu_refactor(nullptr, F.f, &bad.mat, head.data(), &u, 1e-11, 1, nullptr);
    // A broken column can happen to stay independent (its neighbour was
    // broken too); then the factor simply succeeds.
    ASSERT_TRUE(st == kLuSingular || st == 0) << t << " status " << st;
    if (st == kLuSingular) {
      int ur = 0, uc = 0;
      for (int i = 0; i < m; i++) ur += !F.f->rowdone[i], uc += !F.f->coldone[i];
      EXPECT_EQ(ur, uc) << t;
      EXPECT_GE(ur, 1) << t;
      EXPECT_LE(ur, k) << t;
    }
    F.f->singlim = 10;
    u = 0.01;
    st = lu_refactor(nullptr, F.f, &bad.mat, head.data(), &u, 1e-11, 1, nullptr);
    ASSERT_TRUE(st == kLuRepaired || st == 0) << t << " status " << st;
    ASSERT_EQ(lu_check(F.f), 0);
    for (int d = 0; d < F.f->ndropped; d++) EXPECT_EQ(head[F.f->droppos[d]] >= bad.n, true);
    check_solves(bad, F.f, head, rng, 1e-10);
    if (HasFailure()) FAIL() << "basis " << t;
  }
}

// Solves with caller work vectors only read the factor: four threads at once
// give the results of the factor's own serial solves.
TEST(LUFactor, CallerWorkVectorsAllowConcurrentSolves) {
  std::mt19937 rng(8);
  const int m = 400;
  Model md = random_basis(rng, m, 2.0);
  std::vector<int> head = identity_head(m);
  Fac F(m);
  double u = 0.1;
  ASSERT_EQ(lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-13, 0, nullptr), 0);
  std::vector<std::vector<double>> rows(m), cols(m);
  {
    SVec out(m);
    std::vector<int> ci;
    std::vector<double> cv;
    for (int p = 0; p < m; p++) {
      lu_btran_unit(F.f, &out.v, p);
      rows[p] = out.dense();
      md.column(p, ci, cv);
      lu_ftran_sparse(F.f, &out.v, static_cast<int>(ci.size()), ci.data(), cv.data());
      cols[p] = out.dense();
    }
  }
  std::vector<int> bad(4, 0);
  std::vector<std::thread> team;
  for (int t = 0; t < 4; t++)
    team.emplace_back([&, t] {
      luwork w;
      if (luwork_alloc(&w, m) != 0) {
        bad[t] = -1;
        return;
      }
      SVec out(m);
      std::vector<int> ci;
      std::vector<double> cv;
      for (int rep = 0; rep < 3; rep++)
        for (int p = t; p < m; p += 4) {
          lu_btran_unit(F.f, &out.v, p, &w);
          if (out.dense() != rows[p] || !svec_consistent(out.v)) bad[t]++;
          md.column(p, ci, cv);
          lu_ftran_sparse(F.f, &out.v, static_cast<int>(ci.size()), ci.data(), cv.data(), &w);
          if (out.dense() != cols[p]) bad[t]++;
          // B^-1 a_p is the unit vector at p.
          if (std::fabs(out.v.val[p] - 1.0) > 1e-12) bad[t]++;
        }
      luwork_free(&w);
    });
  for (auto &th : team) th.join();
  for (int t = 0; t < 4; t++) EXPECT_EQ(bad[t], 0) << "thread " << t;
}

namespace {
void collect(void *handle, const char *text) { static_cast<std::string *>(handle)->append(text); }
}  // namespace

// The repair and threshold lines reach the results channel, exactly and only
// with the display on; a repair during iterations (itcnt > 0) that moves the
// threshold by more than 0.01 reports the new value.
TEST(LUFactor, RepairAndThresholdLinesOnTheResultsChannel) {
  int st = 0;
  VLTENVptr env = VLTopenVELTO(&st);
  ASSERT_NE(env, nullptr);
  VLTCHANNELptr res = nullptr, warn = nullptr, err = nullptr, log = nullptr;
  ASSERT_EQ(VLTgetchannels(env, &res, &warn, &err, &log), 0);
  std::string text;
  ASSERT_EQ(VLTaddfuncdest(env, res, &text, collect), 0);
  Model md;
  md.m = 3;
  md.addcol({{0, 1.0}, {1, 1.0}});
  md.addcol({{0, 1.0}, {1, 1.0}});
  md.finish();
  std::vector<int> head = {0, 1, md.n + 2};
  Fac F(3);
  double u = 0.01;
  EXPECT_EQ(lu_refactor(env, F.f, &md.mat, head.data(), &u, 1e-13, 1, nullptr), kLuRepaired);
  EXPECT_EQ(text, "");
  head = {0, 1, md.n + 2};
  F.f->display = 1;
  u = 0.01;
  EXPECT_EQ(lu_refactor(env, F.f, &md.mat, head.data(), &u, 1e-13, 1, nullptr), kLuRepaired);
  EXPECT_EQ(text, "Repairing basis singularity.\n");
  // Spread pivots during iterations: 0.01 -> 0.1 -> 0.2, reported once.
  text.clear();
  Model sp;
  sp.m = 2;
  sp.addcol({{0, 1.0}});
  sp.addcol({{1, 2e-11}, {0, 0.5}});
  sp.finish();
  std::vector<int> h2 = {0, 1};
  Fac G(2);
  G.f->display = 1;
  G.f->itcnt = 5;
  u = 0.01;
  EXPECT_EQ(lu_refactor(env, G.f, &sp.mat, h2.data(), &u, 1e-15, 1, nullptr), 0);
  EXPECT_EQ(text, "Markowitz threshold set to 0.2.\n");
  VLTdelfuncdest(env, res, &text, collect);
  VLTcloseVELTO(&env);
}
