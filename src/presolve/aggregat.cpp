// The aggregator: an equality row is solved for one of its columns and the
// result substituted into the other rows and the objective.  The column is
// free, or implied free by the row itself, or one of the two columns of a
// doubleton equation, whose bounds then move onto the other column.
#include <algorithm>
#include <cmath>
#include <vector>

#include "presolve/presolve.h"

namespace velto {

namespace {

using entry = std::pair<int, double>;

// Dynamic copy of the live matrix: rows as sorted entry lists, columns as
// lists of their rows, both exact.
struct aggrec {
  std::vector<std::vector<entry>> row;
  std::vector<std::vector<int>> col;
  std::vector<entry> merged;  // scratch of one row merge
};

bool isfree(const prerec *r, int j) { return r->lb[j] <= -kInfBound && r->ub[j] >= kInfBound; }

double coef_of(const std::vector<entry> &row, int j) {
  auto it = std::lower_bound(row.begin(), row.end(), entry(j, -1e300),
                             [](const entry &a, const entry &b) { return a.first < b.first; });
  return it != row.end() && it->first == j ? it->second : 0.0;
}

void erase_row(std::vector<int> &list, int i) {
  auto it = std::find(list.begin(), list.end(), i);
  if (it != list.end()) {
    *it = list.back();
    list.pop_back();
  }
}

// Activity of row i from its list.
void refresh(prerec *r, const aggrec &g, int i) {
  r->rowminfin[i] = r->rowmaxfin[i] = 0.0;
  r->rowmininf[i] = r->rowmaxinf[i] = 0;
  for (const entry &t : g.row[i]) activity_add(r, i, t.second, r->lb[t.first], r->ub[t.first], 1);
}

void build(prerec *r, aggrec &g) {
  g.row.assign(r->nrows, {});
  g.col.assign(r->ncols, {});
  for (int i = 0; i < r->nrows; ++i) {
    if (!rowlive(r, i)) continue;
    auto &row = g.row[i];
    for (int k = r->rbeg[i]; k < r->rbeg[i] + r->rlen[i]; ++k)
      if (collive(r, r->rind[k])) row.emplace_back(r->rind[k], r->rval[k]);
    std::sort(row.begin(), row.end(),
              [](const entry &a, const entry &b) { return a.first < b.first; });
    for (const entry &t : row) g.col[t.first].push_back(i);
  }
}

// Writes the lists back as the record's two matrices.
void write_back(prerec *r, const aggrec &g) {
  const int m = r->nrows, n = r->ncols;
  int nz = 0;
  for (int i = 0; i < m; ++i) nz += static_cast<int>(g.row[i].size());
  r->rind.assign(nz, 0);
  r->rval.assign(nz, 0.0);
  r->cind.assign(nz, 0);
  r->cval.assign(nz, 0.0);
  int pos = 0;
  for (int i = 0; i < m; ++i) {
    r->rbeg[i] = pos;
    r->rlen[i] = static_cast<int>(g.row[i].size());
    for (const entry &t : g.row[i]) {
      r->rind[pos] = t.first;
      r->rval[pos++] = t.second;
    }
  }
  std::fill(r->clen.begin(), r->clen.end(), 0);
  for (int k = 0; k < nz; ++k) ++r->clen[r->rind[k]];
  pos = 0;
  for (int j = 0; j < n; ++j) {
    r->cbeg[j] = pos;
    pos += r->clen[j];
  }
  std::vector<int> fill(r->cbeg);
  for (int i = 0; i < m; ++i)
    for (const entry &t : g.row[i]) {
      r->cind[fill[t.first]] = i;
      r->cval[fill[t.first]++] = t.second;
    }
  r->nnz = nz;
}

// A column chosen to leave with row i.
struct choice {
  int sub = -1;
  double piv = 0.0;
  int surv = -1;               // the other column of a doubleton
  double nl = 0.0, nu = 0.0;   // the interval the survivor inherits
};

// Whether the pivot a of column j in row i (length rlen) is large enough
// against the column's other entries and, for a doubleton, the row's.
bool stable(const prerec *r, const aggrec &g, int i, int j, double a) {
  const double limit = std::fabs(a) + 1e-10;
  bool ok = true;
  for (int q : g.col[j])
    if (std::fabs(coef_of(g.row[q], j)) * r->aggtol > limit) ok = false;
  if (ok) return true;
  if (g.row[i].size() != 2) return false;
  for (const entry &t : g.row[i])
    if (std::fabs(t.second) * r->aggtol * r->aggtol > limit) return false;
  return true;
}

bool fill_ok(const prerec *r, int k, int len) {
  if (len <= 2) return true;
  return static_cast<long long>(k - 1) * (len - 1) - (k + len) + 1 <= r->aggfill;
}

// Whether row i (an equality) keeps column j, coefficient a, within its
// bounds whatever the other columns do within theirs.
bool implied_free(const prerec *r, int i, int j, double a) {
  double ilo = -kInfBound, ihi = kInfBound, act;
  if (rowmax_without(r, i, j, a, &act)) {
    const double t = (r->rhs[i] - act) / a;
    if (a > 0) ilo = t;
    else ihi = t;
  }
  if (rowmin_without(r, i, j, a, &act)) {
    const double t = (r->rhs[i] - act) / a;
    if (a > 0) ihi = t;
    else ilo = t;
  }
  const bool lofree = r->lb[j] <= -kInfBound || (ilo > -kInfBound && r->lb[j] <= ilo + 1e-9);
  const bool upfree = r->ub[j] >= kInfBound || (ihi < kInfBound && r->ub[j] >= ihi - 1e-9);
  return lofree && upfree;
}

// Doubleton rule: which column leaves and what the survivor inherits.
bool choose_doubleton(const prerec *r, const aggrec &g, int i, choice &ch) {
  const auto &row = g.row[i];
  const int j0 = row[0].first, j1 = row[1].first;
  const double a0 = row[0].second, a1 = row[1].second;
  const int k0 = static_cast<int>(g.col[j0].size()), k1 = static_cast<int>(g.col[j1].size());
  bool first;
  if (k0 != k1) first = k0 < k1;
  else if (std::fabs(a0) != std::fabs(a1)) first = std::fabs(a0) > std::fabs(a1);
  else first = a0 > 0;
  const int e = first ? j0 : j1, s = first ? j1 : j0;
  const double ae = first ? a0 : a1, as = first ? a1 : a0;
  if (frozencol(r, e)) return false;
  // x_s = (b - ae x_e)/as over the bounds of x_e.
  const double b = r->rhs[i], ratio = ae / as;
  const double le = r->lb[e], ue = r->ub[e];
  auto at = [&](double v) { return (b - ae * v) / as; };
  double nl, nu;
  if (ratio > 0) {
    nl = ue >= kInfBound ? -kInfBound : at(ue);
    nu = le <= -kInfBound ? kInfBound : at(le);
  } else {
    nl = le <= -kInfBound ? -kInfBound : at(le);
    nu = ue >= kInfBound ? kInfBound : at(ue);
  }
  if (!(nu > r->lb[s] && nl < r->ub[s] && nl < nu)) return false;
  if (!stable(r, g, i, e, ae)) return false;
  ch.sub = e;
  ch.piv = ae;
  ch.surv = s;
  ch.nl = nl;
  ch.nu = nu;
  return true;
}

// A free column of the row, else one that the row keeps within its bounds:
// the one with the fewest entries, then the largest coefficient.
bool choose_free(const prerec *r, const aggrec &g, int i, choice &ch) {
  const auto &row = g.row[i];
  const int len = static_cast<int>(row.size());
  for (int pass = 0; pass < 2 && ch.sub < 0; ++pass) {
    int bestk = 0;
    double besta = 0.0;
    for (const entry &t : row) {
      const int j = t.first;
      const double a = t.second;
      if (frozencol(r, j) || std::fabs(a) <= 1e-10) continue;
      if (pass == 0 ? !isfree(r, j) : isfree(r, j) || !implied_free(r, i, j, a)) continue;
      const int k = static_cast<int>(g.col[j].size());
      if (!fill_ok(r, k, len)) continue;
      if (ch.sub >= 0 && (k > bestk || (k == bestk && std::fabs(a) <= besta))) continue;
      if (!stable(r, g, i, j, a)) continue;
      ch.sub = j;
      ch.piv = a;
      bestk = k;
      besta = std::fabs(a);
    }
  }
  return ch.sub >= 0;
}

// Moves the interval [nl, nu] onto the survivor where it is tighter and logs
// the move.
void move_bounds(prerec *r, aggrec &g, int i, const choice &ch) {
  const int s = ch.surv;
  const bool lo = ch.nl > r->lb[s], up = ch.nu < r->ub[s];
  if (!lo && !up) return;
  const double nl = lo ? ch.nl : r->lb[s], nu = up ? ch.nu : r->ub[s];
  const int op = lo && up ? kOpMoveBoth : lo ? kOpMoveLower : kOpMoveUpper;
  push_record(r, op, i, r->rhs[i], nl, nu);
  push_entry(r, s, coef_of(g.row[i], s));
  push_entry(r, ch.sub, ch.piv);
  push_entry(r, -1, r->rhs[i]);
  r->lb[s] = nl;
  r->ub[s] = nu;
  for (int q : g.col[s]) refresh(r, g, q);
}

// Row q less f times row i, without column sub; the column lists follow.
void merge_row(prerec *r, aggrec &g, int q, int i, int sub, double f) {
  const auto &a = g.row[q], &b = g.row[i];
  auto &out = g.merged;
  out.clear();
  size_t x = 0, y = 0;
  while (x < a.size() || y < b.size()) {
    const int ja = x < a.size() ? a[x].first : kBigInt;
    const int jb = y < b.size() ? b[y].first : kBigInt;
    if (ja == sub || jb == sub) {
      if (ja == sub) ++x;
      if (jb == sub) ++y;
      continue;
    }
    if (ja < jb) {
      out.push_back(a[x++]);
    } else if (jb < ja) {
      const double v = -f * b[y].second;
      if (std::fabs(v) > 1e-13) {
        out.emplace_back(jb, v);
        g.col[jb].push_back(q);
      }
      ++y;
    } else {
      const double v = a[x].second - f * b[y].second;
      if (std::fabs(v) > 1e-13) out.emplace_back(ja, v);
      else erase_row(g.col[ja], q);
      ++x;
      ++y;
    }
  }
  g.row[q].swap(out);
  r->rhs[q] -= f * r->rhs[i];
  r->rowcnt[q] = static_cast<int>(g.row[q].size());
}

void substitute(prerec *r, aggrec &g, int i, const choice &ch) {
  const int sub = ch.sub;
  const double piv = ch.piv, b = r->rhs[i];
  if (ch.surv >= 0) move_bounds(r, g, i, ch);
  // The record: the column's cost and entries, the row's other entries.
  push_record(r, kOpSubst, sub, b, 0.0, 0.0);
  push_entry(r, -1, r->obj[sub]);
  push_entry(r, i, piv);
  for (int q : g.col[sub])
    if (q != i) push_entry(r, q, coef_of(g.row[q], sub));
  const int colpart = r->log.back().len;
  push_entry(r, colpart + 1 + static_cast<int>(g.row[i].size()) - 1, b);
  for (const entry &t : g.row[i])
    if (t.first != sub) push_entry(r, t.first, t.second);
  r->log.back().cnt = colpart;
  // The objective.
  const double d = r->obj[sub] / piv;
  if (d != 0.0) {
    for (const entry &t : g.row[i])
      if (t.first != sub) r->obj[t.first] -= d * t.second;
    r->objoffset += d * b;
  }
  r->obj[sub] = 0.0;
  // The other rows of the column.
  const std::vector<int> rows = g.col[sub];
  for (int q : rows) {
    if (q == i) continue;
    merge_row(r, g, q, i, sub, coef_of(g.row[q], sub) / piv);
  }
  for (const entry &t : g.row[i])
    if (t.first != sub) erase_row(g.col[t.first], i);
  for (const entry &t : g.row[i]) r->colcnt[t.first] = static_cast<int>(g.col[t.first].size());
  for (int q : rows)
    if (q != i)
      for (const entry &t : g.row[q]) r->colcnt[t.first] = static_cast<int>(g.col[t.first].size());
  g.row[i].clear();
  g.col[sub].clear();
  r->rowcnt[i] = -1;
  r->rowmap[i] = -2;
  r->colcnt[sub] = -1;
  r->colmap[sub] = kMapLinear;
  for (int q : rows)
    if (q != i) refresh(r, g, q);
  ++r->subst;
}

// Whether the rows of column j, each with the other columns within their
// bounds, keep it within its bounds.
bool implied_free_by_rows(const prerec *r, const aggrec &g, int j) {
  double ilo = -kInfBound, ihi = kInfBound, act;
  for (int i : g.col[j]) {
    const double a = coef_of(g.row[i], j);
    if (std::fabs(a) <= 1e-10) continue;
    const char s = r->sense[i];
    if ((s == 'G' || s == 'E') && rowmax_without(r, i, j, a, &act)) {
      const double t = (r->rhs[i] - act) / a;
      if (a > 0) ilo = std::max(ilo, t);
      else ihi = std::min(ihi, t);
    }
    if ((s == 'L' || s == 'E') && rowmin_without(r, i, j, a, &act)) {
      const double t = (r->rhs[i] - act) / a;
      if (a > 0) ihi = std::min(ihi, t);
      else ilo = std::max(ilo, t);
    }
  }
  const bool lofree = r->lb[j] <= -kInfBound || (ilo > -kInfBound && r->lb[j] <= ilo + 1e-9);
  const bool upfree = r->ub[j] >= kInfBound || (ihi < kInfBound && r->ub[j] >= ihi - 1e-9);
  return lofree && upfree;
}

// Short columns that their rows keep within bounds leave with their
// shortest equation whose coefficient is large enough.
int column_pass(prerec *r, aggrec &g) {
  int done = 0;
  for (int j = 0; j < r->ncols; ++j) {
    const int k = r->colcnt[j];
    if (k < 1 || k > 3 || frozencol(r, j)) continue;
    bool haseq = false;
    double big = 0.0;
    for (int i : g.col[j]) {
      haseq |= r->sense[i] == 'E' && g.row[i].size() >= 2;
      big = std::max(big, std::fabs(coef_of(g.row[i], j)));
    }
    if (!haseq || !implied_free_by_rows(r, g, j)) continue;
    const double limit = big * r->aggtol - 1e-10;
    int best = -1;
    double piv = 0.0;
    for (int i : g.col[j]) {
      if (r->sense[i] != 'E' || g.row[i].size() < 2) continue;
      const double a = coef_of(g.row[i], j);
      if (std::fabs(a) < limit || std::fabs(a) <= 1e-10) continue;
      if (best >= 0 && g.row[i].size() >= g.row[best].size()) continue;
      best = i;
      piv = a;
    }
    if (best < 0 || !fill_ok(r, k, static_cast<int>(g.row[best].size()))) continue;
    choice ch;
    ch.sub = j;
    ch.piv = piv;
    substitute(r, g, best, ch);
    ++done;
  }
  return done;
}

}  // namespace

int pre_aggregate(env *e, prerec *r, lp *p) {
  aggrec g;
  build(r, g);
  activity_all(r);
  const int m = r->nrows;
  std::vector<int> order;
  order.reserve(m);
  int st = 0;
  for (int round = 0; round < 10 && st == 0; ++round) {
    const int before = r->subst;
    order.clear();
    for (int i = 0; i < m; ++i)
      if (rowlive(r, i) && r->sense[i] == 'E' && g.row[i].size() >= 2) order.push_back(i);
    if (r->aggsorted)
      std::stable_sort(order.begin(), order.end(),
                       [&](int a, int b) { return g.row[a].size() < g.row[b].size(); });
    for (size_t t = 0; t < order.size(); ++t) {
      const int i = order[t];
      if (i % 100 == 0 && (st = pre_poll(e, r, p)) != 0) break;
      if (!rowlive(r, i) || r->sense[i] != 'E' || g.row[i].size() < 2) continue;
      choice ch;
      bool ok = choose_free(r, g, i, ch);
      if (!ok && g.row[i].size() == 2) {
        ch = choice();
        ok = choose_doubleton(r, g, i, ch);
      }
      if (ok) substitute(r, g, i, ch);
    }
    if (st) break;
    column_pass(r, g);
    if (r->subst == before) break;
  }
  write_back(r, g);
  activity_all(r);
  return st;
}

}  // namespace velto
