// The driver's --ranges report: the sensitivity ranges of a solved linear
// program as tables with names.
#pragma once

#include <cstdio>

#include "velto.h"

// Prints the cost, right-hand side and bound ranges to fp; returns the
// library's status (0 on success).
int driver_printranges(VLTENVptr env, VLTLPptr lp, FILE *fp);
