// The kin of the array readers (VLTmpsqread, VLTmpsmread, VLTlpqread,
// VLTlpmread, VLTsavmread, VLTsavqread): round trips of integer, set and
// semi-continuous data through the writers, the rim vectors of an MPS file,
// the factor convention of quadratic terms, the warnings of the readers that
// drop data, argument checks, and damaged files.
#include <cmath>
#include <cstring>
#include <random>

#include "common/getmodel.h"
#include "support.h"

using namespace velto_test;

namespace {

// Every out pointer of the readers; what the library handed out is
// released at the end.
struct kinarrays {
  int n = -1, m = -1, objsen = 0;
  double *obj = nullptr, *rhs = nullptr, *val = nullptr, *lb = nullptr, *ub = nullptr,
         *rng = nullptr;
  char *sense = nullptr, **cn = nullptr, *cs = nullptr, **rn = nullptr, *rs = nullptr;
  int *beg = nullptr, *cnt = nullptr, *ind = nullptr;
  char *ctype = nullptr;
  int numsos = -1, numsosnz = -1;
  char *sostype = nullptr;
  int *sospri = nullptr, *sosbeg = nullptr, *sosind = nullptr;
  double *soswt = nullptr;
  int numqnz = -1;
  int *qbeg = nullptr, *qcnt = nullptr, *qind = nullptr;
  double *qval = nullptr;
  int rows[2] = {-1, -1}, rownz[2] = {-1, -1};
  double *rowrhs[2] = {nullptr, nullptr}, *rowval[2] = {nullptr, nullptr};
  char *rowsense[2] = {nullptr, nullptr};
  int *rowbeg[2] = {nullptr, nullptr}, *rowind[2] = {nullptr, nullptr};
  int *cstat = nullptr, *rstat = nullptr;
  char **rimname = nullptr, *rimstore = nullptr;

