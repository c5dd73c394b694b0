// Read-only basis calls: rows and columns of the inverse, solves with the
// basis, the basis head, the Farkas proof of the dual method and the ray.
//
// The user's basis matrix has, for a structural column, the column of the
// unscaled model, and for the slack of row i the unit column e_i (the slack
// reads rhs - activity for every sense); a range column keeps its -e_i.
// With the model scaled, B_user = R^-1 B_s D^-1 where R holds the row scales
// and D the column scale of each basic structural and 1/r of each slack.
#include <cmath>
#include <new>
#include <vector>

#include "env/par.h"
#include "model/lp.h"
#include "model/store.h"
#include "simplex/bframe.h"
#include "simplex/dualstate.h"

namespace velto {

namespace {

enum : int { kNoFactor = 1258, kNoSolution = 1217, kNotDualInfeas = 1265 };

struct frame {
  dualstate *ds = nullptr;
  int m = 0;
  std::vector<double> rs;   // row scale per row
  std::vector<double> dpos; // D per basis position, with the user's slack sign
};

inline double rscale(const lpcore *c, int i) { return c->rowscale ? c->rowscale[i] : 1.0; }
inline double cscale(const lpcore *c, int j) { return c->colscale ? c->colscale[j] : 1.0; }

bool hasbasis(const lp *p) {
  const soln *s = p->soln;
  // A model change clears the problem's status: the basis of the last run
  // no longer answers for the model.
  return s && s->hasbasis && s->head && s->cstat && s->lpstat != 0 && p->lpstat != 0 &&
         s->rows == p->core->numrows;
}

// Factor of the solution's basis, kept in the dual layer while the head is
// unchanged.
int open(env *e, lp *p, frame &f, int nobasis) {
  if (!hasbasis(p)) return nobasis;
  dualstate *ds = dualstate_get(e, p);
  if (ds == nullptr) return kNoMemory;
  const lpcore *c = p->core;
  const int m = c->numrows;
  std::vector<int> rowslack;
  dual_buildprob(p, ds->bprob, rowslack);
  std::vector<int> head(m);
  for (int i = 0; i < m; ++i) head[i] = dual_from_working(p, p->soln->head[i]);
  if (!ds->bready || ds->bhead != head || ds->bfac == nullptr) {
    delete ds->bfac;
    ds->bfac = m > 0 ? make_sparse_factor(e, ds->bprob) : nullptr;
    if (m > 0 && ds->bfac == nullptr) return kNoMemory;
    std::vector<int> h = head, sing, singrow;
    if (m > 0) {
      int r = ds->bfac->factor(ds->bprob, h, sing, singrow);
      if (r != 0) {
        ds->bready = 0;
        return r < 0 ? kNoFactor : 1256;
      }
    }
    ds->bhead = head;
    ds->bready = 1;
  }
  f.ds = ds;
  f.m = m;
  f.rs.resize(m);
  f.dpos.resize(m);
  for (int i = 0; i < m; ++i) f.rs[i] = rscale(c, i);
  for (int k = 0; k < m; ++k) {
    int v = head[k];
    f.dpos[k] = v < c->totcols ? cscale(c, v) : dual_usersign(p, v) / rscale(c, v - c->totcols);
  }
  return 0;
}

void ftran_user(frame &f, std::vector<double> &x) {
  for (int i = 0; i < f.m; ++i) x[i] *= f.rs[i];
  if (f.m) f.ds->bfac->ftran(x);
  for (int k = 0; k < f.m; ++k) x[k] *= f.dpos[k];
}

void btran_user(frame &f, std::vector<double> &y) {
  for (int k = 0; k < f.m; ++k) y[k] *= f.dpos[k];
  if (f.m) f.ds->bfac->btran(y);
  for (int i = 0; i < f.m; ++i) y[i] *= f.rs[i];
}

void binvrow(frame &f, int i, std::vector<double> &y) {
  std::fill(y.begin(), y.end(), 0.0);
  y[i] = 1.0;
  btran_user(f, y);
}

// Unscaled column j of the model into a dense vector.
void usercol(const lp *p, int j, std::vector<double> &a) {
  const lpcore *c = p->core;
  std::fill(a.begin(), a.end(), 0.0);
  for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k) {
    int i = c->matind[k];
    a[i] += c->matval[k] / (rscale(c, i) * cscale(c, j));
  }
}

// The head in the exported form: a column's index, or -i-1 for the slack
// or range column of row i.
int userhead(const lp *p, int pos) {
  const lpcore *c = p->core;
  const int v = dual_from_working(p, p->soln->head[pos]);
  if (v < c->numcols) return v;
  return -(v >= c->totcols ? v - c->totcols : c->matind[c->matbeg[v]]) - 1;
}

}  // namespace
}  // namespace velto

