// The binary model file: round trips through the getters, the basis it
// carries, the header rules, and damaged files.
#include <random>

#include "common/getmodel.h"
#include "support.h"

using namespace velto_test;

namespace {

// A random model with ranged rows, infinite bounds, names and integer
// columns, loaded through the public calls.
void randomload(VLTENVptr env, VLTLPptr lp, unsigned seed, bool names, bool ints) {
  std::mt19937 g(seed);
  const int n = 3 + g() % 8, m = 2 + g() % 6;
  std::uniform_real_distribution<double> u(-10, 10);
  std::vector<double> obj(n), lb(n), ub(n), rhs(m), rng(m), val;
  std::vector<int> beg(n), cnt(n), ind;
  std::vector<char> sense(m);
  std::vector<std::string> cn, rn;
  for (int i = 0; i < m; ++i) {
    sense[i] = "LGER"[g() % 4];
    rhs[i] = u(g);
    rng[i] = sense[i] == 'R' ? u(g) : 0.0;
    rn.push_back("row" + std::to_string(i));
  }
  for (int j = 0; j < n; ++j) {
    obj[j] = u(g);
    lb[j] = g() % 4 == 0 ? -1e20 : u(g) - 10;
    ub[j] = g() % 4 == 0 ? 1e20 : u(g) + 10;
    beg[j] = static_cast<int>(ind.size());
    for (int i = 0; i < m; ++i)
      if (g() % 3 == 0) {
        ind.push_back(i);
        val.push_back(u(g));
      }
    cnt[j] = static_cast<int>(ind.size()) - beg[j];
    cn.push_back("column_" + std::to_string(j));
  }
  ind.push_back(0);
  val.push_back(0);
  std::vector<char *> cp, rp;
  for (auto &s : cn) cp.push_back(s.data());
  for (auto &s : rn) rp.push_back(s.data());
  ASSERT_EQ(VLTcopylpwnames(env, lp, n, m, g() % 2 ? 1 : -1, obj.data(), rhs.data(), sense.data(),
                            beg.data(), cnt.data(), ind.data(), val.data(), lb.data(), ub.data(),
                            rng.data(), names ? cp.data() : nullptr, names ? rp.data() : nullptr),
            0);
  if (ints) {
    std::vector<char> ct(n);
    for (char &c : ct) c = "CIB"[g() % 3];
    ASSERT_EQ(VLTcopyctype(env, lp, ct.data()), 0);
  }
}

}  // namespace

TEST_F(FileTest, SavRoundTripKeepsEveryArrayNameAndSense) {
  for (unsigned seed = 1; seed <= 60; ++seed) {
    SCOPED_TRACE(seed);
    randomload(env_, lp_, seed, seed % 3 != 0, seed % 4 == 0);
    if (seed % 5 == 0) {
      ASSERT_EQ(VLTcopyobjname(env_, lp_, "cost"), 0);
    }
    std::string base = std::to_string(seed);
    base += seed % 2 ? ".sav" : ".sav.gz";
    const std::string f = path(base);
    ASSERT_EQ(VLTwriteprob(env_, lp_, f.c_str(), nullptr), 0) << err_;
    VLTLPptr back = VLTcreateprob(env_, nullptr, "back");
    ASSERT_EQ(VLTreadcopyprob(env_, back, f.c_str(), nullptr), 0) << err_;
    expect_same(getmodel(env_, lp_), getmodel(env_, back));
    EXPECT_EQ(back->core->totcols, lp_->core->totcols);
    VLTfreeprob(env_, &back);
  }
}

