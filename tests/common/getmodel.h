// A whole model read back through the public getters only (arrays, senses,
// ranges, column types, names), for round-trip comparisons of two problems.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "velto.h"

namespace velto_test {

struct apimodel {
  int m = 0, n = 0, nz = 0, objsen = 0;
  std::vector<double> obj, lb, ub, rhs, rng, val;
  std::vector<char> sense, ctype;
  std::vector<int> beg, ind;
  std::vector<std::string> colnames, rownames;
  std::string objname;
};

inline std::vector<std::string> getnames(VLTENVptr env, VLTLPptr lp, bool rows, int count) {
  std::vector<std::string> out;
  if (count == 0) return out;
  int surplus = 0;
  auto get = rows ? VLTgetrowname : VLTgetcolname;
  // No names give 1219 (or a status): an empty list.
  int s = get(env, lp, nullptr, nullptr, 0, &surplus, 0, count - 1);
  if (s != 1207 || surplus >= 0) return out;
  std::vector<char *> ptr(count);
  std::vector<char> store(-surplus);
  if (get(env, lp, ptr.data(), store.data(), -surplus, &surplus, 0, count - 1) != 0) return out;
  for (char *p : ptr) out.emplace_back(p);
  return out;
}

inline apimodel getmodel(VLTENVptr env, VLTLPptr lp) {
  apimodel a;
  a.m = VLTgetnumrows(env, lp);
  a.n = VLTgetnumcols(env, lp);
  a.nz = VLTgetnumnz(env, lp);
  a.objsen = VLTgetobjsen(env, lp);
  a.obj.resize(a.n);
  a.lb.resize(a.n);
  a.ub.resize(a.n);
  a.rhs.resize(a.m);
  a.rng.resize(a.m);
  a.sense.resize(a.m);
  if (a.n > 0) {
    EXPECT_EQ(VLTgetobj(env, lp, a.obj.data(), 0, a.n - 1), 0);
    EXPECT_EQ(VLTgetlb(env, lp, a.lb.data(), 0, a.n - 1), 0);
    EXPECT_EQ(VLTgetub(env, lp, a.ub.data(), 0, a.n - 1), 0);
    a.ctype.resize(a.n);
    if (VLTgetctype(env, lp, a.ctype.data(), 0, a.n - 1) != 0) a.ctype.clear();
    a.beg.resize(a.n);
    a.ind.resize(a.nz + 1);
    a.val.resize(a.nz + 1);
    int got = 0, surplus = 0;
    EXPECT_EQ(VLTgetcols(env, lp, &got, a.beg.data(), a.ind.data(), a.val.data(), a.nz,
                         &surplus, 0, a.n - 1),
              0);
  }
  if (a.m > 0) {
    EXPECT_EQ(VLTgetrhs(env, lp, a.rhs.data(), 0, a.m - 1), 0);
    EXPECT_EQ(VLTgetsense(env, lp, a.sense.data(), 0, a.m - 1), 0);
    EXPECT_EQ(VLTgetrngval(env, lp, a.rng.data(), 0, a.m - 1), 0);
  }
  a.colnames = getnames(env, lp, false, a.n);
  a.rownames = getnames(env, lp, true, a.m);
  char buf[600];
  int surplus = 0;
  if (VLTgetobjname(env, lp, buf, sizeof buf, &surplus) == 0) a.objname = buf;
  return a;
}

// Exact equality, array by array.
inline void expect_same(const apimodel &a, const apimodel &b) {
  ASSERT_EQ(a.m, b.m);
  ASSERT_EQ(a.n, b.n);
  ASSERT_EQ(a.nz, b.nz);
  EXPECT_EQ(a.objsen, b.objsen);
  EXPECT_EQ(a.obj, b.obj);
  EXPECT_EQ(a.lb, b.lb);
  EXPECT_EQ(a.ub, b.ub);
  EXPECT_EQ(a.rhs, b.rhs);
  EXPECT_EQ(a.rng, b.rng);
  EXPECT_EQ(a.sense, b.sense);
  EXPECT_EQ(a.ctype, b.ctype);
  EXPECT_EQ(a.beg, b.beg);
  EXPECT_EQ(a.ind, b.ind);
  EXPECT_EQ(a.val, b.val);
  EXPECT_EQ(a.colnames, b.colnames);
  EXPECT_EQ(a.rownames, b.rownames);
  EXPECT_EQ(a.objname, b.objname);
}

}  // namespace velto_test
