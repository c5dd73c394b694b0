// Feasibility checks of a basis, basis positions, the divergence of an
// unbounded basis, the automatic method choice, and the argument statuses
// and messages of the basis calls.
#include <gtest/gtest.h>

#include <algorithm>

#include "common/lpcheck.h"
#include "simplex/basis_util.h"

using namespace basistest;

namespace {

constexpr int kNone = 2100000000;

bool finite(double b) { return std::fabs(b) < 1e17; }

// Values and reduced costs of a basis given by its basic variables, with
// every nonbasic variable at its lower bound (upper when it has none).
struct Hand {
  std::vector<double> x, dj;
  std::vector<char> basic;
};

bool by_hand(const Dense &d, const std::vector<int> &head, Hand &h) {
  const int m = d.m, nt = d.n + d.m;
  std::vector<double> B(static_cast<size_t>(m) * m, 0.0), inv;
  for (int k = 0; k < m; ++k) {
    std::vector<double> col = d.column(head[k]);
    for (int i = 0; i < m; ++i) B[i * m + k] = col[i];
  }
  if (!invert(B, m, inv)) return false;
  h.basic.assign(nt, 0);
  for (int v : head) h.basic[v] = 1;
  h.x.assign(nt, 0.0);
  for (int v = 0; v < nt; ++v)
    if (!h.basic[v]) h.x[v] = finite(d.varlb(v)) ? d.varlb(v) : d.varub(v);
  std::vector<double> r(d.rhs);
  for (int v = 0; v < nt; ++v) {
    if (h.basic[v]) continue;
    std::vector<double> col = d.column(v);
    for (int i = 0; i < m; ++i) r[i] -= col[i] * h.x[v];
  }
  for (int k = 0; k < m; ++k) {
    double t = 0.0;
    for (int i = 0; i < m; ++i) t += inv[k * m + i] * r[i];
    h.x[head[k]] = t;
  }
  std::vector<double> pi(m, 0.0);
  for (int i = 0; i < m; ++i)
    for (int k = 0; k < m; ++k) pi[i] += d.cost(head[k]) * inv[k * m + i];
  h.dj.assign(nt, 0.0);
  for (int v = 0; v < nt; ++v) {
    if (h.basic[v]) continue;
    std::vector<double> col = d.column(v);
    double t = d.cost(v);
    for (int i = 0; i < m; ++i) t -= pi[i] * col[i];
    h.dj[v] = t;
  }
  return true;
}

// Most violated basic bound and most violated reduced cost, as user
// indices, or kNone.
int worst_primal(const Dense &d, const Hand &h, double tol) {
  int w = kNone;
  double wv = tol;
  for (int v = 0; v < d.n + d.m; ++v) {
    if (!h.basic[v]) continue;
    double viol = std::max(finite(d.varlb(v)) ? d.varlb(v) - h.x[v] : 0.0,
                           finite(d.varub(v)) ? h.x[v] - d.varub(v) : 0.0);
    if (viol > wv) {
      wv = viol;
      w = user_index(d, v);
    }
  }
  return w;
}

int worst_dual(const Dense &d, const Hand &h, double tol) {
  int w = kNone;
  double wv = tol;
  for (int v = 0; v < d.n + d.m; ++v) {
    if (h.basic[v] || d.varlb(v) == d.varub(v)) continue;
    bool atlower = finite(d.varlb(v)) && h.x[v] == d.varlb(v);
    double viol = atlower ? -h.dj[v] : h.dj[v];
    if (viol > wv) {
      wv = viol;
      w = user_index(d, v);
    }
  }
  return w;
}

}  // namespace

