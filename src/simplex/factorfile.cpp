// Line files: many sparse lines (rows or columns) sharing one pair of arrays.
// A line owns `room` cells from `beg`; it grows in place while it has room
// and otherwise moves to the end of the file.  Moving leaves garbage that
// compaction removes; a file short of space after compaction grows by 30%.
#include <algorithm>
#include <cstring>
#include <vector>

#include "simplex/factorint.h"

namespace velto {

void lf_free(linefile *f) {
  release(&f->beg);
  release(&f->cnt);
  release(&f->room);
  release(&f->ind);
  release(&f->val);
  f->nline = 0;
  f->size = 0;
  f->used = 0;
}

int lf_alloc(linefile *f, int nline, long size, bool values) {
  if (size > kMaxFileCells) return kNoMemory;
  if (size < 16) size = 16;
  if (f->beg == nullptr || f->nline < nline) {
    release(&f->beg);
    release(&f->cnt);
    release(&f->room);
    f->beg = allocn<int>(nline);
    f->cnt = allocn<int>(nline);
    f->room = allocn<int>(nline);
    if (!f->beg || !f->cnt || !f->room) {
      lf_free(f);
      return kNoMemory;
    }
  }
  f->nline = nline;
  if (f->size < size || f->ind == nullptr || (values && f->val == nullptr)) {
    release(&f->ind);
    release(&f->val);
    f->size = 0;
    f->ind = allocn<int>(size);
    if (values) f->val = allocn<double>(size);
    if (!f->ind || (values && !f->val)) {
      lf_free(f);
      return kNoMemory;
    }
    f->size = static_cast<int>(size);
  }
  lf_clearlines(f);
  return 0;
}

void lf_clearlines(linefile *f) {
  if (f->nline > 0) {
    std::memset(f->beg, 0, sizeof(int) * f->nline);
    std::memset(f->cnt, 0, sizeof(int) * f->nline);
    std::memset(f->room, 0, sizeof(int) * f->nline);
  }
  f->used = 0;
}

void lf_compact(linefile *f) {
  std::vector<int> order;
  order.reserve(f->nline);
  for (int l = 0; l < f->nline; l++)
    if (f->room[l] > 0) order.push_back(l);
  std::sort(order.begin(), order.end(), [f](int a, int b) { return f->beg[a] < f->beg[b]; });
  int pos = 0;
  for (int l : order) {
    int b = f->beg[l], n = f->cnt[l];
    if (b != pos) {
      std::memmove(f->ind + pos, f->ind + b, sizeof(int) * n);
      if (f->val) std::memmove(f->val + pos, f->val + b, sizeof(double) * n);
    }
    f->beg[l] = pos;
    // Keep a little room, but give back what a moved line left unused.
    int keep = std::min(f->room[l], n + 4);
    f->room[l] = keep;
    pos += keep;
  }
  f->used = pos;
}

int lf_need(linefile *f, int extra, double *mul, int locked) {
  if (static_cast<long>(f->used) + extra <= f->size) return 0;
  lf_compact(f);
  long need = static_cast<long>(f->used) + extra;
  if (need <= f->size && (f->size - f->used) >= 0.2 * f->size) return 0;
  long nsize = std::max(static_cast<long>(1.3 * f->size), need + need / 10 + 16);
  if (nsize > kMaxFileCells) nsize = kMaxFileCells;
  if (nsize < need) return need <= f->size ? 0 : kNoMemory;
  int *ni = static_cast<int *>(regrow(f->ind, sizeof(int) * nsize));
  if (ni == nullptr) return need <= f->size ? 0 : kNoMemory;
  f->ind = ni;
  if (f->val) {
    double *nv = static_cast<double *>(regrow(f->val, sizeof(double) * nsize));
    if (nv == nullptr) {
      // Keep the index array at its new size; the value array limits us.
      return need <= f->size ? 0 : kNoMemory;
    }
    f->val = nv;
  }
  if (mul && !locked) *mul *= static_cast<double>(nsize) / (f->size + 1.0);
  f->size = static_cast<int>(nsize);
  return 0;
}

int lf_place(linefile *f, int line, int room, double *mul, int locked) {
  if (room < f->cnt[line]) room = f->cnt[line];
  if (static_cast<long>(f->used) + room > f->size) {
    int st = lf_need(f, room, mul, locked);
    if (st) return st;
  }
  int b = f->beg[line], n = f->cnt[line];
  if (n > 0) {
    std::memcpy(f->ind + f->used, f->ind + b, sizeof(int) * n);
    if (f->val) std::memcpy(f->val + f->used, f->val + b, sizeof(double) * n);
  }
  f->beg[line] = f->used;
  f->room[line] = room;
  f->used += room;
  return 0;
}

int lf_push(linefile *f, int line, int ind, double val, double *mul, int locked) {
  int n = f->cnt[line];
  if (n >= f->room[line]) {
    // A line at the end of the file simply extends.
    if (f->room[line] > 0 && f->beg[line] + f->room[line] == f->used && f->used < f->size) {
      f->room[line]++;
      f->used++;
    } else {
      int st = lf_place(f, line, 2 * n + 4, mul, locked);
      if (st) return st;
    }
  }
  int p = f->beg[line] + n;
  f->ind[p] = ind;
  if (f->val) f->val[p] = val;
  f->cnt[line] = n + 1;
  return 0;
}

}  // namespace velto
