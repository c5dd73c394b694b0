// The --ranges report.  Each table lists an item with its name, its value in
// the solution, the present number (cost, right-hand side, bound) and the
// interval over which that number may move while the final basis stays
// optimal (costs) or feasible (right-hand sides and bounds).
#include "ranges.h"

#include <string>
#include <vector>

#include "driverutil.h"

namespace {

// A limit as printed: the model's infinity as "-inf" or "+inf".
std::string num(double v) {
  if (v <= -1e20) return "-inf";
  if (v >= 1e20) return "+inf";
  char b[32];
  std::snprintf(b, sizeof b, "%.10g", v + 0.0);
  return b;
}

const char *colstatus(int s) {
  switch (s) {
    case 0: return "lower";
    case 1: return "basic";
    case 2: return "upper";
    default: return "free";
  }
}

}  // namespace

int driver_printranges(VLTENVptr env, VLTLPptr lp, FILE *fp) {
  const int n = VLTgetnumcols(env, lp), m = VLTgetnumrows(env, lp);
  std::vector<double> x(n), dj(n), obj(n), lb(n), ub(n), clo(n), cup(n);
  std::vector<double> lblo(n), lbup(n), ublo(n), ubup(n);
  std::vector<double> ax(m), rhs(m), rlo(m), rup(m);
  std::vector<int> cstat(n), rstat(m);
  std::vector<char> sense(m);
  int st = 0;
  if (n > 0) {
    if (!st) st = VLTobjsa(env, lp, 0, n - 1, clo.data(), cup.data());
    if (!st) st = VLTboundsa(env, lp, 0, n - 1, lblo.data(), lbup.data(), ublo.data(), ubup.data());
    if (!st) st = VLTgetx(env, lp, x.data(), 0, n - 1);
    if (!st) st = VLTgetdj(env, lp, dj.data(), 0, n - 1);
    if (!st) st = VLTgetobj(env, lp, obj.data(), 0, n - 1);
    if (!st) st = VLTgetlb(env, lp, lb.data(), 0, n - 1);
    if (!st) st = VLTgetub(env, lp, ub.data(), 0, n - 1);
  }
  if (m > 0) {
    if (!st) st = VLTrhssa(env, lp, 0, m - 1, rlo.data(), rup.data());
    if (!st) st = VLTgetax(env, lp, ax.data(), 0, m - 1);
    if (!st) st = VLTgetrhs(env, lp, rhs.data(), 0, m - 1);
    if (!st) st = VLTgetsense(env, lp, sense.data(), 0, m - 1);
  }
  if (!st) st = VLTgetbase(env, lp, cstat.data(), rstat.data());
  if (st) return st;
  const std::vector<std::string> cn = velto_cli::model_names(env, lp, true);
  const std::vector<std::string> rn = velto_cli::model_names(env, lp, false);

  std::fprintf(fp, "\nObjective ranges\n%-16s %-6s %17s %17s %17s %17s %17s\n", "column", "status",
               "value", "reduced cost", "cost", "lower limit", "upper limit");
  for (int j = 0; j < n; ++j)
    std::fprintf(fp, "%-16s %-6s %17s %17s %17s %17s %17s\n", cn[j].c_str(), colstatus(cstat[j]),
                 num(x[j]).c_str(), num(dj[j]).c_str(), num(obj[j]).c_str(), num(clo[j]).c_str(),
                 num(cup[j]).c_str());
  std::fprintf(fp, "\nRight-hand side ranges\n%-16s %-6s %17s %17s %17s %17s\n", "row", "sense",
               "activity", "rhs", "lower limit", "upper limit");
  for (int i = 0; i < m; ++i)
    std::fprintf(fp, "%-16s %-6c %17s %17s %17s %17s\n", rn[i].c_str(), sense[i],
                 num(ax[i]).c_str(), num(rhs[i]).c_str(), num(rlo[i]).c_str(), num(rup[i]).c_str());
  std::fprintf(fp, "\nBound ranges\n%-16s %17s %17s %17s %17s %17s %17s\n", "column", "lower bound",
               "lower limit", "upper limit", "upper bound", "lower limit", "upper limit");
  for (int j = 0; j < n; ++j)
    std::fprintf(fp, "%-16s %17s %17s %17s %17s %17s %17s\n", cn[j].c_str(), num(lb[j]).c_str(),
                 num(lblo[j]).c_str(), num(lbup[j]).c_str(), num(ub[j]).c_str(),
                 num(ublo[j]).c_str(), num(ubup[j]).c_str());
  return 0;
}