TEST(BasisCheck, FeasibilityOfStartBasesAgreesWithDenseComputation) {
  std::mt19937 g(3);
  int pinf = 0, dinf = 0, feasible = 0;
  for (int t = 0; t < 30; ++t) {
    SCOPED_TRACE(t);
    Session s;
    Dense d = random_model(g, 3 + t % 4, 5 + t % 3);
    ASSERT_EQ(d.load(s), 0);
    const int m = d.m, n = d.n, nt = n + m;
    // A random nonsingular basis.
    std::vector<int> vars(nt), head;
    for (int v = 0; v < nt; ++v) vars[v] = v;
    Hand h;
    bool ok = false;
    for (int tries = 0; tries < 20 && !ok; ++tries) {
      std::shuffle(vars.begin(), vars.end(), g);
      head.assign(vars.begin(), vars.begin() + m);
      ok = by_hand(d, head, h);
    }
    ASSERT_TRUE(ok);
    std::vector<int> cstat(n), rstat(m);
    for (int j = 0; j < n; ++j) cstat[j] = h.basic[j] ? 1 : 0;
    for (int i = 0; i < m; ++i) rstat[i] = h.basic[n + i] ? 1 : 0;
    ASSERT_EQ(VLTcopybase(s.env, s.lp, cstat.data(), rstat.data()), 0);
    int pw = -5, dw = -5, feas = -5;
    ASSERT_EQ(VLTcheckpfeas(s.env, s.lp, &pw), 0);
    ASSERT_EQ(VLTcheckdfeas(s.env, s.lp, &dw), 0);
    ASSERT_EQ(VLTchecksoln(s.env, s.lp, &feas), 0);
    EXPECT_EQ(pw, worst_primal(d, h, 1e-6));
    EXPECT_EQ(dw, worst_dual(d, h, 1e-6));
    EXPECT_EQ(feas, pw == kNone && dw == kNone ? 1 : 0);
    pinf += pw != kNone;
    dinf += dw != kNone;
    feasible += pw == kNone;
  }
  EXPECT_GT(pinf, 5);
  EXPECT_GT(dinf, 5);
  EXPECT_GT(feasible, 1);
}

TEST(BasisCheck, OptimalBasisIsFeasibleOnBothSides) {
  std::mt19937 g(9);
  Session s;
  Dense d;
  for (int tries = 0; tries < 10; ++tries) {
    d = random_model(g, 6, 9);
    ASSERT_EQ(d.load(s), 0);
    ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
    if (VLTgetstat(s.env, s.lp) == 1) break;
  }
  ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
  int pw = 0, dw = 0, feas = 0;
  EXPECT_EQ(VLTcheckpfeas(s.env, s.lp, &pw), 0);
  EXPECT_EQ(VLTcheckdfeas(s.env, s.lp, &dw), 0);
  EXPECT_EQ(VLTchecksoln(s.env, s.lp, &feas), 0);
  EXPECT_EQ(pw, kNone);
  EXPECT_EQ(dw, kNone);
  EXPECT_EQ(feas, 1);
  // Positions agree with the head.
  std::vector<int> head(d.m);
  ASSERT_EQ(VLTgetbhead(s.env, s.lp, head.data(), nullptr), 0);
  std::vector<int> cstat(d.n), rstat(d.m);
  ASSERT_EQ(VLTgetbase(s.env, s.lp, cstat.data(), rstat.data()), 0);
  for (int j = 0; j < d.n; ++j) {
    int pos = -7;
    int st = VLTgetijrow(s.env, s.lp, -1, j, &pos);
    if (cstat[j] == 1) {
      ASSERT_EQ(st, 0);
      EXPECT_EQ(head[pos], j);
    } else {
      EXPECT_EQ(st, 1251);
      EXPECT_EQ(pos, -1);
    }
  }
  for (int i = 0; i < d.m; ++i) {
    int pos = -7;
    int st = VLTgetijrow(s.env, s.lp, i, -1, &pos);
    if (rstat[i] == 1) {
      ASSERT_EQ(st, 0);
      EXPECT_EQ(head[pos], -i - 1);
    } else {
      EXPECT_EQ(st, 1251);
    }
  }
}

