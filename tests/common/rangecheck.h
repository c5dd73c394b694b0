// Checks sensitivity ranges by what they mean.  For a cost, a right-hand
// side or a bound with a reported range, the model is changed to a value
// just inside each finite end and re-solved warm from the optimal basis: the
// basis must stand (no iteration, same basis).  Then to values just outside:
// the basis must go (an iteration, another basis, or no longer optimal).
// Steps outside grow from 1e-5 to 1e-2 (relative to the end) so that a
// violation below the optimizer's tolerances is not mistaken for a failure.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "velto.h"

namespace rangecheck {

enum kind : int { kCost, kRhs, kLower, kUpper };

inline const char *kindname(int k) {
  return k == kCost ? "cost" : k == kRhs ? "rhs" : k == kLower ? "lb" : "ub";
}

struct tally {
  long ranges = 0;       // ranges looked at
  long inside = 0;       // inside points tried
  long outside = 0;      // outside points tried
  long unconfirmed = 0;  // outside ends where even the largest step left the basis
  std::vector<std::string> failures;
  std::vector<std::string> notes;  // unconfirmed outside ends
  void fail(const std::string &s) {
    if (failures.size() < 30) failures.push_back(s);
  }
};

class prober {
 public:
  prober(VLTENVptr env, VLTLPptr lp) : env_(env), lp_(lp) {
    const int n = VLTgetnumcols(env, lp), m = VLTgetnumrows(env, lp);
    cstat_.resize(n);
    rstat_.resize(m);
    VLTgetbase(env, lp, cstat_.data(), rstat_.data());
    VLTsetintparam(env, VLT_PARAM_PREIND, 0);
    VLTsetintparam(env, VLT_PARAM_ADVIND, 1);
  }

  // Current value of the item.
  double get(int k, int j) {
    double v = 0.0;
    if (k == kCost) VLTgetobj(env_, lp_, &v, j, j);
    else if (k == kRhs) VLTgetrhs(env_, lp_, &v, j, j);
    else if (k == kLower) VLTgetlb(env_, lp_, &v, j, j);
    else VLTgetub(env_, lp_, &v, j, j);
    return v;
  }
  void set(int k, int j, double v) {
    if (k == kCost) VLTchgobj(env_, lp_, 1, &j, &v);
    else if (k == kRhs) VLTchgrhs(env_, lp_, 1, &j, &v);
    else {
      const char lu = k == kLower ? 'L' : 'U';
      VLTchgbds(env_, lp_, 1, &j, &lu, &v);
    }
  }

  // Re-solves item (k, j) at value v from the saved basis; true when the
  // basis stood: optimal, no iteration, the same statuses.
  bool stands(int k, int j, double v, int *status = nullptr) {
    const double old = get(k, j);
    set(k, j, v);
    VLTcopybase(env_, lp_, cstat_.data(), rstat_.data());
    if (k == kCost) VLTprimopt(env_, lp_);
    else VLTdualopt(env_, lp_);
    const int st = VLTgetstat(env_, lp_), it = VLTgetitcnt(env_, lp_);
    last_status = st;
    last_iterations = it;
    // Status 5 (optimal, with unscaled infeasibilities after a long move
    // of a right side) with no iteration is the same basis found optimal.
    bool same = (st == 1 || st == 5) && it == 0;
    if (same) {
      std::vector<int> c(cstat_.size()), r(rstat_.size());
      VLTgetbase(env_, lp_, c.data(), r.data());
      same = c == cstat_ && r == rstat_;
    }
    if (status) *status = st;
    set(k, j, old);
    return same;
  }

  int last_status = 0, last_iterations = 0;  // of the last re-solve

  // Puts the saved optimum back after the probes' changes dropped it.
  void restore() {
    VLTcopybase(env_, lp_, cstat_.data(), rstat_.data());
    VLTprimopt(env_, lp_);
  }

