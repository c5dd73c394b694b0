// Solution store: getters on an injected solution, checked against the
// model independently; the basis round trip; what changes keep or drop.
#include <cmath>

#include "fixture.h"
#include "model/lp.h"

using namespace velto_test;

namespace {

// max 3x0 + 2x1 + x2
//  r0:  x0 +  x1        <= 4   (L)
//  r1:  x0       +  x2  >= 1   (G)
//  r2:        x1 +  x2  in [2, 5]  (R, range 3)
//  r3:  x0 -  x1        =  0   (E)
// 0 <= x <= 10
struct Small {
  double obj[3] = {3, 2, 1}, rhs[4] = {4, 1, 2, 0}, rng[4] = {0, 0, 3, 0};
  double lb[3] = {0, 0, 0}, ub[3] = {10, 10, 10};
  char sense[4] = {'L', 'G', 'R', 'E'};
  int beg[3] = {0, 3, 6}, cnt[3] = {3, 3, 2}, ind[8] = {0, 1, 3, 0, 2, 3, 1, 2};
  double val[8] = {1, 1, 1, 1, 1, -1, 1, 1};
  // Row activities of x.
  void ax(const double *x, double *out) const {
    for (int i = 0; i < 4; ++i) out[i] = 0;
    for (int j = 0; j < 3; ++j)
      for (int k = beg[j]; k < beg[j] + cnt[j]; ++k) out[ind[k]] += val[k] * x[j];
  }
};

}  // namespace

class SolutionTest : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    ASSERT_EQ(VLTcopylp(env, lp, 3, 4, -1, m.obj, m.rhs, m.sense, m.beg, m.cnt, m.ind, m.val,
                        m.lb, m.ub, m.rng), 0);
  }
  // Writes the optimal point x = (2, 2, 0) in the internal form: slacks with
  // the working sign, the range column's value, the statuses.
  void inject(bool full) {
    const velto::lpcore *c = lp->core;
    ASSERT_EQ(c->totcols, 4);   // one range column
    ASSERT_EQ(c->allcols, 6);   // two slacks
    velto::soln *s = velto::soln_create(env, lp, full, full);
    ASSERT_NE(s, nullptr);
    double x[3] = {2, 2, 0}, a[4];
    m.ax(x, a);
    // Working values: range column y = ax - rhs on r2; slack of L row
    // rhs - ax; slack of G row ax - rhs.
    double y = a[2] - m.rhs[2], sl0 = m.rhs[0] - a[0], sl1 = a[1] - m.rhs[1];
    if (full) {
      for (int j = 0; j < 3; ++j) s->x[j] = x[j];
      s->x[3] = y;
      s->slack[0] = sl0;
      s->slack[1] = sl1;  // working form of a 'G' row: ax - rhs
      s->slack[2] = 0;
      s->slack[3] = 0;
    }
    // Basis: x0, x1, x2 and the slack of r1 basic; r0's slack and the range
    // column at lower (both rows tight at x).
    int cstat[6] = {1, 1, 1, 0, 0, 1};
    std::copy(cstat, cstat + 6, s->cstat);
    int head[4] = {0, 1, 2, 5};
    double xb[4] = {2, 2, 0, sl1};
    std::copy(head, head + 4, s->head);
    std::copy(xb, xb + 4, s->xbasic);
    // Duals of this basis in the internal (minimization) sign: the user's
    // pi = (2, 0, 1, 1) of the maximization, negated.
    double pi[4] = {-2, 0, -1, -1}, dj[4] = {0, 0, 0, -1};
    std::copy(pi, pi + 4, s->pi);
    std::copy(dj, dj + 4, s->dj);
    s->itcnt = 7;
    s->phase1cnt = 2;
    velto::soln_finish(lp, 1, 1, 1, 1, 10.0);
  }
  Small m;
};

TEST_F(SolutionTest, GettersWithoutASolution) {
  double x[3];
  EXPECT_EQ(VLTgetx(env, lp, x, 0, 2), 1217);
  EXPECT_EQ(takeErrors(), "VELTO Error  1217: No solution exists.\n");
  EXPECT_EQ(VLTgetx(env, lp, nullptr, 0, 2), 1004);  // the null array is found first
  EXPECT_EQ(VLTgetpi(env, lp, x, 0, 4), 1200);       // then the range
  takeErrors();
  double z = 5;
  EXPECT_EQ(VLTgetobjval(env, lp, &z), 1217);
  EXPECT_EQ(z, 0.0);
  int stat = -5;
  EXPECT_EQ(VLTsolution(env, lp, &stat, &z, x, nullptr, nullptr, nullptr), 1217);
  EXPECT_EQ(stat, 0);
  EXPECT_EQ(VLTgetstat(env, lp), 0);
  EXPECT_EQ(VLTgetitcnt(env, lp), 0);
  EXPECT_EQ(VLTgetmethod(env, lp), 0);
  takeErrors();
  int method = 0, type = 9;
  EXPECT_EQ(VLTsolninfo(env, lp, &method, &type, nullptr, nullptr), 0);
  EXPECT_EQ(method, -1);
  EXPECT_EQ(type, 0);
  int cs[3], rs[4];
  EXPECT_EQ(VLTgetbase(env, lp, cs, rs), 1262);
  EXPECT_EQ(takeErrors(), "VELTO Error  1262: No basis exists.\n");
  EXPECT_EQ(VLTcangetbase(env, lp), 0);
}

