// Thread counts, the thread team and environment clones.
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

// Runs func(args[i]) for i in [0, n): member 0 on the calling thread, the
// others on threads of their own; returns when all are done.  A member whose
// thread can't be started loses its work; e->teamsize tells the members that
// ran.  A team of one (or less) is a direct call.
void teamrun(env *e, void (*func)(void *), int n, void **args);
inline int teamsize(const env *e) { return e->teamsize; }

// Clears lockvalid and teamsize, then marks the lock valid; a valid of 0
// makes the result 1020.  lockdone clears the mark.
int lockinit(env *e, int valid);
void lockdone(env *e);

}  // namespace velto
