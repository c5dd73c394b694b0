// Name sets: names in one byte store with an optional hash table, default
// names, and the copy-out protocol shared with the model's name getters.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "model/lp.h"
#include "model/store.h"

namespace velto {

namespace {
constexpr int kMaxNames = 524999999;
constexpr uint32_t kMaxStore = 2099999999u;
constexpr int kNameStep = 1000;
constexpr int kByteStep = 6000;
}  // namespace

// Chains over the entries of a set; keys are the set's names by index.
struct namehash {
  int nbuckets;
  int cap;         // entries allocated
  int *head;       // first entry of each bucket, -1 for none
  int *next, *prev;
  int *bucket;     // bucket of each entry, -1 when unused
};

uint32_t namehashvalue(const char *s, int nbuckets) {
  uint32_t h = 0;
  for (int p = 0; s[p] != '\0'; ++p) {
    int32_t ch = static_cast<signed char>(s[p]);
    h ^= static_cast<uint32_t>(ch) << (8 * (p % 4));
  }
  return h % static_cast<uint32_t>(nbuckets);
}

int bucketcount(long long expected) {
  long long b = 1023, t = 10229;
  while (expected > t && b * 7 < 525000000LL) {
    b *= 7;
    t *= 7;
  }
  return static_cast<int>(b);
}

namespace {

void hash_free(namehash **hp) {
  namehash *h = *hp;
  if (h == nullptr) return;
  release(&h->head);
  release(&h->next);
  release(&h->prev);
  release(&h->bucket);
  release(hp);
}

bool hash_reserve(namehash *h, int cap) {
  if (cap <= h->cap) return true;
  if (!growarray(h->next, cap) || !growarray(h->prev, cap) || !growarray(h->bucket, cap))
    return false;
  for (int k = h->cap; k < cap; ++k) h->bucket[k] = -1;
  h->cap = cap;
  return true;
}

namehash *hash_new(int expected, int cap) {
  namehash *h = allocnzero<namehash>(1);
  if (h == nullptr) return nullptr;
  h->nbuckets = bucketcount(expected);
  h->head = allocn<int>(h->nbuckets);
  if (h->head == nullptr || !hash_reserve(h, std::max(cap, 1))) {
    hash_free(&h);
    return nullptr;
  }
  std::fill(h->head, h->head + h->nbuckets, -1);
  return h;
}

void hash_insert(namehash *h, int idx, const char *key) {
  int b = static_cast<int>(namehashvalue(key, h->nbuckets));
  h->bucket[idx] = b;
  h->prev[idx] = -1;
  h->next[idx] = h->head[b];
  if (h->head[b] >= 0) h->prev[h->head[b]] = idx;
  h->head[b] = idx;
}

void hash_remove(namehash *h, int idx) {
  if (idx >= h->cap || h->bucket[idx] < 0) return;
  int b = h->bucket[idx];
  if (h->prev[idx] >= 0) h->next[h->prev[idx]] = h->next[idx];
  else h->head[b] = h->next[idx];
  if (h->next[idx] >= 0) h->prev[h->next[idx]] = h->prev[idx];
  h->bucket[idx] = -1;
}

void hash_rebuild(nameset *s) {
  namehash *h = s->hash;
  std::fill(h->head, h->head + h->nbuckets, -1);
  for (int k = 0; k < h->cap; ++k) h->bucket[k] = -1;
  // Insert from the back so that each chain lists lower indices first.
  for (int k = s->count - 1; k >= 0; --k) hash_insert(h, k, s->names[k]);
}

// Growth of the byte store to hold at least `want` bytes.
int growstore(nameset *s, uint64_t want) {
  if (want <= s->storecap) return 0;
  if (s->storecap >= kMaxStore || want > kMaxStore) return 1012;
  uint64_t ncap;
  if (s->mode == 1) ncap = want + static_cast<uint64_t>(s->bytestep);
  else if (want < static_cast<uint64_t>(s->bytestep)) ncap = 2 * want;
  else ncap = want + static_cast<uint64_t>(s->bytestep);
  // Never less than half again the old size, so long series stay linear.
  ncap = std::max<uint64_t>(ncap, s->storecap + s->storecap / 2);
  if (ncap >= 2100000000u) ncap = kMaxStore;
  char *old = s->store;
  char *nst = static_cast<char *>(resize(old, ncap));
  if (nst == nullptr) return kNoMemory;
  if (nst != old)
    for (int k = 0; k < s->count; ++k) s->names[k] = nst + (s->names[k] - old);
  s->store = nst;
  s->storecap = static_cast<uint32_t>(ncap);
  return 0;
}

int grownames(nameset *s, long long want) {
  if (want <= s->capacity) return 0;
  if (s->capacity >= kMaxNames || want > kMaxNames) return 1012;
  long long ncap;
  if (s->mode == 1) ncap = want + s->rowstep;
  else if (want < s->rowstep) ncap = 2 * want;
  else ncap = want + s->rowstep;
  ncap = std::max<long long>(ncap, s->capacity + s->capacity / 2LL);
  if (ncap > kMaxNames) ncap = kMaxNames;
  if (!growarray(s->names, ncap)) return kNoMemory;
  if (s->hash && !hash_reserve(s->hash, static_cast<int>(ncap))) return kNoMemory;
  s->capacity = static_cast<int>(ncap);
  // Keep the chains short: a set that outgrows its expected size gets the
  // bucket count of its new capacity.
  if (s->hash && bucketcount(ncap) > s->hash->nbuckets) {
    int nb = bucketcount(ncap);
    int *head = allocn<int>(nb);
    if (head != nullptr) {
      release(&s->hash->head);
      s->hash->head = head;
      s->hash->nbuckets = nb;
      hash_rebuild(s);
    }
  }
  return 0;
}

// Copies all live names to the front of the store, in index order.
int compact(nameset *s) {
  if (s->clean) return 0;
  uint64_t total = 0;
  for (int k = 0; k < s->count; ++k) total += std::strlen(s->names[k]) + 1;
  char *fresh = allocn<char>(std::max<uint64_t>(s->storecap, 1));
  if (fresh == nullptr) return kNoMemory;
  char *q = fresh;
  for (int k = 0; k < s->count; ++k) {
    size_t len = std::strlen(s->names[k]) + 1;
    std::memcpy(q, s->names[k], len);
    s->names[k] = q;
    q += len;
  }
  release(&s->store);
  s->store = fresh;
  s->storeused = static_cast<uint32_t>(total);
  s->clean = 1;
  return 0;
}

}  // namespace

nameset *nameset_new(int size, char prefix, int withhash, int *status) {
  *status = 0;
  if (size >= 525000000) {
    *status = 1012;
    return nullptr;
  }
  size = std::max(size, 1);
  nameset *s = allocnzero<nameset>(1);
  if (s == nullptr) {
    *status = kNoMemory;
    return nullptr;
  }
  s->clean = 1;
  s->rowstep = kNameStep;
  s->bytestep = kByteStep;
  s->capacity = size;
  s->storecap = static_cast<uint32_t>(std::min<uint64_t>(std::max<uint64_t>(17ull * size, 6), kMaxStore));
  s->prefix = prefix;
  s->mode = 1;
  s->firstdefault = -1;
  s->names = allocn<char *>(s->capacity);
  s->store = allocn<char>(s->storecap);
  if (withhash) s->hash = hash_new(size, size);
  if (!s->names || !s->store || (withhash && !s->hash)) {
    nameset_free(&s);
    *status = kNoMemory;
  }
  return s;
}

void nameset_free(nameset **set) {
  nameset *s = *set;
  if (s == nullptr) return;
  hash_free(&s->hash);
  release(&s->names);
  release(&s->store);
  release(set);
}

void nameset_clear(nameset *s) {
  s->count = 0;
  s->storeused = 0;
  s->clean = 1;
  s->firstdefault = -1;
  if (s->hash) hash_rebuild(s);
}

void nameset_truncate(nameset *s, int n) {
  if (n < 0 || n >= s->count) return;
  if (s->hash)
    for (int k = n; k < s->count; ++k) hash_remove(s->hash, k);
  s->count = n;
  uint32_t used = 0;
  for (int k = 0; k < n; ++k)
    used = std::max<uint32_t>(used, static_cast<uint32_t>(s->names[k] - s->store +
                                                          std::strlen(s->names[k]) + 1));
  s->storeused = used;
  if (s->firstdefault >= n) s->firstdefault = -1;
}

const char *nameset_name(const nameset *s, int i) {
  if (s == nullptr || i < 0 || i >= s->count) return nullptr;
  return s->names[i];
}

int nameset_find(const nameset *s, const char *name) {
  if (s == nullptr || name == nullptr) return -1;
  if (s->hash) {
    const namehash *h = s->hash;
    for (int k = h->head[namehashvalue(name, h->nbuckets)]; k >= 0; k = h->next[k])
      if (std::strcmp(s->names[k], name) == 0) return k;
    return -1;
  }
  for (int k = s->count - 1; k >= 0; --k)
    if (std::strcmp(s->names[k], name) == 0) return k;
  return -1;
}

int nameset_buckets(const nameset *s) { return s->hash ? s->hash->nbuckets : 0; }

int nameset_add(nameset *s, int n, const char *const *names) {
  if (n <= 0) return 0;
  uint64_t bytes = 0;
  for (int k = 0; k < n; ++k) {
    const char *nm = names ? names[k] : nullptr;
    bytes += (nm && nm[0]) ? std::strlen(nm) + 1 : 13;  // prefix, 10 digits, zero
  }
  int status = grownames(s, static_cast<long long>(s->count) + n);
  if (status == 0) status = growstore(s, s->storeused + bytes);
  if (status) return status;
  for (int k = 0; k < n; ++k) {
    const char *nm = names ? names[k] : nullptr;
    char *q = s->store + s->storeused;
    int idx = s->count;
    size_t len;
    if (nm && nm[0]) {
      len = std::strlen(nm) + 1;
      std::memcpy(q, nm, len);
    } else {
      len = static_cast<size_t>(std::snprintf(q, 13, "%c%d", s->prefix, idx + 1)) + 1;
      if (s->firstdefault < 0) s->firstdefault = idx;
    }
    s->names[idx] = q;
    s->storeused += static_cast<uint32_t>(len);
    s->count = idx + 1;
    if (s->hash) hash_insert(s->hash, idx, q);
  }
  return 0;
}

int nameset_findadd(nameset *s, const char *name, int *status) {
  *status = 0;
  int k = nameset_find(s, name);
  if (k >= 0) return k;
  const char *one[1] = {name};
  *status = nameset_add(s, 1, one);
  return *status ? -1 : s->count - 1;
}

int nameset_delete(nameset *s, int *flags) {
  int out = 0;
  char *q = s->store;
  // Live names move down in index order; a forward copy never overtakes.
  if (!s->clean) {
    int status = compact(s);
    if (status) return status;
    q = s->store;
  }
  for (int k = 0; k < s->count; ++k) {
    if (flags[k] == 1) {
      flags[k] = -1;
      continue;
    }
    size_t len = std::strlen(s->names[k]) + 1;
    std::memmove(q, s->names[k], len);
    s->names[out] = q;
    q += len;
    flags[k] = out++;
  }
  s->count = out;
  s->storeused = static_cast<uint32_t>(q - s->store);
  if (s->firstdefault >= out) s->firstdefault = -1;
  if (s->hash) hash_rebuild(s);
  return 0;
}

int nameset_replace(nameset *s, int n, const int *indices, const char *const *names) {
  if (n <= 0) return 0;
  if (indices == nullptr || names == nullptr) return kNullPointer;
  uint64_t bytes = 0;
  for (int k = 0; k < n; ++k) {
    if (indices[k] < 0 || indices[k] >= s->count) return kIndexRange;
    if (names[k] == nullptr) return kNullPointer;
    bytes += std::strlen(names[k]) + 1;
  }
  if (s->storeused + bytes > s->storecap) {
    int status = compact(s);
    if (status == 0) status = growstore(s, s->storeused + bytes);
    if (status) return status;
  }
  for (int k = 0; k < n; ++k) {
    int i = indices[k];
    size_t len = std::strlen(names[k]) + 1;
    char *q = s->store + s->storeused;
    std::memcpy(q, names[k], len);
    if (s->hash) hash_remove(s->hash, i);
    s->names[i] = q;
    s->storeused += static_cast<uint32_t>(len);
    s->clean = 0;
    if (s->hash) hash_insert(s->hash, i, q);
  }
  return 0;
}

int copynames(char *const *src, int begin, int end, char **names, char *store, int space,
              int *surplus) {
  if (surplus) *surplus = 0;
  if (end < begin) return 0;
  long long total = 0;
  for (int k = begin; k <= end; ++k) total += static_cast<long long>(std::strlen(src[k])) + 1;
  if (space <= 0) {
    if (surplus == nullptr) return total > 0 ? kNullPointer : 0;
    *surplus = static_cast<int>(-total);
    if (names)
      for (int k = begin; k <= end; ++k) names[k - begin] = nullptr;
    return total > 0 ? 1207 : 0;
  }
  if (names == nullptr || store == nullptr) return kNullPointer;
  long long used = 0;
  for (int k = begin; k <= end; ++k) {
    long long len = static_cast<long long>(std::strlen(src[k])) + 1;
    if (used + len > space) {
      names[k - begin] = nullptr;
      used = space + 1;  // nothing more fits in order
      continue;
    }
    std::memcpy(store + used, src[k], static_cast<size_t>(len));
    names[k - begin] = store + used;
    used += len;
  }
  long long sur = static_cast<long long>(space) - total;
  if (surplus) *surplus = static_cast<int>(std::max<long long>(sur, -2100000000LL));
  return sur < 0 ? 1207 : 0;
}

int nameset_copyout(const nameset *s, char **names, char *store, int space, int *surplus,
                    int begin, int end) {
  if (begin < 0 || end >= s->count) return kIndexRange;
  return copynames(s->names, begin, end, names, store, space, surplus);
}

// ---- names of a model ---------------------------------------------------------------------

const char *colnameof(env *e, char **names, int n, int j) {
  if (j < 0 || j >= n) return "";
  if (names) return names[j];
  if (e->colnamefn) {
    const char *s = reinterpret_cast<VLTNAMEFUNC>(e->colnamefn)(e->namehandle, j);
    return s ? s : "";
  }
  std::snprintf(e->coldefname, sizeof e->coldefname, "x%d", j + 1);
  return e->coldefname;
}

const char *rownameof(env *e, char **names, int n, int i) {
  if (i < 0 || i >= n) return "";
  if (names) return names[i];
  if (e->rownamefn) {
    const char *s = reinterpret_cast<VLTNAMEFUNC>(e->rownamefn)(e->namehandle, i);
    return s ? s : "";
  }
  std::snprintf(e->rowdefname, sizeof e->rowdefname, "c%d", i + 1);
  return e->rowdefname;
}

namespace {

// Default names prefix+(k+1) for k = 0..count-1, all with one stride, into a
// pointer array of `cap` entries and a store.
int makedefaults(int count, int cap, char prefix, char ***names_p, char **store_p,
                 uint32_t *space_p) {
  int digits = 1;
  for (long long v = count; v >= 10; v /= 10) ++digits;
  uint64_t stride = static_cast<uint64_t>(digits) + 2;
  uint64_t size = (stride * static_cast<uint64_t>(std::max(count, 1)) + 3) & ~3ull;
  if (size >= kMaxStore) return 1012;
  char **names = allocnzero<char *>(cap);
  char *store = allocn<char>(size);
  if (names == nullptr || store == nullptr) {
    release(&names);
    release(&store);
    return kNoMemory;
  }
  for (int k = 0; k < count; ++k) {
    char *q = store + stride * k;
    std::snprintf(q, stride, "%c%d", prefix, k + 1);
    names[k] = q;
  }
  *names_p = names;
  *store_p = store;
  *space_p = static_cast<uint32_t>(size);
  return 0;
}

}  // namespace

int makecolnames(env *, lp *p) {
  lpcore *c = p->core;
  if (c->colname) return 0;
  release(&c->colnamestore);
  return makedefaults(c->numcols, c->colspace, 'x', &c->colname, &c->colnamestore,
                      &c->colnamespace);
}

int makerownames(env *, lp *p) {
  lpcore *c = p->core;
  if (c->rowname) return 0;
  release(&c->rownamestore);
  return makedefaults(c->numrows, c->rowspace, 'c', &c->rowname, &c->rownamestore,
                      &c->rownamespace);
}

}  // namespace velto
