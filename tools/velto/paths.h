// Files the driver finds relative to its own executable, so that an installed
// copy finds what was installed beside it.
#ifndef VELTO_TOOLS_PATHS_H
#define VELTO_TOOLS_PATHS_H

#include <string>

namespace velto_cli {

// relpath resolved against the folder of the running executable; empty when
// that folder cannot be found.
std::string beside_executable(const std::string &relpath);

}  // namespace velto_cli

#endif
