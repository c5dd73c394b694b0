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

// A vector file holds x and objsen x dj by column, the slack (negated for a
// 'G' row) and objsen x pi by row, all as the getters give them; read into
// a fresh load, a point that is not degenerate gives back the optimal basis
// and the re-solve takes 0 iterations.
TEST_F(FileTest, VectorFileCarriesThePointIntoAFreshLoad) {
  VLTsetintparam(env_, VLT_PARAM_PREIND, 0);
  int used = 0;
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    namedmodel(env_, lp_, seed);
    ASSERT_EQ(VLTdualopt(env_, lp_), 0);
    if (VLTgetstat(env_, lp_) != 1) continue;
    const int n = VLTgetnumcols(env_, lp_), m = VLTgetnumrows(env_, lp_);
    std::vector<double> x(n), dj(n), pi(m), slack(m), lb(n), ub(n);
    std::vector<char> sense(m);
    ASSERT_EQ(VLTsolution(env_, lp_, nullptr, nullptr, x.data(), pi.data(), slack.data(), dj.data()), 0);
    VLTgetlb(env_, lp_, lb.data(), 0, n - 1);
    VLTgetub(env_, lp_, ub.data(), 0, n - 1);
    VLTgetsense(env_, lp_, sense.data(), 0, m - 1);
    const double sg = VLTgetobjsen(env_, lp_);
    const std::string f = path(cat("v", seed, ".vec"));
    ASSERT_EQ(VLTvecwrite(env_, lp_, f.c_str()), 0) << err_;
    std::ifstream in(f);
    std::string line;
    std::getline(in, line);
    EXPECT_EQ(line, "NAME          test");
    for (int k = 0; k < n + m; ++k) {
      ASSERT_TRUE(std::getline(in, line));
      char key = 0, name[64];
      double a = 0, b = 0;
      ASSERT_EQ(std::sscanf(line.c_str(), " %c %63s %lf %lf", &key, name, &a, &b), 4) << line;
      if (k < n) {
        EXPECT_EQ(key, 'c');
        EXPECT_EQ(std::string(name), cat("col", k));
        EXPECT_DOUBLE_EQ(a, x[k]);
        EXPECT_DOUBLE_EQ(b, sg * dj[k]);
      } else {
        const int i = k - n;
        EXPECT_EQ(key, 'r');
        EXPECT_EQ(std::string(name), cat("r", i));
        EXPECT_DOUBLE_EQ(a, sense[i] == 'G' ? -slack[i] : slack[i]);
        EXPECT_DOUBLE_EQ(b, sg * pi[i]);
      }
    }
    std::getline(in, line);
    EXPECT_EQ(line, "ENDATA");
    // Nondegenerate points only: basic columns strictly inside their
    // bounds, basic rows with a nonzero slack.
    std::vector<int> cs(n), rs(m);
    ASSERT_EQ(VLTgetbase(env_, lp_, cs.data(), rs.data()), 0);
    bool clean = true;
    for (int j = 0; j < n; ++j)
      if (cs[j] == 1) clean &= std::fabs(x[j] - lb[j]) > 1e-7 && std::fabs(x[j] - ub[j]) > 1e-7;
    for (int i = 0; i < m; ++i)
      if (rs[i] == 1) clean &= std::fabs(slack[i]) > 1e-7 && sense[i] != 'R';
      else clean &= sense[i] != 'R';
    if (!clean) continue;
    ++used;
    VLTLPptr fresh = VLTcreateprob(env_, nullptr, "fresh");
    namedmodel(env_, fresh, seed);
    ASSERT_EQ(VLTreadcopyvec(env_, fresh, f.c_str()), 0) << err_;
    std::vector<int> c2(n), r2(m);
    ASSERT_EQ(VLTgetbase(env_, fresh, c2.data(), r2.data()), 0);
    EXPECT_EQ(c2, cs);
    EXPECT_EQ(r2, rs);
    ASSERT_EQ(VLTprimopt(env_, fresh), 0);
    EXPECT_EQ(VLTgetstat(env_, fresh), 1);
    EXPECT_EQ(VLTgetitcnt(env_, fresh), 0);
    VLTfreeprob(env_, &fresh);
  }
  EXPECT_GE(used, 3);
  EXPECT_EQ(warn_, "");
}

