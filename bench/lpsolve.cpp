// Reads a model and solves it with one simplex method or the barrier (no
// crossover; its iterations counted) through the public calls; prints one
// line: status, objective, iterations, CPU seconds of the
// optimizer call (a busy machine disturbs them less than wall time).  Presolve
// is off unless the third argument is "presolve", so that the default run
// compares with a peer's simplex run without its presolve.  With "counts"
// it only presolves (for the dual simplex) and prints the rows, columns and
// nonzeros of the model and of the reduced problem.
//   lpsolve FILE [primal|dual|barrier] [presolve]
//   lpsolve FILE counts
#include <ctime>
#include <cstdio>
#include <cstring>

#include "velto.h"

int main(int argc, char **argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: %s FILE [primal|dual|barrier] [presolve]\n", argv[0]);
    return 2;
  }
  bool dual = argc > 2 && std::strcmp(argv[2], "dual") == 0;
  bool barrier = argc > 2 && std::strcmp(argv[2], "barrier") == 0;
  bool presolve = argc > 3 && std::strcmp(argv[3], "presolve") == 0;
  int status = 0;
  VLTENVptr env = VLTopenVELTO(&status);
  if (env == nullptr) return 1;
  VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0);
  VLTsetintparam(env, VLT_PARAM_BARDISPLAY, 0);
  VLTsetintparam(env, VLT_PARAM_BARTHREADS, 1);
  VLTsetintparam(env, VLT_PARAM_PREIND, presolve ? 1 : 0);
  VLTLPptr lp = VLTcreateprob(env, &status, "bench");
  status = VLTreadcopyprob(env, lp, argv[1], nullptr);
  if (status) {
    std::printf("readerror %d 0 0 0\n", status);
    return 1;
  }
  if (argc > 2 && std::strcmp(argv[2], "counts") == 0) {
    VLTsetintparam(env, VLT_PARAM_PREIND, 1);
    status = VLTpresolve(env, lp, 2);
    VLTLPptr red = nullptr;
    int prestat = 0;
    VLTgetredlp(env, lp, &red);
    VLTgetprestat(env, lp, &prestat, nullptr, nullptr, nullptr, nullptr);
    const bool none = prestat == 0;  // nothing reduced: the model itself
    VLTLPptr shown = none ? lp : red;
    std::printf("%d %d %d %d %d %d %d\n", status, VLTgetnumrows(env, lp), VLTgetnumcols(env, lp),
                VLTgetnumnz(env, lp), shown ? VLTgetnumrows(env, shown) : 0,
                shown ? VLTgetnumcols(env, shown) : 0, shown ? VLTgetnumnz(env, shown) : 0);
    VLTfreeprob(env, &lp);
    VLTcloseVELTO(&env);
    return 0;
  }
  std::clock_t t0 = std::clock();
  VLTsetintparam(env, VLT_PARAM_LPMETHOD, dual ? 2 : 1);
  status = barrier ? VLTbaropt(env, lp) : VLTlpopt(env, lp);
  double t = double(std::clock() - t0) / CLOCKS_PER_SEC;
  double obj = 0.0;
  VLTgetobjval(env, lp, &obj);
  std::printf("%d %.10g %d %.3f\n", status ? -status : VLTgetstat(env, lp), obj,
              barrier ? VLTgetbaritcnt(env, lp) : VLTgetitcnt(env, lp), t);
  VLTfreeprob(env, &lp);
  VLTcloseVELTO(&env);
  return 0;
}
