// Independent check of an integer solution: the model is read back through
// the public calls and the point is tested against it alone: integrality of
// the integer columns within epint, rows and bounds within eprhs (relative to
// max(1, |bound|)), and the objective recomputed from x.
#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "common/lpcheck.h"
#include "velto.h"

namespace mipcheck {

struct verdict {
  bool ok = true;
  std::string why;
  double intviol = 0.0, primviol = 0.0, objerr = 0.0, objval = 0.0;
};

// x: the incumbent; obj: the objective the optimizer reports (model sense).
inline verdict check(VLTENVptr env, VLTLPptr lp, const std::vector<double> &x, double obj,
                     double epint = 1e-5, double eprhs = 1e-6) {
  verdict v;
  lpcheck::model md = lpcheck::from_api(env, lp);
  if (static_cast<int>(x.size()) != md.n) {
    v.ok = false;
    v.why = "x has the wrong length";
    return v;
  }
  std::vector<char> ct(md.n, 'C');
  if (md.n > 0) VLTgetctype(env, lp, ct.data(), 0, md.n - 1);
  for (int j = 0; j < md.n; ++j)
    if (ct[j] == 'B' || ct[j] == 'I') v.intviol = std::max(v.intviol, std::fabs(x[j] - std::round(x[j])));
  v.primviol = lpcheck::primal_violation(md, x, true);
  v.objval = lpcheck::objective(md, x) * md.objsen;
  v.objerr = std::fabs(v.objval - obj) / (1.0 + std::fabs(obj));
  if (v.intviol > epint) v.ok = false, v.why += " integrality " + std::to_string(v.intviol);
  if (v.primviol > eprhs) v.ok = false, v.why += " rows/bounds " + std::to_string(v.primviol);
  if (v.objerr > 1e-7) v.ok = false, v.why += " objective recomputed " + std::to_string(v.objval);
  return v;
}

// Reads the incumbent of lp and checks it.
inline verdict checkmip(VLTENVptr env, VLTLPptr lp, double epint = 1e-5, double eprhs = 1e-6) {
  int n = VLTgetnumcols(env, lp);
  std::vector<double> x(n);
  double obj = 0.0;
  verdict v;
  if (VLTgetmipobjval(env, lp, &obj) != 0 || (n > 0 && VLTgetmipx(env, lp, x.data(), 0, n - 1) != 0)) {
    v.ok = false;
    v.why = "no incumbent";
    return v;
  }
  return check(env, lp, x, obj, epint, eprhs);
}

}  // namespace mipcheck
