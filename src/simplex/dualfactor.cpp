// The dual engine's view of the library's sparse LU factor.
#include <algorithm>
#include <memory>
#include <new>

#include "env/par.h"
#include "simplex/dualcore.h"
#include "simplex/lufactor.h"
#include "simplex/svec.h"

namespace velto {

namespace {

struct sparsefac final : dualfactor {
  env *e = nullptr;
  lufactor *fac = nullptr;
  lumatrix mat{};
  std::vector<int> matcnt;
  double markowitz = 0.01;
  double singtol = 1e-13;
  svec sv{};     // result of the last solve of the entering column or row
  std::vector<int> oldhead;

  ~sparsefac() override {
    lu_free(&fac);
    svec_free(&sv);
  }

  int factor(const dualprob &p, std::vector<int> &head, std::vector<int> &singular,
             std::vector<int> &singrow) override {
    singular.clear();
    singrow.clear();
    oldhead = head;
    int r = lu_refactor(e, fac, &mat, head.data(), &markowitz, singtol, 1, nullptr);
    if (r == kLuRepaired) {
      for (int c = 0; c < p.m; ++c)
        if (head[c] != oldhead[c]) {
          singular.push_back(c);
          singrow.push_back(head[c] >= p.n ? head[c] - p.n : -1);
        }
      return static_cast<int>(singular.size());
    }
    // Out of memory is no singular basis: it leaves the run as 1001.
    if (r == kNoMemory) throw std::bad_alloc();
    return r == 0 ? 0 : -1;
  }

  void ftran(std::vector<double> &v) override { lu_ftran(fac, v.data()); }
  void btran(std::vector<double> &v) override { lu_btran(fac, v.data()); }

  void ftran_col(const dualprob &p, int q, std::vector<double> &col) override {
    int idx;
    double one;
    const int *ind;
    const double *val;
    int nnz;
    if (q < p.n) {
      ind = p.matind.data() + p.matbeg[q];
      val = p.matval.data() + p.matbeg[q];
      nnz = p.matbeg[q + 1] - p.matbeg[q];
    } else {
      idx = q - p.n;
      one = p.slackval[idx];
      ind = &idx;
      val = &one;
      nnz = 1;
    }
    lu_ftran_spike(fac, &sv, nnz, ind, val, q);
    scatter(col);
  }

  void btran_row(int r, std::vector<double> &rho) override {
    lu_btran_leaving(fac, &sv, r);
    scatter(rho);
  }

  void scatter(std::vector<double> &out) {
    std::copy(sv.val, sv.val + sv.dim, out.begin());
  }

  int update(int r, int q, const std::vector<double> &col) override {
    if (lu_check_pivot(fac, r, col[r], 1) != 0) return 1;
    int s = lu_update(e, fac, &mat, r, q);
    if (s == 0) return 0;
    return 1;
  }

  int updates() const override { return fac ? fac->updates : 0; }
};

}  // namespace

dualfactor *make_sparse_factor(env *e, const dualprob &p) {
  std::unique_ptr<sparsefac> f(new (std::nothrow) sparsefac());
  if (!f) return nullptr;
  f->e = e;
  if (e && e->params) {
    f->markowitz = e->params->epmrk;
    f->singtol = e->params->singtol;
  }
  f->matcnt.resize(p.n);
  for (int j = 0; j < p.n; ++j) f->matcnt[j] = p.matbeg[j + 1] - p.matbeg[j];
  f->mat.nrows = p.m;
  f->mat.ncols = p.n;
  f->mat.matbeg = p.matbeg.data();
  f->mat.matcnt = f->matcnt.data();
  f->mat.matind = p.matind.data();
  f->mat.matval = p.matval.data();
  f->mat.nslack = p.m;
  f->mat.slackrow = nullptr;
  f->mat.slackcoef = p.slackval.data();
  f->fac = lu_create(p.m);
  if (!f->fac || svec_alloc(&f->sv, p.m) != 0) return nullptr;
  return f.release();
}

}  // namespace velto
