// The out pointers of the readers that hand a model to the caller as plain
// arrays: the linear model, the integer and set data, the quadratic term and
// the rim vectors of an MPS file.  Every array comes from alloc and is
// released by the caller with VLTfree; a fill that runs out of memory hands
// out nothing.
#include <algorithm>
#include <tuple>

#include "fileio/rwutil.h"

namespace velto {

namespace {

bool handnames(const namestore &s, char ***names, char **store) {
  *store = handout(s.text);
  *names = allocn<char *>(s.size());
  if (*store == nullptr || *names == nullptr) return false;
  for (int i = 0; i < s.size(); ++i) (*names)[i] = *store + s.off[i];
  return true;
}

}  // namespace

void modelout_clear(const modelout &o) {
  for (int *q : {o.numcols_p, o.numrows_p, o.objsen_p})
    if (q) *q = 0;
  for (double **q : {o.obj_p, o.rhs_p, o.matval_p, o.lb_p, o.ub_p, o.rngval_p})
    if (q) *q = nullptr;
  for (int **q : {o.matbeg_p, o.matcnt_p, o.matind_p})
    if (q) *q = nullptr;
  for (char **q : {o.sense_p, o.colnamestore_p, o.rownamestore_p})
    if (q) *q = nullptr;
  if (o.colname_p) *o.colname_p = nullptr;
  if (o.rowname_p) *o.rowname_p = nullptr;
}

int modelout_check(const modelout &o) {
  const bool ok = o.numcols_p && o.numrows_p && o.objsen_p && o.obj_p && o.rhs_p && o.sense_p &&
                  o.matbeg_p && o.matcnt_p && o.matind_p && o.matval_p && o.lb_p && o.ub_p;
  return ok ? 0 : kNullPointer;
}

int modelout_fill(const filemodel &m, const modelout &o) {
  std::vector<void *> made;
  bool ok = true;
  auto keep = [&](auto *p) {
    made.push_back(p);
    ok &= p != nullptr;
    return p;
  };
  *o.obj_p = keep(handout(m.obj));
  *o.rhs_p = keep(handout(m.rhs));
  *o.sense_p = keep(handout(m.sense));
  *o.matbeg_p = keep(handout(m.matbeg));
  *o.matcnt_p = keep(handout(m.matcnt));
  *o.matind_p = keep(handout(m.matind));
  *o.matval_p = keep(handout(m.matval));
  *o.lb_p = keep(handout(m.lb));
  *o.ub_p = keep(handout(m.ub));
  if (o.rngval_p && !m.rngval.empty()) *o.rngval_p = keep(handout(m.rngval));
  if (ok && o.colname_p && o.colnamestore_p && m.colnames.size() > 0) {
    ok = handnames(m.colnames, o.colname_p, o.colnamestore_p);
    made.push_back(*o.colname_p);
    made.push_back(*o.colnamestore_p);
  }
  if (ok && o.rowname_p && o.rownamestore_p && m.rownames.size() > 0) {
    ok = handnames(m.rownames, o.rowname_p, o.rownamestore_p);
    made.push_back(*o.rowname_p);
    made.push_back(*o.rownamestore_p);
  }
  if (!ok) {
    for (void *q : made) release(&q);
    modelout_clear(o);
    return kNoMemory;
  }
  *o.numcols_p = m.numcols;
  *o.numrows_p = m.numrows;
  *o.objsen_p = m.objsen;
  return 0;
}

void modelout_free(const modelout &o) {
  for (double **q : {o.obj_p, o.rhs_p, o.matval_p, o.lb_p, o.ub_p, o.rngval_p})
    if (q) release(q);
  for (int **q : {o.matbeg_p, o.matcnt_p, o.matind_p}) release(q);
  for (char **q : {o.sense_p, o.colnamestore_p, o.rownamestore_p})
    if (q) release(q);
  if (o.colname_p) release(o.colname_p);
  if (o.rowname_p) release(o.rowname_p);
  modelout_clear(o);
}

namespace {

// Collects the blocks of one fill, so that a failure gives all of them back.
class handing {
 public:
  template <class T>
  T *take(T *p) {
    made_.push_back(static_cast<void *>(p));
    ok_ &= p != nullptr;
    return p;
  }
  bool ok() const { return ok_; }
  void undo() {
    for (void *q : made_) release(&q);
    made_.clear();
  }

