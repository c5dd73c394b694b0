// The smaller side files.  Perturbed copies of a problem written in the
// binary model form: bounds widened at random (VLTpperwrite) or costs moved
// at random (VLTdperwrite); the random stream starts from a fixed seed, so a
// file is repeatable, and the model is put back whatever the result.  Vector
// files: a full primal and dual point by names (VLTvecwrite, VLTreadcopyvec).
// The set-partitioning form (PAR) in fixed columns.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "env/files.h"
#include "fileio/rwutil.h"
#include "fileio/sav.h"
#include "model/store.h"

namespace velto {

namespace {

constexpr uint32_t kPerturbSeed = 1;

int perturbwrite(env *e, lp *p, const char *name, double eps, bool primal) {
  int status = queryframe(e, &p);
  if (status) return status;
  lpcore *c = p->core;
  const int n = c->numcols, m = c->numrows;
  std::vector<double> rhs(c->rhs, c->rhs + m), lb(c->lb, c->lb + n), ub(c->ub, c->ub + n),
      obj(c->obj, c->obj + n);
  const uint32_t seed = e->seed;
  e->seed = kPerturbSeed;
  for (int j = 0; j < n; ++j) {
    const bool lo = c->lb[j] > -kInfThreshold, up = c->ub[j] < kInfThreshold;
    if (primal) {
      if (c->lb[j] == c->ub[j]) continue;
      double r = 0.0;
      if (lo) {
        r = randdbl(e) * eps;
        c->lb[j] -= r;
        for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k)
          c->rhs[c->matind[k]] += r * c->matval[k];
      }
      if (up) c->ub[j] += r + randdbl(e) * eps;
    } else {
      const double a = lo ? randdbl(e) : 0.0, b = up ? randdbl(e) : 0.0;
      c->obj[j] += (a - b) * eps;
    }
  }
  e->seed = kPerturbSeed;
  status = savwritefile(e, p, name);
  std::copy(rhs.begin(), rhs.end(), c->rhs);
  std::copy(lb.begin(), lb.end(), c->lb);
  std::copy(ub.begin(), ub.end(), c->ub);
  std::copy(obj.begin(), obj.end(), c->obj);
  e->seed = seed;
  return status;
}

constexpr int kWarnCap = 20;

// Blank-separated fields of a line.
std::vector<std::string_view> tokens(const char *line, size_t len) {
  std::vector<std::string_view> out;
  size_t k = 0;
  while (k < len) {
    while (k < len && (line[k] == ' ' || line[k] == '\t')) ++k;
    const size_t b = k;
    while (k < len && line[k] != ' ' && line[k] != '\t') ++k;
    if (k > b) out.emplace_back(line + b, k - b);
  }
  return out;
}

int vecwrite(env *e, lp *p, const char *name) {
  int status = queryframe(e, &p);
  if (status) return status;
  if (name == nullptr || name[0] == '\0') return 1421;
  const soln *so = p->soln;
  if (!solnexists(p) || so->x == nullptr || so->pi == nullptr || so->dj == nullptr) return 1556;
  const lpcore *c = p->core;
  const int n = c->numcols, m = c->numrows;
  std::vector<double> x(n), dj(n), pi(m), slack(m);
  status = VLTsolution(e, p, nullptr, nullptr, x.data(), pi.data(), slack.data(), dj.data());
  if (status) return -status;
  if (c->colname == nullptr && n > 0)
    msg(e->warnchannel, "Default variable names x1, x2 ... to be created.\n");
  if (c->rowname == nullptr && m > 0)
    msg(e->warnchannel, "Default row names c1, c2 ... to be created.\n");
  FILE *fp = fileopenwrite(name, "w", 1);
  if (fp == nullptr) return fileerror(e, 1422, name);
  std::fprintf(fp, "NAME          %.255s\n", c->probname ? c->probname : "");
  const double sg = c->objsen;
  for (int j = 0; j < n; ++j)
    std::fprintf(fp, " c  %.255s  %23.15e  %23.15e\n", colnameof(e, c->colname, n, j), x[j],
                 sg * dj[j]);
  for (int i = 0; i < m; ++i)
    std::fprintf(fp, " r  %.255s  %23.15e  %23.15e\n", rownameof(e, c->rowname, m, i),
                 c->sense[i] == 'G' ? -slack[i] : slack[i], sg * pi[i]);
  std::fprintf(fp, "ENDATA\n");
  const bool bad = std::ferror(fp) != 0;
  if (fileclose(name, &fp) || bad) return fileerror(e, 1422, name);
  return 0;
}

int readcopyvec(env *e, lp *p, const char *name) {
  int status = changeframe(e, p);
  if (status == 0) status = cache_flush(e, p);
  if (status) return status;
  const lpcore *c = p->core;
  const int n = c->numcols, m = c->numrows;
  if ((n > 0 && c->colname == nullptr) || (m > 0 && c->rowname == nullptr)) return 1219;
  if (name == nullptr || name[0] == '\0') return 1421;
  FILE *fp = fileopenread(e, name, "r", ".vec", 0, 1, &status);
  if (fp == nullptr) return status;
  fileguard guard{name, &fp};
  std::vector<double> x(n, 0.0), dj(n, 0.0), slack(m, 0.0), pi(m, 0.0);
  {
    namestore cs, rs;
    for (int j = 0; j < n; ++j) cs.add(c->colname[j]);
    for (int i = 0; i < m; ++i) rs.add(c->rowname[i]);
    nametable ct(cs), rt(rs);
    for (int j = 0; j < n; ++j) ct.insert(j);
    for (int i = 0; i < m; ++i) rt.insert(i);
    linereader in(fp);
    size_t len;
    int lineno = 0, warnings = 0;
    bool named = false, ended = false, duals = false;
    while (char *line = in.next(&len)) {
      ++lineno;
      if (len == 0 || line[0] == '*') continue;
      if (!named) {
        if (!ciprefix("NAME", line)) return fileerror(e, 1441, lineno);
        named = true;
        continue;
      }
      if (line[0] != ' ' && line[0] != '\t') {
        ended = ciprefix("ENDATA", line);
        break;
      }
      const auto f = tokens(line, len);
      if (f.empty()) continue;
      const char key = f[0][0];
      if (f[0].size() != 1 || (key != 'c' && key != 'r')) {
        msg(e->warnchannel, "Warning, line %d: Unrecognized key '%c'.\n", lineno, key);
        continue;
      }
      if (f.size() < 3) return fileerror(e, 1553, lineno);
      double v1 = 0.0, v2 = 0.0;
      for (size_t k = 2; k < f.size() && k < 4; ++k) {
        const int bad = parsenumber(f[k], k == 2 ? &v1 : &v2, true);
        if (bad == 2) return fileerror(e, 1435, lineno, std::string(f[k].substr(0, 255)).c_str());
        if (bad) return fileerror(e, 1434, lineno, std::string(f[k].substr(0, 255)).c_str());
      }
      const bool two = f.size() > 3;
      const int at = key == 'c' ? ct.find(f[1]) : rt.find(f[1]);
      if (at < 0) {
        if (++warnings <= kWarnCap)
          msg(e->warnchannel,
              key == 'c' ? "Warning, line %d: '%.255s' is not a variable.\n"
                         : "Warning, line %d: '%.255s' is not a row.\n",
              lineno, std::string(f[1].substr(0, 255)).c_str());
        continue;
      }
      duals |= two;
      // The file holds objsen x dj and objsen x pi, and the negated slack
      // of a 'G' row.
      if (key == 'c') {
        x[at] = v1;
        dj[at] = c->objsen * v2;
      } else {
        slack[at] = c->sense[at] == 'G' ? -v1 : v1;
        pi[at] = c->objsen * v2;
      }
    }
    if (warnings > kWarnCap) msg(e->warnchannel, "%d warnings not printed.\n", warnings - kWarnCap);
    if (in.failed()) return fileerror(e, 1423, name);
    if (!named) return fileerror(e, 1441, lineno);
    if (!ended) msg(e->warnchannel, "Warning: 'ENDATA' missing.\n");
    if (!duals) msg(e->warnchannel, "Warning: No dual values.\n");
    status = duals ? 0 : 1;
  }
  const bool duals = status == 0;
  // Statuses from the values: a column at a bound is nonbasic there, a free
  // column at 0 is nonbasic free, the others basic; a row with a zero slack
  // is nonbasic.
  std::vector<int> cs(n), rs(m);
  std::vector<double> lb(n), ub(n);
  if (n > 0) {
    getlb_u(p, lb.data(), 0, n - 1);
    getub_u(p, ub.data(), 0, n - 1);
  }
  auto near = [](double a, double b) { return std::fabs(a - b) <= 1e-9 * std::max(1.0, std::fabs(b)); };
  for (int j = 0; j < n; ++j) {
    const bool lo = lb[j] > -kInfThreshold, up = ub[j] < kInfThreshold;
    if (lo && near(x[j], lb[j])) cs[j] = 0;
    else if (up && near(x[j], ub[j])) cs[j] = 2;
    else if (!lo && !up && x[j] == 0.0) cs[j] = 3;
    else cs[j] = 1;
  }
  for (int i = 0; i < m; ++i) rs[i] = near(slack[i], 0.0) && c->sense[i] != 'R' ? 0 : 1;
  status = VLTcopystart(e, p, cs.data(), rs.data(), x.data(), slack.data(),
                        duals ? dj.data() : nullptr, duals ? pi.data() : nullptr);
  return status ? -status : 0;
}

// A fixed-width integer field of a PAR line: 0 with the value, or the
// reader's status.
int parfield(env *e, const char *line, size_t from, size_t width, int lineno, double *v) {
  std::string_view t(line + from, width);
  while (!t.empty() && (t.front() == ' ' || t.front() == '\t')) t.remove_prefix(1);
  while (!t.empty() && (t.back() == ' ' || t.back() == '\t')) t.remove_suffix(1);
  const int bad = parsenumber(t, v, false);
  if (bad == 2) return fileerror(e, 1435, lineno, std::string(t).c_str());
  if (bad || t.empty()) return fileerror(e, 1434, lineno, std::string(t).c_str());
  return 0;
}

}  // namespace