  kinarrays() = default;
  kinarrays(const kinarrays &) = delete;
  ~kinarrays() {
    for (void *p : blocks()) VLTfree(p);
  }
  std::vector<void *> blocks() const {
    std::vector<void *> b = {obj, rhs, val, lb, ub, rng, sense, cn, cs, rn, rs, beg, cnt, ind,
                             ctype, sostype, sospri, sosbeg, sosind, soswt, qbeg, qcnt, qind,
                             qval, cstat, rstat, rimname, rimstore};
    for (int k = 0; k < 2; ++k)
      for (void *p : {static_cast<void *>(rowrhs[k]), static_cast<void *>(rowval[k]),
                      static_cast<void *>(rowsense[k]), static_cast<void *>(rowbeg[k]),
                      static_cast<void *>(rowind[k])})
        b.push_back(p);
    return b;
  }
  // True when nothing at all was handed out.
  bool empty() const {
    for (void *p : blocks())
      if (p != nullptr) return false;
    return n == 0 && m == 0 && (numsos <= 0) && (numqnz <= 0);
  }
};

#define KIN_MODEL(k)                                                                          \
  &(k).n, &(k).m, &(k).objsen, &(k).obj, &(k).rhs, &(k).sense, &(k).beg, &(k).cnt, &(k).ind, \
      &(k).val, &(k).lb, &(k).ub, &(k).rng, &(k).cn, &(k).cs, &(k).rn, &(k).rs
#define KIN_MIP(k)                                                                        \
  &(k).ctype, &(k).numsos, &(k).numsosnz, &(k).sostype, &(k).sospri, &(k).sosbeg, \
      &(k).sosind, &(k).soswt
#define KIN_QUAD(k) &(k).numqnz, &(k).qbeg, &(k).qcnt, &(k).qind, &(k).qval
#define KIN_ROWS(k, w)                                                                      \
  &(k).rows[w], &(k).rownz[w], &(k).rowrhs[w], &(k).rowsense[w], &(k).rowbeg[w], \
      &(k).rowind[w], &(k).rowval[w]

int mpsq(VLTENVptr env, const std::string &f, kinarrays &k) {
  return VLTmpsqread(env, f.c_str(), KIN_MODEL(k), KIN_MIP(k), KIN_QUAD(k));
}
int lpq(VLTENVptr env, const std::string &f, kinarrays &k) {
  return VLTlpqread(env, f.c_str(), KIN_MODEL(k), KIN_MIP(k), KIN_QUAD(k));
}
int lpm(VLTENVptr env, const std::string &f, kinarrays &k) {
  return VLTlpmread(env, f.c_str(), KIN_MODEL(k), KIN_MIP(k));
}
int savm(VLTENVptr env, const std::string &f, kinarrays &k) {
  return VLTsavmread(env, f.c_str(), KIN_MODEL(k), KIN_MIP(k));
}
int savq(VLTENVptr env, const std::string &f, kinarrays &k) {
  return VLTsavqread(env, f.c_str(), KIN_MODEL(k), KIN_MIP(k), KIN_QUAD(k), KIN_ROWS(k, 0),
                     KIN_ROWS(k, 1), &k.cstat, &k.rstat);
}

// Rim space of VLTmpsmread.
struct rimspace {
  int count = -1, nzcount = -1;
  std::vector<int> type, beg, ind;
  std::vector<double> val;
  std::vector<char> lu;
  rimspace(int vectors, int nonzeros)
      : type(vectors), beg(vectors), ind(nonzeros), val(nonzeros), lu(nonzeros) {}
};
int mpsm(VLTENVptr env, const std::string &f, kinarrays &k, rimspace &r) {
  return VLTmpsmread(env, f.c_str(), KIN_MODEL(k), KIN_MIP(k), KIN_QUAD(k),
                     static_cast<int>(r.type.size()), static_cast<int>(r.ind.size()), &r.count,
                     &r.nzcount, r.type.data(), r.beg.data(), r.ind.data(), r.val.data(),
                     r.lu.data(), &k.rimname, &k.rimstore);
}

// A mixed-integer model with every column type, two sets and (optionally)
// ranged rows, loaded through the public calls; the columns are
//   x0 C [0,inf)  x1 I [0,10]  x2 B  x3 S [2,10]  x4 N [1,5]  x5 C (-inf,5]
//   x6 C [-3,8].
void loadmip(VLTENVptr env, VLTLPptr lp, bool ranged) {
  const int n = 7, m = 5;
  std::vector<double> obj = {1, -2, 3, 0.5, -1.25, 4, 0.75};
  std::vector<double> lb = {0, 0, 0, 2, 1, -1e20, -3}, ub = {1e20, 10, 1, 10, 5, 5, 8};
  std::vector<double> rhs = {10, -2, 3, 7, -1};
  std::vector<char> sense = {'L', 'G', 'E', 'L', 'G'};
  std::vector<double> rng(m, 0.0);
  if (ranged) {
    sense[3] = sense[4] = 'R';
    rng[3] = -4;
    rng[4] = 2.5;
  }
  std::vector<int> beg, cnt, ind;
  std::vector<double> val;
  for (int j = 0; j < n; ++j) {
    beg.push_back(static_cast<int>(ind.size()));
    for (int i = 0; i < m; ++i)
      if ((i + 2 * j) % 3 != 0) {
        ind.push_back(i);
        val.push_back(1.5 * (i + 1) - j);
      }
    cnt.push_back(static_cast<int>(ind.size()) - beg.back());
  }
  std::vector<std::string> cn, rn;
  for (int j = 0; j < n; ++j) cn.push_back("x" + std::to_string(j));
  for (int i = 0; i < m; ++i) rn.push_back("r" + std::to_string(i));
  std::vector<char *> cp, rp;
  for (auto &s : cn) cp.push_back(s.data());
  for (auto &s : rn) rp.push_back(s.data());
  ASSERT_EQ(VLTcopylpwnames(env, lp, n, m, -1, obj.data(), rhs.data(), sense.data(), beg.data(),
                            cnt.data(), ind.data(), val.data(), lb.data(), ub.data(), rng.data(),
                            cp.data(), rp.data()),
            0);
  const char ct[] = {'C', 'I', 'B', 'S', 'N', 'C', 'C'};
  ASSERT_EQ(VLTcopyctype(env, lp, ct), 0);
  const char st[] = {'1', '2'};
  const int pri[] = {2, 5}, sbeg[] = {0, 3}, sind[] = {0, 5, 6, 1, 3, 4};
  const double swt[] = {1, 2, 3, 10, 20, 30};
  ASSERT_EQ(VLTcopysos(env, lp, 2, 6, st, pri, sbeg, sind, swt), 0);
}

struct apisets {
  int count = 0;
  std::vector<char> type;
  std::vector<int> pri, beg, ind;
  std::vector<double> wt;
};

apisets getsets(VLTENVptr env, VLTLPptr lp) {
  apisets s;
  s.count = VLTgetnumsos(env, lp);
  if (s.count == 0) return s;
  int nz = 0, surplus = 0;
  s.type.resize(s.count);
  s.pri.resize(s.count);
  s.beg.resize(s.count);
  s.ind.resize(100);
  s.wt.resize(100);
  EXPECT_EQ(VLTgetsos(env, lp, &nz, s.type.data(), s.pri.data(), s.beg.data(), s.ind.data(),
                      s.wt.data(), 100, &surplus, 0, s.count - 1),
            0);
  s.ind.resize(nz);
  s.wt.resize(nz);
  return s;
}

// Compares what a reader handed out with the model it was written from.  The
// MPS form stores a maximization as the minimization of -c.
void expect_model(const apimodel &a, const kinarrays &k) {
  ASSERT_EQ(k.n, a.n);
  ASSERT_EQ(k.m, a.m);
  for (int j = 0; j < a.n; ++j) {
    SCOPED_TRACE("column " + std::to_string(j));
    EXPECT_EQ(k.objsen * k.obj[j], a.objsen * a.obj[j]);
    EXPECT_EQ(k.lb[j], a.lb[j]);
    EXPECT_EQ(k.ub[j], a.ub[j]);
    const int end = j + 1 < a.n ? a.beg[j + 1] : a.nz;
    ASSERT_EQ(k.cnt[j], end - a.beg[j]);
    for (int q = 0; q < k.cnt[j]; ++q) {
      EXPECT_EQ(k.ind[k.beg[j] + q], a.ind[a.beg[j] + q]);
      EXPECT_EQ(k.val[k.beg[j] + q], a.val[a.beg[j] + q]);
    }
    EXPECT_STREQ(k.cn[j], a.colnames[j].c_str());
  }
  for (int i = 0; i < a.m; ++i) {
    SCOPED_TRACE("row " + std::to_string(i));
    EXPECT_EQ(k.rhs[i], a.rhs[i]);
    EXPECT_EQ(k.sense[i], a.sense[i]);
    if (a.sense[i] == 'R') {
      ASSERT_NE(k.rng, nullptr);
      EXPECT_EQ(k.rng[i], a.rng[i]);
    }
    EXPECT_STREQ(k.rn[i], a.rownames[i].c_str());
  }
  ASSERT_NE(k.ctype, nullptr);
  EXPECT_EQ(std::string(k.ctype, k.n), std::string(a.ctype.begin(), a.ctype.end()));
}

void expect_sets(const apisets &s, const kinarrays &k, bool priorities) {
  ASSERT_EQ(k.numsos, s.count);
  ASSERT_EQ(k.numsosnz, static_cast<int>(s.ind.size()));
  for (int q = 0; q < s.count; ++q) {
    EXPECT_EQ(k.sostype[q], s.type[q]);
    EXPECT_EQ(k.sosbeg[q], s.beg[q]);
    if (priorities) {
      ASSERT_NE(k.sospri, nullptr);
      EXPECT_EQ(k.sospri[q], s.pri[q]);
    }
  }
  if (!priorities) {
    EXPECT_EQ(k.sospri, nullptr);
  }
  for (int q = 0; q < k.numsosnz; ++q) {
    EXPECT_EQ(k.sosind[q], s.ind[q]);
    EXPECT_EQ(k.soswt[q], s.wt[q]);
  }
}

// Q of a reader as a dense matrix.
std::vector<std::vector<double>> denseq(const kinarrays &k) {
  std::vector<std::vector<double>> q(k.n, std::vector<double>(k.n, 0.0));
  for (int j = 0; j < k.n; ++j)
    for (int p = k.qbeg[j]; p < k.qbeg[j] + k.qcnt[j]; ++p) q[k.qind[p]][j] += k.qval[p];
  return q;
}

// 0.5 x'Qx.
double halfform(const std::vector<std::vector<double>> &q, const std::vector<double> &x) {
  double s = 0.0;
  for (size_t i = 0; i < x.size(); ++i)
    for (size_t j = 0; j < x.size(); ++j) s += x[i] * q[i][j] * x[j];
  return 0.5 * s;
}

const char *kRimFile =
    "NAME          RIMS\n"
    "ROWS\n"
    " N  obj\n"
    " L  c1\n"
    " N  spare\n"
    " G  c2\n"
    " E  c3\n"
    "COLUMNS\n"
    "    x         obj       1.0          c1        1.0\n"
    "    x         c2        1.0          spare     9.0\n"
    "    y         obj       2.0          c1        1.0\n"
    "    y         c3        1.0\n"
    "RHS\n"
    "    rhs1      c1        4.0          c2        1.0\n"
    "    rhs1      c3        2.0          spare     7.0\n"
    "    rhs2      c1        8.0\n"
    "    rhs2      c3        -3.0\n"
    "RANGES\n"
    "    rng1      c1        2.0\n"
    "    rng2      c2        -5.0         c3        -1.5\n"
    "    rng2      c1        3.0\n"
    "BOUNDS\n"
    " UP bnd1      x         4.0\n"
    " LO bnd1      y         1.0\n"
    " FR bnd2      x\n"
    " BV bnd2      y\n"
    "ENDATA\n";

}  // namespace

