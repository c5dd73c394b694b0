// What a test can see of the process's own resources: open descriptors and
// children, to show that failures leave nothing behind.
#pragma once

#include <dirent.h>
#include <sys/wait.h>

#include <cerrno>

namespace velto_test {

// Number of open descriptors (from /proc/self/fd), or -1.
inline int opendescriptors() {
  int n = 0;
  DIR *d = opendir("/proc/self/fd");
  if (d == nullptr) return -1;
  while (dirent *de = readdir(d)) n += de->d_name[0] != '.';
  closedir(d);
  return n - 1;  // the directory's own descriptor
}

// True when the process has no child at all, running or unreaped.
inline bool nochildren() {
  int st;
  return waitpid(-1, &st, WNOHANG) == -1 && errno == ECHILD;
}

}  // namespace velto_test
