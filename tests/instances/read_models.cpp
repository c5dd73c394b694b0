// Every public model reads with the published sizes, and writing it in each
// text format and reading it back gives the same model.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>

#include "common/modelsnap.h"
#include "common/reference.h"
#include "velto.h"

using namespace velto_test;

namespace {

class ReadModels : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(datadir() + "/netlib/REFERENCE.tsv"))
      GTEST_SKIP() << "public model folder " << datadir() << " not found (set VELTO_DATA)";
    int status = 0;
    env_ = VLTopenVELTO(&status);
    ASSERT_EQ(status, 0);
    lp_ = VLTcreateprob(env_, &status, "m");
    ASSERT_EQ(status, 0);
    tmp_ = std::filesystem::temp_directory_path() / ("velto_rt_" + std::to_string(getpid()));
    std::filesystem::create_directories(tmp_);
  }
  void TearDown() override {
    if (lp_) VLTfreeprob(env_, &lp_);
    if (env_) VLTcloseVELTO(&env_);
    if (!tmp_.empty()) std::filesystem::remove_all(tmp_);
  }
  VLTENVptr env_ = nullptr;
  VLTLPptr lp_ = nullptr;
  std::filesystem::path tmp_;
};

// The LP format joins the round trips once its reader and writer exist.
constexpr bool kLpFormat = true;

// Compares b (read back) against a; `extracols` are the columns that the LP
// form adds for ranged rows, which stand behind the original ones.
void expectsame(const modelsnap &a, const modelsnap &b, const std::string &what,
                int extracols = 0) {
  ASSERT_EQ(a.rows, b.rows) << what;
  ASSERT_EQ(a.cols + extracols, b.cols) << what;
  ASSERT_EQ(a.nz + extracols, b.nz) << what;
  EXPECT_EQ(a.ints, b.ints) << what;
  // The LP form numbers columns by first appearance: match them by name.
  std::vector<int> map(a.cols);
  std::map<std::string, int> where;
  for (int j = 0; j < b.cols; ++j)
    if (static_cast<size_t>(j) < b.colnames.size()) where[b.colnames[j]] = j;
  for (int j = 0; j < a.cols; ++j) {
    map[j] = j;
    if (!a.colnames.empty()) {
      auto it = where.find(a.colnames[j]);
      ASSERT_TRUE(it != where.end()) << what << " lost column " << a.colnames[j];
      map[j] = it->second;
    }
  }
  int bad = 0;
  for (int ja = 0; ja < a.cols && bad < 5; ++ja) {
    int j = ja, jb = map[ja];
    double oa = a.obj[j] * a.objsen, ob = b.obj[jb] * b.objsen;
    if (!near(oa, ob)) ++bad, ADD_FAILURE() << what << " obj " << j << ": " << oa << " " << ob;
    if (!near(a.lb[j], b.lb[jb])) ++bad, ADD_FAILURE() << what << " lb " << j;
    if (!near(a.ub[j], b.ub[jb])) ++bad, ADD_FAILURE() << what << " ub " << j;
    if ((a.ctype[j] == 'C') != (b.ctype[jb] == 'C')) ++bad, ADD_FAILURE() << what << " ctype " << j;
    if (a.matbeg[j + 1] - a.matbeg[j] != b.matbeg[jb + 1] - b.matbeg[jb]) {
      ++bad, ADD_FAILURE() << what << " count of column " << j;
      continue;
    }
    for (int k = a.matbeg[j], l = b.matbeg[jb]; k < a.matbeg[j + 1]; ++k, ++l) {
      if (a.matind[k] != b.matind[l] || !near(a.matval[k], b.matval[l])) {
        ++bad, ADD_FAILURE() << what << " entry in column " << j;
        break;
      }
    }
  }
  for (int i = 0; i < a.rows && bad < 5; ++i) {
    if (!near(a.rhs[i], b.rhs[i])) ++bad, ADD_FAILURE() << what << " rhs " << i;
    if (extracols == 0) {
      if (a.sense[i] != b.sense[i]) ++bad, ADD_FAILURE() << what << " sense " << i;
      if (a.sense[i] == 'R' && !near(a.rng[i], b.rng[i])) ++bad, ADD_FAILURE() << what << " rng " << i;
    }
  }
  if (!a.rownames.empty()) {
    ASSERT_EQ(b.rownames.size(), b.rows + 0u) << what;
    for (int i = 0; i < a.rows; ++i)
      if (a.rownames[i] != b.rownames[i]) {
        ADD_FAILURE() << what << " row name " << i << ": " << a.rownames[i] << " " << b.rownames[i];
        break;
      }
    return;
    EXPECT_EQ(a.rownames, b.rownames) << what;
  }
}

