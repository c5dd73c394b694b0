// Small models written row by row for the presolve tests, and a solve that
// reports what presolve did and the check of the result.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "env/capture.h"
#include "presolve/kkt.h"
#include "velto.h"

namespace presolve_test {

constexpr double INF = 1e20;

struct lpdef {
  int objsen = 1;
  std::vector<double> obj, lb, ub;
  std::vector<std::string> cname;
  std::vector<char> sense;
  std::vector<double> rhs, rng;
  std::vector<std::string> rname;
  std::vector<std::vector<std::pair<int, double>>> rows;

  int col(double c, double l, double u, const std::string &name = "") {
    obj.push_back(c);
    lb.push_back(l);
    ub.push_back(u);
    std::string nm = name;
    if (nm.empty()) nm.append("x").append(std::to_string(obj.size()));
    cname.push_back(nm);
    return static_cast<int>(obj.size()) - 1;
  }
  int row(std::vector<std::pair<int, double>> e, char s, double b, double r = 0,
          const std::string &name = "") {
    rows.push_back(std::move(e));
    sense.push_back(s);
    rhs.push_back(b);
    rng.push_back(r);
    std::string nm = name;
    if (nm.empty()) nm.append("r").append(std::to_string(rows.size()));
    rname.push_back(nm);
    return static_cast<int>(rows.size()) - 1;
  }

  // Loads the model into lp; 0 or the status of the load.
  int load(VLTENVptr env, VLTLPptr lp) const {
    const int n = static_cast<int>(obj.size()), m = static_cast<int>(rows.size());
    std::vector<std::vector<std::pair<int, double>>> cols(n);
    for (int i = 0; i < m; ++i)
      for (auto [j, a] : rows[i]) cols[j].push_back({i, a});
    std::vector<int> beg(n), cnt(n), ind;
    std::vector<double> val;
    for (int j = 0; j < n; ++j) {
      beg[j] = static_cast<int>(ind.size());
      for (auto [i, a] : cols[j]) {
        ind.push_back(i);
        val.push_back(a);
      }
      cnt[j] = static_cast<int>(ind.size()) - beg[j];
    }
    std::vector<char *> cn, rn;
    for (auto &s : cname) cn.push_back(const_cast<char *>(s.c_str()));
    for (auto &s : rname) rn.push_back(const_cast<char *>(s.c_str()));
    ind.push_back(0);
    val.push_back(0);
    return VLTcopylpwnames(env, lp, n, m, objsen, obj.data(), rhs.data(), sense.data(),
                           beg.data(), cnt.data(), ind.data(), val.data(), lb.data(), ub.data(),
                           rng.data(), cn.data(), rn.data());
  }
};

struct outcome {
  int status = -1, lpstat = 0;
  double obj = 0;
  int itcnt = 0, reditcnt = 0;
  int prestat = -1;
  int redrows = -1, redcols = -1;
  verdict final;   // the optimizer's solution on the user's model
  verdict post;    // the reduced optimum carried back by uncrush
  std::vector<double> x, pi;
  std::vector<int> cstat, rstat;
  std::vector<int> pcstat, prstat;  // the presolve maps, when a record exists
  std::string res, err;
};

// Solves d with `opt` (the primal entry unless given); presolve on unless
// preind is 0; VLT_PARAM_REDUCE takes the value of reduce.
inline outcome solve(const lpdef &d, int preind = 1, int reduce = 3, int display = 1,
                     int (*opt)(VLTENVptr, VLTLPptr) = VLTprimopt) {
  outcome o;
  vtest::Env env;
  int st = 0;
  VLTLPptr lp = VLTcreateprob(env, &st, "small");
  VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, display);
  VLTsetintparam(env, VLT_PARAM_PREIND, preind);
  VLTsetintparam(env, VLT_PARAM_REDUCE, reduce);
  EXPECT_EQ(d.load(env, lp), 0);
  o.status = opt(env, lp);
  o.lpstat = VLTgetstat(env, lp);
  if (o.status == 0 && (o.lpstat == 1 || o.lpstat == 5)) {
    model m = readmodel(env, lp);
    o.x.resize(m.n);
    o.pi.resize(m.m);
    std::vector<double> slack(m.m), dj(m.n);
    VLTsolution(env, lp, nullptr, &o.obj, o.x.data(), o.pi.data(), slack.data(), dj.data());
    o.final = kkt_check(m, o.x, o.pi, &slack, &dj);
    o.itcnt = VLTgetitcnt(env, lp);
    o.cstat.resize(m.n);
    o.rstat.resize(m.m);
    EXPECT_EQ(VLTgetbase(env, lp, o.cstat.data(), o.rstat.data()), 0);
    VLTgetprestat(env, lp, &o.prestat, nullptr, nullptr, nullptr, nullptr);
    if (o.prestat >= 1) {
      o.pcstat.resize(m.n);
      o.prstat.resize(m.m);
      VLTgetprestat(env, lp, nullptr, o.pcstat.data(), o.prstat.data(), nullptr, nullptr);
    }
    VLTLPptr red = nullptr;
    VLTgetredlp(env, lp, &red);
    std::vector<double> x(m.n), pi(m.m);
    if (red) {
      o.redrows = VLTgetnumrows(env, red);
      o.redcols = VLTgetnumcols(env, red);
      o.reditcnt = VLTgetitcnt(env, red);
      std::vector<double> rx(o.redcols), rpi(o.redrows);
      VLTsolution(env, red, nullptr, nullptr, rx.data(), rpi.data(), nullptr, nullptr);
      EXPECT_EQ(VLTuncrushx(env, lp, x.data(), rx.data()), 0);
      EXPECT_EQ(VLTuncrushpi(env, lp, pi.data(), rpi.data(), 0), 0);
    } else if (o.prestat == 2) {
      o.redrows = o.redcols = 0;
      EXPECT_EQ(VLTuncrushx(env, lp, x.data(), nullptr), 0);
      EXPECT_EQ(VLTuncrushpi(env, lp, pi.data(), nullptr, 0), 0);
    }
    if (o.prestat >= 1) o.post = kkt_check(m, x, pi);
  } else if (o.status == 0) {
    VLTgetprestat(env, lp, &o.prestat, nullptr, nullptr, nullptr, nullptr);
  }
  o.res = env.res.all();
  o.err = env.err.all();
  VLTfreeprob(env, &lp);
  return o;
}

// What every reduction test asks: presolve removed something, the answer is
// the known optimum, the optimizer's solution passes the check, and so do
// the reduced optimum carried back and the basis (no clean-up iterations).
inline void expect_reduced_optimum(const lpdef &d, double optimum, int reduce = 3) {
  outcome on = solve(d, 1, reduce);
  ASSERT_EQ(on.status, 0) << on.err;
  ASSERT_EQ(on.lpstat, 1) << on.res;
  EXPECT_GE(on.prestat, 1) << on.res;
  EXPECT_NEAR(on.obj, optimum, 1e-9 * (1 + std::fabs(optimum)));
  EXPECT_TRUE(on.final.ok()) << describe(on.final);
  EXPECT_TRUE(on.post.ok()) << describe(on.post);
  EXPECT_NEAR(on.post.obj, optimum, 1e-9 * (1 + std::fabs(optimum)));
  EXPECT_EQ(on.itcnt - on.reditcnt, 0) << "clean-up iterations after postsolve";
  outcome off = solve(d, 0, reduce);
  ASSERT_EQ(off.lpstat, 1);
  EXPECT_NEAR(off.obj, optimum, 1e-9 * (1 + std::fabs(optimum)));
}

}  // namespace presolve_test
