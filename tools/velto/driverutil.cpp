#include "driverutil.h"

#include <climits>
#include <unistd.h>

namespace velto_cli {

std::string beside_executable(const std::string &relpath) {
  char buf[PATH_MAX];
  ssize_t len = readlink("/proc/self/exe", buf, sizeof buf - 1);
  if (len <= 0) return "";
  std::string exe(buf, static_cast<size_t>(len));
  size_t slash = exe.rfind('/');
  if (slash == std::string::npos) return "";
  return exe.substr(0, slash + 1) + relpath;
}

std::string errorline(VLTENVptr env, int status) {
  char buf[1024];
  if (VLTgeterrorstring(env, status, buf) == nullptr) return "library error " + std::to_string(status);
  std::string s = buf;
  while (!s.empty() && (s.back() == '\n' || s.back() == '.')) s.pop_back();
  return s;
}

}  // namespace velto_cli
