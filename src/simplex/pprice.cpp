// Primal pricing: partial list, devex, steepest edge and full pricing.
#include <algorithm>
#include <cmath>

#include "simplex/pengine.h"

namespace velto {

namespace {

// Largest ratio of nonbasic matrix nonzeros to factor nonzeros at which the
// pivot row is cheap enough for devex pricing.
constexpr double kPartialRowShare = 16.0;

// Partial list length by structural columns n and rows m.
int partial_size(int n, int m) {
  if (n < 20 * m) {
    if (n < 100) return 5;
    if (n < 500) return 10;
    if (n < 1000) return 15;
    if (n < 2000) return 20;
    if (n < 5000) return 30;
    return 60;
  }
  static const int lim[] = {1000, 10000, 20000, 30000, 40000, 60000, 80000,
                            120000, 160000, 200000};
  static const int val[] = {5, 10, 20, 25, 30, 35, 40, 45, 50, 55};
  for (int k = 0; k < 10; ++k)
    if (n < lim[k]) return val[k];
  return 60;
}

}  // namespace

double pengine::dj_fresh(int j) const {
  double c = phase == 1 ? 0.0 : p.cost[j];
  return c - coldot(j, pi.data());
}

void pengine::devex_reset() {
  w.assign(nt, 1.0);
  refset.assign(nt, 0);
  for (int j = 0; j < nt; ++j) refset[j] = pos[j] < 0;
}

void pengine::price_init() {
  plist.clear();
  pscore.clear();
  if (pricing == kPriceAuto || pricing == kPricePartialOnly) {
    if (opt.pricelim > 0) listmax = std::min(opt.pricelim, nt);
    else listmax = partial_size(n, m);
    listmax = std::max(listmax, 1);
    listcap = listmax;
    nsect = std::max(1, n / listmax);
    cursect = 0;
    return;
  }
  if (pricing == kPriceDevex) {
    devex_reset();
    return;
  }
  w.assign(nt, 1.0);
  if (pricing == kPriceDantzig) return;
  bool slackbasis = true;
  for (int k = 0; k < m && slackbasis; ++k) slackbasis = b.head[k] >= n;
  if (pricing == kPriceSteepestSlack || slackbasis) {
    for (int j = 0; j < n; ++j) {
      if (pos[j] >= 0) continue;
      double s = 1.0;
      for (int t = p.cbeg[j]; t < p.cbeg[j + 1]; ++t) s += p.cval[t] * p.cval[t];
      w[j] = s;
    }
    for (int j = n; j < nt; ++j) w[j] = pos[j] >= 0 ? 1.0 : 2.0;
    return;
  }
  logf("Initializing primal norms . . .\n");
  for (int j = 0; j < nt; ++j) {
    if (pos[j] >= 0) continue;
    col.clear();
    column(j, col);
    ftran(col);
    double s = 1.0;
    for (int t = 0; t < col.nnz; ++t) s += col.val[col.ind[t]] * col.val[col.ind[t]];
    w[j] = s;
    col.clear();
  }
}

// Partial pricing keeps no reduced costs: it computes them from pi for a
// short list of candidates refilled section by section.
static int partial_select(pengine &e, double tol, std::vector<char> &inlist) {
  auto attractive = [&](int j, double dj) -> double {
    if (e.p.lb[j] == e.p.ub[j]) return 0.0;
    switch (e.b.stat[j]) {
      case kAtLower: return dj < -tol ? -dj : 0.0;
      case kAtUpper: return dj > tol ? dj : 0.0;
      case kFree: return std::fabs(dj) > tol ? std::fabs(dj) : 0.0;
      default: return 0.0;
    }
  };
  // Refresh the members.
  size_t k = 0;
  for (size_t t = 0; t < e.plist.size(); ++t) {
    int j = e.plist[t];
    double dj = 0.0;
    if (e.pos[j] < 0 && !e.mark[j]) dj = e.dj_fresh(j);
    if (e.pos[j] < 0 && !e.mark[j] && attractive(j, dj) > 0.0) {
      e.d[j] = dj;
      e.plist[k++] = j;
    } else {
      inlist[j] = 0;
    }
  }
  e.plist.resize(k);
  // Fill from the sections.
  int walked = 0;
  while ((int)e.plist.size() <= e.listcap && walked < e.nsect) {
    for (int j = e.cursect; j < e.nt; j += e.nsect) {
      if (e.pos[j] >= 0 || e.mark[j] || inlist[j]) continue;
      double dj = e.dj_fresh(j);
      if (attractive(j, dj) > 0.0) {
        e.d[j] = dj;
        e.plist.push_back(j);
        inlist[j] = 1;
      }
    }
    e.cursect = (e.cursect + 1) % e.nsect;
    ++walked;
  }
  if (walked >= e.nsect && (int)e.plist.size() <= e.listcap)
    e.listcap = std::max(2, e.listcap - 1);
  int best = -1;
  double bestscore = 0.0;
  for (int j : e.plist) {
    double a = attractive(j, e.d[j]);
    if (e.b.stat[j] == kFree && a > 1e-5) a += 1e10;
    if (a > bestscore) { bestscore = a; best = j; }
  }
  return best;
}

int pengine::price_select(double tol) {
  if (pricing == kPriceAuto || pricing == kPricePartialOnly) {
    static thread_local std::vector<char> inlist;
    if ((int)inlist.size() != nt) inlist.assign(nt, 0);
    for (int j : plist) inlist[j] = 1;
    int q = partial_select(*this, tol, inlist);
    for (int j : plist) inlist[j] = 0;
    return q;
  }
  int best = -1, bestfree = -1;
  double bestscore = 0.0, bestfreed = 1e-5;
  const bool weighted = pricing != kPriceDantzig;
  for (int j = 0; j < nt; ++j) {
    if (pos[j] >= 0 || mark[j]) continue;
    double dj = d[j], a;
    switch (b.stat[j]) {
      case kAtLower:
        if (dj >= -tol) continue;
        a = -dj;
        break;
      case kAtUpper:
        if (dj <= tol) continue;
        a = dj;
        break;
      default:
        a = std::fabs(dj);
        if (a <= tol) continue;
        if (a > bestfreed) { bestfreed = a; bestfree = j; }
        break;
    }
    if (p.lb[j] == p.ub[j]) continue;
    double s = weighted ? a * a / w[j] : a;
    if (s > bestscore) { bestscore = s; best = j; }
  }
  return bestfree >= 0 ? bestfree : best;
}

// Weight update after a pivot: q enters at position r, `leaving` goes out,
// alpha_r is the pivot; col holds the pivot column, arow the pivot row and,
// for steepest edge, tau = B^-T alpha.
void pengine::price_update_weights(int q, int r, int leaving, double alpha_r) {
  if (pricing == kPriceDevex) {
    double wq = std::max(w[q], 1.0);
    double t = refset[q] ? 1.0 : 0.0;
    for (int s = 0; s < col.nnz; ++s) {
      int k = col.ind[s];
      if (refset[b.head[k]]) t += col.val[k] * col.val[k];
    }
    bool reset = wq > 3.0 * std::max(t, 1.0);
    for (int s = 0; s < arownnz; ++s) {
      int j = arowind[s];
      if (pos[j] >= 0 || j == q) continue;
      double ratio = arow[j] / alpha_r;
      double c = ratio * ratio * wq;
      if (c > w[j]) w[j] = c;
    }
    w[leaving] = std::max(wq / (alpha_r * alpha_r), 1.0);
    (void)r;
    if (reset) {
      // The reference framework has drifted: start a new one once the basis
      // change is complete (done by the caller through devex_reset).
      w[q] = -1.0;
    }
    return;
  }
  if (pricing == kPriceSteepest || pricing == kPriceSteepestSlack) {
    double gq = 1.0;
    for (int s = 0; s < col.nnz; ++s) gq += col.val[col.ind[s]] * col.val[col.ind[s]];
    for (int s = 0; s < arownnz; ++s) {
      int j = arowind[s];
      if (pos[j] >= 0 || j == q) continue;
      double ratio = arow[j] / alpha_r;
      if (ratio == 0.0) continue;
      double g = w[j] - 2.0 * ratio * coldot(j, tau.val.data()) + ratio * ratio * gq;
      w[j] = std::max(g, 1.0 + ratio * ratio);
    }
    w[leaving] = std::max(gq / (alpha_r * alpha_r), 1.0 + 1.0 / (alpha_r * alpha_r));
  }
}

// Partial pricing saves the pivot row, a product over the nonbasic part of
// the matrix (a nonzeros), and pays in iterations: on many models it takes
// half again to twice as many as devex.  Each iteration
// solves with the factor (b nonzeros) either way, so once a is within an
// order of magnitude of b the row costs less than the iterations it saves.
bool pengine::price_switch_test() {
  if (pricing != kPriceAuto) return false;
  double a = matrixnz - basisnz;
  double bb = (double)fac->lunz + 1e-10;
  double r = itcnt / (nt + 1e-10);
  return (perturbed && a < 5.0 * bb) || (phase == 2 && 4.0 * a < 9.0 * bb) ||
         (m >= 1000 && 3.0 * a < 2.0 * bb) || (a / bb < 2.0 * r) ||
         a < kPartialRowShare * bb;
}

}  // namespace velto