TEST(BasisCheck, ArgumentStatusesAndMessages) {
  Session s;
  Dense d;
  d.m = 2;
  d.n = 3;
  d.A = {1, 1, 1, 1, -1, 0};
  d.c = {-1, -2, 1};
  d.lb = {0, 0, 0};
  d.ub = {4, 4, 4};
  d.rhs = {5, 1};
  d.sense = {'L', 'G'};
  ASSERT_EQ(d.load(s), 0);
  int pos = 0, idx[2] = {0, 1};
  double a[2], b[2];
  // Nothing solved yet.
  EXPECT_EQ(VLTgetijrow(s.env, s.lp, -1, 0, &pos), 1217);
  EXPECT_EQ(pos, -1);
  EXPECT_EQ(VLTpratio(s.env, s.lp, idx, 1, a, nullptr, nullptr, nullptr, b, nullptr, nullptr, nullptr), 1258);
  EXPECT_EQ(VLTmdleave(s.env, s.lp, idx, 1, a, b), 1258);
  int i1 = 0, j1 = 0;
  EXPECT_EQ(VLTgetijdiv(s.env, s.lp, &i1, &j1), 1217);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
  s.err.text.clear();
  EXPECT_EQ(VLTgetijrow(s.env, s.lp, 0, 0, &pos), 1200);
  EXPECT_EQ(VLTgetijrow(s.env, s.lp, -1, 3, &pos), 1200);
  EXPECT_EQ(VLTgetijrow(s.env, s.lp, 2, -1, &pos), 1200);
  EXPECT_EQ(VLTgetijrow(s.env, s.lp, -1, 0, nullptr), 1004);
  EXPECT_EQ(s.err.text,
            "VELTO Error  1200: Index is outside range of valid values.\n"
            "VELTO Error  1200: Index is outside range of valid values.\n"
            "VELTO Error  1200: Index is outside range of valid values.\n"
            "VELTO Error  1004: Null pointer for required data.\n");
  // Weights.
  int beg[2] = {0, 1}, ind[1] = {0};
  double val[1] = {1.0}, w[1];
  s.err.text.clear();
  EXPECT_EQ(VLTgetweight(s.env, s.lp, -1, beg, ind, val, w, 2), 1003);
  EXPECT_EQ(VLTgetweight(s.env, s.lp, 0, nullptr, nullptr, nullptr, nullptr, 2), 0);
  EXPECT_EQ(s.warn.text, "Warning:  No weights computed.\n");
  EXPECT_EQ(VLTgetweight(s.env, s.lp, 1, beg, ind, val, w, 1), 1257);
  EXPECT_EQ(VLTgetweight(s.env, s.lp, 1, beg, ind, val, nullptr, 2), 1004);
  int down[3] = {0, 2, 1}, two[2] = {0, 1};
  int negind[1] = {-1};
  double w2[2];
  EXPECT_EQ(VLTgetweight(s.env, s.lp, 2, down, two, val, w2, 2), 1003);
  EXPECT_EQ(VLTgetweight(s.env, s.lp, 1, beg, negind, val, w, 2), 1200);
  EXPECT_EQ(s.err.text,
            "VELTO Error  1003: Bad argument to Callable Library function.\n"
            "VELTO Error  1257: Incorrect usage of pricing indicator.\n"
            "VELTO Error  1004: Null pointer for required data.\n"
            "VELTO Error  1003: Bad argument to Callable Library function.\n"
            "VELTO Error  1200: Index is outside range of valid values.\n");
  // Leave estimates: a bad index is printed once with its value.
  s.err.text.clear();
  s.res.text.clear();
  EXPECT_EQ(VLTmdleave(s.env, s.lp, idx, 0, a, b), 0);
  EXPECT_EQ(s.res.text, "Variable list empty.\n");
  EXPECT_EQ(VLTmdleave(s.env, s.lp, idx, -1, a, b), 1003);
  int bad[1] = {7};
  EXPECT_EQ(VLTmdleave(s.env, s.lp, bad, 1, a, b), 1201);
  int badrow[1] = {-3};
  EXPECT_EQ(VLTmdleave(s.env, s.lp, badrow, 1, a, b), 1203);
  EXPECT_EQ(s.err.text,
            "VELTO Error  1003: Bad argument to Callable Library function.\n"
            "VELTO Error  1201: Column index 7 out of range.\n"
            "VELTO Error  1203: Row index 2 out of range.\n");
  // A nonbasic variable has no leave estimate.
  std::vector<int> cstat(3), rstat(2);
  ASSERT_EQ(VLTgetbase(s.env, s.lp, cstat.data(), rstat.data()), 0);
  int nb = static_cast<int>(std::find_if(cstat.begin(), cstat.end(), [](int c) { return c != 1; }) - cstat.begin());
  ASSERT_LT(nb, 3);
  EXPECT_EQ(VLTmdleave(s.env, s.lp, &nb, 1, a, b), 1251);
  // Ratio calls.
  s.res.text.clear();
  EXPECT_EQ(VLTpratio(s.env, s.lp, idx, -1, a, nullptr, nullptr, nullptr, b, nullptr, nullptr, nullptr), 1003);
  EXPECT_EQ(VLTpratio(s.env, s.lp, nullptr, 1, a, nullptr, nullptr, nullptr, b, nullptr, nullptr, nullptr), 1004);
  EXPECT_EQ(VLTdratio(s.env, s.lp, idx, 0, a, nullptr, nullptr, nullptr, b, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(s.res.text, "Variable list empty.\n");
  // A basic variable in the primal test, and a nonbasic one in the dual
  // test, are illegal pivots without a leaving variable.
  int basic = static_cast<int>(std::find(cstat.begin(), cstat.end(), 1) - cstat.begin());
  ASSERT_LT(basic, 3);
  int lv[2], st[2];
  EXPECT_EQ(VLTpratio(s.env, s.lp, &basic, 1, nullptr, lv, nullptr, st, nullptr, lv + 1, nullptr, st + 1), 0);
  EXPECT_EQ(st[0], 1267);
  EXPECT_EQ(st[1], 1267);
  EXPECT_EQ(lv[0], kNone);
  EXPECT_EQ(lv[1], kNone);
  EXPECT_EQ(VLTdratio(s.env, s.lp, &nb, 1, nullptr, lv, nullptr, st, nullptr, lv + 1, nullptr, st + 1), 0);
  EXPECT_EQ(st[0], 1267);
  EXPECT_EQ(lv[1], kNone);
  int out = 0;
  EXPECT_EQ(VLTcheckpfeas(s.env, s.lp, nullptr), 1004);
  EXPECT_EQ(VLTgetijdiv(s.env, s.lp, &i1, &j1), 1254);
  EXPECT_EQ(VLTcheckpfeas(s.env, nullptr, &out), 1009);
  EXPECT_EQ(VLTcheckpfeas(nullptr, s.lp, &out), 1002);
}

// Garbage lists give statuses, never a crash.
TEST(BasisCheck, RandomArgumentsNeverCrash) {
  std::mt19937 g(13);
  Session s;
  Dense d = random_model(g, 4, 6);
  ASSERT_EQ(d.load(s), 0);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  std::uniform_int_distribution<int> pick(-8, 10);
  for (int t = 0; t < 300; ++t) {
    int cnt = 1 + t % 4;
    std::vector<int> list(cnt);
    for (int &v : list) v = pick(g);
    std::vector<double> r1(cnt), r2(cnt);
    std::vector<int> a(cnt), b(cnt), c(cnt), e(cnt), f(cnt), h(cnt);
    int st = VLTpratio(s.env, s.lp, list.data(), cnt, r1.data(), a.data(), b.data(), c.data(),
                       r2.data(), e.data(), f.data(), h.data());
    EXPECT_TRUE(st == 0 || st == 1201 || st == 1203) << st;
    st = VLTdratio(s.env, s.lp, list.data(), cnt, r1.data(), a.data(), b.data(), c.data(),
                   r2.data(), e.data(), f.data(), h.data());
    EXPECT_TRUE(st == 0 || st == 1201 || st == 1203) << st;
    st = VLTmdleave(s.env, s.lp, list.data(), cnt, r1.data(), r2.data());
    EXPECT_TRUE(st == 0 || st == 1201 || st == 1203 || st == 1251) << st;
    int pos;
    st = VLTgetijrow(s.env, s.lp, pick(g), pick(g), &pos);
    EXPECT_TRUE(st == 0 || st == 1200 || st == 1251) << st;
    st = VLTpivot(s.env, s.lp, pick(g), pick(g), t % 3);
    EXPECT_TRUE(st == 0 || st == 1267) << st;
    std::vector<int> beg{0, cnt};
    std::vector<double> val(cnt, 1.0), w(1);
    st = VLTgetweight(s.env, s.lp, 1, beg.data(), list.data(), val.data(), w.data(), 2 + t % 2);
    EXPECT_TRUE(st == 0 || st == 1200) << st;
  }
}

namespace {

// min -x0 - x1  s.t.  x0 - x1 <= 1 (c0), x1 <= 5 + x2 ... built so that x0,
// x1 run off together: rows  x0 - x1 <= 1,  -x0 + 2 x1 >= -2;  x >= 0.
Dense unbounded_model() {
  Dense d;
  d.m = 2;
  d.n = 2;
  d.A = {1, -1, -1, 2};
  d.c = {-1, -1};
  d.lb = {0, 0};
  d.ub = {1e20, 1e20};
  d.rhs = {1, -2};
  d.sense = {'L', 'G'};
  return d;
}

// z is a ray of d: A z keeps every row's side, z keeps the bounds' sides,
// and c'z < 0.
void expect_ray(const Dense &d, const std::vector<double> &z) {
  double cz = 0.0, zn = 0.0;
  for (int j = 0; j < d.n; ++j) {
    cz += d.c[j] * z[j];
    zn = std::max(zn, std::fabs(z[j]));
    if (finite(d.lb[j])) {
      EXPECT_GE(z[j], -1e-9);
    }
    if (finite(d.ub[j])) {
      EXPECT_LE(z[j], 1e-9);
    }
  }
  ASSERT_GT(zn, 0.0);
  EXPECT_LT(cz, -1e-9 * zn);
  for (int i = 0; i < d.m; ++i) {
    double az = 0.0;
    for (int j = 0; j < d.n; ++j) az += d.a(i, j) * z[j];
    if (d.sense[i] != 'G') {
      EXPECT_LE(az, 1e-9 * zn);
    }
    if (d.sense[i] != 'L') {
      EXPECT_GE(az, -1e-9 * zn);
    }
  }
}

}  // namespace

TEST(BasisCheck, DivergenceAndRayOfPrimalUnboundedBasis) {
  Session s;
  Dense d = unbounded_model();
  ASSERT_EQ(d.load(s), 0);
  ASSERT_EQ(VLTprimopt(s.env, s.lp), 0);
  ASSERT_EQ(VLTgetstat(s.env, s.lp), 2);
  int i = 0, j = 0;
  ASSERT_EQ(VLTgetijdiv(s.env, s.lp, &i, &j), 0);
  EXPECT_TRUE((i >= 0) != (j >= 0));
  std::vector<double> z(d.n);
  ASSERT_EQ(VLTgetray(s.env, s.lp, z.data()), 0);
  expect_ray(d, z);
  double cr = 0.0;
  EXPECT_LE(lpcheck::ray_violation(lpcheck::from_api(s.env, s.lp), z, &cr), 1e-9);
  EXPECT_LT(cr, 0.0);
  // The diverging variable moves along the ray.
  if (j >= 0) {
    EXPECT_NE(z[j], 0.0);
  }
}

TEST(BasisCheck, AutomaticMethodFollowsPrimalFeasibilityOfTheStart) {
  // All 'L' rows with a non-negative right side: the slack basis is primal
  // feasible and the automatic choice runs the primal simplex.
  Session s;
  Dense d;
  d.m = 2;
  d.n = 2;
  d.A = {1, 2, 3, 1};
  d.c = {-1, -1};
  d.lb = {0, 0};
  d.ub = {1e20, 1e20};
  d.rhs = {4, 6};
  d.sense = {'L', 'L'};
  ASSERT_EQ(d.load(s), 0);
  int cstat[2] = {0, 0}, rstat[2] = {1, 1};
  ASSERT_EQ(VLTcopybase(s.env, s.lp, cstat, rstat), 0);
  ASSERT_EQ(VLTsetintparam(s.env, VLT_PARAM_PREIND, 0), 0);
  ASSERT_EQ(VLTlpopt(s.env, s.lp), 0);
  EXPECT_EQ(VLTgetstat(s.env, s.lp), 1);
  EXPECT_EQ(VLTgetmethod(s.env, s.lp), 1);
  double obj = 0;
  ASSERT_EQ(VLTgetobjval(s.env, s.lp, &obj), 0);
  EXPECT_NEAR(obj, -2.8, 1e-9);  // x = (1.6, 1.2)
  // A 'G' row that the slack basis violates: the dual simplex.
  Session t;
  d.sense = {'G', 'L'};
  d.c = {1, 1};
  ASSERT_EQ(d.load(t), 0);
  ASSERT_EQ(VLTcopybase(t.env, t.lp, cstat, rstat), 0);
  ASSERT_EQ(VLTsetintparam(t.env, VLT_PARAM_PREIND, 0), 0);
  ASSERT_EQ(VLTlpopt(t.env, t.lp), 0);
  EXPECT_EQ(VLTgetstat(t.env, t.lp), 1);
  EXPECT_EQ(VLTgetmethod(t.env, t.lp), 2);
}

TEST(BasisCheck, DualMethodUnboundedAndModelWithoutRows) {
  {
    Session s;
    Dense d = unbounded_model();
    ASSERT_EQ(d.load(s), 0);
    ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
    ASSERT_EQ(VLTgetstat(s.env, s.lp), 2);
    int i = 7, j = 7;
    EXPECT_EQ(VLTgetijdiv(s.env, s.lp, &i, &j), 0);
    EXPECT_FALSE(i >= 0 && j >= 0);
    std::vector<double> z(d.n);
    ASSERT_EQ(VLTgetray(s.env, s.lp, z.data()), 0);
    double cr = 0.0;
    EXPECT_LE(lpcheck::ray_violation(lpcheck::from_api(s.env, s.lp), z, &cr), 1e-9);
    EXPECT_LT(cr, 0.0);
  }
  // No rows: every call answers without a factor to lean on.
  Session s;
  double obj[2] = {1, -1}, lb[2] = {0, 0}, ub[2] = {3, 4};
  int beg[2] = {0, 0}, cnt[2] = {0, 0}, ind[1] = {0};
  double val[1] = {0};
  ASSERT_EQ(VLTcopylp(s.env, s.lp, 2, 0, 1, obj, nullptr, nullptr, beg, cnt, ind, val, lb, ub, nullptr), 0);
  ASSERT_EQ(VLTdualopt(s.env, s.lp), 0);
  ASSERT_EQ(VLTgetstat(s.env, s.lp), 1);
  int pw = 0, list[2] = {0, 1};
  EXPECT_EQ(VLTcheckpfeas(s.env, s.lp, &pw), 0);
  EXPECT_EQ(pw, kNone);
  double r[2], u[2];
  int l[2], st[2];
  ASSERT_EQ(VLTpratio(s.env, s.lp, list, 2, r, l, nullptr, st, u, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(st[0], 0);
  EXPECT_EQ(l[0], kNone);
  EXPECT_EQ(VLTmdleave(s.env, s.lp, list, 1, r, u), 1251);
  EXPECT_EQ(VLTpivot(s.env, s.lp, 0, 0, 2), 0);
  EXPECT_EQ(VLTpivotout(s.env, s.lp, list, 1), 1221);
  EXPECT_EQ(VLTsetphase2(s.env, s.lp), 0);
}
