// Change of problem type, generated priority orders and the result getters
// of a branch-and-cut run.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "env/par.h"
#include "mip/mip.h"
#include "mip/mipnode.h"
#include "mip/miptree.h"
#include "model/store.h"

namespace velto {

namespace {

bool mipfamily(int t) { return t == kTypeMILP || t == kTypeRelaxed || t == kTypeFixed; }
bool qpfamily(int t) { return t == kTypeQP || t == kTypeZeroedQP; }
bool miqpfamily(int t) { return t == kTypeMIQP || t == kTypeFixedMIQP; }

void freeintegerdata(env *e, lp *p) {
  if (e->params->datacheck) msg(e->warnchannel, "Freeing MIP data.\n");
  dropstate(e, p, 17);
  freeviews(e, p);
  releaselayer(e, p, kLayerMip);
  releaselayer(e, p, kLayerSos);
  release(&p->core->ctype);
}

// The continuous companion of a MIP (relaxed or fixed view).
int makecompanion(env *e, lp *p) {
  freeviews(e, p);
  int status = 0;
  lp *q = VLTcloneprob(e, p, &status);
  if (q == nullptr) return status ? -std::abs(status) : kNoMemory;
  releaselayer(e, q, kLayerSos);
  release(&q->core->ctype);
  q->probtype = kTypeLP;
  settype(q);
  p->fixedlp = q;
  return 0;
}

// Fixes the companion at the incumbent.
int fixcompanion(env *e, lp *p, const incumbent &s) {
  lp *q = p->fixedlp;
  const lpcore *c = p->core;
  std::vector<int> idx;
  std::vector<char> lu;
  std::vector<double> bd;
  for (int j = 0; j < c->numcols; ++j) {
    char t = c->ctype ? c->ctype[j] : 'C';
    if (t == 'C') continue;
    if (t == 'S' && std::fabs(s.x[j]) >= s.epint) continue;
    idx.push_back(j);
    lu.push_back('B');
    bd.push_back(s.x[j]);
  }
  if (c->sos)
    for (int j : c->sos->ind)
      if (c->ctype[j] == 'C' && std::fabs(s.x[j]) < s.epint) {
        idx.push_back(j);
        lu.push_back('B');
        bd.push_back(s.x[j]);
      }
  if (!s.colstat.empty() && !s.rowstat.empty()) {
    int st = VLTcopybase(e, q, s.colstat.data(), s.rowstat.data());
    if (st) return -std::abs(st);
  }
  if (idx.empty()) return 0;
  int st = VLTchgbds(e, q, static_cast<int>(idx.size()), idx.data(), lu.data(), bd.data());
  return st ? -std::abs(st) : 0;
}

int chgprobtype(env *e, lp *p, int type) {
  mip_register();
  if (!checkenv(e)) return kNoEnvironment;
  if (!checklp(e, p)) return kNoProblem;
  int status = cache_flush(e, p);
  if (status) return status;
  int old = p->probtype;
  if (type == old) return 0;
  switch (type) {
    case kTypeLP:
      if (mipfamily(old) || miqpfamily(old)) freeintegerdata(e, p);
      if (qpfamily(old) || miqpfamily(old)) {
        if (e->params->datacheck) msg(e->warnchannel, "Freeing QP data.\n");
        releaselayer(e, p, kLayerQp);
        dropstate(e, p, 27);
      }
      p->probtype = kTypeLP;
      settype(p);
      return 0;
    case kTypeMILP:
      if (!mipfamily(old)) dropstate(e, p, 60);
      if (qpfamily(old) || miqpfamily(old)) {
        releaselayer(e, p, kLayerQp);
        dropstate(e, p, 27);
      }
      if (isview(p)) freeviews(e, p);
      p->probtype = kTypeLP;
      if (p->core->ctype == nullptr) {
        lpcore *c = p->core;
        c->ctype = allocn<char>(std::max(c->colspace, 1));
        if (c->ctype == nullptr) return kNoMemory;
        std::fill(c->ctype, c->ctype + std::max(c->colspace, 1), 'C');
      }
      soln_free(&p->soln);
      p->lpstat = 0;
      settype(p);
      return 0;
    case kTypeRelaxed:
    case kTypeFixed: {
      if (!mipfamily(old)) return 1024;
      const incumbent *s = p->mip && p->mip->work ? p->mip->work->inc : nullptr;
      if (type == kTypeFixed && (s == nullptr || s->solnseq < 0 || !s->havex)) return 3017;
      p->probtype = kTypeMILP;
      status = makecompanion(e, p);
      if (status == 0 && type == kTypeFixed) status = fixcompanion(e, p, *s);
      if (status) {
        freeviews(e, p);
        return status;
      }
      p->probtype = type;
      return 0;
    }
    case kTypeQP:
    case kTypeZeroedQP:
    case kTypeMIQP:
    case kTypeFixedMIQP:
      return 1018;  // the quadratic extension is not part of this library yet
    default:
      return 1022;
  }
}

// Frame of the result getters: the run must have happened.
int runframe(env *e, lp **pp, mipwork **w) {
  if (!checkenv(e)) return kNoEnvironment;
  if (!checklpfollow(e, pp)) return kNoProblem;
  lp *p = *pp;
  if (!integertype(p->probtype)) return 3003;
  if (p->mip == nullptr || p->mip->work == nullptr) return 1217;
  *w = p->mip->work;
  return 0;
}

// Frame of the incumbent getters; `needx` asks for the vector as well.
int incframe(env *e, lp **pp, mipwork **w, incumbent **s, bool needx = false) {
  int status = runframe(e, pp, w);
  if (status == 1217) return 3017;
  if (status) return status;
  *s = (*w)->inc;
  if (*s == nullptr || (*s)->solnseq < 0) return 3017;
  return needx && !(*s)->havex ? 3023 : 0;
}

// A double result of the run: the frame, the out pointer, the value.
template <class F>
int dblgetter(env *e, lp *p, double *out, F value) {
  return finish(e, guarded([&] {
    mipwork *w;
    int status = runframe(e, &p, &w);
    if (status) return status;
    if (out == nullptr) return static_cast<int>(kNullPointer);
    *out = value(w) * p->core->objsen;
    return 0;
  }));
}

template <class F>
int intgetter(env *e, lp *p, int fail, F f) {
  mipwork *w = nullptr;
  int status = runframe(e, &p, &w);
  if (status) {
    if (checkenv(e)) report(e, &status);
    return fail;
  }
  return f(w);
}

}  // namespace

int orderfromrule(env *e, lp *p, int kind, orderdata &out) {
  if (kind < 1 || kind > 3) return kBadArgument;
  lpcore *c = p->core;
  int n = c->numcols;
  out = orderdata();
  if (n == 0 || c->ctype == nullptr) return 0;
  std::vector<char> t(c->ctype, c->ctype + n);
  if (c->sos)
    for (int j : c->sos->ind)
      if (t[j] == 'C') t[j] = 'c';
  std::vector<int> pri(n, 0);
  if (kind == 2) {
    std::vector<double> lb(n), ub(n), range(n, 0.0);
    getlb_u(p, lb.data(), 0, n - 1);
    getub_u(p, ub.data(), 0, n - 1);
    double top = 0.0;
    for (int j = 0; j < n; ++j) {
      if (t[j] == 'I' || t[j] == 'N') {
        range[j] = (lb[j] > -kInfThreshold && ub[j] < kInfThreshold) ? std::trunc(ub[j] - lb[j])
                                                                      : 1e20;
        if (range[j] < 1e17) top = std::max(top, range[j]);
      } else if (t[j] == 'B' || t[j] == 'S') {
        range[j] = 1.0;
        top = std::max(top, 1.0);
      }
      if (top >= kBigInt) {
        msg(e->errchannel, errtext(e, 3018), colnameof(e, c->colname, n, j), top);
        return -3018;
      }
    }
    for (int j = 0; j < n; ++j) {
      if (t[j] == 'B' || t[j] == 'S') pri[j] = static_cast<int>(top + 2);
      else if (t[j] == 'I' || t[j] == 'N')
        pri[j] = range[j] >= 1e17 ? 1 : static_cast<int>(top + 2 - range[j]);
    }
    msg(e->reschannel, "Generated priority order by increasing bound range.\n");
  } else {
    std::vector<double> obj(n), score(n, 0.0);
    getobj_u(p, obj.data(), 0, n - 1);
    bool any = false;
    std::vector<bool> has(n, false);
    for (int j = 0; j < n; ++j) {
      if (t[j] == 'C' || std::fabs(obj[j]) <= 1e-10) continue;
      score[j] = std::fabs(obj[j]) * (c->colscale ? c->colscale[j] : 1.0);
      if (kind == 3) score[j] = c->matcnt[j] > 0 ? score[j] / c->matcnt[j] : 0.0;
      if (score[j] == 0.0) continue;
      has[j] = true;
      any = true;
    }
    if (!any) {
      for (int j = 0; j < n; ++j) pri[j] = t[j] != 'C' ? 1 : 0;
    } else {
      std::vector<int> order(n);
      std::iota(order.begin(), order.end(), 0);
      std::stable_sort(order.begin(), order.end(),
                       [&](int a, int b) { return score[a] < score[b]; });
      double lo = 1e75, hi = -1e75;
      int nscored = 0;
      for (int j = 0; j < n; ++j)
        if (has[j]) {
          lo = std::min(lo, score[j]);
          hi = std::max(hi, score[j]);
          ++nscored;
        }
      double step = (hi - lo) * 0.25 / nscored;
      int cur = 0;
      double prev = 0.0;
      for (int j : order) {
        if (t[j] == 'C') continue;
        if (cur == 0) cur = 1;
        else if (score[j] - prev > step) ++cur;
        pri[j] = cur;
        prev = score[j];
      }
      if (kind == 3) {
        int top = *std::max_element(pri.begin(), pri.end());
        for (int &q : pri)
          if (q != 0) q = top - q + 1;
      }
    }
    msg(e->reschannel, kind == 1 ? "Generated priority order by decreasing cost.\n"
                                 : "Generated priority order by increasing cost per "
                                   "coefficient count.\n");
  }
  for (int j = 0; j < n; ++j)
    if (pri[j] != 0) {
      out.ind.push_back(j);
      out.priority.push_back(pri[j]);
      out.direction.push_back(0);
      ++out.count;
    }
  return 0;
}

}  // namespace velto

