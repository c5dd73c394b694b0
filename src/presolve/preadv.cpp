// Presolve calls around the driver: the basic presolve that only reports,
// the list of protected columns, rows and objective changes carried into
// the reduced problem, and the writing of the reduced problem.
#include <algorithm>
#include <cstdint>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

#include "env/par.h"
#include "model/store.h"
#include "presolve/presolve.h"

namespace velto {

namespace {

bool integer_kind(const lp *p) { return p->probtype == kTypeMILP || p->probtype == kTypeMIQP; }
bool quadratic_kind(const lp *p) {
  return p->probtype == kTypeQP || p->probtype == kTypeZeroedQP || p->probtype == kTypeMIQP ||
         p->probtype == kTypeFixedMIQP || p->probtype == kTypeQPNode;
}

// Runs a change on p with its presolve record set aside, so that the change
// does not discard it, and folds the change at once.
template <class F>
int change_keeping_record(env *e, lp *p, F &&change) {
  prerec *r = p->presolve;
  p->presolve = nullptr;
  int st = change();
  if (st == 0) st = cache_flush(e, p);
  // A change made while the record was away may have left a new one.
  if (p->presolve) presolve_free(e, p);
  p->presolve = r;
  return st;
}

// Drops the record after a failed carry-over into the reduced problem.
void carry_failed(env *e, lp *p, const char *text) {
  msg(e->warnchannel, "%s", text);
  if (p->presolve) p->presolve->keep = 0;
  presolve_free(e, p);
}

// ---- basic presolve ---------------------------------------------------------------

// Row sides lo <= a'x <= hi of the user's model.
void row_sides(const lp *p, std::vector<double> &lo, std::vector<double> &hi) {
  const lpcore *c = p->core;
  const int m = c->numrows;
  std::vector<double> rhs(m), rng(m, 0.0);
  if (m) {
    getrhs_u(p, rhs.data(), 0, m - 1);
    if (c->rngval) getrng_u(p, rng.data(), 0, m - 1);
  }
  lo.assign(m, -kInfBound);
  hi.assign(m, kInfBound);
  for (int i = 0; i < m; ++i) {
    switch (c->sense[i]) {
      case 'L': hi[i] = rhs[i]; break;
      case 'G': lo[i] = rhs[i]; break;
      case 'E': lo[i] = hi[i] = rhs[i]; break;
      default:
        lo[i] = rng[i] >= 0 ? rhs[i] : rhs[i] + rng[i];
        hi[i] = rng[i] >= 0 ? rhs[i] + rng[i] : rhs[i];
        break;
    }
  }
}

// Smallest and largest activity of each row over the bounds: finite parts
// and the counts of infinite terms.
struct activity {
  std::vector<double> minfin, maxfin;
  std::vector<int> mininf, maxinf;
};

void row_activity(const lp *p, const std::vector<double> &lb, const std::vector<double> &ub,
                  activity &act) {
  const lpcore *c = p->core;
  const int m = c->numrows, n = c->numcols;
  act.minfin.assign(m, 0.0);
  act.maxfin.assign(m, 0.0);
  act.mininf.assign(m, 0);
  act.maxinf.assign(m, 0);
  for (int j = 0; j < n; ++j)
    for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k) {
      const int i = c->matind[k];
      const double a = matval_u(p, k, j);
      const double tmin = a > 0 ? lb[j] : ub[j], tmax = a > 0 ? ub[j] : lb[j];
      if (std::fabs(tmin) >= kInfBound) ++act.mininf[i];
      else act.minfin[i] += a * tmin;
      if (std::fabs(tmax) >= kInfBound) ++act.maxinf[i];
      else act.maxfin[i] += a * tmax;
    }
}

// Implied bounds and redundant rows, nothing changed.  1117 when the bounds
// prove the model infeasible.
int basic_presolve(env *e, lp *p, double *redlb, double *redub, int *rstat) {
  const lpcore *c = p->core;
  const int m = c->numrows, n = c->numcols;
  const double feastol = e->params->eprhs;
  std::vector<double> lb(n), ub(n), lo, hi;
  if (n) {
    getlb_u(p, lb.data(), 0, n - 1);
    getub_u(p, ub.data(), 0, n - 1);
  }
  for (int j = 0; j < n; ++j) {
    if (lb[j] <= -kInfThreshold) lb[j] = -kInfBound;
    if (ub[j] >= kInfThreshold) ub[j] = kInfBound;
  }
  row_sides(p, lo, hi);
  activity act;
  row_activity(p, lb, ub, act);
  // A row is redundant when every point within the declared bounds meets
  // it; the implied bounds below are not used for this, since they come
  // from the rows themselves.
  if (rstat) {
    for (int i = 0; i < m; ++i) {
      const bool upok = hi[i] >= kInfBound || (act.maxinf[i] == 0 && act.maxfin[i] <= hi[i] + 1e-10);
      const bool lowok = lo[i] <= -kInfBound || (act.mininf[i] == 0 && act.minfin[i] >= lo[i] - 1e-10);
      rstat[i] = upok && lowok ? -1 : 0;
    }
  }
  // One sweep of the bounds that each row implies for its columns.
  std::vector<double> implo(lb), imphi(ub);
  for (int j = 0; j < n; ++j)
    for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k) {
      const int i = c->matind[k];
      const double a = matval_u(p, k, j);
      if (std::fabs(a) <= 1e-10) continue;
      // Activity of the row without column j, smallest and largest.
      const double tmin = a > 0 ? lb[j] : ub[j], tmax = a > 0 ? ub[j] : lb[j];
      double restmin = 0.0, restmax = 0.0;
      bool minok, maxok;
      if (std::fabs(tmin) >= kInfBound) {
        minok = act.mininf[i] == 1;
        restmin = act.minfin[i];
      } else {
        minok = act.mininf[i] == 0;
        restmin = act.minfin[i] - a * tmin;
      }
      if (std::fabs(tmax) >= kInfBound) {
        maxok = act.maxinf[i] == 1;
        restmax = act.maxfin[i];
      } else {
        maxok = act.maxinf[i] == 0;
        restmax = act.maxfin[i] - a * tmax;
      }
      // a x <= hi - restmin and a x >= lo - restmax.
      if (hi[i] < kInfBound && minok) {
        const double t = (hi[i] - restmin) / a;
        if (a > 0) imphi[j] = std::min(imphi[j], t);
        else implo[j] = std::max(implo[j], t);
      }
      if (lo[i] > -kInfBound && maxok) {
        const double t = (lo[i] - restmax) / a;
        if (a > 0) implo[j] = std::max(implo[j], t);
        else imphi[j] = std::min(imphi[j], t);
      }
    }
  for (int j = 0; j < n; ++j) {
    if (implo[j] - imphi[j] > feastol) {
      if (e->params->predisp)
        msg(e->reschannel, "Bound infeasibility column '%.255s'.\n",
            colnameof(e, c->colname, n, j));
      return 1117;
    }
    if (implo[j] <= -kInfThreshold) implo[j] = -kInfBound;
    if (imphi[j] >= kInfThreshold) imphi[j] = kInfBound;
  }
  if (redlb && n) std::copy(implo.begin(), implo.end(), redlb);
  if (redub && n) std::copy(imphi.begin(), imphi.end(), redub);
  return 0;
}

