// Reader of the LP format: objective, constraints, bounds, integer lists and
// special ordered sets written as algebra.  Expressions are parsed by a state
// machine over the text of each line with its blanks removed, so a row may
// break across lines wherever a sign, a coefficient or a sense ends a line.
#include <algorithm>
#include <cmath>
#include <string>

#include "env/files.h"
#include "fileio/rwutil.h"

namespace velto {

namespace {

// Character classes.
enum : uint32_t {
  kNameStart = 0x001, kSense = 0x002, kNumber = 0x004, kExpLetter = 0x008, kValid = 0x010,
  kLineEnd = 0x020, kDigit = 0x040, kSign = 0x080, kBlank = 0x100, kNameEnd = 0x200,
  kQuad = 0x400
};

struct classtable {
  uint32_t c[256];
  classtable() {
    for (int i = 0; i < 256; ++i) {
      uint32_t f = 0;
      if (std::isalpha(i) || i >= 128) f |= kNameStart;
      if (i < 32 || i == 127) f |= kBlank;
      c[i] = f;
    }
    for (const char *p = "!\"#$%&'(),;?@_`{}~"; *p; ++p) c[static_cast<unsigned char>(*p)] |= kNameStart;
    for (const char *p = "<=>"; *p; ++p) c[static_cast<unsigned char>(*p)] |= kSense;
    for (const char *p = "0123456789.+-eE"; *p; ++p) c[static_cast<unsigned char>(*p)] |= kNumber;
    c[int('e')] |= kExpLetter;
    c[int('E')] |= kExpLetter;
    for (int i = '0'; i <= '9'; ++i) c[i] |= kDigit;
    c[int('+')] |= kSign;
    c[int('-')] |= kSign;
    c[int(' ')] |= kBlank;
    c[int('\t')] |= kBlank;
    for (int ch : {0, 10, 13, 12, 92}) c[ch] |= kLineEnd;
    for (int i = 0; i < 256; ++i)
      if (c[i] & (kNameStart | kSense | kNumber)) c[i] |= kValid;
    for (const char *p = " \t:|[]*/^"; *p; ++p) c[static_cast<unsigned char>(*p)] |= kValid;
    for (const char *p = " :|+-<=>[]*/^"; *p; ++p) c[static_cast<unsigned char>(*p)] |= kNameEnd;
    for (int i = 0; i < 256; ++i)
      if (c[i] & kLineEnd) c[i] |= kNameEnd;
    for (const char *p = "[]*/^"; *p; ++p) c[static_cast<unsigned char>(*p)] |= kQuad;
  }
};
const classtable kClass;

inline uint32_t cls(char ch) { return kClass.c[static_cast<unsigned char>(ch)]; }

enum Section { kObjective, kConstraints, kUserCuts, kLazy, kBounds, kIntegers, kSets, kEnd, kNoKey };
enum IntKind { kIntI = 'I', kIntG = 'G', kIntB = 'B', kIntS = 'S' };

// Expression states.
enum State { sStart, sNamed, sAfterSign, sAfterCoef, sAfterTerm, sAfterSense, sAfterRhsSign, sDone };

struct rowlist {
  namestore names;
  std::vector<int> beg;  // entries of row i: beg[i] .. beg[i+1]
  std::vector<int> col;
  std::vector<double> val;
  std::vector<double> rhs;
  std::vector<char> sense;
  std::vector<char> named;
};

class lpreader {
 public:
  lpreader(env *e, FILE *fp, filemodel &m) : e_(e), lr_(fp), m_(m), coltab_(m.colnames) {}
  int run();

 private:
  bool nextline();
  Section keyword(size_t *textstart);
  int exprtext(const std::string &t, bool objective);
  int term(const std::string &t, size_t &p, bool objective);
  int quadpart(const std::string &t, size_t &p);
  int finishrow(bool objective, int atline, char found);
  int boundsline(const std::string &t);
  int intline(const char *text);
  int sosline(const char *text);
  int assemble();
  int colindex(std::string_view name);
  std::string_view cut(std::string_view s);
  int numerror(int rc, const std::string &tok);

  env *e_;
  linereader lr_;
  filemodel &m_;
  nametable coltab_;
  char *line_ = nullptr;
  size_t len_ = 0;
  int lineno_ = 0;
  std::string clean_;  // the line without invalid characters
  std::vector<char> gap_;  // gap_[i]: a blank stood before character i of the expression text