TEST_F(SolutionTest, ValuesAreCheckedAgainstTheModel) {
  for (bool full : {true, false}) {
    SCOPED_TRACE(full ? "full vectors" : "basis only");
    inject(full);
    double x[3], slack[4], ax[4], pi[4], dj[3], obj;
    int stat;
    ASSERT_EQ(VLTsolution(env, lp, &stat, &obj, x, pi, slack, dj), 0);
    EXPECT_EQ(stat, 1);
    EXPECT_EQ(obj, 10.0);
    EXPECT_EQ(x[0], 2.0);
    EXPECT_EQ(x[1], 2.0);
    EXPECT_EQ(x[2], 0.0);
    // Activities and slacks from the model, not from the record.
    double a[4];
    m.ax(x, a);
    ASSERT_EQ(VLTgetax(env, lp, ax, 0, 3), 0);
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(ax[i], a[i], 1e-12) << i;
    EXPECT_NEAR(slack[0], m.rhs[0] - a[0], 1e-12);  // L: rhs - ax
    EXPECT_NEAR(slack[1], m.rhs[1] - a[1], 1e-12);  // G: negative when above rhs
    EXPECT_LT(slack[1], 0.0);
    EXPECT_NEAR(slack[2], a[2] - m.rhs[2], 1e-12);  // R: the range column's value
    EXPECT_NEAR(slack[3], 0.0, 1e-12);
    // A maximization: duals carry the objective sense.
    EXPECT_EQ(pi[0], 2.0);
    EXPECT_EQ(pi[2], 1.0);
    EXPECT_EQ(dj[0], 0.0);
    // Reduced costs agree with c - A'pi in the user's sign.
    for (int j = 0; j < 3; ++j) {
      double d = m.obj[j];
      for (int k = m.beg[j]; k < m.beg[j] + m.cnt[j]; ++k) d -= pi[m.ind[k]] * m.val[k];
      EXPECT_NEAR(d, dj[j], 1e-12) << j;
    }
    EXPECT_EQ(VLTgetitcnt(env, lp), 7);
    EXPECT_EQ(VLTgetphase1cnt(env, lp), 2);
    int method, type, pf, df;
    ASSERT_EQ(VLTsolninfo(env, lp, &method, &type, &pf, &df), 0);
    EXPECT_EQ(method, 1);
    EXPECT_EQ(type, 1);
    EXPECT_EQ(pf, 1);
    // The user's basis: slack of r1 basic, the range row at lower, r3 without a basic artificial.
    int cs[3], rs[4];
    ASSERT_EQ(VLTgetbase(env, lp, cs, rs), 0);
    EXPECT_EQ(cs[0], 1);
    EXPECT_EQ(rs[0], 0);
    EXPECT_EQ(rs[1], 1);
    EXPECT_EQ(rs[2], 0);
    EXPECT_EQ(rs[3], 0);
  }
  // An interrupted primal phase 1 leaves the duals in the internal sign.
  lp->soln->pfeas = 0;
  double pi[4];
  ASSERT_EQ(VLTgetpi(env, lp, pi, 0, 0), 0);
  EXPECT_EQ(pi[0], -2.0);
  double x[3];
  EXPECT_EQ(VLTgetx(env, lp, x, 0, 3), 1200);
  EXPECT_EQ(takeErrors(),
            "VELTO Error  1206: VLTgetx: 'end' value 3 is greater than 2.\n"
            "VELTO Error  1200: Index is outside range of valid values.\n");
}