// ---- rows added to both problems ---------------------------------------------------

// Carries rows [m0, m0 + rcnt) of p, just added, into the reduced problem
// and the record.  0, or 1 when the rows cannot be carried, or 1001.
int carry_rows(env *e, lp *p, int m0, int rcnt, char **rowname) {
  prerec *r = p->presolve;
  if (r->redlp == nullptr || r->dualform == 1) return 1;
  int nz = 0, surplus = 0;
  std::vector<int> beg(rcnt + 1, 0);
  VLTgetrows(e, p, &nz, beg.data(), nullptr, nullptr, 0, &surplus, m0, m0 + rcnt - 1);
  nz = -surplus;
  std::vector<int> ind(std::max(nz, 1));
  std::vector<double> val(std::max(nz, 1));
  if (nz > 0 &&
      VLTgetrows(e, p, &nz, beg.data(), ind.data(), val.data(), nz, &surplus, m0, m0 + rcnt - 1))
    return 1;
  beg[rcnt] = nz;
  std::vector<double> rhs(rcnt);
  getrhs_u(p, rhs.data(), m0, m0 + rcnt - 1);
  // Crush each row; a row on a column removed by reasoning on its cost
  // would change that reasoning.
  std::vector<int> rbeg, rind;
  std::vector<double> rval, rrhs;
  std::vector<char> rsense;
  for (int t = 0; t < rcnt; ++t) {
    for (int k = beg[t]; k < beg[t + 1]; ++k)
      if (r->dualgone[ind[k]] != kDualNone && std::fabs(val[k]) >= 1e-13) return 1;
    std::vector<int> oi;
    std::vector<double> ov;
    double off = 0.0;
    if (crush_linear(r, beg[t + 1] - beg[t], ind.data() + beg[t], val.data() + beg[t], oi, ov,
                     &off))
      return 1;
    rbeg.push_back(static_cast<int>(rind.size()));
    for (size_t q = 0; q < oi.size(); ++q) {
      if (std::fabs(ov[q]) <= 1e-13) continue;
      rind.push_back(oi[q]);
      rval.push_back(ov[q]);
    }
    rrhs.push_back(rhs[t] - off);
    const char s = p->core->sense[m0 + t];
    rsense.push_back(s == 'R' ? 'E' : s);
  }
  lp *red = r->redlp;
  const int rm0 = red->core->numrows;
  int st = VLTaddrows(e, red, 0, rcnt, static_cast<int>(rind.size()), rrhs.data(), rsense.data(),
                      rbeg.data(), rind.data(), rval.data(), nullptr, rowname);
  if (st == 0) st = cache_flush(e, red);
  if (st) return st == kNoMemory ? kNoMemory : 1;
  // The record learns the rows: their images, and their entries in the
  // removed columns for the duals of postsolve.
  const int m = r->nrows + rcnt;
  r->rowmap.resize(m);
  r->rowcnt.resize(m, 0);
  r->rhs.resize(m);
  r->sense.resize(m);
  r->origrhs.resize(m);
  r->origsense.resize(m);
  r->rowminfin.resize(m, 0.0);
  r->rowmaxfin.resize(m, 0.0);
  r->rowmininf.resize(m, 0);
  r->rowmaxinf.resize(m, 0);
  r->rbeg.resize(m, 0);
  r->rlen.resize(m, 0);
  for (int t = 0; t < rcnt; ++t) {
    const int i = r->nrows + t;
    r->rowmap[i] = rm0 + t;
    r->rowcnt[i] = rbeg[t] < static_cast<int>(rind.size()) ? 1 : 0;
    r->rhs[i] = r->origrhs[i] = rhs[t];
    r->sense[i] = r->origsense[i] = rsense[t];
    for (int k = beg[t]; k < beg[t + 1]; ++k) {
      const int j = ind[k];
      if (r->colmap[j] >= 0 || val[k] == 0.0) continue;
      if (r->addedcol.empty()) r->addedcol.resize(r->ncols);
      r->addedcol[j].emplace_back(i, val[k]);
    }
  }
  r->nrows = m;
  return 0;
}