TEST_F(FileTest, KinReadersRoundTripIntegerSetAndSemiContinuousData) {
  // MPS and the binary form carry ranged rows; the LP form writes a ranged
  // row with a column of its own, so its model has none.
  for (const char *form : {"mps", "lp", "sav"}) {
    SCOPED_TRACE(form);
    const bool lpform = std::strcmp(form, "lp") == 0;
    VLTLPptr p = VLTcreateprob(env_, nullptr, "mip");
    loadmip(env_, p, !lpform);
    const apimodel a = getmodel(env_, p);
    const apisets s = getsets(env_, p);
    ASSERT_EQ(s.count, 2);
    const std::string f = path(std::string("kin.") + form);
    ASSERT_EQ(VLTwriteprob(env_, p, f.c_str(), nullptr), 0);
    clearlogs();
    if (std::strcmp(form, "mps") == 0) {
      kinarrays q, r;
      ASSERT_EQ(mpsq(env_, f, q), 0);
      expect_model(a, q);
      expect_sets(s, q, false);
      EXPECT_EQ(q.numqnz, 0);
      EXPECT_EQ(q.qbeg, nullptr);
      rimspace rim(8, 40);
      ASSERT_EQ(mpsm(env_, f, r, rim), 0);
      expect_model(a, r);
      expect_sets(s, r, false);
      // The writer's single RHS, RANGES and BOUNDS sets come back as rims.
      ASSERT_EQ(rim.count, 3);
      EXPECT_EQ(rim.type[0], VLT_RIM_RHS);
      EXPECT_EQ(rim.type[1], VLT_RIM_RANGES);
      EXPECT_EQ(rim.type[2], VLT_RIM_BOUNDS);
      for (int k = rim.beg[1]; k < rim.beg[2]; ++k) EXPECT_EQ(rim.val[k], a.rng[rim.ind[k]]);
    } else if (lpform) {
      kinarrays q, mm;
      ASSERT_EQ(lpq(env_, f, q), 0);
      expect_model(a, q);
      expect_sets(s, q, false);
      EXPECT_EQ(q.numqnz, 0);
      ASSERT_EQ(lpm(env_, f, mm), 0);
      expect_model(a, mm);
      expect_sets(s, mm, false);
    } else {
      kinarrays mm, q;
      ASSERT_EQ(savm(env_, f, mm), 0);
      expect_model(a, mm);
      expect_sets(s, mm, true);
      ASSERT_EQ(savq(env_, f, q), 0);
      expect_model(a, q);
      expect_sets(s, q, true);
      EXPECT_EQ(q.numqnz, 0);
      EXPECT_EQ(q.rows[0], 0);
      EXPECT_EQ(q.rows[1], 0);
      EXPECT_EQ(q.rowrhs[0], nullptr);
      EXPECT_EQ(q.cstat, nullptr);  // no basis stored
      // The copy into a problem keeps the sets with their priorities.
      VLTLPptr back = VLTcreateprob(env_, nullptr, "back");
      ASSERT_EQ(VLTreadcopyprob(env_, back, f.c_str(), nullptr), 0);
      const apisets b = getsets(env_, back);
      EXPECT_EQ(b.pri, s.pri);
      EXPECT_EQ(b.ind, s.ind);
      EXPECT_EQ(b.wt, s.wt);
      VLTfreeprob(env_, &back);
    }
    EXPECT_EQ(warn_.find("ignored"), std::string::npos) << warn_;
    // The plain readers drop the integer data and say so.
    {
      kinarrays plain;
      clearlogs();
      int st = std::strcmp(form, "mps") == 0
                   ? VLTmpsread(env_, f.c_str(), KIN_MODEL(plain))
                   : lpform ? VLTlpread(env_, f.c_str(), KIN_MODEL(plain))
                            : VLTsavread(env_, f.c_str(), KIN_MODEL(plain));
      ASSERT_EQ(st, 0);
      EXPECT_EQ(plain.n, a.n);
      if (std::strcmp(form, "sav") != 0) {
        EXPECT_EQ(warn_, "Problem " + f + " contains integer variable declarations, ignored.\n");
      }
    }
    VLTfreeprob(env_, &p);
  }
}

