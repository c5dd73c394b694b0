// Rows read as binary knapsacks, and the lifted cover of a knapsack at a
// fractional point.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "mip/mipcuts.h"
#include "model/store.h"

namespace velto {

void cutmodelbuild(const lp *p, const rowcopy &rc, cutmodel &cm) {
  const lpcore *c = p->core;
  cm.n = c->numcols;
  cm.m = c->numrows;
  cm.ctype = c->ctype;
  cm.rc = &rc;
  cm.sense.assign(c->sense, c->sense + cm.m);
  cm.rhs.assign(std::max(cm.m, 1), 0.0);
  if (cm.m > 0) getrhs_u(p, cm.rhs.data(), 0, cm.m - 1);
}

namespace {

// A binary item: type 'B', or an integer column on [0, 1].
bool isbinary(const cutmodel &cm, const double *lb, const double *ub, int j) {
  char t = cm.ctype ? cm.ctype[j] : 'C';
  return (t == 'B' || t == 'I') && lb[j] == 0.0 && ub[j] == 1.0;
}

}  // namespace

void knapextract(const cutmodel &cm, const double *lb, const double *ub, int row, int negate,
                 int needcut, std::vector<double> &work, knapsack &k) {
  k.n = -1;
  k.col.clear();
  k.w.clear();
  k.compl_.clear();
  char sense = cm.sense[row];
  if (negate == 0 && sense != 'L' && sense != 'E') return;
  if (negate == 1 && sense != 'G' && sense != 'E') return;
  const double s = negate ? -1.0 : 1.0;
  const rowcopy &rc = *cm.rc;
  double amin = 0.0, amax = 0.0;
  bool mininf = false, maxinf = false;
  for (int p = rc.rowbeg[row]; p < rc.rowend[row]; ++p) {
    int j = rc.rowind[p];
    double a = rc.rowval[p];
    double lo = lb[j], hi = ub[j];
    double tlo = a > 0 ? lo : hi, thi = a > 0 ? hi : lo;
    if (std::fabs(tlo) >= 1e20) mininf = true;
    else amin += a * tlo;
    if (std::fabs(thi) >= 1e20) maxinf = true;
    else amax += a * thi;
  }
  if (mininf) amin = -1e20;
  if (maxinf) amax = 1e20;
  std::vector<int> listed;
  for (int p = rc.rowbeg[row]; p < rc.rowend[row]; ++p) {
    int j = rc.rowind[p];
    double a = s * rc.rowval[p];
    if (!isbinary(cm, lb, ub, j) || std::fabs(a) <= 1e-10) continue;
    if (work[j] == 0.0) listed.push_back(j);
    work[j] += a;
    if (work[j] == 0.0) work[j] = 1e-300;  // keep it listed once
  }
  k.cap = negate ? amax - cm.rhs[row] : cm.rhs[row] - amin;
  // In the negated row the minimum activity is -amax.
  double wsum = 0.0;
  bool nonunit = false;
  for (int j : listed) {
    double v = work[j];
    work[j] = 0.0;
    if (v >= 1e-10) {
      k.col.push_back(j), k.w.push_back(v), k.compl_.push_back(0);
    } else if (v <= -1e-10) {
      k.col.push_back(j), k.w.push_back(-v), k.compl_.push_back(1);
    } else {
      continue;
    }
    wsum += k.w.back();
    if (k.w.back() != 1.0) nonunit = true;
  }
  if (std::fabs(k.cap) >= 1e20) return;
  if (k.cap + 1e-10 <= wsum && (nonunit || needcut == 0)) k.n = static_cast<int>(k.col.size());
}

int coverfind(const knapsack &k, const double *x, int *nnz, double *rhs, std::vector<int> &ind,
              std::vector<double> &val) {
  *nnz = 0;
  *rhs = 0.0;
  ind.clear();
  val.clear();
  const int n = k.n;
  if (n <= 0) return 0;
  std::vector<double> xs(n);
  for (int i = 0; i < n; ++i) xs[i] = k.compl_[i] ? 1.0 - x[k.col[i]] : x[k.col[i]];
  // 1. Split into items at 0, at 1 and fractional.
  const double eps = 1e-5;
  double c = k.cap;
  std::vector<int> zero, one, frac;
  for (int i = 0; i < n; ++i) {
    if (xs[i] < eps) {
      zero.push_back(i);
    } else if (xs[i] > 1 - eps && k.w[i] + 1e-6 < c) {
      one.push_back(i);
      c -= k.w[i];
    } else {
      frac.push_back(i);
    }
  }
  const double t = c <= 1 ? 1e-6 : 1e-6 * std::fabs(c);
  if (frac.empty()) return 0;
  // 2. Greedy packing of the heaviest fractional items.
  std::stable_sort(frac.begin(), frac.end(), [&](int a, int b) {
    if (k.w[a] != k.w[b]) return k.w[a] > k.w[b];
    return xs[a] > xs[b];
  });
  std::vector<int> cset, rest;
  std::vector<double> coef(n, 0.0);
  double sum = 0.0, act = 0.0;
  for (int i : frac) {
    if (sum + k.w[i] < c + t) {
      cset.push_back(i);
      coef[i] = 1.0;
      sum += k.w[i];
      act += xs[i];
    } else {
      rest.push_back(i);
    }
  }
  const int kk = static_cast<int>(cset.size());
  double r = kk;
  std::vector<int> cut(cset);
  // 3. Lifting of the other fractional items, in their xs order.
  if (!rest.empty()) {
    std::stable_sort(rest.begin(), rest.end(), [&](int a, int b) { return xs[a] > xs[b]; });
    std::vector<double> cw;
    for (int i : cset) cw.push_back(k.w[i]);
    std::sort(cw.begin(), cw.end(), std::greater<double>());
    std::vector<double> P(kk + 1, 0.0), S(kk + 2, 1e37);
    for (int i = 1; i <= kk; ++i) P[i] = P[i - 1] + cw[i - 1];
    for (int i = 0; i <= kk; ++i) S[i] = P[kk] - P[kk - i];
    const double slack = c + t - P[kk];
    for (int i : rest) {
      double w = k.w[i];
      int j = -1;
      for (int l = 0; l <= kk; ++l)
        if (w <= P[l] + slack) {
          j = l;
          break;
        }
      double a;
      if (j < 0) {
        a = kk + 1;
      } else if (j == 0) {
        a = 0;
      } else if (w - t > P[j]) {
        a = j;
      } else if (c + t - w > S[kk - j + 1]) {
        a = j - 1;
      } else {
        a = j;
        for (int l = kk; l >= j; --l) S[l] = std::min(S[l], S[l - j] + w);
      }
      if (a > 0) {
        coef[i] = a;
        cut.push_back(i);
        act += a * xs[i];
      }
    }
  }
  // 4. The fractional part alone must be violated.
  if (!(act - kk > 0.1)) return 0;
  // 5. Down-lifting of the items at 1.
  if (!one.empty()) {
    long long K = 1;
    for (int i : cut) K += static_cast<long long>(coef[i]);
    std::vector<double> f;
    auto grow = [&](long long size) {
      if (size + 1 > 262499999) return false;
      f.resize(size + 1, 1e37);
      return true;
    };
    if (!grow(K)) return 1;
    f[0] = 0.0;
    auto apply = [&](int a, double w) {
      for (long long l = K; l >= a; --l) f[l] = std::min(f[l], f[l - a] + w);
    };
    for (int i : cut) apply(static_cast<int>(coef[i]), k.w[i]);
    std::stable_sort(one.begin(), one.end(), [&](int a, int b) { return k.w[a] > k.w[b]; });
    for (int i : one) {
      double w = k.w[i];
      double target = w + t + c;
      long long l = 0;
      for (long long q = K; q >= 0; --q)
        if (f[q] < target) {
          l = q;
          break;
        }
      c += w;
      long long a = l - static_cast<long long>(r);
      if (a > 0) {
        coef[i] = static_cast<double>(a);
        cut.push_back(i);
        r = static_cast<double>(l);
        K += a;
        if (!grow(K)) return 1;
        apply(static_cast<int>(a), w);
      }
    }
  }
  // 6. Up-lifting of the items at 0.
  if (!zero.empty()) {
    std::stable_sort(zero.begin(), zero.end(), [&](int a, int b) { return k.w[a] > k.w[b]; });
    auto ratio = [&](int i) { return k.w[i] > 0 ? coef[i] / k.w[i] : coef[i] * 1e13; };
    std::vector<int> order(cut);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return ratio(a) > ratio(b); });
    double Wt = 0.0, At = 0.0;
    for (int i : cut) Wt += k.w[i], At += coef[i];
    for (int i : zero) {
      double w = k.w[i];
      double room = c + t - w;
      double a;
      if (room > Wt) {
        a = r - At;
      } else {
        double run = 0.0, v = 0.0;
        for (int q : order) {
          if (run + k.w[q] < room) {
            run += k.w[q];
            v += coef[q];
            continue;
          }
          double p = c - w - run;
          if (p > t) v += p * ratio(q);
          break;
        }
        a = r - std::floor(v + t);
        if (a >= 2100000000.0) continue;
      }
      if (a >= 1) {
        coef[i] = a;
        cut.push_back(i);
        Wt += w;
        At += a;
        auto pos = std::upper_bound(order.begin(), order.end(), i,
                                    [&](int a1, int b1) { return ratio(a1) > ratio(b1); });
        order.insert(pos, i);
      }
    }
  }
  // 7. Back to the columns.
  for (int i : cut) {
    double a = coef[i];
    if (k.compl_[i]) {
      r -= a;
      a = -a;
    }
    ind.push_back(k.col[i]);
    val.push_back(a);
  }
  *rhs = r;
  *nnz = static_cast<int>(ind.size());
  return 0;
}

}  // namespace velto
