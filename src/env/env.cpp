// Environment record, call frame helpers, aligned memory and the random
// generator.
#include "env/env.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

namespace velto {

namespace {
constexpr const char *kVersion = "8.1.0";
}

// ---- memory -------------------------------------------------------------------

namespace {
std::atomic<long> failat{0};
std::atomic<long> seen{0};
std::atomic<bool> failsticky{false};
}  // namespace

void setallocfail(long k, bool sticky) {
  failat.store(0);
  seen.store(0);
  failsticky.store(sticky);
  failat.store(k);
}

bool allocfails() {
  long at = failat.load(std::memory_order_relaxed);
  if (at <= 0) return false;
  long n = seen.fetch_add(1, std::memory_order_relaxed) + 1;
  return failsticky.load(std::memory_order_relaxed) ? n >= at : n == at;
}

long allocseen() { return seen.load(); }

void *alloc(size_t size) {
  if (allocfails()) return nullptr;
  if (size == 0) size = 1;
  if (size > SIZE_MAX - 16) return nullptr;
  unsigned char *raw = static_cast<unsigned char *>(std::malloc(size + 16));
  if (raw == nullptr) return nullptr;
  uintptr_t a = (reinterpret_cast<uintptr_t>(raw) & ~uintptr_t(15)) + 16;
  unsigned char *aligned = reinterpret_cast<unsigned char *>(a);
  aligned[-1] = static_cast<unsigned char>(aligned - raw);
  return aligned;
}

void *alloczero(size_t count, size_t size) {
  if (count != 0 && size > SIZE_MAX / count) return nullptr;
  size_t total = count * size;
  if (total == 0) total = 1;
  void *p = alloc(total);
  if (p != nullptr) std::memset(p, 0, total);
  return p;
}

void release_raw(void *block) {
  if (block == nullptr) return;
  unsigned char *aligned = static_cast<unsigned char *>(block);
  std::free(aligned - aligned[-1]);
}

void *resize(void *block, size_t size) {
  if (block == nullptr) return nullptr;
  if (allocfails()) return nullptr;
  if (size == 0) size = 1;
  if (size > SIZE_MAX - 16) return nullptr;
  unsigned char *aligned = static_cast<unsigned char *>(block);
  unsigned dist = aligned[-1];
  unsigned char *raw = aligned - dist;
  unsigned char *nraw = static_cast<unsigned char *>(std::realloc(raw, size + 16));
  if (nraw == nullptr) return nullptr;
  uintptr_t a = (reinterpret_cast<uintptr_t>(nraw) & ~uintptr_t(15)) + 16;
  unsigned char *naligned = reinterpret_cast<unsigned char *>(a);
  unsigned ndist = static_cast<unsigned>(naligned - nraw);
  if (ndist != dist) std::memmove(naligned, nraw + dist, size);
  naligned[-1] = static_cast<unsigned char>(ndist);
  return naligned;
}

// ---- random generator ------------------------------------------------------------

int randint(uint32_t *seed) {
  *seed = *seed * 1103515245u + 12345u;
  return static_cast<int>((*seed >> 16) & 0x7FFF);
}

// ---- resource list -------------------------------------------------------------------

int resadd(env *e, int kind, void *obj) {
  if (!e->trackon) return 0;
  resnode *n = static_cast<resnode *>(alloc(sizeof(resnode)));
  if (n == nullptr) return kNoMemory;
  n->kind = kind;
  n->obj = obj;
  n->next = nullptr;
  resnode **tail = &e->restrack;
  while (*tail != nullptr) tail = &(*tail)->next;
  *tail = n;
  return 0;
}

void resremove(env *e, void *obj) {
  for (resnode **p = &e->restrack; *p != nullptr; p = &(*p)->next) {
    if ((*p)->obj == obj) {
      resnode *dead = *p;
      *p = dead->next;
      release(&dead);
      return;
    }
  }
}

// ---- frame -----------------------------------------------------------------------------

void report(env *e, int *status) {
  int s = *status;
  if (s < 0) {
    *status = -s;
    return;
  }
  if (s == 0) return;
  if (!checkenv(e)) return;
  if ((s == 1101 || s == 1117 || s == 1118) && getpredisp(e) == 0) return;
  char buf[1024];
  if (VLTgeterrorstring(e, s, buf) != nullptr)
    msg(e->errchannel, "%s", buf);
  else
    msg(e->errchannel, "VELTO Error %5d:  Unknown error code.\n", s);
}

const char *errtext(env *e, int code) {
  if (VLTgeterrorstring(e, code, e->msgbuf) == nullptr)
    std::snprintf(e->msgbuf, sizeof e->msgbuf, "Unknown error code %d.\n", code);
  return e->msgbuf;
}

bool rangecheck(env *e, const char *caller, int begin, int end, int lo, int hi) {
  bool ok = true;
  if (begin < lo) {
    msg(e->errchannel, errtext(e, 1205), caller, begin, lo);
    ok = false;
  }
  if (end > hi - 1) {
    msg(e->errchannel, errtext(e, 1206), caller, end, hi - 1);
    ok = false;
  }
  return ok;
}

// ---- environment lock ------------------------------------------------------------------------

void envlock(env *e) {
  if (e->lockvalid && e->lock != nullptr) e->lock->lock();
}
void envunlock(env *e) {
  if (e->lockvalid && e->lock != nullptr) e->lock->unlock();
}

namespace {

// Frees everything an environment holds.  Used by close and by a failed open,
// so it tolerates a partly built record.
void teardown(env *e) {
  // Child environments first.
  if (e->childcount > 0 && e->children != nullptr) {
    for (int i = 0; i < e->childcount; ++i) {
      env *c = e->children[i];
      if (c == nullptr) continue;
      FILE *lf = c->params != nullptr ? getlogfile(c) : nullptr;
      if (lf != nullptr) {
        std::fflush(lf);
        std::fclose(lf);
        setlogfileptr(c, nullptr);
      }
      c->parent = nullptr;
      teardown(c);
    }
    e->childcount = 0;
  }
  // The list outlives its last child when children are freed one by one.
  release(&e->children);
  // Whatever the application left open.  Each free removes its node, so the
  // walk restarts at the head.
  while (e->restrack != nullptr) {
    resnode *n = e->restrack;
    switch (n->kind) {
      case kResProblem: {
        VLTLPptr lp = static_cast<VLTLPptr>(n->obj);
        if (VLTfreeprob(e, &lp) != 0) resremove(e, n->obj);
        break;
      }
      case kResChannel: {
        VLTCHANNELptr ch = static_cast<VLTCHANNELptr>(n->obj);
        VLTdelchannel(e, &ch);
        break;
      }
      default:
        resremove(e, n->obj);
        break;
    }
    if (e->restrack == n) resremove(e, n->obj);  // never loop on a stuck node
  }
  e->trackon = 0;
  chanfree(&e->errchannel);
  chanfree(&e->warnchannel);
  chanfree(&e->reschannel);
  chanfree(&e->logchannel);
  paramfree(e);
  if (e->lock != nullptr) {
    delete e->lock;
    e->lock = nullptr;
  }
  e->self = nullptr;
  e->tag = 0;
  release(&e);
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

VLTENVptr VLTopenVELTO(int *status_p) {
  if (status_p == nullptr) return nullptr;
  env *e = static_cast<env *>(alloczero(1, sizeof(env)));
  if (e == nullptr) {
    *status_p = kNoMemory;
    return nullptr;
  }
  e->self = e;
  e->tag = kEnvTag;
  e->seed = 1;
  e->version = kVersion;
  int status = paraminit(e);
  // The channels are created by hand here: VLTaddchannel would enter them in
  // the resource list, which is for the application's own channels.
  if (status == 0) {
    velto_channel **chs[4] = {&e->errchannel, &e->warnchannel, &e->reschannel, &e->logchannel};
    for (auto *c : chs) {
      *c = static_cast<velto_channel *>(alloczero(1, sizeof(velto_channel)));
      if (*c == nullptr) status = kNoMemory;
    }
  }
  if (status == 0) {
    e->lock = new (std::nothrow) std::recursive_mutex;
    if (e->lock == nullptr) status = kNoMemory;
    e->lockvalid = e->lock != nullptr;
  }
  if (status != 0) {
    // Make the half-built record pass checkenv so teardown can free it.
    teardown(e);
    *status_p = status;
    return nullptr;
  }
  e->threadlimit = 16;
  e->trackon = 1;
  builderrhash(e);
  *status_p = 0;
  return e;
}

int VLTcloseVELTO(VLTENVptr *env_p) {
  if (env_p == nullptr) return kNullPointer;
  env *e = *env_p;
  if (!checkenv(e)) return kNoEnvironment;
  if (e->parent != nullptr) {
    int status = kCloseChild;
    report(e, &status);
    return status;
  }
  teardown(e);
  *env_p = nullptr;
  return 0;
}

const char *VLTversion(VLTCENVptr env) {
  if (!checkenv(env)) return nullptr;
  return env->version;
}

int VLTEgetThreadNumber(VLTCENVptr env) { return env->threadnum; }

double VLTEgetbigreal(VLTCENVptr) { return 1e75; }

void *VLTmalloc(size_t size) { return alloc(size == 0 ? 1 : size); }

void *VLTrealloc(void *block, size_t size) {
  if (block == nullptr) return nullptr;
  return resize(block, size == 0 ? 1 : size);
}

void VLTfree(void *block) { release_raw(block); }

void *VLTmemcpy(void *dest, const void *src, size_t n) {
  unsigned char *d = static_cast<unsigned char *>(dest);
  const unsigned char *s = static_cast<const unsigned char *>(src);
  for (size_t i = 0; i < n; ++i) d[i] = s[i];
  return dest;
}

size_t VLTstrlen(const char *s) {
  size_t n = 0;
  while (s[n] != '\0') ++n;
  return n;
}

char *VLTstrcpy(char *dest, const char *src) {
  size_t i = 0;
  do {
    dest[i] = src[i];
  } while (src[i++] != '\0');
  return dest;
}

FILE *VLTfopen(const char *name, const char *mode) { return std::fopen(name, mode); }
int VLTfclose(FILE *fp) { return std::fclose(fp); }
int VLTfputs(const char *s, FILE *fp) { return std::fputs(s, fp); }
int VLTputenv(char *envsetting) { return putenv(envsetting); }

void VLTEgeneric_lock(volatile int *word) {
  auto *w = reinterpret_cast<volatile std::atomic<int> *>(word);
  int expected = 0;
  while (!w->compare_exchange_weak(expected, 1, std::memory_order_acquire)) {
    expected = 0;
  }
}

void VLTEgeneric_unlock(volatile int *word) {
  auto *w = reinterpret_cast<volatile std::atomic<int> *>(word);
  w->store(0, std::memory_order_release);
}

}  // extern "C"