using namespace velto;

extern "C" {

int VLTgetbhead(VLTENVptr env, VLTLPptr lp, int *head, double *x) {
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    if (!hasbasis(p)) return kNoSolution;
    const lpcore *c = p->core;
    const soln *s = p->soln;
    for (int i = 0; i < c->numrows; ++i) {
      int v = dual_from_working(p, s->head[i]);
      if (head) head[i] = userhead(p, i);
      if (x) {
        double val = s->xbasic[i];
        if (v < c->totcols) {
          x[i] = val / cscale(c, v);
        } else {
          int r = v - c->totcols;
          x[i] = val * rscale(c, r) * dual_usersign(p, v);
        }
      }
    }
    return 0;
  });
}

int VLTbinvcol(VLTENVptr env, VLTLPptr lp, int j, double *x) {
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    frame f;
    int st = open(env, p, f, kNoFactor);
    if (st) return st;
    if (j < 0 || j >= f.m) return kIndexRange;
    if (x == nullptr) return kNullPointer;
    std::vector<double> v(f.m, 0.0);
    v[j] = 1.0;
    ftran_user(f, v);
    std::copy(v.begin(), v.end(), x);
    return 0;
  });
}

int VLTbinvrow(VLTENVptr env, VLTLPptr lp, int i, double *y) {
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    frame f;
    int st = open(env, p, f, kNoFactor);
    if (st) return st;
    if (i < 0 || i >= f.m) return kIndexRange;
    if (y == nullptr) return kNullPointer;
    std::vector<double> v(f.m);
    binvrow(f, i, v);
    std::copy(v.begin(), v.end(), y);
    return 0;
  });
}

int VLTbinvacol(VLTENVptr env, VLTLPptr lp, int j, double *x) {
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    frame f;
    int st = open(env, p, f, kNoFactor);
    if (st) return st;
    if (j < 0 || j >= p->core->numcols) return kIndexRange;
    if (x == nullptr) return kNullPointer;
    std::vector<double> v(f.m);
    usercol(p, j, v);
    ftran_user(f, v);
    std::copy(v.begin(), v.end(), x);
    return 0;
  });
}

int VLTbinvarow(VLTENVptr env, VLTLPptr lp, int i, double *z) {
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    frame f;
    int st = open(env, p, f, kNoFactor);
    if (st) return st;
    if (i < 0 || i >= f.m) return kIndexRange;
    if (z == nullptr) return kNullPointer;
    std::vector<double> y(f.m);
    binvrow(f, i, y);
    const lpcore *c = p->core;
    for (int j = 0; j < c->numcols; ++j) {
      double s = 0.0;
      for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k) {
        int r = c->matind[k];
        s += y[r] * c->matval[k] / (rscale(c, r) * cscale(c, j));
      }
      z[j] = s;
    }
    return 0;
  });
}

int VLTftran(VLTENVptr env, VLTLPptr lp, double *x) {
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    frame f;
    int st = open(env, p, f, kNoFactor);
    if (st) return st;
    if (x == nullptr) return kNullPointer;
    std::vector<double> v(x, x + f.m);
    ftran_user(f, v);
    std::copy(v.begin(), v.end(), x);
    return 0;
  });
}

int VLTbtran(VLTENVptr env, VLTLPptr lp, double *y) {
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    frame f;
    int st = open(env, p, f, kNoFactor);
    if (st) return st;
    if (y == nullptr) return kNullPointer;
    std::vector<double> v(y, y + f.m);
    btran_user(f, v);
    std::copy(v.begin(), v.end(), y);
    return 0;
  });
}

