// Parameter registry: registration of the table at open, lookup by number
// and by name, defaults.  The exported calls are in uset.cpp.
#include "env/par.h"

#include <cstddef>
#include <cstring>
#include <iterator>

#include "env/thread.h"

namespace velto {

namespace {

// Number ranges in order of registration.
struct grouprange {
  int first, last;
};
constexpr grouprange kGroupRanges[kParamGroups] = {
    {1001, 1080},  // general
    {2000, 2064},  // mixed-integer
    {3001, 3024},  // barrier
    {5001, 5005},  // network
    {4001, 4010},  // quadratic
};

// Every row's number lies in one group and appears once.
constexpr int kParamNumbers[] = {
#define VLTPAR(num, kind, def, lo, hi, hidden, blk, field) num,
#include "env/param.def"
#undef VLTPAR
};
constexpr bool numbersvalid() {
  for (size_t i = 0; i < std::size(kParamNumbers); ++i) {
    bool ingroup = false;
    for (const grouprange &g : kGroupRanges)
      if (kParamNumbers[i] >= g.first && kParamNumbers[i] <= g.last) ingroup = true;
    if (!ingroup) return false;
    for (size_t j = 0; j < i; ++j)
      if (kParamNumbers[i] == kParamNumbers[j]) return false;
  }
  return true;
}
static_assert(numbersvalid(), "parameter numbers must be unique and inside their groups");

int opengroup(paramdir *dir, int first, int last) {
  paramgroup &g = dir->group[dir->groupcount];
  g.desc = allocnzero<paramdesc>(static_cast<size_t>(last - first + 1));
  if (g.desc == nullptr) return kNoMemory;
  g.first = first;
  g.last = last;
  for (int k = 0; k <= last - first; ++k) {
    g.desc[k].number = first + k;
    g.desc[k].name = "";
    g.desc[k].strdefault = "";
  }
  ++dir->groupcount;
  return 0;
}

paramdesc *slot(paramdir *dir, int number) {
  for (int i = 0; i < dir->groupcount; ++i) {
    paramgroup &g = dir->group[i];
    if (number >= g.first && number <= g.last) return &g.desc[number - g.first];
  }
  return nullptr;
}

// The three registration operations.  A number outside every group or
// registered twice is a fault of the table, caught by the tests.
paramdesc *regcommon(paramdir *dir, int number, const char *name, int hidden, void *field, int kind) {
  paramdesc *d = slot(dir, number);
  if (d == nullptr || d->kind != kParUnused) return nullptr;
  d->kind = kind;
  d->name = hidden ? "" : name;
  d->hidden = hidden;
  d->value = field;
  return d;
}

void regint(paramdir *dir, int number, const char *name, int def, int lo, int hi, int hidden, int *field) {
  paramdesc *d = regcommon(dir, number, name, hidden, field, kParInt);
  if (d == nullptr) return;
  d->intdefault = def;
  d->intmin = lo;
  d->intmax = hi;
}

void regdbl(paramdir *dir, int number, const char *name, double def, double lo, double hi, int hidden,
            double *field) {
  paramdesc *d = regcommon(dir, number, name, hidden, field, kParDbl);
  if (d == nullptr) return;
  d->dbldefault = def;
  d->dblmin = lo;
  d->dblmax = hi;
}

void regstr(paramdir *dir, int number, const char *name, const char *def, int hidden, char *field) {
  paramdesc *d = regcommon(dir, number, name, hidden, field, kParStr);
  if (d == nullptr) return;
  d->strdefault = def;
}

// Enters every named parameter in the name hash.
int buildnamehash(paramdir *dir) {
  int n = 0;
  for (int i = 0; i < dir->groupcount; ++i)
    for (int k = 0; k <= dir->group[i].last - dir->group[i].first; ++k) {
      const paramdesc &d = dir->group[i].desc[k];
      if (d.kind != kParUnused && !d.hidden && d.name[0] != '\0') ++n;
    }
  dir->bucket = allocn<int>(kParamHashBuckets);
  dir->hashnext = allocn<int>(static_cast<size_t>(n));
  dir->named = allocn<paramdesc *>(static_cast<size_t>(n));
  if (dir->bucket == nullptr || dir->hashnext == nullptr || dir->named == nullptr) return kNoMemory;
  for (int b = 0; b < kParamHashBuckets; ++b) dir->bucket[b] = -1;
  dir->namedcount = 0;
  for (int i = 0; i < dir->groupcount; ++i)
    for (int k = 0; k <= dir->group[i].last - dir->group[i].first; ++k) {
      paramdesc *d = &dir->group[i].desc[k];
      if (d->kind == kParUnused || d->hidden || d->name[0] == '\0') continue;
      int idx = dir->namedcount++;
      unsigned b = paramhash(d->name, kParamHashBuckets);
      dir->named[idx] = d;
      dir->hashnext[idx] = dir->bucket[b];
      dir->bucket[b] = idx;
    }
  return 0;
}

}  // namespace

unsigned paramhash(const char *name, unsigned buckets) {
  unsigned h = 0;
  for (unsigned p = 0; name[p] != '\0'; ++p) {
    int c = static_cast<signed char>(name[p]);
    h ^= static_cast<unsigned>(c) << (8 * (p % 4));
  }
  return h % buckets;
}

paramdesc *paramfind(const env *e, int number) {
  paramdesc *d = slot(e->paramdir, number);
  return (d != nullptr && d->kind != kParUnused) ? d : nullptr;
}

paramdesc *paramfindname(const env *e, const char *name) {
  const paramdir *dir = e->paramdir;
  if (dir->bucket == nullptr) return nullptr;
  for (int i = dir->bucket[paramhash(name, kParamHashBuckets)]; i >= 0; i = dir->hashnext[i])
    if (std::strcmp(dir->named[i]->name, name) == 0) return dir->named[i];
  return nullptr;
}

void paramdefaults(env *e) {
  paramdir *dir = e->paramdir;
  for (int i = 0; i < dir->groupcount; ++i)
    for (int k = 0; k <= dir->group[i].last - dir->group[i].first; ++k) {
      const paramdesc &d = dir->group[i].desc[k];
      switch (d.kind) {
        case kParInt: *static_cast<int *>(d.value) = d.intdefault; break;
        case kParDbl: *static_cast<double *>(d.value) = d.dbldefault; break;
        case kParStr: {
          char *f = static_cast<char *>(d.value);
          std::strncpy(f, d.strdefault, kStrParamSize - 1);
          f[kStrParamSize - 1] = '\0';
          break;
        }
        default: break;
      }
    }
}

int paraminit(env *e) {
  e->params = allocnzero<parblock>(1);
  e->mipparams = allocnzero<mipparblock>(1);
  e->barparams = allocnzero<barparblock>(1);
  e->qpparams = allocnzero<qpparblock>(1);
  e->netparams = allocnzero<netparblock>(1);
  e->paramdir = allocnzero<paramdir>(1);
  if (!e->params || !e->mipparams || !e->barparams || !e->qpparams || !e->netparams || !e->paramdir)
    return kNoMemory;
  paramdir *dir = e->paramdir;
  for (const grouprange &g : kGroupRanges)
    if (opengroup(dir, g.first, g.last) != 0) return kNoMemory;

  // The upper bound of the thread parameters.
  const int limit = cpucap(e->threadlimit > 0 ? e->threadlimit : kThreadLimit);
  parblock *params = e->params;
  mipparblock *mipparams = e->mipparams;
  barparblock *barparams = e->barparams;
  qpparblock *qpparams = e->qpparams;
  netparblock *netparams = e->netparams;
#define VLTPAR_LIMIT limit
#define VLTPAR_REG_INT(num, name, def, lo, hi, hidden, field) \
  regint(dir, num, name, def, lo, hi, hidden, &field);
#define VLTPAR_REG_DBL(num, name, def, lo, hi, hidden, field) \
  regdbl(dir, num, name, def, lo, hi, hidden, &field);
#define VLTPAR_REG_STR(num, name, def, lo, hi, hidden, field) \
  regstr(dir, num, name, def, hidden, field);
#define VLTPAR(num, kind, def, lo, hi, hidden, blk, field) \
  VLTPAR_REG_##kind(num, #num, def, lo, hi, hidden, blk->field)
#include "env/param.def"
#undef VLTPAR
#undef VLTPAR_REG_INT
#undef VLTPAR_REG_DBL
#undef VLTPAR_REG_STR
#undef VLTPAR_LIMIT
  (void)params;
  (void)mipparams;
  (void)barparams;
  (void)qpparams;
  (void)netparams;

  if (buildnamehash(dir) != 0) return kNoMemory;
  e->params->logfile = nullptr;
  paramdefaults(e);
  return 0;
}

void paramfree(env *e) {
  if (e->paramdir != nullptr) {
    paramdir *dir = e->paramdir;
    for (int i = 0; i < dir->groupcount; ++i) release(&dir->group[i].desc);
    release(&dir->bucket);
    release(&dir->hashnext);
    release(&dir->named);
  }
  release(&e->params);
  release(&e->mipparams);
  release(&e->barparams);
  release(&e->qpparams);
  release(&e->netparams);
  release(&e->paramdir);
}

int getscrind(const env *e) { return e->params->scrind; }
FILE *getlogfile(const env *e) { return e->params->logfile; }
void setlogfileptr(env *e, FILE *fp) { e->params->logfile = fp; }
int getpredisp(const env *e) { return e->params->predisp; }

}  // namespace velto
