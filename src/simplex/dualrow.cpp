// Row-wise copy of the nonbasic part of the matrix and the pivot row.
#include <cmath>

#include "simplex/dualcore.h"

namespace velto {

namespace {
inline bool fixedvar(const dualprob &p, int j) { return p.lb[j] == p.ub[j]; }
}  // namespace

void rowcopy_build(dualrowcopy &rc, const dualprob &p, const std::vector<int> &status) {
  const int m = p.m;
  rc.rowbeg.assign(m + 1, 0);
  rc.rowend.assign(m, 0);
  // Room for every non-fixed column, basic or not, so no growth is needed.
  for (int j = 0; j < p.n; ++j) {
    if (fixedvar(p, j)) continue;
    for (int k = p.matbeg[j]; k < p.matbeg[j + 1]; ++k) rc.rowbeg[p.matind[k] + 1]++;
  }
  for (int i = 0; i < m; ++i) rc.rowbeg[i + 1] += rc.rowbeg[i];
  rc.colind.assign(rc.rowbeg[m], 0);
  rc.val.assign(rc.rowbeg[m], 0.0);
  for (int i = 0; i < m; ++i) rc.rowend[i] = rc.rowbeg[i];
  for (int j = 0; j < p.n; ++j) {
    if (fixedvar(p, j) || status[j] == 1) continue;
    for (int k = p.matbeg[j]; k < p.matbeg[j + 1]; ++k) {
      int i = p.matind[k];
      int q = rc.rowend[i]++;
      rc.colind[q] = j;
      rc.val[q] = p.matval[k];
    }
  }
  rc.built = 1;
}

void rowcopy_remove(dualrowcopy &rc, const dualprob &p, int j) {
  if (j >= p.n || fixedvar(p, j)) return;
  for (int k = p.matbeg[j]; k < p.matbeg[j + 1]; ++k) {
    int i = p.matind[k];
    int last = rc.rowend[i] - 1;
    for (int q = rc.rowbeg[i]; q <= last; ++q) {
      if (rc.colind[q] == j) {
        rc.colind[q] = rc.colind[last];
        rc.val[q] = rc.val[last];
        rc.rowend[i] = last;
        break;
      }
    }
  }
}

void rowcopy_append(dualrowcopy &rc, const dualprob &p, int j) {
  if (j >= p.n || fixedvar(p, j)) return;
  for (int k = p.matbeg[j]; k < p.matbeg[j + 1]; ++k) {
    int i = p.matind[k];
    int q = rc.rowend[i]++;
    rc.colind[q] = j;
    rc.val[q] = p.matval[k];
  }
}

void pivot_row(const dualrowcopy &rc, const dualprob &p, const std::vector<double> &rho,
               const std::vector<int> &rhoind, int rhonnz, const std::vector<int> &status,
               dvec &out) {
  out.clear();
  const int n = p.n;
  // A dense rho is cheaper column by column over the nonbasic columns.
  long work = 0;
  for (int k = 0; k < rhonnz; ++k) work += rc.rowend[rhoind[k]] - rc.rowbeg[rhoind[k]];
  if (work > static_cast<long>(p.matind.size()) / 4) {
    for (int j = 0; j < n; ++j) {
      if (status[j] == 1 || p.lb[j] == p.ub[j]) continue;
      double s = 0.0;
      for (int k = p.matbeg[j]; k < p.matbeg[j + 1]; ++k) s += rho[p.matind[k]] * p.matval[k];
      if (std::abs(s) >= 1e-12) {
        out.val[j] = s;
        out.mark[j] = 1;
        out.ind[out.nnz++] = j;
      }
    }
    for (int k = 0; k < rhonnz; ++k) {
      int i = rhoind[k];
      int j = n + i;
      if (status[j] == 1 || p.lb[j] == p.ub[j]) continue;
      double s = rho[i] * p.slackval[i];
      if (std::abs(s) >= 1e-12) {
        out.val[j] = s;
        out.mark[j] = 1;
        out.ind[out.nnz++] = j;
      }
    }
    return;
  }
  for (int k = 0; k < rhonnz; ++k) {
    int i = rhoind[k];
    double r = rho[i];
    if (r == 0.0) continue;
    for (int q = rc.rowbeg[i]; q < rc.rowend[i]; ++q) out.add(rc.colind[q], r * rc.val[q]);
    if (status[n + i] != 1 && p.lb[n + i] != p.ub[n + i]) out.add(n + i, r * p.slackval[i]);
  }
  // Drop exact cancellations and tiny values so the ratio test sees clean data.
  int keep = 0;
  for (int k = 0; k < out.nnz; ++k) {
    int j = out.ind[k];
    if (std::abs(out.val[j]) < 1e-12) {
      out.val[j] = 0.0;
      out.mark[j] = 0;
    } else {
      out.ind[keep++] = j;
    }
  }
  out.nnz = keep;
}

}  // namespace velto
