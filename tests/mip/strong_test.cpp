// Strong branching at the API: the trial values against cold solves of the
// two children, the LP left as found, the one-pivot penalties as lower
// bounds on the children's cost, and the call's checks.
#include <cmath>
#include <filesystem>

#include "../common/reference.h"
#include "env/files.h"
#include "mip/mipbb.h"
#include "mip/mipstrong.h"
#include "mipfix.h"

namespace miptest {
namespace {

// The optimum of lp's child with the bound `lu` of column j at v, by a
// cold solve of a clone; 1e75 x sense when the child is infeasible.
double coldchild(VLTENVptr env, VLTLPptr lp, int j, char lu, double v) {
  int status = 0;
  VLTLPptr c = VLTcloneprob(env, lp, &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(VLTchgbds(env, c, 1, &j, &lu, &v), 0);
  VLTsetintparam(env, VLT_PARAM_ADVIND, 0);
  EXPECT_EQ(VLTdualopt(env, c), 0);
  VLTsetintparam(env, VLT_PARAM_ADVIND, 1);
  int st = VLTgetstat(env, c);
  double z = 0;
  if (st == 3) {
    z = 1e75 * VLTgetobjsen(env, lp);
  } else {
    EXPECT_EQ(st, 1);
    EXPECT_EQ(VLTgetobjval(env, c, &z), 0);
  }
  VLTfreeprob(env, &c);
  return z;
}

class StrongTest : public MipTest {
 protected:
  // Reads a MIPLIB model, remembers its types and makes it an LP, solved.
  // With `flip` the objective is negated and maximized: the same children.
  bool loadrelax(const std::string &name, bool flip = false) {
    std::string file = velto_test::modelpath("miplib3", name);
    if (!std::filesystem::exists(file)) return false;
    EXPECT_EQ(VLTreadcopyprob(env, lp, file.c_str(), nullptr), 0);
    n = VLTgetnumcols(env, lp);
    if (flip) {
      std::vector<double> c(n);
      std::vector<int> idx(n);
      EXPECT_EQ(VLTgetobj(env, lp, c.data(), 0, n - 1), 0);
      for (int j = 0; j < n; ++j) c[j] = -c[j], idx[j] = j;
      EXPECT_EQ(VLTchgobj(env, lp, n, idx.data(), c.data()), 0);
      VLTchgobjsen(env, lp, -1);
    }
    m = VLTgetnumrows(env, lp);
    ctype.assign(n, 'C');
    EXPECT_EQ(VLTgetctype(env, lp, ctype.data(), 0, n - 1), 0);
    EXPECT_EQ(VLTchgprobtype(env, lp, 0), 0);
    EXPECT_EQ(VLTdualopt(env, lp), 0);
    EXPECT_EQ(VLTgetstat(env, lp), 1);
    x.assign(n, 0);
    EXPECT_EQ(VLTgetx(env, lp, x.data(), 0, n - 1), 0);
    return true;
  }
  // Fractional integer columns that are basic.
  std::vector<int> fracbasic() {
    std::vector<int> cs(n), rs(m), out;
    EXPECT_EQ(VLTgetbase(env, lp, cs.data(), rs.data()), 0);
    for (int j = 0; j < n; ++j) {
      double f = x[j] - std::floor(x[j]);
      if (ctype[j] != 'C' && cs[j] == 1 && f > 1e-6 && f < 1 - 1e-6) out.push_back(j);
    }
    return out;
  }
  double child(int j, char lu, double v) { return coldchild(env, lp, j, lu, v); }
  // Trial values equal the children's optima; basis and x unchanged.
  void againstchildren(const std::string &name, bool flip = false) {
    if (!loadrelax(name, flip)) GTEST_SKIP() << "miplib3/" << name << " absent (set VELTO_DATA)";
    std::vector<int> list = fracbasic();
    ASSERT_FALSE(list.empty());
    std::vector<int> cs0(n), rs0(m), cs1(n), rs1(m);
    ASSERT_EQ(VLTgetbase(env, lp, cs0.data(), rs0.data()), 0);
    int cnt = static_cast<int>(list.size());
    std::vector<double> dn(cnt), up(cnt);
    ASSERT_EQ(VLTstrongbranch(env, lp, list.data(), cnt, dn.data(), up.data(), 2100000000), 0);
    ASSERT_EQ(VLTgetbase(env, lp, cs1.data(), rs1.data()), 0);
    EXPECT_EQ(cs0, cs1);
    EXPECT_EQ(rs0, rs1);
    std::vector<double> x1(n);
    ASSERT_EQ(VLTgetx(env, lp, x1.data(), 0, n - 1), 0);
    for (int j = 0; j < n; ++j) EXPECT_NEAR(x1[j], x[j], 1e-9 * (1 + std::fabs(x[j])));
    for (int k = 0; k < cnt; ++k) {
      int j = list[k];
      double d = child(j, 'U', std::floor(x[j])), u = child(j, 'L', std::floor(x[j]) + 1);
      EXPECT_NEAR(dn[k], d, 1e-6 * (1 + std::fabs(d))) << name << " down " << j;
      EXPECT_NEAR(up[k], u, 1e-6 * (1 + std::fabs(u))) << name << " up " << j;
    }
  }
  // One-pivot penalties never exceed the true increase of a child.
  void penaltiesbound(const std::string &name, bool flip = false) {
    if (!loadrelax(name, flip)) GTEST_SKIP() << "miplib3/" << name << " absent (set VELTO_DATA)";
    std::vector<int> list = fracbasic();
    ASSERT_FALSE(list.empty());
    int cnt = static_cast<int>(list.size());
    std::vector<double> pd(cnt), pu(cnt), dn(cnt), up(cnt);
    double z = 0;
    ASSERT_EQ(VLTgetobjval(env, lp, &z), 0);
    ASSERT_EQ(velto::branchpen(env, lp, list.data(), cnt, 1e-5, pd.data(), pu.data()), 0);
    ASSERT_EQ(VLTstrongbranch(env, lp, list.data(), cnt, dn.data(), up.data(), 2100000000), 0);
    int sense = VLTgetobjsen(env, lp);
    int positive = 0;
    for (int k = 0; k < cnt; ++k) {
      EXPECT_GE(pd[k], 0.0);
      EXPECT_GE(pu[k], 0.0);
      double ddn = (dn[k] - z) * sense, dup = (up[k] - z) * sense;
      EXPECT_LE(pd[k], ddn + 1e-6 * (1 + std::fabs(z))) << name << " down " << list[k];
      EXPECT_LE(pu[k], dup + 1e-6 * (1 + std::fabs(z))) << name << " up " << list[k];
      positive += pd[k] > 1e-9 || pu[k] > 1e-9;
    }
    EXPECT_GT(positive, 0) << "penalties all zero";
  }
  // With few iterations a trial value lies between the parent's optimum and
  // the child's: a value above the child's would let the search throw away
  // a child that holds the optimum.
  void shortsolvesbound(const std::string &name, bool flip = false) {
    if (!loadrelax(name, flip)) GTEST_SKIP() << "miplib3/" << name << " absent (set VELTO_DATA)";
    std::vector<int> list = fracbasic();
    ASSERT_FALSE(list.empty());
    int cnt = static_cast<int>(list.size()), sense = VLTgetobjsen(env, lp);
    double z = 0;
    ASSERT_EQ(VLTgetobjval(env, lp, &z), 0);
    std::vector<double> d(cnt), u(cnt);
    for (int k = 0; k < cnt; ++k) {
      d[k] = child(list[k], 'U', std::floor(x[list[k]]));
      u[k] = child(list[k], 'L', std::floor(x[list[k]]) + 1);
    }
    int short_ = 0;
    for (int itlim : {0, 1, 3, 10}) {
      std::vector<double> dn(cnt), up(cnt);
      ASSERT_EQ(VLTstrongbranch(env, lp, list.data(), cnt, dn.data(), up.data(), itlim), 0);
      double tol = 1e-6 * (1 + std::fabs(z));
      for (int k = 0; k < cnt; ++k) {
        EXPECT_GE(dn[k] * sense, z * sense - tol) << name << " itlim " << itlim << " down " << list[k];
        EXPECT_GE(up[k] * sense, z * sense - tol) << name << " itlim " << itlim << " up " << list[k];
        EXPECT_LE(dn[k] * sense, d[k] * sense + tol) << name << " itlim " << itlim << " down " << list[k];
        EXPECT_LE(up[k] * sense, u[k] * sense + tol) << name << " itlim " << itlim << " up " << list[k];
        short_ += std::fabs(dn[k] - d[k]) > tol || std::fabs(up[k] - u[k]) > tol;
      }
    }
    EXPECT_GT(short_, 0) << "no trial was cut short";
  }
  int n = 0, m = 0;
  std::vector<char> ctype;
  std::vector<double> x;
};

TEST_F(StrongTest, TrialValuesEqualChildOptimaP0201) { againstchildren("p0201"); }
TEST_F(StrongTest, TrialValuesEqualChildOptimaMisc07) { againstchildren("misc07"); }
TEST_F(StrongTest, TrialValuesEqualChildOptimaMaximized) { againstchildren("p0201", true); }
TEST_F(StrongTest, IterationLimitedTrialsStayBelowTheChildOptimaMisc07) { shortsolvesbound("misc07"); }
TEST_F(StrongTest, IterationLimitedTrialsStayBelowTheChildOptimaMaximized) {
  shortsolvesbound("p0201", true);
}
TEST_F(StrongTest, DriebeekPenaltiesBoundChildCostP0201) { penaltiesbound("p0201"); }
TEST_F(StrongTest, DriebeekPenaltiesBoundChildCostMisc07) { penaltiesbound("misc07"); }
TEST_F(StrongTest, DriebeekPenaltiesBoundChildCostMaximized) { penaltiesbound("p0201", true); }

// min x0 + x1, x0 + x1 >= 1.5, 2 x0 - 2 x1 = 1, 0 <= x <= 10 gives
// x0 = 1, x1 = 0.5: x1's down child is infeasible.
class StrongSmall : public MipTest {
 protected:
  void SetUp() override {
    MipTest::SetUp();
    const double obj[] = {1, 1}, rhs[] = {1.5, 1}, lb[] = {0, 0}, ub[] = {10, 10};
    const char sense[] = "GE";
    const int beg[] = {0, 2}, cnt[] = {2, 2}, ind[] = {0, 1, 0, 1};
    const double val[] = {1, 2, 1, -2};
    ASSERT_EQ(VLTcopylp(env, lp, 2, 2, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
  }
};

TEST_F(StrongSmall, InfeasibleChildAndNonbasicColumn) {
  ASSERT_EQ(VLTdualopt(env, lp), 0);
  ASSERT_EQ(VLTgetstat(env, lp), 1);
  double x[2];
  ASSERT_EQ(VLTgetx(env, lp, x, 0, 1), 0);
  ASSERT_NEAR(x[1], 0.5, 1e-9);
  int list[] = {1};
  double dn[1], up[1];
  ASSERT_EQ(VLTstrongbranch(env, lp, list, 1, dn, up, 100), 0);
  EXPECT_EQ(dn[0], 1e75);  // x1 = 0 forces x0 = 0.5, below 1.5 in sum
  EXPECT_NEAR(up[0], 2.5, 1e-9);  // x1 = 1 and x0 = 1.5
  // A nonbasic column: -1e20 in both.
  double c = 1, lo = 0, hi = 10;
  ASSERT_EQ(VLTnewcols(env, lp, 1, &c, &lo, &hi, nullptr, nullptr), 0);
  ASSERT_EQ(VLTdualopt(env, lp), 0);
  list[0] = 2;
  ASSERT_EQ(VLTstrongbranch(env, lp, list, 1, dn, up, 100), 0);
  EXPECT_EQ(dn[0], -1e20);
  EXPECT_EQ(up[0], -1e20);
}

TEST_F(StrongSmall, Checks) {
  int list[] = {0};
  double dn[1], up[1];
  EXPECT_EQ(VLTstrongbranch(env, lp, list, 1, dn, up, 10), 1252);
  ASSERT_EQ(VLTdualopt(env, lp), 0);
  EXPECT_EQ(VLTstrongbranch(env, lp, list, -1, dn, up, 10), 1003);
  EXPECT_NE(err.find("VELTO Error  1003"), std::string::npos);
  EXPECT_EQ(VLTstrongbranch(env, lp, nullptr, 1, dn, up, 10), 1004);
  EXPECT_EQ(VLTstrongbranch(env, lp, list, 1, nullptr, up, 10), 1004);
  int bad[] = {2};
  EXPECT_EQ(VLTstrongbranch(env, lp, bad, 1, dn, up, 10), 1201);
  take(warn);
  EXPECT_EQ(VLTstrongbranch(env, lp, list, 0, dn, up, 10), 0);
  EXPECT_EQ(warn, "Warning:  Variable list empty.\n");
  ASSERT_EQ(VLTcopyctype(env, lp, "IC"), 0);
  EXPECT_EQ(VLTstrongbranch(env, lp, list, 1, dn, up, 10), 1017);
}

// The branch choice on a solved LP of two columns, the second (or both)
// integer: after a side is fixed by its trial value or its one-pivot
// penalty, the node's bound is that of the side left open, which a cold
// solve of that child gives.
class BranchFix : public MipTest {
 protected:
  // min c0 x0 + c1 x1 over the rows given, 0 <= x <= 10.
  void build(double c0, double c1, const std::vector<std::vector<double>> &rows,
             const std::string &sense, const std::vector<double> &rhs) {
    int m = static_cast<int>(rows.size());
    const double obj[] = {c0, c1}, lb[] = {0, 0}, ub[] = {10, 10};
    std::vector<int> beg = {0, m}, cnt = {m, m}, ind;
    std::vector<double> val;
    for (int j = 0; j < 2; ++j)
      for (int i = 0; i < m; ++i) ind.push_back(i), val.push_back(rows[i][j]);
    ASSERT_EQ(VLTcopylp(env, lp, 2, m, 1, obj, rhs.data(), sense.data(), beg.data(), cnt.data(),
                        ind.data(), val.data(), lb, ub, nullptr),
              0);
    ASSERT_EQ(VLTdualopt(env, lp), 0);
    ASSERT_EQ(VLTgetstat(env, lp), 1);
  }
  double child(int j, char lu, double v) { return coldchild(env, lp, j, lu, v); }
  // Runs the branch choice with rule `varsel` and the cutoff given.
  void choose(int varsel, double cutoff, const char *ctype) {
    x.assign(2, 0), lo.assign(2, 0), hi.assign(2, 0);
    ASSERT_EQ(VLTgetx(env, lp, x.data(), 0, 1), 0);
    ASSERT_EQ(VLTgetlb(env, lp, lo.data(), 0, 1), 0);
    ASSERT_EQ(VLTgetub(env, lp, hi.data(), 0, 1), 0);
    ASSERT_EQ(VLTgetobjval(env, lp, &z), 0);
    ctl.varsel = varsel;
    ctl.strongitlim = 50;
    ctl.nodeobj = z;
    ctl.startsec = velto::now(env);
    ASSERT_GT(velto::fraccount(ctype, 2, x.data(), lo.data(), hi.data(), ctl.epint, ctl), 0);
    bb.pccount.assign(2, 0);
    bb.pcdown.assign(2, 0.01);
    bb.pcup.assign(2, 0.01);
    velto::branchctx c;
    c.e = env, c.q = lp, c.model = lp, c.ctype = ctype, c.ctl = &ctl, c.bb = &bb;
    c.cutoff = cutoff;
    c.x = &x, c.lb = &lo, c.ub = &hi;
    ASSERT_EQ(velto::branchselect(c, kids), 0);
    ASSERT_EQ(kids.size(), 2u);
  }
  // The fixing that both children carry: column j at `lu` bound v.
  bool fixed(int j, char lu, double v) const {
    for (const auto &k : kids) {
      bool has = false;
      for (int t = 0; t < k.fix.count; ++t)
        has |= k.fix.index[t] == j && k.fix.sense[t] == lu && k.fix.value[t] == v;
      if (!has) return false;
    }
    return true;
  }
  velto::mipctl ctl;
  velto::bbstate bb;
  std::vector<velto::bbchild> kids;
  std::vector<double> x, lo, hi;
  double z = 0;
};

// min x0 + 3 x1, x0 + x1 >= 1.5: x0 = 1.5.  Down (x0 <= 1) costs 2.5 and
// its one-pivot penalty says so; up (x0 >= 2) costs 2.  With the cutoff at
// 2.2 the down side is fixed away, and the node was once given the down
// side's 2.5, above the cutoff, so the search dropped the up side and the
// optimum in it.
TEST_F(BranchFix, DriebeekFixingRaisedTheNodeToTheClosedSide) {
  build(1, 3, {{1, 1}}, "G", {1.5});
  choose(3, 2.2, "IC");
  double dn = child(0, 'U', 1), up = child(0, 'L', 2);
  ASSERT_NEAR(dn, 2.5, 1e-9);
  ASSERT_NEAR(up, 2.0, 1e-9);
  EXPECT_TRUE(fixed(0, 'L', 2));
  EXPECT_LE(ctl.nodeobj, up + 1e-9);
  EXPECT_GE(ctl.nodeobj, z - 1e-9);
  EXPECT_LT(ctl.nodeobj, 2.2) << "the open side lies below the cutoff";
  EXPECT_EQ(kids[0].dir, 'U');
}

// min x0 + x1, x0 + x1 >= 1.5, 2 x0 - 2 x1 = 1: x1 = 0.5, and x1's down
// child is infeasible.  Its trial value 1e75 fixed the side away and was
// once taken as the node's bound, so the node's open side fell at the first
// incumbent.
TEST_F(BranchFix, InfeasibleTrialSideRaisedTheNodeToInfinity) {
  build(1, 1, {{1, 1}, {2, -2}}, "GE", {1.5, 1});
  choose(2, 1e75, "CI");
  double dn = child(1, 'U', 0), up = child(1, 'L', 1);
  ASSERT_EQ(dn, 1e75);
  ASSERT_NEAR(up, 2.5, 1e-9);
  EXPECT_TRUE(fixed(1, 'L', 1));
  EXPECT_NEAR(ctl.nodeobj, up, 1e-7);
  EXPECT_EQ(kids[0].dir, 'U');
}

}  // namespace
}  // namespace miptest
