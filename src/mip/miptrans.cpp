// Row-wise copy of the model for the cut families and the propagators, and
// the row classes read by the aggregation of the flow cuts.
#include <algorithm>
#include <cmath>

#include "mip/mip.h"
#include "model/store.h"

namespace velto {

namespace {

// Binaries first, then general integers, each by descending magnitude; the
// other columns keep their order.
void orderrow(const char *ctype, int *ind, double *val, int len) {
  if (ctype == nullptr || len < 2) return;
  std::vector<std::pair<int, double>> b, i, o;
  for (int k = 0; k < len; ++k) {
    char t = ctype[ind[k]];
    (t == 'B' ? b : (t == 'I' || t == 'N') ? i : o).push_back({ind[k], val[k]});
  }
  auto bymag = [](const auto &x, const auto &y) { return std::fabs(x.second) > std::fabs(y.second); };
  std::stable_sort(b.begin(), b.end(), bymag);
  std::stable_sort(i.begin(), i.end(), bymag);
  int k = 0;
  for (auto *part : {&b, &i, &o})
    for (auto &e : *part) {
      ind[k] = e.first;
      val[k++] = e.second;
    }
}

}  // namespace

void rowcopybuild(const lp *p, rowcopy &rc) {
  const lpcore *c = p->core;
  int m = c->numrows, n = c->numcols;
  rc = rowcopy();
  rc.rows = m;
  std::vector<int> cnt(m + 1, 0);
  for (int j = 0; j < n; ++j)
    for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k)
      if (std::fabs(matval_u(p, k, j)) > 1e-13) ++cnt[c->matind[k]];
  rc.rowbeg.assign(m, 0);
  rc.rowend.assign(m, 0);
  int pos = 0;
  for (int i = 0; i < m; ++i) {
    rc.rowbeg[i] = rc.rowend[i] = pos;
    pos += cnt[i];
  }
  rc.rowind.resize(pos);
  rc.rowval.resize(pos);
  for (int j = 0; j < n; ++j)
    for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k) {
      double v = matval_u(p, k, j);
      if (std::fabs(v) <= 1e-13) continue;
      int i = c->matind[k];
      rc.rowind[rc.rowend[i]] = j;
      rc.rowval[rc.rowend[i]++] = v;
    }
  std::vector<double> obj(std::max(n, 1));
  if (n > 0) getobj_u(p, obj.data(), 0, n - 1);
  for (int j = 0; j < n; ++j)
    if (obj[j] != 0.0) {
      rc.objind.push_back(j);
      rc.objval.push_back(obj[j] * c->objsen);
    }
  rc.objcnt = static_cast<int>(rc.objind.size());
  rc.objconst = c->objoffset * c->objsen;
  for (int i = 0; i < m; ++i)
    orderrow(c->ctype, rc.rowind.data() + rc.rowbeg[i], rc.rowval.data() + rc.rowbeg[i],
             rc.rowend[i] - rc.rowbeg[i]);
  orderrow(c->ctype, rc.objind.data(), rc.objval.data(), rc.objcnt);
}

void rowclassbuild(const lp *p, std::vector<int> &cls) {
  rowcopy rc;
  rowcopybuild(p, rc);
  const lpcore *c = p->core;
  cls.assign(c->numrows, 5);
  for (int i = 0; i < c->numrows; ++i) {
    int nonbin = 0, nonc = 0;
    bool unit = true;
    for (int k = rc.rowbeg[i]; k < rc.rowend[i]; ++k) {
      double a = rc.rowval[k];
      if (std::fabs(a) <= 1e-10) continue;
      char t = c->ctype ? c->ctype[rc.rowind[k]] : 'C';
      if (t != 'B') ++nonbin;
      if (t != 'C') ++nonc;
      if (a != 1.0 && a != -1.0) unit = false;
    }
    char s = c->sense[i];
    bool ineq = s == 'L' || s == 'G';
    if (nonbin == 0) cls[i] = unit ? (ineq ? 2 : 4) : (ineq ? 1 : 3);
    else if (nonbin == 1 && nonc == 1) cls[i] = 6;
    else cls[i] = 5;
  }
}

int sosreduce(const sosdata &s, std::vector<double> &glb, std::vector<double> &gub) {
  for (int k = 0; k < s.count; ++k) {
    int b = s.beg[k], e = s.beg[k + 1];
    int first = -1, last = -1, nonzero = 0;
    for (int q = b; q < e; ++q) {
      int j = s.ind[q];
      if (glb[j] > 1e-10 || gub[j] < -1e-10) {
        if (first < 0) first = q;
        last = q;
        ++nonzero;
      }
    }
    if (nonzero == 0) continue;
    int lo, hi;  // positions that may stay non-zero
    if (s.type[k] == '1') {
      if (nonzero > 1) return 103;
      lo = hi = first;
    } else {
      if (nonzero > 2 || last - first > 1) return 103;
      lo = nonzero == 2 ? first : first - 1;
      hi = nonzero == 2 ? last : first + 1;
    }
    for (int q = b; q < e; ++q)
      if (q < lo || q > hi) glb[s.ind[q]] = gub[s.ind[q]] = 0.0;
  }
  return 0;
}

}  // namespace velto
