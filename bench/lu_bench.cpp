// Benchmarks of the basis factor.
//
//   lu_bench network [m]          tree basis with a sparse inverse: rows
//                                  touched by unit solves and the speed-up of
//                                  the hypersparse solves over dense ones
//   lu_bench netlib [DIR] [BASDIR] factor time, fill and solve times on the
//                                  crash-like basis of every Netlib model, and
//                                  fill on the bases in BASDIR/<model>.bas
#include <chrono>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "simplex/lu_helpers.h"

using namespace velto;
using namespace lutest;

namespace {

double now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// A random rooted tree on m nodes as the incidence basis of a network: column
// j has +1 in row j and -1 in the row of its parent, which is uniform among
// the earlier nodes (depth about e ln m); node 0 is the root, and rows and
// columns are shuffled.
int network(int m) {
  std::mt19937 rng(1);
  std::vector<int> rperm(m), cperm(m);
  for (int i = 0; i < m; i++) rperm[i] = cperm[i] = i;
  std::shuffle(rperm.begin(), rperm.end(), rng);
  std::shuffle(cperm.begin(), cperm.end(), rng);
  std::vector<std::vector<std::pair<int, double>>> cols(m);
  for (int j = 0; j < m; j++) {
    cols[cperm[j]].push_back({rperm[j], 1.0});
    if (j > 0) {
      int par = std::uniform_int_distribution<int>(0, j - 1)(rng);
      cols[cperm[j]].push_back({rperm[par], -1.0});
    }
  }
  Model md;
  md.m = m;
  for (auto &c : cols) md.addcol(c);
  md.finish();
  std::vector<int> head(m);
  for (int p = 0; p < m; p++) head[p] = p;
  Fac F(m);
  double u = 0.01, t0 = now();
  int st = lu_refactor(nullptr, F.f, &md.mat, head.data(), &u, 1e-13, 0, nullptr);
  double tf = now() - t0;
  if (st != 0) {
    std::printf("factor failed: %d\n", st);
    return 1;
  }
  std::printf("network basis: %d rows, %d nonzeros, L+U %d, factor %.3f s\n", m, F.f->basisnz,
              F.f->lunz, tf);
  SVec out(m);
  std::vector<double> dense(m);
  const int ns = 2000, nd = 20;
  std::uniform_int_distribution<int> pick(0, m - 1);
  double one = 1.0;
  long touched = 0;
  t0 = now();
  for (int k = 0; k < ns; k++) {
    int i = pick(rng);
    lu_ftran_sparse(F.f, &out.v, 1, &i, &one);
    touched += out.v.nnz;
  }
  double tsf = (now() - t0) / ns;
  t0 = now();
  for (int k = 0; k < nd; k++) {
    std::fill(dense.begin(), dense.end(), 0.0);
    dense[pick(rng)] = 1.0;
    lu_ftran(F.f, dense.data());
  }
  double tdf = (now() - t0) / nd;
  long touchedb = 0;
  t0 = now();
  for (int k = 0; k < ns; k++) {
    lu_btran_unit(F.f, &out.v, pick(rng));
    touchedb += out.v.nnz;
  }
  double tsb = (now() - t0) / ns;
  t0 = now();
  for (int k = 0; k < nd; k++) {
    std::fill(dense.begin(), dense.end(), 0.0);
    dense[pick(rng)] = 1.0;
    lu_btran(F.f, dense.data());
  }
  double tdb = (now() - t0) / nd;
  std::printf("FTRAN unit: %.1f of %d rows in the result (%.4f%%), sparse %.2f us, dense %.1f us, "
              "speed-up %.0fx\n",
              double(touched) / ns, m, 100.0 * touched / ns / m, 1e6 * tsf, 1e6 * tdf, tdf / tsf);
  std::printf("BTRAN unit: %.1f of %d rows in the result (%.4f%%), sparse %.2f us, dense %.1f us, "
              "speed-up %.0fx\n",
              double(touchedb) / ns, m, 100.0 * touchedb / ns / m, 1e6 * tsb, 1e6 * tdb, tdb / tsb);
  return 0;
}

std::vector<std::string> names_of(VLTENVptr env, VLTLPptr lp, bool cols, int n) {
  std::vector<std::string> out;
  if (n == 0) return out;
  int surplus = 0;
  std::vector<char *> ptr(n);
  if (cols)
    VLTgetcolname(env, lp, ptr.data(), nullptr, 0, &surplus, 0, n - 1);
  else
    VLTgetrowname(env, lp, ptr.data(), nullptr, 0, &surplus, 0, n - 1);
  std::vector<char> store(-surplus + 1);
  if (cols)
    VLTgetcolname(env, lp, ptr.data(), store.data(), -surplus, &surplus, 0, n - 1);
  else
    VLTgetrowname(env, lp, ptr.data(), store.data(), -surplus, &surplus, 0, n - 1);
  for (int k = 0; k < n; k++) out.push_back(ptr[k]);
  return out;
}

// Head from an MPS basis file: columns named in XU/XL lines are basic, the
// rows named there nonbasic, every other row keeps its slack.
bool read_bas(const std::string &file, const std::string &model, const Model &md,
              std::vector<int> &head) {
  std::ifstream in(file);
  if (!in) return false;
  int st = 0;
  VLTENVptr env = VLTopenVELTO(&st);
  VLTLPptr lp = VLTcreateprob(env, &st, "b");
  if (VLTreadcopyprob(env, lp, model.c_str(), nullptr) != 0) return false;
  std::vector<std::string> cn = names_of(env, lp, true, md.n), rn = names_of(env, lp, false, md.m);
  VLTfreeprob(env, &lp);
  VLTcloseVELTO(&env);
  std::map<std::string, int> col, row;
  for (int j = 0; j < md.n; j++) col[cn[j]] = j;
  for (int i = 0; i < md.m; i++) row[rn[i]] = i;
  std::vector<char> rowbasic(md.m, 1);
  head.clear();
  std::string line;
  while (std::getline(in, line)) {
    if (line.size() < 3 || line[0] != ' ') continue;
    std::istringstream ss(line);
    std::string kind, a, b;
    ss >> kind >> a >> b;
    if (kind != "XU" && kind != "XL") continue;
    auto ic = col.find(a);
    auto ir = row.find(b);
    if (ic == col.end() || ir == row.end()) return false;
    head.push_back(ic->second);
    rowbasic[ir->second] = 0;
  }
  for (int i = 0; i < md.m; i++)
    if (rowbasic[i]) head.push_back(md.n + i);
  return static_cast<int>(head.size()) == md.m;
}

struct measure {
  int status = -1, basisnz = 0, lunz = 0;
  double tfac = 0, tftran = 0, tbtran = 0;
};

measure run_basis(const Model &md, std::vector<int> head, bool solves) {
  measure r;
  const int m = md.m;
  Fac F(m);
  double u = 0.01;
  double t0 = now();
  int reps = 0;
  do {
    std::vector<int> h = head;
    r.status = lu_refactor(nullptr, F.f, &md.mat, h.data(), &u, 1e-13, 0, nullptr);
    reps++;
  } while (now() - t0 < 0.05 && reps < 100);
  r.tfac = (now() - t0) / reps;
  r.basisnz = F.f->basisnz;
  r.lunz = F.f->lunz;
  if (!solves || (r.status != 0 && r.status != kLuRepaired)) return r;
  std::mt19937 rng(3);
  SVec out(m);
  std::vector<int> ci;
  std::vector<double> cv;
  const int ns = 200;
  t0 = now();
  for (int k = 0; k < ns; k++) {
    md.column(std::uniform_int_distribution<int>(0, md.n - 1)(rng), ci, cv);
    lu_ftran_sparse(F.f, &out.v, static_cast<int>(ci.size()), ci.data(), cv.data());
  }
  r.tftran = (now() - t0) / ns;
  t0 = now();
  for (int k = 0; k < ns; k++) lu_btran_unit(F.f, &out.v, std::uniform_int_distribution<int>(0, m - 1)(rng));
  r.tbtran = (now() - t0) / ns;
  return r;
}

int netlib(const std::string &dir, const std::string &basdir) {
  std::vector<std::string> models;
  DIR *d = opendir(dir.c_str());
  if (!d) {
    std::printf("no folder %s\n", dir.c_str());
    return 1;
  }
  while (dirent *de = readdir(d)) {
    std::string f = de->d_name;
    if (f.size() > 7 && f.substr(f.size() - 7) == ".mps.gz") models.push_back(f.substr(0, f.size() - 7));
  }
  closedir(d);
  std::sort(models.begin(), models.end());
  std::printf("%-10s %6s %7s | %8s %8s %5s %9s %9s %9s | %8s %8s %5s\n", "model", "rows", "cols",
              "B nz", "L+U nz", "fill", "factor", "ftran", "btran", "opt B nz", "L+U nz", "fill");
  int within = 0, withbas = 0;
  for (const std::string &name : models) {
    std::string file = dir + "/" + name + ".mps.gz";
    Model md;
    if (!load_model(file, md) || md.m == 0) {
      std::printf("%-10s unreadable\n", name.c_str());
      continue;
    }
    Fac P(md.m);
    std::vector<int> all(md.n);
    for (int j = 0; j < md.n; j++) all[j] = j;
    std::vector<int> crash = probe_basis(md, P.f, all);
    measure c = run_basis(md, crash, true);
    std::printf("%-10s %6d %7d | %8d %8d %5.2f %7.2fms %7.1fus %7.1fus |", name.c_str(), md.m, md.n,
                c.basisnz, c.lunz, double(c.lunz) / c.basisnz, 1e3 * c.tfac, 1e6 * c.tftran,
                1e6 * c.tbtran);
    std::vector<int> opt;
    if (!basdir.empty() && read_bas(basdir + "/" + name + ".bas", file, md, opt)) {
      measure o = run_basis(md, opt, false);
      double fill = double(o.lunz) / o.basisnz;
      withbas++;
      if (fill <= 1.5) within++;
      std::printf(" %8d %8d %5.2f%s\n", o.basisnz, o.lunz, fill, o.status == 0 ? "" : " (repaired)");
    } else {
      std::printf(" %8s\n", "-");
    }
    std::fflush(stdout);
  }
  if (withbas) std::printf("optimal bases with fill <= 1.5: %d of %d\n", within, withbas);
  return 0;
}

}  // namespace

int main(int argc, char **argv) {
  std::string mode = argc > 1 ? argv[1] : "network";
  if (mode == "network") return network(argc > 2 ? std::atoi(argv[2]) : 100000);
  if (mode == "netlib")
    return netlib(argc > 2 ? argv[2] : data_dir() + "/netlib", argc > 3 ? argv[3] : "");
  std::printf("usage: lu_bench network [m] | netlib [DIR] [BASDIR]\n");
  return 2;
}
