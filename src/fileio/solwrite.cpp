// Solution reports: one walker over the objective row, the rows and the
// columns, and two writers on it, a printable text report and its binary
// form in records framed by length words.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "env/files.h"
#include "env/par.h"
#include "fileio/rwutil.h"
#include "model/store.h"

namespace velto {

namespace {

constexpr double kAbsent = 1.01e75;

struct solentry {
  char marker;
  int number;
  std::string name;
  const char *status;
  double activity, second, lower, upper, dual;
};

struct solhead {
  std::string probname, objname;
  double objval;
  int lpstat, pfeas, iterations, objsen, rows, cols;
};

// The output operations the walker drives.
struct solsink {
  virtual ~solsink() = default;
  virtual void header(const solhead &h) = 0;
  virtual void section(bool rows) = 0;
  virtual void entry(const solentry &s) = 0;
  virtual void endsection(bool rows) = 0;
};

int walk(env *e, lp *p, solsink &out) {
  const lpcore *c = p->core;
  const int n = c->numcols, m = c->numrows;
  std::vector<double> x(n), pi(m), slack(m), dj(n);
  int lpstat = 0;
  double objval = 0;
  int s = VLTsolution(e, p, &lpstat, &objval, x.data(), pi.data(), slack.data(), dj.data());
  if (s) return -s;
  std::vector<int> cs(n, 1), rs(m, 1);
  const bool basis = VLTcangetbase(e, p) == 1;
  if (basis) VLTgetbase(e, p, cs.data(), rs.data());
  int method = 0, type = 0, pfeas = 0, dfeas = 0;
  VLTsolninfo(e, p, &method, &type, &pfeas, &dfeas);
  if (c->colname == nullptr)
    msg(e->warnchannel, "Default variable names x1, x2 ... being created.\n");
  if (c->rowname == nullptr) msg(e->warnchannel, "Default row names c1, c2 ... being created.\n");
  const double eprhs = e->params->eprhs, epopt = e->params->epopt;
  std::vector<double> obj(n), lb(n), ub(n), rhs(m), rng(m, 0.0);
  if (n > 0) {
    getobj_u(p, obj.data(), 0, n - 1);
    getlb_u(p, lb.data(), 0, n - 1);
    getub_u(p, ub.data(), 0, n - 1);
  }
  if (m > 0) {
    getrhs_u(p, rhs.data(), 0, m - 1);
    if (c->rngval) getrng_u(p, rng.data(), 0, m - 1);
  }
  solhead h{c->probname ? c->probname : "", c->objname ? c->objname : "", objval, lpstat, pfeas,
            VLTgetitcnt(e, p) + VLTgetbaritcnt(e, p), c->objsen, m, n};
  out.header(h);
  out.section(true);
  out.entry({' ', 1, h.objname, "BS", objval, -objval, -kAbsent, kAbsent, 1.0});
  auto mark = [&](bool nonbasic, double d) { return nonbasic && std::fabs(d) <= epopt ? 'A' : ' '; };
  for (int i = 0; i < m; ++i) {
    double sl = slack[i];
    if (c->sense[i] == 'R' && std::fabs(sl) > 1e-10) sl = -sl;
    const double act = rhs[i] - sl;
    double lo = -kAbsent, up = kAbsent;
    const char *st = "BS";
    switch (c->sense[i]) {
      case 'L': up = rhs[i]; st = "UL"; break;
      case 'G': lo = rhs[i]; st = "LL"; break;
      case 'E': lo = up = rhs[i]; st = "EQ"; break;
      default:
        lo = std::min(rhs[i], rhs[i] + rng[i]);
        up = std::max(rhs[i], rhs[i] + rng[i]);
        st = rs[i] == 2 ? "UL" : "LL";
    }
    if (rs[i] == 1) st = "BS";
    if ((lo > -kAbsent && act < lo - eprhs) || (up < kAbsent && act > up + eprhs)) st = "**";
    out.entry({mark(rs[i] != 1, pi[i]), i + 2, rownameof(e, c->rowname, m, i), st, act, sl, lo, up,
               pi[i]});
  }
  out.endsection(true);
  out.section(false);
  static const char *kStat[] = {"LL", "BS", "UL", "FR"};
  for (int j = 0; j < n; ++j) {
    const double lo = lb[j] <= -kInfBound ? -kAbsent : lb[j];
    const double up = ub[j] >= kInfBound ? kAbsent : ub[j];
    const char *st = kStat[std::clamp(cs[j], 0, 3)];
    if (cs[j] == 1 && ((lo > -kAbsent && x[j] < lo - eprhs) || (up < kAbsent && x[j] > up + eprhs)))
      st = "**";
    out.entry({mark(cs[j] != 1, dj[j]), m + 2 + j, colnameof(e, c->colname, n, j), st, x[j], obj[j],
               lo, up, dj[j]});
  }
  out.endsection(false);
  return 0;
}

class textsink : public solsink {
 public:
  textsink(env *e, FILE *fp) : e_(e), fp_(fp) {}
  void header(const solhead &h) override {
    const char *status = h.lpstat == 1 || h.lpstat == 5 ? "OPTIMAL SOLN"
                         : h.pfeas != 1                 ? "INFEASIBLE SOLN"
                                                        : "NON-OPTIMAL SOLN";
    std::fprintf(fp_, " PROBLEM NAME     %-30.255s\n", h.probname.c_str());
    std::fprintf(fp_, " DATA    NAME     %-20.255s\n", "");
    std::fprintf(fp_, " OBJECTIVE VALUE  %-14.7G\n", h.objval);
    std::fprintf(fp_, " STATUS           %-16s \n", status);
    std::fprintf(fp_, " ITERATION        %-5d\n\n", h.iterations);
    std::fprintf(fp_, " OBJECTIVE        %-20.255s (%3s)\n", h.objname.c_str(),
                 h.objsen == -1 ? "MAX" : "MIN");
    std::fprintf(fp_, " RHS              %-20.255s\n", "");
    std::fprintf(fp_, " RANGES           %-20.255s\n", "");
    std::fprintf(fp_, " BOUNDS           %-20.255s\n\n", "");
  }
  void section(bool rows) override {
    rows_ = rows;
    std::fprintf(fp_, rows ? " SECTION 1 - ROWS\n\n" : " SECTION 2 - COLUMNS\n\n");
    std::fprintf(fp_, "  %s  %s %s  %s  %s  %s  %s  %s\n\n", "NUMBER",
                 rows ? "......ROW......." : ".....COLUMN.....", "AT", "...ACTIVITY...",
                 rows ? "SLACK ACTIVITY" : "..INPUT COST..", "..LOWER LIMIT.", "..UPPER LIMIT.",
                 rows ? ".DUAL ACTIVITY" : ".REDUCED COST.");
  }
  void entry(const solentry &s) override {
    if (s.name.size() > 16 && !(rows_ ? rowwarn_ : colwarn_)) {
      (rows_ ? rowwarn_ : colwarn_) = true;
      msg(e_->warnchannel, rows_ ? "Warning, row names truncated to 16 characters.\n"
                                 : "Warning, column names truncated to 16 characters.\n");
    }
    char lo[32], up[32];
    limit(s.lower, lo);
    limit(s.upper, up);
    std::fprintf(fp_, " %c%6d  %-16.16s %2s%16.7G%16.7G%16s%16s%16.7G\n", s.marker, s.number,
                 s.name.c_str(), s.status, s.activity + 0.0, s.second + 0.0, lo, up,
                 s.dual + 0.0);  // no "-0" in the report
  }
  void endsection(bool) override { std::fprintf(fp_, "\n"); }

