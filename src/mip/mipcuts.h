// Cutting planes of the branch and cut: the cut stores and the shared pool,
// the separation of knapsack covers and GUB covers, and the cut loops at
// the root and at tree nodes.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "mip/mipbb.h"

namespace velto {

// Family codes; the letter of each names its rows in the node problem.
enum cutfamily {
  kCutCover = 0, kCutGub = 1, kCutFlow = 2, kCutClique = 3, kCutFrac = 4, kCutMir = 5,
  kCutFlowPath = 6, kCutDisj = 7, kCutImplBd = 8, kCutLocalCover = 9, kCutUser = 10,
  kCutLazy = 11, kCutPurged = 12, kCutLocal = 13
};
constexpr int kCutTypes = 14;
constexpr const char *kCutLetters = "vgfqrmpdikutxl";

// One cut; its coefficients live in the store's arenas from `beg` on.
// A negative nnz marks a deleted record.
struct cutrec {
  char type = 0;
  char sense = 'L';
  double rhs = 0.0;
  int nnz = 0;
  int beg = 0;
};

// A growing arena of cuts with an optional hash for duplicates.  The
// identifier of a cut is its position.  `dedup` set: a stored 'L' cut with
// the same left-hand side is the same cut whatever its rhs (a strictly
// tighter one can still be added with `replace`).
struct cutstore {
  std::vector<cutrec> recs;
  std::vector<int> ind;
  std::vector<double> val;
  bool hashed = true;
  int dedup = 0;
  std::unordered_map<uint32_t, std::vector<int>> hash;
  int count() const { return static_cast<int>(recs.size()); }
  const int *indof(int k) const { return ind.data() + recs[k].beg; }
  const double *valof(int k) const { return val.data() + recs[k].beg; }
  void clear() {
    recs.clear();
    ind.clear();
    val.clear();
    hash.clear();
  }
};

// Hash of a cut's index list.
uint32_t cuthash(int nnz, const int *ind);
// Adds a cut (indices in any order; 'G' is stored as 'L' negated).  found:
// 1 when an equal cut stood already (then *id is that cut).  Returns 0 or
// 1001.
int cutstoreadd(cutstore &s, char type, char sense, double rhs, int nnz, const int *ind,
                const double *val, int *found, int *id, int replace);

// The shared pool: the master store with the order of its cuts, and per
// thread a store of new cuts and one of cuts waiting for that thread's
// node problem.
struct cutset {
  std::vector<int> ids;
  cutstore master;
  std::vector<cutstore> fresh, pending;
  std::vector<std::vector<int>> pendingids;
  int baserows = 0, nthreads = 1;
  int typecount[kCutTypes] = {};
};
void cutsetinit(cutset &s, int baserows, int dedup, int nthreads);
// A family's way to offer a cut (to the thread's store of new cuts).
int cutsetpush(cutset &s, int thread, int type, int nnz, const int *ind, const double *val,
               char sense, double rhs);
// Moves the thread's new cuts into the master store; with a mark, the cuts
// of `ids` from the mark up go to the thread's pending store and the mark
// moves to the end.  idlist (optional) receives the identifier of each
// merged cut.
int cutsetmerge(cutset &s, int thread, int *mark, std::vector<int> *idlist);
// Offers to `set` every cut of `store` violated at x by more than tol, at
// most `limit` of them; *count gets how many.
int cutseparate(const cutstore &store, const double *x, double tol, int limit, cutset &set,
                int thread, int *count);
// Adds the thread's pending cuts to the node problem as rows.
int cutsetapply(env *e, lp *q, cutset &s, int thread, bool names);

// Items of a row read as a binary knapsack: sum w[i] * item[i] <= cap,
// an item being the column or, with compl, its complement.  n is -1 when
// the row gives none.
struct knapsack {
  int n = -1;
  std::vector<int> col;
  std::vector<double> w;
  std::vector<int> compl_;
  double cap = 0.0;
};

// What the cut families read of the model during a run (unscaled).
struct cutmodel {
  int n = 0, m = 0;
  const char *ctype = nullptr;
  const rowcopy *rc = nullptr;
  std::vector<char> sense;
  std::vector<double> rhs;
};
void cutmodelbuild(const lp *p, const rowcopy &rc, cutmodel &cm);

// Knapsack of row `row` (negated when negate is 1) under the bounds lb/ub.
// work: n zeros, given back as zeros.
void knapextract(const cutmodel &cm, const double *lb, const double *ub, int row, int negate,
                 int needcut, std::vector<double> &work, knapsack &k);

// The lifted cover of a knapsack at x (x per column).  Returns 0 with
// nnz 0 when there is none, 0 with the cut in ind/val/rhs (column space,
// sense 'L'), or 1 when the lifting table would pass its limit.
int coverfind(const knapsack &k, const double *x, int *nnz, double *rhs, std::vector<int> &ind,
              std::vector<double> &val);

// Clique table: each clique a list of literals (column j, or ~j for its
// complement) of which at most one is 1.  Types: 0 a knapsack row at its
// capacity, 1 an equality row (exactly one is 1), 2 other knapsack
// cliques, 3 a pair found by probing, 4 grown by extension or merging.  An
// empty clique is a deleted one until the next index.
struct cliquetable {
  std::vector<std::vector<int>> cliques;
  std::vector<int> ctype;
  std::vector<std::vector<int>> lists;  // per literal slot: cliques holding it
  int members = 0, ncols = 0;
  bool built = false;
  unsigned seed = 1;  // the shuffles of clique separation
  static int slot(int lit) { return lit >= 0 ? 2 * lit : 2 * ~lit + 1; }
  const std::vector<int> *holding(int lit) const {
    size_t s = static_cast<size_t>(slot(lit));
    return s < lists.size() && !lists[s].empty() ? &lists[s] : nullptr;
  }
};
// The cliques of the rows (equality rows on binaries, then the cliques of
// each knapsack form) while the member total is below `budget`.
void cliquesfromrows(const cutmodel &cm, const double *lb, const double *ub, long long budget,
                     cliquetable &t);
// Adds a clique of the given type (with its lists).
void cliqueadd(cliquetable &t, const std::vector<int> &lits, int type);
// Drops decided members and deleted cliques, rebuilds the lists.
void cliqueindex(cliquetable &t, const double *lb, const double *ub);

struct impltab;
// The GUB cover of a knapsack at x: 0 with nnz 0 when there is none.
int gubfind(const knapsack &k, const cliquetable &t, const double *x, int *nnz, double *rhs,
            std::vector<int> &ind, std::vector<double> &val);

// The state of the cut families in a search (outlives one run).
struct cutwork {
  // class switches: cover, clique, flow cover, flow path, implied bound,
  // GUB cover, Gomory, disjunctive, MIR, local cover
  int cls[10] = {};
  int maxcuts = 0, baserows = 0, cutmark = 0, nodepasses = 0;
  long long lastdives = -1;    // dives of the search at the last node seen
  cutset pool, localpool;
  cutstore purgepool, lazypool;
  std::vector<int> coverrows;  // bits 1, 2: knapsack as L / negated; 4, 8: with groups
  cliquetable cliques;
  std::shared_ptr<impltab> impl;  // implications of rows and probing
  cutmodel cm;
  int localapplied = 0;        // local covers that went into a node problem
  int flowmode = 0;            // flow covers and MIR: 0 per row, 1 flow, 2 MIR, 3 both
  int applied[kCutTypes] = {};
  bool scanned = false;
};
enum { kClsCover = 0, kClsClique, kClsFlow, kClsFlowPath, kClsImplBd, kClsGub, kClsFrac,
       kClsDisj, kClsMir, kClsLocalCover };

// Scans the rows for knapsacks (bits 1, 2) and GUB structure (bits 4, 8);
// returns the counts.
int coverscan(cutwork &cw, const double *glb, const double *gub);
int gubscan(cutwork &cw, const double *glb, const double *gub);
// Covers from the scanned rows: global ones to the pool, local ones (valid
// under llb/lub) to `local`.  counts[0] global, counts[1] local.
int coverround(cutwork &cw, const double *x, const double *glb, const double *gub,
               const double *llb, const double *lub, int limit, bool cover, bool localflag,
               cutstore *local, int counts[2]);
int gubround(cutwork &cw, const double *x, const double *glb, const double *gub, int limit,
             int *count);

// The plug-ins of the search.
int rootcutloop(miprun &r, bbnode *root);
int nodecutloop(miprun &r, bbnode *node);
// The lines of cuts applied at the end of a run.
void cutsummary(env *e, const mipwork *w);
void cutworkfree(cutwork *cw);

// A watcher that sees every cut that goes into a node problem and every
// bound that the cut loop fixes; for checks against a known solution.
// lb/ub are the node's bounds for a cut valid only there, else null.
// A fixing comes as a one-term cut, with the cutoff it rests on.
struct cutwatcher {
  void (*seen)(void *ctx, int nnz, const int *ind, const double *val, char sense, double rhs,
               const double *lb, const double *ub, double cutoff) = nullptr;
  void *ctx = nullptr;
};
extern cutwatcher cutwatch;

}  // namespace velto
