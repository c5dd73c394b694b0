// Thread counts: how many workers a run may use.
#pragma once

#include "env/env.h"

namespace velto {

// Highest number of threads or clones an environment grants.
inline constexpr int kThreadLimit = 16;

// What a thread count is asked for.
enum ThreadKind : int {
  kThreadsNoLimit = 0,  // no limit of its own
  kThreadsGeneral = 1,  // VLT_PARAM_THREADS
  kThreadsSerial = 2,   // always 1
  kThreadsBarrier = 3,  // VLT_PARAM_BARTHREADS, else VLT_PARAM_THREADS
  kThreadsMip = 4,      // VLT_PARAM_MIPTHREADS, else VLT_PARAM_THREADS
};

// Threads the parameters ask for, for a run of `kind`, capped by the
// environment's thread limit.
int threadcount(const env *e, int kind);

// The smaller of n and the processors the platform reports, at least 1.
int cpucap(int n);

}  // namespace velto
