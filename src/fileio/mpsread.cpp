// Reader of the MPS format.  Every line is cut into tokens at white space, so
// fixed-column files read as long as their names hold no blanks; fixed-column
// files that leave the RHS, RANGES or BOUNDS set name blank are recognised by
// their token count.
#include <algorithm>
#include <cmath>
#include <string>

#include "env/files.h"
#include "fileio/mpsutil.h"
#include "fileio/rwutil.h"

namespace velto {

namespace {

constexpr int kMaxName = 255;
constexpr int kMaxCount = 268435450;
constexpr int kMaxTok = 8;

enum Section {
  kSecNone, kSecName, kSecObjsense, kSecObjname, kSecRefrow, kSecRows, kSecColumns, kSecRhs,
  kSecRanges, kSecBounds, kSecSos, kSecQmatrix, kSecQuadobj, kSecEndata, kSecUnknown
};

struct sectionword {
  const char *word;
  Section sec;
};
const sectionword kSections[] = {
    {"NAME", kSecName},     {"OBJSENSE", kSecObjsense}, {"OBJSENCE", kSecObjsense},
    {"OBJNAME", kSecObjname}, {"REFROW", kSecRefrow},   {"ROWS", kSecRows},
    {"COLUMNS", kSecColumns}, {"RHS", kSecRhs},         {"RANGES", kSecRanges},
    {"BOUNDS", kSecBounds}, {"SOS", kSecSos},           {"QMATRIX", kSecQmatrix},
    {"QUADOBJ", kSecQuadobj}, {"ENDATA", kSecEndata}};

Section sectionof(const char *line) {
  for (const sectionword &w : kSections)
    if (ciprefix(w.word, line)) return w.sec;
  return kSecUnknown;
}

const char *sectionname(Section s) {
  for (const sectionword &w : kSections)
    if (w.sec == s) return w.word;
  return "";
}

inline bool issep(unsigned char c) { return c <= ' ' || c == 127; }

struct token {
  const char *p = nullptr;
  int n = 0;
  std::string_view sv() const { return std::string_view(p, static_cast<size_t>(n)); }
};

// An entry of a column while its rows are sorted.
struct colentry {
  int row;
  int pos;
  double val;
};

// Row kinds after the objective is chosen.
constexpr int kRowObj = -2;
constexpr int kRowFree = -1;

class mpsreader {
 public:
  mpsreader(env *e, FILE *fp, filemodel &m) : e_(e), lr_(fp), m_(m), rowtab_(rownames_), coltab_(m.colnames) {}
  int run();

 private:
  int readline();
  int tokenize(const char *from, token *t, int maxtok);
  std::string_view cutname(const token &t);
  int number(const token &t, double *v, bool allowinf);
  int rowentry(const token *t, int k, int nmax, int *r, int *mr, double *v);
  int rowsline();
  int endrows();
  int columnsline();
  int endcolumns();
  int rimline(Section sec);
  int boundsline();
  void endbounds();
  int sosline();
  int quadline(Section sec);
  int assemble();
  int warnextra(const token *t, int from, int count);

  env *e_;
  linereader lr_;
  filemodel &m_;
  char *line_ = nullptr;
  size_t len_ = 0;
  int lineno_ = 0;
  int truncations_ = 0;
  int extrawarn_ = 0;
  bool emptynum_ = false;
  token tok_[kMaxTok + 1];

  // Rows as in the file.
  namestore rownames_;
  nametable rowtab_;
  nametable coltab_;
  std::vector<char> fsense_;
  std::vector<int> rowmap_;  // file row -> model row, kRowObj or kRowFree
  std::vector<double> frhs_, frng_;
  std::vector<int> reprows_;
  int objrow_ = -1;
  std::string objwanted_, refrow_;
  int refrowidx_ = -1;
  bool sensegiven_ = false;

  // Columns: entries of all columns end to end in file order.
  std::vector<int64_t> colstart_;
  std::vector<int> eind_;
  std::vector<double> eval_;
  std::vector<int> repcols_;
  bool intmarker_ = false;
  bool insos_ = false;
  int lastcol_ = -1;

