// Bound propagation over the rows, the cliques and the implications, and
// probing on the binaries and on set-packing rows at the root, with the
// root work that builds the implication store and the clique table.
#include <algorithm>
#include <cmath>

#include "env/files.h"
#include "env/par.h"
#include "mip/mipcliq.h"
#include "model/store.h"

namespace velto {

namespace {

bool isint(const cutmodel &cm, int j) { return cm.ctype && cm.ctype[j] != 'C'; }

// Queues the row forms that a raised lower bound (up) or a lowered upper
// bound of column j can tighten.
void queuerows(propagator &p, int j, bool up) {
  for (int q = p.colbeg[j]; q < p.colbeg[j + 1]; ++q) {
    int r = p.colrow[q];
    double a = p.colval[q];
    char s = p.cm->sense[r];
    bool lform = (a > 0) == up, ok = lform ? (s == 'L' || s == 'E') : (s == 'G' || s == 'E');
    if (!ok) continue;
    int key = lform ? r : p.m + r;
    if (!p.inq[key]) {
      p.inq[key] = 1;
      p.queue.push_back(key);
    }
  }
}

// An integer column's bound is rounded to the integers, with a margin.
double roundbound(const propagator &p, int j, char side, double v) {
  if (!isint(*p.cm, j) || std::fabs(v) >= 2.1e9) return v;
  return side == 'U' ? std::floor(v + 1e-5) : std::ceil(v - 1e-5);
}

// One row form: s = 1 reads the row as <=, s = -1 as >=.
void processrow(propagator &p, int key) {
  const int r = key < p.m ? key : key - p.m;
  const double s = key < p.m ? 1.0 : -1.0;
  const rowcopy &rc = *p.cm->rc;
  const int beg = rc.rowbeg[r], end = rc.rowend[r];
  p.work += end - beg;
  double minact = 0.0, sumabs = 0.0;
  int ninf = 0, infpos = -1;
  for (int q = beg; q < end; ++q) {
    int j = rc.rowind[q];
    double c = s * rc.rowval[q], b = c > 0 ? p.lb[j] : p.ub[j];
    if (std::fabs(b) >= 1e20) {
      ++ninf, infpos = q;
    } else {
      minact += c * b;
      sumabs += std::fabs(c * b);
    }
  }
  if (ninf >= 2) return;
  double S = s * p.cm->rhs[r] - minact;
  if (ninf == 1) {
    int j = rc.rowind[infpos];
    double c = s * rc.rowval[infpos], v = S / c;
    if (c > 0 && v < 1e10) {
      v = roundbound(p, j, 'U', v);
      if (v < p.ub[j] - 1e-10 * (std::fabs(v) + 1)) propbound(p, j, 'U', v);
    } else if (c < 0 && v > -1e10) {
      v = roundbound(p, j, 'L', v);
      if (v > p.lb[j] + 1e-10 * (std::fabs(v) + 1)) propbound(p, j, 'L', v);
    }
    return;
  }
  const double tol = 1000.0 * p.feastol + 1e-9 * (sumabs + std::fabs(p.cm->rhs[r]));
  if (S < -tol) {
    p.infeasible = true;
    return;
  }
  S = std::max(S, 0.0);
  for (int q = beg; q < end && !p.infeasible; ++q) {
    int j = rc.rowind[q];
    double c = s * rc.rowval[q], range = p.ub[j] - p.lb[j];
    if (!(range * std::fabs(c) - 1e-10 > S)) continue;
    const bool integer = isint(*p.cm, j);
    if (c > 0) {
      double v = p.lb[j] + S / c, gain = p.ub[j] - v;
      if (integer) {
        if (!(gain > 1e-5)) continue;
        v = roundbound(p, j, 'U', v);
        if (v < p.ub[j]) propbound(p, j, 'U', v);
      } else if (v < 1e10 && (p.ub[j] >= 1e20 || gain > 0.01 * range)) {
        propbound(p, j, 'U', v);
      }
    } else {
      double v = p.ub[j] + S / c, gain = v - p.lb[j];
      if (integer) {
        if (!(gain > 1e-5)) continue;
        v = roundbound(p, j, 'L', v);
        if (v > p.lb[j]) propbound(p, j, 'L', v);
      } else if (v > -1e10 && (p.lb[j] <= -1e20 || gain > 0.01 * range)) {
        propbound(p, j, 'L', v);
      }
    }
  }
}

// A binary fixed: the other literals of the cliques of its true literal
// are false, and its implications hold.
void processfix(propagator &p, int j) {
  const bool one = p.lb[j] > 0.5;
  const int truelit = one ? j : ~j;
  if (p.ct != nullptr) {
    if (const std::vector<int> *h = p.ct->holding(truelit)) {
      for (int c : *h) {
        const std::vector<int> &q = p.ct->cliques[c];
        p.work += static_cast<long long>(q.size());
        for (int l : q) {
          if (l == truelit) continue;
          bool ok = l >= 0 ? propbound(p, l, 'U', 0.0) : propbound(p, ~l, 'L', 1.0);
          if (!ok) return;
        }
      }
    }
  }
  if (p.it != nullptr && j < static_cast<int>(p.it->bysrc.size())) {
    for (int k : p.it->bysrc[j]) {
      const implication &im = p.it->recs[k];
      if (im.srcval != (one ? 1 : 0)) continue;
      double v = roundbound(p, im.tgt, im.kind, im.bound);
      bool ok = im.kind == 'U' ? (v < p.ub[im.tgt] ? propbound(p, im.tgt, 'U', v) : true)
                               : (v > p.lb[im.tgt] ? propbound(p, im.tgt, 'L', v) : true);
      if (!ok) return;
    }
  }
}

}  // namespace

void propinit(propagator &p, const cutmodel &cm, const cliquetable *ct, const impltab *it,
              const double *lb, const double *ub, double feastol) {
  p.cm = &cm, p.ct = ct, p.it = it;
  p.n = cm.n, p.m = cm.m;
  p.feastol = feastol;
  const rowcopy &rc = *cm.rc;
  p.colbeg.assign(p.n + 1, 0);
  for (int i = 0; i < p.m; ++i)
    for (int q = rc.rowbeg[i]; q < rc.rowend[i]; ++q) ++p.colbeg[rc.rowind[q] + 1];
  for (int j = 0; j < p.n; ++j) p.colbeg[j + 1] += p.colbeg[j];
  p.colrow.assign(p.colbeg[p.n], 0);
  p.colval.assign(p.colbeg[p.n], 0.0);
  std::vector<int> at(p.colbeg.begin(), p.colbeg.end() - 1);
  for (int i = 0; i < p.m; ++i)
    for (int q = rc.rowbeg[i]; q < rc.rowend[i]; ++q) {
      int k = at[rc.rowind[q]]++;
      p.colrow[k] = i;
      p.colval[k] = rc.rowval[q];
    }
  p.lb.assign(lb, lb + p.n);
  p.ub.assign(ub, ub + p.n);
  p.inq.assign(2 * static_cast<size_t>(std::max(p.m, 0)), 0);
  p.trail.clear(), p.queue.clear(), p.fixq.clear();
  p.work = 0;
  p.infeasible = false;
}

bool propbound(propagator &p, int j, char side, double v) {
  double &lo = p.lb[j], &hi = p.ub[j];
  const double tol = std::max(1e-9, 10.0 * p.feastol) * (1.0 + std::fabs(v));
  if (side == 'U') {
    if (v >= hi) return true;
    if (v < lo - tol) return !(p.infeasible = true);
    v = std::max(v, lo);
  } else {
    if (v <= lo) return true;
    if (v > hi + tol) return !(p.infeasible = true);
    v = std::min(v, hi);
  }
  p.trail.push_back({j, lo, hi});
  (side == 'U' ? hi : lo) = v;
  queuerows(p, j, side == 'L');
  if (lo == hi && isint(*p.cm, j) && (lo == 0.0 || lo == 1.0)) p.fixq.push_back(j);
  return true;
}

bool proprun(propagator &p, long long limit) {
  size_t head = 0;
  while (!p.infeasible) {
    if (!p.fixq.empty()) {
      int j = p.fixq.back();
      p.fixq.pop_back();
      processfix(p, j);
      continue;
    }
    if (head >= p.queue.size() || (limit > 0 && p.work > limit)) break;
    int key = p.queue[head++];
    p.inq[key] = 0;
    processrow(p, key);
  }
  for (size_t k = head; k < p.queue.size(); ++k) p.inq[p.queue[k]] = 0;
  p.queue.clear();
  p.fixq.clear();
  return !p.infeasible;
}

void propundo(propagator &p, size_t mark) {
  while (p.trail.size() > mark) {
    const propagator::change &c = p.trail.back();
    p.lb[c.col] = c.lb;
    p.ub[c.col] = c.ub;
    p.trail.pop_back();
  }
  p.infeasible = false;
}

namespace {

struct probestats {
  int tightened = 0;
  long long work = 0;
};

// The end state of a probe branch: the columns it moved with their bounds.
struct branchresult {
  bool infeasible = false;
  std::vector<int> cols;
  std::vector<double> lb, ub;
};

void probebranch(propagator &p, int j, int v, long long limit, branchresult &b,
                 std::vector<int> &stamp, int token) {
  const size_t mark = p.trail.size();
  p.work = 0;
  bool ok = propbound(p, j, v ? 'L' : 'U', v ? 1.0 : 0.0) && proprun(p, limit);
  b.infeasible = !ok;
  b.cols.clear(), b.lb.clear(), b.ub.clear();
  if (ok) {
    for (size_t k = mark; k < p.trail.size(); ++k) {
      int c = p.trail[k].col;
      if (stamp[c] == token) continue;
      stamp[c] = token;
      b.cols.push_back(c);
      b.lb.push_back(p.lb[c]);
      b.ub.push_back(p.ub[c]);
    }
  }
  propundo(p, mark);
}

// A permanent change of the working bounds with its consequences.
bool commit(propagator &p, int j, char side, double v, long long limit) {
  p.work = 0;
  return propbound(p, j, side, v) && proprun(p, limit);
}

bool isbinary(const propagator &p, int j) {
  return isint(*p.cm, j) && p.lb[j] == 0.0 && p.ub[j] == 1.0;
}

void clockline(env *e, double start, double *last, const char *what, double frac) {
  double t = now(e);
  if (t - *last >= 10.0) {
    *last = t;
    msg(e->reschannel, "Elapsed time %7.2f sec. for %.0f%% of %s\n", t - start, 100.0 * frac, what);
  }
}

// Probing on the binaries, then on the set-packing rows.  Returns 0 or 108.
int probe(miprun &r, propagator &p, cliquetable &ct, impltab &it, long long budget,
          long long membercap, probestats &st) {
  env *e = r.e;
  const cutmodel &cm = *p.cm;
  const int n = p.n;
  const double start = now(e);
  double lastline = start;
  const bool show = r.ctl.display >= 1;
  const long long limit = std::max<long long>(1000, std::min<long long>(n, 5LL * p.m) * 20);
  std::vector<int> stamp(n, 0);
  int token = 0;
  branchresult br[2];
  std::vector<int> bins;
  for (int j = 0; j < n; ++j)
    if (isbinary(p, j)) bins.push_back(j);
  cliquemarker mk;
  std::vector<int> pair(2);
  for (size_t b = 0; b < bins.size() && st.work < budget; ++b) {
    const int j = bins[b];
    if ((b & 63) == 0) {
      if (now(e) - r.ctl.startsec > r.ctl.tilim) return 108;
      if (show) clockline(e, start, &lastline, "probing", static_cast<double>(b) / bins.size());
    }
    if (p.lb[j] == p.ub[j]) continue;  // fixed in the meantime
    for (int v = 0; v < 2; ++v) {
      probebranch(p, j, v, limit, br[v], stamp, ++token);
      st.work += p.work;
    }
    if (br[0].infeasible || br[1].infeasible) {
      // The other value is forced (both: the model has no integer point,
      // which the root relaxation then shows).
      int v = br[1].infeasible ? 0 : 1;
      if (!commit(p, j, v ? 'L' : 'U', v, 0)) return 0;
      st.work += p.work;
      continue;
    }
    // Bounds that both branches give.
    ++token;
    for (size_t k = 0; k < br[0].cols.size(); ++k) stamp[br[0].cols[k]] = token;
    for (size_t k1 = 0; k1 < br[1].cols.size(); ++k1) {
      int c = br[1].cols[k1];
      if (stamp[c] != token) continue;
      size_t k0 = std::find(br[0].cols.begin(), br[0].cols.end(), c) - br[0].cols.begin();
      double hi = std::max(br[0].ub[k0], br[1].ub[k1]), lo = std::min(br[0].lb[k0], br[1].lb[k1]);
      bool moved = false;
      if (hi < p.ub[c] - 1e-9 * (1 + std::fabs(hi))) {
        if (!commit(p, c, 'U', hi, limit)) return 0;
        moved = true;
      }
      if (lo > p.lb[c] + 1e-9 * (1 + std::fabs(lo))) {
        if (!commit(p, c, 'L', lo, limit)) return 0;
        moved = true;
      }
      if (moved && !(cm.ctype && cm.ctype[c] == 'B')) ++st.tightened;
    }
    // Pair cliques and implications of each branch.
    for (int v = 0; v < 2; ++v) {
      const int lit = v ? j : ~j;
      mk.mark(ct, lit);
      st.work += mk.work;
      mk.work = 0;
      for (size_t k = 0; k < br[v].cols.size(); ++k) {
        int c = br[v].cols[k];
        if (c == j || p.lb[c] == p.ub[c]) continue;
        if (isbinary(p, c)) {
          if (br[v].lb[k] != br[v].ub[k]) continue;
          // lit forces c to u: lit and the opposite literal of c exclude.
          int other = br[v].lb[k] > 0.5 ? ~c : c;
          if (mk.stamp.size() > static_cast<size_t>(cliquetable::slot(other)) &&
              mk.stamp[cliquetable::slot(other)] == mk.token)
            continue;  // a clique holds the pair already
          if (ct.members >= membercap) continue;
          pair[0] = lit, pair[1] = other;
          cliqueadd(ct, pair, 3);
          continue;
        }
        double olo = p.lb[c], ohi = p.ub[c], nlo = br[v].lb[k], nhi = br[v].ub[k];
        if (!(ohi - olo > 1e-10)) continue;
        if (nlo > -1e10 && (nlo - olo) >= 0.01 * (std::fabs(nlo) + std::fabs(olo)) && nlo > olo)
          impladd(it, olo, ohi, j, c, 'L', nlo, v);
        if (nhi < 1e10 && (ohi - nhi) >= 0.01 * (std::fabs(nhi) + std::fabs(ohi)) && nhi < ohi)
          impladd(it, olo, ohi, j, c, 'U', nhi, v);
      }
    }
  }
  // Further probing: a set-packing row assumed slack (every literal 0).
  const rowcopy &rc = *cm.rc;
  const long long budget2 = std::min<long long>(budget, static_cast<long long>(1.2 * st.work));
  bool said = false;
  for (int i = 0; i < p.m && st.work < budget2; ++i) {
    if (cm.sense[i] != 'L' || rc.rowend[i] - rc.rowbeg[i] < 2) continue;
    int neg = 0;
    bool ok = true;
    for (int q = rc.rowbeg[i]; q < rc.rowend[i] && ok; ++q) {
      int c = rc.rowind[q];
      ok = cm.ctype && cm.ctype[c] == 'B' && std::fabs(std::fabs(rc.rowval[q]) - 1.0) == 0.0;
      neg += rc.rowval[q] < 0;
    }
    if (!ok || cm.rhs[i] != 1.0 - neg) continue;
    if ((i & 63) == 0) {
      if (now(e) - r.ctl.startsec > r.ctl.tilim) return 108;
      if (show && now(e) - lastline >= 10.0) {
        if (!said) msg(e->reschannel, "Continuing with probing\n");
        said = true;
        clockline(e, start, &lastline, "further probing", static_cast<double>(i) / p.m);
      }
    }
    const size_t mark = p.trail.size();
    p.work = 0;
    bool feas = true;
    for (int q = rc.rowbeg[i]; q < rc.rowend[i] && feas; ++q) {
      int c = rc.rowind[q];
      feas = rc.rowval[q] > 0 ? propbound(p, c, 'U', 0.0) : propbound(p, c, 'L', 1.0);
    }
    feas = feas && proprun(p, limit);
    st.work += p.work;
    if (feas) {
      ++token;
      for (size_t k = mark; k < p.trail.size(); ++k) {
        const propagator::change &ch = p.trail[k];
        int c = ch.col;
        if (stamp[c] == token) continue;
        stamp[c] = token;
        // ch holds the bounds before the first change in this probe.
        if (isint(cm, c) && ch.lb == 0.0 && ch.ub == 1.0) continue;
        if (!(ch.ub - ch.lb > 1e-10)) continue;
        if (p.lb[c] > ch.lb) impladd(it, ch.lb, ch.ub, p.n + i, c, 'L', p.lb[c], 1);
        if (p.ub[c] < ch.ub) impladd(it, ch.lb, ch.ub, p.n + i, c, 'U', p.ub[c], 1);
      }
    }
    propundo(p, mark);
  }
  return 0;
}

}  // namespace

int rootimplications(miprun &r) {
  env *e = r.e;
  mipwork *w = r.w;
  bbstate &bb = *r.bb;
  const int n = r.n;
  if (w->cuts == nullptr) w->cuts = new cutwork();
  cutwork &cw = *w->cuts;
  cutmodelbuild(r.p, w->rc, cw.cm);
  const cutmodel &cm = cw.cm;
  std::vector<double> lb = bb.ns.glb, ub = bb.ns.gub;
  const int probelevel = r.ctl.probe;
  cw.impl = std::make_shared<impltab>();
  impltab &it = *cw.impl;
  implinit(it, n, cm.m);
  implfromrows(cm, lb.data(), ub.data(), it);
  long long nnz = 0;
  for (int i = 0; i < cm.m; ++i) nnz += w->rc.rowend[i] - w->rc.rowbeg[i];
  const double factor = probelevel == 1 ? 100.0 : e->mipparams->p2064;
  cliquesfromrows(cm, lb.data(), ub.data(), static_cast<long long>(nnz * factor), cw.cliques);
  cliquetable &ct = cw.cliques;
  int code = 0;
  if (probelevel > 0) {
    long long work = 0;
    cliqueextend(ct, lb, ub, 10LL * nnz + 100000, &work);
    const double t0 = now(e);
    const long long budget = static_cast<long long>(n) *
                             (probelevel == 1 ? 10000LL : probelevel == 2 ? 100000LL : 1000000LL);
    propagator p;
    propinit(p, cm, &ct, &it, lb.data(), ub.data(), e->params->eprhs);
    probestats st;
    code = probe(r, p, ct, it, budget, static_cast<long long>(nnz * factor) + 10000, st);
    lb.swap(p.lb);
    ub.swap(p.ub);
    cliqueindex(ct, lb.data(), ub.data());
    if (r.ctl.display >= 1) {
      int fixed = 0;
      for (int j = 0; j < n; ++j)
        fixed += cm.ctype && cm.ctype[j] != 'C' && lb[j] == ub[j] && bb.ns.glb[j] != bb.ns.gub[j];
      if (fixed + st.tightened > 0)
        msg(e->reschannel, "Probing fixed %d vars, tightened %d bounds\n", fixed, st.tightened);
      msg(e->reschannel, "Probing time = %7.2f sec.\n", now(e) - t0);
    }
  }
  if (code == 0 && (probelevel == 3 || (probelevel == 0 && n < 100 && ct.cliques.size() < 100))) {
    long long work = 0;
    const double t0 = now(e);
    cliquemerge(ct, lb, ub, static_cast<long long>(n) * 1000000LL, &work);
    if (now(e) - t0 >= 10.0) msg(e->reschannel, "Clique merging time = %7.2f sec.\n", now(e) - t0);
  }
  if (code == 0) cliquefinish(ct, lb, ub, 1000LL * n);
  cliqueindex(ct, lb.data(), ub.data());
  w->cliquecnt = ct.members;
  if (code == 0 && r.ctl.display > 1 && ct.members > 0)
    msg(e->reschannel, "Clique table members: %d\n", ct.members);
  // What moved becomes the global bounds of the search.
  std::vector<int> idx;
  std::vector<char> lu;
  std::vector<double> bd;
  for (int j = 0; j < n; ++j) {
    for (int side = 0; side < 2; ++side) {
      double was = side ? bb.ns.gub[j] : bb.ns.glb[j], v = side ? ub[j] : lb[j];
      if (side ? !(v < was) : !(v > was)) continue;
      if (!isint(cm, j)) {
        // A continuous bound keeps a margin for the row tolerance.
        double m = 1e-7 * (1.0 + std::fabs(v));
        v = side ? std::min(was, v + m) : std::max(was, v - m);
        if (side ? !(v < was) : !(v > was)) continue;
      }
      (side ? bb.ns.gub[j] : bb.ns.glb[j]) = v;
      idx.push_back(j);
      lu.push_back(side ? 'U' : 'L');
      bd.push_back(v);
      if (cutwatch.seen) {
        // Probing rests on the rows alone, not on a cutoff.
        double one = 1.0;
        cutwatch.seen(cutwatch.ctx, 1, &j, &one, side ? 'L' : 'G', v, nullptr, nullptr, 1e74);
      }
    }
  }
  if (!idx.empty()) {
    int st = VLTchgbds(e, r.q, static_cast<int>(idx.size()), idx.data(), lu.data(), bd.data());
    if (st) return st;
  }
  return code;
}

}  // namespace velto
