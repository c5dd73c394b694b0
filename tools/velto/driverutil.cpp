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

std::vector<std::string> model_names(VLTENVptr env, VLTLPptr lp, bool cols) {
  int count = cols ? VLTgetnumcols(env, lp) : VLTgetnumrows(env, lp);
  std::vector<std::string> out(count > 0 ? count : 0);
  if (count > 0) {
    auto get = cols ? VLTgetcolname : VLTgetrowname;
    int surplus = 0;
    sizequery(env, [&] { get(env, lp, nullptr, nullptr, 0, &surplus, 0, count - 1); });
    if (surplus < 0) {
      std::vector<char> store(static_cast<size_t>(-surplus));
      std::vector<char *> ptr(count);
      if (get(env, lp, ptr.data(), store.data(), -surplus, &surplus, 0, count - 1) == 0)
        for (int k = 0; k < count; ++k) out[k] = ptr[k];
    }
  }
  for (int k = 0; k < count; ++k)
    if (out[k].empty()) out[k] = std::string(cols ? "C" : "R").append(std::to_string(k));
  return out;
}

}  // namespace velto_cli
