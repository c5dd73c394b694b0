// Internals shared by the factor modules (not for the simplex methods).
#pragma once

#include <vector>

#include "simplex/lufactor.h"

namespace velto {

constexpr long kMaxFileCells = 262499999;  // largest line file
constexpr double kDropTol = 1e-13;          // entries below are zero
constexpr double kBig = 1e75;
constexpr int kNoEta = 2100000000;

// Default file multiplier (VLT_PARAM_RFILEMUL, VLT_PARAM_CFILEMUL).
constexpr double kFileMulDefault = 3.0;
// Largest number of updates with a dynamic refactorization frequency: the
// upper bound of the refactorization interval parameter (VLT_PARAM_REINV).
constexpr int kReinvMax = 10000;

// resize() that also takes a null block.
inline void *regrow(void *block, size_t size) { return block ? resize(block, size) : alloc(size); }

// ---- line files (factorfile.cpp) ----------------------------------------------
int lf_alloc(linefile *f, int nline, long size, bool values);
void lf_free(linefile *f);
void lf_clearlines(linefile *f);
void lf_compact(linefile *f);
// Makes `extra` cells free at the end of the file.  0 or 1001.
int lf_need(linefile *f, int extra, double *mul, int locked);
// Moves a line to the end of the file with `room` cells.  0 or 1001.
int lf_place(linefile *f, int line, int room, double *mul, int locked);
int lf_push(linefile *f, int line, int ind, double val, double *mul, int locked);
inline void lf_remove_at(linefile *f, int line, int pos) {
  int last = f->beg[line] + f->cnt[line] - 1;
  f->ind[pos] = f->ind[last];
  if (f->val) f->val[pos] = f->val[last];
  f->cnt[line]--;
}
inline int lf_find(const linefile *f, int line, int ind) {
  int b = f->beg[line], e = b + f->cnt[line];
  for (int p = b; p < e; p++)
    if (f->ind[p] == ind) return p;
  return -1;
}

// ---- factorization work space (factor.cpp) -----------------------------------------
// Doubly linked lists of lines by count.
struct countlists {
  std::vector<int> head, next, prev, at;  // at: count the line is linked under, -1 if none
  void init(int nline, int maxcount);
  void link(int line, int count);
  void unlink(int line);
};

struct facwork {
  int m = 0, nc = 0;
  linefile rows{};        // active rows: local column numbers and values
  linefile cols{};        // active columns: row numbers
  // Entries of pivoted rows left in a long column's list until enough of
  // them gather; the column's active count is cols.cnt - cstale.
  std::vector<int> cstale;
  std::vector<double> rowmax;
  std::vector<int> rstate, cstate;  // 0 active, 1 pivoted, 2 rejected
  countlists rl, cl;
  int rhigh = 0, chigh = 0;         // highest count linked
  std::vector<double> w;
  std::vector<int> seen, wmark;
  int stamp = 0;
  // Pivot sequence in local numbering.
  std::vector<int> prow, pcol;
  std::vector<double> pval;
  int lnz = 0;              // L entries written
  long activenz = 0;
  int activerows = 0;
  int ccount(int j) const { return cols.cnt[j] - cstale[j]; }
  ~facwork();
};

// One attempt on columns cols[0..nc-1].  `analysis`: probe mode.  Fills the
// pivot sequence in fac->scratch, L in fac, and leaves the U rows in the row
// file.  Returns 0, 1001, 1256, 2000.
int lu_core(lufactor *fac, const lumatrix *mat, int nc, const int *cols, const int *mask,
            double threshold, double singtol, int analysis);
// Dense tail on the active part.  0, 1256 (some rows failed) or 2000.
int lu_dense(lufactor *fac, facwork *fw, double singtol);
// Appends one L multiplier (row, value).  0 or 1001.
int lu_lpush(lufactor *fac, facwork *fw, int row, double val);

// ---- solve form (faclink.cpp) ----------------------------------------------------------
// Builds the solve form from the pivot sequence of a full-rank attempt.
int lu_link(lufactor *fac);
int lu_ensure_work(lufactor *fac, int m);

// ---- pending update vectors (ftsolve.cpp) ----------------------------------------------
void lu_make_roweta(lufactor *fac, int pos);
int lu_make_spike(lufactor *fac, const lumatrix *mat, int var);

// ---- eta file (baseupd.cpp) ------------------------------------------------------------
int eta_reset(lufactor *fac);

// ---- heap of positions (ftsolve.cpp) ----------------------------------------------------
struct posheap {
  int *a;
  int n;
};
void heap_push_min(posheap *h, int x);
int heap_pop_min(posheap *h);
void heap_push_max(posheap *h, int x);
int heap_pop_max(posheap *h);

}  // namespace velto
