// Loading and reading the integer data of a model: special ordered sets,
// priority orders and MIP start values, and the release of the MIP layers.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>

#include "env/par.h"
#include "mip/mip.h"
#include "mip/mipbb.h"
#include "mip/mipnode.h"
#include "mip/miptree.h"
#include "model/store.h"

namespace velto {

mipwork::~mipwork() {
  cutworkfree(cuts);
  delete bb;
  delete inc;
  treefree(tree);
}

mipdata::~mipdata() {
  delete order;
  delete start;
  delete work;
  if (nodelp != nullptr && envp != nullptr) freeprob(envp, &nodelp);
}

namespace {

void release_mip(env *, lp *p) {
  delete p->mip;
  p->mip = nullptr;
}

// A change of the model ends what a run left (its results, the node
// problem); the orders and start values that the user gave stay.
void mark_mip(env *e, lp *p, int) {
  mipdata *m = p->mip;
  delete m->work;
  m->work = nullptr;
  if (m->nodelp != nullptr) freeprob(m->envp ? m->envp : e, &m->nodelp);
}

void release_sos(env *, lp *p) {
  if (p->core == nullptr) return;
  delete p->core->sos;
  p->core->sos = nullptr;
}

int frame(env *e, lp *p) {
  mip_register();
  if (!checkenv(e)) return kNoEnvironment;
  if (!checklp(e, p)) return kNoProblem;
  if (isview(p) || p->probtype == kTypeZeroedQP) return 1023;
  return cache_flush(e, p);
}

int badcol(env *e, int j) {
  msg(e->errchannel, errtext(e, 1201), j);
  return -1201;
}

// Makes every column continuous when the model has no types yet.
int ensurectype(lp *p) {
  lpcore *c = p->core;
  if (c->ctype != nullptr) return 0;
  c->ctype = allocn<char>(std::max(c->colspace, 1));
  if (c->ctype == nullptr) return kNoMemory;
  std::fill(c->ctype, c->ctype + std::max(c->colspace, 1), 'C');
  settype(p);
  return 0;
}

// Appends sets to `s` after the checks; `s` is left as it was on failure.
int appendsos(env *e, lp *p, sosdata &s, int numsos, int numsosnz, const char *sostype,
              const int *sospri, const int *sosbeg, const int *sosind, const double *soswt) {
  if (numsos < 0 || numsosnz < 0) return kBadArgument;
  if (numsos == 0 || numsosnz == 0) return 0;
  if (!sostype || !sosbeg || !sosind || !soswt) return kNullPointer;
  int n = p->core->numcols;
  bool check = e->params->datacheck != 0;
  for (int k = 0; k < numsos; ++k) {
    if (check && sostype[k] != '1' && sostype[k] != '2') {
      msg(e->errchannel, errtext(e, 3009), k);
      return -3009;
    }
    if (check && sospri && sospri[k] < 0) {
      msg(e->errchannel, errtext(e, 3006), k);
      return -3006;
    }
    int b = sosbeg[k], en = k + 1 < numsos ? sosbeg[k + 1] : numsosnz;
    if (b < 0 || b > en || en > numsosnz) {
      msg(e->errchannel, errtext(e, 1226), k);
      return -1226;
    }
  }
  // Column indices are always checked: a set naming a column that is not
  // there would be a fault waiting in every later reader of the sets.
  for (int k = sosbeg[0]; k < numsosnz; ++k)
    if (sosind[k] < 0 || sosind[k] >= n) return badcol(e, sosind[k]);
  sosdata t = s;
  bool withpri = sospri != nullptr || !t.priority.empty();
  if (t.beg.empty()) t.beg.push_back(0);
  if (withpri && t.priority.size() < static_cast<size_t>(t.count))
    t.priority.resize(t.count, 0);
  for (int k = 0; k < numsos; ++k) {
    int b = sosbeg[k], en = k + 1 < numsos ? sosbeg[k + 1] : numsosnz;
    size_t first = t.ind.size();
    for (int q = b; q < en; ++q) {
      t.ind.push_back(sosind[q]);
      t.wt.push_back(soswt[q]);
    }
    // Shell sort by ascending weight, gaps half the length and halving.
    int len = en - b;
    int *ind = t.ind.data() + first;
    double *wt = t.wt.data() + first;
    for (int gap = len / 2; gap > 0; gap /= 2)
      for (int i = gap; i < len; ++i)
        for (int j = i - gap; j >= 0 && wt[j] > wt[j + gap]; j -= gap) {
          std::swap(wt[j], wt[j + gap]);
          std::swap(ind[j], ind[j + gap]);
        }
    for (int i = 1; i < len; ++i)
      if (wt[i] - wt[i - 1] <= 1e-10) {
        return 3010;
      }
    t.type.push_back(sostype[k]);
    if (withpri) t.priority.push_back(sospri ? sospri[k] : 0);
    t.beg.push_back(static_cast<int>(t.ind.size()));
    ++t.count;
  }
  s = std::move(t);
  return 0;
}

int copyoraddsos(env *e, lp *p, bool replace, int numsos, int numsosnz, const char *sostype,
                 const int *sospri, const int *sosbeg, const int *sosind,
                 const double *soswt) {
  int status = frame(e, p);
  if (status) return status;
  if (numsos < 0 || numsosnz < 0) return kBadArgument;
  lpcore *c = p->core;
  if ((status = ensurectype(p)) != 0) return status;
  sosdata fresh;
  sosdata &target = (replace || c->sos == nullptr) ? fresh : *c->sos;
  sosdata work = target;
  status = appendsos(e, p, work, numsos, numsosnz, sostype, sospri, sosbeg, sosind, soswt);
  if (status) {
    if (replace) releaselayer(e, p, kLayerSos);
    return status;
  }
  if (work.count == 0) {
    if (replace) releaselayer(e, p, kLayerSos);
  } else {
    if (c->sos == nullptr) c->sos = new sosdata();
    *c->sos = std::move(work);
  }
  dropstate(e, p, 11);
  settype(p);
  return 0;
}

int getsos(env *e, lp *p, int *nzcnt, char *type, int *pri, int *beg, int *ind, double *wt,
           int space, int *surplus, int begin, int end) {
  if (nzcnt) *nzcnt = 0;
  if (surplus) *surplus = 0;
  if (!checkenv(e)) return kNoEnvironment;
  if (!checklpfollow(e, &p)) return kNoProblem;
  int status = cache_flush(e, p);
  if (status) return status;
  const sosdata *s = p->core->sos;
  if (s == nullptr || s->count == 0) return 3015;
  if (!rangecheck(e, "VLTgetsos", begin, end, 0, s->count)) return kIndexRange;
  if (end < begin) return 0;
  if (!nzcnt || !surplus) return kNullPointer;
  int total = s->beg[end + 1] - s->beg[begin];
  for (int k = begin; k <= end; ++k) {
    if (type) type[k - begin] = s->type[k];
    if (pri) pri[k - begin] = s->priority.empty() ? 0 : s->priority[k];
  }
  if (space <= 0) {
    *surplus = -total;
    if (beg)
      for (int k = begin; k <= end; ++k) beg[k - begin] = 0;
    return total > 0 ? 1207 : 0;
  }
  if ((!beg || !ind || !wt) && total > 0) return kNullPointer;
  int off = s->beg[begin];
  int put = std::min(space, total);
  for (int k = begin; k <= end; ++k) beg[k - begin] = std::min(s->beg[k] - off, put);
  for (int q = 0; q < put; ++q) {
    ind[q] = s->ind[off + q];
    wt[q] = s->wt[off + q];
  }
  *nzcnt = put;
  *surplus = space - total;
  return *surplus < 0 ? 1207 : 0;
}

int delsetsos(env *e, lp *p, int *delstat) {
  int status = frame(e, p);
  if (status) return status;
  if (delstat == nullptr) return kNullPointer;
  sosdata *s = p->core->sos;
  if (s == nullptr || s->count == 0) return 0;
  sosdata t;
  t.beg.push_back(0);
  for (int k = 0; k < s->count; ++k) {
    if (delstat[k] != 0) {
      delstat[k] = -1;
      continue;
    }
    delstat[k] = t.count++;
    t.type.push_back(s->type[k]);
    if (!s->priority.empty()) t.priority.push_back(s->priority[k]);
    for (int q = s->beg[k]; q < s->beg[k + 1]; ++q) {
      t.ind.push_back(s->ind[q]);
      t.wt.push_back(s->wt[q]);
    }
    t.beg.push_back(static_cast<int>(t.ind.size()));
  }
  if (t.count == 0) releaselayer(e, p, kLayerSos);
  else *s = std::move(t);
  dropstate(e, p, 11);
  return 0;
}

// Frame of the list copies (orders, start values): handles, the count and
// the MIP holder; *m is null when there is nothing more to do.
int listcopyframe(env *e, lp *p, int cnt, mipdata **m) {
  *m = nullptr;
  int status = frame(e, p);
  if (status) return status;
  if (cnt < 0) return kBadArgument;
  *m = mipdatanew(e, p);
  return *m == nullptr ? kNoMemory : 0;
}

// Frame of the list getters: handles, the type, the out pointers.
int listgetframe(env *e, lp **pp, int *cnt, int *surplus) {
  if (cnt) *cnt = 0;
  if (surplus) *surplus = 0;
  if (!checkenv(e)) return kNoEnvironment;
  if (!checklpfollow(e, pp)) return kNoProblem;
  int status = cache_flush(e, *pp);
  if (status) return status;
  return integertype((*pp)->probtype) ? 0 : 3003;
}

int copyorder(env *e, lp *p, int cnt, const int *indices, const int *priority,
              const int *direction) {
  mipdata *m;
  int status = listcopyframe(e, p, cnt, &m);
  if (status) return status;
  if (cnt == 0) {
    delete m->order;
    m->order = nullptr;
    return 0;
  }
  if (indices == nullptr) return kNullPointer;
  if (e->params->datacheck) {
    for (int k = 0; k < cnt; ++k) {
      if (indices[k] < 0 || indices[k] >= p->core->numcols) return badcol(e, indices[k]);
      if (priority && priority[k] < 0) {
        msg(e->errchannel, errtext(e, 3006), k);
        return -3006;
      }
      if (direction && (direction[k] < -1 || direction[k] > 1)) {
        msg(e->errchannel, errtext(e, 3007), k);
        return -3007;
      }
    }
  }
  auto *o = new orderdata();
  o->count = cnt;
  o->ind.assign(indices, indices + cnt);
  if (priority) o->priority.assign(priority, priority + cnt);
  if (direction) o->direction.assign(direction, direction + cnt);
  delete m->order;
  m->order = o;
  return 0;
}

int getorder(env *e, lp *p, int *cnt, int *indices, int *priority, int *direction, int space,
             int *surplus) {
  int status = listgetframe(e, &p, cnt, surplus);
  if (status) return status;
  orderdata gen;
  const orderdata *o = p->mip ? p->mip->order : nullptr;
  if (o == nullptr && e->mipparams->mipordtype > 0) {
    status = orderfromrule(e, p, e->mipparams->mipordtype, gen);
    if (status) return status;
    o = &gen;
  }
  if (o == nullptr) return 3016;
  if (!cnt || !surplus) return kNullPointer;
  int put = std::min(std::max(space, 0), o->count);
  if (put > 0 && !indices) return kNullPointer;
  for (int k = 0; k < put; ++k) {
    indices[k] = o->ind[k];
    if (priority) priority[k] = o->priority.empty() ? 0 : o->priority[k];
    if (direction) direction[k] = o->direction.empty() ? 0 : o->direction[k];
  }
  *cnt = put;
  *surplus = std::max(space, 0) - o->count;
  return *surplus < 0 ? 1207 : 0;
}

int copymipstart(env *e, lp *p, int cnt, const int *indices, const double *values) {
  mipdata *m;
  int status = listcopyframe(e, p, cnt, &m);
  if (status) return status;
  if (cnt == 0) {
    delete m->start;
    m->start = nullptr;
    return 0;
  }
  if (!indices || !values) return kNullPointer;
  if (e->params->datacheck)
    for (int k = 0; k < cnt; ++k)
      if (indices[k] < 0 || indices[k] >= p->core->numcols) return badcol(e, indices[k]);
  auto *s = new mipstartdata();
  s->count = cnt;
  s->ind.assign(indices, indices + cnt);
  s->value.assign(values, values + cnt);
  delete m->start;
  m->start = s;
  return 0;
}

int getmipstart(env *e, lp *p, int *cnt, int *indices, double *values, int space,
                int *surplus) {
  int status = listgetframe(e, &p, cnt, surplus);
  if (status) return status;
  const mipstartdata *s = p->mip ? p->mip->start : nullptr;
  if (s == nullptr) return 3020;
  if (!cnt || !surplus) return kNullPointer;
  int put = std::min(std::max(space, 0), s->count);
  if (put > 0 && (!indices || !values)) return kNullPointer;
  for (int k = 0; k < put; ++k) {
    indices[k] = s->ind[k];
    values[k] = s->value[k];
  }
  *cnt = put;
  *surplus = std::max(space, 0) - s->count;
  return *surplus < 0 ? 1207 : 0;
}

// Count of one column type, pending columns of the change cache included.
int counttype(env *e, lp *p, char t) {
  if (!checkenv(e)) return 0;
  int status = 0;
  if (!checklpfollow(e, &p)) {
    status = kNoProblem;
    report(e, &status);
    return 0;
  }
  const lpcore *c = p->core;
  int n = 0;
  if (c->ctype)
    for (int j = 0; j < c->numcols; ++j) n += c->ctype[j] == t;
  const cache *ch = c->cache;
  if (ch && ch->cctype)
    for (int j = 0; j < ch->ccnt; ++j) n += ch->cctype[j] == t;
  return n;
}

}  // namespace

void mip_register() {
  static bool done = false;
  if (!done) {
    setlayerops(kLayerMip, layerops{release_mip, mark_mip});
    setlayerops(kLayerSos, layerops{release_sos, nullptr});
    done = true;
  }
}

mipdata *mipdatanew(env *e, lp *p) {
  mip_register();
  if (p->mip == nullptr) {
    p->mip = new (std::nothrow) mipdata();
    if (p->mip != nullptr) p->mip->envp = e;
  }
  return p->mip;
}

int checkfixedint(env *e, lp *p, double epint) {
  const lpcore *c = p->core;
  if (c->ctype == nullptr) return 0;
  int n = c->numcols;
  if (n == 0) return 0;
  std::vector<double> lb(n), ub(n);
  getlb_u(p, lb.data(), 0, n - 1);
  getub_u(p, ub.data(), 0, n - 1);
  for (int j = 0; j < n; ++j) {
    if (c->ctype[j] == 'C' || c->ctype[j] == 'S') continue;
    if (std::fabs(lb[j]) >= kInfThreshold || std::fabs(ub[j]) >= kInfThreshold) continue;
    if (ub[j] - lb[j] >= 1e-10) continue;
    if (std::fabs(lb[j] - std::floor(lb[j] + 0.5)) > epint) {
      msg(e->errchannel, errtext(e, 3011), "fixed", lb[j],
          colnameof(e, c->colname, c->numcols, j));
      return -3011;
    }
  }
  return 0;
}

int checkbinary(env *e, lp *p, const double *x, double epint) {
  const lpcore *c = p->core;
  if (c->ctype == nullptr) return 0;
  for (int j = 0; j < c->numcols; ++j)
    if (c->ctype[j] == 'B' && (x[j] < -epint || x[j] > 1.0 + epint)) {
      msg(e->errchannel, errtext(e, 3002), colnameof(e, c->colname, c->numcols, j));
      return -3002;
    }
  return 0;
}

}  // namespace velto

