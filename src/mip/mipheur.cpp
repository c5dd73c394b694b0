// The node heuristic: its order of methods with the budget gate and the
// mode statistics, the work copy of the node problem that the methods
// re-solve, the check and offer of a found solution with its log row, and
// the rounding method.
#include <algorithm>
#include <cmath>
#include <numeric>

#include "env/files.h"
#include "env/par.h"
#include "mip/mipheur.h"
#include "model/store.h"

namespace velto {

heurwatcher heurwatch;

heurcall::~heurcall() {
  if (h != nullptr) VLTfreeprob(r->e, &h);
}

heurstate &heurof(miprun &r) {
  if (r.heur) return *r.heur;
  auto hs = std::make_shared<heurstate>();
  const lp *p = r.p;
  const int n = r.n, m = p->core->numrows;
  hs->n = n, hs->m = m;
  hs->ctype = r.ctype;
  if (r.w->rc.rows < 0) rowcopybuild(p, r.w->rc);
  hs->rc = &r.w->rc;
  std::vector<double> rhs(std::max(m, 1)), rng(std::max(m, 1), 0.0);
  if (m > 0) {
    getrhs_u(p, rhs.data(), 0, m - 1);
    if (p->core->rngval) getrng_u(p, rng.data(), 0, m - 1);
  }
  hs->rlo.assign(m, -1e20);
  hs->rhi.assign(m, 1e20);
  for (int i = 0; i < m; ++i) {
    char s = p->core->sense[i];
    if (s == 'L' || s == 'E') hs->rhi[i] = rhs[i];
    if (s == 'G' || s == 'E') hs->rlo[i] = rhs[i];
    if (s == 'R') {
      hs->rlo[i] = rng[i] >= 0 ? rhs[i] : rhs[i] + rng[i];
      hs->rhi[i] = rng[i] >= 0 ? rhs[i] + rng[i] : rhs[i];
    }
  }
  // Column-wise copy from the row-wise one.
  const rowcopy &rc = *hs->rc;
  hs->cbeg.assign(n + 1, 0);
  for (int i = 0; i < m; ++i)
    for (int k = rc.rowbeg[i]; k < rc.rowend[i]; ++k) ++hs->cbeg[rc.rowind[k] + 1];
  for (int j = 0; j < n; ++j) hs->cbeg[j + 1] += hs->cbeg[j];
  hs->cind.resize(hs->cbeg[n]);
  hs->cval.resize(hs->cbeg[n]);
  std::vector<int> pos(hs->cbeg.begin(), hs->cbeg.end() - 1);
  for (int i = 0; i < m; ++i)
    for (int k = rc.rowbeg[i]; k < rc.rowend[i]; ++k) {
      int j = rc.rowind[k];
      hs->cind[pos[j]] = i;
      hs->cval[pos[j]++] = rc.rowval[k];
    }
  hs->obj.assign(n, 0.0);
  if (n > 0) getobj_u(p, hs->obj.data(), 0, n - 1);
  for (double &c : hs->obj) c *= r.ctl.objsen;
  hs->nopolish = r.e->mipparams->p2063;
  r.heur = hs;
  return *hs;
}

bool heurgate(const miprun &r, long long u, long long b, double frac) {
  if (r.ctl.heurfreq > 0) return true;
  const double it = static_cast<double>(r.w->itcnt), root = static_cast<double>(r.bb->rootit);
  return u < 2 * it + 2 * root + 200 && b <= frac * it + root + 100;
}

// ---- the work copy ------------------------------------------------------------

int heurwork(heurcall &hc) {
  if (hc.h != nullptr) return 0;
  miprun &r = *hc.r;
  int st = 0;
  hc.h = VLTcloneprob(r.e, r.q, &st);
  if (hc.h == nullptr) return st ? st : kNoMemory;
  if (!hc.cstat.empty()) VLTcopybase(r.e, hc.h, hc.cstat.data(), hc.rstat.data());
  return 0;
}

int heurbounds(heurcall &hc, const std::vector<int> &idx, const std::vector<double> &lo,
               const std::vector<double> &hi) {
  if (idx.empty()) return 0;
  const int k = static_cast<int>(idx.size());
  std::vector<int> ii(2 * k);
  std::vector<char> lu(2 * k);
  std::vector<double> bd(2 * k);
  for (int t = 0; t < k; ++t) {
    ii[2 * t] = ii[2 * t + 1] = idx[t];
    lu[2 * t] = 'L', lu[2 * t + 1] = 'U';
    bd[2 * t] = lo[t], bd[2 * t + 1] = hi[t];
  }
  return VLTchgbds(hc.r->e, hc.h, 2 * k, ii.data(), lu.data(), bd.data());
}

int heurreset(heurcall &hc) {
  int st = heurwork(hc);
  if (st) return st;
  std::vector<int> idx(hc.r->n);
  std::iota(idx.begin(), idx.end(), 0);
  st = heurbounds(hc, idx, hc.lb, hc.ub);
  if (st == 0 && !hc.cstat.empty())
    st = VLTcopybase(hc.r->e, hc.h, hc.cstat.data(), hc.rstat.data());
  return st;
}

bool heursolve(heurcall &hc, double *obj) {
  miprun &r = *hc.r;
  lpresult res;
  int its = 0;
  int st = nodelpsolve(r.e, hc.h, r.ctl.objsen, r.inc->cutoff, r.ctl.startsec, r.ctl.tilim, 2,
                       &res, &its, obj);
  hc.iters += its;
  return st == 0 && (res.status == 1 || res.status == 5);
}

void heurgetx(heurcall &hc, std::vector<double> &x) {
  x.assign(std::max(hc.r->n, 1), 0.0);
  if (hc.r->n > 0) VLTgetx(hc.r->e, hc.h, x.data(), 0, hc.r->n - 1);
}

int heuriinf(const heurcall &hc, const std::vector<double> &x) {
  const double e = hc.r->ctl.epint;
  int c = 0;
  for (int j = 0; j < hc.r->n; ++j)
    if (hc.r->ctype[j] != 'C' && std::fabs(x[j] - std::floor(x[j] + 0.5)) > e) ++c;
  return c;
}

bool heurpoint(miprun &r, heurcall &hc) {
  env *e = r.e;
  const int n = r.n, m = VLTgetnumrows(e, r.q);
  int s = VLTgetstat(e, r.q);
  if (s != 1 && s != 5) return false;
  hc.x.assign(std::max(n, 1), 0.0);
  hc.lb.assign(std::max(n, 1), 0.0);
  hc.ub.assign(std::max(n, 1), 0.0);
  hc.dj.assign(std::max(n, 1), 0.0);
  if (n > 0) {
    VLTgetx(e, r.q, hc.x.data(), 0, n - 1);
    VLTgetlb(e, r.q, hc.lb.data(), 0, n - 1);
    VLTgetub(e, r.q, hc.ub.data(), 0, n - 1);
    VLTgetdj(e, r.q, hc.dj.data(), 0, n - 1);
    for (double &d : hc.dj) d *= r.ctl.objsen;
  }
  double z = 0.0;
  if (VLTgetobjval(e, r.q, &z) != 0) return false;
  hc.obj = z * r.ctl.objsen;
  hc.cstat.assign(std::max(n, 1), 0);
  hc.rstat.assign(std::max(m, 1), 0);
  if (VLTgetbase(e, r.q, hc.cstat.data(), hc.rstat.data()) != 0) hc.cstat.clear(), hc.rstat.clear();
  return true;
}

// ---- offer of a solution -----------------------------------------------------

namespace {

// After a new incumbent: the log row, the end of nodes past the cutoff.
void heurlog(heurcall &hc) {
  miprun &r = *hc.r;
  int st = 0;
  if (r.w->tree) treeprune(r.e, r.w->tree, r.inc->cutoff, &st);
  logincumbent(r, '+', std::max(r.w->nodeleft - (hc.root ? 0 : 1), 0), 0, hc.node,
               r.w->itcnt + hc.iters);
}

}  // namespace

int heurcheck(heurcall &hc, const char *method, double obj) {
  miprun &r = *hc.r;
  env *e = r.e;
  const int n = r.n;
  const double ep = r.ctl.epint;
  std::vector<double> x;
  heurgetx(hc, x);
  // Integer columns not yet fixed are fixed at their rounded values and the
  // rest is solved again, so that the incumbent is integral to the digit.
  std::vector<double> lb(std::max(n, 1)), ub(std::max(n, 1));
  if (n > 0) VLTgetlb(e, hc.h, lb.data(), 0, n - 1), VLTgetub(e, hc.h, ub.data(), 0, n - 1);
  std::vector<int> idx;
  std::vector<double> v;
  for (int j = 0; j < n; ++j) {
    if (r.ctype[j] == 'C') continue;
    double xr = std::floor(x[j] + 0.5);
    if (std::fabs(x[j] - xr) > ep) return 0;
    if (lb[j] != xr || ub[j] != xr) idx.push_back(j), v.push_back(xr);
  }
  if (!idx.empty()) {
    int st = heurbounds(hc, idx, v, v);
    if (st) return st;
    if (!heursolve(hc, &obj)) return 0;
    heurgetx(hc, x);
  }
  if (!(obj < r.inc->cutoff)) return 0;
  if (sosinfeas(r.p->core->sos, x.data(), lb.data(), ub.data(), ep) > 0) return 0;
  int acc = 0;
  int st = incumbent_offer(e, hc.h, *r.inc, r.ctl.nodenum, obj, &acc);
  if (st) return st;
  if (acc) {
    hc.found = 1;
    if (heurwatch.seen) heurwatch.seen(heurwatch.ctx, method, r.ctl.nodenum, x.data(), n, obj * r.ctl.objsen);
    heurlog(hc);
  }
  return 0;
}

// ---- rounding ------------------------------------------------------------------

// Rounds the fractional integer columns of the node's point one at a time
// in a direction that the rows' room allows, where a row's room includes
// what its singleton continuous columns can absorb; with every column
// rounded, the integers are fixed and the rest is solved.
int roundheur(heurcall &hc) {
  miprun &r = *hc.r;
  heurstate &hs = *hc.hs;
  const int n = r.n, m = hs.m;
  const double ep = r.ctl.epint, tol = r.e->params->eprhs;
  std::vector<double> x = hc.x;
  std::vector<double> act(m, 0.0);
  for (int j = 0; j < n; ++j)
    for (int k = hs.cbeg[j]; k < hs.cbeg[j + 1]; ++k) act[hs.cind[k]] += hs.cval[k] * x[j];
  // Singleton continuous columns by row.
  std::vector<std::vector<int>> single(m);
  for (int j = 0; j < n; ++j)
    if (r.ctype[j] == 'C' && hs.cbeg[j + 1] - hs.cbeg[j] == 1) single[hs.cind[hs.cbeg[j]]].push_back(j);
  auto coef = [&](int j) { return hs.cval[hs.cbeg[j]]; };
  // How far row i can rise / fall, its singletons included.
  auto uproom = [&](int i) {
    double room = hs.rhi[i] >= 1e20 ? 1e75 : hs.rhi[i] - act[i];
    for (int j : single[i]) {
      double a = coef(j);
      double cap = a > 0 ? a * (x[j] - hc.lb[j]) : -a * (hc.ub[j] - x[j]);
      room += std::min(cap, 1e75);
    }
    return room;
  };
  auto downroom = [&](int i) {
    double room = hs.rlo[i] <= -1e20 ? 1e75 : act[i] - hs.rlo[i];
    for (int j : single[i]) {
      double a = coef(j);
      double cap = a > 0 ? a * (hc.ub[j] - x[j]) : -a * (x[j] - hc.lb[j]);
      room += std::min(cap, 1e75);
    }
    return room;
  };
  auto fits = [&](int j, double d) {
    for (int k = hs.cbeg[j]; k < hs.cbeg[j + 1]; ++k) {
      double ch = hs.cval[k] * d;
      int i = hs.cind[k];
      if (ch > 0 && ch > uproom(i) + tol) return false;
      if (ch < 0 && -ch > downroom(i) + tol) return false;
    }
    return true;
  };
  // Moves singletons of row i to bring its activity back inside.
  auto restore = [&](int i) {
    double over = act[i] - hs.rhi[i], under = hs.rlo[i] - act[i];
    for (int j : single[i]) {
      if (over <= 0 && under <= 0) break;
      double a = coef(j);
      double need = over > 0 ? -over : under;  // wanted change of the activity
      double dx = need / a;
      double nx = std::clamp(x[j] + dx, hc.lb[j], hc.ub[j]);
      double ch = a * (nx - x[j]);
      x[j] = nx;
      act[i] += ch;
      over = act[i] - hs.rhi[i], under = hs.rlo[i] - act[i];
    }
  };
  auto apply = [&](int j, double d) {
    x[j] += d;
    for (int k = hs.cbeg[j]; k < hs.cbeg[j + 1]; ++k) {
      act[hs.cind[k]] += hs.cval[k] * d;
      restore(hs.cind[k]);
    }
  };
  for (int pass = 0; pass < 2; ++pass) {
    for (int j = 0; j < n; ++j) {
      if (r.ctype[j] == 'C') continue;
      int cnt = hs.cbeg[j + 1] - hs.cbeg[j];
      if ((pass == 0) != (cnt >= 2)) continue;
      double f = x[j] - std::floor(x[j] + ep);
      if (f <= ep || f >= 1 - ep) continue;
      bool down = x[j] - f >= hc.lb[j] - ep && fits(j, -f);
      bool up = x[j] + 1 - f <= hc.ub[j] + ep && fits(j, 1 - f);
      if (!down && !up) return 0;
      bool godown = down && (!up || (pass == 0 && hs.obj[j] > 0));
      apply(j, godown ? -f : 1 - f);
    }
  }
  double o = 0.0;
  for (int j = 0; j < n; ++j) o += hs.obj[j] * x[j];
  if (!(o + r.p->core->objoffset * r.ctl.objsen < r.inc->cutoff)) return 0;
  int st = heurreset(hc);
  if (st) return st;
  std::vector<int> idx;
  std::vector<double> v;
  for (int j = 0; j < n; ++j)
    if (r.ctype[j] != 'C') idx.push_back(j), v.push_back(std::floor(x[j] + ep));
  if ((st = heurbounds(hc, idx, v, v)) != 0) return st;
  double obj = 0.0;
  if (!heursolve(hc, &obj)) return 0;
  return heurcheck(hc, "rounding", obj);
}

// ---- the node heuristic -------------------------------------------------------

namespace {

// The stop tests after a found solution: gap, time, solution limit.
int successstep(heurcall &hc) {
  miprun &r = *hc.r;
  hc.hs->heurfail = 0;
  hc.found = 0;
  const double z = r.inc->bestobj, bn = r.w->bestnodeobj;
  double d = bn >= 1e75 ? 0.0 : std::fabs(z - bn);
  if (bn < 1e75 && (d < (std::fabs(z) + 1e-10) * r.ctl.epgap || d < r.ctl.epagap))
    return d == 0.0 ? 101 : 102;
  if (now(r.e) - r.ctl.startsec > r.ctl.tilim) return 108;
  if (r.inc->solcnt >= r.ctl.intsollim) return 104;
  return 0;
}

// Books the iterations of a method to the counters.
void book(heurcall &hc, bool rootcounters) {
  heurstate &hs = *hc.hs;
  (rootcounters ? hs.itroot : hs.itmode) += hc.iters;
  if (!hc.found) (rootcounters ? hs.itrootbad : hs.itmodebad) += hc.iters;
  hc.iters = 0;
}

int nodeheur(miprun &r, bbnode *node, bool root, int deep) {
  heurstate &hs = heurof(r);
  heurcall hc;
  hc.r = &r, hc.hs = &hs, hc.node = node, hc.root = root;
  if (!heurpoint(r, hc)) return 0;
  int code = 0;
  auto after = [&](int st) -> int {
    if (st) return st;
    if (hc.found) {
      int c = successstep(hc);
      if (c) return c;
      // a solution of a heuristic is polished at once
      if ((c = polish(r, node)) != 0) return c;
      if (r.heur->heurfail == 0 && (c = successstep(hc)) != 0) return c;
    }
    return 0;
  };
  if (root) hs.nopolish = 0;
  if (!hs.nopolish) {
    code = after(roundheur(hc));
    hc.iters = 0;
    if (code) return code;
  }
  if (heurgate(r, hs.itroot, hs.itrootbad, 0.1)) {
    int st = fixheur(hc, 0);
    book(hc, true);
    if ((code = after(st)) != 0) return code;
  }
  if (heurgate(r, hs.itroot, hs.itrootbad, 0.1)) {
    int st = flipheur(hc, hc.x);
    book(hc, true);
    if ((code = after(st)) != 0) return code;
  }
  if (deep != 0) {
    const int mnum = r.ctl.nodenum;
    if (r.ctl.heurfreq == 0) {
      const int f = hs.heurfail;
      if ((f > 40 && mnum % 100) || (f > 30 && mnum % 80) || (f > 20 && mnum % 40) ||
          (f > 10 && mnum % 20))
        return 0;
    }
    std::uniform_real_distribution<double> unif(0.0, 1.0);
    bool marked = false;
    for (int k = 1; k <= 4; ++k) {
      int sum = hs.modehits[1] + hs.modehits[2] + hs.modehits[3] + hs.modehits[4];
      double chance = (hs.modehits[k] + 3.0) / (sum + 12.0);
      double draw = unif(hs.rng);
      if (!root && draw >= chance) continue;
      if (k == 4 && r.ctl.iinf > 200) continue;
      if (!heurgate(r, hs.itmode, hs.itmodebad, 0.5)) continue;
      if (root && r.ctl.display > 0) {
        double t = now(r.e);
        if (hs.lastmark < 0) hs.lastmark = t;
        if (t - hs.lastmark >= 10.0) {
          msg(r.e->reschannel, "Heuristic still looking\n");
          hs.lastmark = t;
          marked = true;
        }
      }
      int st = k == 4 ? divemix(hc) : fixheur(hc, k);
      bool found = hc.found != 0;
      book(hc, false);
      if (found) ++hs.modehits[k];
      else ++hs.heurfail;
      if ((code = after(st)) != 0) break;
    }
    if (marked) msg(r.e->reschannel, "Heuristic complete\n");
    if (code) return code;
  }
  if (root && r.inc->cutoff >= 1e75) {
    for (int side = 0; side < 2 && r.inc->cutoff >= 1e75; ++side) {
      if (!heurgate(r, hs.itroot, hs.itrootbad, 0.1)) break;
      int st = flipstart(hc, side);
      book(hc, true);
      if ((code = after(st)) != 0) return code;
    }
  }
  return 0;
}

}  // namespace

int heurroot(miprun &r, bbnode *root) { return nodeheur(r, root, true, 1); }

int heurnode(miprun &r, bbnode *node, int deep) { return nodeheur(r, node, false, deep); }

}  // namespace velto