  // Sets of RHS, RANGES, BOUNDS.
  // Per kind (RHS, RANGES, BOUNDS): the chosen set, the set of the lines
  // just read, and the sets that ended.
  std::string rimset_[3], rimcur_[3];
  bool rimchosen_[3] = {false, false, false};
  std::vector<std::string> rimseen_[3];
  bool seen(int which, const std::string &set) const {
    for (const std::string &x : rimseen_[which])
      if (x == set) return true;
    return false;
  }
  int setchange(int which, const std::string &set, const char *label, bool *use);
  // With rim vectors kept: the vector of the set being read per kind (index
  // into m_.rims, -1 before the first), whether that set is the first one
  // (which also makes the model's arrays), and for later sets the rows
  // ranged and the bound flags of the set alone.
  int rimat_[3] = {-1, -1, -1};
  bool firstset_[3] = {true, true, true};
  std::vector<char> osense_, laterrng_;
  filemodel laterbd_;
  std::vector<char> laterflag_;
  void rimadd(int which, int ind, double val, char lu) {
    if (rimat_[which] < 0) return;
    rimvector &r = m_.rims[rimat_[which]];
    r.ind.push_back(ind);
    r.val.push_back(val);
    r.lu.push_back(lu);
  }
  int objwarn_ = 0;
  std::vector<char> bflag_;
  bool boundsdone_ = false;
  bool morebounds_ = false;
  mpsboundwarn bwarn_;

