// The CBC-style command mode of the velto driver and the helpers it shares
// between its files.  Modelling tools that drive a command-line solver by
// keywords (PuLP's COIN_CMD among them) run velto this way, either through
// the installed `velto-cbc` link or as `velto --cbc ...`.
#ifndef VELTO_TOOLS_CBCMODE_H
#define VELTO_TOOLS_CBCMODE_H

#include <string>
#include <utility>
#include <vector>

#include "driverutil.h"
#include "velto.h"

namespace velto_cli {

// True when the command line asks for the command mode: the program was run
// under a name ending in "velto-cbc" or its first argument is "--cbc".
bool cbc_requested(int argc, char **argv);

// Runs the command mode; returns the process exit code.
int cbc_main(int argc, char **argv);

// A copy of lp with every column continuous, for the relaxation of an integer
// model.  Null with a message in *why when the copy cannot be made.
VLTLPptr cbc_relaxed_copy(VLTENVptr env, VLTLPptr lp, std::string *why);

// Writes the solution held by lp in the CBC solution format: a status line
// with the objective, then "index name value dual" lines for the rows (when
// rows is true) and the columns (all of them, or only the nonzero ones).  The
// values come from the integer incumbent when mip is true.
bool cbc_write_solution(VLTENVptr env, VLTLPptr lp, bool mip, bool rows, bool allcols,
                        const std::string &file, std::string *why);

// The status line's words for a solution status ("Optimal", "Infeasible",
// "Stopped on time", ...) and whether the objective that follows is that of a
// feasible point the reader may take as a solution.
std::string cbc_status_words(int lpstat, bool *feasible);

// Reads a start file in the same format (as written for a warm start): the
// (column name, value) pairs that follow the status line.
bool cbc_read_start(const std::string &file, std::vector<std::pair<std::string, double>> *values,
                    std::string *why);

}  // namespace velto_cli

#endif
