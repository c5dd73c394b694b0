// Randomized differential test of warm re-solves.  A model is solved, then
// changed step by step (bounds, costs, right-hand sides, added rows and
// columns) and re-solved warm after each step; every warm answer is compared
// with a cold solve of a fresh copy of the same model (VLTcloneprob), and
// both answers are checked independently of the optimizer: primal points by
// their residuals, optimal duals by signs and complementarity, infeasible
// verdicts by a Farkas proof, unbounded ones by a ray.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "common/lpcheck.h"
#include "velto.h"

namespace warmdiff {

// Which call solves: VLTlpopt with VLT_PARAM_LPMETHOD set to `lpmethod`, or
// VLTprimopt / VLTdualopt directly.
enum entry : int { kLpopt = 0, kPrimopt = 1, kDualopt = 2 };

struct setup {
  int call = kLpopt;
  int lpmethod = 0;  // 0 automatic, 1 primal, 2 dual
  int preind = 1;
  std::string text() const {
    char b[64];
    std::snprintf(b, sizeof b, "%s lpmethod %d presolve %d",
                  call == kLpopt ? "lpopt" : call == kPrimopt ? "primopt" : "dualopt", lpmethod,
                  preind);
    return b;
  }
};

struct tally {
  long sequences = 0, solves = 0, compared = 0;
  long optimal = 0, infeasible = 0, unbounded = 0;
  std::vector<std::string> failures;
  void fail(const std::string &s) {
    if (failures.size() < 20) failures.push_back(s);
    else if (failures.size() == 20) failures.push_back("(more disagreements not shown)");
  }
};

// Tolerances of the independent checks: a point within 1e-6 of every bound
// and row (relative to the bound's size), duals within 1e-6 of their signs.
// Solution statuses of a simplex run.
constexpr int kOptimal = 1, kUnbounded = 2, kInfeasible = 3;

constexpr double kPrimalTol = 1e-6;
constexpr double kDualTol = 1e-6;
constexpr double kObjTol = 1e-9;

class runner {
 public:
  runner(VLTENVptr env, unsigned seed, tally &t) : env_(env), rng_(seed), t_(t) {}

  // Random model: n columns, m rows, integer coefficients, every kind of
  // bound and sense.
  VLTLPptr random_model() {
    const int n = pick(2, 10), m = pick(1, 8);
    std::vector<double> obj(n), lb(n), ub(n), rhs(m), rng(m, 0.0), val;
    std::vector<char> sense(m);
    std::vector<int> beg(n), cnt(n), ind;
    // The rows are laid through a point x0 within the bounds, so that most
    // models start feasible; the changes then push them about.
    std::vector<double> x0(n);
    for (int j = 0; j < n; ++j) {
      obj[j] = pick(-6, 6);
      lb[j] = 0.0;
      ub[j] = 1e20;
      switch (pick(0, 7)) {
        case 0: case 1: case 2: ub[j] = pick(1, 8); break;
        case 3: lb[j] = -1e20; break;
        case 4: lb[j] = -pick(0, 4); ub[j] = pick(0, 6); break;
        case 5: lb[j] = -1e20; ub[j] = pick(-2, 5); break;
        default: break;
      }
      // A column without an upper bound mostly costs something as it grows
      // (and one without a lower bound as it falls), so that not every
      // model is unbounded; the sense is applied below.
      if (!lpcheck::finite(ub[j]) && pick(0, 3) != 0) obj[j] = pick(0, 6);
      if (!lpcheck::finite(lb[j]) && pick(0, 3) != 0) obj[j] = lpcheck::finite(ub[j]) ? -pick(0, 6) : 0.0;
      const double lo = lpcheck::finite(lb[j]) ? lb[j] : lpcheck::finite(ub[j]) ? ub[j] - 5.0 : -5.0;
      const double up = lpcheck::finite(ub[j]) ? ub[j] : lo + 5.0;
      x0[j] = lo + pick(0, 10) * (up - lo) / 10.0;
      beg[j] = static_cast<int>(ind.size());
      for (int i = 0; i < m; ++i) {
        if (pick(0, 99) < 45) {
          ind.push_back(i);
          val.push_back(coef());
        }
      }
      cnt[j] = static_cast<int>(ind.size()) - beg[j];
    }
    std::vector<double> act(m, 0.0);
    for (int j = 0; j < n; ++j)
      for (int k = beg[j]; k < beg[j] + cnt[j]; ++k) act[ind[k]] += val[k] * x0[j];
    for (int i = 0; i < m; ++i) {
      sense[i] = "LLGGER"[pick(0, 5)];
      const double a = std::round(act[i]);
      switch (sense[i]) {
        case 'L': rhs[i] = a + pick(0, 4); break;
        case 'G': rhs[i] = a - pick(0, 4); break;
        case 'R': rhs[i] = a - pick(0, 3); rng[i] = pick(3, 6); break;
        default: rhs[i] = act[i]; break;
      }
      if (pick(0, 9) == 0) rhs[i] = pick(-8, 12);  // now and then a row that may cut x0 off
    }
    const int objsen = pick(0, 3) == 0 ? -1 : 1;
    if (objsen == -1)
      for (double &c : obj) c = -c;
    int st = 0;
    VLTLPptr lp = VLTcreateprob(env_, &st, "random");
    if (lp == nullptr) return nullptr;
    st = VLTcopylp(env_, lp, n, m, objsen, obj.data(), rhs.data(),
                   sense.data(), beg.data(), cnt.data(), ind.empty() ? nullptr : ind.data(),
                   val.empty() ? nullptr : val.data(), lb.data(), ub.data(), rng.data());
    if (st) VLTfreeprob(env_, &lp);
    return lp;
  }

