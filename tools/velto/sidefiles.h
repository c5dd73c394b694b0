// The driver's side files: basis files in and out, and the solution report
// in the library's own forms.
#pragma once

#include <string>

#include "velto.h"

// Each returns the library's status (0 on success).
int driver_readbasis(VLTENVptr env, VLTLPptr lp, const std::string &file);
int driver_writebasis(VLTENVptr env, VLTLPptr lp, const std::string &file);
// True when the name asks for one of the library's solution forms: ".txt"
// (the text report) or ".bin" (its binary form).
bool driver_ownsolution(const std::string &file);
int driver_writesolution(VLTENVptr env, VLTLPptr lp, const std::string &file);