 private:
  std::vector<void *> made_;
  bool ok_ = true;
};

}  // namespace

// ---- integer and set data ---------------------------------------------------------------

void mipout_clear(const mipout &o) {
  if (o.ctype_p) *o.ctype_p = nullptr;
  if (o.numsos_p) *o.numsos_p = 0;
  if (o.numsosnz_p) *o.numsosnz_p = 0;
  if (o.sostype_p) *o.sostype_p = nullptr;
  for (int **q : {o.sospri_p, o.sosbeg_p, o.sosind_p})
    if (q) *q = nullptr;
  if (o.soswt_p) *o.soswt_p = nullptr;
}

int mipout_check(const mipout &o) {
  const bool ok = o.ctype_p && o.numsos_p && o.numsosnz_p && o.sostype_p && o.sosbeg_p &&
                  o.sosind_p && o.soswt_p;
  return ok ? 0 : kNullPointer;
}

int mipout_fill(const filemodel &m, const mipout &o) {
  handing h;
  const int numsos = static_cast<int>(m.sostype.size());
  if (!m.ctype.empty()) *o.ctype_p = h.take(handout(m.ctype));
  if (numsos > 0) {
    *o.sostype_p = h.take(handout(m.sostype));
    *o.sosbeg_p = h.take(handout(m.sosbeg));
    *o.sosind_p = h.take(handout(m.sosind));
    *o.soswt_p = h.take(handout(m.soswt));
    if (o.sospri_p && !m.sospri.empty()) *o.sospri_p = h.take(handout(m.sospri));
  }
  if (!h.ok()) {
    h.undo();
    mipout_clear(o);
    return kNoMemory;
  }
  *o.numsos_p = numsos;
  *o.numsosnz_p = static_cast<int>(m.sosind.size());
  return 0;
}

void mipout_free(const mipout &o) {
  if (o.ctype_p) release(o.ctype_p);
  if (o.sostype_p) release(o.sostype_p);
  for (int **q : {o.sospri_p, o.sosbeg_p, o.sosind_p})
    if (q) release(q);
  if (o.soswt_p) release(o.soswt_p);
  mipout_clear(o);
}

// ---- quadratic term ---------------------------------------------------------------------

void quadcolumns(const filemodel &m, std::vector<int> &beg, std::vector<int> &cnt,
                 std::vector<int> &ind, std::vector<double> &val) {
  const int n = m.numcols;
  // (column, row, position): entries of a column by row, in file order.
  std::vector<std::tuple<int, int, size_t>> e;
  const size_t count = std::min({m.qval.size(), m.qrow.size(), m.qcol.size()});
  e.reserve(count);
  for (size_t k = 0; k < count; ++k)
    if (m.qcol[k] >= 0 && m.qcol[k] < n && m.qrow[k] >= 0 && m.qrow[k] < n)
      e.emplace_back(m.qcol[k], m.qrow[k], k);
  std::sort(e.begin(), e.end());
  beg.assign(n, 0);
  cnt.assign(n, 0);
  ind.clear();
  val.clear();
  for (size_t a = 0; a < e.size();) {
    const int j = std::get<0>(e[a]), i = std::get<1>(e[a]);
    double v = 0.0;
    size_t b = a;
    for (; b < e.size() && std::get<0>(e[b]) == j && std::get<1>(e[b]) == i; ++b)
      v += m.qval[std::get<2>(e[b])];
    a = b;
    if (v == 0.0) continue;
    ind.push_back(i);
    val.push_back(v);
    ++cnt[j];
  }
  for (int j = 1; j < n; ++j) beg[j] = beg[j - 1] + cnt[j - 1];
}

void quadout_clear(const quadout &o) {
  if (o.numqnz_p) *o.numqnz_p = 0;
  for (int **q : {o.qmatbeg_p, o.qmatcnt_p, o.qmatind_p})
    if (q) *q = nullptr;
  if (o.qmatval_p) *o.qmatval_p = nullptr;
}

int quadout_check(const quadout &o) {
  const bool ok = o.numqnz_p && o.qmatbeg_p && o.qmatcnt_p && o.qmatind_p && o.qmatval_p;
  return ok ? 0 : kNullPointer;
}

int quadout_fill(const filemodel &m, const quadout &o) {
  std::vector<int> beg, cnt, ind;
  std::vector<double> val;
  quadcolumns(m, beg, cnt, ind, val);
  if (ind.empty()) return 0;  // no quadratic term: zero and null
  handing h;
  *o.qmatbeg_p = h.take(handout(beg));
  *o.qmatcnt_p = h.take(handout(cnt));
  *o.qmatind_p = h.take(handout(ind));
  *o.qmatval_p = h.take(handout(val));
  if (!h.ok()) {
    h.undo();
    quadout_clear(o);
    return kNoMemory;
  }
  *o.numqnz_p = static_cast<int>(ind.size());
  return 0;
}

void quadout_free(const quadout &o) {
  for (int **q : {o.qmatbeg_p, o.qmatcnt_p, o.qmatind_p})
    if (q) release(q);
  if (o.qmatval_p) release(o.qmatval_p);
  quadout_clear(o);
}

// ---- rim vectors ------------------------------------------------------------------------

void rimout_clear(const rimout &o) {
  if (o.rimcnt_p) *o.rimcnt_p = 0;
  if (o.rimnzcnt_p) *o.rimnzcnt_p = 0;
  if (o.rimname_p) *o.rimname_p = nullptr;
  if (o.rimnamestore_p) *o.rimnamestore_p = nullptr;
}

int rimout_check(const rimout &o) {
  if (o.rimspace < 0 || o.rimnzspace < 0) return kBadArgument;
  bool ok = o.rimcnt_p && o.rimnzcnt_p;
  if (o.rimspace > 0) ok &= o.rimtype && o.rimbeg;
  if (o.rimnzspace > 0) ok &= o.rimind && o.rimval && o.rimlu;
  // The names come as a pair or not at all.
  ok &= (o.rimname_p == nullptr) == (o.rimnamestore_p == nullptr);
  return ok ? 0 : kNullPointer;
}

int rimout_fill(const filemodel &m, const rimout &o) {
  const int count = static_cast<int>(m.rims.size());
  size_t nz = 0;
  for (const rimvector &r : m.rims) nz += r.ind.size();
  if (count > o.rimspace || nz > static_cast<size_t>(o.rimnzspace)) {
    // The counts tell the space a second call needs.
    *o.rimcnt_p = count;
    *o.rimnzcnt_p = static_cast<int>(nz);
    return count > o.rimspace ? 1484 : 1485;
  }
  if (o.rimname_p != nullptr && count > 0) {
    namestore names;
    for (const rimvector &r : m.rims) names.add(r.name);
    *o.rimnamestore_p = handout(names.text);
    *o.rimname_p = allocn<char *>(names.size());
    if (*o.rimnamestore_p == nullptr || *o.rimname_p == nullptr) {
      rimout_free(o);
      return kNoMemory;
    }
    for (int k = 0; k < count; ++k) (*o.rimname_p)[k] = *o.rimnamestore_p + names.off[k];
  }
  size_t at = 0;
  for (int k = 0; k < count; ++k) {
    const rimvector &r = m.rims[k];
    o.rimtype[k] = r.kind;
    o.rimbeg[k] = static_cast<int>(at);
    for (size_t q = 0; q < r.ind.size(); ++q, ++at) {
      o.rimind[at] = r.ind[q];
      o.rimval[at] = r.val[q];
      o.rimlu[at] = r.lu[q];
    }
  }
  *o.rimcnt_p = count;
  *o.rimnzcnt_p = static_cast<int>(nz);
  return 0;
}

void rimout_free(const rimout &o) {
  if (o.rimname_p) release(o.rimname_p);
  if (o.rimnamestore_p) release(o.rimnamestore_p);
  rimout_clear(o);
}

}  // namespace velto