using namespace velto;

extern "C" {

int VLTcopysos(VLTENVptr env, VLTLPptr lp, int numsos, int numsosnz, const char *sostype,
               const int *sospri, const int *sosbeg, const int *sosind, const double *soswt) {
  return finish(env, guarded([&] {
    return copyoraddsos(env, lp, true, numsos, numsosnz, sostype, sospri, sosbeg, sosind,
                        soswt);
  }));
}

int VLTaddsos(VLTENVptr env, VLTLPptr lp, int numsos, int numsosnz, const char *sostype,
              const int *sospri, const int *sosbeg, const int *sosind, const double *soswt) {
  return finish(env, guarded([&] {
    return copyoraddsos(env, lp, false, numsos, numsosnz, sostype, sospri, sosbeg, sosind,
                        soswt);
  }));
}

int VLTdelsetsos(VLTENVptr env, VLTLPptr lp, int *delstat) {
  return finish(env, guarded([&] { return delsetsos(env, lp, delstat); }));
}

int VLTgetsos(VLTENVptr env, VLTLPptr lp, int *numsosnz_p, char *sostype, int *sospri,
              int *sosbeg, int *sosind, double *soswt, int sosspace, int *surplus_p, int begin,
              int end) {
  return finish(env, guarded([&] {
    return getsos(env, lp, numsosnz_p, sostype, sospri, sosbeg, sosind, soswt, sosspace,
                  surplus_p, begin, end);
  }));
}

int VLTgetnumsos(VLTENVptr env, VLTLPptr lp) {
  if (!checkenv(env)) return 0;
  if (!checklpfollow(env, &lp)) {
    int status = kNoProblem;
    report(env, &status);
    return 0;
  }
  return lp->core->sos ? lp->core->sos->count : 0;
}

int VLTcopyorder(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices, const int *priority,
                 const int *direction) {
  return finish(env, guarded([&] { return copyorder(env, lp, cnt, indices, priority, direction); }));
}

int VLTgetorder(VLTENVptr env, VLTLPptr lp, int *cnt_p, int *indices, int *priority,
                int *direction, int ordspace, int *surplus_p) {
  return finish(env, guarded([&] {
    return getorder(env, lp, cnt_p, indices, priority, direction, ordspace, surplus_p);
  }));
}

int VLTcopymipstart(VLTENVptr env, VLTLPptr lp, int cnt, const int *indices,
                    const double *values) {
  return finish(env, guarded([&] { return copymipstart(env, lp, cnt, indices, values); }));
}

int VLTgetmipstart(VLTENVptr env, VLTLPptr lp, int *cnt_p, int *indices, double *values,
                   int startspace, int *surplus_p) {
  return finish(env, guarded([&] {
    return getmipstart(env, lp, cnt_p, indices, values, startspace, surplus_p);
  }));
}

int VLTgetnumint(VLTENVptr env, VLTLPptr lp) { return counttype(env, lp, 'I'); }
int VLTgetnumbin(VLTENVptr env, VLTLPptr lp) { return counttype(env, lp, 'B'); }
int VLTgetnumsemicont(VLTENVptr env, VLTLPptr lp) { return counttype(env, lp, 'S'); }
int VLTgetnumsemiint(VLTENVptr env, VLTLPptr lp) { return counttype(env, lp, 'N'); }

}  // extern "C"
