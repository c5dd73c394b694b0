// Postsolve: the replay of the undo log, and the mapping of vectors, bases and
// linear forms between the user's problem and the reduced one.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "env/par.h"
#include "model/store.h"
#include "presolve/presolve.h"

namespace velto {

void postsolve_replay(const prerec *r, const double *redx, const double *redpi,
                      const double *reddj, const int *rcstat, const int *rrstat, bool basis,
                      postsoln &out) {
  const int m = r->nrows, n = r->ncols;
  const double sgn = r->objsen, epopt = r->opttol;
  std::vector<double> &x = out.x, &pi = out.pi, &dj = out.dj;
  std::vector<int> &cs = out.cstat, &rs = out.rstat;
  x.assign(n, 0.0);
  dj.assign(n, 0.0);
  pi.assign(m, 0.0);
  cs.assign(n, -1);
  rs.assign(m, 1);
  for (int j = 0; j < n; ++j) {
    int q = r->colmap[j];
    if (q < 0 || r->redlp == nullptr) continue;
    if (redx) x[j] = redx[q];
    if (reddj) dj[j] = reddj[q];
    if (rcstat) cs[j] = rcstat[q];
  }
  for (int i = 0; i < m; ++i) {
    int q = r->rowmap[i];
    if (q < 0 || r->redlp == nullptr) continue;
    if (redpi) pi[i] = redpi[q];
    if (rrstat) rs[i] = rrstat[q];
  }
  for (size_t t = r->log.size(); t-- > 0;) {
    const undorec &u = r->log[t];
    const int *ind = rec_ind(r, u);
    const double *val = rec_val(r, u);
    const int len = u.len;
    // The share of rows added after presolve in the reduced cost of a
    // removed column.
    auto added = [&](int j) {
      double d = 0.0;
      if (!r->addedcol.empty())
        for (const auto &t : r->addedcol[j]) d += pi[t.first] * t.second;
      return d;
    };
    auto reduced_cost = [&]() {
      double d = sgn * u.cost - added(u.index);
      for (int k = 0; k < len; ++k) d -= pi[ind[k]] * val[k];
      return d;
    };
    switch (u.op) {
      case kOpFixed:
      case kOpAtLower:
      case kOpAtUpper:
      case kOpFreeEmpty: {
        const int j = u.index;
        x[j] = u.op == kOpAtUpper ? u.up : u.op == kOpFreeEmpty ? 0.0 : u.low;
        dj[j] = reduced_cost();
        if (u.op == kOpFixed) cs[j] = dj[j] >= -epopt ? 0 : 2;
        else cs[j] = u.op == kOpAtLower ? 0 : u.op == kOpAtUpper ? 2 : 3;
        break;
      }
      case kOpRowLower:
      case kOpRowUpper:
      case kOpRowBoth: {
        const int i = u.index, j = ind[0];
        const double a = val[0], d = dj[j];
        if (u.op == kOpRowBoth) {
          x[j] = u.cost / a;
          pi[i] = d / a;
          dj[j] = 0.0;
          cs[j] = 1;
          rs[i] = 0;
          break;
        }
        const bool lower = u.op == kOpRowLower;
        if (basis) {
          const int atbound = lower ? 0 : 2;
          if (cs[j] == atbound) {
            cs[j] = 1;
            rs[i] = 0;
            pi[i] = d / a;
            dj[j] = 0.0;
          } else if (cs[j] >= 0 && cs[j] <= 2) {
            rs[i] = 1;
          }
        } else if (lower ? d > 0 : d < 0) {
          pi[i] = d / a;
          dj[j] = 0.0;
        } else if (d == 0.0) {
          pi[i] = 0.0;
        }
        break;
      }
      case kOpForceMin:
      case kOpForceMax: {
        const int i = u.index;
        const bool atmin = u.op == kOpForceMin;
        int win = -1;
        double best = 0.0;
        for (int k = 0; k < len; ++k) {
          const int c = ind[k];
          const double a = val[k];
          if (a == 0.0) continue;
          // At the minimum a positive entry sits at its lower bound.
          const bool lowerside = atmin == (a > 0);
          if (basis) cs[c] = lowerside ? 0 : 2;
          const bool cand = lowerside ? dj[c] < 0 : dj[c] > 0;
          if (!cand) continue;
          const double q = dj[c] / a;
          if (win < 0 || (atmin ? q < best : q > best)) {
            win = k;
            best = q;
          }
        }
        if (win >= 0) {
          rs[i] = 0;
          cs[ind[win]] = 1;
          pi[i] = best;
          for (int k = 0; k < len; ++k) dj[ind[k]] -= best * val[k];
          dj[ind[win]] = 0.0;
        } else {
          rs[i] = 1;
        }
        break;
      }
      case kOpFreeSingleton:
      case kOpSlackLower:
      case kOpSlackUpper: {
        const int j = ind[0], i = ind[1];
        const double a = val[0], c = val[1], b = val[2];
        double s = b;
        for (int k = 3; k < len; ++k) s -= val[k] * x[ind[k]];
        x[j] = s / a;
        const double ex = added(j);
        if (u.op == kOpFreeSingleton) {
          cs[j] = 1;
          rs[i] = 0;
          pi[i] = (c - ex) / a;
          dj[j] = 0.0;
        } else {
          // The column's cost went onto the row's other columns: the row's
          // dual in the user's model carries it back.
          pi[i] += (c - ex) / a;
          dj[j] = c - pi[i] * a - ex;
          if (cs[j] < 0) cs[j] = u.op == kOpSlackLower ? rs[i] : 2 - rs[i];
          rs[i] = 0;
        }
        break;
      }
      case kOpSubst: {
        // The column leaves with its row: its value from the row, the row's
        // dual from the column's reduced cost being zero.
        const int j = u.index, i = ind[1];
        const double piv = val[1];
        const int cp = u.cnt;
        double s = val[cp];
        for (int k = cp + 1; k < len; ++k) s -= val[k] * x[ind[k]];
        x[j] = s / piv;
        double d = sgn * val[0] - added(j);
        for (int k = 2; k < cp; ++k) d -= val[k] * pi[ind[k]];
        pi[i] = d / piv;
        dj[j] = 0.0;
        cs[j] = 1;
        rs[i] = 0;
        break;
      }
      case kOpMoveLower:
      case kOpMoveUpper:
      case kOpMoveBoth: {
        // The survivor of a doubleton carries bounds of the eliminated
        // column: at such a bound the eliminated column is the one at its
        // bound and the survivor is basic.
        const int i = u.index, s = ind[0], el = ind[1];
        const double as = val[0], ae = val[1];
        x[el] = (val[2] - as * x[s]) / ae;
        bool act;
        const int old = cs[s];
        if (basis) {
          if (old == 1) break;
          act = old == 0 ? u.op != kOpMoveUpper : old == 2 ? u.op != kOpMoveLower : u.op == kOpMoveBoth;
        } else {
          act = (u.op == kOpMoveLower && dj[s] >= 0) || (u.op == kOpMoveUpper && dj[s] <= 0) ||
                (u.op == kOpMoveBoth && dj[s] != 0.0);
        }
        if (!act) break;
        const double q = dj[s] / as;
        pi[i] += q;
        dj[el] = -q * ae;
        dj[s] = 0.0;
        if (basis) {
          cs[s] = 1;
          if (dj[el] < -epopt) cs[el] = 2;
          else if (dj[el] > epopt) cs[el] = 0;
          else if (old == 0) cs[el] = as * ae >= 0 ? 2 : 0;
          else if (old == 2) cs[el] = as * ae > 0 ? 0 : 2;
          else cs[el] = -1;
        }
        break;
      }
      case kOpMergeCols: {
        // Split the merged value: the kept column as close to its share
        // at the other's bound as its bounds allow.
        const int j = u.index, q = ind[0];
        const double rho = val[2], z = x[j];
        const double ylo = std::min(val[0] / rho, val[1] / rho);
        const double xp = std::min(std::max(z - ylo, u.low), u.up);
        const double y = z - xp;
        x[j] = xp;
        x[q] = rho * y;
        dj[q] = dj[j] / rho;
        const int lowq = rho > 0 ? 0 : 2, upq = 2 - lowq;
        const int sp = cs[j];
        if (sp == 0 || sp == 2) {
          cs[q] = sp == 0 ? lowq : upq;
        } else if (sp == 1) {
          const double tol = 1e-12 * (1 + std::fabs(xp));
          if (std::fabs(xp - u.low) <= tol) {
            cs[j] = 0;
            cs[q] = 1;
          } else if (std::fabs(xp - u.up) <= tol) {
            cs[j] = 2;
            cs[q] = 1;
          } else {
            cs[q] = std::fabs(y - ylo) <= 1e-12 * (1 + std::fabs(y)) ? lowq : upq;
          }
        } else {
          cs[q] = -1;
        }
        break;
      }
      case kOpMergeRows: {
        // The equation stands for two parallel rows; a dual of the wrong
        // sign for the first row belongs to the second.
        const int i1 = u.index, i2 = ind[2];
        const char s1 = static_cast<char>(ind[0]);
        if (basis && rs[i1] == 1) break;
        if ((s1 == 'L' && pi[i1] > epopt) || (s1 == 'G' && pi[i1] < -epopt)) {
          pi[i2] = pi[i1] * val[2];
          pi[i1] = 0.0;
          rs[i2] = rs[i1];
          rs[i1] = 1;
        }
        break;
      }
      default:
        break;
    }
  }
}

namespace {

// The reduced problem's solution in the minimization sign, with its basis.
int reduced_solution(env *e, const prerec *r, std::vector<double> &x, std::vector<double> &pi,
                     std::vector<double> &dj, std::vector<int> &cst, std::vector<int> &rst,
                     bool needbasis) {
  lp *red = r->redlp;
  const int n = red->core->numcols, m = red->core->numrows;
  x.assign(n, 0.0);
  dj.assign(n, 0.0);
  pi.assign(m, 0.0);
  cst.assign(n, 0);
  rst.assign(m, 1);
  if (solnexists(red)) {
    int st = VLTsolution(e, red, nullptr, nullptr, x.data(), pi.data(), nullptr, dj.data());
    if (st) return st;
    for (double &v : pi) v *= r->objsen;
    for (double &v : dj) v *= r->objsen;
  }
  if (needbasis) {
    if (!basisexists(red) || VLTgetbase(e, red, cst.data(), rst.data())) {
      msg(e->errchannel, "%s", errtext(e, 1115));
      return -1115;
    }
  }
  return 0;
}

}  // namespace

int postsolve_basis(env *e, lp *p) {
  prerec *r = p->presolve;
  if (r == nullptr) return 1103;
  const lpcore *c = p->core;
  const int n = c->numcols, m = c->numrows;
  try {
    std::vector<double> x, pi, dj;
    std::vector<int> cst, rst;
    postsoln ps;
    if (r->redlp) {
      int st = reduced_solution(e, r, x, pi, dj, cst, rst, true);
      if (st) return st;
      postsolve_replay(r, x.data(), pi.data(), dj.data(), cst.data(), rst.data(), true, ps);
    } else {
      postsolve_replay(r, nullptr, nullptr, nullptr, nullptr, nullptr, true, ps);
    }
    std::vector<int> cstat(n), rstat(m);
    for (int j = 0; j < n; ++j) {
      int s = ps.cstat[j];
      if (s < 0 || s > 3)
        s = r->origlb[j] > -kInfBound ? 0 : r->origub[j] < kInfBound ? 2 : 3;
      cstat[j] = s;
    }
    for (int i = 0; i < m; ++i) rstat[i] = ps.rstat[i] == 1 ? 1 : 0;
    for (int j = n; j < r->ncols; ++j) {
      int i = r->rangerow[j - n];
      int s = ps.cstat[j];
      if (s < 0 || s > 2) s = 0;
      if (rstat[i] != 1) rstat[i] = s;
    }
    soln_free(&p->soln);
    int st = VLTcopybase(e, p, cstat.data(), rstat.data());
    if (st) {
      msg(e->errchannel, "%s", errtext(e, 1114));
      return -1114;
    }
  } catch (const std::bad_alloc &) {
    msg(e->errchannel, "%s", errtext(e, 1107));
    return kNoMemory;
  }
  return 0;
}

}  // namespace velto

