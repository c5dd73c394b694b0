// MIP start values: their processing at the start of a search (checked,
// the given columns fixed, the rest solved, the point offered as the first
// incumbent) and the start value files, one line a column.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "env/error.h"
#include "env/files.h"
#include "env/par.h"
#include "mip/mip.h"
#include "mip/mipbb.h"
#include "mip/mipheur.h"
#include "mip/mipside.h"
#include "model/store.h"

namespace velto {

namespace {

// The checks of the stored values against the working copy; fills the
// columns to fix.  Returns false when the values are ignored (the
// messages are written).
bool startcheck(env *e, lp *p, lp *copy, const mipstartdata &s, std::vector<int> &idx,
                std::vector<double> &val) {
  const lpcore *c = p->core;
  const int n = c->numcols;
  const double tol = e->params->eprhs, ep = e->mipparams->epint;
  std::vector<char> seen(n, 0);
  std::vector<double> lb(std::max(n, 1)), ub(std::max(n, 1));
  if (n > 0) VLTgetlb(e, copy, lb.data(), 0, n - 1), VLTgetub(e, copy, ub.data(), 0, n - 1);
  for (int k = 0; k < s.count; ++k) {
    const int j = s.ind[k];
    const double v = s.value[k];
    if (j < 0 || j >= n || std::fabs(v) >= 1e19) continue;
    const char *name = colnameof(e, c->colname, n, j);
    if (v < lb[j] - tol || v > ub[j] + tol) {
      msg(e->warnchannel, "Warning: MIP start value for variable '%.255s' is infeasible.\n", name);
      return false;
    }
    const char t = c->ctype[j];
    if (t == 'B' || t == 'I') {
      if (std::fabs(v - std::floor(v + 0.5)) > ep) {
        msg(e->warnchannel, "Warning:  Non-integral MIP start value for variable '%.255s'.\n", name);
        msg(e->warnchannel, "          MIP start values ignored.\n");
        return false;
      }
      seen[j] = 1;
      idx.push_back(j), val.push_back(std::floor(v + 0.5));
    } else {
      idx.push_back(j), val.push_back(v);
    }
  }
  int missing = 0;
  for (int j = 0; j < n; ++j) {
    if ((c->ctype[j] != 'B' && c->ctype[j] != 'I') || seen[j]) continue;
    if (++missing <= 5)
      msg(e->warnchannel, "Warning:  MIP start value missing for variable '%.255s'\n",
          colnameof(e, c->colname, n, j));
  }
  if (missing > 0) {
    if (missing > 5) msg(e->warnchannel, "Warning:  %d value missing messages not printed.\n", missing - 5);
    msg(e->warnchannel, "Warning:  MIP start values needed for all integer variables.\n");
    msg(e->warnchannel, "          MIP start values ignored.\n");
    return false;
  }
  if (c->sos != nullptr && c->sos->count > 0) {
    std::vector<double> x(std::max(n, 1), 1e20);
    for (size_t k = 0; k < idx.size(); ++k) x[idx[k]] = val[k];
    if (sosinfeas(c->sos, x.data(), lb.data(), ub.data(), ep) > 0) {
      msg(e->warnchannel,
          "Warning:  MIP start values infeasible for Special Ordered Sets.\n"
          "          MIP start values ignored.\n");
      return false;
    }
  }
  return true;
}

}  // namespace

int mipstartrun(env *e, lp *p) {
  const mipstartdata *s = p->mip ? p->mip->start : nullptr;
  mipwork *w = p->mip ? p->mip->work : nullptr;
  if (s == nullptr || w == nullptr) return 0;
  const int display = e->mipparams->mipdisplay;
  if (p->core->lazycons != nullptr) {
    msg(e->warnchannel, "Warning:  MIP start values can not be used with lazy constraints.\n");
    return 0;
  }
  int st = 0;
  lp *copy = VLTcloneprob(e, p, &st);
  if (copy == nullptr) return st ? st : kNoMemory;
  std::vector<int> idx;
  std::vector<double> val;
  int code = 0;
  if (startcheck(e, p, copy, *s, idx, val) && !idx.empty()) {
    std::vector<char> lu(idx.size(), 'B');
    st = VLTchgbds(e, copy, static_cast<int>(idx.size()), idx.data(), lu.data(), val.data());
    if (st == 0) st = VLTchgprobtype(e, copy, 0);
    parblock *pb = e->params;
    const int predisp = pb->predisp, simdisplay = pb->simdisplay, siftdisplay = pb->siftdisplay;
    const int netdisplay = e->netparams->netdisplay, bardisplay = e->barparams->bardisplay;
    if (display >= 4) {
      msg(e->reschannel, "Solving with fixed MIP start values.\n");
    } else {
      pb->predisp = pb->simdisplay = pb->siftdisplay = 0;
      e->netparams->netdisplay = e->barparams->bardisplay = 0;
    }
    lpresult res;
    int its = 0;
    double obj = 1e75;
    const int objsen = p->core->objsen;
    bool success = false;
    if (st == 0) {
      int rc = nodelpsolve(e, copy, objsen, 1e75, now(e), pb->tilim, e->mipparams->startalg, &res,
                           &its, &obj);
      success = rc == 0 && (res.status == 1 || res.status == 5);
      if (rc == 108 || rc == 114) code = rc;
      else if (rc != 0 && rc != 3019) st = rc;
      if (!success && st == 0) {
        const char *text = stattext(res.status);
        if (text != nullptr && display > 0)
          msg(e->reschannel, "\nSubproblem optimization status using MIP start values: %s.\n", text);
        if (res.status == 3) msg(e->warnchannel, "Warning:  MIP start values are infeasible.\n");
        else
          msg(e->warnchannel,
              "Warning:  MIP start values ignored because of non-optimal\n"
              "          subproblem optimization.\n");
      }
    }
    pb->predisp = predisp, pb->simdisplay = simdisplay, pb->siftdisplay = siftdisplay;
    e->netparams->netdisplay = netdisplay, e->barparams->bardisplay = bardisplay;
    if (success) {
      if (w->inc == nullptr) {
        w->inc = new incumbent();
        incumbent_init(e, objsen, p->core->numcols, *w->inc);
      }
      int acc = 0;
      st = incumbent_offer(e, copy, *w->inc, 0, obj, &acc);
      if (st == 0 && acc) {
        if (display != 0) msg(e->reschannel, "MIP start values provide initial solution.\n");
      } else if (st == 0) {
        msg(e->warnchannel, "Warning:  MIP start values rejected.\n");
      }
    }
  }
  VLTfreeprob(e, &copy);
  if (code == 114 && display > 0) msg(e->reschannel, "Aborted during MIP start processing.\n");
  if (code == 108 && display > 0) msg(e->reschannel, "Time limit during MIP start processing.\n");
  return st ? st : code;
}

namespace {

int mstwrite(env *e, lp *p, const char *name) {
  int status = sidewriteframe(e, &p, name);
  if (status) return status;
  const mipstartdata *s = p->mip ? p->mip->start : nullptr;
  if (s == nullptr || s->count == 0) return 3020;
  std::vector<std::string> cn = sidecolnames(e, p);
  int width = 18;
  for (int k = 0; k < s->count; ++k)
    width = std::max(width, static_cast<int>(cn[s->ind[k]].size()));
  FILE *fp = sideopen(e, name, &status);
  if (fp == nullptr) return status;
  fileguard guard{name, &fp};
  std::fprintf(fp, "NAME          %.255s    MIP Start\n",
               p->core->probname ? p->core->probname : "");
  for (int k = 0; k < s->count; ++k) {
    char value[64];
    std::snprintf(value, sizeof value, "%20.10g", s->value[k]);
    std::fprintf(fp, "    %-*.255s %s\n", width, cn[s->ind[k]].c_str(), value);
  }
  std::fprintf(fp, "ENDATA\n");
  return sideclose(e, name, &fp);
}

int readcopymipstart(env *e, lp *p, const char *name) {
  mip_register();
  int status = sidereadframe(e, p, name);
  if (status) return status;
  if (!integertype(p->probtype)) return 3003;
  const int n = p->core->numcols;
  FILE *fp = fileopenread(e, name, "r", ".mst", 0, 1, &status);
  if (fp == nullptr) return status;
  fileguard guard{name, &fp};
  sidenames names(e, p->core->colname, n);
  std::vector<int> ind, slot(n, -1);
  std::vector<double> val;
  status = sidelines(
      e, fp,
      [&](int lineno, const std::vector<std::string_view> &f, const char *) {
        if (f.size() != 2) return fileerror(e, 1553, lineno);
        double v = 0.0;
        int s = sidenumber(e, f[1], lineno, &v);
        if (s) return s;
        const int j = names.find(f[0], lineno);
        if (j < 0) return 0;
        if (slot[j] >= 0) {
          names.warn("Warning, line %d: repeated entry for '%.255s'.\n", lineno, f[0]);
          val[slot[j]] = v;
          return 0;
        }
        slot[j] = static_cast<int>(ind.size());
        ind.push_back(j);
        val.push_back(v);
        return 0;
      },
      nullptr);
  names.close();
  fileclose(name, &fp);
  if (status) return status;
  if (ind.empty()) {
    msg(e->warnchannel, "Warning: no MIP start values read, no MIP start loaded.\n");
    return 0;
  }
  status = VLTcopymipstart(e, p, static_cast<int>(ind.size()), ind.data(), val.data());
  return status ? -status : 0;
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTmstwrite(VLTENVptr env, VLTLPptr lp, const char *filename) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return mstwrite(env, lp, filename); }));
}

int VLTreadcopymipstart(VLTENVptr env, VLTLPptr lp, const char *filename) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return readcopymipstart(env, lp, filename); }));
}

}  // extern "C"
