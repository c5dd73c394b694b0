// Dense linear algebra over the basis the library reports, for the tests of
// the basis calls: the user's basis matrix (a column of A, or e_i for the
// slack s_i = rhs_i - a_i x), its inverse, tableau columns and rows, and the
// bounds of every variable in the user's view.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "common/dense.h"
#include "velto.h"

namespace basistest {

struct Capture {
  std::string text;
  static void sink(void *h, const char *t) { static_cast<Capture *>(h)->text += t; }
};

// An environment and a problem, with the three channels captured.
struct Session {
  VLTENVptr env = nullptr;
  VLTLPptr lp = nullptr;
  Capture err, res, warn;
  Session() {
    int st = 0;
    env = VLTopenVELTO(&st);
    VLTCHANNELptr r, w, e, l;
    VLTgetchannels(env, &r, &w, &e, &l);
    VLTaddfuncdest(env, e, &err, Capture::sink);
    VLTaddfuncdest(env, r, &res, Capture::sink);
    VLTaddfuncdest(env, w, &warn, Capture::sink);
    lp = VLTcreateprob(env, &st, "basis");
  }
  ~Session() {
    VLTfreeprob(env, &lp);
    VLTcloseVELTO(&env);
  }
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;
};

// A model kept densely: rows a_i x (sense) rhs_i.
struct Dense {
  int m = 0, n = 0;
  std::vector<double> A;  // row-major m x n
  std::vector<double> c, lb, ub, rhs;
  std::vector<char> sense;
  double a(int i, int j) const { return A[static_cast<size_t>(i) * n + j]; }

  int load(Session &s) const {
    std::vector<int> beg(n), cnt(n), ind;
    std::vector<double> val;
    for (int j = 0; j < n; ++j) {
      beg[j] = static_cast<int>(ind.size());
      for (int i = 0; i < m; ++i)
        if (a(i, j) != 0.0) {
          ind.push_back(i);
          val.push_back(a(i, j));
        }
      cnt[j] = static_cast<int>(ind.size()) - beg[j];
    }
    if (ind.empty()) {
      ind.push_back(0);
      val.push_back(0.0);
    }
    return VLTcopylp(s.env, s.lp, n, m, 1, c.data(), rhs.data(), sense.data(), beg.data(),
                     cnt.data(), ind.data(), val.data(), lb.data(), ub.data(), nullptr);
  }

  // User variables: columns 0..n-1, then the slack of each row (n + i).
  double varlb(int v) const {
    if (v < n) return lb[v];
    char s = sense[v - n];
    return s == 'G' ? -1e20 : 0.0;
  }
  double varub(int v) const {
    if (v < n) return ub[v];
    char s = sense[v - n];
    return s == 'L' ? 1e20 : 0.0;
  }
  // Column of variable v in [A I].
  std::vector<double> column(int v) const {
    std::vector<double> col(m, 0.0);
    if (v < n) {
      for (int i = 0; i < m; ++i) col[i] = a(i, v);
    } else {
      col[v - n] = 1.0;
    }
    return col;
  }
  double cost(int v) const { return v < n ? c[v] : 0.0; }
};

// Random model with rows of senses L, G, E and an interior point.
inline Dense random_model(std::mt19937 &g, int m, int n, bool withE = true) {
  std::uniform_real_distribution<double> u(-1, 1);
  Dense d;
  d.m = m;
  d.n = n;
  d.A.assign(static_cast<size_t>(m) * n, 0.0);
  d.c.resize(n);
  d.lb.assign(n, 0.0);
  d.ub.assign(n, 6.0);
  d.rhs.assign(m, 0.0);
  d.sense.resize(m);
  std::vector<double> x0(n);
  for (int j = 0; j < n; ++j) {
    x0[j] = 1 + 2 * std::fabs(u(g));
    d.c[j] = std::round(u(g) * 50) / 10;
    if (j % 4 == 3) d.ub[j] = 1e20;
  }
  for (int i = 0; i < m; ++i)
    for (int j = 0; j < n; ++j)
      if (std::fabs(u(g)) < 0.5 || i == j % m) {
        double v = std::round(u(g) * 40) / 10 + (i == j % m ? 4 : 0);
        d.A[static_cast<size_t>(i) * n + j] = v;
        d.rhs[i] += v * x0[j];
      }
  const char s3[] = {'L', 'G', 'E'};
  for (int i = 0; i < m; ++i) {
    d.sense[i] = withE ? s3[i % 3] : s3[i % 2];
    if (d.sense[i] == 'L') d.rhs[i] += 1.5;
    if (d.sense[i] == 'G') d.rhs[i] -= 1.5;
  }
  return d;
}

using densela::invert;

// The basis as the library reports it, with everything derived densely.
struct Basis {
  const Dense *d = nullptr;
  std::vector<int> headuser;  // VLTgetbhead: column j or ~i
  std::vector<int> head;      // variable per position (slack of row i is n + i)
  std::vector<int> pos;       // n + m
  std::vector<double> Binv;   // m x m row-major
  std::vector<double> x;      // n + m values
  std::vector<double> pi;     // m, minimization
  std::vector<double> dj;     // n + m

