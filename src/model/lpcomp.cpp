// Packing of the full model while an optimizer works on its reduced
// problem: the large arrays of the core go through the block compressor of
// the node files and come back before postsolve.  Between the two calls
// the model must not be read; its packed arrays are null.
#include "model/lpcomp.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "env/files.h"
#include "env/par.h"
#include "mip/miptree.h"
#include "model/store.h"

namespace velto {

namespace {

// Used length of a name store: the end of its furthest name, capped at
// the store's space.
size_t usedstore(char **names, int n, const char *store, size_t space) {
  size_t used = 0;
  for (int k = 0; k < n; ++k)
    if (names[k] != nullptr) used = std::max(used, static_cast<size_t>(names[k] - store) + std::strlen(names[k]) + 1);
  return std::min(used, space);
}

// Name pointers to offsets in their store and back.
void tooffsets(char **names, int n, char *store) {
  for (int k = 0; k < n; ++k)
    names[k] = names[k] ? reinterpret_cast<char *>(static_cast<uintptr_t>(names[k] - store) + 1) : nullptr;
}
void topointers(char **names, int n, char *store) {
  for (int k = 0; k < n; ++k)
    names[k] = names[k] ? store + (reinterpret_cast<uintptr_t>(names[k]) - 1) : nullptr;
}

void pack(packstate &ps, void **slot, size_t size, size_t space) {
  if (*slot == nullptr || ps.count >= kPackSlots) return;
  ps.rawbytes += static_cast<double>(size);
  ps.packedbytes += static_cast<double>(size);
  if (size == 0) return;
  std::vector<uint8_t> out;
  try {
    if (!lzcompress(static_cast<const uint8_t *>(*slot), size, out)) return;
  } catch (const std::bad_alloc &) {
    return;  // the array stays as it is
  }
  uint8_t *block = allocn<uint8_t>(out.size());
  if (block == nullptr) return;
  std::memcpy(block, out.data(), out.size());
  const int k = ps.count++;
  ps.slot[k] = slot;
  ps.size[k] = static_cast<int64_t>(size);
  ps.space[k] = static_cast<int64_t>(space);
  ps.packed[k] = block;
  ps.packedsize[k] = static_cast<int64_t>(out.size());
  release(slot);
  ps.packedbytes -= static_cast<double>(size - out.size());
}

}  // namespace

void lpcompress(env *e, lp *p, packstate &ps) {
  const double t0 = now(e);
  ps = packstate();
  lpcore *c = p->core;
  const int n = c->totcols, m = c->numrows;
  int maxend = 0;
  for (int j = 0; j < n; ++j) maxend = std::max(maxend, c->matbeg[j] + c->matcnt[j]);
  size_t colused = 0, rowused = 0;
  if (c->colname && c->colnamestore) {
    colused = usedstore(c->colname, c->numcols, c->colnamestore, c->colnamespace);
    const size_t clear = std::min<size_t>(colused + 3, c->colnamespace);
    std::memset(c->colnamestore + colused, 0, clear - colused);
    tooffsets(c->colname, c->numcols, c->colnamestore);
  }
  if (c->rowname && c->rownamestore) {
    rowused = usedstore(c->rowname, m, c->rownamestore, c->rownamespace);
    const size_t clear = std::min<size_t>(rowused + 3, c->rownamespace);
    std::memset(c->rownamestore + rowused, 0, clear - rowused);
    tooffsets(c->rowname, m, c->rownamestore);
  }
  ps.colnames = c->colname != nullptr && c->colnamestore != nullptr;
  ps.rownames = c->rowname != nullptr && c->rownamestore != nullptr;
  const size_t cs = c->colspace, rs = c->rowspace, nzs = c->nzspace;
  auto slot = [](auto *&field) { return reinterpret_cast<void **>(&field); };
  pack(ps, slot(c->lb), 8 * size_t(n), 8 * cs);
  pack(ps, slot(c->lbkind), 4 * size_t(n), 4 * cs);
  pack(ps, slot(c->ub), 8 * size_t(n), 8 * cs);
  pack(ps, slot(c->ubkind), 4 * size_t(n), 4 * cs);
  pack(ps, slot(c->obj), 8 * size_t(n), 8 * cs);
  pack(ps, slot(c->rhs), 8 * size_t(m), 8 * rs);
  if (ps.rownames) pack(ps, slot(c->rownamestore), rowused, c->rownamespace);
  if (ps.colnames) pack(ps, slot(c->colnamestore), colused, c->colnamespace);
  pack(ps, slot(c->matbeg), 4 * size_t(n), 4 * cs);
  pack(ps, slot(c->matcnt), 4 * size_t(n), 4 * cs);
  pack(ps, slot(c->matind), 4 * size_t(maxend), 4 * nzs);
  pack(ps, slot(c->matval), 8 * size_t(maxend), 8 * nzs);
  if (c->matend) {
    ps.rawbytes += 4.0 * static_cast<double>(cs);
    release(&c->matend);
  }
  if (e->params->simdisplay != 0) {
    msg(e->reschannel, "Compression time = %7.2f sec.\n", now(e) - t0);
    msg(e->reschannel, "Compression reduced %.2f MB A matrix to %.2f MB\n",
        ps.rawbytes / 1024.0 / 1024.0, ps.packedbytes / 1024.0 / 1024.0);
  }
}

int lpexpand(env *e, lp *p, packstate &ps) {
  lpcore *c = p->core;
  bool ok = true;
  for (int k = 0; k < ps.count; ++k) {
    if (!ok) {
      release(&ps.packed[k]);
      continue;
    }
    const size_t size = static_cast<size_t>(ps.size[k]);
    const size_t bytes = std::max<size_t>(static_cast<size_t>(ps.space[k]), size + 35);
    uint8_t *block = allocn<uint8_t>(bytes);
    std::vector<uint8_t> out;
    try {
      ok = block != nullptr &&
           lzexpand(ps.packed[k], static_cast<size_t>(ps.packedsize[k]), size, out);
    } catch (const std::bad_alloc &) {
      ok = false;
    }
    if (ok) {
      std::memcpy(block, out.data(), size);
      *ps.slot[k] = block;
    } else {
      release(&block);
    }
    release(&ps.packed[k]);
  }
  ps.count = 0;
  if (ok && c->matend == nullptr) {
    c->matend = allocn<int>(c->colspace);
    ok = c->matend != nullptr;
    for (int j = 0; ok && j < c->totcols; ++j) c->matend[j] = c->matbeg[j] + c->matcnt[j];
  }
  if (!ok) {
    // The model is lost: every layer goes and the problem is left empty.
    dropall(e, p);
    release(&c->colname);
    release(&c->rowname);
    c->numrows = c->numcols = c->totcols = c->allcols = c->allcols0 = 0;
    return 1027;
  }
  if (ps.colnames) topointers(c->colname, c->numcols, c->colnamestore);
  if (ps.rownames) topointers(c->rowname, c->numrows, c->rownamestore);
  return 0;
}

}  // namespace velto
