// velto: command-line driver over the public API.
//
// Reads a model (MPS or LP, compressed or not), optimizes it and prints the
// library's log, the status, the objective and the iteration count.  With no
// model argument it solves the example shipped with the sources.
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "cbcmode.h"
#include "driverutil.h"
#include "interrupt.h"
#include "ranges.h"
#include "sidefiles.h"
#include "velto.h"

#ifndef VELTO_EXAMPLE_MODEL
#define VELTO_EXAMPLE_MODEL "examples/production.mps"
#endif
#ifndef VELTO_INSTALLED_EXAMPLE
#define VELTO_INSTALLED_EXAMPLE "../share/velto/examples/production.mps"
#endif

namespace {

// Exit codes (documented in the README).
constexpr int kExitOptimal = 0;
constexpr int kExitNotOptimal = 1;
constexpr int kExitFailure = 2;

const char *kUsage =
    "usage: velto [options] [MODEL]\n"
    "\n"
    "Reads MODEL (MPS or LP format, optionally compressed, chosen by the file\n"
    "name's suffix), optimizes it and prints the log, the solution status, the\n"
    "objective value and the iteration count.  A model with integer columns\n"
    "goes to the integer optimizer, which prints the best bound, the gap and\n"
    "the node count as well.  Without MODEL, solves the example model\n"
    "shipped with Velto.\n"
    "\n"
    "options:\n"
    "  --method M          optimizer: auto (default), primal, dual, barrier (interior\n"
    "                      point, no crossover), hybrid (barrier, then crossover)\n"
    "  --time-limit SEC    stop after SEC seconds\n"
    "  --iter-limit N      stop after N simplex iterations\n"
    "  --mip-gap G         integer models: stop at relative gap G (default 1e-4)\n"
    "  --node-limit N      integer models: stop after N branch-and-bound nodes\n"
    "  --threads N         threads the optimizers may use\n"
    "  --presolve on|off   reduce the model before solving (default on)\n"
    "  --param NAME=VALUE  set any parameter by name, e.g.\n"
    "                      --param VLT_PARAM_SIMDISPLAY=2\n"
    "  --type T            read MODEL as format T (mps, lp) whatever its name\n"
    "  --solution FILE     write the solution: FILE.txt the text report,\n"
    "                      FILE.bin its binary form, any other name a\n"
    "                      plain table of x and pi with names\n"
    "  --read-basis FILE   start from the basis in FILE (basis file form)\n"
    "  --write-basis FILE  write the final basis to FILE\n"
    "  --write FILE        write the model to FILE (format by suffix)\n"
    "  --quiet             print only the summary lines\n"
    "  --ranges            print the sensitivity ranges of a solved linear\n"
    "                      program: costs, right-hand sides and bounds\n"
    "  --iis FILE          infeasible models: find an irreducible infeasible\n"
    "                      subset, print it and write it to FILE (LP form)\n"
    "  --help              show this text\n"
    "  --cbc KEYWORDS...   (first argument) CBC-style command mode, as run by\n"
    "                      modelling tools; see velto --cbc help\n"
    "\n"
    "exit codes: 0 optimal; 1 the run completed without an optimal solution\n"
    "(infeasible, unbounded, a limit); 2 failure (bad option, missing or\n"
    "damaged file, library error).\n";

struct Options {
  std::string model;
  std::string type;
  std::string method = "auto";
  std::string solution;
  std::string write;
  std::string readbasis, writebasis;
  std::string iis;
  std::vector<std::pair<std::string, std::string>> params;
  bool quiet = false;
  bool ranges = false;  // print the sensitivity ranges after the solve
};

[[noreturn]] void fail(const std::string &text) {
  std::fprintf(stderr, "velto: %s\n", text.c_str());
  std::exit(kExitFailure);
}

// Parses the command line; exits on a bad option.
Options parse(int argc, char **argv) {
  Options o;
  auto value = [&](int &i) -> std::string {
    if (i + 1 >= argc) fail(std::string("option ") + argv[i] + " needs a value");
    return argv[++i];
  };
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    if (a == "--help" || a == "-h") {
      std::fputs(kUsage, stdout);
      std::exit(kExitOptimal);
    } else if (a == "--method") {
      o.method = value(i);
      if (o.method != "auto" && o.method != "primal" && o.method != "dual" && o.method != "barrier" &&
          o.method != "hybrid")
        fail("unknown method '" + o.method + "' (use auto, primal, dual, barrier or hybrid)");
    } else if (a == "--time-limit") {
      o.params.emplace_back("VLT_PARAM_TILIM", value(i));
    } else if (a == "--iter-limit") {
      o.params.emplace_back("VLT_PARAM_ITLIM", value(i));
    } else if (a == "--mip-gap") {
      o.params.emplace_back("VLT_PARAM_EPGAP", value(i));
    } else if (a == "--node-limit") {
      o.params.emplace_back("VLT_PARAM_NODELIM", value(i));
    } else if (a == "--threads") {
      o.params.emplace_back("VLT_PARAM_THREADS", value(i));
    } else if (a == "--presolve") {
      std::string v = value(i);
      if (v != "on" && v != "off") fail("--presolve takes on or off");
      o.params.emplace_back("VLT_PARAM_PREIND", v == "on" ? "1" : "0");
    } else if (a == "--param") {
      std::string v = value(i);
      size_t eq = v.find('=');
      if (eq == std::string::npos || eq == 0) fail("--param takes NAME=VALUE, got '" + v + "'");
      o.params.emplace_back(v.substr(0, eq), v.substr(eq + 1));
    } else if (a == "--type") {
      o.type = value(i);
    } else if (a == "--solution") {
      o.solution = value(i);
    } else if (a == "--read-basis") {
      o.readbasis = value(i);
    } else if (a == "--write-basis") {
      o.writebasis = value(i);
    } else if (a == "--write") {
      o.write = value(i);
    } else if (a == "--iis") {
      o.iis = value(i);
    } else if (a == "--quiet") {
      o.quiet = true;
    } else if (a == "--ranges") {
      o.ranges = true;
    } else if (!a.empty() && a[0] == '-') {
      fail("unknown option '" + a + "' (see velto --help)");
    } else if (o.model.empty()) {
      o.model = a;
    } else {
      fail("more than one model given ('" + o.model + "' and '" + a + "')");
    }
  }
  return o;
}

