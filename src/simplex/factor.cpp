// Sparse LU factorization (interface stubs; the factorization lands next).
#include "simplex/lufactor.h"

namespace velto {

lufactor *lu_create(int m) {
  lufactor *f = allocnzero<lufactor>(1);
  if (f) f->dim = m;
  return f;
}
void lu_free(lufactor **fac) { release(fac); }
int lu_refactor(env *, lufactor *, const lumatrix *, int *, double *, double, int, double *) {
  return kNoMemory;
}
int lu_probe(env *, lufactor *, const lumatrix *, int, const int *, int *, int *, const int *,
             double, double) {
  return kNoMemory;
}
void lu_ftran(lufactor *, double *) {}
void lu_ftran_sparse(lufactor *, svec *, int, const int *, const double *) {}
void lu_ftran_spike(lufactor *, svec *, int, const int *, const double *, int) {}
void lu_ftran2(lufactor *, svec *, int, const int *, const double *, svec *, int, const int *,
               const double *) {}
void lu_btran(lufactor *, double *) {}
void lu_btran_sparse(lufactor *, svec *, int, const int *, const double *) {}
void lu_btran_unit(lufactor *, svec *, int) {}
void lu_btran_leaving(lufactor *, svec *, int) {}
void lu_btran2(lufactor *, svec *, int, const int *, const double *, svec *, int, const int *,
               const double *) {}
int lu_check_pivot(lufactor *, int, double, int) { return kLuRejected; }
int lu_update(env *, lufactor *, const lumatrix *, int, int) { return kLuRefactor; }
void lu_clear_pending(lufactor *) {}
int lu_column(const lumatrix *, int, int *, double *) { return 0; }
int lu_colcount(const lumatrix *, int) { return 0; }
int lu_slack_of_row(const lumatrix *, int) { return -1; }
int lu_repair(env *, lufactor *, const lumatrix *, int *, const int *, const int *) {
  return kNoMemory;
}

}  // namespace velto
