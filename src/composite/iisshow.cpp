// The exported calls of the infeasibility finder, the two displays of a
// subset and its file.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "composite/iis.h"
#include "env/error.h"
#include "env/files.h"
#include "env/par.h"
#include "fileio/rwutil.h"
#include "model/store.h"

namespace velto {

namespace {

void release_iis(env *, lp *p) {
  delete p->iis;
  p->iis = nullptr;
}

void iis_register() {
  static bool done = false;
  if (!done) {
    setlayerops(kLayerIis, layerops{release_iis, nullptr});
    done = true;
  }
}

const char *bdtext(int stat) {
  return stat == kIisLower ? "lower bound" : stat == kIisFixed ? "fixed" : "upper bound";
}

// Name i of a name array, or null without names.
const char *nameof(char **names, int i) { return names ? names[i] : nullptr; }

// The short form: members by index, or by name padded to one width.
void shortform(env *, lp *p, const iisrec &r, velto_channel *ch) {
  const lpcore *c = p->core;
  const char *partial = r.iisstat == kIisPartial ? " (partial)" : "";
  size_t width = 0;
  for (int i : r.rowind)
    if (c->rowname) width = std::max(width, std::strlen(c->rowname[i]));
  for (int j : r.colind)
    if (c->colname) width = std::max(width, std::strlen(c->colname[j]));
  if (c->colname == nullptr && !r.colind.empty()) {
    // Room for the digits of the largest column index and one more.
    const int top = *std::max_element(r.colind.begin(), r.colind.end());
    const size_t digits = top > 0 ? static_cast<size_t>(std::trunc(std::log10(top))) + 2 : 2;
    width = std::max(width, digits);
  }
  width = std::min<size_t>(width, 255);
  char fmt[32];
  std::snprintf(fmt, sizeof fmt, "%%-%ds", static_cast<int>(width));
  std::string named = std::string(fmt) + "    (%s)\n";

  if (c->rowname == nullptr)
    msg(ch, "\nIndices of rows in the%s IIS:\n", partial);
  else
    msg(ch, "\nNames of rows in the%s IIS:\n", partial);
  if (r.rowind.empty()) msg(ch, "None.\n");
  for (int k = 0; k < r.numrows; ++k) {
    const int i = r.rowind[k];
    if (c->rowname == nullptr)
      msg(ch, "Row %d    (%s)\n", i, bdtext(r.rowstat[k]));
    else
      msg(ch, named.c_str(), c->rowname[i], bdtext(r.rowstat[k]));
  }
  if (c->colname == nullptr)
    msg(ch, "Indices of columns in the%s IIS:\n", partial);
  else
    msg(ch, "Names of columns in the%s IIS:\n", partial);
  if (r.colind.empty()) msg(ch, "None.\n");
  for (int k = 0; k < r.numcols; ++k) {
    const int j = r.colind[k];
    if (c->colname == nullptr)
      msg(ch, "Column %d    (%s)\n", j, bdtext(r.colstat[k]));
    else
      msg(ch, named.c_str(), c->colname[j], bdtext(r.colstat[k]));
  }
}

// Pieces end to end (the + chains of std::string trip a false warning of
// some compilers).
std::string join(std::initializer_list<std::string_view> parts) {
  std::string out;
  for (std::string_view t : parts) out.append(t);
  return out;
}

std::string number(double v) {
  char buf[48];
  lpnumber(v, buf);
  return buf;
}

// A line of the LP-like form, broken before column 80.
class lpline {
 public:
  explicit lpline(velto_channel *ch) : ch_(ch) {}
  void start(const std::string &label) {
    line_ = label;
    first_ = true;
  }
  void add(const std::string &piece) {
    if (line_.size() + piece.size() > 79 && !line_.empty() && line_ != "\\") {
      msg(ch_, "%s\n", line_.c_str());
      line_.clear();
    }
    line_ += piece;
  }
  void term(double v, const std::string &name) {
    std::string t = v < 0 ? " -" : first_ ? "" : " +";
    if (std::fabs(std::fabs(v) - 1.0) > 1e-13) t.append(" ").append(number(std::fabs(v)));
    t.append(" ").append(name, 0, 255);
    first_ = false;
    add(t);
  }
  void end() {
    msg(ch_, "%s\n", line_.c_str());
    line_.clear();
  }

