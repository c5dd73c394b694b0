// The implication store: implications read from the rows and found by
// probing, and the implied-bound cuts that they give at a point.
#include <algorithm>
#include <cmath>

#include "mip/mipcliq.h"

namespace velto {

void implinit(impltab &t, int n, int m) {
  t = impltab();
  t.n = n;
  t.maxcount = 20 * std::max(n, 1);
  t.bysrc.assign(static_cast<size_t>(n) + std::max(m, 0), {});
  t.bytgt.assign(n, {});
  t.link.assign(n, -1);
}

int impladd(impltab &t, double tlb, double tub, int src, int tgt, char kind, double bound,
            int srcval) {
  if (static_cast<int>(t.recs.size()) >= t.maxcount) return 0;
  if (src < 0 || src >= static_cast<int>(t.bysrc.size()) || tgt < 0 || tgt >= t.n) return 0;
  if (kind == 'U' && !(bound < 1e10 && bound < tub - 1e-9)) return 0;
  if (kind == 'L' && !(bound > -1e10 && bound > tlb + 1e-9)) return 0;
  for (int k : t.bysrc[src]) {
    implication &o = t.recs[k];
    if (o.tgt != tgt || o.kind != kind || o.srcval != srcval) continue;
    if (kind == 'U') o.bound = std::min(o.bound, bound);
    else o.bound = std::max(o.bound, bound);
    return 0;
  }
  implication im;
  im.src = src, im.srcval = srcval, im.kind = kind, im.tgt = tgt, im.bound = bound;
  int id = static_cast<int>(t.recs.size());
  t.recs.push_back(im);
  t.bysrc[src].push_back(id);
  t.bytgt[tgt].push_back(id);
  if (kind == 'U' && srcval == 0 && bound == 0.0 && t.link[tgt] == -1 && tlb == 0.0 &&
      tub < 1e10 && src < t.n)
    t.link[tgt] = src;
  return 1;
}

namespace {

bool isbin(const cutmodel &cm, const double *lb, const double *ub, int j) {
  char c = cm.ctype ? cm.ctype[j] : 'C';
  return (c == 'B' || c == 'I') && lb[j] == 0.0 && ub[j] == 1.0;
}

}  // namespace

void implfromrows(const cutmodel &cm, const double *lb, const double *ub, impltab &t) {
  const rowcopy &rc = *cm.rc;
  std::vector<int> bins, others;
  for (int i = 0; i < cm.m; ++i) {
    bins.clear();
    others.clear();
    double amin = 0.0, amax = 0.0;
    bool mininf = false, maxinf = false;
    for (int p = rc.rowbeg[i]; p < rc.rowend[i]; ++p) {
      int j = rc.rowind[p];
      double a = rc.rowval[p];
      if (a == 0.0) continue;
      (isbin(cm, lb, ub, j) ? bins : others).push_back(p);
      double lo = a > 0 ? lb[j] : ub[j], hi = a > 0 ? ub[j] : lb[j];
      if (std::fabs(lo) >= 1e20) mininf = true;
      else amin += a * lo;
      if (std::fabs(hi) >= 1e20) maxinf = true;
      else amax += a * hi;
    }
    if (bins.empty() || others.empty()) continue;
    const char sense = cm.sense[i];
    for (int form = 0; form < 2; ++form) {
      double s = form == 0 ? 1.0 : -1.0, R = 0.0;
      if (form == 0) {
        if (sense == 'G' || sense == 'R' || mininf) continue;
        R = cm.rhs[i] - amin;
      } else {
        if (sense == 'L' || sense == 'R' || maxinf) continue;
        R = amax - cm.rhs[i];
      }
      for (int po : others) {
        int j = rc.rowind[po];
        double a = rc.rowval[po], range = ub[j] - lb[j];
        if (!(range > 1e-10)) continue;
        double th = R - 0.9 * range * std::fabs(a);
        for (int pb : bins) {
          double c = rc.rowval[pb];
          if (!(std::fabs(c) > th)) continue;
          double v = (R - std::fabs(c)) / std::fabs(a);
          int srcval = s * c > 0 ? 1 : 0;
          if (s * a <= 0) {
            impladd(t, lb[j], ub[j], rc.rowind[pb], j, 'L', ub[j] - v, srcval);
          } else {
            impladd(t, lb[j], ub[j], rc.rowind[pb], j, 'U', lb[j] + v, srcval);
          }
        }
      }
    }
  }
}

int implround(cutwork &cw, const double *x, const double *lb, const double *ub, int limit,
              int *count) {
  *count = 0;
  if (!cw.impl || limit <= 0) return 0;
  const impltab &t = *cw.impl;
  const cutmodel &cm = cw.cm;
  const rowcopy &rc = *cm.rc;
  const int n = t.n;
  // The slack of each row that is a source.
  std::vector<double> slack(std::max(cm.m, 0), 0.0);
  for (int i = 0; i < cm.m; ++i) {
    if (static_cast<size_t>(n + i) >= t.bysrc.size() || t.bysrc[n + i].empty()) continue;
    double act = 0.0;
    for (int p = rc.rowbeg[i]; p < rc.rowend[i]; ++p) act += rc.rowval[p] * x[rc.rowind[p]];
    slack[i] = cm.rhs[i] - act;
  }
  auto yval = [&](int src) { return src < n ? x[src] : slack[src - n]; };
  std::vector<int> ind;
  std::vector<double> val;
  for (int j = 0; j < n && *count < limit; ++j) {
    if ((cm.ctype && cm.ctype[j] == 'B') || !(ub[j] - lb[j] > 1e-10) || t.bytgt[j].empty()) continue;
    for (char kind : {'L', 'U'}) {
      if (*count >= limit) break;
      const double bj = kind == 'U' ? ub[j] : lb[j];
      if (std::fabs(bj) >= 1e20) continue;  // the cut needs that bound
      int best = -1;
      double bestv = 0.0;
      for (int k : t.bytgt[j]) {
        const implication &im = t.recs[k];
        if (im.kind != kind) continue;
        double y = yval(im.src);
        // The value of the cut's bound on x at y.
        double v = im.srcval == 0 ? bj + (im.bound - bj) * (1.0 - y) : bj + (im.bound - bj) * y;
        if (best < 0 || (kind == 'U' ? v < bestv : v > bestv)) best = k, bestv = v;
      }
      if (best < 0) continue;
      double viol = kind == 'U' ? x[j] - bestv : bestv - x[j];
      if (!(viol > 0)) continue;
      bool lfin = std::fabs(lb[j]) < 1e20, ufin = std::fabs(ub[j]) < 1e20;
      if (lfin && ufin) {
        if (!(viol > 0.01 * (ub[j] - lb[j]))) continue;
      } else if (!(viol > 0.01 * std::fabs(bj + 1.0))) {
        continue;
      }
      const implication &im = t.recs[best];
      const double b = im.bound;
      // x <= b + (ub - b)(1 - y) for srcval 1 read as y' = 1 - y, and so on:
      // coefficient of x, of y, and the right-hand side.
      double cx = 1.0, cy = 0.0, r = 0.0;
      if (kind == 'U') {
        if (im.srcval == 0) cy = -(bj - b), r = b;
        else cy = bj - b, r = bj;
      } else {
        cx = -1.0;
        if (im.srcval == 0) cy = bj - b, r = -b;
        else cy = -(bj - b), r = -bj;
      }
      double scale = std::max(std::fabs(b), std::fabs(bj));
      if (!(scale > 0)) scale = 1.0;
      ind.clear();
      val.clear();
      if (im.src < n) {
        ind.push_back(j), val.push_back(cx / scale);
        ind.push_back(im.src), val.push_back(cy / scale);
      } else {
        // y is the slack rhs - a.x of the row.
        int row = im.src - n;
        double own = cx;
        for (int p = rc.rowbeg[row]; p < rc.rowend[row]; ++p) {
          if (rc.rowind[p] == j) {
            own += -cy * rc.rowval[p];
            continue;
          }
          ind.push_back(rc.rowind[p]), val.push_back(-cy * rc.rowval[p] / scale);
        }
        ind.push_back(j), val.push_back(own / scale);
        r -= cy * cm.rhs[row];
      }
      int st = cutsetpush(cw.pool, 0, kCutImplBd, static_cast<int>(ind.size()), ind.data(),
                          val.data(), 'L', r / scale);
      if (st) return st;
      ++*count;
    }
  }
  return 0;
}

}  // namespace velto
