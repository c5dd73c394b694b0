// Registration, call and query of the progress callbacks.
#include "env/callback.h"

#include <initializer_list>

#include "env/par.h"

namespace velto {

int lpcallback(env *e, void *cbdata, cbprogress &pr) {
  const parblock *pb = e->params;
  if (pb->abortword != nullptr && *pb->abortword != 0) return 1;
  if (pb->lpcallback == nullptr) return 0;
  void *saved = e->cbprog;
  e->cbprog = &pr;
  int r = pb->lpcallback(e, cbdata, pr.wherefrom, pb->lpcbhandle);
  e->cbprog = saved;
  return r;
}

namespace {

// The which values each wherefrom answers, as a bit set.
unsigned allowed(int wherefrom) {
  auto bits = [](std::initializer_list<int> l) {
    unsigned b = 0;
    for (int w : l) b |= 1u << w;
    return b;
  };
  switch (wherefrom) {
    case 1: return bits({1, 3, 4, 5, 7, 17});
    case 2: return bits({2, 3, 4, 6, 7, 17});
    case 3: return bits({1, 3, 5, 7});
    case 4:
    case 5: return bits({8, 9, 10, 11, 12, 17});
    case 6:
    case 8: return bits({1, 2, 3, 4, 5, 6, 7, 17});
    case 7: return bits({13, 14, 15, 16, 17});
    case 9: return bits({1, 2, 5, 6, 7, 17});
    default: return 0;
  }
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTsetlpcallbackfunc(VLTENVptr e, VLTCALLBACKFUNC callback, void *cbhandle) {
  if (!checkenv(e)) return kNoEnvironment;
  e->params->lpcallback = callback;
  e->params->lpcbhandle = cbhandle;
  return 0;
}

int VLTgetlpcallbackfunc(VLTCENVptr e, VLTCALLBACKFUNC *callback_p, void **cbhandle_p) {
  if (!checkenv(e)) return kNoEnvironment;
  if (callback_p) *callback_p = e->params->lpcallback;
  if (cbhandle_p) *cbhandle_p = e->params->lpcbhandle;
  return 0;
}

int VLTsetmipcallbackfunc(VLTENVptr e, VLTCALLBACKFUNC callback, void *cbhandle) {
  if (!checkenv(e)) return kNoEnvironment;
  e->mipparams->mipcallback = callback;
  e->mipparams->mipcbhandle = cbhandle;
  return 0;
}

int VLTgetmipcallbackfunc(VLTCENVptr e, VLTCALLBACKFUNC *callback_p, void **cbhandle_p) {
  if (!checkenv(e)) return kNoEnvironment;
  if (callback_p) *callback_p = e->mipparams->mipcallback;
  if (cbhandle_p) *cbhandle_p = e->mipparams->mipcbhandle;
  return 0;
}

int VLTsetnetcallbackfunc(VLTENVptr e, VLTCALLBACKFUNC callback, void *cbhandle) {
  if (!checkenv(e)) return kNoEnvironment;
  e->netparams->netcallback = callback;
  e->netparams->netcbhandle = cbhandle;
  return 0;
}

int VLTgetnetcallbackfunc(VLTCENVptr e, VLTCALLBACKFUNC *callback_p, void **cbhandle_p) {
  if (!checkenv(e)) return kNoEnvironment;
  if (callback_p) *callback_p = e->netparams->netcallback;
  if (cbhandle_p) *cbhandle_p = e->netparams->netcbhandle;
  return 0;
}

int VLTgetcallbackinfo(VLTCENVptr ce, void *cbdata, int wherefrom, int which, void *result_p) {
  env *e = const_cast<env *>(ce);
  if (!checkenv(e)) return kNoEnvironment;
  if (result_p == nullptr) return finish(e, kNullPointer);
  if (which < 1 || which > 31 || !(allowed(wherefrom) & (1u << which)))
    return finish(e, kBadArgument);
  const cbprogress *pr = static_cast<const cbprogress *>(e->cbprog);
  if (cbdata == nullptr || pr == nullptr || pr->wherefrom != wherefrom)
    return finish(e, 1006);
  if (which == 17) {
    *static_cast<int *>(result_p) = e->threadnum;
    return 0;
  }
  if (!(pr->have & (1u << which))) return finish(e, 1006);
  switch (which) {
    case 1:
      *static_cast<double *>(result_p) = pr->objfn ? pr->objfn(pr->objctx) : pr->obj;
      break;
    case 2:
      *static_cast<double *>(result_p) =
          wherefrom == 2 && pr->objfn ? pr->objfn(pr->objctx) : pr->dualobj;
      break;
    case 3: *static_cast<double *>(result_p) = pr->pinf; break;
    case 4: *static_cast<double *>(result_p) = pr->dinf; break;
    case 5: *static_cast<int *>(result_p) = pr->pfeas; break;
    case 6: *static_cast<int *>(result_p) = pr->dfeas; break;
    case 7: *static_cast<int *>(result_p) = pr->itcnt; break;
    case 13: case 14: case 15: case 16:
      *static_cast<int *>(result_p) = pr->counts[which - 13];
      break;
    default: return finish(e, 1006);
  }
  return 0;
}

}  // extern "C"
