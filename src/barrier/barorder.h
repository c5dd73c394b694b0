// Fill-reducing orderings of a symmetric pattern: approximate minimum degree
// and fill on a quotient graph, nested dissection on multilevel vertex
// separators, and the automatic choice between them.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

#include "env/env.h"

namespace velto {

// Wall-clock seconds for the timing lines of ordering and factor.
inline double barclock() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

// A symmetric graph without diagonal, adjacency by vertex (each edge in both
// lists): the neighbours of v are adjlist[adjbeg[v] .. adjbeg[v+1]).
struct ordgraph {
  int n = 0;
  std::vector<int> adjbeg;
  std::vector<int> adjlist;
  int64_t edges() const { return (int64_t)adjlist.size() / 2; }
};

// What an order costs.
struct ordresult {
  double opcount = 1e75;  // estimated operations of the factor
  double nfactor = 0.0;   // factor nonzeros, diagonal included
};

enum OrderMethod : int { kOrderAmd = 1, kOrderAmf = 2, kOrderNd = 3 };

// Constrained minimum degree: vertices with a lower label go first.  Mode 0
// scores by degree, 1 by approximate fill, 2 by fill per column.  perm[v]
// is the place of v.  `label` may be empty (all 0); it is not changed.
// `display` gives the elapsed-time lines on `ch` when not null.
ordresult mindegree(const ordgraph &g, int mode, const std::vector<int> &label,
                    std::vector<int> &perm, velto_channel *ch = nullptr);

// Labels from nested dissection: separator vertices get higher labels (later
// places).  Returns the number of labels used.
int dissect(const ordgraph &g, uint32_t seed, std::vector<int> &label);

// One ordering of g by method (1, 2, 3); perm[v] is the place of v.
ordresult order_graph(env *e, const ordgraph &g, int method, uint32_t seed,
                      std::vector<int> &perm);

// Vertex separator of g: side[v] 0, 1 or 2 (separator).  Exposed for tests.
void separator(const ordgraph &g, uint32_t seed, std::vector<signed char> &side);

// Symbolic cost of an order computed from the elimination tree and column
// counts: an independent measure of what the factor of perm costs.
ordresult ordercost(const ordgraph &g, const std::vector<int> &perm);

}  // namespace velto
