// The reductions that look at one row or one column at a time.
#include <algorithm>
#include <cmath>
#include <vector>

#include "presolve/presolve.h"

namespace velto {

namespace {

// The one live entry of row i.
bool single_entry(const prerec *r, int i, int *pj, double *pa) {
  for (int k = r->rbeg[i]; k < r->rbeg[i] + r->rlen[i]; ++k) {
    int j = r->rind[k];
    if (collive(r, j)) {
      *pj = j;
      *pa = r->rval[k];
      return true;
    }
  }
  return false;
}

// Coefficient of column j in row i (0 when absent).
double coef(const prerec *r, int i, int j) {
  for (int k = r->cbeg[j]; k < r->cbeg[j] + r->clen[j]; ++k)
    if (r->cind[k] == i) return r->cval[k];
  return 0.0;
}

// Moves the objective of column j (singleton in row i, coefficient a) onto
// the other columns of the row.
void shift_objective(prerec *r, int i, int j, double a) {
  double d = r->obj[j] / a;
  if (d == 0.0) return;
  for (int k = r->rbeg[i]; k < r->rbeg[i] + r->rlen[i]; ++k) {
    int q = r->rind[k];
    if (q == j || !collive(r, q)) continue;
    r->obj[q] -= d * r->rval[k];
  }
  r->objoffset += d * r->rhs[i];
  r->obj[j] = 0.0;
}

// Logs a column defined by its row: column, row, coefficient, cost, rhs,
// then the other live entries.
void log_row_definition(prerec *r, int op, int i, int j, double a) {
  push_record(r, op, i, r->rhs[i], r->lb[j], r->ub[j]);
  push_entry(r, j, a);
  push_entry(r, i, r->objsen * r->obj[j]);
  push_entry(r, -1, r->rhs[i]);
  for (int k = r->rbeg[i]; k < r->rbeg[i] + r->rlen[i]; ++k) {
    int q = r->rind[k];
    if (q == j || !collive(r, q)) continue;
    push_entry(r, q, r->rval[k]);
  }
}

// One sweep of the bounds that the rows imply, starting from implo and
// imphi, with the row that gave each.
void implied_sweep(const prerec *r, std::vector<double> &implo, std::vector<double> &imphi,
                   std::vector<int> &srclo, std::vector<int> &srchi) {
  for (int i = 0; i < r->nrows; ++i) {
    if (r->rowcnt[i] < 1) continue;
    const char s = r->sense[i];
    for (int k = r->rbeg[i]; k < r->rbeg[i] + r->rlen[i]; ++k) {
      int j = r->rind[k];
      double a = r->rval[k];
      if (!collive(r, j) || std::fabs(a) <= 1e-10) continue;
      double act;
      if ((s == 'L' || s == 'E') && rowmin_without(r, i, j, a, &act)) {
        double t = (r->rhs[i] - act) / a;
        if (a > 0 && t < imphi[j]) { imphi[j] = t; srchi[j] = i; }
        if (a < 0 && t > implo[j]) { implo[j] = t; srclo[j] = i; }
      }
      if ((s == 'G' || s == 'E') && rowmax_without(r, i, j, a, &act)) {
        double t = (r->rhs[i] - act) / a;
        if (a > 0 && t > implo[j]) { implo[j] = t; srclo[j] = i; }
        if (a < 0 && t < imphi[j]) { imphi[j] = t; srchi[j] = i; }
      }
    }
  }
}

}  // namespace

int pre_cleanup_columns(env *e, prerec *r, lp *p) {
  for (int j = 0; j < r->ncols; ++j) {
    if (!collive(r, j)) continue;
    int st = column_test(e, r, p, j);
    if (st) return st;
  }
  return 0;
}

int pre_empty_rows(env *e, prerec *r, lp *p) {
  const double t = r->feastol;
  for (int i = 0; i < r->nrows; ++i) {
    if (r->rowcnt[i] != 0) continue;
    r->rowcnt[i] = -1;
    r->rowmap[i] = -1;
    ++r->rowsgone;
    double b = r->rhs[i];
    char s = r->sense[i];
    bool ok = s == 'L' ? -t <= b : s == 'G' ? b <= t : std::fabs(b) <= t;
    if (!ok) {
      if (r->predisp)
        msg(e->reschannel, "Infeasibility row '%.255s':  0 %c= %g.\n", pre_rowname(r, p, i),
            s == 'L' ? '<' : s == 'G' ? '>' : ' ', b);
      return 1101;
    }
  }
  return 0;
}

int pre_singleton_rows(env *e, prerec *r, lp *p) {
  for (int i = 0; i < r->nrows; ++i) {
    if (r->rowcnt[i] != 1) continue;
    int j;
    double a;
    if (!single_entry(r, i, &j, &a) || std::fabs(a) <= 1e-10) continue;
    const double b = r->rhs[i] / a, l = r->lb[j], u = r->ub[j];
    double nl = l, nu = u;
    const char s = r->sense[i];
    if (s == 'E') {
      if (b < l - r->feastol || b > u + r->feastol) {
        if (r->predisp) msg(e->reschannel, "Infeasible column '%.255s'.\n", pre_colname(r, p, j));
        return 1101;
      }
      nl = nu = b;
    } else if ((s == 'L' && a > 0) || (s == 'G' && a < 0)) {
      if (b < u) nu = b;
    } else {
      if (b > l) nl = b;
    }
    bool newl = l <= -kInfBound && nl > -kInfBound;
    bool newu = u >= kInfBound && nu < kInfBound;
    bool rose = newl || nl - l > 1e-10;
    bool fell = newu || u - nu > 1e-10;
    int op = rose && fell ? kOpRowBoth : rose ? kOpRowLower : fell ? kOpRowUpper : 0;
    if (op == 0) continue;
    push_record(r, op, i, r->rhs[i], nl, nu);
    push_entry(r, j, a);
    r->rowcnt[i] = -1;
    r->rowmap[i] = -1;
    --r->colcnt[j];
    ++r->rowsgone;
    for (int k = r->cbeg[j]; k < r->cbeg[j] + r->clen[j]; ++k) {
      int q = r->cind[k];
      if (r->rowcnt[q] < 1) continue;
      activity_add(r, q, r->cval[k], l, u, -1);
      activity_add(r, q, r->cval[k], nl, nu, 1);
    }
    r->lb[j] = nl;
    r->ub[j] = nu;
    int st = column_test(e, r, p, j);
    if (st) return st;
  }
  return 0;
}

int pre_forcing_rows(env *e, prerec *r, lp *p) {
  const double big = 100 * r->feastol;
  for (int i = 0; i < r->nrows; ++i) {
    if (r->rowcnt[i] < 1) continue;
    const double hi = r->rhs[i] - r->rowmaxfin[i], lo = r->rowminfin[i] - r->rhs[i];
    const int maxinf = r->rowmaxinf[i], mininf = r->rowmininf[i];
    const char s = r->sense[i];
    bool redundant = (s == 'L' && maxinf == 0 && hi > -1e-10) ||
                     (s == 'G' && mininf == 0 && lo > -1e-10) ||
                     (maxinf == 0 && mininf == 0 && hi > -1e-10 && lo > -1e-10);
    if (redundant) {
      int st = remove_row(e, r, p, i, 1);
      if (st) return st;
      continue;
    }
    bool inf_min = mininf == 0 && lo > big;  // the smallest activity exceeds rhs
    bool inf_max = maxinf == 0 && hi > big;  // the largest activity is below rhs
    if ((s == 'L' && inf_min) || (s == 'G' && inf_max) || (s == 'E' && (inf_min || inf_max))) {
      if (r->predisp)
        msg(e->reschannel, "Row '%.255s' infeasible, all entries at implied bounds.\n",
            pre_rowname(r, p, i));
      return 1101;
    }
    int op = 0;
    if ((s == 'L' || s == 'E') && mininf == 0 && lo > -1e-10) op = kOpForceMin;
    else if ((s == 'G' || s == 'E') && maxinf == 0 && hi > -1e-10) op = kOpForceMax;
    if (op == 0) continue;
    push_record(r, op, i, r->rhs[i], 0.0, 0.0);
    push_row_entries(r, i);
    const undorec rec = r->log.back();
    for (int t = 0; t < rec.len; ++t) {
      int j = r->logind[rec.start + t];
      double a = r->logval[rec.start + t];
      if (!collive(r, j)) continue;
      bool atlower = (op == kOpForceMin) == (a > 0);
      push_record(r, atlower ? kOpAtLower : kOpAtUpper, j, r->obj[j], r->lb[j], r->ub[j]);
      push_column_entries(r, j);
      int st = remove_column(e, r, p, j, atlower ? 0 : 1);
      if (st) return st;
    }
    r->rowcnt[i] = -1;
    r->rowmap[i] = -1;
    ++r->rowsgone;
  }
  return 0;
}

int pre_free_singletons(env *e, prerec *r, lp *p) {
  bool again = true;
  while (again) {
    again = false;
    for (int j = 0; j < r->ncols; ++j) {
      if (r->colcnt[j] != 1 || frozencol(r, j)) continue;
      int i = -1;
      double a = 0.0;
      for (int k = r->cbeg[j]; k < r->cbeg[j] + r->clen[j]; ++k)
        if (rowlive(r, r->cind[k])) {
          i = r->cind[k];
          a = r->cval[k];
          break;
        }
      if (i < 0 || a == 0.0) continue;
      const double c = r->objsen * r->obj[j];
      const char s = r->sense[i];
      char cond = kDualNone;
      if (s != 'E') {
        // The row will be active at an optimum only by the sign of the cost.
        if (r->reduce < 2) continue;
        double sg = s == 'L' ? a : -a;
        if (sg > 0 && !(c < r->feastol)) continue;
        if (sg < 0 && !(c > -r->feastol)) continue;
        if (std::fabs(r->rhs[i]) >= 1e10) continue;
        cond = sg > 0 ? kDualBelowFeas : kDualAboveFeas;
      }
      // Bounds that the row implies for the column.
      double ilo = -kInfBound, ihi = kInfBound, act;
      if (r->rowcnt[i] >= 2) {
        bool up_side_row = s == 'G' || s == 'E';  // uses the largest activity
        bool lo_side_row = s == 'L' || s == 'E';  // uses the smallest activity
        if (up_side_row && rowmax_without(r, i, j, a, &act)) {
          double t = (r->rhs[i] - act) / a;
          if (a > 0) ilo = t;
          else ihi = t;
        }
        if (lo_side_row && rowmin_without(r, i, j, a, &act)) {
          double t = (r->rhs[i] - act) / a;
          if (a > 0) ihi = t;
          else ilo = t;
        }
      }
      bool lofree = r->lb[j] <= -kInfBound || r->lb[j] <= ilo + 1e-13;
      bool upfree = r->ub[j] >= kInfBound || r->ub[j] >= ihi - 1e-13;
      if (!lofree || !upfree) continue;
      log_row_definition(r, kOpFreeSingleton, i, j, a);
      shift_objective(r, i, j, a);
      r->dualgone[j] = cond;
      r->colcnt[j] = -1;
      r->colmap[j] = kMapLinear;
      ++r->colsgone;
      r->rowmap[i] = -2;
      if (--r->rowcnt[i] == 0) {
        r->rowcnt[i] = -1;
        ++r->rowsgone;
      } else {
        // The column is gone already, so the removal skips it.
        int st = remove_row(e, r, p, i, 1);
        r->rowmap[i] = -2;
        if (st) return st;
      }
      again = true;
    }
  }
  return 0;
}

int pre_slack_columns(env *e, prerec *r, lp *p) {
  for (int j = 0; j < r->ncols; ++j) {
    if (r->colcnt[j] != 1 || std::fabs(r->obj[j]) >= 1e-10 || frozencol(r, j)) continue;
    if (r->lb[j] <= -kInfBound && r->ub[j] >= kInfBound) continue;
    int i = -1;
    for (int k = r->cbeg[j]; k < r->cbeg[j] + r->clen[j]; ++k)
      if (rowlive(r, r->cind[k])) {
        i = r->cind[k];
        break;
      }
    if (i < 0 || r->sense[i] != 'E' || r->rowcnt[i] < 2) continue;
    const double a = coef(r, i, j);
    if (a == 0.0) continue;
    int op, pos;
    if (r->ub[j] >= kInfBound) {
      op = kOpSlackLower;
      pos = 0;
    } else if (r->lb[j] <= -kInfBound) {
      op = kOpSlackUpper;
      pos = 1;
    } else {
      double lo, hi;
      implied_bounds(r, j, &lo, &hi);
      if (hi - 1e-9 < r->ub[j]) {
        op = kOpSlackLower;
        pos = 0;
      } else if (lo + 1e-9 > r->lb[j]) {
        op = kOpSlackUpper;
        pos = 1;
      } else {
        continue;
      }
    }
    // The record keeps the cost the column had; postsolve adds its share
    // to the row's dual.
    log_row_definition(r, op, i, j, a);
    shift_objective(r, i, j, a);
    int st = remove_column(e, r, p, j, pos);
    if (st) return st;
    r->colmap[j] = kMapLinear;
    double ap = pos == 0 ? a : -a;
    r->sense[i] = ap > 0 ? 'L' : 'G';
  }
  return 0;
}

int pre_implied_redundancy(env *e, prerec *r, lp *p) {
  const int n = r->ncols, m = r->nrows;
  std::vector<double> implo, imphi;
  std::vector<int> srclo, srchi;
  std::vector<char> pinned;
  try {
    implo = r->lb;
    imphi = r->ub;
    srclo.assign(n, -1);
    srchi.assign(n, -1);
    pinned.assign(m, 0);
  } catch (const std::bad_alloc &) {
    return 0;
  }
  implied_sweep(r, implo, imphi, srclo, srchi);
  for (int i = 0; i < m; ++i) {
    if (r->rowcnt[i] < 2 || r->sense[i] == 'E' || pinned[i]) continue;
    double mn = 0.0, mx = 0.0;
    bool mnfin = true, mxfin = true;
    for (int k = r->rbeg[i]; k < r->rbeg[i] + r->rlen[i]; ++k) {
      int j = r->rind[k];
      if (!collive(r, j)) continue;
      double a = r->rval[k];
      double lo = implo[j] <= -kInfBound ? -kInfBound : implo[j];
      double hi = imphi[j] >= kInfBound ? kInfBound : imphi[j];
      double tmin = a > 0 ? lo : hi, tmax = a > 0 ? hi : lo;
      if (std::fabs(tmin) >= kInfBound) mnfin = false;
      else mn += a * tmin;
      if (std::fabs(tmax) >= kInfBound) mxfin = false;
      else mx += a * tmax;
    }
    const char s = r->sense[i];
    const double b = r->rhs[i], t = r->feastol;
    if ((s == 'L' && mnfin && mn > b + t) || (s == 'G' && mxfin && mx < b - t)) {
      if (r->predisp)
        msg(e->reschannel, "Implied bounds make row '%.255s' infeasible.\n", pre_rowname(r, p, i));
      return 1101;
    }
    bool drop = (s == 'L' && mxfin && mx < b - t) || (s == 'G' && mnfin && mn > b + t);
    if (!drop) continue;
    // A row whose bounds served this proof must stay.
    bool ok = true;
    for (int k = r->rbeg[i]; k < r->rbeg[i] + r->rlen[i] && ok; ++k) {
      int j = r->rind[k];
      if (!collive(r, j)) continue;
      if ((srclo[j] >= 0 && r->rowcnt[srclo[j]] < 0) || (srchi[j] >= 0 && r->rowcnt[srchi[j]] < 0))
        ok = false;
    }
    if (!ok) continue;
    for (int k = r->rbeg[i]; k < r->rbeg[i] + r->rlen[i]; ++k) {
      int j = r->rind[k];
      if (!collive(r, j)) continue;
      if (srclo[j] >= 0) pinned[srclo[j]] = 1;
      if (srchi[j] >= 0) pinned[srchi[j]] = 1;
    }
    int st = remove_row(e, r, p, i, 1);
    if (st) return st;
  }
  return 0;
}

int pre_dominated_columns(env *e, prerec *r, lp *p) {
  // Senses as the pass found them.
  const std::vector<char> sense(r->sense);
  for (int j = 0; j < r->ncols; ++j) {
    if (r->colcnt[j] < 1 || frozencol(r, j)) continue;
    // Rows that stop the column from growing (up) or shrinking (down).
    bool up = false, down = false, eq = false;
    for (int k = r->cbeg[j]; k < r->cbeg[j] + r->clen[j] && !eq; ++k) {
      const int i = r->cind[k];
      if (r->rowcnt[i] < 1) continue;
      if (sense[i] == 'E' || r->sense[i] == 'E') {
        eq = true;
        break;
      }
      const double s = sense[i] == 'L' ? r->cval[k] : -r->cval[k];
      if (s > 0) up = true;
      else down = true;
    }
    if (eq) continue;
    // With no row against it, the cost alone moves the column to a bound.
    const double c = r->objsen * r->obj[j];
    int st = 0;
    if (!up && c <= 1e-10 && r->ub[j] < kInfBound) {
      r->dualgone[j] = kDualAtMost;
      st = log_and_remove(e, r, p, j, kOpAtUpper, 1);
    } else if (!down && c >= -1e-10 && r->lb[j] > -kInfBound) {
      r->dualgone[j] = kDualAtLeast;
      st = log_and_remove(e, r, p, j, kOpAtLower, 0);
    }
    if (st) return st;
  }
  return 0;
}
int pre_dual_bounds(env *, prerec *, lp *) { return 0; }

int pre_strengthen_bounds(env *e, prerec *r, lp *p) {
  const int n = r->ncols;
  std::vector<double> implo(r->lb), imphi(r->ub);
  std::vector<int> srclo(n, -1), srchi(n, -1);
  implied_sweep(r, implo, imphi, srclo, srchi);
  const double margin = 1e6 * r->feastol;
  std::vector<char> flag(n, 0);
  bool any = false;
  for (int j = 0; j < n; ++j) {
    if (!collive(r, j)) continue;
    if (implo[j] - imphi[j] > r->feastol) {
      if (r->predisp)
        msg(e->reschannel, "Bound infeasibility column '%.255s'.\n", pre_colname(r, p, j));
      return 1101;
    }
    if (implo[j] > -kInfBound && r->lb[j] < implo[j] - margin) {
      r->lb[j] = implo[j] - margin;
      flag[j] |= 2;
      any = true;
    }
    if (imphi[j] < kInfBound && r->ub[j] > imphi[j] + margin) {
      r->ub[j] = imphi[j] + margin;
      flag[j] |= 1;
      any = true;
    }
  }
  if (any) r->strengthened.swap(flag);
  return 0;
}

}  // namespace velto
