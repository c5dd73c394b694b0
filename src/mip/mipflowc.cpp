// The lifted flow cover of a row read as a single-node flow set: inflows
// and outflows f with capacities M and switches y (f <= M y), a cover of
// the capacities past the rhs, the simple cut and the lifting of the items
// outside the cover.
#include <algorithm>
#include <cmath>
#include <map>

#include "mip/mipmir.h"

namespace velto {

namespace {

struct flowitem {
  int col = -1, ycol = -1;  // the column, and the column of its switch (-1: y = 1)
  int T = 0;                // 1, -1 a flow with an upper bound, 2, -2 a binary
  double a = 0.0, M = 0.0, y = 0.0, f = 0.0, r = 1e75;
  int cls = 0;
  bool member = false, marked = false;
  double alpha = 0.0, beta = 0.0;
};

}  // namespace

bool flowcover(const mircols &w, int n, double rhs0, const int *cols, const double *vals,
               double minviol, mircut &out) {
  out.clear();
  std::vector<flowitem> it;
  bool fractional = false;
  for (int k = 0; k < n; ++k) {
    int c = cols[k];
    double a = vals[k];
    if (a == 0.0) continue;
    if (w.lb[c] < 0.0) return false;
    flowitem q;
    q.col = c;
    q.a = a;
    if (w.type[c] != 'C' && w.lb[c] == 0.0 && w.ub[c] == 1.0) {
      q.T = a > 0 ? 2 : -2;
      q.M = std::fabs(a);
      q.y = w.x[c];
      q.ycol = c;
    } else {
      q.T = a > 0 ? 1 : -1;
      if (w.ub[c] < 1e-10) return false;
      // An uncapacitated flow gives no cover that we can lift safely.
      if (!(w.ub[c] < 1e20)) return false;
      q.M = std::fabs(a) * w.ub[c];
      int k2 = w.link ? w.link[c] : -1;
      q.y = k2 >= 0 ? w.x[k2] : 1.0;
      q.ycol = k2;
    }
    q.f = std::fabs(a) * w.x[c];
    if (q.y > 1e-6 && q.y < 0.999999) fractional = true;
    it.push_back(q);
  }
  if (!fractional) return false;
  // First sets: outflows complemented into the capacity B.
  double B = rhs0, S = 0.0;
  for (flowitem &q : it) {
    if (q.T > 0) {
      if (q.f > 1e-6 && q.M < 9.99999e19) {
        q.r = (1.0 - q.y) / q.M;
        if (q.f <= q.M * q.y - 1e-6) q.cls = 2;
        else q.cls = 1, S += q.M;
      }
    } else {
      B += q.M;
      if (q.f < q.M) q.cls = 1, q.r = q.y / q.M, S += q.M;
    }
  }
  const double target = B + 1e-6;
  std::vector<int> order;
  for (size_t p = 0; p < it.size(); ++p)
    if (it[p].cls == 2) order.push_back(static_cast<int>(p));
  std::stable_sort(order.begin(), order.end(), [&](int u, int v) {
    return it[u].M * it[u].y - it[u].f < it[v].M * it[v].y - it[v].f;
  });
  for (size_t p = 0; p < order.size() && S < target; ++p) {
    it[order[p]].cls = 1;
    S += it[order[p]].M;
  }
  if (S < target) return false;
  // The cover: items already on, then by ascending r.
  double Sc = 0.0;
  order.clear();
  for (size_t p = 0; p < it.size(); ++p) {
    flowitem &q = it[p];
    if (q.cls != 1) continue;
    if (q.r < 1e-6) q.member = true, Sc += q.M;
    else order.push_back(static_cast<int>(p));
  }
  std::stable_sort(order.begin(), order.end(), [&](int u, int v) { return it[u].r < it[v].r; });
  for (size_t p = 0; p < order.size() && Sc < target; ++p) {
    it[order[p]].member = true;
    Sc += it[order[p]].M;
  }
  if (Sc < target) return false;
  for (int pass = 0; pass < 2; ++pass)
    for (flowitem &q : it) {
      if (!q.member || (pass == 0 ? !(q.r > 1e-6) : !(q.r < 1e-6))) continue;
      if (Sc - q.M > target) q.member = false, Sc -= q.M;
    }
  for (flowitem &q : it)
    if (q.T < 0) q.member = !q.member;
  const double lambda = Sc - B;
  // The simple cut.
  double rhs = rhs0, D = rhs0;
  for (const flowitem &q : it)
    if (q.member && q.T < 0) rhs += q.M, D += q.M;
  double A = 0.0, minC = 1e75, minL = 1e75;
  for (flowitem &q : it) {
    if (q.member && q.T > 0) {
      q.beta = 1.0;
      if (q.M <= lambda + 1e-6) {
        A += q.M;
      } else {
        q.alpha = lambda - q.M;
        rhs += q.alpha;
        minC = std::min(minC, q.M);
      }
    } else if (!q.member && q.T < 0) {
      D += q.M;
      if (q.f < q.y * lambda) {
        q.beta = -1.0;
        A += q.M;
      } else {
        q.alpha = -lambda;
        q.marked = true;
        minL = std::min(minL, q.M);
      }
    }
  }
  // Lifting data.
  std::vector<double> Ms;
  for (const flowitem &q : it)
    if (((q.member && q.T > 0) || q.marked) && q.M > lambda + 1e-6) Ms.push_back(q.M);
  const int nm = static_cast<int>(Ms.size());
  if (nm == 0) return false;
  std::sort(Ms.begin(), Ms.end(), [](double u, double v) { return u > v; });
  std::vector<double> d(nm, 0.0), P(nm, 0.0);
  double D2 = D;
  if (minL < minC && A < lambda) {
    int t = 0;
    while (t < nm && !(Ms[t] < minC)) ++t;
    if (t < nm - 1) {
      if (t > 0) d[t - 1] = std::min({minC - Ms[t], lambda, lambda - A});
      for (int i = t; i <= nm - 2; ++i)
        d[i] = std::min({Ms[i] - Ms[i + 1] + (i > 0 ? d[i - 1] : 0.0), lambda, lambda - A});
      if (A == 0.0) {
        D2 = -lambda;
        for (int i = 0; i < t; ++i) D2 += Ms[i];
      }
    }
  }
  for (int i = 0; i < nm; ++i) P[i] = Ms[i] + (i > 0 ? P[i - 1] : 0.0);
  const double Pn = P[nm - 1];
  auto g = [&](double M) {
    if (M > D) return Pn - D - nm * lambda;
    if (M > Pn - lambda) return Pn - M - nm * lambda;
    int i = 0;
    while (i < nm - 1 && !(P[i] + 1e-10 - d[i] > M)) ++i;
    if (M <= P[i] - lambda) return -i * lambda;
    return P[i] - M - (i + 1) * lambda;
  };
  for (flowitem &q : it) {
    if (!q.member && q.T == 1) {
      if (q.M > Pn + 1e-6 - lambda) {
        if (q.M < D2 - 1e-6) {
          double v = Pn - nm * lambda;
          if (q.f - q.y * v > 0) q.beta = 1.0, q.alpha = -v;
        }
      } else {
        int h = static_cast<int>(std::lower_bound(P.begin(), P.end(), q.M) - P.begin());
        if (h < nm && P[h] - lambda < q.M) {
          double v = P[h] - (h + 1) * lambda;
          if (q.f - v > 0) q.beta = 1.0, q.alpha = -v;
        }
      }
    } else if (!q.member && q.T == 2) {
      double gv = g(q.M);
      q.beta = 0.0;
      q.alpha = -gv >= 1e-6 ? -gv : 0.0;
    } else if (q.member && q.T < 0) {
      double gv = g(q.M);
      q.beta = 0.0;
      q.alpha = 0.0;
      if (-gv >= 1e-6) q.alpha = gv, rhs += gv;
    }
  }
  double viol = -rhs;
  for (const flowitem &q : it) viol += q.beta * q.f + q.alpha * q.y;
  if (!(viol > 0.1)) return false;
  // Back to columns.
  std::map<int, double> terms;
  out.rhs = rhs;
  for (const flowitem &q : it) {
    bool b = std::fabs(q.beta) > 1e-6, al = std::fabs(q.alpha) > 1e-6;
    if (std::abs(q.T) == 1) {
      if (b) terms[q.col] += q.beta * std::fabs(q.a);
      if (al) {
        if (q.ycol < 0) out.rhs -= q.alpha;
        else terms[q.ycol] += q.alpha;
      }
    } else if (b || al) {
      terms[q.col] += q.beta * std::fabs(q.a) + q.alpha;
    }
  }
  for (const auto &t : terms) out.ind.push_back(t.first), out.val.push_back(t.second);
  cutrelax(out, w.lb, w.ub, 1e-6);
  if (out.ind.empty()) return false;
  double act = 0.0;
  for (size_t p = 0; p < out.ind.size(); ++p) act += out.val[p] * w.x[out.ind[p]];
  viol = act - out.rhs;
  if (!(viol > 0.1)) return false;
  if (minviol < 0.0 && !(viol > 0.1 * static_cast<double>(out.ind.size()))) return false;
  return true;
}

}  // namespace velto
