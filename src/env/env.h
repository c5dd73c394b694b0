// Environment record and the call frame shared by every exported function.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <type_traits>
#include <cstdio>
#include <cstddef>
#include <atomic>
#include <mutex>
#include <new>

#include "velto.h"

namespace velto {

struct parblock;     // general and simplex parameters (par.h)
struct mipparblock;  // mixed-integer parameters
struct barparblock;  // barrier parameters
struct qpparblock;   // quadratic parameters
struct netparblock;  // network parameters
struct paramdir;     // parameter directory (par.h)

// Status codes used by the frame itself.  The full table lives in error.def.
enum : int {
  kOk = 0,
  kNoMemory = 1001,
  kNoEnvironment = 1002,
  kBadArgument = 1003,
  kNullPointer = 1004,
  kNoProblem = 1009,
  kBadParamNum = 1013,
  kParamTooSmall = 1014,
  kParamTooBig = 1015,
  kCloseChild = 1021,
  kParamName = 1028,
  kNoChannel = 1051,
  kNoFile = 1052,
  kNoFunction = 1053,
  kIndexRange = 1200,
};

// Resource list kinds.
enum ResKind : int { kResProblem = 1, kResChannel = 2, kResChild = 3, kResNetwork = 4 };

struct resnode {
  int kind;
  void *obj;
  resnode *next;
};

}  // namespace velto

// Destination of a channel: kind 1 a stream, kind 3 a function.
struct velto_dest {
  velto_channel *channel;
  int kind;
  velto_dest *next;
  FILE *fp;
  int reserved;
  void *handle;
  VLTMSGFUNC func;
};

// A channel is one word: the head of its destination list.
struct velto_channel {
  velto_dest *head;
};

struct velto_env {
  velto_env *self;
  uint32_t tag;  // kEnvTag while alive; tells an environment from a problem
  int childcount;
  velto_env **children;
  velto::paramdir *paramdir;
  velto::parblock *params;
  velto::mipparblock *mipparams;
  velto::barparblock *barparams;
  velto::qpparblock *qpparams;
  velto::netparblock *netparams;
  velto_channel *errchannel;
  velto_channel *warnchannel;
  velto_channel *reschannel;
  velto_channel *logchannel;
  velto_env *parent;
  int clonecount;
  int threadnum;
  uint32_t seed;
  char coldefname[17];
  char rowdefname[19];
  char msgbuf[1024];
  int32_t errhash[479];
  int threadlimit;
  velto::resnode *restrack;
  uint32_t trackon;
  const char *version;
  // Optional providers of default names (name tables).
  void *colnamefn;
  void *rownamefn;
  void *namehandle;
  std::recursive_mutex *lock;
  int lockvalid;
  int teamsize;
  // Progress of the optimizer whose callback is running (callback.h); null
  // outside a callback.
  void *cbprog;
};

namespace velto {

using env = velto_env;

// ---- validity tests -------------------------------------------------------
// Environment and problem records both keep their own address first and a
// type tag second, so a handle of the wrong kind fails the test instead of
// being read as the other record.
constexpr uint32_t kEnvTag = 0x564C5445u;  // "VLTE"
constexpr uint32_t kLpTag = 0x564C5450u;   // "VLTP"
inline bool checkenv(const env *e) {
  return e != nullptr && e->self == e && e->tag == kEnvTag && e->params != nullptr;
}

// ---- status reporting ------------------------------------------------------
// Prints the line for a positive status on the error channel; a negative
// status means the message was printed already and is only made positive.
void report(env *e, int *status);
// Composes the text of error `code` into e->msgbuf and returns it.
const char *errtext(env *e, int code);
// Tests a begin/end pair against [lo, hi); prints 1205/1206 lines on failure.
bool rangecheck(env *e, const char *caller, int begin, int end, int lo, int hi);
// Runs f, turning an allocation failure into status 1001, so that no
// exception crosses the exported boundary.
template <class F>
inline int guarded(F &&f) {
  try {
    return f();
  } catch (const std::bad_alloc &) {
    return kNoMemory;
  }
}
// The last step of an exported call: report a non-zero status and return it.
inline int finish(env *e, int status) {
  if (status) report(e, &status);
  return status;
}

// ---- memory ---------------------------------------------------------------
// 16-byte aligned blocks; the distance to the raw block is kept in the byte
// before the aligned address.
void *alloc(size_t size);
// Allocation-failure injection for the out-of-memory tests (never exported).
// After setallocfail(k, sticky) with k > 0, the k-th allocation from then on
// fails (and with `sticky` every one after it); k <= 0 switches this off.
// alloc and resize ask allocfails() first; so do the few places that obtain
// memory from the C library indirectly (pipe start-up), and a test may route
// its own operator new through it.  allocseen() counts the allocations
// asked about since the last setallocfail.
void setallocfail(long k, bool sticky);
bool allocfails();
long allocseen();
void *alloczero(size_t count, size_t size);
void *resize(void *block, size_t size);
void release_raw(void *block);
template <class T>
inline void release(T **var) {
  if (*var != nullptr) {
    void *b = static_cast<void *>(const_cast<std::remove_const_t<T> *>(*var));
    *var = nullptr;
    release_raw(b);
  }
}
template <class T>
inline T *allocn(size_t n) {
  return static_cast<T *>(alloc(n == 0 ? sizeof(T) : n * sizeof(T)));
}
template <class T>
inline T *allocnzero(size_t n) {
  return static_cast<T *>(alloczero(n == 0 ? 1 : n, sizeof(T)));
}

// ---- resource list -----------------------------------------------------------
int resadd(env *e, int kind, void *obj);   // 0 or 1001
void resremove(env *e, void *obj);         // no-op if absent

// ---- random generator ---------------------------------------------------------
int randint(uint32_t *seed);               // 0..32767
inline int randint(env *e) { return randint(&e->seed); }
inline double randdbl(uint32_t *seed) { return randint(seed) * (1.0 / 32768.0); }
inline double randdbl(env *e) { return randdbl(&e->seed); }

// ---- channels (message.cpp) ---------------------------------------------------
int msg(velto_channel *ch, const char *fmt, ...) __attribute__((format(printf, 2, 3)));
int vmsg(velto_channel *ch, const char *fmt, va_list ap);
// Adds or removes the standard-output destination on results, warning, error.
void screenswitch(env *e, int on);
// Disconnects and frees a channel that is not on the resource list.
void chanfree(velto_channel **ch);

// ---- environment lock ---------------------------------------------------------
void envlock(env *e);
void envunlock(env *e);

// ---- error table (error.cpp) ------------------------------------------------------
void builderrhash(env *e);

// ---- parameters (par.cpp) --------------------------------------------------------
// Allocates the parameter blocks and the directory, registers every parameter
// and sets defaults.  Returns 0 or 1001.
int paraminit(env *e);
void paramfree(env *e);
int getscrind(const env *e);
FILE *getlogfile(const env *e);
void setlogfileptr(env *e, FILE *fp);
int getpredisp(const env *e);

}  // namespace velto

