// Optimizer entries on a problem object.
#pragma once

#include "model/lp.h"

namespace velto {

// Runs the primal simplex on p and writes its solution record.  Returns 0
// (the outcome is in the record's status) or an error code.
int primal_optimize(env *e, lp *p);

}  // namespace velto
