// Helpers of the factor tests: a Netlib model as a barprob, and A*D*A'
// products computed straight from the columns, apart from the factor.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "barrier/barprob.h"
#include "common/reference.h"
#include "velto.h"

namespace btest {

// Reads netlib/<name> into bp; false when the file is absent.
inline bool loadnetlib(const std::string &name, velto::barprob &bp) {
  int status = 0;
  VLTENVptr env = VLTopenVELTO(&status);
  VLTLPptr lp = VLTcreateprob(env, &status, name.c_str());
  bool ok = VLTreadcopyprob(env, lp, velto_test::modelpath("netlib", name).c_str(), nullptr) == 0;
  if (ok) {
    bp.m = VLTgetnumrows(env, lp);
    bp.n = VLTgetnumcols(env, lp);
    int nz = VLTgetnumnz(env, lp), got = 0, surplus = 0;
    bp.colbeg.assign(bp.n + 1, 0);
    bp.colind.assign(nz, 0);
    bp.colval.assign(nz, 0.0);
    ok = bp.n == 0 || VLTgetcols(env, lp, &got, bp.colbeg.data(), bp.colind.data(), bp.colval.data(),
                                 nz, &surplus, 0, bp.n - 1) == 0;
    bp.colbeg[bp.n] = got;
    bp.sense.assign(bp.m, 'E');
    if (ok && bp.m > 0) VLTgetsense(env, lp, bp.sense.data(), 0, bp.m - 1);
    bp.buildrows();
  }
  VLTfreeprob(env, &lp);
  VLTcloseVELTO(&env);
  return ok;
}

// Weights: one per column, then one slack term per row (0 for equations).
inline std::vector<double> randomweights(const velto::barprob &bp, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<double> u(-1.0, 1.0);
  std::vector<double> d(bp.n + bp.m, 0.0);
  for (int j = 0; j < bp.n; ++j) d[j] = std::exp(u(gen));
  for (int i = 0; i < bp.m; ++i) d[bp.n + i] = bp.sense[i] == 'E' ? 0.0 : std::exp(u(gen));
  return d;
}

// y = (A*D*A' + S) x, column by column; also the row sums of |A*D*A' + S|.
inline void normalproduct(const velto::barprob &bp, const std::vector<double> &d,
                          const std::vector<double> &x, std::vector<double> &y,
                          std::vector<double> *absrow = nullptr) {
  y.assign(bp.m, 0.0);
  if (absrow) absrow->assign(bp.m, 0.0);
  for (int i = 0; i < bp.m; ++i) {
    y[i] = d[bp.n + i] * x[i];
    if (absrow) (*absrow)[i] = d[bp.n + i];
  }
  for (int j = 0; j < bp.n; ++j) {
    double t = 0.0, a = 0.0;
    for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) {
      t += bp.colval[k] * x[bp.colind[k]];
      a += std::fabs(bp.colval[k]);
    }
    for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) {
      y[bp.colind[k]] += d[j] * bp.colval[k] * t;
      if (absrow) (*absrow)[bp.colind[k]] += d[j] * std::fabs(bp.colval[k]) * a;
    }
  }
}

// Normwise relative residual of A*D*A' y = r: |r - M y|_inf over
// |M|_inf |y|_inf + |r|_inf.
inline double relresidual(const velto::barprob &bp, const std::vector<double> &d,
                          const std::vector<double> &y, const std::vector<double> &r) {
  std::vector<double> my, absrow;
  normalproduct(bp, d, y, my, &absrow);
  double res = 0, rn = 0, mn = 0, yn = 0;
  for (int i = 0; i < bp.m; ++i) {
    res = std::fmax(res, std::fabs(r[i] - my[i]));
    rn = std::fmax(rn, std::fabs(r[i]));
    mn = std::fmax(mn, absrow[i]);
    yn = std::fmax(yn, std::fabs(y[i]));
  }
  return res / (mn * yn + rn);
}

}  // namespace btest
