// Shared fixture of the problem store tests: an environment whose error and
// warning channels are captured line by line.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
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
  // Captures the results channel (the optimizers' log) into `log`.
  void capturelog(Captured &log) {
    VLTCHANNELptr res, warn, err, logc;
    ASSERT_EQ(VLTgetchannels(env, &res, &warn, &err, &logc), 0);
    ASSERT_EQ(VLTaddfuncdest(env, res, &log, Captured::sink), 0);
  }

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

// Everything the query family returns equals what was loaded.
// With `ordered` false the entries of a column may come in any order.
inline void expectmodel(VLTENVptr env, VLTLPptr lp, const Model &d, Captured &errs,
                        bool ordered = true) {
  ASSERT_EQ(VLTgetnumcols(env, lp), d.n);
  ASSERT_EQ(VLTgetnumrows(env, lp), d.m);
  EXPECT_EQ(VLTgetnumnz(env, lp), d.nonzeros());
  EXPECT_EQ(VLTgetobjsen(env, lp), d.objsen);
  int n = d.n, m = d.m;
  std::vector<double> a(std::max(n, m) + 1);
  if (n > 0) {
    ASSERT_EQ(VLTgetobj(env, lp, a.data(), 0, n - 1), 0);
    for (int j = 0; j < n; ++j) EXPECT_EQ(a[j], d.obj[j]) << j;
    ASSERT_EQ(VLTgetlb(env, lp, a.data(), 0, n - 1), 0);
    for (int j = 0; j < n; ++j) EXPECT_EQ(a[j], clampedlb(d.lb[j])) << j;
    ASSERT_EQ(VLTgetub(env, lp, a.data(), 0, n - 1), 0);
    for (int j = 0; j < n; ++j) EXPECT_EQ(a[j], clampedub(d.ub[j])) << j;
  }
  if (m > 0) {
    ASSERT_EQ(VLTgetrhs(env, lp, a.data(), 0, m - 1), 0);
    for (int i = 0; i < m; ++i) EXPECT_EQ(a[i], d.rhs[i]) << i;
    std::vector<char> s(m);
    ASSERT_EQ(VLTgetsense(env, lp, s.data(), 0, m - 1), 0);
    for (int i = 0; i < m; ++i) EXPECT_EQ(s[i], d.sense[i]) << i;
    ASSERT_EQ(VLTgetrngval(env, lp, a.data(), 0, m - 1), 0);
    for (int i = 0; i < m; ++i) EXPECT_EQ(a[i], d.sense[i] == 'R' && d.hasrng ? d.rng[i] : 0.0) << i;
  }
  // Columns: same entries in the same order, zeros dropped.
  int nz = d.nonzeros(), got = -1, surplus = -1;
  std::vector<int> beg(n + 1), ind(nz + 1);
  std::vector<double> val(nz + 1);
  if (n > 0) {
    ASSERT_EQ(VLTgetcols(env, lp, &got, beg.data(), ind.data(), val.data(), nz + 1, &surplus, 0, n - 1), 0);
    EXPECT_EQ(got, nz);
    EXPECT_EQ(surplus, 1);
    int q = 0;
    beg[n] = got;
    for (int j = 0; j < n && !ordered; ++j) {
      std::vector<std::pair<int, double>> e;
      for (int k = beg[j]; k < beg[j + 1]; ++k) e.emplace_back(ind[k], val[k]);
      std::sort(e.begin(), e.end());
      for (int k = beg[j]; k < beg[j + 1]; ++k) {
        ind[k] = e[k - beg[j]].first;
        val[k] = e[k - beg[j]].second;
      }
    }
    for (int j = 0; j < n; ++j) {
      EXPECT_EQ(beg[j], q);
      for (int k = d.beg[j]; k < d.beg[j] + d.cnt[j]; ++k) {
        if (d.val[k] == 0.0) continue;
        EXPECT_EQ(ind[q], d.ind[k]);
        EXPECT_EQ(val[q], d.val[k]);
        ++q;
      }
    }
  }
  // Rows: an independent transposition, columns ascending in each row.
  if (m > 0) {
    std::vector<int> rbeg(m + 1), rind(nz + 1);
    std::vector<double> rval(nz + 1);
    ASSERT_EQ(VLTgetrows(env, lp, &got, rbeg.data(), rind.data(), rval.data(), nz, &surplus, 0, m - 1), 0);
    EXPECT_EQ(got, nz);
    EXPECT_EQ(surplus, 0);
    rbeg[m] = got;
    for (int i = 0; i < m; ++i) {
      int q = rbeg[i];
      for (int j = 0; j < n; ++j) {
        double v = d.coef(i, j);
        if (v == 0.0) continue;
        ASSERT_LT(q, rbeg[i + 1]);
        EXPECT_EQ(rind[q], j);
        EXPECT_EQ(rval[q], v);
        ++q;
      }
      EXPECT_EQ(q, rbeg[i + 1]);
    }
  }
  for (int t = 0; t < 20 && n > 0 && m > 0; ++t) {
    int i = (t * 7) % m, j = (t * 13) % n;
    double v = -1;
    ASSERT_EQ(VLTgetcoef(env, lp, i, j, &v), 0);
    EXPECT_EQ(v, d.coef(i, j));
  }
  // Names.
  if (!d.cnames.empty() && n > 0) {
    int sur = 0;
    EXPECT_EQ(VLTgetcolname(env, lp, nullptr, nullptr, 0, &sur, 0, n - 1), 1207);
    EXPECT_EQ(errs.text, "VELTO Error  1207: Insufficient array length.\n");
    errs.text.clear();
    std::vector<char *> nm(n);
    std::vector<char> store(-sur);
    ASSERT_EQ(VLTgetcolname(env, lp, nm.data(), store.data(), -sur, &sur, 0, n - 1), 0);
    EXPECT_EQ(sur, 0);
    for (int j = 0; j < n; ++j) {
      EXPECT_STREQ(nm[j], d.cnames[j].c_str());
      int idx = -5;
      EXPECT_EQ(VLTgetcolindex(env, lp, d.cnames[j].c_str(), &idx), 0);
      EXPECT_EQ(idx, j);
    }
  }
  if (!d.rnames.empty() && m > 0) {
    int sur = 0;
    EXPECT_EQ(VLTgetrowname(env, lp, nullptr, nullptr, 0, &sur, 0, m - 1), 1207);
    errs.text.clear();
    std::vector<char *> nm(m);
    std::vector<char> store(-sur);
    ASSERT_EQ(VLTgetrowname(env, lp, nm.data(), store.data(), -sur, &sur, 0, m - 1), 0);
    for (int i = 0; i < m; ++i) {
      EXPECT_STREQ(nm[i], d.rnames[i].c_str());
      int idx = -5;
      EXPECT_EQ(VLTgetrowindex(env, lp, d.rnames[i].c_str(), &idx), 0);
      EXPECT_EQ(idx, i);
    }
  }
}


}  // namespace velto_test