using namespace velto;

namespace {

// Frame of the mapping calls: handles, cache, record.
int mapframe(env *e, lp **pp, bool needred) {
  int s = queryframe(e, pp);
  if (s) return s;
  const prerec *r = (*pp)->presolve;
  if (r == nullptr || (needred && r->redlp == nullptr)) return 1103;
  return 0;
}

// Values of the range columns from a point of the user's columns.
void range_values(const prerec *r, const double *x, std::vector<double> &full) {
  const int n = r->ncolsorig;
  full.assign(r->ncols, 0.0);
  std::copy(x, x + n, full.begin());
  for (int j = n; j < r->ncols; ++j) {
    const int t = j - n;
    double act = 0.0;
    for (int k = r->rangebeg[t]; k < r->rangebeg[t + 1]; ++k) act += r->rangeval[k] * x[r->rangeind[k]];
    full[j] = act - r->origrhs[r->rangerow[t]];
  }
}

// The definitions of removed columns as linear forms: value = constant +
// sum coef * column.  Records oldest first.
struct coldef {
  int col;
  double constant;
  std::vector<std::pair<int, double>> terms;
};

void column_definitions(const prerec *r, std::vector<coldef> &defs) {
  for (const undorec &u : r->log) {
    const int *ind = rec_ind(r, u);
    const double *val = rec_val(r, u);
    switch (u.op) {
      case kOpFixed:
      case kOpAtLower:
      case kOpAtUpper:
      case kOpFreeEmpty: {
        double v = u.op == kOpAtUpper ? u.up : u.op == kOpFreeEmpty ? 0.0 : u.low;
        defs.push_back({u.index, v, {}});
        break;
      }
      case kOpFreeSingleton:
      case kOpSlackLower:
      case kOpSlackUpper: {
        coldef d{ind[0], val[2] / val[0], {}};
        for (int k = 3; k < u.len; ++k) d.terms.emplace_back(ind[k], -val[k] / val[0]);
        defs.push_back(std::move(d));
        break;
      }
      case kOpSubst: {
        const int cp = u.cnt;
        coldef d{u.index, val[cp] / val[1], {}};
        for (int k = cp + 1; k < u.len; ++k) d.terms.emplace_back(ind[k], -val[k] / val[1]);
        defs.push_back(std::move(d));
        break;
      }
      default:
        break;
    }
  }
}

}  // namespace

