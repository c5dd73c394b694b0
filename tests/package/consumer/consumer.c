/* A program outside the project that uses an installed Velto: builds
 *   max x + y  s.t.  x + 2y <= 4,  3x + y <= 6,  x, y >= 0
 * whose optimum is x = 1.6, y = 1.2, objective 2.8 (both rows bind), solves
 * it and checks the answer.  Exit 0 when right. */
#include <math.h>
#include <stdio.h>

#include "velto.h"

int main(void) {
  int status = 0;
  VLTENVptr env = VLTopenVELTO(&status);
  if (env == NULL) return 2;
  VLTLPptr lp = VLTcreateprob(env, &status, "consumer");
  double obj[] = {1, 1}, rhs[] = {4, 6}, lb[] = {0, 0}, ub[] = {VLT_INFBOUND, VLT_INFBOUND};
  double val[] = {1, 3, 2, 1}, x[2], z = 0;
  int beg[] = {0, 2}, cnt[] = {2, 2}, ind[] = {0, 1, 0, 1};
  if (lp == NULL || VLTcopylp(env, lp, 2, 2, -1, obj, rhs, "LL", beg, cnt, ind, val, lb, ub, NULL) ||
      VLTlpopt(env, lp) || VLTgetstat(env, lp) != 1 || VLTgetobjval(env, lp, &z) ||
      VLTgetx(env, lp, x, 0, 1))
    return 1;
  int right = fabs(z - 2.8) < 1e-9 && fabs(x[0] - 1.6) < 1e-9 && fabs(x[1] - 1.2) < 1e-9;
  printf("velto %s: objective %g at (%g, %g)\n", VLTversion(env), z, x[0], x[1]);
  VLTfreeprob(env, &lp);
  VLTcloseVELTO(&env);
  return right ? 0 : 1;
}