TEST_F(FileTest, VectorFileStatusesAndWarnings) {
  namedmodel(env_, lp_, 3);
  const std::string f = path("none.vec");
  EXPECT_EQ(VLTvecwrite(env_, lp_, f.c_str()), 1556);
  EXPECT_EQ(err_, "VELTO Error  1556: Vector solution does not exist.\n");
  clearlogs();
  EXPECT_EQ(VLTreadcopyvec(env_, lp_, nullptr), 1421);
  VLTLPptr bare = VLTcreateprob(env_, nullptr, "bare");
  double obj = 1, lb = 0, ub = 1;
  ASSERT_EQ(VLTnewcols(env_, bare, 1, &obj, &lb, &ub, nullptr, nullptr), 0);
  EXPECT_EQ(VLTreadcopyvec(env_, bare, f.c_str()), 1219);
  VLTfreeprob(env_, &bare);
  clearlogs();
  std::string text = "NAME\n x  col0  1\n";
  for (int k = 0; k < 21; ++k) text += cat(" c  nosuch", k, "  0\n");
  text += " c  col0  1.5\n r  r0  0\n";
  const std::string g = writefile("w.vec", text);
  EXPECT_EQ(VLTreadcopyvec(env_, lp_, g.c_str()), 0) << err_;
  std::string want = "Warning, line 2: Unrecognized key 'x'.\n";
  for (int k = 0; k < 20; ++k) want += cat("Warning, line ", k + 3, cat(": 'nosuch", k, "' is not a variable.\n").c_str());
  want += "1 warnings not printed.\nWarning: 'ENDATA' missing.\nWarning: No dual values.\n";
  EXPECT_EQ(warn_, want);
  clearlogs();
  EXPECT_EQ(VLTreadcopyvec(env_, lp_, writefile("n.vec", " c  col0  1\n").c_str()), 1441);
  EXPECT_EQ(err_, "VELTO Error  1441: Line 1: No NAME section.\n");
  clearlogs();
  EXPECT_EQ(VLTreadcopyvec(env_, lp_, writefile("b.vec", "NAME\n c  col0  abc\nENDATA\n").c_str()), 1434);
  EXPECT_EQ(err_, "VELTO Error  1434: Line 2: Couldn't convert 'abc' to a number.\n");
}

