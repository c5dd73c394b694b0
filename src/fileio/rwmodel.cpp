// Choice of a model format by name or type, and the hand-over between a
// problem object and the plain arrays of the readers and writers.
#include <algorithm>
#include <new>
#include <string>

#include "env/files.h"
#include "fileio/rwutil.h"
#include "fileio/sav.h"
#include "mip/mip.h"
#include "model/store.h"

namespace velto {

namespace {

enum filekind { kKindNone, kKindLP, kKindMPS, kKindPAR, kKindSAV, kKindRMP, kKindRLP };

filekind kindoftype(const char *type) {
  if (ciprefix("LP", type)) return kKindLP;
  if (ciprefix("MPS", type)) return kKindMPS;
  if (ciprefix("PAR", type)) return kKindPAR;
  if (ciprefix("SAV", type)) return kKindSAV;
  return kKindNone;
}

filekind kindofname(const char *name) {
  struct sfx {
    const char *s;
    filekind k;
  };
  static const sfx kSuffixes[] = {
      {".LP", kKindLP},       {".MPS", kKindMPS},     {".PAR", kKindPAR},   {".QPS", kKindMPS},
      {".SAV", kKindSAV},     {".LP.GZ", kKindLP},    {".LP.Z", kKindLP},   {".MPS.GZ", kKindMPS},
      {".MPS.Z", kKindMPS},   {".PAR.GZ", kKindPAR},  {".PAR.Z", kKindPAR}, {".QPS.GZ", kKindMPS},
      {".QPS.Z", kKindMPS},   {".SAV.GZ", kKindSAV},  {".SAV.Z", kKindSAV}};
  for (const sfx &s : kSuffixes)
    if (cisuffix(s.s, name)) return s.k;
  return kKindNone;
}

// Decides by the first byte of the file.
int sniff(env *e, const char *name, filekind *kind) {
  int status = 0;
  FILE *fp = fileopenread(e, name, "rb", "", 1, 0, &status);
  if (fp == nullptr) return status;
  fileguard guard{name, &fp};
  int c = std::fgetc(fp);
  *kind = kKindNone;
  if (c == EOF) {
    *kind = kKindNone;
  } else if (c == 10) {
    char more[10];
    size_t got = std::fread(more, 1, sizeof more, fp);
    *kind = (got == 10 && std::memcmp(more, "VELTO", 5) == 0) ? kKindSAV : kKindLP;
  } else if (c < 32) {
    *kind = kKindSAV;
  } else if (c == '*' || c == 'N' || c == 'n') {
    *kind = kKindMPS;
  } else if (c == '\\' || c == 'M' || c == 'm' || c == ' ') {
    *kind = kKindLP;
  }
  fileclose(name, &fp);
  return 0;
}

void sosextract(const sosdata &s, filemodel &m) {
  m.sostype = s.type;
  m.sosbeg.assign(s.beg.begin(), s.beg.begin() + s.count);
  m.sosind = s.ind;
  m.soswt = s.wt;
}

template <class T>
T *copyout(const std::vector<T> &v) {
  T *p = allocn<T>(v.size());
  if (p != nullptr && !v.empty()) std::memcpy(p, v.data(), v.size() * sizeof(T));
  return p;
}

char *copytext(const std::string &s) {
  char *p = allocn<char>(s.size() + 1);
  if (p != nullptr) std::memcpy(p, s.c_str(), s.size() + 1);
  return p;
}

// Names of a store as an owned pointer array and text block.
bool copynames(const namestore &s, char ***names, char **store) {
  *store = copyout(s.text);
  *names = allocn<char *>(s.size());
  if (*store == nullptr || *names == nullptr) return false;
  for (int i = 0; i < s.size(); ++i) (*names)[i] = *store + s.off[i];
  return true;
}

// Moves a model into a problem; the problem is only touched if all arrays
// could be made.
int handover(env *e, lp *p, filemodel &m, const char *filename) {
  if (!m.qval.empty()) {
    msg(e->errchannel, "File '%s' holds quadratic objective terms, which cannot be loaded.\n",
        filename);
    return 1018;
  }
  // Exact zeros are not stored.
  int nz = 0;
  for (int j = 0; j < m.numcols; ++j) {
    int b = m.matbeg[j], cnt = m.matcnt[j];
    m.matbeg[j] = nz;
    for (int k = b; k < b + cnt; ++k)
      if (m.matval[k] != 0.0) {
        m.matind[nz] = m.matind[k];
        m.matval[nz++] = m.matval[k];
      }
    m.matcnt[j] = nz - m.matbeg[j];
  }
  m.matind.resize(nz);
  m.matval.resize(nz);
  lpload d{};
  d.probname = copytext(filename);
  d.numcols = m.numcols;
  d.numrows = m.numrows;
  d.objsen = m.objsen;
  d.obj = copyout(m.obj);
  d.rhs = copyout(m.rhs);
  d.sense = copyout(m.sense);
  d.matbeg = copyout(m.matbeg);
  d.matcnt = copyout(m.matcnt);
  d.matind = copyout(m.matind);
  d.matval = copyout(m.matval);
  d.lb = copyout(m.lb);
  d.ub = copyout(m.ub);
  bool ok = d.probname && d.obj && d.rhs && d.sense && d.matbeg && d.matcnt && d.matind &&
            d.matval && d.lb && d.ub;
  if (ok && !m.rngval.empty()) ok = (d.rngval = copyout(m.rngval)) != nullptr;
  if (ok && !m.ctype.empty()) ok = (d.ctype = copyout(m.ctype)) != nullptr;
  if (ok && m.colnames.size() == m.numcols && m.numcols > 0)
    ok = copynames(m.colnames, &d.colname, &d.colnamestore);
  if (ok && m.rownames.size() == m.numrows && m.numrows > 0)
    ok = copynames(m.rownames, &d.rowname, &d.rownamestore);
  if (ok && !m.objname.empty()) ok = (d.objname = copytext(m.objname)) != nullptr;
  if (!ok) {
    lpload_free(&d);
    return kNoMemory;
  }
  int status = loadowned(e, p, &d);
  if (status == 0 && !m.sostype.empty()) {
    // The set's members in file order; the copy sorts them by weight.
    std::vector<int> beg(m.sosbeg);
    status = VLTcopysos(e, p, static_cast<int>(m.sostype.size()),
                        static_cast<int>(m.sosind.size()), m.sostype.data(),
                        m.sospri.empty() ? nullptr : m.sospri.data(), beg.data(),
                        m.sosind.data(), m.soswt.data());
    if (status) status = -status;  // printed by the copy
  }
  return status;
}

}  // namespace

int loadfilemodel(env *e, lp *p, filemodel &m, const char *filename) {
  return handover(e, p, m, filename);
}

// Plain arrays of a problem, in the user's units.
void extract(lp *p, filemodel &m, bool withnames) {
  lpcore *c = p->core;
  int n = c->numcols, r = c->numrows;
  m.probname = c->probname ? c->probname : "";
  m.objname = (withnames && c->objname) ? c->objname : "";
  m.objsen = c->objsen;
  m.numcols = n;
  m.numrows = r;
  m.obj.resize(n);
  m.lb.resize(n);
  m.ub.resize(n);
  m.rhs.resize(r);
  m.sense.assign(c->sense, c->sense + r);
  if (n > 0) {
    getobj_u(p, m.obj.data(), 0, n - 1);
    getlb_u(p, m.lb.data(), 0, n - 1);
    getub_u(p, m.ub.data(), 0, n - 1);
  }
  if (r > 0) getrhs_u(p, m.rhs.data(), 0, r - 1);
  if (c->rngval != nullptr && r > 0) {
    m.rngval.resize(r);
    getrng_u(p, m.rngval.data(), 0, r - 1);
  }
  if (c->ctype != nullptr) m.ctype.assign(c->ctype, c->ctype + n);
  if (c->sos != nullptr) sosextract(*c->sos, m);
  m.matbeg.resize(n);
  m.matcnt.resize(n);
  for (int j = 0; j < n; ++j) {
    m.matbeg[j] = static_cast<int>(m.matind.size());
    for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k) {
      m.matind.push_back(c->matind[k]);
      m.matval.push_back(matval_u(p, k, j));
    }
    m.matcnt[j] = static_cast<int>(m.matind.size()) - m.matbeg[j];
  }
  if (withnames && c->colname != nullptr)
    for (int j = 0; j < n; ++j) m.colnames.add(c->colname[j] ? c->colname[j] : "");
  if (withnames && c->rowname != nullptr)
    for (int i = 0; i < r; ++i) m.rownames.add(c->rowname[i] ? c->rowname[i] : "");
}

