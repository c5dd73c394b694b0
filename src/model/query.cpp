// Model queries: the model in the user's units.
#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "model/lp.h"
#include "model/store.h"

namespace velto {

void getobj_u(const lp *p, double *out, int begin, int end) {
  const lpcore *c = p->core;
  for (int j = begin; j <= end; ++j) out[j - begin] = c->colscale ? c->obj[j] * c->colscale[j] : c->obj[j];
}
void getrhs_u(const lp *p, double *out, int begin, int end) {
  const lpcore *c = p->core;
  for (int i = begin; i <= end; ++i) out[i - begin] = c->rowscale ? c->rhs[i] * c->rowscale[i] : c->rhs[i];
}
void getlb_u(const lp *p, double *out, int begin, int end) {
  const lpcore *c = p->core;
  for (int j = begin; j <= end; ++j)
    out[j - begin] = (c->colscale && c->lbkind[j] != kBoundInfinite) ? c->lb[j] / c->colscale[j] : c->lb[j];
}
void getub_u(const lp *p, double *out, int begin, int end) {
  const lpcore *c = p->core;
  for (int j = begin; j <= end; ++j)
    out[j - begin] = (c->colscale && c->ubkind[j] != kBoundInfinite) ? c->ub[j] / c->colscale[j] : c->ub[j];
}
void getrng_u(const lp *p, double *out, int begin, int end) {
  const lpcore *c = p->core;
  for (int i = begin; i <= end; ++i) {
    double r = 0.0;
    if (c->rngval && c->sense[i] == 'R') r = c->rngval[i];
    out[i - begin] = r;
  }
}
double matval_u(const lp *p, int k, int j) {
  const lpcore *c = p->core;
  double v = c->matval[k];
  if (c->rowscale) v *= c->rowscale[c->matind[k]];
  if (c->colscale) v *= c->colscale[j];
  return v;
}

}  // namespace velto

using namespace velto;

