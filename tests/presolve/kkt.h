// Independent optimality check of a point on a model read back through the
// public calls: primal residuals, reduced costs recomputed from pi, sign
// conditions of the duals and complementary slackness.
#pragma once

#include <algorithm>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "velto.h"

namespace presolve_test {

struct model {
  int m = 0, n = 0, objsen = 1;
  double offset = 0;
  std::vector<double> obj, lb, ub, rhs, rng;
  std::vector<char> sense;
  std::vector<int> beg, ind;
  std::vector<double> val;
};

inline model readmodel(VLTENVptr env, VLTLPptr lp) {
  model d;
  d.m = VLTgetnumrows(env, lp);
  d.n = VLTgetnumcols(env, lp);
  d.objsen = VLTgetobjsen(env, lp);
  VLTgetobjoffset(env, lp, &d.offset);
  d.obj.resize(d.n);
  d.lb.resize(d.n);
  d.ub.resize(d.n);
  d.rhs.resize(d.m);
  d.rng.assign(d.m, 0.0);
  d.sense.resize(d.m);
  d.beg.resize(d.n + 1);
  if (d.n) {
    VLTgetobj(env, lp, d.obj.data(), 0, d.n - 1);
    VLTgetlb(env, lp, d.lb.data(), 0, d.n - 1);
    VLTgetub(env, lp, d.ub.data(), 0, d.n - 1);
  }
  if (d.m) {
    VLTgetrhs(env, lp, d.rhs.data(), 0, d.m - 1);
    VLTgetsense(env, lp, d.sense.data(), 0, d.m - 1);
    VLTgetrngval(env, lp, d.rng.data(), 0, d.m - 1);
  }
  int nz = 0, surplus = 0;
  if (d.n) {
    VLTgetcols(env, lp, &nz, d.beg.data(), nullptr, nullptr, 0, &surplus, 0, d.n - 1);
    nz = -surplus;
    d.ind.resize(nz);
    d.val.resize(nz);
    VLTgetcols(env, lp, &nz, d.beg.data(), d.ind.data(), d.val.data(), nz, &surplus, 0, d.n - 1);
  }
  d.beg[d.n] = nz;
  return d;
}

inline std::vector<double> activity(const model &d, const std::vector<double> &x) {
  std::vector<double> ax(d.m, 0.0);
  for (int j = 0; j < d.n; ++j)
    for (int k = d.beg[j]; k < d.beg[j + 1]; ++k) ax[d.ind[k]] += d.val[k] * x[j];
  return ax;
}

struct verdict {
  double pinf = 0, dinf = 0, comp = 0, djerr = 0, slackerr = 0;
  double obj = 0;
  std::string worst;
  bool ok(double tol = 1e-6) const {
    return pinf <= tol && dinf <= tol && comp <= tol && djerr <= tol && slackerr <= tol;
  }
};

inline verdict primal_check(const model &d, const std::vector<double> &x) {
  verdict v;
  auto note = [&](double &slot, double amount, const std::string &what) {
    if (amount > slot) {
      slot = amount;
      if (amount > 1e-6) v.worst = what;
    }
  };
  for (int j = 0; j < d.n; ++j) {
    double s = 1 + std::fabs(x[j]);
    note(v.pinf, (d.lb[j] - x[j]) / s, "column " + std::to_string(j) + " below its bound");
    note(v.pinf, (x[j] - d.ub[j]) / s, "column " + std::to_string(j) + " above its bound");
  }
  std::vector<double> ax = activity(d, x);
  for (int i = 0; i < d.m; ++i) {
    double s = 1 + std::fabs(d.rhs[i]), lo = -1e30, hi = 1e30;
    switch (d.sense[i]) {
      case 'L': hi = d.rhs[i]; break;
      case 'G': lo = d.rhs[i]; break;
      case 'E': lo = hi = d.rhs[i]; break;
      default:
        lo = d.rhs[i] + std::min(0.0, d.rng[i]);
        hi = d.rhs[i] + std::max(0.0, d.rng[i]);
    }
    note(v.pinf, std::max(lo - ax[i], ax[i] - hi) / s, "row " + std::to_string(i) + " violated");
  }
  v.obj = d.offset;
  for (int j = 0; j < d.n; ++j) v.obj += d.obj[j] * x[j];
  return v;
}

// Full check of x, pi (and slack, dj when given) in the user's signs.  A
// complementarity product is taken relative to the size of the dual, so a
// large dual asks for a small primal gap and a large gap for a small dual.
inline verdict kkt_check(const model &d, const std::vector<double> &x,
                         const std::vector<double> &pi, const std::vector<double> *slack = nullptr,
                         const std::vector<double> *dj = nullptr) {
  verdict v = primal_check(d, x);
  auto note = [&](double &slot, double amount, const std::string &what) {
    if (amount > slot) {
      slot = amount;
      if (amount > 1e-6) v.worst = what;
    }
  };
  std::vector<double> ax = activity(d, x);
  const double sg = d.objsen;
  for (int i = 0; i < d.m; ++i) {
    double p = sg * pi[i];  // minimization sign
    double s = 1 + std::fabs(d.rhs[i]);
    double lo = -1e30, hi = 1e30;
    switch (d.sense[i]) {
      case 'L': hi = d.rhs[i]; break;
      case 'G': lo = d.rhs[i]; break;
      case 'E': lo = hi = d.rhs[i]; break;
      default:
        lo = d.rhs[i] + std::min(0.0, d.rng[i]);
        hi = d.rhs[i] + std::max(0.0, d.rng[i]);
    }
    // A negative dual needs the upper side active, a positive one the lower.
    if (p < 0) {
      note(v.dinf, hi >= 1e30 ? -p : 0.0, "row " + std::to_string(i) + " dual sign");
      if (hi < 1e30) note(v.comp, -p / (1 - p) * (hi - ax[i]) / s, "row " + std::to_string(i) + " complementarity");
    } else if (p > 0) {
      note(v.dinf, lo <= -1e30 ? p : 0.0, "row " + std::to_string(i) + " dual sign");
      if (lo > -1e30) note(v.comp, p / (1 + p) * (ax[i] - lo) / s, "row " + std::to_string(i) + " complementarity");
    }
    if (slack) {
      double want = d.sense[i] == 'R' ? ax[i] - d.rhs[i] : d.rhs[i] - ax[i];
      note(v.slackerr, std::fabs((*slack)[i] - want) / s, "row " + std::to_string(i) + " slack");
    }
  }
  for (int j = 0; j < d.n; ++j) {
    double r = d.obj[j];
    for (int k = d.beg[j]; k < d.beg[j + 1]; ++k) r -= d.val[k] * pi[d.ind[k]];
    double s = 1 + std::fabs(d.obj[j]);
    if (dj) note(v.djerr, std::fabs((*dj)[j] - r) / s, "column " + std::to_string(j) + " reduced cost");
    double rm = sg * r;
    // Reduced cost times the distance to the bound it pushes against.
    if (rm > 0) {
      if (d.lb[j] <= -1e20) note(v.dinf, rm / s, "column " + std::to_string(j) + " dual sign");
      else note(v.comp, rm / (1 + rm) * (x[j] - d.lb[j]) / (1 + std::fabs(x[j])), "column " + std::to_string(j) + " complementarity");
    } else if (rm < 0) {
      if (d.ub[j] >= 1e20) note(v.dinf, -rm / s, "column " + std::to_string(j) + " dual sign");
      else note(v.comp, -rm / (1 - rm) * (d.ub[j] - x[j]) / (1 + std::fabs(x[j])), "column " + std::to_string(j) + " complementarity");
    }
  }
  return v;
}

inline std::string describe(const verdict &v) {
  std::ostringstream os;
  os << "pinf " << v.pinf << " dinf " << v.dinf << " comp " << v.comp << " djerr " << v.djerr
     << " slackerr " << v.slackerr << " worst: " << v.worst;
  return os.str();
}

}  // namespace presolve_test
