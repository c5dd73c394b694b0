// Finding the public model folder and reading its REFERENCE.tsv tables.
// Shared by the instance tests of every subsystem.
#pragma once

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#ifndef VELTO_DATA_DEFAULT
#define VELTO_DATA_DEFAULT "../shared/data"
#endif

namespace velto_test {

// The data folder: $VELTO_DATA if set, else the configured default.
inline std::string datadir() {
  const char *env = std::getenv("VELTO_DATA");
  return (env != nullptr && env[0] != '\0') ? std::string(env) : std::string(VELTO_DATA_DEFAULT);
}

// One line of a REFERENCE.tsv: the model name and its fields as text, in the
// order of the file's header ("-" stays "-").
struct refentry {
  std::string name;
  std::vector<std::string> fields;
  // Field k as a number (NaN for "-" or a missing field).
  double num(size_t k) const {
    if (k >= fields.size() || fields[k] == "-") return std::strtod("nan", nullptr);
    return std::strtod(fields[k].c_str(), nullptr);
  }
  long integer(size_t k) const { return std::strtol(k < fields.size() ? fields[k].c_str() : "", nullptr, 10); }
};

// Reads <datadir>/<set>/REFERENCE.tsv; empty if the file is absent.
inline std::vector<refentry> readreference(const std::string &set) {
  std::vector<refentry> out;
  std::ifstream in(datadir() + "/" + set + "/REFERENCE.tsv");
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::stringstream ss(line);
    refentry r;
    std::getline(ss, r.name, '\t');
    std::string f;
    while (std::getline(ss, f, '\t')) r.fields.push_back(f);
    out.push_back(r);
  }
  return out;
}

// Names of the models of a set, or {"none"} so that a parameterized suite
// still has one case to skip.
inline std::vector<std::string> referencenames(const std::string &set) {
  std::vector<std::string> out;
  for (auto &r : readreference(set)) out.push_back(r.name);
  if (out.empty()) out.push_back("none");
  return out;
}

// Path of a model of a set: <datadir>/<set>/<name>.mps.gz.
inline std::string modelpath(const std::string &set, const std::string &name) {
  return datadir() + "/" + set + "/" + name + ".mps.gz";
}

}  // namespace velto_test
