// The open-node store: node scores by selection rule, the two heaps, and
// insertion, selection and pruning.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "env/files.h"
#include "env/par.h"
#include "mip/miptree.h"

namespace velto {

int bdchglist::add(int j, char s, double v) {
  for (int k = 0; k < count; ++k) {
    if (index[k] != j) continue;
    if (s == 'B' && sense[k] == 'B') {
      value[k] = v;
      return 0;
    }
    if (s == sense[k] && s != 'B') {
      if ((s == 'L' && v > value[k]) || (s == 'U' && v < value[k])) value[k] = v;
      return 0;
    }
  }
  if (count == capacity) {
    int cap = (count + 1) / 8 * 8 + 8;
    try {
      index.resize(cap);
      sense.resize(cap);
      value.resize(cap);
    } catch (const std::bad_alloc &) {
      return 2052;
    }
    capacity = cap;
  }
  index[count] = j;
  sense[count] = s;
  value[count] = v;
  ++count;
  return 0;
}

size_t bbnode::bytes() const {
  size_t n = 88 + 4 * packed.size();
  if (data != nullptr) {
    n += 16;
    if (data->hasstart) n += 28 + 12 * data->normind.size();
    n += 4 * data->cutids.size() + data->bounds.bytes();
  }
  return n;
}

// ---- heap ------------------------------------------------------------------

void nodeheap::up(int i) {
  while (i > 0) {
    int p = (i - 1) / 2;
    if (key[heap[p]] <= key[heap[i]]) break;
    std::swap(heap[p], heap[i]);
    pos[heap[p]] = p;
    pos[heap[i]] = i;
    i = p;
  }
}

void nodeheap::down(int i) {
  int n = static_cast<int>(heap.size());
  for (;;) {
    int l = 2 * i + 1, r = l + 1, m = i;
    if (l < n && key[heap[l]] < key[heap[m]]) m = l;
    if (r < n && key[heap[r]] < key[heap[m]]) m = r;
    if (m == i) break;
    std::swap(heap[m], heap[i]);
    pos[heap[m]] = m;
    pos[heap[i]] = i;
    i = m;
  }
}

void nodeheap::insert(int entry, double k) {
  if (static_cast<size_t>(entry) >= pos.size()) {
    pos.resize(entry + 1, -1);
    key.resize(entry + 1, 0.0);
  }
  key[entry] = k;
  pos[entry] = static_cast<int>(heap.size());
  heap.push_back(entry);
  up(pos[entry]);
}

void nodeheap::remove(int entry) {
  if (static_cast<size_t>(entry) >= pos.size() || pos[entry] < 0) return;
  int i = pos[entry];
  int last = heap.back();
  heap.pop_back();
  pos[entry] = -1;
  if (last == entry) return;
  heap[i] = last;
  pos[last] = i;
  up(i);
  down(pos[last]);
}

// ---- scores ----------------------------------------------------------------

double nodescore(const bbtree *t, const bbnode *nd) {
  const scorectx &c = t->ctx;
  double s;
  switch (t->nodesel) {
    case 0:
      // Newest numbered node first; unnumbered nodes come after every
      // numbered one, in creation order.
      s = nd->id >= 0 ? -static_cast<double>(nd->id) : 1e9 + nd->nodeseq;
      break;
    case 1: {
      double ri = c.rootiinf > 0 ? c.rootiinf : 1.0;
      s = nd->bound + (std::fabs(nd->bound) + 1.0) * (nd->iinf / ri) * 1e-10 * 1e-4;
      break;
    }
    default: {
      double est = nd->estinc;
      if (t->varsel != 2 && t->varsel != 4 && nd->dir != 'X') est = nd->suminf * c.degperinf;
      if (t->nodesel == 2) s = nd->baseobj + est;
      else s = (nd->baseobj - c.targetobj + est) / (1e-10 + est);
      break;
    }
  }
  return std::min(s, 1e74);
}

// ---- tree ------------------------------------------------------------------

bbtree *treecreate(env *e, int capacity, int nodesel, int varsel, double workmem,
                   double trelim, int nodefile, const char *workdir) {
  auto *t = new bbtree();
  t->envp = e;
  t->entry.reserve(capacity < 1 ? 128 : capacity);
  t->dir = workdir ? std::string(workdir).substr(0, 511) : std::string(".");
  treeupdate(e, t, nodesel, varsel, workmem, trelim, nodefile, nullptr,
             e ? e->mipparams->bbinterval : 7);
  return t;
}

void treeupdate(env *e, bbtree *t, int nodesel, int varsel, double workmem, double trelim,
                int nodefile, const char *workdir, int bbinterval) {
  if (workdir != nullptr && t->dir != workdir && e != nullptr) {
    msg(e->warnchannel, "Warning:  Cannot change node file directory during solution.\n");
    msg(e->warnchannel, "Using original directory\n");
  }
  t->workmem = workmem >= 1e69 ? workmem : workmem * 1048576.0;
  t->trelim = trelim >= 1e69 ? trelim : trelim * 1048576.0;
  t->nodefile = nodefile;
  t->bbinterval = bbinterval;
  bool changed = t->nodesel != nodesel || t->varsel != varsel;
  t->nodesel = nodesel;
  t->varsel = varsel;
  if (changed) treerekey(t);
}

void treerekey(bbtree *t) {
  t->score.clear();
  t->bound.clear();
  for (int k = 0; k < static_cast<int>(t->entry.size()); ++k) {
    bbnode *nd = t->entry[k];
    if (nd == nullptr) continue;
    t->score.insert(k, nodescore(t, nd));
    if (t->nodesel != 1) t->bound.insert(k, nd->bound);
  }
  for (nodeblock &b : t->blocks) {
    b.keys[2] = std::min(b.keys[2], 1e75);
    b.key = b.keys[t->nodesel];
  }
  std::make_heap(t->blocks.begin(), t->blocks.end(),
                 [](const nodeblock &a, const nodeblock &b) { return a.key > b.key; });
  t->blockbest = t->blocks.empty() ? 1e75 : t->blocks.front().key;
}

int treeadd(bbtree *t, bbnode *nd) {
  int k;
  if (!t->freelist.empty()) {
    k = t->freelist.back();
    t->freelist.pop_back();
    t->entry[k] = nd;
  } else {
    k = static_cast<int>(t->entry.size());
    t->entry.push_back(nd);
  }
  ++t->count;
  t->highwater = std::max(t->highwater, t->count);
  t->score.insert(k, nodescore(t, nd));
  if (t->nodesel != 1) t->bound.insert(k, nd->bound);
  t->livebytes += static_cast<double>(nd->bytes());
  return k;
}

void treedrop(bbtree *t, int k) {
  t->score.remove(k);
  t->bound.remove(k);
  t->livebytes -= static_cast<double>(t->entry[k]->bytes());
  t->entry[k] = nullptr;
  t->freelist.push_back(k);
  --t->count;
}

namespace {

// Lowest bound over the store and the blocks.
void recomputebest(bbtree *t) {
  double b = 1e75;
  if (t->nodesel == 1) {
    b = t->score.topkey();
    for (const nodeblock &bl : t->blocks) b = std::min(b, bl.keys[1]);
    // the score of mode 1 carries a tiny tie-break; the bound itself is below it
    if (!t->score.empty()) b = std::min(b, t->entry[t->score.top()]->bound);
  } else {
    b = t->bound.topkey();
    for (const nodeblock &bl : t->blocks) b = std::min(b, bl.keys[1]);
  }
  t->bestbound = b;
}

}  // namespace

int treepush(env *e, bbtree *t, bbnode *nd) {
  t->bestbound = std::min(t->bestbound, nd->bound);
  nd->nodeseq = t->nodeseq++;
  double size = static_cast<double>(nd->bytes());
  if (t->livebytes + size > t->workmem && t->nodefile >= 1 &&
      (t->count > 10 || t->livebytes > t->blocksize)) {
    int status = treewriteblock(e, t);
    if (status) return status;
  }
  treeadd(t, nd);
  return 0;
}

int treepop(env *e, bbtree *t, bbnode **out) {
  *out = nullptr;
  int k = -1;
  if (t->nodesel == 2 && !t->bound.empty() && t->bbinterval >= 1 &&
      t->picks % t->bbinterval == 0) {
    k = t->bound.top();
  } else {
    if (t->score.empty() || t->score.topkey() > t->blockbest) {
      if (!t->blocks.empty()) {
        int status = treereadblock(e, t);
        if (status) return status;
      }
      if (t->score.empty()) return 0;
    }
    k = t->score.top();
  }
  bbnode *nd = t->entry[k];
  treedrop(t, k);
  if (nd->bound <= t->bestbound) recomputebest(t);
  ++t->picks;
  *out = nd;
  return 0;
}

int treeprune(env *e, bbtree *t, double cutoff, int *status) {
  *status = 0;
  int freed = 0;
  t->ctx.cutoff = cutoff;
  for (int k = 0; k < static_cast<int>(t->entry.size()); ++k) {
    bbnode *nd = t->entry[k];
    if (nd == nullptr || !(nd->bound > cutoff)) continue;
    treedrop(t, k);
    delete nd;
    ++freed;
  }
  // Blocks whose best bound is above the cutoff go whole.
  std::vector<nodeblock> keep;
  for (nodeblock &b : t->blocks) {
    if (b.keys[1] > cutoff) {
      freed += b.nodes;
      t->nodesinblocks -= b.nodes;
      t->storedbytes -= b.storedbytes;
      t->rawbytes -= b.rawbytes;
      if (b.memdata) delete b.memdata;
      else std::remove((t->blockdir + "/vlt" + std::to_string(b.number)).c_str());
    } else {
      keep.push_back(b);
    }
  }
  t->blocks.swap(keep);
  std::make_heap(t->blocks.begin(), t->blocks.end(),
                 [](const nodeblock &a, const nodeblock &b) { return a.key > b.key; });
  t->blockbest = t->blocks.empty() ? 1e75 : t->blocks.front().key;
  recomputebest(t);
  (void)e;
  return freed;
}

void treefreelog(env *e, bbtree *t, double interval) {
  if (t == nullptr) return;
  int total = treesize(t), freed = 0, sincenote = 0;
  bool headed = false;
  double last = now(e);
  for (int k = 0; k < static_cast<int>(t->entry.size()); ++k) {
    bbnode *nd = t->entry[k];
    if (nd == nullptr) continue;
    treedrop(t, k);
    delete nd;
    ++freed;
    ++sincenote;
    if (t->display > 0 && sincenote >= 1000 && now(e) - last >= interval) {
      if (!headed) msg(e->reschannel, "Freeing branch-and-bound tree with %d nodes\n", total);
      headed = true;
      msg(e->reschannel, "%d nodes freed\n", freed);
      sincenote = 0;
      last = now(e);
    }
  }
  treefree(t);
}

void treefree(bbtree *t) {
  if (t == nullptr) return;
  for (bbnode *nd : t->entry) delete nd;
  for (nodeblock &b : t->blocks) {
    if (b.memdata) delete b.memdata;
    else std::remove((t->blockdir + "/vlt" + std::to_string(b.number)).c_str());
  }
  if (!t->blockdir.empty()) std::remove(t->blockdir.c_str());
  delete t;
}

}  // namespace velto
