// libFuzzer target of the side-file readers that load into a problem, built
// once per reader with FUZZ_SIDE naming it (fuzz_bas: basis files through
// VLTmbaseread and VLTreadcopybase; fuzz_vec: vector files through
// VLTreadcopyvec).  The input is written to a file and read into a small
// named model: any input gives a status, never a crash, a hang or a
// sanitizer report, and the model stays usable (it solves afterwards).
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "velto.h"

#ifndef FUZZ_SIDE
#error "FUZZ_SIDE must name the reader under test (1 basis, 2 vector)"
#endif

namespace {

struct fixture {
  VLTENVptr env = nullptr;
  VLTLPptr lp = nullptr;
  std::string path;
  fixture() {
    int status = 0;
    env = VLTopenVELTO(&status);
    lp = VLTcreateprob(env, &status, "fuzz");
    // Three rows of every kind of sense, four columns of every kind of bound.
    double obj[] = {1, -2, 3, 0.5}, rhs[] = {4, 1, 2}, rng[] = {0, 0, 3};
    double lb[] = {0, -1e20, -2, 0}, ub[] = {5, 1e20, 2, 1e20};
    int beg[] = {0, 2, 4, 5}, cnt[] = {2, 2, 1, 2}, ind[] = {0, 1, 1, 2, 0, 1, 2};
    double val[] = {1, 2, -1, 1, 3, 1, -1};
    char sense[] = {'L', 'G', 'R'};
    char c0[] = "x", c1[] = "y", c2[] = "z", c3[] = "w", r0[] = "lim", r1[] = "cov", r2[] = "rng";
    char *cn[] = {c0, c1, c2, c3}, *rn[] = {r0, r1, r2};
    VLTcopylpwnames(env, lp, 4, 3, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, rng, cn, rn);
    path = "/tmp/velto_fuzz_side_" + std::to_string(getpid()) + (FUZZ_SIDE == 1 ? ".bas" : ".vec");
  }
};

fixture &fx() {
  static fixture f;
  return f;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  fixture &f = fx();
  FILE *fp = std::fopen(f.path.c_str(), "wb");
  if (fp == nullptr) return 0;
  if (size > 0) std::fwrite(data, 1, size, fp);
  std::fclose(fp);
  if (FUZZ_SIDE == 1) {
    char *cn[] = {const_cast<char *>("x"), const_cast<char *>("y"), const_cast<char *>("z"),
                  const_cast<char *>("w")};
    char *rn[] = {const_cast<char *>("lim"), const_cast<char *>("cov"), const_cast<char *>("rng")};
    int cs[4], rs[3];
    double cv[4], rv[3];
    VLTmbaseread(f.env, f.path.c_str(), 4, 3, cn, rn, cs, rs, cv, rv);
    VLTreadcopybase(f.env, f.lp, f.path.c_str());
  } else {
    VLTreadcopyvec(f.env, f.lp, f.path.c_str());
  }
  // Whatever was loaded as a start, the model still solves.
  VLTsetintparam(f.env, VLT_PARAM_ITLIM, 50);
  VLTdualopt(f.env, f.lp);
  return 0;
}
