// The search for an irreducible infeasible subset.  It works on a private
// copy of the model, "iislp", with one extra column per row: while that
// column is fixed at 0 the row is in force, with its bounds opened the row
// is gone.  Members are dropped by a certificate cut (the row multipliers of
// an infeasible solve prove a smaller set infeasible), by the elastic filter
// (VLT_PARAM_IISIND 1) and one by one by the deletion filter.  The copy has
// no objective, so every basis is dual feasible: each test is a warm dual
// simplex solve from the basis of the test before, and an infeasible one
// leaves the Farkas row that the next cut uses.
#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "composite/iis.h"
#include "env/error.h"
#include "env/files.h"
#include "env/par.h"
#include "model/store.h"

namespace velto {

namespace {

// The parameters the finder sets for its solves, put back on every path.
struct parsave {
  env *e;
  int preind, aggind, advind, ppriind, simdisplay, itlim;
  double tilim, objulim, objllim;
  explicit parsave(env *env_) : e(env_) {
    parblock *b = e->params;
    preind = b->preind, aggind = b->aggind, advind = b->advind, ppriind = b->ppriind;
    simdisplay = b->simdisplay, itlim = b->itlim;
    tilim = b->tilim, objulim = b->objulim, objllim = b->objllim;
    b->preind = 0, b->aggind = 0, b->advind = 1, b->ppriind = -1, b->simdisplay = 0;
    b->itlim = kBigInt;
    // Only feasibility is asked: no objective limit may end a solve.
    b->objulim = 1.1 * VLT_BIGREAL;
    b->objllim = -1.1 * VLT_BIGREAL;
  }
  ~parsave() {
    parblock *b = e->params;
    b->preind = preind, b->aggind = aggind, b->advind = advind, b->ppriind = ppriind;
    b->simdisplay = simdisplay, b->itlim = itlim;
    b->tilim = tilim, b->objulim = objulim, b->objllim = objllim;
  }
};

// Outcome of one test solve.
enum : int { kTestInfeasible = 0, kTestFeasible = 1, kTestTimeout = 2 };

class finder {
 public:
  finder(env *e, lp *p, const parsave &ps)
      : e_(e), p_(p), mode_(e->params->iisind), log_(ps.simdisplay != 0), budget_(ps.tilim),
        eprhs_(e->params->eprhs) {}
  ~finder() {
    if (w_ != nullptr) VLTfreeprob(e_, &w_);
  }
  int run(iisrec &r);

 private:
  env *e_;
  lp *p_;
  lp *w_ = nullptr;
  iismodel d_;
  int mode_;
  bool log_;
  double budget_, eprhs_;
  double t0_ = 0.0;
  int solves_ = 0;
  bool partial_ = false;
  std::vector<int> rowin_, colin_;
  std::vector<int> first_, second_;  // added columns of each row (-1: none)
  std::vector<double> mult_;