bool parseint(const std::string &s, int *out) {
  errno = 0;
  char *end = nullptr;
  long v = std::strtol(s.c_str(), &end, 10);
  if (errno != 0 || end == s.c_str() || *end != '\0' || v < -2147483647L - 1 || v > 2147483647L)
    return false;
  *out = static_cast<int>(v);
  return true;
}

bool parsedbl(const std::string &s, double *out) {
  errno = 0;
  char *end = nullptr;
  double v = std::strtod(s.c_str(), &end);
  if (errno != 0 || end == s.c_str() || *end != '\0') return false;
  *out = v;
  return true;
}

using velto_cli::errorline;
using velto_cli::model_names;

// Sets one parameter by name, finding its kind from the parameter table.
void setparam(VLTENVptr env, const std::string &name, const std::string &text) {
  int num = -1;
  if (VLTgetparamnum(env, name.c_str(), &num) != 0) fail("unknown parameter '" + name + "'");
  int status;
  if (VLTinfointparam(env, num, nullptr, nullptr, nullptr) == 0) {
    int v;
    if (!parseint(text, &v)) fail("parameter " + name + " takes an integer, got '" + text + "'");
    status = VLTsetintparam(env, num, v);
  } else if (VLTinfodblparam(env, num, nullptr, nullptr, nullptr) == 0) {
    double v;
    if (!parsedbl(text, &v)) fail("parameter " + name + " takes a number, got '" + text + "'");
    status = VLTsetdblparam(env, num, v);
  } else {
    status = VLTsetstrparam(env, num, text.c_str());
  }
  if (status != 0) fail("cannot set " + name + " to " + text + ": " + errorline(env, status));
}

bool writesolution(VLTENVptr env, VLTLPptr lp, const std::string &file) {
  int m = VLTgetnumrows(env, lp), n = VLTgetnumcols(env, lp);
  std::vector<double> x(n), dj(n), pi(m), slack(m);
  int lpstat = 0;
  double obj = 0;
  if (VLTsolution(env, lp, &lpstat, &obj, x.data(), pi.data(), slack.data(), dj.data()) != 0)
    return false;
  std::vector<std::string> cn = model_names(env, lp, true), rn = model_names(env, lp, false);
  FILE *fp = std::fopen(file.c_str(), "w");
  if (fp == nullptr) return false;
  char buf[64];
  const char *st = VLTgetstatstring(env, lpstat, buf);
  std::fprintf(fp, "status    %s\nobjective %.12g\n\n", st ? st : "unknown", obj);
  std::fprintf(fp, "%-16s %20s %20s\n", "column", "x", "reduced cost");
  for (int j = 0; j < n; ++j)
    std::fprintf(fp, "%-16s %20.12g %20.12g\n", cn[j].empty() ? ("x" + std::to_string(j + 1)).c_str() : cn[j].c_str(), x[j] + 0.0, dj[j] + 0.0);
  std::fprintf(fp, "\n%-16s %20s %20s\n", "row", "pi", "slack");
  for (int i = 0; i < m; ++i)
    std::fprintf(fp, "%-16s %20.12g %20.12g\n", rn[i].empty() ? ("c" + std::to_string(i + 1)).c_str() : rn[i].c_str(), pi[i] + 0.0, slack[i] + 0.0);
  return std::fclose(fp) == 0;
}

