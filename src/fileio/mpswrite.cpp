// Writer of the MPS format: a free-width form of the fixed layout in which
// every name field is padded to the width of the longest name.
#include <cerrno>
#include <algorithm>
#include <string>

#include "env/files.h"
#include "fileio/rwutil.h"

namespace velto {

namespace {

// Buffered output with the status of the stream.
class outbuf {
 public:
  explicit outbuf(FILE *fp) : fp_(fp) { buf_.reserve(1 << 16); }
  ~outbuf() { flush(); }
  void put(const char *s, size_t n) {
    buf_.append(s, n);
    if (buf_.size() >= (1 << 16)) flush();
  }
  void put(const char *s) { put(s, std::strlen(s)); }
  void put(std::string_view s) { put(s.data(), s.size()); }
  void pad(std::string_view s, size_t w) {
    put(s);
    if (s.size() < w) buf_.append(w - s.size(), ' ');
  }
  void flush() {
    if (!buf_.empty() && std::fwrite(buf_.data(), 1, buf_.size(), fp_) != buf_.size()) bad_ = true;
    buf_.clear();
  }
  bool bad() const { return bad_; }

 private:
  FILE *fp_;
  std::string buf_;
  bool bad_ = false;
};

std::string_view cut(const char *s) {
  size_t n = std::strlen(s);
  return std::string_view(s, std::min<size_t>(n, 255));
}

// Names of one side, given or default ("x1", "c1", ...).
class names {
 public:
  names(const namestore &s, int n, char prefix) : s_(s), n_(n), prefix_(prefix) {}
  bool given() const { return s_.size() == n_; }
  std::string_view get(int i) {
    if (given()) return std::string_view(s_.get(i), std::min<size_t>(s_.len(i), 255));
    int len = std::snprintf(tmp_, sizeof tmp_, "%c%d", prefix_, i + 1);
    return std::string_view(tmp_, static_cast<size_t>(len));
  }
  size_t longest() {
    size_t w = 0;
    if (given()) {
      for (int i = 0; i < n_; ++i) w = std::max(w, std::min<size_t>(s_.len(i), 255));
    } else if (n_ > 0) {
      w = static_cast<size_t>(std::snprintf(tmp_, sizeof tmp_, "%c%d", prefix_, n_));
    }
    return w;
  }

 private:
  const namestore &s_;
  int n_;
  char prefix_;
  char tmp_[24];
};

// Pairs of (name, number) after a leading field, two to a line when the
// width allows it.
class pairwriter {
 public:
  pairwriter(outbuf &o, size_t w) : o_(o), w_(w), two_(w <= 32) {}
  void entry(std::string_view lead, std::string_view name, double v) {
    char num[32];
    mpsnumber(v, num);
    if (!open_) {
      o_.put("    ");
      o_.pad(lead, w_);
      o_.put("  ");
      o_.pad(name, w_);
      o_.put("  ");
      putnum(num);
      if (two_) {
        open_ = true;
      } else {
        o_.put("\n");
      }
    } else {
      o_.put("   ");
      o_.pad(name, w_);
      o_.put("  ");
      putnum(num);
      o_.put("\n");
      open_ = false;
    }
  }
  void end() {
    if (open_) o_.put("\n");
    open_ = false;
  }

