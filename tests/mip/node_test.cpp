// The node problem and the incumbent store: installing nodes and solving
// them through the public LP calls, cutoffs, and the getters that read the
// store.
#include <cmath>

#include "env/par.h"
#include "mip/mipnode.h"
#include "mip/miptree.h"
#include "mipfix.h"

namespace miptest {
namespace {

using namespace velto;

class NodeTest : public MipTest {
 protected:
  // max 5x0 + 4x1 + 3x2 + 2x3 + x4, three knapsack rows, binaries.
  void SetUp() override {
    MipTest::SetUp();
    const double obj[] = {5, 4, 3, 2, 1};
    const double rhs[] = {5, 11, 8};
    const char sense[] = "LLL";
    const int beg[] = {0, 3, 6, 9, 12};
    const int cnt[] = {3, 3, 3, 3, 2};
    const int ind[] = {0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 2};
    const double val[] = {2, 4, 3, 3, 1, 4, 1, 2, 2, 4, 3, 1, 1, 1};
    const double lb[] = {0, 0, 0, 0, 0}, ub[] = {1, 1, 1, 1, 1};
    ASSERT_EQ(VLTcopylp(env, lp, 5, 3, -1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
    ASSERT_EQ(VLTcopyctype(env, lp, "BBBBB"), 0);
    ASSERT_EQ(nodelp_make(env, lp, &ns.nodelp), 0);
    ns.glb.assign(lb, lb + 5);
    ns.gub.assign(ub, ub + 5);
  }
  void TearDown() override {
    if (ns.nodelp) VLTfreeprob(env, &ns.nodelp);
    MipTest::TearDown();
  }
  struct snapshot {
    std::vector<double> lb, ub;
    std::vector<int> cstat, rstat;
    double obj = 0;
  };
  snapshot solveandread() {
    snapshot s;
    lpresult r;
    int it = -1;
    EXPECT_EQ(nodelpsolve(env, ns.nodelp, -1, 1e75, 0.0, 1e75, 2, &r, &it, &s.obj), 0);
    EXPECT_EQ(r.status, 1);
    lastiters = it;
    s.lb.resize(5);
    s.ub.resize(5);
    s.cstat.resize(5);
    s.rstat.resize(3);
    EXPECT_EQ(VLTgetlb(env, ns.nodelp, s.lb.data(), 0, 4), 0);
    EXPECT_EQ(VLTgetub(env, ns.nodelp, s.ub.data(), 0, 4), 0);
    EXPECT_EQ(VLTgetbase(env, ns.nodelp, s.cstat.data(), s.rstat.data()), 0);
    return s;
  }
  nodestate ns;
  int lastiters = -1;
};

TEST_F(NodeTest, NodeProblemIsAContinuousCopy) {
  EXPECT_EQ(VLTgetprobtype(env, ns.nodelp), 4);
  EXPECT_EQ(VLTgetnumcols(env, ns.nodelp), 5);
  char name[32];
  int surplus;
  ASSERT_EQ(VLTgetprobname(env, ns.nodelp, name, sizeof name, &surplus), 0);
  EXPECT_STREQ(name, "nodelp");
}

TEST_F(NodeTest, ReinstallingANodeRestoresBoundsAndBasisAndNeedsNoIterations) {
  bdchglist a, b;
  a.add(0, 'U', 0.0);
  a.add(3, 'L', 1.0);
  a.add(4, 'L', 0.0);  // equal to the global bound: not applied
  b.add(1, 'B', 0.0);
  b.add(2, 'L', 1.0);
  ASSERT_EQ(nodeinstall(env, ns, &a, nullptr, nullptr), 0);
  EXPECT_EQ(ns.actidx, (std::vector<int>{0, 3}));
  snapshot sa = solveandread();
  EXPECT_EQ(sa.ub[0], 0.0);
  EXPECT_EQ(sa.lb[3], 1.0);
  ASSERT_EQ(nodeinstall(env, ns, &b, nullptr, nullptr), 0);
  snapshot sb = solveandread();
  // B sees none of A's changes.
  EXPECT_EQ(sb.ub[0], 1.0);
  EXPECT_EQ(sb.lb[3], 0.0);
  EXPECT_EQ(sb.ub[1], 0.0);
  EXPECT_EQ(sb.lb[1], 0.0);
  EXPECT_NE(sb.obj, sa.obj);
  ASSERT_EQ(nodeinstall(env, ns, &a, sa.cstat.data(), sa.rstat.data()), 0);
  std::vector<double> lb(5), ub(5);
  std::vector<int> cs(5), rs(3);
  ASSERT_EQ(VLTgetlb(env, ns.nodelp, lb.data(), 0, 4), 0);
  ASSERT_EQ(VLTgetub(env, ns.nodelp, ub.data(), 0, 4), 0);
  ASSERT_EQ(VLTgetbase(env, ns.nodelp, cs.data(), rs.data()), 0);
  EXPECT_EQ(lb, sa.lb);
  EXPECT_EQ(ub, sa.ub);
  EXPECT_EQ(cs, sa.cstat);
  EXPECT_EQ(rs, sa.rstat);
  snapshot again = solveandread();
  EXPECT_EQ(lastiters, 0);
  EXPECT_NEAR(again.obj, sa.obj, 1e-9);
  // Removing the node gives the global bounds back.
  ASSERT_EQ(nodeinstall(env, ns, nullptr, nullptr, nullptr), 0);
  ASSERT_EQ(VLTgetub(env, ns.nodelp, ub.data(), 0, 4), 0);
  EXPECT_EQ(ub, ns.gub);
}

TEST_F(NodeTest, BothSidesMergeWithTheGlobalBounds) {
  bdchglist l;
  l.add(0, 'B', 0.0);  // lower side implied: only the upper is applied
  l.add(1, 'B', 1.0);  // upper side implied: only the lower
  ASSERT_EQ(nodeinstall(env, ns, &l, nullptr, nullptr), 0);
  EXPECT_EQ(ns.actsense, (std::vector<char>{'U', 'L'}));
}

TEST_F(NodeTest, ACutoffBelowTheNodeObjectiveStopsTheSolve) {
  lpresult r;
  int it;
  double z;
  // The relaxation's maximum is above 8; a cutoff of -8 in minimization sense
  // (8 for the maximization) cuts it off.
  ASSERT_EQ(nodelpsolve(env, ns.nodelp, -1, 1e75, 0.0, 1e75, 2, &r, &it, &z), 0);
  ASSERT_EQ(r.status, 1);
  double best = -z;
  ASSERT_GT(best, 8.0);
  int status = nodelpsolve(env, ns.nodelp, -1, -8.0, 0.0, 1e75, 1, &r, &it, &z);
  EXPECT_TRUE(status == 0 || status == 3019);
  double lim;
  VLTgetdblparam(env, VLT_PARAM_OBJLLIM, &lim);
  EXPECT_EQ(lim, -1e75);  // the parameter comes back
  EXPECT_EQ(nodelpsolve(env, ns.nodelp, -1, 1e75, 0.0, 1e75, 7, &r, &it, &z), 1003);
  // The other methods go through the LP entry and reach the same optimum.
  ASSERT_EQ(nodelpsolve(env, ns.nodelp, -1, 1e75, 0.0, 1e75, 5, &r, &it, &z), 0);
  EXPECT_EQ(r.status, 1);
  EXPECT_NEAR(-z, best, 1e-9 * (1 + best));
}

TEST(Cutoff, IncrementAndDifferences) {
  incumbent s;
  s.epint = 1e-5;
  s.increment = 1.0;
  EXPECT_NEAR(cutoff_from_obj(s, 10.0), 9.00001, 1e-12);
  s.increment = 2.0;
  EXPECT_NEAR(cutoff_from_obj(s, 10.0), 8.00002, 1e-12);
  s.increment = 0.0;
  s.objdif = 5.0;
  EXPECT_NEAR(cutoff_from_obj(s, 100.0), 95.0, 1e-6);
  // The relative difference counts only without an absolute one.
  s.relobjdif = 0.1;
  EXPECT_NEAR(cutoff_from_obj(s, 100.0), 95.0, 1e-6);
  s.objdif = 0.0;
  EXPECT_NEAR(cutoff_from_obj(s, 100.0), 90.0, 1e-6);
}

TEST(Cutoff, TighteningTakesTheSmallest) {
  incumbent s;
  s.cutoff = 50.0;
  EXPECT_FALSE(incumbent_tighten(s, 60.0));
  EXPECT_TRUE(incumbent_tighten(s, 40.0));
  EXPECT_EQ(s.cutoff, 40.0);
  int acc = 0;
  ASSERT_EQ(incumbent_offer_value(s, 3, 30.0, &acc), 0);
  EXPECT_EQ(acc, 1);
  EXPECT_EQ(s.havex, 0);
  EXPECT_EQ(s.solnseq, 3);
  ASSERT_EQ(incumbent_offer_value(s, 4, 35.0, &acc), 0);
  EXPECT_EQ(acc, 0);
  s.cutoff = 1e75;
  EXPECT_TRUE(incumbent_tighten(s, 1e75));
  EXPECT_EQ(s.cutoff, 30.0);
}

TEST_F(NodeTest, StoreFeedsTheGettersAndTheFixedView) {
  // A solved node offered as incumbent; a run record holds the store.
  bdchglist l;
  l.add(0, 'U', 0.0);
  l.add(1, 'L', 1.0);
  l.add(2, 'U', 0.0);
  l.add(3, 'U', 0.0);
  l.add(4, 'L', 1.0);
  ASSERT_EQ(nodeinstall(env, ns, &l, nullptr, nullptr), 0);
  snapshot s = solveandread();
  mipdata *m = mipdatanew(env, lp);
  ASSERT_NE(m, nullptr);
  m->work = new mipwork();
  m->work->inc = new incumbent();
  incumbent_init(env, -1, 5, *m->work->inc);
  int acc = 0;
  ASSERT_EQ(incumbent_offer(env, ns.nodelp, *m->work->inc, 7, s.obj, &acc), 0);
  ASSERT_EQ(acc, 1);
  double x[5], slack[3], z;
  ASSERT_EQ(VLTgetmipx(env, lp, x, 0, 4), 0);
  EXPECT_EQ(std::vector<double>(x, x + 5), (std::vector<double>{0, 1, 0, 0, 1}));
  ASSERT_EQ(VLTgetmipobjval(env, lp, &z), 0);
  EXPECT_NEAR(z, 5.0, 1e-9);
  EXPECT_EQ(VLTgetnodeint(env, lp), 7);
  // Slacks recomputed from x: rhs - activity.
  ASSERT_EQ(VLTgetmipslack(env, lp, slack, 0, 2), 0);
  EXPECT_NEAR(slack[0], 5 - 3 - 1, 1e-12);
  EXPECT_NEAR(slack[1], 11 - 1 - 0, 1e-12);
  EXPECT_NEAR(slack[2], 8 - 4 - 1, 1e-12);
  // The fixed view: integer columns at the incumbent.
  ASSERT_EQ(VLTchgprobtype(env, lp, 3), 0);
  double lb[5], ub[5];
  ASSERT_EQ(VLTgetlb(env, lp, lb, 0, 4), 0);
  ASSERT_EQ(VLTgetub(env, lp, ub, 0, 4), 0);
  for (int j = 0; j < 5; ++j) {
    EXPECT_EQ(lb[j], x[j]);
    EXPECT_EQ(ub[j], x[j]);
  }
  ASSERT_EQ(VLTdualopt(env, lp), 0);
  double zf;
  ASSERT_EQ(VLTgetobjval(env, lp, &zf), 0);
  EXPECT_NEAR(zf, 5.0, 1e-9);
  // Back to the MIP: the run record stays, the view goes.
  ASSERT_EQ(VLTchgprobtype(env, lp, 1), 0);
  ASSERT_EQ(VLTgetub(env, lp, ub, 0, 4), 0);
  EXPECT_EQ(ub[0], 1.0);
  ASSERT_EQ(VLTgetmipx(env, lp, x, 0, 4), 0);
  // A value-only incumbent: the vector is unavailable.
  int accepted = 0;
  ASSERT_EQ(incumbent_offer_value(*lp->mip->work->inc, 9, -6.0, &accepted), 0);
  EXPECT_EQ(accepted, 1);
  take(err);
  EXPECT_EQ(VLTgetmipx(env, lp, x, 0, 4), 3023);
  EXPECT_EQ(take(err), "VELTO Error  3023: Integer feasible solution values are unavailable.\n");
  ASSERT_EQ(VLTgetmipobjval(env, lp, &z), 0);
  EXPECT_EQ(z, 6.0);
}

TEST_F(NodeTest, FixedIntegerWithFractionalBoundIsRefused) {
  const int j[] = {2};
  const char lu[] = {'B'};
  const double v[] = {0.5};
  ASSERT_EQ(VLTchgbds(env, lp, 1, j, lu, v), 0);
  take(err);
  EXPECT_EQ(checkfixedint(env, lp, 1e-5), -3011);
  EXPECT_EQ(take(err), "VELTO Error  3011: Non-integral fixed bound value 0.5 \n      for integer variable 'x3'.\n");
  double x[] = {0, 1, 1.5, 0, 0};
  EXPECT_EQ(checkbinary(env, lp, x, 1e-5), -3002);
  EXPECT_EQ(take(err), "VELTO Error  3002: Binary variable 'x3' has value outside [0,1].\n");
}

}  // namespace
}  // namespace miptest

namespace miptest {
namespace {

TEST_F(MipTest, NodePricingFollowsIterationsPerNode) {
  using velto::nodepricing;
  EXPECT_EQ(nodepricing(env, 0, 10, 1000 + 10 * 60, 1000), 4);  // 60 a node
  EXPECT_EQ(nodepricing(env, 0, 10, 1000 + 10 * 30, 1000), 4);  // in between: stays
  EXPECT_EQ(nodepricing(env, 0, 10, 1000 + 10 * 10, 1000), 5);  // 10 a node
  EXPECT_EQ(nodepricing(env, 0, 0, 5000, 1000), 5);             // no nodes yet
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_DPRIIND, 2), 0);
  EXPECT_EQ(nodepricing(env, 2, 10, 100000, 0), 2);             // chosen by the user
}

}  // namespace
}  // namespace miptest