int VLTdualfarkas(VLTENVptr env, VLTLPptr lp, double *y, double *proof_p) {
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    if (p->probtype != kTypeLP && p->probtype != kTypeFixed && p->probtype != kTypeRelaxed &&
        p->probtype != kTypeNode)
      return 1018;
    const soln *s = p->soln;
    dualstate *ds = reinterpret_cast<dualstate *>(p->dual);
    if (!s || s->method != 2 || s->lpstat != 3 || !ds || ds->farkaspos < 0) return kNotDualInfeas;
    frame f;
    int st = open(env, p, f, kNotDualInfeas);
    if (st) return st;
    const lpcore *c = p->core;
    const int m = f.m, pos = ds->farkaspos;
    std::vector<double> w(m);
    binvrow(f, pos, w);
    // Orient the row so that every point within the bounds has y'Ax >= y'b
    // after the slacks are accounted for: the basic value fell below its
    // lower bound (or below zero for a slack) means the row is turned.
    int v = dual_from_working(p, s->head[pos]);
    double lo = v < c->totcols ? c->lb[v] : 0.0;
    // The user's row of a 'G' slack is the working row negated.
    bool turn = ds->farkasval < lo;
    if (v >= c->totcols && dual_usersign(p, v) < 0) turn = !turn;
    if (turn) {
      for (double &t : w) t = -t;
    }
    for (int i = 0; i < m; ++i) {
      if ((c->sense[i] == 'L' && w[i] > 0.0) || (c->sense[i] == 'G' && w[i] < 0.0)) w[i] = 0.0;
    }
    if (proof_p) {
      // proof = y'b - max over the column bounds of (y'A) x: positive when
      // y proves that no point satisfies the rows.
      double pr = 0.0;
      bool broken = false;
      for (int i = 0; i < m; ++i) pr += w[i] * c->rhs[i] * rscale(c, i);
      for (int j = 0; j < c->numcols && !broken; ++j) {
        double z = 0.0, big = 0.0;
        for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k) {
          int r = c->matind[k];
          const double t = w[r] * c->matval[k] / (rscale(c, r) * cscale(c, j));
          z += t;
          big = std::max(big, std::fabs(t));
        }
        // A sum below the rounding of its own terms is zero: a large y (an
        // ill-conditioned basis) leaves such noise on basic columns.
        if (std::fabs(z) < 1e-9 * (1.0 + big)) continue;
        double b = z > 0 ? c->ub[j] : c->lb[j];
        if (std::fabs(b) >= kInfThreshold) {
          broken = true;
          break;
        }
        pr -= z * b / cscale(c, j);
      }
      // Ranged rows: the range column carries its row's slack.
      for (int j = c->numcols; j < c->totcols && !broken; ++j) {
        int r = c->matind[c->matbeg[j]];
        double z = -w[r];
        if (z == 0.0) continue;
        double b = z > 0 ? c->ub[j] : c->lb[j];
        pr -= z * b * rscale(c, r);
      }
      *proof_p = broken ? -VLT_BIGREAL : pr;
    }
    if (y) std::copy(w.begin(), w.end(), y);
    return 0;
  });
}

int VLTgetray(VLTENVptr env, VLTLPptr lp, double *z) {
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    if (z == nullptr) return kNullPointer;
    const soln *s = p->soln;
    dualstate *ds = reinterpret_cast<dualstate *>(p->dual);
    if (!s || s->lpstat != 2) return kNoSolution;
    // Without a ray kept by the dual method, the basis shows the direction.
    if (s->method != 2 || !ds || !ds->hasray) return basis_ray(env, p, z);
    const lpcore *c = p->core;
    for (int j = 0; j < c->numcols; ++j) z[j] = ds->ray[j] / cscale(c, j);
    return 0;
  });
}

// The tableau column of column j: B^-1 a_j, with the head when asked.
int VLTgetgrad(VLTENVptr env, VLTLPptr lp, int j, int *head, double *y) {
  return basiscall(env, lp, [&](velto_lp *p) -> int {
    frame f;
    int st = open(env, p, f, kNoFactor);
    if (st) return st;
    if (j < 0 || j >= p->core->numcols) return kIndexRange;
    if (y == nullptr) return kNullPointer;
    std::vector<double> v(f.m);
    usercol(p, j, v);
    ftran_user(f, v);
    std::copy(v.begin(), v.end(), y);
    if (head)
      for (int i = 0; i < f.m; ++i) head[i] = userhead(p, i);
    return 0;
  });
}

}  // extern "C"
