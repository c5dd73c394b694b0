// Files, compressed-file pipes, the clock, temporary directories and small
// text helpers shared by every reader and writer.
#pragma once

#include <cstddef>
#include <cstdio>

#include "env/env.h"

namespace velto {

// Opens `name` for reading.  A compressed name (see iscompressed) is read
// through `gzip -cd` when `allowpipe` is set.  Unless `quiet` is set, a failed
// open is retried once with `suffix` appended.  On failure returns null and
// sets *status to 1421 (no name), 1001, or -1423 after printing the message.
FILE *fileopenread(env *e, const char *name, const char *mode, const char *suffix, int quiet,
                   int allowpipe, int *status);
// Opens `name` for writing; a compressed name goes through `gzip -c` when
// `allowpipe` is set.  Null on failure, with errno ENOMEM when memory ran
// out (the caller reports 1001) and otherwise the caller reports 1422.
FILE *fileopenwrite(const char *name, const char *mode, int allowpipe);
// Closes a handle of fileopenread/fileopenwrite and clears the variable.
// Returns 0, or non-zero if the stream or the compressing child failed.
int fileclose(const char *name, FILE **fp);
// Closes a stream of fileopenread/fileopenwrite (reaping a compressor child)
// when a scope is left without fileclose, as by an allocation failure.
struct fileguard {
  const char *name;
  FILE **fp;
  ~fileguard() {
    if (*fp != nullptr) fileclose(name, fp);
  }
};

bool iscompressed(const char *name);
// True if `text` begins with the upper-case `pattern`, letters in either case.
bool ciprefix(const char *pattern, const char *text);
// True if `text` ends with the upper-case `pattern`, letters in either case.
bool cisuffix(const char *pattern, const char *text);
void zerofill(void *block, size_t n);
void blankfill(char *block, size_t n);
int skipspace(const char *text);
int skipword(const char *text);
// Sorts `order` so that keys[order[k]] rises (Shell's method, gaps n/2, n/4, ...).
void sortindex(int n, const double *keys, int *order);

// Seconds since the first reading of the clock in this process.
double now(env *e);

// Makes a fresh directory "<base>/<prefix>XXXXXX" and stores its path in
// `buffer` (at least 512 bytes).  Returns 0 or -1422 after printing.
int tempdir(env *e, const char *base, const char *prefix, char *buffer);

// Number of compressor child processes started so far in this process.
long pipestarts();

}  // namespace velto
