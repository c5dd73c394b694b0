// Parameters read by the problem store, behind one small interface so the
// store does not depend on the layout of the parameter blocks.
#pragma once

#include "env/env.h"

namespace velto {

int par_rowgrowth(const env *e);
int par_colgrowth(const env *e);
int par_nzgrowth(const env *e);
int par_datacheck(const env *e);
double par_epopt(const env *e);
double par_rfilemul(const env *e);
double par_cfilemul(const env *e);
double par_tol1049(const env *e);
double par_tol1050(const env *e);

}  // namespace velto
