// Integer column counts of every MIPLIB model: the library's counters
// against the published integer count and against a count made here
// straight from the file, and the exact column types after a write and read
// in both text formats.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <vector>
#include <cstdlib>
#include <cstring>

#include "common/reference.h"
#include "velto.h"

using namespace velto_test;

namespace {

// Counts from the file text alone: integer columns are those between the
// integer markers or given an integer bound type; a binary is an integer
// column whose bounds end at 0 and 1 (no upper bound line means 1).
struct filecount {
  int binaries = 0, integers = 0, sets = 0;
};

filecount countfile(const std::string &path) {
  filecount fc;
  std::string cmd = "gzip -dc '" + path + "'";
  FILE *fp = popen(cmd.c_str(), "r");
  if (fp == nullptr) return fc;
  struct col {
    bool integer = false, bv = false, upset = false;
    double lb = 0, ub = 0;
  };
  std::map<std::string, col> cols;
  std::string section, last;
  bool inint = false;
  char buf[4096];
  while (std::fgets(buf, sizeof buf, fp)) {
    std::string line(buf);
    if (line.empty() || line[0] == '*') continue;
    std::istringstream ss(line);
    std::vector<std::string> tok;
    for (std::string t; ss >> t;) tok.push_back(t);
    if (tok.empty()) continue;
    if (!std::isspace(static_cast<unsigned char>(line[0]))) {
      section = tok[0];
      continue;
    }
    if (section == "COLUMNS") {
      if (tok.size() >= 3 && tok[1] == "'MARKER'") {
        if (tok[2] == "'INTORG'") inint = true;
        if (tok[2] == "'INTEND'") inint = false;
        if (tok[2] == "'SOSORG'") ++fc.sets;
        continue;
      }
      if (tok[0] != last) {
        last = tok[0];
        cols[last].integer = inint;
      }
    } else if (section == "BOUNDS" && tok.size() >= 3) {
      col &c = cols[tok[2]];
      double v = tok.size() >= 4 ? std::strtod(tok[3].c_str(), nullptr) : 0.0;
      const std::string &t = tok[0];
      if (t == "UP" || t == "UI") c.ub = v, c.upset = true;
      if (t == "LO" || t == "LI") c.lb = v;
      if (t == "FX") c.lb = c.ub = v, c.upset = true;
      if (t == "BV") c.bv = true;
      if (t == "UI" || t == "LI" || t == "BV") c.integer = true;
    } else if (section == "SOS" && (tok[0] == "S1" || tok[0] == "S2")) {
      ++fc.sets;
    }
  }
  pclose(fp);
  for (auto &[name, c] : cols) {
    if (!c.integer) continue;
    bool bin = c.bv || (c.lb == 0 && (!c.upset || c.ub == 1));
    (bin ? fc.binaries : fc.integers)++;
  }
  return fc;
}

class MiplibTypes : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!std::filesystem::exists(datadir() + "/miplib3/REFERENCE.tsv"))
      GTEST_SKIP() << "public model folder " << datadir() << " not found (set VELTO_DATA)";
    int status = 0;
    env = VLTopenVELTO(&status);
    ASSERT_EQ(status, 0);
    tmp = std::filesystem::temp_directory_path() / ("velto_miptypes_" + std::to_string(getpid()));
    std::filesystem::create_directories(tmp);
  }
  void TearDown() override {
    if (env) VLTcloseVELTO(&env);
    if (!tmp.empty()) std::filesystem::remove_all(tmp);
  }
  VLTENVptr env = nullptr;
  std::filesystem::path tmp;
};

std::string types(VLTENVptr env, VLTLPptr lp) {
  int n = VLTgetnumcols(env, lp);
  std::string t(n, '?');
  if (VLTgetctype(env, lp, t.data(), 0, n - 1) != 0) return "";
  return t;
}

// Types of a problem read back from a file written with generic names
// x1, x2, ...: the LP form orders columns by first appearance, so each type
// goes back to the position its name gives.  Ranged rows come back with a
// continuous column "Rg..." each, which is left out.
std::string typesbyname(VLTENVptr env, VLTLPptr lp) {
  int n = VLTgetnumcols(env, lp);
  std::string t = types(env, lp), out;
  std::vector<char *> names(n);
  std::vector<char> store(16 * static_cast<size_t>(n) + 16);
  int surplus = 0;
  if (VLTgetcolname(env, lp, names.data(), store.data(), static_cast<int>(store.size()), &surplus,
                    0, n - 1) != 0)
    return "";
  for (int j = 0; j < n; ++j) {
    if (std::strncmp(names[j], "Rg", 2) == 0 && t[j] == 'C') continue;
    int k = std::atoi(names[j] + 1) - 1;
    if (names[j][0] != 'x' || k < 0 || k >= n) return "";
    if (static_cast<int>(out.size()) <= k) out.resize(k + 1, '?');
    out[k] = t[j];
  }
  return out;
}

TEST_F(MiplibTypes, CountsMatchReferenceAndTheFile) {
  auto ref = readreference("miplib3");
  ASSERT_FALSE(ref.empty());
  for (const refentry &r : ref) {
    SCOPED_TRACE(r.name);
    int status = 0;
    VLTLPptr lp = VLTcreateprob(env, &status, r.name.c_str());
    std::string file = modelpath("miplib3", r.name);
    ASSERT_EQ(VLTreadcopyprob(env, lp, file.c_str(), nullptr), 0);
    int ni = VLTgetnumint(env, lp), nb = VLTgetnumbin(env, lp), ns = VLTgetnumsos(env, lp);
    EXPECT_EQ(ni + nb, r.integer(3));
    filecount fc = countfile(file);
    EXPECT_EQ(nb, fc.binaries);
    EXPECT_EQ(ni, fc.integers);
    EXPECT_EQ(ns, fc.sets);
    // Both text formats keep every column's type.
    std::string before = types(env, lp);
    for (const char *ext : {"mps", "lp"}) {
      bool lpform = ext[0] == 'l';
      std::string out = (tmp / (r.name + "." + ext)).string();
      ASSERT_EQ(VLTwriteprob(env, lp, out.c_str(), lpform ? "rlp" : nullptr), 0);
      VLTLPptr back = VLTcreateprob(env, &status, "back");
      ASSERT_EQ(VLTreadcopyprob(env, back, out.c_str(), lpform ? "lp" : nullptr), 0);
      EXPECT_EQ(lpform ? typesbyname(env, back) : types(env, back), before) << ext;
      EXPECT_EQ(VLTgetnumsos(env, back), ns) << ext;
      VLTfreeprob(env, &back);
      std::filesystem::remove(out);
    }
    VLTfreeprob(env, &lp);
  }
}

}  // namespace