int velto::crush_linear(const prerec *r, int len, const int *ind, const double *val,
                 std::vector<int> &outind, std::vector<double> &outval, double *offset_p) {
  outind.clear();
  outval.clear();
  *offset_p = 0.0;
  std::vector<double> work(r->ncols, 0.0);
  std::vector<char> touched(r->ncols, 0);
  std::vector<int> list;
  auto add = [&](int j, double v) {
    if (!touched[j]) {
      touched[j] = 1;
      list.push_back(j);
    }
    work[j] += v;
    // A cancelled coefficient keeps its place in the list.
    if (std::fabs(work[j]) < 1e-13) work[j] = 1e-13;
  };
  bool expand = false;
  for (int k = 0; k < len; ++k) {
    if (std::fabs(val[k]) < 1e-13) continue;
    if (r->colmap[ind[k]] == kMapNonlinear) return 1121;
    if (!r->merged.empty() && r->merged[ind[k]]) return 1121;
    add(ind[k], val[k]);
    expand |= r->colmap[ind[k]] < 0;
  }
  double offset = 0.0;
  if (expand) {
    std::vector<coldef> defs;
    column_definitions(r, defs);
    // A definition refers only to columns removed later, so one pass
    // oldest first replaces every removed column.
    for (const coldef &d : defs) {
      const int j = d.col;
      if (!touched[j] || work[j] == 0.0) continue;
      const double w = work[j];
      work[j] = 0.0;
      offset += w * d.constant;
      for (const auto &t : d.terms) add(t.first, w * t.second);
    }
  }
  for (int j : list) {
    if (work[j] == 0.0 || r->colmap[j] < 0) continue;
    outind.push_back(r->colmap[j]);
    outval.push_back(work[j]);
  }
  *offset_p = offset;
  return 0;
}

