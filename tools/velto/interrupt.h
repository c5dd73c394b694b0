// Ctrl-C for the driver: the first interrupt asks the optimizer to stop
// through the progress callback, so the run ends with the aborted status and
// its best point; a second one ends the process at once.
#pragma once

#include "velto.h"

// Installs the signal handler and the LP callback on env.
void interrupt_install(VLTENVptr env);
// True when an interrupt arrived.
bool interrupt_seen();