  bool build(Session &s, const Dense &dm) {
    d = &dm;
    const int m = dm.m, n = dm.n;
    headuser.resize(m);
    std::vector<double> xb(m);
    if (VLTgetbhead(s.env, s.lp, headuser.data(), xb.data()) != 0) return false;
    head.resize(m);
    pos.assign(n + m, -1);
    std::vector<double> B(static_cast<size_t>(m) * m, 0.0);
    for (int k = 0; k < m; ++k) {
      head[k] = headuser[k] >= 0 ? headuser[k] : n + (-headuser[k] - 1);
      pos[head[k]] = k;
      std::vector<double> col = dm.column(head[k]);
      for (int i = 0; i < m; ++i) B[i * m + k] = col[i];
    }
    if (!invert(B, m, Binv)) return false;
    // Nonbasic values: at the bound the status names.
    std::vector<int> cstat(n), rstat(m);
    if (VLTgetbase(s.env, s.lp, cstat.data(), rstat.data()) != 0) return false;
    x.assign(n + m, 0.0);
    for (int v = 0; v < n + m; ++v) {
      if (pos[v] >= 0) continue;
      if (v < n) x[v] = cstat[v] == 2 ? dm.ub[v] : cstat[v] == 0 ? dm.lb[v] : 0.0;
    }
    std::vector<double> r(dm.rhs);
    for (int v = 0; v < n + m; ++v) {
      if (pos[v] >= 0 || x[v] == 0.0) continue;
      std::vector<double> col = dm.column(v);
      for (int i = 0; i < m; ++i) r[i] -= col[i] * x[v];
    }
    for (int k = 0; k < m; ++k) {
      double t = 0.0;
      for (int i = 0; i < m; ++i) t += Binv[k * m + i] * r[i];
      x[head[k]] = t;
    }
    pi.assign(m, 0.0);
    for (int i = 0; i < m; ++i)
      for (int k = 0; k < m; ++k) pi[i] += dm.cost(head[k]) * Binv[k * m + i];
    dj.assign(n + m, 0.0);
    for (int v = 0; v < n + m; ++v) {
      if (pos[v] >= 0) continue;
      std::vector<double> col = dm.column(v);
      double t = dm.cost(v);
      for (int i = 0; i < m; ++i) t -= pi[i] * col[i];
      dj[v] = t;
    }
    return true;
  }
  // B^-1 a_v by position.
  std::vector<double> ftran(int v) const {
    const int m = d->m;
    std::vector<double> col = d->column(v), out(m, 0.0);
    for (int k = 0; k < m; ++k)
      for (int i = 0; i < m; ++i) out[k] += Binv[k * m + i] * col[i];
    return out;
  }
  // Row r of B^-1 A over all variables.
  std::vector<double> tabrow(int r) const {
    const int m = d->m, nt = d->n + m;
    std::vector<double> out(nt, 0.0);
    for (int v = 0; v < nt; ++v) {
      std::vector<double> col = d->column(v);
      for (int i = 0; i < m; ++i) out[v] += Binv[r * m + i] * col[i];
    }
    return out;
  }
};

inline int user_index(const Dense &d, int v) { return v < d.n ? v : -(v - d.n) - 1; }
inline int var_of(const Dense &d, int user) { return user >= 0 ? user : d.n + (-user - 1); }

}  // namespace basistest
