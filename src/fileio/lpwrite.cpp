// Writer of the LP format.
#include "fileio/rwutil.h"

namespace velto {

int lpwritefile(env *, const char *, const filemodel &) { return 1424; }
void lpnumber(double, char *out) { out[0] = '\0'; }

}  // namespace velto