TEST_F(FileTest, SavFileCarriesTheBasis) {
  VLTsetintparam(env_, VLT_PARAM_PREIND, 0);
  randomload(env_, lp_, 7, true, false);
  ASSERT_EQ(VLTprimopt(env_, lp_), 0);
  const int st = VLTgetstat(env_, lp_);
  ASSERT_EQ(VLTsavwrite(env_, lp_, path("b.sav").c_str()), 0);
  VLTLPptr back = VLTcreateprob(env_, nullptr, "back");
  ASSERT_EQ(VLTreadcopyprob(env_, back, path("b.sav").c_str(), nullptr), 0);
  EXPECT_EQ(warn_, "Warning:  File contains basis.  Basis is loaded.\n");
  ASSERT_EQ(VLTprimopt(env_, back), 0);
  EXPECT_EQ(VLTgetstat(env_, back), st);
  if (st == 1) {
    EXPECT_EQ(VLTgetitcnt(env_, back), 0);
  }
  VLTfreeprob(env_, &back);
  // Without the advanced indicator the file holds no basis.
  clearlogs();
  VLTsetintparam(env_, VLT_PARAM_ADVIND, 0);
  ASSERT_EQ(VLTsavwrite(env_, lp_, path("c.sav").c_str()), 0);
  back = VLTcreateprob(env_, nullptr, "back");
  ASSERT_EQ(VLTreadcopyprob(env_, back, path("c.sav").c_str(), nullptr), 0);
  EXPECT_EQ(warn_, "");
  EXPECT_EQ(VLTcangetbase(env_, back), 0);
  VLTfreeprob(env_, &back);
  // A basis in the file with the indicator off: loaded, with both warnings.
  VLTsetintparam(env_, VLT_PARAM_ADVIND, 1);
  ASSERT_EQ(VLTsavwrite(env_, lp_, path("d.sav").c_str()), 0);
  VLTsetintparam(env_, VLT_PARAM_ADVIND, 0);
  back = VLTcreateprob(env_, nullptr, "back");
  ASSERT_EQ(VLTreadcopyprob(env_, back, path("d.sav").c_str(), nullptr), 0);
  EXPECT_EQ(warn_, "Warning:  File contains basis.  Basis is loaded.\n"
                   "Warning:  Advanced indicator is not set.\n");
  EXPECT_EQ(VLTcangetbase(env_, back), 1);
  VLTfreeprob(env_, &back);
}

TEST_F(FileTest, SavHeaderRules) {
  randomload(env_, lp_, 3, false, false);
  std::string longname(300, 'q');
  ASSERT_EQ(VLTcopyobjname(env_, lp_, longname.c_str()), 0);
  const std::string f = path("h.sav");
  ASSERT_EQ(VLTsavwrite(env_, lp_, f.c_str()), 0);
  const std::string bytes = slurp(f);
  ASSERT_GT(bytes.size(), 20u);
  EXPECT_EQ(bytes.substr(0, 16), std::string("\x0fVELTOMIPQC 810\0", 16));
  EXPECT_EQ(bytes[16], 0);                        // second string: null
  EXPECT_EQ(static_cast<unsigned char>(bytes[17]), 255);  // 254 characters and the zero
  // No names: both name flags and store sizes are 0.
  const size_t hdr = 17 + 256 + 3;
  int h[17];
  std::memcpy(h, bytes.data() + hdr, sizeof h);
  EXPECT_EQ(h[2], 0);
  EXPECT_EQ(h[3], 0);
  EXPECT_EQ(h[14], 0);
  EXPECT_EQ(h[15], 0);
  EXPECT_EQ(h[5], VLTgetnumcols(env_, lp_));
  EXPECT_EQ(h[9], lp_->core->totcols);
  VLTLPptr back = VLTcreateprob(env_, nullptr, "back");
  ASSERT_EQ(VLTreadcopyprob(env_, back, f.c_str(), nullptr), 0);
  char buf[400];
  int surplus = 0;
  ASSERT_EQ(VLTgetobjname(env_, back, buf, sizeof buf, &surplus), 0);
  EXPECT_EQ(std::string(buf), longname.substr(0, 254));
  // Read with reversed bytes on the same machine: unreasonable counts.
  VLTsetintparam(env_, VLT_PARAM_REVERSEIND, 1);
  EXPECT_EQ(VLTreadcopyprob(env_, back, f.c_str(), nullptr), 1563);
  EXPECT_EQ(err_, "VELTO Error  1563: File '" + f + "' has an incompatible format.\n");
  VLTsetintparam(env_, VLT_PARAM_REVERSEIND, 0);
  clearlogs();
  const std::string notsav = writefile("x.sav", "\x05HELLO and more bytes");
  EXPECT_EQ(VLTreadcopyprob(env_, back, notsav.c_str(), nullptr), 1560);
  EXPECT_EQ(err_, "VELTO Error  1560: File '" + notsav + "' is not a SAV file.\n");
  // A name without a suffix is recognised by its first bytes.
  const std::string bare = writefile("model", bytes);
  EXPECT_EQ(VLTreadcopyprob(env_, back, bare.c_str(), nullptr), 0);
  VLTfreeprob(env_, &back);
}