// ---- objective changes carried to both problems ------------------------------------

// Carries the cost changes dc (user's sense, over the record's columns) into
// the log and the reduced problem.  0, 1 when a removal rests on a cost
// that no longer allows it, or a status of the reduced problem's change.
int carry_objective(env *e, prerec *r, std::vector<double> &dc) {
  // First the test, so that a failure changes nothing.
  {
    std::vector<double> t(dc);
    for (const undorec &u : r->log) {
      const int *ind = rec_ind(r, u);
      const double *val = rec_val(r, u);
      int j = -1;
      double c = 0.0;
      switch (u.op) {
        case kOpFixed: case kOpAtLower: case kOpAtUpper: case kOpFreeEmpty:
          j = u.index;
          c = r->objsen * (u.cost + t[j]);
          break;
        case kOpFreeSingleton: case kOpSlackLower: case kOpSlackUpper:
          j = ind[0];
          c = val[1] + r->objsen * t[j];
          for (int k = 3; k < u.len; ++k) t[ind[k]] -= t[j] * val[k] / val[0];
          break;
        case kOpSubst:
          j = u.index;
          for (int k = u.cnt + 1; k < u.len; ++k) t[ind[k]] -= t[j] * val[k] / val[1];
          break;
        case kOpMergeCols:
          // The merge rests on proportional costs.
          if (t[u.index] != 0.0 || t[ind[0]] != 0.0) return 1;
          break;
        default: break;
      }
      if (j < 0 || t[j] == 0.0) continue;
      if (!dual_condition_holds(r, r->dualgone[j], c)) return 1;
      t[j] = 0.0;
    }
  }
  double offset = 0.0;
  for (undorec &u : r->log) {
    int *ind = r->logind.data() + u.start;
    double *val = r->logval.data() + u.start;
    switch (u.op) {
      case kOpFixed: case kOpAtLower: case kOpAtUpper: case kOpFreeEmpty: {
        const int j = u.index;
        if (dc[j] == 0.0) break;
        const double v = u.op == kOpAtUpper ? u.up : u.op == kOpFreeEmpty ? 0.0 : u.low;
        u.cost += dc[j];
        offset += dc[j] * v;
        dc[j] = 0.0;
        break;
      }
      case kOpFreeSingleton: case kOpSlackLower: case kOpSlackUpper: {
        // The column's cost went onto the other columns of its row.
        const int j = ind[0];
        if (dc[j] == 0.0) break;
        const double d = dc[j] / val[0];
        val[1] += r->objsen * dc[j];
        for (int k = 3; k < u.len; ++k) dc[ind[k]] -= d * val[k];
        offset += d * val[2];
        dc[j] = 0.0;
        break;
      }
      case kOpSubst: {
        const int j = u.index;
        if (dc[j] == 0.0) break;
        const double d = dc[j] / val[1];
        val[0] += dc[j];
        for (int k = u.cnt + 1; k < u.len; ++k) dc[ind[k]] -= d * val[k];
        offset += d * val[u.cnt];
        dc[j] = 0.0;
        break;
      }
      default: break;
    }
  }
  std::vector<int> idx;
  std::vector<double> newobj;
  lp *red = r->redlp;
  if (red) {
    const int rn = red->core->numcols;
    std::vector<double> robj(std::max(rn, 1));
    if (rn) getobj_u(red, robj.data(), 0, rn - 1);
    for (int j = 0; j < r->ncols; ++j) {
      if (dc[j] == 0.0 || r->colmap[j] < 0) continue;
      idx.push_back(r->colmap[j]);
      newobj.push_back(robj[r->colmap[j]] + dc[j]);
    }
    if (!idx.empty()) {
      int st = VLTchgobj(e, red, static_cast<int>(idx.size()), idx.data(), newobj.data());
      if (st == 0) st = cache_flush(e, red);
      if (st) return st;
    }
    red->core->objoffset += offset;
  }
  r->objoffset += offset;
  return 0;
}

}  // namespace

