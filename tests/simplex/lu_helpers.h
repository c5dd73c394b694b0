// Shared helpers of the factor tests: random sparse matrices in column form,
// the basis matrix of a head, and residuals computed independently of the
// factor.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "simplex/lufactor.h"
#include "velto.h"

namespace lutest {

// A matrix with `ncols` columns in column storage plus one slack per row
// (identity columns), viewed as an lumatrix.
struct Model {
  int m = 0, n = 0;
  std::vector<int> beg, cnt, ind;
  std::vector<double> val;
  std::vector<int> srow;
  std::vector<double> scoef;
  velto::lumatrix mat{};

  void finish(bool slacks_plain = true) {
    mat.nrows = m;
    mat.ncols = n;
    mat.matbeg = beg.data();
    mat.matcnt = cnt.data();
    mat.matind = ind.data();
    mat.matval = val.data();
    mat.nslack = m;
    if (slacks_plain) {
      mat.slackrow = nullptr;
      mat.slackcoef = nullptr;
    } else {
      mat.slackrow = srow.data();
      mat.slackcoef = scoef.data();
    }
  }
  void addcol(const std::vector<std::pair<int, double>> &e) {
    beg.push_back(static_cast<int>(ind.size()));
    cnt.push_back(static_cast<int>(e.size()));
    for (auto &p : e) {
      ind.push_back(p.first);
      val.push_back(p.second);
    }
    n++;
  }
  // Dense entries of variable j.
  void column(int j, std::vector<int> &ri, std::vector<double> &rv) const {
    ri.clear();
    rv.clear();
    if (j < n) {
      for (int k = beg[j]; k < beg[j] + cnt[j]; k++) {
        ri.push_back(ind[k]);
        rv.push_back(val[k]);
      }
    } else if (j < n + m) {
      int s = j - n;
      ri.push_back(mat.slackrow ? srow[s] : s);
      rv.push_back(mat.slackcoef ? scoef[s] : 1.0);
    } else {
      ri.push_back(j - n - m);
      rv.push_back(1.0);
    }
  }
};

// Random nonsingular basis: a permuted diagonal of magnitude 1..10 plus
// `extra` random entries per column in [-1, 1].  Columns 0..m-1 form the
// basis in a random order.
inline Model random_basis(std::mt19937 &rng, int m, double extra) {
  Model md;
  md.m = m;
  std::vector<int> perm(m);
  for (int i = 0; i < m; i++) perm[i] = i;
  std::shuffle(perm.begin(), perm.end(), rng);
  std::uniform_real_distribution<double> u(-1.0, 1.0), mag(1.0, 10.0);
  std::poisson_distribution<int> pe(extra);
  std::uniform_int_distribution<int> row(0, m - 1);
  for (int j = 0; j < m; j++) {
    std::vector<std::pair<int, double>> e;
    int d = perm[j];
    e.push_back({d, (u(rng) < 0 ? -1 : 1) * mag(rng)});
    int k = std::min(pe(rng), m - 1);
    std::vector<char> used(m, 0);
    used[d] = 1;
    for (int t = 0; t < k; t++) {
      int i = row(rng);
      if (used[i]) continue;
      used[i] = 1;
      e.push_back({i, u(rng)});
    }
    md.addcol(e);
  }
  md.finish();
  return md;
}

// r = B x - b with B the columns of head (x by position, b by row);
// returns ||r||_inf / (||B||_inf ||x||_inf + ||b||_inf).
inline double ftran_residual(const Model &md, const std::vector<int> &head,
                             const std::vector<double> &x, const std::vector<double> &b) {
  std::vector<double> r(b.size());
  for (size_t i = 0; i < b.size(); i++) r[i] = -b[i];
  std::vector<double> rowabs(md.m, 0.0);
  std::vector<int> ri;
  std::vector<double> rv;
  double xn = 0, bn = 0;
  for (int p = 0; p < md.m; p++) {
    md.column(head[p], ri, rv);
    for (size_t k = 0; k < ri.size(); k++) {
      r[ri[k]] += rv[k] * x[p];
      rowabs[ri[k]] += std::fabs(rv[k]);
    }
    xn = std::max(xn, std::fabs(x[p]));
  }
  double rn = 0, an = 0;
  for (int i = 0; i < md.m; i++) {
    rn = std::max(rn, std::fabs(r[i]));
    an = std::max(an, rowabs[i]);
    bn = std::max(bn, std::fabs(b[i]));
  }
  double den = an * xn + bn;
  return den == 0 ? rn : rn / den;
}

// r = B' y - c (y by row, c by position), same scaling.
inline double btran_residual(const Model &md, const std::vector<int> &head,
                             const std::vector<double> &y, const std::vector<double> &c) {
  std::vector<int> ri;
  std::vector<double> rv;
  double rn = 0, an = 0, yn = 0, cn = 0;
  for (double v : y) yn = std::max(yn, std::fabs(v));
  for (int p = 0; p < md.m; p++) {
    md.column(head[p], ri, rv);
    double s = -c[p], a = 0;
    for (size_t k = 0; k < ri.size(); k++) {
      s += rv[k] * y[ri[k]];
      a += std::fabs(rv[k]);
    }
    rn = std::max(rn, std::fabs(s));
    an = std::max(an, a);
    cn = std::max(cn, std::fabs(c[p]));
  }
  double den = an * yn + cn;
  return den == 0 ? rn : rn / den;
}

// Checks the svec invariant: listed cells are at least 1e-13 in magnitude,
// distinct, and every other cell is exactly 0.
inline bool svec_consistent(const velto::svec &v) {
  std::vector<char> seen(v.dim, 0);
  for (int k = 0; k < v.nnz; k++) {
    int i = v.ind[k];
    if (i < 0 || i >= v.dim || seen[i]) return false;
    seen[i] = 1;
    if (!(std::fabs(v.val[i]) >= 1e-13)) return false;
  }
  for (int i = 0; i < v.dim; i++)
    if (!seen[i] && v.val[i] != 0.0) return false;
  return true;
}

struct SVec {
  velto::svec v{};
  explicit SVec(int dim) { velto::svec_alloc(&v, dim); }
  ~SVec() { velto::svec_free(&v); }
  std::vector<double> dense() const { return std::vector<double>(v.val, v.val + v.dim); }
};

struct Fac {
  velto::lufactor *f;
  explicit Fac(int m) : f(velto::lu_create(m)) {}
  ~Fac() { velto::lu_free(&f); }
};

// Folder of the public models: $VELTO_DATA, else the build's default.
inline std::string data_dir() {
  const char *d = std::getenv("VELTO_DATA");
#ifdef VELTO_DATA_DEFAULT
  return d ? d : VELTO_DATA_DEFAULT;
#else
  return d ? d : "";
#endif
}

inline bool file_exists(const std::string &f) {
  struct stat st;
  return stat(f.c_str(), &st) == 0;
}

// Reads a model through the public API into column form, with one slack per
// row.  False when the file cannot be read.
inline bool load_model(const std::string &file, Model &md) {
  int st = 0;
  VLTENVptr env = VLTopenVELTO(&st);
  if (env == nullptr) return false;
  VLTLPptr lp = VLTcreateprob(env, &st, "lu");
  bool ok = lp != nullptr && VLTreadcopyprob(env, lp, file.c_str(), nullptr) == 0;
  if (ok) {
    md = Model();
    md.m = VLTgetnumrows(env, lp);
    int n = VLTgetnumcols(env, lp);
    int nz = 0, surplus = 0;
    std::vector<int> beg(n + 1);
    VLTgetcols(env, lp, &nz, beg.data(), nullptr, nullptr, 0, &surplus, 0, n - 1);
    int space = -surplus;
    md.ind.resize(std::max(space, 1));
    md.val.resize(std::max(space, 1));
    ok = n == 0 || VLTgetcols(env, lp, &nz, beg.data(), md.ind.data(), md.val.data(), space,
                              &surplus, 0, n - 1) == 0;
    md.n = n;
    md.beg.assign(beg.begin(), beg.begin() + n);
    md.cnt.resize(n);
    for (int j = 0; j < n; j++) md.cnt[j] = (j + 1 < n ? beg[j + 1] : nz) - beg[j];
    md.finish();
  }
  if (lp) VLTfreeprob(env, &lp);
  VLTcloseVELTO(&env);
  return ok;
}

// Bases of a model: the pivoted columns of `cand` (probed as a list) with
// slacks in the rows left over.  Full rank by construction.
inline std::vector<int> probe_basis(const Model &md, velto::lufactor *f,
                                    const std::vector<int> &cand) {
  const int m = md.m;
  std::vector<int> rowdone(m), coldone(cand.size() + 1);
  std::vector<int> head;
  int st = velto::lu_probe(nullptr, f, &md.mat, static_cast<int>(cand.size()), cand.data(),
                           rowdone.data(), coldone.data(), nullptr, 0.1, 1e-7);
  if (st != 0 && st != velto::kLuRepaired) return head;
  for (size_t k = 0; k < cand.size(); k++)
    if (coldone[k]) head.push_back(cand[k]);
  for (int i = 0; i < m; i++)
    if (!rowdone[i]) head.push_back(md.n + i);
  return head;
}

}  // namespace lutest