// The irreducible infeasible subset of an infeasible model: its short form
// on the standard output and its LP form in `file`.  False on failure.
bool writeiis(VLTENVptr env, VLTLPptr lp, const std::string &file) {
  int rows = 0, cols = 0;
  int status = VLTfindiis(env, lp, &rows, &cols);
  if (status == 0) {
    VLTCHANNELptr out = VLTaddchannel(env);
    if (out != nullptr && VLTaddfpdest(env, out, stdout) == 0) VLTdisplayiis(env, lp, out, 1);
    if (out != nullptr) VLTdelchannel(env, &out);
    std::printf("IIS: %d rows, %d columns\n", rows, cols);
    status = VLTiiswrite(env, lp, file.c_str());
  }
  if (status != 0) {
    std::fprintf(stderr, "velto: no infeasible subset written to '%s': %s\n", file.c_str(),
                 errorline(env, status).c_str());
    return false;
  }
  return true;
}

// The closing lines of an integer run; returns the exit code.
int mipsummary(VLTENVptr env, VLTLPptr lp) {
  int lpstat = VLTgetstat(env, lp);
  char buf[64];
  const char *st = VLTgetstatstring(env, lpstat, buf);
  VLTflushstdchannels(env);
  std::printf("Status: %s\n", st ? st : "no solution");
  double obj = 0, bound = 0;
  bool haveobj = VLTgetmipobjval(env, lp, &obj) == 0;
  if (haveobj) std::printf("Objective: %.10g\n", obj);
  if (VLTgetbestobjval(env, lp, &bound) == 0 && std::fabs(bound) < 1e74)
    std::printf("Best bound: %.10g\n", bound);
  if (haveobj && std::fabs(bound) < 1e74)
    std::printf("Gap: %.4g%%\n", 100.0 * std::fabs(obj - bound) / (std::fabs(obj) + 1e-10));
  std::printf("Nodes: %d\n", VLTgetnodecnt(env, lp));
  std::printf("Iterations: %d\n", VLTgetmipitcnt(env, lp));
  return lpstat == 101 || lpstat == 102 ? kExitOptimal : kExitNotOptimal;
}

// The incumbent as a plain table of x with names.
bool writemipsolution(VLTENVptr env, VLTLPptr lp, const std::string &file) {
  int n = VLTgetnumcols(env, lp);
  std::vector<double> x(n);
  double obj = 0;
  if (VLTgetmipobjval(env, lp, &obj) != 0 || (n > 0 && VLTgetmipx(env, lp, x.data(), 0, n - 1) != 0))
    return false;
  std::vector<std::string> cn = model_names(env, lp, true);
  FILE *fp = std::fopen(file.c_str(), "w");
  if (fp == nullptr) return false;
  char buf[64];
  const char *st = VLTgetstatstring(env, VLTgetstat(env, lp), buf);
  std::fprintf(fp, "status    %s\nobjective %.12g\n\n", st ? st : "unknown", obj);
  std::fprintf(fp, "%-16s %20s\n", "column", "x");
  for (int j = 0; j < n; ++j)
    std::fprintf(fp, "%-16s %20.12g\n", cn[j].empty() ? ("x" + std::to_string(j + 1)).c_str() : cn[j].c_str(), x[j] + 0.0);
  return std::fclose(fp) == 0;
}

std::string defaultmodel() {
  // Where an install puts it relative to the binary; else next to the sources
  // when run from the checkout; else in the working folder.
  std::string installed = velto_cli::beside_executable(VELTO_INSTALLED_EXAMPLE);
  const char *candidates[] = {installed.c_str(), VELTO_EXAMPLE_MODEL, "examples/production.mps"};
  for (const char *c : candidates) {
    FILE *fp = std::fopen(c, "r");
    if (fp != nullptr) {
      std::fclose(fp);
      return c;
    }
  }
  fail(std::string("example model not found: ") + VELTO_EXAMPLE_MODEL);
}

}  // namespace