 private:
  void putnum(const char *num) {
    size_t n = std::strlen(num);
    if (n < 12) o_.put("            ", 12 - n);
    o_.put(num, n);
  }
  outbuf &o_;
  size_t w_;
  bool two_;
  bool open_ = false;
};

void boundline(outbuf &o, const char *type, std::string_view bnd, std::string_view col, size_t w,
               const double *v) {
  o.put(type);
  o.put(" ");
  o.pad(bnd, w);
  o.put("  ");
  if (v == nullptr) {
    o.put(col);
    o.put("\n");
    return;
  }
  o.pad(col, w);
  o.put("  ");
  char num[32];
  mpsnumber(*v, num);
  size_t n = std::strlen(num);
  if (n < 12) o.put("            ", 12 - n);
  o.put(num, n);
  o.put("\n");
}

}  // namespace

int mpswritefile(env *e, const char *name, const filemodel &m) {
  int status = checkwritenames(e, m, false);
  if (status) return status;
  FILE *fp = fileopenwrite(name, "w", 1);
  if (fp == nullptr) return errno == ENOMEM ? kNoMemory : fileerror(e, 1422, name);
  fileguard guard{name, &fp};
  names rows(m.rownames, m.numrows, 'c');
  names cols(m.colnames, m.numcols, 'x');
  if (!cols.given() && m.numcols > 0)
    msg(e->warnchannel, "Default column names x1, x2 ... being created.\n");
  if (!rows.given() && m.numrows > 0)
    msg(e->warnchannel, "Default row    names c1, c2 ... being created.\n");
  std::string_view objname = m.objname.empty() ? std::string_view("obj") : cut(m.objname.c_str());
  size_t w = std::max<size_t>({8, objname.size(), rows.longest(), cols.longest()});
  const std::string_view rhsname("rhs"), rngname("rng"), bndname("bnd");
  bool hasctype = !m.ctype.empty();
  {
    outbuf o(fp);
    o.put("NAME          ");
    o.put(cut(m.probname.c_str()));
    o.put("\nROWS\n N  ");
    o.put(objname);
    o.put("\n");
    for (int i = 0; i < m.numrows; ++i) {
      char s = m.sense[i];
      if (s == 'R' && !m.rngval.empty()) s = m.rngval[i] >= 0.0 ? 'G' : 'L';
      char head[5] = {' ', s, ' ', ' ', '\0'};
      o.put(head);
      o.put(rows.get(i));
      o.put("\n");
    }
    o.put("COLUMNS\n");
    bool marked = false;
    int marker = 0;
    auto markline = [&](const char *kw) {
      char buf[80];
      std::snprintf(buf, sizeof buf, "    MARK%04d  'MARKER'                 '%s'\n", marker, kw);
      o.put(buf);
      marker = marker >= 9998 ? 0 : marker + 1;
    };
    for (int j = 0; j < m.numcols; ++j) {
      if (hasctype) {
        char t = m.ctype[j];
        bool integer = t != 'C' && t != 'S';
        if (integer && !marked) {
          markline("INTORG");
          marked = true;
        } else if (!integer && marked) {
          markline("INTEND");
          marked = false;
        }
      }
      std::string cname(cols.get(j));
      pairwriter pw(o, w);
      if (m.obj[j] != 0.0 || m.matcnt[j] == 0) pw.entry(cname, objname, m.objsen * m.obj[j]);
      for (int k = m.matbeg[j]; k < m.matbeg[j] + m.matcnt[j]; ++k)
        pw.entry(cname, rows.get(m.matind[k]), m.matval[k]);
      pw.end();
    }
    if (marked) markline("INTEND");
    o.put("RHS\n");
    {
      pairwriter pw(o, w);
      for (int i = 0; i < m.numrows; ++i)
        if (m.rhs[i] != 0.0) pw.entry(rhsname, rows.get(i), m.rhs[i]);
      pw.end();
    }
    if (!m.rngval.empty()) {
      o.put("RANGES\n");
      pairwriter pw(o, w);
      for (int i = 0; i < m.numrows; ++i)
        if (m.sense[i] == 'R') pw.entry(rngname, rows.get(i), std::fabs(m.rngval[i]));
      pw.end();
    }
    bool needbounds = false;
    for (int j = 0; j < m.numcols && !needbounds; ++j) {
      if (m.lb[j] != 0.0 || m.ub[j] < 1e20) needbounds = true;
      if (hasctype && (m.ctype[j] == 'I' || m.ctype[j] == 'S' || m.ctype[j] == 'N'))
        needbounds = true;
    }
    if (needbounds) {
      o.put("BOUNDS\n");
      for (int j = 0; j < m.numcols; ++j) {
        double lb = m.lb[j], ub = m.ub[j];
        char t = hasctype ? m.ctype[j] : 'C';
        bool lbinf = lb <= -1e20, ubinf = ub >= 1e20;
        std::string cname(cols.get(j));
        if (t == 'S' || t == 'N') {
          boundline(o, " SC", bndname, cname, w, &ub);
          ubinf = true;
        } else if (lb == 0.0 && ubinf) {
          if (t == 'I') boundline(o, " LI", bndname, cname, w, &lb);
          continue;
        }
        if (lbinf) {
          if (!ubinf) {
            boundline(o, " MI", bndname, cname, w, nullptr);
            boundline(o, " UP", bndname, cname, w, &ub);
          } else {
            boundline(o, " FR", bndname, cname, w, nullptr);
          }
        } else if (ubinf) {
          if (lb != 0.0 || t == 'S' || t == 'N') boundline(o, " LO", bndname, cname, w, &lb);
        } else if (lb == ub) {
          boundline(o, " FX", bndname, cname, w, &lb);
        } else {
          if (lb != 0.0) boundline(o, " LO", bndname, cname, w, &lb);
          boundline(o, " UP", bndname, cname, w, &ub);
        }
      }
    }
    if (!m.sostype.empty()) {
      o.put("SOS\n");
      for (size_t k = 0; k < m.sostype.size(); ++k) {
        char head[8] = {' ', 'S', m.sostype[k], '\n', '\0'};
        o.put(head);
        size_t b = m.sosbeg[k], en = k + 1 < m.sostype.size() ? m.sosbeg[k + 1] : m.sosind.size();
        for (size_t q = b; q < en; ++q) {
          char num[32];
          mpsnumber(m.soswt[q], num);
          o.put("    ");
          o.put(cols.get(m.sosind[q]));
          o.put("  ");
          o.pad(num, 12);
          o.put("\n");
        }
      }
    }
    if (!m.qval.empty()) {
      o.put("QMATRIX\n");
      for (size_t k = 0; k < m.qval.size(); ++k) {
        o.put("    ");
        o.pad(cols.get(m.qrow[k]), w);
        o.put("  ");
        std::string a(cols.get(m.qcol[k]));
        o.pad(a, w);
        o.put("  ");
        char num[32];
        mpsnumber(m.objsen * m.qval[k], num);
        o.put(num);
        o.put("\n");
      }
    }
    o.put("ENDATA\n");
    o.flush();
    if (o.bad()) {
      fileclose(name, &fp);
      return fileerror(e, 1422, name);
    }
  }
  if (fileclose(name, &fp) != 0) return fileerror(e, 1422, name);
  return 0;
}

}  // namespace velto
