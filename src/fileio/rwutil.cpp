// Name tables, the line source and the number conversion of the readers.
#include "fileio/rwutil.h"

#include "env/files.h"

#include <string>
#include <cctype>
#include <cmath>
#include <cstdarg>
#include <cstdlib>

namespace velto {

// ---- names ------------------------------------------------------------------------------

uint64_t nametable::hash(std::string_view s) {
  uint64_t h = 1469598103934665603ull;
  for (unsigned char c : s) {
    h ^= c;
    h *= 1099511628211ull;
  }
  h ^= h >> 32;
  h *= 0x9e3779b97f4a7c15ull;
  return h ^ (h >> 29);
}

// A slot holds the index plus one in its low half and the name's hash in its
// high half, so that most mismatches are seen without comparing texts.
void nametable::grow() {
  size_t n = slots_.empty() ? 1024 : slots_.size() * 2;
  std::vector<uint64_t> old;
  old.swap(slots_);
  slots_.assign(n, 0);
  size_t mask = n - 1;
  for (uint64_t v : old)
    if (v != 0) {
      size_t k = (v >> 32) & mask;
      while (slots_[k] != 0) k = (k + 1) & mask;
      slots_[k] = v;
    }
}

int nametable::find(std::string_view name) const {
  if (slots_.empty()) return -1;
  size_t mask = slots_.size() - 1;
  uint64_t h = hash(name) >> 32;
  size_t k = h & mask;
  while (true) {
    uint64_t v = slots_[k];
    if (v == 0) return -1;
    if ((v >> 32) == h) {
      int i = static_cast<int>((v & 0xffffffffu) - 1);
      if (store_.len(i) == name.size() && std::memcmp(store_.get(i), name.data(), name.size()) == 0)
        return i;
    }
    k = (k + 1) & mask;
  }
}

int nametable::insert(int i) {
  if (static_cast<size_t>(count_ + 1) * 2 > slots_.size()) grow();
  std::string_view name(store_.get(i), store_.len(i));
  size_t mask = slots_.size() - 1;
  uint64_t h = hash(name) >> 32;
  size_t k = h & mask;
  while (slots_[k] != 0) {
    uint64_t v = slots_[k];
    if ((v >> 32) == h) {
      int j = static_cast<int>((v & 0xffffffffu) - 1);
      if (store_.len(j) == name.size() && std::memcmp(store_.get(j), name.data(), name.size()) == 0)
        return j;
    }
    k = (k + 1) & mask;
  }
  slots_[k] = (h << 32) | static_cast<uint64_t>(i + 1);
  ++count_;
  return -1;
}

// ---- lines ------------------------------------------------------------------------------

char *linereader::next(size_t *len) {
  while (true) {
    char *base = buf_.get();
    char *start = base + pos_;
    char *nl = static_cast<char *>(std::memchr(start, '\n', end_ - pos_));
    if (nl == nullptr && eof_ && pos_ < end_) {
      // Last line without a line end: it is closed in the spare byte that
      // every read leaves free.
      nl = base + end_;
      ++end_;
    }
    if (nl != nullptr) {
      size_t n = static_cast<size_t>(nl - start);
      *nl = '\0';
      if (n > 0 && start[n - 1] == '\r') start[--n] = '\0';
      pos_ = static_cast<size_t>(nl - base) + 1;
      *len = n;
      return start;
    }
    if (eof_) return nullptr;
    // Move the unfinished line to the front and read more.
    size_t rest = end_ - pos_;
    if (pos_ > 0) std::memmove(base, base + pos_, rest);
    pos_ = 0;
    end_ = rest;
    if (end_ + 4096 > cap_) {
      std::unique_ptr<char[]> bigger(new char[cap_ * 2]);
      std::memcpy(bigger.get(), base, end_);
      buf_.swap(bigger);
      cap_ *= 2;
    }
    size_t got = std::fread(buf_.get() + end_, 1, cap_ - end_ - 1, fp_);
    if (got == 0) {
      eof_ = true;
      if (std::ferror(fp_)) failed_ = true;
    }
    end_ += got;
  }
}

// ---- numbers ----------------------------------------------------------------------------

namespace {

const double kPow10[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                         1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

inline bool isexpletter(char c) { return c == 'e' || c == 'E' || c == 'd' || c == 'D'; }

}  // namespace

int parsenumber(std::string_view tok, double *value, bool allowinf) {
  size_t n = tok.size();
  *value = 0.0;
  if (n == 0) return 0;
  size_t i = 0;
  bool neg = false;
  if (tok[0] == '+' || tok[0] == '-') {
    neg = tok[0] == '-';
    i = 1;
    if (n == 1) {
      *value = neg ? -1.0 : 1.0;
      return 0;
    }
  }
  if (allowinf && (n - i == 3 || n - i == 8)) {
    std::string_view w = tok.substr(i);
    static const char kInf[] = "INFINITY";
    bool match = true;
    for (size_t k = 0; k < w.size(); ++k)
      if ((w[k] & ~0x20) != kInf[k]) match = false;
    if (match) {
      *value = neg ? -1e20 : 1e20;
      return 0;
    }
  }
  // Mantissa: significant digits and the position of the point.
  char digits[800];
  int nd = 0;
  int dropped = 0;  // integer digits beyond the buffer
  int point = 0;    // decimal exponent correction from fraction digits
  bool any = false;
  uint64_t m = 0;
  for (; i < n && tok[i] >= '0' && tok[i] <= '9'; ++i) {
    any = true;
    if (nd == 0 && tok[i] == '0') continue;
    if (nd < 780) {
      digits[nd++] = tok[i];
      if (nd <= 19) m = m * 10 + static_cast<uint64_t>(tok[i] - '0');
    } else {
      ++dropped;
    }
  }
  if (i < n && tok[i] == '.') {
    for (++i; i < n && tok[i] >= '0' && tok[i] <= '9'; ++i) {
      any = true;
      if (nd == 0 && tok[i] == '0') {
        --point;
        continue;
      }
      if (nd < 780) {
        digits[nd++] = tok[i];
        if (nd <= 19) m = m * 10 + static_cast<uint64_t>(tok[i] - '0');
        --point;
      }
    }
  }
  point += dropped;
  long exp = 0;
  if (i < n && isexpletter(tok[i])) {
    if (!any) return 3;
    ++i;
    bool eneg = false;
    if (i < n && (tok[i] == '+' || tok[i] == '-')) eneg = tok[i++] == '-';
    if (i >= n || tok[i] < '0' || tok[i] > '9') return 4;
    for (; i < n && tok[i] >= '0' && tok[i] <= '9'; ++i)
      if (exp < 100000) exp = exp * 10 + (tok[i] - '0');
    if (eneg) {
      // Exponents down to -38 are honoured; smaller ones read as zero.
      if (exp > 38) {
        if (i != n) return 1;
        *value = 0.0;
        return 0;
      }
      exp = -exp;
    } else if (exp > 37) {
      return i == n ? 2 : 1;
    }
  }
  if (i != n || !any) return 1;
  if (nd == 0) {
    *value = neg ? -0.0 : 0.0;
    *value = 0.0;
    return 0;
  }
  long e10 = exp + point;
  double v;
  if (nd <= 19 && m <= (1ull << 53) && e10 >= -22 && e10 <= 22) {
    v = static_cast<double>(m);
    v = e10 >= 0 ? v * kPow10[e10] : v / kPow10[-e10];
  } else {
    char buf[840];
    std::memcpy(buf, digits, static_cast<size_t>(nd));
    std::snprintf(buf + nd, sizeof buf - static_cast<size_t>(nd), "e%ld", e10);
    v = std::strtod(buf, nullptr);
  }
  *value = neg ? -v : v;
  return 0;
}

int readmodelfile(env *e, const char *name, const char *ext, filemodel &m,
                  int (*readfp)(env *, FILE *, filemodel &)) {
  int status = 0;
  FILE *fp = fileopenread(e, name, "r", ext, 0, 1, &status);
  if (fp == nullptr) return status;
  fileguard guard{name, &fp};
  status = readfp(e, fp, m);
  int crc = fileclose(name, &fp);
  if (status == 0 && crc != 0) status = fileerror(e, 1423, name);
  return status;
}

namespace {

bool ciequal(std::string_view a, const char *b) {
  size_t n = std::strlen(b);
  if (a.size() != n) return false;
  for (size_t i = 0; i < n; ++i)
    if (std::toupper(static_cast<unsigned char>(a[i])) != b[i]) return false;
  return true;
}

// Why a name would not read back, or null.  In the LP form a row name is
// only ever a label before ':', so it need not look like a variable.
const char *unwritable(std::string_view n, bool lp, bool row) {
  if (n.empty()) return "is empty";
  if (n.size() > 255) return "is longer than 255 characters";
  for (char ch : n) {
    unsigned char c = static_cast<unsigned char>(ch);
    if (c <= 32 || c == 127) return "holds a blank or control character";
  }
  if (!lp) return n[0] == '$' ? "starts with '$'" : nullptr;
  for (char ch : n)
    if (std::strchr(":|+-<=>[]*/^\\", ch) != nullptr) return "holds an operator character";
  if (row) return nullptr;
  unsigned char c0 = static_cast<unsigned char>(n[0]);
  if (!(std::isalpha(c0) || c0 >= 128 || std::strchr("!\"#$%&'(),;?@_`{}~", c0) != nullptr))
    return "does not start with a letter";
  if ((n[0] == 'e' || n[0] == 'E') && (n.size() == 1 || std::isdigit(static_cast<unsigned char>(n[1]))))
    return "reads as a number";
  static const char *const kWords[] = {
      "MIN", "MINI", "MINIM", "MINIMI", "MINIMIZ", "MINIMIZE", "MAX", "MAXI", "MAXIM", "MAXIMI",
      "MAXIMIZ", "MAXIMIZE", "ST", "ST.", "S.T", "S.T.", "SUBJECT", "SUCH", "USER", "LAZY",
      "BOUN", "BOUND", "BOUNDS", "INT", "INTS", "INTEGER", "INTEGERS", "BIN", "BINS", "BINARY",
      "BINARIES", "GEN", "GENS", "GENERAL", "GENERALS", "SEMI", "SEMIS", "SOS", "END", "FREE",
      "INF", "INFINITY"};
  for (const char *w : kWords)
    if (ciequal(n, w)) return "is a keyword";
  return nullptr;
}

}  // namespace

const char *lpunreadable(std::string_view n, bool row) { return unwritable(n, true, row); }

int checkwritenames(env *e, const filemodel &m, bool lp) {
  const char *form = lp ? "LP" : "MPS";
  for (int side = 0; side < 2; ++side) {
    const namestore &names = side == 0 ? m.rownames : m.colnames;
    int count = side == 0 ? m.numrows : m.numcols;
    if (names.size() != count) continue;  // default names
    const char *what = side == 0 ? "Row" : "Column";
    nametable seen(names);
    for (int i = 0; i < count; ++i) {
      std::string_view n(names.get(i), names.len(i));
      const char *why = unwritable(n, lp, side == 0);
      if (why == nullptr && seen.insert(i) >= 0) why = "is used twice";
      // An MPS file names the objective among the rows.
      if (why == nullptr && !lp && side == 0 &&
          n == (m.objname.empty() ? std::string_view("obj") : std::string_view(m.objname)))
        why = "is the objective's name";
      if (why != nullptr) {
        msg(e->errchannel, "%s %d name '%.255s' %s: the model can't be written in %s form.\n",
            what, i, std::string(n).c_str(), why, form);
        return kBadArgument;
      }
    }
  }
  return 0;
}

std::vector<std::string_view> splitfields(const char *line, size_t len) {
  std::vector<std::string_view> out;
  size_t k = 0;
  while (k < len) {
    while (k < len && (line[k] == ' ' || line[k] == '\t')) ++k;
    size_t b = k;
    while (k < len && line[k] != ' ' && line[k] != '\t') ++k;
    if (k > b) out.emplace_back(line + b, k - b);
  }
  return out;
}

int fileerror(env *e, int code, ...) {
  va_list ap;
  va_start(ap, code);
  vmsg(e->errchannel, errtext(e, code), ap);
  va_end(ap);
  return -code;
}

}  // namespace velto
