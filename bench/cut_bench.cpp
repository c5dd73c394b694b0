// The cut loop's edit pattern: on a solved model of m rows, add one cut row,
// re-solve with the dual, delete the row, re-solve.  Prints per cycle the
// time of the edit calls alone and of the whole cycle, next to a solve of
// the same model from scratch (the peer in the same run); then the same for
// a bound changed and put back, the pattern of branching.
// CUT_DPRIIND=k runs with that dual pricing.
//   cut_bench ROWS [CYCLES]
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "velto.h"

namespace {

double seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// min c'x, Ax >= 1, 0 <= x <= 10, four positive entries per row, n = 2m.
void build(VLTENVptr env, VLTLPptr lp, int m, std::mt19937 &g) {
  const int n = 2 * m;
  std::vector<std::vector<std::pair<int, double>>> cols(n);
  std::uniform_real_distribution<double> u(0.5, 2.0);
  for (int i = 0; i < m; ++i)
    for (int k = 0; k < 4; ++k) cols[(i + k * (g() % (n / 4 + 1))) % n].push_back({i, u(g)});
  std::vector<int> beg, cnt, ind;
  std::vector<double> val, obj(n), lb(n, 0.0), ub(n, 10.0), rhs(m, 1.0);
  std::vector<char> sense(m, 'G');
  for (int j = 0; j < n; ++j) {
    beg.push_back(static_cast<int>(ind.size()));
    std::vector<char> seen(0);
    for (auto &e : cols[j]) {
      bool dup = false;
      for (int k = beg.back(); k < static_cast<int>(ind.size()); ++k) dup |= ind[k] == e.first;
      if (dup) continue;
      ind.push_back(e.first);
      val.push_back(e.second);
    }
    cnt.push_back(static_cast<int>(ind.size()) - beg.back());
    obj[j] = u(g);
  }
  VLTcopylp(env, lp, n, m, 1, obj.data(), rhs.data(), sense.data(), beg.data(), cnt.data(),
            ind.data(), val.data(), lb.data(), ub.data(), nullptr);
}

}  // namespace

int main(int argc, char **argv) {
  const int m = argc > 1 ? std::atoi(argv[1]) : 10000;
  const int cycles = argc > 2 ? std::atoi(argv[2]) : 50;
  int st = 0;
  VLTENVptr env = VLTopenVELTO(&st);
  VLTsetintparam(env, VLT_PARAM_PREIND, 0);
  if (const char *d = std::getenv("CUT_DPRIIND")) VLTsetintparam(env, VLT_PARAM_DPRIIND, std::atoi(d));
  VLTLPptr lp = VLTcreateprob(env, &st, "cut");
  std::mt19937 g(7);
  build(env, lp, m, g);
  double t0 = seconds();
  VLTdualopt(env, lp);
  const double scratch = seconds() - t0;
  const int n = VLTgetnumcols(env, lp);
  std::vector<double> x(n);
  double edit = 0.0, cycle = 0.0, adds = 0.0, dels = 0.0;
  long iters = 0, additers = 0;
  for (int c = 0; c < cycles; ++c) {
    VLTgetx(env, lp, x.data(), 0, n - 1);
    // A cut over eight columns, cutting the present point where it can.
    int ind[8];
    double val[8], act = 0.0;
    for (int k = 0; k < 8; ++k) {
      ind[k] = static_cast<int>((g() % (n / 8)) * 8 + k);
      val[k] = 1.0;
      act += x[ind[k]];
    }
    double rhs = act > 1e-6 ? 0.99 * act : 1.0;
    char sense = 'L';
    int beg = 0;
    const int rows = VLTgetnumrows(env, lp);
    double a = seconds();
    VLTaddrows(env, lp, 0, 1, 8, &rhs, &sense, &beg, ind, val, nullptr, nullptr);
    VLTgetnumrows(env, lp);  // folds the change cache
    double b = seconds();
    VLTdualopt(env, lp);
    iters += VLTgetitcnt(env, lp);
    additers += VLTgetitcnt(env, lp);
    double d = seconds();
    VLTdelrows(env, lp, rows, rows);
    double e = seconds();
    VLTdualopt(env, lp);
    iters += VLTgetitcnt(env, lp);
    double f = seconds();
    edit += (b - a) + (e - d);
    adds += b - a;
    dels += e - d;
    cycle += f - a;
  }
  std::printf("rows %6d  scratch solve %8.4f s  per cycle: edits %9.6f s (add %9.6f, delete %9.6f)"
              "  edits+2 re-solves %8.5f s  (%.1f iterations, %.1f after the add)  cycle/scratch %.4f\n",
              m, scratch, edit / cycles, adds / cycles, dels / cycles, cycle / cycles,
              static_cast<double>(iters) / cycles,
              static_cast<double>(additers) / cycles, cycle / cycles / scratch);
  // The branching pattern on the same model: an upper bound of a column
  // strictly inside its box halved, a re-solve, the bound back, a re-solve.
  double branch = 0.0;
  long biters = 0;
  for (int c = 0; c < cycles; ++c) {
    VLTgetx(env, lp, x.data(), 0, n - 1);
    int j = -1;
    for (int k = 0; k < n && j < 0; ++k) {
      const int q = static_cast<int>((c * 7919L + k) % n);
      if (x[q] > 1e-6 && x[q] < 10 - 1e-6) j = q;
    }
    if (j < 0) break;
    double v = 0.5 * x[j];
    char bt = 'U';
    double a = seconds();
    VLTchgbds(env, lp, 1, &j, &bt, &v);
    VLTdualopt(env, lp);
    biters += VLTgetitcnt(env, lp);
    v = 10.0;
    VLTchgbds(env, lp, 1, &j, &bt, &v);
    VLTdualopt(env, lp);
    biters += VLTgetitcnt(env, lp);
    branch += seconds() - a;
  }
  std::printf("rows %6d  bound change and back, 2 re-solves %8.5f s  (%.1f iterations)  cycle/scratch %.4f\n",
              m, branch / cycles, static_cast<double>(biters) / cycles, branch / cycles / scratch);
  VLTfreeprob(env, &lp);
  VLTcloseVELTO(&env);
  return 0;
}
