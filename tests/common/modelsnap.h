// A whole model read back through the public query calls, for comparing two
// problems entry by entry.
#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "model/store.h"
#include "velto.h"

namespace velto_test {

struct modelsnap {
  int rows = 0, cols = 0, nz = 0, objsen = 0, ints = 0;
  std::vector<double> obj, rhs, lb, ub, rng, matval;
  std::vector<char> sense, ctype;
  std::vector<int> matbeg, matind;
  std::vector<std::string> colnames, rownames;
};

// Reads the model of a problem straight from its record, in the user's units.
inline modelsnap snapshot(VLTENVptr, VLTLPptr lp) {
  modelsnap s;
  const velto::lpcore *c = lp->core;
  s.rows = c->numrows;
  s.cols = c->numcols;
  s.objsen = c->objsen;
  s.obj.resize(s.cols);
  s.lb.resize(s.cols);
  s.ub.resize(s.cols);
  s.rhs.resize(s.rows);
  s.rng.assign(s.rows, 0.0);
  s.sense.assign(c->sense, c->sense + s.rows);
  if (s.cols > 0) {
    velto::getobj_u(lp, s.obj.data(), 0, s.cols - 1);
    velto::getlb_u(lp, s.lb.data(), 0, s.cols - 1);
    velto::getub_u(lp, s.ub.data(), 0, s.cols - 1);
  }
  if (s.rows > 0) velto::getrhs_u(lp, s.rhs.data(), 0, s.rows - 1);
  if (s.rows > 0 && c->rngval != nullptr) velto::getrng_u(lp, s.rng.data(), 0, s.rows - 1);
  s.matbeg.push_back(0);
  for (int j = 0; j < s.cols; ++j) {
    for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k) {
      s.matind.push_back(c->matind[k]);
      s.matval.push_back(velto::matval_u(lp, k, j));
    }
    s.matbeg.push_back(static_cast<int>(s.matind.size()));
  }
  s.nz = static_cast<int>(s.matind.size());
  s.ctype.assign(s.cols, 'C');
  if (c->ctype != nullptr) {
    s.ctype.assign(c->ctype, c->ctype + s.cols);
    for (char t : s.ctype) s.ints += t != 'C';
  }
  if (c->colname != nullptr)
    for (int j = 0; j < s.cols; ++j) s.colnames.emplace_back(c->colname[j]);
  if (c->rowname != nullptr)
    for (int i = 0; i < s.rows; ++i) s.rownames.emplace_back(c->rowname[i]);
  return s;
}

// Equal within the precision a text writer keeps (about 8 significant digits
// in the worst case of the MPS number form).
inline bool near(double a, double b, double rel = 2e-7) {
  if (a == b) return true;
  if (std::fabs(a) >= 1e20 && std::fabs(b) >= 1e20) return (a > 0) == (b > 0);
  return std::fabs(a - b) <= rel * std::max(std::fabs(a), std::fabs(b)) + 1e-30;
}

}  // namespace velto_test
