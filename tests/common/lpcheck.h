// Independent checks of LP answers.  The model is held as
//   minimize c'x + c0,  rlo <= Ax <= rup,  lb <= x <= ub
// (a maximization is stored negated), read back through the public calls or
// built by hand, and every check recomputes from the model alone: primal
// residuals, reduced costs from the duals, sign conditions, complementarity,
// Farkas proofs and unbounded rays.  Nothing here trusts the optimizer's
// own numbers.
#pragma once

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "velto.h"

namespace lpcheck {

struct model {
  int m = 0, n = 0;
  int objsen = 1;  // sense of the user's model; c and c0 are in minimization sign
  std::vector<std::vector<std::pair<int, double>>> cols;
  std::vector<double> c, lb, ub, rlo, rup;
  double c0 = 0.0;
  std::vector<char> sense;  // the user's senses and right-hand sides, when read back
  std::vector<double> rhs;
};

inline bool finite(double v) { return std::fabs(v) < 1e19; }

// The model of lp as the public calls give it.
inline model from_api(VLTENVptr env, VLTLPptr lp) {
  model md;
  const int m = VLTgetnumrows(env, lp), n = VLTgetnumcols(env, lp);
  md.m = m;
  md.n = n;
  md.objsen = VLTgetobjsen(env, lp);
  md.c.resize(n);
  md.lb.resize(n);
  md.ub.resize(n);
  if (n > 0) {
    VLTgetobj(env, lp, md.c.data(), 0, n - 1);
    VLTgetlb(env, lp, md.lb.data(), 0, n - 1);
    VLTgetub(env, lp, md.ub.data(), 0, n - 1);
  }
  VLTgetobjoffset(env, lp, &md.c0);
  if (md.objsen == -1) {
    for (double &v : md.c) v = -v;
    md.c0 = -md.c0;
  }
  std::vector<double> rhs(m), rng(m, 0.0);
  std::vector<char> sense(m);
  if (m > 0) {
    VLTgetrhs(env, lp, rhs.data(), 0, m - 1);
    VLTgetsense(env, lp, sense.data(), 0, m - 1);
    VLTgetrngval(env, lp, rng.data(), 0, m - 1);
  }
  md.rlo.assign(m, -1e20);
  md.rup.assign(m, 1e20);
  md.sense = sense;
  md.rhs = rhs;
  for (int i = 0; i < m; ++i) {
    switch (sense[i]) {
      case 'L': md.rup[i] = rhs[i]; break;
      case 'G': md.rlo[i] = rhs[i]; break;
      case 'E': md.rlo[i] = md.rup[i] = rhs[i]; break;
      default:
        md.rlo[i] = rhs[i] + std::min(0.0, rng[i]);
        md.rup[i] = rhs[i] + std::max(0.0, rng[i]);
    }
  }
  md.cols.assign(n, {});
  if (n > 0) {
    int nz = 0, surplus = 0;
    const int space = VLTgetnumnz(env, lp);
    std::vector<int> beg(n), ind(std::max(space, 1));
    std::vector<double> val(std::max(space, 1));
    VLTgetcols(env, lp, &nz, beg.data(), ind.data(), val.data(), space, &surplus, 0, n - 1);
    for (int j = 0; j < n; ++j) {
      const int end = j + 1 < n ? beg[j + 1] : nz;
      for (int k = beg[j]; k < end; ++k) md.cols[j].push_back({ind[k], val[k]});
    }
  }
  return md;
}

inline std::vector<double> activity(const model &md, const std::vector<double> &x) {
  std::vector<double> ax(md.m, 0.0);
  for (int j = 0; j < md.n; ++j)
    for (auto &e : md.cols[j]) ax[e.first] += e.second * x[j];
  return ax;
}

// c'x + c0 in minimization sign.
inline double objective(const model &md, const std::vector<double> &x) {
  double s = md.c0;
  for (int j = 0; j < md.n; ++j) s += md.c[j] * x[j];
  return s;
}

// Keeps the largest value seen and where it was: column j as j, row i as
// n + i, -1 when nothing was violated.
struct worst {
  double value = 0.0;
  int at = -1;
  void note(double v, int where) {
    if (v > value) {
      value = v;
      at = where;
    }
  }
};

// Largest bound or row violation of x; with relative set, each violation is
// divided by max(1, |bound|).  *at, when given, gets its place.
inline double primal_violation(const model &md, const std::vector<double> &x,
                               bool relative = false, int *at = nullptr) {
  auto gap = [&](double amount, double bound) {
    return relative ? amount / std::max(1.0, std::fabs(bound)) : amount;
  };
  worst w;
  const std::vector<double> ax = activity(md, x);
  for (int j = 0; j < md.n; ++j) {
    w.note(gap(md.lb[j] - x[j], md.lb[j]), j);
    w.note(gap(x[j] - md.ub[j], md.ub[j]), j);
  }
  for (int i = 0; i < md.m; ++i) {
    w.note(gap(md.rlo[i] - ax[i], md.rlo[i]), md.n + i);
    w.note(gap(ax[i] - md.rup[i], md.rup[i]), md.n + i);
  }
  if (at) *at = w.at;
  return w.value;
}

// Reduced costs d = c - A'y in minimization sign (y in minimization sign).
inline std::vector<double> reduced_costs(const model &md, const std::vector<double> &y) {
  std::vector<double> d(md.c);
  for (int j = 0; j < md.n; ++j)
    for (auto &e : md.cols[j]) d[j] -= e.second * y[e.first];
  return d;
}

// The size of the terms reduced cost j is summed from: 1 + max(|c_j|,
// |a_ij y_i|), so the test is relative to the cancellation it may suffer.
inline double dj_scale(const model &md, const std::vector<double> &y, int j) {
  double s = std::fabs(md.c[j]);
  for (auto &e : md.cols[j]) s = std::max(s, std::fabs(e.second * y[e.first]));
  return 1.0 + s;
}

// Largest violation of dual feasibility and complementarity for (x, y), both
// in minimization sign: a variable strictly between its bounds needs d = 0,
// at its lower bound d >= 0, at its upper d <= 0; a row likewise with y in
// the role of -d.  tol decides "at a bound", relative to 1 + |bound|.  A
// column's violation is relative to dj_scale.
inline double dual_violation(const model &md, const std::vector<double> &x,
                             const std::vector<double> &y, double tol, int *at = nullptr) {
  auto side = [&](double v, double lo, double up, double d) {
    const bool atlo = v <= lo + tol * (1 + std::fabs(lo));
    const bool atup = v >= up - tol * (1 + std::fabs(up));
    if (!atlo && !atup) return std::fabs(d);
    if (atlo && !atup) return std::max(0.0, -d);
    if (atup && !atlo) return std::max(0.0, d);
    return 0.0;
  };
  worst w;
  const std::vector<double> d = reduced_costs(md, y);
  for (int j = 0; j < md.n; ++j)
    w.note(side(x[j], md.lb[j], md.ub[j], d[j]) / dj_scale(md, y, j), j);
  const std::vector<double> ax = activity(md, x);
  // The row logical r = a'x has cost 0 and column -e_i: its reduced cost is y_i.
  for (int i = 0; i < md.m; ++i) w.note(side(ax[i], md.rlo[i], md.rup[i], y[i]), md.n + i);
  if (at) *at = w.at;
  return w.value;
}

// Largest violation of the sign conditions alone, for y in minimization
// sign: a reduced cost may be positive only where the column has a lower
// bound and negative only where it has an upper one (rows likewise with y).
// Complementarity is left to a duality-gap test, as an interior point sits
// near its bounds, not on them.
inline double dual_sign_violation(const model &md, const std::vector<double> &y, int *at = nullptr) {
  auto side = [](double lo, double up, double d) {
    double v = 0.0;
    if (!finite(lo)) v = std::max(v, d);
    if (!finite(up)) v = std::max(v, -d);
    return v;
  };
  worst w;
  const std::vector<double> d = reduced_costs(md, y);
  for (int j = 0; j < md.n; ++j) w.note(side(md.lb[j], md.ub[j], d[j]) / dj_scale(md, y, j), j);
  for (int i = 0; i < md.m; ++i) w.note(side(md.rlo[i], md.rup[i], y[i]), md.n + i);
  if (at) *at = w.at;
  return w.value;
}

// Largest error of the user's slacks, relative to 1 + |rhs|: rhs - a'x, or
// a'x - rhs for a ranged row.  Needs a model read back by from_api.
inline double slack_error(const model &md, const std::vector<double> &x,
                          const std::vector<double> &slack, int *at = nullptr) {
  worst w;
  const std::vector<double> ax = activity(md, x);
  for (int i = 0; i < md.m; ++i) {
    const double want = md.sense[i] == 'R' ? ax[i] - md.rhs[i] : md.rhs[i] - ax[i];
    w.note(std::fabs(slack[i] - want) / (1 + std::fabs(md.rhs[i])), md.n + i);
  }
  if (at) *at = w.at;
  return w.value;
}

// Farkas test for y: with z = y'A, the largest value of y'r allowed by the
// row bounds must be below the smallest value of z'x over the column bounds
// (or the reverse).  Returns the gap (positive proves infeasibility);
// -1e300 when an infinite bound breaks the argument.
inline double farkas_gap(const model &md, const std::vector<double> &y) {
  auto eval = [&](double sign) {
    double maxr = 0.0, minx = 0.0;
    for (int i = 0; i < md.m; ++i) {
      const double yi = sign * y[i];
      if (yi > 1e-12) {
        if (!finite(md.rup[i])) return -1e300;
        maxr += yi * md.rup[i];
      } else if (yi < -1e-12) {
        if (!finite(md.rlo[i])) return -1e300;
        maxr += yi * md.rlo[i];
      }
    }
    for (int j = 0; j < md.n; ++j) {
      // z below the rounding of its own terms counts as zero (a large y
      // from an ill-conditioned basis leaves such noise on basic columns).
      double z = 0.0, big = 0.0;
      for (auto &e : md.cols[j]) {
        z += sign * y[e.first] * e.second;
        big = std::max(big, std::fabs(y[e.first] * e.second));
      }
      if (std::fabs(z) <= 1e-9 * (1.0 + big)) continue;
      if (z > 0.0) {
        if (!finite(md.lb[j])) return -1e300;
        minx += z * md.lb[j];
      } else {
        if (!finite(md.ub[j])) return -1e300;
        minx += z * md.ub[j];
      }
    }
    return minx - maxr;
  };
  return std::max(eval(1.0), eval(-1.0));
}

// Ray test: the largest violation of A r lying in the recession cone of the
// row bounds and r in that of the column bounds, r scaled to unit max norm;
// *cr gets the cost c'r of the scaled ray (minimization sign).
inline double ray_violation(const model &md, const std::vector<double> &r, double *cr) {
  double worst = 0.0, scale = 0.0;
  for (double v : r) scale = std::max(scale, std::fabs(v));
  if (scale == 0.0) return 1e300;
  std::vector<double> act(md.m, 0.0);
  double c = 0.0;
  for (int j = 0; j < md.n; ++j) {
    const double v = r[j] / scale;
    c += md.c[j] * v;
    for (auto &e : md.cols[j]) act[e.first] += e.second * v;
    if (finite(md.lb[j])) worst = std::max(worst, -v);
    if (finite(md.ub[j])) worst = std::max(worst, v);
  }
  for (int i = 0; i < md.m; ++i) {
    if (finite(md.rlo[i])) worst = std::max(worst, -act[i]);
    if (finite(md.rup[i])) worst = std::max(worst, act[i]);
  }
  *cr = c;
  return worst;
}

}  // namespace lpcheck
