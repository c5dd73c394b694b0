// Fixture of the file tests: an environment whose channels are captured,
// a private temporary folder, and readers run on text in memory.
#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "fileio/rwutil.h"
#include "model/store.h"
#include "velto.h"

namespace velto_test {

class FileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    int status = 0;
    env_ = VLTopenVELTO(&status);
    ASSERT_EQ(status, 0);
    VLTCHANNELptr res, warn, err, log;
    VLTgetchannels(env_, &res, &warn, &err, &log);
    VLTaddfuncdest(env_, res, &out_, append);
    VLTaddfuncdest(env_, warn, &warn_, append);
    VLTaddfuncdest(env_, err, &err_, append);
    lp_ = VLTcreateprob(env_, &status, "test");
    ASSERT_EQ(status, 0);
    static int serial = 0;
    dir_ = std::filesystem::temp_directory_path() /
           ("velto_files_" + std::to_string(getpid()) + "_" + std::to_string(++serial));
    std::filesystem::create_directories(dir_);
  }
  void TearDown() override {
    if (lp_ != nullptr) VLTfreeprob(env_, &lp_);
    if (env_ != nullptr) VLTcloseVELTO(&env_);
    std::filesystem::remove_all(dir_);
  }
  static void append(void *handle, const char *text) { *static_cast<std::string *>(handle) += text; }
  void clearlogs() { out_.clear(), warn_.clear(), err_.clear(); }

  std::string path(const std::string &name) const { return (dir_ / name).string(); }
  std::string writefile(const std::string &name, const std::string &text) const {
    std::ofstream(path(name), std::ios::binary) << text;
    return path(name);
  }
  static std::string slurp(const std::string &p) {
    std::ifstream in(p, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  }
  static std::string data(const std::string &name) { return std::string(VELTO_TEST_DATA) + "/" + name; }

  // Runs a reader on text in memory.
  int readmps(const std::string &text, velto::filemodel &m) { return readtext(text, m, true); }
  int readlp(const std::string &text, velto::filemodel &m) { return readtext(text, m, false); }
  int readtext(const std::string &text, velto::filemodel &m, bool mps) {
    std::string copy = text;
    FILE *fp = fmemopen(copy.empty() ? nullptr : copy.data(), copy.size(), "rb");
    if (fp == nullptr) fp = std::tmpfile();
    int status = mps ? velto::mpsreadfp(env_, fp, m) : velto::lpreadfp(env_, fp, m);
    std::fclose(fp);
    velto::report(env_, &status);  // as the exported frame does
    return status;
  }

  VLTENVptr env_ = nullptr;
  VLTLPptr lp_ = nullptr;
  std::string out_, warn_, err_;
  std::filesystem::path dir_;
};

// Index of a name in a store, -1 if absent.
inline int nameindex(const velto::namestore &s, const std::string &n) {
  for (int i = 0; i < s.size(); ++i)
    if (n == s.get(i)) return i;
  return -1;
}

// Coefficient of (row, column) in a model's matrix, 0 if absent.
inline double coef(const velto::filemodel &m, int i, int j) {
  for (int k = m.matbeg[j]; k < m.matbeg[j] + m.matcnt[j]; ++k)
    if (m.matind[k] == i) return m.matval[k];
  return 0.0;
}

}  // namespace velto_test