  bool over() const { return budget_ < 1e75 && now(e_) - t0_ >= budget_; }
  int build();
  int setbounds(const std::vector<int> &ind, double lo, double hi);
  int chgbounds(const std::vector<int> &ind, const std::vector<double> &lo,
                const std::vector<double> &hi);
  int openrows(const std::vector<int> &rows) { return setbounds(addedof(rows), -kInfBound, kInfBound); }
  int closerows(const std::vector<int> &rows) { return setbounds(addedof(rows), 0.0, 0.0); }
  int opencols(const std::vector<int> &cols) { return setbounds(cols, -kInfBound, kInfBound); }
  int closecols(const std::vector<int> &cols);
  std::vector<int> addedof(const std::vector<int> &rows) const;
  int solve(int *stat);
  int test(int *outcome, int droprow = -1, int dropcol = -1);
  bool proven(int droprow, int dropcol);
  int recheck(int *stat);
  int cut(const double *y, bool *cutany);
  int proofrow(std::vector<double> &y);
  int firstcut();
  int elastic();
  int filter(bool rows);
  int result(iisrec &r);
};

int finder::build() {
  int status = iis_getmodel(e_, p_, d_);
  if (status) return status;
  const int m = d_.m, n = d_.n;
  w_ = VLTcreateprob(e_, &status, "iislp");
  if (w_ == nullptr) return -status;
  std::vector<double> zero(n, 0.0);
  std::vector<int> cnt(n);
  for (int j = 0; j < n; ++j) cnt[j] = d_.beg[j + 1] - d_.beg[j];
  // The structural costs stay out: only feasibility is tested, and a
  // feasible test ends with the first phase.
  status = VLTcopylp(e_, w_, n, m, 1, zero.data(), d_.rhs.data(), d_.sense.data(), d_.beg.data(),
                     cnt.data(), d_.ind.data(), d_.val.data(), d_.lb.data(), d_.ub.data(),
                     d_.rng.data());
  if (status) return -status;
  std::vector<double> obj, lo, hi, val;
  std::vector<int> beg, ind;
  first_.assign(m, -1);
  second_.assign(m, -1);
  auto add = [&](int i, double v, double cost, double up) {
    beg.push_back(static_cast<int>(ind.size()));
    ind.push_back(i);
    val.push_back(v);
    obj.push_back(cost);
    lo.push_back(0.0);
    hi.push_back(up);
    return n + static_cast<int>(obj.size()) - 1;
  };
  for (int i = 0; i < m; ++i) {
    if (mode_ == 0) {
      first_[i] = add(i, 1.0, 0.0, 0.0);
    } else {
      first_[i] = add(i, d_.sense[i] == 'L' ? -1.0 : 1.0, 1.0, kInfBound);
      if (d_.sense[i] == 'E' || d_.sense[i] == 'R') second_[i] = add(i, -1.0, 1.0, kInfBound);
    }
  }
  if (!obj.empty()) {
    status = VLTaddcols(e_, w_, static_cast<int>(obj.size()), static_cast<int>(ind.size()),
                        obj.data(), beg.data(), ind.data(), val.data(), lo.data(), hi.data(),
                        nullptr);
    if (status) return -status;
  }
  // The basis of the model is the first start; the added columns sit at 0.
  std::vector<int> cstat(n + obj.size(), 0), rstat(m, 0);
  if (VLTgetbase(e_, p_, cstat.data(), rstat.data()) == 0) {
    status = VLTcopybase(e_, w_, cstat.data(), rstat.data());
    if (status) return -status;
  }
  return 0;
}

std::vector<int> finder::addedof(const std::vector<int> &rows) const {
  std::vector<int> cols;
  cols.reserve(rows.size());
  for (int i : rows) cols.push_back(first_[i]);
  return cols;
}

int finder::setbounds(const std::vector<int> &ind, double lo, double hi) {
  return chgbounds(ind, std::vector<double>(ind.size(), lo), std::vector<double>(ind.size(), hi));
}

int finder::closecols(const std::vector<int> &cols) {
  std::vector<double> lo, hi;
  for (int j : cols) lo.push_back(d_.lb[j]), hi.push_back(d_.ub[j]);
  return chgbounds(cols, lo, hi);
}

int finder::chgbounds(const std::vector<int> &ind, const std::vector<double> &lo,
                      const std::vector<double> &hi) {
  if (ind.empty()) return 0;
  const int k = static_cast<int>(ind.size());
  std::vector<int> idx(2 * k);
  std::vector<char> lu(2 * k);
  std::vector<double> bd(2 * k);
  for (int t = 0; t < k; ++t) {
    idx[2 * t] = idx[2 * t + 1] = ind[t];
    lu[2 * t] = 'L', bd[2 * t] = lo[t];
    lu[2 * t + 1] = 'U', bd[2 * t + 1] = hi[t];
  }
  int status = VLTchgbds(e_, w_, 2 * k, idx.data(), lu.data(), bd.data());
  return status ? -status : 0;
}

// One solve of iislp within the time left.
int finder::solve(int *stat) {
  if (budget_ < 1e75) e_->params->tilim = std::max(0.0, budget_ - (now(e_) - t0_));
  int status = VLTdualopt(e_, w_);
  ++solves_;
  if (log_ && solves_ % 100 == 0) msg(e_->reschannel, "Infeasibility Finder Iteration %d\n", solves_);
  if (status) return -status;
  *stat = VLTgetstat(e_, w_);
  return 0;
}

// Whether the row multipliers of the last infeasible solve prove the
// flagged members, less droprow or dropcol, infeasible in the user's units.
bool finder::proven(int droprow, int dropcol) {
  std::vector<double> y;
  if (proofrow(y) != 0) return false;
  std::vector<int> rowin = rowin_, colin = colin_, rs, cs;
  if (droprow >= 0) rowin[droprow] = 0;
  if (dropcol >= 0) colin[dropcol] = 0;
  return iis_certify(d_, rowin, colin, y.data(), rs, cs, nullptr);
}

// A verdict the scaled warm solve can't give reliably is asked again of the
// primal simplex on the unscaled copy, from the basis at hand.
int finder::recheck(int *stat) {
  parblock *b = e_->params;
  const int scaind = b->scaind;
  b->scaind = -1;
  if (budget_ < 1e75) b->tilim = std::max(0.0, budget_ - (now(e_) - t0_));
  int status = VLTprimopt(e_, w_);
  b->scaind = scaind;
  ++solves_;
  if (status) return -status;
  *stat = VLTgetstat(e_, w_);
  return 0;
}

// A solve of the deletion filter without droprow or dropcol: infeasible,
// feasible, or out of time.  A member goes only on a proof: an infeasible
// end whose Farkas row proves the smaller set infeasible.  An end with
// unscaled infeasibilities, or an infeasible one without a proof, is solved
// again unscaled; what stays unproven keeps the member.
int finder::test(int *outcome, int droprow, int dropcol) {
  int stat = 0;
  int status = solve(&stat);
  if (status) return status;
  const bool tested = droprow >= 0 || dropcol >= 0;
  if (tested && (stat == kStatOptimalInfeas || (stat == kStatInfeasible && !proven(droprow, dropcol)))) {
    if ((status = recheck(&stat)) != 0) return status;
    if (stat == kStatInfeasible && !proven(droprow, dropcol)) stat = kStatOptimalInfeas;
  }
  switch (stat) {
    case kStatInfeasible: *outcome = kTestInfeasible; return 0;
    // Feasible, or not proven infeasible: the member is kept.
    case kStatOptimal: case kStatUnbounded: case kStatOptimalInfeas:
      *outcome = kTestFeasible;
      return 0;
    case kStatTimeLim:
      if (over()) {
        *outcome = kTestTimeout;
        return 0;
      }
      return 1712;
    case kStatItLim: return 1711;
    case kStatNonOptimal: return 1713;
    default: return 1706;
  }
}

// Drops every flagged member that the certificate y doesn't need.  The
// smaller set is solved once: should it not be infeasible after all (a
// certificate at the edge of the tolerances), the members come back.
int finder::cut(const double *y, bool *cutany) {
  *cutany = false;
  std::vector<int> rs, cs;
  std::vector<double> mult;
  if (!iis_certify(d_, rowin_, colin_, y, rs, cs, &mult)) return 0;
  std::vector<int> rows, cols;
  for (int i = 0; i < d_.m; ++i)
    if (rowin_[i] && rs[i] < 0) rows.push_back(i);
  for (int j = 0; j < d_.n; ++j)
    if (colin_[j] && cs[j] < 0) cols.push_back(j);
  if (!rows.empty() || !cols.empty()) {
    int status = openrows(rows);
    if (status == 0) status = opencols(cols);
    int outcome = kTestFeasible;
    // The check of a cut is worth a bounded effort only: a cut that the
    // primal can't confirm quickly is given up.
    const int itlim = e_->params->itlim;
    e_->params->itlim = std::max(1000, 2 * (d_.m + d_.n));
    if (status == 0) status = test(&outcome);
    e_->params->itlim = itlim;
    if (status == 1711) status = 0, outcome = kTestFeasible;
    if (status) return status;
    if (outcome != kTestInfeasible) {
      // Out of time, the smaller set is not known to be infeasible either.
      if (outcome == kTestTimeout) partial_ = true;
      status = closerows(rows);
      return status ? status : closecols(cols);
    }
    for (int i : rows) rowin_[i] = 0;
    for (int j : cols) colin_[j] = 0;
    *cutany = true;
  }
  mult_ = std::move(mult);
  return 0;
}

// Row multipliers that prove the last solve infeasible: the Farkas row of
// the dual simplex, or the prices of the primal's first phase.
int finder::proofrow(std::vector<double> &y) {
  y.assign(std::max(d_.m, 1), 0.0);
  double proof = 0.0;
  if (VLTgetmethod(e_, w_) == 2 && VLTdualfarkas(e_, w_, y.data(), &proof) == 0) return 0;
  int status = VLTsolution(e_, w_, nullptr, nullptr, nullptr, y.data(), nullptr, nullptr);
  return status ? -status : 0;
}

// The cut after the first infeasible solve.
int finder::firstcut() {
  std::vector<double> y;
  bool cutany = false;
  int status = proofrow(y);
  return status ? status : cut(y.data(), &cutany);
}

// The elastic filter: every row may be violated at a cost; the rows that a
// cheapest elastic point violates are enforced, until the enforced rows are
// infeasible by themselves.  The rows never enforced leave the candidates.
int finder::elastic() {
  const int m = d_.m;
  std::vector<int> enforced(m, 0);
  std::vector<double> x;
  const int nadd = VLTgetnumcols(e_, w_) - d_.n;
  for (int count = 1;; ++count) {
    int stat = 0;
    int status = solve(&stat);
    if (status) return status;
    if (over() || stat == kStatTimeLim) return 1712;
    if (stat == kStatInfeasible) break;
    if (stat == kStatObjLim || stat == kStatPrimObjLim || stat == kStatDualObjLim) return 1710;
    if (stat == kStatItLim) return 1711;
    if (stat == kStatNonOptimal) return 1713;
    if (stat != kStatOptimal && stat != kStatOptimalInfeas) return 1706;
    x.assign(std::max(nadd, 1), 0.0);
    if (nadd > 0 && (status = VLTgetx(e_, w_, x.data(), d_.n, d_.n + nadd - 1)) != 0) return -status;
    std::vector<int> close;
    for (int i = 0; i < m; ++i) {
      if (enforced[i]) continue;
      bool violated = std::fabs(x[first_[i] - d_.n]) > eprhs_;
      if (second_[i] >= 0 && std::fabs(x[second_[i] - d_.n]) > eprhs_) violated = true;
      if (!violated) continue;
      enforced[i] = 1;
      close.push_back(first_[i]);
      if (second_[i] >= 0) close.push_back(second_[i]);
    }
    // An elastic point that needs no row violated more than the tolerance
    // proves nothing: the search goes on with every row.
    if (close.empty() || count > m) {
      msg(e_->warnchannel, "No enforced constraints.\n");
      msg(e_->warnchannel, "Proceeding with default Infeasibility");
      msg(e_->warnchannel, " Finder algorithm.\n");
      std::fill(enforced.begin(), enforced.end(), 1);
      break;
    }
    if ((status = setbounds(close, 0.0, 0.0)) != 0) return status;
  }
  // The rows never enforced leave; the second columns stay fixed at 0, so
  // that a row is relaxed and restored through its first column alone.
  std::vector<int> gone, kept;
  for (int i = 0; i < m; ++i) {
    if (second_[i] >= 0) kept.push_back(second_[i]);
    if (enforced[i]) {
      kept.push_back(first_[i]);
    } else {
      rowin_[i] = 0;
      gone.push_back(first_[i]);
    }
  }
  int status = setbounds(kept, 0.0, 0.0);
  if (status == 0) status = setbounds(gone, -kInfBound, kInfBound);
  if (status == 0 && nadd > 0) {
    std::vector<int> idx(nadd);
    std::vector<double> zero(nadd, 0.0);
    for (int k = 0; k < nadd; ++k) idx[k] = d_.n + k;
    if ((status = VLTchgobj(e_, w_, nadd, idx.data(), zero.data())) != 0) status = -status;
  }
  return status;
}

// The deletion filter over rows or columns: a member whose removal leaves
// the set infeasible goes for good; one whose removal makes it feasible is
// in the subset and comes back.
int finder::filter(bool rows) {
  std::vector<int> &in = rows ? rowin_ : colin_;
  const int count = rows ? d_.m : d_.n;
  std::vector<double> pi(std::max(d_.m, 1));
  for (int k = 0; k < count && !partial_; ++k) {
    if (!in[k]) continue;
    const std::vector<int> one{k};
    int status = rows ? openrows(one) : opencols(one);
    int outcome = kTestFeasible;
    if (status == 0) status = test(&outcome, rows ? k : -1, rows ? -1 : k);
    if (status) return status;
    if (outcome == kTestInfeasible) {
      in[k] = 0;
      if (over()) {
        partial_ = true;
        break;
      }
      bool cutany = false;
      if ((status = proofrow(pi)) != 0) return status;
      if ((status = cut(pi.data(), &cutany)) != 0) return status;
      continue;
    }
    status = rows ? closerows(one) : closecols(one);
    if (status) return status;
    if (outcome == kTestTimeout || over()) partial_ = true;
  }
  return 0;
}

// Sides in force: from the certificate of the final set where there is one,
// else from the basis of the final solve.
int finder::result(iisrec &r) {
  const int m = d_.m, n = d_.n;
  if (budget_ < 1e75) e_->params->tilim = budget_;
  int stat = 0;
  int status = VLTdualopt(e_, w_);
  if (status) return -status;
  stat = VLTgetstat(e_, w_);
  // Every member left was kept by a test that ended infeasible; a set at
  // the edge of the tolerances may now end with unscaled infeasibilities,
  // which doesn't disprove it.
  if (!partial_ && stat != kStatInfeasible && stat != kStatOptimalInfeas) return 1706;
  const int ncols = VLTgetnumcols(e_, w_);
  std::vector<int> cstat(std::max(ncols, 1), 0), rstat(std::max(m, 1), 0);
  std::vector<double> x(std::max(ncols, 1), 0.0), slack(std::max(m, 1), 0.0),
      pi(std::max(m, 1), 0.0);
  VLTgetbase(e_, w_, cstat.data(), rstat.data());
  VLTsolution(e_, w_, nullptr, nullptr, x.data(), nullptr, slack.data(), nullptr);
  if (stat == kStatInfeasible && proofrow(pi) != 0) pi.assign(std::max(m, 1), 0.0);
  std::vector<int> rs, cs;
  std::vector<double> mult;
  bool proof = false;
  if (stat == kStatInfeasible) {
    proof = iis_certify(d_, rowin_, colin_, pi.data(), rs, cs, &mult);
    if (!proof && !mult_.empty()) {
      // The last cut's certificate still holds when it needs no member that
      // has gone since.
      proof = iis_certify(d_, rowin_, colin_, mult_.data(), rs, cs, &mult);
    }
  }
  r = iisrec{};
  r.iisind = mode_;
  r.iisstat = partial_ ? kIisPartial : kIisComplete;
  for (int i = 0; i < m; ++i) {
    if (!rowin_[i]) continue;
    int side;
    const char sense = d_.sense[i];
    const double range = sense == 'R' ? d_.rng[i] : 0.0;
    if (proof && rs[i] >= 0) {
      side = rs[i];
    } else if (rstat[i] == VLT_AT_LOWER || rstat[i] == VLT_BASIC) {
      if (sense == 'L') side = kIisUpper;
      else if (sense == 'E') side = kIisFixed;
      else if (sense == 'G') side = kIisLower;
      else if (range == 0.0) side = kIisFixed;
      else if (rstat[i] == VLT_AT_LOWER) side = kIisLower;
      else side = slack[i] <= 0.0 ? kIisLower : kIisUpper;
    } else {
      side = range == 0.0 ? kIisFixed : kIisUpper;
    }
    r.rowind.push_back(i);
    r.rowstat.push_back(side);
  }
  for (int j = 0; j < n; ++j) {
    if (!colin_[j]) continue;
    int side;
    if (d_.lb[j] == d_.ub[j]) side = kIisFixed;
    else if (proof && cs[j] >= 0) side = cs[j];
    else if (cstat[j] == VLT_AT_LOWER) side = kIisLower;
    else if (cstat[j] == VLT_AT_UPPER) side = kIisUpper;
    else side = d_.ub[j] - x[j] <= x[j] - d_.lb[j] ? kIisUpper : kIisLower;
    r.colind.push_back(j);
    r.colstat.push_back(side);
  }
  r.numrows = static_cast<int>(r.rowind.size());
  r.numcols = static_cast<int>(r.colind.size());
  if (proof) r.mult = std::move(mult);
  return 0;
}

int finder::run(iisrec &r) {
  t0_ = now(e_);
  int status = build();
  if (status) return status;
  rowin_.assign(d_.m, 1);
  colin_.assign(d_.n, 1);
  // A column without bounds has none to give.
  for (int j = 0; j < d_.n; ++j)
    if (d_.lb[j] <= -kInfBound && d_.ub[j] >= kInfBound) colin_[j] = 0;
  if (log_) msg(e_->reschannel, "Starting infeasibility finder algorithm...\n");
  if (mode_ == 1) {
    if (log_) msg(e_->reschannel, "Performing elastic filter\n");
    if ((status = elastic()) != 0) return status;
  }
  int stat = 0;
  if ((status = solve(&stat)) != 0) return status;
  if (stat == kStatTimeLim || over()) {
    if (mode_ == 1) return 1712;
    partial_ = true;
  } else if (stat == kStatOptimal || stat == kStatUnbounded || stat == kStatOptimalInfeas) {
    return 1703;
  } else if (stat != kStatInfeasible) {
    if (stat == kStatItLim) return 1711;
    if (stat == kStatNonOptimal) return 1713;
    return 1706;
  }
  if (!partial_) status = firstcut();
  if (status == 0 && !partial_) {
    if (log_) msg(e_->reschannel, "Performing row sensitivity filter\n");
    status = filter(true);
  }
  if (status == 0 && !partial_) {
    if (log_) msg(e_->reschannel, "Performing column sensitivity filter\n");
    status = filter(false);
  }
  if (status) return status;
  return result(r);
}

// The state of the model must be an infeasible basis.
int checkstate(lp *p) {
  if (!solnexists(p)) return 1702;
  if (!soln_hasbasis(p)) return 1707;
  switch (p->lpstat) {
    case kStatInfeasible: return p->soln->pfeas ? 1708 : 0;
    case kStatOptimal: case kStatUnbounded: return 1703;
    case kStatOptimalInfeas: return 1705;
    case kStatNonOptimal: case kStatItLim: case kStatTimeLim: case kStatObjLim:
    case kStatPrimObjLim: case kStatDualObjLim:
      return 1704;
    default: return 1706;
  }
}

}  // namespace

int findiis(env *e, lp *p) {
  if (p->iis != nullptr && p->iis->iisind == e->params->iisind) return 0;
  releaselayer(e, p, kLayerIis);
  int status = checkstate(p);
  if (status) return status;
  auto r = std::make_unique<iisrec>();
  bool showlog = e->params->simdisplay != 0;
  {
    parsave ps(e);
    finder f(e, p, ps);
    status = f.run(*r);
  }
  if (status) return status;
  if (r->iisstat == kIisPartial && showlog) {
    msg(e->reschannel, "Infeasibility Finder Algorithm exceeded ");
    msg(e->reschannel, "time limit.\n");
    msg(e->reschannel, "Partial infeasibility output available.\n");
  }
  iis_store(e, p, r.release());
  return 0;
}

}  // namespace velto