// ---- parallel rows and columns -------------------------------------------------------

namespace {

// One side of the matrix seen as items (rows or columns) with entries on
// the other side.
struct itemview {
  const std::vector<int> &beg, &len, &ind;
  const std::vector<double> &val;
  const std::vector<int> &itemcnt, &othercnt;
};

inline bool other_live(const itemview &v, int o) { return v.othercnt[o] >= 0; }

// Order-free hash of an item's live other-side indices.
uint64_t item_hash(const itemview &v, int a) {
  uint64_t h = 0;
  for (int k = v.beg[a]; k < v.beg[a] + v.len[a]; ++k) {
    if (!other_live(v, v.ind[k])) continue;
    uint64_t x = static_cast<uint64_t>(v.ind[k]) + 0x9e3779b97f4a7c15ULL;
    x = (x ^ (x >> 30)) * 0xbf58476d1ce4e5b9ULL;
    x = (x ^ (x >> 27)) * 0x94d049bb133111ebULL;
    h += x ^ (x >> 31);
  }
  return h;
}

// A key that scaled copies share: the sum of squares relative to the
// largest magnitude.
double scale_key(const itemview &v, int a) {
  double big = 0.0, sum = 0.0;
  for (int k = v.beg[a]; k < v.beg[a] + v.len[a]; ++k)
    if (other_live(v, v.ind[k])) big = std::max(big, std::fabs(v.val[k]));
  if (big == 0.0) return 0.0;
  for (int k = v.beg[a]; k < v.beg[a] + v.len[a]; ++k)
    if (other_live(v, v.ind[k])) sum += (v.val[k] / big) * (v.val[k] / big);
  return sum;
}

// Whether items a and b are parallel: item a equals ratio times item b.
// work is a zero scratch vector over the other side, left zero.
bool parallel_test(const itemview &v, int a, int b, std::vector<double> &work, double *ratio) {
  int na = 0;
  for (int k = v.beg[a]; k < v.beg[a] + v.len[a]; ++k)
    if (other_live(v, v.ind[k])) {
      work[v.ind[k]] = v.val[k];
      ++na;
    }
  bool ok = true;
  int nb = 0;
  double lo = 0.0, hi = 0.0;
  for (int k = v.beg[b]; k < v.beg[b] + v.len[b] && ok; ++k) {
    const int o = v.ind[k];
    if (!other_live(v, o)) continue;
    ++nb;
    if (work[o] == 0.0 || v.val[k] == 0.0) {
      ok = false;
      break;
    }
    const double q = work[o] / v.val[k];
    if (nb == 1) lo = hi = q;
    lo = std::min(lo, q);
    hi = std::max(hi, q);
  }
  for (int k = v.beg[a]; k < v.beg[a] + v.len[a]; ++k) work[v.ind[k]] = 0.0;
  if (!ok || na != nb || nb == 0) return false;
  if ((lo > 0) != (hi > 0) || std::fabs(1.0 - hi / lo) > 1e-8) return false;
  *ratio = 0.5 * (lo + hi);
  return true;
}

// Calls cmp(a, b) on the pairs of live items that may be parallel: equal
// live length and hash, then equal scale key.  cmp returns 0 or a status
// that ends the search.
template <class Cmp>
int dup_search(const itemview &v, int nitems, Cmp cmp) {
  struct key {
    int len;
    uint64_t hash;
    double scale;
    int item;
  };
  std::vector<key> keys;
  for (int a = 0; a < nitems; ++a)
    if (v.itemcnt[a] >= 1) keys.push_back({v.itemcnt[a], item_hash(v, a), 0.0, a});
  std::sort(keys.begin(), keys.end(), [](const key &x, const key &y) {
    return x.len != y.len ? x.len < y.len : x.hash != y.hash ? x.hash < y.hash : x.item < y.item;
  });
  size_t s = 0;
  while (s < keys.size()) {
    size_t t = s + 1;
    while (t < keys.size() && keys[t].len == keys[s].len && keys[t].hash == keys[s].hash) ++t;
    if (t - s >= 2) {
      for (size_t k = s; k < t; ++k) keys[k].scale = scale_key(v, keys[k].item);
      std::stable_sort(keys.begin() + s, keys.begin() + t,
                       [](const key &x, const key &y) { return x.scale < y.scale; });
      size_t g = s;
      while (g < t) {
        size_t h = g + 1;
        while (h < t && std::fabs(keys[h].scale - keys[g].scale) <= 1e-10 * std::fabs(keys[g].scale)) ++h;
        // Small groups compare all pairs; a large one compares each item
        // with a live representative.
        if (h - g <= 6) {
          for (size_t x = g; x < h; ++x)
            for (size_t y = x + 1; y < h; ++y) {
              if (v.itemcnt[keys[x].item] < 1) break;
              if (v.itemcnt[keys[y].item] < 1) continue;
              if (int st = cmp(keys[x].item, keys[y].item)) return st;
            }
        } else {
          int rep = keys[g].item;
          for (size_t y = g + 1; y < h; ++y) {
            const int b = keys[y].item;
            if (v.itemcnt[b] < 1) continue;
            if (v.itemcnt[rep] < 1) {
              rep = b;
              continue;
            }
            if (int st = cmp(rep, b)) return st;
          }
        }
        g = h;
      }
    }
    s = t;
  }
  return 0;
}

char flip(char s) { return s == 'L' ? 'G' : s == 'G' ? 'L' : s; }

// Rows r1 = ratio * r2 (live entries).
int compare_rows(env *e, prerec *r, lp *p, int r1, int r2, double ratio) {
  const char s1 = r->sense[r1], s2 = ratio < 0 ? flip(r->sense[r2]) : r->sense[r2];
  const double d = r->rhs[r1] - ratio * r->rhs[r2];
  const bool neg = d < -1e-8, pos = d > 1e-8, zero = !neg && !pos;
  auto conflict = [&]() {
    if (std::fabs(d) <= r->feastol) return 0;
    if (r->predisp)
      msg(e->reschannel, "Constraints '%.255s' and '%.255s' are inconsistent.\n",
          pre_rowname(r, p, r1), pre_rowname(r, p, r2));
    return 1101;
  };
  if (s1 == 'E') {
    if ((s2 == 'E' && zero) || (s2 == 'L' && !pos) || (s2 == 'G' && !neg))
      return remove_row(e, r, p, r2, 1);
    return conflict();
  }
  // The mirror image of "L" for "G": the roles of neg and pos exchange.
  const bool le = s1 == 'L';
  const char same = s1, other = le ? 'G' : 'L';
  const bool tight = le ? neg : pos;  // r1 is the stricter of the two
  if (s2 != same && tight) return conflict();
  if (s2 != other && !tight) return remove_row(e, r, p, r1, 1);
  if (s2 == same) return remove_row(e, r, p, r2, 1);
  if (zero) {
    // Both sides meet: one equation, whose dual may belong to either row.
    push_record(r, kOpMergeRows, r1, r->rhs[r1], 0.0, 0.0);
    push_entry(r, s1, 0.0);
    push_entry(r, r->sense[r2], 0.0);
    push_entry(r, r2, ratio);
    r->sense[r1] = 'E';
    int st = remove_row(e, r, p, r2, 1);
    r->rowmap[r2] = -3;
    return st;
  }
  // A gap between the two: a range, left as two rows.
  return 0;
}

}  // namespace