 private:
  velto_channel *ch_;
  std::string line_;
  bool first_ = true;
};

// The names of the columns as the LP-like form writes them.  A name that
// the LP reader would take for a number or a keyword ("1", "e5", "end") is
// written behind an "x", with more of them while that is the name of another
// column, so that the file reads back as a model with the same columns.
std::vector<std::string> colnames(const lpcore *c, int n) {
  std::vector<std::string> out(n);
  std::unordered_set<std::string> taken;
  for (int j = 0; j < n && c->colname; ++j) taken.insert(c->colname[j]);
  for (int j = 0; j < n; ++j) {
    const char *s = nameof(c->colname, j);
    out[j] = s ? std::string(s) : join({"x", std::to_string(j + 1)});
    if (s == nullptr || lpunreadable(out[j], false) == nullptr) continue;
    std::string alt = join({"x", out[j]});
    while (lpunreadable(alt, false) == nullptr && taken.count(alt)) alt.insert(0, "x");
    out[j] = lpunreadable(alt, false) == nullptr ? alt : join({"x", std::to_string(j + 1)});
  }
  return out;
}

// Bound line of a column: the side in force, or free.
std::string boundline(const std::string &name, double lb, double ub, int side, bool member) {
  if (!member || (lb <= -kInfBound && ub >= kInfBound)) return join({"      ", name, " Free"});
  if (lb > ub) return join({" ", number(lb), " <= ", name, " <= ", number(ub)});
  if (side == kIisFixed) return join({"      ", name, " = ", number(lb)});
  if (side == kIisLower) return join({"      ", name, " >= ", number(lb)});
  return join({" -Inf <= ", name, " <= ", number(ub)});
}

// The LP-like form: the member rows with the side in force, the member
// columns with the bound in force, and every other column of those rows
// free, so that the text read back is the subset itself.
int lpform(env *e, lp *p, const iisrec &r, velto_channel *ch) {
  iismodel d;
  int status = iis_getmodel(e, p, d);
  if (status) return status;
  const lpcore *c = p->core;
  const char *partial = r.iisstat == kIisPartial ? " (partial)" : "";
  const std::vector<std::string> names = colnames(c, d.n);
  // Row-wise copy of the member rows.
  std::vector<int> pos(d.m, -1);
  for (int k = 0; k < r.numrows; ++k) pos[r.rowind[k]] = k;
  std::vector<std::vector<std::pair<int, double>>> rows(r.numrows);
  for (int j = 0; j < d.n; ++j)
    for (int k = d.beg[j]; k < d.beg[j + 1]; ++k)
      if (pos[d.ind[k]] >= 0) rows[pos[d.ind[k]]].push_back({j, d.val[k]});

  if (c->probname && c->probname[0]) msg(ch, "\\Problem name: %s\n\n", c->probname);
  msg(ch, "Minimize\n");
  msg(ch, "subject to\n");
  msg(ch, "\\Rows in the%s IIS:\n", partial);
  lpline line(ch);
  bool equality = false;
  for (int k = 0; k < r.numrows; ++k) {
    const int i = r.rowind[k];
    const char *nm = nameof(c->rowname, i);
    line.start(join({" ", nm ? std::string(nm) : join({"c", std::to_string(i + 1)}), ":"}));
    for (auto &t : rows[k]) line.term(t.second, names[t.first]);
    const int side = r.rowstat[k];
    double value = d.rhs[i];
    const char *sense = " = ";
    if (side == kIisLower) value = d.rowlo(i), sense = " >= ";
    if (side == kIisUpper) value = d.rowhi(i), sense = " <= ";
    equality |= side == kIisFixed;
    line.add(join({sense, number(value)}));
    line.end();
  }
  // Equality rows whose multiples sum to 0 = nonzero.
  if (equality && !r.mult.empty() && r.numcols == 0) {
    std::vector<double> z(d.n, 0.0);
    double sum = 0.0, scale = 0.0, top = 0.0;
    for (int i : r.rowind) top = std::max(top, std::fabs(r.mult[i]));
    if (top == 0.0) top = 1.0;
    bool alleq = true;
    for (int k = 0; k < r.numrows; ++k) {
      const int i = r.rowind[k];
      if (d.rowlo(i) != d.rowhi(i)) alleq = false;
      const double u = r.mult[i] / top;
      for (auto &t : rows[k]) z[t.first] += u * t.second;
      sum += u * d.rhs[i];
      scale += std::fabs(u * d.rhs[i]);
    }
    if (alleq && std::fabs(sum) > 1e-9 * (1.0 + scale)) {
      msg(ch, "\\Sum of equality rows in the%s IIS:\n", partial);
      line.start("\\");
      for (int j = 0; j < d.n; ++j)
        if (std::fabs(z[j]) > 1e-9 * (1.0 + scale)) line.term(z[j], names[j]);
      line.add("  = ");
      line.add(number(sum));
      line.end();
    }
  }
  msg(ch, "\\Columns in the%s IIS:\n", partial);
  std::vector<int> member(d.n, -1);
  for (int k = 0; k < r.numcols; ++k) member[r.colind[k]] = r.colstat[k];
  std::vector<char> inrow(d.n, 0);
  for (auto &rw : rows)
    for (auto &t : rw) inrow[t.first] = 1;
  bool others = false;
  for (int j = 0; j < d.n; ++j) others |= inrow[j] && member[j] < 0;
  if (r.numcols == 0) {
    msg(ch, "\\None.\n");
    if (others) msg(ch, "Bounds\n");
  } else {
    msg(ch, "Bounds\n");
    for (int k = 0; k < r.numcols; ++k) {
      const int j = r.colind[k];
      msg(ch, "%s\n", boundline(names[j], d.lb[j], d.ub[j], r.colstat[k], true).c_str());
    }
  }
  if (others) {
    msg(ch, "\\Non-IIS columns intersecting%s IIS rows:\n", partial);
    for (int j = 0; j < d.n; ++j)
      if (inrow[j] && member[j] < 0)
        msg(ch, "%s\n", boundline(names[j], d.lb[j], d.ub[j], -1, false).c_str());
  }
  msg(ch, "End\n");
  return 0;
}

}  // namespace

int iisframe(env *e, lp **pp) {
  int status = queryframe(e, pp);
  if (status) return status;
  if ((*pp)->probtype == kTypeMILP || (*pp)->probtype == kTypeMIQP) return 1017;
  return 0;
}

void iis_store(env *e, lp *p, iisrec *r) {
  iis_register();
  releaselayer(e, p, kLayerIis);
  p->iis = r;
}

int iisdisplay(env *e, lp *p, velto_channel *ch, int display) {
  if (p->iis == nullptr) return 1701;
  if (display == 1) shortform(e, p, *p->iis, ch);
  if (display == 2) return lpform(e, p, *p->iis, ch);
  return 0;
}

}  // namespace velto