TEST_F(FileTest, SavreadHandsOutTheLinearModel) {
  randomload(env_, lp_, 11, true, false);
  const std::string f = path("r.sav");
  ASSERT_EQ(VLTsavwrite(env_, lp_, f.c_str()), 0);
  int n = 0, m = 0, objsen = 0;
  double *obj, *rhs, *matval, *lb, *ub, *rng;
  char *sense, **cn, *cs, **rn, *rs;
  int *beg, *cnt, *ind;
  ASSERT_EQ(VLTsavread(env_, f.c_str(), &n, &m, &objsen, &obj, &rhs, &sense, &beg, &cnt, &ind,
                       &matval, &lb, &ub, &rng, &cn, &cs, &rn, &rs),
            0);
  VLTLPptr back = VLTcreateprob(env_, nullptr, "back");
  ASSERT_EQ(VLTcopylpwnames(env_, back, n, m, objsen, obj, rhs, sense, beg, cnt, ind, matval, lb,
                            ub, rng, cn, rn),
            0);
  expect_same(getmodel(env_, lp_), getmodel(env_, back));
  for (void *p : {static_cast<void *>(obj), static_cast<void *>(rhs), static_cast<void *>(sense),
                  static_cast<void *>(beg), static_cast<void *>(cnt), static_cast<void *>(ind),
                  static_cast<void *>(matval), static_cast<void *>(lb), static_cast<void *>(ub),
                  static_cast<void *>(rng), static_cast<void *>(cn), static_cast<void *>(cs),
                  static_cast<void *>(rn), static_cast<void *>(rs)})
    VLTfree(p);
  VLTfreeprob(env_, &back);
}

TEST_F(FileTest, TruncatedOrDamagedSavFilesGiveTheirStatus) {
  randomload(env_, lp_, 5, true, true);
  VLTsetintparam(env_, VLT_PARAM_PREIND, 0);
  VLTprimopt(env_, lp_);
  const std::string f = path("t.sav");
  ASSERT_EQ(VLTsavwrite(env_, lp_, f.c_str()), 0);
  const std::string bytes = slurp(f);
  VLTLPptr back = VLTcreateprob(env_, nullptr, "back");
  // Every proper prefix: an error status, the model untouched.
  for (size_t len = 0; len < bytes.size(); ++len) {
    const std::string cut = writefile("cut.sav", bytes.substr(0, len));
    const int s = VLTreadcopyprob(env_, back, cut.c_str(), nullptr);
    EXPECT_TRUE(s == 1561 || s == 1560 || s == 1563) << len << ": " << s;
    EXPECT_EQ(VLTgetnumcols(env_, back), 0);
  }
  // The end of the header alone gives 1561 and null arrays from VLTsavread.
  int n = 1, m = 1, objsen = 1;
  double *obj = nullptr, *rhs, *matval, *lb, *ub, *rng;
  char *sense, **cn, *cs, **rn, *rs;
  int *beg, *cnt, *ind;
  const std::string head = writefile("head.sav", bytes.substr(0, 40));
  EXPECT_EQ(VLTsavread(env_, head.c_str(), &n, &m, &objsen, &obj, &rhs, &sense, &beg, &cnt, &ind,
                       &matval, &lb, &ub, &rng, &cn, &cs, &rn, &rs),
            1561);
  EXPECT_EQ(obj, nullptr);
  EXPECT_EQ(n, 0);
  // Random damage: flipped bytes give a status or a model, never a crash.
  std::mt19937 g(99);
  for (int t = 0; t < 150; ++t) {
    std::string b = bytes;
    for (int k = 0; k < 3; ++k) b[g() % b.size()] ^= static_cast<char>(1 + g() % 255);
    const std::string d = writefile("dmg.sav", b);
    const int s = VLTreadcopyprob(env_, back, d.c_str(), nullptr);
    EXPECT_TRUE(s == 0 || (s >= 1001 && s <= 1563)) << s;
  }
  VLTfreeprob(env_, &back);
}

