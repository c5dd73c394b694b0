// Strong branching: each side of a candidate is a warm dual re-solve from
// the saved optimal basis and dual norms, with the bound moved, an iteration
// limit and an objective limit; the LP is put back as found afterwards.
// Driebeek penalties: one dual ratio test per candidate row.
#include "mip/mipstrong.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "env/files.h"
#include "env/par.h"
#include "model/store.h"

namespace velto {

namespace {

// Parameters the trial solves change, put back by the destructor.
struct savedpars {
  env *e;
  int itlim, simdisplay, p1017, advind;
  double objulim, objllim;
  explicit savedpars(env *en)
      : e(en), itlim(en->params->itlim), simdisplay(en->params->simdisplay),
        p1017(en->params->p1017), advind(en->params->advind), objulim(en->params->objulim),
        objllim(en->params->objllim) {}
  ~savedpars() {
    e->params->itlim = itlim;
    e->params->simdisplay = simdisplay;
    e->params->p1017 = p1017;
    e->params->advind = advind;
    e->params->objulim = objulim;
    e->params->objllim = objllim;
  }
};

// The saved optimal basis with its dual norms (when the LP has them).
struct savedbasis {
  std::vector<int> cstat, rstat;
  std::vector<double> dnorm;
  bool hasnorms = false;
  int save(env *e, lp *q, int n, int m) {
    cstat.resize(n), rstat.resize(m), dnorm.resize(m);
    hasnorms = VLTgetbasednorms(e, q, cstat.data(), rstat.data(), dnorm.data()) == 0;
    if (hasnorms) return 0;
    return VLTgetbase(e, q, cstat.data(), rstat.data());
  }
  int restore(env *e, lp *q) const {
    if (hasnorms) return VLTcopybasednorms(e, q, cstat.data(), rstat.data(), dnorm.data());
    return VLTcopybase(e, q, cstat.data(), rstat.data());
  }
};

bool aborted(env *e) { return e->params->abortword != nullptr && *e->params->abortword != 0; }

// Fractional integer columns of the solved LP, or -1 without a solution.
int fraccount(env *e, lp *q, int n, const char *ctype, double epint) {
  std::vector<double> x(n);
  if (n > 0 && VLTgetx(e, q, x.data(), 0, n - 1)) return -1;
  int cnt = 0;
  for (int j = 0; j < n; ++j) {
    if (ctype[j] != 'B' && ctype[j] != 'I') continue;
    double f = x[j] - std::floor(x[j] + epint);
    if (f > epint) ++cnt;
  }
  return cnt;
}

// One side: the bound `lu` of column j at v, a dual re-solve, the bound
// back.  *value gets the objective reached (model sense): a bound on the
// child's optimum, never above it.  z0 is the parent's optimum.
int side(env *e, lp *q, int j, char lu, double v, double old, int sense, double limit,
         double z0, const char *ctype, double epint, double *value, int *stat) {
  int rc = VLTchgbds(e, q, 1, &j, &lu, &v);
  if (rc) return rc;
  rc = VLTdualopt(e, q);
  int st = rc ? 0 : VLTgetstat(e, q);
  double z = 0.0;
  bool hasz = rc == 0 && VLTgetobjval(e, q, &z) == 0;
  int method = 0, type = 0, pfeas = 0, dfeas = 0;
  if (rc == 0) VLTsolninfo(e, q, &method, &type, &pfeas, &dfeas);
  if (stat) *stat = -1;
  if (rc == 0) {
    if (st == 3) *value = 1e75 * sense;
    else if (st == 12) *value = hasz && z * sense > limit * sense ? z : limit;
    // Stopped short: the objective of a dual feasible basis bounds the
    // child; any other point says nothing beyond the parent's value.
    else if (st == 1 || st == 5 || (hasz && dfeas == 1))
      *value = hasz && z * sense > z0 * sense ? z : z0;
    else *value = z0;
    if ((st == 1 || st == 5) && stat && ctype) *stat = fraccount(e, q, VLTgetnumcols(e, q), ctype, epint);
  }
  int back = VLTchgbds(e, q, 1, &j, &lu, &old);
  if (rc) return rc;
  if (back) return back;
  if (st == 13) return 1263;
  if (st == 11) return 1266;
  return 0;
}

}  // namespace

int strongkernel(env *e, lp *q, const int *list, int count, double *down, double *up, int itlim,
                 int /*nthreads*/, double cutoff, const char *ctype, double epint, int *downstat,
                 int *upstat) {
  int st = VLTgetstat(e, q);
  if (st != 1 && st != 5) return 1252;
  int n = VLTgetnumcols(e, q), m = VLTgetnumrows(e, q);
  int sense = VLTgetobjsen(e, q) < 0 ? -1 : 1;
  double start = now(e), tilim = e->params->tilim;
  double z0 = 0.0;
  if (VLTgetobjval(e, q, &z0)) return 1252;
  savedpars keep(e);
  e->params->p1017 = 0;
  e->params->simdisplay = 0;
  e->params->advind = 1;
  // A side above the cutoff stops early.  Without one, a limit far beyond
  // any objective of this LP keeps the solves honest.
  double limit = cutoff;
  if (!(std::fabs(cutoff) < 1e74)) {
    double p = std::pow(10.0, std::ceil(std::log10(std::fabs(z0) + 1.0)));
    limit = 100000.0 * sense * p;
  }
  limit += 1e-10 * std::fabs(limit) * sense;
  if (sense > 0) e->params->objulim = limit;
  else e->params->objllim = limit;
  savedbasis saved;
  int rc = saved.save(e, q, n, m);
  if (rc) return rc;
  std::vector<double> x(n), lb(n), ub(n);
  if (n > 0 && (VLTgetx(e, q, x.data(), 0, n - 1) || VLTgetlb(e, q, lb.data(), 0, n - 1) ||
                VLTgetub(e, q, ub.data(), 0, n - 1)))
    return 1252;
  rc = 0;
  for (int k = 0; k < count && rc == 0; ++k) {
    int j = list[k];
    if (downstat) downstat[k] = -1;
    if (upstat) upstat[k] = -1;
    if (j < 0 || j >= n) {
      rc = 1201;
      break;
    }
    if (saved.cstat[j] != 1) {
      down[k] = up[k] = -1e20 * sense;
      continue;
    }
    if (aborted(e)) {
      rc = 1263;
      break;
    }
    double v0 = std::floor(x[j]);
    double dv = std::max(std::min(v0, ub[j]), lb[j]);
    double uv = std::min(std::max(v0 + 1.0, lb[j]), ub[j]);
    e->params->itlim = std::max(itlim, 0);
    rc = side(e, q, j, 'U', dv, ub[j], sense, limit, z0, ctype, epint, &down[k], downstat ? &downstat[k] : nullptr);
    int r2 = saved.restore(e, q);
    if (rc == 0) rc = r2;
    if (rc) break;
    rc = side(e, q, j, 'L', uv, lb[j], sense, limit, z0, ctype, epint, &up[k], upstat ? &upstat[k] : nullptr);
    r2 = saved.restore(e, q);
    if (rc == 0) rc = r2;
    if (rc == 0 && now(e) - start > tilim) rc = 1266;
  }
  // Back to the optimum found: the saved basis re-solves without a pivot.
  e->params->itlim = keep.itlim;
  e->params->objulim = keep.objulim;
  e->params->objllim = keep.objllim;
  int r3 = saved.restore(e, q);
  if (r3 == 0) r3 = VLTdualopt(e, q);
  if (r3 == 0) r3 = saved.restore(e, q);
  if (r3 == 0) r3 = VLTdualopt(e, q);
  return rc ? rc : r3;
}

int branchpen(env *e, lp *q, const int *cols, int count, double epint, double *downpen,
              double *uppen) {
  for (int k = 0; k < count; ++k) downpen[k] = uppen[k] = 0.0;
  if (count <= 0) return 0;
  int n = VLTgetnumcols(e, q), m = VLTgetnumrows(e, q);
  std::vector<int> cstat(n), rstat(m);
  if (VLTgetbase(e, q, cstat.data(), rstat.data())) return 0;
  std::vector<double> x(n);
  if (n > 0 && VLTgetx(e, q, x.data(), 0, n - 1)) return 0;
  std::vector<int> idx, pos;
  for (int k = 0; k < count; ++k) {
    int j = cols[k];
    if (j < 0 || j >= n || cstat[j] != 1) continue;
    double f = x[j] - std::floor(x[j]);
    if (f <= epint || f >= 1.0 - epint) continue;
    idx.push_back(j), pos.push_back(k);
  }
  if (idx.empty()) return 0;
  std::vector<double> dr(idx.size()), ur(idx.size());
  int rc = VLTmdleave(e, q, idx.data(), static_cast<int>(idx.size()), dr.data(), ur.data());
  if (rc) return rc;
  for (size_t t = 0; t < idx.size(); ++t) {
    double f = x[idx[t]] - std::floor(x[idx[t]]);
    downpen[pos[t]] = std::min(f * std::max(dr[t], 0.0), 1e75);
    uppen[pos[t]] = std::min((1.0 - f) * std::max(ur[t], 0.0), 1e75);
  }
  return 0;
}

}  // namespace velto

