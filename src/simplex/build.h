// Model arrays as the engine reads them, and the builder of the working form.
#pragma once

#include "simplex/pwork.h"

namespace velto {

// A read-only view of a model in the arrays of the loading call.
struct lpview {
  int nrows = 0, ncols = 0;
  int objsen = 1;
  double objconst = 0.0;
  const double *obj = nullptr, *rhs = nullptr, *rngval = nullptr;
  const char *sense = nullptr;
  const int *matbeg = nullptr, *matcnt = nullptr, *matind = nullptr;
  const double *matval = nullptr, *lb = nullptr, *ub = nullptr;
};

// Fills p from v (unscaled).  Returns 0, or 1100 when some column has
// contradictory bounds (the first in *badcol).  A column whose bounds cross
// by less than 1e-10 is taken as fixed.
int wprob_build(const lpview &v, wprob &p, int *badcol);

}  // namespace velto