// The set-partitioning form: 3 rows, 2 columns in 5 lines; every row 'E'
// with right side 1, every column binary.  Damaged files give the reader's
// statuses and lines.
TEST_F(FileTest, SetPartitioningFile) {
  const std::string f = writefile("sp.par",
                                  "        3        2        4\n"
                                  "    2.5  2\n"
                                  "   1   3\n"
                                  "     -1  2\n"
                                  "   2   3\n");
  ASSERT_EQ(VLTreadcopyprob(env_, lp_, f.c_str(), nullptr), 0) << err_;
  ASSERT_EQ(VLTgetnumrows(env_, lp_), 3);
  ASSERT_EQ(VLTgetnumcols(env_, lp_), 2);
  double obj[2], rhs[3], lb[2], ub[2], v = 0;
  char sense[4] = {}, ctype[3] = {};
  VLTgetobj(env_, lp_, obj, 0, 1);
  VLTgetrhs(env_, lp_, rhs, 0, 2);
  VLTgetsense(env_, lp_, sense, 0, 2);
  VLTgetlb(env_, lp_, lb, 0, 1);
  VLTgetub(env_, lp_, ub, 0, 1);
  VLTgetctype(env_, lp_, ctype, 0, 1);
  EXPECT_EQ(obj[0], 2.5);
  EXPECT_EQ(obj[1], -1.0);
  EXPECT_EQ(std::string(sense), "EEE");
  EXPECT_EQ(std::string(ctype), "BB");
  for (int i = 0; i < 3; ++i) EXPECT_EQ(rhs[i], 1.0);
  EXPECT_EQ(lb[0], 0.0);
  EXPECT_EQ(ub[1], 1.0);
  const int want[3][2] = {{1, 0}, {0, 1}, {1, 1}};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 2; ++j) {
      ASSERT_EQ(VLTgetcoef(env_, lp_, i, j, &v), 0);
      EXPECT_EQ(v, want[i][j]) << i << " " << j;
    }
  // The same through the array reader.
  int n = 0, m = 0, sen = 0;
  double *o = nullptr, *r = nullptr, *val = nullptr, *l = nullptr, *u = nullptr, *rg = nullptr;
  char *s = nullptr;
  int *beg = nullptr, *cnt = nullptr, *ind = nullptr;
  ASSERT_EQ(VLTparread(env_, f.c_str(), &n, &m, &sen, &o, &r, &s, &beg, &cnt, &ind, &val, &l, &u,
                       &rg, nullptr, nullptr, nullptr, nullptr),
            0);
  EXPECT_EQ(n, 2);
  EXPECT_EQ(m, 3);
  EXPECT_EQ(cnt[0] + cnt[1], 4);
  EXPECT_EQ(ind[beg[1]], 1);
  for (void *q : {static_cast<void *>(o), static_cast<void *>(r), static_cast<void *>(s),
                  static_cast<void *>(beg), static_cast<void *>(cnt), static_cast<void *>(ind),
                  static_cast<void *>(val), static_cast<void *>(l), static_cast<void *>(u)})
    VLTfree(q);
  EXPECT_EQ(rg, nullptr);
  const struct {
    const char *text;
    int status;
    const char *line;
  } bad[] = {
      {"", 1525, "VELTO Error  1525: Header missing.\n"},
      {"        3        2\n", 1526, "VELTO Error  1526: Not enough data in header.\n"},
      {"        3        2        4\n    2.5  2\n   1   3\n", 1527,
       "VELTO Error  1527: Found 3 lines, expected 5.\n"},
      {"        3        2        4\n    2.5\n", 1528, "VELTO Error  1528: Line 2:  Not enough entries.\n"},
      {"        3        1        2\n    2.5  2\n   1\n", 1528,
       "VELTO Error  1528: Line 3:  Not enough entries.\n"},
      {"        3        1        2\n    2.5  2\n   1   7\n", 1448,
       "VELTO Error  1448: Line 3: '7' is not a row name.\n"},
      {"        3        1        2\n    2.5  2\n   1   1\n", 1447,
       "VELTO Error  1447: Line 3: Row '1' repeats.\n"},
      {"        3        x        2\n", 1434,
       "VELTO Error  1434: Line 1: Couldn't convert 'x' to a number.\n"},
      // Far more rows than the columns could cover: a damaged header.
      {"  5000000        1        1\n    2.5  1\n   1\n", 1526,
       "VELTO Error  1526: Not enough data in header.\n"},
  };
  for (const auto &b : bad) {
    SCOPED_TRACE(b.text);
    clearlogs();
    EXPECT_EQ(VLTreadcopyprob(env_, lp_, writefile("bad.par", b.text).c_str(), nullptr), b.status);
    EXPECT_EQ(err_, b.line);
  }
  EXPECT_EQ(VLTgetnumrows(env_, lp_), 3);  // a failed read leaves the model
}

