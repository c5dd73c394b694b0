// libFuzzer target of a model reader, built once per reader with
// FUZZ_READER naming its stream entry (fuzz_mps, fuzz_mpsrim, fuzz_lp, fuzz_sav): any input gives a
// status, never a crash, a hang or a sanitizer report, and a model the
// reader accepts has arrays consistent with its counts.
#include <cstdint>
#include <cstdio>

#include "fileio/rwutil.h"
#include "fileio/sav.h"
#include "velto.h"

#ifndef FUZZ_READER
#error "FUZZ_READER must name the reader under test"
#endif

namespace {
VLTENVptr fuzzenv() {
  static VLTENVptr env = [] {
    int status = 0;
    return VLTopenVELTO(&status);
  }();
  return env;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  VLTENVptr env = fuzzenv();
  FILE *fp = fmemopen(const_cast<uint8_t *>(data), size, "rb");
  if (fp == nullptr) return 0;
  velto::filemodel m;
  int status = FUZZ_READER(env, fp, m);
  std::fclose(fp);
  if (status == 0) {
    if (static_cast<int>(m.obj.size()) != m.numcols || static_cast<int>(m.rhs.size()) != m.numrows)
      __builtin_trap();
    for (int j = 0; j < m.numcols; ++j)
      for (int k = m.matbeg[j]; k < m.matbeg[j] + m.matcnt[j]; ++k)
        if (m.matind[k] < 0 || m.matind[k] >= m.numrows) __builtin_trap();
    // Rim vectors name rows and columns of the model; the quadratic terms
    // and set members name columns.
    for (const velto::rimvector &r : m.rims)
      for (int i : r.ind)
        if (i < 0 || i >= (r.kind == 2 ? m.numcols : m.numrows)) __builtin_trap();
    for (size_t k = 0; k < m.qval.size(); ++k)
      if (m.qrow[k] < 0 || m.qrow[k] >= m.numcols || m.qcol[k] < 0 || m.qcol[k] >= m.numcols)
        __builtin_trap();
    for (int j : m.sosind)
      if (j < 0 || j >= m.numcols) __builtin_trap();
  }
  return 0;
}
