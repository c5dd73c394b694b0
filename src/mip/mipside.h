// What the files beside an integer model (priority orders, set files, start
// values) share: the look-up of a line's column name in the model's names,
// the capped warnings, the line loop of the column layout and the frames of
// the readers and writers.
#pragma once

#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "fileio/rwutil.h"
#include "model/lp.h"

namespace velto {

// Column names of a side file resolved against the model's names.  Name
// warnings are capped at 20 lines per file; `close` tells the rest.
class sidenames {
 public:
  sidenames(env *e, char **colname, int numcols);
  // Column of `name`, or -1 after the line's "is not a variable" warning.
  int find(std::string_view name, int lineno);
  // A warning about a name, counted against the cap.
  void warn(const char *fmt, int lineno, std::string_view name);
  // Prints "%d warnings not printed." when the cap was passed.
  void close();

 private:
  env *e_;
  namestore store_;
  nametable table_;
  int warnings_ = 0;
};

// The body of a side file, line by line: comment lines ('*') and empty lines
// are passed over, the "NAME" line must come first, a line that starts in
// the first column ends the body.  `data` gets each body line's fields and
// returns 0 to go on or an error.  `head` (may be null) is offered every
// line that starts in the first column before "ENDATA" and returns 1 when it
// takes it, 0 when it does not (1462 follows), or a negative error.
// Returns 0 or the first error; warns when "ENDATA" is missing.
using sidedata = std::function<int(int lineno, const std::vector<std::string_view> &fields,
                                   const char *line)>;
using sidehead = std::function<int(int lineno, const std::vector<std::string_view> &fields)>;
int sidelines(env *e, FILE *fp, const sidedata &data, const sidehead &head);

// Frame of the writers: handles, the change cache, an integer problem
// (3003) and a file name (1421).  *pp follows a view.
int sidewriteframe(env *e, lp **pp, const char *name);
// Frame of the readers that load into a problem: handles and view (1023),
// the change cache, column names (1219) and a file name (1421).
int sidereadframe(env *e, lp *p, const char *name);
// The model's column names for a writer (default names with their warning).
std::vector<std::string> sidecolnames(env *e, lp *p);
// Opens a side file for writing (1422 printed on failure).
FILE *sideopen(env *e, const char *name, int *status);
// Closes a written side file; a write or close failure is 1422, printed.
int sideclose(env *e, const char *name, FILE **fp);
// An integer field of a body line, or 1434 printed.
int sideint(env *e, std::string_view tok, int lineno, int *value);
// A number field of a body line, or 1434 printed.
int sidenumber(env *e, std::string_view tok, int lineno, double *value);

}  // namespace velto
