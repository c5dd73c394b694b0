// Shared pieces of the model file readers and writers: the plain arrays a
// reader fills (and a writer prints), name stores with hash look-up, a fast
// line source and the number conversion of the text formats.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "env/env.h"

namespace velto {

// Names end to end, each closed by a NUL, with the offset of each.
struct namestore {
  std::vector<char> text;
  std::vector<int64_t> off;
  int size() const { return static_cast<int>(off.size()); }
  const char *get(int i) const { return text.data() + off[i]; }
  size_t len(int i) const {
    int64_t end = (i + 1 < size()) ? off[i + 1] - 1 : static_cast<int64_t>(text.size()) - 1;
    return static_cast<size_t>(end - off[i]);
  }
  void add(std::string_view s) {
    off.push_back(static_cast<int64_t>(text.size()));
    text.insert(text.end(), s.begin(), s.end());
    text.push_back('\0');
  }
  void clear() {
    text.clear();
    off.clear();
  }
  // Array of pointers into the store, for loading calls.
  std::vector<char *> pointers() {
    std::vector<char *> p(off.size());
    for (size_t i = 0; i < off.size(); ++i) p[i] = text.data() + off[i];
    return p;
  }
};

// Open-addressing hash from names of a store to their index.
class nametable {
 public:
  explicit nametable(const namestore &s) : store_(s) {}
  // Index of the name, or -1.
  int find(std::string_view name) const;
  // Enters index i (the store's name i); returns the index already holding
  // the same name, or -1 if the name was new.
  int insert(int i);
  void clear() {
    slots_.clear();
    count_ = 0;
  }

 private:
  static uint64_t hash(std::string_view s);
  void grow();
  const namestore &store_;
  std::vector<uint64_t> slots_;
  int count_ = 0;
};

// One RHS, RANGES or BOUNDS set of an MPS file, entries in file order.
// RHS: rows and right-hand sides; RANGES: rows and range values in the form
// of rngval for the row's sense in the file; BOUNDS: columns, values and
// 'L', 'U' or 'B' in `lu` as VLTchgbds takes them.
struct rimvector {
  int kind = 0;  // 0 RHS, 1 RANGES, 2 BOUNDS (VLT_RIM_*)
  std::string name;
  std::vector<int> ind;
  std::vector<double> val;
  std::vector<char> lu;  // ' ' for RHS and RANGES entries
};

// A model as plain arrays, in the form loading calls take.
struct filemodel {
  std::string probname;
  std::string objname;  // empty: none
  int objsen = 1;
  int numrows = 0;
  int numcols = 0;
  std::vector<double> obj, rhs, lb, ub, rngval;  // rngval empty: no ranges
  std::vector<char> sense, ctype;                // ctype empty: continuous model
  std::vector<int> matbeg, matcnt, matind;
  std::vector<double> matval;
  namestore rownames, colnames;  // empty: no names
  // Special ordered sets, kept as read.
  std::vector<char> sostype;
  std::vector<int> sosbeg, sosind, sospri;  // sospri empty: no priorities
  std::vector<double> soswt;
  // Quadratic objective entries (column, column, value), as read.
  std::vector<int> qrow, qcol;
  std::vector<double> qval;
  // MPS only: set before the read to keep every RHS, RANGES and BOUNDS set
  // in `rims` (the first set of each kind also makes the model's arrays).
  bool rimread = false;
  std::vector<rimvector> rims;
  int64_t nnz() const { return matind.size(); }
};

// Reads a file line by line from a large buffer.  Lines are returned NUL
// terminated with the line end (and a carriage return before it) removed.
class linereader {
 public:
  explicit linereader(FILE *fp) : fp_(fp), buf_(new char[1 << 18]), cap_(1 << 18) {}
  // Next line or null at the end; `len` gets its length.
  char *next(size_t *len);
  bool failed() const { return failed_; }

