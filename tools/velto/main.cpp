// velto: command-line driver over the public API.
#include <cstdio>

#include "velto.h"

int main() {
  int status = 0;
  VLTENVptr env = VLTopenVELTO(&status);
  if (env == nullptr) {
    std::fprintf(stderr, "velto: could not open an environment (status %d)\n", status);
    return 2;
  }
  VLTCHANNELptr res = nullptr, warn = nullptr, err = nullptr;
  VLTgetchannels(env, &res, &warn, &err, nullptr);
  VLTaddfpdest(env, res, stdout);
  VLTaddfpdest(env, err, stderr);
  VLTmsg(res, "Velto version %s\n", VLTversion(env));
  VLTcloseVELTO(&env);
  return 0;
}