// The array readers of the text forms drop integer declarations with a
// line, and check their pointers.
TEST_F(FileTest, ArrayReadersOfTheTextForms) {
  const std::string f = writefile("i.mps",
                                  "NAME          small\nROWS\n N  obj\n L  c1\nCOLUMNS\n"
                                  "    MARKER    'MARKER'    'INTORG'\n"
                                  "    x         obj       1.0        c1        2.0\n"
                                  "    MARKER    'MARKER'    'INTEND'\n"
                                  "    y         obj       -1.0       c1        1.0\n"
                                  "RHS\n    rhs       c1        4.0\nBOUNDS\n UP bnd       x         3.0\nENDATA\n");
  int n = 0, m = 0, sen = 0;
  double *o = nullptr, *r = nullptr, *val = nullptr, *l = nullptr, *u = nullptr, *rg = nullptr;
  char *s = nullptr, **cn = nullptr, *cs = nullptr, **rn = nullptr, *rs = nullptr;
  int *beg = nullptr, *cnt = nullptr, *ind = nullptr;
  EXPECT_EQ(VLTmpsread(env_, f.c_str(), &n, &m, &sen, &o, &r, &s, &beg, &cnt, nullptr, &val, &l,
                       &u, &rg, &cn, &cs, &rn, &rs),
            1004);
  clearlogs();
  ASSERT_EQ(VLTmpsread(env_, f.c_str(), &n, &m, &sen, &o, &r, &s, &beg, &cnt, &ind, &val, &l, &u,
                       &rg, &cn, &cs, &rn, &rs),
            0)
      << err_;
  EXPECT_EQ(warn_, "Problem " + f + " contains integer variable declarations, ignored.\n");
  ASSERT_EQ(n, 2);
  ASSERT_EQ(m, 1);
  EXPECT_EQ(std::string(cn[0]), "x");
  EXPECT_EQ(std::string(rn[0]), "c1");
  EXPECT_EQ(o[1], -1.0);
  EXPECT_EQ(r[0], 4.0);
  EXPECT_EQ(s[0], 'L');
  EXPECT_EQ(u[0], 3.0);
  EXPECT_EQ(val[beg[0]], 2.0);
  for (void *q : {static_cast<void *>(o), static_cast<void *>(r), static_cast<void *>(s),
                  static_cast<void *>(beg), static_cast<void *>(cnt), static_cast<void *>(ind),
                  static_cast<void *>(val), static_cast<void *>(l), static_cast<void *>(u),
                  static_cast<void *>(cn), static_cast<void *>(cs), static_cast<void *>(rn),
                  static_cast<void *>(rs)})
    VLTfree(q);
  const std::string g = writefile("q.lp", "Minimize\n obj: x + [ x ^2 ] / 2\nSubject To\n c1: x + y <= 4\nGenerals\n y\nEnd\n");
  clearlogs();
  ASSERT_EQ(VLTlpread(env_, g.c_str(), &n, &m, &sen, &o, &r, &s, &beg, &cnt, &ind, &val, &l, &u,
                      &rg, nullptr, nullptr, nullptr, nullptr),
            0)
      << err_;
  EXPECT_EQ(warn_, "Problem " + g + " contains quadratic objective coefficients, ignored.\n"
                   "Problem " + g + " contains integer variable declarations, ignored.\n");
  EXPECT_EQ(n, 2);
  for (void *q : {static_cast<void *>(o), static_cast<void *>(r), static_cast<void *>(s),
                  static_cast<void *>(beg), static_cast<void *>(cnt), static_cast<void *>(ind),
                  static_cast<void *>(val), static_cast<void *>(l), static_cast<void *>(u)})
    VLTfree(q);
  clearlogs();
  EXPECT_EQ(VLTmpsread(env_, nullptr, &n, &m, &sen, &o, &r, &s, &beg, &cnt, &ind, &val, &l, &u,
                       &rg, nullptr, nullptr, nullptr, nullptr),
            1421);
}

