// The second level of the tree: nodes serialized into blocks, compressed in
// memory or written to node files, and read back when the search needs them.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numeric>

#include "env/files.h"
#include "env/par.h"
#include "mip/miptree.h"

namespace velto {

namespace {

struct sink {
  std::vector<uint8_t> &b;
  template <class T>
  void put(T v) {
    const uint8_t *p = reinterpret_cast<const uint8_t *>(&v);
    b.insert(b.end(), p, p + sizeof(T));
  }
};

struct source {
  const uint8_t *p;
  size_t n, pos;
  bool bad = false;
  template <class T>
  T get() {
    T v{};
    if (pos + sizeof(T) > n) {
      bad = true;
      pos = n;
      return v;
    }
    std::memcpy(&v, p + pos, sizeof(T));
    pos += sizeof(T);
    return v;
  }
};

bool blockless(const nodeblock &a, const nodeblock &b) { return a.key > b.key; }

std::string blockfile(const bbtree *t, int number) {
  return t->blockdir + "/vlt" + std::to_string(number);
}

}  // namespace

// Total size (uint32), the node's fields, the packed words, and with data:
// the norms, the cut list, the bound list and the handle.
void nodeserialize(const bbnode &nd, std::vector<uint8_t> &out) {
  size_t at = out.size();
  sink s{out};
  s.put<uint32_t>(0);
  for (double v : {nd.suminf, nd.estinc, nd.baseobj, nd.bound, nd.brvalue}) s.put(v);
  s.put<int32_t>(nd.data != nullptr);
  s.put<int32_t>(static_cast<int32_t>(nd.packed.size()));
  for (int v : {nd.packedrows, nd.brvar, nd.brkind, nd.depth, nd.iinf, nd.rowcnt, nd.parent,
                nd.id, nd.nodeseq})
    s.put<int32_t>(v);
  s.put<int32_t>(static_cast<int32_t>(nd.form) | static_cast<int32_t>(nd.dir) << 8);
  for (uint32_t w : nd.packed) s.put(w);
  if (nd.data) {
    const nodedata &d = *nd.data;
    s.put<int32_t>(d.hasstart);
    s.put<int32_t>(static_cast<int32_t>(d.normind.size()));
    for (int v : d.normind) s.put<int32_t>(v);
    for (double v : d.normval) s.put(v);
    s.put<int32_t>(static_cast<int32_t>(d.cutids.size()));
    for (int v : d.cutids) s.put<int32_t>(v);
    s.put<int32_t>(d.bounds.count);
    for (int k = 0; k < d.bounds.count; ++k) s.put<int32_t>(d.bounds.index[k]);
    for (int k = 0; k < d.bounds.count; ++k) s.put<char>(d.bounds.sense[k]);
    for (int k = 0; k < d.bounds.count; ++k) s.put(d.bounds.value[k]);
    s.put<int64_t>(d.handle);
  }
  uint32_t total = static_cast<uint32_t>(out.size() - at);
  std::memcpy(out.data() + at, &total, 4);
}

bbnode *nodedeserialize(const uint8_t *buf, size_t n, size_t *pos) {
  size_t start = *pos;
  source s{buf, n, start};
  uint32_t total = s.get<uint32_t>();
  if (s.bad || total < 4 || start + total > n) return nullptr;
  s.n = start + total;
  auto *nd = new bbnode();
  nd->suminf = s.get<double>();
  nd->estinc = s.get<double>();
  nd->baseobj = s.get<double>();
  nd->bound = s.get<double>();
  nd->brvalue = s.get<double>();
  int hasdata = s.get<int32_t>();
  int32_t plen = s.get<int32_t>();
  int *fields[] = {&nd->packedrows, &nd->brvar, &nd->brkind, &nd->depth, &nd->iinf,
                   &nd->rowcnt, &nd->parent, &nd->id, &nd->nodeseq};
  for (int *f : fields) *f = s.get<int32_t>();
  int32_t fd = s.get<int32_t>();
  nd->form = static_cast<char>(fd & 0xff);
  nd->dir = static_cast<char>((fd >> 8) & 0xff);
  auto fits = [&](int64_t cnt, size_t each) {
    return cnt >= 0 && static_cast<uint64_t>(cnt) * each <= s.n - s.pos;
  };
  if (s.bad || !fits(plen, 4)) {
    delete nd;
    return nullptr;
  }
  nd->packed.resize(plen);
  for (auto &w : nd->packed) w = s.get<uint32_t>();
  if (hasdata) {
    nd->data = new nodedata();
    nodedata &d = *nd->data;
    d.hasstart = s.get<int32_t>() != 0;
    int32_t nn = s.get<int32_t>();
    if (!fits(nn, 12)) { delete nd; return nullptr; }
    d.normind.resize(nn);
    d.normval.resize(nn);
    for (int &v : d.normind) v = s.get<int32_t>();
    for (double &v : d.normval) v = s.get<double>();
    int32_t nc = s.get<int32_t>();
    if (!fits(nc, 4)) { delete nd; return nullptr; }
    d.cutids.resize(nc);
    for (int &v : d.cutids) v = s.get<int32_t>();
    int32_t nb = s.get<int32_t>();
    if (!fits(nb, 13)) { delete nd; return nullptr; }
    d.bounds.count = d.bounds.capacity = nb;
    d.bounds.index.resize(nb);
    d.bounds.sense.resize(nb);
    d.bounds.value.resize(nb);
    for (int &v : d.bounds.index) v = s.get<int32_t>();
    for (char &v : d.bounds.sense) v = s.get<char>();
    for (double &v : d.bounds.value) v = s.get<double>();
    d.handle = s.get<int64_t>();
  }
  if (s.bad || s.pos != start + total) {
    delete nd;
    return nullptr;
  }
  *pos = start + total;
  return nd;
}

int treewriteblock(env *e, bbtree *t) {
  // Live entries by ascending score; the block takes from the end.
  std::vector<int> live;
  double sum = 0.0;
  for (int k = 0; k < static_cast<int>(t->entry.size()); ++k)
    if (t->entry[k] != nullptr) {
      live.push_back(k);
      sum += static_cast<double>(t->entry[k]->bytes());
    }
  if (live.empty()) return 0;
  std::stable_sort(live.begin(), live.end(),
                   [&](int a, int b) { return t->score.key[a] < t->score.key[b]; });
  size_t n = live.size();
  double avg = sum / n;
  size_t take = static_cast<size_t>(std::max(std::min(t->blocksize / avg, n / 4.0), 1.0));
  double total = 0.0;
  size_t got = 0;
  for (size_t q = 0; q < take; ++q) {
    double sz = static_cast<double>(t->entry[live[n - 1 - q]]->bytes());
    if (got > 0 && total + sz > t->blocksize) break;
    total += sz;
    ++got;
  }
  nodeblock blk;
  std::vector<uint8_t> raw;
  for (size_t q = 0; q < got; ++q) {
    int k = live[n - 1 - q];
    bbnode *nd = t->entry[k];
    blk.keys[0] = std::min(blk.keys[0], nd->id >= 0 ? -static_cast<double>(nd->id) : 1e9 + nd->nodeseq);
    blk.keys[1] = std::min(blk.keys[1], nd->bound);
    int keep = t->nodesel;
    t->nodesel = 2;
    blk.keys[2] = std::min(blk.keys[2], nodescore(t, nd));
    t->nodesel = 3;
    blk.keys[3] = std::min(blk.keys[3], nodescore(t, nd));
    t->nodesel = keep;
    if (keep == 1) blk.keys[1] = std::min(blk.keys[1], t->score.key[k]);
    nodeserialize(*nd, raw);
    nd->id = -1;  // the memory record goes; the node lives on in the block
    treedrop(t, k);
    delete nd;
  }
  blk.number = ++t->nblocks;
  blk.nodes = static_cast<int>(got);
  blk.rawbytes = static_cast<uint32_t>(raw.size());
  blk.key = blk.keys[t->nodesel];
  std::vector<uint8_t> packed;
  std::vector<uint8_t> *stored = &raw;
  if (t->nodefile == 1 || t->nodefile == 3)
    if (lzcompress(raw.data(), raw.size(), packed)) stored = &packed;
  blk.storedbytes = static_cast<uint32_t>(stored->size());
  if (t->nodefile == 2 || t->nodefile == 3) {
    if (t->blockdir.empty()) {
      char buf[512];
      if (tempdir(e, t->dir.c_str(), "vlt", buf) != 0) return 1801;
      t->blockdir = buf;
      if (t->display != 0)
        msg(e->reschannel, "Began writing nodes to disk (directory %s created)\n", buf);
    }
    std::string name = blockfile(t, blk.number);
    FILE *fp = std::fopen(name.c_str(), "wb");
    if (fp == nullptr) return 1801;
    size_t w = std::fwrite(stored->data(), 1, stored->size(), fp);
    int rc = std::fclose(fp);
    if (w != stored->size() || rc != 0) {
      std::remove(name.c_str());
      return 1803;
    }
  } else {
    blk.memdata = new std::vector<uint8_t>(std::move(*stored));
  }
  t->nodesinblocks += blk.nodes;
  t->storedbytes += blk.storedbytes;
  t->rawbytes += blk.rawbytes;
  t->blocks.push_back(blk);
  std::push_heap(t->blocks.begin(), t->blocks.end(), blockless);
  t->blockbest = t->blocks.front().key;
  return 0;
}

int treereadblock(env *e, bbtree *t) {
  if (t->blocks.empty()) return 0;
  std::pop_heap(t->blocks.begin(), t->blocks.end(), blockless);
  nodeblock blk = t->blocks.back();
  t->blocks.pop_back();
  t->blockbest = t->blocks.empty() ? 1e75 : t->blocks.front().key;
  std::vector<uint8_t> bytes;
  if (blk.memdata != nullptr) {
    bytes.swap(*blk.memdata);
    delete blk.memdata;
  } else {
    std::string name = blockfile(t, blk.number);
    FILE *fp = std::fopen(name.c_str(), "rb");
    if (fp == nullptr) return 1801;
    bytes.resize(blk.storedbytes);
    size_t r = std::fread(bytes.data(), 1, bytes.size(), fp);
    std::fclose(fp);
    std::remove(name.c_str());
    if (r != bytes.size()) return 1802;
  }
  t->nodesinblocks -= blk.nodes;
  t->storedbytes -= blk.storedbytes;
  t->rawbytes -= blk.rawbytes;
  std::vector<uint8_t> raw;
  if (blk.rawbytes != blk.storedbytes) {
    if (!lzexpand(bytes.data(), bytes.size(), blk.rawbytes, raw)) return 1802;
  } else {
    raw.swap(bytes);
  }
  size_t pos = 0;
  while (pos < raw.size()) {
    bbnode *nd = nodedeserialize(raw.data(), raw.size(), &pos);
    if (nd == nullptr) return 1802;
    if (!(nd->bound < t->ctx.cutoff)) {
      delete nd;
      continue;
    }
    treeadd(t, nd);
  }
  (void)e;
  return 0;
}

}  // namespace velto