namespace {

int readcopy(env *e, lp *p, const char *name, const char *type) {
  filekind kind = kKindNone;
  if (type != nullptr) {
    kind = kindoftype(type);
    if (kind == kKindNone) return 1424;
  } else {
    kind = kindofname(name);
    if (kind == kKindNone) {
      int status = sniff(e, name, &kind);
      if (status) return status;
      if (kind == kKindNone) return 1424;
    }
  }
  if (isview(p)) return 1023;
  filemodel m;
  int status;
  if (kind == kKindMPS)
    status = mpsreadfile(e, name, m);
  else if (kind == kKindLP)
    status = lpreadfile(e, name, m);
  else if (kind == kKindSAV)
    return savreadcopy(e, p, name);
  else if (kind == kKindPAR)
    status = parreadfile(e, name, m);
  else
    return 1424;
  if (status) return status;
  return handover(e, p, m, name);
}

// The exported readers that hand a model to the caller as arrays.  A null
// group of out pointers means the caller doesn't take that part: integer
// declarations and quadratic terms are then dropped with a line each.  With
// `rim` the MPS reader keeps every RHS, RANGES and BOUNDS set.
int readout(env *e, const char *name, filekind kind, const modelout &o,
            const mipout *mip = nullptr, const quadout *quad = nullptr,
            const rimout *rim = nullptr) {
  int status = modelout_check(o);
  if (status == 0 && mip) status = mipout_check(*mip);
  if (status == 0 && quad) status = quadout_check(*quad);
  if (status == 0 && rim) status = rimout_check(*rim);
  if (status) return status;
  filemodel m;
  m.rimread = rim != nullptr;
  const bool fromstdin = kind == kKindLP && (name == nullptr || name[0] == '\0');
  if (!fromstdin && (name == nullptr || name[0] == '\0')) return 1421;
  if (fromstdin) status = lpreadfp(e, stdin, m);
  else if (kind == kKindMPS) status = mpsreadfile(e, name, m);
  else if (kind == kKindLP) status = lpreadfile(e, name, m);
  else status = parreadfile(e, name, m);
  if (status) return status;
  const char *shown = fromstdin ? "<stdin>" : name;
  if (kind != kKindPAR) {
    if (!quad && !m.qval.empty())
      msg(e->warnchannel, "Problem %s contains quadratic objective coefficients, ignored.\n", shown);
    bool integer = !m.sostype.empty();
    for (char t : m.ctype) integer |= t != 'C';
    if (!mip && integer)
      msg(e->warnchannel, "Problem %s contains integer variable declarations, ignored.\n", shown);
  }
  // The rim space is tested before anything is allocated.
  if (rim && (status = rimout_fill(m, *rim)) != 0) return status;
  status = modelout_fill(m, o);
  if (status == 0 && mip && (status = mipout_fill(m, *mip)) != 0) modelout_free(o);
  if (status == 0 && quad && (status = quadout_fill(m, *quad)) != 0) {
    modelout_free(o);
    if (mip) mipout_free(*mip);
  }
  if (status && rim) rimout_free(*rim);
  return status;
}

// Frame of the array readers: every out pointer cleared first.
int kinread(env *e, const char *name, filekind kind, const modelout &o, const mipout *mip,
            const quadout *quad, const rimout *rim) {
  if (!checkenv(e)) return kNoEnvironment;
  modelout_clear(o);
  if (mip) mipout_clear(*mip);
  if (quad) quadout_clear(*quad);
  if (rim) rimout_clear(*rim);
  return finish(e, guarded([&] { return readout(e, name, kind, o, mip, quad, rim); }));
}

int writeas(env *e, lp *p, const char *name, filekind kind) {
  if (kind == kKindSAV) return savwritefile(e, p, name);
  if (kind == kKindNone || kind == kKindPAR) return 1424;
  filemodel m;
  bool generic = kind == kKindRMP || kind == kKindRLP;
  extract(p, m, !generic);
  if (kind == kKindMPS || kind == kKindRMP) return mpswritefile(e, name, m);
  return lpwritefile(e, name, m);
}

filekind writekind(const char *name, const char *type, int *status) {
  std::string t;
  if (type != nullptr) {
    t = type;
  } else {
    std::string s(name);
    if (iscompressed(name)) s = s.substr(0, s.rfind('.'));
    size_t dot = s.rfind('.');
    if (dot == std::string::npos) {
      *status = 1424;
      return kKindNone;
    }
    t = s.substr(dot + 1);
  }
  if (t.size() > 3) {
    *status = 1424;
    return kKindNone;
  }
  const char *tt = t.c_str();
  if (ciprefix("MPS", tt)) return kKindMPS;
  if (ciprefix("RMP", tt) || ciprefix("REW", tt)) return kKindRMP;
  if (ciprefix("LP", tt)) return kKindLP;
  if (ciprefix("RLP", tt)) return kKindRLP;
  if (ciprefix("SAV", tt)) return kKindSAV;
  *status = 1424;
  return kKindNone;
}

// Common frame of the writers: handle tests, the change cache, the name.
int writeframe(env *e, lp *p, const char *name, filekind kind, const char *type) {
  int status = 0;
  if (!checkenv(e)) return kNoEnvironment;
  if (!checklp(e, p)) {
    status = kNoProblem;
  } else {
    try {
      status = cache_flush(e, p);
      if (status == 0 && (name == nullptr || name[0] == '\0')) status = 1421;
      if (status == 0 && kind == kKindNone) kind = writekind(name, type, &status);
      if (status == 0) status = writeas(e, p, name, kind);
    } catch (const std::bad_alloc &) {
      status = kNoMemory;
    }
  }
  if (status) report(e, &status);
  return status;
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTreadcopyprob(VLTENVptr env, VLTLPptr lp, const char *filename, const char *filetype) {
  int status = 0;
  if (!checkenv(env)) return kNoEnvironment;
  if (!checklp(env, lp)) {
    status = kNoProblem;
  } else if (filename == nullptr || filename[0] == '\0') {
    status = 1421;
  } else {
    try {
      status = readcopy(env, lp, filename, filetype);
    } catch (const std::bad_alloc &) {
      status = kNoMemory;
    }
  }
  if (status) report(env, &status);
  return status;
}

int VLTwriteprob(VLTENVptr env, VLTLPptr lp, const char *filename, const char *filetype) {
  return writeframe(env, lp, filename, kKindNone, filetype);
}

int VLTmpswrite(VLTENVptr env, VLTLPptr lp, const char *filename) {
  return writeframe(env, lp, filename, kKindMPS, nullptr);
}

int VLTmpsrewrite(VLTENVptr env, VLTLPptr lp, const char *filename) {
  return writeframe(env, lp, filename, kKindRMP, nullptr);
}

int VLTlpwrite(VLTENVptr env, VLTLPptr lp, const char *filename) {
  return writeframe(env, lp, filename, kKindLP, nullptr);
}

int VLTlprewrite(VLTENVptr env, VLTLPptr lp, const char *filename) {
  return writeframe(env, lp, filename, kKindRLP, nullptr);
}

#define VLT_READOUT(fn, kind)                                                  \
  int fn(VLT_MODEL_ARGS) {                                                     \
    return kinread(env, filename, kind, VLT_MODEL_OUT, nullptr, nullptr, nullptr); \
  }

VLT_READOUT(VLTmpsread, kKindMPS)
VLT_READOUT(VLTlpread, kKindLP)
VLT_READOUT(VLTparread, kKindPAR)

int VLTmpsqread(VLT_MODEL_ARGS, VLT_MIP_ARGS, VLT_QUAD_ARGS) {
  const mipout mo = VLT_MIP_OUT;
  const quadout qo = VLT_QUAD_OUT;
  return kinread(env, filename, kKindMPS, VLT_MODEL_OUT, &mo, &qo, nullptr);
}

int VLTmpsmread(VLT_MODEL_ARGS, VLT_MIP_ARGS, VLT_QUAD_ARGS, int rimspace, int rimnzspace,
                int *rimcnt_p, int *rimnzcnt_p, int *rimtype, int *rimbeg, int *rimind,
                double *rimval, char *rimlu, char ***rimname_p, char **rimnamestore_p) {
  const mipout mo = VLT_MIP_OUT;
  const quadout qo = VLT_QUAD_OUT;
  const rimout ro{rimspace, rimnzspace, rimcnt_p, rimnzcnt_p, rimtype, rimbeg,
                  rimind,   rimval,     rimlu,    rimname_p,  rimnamestore_p};
  return kinread(env, filename, kKindMPS, VLT_MODEL_OUT, &mo, &qo, &ro);
}

int VLTlpqread(VLT_MODEL_ARGS, VLT_MIP_ARGS, VLT_QUAD_ARGS) {
  const mipout mo = VLT_MIP_OUT;
  const quadout qo = VLT_QUAD_OUT;
  return kinread(env, filename, kKindLP, VLT_MODEL_OUT, &mo, &qo, nullptr);
}

int VLTlpmread(VLT_MODEL_ARGS, VLT_MIP_ARGS) {
  const mipout mo = VLT_MIP_OUT;
  return kinread(env, filename, kKindLP, VLT_MODEL_OUT, &mo, nullptr, nullptr);
}

}  // extern "C"