int pre_duplicate_rows(env *e, prerec *r, lp *p) {
  const itemview v{r->rbeg, r->rlen, r->rind, r->rval, r->rowcnt, r->colcnt};
  std::vector<double> work(r->ncols, 0.0);
  return dup_search(v, r->nrows, [&](int a, int b) {
    double ratio;
    if (!parallel_test(v, a, b, work, &ratio)) return 0;
    return compare_rows(e, r, p, a, b, ratio);
  });
}

namespace {

// Merges column q into column p = rho * q with proportional costs and all
// four bounds finite: p then stands for x_p + x_q / rho.
void merge_columns(prerec *r, int p, int q, double rho) {
  push_record(r, kOpMergeCols, p, r->obj[p], r->lb[p], r->ub[p]);
  push_entry(r, q, r->lb[q]);
  push_entry(r, q, r->ub[q]);
  push_entry(r, q, rho);
  const double add_lo = (rho > 0 ? r->lb[q] : r->ub[q]) / rho;
  const double add_up = (rho > 0 ? r->ub[q] : r->lb[q]) / rho;
  for (int k = r->cbeg[p]; k < r->cbeg[p] + r->clen[p]; ++k)
    if (rowlive(r, r->cind[k])) activity_add(r, r->cind[k], r->cval[k], r->lb[p], r->ub[p], -1);
  r->lb[p] += add_lo;
  r->ub[p] += add_up;
  for (int k = r->cbeg[p]; k < r->cbeg[p] + r->clen[p]; ++k)
    if (rowlive(r, r->cind[k])) activity_add(r, r->cind[k], r->cval[k], r->lb[p], r->ub[p], 1);
  for (int k = r->cbeg[q]; k < r->cbeg[q] + r->clen[q]; ++k) {
    const int i = r->cind[k];
    if (!rowlive(r, i)) continue;
    --r->rowcnt[i];
    activity_add(r, i, r->cval[k], r->lb[q], r->ub[q], -1);
  }
  if (r->merged.empty()) r->merged.assign(r->ncols, 0);
  r->merged[p] = 1;
  r->dualgone[q] = kDualPaired;
  r->colcnt[q] = -1;
  r->colmap[q] = kMapNonlinear;
  r->obj[q] = 0.0;
  ++r->colsgone;
}

// Columns p = rho * q (live entries).
int compare_columns(env *e, prerec *r, lp *lp_, int p, int q, double rho) {
  if (frozencol(r, p) || frozencol(r, q)) return 0;
  const double c1 = r->obj[p], c2 = r->obj[q];
  const bool nz1 = std::fabs(c1) > 1e-10, nz2 = std::fabs(c2) > 1e-10;
  const double cr = nz1 && nz2 ? c1 / c2 : !nz1 && !nz2 ? rho : 2 * rho;
  const double lo = std::min(cr, rho), hi = std::max(cr, rho);
  const double t = std::fabs(1.0 - hi / lo);
  const bool prop = cr * rho >= 0 && t <= 1e-10;
  const int grade = t >= 100 * r->opttol ? 1 : 2;
  const bool flp = r->lb[p] > -kInfBound, fup = r->ub[p] < kInfBound;
  const bool flq = r->lb[q] > -kInfBound, fuq = r->ub[q] < kInfBound;
  const int k = flp + fup + flq + fuq;
  if (k == 0) {
    if (prop) {
      r->dualgone[q] = kDualPaired;
      return log_and_remove(e, r, lp_, q, kOpFreeEmpty, 2);
    }
    if (grade == 2) return 0;
    if (r->predisp)
      msg(e->reschannel, "Duplicate columns %.255s and %.255s make problem unbounded.\n",
          pre_colname(r, lp_, p), pre_colname(r, lp_, q));
    return 1101;
  }
  if (!prop) return 0;
  // With proportional costs a free column absorbs whatever the other one
  // does: the other goes to a bound.
  const bool pfree = !flp && !fup, qfree = !flq && !fuq;
  if (pfree || qfree) {
    const int b = pfree ? q : p;
    const bool fl = r->lb[b] > -kInfBound, fu = r->ub[b] < kInfBound;
    const bool toub = fu && (!fl || std::fabs(r->ub[b]) < std::fabs(r->lb[b]));
    r->dualgone[b] = kDualPaired;
    return log_and_remove(e, r, lp_, b, toub ? kOpAtUpper : kOpAtLower, toub ? 1 : 0);
  }
  if (k == 4 && r->prelinear && p < r->ncolsorig && q < r->ncolsorig) merge_columns(r, p, q, rho);
  return 0;
}

}  // namespace