int parreadfp(env *e, FILE *fp, filemodel &m) {
  linereader in(fp);
  size_t len;
  int lineno = 0;
  char *line = in.next(&len);
  if (line == nullptr) return in.failed() ? fileerror(e, 1423, "") : fileerror(e, 1525);
  lineno = 1;
  if (len < 27) return fileerror(e, 1526);
  double hd[3];
  for (int k = 0; k < 3; ++k) {
    int s = parfield(e, line, 9 * k, 9, lineno, &hd[k]);
    if (s) return s;
  }
  if (hd[0] < 0 || hd[1] < 0 || hd[2] < 0 || hd[0] > 268435450 || hd[1] > 268435450 ||
      hd[0] != std::floor(hd[0]) || hd[1] != std::floor(hd[1]))
    return fileerror(e, 1526);
  const int rows = static_cast<int>(hd[0]), cols = static_cast<int>(hd[1]);
  m.objsen = 1;
  // Arrays grow with the data read, never with the header's word alone.
  std::vector<int> colrows;
  const int expected = 2 * cols + 1;
  for (int j = 0; j < cols; ++j) {
    line = in.next(&len);
    if (line == nullptr) return fileerror(e, 1527, lineno, expected);
    ++lineno;
    if (len < 10) return fileerror(e, 1528, lineno);
    double cost, cnt;
    int s = parfield(e, line, 0, 7, lineno, &cost);
    if (s == 0) s = parfield(e, line, 7, 3, lineno, &cnt);
    if (s) return s;
    if (cnt < 0 || cnt > rows || cnt != std::floor(cnt)) return fileerror(e, 1528, lineno);
    m.obj.push_back(cost);
    line = in.next(&len);
    if (line == nullptr) return fileerror(e, 1527, lineno, expected);
    ++lineno;
    const int k = static_cast<int>(cnt);
    if (len < 4 * static_cast<size_t>(k)) return fileerror(e, 1528, lineno);
    m.matbeg.push_back(static_cast<int>(m.matind.size()));
    colrows.clear();
    for (int q = 0; q < k; ++q) {
      double r;
      s = parfield(e, line, 4 * q, 4, lineno, &r);
      if (s) return s;
      char tok[32];
      std::snprintf(tok, sizeof tok, "%.15g", r);
      if (r < 1 || r > rows || r != std::floor(r)) return fileerror(e, 1448, lineno, tok);
      const int i = static_cast<int>(r) - 1;
      for (int seen : colrows)
        if (seen == i) return fileerror(e, 1447, lineno, "Row", tok);
      colrows.push_back(i);
      m.matind.push_back(i);
      m.matval.push_back(1.0);
    }
    m.matcnt.push_back(k);
  }
  if (in.failed()) return fileerror(e, 1423, "");
  // Every row of a partitioning needs a column that covers it: a header
  // that claims far more rows than the columns hold entries is damaged.
  if (static_cast<int64_t>(rows) > static_cast<int64_t>(m.matind.size()) + 1000) return fileerror(e, 1526);
  m.numrows = rows;
  m.numcols = cols;
  m.rhs.assign(rows, 1.0);
  m.sense.assign(rows, 'E');
  m.lb.assign(cols, 0.0);
  m.ub.assign(cols, 1.0);
  m.ctype.assign(cols, 'B');
  return 0;
}

int parreadfile(env *e, const char *name, filemodel &m) {
  return readmodelfile(e, name, ".par", m, parreadfp);
}

}  // namespace velto

using namespace velto;

extern "C" {

int VLTpperwrite(VLTENVptr env, VLTLPptr lp, const char *filename, double epsilon) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return perturbwrite(env, lp, filename, epsilon, true); }));
}

int VLTdperwrite(VLTENVptr env, VLTLPptr lp, const char *filename, double epsilon) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return perturbwrite(env, lp, filename, epsilon, false); }));
}

int VLTvecwrite(VLTENVptr env, VLTLPptr lp, const char *filename) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return vecwrite(env, lp, filename); }));
}

int VLTreadcopyvec(VLTENVptr env, VLTLPptr lp, const char *filename) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return readcopyvec(env, lp, filename); }));
}

}  // extern "C"
