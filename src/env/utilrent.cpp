// Thread counts for parallel runs.
#include <thread>

#include "env/par.h"
#include "env/thread.h"

namespace velto {

int threadcount(const env *e, int kind) {
  int n;
  switch (kind) {
    case kThreadsNoLimit: n = VLT_BIGINT; break;
    case kThreadsGeneral: n = e->params->threads; break;
    case kThreadsSerial: n = 1; break;
    case kThreadsBarrier:
      n = e->barparams->barthreads != 0 ? e->barparams->barthreads : e->params->threads;
      break;
    case kThreadsMip:
      n = e->mipparams->mipthreads != 0 ? e->mipparams->mipthreads : e->params->threads;
      break;
    default: n = 1; break;
  }
  return n < e->threadlimit ? n : e->threadlimit;
}

int cpucap(int n) {
  const unsigned hw = std::thread::hardware_concurrency();
  const int cpus = hw == 0 ? 1 : (hw > 1024u ? 1024 : static_cast<int>(hw));
  if (n > cpus) n = cpus;
  return n < 1 ? 1 : n;
}

}  // namespace velto
