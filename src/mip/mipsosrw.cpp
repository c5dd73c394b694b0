// Set files: a head line per special ordered set with its type and
// priority, then its members with their weights.
#include <cctype>
#include <string>
#include <vector>

#include "env/files.h"
#include "mip/mip.h"
#include "mip/mipside.h"
#include "model/store.h"

namespace velto {

namespace {

constexpr int kDefaultWeightLines = 5;

// Sets as read, in the arrays of VLTcopysos.
struct sosread_t {
  std::vector<char> type;
  std::vector<int> pri;
  std::vector<int> beg;
  std::vector<int> ind;
  std::vector<double> wt;
  bool anypri = false;
  int count() const { return static_cast<int>(type.size()); }
};

// A set head "S1" or "S2" with an optional priority: 1, 0 (not a head) or
// a negative error.
int sethead(env *e, int lineno, const std::vector<std::string_view> &f, char *type, int *pri,
            bool *haspri) {
  if (f.empty() || f.size() > 2 || f[0].size() != 2) return 0;
  if (std::toupper(static_cast<unsigned char>(f[0][0])) != 'S') return 0;
  if (f[0][1] != '1' && f[0][1] != '2') return 0;
  *type = f[0][1];
  *haspri = f.size() == 2;
  *pri = 0;
  if (*haspri) {
    int s = sideint(e, f[1], lineno, pri);
    if (s) return s;
  }
  return 1;
}

int readsets(env *e, const char *name, int numcols, char **colname, sosread_t &r) {
  int status = 0;
  FILE *fp = fileopenread(e, name, "r", ".sos", 0, 1, &status);
  if (fp == nullptr) return status;
  fileguard guard{name, &fp};
  sidenames names(e, colname, numcols);
  // Members of the set being read: weights given or not.
  int given = 0, missing = 0, defaulted = 0, setno = 0;
  auto endset = [&]() {
    if (r.type.empty()) return 0;
    const int b = r.beg.back();
    const int n = static_cast<int>(r.ind.size()) - b;
    if (missing > 0 && given > 0) return fileerror(e, 1553, 0);
    if (missing > 0) {
      for (int k = 0; k < n; ++k) r.wt[b + k] = k + 1;
      if (++defaulted <= kDefaultWeightLines)
        msg(e->warnchannel, "Default weights 1, 2,... generated for set number %d.\n", setno);
      else if (defaulted == kDefaultWeightLines + 1)
        msg(e->warnchannel, "Default weight warnings in excess of 5 not printed.\n");
    }
    if (n == 0) {  // every member unknown: the set goes
      r.type.pop_back();
      r.pri.pop_back();
      r.beg.pop_back();
    }
    given = missing = 0;
    return 0;
  };
  status = sidelines(
      e, fp,
      [&](int lineno, const std::vector<std::string_view> &f, const char *) {
        if (r.type.empty() && setno == 0) return fileerror(e, 1462, lineno);
        if (f.size() > 2) return fileerror(e, 1553, lineno);
        double w = 0.0;
        if (f.size() == 2) {
          int s = sidenumber(e, f[1], lineno, &w);
          if (s) return s;
        }
        const int j = names.find(f[0], lineno);
        if (j < 0) return 0;
        (f.size() == 2 ? given : missing) += 1;
        r.ind.push_back(j);
        r.wt.push_back(w);
        return 0;
      },
      [&](int lineno, const std::vector<std::string_view> &f) {
        char type;
        int pri;
        bool haspri;
        int took = sethead(e, lineno, f, &type, &pri, &haspri);
        if (took != 1) return took;
        int s = endset();
        if (s) return s;
        ++setno;
        r.type.push_back(type);
        r.pri.push_back(pri);
        r.anypri |= haspri;
        r.beg.push_back(static_cast<int>(r.ind.size()));
        return 1;
      });
  if (status == 0) status = endset();
  names.close();
  fileclose(name, &fp);
  return status;
}

int soswrite(env *e, lp *p, const char *name) {
  int status = sidewriteframe(e, &p, name);
  if (status) return status;
  const sosdata *s = p->core->sos;
  if (s == nullptr || s->count == 0) return 3015;
  std::vector<std::string> cn = sidecolnames(e, p);
  FILE *fp = sideopen(e, name, &status);
  if (fp == nullptr) return status;
  fileguard guard{name, &fp};
  std::fprintf(fp, "NAME          %.255s\n", p->core->probname ? p->core->probname : "");
  for (int k = 0; k < s->count; ++k) {
    if (s->priority.empty()) std::fprintf(fp, " S%c\n", s->type[k]);
    else std::fprintf(fp, " S%c%33d\n", s->type[k], s->priority[k]);
    for (int q = s->beg[k]; q < s->beg[k + 1]; ++q)
      std::fprintf(fp, "    %.255s  %12g\n", cn[s->ind[q]].c_str(), s->wt[q]);
  }
  std::fprintf(fp, "ENDATA\n");
  return sideclose(e, name, &fp);
}

int readcopysos(env *e, lp *p, const char *name) {
  mip_register();
  int status = sidereadframe(e, p, name);
  if (status) return status;
  if (p->probtype == kTypeQP || p->probtype == kTypeMIQP || p->probtype == kTypeFixedMIQP ||
      p->probtype == kTypeQPNode)
    return 1018;
  sosread_t r;
  status = readsets(e, name, p->core->numcols, p->core->colname, r);
  if (status) return status;
  r.beg.push_back(static_cast<int>(r.ind.size()));
  status = VLTcopysos(e, p, r.count(), static_cast<int>(r.ind.size()), r.type.data(),
                      r.anypri ? r.pri.data() : nullptr, r.beg.data(), r.ind.data(),
                      r.wt.data());
  return status ? -status : 0;
}

}  // namespace

}  // namespace velto

