// Files and model copies of the CBC-style command mode: the solution file in
// the format modelling tools read back, the start file they write for a warm
// start, the names of rows and columns, and the continuous copy of an integer
// model.
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "cbcmode.h"

namespace velto_cli {
namespace {

}  // namespace

VLTLPptr cbc_relaxed_copy(VLTENVptr env, VLTLPptr lp, std::string *why) {
  int n = VLTgetnumcols(env, lp), m = VLTgetnumrows(env, lp);
  std::vector<double> obj(n), lb(n), ub(n), rhs(m), rng(m, 0.0);
  std::vector<char> sense(m);
  std::vector<int> beg(n + 1, 0), cnt(n);
  int nz = 0, surplus = 0, status = 0;
  if (n > 0)
    sizequery(env, [&] { VLTgetcols(env, lp, &nz, beg.data(), nullptr, nullptr, 0, &surplus, 0, n - 1); });
  std::vector<int> ind(surplus < 0 ? -surplus : 0);
  std::vector<double> val(ind.size());
  if (n > 0)
    status = VLTgetobj(env, lp, obj.data(), 0, n - 1) || VLTgetlb(env, lp, lb.data(), 0, n - 1) ||
             VLTgetub(env, lp, ub.data(), 0, n - 1);
  nz = 0;
  if (status == 0 && !ind.empty())
    status = VLTgetcols(env, lp, &nz, beg.data(), ind.data(), val.data(),
                        static_cast<int>(ind.size()), &surplus, 0, n - 1);
  else
    std::fill(beg.begin(), beg.end(), 0);
  if (status == 0 && m > 0) {
    status = VLTgetrhs(env, lp, rhs.data(), 0, m - 1) || VLTgetsense(env, lp, sense.data(), 0, m - 1);
    if (status == 0 && std::memchr(sense.data(), 'R', sense.size()) != nullptr)
      status = VLTgetrngval(env, lp, rng.data(), 0, m - 1);
  }
  if (status != 0) {
    *why = "cannot read the model back for its relaxation";
    return nullptr;
  }
  beg[n] = nz;
  for (int j = 0; j < n; ++j) cnt[j] = beg[j + 1] - beg[j];
  std::vector<std::string> cn = model_names(env, lp, true), rn = model_names(env, lp, false);
  std::vector<char *> cp(n), rp(m);
  for (int j = 0; j < n; ++j) cp[j] = cn[j].data();
  for (int i = 0; i < m; ++i) rp[i] = rn[i].data();
  VLTLPptr copy = VLTcreateprob(env, &status, "relaxation");
  if (copy != nullptr)
    status = VLTcopylpwnames(env, copy, n, m, VLTgetobjsen(env, lp), obj.data(), rhs.data(),
                             sense.data(), beg.data(), cnt.data(), ind.data(), val.data(),
                             lb.data(), ub.data(), rng.data(), cp.data(), rp.data());
  if (copy == nullptr || status != 0) {
    if (copy != nullptr) VLTfreeprob(env, &copy);
    *why = "cannot build the relaxation of the model";
    return nullptr;
  }
  return copy;
}

std::string cbc_status_words(int lpstat, bool *feasible) {
  *feasible = false;
  switch (lpstat) {
    case 1: case 101: case 102:
      *feasible = true;
      return "Optimal";
    case 2: case 118: return "Unbounded";
    case 3: return "Infeasible";
    case 103: return "Integer infeasible";
    case 10: return "Stopped on iterations";
    case 11: case 108: return "Stopped on time";
    case 12: case 21: case 22: return "Stopped on limit";
    case 106: return "Stopped on nodes";
    case 112: return "Stopped on memory";
    case 114: return "Stopped on interrupt";
    case 104: *feasible = true; return "Stopped on solutions";
    case 105: *feasible = true; return "Stopped on nodes";
    case 107: *feasible = true; return "Stopped on time";
    case 111: *feasible = true; return "Stopped on memory";
    case 113: *feasible = true; return "Stopped on interrupt";
    case 109: case 116: *feasible = true; return "Stopped on difficulties";
    default: return "Stopped on difficulties";  // 4, 5, 6, 119, no solution
  }
}

namespace {

// Bounds of each row's activity, from its sense, right-hand side and range.
void rowbounds(char sense, double rhs, double rng, double *lo, double *hi) {
  *lo = -INFINITY;
  *hi = INFINITY;
  if (sense == 'L' || sense == 'E') *hi = rhs;
  if (sense == 'G' || sense == 'E') *lo = rhs;
  if (sense == 'R') {
    *lo = rng >= 0 ? rhs : rhs + rng;
    *hi = rng >= 0 ? rhs + rng : rhs;
  }
}

bool violated(double v, double lo, double hi, double tol) {
  return v < lo - tol * (1 + std::fabs(lo)) || v > hi + tol * (1 + std::fabs(hi));
}

}  // namespace

bool cbc_write_solution(VLTENVptr env, VLTLPptr lp, bool mip, bool rows, bool allcols,
                        const std::string &file, std::string *why) {
  int n = VLTgetnumcols(env, lp), m = VLTgetnumrows(env, lp);
  std::vector<double> x(n, 0.0), dj(n, 0.0), pi(m, 0.0), ax(m, 0.0);
  std::vector<double> lb(n), ub(n), rhs(m), rng(m, 0.0);
  std::vector<char> sense(m);
  int lpstat = VLTgetstat(env, lp);
  double obj = 0;
  bool have = false;
  if (mip) {
    have = n == 0 || VLTgetmipx(env, lp, x.data(), 0, n - 1) == 0;
    if (have) VLTgetmipobjval(env, lp, &obj);
  } else {
    // An infeasible or unbounded run may leave only part of the solution.
    have = VLTgetobjval(env, lp, &obj) == 0;
    if (n > 0) {
      have = VLTgetx(env, lp, x.data(), 0, n - 1) == 0 && have;
      VLTgetdj(env, lp, dj.data(), 0, n - 1);
    }
    if (m > 0) VLTgetpi(env, lp, pi.data(), 0, m - 1);
  }
  if (have && m > 0) VLTgetax(env, lp, ax.data(), 0, m - 1);
  if (n > 0) {
    VLTgetlb(env, lp, lb.data(), 0, n - 1);
    VLTgetub(env, lp, ub.data(), 0, n - 1);
  }
  if (m > 0) {
    VLTgetrhs(env, lp, rhs.data(), 0, m - 1);
    VLTgetsense(env, lp, sense.data(), 0, m - 1);
    if (std::memchr(sense.data(), 'R', sense.size()) != nullptr)
      VLTgetrngval(env, lp, rng.data(), 0, m - 1);
  }
  double tol = 1e-6;
  VLTgetdblparam(env, VLT_PARAM_EPRHS, &tol);

  std::vector<std::string> cn = model_names(env, lp, true), rn = model_names(env, lp, false);
  FILE *fp = std::fopen(file.c_str(), "w");
  if (fp == nullptr) {
    *why = "cannot open '" + file + "' for writing: " + std::strerror(errno);
    return false;
  }
  bool feasible = false;
  std::string words = cbc_status_words(lpstat, &feasible);
  // The reader takes a fifth word "objective" after "Stopped ..." as a usable
  // point; a stopped run without one says so in other words.
  if (feasible || words.compare(0, 7, "Stopped") != 0)
    std::fprintf(fp, "%s - objective value %.15g\n", words.c_str(), obj + 0.0);
  else if (mip)
    std::fprintf(fp, "%s - no integer solution\n", words.c_str());
  else
    std::fprintf(fp, "%s - not optimal, objective value %.15g\n", words.c_str(), obj + 0.0);
  // Entries outside their bounds carry a leading "**", as the format has it.
  for (int i = 0; rows && i < m; ++i) {
    double lo, hi;
    rowbounds(sense[i], rhs[i], rng[i], &lo, &hi);
    std::fprintf(fp, "%s%7d %-16s %23.15g %23.15g\n",
                 have && violated(ax[i], lo, hi, tol) ? "** " : "", i, rn[i].c_str(),
                 ax[i] + 0.0, pi[i] + 0.0);
  }
  for (int j = 0; j < n; ++j) {
    if (!allcols && x[j] == 0.0) continue;
    std::fprintf(fp, "%s%7d %-16s %23.15g %23.15g\n",
                 have && violated(x[j], lb[j], ub[j], tol) ? "** " : "", j, cn[j].c_str(),
                 x[j] + 0.0, dj[j] + 0.0);
  }
  if (std::fclose(fp) != 0) {
    *why = "cannot write '" + file + "'";
    return false;
  }
  return true;
}

bool cbc_read_start(const std::string &file, std::vector<std::pair<std::string, double>> *values,
                    std::string *why) {
  std::ifstream in(file);
  if (!in) {
    *why = "cannot open the start file '" + file + "'";
    return false;
  }
  std::string line;
  std::getline(in, line);  // status line
  int lineno = 1;
  while (std::getline(in, line)) {
    ++lineno;
    std::istringstream words(line);
    std::string first, name, value;
    if (!(words >> first)) continue;
    if (first == "**" && !(words >> first)) continue;
    if (!(words >> name >> value)) {
      *why = file + ", line " + std::to_string(lineno) + ": expected 'index name value'";
      return false;
    }
    char *end = nullptr;
    double v = std::strtod(value.c_str(), &end);
    if (end == value.c_str() || *end != '\0') {
      *why = file + ", line " + std::to_string(lineno) + ": '" + value + "' is not a number";
      return false;
    }
    values->emplace_back(name, v);
  }
  return true;
}

}  // namespace velto_cli
