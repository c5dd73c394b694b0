// Sparse LU of the basis with Markowitz pivoting and product-form updates.
#include "simplex/bfactor.h"

#include <cmath>

namespace velto {

void wvec::repack(double drop) {
  int k = 0;
  for (int t = 0; t < nnz; ++t) {
    int i = ind[t];
    if (std::fabs(val[i]) > drop) {
      ind[k++] = i;
    } else {
      val[i] = 0.0;
      mark[i] = 0;
    }
  }
  nnz = k;
}

namespace {

constexpr double kTiny = 1e-11;

struct buckets {
  std::vector<int> *head, *next, *prev;
  void remove(int x, int cnt) {
    int p = (*prev)[x], q = (*next)[x];
    if (p >= 0) (*next)[p] = q; else (*head)[cnt] = q;
    if (q >= 0) (*prev)[q] = p;
    (*next)[x] = (*prev)[x] = -1;
  }
  void insert(int x, int cnt) {
    int h = (*head)[cnt];
    (*next)[x] = h;
    (*prev)[x] = -1;
    if (h >= 0) (*prev)[h] = x;
    (*head)[cnt] = x;
  }
};

}  // namespace

int bfactor::factor(int mm, const std::vector<int> &cbeg,
                    const std::vector<int> &clen, const int *ind,
                    const double *val, std::vector<int> &badpos,
                    std::vector<int> &badrow) {
  m = mm;
  badpos.clear();
  badrow.clear();
  lbeg.assign(1, 0);
  lrow.clear(); lind.clear(); lval.clear();
  prow.clear(); pcol.clear(); upiv.clear();
  urbeg.assign(1, 0);
  urind.clear(); urval.clear();
  ebeg.assign(1, 0);
  epos.clear(); eind.clear(); eval.clear(); epiv.clear();
  updates = 0;
  etanz = 0;
  pivof.assign(m, -1);

  acolr.resize(m); acolv.resize(m); arowc.resize(m);
  for (int i = 0; i < m; ++i) { acolr[i].clear(); acolv[i].clear(); arowc[i].clear(); }
  for (int k = 0; k < m; ++k) {
    for (int t = cbeg[k]; t < cbeg[k] + clen[k]; ++t) {
      if (val[t] == 0.0) continue;
      acolr[k].push_back(ind[t]);
      acolv[k].push_back(val[t]);
      arowc[ind[t]].push_back(k);
    }
  }
  ccnt.assign(m, 0); rcnt.assign(m, 0);
  cnext.assign(m, -1); cprev.assign(m, -1); chead.assign(m + 2, -1);
  rnext.assign(m, -1); rprev.assign(m, -1); rhead.assign(m + 2, -1);
  posmap.assign(m, -1);
  rowdone.assign(m, 0); coldone.assign(m, 0);
  buckets cb{&chead, &cnext, &cprev}, rb{&rhead, &rnext, &rprev};
  for (int k = m - 1; k >= 0; --k) {
    ccnt[k] = (int)acolr[k].size();
    cb.insert(k, ccnt[k]);
    rcnt[k] = (int)arowc[k].size();
    rb.insert(k, rcnt[k]);
  }

  auto colmax = [&](int c) {
    double mx = 0.0;
    for (double v : acolv[c]) mx = std::max(mx, std::fabs(v));
    return mx;
  };
  // Drops a column from the active matrix as structurally or numerically
  // singular.
  auto dropcol = [&](int c) {
    cb.remove(c, ccnt[c]);
    for (int i : acolr[c]) {
      auto &rl = arowc[i];
      for (size_t t = 0; t < rl.size(); ++t)
        if (rl[t] == c) { rl[t] = rl.back(); rl.pop_back(); break; }
      rb.remove(i, rcnt[i]);
      rcnt[i] = (int)rl.size();
      rb.insert(i, rcnt[i]);
    }
    acolr[c].clear(); acolv[c].clear();
    coldone[c] = 1;
    badpos.push_back(c);
  };

  std::vector<int> lrows;
  std::vector<double> lvals;
  int pivots = 0;
  while (pivots + (int)badpos.size() < m) {
    int pr = -1, pc = -1;
    double pv = 0.0;
    // Empty columns are singular.
    if (chead[0] >= 0) { dropcol(chead[0]); continue; }
    if (chead[1] >= 0) {
      int c = chead[1];
      if (std::fabs(acolv[c][0]) < kTiny) { dropcol(c); continue; }
      pc = c; pr = acolr[c][0]; pv = acolv[c][0];
    } else {
      bool found = false;
      if (rhead[1] >= 0) {
        int r = rhead[1];
        int c = arowc[r][0];
        double v = 0.0;
        for (size_t t = 0; t < acolr[c].size(); ++t)
          if (acolr[c][t] == r) { v = acolv[c][t]; break; }
        double mx = colmax(c);
        if (mx < kTiny) { dropcol(c); continue; }
        if (std::fabs(v) >= threshold * mx && std::fabs(v) >= kTiny) {
          pr = r; pc = c; pv = v; found = true;
        }
      }
      if (!found) {
        double bestcost = 1e300, bestabs = 0.0;
        int searched = 0;
        bool dropped = false;
        for (int cnt = 2; cnt <= m && !dropped; ++cnt) {
          for (int c = chead[cnt]; c >= 0 && !dropped; c = cnext[c]) {
            double mx = colmax(c);
            if (mx < kTiny) { dropcol(c); dropped = true; break; }
            for (size_t t = 0; t < acolr[c].size(); ++t) {
              double a = std::fabs(acolv[c][t]);
              if (a < threshold * mx) continue;
              double cost = double(rcnt[acolr[c][t]] - 1) * (cnt - 1);
              if (cost < bestcost || (cost == bestcost && a > bestabs)) {
                bestcost = cost; bestabs = a;
                pr = acolr[c][t]; pc = c; pv = acolv[c][t];
              }
            }
            if (pc >= 0 && ++searched >= 4) break;
          }
          if (dropped) break;
          if (pc >= 0 && (searched >= 4 || bestcost <= double(cnt - 1) * (cnt - 1))) break;
          for (int r = rhead[cnt]; r >= 0; r = rnext[r]) {
            for (int c : arowc[r]) {
              double mx = 0.0, v = 0.0;
              for (size_t t = 0; t < acolr[c].size(); ++t) {
                double a = std::fabs(acolv[c][t]);
                mx = std::max(mx, a);
                if (acolr[c][t] == r) v = acolv[c][t];
              }
              if (std::fabs(v) < threshold * mx || std::fabs(v) < kTiny) continue;
              double cost = double(cnt - 1) * (ccnt[c] - 1);
              if (cost < bestcost || (cost == bestcost && std::fabs(v) > bestabs)) {
                bestcost = cost; bestabs = std::fabs(v);
                pr = r; pc = c; pv = v;
              }
            }
            if (pc >= 0 && ++searched >= 4) break;
          }
          if (pc >= 0 && (searched >= 4 || bestcost <= double(cnt - 1) * cnt)) break;
        }
        if (dropped) continue;
        if (pc < 0) {
          // Nothing acceptable is left: the remaining columns are singular.
          for (int c = 0; c < m; ++c)
            if (!coldone[c]) dropcol(c);
          break;
        }
      }
    }

    // Eliminate with pivot (pr, pc).
    lrows.clear(); lvals.clear();
    auto &colr = acolr[pc];
    auto &colv = acolv[pc];
    for (size_t t = 0; t < colr.size(); ++t) {
      int i = colr[t];
      if (i == pr) continue;
      lrows.push_back(i);
      lvals.push_back(colv[t] / pv);
    }
    cb.remove(pc, ccnt[pc]);
    for (int i : colr) {
      auto &rl = arowc[i];
      for (size_t t = 0; t < rl.size(); ++t)
        if (rl[t] == pc) { rl[t] = rl.back(); rl.pop_back(); break; }
    }
    colr.clear(); colv.clear();
    coldone[pc] = 1;
    // Row pr becomes a row of U; the other rows of column pc are updated.
    for (int j : arowc[pr]) {
      auto &jr = acolr[j];
      auto &jv = acolv[j];
      double a = 0.0;
      for (size_t t = 0; t < jr.size(); ++t)
        if (jr[t] == pr) {
          a = jv[t];
          jr[t] = jr.back(); jr.pop_back();
          jv[t] = jv.back(); jv.pop_back();
          break;
        }
      urind.push_back(j);
      urval.push_back(a);
      if (!lrows.empty() && a != 0.0) {
        for (size_t t = 0; t < jr.size(); ++t) posmap[jr[t]] = (int)t;
        for (size_t s = 0; s < lrows.size(); ++s) {
          int i = lrows[s];
          double delta = -lvals[s] * a;
          if (posmap[i] >= 0) {
            jv[posmap[i]] += delta;
          } else {
            posmap[i] = (int)jr.size();
            jr.push_back(i);
            jv.push_back(delta);
            arowc[i].push_back(j);
          }
        }
        for (int i : jr) posmap[i] = -1;
      }
      cb.remove(j, ccnt[j]);
      ccnt[j] = (int)jr.size();
      cb.insert(j, ccnt[j]);
    }
    rb.remove(pr, rcnt[pr]);
    arowc[pr].clear();
    rcnt[pr] = 0;
    rowdone[pr] = 1;
    for (int i : lrows) {
      rb.remove(i, rcnt[i]);
      rcnt[i] = (int)arowc[i].size();
      rb.insert(i, rcnt[i]);
    }
    for (size_t s = 0; s < lrows.size(); ++s) {
      lind.push_back(lrows[s]);
      lval.push_back(lvals[s]);
    }
    lrow.push_back(pr);
    lbeg.push_back((int)lind.size());
    prow.push_back(pr);
    pcol.push_back(pc);
    upiv.push_back(pv);
    urbeg.push_back((int)urind.size());
    pivof[pc] = pivots;
    ++pivots;
  }
  if (!badpos.empty()) {
    for (int i = 0; i < m; ++i)
      if (!rowdone[i]) badrow.push_back(i);
    return (int)badpos.size();
  }
  // Column-wise copy of U: column of pivot k holds (row of pivot j, value)
  // for the pivots j < k whose row has an entry at position pcol[k].
  ucbeg.assign(m + 1, 0);
  for (int t = 0; t < (int)urind.size(); ++t) ucbeg[pivof[urind[t]] + 1]++;
  for (int k = 0; k < m; ++k) ucbeg[k + 1] += ucbeg[k];
  ucind.resize(urind.size());
  ucval.resize(urind.size());
  std::vector<int> fill(ucbeg.begin(), ucbeg.end() - 1);
  for (int k = 0; k < m; ++k)
    for (int t = urbeg[k]; t < urbeg[k + 1]; ++t) {
      int j = pivof[urind[t]];
      ucind[fill[j]] = prow[k];
      ucval[fill[j]++] = urval[t];
    }
  lunz = (long)lind.size() + (long)urind.size() + m;
  work_.assign(m, 0.0);
  return 0;
}

void bfactor::ftran(wvec &v) const {
  double *x = v.val.data();
  int npiv = (int)lrow.size();
  for (int k = 0; k < npiv; ++k) {
    double t = x[lrow[k]];
    if (t == 0.0) continue;
    for (int s = lbeg[k]; s < lbeg[k + 1]; ++s) x[lind[s]] -= lval[s] * t;
  }
  double *y = work_.data();
  for (int k = npiv - 1; k >= 0; --k) {
    int r = prow[k];
    double t = x[r];
    x[r] = 0.0;
    if (t == 0.0) continue;
    t /= upiv[k];
    y[pcol[k]] = t;
    for (int s = ucbeg[k]; s < ucbeg[k + 1]; ++s) x[ucind[s]] -= ucval[s] * t;
  }
  for (int i = 0; i < m; ++i) { x[i] = y[i]; y[i] = 0.0; }
  for (int e = 0; e < updates; ++e) {
    int r = epos[e];
    double t = x[r];
    if (t == 0.0) continue;
    t /= epiv[e];
    x[r] = t;
    for (int s = ebeg[e]; s < ebeg[e + 1]; ++s) x[eind[s]] -= eval[s] * t;
  }
  v.nnz = 0;
  for (int i = 0; i < m; ++i) {
    if (std::fabs(x[i]) > 1e-14) {
      v.mark[i] = 1;
      v.ind[v.nnz++] = i;
    } else {
      x[i] = 0.0;
      v.mark[i] = 0;
    }
  }
}

void bfactor::btran(wvec &v) const {
  double *c = v.val.data();
  for (int e = updates - 1; e >= 0; --e) {
    int r = epos[e];
    double t = c[r];
    for (int s = ebeg[e]; s < ebeg[e + 1]; ++s) t -= eval[s] * c[eind[s]];
    c[r] = t / epiv[e];
  }
  double *w = work_.data();
  int npiv = (int)prow.size();
  for (int k = 0; k < npiv; ++k) {
    int q = pcol[k];
    double t = c[q];
    c[q] = 0.0;
    if (t == 0.0) continue;
    t /= upiv[k];
    w[prow[k]] = t;
    for (int s = urbeg[k]; s < urbeg[k + 1]; ++s) c[urind[s]] -= urval[s] * t;
  }
  for (int k = npiv - 1; k >= 0; --k) {
    double t = 0.0;
    for (int s = lbeg[k]; s < lbeg[k + 1]; ++s) t += lval[s] * w[lind[s]];
    w[lrow[k]] -= t;
  }
  v.nnz = 0;
  for (int i = 0; i < m; ++i) {
    double t = w[i];
    w[i] = 0.0;
    if (std::fabs(t) > 1e-14) {
      c[i] = t;
      v.mark[i] = 1;
      v.ind[v.nnz++] = i;
    } else {
      c[i] = 0.0;
      v.mark[i] = 0;
    }
  }
}

void bfactor::update(const wvec &alpha, int r) {
  for (int t = 0; t < alpha.nnz; ++t) {
    int i = alpha.ind[t];
    if (i == r) continue;
    double a = alpha.val[i];
    if (std::fabs(a) < 1e-13) continue;
    eind.push_back(i);
    eval.push_back(a);
  }
  epos.push_back(r);
  epiv.push_back(alpha.val[r]);
  ebeg.push_back((int)eind.size());
  etanz = (long)eind.size();
  ++updates;
}

}  // namespace velto
