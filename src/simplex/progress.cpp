// Iteration log of the primal engine.
#include <cmath>
#include <cstdarg>
#include <cstdio>

#include "simplex/pengine.h"

namespace velto {

void pengine::logf(const char *fmt, ...) {
  if (hk.logline == nullptr || opt.display <= 0) return;
  char buf[1024];
  va_list ap;
  va_start(ap, fmt);
  std::vsnprintf(buf, sizeof buf, fmt, ap);
  va_end(ap);
  hk.logline(hk.ctx, buf);
}

// A column's name right-aligned in 23 characters; a row's in 17 followed by
// " slack", " range" or " artif" for the kind of its logical.
void pengine::var_label(int j, char *buf, int len) const {
  char name[256];
  name[0] = '\0';
  if (hk.varname) hk.varname(hk.ctx, j, name, sizeof name);
  if (name[0] == '\0') {
    if (j < n) std::snprintf(name, sizeof name, "x%d", j + 1);
    else std::snprintf(name, sizeof name, "c%d", j - n + 1);
  }
  if (j < n) std::snprintf(buf, len, "%23s", name);
  else {
    int kind = hk.logkind ? hk.logkind(hk.ctx, j - n) : 0;
    std::snprintf(buf, len, "%17s %s", name, kind == 1 ? "range" : kind == 2 ? "artif" : "slack");
  }
}

void pengine::log_iteration(int q, int leaving, bool flip, int endstat) {
  if (opt.display <= 0 || hk.logline == nullptr) return;
  if (opt.display == 1) {
    if (itcnt == 1) logf("\nIteration log . . .\n");
    if (refactors == lastlogref && phase == lastlogphase) return;
    lastlogref = refactors;
    lastlogphase = phase;
    if (phase == 1) {
      compute_objval();
      if (opt.scaled_log)
        logf("Iteration: %5d    Scaled infeas = %20.6f\n", itcnt, objval);
      else
        logf("Iteration: %5d    Infeasibility = %20.6f\n", itcnt, objval);
    } else {
      double v = p.objsen * objval + p.objconst;
      logf("Iteration: %5d    Objective     = %20.6f\n", itcnt, v);
    }
    return;
  }
  if (itcnt == 1)
    logf("\nIteration           Objective     "
         "       In Variable           Out Variable\n");
  char line[400], name[300];
  int len;
  if (phase == 2) len = std::snprintf(line, sizeof line, "%6d   ", itcnt);
  else if (opt.scaled_log) len = std::snprintf(line, sizeof line, "%6d sI", itcnt);
  else len = std::snprintf(line, sizeof line, "%6d  I", itcnt);
  double v;
  if (phase == 1) {
    compute_objval();
    v = objval;
  } else {
    v = p.objsen * objval + p.objconst;
  }
  len += std::snprintf(line + len, sizeof line - len,
                       std::fabs(v) >= 1e11 ? "%20.6e" : "%20.6f", v);
  var_label(q, name, sizeof name);
  len += std::snprintf(line + len, sizeof line - len, "%s", name);
  if (flip) {
    std::snprintf(line + len, sizeof line - len, "%s",
                  endstat == kAtUpper ? "    goes to upper bound\n"
                                      : "    goes to lower bound\n");
  } else {
    var_label(leaving, name, sizeof name);
    std::snprintf(line + len, sizeof line - len, "%s\n", name);
  }
  hk.logline(hk.ctx, line);
}

}  // namespace velto
