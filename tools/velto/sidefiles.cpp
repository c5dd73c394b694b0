// The driver's side files, through the library's own file calls.
#include "sidefiles.h"

namespace {

bool endswith(const std::string &s, const char *suffix) {
  const std::string t(suffix);
  if (s.size() < t.size()) return false;
  for (size_t k = 0; k < t.size(); ++k)
    if (std::tolower(static_cast<unsigned char>(s[s.size() - t.size() + k])) != t[k]) return false;
  return true;
}

}  // namespace

int driver_readbasis(VLTENVptr env, VLTLPptr lp, const std::string &file) {
  return VLTreadcopybase(env, lp, file.c_str());
}

int driver_writebasis(VLTENVptr env, VLTLPptr lp, const std::string &file) {
  return VLTmbasewrite(env, lp, file.c_str());
}

bool driver_ownsolution(const std::string &file) {
  return endswith(file, ".txt") || endswith(file, ".bin");
}

int driver_writesolution(VLTENVptr env, VLTLPptr lp, const std::string &file) {
  return VLTwritesol(env, lp, file.c_str(), endswith(file, ".bin") ? "BIN" : "TXT");
}
