// Read-only two-pass ratio tests of the exported basis calls.  They leave
// the frame untouched: the caller decides whether to apply the pivot.
#include "simplex/bratio.h"

#include <algorithm>
#include <cmath>

namespace velto {

namespace {

constexpr double kIgnore = 1e-13;   // entries below this never block
constexpr double kNoWeight = 1e-9;  // a column whose largest entry is below this has no pivot
constexpr double kPivFloor = 1e-8;
constexpr double kBig = 1e75;

inline bool isfin(double b) { return std::fabs(b) < 1e17; }

// Pivot size test: refuse a tiny pivot, or one tiny against the vector.
bool pivot_ok(double a, double maxabs, double wholemax) {
  double w = (a >= 0.1 && maxabs >= 0.1) ? maxabs : wholemax;
  if (a < kPivFloor) return false;
  return w <= 0.0 || a / w >= kPivFloor;
}

}  // namespace

bratio ratio_primal_ro(const bframe &f, int q, int dir, const std::vector<double> &alpha,
                       double range, double delta) {
  bratio res;
  const dualprob &p = f.prob;
  double t = kBig, maxabs = 0.0, wholemax = 0.0;
  int ncand = 0;
  for (int k = 0; k < f.m; ++k) {
    double a = dir * alpha[k];
    double aa = std::fabs(a);
    wholemax = std::max(wholemax, aa);
    if (aa <= kIgnore) continue;
    int v = f.head[k];
    double x = f.x[v];
    double th;
    if (a > 0) {
      if (!isfin(p.lb[v])) continue;
      th = (x - p.lb[v] + delta) / aa;
    } else {
      if (!isfin(p.ub[v])) continue;
      th = (p.ub[v] - x + delta) / aa;
    }
    ++ncand;
    maxabs = std::max(maxabs, aa);
    t = std::min(t, th);
  }
  auto flip = [&]() {
    res.stat = 0;
    res.step = range;
    res.pivot = -1;
    bool lo = isfin(p.lb[q]), up = isfin(p.ub[q]);
    res.endstat = !lo && !up ? 3 : dir > 0 ? 2 : 0;
    return res;
  };
  if (ncand == 0 || maxabs < kNoWeight) {
    if (range < kBig) return flip();
    res.stat = 2;
    res.step = kBig;
    return res;
  }
  if (t < 0) t = 0;
  if (t >= range) return flip();
  double best = -1.0, bestratio = 0.0;
  int bestk = -1;
  for (int k = 0; k < f.m; ++k) {
    double a = dir * alpha[k];
    double aa = std::fabs(a);
    if (aa <= kIgnore) continue;
    int v = f.head[k];
    double x = f.x[v], ratio;
    if (a > 0) {
      if (!isfin(p.lb[v])) continue;
      ratio = (x - p.lb[v]) / aa;
    } else {
      if (!isfin(p.ub[v])) continue;
      ratio = (p.ub[v] - x) / aa;
    }
    if (ratio > t) continue;
    double merit = v < f.nc ? aa * std::min(frame_collen(f, v) - 0.5, 50.0) : aa * 0.4999;
    if (merit > best) {
      best = merit;
      bestk = k;
      bestratio = ratio;
    }
  }
  if (bestk < 0) {
    res.stat = 2;
    res.step = kBig;
    return res;
  }
  if (!pivot_ok(std::fabs(alpha[bestk]), maxabs, wholemax)) {
    res.stat = 2003;
    return res;
  }
  int v = f.head[bestk];
  double xnew = f.x[v] - bestratio * dir * alpha[bestk];
  bool lo = isfin(p.lb[v]), up = isfin(p.ub[v]);
  res.stat = 0;
  res.step = bestratio;
  res.pivot = bestk;
  if (!lo) res.endstat = 2;
  else if (!up) res.endstat = 0;
  else res.endstat = p.ub[v] - xnew < xnew - p.lb[v] ? 2 : 0;
  return res;
}

namespace {

// Reduced cost of nonbasic v as the ratio test reads it: non-negative when
// v may move in the direction that the row needs, and whether it can move
// that way at all.
bool dual_candidate(const bframe &f, int v, int dir, double a, double &dt) {
  const dualprob &p = f.prob;
  int st = f.status[v];
  if (st == 1 || p.lb[v] == p.ub[v]) return false;
  double sa = dir * a;
  if (st == 0) {
    if (sa >= 0) return false;
    dt = f.d[v];
  } else if (st == 2) {
    if (sa <= 0) return false;
    dt = -f.d[v];
  } else {
    dt = std::fabs(f.d[v]);
  }
  return true;
}

}  // namespace

bratio ratio_dual_ro(const bframe &f, int r, int dir, const std::vector<double> &rho,
                     double delta) {
  (void)r;
  bratio res;
  const int nt = f.n + f.m;
  std::vector<double> alpha(nt, 0.0);
  double t = kBig, maxabs = 0.0, wholemax = 0.0;
  int ncand = 0;
  for (int v = 0; v < nt; ++v) {
    if (f.status[v] == 1) continue;
    double a = frame_dot(f, v, rho);
    alpha[v] = a;
    double aa = std::fabs(a);
    wholemax = std::max(wholemax, aa);
    if (aa <= kIgnore) continue;
    double dt;
    if (!dual_candidate(f, v, dir, a, dt)) continue;
    ++ncand;
    maxabs = std::max(maxabs, aa);
    t = std::min(t, (dt + delta) / aa);
  }
  res.endstat = dir > 0 ? 2 : 0;
  if (ncand == 0 || maxabs < kNoWeight) {
    res.stat = 2;
    res.step = kBig;
    return res;
  }
  if (t < 0) t = 0;
  double best = -1.0, bestratio = 0.0;
  int bestv = -1;
  for (int v = 0; v < nt; ++v) {
    if (f.status[v] == 1) continue;
    double aa = std::fabs(alpha[v]);
    if (aa <= kIgnore) continue;
    double dt;
    if (!dual_candidate(f, v, dir, alpha[v], dt)) continue;
    double ratio = dt / aa;
    if (ratio > t) continue;
    double merit = v < f.nc ? aa / std::min(frame_collen(f, v) - 0.5, 50.0)
                            : aa * 2.0004000800160030;
    if (merit > best) {
      best = merit;
      bestv = v;
      bestratio = ratio;
    }
  }
  if (bestv < 0) {
    res.stat = 2;
    res.step = kBig;
    return res;
  }
  if (!pivot_ok(std::fabs(alpha[bestv]), maxabs, wholemax)) {
    res.stat = 2003;
    return res;
  }
  res.stat = 0;
  res.step = bestratio;
  res.pivot = bestv;
  return res;
}

double dual_rate(const bframe &f, int dir, const std::vector<double> &rho) {
  double best = kBig;
  for (int v = 0; v < f.n + f.m; ++v) {
    if (f.status[v] == 1) continue;
    double a = frame_dot(f, v, rho);
    double aa = std::fabs(a);
    if (aa <= kNoWeight) continue;
    double dt;
    if (!dual_candidate(f, v, dir, a, dt)) continue;
    best = std::min(best, std::max(0.0, dt) / aa);
  }
  return best;
}

int user_direction(const bframe &f, int v, int up) {
  int dir = up ? 1 : -1;
  if (v < f.nc) return dir;
  // activity = rhs - coef * v: the activity rises when coef * v falls.
  return frame_rowcoef(f, v) > 0 ? -dir : dir;
}

double move_range(const bframe &f, int v, int dir) {
  const dualprob &p = f.prob;
  double b = dir > 0 ? p.ub[v] : p.lb[v];
  if (!isfin(b)) return kBig;
  return std::max(0.0, dir > 0 ? b - f.x[v] : f.x[v] - b);
}

}  // namespace velto