// True if every name can stand in an LP file as it is.
bool lpnames(const modelsnap &s) {
  auto ok = [](const std::string &n, bool column) {
    if (n.empty()) return false;
    unsigned char c = static_cast<unsigned char>(n[0]);
    if (column && (std::isdigit(c) || c == '.' || c == '+' || c == '-')) return false;
    if (column && (c == 'e' || c == 'E') && (n.size() == 1 || std::isdigit(static_cast<unsigned char>(n[1]))))
      return false;
    for (char ch : n)
      if (std::strchr(":|+-<=>[]*/^\\", ch) != nullptr) return false;
    return true;
  };
  for (const std::string &n : s.colnames)
    if (!ok(n, true)) return false;
  for (const std::string &n : s.rownames)
    if (!ok(n, false)) return false;
  return true;
}

void readset(VLTENVptr env, VLTLPptr lp, const std::string &set, bool mip) {
  auto ref = readreference(set);
  ASSERT_FALSE(ref.empty()) << set;
  int checked = 0;
  for (const refentry &r : ref) {
    std::string path = modelpath(set, r.name);
    int status = VLTreadcopyprob(env, lp, path.c_str(), nullptr);
    if (r.name == "forplan") {
      // Names with blanks inside: the reader must refuse, not misread.
      EXPECT_EQ(status, 1445) << r.name;
      continue;
    }
    ASSERT_EQ(status, 0) << r.name;
    modelsnap s = snapshot(env, lp);
    EXPECT_EQ(s.rows, r.integer(0)) << r.name;
    EXPECT_EQ(s.cols, r.integer(1)) << r.name;
    EXPECT_EQ(s.nz, r.integer(2)) << r.name;
    EXPECT_EQ(s.objsen, 1) << r.name;
    if (mip) {
      EXPECT_EQ(s.ints, r.integer(3)) << r.name;
      EXPECT_EQ(lp->probtype, s.ints > 0 ? 1 : 0) << r.name;
    } else {
      EXPECT_EQ(lp->probtype, 0) << r.name;
      EXPECT_EQ(s.ints, 0) << r.name;
    }
    ++checked;
  }
  EXPECT_GT(checked, 0);
}

}  // namespace

TEST_F(ReadModels, NetlibSizesMatchReference) { readset(env_, lp_, "netlib", false); }

TEST_F(ReadModels, Miplib3SizesAndIntegersMatchReference) { readset(env_, lp_, "miplib3", true); }

// MPS -> MPS, LP -> LP and MPS -> LP -> MPS give back the model.
TEST_F(ReadModels, RoundTripsThroughBothFormats) {
  int done = 0;
  for (const char *set : {"netlib", "miplib3"}) {
    for (const refentry &r : readreference(set)) {
      if (r.name == "forplan") continue;
      std::string path = modelpath(set, r.name);
      ASSERT_EQ(VLTreadcopyprob(env_, lp_, path.c_str(), nullptr), 0) << r.name;
      modelsnap orig = snapshot(env_, lp_);
      int ranged = 0;
      for (char c : orig.sense) ranged += c == 'R';
      std::string mps = (tmp_ / (r.name + ".mps")).string();
      std::string lpf = (tmp_ / (r.name + ".lp")).string();
      std::string mps2 = (tmp_ / (r.name + ".2.mps.gz")).string();
      int status = 0;
      VLTLPptr b = VLTcreateprob(env_, &status, "b");
      ASSERT_EQ(VLTwriteprob(env_, lp_, mps.c_str(), nullptr), 0) << r.name;
      ASSERT_EQ(VLTreadcopyprob(env_, b, mps.c_str(), nullptr), 0) << r.name;
      expectsame(orig, snapshot(env_, b), r.name + " mps->mps");
      if (!kLpFormat) {
        VLTfreeprob(env_, &b);
        ++done;
        continue;
      }
      // Names that the LP form cannot hold (a leading digit, a sign inside)
      // make the LP trips use generic names, compared by position.
      const char *lptype = lpnames(orig) ? nullptr : "rlp";
      modelsnap base = orig;
      if (lptype != nullptr) {
        char buf[24];
        for (int j = 0; j < base.cols; ++j)
          base.colnames[j].assign(buf, std::snprintf(buf, sizeof buf, "x%d", j + 1));
        for (int i = 0; i < base.rows; ++i)
          base.rownames[i].assign(buf, std::snprintf(buf, sizeof buf, "c%d", i + 1));
      }
      ASSERT_EQ(VLTwriteprob(env_, lp_, lpf.c_str(), lptype), 0) << r.name;
      ASSERT_EQ(VLTreadcopyprob(env_, b, lpf.c_str(), nullptr), 0) << r.name;
      expectsame(base, snapshot(env_, b), r.name + " lp->lp", ranged);
      ASSERT_EQ(VLTwriteprob(env_, b, mps2.c_str(), nullptr), 0) << r.name;
      ASSERT_EQ(VLTreadcopyprob(env_, b, mps2.c_str(), nullptr), 0) << r.name;
      expectsame(base, snapshot(env_, b), r.name + " mps->lp->mps", ranged);
      VLTfreeprob(env_, &b);
      ++done;
    }
  }
  EXPECT_GT(done, 0);
}