TEST_F(FileTest, PerturbedWritersLeaveTheModelAndRepeat) {
  randomload(env_, lp_, 21, true, false);
  const apimodel before = getmodel(env_, lp_);
  for (bool primal : {true, false}) {
    auto write = primal ? VLTpperwrite : VLTdperwrite;
    ASSERT_EQ(write(env_, lp_, path("p1.sav").c_str(), 1e-3), 0);
    ASSERT_EQ(write(env_, lp_, path("p2.sav").c_str(), 1e-3), 0);
    expect_same(before, getmodel(env_, lp_));
    EXPECT_EQ(slurp(path("p1.sav")), slurp(path("p2.sav")));
    VLTLPptr back = VLTcreateprob(env_, nullptr, "back");
    ASSERT_EQ(VLTreadcopyprob(env_, back, path("p1.sav").c_str(), nullptr), 0);
    const apimodel after = getmodel(env_, back);
    // Only the perturbed arrays moved, each by at most twice epsilon per column.
    EXPECT_EQ(after.val, before.val);
    EXPECT_EQ(after.sense, before.sense);
    bool moved = false;
    for (int j = 0; j < before.n; ++j) {
      const double d = primal ? before.lb[j] - after.lb[j] : after.obj[j] - before.obj[j];
      EXPECT_LE(std::fabs(d), 2e-3 + 1e-12);
      moved |= d != 0.0;
      if (primal) {
        EXPECT_GE(after.ub[j], before.ub[j]);
      }
    }
    EXPECT_TRUE(moved);
    VLTfreeprob(env_, &back);
  }
}

TEST_F(FileTest, PresolvedModelWritesInTheBinaryForm) {
  const std::string model = std::string(VELTO_TEST_DATA) + "/../../examples/production.mps";
  ASSERT_EQ(VLTreadcopyprob(env_, lp_, model.c_str(), nullptr), 0);
  double off = 0;
  const int s = VLTpreslvwrite(env_, lp_, path("pre.sav").c_str(), &off);
  ASSERT_TRUE(s == 0 || s == 1103) << err_;  // 1103: presolve reduced it away
  if (s == 0) {
    VLTLPptr back = VLTcreateprob(env_, nullptr, "back");
    EXPECT_EQ(VLTreadcopyprob(env_, back, path("pre.sav").c_str(), nullptr), 0);
    VLTLPptr red = nullptr;
    ASSERT_EQ(VLTgetredlp(env_, lp_, &red), 0);
    if (red != nullptr) expect_same(getmodel(env_, red), getmodel(env_, back));
    VLTfreeprob(env_, &back);
  }
}

// A binary file written by an earlier build (the fuzz seed, made from the
// shipped example) reads in this process into the model of the example's
// text form, array by array and name by name.
TEST_F(FileTest, BinaryFileOfAnEarlierBuildReads) {
  const std::string sav = std::string(VELTO_TEST_DATA) + "/../fuzz/corpus_sav/production.sav";
  const std::string mps = std::string(VELTO_TEST_DATA) + "/../../examples/production.mps";
  ASSERT_EQ(VLTreadcopyprob(env_, lp_, sav.c_str(), nullptr), 0) << err_;
  VLTLPptr text = VLTcreateprob(env_, nullptr, "text");
  ASSERT_EQ(VLTreadcopyprob(env_, text, mps.c_str(), nullptr), 0) << err_;
  expect_same(getmodel(env_, text), getmodel(env_, lp_));
  VLTfreeprob(env_, &text);
}
