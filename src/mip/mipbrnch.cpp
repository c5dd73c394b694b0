// The branch choice of a fractional node: the variable rules (minimum and
// maximum infeasibility, pseudocosts, pseudo-reduced costs, strong
// branching), priorities, the direction, special ordered sets and the
// children's estimates.
#include <algorithm>
#include <cmath>

#include "env/files.h"
#include "env/par.h"
#include "mip/mipbb.h"
#include "mip/mipcuts.h"
#include "mip/mipstrong.h"
#include "model/store.h"

namespace velto {

int fraccount(const char *ctype, int n, const double *x, const double *lb, const double *ub,
              double epint, mipctl &ctl) {
  ctl.nfrac = 0;
  ctl.fraccol.clear();
  ctl.fracx.clear();
  ctl.fracval.clear();
  ctl.suminf = 0.0;
  if (ctype == nullptr) return 0;
  for (int j = 0; j < n; ++j) {
    if (ctype[j] != 'B' && ctype[j] != 'I') continue;
    if (x[j] < lb[j] - epint || x[j] > ub[j] + epint) continue;
    double f = x[j] - std::floor(x[j] + epint);
    if (f <= epint) continue;
    ctl.fraccol.push_back(j);
    ctl.fracx.push_back(x[j]);
    ctl.fracval.push_back(f);
    ctl.suminf += f > 0.5 ? 1.0 - f : f;
  }
  ctl.nfrac = static_cast<int>(ctl.fraccol.size());
  ctl.downpen.assign(ctl.nfrac, 0.0);
  ctl.uppen.assign(ctl.nfrac, 0.0);
  return ctl.nfrac;
}

namespace {

// Members of set s that can be and are non-zero.
struct sosview {
  int n = 0;              // non-zero members
  double W = 0.0, R = 0.0, m = 0.0;
  int first = -1, last = -1;  // positions (within the set) of the non-zero members
  bool violated = false;
};

sosview sosexamine(const sosdata &s, int k, const double *x, const double *lb,
                   const double *ub, double epint) {
  sosview v;
  int b = s.beg[k], e = s.beg[k + 1];
  double wsum = 0.0;
  int prev = -2;
  bool adjacent = true;
  for (int t = b; t < e; ++t) {
    int j = s.ind[t];
    double a = std::fabs(x[j]);
    if (a <= epint || (lb[j] == 0.0 && ub[j] == 0.0)) continue;
    if (prev >= 0 && t != prev + 1) adjacent = false;
    prev = t;
    ++v.n;
    v.W += a;
    wsum += s.wt[t] * a;
    v.m = std::max(v.m, a);
    if (v.first < 0) v.first = t - b;
    v.last = t - b;
  }
  if (v.W > 0) v.R = wsum / v.W;
  v.violated = s.type[k] == '1' ? v.n >= 2 : (v.n > 2 || (v.n == 2 && !adjacent));
  return v;
}

double score(double a, double b) { return 10.0 * std::min(a, b) + std::max(a, b); }

// Direction by the rule of the run for candidate k.
char direction(const branchctx &c, int k, int rule) {
  const mipctl &ctl = *c.ctl;
  int j = ctl.fraccol[k];
  if (!ctl.branchdir.empty() && ctl.branchdir[j] != 0) return ctl.branchdir[j] == 1 ? 'U' : 'D';
  if (ctl.brdir == -1) return 'D';
  if (ctl.brdir == 1) return 'U';
  double f = ctl.fracval[k], dn = ctl.downpen[k], up = ctl.uppen[k];
  switch (rule) {
    case 4:
      return dn < up ? 'D' : 'U';
    case 2:
      if (std::fabs(dn - up) < (std::fabs(ctl.nodeobj) + 1.0) * 1e-6)
        return f <= 0.5 ? 'D' : 'U';  // no implication counts without a clique table
      return dn <= up ? 'D' : 'U';
    case 3:
      return up <= dn ? 'U' : 'D';
    default:
      return f < 0.5 ? 'D' : 'U';
  }
}

// Swaps candidate k to the front and keeps only it.
void keepone(mipctl &ctl, int k) {
  std::swap(ctl.fraccol[0], ctl.fraccol[k]);
  std::swap(ctl.fracx[0], ctl.fracx[k]);
  std::swap(ctl.fracval[0], ctl.fracval[k]);
  std::swap(ctl.downpen[0], ctl.downpen[k]);
  std::swap(ctl.uppen[0], ctl.uppen[k]);
  ctl.nfrac = 1;
}

// Row rates from the duals: down and up rate per row.
void rowrates(const branchctx &c, std::vector<double> &dn, std::vector<double> &up) {
  const lpcore *core = c.model->core;
  int m = core->numrows;
  dn.assign(m, 0.0);
  up.assign(m, 0.0);
  const double s = 0.01;
  for (int i = 0; i < m; ++i) {
    double a = c.dual && i < static_cast<int>(c.dual->size()) ? core->objsen * (*c.dual)[i] : 0.0;
    switch (core->sense[i]) {
      case 'L':
        dn[i] = std::max(-a, 0.0), up[i] = std::max(a, s);
        break;
      case 'G':
        dn[i] = std::max(-a, s), up[i] = std::max(a, 0.0);
        break;
      default:
        dn[i] = std::max(-a, s), up[i] = std::max(a, s);
        break;
    }
  }
}

// Candidates' penalties from the row rates (pseudo-reduced costs).
void rowpenalties(const branchctx &c) {
  std::vector<double> rd, ru;
  rowrates(c, rd, ru);
  mipctl &ctl = *c.ctl;
  const lpcore *core = c.model->core;
  const bbstate &bb = *c.bb;
  for (int k = 0; k < ctl.nfrac; ++k) {
    int j = ctl.fraccol[k];
    double f = ctl.fracval[k];
    double cj = core->objsen * core->obj[j];
    double up = cj > 0 ? cj : 0.0, dn = cj > 0 ? 0.0 : -cj;
    for (int t = core->matbeg[j]; t < core->matbeg[j] + core->matcnt[j]; ++t) {
      int i = core->matind[t];
      double a = matval_u(c.model, t, j);
      if (a > 0) {
        dn += rd[i] * a;
        up += ru[i] * a;
      } else {
        dn += ru[i] * -a;
        up += rd[i] * -a;
      }
    }
    ctl.downpen[k] = (bb.pcdown[j] + dn) * f;
    ctl.uppen[k] = (bb.pcup[j] + up) * (1.0 - f);
  }
}

// Row pressure of column j with fraction f (tie-break of the pseudocost rule).
double pressure(const branchctx &c, int j, double f) {
  const lpcore *core = c.model->core;
  double D = 0.0, U = 0.0;
  for (int t = core->matbeg[j]; t < core->matbeg[j] + core->matcnt[j]; ++t) {
    char s = core->sense[core->matind[t]];
    double a = matval_u(c.model, t, j);
    if (a > 0) {
      if (s != 'L') D += a;
      if (s != 'G') U += a;
    } else {
      if (s != 'G') D += -a;
      if (s != 'L') U += -a;
    }
  }
  return score(D * f, U * (1.0 - f));
}

// Penalties of the candidates from Driebeek's one-pivot bound.
void driebeek(const branchctx &c, int count) {
  mipctl &ctl = *c.ctl;
  if (count <= 0) return;
  if (branchpen(c.e, c.q, ctl.fraccol.data(), count, ctl.epint, ctl.downpen.data(),
                ctl.uppen.data()) != 0) {
    std::fill(ctl.downpen.begin(), ctl.downpen.begin() + count, 0.0);
    std::fill(ctl.uppen.begin(), ctl.uppen.begin() + count, 0.0);
  }
}

// One fixing of the node's children: column j at most (U) or at least (L)
// v, resting on the cutoff Z; the watcher sees it as a cut local to the node.
void fixside(const branchctx &c, bdchglist *fixes, int j, char lu, double v, double Z) {
  fixes->add(j, lu, v);
  if (cutwatch.seen) {
    double one = 1.0;
    const double *lb = c.lb ? c.lb->data() : nullptr, *ub = c.ub ? c.ub->data() : nullptr;
    cutwatch.seen(cutwatch.ctx, 1, &j, &one, lu == 'U' ? 'L' : 'G', v, lb, ub, Z);
  }
}

// Fixes sides whose child value reaches the cutoff Z (into `fixes`, which
// both children take).  Returns the candidate to branch on, with *dir the
// side still open first, or -1 when no side hit.
int boundfix(branchctx &c, const std::vector<double> &dnv, const std::vector<double> &upv,
             int count, const int *which, double Z, bdchglist *fixes, char *dir) {
  mipctl &ctl = *c.ctl;
  int hit = -1;
  double raise = ctl.nodeobj;
  for (int t = 0; t < count; ++t) {
    int k = which ? which[t] : t;
    int j = ctl.fraccol[k];
    double x = ctl.fracx[k];
    bool uphit = upv[t] >= Z, dnhit = dnv[t] >= Z;
    // The node keeps the side that did not hit: its value bounds the node.
    // Both hit: nothing better than the cutoff lies below this node.
    if (uphit) fixside(c, fixes, j, 'U', std::floor(x + ctl.epint), Z);
    if (dnhit) fixside(c, fixes, j, 'L', std::ceil(x - ctl.epint), Z);
    if (uphit && dnhit) raise = std::max(raise, std::min(upv[t], dnv[t]));
    else if (uphit) raise = std::max(raise, dnv[t]);
    else if (dnhit) raise = std::max(raise, upv[t]);
    if ((uphit || dnhit) && hit < 0) hit = k, *dir = upv[t] < Z ? 'U' : 'D';
    if (uphit && dnhit) {
      hit = k, *dir = 'D';
      break;
    }
  }
  if (hit < 0) return -1;
  ctl.nodeobj = std::min(raise, 1e75);
  return hit;
}

// Strong-branching values of the candidate list, in minimization sense.
int strongvalues(branchctx &c, const std::vector<int> &cols, int itlim, int threads,
                 std::vector<double> &dn, std::vector<double> &up, std::vector<int> *dstat,
                 std::vector<int> *ustat) {
  mipctl &ctl = *c.ctl;
  int cnt = static_cast<int>(cols.size());
  dn.assign(cnt, 0.0);
  up.assign(cnt, 0.0);
  if (dstat) dstat->assign(cnt, -1), ustat->assign(cnt, -1);
  double oldtl = c.e->params->tilim;
  c.e->params->tilim = std::max(0.0, ctl.tilim - (now(c.e) - ctl.startsec));
  double cut = c.cutoff >= 1e74 ? 1e75 : c.cutoff * ctl.objsen;
  int rc = strongkernel(c.e, c.q, cols.data(), cnt, dn.data(), up.data(), itlim, threads, cut,
                        c.ctype, ctl.epint, dstat ? dstat->data() : nullptr,
                        ustat ? ustat->data() : nullptr);
  c.e->params->tilim = oldtl;
  for (int k = 0; k < cnt; ++k) {
    dn[k] *= ctl.objsen;
    up[k] *= ctl.objsen;
  }
  return rc;
}

// Penalties from pseudocosts; uninitialised ones by strong branching.
// Returns 0, 108 or 114; *chosen is set when a one-sided or bound-fixing
// decision made the branch.
int pseudoinit(branchctx &c, int *chosen, bdchglist *fixes, char *dirout) {
  mipctl &ctl = *c.ctl;
  bbstate &bb = *c.bb;
  *chosen = -1;
  char hitdir = 'U';
  std::vector<int> list, pos;
  for (int k = 0; k < ctl.nfrac; ++k)
    if (bb.pccount[ctl.fraccol[k]] == 0) list.push_back(ctl.fraccol[k]), pos.push_back(k);
  if (!list.empty()) {
    std::vector<double> dn, up;
    int rc = 0;
    if (ctl.strongitlim == 1) {
      std::vector<double> pd(list.size()), pu(list.size());
      rc = branchpen(c.e, c.q, list.data(), static_cast<int>(list.size()), ctl.epint, pd.data(),
                     pu.data());
      dn.resize(list.size()), up.resize(list.size());
      for (size_t t = 0; t < list.size(); ++t)
        dn[t] = pd[t] + ctl.nodeobj, up[t] = pu[t] + ctl.nodeobj;
    } else {
      rc = strongvalues(c, list, ctl.strongitlim, std::max(1, c.e->mipparams->strongthreadlim), dn,
                        up, nullptr, nullptr);
    }
    if (rc == 1263) return 114;
    if (rc == 1266) return 108;
    if (rc != 0) {
      list.clear();
    } else {
      double G = c.cutoff - ctl.nodeobj;
      // An infeasible side has the value 1e75 and is hopeless even without
      // a cutoff.
      int hit = boundfix(c, dn, up, static_cast<int>(list.size()), pos.data(),
                         std::min(c.cutoff, 1e75), fixes, &hitdir);
      if (hit >= 0) {
        *chosen = hit;
        *dirout = hitdir;
        return 0;
      }
      for (size_t t = 0; t < list.size(); ++t) {
        int j = list[t];
        double d = std::min(std::max(dn[t] - ctl.nodeobj, 0.0), G);
        double u = std::min(std::max(up[t] - ctl.nodeobj, 0.0), G);
        bb.pcdown[j] = d;
        bb.pcup[j] = u;
        bb.pccount[j] = -1;
      }
    }
  }
  int kept = 0;
  for (int k = 0; k < ctl.nfrac; ++k) {
    int j = ctl.fraccol[k];
    double f = ctl.fracval[k];
    if (f <= ctl.epint || bb.pccount[j] == 0) {
      ctl.downpen[k] = ctl.uppen[k] = -1e75;
      continue;
    }
    if (bb.pccount[j] == -1) {
      bb.pcdown[j] = bb.pcdown[j] > 1e37 ? 0.01 : bb.pcdown[j] / f;
      bb.pcup[j] = bb.pcup[j] > 1e37 ? 0.01 : bb.pcup[j] / (1.0 - f);
      bb.pccount[j] = 1;
    }
    ctl.downpen[k] = f * bb.pcdown[j];
    ctl.uppen[k] = (1.0 - f) * bb.pcup[j];
    ++kept;
  }
  if (kept == 0) ctl.nfrac = 0;
  return 0;
}

// The two children on column candidate 0 in direction d.
void makechildren(const branchctx &c, char d, std::vector<bbchild> &kids) {
  const mipctl &ctl = *c.ctl;
  int j = ctl.fraccol[0];
  double x = ctl.fracx[0];
  bbchild up, dn;
  up.dir = 'U', up.var = j, up.value = x, up.estobj = ctl.nodeobj + std::max(ctl.uppen[0], 0.0);
  up.fix.add(j, 'L', std::ceil(x - ctl.epint));
  dn.dir = 'D', dn.var = j, dn.value = x, dn.estobj = ctl.nodeobj + std::max(ctl.downpen[0], 0.0);
  dn.fix.add(j, 'U', std::floor(x + ctl.epint));
  if (ctl.uppen[0] >= 1e75) up.estobj = 1e75;
  if (ctl.downpen[0] >= 1e75) dn.estobj = 1e75;
  kids.clear();
  if (d == 'U') kids.push_back(up), kids.push_back(dn);
  else kids.push_back(dn), kids.push_back(up);
}

// Branch on a set when it beats the variable candidate.  Returns true when
// it made the children.
bool branchsos(const branchctx &c, bool havevar, double varscore, std::vector<bbchild> &kids) {
  const sosdata *s = c.model->core->sos;
  if (s == nullptr || s->count == 0) return false;
  const mipctl &ctl = *c.ctl;
  const double *x = c.x->data(), *lb = c.lb->data(), *ub = c.ub->data();
  if (havevar && !ctl.priority.empty() && !s->priority.empty()) {
    int maxp = *std::max_element(s->priority.begin(), s->priority.end());
    if (ctl.priority[ctl.fraccol[0]] > maxp) return false;
  }
  int best = -1;
  double bestinf = 0.0;
  int bestn = 0, bestpri = 0;
  for (int k = 0; k < s->count; ++k) {
    sosview v = sosexamine(*s, k, x, lb, ub, ctl.epint);
    if (!v.violated) continue;
    double inf = 1.0 - v.m / v.W;
    int pri = s->priority.empty() ? 0 : s->priority[k];
    bool better;
    if (best < 0) better = true;
    else if (!s->priority.empty() && pri != bestpri) better = pri > bestpri;
    else if (ctl.varsel == -1) better = inf < bestinf || (inf == bestinf && v.n > bestn);
    else better = inf > bestinf || (inf == bestinf && v.n > bestn);
    if (better) best = k, bestinf = inf, bestn = v.n, bestpri = pri;
  }
  if (best < 0) return false;
  if (havevar && (ctl.varsel == 2 || ctl.varsel == 3 || ctl.varsel == 4) &&
      varscore > bestinf * (std::fabs(ctl.nodeobj) + 1.0))
    return false;
  sosview v = sosexamine(*s, best, x, lb, ub, ctl.epint);
  int b = s->beg[best], e = s->beg[best + 1], len = e - b;
  // Split: the first member whose weight exceeds R, at most the last non-zero.
  int split = v.last;
  for (int t = 0; t < len; ++t)
    if (s->wt[b + t] > v.R) {
      split = std::min(t, v.last);
      break;
    }
  if (split <= v.first) split = v.first + 1;
  if (s->type[best] == '2') {
    bool before = false;
    for (int t = 0; t + 2 <= split; ++t)
      if (std::fabs(x[s->ind[b + t]]) > ctl.epint) before = true;
    if (!before && split + 1 <= v.last) ++split;
  }
  double L = 0.0, T = 0.0;
  for (int t = 0; t < len; ++t) {
    double a = x[s->ind[b + t]];
    T += a;
    if (t < split) L += a;
  }
  char side;
  double r = T != 0.0 ? L / T : 0.5;
  if (r == 0.5) side = (len - split) < split ? 'L' : 'R';
  else side = r < 0.5 ? 'L' : 'R';
  bbchild left, right;
  left.dir = 'L', right.dir = 'R';
  left.var = right.var = s->ind[b + split - 1];
  left.var2 = right.var2 = best;
  left.estobj = right.estobj = ctl.nodeobj;
  int stop = s->type[best] == '2' ? split - 1 : split;
  for (int t = 0; t < stop; ++t) left.fix.add(s->ind[b + t], 'B', 0.0);
  for (int t = split; t < len; ++t) right.fix.add(s->ind[b + t], 'B', 0.0);
  kids.clear();
  if (side == 'L') kids.push_back(left), kids.push_back(right);
  else kids.push_back(right), kids.push_back(left);
  return true;
}

}  // namespace

int sosinfeas(const sosdata *s, const double *x, const double *lb, const double *ub,
              double epint) {
  if (s == nullptr) return 0;
  int n = 0;
  for (int k = 0; k < s->count; ++k)
    if (sosexamine(*s, k, x, lb, ub, epint).violated) ++n;
  return n;
}

void pcrecord(bbstate &bb, int col, char dir, double rate) {
  if (col < 0 || col >= static_cast<int>(bb.pccount.size()) || rate < 0) return;
  if (dir == 'D') bb.pcdown[col] = std::max(bb.pcdown[col], rate);
  else bb.pcup[col] = std::max(bb.pcup[col], rate);
  ++bb.pccount[col];
}

int branchselect(branchctx &c, std::vector<bbchild> &kids) {
  mipctl &ctl = *c.ctl;
  kids.clear();
  ctl.estimate = 0.0;
  ctl.onesided = 0;
  ctl.downpen.assign(ctl.nfrac, 0.0);
  ctl.uppen.assign(ctl.nfrac, 0.0);
  const bool sos = c.model->core->sos && c.model->core->sos->count > 0;
  const int rule = ctl.varsel;
  if (rule == 4) rowpenalties(c);
  // Priority filter.
  if (!ctl.priority.empty() && ctl.nfrac > 0) {
    int top = ctl.priority[ctl.fraccol[0]];
    for (int k = 1; k < ctl.nfrac; ++k) top = std::max(top, ctl.priority[ctl.fraccol[k]]);
    int keep = 0;
    for (int k = 0; k < ctl.nfrac; ++k)
      if (ctl.priority[ctl.fraccol[k]] == top) {
        std::swap(ctl.fraccol[keep], ctl.fraccol[k]);
        std::swap(ctl.fracx[keep], ctl.fracx[k]);
        std::swap(ctl.fracval[keep], ctl.fracval[k]);
        std::swap(ctl.downpen[keep], ctl.downpen[k]);
        std::swap(ctl.uppen[keep], ctl.uppen[k]);
        ++keep;
      }
    ctl.nfrac = keep;
  }
  auto dist = [&](int k) { return std::min(ctl.fracval[k], 1.0 - ctl.fracval[k]); };
  int chosen = -1;
  char dir = 0;
  bdchglist fixes;
  bool fixed = false;
  char fixdir = 'U';
  double varscore = 0.0;
  if (ctl.nfrac > 0) switch (rule) {
      case -1: {
        for (int k = 0; k < ctl.nfrac; ++k)
          if (dist(k) > 0.01 && (chosen < 0 || dist(k) < dist(chosen))) chosen = k;
        if (chosen < 0)
          for (int k = 0; k < ctl.nfrac; ++k)
            if (chosen < 0 || dist(k) < dist(chosen)) chosen = k;
        keepone(ctl, chosen);
        driebeek(c, 1);
        break;
      }
      case 4: {
        double best = -1e75;
        for (int k = 0; k < ctl.nfrac; ++k) {
          double s = score(ctl.downpen[k], ctl.uppen[k]);
          ctl.estimate += std::min(ctl.downpen[k], ctl.uppen[k]);
          if (s > best) best = s, chosen = k;
        }
        ctl.estimate += (std::fabs(ctl.nodeobj) + 1.0) * ctl.nfrac * 1e-6;
        varscore = best;
        keepone(ctl, chosen);
        break;
      }
      case 2: {
        int hit = -1;
        int rc = pseudoinit(c, &hit, &fixes, &fixdir);
        if (rc) return rc;
        if (hit >= 0) {
          chosen = hit, fixed = true;
          keepone(ctl, chosen);
          ctl.downpen[0] = fixdir == 'U' ? 1e75 : 0.0;
          ctl.uppen[0] = fixdir == 'U' ? 0.0 : 1e75;
          break;
        }
        if (ctl.nfrac == 0) {
          // no pseudocost survived: most fractional column
          ctl.nfrac = static_cast<int>(ctl.fraccol.size());
          for (int k = 0; k < ctl.nfrac; ++k)
            if (chosen < 0 || dist(k) > dist(chosen)) chosen = k;
          keepone(ctl, chosen);
          ctl.downpen[0] = ctl.uppen[0] = 0.0;
          dir = direction(c, 0, 1);
          break;
        }
        double S1 = -1e75, S2 = -1e75;
        for (int k = 0; k < ctl.nfrac; ++k) {
          if (ctl.downpen[k] <= -1e74) continue;
          double s = score(ctl.downpen[k], ctl.uppen[k]);
          ctl.estimate += std::min(ctl.downpen[k], ctl.uppen[k]);
          if (s > S1) S2 = S1, S1 = s, chosen = k;
          else if (s > S2) S2 = s;
        }
        ctl.estimate += (std::fabs(ctl.nodeobj) + 1.0) * ctl.nfrac * 1e-6;
        double w = std::max(std::fabs(ctl.nodeobj), 1e-9) * 1e-10;
        if (S1 - S2 < w * 0.2) {
          double bestp = -1.0;
          for (int k = 0; k < ctl.nfrac; ++k) {
            if (ctl.downpen[k] <= -1e74) continue;
            if (score(ctl.downpen[k], ctl.uppen[k]) < S1 - 5 * w) continue;
            double p = pressure(c, ctl.fraccol[k], ctl.fracval[k]);
            if (p > bestp) bestp = p, chosen = k;
          }
        }
        varscore = S1;
        keepone(ctl, chosen);
        break;
      }
      case 3: {
        double G = std::min(c.cutoff - ctl.nodeobj, 1e37);
        driebeek(c, ctl.nfrac);
        {
          std::vector<double> dv(ctl.nfrac), uv(ctl.nfrac);
          for (int k = 0; k < ctl.nfrac; ++k)
            dv[k] = ctl.nodeobj + ctl.downpen[k], uv[k] = ctl.nodeobj + ctl.uppen[k];
          int hit = G < 1e37 ? boundfix(c, dv, uv, ctl.nfrac, nullptr, c.cutoff, &fixes, &fixdir) : -1;
          if (hit >= 0) {
            chosen = hit, fixed = true;
            keepone(ctl, chosen);
            ctl.downpen[0] = fixdir == 'U' ? 1e75 : 0.0;
            ctl.uppen[0] = fixdir == 'U' ? 0.0 : 1e75;
            break;
          }
        }
        if (ctl.nfrac == 1) {
          chosen = 0;
          break;
        }
        int K = std::min(c.e->mipparams->strongcandlim, ctl.nfrac);
        std::vector<double> sc(ctl.nfrac);
        for (int k = 0; k < ctl.nfrac; ++k) sc[k] = score(ctl.downpen[k], ctl.uppen[k]);
        std::vector<int> pick;
        while (static_cast<int>(pick.size()) < K) {
          int b = -1;
          for (int k = 0; k < ctl.nfrac; ++k)
            if (sc[k] > -1 && (b < 0 || sc[k] > sc[b])) b = k;
          if (b < 0) break;
          pick.push_back(b);
          sc[b] = -1e75;
        }
        while (static_cast<int>(pick.size()) < K) {
          int b = -1;
          for (int k = 0; k < ctl.nfrac; ++k)
            if (sc[k] > -1e74 && (b < 0 || dist(k) > dist(b))) b = k;
          if (b < 0 || (dist(b) < 0.001 && !pick.empty())) break;
          pick.push_back(b);
          sc[b] = -1e75;
        }
        std::vector<int> cols;
        for (int k : pick) cols.push_back(ctl.fraccol[k]);
        std::vector<double> dn, up;
        std::vector<int> ds, us;
        bool stats = static_cast<int>(ctl.fraccol.size()) < 11;
        int rc = strongvalues(c, cols, ctl.strongitlim, std::max(1, c.e->mipparams->strongthreadlim),
                              dn, up, stats ? &ds : nullptr, stats ? &us : nullptr);
        if (rc == 1263) return 114;
        if (rc == 1266) return 108;
        if (rc != 0 || pick.empty()) {
          chosen = pick.empty() ? 0 : pick[pick.size() / 2];
          keepone(ctl, chosen);
          ctl.downpen[0] = ctl.uppen[0] = 0.0;
          dir = 'U';
          break;
        }
        // One side came out integer: the cheapest such side is the branch.
        if (stats && !sos) {
          int bk = -1;
          char bs = 'U';
          double bv = 1e75;
          for (size_t t = 0; t < pick.size(); ++t) {
            if (ds[t] == 0 && dn[t] < bv) bv = dn[t], bk = static_cast<int>(t), bs = 'D';
            if (us[t] == 0 && up[t] < bv) bv = up[t], bk = static_cast<int>(t), bs = 'U';
          }
          if (bk >= 0) {
            chosen = pick[bk];
            ctl.downpen[chosen] = dn[bk] - ctl.nodeobj;
            ctl.uppen[chosen] = up[bk] - ctl.nodeobj;
            keepone(ctl, chosen);
            dir = bs;
            ctl.onesided = 1;
            break;
          }
        }
        int hit = boundfix(c, dn, up, static_cast<int>(pick.size()), pick.data(), std::min(c.cutoff, 1e75), &fixes, &fixdir);
        if (hit >= 0) {
          chosen = hit, fixed = true;
          keepone(ctl, chosen);
          ctl.downpen[0] = fixdir == 'U' ? 1e75 : 0.0;
          ctl.uppen[0] = fixdir == 'U' ? 0.0 : 1e75;
          break;
        }
        double best = -1e75;
        for (size_t t = 0; t < pick.size(); ++t) {
          double s = score(dn[t], up[t]);
          if (s > best) best = s, chosen = pick[t];
          ctl.downpen[pick[t]] = dn[t] - ctl.nodeobj;
          ctl.uppen[pick[t]] = up[t] - ctl.nodeobj;
        }
        varscore = score(ctl.downpen[chosen], ctl.uppen[chosen]);
        keepone(ctl, chosen);
        break;
      }
      default: {  // 1: maximum infeasibility
        for (int k = 0; k < ctl.nfrac; ++k)
          if (chosen < 0 || dist(k) > dist(chosen)) chosen = k;
        keepone(ctl, chosen);
        driebeek(c, 1);
        break;
      }
    }
  bool havevar = chosen >= 0 && ctl.nfrac > 0;
  if (sos && branchsos(c, havevar, varscore, kids)) {
    for (auto &k : kids)
      for (int t = 0; t < fixes.count; ++t) k.fix.add(fixes.index[t], fixes.sense[t], fixes.value[t]);
    if (rule != 2 && rule != 4) ctl.estimate = c.bb->degperinf * ctl.suminf;
    return 0;
  }
  if (!havevar) return 0;
  double xv = ctl.fracx[0];
  if (std::fabs(xv) > 2100000000.0) {
    const lpcore *core = c.model->core;
    msg(c.e->errchannel, errtext(c.e, 3018), colnameof(c.e, core->colname, core->numcols, ctl.fraccol[0]), xv);
    return -3018;
  }
  if (rule != 2 && rule != 4) ctl.estimate = c.bb->degperinf * ctl.suminf;
  if (dir == 0) {
    if (fixed) {
      dir = fixdir;
    } else {
      dir = direction(c, 0, rule == 1 || rule == -1 ? 1 : rule);
      // A general integer pushed one way is tried the other way first.
      int j = ctl.fraccol[0];
      bool free = ctl.brdir == 0 && (ctl.branchdir.empty() || ctl.branchdir[j] == 0);
      if (free && c.ctype[j] == 'I' && c.nodebounds != nullptr) {
        bool hasL = false, hasU = false;
        for (int t = 0; t < c.nodebounds->count; ++t)
          if (c.nodebounds->index[t] == j) {
            if (c.nodebounds->sense[t] == 'L') hasL = true;
            if (c.nodebounds->sense[t] == 'U') hasU = true;
          }
        if (dir == 'U' && hasL && !hasU) dir = 'D';
        else if (dir == 'D' && hasU && !hasL) dir = 'U';
      }
    }
  }
  makechildren(c, dir, kids);
  for (auto &k : kids)
    for (int t = 0; t < fixes.count; ++t) k.fix.add(fixes.index[t], fixes.sense[t], fixes.value[t]);
  return 0;
}

void childestimates(const branchctx &c, std::vector<bbchild> &kids) {
  const mipctl &ctl = *c.ctl;
  const bbstate &bb = *c.bb;
  double E = ctl.estimate;
  for (auto &k : kids) {
    k.estinc = E;
    if (ctl.varsel != 2 || (k.dir != 'U' && k.dir != 'D') || k.var < 0) continue;
    int j = k.var;
    double f = k.value - std::floor(k.value);
    double p = std::min(bb.pcdown[j] * f, bb.pcup[j] * (1.0 - f));
    k.estinc = E - p + (k.dir == 'U' ? bb.pcup[j] * (1.0 - f) : bb.pcdown[j] * f);
    k.estinc = std::max(k.estinc, k.estobj - ctl.nodeobj);
  }
}

}  // namespace velto
