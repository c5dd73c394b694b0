// Start value files: one line a column with the value the search starts
// from.
#include <algorithm>
#include <string>
#include <vector>

#include "env/files.h"
#include "mip/mip.h"
#include "mip/mipside.h"
#include "model/store.h"

namespace velto {

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
