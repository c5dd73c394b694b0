// Single-row additions interleaved with row counts: the change cache keeps
// the series linear.  Prints the time per addition for growing series; a
// linear series shows a flat column.
#include <chrono>
#include <cstdio>
#include <vector>

#include "velto.h"

namespace {

double series(VLTENVptr env, int rows, int cols) {
  int status = 0;
  VLTLPptr lp = VLTcreateprob(env, &status, "bench");
  std::vector<double> obj(cols, 1.0), lb(cols, 0.0), ub(cols, 1e20);
  std::vector<int> beg(cols, 0), cnt(cols, 0);
  int ind0 = 0;
  double val0 = 0, rhs0 = 0;
  char sense0 = 'L';
  VLTcopylp(env, lp, cols, 0, 1, obj.data(), &rhs0, &sense0, beg.data(), cnt.data(), &ind0,
            &val0, lb.data(), ub.data(), nullptr);
  auto t0 = std::chrono::steady_clock::now();
  long long check = 0;
  for (int i = 0; i < rows; ++i) {
    int rbeg = 0, rind[2] = {i % cols, (i * 7 + 3) % cols};
    double rval[2] = {1.0, -2.0}, rhs = 1.0;
    char sense = 'L';
    int nz = rind[0] == rind[1] ? 1 : 2;
    if (VLTaddrows(env, lp, 0, 1, nz, &rhs, &sense, &rbeg, rind, rval, nullptr, nullptr) != 0) {
      std::printf("addition failed\n");
      break;
    }
    check += VLTgetnumrows(env, lp);
  }
  int nzall = VLTgetnumnz(env, lp);  // folds what is pending
  auto t1 = std::chrono::steady_clock::now();
  if (check != static_cast<long long>(rows) * (rows + 1) / 2 || nzall <= 0)
    std::printf("wrong counts\n");
  VLTfreeprob(env, &lp);
  return std::chrono::duration<double>(t1 - t0).count();
}

}  // namespace

int main() {
  int status = 0;
  VLTENVptr env = VLTopenVELTO(&status);
  if (env == nullptr) return 1;
  std::printf("%10s %12s %16s\n", "additions", "seconds", "microsec/addition");
  for (int rows : {12500, 25000, 50000, 100000}) {
    double s = series(env, rows, 1000);
    std::printf("%10d %12.4f %16.3f\n", rows, s, 1e6 * s / rows);
  }
  VLTcloseVELTO(&env);
  return 0;
}
