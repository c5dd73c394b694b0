// Shared pieces of the side files of integer models.
#include "mip/mipside.h"

#include <cmath>
#include <string>

#include "env/files.h"
#include "mip/mip.h"
#include "model/store.h"

namespace velto {

namespace {
constexpr int kWarnCap = 20;
}

sidenames::sidenames(env *e, char **colname, int numcols) : e_(e), table_(store_) {
  for (int j = 0; j < numcols; ++j) store_.add(colname[j]);
  for (int j = 0; j < numcols; ++j) table_.insert(j);
}

int sidenames::find(std::string_view name, int lineno) {
  const int j = table_.find(name);
  if (j < 0) warn("Warning, line %d: '%.255s' is not a variable.\n", lineno, name);
  return j;
}

void sidenames::warn(const char *fmt, int lineno, std::string_view name) {
  if (++warnings_ <= kWarnCap)
    msg(e_->warnchannel, fmt, lineno, std::string(name.substr(0, 255)).c_str());
}

void sidenames::close() {
  if (warnings_ > kWarnCap) msg(e_->warnchannel, "%d warnings not printed.\n", warnings_ - kWarnCap);
}

int sidelines(env *e, FILE *fp, const sidedata &data, const sidehead &head) {
  linereader in(fp);
  size_t len;
  int lineno = 0;
  bool named = false, ended = false;
  while (char *line = in.next(&len)) {
    ++lineno;
    if (len == 0 || line[0] == '*') continue;
    auto f = splitfields(line, len);
    if (f.empty()) continue;
    if (!named) {
      if (!ciprefix("NAME", line)) return fileerror(e, 1553, lineno);
      named = true;
      continue;
    }
    if (line[0] != ' ' && line[0] != '\t') {
      if (ciprefix("ENDATA", line)) {
        ended = true;
        break;
      }
      const int took = head ? head(lineno, f) : 0;
      if (took < 0) return took;
      if (took == 0) return fileerror(e, 1462, lineno);
      continue;
    }
    if (head && f.size() <= 2 && line[1] != ' ' && line[1] != '\t') {
      // A line indented by one blank may be a section head.
      const int took = head(lineno, f);
      if (took < 0) return took;
      if (took == 1) continue;
    }
    const int status = data(lineno, f, line);
    if (status) return status;
  }
  if (in.failed()) return fileerror(e, 1553, lineno);
  if (!named) return fileerror(e, 1553, lineno);
  if (!ended) msg(e->warnchannel, "Warning: 'ENDATA' missing.\n");
  return 0;
}

int sidewriteframe(env *e, lp **pp, const char *name) {
  int status = queryframe(e, pp);
  if (status) return status;
  if (!integertype((*pp)->probtype)) return 3003;
  if (name == nullptr || name[0] == '\0') return 1421;
  return 0;
}

int sidereadframe(env *e, lp *p, const char *name) {
  int status = changeframe(e, p);
  if (status == 0) status = cache_flush(e, p);
  if (status) return status;
  const lpcore *c = p->core;
  if (c->numcols > 0 && c->colname == nullptr) return 1219;
  if (name == nullptr || name[0] == '\0') return 1421;
  return 0;
}

std::vector<std::string> sidecolnames(env *e, lp *p) {
  const lpcore *c = p->core;
  if (c->colname == nullptr && c->numcols > 0)
    msg(e->warnchannel, "Default variable names x1, x2 ... to be created.\n");
  std::vector<std::string> out(c->numcols);
  for (int j = 0; j < c->numcols; ++j)
    out[j] = std::string(colnameof(e, c->colname, c->numcols, j)).substr(0, 255);
  return out;
}

FILE *sideopen(env *e, const char *name, int *status) {
  FILE *fp = fileopenwrite(name, "w", 1);
  *status = 0;
  if (fp == nullptr) *status = fileerror(e, 1422, name);
  return fp;
}

int sideclose(env *e, const char *name, FILE **fp) {
  const bool bad = std::ferror(*fp) != 0;
  if (fileclose(name, fp) || bad) return fileerror(e, 1422, name);
  return 0;
}

int sidenumber(env *e, std::string_view tok, int lineno, double *value) {
  if (parsenumber(tok, value, true) != 0 || !std::isfinite(*value))
    return fileerror(e, 1434, lineno, std::string(tok.substr(0, 255)).c_str());
  return 0;
}

int sideint(env *e, std::string_view tok, int lineno, int *value) {
  double v = 0.0;
  if (parsenumber(tok, &v, false) != 0 || v != std::floor(v) || std::fabs(v) > 2147483647.0)
    return fileerror(e, 1434, lineno, std::string(tok.substr(0, 255)).c_str());
  *value = static_cast<int>(v);
  return 0;
}

}  // namespace velto