  int quadwarn_ = 0;
};

int mpsreader::readline() {
  while (true) {
    line_ = lr_.next(&len_);
    if (line_ == nullptr) return 0;
    ++lineno_;
    unsigned char c = static_cast<unsigned char>(line_[0]);
    if (c == '*') continue;
    if (c != '\0' && c < 32 && c != ' ' && c != '\t' && c != '\r' && c != '\v' && c != '\f')
      continue;
    // Lines holding only blanks carry nothing and are skipped.
    size_t k = 0;
    while (k < len_ && issep(static_cast<unsigned char>(line_[k]))) ++k;
    if (k == len_) continue;
    return 1;
  }
}

// Cuts tokens from `from`; a token that begins with '$' ends the data.
int mpsreader::tokenize(const char *from, token *t, int maxtok) {
  int n = 0;
  const char *p = from;
  while (true) {
    while (*p != '\0' && issep(static_cast<unsigned char>(*p))) ++p;
    if (*p == '\0' || *p == '$') break;
    const char *s = p;
    while (*p != '\0' && !issep(static_cast<unsigned char>(*p))) ++p;
    if (n < maxtok) {
      t[n].p = s;
      t[n].n = static_cast<int>(p - s);
    }
    ++n;
  }
  return n;
}

std::string_view mpsreader::cutname(const token &t) {
  if (t.n <= kMaxName) return t.sv();
  if (truncations_ < 20)
    msg(e_->warnchannel, "Warning, line %d:  '%.*s' truncated.\n", lineno_, t.n, t.p);
  ++truncations_;
  return std::string_view(t.p, kMaxName);
}

int mpsreader::number(const token &t, double *v, bool allowinf) {
  if (t.p == nullptr || t.n == 0) {
    emptynum_ = true;
    *v = 0.0;
    return 0;
  }
  int rc = parsenumber(t.sv(), v, allowinf);
  if (rc == 0) return 0;
  std::string s(t.sv());
  if (rc == 2) return fileerror(e_, 1435, lineno_, s.c_str());
  return fileerror(e_, 1434, lineno_, s.c_str());
}

// A row name at token k and its value at k + 1 (a missing value is an
// error of number()): *r gets the row's number in the file and *mr its
// mapping; 1448 for an unknown row.
int mpsreader::rowentry(const token *t, int k, int nmax, int *r, int *mr, double *v) {
  std::string_view rname = cutname(t[k]);
  token num = (k + 1 < nmax) ? t[k + 1] : token();
  int rc = number(num, v, false);
  if (rc) return rc;
  *r = rowtab_.find(rname);
  if (*r < 0) {
    std::string s(rname);
    return fileerror(e_, 1448, lineno_, s.c_str());
  }
  *mr = rowmap_[*r];
  return 0;
}

int mpsreader::warnextra(const token *t, int from, int count) {
  if (count > from) {
    if (extrawarn_ < 5) {
      int n = std::min(count, kMaxTok);
      const char *s = t[from].p;
      const char *end = t[n - 1].p + t[n - 1].n;
      msg(e_->warnchannel, "Warning, line %d:  extra text '%.*s' ignored.\n", lineno_,
          static_cast<int>(std::min<long>(end - s, 255)), s);
    }
    ++extrawarn_;
  }
  return 0;
}

int mpsreader::rowsline() {
  const char *p = line_ + 1;
  while (*p != '\0' && issep(static_cast<unsigned char>(*p))) ++p;
  char c = static_cast<char>(std::toupper(static_cast<unsigned char>(*p)));
  if (c != 'E' && c != 'G' && c != 'L' && c != 'N') return fileerror(e_, 1453, lineno_);
  token t[kMaxTok];
  int n = tokenize(p + 1, t, kMaxTok);
  if (n == 0) return fileerror(e_, 1486, lineno_);
  warnextra(t, 1, n);
  std::string_view name = cutname(t[0]);
  int idx = rownames_.size();
  rownames_.add(name);
  fsense_.push_back(c);
  if (rowtab_.insert(idx) >= 0) reprows_.push_back(idx);
  return 0;
}

int mpsreader::endrows() {
  int nrows = rownames_.size();
  objrow_ = -1;
  if (!objwanted_.empty()) {
    int r = rowtab_.find(objwanted_);
    if (r >= 0 && fsense_[r] == 'N') {
      objrow_ = r;
    } else {
      msg(e_->warnchannel, "Warning:  Specified objective '%.255s' not found.\n",
          objwanted_.c_str());
    }
  }
  if (objrow_ < 0)
    for (int i = 0; i < nrows; ++i)
      if (fsense_[i] == 'N') {
        objrow_ = i;
        break;
      }
  if (objrow_ < 0) return fileerror(e_, 1476, lineno_);
  if (!sensegiven_) msg(e_->reschannel, "Selected objective sense:  MINIMIZE\n");
  rowmap_.assign(nrows, 0);
  int freerows = 0, k = 0;
  for (int i = 0; i < nrows; ++i) {
    if (i == objrow_) {
      rowmap_[i] = kRowObj;
    } else if (fsense_[i] == 'N') {
      rowmap_[i] = kRowFree;
      ++freerows;
    } else {
      rowmap_[i] = k++;
    }
  }
  msg(e_->reschannel, "Selected objective  name:  %.255s", rownames_.get(objrow_));
  if (freerows == 0)
    msg(e_->reschannel, "\n");
  else if (freerows == 1)
    msg(e_->reschannel, "  [1 free row deleted]\n");
  else
    msg(e_->reschannel, "  [%d free rows deleted]\n", freerows);
  m_.objname = rownames_.get(objrow_);
  if (!reprows_.empty()) {
    int shown = 0;
    for (int r : reprows_) {
      if (shown++ < 20) fileerror(e_, 1445, rownames_.get(r));
    }
    if (reprows_.size() > 20) fileerror(e_, 1477, static_cast<int>(reprows_.size()) - 20);
    return -1445;
  }
  if (!refrow_.empty()) refrowidx_ = rowtab_.find(refrow_);
  frhs_.assign(nrows, 0.0);
  frng_.assign(nrows, 0.0);
  osense_ = fsense_;
  colstart_.push_back(0);
  return 0;
}

int mpsreader::columnsline() {
  token *t = tok_;
  int n = tokenize(line_ + 1, t, kMaxTok);
  if (n == 0) return 0;
  std::string_view name = cutname(t[0]);
  // Marker with a leading set type: S1 SOS 'MARKER' 'SOSORG'.
  const token *mk = nullptr;
  const token *kw = nullptr;
  char settype = '1';
  if (t[0].n == 2 && (t[0].p[0] == 'S' || t[0].p[0] == 's') && n >= 3 &&
      std::string_view(t[2].p, static_cast<size_t>(t[2].n)).substr(0, 8) == "'MARKER'") {
    settype = t[0].p[1];
    mk = &t[2];
    kw = n >= 4 ? &t[3] : nullptr;
  }
  bool same = mk == nullptr && lastcol_ >= 0 && m_.colnames.len(lastcol_) == name.size() &&
              std::memcmp(m_.colnames.get(lastcol_), name.data(), name.size()) == 0;
  if (!same) {
    if (mk == nullptr && n >= 2 && t[1].sv().substr(0, 8) == "'MARKER'") {
      mk = &t[1];
      kw = n >= 3 ? &t[2] : nullptr;
      settype = ' ';
    }
    if (mk != nullptr) {
      std::string_view k = kw ? kw->sv() : std::string_view();
      if (k.substr(0, 8) == "'INTORG'") {
        if (intmarker_) return fileerror(e_, 1480, lineno_);
        intmarker_ = true;
      } else if (k.substr(0, 8) == "'INTEND'") {
        if (!intmarker_) return fileerror(e_, 1481, lineno_);
        intmarker_ = false;
      } else if (k.substr(0, 8) == "'SOSORG'") {
        if (insos_) return fileerror(e_, 1482, lineno_);
        char ty = settype == ' ' ? '1' : settype;
        if (ty != '1' && ty != '2') return fileerror(e_, 1442, lineno_, 'S', ty);
        insos_ = true;
        m_.sostype.push_back(ty);
        m_.sosbeg.push_back(static_cast<int>(m_.sosind.size()));
      } else if (k.substr(0, 8) == "'SOSEND'") {
        if (!insos_) return fileerror(e_, 1483, lineno_);
        insos_ = false;
      } else {
        msg(e_->warnchannel, "Line %d:  Unidentified MARKER found. Ignored.\n", lineno_);
      }
      return 0;
    }
    // A new column.
    int j = m_.colnames.size();
    if (j >= kMaxCount) return fileerror(e_, 1432);
    m_.colnames.add(name);
    if (coltab_.insert(j) >= 0) repcols_.push_back(j);
    m_.obj.push_back(0.0);
    m_.lb.push_back(0.0);
    m_.ub.push_back(1e20);
    m_.ctype.push_back(intmarker_ ? 'B' : 'C');
    colstart_.push_back(static_cast<int64_t>(eind_.size()));
    if (insos_) {
      m_.sosind.push_back(j);
      m_.soswt.push_back(0.0);
    }
    lastcol_ = j;
  }
  if (n > 5) warnextra(t, 5, n);
  for (int k = 1; k < n && k < 5; k += 2) {
    int r = -1, mr = -1;
    double v;
    int rc = rowentry(t, k, n, &r, &mr, &v);
    if (rc) return rc;
    if (mr == kRowObj) {
      m_.obj[lastcol_] = v;
    } else if (mr >= 0) {
      eind_.push_back(mr);
      eval_.push_back(v);
    }
    if (r == refrowidx_ && insos_) m_.soswt.back() = v;
  }
  colstart_.back() = static_cast<int64_t>(eind_.size());
  return 0;
}

int mpsreader::endcolumns() {
  // colstart_ holds the start of each column and the end of the last.
  int ncols = m_.colnames.size();
  if (!repcols_.empty()) {
    int shown = 0;
    for (int j : repcols_)
      if (shown++ < 20) fileerror(e_, 1446, m_.colnames.get(j));
    if (repcols_.size() > 20) fileerror(e_, 1478, static_cast<int>(repcols_.size()) - 20);
    return -1446;
  }
  if (refrowidx_ < 0) {
    for (size_t s = 0; s < m_.sostype.size(); ++s) {
      size_t b = m_.sosbeg[s], e = s + 1 < m_.sostype.size() ? m_.sosbeg[s + 1] : m_.sosind.size();
      for (size_t k = b; k < e; ++k) m_.soswt[k] = static_cast<double>(k - b + 1);
    }
  }
  bflag_.assign(ncols, 0);
  return 0;
}

// Follows the set names of RHS, RANGES or BOUNDS lines.  The first set is
// used; lines of later sets are skipped; a set that comes back after another
// one is an error.
int mpsreader::setchange(int which, const std::string &set, const char *label, bool *use) {
  if (rimchosen_[which] && set == rimcur_[which]) {
    *use = set == rimset_[which] || m_.rimread;
    return 0;
  }
  if (seen(which, set)) return fileerror(e_, 1447, lineno_, label, set.c_str());
  auto openrim = [&] {
    if (!m_.rimread) return;
    rimat_[which] = static_cast<int>(m_.rims.size());
    m_.rims.emplace_back();
    m_.rims.back().kind = which;
    m_.rims.back().name = set;
  };
  if (!rimchosen_[which]) {
    rimchosen_[which] = true;
    rimset_[which] = set;
    rimcur_[which] = set;
    msg(e_->reschannel, "Selected %-10s name:  %.255s\n",
        which == 0 ? "RHS" : which == 1 ? "range" : "bound", set.c_str());
    openrim();
    *use = true;
    return 0;
  }
  rimseen_[which].push_back(rimcur_[which]);
  if (which == 2 && !boundsdone_) {
    endbounds();
    boundsdone_ = true;
    morebounds_ = !m_.rimread;
  }
  rimcur_[which] = set;
  firstset_[which] = false;
  openrim();
  if (m_.rimread) {
    // The checks of a set run again for each later one.
    if (which == 1) laterrng_.assign(osense_.size(), 0);
    if (which == 2) {
      const size_t n = m_.ctype.size();
      laterbd_.lb.assign(n, 0.0);
      laterbd_.ub.assign(n, 1e20);
      laterbd_.ctype = m_.ctype;
      laterflag_.assign(n, 0);
    }
  }
  *use = m_.rimread;
  return 0;
}

// One line of RHS or RANGES.  Two or four tokens: no set name.
int mpsreader::rimline(Section sec) {
  int which = sec == kSecRhs ? 0 : 1;
  const char *label = sec == kSecRhs ? "RHS" : "RANGES";
  token *t = tok_;
  int n = tokenize(line_ + 1, t, kMaxTok);
  if (n == 0) return 0;
  if (n > 5) warnextra(t, 5, n);
  int first = (n % 2 == 0) ? 0 : 1;
  std::string set = first ? std::string(cutname(t[0])) : std::string();
  bool use = false;
  int rc = setchange(which, set, label, &use);
  if (rc || !use) return rc;
  int nmax = std::min(n, kMaxTok);
  for (int k = first; k < nmax; k += 2) {
    int r = -1, mr = -1;
    double v;
    int rc = rowentry(t, k, nmax, &r, &mr, &v);
    if (rc) return rc;
    if (mr == kRowObj) {
      if (which == 0) {
        if (objwarn_ < 5)
          msg(e_->warnchannel, "Warning, line %d:  OBJ coefficient in %s section ignored.\n",
              lineno_, label);
        ++objwarn_;
      } else {
        msg(e_->warnchannel, "Warning, objective coefficient in %s section ignored.\n", label);
      }
      continue;
    }
    const bool model = firstset_[which];
    if (which == 0) {
      if (mr == kRowFree) continue;
      if (model) frhs_[r] = v;
      rimadd(0, mr, v, ' ');
      continue;
    }
    char s = model ? fsense_[r] : osense_[r];
    if (s == 'N') {
      msg(e_->warnchannel, "Warning:  %s '%.255s' value for free row '%.255s' ignored.\n", label,
          set.c_str(), rownames_.get(r));
      break;
    }
    if (s == 'R' || (!model && laterrng_[r]))
      return fileerror(e_, 1444, label, set.c_str(), rownames_.get(r));
    const char o = osense_[r];
    const double rng = o == 'G' ? std::fabs(v) : o == 'L' ? -std::fabs(v) : v;
    rimadd(1, mr, rng, ' ');
    if (!model) {
      laterrng_[r] = 1;
      continue;
    }
    frng_[r] = rng;
    fsense_[r] = 'R';
  }
  return 0;
}

// One BOUNDS line: type, set name, column, number.  Without a set name the
// line has one token less.
int mpsreader::boundsline() {
  token *t = tok_;
  int n = tokenize(line_ + 1, t, kMaxTok);
  if (n == 0) return fileerror(e_, 1460, lineno_);
  std::string type(t[0].sv().substr(0, 2));
  if (t[0].n > 2) {
    if (truncations_ < 20)
      msg(e_->warnchannel, "Warning, line %d:  '%.*s' truncated.\n", lineno_, t[0].n, t[0].p);
    ++truncations_;
  }
  for (char &c : type) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  mpsboundkind kind = mpsboundtype(type.c_str());
  if (kind == mpsboundkind::kUnknown) return fileerror(e_, 1457, lineno_, type.c_str());
  bool valued = mpsboundvalued(kind);
  // Decide where the set name stands.
  int setpos = 1;
  if (n == 2) {
    setpos = -1;
  } else if (n == 3) {
    double v;
    if (valued)
      setpos = parsenumber(t[2].sv(), &v, true) == 0 ? -1 : 1;
    else
      setpos = coltab_.find(cutname(t[2])) >= 0 ? 1 : -1;
  }
  int colpos = setpos < 0 ? 1 : 2;
  std::string set = setpos < 0 ? std::string() : std::string(cutname(t[setpos]));
  if (colpos >= n) return fileerror(e_, 1449, lineno_, "");
  if (n > colpos + 2) warnextra(t, colpos + 2, n);
  bool use = false;
  int rc = setchange(2, set, "BOUNDS", &use);
  if (rc || !use) return rc;
  std::string_view cname = cutname(t[colpos]);
  int j = coltab_.find(cname);
  if (j < 0) {
    std::string s(cname);
    return fileerror(e_, 1449, lineno_, s.c_str());
  }
  double v = 0.0;
  token num = colpos + 1 < n ? t[colpos + 1] : token();
  if (valued) {
    rc = number(num, &v, true);
    if (rc) return rc;
  }
  const bool model = firstset_[2];
  rc = model ? mpsapplybound(e_, lineno_, kind, j, v, m_, bflag_)
             : mpsapplybound(e_, lineno_, kind, j, v, laterbd_, laterflag_);
  if (rc || !m_.rimread) return rc;
  switch (kind) {
    case mpsboundkind::kLO:
    case mpsboundkind::kLI:
      rimadd(2, j, v, 'L');
      break;
    case mpsboundkind::kFX:
      rimadd(2, j, v, 'B');
      break;
    case mpsboundkind::kFR:
      rimadd(2, j, -1e20, 'L');
      rimadd(2, j, 1e20, 'U');
      break;
    case mpsboundkind::kMI:
      rimadd(2, j, -1e20, 'L');
      break;
    case mpsboundkind::kPL:
      rimadd(2, j, 1e20, 'U');
      break;
    case mpsboundkind::kBV:
      rimadd(2, j, 0.0, 'L');
      rimadd(2, j, 1.0, 'U');
      break;
    default:  // UP, UI, SC
      rimadd(2, j, v, 'U');
      break;
  }
  return 0;
}

void mpsreader::endbounds() { mpsendbounds(e_, m_, bflag_, rimset_[2].c_str(), bwarn_); }

int mpsreader::sosline() {
  // Header lines name the type in the second and third characters.
  const char *l = line_;
  if (len_ >= 3 && (l[1] == 'S' || l[1] == 's') && (l[2] == '1' || l[2] == '2')) {
    token t[kMaxTok];
    int n = tokenize(l + 3, t, kMaxTok);
    if (n >= 2) msg(e_->warnchannel, "Warning:  SOS priority values ignored.\n");
    m_.sostype.push_back(l[2]);
    m_.sosbeg.push_back(static_cast<int>(m_.sosind.size()));
    return 0;
  }
  if (len_ >= 3 && (l[1] == 'S' || l[1] == 's') && !issep(static_cast<unsigned char>(l[2])) &&
      !issep(static_cast<unsigned char>(l[3])))
    return fileerror(e_, 1442, lineno_, l[1], l[2]);
  if (m_.sostype.empty()) return fileerror(e_, 1442, lineno_, l[1], l[2]);
  // Member: name, then an optional weight, also written name:weight.
  std::string buf(l + 1);
  for (char &c : buf)
    if (c == ':') c = ' ';
  token t[kMaxTok];
  int n = tokenize(buf.c_str(), t, kMaxTok);
  if (n == 0) return 0;
  std::string_view cname = cutname(t[0]);
  double w = 0.0;
  if (n >= 2) {
    int rc = number(t[1], &w, false);
    if (rc) return rc;
  }
  int j = coltab_.find(cname);
  if (j < 0) {
    std::string s(cname);
    msg(e_->warnchannel, "Line %d: Name '%s' does not exist.\n", lineno_, s.c_str());
    return 0;
  }
  m_.sosind.push_back(j);
  m_.soswt.push_back(w);
  return 0;
}

int mpsreader::quadline(Section sec) {
  token *t = tok_;
  int n = tokenize(line_ + 1, t, kMaxTok);
  if (n == 0) return 0;
  std::string_view a = cutname(t[0]);
  std::string_view b = n >= 2 ? cutname(t[1]) : std::string_view();
  double v;
  token num = n >= 3 ? t[2] : token();
  int rc = number(num, &v, false);
  if (rc) return rc;
  int i = coltab_.find(a), j = coltab_.find(b);
  if (i < 0 || j < 0) {
    if (quadwarn_ < 20) {
      std::string s(i < 0 ? a : b);
      msg(e_->warnchannel, "Warning, line %d:  '%s' is not a variable.\n", lineno_, s.c_str());
    }
    ++quadwarn_;
    return 0;
  }
  if (m_.qval.size() >= 268435451u) return fileerror(e_, 1433);
  m_.qrow.push_back(i);
  m_.qcol.push_back(j);
  m_.qval.push_back(v);
  if (sec == kSecQuadobj && i != j) {
    m_.qrow.push_back(j);
    m_.qcol.push_back(i);
    m_.qval.push_back(v);
  }
  return 0;
}

int mpsreader::assemble() {
  int nfile = rownames_.size();
  int ncols = m_.colnames.size();
  // Blank RHS set name.
  if (rimchosen_[0] && rimset_[0].empty()) {
    if (coltab_.find("rhs") >= 0) {
      msg(e_->warnchannel,
          "Warning:  Blank RHS name unchanged.  Column with name 'rhs' already exists.\n");
    } else {
      msg(e_->warnchannel, "Warning:  Blank RHS name changed to 'rhs'.\n");
      for (rimvector &r : m_.rims)
        if (r.kind == 0 && r.name.empty()) r.name = "rhs";
    }
  }
  int nrows = 0;
  for (int i = 0; i < nfile; ++i)
    if (rowmap_[i] >= 0) ++nrows;
  if (nrows > kMaxCount) return fileerror(e_, 1431);
  if (ncols > kMaxCount) return fileerror(e_, 1432);
  if (eind_.size() > static_cast<size_t>(kMaxCount)) return fileerror(e_, 1433);
  m_.numrows = nrows;
  m_.numcols = ncols;
  m_.rhs.resize(nrows);
  m_.sense.resize(nrows);
  bool ranged = false;
  for (int i = 0; i < nfile; ++i)
    if (rowmap_[i] >= 0 && fsense_[i] == 'R') ranged = true;
  if (ranged) m_.rngval.assign(nrows, 0.0);
  m_.rownames.clear();
  m_.rownames.text.reserve(rownames_.text.size());
  m_.rownames.off.reserve(nrows);
  for (int i = 0; i < nfile; ++i) {
    int r = rowmap_[i];
    if (r < 0) continue;
    m_.rhs[r] = frhs_[i];
    m_.sense[r] = fsense_[i];
    if (ranged) m_.rngval[r] = frng_[i];
    m_.rownames.add(std::string_view(rownames_.get(i), rownames_.len(i)));
  }
  // Matrix: entries of each column sorted by row; a repeated row is an error.
  m_.matbeg.resize(ncols);
  m_.matcnt.resize(ncols);
  m_.matind.swap(eind_);
  m_.matval.swap(eval_);
  int repeats = 0;
  for (int j = 0; j < ncols; ++j) {
    int64_t b = colstart_[j], e = colstart_[j + 1];
    m_.matbeg[j] = static_cast<int>(b);
    m_.matcnt[j] = static_cast<int>(e - b);
    bool sorted = true;
    for (int64_t k = b + 1; k < e; ++k)
      if (m_.matind[k] <= m_.matind[k - 1]) {
        sorted = false;
        break;
      }
    if (sorted) continue;
    std::vector<colentry> tmp;
    for (int64_t k = b; k < e; ++k)
      tmp.push_back(colentry{m_.matind[k], static_cast<int>(k - b), m_.matval[k]});
    std::sort(tmp.begin(), tmp.end(), [](const colentry &x, const colentry &y) {
      return x.row != y.row ? x.row < y.row : x.pos < y.pos;
    });
    for (int64_t k = b; k < e; ++k) {
      m_.matind[k] = tmp[k - b].row;
      m_.matval[k] = tmp[k - b].val;
      if (k > b && m_.matind[k] == m_.matind[k - 1]) {
        if (repeats < 20) fileerror(e_, 1443, m_.colnames.get(j), m_.rownames.get(m_.matind[k]));
        ++repeats;
      }
    }
  }
  if (repeats) return -1443;
  bool integer = false;
  for (char c : m_.ctype)
    if (c != 'C') integer = true;
  if (!integer && m_.sostype.empty()) m_.ctype.clear();
  return 0;
}

int mpsreader::run() {
  // NAME line.
  if (!readline()) return fileerror(e_, 1441, lineno_);
  if (sectionof(line_) != kSecName) return fileerror(e_, 1441, lineno_);
  {
    token t[1];
    int n = len_ > 4 ? tokenize(line_ + 4, t, 1) : 0;
    if (n > 0) m_.probname = std::string(cutname(t[0]));
  }
  Section cur = kSecName;
  int status = 0;
  bool more = readline();
  // Sections before ROWS: OBJSENSE, OBJNAME, REFROW in this order.
  while (more) {
    if (!issep(static_cast<unsigned char>(line_[0]))) {
      Section s = sectionof(line_);
      if (s == kSecRows) break;
      if ((s == kSecObjsense || s == kSecObjname || s == kSecRefrow) && s > cur) {
        cur = s;
        // The value may stand on the section line itself.
        token t[2];
        int n = tokenize(line_ + std::strlen(sectionname(s)), t, 2);
        if (n > 0) {
          if (s == kSecObjname || s == kSecRefrow) {
            (s == kSecObjname ? objwanted_ : refrow_) = std::string(cutname(t[0]));
            cur = static_cast<Section>(s);
          } else {
            std::string v(t[0].sv());
            if (ciprefix("MAX", v.c_str())) {
              m_.objsen = -1;
              msg(e_->reschannel, "Specified objective sense: MAXIMIZE\n");
            } else if (ciprefix("MIN", v.c_str())) {
              m_.objsen = 1;
              msg(e_->reschannel, "Specified objective sense: MINIMIZE\n");
            } else {
              return fileerror(e_, 1487, lineno_, v.c_str());
            }
            sensegiven_ = true;
          }
          more = readline();
          continue;
        }
        more = readline();
        if (!more) break;
        if (!issep(static_cast<unsigned char>(line_[0]))) continue;
        token d[1];
        int dn = tokenize(line_ + 1, d, 1);
        std::string v = dn ? std::string(d[0].sv()) : std::string();
        if (s == kSecObjsense) {
          if (ciprefix("MAX", v.c_str())) {
            m_.objsen = -1;
            msg(e_->reschannel, "Specified objective sense: MAXIMIZE\n");
          } else if (ciprefix("MIN", v.c_str())) {
            m_.objsen = 1;
            msg(e_->reschannel, "Specified objective sense: MINIMIZE\n");
          } else {
            return fileerror(e_, 1487, lineno_, v.c_str());
          }
          sensegiven_ = true;
        } else if (s == kSecObjname) {
          objwanted_ = v.substr(0, kMaxName);
        } else {
          refrow_ = v.substr(0, kMaxName);
        }
      } else {
        msg(e_->warnchannel, "Warning, line %d:  %.*s section illegal or out of order.\n",
            lineno_, skipword(line_), line_);
      }
    }
    more = readline();
  }
  if (!more) return fileerror(e_, 1471, lineno_);
  // ROWS.
  while ((more = readline()) && issep(static_cast<unsigned char>(line_[0]))) {
    if ((status = rowsline()) != 0) return status;
  }
  if (!more || sectionof(line_) != kSecColumns) return fileerror(e_, 1472, lineno_);
  if ((status = endrows()) != 0) return status;
  // COLUMNS.
  while ((more = readline()) && issep(static_cast<unsigned char>(line_[0]))) {
    if ((status = columnsline()) != 0) return status;
  }
  if ((status = endcolumns()) != 0) return status;
  Section sec = more ? sectionof(line_) : kSecEndata;
  // RHS, RANGES, BOUNDS, SOS, QMATRIX/QUADOBJ.
  if (more && sec != kSecRhs) {
    msg(e_->warnchannel, "Warning, line %d:  %s section missing or out of order.\n", lineno_,
        "RHS");
  }
  if (more && sec == kSecRhs) {
    while ((more = readline()) && issep(static_cast<unsigned char>(line_[0])))
      if ((status = rimline(kSecRhs)) != 0) return status;
    sec = more ? sectionof(line_) : kSecEndata;
    if (more && sec != kSecRanges && sec != kSecBounds && sec != kSecQmatrix &&
        sec != kSecQuadobj && sec != kSecSos && sec != kSecEndata)
      return fileerror(e_, 1473, lineno_);
  }
  if (more && sec == kSecRanges) {
    while ((more = readline()) && issep(static_cast<unsigned char>(line_[0])))
      if ((status = rimline(kSecRanges)) != 0) return status;
    sec = more ? sectionof(line_) : kSecEndata;
  }
  if (more && sec == kSecBounds) {
    while ((more = readline()) && issep(static_cast<unsigned char>(line_[0])))
      if ((status = boundsline()) != 0) return status;
    sec = more ? sectionof(line_) : kSecEndata;
    if (more && sec == kSecRanges) return fileerror(e_, 1474, lineno_);
  }
  if (!boundsdone_) endbounds();
  if (morebounds_)
    msg(e_->warnchannel,
        "Warning:  More than one bound set specified. Only the first set is used.\n");
  bwarn_.finish(e_);
  if (more && sec != kSecSos && sec != kSecQmatrix && sec != kSecQuadobj && sec != kSecEndata)
    return fileerror(e_, 1475, lineno_);
  if (more && sec == kSecSos) {
    while ((more = readline()) && issep(static_cast<unsigned char>(line_[0])))
      if ((status = sosline()) != 0) return status;
    sec = more ? sectionof(line_) : kSecEndata;
  }
  if (more && (sec == kSecQmatrix || sec == kSecQuadobj)) {
    Section q = sec;
    while ((more = readline()) && issep(static_cast<unsigned char>(line_[0])))
      if ((status = quadline(q)) != 0) return status;
    sec = more ? sectionof(line_) : kSecEndata;
  }
  if (quadwarn_ > 20)
    msg(e_->warnchannel, "%d QMATRIX or QUADOBJ warnings not printed.\n", quadwarn_ - 20);
  if (more && sec != kSecEndata) return fileerror(e_, 1462, lineno_);
  if (!more) msg(e_->warnchannel, "Warning, line %d:  'ENDATA' missing.\n", lineno_);
  if (lr_.failed()) return fileerror(e_, 1423, "<input>");
  if (truncations_ >= 20)
    msg(e_->warnchannel, "%d truncation warning messages not printed.\n", truncations_ - 20);
  if (objwarn_ > 5) msg(e_->warnchannel, "%d OBJ warnings not printed.\n", objwarn_ - 5);
  if (extrawarn_ > 5)
    msg(e_->warnchannel, "%d extra text warnings not printed.\n", extrawarn_ - 5);
  if (emptynum_) msg(e_->warnchannel, "Warning:  Empty numeric fields read as zeros.\n");
  return assemble();
}

}  // namespace

int mpsreadfp(env *e, FILE *fp, filemodel &m) {
  mpsreader r(e, fp, m);
  return r.run();
}

int mpsrimreadfp(env *e, FILE *fp, filemodel &m) {
  m.rimread = true;
  return mpsreadfp(e, fp, m);
}

int mpsreadfile(env *e, const char *name, filemodel &m) {
  return readmodelfile(e, name, ".mps", m, mpsreadfp);
}

}  // namespace velto