TEST_F(FileTest, MpsmreadReturnsEveryRimSetAndMpsreadOnlyTheFirst) {
  const std::string f = writefile("rims.mps", kRimFile);
  kinarrays k;
  rimspace r(6, 15);
  ASSERT_EQ(mpsm(env_, f, k, r), 0);
  EXPECT_EQ(warn_, "");
  // The model is made of the first set of each kind.
  ASSERT_EQ(k.m, 3);
  ASSERT_EQ(k.n, 2);
  EXPECT_EQ(std::vector<double>(k.rhs, k.rhs + 3), (std::vector<double>{4, 1, 2}));
  EXPECT_EQ(std::string(k.sense, 3), "RGE");
  ASSERT_NE(k.rng, nullptr);
  EXPECT_EQ(k.rng[0], -2.0);
  EXPECT_EQ(k.lb[0], 0.0);
  EXPECT_EQ(k.ub[0], 4.0);
  EXPECT_EQ(k.lb[1], 1.0);
  EXPECT_EQ(k.ub[1], 1e20);
  EXPECT_EQ(k.ctype, nullptr);
  // Six sets in file order; rows are counted without the free row "spare".
  ASSERT_EQ(r.count, 6);
  ASSERT_EQ(r.nzcount, 15);
  const int kinds[] = {VLT_RIM_RHS,    VLT_RIM_RHS,    VLT_RIM_RANGES,
                       VLT_RIM_RANGES, VLT_RIM_BOUNDS, VLT_RIM_BOUNDS};
  const char *names[] = {"rhs1", "rhs2", "rng1", "rng2", "bnd1", "bnd2"};
  const int begs[] = {0, 3, 5, 6, 9, 11};
  for (int v = 0; v < 6; ++v) {
    EXPECT_EQ(r.type[v], kinds[v]) << v;
    EXPECT_EQ(r.beg[v], begs[v]) << v;
    EXPECT_STREQ(k.rimname[v], names[v]);
  }
  const int ind[] = {0, 1, 2, 0, 2, 0, 1, 2, 0, 0, 1, 0, 0, 1, 1};
  // rng2: the G row takes |R|, the E row R itself, the L row -|R|.
  const double val[] = {4, 1, 2, 8, -3, -2, 5, -1.5, -3, 4, 1, -1e20, 1e20, 0, 1};
  const char lu[] = "         ULLULU";
  for (int q = 0; q < 15; ++q) {
    SCOPED_TRACE(q);
    EXPECT_EQ(r.ind[q], ind[q]);
    EXPECT_EQ(r.val[q], val[q]);
    EXPECT_EQ(r.lu[q], lu[q]);
  }

  // The plain reader keeps the first sets, and the one warning of the bounds.
  clearlogs();
  kinarrays p;
  ASSERT_EQ(VLTmpsread(env_, f.c_str(), KIN_MODEL(p)), 0);
  EXPECT_EQ(warn_, "Warning:  More than one bound set specified. Only the first set is used.\n");
  EXPECT_EQ(std::vector<double>(p.rhs, p.rhs + 3), (std::vector<double>{4, 1, 2}));
  EXPECT_EQ(std::string(p.sense, 3), "RGE");
  EXPECT_EQ(p.rng[0], -2.0);
  EXPECT_EQ(p.ub[0], 4.0);
  EXPECT_EQ(p.lb[1], 1.0);
  EXPECT_EQ(out_.find("Selected RHS        name:  rhs1\n") != std::string::npos, true) << out_;
}