using namespace velto;

extern "C" {

int VLTsosread(VLTENVptr env, const char *filename, int numcols, char **colname, int *numsos_p,
               int *numsosnz_p, char **sostype_p, int **priority_p, int **beg_p, int **ind_p,
               double **weight_p) {
  if (numsos_p) *numsos_p = 0;
  if (numsosnz_p) *numsosnz_p = 0;
  if (sostype_p) *sostype_p = nullptr;
  if (priority_p) *priority_p = nullptr;
  if (beg_p) *beg_p = nullptr;
  if (ind_p) *ind_p = nullptr;
  if (weight_p) *weight_p = nullptr;
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] {
    if (!numsos_p || !numsosnz_p || !sostype_p || !beg_p || !ind_p || !weight_p)
      return static_cast<int>(kNullPointer);
    if (numcols < 0) return static_cast<int>(kBadArgument);
    if (numcols > 0 && colname == nullptr) return 1219;
    if (filename == nullptr || filename[0] == '\0') return 1421;
    sosread_t r;
    int status = readsets(env, filename, numcols, colname, r);
    if (status) return status;
    r.beg.push_back(static_cast<int>(r.ind.size()));
    char *type = handout(r.type);
    int *pri = priority_p && r.anypri ? handout(r.pri) : nullptr;
    int *beg = handout(r.beg);
    int *ind = handout(r.ind);
    double *wt = handout(r.wt);
    if (!type || !beg || !ind || !wt || (priority_p && r.anypri && !pri)) {
      release(&type);
      release(&pri);
      release(&beg);
      release(&ind);
      release(&wt);
      return static_cast<int>(kNoMemory);
    }
    *numsos_p = r.count();
    *numsosnz_p = static_cast<int>(r.ind.size());
    *sostype_p = type;
    if (priority_p) *priority_p = pri;
    *beg_p = beg;
    *ind_p = ind;
    *weight_p = wt;
    return 0;
  }));
}

int VLTsoswrite(VLTENVptr env, VLTLPptr lp, const char *filename) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return soswrite(env, lp, filename); }));
}

int VLTreadcopysos(VLTENVptr env, VLTLPptr lp, const char *filename) {
  if (!checkenv(env)) return kNoEnvironment;
  return finish(env, guarded([&] { return readcopysos(env, lp, filename); }));
}

}  // extern "C"
