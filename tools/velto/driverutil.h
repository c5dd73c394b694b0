// Small helpers shared by the driver's two modes.
#ifndef VELTO_TOOLS_DRIVERUTIL_H
#define VELTO_TOOLS_DRIVERUTIL_H

#include <string>
#include <vector>

#include <cstdio>

#include "velto.h"

namespace velto_cli {

// relpath resolved against the folder of the running executable (so that an
// installed copy finds what was installed beside it); empty when that folder
// cannot be found.
std::string beside_executable(const std::string &relpath);

// The library's error line for a status, without its closing period and
// newline.
std::string errorline(VLTENVptr env, int status);

// Runs a size query, whose "insufficient array length" answer is expected,
// with the error channel's standard error destination taken off.
template <class Query>
void sizequery(VLTENVptr env, Query query) {
  VLTCHANNELptr err = nullptr;
  VLTgetchannels(env, nullptr, nullptr, &err, nullptr);
  bool had = err != nullptr && VLTdelfpdest(env, err, stderr) == 0;
  query();
  if (had) VLTaddfpdest(env, err, stderr);
}

// The names of all columns (cols true) or rows of a model; a name the model
// lacks is C<index> or R<index>.
std::vector<std::string> model_names(VLTENVptr env, VLTLPptr lp, bool cols);

}  // namespace velto_cli

#endif