TEST_F(FileTest, MpsmreadChecksLaterSetsAndTheRimSpace) {
  const std::string f = writefile("rims.mps", kRimFile);
  {
    kinarrays k;
    rimspace r(5, 15);
    EXPECT_EQ(mpsm(env_, f, k, r), 1484);
    EXPECT_EQ(err_, "VELTO Error  1484: Too many rim vectors.\n");
    // The counts tell the space needed; nothing else is handed out.
    EXPECT_EQ(r.count, 6);
    EXPECT_EQ(r.nzcount, 15);
    EXPECT_TRUE(k.empty());
  }
  {
    clearlogs();
    kinarrays k;
    rimspace r(6, 14);
    EXPECT_EQ(mpsm(env_, f, k, r), 1485);
    EXPECT_EQ(err_, "VELTO Error  1485: Too many rim nonzeros.\n");
    EXPECT_TRUE(k.empty());
  }
  {
    kinarrays k;
    rimspace r(0, 0);
    EXPECT_EQ(VLTmpsmread(env_, f.c_str(), KIN_MODEL(k), KIN_MIP(k), KIN_QUAD(k), -1, 0,
                          &r.count, &r.nzcount, nullptr, nullptr, nullptr, nullptr, nullptr,
                          nullptr, nullptr),
              1003);
    EXPECT_EQ(VLTmpsmread(env_, f.c_str(), KIN_MODEL(k), KIN_MIP(k), KIN_QUAD(k), 6, 15,
                          &r.count, &r.nzcount, nullptr, nullptr, nullptr, nullptr, nullptr,
                          nullptr, nullptr),
              1004);
    // Without names the vectors still come.
    rimspace s(6, 15);
    EXPECT_EQ(VLTmpsmread(env_, f.c_str(), KIN_MODEL(k), KIN_MIP(k), KIN_QUAD(k), 6, 15,
                          &s.count, &s.nzcount, s.type.data(), s.beg.data(), s.ind.data(),
                          s.val.data(), s.lu.data(), nullptr, nullptr),
              0);
    EXPECT_EQ(s.count, 6);
  }
  // A later set is checked as the first one is: a row ranged twice in one
  // set, a second upper bound, an unknown row, a set name coming back.
  struct bad {
    const char *from, *to;
    int status;
  };
  const bad cases[] = {
      {"    rng2      c1        3.0\n", "    rng2      c2        3.0\n", 1444},
      {" BV bnd2      y\n", " UP bnd2      y         1.0\n UP bnd2      y         2.0\n", 1458},
      {"    rhs2      c3        -3.0\n", "    rhs2      c9        -3.0\n", 1448},
      {" BV bnd2      y\n", " BV bnd2      y\n UP bnd1      y         2.0\n", 1447}};
  for (const bad &c : cases) {
    std::string text = kRimFile;
    text.replace(text.find(c.from), std::strlen(c.from), c.to);
    const std::string g = writefile("bad.mps", text);
    kinarrays k;
    rimspace r(9, 30);
    EXPECT_EQ(mpsm(env_, g, k, r), c.status) << c.to;
    EXPECT_TRUE(k.empty());
    // The plain reader skips later sets unread, except for a set coming back.
    kinarrays p;
    EXPECT_EQ(VLTmpsread(env_, g.c_str(), KIN_MODEL(p)), c.status == 1447 ? 1447 : 0) << c.to;
  }
}

