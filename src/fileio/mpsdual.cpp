// VLTdualwrite: the dual of a linear program, written in the MPS form.
//
// With the primal in minimization form, min c'x (c = objsen x cost) over
// rows a_i x (sense) b_i and bounds l <= x <= u, fixed columns are taken
// out first (into the right sides and an objective shift).  The dual is
//   max b'y + sum l_j v_j + sum u_j w_j
//   s.t. A_j'y + v_j + w_j <= c_j  (x_j >= 0: lower bound exactly 0)
//                          =  c_j  (any other column)
// with y_i >= 0 for 'G' rows, <= 0 for 'L', free for 'E'; a ranged row
// has y_i >= 0 on its lower limit and a second column h<i> <= 0 on its
// upper one; v_j >= 0 exists for a finite lower bound other than 0
// (column l<j>), w_j <= 0 for a finite upper bound (column u<j>).  It is
// written as a maximization, that is with its objective negated, so the
// file's minimum is shift - objsen x (the primal's optimum).
#include <cstdio>
#include <string>
#include <vector>

#include "fileio/rwutil.h"
#include "model/store.h"

namespace velto {

namespace {

// "<letter><k>", as the default and added names of the dual.
std::string numbered(char letter, int k) {
  char buf[16];
  std::snprintf(buf, sizeof buf, "%c%d", letter, k);
  return buf;
}

int dualwrite(env *e, lp *p, const char *name, double *objshift) {
  int status = queryframe(e, &p);
  if (status) return status;
  if (objshift) *objshift = 0.0;
  if (p->probtype == kTypeMILP || p->probtype == kTypeMIQP) return 1017;
  if (p->probtype != kTypeLP) return 1018;
  if (name == nullptr || name[0] == '\0') return 1421;
  filemodel pm;
  extract(p, pm, true);
  const int n = pm.numcols, m = pm.numrows;
  const double sg = pm.objsen;
  const bool cnamed = pm.colnames.size() == n, rnamed = pm.rownames.size() == m;
  if (!cnamed && n > 0) msg(e->warnchannel, "Default variable names c1, c2 ... being created.\n");
  if (!rnamed && m > 0) msg(e->warnchannel, "Default row names x1, x2 ... being created.\n");
  auto colname = [&](int j) { return cnamed ? std::string(pm.colnames.get(j)) : numbered('c', j + 1); };
  auto rowname = [&](int i) { return rnamed ? std::string(pm.rownames.get(i)) : numbered('x', i + 1); };
  // Fixed columns leave the model.
  std::vector<double> b(pm.rhs);
  std::vector<int> rowof(n, -1);
  double shift = 0.0;
  filemodel d;
  for (int j = 0; j < n; ++j) {
    const double lo = pm.lb[j], up = pm.ub[j];
    if (lo > -kInfThreshold && lo == up) {
      shift += lo * pm.obj[j];
      for (int k = pm.matbeg[j]; k < pm.matbeg[j] + pm.matcnt[j]; ++k) b[pm.matind[k]] -= lo * pm.matval[k];
      continue;
    }
    rowof[j] = d.numrows++;
    d.rhs.push_back(sg * pm.obj[j]);
    d.sense.push_back(lo == 0.0 ? 'L' : 'E');
    d.rownames.add(colname(j));
  }
  shift *= sg;
  // Dual rows hold the primal columns: the primal matrix is read by rows
  // of the dual, so the dual's columns are gathered by primal row.
  std::vector<std::vector<std::pair<int, double>>> byrow(m);
  for (int j = 0; j < n; ++j) {
    if (rowof[j] < 0) continue;
    for (int k = pm.matbeg[j]; k < pm.matbeg[j] + pm.matcnt[j]; ++k)
      byrow[pm.matind[k]].push_back({rowof[j], pm.matval[k]});
  }
  auto addcol = [&](const std::string &nm, double obj, double lo, double up,
                    const std::vector<std::pair<int, double>> &entries) {
    d.matbeg.push_back(static_cast<int>(d.matind.size()));
    for (const auto &en : entries) {
      d.matind.push_back(en.first);
      d.matval.push_back(en.second);
    }
    d.matcnt.push_back(static_cast<int>(entries.size()));
    d.obj.push_back(obj);
    d.lb.push_back(lo);
    d.ub.push_back(up);
    d.colnames.add(nm);
    ++d.numcols;
  };
  for (int i = 0; i < m; ++i) {
    const char s = pm.sense[i];
    const double r = pm.rngval.empty() ? 0.0 : pm.rngval[i];
    if (s == 'R' && r != 0.0) {
      const double lo = r > 0 ? b[i] : b[i] + r, hi = r > 0 ? b[i] + r : b[i];
      addcol(rowname(i), lo, 0.0, kInfBound, byrow[i]);
      addcol(numbered('h', i + 1), hi, -kInfBound, 0.0, byrow[i]);
      continue;
    }
    addcol(rowname(i), b[i], s == 'G' ? 0.0 : -kInfBound, s == 'L' ? 0.0 : kInfBound, byrow[i]);
  }
  for (int j = 0; j < n; ++j) {
    if (rowof[j] < 0) continue;
    const std::vector<std::pair<int, double>> unit{{rowof[j], 1.0}};
    if (pm.lb[j] > -kInfThreshold && pm.lb[j] != 0.0)
      addcol(numbered('l', j + 1), pm.lb[j], 0.0, kInfBound, unit);
    if (pm.ub[j] < kInfThreshold) addcol(numbered('u', j + 1), pm.ub[j], -kInfBound, 0.0, unit);
  }
  d.objsen = -1;  // a maximization: the writer negates the objective
  char head[64] = "";
  if (shift != 0.0) std::snprintf(head, sizeof head, " (objshift = %18.10e)", shift);
  d.probname = pm.probname + ".dual" + head;
  if (objshift) *objshift = shift;
  return mpswritefile(e, name, d);
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTdualwrite(VLTENVptr env, VLTLPptr lp, const char *filename, double *objshift_p) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return dualwrite(env, lp, filename, objshift_p); }));
}

}  // extern "C"