  // One sequence: a first solve, then `steps` rounds of one to three
  // changes, each followed by a warm re-solve compared with a cold one.
  void sequence(VLTLPptr lp, const setup &s, int steps, const std::string &name) {
    ++t_.sequences;
    apply(s);
    solve(lp, s);
    std::string log;
    for (int k = 0; k < steps; ++k) {
      const int changes = pick(1, 3);
      for (int c = 0; c < changes; ++c) log += change(lp);
      int st = 0;
      VLTLPptr cold = VLTcloneprob(env_, lp, &st);
      if (cold == nullptr) {
        t_.fail(name + ": VLTcloneprob failed");
        return;
      }
      const int ws = solve(lp, s);
      last_ = VLTgetstat(env_, lp);
      const int cs = solve(cold, s);
      const std::string where = name + " [" + s.text() + "] step " + std::to_string(k) + ":" + log;
      if (ws || cs) {
        t_.fail(where + " call status warm " + std::to_string(ws) + " cold " + std::to_string(cs));
      } else {
        compare(lp, cold, where);
      }
      VLTfreeprob(env_, &cold);
    }
  }

  int pick(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng_); }

 private:
  VLTENVptr env_;
  std::mt19937 rng_;
  tally &t_;
  int last_ = 0;  // status of the last warm solve

  double coef() {
    double v = pick(1, 9) * (pick(0, 1) ? 1.0 : -1.0);
    if (pick(0, 5) == 0) v += pick(1, 99) / 100.0;
    return v;
  }

  void apply(const setup &s) {
    VLTsetintparam(env_, VLT_PARAM_LPMETHOD, s.lpmethod);
    VLTsetintparam(env_, VLT_PARAM_PREIND, s.preind);
  }

  int solve(VLTLPptr lp, const setup &s) {
    ++t_.solves;
    switch (s.call) {
      case kPrimopt: return VLTprimopt(env_, lp);
      case kDualopt: return VLTdualopt(env_, lp);
      default: return VLTlpopt(env_, lp);
    }
  }

  std::vector<double> current_x(VLTLPptr lp, int n) {
    std::vector<double> x(n, 0.0);
    if (n > 0 && VLTgetx(env_, lp, x.data(), 0, n - 1) != 0) std::fill(x.begin(), x.end(), 0.0);
    for (double &v : x)
      if (!(std::fabs(v) < 1e6)) v = 0.0;  // what an infeasible run left
    return x;
  }

  // A value near v: v itself, a step away, or a random integer.
  double near(double v) {
    if (!lpcheck::finite(v)) v = 0.0;
    switch (pick(0, 4)) {
      case 0: return v;
      case 1: return std::round(v) + pick(-2, 2);
      case 2: return v + pick(-30, 30) / 10.0;
      default: return pick(-6, 6);
    }
  }