namespace {

// Frame of the array getters over columns or rows.
template <class T, class G>
int arraygetter(env *e, lp *p, const char *caller, T *out, int begin, int end, bool rows, G get) {
  int status = queryframe(e, &p);
  if (status) return status;
  int hi = rows ? p->core->numrows : p->core->numcols;
  if (!rangecheck(e, caller, begin, end, 0, hi)) return kIndexRange;
  if (end < begin) return 0;
  if (out == nullptr) return kNullPointer;
  get(p, out, begin, end);
  return 0;
}


// Space/surplus protocol on one text.
int copytext(const char *text, char *buf, int space, int *surplus) {
  if (surplus) *surplus = 0;
  long long n = static_cast<long long>(std::strlen(text)) + 1;
  if (space <= 0) {
    if (surplus == nullptr) return kNullPointer;
    *surplus = static_cast<int>(-n);
    return 1207;
  }
  if (buf == nullptr) return kNullPointer;
  long long k = std::min<long long>(n, space);
  std::memcpy(buf, text, static_cast<size_t>(k - 1));
  buf[k - 1] = '\0';
  if (surplus) *surplus = static_cast<int>(space - n);
  return space < n ? 1207 : 0;
}

int nameindex(env *e, lp *p, const char *name, int *index_p, bool rows) {
  if (index_p) *index_p = -1;
  int status = queryframe(e, &p);
  if (status) return status;
  lpcore *c = p->core;
  char **names = rows ? c->rowname : c->colname;
  int n = rows ? c->numrows : c->numcols;
  if (names == nullptr) return 1219;
  if (name == nullptr || index_p == nullptr) return kNullPointer;
  for (int k = 0; k < n; ++k)
    if (std::strcmp(names[k], name) == 0) {
      *index_p = k;
      return 0;
    }
  return 1210;
}

int namegetter(env *e, lp *p, char **name, char *store, int space, int *surplus, int begin,
               int end, bool rows) {
  if (surplus) *surplus = 0;
  int status = queryframe(e, &p);
  if (status) return status;
  lpcore *c = p->core;
  char **names = rows ? c->rowname : c->colname;
  if (names == nullptr) return 1219;
  if (!rangecheck(e, rows ? "VLTgetrname" : "VLTgetcname", begin, end, 0,
                  rows ? c->numrows : c->numcols))
    return kIndexRange;
  return copynames(names, begin, end, name, store, space, surplus);
}

// Column range [begin, end] into the caller's arrays, space/surplus protocol.
int colsgetter(env *e, lp *p, int *nzcnt_p, int *beg, int *ind, double *val, int space,
               int *surplus, int begin, int end) {
  if (nzcnt_p) *nzcnt_p = 0;
  if (surplus) *surplus = 0;
  int status = queryframe(e, &p);
  if (status) return status;
  const lpcore *c = p->core;
  if (!rangecheck(e, "VLTgetcols", begin, end, 0, c->numcols)) return kIndexRange;
  if (end < begin) return 0;
  if (nzcnt_p == nullptr || beg == nullptr) return kNullPointer;
  long long total = 0;
  for (int j = begin; j <= end; ++j) total += c->matcnt[j];
  if (space <= 0) {
    if (surplus == nullptr) return total > 0 ? kNullPointer : 0;
    *surplus = static_cast<int>(-total);
    if (total > 0) std::fill(beg, beg + (end - begin + 1), 0);
    return total > 0 ? 1207 : 0;
  }
  if (ind == nullptr || val == nullptr) return kNullPointer;
  int pos = 0;
  for (int j = begin; j <= end; ++j) {
    beg[j - begin] = pos;
    for (int k = c->matbeg[j]; k < c->matend[j] && pos < space; ++k) {
      ind[pos] = c->matind[k];
      val[pos] = matval_u(p, k, j);
      ++pos;
    }
  }
  *nzcnt_p = pos;
  if (surplus) *surplus = static_cast<int>(space - total);
  return space < total ? 1207 : 0;
}

int rowsgetter(env *e, lp *p, int *nzcnt_p, int *beg, int *ind, double *val, int space,
               int *surplus, int begin, int end) {
  if (nzcnt_p) *nzcnt_p = 0;
  if (surplus) *surplus = 0;
  int status = queryframe(e, &p);
  if (status) return status;
  const lpcore *c = p->core;
  if (!rangecheck(e, "VLTgetrows", begin, end, 0, c->numrows)) return kIndexRange;
  if (end < begin) return 0;
  if (nzcnt_p == nullptr || beg == nullptr) return kNullPointer;
  int nr = end - begin + 1;
  std::vector<long long> start(nr + 1, 0);
  for (int j = 0; j < c->numcols; ++j)
    for (int k = c->matbeg[j]; k < c->matend[j]; ++k) {
      int i = c->matind[k];
      if (i >= begin && i <= end) ++start[i - begin + 1];
    }
  for (int r = 0; r < nr; ++r) start[r + 1] += start[r];
  long long total = start[nr];
  if (space <= 0) {
    if (surplus == nullptr) return total > 0 ? kNullPointer : 0;
    *surplus = static_cast<int>(-total);
    if (total > 0) std::fill(beg, beg + nr, 0);
    return total > 0 ? 1207 : 0;
  }
  if (ind == nullptr || val == nullptr) return kNullPointer;
  for (int r = 0; r < nr; ++r) beg[r] = static_cast<int>(std::min<long long>(start[r], space));
  std::vector<long long> next(start.begin(), start.end() - 1);
  for (int j = 0; j < c->numcols; ++j)
    for (int k = c->matbeg[j]; k < c->matend[j]; ++k) {
      int i = c->matind[k];
      if (i < begin || i > end) continue;
      long long q = next[i - begin]++;
      if (q < space) {
        ind[q] = j;
        val[q] = matval_u(p, k, j);
      }
    }
  *nzcnt_p = static_cast<int>(std::min<long long>(total, space));
  if (surplus) *surplus = static_cast<int>(space - total);
  return space < total ? 1207 : 0;
}

int coefgetter(env *e, lp *p, int i, int j, double *coef) {
  if (coef) *coef = 0.0;
  int status = queryframe(e, &p);
  if (status) return status;
  const lpcore *c = p->core;
  if (coef == nullptr) return kNullPointer;
  if ((i < 0 && j < 0) || i < -1 || j < -2 || i >= c->numrows || j >= c->numcols)
    return kIndexRange;
  if (i == -1) {
    getobj_u(p, coef, j, j);
  } else if (j == -1) {
    getrhs_u(p, coef, i, i);
  } else if (j == -2) {
    if (c->rngval == nullptr) return 1216;
    getrng_u(p, coef, i, i);
  } else {
    for (int k = c->matbeg[j]; k < c->matend[j]; ++k)
      if (c->matind[k] == i) {
        *coef = matval_u(p, k, j);
        break;
      }
  }
  return 0;
}

// The row or column count with pending additions; 0 after a failed check,
// which goes to report like any other status.
int countquery(VLTENVptr env, VLTLPptr lp, bool rows) {
  int status = 0;
  if (!checkenv(env)) status = kNoEnvironment;
  else if (!checklpfollow(env, &lp)) status = kNoProblem;
  if (status) {
    report(env, &status);
    return 0;
  }
  return rows ? lp->core->numrows + pendingrows(lp) : lp->core->numcols + pendingcols(lp);
}

}  // namespace

extern "C" {

int VLTgetnumrows(VLTENVptr env, VLTLPptr lp) { return countquery(env, lp, true); }

int VLTgetnumcols(VLTENVptr env, VLTLPptr lp) { return countquery(env, lp, false); }

int VLTgetnumnz(VLTENVptr env, VLTLPptr lp) {
  int status = guarded([&] { return queryframe(env, &lp); });
  if (status) {
    report(env, &status);
    return 0;
  }
  return numnz(lp);
}

int VLTgetobjsen(VLTENVptr env, VLTLPptr lp) {
  int status = guarded([&] { return queryframe(env, &lp); });
  if (status) {
    report(env, &status);
    return 0;
  }
  return lp->core->objsen;
}

int VLTgetprobtype(VLTENVptr env, VLTLPptr lp) {
  int status = 0;
  if (!checkenv(env)) status = kNoEnvironment;
  else if (!checklp(env, lp)) status = kNoProblem;
  if (status) {
    report(env, &status);
    return -1;
  }
  return lp->probtype;
}

int VLTgetobjoffset(VLTENVptr env, VLTLPptr lp, double *objoffset_p) {
  if (objoffset_p) *objoffset_p = 0.0;
  int status = guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (objoffset_p == nullptr) return static_cast<int>(kNullPointer);
    *objoffset_p = lp->core->objoffset;
    return 0;
  });
  return finish(env, status);
}

