// Fixture of the integer tests: an environment with captured channels, a
// small model, and a private temporary folder.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "velto.h"

namespace miptest {

// A model given by dense rows: max or min c'x, rows with senses, bounds and
// column types.
struct dense {
  int objsen = 1;
  std::vector<double> c, lb, ub;
  std::vector<std::vector<double>> a;
  std::vector<char> sense;
  std::vector<double> rhs;
  std::string ctype;
};

// Loads d into lp (column-wise, with the column types).
inline void loaddense(VLTENVptr env, VLTLPptr lp, const dense &d) {
  int n = static_cast<int>(d.c.size()), m = static_cast<int>(d.a.size());
  std::vector<int> beg(n), cnt(n), ind;
  std::vector<double> val;
  for (int j = 0; j < n; ++j) {
    beg[j] = static_cast<int>(ind.size());
    for (int i = 0; i < m; ++i)
      if (d.a[i][j] != 0) ind.push_back(i), val.push_back(d.a[i][j]);
    cnt[j] = static_cast<int>(ind.size()) - beg[j];
  }
  if (ind.empty()) ind.push_back(0), val.push_back(0);
  ASSERT_EQ(VLTcopylp(env, lp, n, m, d.objsen, d.c.data(), m ? d.rhs.data() : nullptr,
                      m ? d.sense.data() : nullptr, beg.data(), cnt.data(), ind.data(),
                      val.data(), d.lb.data(), d.ub.data(), nullptr),
            0);
  ASSERT_EQ(VLTcopyctype(env, lp, d.ctype.c_str()), 0);
}

class MipTest : public ::testing::Test {
 protected:
  void SetUp() override {
    int status = -1;
    env = VLTopenVELTO(&status);
    ASSERT_EQ(status, 0);
    VLTCHANNELptr r, w, e, l;
    ASSERT_EQ(VLTgetchannels(env, &r, &w, &e, &l), 0);
    VLTaddfuncdest(env, e, &err, append);
    VLTaddfuncdest(env, w, &warn, append);
    VLTaddfuncdest(env, r, &res, append);
    lp = VLTcreateprob(env, &status, "mip");
    ASSERT_EQ(status, 0);
    static int serial = 0;
    dir = std::filesystem::temp_directory_path() /
          ("velto_mip_" + std::to_string(getpid()) + "_" + std::to_string(++serial));
    std::filesystem::create_directories(dir);
  }
  void TearDown() override {
    if (lp) VLTfreeprob(env, &lp);
    if (env) VLTcloseVELTO(&env);
    std::filesystem::remove_all(dir);
  }
  static void append(void *h, const char *t) { *static_cast<std::string *>(h) += t; }
  std::string take(std::string &s) {
    std::string t = s;
    s.clear();
    return t;
  }
  std::string path(const std::string &name) const { return (dir / name).string(); }

  // Loads n columns with bounds lb/ub, no rows unless given.
  void loadcols(int n, const std::vector<double> &lb, const std::vector<double> &ub) {
    std::vector<double> obj(n, 1.0);
    std::vector<int> beg(n, 0), cnt(n, 0);
    int dummy = 0;
    double dval = 0;
    ASSERT_EQ(VLTcopylp(env, lp, n, 0, 1, obj.data(), nullptr, nullptr, beg.data(), cnt.data(),
                        &dummy, &dval, lb.data(), ub.data(), nullptr),
              0);
  }

  VLTENVptr env = nullptr;
  VLTLPptr lp = nullptr;
  std::string err, warn, res;
  std::filesystem::path dir;
};

}  // namespace miptest
