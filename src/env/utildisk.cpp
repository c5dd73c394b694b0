// File opening with compressed-file pipes, temporary directories and the
// small text helpers of the readers.
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>

#include "env/files.h"

extern char **environ;

namespace velto {

namespace {

// Open pipes: the stream, the child that serves it, and the direction.
struct pipeentry {
  FILE *fp;
  pid_t pid;
  bool reading;
};
constexpr int kMaxPipes = 64;
std::mutex pipelock;
pipeentry pipes[kMaxPipes];
int pipecount = 0;
std::atomic<long> spawned{0};

// Reserves a slot before a child starts, so that a started child is always
// found again by fileclose.
bool pipereserve() {
  std::lock_guard<std::mutex> g(pipelock);
  if (pipecount >= kMaxPipes) return false;
  pipes[pipecount++] = {nullptr, -1, false};
  return true;
}
void pipeunreserve() {
  std::lock_guard<std::mutex> g(pipelock);
  for (int i = 0; i < pipecount; ++i)
    if (pipes[i].fp == nullptr && pipes[i].pid == -1) {
      pipes[i] = pipes[--pipecount];
      return;
    }
}
void pipefill(FILE *fp, pid_t pid, bool reading) {
  std::lock_guard<std::mutex> g(pipelock);
  for (int i = 0; i < pipecount; ++i)
    if (pipes[i].fp == nullptr && pipes[i].pid == -1) {
      pipes[i] = {fp, pid, reading};
      return;
    }
}

// Removes the entry of fp; returns its child or -1.
pid_t pipetake(FILE *fp, bool *reading) {
  std::lock_guard<std::mutex> g(pipelock);
  for (int i = 0; i < pipecount; ++i) {
    if (pipes[i].fp == fp) {
      pid_t pid = pipes[i].pid;
      *reading = pipes[i].reading;
      pipes[i] = pipes[--pipecount];
      return pid;
    }
  }
  return -1;
}

// Waits for a child, through interruptions; returns its wait status.
int reap(pid_t pid) {
  int st = 0;
  while (waitpid(pid, &st, 0) < 0) {
    if (errno != EINTR) return 0;
  }
  return st;
}

// The stream over our end of a pipe.  Writes hold SIGPIPE blocked and take
// back a SIGPIPE they caused, so that a compressor that died makes a write
// fail with EPIPE instead of killing the application.
int cookiefd(void *cookie) { return static_cast<int>(reinterpret_cast<intptr_t>(cookie)) - 1; }

ssize_t piperead(void *cookie, char *buf, size_t n) {
  for (;;) {
    ssize_t r = read(cookiefd(cookie), buf, n);
    if (r >= 0 || errno != EINTR) return r;
  }
}

ssize_t pipewrite(void *cookie, const char *buf, size_t n) {
  sigset_t pipeset, old, pending;
  sigemptyset(&pipeset);
  sigaddset(&pipeset, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipeset, &old);
  sigemptyset(&pending);
  sigpending(&pending);
  bool waspending = sigismember(&pending, SIGPIPE) == 1;
  size_t done = 0;
  bool broken = false;
  while (done < n) {
    ssize_t r = write(cookiefd(cookie), buf + done, n - done);
    if (r < 0) {
      if (errno == EINTR) continue;
      broken = errno == EPIPE;
      break;
    }
    done += static_cast<size_t>(r);
  }
  if (broken && !waspending) {
    struct timespec zero = {0, 0};
    while (sigtimedwait(&pipeset, nullptr, &zero) < 0 && errno == EINTR) {
    }
  }
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
  return static_cast<ssize_t>(done);
}

int pipeclose(void *cookie) { return close(cookiefd(cookie)); }

// Starts `gzip` with the given arguments.  For reading (`out` false) the
// child's standard output is our stream; for writing its standard input is
// our stream and its output goes to the file `target`, opened here.  The
// child's standard error goes to /dev/null: a failure shows in its exit
// status, which fileclose reports through the library's channels.  The file
// name reaches the child as a single argument; no shell is involved.  On
// failure returns null with errno set (ENOMEM for an allocation), every
// descriptor closed and no child left behind.
FILE *startpipe(const char *const *argv, bool out, const char *target) {
  if (!pipereserve()) {
    errno = EMFILE;
    return nullptr;
  }
  int fds[2] = {-1, -1};
  int targetfd = -1, nullfd = -1;
  auto fail = [&](int err) -> FILE * {
    for (int fd : {fds[0], fds[1], targetfd, nullfd})
      if (fd >= 0) close(fd);
    pipeunreserve();
    errno = err;
    return nullptr;
  };
  if (pipe2(fds, O_CLOEXEC) != 0) return fail(errno);
  nullfd = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nullfd < 0) return fail(errno);
  if (out) {
    targetfd = open(target, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (targetfd < 0) return fail(errno);
  }
  int ours = out ? fds[1] : fds[0];
  int theirs = out ? fds[0] : fds[1];
  posix_spawn_file_actions_t fa;
  posix_spawnattr_t attr;
  if (allocfails()) return fail(ENOMEM);
  int rc = posix_spawn_file_actions_init(&fa);
  if (rc != 0) return fail(rc);
  if (allocfails() || (rc = posix_spawnattr_init(&attr)) != 0) {
    posix_spawn_file_actions_destroy(&fa);
    return fail(rc != 0 ? rc : ENOMEM);
  }
  // The child gets default SIGPIPE handling and no blocked signals, whatever
  // the application set for itself.
  sigset_t none, pipeset;
  sigemptyset(&none);
  sigemptyset(&pipeset);
  sigaddset(&pipeset, SIGPIPE);
  rc = posix_spawnattr_setsigmask(&attr, &none);
  if (rc == 0) rc = posix_spawnattr_setsigdefault(&attr, &pipeset);
  if (rc == 0) rc = posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  if (rc == 0) rc = allocfails() ? ENOMEM : posix_spawn_file_actions_adddup2(&fa, theirs, out ? STDIN_FILENO : STDOUT_FILENO);
  if (rc == 0 && out) rc = allocfails() ? ENOMEM : posix_spawn_file_actions_adddup2(&fa, targetfd, STDOUT_FILENO);
  if (rc == 0) rc = allocfails() ? ENOMEM : posix_spawn_file_actions_adddup2(&fa, nullfd, STDERR_FILENO);
  pid_t pid = -1;
  if (rc == 0)
    rc = posix_spawnp(&pid, "gzip", &fa, &attr, const_cast<char *const *>(argv), environ);
  posix_spawn_file_actions_destroy(&fa);
  posix_spawnattr_destroy(&attr);
  if (rc != 0) return fail(rc);
  spawned.fetch_add(1);
  close(theirs);
  fds[out ? 0 : 1] = -1;
  close(nullfd);
  nullfd = -1;
  if (targetfd >= 0) close(targetfd);
  targetfd = -1;
  cookie_io_functions_t io = {piperead, pipewrite, nullptr, pipeclose};
  FILE *fp = allocfails() ? nullptr
                          : fopencookie(reinterpret_cast<void *>(static_cast<intptr_t>(ours) + 1),
                                        out ? "w" : "r", io);
  if (fp == nullptr) {
    // Closing our end ends the child: end of input for a compressor, a
    // broken pipe for a decompressor.
    close(ours);
    reap(pid);
    pipeunreserve();
    errno = ENOMEM;
    return nullptr;
  }
  pipefill(fp, pid, !out);
  return fp;
}

void printopenfail(env *e, const char *name) {
  if (e != nullptr && checkenv(e)) msg(e->errchannel, errtext(e, 1423), name);
}

// The status of a failed open: out of memory is 1001 (nothing printed),
// anything else the printed 1423.
int openfailure(env *e, const char *name) {
  if (errno == ENOMEM) return kNoMemory;
  printopenfail(e, name);
  return -1423;
}

}  // namespace

long pipestarts() { return spawned.load(); }

bool iscompressed(const char *name) {
  if (name == nullptr) return false;
  size_t n = std::strlen(name);
  if (n >= 3 && cisuffix(".GZ", name)) return true;
  return n >= 2 && std::strcmp(name + n - 2, ".Z") == 0;
}

bool ciprefix(const char *pattern, const char *text) {
  for (; *pattern != '\0'; ++pattern, ++text) {
    char c = *text;
    if (c != *pattern && c != static_cast<char>(std::tolower(static_cast<unsigned char>(*pattern))))
      return false;
  }
  return true;
}

bool cisuffix(const char *pattern, const char *text) {
  size_t p = std::strlen(pattern), t = std::strlen(text);
  return t >= p && ciprefix(pattern, text + (t - p));
}

void zerofill(void *block, size_t n) { std::memset(block, 0, n); }
void blankfill(char *block, size_t n) { std::memset(block, ' ', n); }

int skipspace(const char *text) {
  int i = 0;
  while (text[i] != '\0' && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
  return i;
}

int skipword(const char *text) {
  int i = 0;
  while (text[i] != '\0' && !std::isspace(static_cast<unsigned char>(text[i]))) ++i;
  return i;
}

void sortindex(int n, const double *keys, int *order) {
  for (int gap = n / 2; gap > 0; gap /= 2) {
    for (int i = gap; i < n; ++i) {
      int v = order[i];
      int j = i;
      while (j >= gap && keys[order[j - gap]] > keys[v]) {
        order[j] = order[j - gap];
        j -= gap;
      }
      order[j] = v;
    }
  }
}

FILE *fileopenread(env *e, const char *name, const char *mode, const char *suffix, int quiet,
                   int allowpipe, int *status) {
  int dummy = 0;
  if (status == nullptr) status = &dummy;
  *status = 0;
  if (name == nullptr || name[0] == '\0') {
    *status = 1421;
    return nullptr;
  }
  if (allowpipe && iscompressed(name)) {
    // Test that the file is there before any child starts.
    FILE *probe = std::fopen(name, mode);
    if (probe == nullptr) {
      *status = openfailure(e, name);
      return nullptr;
    }
    std::fclose(probe);
    const char *argv[] = {"gzip", "-cd", "--", name, nullptr};
    FILE *fp = startpipe(argv, false, nullptr);
    if (fp == nullptr) *status = openfailure(e, name);
    return fp;
  }
  FILE *fp = std::fopen(name, mode);
  if (fp != nullptr) return fp;
  if (quiet || suffix == nullptr || suffix[0] == '\0' || errno == ENOMEM) {
    *status = openfailure(e, name);
    return nullptr;
  }
  std::string upper(suffix);
  for (char &c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  if (cisuffix(upper.c_str(), name)) {
    printopenfail(e, name);
    *status = -1423;
    return nullptr;
  }
  char buf[512];
  size_t keep = 511 - std::strlen(suffix);
  if (std::strlen(suffix) > 511) keep = 0;
  std::snprintf(buf, sizeof buf, "%.*s%s", static_cast<int>(keep), name, suffix);
  fp = std::fopen(buf, mode);
  if (fp != nullptr) return fp;
  printopenfail(e, name);
  printopenfail(e, buf);
  *status = -1423;
  return nullptr;
}

FILE *fileopenwrite(const char *name, const char *mode, int allowpipe) {
  if (name == nullptr || name[0] == '\0') return nullptr;
  if (allowpipe && iscompressed(name)) {
    const char *argv[] = {"gzip", "-c", nullptr};
    return startpipe(argv, true, name);
  }
  return std::fopen(name, mode);
}

int fileclose(const char *, FILE **fp) {
  if (fp == nullptr || *fp == nullptr) return 0;
  FILE *f = *fp;
  *fp = nullptr;
  bool reading = false;
  pid_t pid = pipetake(f, &reading);
  int rc = std::fclose(f) == 0 ? 0 : 1;
  if (pid > 0) {
    int st = reap(pid);
    // A decompressor that we stopped listening to dies of a broken pipe;
    // that is no failure of the read.
    bool stopped = reading && WIFSIGNALED(st) && WTERMSIG(st) == SIGPIPE;
    if (!stopped && (!WIFEXITED(st) || WEXITSTATUS(st) != 0)) rc = 1;
  }
  return rc;
}

int tempdir(env *e, const char *base, const char *prefix, char *buffer) {
  std::snprintf(buffer, 512, "%s/%sXXXXXX", base != nullptr && base[0] ? base : ".",
                prefix != nullptr ? prefix : "vlt");
  mode_t old = umask(0);
  char *made = mkdtemp(buffer);
  umask(old);
  if (made == nullptr) {
    if (checkenv(e)) msg(e->errchannel, errtext(e, 1422), buffer);
    return -1422;
  }
  return 0;
}

}  // namespace velto
