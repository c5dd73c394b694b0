// Integer model data: special ordered sets, priority orders, start values,
// the MIP holder of a problem and the derived views the cut families read.
#pragma once

#include <vector>

#include "model/lp.h"

namespace velto {

// Special ordered sets of a model (owned by lpcore).
struct sosdata {
  int count = 0;
  std::vector<char> type;      // '1' or '2'
  std::vector<int> priority;   // empty: none given
  std::vector<int> beg;        // count + 1 entries
  std::vector<int> ind;
  std::vector<double> wt;      // ascending within a set
};

struct orderdata {
  int count = 0;
  std::vector<int> ind;
  std::vector<int> priority;   // empty: none given
  std::vector<int> direction;  // empty: none given; 0 free, 1 up, -1 down
};

struct mipstartdata {
  int count = 0;
  std::vector<int> ind;
  std::vector<double> value;
};

// The semi-continuous conversion: the converted columns with their lower
// limits, and the added rows and columns of the converted copy.
struct semidata {
  int count = 0;
  std::vector<int> cols;
  std::vector<double> lower;
  int firstrow = -1, lastrow = -1, firstcol = -1, lastcol = -1;
};

struct incumbent;
struct bbtree;
struct bbstate;
struct cutwork;
void cutworkfree(cutwork *cw);

// Row-wise copy of the model and the objective, with the binaries of a row
// first and then the general integers, each by descending magnitude.
struct rowcopy {
  int rows = -1;
  std::vector<int> rowbeg, rowend, rowind;
  std::vector<double> rowval;
  int objcnt = 0;
  std::vector<int> objind;
  std::vector<double> objval;
  double objconst = 0.0;
};

// The state of a branch-and-cut run: counters that the result getters read,
// the derived views, the incumbent store and the tree.
struct mipwork {
  int nodecnt = 0, nodeleft = 0;
  long long itcnt = 0;
  double bestnodeobj = 1e75;
  int cliquecnt = 0, cliqueapplied = 0, coverapplied = 0;
  int substat = 0, submethod = 0;
  rowcopy rc;
  std::vector<int> rowclass;
  incumbent *inc = nullptr;
  bbtree *tree = nullptr;
  bbstate *bb = nullptr;  // root data, pseudocosts, bounds of the search
  cutwork *cuts = nullptr;  // cut pools and the families' state
  ~mipwork();
};

// The holder of integer data that is not part of the model.
struct mipdata {
  orderdata *order = nullptr;
  mipstartdata *start = nullptr;
  mipwork *work = nullptr;
  lp *nodelp = nullptr;
  env *envp = nullptr;  // the environment the node problem belongs to
  ~mipdata();
};

// Registers the release hooks of the MIP and SOS layers (idempotent).
void mip_register();
// The MIP holder of a problem, made when absent; null on allocation failure.
mipdata *mipdatanew(env *e, lp *p);

// True for problem types that carry column types.
inline bool integertype(int t) {
  return t == kTypeMILP || t == kTypeRelaxed || t == kTypeFixed || t == kTypeNode ||
         t == kTypeMIQP || t == kTypeFixedMIQP || t == kTypeQPNode;
}

// Rejects a fixed integer column with a fractional value (3011, printed).
int checkfixedint(env *e, lp *p, double epint);
// Rejects a binary value outside [-epint, 1 + epint] (3002, printed).
int checkbinary(env *e, lp *p, const double *x, double epint);

// The order of VLT_PARAM_MIPORDTYPE `kind` (1, 2 or 3), not stored.
int orderfromrule(env *e, lp *p, int kind, orderdata &out);

// Derived views of the model (unscaled, objective in minimization sign).
void rowcopybuild(const lp *p, rowcopy &rc);
void rowclassbuild(const lp *p, std::vector<int> &cls);

// Makes *out, a copy of the model with every 'S' and 'N' column turned into
// a column on [0, u] linked to a new binary (null when there are none);
// orders and start values of the model grow by the binaries.  A column
// with an infinite or negative bound is 3022 (printed).
int semiconvert(env *e, lp *p, lp **out, semidata &sd);
// Cuts a column vector of the converted copy back to the model's columns.
void semirestore_x(const semidata &sd, std::vector<double> &x);

// Fixes at 0 the members of each set that the working bounds glb/gub
// force out; returns 103 when a set cannot be satisfied, else 0.
int sosreduce(const sosdata &s, std::vector<double> &glb, std::vector<double> &gub);

}  // namespace velto