  Section sec_ = kObjective;
  IntKind intkind_ = kIntI;
  State st_ = sStart;
  int signline_ = 0;  // line of a sign or coefficient that ended a line
  int lastline_ = 0;  // the line that ended in the current state
  double sign_ = 1.0;
  double coef_ = 1.0;
  char sense_ = 0;
  double rhssign_ = 1.0;
  bool rowopen_ = false;
  std::string rowname_;
  bool rownamed_ = false;
  // Objective entries (column, value) and the rows of the three row lists.
  std::vector<int> objcol_;
  std::vector<double> objval_;
  rowlist rows_[3];
  int cur_ = 0;  // which row list receives rows
  // Quadratic objective: mirrored entries.
  double qsign_ = 1.0;
  bool inquad_ = false;
  // Bound and integer records in file order.
  struct boundrec {
    int col;
    char which;  // 'L', 'U' or 'B' (both)
    double v;
  };
  std::vector<boundrec> bounds_;
  std::vector<std::pair<int, char>> intrec_;
  bool sosstarted_ = false;
  int truncations_ = 0;
};

bool lpreader::nextline() {
  while (true) {
    line_ = lr_.next(&len_);
    if (line_ == nullptr) return false;
    ++lineno_;
    clean_.clear();
    for (size_t i = 0; i < len_; ++i) {
      char ch = line_[i];
      uint32_t f = cls(ch);
      if (f & kLineEnd) break;
      if (!(f & kValid)) {
        if (ch == '\t' || (f & kBlank)) {
          clean_ += ' ';
          continue;
        }
        msg(e_->warnchannel, "Warning, line %d: Unexpected character code %d skipped.\n", lineno_,
            static_cast<unsigned char>(ch));
        continue;
      }
      clean_ += ch;
    }
    size_t k = 0;
    while (k < clean_.size() && clean_[k] == ' ') ++k;
    if (k == clean_.size()) continue;
    return true;
  }
}

std::string_view lpreader::cut(std::string_view s) {
  if (s.size() <= 255) return s;
  if (truncations_++ < 20) {
    std::string t(s);
    msg(e_->warnchannel, "Warning, line %d: '%s' truncated.\n", lineno_, t.c_str());
  }
  return s.substr(0, 255);
}

namespace {
bool wordis(std::string_view w, const char *upper) {
  size_t n = std::strlen(upper);
  if (w.size() != n) return false;
  for (size_t i = 0; i < n; ++i)
    if (std::toupper(static_cast<unsigned char>(w[i])) != upper[i]) return false;
  return true;
}
bool prefixof(std::string_view w, const char *upper, size_t minlen) {
  if (w.size() < minlen || w.size() > std::strlen(upper)) return false;
  for (size_t i = 0; i < w.size(); ++i)
    if (std::toupper(static_cast<unsigned char>(w[i])) != upper[i]) return false;
  return true;
}
}  // namespace

// Tests the first word(s) of the line; only keywords of the current section
// or a later one count.
Section lpreader::keyword(size_t *textstart) {
  const std::string &s = clean_;
  size_t a = 0;
  while (a < s.size() && s[a] == ' ') ++a;
  size_t b = a;
  while (b < s.size() && s[b] != ' ') ++b;
  std::string_view w(s.data() + a, b - a);
  size_t c = b;
  while (c < s.size() && s[c] == ' ') ++c;
  size_t d = c;
  while (d < s.size() && s[d] != ' ') ++d;
  std::string_view w2(s.data() + c, d - c);
  if (!w2.empty() && w2.back() == ':') w2.remove_suffix(1);
  Section found = kNoKey;
  size_t end = b;
  IntKind ik = kIntI;
  if (prefixof(w, "MINIMIZE", 3) || prefixof(w, "MAXIMIZE", 3)) {
    found = kObjective;
  } else if (wordis(w, "ST") || wordis(w, "ST.") || wordis(w, "S.T") || wordis(w, "S.T.")) {
    found = kConstraints;
  } else if ((wordis(w, "SUBJECT") && wordis(w2, "TO")) || (wordis(w, "SUCH") && wordis(w2, "THAT"))) {
    found = kConstraints;
    end = d;
  } else if (wordis(w, "USER") && wordis(w2, "CUTS")) {
    found = kUserCuts;
    end = d;
  } else if (wordis(w, "LAZY") && wordis(w2, "CONSTRAINTS")) {
    found = kLazy;
    end = d;
  } else if (prefixof(w, "BOUNDS", 4)) {
    found = kBounds;
  } else if (wordis(w, "INT") || wordis(w, "INTS") || wordis(w, "INTEGER") || wordis(w, "INTEGERS")) {
    found = kIntegers;
    ik = kIntI;
  } else if (wordis(w, "BIN") || wordis(w, "BINS") || wordis(w, "BINARY") || wordis(w, "BINARIES")) {
    found = kIntegers;
    ik = kIntB;
  } else if (wordis(w, "GEN") || wordis(w, "GENS") || wordis(w, "GENERAL") || wordis(w, "GENERALS")) {
    found = kIntegers;
    ik = kIntG;
  } else if (wordis(w, "SEMI") || wordis(w, "SEMIS") || wordis(w, "SEMI-CONTINUOUS")) {
    found = kIntegers;
    ik = kIntS;
  } else if (wordis(w, "SOS")) {
    found = kSets;
  } else if (wordis(w, "END")) {
    found = kEnd;
  }
  if (found == kNoKey) return kNoKey;
  // Only the current section or a later one.
  if (found < sec_) return kNoKey;
  if (found == kIntegers) intkind_ = ik;
  *textstart = end;
  return found;
}

int lpreader::numerror(int rc, const std::string &tok) {
  if (rc == 2) return fileerror(e_, 1435, lineno_, tok.c_str());
  if (rc == 3) return fileerror(e_, 1618, lineno_, tok.c_str(), "started");
  if (rc == 4) return fileerror(e_, 1618, lineno_, tok.c_str(), "ended");
  return fileerror(e_, 1434, lineno_, tok.c_str());
}

int lpreader::colindex(std::string_view name) {
  int j = coltab_.find(name);
  if (j >= 0) return j;
  j = m_.colnames.size();
  m_.colnames.add(name);
  coltab_.insert(j);
  return j;
}

namespace {
// A name that reads like a number: "e", "E", or e/E and a digit at its start.
bool numberlike(std::string_view n) {
  if (n.empty()) return false;
  if (n[0] != 'e' && n[0] != 'E') return false;
  return n.size() == 1 || (n[1] >= '0' && n[1] <= '9');
}
}  // namespace

// One term at position p (after an optional sign): coefficient and name.
int lpreader::term(const std::string &t, size_t &p, bool objective) {
  (void)objective;
  double c = 1.0;
  if (st_ != sAfterCoef) {
    if (!(cls(t[p]) & kNameStart)) {
      size_t q = p;
      while (q < t.size() && (cls(t[q]) & kNumber) && !(q > p && gap_[q])) ++q;
      // "2e" before a name: the letter belongs to the name.
      if (q > p && (cls(t[q - 1]) & kExpLetter) && q < t.size()) --q;
      if (q == p) return fileerror(e_, 1615, lineno_, t[p]);
      std::string tok = t.substr(p, q - p);
      int rc = parsenumber(tok, &c, false);
      if (rc) return numerror(rc, tok);
      p = q;
      coef_ = c;
      if (p >= t.size()) {
        st_ = sAfterCoef;
        signline_ = lineno_;
        return 0;
      }
      if (!(cls(t[p]) & kNameStart)) return fileerror(e_, 1616, lineno_, t[p]);
    } else {
      coef_ = 1.0;
    }
  } else if (!(cls(t[p]) & kNameStart)) {
    return fileerror(e_, 1609, lineno_);
  }
  size_t q = p;
  while (q < t.size() && !(cls(t[q]) & kNameEnd)) ++q;
  std::string_view name = cut(std::string_view(t).substr(p, q - p));
  if (numberlike(name)) {
    std::string s(name);
    return fileerror(e_, 1617, lineno_, s.c_str());
  }
  p = q;
  int j = colindex(name);
  double v = sign_ * coef_;
  if (v != 0.0) {
    if (objective) {
      objcol_.push_back(j);
      objval_.push_back(v);
    } else {
      rows_[cur_].col.push_back(j);
      rows_[cur_].val.push_back(v);
    }
  }
  sign_ = 1.0;
  coef_ = 1.0;
  st_ = sAfterTerm;
  return 0;
}

// The bracketed quadratic part of the objective, from just after "[".
int lpreader::quadpart(const std::string &t, size_t &p) {
  while (p < t.size()) {
    char ch = t[p];
    if (ch == ']') {
      ++p;
      inquad_ = false;
      if (p < t.size() && t[p] == '/') {
        ++p;
        size_t q = p;
        while (q < t.size() && ((cls(t[q]) & kDigit) || t[q] == '.')) ++q;
        double d = 0;
        if (q == p || parsenumber(t.substr(p, q - p), &d, false) != 0 || std::fabs(d - 2.0) > 1e-10)
          return fileerror(e_, 1619, lineno_);
        p = q;
      } else {
        msg(e_->warnchannel, "Warning:  Line %d: deprecated format, expecting '] / 2'.\n", lineno_);
      }
      st_ = sAfterTerm;
      return 0;
    }
    double s = 1.0;
    if (cls(ch) & kSign) {
      s = ch == '-' ? -1.0 : 1.0;
      ++p;
      if (p >= t.size()) return fileerror(e_, 1612, lineno_);
    }
    double c = 1.0;
    if (!(cls(t[p]) & kNameStart)) {
      size_t q = p;
      while (q < t.size() && (cls(t[q]) & kNumber) && !(q > p && gap_[q])) ++q;
      if (q > p && (cls(t[q - 1]) & kExpLetter) && q < t.size()) --q;
      if (q == p) return fileerror(e_, 1615, lineno_, t[p]);
      std::string tok = t.substr(p, q - p);
      int rc = parsenumber(tok, &c, false);
      if (rc) return numerror(rc, tok);
      p = q;
      if (p >= t.size() || !(cls(t[p]) & kNameStart))
        return fileerror(e_, 1616, lineno_, p < t.size() ? t[p] : ' ');
    }
    size_t q = p;
    while (q < t.size() && !(cls(t[q]) & kNameEnd)) ++q;
    std::string_view a = cut(std::string_view(t).substr(p, q - p));
    if (numberlike(a)) return fileerror(e_, 1617, lineno_, std::string(a).c_str());
    int i = colindex(a);
    p = q;
    double v = qsign_ * s * c;
    if (p < t.size() && t[p] == '^') {
      ++p;
      size_t r = p;
      while (r < t.size() && ((cls(t[r]) & kDigit) || t[r] == '.')) ++r;
      double ex = 0;
      if (r == p || parsenumber(t.substr(p, r - p), &ex, false) != 0)
        return fileerror(e_, 1612, lineno_);
      if (ex != 2.0) return fileerror(e_, 1613, lineno_);
      p = r;
      if (v != 0.0) {
        m_.qrow.push_back(i);
        m_.qcol.push_back(i);
        m_.qval.push_back(v);
      }
    } else if (p < t.size() && t[p] == '*') {
      ++p;
      size_t r = p;
      while (r < t.size() && !(cls(t[r]) & kNameEnd)) ++r;
      if (r == p) return fileerror(e_, 1616, lineno_, p < t.size() ? t[p] : ' ');
      std::string_view b = cut(std::string_view(t).substr(p, r - p));
      if (numberlike(b)) return fileerror(e_, 1617, lineno_, std::string(b).c_str());
      int j = colindex(b);
      p = r;
      if (v != 0.0) {
        if (i == j) {
          m_.qrow.push_back(i);
          m_.qcol.push_back(i);
          m_.qval.push_back(v);
        } else {
          m_.qrow.push_back(i);
          m_.qcol.push_back(j);
          m_.qval.push_back(v / 2);
          m_.qrow.push_back(j);
          m_.qcol.push_back(i);
          m_.qval.push_back(v / 2);
        }
      }
    } else {
      return fileerror(e_, 1614, lineno_);
    }
  }
  return 0;
}

// Runs the expression state machine over one line's blank-free text.
int lpreader::exprtext(const std::string &t, bool objective) {
  size_t p = 0;
  int status = 0;
  bool linestart = true;
  while (p < t.size()) {
    if (inquad_) {
      if ((status = quadpart(t, p)) != 0) return status;
      linestart = false;
      continue;
    }
    char ch = t[p];
    uint32_t f = cls(ch);
    switch (st_) {
      case sStart: {
        size_t q = p;
        while (q < t.size() && !(cls(t[q]) & kNameEnd)) ++q;
        rowopen_ = true;
        rownamed_ = false;
        rowname_.clear();
        if (q < t.size() && t[q] == ':') {
          rowname_ = std::string(cut(std::string_view(t).substr(p, q - p)));
          rownamed_ = !rowname_.empty();
          p = q + 1;
        }
        st_ = sNamed;
        break;
      }
      case sNamed:
      case sAfterSign:
      case sAfterTerm:
      case sAfterCoef: {
        bool aftersign = st_ == sAfterSign;
        if (st_ == sAfterCoef) {
          if ((status = term(t, p, objective)) != 0) return status;
          break;
        }
        if (f & kSign) {
          if (aftersign) {
            if (linestart) return fileerror(e_, 1602, signline_, lineno_);
            return fileerror(e_, 1615, lineno_, ch);
          }
          sign_ = ch == '-' ? -1.0 : 1.0;
          ++p;
          st_ = sAfterSign;
          signline_ = lineno_;
          break;
        }
        if (f & kSense) {
          if (objective) return fileerror(e_, 1603, lineno_);
          if (aftersign) {
            if (linestart) return fileerror(e_, 1604, signline_, lineno_);
            return fileerror(e_, 1615, lineno_, ch);
          }
          char s = 0;
          if (ch == '<') {
            s = 'L';
            ++p;
            if (p < t.size() && t[p] == '=') ++p;
          } else if (ch == '>') {
            s = 'G';
            ++p;
            if (p < t.size() && t[p] == '=') ++p;
          } else {
            ++p;
            if (p < t.size() && t[p] == '<') {
              s = 'L';
              ++p;
            } else if (p < t.size() && t[p] == '>') {
              s = 'G';
              ++p;
            } else {
              s = 'E';
            }
          }
          sense_ = s;
          rhssign_ = 1.0;
          st_ = sAfterSense;
          break;
        }
        if (ch == '[') {
          if (!objective) return fileerror(e_, 1605, lineno_);
          if (st_ == sAfterTerm) return fileerror(e_, 1607, lineno_, ch);
          qsign_ = aftersign ? sign_ : 1.0;
          sign_ = 1.0;
          inquad_ = true;
          ++p;
          break;
        }
        if (f & kQuad) {
          if (aftersign && linestart) return fileerror(e_, 1606, signline_, lineno_);
          if (st_ == sAfterTerm)
            return objective ? fileerror(e_, 1607, lineno_, ch) : fileerror(e_, 1608, lineno_, ch);
          return fileerror(e_, 1615, lineno_, ch);
        }
        if (st_ == sAfterTerm)
          return objective ? fileerror(e_, 1607, lineno_, ch) : fileerror(e_, 1608, lineno_, ch);
        if ((status = term(t, p, objective)) != 0) return status;
        break;
      }
      case sAfterSense:
      case sAfterRhsSign: {
        if ((f & kSign) && st_ == sAfterSense && p + 1 == t.size()) {
          rhssign_ = ch == '-' ? -1.0 : 1.0;
          st_ = sAfterRhsSign;
          signline_ = lineno_;
          ++p;
          break;
        }
        std::string tok = t.substr(p);
        if (!(f & kNumber)) {
          if (st_ == sAfterRhsSign && linestart) return fileerror(e_, 1611, lineno_);
          return fileerror(e_, 1610, lineno_);
        }
        size_t q = p;
        while (q < t.size() && (cls(t[q]) & kNumber)) ++q;
        double v;
        int rc = parsenumber(tok, &v, false);
        if (rc) {
          if (q == t.size()) return numerror(rc, tok);
          return fileerror(e_, 1434, lineno_, tok.c_str());
        }
        rowlist &rl = rows_[cur_];
        rl.rhs.push_back(rhssign_ * v);
        rl.sense.push_back(sense_);
        rl.names.add(rownamed_ ? rowname_ : std::string("***********"));
        rl.named.push_back(rownamed_ ? 1 : 0);
        rl.beg.push_back(static_cast<int>(rl.col.size()));
        p = t.size();
        st_ = sStart;
        rowopen_ = false;
        break;
      }
      case sDone:
        st_ = sStart;
        break;
    }
    linestart = false;
  }
  lastline_ = lineno_;
  return 0;
}

// A row (or the objective) that a new section or the end of the file cut off.
int lpreader::finishrow(bool objective, int atline, char found) {
  if (objective) {
    if (inquad_ || st_ == sAfterSign || st_ == sAfterCoef)
      msg(e_->warnchannel, "Warning, line %d: Objective ended unexpectedly.\n", lastline_);
    inquad_ = false;
    st_ = sStart;
    sign_ = coef_ = 1.0;
    return 0;
  }
  if (st_ == sStart || !rowopen_) return 0;
  switch (st_) {
    case sAfterSense:
      return fileerror(e_, 1610, atline);
    case sAfterRhsSign:
      return fileerror(e_, 1611, atline);
    case sAfterCoef:
      return fileerror(e_, 1609, atline);
    case sAfterSign:
      return fileerror(e_, 1615, atline, found);
    default:
      return fileerror(e_, 1608, atline, found);
  }
}

int lpreader::boundsline(const std::string &raw) {
  std::string t;
  for (char ch : raw)
    if (ch != ' ') t += ch;
  auto senseat = [&](size_t &p, char *s) {
    char ch = t[p];
    if (ch == '<') {
      *s = 'L';
      ++p;
      if (p < t.size() && t[p] == '=') ++p;
    } else if (ch == '>') {
      *s = 'G';
      ++p;
      if (p < t.size() && t[p] == '=') ++p;
    } else {
      ++p;
      if (p < t.size() && t[p] == '<') {
        *s = 'L';
        ++p;
      } else if (p < t.size() && t[p] == '>') {
        *s = 'G';
        ++p;
      } else {
        *s = 'E';
      }
    }
  };
  auto findcol = [&](std::string_view name, int *j) {
    *j = coltab_.find(name);
    if (*j >= 0) return true;
    std::string s(name);
    double v;
    if (!name.empty() && ((cls(name[0]) & kNumber) || parsenumber(name, &v, true) == 0))
      msg(e_->warnchannel, "Line %d: '%s' not valid identifier.\n", lineno_, s.c_str());
    else
      msg(e_->warnchannel, "Line %d: Name '%s' does not exist.\n", lineno_, s.c_str());
    return false;
  };
  auto num = [&](size_t &p, double *v) {
    size_t q = p;
    // A number, or a signed infinity written as a word.
    if (q < t.size() && (cls(t[q]) & kSign)) ++q;
    if (q < t.size() && (t[q] == 'i' || t[q] == 'I')) {
      while (q < t.size() && !(cls(t[q]) & kNameEnd)) ++q;
    } else {
      while (q < t.size() && (cls(t[q]) & kNumber)) ++q;
    }
    if (q == p) return 1623;
    std::string tok = t.substr(p, q - p);
    int rc = parsenumber(tok, v, true);
    if (rc) return numerror(rc, tok);
    p = q;
    return 0;
  };
  auto apply = [&](int j, char sense, bool leftside, double v) {
    char which = sense == 'E' ? 'B' : ((sense == 'L') != leftside ? 'U' : 'L');
    bounds_.push_back(boundrec{j, which, v});
  };
  if (t.empty()) return 0;
  if (cls(t[0]) & kNameStart) {
    size_t p = 0;
    while (p < t.size() && !(cls(t[p]) & kSense)) ++p;
    if (p == t.size()) {
      if (t.size() < 4 || !ciprefix("FREE", t.c_str() + t.size() - 4))
        return fileerror(e_, 1621, lineno_);
      int j;
      if (!findcol(std::string_view(t).substr(0, t.size() - 4), &j)) return 0;
      bounds_.push_back(boundrec{j, 'L', -1e20});
      bounds_.push_back(boundrec{j, 'U', 1e20});
      return 0;
    }
    std::string_view name = cut(std::string_view(t).substr(0, p));
    char s;
    senseat(p, &s);
    double v;
    if (p >= t.size()) return fileerror(e_, 1623, lineno_);
    int rc = num(p, &v);
    if (rc == 1623) return fileerror(e_, 1623, lineno_);
    if (rc) return rc;
    if (p != t.size()) return fileerror(e_, 1434, lineno_, t.c_str() + p);
    int j;
    if (!findcol(name, &j)) return 0;
    apply(j, s, false, v);
    return 0;
  }
  if (cls(t[0]) & kNumber) {
    size_t p = 0;
    double v1;
    int rc = num(p, &v1);
    if (rc == 1623) return fileerror(e_, 1623, lineno_);
    if (rc) return rc;
    if (p >= t.size() || !(cls(t[p]) & kSense)) return fileerror(e_, 1622, lineno_);
    char s1;
    senseat(p, &s1);
    size_t q = p;
    while (q < t.size() && !(cls(t[q]) & kSense)) ++q;
    std::string_view name = cut(std::string_view(t).substr(p, q - p));
    p = q;
    bool two = p < t.size();
    char s2 = 0;
    double v2 = 0;
    if (two) {
      senseat(p, &s2);
      if (p >= t.size()) return fileerror(e_, 1623, lineno_);
      rc = num(p, &v2);
      if (rc == 1623) return fileerror(e_, 1623, lineno_);
      if (rc) return rc;
      if (p != t.size()) return fileerror(e_, 1434, lineno_, t.c_str() + p);
    }
    int j;
    if (!findcol(name, &j)) return 0;
    apply(j, s1, true, v1);
    if (two) {
      if (s1 != s2 || s1 == 'E')
        msg(e_->warnchannel, "Warning, line %d: Possible sense conflict.\n", lineno_);
      apply(j, s2, false, v2);
    }
    return 0;
  }
  return fileerror(e_, 1623, lineno_);
}

int lpreader::intline(const char *text) {
  const char *p = text;
  while (*p) {
    while (*p == ' ') ++p;
    if (!*p) break;
    const char *s = p;
    while (*p && *p != ' ') ++p;
    std::string_view name = cut(std::string_view(s, static_cast<size_t>(p - s)));
    int j = coltab_.find(name);
    if (j < 0) {
      std::string n(name);
      double v;
      if ((cls(n[0]) & kNumber) || parsenumber(n, &v, true) == 0)
        msg(e_->warnchannel, "Line %d: '%s' not valid identifier.\n", lineno_, n.c_str());
      else
        msg(e_->warnchannel, "Line %d: Name '%s' does not exist.\n", lineno_, n.c_str());
      continue;
    }
    intrec_.emplace_back(j, static_cast<char>(intkind_));
  }
  return 0;
}

int lpreader::sosline(const char *text) {
  std::string t(text);
  for (char &c : t)
    if (c == ':') c = ' ';
  // Tokens; "::" after the set type is checked on the original text.
  const char *p = text;
  while (*p == ' ') ++p;
  const char *s = p;
  while (*p && *p != ' ' && *p != ':') ++p;
  std::string first(s, static_cast<size_t>(p - s));
  bool header = first.size() == 2 && (first[0] == 'S' || first[0] == 's') &&
                (first[1] == '1' || first[1] == '2');
  if (header) {
    while (*p == ' ') ++p;
    if (p[0] != ':') return fileerror(e_, 1627, lineno_, p[0] ? p[0] : ' ');
    if (p[1] != ':') return fileerror(e_, 1627, lineno_, p[1] ? p[1] : ' ');
    p += 2;
    m_.sostype.push_back(first[1]);
    m_.sosbeg.push_back(static_cast<int>(m_.sosind.size()));
    sosstarted_ = true;
  } else if (!sosstarted_) {
    return fileerror(e_, 1442, lineno_, first.empty() ? ' ' : first[0],
                     first.size() > 1 ? first[1] : ' ');
  } else {
    p = s;
  }
  // Members: name [: weight].
  while (*p) {
    while (*p == ' ') ++p;
    if (!*p) break;
    const char *n0 = p;
    while (*p && *p != ' ' && *p != ':') ++p;
    std::string_view name = cut(std::string_view(n0, static_cast<size_t>(p - n0)));
    while (*p == ' ') ++p;
    double w = 0.0;
    bool hasw = false;
    if (*p == ':') {
      ++p;
      while (*p == ' ') ++p;
      const char *w0 = p;
      while (*p && *p != ' ') ++p;
      std::string tok(w0, static_cast<size_t>(p - w0));
      if (tok.empty() || tok == "+" || tok == "-") return fileerror(e_, 1434, lineno_, tok.c_str());
      int rc = parsenumber(tok, &w, false);
      if (rc) return numerror(rc, tok);
      hasw = true;
    }
    (void)hasw;
    int j = coltab_.find(name);
    if (j < 0) {
      std::string n(name);
      msg(e_->warnchannel, "Line %d: Name '%s' does not exist.\n", lineno_, n.c_str());
      continue;
    }
    m_.sosind.push_back(j);
    m_.soswt.push_back(w);
  }
  return 0;
}

int lpreader::assemble() {
  rowlist &rl = rows_[0];
  int nrows = static_cast<int>(rl.sense.size());
  int ncols = m_.colnames.size();
  if (nrows >= 268435451) return fileerror(e_, 1431);
  if (ncols >= 268435451) return fileerror(e_, 1432);
  if (rl.col.size() >= 268435451u) return fileerror(e_, 1433);
  // Unnamed rows get c<number>.
  m_.rownames.clear();
  for (int i = 0; i < nrows; ++i) {
    if (rl.named[i])
      m_.rownames.add(std::string_view(rl.names.get(i), rl.names.len(i)));
    else {
      char buf[24];
      int n = std::snprintf(buf, sizeof buf, "c%d", i + 1);
      m_.rownames.add(std::string_view(buf, static_cast<size_t>(n)));
    }
  }
  // Repeated row names, the objective's name among them, are warnings.
  {
    nametable rt(m_.rownames);
    int reps = 0;
    for (int i = 0; i < nrows; ++i) {
      bool rep = rt.insert(i) >= 0 || m_.objname == m_.rownames.get(i);
      if (rep) {
        if (reps < 5) msg(e_->warnchannel, "Row '%s' repeats.\n", m_.rownames.get(i));
        ++reps;
      }
    }
    if (reps > 5) msg(e_->warnchannel, "%d repeated row warnings not printed.\n", reps - 5);
  }
  m_.numrows = nrows;
  m_.numcols = ncols;
  m_.rhs = rl.rhs;
  m_.sense = rl.sense;
  m_.obj.assign(ncols, 0.0);
  for (size_t k = 0; k < objcol_.size(); ++k) m_.obj[objcol_[k]] += objval_[k];
  // Transpose, adding up entries of one column in one row.
  std::vector<int> cnt(ncols + 1, 0);
  for (int c : rl.col) ++cnt[c + 1];
  for (int j = 0; j < ncols; ++j) cnt[j + 1] += cnt[j];
  std::vector<int> ind(rl.col.size());
  std::vector<double> val(rl.col.size());
  {
    std::vector<int> fill(cnt.begin(), cnt.end() - 1);
    int r = 0;
    for (size_t k = 0; k < rl.col.size(); ++k) {
      while (r + 1 < static_cast<int>(rl.beg.size()) && static_cast<int>(k) >= rl.beg[r + 1]) ++r;
      int p = fill[rl.col[k]]++;
      ind[p] = r;
      val[p] = rl.val[k];
    }
  }
  m_.matbeg.resize(ncols);
  m_.matcnt.resize(ncols);
  m_.matind.clear();
  m_.matval.clear();
  for (int j = 0; j < ncols; ++j) {
    m_.matbeg[j] = static_cast<int>(m_.matind.size());
    for (int k = cnt[j]; k < cnt[j + 1]; ++k) {
      if (!m_.matind.empty() && static_cast<int>(m_.matind.size()) > m_.matbeg[j] &&
          m_.matind.back() == ind[k]) {
        m_.matval.back() += val[k];
      } else {
        m_.matind.push_back(ind[k]);
        m_.matval.push_back(val[k]);
      }
    }
    m_.matcnt[j] = static_cast<int>(m_.matind.size()) - m_.matbeg[j];
  }
  // Bounds in file order, then the integer records.
  m_.lb.assign(ncols, 0.0);
  m_.ub.assign(ncols, 1e20);
  std::vector<char> hadbound(ncols, 0);
  for (const boundrec &b : bounds_) {
    if (b.which != 'U') m_.lb[b.col] = b.v;
    if (b.which != 'L') m_.ub[b.col] = b.v;
    hadbound[b.col] = 1;
  }
  std::vector<char> t(ncols);
  for (int j = 0; j < ncols; ++j) t[j] = hadbound[j] ? 'O' : 'C';
  bool flag = false;
  for (const auto &[j, kind] : intrec_) {
    char &c = t[j];
    switch (kind) {
      case kIntG:
        c = c == 'S' ? 'N' : 'I';
        break;
      case kIntB: {
        double lo = m_.lb[j], up = m_.ub[j];
        if (std::fabs(up - lo) >= 1e-10) {
          if (!hadbound[j]) {
            m_.lb[j] = 0.0;
            m_.ub[j] = 1.0;
          } else if (lo != 0.0 || up != 1.0) {
            flag = true;
          }
        } else if (lo != 0.0 && lo != 1.0) {
          flag = true;
        }
        c = 'B';
        break;
      }
      case kIntI:
        if (c == 'O') {
          c = (m_.lb[j] == 0.0 && m_.ub[j] == 1.0) ? 'B' : 'I';
        } else {
          m_.ub[j] = 1.0;
          c = 'B';
        }
        break;
      case kIntS:
        c = c == 'I' ? 'N' : 'S';
        break;
    }
  }
  bool integer = false;
  for (char &c : t) {
    if (c == 'O') c = 'C';
    if (c != 'C') integer = true;
  }
  if (flag)
    msg(e_->warnchannel, "Warning:  Binary variables declared with bounds other than 0 and 1.\n");
  if (integer || !m_.sostype.empty()) m_.ctype = t;
  if (!m_.sostype.empty()) {
    // Members without a weight take their position in the set.
    for (size_t s = 0; s < m_.sostype.size(); ++s) {
      size_t b = m_.sosbeg[s], en = s + 1 < m_.sostype.size() ? m_.sosbeg[s + 1] : m_.sosind.size();
      for (size_t k = b; k < en; ++k)
        if (m_.soswt[k] == 0.0) m_.soswt[k] = static_cast<double>(k - b + 1);
    }
  }
  if (!rows_[1].sense.empty() || !rows_[2].sense.empty()) return 1;
  return 0;
}

int lpreader::run() {
  m_.objname = "obj";
  // The file must open with the objective keyword.
  if (!nextline()) return 1436;
  size_t start = 0;
  if (keyword(&start) != kObjective) return 1436;
  {
    size_t a = 0;
    while (a < clean_.size() && clean_[a] == ' ') ++a;
    m_.objsen = (clean_[a + 1] == 'I' || clean_[a + 1] == 'i') ? 1 : -1;
  }
  sec_ = kObjective;
  bool objnamed = false;
  std::string text = clean_.substr(start);
  bool ended = false;
  int status = 0;
  auto blankfree = [this](const std::string &s) {
    std::string t;
    t.reserve(s.size());
    gap_.clear();
    bool blank = false;
    for (char c : s) {
      if (c == ' ') {
        blank = true;
        continue;
      }
      t += c;
      gap_.push_back(blank ? 1 : 0);
      blank = false;
    }
    return t;
  };
  while (true) {
    if (!text.empty()) {
      switch (sec_) {
        case kObjective:
        case kConstraints:
        case kUserCuts:
        case kLazy: {
          std::string t = blankfree(text);
          if (t.empty()) break;
          if (len_ > 509) {
            bool sign = false;
            for (size_t k = 0; k < 509 && k < len_; ++k)
              if (line_[k] == '+' || line_[k] == '-') sign = true;
            if (!sign) return fileerror(e_, 1464, lineno_);
          }
          bool obj = sec_ == kObjective;
          State before = st_;
          if ((status = exprtext(t, obj)) != 0) return status;
          if (obj && before == sStart && st_ != sStart && !objnamed) {
            objnamed = true;
            if (!rowname_.empty()) m_.objname = rowname_;
          }
          break;
        }
        case kBounds:
          if ((status = boundsline(text)) != 0) return status;
          break;
        case kIntegers:
          if ((status = intline(text.c_str())) != 0) return status;
          break;
        case kSets:
          if ((status = sosline(text.c_str())) != 0) return status;
          break;
        case kEnd:
        case kNoKey:
          break;
      }
    }
    if (sec_ == kEnd) {
      ended = true;
      break;
    }
    if (!nextline()) break;
    Section k = keyword(&start);
    if (k != kNoKey) {
      size_t a = 0;
      while (a < clean_.size() && clean_[a] == ' ') ++a;
      if ((status = finishrow(sec_ == kObjective, lineno_, clean_[a])) != 0) return status;
      sec_ = k;
      cur_ = k == kUserCuts ? 1 : k == kLazy ? 2 : 0;
      st_ = sStart;
      text = clean_.substr(start);
    } else {
      text = clean_;
    }
  }
  if (!ended) {
    if ((status = finishrow(sec_ == kObjective, lineno_, ' ')) != 0) return status;
    msg(e_->warnchannel, "Warning: 'End' missing.\n");
  }
  if (lr_.failed()) return fileerror(e_, 1423, "<input>");
  if (truncations_ > 20)
    msg(e_->warnchannel, "%d truncation warning messages not printed.\n", truncations_ - 20);
  for (rowlist &rl : rows_) rl.beg.insert(rl.beg.begin(), 0);
  status = assemble();
  if (status == 1) {
    msg(e_->errchannel, "User cuts and lazy constraints cannot be loaded.\n");
    return 1017;
  }
  return status;
}

}  // namespace

int lpreadfp(env *e, FILE *fp, filemodel &m) {
  lpreader r(e, fp, m);
  return r.run();
}

int lpreadfile(env *e, const char *name, filemodel &m) {
  return readmodelfile(e, name, ".lp", m, lpreadfp);
}

}  // namespace velto
