// Backward substitution with L'.
#include <vector>

#include "barrier/barrier.h"
#include "barrier/edkernel.h"

namespace velto {

void chol_backward(const cholrec &c, std::vector<double> &y) {
  for (int p = c.npanels - 1; p >= 0; --p) {
    const int w = c.pwidth[p], len = c.plen[p], first = c.pfirst[p];
    const int *pat = &c.patind[c.poff[p]];
    const double *val = c.vals.data() + c.pval[p];
    for (int j = w - 1; j >= 0; --j) {
      double s = y[first + j];
      for (int i = j + 1; i < len; ++i) s -= val[panelrow(w, i) + j] * y[pat[i]];
      y[first + j] = s;
    }
  }
}

}  // namespace velto
