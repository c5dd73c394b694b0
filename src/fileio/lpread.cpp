// Reader of the LP format (algebraic form).
#include "env/files.h"
#include "fileio/rwutil.h"

namespace velto {

int lpreadfile(env *e, const char *name, filemodel &) {
  int status = 0;
  FILE *fp = fileopenread(e, name, "r", ".lp", 0, 1, &status);
  if (fp == nullptr) return status;
  fileclose(name, &fp);
  return 1424;
}

}  // namespace velto
