// Fix and propagate: integer columns are fixed list by list, each fixing
// propagated through the rows' activity bounds with a trail that undoes a
// failed choice, and the work copy is re-solved after each round.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "env/par.h"
#include "mip/mipheur.h"

namespace velto {

namespace {

// Bound propagation over the model's rows on local bounds hl, hu.
struct propagator {
  const heurstate &hs;
  const char *ctype;
  std::vector<double> hl, hu;
  double ep, tol;
  std::vector<int> trailj;
  std::vector<double> traill, trailu;
  std::vector<char> inq;
  std::vector<int> queue;
  long long work = 0, cap = 0;

  propagator(const heurstate &s, const std::vector<double> &lb, const std::vector<double> &ub,
             double epint, double eprhs)
      : hs(s), ctype(s.ctype), hl(lb.begin(), lb.begin() + s.n), hu(ub.begin(), ub.begin() + s.n),
        ep(epint), tol(eprhs), inq(s.m, 0) {
    cap = 10LL * static_cast<long long>(s.cind.size()) + 20000;
  }
  bool open(int j) const { return hu[j] - hl[j] > ep; }
  void enqueue(int j) {
    for (int k = hs.cbeg[j]; k < hs.cbeg[j + 1]; ++k) {
      int i = hs.cind[k];
      if (!inq[i]) inq[i] = 1, queue.push_back(i);
    }
  }
  void enqueueall() {
    for (int i = 0; i < hs.m; ++i)
      if (!inq[i]) inq[i] = 1, queue.push_back(i);
  }
  // Sets the bounds of column j; false when they cross.
  bool set(int j, double l, double u) {
    if (ctype[j] != 'C') l = std::ceil(l - ep), u = std::floor(u + ep);
    l = std::max(l, hl[j]), u = std::min(u, hu[j]);
    if (l > u + ep) return false;
    if (l <= hl[j] && u >= hu[j]) return true;
    trailj.push_back(j), traill.push_back(hl[j]), trailu.push_back(hu[j]);
    hl[j] = l, hu[j] = std::max(u, l);
    enqueue(j);
    return true;
  }
  void undo(size_t mark) {
    while (trailj.size() > mark) {
      int j = trailj.back();
      hl[j] = traill.back(), hu[j] = trailu.back();
      trailj.pop_back(), traill.pop_back(), trailu.pop_back();
    }
    for (int i : queue) inq[i] = 0;
    queue.clear();
  }
  // Propagates the queued rows; false on infeasibility (the queue is then
  // empty, the bounds as far as they came).
  bool run() {
    const rowcopy &rc = *hs.rc;
    bool ok = true;
    size_t head = 0;
    while (ok && head < queue.size()) {
      int i = queue[head++];
      inq[i] = 0;
      double mn = 0, mx = 0;
      int infmn = 0, infmx = 0;
      const int b = rc.rowbeg[i], e = rc.rowend[i];
      work += e - b;
      for (int k = b; k < e; ++k) {
        int j = rc.rowind[k];
        double a = rc.rowval[k];
        double lo = a > 0 ? hl[j] : hu[j], hi = a > 0 ? hu[j] : hl[j];
        if (std::fabs(lo) >= 1e20) ++infmn; else mn += a * lo;
        if (std::fabs(hi) >= 1e20) ++infmx; else mx += a * hi;
      }
      const double rlo = hs.rlo[i], rhi = hs.rhi[i];
      if ((infmn == 0 && rhi < 1e20 && mn > rhi + tol * (1 + std::fabs(rhi))) ||
          (infmx == 0 && rlo > -1e20 && mx < rlo - tol * (1 + std::fabs(rlo)))) {
        ok = false;
        break;
      }
      if (work > cap) continue;
      for (int k = b; k < e && ok; ++k) {
        int j = rc.rowind[k];
        double a = rc.rowval[k];
        double lo = a > 0 ? hl[j] : hu[j], hi = a > 0 ? hu[j] : hl[j];
        double nl = -1e75, nu = 1e75;
        if (rhi < 1e20) {
          bool loinf = std::fabs(lo) >= 1e20;
          if (infmn == 0 || (infmn == 1 && loinf)) {
            double rest = loinf ? mn : mn - a * lo;
            double v = (rhi - rest) / a;
            if (a > 0) nu = std::min(nu, v); else nl = std::max(nl, v);
          }
        }
        if (rlo > -1e20) {
          bool hiinf = std::fabs(hi) >= 1e20;
          if (infmx == 0 || (infmx == 1 && hiinf)) {
            double rest = hiinf ? mx : mx - a * hi;
            double v = (rlo - rest) / a;
            if (a > 0) nl = std::max(nl, v); else nu = std::min(nu, v);
          }
        }
        if (ctype[j] == 'C') {
          // continuous bounds only on a clear gain, for the rows' sake
          double s = 1e-7 * (1 + std::fabs(hu[j] - hl[j] < 1e20 ? hu[j] - hl[j] : 1.0));
          if (!(nl > hl[j] + s)) nl = -1e75;
          if (!(nu < hu[j] - s)) nu = 1e75;
        } else {
          nl -= 1e-9 * (1 + std::fabs(nl));
          nu += 1e-9 * (1 + std::fabs(nu));
        }
        if (nl > -1e20 || nu < 1e20) ok = set(j, std::max(nl, hl[j]), std::min(nu, hu[j]));
      }
    }
    for (size_t k = head; k < queue.size(); ++k) inq[queue[k]] = 0;
    queue.clear();
    return ok;
  }
};

struct entry {
  int j;
  double key;
  int code;  // 1 up, -1 down, 0 the nearer side
};

// The fix step over one list: returns false when a failure stands.
bool fixlist(propagator &pp, std::vector<entry> &list, const std::vector<double> &x, int limit,
             int *fixed, const char *ctype) {
  std::stable_sort(list.begin(), list.end(),
                   [](const entry &a, const entry &b) { return a.key < b.key; });
  int fails = 0;
  for (const entry &en : list) {
    if (*fixed >= limit) return true;
    if (pp.work > pp.cap) return false;  // the method's share of work is spent
    const int j = en.j;
    if (!pp.open(j)) continue;
    double v = std::clamp(x[j], pp.hl[j], pp.hu[j]);
    double dn = std::floor(v + pp.ep), up = std::ceil(v - pp.ep);
    bool goup = en.code > 0 || (en.code == 0 && v - dn >= 0.5);
    size_t mark = pp.trailj.size();
    double t = goup ? up : dn;
    bool ok = pp.set(j, t, t) && pp.run();
    if (!ok) {
      pp.undo(mark);
      if (++fails > 10) return false;
      t = goup ? dn : up;
      if (t == (goup ? up : dn)) return false;
      ok = pp.set(j, t, t) && pp.run();
      if (!ok) {
        pp.undo(mark);
        return false;
      }
    }
    for (size_t k = mark; k < pp.trailj.size(); ++k) {
      int c = pp.trailj[k];
      if (ctype[c] != 'C' && pp.hu[c] - pp.hl[c] <= pp.ep) ++*fixed;
    }
  }
  return true;
}

}  // namespace

int fixheur(heurcall &hc, int mode) {
  miprun &r = *hc.r;
  heurstate &hs = *hc.hs;
  const int n = r.n;
  const double ep = r.ctl.epint;
  hc.found = 0;
  propagator pp(hs, hc.lb, hc.ub, ep, r.e->params->eprhs);
  pp.enqueueall();
  if (!pp.run()) return 0;
  // The propagation's work goes to the budget as iterations (one a pass
  // over the columns).
  struct booking {
    heurcall &hc;
    const propagator &pp;
    ~booking() { hc.iters += pp.work / std::max(hc.r->n, 1); }
  } book{hc, pp};
  int st = heurreset(hc);
  if (st) return st;
  std::vector<double> x = hc.x, dj = hc.dj;
  std::uniform_real_distribution<double> unif(0.0, 1.0);
  int intcols = 0;
  for (int j = 0; j < n; ++j) intcols += r.ctype[j] != 'C';
  double base = hc.obj;
  for (int round = 0;; ++round) {
    int left = 0;
    for (int j = 0; j < n; ++j) left += r.ctype[j] != 'C' && pp.open(j);
    int limit = mode == 1 ? std::max(left / 20, 5) : mode == 3 ? std::max(left / 10, 10) : 2100000000;
    int m = mode;
    if (round >= std::min(left, 20)) limit = 2100000000, m = 0;
    int fixed = 0;
    bool ok = true;
    // Reduced-cost fixing under the gap.
    double gap = r.inc->cutoff < 1e75 ? r.inc->cutoff - base : 1e75;
    if (gap < 1e75) {
      std::vector<entry> rcl;
      for (int j = 0; j < n; ++j) {
        if (r.ctype[j] == 'C' || !pp.open(j)) continue;
        if (dj[j] > gap && x[j] <= pp.hl[j] + ep) rcl.push_back({j, 0.0, -1});
        else if (-dj[j] > gap && x[j] >= pp.hu[j] - ep) rcl.push_back({j, 0.0, 1});
      }
      ok = fixlist(pp, rcl, x, 2100000000, &fixed, r.ctype);
    }
    auto costlist = [&]() {
      std::vector<entry> l;
      for (int j = 0; j < n; ++j)
        if (r.ctype[j] != 'C' && pp.open(j) && std::fabs(dj[j]) > 1e-9 && std::fabs(x[j]) < 2.1e9)
          l.push_back({j, -std::fabs(dj[j]), 0});
      return l;
    };
    auto fraclist = [&]() {
      std::vector<entry> l;
      for (int j = 0; j < n; ++j) {
        if (r.ctype[j] == 'C' || !pp.open(j) || std::fabs(x[j]) >= 2.1e9) continue;
        double f = x[j] - std::floor(x[j] + ep);
        double key = std::min(f, 1 - f);
        if (key > ep) l.push_back({j, key, 0});
      }
      return l;
    };
    auto restlist = [&]() {
      std::vector<entry> l;
      for (int j = 0; j < n; ++j)
        if (r.ctype[j] != 'C' && pp.open(j)) l.push_back({j, unif(hs.rng), 0});
      return l;
    };
    auto valuelist = [&]() {
      std::vector<entry> l;
      double fmax = -1, fmin = 2;
      for (int j = 0; j < n; ++j) {
        if (r.ctype[j] == 'C' || !pp.open(j) || std::fabs(x[j]) >= 2.1e9) continue;
        double f = x[j] - std::floor(x[j] + ep);
        if (f <= ep) continue;
        fmax = std::max(fmax, f), fmin = std::min(fmin, f);
      }
      for (int j = 0; j < n; ++j) {
        if (r.ctype[j] == 'C' || !pp.open(j) || std::fabs(x[j]) >= 2.1e9) continue;
        double f = x[j] - std::floor(x[j] + ep);
        if (f > ep && f == fmax) l.push_back({j, -1e75, 1});
        else if (f > ep && f == fmin) l.push_back({j, -1e75, -1});
        else if (f <= ep) l.push_back({j, -dj[j], 0});
      }
      return l;
    };
    std::vector<std::vector<entry>> lists;
    if (m == 2) lists.push_back(valuelist());
    else if (m == 3) lists = {fraclist(), costlist(), restlist()};
    else lists = {costlist(), fraclist(), restlist()};
    for (auto &l : lists) {
      if (!ok || fixed >= limit) break;
      ok = fixlist(pp, l, x, limit, &fixed, r.ctype);
    }
    if (!ok) return 0;
    // The least objective over the local bounds.
    double lo = r.p->core->objoffset * r.ctl.objsen;
    for (int j = 0; j < n && lo > -1e74; ++j) {
      double c = hs.obj[j];
      if (c == 0) continue;
      double b = c > 0 ? pp.hl[j] : pp.hu[j];
      lo = std::fabs(b) >= 1e20 ? -1e75 : lo + c * b;
    }
    if (lo >= r.inc->cutoff) return 0;
    std::vector<int> idx;
    std::vector<double> bl, bu;
    for (int j = 0; j < n; ++j)
      if (r.ctype[j] != 'C' && (pp.hl[j] != hc.lb[j] || pp.hu[j] != hc.ub[j]))
        idx.push_back(j), bl.push_back(pp.hl[j]), bu.push_back(pp.hu[j]);
    if ((st = heurbounds(hc, idx, bl, bu)) != 0) return st;
    double obj = 0.0;
    if (!heursolve(hc, &obj)) return 0;
    heurgetx(hc, x);
    int viol = heuriinf(hc, x);
    if (viol == 0) return heurcheck(hc, "fix and propagate", obj);
    if (fixed == 0 && limit >= 2100000000) return 0;  // nothing left to fix
    if ((mode == 2 && viol > intcols) || round + 1 > std::min(intcols, 20)) return 0;
    if (n > 0) VLTgetdj(r.e, hc.h, dj.data(), 0, n - 1);
    for (double &d : dj) d *= r.ctl.objsen;
    base = obj;
  }
}

}  // namespace velto