TEST_F(FileTest, QuadraticTermsComeBackFullAndSymmetricWithTheHalfFactor) {
  // Every file below means the objective  x + 0.5 (2 x^2 + 6 x y + 4 y^2).
  const std::string head =
      "NAME          QP\nROWS\n N  obj\n L  c1\nCOLUMNS\n"
      "    x         obj       1.0          c1        1.0\n"
      "    y         c1        1.0\nRHS\n    rhs       c1        10.0\n";
  const std::string quadobj = writefile(
      "qo.mps", head + "QUADOBJ\n    x  x  2\n    x  y  3\n    y  y  4\nENDATA\n");
  const std::string qmatrix = writefile(
      "qm.mps", head + "QMATRIX\n    x  x  2\n    x  y  3\n    y  x  3\n    y  y  4\nENDATA\n");
  const std::string lp = writefile(
      "q.lp", "Minimize\n obj: x + [ 2 x ^ 2 + 6 x * y + 4 y ^ 2 ] / 2\nSubject To\n"
              " c1: x + y <= 10\nEnd\n");
  const std::vector<double> pt = {1.0, 2.0};
  // 0.5 (2*1 + 6*1*2 + 4*4) by hand.
  const double want = 15.0;
  for (const std::string &f : {quadobj, qmatrix, lp}) {
    SCOPED_TRACE(f);
    kinarrays k;
    const bool isl = f == lp;
    ASSERT_EQ(isl ? lpq(env_, f, k) : mpsq(env_, f, k), 0);
    ASSERT_EQ(k.n, 2);
    ASSERT_EQ(k.numqnz, 4);
    const auto q = denseq(k);
    EXPECT_EQ(q[0][0], 2.0);
    EXPECT_EQ(q[0][1], 3.0);
    EXPECT_EQ(q[1][0], 3.0);
    EXPECT_EQ(q[1][1], 4.0);
    EXPECT_DOUBLE_EQ(halfform(q, pt), want);
    for (int j = 0; j < 2; ++j)
      for (int p = k.qbeg[j] + 1; p < k.qbeg[j] + k.qcnt[j]; ++p)
        EXPECT_LT(k.qind[p - 1], k.qind[p]);
    EXPECT_EQ(k.ctype, nullptr);
    EXPECT_EQ(k.obj[0], 1.0);
  }
  // The readers without quadratic results drop the term with one line.
  for (const std::string &f : {quadobj, lp}) {
    clearlogs();
    kinarrays k;
    const bool isl = f == lp;
    ASSERT_EQ(isl ? lpm(env_, f, k) : VLTmpsread(env_, f.c_str(), KIN_MODEL(k)), 0);
    EXPECT_EQ(warn_, "Problem " + f + " contains quadratic objective coefficients, ignored.\n");
    EXPECT_EQ(k.n, 2);
    clearlogs();
    kinarrays p;
    ASSERT_EQ(isl ? VLTlpread(env_, f.c_str(), KIN_MODEL(p))
                  : VLTmpsread(env_, f.c_str(), KIN_MODEL(p)),
              0);
    EXPECT_EQ(warn_, "Problem " + f + " contains quadratic objective coefficients, ignored.\n");
  }
  // Integer declarations as well: the plain LP reader says both.
  const std::string both = writefile(
      "qi.lp", "Maximize\n obj: x - [ x ^ 2 ] / 2\nSubject To\n c1: x + y <= 10\n"
               "Generals\n y\nEnd\n");
  clearlogs();
  kinarrays p;
  ASSERT_EQ(VLTlpread(env_, both.c_str(), KIN_MODEL(p)), 0);
  EXPECT_EQ(warn_, "Problem " + both + " contains quadratic objective coefficients, ignored.\n"
                   "Problem " + both + " contains integer variable declarations, ignored.\n");
  kinarrays k;
  ASSERT_EQ(lpq(env_, both, k), 0);
  ASSERT_NE(k.ctype, nullptr);
  EXPECT_EQ(std::string(k.ctype, 2), "CI");
  ASSERT_EQ(k.numqnz, 1);
  EXPECT_EQ(k.qval[0], -1.0);
  EXPECT_EQ(k.objsen, -1);
}

TEST_F(FileTest, KinReadersRefuseNullRequiredPointers) {
  const std::string f = writefile("rims.mps", kRimFile);
  const std::string l = writefile("a.lp", "Minimize\n obj: x\nSubject To\n c: x >= 1\nEnd\n");
  kinarrays k;
  EXPECT_EQ(VLTmpsqread(env_, f.c_str(), KIN_MODEL(k), nullptr, &k.numsos, &k.numsosnz,
                        &k.sostype, &k.sospri, &k.sosbeg, &k.sosind, &k.soswt, KIN_QUAD(k)),
            1004);
  EXPECT_EQ(err_, "VELTO Error  1004: Null pointer for required data.\n");
  EXPECT_EQ(VLTmpsqread(env_, f.c_str(), KIN_MODEL(k), KIN_MIP(k), nullptr, &k.qbeg, &k.qcnt,
                        &k.qind, &k.qval),
            1004);
  EXPECT_EQ(VLTlpqread(env_, l.c_str(), KIN_MODEL(k), KIN_MIP(k), &k.numqnz, &k.qbeg, &k.qcnt,
                       nullptr, &k.qval),
            1004);
  EXPECT_EQ(VLTlpmread(env_, l.c_str(), KIN_MODEL(k), &k.ctype, &k.numsos, &k.numsosnz,
                       &k.sostype, &k.sospri, nullptr, &k.sosind, &k.soswt),
            1004);
  EXPECT_EQ(VLTlpmread(env_, l.c_str(), &k.n, &k.m, &k.objsen, nullptr, &k.rhs, &k.sense,
                       &k.beg, &k.cnt, &k.ind, &k.val, &k.lb, &k.ub, &k.rng, &k.cn, &k.cs, &k.rn,
                       &k.rs, KIN_MIP(k)),
            1004);
  EXPECT_TRUE(k.empty());
  // The optional priorities may be left out.
  EXPECT_EQ(VLTlpmread(env_, l.c_str(), KIN_MODEL(k), &k.ctype, &k.numsos, &k.numsosnz,
                       &k.sostype, nullptr, &k.sosbeg, &k.sosind, &k.soswt),
            0);
  EXPECT_EQ(k.n, 1);
  EXPECT_EQ(VLTmpsqread(nullptr, f.c_str(), KIN_MODEL(k), KIN_MIP(k), KIN_QUAD(k)), 1002);
}

namespace {

// A binary model file written by hand: two columns, one row, a basis, the
// column types, Q (general or diagonal), one user cut and two lazy
// constraints.
class savbytes {
 public:
  void string(const char *s) {
    if (s == nullptr) {
      b_.push_back('\0');
      return;
    }
    b_.push_back(static_cast<char>(std::strlen(s) + 1));
    b_.append(s, std::strlen(s) + 1);
  }
  template <class T>
  void put(std::initializer_list<T> v) {
    for (T x : v) b_.append(reinterpret_cast<const char *>(&x), sizeof x);
  }
  const std::string &bytes() const { return b_; }