extern "C" {

int VLTcrushx(VLTENVptr env, VLTLPptr lp, const double *x, double *redx) {
  return finish(env, guarded([&] {
    int s = mapframe(env, &lp, true);
    if (s) return s;
    if (x == nullptr || redx == nullptr) return static_cast<int>(kNullPointer);
    const prerec *r = lp->presolve;
    std::vector<double> full;
    range_values(r, x, full);
    // A merged pair of parallel columns is one column of the reduced problem.
    for (const undorec &u : r->log)
      if (u.op == kOpMergeCols) full[u.index] += full[rec_ind(r, u)[0]] / rec_val(r, u)[2];
    for (int j = 0; j < r->ncols; ++j)
      if (r->colmap[j] >= 0) redx[r->colmap[j]] = full[j];
    return 0;
  }));
}

int VLTuncrushx(VLTENVptr env, VLTLPptr lp, double *x, const double *redx) {
  return finish(env, guarded([&] {
    int s = mapframe(env, &lp, false);
    if (s) return s;
    const prerec *r = lp->presolve;
    if ((x == nullptr && r->ncolsorig > 0) || (redx == nullptr && r->redlp != nullptr))
      return static_cast<int>(kNullPointer);
    postsoln ps;
    postsolve_replay(r, redx, nullptr, nullptr, nullptr, nullptr, false, ps);
    if (r->ncolsorig) std::copy(ps.x.begin(), ps.x.begin() + r->ncolsorig, x);
    return 0;
  }));
}

int VLTcrushpi(VLTENVptr env, VLTLPptr lp, const double *pi, double *redpi) {
  return finish(env, guarded([&] {
    int s = mapframe(env, &lp, true);
    if (s) return s;
    if (lp->probtype == kTypeMILP || lp->probtype == kTypeMIQP) return 1017;
    if (pi == nullptr || redpi == nullptr) return static_cast<int>(kNullPointer);
    const prerec *r = lp->presolve;
    if (r->dualform == 1) return 1119;
    // Merged parallel rows: the equation carries both duals.
    std::vector<double> full(pi, pi + r->nrows);
    for (const undorec &u : r->log)
      if (u.op == kOpMergeRows) full[u.index] += full[rec_ind(r, u)[2]] / rec_val(r, u)[2];
    for (int i = 0; i < r->nrows; ++i)
      if (r->rowmap[i] >= 0) redpi[r->rowmap[i]] = full[i];
    return 0;
  }));
}

int VLTuncrushpi(VLTENVptr env, VLTLPptr lp, double *pi, const double *redpi, int dual) {
  (void)dual;
  return finish(env, guarded([&] {
    int s = mapframe(env, &lp, false);
    if (s) return s;
    if (lp->probtype == kTypeMILP || lp->probtype == kTypeMIQP) return 1017;
    const prerec *r = lp->presolve;
    if (r->dualform == 1) return 1119;
    if ((pi == nullptr && r->nrows > 0) || (redpi == nullptr && r->redlp != nullptr))
      return static_cast<int>(kNullPointer);
    std::vector<double> rpi, rdj;
    if (r->redlp) {
      const lpcore *rc = r->redlp->core;
      const int rm = rc->numrows, rn = rc->numcols;
      rpi.assign(redpi, redpi + rm);
      rdj.resize(rn);
      s = VLTdjfrompi(env, r->redlp, redpi, rdj.data());
      if (s) return -s;
      for (double &v : rpi) v *= r->objsen;
      for (double &v : rdj) v *= r->objsen;
    }
    postsoln ps;
    postsolve_replay(r, nullptr, r->redlp ? rpi.data() : nullptr, r->redlp ? rdj.data() : nullptr,
                     nullptr, nullptr, false, ps);
    for (int i = 0; i < r->nrows; ++i) pi[i] = r->objsen * ps.pi[i];
    return 0;
  }));
}

int VLTslackfromx(VLTENVptr env, VLTLPptr lp, const double *x, double *slack) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (x == nullptr || slack == nullptr) return static_cast<int>(kNullPointer);
    const lpcore *c = lp->core;
    const int n = c->numcols, m = c->numrows;
    std::vector<double> rhs(m), rng(m, 0.0);
    if (m) {
      getrhs_u(lp, rhs.data(), 0, m - 1);
      if (c->rngval) getrng_u(lp, rng.data(), 0, m - 1);
    }
    for (int i = 0; i < m; ++i) slack[i] = rhs[i];
    for (int j = 0; j < n; ++j)
      for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k)
        slack[c->matind[k]] -= matval_u(lp, k, j) * x[j];
    // A ranged row reports its activity relative to the right-hand side.
    for (int i = 0; i < m; ++i)
      if (c->sense[i] == 'R') slack[i] = -slack[i];
    return 0;
  }));
}

