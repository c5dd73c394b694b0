// Helpers shared by the environment tests: an environment that closes
// itself, and a function destination that collects what a channel receives.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "velto.h"

namespace vtest {

// Collects every message of a channel, one string per message.
struct Capture {
  std::vector<std::string> lines;
  static void sink(void *handle, const char *text) {
    static_cast<Capture *>(handle)->lines.emplace_back(text);
  }
  std::string all() const {
    std::string s;
    for (const auto &l : lines) s += l;
    return s;
  }
  void clear() { lines.clear(); }
};

// An open environment with its error and results channels captured.
struct Env {
  VLTENVptr env = nullptr;
  Capture err, res, warn;
  Env() {
    int status = -1;
    env = VLTopenVELTO(&status);
    EXPECT_EQ(status, 0);
    VLTCHANNELptr r, w, e, l;
    EXPECT_EQ(VLTgetchannels(env, &r, &w, &e, &l), 0);
    EXPECT_EQ(VLTaddfuncdest(env, e, &err, Capture::sink), 0);
    EXPECT_EQ(VLTaddfuncdest(env, r, &res, Capture::sink), 0);
    EXPECT_EQ(VLTaddfuncdest(env, w, &warn, Capture::sink), 0);
  }
  ~Env() {
    if (env != nullptr) VLTcloseVELTO(&env);
  }
  Env(const Env &) = delete;
  Env &operator=(const Env &) = delete;
  operator VLTENVptr() const { return env; }
};

}  // namespace vtest
