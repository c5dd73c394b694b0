// Basis files: a solved model's basis written and read into a fresh load
// restarts at the optimum; the reader's warnings and statuses.
#include <random>

#include "support.h"

using namespace velto_test;

namespace {

// Text and a number, joined (keeps the literal + to_string pattern that a
// compiler warns about falsely out of the tests).
std::string cat(const char *a, unsigned k, const char *b = "") {
  std::string s(a);
  s += std::to_string(k);
  s += b;
  return s;
}

// min c'x over a random box-bounded model with names (rows of every sense).
void namedmodel(VLTENVptr env, VLTLPptr lp, unsigned seed) {
  std::mt19937 g(seed);
  const int n = 4 + g() % 6, m = 3 + g() % 5;
  std::uniform_real_distribution<double> u(-5, 5);
  std::vector<double> obj(n), lb(n), ub(n), rhs(m), rng(m), val;
  std::vector<int> beg(n), cnt(n), ind;
  std::vector<char> sense(m);
  std::vector<std::string> cn, rn;
  for (int i = 0; i < m; ++i) {
    sense[i] = "LGER"[g() % 4];
    rhs[i] = u(g);
    rng[i] = sense[i] == 'R' ? std::fabs(u(g)) : 0.0;
    rn.push_back(cat("r", i));
  }
  for (int j = 0; j < n; ++j) {
    obj[j] = u(g);
    const int kind = g() % 4;
    lb[j] = kind == 0 ? -1e20 : -3;
    ub[j] = kind == 1 ? 1e20 : 3;
    beg[j] = static_cast<int>(ind.size());
    for (int i = 0; i < m; ++i)
      if (g() % 2 == 0) {
        ind.push_back(i);
        val.push_back(u(g));
      }
    cnt[j] = static_cast<int>(ind.size()) - beg[j];
    cn.push_back(cat("col", j));
  }
  ind.push_back(0);
  val.push_back(0);
  std::vector<char *> cp, rp;
  for (auto &s : cn) cp.push_back(s.data());
  for (auto &s : rn) rp.push_back(s.data());
  ASSERT_EQ(VLTcopylpwnames(env, lp, n, m, 1, obj.data(), rhs.data(), sense.data(), beg.data(),
                            cnt.data(), ind.data(), val.data(), lb.data(), ub.data(), rng.data(),
                            cp.data(), rp.data()),
            0);
}

}  // namespace

TEST_F(FileTest, BasisFileRestartsAFreshLoadAtTheOptimum) {
  VLTsetintparam(env_, VLT_PARAM_PREIND, 0);
  int optimal = 0;
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    namedmodel(env_, lp_, seed);
    ASSERT_EQ(VLTdualopt(env_, lp_), 0);
    if (VLTgetstat(env_, lp_) != 1) continue;
    ++optimal;
    double z = 0;
    VLTgetobjval(env_, lp_, &z);
    const std::string f = path(cat("b", seed, ".bas"));
    ASSERT_EQ(VLTmbasewrite(env_, lp_, f.c_str()), 0) << err_;
    VLTLPptr fresh = VLTcreateprob(env_, nullptr, "fresh");
    namedmodel(env_, fresh, seed);
    ASSERT_EQ(VLTreadcopybase(env_, fresh, f.c_str()), 0) << err_;
    const int n = VLTgetnumcols(env_, lp_), m = VLTgetnumrows(env_, lp_);
    std::vector<int> c1(n), r1(m), c2(n), r2(m);
    ASSERT_EQ(VLTgetbase(env_, lp_, c1.data(), r1.data()), 0);
    ASSERT_EQ(VLTgetbase(env_, fresh, c2.data(), r2.data()), 0);
    EXPECT_EQ(c1, c2);
    EXPECT_EQ(r1, r2);
    ASSERT_EQ(VLTdualopt(env_, fresh), 0);
    EXPECT_EQ(VLTgetstat(env_, fresh), 1);
    EXPECT_EQ(VLTgetitcnt(env_, fresh), 0);
    double z2 = 0;
    VLTgetobjval(env_, fresh, &z2);
    EXPECT_NEAR(z, z2, 1e-9 * std::max(1.0, std::fabs(z)));
    VLTfreeprob(env_, &fresh);
  }
  EXPECT_GE(optimal, 10);
  EXPECT_EQ(warn_, "");
}

