// Priority order files: one line a column with its priority and, in front,
// the branching direction UP or DN.
#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "env/files.h"
#include "env/par.h"
#include "mip/mip.h"
#include "mip/mipside.h"
#include "model/store.h"

namespace velto {

namespace {

// An order as read, one entry a column; a column named again replaces its
// entry.
struct ordread_t {
  std::vector<int> ind, pri, dir;
  std::vector<int> slot;  // column -> entry, -1
};

bool isdirection(std::string_view f, int *dir) {
  if (f.size() != 2) return false;
  const char a = static_cast<char>(std::toupper(static_cast<unsigned char>(f[0])));
  const char b = static_cast<char>(std::toupper(static_cast<unsigned char>(f[1])));
  if (a == 'U' && b == 'P') *dir = 1;
  else if (a == 'D' && b == 'N') *dir = -1;
  else return false;
  return true;
}

int readorder(env *e, const char *name, int numcols, char **colname, ordread_t &o) {
  int status = 0;
  FILE *fp = fileopenread(e, name, "r", ".ord", 0, 1, &status);
  if (fp == nullptr) return status;
  fileguard guard{name, &fp};
  sidenames names(e, colname, numcols);
  o.slot.assign(numcols, -1);
  bool startvalues = false;
  status = sidelines(
      e, fp,
      [&](int lineno, const std::vector<std::string_view> &f, const char *) {
        int dir = 0;
        const size_t first = isdirection(f[0], &dir) && f.size() >= 3 ? 1 : 0;
        const size_t n = f.size() - first;
        // name and priority; the old combined form adds a start value
        if (n != 2 && n != 3) return fileerror(e, 1553, lineno);
        int pri = 0;
        int s = sideint(e, f[first + 1], lineno, &pri);
        if (s) return s;
        if (n == 3) {
          double v;
          s = sidenumber(e, f[first + 2], lineno, &v);
          if (s) return s;
          startvalues = true;
        }
        const int j = names.find(f[first], lineno);
        if (j < 0) return 0;
        if (o.slot[j] < 0) {
          o.slot[j] = static_cast<int>(o.ind.size());
          o.ind.push_back(j);
          o.pri.push_back(pri);
          o.dir.push_back(dir);
        } else {
          o.pri[o.slot[j]] = pri;
          o.dir[o.slot[j]] = dir;
        }
        return 0;
      },
      nullptr);
  names.close();
  if (status == 0 && startvalues)
    msg(e->warnchannel, "Warning: file contains MIP start values which are ignored.\n");
  fileclose(name, &fp);
  return status;
}

int ordwrite(env *e, lp *p, const char *name) {
  int status = sidewriteframe(e, &p, name);
  if (status) return status;
  // The stored order, or for the write alone one made by the order rule.
  orderdata gen;
  const orderdata *o = p->mip ? p->mip->order : nullptr;
  if (o == nullptr && e->mipparams->mipordtype > 0) {
    status = orderfromrule(e, p, e->mipparams->mipordtype, gen);
    if (status) return status;
    o = &gen;
  }
  if (o == nullptr) return 3016;
  std::vector<std::string> cn = sidecolnames(e, p);
  FILE *fp = sideopen(e, name, &status);
  if (fp == nullptr) return status;
  fileguard guard{name, &fp};
  const char *prob = p->core->probname ? p->core->probname : "";
  std::fprintf(fp, "NAME          %.255s   Priority Order\n", prob);
  for (int k = 0; k < o->count; ++k) {
    const int dir = o->direction.empty() ? 0 : o->direction[k];
    const int pri = o->priority.empty() ? 0 : o->priority[k];
    const char *d = dir == 1 ? "UP" : dir == -1 ? "DN" : "  ";
    std::fprintf(fp, " %s %.255s %12d\n", d, cn[o->ind[k]].c_str(), pri);
  }
  std::fprintf(fp, "ENDATA\n");
  return sideclose(e, name, &fp);
}

int readcopyorder(env *e, lp *p, const char *name) {
  mip_register();
  int status = sidereadframe(e, p, name);
  if (status) return status;
  if (!integertype(p->probtype)) return 3003;
  ordread_t o;
  status = readorder(e, name, p->core->numcols, p->core->colname, o);
  if (status) return status;
  if (o.ind.empty()) {
    msg(e->warnchannel, "Warning: no priority order values read, no priority order loaded.\n");
    return 0;
  }
  status = VLTcopyorder(e, p, static_cast<int>(o.ind.size()), o.ind.data(), o.pri.data(),
                        o.dir.data());
  return status ? -status : 0;
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTordread(VLTENVptr env, const char *filename, int numcols, char **colname, int *cnt_p,
               int *indices, int *priority, int *direction) {
  if (cnt_p) *cnt_p = 0;
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] {
    if (cnt_p == nullptr) return static_cast<int>(kNullPointer);
    if (numcols < 0) return static_cast<int>(kBadArgument);
    if (numcols > 0 && colname == nullptr) return 1219;
    if (numcols > 0 && indices == nullptr) return static_cast<int>(kNullPointer);
    if (filename == nullptr || filename[0] == '\0') return 1421;
    ordread_t o;
    int status = readorder(env, filename, numcols, colname, o);
    if (status) return status;
    const int cnt = static_cast<int>(o.ind.size());
    std::copy(o.ind.begin(), o.ind.end(), indices);
    if (priority) std::copy(o.pri.begin(), o.pri.end(), priority);
    if (direction) std::copy(o.dir.begin(), o.dir.end(), direction);
    *cnt_p = cnt;
    return 0;
  }));
}

int VLTordwrite(VLTENVptr env, VLTLPptr lp, const char *filename) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return ordwrite(env, lp, filename); }));
}

int VLTreadcopyorder(VLTENVptr env, VLTLPptr lp, const char *filename) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return readcopyorder(env, lp, filename); }));
}

}  // extern "C"
