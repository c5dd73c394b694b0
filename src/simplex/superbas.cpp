// Singularity repair of the factor: the positions whose column found no
// pivot take the slack of a row that found none, or that row's artificial
// when the row has no slack.  The columns that left are listed for the
// caller, which makes them nonbasic.
#include <new>
#include <vector>

#include "simplex/factorint.h"

namespace velto {

int lu_slack_of_row(const lumatrix *mat, int row) {
  if (mat->slackrow == nullptr) return row < mat->nslack ? mat->ncols + row : -1;
  for (int s = 0; s < mat->nslack; s++)
    if (mat->slackrow[s] == row) return mat->ncols + s;
  return -1;
}

int lu_repair(env *, lufactor *fac, const lumatrix *mat, int *head, const int *rowdone,
              const int *coldone) {
  const int m = mat->nrows;
  const int allcols = mat->ncols + mat->nslack;
  try {
    std::vector<int> rowslack(m, -1);
    if (mat->slackrow == nullptr) {
      for (int i = 0; i < m && i < mat->nslack; i++) rowslack[i] = mat->ncols + i;
    } else {
      for (int s = mat->nslack - 1; s >= 0; s--) {
        int i = mat->slackrow[s];
        if (i >= 0 && i < m) rowslack[i] = mat->ncols + s;
      }
    }
    std::vector<int> rows;
    for (int i = 0; i < m; i++)
      if (!rowdone[i]) rows.push_back(i);
    size_t t = 0;
    fac->ndropped = 0;
    for (int p = 0; p < m && t < rows.size(); p++) {
      if (coldone[p]) continue;
      int v = head[p];
      if (v < allcols) {
        fac->dropped[fac->ndropped] = v;
        fac->droppos[fac->ndropped++] = p;
      }
      int i = rows[t++];
      head[p] = rowslack[i] >= 0 ? rowslack[i] : allcols + i;
    }
  } catch (const std::bad_alloc &) {
    return kNoMemory;
  }
  return 0;
}

}  // namespace velto