using namespace velto;

extern "C" {

int VLTfindiis(VLTENVptr env, VLTLPptr lp, int *iisnumrows_p, int *iisnumcols_p) {
  return finish(env, guarded([&] {
    int s = iisframe(env, &lp);
    if (s) return s;
    if (iisnumrows_p == nullptr || iisnumcols_p == nullptr) return static_cast<int>(kNullPointer);
    *iisnumrows_p = *iisnumcols_p = 0;
    iis_register();
    if ((s = findiis(env, lp)) != 0) return s;
    *iisnumrows_p = lp->iis->numrows;
    *iisnumcols_p = lp->iis->numcols;
    return 0;
  }));
}

int VLTgetiis(VLTENVptr env, VLTLPptr lp, int *iisstat_p, int *rowind, int *rowbdstat,
              int *iisnumrows_p, int *colind, int *colbdstat, int *iisnumcols_p) {
  return finish(env, guarded([&] {
    int s = iisframe(env, &lp);
    if (s) return s;
    const iisrec *r = lp->iis;
    if (r == nullptr) return 1701;
    if (iisstat_p) *iisstat_p = r->iisstat;
    if (iisnumrows_p) *iisnumrows_p = r->numrows;
    if (iisnumcols_p) *iisnumcols_p = r->numcols;
    if (rowind) std::copy(r->rowind.begin(), r->rowind.end(), rowind);
    if (rowbdstat) std::copy(r->rowstat.begin(), r->rowstat.end(), rowbdstat);
    if (colind) std::copy(r->colind.begin(), r->colind.end(), colind);
    if (colbdstat) std::copy(r->colstat.begin(), r->colstat.end(), colbdstat);
    return 0;
  }));
}

int VLTdisplayiis(VLTENVptr env, VLTLPptr lp, VLTCHANNELptr channel, int display) {
  return finish(env, guarded([&] {
    int s = iisframe(env, &lp);
    if (s) return s;
    if (lp->iis == nullptr) return 1701;
    if (display != 1 && display != 2) return 0;
    if (channel == nullptr) return static_cast<int>(kNoChannel);
    return iisdisplay(env, lp, channel, display);
  }));
}

int VLTiiswrite(VLTENVptr env, VLTLPptr lp, const char *filename) {
  return finish(env, guarded([&] {
    int s = iisframe(env, &lp);
    if (s) return s;
    if (filename == nullptr || filename[0] == '\0') return 1421;
    iis_register();
    if ((s = findiis(env, lp)) != 0) return s;
    FILE *fp = fileopenwrite(filename, "w", 1);
    if (fp == nullptr) return errno == ENOMEM ? static_cast<int>(kNoMemory) : fileerror(env, 1422, filename);
    fileguard guard{filename, &fp};
    velto_channel ch{nullptr};
    velto_dest dest{&ch, 1, nullptr, fp, 0, nullptr, nullptr};
    ch.head = &dest;
    s = iisdisplay(env, lp, &ch, 2);
    ch.head = nullptr;
    if (fileclose(filename, &fp) != 0 && s == 0) return fileerror(env, 1422, filename);
    return s;
  }));
}

}  // extern "C"
