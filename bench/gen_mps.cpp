// Writes a random sparse LP in MPS form for the reader benchmark.
// Usage: gen_mps FILE [nonzeros] [seed]
#include <cstdio>
#include <cstdlib>
#include <random>

int main(int argc, char **argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s FILE [nonzeros] [seed]\n", argv[0]);
    return 2;
  }
  long nz = argc > 2 ? std::atol(argv[2]) : 1000000;
  unsigned seed = argc > 3 ? static_cast<unsigned>(std::atol(argv[3])) : 1;
  const int percol = 10;
  long cols = nz / percol;
  long rows = cols / 2 + 1;
  std::FILE *f = std::fopen(argv[1], "w");
  if (f == nullptr) {
    std::perror(argv[1]);
    return 1;
  }
  std::mt19937 rng(seed);
  std::uniform_int_distribution<long> row(0, rows - 1);
  std::uniform_real_distribution<double> val(-100.0, 100.0);
  std::fprintf(f, "NAME          BENCH\nROWS\n N  COST\n");
  for (long i = 0; i < rows; ++i) std::fprintf(f, " %c  R%07ld\n", "LGE"[i % 3], i);
  std::fprintf(f, "COLUMNS\n");
  for (long j = 0; j < cols; ++j) {
    // Distinct rows of a column in rising order.
    long r[percol];
    for (int k = 0; k < percol; ++k) {
      bool again;
      do {
        r[k] = row(rng);
        again = false;
        for (int l = 0; l < k; ++l) again |= r[l] == r[k];
      } while (again);
    }
    std::fprintf(f, "    C%07ld  COST      %12.6f\n", j, val(rng));
    for (int k = 0; k < percol; k += 2)
      std::fprintf(f, "    C%07ld  R%07ld  %12.6f   R%07ld  %12.6f\n", j, r[k], val(rng), r[k + 1],
                   val(rng));
  }
  std::fprintf(f, "RHS\n");
  for (long i = 0; i < rows; i += 2)
    std::fprintf(f, "    RHS       R%07ld  %12.6f\n", i, val(rng));
  std::fprintf(f, "BOUNDS\n");
  for (long j = 0; j < cols; j += 7) std::fprintf(f, " UP BND       C%07ld  %12.6f\n", j, 100 + val(rng));
  std::fprintf(f, "ENDATA\n");
  std::fclose(f);
  return 0;
}