int VLTdjfrompi(VLTENVptr env, VLTLPptr lp, const double *pi, double *dj) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (pi == nullptr || dj == nullptr) return static_cast<int>(kNullPointer);
    const lpcore *c = lp->core;
    const int n = c->numcols;
    if (n) getobj_u(lp, dj, 0, n - 1);
    for (int j = 0; j < n; ++j)
      for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k)
        dj[j] -= matval_u(lp, k, j) * pi[c->matind[k]];
    return 0;
  }));
}

int VLTgetprestat(VLTENVptr env, VLTLPptr lp, int *prestat_p, int *pcstat, int *prstat,
                  int *ocstat, int *orstat) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (!prestat_p && !pcstat && !prstat && !ocstat && !orstat)
      return static_cast<int>(kNullPointer);
    const prerec *r = lp->presolve;
    if (prestat_p) *prestat_p = r == nullptr ? 0 : r->redlp ? 1 : 2;
    if (r == nullptr) return 0;
    if (r->dualform == 1) return 1119;
    if (pcstat)
      for (int j = 0; j < r->ncolsorig; ++j) pcstat[j] = r->colmap[j];
    if (prstat)
      for (int i = 0; i < r->nrows; ++i) {
        int q = r->rowmap[i];
        // A row that became an equality in the reduced problem reads as
        // merged; a row that lost its slack column keeps its index.
        if (q >= 0 && r->redlp && r->origsense[i] != 'E' && r->sense[i] == 'E') q = -3;
        prstat[i] = q;
      }
    if (r->redlp) {
      if (ocstat) {
        std::fill(ocstat, ocstat + r->redlp->core->numcols, -1);
        for (int j = 0; j < r->ncolsorig; ++j)
          if (r->colmap[j] >= 0) ocstat[r->colmap[j]] = j;
      }
      if (orstat) {
        std::fill(orstat, orstat + r->redlp->core->numrows, -1);
        for (int i = 0; i < r->nrows; ++i)
          if (r->rowmap[i] >= 0) orstat[r->rowmap[i]] = i;
      }
    }
    return 0;
  }));
}

