// Perturbed copies of a problem written in the binary model form: bounds
// widened at random (VLTpperwrite) or costs moved at random (VLTdperwrite).
// The random stream starts from a fixed seed, so a file is repeatable, and
// the model is put back whatever the result.
#include <vector>

#include "fileio/sav.h"
#include "model/store.h"

namespace velto {

namespace {

constexpr uint32_t kPerturbSeed = 1;

int perturbwrite(env *e, lp *p, const char *name, double eps, bool primal) {
  int status = queryframe(e, &p);
  if (status) return status;
  lpcore *c = p->core;
  const int n = c->numcols, m = c->numrows;
  std::vector<double> rhs(c->rhs, c->rhs + m), lb(c->lb, c->lb + n), ub(c->ub, c->ub + n),
      obj(c->obj, c->obj + n);
  const uint32_t seed = e->seed;
  e->seed = kPerturbSeed;
  for (int j = 0; j < n; ++j) {
    const bool lo = c->lb[j] > -kInfThreshold, up = c->ub[j] < kInfThreshold;
    if (primal) {
      if (c->lb[j] == c->ub[j]) continue;
      double r = 0.0;
      if (lo) {
        r = randdbl(e) * eps;
        c->lb[j] -= r;
        for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k)
          c->rhs[c->matind[k]] += r * c->matval[k];
      }
      if (up) c->ub[j] += r + randdbl(e) * eps;
    } else {
      const double a = lo ? randdbl(e) : 0.0, b = up ? randdbl(e) : 0.0;
      c->obj[j] += (a - b) * eps;
    }
  }
  e->seed = kPerturbSeed;
  status = savwritefile(e, p, name);
  std::copy(rhs.begin(), rhs.end(), c->rhs);
  std::copy(lb.begin(), lb.end(), c->lb);
  std::copy(ub.begin(), ub.end(), c->ub);
  std::copy(obj.begin(), obj.end(), c->obj);
  e->seed = seed;
  return status;
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTpperwrite(VLTENVptr env, VLTLPptr lp, const char *filename, double epsilon) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return perturbwrite(env, lp, filename, epsilon, true); }));
}

int VLTdperwrite(VLTENVptr env, VLTLPptr lp, const char *filename, double epsilon) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return perturbwrite(env, lp, filename, epsilon, false); }));
}

}  // extern "C"
