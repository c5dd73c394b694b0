// Rows for the rounding cuts and flow covers: the working columns with a
// slack per inequality, the distances from the bounds that steer the
// aggregation of rows along continuous columns, and the round over the
// rows of the model.
#include <algorithm>
#include <cmath>

#include "mip/mipmir.h"

namespace velto {

void vublinks(const cutmodel &cm, const double *lb, double *ub, std::vector<int> &link) {
  link.assign(cm.n, -1);
  const rowcopy &rc = *cm.rc;
  for (int i = 0; i < cm.m; ++i) {
    if (rc.rowend[i] - rc.rowbeg[i] != 2) continue;
    for (int neg = 0; neg < 2; ++neg) {
      char s = cm.sense[i];
      if (neg == 0 && s != 'L' && s != 'E') continue;
      if (neg == 1 && s != 'G' && s != 'E') continue;
      double sg = neg ? -1.0 : 1.0;
      // a x + b y <= rhs with rhs <= 0, a > 0, b < 0, x >= 0 and y binary:
      // y = 0 forces x to 0.
      if (sg * cm.rhs[i] > 0.0) continue;
      for (int p = 0; p < 2; ++p) {
        int x = rc.rowind[rc.rowbeg[i] + p], y = rc.rowind[rc.rowbeg[i] + 1 - p];
        double a = sg * rc.rowval[rc.rowbeg[i] + p], b = sg * rc.rowval[rc.rowbeg[i] + 1 - p];
        char tx = cm.ctype ? cm.ctype[x] : 'C', ty = cm.ctype ? cm.ctype[y] : 'C';
        if (!(a > 0.0 && b < 0.0) || tx == 'B' || link[x] >= 0) continue;
        if (!((ty == 'B' || ty == 'I') && lb[y] == 0.0 && ub[y] == 1.0)) continue;
        // x <= u y <= u: the row bounds x as well.
        double u = std::min(ub[x], -b / a);
        if (std::fabs(lb[x]) >= 1e-10 || !(u < 1e10)) continue;
        ub[x] = u;
        link[x] = y;
      }
    }
  }
}

namespace {

// The working state of one round.
struct mirwork {
  int n = 0, m = 0, N = 0;  // structurals, rows, working columns
  bool agg = false;
  std::vector<double> lb, ub, x, bddist;
  std::vector<char> type;
  std::vector<int> link, cntc, cnti, rowstate;
  // rows with their slacks, and the columns' rows
  std::vector<int> rbeg, rind;
  std::vector<double> rval;
  std::vector<int> cbeg, cind;
  std::vector<double> cval;
  std::vector<double> rhs;
  // the aggregate: dense values with the list of its columns
  std::vector<double> dense;
  std::vector<int> list;
  double arhs = 0.0;
  std::vector<int> used;
};


void setup(mirwork &mw, const cutwork &cw, const std::vector<int> &rowclass, const double *x,
           const double *glb, const double *gub, int aggcutlim) {
  const cutmodel &cm = cw.cm;
  const rowcopy &rc = *cm.rc;
  mw.n = cm.n;
  mw.m = cm.m;
  mw.agg = aggcutlim > 0;
  mw.N = mw.n + (mw.agg ? mw.m : 0);
  const int n = mw.n, N = mw.N;
  mw.lb.assign(N, 0.0);
  mw.ub.assign(N, 1e20);
  mw.x.assign(N, 0.0);
  mw.type.assign(N, 'C');
  mw.bddist.assign(N, 0.0);
  for (int j = 0; j < n; ++j) {
    mw.lb[j] = glb[j] <= -1e7 ? -1e20 : glb[j];
    mw.ub[j] = gub[j] >= 1e7 ? 1e20 : gub[j];
    mw.x[j] = x[j];
  }
  vublinks(cm, mw.lb.data(), mw.ub.data(), mw.link);
  mw.link.resize(N, -1);
  for (int j = 0; j < n; ++j) {
    char t = cm.ctype ? cm.ctype[j] : 'C';
    // An integer column counts as one when its finite bounds are integral.
    bool integral = (t == 'B' || t == 'I') &&
                    (mw.lb[j] <= -1e20 || mw.lb[j] == std::floor(mw.lb[j])) &&
                    (mw.ub[j] >= 1e20 || mw.ub[j] == std::floor(mw.ub[j]));
    mw.type[j] = integral ? 'I' : 'C';
    bool atbound = x[j] - mw.lb[j] <= 1e-5 || mw.ub[j] - x[j] <= 1e-5;
    if (!atbound) mw.bddist[j] = integral ? -2.0 : std::min(x[j] - mw.lb[j], mw.ub[j] - x[j]);
  }
  // Rows with their slacks: L  a x + s = rhs, G  a x - s = rhs.
  mw.rbeg.assign(mw.m + 1, 0);
  mw.rind.clear();
  mw.rval.clear();
  mw.rhs = cm.rhs;
  mw.rhs.resize(std::max(mw.m, 1));
  mw.cntc.assign(mw.m, 0);
  mw.cnti.assign(mw.m, 0);
  mw.rowstate.assign(mw.m, 2);
  for (int i = 0; i < mw.m; ++i) {
    mw.rbeg[i] = static_cast<int>(mw.rind.size());
    const char s = cm.sense[i];
    if (i < static_cast<int>(rowclass.size()) && rowclass[i] == 5 && s != 'R') mw.rowstate[i] = 0;
    double amin = 0.0, amax = 0.0, act = 0.0;
    bool mininf = false, maxinf = false;
    for (int p = rc.rowbeg[i]; p < rc.rowend[i]; ++p) {
      int j = rc.rowind[p];
      double a = rc.rowval[p];
      mw.rind.push_back(j);
      mw.rval.push_back(a);
      act += a * x[j];
      double lo = a > 0 ? mw.lb[j] : mw.ub[j], hi = a > 0 ? mw.ub[j] : mw.lb[j];
      if (std::fabs(lo) >= 1e20) mininf = true;
      else amin += a * lo;
      if (std::fabs(hi) >= 1e20) maxinf = true;
      else amax += a * hi;
      if (mw.bddist[j] > 0) ++mw.cntc[i];
      else if (mw.bddist[j] == -2.0) ++mw.cnti[i];
    }
    if (mw.agg && (s == 'L' || s == 'G')) {
      int sj = n + i;
      bool inf = s == 'L' ? mininf : maxinf;
      mw.ub[sj] = inf ? 1e20 : std::max(0.0, s == 'L' ? cm.rhs[i] - amin : amax - cm.rhs[i]);
      mw.x[sj] = std::max(0.0, s == 'L' ? cm.rhs[i] - act : act - cm.rhs[i]);
      mw.rind.push_back(sj);
      mw.rval.push_back(s == 'L' ? 1.0 : -1.0);
      if (mw.x[sj] > 1e-5 && mw.ub[sj] - mw.x[sj] > 1e-5) {
        mw.bddist[sj] = std::min(mw.x[sj], mw.ub[sj] - mw.x[sj]);
        ++mw.cntc[i];
      }
    }
  }
  mw.rbeg[mw.m] = static_cast<int>(mw.rind.size());
  // A column at its variable upper bound counts as at a bound.
  for (int j = 0; j < n; ++j) {
    int k = mw.link[j];
    if (!(mw.bddist[j] > 0) || k < 0) continue;
    double t = mw.ub[j] * mw.x[k] - mw.x[j];
    if (t < mw.x[j] && t < mw.bddist[j]) mw.bddist[j] = t < 1e-5 ? -1.0 : t;
  }
  // Column-wise copy (structurals only) for the choice of the next row.
  mw.cbeg.assign(n + 1, 0);
  for (int p = 0; p < mw.rbeg[mw.m]; ++p)
    if (mw.rind[p] < n) ++mw.cbeg[mw.rind[p] + 1];
  for (int j = 0; j < n; ++j) mw.cbeg[j + 1] += mw.cbeg[j];
  mw.cind.assign(mw.cbeg[n], 0);
  mw.cval.assign(mw.cbeg[n], 0.0);
  std::vector<int> fill(mw.cbeg.begin(), mw.cbeg.end() - 1);
  for (int i = 0; i < mw.m; ++i)
    for (int p = mw.rbeg[i]; p < mw.rbeg[i + 1]; ++p) {
      int j = mw.rind[p];
      if (j >= n) continue;
      mw.cind[fill[j]] = i;
      mw.cval[fill[j]++] = mw.rval[p];
    }
  for (int j = 0; j < n; ++j) {
    if (mw.bddist[j] == -1.0)
      for (int p = mw.cbeg[j]; p < mw.cbeg[j + 1]; ++p) --mw.cntc[mw.cind[p]];
    if (mw.bddist[j] < 0) mw.bddist[j] = 0.0;
  }
  mw.dense.assign(N, 0.0);
}

// Adds mult times row i to the aggregate.
void addrow(mirwork &mw, int i, double mult) {
  for (int p = mw.rbeg[i]; p < mw.rbeg[i + 1]; ++p) {
    int j = mw.rind[p];
    if (mw.dense[j] == 0.0) mw.list.push_back(j);
    mw.dense[j] += mult * mw.rval[p];
    if (mw.dense[j] == 0.0) mw.dense[j] = 1e-300;  // stays listed once
  }
  mw.arhs += mult * mw.rhs[i];
}

void clearagg(mirwork &mw) {
  for (int j : mw.list) mw.dense[j] = 0.0;
  mw.list.clear();
  mw.arhs = 0.0;
}

// The working row from the aggregate: fixed columns go to the rhs, tiny
// coefficients leave through a bound.
void workrow(const mirwork &mw, std::vector<int> &cols, std::vector<double> &vals, double *rhs) {
  cols.clear();
  vals.clear();
  *rhs = mw.arhs;
  for (int j : mw.list) {
    double a = mw.dense[j];
    if (std::fabs(mw.ub[j] - mw.lb[j]) < 1e-10) {
      *rhs -= a * mw.lb[j];
      continue;
    }
    if (std::fabs(a) <= 1e-10) {
      double b = a > 0 ? mw.lb[j] : mw.ub[j];
      if (std::fabs(b) < 1e20) {
        *rhs -= a * b;
        continue;
      }
    }
    cols.push_back(j);
    vals.push_back(a);
  }
}

// Calls fn(row, a, c) for each continuous column of the aggregate that is
// away from its bounds (coefficient c) and each free row holding it (a).
template <class F>
void eachpair(const mirwork &mw, F fn) {
  for (int j : mw.list) {
    if (j >= mw.n || !(mw.bddist[j] > 0)) continue;
    for (int p = mw.cbeg[j]; p < mw.cbeg[j + 1]; ++p) {
      int r = mw.cind[p];
      if (mw.rowstate[r] != 0 || std::fabs(mw.cval[p]) <= 1e-13) continue;
      fn(r, mw.cval[p], mw.dense[j]);
    }
  }
}

// The next row to aggregate and its multiplier, or -1: a row in which the
// column is the only one away from its bounds, else the row that moves the
// aggregate least away from its bounds.
int nextrow(const mirwork &mw, double *mult) {
  int best = -1, bestcnti = 0;
  eachpair(mw, [&](int r, double a, double c) {
    double v = std::fabs(c) / std::fabs(a);
    if (mw.cntc[r] != 1 || !(v > 0.1 && v * 0.1 < 1.0)) return;
    if (best < 0 || mw.cnti[r] < bestcnti) best = r, bestcnti = mw.cnti[r], *mult = -c / a;
  });
  if (best >= 0) return best;
  double bestscore = 1e75;
  eachpair(mw, [&](int r, double a, double c) {
    double m = -c / a;
    if (!(std::fabs(m) >= 0.1 && std::fabs(m) * 0.1 <= 1.0)) return;
    double score = 0.0;
    for (int q = mw.rbeg[r]; q < mw.rbeg[r + 1]; ++q) {
      int k = mw.rind[q];
      double ak = mw.rval[q], ck = mw.dense[k];
      score += ck != 0.0 ? mw.bddist[k] * (std::fabs(m * ak + ck) - std::fabs(ck))
                         : mw.bddist[k] * std::fabs(m * ak);
    }
    if (score < bestscore) bestscore = score, best = r, *mult = m;
  });
  return best;
}

// Slacks of the cut replaced by their rows.
void unslack(const mirwork &mw, mircut &c) {
  const int n = mw.n;
  std::vector<std::pair<int, double>> terms;
  for (size_t p = 0; p < c.ind.size(); ++p) {
    int j = c.ind[p];
    if (j < n) {
      terms.push_back({j, c.val[p]});
      continue;
    }
    int i = j - n;
    double e = mw.rval[mw.rbeg[i + 1] - 1];
    double s = e <= 0 ? c.val[p] : -c.val[p];
    c.rhs += s * mw.rhs[i];
    for (int q = mw.rbeg[i]; q < mw.rbeg[i + 1] - 1; ++q) terms.push_back({mw.rind[q], s * mw.rval[q]});
  }
  std::sort(terms.begin(), terms.end());
  c.ind.clear();
  c.val.clear();
  for (const auto &t : terms) {
    if (!c.ind.empty() && c.ind.back() == t.first) c.val.back() += t.second;
    else c.ind.push_back(t.first), c.val.push_back(t.second);
  }
  cutrelax(c, mw.lb.data(), mw.ub.data(), 1e-10);
}

// One cut at most from the aggregation started at row i (sign sg).
// Returns 1 for a flow cover, 2 for a MIR cut, 0 for none.
int mirrow(mirwork &mw, int i, double sg, int mode, int agglim, mircut &cut) {
  mircols wc;
  wc.lb = mw.lb.data();
  wc.ub = mw.ub.data();
  wc.x = mw.x.data();
  wc.type = mw.type.data();
  wc.link = mw.link.data();
  clearagg(mw);
  mw.used.clear();
  addrow(mw, i, sg);
  std::vector<int> cols;
  std::vector<double> vals;
  double rhs = 0.0;
  int found = 0;
  for (int count = 0;; ) {
    workrow(mw, cols, vals, &rhs);
    if (cols.size() < 2) break;
    bool flow = mode == 1 || mode == 3, mir = mode == 2 || mode == 3;
    if (mode == 0) {
      bool general = false;
      for (size_t p = 0; p < cols.size() && !general; ++p) {
        int j = cols[p];
        general = j < mw.n && mw.type[j] == 'I' && !(mw.lb[j] == 0.0 && mw.ub[j] == 1.0) &&
                  mw.x[j] - mw.lb[j] > 1e-5 && mw.ub[j] - mw.x[j] > 1e-5;
      }
      mir = general;
      flow = !general;
    }
    const int n = static_cast<int>(cols.size());
    if (flow && flowcover(wc, n, rhs, cols.data(), vals.data(), -0.1, cut)) {
      found = 1;
      break;
    }
    if (mir && cmir(wc, n, rhs, cols.data(), vals.data(), -0.001, cut)) {
      found = 2;
      break;
    }
    if (++count >= agglim) break;
    double mult = 0.0;
    int r = nextrow(mw, &mult);
    if (r < 0) break;
    mw.rowstate[r] = 1;
    mw.used.push_back(r);
    addrow(mw, r, mult);
  }
  if (found && mw.agg) unslack(mw, cut);
  if (!found) {
    for (int r : mw.used) mw.rowstate[r] = 0;
    if (mw.rowstate[i] == 1) mw.rowstate[i] = 0;  // may still join a later aggregation
  }
  return found;
}

}  // namespace

int mirround(cutwork &cw, const std::vector<int> &rowclass, const double *x, const double *glb,
             const double *gub, int limit, int mode, int aggcutlim, int counts[2]) {
  counts[0] = counts[1] = 0;
  if (mode == 3) --limit;
  if (limit <= 0) return 0;
  mirwork mw;
  setup(mw, cw, rowclass, x, glb, gub, aggcutlim);
  mircut cut;
  for (int i = 0; i < mw.m && counts[0] + counts[1] < limit; ++i) {
    if (i >= static_cast<int>(rowclass.size()) || rowclass[i] != 5) continue;
    const char s = cw.cm.sense[i];
    const int agglim = mw.rowstate[i] == 3 ? 0 : aggcutlim;
    if (mw.rowstate[i] == 0) mw.rowstate[i] = 1;
    for (int neg = 0; neg < 2 && counts[0] + counts[1] < limit; ++neg) {
      if (neg == 0 && s != 'L' && s != 'E') continue;
      if (neg == 1 && s != 'G' && s != 'E') continue;
      int got = mirrow(mw, i, neg ? -1.0 : 1.0, mode, std::max(agglim, 1), cut);
      if (!got || cut.ind.empty()) continue;
      int type = got == 1 ? kCutFlow : kCutMir;
      int st = cutsetpush(cw.pool, 0, type, static_cast<int>(cut.ind.size()), cut.ind.data(),
                          cut.val.data(), 'L', cut.rhs);
      if (st) return st;
      ++counts[got == 1 ? 0 : 1];
    }
  }
  return 0;
}

}  // namespace velto
