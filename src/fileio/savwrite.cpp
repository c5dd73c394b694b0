// Writing the binary model file: the arranged model (range columns
// included) in the user's units, the names, the basis, the column types and
// the special ordered sets.
#include <algorithm>
#include <cstring>
#include <vector>

#include "env/files.h"
#include "env/par.h"
#include "fileio/sav.h"
#include "mip/mip.h"
#include "model/store.h"

namespace velto {

namespace {

class savout {
 public:
  explicit savout(FILE *fp) : fp_(fp) {}
  bool ok() const { return ok_; }
  void bytes(const void *p, size_t n) {
    if (ok_ && n > 0 && std::fwrite(p, 1, n, fp_) != n) ok_ = false;
  }
  void integer(int v) { bytes(&v, sizeof v); }
  template <class T>
  void array(const T *p, size_t n) { bytes(p, n * sizeof(T)); }
  // Length byte (zero included), then the text cut to 254 characters.
  void string(const char *s) {
    if (s == nullptr) {
      unsigned char z = 0;
      bytes(&z, 1);
      return;
    }
    size_t len = std::min<size_t>(std::strlen(s), 254);
    unsigned char b = static_cast<unsigned char>(len + 1);
    bytes(&b, 1);
    bytes(s, len);
    char z = 0;
    bytes(&z, 1);
  }

 private:
  FILE *fp_;
  bool ok_ = true;
};

// Bytes of a name store in use: the end of the furthest name, capped at the
// store's size.
uint32_t usedbytes(char **names, int n, const char *store, uint32_t cap) {
  if (names == nullptr || store == nullptr) return 0;
  uint64_t end = 0;
  for (int k = 0; k < n; ++k)
    if (names[k]) end = std::max<uint64_t>(end, (names[k] - store) + std::strlen(names[k]) + 1);
  return static_cast<uint32_t>(std::min<uint64_t>(end, cap));
}

void writenames(savout &out, char **names, int n, const char *store, uint32_t used) {
  if (names == nullptr) return;
  std::vector<int> off(n);
  for (int k = 0; k < n; ++k) off[k] = static_cast<int>(names[k] - store);
  out.array(off.data(), off.size());
  out.bytes(store, used);
}

}  // namespace

int savwritefile(env *e, lp *p, const char *name) {
  if (name == nullptr || name[0] == '\0') return 1421;
  const lpcore *c = p->core;
  const int n = c->numcols, m = c->numrows, t = c->totcols;
  int nz = 0;
  for (int j = 0; j < t; ++j) nz = std::max(nz, c->matbeg[j] + c->matcnt[j]);
  const bool cn = c->colname != nullptr && n > 0, rn = c->rowname != nullptr && m > 0;
  const uint32_t cbytes = cn ? usedbytes(c->colname, n, c->colnamestore, c->colnamespace) : 0;
  const uint32_t rbytes = rn ? usedbytes(c->rowname, m, c->rownamestore, c->rownamespace) : 0;
  std::vector<int> cstat, rstat;
  if (basisexists(p) && e->params->advind != 0) {
    cstat.resize(n);
    rstat.resize(m);
    int s = VLTgetbase(e, p, cstat.data(), rstat.data());
    if (s) return -s;
  }
  // The model in the user's units.
  auto cf = [c](int j) { return c->colscale ? c->colscale[j] : 1.0; };
  auto rf = [c](int i) { return c->rowscale ? c->rowscale[i] : 1.0; };
  std::vector<double> obj(t), lb(t), ub(t), rhs(m), val(c->matval, c->matval + nz), rng;
  for (int j = 0; j < t; ++j) {
    obj[j] = c->obj[j] * cf(j);
    lb[j] = c->lb[j] > -kInfThreshold ? c->lb[j] / cf(j) : c->lb[j];
    ub[j] = c->ub[j] < kInfThreshold ? c->ub[j] / cf(j) : c->ub[j];
    for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k)
      val[k] = c->matval[k] * cf(j) * rf(c->matind[k]);
  }
  for (int i = 0; i < m; ++i) rhs[i] = c->rhs[i] * rf(i);
  if (c->rngval && m > 0) {
    rng.resize(m);
    getrng_u(p, rng.data(), 0, m - 1);
  }
  FILE *fp = fileopenwrite(name, "wb", 1);
  if (fp == nullptr) return fileerror(e, 1422, name);
  savout out(fp);
  // Text header.
  out.string(kSavTag);
  out.string(nullptr);
  out.string(c->objname);
  for (int k = 0; k < 3; ++k) out.string(nullptr);
  // Fixed header.
  const int head[17] = {cstat.empty() ? 0 : 1, c->rngval ? 1 : 0, cn ? 1 : 0, rn ? 1 : 0, 0,
                        n, m, 0, c->objsen, t, m, nz, 0, 0, static_cast<int>(cbytes),
                        static_cast<int>(rbytes), 0};
  out.array(head, 17);
  // Model arrays.
  out.array(obj.data(), t);
  out.array(rhs.data(), m);
  out.array(lb.data(), t);
  out.array(ub.data(), t);
  out.array(val.data(), nz);
  out.array(c->sense, m);
  out.array(c->matbeg, t);
  out.array(c->matcnt, t);
  out.array(c->matind, nz);
  if (c->rngval) out.array(rng.data(), m);
  if (cn) writenames(out, c->colname, n, c->colnamestore, cbytes);
  if (rn) writenames(out, c->rowname, m, c->rownamestore, rbytes);
  if (!cstat.empty()) {
    out.array(cstat.data(), n);
    out.array(rstat.data(), m);
  }
  // Integer part: column types and sets (a set's priority 0 when none was
  // given).
  const sosdata *sets = c->sos != nullptr && c->sos->count > 0 ? c->sos : nullptr;
  const int nsets = sets ? sets->count : 0, members = sets ? sets->beg[nsets] : 0;
  out.integer(c->ctype ? 1 : 0);
  out.integer(sets ? 1 : 0);
  out.integer(nsets);
  out.integer(members);
  if (c->ctype) out.array(c->ctype, t);
  if (sets) {
    std::vector<int> prio(sets->priority);
    prio.resize(nsets, 0);
    out.array(sets->type.data(), nsets);
    out.array(prio.data(), nsets);
    out.array(sets->beg.data(), nsets);
    out.array(sets->ind.data(), members);
    out.array(sets->wt.data(), members);
  }
  // Quadratic part: none.
  out.integer(0);
  out.integer(0);
  // User cuts, then lazy constraints: none.
  for (int k = 0; k < 2; ++k) {
    out.integer(0);
    out.integer(0);
    out.integer(0);
  }
  const bool wrote = out.ok();
  const int closed = fileclose(name, &fp);
  if (!wrote || closed) return 1562;
  return 0;
}

}  // namespace velto

using namespace velto;

extern "C" {

int VLTsavwrite(VLTENVptr env, VLTLPptr lp, const char *filename) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    return s ? s : savwritefile(env, lp, filename);
  }));
}

}  // extern "C"
