// Diving: passes that fix integer columns of the work copy and re-solve it
// warm, until the point is integral or the dive fails.  Three flavours of
// a pass: a rule-driven one (one fractional column by the fractional,
// locks, guided or pseudocost rule, and some integral ones), a randomized
// one, and the final rounding of everything to the nearest integer.
#include <algorithm>
#include <cmath>

#include "env/par.h"
#include "mip/mipheur.h"

namespace velto {

namespace {

enum { kDiveFrac = 0, kDiveLocks, kDiveGuided, kDivePcost, kDiveRules };

// Row locks of column j: rows that keep it from moving down / up.
void locks(const heurstate &hs, int j, int *down, int *up) {
  *down = *up = 0;
  for (int k = hs.cbeg[j]; k < hs.cbeg[j + 1]; ++k) {
    int i = hs.cind[k];
    bool lo = hs.rlo[i] > -1e20, hi = hs.rhi[i] < 1e20;
    if (hs.cval[k] > 0) *down += lo, *up += hi;
    else *down += hi, *up += lo;
  }
}

struct diver {
  heurcall &hc;
  miprun &r;
  heurstate &hs;
  std::vector<double> hl, hu, x;
  std::vector<int> idx;
  std::vector<double> val;
  double ep;
  int rule = kDiveFrac;
  std::uniform_real_distribution<double> unif{0.0, 1.0};

  explicit diver(heurcall &c)
      : hc(c), r(*c.r), hs(*c.hs), hl(c.lb), hu(c.ub), x(c.x), ep(c.r->ctl.epint) {}
  bool open(int j) const { return r.ctype[j] != 'C' && hu[j] - hl[j] > ep && std::fabs(x[j]) < 2.1e9; }
  void fix(int j, double v) {
    v = std::clamp(v, hl[j], hu[j]);
    hl[j] = hu[j] = v;
    idx.push_back(j), val.push_back(v);
  }
  double frac(int j) const { return x[j] - std::floor(x[j] + ep); }
  bool fractional(int j) const {
    double f = frac(j);
    return f > ep && f < 1 - ep;
  }
  // The fractional column of the rule and its direction (+1 up, -1 down).
  int choose(int *dir) {
    int best = -1;
    double bs = 1e75;
    const incumbent &inc = *r.inc;
    for (int j = 0; j < r.n; ++j) {
      if (!open(j) || !fractional(j)) continue;
      double f = frac(j), s = 0;
      int d = f >= 0.5 ? 1 : -1;
      switch (rule) {
        case kDiveFrac:
          s = std::min(f, 1 - f);
          break;
        case kDiveLocks: {
          int ld = 0, lu = 0;
          locks(hs, j, &ld, &lu);
          d = ld < lu ? -1 : lu < ld ? 1 : d;
          s = std::min(ld, lu) + std::min(f, 1 - f);
          break;
        }
        case kDiveGuided: {
          double g = inc.x[j];
          d = g >= x[j] ? 1 : -1;
          s = std::fabs(x[j] - g);
          break;
        }
        default: {
          const bbstate &bb = *r.bb;
          double pd = j < static_cast<int>(bb.pcdown.size()) ? bb.pcdown[j] * f : f;
          double pu = j < static_cast<int>(bb.pcup.size()) ? bb.pcup[j] * (1 - f) : 1 - f;
          d = pd <= pu ? -1 : 1;
          s = std::min(pd, pu) / (std::max(pd, pu) + 1e-12);
          break;
        }
      }
      if (s < bs) bs = s, best = j, *dir = d;
    }
    return best;
  }
  // One pass of flavour 0 (rule), 1 (random) or 2 (nearest); returns the
  // count of fractional columns fixed, -1 when nothing was fixed.
  int pass(int flavour) {
    idx.clear(), val.clear();
    int fracfixed = 0;
    if (flavour == 0) {
      int dir = 0;
      int j = choose(&dir);
      if (j >= 0) fix(j, dir > 0 ? std::ceil(x[j]) : std::floor(x[j])), ++fracfixed;
    }
    for (int j = 0; j < r.n; ++j) {
      if (!open(j)) continue;
      double f = frac(j);
      double damp = r.ctype[j] == 'I' ? 0.5 : 1.0;
      if (flavour == 2) {
        fracfixed += fractional(j);
        fix(j, f <= ep || f >= 1 - ep ? std::floor(x[j] + 0.5) : f < 0.5 ? std::floor(x[j] + 0.5)
                                                                          : std::floor(x[j]) + 1);
      } else if (!fractional(j)) {
        if (unif(hs.rng) < (flavour == 0 ? 0.3 : 0.8) * damp) fix(j, std::floor(x[j] + 0.5));
      } else if (flavour == 1 && unif(hs.rng) < 0.2 * damp) {
        fix(j, unif(hs.rng) < f ? std::floor(x[j]) + 1 : std::floor(x[j]));
        ++fracfixed;
      }
    }
    if (idx.empty()) return -1;
    return fracfixed;
  }
};

}  // namespace

int divemix(heurcall &hc) {
  miprun &r = *hc.r;
  heurstate &hs = *hc.hs;
  hc.found = 0;
  int st = heurreset(hc);
  if (st) return st;
  diver dv(hc);
  const int start = heuriinf(hc, hc.x);
  if (start == 0) return 0;
  const double bound = r.inc->cutoff;
  int flavour = dv.unif(hs.rng) < hs.divebias ? 1 : 0;
  bool used1 = flavour == 1;
  dv.rule = static_cast<int>(dv.unif(hs.rng) * static_cast<double>(kDiveRules)) % kDiveRules;
  if (dv.rule == kDiveGuided && (r.inc->solnseq < 0 || !r.inc->havex)) dv.rule = kDiveFrac;
  int rounds = 0;
  const int maxrounds = 2 * start + 20;
  for (;;) {
    int fixed = dv.pass(flavour);
    if (fixed < 0) return 0;
    ++rounds;
    if ((st = heurbounds(hc, dv.idx, dv.val, dv.val)) != 0) return st;
    double obj = 0.0;
    if (!heursolve(hc, &obj) || obj > bound) return 0;
    heurgetx(hc, dv.x);
    int viol = heuriinf(hc, dv.x);
    if (viol == 0) {
      st = heurcheck(hc, "diving", obj);
      if (hc.found && rounds >= 2 && hs.divebias > 1e-10)
        hs.divebias = std::min(hs.divebias * (used1 ? 1.1 : 0.9), 1.0);
      return st;
    }
    if (viol > start || rounds > maxrounds) return 0;
    if (fixed > start) {
      if (flavour == 2) return 0;
      flavour = 2;
    }
  }
}

}  // namespace velto
