// The node tree of a search: node records, bound-change lists, the packed
// form of a node, the open-node store with its heaps, and the second level
// of compressed or on-disk blocks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "mip/mip.h"

namespace velto {

// Bound changes of a node relative to the global bounds.
struct bdchglist {
  int count = 0;
  int capacity = 0;
  std::vector<int> index;
  std::vector<char> sense;  // 'L' lower, 'U' upper, 'B' both
  std::vector<double> value;
  // Adds an entry; a 'B' entry of the column is overwritten by a new 'B',
  // an 'L' or 'U' entry only by a stronger one of the same sense.
  int add(int j, char s, double v);
  size_t bytes() const { return 4 + 13 * static_cast<size_t>(count); }
};

struct nodedata {
  std::vector<int> normind;     // dual norms: indices and values
  std::vector<double> normval;
  bool hasstart = false;
  std::vector<int> cutids;
  bdchglist bounds;
  int64_t handle = 0;
};

struct bbnode {
  double suminf = 0.0;
  double estinc = 1e37;
  double baseobj = 0.0;
  double bound = -1e75;
  double brvalue = 0.0;
  nodedata *data = nullptr;
  std::vector<uint32_t> packed;
  int packedrows = 0;
  int brvar = -1, brkind = 0;
  int depth = 0, iinf = 0, rowcnt = 0, parent = -1, id = -1;
  int nodeseq = 0;  // order of creation, for depth-first ties of unnumbered nodes
  char form = 'F', dir = 'N';
  ~bbnode() { delete data; }
  size_t bytes() const;
};

// Column classes of the packed form, fixed once per run.
struct packlayout {
  int ncols = 0, nrows = 0;
  bool ranged = false;             // rows need 2 status bits
  std::vector<int> c1;             // continuous, lower bound 0, no upper bound
  std::vector<int> c2;             // other continuous
  std::vector<int> bin;            // binaries
  std::vector<int> smallint;       // integers of small finite range, grouped by width
  std::vector<int> smallwidth;     // width of each entry of smallint
  std::vector<int> bigint;         // other integers
  std::vector<double> glb, gub;    // global bounds used for the offsets
};
// Builds the classes from column types and global bounds (user units).
void packlayout_build(const char *ctype, int ncols, int nrows, const char *sense,
                      const double *glb, const double *gub, packlayout &L);
// Packs a node: cstat/rstat may be null (no basis); lb/ub are the node's
// bounds (dense).  Bounds that no class can hold go to `extra`.
void packnode(const packlayout &L, const int *cstat, const int *rstat, const double *lb,
              const double *ub, std::vector<uint32_t> &out);
// Reverses packnode; returns false on a malformed stream.  hasbasis tells
// whether cstat/rstat were written.
bool unpacknode(const packlayout &L, const std::vector<uint32_t> &in, int *cstat, int *rstat,
                double *lb, double *ub, bool *hasbasis);

// Block compressor over 32-bit words.  `out` gets the stream; returns false
// when the stream would not be smaller than the input (then out is junk).
bool lzcompress(const uint8_t *in, size_t n, std::vector<uint8_t> &out);
// Returns false on a damaged stream.
bool lzexpand(const uint8_t *in, size_t n, size_t rawsize, std::vector<uint8_t> &out);

// Serialized node (one node's bytes in a block).
void nodeserialize(const bbnode &nd, std::vector<uint8_t> &out);
// Reads one node at `pos`; null on a damaged buffer.
bbnode *nodedeserialize(const uint8_t *buf, size_t n, size_t *pos);

struct nodeblock {
  int number = 0, nodes = 0;
  uint32_t rawbytes = 0, storedbytes = 0;
  double keys[4] = {1e75, 1e75, 1e75, 1e75};  // -id, bound, estimate, estimate ratio
  double key = 1e75;
  std::vector<uint8_t> *memdata = nullptr;   // null when on disk
};

// An indexed binary min-heap over entry numbers.
struct nodeheap {
  std::vector<int> heap;
  std::vector<int> pos;      // entry -> heap position, -1 when absent
  std::vector<double> key;   // entry -> key
  void insert(int entry, double k);
  void remove(int entry);
  int top() const { return heap.empty() ? -1 : heap[0]; }
  double topkey() const { return heap.empty() ? 1e75 : key[heap[0]]; }
  bool empty() const { return heap.empty(); }
  void clear() { heap.clear(); std::fill(pos.begin(), pos.end(), -1); }
  void up(int i);
  void down(int i);
};

// Context the scores read (root data and estimates of the run).
struct scorectx {
  double rootiinf = 0.0, rootobj = 0.0, targetobj = 1e75;
  double degperinf = 0.0, degperiinf = 0.0;
  double cutoff = 1e75;
};

struct bbtree {
  double workmem = 0.0, trelim = 0.0;
  int nblocks = 0, nodesel = 1, varsel = 0, picks = 0, bbinterval = 7, nodefile = 1;
  int display = 1;
  double bestbound = 1e75;
  std::string dir;
  double livebytes = 0.0, storedbytes = 0.0, rawbytes = 0.0;
  // open node table
  std::vector<bbnode *> entry;
  std::vector<int> freelist;
  int count = 0, highwater = 0, nodeseq = 0;
  nodeheap score, bound;
  // blocks
  int blocksize = 1048576;
  std::string blockdir;
  std::vector<nodeblock> blocks;  // min-heap on key
  int nodesinblocks = 0;
  double blockbest = 1e75;
  scorectx ctx;
  env *envp = nullptr;
};

// Builds a tree; the parameters come from the environment.
bbtree *treecreate(env *e, int capacity, int nodesel, int varsel, double workmem,
                   double trelim, int nodefile, const char *workdir);
// Takes the parameters again at the start of a run.
void treeupdate(env *e, bbtree *t, int nodesel, int varsel, double workmem, double trelim,
                int nodefile, const char *workdir, int bbinterval);
// Frees the tree, its blocks and their files.
void treefree(bbtree *t);
// The freeing pass at the end of a run: frees every open node, noting the
// progress on the results channel when `display` is on and at least
// `interval` seconds and 1000 nodes have passed since the last note; then
// frees the tree.
void treefreelog(env *e, bbtree *t, double interval = 5.0);
// Inserts a node (the tree owns it), writing a block first when memory is short.
int treepush(env *e, bbtree *t, bbnode *nd);
// Takes the next node by the selection rule (null when empty).
int treepop(env *e, bbtree *t, bbnode **nd);
// Frees every node and block whose bound is above the cutoff; returns the count.
int treeprune(env *e, bbtree *t, double cutoff, int *status);
// Enters a node into the open table and both heaps (no memory test);
// returns its entry.  treedrop takes entry k out (the node is not freed).
int treeadd(bbtree *t, bbnode *nd);
void treedrop(bbtree *t, int k);
// Recomputes every score (after a change of nodesel or of the estimates).
void treerekey(bbtree *t);
double nodescore(const bbtree *t, const bbnode *nd);
inline int treesize(const bbtree *t) { return t->count + t->nodesinblocks; }
inline bool treeempty(const bbtree *t) { return treesize(t) == 0; }
// Writes one block of nodes (compressed and/or to disk by nodefile).
int treewriteblock(env *e, bbtree *t);
// Reads the block at the top of the block heap back in.
int treereadblock(env *e, bbtree *t);

// The dive rule.  Inputs of one decision:
struct dive_prev {
  int iinf = 0;
  double suminf = 0.0, bound = 0.0, est = 0.0;  // est: baseobj + estinc
};
struct diveinput {
  int nodesel = 1, varsel = 0, divetype = 0, brdir = 0;
  double bttol = 0.9999;
  double bestnodeobj = 0.0, bestinteger = 1e75, cutoff = 1e75;
  bool hasincumbent = false;
  double x = 0.0;            // objective of the node just processed
  int iinf = 0;              // and its infeasibilities
  double suminf = 0.0, thisest = 0.0;
  double rootiinf = 0.0, rootobj = 0.0, degperiinf = 0.0;
  int branched = 0, onesided = 0;
  dive_prev prev;
  int ncols = 0;             // structural and range columns
};
struct divestate {
  long long dives = 0, lastimprove = 0, divelen = 0;
  int fresh = 0;
};
// Chooses the next node among the slots.  Returns 1 with slots[slot] the
// node to process next, or 0 when the tree decides (all slot nodes are then
// in `totree`).  *packchild says that the current node's child is left to
// the tree and must be packed.
int nodenext(const diveinput &in, divestate &st, bbnode *slots[6], int &slot,
             std::vector<bbnode *> &totree, bool *packchild);

}  // namespace velto