  // One random change; returns its description.
  std::string change(VLTLPptr lp) {
    const int n = VLTgetnumcols(env_, lp), m = VLTgetnumrows(env_, lp);
    const std::vector<double> x = current_x(lp, n);
    char buf[160];
    if (last_ == kInfeasible && pick(0, 1) == 0) {
      // Half the time an infeasible model is relaxed: a column's bounds or
      // a row's right-hand side widened, so that warm starts from
      // infeasible bases are tried as often as from optimal ones.
      if (n > 0 && pick(0, 1) == 0) {
        const int j = pick(0, n - 1);
        double lo = 0.0, up = 0.0;
        VLTgetlb(env_, lp, &lo, j, j);
        VLTgetub(env_, lp, &up, j, j);
        const int ind[2] = {j, j};
        const char lu[2] = {'L', 'U'};
        const double v[2] = {lpcheck::finite(lo) ? std::min(lo, up) - pick(1, 5) : lo,
                             lpcheck::finite(up) ? std::max(lo, up) + pick(1, 5) : up};
        VLTchgbds(env_, lp, 2, ind, lu, v);
        std::snprintf(buf, sizeof buf, " widen(%d,%g,%g)", j, v[0], v[1]);
        return buf;
      }
      if (m > 0) {
        const int i = pick(0, m - 1);
        char sense = 'E';
        double r = 0.0;
        VLTgetsense(env_, lp, &sense, i, i);
        VLTgetrhs(env_, lp, &r, i, i);
        if (sense == 'L') r += pick(1, 20);
        else if (sense == 'G') r -= pick(1, 20);
        else r = std::round(r / 2);
        VLTchgrhs(env_, lp, 1, &i, &r);
        std::snprintf(buf, sizeof buf, " relaxrhs(%d,%g)", i, r);
        return buf;
      }
    }
    const int kind = pick(0, 99);
    if (kind < 30 && n > 0) {
      const int j = pick(0, n - 1);
      const char lu = "LUB"[pick(0, 2)];
      double lo = 0.0, up = 0.0;
      VLTgetlb(env_, lp, &lo, j, j);
      VLTgetub(env_, lp, &up, j, j);
      double v = near(x[j]);
      // Mostly bounds that leave the column a value.
      if (pick(0, 9) != 0) {
        if (lu == 'U' && lpcheck::finite(lo)) v = std::max(v, lo);
        if (lu == 'L' && lpcheck::finite(up)) v = std::min(v, up);
      }
      if (pick(0, 9) == 0) v = lu == 'U' ? 1e20 : -1e20;
      if (lu == 'B' && !lpcheck::finite(v)) v = 0.0;
      VLTchgbds(env_, lp, 1, &j, &lu, &v);
      std::snprintf(buf, sizeof buf, " chgbds(%d,%c,%g)", j, lu, v);
    } else if (kind < 50 && n > 0) {
      const int j = pick(0, n - 1);
      double v = pick(-6, 6) + (pick(0, 2) == 0 ? pick(-99999, 99999) / 1e5 : 0.0);
      VLTchgobj(env_, lp, 1, &j, &v);
      std::snprintf(buf, sizeof buf, " chgobj(%d,%.17g)", j, v);
    } else if (kind < 65 && m > 0) {
      const int i = pick(0, m - 1);
      double r = 0.0;
      VLTgetrhs(env_, lp, &r, i, i);
      double v = near(r);
      VLTchgrhs(env_, lp, 1, &i, &v);
      std::snprintf(buf, sizeof buf, " chgrhs(%d,%g)", i, v);
    } else if (kind < 77 && n > 0) {
      // A row through the current point, moved a little so it may cut it.
      std::vector<int> ind;
      std::vector<double> val;
      double act = 0.0;
      for (int j = 0; j < n; ++j)
        if (pick(0, 99) < std::max(30, 300 / n)) {
          ind.push_back(j);
          val.push_back(coef());
          act += val.back() * x[j];
        }
      const char sense = "LGE"[pick(0, 2)];
      double rhs = std::round(act) + pick(-2, 2);
      int beg = 0;
      VLTaddrows(env_, lp, 0, 1, static_cast<int>(ind.size()), &rhs, &sense, &beg,
                 ind.empty() ? nullptr : ind.data(), val.empty() ? nullptr : val.data(), nullptr,
                 nullptr);
      std::snprintf(buf, sizeof buf, " addrow(%c,%g,%zu nz)", sense, rhs, ind.size());
    } else if (kind < 86 && n > 0 && m > 0) {
      // A coefficient changed, set to zero now and then.
      const int i = pick(0, m - 1), j = pick(0, n - 1);
      const double v = pick(0, 4) == 0 ? 0.0 : coef();
      VLTchgcoef(env_, lp, i, j, v);
      std::snprintf(buf, sizeof buf, " chgcoef(%d,%d,%g)", i, j, v);
    } else if (kind < 91 && m > 1) {
      const int i = pick(0, m - 1);
      VLTdelrows(env_, lp, i, i);
      std::snprintf(buf, sizeof buf, " delrow(%d)", i);
    } else if (kind < 94 && n > 1) {
      const int j = pick(0, n - 1);
      VLTdelcols(env_, lp, j, j);
      std::snprintf(buf, sizeof buf, " delcol(%d)", j);
    } else {
      std::vector<int> ind;
      std::vector<double> val;
      for (int i = 0; i < m; ++i)
        if (pick(0, 99) < std::max(30, 200 / std::max(m, 1))) {
          ind.push_back(i);
          val.push_back(coef());
        }
      double obj = pick(-6, 6), lb = pick(0, 3) == 0 ? -1e20 : 0.0;
      double ub = pick(0, 2) == 0 ? pick(0, 9) : 1e20;
      int beg = 0;
      VLTaddcols(env_, lp, 1, static_cast<int>(ind.size()), &obj, &beg,
                 ind.empty() ? nullptr : ind.data(), val.empty() ? nullptr : val.data(), &lb,
                 &ub, nullptr);
      std::snprintf(buf, sizeof buf, " addcol(%g,[%g,%g],%zu nz)", obj, lb, ub, ind.size());
    }
    return buf;
  }

