// Small helpers of the problem store: parameter reads, handle following,
// the registry of layer release functions.
#include "model/lp.h"
#include "model/modelpar.h"
#include "env/par.h"

namespace velto {

int par_rowgrowth(const env *e) { return e->params->rowgrowth; }
int par_colgrowth(const env *e) { return e->params->colgrowth; }
int par_nzgrowth(const env *e) { return e->params->nzgrowth; }
int par_datacheck(const env *e) { return e->params->datacheck; }
double par_epopt(const env *e) { return e->params->epopt; }
double par_rfilemul(const env *e) { return e->params->rfilemul; }
double par_cfilemul(const env *e) { return e->params->cfilemul; }
double par_tol1049(const env *e) { return e->params->p1049; }
double par_tol1050(const env *e) { return e->params->p1050; }

bool checklpfollow(const env *e, lp **pp) {
  if (pp == nullptr || !checklp(e, *pp)) return false;
  lp *p = *pp;
  if (isview(p)) {
    if (!checklp(e, p->fixedlp)) return false;
    *pp = p->fixedlp;
  }
  return true;
}

}  // namespace velto