int pre_duplicate_columns(env *e, prerec *r, lp *p) {
  const itemview v{r->cbeg, r->clen, r->cind, r->cval, r->colcnt, r->rowcnt};
  std::vector<double> work(r->nrows, 0.0);
  return dup_search(v, r->ncols, [&](int a, int b) {
    double ratio;
    if (!parallel_test(v, a, b, work, &ratio)) return 0;
    return compare_columns(e, r, p, a, b, ratio);
  });
}

}  // namespace velto

using namespace velto;

extern "C" {

int VLTbasicpresolve(VLTENVptr env, VLTLPptr lp, double *redlb, double *redub, int *rstat) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (quadratic_kind(lp)) return 1018;
    if (!redlb && !redub && !rstat) return static_cast<int>(kNullPointer);
    return basic_presolve(env, lp, redlb, redub, rstat);
  }));
}

int VLTcopyprotected(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (cnt < 0) return static_cast<int>(kBadArgument);
    if (cnt > 0 && indices == nullptr) return static_cast<int>(kNullPointer);
    if (env->params->datacheck) {
      const int n = lp->core->numcols;
      for (int k = 0; k < cnt; ++k)
        if (indices[k] < 0 || indices[k] >= n) {
          msg(env->errchannel, errtext(env, 1201), indices[k]);
          return -1201;
        }
    }
    int *list = nullptr;
    if (cnt > 0) {
      list = allocn<int>(cnt);
      if (list == nullptr) return static_cast<int>(kNoMemory);
      std::memcpy(list, indices, sizeof(int) * cnt);
    }
    release(&lp->aux);
    lp->aux = list;
    lp->auxcount = cnt;
    // A record made before does not know the new list.
    presolve_free(env, lp);
    return 0;
  }));
}

