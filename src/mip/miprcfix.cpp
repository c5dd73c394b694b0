// Reduced-cost fixing: columns that cannot leave their bound without the
// objective passing the cutoff are fixed there, globally from the root's
// table and locally at a node.
#include <algorithm>
#include <cmath>

#include "mip/mipnode.h"
#include "mip/miptree.h"

namespace velto {

namespace {

// Reduced costs in minimization sign and the column statuses of a solved
// node problem.
int readduals(env *e, lp *q, int objsen, std::vector<double> &d, std::vector<int> &cs) {
  int n = VLTgetnumcols(e, q), m = VLTgetnumrows(e, q);
  d.assign(n, 0.0);
  cs.assign(n, 1);
  std::vector<int> rs(std::max(m, 1));
  if (n == 0) return 0;
  int status = VLTgetdj(e, q, d.data(), 0, n - 1);
  if (status == 0) status = VLTgetbase(e, q, cs.data(), rs.data());
  for (double &v : d) v *= objsen;
  return status;
}

// Margin of a fixing decision: a column moves only when the objective would
// pass the cutoff by more than rounding, so a solution exactly at the cutoff
// is never cut off by the arithmetic of the test.
inline double margin(double cutoff) { return 1e-9 * (1.0 + std::fabs(cutoff)); }

}  // namespace

int rcfix_root(env *e, lp *q, const char *ctype, int objsen, double obj, rcfixtable &t) {
  std::vector<double> d;
  std::vector<int> cs;
  int status = readduals(e, q, objsen, d, cs);
  if (status) return status;
  int n = static_cast<int>(d.size());
  if (static_cast<int>(t.rcfix.size()) < n) {
    t.rcfix.resize(n, -1e75);
    t.glbside.resize(n, 'L');
  }
  for (int j = 0; j < n; ++j) {
    if (ctype[j] == 'C' || (cs[j] != 0 && cs[j] != 2)) continue;
    double v = obj + std::fabs(d[j]);
    if (v > t.rcfix[j]) {
      t.rcfix[j] = v;
      t.glbside[j] = cs[j] == 0 ? 'L' : 'U';
    }
  }
  return 0;
}

int rcfix_apply(const rcfixtable &t, const char *ctype, double cutoff, std::vector<double> &glb,
                std::vector<double> &gub) {
  if (!(cutoff < 1e74)) return 0;
  int fixed = 0;
  for (size_t j = 0; j < t.rcfix.size() && j < glb.size(); ++j) {
    if (ctype[j] == 'C' || !(t.rcfix[j] > cutoff + margin(cutoff)) || gub[j] - glb[j] <= 1e-10)
      continue;
    if (t.glbside[j] == 'L') gub[j] = glb[j];
    else glb[j] = gub[j];
    ++fixed;
  }
  return fixed;
}

int rcfix_node(env *e, lp *q, const char *ctype, int objsen, double nodeobj, double cutoff,
               bdchglist &list, int *fixed) {
  *fixed = 0;
  std::vector<double> d;
  std::vector<int> cs;
  int status = readduals(e, q, objsen, d, cs);
  if (status) return status;
  int n = static_cast<int>(d.size());
  std::vector<double> lb(n), ub(n);
  if (n == 0) return 0;
  if ((status = VLTgetlb(e, q, lb.data(), 0, n - 1)) != 0) return status;
  if ((status = VLTgetub(e, q, ub.data(), 0, n - 1)) != 0) return status;
  double gap = cutoff - nodeobj + margin(cutoff);
  std::vector<int> idx;
  std::vector<char> lu;
  std::vector<double> bd;
  for (int j = 0; j < n; ++j) {
    char t = ctype[j];
    if (t == 'C' || t == 'S' || ub[j] - lb[j] <= 1e-10 || !(std::fabs(d[j]) > gap)) continue;
    if (t != 'B' && t != 'I' && t != 'N') continue;
    if (cs[j] == 0 && lb[j] < kBigInt) {
      idx.push_back(j), lu.push_back('U'), bd.push_back(lb[j]);
    } else if (cs[j] == 2) {
      idx.push_back(j), lu.push_back('L'), bd.push_back(ub[j]);
    }
  }
  for (size_t k = 0; k < idx.size(); ++k)
    if ((status = list.add(idx[k], lu[k], bd[k])) != 0) return status;
  if (!idx.empty())
    status = VLTchgbds(e, q, static_cast<int>(idx.size()), idx.data(), lu.data(), bd.data());
  *fixed = static_cast<int>(idx.size());
  return status;
}

}  // namespace velto
