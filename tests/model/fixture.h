// Shared fixture of the problem store tests: an environment whose error and
// warning channels are captured line by line.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "velto.h"

namespace velto_test {

struct Captured {
  std::string text;
  static void sink(void *handle, const char *t) { static_cast<Captured *>(handle)->text += t; }
};

class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    int status = -1;
    env = VLTopenVELTO(&status);
    ASSERT_EQ(status, 0);
    VLTCHANNELptr res, warn, err, logc;
    ASSERT_EQ(VLTgetchannels(env, &res, &warn, &err, &logc), 0);
    ASSERT_EQ(VLTaddfuncdest(env, err, &errors, Captured::sink), 0);
    ASSERT_EQ(VLTaddfuncdest(env, warn, &warnings, Captured::sink), 0);
    lp = VLTcreateprob(env, &status, "test");
    ASSERT_EQ(status, 0);
  }
  void TearDown() override { VLTcloseVELTO(&env); }
  std::string takeErrors() {
    std::string s = errors.text;
    errors.text.clear();
    return s;
  }
  std::string takeWarnings() {
    std::string s = warnings.text;
    warnings.text.clear();
    return s;
  }
  void datacheck(int on) { ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_DATACHECK, on), 0); }

  VLTENVptr env = nullptr;
  VLTLPptr lp = nullptr;
  Captured errors, warnings;
};

// A model in the arrays that VLTcopylpwnames takes, built independently of
// the library so that queries can be compared against it.
struct Model {
  int n = 0, m = 0, objsen = 1;
  std::vector<double> obj, rhs, lb, ub, rng, val;
  std::vector<char> sense;
  std::vector<int> beg, cnt, ind;
  std::vector<std::string> cnames, rnames;
  bool hasrng = false;

  std::vector<char *> cptr() { return ptrs(cnames); }
  std::vector<char *> rptr() { return ptrs(rnames); }
  static std::vector<char *> ptrs(std::vector<std::string> &v) {
    std::vector<char *> p;
    for (auto &s : v) p.push_back(s.data());
    return p;
  }
  // Dense coefficient as loaded (a stored zero counts as absent).
  double coef(int i, int j) const {
    for (int k = beg[j]; k < beg[j] + cnt[j]; ++k)
      if (ind[k] == i) return val[k];
    return 0.0;
  }
  int nonzeros() const {
    int z = 0;
    for (int j = 0; j < n; ++j)
      for (int k = beg[j]; k < beg[j] + cnt[j]; ++k) z += val[k] != 0.0;
    return z;
  }
};

// Random sparse model: ranged rows, infinite and huge bounds, explicit zero
// coefficients, gaps between columns.
inline Model randommodel(std::mt19937 &rng, int n, int m, bool names, bool ranges) {
  Model d;
  d.n = n;
  d.m = m;
  d.objsen = rng() % 2 ? 1 : -1;
  std::uniform_real_distribution<double> u(-10, 10);
  const char senses[] = {'L', 'G', 'E', 'R'};
  for (int i = 0; i < m; ++i) {
    d.sense.push_back(senses[rng() % (ranges ? 4 : 3)]);
    d.rhs.push_back(u(rng));
    d.rng.push_back(d.sense.back() == 'R' ? u(rng) : 0.0);
    if (names) d.rnames.push_back("row_" + std::to_string(i) + (i % 7 ? "" : "_long_name_here"));
  }
  d.hasrng = ranges;
  int pos = 0;
  for (int j = 0; j < n; ++j) {
    d.obj.push_back(u(rng));
    switch (rng() % 5) {
      case 0: d.lb.push_back(-1e20); d.ub.push_back(1e20); break;
      case 1: d.lb.push_back(-3e18); d.ub.push_back(u(rng) + 20); break;
      case 2: d.lb.push_back(0.0); d.ub.push_back(2e17); break;
      default: d.lb.push_back(-5); d.ub.push_back(5 + u(rng)); break;
    }
    pos += static_cast<int>(rng() % 3);  // gap
    d.beg.push_back(pos);
    int c = 0;
    for (int i = 0; i < m; ++i) {
      if (rng() % 4 != 0) continue;
      d.ind.resize(pos + c + 1);
      d.val.resize(pos + c + 1);
      d.ind[pos + c] = i;
      d.val[pos + c] = rng() % 10 == 0 ? 0.0 : u(rng);
      ++c;
    }
    d.cnt.push_back(c);
    pos += c;
    d.ind.resize(pos);
    d.val.resize(pos);
    if (names) d.cnames.push_back("x_" + std::to_string(j));
  }
  if (d.ind.empty()) {
    d.ind.push_back(0);
    d.val.push_back(0.0);
  }
  return d;
}

inline int load(VLTENVptr env, VLTLPptr lp, Model &d) {
  auto cn = d.cptr(), rn = d.rptr();
  return VLTcopylpwnames(env, lp, d.n, d.m, d.objsen, d.obj.data(), d.rhs.data(), d.sense.data(),
                         d.beg.data(), d.cnt.data(), d.ind.data(), d.val.data(), d.lb.data(),
                         d.ub.data(), d.hasrng ? d.rng.data() : nullptr,
                         d.cnames.empty() ? nullptr : cn.data(),
                         d.rnames.empty() ? nullptr : rn.data());
}

inline double clampedlb(double v) { return v <= -1e17 ? -1e20 : v; }
inline double clampedub(double v) { return v >= 1e17 ? 1e20 : v; }

}  // namespace velto_test
