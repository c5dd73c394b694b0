// The barrier optimizer's internal entries.
#pragma once

#include "model/lp.h"

namespace velto {

// One barrier run on p without crossover: the solution record gets the
// interior point with its status.  Returns 0, an error, or -42 after a
// numerical failure that was reported.
int bar_run(env *e, lp *p);
// VLThybbaropt's method argument resolved: -1 none, 0 by parameter, 1
// primal, 2 dual, -2 invalid.
int bar_method(int method);
// VLThybbaropt after the frame.
int hybbar_run(env *e, lp *p, int method);

}  // namespace velto
