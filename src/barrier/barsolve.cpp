// Solves with the normal matrix: the factor's solve and iterative
// refinement against A*D*A' itself.
#include <cmath>
#include <vector>

#include "barrier/barrier.h"

namespace velto {

void normal_product(const barprob &bp, const std::vector<double> &d, const std::vector<double> &x,
                    std::vector<double> &y) {
  y.assign(bp.m, 0.0);
  for (int i = 0; i < bp.m; ++i) y[i] = d[bp.n + i] * x[i];
  for (int j = 0; j < bp.n; ++j) {
    double t = 0.0;
    for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) t += bp.colval[k] * x[bp.colind[k]];
    if (t == 0.0) continue;
    t *= d[j];
    for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) y[bp.colind[k]] += bp.colval[k] * t;
  }
}

namespace {

double dot(const std::vector<double> &a, const std::vector<double> &b) {
  double s = 0.0;
  for (size_t i = 0; i < a.size(); ++i) s += a[i] * b[i];
  return s;
}

double maxabs(const std::vector<double> &a) {
  double s = 0.0;
  for (double v : a) s = std::fmax(s, std::fabs(v));
  return s;
}

// Conjugate gradients on the true matrix with the factor as preconditioner,
// from the factor's solution in x.  The factor differs from the matrix by
// its raised pivots and by the rounding of the border, a change of low
// rank, so that few steps are needed; the best iterate by residual stays.
int pcg(env *e, const barprob &bp, const cholrec &c, const std::vector<double> &d, std::vector<double> &x,
        const std::vector<double> &rhs) {
  const int m = bp.m;
  std::vector<double> r(m), z, p, q;
  normal_product(bp, d, x, q);
  for (int i = 0; i < m; ++i) r[i] = rhs[i] - q[i];
  const double bnorm = maxabs(rhs);
  double rnorm = maxabs(r), best = rnorm;
  std::vector<double> bestx = x;
  const double tol = 1e-13 * (bnorm + 1e-300);
  if (rnorm <= tol) return 0;
  int s = chol_solve(e, c, z, r, false, nullptr);
  if (s) return s;
  p = z;
  double rz = dot(r, z);
  int worse = 0;
  for (int k = 0; k < 100 && rz > 0.0; ++k) {
    normal_product(bp, d, p, q);
    const double pq = dot(p, q);
    if (!(pq > 0.0)) break;
    const double alpha = rz / pq;
    for (int i = 0; i < m; ++i) {
      x[i] += alpha * p[i];
      r[i] -= alpha * q[i];
    }
    rnorm = maxabs(r);
    if (rnorm < best) {
      best = rnorm;
      bestx = x;
      worse = 0;
    } else if (++worse >= 5) {
      break;
    }
    if (rnorm <= tol) break;
    s = chol_solve(e, c, z, r, false, nullptr);
    if (s) return s;
    const double rz2 = dot(r, z);
    const double beta = rz2 / rz;
    rz = rz2;
    for (int i = 0; i < m; ++i) p[i] = z[i] + beta * p[i];
  }
  x = bestx;
  return 0;
}

}  // namespace

int normal_solve(env *e, const barprob &bp, const cholrec &c, const std::vector<double> &d,
                 std::vector<double> &x, const std::vector<double> &rhs, int rounds) {
  int st = chol_solve(e, c, x, rhs, false, nullptr);
  if (st) return st;
  if (c.ndense > 0) return guarded([&] { return pcg(e, bp, c, d, x, rhs); });
  return guarded([&]() -> int {
    std::vector<double> mx, res(bp.m), dx;
    double last = 1e300;
    for (int k = 0; k < rounds; ++k) {
      normal_product(bp, d, x, mx);
      double norm = 0.0;
      for (int i = 0; i < bp.m; ++i) {
        res[i] = rhs[i] - mx[i];
        norm = std::fmax(norm, std::fabs(res[i]));
      }
      if (norm == 0.0 || norm >= 0.5 * last) break;
      last = norm;
      int s = chol_solve(e, c, dx, res, false, nullptr);
      if (s) return s;
      for (int i = 0; i < bp.m; ++i) x[i] += dx[i];
    }
    return 0;
  });
}

}  // namespace velto