using namespace velto;

extern "C" {

int VLTchgprobtype(VLTENVptr env, VLTLPptr lp, int type) {
  return finish(env, guarded([&] { return chgprobtype(env, lp, type); }));
}

int VLTgetmipx(VLTENVptr env, VLTLPptr lp, double *x, int begin, int end) {
  return finish(env, guarded([&] {
    mipwork *w;
    incumbent *s;
    int status = incframe(env, &lp, &w, &s, true);
    if (status) return status;
    if (!rangecheck(env, "VLTgetmipx", begin, end, 0, static_cast<int>(s->x.size())))
      return static_cast<int>(kIndexRange);
    if (end < begin) return 0;
    if (x == nullptr) return static_cast<int>(kNullPointer);
    std::copy(s->x.begin() + begin, s->x.begin() + end + 1, x);
    return 0;
  }));
}

int VLTgetmipslack(VLTENVptr env, VLTLPptr lp, double *slack, int begin, int end) {
  return finish(env, guarded([&] {
    mipwork *w;
    incumbent *s;
    int status = incframe(env, &lp, &w, &s, true);
    if (status) return status;
    const lpcore *c = lp->core;
    if (!rangecheck(env, "VLTgetmipslack", begin, end, 0, c->numrows))
      return static_cast<int>(kIndexRange);
    if (end < begin) return 0;
    if (slack == nullptr) return static_cast<int>(kNullPointer);
    int m = c->numrows;
    std::vector<double> act(m, 0.0), rhs(m);
    for (int j = 0; j < c->numcols && j < static_cast<int>(s->x.size()); ++j)
      for (int k = c->matbeg[j]; k < c->matbeg[j] + c->matcnt[j]; ++k)
        act[c->matind[k]] += matval_u(lp, k, j) * s->x[j];
    getrhs_u(lp, rhs.data(), 0, m - 1);
    for (int i = begin; i <= end; ++i)
      slack[i - begin] = c->sense[i] == 'R' ? act[i] - rhs[i] : rhs[i] - act[i];
    return 0;
  }));
}

int VLTgetmipobjval(VLTENVptr env, VLTLPptr lp, double *objval_p) {
  return finish(env, guarded([&] {
    mipwork *w;
    incumbent *s;
    int status = incframe(env, &lp, &w, &s);
    if (status) return status;
    if (objval_p == nullptr) return static_cast<int>(kNullPointer);
    *objval_p = s->bestobj * lp->core->objsen;
    return 0;
  }));
}

int VLTgetbestobjval(VLTENVptr env, VLTLPptr lp, double *objval_p) {
  return dblgetter(env, lp, objval_p, [](mipwork *w) { return w->bestnodeobj; });
}

int VLTgetcutoff(VLTENVptr env, VLTLPptr lp, double *cutoff_p) {
  return dblgetter(env, lp, cutoff_p, [](mipwork *w) { return w->inc ? w->inc->cutoff : 1e75; });
}

int VLTgetmipitcnt(VLTENVptr env, VLTLPptr lp) {
  return intgetter(env, lp, 0, [](mipwork *w) {
    return static_cast<int>(std::min<long long>(w->itcnt, kBigInt));
  });
}
int VLTgetnodecnt(VLTENVptr env, VLTLPptr lp) {
  return intgetter(env, lp, 0, [](mipwork *w) { return w->nodecnt; });
}
int VLTgetnodeleftcnt(VLTENVptr env, VLTLPptr lp) {
  return intgetter(env, lp, 0, [](mipwork *w) { return w->nodeleft; });
}
int VLTgetnodeint(VLTENVptr env, VLTLPptr lp) {
  mipwork *w;
  incumbent *s;
  int status = incframe(env, &lp, &w, &s);
  if (status) {
    if (checkenv(env)) report(env, &status);
    return -1;
  }
  return s->solnseq;
}
int VLTgetgenclqcnt(VLTENVptr env, VLTLPptr lp) {
  return intgetter(env, lp, 0, [](mipwork *w) { return w->cliquecnt; });
}
int VLTgetclqcnt(VLTENVptr env, VLTLPptr lp) {
  return intgetter(env, lp, 0, [](mipwork *w) { return w->cliqueapplied; });
}
int VLTgetcovcnt(VLTENVptr env, VLTLPptr lp) {
  return intgetter(env, lp, 0, [](mipwork *w) { return w->coverapplied; });
}
int VLTgetsubstat(VLTENVptr env, VLTLPptr lp) {
  return intgetter(env, lp, 0, [](mipwork *w) { return w->substat; });
}
int VLTgetsubmethod(VLTENVptr env, VLTLPptr lp) {
  return intgetter(env, lp, 0, [](mipwork *w) { return w->submethod; });
}

}  // extern "C"
