// Error and solution status tables.
#pragma once

#include "env/env.h"

namespace velto {

// Solution status values (VLTgetstat), one constant per row of status.def:
// kStatOptimal = 1, kStatMipOptimal = 101, ...  0 means no solution.
enum SolStat : int {
  kStatNone = 0,
#define VLTSTAT(value, name, text) kStat##name = value,
#include "env/status.def"
#undef VLTSTAT
};

// Slots of the error hash of an environment.
inline constexpr int kErrHashSize = 479;
// Room that VLTgeterrorstring needs in its buffer.
inline constexpr int kErrStringSize = 192;

// Text of error `code` as the table stores it (a format, without prefix and
// end), or null when the table has no row for it.  With a valid `e` the
// environment's hash is used, otherwise a linear walk.
const char *errtabletext(const env *e, int code);
// Number of rows of the error table, and the code of row i.
int errtablesize();
int errtablecode(int i);
// Text of solution status `value`, or null.
const char *stattext(int value);

}  // namespace velto
