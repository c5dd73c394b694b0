// Read-only ratio tests over a basis frame, for the exported basis calls.
#pragma once

#include <vector>

#include "simplex/bframe.h"

namespace velto {

struct bratio {
  int stat = 0;        // 0 pivot or bound flip, 2 nothing blocks, 2003 pivot refused
  double step = 0.0;   // primal step, or dual step (objective change per unit)
  int pivot = -1;      // basis position (primal) or entering variable (dual); -1 none
  int endstat = 0;     // status of the variable that leaves
};

// Primal test: nonbasic q moves in direction dir (+1 up, -1 down) with its
// FTRAN column alpha (by basis position) and `range` to its opposite bound
// (1e75 for none).  Harris bound with `delta`.
bratio ratio_primal_ro(const bframe &f, int q, int dir, const std::vector<double> &alpha,
                       double range, double delta);
// Dual test: the basic variable at position r leaves in direction dir (+1
// up, -1 down); `rho` is row r of the inverse.  Harris bound with `delta`.
bratio ratio_dual_ro(const bframe &f, int r, int dir, const std::vector<double> &rho,
                     double delta);
// Smallest dual ratio without the Harris tolerance: the objective change per
// unit that the basic variable at r moves in direction dir; 1e75 when no
// nonbasic variable can take its place.
double dual_rate(const bframe &f, int dir, const std::vector<double> &rho);

// Engine direction of variable v for a move of the user's kind: for a
// column its own direction; for a slack or range column the direction that
// moves the row's activity the asked way.
int user_direction(const bframe &f, int v, int up);
// Distance that nonbasic v may move in direction dir; 1e75 for no limit.
double move_range(const bframe &f, int v, int dir);

}  // namespace velto
