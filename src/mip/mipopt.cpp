// The mixed-integer optimizer: VLTmipopt, the run around the search, the
// root node and the rule that turns the way a run ended into its status.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <numeric>

#include "env/error.h"
#include "env/files.h"
#include "env/par.h"
#include "mip/mipbb.h"
#include "mip/mipcliq.h"
#include "mip/mipheur.h"
#include "model/store.h"

namespace velto {

namespace {

// Parameters that a run changes and gives back on every way out.
struct savedparams {
  env *e;
  int simdisplay, netdisplay, bardisplay, siftdisplay, advind, dpriind, preind, aggind, predisp;
  int relaxpreind, p2038, baralg, p1017, basinterval, xxxind;
  double objulim, objllim, eprhs;
  explicit savedparams(env *en) : e(en) {
    parblock *pb = e->params;
    simdisplay = pb->simdisplay, netdisplay = e->netparams->netdisplay;
    bardisplay = e->barparams->bardisplay, siftdisplay = pb->siftdisplay;
    advind = pb->advind, dpriind = pb->dpriind, preind = pb->preind, aggind = pb->aggind;
    predisp = pb->predisp, relaxpreind = e->mipparams->relaxpreind, p2038 = e->mipparams->p2038;
    baralg = e->barparams->baralg, p1017 = pb->p1017, basinterval = pb->basinterval;
    xxxind = pb->xxxind, objulim = pb->objulim, objllim = pb->objllim, eprhs = pb->eprhs;
  }
  ~savedparams() {
    parblock *pb = e->params;
    pb->simdisplay = simdisplay, e->netparams->netdisplay = netdisplay;
    e->barparams->bardisplay = bardisplay, pb->siftdisplay = siftdisplay;
    pb->advind = advind, pb->dpriind = dpriind, pb->preind = preind, pb->aggind = aggind;
    pb->predisp = predisp, e->mipparams->relaxpreind = relaxpreind, e->mipparams->p2038 = p2038;
    e->barparams->baralg = baralg, pb->p1017 = p1017, pb->basinterval = basinterval;
    pb->xxxind = xxxind, pb->objulim = objulim, pb->objllim = objllim, pb->eprhs = eprhs;
  }
};

void quietlp(env *e) {
  e->params->simdisplay = 0;
  e->netparams->netdisplay = 0;
  e->barparams->bardisplay = 0;
  e->params->siftdisplay = 0;
}

// The control record of a run, with the resolutions of the defaults.
void buildctl(env *e, lp *p, mipctl &c) {
  const mipparblock *mp = e->mipparams;
  c = mipctl();
  c.brdir = mp->brdir;
  c.heurfreq = mp->heurfreq;
  c.display = mp->mipdisplay;
  c.interval = c.display == 5 ? 1 : std::max(1, mp->mipinterval);
  c.nodelim = mp->nodelim;
  c.ordind = mp->mipordind;
  c.intsollim = mp->intsollim;
  c.subalg = mp->subalg;
  c.startalg = mp->startalg;
  c.nodesel = mp->nodesel;
  c.varsel = mp->varsel;
  c.strongitlim = mp->strongitlim;
  c.probe = mp->probe;
  c.dpriind = e->params->dpriind;
  c.emphasis = mp->mipemphasis;
  c.tilim = e->params->tilim;
  c.epagap = mp->epagap;
  c.epgap = mp->epgap;
  c.epint = mp->epint;
  c.bttol = mp->bttol;
  c.objsen = p->core->objsen;
  if (c.varsel == 0) {
    bool allzero = true;
    for (int j = 0; j < p->core->numcols && allzero; ++j) allzero = p->core->obj[j] == 0.0;
    c.varsel = allzero ? 1 : 2;
  }
  const bool btdefault = c.bttol == 0.9999;
  if (c.emphasis == 1) {
    if (mp->varsel == 0 && c.varsel == 2) c.varsel = 4;
    if (c.nodesel == 1) c.nodesel = 2;
    if (btdefault) c.bttol = 1.0;
  } else if (c.emphasis == 2) {
    if (btdefault) c.bttol = 0.01;
    if (c.strongitlim == 0) c.strongitlim = 100;
  } else if (c.emphasis == 3) {
    if (btdefault) c.bttol = 0.0;
    if (c.strongitlim == 0) c.strongitlim = 100000;
    if (c.probe == 0) c.probe = 3;
  }
}

// Priorities and directions of the order in force.
void takeorder(const lp *p, mipctl &c) {
  c.priority.clear();
  c.branchdir.clear();
  const orderdata *o = p->mip ? p->mip->order : nullptr;
  if (c.ordind == 0 || o == nullptr || o->count == 0) return;
  int n = p->core->numcols;
  c.priority.assign(n, 0);
  c.branchdir.assign(n, 0);
  for (int k = 0; k < o->count; ++k) {
    int j = o->ind[k];
    if (j < 0 || j >= n) continue;
    if (!o->priority.empty()) c.priority[j] = o->priority[k];
    if (!o->direction.empty()) c.branchdir[j] = o->direction[k] == 1 ? 1 : (o->direction[k] ? -1 : 0);
  }
  if (o->priority.empty()) c.priority.clear();
}

// The objective step of integer solutions (0 when there is none).
double objincrement(const lp *p) {
  const lpcore *c = p->core;
  if (c->ctype == nullptr) return 0.0;
  double off = c->objoffset;
  if (std::fabs(off - std::round(off)) > 1e-10) return 0.0;
  long long g = 0;
  for (int j = 0; j < c->numcols; ++j) {
    double v = c->obj[j];
    if (std::fabs(v) <= 1e-10) continue;
    if (c->ctype[j] == 'C' || c->ctype[j] == 'S') return 0.0;
    double h = v * 100.0;
    if (std::fabs(h - std::round(h)) > 1e-8 || std::fabs(h) > 1e15) return 0.0;
    g = std::gcd(g, std::llabs(std::llround(h)));
  }
  return g >= 100 ? static_cast<double>(g) * 0.01 : 0.0;
}

const char *rootstatustext(int s) {
  switch (s) {
    case 1100: return "contradictory bounds";
    case 1101: return "presolve infeasible or unbounded";
    case 1117: return "presolve infeasible";
    case 1118: return "presolve unbounded";
    default: {
      const char *t = stattext(s);
      return t ? t : "";
    }
  }
}

// Everything up to the first node.  Returns 0 with *root the node to
// search from, or a code (status 101..119 or an error).
int miproot(miprun &r, bool restart, bbnode **root) {
  env *e = r.e;
  lp *p = r.p;
  mipwork *w = r.w;
  bbstate &bb = *r.bb;
  mipctl &ctl = r.ctl;
  *root = nullptr;
  const int n = r.n;
  if (w->rc.rows < 0) rowcopybuild(p, w->rc);
  if (!restart) {
    // Working global bounds, integer ones rounded inward.
    bb.ns.glb.assign(n, 0.0);
    bb.ns.gub.assign(n, 0.0);
    if (n > 0) {
      getlb_u(p, bb.ns.glb.data(), 0, n - 1);
      getub_u(p, bb.ns.gub.data(), 0, n - 1);
    }
    for (int j = 0; j < n; ++j) {
      char t = r.ctype[j];
      double &lo = bb.ns.glb[j], &hi = bb.ns.gub[j];
      if (t == 'B' && hi - lo >= 1e-10) lo = std::max(lo, 0.0), hi = std::min(hi, 1.0);
      if (t == 'B' || t == 'I') {
        if (lo > -kInfThreshold) lo = std::ceil(lo - ctl.epint);
        if (hi < kInfThreshold) hi = std::floor(hi + ctl.epint);
      }
    }
    if (p->core->sos && sosreduce(*p->core->sos, bb.ns.glb, bb.ns.gub) == 103) return 103;
    if (p->mip->nodelp == nullptr) {
      lp *q = nullptr;
      int st = nodelp_make(e, p, &q);
      if (st) return st;
      p->mip->nodelp = q;
      p->mip->envp = e;
    }
    r.q = bb.ns.nodelp = p->mip->nodelp;
    bb.ns.actidx.clear(), bb.ns.actsense.clear(), bb.ns.actval.clear();
    if (n > 0) {
      std::vector<int> idx(n);
      std::iota(idx.begin(), idx.end(), 0);
      std::vector<char> lo(n, 'L'), hi(n, 'U');
      int st = VLTchgbds(e, r.q, n, idx.data(), lo.data(), bb.ns.glb.data());
      if (!st) st = VLTchgbds(e, r.q, n, idx.data(), hi.data(), bb.ns.gub.data());
      if (st) return st;
    }
    // A solution from MIP start values stays as the first incumbent.
    incumbent *start = w->inc != nullptr && w->inc->solnseq >= 0 ? w->inc : nullptr;
    w->inc = new incumbent();
    incumbent_init(e, ctl.objsen, n, *w->inc);
    if (start != nullptr) {
      incumbent &s = *w->inc;
      s.solnseq = start->solnseq, s.havex = start->havex, s.bestobj = start->bestobj;
      s.x.swap(start->x), s.colstat.swap(start->colstat), s.rowstat.swap(start->rowstat);
      s.solcnt = start->solcnt;
      s.cutoff = std::min(s.cutoff, cutoff_from_obj(s, s.bestobj));
    }
    delete start;
    r.inc = w->inc;
  } else {
    r.q = bb.ns.nodelp = p->mip->nodelp;
    r.inc = w->inc;
    r.inc->solcnt = 0;
  }
  // Pricing of the node re-solves when the run leaves it to the library:
  // steepest edge on wide models, else steepest edge from unit norms, which
  // costs nothing when a node brings a basis of its own.
  if (ctl.dpriind == 0) {
    if (10LL * r.m < n) {
      ctl.dpriind = e->params->dpriind = 2;
      if (ctl.display > 0 && ctl.subalg != 4) msg(e->reschannel, "Dual steepest-edge pricing selected.\n");
    } else {
      e->params->dpriind = 4;
    }
  }
  // The implication store, the clique table and probing.
  if (!restart) {
    int st = rootimplications(r);
    if (st) return st;
  }
  if (ctl.display != 0) {
    const char *em = ctl.emphasis == 2   ? "MIP emphasis: optimality\n"
                     : ctl.emphasis == 1 ? "MIP emphasis: integer feasibility\n"
                     : ctl.emphasis == 3 ? "MIP emphasis: best bound\n"
                                         : "MIP emphasis: balance optimality and feasibility\n";
    msg(e->reschannel, "%s", em);
  }
  if (!restart) {
    // Root relaxation.
    double t0 = now(e);
    lpresult res;
    int its = 0;
    double obj = 1e75;
    if (ctl.display >= 4) e->params->simdisplay = 1;
    int rc = nodelpsolve(e, r.q, ctl.objsen, r.inc->cutoff, ctl.startsec, ctl.tilim, ctl.startalg,
                         &res, &its, &obj);
    if (ctl.display < 4) quietlp(e);
    if (ctl.display > 1) msg(e->reschannel, "Root relaxation solution time = %7.2f sec.\n", now(e) - t0);
    w->itcnt += its;
    if (rc == 108 || rc == 114) return rc;
    if (rc != 0 && rc != 3019) return rc;
    bool optimal = rc == 0 && (res.status == 1 || res.status == 5);
    if (!optimal) {
      bb.finalstat = res;
      bb.havefinal = true;
      if (ctl.display > 1) {
        logheader(r);
        msg(e->reschannel, "%7d%6d     %-45s %6d\n", 0, 0, rootstatustext(res.status), its);
      }
      bool unbounded = res.status == 2 || res.status == 4 || res.status == 20;
      bool cutoff = res.status == 12 || res.status == 22;
      bool infeas = res.status == 3;
      if (unbounded) return 3019;
      if (cutoff || infeas) return r.inc->solnseq >= 0 ? 101 : 103;
      return 3019;
    }
    rcfix_root(e, r.q, r.ctype, ctl.objsen, obj, bb.rcf);
    bb.rootobj = obj;
    w->bestnodeobj = obj;
    bb.rootit = w->itcnt;
    if (r.inc->solnseq >= 0) {
      // the incumbent of the start values, before node 1
      ctl.nodenum = 0;
      logincumbent(r, ' ', 1, 0, nullptr, w->itcnt);
    }
    std::vector<double> x(std::max(n, 1)), lb(std::max(n, 1)), ub(std::max(n, 1));
    if (n > 0) {
      VLTgetx(e, r.q, x.data(), 0, n - 1);
      VLTgetlb(e, r.q, lb.data(), 0, n - 1);
      VLTgetub(e, r.q, ub.data(), 0, n - 1);
    }
    int iinf = fraccount(r.ctype, n, x.data(), lb.data(), ub.data(), ctl.epint, ctl);
    iinf += sosinfeas(p->core->sos, x.data(), lb.data(), ub.data(), ctl.epint);
    bb.rootiinf = iinf;
    bb.rootsuminf = ctl.suminf;
    // Root rounding: always at 1, never at -1, and at 0 when more than 40%
    // of the fractional integer columns are within 0.1 of an integer.
    const int rr = e->mipparams->p2011;
    int near = 0;
    for (int k = 0; k < ctl.nfrac; ++k) near += ctl.fracval[k] < 0.1 || ctl.fracval[k] > 0.9;
    r.rootround = rr == 1 || (rr == 0 && ctl.nfrac > 0 && near > 0.4 * ctl.nfrac);
    auto *nd = new bbnode();
    nd->bound = nd->baseobj = obj;
    nd->estinc = 1e37;
    nd->iinf = iinf;
    nd->suminf = ctl.suminf;
    nd->rowcnt = r.m;
    nd->id = 0;
    nd->dir = 'N';
    w->nodeleft = 1;
    bb.nextid = 1;
    if (iinf == 0) {
      int acc = 0;
      int st = incumbent_offer(e, r.q, *r.inc, 0, obj, &acc);
      if (st) {
        delete nd;
        return st;
      }
      if (acc) {
        delete nd;
        w->nodeleft = 0;
        w->bestnodeobj = obj;
        if (ctl.display > 1) {
          ctl.nodenum = 0;
          logrow(r, '*', ' ', 0, 0, nullptr, w->itcnt);
        }
        return 101;
      }
    }
    r.inc->increment = objincrement(p);
    // an incumbent of start values takes the cutoff that the step implies
    if (r.inc->solnseq >= 0) r.inc->cutoff = std::min(r.inc->cutoff, cutoff_from_obj(*r.inc, r.inc->bestobj));
    *root = nd;
    // Degradation estimates.
    double co = r.inc->cutoff;
    if (co < 1e74 && bb.rootiinf > 0) {
      double d = std::fabs(co - bb.rootobj);
      bb.degperinf = d / std::max(bb.rootsuminf, 1e-10);
      bb.degperiinf = d / bb.rootiinf;
      bb.targetobj = co;
    } else if (bb.rootiinf > 0) {
      double d = 0.25 * std::fabs(bb.rootobj);
      bb.degperinf = d / std::max(bb.rootsuminf, 1e-10);
      bb.targetobj = bb.rootobj + d;
    }
    bb.pccount.assign(n, 0);
    bb.pcdown.assign(n, 0.01);
    bb.pcup.assign(n, 0.01);
    packlayout_build(r.ctype, n, r.m, p->core->sense, bb.ns.glb.data(), bb.ns.gub.data(),
                     bb.layout);
  } else {
    if (r.inc->solnseq >= 0) r.inc->cutoff = std::min(r.inc->cutoff, cutoff_from_obj(*r.inc, r.inc->bestobj));
  }
  double cut = ctl.objsen > 0 ? e->mipparams->cutup : -e->mipparams->cutlo;
  incumbent_tighten(*r.inc, cut);
  return 0;
}

int mipsolve(env *e, lp *p) {
  p->lpstat = 0;
  mipwork *w = p->mip->work;
  if (w->bb == nullptr) w->bb = new bbstate();
  bbstate &bb = *w->bb;
  const bool restart = bb.rootiinf >= 0;
  savedparams saved(e);
  const mipparblock *mp = e->mipparams;
  if (mp->mipdisplay < 4) quietlp(e);
  e->params->p1017 = 2;
  e->params->basinterval = 2099999999;
  e->params->xxxind = 0;
  if (e->params->eprhs > mp->epint) {
    msg(e->warnchannel, "Warning, resetting feasibility/rhs tolerance (%g)\n", e->params->eprhs);
    msg(e->warnchannel, "to be smaller than integer tolerance (%g).\n", mp->epint);
    e->params->eprhs = std::max(0.5 * mp->epint, 1e-9);
  }
  if (e->params->preind == 0) e->mipparams->p2038 = 0;
  // The node problem is solved without LP presolve: its bounds change at
  // every node and the basis carries over.
  e->params->preind = 0;
  e->params->aggind = 0;
  const lpcore *core = p->core;
  const int n = core->numcols;
  // Binaries with bounds other than 0 and 1.
  {
    std::vector<double> lb(std::max(n, 1)), ub(std::max(n, 1));
    if (n > 0) getlb_u(p, lb.data(), 0, n - 1), getub_u(p, ub.data(), 0, n - 1);
    int bad = 0;
    for (int j = 0; j < n; ++j) {
      if (core->ctype[j] != 'B') continue;
      bool fixed01 = ub[j] - lb[j] < 1e-10 && (lb[j] == 0.0 || lb[j] == 1.0);
      if (fixed01 || (lb[j] == 0.0 && ub[j] == 1.0)) continue;
      if (++bad <= 5)
        msg(e->warnchannel, "Warning: Binary variable '%.255s' has bounds other than 0 and 1.\n",
            colnameof(e, core->colname, n, j));
    }
    if (bad > 5) msg(e->warnchannel, "%d binary variable bound warnings not printed.\n", bad - 5);
  }
  miprun r;
  r.e = e, r.p = p, r.w = w, r.bb = &bb, r.ctype = core->ctype, r.n = n, r.m = core->numrows;
  buildctl(e, p, r.ctl);
  takeorder(p, r.ctl);
  mipctl &ctl = r.ctl;
  ctl.startsec = now(e);
  bb.startsec = ctl.startsec;
  bbnode *first = nullptr;
  int code = miproot(r, restart, &first);
  // Cuts of an earlier call stand in the node problem.
  if (code == 0 && r.q != nullptr) r.m = VLTgetnumrows(e, r.q);
  if (code == 0) {
    if (mp->mipdisplay != 5) quietlp(e);
    e->params->predisp = 0;
    e->params->advind = 1;
    if (restart) {
      first = bb.rootslot;
      bb.rootslot = nullptr;
      if (first == nullptr && (w->tree == nullptr || treeempty(w->tree))) code = 0;
    }
  }
  if (code == 0 && (first != nullptr || (w->tree && !treeempty(w->tree)))) {
    ctl.nodenum = w->nodecnt;
    ctl.startnode = w->nodecnt;
    if (ctl.display == 1) msg(e->reschannel, "\nNode log . . .\n");
    if (w->tree == nullptr) {
      w->tree = treecreate(e, 0, ctl.nodesel, ctl.varsel, e->params->workmem, mp->trelim,
                           mp->nodefileind, e->params->workdir);
    } else {
      treeupdate(e, w->tree, ctl.nodesel, ctl.varsel, e->params->workmem, mp->trelim,
                 mp->nodefileind, e->params->workdir, mp->bbinterval);
    }
    bbtree *t = w->tree;
    t->display = ctl.display;
    t->ctx.rootiinf = bb.rootiinf, t->ctx.rootobj = bb.rootobj, t->ctx.targetobj = bb.targetobj;
    t->ctx.degperinf = bb.degperinf, t->ctx.degperiinf = bb.degperiinf;
    t->ctx.cutoff = r.inc->cutoff;
    treerekey(t);
    if (ctl.strongitlim == 0) {
      if (ctl.varsel == 3) {
        ctl.strongitlim = 50;
      } else {
        long long s = 100LL * r.m / (n + 1);
        ctl.strongitlim = static_cast<int>(std::min<long long>(s, 50));
        if (bb.rootiinf > 0) {
          ctl.strongitlim = std::min(ctl.strongitlim, 5000 / bb.rootiinf);
          ctl.strongitlim = std::max(ctl.strongitlim, 10);
          if (bb.rootiinf > 1000) ctl.strongitlim = 1;
        }
      }
    }
    if (!restart && first != nullptr && code == 0) {
      if (r.rootround && mipplug.rootround) code = mipplug.rootround(r, first);
      bool anycuts = mp->covers >= 0 || mp->cliques >= 0 || mp->flowcovers >= 0 ||
                     mp->flowpaths >= 0 || mp->implbd >= 0 || mp->gubcovers >= 0 ||
                     mp->fraccuts >= 0 || mp->mircuts >= 0 || mp->disjcuts > 0;
      if (code == 0 && anycuts && mipplug.rootcuts) code = mipplug.rootcuts(r, first);
      // The root heuristics on the root after its cuts; a cutoff that has
      // passed the root's bound ends the search.
      if (code == 0 && ctl.heurfreq != -1 && mipplug.rootheur) {
        code = mipplug.rootheur(r, first);
        if (code == 0 && r.inc->cutoff < first->bound) {
          delete first;
          first = nullptr;
          w->nodeleft = 0;
          w->bestnodeobj = r.inc->bestobj;
        }
      }
      if (code != 0) {
        delete first;
        first = nullptr;
      }
    }
    bool fresh = !restart && first != nullptr;  // the root the LP holds
    if (code == 0 && first == nullptr) {
      int st = treepop(e, t, &first);
      if (st) code = st;
      else if (first) ctl.nodenum = ++w->nodecnt;
    }
    if (code == 0 && first != nullptr) {
      if (!fresh) {
        const bdchglist *list = first->data ? &first->data->bounds : nullptr;
        std::vector<int> cs(n), rs(std::max(r.m, 1), 1);
        std::vector<double> lo(n), hi(n);
        bool hasbasis = false;
        bool ok = !first->packed.empty() &&
                  unpacknode(bb.layout, first->packed, cs.data(), rs.data(), lo.data(), hi.data(),
                             &hasbasis) &&
                  hasbasis;
        bdchglist none;
        code = nodeinstall(e, bb.ns, list ? list : &none, ok ? cs.data() : nullptr,
                           ok ? rs.data() : nullptr);
      }
      if (code == 0) code = mipnodeloop(r, first);
      else delete first;
    }
  }
  // The incumbent in the model's own units.
  incumbent *s = w->inc;
  if (s && s->solnseq >= 0 && s->havex && (code == 0 || (code >= 100 && code < 1000))) {
    double worst = 0.0;
    for (int j = 0; j < n && j < static_cast<int>(s->x.size()); ++j)
      if (core->ctype[j] == 'B' || core->ctype[j] == 'I')
        worst = std::max(worst, std::fabs(s->x[j] - std::round(s->x[j])));
    if (worst > ctl.epint) {
      msg(e->warnchannel, "Warning: integer solution contains unscaled infeasibilities.\n");
      if (code == 0 || code == 101 || code == 102) code = 115;
    } else {
      int st = checkbinary(e, p, s->x.data(), ctl.epint);
      if (st) code = st;
    }
  }
  if (ctl.display >= 1) cutsummary(e, w);
  return code;
}

// The status of the problem from the code of a run; returns what the call
// returns.
int statusrule(lp *p, int c) {
  mipwork *w = p->mip->work;
  bool inc = w && w->inc && w->inc->solnseq >= 0;
  bbstate *bb = w ? w->bb : nullptr;
  if (c == 0) {
    p->lpstat = inc ? 101 : 103;
    return 0;
  }
  if (c >= 101 && c <= 119) {
    if (inc) {
      if (c == 114) c = 113;
      if (c == 108) c = 107;
      if (c == 102 && w->nodecnt == 0) c = 101;
    }
    p->lpstat = c;
    return 0;
  }
  bool nosos = p->core->sos == nullptr || p->core->sos->count == 0;
  if (c == 3019 && bb && bb->havefinal && nosos) {
    int fs = bb->finalstat.status;
    bool unb = fs == 2 || fs == 20 || (fs == 6 && bb->finalstat.dfeas != 1);
    if (unb) {
      p->lpstat = 118;
      return 0;
    }
    if (fs == 4) {
      p->lpstat = 119;
      return 0;
    }
  }
  p->lpstat = inc ? 109 : 110;
  return c;
}

bool hassemi(const lp *p) {
  const lpcore *c = p->core;
  for (int j = 0; j < c->numcols; ++j)
    if (c->ctype[j] == 'S' || c->ctype[j] == 'N') return true;
  return false;
}

int mipopt(env *e, lp *p);

// A model with semi-continuous or semi-integer columns is searched as its
// converted copy (each such column linked to a binary); the run's results
// move to the model with x cut back to its columns.  The copy does not
// outlive the call, so a run stopped at a limit starts over when called
// again.
int semirun(env *e, lp *p, mipdata *md) {
  lp *conv = nullptr;
  semidata sd;
  int status = semiconvert(e, p, &conv, sd);
  if (status) return status;
  if (conv == nullptr) return 0;
  int c = mipopt(e, conv);
  int stat = conv->lpstat;
  mipwork *cw = conv->mip ? conv->mip->work : nullptr;
  if (cw != nullptr) {
    conv->mip->work = nullptr;
    delete md->work;
    md->work = cw;
    if (cw->inc) {
      if (!cw->inc->x.empty()) semirestore_x(sd, cw->inc->x);
      cw->inc->colstat.clear();
      cw->inc->rowstat.clear();
      cw->inc->ncols = p->core->numcols;
    }
    treefree(cw->tree);
    cw->tree = nullptr;
    int terminal = cw->bb ? cw->bb->terminal : 0;
    delete cw->bb;
    cw->bb = nullptr;
    if (terminal) {
      cw->bb = new bbstate();
      cw->bb->terminal = terminal;
    }
    cw->rc = rowcopy();
    cw->rowclass.clear();
  }
  p->lpstat = stat;
  freeprob(e, &conv);
  return c;
}

int mipopt(env *e, lp *p) {
  mip_register();
  if (!checkenv(e)) return kNoEnvironment;
  if (!checklp(e, p)) return kNoProblem;
  int status = cache_flush(e, p);
  if (status) return status;
  if (p->probtype == kTypeMIQP || p->probtype == kTypeFixedMIQP) return 1018;
  if (p->probtype != kTypeMILP || p->core->ctype == nullptr) return 3003;
  if (p->lpstat == 116 || p->lpstat == 117) return kNoMemory;
  mipdata *md = mipdatanew(e, p);
  if (md == nullptr) {
    p->lpstat = 0;
    return kNoMemory;
  }
  if (md->work && md->work->bb && md->work->bb->terminal) {
    p->lpstat = md->work->bb->terminal;
    return 0;
  }
  if (hassemi(p)) return semirun(e, p, md);
  const mipparblock *mp = e->mipparams;
  if ((status = checkfixedint(e, p, mp->epint)) != 0) return status;
  if (mp->subalg == 4 && e->barparams->baralg == 3)
    msg(e->warnchannel,
        "Warning:  Barrier algorithm is set to 3 and MIP subproblems are\n"
        "   being solved by barrier without crossover.  The recommended\n"
        "   settings for the barrier algorithm in this case are 0, 1 and 2.\n");
  const bool fresh = md->work == nullptr;
  if (md->work == nullptr) {
    md->work = new mipwork();
    if (mp->mipordtype > 0 && md->order == nullptr) {
      auto *o = new orderdata();
      if (orderfromrule(e, p, mp->mipordtype, *o) == 0) md->order = o;
      else delete o;
    }
  }
  // MIP start values, on the first call of a search.
  if (fresh && mp->mipstart != 0 && md->start != nullptr && md->start->count > 0) {
    int st = mipstartrun(e, p);
    if (st == 108 || st == 114) {
      p->lpstat = st;
      return 0;
    }
    if (st) return st;
  }
  // Presolve decision: no reduced problem exists and no integer presolve is
  // in the library yet, so every run searches the model itself.
  int c = mipsolve(e, p);
  if (c == 2052 || c == 1801 || c == 1802 || c == 1803) {
    mipwork *w = md->work;
    treefree(w->tree);
    w->tree = nullptr;
    if (w->bb) {
      delete w->bb->rootslot;
      w->bb->rootslot = nullptr;
    }
    bool inc = w->inc && w->inc->solnseq >= 0;
    p->lpstat = inc ? 116 : 117;
    return c == 2052 ? kNoMemory : c;
  }
  int ret = statusrule(p, std::abs(c) >= 1000 ? std::abs(c) : c);
  if ((p->lpstat == 101 || p->lpstat == 115) && md->work && md->work->bb)
    md->work->bb->terminal = p->lpstat;
  if (ret != 0 && c < 0) return c;  // printed already
  return ret;
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTmipopt(VLTENVptr env, VLTLPptr lp) {
  return finish(env, guarded([&] { return mipopt(env, lp); }));
}

}  // extern "C"