extern "C" {

int VLTstrongbranch(VLTENVptr env, VLTLPptr lp, const int *goodlist, int goodlen,
                    double *downpen, double *uppen, int itlim) {
  using namespace velto;
  return finish(env, guarded([&]() -> int {
    int status = queryframe(env, &lp);
    if (status) return status;
    if (lp->probtype == kTypeMILP || lp->probtype == kTypeMIQP) return 1017;
    if (lp->probtype == kTypeQP || lp->probtype == kTypeMIQP || lp->probtype == kTypeZeroedQP ||
        lp->probtype == kTypeFixedMIQP || lp->probtype == kTypeQPNode)
      return 1018;
    if (goodlen < 0) return static_cast<int>(kBadArgument);
    if (goodlen == 0) {
      msg(env->warnchannel, "Warning:  Variable list empty.\n");
      return 0;
    }
    if (goodlist == nullptr || downpen == nullptr || uppen == nullptr)
      return static_cast<int>(kNullPointer);
    int st = VLTgetstat(env, lp);
    if (st != 1 && st != 5) return 1252;
    int n = VLTgetnumcols(env, lp);
    for (int k = 0; k < goodlen; ++k)
      if (goodlist[k] < 0 || goodlist[k] >= n) return 1201;
    return strongkernel(env, lp, goodlist, goodlen, downpen, uppen, std::max(itlim, 0), 1, 1e75,
                        nullptr, 0.0, nullptr, nullptr);
  }));
}

}  // extern "C"
