// Heuristics on a nested problem: the repair search at a node (the
// integer columns on which the node and the incumbent agree fixed, the
// rest searched with a node and time limit) and the root rounding run
// (the near-integral columns of the root fixed, a search for a first
// solution).  The nested search is this library's own VLTmipopt on a copy
// of the model; what it finds is re-solved on the work copy and offered.
#include <algorithm>
#include <cmath>

#include "env/files.h"
#include "env/par.h"
#include "mip/mipheur.h"

namespace velto {

namespace {

// Nested runs do not start nested runs of their own.
thread_local int nesting = 0;

// A search on a copy of the model under bounds lo/hi, with a node limit
// and the time left.  Fills xout with its best solution; returns 0 or an
// error (a run that found nothing is 0 with *have false).
int nestedsolve(miprun &r, const std::vector<double> &lo, const std::vector<double> &hi,
                int nodelim, int intsollim, std::vector<double> &xout, bool *have) {
  env *e = r.e;
  *have = false;
  const double left = r.ctl.tilim - (now(e) - r.ctl.startsec);
  if (left <= 0) return 0;
  int st = 0;
  lp *sub = VLTcloneprob(e, r.p, &st);
  if (sub == nullptr) return st ? st : kNoMemory;
  std::vector<int> idx;
  std::vector<char> lu;
  std::vector<double> bd;
  for (int j = 0; j < r.n; ++j) {
    idx.push_back(j), lu.push_back('L'), bd.push_back(lo[j]);
    idx.push_back(j), lu.push_back('U'), bd.push_back(hi[j]);
  }
  if (!idx.empty()) st = VLTchgbds(e, sub, static_cast<int>(idx.size()), idx.data(), lu.data(), bd.data());
  const parblock savedp = *e->params;
  const mipparblock savedm = *e->mipparams;
  if (st == 0) {
    mipparblock &mp = *e->mipparams;
    mp.mipdisplay = 0;
    e->params->simdisplay = 0;
    e->params->predisp = 0;
    e->params->advind = 0;
    e->params->preind = 1;
    e->params->tilim = left;
    mp.nodelim = nodelim;
    mp.intsollim = intsollim;
    mp.mipemphasis = 1;
    mp.p2062 = 2100000000;
    mp.p2011 = -1;
    mp.mipthreads = 1;
    mp.mipstart = 0;
    if (r.ctl.objsen > 0) mp.cutup = std::min(r.inc->cutoff, 1e75);
    else mp.cutlo = -std::min(r.inc->cutoff, 1e75);
    ++nesting;
    st = VLTmipopt(e, sub);
    --nesting;
    *e->params = savedp;
    *e->mipparams = savedm;
  }
  if (st == 0) {
    int s = VLTgetstat(e, sub);
    xout.assign(std::max(r.n, 1), 0.0);
    if ((s == 101 || s == 102 || s == 104 || s == 105 || s == 107 || s == 113) && r.n > 0 &&
        VLTgetmipx(e, sub, xout.data(), 0, r.n - 1) == 0)
      *have = true;
  }
  VLTfreeprob(e, &sub);
  return st == 3019 ? 0 : st;
}

// Offers the integer part of x with the continuous rest solved at the
// node in hand.
int offerinteger(miprun &r, bbnode *node, bool root, const std::vector<double> &x,
                 const char *method) {
  heurcall hc;
  hc.r = &r, hc.hs = &heurof(r), hc.node = node, hc.root = root;
  if (!heurpoint(r, hc)) return 0;
  std::vector<double> xi(std::max(r.n, 1), 0.0);
  for (int j = 0; j < r.n; ++j)
    if (r.ctype[j] != 'C') xi[j] = std::floor(x[j] + r.ctl.epint);
  int st = heurrest(hc, xi, method);
  if (st == 0 && hc.found) {
    hc.hs->heurfail = 0;
    const double z = r.inc->bestobj, bn = r.w->bestnodeobj;
    double d = bn >= 1e75 ? 0.0 : std::fabs(z - bn);
    if (bn < 1e75 && (d < (std::fabs(z) + 1e-10) * r.ctl.epgap || d < r.ctl.epagap))
      return d == 0.0 ? 101 : 102;
  }
  return st;
}

// The node problem's solution and bounds; false when it holds no optimum.
bool nodebox(miprun &r, std::vector<double> &x, std::vector<double> &lo, std::vector<double> &hi) {
  env *e = r.e;
  const int n = r.n;
  x.assign(std::max(n, 1), 0.0), lo.assign(std::max(n, 1), 0.0), hi.assign(std::max(n, 1), 0.0);
  if (VLTgetstat(e, r.q) != 1 && VLTgetstat(e, r.q) != 5) return false;
  if (n > 0) {
    VLTgetx(e, r.q, x.data(), 0, n - 1);
    VLTgetlb(e, r.q, lo.data(), 0, n - 1);
    VLTgetub(e, r.q, hi.data(), 0, n - 1);
  }
  return true;
}

}  // namespace

int repairheur(miprun &r, bbnode *node) {
  if (nesting > 0) return 0;
  const int n = r.n;
  std::vector<double> x, lo, hi;
  if (!nodebox(r, x, lo, hi)) return 0;
  const bool haveinc = r.inc->solnseq >= 0 && r.inc->havex;
  const double ep = r.ctl.epint;
  int fixed = 0;
  for (int j = 0; j < n; ++j) {
    if (r.ctype[j] == 'C') continue;
    double v = std::floor(x[j] + 0.5);
    bool agree = std::fabs(x[j] - v) <= ep && (!haveinc || std::fabs(r.inc->x[j] - v) <= ep);
    if (agree && v >= lo[j] && v <= hi[j]) lo[j] = hi[j] = v, ++fixed;
  }
  if (fixed == 0) return 0;
  std::vector<double> sol;
  bool have = false;
  int st = nestedsolve(r, lo, hi, 100, 2100000000, sol, &have);
  if (st || !have) return st;
  return offerinteger(r, node, false, sol, "repair");
}

int rootround(miprun &r, bbnode *root) {
  if (nesting > 0) return 0;
  const int n = r.n;
  std::vector<double> x, lo, hi;
  if (!nodebox(r, x, lo, hi)) return 0;
  int fixed = 0;
  for (int j = 0; j < n; ++j) {
    if (r.ctype[j] == 'C' || std::fabs(x[j]) >= 2.1e9) continue;
    double v = std::floor(x[j] + 0.1);
    if (std::fabs(x[j] - v) < 0.1 && v >= lo[j] && v <= hi[j]) lo[j] = hi[j] = v, ++fixed;
  }
  if (fixed == 0) return 0;
  if (r.ctl.display > 1)
    msg(r.e->reschannel, "\nUsing root rounding heuristic, %d variables fixed:\n", fixed);
  std::vector<double> sol;
  bool have = false;
  int st = nestedsolve(r, lo, hi, 2100000000, 1, sol, &have);
  if (r.ctl.display > 1) msg(r.e->reschannel, "\nDone with root rounding heuristic.\n");
  if (st || !have) return st;
  return offerinteger(r, root, true, sol, "root rounding");
}

int polish(miprun &r, bbnode *node) {
  if (r.heur == nullptr && r.ctl.heurfreq == -1) return 0;
  heurstate &hs = heurof(r);
  const sosdata *sos = r.p->core->sos;
  if (hs.nopolish || r.ctl.heurfreq == -1 || (sos && sos->count > 0)) return 0;
  if (r.inc->solnseq < 0 || !r.inc->havex) return 0;
  heurcall hc;
  hc.r = &r, hc.hs = &hs, hc.node = node, hc.root = r.ctl.nodenum == 0;
  if (!heurpoint(r, hc)) return 0;
  const int n = r.n, m = hs.m;
  const double ep = r.ctl.epint, tol = r.e->params->eprhs;
  std::vector<double> x = r.inc->x;
  for (int j = 0; j < n; ++j)
    if (r.ctype[j] != 'C') {
      x[j] = std::floor(x[j] + 0.5);
      if (x[j] < hc.lb[j] - ep || x[j] > hc.ub[j] + ep) return 0;  // outside the node
    }
  std::vector<double> act(m, 0.0);
  for (int j = 0; j < n; ++j)
    for (int k = hs.cbeg[j]; k < hs.cbeg[j + 1]; ++k) act[hs.cind[k]] += hs.cval[k] * x[j];
  auto rowok = [&](int i, double a) { return a <= hs.rhi[i] + tol && a >= hs.rlo[i] - tol; };
  auto inbox = [&](int j, double v) { return v >= hc.lb[j] - ep && v <= hc.ub[j] + ep; };
  // Row changes of a move of j by sj and k by sk (k may be -1).
  std::vector<double> delta(m, 0.0);
  std::vector<int> touched;
  auto trymove = [&](int j, double sj, int k, double sk, bool apply) {
    touched.clear();
    for (int c : {j, k}) {
      if (c < 0) continue;
      double st = c == j ? sj : sk;
      for (int t = hs.cbeg[c]; t < hs.cbeg[c + 1]; ++t) {
        int i = hs.cind[t];
        if (delta[i] == 0.0) touched.push_back(i);
        delta[i] += hs.cval[t] * st;
      }
    }
    bool ok = true;
    for (int i : touched) ok = ok && rowok(i, act[i] + delta[i]);
    for (int i : touched) {
      if (ok && apply) act[i] += delta[i];
      delta[i] = 0.0;
    }
    if (ok && apply) {
      x[j] += sj;
      if (k >= 0) x[k] += sk;
    }
    return ok;
  };
  int moves = 0;
  long long work = 0;
  const long long cap = 50LL * static_cast<long long>(hs.cind.size()) + 100000;
  for (bool again = true; again && work < cap;) {
    again = false;
    for (int j = 0; j < n && work < cap; ++j) {
      if (r.ctype[j] == 'C' || hs.obj[j] == 0.0) continue;
      const double sj = hs.obj[j] > 0 ? -1.0 : 1.0;
      if (!inbox(j, x[j] + sj)) continue;
      work += hs.cbeg[j + 1] - hs.cbeg[j];
      if (trymove(j, sj, -1, 0, true)) {
        ++moves, again = true;
        continue;
      }
      // a partner through the first row the move alone breaks
      int row = -1;
      for (int t = hs.cbeg[j]; t < hs.cbeg[j + 1] && row < 0; ++t)
        if (!rowok(hs.cind[t], act[hs.cind[t]] + hs.cval[t] * sj)) row = hs.cind[t];
      if (row < 0) continue;
      int bestk = -1;
      double bestsk = 0, bestgain = -1e-9;
      const rowcopy &rc = *hs.rc;
      for (int t = rc.rowbeg[row]; t < rc.rowend[row] && t - rc.rowbeg[row] < 4000; ++t) {
        int k = rc.rowind[t];
        if (k == j || r.ctype[k] == 'C') continue;
        for (double sk : {1.0, -1.0}) {
          double gain = hs.obj[j] * sj + hs.obj[k] * sk;
          if (gain >= bestgain || !inbox(k, x[k] + sk)) continue;
          work += hs.cbeg[k + 1] - hs.cbeg[k];
          if (trymove(j, sj, k, sk, false)) bestk = k, bestsk = sk, bestgain = gain;
        }
      }
      if (bestk >= 0 && trymove(j, sj, bestk, bestsk, true)) ++moves, again = true;
    }
  }
  if (moves == 0) return 0;
  int st = heurrest(hc, x, "polish");
  if (st || !hc.found) return st;
  hs.heurfail = 0;
  return 0;
}

int heurrootround(miprun &r, bbnode *root) { return rootround(r, root); }

int heurrepair(miprun &r, bbnode *node) { return repairheur(r, node); }

int heurpolish(miprun &r, bbnode *node) { return polish(r, node); }

}  // namespace velto
