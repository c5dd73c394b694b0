// The primal kernel on a model view: scaling, start basis, the iterations,
// the unscaled clean-up pass and the unscaled solution.
#pragma once

#include <vector>

#include "simplex/build.h"
#include "simplex/pwork.h"

namespace velto {

struct kstart {
  // Statuses of the n + m variables of the working form (logicals are
  // s = rhs - a x), exactly m of them basic.
  std::vector<signed char> stat;
};

struct kout {
  int lpstat = 0;
  int err = 0;            // 0, 1001, 1100 (contradictory bounds), 1256
  int badcol = -1;        // first column with contradictory bounds
  int itcnt = 0, phase1cnt = 0;
  int pfeas = 0, dfeas = 0;
  int passes = 0;
  int hasbasis = 0;
  double objval = 0.0;    // user's sign, with the constant
  // Unscaled results over the n + m variables of the working form, duals
  // in minimization sign.
  std::vector<double> x, pi, d;
  std::vector<signed char> stat;
  std::vector<int> head;           // basic variable per position
  double pinf = 0, dinf = 0, pinfs = 0, dinfs = 0;
  int pricing_used = 0;
};

struct kconfig {
  poptions opt;
  int scaind = 0;          // -1 none, 0 equilibration, 1 aggressive
  int rerun = 1;           // allow the unscaled clean-up pass
};

void primal_kernel_view(const lpview &v, const kconfig &cfg, const phooks &hk,
                        const kstart *start, int iter0, kout &out);

}  // namespace velto
