// The node loop of branch and bound, its stop tests and the node log.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "env/files.h"
#include "env/par.h"
#include "mip/mipbb.h"
#include "mip/mipcuts.h"
#include "mip/mipheur.h"
#include "model/store.h"

namespace velto {

mipplugins mipplug = {rootcutloop, nodecutloop, heurroot, heurnode, heurrootround, heurrepair, heurpolish};

// ---- node log ----------------------------------------------------------------

void logheader(miprun &r) {
  env *e = r.e;
  msg(e->reschannel, "\n        Nodes                                         Cuts/\n");
  msg(e->reschannel,
      "   Node  Left     Objective  IInf  Best Integer     Best Node    ItCnt     Gap");
  msg(e->logchannel, "         Variable B Parent  Depth");
  msg(e->reschannel, "\n\n");
  r.ctl.headerdue = 0;
}

void logcolumns(miprun &r, char mark, int verdict, char objcol[64], char bestint[64],
                char bestnode[64], char gap[32]) {
  mipctl &ctl = r.ctl;
  const double sen = ctl.objsen;
  if (mark == '*') {
    std::snprintf(objcol, 64, "%-14s%6d", "", 0);
  } else if (verdict == 1) {
    std::snprintf(objcol, 64, "%-20s", "    infeasible");
  } else if (verdict == 2) {
    std::snprintf(objcol, 64, "%-20s", "        cutoff");
  } else {
    double v = ctl.nodeobj * sen;
    std::snprintf(objcol, 64, std::fabs(v) >= 1e7 ? "%14.4e%6d" : "%14.4f%6d", v,
                  std::max(ctl.iinf, 0));
  }
  bool haveinc = r.inc->solnseq >= 0 && r.inc->bestobj < 1e75;
  double bi = r.inc->bestobj * sen;
  if (!haveinc) std::snprintf(bestint, 64, "%14s", "");
  else std::snprintf(bestint, 64, std::fabs(bi) >= 1e7 ? "%14.4e" : "%14.4f", bi);
  double bn = r.w->bestnodeobj;
  double bns = bn * sen;
  if (std::fabs(bn) >= 1e74) std::snprintf(bestnode, 64, "%14s", " ");
  else std::snprintf(bestnode, 64, std::fabs(bns) < 1e7 ? "%14.4f" : "%14.4e", bns);
  if (haveinc && std::fabs(bn) < 1e74) {
    double g = 100.0 * std::fabs(bi - bns) / (std::fabs(bi) + 1e-10);
    if (g >= 999.99) std::snprintf(gap, 32, "%9s", "--- ");
    else std::snprintf(gap, 32, "%8.2f%%", g);
  } else if (haveinc) {
    std::snprintf(gap, 32, "%8.2f%%", 0.0);
  } else {
    std::snprintf(gap, 32, "%9s", " ");
  }
}

void logrow(miprun &r, char mark, char plus, int left, int verdict, const bbnode *nd,
            long long itcnt) {
  env *e = r.e;
  mipctl &ctl = r.ctl;
  if (ctl.headerdue || e->params->simdisplay != 0) logheader(r);
  char objcol[64], bestint[64], bestnode[64], gap[32];
  logcolumns(r, mark, verdict, objcol, bestint, bestnode, gap);
  double it = static_cast<double>(itcnt);
  msg(e->reschannel, it >= 1e9 ? "%c%6d%c%5d%s%s%s%9g%s" : "%c%6d%c%5d%s%s%s%9.0f%s", mark,
      ctl.nodenum, plus, left, objcol, bestint, bestnode, it, gap);
  if (mark != '*' && ctl.nodenum != 0 && nd != nullptr) {
    if (nd->brvar >= 0 && (nd->dir == 'U' || nd->dir == 'D')) {
      const lpcore *c = r.p->core;
      char name[17];
      std::snprintf(name, sizeof name, "%-16.16s", colnameof(e, c->colname, c->numcols, nd->brvar));
      msg(e->logchannel, "%s %c%7d%7d", name, nd->dir, nd->parent, nd->depth);
    } else {
      msg(e->logchannel, "%-16s %c%7d%7d", " ", nd->dir == 'C' ? 'C' : 'X', nd->parent,
          nd->depth);
    }
  }
  msg(e->reschannel, "\n");
}

void logincumbent(miprun &r, char plus, int left, int verdict, const bbnode *nd, long long itcnt) {
  env *e = r.e;
  const mipctl &ctl = r.ctl;
  if (ctl.display > 1) {
    logrow(r, '*', plus, left, verdict, nd, itcnt);
  } else if (ctl.display == 1) {
    const double bn = r.w->bestnodeobj;
    msg(e->reschannel, "Best integer = %14.6le  Node = %7d  Best node = ",
        r.inc->bestobj * ctl.objsen, ctl.nodenum);
    if (std::fabs(bn) < 1e74) msg(e->reschannel, "%14.6le\n", bn * ctl.objsen);
    else msg(e->reschannel, ctl.objsen < 0 ? "-inf\n" : "+inf\n");
  }
}

// ---- stop tests ----------------------------------------------------------------

int miplimits(miprun &r) {
  env *e = r.e;
  const mipctl &ctl = r.ctl;
  bool haveinc = r.inc->solnseq >= 0;
  if (e->params->abortword && *e->params->abortword) return haveinc ? 113 : 114;
  if (haveinc) {
    double z = r.inc->bestobj, d = std::fabs(z - r.w->bestnodeobj);
    if (r.w->bestnodeobj >= 1e75) d = 0.0;
    if (d < (std::fabs(z) + 1e-10) * ctl.epgap || d < ctl.epagap) return d == 0.0 ? 101 : 102;
  }
  if (r.inc->solcnt >= ctl.intsollim) return 104;
  if (now(e) - ctl.startsec > ctl.tilim) return haveinc ? 107 : 108;
  if (r.w->nodecnt - ctl.startnode >= ctl.nodelim) return haveinc ? 105 : 106;
  if (r.w->tree != nullptr && e->mipparams->trelim < 1e69 &&
      r.w->tree->livebytes + r.w->tree->storedbytes > e->mipparams->trelim * 1048576.0)
    return haveinc ? 111 : 112;
  return 0;
}

// ---- the loop ------------------------------------------------------------------

namespace {

// The node's bound list (made when absent).
bdchglist &boundsof(bbnode *nd) {
  if (nd->data == nullptr) nd->data = new nodedata();
  return nd->data->bounds;
}

// Verdict of a node from its LP: 0 integer, 1 infeasible, 2 cut off,
// 4 fractional.  Reads x and the bounds of the node problem when needed.
int nodeeval(miprun &r, const lpresult &res, double obj, const bbnode *nd, double cutoff,
             std::vector<double> &x, std::vector<double> &lb, std::vector<double> &ub,
             double *rate) {
  *rate = -1.0;
  bool infeas = res.status == 3 || res.status == 4 || (res.status == 6 && res.pfeas != 1);
  if (infeas) return 1;
  if (res.status == 12 || res.status == 22) {
    if (obj <= cutoff) obj = cutoff + std::fabs(cutoff) * 1e-10 + 1e-10;
    r.ctl.nodeobj = obj;
    return 2;
  }
  r.ctl.nodeobj = obj;
  if (nd->brvar >= 0 && (nd->dir == 'U' || nd->dir == 'D')) {
    double d = std::fabs(obj - nd->bound);
    if (d < 1e-10) d = 0.0;
    double f = std::max(nd->brvalue - std::floor(nd->brvalue), 1e-10);
    *rate = nd->dir == 'D' ? d / f : d / std::max(1.0 - f, 1e-10);
  }
  if (!(obj <= cutoff)) return 2;
  int n = r.n;
  if (n > 0) {
    VLTgetx(r.e, r.q, x.data(), 0, n - 1);
    VLTgetlb(r.e, r.q, lb.data(), 0, n - 1);
    VLTgetub(r.e, r.q, ub.data(), 0, n - 1);
  }
  int iinf = fraccount(r.ctype, n, x.data(), lb.data(), ub.data(), r.ctl.epint, r.ctl);
  iinf += sosinfeas(r.p->core->sos, x.data(), lb.data(), ub.data(), r.ctl.epint);
  r.ctl.iinf = iinf;
  return iinf == 0 ? 0 : 4;
}

double slotbest(bbnode *const slots[6]) {
  double b = 1e75;
  for (int k = 0; k < 6; ++k)
    if (slots[k]) b = std::min(b, slots[k]->bound);
  return b;
}

// Installs a node's bounds and, unless it is a child of the node just
// solved (whose basis the LP still holds), its stored basis.
int install(miprun &r, bbnode *nd, bool direct) {
  bbstate &bb = *r.bb;
  const bdchglist *list = nd->data ? &nd->data->bounds : nullptr;
  static const bdchglist empty;
  if (list == nullptr) list = &empty;
  if (!direct && !nd->packed.empty()) {
    // Rows that cuts added after the node was packed enter with their
    // slacks basic.
    int rows = std::max(VLTgetnumrows(r.e, r.q), bb.layout.nrows);
    std::vector<int> cs(r.n), rs(std::max(rows, 1), 1);
    std::vector<double> lo(r.n), hi(r.n);
    bool hasbasis = false;
    if (unpacknode(bb.layout, nd->packed, cs.data(), rs.data(), lo.data(), hi.data(), &hasbasis) &&
        hasbasis)
      return nodeinstall(r.e, bb.ns, list, cs.data(), rs.data());
  }
  return nodeinstall(r.e, bb.ns, list, nullptr, nullptr);
}

}  // namespace

int mipnodeloop(miprun &r, bbnode *first) {
  env *e = r.e;
  mipctl &ctl = r.ctl;
  mipwork *w = r.w;
  bbstate &bb = *r.bb;
  bbtree *tree = w->tree;
  bbnode *slots[6] = {};
  int slot = 0;
  slots[0] = first;
  int code = 0, err = 0;
  const int elapsedint = std::max(10 * ctl.interval, 20);
  const int n = r.n, m = r.m;
  std::vector<double> x(std::max(n, 1)), lb(std::max(n, 1)), ub(std::max(n, 1));
  std::vector<double> pi(std::max(m, 1));
  std::vector<int> cs(std::max(n, 1)), rs(std::max(m, 1));
  std::vector<bbchild> kids;
  std::vector<bbnode *> totree;
  dive_prev prev;
  int lastnum = -1;
  // A status (101..119) of a step stops the loop as a code, anything else
  // non-zero as an error.
  auto settle = [&](int rc) {
    if (rc >= 100 && rc < 1000) code = rc;
    else if (rc) err = rc;
    return rc != 0;
  };
  if (first) w->nodeleft = treesize(tree) + 1;
  for (;;) {
    bbnode *cur = slots[slot];
    int verdict = -1, branched = 0;
    double rate = -1.0;
    int ratecol = -1;
    char ratedir = 'N';
    long long passit = 0;
    double x_obj = 0.0;
    if (cur != nullptr && !err) {
      if ((code = miplimits(r)) != 0) break;
      ctl.iinf = -1;
      ctl.suminf = 0.0;
      ctl.estimate = 0.0;
      ctl.nodeobj = cur->bound;
      double cutoff = r.inc->cutoff;
      lpresult res;
      double obj = cur->bound;
      if (cutoff < cur->bound) {
        res.status = 1, res.method = -1, res.pfeas = res.dfeas = 1;
      } else {
        int its = 0;
        int rc = nodelpsolve(e, r.q, ctl.objsen, cutoff, ctl.startsec, ctl.tilim, ctl.subalg, &res,
                             &its, &obj);
        passit = its;
        w->substat = res.status;
        w->submethod = res.method;
        if (rc == 108 || rc == 114) {
          code = rc;
        } else if (rc == 3019) {
          bb.finalstat = res;
          bb.havefinal = true;
          err = 3019;
        } else if (rc) {
          err = rc;
        }
      }
      if (code || err) {
        w->itcnt += passit;
        break;
      }
      verdict = nodeeval(r, res, obj, cur, cutoff, x, lb, ub, &rate);
      x_obj = ctl.nodeobj;
      if (rate >= 0) ratecol = cur->brvar, ratedir = cur->dir;
      bool newinc = false;
      if (verdict == 0) {
        int acc = 0;
        int rc = incumbent_offer(e, r.q, *r.inc, ctl.nodenum, ctl.nodeobj, &acc);
        if (rc) {
          err = rc;
          break;
        }
        if (acc) {
          newinc = true;
          int st = 0;
          treeprune(e, tree, r.inc->cutoff, &st);
        }
      }
      w->bestnodeobj = std::min({tree->bestbound, verdict == 4 ? ctl.nodeobj : 1e75, slotbest(slots)});
      if (verdict != 4) {
        // this node leaves; the bound over what is left
        double b = tree->bestbound;
        for (int k = 0; k < 6; ++k)
          if (slots[k] && slots[k] != cur) b = std::min(b, slots[k]->bound);
        w->bestnodeobj = b;
      }
      long long itshow = w->itcnt + passit;
      if (newinc) logincumbent(r, ' ', std::max(w->nodeleft - 1, 0), verdict, cur, itshow);
      if (newinc && mipplug.polish) {
        int rc = mipplug.polish(r, cur);
        if (settle(rc)) break;
      }
      if (ctl.display > 1 && !newinc && ctl.nodenum % ctl.interval == 0)
        logrow(r, ' ', ' ', w->nodeleft, verdict, cur, itshow);
      if (ctl.display > 1 && ctl.nodenum != 0 && ctl.nodenum % elapsedint == 0) {
        double raw = tree->rawbytes, stored = tree->storedbytes;
        msg(e->reschannel, "Elapsed b&c time = %6.2f sec. (tree size = %5.2f MB)\n",
            now(e) - ctl.startsec, (tree->livebytes + raw) / 1048576.0);
        if (raw > 0) {
          if (raw == stored) msg(e->reschannel, "Nodefile size = %5.2f MB\n", raw / 1048576.0);
          else
            msg(e->reschannel, "Nodefile size = %5.2f MB (%.2f MB after compression)\n",
                raw / 1048576.0, stored / 1048576.0);
        }
      }
      kids.clear();
      if (verdict == 4 && mipplug.nodecuts) {
        int rc = mipplug.nodecuts(r, cur);
        if (settle(rc)) break;
      }
      if (verdict == 4) {
        std::vector<double> duals;
        if (ctl.varsel == 4 && m > 0 && VLTgetpi(e, r.q, pi.data(), 0, m - 1) == 0)
          duals.assign(pi.begin(), pi.begin() + m);
        branchctx bc;
        bc.e = e, bc.q = r.q, bc.model = r.p, bc.ctype = r.ctype, bc.ctl = &ctl, bc.bb = &bb;
        bc.cutoff = r.inc->cutoff;
        bc.nodebounds = cur->data ? &cur->data->bounds : nullptr;
        bc.x = &x, bc.lb = &lb, bc.ub = &ub, bc.dual = &duals;
        int rc = branchselect(bc, kids);
        if (settle(rc)) break;
        childestimates(bc, kids);
        ctl.nodeest = ctl.nodeobj + ctl.estimate;
      }
      if (verdict == 4 && mipplug.nodeheur && ctl.nodenum != 0 &&
          ((ctl.heurfreq == 0 && ctl.nodenum % 10 == 0) ||
           (ctl.heurfreq > 0 && ctl.nodenum % ctl.heurfreq == 0))) {
        int rc = mipplug.nodeheur(r, cur, ctl.emphasis == 1 && ctl.heurfreq == 0 ? 0 : 1);
        if (settle(rc)) break;
      }
      const int repairfreq = e->mipparams->p2062;
      if (verdict == 4 && mipplug.repair && repairfreq > 0 && slot == 0 && ctl.nodenum > 0 &&
          ctl.nodenum % repairfreq == 0) {
        int rc = mipplug.repair(r, cur);
        if (settle(rc)) break;
      }
      if (kids.empty()) {
        delete cur;
        slots[slot] = nullptr;
        --w->nodeleft;
      } else {
        bdchglist &list = boundsof(cur);
        if (r.inc->solnseq >= 0 || std::fabs(r.inc->cutoff) < 1e74) {
          int before = list.count, fixed = 0;
          if (rcfix_node(e, r.q, r.ctype, ctl.objsen, ctl.nodeobj, r.inc->cutoff, list, &fixed) == 0)
            for (int k = before; k < list.count; ++k) {
              bb.ns.actidx.push_back(list.index[k]);
              bb.ns.actsense.push_back(list.sense[k]);
              bb.ns.actval.push_back(list.value[k]);
            }
        }
        // A basis is packed while the node problem has the rows of the
        // packed form; after cuts at tree nodes a child starts from the
        // basis that the node problem holds.
        int qrows = VLTgetnumrows(e, r.q);
        if (static_cast<int>(rs.size()) < qrows) rs.resize(qrows);
        bool hasbasis = n > 0 && qrows == bb.layout.nrows &&
                        VLTgetbase(e, r.q, cs.data(), rs.data()) == 0;
        std::vector<uint32_t> packed;
        packnode(bb.layout, hasbasis ? cs.data() : nullptr, hasbasis ? rs.data() : nullptr,
                 bb.ns.glb.data(), bb.ns.gub.data(), packed);
        for (size_t k = 0; k < kids.size(); ++k) {
          bbchild &kd = kids[k];
          auto *nd = new bbnode();
          nd->data = new nodedata();
          nd->data->bounds = list;
          for (int t = 0; t < kd.fix.count; ++t)
            nd->data->bounds.add(kd.fix.index[t], kd.fix.sense[t], kd.fix.value[t]);
          nd->suminf = ctl.suminf;
          nd->estinc = kd.estinc;
          nd->baseobj = ctl.nodeobj;
          nd->bound = std::max(ctl.nodeobj, cur->bound);
          nd->brvalue = kd.value;
          nd->brvar = kd.var;
          nd->brkind = kd.var2;
          nd->depth = cur->depth + 1;
          nd->iinf = ctl.iinf;
          nd->rowcnt = m;
          nd->parent = ctl.nodenum;
          nd->id = bb.nextid++;
          nd->dir = kd.dir == 'L' || kd.dir == 'R' ? 'X' : kd.dir;
          nd->packed = packed;
          nd->form = 'T';
          slots[slot + 1 + static_cast<int>(k)] = nd;
        }
        branched = static_cast<int>(kids.size());
        w->nodeleft += branched - 1;
        bb.nodeseq += branched;
        prev.iinf = cur->iinf;
        delete cur;
        slots[slot] = nullptr;
      }
      lastnum = ctl.nodenum;
    }
    // Pseudocost rate of this pass.
    if (ratecol >= 0) pcrecord(bb, ratecol, ratedir, rate);
    // Slot nodes that the cutoff has passed.
    for (int k = 0; k < 6; ++k)
      if (slots[k] && slots[k]->bound > r.inc->cutoff) {
        delete slots[k];
        slots[k] = nullptr;
        --w->nodeleft;
      }
    // Next node: dive on or leave it to the tree.
    diveinput in;
    in.nodesel = ctl.nodesel;
    in.varsel = ctl.varsel;
    in.divetype = e->mipparams->divetype;
    in.brdir = ctl.brdir;
    in.bttol = ctl.bttol;
    in.bestnodeobj = w->bestnodeobj;
    in.bestinteger = r.inc->solnseq >= 0 ? r.inc->bestobj : 1e75;
    in.cutoff = r.inc->cutoff;
    in.hasincumbent = r.inc->solnseq >= 0;
    in.x = x_obj;
    in.iinf = std::max(ctl.iinf, 0);
    in.suminf = ctl.suminf;
    in.thisest = ctl.nodeest;
    in.rootiinf = bb.rootiinf;
    in.rootobj = bb.rootobj;
    in.degperiinf = bb.degperiinf;
    in.branched = branched;
    in.onesided = branched ? ctl.onesided : 0;
    in.prev = prev;
    in.ncols = n;
    totree.clear();
    bool packchild = false;
    bool dived = nodenext(in, r.dive, slots, slot, totree, &packchild) == 1;
    prev.iinf = in.iinf, prev.suminf = in.suminf, prev.bound = x_obj, prev.est = ctl.nodeest;
    for (bbnode *nd : totree) {
      int rc = treepush(e, tree, nd);
      if (rc) {
        err = rc;
        break;
      }
    }
    w->itcnt += passit;
    if (err) break;
    bool direct = false;
    if (dived && slots[slot] != nullptr) {
      direct = slots[slot]->parent == lastnum;
    } else {
      slot = 0;
      bbnode *nd = nullptr;
      int rc = treepop(e, tree, &nd);
      if (rc) {
        err = rc;
        break;
      }
      slots[0] = nd;
      if (nd) {
        ++r.dive.dives;
        if (r.dive.fresh) {
          r.dive.lastimprove = r.dive.dives;
          r.dive.fresh = 0;
        } else if (r.inc->solnseq >= 0 &&
                   std::fabs(w->bestnodeobj - r.inc->bestobj) > (r.inc->bestobj + 1) * 1e-10) {
          r.dive.lastimprove = r.dive.dives;
        }
      }
    }
    int inslots = 0;
    for (int k = 0; k < 6; ++k) inslots += slots[k] != nullptr;
    w->nodeleft = treesize(tree) + inslots;
    w->bestnodeobj = std::min(tree->bestbound, slotbest(slots));
    if (slots[slot] == nullptr) break;
    ++w->nodecnt;
    ctl.nodenum = w->nodecnt;
    int rc = install(r, slots[slot], direct);
    if (rc) {
      err = rc;
      break;
    }
  }
  // Stop: the node in hand is where a resumed run goes on; the others go
  // back to the tree.
  int inslots = 0;
  for (int k = 0; k < 6; ++k) {
    if (slots[k] == nullptr) continue;
    ++inslots;
    if (k == slot && bb.rootslot == nullptr) {
      bb.rootslot = slots[k];
    } else if (treepush(e, tree, slots[k]) != 0) {
      delete slots[k];
    }
    slots[k] = nullptr;
  }
  w->nodeleft = treesize(tree) + (bb.rootslot ? 1 : 0);
  if (w->nodeleft == 0 && r.inc->solnseq >= 0 && !err && !code) w->bestnodeobj = r.inc->bestobj;
  else if (bb.rootslot) w->bestnodeobj = std::min(w->bestnodeobj, bb.rootslot->bound);
  if (err) return err;
  return code;
}

}  // namespace velto