  // Checks one answer on its own; returns a description of what failed.
  std::string check(VLTLPptr lp, const lpcheck::model &md, int stat) {
    char buf[200];
    const int n = md.n, m = md.m;
    if (stat == kOptimal || stat == kUnbounded) {
      int method, type, pfeas, dfeas;
      VLTsolninfo(env_, lp, &method, &type, &pfeas, &dfeas);
      std::vector<double> x(n, 0.0), pi(m, 0.0);
      if (n) VLTgetx(env_, lp, x.data(), 0, n - 1);
      if (m) VLTgetpi(env_, lp, pi.data(), 0, m - 1);
      const double pv = lpcheck::primal_violation(md, x, true);
      if (!pfeas || pv > kPrimalTol) {
        std::snprintf(buf, sizeof buf, "status %d point: pfeas %d violation %.3g", stat, pfeas, pv);
        return buf;
      }
      if (stat == kOptimal) {
        if (md.objsen == -1)
          for (double &v : pi) v = -v;
        const double dv = lpcheck::dual_violation(md, x, pi, 1e-7);
        if (dv > kDualTol) {
          std::snprintf(buf, sizeof buf, "optimal duals: violation %.3g", dv);
          return buf;
        }
      } else {
        std::vector<double> r(n, 0.0);
        double cr = 0.0;
        const int rs = VLTgetray(env_, lp, r.data());
        const double rv = rs ? 1e300 : lpcheck::ray_violation(md, r, &cr);
        if (rs || rv > kPrimalTol || cr >= -1e-9) {
          std::snprintf(buf, sizeof buf, "unbounded ray: call %d violation %.3g cost %.3g", rs, rv, cr);
          return buf;
        }
      }
    } else if (stat == kInfeasible) {
      for (int j = 0; j < n; ++j)
        if (md.lb[j] > md.ub[j]) return "";  // the bounds contradict each other
      const double gap = farkas(lp, md);
      if (!(gap > 0.0)) {
        std::snprintf(buf, sizeof buf, "infeasible: no valid Farkas proof (gap %.3g)", gap);
        return buf;
      }
    }
    return "";
  }

  // Gap of the Farkas proof of an infeasible answer.  An answer of the
  // primal method keeps no proof: a fresh copy solved by the dual must then
  // prove the same verdict.
  double farkas(VLTLPptr lp, const lpcheck::model &md) {
    std::vector<double> y(md.m, 0.0);
    double proof = 0.0;
    if (VLTdualfarkas(env_, lp, y.data(), &proof) == 0) return lpcheck::farkas_gap(md, y);
    int st = 0;
    VLTLPptr copy = VLTcloneprob(env_, lp, &st);
    if (copy == nullptr) return -1e300;
    int method = 0;
    VLTgetintparam(env_, VLT_PARAM_LPMETHOD, &method);
    double gap = -1e300;
    if (VLTdualopt(env_, copy) == 0 && VLTgetstat(env_, copy) == kInfeasible &&
        VLTdualfarkas(env_, copy, y.data(), &proof) == 0)
      gap = lpcheck::farkas_gap(md, y);
    VLTfreeprob(env_, &copy);
    return gap;
  }

  // With WARM_DUMP set, the model of each of the first disagreements is
  // written to <WARM_DUMP><k>.mps for a look with other tools.
  void dump(VLTLPptr cold) {
    const char *d = std::getenv("WARM_DUMP");
    if (d == nullptr || t_.failures.size() > 20) return;
    const std::string f = std::string(d) + std::to_string(t_.failures.size()) + ".mps";
    VLTwriteprob(env_, cold, f.c_str(), nullptr);
  }