 private:
  std::string b_;
};

// With `stray` the quadratic part holds one value that no column reaches.
std::string handsav(bool diagonal, bool stray = false) {
  savbytes s;
  s.string("VELTOMIPQC 810");
  s.string(nullptr);
  s.string("cost");
  for (int k = 0; k < 3; ++k) s.string(nullptr);
  // basis, ranges, col names, row names, 0, n, m, 0, objsen, t, m, nz, 0, 0, bytes, bytes, 0
  s.put<int>({1, 0, 0, 0, 0, 2, 1, 0, 1, 2, 1, 2, 0, 0, 0, 0, 0});
  s.put<double>({1.0, -1.0});    // obj
  s.put<double>({4.0});          // rhs
  s.put<double>({0.0, 0.0});     // lb
  s.put<double>({1e20, 7.0});    // ub
  s.put<double>({1.0, 2.0});     // matval
  s.put<char>({'L'});            // sense
  s.put<int>({0, 1});            // matbeg
  s.put<int>({1, 1});            // matcnt
  s.put<int>({0, 0});            // matind
  s.put<int>({1, 0});            // cstat
  s.put<int>({0});               // rstat
  s.put<int>({1, 0, 0, 0});      // ctype flag, set flag, sets, members
  s.put<char>({'C', 'I'});
  if (diagonal) {
    s.put<int>({2, 0});
    s.put<double>({5.0, 0.0});
  } else if (stray) {
    s.put<int>({5, 1});
    s.put<int>({0, 3});
    s.put<int>({2, 2});
    s.put<int>({0, 1, 1, 0, 1});
    s.put<double>({2.0, 3.0, 9.0, 3.0, 4.0});
  } else {
    s.put<int>({4, 1});
    s.put<int>({0, 2});            // starts
    s.put<int>({2, 2});            // counts
    s.put<int>({0, 1, 0, 1});      // rows
    s.put<double>({2.0, 3.0, 3.0, 4.0});
  }
  s.put<int>({1, 1, 2});  // user cuts: flag, rows, nonzeros
  s.put<double>({5.0});
  s.put<char>({'L'});
  s.put<int>({0});
  s.put<int>({0, 1});
  s.put<double>({1.0, 1.0});
  s.put<int>({1, 2, 3});  // lazy constraints
  s.put<double>({1.0, 2.0});
  s.put<char>({'G', 'E'});
  s.put<int>({0, 1});
  s.put<int>({1, 0, 1});
  s.put<double>({1.0, 2.0, -1.0});
  return s.bytes();
}

}  // namespace

TEST_F(FileTest, SavqreadHandsOutQuadraticTermCutsLazyConstraintsAndBasis) {
  const std::string f = writefile("hand.sav", handsav(false));
  kinarrays k;
  ASSERT_EQ(savq(env_, f, k), 0);
  ASSERT_EQ(k.n, 2);
  ASSERT_EQ(k.m, 1);
  EXPECT_EQ(std::string(k.ctype, 2), "CI");
  EXPECT_EQ(k.numsos, 0);
  ASSERT_EQ(k.numqnz, 4);
  const auto q = denseq(k);
  EXPECT_EQ(q, (std::vector<std::vector<double>>{{2, 3}, {3, 4}}));
  ASSERT_EQ(k.rows[0], 1);
  ASSERT_EQ(k.rownz[0], 2);
  EXPECT_EQ(k.rowrhs[0][0], 5.0);
  EXPECT_EQ(k.rowsense[0][0], 'L');
  EXPECT_EQ(k.rowbeg[0][0], 0);
  EXPECT_EQ(std::vector<int>(k.rowind[0], k.rowind[0] + 2), (std::vector<int>{0, 1}));
  ASSERT_EQ(k.rows[1], 2);
  ASSERT_EQ(k.rownz[1], 3);
  EXPECT_EQ(std::string(k.rowsense[1], 2), "GE");
  EXPECT_EQ(std::vector<int>(k.rowbeg[1], k.rowbeg[1] + 2), (std::vector<int>{0, 1}));
  EXPECT_EQ(std::vector<double>(k.rowval[1], k.rowval[1] + 3),
            (std::vector<double>{1, 2, -1}));
  ASSERT_NE(k.cstat, nullptr);
  EXPECT_EQ(k.cstat[0], 1);
  EXPECT_EQ(k.cstat[1], 0);
  EXPECT_EQ(k.rstat[0], 0);

  // Optional groups may be left out; half a group is refused.
  kinarrays o;
  EXPECT_EQ(VLTsavqread(env_, f.c_str(), KIN_MODEL(o), KIN_MIP(o), KIN_QUAD(o), nullptr,
                        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
            0);
  EXPECT_EQ(o.numqnz, 4);
  kinarrays h;
  EXPECT_EQ(VLTsavqread(env_, f.c_str(), KIN_MODEL(h), KIN_MIP(h), KIN_QUAD(h), &h.rows[0],
                        nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, KIN_ROWS(h, 1),
                        &h.cstat, nullptr),
            1004);
  EXPECT_TRUE(h.empty());

  // The middle reader drops the term with its line; the plain one silently.
  clearlogs();
  kinarrays mm;
  ASSERT_EQ(savm(env_, f, mm), 0);
  EXPECT_EQ(warn_, "Problem " + f + " contains quadratic objective coefficients, ignored.\n");
  EXPECT_EQ(std::string(mm.ctype, 2), "CI");

  // A diagonal term: one entry per non-zero diagonal value.
  const std::string d = writefile("diag.sav", handsav(true));
  kinarrays g;
  ASSERT_EQ(savq(env_, d, g), 0);
  ASSERT_EQ(g.numqnz, 1);
  EXPECT_EQ(g.qcnt[0], 1);
  EXPECT_EQ(g.qcnt[1], 0);
  EXPECT_EQ(g.qind[0], 0);
  EXPECT_EQ(g.qval[0], 5.0);

  // VLTreadcopyprob refuses the quadratic term as before.
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, f.c_str(), nullptr), 1018);
}

