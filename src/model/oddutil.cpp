// Small helpers of the problem store: parameter reads, handle following,
// the registry of layer release functions.
#include "model/lp.h"
#include "model/modelpar.h"

namespace velto {

// Parameter numbers read here.
enum : int {
  kParRowGrowth = 1046, kParColGrowth = 1047, kParNzGrowth = 1048, kParDataCheck = 1056,
  kParEpOpt = 1014, kParRFileMul = 1033, kParCFileMul = 1005
};

namespace {
// Until the parameter table is registered the defaults stand.
int intpar(const env *, int, int dflt) { return dflt; }
double dblpar(const env *, int, double dflt) { return dflt; }
}  // namespace

int par_rowgrowth(const env *e) { return intpar(e, kParRowGrowth, 100); }
int par_colgrowth(const env *e) { return intpar(e, kParColGrowth, 100); }
int par_nzgrowth(const env *e) { return intpar(e, kParNzGrowth, 500); }
int par_datacheck(const env *e) { return intpar(e, kParDataCheck, 0); }
double par_epopt(const env *e) { return dblpar(e, kParEpOpt, 1e-6); }
double par_rfilemul(const env *e) { return dblpar(e, kParRFileMul, 3.0); }
double par_cfilemul(const env *e) { return dblpar(e, kParCFileMul, 3.0); }

bool checklpfollow(lp **pp) {
  if (pp == nullptr || !checklp(*pp)) return false;
  lp *p = *pp;
  if (isview(p)) {
    if (!checklp(p->fixedlp)) return false;
    *pp = p->fixedlp;
  }
  return true;
}

}  // namespace velto
