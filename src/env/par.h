// Parameter blocks and the parameter directory.
//
// Every parameter is a plain field of one of the five blocks of the
// environment; the library reads a parameter as a field
// (`e->params->epopt`, `e->mipparams->nodelim`).  The fields are generated
// from param.def: a named parameter's field is its name in lower case without
// the VLT_PARAM_ prefix, an unnamed one's is `p` and its number (`p1017`).
#pragma once

#include <cstdio>

#include "env/env.h"

namespace velto {

// Size of a string parameter's field, closing zero included.
inline constexpr int kStrParamSize = VLT_STR_PARAM_MAX;

// A callback register: the application's function and its handle.
using cbfunc = VLTCALLBACKFUNC;

#define VLTPAR_DECL_INT(field) int field;
#define VLTPAR_DECL_DBL(field) double field;
#define VLTPAR_DECL_STR(field) char field[VLT_STR_PARAM_MAX];
// Selects the rows of one block: VLTPAR_IN_<block> is defined to expand the
// declaration, every other block's to nothing.
#define VLTPAR_SELECT(blk, kind, field) VLTPAR_IN_##blk(VLTPAR_DECL_##kind(field))
#define VLTPAR(num, kind, def, lo, hi, hidden, blk, field) VLTPAR_SELECT(blk, kind, field)
#define VLTPAR_NONE(decl)
#define VLTPAR_KEEP(decl) decl

// General and simplex parameters, with the log file, the abort word and the
// LP callback register.
struct parblock {
  FILE *logfile;
  volatile int *abortword;
  cbfunc lpcallback;
  void *lpcbhandle;
#define VLTPAR_IN_params VLTPAR_KEEP
#define VLTPAR_IN_mipparams VLTPAR_NONE
#define VLTPAR_IN_barparams VLTPAR_NONE
#define VLTPAR_IN_qpparams VLTPAR_NONE
#define VLTPAR_IN_netparams VLTPAR_NONE
#include "env/param.def"
#undef VLTPAR_IN_params
#undef VLTPAR_IN_mipparams
};

// Mixed-integer parameters and the MIP callback register.
struct mipparblock {
  cbfunc mipcallback;
  void *mipcbhandle;
#define VLTPAR_IN_params VLTPAR_NONE
#define VLTPAR_IN_mipparams VLTPAR_KEEP
#include "env/param.def"
#undef VLTPAR_IN_mipparams
#undef VLTPAR_IN_barparams
};

// Barrier parameters.
struct barparblock {
#define VLTPAR_IN_mipparams VLTPAR_NONE
#define VLTPAR_IN_barparams VLTPAR_KEEP
#include "env/param.def"
#undef VLTPAR_IN_barparams
#undef VLTPAR_IN_qpparams
};

// Quadratic parameters.
struct qpparblock {
#define VLTPAR_IN_barparams VLTPAR_NONE
#define VLTPAR_IN_qpparams VLTPAR_KEEP
#include "env/param.def"
#undef VLTPAR_IN_qpparams
#undef VLTPAR_IN_netparams
};

// Network parameters and the network callback register.
struct netparblock {
  cbfunc netcallback;
  void *netcbhandle;
#define VLTPAR_IN_qpparams VLTPAR_NONE
#define VLTPAR_IN_netparams VLTPAR_KEEP
#include "env/param.def"
};

#undef VLTPAR_IN_params
#undef VLTPAR_IN_mipparams
#undef VLTPAR_IN_barparams
#undef VLTPAR_IN_qpparams
#undef VLTPAR_IN_netparams
#undef VLTPAR
#undef VLTPAR_SELECT
#undef VLTPAR_NONE
#undef VLTPAR_KEEP
#undef VLTPAR_DECL_INT
#undef VLTPAR_DECL_DBL
#undef VLTPAR_DECL_STR

// ---- the directory ------------------------------------------------------------

enum ParKind : int { kParUnused = 0, kParInt = 1, kParDbl = 2, kParStr = 3 };

// One parameter number.  `value` points at the field in its block.
struct paramdesc {
  int kind;
  const char *name;  // "" for an unnamed parameter
  int number;
  int intdefault, intmin, intmax;
  double dbldefault, dblmin, dblmax;
  const char *strdefault;
  int hidden;
  void *value;
};

// A number range and its descriptors, one per number from first to last.
struct paramgroup {
  int first;
  int last;
  paramdesc *desc;
};

inline constexpr int kParamGroups = 5;
inline constexpr int kParamHashBuckets = 1023;

struct paramdir {
  int groupcount;
  paramgroup group[kParamGroups];
  // Name hash: chains of indices into `named`, linked through `hashnext`.
  int *bucket;          // kParamHashBuckets heads, -1 for empty
  int *hashnext;        // per named descriptor
  paramdesc **named;    // the descriptors entered in the hash
  int namedcount;
};

// Descriptor of a parameter number, or null if it lies in no group or is
// unused.
paramdesc *paramfind(const env *e, int number);
// Descriptor of a named parameter, or null; names match exactly.
paramdesc *paramfindname(const env *e, const char *name);
// Bucket of a name in the name hash: the XOR of each character shifted left
// by 8 times (position mod 4) bits, modulo the bucket count.
unsigned paramhash(const char *name, unsigned buckets);
// Gives every registered parameter its default value; nothing else changes.
void paramdefaults(env *e);

}  // namespace velto
