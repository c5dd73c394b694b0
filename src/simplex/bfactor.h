// Basis factor of the primal engine: a sparse LU of the basis matrix found
// by Markowitz pivoting with a threshold, followed by product-form updates.
#pragma once

#include <vector>

namespace velto {

// A sparse work vector: dense values plus the list of touched indices.
struct wvec {
  std::vector<double> val;
  std::vector<int> ind;
  std::vector<char> mark;
  int nnz = 0;
  void init(int m) {
    val.assign(m, 0.0);
    ind.assign(m, 0);
    mark.assign(m, 0);
    nnz = 0;
  }
  void clear() {
    for (int k = 0; k < nnz; ++k) {
      val[ind[k]] = 0.0;
      mark[ind[k]] = 0;
    }
    nnz = 0;
  }
  void add(int i, double v) {
    if (!mark[i]) { mark[i] = 1; ind[nnz++] = i; }
    val[i] += v;
  }
  void set(int i, double v) {
    if (!mark[i]) { mark[i] = 1; ind[nnz++] = i; }
    val[i] = v;
  }
  // Rebuilds the index list from the dense values, dropping tiny entries.
  void repack(double drop = 1e-14);
};

struct bfactor {
  int m = 0;
  // L: one column eta per pivot: rows lind[lbeg[k]..lbeg[k+1]) get
  // x[i] -= lval * x[lrow[k]].
  std::vector<int> lbeg, lrow, lind;
  std::vector<double> lval;
  // U by pivot k: pivot row prow[k], basis position pcol[k], pivot value.
  std::vector<int> prow, pcol;
  std::vector<double> upiv;
  std::vector<int> urbeg, urind;   // row-wise off-diagonals (positions)
  std::vector<double> urval;
  std::vector<int> ucbeg, ucind;   // column-wise off-diagonals (pivot index)
  std::vector<double> ucval;
  std::vector<int> pivof;          // basis position -> pivot index
  // Product-form updates.
  std::vector<int> ebeg, epos, eind;
  std::vector<double> eval, epiv;
  int updates = 0;
  long lunz = 0;                   // nonzeros of L and U
  long etanz = 0;
  double threshold = 0.01;

  // Work space of the factorization.
  std::vector<std::vector<int>> acolr, arowc;
  std::vector<std::vector<double>> acolv;
  std::vector<int> ccnt, rcnt, cnext, cprev, chead, rnext, rprev, rhead;
  std::vector<int> posmap;
  std::vector<char> rowdone, coldone;

  // Factorizes the basis whose position k holds the column given by
  // (beg[k], len[k]) into ind/val.  A logical is given as length -1 with
  // beg = row.  On singularity returns the number of positions that could
  // not be pivoted, with the positions in `badpos` and free rows in
  // `badrow`; the caller replaces them and factorizes again.
  int factor(int m, const std::vector<int> &cbeg, const std::vector<int> &clen,
             const int *ind, const double *val, std::vector<int> &badpos,
             std::vector<int> &badrow);
  // B y = b, b indexed by rows in, y by positions out (in place).
  void ftran(wvec &v) const;
  // B^T z = c, c by positions in, z by rows out (in place).
  void btran(wvec &v) const;
  // Appends the update for entering column alpha (FTRAN result) at position r.
  void update(const wvec &alpha, int r);

 private:
  std::vector<double> tmp_;
  mutable std::vector<double> work_;
};

}  // namespace velto
