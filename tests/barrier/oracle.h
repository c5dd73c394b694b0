// CHOLMOD, AMD and METIS as oracles of the ordering: orders of a symmetric
// pattern and the factor nonzeros of any order, counted by CHOLMOD.
#pragma once

#ifdef VELTO_HAVE_ORACLES
#include <cholmod.h>
#include <metis.h>

#include <vector>

#include "barrier/barorder.h"

namespace oracle {

// The pattern of g plus the diagonal, lower triangle, as a CHOLMOD matrix.
inline cholmod_sparse *pattern(const velto::ordgraph &g, cholmod_common *cm) {
  size_t nz = g.adjlist.size() / 2 + g.n;
  cholmod_sparse *A = cholmod_allocate_sparse(g.n, g.n, nz, 1, 1, -1, CHOLMOD_PATTERN, cm);
  int *p = static_cast<int *>(A->p), *ix = static_cast<int *>(A->i);
  int at = 0;
  for (int j = 0; j < g.n; ++j) {
    p[j] = at;
    ix[at++] = j;
    std::vector<int> low;
    for (int a = g.adjbeg[j]; a < g.adjbeg[j + 1]; ++a)
      if (g.adjlist[a] > j) low.push_back(g.adjlist[a]);
    std::sort(low.begin(), low.end());
    for (int r : low) ix[at++] = r;
  }
  p[g.n] = at;
  return A;
}

// Nonzeros of L (diagonal included) for the order place[v] = position.
inline double lnz(const velto::ordgraph &g, const std::vector<int> &place) {
  cholmod_common cm;
  cholmod_start(&cm);
  cm.nmethods = 1;
  cm.method[0].ordering = CHOLMOD_GIVEN;
  cm.postorder = 0;
  cm.supernodal = CHOLMOD_SIMPLICIAL;
  cholmod_sparse *A = pattern(g, &cm);
  std::vector<int> P(g.n);
  for (int v = 0; v < g.n; ++v) P[place[v]] = v;
  cholmod_factor *L = cholmod_analyze_p(A, P.data(), nullptr, 0, &cm);
  double r = cm.lnz;
  cholmod_free_factor(&L, &cm);
  cholmod_free_sparse(&A, &cm);
  cholmod_finish(&cm);
  return r;
}

// AMD's order as places.
inline std::vector<int> amdorder(const velto::ordgraph &g) {
  cholmod_common cm;
  cholmod_start(&cm);
  cholmod_sparse *A = pattern(g, &cm);
  std::vector<int> P(g.n), place(g.n);
  cholmod_amd(A, nullptr, 0, P.data(), &cm);
  for (int k = 0; k < g.n; ++k) place[P[k]] = k;
  cholmod_free_sparse(&A, &cm);
  cholmod_finish(&cm);
  return place;
}

// METIS's nested dissection order as places.
inline std::vector<int> metisorder(const velto::ordgraph &g) {
  idx_t n = g.n;
  std::vector<idx_t> xadj(g.adjbeg.begin(), g.adjbeg.end()), adj(g.adjlist.begin(), g.adjlist.end());
  std::vector<idx_t> perm(n), iperm(n);
  idx_t options[METIS_NOPTIONS];
  METIS_SetDefaultOptions(options);
  if (n > 0 && !adj.empty()) {
    METIS_NodeND(&n, xadj.data(), adj.data(), nullptr, options, perm.data(), iperm.data());
  } else {
    for (idx_t v = 0; v < n; ++v) iperm[v] = v;
  }
  return std::vector<int>(iperm.begin(), iperm.end());
}

}  // namespace oracle
#endif