int VLTgetobj(VLTENVptr env, VLTLPptr lp, double *obj, int begin, int end) {
  return finish(env, guarded([&] { return arraygetter(env, lp, "VLTgetobj", obj, begin, end, false, getobj_u); }));
}
int VLTgetrhs(VLTENVptr env, VLTLPptr lp, double *rhs, int begin, int end) {
  return finish(env, guarded([&] { return arraygetter(env, lp, "VLTgetrhs", rhs, begin, end, true, getrhs_u); }));
}
int VLTgetlb(VLTENVptr env, VLTLPptr lp, double *lb, int begin, int end) {
  return finish(env, guarded([&] { return arraygetter(env, lp, "VLTgetlb", lb, begin, end, false, getlb_u); }));
}
int VLTgetub(VLTENVptr env, VLTLPptr lp, double *ub, int begin, int end) {
  return finish(env, guarded([&] { return arraygetter(env, lp, "VLTgetub", ub, begin, end, false, getub_u); }));
}
int VLTgetrngval(VLTENVptr env, VLTLPptr lp, double *rngval, int begin, int end) {
  return finish(env, guarded([&] { return arraygetter(env, lp, "VLTgetrngval", rngval, begin, end, true, getrng_u); }));
}
int VLTgetsense(VLTENVptr env, VLTLPptr lp, char *sense, int begin, int end) {
  return finish(env, guarded([&] {
    return arraygetter(env, lp, "VLTgetsense", sense, begin, end, true,
                       [](const velto::lp *p, char *out, int b, int e2) {
                         std::memcpy(out, p->core->sense + b, static_cast<size_t>(e2 - b + 1));
                       });
  }));
}

int VLTgetcols(VLTENVptr env, VLTLPptr lp, int *nzcnt_p, int *cmatbeg, int *cmatind,
               double *cmatval, int cmatspace, int *surplus_p, int begin, int end) {
  return finish(env, guarded([&] {
    return colsgetter(env, lp, nzcnt_p, cmatbeg, cmatind, cmatval, cmatspace, surplus_p, begin, end);
  }));
}

int VLTgetrows(VLTENVptr env, VLTLPptr lp, int *nzcnt_p, int *rmatbeg, int *rmatind,
               double *rmatval, int rmatspace, int *surplus_p, int begin, int end) {
  return finish(env, guarded([&] {
    return rowsgetter(env, lp, nzcnt_p, rmatbeg, rmatind, rmatval, rmatspace, surplus_p, begin, end);
  }));
}

int VLTgetcoef(VLTENVptr env, VLTLPptr lp, int i, int j, double *coef_p) {
  return finish(env, guarded([&] { return coefgetter(env, lp, i, j, coef_p); }));
}

int VLTgetcolname(VLTENVptr env, VLTLPptr lp, char **name, char *namestore, int storespace,
                  int *surplus_p, int begin, int end) {
  return finish(env, guarded([&] {
    return namegetter(env, lp, name, namestore, storespace, surplus_p, begin, end, false);
  }));
}

int VLTgetrowname(VLTENVptr env, VLTLPptr lp, char **name, char *namestore, int storespace,
                  int *surplus_p, int begin, int end) {
  return finish(env, guarded([&] {
    return namegetter(env, lp, name, namestore, storespace, surplus_p, begin, end, true);
  }));
}

int VLTgetprobname(VLTENVptr env, VLTLPptr lp, char *buf, int bufspace, int *surplus_p) {
  if (surplus_p) *surplus_p = 0;
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    return s ? s : copytext(lp->core->probname, buf, bufspace, surplus_p);
  }));
}

int VLTgetobjname(VLTENVptr env, VLTLPptr lp, char *buf, int bufspace, int *surplus_p) {
  if (surplus_p) *surplus_p = 0;
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    const char *t = lp->core->objname ? lp->core->objname : "";
    return copytext(t, buf, bufspace, surplus_p);
  }));
}

int VLTgetcolindex(VLTENVptr env, VLTLPptr lp, const char *lname, int *index_p) {
  return finish(env, guarded([&] { return nameindex(env, lp, lname, index_p, false); }));
}

int VLTgetrowindex(VLTENVptr env, VLTLPptr lp, const char *lname, int *index_p) {
  return finish(env, guarded([&] { return nameindex(env, lp, lname, index_p, true); }));
}

}  // extern "C"
