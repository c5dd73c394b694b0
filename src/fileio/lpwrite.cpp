// Writer of the LP format: objective, constraints, bounds, type lists.
// Lines break before column 79.
#include <cerrno>
#include <algorithm>
#include <cmath>
#include <string>

#include "env/files.h"
#include "fileio/rwutil.h"

namespace velto {

void lpnumber(double v, char *out) {
  if (v == 0.0) {
    std::strcpy(out, "0");
    return;
  }
  char buf[48];
  std::snprintf(buf, sizeof buf, "%22.14e", v);
  char *epos = std::strchr(buf, 'e');
  int e10 = std::atoi(epos + 1);
  if (e10 > 14 || e10 < -6) {
    *epos = '\0';
    char *m = buf;
    while (*m == ' ') ++m;
    size_t ml = std::strlen(m);
    while (ml > 0 && m[ml - 1] == '0') --ml;
    if (ml > 0 && m[ml - 1] == '.') --ml;
    std::snprintf(out, 40, "%.*s%c%c%d", static_cast<int>(ml), m, 'e', e10 < 0 ? '-' : '+',
                  e10 < 0 ? -e10 : e10);
    return;
  }
  std::snprintf(buf, sizeof buf, "%.*f", 14 - e10, v);
  size_t n = std::strlen(buf);
  if (std::strchr(buf, '.') != nullptr) {
    while (n > 0 && buf[n - 1] == '0') --n;
    if (n > 0 && buf[n - 1] == '.') --n;
  }
  buf[n] = '\0';
  std::strcpy(out, buf);
}

namespace {

class lpout {
 public:
  explicit lpout(FILE *fp) : fp_(fp) {}
  ~lpout() { flush(); }
  void put(std::string_view s) {
    buf_.append(s);
    if (buf_.size() > (1 << 16)) flush();
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

// Builds one logical line, breaking it before column 79.
class linebuilder {
 public:
  linebuilder(lpout &o, size_t indent) : o_(o), indent_(indent) {}
  void start(std::string_view label) {
    line_.assign(label);
    if (line_.size() < indent_) line_.append(indent_ - line_.size(), ' ');
    labellen_ = line_.size();
    first_ = true;
  }
  // Adds text; breaks first if the line would pass `limit`.
  void add(const std::string &piece, size_t limit = 79) {
    if (line_.size() + piece.size() > limit && line_.size() > labellen_) {
      o_.put(line_);
      o_.put("\n");
      line_.assign(indent_, ' ');
    }
    line_ += piece;
  }
  void term(double v, std::string_view name) {
    std::string t;
    if (v < 0)
      t = " -";
    else if (!first_)
      t = " +";
    double a = std::fabs(v);
    if (std::fabs(a - 1.0) > 1e-13) {
      char num[48];
      lpnumber(a, num);
      t += " ";
      t += num;
    }
    t += " ";
    t.append(name.substr(0, 255));
    first_ = false;
    add(t);
  }
  void end() {
    o_.put(line_);
    o_.put("\n");
    line_.clear();
  }

 private:
  lpout &o_;
  size_t indent_;
  std::string line_;
  size_t labellen_ = 0;
  bool first_ = true;
};

std::string defname(char prefix, int i) {
  char buf[24];
  int n = std::snprintf(buf, sizeof buf, "%c%d", prefix, i + 1);
  return std::string(buf, static_cast<size_t>(n));
}

}  // namespace

int lpwritefile(env *e, const char *name, const filemodel &m) {
  int status = checkwritenames(e, m, true);
  if (status) return status;
  FILE *fp = fileopenwrite(name, "w", 1);
  if (fp == nullptr) return errno == ENOMEM ? kNoMemory : fileerror(e, 1422, name);
  fileguard guard{name, &fp};
  bool colgiven = m.colnames.size() == m.numcols;
  bool rowgiven = m.rownames.size() == m.numrows;
  if (!colgiven && m.numcols > 0)
    msg(e->warnchannel, "Default variable names x1, x2 ... being created.\n");
  if (!rowgiven && m.numrows > 0)
    msg(e->warnchannel, "Default row names c1, c2 ... being created.\n");
  auto colname = [&](int j) {
    return colgiven ? std::string(m.colnames.get(j), std::min<size_t>(m.colnames.len(j), 255))
                    : defname('x', j);
  };
  auto rowname = [&](int i) {
    return rowgiven ? std::string(m.rownames.get(i), std::min<size_t>(m.rownames.len(i), 255))
                    : defname('c', i);
  };
  char num[48];
  {
    lpout o(fp);
    o.put("\\Problem name: ");
    o.put(std::string_view(m.probname).substr(0, 255));
    o.put("\n\n");
    o.put(m.objsen == 1 ? "Minimize\n" : "Maximize\n");
    std::string label;
    if (m.objname.empty())
      label = " obj:";
    else if (std::isdigit(static_cast<unsigned char>(m.objname[0])) || m.objname[0] == '.')
      label = " c" + m.objname.substr(0, 255) + ":";
    else
      label = " " + m.objname.substr(0, 255) + ":";
    {
      linebuilder lb(o, 0);
      lb.start(label);
      for (int j = 0; j < m.numcols; ++j)
        if (m.obj[j] != 0.0 || m.matcnt[j] < 1) lb.term(m.obj[j], colname(j));
      lb.end();
    }
    // Rows, from a row-wise copy of the matrix.
    std::vector<int> rbeg(m.numrows + 1, 0), rind(m.matind.size());
    std::vector<double> rval(m.matind.size());
    for (int j = 0; j < m.numcols; ++j)
      for (int k = m.matbeg[j]; k < m.matbeg[j] + m.matcnt[j]; ++k) ++rbeg[m.matind[k] + 1];
    for (int i = 0; i < m.numrows; ++i) rbeg[i + 1] += rbeg[i];
    {
      std::vector<int> fill(rbeg.begin(), rbeg.end() - 1);
      for (int j = 0; j < m.numcols; ++j)
        for (int k = m.matbeg[j]; k < m.matbeg[j] + m.matcnt[j]; ++k) {
          int p = fill[m.matind[k]]++;
          rind[p] = j;
          rval[p] = m.matval[k];
        }
    }
    std::vector<int> ranged;
    if (m.numrows > 0) {
      o.put("Subject To\n");
      size_t width = 0;
      for (int i = 0; i < m.numrows; ++i) width = std::max(width, rowname(i).size() + 2);
      width = std::min<size_t>(width, 32);
      linebuilder lb(o, width);
      for (int i = 0; i < m.numrows; ++i) {
        std::string rn = rowname(i);
        lb.start(" " + rn + ":");
        for (int k = rbeg[i]; k < rbeg[i + 1]; ++k) lb.term(rval[k], colname(rind[k]));
        char s = m.sense[i];
        if (s == 'R' && !m.rngval.empty()) {
          lb.term(-1.0, "Rg" + rn);
          ranged.push_back(i);
        }
        lb.add(s == 'L' ? " <= " : s == 'G' ? " >= " : (s == 'E' || s == 'R') ? "  = " : "  ? ");
        std::string r;
        if (m.rhs[i] == 0.0) {
          r = "0";
        } else {
          lpnumber(std::fabs(m.rhs[i]), num);
          r = std::string(m.rhs[i] < 0 ? "-" : "") + num;
        }
        lb.add(r, 80);
        lb.end();
      }
    }
    // Bounds.
    bool hasctype = !m.ctype.empty();
    bool need = !ranged.empty();
    for (int j = 0; j < m.numcols && !need; ++j) {
      if (m.lb[j] != 0.0 || m.ub[j] < 1e20) need = true;
      if (hasctype && m.ctype[j] != 'C') need = true;
    }
    auto boundtext = [&](double v) {
      if (v == 0.0) return std::string("0");
      lpnumber(v, num);
      return std::string(num);
    };
    auto boundline = [&](const std::string &cn, double lo, double up, char t) {
      bool loinf = lo <= -1e20, upinf = up >= 1e20;
      std::string l;
      if (loinf && upinf) {
        l = "      " + cn + " Free";
      } else if (t == 'B' && upinf) {
        l = (lo < 0 ? "-" : " ") + boundtext(std::fabs(lo)) + " <= " + cn + " <= Inf";
      } else if (upinf) {
        l = "      " + cn + " >= " + boundtext(lo);
      } else if (loinf) {
        l = " -Inf <= " + cn + " <= " + boundtext(up);
      } else if (lo == up) {
        l = "      " + cn + " = " + boundtext(lo);
      } else {
        l = (lo < 0 ? "-" : " ") + boundtext(std::fabs(lo)) + " <= " + cn + " <= " + boundtext(up);
      }
      o.put(l);
      o.put("\n");
    };
    if (m.numcols > 0 && need) {
      o.put("Bounds\n");
      for (int j = 0; j < m.numcols; ++j) {
        char t = hasctype ? m.ctype[j] : 'C';
        if (m.lb[j] == 0.0 && m.ub[j] >= 1e20 && t != 'I' && t != 'B') continue;
        boundline(colname(j), m.lb[j], m.ub[j], t);
      }
      for (int i : ranged) {
        double r = m.rngval[i];
        boundline("Rg" + rowname(i), r > 0 ? 0.0 : r, r > 0 ? r : 0.0, 'C');
      }
    }
    if (hasctype) {
      auto list = [&](const char *title, auto pick) {
        bool any = false;
        for (int j = 0; j < m.numcols && !any; ++j) any = pick(m.ctype[j]);
        if (!any) return;
        o.put(title);
        o.put("\n");
        std::string line;
        for (int j = 0; j < m.numcols; ++j) {
          if (!pick(m.ctype[j])) continue;
          std::string piece = " " + colname(j) + " ";
          if (!line.empty() && line.size() + piece.size() > 79) {
            o.put(line);
            o.put("\n");
            line.clear();
          }
          line += piece;
        }
        o.put(line);
        o.put("\n");
      };
      list("Binaries", [](char c) { return c == 'B'; });
      list("Generals", [](char c) { return c == 'I' || c == 'N'; });
      list("Semi-Continuous", [](char c) { return c == 'S' || c == 'N'; });
    }
    if (!m.sostype.empty()) {
      o.put("SOS\n");
      for (size_t s = 0; s < m.sostype.size(); ++s) {
        std::string line = std::string(" S") + m.sostype[s] + " :: ";
        size_t b = m.sosbeg[s], en = s + 1 < m.sostype.size() ? m.sosbeg[s + 1] : m.sosind.size();
        for (size_t k = b; k < en; ++k) {
          lpnumber(m.soswt[k], num);
          std::string piece = "  " + colname(m.sosind[k]) + " : " + num + " ";
          if (line.size() + piece.size() > 79) line += "\n       ";
          line += piece;
        }
        o.put(line);
        o.put("\n");
      }
    }
    o.put("End\n");
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