int VLTEgetorigcolind(VLTENVptr env, VLTLPptr lp, int redcol) {
  if (!checkenv(env) || !checklp(env, lp)) return redcol;
  const prerec *r = lp->presolve;
  if (r == nullptr || r->redlp == nullptr) return redcol;
  for (int j = 0; j < r->ncols; ++j)
    if (r->colmap[j] == redcol) return j >= r->ncolsorig ? r->ncolsorig - j - 1 : j;
  return -1;
}

int VLTEgetorigrowind(VLTENVptr env, VLTLPptr lp, int redrow) {
  if (!checkenv(env) || !checklp(env, lp)) return -1;
  const prerec *r = lp->presolve;
  if (r == nullptr) return redrow;
  for (int i = 0; i < r->nrows; ++i)
    if (r->rowmap[i] == redrow) return i;
  return -1;
}

int VLTcrushform(VLTENVptr env, VLTLPptr lp, int len, const int *ind, const double *val,
                 int *plen_p, double *poffset_p, int *pind, double *pval) {
  return finish(env, guarded([&] {
    int s = mapframe(env, &lp, false);
    if (s) return s;
    if (plen_p == nullptr || poffset_p == nullptr || (len > 0 && (!ind || !val)))
      return static_cast<int>(kNullPointer);
    if (len < 0) return 1003;
    const prerec *r = lp->presolve;
    for (int k = 0; k < len; ++k)
      if (ind[k] < 0 || ind[k] >= r->ncolsorig) {
        msg(env->errchannel, errtext(env, 1201), ind[k]);
        return -1201;
      }
    *plen_p = 0;
    *poffset_p = 0.0;
    if (len == 0) return 0;
    std::vector<int> oi;
    std::vector<double> ov;
    double offset = 0.0;
    s = crush_linear(r, len, ind, val, oi, ov, &offset);
    if (s) return s;
    if (!oi.empty() && (pind == nullptr || pval == nullptr)) return static_cast<int>(kNullPointer);
    std::copy(oi.begin(), oi.end(), pind);
    std::copy(ov.begin(), ov.end(), pval);
    *plen_p = static_cast<int>(oi.size());
    *poffset_p = offset;
    return 0;
  }));
}

