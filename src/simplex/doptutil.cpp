// Set-up and the recomputations of the dual engine: values, duals, phase
// boxes, objective and refactorization.
#include <algorithm>
#include <cmath>
#include <new>

#include "simplex/dualcore.h"

namespace velto {

namespace {
constexpr double kInf = 1e19;
}

double nonbasic_value(const dualengine &e, int j) {
  switch (e.status[j]) {
    case 0: return e.wlb[j] > -kInf ? e.wlb[j] : 0.0;
    case 2: return e.wub[j] < kInf ? e.wub[j] : 0.0;
    default: return 0.0;
  }
}

// Status of a nonbasic variable that makes it dual feasible for its reduced
// cost, or the nearest one when none does.
int feasible_status(const dualengine &e, int j, double dj) {
  bool haslo = e.wlb[j] > -kInf, hasup = e.wub[j] < kInf;
  if (haslo && hasup) return dj >= 0.0 ? 0 : 2;
  if (haslo) return 0;
  if (hasup) return 2;
  return 3;
}

void dual_slackbasis(const dualprob &p, std::vector<int> &head, std::vector<int> &status) {
  head.resize(p.m);
  status.assign(p.n + p.m, 0);
  for (int j = 0; j < p.n; ++j) {
    bool haslo = p.lb[j] > -kInf, hasup = p.ub[j] < kInf;
    status[j] = haslo ? 0 : (hasup ? 2 : 3);
  }
  for (int i = 0; i < p.m; ++i) {
    head[i] = p.n + i;
    status[p.n + i] = 1;
  }
}

int dual_setup(dualengine &e, const dualprob &p, const std::vector<int> &head,
               const std::vector<int> &status, const dualopts &opt) {
  try {
    e.p = &p;
    e.opt = opt;
    e.m = p.m;
    e.n = p.n;
    e.nt = p.n + p.m;
    const int m = e.m, nt = e.nt;
    e.head = head;
    e.status = status;
    e.pos.assign(nt, -1);
    for (int i = 0; i < m; ++i) {
      e.status[e.head[i]] = 1;
      e.pos[e.head[i]] = i;
    }
    e.wlb = p.lb;
    e.wub = p.ub;
    for (int j = 0; j < nt; ++j) {
      if (e.status[j] == 1) {
        if (e.pos[j] < 0) e.status[j] = 0;  // claimed basic but not in the head
        else continue;
      }
      bool haslo = p.lb[j] > -kInf, hasup = p.ub[j] < kInf;
      int st = e.status[j];
      if (st == 0 && !haslo) st = hasup ? 2 : 3;
      if (st == 2 && !hasup) st = haslo ? 0 : 3;
      if (st == 3 && (haslo || hasup)) st = haslo ? 0 : 2;
      if (st != 0 && st != 2 && st != 3) st = haslo ? 0 : (hasup ? 2 : 3);
      e.status[j] = st;
    }
    e.wcost = p.cost;
    e.x.assign(nt, 0.0);
    e.d.assign(nt, 0.0);
    e.pi.assign(m, 0.0);
    e.gamma.assign(m, 1.0);
    e.normsvalid = 0;
    e.rho.assign(m, 0.0);
    e.col.assign(m, 0.0);
    e.tau.assign(m, 0.0);
    e.work.assign(m, 0.0);
    e.flipcol.assign(m, 0.0);
    e.rhoind.assign(m, 0);
    e.row.resize(nt);
    e.phase = 2;
    e.perturbed = 0;
    e.percount = 0;
    e.shifts = 0;
    e.persize = opt.persize;
    e.harris = std::min(opt.opttol, 1e-7);
    e.itcnt = 0;
    e.phase1cnt = 0;
    e.refactors = 0;
    e.result = 0;
    e.lastleave = -1;
    e.lastleavepos = -1;
    e.hasray = 0;
    e.ray.clear();
    if (e.fac == nullptr) e.fac = e.envp ? make_sparse_factor(e.envp, p) : make_dense_factor();
    if (e.fac == nullptr) return 1001;
    rowcopy_build(e.rc, p, e.status);
  } catch (const std::bad_alloc &) {
    return 1001;
  }
  return 0;
}

void dual_free(dualengine &e) {
  delete e.fac;
  e.fac = nullptr;
}

// Factors the basis; a dependent column is exchanged for a logical.
int dual_refactor(dualengine &e) {
  const dualprob &p = *e.p;
  std::vector<int> sing, singrow;
  int r = e.fac->factor(p, e.head, sing, singrow);
  e.refactors++;
  if (r < 0) return 1256;
  for (size_t k = 0; k < sing.size(); ++k) {
    int c = sing[k];
    // head[c] now holds the logical; find the column that was there.
    int newj = e.head[c];
    int oldj = -1;
    for (int j = 0; j < e.nt; ++j)
      if (e.pos[j] == c && j != newj) {
        oldj = j;
        break;
      }
    if (oldj >= 0) {
      e.pos[oldj] = -1;
      e.status[oldj] = feasible_status(e, oldj, e.d[oldj]);
      rowcopy_append(e.rc, p, oldj);
    }
    e.pos[newj] = c;
    e.status[newj] = 1;
    rowcopy_remove(e.rc, p, newj);
    e.singular++;
  }
  if (!sing.empty()) {
    // Norms seeded from a start stand except at the repaired positions.
    if (e.normsseeded)
      for (int c : sing) e.gamma[c] = -1.0;
    e.normsvalid = 0;
  }
  return 0;
}

void dual_compute_primal(dualengine &e) {
  const dualprob &p = *e.p;
  std::vector<double> &w = e.work;
  if (e.phase == 1) std::fill(w.begin(), w.end(), 0.0);
  else std::copy(p.rhs.begin(), p.rhs.end(), w.begin());
  for (int j = 0; j < e.nt; ++j) {
    if (e.status[j] == 1) continue;
    double v = nonbasic_value(e, j);
    e.x[j] = v;
    if (v == 0.0) continue;
    if (j < e.n) {
      for (int k = p.matbeg[j]; k < p.matbeg[j + 1]; ++k) w[p.matind[k]] -= v * p.matval[k];
    } else {
      w[j - e.n] -= v * p.slackval[j - e.n];
    }
  }
  e.fac->ftran(w);
  for (int i = 0; i < e.m; ++i) e.x[e.head[i]] = w[i];
}

void dual_compute_duals(dualengine &e) {
  const dualprob &p = *e.p;
  for (int i = 0; i < e.m; ++i) e.pi[i] = e.wcost[e.head[i]];
  e.fac->btran(e.pi);
  for (int j = 0; j < e.n; ++j) {
    if (e.status[j] == 1) {
      e.d[j] = 0.0;
      continue;
    }
    double s = e.wcost[j];
    for (int k = p.matbeg[j]; k < p.matbeg[j + 1]; ++k) s -= e.pi[p.matind[k]] * p.matval[k];
    e.d[j] = s;
  }
  for (int i = 0; i < e.m; ++i) {
    int j = e.n + i;
    e.d[j] = e.status[j] == 1 ? 0.0 : e.wcost[j] - p.slackval[i] * e.pi[i];
  }
}

// Dual infeasibility of a nonbasic variable under the working bounds; 0 when
// feasible at tol.
double dual_infeas(const dualengine &e, int j, double tol) {
  int st = e.status[j];
  if (st == 1 || e.wlb[j] == e.wub[j]) return 0.0;
  double dj = e.d[j];
  if (st == 0) return dj < -tol ? -dj : 0.0;
  if (st == 2) return dj > tol ? dj : 0.0;
  return std::fabs(dj) > tol ? std::fabs(dj) : 0.0;
}

// Puts boxed variables on the side their reduced cost asks for.  Returns the
// count of flips; the caller recomputes the primal values.
int dual_flip_boxed(dualengine &e, double tol) {
  int flips = 0;
  for (int j = 0; j < e.nt; ++j) {
    int st = e.status[j];
    if (st == 1 || e.wlb[j] == e.wub[j]) continue;
    if (e.wlb[j] <= -kInf || e.wub[j] >= kInf) continue;
    if (st == 0 && e.d[j] < -tol) {
      e.status[j] = 2;
      flips++;
    } else if (st == 2 && e.d[j] > tol) {
      e.status[j] = 0;
      flips++;
    }
  }
  return flips;
}

// Count and sum of the dual infeasibilities at tol.
int dual_infeas_count(const dualengine &e, double tol, double *sum) {
  int cnt = 0;
  double s = 0.0;
  for (int j = 0; j < e.nt; ++j) {
    double v = dual_infeas(e, j, tol);
    if (v > 0.0) {
      cnt++;
      s += v;
    }
  }
  if (sum) *sum = s;
  return cnt;
}

// Auxiliary box of phase 1: the bounds that make a dual feasible basis of the
// auxiliary problem mean a dual feasible basis of the real one.
void dual_set_phase1(dualengine &e) {
  const dualprob &p = *e.p;
  for (int j = 0; j < e.nt; ++j) {
    bool haslo = p.lb[j] > -kInf, hasup = p.ub[j] < kInf;
    if (haslo && hasup) {
      e.wlb[j] = 0.0;
      e.wub[j] = 0.0;
    } else if (haslo) {
      e.wlb[j] = 0.0;
      e.wub[j] = 1.0;
    } else if (hasup) {
      e.wlb[j] = -1.0;
      e.wub[j] = 0.0;
    } else {
      e.wlb[j] = -1.0;
      e.wub[j] = 1.0;
    }
    if (e.status[j] != 1) e.status[j] = e.d[j] >= 0.0 ? 0 : 2;
  }
  e.phase = 1;
}

void dual_set_phase2(dualengine &e) {
  const dualprob &p = *e.p;
  e.wlb = p.lb;
  e.wub = p.ub;
  for (int j = 0; j < e.nt; ++j)
    if (e.status[j] != 1) e.status[j] = feasible_status(e, j, e.d[j]);
  e.phase = 2;
}

// Objective of the current phase in minimization sign: the dual objective in
// phase 2 (equal to the primal one at a basic solution), the auxiliary one in
// phase 1.
double dual_objective(const dualengine &e) {
  double s = 0.0;
  for (int j = 0; j < e.nt; ++j) s += e.wcost[j] * e.x[j];
  return s;
}

}  // namespace velto