 private:
  static void limit(double v, char *out) {
    if (std::fabs(v) >= kAbsent) std::snprintf(out, 32, "            NONE");
    else std::snprintf(out, 32, "%16.7G", v);
  }
  env *e_;
  FILE *fp_;
  bool rows_ = true, rowwarn_ = false, colwarn_ = false;
};

class binsink : public solsink {
 public:
  binsink(env *e, FILE *fp) : e_(e), fp_(fp) {}
  bool ok() const { return ok_; }
  void header(const solhead &h) override {
    record(text("NAME", 8) + text(h.probname, 8));
    record(text("SOLUTION", 8) + num(21) + num(0));
    static const char *kNames[21] = {"DATANAME", "PROBNAME", "OBJ",     "RHS",     "PARAMROW",
                                     "CHROW",    "PARAMCOL", "CHCOL",   "BOUNDS",  "RANGES",
                                     "FUNCTION", "PARAMVAL", "PERTURBN", "ITERNO",  "ROWS",
                                     "COLUMNS",  "METHOD",   "TARGET",  "STATUS",  "FLAGS",
                                     "TITLE"};
    static const int kType[21] = {2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 1, 1, 1, 2, 2, 2, 2, 2};
    static const int kLen[21] = {8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 80};
    std::string names, types;
    for (int k = 0; k < 21; ++k) {
      names += text(kNames[k], 8);
      types += num(kType[k]) + num(kLen[k]);
    }
    record(names);
    record(types);
    const char *status = h.lpstat == 1 || h.lpstat == 5 ? "OPTM" : h.pfeas != 1 ? "NFES" : "NOPT";
    std::string v = text("", 8) + text(h.probname, 8) + text(h.objname, 8);
    for (int k = 0; k < 7; ++k) v += text("", 8);
    v += dbl(h.objval) + dbl(0) + dbl(0) + num(h.iterations) + num(h.rows + 1) + num(h.cols);
    v += text("LP", 4) + text(h.objsen == -1 ? "MAX " : "MIN ", 4) + text(status, 4) +
         text("NONE", 4) + text("", 80);
    record(v);
  }
  void section(bool rows) override {
    rows_ = rows;
    record(text(rows ? "RSECTION" : "CSECTION", 8) + num(8) + num(0));
    const char *f[8] = {"ACTIVITY", rows ? "SLACK" : "ICOST", "LLIMIT", "ULIMIT",
                        rows ? "DUALACT" : "RCOST", "NUMBER", "STATUS", "NAME"};
    std::string names, types;
    for (int k = 0; k < 8; ++k) {
      names += text(f[k], 8);
      types += num(k < 6 ? 3 : 2) + num(8);
    }
    record(names);
    record(types);
  }
  void entry(const solentry &s) override {
    if (s.name.size() > 8 && !(rows_ ? rowwarn_ : colwarn_)) {
      (rows_ ? rowwarn_ : colwarn_) = true;
      msg(e_->warnchannel, rows_ ? "Warning, row names truncated to 8 characters.\n"
                                 : "Warning, column names truncated to 8 characters.\n");
    }
    record(dbl(s.activity) + dbl(s.second) + dbl(s.lower) + dbl(s.upper) + dbl(s.dual) +
           dbl(s.number) + text(s.status, 8) + text(s.name, 8));
  }
  void endsection(bool) override { record(text("$ENDSEC$", 64)); }
  void finish() { record(text("ENDATA", 16)); }

