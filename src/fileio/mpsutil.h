// Bound types of the MPS format, the end-of-set passes over the bounds, and
// the number formatter of the MPS writer.
#pragma once

#include <vector>

#include "fileio/rwutil.h"

namespace velto {

enum class mpsboundkind { kUP, kUI, kLO, kLI, kFX, kFR, kMI, kPL, kBV, kSC, kUnknown };

// Kind of an upper-case two-letter type.
mpsboundkind mpsboundtype(const char *type);
// True for the types that take a value.
bool mpsboundvalued(mpsboundkind k);
// Applies one bound line to column j; `flags` records lower (1) and upper (2)
// bounds of the set.  Returns 0 or a printed, negated status.
int mpsapplybound(env *e, int lineno, mpsboundkind k, int j, double v, filemodel &m,
                  std::vector<char> &flags);

// Counts of the capped warnings of the bound passes.
struct mpsboundwarn {
  int freecol = 0, minusinf = 0, fixed = 0, semi = 0;
  void finish(env *e) const;
};
// The sign, semi-continuous and integer passes at the end of a bound set.
void mpsendbounds(env *e, filemodel &m, const std::vector<char> &flags, const char *set,
                  mpsboundwarn &w);

}  // namespace velto
