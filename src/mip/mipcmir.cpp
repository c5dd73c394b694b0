// The complemented mixed-integer rounding of one row: variable upper bound
// and bound substitution, the choice of the divisor, complementation of
// integer items, the rounding, and the numerical tests of the cut.
#include <algorithm>
#include <cmath>

#include "mip/mipmir.h"

namespace velto {

namespace {

// An item of the row: column, coefficient, the distance t from the bound
// it is measured from, and how it maps back: 1 x - lb, -1 ub - x, 2 the
// slack of a variable upper bound measured from its lower bound, -2 from
// its upper bound.
struct item {
  int col;
  double a, t;
  int status;
  bool integer;
};

// The rounding function of a coefficient w for the fraction g = 1 - f0
// of the scaled rhs.
double mirf(double w, double g) {
  double fl = std::floor(w);
  double miss = 1.0 - w + fl;  // 1 - frac(w)
  return miss < g ? fl + (g - miss) / g : fl;
}

}  // namespace

void cutrelax(mircut &c, const double *lb, const double *ub, double tiny) {
  size_t k = 0;
  for (size_t p = 0; p < c.ind.size(); ++p) {
    int j = c.ind[p];
    double v = c.val[p];
    if (std::fabs(v) <= tiny) {
      // v x >= v lb (v > 0) or v ub (v < 0): the rest is at most rhs less that.
      double b = v > 0 ? lb[j] : ub[j];
      if (v == 0.0) continue;
      if (std::fabs(b) < 1e20) {
        c.rhs -= v * b;
        continue;
      }
    }
    c.ind[k] = j;
    c.val[k] = v;
    ++k;
  }
  c.ind.resize(k);
  c.val.resize(k);
}

bool cmir(const mircols &w, int n, double rhs, const int *cols, const double *vals,
          double minviol, mircut &out) {
  out.clear();
  std::vector<item> it;
  it.reserve(n + 4);
  for (int k = 0; k < n; ++k)
    if (vals[k] != 0.0) it.push_back({cols[k], vals[k], w.x[cols[k]], 1, w.type[cols[k]] != 'C'});
  // 1. A column close to its variable upper bound is replaced by the slack
  // of that bound: x = u y - s, s in [0, u].
  const size_t n0 = it.size();
  for (size_t p = 0; p < n0; ++p) {
    item &q = it[p];
    int c = q.col, k = w.link ? w.link[c] : -1;
    if (k < 0 || !(w.ub[c] < 1e20) || !(w.ub[c] * w.x[k] - 2.0 * w.x[c] < 1e-6)) continue;
    double add = q.a * w.ub[c];
    q.status = 2;
    q.a = -q.a;
    q.t = w.ub[c] * w.x[k] - w.x[c];
    q.integer = false;
    size_t f = 0;
    while (f < it.size() && !(it[f].col == k && it[f].status == 1)) ++f;
    if (f == it.size()) it.push_back({k, 0.0, w.x[k], 1, w.type[k] != 'C'});
    it[f].a += add;
  }
  it.erase(std::remove_if(it.begin(), it.end(), [](const item &q) { return q.a == 0.0; }),
           it.end());
  // 2. Every item measured from a bound: t >= 0.
  auto lo = [&](const item &q) { return std::abs(q.status) == 2 ? 0.0 : w.lb[q.col]; };
  auto hi = [&](const item &q) { return w.ub[q.col]; };
  std::vector<item> keep;
  keep.reserve(it.size());
  for (item q : it) {
    double l = lo(q), u = hi(q), xl = q.t;
    bool lfin = l > -1e20, ufin = u < 1e20;
    if (!lfin && !ufin) return false;
    if (lfin && (!ufin || l + u > 2.0 * xl)) {
      q.t = xl - l;
      rhs -= q.a * l;
    } else {
      q.t = u - xl;
      rhs -= q.a * u;
      q.a = -q.a;
      q.status = -q.status;
    }
    q.t = std::max(q.t, 0.0);
    if (!q.integer && q.a >= 0.0) continue;  // a nonnegative term only relaxes the row
    keep.push_back(q);
  }
  it.swap(keep);
  // 3. The continuous part and the candidates for the divisor.
  double s = 0.0;
  for (const item &q : it)
    if (!q.integer) s -= q.a * q.t;
  std::vector<int> cand;
  std::vector<double> key;
  for (size_t p = 0; p < it.size(); ++p) {
    const item &q = it[p];
    if (!q.integer) continue;
    double l = lo(q), u = hi(q), xv = w.x[q.col];
    if (xv - l <= 1e-5 || u - xv <= 1e-5) continue;
    cand.push_back(static_cast<int>(p));
    key.push_back(l > -1e20 && u < 1e20 ? std::fabs(2.0 * xv - l - u) : 3e20);
  }
  if (cand.empty()) return false;
  std::vector<int> order(cand.size());
  for (size_t p = 0; p < order.size(); ++p) order[p] = static_cast<int>(p);
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return key[a] < key[b]; });
  std::vector<int> cs(cand.size());
  for (size_t p = 0; p < order.size(); ++p) cs[p] = cand[order[p]];
  // 4. The divisor: a candidate's coefficient over 1, 2, 4 or 8.
  auto score = [&](double scale, double *sc) {
    double beta = scale * rhs, g = 1.0 + std::floor(beta) - beta;
    if (!(g > 0.05 && g < 0.95)) return false;
    double viol = -std::floor(beta) - scale * s / g, norm = 0.0;
    for (int p : cs) {
      double F = mirf(scale * it[p].a, g);
      viol += F * it[p].t;
      norm += F * F;
    }
    if (!(viol > 0.0) || norm <= 0.0) return false;
    *sc = viol * viol / norm;
    return true;
  };
  double best = minviol * minviol, delta = 0.0;
  for (int p : cs) {
    double a = std::fabs(it[p].a);
    if (a < 1e-9) continue;
    for (double q = 1.0; q <= 8.0; q *= 2.0) {
      double sc = 0.0;
      if (score(q / a, &sc) && sc > best) best = sc, delta = a / q;
    }
  }
  if (delta == 0.0) return false;
  const double scale = 1.0 / delta;
  // 6. Complementation of integer items that improves the score.
  for (int p : cs) {
    item &q = it[p];
    double l = lo(q), u = hi(q);
    if (!(l > -1e20 && u < 1e20)) break;
    double r = u - l;
    q.t = r - q.t;
    rhs -= q.a * r;
    q.a = -q.a;
    double sc = 0.0;
    if (score(scale, &sc) && sc > best) {
      best = sc;
      q.status = -q.status;
    } else {
      q.a = -q.a;
      rhs += q.a * r;
      q.t = r - q.t;
    }
  }
  // 7. The rounding, mapped back to columns.
  double beta = scale * rhs, g = 1.0 + std::floor(beta) - beta;
  if (!(g > 0.05 && g < 0.95)) return false;
  out.rhs = std::floor(beta);
  std::vector<std::pair<int, double>> terms;
  for (const item &q : it) {
    double v = q.integer ? mirf(scale * q.a, g) : q.a / (delta * g);
    if (std::fabs(v) <= 1e-10) continue;
    int c = q.col;
    double l = lo(q), u = hi(q);
    switch (q.status) {
      case 1: out.rhs += l * v; terms.push_back({c, v}); break;
      case -1: out.rhs -= u * v; terms.push_back({c, -v}); break;
      case 2:
        out.rhs += l * v;
        terms.push_back({c, -v});
        terms.push_back({w.link[c], v * w.ub[c]});
        break;
      default:
        out.rhs -= u * v;
        terms.push_back({c, v});
        terms.push_back({w.link[c], -v * w.ub[c]});
        break;
    }
  }
  std::sort(terms.begin(), terms.end());
  for (const auto &t : terms) {
    if (!out.ind.empty() && out.ind.back() == t.first) out.val.back() += t.second;
    else out.ind.push_back(t.first), out.val.push_back(t.second);
  }
  // 8. Numerical tests.
  cutrelax(out, w.lb, w.ub, 1e-10);
  if (out.ind.empty()) return false;
  double amax = 0.0, amin = 1e75, act = 0.0;
  for (size_t p = 0; p < out.ind.size(); ++p) {
    double a = std::fabs(out.val[p]);
    amax = std::max(amax, a), amin = std::min(amin, a);
    act += out.val[p] * w.x[out.ind[p]];
  }
  double viol = (act - out.rhs) / amax, v = std::fabs(minviol);
  if (!(amin * 1e6 > amax) || !(viol > v)) return false;
  if (minviol < 0.0 && viol < v * static_cast<double>(out.ind.size())) return false;
  return true;
}

}  // namespace velto
