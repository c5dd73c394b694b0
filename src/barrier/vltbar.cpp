// The barrier optimizer's entries: VLTbaropt, VLThybbaropt, and the run of
// one problem (preparation, analysis, the iteration, the solution record).
#include <algorithm>
#include <cmath>

#include "barrier/barengin.h"
#include "barrier/vltbar.h"
#include "env/files.h"
#include "env/par.h"
#include "model/store.h"

namespace velto {

namespace {

// Models without rows or without columns: no factor is needed.
int bar_degenerate(env *e, const barprob &bp, iterate &it) {
  const int n = bp.n, m = bp.m;
  it.x.assign(n + m, 0.0);
  it.z.assign(n + m, 0.0);
  it.s.assign(n, 0.0);
  it.w.assign(n, 0.0);
  it.y.assign(m, 0.0);
  int status = 1;
  if (m == 0) {
    for (int j = 0; j < n; ++j) {
      const double cj = bp.obj[j];
      double x = 0.0;
      if (cj > 0) {
        if (!bp.haslow[j]) status = 2;
      } else if (cj < 0) {
        if (!bp.hasup[j]) status = 2;
        else x = bp.upper[j];
      } else if (!bp.haslow[j] && bp.hasup[j]) {
        x = std::min(0.0, bp.upper[j]);
      }
      it.x[j] = x;
      if (bp.hasup[j]) it.s[j] = bp.upper[j] - x;
    }
    return status;
  }
  const double tol = e->params->eprhs;
  for (int i = 0; i < m; ++i) {
    const double b = bp.rhs[i];
    const char s = bp.rowsense(i);
    if ((s == 'E' && std::fabs(b) > tol) || (s == 'L' && b < -tol) || (s == 'G' && b > tol)) status = 3;
    it.x[n + i] = std::max(0.0, s == 'L' ? b : s == 'G' ? -b : 0.0);
  }
  return status;
}

void statusmessage(env *e, int status) {
  if (e->barparams->bardisplay <= 0) return;
  velto_channel *ch = e->reschannel;
  switch (status) {
    case 20: msg(ch, " Barrier detects unbounded optimal face.\n"); break;
    case 21:
      msg(ch, " Barrier limit on primal objective exceeded.\n");
      msg(ch, " Unbounded barrier solution (dependent on objective limit).\n");
      break;
    case 22:
      msg(ch, " Barrier limit on dual objective exceeded.\n");
      msg(ch, " Infeasible barrier solution (dependent on objective limit).\n");
      break;
    default: break;
  }
}

}  // namespace

int bar_run(env *e, lp *p) {
  if (p->probtype == kTypeMILP || p->probtype == kTypeMIQP) return 1017;
  if (p->probtype == kTypeQP || p->probtype == kTypeZeroedQP) return 1018;
  const double t0 = now(e);
  const double tilim = e->params->tilim;
  barprob bp;
  barmap map;
  int status = bar_prepare(e, p, bp, map);
  if (status) return status;
  iterate it;
  barresult res;
  const volatile int *abortword = e->params->abortword;
  if (abortword != nullptr && *abortword != 0) {
    res.status = 13;
  } else if (map.infeasiblebounds) {
    res.status = 3;
  } else if (bp.m == 0 || bp.n == 0) {
    res.status = bar_degenerate(e, bp, it);
    res.pfeas = res.status != 3;
    res.dfeas = res.status == 1;
  } else {
    status = guarded([&]() -> int {
      cholrec c;
      int s = chol_analyse(e, bp, c);
      steprec st;
      if (s == 0) s = bar_start(e, bp, c, it, st);
      if (s == 0) {
        res = bar_iterate(e, p, bp, c, it, st, tilim, t0);
        s = res.status >= 1000 ? res.status : 0;
      }
      chol_free(c);
      return s;
    });
    if (status) return status;
  }
  statusmessage(e, res.status);
  if (res.status == 42) {
    msg(e->warnchannel, "Numerical difficulties in barrier algorithm.\n");
    return -42;
  }
  if (it.x.empty()) {
    it.x.assign(bp.n + bp.m, 0.0);
    it.y.assign(bp.m, 0.0);
  }
  return bar_writesoln(e, p, bp, map, it, res);
}

int bar_method(int method) {
  switch (method) {
    case 0: return 0;
    case -1: case 110: return -1;
    case 1: case 112: case 80: case 111: case 79: return 1;
    case 2: case 100: case 68: case 116: case 84: return 2;
    default: return -2;
  }
}

}  // namespace velto

using namespace velto;

namespace {

int baropt_entry(env *e, lp *p, int method) {
  if (!checkenv(e)) return kNoEnvironment;
  int status = checklp(e, p) ? 0 : kNoProblem;
  if (status == 0) status = guarded([&] { return cache_flush(e, p); });
  if (status == 0) status = hybbar_run(e, p, method);
  return finish(e, status);
}

}  // namespace

extern "C" {

int VLTbaropt(VLTENVptr env, VLTLPptr lp) { return baropt_entry(env, lp, -1); }

int VLThybbaropt(VLTENVptr env, VLTLPptr lp, int method) { return baropt_entry(env, lp, method); }

}  // extern "C"