// The dual file of a linear program, read and solved, has the minimum
// shift - objsen x (the primal's optimum), with fixed columns taken out
// into the shift; ranged rows, free and boxed columns all take part.
TEST_F(FileTest, DualFileSolvesToThePrimalOptimum) {
  VLTsetintparam(env_, VLT_PARAM_PREIND, 0);
  int checked = 0, shifted = 0;
  for (unsigned seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    namedmodel(env_, lp_, seed);
    if (seed % 3 == 0) {  // one column fixed at 1
      int j = 0;
      char lu = 'B';
      double v = 1.0;
      ASSERT_EQ(VLTchgbds(env_, lp_, 1, &j, &lu, &v), 0);
    }
    if (seed % 2 == 0) VLTchgobjsen(env_, lp_, -1);
    ASSERT_EQ(VLTprimopt(env_, lp_), 0);
    if (VLTgetstat(env_, lp_) != 1) continue;
    double z = 0, shift = -1;
    VLTgetobjval(env_, lp_, &z);
    const std::string f = path(cat("d", seed, ".mps"));
    ASSERT_EQ(VLTdualwrite(env_, lp_, f.c_str(), &shift), 0) << err_;
    std::ifstream in(f);
    std::string first;
    std::getline(in, first);
    if (shift != 0.0) {
      char want[96];
      std::snprintf(want, sizeof want, "NAME          test.dual (objshift = %18.10e)", shift);
      EXPECT_EQ(first, want);
      ++shifted;
    } else {
      EXPECT_EQ(first, "NAME          test.dual");
    }
    VLTLPptr dual = VLTcreateprob(env_, nullptr, "dual");
    ASSERT_EQ(VLTreadcopyprob(env_, dual, f.c_str(), nullptr), 0) << err_;
    ASSERT_EQ(VLTdualopt(env_, dual), 0);
    ASSERT_EQ(VLTgetstat(env_, dual), 1);
    double zd = 0;
    VLTgetobjval(env_, dual, &zd);
    // The file's numbers hold at most 12 characters: the dual's data are the
    // primal's rounded to about 10 digits.
    EXPECT_NEAR(zd, shift - VLTgetobjsen(env_, lp_) * z, 1e-6 * std::max(1.0, std::fabs(z)));
    VLTfreeprob(env_, &dual);
    ++checked;
  }
  EXPECT_GE(checked, 10);
  EXPECT_GE(shifted, 2);
  EXPECT_EQ(warn_, "");
  // Statuses: no file name, an integer model, no names.
  clearlogs();
  double shift = 0;
  EXPECT_EQ(VLTdualwrite(env_, lp_, "", &shift), 1421);
  char ct[] = "I";
  int j = 0;
  ASSERT_EQ(VLTchgctype(env_, lp_, 1, &j, ct), 0);
  EXPECT_EQ(VLTdualwrite(env_, lp_, path("mip.mps").c_str(), &shift), 1017);
  EXPECT_EQ(err_, "VELTO Error  1421: File name not specified.\n"
                  "VELTO Error  1017: Not available for mixed-integer programs.\n");
  VLTLPptr bare = VLTcreateprob(env_, nullptr, "bare");
  double obj = 1, lb = 0, ub = 2, rhs = 1, val = 1;
  int beg = 0;
  char sense = 'G';
  ASSERT_EQ(VLTnewcols(env_, bare, 1, &obj, &lb, &ub, nullptr, nullptr), 0);
  ASSERT_EQ(VLTaddrows(env_, bare, 0, 1, 1, &rhs, &sense, &beg, &j, &val, nullptr, nullptr), 0);
  clearlogs();
  ASSERT_EQ(VLTdualwrite(env_, bare, path("bare.mps").c_str(), &shift), 0);
  EXPECT_EQ(warn_, "Default variable names c1, c2 ... being created.\n"
                   "Default row names x1, x2 ... being created.\n");
  // min x, x >= 1, 0 <= x <= 2: max y + 2 w, y + w <= 1, y >= 0, w <= 0,
  // written negated.
  EXPECT_EQ(slurp(path("bare.mps")),
            "NAME          bare.dual\nROWS\n N  obj\n L  c1\nCOLUMNS\n"
            "    x1        obj                 -1   c1                   1\n"
            "    u1        obj                 -2   c1                   1\n"
            "RHS\n    rhs       c1                   1\n"
            "BOUNDS\n MI bnd       u1\n UP bnd       u1                   0\nENDATA\n");
  VLTfreeprob(env_, &bare);
}

