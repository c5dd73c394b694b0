// Semi-continuous and semi-integer columns as linked binaries.  A column j
// with bounds l and u becomes a column on [0, u] with a binary z_j and the
// rows x_j - l z_j >= 0 and x_j - u z_j <= 0.  The conversion works on a
// copy of the model, so the user's model never changes; the copy's
// solutions are cut back to the model's columns.
#include <algorithm>
#include <cmath>
#include <string>

#include "env/par.h"
#include "mip/mip.h"
#include "model/store.h"

namespace velto {

namespace {

int converted(env *e, lp *p, lp *q, semidata &sd) {
  const lpcore *c = p->core;
  int n = c->numcols, m = c->numrows, k = sd.count;
  std::vector<double> lb(n), ub(n);
  getlb_u(p, lb.data(), 0, n - 1);
  getub_u(p, ub.data(), 0, n - 1);
  bool named = c->colname != nullptr;
  std::vector<std::string> cn, rn;
  std::vector<char *> cp, rp;
  for (int t = 0; t < k && named; ++t) {
    const char *name = colnameof(e, c->colname, n, sd.cols[t]);
    cn.push_back(std::string("SCBV_") + name);
    rn.push_back(std::string("SCLB_") + name);
    rn.push_back(std::string("SCUB_") + name);
  }
  for (auto &s : cn) cp.push_back(s.data());
  for (auto &s : rn) rp.push_back(s.data());
  std::vector<double> zero(k, 0.0), one(k, 1.0);
  std::string bin(k, 'B');
  int status = VLTnewcols(e, q, k, zero.data(), zero.data(), one.data(), bin.data(),
                          named ? cp.data() : nullptr);
  if (status) return -status;
  std::vector<double> rhs(2 * k, 0.0), val;
  std::string sense;
  std::vector<int> beg, ind;
  for (int t = 0; t < k; ++t) {
    int j = sd.cols[t], z = n + t;
    for (int side = 0; side < 2; ++side) {
      beg.push_back(static_cast<int>(ind.size()));
      sense.push_back(side == 0 ? 'G' : 'L');
      ind.push_back(j);
      val.push_back(1.0);
      ind.push_back(z);
      val.push_back(side == 0 ? -sd.lower[t] : -ub[j]);
    }
  }
  status = VLTaddrows(e, q, 0, 2 * k, static_cast<int>(ind.size()), rhs.data(), sense.data(),
                      beg.data(), ind.data(), val.data(), nullptr, named ? rp.data() : nullptr);
  if (status) return -status;
  std::vector<char> lo(k, 'L');
  status = VLTchgbds(e, q, k, sd.cols.data(), lo.data(), zero.data());
  if (status) return -status;
  std::string types;
  for (int t = 0; t < k; ++t) types.push_back(c->ctype[sd.cols[t]] == 'S' ? 'C' : 'I');
  status = VLTchgctype(e, q, k, sd.cols.data(), types.data());
  if (status) return -status;
  sd.firstcol = n;
  sd.lastcol = n + k - 1;
  sd.firstrow = m;
  sd.lastrow = m + 2 * k - 1;
  // Orders and start values grow by the binaries.
  const mipdata *pm = p->mip;
  if (pm == nullptr) return 0;
  mipdata *qm = mipdatanew(e, q);
  if (qm == nullptr) return kNoMemory;
  std::vector<int> where(n, -1);
  for (int t = 0; t < k; ++t) where[sd.cols[t]] = t;
  if (pm->order && e->mipparams->mipordind) {
    auto *o = new orderdata(*pm->order);
    std::vector<int> pri(k, 0), dir(k, 0);
    for (int q2 = 0; q2 < pm->order->count; ++q2) {
      int t = where[pm->order->ind[q2]];
      if (t < 0) continue;
      pri[t] = pm->order->priority.empty() ? 0 : pm->order->priority[q2];
      dir[t] = pm->order->direction.empty() ? 0 : pm->order->direction[q2];
    }
    for (int t = 0; t < k; ++t) {
      o->ind.push_back(n + t);
      if (!o->priority.empty()) o->priority.push_back(pri[t]);
      if (!o->direction.empty()) o->direction.push_back(dir[t]);
    }
    o->count += k;
    qm->order = o;
  }
  if (pm->start && e->mipparams->mipstart) {
    std::vector<double> table(n, 1e20);
    for (int q2 = 0; q2 < pm->start->count; ++q2) table[pm->start->ind[q2]] = pm->start->value[q2];
    std::vector<bool> member(n, false);
    if (c->sos)
      for (int j : c->sos->ind) member[j] = true;
    auto *s = new mipstartdata(*pm->start);
    for (int q2 = 0; q2 < s->count; ++q2) {
      int j = s->ind[q2];
      if (c->ctype[j] == 'S' && !member[j]) s->value[q2] = 1e20;  // no value
    }
    double eprhs = e->params->eprhs;
    for (int t = 0; t < k; ++t) {
      double v = table[sd.cols[t]];
      s->ind.push_back(n + t);
      s->value.push_back(v < 1e20 && sd.lower[t] - eprhs <= v ? 1.0 : 0.0);
    }
    s->count += k;
    qm->start = s;
  }
  return 0;
}

}  // namespace

int semiconvert(env *e, lp *p, lp **out, semidata &sd) {
  *out = nullptr;
  sd = semidata();
  const lpcore *c = p->core;
  int n = c->numcols;
  if (c->ctype == nullptr) return 0;
  std::vector<double> lb(std::max(n, 1)), ub(std::max(n, 1));
  if (n > 0) {
    getlb_u(p, lb.data(), 0, n - 1);
    getub_u(p, ub.data(), 0, n - 1);
  }
  for (int j = 0; j < n; ++j) {
    if (c->ctype[j] != 'S' && c->ctype[j] != 'N') continue;
    if (std::fabs(lb[j]) >= kInfThreshold || std::fabs(ub[j]) >= kInfThreshold || lb[j] < 0 ||
        ub[j] < 0 || lb[j] > ub[j] + 1e-10) {
      msg(e->errchannel, errtext(e, 3022), j);
      return -3022;
    }
    sd.cols.push_back(j);
    sd.lower.push_back(lb[j]);
  }
  sd.count = static_cast<int>(sd.cols.size());
  if (sd.count == 0) return 0;
  int status = 0;
  lp *q = VLTcloneprob(e, p, &status);
  if (q == nullptr) return status ? -std::abs(status) : kNoMemory;
  status = converted(e, p, q, sd);
  if (status) {
    VLTfreeprob(e, &q);
    sd = semidata();
    return status;
  }
  *out = q;
  return 0;
}

void semirestore_x(const semidata &sd, std::vector<double> &x) {
  if (sd.firstcol >= 0 && static_cast<int>(x.size()) > sd.firstcol) x.resize(sd.firstcol);
}

}  // namespace velto
