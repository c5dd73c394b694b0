// Reading the binary model file.  Every count is tested before anything is
// allocated by it, and every index before it is used, so a damaged file
// gives its status and nothing else.
#include <algorithm>
#include <cstring>
#include <vector>

#include "env/files.h"
#include "env/par.h"
#include "fileio/sav.h"
#include "model/store.h"

namespace velto {

namespace {

constexpr long long kSavLimit = 262500000;

struct savfail {
  int code;
};

class savin {
 public:
  savin(FILE *fp, bool reverse) : fp_(fp), reverse_(reverse) {}
  void bytes(void *p, size_t n) {
    if (n > 0 && std::fread(p, 1, n, fp_) != n) throw savfail{1561};
  }
  // Grows with the data actually read, so that a damaged count can't ask
  // for more memory than the file holds.
  template <class T>
  void array(std::vector<T> &v, long long n) {
    v.clear();
    const long long chunk = (1 << 20) / static_cast<long long>(sizeof(T));
    for (long long done = 0; done < n;) {
      const long long k = std::min(chunk, n - done);
      v.resize(static_cast<size_t>(done + k));
      bytes(v.data() + done, static_cast<size_t>(k) * sizeof(T));
      done += k;
    }
    if (reverse_ && sizeof(T) > 1)
      for (T &x : v) flip(x);
  }
  int integer() {
    int v;
    bytes(&v, sizeof v);
    if (reverse_) flip(v);
    return v;
  }
  // A string: null (false) or its text.
  bool string(std::string &s) {
    unsigned char len;
    bytes(&len, 1);
    s.clear();
    if (len == 0) return false;
    std::vector<char> b(len);
    bytes(b.data(), len);
    b.back() = '\0';
    s = b.data();
    return true;
  }
  void skip(long long n) {
    std::vector<char> b(static_cast<size_t>(std::min<long long>(n, 1 << 16)));
    while (n > 0) {
      size_t k = static_cast<size_t>(std::min<long long>(n, static_cast<long long>(b.size())));
      bytes(b.data(), k);
      n -= static_cast<long long>(k);
    }
  }

