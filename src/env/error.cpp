// Error and status tables (placeholder until the full table lands).
#include <cstdio>

#include "env/env.h"

namespace velto {
void builderrhash(env *e) {
  for (int &s : e->errhash) s = -1;
}
}  // namespace velto

extern "C" {
const char *VLTgeterrorstring(VLTCENVptr, int code, char *buffer) {
  if (code < 1 || code > 99999) return nullptr;
  std::snprintf(buffer, 192, "VELTO Error %5d: Unknown error code.\n", code);
  return nullptr;
}
const char *VLTgetstatstring(VLTCENVptr, int, char *buffer) {
  std::snprintf(buffer, 64, "Unknown status value");
  return nullptr;
}
}
