// Dense kernels of the panel factor.  A panel of w columns and len rows is
// stored packed by rows: row i < w holds i + 1 entries (the pivot last),
// the rows after it w entries each.
#pragma once

#include <cstddef>

namespace velto {

inline size_t panelrow(int w, int i) {
  return i < w ? (size_t)i * (i + 1) / 2 : (size_t)w * (w + 1) / 2 + (size_t)(i - w) * w;
}
inline size_t panelsize(int w, int len) { return (size_t)w * len - ((size_t)w * w - w) / 2; }

// A pivot of a positive definite row below this fraction of its diagonal
// is taken as zero.
constexpr double kPivotNoise = 1e-13;
// With dense columns: the least pivot of a row of the sparse part, relative
// to the largest diagonal.
constexpr double kPivotFloor = 1e-12;

// Pivot decisions of one panel.
struct pivotctx {
  const double *diag;      // diagonal before elimination, by column
  const char *freerow;     // by column
  double noise = 0.0;      // kPivotNoise, or 0 with dense columns
  double floor = 0.0;      // with dense columns: the least pivot of a sparse row
  int npivneg = 0, npivsmall = 0, nraised = 0;
  double pmax = 0.0, pmin = 1e300;
};

// Factors panel `val` (columns first .. first + w - 1, len rows) in place:
// L below the diagonal, D on it.
void panelfactor(double *val, int w, int len, int first, pivotctx &pc);

// Subtracts the update of a source panel (width ws, storage sval, pattern
// spat of length slen) from the target panel tval (width tw, first column
// tfirst): source rows q .. q + cnt - 1 fall in the target's columns.
// relindex maps a row to its place in the target; rowbuf holds ws doubles.
void panelupdate(const double *sval, int ws, const int *spat, int slen, int q, int cnt,
                 double *tval, int tw, int tfirst, const int *relindex, double *rowbuf, int kind);

}  // namespace velto
