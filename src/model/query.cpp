// Model queries: the model in the user's units.
#include <algorithm>
#include <cstring>
#include <new>

#include "model/lp.h"
#include "model/store.h"

namespace velto {

void getobj_u(const lp *p, double *out, int begin, int end) {
  const lpcore *c = p->core;
  for (int j = begin; j <= end; ++j) out[j - begin] = c->colscale ? c->obj[j] * c->colscale[j] : c->obj[j];
}
void getrhs_u(const lp *p, double *out, int begin, int end) {
  const lpcore *c = p->core;
  for (int i = begin; i <= end; ++i) out[i - begin] = c->rowscale ? c->rhs[i] * c->rowscale[i] : c->rhs[i];
}
void getlb_u(const lp *p, double *out, int begin, int end) {
  const lpcore *c = p->core;
  for (int j = begin; j <= end; ++j)
    out[j - begin] = (c->colscale && c->lbkind[j] != kBoundInfinite) ? c->lb[j] / c->colscale[j] : c->lb[j];
}
void getub_u(const lp *p, double *out, int begin, int end) {
  const lpcore *c = p->core;
  for (int j = begin; j <= end; ++j)
    out[j - begin] = (c->colscale && c->ubkind[j] != kBoundInfinite) ? c->ub[j] / c->colscale[j] : c->ub[j];
}
void getrng_u(const lp *p, double *out, int begin, int end) {
  const lpcore *c = p->core;
  for (int i = begin; i <= end; ++i) {
    double r = 0.0;
    if (c->rngval && c->sense[i] == 'R') r = c->rngval[i];
    out[i - begin] = r;
  }
}
double matval_u(const lp *p, int k, int j) {
  const lpcore *c = p->core;
  double v = c->matval[k];
  if (c->rowscale) v *= c->rowscale[c->matind[k]];
  if (c->colscale) v *= c->colscale[j];
  return v;
}

}  // namespace velto