TEST_F(FileTest, SavQuadraticValueThatNoColumnReachesIsNotPartOfTheTerm) {
  const std::string f = writefile("stray.sav", handsav(false, true));
  kinarrays k;
  ASSERT_EQ(savq(env_, f, k), 0);
  ASSERT_EQ(k.numqnz, 4);
  EXPECT_EQ(denseq(k), (std::vector<std::vector<double>>{{2, 3}, {3, 4}}));
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, f.c_str(), nullptr), 1018);
}

TEST_F(FileTest, TruncatedAndDamagedFilesGiveAStatusFromEveryKinReader) {
  // Every proper prefix of the binary file: 1560 or 1561 and nothing out.
  const std::string bytes = handsav(false);
  for (size_t len = 0; len < bytes.size(); ++len) {
    const std::string cut = writefile("cut.sav", bytes.substr(0, len));
    kinarrays k, mm;
    const int s = savq(env_, cut, k);
    EXPECT_TRUE(s == 1560 || s == 1561) << len << ": " << s;
    EXPECT_TRUE(k.empty()) << len;
    EXPECT_EQ(savm(env_, cut, mm), s);
  }
  // Damaged bytes: a status, or arrays whose indices stay in range.
  std::mt19937 g(7);
  for (int t = 0; t < 400; ++t) {
    std::string b = bytes;
    for (int k = 0; k < 2; ++k) b[g() % b.size()] ^= static_cast<char>(1 + g() % 255);
    const std::string dmg = writefile("dmg.sav", b);
    kinarrays k;
    const int s = savq(env_, dmg, k);
    if (s != 0) {
      EXPECT_TRUE(s >= 1001 && s <= 1563) << s;
      EXPECT_TRUE(k.empty());
      continue;
    }
    for (int j = 0; k.numqnz > 0 && j < k.n; ++j)
      for (int p = k.qbeg[j]; p < k.qbeg[j] + k.qcnt[j]; ++p)
        EXPECT_TRUE(k.qind[p] >= 0 && k.qind[p] < k.n);
    for (int w = 0; w < 2; ++w)
      for (int p = 0; p < k.rownz[w]; ++p) EXPECT_TRUE(k.rowind[w][p] >= 0 && k.rowind[w][p] < k.n);
  }
  // Every prefix and random damage of the rim file through VLTmpsmread.
  const std::string text = kRimFile;
  for (size_t len = 0; len < text.size(); len += 3) {
    const std::string cut = writefile("cut.mps", text.substr(0, len));
    kinarrays k;
    rimspace r(6, 15);
    const int s = mpsm(env_, cut, k, r);
    EXPECT_TRUE(s == 0 || (s >= 1400 && s <= 1490)) << len << ": " << s;
    if (s) {
      EXPECT_TRUE(k.empty());
    }
  }
  for (int t = 0; t < 300; ++t) {
    std::string b = text;
    for (int k = 0; k < 3; ++k) b[g() % b.size()] = " \tx1-.E$*'\n"[g() % 11];
    const std::string dmg = writefile("dmg.mps", b);
    kinarrays k;
    rimspace r(6, 15);
    const int s = mpsm(env_, dmg, k, r);
    EXPECT_TRUE(s == 0 || (s >= 1001 && s <= 1490)) << s;
    for (int q = 0; s == 0 && q < r.nzcount; ++q) EXPECT_GE(r.ind[q], 0);
  }
}

TEST_F(FileTest, KinReadersHandOutAllOrNothingWhenMemoryRunsOut) {
  const std::string sav = writefile("hand.sav", handsav(false));
  const std::string mps = writefile("rims.mps", std::string(kRimFile).replace(
                                                    std::strlen(kRimFile) - 7, 7,
                                                    "QUADOBJ\n    x  y  3\nENDATA\n"));
  for (int which = 0; which < 2; ++which) {
    SCOPED_TRACE(which);
    // Count the blocks of a good read, then fail each of them in turn.
    long blocks = 0;
    {
      kinarrays k;
      rimspace r(6, 15);
      velto::setallocfail(1 << 30, false);
      ASSERT_EQ(which ? mpsm(env_, mps, k, r) : savq(env_, sav, k), 0);
      blocks = velto::allocseen();
      velto::setallocfail(0, false);
    }
    ASSERT_GT(blocks, 10);
    long failed = 0;
    for (long at = 1; at <= blocks; ++at) {
      kinarrays k;
      rimspace r(6, 15);
      velto::setallocfail(at, false);
      const int s = which ? mpsm(env_, mps, k, r) : savq(env_, sav, k);
      velto::setallocfail(0, false);
      EXPECT_TRUE(s == 0 || s == 1001) << at << ": " << s;
      if (s == 1001) {
        ++failed;
        EXPECT_TRUE(k.empty()) << at;
      }
    }
    EXPECT_EQ(failed, blocks);
  }
}