 private:
  template <class T>
  static void flip(T &x) {
    unsigned char *c = reinterpret_cast<unsigned char *>(&x);
    std::reverse(c, c + sizeof(T));
  }
  FILE *fp_;
  bool reverse_;
};

bool goodcount(long long v) { return v >= 0 && v < kSavLimit; }

// Names from offsets into a store: each offset inside and closed by a zero.
bool names(savin &in, int n, int bytes, namestore &out) {
  std::vector<int> off;
  std::vector<char> store;
  in.array(off, n);
  in.array(store, bytes);
  for (int k = 0; k < n; ++k) {
    if (off[k] < 0 || off[k] >= bytes) return false;
    const char *s = store.data() + off[k];
    const void *z = std::memchr(s, 0, static_cast<size_t>(bytes - off[k]));
    if (z == nullptr) return false;
    out.add(std::string_view(s, static_cast<const char *>(z) - s));
  }
  return true;
}

void readfile(env *e, savin &in, const char *name, savdata &d) {
  filemodel &m = d.m;
  std::string tag, text;
  if (!in.string(tag) || tag.compare(0, 5, std::string(kSavTag, 5)) != 0)
    throw savfail{fileerror(e, 1560, name)};
  const bool mip = tag.size() >= 8 && tag.compare(5, 3, "MIP") == 0;
  const bool quad = mip && tag.size() >= 9 && tag[8] == 'Q';
  const bool cuts = mip && tag.size() >= 10 && tag[9] == 'C';
  const bool oldsets = tag.size() >= 3 && tag.compare(tag.size() - 3, 3, "2.0") == 0;
  in.string(text);
  if (in.string(text)) m.objname = text;
  for (int k = 0; k < 3; ++k) in.string(text);
  int h[17];
  for (int &v : h) v = in.integer();
  const int basis = h[0], ranges = h[1], cn = h[2], rn = h[3];
  const int n = h[5], r = h[6], objsen = h[8], t = h[9], nz = h[11], cbytes = h[14],
            rbytes = h[15];
  bool good = true;
  for (int f : {basis, ranges, cn, rn}) good &= f == 0 || f == 1;
  for (int v : {n, r, t, nz, cbytes, rbytes}) good &= v >= 0;
  good &= goodcount(static_cast<long long>(n) + r) && goodcount(static_cast<long long>(t) + r) &&
          goodcount(nz) && (objsen == 1 || objsen == -1) && t >= n && h[10] == r;
  if (!good) throw savfail{fileerror(e, 1563, name)};
  auto bad = [&] { return savfail{fileerror(e, 1563, name)}; };
  std::vector<double> obj, rhs, lb, ub, val, rng;
  std::vector<char> sense;
  std::vector<int> beg, cnt, ind;
  in.array(obj, t);
  in.array(rhs, r);
  in.array(lb, t);
  in.array(ub, t);
  in.array(val, nz);
  in.array(sense, r);
  in.array(beg, t);
  in.array(cnt, t);
  in.array(ind, nz);
  if (ranges) in.array(rng, r);
  for (char s : sense)
    if (s != 'L' && s != 'G' && s != 'E' && s != 'R') throw bad();
  for (int j = 0; j < n; ++j) {
    if (beg[j] < 0 || cnt[j] < 0 || static_cast<long long>(beg[j]) + cnt[j] > nz) throw bad();
    for (int k = beg[j]; k < beg[j] + cnt[j]; ++k)
      if (ind[k] < 0 || ind[k] >= r) throw bad();
  }
  if (cn && !names(in, n, cbytes, m.colnames)) throw bad();
  if (rn && !names(in, r, rbytes, m.rownames)) throw bad();
  if (basis) {
    in.array(d.cstat, n);
    in.array(d.rstat, r);
  }
  // The user's model: the first n columns, packed.
  m.numcols = n;
  m.numrows = r;
  m.objsen = objsen;
  m.obj.assign(obj.begin(), obj.begin() + n);
  m.lb.assign(lb.begin(), lb.begin() + n);
  m.ub.assign(ub.begin(), ub.begin() + n);
  m.rhs = rhs;
  m.sense = sense;
  if (ranges) m.rngval = rng;
  for (int j = 0; j < n; ++j) {
    m.matbeg.push_back(static_cast<int>(m.matind.size()));
    m.matcnt.push_back(cnt[j]);
    m.matind.insert(m.matind.end(), ind.begin() + beg[j], ind.begin() + beg[j] + cnt[j]);
    m.matval.insert(m.matval.end(), val.begin() + beg[j], val.begin() + beg[j] + cnt[j]);
  }
  if (!mip) return;
  int ctflag, setflag = 1, nsets, members;
  ctflag = in.integer();
  if (!oldsets) setflag = in.integer();
  nsets = in.integer();
  members = in.integer();
  if ((ctflag != 0 && ctflag != 1) || (setflag != 0 && setflag != 1) || !goodcount(nsets) ||
      !goodcount(members))
    throw bad();
  if (ctflag) {
    std::vector<char> ct;
    in.array(ct, t);
    m.ctype.assign(ct.begin(), ct.begin() + n);
    for (char c : m.ctype)
      if (c != 'C' && c != 'B' && c != 'I' && c != 'S' && c != 'N') throw bad();
  }
  if (oldsets) {
    if (nsets > 0) {
      in.skip(static_cast<long long>(nsets) * 9 + static_cast<long long>(members) * 12);
      msg(e->warnchannel, "File '%s' has old format SOS definitions.\n", name);
      msg(e->warnchannel, "They will be ignored.\n");
    }
  } else if (setflag && nsets > 0) {
    in.array(m.sostype, nsets);
    in.array(m.sospri, nsets);
    in.array(m.sosbeg, nsets);
    in.array(m.sosind, members);
    in.array(m.soswt, members);
    for (int k = 0; k < nsets; ++k) {
      const int next = k + 1 < nsets ? m.sosbeg[k + 1] : members;
      if ((m.sostype[k] != '1' && m.sostype[k] != '2') || m.sosbeg[k] < 0 || m.sosbeg[k] > next ||
          m.sospri[k] < 0)
        throw bad();
    }
    for (int j : m.sosind)
      if (j < 0 || j >= n) throw bad();
  }
  if (quad) {
    const int entries = in.integer(), general = in.integer();
    if (!goodcount(entries) || (general != 0 && general != 1)) throw bad();
    if (general) {
      std::vector<int> qb, qc, qi;
      in.array(qb, n);
      in.array(qc, n);
      std::vector<double> qv;
      in.array(qi, entries);
      in.array(qv, entries);
      // Only the entries the columns reach are the term.
      for (int j = 0; j < n; ++j) {
        if (qb[j] < 0 || qc[j] < 0 || static_cast<long long>(qb[j]) + qc[j] > entries) throw bad();
        for (int k = qb[j]; k < qb[j] + qc[j]; ++k) {
          if (qi[k] < 0 || qi[k] >= n) throw bad();
          m.qrow.push_back(qi[k]);
          m.qcol.push_back(j);
          m.qval.push_back(qv[k]);
        }
      }
    } else if (entries > 0) {
      if (entries > n) throw bad();
      in.array(m.qval, entries);
      for (int j = 0; j < entries; ++j) {
        m.qrow.push_back(j);
        m.qcol.push_back(j);
      }
    }
  }
  if (cuts)
    for (savrows &c : d.cuts) {
      const int flag = in.integer(), rows = in.integer(), nzs = in.integer();
      if ((flag != 0 && flag != 1) || !goodcount(rows) || !goodcount(nzs)) throw bad();
      if (!flag) continue;
      in.array(c.rhs, rows);
      in.array(c.sense, rows);
      in.array(c.beg, rows);
      in.array(c.ind, nzs);
      in.array(c.val, nzs);
      for (int i = 0; i < rows; ++i) {
        const int next = i + 1 < rows ? c.beg[i + 1] : nzs;
        const char s = c.sense[i];
        if ((s != 'L' && s != 'G' && s != 'E') || c.beg[i] < 0 || c.beg[i] > next) throw bad();
      }
      for (int j : c.ind)
        if (j < 0 || j >= n) throw bad();
    }
}

}  // namespace

int savreadstream(env *e, FILE *fp, const char *name, savdata &d) {
  d = savdata();
  savin in(fp, e->params->reverseind == 1);
  try {
    readfile(e, in, name, d);
  } catch (const savfail &f) {
    d = savdata();
    return f.code;
  }
  return 0;
}

int savreadfp(env *e, FILE *fp, filemodel &m) {
  savdata d;
  const int status = savreadstream(e, fp, "stream", d);
  m = std::move(d.m);
  return status;
}

int savreadfile(env *e, const char *name, savdata &d) {
  int status = 0;
  FILE *fp = fileopenread(e, name, "rb", ".sav", 0, 1, &status);
  if (fp == nullptr) return status;
  status = savreadstream(e, fp, name, d);
  fileclose(name, &fp);
  return status;
}

int savreadcopy(env *e, lp *p, const char *name) {
  savdata d;
  int status = savreadfile(e, name, d);
  if (status) return status;
  status = loadfilemodel(e, p, d.m, name);
  if (status || d.cstat.empty()) return status;
  const int s = VLTcopybase(e, p, d.cstat.data(), d.rstat.data());
  if (s == 0) {
    msg(e->warnchannel, "Warning:  File contains basis.  Basis is loaded.\n");
    if (e->params->advind == 0) msg(e->warnchannel, "Warning:  Advanced indicator is not set.\n");
  } else {
    msg(e->warnchannel, "Warning:  File contains basis.  Basis not loaded.\n");
  }
  return 0;
}

}  // namespace velto