int VLTgetprotected(VLTENVptr env, VLTLPptr lp, int *cnt_p, int *indices, int space,
                    int *surplus_p) {
  if (cnt_p) *cnt_p = 0;
  if (surplus_p) *surplus_p = 0;
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (cnt_p == nullptr) return static_cast<int>(kNullPointer);
    if (space < 0) return static_cast<int>(kBadArgument);
    const int have = lp->aux ? lp->auxcount : 0;
    if (space == 0) {
      if (have == 0) return 0;
      if (surplus_p == nullptr) return static_cast<int>(kNullPointer);
      *surplus_p = -have;
      return 1207;
    }
    if (indices == nullptr) return static_cast<int>(kNullPointer);
    const int give = std::min(space, have);
    std::copy(lp->aux, lp->aux + give, indices);
    *cnt_p = give;
    if (surplus_p) *surplus_p = space - have;
    return have > space ? 1207 : 0;
  }));
}

int VLTpreaddrows(VLTENVptr env, VLTLPptr lp, int rcnt, int nzcnt, const double *rhs,
                  const char *sense, const int *rmatbeg, const int *rmatind,
                  const double *rmatval, char **rowname) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (lp->presolve && lp->presolve->dualform == 1) return 1119;
    const int m0 = lp->core->numrows;
    s = change_keeping_record(env, lp, [&] {
      int st = VLTaddrows(env, lp, 0, rcnt, nzcnt, rhs, sense, rmatbeg, rmatind, rmatval, nullptr,
                          rowname);
      // The call printed its own message.
      return st ? -st : 0;
    });
    if (s) return s;
    if (lp->presolve == nullptr || rcnt == 0) return 0;
    s = carry_rows(env, lp, m0, rcnt, rowname);
    if (s == kNoMemory) {
      presolve_free(env, lp);
      return s;
    }
    if (s) carry_failed(env, lp, "Warning: Adding rows to the presolved model fails.\n");
    return 0;
  }));
}