// Restart files under VLT_PARAM_XXXIND: both methods write "<problem>.xxx"
// at every multiple of VLT_PARAM_BASINTERVAL iterations, and a run on a
// fresh load of the same model starts from it; a file of other sizes is
// refused.  Without the switch nothing is written.
TEST_F(FileTest, RestartFileWrittenAndLoaded) {
  VLTsetintparam(env_, VLT_PARAM_PREIND, 0);
  const std::string base = path("restart");
  int tried = 0;
  for (unsigned seed = 1; seed <= 40 && tried < 3; ++seed) {
    SCOPED_TRACE(seed);
    namedmodel(env_, lp_, seed);
    ASSERT_EQ(VLTchgprobname(env_, lp_, base.c_str()), 0);
    VLTsetintparam(env_, VLT_PARAM_XXXIND, 0);
    ASSERT_EQ(VLTdualopt(env_, lp_), 0);
    if (VLTgetstat(env_, lp_) != 1 || VLTgetitcnt(env_, lp_) < 2) continue;
    EXPECT_FALSE(std::filesystem::exists(base + ".xxx"));
    ++tried;
    const int it = VLTgetitcnt(env_, lp_);
    double z = 0;
    VLTgetobjval(env_, lp_, &z);
    // Again from the logicals, writing at every iteration.
    namedmodel(env_, lp_, seed);
    ASSERT_EQ(VLTchgprobname(env_, lp_, base.c_str()), 0);
    VLTsetintparam(env_, VLT_PARAM_XXXIND, 1);
    VLTsetintparam(env_, VLT_PARAM_BASINTERVAL, 1);
    clearlogs();
    const bool primal = tried == 2;
    ASSERT_EQ(primal ? VLTprimopt(env_, lp_) : VLTdualopt(env_, lp_), 0);
    ASSERT_EQ(VLTgetstat(env_, lp_), 1);
    EXPECT_EQ(out_.rfind("Load of restart from file failed.\n", 0), 0u) << out_;
    EXPECT_NE(out_.find("Basis written to file '" + base + ".xxx'.\n"), std::string::npos);
    ASSERT_TRUE(std::filesystem::exists(base + ".xxx"));
    VLTsetintparam(env_, VLT_PARAM_BASINTERVAL, 1000000);
    VLTLPptr fresh = VLTcreateprob(env_, nullptr, "fresh");
    namedmodel(env_, fresh, seed);
    ASSERT_EQ(VLTchgprobname(env_, fresh, base.c_str()), 0);
    VLTsetintparam(env_, VLT_PARAM_ADVIND, 0);
    clearlogs();
    ASSERT_EQ(primal ? VLTprimopt(env_, fresh) : VLTdualopt(env_, fresh), 0);
    VLTsetintparam(env_, VLT_PARAM_ADVIND, 1);
    EXPECT_EQ(out_.rfind("Load of restart from file succeeded.\n", 0), 0u) << out_;
    EXPECT_EQ(VLTgetstat(env_, fresh), 1);
    if (!primal) {
      EXPECT_LT(VLTgetitcnt(env_, fresh), it);
    }
    double z2 = 0;
    VLTgetobjval(env_, fresh, &z2);
    EXPECT_NEAR(z2, z, 1e-9 * std::max(1.0, std::fabs(z)));
    // A model of other sizes refuses the file.
    VLTLPptr other = VLTcreateprob(env_, nullptr, "other");
    namedmodel(env_, other, seed + 100);
    ASSERT_EQ(VLTchgprobname(env_, other, base.c_str()), 0);
    if (VLTgetnumrows(env_, other) != VLTgetnumrows(env_, fresh) ||
        VLTgetnumcols(env_, other) != VLTgetnumcols(env_, fresh)) {
      clearlogs();
      VLTsetintparam(env_, VLT_PARAM_ADVIND, 0);
      ASSERT_EQ(VLTdualopt(env_, other), 0);
      VLTsetintparam(env_, VLT_PARAM_ADVIND, 1);
      EXPECT_EQ(out_.rfind("Load of restart from file failed.\n", 0), 0u) << out_;
    }
    VLTfreeprob(env_, &other);
    VLTfreeprob(env_, &fresh);
    std::filesystem::remove(base + ".xxx");
  }
  EXPECT_EQ(tried, 3);
  VLTsetintparam(env_, VLT_PARAM_XXXIND, 0);
}