namespace velto {

namespace {

void rowsout_clear(const rowsout &o) {
  for (int *q : {o.cnt_p, o.nzcnt_p})
    if (q) *q = 0;
  for (double **q : {o.rhs_p, o.val_p})
    if (q) *q = nullptr;
  for (int **q : {o.beg_p, o.ind_p})
    if (q) *q = nullptr;
  if (o.sense_p) *o.sense_p = nullptr;
}

bool rowsout_given(const rowsout &o) { return o.cnt_p != nullptr; }

// A group is taken whole or not at all.
int rowsout_check(const rowsout &o) {
  const int given = (o.cnt_p != nullptr) + (o.nzcnt_p != nullptr) + (o.rhs_p != nullptr) +
                    (o.sense_p != nullptr) + (o.beg_p != nullptr) + (o.ind_p != nullptr) +
                    (o.val_p != nullptr);
  return given == 0 || given == 7 ? 0 : kNullPointer;
}

void rowsout_free(const rowsout &o) {
  if (!rowsout_given(o)) return;
  release(o.rhs_p);
  release(o.val_p);
  release(o.beg_p);
  release(o.ind_p);
  release(o.sense_p);
  rowsout_clear(o);
}

int rowsout_fill(const savrows &r, const rowsout &o) {
  if (!rowsout_given(o) || r.sense.empty()) return 0;
  *o.rhs_p = handout(r.rhs);
  *o.sense_p = handout(r.sense);
  *o.beg_p = handout(r.beg);
  *o.ind_p = handout(r.ind);
  *o.val_p = handout(r.val);
  if (!*o.rhs_p || !*o.sense_p || !*o.beg_p || !*o.ind_p || !*o.val_p) {
    rowsout_free(o);
    return kNoMemory;
  }
  *o.cnt_p = static_cast<int>(r.sense.size());
  *o.nzcnt_p = static_cast<int>(r.ind.size());
  return 0;
}

// Out pointers of everything a binary file holds besides the linear model;
// null members are parts the caller doesn't take.
struct savextra {
  const mipout *mip = nullptr;
  const quadout *quad = nullptr;
  const rowsout *cuts = nullptr;  // two: user cuts, lazy constraints
  int **cstat_p = nullptr, **rstat_p = nullptr;
};

void extra_free(const savextra &x, const modelout &o) {
  modelout_free(o);
  if (x.mip) mipout_free(*x.mip);
  if (x.quad) quadout_free(*x.quad);
  if (x.cuts)
    for (int k = 0; k < 2; ++k) rowsout_free(x.cuts[k]);
  if (x.cstat_p) release(x.cstat_p);
  if (x.rstat_p) release(x.rstat_p);
}

// The common reader of the exported calls: the whole file is read, and what
// the caller doesn't take is dropped.
int savout(env *e, const char *name, const modelout &o, const savextra &x) {
  if (!checkenv(e)) return kNoEnvironment;
  modelout_clear(o);
  if (x.mip) mipout_clear(*x.mip);
  if (x.quad) quadout_clear(*x.quad);
  if (x.cuts)
    for (int k = 0; k < 2; ++k) rowsout_clear(x.cuts[k]);
  if (x.cstat_p) *x.cstat_p = nullptr;
  if (x.rstat_p) *x.rstat_p = nullptr;
  return finish(e, guarded([&] {
    int s = modelout_check(o);
    if (s == 0 && x.mip) s = mipout_check(*x.mip);
    if (s == 0 && x.quad) s = quadout_check(*x.quad);
    if (s == 0 && x.cuts) s = rowsout_check(x.cuts[0]) ? kNullPointer : rowsout_check(x.cuts[1]);
    if (s == 0 && (x.cstat_p == nullptr) != (x.rstat_p == nullptr)) s = kNullPointer;
    if (s) return s;
    if (name == nullptr || name[0] == '\0') return 1421;
    savdata d;
    s = savreadfile(e, name, d);
    if (s) return s;
    if (x.mip == nullptr) {
      // The plain reader keeps only the linear model.
      d.m.ctype.clear();
      d.m.sostype.clear();
    }
    if (x.quad == nullptr && x.mip != nullptr && !d.m.qval.empty())
      msg(e->warnchannel, "Problem %s contains quadratic objective coefficients, ignored.\n", name);
    s = modelout_fill(d.m, o);
    if (s == 0 && x.mip) s = mipout_fill(d.m, *x.mip);
    if (s == 0 && x.quad) s = quadout_fill(d.m, *x.quad);
    if (x.cuts)
      for (int k = 0; k < 2 && s == 0; ++k) s = rowsout_fill(d.cuts[k], x.cuts[k]);
    if (s == 0 && x.cstat_p && !d.cstat.empty()) {
      *x.cstat_p = handout(d.cstat);
      *x.rstat_p = handout(d.rstat);
      if (!*x.cstat_p || !*x.rstat_p) s = kNoMemory;
    }
    if (s) extra_free(x, o);
    return s;
  }));
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTsavread(VLT_MODEL_ARGS) { return savout(env, filename, VLT_MODEL_OUT, savextra{}); }

int VLTsavmread(VLT_MODEL_ARGS, VLT_MIP_ARGS) {
  const mipout mo = VLT_MIP_OUT;
  savextra x;
  x.mip = &mo;
  return savout(env, filename, VLT_MODEL_OUT, x);
}

int VLTsavqread(VLT_MODEL_ARGS, VLT_MIP_ARGS, VLT_QUAD_ARGS, int *numcuts_p, int *cutnzcnt_p,
                double **cutrhs_p, char **cutsense_p, int **cutbeg_p, int **cutind_p,
                double **cutval_p, int *numlazy_p, int *lazynzcnt_p, double **lazyrhs_p,
                char **lazysense_p, int **lazybeg_p, int **lazyind_p, double **lazyval_p,
                int **cstat_p, int **rstat_p) {
  const mipout mo = VLT_MIP_OUT;
  const quadout qo = VLT_QUAD_OUT;
  const rowsout rows[2] = {
      {numcuts_p, cutnzcnt_p, cutrhs_p, cutsense_p, cutbeg_p, cutind_p, cutval_p},
      {numlazy_p, lazynzcnt_p, lazyrhs_p, lazysense_p, lazybeg_p, lazyind_p, lazyval_p}};
  savextra x;
  x.mip = &mo;
  x.quad = &qo;
  x.cuts = rows;
  x.cstat_p = cstat_p;
  x.rstat_p = rstat_p;
  return savout(env, filename, VLT_MODEL_OUT, x);
}

}  // extern "C"
