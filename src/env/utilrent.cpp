// Thread counts, the thread team and the clone calls.
#include <atomic>
#include <cstring>
#include <mutex>
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

namespace {

// One member of a team.  The member holds its lock while the work runs, so
// the caller waits for the end of the work by entering the lock.
struct member {
  void (*func)(void *);
  int index;
  void *arg;
  std::thread thread;
  int running;  // the thread was started
  std::atomic<int> started;
  std::mutex lock;
};

void memberrun(member *m) {
  m->lock.lock();
  m->started.store(1, std::memory_order_release);
  m->func(m->arg);
  m->lock.unlock();
}

}  // namespace

void teamrun(env *e, void (*func)(void *), int n, void **args) {
  if (n <= 1) {
    e->teamsize = 1;
    func(args[0]);
    return;
  }
  member *team = nullptr;
  try {
    team = new member[n];
  } catch (const std::bad_alloc &) {
    team = nullptr;
  }
  if (team == nullptr) {
    msg(e->warnchannel, "Failed to allocate threads - ");
    msg(e->warnchannel, "proceeding with one thread.\n");
    e->teamsize = 1;
    func(args[0]);
    return;
  }
  e->teamsize = n;
  for (int i = 1; i < n; ++i) {
    member &m = team[i];
    m.func = func;
    m.index = i;
    m.arg = args[i];
    m.running = 0;
    m.started.store(0);
    try {
      m.thread = std::thread(memberrun, &m);
      m.running = 1;
    } catch (...) {
      e->teamsize -= 1;
    }
  }
  team[0].func = func;
  team[0].index = 0;
  team[0].arg = args[0];
  func(args[0]);
  for (int i = 1; i < n; ++i) {
    member &m = team[i];
    if (!m.running) continue;
    while (m.started.load(std::memory_order_acquire) == 0) std::this_thread::yield();
    m.lock.lock();
    m.lock.unlock();
    m.thread.join();
  }
  delete[] team;
}

int lockinit(env *e, int valid) {
  e->lockvalid = 0;
  e->teamsize = 0;
  if (e->lock == nullptr) {
    e->lock = new (std::nothrow) std::recursive_mutex;
    if (e->lock == nullptr) return kNoMemory;
  }
  e->lockvalid = valid;
  return valid ? 0 : 1020;
}

void lockdone(env *e) { e->lockvalid = 0; }

}  // namespace velto

using namespace velto;

extern "C" {

VLTENVptr VLTparenv(VLTENVptr envp, int *status_p) {
  int dummy;
  int *st = status_p != nullptr ? status_p : &dummy;
  env *e = envp;
  if (!checkenv(e)) {
    *st = kNoEnvironment;
    return nullptr;
  }
  int status = 0;
  env *child = nullptr;
  if (e->parent != nullptr) {
    status = 1019;
  } else if (e->clonecount >= e->threadlimit) {
    status = 1020;
  } else {
    child = VLTopenVELTO(&status);
  }
  if (status == 0) {
    child->threadlimit = e->threadlimit;
    env **grown = static_cast<env **>(alloc(sizeof(env *) * (e->childcount + 1)));
    if (grown == nullptr || resadd(e, kResChild, child) != 0) {
      release(&grown);
      VLTcloseVELTO(&child);
      status = kNoMemory;
    } else {
      for (int i = 0; i < e->childcount; ++i) grown[i] = e->children[i];
      grown[e->childcount] = child;
      release(&e->children);
      e->children = grown;
      e->childcount += 1;
      e->clonecount += 1;
      child->parent = e;
      // The parameter blocks word for word, callbacks included; the log
      // file stays the parent's alone.
      std::memcpy(static_cast<void *>(child->params), e->params, sizeof(parblock));
      std::memcpy(static_cast<void *>(child->mipparams), e->mipparams, sizeof(mipparblock));
      std::memcpy(static_cast<void *>(child->barparams), e->barparams, sizeof(barparblock));
      std::memcpy(static_cast<void *>(child->qpparams), e->qpparams, sizeof(qpparblock));
      std::memcpy(static_cast<void *>(child->netparams), e->netparams, sizeof(netparblock));
      child->params->logfile = nullptr;
    }
  }
  *st = status;
  if (status != 0) {
    report(e, &status);
    return nullptr;
  }
  return child;
}

int VLTfreeparenv(VLTENVptr envp, VLTENVptr *child_p) {
  env *e = envp;
  if (!checkenv(e)) return kNoEnvironment;
  if (child_p == nullptr || *child_p == nullptr) return 0;
  env *child = *child_p;
  int at = -1;
  for (int i = 0; i < e->childcount; ++i)
    if (e->children[i] == child) at = i;
  if (at < 0 || child->parent != e) return finish(e, kBadArgument);
  resremove(e, child);
  for (int i = at + 1; i < e->childcount; ++i) e->children[i - 1] = e->children[i];
  e->childcount -= 1;
  e->clonecount -= 1;
  child->parent = nullptr;
  VLTcloseVELTO(&child);
  *child_p = nullptr;
  return 0;
}

}  // extern "C"
