// File opening with compressed-file pipes, temporary directories and the
// small text helpers of the readers.
#include <fcntl.h>
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

// Open pipes: the stream and the child that serves it.
struct pipeentry {
  FILE *fp;
  pid_t pid;
};
std::mutex pipelock;
pipeentry pipes[64];
int pipecount = 0;
std::atomic<long> spawned{0};

void pipeadd(FILE *fp, pid_t pid) {
  std::lock_guard<std::mutex> g(pipelock);
  if (pipecount < 64) pipes[pipecount++] = {fp, pid};
}

// Removes the entry of fp; returns its child or -1.
pid_t pipetake(FILE *fp) {
  std::lock_guard<std::mutex> g(pipelock);
  for (int i = 0; i < pipecount; ++i) {
    if (pipes[i].fp == fp) {
      pid_t pid = pipes[i].pid;
      pipes[i] = pipes[--pipecount];
      return pid;
    }
  }
  return -1;
}

// Starts `gzip` with the given arguments.  For reading (`out` false) the
// child's standard output is our stream; for writing its standard input is
// our stream and its output goes to the file `target`.  The file name reaches
// the child as a single argument; no shell is involved.
FILE *startpipe(const char *const *argv, bool out, const char *target) {
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) return nullptr;
  posix_spawn_file_actions_t fa;
  posix_spawn_file_actions_init(&fa);
  int ours, theirs;
  if (!out) {
    ours = fds[0];
    theirs = fds[1];
    posix_spawn_file_actions_adddup2(&fa, theirs, STDOUT_FILENO);
  } else {
    ours = fds[1];
    theirs = fds[0];
    posix_spawn_file_actions_adddup2(&fa, theirs, STDIN_FILENO);
    posix_spawn_file_actions_addopen(&fa, STDOUT_FILENO, target, O_WRONLY | O_CREAT | O_TRUNC,
                                     0666);
  }
  pid_t pid = -1;
  int rc = posix_spawnp(&pid, "gzip", &fa, nullptr, const_cast<char *const *>(argv), environ);
  posix_spawn_file_actions_destroy(&fa);
  close(theirs);
  if (rc != 0) {
    close(ours);
    return nullptr;
  }
  spawned.fetch_add(1);
  FILE *fp = fdopen(ours, out ? "wb" : "rb");
  if (fp == nullptr) {
    close(ours);
    int st;
    waitpid(pid, &st, 0);
    return nullptr;
  }
  pipeadd(fp, pid);
  return fp;
}

void printopenfail(env *e, const char *name) {
  if (e != nullptr && checkenv(e)) msg(e->errchannel, errtext(e, 1423), name);
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
      printopenfail(e, name);
      *status = -1423;
      return nullptr;
    }
    std::fclose(probe);
    const char *argv[] = {"gzip", "-cd", "--", name, nullptr};
    FILE *fp = startpipe(argv, false, nullptr);
    if (fp == nullptr) {
      printopenfail(e, name);
      *status = -1423;
    }
    return fp;
  }
  FILE *fp = std::fopen(name, mode);
  if (fp != nullptr) return fp;
  if (quiet || suffix == nullptr || suffix[0] == '\0') {
    printopenfail(e, name);
    *status = -1423;
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
    FILE *probe = std::fopen(name, "wb");
    if (probe == nullptr) return nullptr;
    std::fclose(probe);
    const char *argv[] = {"gzip", "-c", nullptr};
    return startpipe(argv, true, name);
  }
  return std::fopen(name, mode);
}

int fileclose(const char *name, FILE **fp) {
  if (fp == nullptr || *fp == nullptr) return 0;
  FILE *f = *fp;
  *fp = nullptr;
  pid_t pid = (name != nullptr && iscompressed(name)) ? pipetake(f) : -1;
  int rc = std::fclose(f) == 0 ? 0 : 1;
  if (pid > 0) {
    int st = 0;
    while (waitpid(pid, &st, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(st) || WEXITSTATUS(st) != 0) rc = 1;
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
