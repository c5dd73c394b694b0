// The CBC-style command mode: the command line is a list of keywords run in
// order ("model.mps max sec 60 branch printingOptions all solution out.txt"),
// each with or without leading dashes, as modelling tools write it.
#include "cbcmode.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>

#include "driverutil.h"

namespace velto_cli {
namespace {

const char *kCbcUsage =
    "usage: velto-cbc MODEL [keyword [value]] ...\n"
    "       velto --cbc MODEL [keyword [value]] ...\n"
    "\n"
    "Runs the keywords in order, as a CBC-style command line; a keyword may\n"
    "carry leading dashes.  Without an action keyword the model is solved.\n"
    "\n"
    "  import FILE            read a model (a bare file name does the same)\n"
    "  max, min               objective sense\n"
    "  sec N                  time limit in seconds\n"
    "  maxIterations N        simplex iteration limit\n"
    "  maxNodes N, maxSolutions N, ratio G, allow G\n"
    "                         node and solution limits, relative and absolute gap\n"
    "  threads N              threads\n"
    "  presolve on|off        reduce the model first\n"
    "  timeMode cpu|elapsed   clock of the time limit\n"
    "  primalT G, dualT G, integerT G\n"
    "                         feasibility, optimality and integrality tolerances\n"
    "  mips FILE              start values in the solution format\n"
    "  initialSolve           solve the linear relaxation\n"
    "  primalSimplex, dualSimplex\n"
    "                         solve the linear relaxation by that method\n"
    "  branch, solve          solve the model, with its integer columns\n"
    "  printingOptions all|rows|normal\n"
    "                         what the solution file lists\n"
    "  solution FILE          write the solution file\n"
    "  export FILE            write the model (format by the suffix)\n"
    "  log N                  0 silences the log\n"
    "  quit                   stop reading keywords\n"
    "\n"
    "Cut and heuristic keywords (gomory, knapsack, probing, strong, cuts,\n"
    "heuristics, ...) are accepted with their value and ignored.  The exit\n"
    "code is 0 when a solution file was written or every keyword ran, 2 on\n"
    "a failure (a message goes to standard error).\n";

enum class Arg { None, Text, Int, Number };

enum class Act {
  Import, Max, Min, IntParam, DblParam, OnOff, TimeMode, Mips, Relax, Primal, Dual, Branch,
  Printing, Solution, Export, Log, Quit, Help, Ignore
};

struct Keyword {
  const char *name;
  const char *alias;
  Arg arg;
  Act act;
  int param;  // parameter number for IntParam, DblParam, OnOff
};

const Keyword kKeywords[] = {
    {"import", nullptr, Arg::Text, Act::Import, 0},
    {"max", "maximize", Arg::None, Act::Max, 0},
    {"min", "minimize", Arg::None, Act::Min, 0},
    {"sec", "seconds", Arg::Number, Act::DblParam, VLT_PARAM_TILIM},
    {"maxIterations", "maxIt", Arg::Int, Act::IntParam, VLT_PARAM_ITLIM},
    {"maxNodes", nullptr, Arg::Int, Act::IntParam, VLT_PARAM_NODELIM},
    {"maxSolutions", "maxSo", Arg::Int, Act::IntParam, VLT_PARAM_INTSOLLIM},
    {"ratio", "ratioGap", Arg::Number, Act::DblParam, VLT_PARAM_EPGAP},
    {"allow", "allowableGap", Arg::Number, Act::DblParam, VLT_PARAM_EPAGAP},
    {"threads", nullptr, Arg::Int, Act::IntParam, VLT_PARAM_THREADS},
    {"presolve", nullptr, Arg::Text, Act::OnOff, VLT_PARAM_PREIND},
    {"timeMode", nullptr, Arg::Text, Act::TimeMode, VLT_PARAM_CLOCKTYPE},
    {"primalT", "primalTolerance", Arg::Number, Act::DblParam, VLT_PARAM_EPRHS},
    {"dualT", "dualTolerance", Arg::Number, Act::DblParam, VLT_PARAM_EPOPT},
    {"integerT", "integerTolerance", Arg::Number, Act::DblParam, VLT_PARAM_EPINT},
    {"mips", "mipStart", Arg::Text, Act::Mips, 0},
    {"initialSolve", "initialS", Arg::None, Act::Relax, 0},
    {"primalSimplex", "primalS", Arg::None, Act::Primal, 0},
    {"dualSimplex", "dualS", Arg::None, Act::Dual, 0},
    {"branch", "branchAndCut", Arg::None, Act::Branch, 0},
    {"solve", nullptr, Arg::None, Act::Branch, 0},
    {"printingOptions", "printing", Arg::Text, Act::Printing, 0},
    {"solution", "solu", Arg::Text, Act::Solution, 0},
    {"export", nullptr, Arg::Text, Act::Export, 0},
    {"log", "logLevel", Arg::Int, Act::Log, 0},
    {"quit", "exit", Arg::None, Act::Quit, 0},
    {"stop", "end", Arg::None, Act::Quit, 0},
    {"help", "?", Arg::None, Act::Help, 0},
    // Tuning of the cut loop, heuristics and search: accepted and ignored.
    {"gomory", nullptr, Arg::Text, Act::Ignore, 0},
    {"knapsack", nullptr, Arg::Text, Act::Ignore, 0},
    {"probing", nullptr, Arg::Text, Act::Ignore, 0},
    {"clique", nullptr, Arg::Text, Act::Ignore, 0},
    {"flow", nullptr, Arg::Text, Act::Ignore, 0},
    {"mixed", nullptr, Arg::Text, Act::Ignore, 0},
    {"twoMir", nullptr, Arg::Text, Act::Ignore, 0},
    {"lift", nullptr, Arg::Text, Act::Ignore, 0},
    {"residual", nullptr, Arg::Text, Act::Ignore, 0},
    {"zero", nullptr, Arg::Text, Act::Ignore, 0},
    {"reduce", nullptr, Arg::Text, Act::Ignore, 0},
    {"cuts", "cutsOnOff", Arg::Text, Act::Ignore, 0},
    {"heuristics", "heuristicsOnOff", Arg::Text, Act::Ignore, 0},
    {"preprocess", nullptr, Arg::Text, Act::Ignore, 0},
    {"strong", "strongBranching", Arg::Text, Act::Ignore, 0},
    {"trust", "trustPseudoCosts", Arg::Text, Act::Ignore, 0},
    {"feas", "feasibilityPump", Arg::Text, Act::Ignore, 0},
    {"rounding", nullptr, Arg::Text, Act::Ignore, 0},
    {"greedy", "greedyHeuristic", Arg::Text, Act::Ignore, 0},
    {"combine", "combineSolutions", Arg::Text, Act::Ignore, 0},
    {"proximity", "proximitySearch", Arg::Text, Act::Ignore, 0},
    {"local", "localTreeSearch", Arg::Text, Act::Ignore, 0},
    {"passC", "passCuts", Arg::Text, Act::Ignore, 0},
    {"cutD", "cutDepth", Arg::Text, Act::Ignore, 0},
    {"strategy", nullptr, Arg::Text, Act::Ignore, 0},
    {"nodeS", "nodeStrategy", Arg::Text, Act::Ignore, 0},
    {"cost", "costStrategy", Arg::Text, Act::Ignore, 0},
    {"scaling", nullptr, Arg::Text, Act::Ignore, 0},
    {"perturbation", nullptr, Arg::Text, Act::Ignore, 0},
    {"crash", nullptr, Arg::Text, Act::Ignore, 0},
    {"idiot", "idiotCrash", Arg::Text, Act::Ignore, 0},
    {"sprint", "sprintCrash", Arg::Text, Act::Ignore, 0},
    {"slog", "slogLevel", Arg::Text, Act::Ignore, 0},
    {"randomSeed", nullptr, Arg::Text, Act::Ignore, 0},
    {"randomCbcSeed", nullptr, Arg::Text, Act::Ignore, 0},
    {"increment", nullptr, Arg::Text, Act::Ignore, 0},
    {"cutoff", nullptr, Arg::Text, Act::Ignore, 0},
};

const Keyword *lookup(const std::string &word) {
  for (const Keyword &k : kKeywords)
    if (strcasecmp(word.c_str(), k.name) == 0 || (k.alias && strcasecmp(word.c_str(), k.alias) == 0))
      return &k;
  return nullptr;
}

struct Session {
  VLTENVptr env = nullptr;
  VLTLPptr lp = nullptr;       // the model as read
  VLTLPptr relaxed = nullptr;  // its continuous copy, when a relaxation was solved
  VLTLPptr solved = nullptr;   // the problem that holds the last solution
  bool mip = false;            // that solution is an integer incumbent
  bool loaded = false;
  int sense = 0;  // sense asked for before the model was read: -1 max, 1 min
  bool rows = false, allcols = false;
  bool quiet = false;
  bool acted = false;
  bool wrote = false;
  VLTCHANNELptr res = nullptr, warn = nullptr, err = nullptr;
};

int failure(const std::string &text) {
  std::fprintf(stderr, "velto-cbc: %s\n", text.c_str());
  return 2;
}

bool integer_model(Session &s) {
  int t = VLTgetprobtype(s.env, s.lp);
  return t == 1 || t == 7;  // integer linear or integer quadratic
}

void droprelaxed(Session &s) {
  if (s.relaxed != nullptr) VLTfreeprob(s.env, &s.relaxed);
  s.solved = nullptr;
}

int optimize(Session &s, Act how) {
  if (!s.loaded) return failure("no model to solve: give a model file first");
  droprelaxed(s);
  s.acted = true;
  s.mip = false;
  VLTLPptr target = s.lp;
  int status;
  if (integer_model(s) && how == Act::Branch) {
    status = VLTmipopt(s.env, s.lp);
    s.mip = true;
  } else {
    if (integer_model(s)) {
      std::string why;
      s.relaxed = cbc_relaxed_copy(s.env, s.lp, &why);
      if (s.relaxed == nullptr) return failure(why);
      target = s.relaxed;
    }
    status = how == Act::Primal ? VLTprimopt(s.env, target)
             : how == Act::Dual ? VLTdualopt(s.env, target)
                                : VLTlpopt(s.env, target);
  }
  if (status != 0) return failure("optimizer failed: " + errorline(s.env, status));
  s.solved = target;
  VLTflushstdchannels(s.env);
  if (!s.quiet) {
    char buf[64];
    int stat = VLTgetstat(s.env, target);
    const char *text = VLTgetstatstring(s.env, stat, buf);
    std::printf("Status: %s\n", text ? text : "no solution");
    double obj = 0;
    if ((s.mip ? VLTgetmipobjval(s.env, target, &obj) : VLTgetobjval(s.env, target, &obj)) == 0)
      std::printf("Objective: %.10g\n", obj);
    std::printf("Iterations: %d\n", VLTgetitcnt(s.env, target));
    std::fflush(stdout);
  }
  return 0;
}

bool number(const std::string &text, double *out) {
  errno = 0;
  char *end = nullptr;
  *out = std::strtod(text.c_str(), &end);
  return errno == 0 && end != text.c_str() && *end == '\0';
}

// Runs one keyword with its value; 0 or an exit code.
int run(Session &s, const Keyword &k, const std::string &value, bool *quit) {
  const std::string name = k.name;
  const std::string what = value.empty() ? name : name + " " + value;
  double v = 0;
  if ((k.arg == Arg::Int || k.arg == Arg::Number) && !number(value, &v))
    return failure("'" + name + "' takes a number, got '" + value + "'");
  if (k.arg == Arg::Int && (v != static_cast<int>(v)))
    return failure("'" + name + "' takes a whole number, got '" + value + "'");
  int status = 0;
  switch (k.act) {
    case Act::Import:
      droprelaxed(s);
      status = VLTreadcopyprob(s.env, s.lp, value.c_str(), nullptr);
      if (status != 0) return failure("cannot read '" + value + "': " + errorline(s.env, status));
      s.loaded = true;
      if (s.sense != 0) VLTchgobjsen(s.env, s.lp, s.sense);
      return 0;
    case Act::Max:
    case Act::Min:
      s.sense = k.act == Act::Max ? -1 : 1;
      if (s.loaded) VLTchgobjsen(s.env, s.lp, s.sense);
      return 0;
    case Act::IntParam:
      if (k.param == VLT_PARAM_THREADS && v <= 0) return 0;  // 0: the default, as in CBC
      status = VLTsetintparam(s.env, k.param, static_cast<int>(v));
      break;
    case Act::DblParam:
      status = VLTsetdblparam(s.env, k.param, v);
      break;
    case Act::OnOff:
      if (strcasecmp(value.c_str(), "on") != 0 && strcasecmp(value.c_str(), "off") != 0 &&
          strcasecmp(value.c_str(), "more") != 0)
        return failure("'" + name + "' takes on or off, got '" + value + "'");
      status = VLTsetintparam(s.env, k.param, strcasecmp(value.c_str(), "off") == 0 ? 0 : 1);
      break;
    case Act::TimeMode:
      if (strcasecmp(value.c_str(), "cpu") != 0 && strcasecmp(value.c_str(), "elapsed") != 0)
        return failure("'timeMode' takes cpu or elapsed, got '" + value + "'");
      status = VLTsetintparam(s.env, k.param, strcasecmp(value.c_str(), "cpu") == 0 ? 1 : 2);
      break;
    case Act::Mips: {
      // Read and checked now; the values are a start for the integer
      // optimizer, which this mode does not have yet.
      std::vector<std::pair<std::string, double>> start;
      std::string why;
      if (!cbc_read_start(value, &start, &why)) return failure(why);
      if (!s.quiet)
        std::printf("Start file %s: %zu values read, not used without an integer optimizer\n",
                    value.c_str(), start.size());
      return 0;
    }
    case Act::Relax:
    case Act::Primal:
    case Act::Dual:
    case Act::Branch:
      return optimize(s, k.act);
    case Act::Printing:
      if (strcasecmp(value.c_str(), "all") == 0) {
        s.rows = s.allcols = true;
      } else if (strcasecmp(value.c_str(), "rows") == 0) {
        s.rows = true;
        s.allcols = false;
      } else if (strcasecmp(value.c_str(), "normal") == 0) {
        s.rows = s.allcols = false;
      } else {
        return failure("'printingOptions' takes all, rows or normal, got '" + value + "'");
      }
      return 0;
    case Act::Solution: {
      if (s.solved == nullptr) return failure("no solution to write: solve the model first");
      std::string why;
      if (!cbc_write_solution(s.env, s.solved, s.mip, s.rows, s.allcols, value, &why))
        return failure(why);
      s.wrote = true;
      return 0;
    }
    case Act::Export:
      if (!s.loaded) return failure("no model to export: give a model file first");
      status = VLTwriteprob(s.env, s.lp, value.c_str(), nullptr);
      if (status != 0) return failure("cannot write '" + value + "': " + errorline(s.env, status));
      return 0;
    case Act::Log:
      s.quiet = v <= 0;
      if (s.quiet) {
        VLTdelfpdest(s.env, s.res, stdout);
        VLTdelfpdest(s.env, s.warn, stdout);
      } else {
        VLTdelfpdest(s.env, s.res, stdout);
        VLTdelfpdest(s.env, s.warn, stdout);
        VLTaddfpdest(s.env, s.res, stdout);
        VLTaddfpdest(s.env, s.warn, stdout);
      }
      return 0;
    case Act::Quit:
      *quit = true;
      return 0;
    case Act::Help:
      std::fputs(kCbcUsage, stdout);
      return 0;
    case Act::Ignore:
      if (!s.quiet) std::printf("Keyword '%s' ignored\n", what.c_str());
      return 0;
  }
  if (status != 0) return failure("cannot set '" + what + "': " + errorline(s.env, status));
  return 0;
}

int session(Session &s, const std::vector<std::string> &args) {
  bool quit = false;
  for (size_t a = 0; a < args.size() && !quit; ++a) {
    std::string word = args[a];
    size_t dashes = word.find_first_not_of('-');
    bool dashed = dashes != 0 && dashes != std::string::npos;
    if (dashed) word = word.substr(dashes);
    std::string value;
    const Keyword *k = lookup(word);
    size_t eq = word.find('=');
    if (k == nullptr && eq != std::string::npos && (k = lookup(word.substr(0, eq))) != nullptr &&
        k->arg != Arg::None) {
      value = word.substr(eq + 1);
    } else if (k == nullptr) {
      if (dashed || s.loaded)
        return failure("unknown keyword '" + args[a] + "' (see velto-cbc help)");
      k = lookup("import");
      value = args[a];
    } else if (k->arg != Arg::None) {
      if (a + 1 >= args.size()) return failure("'" + word + "' needs a value");
      value = args[++a];
    }
    int rc = run(s, *k, value, &quit);
    if (rc != 0) return rc;
  }
  if (!s.loaded) {
    std::fputs(kCbcUsage, stderr);
    return failure("no model given");
  }
  if (!s.acted) return optimize(s, Act::Branch);
  return 0;
}

}  // namespace

bool cbc_requested(int argc, char **argv) {
  if (argc > 1 && std::strcmp(argv[1], "--cbc") == 0) return true;
  const char *slash = std::strrchr(argv[0], '/');
  const char *name = slash ? slash + 1 : argv[0];
  size_t len = std::strlen(name);
  return len >= 9 && std::strcmp(name + len - 9, "velto-cbc") == 0;
}

int cbc_main(int argc, char **argv) {
  int first = argc > 1 && std::strcmp(argv[1], "--cbc") == 0 ? 2 : 1;
  std::vector<std::string> args(argv + first, argv + argc);
  if (args.size() == 1 && (args[0] == "--help" || args[0] == "-h")) {
    std::fputs(kCbcUsage, stdout);
    return 0;
  }
  Session s;
  int status = 0;
  s.env = VLTopenVELTO(&status);
  if (s.env == nullptr) return failure("could not open an environment: status " + std::to_string(status));
  VLTgetchannels(s.env, &s.res, &s.warn, &s.err, nullptr);
  VLTaddfpdest(s.env, s.err, stderr);
  VLTaddfpdest(s.env, s.res, stdout);
  VLTaddfpdest(s.env, s.warn, stdout);
  int rc = 0;
  s.lp = VLTcreateprob(s.env, &status, "velto");
  if (s.lp == nullptr)
    rc = failure("could not create a problem: " + errorline(s.env, status));
  else
    rc = session(s, args);
  VLTflushstdchannels(s.env);
  droprelaxed(s);
  if (s.lp != nullptr) VLTfreeprob(s.env, &s.lp);
  VLTcloseVELTO(&s.env);
  std::fflush(stdout);
  // Tools that read the solution file back take a zero exit as "the file is
  // there"; a later failure has printed its message.
  return s.wrote ? 0 : rc;
}

}  // namespace velto_cli