namespace miptest {
namespace {

// Every integer solution at or below a cutoff keeps the bounds that the
// reduced-cost fixing sets for that cutoff (checked by enumeration).  The
// cutoffs are the solutions' own objectives, so ties with a reduced cost
// are met (regression: a point exactly at the cutoff was fixed away by
// rounding in cutoff - objective).
TEST_F(NodeTest, ReducedCostFixingKeepsEveryGoodIntegerSolution) {
  lpresult r;
  int it;
  double z;
  ASSERT_EQ(nodelpsolve(env, ns.nodelp, -1, 1e75, 0.0, 1e75, 2, &r, &it, &z), 0);
  ASSERT_EQ(r.status, 1);
  const char *ct = lp->core->ctype;
  rcfixtable t;
  ASSERT_EQ(rcfix_root(env, ns.nodelp, ct, -1, z, t), 0);
  // All binary points, feasible ones with their objective in minimization sign.
  const double c[] = {5, 4, 3, 2, 1};
  const double a[3][5] = {{2, 3, 1, 4, 1}, {4, 1, 2, 3, 0}, {3, 4, 2, 1, 1}};
  const double b[] = {5, 11, 8};
  std::vector<std::pair<double, int>> pts;
  for (int mask = 0; mask < 32; ++mask) {
    bool ok = true;
    double obj = 0;
    for (int i = 0; i < 3; ++i) {
      double act = 0;
      for (int j = 0; j < 5; ++j) act += a[i][j] * ((mask >> j) & 1);
      ok &= act <= b[i] + 1e-9;
    }
    for (int j = 0; j < 5; ++j) obj -= c[j] * ((mask >> j) & 1);
    if (ok) pts.push_back({obj, mask});
  }
  ASSERT_GT(pts.size(), 3u);
  int total = 0;
  for (auto &cut : pts) {
    double cutoff = cut.first;
    std::vector<double> glb(5, 0.0), gub(5, 1.0);
    total += rcfix_apply(t, ct, cutoff, glb, gub);
    bdchglist list;
    int fixed = 0;
    ASSERT_EQ(rcfix_node(env, ns.nodelp, ct, -1, z, cutoff, list, &fixed), 0);
    for (auto &p : pts) {
      if (p.first > cutoff) continue;
      for (int j = 0; j < 5; ++j) {
        int v = (p.second >> j) & 1;
        EXPECT_TRUE(v >= glb[j] && v <= gub[j]) << "cutoff " << cutoff << " column " << j;
      }
      for (int k = 0; k < list.count; ++k) {
        int v = (p.second >> list.index[k]) & 1;
        EXPECT_TRUE(list.sense[k] == 'U' ? v <= list.value[k] : v >= list.value[k])
            << "cutoff " << cutoff << " column " << list.index[k];
      }
    }
    // The node problem got the same bounds; put the global ones back.
    ASSERT_EQ(nodeinstall(env, ns, nullptr, nullptr, nullptr), 0);
    std::vector<int> all = {0, 1, 2, 3, 4};
    std::vector<char> l(5, 'L'), u(5, 'U');
    ASSERT_EQ(VLTchgbds(env, ns.nodelp, 5, all.data(), l.data(), ns.glb.data()), 0);
    ASSERT_EQ(VLTchgbds(env, ns.nodelp, 5, all.data(), u.data(), ns.gub.data()), 0);
    ASSERT_EQ(nodelpsolve(env, ns.nodelp, -1, 1e75, 0.0, 1e75, 2, &r, &it, &z), 0);
  }
  EXPECT_GT(total, 0);  // the tight cutoffs fix something
}

}  // namespace
}  // namespace miptest
