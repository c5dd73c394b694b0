// Presolve driver: order of passes, limits, summary lines, the build of the
// reduced problem, and the optimizer wrapper around presolve and postsolve.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>

#include "env/callback.h"
#include "env/files.h"
#include "env/par.h"
#include "fileio/rwutil.h"
#include "model/lpcomp.h"
#include "model/store.h"
#include "presolve/presolve.h"

namespace velto {

int pre_poll(env *e, const prerec *r, lp *p) {
  cbprogress pr;
  pr.wherefrom = 7;
  pr.have = 1u << 13 | 1u << 14 | 1u << 15 | 1u << 16;
  pr.counts[0] = r->rowsgone;
  pr.counts[1] = r->colsgone;
  pr.counts[2] = r->subst;
  pr.counts[3] = r->coefchanged;
  return lpcallback(e, p, pr) ? 1106 : 0;
}

namespace {

char *dupname(const char *s, char *&store) {
  size_t n = std::strlen(s) + 1;
  std::memcpy(store, s, n);
  char *at = store;
  store += n;
  return at;
}

// Copies names of the kept rows or columns into a fresh store.
int build_names(const std::vector<const char *> &src, char ***names, char **store,
                uint32_t *space) {
  size_t bytes = 1;
  for (const char *s : src) bytes += std::strlen(s) + 1;
  *names = allocn<char *>(src.size());
  *store = allocn<char>(bytes);
  if (*names == nullptr || *store == nullptr) return kNoMemory;
  char *at = *store;
  for (size_t k = 0; k < src.size(); ++k) (*names)[k] = dupname(src[k], at);
  *space = static_cast<uint32_t>(bytes);
  return 0;
}

int build_reduced(env *e, prerec *r, lp *p) {
  const int m = r->nrows, n = r->ncols;
  int nr = 0, nc = 0, nz = 0;
  for (int i = 0; i < m; ++i) {
    if (r->rowcnt[i] >= 0) r->rowmap[i] = nr++;
    else if (r->rowmap[i] >= 0) r->rowmap[i] = -1;
  }
  for (int j = 0; j < n; ++j) {
    if (r->colcnt[j] >= 0) {
      r->colmap[j] = nc++;
      for (int k = r->cbeg[j]; k < r->cbeg[j] + r->clen[j]; ++k) nz += rowlive(r, r->cind[k]);
    }
  }
  lpload d;
  std::memset(&d, 0, sizeof d);
  const lpcore *c = p->core;
  d.probname = allocn<char>(std::strlen(c->probname ? c->probname : "") + 1);
  if (d.probname) std::strcpy(d.probname, c->probname ? c->probname : "");
  d.numcols = nc;
  d.numrows = nr;
  d.objsen = c->objsen;
  d.obj = allocn<double>(nc);
  d.lb = allocn<double>(nc);
  d.ub = allocn<double>(nc);
  d.matbeg = allocn<int>(nc);
  d.matcnt = allocn<int>(nc);
  d.matind = allocn<int>(nz);
  d.matval = allocn<double>(nz);
  d.rhs = allocn<double>(nr);
  d.sense = allocn<char>(nr);
  d.objoffset = r->objoffset;
  if (!d.probname || !d.obj || !d.lb || !d.ub || !d.matbeg || !d.matcnt || !d.matind ||
      !d.matval || !d.rhs || !d.sense) {
    lpload_free(&d);
    return kNoMemory;
  }
  int pos = 0;
  for (int j = 0; j < n; ++j) {
    int q = r->colmap[j];
    if (q < 0 || r->colcnt[j] < 0) continue;
    d.obj[q] = r->obj[j];
    d.lb[q] = r->lb[j];
    d.ub[q] = r->ub[j];
    d.matbeg[q] = pos;
    for (int k = r->cbeg[j]; k < r->cbeg[j] + r->clen[j]; ++k) {
      int i = r->cind[k];
      if (!rowlive(r, i)) continue;
      d.matind[pos] = r->rowmap[i];
      d.matval[pos++] = r->cval[k];
    }
    d.matcnt[q] = pos - d.matbeg[q];
  }
  for (int i = 0; i < m; ++i) {
    int q = r->rowmap[i];
    if (q < 0 || r->rowcnt[i] < 0) continue;
    d.rhs[q] = r->rhs[i];
    d.sense[q] = r->sense[i];
  }
  int status = 0;
  if (c->colname || c->rowname) {
    try {
      std::vector<const char *> cn, rn;
      std::vector<std::string> rangenames;
      rangenames.reserve(n - r->ncolsorig);
      for (int j = 0; j < n; ++j) {
        if (r->colcnt[j] < 0) continue;
        if (j < r->ncolsorig) {
          cn.push_back(colnameof(e, c->colname, c->numcols, j));
        } else {
          rangenames.push_back(std::string("Rg") + pre_colname(r, p, j));
          cn.push_back(rangenames.back().c_str());
        }
      }
      for (int i = 0; i < m; ++i)
        if (r->rowcnt[i] >= 0) rn.push_back(rownameof(e, c->rowname, c->numrows, i));
      status = build_names(cn, &d.colname, &d.colnamestore, &d.colnamespace);
      if (status == 0) status = build_names(rn, &d.rowname, &d.rownamestore, &d.rownamespace);
    } catch (const std::bad_alloc &) {
      status = kNoMemory;
    }
    if (status) {
      lpload_free(&d);
      return status;
    }
  }
  lp *red = newlpobject(e, &status, &d);
  if (red == nullptr) return status ? status : kNoMemory;
  r->redlp = red;
  red->holder = p;
  return 0;
}

// The passes in their fixed order.
int run_passes(env *e, prerec *r, lp *p) {
  const bool primal = (r->reduce & 1) != 0;
  const bool dual = r->reduce > 1;
  int agglimit = r->aggind < 0 ? 1 : r->aggind;
  if (!r->preind) agglimit = 0;
  int passlimit = r->prepass < 0 ? kBigInt : r->prepass;
  if (!r->preind) passlimit = 1;
  if (r->dualform != -1 && passlimit == 0) passlimit = 1;
  int st = 0;
#define STEP(call)          \
  do {                      \
    st = (call);            \
    if (st) return st;      \
  } while (0)
  activity_all(r);
  STEP(pre_cleanup_columns(e, r, p));
  if (primal) STEP(pre_empty_rows(e, r, p));
  if (dual && !r->preind) STEP(pre_duplicate_columns(e, r, p));
  int tries = 0, pass = 0;
  for (;;) {
    const int subst0 = r->subst, rows0 = r->rowsgone, cols0 = r->colsgone;
    if (pass < passlimit) {
      int k = 0;
      bool dualchanged = false;
      for (;;) {
        STEP(pre_poll(e, r, p));
        const int r1 = r->rowsgone, c1 = r->colsgone;
        if (dual) STEP(pre_duplicate_columns(e, r, p));
        if (primal) STEP(pre_duplicate_rows(e, r, p));
        const bool changed = r->rowsgone != r1 || r->colsgone != c1;
        bool many = false;
        if (k > 0 && !changed && !dualchanged) {
          dualchanged = false;
        } else {
          int sweeps = 0;
          while (sweeps < 10) {
            STEP(pre_poll(e, r, p));
            const int before = r->rowsgone + r->colsgone;
            activity_all(r);
            if (primal && dual) STEP(pre_slack_columns(e, r, p));
            if (primal) STEP(pre_singleton_rows(e, r, p));
            if (dual) STEP(pre_dominated_columns(e, r, p));
            if (primal) {
              STEP(pre_free_singletons(e, r, p));
              STEP(pre_forcing_rows(e, r, p));
              STEP(pre_empty_rows(e, r, p));
            }
            ++sweeps;
            if (r->rowsgone + r->colsgone == before) break;
          }
          many = sweeps > 1;
          if (k == 0 || many || changed) {
            const int before = r->rowsgone + r->colsgone;
            activity_all(r);
            if (primal) STEP(pre_implied_redundancy(e, r, p));
            if (dual) STEP(pre_dual_bounds(e, r, p));
            dualchanged = r->rowsgone + r->colsgone != before;
          } else {
            dualchanged = false;
          }
        }
        ++k;
        ++pass;
        if (pass >= passlimit || (!dualchanged && !many)) break;
      }
    }
    STEP(pre_poll(e, r, p));
    if (primal && tries < agglimit) {
      if (tries > 0 && r->rowsgone == rows0 && r->colsgone == cols0) break;
      const int s0 = r->subst;
      STEP(pre_aggregate(e, r, p));
      if (r->subst > s0) {
        STEP(pre_cleanup_columns(e, r, p));
        STEP(pre_empty_rows(e, r, p));
      }
      ++tries;
    }
    if (r->subst <= subst0) break;
  }
  r->tries = tries;
  r->passes = pass;
  if (r->preind && r->simdisplay && r->predisp) {
    if (tries == 1) msg(e->reschannel, "Tried aggregator 1 time.\n");
    else msg(e->reschannel, "Tried aggregator %d times.\n", tries);
  }
  // Rows the last pass left empty.
  if (primal) STEP(pre_empty_rows(e, r, p));
  STEP(pre_poll(e, r, p));
  if (r->dualform == -1 && primal &&
      (r->bndstren == 1 || (r->bndstren == -1 && r->method == 2 && r->ncolsorig >= 10001))) {
    activity_all(r);
    STEP(pre_strengthen_bounds(e, r, p));
  }
#undef STEP
  return 0;
}

}  // namespace

int presolve_run(env *e, lp *p, int method) {
  presolve_register();
  presolve_free(e, p);
  prerec *r = nullptr;
  int st = presolve_load(e, p, method, &r);
  if (st) return st;
  p->presolve = r;
  try {
    st = run_passes(e, r, p);
  } catch (const std::bad_alloc &) {
    st = kNoMemory;
  }
  if (st) {
    const bool primal = (r->reduce & 1) != 0, dual = r->reduce > 1;
    presolve_free(e, p);
    if (st == 1101) {
      if (primal && dual) return 1101;
      if (dual) return 1118;
      return 1117;
    }
    return st;
  }
  activity_all(r);
  const bool changed = r->rowsgone > 0 || r->colsgone > 0 || r->coefchanged > 0 || r->subst > 0;
  const bool show = r->simdisplay != 0;
  if (!changed && !r->strengthened.empty() && r->bndstren != 1) {
    // Strengthened bounds alone are worth a reduced problem only when they
    // make enough infinite bounds finite.
    int madefinite = 0;
    for (int j = 0; j < r->ncols; ++j)
      madefinite += ((r->strengthened[j] & 1) && r->origub[j] >= kInfBound) ||
                    ((r->strengthened[j] & 2) && r->origlb[j] <= -kInfBound);
    if (r->ncols > 10 * madefinite) std::vector<char>().swap(r->strengthened);
  }
  if (!changed && r->strengthened.empty()) {
    if (show && (r->preind || r->aggind))
      msg(e->reschannel, "No LP presolve or aggregator reductions.\n");
    presolve_free(e, p);
    return 0;
  }
  if (show) {
    if (r->preind && (r->rowsgone || r->colsgone))
      msg(e->reschannel, "LP Presolve eliminated %d rows and %d columns.\n", r->rowsgone,
          r->colsgone);
    if (!r->preind && (r->rowsgone || r->colsgone))
      msg(e->reschannel, "Reduced presolve eliminated %d rows and %d columns.\n", r->rowsgone,
          r->colsgone);
    if (r->aggind && r->subst)
      msg(e->reschannel, "Aggregator did %d substitutions.\n", r->subst);
  }
  // Each substitution took a row and a column out.
  if (r->aggind) {
    r->rowsgone += r->subst;
    r->colsgone += r->subst;
  }
  if (r->rowsgone >= r->nrows && r->colsgone >= r->ncols) {
    if (show) msg(e->reschannel, "All rows and columns eliminated.\n");
    for (int i = 0; i < r->nrows; ++i)
      if (r->rowmap[i] >= 0) r->rowmap[i] = -1;
    return 0;
  }
  st = build_reduced(e, r, p);
  if (st) {
    presolve_free(e, p);
    return st;
  }
  if (show) {
    const lpcore *rc = r->redlp->core;
    msg(e->reschannel, "Reduced LP has %d rows, %d columns, and %d nonzeros.\n", rc->numrows,
        rc->numcols, numnz(r->redlp));
  }
  // The row-wise copy is no longer needed.
  std::vector<int>().swap(r->rind);
  std::vector<double>().swap(r->rval);
  return 0;
}

namespace {

bool usable_start(const lp *p, int method) {
  if (basisexists(p)) return true;
  const start *s = p->start;
  if (s == nullptr) return false;
  if (method == 1) return s->xstart != nullptr && s->slackstart != nullptr;
  if (method == 2) return s->djstart != nullptr && s->pistart != nullptr;
  return false;
}

// Statuses whose proof must be one of the user's model: infeasible,
// unbounded, infeasible or unbounded.
bool no_proof_status(int lpstat) { return lpstat == 2 || lpstat == 3 || lpstat == 4; }

// The iteration and time limits of one optimizer call, shared by every run
// the call makes: the reduced problem, the clean-up on the user's model and
// a settling run.  Each run gets what the runs before it left.
struct budget {
  env *e;
  parblock *pb;
  int itlim;
  double tilim;
  double t0;
  explicit budget(env *en) : e(en), pb(en->params), itlim(pb->itlim), tilim(pb->tilim), t0(now(en)) {}
  budget(const budget &) = delete;
  budget &operator=(const budget &) = delete;
  ~budget() {
    pb->itlim = itlim;
    pb->tilim = tilim;
  }
  // Limits for the next run after `used` iterations.
  void give(int used) {
    pb->itlim = std::max(0, itlim - std::max(0, used));
    if (tilim < 1e75) pb->tilim = std::max(0.0, tilim - (now(e) - t0));
  }
};

// Drops the presolve record and solves the user's model from its own start;
// the iterations spent before are added to the run's counters.
int settle(env *e, lp *p, kernelfn kernel, int itcnt, int phase1cnt, budget &lim) {
  presolve_free(e, p);
  soln_free(&p->soln);
  parblock *pb = e->params;
  const int advind = pb->advind;
  pb->advind = 0;
  lim.give(itcnt);
  int st = kernel(e, p);
  pb->advind = advind;
  if (p->soln) {
    p->soln->itcnt += itcnt;
    p->soln->phase1cnt += phase1cnt;
  }
  return st;
}

}  // namespace

int presolve_wrap(env *e, lp *p, int method, kernelfn kernel) {
  presolve_register();
  parblock *pb = e->params;
  budget lim(e);
  const bool warm = pb->advind && usable_start(p, method);
  // A record made for this method with the same settings, and not yet used
  // by a run that left a start on the model (VLTpresolve, possibly followed
  // by VLTpreaddrows or VLTprechgobj), is solved as it stands.
  const prerec *old = p->presolve;
  const bool keep = old && !warm && pb->preind && old->method == method &&
                    old->preind == pb->preind && old->prepass == pb->prepass &&
                    old->aggind == pb->aggind && old->depind == pb->depind &&
                    old->aggfill == pb->aggfill && old->predual == pb->predual &&
                    old->reduce == pb->reduce && old->prelinear == pb->prelinear;
  if (!keep) presolve_free(e, p);
  // A run on the user's model loads the restart file when asked to and no
  // start serves; the file's basis is then used as an advanced start.
  auto plain = [&]() {
    if (!pb->xxxind || (pb->advind && usable_start(p, method)) || readrestart(e, p) != 0)
      return kernel(e, p);
    const int advind = pb->advind;
    pb->advind = 1;
    const int st = kernel(e, p);
    pb->advind = advind;
    return st;
  };
  if (!pb->preind || warm) return plain();
  if (p->probtype != kTypeLP) return plain();
  int st = 0;
  if (!keep) {
    const double t0 = now(e);
    st = presolve_run(e, p, method);
    if (pb->simdisplay) msg(e->reschannel, "Presolve time = %7.2f sec.\n", now(e) - t0);
  }
  if (st == kNoMemory) {
    msg(e->warnchannel, "Insufficient memory for presolve.\n");
    return plain();
  }
  if (st == 1101 || st == 1117 || st == 1118) {
    // The verdict does not always tell infeasible from unbounded and carries
    // no certificate: the optimizer settles it on the user's model.
    return plain();
  }
  if (st == 1106) {
    soln_free(&p->soln);
    p->lpstat = 13;
    return 0;
  }
  if (st) return st;
  prerec *r = p->presolve;
  if (r == nullptr) return plain();
  int redit = 0, redp1 = 0;
  if (r->redlp) {
    lim.give(0);
    // The full model waits packed while the reduced problem is solved.
    modelpack pack(e, p, pb->precompress == 1);
    st = kernel(e, r->redlp);
    if (const int x = pack.expand()) return x;
    if (st == kNoMemory) st = 0;
    if (st) {
      presolve_free(e, p);
      return st;
    }
    if (r->redlp->soln) {
      redit = r->redlp->soln->itcnt;
      redp1 = r->redlp->soln->phase1cnt;
    }
    // An infeasible or unbounded reduced problem is settled on the user's
    // model from its own start, so that the proof (Farkas row or ray) is one
    // of the user's model and not of a basis carried over from the other.
    if (no_proof_status(r->redlp->lpstat)) return settle(e, p, kernel, redit, redp1, lim);
  }
  // The clean-up starts from the postsolved basis, with pricing that needs
  // no exact norms: devex for the primal, unit initial norms for the dual.
  const int advind = pb->advind, perind = pb->perind;
  const int ppriind = pb->ppriind, dpriind = pb->dpriind;
  if (postsolve_basis(e, p) == 0) {
    pb->advind = 1;
    pb->perind = 0;
    if (method == 1) pb->ppriind = 1;
    else pb->dpriind = 4;
  }
  lim.give(redit);
  st = kernel(e, p);
  pb->advind = advind;
  pb->perind = perind;
  pb->ppriind = ppriind;
  pb->dpriind = dpriind;
  if (st == 0 && no_proof_status(p->lpstat)) {
    // The reduced problem was solved but the clean-up found no optimum: the
    // verdict comes from a fresh run on the user's model.
    int it = redit, p1 = redp1;
    if (p->soln) {
      it += p->soln->itcnt;
      p1 += p->soln->phase1cnt;
    }
    return settle(e, p, kernel, it, p1, lim);
  }
  if (p->soln) {
    p->soln->itcnt += redit;
    p->soln->phase1cnt += redp1;
  }
  return st;
}

}  // namespace velto

using namespace velto;

extern "C" {

int VLTpresolve(VLTENVptr env, VLTLPptr lp, int method) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (lp->probtype == kTypeMILP || lp->probtype == kTypeMIQP) return 1017;
    if (lp->probtype != kTypeLP) return 1018;
    return presolve_run(env, lp, method);
  }));
}

int VLTfreepresolve(VLTENVptr env, VLTLPptr lp) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (lp->presolve) lp->presolve->keep = 0;
    presolve_free(env, lp);
    return 0;
  }));
}

int VLTgetredlp(VLTENVptr env, VLTLPptr lp, VLTLPptr *redlp_p) {
  return finish(env, guarded([&] {
    int s = queryframe(env, &lp);
    if (s) return s;
    if (redlp_p == nullptr) return static_cast<int>(kNullPointer);
    *redlp_p = lp->presolve ? lp->presolve->redlp : nullptr;
    return 0;
  }));
}

}  // extern "C"
