// Small helpers shared by the driver's two modes.
#ifndef VELTO_TOOLS_DRIVERUTIL_H
#define VELTO_TOOLS_DRIVERUTIL_H

#include <string>

#include "velto.h"

namespace velto_cli {

// relpath resolved against the folder of the running executable (so that an
// installed copy finds what was installed beside it); empty when that folder
// cannot be found.
std::string beside_executable(const std::string &relpath);

// The library's error line for a status, without its closing period and
// newline.
std::string errorline(VLTENVptr env, int status);

}  // namespace velto_cli

#endif