TEST_F(FileTest, BasisFileReaderRules) {
  namedmodel(env_, lp_, 3);
  const int n = VLTgetnumcols(env_, lp_), m = VLTgetnumrows(env_, lp_);
  // Only NAME and ENDATA: the slack basis.
  ASSERT_EQ(VLTreadcopybase(env_, lp_, writefile("e.bas", "NAME x\nENDATA\n").c_str()), 0);
  std::vector<int> cs(n), rs(m);
  ASSERT_EQ(VLTgetbase(env_, lp_, cs.data(), rs.data()), 0);
  for (int i = 0; i < m; ++i) EXPECT_EQ(rs[i], 1);
  // 21 unknown names: 20 warnings, then the count of the rest; no ENDATA.
  std::string text = "NAME\n";
  for (unsigned k = 0; k < 21; ++k) text += cat(" UL nosuch", k, "\n");
  clearlogs();
  ASSERT_EQ(VLTreadcopybase(env_, lp_, writefile("u.bas", text).c_str()), 0);
  std::string want;
  for (unsigned k = 0; k < 20; ++k)
    want += cat("Warning, line ", k + 2, ": 'nosuch") + cat("", k, "' is not a variable.\n");
  want += "1 warnings not printed.\nWarning: 'ENDATA' missing.\n";
  EXPECT_EQ(warn_, want);
  clearlogs();
  EXPECT_EQ(VLTreadcopybase(env_, lp_, writefile("i.bas", "NAME\n QQ col0\nENDATA\n").c_str()), 1551);
  EXPECT_EQ(err_, "VELTO Error  1551: Line 2: Unrecognized basis indicator 'QQ'.\n");
  clearlogs();
  EXPECT_EQ(VLTreadcopybase(env_, lp_, writefile("f.bas", "NAME\n XU col0\nENDATA\n").c_str()), 1553);
  EXPECT_EQ(err_, "VELTO Error  1553: Line 2: Wrong number of entries.\n");
  clearlogs();
  EXPECT_EQ(VLTreadcopybase(env_, lp_, writefile("v.bas", "NAME\n BR r0\nENDATA\n").c_str()), 1550);
  EXPECT_EQ(err_, "Line 2: Missing basic value.\n"
                  "VELTO Error  1550: Basis missing some basic values.\n");
  // The plain reader returns statuses and values by the caller's names.
  char a[] = "a", b[] = "b", r[] = "r";
  char *cn[] = {a, b}, *rn[] = {r};
  int c2[2], r2[1];
  double cv[2], rv[1];
  ASSERT_EQ(VLTmbaseread(env_, writefile("p.bas", "NAME\n XU b r\n SC a 2.5\nENDATA\n").c_str(), 2, 1,
                         cn, rn, c2, r2, cv, rv),
            0);
  EXPECT_EQ(c2[0], 3);
  EXPECT_EQ(cv[0], 2.5);
  EXPECT_EQ(c2[1], 1);
  EXPECT_EQ(r2[0], 2);
  // No names in the model: 1219.
  VLTLPptr bare = VLTcreateprob(env_, nullptr, "bare");
  double o = 1, l = 0, u = 1, rh = 1, v = 1;
  int bg = 0, ct = 1, id = 0;
  char s = 'L';
  ASSERT_EQ(VLTcopylp(env_, bare, 1, 1, 1, &o, &rh, &s, &bg, &ct, &id, &v, &l, &u, nullptr), 0);
  clearlogs();
  EXPECT_EQ(VLTreadcopybase(env_, bare, path("e.bas").c_str()), 1219);
  EXPECT_EQ(VLTmbasewrite(env_, bare, path("n.bas").c_str()), 1262);
  VLTfreeprob(env_, &bare);
}
