// Perturbation of the primal engine and the progress monitor that starts
// it.  A perturbation widens the bounds of the basic variables by small
// random amounts, so that ties in the ratio test become rare; a variable
// that enters later gets its own amounts.  At the optimum the clean bounds
// come back and the iterations go on from there.
#include <algorithm>
#include <cmath>

#include "simplex/pengine.h"

namespace velto {

namespace {

// Iterations without progress that start a perturbation, by rows.
int stall_limit(int m) {
  static const int rows[] = {1000, 5000, 7500, 10000, 15000, 20000, 30000, 40000};
  static const int lim[] = {400, 500, 600, 700, 900, 1100, 1600, 2100};
  for (int k = 0; k < 8; ++k)
    if (m < rows[k]) return lim[k];
  return 2600;
}

// Iterations between exact checks of the objective, by rows.
int check_interval(int m) {
  if (m < 5000) return 501;
  if (m < 10000) return 1000;
  if (m < 50000) return 2000;
  if (m < 100000) return 10000;
  return 20000;
}

}  // namespace

void pengine::perturb_init() {
  perturbed = false;
  perturbcount = 0;
  pertsize = opt.epper;
  pertseed = 1234567u;
  proglimit = opt.perlim > 0 ? opt.perlim : stall_limit(m);
  proginterval = check_interval(m);
  proglastcheck = itcnt;
  progress_reset();
}

// Moves the finite bounds of the basic variables outward by r x size, r
// uniform in (0, 1).  The first perturbation has the caller's size; later
// ones a tenth of the previous size, at most 1e-6.
void pengine::perturb_bounds() {
  ++perturbcount;
  if (perturbcount > 1) pertsize = std::min(0.1 * pertsize, 1e-6);
  for (int k = 0; k < m; ++k) perturb_entering(b.head[k]);
  perturbed = true;
  logf(perturbcount == 1 ? "Perturbation started.\n" : "Reperturbation started.\n");
  compute_xb();
  set_phase_costs();
  compute_pi();
  compute_dj();
  compute_objval();
}

void pengine::perturb_entering(int q) {
  auto draw = [this]() {
    pertseed = pertseed * 1103515245u + 12345u;
    return (((pertseed >> 8) & 0xffffff) + 0.5) / 16777216.0;
  };
  if (std::isfinite(p.lb[q]) && lbw[q] == p.lb[q]) lbw[q] = p.lb[q] - draw() * pertsize;
  if (std::isfinite(p.ub[q]) && ubw[q] == p.ub[q]) ubw[q] = p.ub[q] + draw() * pertsize;
}

void pengine::remove_perturbation() {
  logf("Removing perturbation.\n");
  for (int j = 0; j < nt; ++j) {
    lbw[j] = p.lb[j];
    ubw[j] = p.ub[j];
    if (pos[j] < 0) {
      if (b.stat[j] == kAtLower) b.x[j] = lbw[j];
      else if (b.stat[j] == kAtUpper) b.x[j] = ubw[j];
    }
  }
  perturbed = false;
  refresh();
  progress_reset();
}

// The measure of progress: the sum of infeasibilities in phase 1, the
// objective (minimization sign) in phase 2, less a small margin.
void pengine::progress_reset() {
  progphase = phase;
  progbase = itcnt;
  proglastobj = objval - 1e-10;
}

bool pengine::progress_check() {
  if (proglastcheck == itcnt) return false;
  proglastcheck = itcnt;
  compute_objval();
  if (objval < proglastobj) {
    progress_reset();
    return true;
  }
  return false;
}

void pengine::progress_tick(int q, int leaving) {
  if ((itcnt - proglastcheck) % proginterval == proginterval - 1 && progress_check()) return;
  if (phase != progphase) {
    progress_reset();
    return;
  }
  if (q >= 0 && leaving >= 0 && b.stat[q] == kBasic && !std::isfinite(p.lb[q]) &&
      !std::isfinite(p.ub[q])) {
    // A free column came into the basis: that is progress of its own.
    progbase = itcnt;
    return;
  }
  if (!perturbed) {
    if (progbase + proglimit >= itcnt) return;
    if (progress_check()) return;
    perturb_bounds();
    if (perturbcount > 1 && pertsize <= 1e-6) proglimit *= 2;
    progress_reset();
    return;
  }
  if (progbase + proginterval >= itcnt) return;
  if (progress_check()) return;
  progress_reset();
}

}  // namespace velto
