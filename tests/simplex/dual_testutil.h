// Helpers of the dual simplex tests: the engine form of a checked model and a
// minimal reader of fixed MPS files for the engine-level tests.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "common/lpcheck.h"
#include "simplex/dualcore.h"

namespace dualtest {

using velto::dualprob;

// Model and independent checks shared with the other LP tests.
using lpcheck::model;
using lpcheck::primal_violation;
using lpcheck::dual_violation;
using lpcheck::objective;
using lpcheck::farkas_gap;
using lpcheck::ray_violation;

// Engine form: a'x - r = 0 with the logical r in [rlo, rup].
inline dualprob to_prob(const model &md) {
  dualprob p;
  p.m = md.m;
  p.n = md.n;
  p.matbeg.push_back(0);
  for (int j = 0; j < md.n; ++j) {
    for (auto &e : md.cols[j]) {
      p.matind.push_back(e.first);
      p.matval.push_back(e.second);
    }
    p.matbeg.push_back(static_cast<int>(p.matind.size()));
  }
  p.slackval.assign(md.m, -1.0);
  p.rhs.assign(md.m, 0.0);
  p.lb = md.lb;
  p.ub = md.ub;
  p.lb.insert(p.lb.end(), md.rlo.begin(), md.rlo.end());
  p.ub.insert(p.ub.end(), md.rup.begin(), md.rup.end());
  p.cost = md.c;
  p.cost.resize(md.n + md.m, 0.0);
  return p;
}

inline bool read_gz(const std::string &path, std::string &out) {
  if (FILE *t = std::fopen(path.c_str(), "rb")) std::fclose(t);
  else return false;
  std::string cmd = "gzip -dc '" + path + "'";
  FILE *f = popen(cmd.c_str(), "r");
  if (!f) return false;
  char buf[65536];
  size_t k;
  while ((k = std::fread(buf, 1, sizeof buf, f)) > 0) out.append(buf, k);
  return pclose(f) == 0;
}

// Reads the free-standing subset of MPS used by the public model sets.
inline bool read_mps(const std::string &path, model &md) {
  std::string text;
  if (!read_gz(path, text)) return false;
  std::istringstream in(text);
  std::string line, sect, objname;
  std::map<std::string, int> rowid, colid;
  std::vector<char> sense;
  std::vector<double> rhs, rng;
  std::vector<char> hasrng;
  auto getcol = [&](const std::string &nm) {
    auto it = colid.find(nm);
    if (it != colid.end()) return it->second;
    int j = md.n++;
    colid[nm] = j;
    md.cols.emplace_back();
    md.c.push_back(0.0);
    md.lb.push_back(0.0);
    md.ub.push_back(1e20);
    return j;
  };
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '*') continue;
    if (line[0] != ' ') {
      std::istringstream ls(line);
      ls >> sect;
      continue;
    }
    std::istringstream ls(line);
    std::vector<std::string> tk;
    std::string t;
    while (ls >> t) tk.push_back(t);
    if (tk.empty()) continue;
    if (sect == "ROWS") {
      if (tk[0] == "N") {
        if (objname.empty()) objname = tk[1];
        continue;
      }
      rowid[tk[1]] = md.m++;
      sense.push_back(tk[0][0]);
      rhs.push_back(0.0);
      rng.push_back(0.0);
      hasrng.push_back(0);
    } else if (sect == "COLUMNS") {
      if (tk.size() >= 3 && tk[1] == "'MARKER'") continue;
      int j = getcol(tk[0]);
      for (size_t k = 1; k + 1 < tk.size(); k += 2) {
        double v = std::stod(tk[k + 1]);
        if (tk[k] == objname) md.c[j] += v;
        else {
          auto it = rowid.find(tk[k]);
          if (it != rowid.end()) md.cols[j].push_back({it->second, v});
        }
      }
    } else if (sect == "RHS") {
      size_t k0 = tk.size() % 2 == 1 ? 1 : 0;
      for (size_t k = k0; k + 1 < tk.size(); k += 2) {
        double v = std::stod(tk[k + 1]);
        if (tk[k] == objname) md.c0 = -v;
        else {
          auto it = rowid.find(tk[k]);
          if (it != rowid.end()) rhs[it->second] = v;
        }
      }
    } else if (sect == "RANGES") {
      size_t k0 = tk.size() % 2 == 1 ? 1 : 0;
      for (size_t k = k0; k + 1 < tk.size(); k += 2) {
        auto it = rowid.find(tk[k]);
        if (it != rowid.end()) {
          rng[it->second] = std::stod(tk[k + 1]);
          hasrng[it->second] = 1;
        }
      }
    } else if (sect == "BOUNDS") {
      std::string ty = tk[0];
      bool novalue = ty == "FR" || ty == "MI" || ty == "PL" || ty == "BV";
      std::string cn;
      double v = 0.0;
      if (novalue) {
        cn = tk.size() >= 3 ? tk[2] : tk[1];
      } else {
        cn = tk.size() >= 4 ? tk[2] : tk[1];
        v = std::stod(tk.size() >= 4 ? tk[3] : tk[2]);
      }
      int j = getcol(cn);
      if (ty == "UP") {
        md.ub[j] = v;
        if (v < 0 && md.lb[j] == 0.0) md.lb[j] = -1e20;
      } else if (ty == "LO") md.lb[j] = v;
      else if (ty == "FX") md.lb[j] = md.ub[j] = v;
      else if (ty == "FR") {
        md.lb[j] = -1e20;
        md.ub[j] = 1e20;
      } else if (ty == "MI") md.lb[j] = -1e20;
      else if (ty == "PL") md.ub[j] = 1e20;
      else if (ty == "BV") {
        md.lb[j] = 0;
        md.ub[j] = 1;
      }
    }
  }
  md.rlo.assign(md.m, -1e20);
  md.rup.assign(md.m, 1e20);
  for (int i = 0; i < md.m; ++i) {
    double b = rhs[i];
    switch (sense[i]) {
      case 'L':
        md.rup[i] = b;
        if (hasrng[i]) md.rlo[i] = b - std::fabs(rng[i]);
        break;
      case 'G':
        md.rlo[i] = b;
        if (hasrng[i]) md.rup[i] = b + std::fabs(rng[i]);
        break;
      default:
        md.rlo[i] = md.rup[i] = b;
        if (hasrng[i]) {
          if (rng[i] > 0) md.rup[i] = b + rng[i];
          else md.rlo[i] = b + rng[i];
        }
    }
  }
  return true;
}

}  // namespace dualtest