int main(int argc, char **argv) {
  if (velto_cli::cbc_requested(argc, argv)) return velto_cli::cbc_main(argc, argv);
  Options o = parse(argc, argv);
  if (o.model.empty()) o.model = defaultmodel();

  int status = 0;
  VLTENVptr env = VLTopenVELTO(&status);
  if (env == nullptr) fail("could not open an environment: status " + std::to_string(status));

  // Parameters first, with the error channel still silent: a failed probe of
  // a parameter's kind must not print.
  for (auto &[name, value] : o.params) setparam(env, name, value);

  VLTCHANNELptr res = nullptr, warn = nullptr, err = nullptr;
  VLTgetchannels(env, &res, &warn, &err, nullptr);
  VLTaddfpdest(env, err, stderr);
  if (!o.quiet) {
    VLTaddfpdest(env, res, stdout);
    VLTaddfpdest(env, warn, stdout);
  }

  int rc = kExitFailure;
  VLTLPptr lp = VLTcreateprob(env, &status, "velto");
  if (lp == nullptr) fail("could not create a problem: " + errorline(env, status));

  status = VLTreadcopyprob(env, lp, o.model.c_str(), o.type.empty() ? nullptr : o.type.c_str());
  if (status != 0) {
    std::fprintf(stderr, "velto: cannot read '%s': %s\n", o.model.c_str(), errorline(env, status).c_str());
  } else if (!o.write.empty() && (status = VLTwriteprob(env, lp, o.write.c_str(), nullptr)) != 0) {
    std::fprintf(stderr, "velto: cannot write '%s': %s\n", o.write.c_str(), errorline(env, status).c_str());
  } else if (!o.readbasis.empty() && (status = driver_readbasis(env, lp, o.readbasis)) != 0) {
    std::fprintf(stderr, "velto: cannot read the basis '%s': %s\n", o.readbasis.c_str(), errorline(env, status).c_str());
  } else {
    interrupt_install(env);
    const bool integer = VLTgetprobtype(env, lp) == 1;
    if (integer)
      status = VLTmipopt(env, lp);
    else if (o.method == "primal")
      status = VLTprimopt(env, lp);
    else if (o.method == "dual")
      status = VLTdualopt(env, lp);
    else if (o.method == "barrier")
      status = VLTbaropt(env, lp);
    else if (o.method == "hybrid")
      status = VLThybbaropt(env, lp, 0);
    else
      status = VLTlpopt(env, lp);
    if (status != 0) {
      std::fprintf(stderr, "velto: optimizer failed: %s\n", errorline(env, status).c_str());
    } else if (integer) {
      rc = mipsummary(env, lp);
      // Ranges that the result does not have (no optimal basis, an integer
      // model) leave the run's exit code; any other failure is one.
      if (o.ranges && (status = driver_printranges(env, lp, stdout)) != 0) {
        std::fprintf(stderr, "velto: no ranges: %s\n", errorline(env, status).c_str());
        if (status != 1260 && status != 1017) rc = kExitFailure;
      }
      if (!o.solution.empty() && !writemipsolution(env, lp, o.solution)) {
        std::fprintf(stderr, "velto: cannot write the solution to '%s'\n", o.solution.c_str());
        rc = kExitFailure;
      }
    } else {
      int lpstat = VLTgetstat(env, lp);
      char buf[64];
      const char *st = VLTgetstatstring(env, lpstat, buf);
      VLTflushstdchannels(env);
      std::printf("Status: %s\n", st ? st : "no solution");
      double obj = 0;
      if (VLTgetobjval(env, lp, &obj) == 0) std::printf("Objective: %.10g\n", obj);
      std::printf("Iterations: %d\n", VLTgetitcnt(env, lp));
      rc = lpstat == 1 ? kExitOptimal : kExitNotOptimal;
      // Ranges that the result does not have (no optimal basis, an integer
      // model) leave the run's exit code; any other failure is one.
      if (o.ranges && (status = driver_printranges(env, lp, stdout)) != 0) {
        std::fprintf(stderr, "velto: no ranges: %s\n", errorline(env, status).c_str());
        if (status != 1260 && status != 1017) rc = kExitFailure;
      }
      if (!o.iis.empty() && !writeiis(env, lp, o.iis)) rc = kExitFailure;
      if (!o.writebasis.empty() && (status = driver_writebasis(env, lp, o.writebasis)) != 0) {
        std::fprintf(stderr, "velto: cannot write the basis '%s': %s\n", o.writebasis.c_str(), errorline(env, status).c_str());
        rc = kExitFailure;
      }
      if (!o.solution.empty() && driver_ownsolution(o.solution)) {
        if ((status = driver_writesolution(env, lp, o.solution)) != 0) {
          std::fprintf(stderr, "velto: cannot write the solution to '%s': %s\n", o.solution.c_str(), errorline(env, status).c_str());
          rc = kExitFailure;
        }
      } else if (!o.solution.empty() && !writesolution(env, lp, o.solution)) {
        std::fprintf(stderr, "velto: cannot write the solution to '%s'\n", o.solution.c_str());
        rc = kExitFailure;
      }
    }
  }
  VLTfreeprob(env, &lp);
  VLTcloseVELTO(&env);
  std::fflush(stdout);
  return rc;
}
