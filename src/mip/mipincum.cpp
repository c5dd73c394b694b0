// The incumbent store: the best integer solution, its basis and the cutoff.
#include <algorithm>
#include <cmath>

#include "env/par.h"
#include "mip/mipnode.h"

namespace velto {

void incumbent_init(env *e, int objsen, int ncols, incumbent &s) {
  s = incumbent();
  s.ncols = ncols;
  s.epint = e->mipparams->epint;
  s.objdif = e->mipparams->objdif;
  s.relobjdif = e->mipparams->relobjdif;
  s.cutoff = objsen > 0 ? e->mipparams->cutup : -e->mipparams->cutlo;
}

double cutoff_from_obj(const incumbent &s, double z) {
  double e = s.epint, v = s.increment;
  double c = z - s.objdif;
  if (std::fabs(s.objdif) < 1e-10 && s.relobjdif > 1e-10) c = z - s.relobjdif * std::fabs(z);
  c -= std::fabs(c * 1e-10);
  if (v > 1 && c > z + e - v) c = z + e * v - v;
  else if (v > 1e-10 && z + e - v < c) c = z + e - v;
  return c;
}

bool incumbent_tighten(incumbent &s, double value) {
  double implied = 1e75;
  if (s.solnseq >= 0) {
    if (std::fabs(s.objdif) > 1e-10) implied = s.bestobj - s.objdif;
    else if (s.relobjdif > 1e-10) implied = s.bestobj - s.relobjdif * std::fabs(s.bestobj);
    else implied = s.bestobj;
  }
  double c = std::min({s.cutoff, value, implied});
  bool changed = c < s.cutoff;
  s.cutoff = c;
  return changed;
}

int incumbent_offer(env *e, lp *nodelp, incumbent &s, int node, double obj, int *accepted) {
  *accepted = 0;
  if (!(obj < s.bestobj)) return 0;
  int n = VLTgetnumcols(e, nodelp), m = VLTgetnumrows(e, nodelp);
  std::vector<double> x(std::max(n, 1));
  std::vector<int> cstat, rstat;
  int status = n > 0 ? VLTgetx(e, nodelp, x.data(), 0, n - 1) : 0;
  if (status) return status;
  if (VLTcangetbase(e, nodelp) == 0 ? false : true) {
    cstat.resize(n);
    rstat.resize(m);
    if (VLTgetbase(e, nodelp, cstat.data(), rstat.data()) != 0) {
      cstat.clear();
      rstat.clear();
    }
  }
  x.resize(n);
  s.x.swap(x);
  s.colstat.swap(cstat);
  s.rowstat.swap(rstat);
  s.bestobj = obj;
  s.cutoff = std::min(s.cutoff, cutoff_from_obj(s, obj));
  s.solnseq = node;
  s.havex = 1;
  ++s.solcnt;
  *accepted = 1;
  return 0;
}

int incumbent_offer_value(incumbent &s, int node, double obj, int *accepted) {
  *accepted = 0;
  if (!(obj < s.bestobj)) return 0;
  s.bestobj = obj;
  s.cutoff = std::min(s.cutoff, cutoff_from_obj(s, obj));
  s.solnseq = node;
  s.havex = 0;
  s.x.clear();
  s.colstat.clear();
  s.rowstat.clear();
  *accepted = 1;
  return 0;
}

}  // namespace velto