TEST_F(SolutionTest, ChangesKeepOrDropTheSolution) {
  inject(true);
  // An objective change keeps the record, shifts the reduced cost, clears the status.
  int j = 2;
  double c = 4;
  ASSERT_EQ(VLTchgobj(env, lp, 1, &j, &c), 0);
  EXPECT_EQ(VLTgetstat(env, lp), 0);
  double dj[3];
  ASSERT_EQ(VLTgetdj(env, lp, dj, 0, 2), 0);
  EXPECT_EQ(dj[2], 3.0);  // 0 + (4 - 1), in the user's sign of a maximization
  // A right-hand side change moves the slack with it.
  int i = 0;
  double r = 6;
  ASSERT_EQ(VLTchgrhs(env, lp, 1, &i, &r), 0);
  double sl[1];
  ASSERT_EQ(VLTgetslack(env, lp, sl, 0, 0), 0);
  EXPECT_EQ(sl[0], 2.0);
  // A bound change repairs statuses; a sense change drops the solution.
  int col = 0;
  char l = 'L';
  double lo = -1e20;
  ASSERT_EQ(VLTchgbds(env, lp, 1, &col, &l, &lo), 0);
  char g = 'G';
  ASSERT_EQ(VLTchgsense(env, lp, 1, &i, &g), 0);
  double x[3];
  EXPECT_EQ(VLTgetx(env, lp, x, 0, 2), 1217);
  EXPECT_EQ(VLTgetstat(env, lp), 0);
  takeErrors();
  // A new column keeps the record for a warm start, but it no longer
  // describes the model.
  inject(true);
  ASSERT_EQ(VLTnewcols(env, lp, 1, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_NE(lp->soln, nullptr);
  EXPECT_EQ(VLTgetx(env, lp, x, 0, 2), 1217);
  takeErrors();
  // And so does a new load.
  ASSERT_EQ(VLTcopylp(env, lp, 3, 4, -1, m.obj, m.rhs, m.sense, m.beg, m.cnt, m.ind, m.val, m.lb,
                      m.ub, m.rng), 0);
  inject(true);
  ASSERT_EQ(VLTcopylp(env, lp, 3, 4, -1, m.obj, m.rhs, m.sense, m.beg, m.cnt, m.ind, m.val, m.lb,
                      m.ub, m.rng), 0);
  EXPECT_EQ(lp->soln, nullptr);
}

TEST_F(SolutionTest, BasisRoundTrip) {
  int cs[3] = {1, 2, 3}, rs[4] = {1, 0, 2, 1};
  EXPECT_EQ(VLTcopybase(env, lp, cs, nullptr), 1004);
  takeErrors();
  ASSERT_EQ(VLTcopybase(env, lp, cs, rs), 0);
  EXPECT_EQ(VLTcangetbase(env, lp), 1);
  int cs2[3] = {}, rs2[4] = {};
  ASSERT_EQ(VLTgetbase(env, lp, cs2, rs2), 0);
  for (int k = 0; k < 3; ++k) EXPECT_EQ(cs2[k], cs[k]);
  for (int k = 0; k < 4; ++k) EXPECT_EQ(rs2[k], rs[k]);
  ASSERT_EQ(VLTgetbase(env, lp, nullptr, rs2), 0);  // one side is enough
  EXPECT_EQ(VLTgetbase(env, lp, nullptr, nullptr), 1004);
  takeErrors();
  // A later solution's basis wins; a basis copied after it wins again.
  inject(false);
  ASSERT_EQ(VLTgetbase(env, lp, cs2, rs2), 0);
  EXPECT_EQ(cs2[1], 1);
  ASSERT_EQ(VLTcopybase(env, lp, cs, rs), 0);
  ASSERT_EQ(VLTgetbase(env, lp, cs2, rs2), 0);
  EXPECT_EQ(cs2[1], 2);
  // The basis survives growth of the model: new columns at lower, new rows basic.
  double o = 0;
  ASSERT_EQ(VLTnewcols(env, lp, 1, &o, nullptr, nullptr, nullptr, nullptr), 0);
  ASSERT_EQ(VLTnewrows(env, lp, 1, nullptr, nullptr, nullptr, nullptr), 0);
  int cs3[4], rs3[5];
  ASSERT_EQ(VLTgetbase(env, lp, cs3, rs3), 0);
  EXPECT_EQ(cs3[2], 3);
  EXPECT_EQ(cs3[3], 0);
  EXPECT_EQ(rs3[4], 1);
  // Status values are checked with the data check on.
  datacheck(1);
  int bad[3] = {0, 4, 1};
  EXPECT_EQ(VLTcopybase(env, lp, bad, rs), 1253);
  EXPECT_EQ(takeErrors(), "VELTO Error  1253: Invalid status entry 1 for the basis.\n");
}

TEST_F(SolutionTest, StartValuesAreStoredScaledAndSigned) {
  double x[3] = {1, 2, 3}, pi[4] = {1, -1, 0.5, 2};
  ASSERT_EQ(VLTcopystart(env, lp, nullptr, nullptr, x, nullptr, nullptr, pi), 0);
  const velto::start *s = lp->start;
  ASSERT_NE(s, nullptr);
  // Slacks computed from the model: r1 = 1 - (1 + 3) = -3, stored negated for 'G'.
  EXPECT_EQ(s->slackstart[0], 4 - 3);
  EXPECT_EQ(s->slackstart[1], 3.0);
  // Reduced costs c - A'pi, times the objective sense.
  EXPECT_EQ(s->pistart[0], -1.0);
  EXPECT_EQ(s->djstart[0], -(3 - (1 - 1 + 2)));
  EXPECT_EQ(VLTcopystart(env, lp, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 1004);
  takeErrors();
}