 private:
  static std::string text(const std::string &s, size_t width) {
    std::string t = s.substr(0, width);
    t.resize(width, ' ');
    return t;
  }
  static std::string num(int v) { return std::string(reinterpret_cast<const char *>(&v), 4); }
  static std::string dbl(double v) { return std::string(reinterpret_cast<const char *>(&v), 8); }
  void record(const std::string &body) {
    const int len = static_cast<int>(body.size());
    ok_ &= std::fwrite(&len, 4, 1, fp_) == 1;
    ok_ &= std::fwrite(body.data(), 1, body.size(), fp_) == body.size();
    ok_ &= std::fwrite(&len, 4, 1, fp_) == 1;
  }
  env *e_;
  FILE *fp_;
  bool rows_ = true, rowwarn_ = false, colwarn_ = false, ok_ = true;
};

// The walker's operations given by the caller.  Null operations are
// skipped.
class callsink : public solsink {
 public:
  callsink(VLTSOLHEADFUNC head, VLTSOLSECTFUNC rows, VLTSOLSECTFUNC cols, VLTSOLENTRYFUNC entry,
           VLTSOLSECTFUNC end, void *handle)
      : head_(head), rows_(rows), cols_(cols), entry_(entry), end_(end), handle_(handle) {}
  void header(const solhead &h) override {
    if (head_)
      head_(handle_, h.probname.c_str(), h.objname.c_str(), h.objval, h.lpstat, h.pfeas,
            h.iterations, h.objsen, h.rows, h.cols);
  }
  void section(bool rows) override {
    if (VLTSOLSECTFUNC f = rows ? rows_ : cols_) f(handle_);
  }
  void entry(const solentry &s) override {
    if (entry_)
      entry_(handle_, s.marker, s.number, s.name.c_str(), s.status, s.activity, s.second, s.lower,
             s.upper, s.dual);
  }
  void endsection(bool) override {
    if (end_) end_(handle_);
  }

