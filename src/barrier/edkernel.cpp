// The update and panel kernels of the left-looking factor.
#include "barrier/edkernel.h"

#include <cmath>

namespace velto {

void panelfactor(double *val, int w, int len, int first, pivotctx &pc) {
  double tk[112];
  for (int j = 0; j < w; ++j) {
    double *rowj = val + panelrow(w, j);
    const int col = first + j;
    const double a = pc.diag[col];
    double p = rowj[j];
    if (pc.freerow[col]) {
      p = 0.0;
    } else {
      if (p < (std::fabs(a) + 1.0) * -1e-6) pc.npivneg++;
      // In a row of the positive definite part (a > 0) a pivot that lost
      // all but the last few digits of its diagonal to cancellation is
      // rounding noise, of either sign: the row is skipped like a
      // dependent one.  The border rows of dense columns (a < 0) keep
      // their negative pivots, and with a border the sparse part may be
      // singular by itself, so the rule is off then (noise 0).
      if (std::fabs(p) < std::fabs(a + 1e-10) * 2.3e-16 || (a > 0.0 && p < a * pc.noise)) {
        pc.npivsmall++;
        p = 0.0;
      }
    }
    // With a border the sparse part alone may be nearly singular: a small
    // pivot there is raised to the floor, and the solves make up for the
    // change by conjugate gradients on the true matrix.
    if (a > 0.0 && p < pc.floor && !pc.freerow[col]) {
      p = pc.floor;
      pc.nraised++;
    }
    rowj[j] = p;
    if (p != 0.0) {
      pc.pmax = std::fmax(pc.pmax, std::fabs(p));
      pc.pmin = std::fmin(pc.pmin, std::fabs(p));
    }
    const double inv = p != 0.0 ? 1.0 / p : 0.0;
    // Old values of column j in the panel's own rows, for the update.
    for (int k = j + 1; k < w; ++k) tk[k] = val[panelrow(w, k) + j];
    for (int i = j + 1; i < len; ++i) {
      double *rowi = val + panelrow(w, i);
      const double t = rowi[j];
      const double l = t * inv;
      rowi[j] = l;
      if (l == 0.0) continue;
      const int kend = i < w ? i : w - 1;
      for (int k = j + 1; k <= kend; ++k) rowi[k] -= l * tk[k];
    }
  }
}

void panelupdate(const double *sval, int ws, const int *spat, int slen, int q, int cnt,
                 double *tval, int tw, int tfirst, const int *relindex, double *rowbuf, int kind) {
  (void)kind;  // every kind computes the same update
  const double *dgl = sval;
  for (int jj = q; jj < q + cnt; ++jj) {
    const double *lj = sval + panelrow(ws, jj);
    for (int k = 0; k < ws; ++k) rowbuf[k] = lj[k] * dgl[panelrow(ws, k) + k];
    const int tcol = spat[jj] - tfirst;
    int ii = jj;
    // Four source rows at a time.
    for (; ii + 3 < slen; ii += 4) {
      const double *l0 = sval + panelrow(ws, ii);
      const double *l1 = l0 + ws, *l2 = l1 + ws, *l3 = l2 + ws;
      double s0 = 0, s1 = 0, s2 = 0, s3 = 0;
      for (int k = 0; k < ws; ++k) {
        const double u = rowbuf[k];
        s0 += l0[k] * u;
        s1 += l1[k] * u;
        s2 += l2[k] * u;
        s3 += l3[k] * u;
      }
      tval[panelrow(tw, relindex[spat[ii]]) + tcol] -= s0;
      tval[panelrow(tw, relindex[spat[ii + 1]]) + tcol] -= s1;
      tval[panelrow(tw, relindex[spat[ii + 2]]) + tcol] -= s2;
      tval[panelrow(tw, relindex[spat[ii + 3]]) + tcol] -= s3;
    }
    for (; ii < slen; ++ii) {
      const double *li = sval + panelrow(ws, ii);
      double s = 0;
      for (int k = 0; k < ws; ++k) s += li[k] * rowbuf[k];
      tval[panelrow(tw, relindex[spat[ii]]) + tcol] -= s;
    }
  }
}

}  // namespace velto
