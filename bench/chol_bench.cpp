// Time to analyse (dense columns, order, symbolic) and factor the normal
// matrix A*D*A' of Netlib models, ours against CHOLMOD's analysis and
// factor of the same matrix, in one run.  Driven by bench/chol.sh.
//   chol_bench MODEL...
#include <cholmod.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "barrier/barrier.h"
#include "barrier/normal.h"

namespace {

double seconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

}  // namespace

int main(int argc, char **argv) {
  std::printf("%-10s %6s | %9s %7s %7s %7s %8s | %9s %7s %7s %7s | %5s\n", "model", "rows", "velto-nz",
              "order", "factor", "total", "resid", "chol-nz", "analyse", "factor", "total", "ratio");
  double logsum = 0;
  int count = 0;
  for (int a = 1; a < argc; ++a) {
    const std::string name = argv[a];
    velto::barprob bp;
    if (!btest::loadnetlib(name, bp)) {
      std::printf("%-10s not found\n", name.c_str());
      continue;
    }
    std::vector<double> d = btest::randomweights(bp, 1);
    // Ours.
    int status = 0;
    VLTENVptr env = VLTopenVELTO(&status);
    VLTsetintparam(env, VLT_PARAM_BARDISPLAY, 0);
    VLTsetintparam(env, VLT_PARAM_BARTHREADS, 1);
    if (const char *o = std::getenv("VELTO_BARORDER")) VLTsetintparam(env, VLT_PARAM_BARORDER, std::atoi(o));
    if (std::getenv("VELTO_BARDISPLAY")) VLTsetintparam(env, VLT_PARAM_BARDISPLAY, 2);
    velto::cholrec c;
    double t0 = seconds();
    if (velto::chol_analyse(env, bp, c) != 0) return 1;
    double t1 = seconds();
    if (velto::chol_factor(env, bp, c, d) != 0) return 1;
    double t2 = seconds();
    std::vector<double> y0(bp.m, 1.0), r, y;
    btest::normalproduct(bp, d, y0, r);
    velto::normal_solve(env, bp, c, d, y, r, c.ndense > 0 ? 3 : 0);
    const double resid = btest::relresidual(bp, d, y, r);
    VLTcloseVELTO(&env);
    // CHOLMOD on [A D^1/2, S^1/2].
    cholmod_common cm;
    cholmod_start(&cm);
    int slacks = 0;
    for (int i = 0; i < bp.m; ++i) slacks += d[bp.n + i] > 0;
    cholmod_sparse *A = cholmod_allocate_sparse(bp.m, bp.n + slacks, bp.colind.size() + slacks, 1, 1, 0,
                                                CHOLMOD_REAL, &cm);
    int *Ap = static_cast<int *>(A->p), *Ai = static_cast<int *>(A->i);
    double *Ax = static_cast<double *>(A->x);
    int at = 0, col = 0;
    for (int j = 0; j < bp.n; ++j, ++col) {
      Ap[col] = at;
      for (int k = bp.colbeg[j]; k < bp.colbeg[j + 1]; ++k) {
        Ai[at] = bp.colind[k];
        Ax[at++] = bp.colval[k] * std::sqrt(d[j]);
      }
    }
    for (int i = 0; i < bp.m; ++i)
      if (d[bp.n + i] > 0) {
        Ap[col++] = at;
        Ai[at] = i;
        Ax[at++] = std::sqrt(d[bp.n + i]);
      }
    Ap[col] = at;
    double u0 = seconds();
    cholmod_factor *L = cholmod_analyze(A, &cm);
    double u1 = seconds();
    cholmod_factorize(A, L, &cm);
    double u2 = seconds();
    const double cnz = cm.lnz;
    cholmod_free_factor(&L, &cm);
    cholmod_free_sparse(&A, &cm);
    cholmod_finish(&cm);
    const double ours = t2 - t0, theirs = u2 - u0;
    std::printf("%-10s %6d | %9.0f %7.2f %7.2f %7.2f %8.1e | %9.0f %7.2f %7.2f %7.2f | %5.2f\n",
                name.c_str(), bp.m, c.nzcount, t1 - t0, t2 - t1, ours, resid, cnz, u1 - u0, u2 - u1, theirs,
                ours / theirs);
    logsum += std::log(ours / theirs);
    ++count;
  }
  if (count > 0) std::printf("geometric mean of the time ratios: %.2f\n", std::exp(logsum / count));
  return 0;
}
