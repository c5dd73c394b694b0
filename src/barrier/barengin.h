// The interior-point iteration: a primal-dual predictor-corrector method
// with central corrections on the problem of barprob.h, using the normal
// equations factor of barrier.h.
#pragma once

#include <vector>

#include "barrier/barrier.h"
#include "model/lp.h"

namespace velto {

// The iterate.  Positions 0 .. n-1 are columns, n + i the slack of row i
// (unused on equality rows).
struct iterate {
  std::vector<double> x, z;  // n + m
  std::vector<double> s, w;  // n: upper slacks and their duals
  std::vector<double> y;     // m
  double xnorm = 0, xcnorm = 0, ynorm = 0, znorm = 0;
  double comp = 0, priminf = 0, uppinf = 0, dualinf = 0;
  double primrel = 0, dualrel = 0;
  double prowmax = 0;  // largest row residual over 1 + |right side|, model units
  double pobj = 0, dobj = 0, gap = 0;
  int iter = 0;
};

// Direction, residuals and control of the run.
struct steprec {
  std::vector<double> dx, dz, ds, dw, dy;
  std::vector<double> ddz, ddw;       // second-order terms of the corrector
  std::vector<double> weights;        // n + m, the diagonal of the factor
  std::vector<double> rp, ru, rd;     // residuals of the iterate
  std::vector<double> rxz, rsw;       // complementarity right sides of a pass
  int pfeas = 0, dfeas = 0;
  int pairs = 0;                      // complementarity pairs
  double ringcomp[20], ringpri[20], ringdual[20];
  double startscale = 1.0;
  double mu = 0.0;
};

// What the loop hands back.
struct barresult {
  int status = 0;
  int iters = 0;
  int pfeas = 0, dfeas = 0;
};

// barinit.cpp: the barrier problem of the model of p (user units); column
// map: barprob column of model column j, or -1 when fixed at fixval[j].
struct barmap {
  std::vector<int> colpos;        // model column (structural) -> barprob column or -1
  std::vector<double> shift;      // model column: the lower bound subtracted, or its fixed value
  std::vector<char> negated;      // model column stored as -x (only an upper bound)
  std::vector<int> rangepos;      // row -> barprob column of its range, or -1
  std::vector<double> rangeshift;
  std::vector<double> rowsign;    // +1 'L', -1 'G', 0 'E' or ranged
  // Scale factors of the barprob: its column q holds x / colscale[q], its
  // row i the model's row times rowscale[i] (empty when not scaled).
  std::vector<double> colscale, rowscale;
  bool infeasiblebounds = false;
};
int bar_prepare(env *e, lp *p, barprob &bp, barmap &map);
// Scales the rows and columns of bp by powers of two (geometric passes,
// then the largest entry of each column brought near 1) and records the
// factors in map.  bp must not have its row copy yet.
void bar_scale(barprob &bp, barmap &map);
// Writes the iterate as the solution of p with status lpstat.
int bar_writesoln(env *e, lp *p, const barprob &bp, const barmap &map, const iterate &it,
                  const barresult &res);

// barstart.cpp
int bar_start(env *e, const barprob &bp, cholrec &c, iterate &it, steprec &st);

// bardirs.cpp
// Residuals, norms, objectives and complementarity of it.
void bar_residuals(const barprob &bp, iterate &it, steprec &st);
// Weights of the iterate for the factor.
void bar_weights(const barprob &bp, const iterate &it, std::vector<double> &d);
// One direction for the complementarity right sides st.rxz, st.rsw.
int bar_direction(env *e, const barprob &bp, const cholrec &c, const iterate &it, steprec &st,
                  int rounds);

// barrat.cpp
void bar_ratios(const barprob &bp, const iterate &it, const steprec &st, double &prirat,
                double &duarat);
double bar_merit(const iterate &it, double prirat, double duarat);
// Complementarity x'z + s'w after steps ap, ad.
double bar_compafter(const barprob &bp, const iterate &it, const steprec &st, double ap, double ad);
// Central correction of the right sides for steps prirat, duarat; returns
// the number of pairs touched.
int bar_central(const barprob &bp, const iterate &it, steprec &st, double prirat, double duarat);

// bariter.cpp: the loop.
barresult bar_iterate(env *e, lp *p, const barprob &bp, cholrec &c, iterate &it, steprec &st,
                      double tilim, double t0);

}  // namespace velto