int VLTprechgobj(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices, const double *values) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    prerec *r = lp->presolve;
    const int n = lp->core->numcols;
    std::vector<double> before(n), after(n);
    if (n) getobj_u(lp, before.data(), 0, n - 1);
    s = change_keeping_record(env, lp, [&] {
      int st = VLTchgobj(env, lp, cnt, indices, values);
      return st ? -st : 0;
    });
    if (s) return s;
    if (r == nullptr || cnt == 0) return 0;
    if (r->dualform == 1) {
      carry_failed(env, lp, "Warning: Changing the objective of the presolved model fails.\n");
      return 0;
    }
    if (n) getobj_u(lp, after.data(), 0, n - 1);
    std::vector<double> dc(r->ncols, 0.0);
    for (int j = 0; j < n; ++j) dc[j] = after[j] - before[j];
    s = carry_objective(env, r, dc);
    if (s == kNoMemory) {
      presolve_free(env, lp);
      return s;
    }
    if (s) carry_failed(env, lp, "Warning: Changing the objective of the presolved model fails.\n");
    return 0;
  }));
}

int VLTpreslvwrite(VLTENVptr env, VLTLPptr lp, const char *filename, double *objoff_p) {
  if (objoff_p) *objoff_p = 0.0;
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (filename == nullptr || objoff_p == nullptr) return static_cast<int>(kNullPointer);
    if (integer_kind(lp)) return 1017;
    if (quadratic_kind(lp)) return 1018;
    s = presolve_run(env, lp, -1);
    if (s) return s;
    const prerec *r = lp->presolve;
    // With nothing reduced the reduced problem is the model itself.
    VLTLPptr out = r == nullptr ? lp : r->redlp;
    if (out == nullptr) {
      *objoff_p = r->objoffset;
      return 1103;
    }
    *objoff_p = out->core->objoffset;
    s = VLTwriteprob(env, out, filename, nullptr);
    return s ? -s : 0;
  }));
}

}  // extern "C"
