// VLThybbaropt: the barrier followed by a move to a basis.  The basis is
// guessed from the interior point (columns strictly inside their bounds
// basic, the rest at the nearer bound, completed by the slacks of the
// loosest rows) and handed to the primal or dual simplex, whose start
// repair mends a singular guess.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "barrier/vltbar.h"
#include "env/files.h"
#include "env/par.h"
#include "model/lp.h"

namespace velto {

namespace {

bool isqp(const lp *p) {
  return p->probtype == kTypeQP || p->probtype == kTypeZeroedQP || p->probtype == kTypeMIQP ||
         p->probtype == kTypeFixedMIQP;
}

// The basis guess of the barrier's point in the user's statuses.
int guessbasis(env *e, lp *p, std::vector<int> &cstat, std::vector<int> &rstat) {
  const int n = VLTgetnumcols(e, p), m = VLTgetnumrows(e, p);
  std::vector<double> x(n), lb(n), ub(n), slack(m), rng(m, 0.0);
  std::vector<char> sense(m);
  int s = 0;
  if (n > 0) {
    s = VLTgetx(e, p, x.data(), 0, n - 1);
    if (!s) s = VLTgetlb(e, p, lb.data(), 0, n - 1);
    if (!s) s = VLTgetub(e, p, ub.data(), 0, n - 1);
  }
  if (!s && m > 0) {
    s = VLTgetslack(e, p, slack.data(), 0, m - 1);
    if (!s) s = VLTgetsense(e, p, sense.data(), 0, m - 1);
    if (!s) s = VLTgetrngval(e, p, rng.data(), 0, m - 1);
  }
  if (s) return s;
  // How far inside its bounds each variable is: columns 0 .. n-1, rows n + i.
  std::vector<double> inside(n + m, 0.0);
  cstat.assign(n, 0);
  rstat.assign(m, 0);
  for (int j = 0; j < n; ++j) {
    const double dl = lb[j] > -1e19 ? (x[j] - lb[j]) / (1 + std::fabs(lb[j])) : 1e30;
    const double du = ub[j] < 1e19 ? (ub[j] - x[j]) / (1 + std::fabs(ub[j])) : 1e30;
    inside[j] = std::min(dl, du);
    cstat[j] = du < dl ? 2 : 0;
    if (lb[j] <= -1e19 && ub[j] >= 1e19) cstat[j] = 3, inside[j] = 1e30;
  }
  for (int i = 0; i < m; ++i) {
    double d = std::fabs(slack[i]) / (1 + std::fabs(slack[i]));
    if (sense[i] == 'E') d = 0.0;
    if (sense[i] == 'R') {
      const double r = std::fabs(rng[i]), t = std::fabs(slack[i]);
      d = std::min(t, r - t) / (1 + r);
      rstat[i] = t > r / 2 ? 2 : 0;
    }
    inside[n + i] = d;
  }
  std::vector<int> order(n + m);
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return inside[a] > inside[b]; });
  // The m most interior variables are basic; ties go to columns first.
  for (int k = 0; k < std::min(m, n + m); ++k) {
    const int v = order[k];
    if (v < n) cstat[v] = 1;
    else rstat[v - n] = 1;
  }
  return 0;
}

}  // namespace

int hybbar_run(env *e, lp *p, int method) {
  const int which = bar_method(method);
  if (which == -2) return 1292;
  int cross = which;
  if (which == 0) {
    const int alg = e->barparams->barcrossalg;
    cross = alg == -1 ? -1 : alg == 2 ? 2 : 1;
    if (alg == 0 && isqp(p)) cross = -1;
  }
  if (cross != -1 && isqp(p)) {
    msg(e->errchannel, "Crossover not available for QP\n");
    return 1018;
  }
  const double t0 = now(e);
  int status = bar_run(e, p);
  if (cross == -1 || status != 0) return status;
  const int simdisplay = e->params->simdisplay;
  if (simdisplay) msg(e->reschannel, "Barrier time = %7.2f sec.\n", now(e) - t0);
  const int lpstat = p->lpstat;
  const bool go = lpstat == 1 || lpstat == 5 || lpstat == 6 || lpstat == 20;
  if (!go) return 0;
  const double t1 = now(e);
  const int baritcnt = p->soln ? p->soln->baritcnt : 0;
  std::vector<int> cstat, rstat;
  status = guarded([&] { return guessbasis(e, p, cstat, rstat); });
  if (status) return status;
  parblock *par = e->params;
  const int advind = par->advind;
  par->advind = 1;
  status = VLTcopybase(e, p, cstat.data(), rstat.data());
  if (status == 0) status = cross == 2 ? VLTdualopt(e, p) : VLTprimopt(e, p);
  par->advind = advind;
  if (status == 0 && p->soln) p->soln->baritcnt = baritcnt;
  if (simdisplay) msg(e->reschannel, "Total crossover time = %7.2f sec.\n", now(e) - t1);
  return status;
}

}  // namespace velto