int VLTuncrushform(VLTENVptr env, VLTLPptr lp, int plen, const int *pind, const double *pval,
                   int *len_p, double *offset_p, int *ind, double *val) {
  return finish(env, guarded([&] {
    int s = mapframe(env, &lp, false);
    if (s) return s;
    if (len_p == nullptr || offset_p == nullptr || (plen > 0 && (!pind || !pval)))
      return static_cast<int>(kNullPointer);
    if (plen < 0) return 1003;
    const prerec *r = lp->presolve;
    *len_p = 0;
    *offset_p = 0.0;
    if (plen == 0) {
      msg(env->warnchannel, "Warning: form length is zero.\n");
      return 0;
    }
    const int rn = r->redlp ? r->redlp->core->numcols : 0;
    std::vector<int> orig(rn, -1);
    for (int j = 0; j < r->ncols; ++j)
      if (r->colmap[j] >= 0) orig[r->colmap[j]] = j;
    std::vector<double> work(r->ncolsorig, 0.0);
    std::vector<int> list;
    std::vector<char> touched(r->ncolsorig, 0);
    double offset = 0.0;
    auto add = [&](int j, double v) {
      if (!touched[j]) {
        touched[j] = 1;
        list.push_back(j);
      }
      work[j] += v;
    };
    for (int k = 0; k < plen; ++k) {
      if (pind[k] < 0 || pind[k] >= rn) {
        msg(env->errchannel, errtext(env, 1201), pind[k]);
        return -1201;
      }
      int j = orig[pind[k]];
      if (j < 0) return 1120;
      if (j < r->ncolsorig) {
        add(j, pval[k]);
        // A merged column stands for x_j + x_q / rho.
        if (!r->merged.empty() && r->merged[j])
          for (const undorec &u : r->log)
            if (u.op == kOpMergeCols && u.index == j) add(rec_ind(r, u)[0], pval[k] / rec_val(r, u)[2]);
        continue;
      }
      // A range column is the row's activity less its right-hand side.
      const int t = j - r->ncolsorig;
      offset -= pval[k] * r->origrhs[r->rangerow[t]];
      for (int q = r->rangebeg[t]; q < r->rangebeg[t + 1]; ++q)
        add(r->rangeind[q], pval[k] * r->rangeval[q]);
    }
    int cnt = 0;
    for (int j : list) {
      ind[cnt] = j;
      val[cnt++] = work[j];
    }
    if (cnt == 0) msg(env->warnchannel, "Warning: form length is zero.\n");
    *len_p = cnt;
    *offset_p = offset;
    return 0;
  }));
}

}  // extern "C"
