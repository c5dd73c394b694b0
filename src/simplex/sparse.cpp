// Sparse vectors.
#include <cmath>
#include <cstring>

#include "simplex/svec.h"
#include "env/env.h"

namespace velto {

int svec_alloc(svec *v, int dim) {
  v->dim = dim;
  v->nnz = 0;
  v->ind = allocnzero<int>(dim > 0 ? dim : 1);
  v->val = allocnzero<double>(dim > 0 ? dim : 1);
  if (v->ind == nullptr || v->val == nullptr) {
    svec_free(v);
    return kNoMemory;
  }
  return 0;
}

void svec_free(svec *v) {
  release(&v->ind);
  release(&v->val);
  v->dim = 0;
  v->nnz = 0;
}

void svec_clear(svec *v) {
  if (v->nnz >= 0 && 3 * v->nnz < v->dim) {
    for (int k = 0; k < v->nnz; k++) v->val[v->ind[k]] = 0.0;
  } else if (v->dim > 0) {
    std::memset(v->val, 0, sizeof(double) * v->dim);
  }
  v->nnz = 0;
}

void svec_reindex(svec *v, double droptol) {
  int n = 0;
  for (int i = 0; i < v->dim; i++) {
    double a = v->val[i];
    if (a == 0.0) continue;
    if (std::fabs(a) < droptol) {
      v->val[i] = 0.0;
      continue;
    }
    v->ind[n++] = i;
  }
  v->nnz = n;
}

void svec_set(svec *v, int nnz, const int *ind, const double *val) {
  int n = v->nnz < 0 ? 0 : v->nnz;
  for (int k = 0; k < nnz; k++) {
    int i = ind[k];
    v->ind[n++] = i;
    v->val[i] = val[k];
  }
  v->nnz = n;
}

}  // namespace velto
