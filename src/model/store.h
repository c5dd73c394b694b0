// Helpers private to the problem store modules.
#pragma once

#include <cstring>
#include <new>

#include "model/lp.h"

namespace velto {

// Grows (or first allocates) an array to n elements, keeping its contents.
template <class T>
inline bool growarray(T *&arr, size_t n) {
  if (n == 0) n = 1;
  void *q = arr == nullptr ? alloc(n * sizeof(T)) : resize(arr, n * sizeof(T));
  if (q == nullptr) return false;
  arr = static_cast<T *>(q);
  return true;
}

void core_free(lpcore **c);
// Reallocates every array of the model to the given capacities (never
// shrinking).  Name arrays are made when the byte capacity asks for them.
int core_fitspace(lpcore *c, int colspace, int rowspace, int nzspace, uint32_t colnamebytes,
                  uint32_t rownamebytes);
// ensurespace with explicit growth amounts.
int ensurespace_g(env *e, lp *p, int ncols, int nrows, int nz, uint32_t colnamebytes,
                  uint32_t rownamebytes, int colgrow, int rowgrow, int nzgrow);
// End of the used part of the matrix over the user's columns.
int usednz(const lpcore *c);
// Releases one layer through its registered operations.
void releaselayer(env *e, lp *p, int layer);
void freeviews(env *e, lp *p);
// Drops every layer but the core (used by loading and freeing).
void dropall(env *e, lp *p);
// Data checks of a whole load; prints the message and returns the negated
// code on failure.  `full` runs every check; otherwise only those whose
// failure would make the copy unsafe.
int checkload(env *e, int numcols, int numrows, int objsen, const char *sense,
              const int *matbeg, const int *matcnt, const int *matind, char **colname,
              char **rowname, bool full);
// Numbers entering the model must be finite, whatever the data check says:
// a lower bound may also be -infinity and an upper bound +infinity (no
// bound).  Prints error 1225 with the position of the first bad entry and
// returns -1225; 0 when all are good or the array is null.
enum numberkind : int { kNumValue, kNumLower, kNumUpper };
int checknumbers(env *e, int n, const double *a, numberkind kind);
// Copies one sparse vector, adding up entries of the same index and leaving
// out zeros (also sums that come to zero); returns the count kept.  `where`
// holds -1 for every index on entry and on return.  outind/outval may be
// the input arrays themselves.
int packcolumn(const int *ind, const double *val, int cnt, int *outind, double *outval,
               int *where);
// Bytes needed for names (texts plus closing zeros); null array gives 0.
uint32_t namebytes(char **names, int n);
// Used bytes of a model name store (end of the furthest name).
uint32_t storeused(char **names, int n, const char *store);

// Internal getters in the user's units (query.cpp); ranges already valid.
void getobj_u(const lp *p, double *out, int begin, int end);
void getrhs_u(const lp *p, double *out, int begin, int end);
void getlb_u(const lp *p, double *out, int begin, int end);
void getub_u(const lp *p, double *out, int begin, int end);
void getrng_u(const lp *p, double *out, int begin, int end);
double matval_u(const lp *p, int k, int j);  // unscaled value of entry k in column j

// Append columns / rows to the model (fold, direct paths).  Columns' entries
// are given column-wise; rows' entries row-wise.  Names may be null.
int appendcols(env *e, lp *p, int ccnt, const double *obj, const double *lb,
               const double *ub, const char *ctype, char *const *names, int nzcnt,
               const int *beg, const int *ind, const double *val);
int appendrows(env *e, lp *p, int rcnt, const double *rhs, const char *sense,
               const double *rngval, char *const *names);
// Inserts entries (triples) into the model's columns; zero values skipped,
// existing entries overwritten.
int insertentries(env *e, lp *p, int cnt, const int *rows, const int *cols,
                  const double *vals);

// Space/surplus copy of names src[begin..end] (all non-null).
int copynames(char *const *src, int begin, int end, char **names, char *store, int space,
              int *surplus);
uint32_t namehashvalue(const char *s, int nbuckets);
int bucketcount(long long expected);

// Frame of the queries: handles, following a view, folding the cache.
inline int queryframe(env *e, lp **pp) {
  if (!checkenv(e)) return kNoEnvironment;
  if (!checklpfollow(e, pp)) return kNoProblem;
  return cache_flush(e, *pp);
}
// Frame of the changes: handles and the view test; the cache is not folded.
inline int changeframe(env *e, lp *p) {
  if (!checkenv(e)) return kNoEnvironment;
  if (!checklp(e, p)) return kNoProblem;
  if (isview(p) || p->probtype == kTypeZeroedQP) return 1023;
  return 0;
}

// The solution record holds a basis for the present model.
bool soln_hasbasis(const lp *p);
// The user's basis (statuses per column and per row) from the solution
// record; either array may be null.  Needs soln_hasbasis(p).
void soln_userbasis(const lp *p, int *cstat, int *rstat);
// VLTchgbds with the dropstate event given (4, or 59 for a tightening of
// basic columns that keeps the dual norms).
int chgbds(env *e, lp *p, int cnt, const int *indices, const char *lu, const double *bd,
           int event);

// Deletions and range changes with their dropstate event.  flags has an
// entry per row (column): 1 deletes; it comes back as the map to the new
// indices, -1 for deleted entries.
int delrowset(env *e, lp *p, int *flags, int event);
// Puts the basis of the solution record, if it has one, into the start
// record (the user's statuses), so that it outlives the record.
int carrybasis(lp *p);
int delcolset(env *e, lp *p, int *flags, int event);
int chgrngval(env *e, lp *p, int cnt, const int *indices, const double *values, int event);

// Bound classification.
inline void clampbound(double &lb, double &ub, int &lk, int &uk) {
  if (lb <= -kInfThreshold) { lb = -kInfBound; lk = kBoundInfinite; }
  else lk = lb == 0.0 ? kBoundZero : kBoundFinite;
  if (ub >= kInfThreshold) { ub = kInfBound; uk = kBoundInfinite; }
  else uk = ub == 0.0 ? kBoundZero : kBoundFinite;
}

}  // namespace velto
