// Parameter blocks and the parameter directory.
#pragma once

#include <cstdio>

#include "env/env.h"

namespace velto {

// General and simplex parameters.  One field per parameter; the library
// reads a parameter as a plain field.
struct parblock {
  FILE *logfile;
  volatile int *abortword;
  int scrind;     // 1035
  int paramdisp;  // 1075
  int predisp;    // presolve display
};

struct mipparblock { int unused; };
struct barparblock { int unused; };
struct qpparblock { int unused; };
struct netparblock { int unused; };
struct paramdir { int groupcount; };

}  // namespace velto