 private:
  VLTSOLHEADFUNC head_;
  VLTSOLSECTFUNC rows_, cols_;
  VLTSOLENTRYFUNC entry_;
  VLTSOLSECTFUNC end_;
  void *handle_;
};

int solwrite(env *e, lp *p, const char *name, bool binary) {
  int status = queryframe(e, &p);
  if (status) return status;
  if (!solnexists(p)) return 1261;
  if (name == nullptr || name[0] == '\0') return 1421;
  FILE *fp = binary ? std::fopen(name, "wb") : fileopenwrite(name, "w", 1);
  if (fp == nullptr) return fileerror(e, 1422, name);
  bool ok;
  if (binary) {
    binsink out(e, fp);
    status = walk(e, p, out);
    out.finish();
    ok = out.ok() && std::fclose(fp) == 0;
  } else {
    textsink out(e, fp);
    status = walk(e, p, out);
    ok = std::ferror(fp) == 0;
    ok &= fileclose(name, &fp) == 0;
  }
  if (status) return status;
  return ok ? 0 : fileerror(e, 1422, name);
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTtxtsolwrite(VLTENVptr env, VLTLPptr lp, const char *filename) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return solwrite(env, lp, filename, false); }));
}

int VLTbinsolwrite(VLTENVptr env, VLTLPptr lp, const char *filename) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return solwrite(env, lp, filename, true); }));
}

int VLTwritesol(VLTENVptr env, VLTLPptr lp, const char *filename, const char *filetype) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] {
    std::string t;
    if (filetype != nullptr) {
      t = filetype;
    } else if (filename != nullptr) {
      const std::string s(filename);
      const size_t dot = s.rfind('.');
      if (dot != std::string::npos) t = s.substr(dot + 1);
    }
    if (t.size() > 3 && filetype == nullptr) return 1424;
    if (ciprefix("TXT", t.c_str())) return solwrite(env, lp, filename, false);
    if (ciprefix("BIN", t.c_str())) return solwrite(env, lp, filename, true);
    return 1424;
  }));
}

int VLTsolwrite(VLTENVptr env, VLTLPptr lp, VLTSOLHEADFUNC header, VLTSOLSECTFUNC rowsection,
                VLTSOLSECTFUNC colsection, VLTSOLENTRYFUNC entry, VLTSOLSECTFUNC endsection,
                void *handle) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] {
    int status = queryframe(env, &lp);
    if (status) return status;
    if (!solnexists(lp)) return 1261;
    callsink out(header, rowsection, colsection, entry, endsection, handle);
    return walk(env, lp, out);
  }));
}

}  // extern "C"
