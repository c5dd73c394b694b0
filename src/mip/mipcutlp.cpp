// The cut loops: the separation dispatcher, the passes at the root with the
// purge of slack cuts, the cut passes at tree nodes, the cut rows of the
// node log and the lines of cuts applied.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "env/files.h"
#include "env/par.h"
#include "mip/mipcliq.h"
#include "mip/mipcuts.h"
#include "mip/mipmir.h"
#include "model/store.h"

namespace velto {

cutwatcher cutwatch;

namespace {

// Mask bits of the dispatcher.
enum : int {
  kMaskCover = 0x1, kMaskGub = 0x2, kMaskClique = 0x8, kMaskFrac = 0x10, kMaskFlow = 0x20,
  kMaskImplBd = 0x100, kMaskLocal = 0x200,
  kMaskLazy = 0x800, kMaskPurged = 0x1000
};

// The node problem's solution and verdict after a solve.
struct cutpoint {
  std::vector<double> x, lb, ub;
  double obj = 1e75;
  int verdict = 1;
};

int numrows(miprun &r) { return VLTgetnumrows(r.e, r.q); }

// x and the bounds of the solved node problem.
void readpoint(miprun &r, cutpoint &pt) {
  const int n = r.n;
  pt.x.assign(std::max(n, 1), 0.0);
  pt.lb.assign(std::max(n, 1), 0.0);
  pt.ub.assign(std::max(n, 1), 0.0);
  if (n > 0) {
    VLTgetx(r.e, r.q, pt.x.data(), 0, n - 1);
    VLTgetlb(r.e, r.q, pt.lb.data(), 0, n - 1);
    VLTgetub(r.e, r.q, pt.ub.data(), 0, n - 1);
  }
}

// Verdict of the solved node problem: 0 integer, 1 infeasible, 2 cut off,
// 4 fractional; refreshes the candidates of the node.
int evaluate(miprun &r, const lpresult &res, double obj, cutpoint &pt) {
  pt.obj = obj;
  if (res.status == 3 || res.status == 4 || (res.status == 6 && res.pfeas != 1)) return pt.verdict = 1;
  if (res.status == 12 || res.status == 22 || !(obj <= r.inc->cutoff)) return pt.verdict = 2;
  readpoint(r, pt);
  const int n = r.n;
  int iinf = fraccount(r.ctype, n, pt.x.data(), pt.lb.data(), pt.ub.data(), r.ctl.epint, r.ctl);
  iinf += sosinfeas(r.p->core->sos, pt.x.data(), pt.lb.data(), pt.ub.data(), r.ctl.epint);
  r.ctl.iinf = iinf;
  r.ctl.nodeobj = obj;
  return pt.verdict = iinf == 0 ? 0 : 4;
}

// Re-solves the node problem and evaluates it.  Returns 0, a status or an
// error.
int resolve(miprun &r, cutpoint &pt) {
  lpresult res;
  int its = 0;
  double obj = 1e75;
  int rc = nodelpsolve(r.e, r.q, r.ctl.objsen, r.inc->cutoff, r.ctl.startsec, r.ctl.tilim,
                       r.ctl.subalg, &res, &its, &obj);
  r.w->itcnt += its;
  if (rc == 3019) {
    r.bb->finalstat = res;
    r.bb->havefinal = true;
  }
  if (rc) return rc;
  evaluate(r, res, obj, pt);
  return 0;
}

// An integer point of the node problem goes to the incumbent store.
int offer(miprun &r, const cutpoint &pt, bool *accepted) {
  *accepted = false;
  if (!(pt.obj < r.inc->cutoff)) return 0;
  int acc = 0;
  int st = incumbent_offer(r.e, r.q, *r.inc, r.ctl.nodenum, pt.obj, &acc);
  *accepted = acc != 0;
  if (acc && r.w->tree) {
    int s = 0;
    treeprune(r.e, r.w->tree, r.inc->cutoff, &s);
  }
  return st;
}

// Lower bounds of the cut families' classes from the parameters.
void takeclasses(env *e, cutwork &cw) {
  const mipparblock *mp = e->mipparams;
  int v[10] = {mp->covers, mp->cliques,  mp->flowcovers, mp->flowpaths, mp->implbd,
               mp->gubcovers, mp->fraccuts, mp->disjcuts, mp->mircuts, mp->localcovers};
  for (int k = 0; k < 10; ++k) {
    cw.cls[k] = v[k];
    if (mp->mipemphasis == 3 && k != kClsDisj && v[k] == 0) cw.cls[k] = 2;
  }
}

// The dispatcher: each family sees min(limit, budget left).
int cutround(miprun &r, cutwork &cw, const cutpoint &pt, int mask, int limit, int budget,
             int counters[kCutTypes], cutstore *local) {
  auto lim = [&] { return std::min(limit, budget); };
  if ((mask & kMaskGub) && budget > 0) {
    int cnt = 0;
    int st = gubround(cw, pt.x.data(), r.bb->ns.glb.data(), r.bb->ns.gub.data(), lim(), &cnt);
    if (st) return st;
    counters[kCutGub] += cnt;
    budget -= cnt;
  }
  if ((mask & (kMaskCover | kMaskLocal)) && budget > 0) {
    int cnt[2] = {0, 0};
    int st = coverround(cw, pt.x.data(), r.bb->ns.glb.data(), r.bb->ns.gub.data(), pt.lb.data(),
                        pt.ub.data(), lim(), (mask & kMaskCover) != 0, (mask & kMaskLocal) != 0,
                        local, cnt);
    // A lifting table past its limit ends the round of covers, not the pass.
    if (st && st != 1) return st;
    counters[kCutCover] += cnt[0];
    counters[kCutLocalCover] += cnt[1];
    budget -= cnt[0] + cnt[1];
  }
  if ((mask & kMaskClique) && budget > 0) {
    int cnt = 0;
    int st = cliqueround(cw, pt.x.data(), lim(), &cnt);
    if (st) return st;
    counters[kCutClique] += cnt;
    budget -= cnt;
  }
  if ((mask & kMaskImplBd) && budget > 0) {
    int cnt = 0;
    // global bounds: the cut goes to the pool of the whole search
    int st = implround(cw, pt.x.data(), r.bb->ns.glb.data(), r.bb->ns.gub.data(), lim(), &cnt);
    if (st) return st;
    counters[kCutImplBd] += cnt;
    budget -= cnt;
  }
  if ((mask & kMaskFlow) && budget > 0) {
    int cnt[2] = {0, 0};
    int st = mirround(cw, r.w->rowclass, pt.x.data(), r.bb->ns.glb.data(), r.bb->ns.gub.data(),
                      lim(), cw.flowmode, r.e->mipparams->aggcutlim, cnt);
    if (st) return st;
    counters[kCutFlow] += cnt[0];
    counters[kCutMir] += cnt[1];
    budget -= cnt[0] + cnt[1];
  }
  if ((mask & kMaskFrac) && budget > 0) {
    int cnt = 0;
    int st = gomoryround(r, cw, cw.cls[kClsFrac], lim(), &cnt);
    if (st) return st;
    counters[kCutFrac] += cnt;
    budget -= cnt;
  }
  if ((mask & kMaskLazy) && budget > 0) {
    int cnt = 0;
    int st = cutseparate(cw.lazypool, pt.x.data(), 0.1, lim(), cw.pool, 0, &cnt);
    if (st) return st;
    counters[kCutLazy] += cnt;
    budget -= cnt;
  }
  if ((mask & kMaskPurged) && budget > 0) {
    int cnt = 0;
    int st = cutseparate(cw.purgepool, pt.x.data(), 0.1, lim(), cw.pool, 0, &cnt);
    if (st) return st;
    counters[kCutPurged] += cnt;
  }
  return 0;
}

// Which of flow covers and MIR cuts a row gets: 0 each row chooses, 1 flow
// covers, 2 MIR, 3 both; from the classes of the two families.
int flowmode(int flow, int mir) {
  if (flow < 0) return 2;
  if (flow == 0) return mir < 0 ? 1 : mir == 0 ? 0 : 2;
  return mir > 0 ? 3 : 1;
}

// Root passes of Gomory cuts for the class.
int gomorypasses(int cls, int fracpass, int baserows, int ncols) {
  if (cls < 0) return 0;
  if (cls == 0) return fracpass != 0 ? fracpass : (10 * baserows > ncols ? 2 : 0);
  return cls == 1 ? 1 : 5;
}

int sum14(const int c[kCutTypes]) {
  int s = 0;
  for (int k = 0; k < kCutTypes; ++k) s += c[k];
  return s;
}

const char *const kLabels[12] = {"Covers", "GUBcuts", "Flowcuts", "Cliques", "Fract", "MIRcuts",
                                 "Flowpaths", "Disjcuts", "Impl Bds", "User", "Table", "Discard"};

// The label text of a cut row from per-type counts.
std::string cutlabel(const int c[kCutTypes]) {
  int nonzero = 0, which = 0, total = 0;
  for (int k = 0; k < kCutTypes; ++k) {
    if (k == 12) continue;
    if (c[k] != 0) ++nonzero, which = k;
    total += c[k];
  }
  char b[64];
  if (nonzero <= 1 && which < 12) std::snprintf(b, sizeof b, "%s:  %d", kLabels[which], c[which]);
  else std::snprintf(b, sizeof b, "   Cuts:  %d", total);
  return b;
}

// A cut row during the root loop, in the columns of the node row.
void rootcutrow(miprun &r, const int c[kCutTypes]) {
  env *e = r.e;
  char objcol[64], bestint[64], bestnode[64], gap[32];
  logcolumns(r, ' ', 4, objcol, bestint, bestnode, gap);
  double it = static_cast<double>(r.w->itcnt);
  std::string label = cutlabel(c);
  msg(e->reschannel, it >= 1e9 ? "%c%12s%s%s%14s%9g" : "%c%12s%s%s%14s%9.0f", ' ', "", objcol,
      bestint, label.c_str(), it);
  msg(e->reschannel, "%s\n", gap);
}

// Reduced-cost fixing of the global bounds at the root; each fixing goes to
// the node problem.
int rootrcfix(miprun &r, double obj) {
  bbstate &bb = *r.bb;
  if (!(r.inc->cutoff < 1e74)) return 0;
  int st = rcfix_root(r.e, r.q, r.ctype, r.ctl.objsen, obj, bb.rcf);
  if (st) return st;
  std::vector<double> lo = bb.ns.glb, hi = bb.ns.gub;
  if (rcfix_apply(bb.rcf, r.ctype, r.inc->cutoff, bb.ns.glb, bb.ns.gub) == 0) return 0;
  std::vector<int> idx;
  std::vector<char> lu;
  std::vector<double> bd;
  for (int j = 0; j < r.n; ++j) {
    for (int side = 0; side < 2; ++side) {
      double was = side ? hi[j] : lo[j], now = side ? bb.ns.gub[j] : bb.ns.glb[j];
      if (was == now) continue;
      idx.push_back(j);
      lu.push_back(side ? 'U' : 'L');
      bd.push_back(now);
      if (cutwatch.seen) {
        double one = 1.0;
        cutwatch.seen(cutwatch.ctx, 1, &j, &one, side ? 'L' : 'G', now, nullptr, nullptr,
                      r.inc->cutoff);
      }
    }
  }
  return VLTchgbds(r.e, r.q, static_cast<int>(idx.size()), idx.data(), lu.data(), bd.data());
}

// The cut state of a run, made at the first root.
int cutsetup(miprun &r) {
  mipwork *w = r.w;
  if (w->cuts != nullptr && w->cuts->scanned) return 0;
  if (w->cuts == nullptr) w->cuts = new cutwork();
  cutwork *cw = w->cuts;
  cw->scanned = true;
  env *e = r.e;
  takeclasses(e, *cw);
  cw->baserows = numrows(r);
  cw->maxcuts = static_cast<int>(std::llround(cw->baserows * e->mipparams->cutsfactor));
  cutsetinit(cw->pool, cw->baserows, 1, 1);
  cutsetinit(cw->localpool, cw->baserows, 0, 1);
  if (!cw->cliques.built) cutmodelbuild(r.p, w->rc, cw->cm);
  if (w->rowclass.empty()) rowclassbuild(r.p, w->rowclass);
  const double *glb = r.bb->ns.glb.data(), *gub = r.bb->ns.gub.data();
  if (cw->cls[kClsCover] >= 0 || cw->cls[kClsLocalCover] >= 0) {
    if (coverscan(*cw, glb, gub) == 0) cw->cls[kClsCover] = cw->cls[kClsLocalCover] = -1;
  }
  if (cw->cls[kClsGub] >= 0) {
    if (!cw->cliques.built) cliquesfromrows(cw->cm, glb, gub, 1000LL * std::max(r.n, 1), cw->cliques);
    if (gubscan(*cw, glb, gub) == 0) cw->cls[kClsGub] = -1;
  }
  return 0;
}

// After the root: the node problem's row count is the run's, and the packed
// form of nodes takes it.
void takerows(miprun &r) {
  int m = numrows(r);
  if (m == r.m && r.bb->layout.nrows == m) return;
  r.m = m;
  std::vector<char> sense(std::max(m, 1), 'L');
  if (m > 0) VLTgetsense(r.e, r.q, sense.data(), 0, m - 1);
  packlayout_build(r.ctype, r.n, m, sense.data(), r.bb->ns.glb.data(), r.bb->ns.gub.data(),
                   r.bb->layout);
}

// Drops slack cuts from the node problem after the root loop.
int purge(miprun &r, cutwork &cw, bool *dropped) {
  *dropped = false;
  int m = numrows(r);
  if (m <= cw.baserows) return 0;
  std::vector<double> slack(m);
  int st = VLTgetslack(r.e, r.q, slack.data(), 0, m - 1);
  if (st) return 0;  // no basic solution: nothing to purge
  for (int i = m - 1; i >= cw.baserows; --i) {
    int pos = i - cw.baserows;
    if (pos >= static_cast<int>(cw.pool.ids.size())) continue;
    int id = cw.pool.ids[pos];
    const cutrec &c = cw.pool.master.recs[id];
    if (c.type == kCutUser || !(slack[i] > 1e-5)) continue;
    if ((st = VLTdelrows(r.e, r.q, i, i)) != 0) return st;
    --cw.pool.typecount[static_cast<int>(c.type)];
    if (c.type != kCutImplBd) {
      int found = 0, pid = 0;
      st = cutstoreadd(cw.purgepool, c.type, c.sense, c.rhs, c.nnz, cw.pool.master.indof(id),
                       cw.pool.master.valof(id), &found, &pid, 1);
      if (st) return st;
    }
    cw.pool.ids.erase(cw.pool.ids.begin() + pos);
    *dropped = true;
  }
  return 0;
}

}  // namespace

int rootcutloop(miprun &r, bbnode *root) {
  env *e = r.e;
  mipwork *w = r.w;
  mipctl &ctl = r.ctl;
  int st = cutsetup(r);
  if (st) return st;
  cutwork &cw = *w->cuts;
  const mipparblock *mp = e->mipparams;
  bool any = false;
  for (int k = 0; k < 10; ++k) any = any || (k == kClsDisj ? cw.cls[k] > 0 : cw.cls[k] >= 0);
  if (mp->cutpass == -1 || (!any && cw.lazypool.count() == 0)) {
    takerows(r);
    return 0;
  }
  cutsetinit(cw.localpool, cw.baserows, 0, 1);
  for (int t = 0; t < cw.pool.nthreads; ++t) {
    cw.pool.fresh[t].clear();
    cw.pool.pending[t].clear();
    cw.pool.pendingids[t].clear();
  }
  int mask = 0;
  if (cw.cls[kClsGub] >= 0) mask |= kMaskGub;
  if (cw.cls[kClsCover] >= 0) mask |= kMaskCover;
  if (cw.cls[kClsClique] >= 0) mask |= kMaskClique;
  if (cw.cls[kClsImplBd] >= 0) mask |= kMaskImplBd;
  if (cw.cls[kClsFlow] >= 0 || cw.cls[kClsMir] >= 0) mask |= kMaskFlow;
  if (cw.purgepool.count() > 0) mask |= kMaskPurged;
  if (cw.lazypool.count() > 0) mask |= kMaskLazy;
  cw.flowmode = flowmode(cw.cls[kClsFlow], cw.cls[kClsMir]);
  int fracpasses = gomorypasses(cw.cls[kClsFrac], mp->fracpass, cw.baserows, r.n);
  const int maxpass = mp->cutpass != 0 ? mp->cutpass : (ctl.emphasis == 1 ? 3 : 2100000000);
  int lastcuts = 0, pass = 0;
  int counters[kCutTypes] = {};
  cutpoint pt;
  int code = 0;
  int oldiinf = root->iinf;
  double oldobj = root->bound;
  for (;;) {
    if ((code = miplimits(r)) != 0) break;
    if (r.inc->cutoff < root->bound) {
      pt.verdict = 2;
      ctl.nodeobj = root->bound;
      break;
    }
    if ((code = resolve(r, pt)) != 0) break;
    if (pass >= 1 && pt.verdict == 4) {
      if ((code = rootrcfix(r, pt.obj)) != 0) break;
    }
    bool keep = false;
    if (pt.verdict == 4) {
      double rise = pt.obj - oldobj;
      keep = (std::fabs(oldobj) + std::fabs(pt.obj)) * 1e-5 < rise || oldiinf > ctl.iinf ||
             mp->cutpass > 0;
      keep = keep || ((cw.cls[kClsFrac] >= 1 || mp->fracpass >= 1) && counters[kCutFrac] > 0 &&
                      fracpasses > 0);
    }
    if (lastcuts > 0 && !keep) mask = fracpasses = 0;
    bool newinc = false;
    if (pt.verdict == 0 && (code = offer(r, pt, &newinc)) != 0) break;
    if (pt.verdict == 4 || (pt.verdict == 0 && !newinc))
      w->bestnodeobj = std::min(w->tree ? w->tree->bestbound : 1e75, pt.obj);
    if (ctl.display > 1) {
      if (pass == 0) {
        ctl.nodenum = w->nodecnt;
        logrow(r, ' ', ' ', 1, pt.verdict, root, w->itcnt);
      } else if (lastcuts > 0 && ctl.display > 2) {
        rootcutrow(r, counters);
      }
    }
    if ((pt.verdict != 4 && pt.verdict != 0) || (pt.verdict == 0 && newinc)) break;
    if (pass >= maxpass) break;
    std::fill(counters, counters + kCutTypes, 0);
    root->bound = std::max(root->bound, pt.obj);
    oldobj = pt.obj;
    oldiinf = ctl.iinf;
    if (pt.verdict == 4 && (mask != 0 || fracpasses > 0)) {
      int budget = cw.maxcuts - numrows(r);
      if ((code = cutround(r, cw, pt, mask, 500, budget, counters, nullptr)) != 0) break;
      for (int k = 0; k < kCutTypes; ++k) budget -= counters[k];
      if (fracpasses > 0 && counters[kCutDisj] == 0) {
        if ((code = cutround(r, cw, pt, kMaskFrac, mp->fraccand, budget, counters, nullptr)) != 0)
          break;
        --fracpasses;
      }
      if ((code = cutsetmerge(cw.pool, 0, &cw.cutmark, nullptr)) != 0) break;
      bool names = r.q->core->rowname != nullptr;
      if ((code = cutsetapply(e, r.q, cw.pool, 0, names)) != 0) break;
    }
    lastcuts = sum14(counters);
    if (lastcuts == 0) break;
    ++pass;
  }
  if (code == 0 && pt.verdict == 4) {
    bool dropped = false;
    code = purge(r, cw, &dropped);
    if (code == 0 && dropped) code = resolve(r, pt);
    cw.cutmark = static_cast<int>(cw.pool.ids.size());
  }
  takerows(r);
  if (code) return code;
  bool added = false;
  for (int k = 0; k < kCutTypes; ++k) added = added || cw.pool.typecount[k] != 0;
  if (pt.verdict == 4) {
    root->bound = std::max(root->bound, pt.obj);
    root->iinf = ctl.iinf;
    root->rowcnt = r.m;
    if (added) {
      r.bb->rootiinf = ctl.iinf;
      r.bb->rootsuminf = ctl.suminf;
      r.bb->rootobj = pt.obj;
      r.bb->rootit = w->itcnt;
    }
  }
  // Automatic families that found nothing are not tried in the tree, and
  // a parameter of 1 means the root only.
  struct {
    int cls, type, par;
  } fam[] = {{kClsGub, kCutGub, mp->gubcovers},     {kClsCover, kCutCover, mp->covers},
             {kClsLocalCover, kCutLocalCover, mp->localcovers},
             {kClsClique, kCutClique, mp->cliques},   {kClsImplBd, kCutImplBd, mp->implbd},
             {kClsFlow, kCutFlow, mp->flowcovers},  {kClsMir, kCutMir, mp->mircuts}};
  for (auto &f : fam)
    if (cw.pool.typecount[f.type] == 0 && f.par == 0) cw.cls[f.cls] = -1;
  for (auto &f : fam)
    if (f.par == 1) cw.cls[f.cls] = -1;
  for (int k = 0; k < kCutTypes; ++k) cw.applied[k] = cw.pool.typecount[k];
  w->coverapplied = cw.applied[kCutCover];
  w->cliqueapplied = cw.applied[kCutClique];
  return 0;
}

int nodecutloop(miprun &r, bbnode *node) {
  mipwork *w = r.w;
  cutwork *cwp = w->cuts;
  if (cwp == nullptr) return 0;
  cutwork &cw = *cwp;
  mipctl &ctl = r.ctl;
  // Families separate only at nodes that come out of the tree (the start
  // of a dive).
  bool fromtree = r.dive.dives != cw.lastdives && ctl.nodenum != 0;
  cw.lastdives = r.dive.dives;
  if (!fromtree) return 0;
  int mask = 0;
  if (cw.cls[kClsGub] > 1) mask |= kMaskGub;
  if (!(cw.cls[kClsCover] < 0 && cw.cls[kClsLocalCover] <= 1)) mask |= kMaskCover;
  if (cw.cls[kClsClique] > 1) mask |= kMaskClique;
  if (cw.cls[kClsImplBd] >= 0) mask |= kMaskImplBd;
  if (!(cw.cls[kClsFlow] < 2 && cw.cls[kClsMir] <= 1)) mask |= kMaskFlow;
  cw.flowmode = cw.cls[kClsFlow] == 2 ? (cw.cls[kClsMir] == 2 ? 3 : 1) : 2;
  if (cw.purgepool.count() > 0) mask |= kMaskPurged;
  if (cw.lazypool.count() > 0) mask |= kMaskLazy;
  if (mask == 0) return 0;
  cutpoint pt;
  pt.verdict = 4;
  pt.obj = ctl.nodeobj;
  readpoint(r, pt);
  double oldobj = -1e75;
  int counters[kCutTypes] = {};
  cutstore local;
  local.hashed = false;
  std::vector<int> localidx;
  int code = 0;
  while (pt.verdict == 4) {
    int budget = cw.maxcuts - numrows(r);
    if ((std::fabs(oldobj) + std::fabs(pt.obj)) * 1e-5 >= pt.obj - oldobj) {
      for (int k = 0; k < kCutTypes; ++k)
        if (counters[k] != 0) mask ^= 1 << k;
      if (counters[kCutFlow] != 0 || counters[kCutMir] != 0) mask ^= 1 << 5;
    }
    std::fill(counters, counters + kCutTypes, 0);
    int last = -1;
    for (int k = 0; k < kCutTypes; ++k) {
      if ((last >= 0 && counters[last] != 0) || counters[kCutLocalCover] != 0) break;
      if (!(mask & (1 << k))) continue;
      int m = 1 << k;
      if (k == 0) m = (cw.cls[kClsCover] >= 0 ? kMaskCover : 0) |
                      (cw.cls[kClsLocalCover] > 1 ? kMaskLocal : 0);
      if (m == 0) continue;
      last = k;
      if ((code = cutround(r, cw, pt, m, 500, budget, counters, &local)) != 0) break;
    }
    if (code) break;
    bool global = last >= 0 && counters[last] != 0;
    if (!global && counters[kCutLocalCover] == 0) break;
    if (global) {
      if ((code = cutsetmerge(cw.pool, 0, &cw.cutmark, nullptr)) != 0) break;
      bool names = r.q->core->rowname != nullptr;
      if ((code = cutsetapply(r.e, r.q, cw.pool, 0, names)) != 0) break;
    }
    if (counters[kCutLocalCover] != 0) {
      // Local covers hold under this node's bounds: they tighten its
      // relaxation and leave the node problem with it.
      for (int k = 0; k < local.count(); ++k) {
        const cutrec &c = local.recs[k];
        int beg = 0;
        char sense = c.sense;
        double rhs = c.rhs;
        if (cutwatch.seen)
          cutwatch.seen(cutwatch.ctx, c.nnz, local.indof(k), local.valof(k), sense, rhs,
                        pt.lb.data(), pt.ub.data(), 1e75);
        localidx.push_back(numrows(r));
        if ((code = VLTaddrows(r.e, r.q, 0, 1, c.nnz, &rhs, &sense, &beg, local.indof(k),
                               local.valof(k), nullptr, nullptr)) != 0)
          break;
        ++cw.localapplied;
      }
      local.clear();
      if (code) break;
    }
    oldobj = pt.obj;
    node->dir = 'N';
    ++cw.nodepasses;
    if ((code = resolve(r, pt)) != 0) break;
    if (pt.verdict == 0) {
      bool acc = false;
      if ((code = offer(r, pt, &acc)) != 0) break;
    }
  }
  // Local rows leave from the highest down (global rows added later sit
  // behind them and move up into place).
  const double withlocal = pt.obj;
  for (int k = static_cast<int>(localidx.size()) - 1; k >= 0 && code == 0; --k)
    code = VLTdelrows(r.e, r.q, localidx[k], localidx[k]);
  // The branch reads the node problem's solution: solve it again without
  // them; the node keeps the bound they proved.
  if (!localidx.empty() && code == 0 && pt.verdict == 4) {
    code = resolve(r, pt);
    pt.obj = std::max(pt.obj, withlocal);
  }
  for (int k = 0; k < kCutTypes; ++k) cw.applied[k] = cw.pool.typecount[k];
  w->coverapplied = cw.applied[kCutCover];
  w->cliqueapplied = cw.applied[kCutClique];
  if (code) return code;
  if (pt.verdict != 4) {
    // Nothing left to branch on at this node.
    ctl.nfrac = 0;
    ctl.iinf = 0;
  }
  ctl.nodeobj = std::max(ctl.nodeobj, pt.obj);
  return 0;
}

void cutsummary(env *e, const mipwork *w) {
  const mipparblock *mp = e->mipparams;
  const cutwork *cw = w ? w->cuts : nullptr;
  auto cnt = [&](int type) {
    if (cw == nullptr) return 0;
    return type == kCutLocalCover ? cw->localapplied : cw->applied[type];
  };
  struct line {
    const char *fmt;
    int par, type;
  } lines[] = {{"GUB cover cuts applied:  %d\n", mp->gubcovers, kCutGub},
               {"Clique cuts applied:  %d\n", mp->cliques, kCutClique},
               {"Cover cuts applied:  %d\n", mp->covers, kCutCover},
               {"Local cover cuts applied:  %d\n", mp->localcovers, kCutLocalCover},
               {"Implied bound cuts applied:  %d\n", mp->implbd, kCutImplBd},
               {"Flow cuts applied:  %d\n", mp->flowcovers, kCutFlow},
               {"Mixed integer rounding cuts applied:  %d\n", mp->mircuts, kCutMir},
               {"Flow path cuts applied:  %d\n", mp->flowpaths, kCutFlowPath},
               {"Gomory fractional cuts applied: %d\n", mp->fraccuts, kCutFrac},
               {"Disjunctive cuts applied: %d\n", mp->disjcuts, kCutDisj},
               {"User cuts applied: %d\n", 0, kCutUser},
               {"Lazy constraints applied: %d\n", 0, kCutLazy}};
  bool first = true;
  for (const line &l : lines) {
    int c = cnt(l.type);
    if (c == 0 && l.par < 1) continue;
    if (first) msg(e->reschannel, "\n");
    first = false;
    msg(e->reschannel, l.fmt, c);
  }
}

}  // namespace velto
