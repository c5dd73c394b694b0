// An environment and one problem for a test, opened quiet (no simplex
// display), with the result, warning and error channels collected into
// `results`, `warnings` and `errors`; both closed at the end.
#pragma once

#include <string>

#include "velto.h"

namespace velto_test {

struct session {
  VLTENVptr env = nullptr;
  VLTLPptr lp = nullptr;
  std::string results, warnings, errors;

  explicit session(const char *name = "test") {
    int st = 0;
    env = VLTopenVELTO(&st);
    if (env == nullptr) return;
    VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0);
    VLTCHANNELptr cres = nullptr, cwarn = nullptr, cerr = nullptr, clog = nullptr;
    VLTgetchannels(env, &cres, &cwarn, &cerr, &clog);
    VLTaddfuncdest(env, cres, &results, collect);
    VLTaddfuncdest(env, cwarn, &warnings, collect);
    VLTaddfuncdest(env, cerr, &errors, collect);
    lp = VLTcreateprob(env, &st, name);
  }
  ~session() {
    if (env == nullptr) return;
    VLTfreeprob(env, &lp);
    VLTcloseVELTO(&env);
  }
  session(const session &) = delete;
  session &operator=(const session &) = delete;

  static void collect(void *h, const char *text) { static_cast<std::string *>(h)->append(text); }
};

}  // namespace velto_test
