// Basis files: the MPS-style list of the columns that take the places of
// nonbasic rows, and of the columns at their upper bounds.
#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "env/files.h"
#include "fileio/rwutil.h"
#include "model/store.h"

namespace velto {

namespace {

constexpr int kWarnCap = 20;

struct basread {
  int n, m;
  int *cstat, *rstat;
  double *cval, *rval;  // may be null
  bool superok;
  // The restart form: the NAME line's sizes must be the model's and every
  // name must be known; a failure is a private code, without messages.
  bool strict = false;
};

constexpr int kRestartSize = 2004, kRestartCol = 2005, kRestartRow = 2006;

int readbasis(env *e, FILE *fp, char **colname, char **rowname, basread &b) {
  for (int j = 0; j < b.n; ++j) {
    b.cstat[j] = 0;
    if (b.cval) b.cval[j] = 0.0;
  }
  for (int i = 0; i < b.m; ++i) {
    b.rstat[i] = 1;
    if (b.rval) b.rval[i] = 0.0;
  }
  namestore cs, rs;
  for (int j = 0; j < b.n; ++j) cs.add(colname[j]);
  for (int i = 0; i < b.m; ++i) rs.add(rowname[i]);
  nametable ct(cs), rt(rs);
  for (int j = 0; j < b.n; ++j) ct.insert(j);
  for (int i = 0; i < b.m; ++i) rt.insert(i);
  linereader in(fp);
  size_t len;
  int lineno = 0, warnings = 0;
  bool named = false, ended = false, missingvalue = false;
  auto warn = [&](const char *fmt, int line, std::string_view name) {
    if (++warnings <= kWarnCap)
      msg(e->warnchannel, fmt, line, std::string(name.substr(0, 255)).c_str());
  };
  while (char *line = in.next(&len)) {
    ++lineno;
    if (len == 0 || line[0] == '*') continue;
    if (!named) {
      if (!ciprefix("NAME", line)) return b.strict ? kRestartSize : fileerror(e, 1553, lineno);
      named = true;
      if (b.strict) {
        const auto f = splitfields(line, len);
        int rows = -1, cols = -1;
        for (size_t k = 0; k + 1 < f.size(); ++k) {
          if (f[k] == "Rows") rows = std::atoi(std::string(f[k + 1]).c_str());
          if (f[k] == "Cols") cols = std::atoi(std::string(f[k + 1]).c_str());
        }
        if (rows != b.m || cols != b.n) return kRestartSize;
      }
      continue;
    }
    if (line[0] != ' ' && line[0] != '\t') {
      ended = ciprefix("ENDATA", line);
      break;
    }
    auto f = splitfields(line, len);
    if (f.empty()) continue;
    std::string ind(f[0]);
    for (char &c : ind) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    const bool two = ind == "XU" || ind == "XL";
    const bool colone = ind == "UL" || ind == "LL" || ind == "BS" || ind == "SC";
    const bool rowone = ind == "BR" || ind == "SR";
    if (!two && !colone && !rowone) return fileerror(e, 1551, lineno, std::string(f[0]).c_str());
    if ((ind == "SC" || ind == "SR") && !b.superok) return 1554;
    const size_t need = two ? 3 : 2;
    if (f.size() < need) return fileerror(e, 1553, lineno);
    const bool wantsvalue = ind == "SC" || ind == "BR" || ind == "SR";
    double v = 0.0;
    const bool hasvalue = f.size() > need && parsenumber(f[need], &v, true) == 0;
    if (wantsvalue && !hasvalue) {
      msg(e->errchannel, "Line %d: Missing basic value.\n", lineno);
      missingvalue = true;
    }
    if (rowone) {
      const int i = rt.find(f[1]);
      if (i < 0) {
        if (b.strict) return kRestartRow;
        warn("Warning, line %d: '%.255s' is not a row.\n", lineno, f[1]);
        continue;
      }
      b.rstat[i] = ind == "BR" ? 1 : 3;
      if (b.rval) b.rval[i] = v;
      continue;
    }
    const int j = ct.find(f[1]);
    if (j < 0) {
      if (b.strict) return kRestartCol;
      warn("Warning, line %d: '%.255s' is not a variable.\n", lineno, f[1]);
      continue;
    }
    if (two) {
      const int i = rt.find(f[2]);
      if (i < 0) {
        if (b.strict) return kRestartRow;
        warn("Warning, line %d: '%.255s' is not a row.\n", lineno, f[2]);
        continue;
      }
      b.cstat[j] = 1;
      b.rstat[i] = ind == "XU" ? 2 : 0;
      if (hasvalue && b.cval) b.cval[j] = v;
    } else {
      b.cstat[j] = ind == "UL" ? 2 : ind == "LL" ? 0 : ind == "BS" ? 1 : 3;
      if (b.cval && hasvalue) b.cval[j] = v;
    }
  }
  if (warnings > kWarnCap) msg(e->warnchannel, "%d warnings not printed.\n", warnings - kWarnCap);
  if (in.failed()) return fileerror(e, 1553, lineno);
  if (!ended) msg(e->warnchannel, "Warning: 'ENDATA' missing.\n");
  if (missingvalue) return 1550;
  return 0;
}

}  // namespace

// Writes the basis cs/rs of p's model; itcnt < 0 gives the short NAME line.
int writebasisfile(env *e, lp *p, const char *name, const int *cs, const int *rs, int itcnt) {
  const lpcore *c = p->core;
  const int n = c->numcols, m = c->numrows;
  int basics = 0;
  for (int j = 0; j < n; ++j) basics += cs[j] == 1;
  for (int i = 0; i < m; ++i) basics += rs[i] == 1;
  if (basics < m) return fileerror(e, 1555, m - basics, "too few");
  if (basics > m) return fileerror(e, 1555, basics - m, "extra");
  if (c->colname == nullptr) msg(e->warnchannel, "Default variable names x1, x2 ... to be created.\n");
  if (c->rowname == nullptr) msg(e->warnchannel, "Default row names c1, c2 ... to be created.\n");
  std::vector<std::string> cn(n), rn(m);
  size_t cw = 0;
  for (int j = 0; j < n; ++j) {
    cn[j] = std::string(colnameof(e, c->colname, n, j)).substr(0, 255);
    cw = std::max(cw, cn[j].size());
  }
  for (int i = 0; i < m; ++i) rn[i] = std::string(rownameof(e, c->rowname, m, i)).substr(0, 255);
  FILE *fp = fileopenwrite(name, "w", 1);
  if (fp == nullptr) return fileerror(e, 1422, name);
  const char *prob = c->probname ? c->probname : "";
  if (itcnt >= 0)
    std::fprintf(fp, "NAME          %.255s  Iterations %d  Rows %d  Cols %d\n", prob, itcnt, m, n);
  else
    std::fprintf(fp, "NAME          %.255s\n", prob);
  int next = 0;
  for (int i = 0; i < m; ++i) {
    if (rs[i] == 1) continue;
    while (next < n && cs[next] != 1) ++next;
    if (next >= n) break;
    const char kind = c->sense[i] == 'G' || rs[i] == 2 ? 'U' : 'L';
    std::fprintf(fp, " X%c %-*s  %s\n", kind, static_cast<int>(cw), cn[next].c_str(),
                 rn[i].c_str());
    ++next;
  }
  for (int j = 0; j < n; ++j)
    if (cs[j] == 2) std::fprintf(fp, " UL %s\n", cn[j].c_str());
  std::fprintf(fp, "ENDATA\n");
  const bool bad = std::ferror(fp) != 0;
  if (fileclose(name, &fp) || bad) return fileerror(e, 1422, name);
  return 0;
}

namespace {

int mbasewrite(env *e, lp *p, const char *name) {
  int status = queryframe(e, &p);
  if (status) return status;
  if (!basisexists(p)) return 1262;
  if (name == nullptr || name[0] == '\0') return 1421;
  const lpcore *c = p->core;
  std::vector<int> cs(c->numcols), rs(c->numrows);
  status = VLTgetbase(e, p, cs.data(), rs.data());
  if (status) return -status;
  return writebasisfile(e, p, name, cs.data(), rs.data(), p->soln ? p->soln->itcnt : -1);
}

int loadbasis(env *e, lp *p, std::vector<int> &cs, std::vector<int> &rs);

// The rows' statuses of a file in this model's terms: a row that is not
// ranged has its slack at lower when it is nonbasic; columns sent to an
// infinite bound move to the other one, or become free.
void repair(const lpcore *c, int *cs, int *rs) {
  for (int i = 0; i < c->numrows; ++i)
    if (c->sense[i] != 'R' && (rs[i] == 2 || rs[i] == 3)) rs[i] = 0;
  for (int j = 0; j < c->numcols; ++j) {
    if (cs[j] == 1) continue;
    const bool lo = c->lbkind[j] != kBoundInfinite, up = c->ubkind[j] != kBoundInfinite;
    if (cs[j] == 0 && !lo) cs[j] = up ? 2 : 3;
    else if (cs[j] == 2 && !up) cs[j] = lo ? 0 : 3;
    else if (cs[j] == 3 && (lo || up)) cs[j] = lo ? 0 : 2;
  }
}

int readcopybase(env *e, lp *p, const char *name) {
  int status = changeframe(e, p);
  if (status == 0) status = cache_flush(e, p);
  if (status) return status;
  if (name == nullptr || name[0] == '\0') return 1421;
  lpcore *c = p->core;
  if ((c->numcols > 0 && c->colname == nullptr) || (c->numrows > 0 && c->rowname == nullptr))
    return 1219;
  FILE *fp = fileopenread(e, name, "r", ".bas", 0, 1, &status);
  if (fp == nullptr) return status;
  std::vector<int> cs(c->numcols), rs(c->numrows);
  basread b{c->numcols, c->numrows, cs.data(), rs.data(), nullptr, nullptr, true};
  status = readbasis(e, fp, c->colname, c->rowname, b);
  fileclose(name, &fp);
  if (status) return status;
  return loadbasis(e, p, cs, rs);
}

}  // namespace

int readrestart(env *e, lp *p) {
  const lpcore *c = p->core;
  int status = 2004;
  if ((c->numcols == 0 || c->colname != nullptr) && (c->numrows == 0 || c->rowname != nullptr) &&
      c->probname != nullptr) {
    const std::string name = std::string(c->probname) + ".xxx";
    FILE *fp = std::fopen(name.c_str(), "r");
    if (fp != nullptr) {
      std::vector<int> cs(c->numcols), rs(c->numrows);
      basread b{c->numcols, c->numrows, cs.data(), rs.data(), nullptr, nullptr, false};
      b.strict = true;
      status = readbasis(e, fp, c->colname, c->rowname, b);
      std::fclose(fp);
      if (status == 0) status = loadbasis(e, p, cs, rs);
    }
  }
  msg(e->reschannel, status == 0 ? "Load of restart from file succeeded.\n"
                                 : "Load of restart from file failed.\n");
  return status;
}

namespace {

// A basis read from a file loaded as the start, with the nonbasic columns'
// values at their bounds.
int loadbasis(env *e, lp *p, std::vector<int> &cs, std::vector<int> &rs) {
  const lpcore *c = p->core;
  repair(c, cs.data(), rs.data());
  // Start values of the nonbasic columns at their bounds.
  std::vector<double> x(c->numcols, 0.0);
  std::vector<double> lb(c->numcols), ub(c->numcols);
  if (c->numcols > 0) {
    getlb_u(p, lb.data(), 0, c->numcols - 1);
    getub_u(p, ub.data(), 0, c->numcols - 1);
  }
  for (int j = 0; j < c->numcols; ++j) {
    if (cs[j] == 0) x[j] = lb[j];
    else if (cs[j] == 2) x[j] = ub[j];
  }
  const int status = VLTcopystart(e, p, cs.data(), rs.data(), x.data(), nullptr, nullptr, nullptr);
  return status ? -status : 0;
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTmbasewrite(VLTENVptr env, VLTLPptr lp, const char *filename) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return mbasewrite(env, lp, filename); }));
}

int VLTmbaseread(VLTENVptr env, const char *filename, int numcols, int numrows, char **colname,
                 char **rowname, int *cstat, int *rstat, double *cval, double *rval) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] {
    if (cstat == nullptr || rstat == nullptr) return static_cast<int>(kNullPointer);
    if (numcols < 0 || numrows < 0) return static_cast<int>(kBadArgument);
    if ((numcols > 0 && colname == nullptr) || (numrows > 0 && rowname == nullptr)) return 1219;
    if (filename == nullptr || filename[0] == '\0') return 1421;
    int status = 0;
    FILE *fp = fileopenread(env, filename, "r", ".bas", 0, 1, &status);
    if (fp == nullptr) return status;
    basread b{numcols, numrows, cstat, rstat, cval, rval, true};
    status = readbasis(env, fp, colname, rowname, b);
    fileclose(filename, &fp);
    return status;
  }));
}

int VLTreadcopybase(VLTENVptr env, VLTLPptr lp, const char *filename) {
  return finish(env, guarded([&] { return readcopybase(env, lp, filename); }));
}

}  // extern "C"
