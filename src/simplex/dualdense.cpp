// Dense basis factor for the dual engine: LU with partial pivoting and
// product-form updates.  Used for small models and as the reference in tests.
#include <cmath>
#include <utility>

#include "simplex/dualcore.h"

namespace velto {

namespace {

struct densefac final : dualfactor {
  int m = 0;
  std::vector<double> lu;    // row-major m x m, L below the diagonal (unit), U above
  std::vector<int> perm;     // row permutation: row k of LU is row perm[k] of B
  struct eta {
    int r;
    double piv;
    std::vector<int> ind;
    std::vector<double> val;
  };
  std::vector<eta> etas;

  int factor(const dualprob &p, std::vector<int> &head, std::vector<int> &singular,
             std::vector<int> &singrow) override {
    m = p.m;
    singular.clear();
    singrow.clear();
    etas.clear();
    for (int attempt = 0; attempt < 2; ++attempt) {
      lu.assign(static_cast<size_t>(m) * m, 0.0);
      perm.resize(m);
      for (int k = 0; k < m; ++k) perm[k] = k;
      for (int c = 0; c < m; ++c) {
        int j = head[c];
        if (j >= p.n) {
          lu[static_cast<size_t>(j - p.n) * m + c] = p.slackval[j - p.n];
        } else {
          for (int k = p.matbeg[j]; k < p.matbeg[j + 1]; ++k)
            lu[static_cast<size_t>(p.matind[k]) * m + c] += p.matval[k];
        }
      }
      std::vector<int> badcol;
      std::vector<char> rowused(m, 0);
      // Gaussian elimination with partial pivoting, columns in order.
      for (int c = 0; c < m; ++c) {
        int best = -1;
        double bv = 1e-11;
        for (int r = c; r < m; ++r) {
          double v = std::fabs(lu[static_cast<size_t>(r) * m + c]);
          if (v > bv) {
            bv = v;
            best = r;
          }
        }
        if (best < 0) {
          badcol.push_back(c);
          lu[static_cast<size_t>(c) * m + c] = 1.0;  // placeholder, refactored below
          continue;
        }
        if (best != c) {
          for (int k = 0; k < m; ++k)
            std::swap(lu[static_cast<size_t>(best) * m + k], lu[static_cast<size_t>(c) * m + k]);
          std::swap(perm[best], perm[c]);
        }
        double piv = lu[static_cast<size_t>(c) * m + c];
        for (int r = c + 1; r < m; ++r) {
          double &l = lu[static_cast<size_t>(r) * m + c];
          if (l == 0.0) continue;
          l /= piv;
          for (int k = c + 1; k < m; ++k) lu[static_cast<size_t>(r) * m + k] -= l * lu[static_cast<size_t>(c) * m + k];
        }
      }
      if (badcol.empty()) return static_cast<int>(singular.size());
      if (attempt == 1) return -1;
      // Replace dependent columns by logicals of rows that no pivot covered:
      // find those rows from the structure of the independent columns.
      std::vector<int> rowcover(m, 0);
      std::vector<char> isbad(m, 0);
      for (int c : badcol) isbad[c] = 1;
      // Rows pivoted in the elimination are perm[c] for good columns c.
      for (int c = 0; c < m; ++c)
        if (!isbad[c]) rowcover[perm[c]] = 1;
      int k = 0;
      for (int c : badcol) {
        while (k < m && rowcover[k]) ++k;
        if (k >= m) return -1;
        singular.push_back(c);
        singrow.push_back(k);
        head[c] = p.n + k;
        rowcover[k] = 1;
      }
    }
    return -1;
  }

  void solve_lu(std::vector<double> &v) const {
    std::vector<double> t(m);
    for (int k = 0; k < m; ++k) t[k] = v[perm[k]];
    for (int r = 0; r < m; ++r) {
      double s = t[r];
      const double *row = &lu[static_cast<size_t>(r) * m];
      for (int k = 0; k < r; ++k) s -= row[k] * t[k];
      t[r] = s;
    }
    for (int r = m - 1; r >= 0; --r) {
      double s = t[r];
      const double *row = &lu[static_cast<size_t>(r) * m];
      for (int k = r + 1; k < m; ++k) s -= row[k] * t[k];
      t[r] = s / row[r];
    }
    for (int k = 0; k < m; ++k) v[k] = t[k];
  }

  void ftran(std::vector<double> &v) override {
    solve_lu(v);
    for (const eta &e : etas) {
      double xr = v[e.r] / e.piv;
      if (xr != 0.0)
        for (size_t k = 0; k < e.ind.size(); ++k) v[e.ind[k]] -= e.val[k] * xr;
      v[e.r] = xr;
    }
  }

  void btran(std::vector<double> &v) override {
    for (size_t q = etas.size(); q-- > 0;) {
      const eta &e = etas[q];
      double s = v[e.r];
      for (size_t k = 0; k < e.ind.size(); ++k) s -= e.val[k] * v[e.ind[k]];
      v[e.r] = s / e.piv;
    }
    // Solve (P'LU)' y = v: U' z = v, L' w = z, y = P' w.
    std::vector<double> t(v.begin(), v.begin() + m);
    for (int r = 0; r < m; ++r) {
      double s = t[r] / lu[static_cast<size_t>(r) * m + r];
      t[r] = s;
      if (s != 0.0)
        for (int k = r + 1; k < m; ++k) t[k] -= lu[static_cast<size_t>(r) * m + k] * s;
    }
    for (int r = m - 1; r >= 0; --r) {
      double s = t[r];
      if (s != 0.0)
        for (int k = 0; k < r; ++k) t[k] -= lu[static_cast<size_t>(r) * m + k] * s;
    }
    for (int k = 0; k < m; ++k) v[perm[k]] = t[k];
  }

  int update(int r, int, const std::vector<double> &col) override {
    eta e;
    e.r = r;
    e.piv = col[r];
    for (int i = 0; i < m; ++i)
      if (i != r && col[i] != 0.0) {
        e.ind.push_back(i);
        e.val.push_back(col[i]);
      }
    etas.push_back(std::move(e));
    return etas.size() >= 64 ? 1 : 0;
  }

  int updates() const override { return static_cast<int>(etas.size()); }
};

}  // namespace

dualfactor *make_dense_factor() { return new densefac(); }

}  // namespace velto
