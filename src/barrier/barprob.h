// The linear problem as the factor sees it: A by columns and by rows, the
// row senses and the dense-column flags.
#pragma once

#include <vector>

#include "env/env.h"

namespace velto {

struct barprob {
  int m = 0, n = 0;  // rows, columns
  std::vector<int> colbeg, colind;  // column j: colind[colbeg[j] .. colbeg[j+1])
  std::vector<double> colval;
  std::vector<int> rowbeg, rowind;  // the same by rows, built by buildrows
  std::vector<double> rowval;
  std::vector<char> sense;          // per row; empty means all 'E'
  std::vector<char> dense;          // per column, set by find_dense
  std::vector<int> densecols;       // the dense columns in ascending order

  // The iteration's data (empty for a bare factor test): minimize obj'x
  // over A x + sgn * slack = rhs with 0 <= x (haslow) and x <= upper
  // (hasup); bounded columns are shifted so that their lower bound is 0.
  int objsen = 1;
  double offset = 0.0;               // constant of the objective, minimization sign
  std::vector<double> obj, rhs, upper;
  std::vector<char> haslow, hasup;   // per column
  std::vector<int> freelist;         // columns with neither bound
  int bounds = 0;                    // bit 0: some column has an upper bound
  // Row i of the model times rowscale[i] is row i here, column j holds the
  // model's value divided by colscale[j] (empty: 1); the primal residuals
  // and norms are measured in the model's units.
  std::vector<double> rowscale, colscale;

  void buildrows();
  char rowsense(int i) const { return sense.empty() ? 'E' : sense[i]; }
  int collen(int j) const { return colbeg[j + 1] - colbeg[j]; }
};

// Chooses the dense columns (by VLT_PARAM_BARCOLNZ or automatically) and
// flags them.  Returns 0 or 1001.
int find_dense(env *e, barprob &bp);

}  // namespace velto