 private:
  FILE *fp_;
  std::unique_ptr<char[]> buf_;
  size_t cap_;
  size_t pos_ = 0, end_ = 0;
  bool eof_ = false, failed_ = false;
};

// Number conversion of the text formats.  Returns 0 with the value, or
// 1 (not a number), 2 (exponent out of range), 3 (exponent letter without a
// digit before it), 4 (exponent letter without a digit after it).
// A token of a lone sign is 1.0 or -1.0; an empty token is 0.
// "inf" and "infinity" (any case, optional sign) give 1e20 when `allowinf`.
int parsenumber(std::string_view tok, double *value, bool allowinf);

// Splits a line into its blank- or tab-separated fields.
std::vector<std::string_view> splitfields(const char *line, size_t len);

// A copy of v in a block the application releases with VLTfree (at least
// one element, so that an empty array is not a null pointer); null when
// memory runs out.
template <class T>
T *handout(const std::vector<T> &v) {
  T *p = allocn<T>(v.size());
  if (p && !v.empty()) std::memcpy(p, v.data(), v.size() * sizeof(T));
  return p;
}

// Prints an error line whose table text has conversions; returns -code.
int fileerror(env *e, int code, ...);

// Readers and writers (one file each).
// Opens name (a .gz through gzip), runs readfp on it and closes it; a
// failing close after a good read is 1423.
int readmodelfile(env *e, const char *name, const char *ext, filemodel &m,
                  int (*readfp)(env *, FILE *, filemodel &));
int mpsreadfile(env *e, const char *name, filemodel &m);
int lpreadfile(env *e, const char *name, filemodel &m);
// The same on an open stream (used by the fuzz targets).
int mpsreadfp(env *e, FILE *fp, filemodel &m);
int lpreadfp(env *e, FILE *fp, filemodel &m);
// mpsreadfp with the rim vectors kept.
int mpsrimreadfp(env *e, FILE *fp, filemodel &m);
// The set-partitioning form: rows 'E' with right side 1, binary columns.
int parreadfile(env *e, const char *name, filemodel &m);
int parreadfp(env *e, FILE *fp, filemodel &m);

// Out pointers of the readers that hand a model's arrays to the caller
// (VLTsavread, VLTmpsread, VLTlpread, VLTparread).  The arrays come from
// alloc and are released by the caller with VLTfree; rngval and the names
// are optional.
struct modelout {
  int *numcols_p, *numrows_p, *objsen_p;
  double **obj_p, **rhs_p;
  char **sense_p;
  int **matbeg_p, **matcnt_p, **matind_p;
  double **matval_p, **lb_p, **ub_p, **rngval_p;
  char ***colname_p;
  char **colnamestore_p;
  char ***rowname_p;
  char **rownamestore_p;
};
// The argument lists of the exported array readers and the out records
// made of them.
#define VLT_MODEL_ARGS                                                                          \
  VLTENVptr env, const char *filename, int *numcols_p, int *numrows_p, int *objsen_p,          \
      double **obj_p, double **rhs_p, char **sense_p, int **matbeg_p, int **matcnt_p,           \
      int **matind_p, double **matval_p, double **lb_p, double **ub_p, double **rngval_p,       \
      char ***colname_p, char **colnamestore_p, char ***rowname_p, char **rownamestore_p
#define VLT_MIP_ARGS                                                                            \
  char **ctype_p, int *numsos_p, int *numsosnz_p, char **sostype_p, int **sospri_p,             \
      int **sosbeg_p, int **sosind_p, double **soswt_p
#define VLT_QUAD_ARGS                                                                           \
  int *numqnz_p, int **qmatbeg_p, int **qmatcnt_p, int **qmatind_p, double **qmatval_p
#define VLT_MODEL_OUT                                                                           \
  modelout {                                                                                    \
    numcols_p, numrows_p, objsen_p, obj_p, rhs_p, sense_p, matbeg_p, matcnt_p, matind_p,       \
        matval_p, lb_p, ub_p, rngval_p, colname_p, colnamestore_p, rowname_p, rownamestore_p    \
  }
#define VLT_MIP_OUT \
  mipout { ctype_p, numsos_p, numsosnz_p, sostype_p, sospri_p, sosbeg_p, sosind_p, soswt_p }
#define VLT_QUAD_OUT quadout{numqnz_p, qmatbeg_p, qmatcnt_p, qmatind_p, qmatval_p}

// Sets every given out pointer to 0 or null.
void modelout_clear(const modelout &o);
// 1004 when a required pointer is null, else 0.
int modelout_check(const modelout &o);
// Hands m out; on 1001 nothing is handed out.
int modelout_fill(const filemodel &m, const modelout &o);
// Releases what modelout_fill handed out and clears the pointers.
void modelout_free(const modelout &o);

// Out pointers of the integer results: column types (null for a file
// without integer or set data) and the sets in the form of VLTcopysos.
// sospri is optional; every other pointer is required.
struct mipout {
  char **ctype_p;
  int *numsos_p, *numsosnz_p;
  char **sostype_p;
  int **sospri_p;
  int **sosbeg_p, **sosind_p;
  double **soswt_p;
};
void mipout_clear(const mipout &o);
int mipout_check(const mipout &o);
int mipout_fill(const filemodel &m, const mipout &o);
void mipout_free(const mipout &o);

// Out pointers of the quadratic results: Q column-wise, both triangles,
// entries of one column sorted by row, repeated entries added up and zeros
// dropped; all required.
struct quadout {
  int *numqnz_p;
  int **qmatbeg_p, **qmatcnt_p, **qmatind_p;
  double **qmatval_p;
};
void quadout_clear(const quadout &o);
int quadout_check(const quadout &o);
int quadout_fill(const filemodel &m, const quadout &o);
void quadout_free(const quadout &o);
// Q of m column-wise (the form quadout_fill hands out).
void quadcolumns(const filemodel &m, std::vector<int> &beg, std::vector<int> &cnt,
                 std::vector<int> &ind, std::vector<double> &val);

// The rim vectors of VLTmpsmread in caller-given space: rimspace vectors
// (kind, begin, optional name) and rimnzspace entries (index, value, lu).
struct rimout {
  int rimspace, rimnzspace;
  int *rimcnt_p, *rimnzcnt_p;
  int *rimtype, *rimbeg, *rimind;
  double *rimval;
  char *rimlu;
  char ***rimname_p;
  char **rimnamestore_p;
};
void rimout_clear(const rimout &o);
// 1003 for a negative space, 1004 for a null required pointer.
int rimout_check(const rimout &o);
// 1484 or 1485 when the space is short (the counts then tell the space
// needed), 1001 when the names can't be allocated.
int rimout_fill(const filemodel &m, const rimout &o);
void rimout_free(const rimout &o);
// Tests that every row and column name of m reads back as itself from a file
// of the given kind (MPS when `lp` is false): not empty, at most 255
// characters, no blanks or control characters, no name twice on one side,
// and for the LP form only the reader's name characters and no word the
// reader takes for a keyword, a number or an infinity.  On failure prints
// which name and returns 1003 (the file is not opened).
int checkwritenames(env *e, const filemodel &m, bool lp);
// Why a name would not read back from the LP form as the same row or
// column name (a number, a keyword, an operator or blank in it), or null.
const char *lpunreadable(std::string_view n, bool row);
int mpswritefile(env *e, const char *name, const filemodel &m);
// Basis file of p's model with the statuses cs/rs (those of VLTgetbase);
// itcnt < 0 leaves the iteration count and sizes off the NAME line.
int writebasisfile(env *e, ::velto_lp *p, const char *name, const int *cs, const int *rs, int itcnt);
// The restart file "<problem name>.xxx" loaded as the start: 0, or a
// private code above 2000 (sizes or names that do not fit, no such file);
// the results channel tells which.
int readrestart(env *e, ::velto_lp *p);
// Plain arrays of a problem in the user's units (names when asked).
void extract(::velto_lp *p, filemodel &m, bool withnames);
int lpwritefile(env *e, const char *name, const filemodel &m);

// Formats a number for the MPS writer: at most 12 characters.
void mpsnumber(double v, char *out);
// Formats a number for the LP writer (15 significant digits).
void lpnumber(double v, char *out);

}  // namespace velto
