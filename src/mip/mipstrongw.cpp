// Weak stand-ins for the strong-branching kernel and the one-pivot
// penalties, so that this branch builds before they are merged.  They do no
// work: the kernel answers 1252 (the branch choice then drops the
// evaluation and goes on with what it knows) and the penalties are 0.  The
// real definitions replace them at link time; delete this file once they
// are in.
#include "mip/mipstrong.h"

namespace velto {

__attribute__((weak)) int strongkernel(env *, lp *, const int *, int, double *, double *, int,
                                       int, double, const char *, double, int *, int *) {
  return 1252;
}

__attribute__((weak)) int branchpen(env *, lp *, const int *, int count, double, double *downpen,
                                    double *uppen) {
  for (int k = 0; k < count; ++k) downpen[k] = uppen[k] = 0.0;
  return 0;
}

}  // namespace velto