  // Checks the range [lo, up] of item (k, j).  Outside points of a bound
  // never cross the column's other bound (that model asks another question).
  void check(int k, int j, double lo, double up, tally &t, const std::string &model) {
    ++t.ranges;
    const double value = get(k, j);
    char buf[256];
    auto what = [&](const char *msg, double at) {
      std::snprintf(buf, sizeof buf, "%s %s %d: range [%.10g, %.10g] value %.10g: %s at %.12g",
                    model.c_str(), kindname(k), j, lo, up, value, msg, at);
      t.fail(buf);
    };
    if (lo > up) {
      what("empty range", value);
      return;
    }
    if (!(lo <= value + 1e-9 * (1 + std::fabs(value)) &&
          value - 1e-9 * (1 + std::fabs(value)) <= up)) {
      what("value outside its range", value);
      return;
    }
    double other_lb = -1e20, other_ub = 1e20;
    if (k == kLower) other_ub = get(kUpper, j);
    if (k == kUpper) other_lb = get(kLower, j);
    for (int side = -1; side <= 1; side += 2) {
      const double end = side < 0 ? lo : up;
      if (std::fabs(end) >= 1e20) continue;
      // Inside: a small step back from the end, at most half the width.
      const double width = up - lo;
      double in = end;
      // The step grows with a finite width: a long move of a right side
      // carries the rounding of B^-1 b along, which the optimizer may read
      // as an infeasibility right at the end.
      if (width > 0.0) {
        const double step = 1e-7 * (1 + std::fabs(end)) + (width < 1e19 ? 1e-4 * width : 0.0);
        in = end - side * std::min(step, 0.5 * width);
      }
      ++t.inside;
      if (!stands(k, j, in)) {
        char more[80];
        std::snprintf(more, sizeof more, "basis changed inside (status %d, %d iterations)",
                      last_status, last_iterations);
        what(more, in);
      }
      // Outside: growing steps until the basis goes.
      bool gone = false, tried = false;
      for (double rel = 1e-5; rel <= 1.01e-2 && !gone; rel *= 10) {
        const double out = end + side * rel * (1 + std::fabs(end));
        if (out < other_lb || out > other_ub) break;
        tried = true;
        gone = !stands(k, j, out);
      }
      if (tried) {
        ++t.outside;
        if (!gone) {
          ++t.unconfirmed;
          std::snprintf(buf, sizeof buf, "%s %s %d: range [%.10g, %.10g]: the basis stood past %s end",
                        model.c_str(), kindname(k), j, lo, up, side < 0 ? "the low" : "the high");
          if (t.notes.size() < 10) t.notes.push_back(buf);
        }
      }
    }
  }

 private:
  VLTENVptr env_;
  VLTLPptr lp_;
  std::vector<int> cstat_, rstat_;
};

// Checks up to `limit` items of each kind, spread evenly over the model.
// Fails with the call's status when a range call fails.
// The final basis of a run with presolve may need a clean-up pass when it
// is re-solved on the whole model; the ranges are those of the basis that
// then stands (a warm re-solve with no change keeps it).
inline bool settle(VLTENVptr env, VLTLPptr lp) {
  for (int round = 0; round < 4; ++round) {
    prober pr(env, lp);
    const bool ok = pr.stands(kCost, 0, pr.get(kCost, 0));
    pr.restore();
    if (ok) return VLTgetstat(env, lp) == 1;
    VLTprimopt(env, lp);  // the basis of this warm run is the next candidate
    if (VLTgetstat(env, lp) != 1) return false;
  }
  return false;
}

inline int checkmodel(VLTENVptr env, VLTLPptr lp, int limit, tally &t, const std::string &model) {
  const int n = VLTgetnumcols(env, lp), m = VLTgetnumrows(env, lp);
  if (n == 0) return 0;
  if (!settle(env, lp)) {
    t.fail(model + ": no basis stands under a warm re-solve without change");
    return 0;
  }
  std::vector<double> clo(n), cup(n), rlo(m), rup(m), lblo(n), lbup(n), ublo(n), ubup(n);
  int st = 0;
  if (n) st = VLTobjsa(env, lp, 0, n - 1, clo.data(), cup.data());
  if (st == 0 && m) st = VLTrhssa(env, lp, 0, m - 1, rlo.data(), rup.data());
  if (st == 0 && n) st = VLTboundsa(env, lp, 0, n - 1, lblo.data(), lbup.data(), ublo.data(), ubup.data());
  if (st) return st;
  prober pr(env, lp);
  auto pick = [&](int count, auto f) {
    const int step = std::max(1, count / std::max(1, limit));
    for (int j = 0; j < count; j += step) f(j);
  };
  pick(n, [&](int j) { pr.check(kCost, j, clo[j], cup[j], t, model); });
  pick(m, [&](int i) { pr.check(kRhs, i, rlo[i], rup[i], t, model); });
  pick(n, [&](int j) {
    pr.check(kLower, j, lblo[j], lbup[j], t, model);
    pr.check(kUpper, j, ublo[j], ubup[j], t, model);
  });
  return 0;
}

}  // namespace rangecheck
