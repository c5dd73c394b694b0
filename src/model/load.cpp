// Problem object (placeholder until the problem store lands).
#include "env/env.h"

struct velto_lp {
  velto_lp *self;
  void *core;
};

using namespace velto;

extern "C" {
VLTLPptr VLTcreateprob(VLTENVptr env, int *status_p, const char *) {
  int status = 0;
  if (status_p) *status_p = 0;
  if (!checkenv(env)) status = kNoEnvironment;
  velto_lp *lp = nullptr;
  if (status == 0) {
    lp = allocnzero<velto_lp>(1);
    if (lp == nullptr) status = kNoMemory;
  }
  if (status == 0) {
    lp->self = lp;
    lp->core = lp;
    status = resadd(env, kResProblem, lp);
    if (status) release(&lp);
  }
  if (status) report(env, &status);
  if (status_p) *status_p = status;
  return lp;
}
int VLTfreeprob(VLTENVptr env, VLTLPptr *lp_p) {
  if (!checkenv(env)) return kNoEnvironment;
  if (lp_p == nullptr || *lp_p == nullptr) return kNullPointer;
  resremove(env, *lp_p);
  (*lp_p)->self = nullptr;
  release(lp_p);
  return 0;
}
}
