// Vertex Fiduccia-Mattheyses refinement of a vertex separator on a weighted
// graph.
#pragma once

#include <cstdint>
#include <vector>

namespace velto {

struct sepgraph {
  int n = 0;
  std::vector<int> adjbeg, adjlist;
  std::vector<int> weights;
  std::vector<int> cmap;  // coarse vertex of each vertex (to the next level)
};

// Score of a partition: separator weight over the product of the sides,
// with a penalty for imbalance beyond 5; 1e74 when a side is empty.
double sepscore(double wa, double wb, double ws);

// One refinement pass over side (0, 1, 2 = separator); returns the score of
// the partition it keeps.
double fmpass(const sepgraph &g, std::vector<signed char> &side, uint32_t *seed);

}  // namespace velto
