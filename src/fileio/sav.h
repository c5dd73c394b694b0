// The binary model file: the whole problem object's model in the machine's
// byte order, read back field by field.
#pragma once

#include <string>
#include <vector>

#include "fileio/rwutil.h"
#include "model/lp.h"

namespace velto {

constexpr const char *kSavTag = "VELTOMIPQC 810";

// Rows given apart from the model: user cuts or lazy constraints.
struct savrows {
  std::vector<double> rhs;
  std::vector<char> sense;
  std::vector<int> beg;  // one start per row
  std::vector<int> ind;  // columns
  std::vector<double> val;
};

// What a binary model file holds besides the model arrays.
struct savdata {
  filemodel m;                 // the user's model (numcols columns)
  std::vector<int> cstat, rstat;  // basis, empty when the file has none
  savrows cuts[2];             // user cuts, lazy constraints
};

// Out pointers of one group of rows of VLTsavqread (a group is optional:
// all null, or all given).
struct rowsout {
  int *cnt_p, *nzcnt_p;
  double **rhs_p;
  char **sense_p;
  int **beg_p, **ind_p;
  double **val_p;
};

// Writes p to name (binary form).  Returns 0 or a status (negative after
// printing its message).
int savwritefile(env *e, lp *p, const char *name);
// Reads a binary model file.  Returns 0 or a status (negative after
// printing its message); nothing is kept on failure.
int savreadfile(env *e, const char *name, savdata &d);
int savreadstream(env *e, FILE *fp, const char *name, savdata &d);
// The model part alone, in the form of the other readers' stream entries.
int savreadfp(env *e, FILE *fp, filemodel &m);
// Loads the arrays of a reader into a problem (the common end of every
// model reader).
int loadfilemodel(env *e, lp *p, filemodel &m, const char *filename);
// VLTreadcopyprob for a binary file: the model, then the basis if stored.
int savreadcopy(env *e, lp *p, const char *name);

}  // namespace velto
