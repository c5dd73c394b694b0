// Sparse vector with a dense value array: the unit of every solve.
#pragma once

namespace velto {

// `val` has `dim` cells.  When `nnz` >= 0 the cells not listed in `ind` are
// exactly 0.  `nnz` = -1 means the index list is not valid and `val` must be
// read densely.
struct svec {
  int dim;
  int nnz;
  int *ind;
  double *val;
};

// Allocates `ind` and `val` for dimension `dim`, all zero.  0 or 1001.
int svec_alloc(svec *v, int dim);
// Releases the arrays; the record becomes empty.
void svec_free(svec *v);
// Zeroes the vector: through its index list when 3 x nnz < dim, otherwise by
// a full sweep.  Afterwards nnz = 0.
void svec_clear(svec *v);
// Makes the index list valid again after dense writes (nnz = -1): scans
// `val`, zeroing entries below `droptol` in magnitude.
void svec_reindex(svec *v, double droptol);
// Loads count/index/value triplets (distinct indices) into a cleared vector.
void svec_set(svec *v, int nnz, const int *ind, const double *val);

}  // namespace velto