  void compare(VLTLPptr warm, VLTLPptr cold, const std::string &where) {
    ++t_.compared;
    const size_t before = t_.failures.size();
    compare_checks(warm, cold, where);
    if (t_.failures.size() != before) dump(cold);
  }

  void compare_checks(VLTLPptr warm, VLTLPptr cold, const std::string &where) {
    const lpcheck::model md = lpcheck::from_api(env_, cold);
    const int ws = VLTgetstat(env_, warm), cs = VLTgetstat(env_, cold);
    char buf[200];
    if (ws != cs) {
      std::snprintf(buf, sizeof buf, " status warm %d cold %d", ws, cs);
      t_.fail(where + buf);
      return;
    }
    if (ws == kOptimal) ++t_.optimal;
    else if (ws == kInfeasible) ++t_.infeasible;
    else if (ws == kUnbounded) ++t_.unbounded;
    else {
      std::snprintf(buf, sizeof buf, " unexpected status %d", ws);
      t_.fail(where + buf);
      return;
    }
    if (ws == kOptimal) {
      double ow = 0.0, oc = 0.0;
      VLTgetobjval(env_, warm, &ow);
      VLTgetobjval(env_, cold, &oc);
      if (std::fabs(ow - oc) > kObjTol * std::max({1.0, std::fabs(ow), std::fabs(oc)})) {
        std::snprintf(buf, sizeof buf, " objective warm %.17g cold %.17g", ow, oc);
        t_.fail(where + buf);
        return;
      }
    }
    std::string w = check(warm, md, ws);
    if (!w.empty()) {
      t_.fail(where + " warm " + w);
      return;
    }
    std::string c = check(cold, md, cs);
    if (!c.empty()) t_.fail(where + " cold " + c);
  }
};

// Every solving setup: the three calls, the automatic and both methods
// through VLTlpopt, presolve on and off.
inline std::vector<setup> all_setups() {
  std::vector<setup> out;
  for (int pre = 0; pre <= 1; ++pre) {
    for (int lm = 0; lm <= 2; ++lm) out.push_back({kLpopt, lm, pre});
    out.push_back({kPrimopt, 0, pre});
    out.push_back({kDualopt, 0, pre});
  }
  return out;
}

// Sequences on random models, seeds [first, last], the setups in turn.
inline void run_random(VLTENVptr env, unsigned first, unsigned last, int steps, tally &t) {
  const std::vector<setup> setups = all_setups();
  for (unsigned seed = first; seed <= last; ++seed) {
    runner r(env, seed, t);
    VLTLPptr lp = r.random_model();
    if (lp == nullptr) {
      t.fail("random seed " + std::to_string(seed) + ": model not loaded");
      continue;
    }
    r.sequence(lp, setups[seed % setups.size()], steps, "random seed " + std::to_string(seed));
    VLTfreeprob(env, &lp);
  }
}

// `per` sequences on each Netlib model of `names` found under `dir`; seed
// k of the f-th model found is mult * (k + 1) + f.  Returns the count found.
inline int run_netlib(VLTENVptr env, const std::string &dir, const std::vector<std::string> &names,
                      unsigned per, unsigned mult, int steps, tally &t) {
  const std::vector<setup> setups = all_setups();
  int found = 0;
  for (const std::string &name : names) {
    const std::string path = dir + "/netlib/" + name + ".mps.gz";
    if (FILE *f = std::fopen(path.c_str(), "rb")) std::fclose(f);
    else continue;
    ++found;
    for (unsigned k = 0; k < per; ++k) {
      const unsigned seed = mult * (k + 1) + found;
      runner r(env, seed, t);
      int st = 0;
      VLTLPptr lp = VLTcreateprob(env, &st, name.c_str());
      if (lp == nullptr || VLTreadcopyprob(env, lp, path.c_str(), nullptr) != 0) {
        t.fail(path + ": not read");
        if (lp) VLTfreeprob(env, &lp);
        continue;
      }
      r.sequence(lp, setups[k % setups.size()], steps, name + " seed " + std::to_string(seed));
      VLTfreeprob(env, &lp);
    }
  }
  return found;
}

// The disagreements one per line, and the volume.
inline std::string summary(const tally &t) {
  std::string all;
  for (const std::string &f : t.failures) all += "\n  " + f;
  char b[200];
  std::snprintf(b, sizeof b, "\n%ld sequences, %ld solves, %ld compared (%ld optimal, %ld infeasible, %ld unbounded)",
                t.sequences, t.solves, t.compared, t.optimal, t.infeasible, t.unbounded);
  return all + b;
}

}  // namespace warmdiff
