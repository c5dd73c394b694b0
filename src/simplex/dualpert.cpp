// Cost perturbation of the dual method.  Only nonbasic costs move, each in
// the direction that keeps its reduced cost feasible, so the basis stays dual
// feasible; a variable that leaves the basis later is perturbed as it leaves.
#include <algorithm>
#include <cmath>

#include "simplex/dualcore.h"

namespace velto {

namespace {

double draw(dualengine &e) {
  e.seed = e.seed * 1103515245u + 12345u;
  return ((e.seed >> 16) & 0x7fff) / 32768.0;
}

// Amount for variable j: the size, scaled up a little for large costs so a
// perturbation is felt on badly scaled objectives.
double amount(dualengine &e, int j) {
  double c = std::fabs(e.p->cost[j]);
  double scale = 1.0 + (c > 1.0 ? std::min(c, 1e3) * 0.1 : 0.0);
  return (0.5 + 0.5 * draw(e)) * e.persize * scale;
}

void move_cost(dualengine &e, int j, double a) {
  if (e.status[j] == 2) {
    e.wcost[j] -= a;
    e.d[j] -= a;
  } else {
    e.wcost[j] += a;
    e.d[j] += a;
  }
}

}  // namespace

void dual_perturb(dualengine &e) {
  e.percount++;
  if (e.percount > 1) e.persize = std::min(0.1 * e.persize, 1e-6);
  if (e.persize < 100.0 * e.harris) e.harris = e.persize / 100.0;
  for (int j = 0; j < e.nt; ++j) {
    int st = e.status[j];
    if (st == 1 || st == 3 || e.wlb[j] == e.wub[j]) continue;
    move_cost(e, j, amount(e, j));
  }
  e.perturbed = 1;
}

void dual_perturb_leaving(dualengine &e, int j) {
  if (e.wcost[j] != e.p->cost[j] || e.wlb[j] == e.wub[j]) return;
  move_cost(e, j, amount(e, j));
}

void dual_unperturb(dualengine &e) {
  e.wcost = e.p->cost;
  e.perturbed = 0;
  e.shifts = 0;
  e.harris = std::min(e.opt.opttol, 1e-7);
  dual_compute_duals(e);
}

}  // namespace velto
