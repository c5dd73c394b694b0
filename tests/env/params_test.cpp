// The parameter table through the exported calls: every parameter's
// default, bounds, name and statuses, the side effects of setting, and the
// thread counts that the parameters drive.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fstream>
#include <limits>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <thread>

#include "capture.h"
#include "env/env.h"
#include "env/par.h"
#include "env/thread.h"

namespace {

constexpr int kLimit = -7777;  // the run-time thread limit

struct Row {
  int number;
  const char *name;  // "" for an unnamed parameter
  char kind;         // 'I', 'D', 'S'
  double def, min, max;
};

// The published table, written out independently of the library's own.
const Row kTable[] = {
    {1001, "VLT_PARAM_ADVIND", 'I', 1, 0, 1},
    {1002, "VLT_PARAM_AGGFILL", 'I', 10, 0, 2100000000},
    {1003, "VLT_PARAM_AGGIND", 'I', -1, -1, 2100000000},
    {1004, "VLT_PARAM_BASINTERVAL", 'I', 50000, 1, 2100000000},
    {1005, "VLT_PARAM_CFILEMUL", 'D', 3, 1.1, 1e75},
    {1006, "VLT_PARAM_CLOCKTYPE", 'I', 1, 1, 2},
    {1007, "VLT_PARAM_CRAIND", 'I', 1, -1, 1},
    {1008, "VLT_PARAM_DEPIND", 'I', 0, 0, 1},
    {1009, "VLT_PARAM_DPRIIND", 'I', 0, 0, 4},
    {1010, "VLT_PARAM_PRICELIM", 'I', 0, 0, 2100000000},
    {1013, "VLT_PARAM_EPMRK", 'D', 0.01, 0.0001, 0.99999},
    {1014, "VLT_PARAM_EPOPT", 'D', 1e-6, 1e-9, 0.1},
    {1015, "VLT_PARAM_EPPER", 'D', 1e-6, 1e-8, 1e75},
    {1016, "VLT_PARAM_EPRHS", 'D', 1e-6, 1e-9, 0.1},
    {1017, "", 'I', 0, 0, 2},
    {1018, "VLT_PARAM_IISIND", 'I', 0, 0, 1},
    {1019, "VLT_PARAM_SIMDISPLAY", 'I', 1, 0, 2},
    {1020, "VLT_PARAM_ITLIM", 'I', 2100000000, 0, 2100000000},
    {1021, "VLT_PARAM_ROWREADLIM", 'I', 4000, 0, 268435450},
    {1022, "VLT_PARAM_NETFIND", 'I', 2, 1, 3},
    {1023, "VLT_PARAM_COLREADLIM", 'I', 12000, 0, 268435450},
    {1024, "VLT_PARAM_NZREADLIM", 'I', 60000, 0, 268435450},
    {1025, "VLT_PARAM_OBJLLIM", 'D', -1e75, 0, 0},
    {1026, "VLT_PARAM_OBJULIM", 'D', 1e75, 0, 0},
    {1027, "VLT_PARAM_PERIND", 'I', 0, 0, 1},
    {1028, "VLT_PARAM_PERLIM", 'I', 0, 0, 2100000000},
    {1029, "VLT_PARAM_PPRIIND", 'I', 0, -1, 4},
    {1030, "VLT_PARAM_PREIND", 'I', 1, 0, 1},
    {1031, "VLT_PARAM_REINV", 'I', 0, 0, 10000},
    {1032, "VLT_PARAM_REVERSEIND", 'I', 0, 0, 1},
    {1033, "VLT_PARAM_RFILEMUL", 'D', 3, 1.1, 1e75},
    {1034, "VLT_PARAM_SCAIND", 'I', 0, -1, 1},
    {1035, "VLT_PARAM_SCRIND", 'I', 0, 0, 1},
    {1036, "VLT_PARAM_SIMTHREADS", 'I', 0, 0, 1},
    {1037, "VLT_PARAM_SINGLIM", 'I', 10, 0, 2100000000},
    {1038, "VLT_PARAM_SINGTOL", 'D', 1e-13, 1e-10, 0.9},
    {1039, "VLT_PARAM_TILIM", 'D', 1e75, 0, 1e75},
    {1041, "VLT_PARAM_XXXIND", 'I', 0, 0, 1},
    {1042, "VLT_PARAM_EFFSLACKIND", 'I', 0, 0, 2},
    {1043, "VLT_PARAM_PREDISP", 'I', 1, 0, 1},
    {1044, "VLT_PARAM_PREDUAL", 'I', 0, -1, 1},
    {1045, "", 'D', 0.1, 0.001, 1},
    {1046, "VLT_PARAM_ROWGROWTH", 'I', 100, 0, 268435450},
    {1047, "VLT_PARAM_COLGROWTH", 'I', 100, 0, 268435450},
    {1048, "VLT_PARAM_NZGROWTH", 'I', 500, 0, 268435450},
    {1049, "", 'D', 1e-6, 1e-10, 0.1},
    {1050, "", 'D', 1e-6, 1e-10, 0.1},
    {1051, "", 'I', 1, 0, 1},
    {1052, "VLT_PARAM_PREPASS", 'I', -1, -1, 2100000000},
    {1054, "", 'I', 0, 0, 1},
    {1055, "", 'D', 0.05, 1e-10, 0.99},
    {1056, "VLT_PARAM_DATACHECK", 'I', 0, 0, 1},
    {1057, "VLT_PARAM_REDUCE", 'I', 3, 0, 3},
    {1058, "VLT_PARAM_PRELINEAR", 'I', 1, 0, 1},
    {1059, "", 'I', 0, 0, 1},
    {1060, "", 'I', 0, 0, 1},
    {1061, "", 'I', 1, 0, 1},
    {1062, "VLT_PARAM_LPMETHOD", 'I', 0, 0, 6},
    {1063, "VLT_PARAM_QPMETHOD", 'I', 0, 0, 4},
    {1064, "VLT_PARAM_WORKDIR", 'S', 0, 0, 0},
    {1065, "VLT_PARAM_WORKMEM", 'D', 128, 0, 1e75},
    {1066, "VLT_PARAM_PRECOMPRESS", 'I', 0, -1, 1},
    {1067, "VLT_PARAM_THREADS", 'I', 1, 1, kLimit},
    {1068, "", 'I', 0, 0, 1},
    {1069, "", 'I', 0, 0, 1},
    {1070, "", 'I', 1, 0, 1},
    {1071, "", 'I', 1, 0, 1},
    {1072, "", 'I', 1, 0, 1},
    {1073, "", 'I', 0, -2100000000, 2100000000},
    {1074, "", 'D', 0, -1e75, 1e75},
    {1075, "", 'I', 0, 0, 1},
    {1076, "VLT_PARAM_SIFTDISPLAY", 'I', 1, 0, 2},
    {1077, "VLT_PARAM_SIFTALG", 'I', 0, 0, 4},
    {1078, "VLT_PARAM_SIFTITLIM", 'I', 2100000000, 0, 2100000000},
    {1079, "", 'I', 0, 0, 1},
    {1080, "", 'D', 1000000000.0, 10, 1e75},
    {2001, "VLT_PARAM_BRDIR", 'I', 0, -1, 1},
    {2002, "VLT_PARAM_BTTOL", 'D', 0.9999, 0, 1},
    {2003, "VLT_PARAM_CLIQUES", 'I', 0, -1, 2},
    {2004, "VLT_PARAM_COEREDIND", 'I', 2, 0, 2},
    {2005, "VLT_PARAM_COVERS", 'I', 0, -1, 2},
    {2006, "VLT_PARAM_CUTLO", 'D', -1e75, 0, 0},
    {2007, "VLT_PARAM_CUTUP", 'D', 1e75, 0, 0},
    {2008, "VLT_PARAM_EPAGAP", 'D', 1e-6, 0, 1e20},
    {2009, "VLT_PARAM_EPGAP", 'D', 0.0001, 0, 1},
    {2010, "VLT_PARAM_EPINT", 'D', 1e-5, 1e-9, 1},
    {2011, "", 'I', -1, -1, 1},
    {2012, "VLT_PARAM_MIPDISPLAY", 'I', 2, 0, 5},
    {2013, "VLT_PARAM_MIPINTERVAL", 'I', 100, 1, 2100000000},
    {2014, "VLT_PARAM_MIPTHREADS", 'I', 0, 0, kLimit},
    {2015, "VLT_PARAM_INTSOLLIM", 'I', 2100000000, 1, 2100000000},
    {2016, "VLT_PARAM_NODEFILEIND", 'I', 1, 0, 3},
    {2017, "VLT_PARAM_NODELIM", 'I', 2100000000, 0, 2100000000},
    {2018, "VLT_PARAM_NODESEL", 'I', 1, 0, 3},
    {2019, "VLT_PARAM_OBJDIF", 'D', 0, 0, 0},
    {2020, "VLT_PARAM_MIPORDIND", 'I', 1, 0, 1},
    {2022, "VLT_PARAM_RELOBJDIF", 'D', 0, 0, 1},
    {2025, "VLT_PARAM_STARTALG", 'I', 0, 0, 6},
    {2026, "VLT_PARAM_SUBALG", 'I', 2, 1, 5},
    {2027, "VLT_PARAM_TRELIM", 'D', 1e75, 0, 1e75},
    {2028, "VLT_PARAM_VARSEL", 'I', 0, -1, 4},
    {2029, "VLT_PARAM_BNDSTRENIND", 'I', -1, -1, 1},
    {2031, "VLT_PARAM_HEURFREQ", 'I', 0, -1, 2100000000},
    {2032, "VLT_PARAM_MIPORDTYPE", 'I', 0, 0, 3},
    {2033, "VLT_PARAM_CUTSFACTOR", 'D', 4, 0, 1e75},
    {2034, "VLT_PARAM_RELAXPREIND", 'I', 0, 0, 1},
    {2035, "VLT_PARAM_MIPSTART", 'I', 0, 0, 1},
    {2037, "VLT_PARAM_PRESLVND", 'I', 0, -1, 1},
    {2038, "", 'I', 1, -1, 1},
    {2039, "VLT_PARAM_BBINTERVAL", 'I', 7, 0, 2100000000},
    {2040, "VLT_PARAM_FLOWCOVERS", 'I', 0, -1, 2},
    {2041, "VLT_PARAM_IMPLBD", 'I', 0, -1, 2},
    {2042, "VLT_PARAM_PROBE", 'I', 0, -1, 3},
    {2044, "VLT_PARAM_GUBCOVERS", 'I', 0, -1, 2},
    {2045, "VLT_PARAM_STRONGCANDLIM", 'I', 10, 1, 2100000000},
    {2046, "VLT_PARAM_STRONGITLIM", 'I', 0, 0, 2100000000},
    {2047, "VLT_PARAM_STRONGTHREADLIM", 'I', 1, 1, kLimit},
    {2048, "VLT_PARAM_FRACCAND", 'I', 200, 1, 2100000000},
    {2049, "VLT_PARAM_FRACCUTS", 'I', 0, -1, 2},
    {2050, "VLT_PARAM_FRACPASS", 'I', 0, 0, 2100000000},
    {2051, "VLT_PARAM_FLOWPATHS", 'I', 0, -1, 2},
    {2052, "VLT_PARAM_MIRCUTS", 'I', 0, -1, 2},
    {2053, "VLT_PARAM_DISJCUTS", 'I', 0, -1, 3},
    {2054, "VLT_PARAM_AGGCUTLIM", 'I', 3, 0, 2100000000},
    {2055, "VLT_PARAM_MIPCBREDLP", 'I', 1, 0, 1},
    {2056, "VLT_PARAM_CUTPASS", 'I', 0, -1, 2100000000},
    {2057, "", 'I', 0, 0, 1},
    {2058, "VLT_PARAM_MIPEMPHASIS", 'I', 0, 0, 3},
    {2059, "VLT_PARAM_SYMMETRY", 'I', 0, 0, 1},
    {2060, "VLT_PARAM_DIVETYPE", 'I', 0, 0, 2},
    {2061, "VLT_PARAM_LOCALCOVERS", 'I', -1, -1, 2},
    {2062, "", 'I', -1, -1, 2100000000},
    {2063, "", 'I', 0, 0, 1},
    {2064, "", 'D', 1, 0, 1e75},
    {3001, "", 'D', 0, 0, 1e18},
    {3002, "VLT_PARAM_BAREPCOMP", 'D', 1e-8, 1e-12, 1e75},
    {3003, "VLT_PARAM_BARGROWTH", 'D', 100000000.0, 1, 1e75},
    {3004, "VLT_PARAM_BAROBJRNG", 'D', 1e20, 0, 1e75},
    {3005, "", 'D', 0, 0, 1e18},
    {3006, "VLT_PARAM_BARVARUP", 'D', 1e20, 0.001, 1e20},
    {3007, "VLT_PARAM_BARALG", 'I', 0, 0, 3},
    {3009, "VLT_PARAM_BARCOLNZ", 'I', 0, 0, 2100000000},
    {3010, "VLT_PARAM_BARDISPLAY", 'I', 1, 0, 2},
    {3012, "VLT_PARAM_BARITLIM", 'I', 2100000000, 0, 2100000000},
    {3013, "VLT_PARAM_BARMAXCOR", 'I', -1, -1, 2100000000},
    {3014, "VLT_PARAM_BARORDER", 'I', 0, 0, 3},
    {3015, "", 'I', 100, 1, 2100000000},
    {3016, "VLT_PARAM_BARTHREADS", 'I', 0, 0, kLimit},
    {3017, "VLT_PARAM_BARSTARTALG", 'I', 1, 1, 4},
    {3018, "VLT_PARAM_BARCROSSALG", 'I', 0, -1, 2},
    {3019, "VLT_PARAM_BAROOC", 'I', 0, 0, 1},
    {3020, "", 'I', 0, -1, 2},
    {3021, "", 'D', 1e75, 0, 1e75},
    {3022, "", 'I', 0, 0, kLimit},
    {3023, "", 'I', 50, 1, 2100000000},
    {3024, "", 'I', 0, 0, 1},
    {4001, "VLT_PARAM_QPNZREADLIM", 'I', 500, 0, 268435450},
    {4002, "VLT_PARAM_QPNZGROWTH", 'I', 200, 0, 268435450},
    {4010, "VLT_PARAM_QPMAKEPSDIND", 'I', 1, 0, 1},
    {5001, "VLT_PARAM_NETITLIM", 'I', 2100000000, 0, 2100000000},
    {5002, "VLT_PARAM_NETEPOPT", 'D', 1e-6, 1e-11, 0.1},
    {5003, "VLT_PARAM_NETEPRHS", 'D', 1e-6, 1e-11, 0.1},
    {5004, "VLT_PARAM_NETPPRIIND", 'I', 0, 0, 3},
    {5005, "VLT_PARAM_NETDISPLAY", 'I', 2, 0, 2},
};

int threadlimit() {
  unsigned hw = std::thread::hardware_concurrency();
  int n = hw == 0 ? 1 : static_cast<int>(std::min(hw, 16u));
  return std::max(n, 1);
}

double rowmax(const Row &r) { return r.max == kLimit ? threadlimit() : r.max; }

bool isdefault(VLTENVptr env, const Row &r) {
  if (r.kind == 'I') {
    int v = -12345;
    return VLTgetintparam(env, r.number, &v) == 0 && v == static_cast<int>(r.def);
  }
  if (r.kind == 'D') {
    double v = -12345;
    return VLTgetdblparam(env, r.number, &v) == 0 && v == r.def;
  }
  char s[VLT_STR_PARAM_MAX];
  return VLTgetstrparam(env, r.number, s) == 0 && std::strcmp(s, ".") == 0;
}

TEST(ParamTable, DefaultsBoundsAndNamesOfEveryParameter) {
  vtest::Env env;
  int named = 0;
  for (const Row &r : kTable) {
    SCOPED_TRACE(r.number);
    EXPECT_TRUE(isdefault(env, r));
    char name[64];
    ASSERT_EQ(VLTgetparamname(env, r.number, name), 0);
    EXPECT_STREQ(name, r.name);
    if (r.name[0] != '\0') {
      ++named;
      int num = 0;
      ASSERT_EQ(VLTgetparamnum(env, r.name, &num), 0);
      EXPECT_EQ(num, r.number);
    }
    if (r.kind == 'I') {
      int d, lo, hi;
      ASSERT_EQ(VLTinfointparam(env, r.number, &d, &lo, &hi), 0);
      EXPECT_EQ(d, static_cast<int>(r.def));
      EXPECT_EQ(lo, static_cast<int>(r.min));
      EXPECT_EQ(hi, static_cast<int>(rowmax(r)));
      // Other kinds' calls refuse the number.
      double x;
      EXPECT_EQ(VLTgetdblparam(env, r.number, &x), 1013);
      EXPECT_EQ(VLTsetdblparam(env, r.number, r.def), 1013);
      EXPECT_EQ(VLTsetstrparam(env, r.number, "x"), 1013);
    } else if (r.kind == 'D') {
      double d, lo, hi;
      ASSERT_EQ(VLTinfodblparam(env, r.number, &d, &lo, &hi), 0);
      EXPECT_EQ(d, r.def);
      EXPECT_EQ(lo, r.min);
      EXPECT_EQ(hi, r.max);
      int x;
      EXPECT_EQ(VLTgetintparam(env, r.number, &x), 1013);
      EXPECT_EQ(VLTsetintparam(env, r.number, 0), 1013);
      EXPECT_EQ(VLTinfointparam(env, r.number, nullptr, nullptr, nullptr), 1013);
    } else {
      char d[VLT_STR_PARAM_MAX];
      ASSERT_EQ(VLTinfostrparam(env, r.number, d), 0);
      EXPECT_STREQ(d, ".");
      EXPECT_EQ(VLTinfostrparam(env, r.number, nullptr), 0);
      EXPECT_EQ(VLTsetintparam(env, r.number, 0), 1013);
    }
  }
  EXPECT_EQ(named, 130);
}

// Sets each parameter to its bounds and just beyond them.
TEST(ParamTable, BoundsAreEnforcedAndAFailedSetKeepsTheValue) {
  vtest::Env env;
  for (const Row &r : kTable) {
    SCOPED_TRACE(r.number);
    if (r.number == VLT_PARAM_SCRIND) continue;  // the screen has its own test
    if (r.kind == 'I') {
      const int lo = static_cast<int>(r.min), hi = static_cast<int>(rowmax(r));
      int v;
      ASSERT_EQ(VLTsetintparam(env, r.number, lo), 0);
      ASSERT_EQ(VLTgetintparam(env, r.number, &v), 0);
      EXPECT_EQ(v, lo);
      ASSERT_EQ(VLTsetintparam(env, r.number, hi), 0);
      ASSERT_EQ(VLTgetintparam(env, r.number, &v), 0);
      EXPECT_EQ(v, hi);
      if (lo > std::numeric_limits<int>::min()) {
        EXPECT_EQ(VLTsetintparam(env, r.number, lo - 1), 1014);
      }
      // The dual pricing parameter takes one value beyond its maximum.
      const int over = r.number == VLT_PARAM_DPRIIND ? hi + 2 : hi + 1;
      if (r.number == VLT_PARAM_DPRIIND) {
        EXPECT_EQ(VLTsetintparam(env, r.number, hi + 1), 0);
      }
      EXPECT_EQ(VLTsetintparam(env, r.number, over), 1015);
      EXPECT_EQ(VLTsetintparam(env, r.number, std::numeric_limits<int>::max()),
                hi == std::numeric_limits<int>::max() ? 0 : 1015);
      ASSERT_EQ(VLTgetintparam(env, r.number, &v), 0);
      EXPECT_EQ(v, r.number == VLT_PARAM_DPRIIND ? hi + 1 : hi);
    } else if (r.kind == 'D') {
      double v;
      if (r.min == r.max) {
        // No bounds at all: anything but a NaN goes, infinities included.
        for (double x : {1e300, -1e300, HUGE_VAL, -HUGE_VAL, 0.0, -7.5}) {
          EXPECT_EQ(VLTsetdblparam(env, r.number, x), 0);
          ASSERT_EQ(VLTgetdblparam(env, r.number, &v), 0);
          EXPECT_EQ(v, x);
        }
        continue;
      }
      ASSERT_EQ(VLTsetdblparam(env, r.number, r.min), 0);
      ASSERT_EQ(VLTsetdblparam(env, r.number, r.max), 0);
      EXPECT_EQ(VLTsetdblparam(env, r.number, std::nextafter(r.min, -HUGE_VAL)), 1014);
      EXPECT_EQ(VLTsetdblparam(env, r.number, std::nextafter(r.max, HUGE_VAL)), 1015);
      EXPECT_EQ(VLTsetdblparam(env, r.number, -HUGE_VAL), 1014);
      EXPECT_EQ(VLTsetdblparam(env, r.number, HUGE_VAL), 1015);
      ASSERT_EQ(VLTgetdblparam(env, r.number, &v), 0);
      EXPECT_EQ(v, r.max);
    }
  }
}

TEST(ParamTable, DocumentedEdgeCases) {
  vtest::Env env;
  int v;
  EXPECT_EQ(VLTsetintparam(env, VLT_PARAM_ADVIND, 2), 1015);
  ASSERT_EQ(VLTgetintparam(env, VLT_PARAM_ADVIND, &v), 0);
  EXPECT_EQ(v, 1);
  EXPECT_EQ(env.err.all(), "VELTO Error  1015: Parameter value too big.\n");
  env.err.clear();
  EXPECT_EQ(VLTsetintparam(env, VLT_PARAM_BASINTERVAL, 0), 1014);
  EXPECT_EQ(env.err.all(), "VELTO Error  1014: Parameter value too small.\n");

  EXPECT_EQ(VLTsetdblparam(env, VLT_PARAM_EPOPT, 1e-9), 0);
  EXPECT_EQ(VLTsetdblparam(env, VLT_PARAM_EPOPT, 0.1), 0);
  EXPECT_EQ(VLTsetdblparam(env, VLT_PARAM_OBJULIM, -3.25e40), 0);

  // Names match exactly.
  env.err.clear();
  int num = 5;
  EXPECT_EQ(VLTgetparamnum(env, "vlt_param_itlim", &num), 1028);
  EXPECT_EQ(num, -1);
  EXPECT_EQ(VLTgetparamnum(env, "VLT_PARAM_ITLIM ", &num), 1028);
  EXPECT_EQ(VLTgetparamnum(env, "", &num), 1028);
  EXPECT_EQ(VLTgetparamnum(env, "1017", &num), 1028);
  EXPECT_EQ(env.err.lines.size(), 4u);
  EXPECT_EQ(env.err.lines[0], "VELTO Error  1028: Bad parameter name to VELTO parameter routine.\n");
  EXPECT_EQ(VLTgetparamnum(env, nullptr, &num), 1004);
  EXPECT_EQ(num, -1);
  EXPECT_EQ(VLTgetparamnum(env, "VLT_PARAM_ITLIM", nullptr), 1004);

  char name[64] = "junk";
  EXPECT_EQ(VLTgetparamname(env, 1011, name), 0);  // unused number in a group
  EXPECT_STREQ(name, "");
  std::strcpy(name, "junk");
  EXPECT_EQ(VLTgetparamname(env, 1075, name), 0);  // unnamed
  EXPECT_STREQ(name, "");
  for (int n : {900, 1000, 1081, 1999, 2065, 3000, 3025, 4011, 5000, 5006, 6000, -1}) {
    std::strcpy(name, "junk");
    EXPECT_EQ(VLTgetparamname(env, n, name), 1028) << n;
    EXPECT_STREQ(name, "") << n;
  }
  EXPECT_EQ(VLTgetparamname(env, 1001, nullptr), 1004);
  EXPECT_EQ(VLTgetparamname(env, 2000, name), 0);  // first number of its group, unused
  EXPECT_STREQ(name, "");
}

TEST(ParamTable, NumbersOutsideTheTableAre1013) {
  vtest::Env env;
  std::set<int> used;
  for (const Row &r : kTable) used.insert(r.number);
  int iv;
  double dv;
  char sv[VLT_STR_PARAM_MAX];
  for (int n = 990; n <= 6010; ++n) {
    if (used.count(n)) continue;
    ASSERT_EQ(VLTsetintparam(env, n, 0), 1013) << n;
    ASSERT_EQ(VLTgetintparam(env, n, &iv), 1013) << n;
    ASSERT_EQ(VLTsetdblparam(env, n, 0), 1013) << n;
    ASSERT_EQ(VLTinfodblparam(env, n, &dv, &dv, &dv), 1013) << n;
    ASSERT_EQ(VLTgetstrparam(env, n, sv), 1013) << n;
  }
  for (int n : {-2147483647 - 1, 0, 1000, 6000, 2147483647}) EXPECT_EQ(VLTsetintparam(env, n, 0), 1013);
  env.err.clear();
  EXPECT_EQ(VLTsetintparam(env, 1011, 0), 1013);
  EXPECT_EQ(env.err.all(), "VELTO Error  1013: Bad parameter number to VELTO parameter routine.\n");
  // A null out pointer is found before the number.
  EXPECT_EQ(VLTgetintparam(env, 99, nullptr), 1004);
  EXPECT_EQ(VLTgetdblparam(env, 99, nullptr), 1004);
  EXPECT_EQ(VLTgetstrparam(env, 99, nullptr), 1004);
}

// Random numbers and values against a model of the table: the status is
// what the table says, a refused value leaves the old one, and nothing else
// changes.
TEST(ParamTable, RandomCallsFollowTheTable) {
  vtest::Env env;
  std::map<int, const Row *> rows;
  for (const Row &r : kTable) rows[r.number] = &r;
  std::map<int, double> model;  // current value of every numeric parameter
  for (const Row &r : kTable) model[r.number] = r.def;
  uint32_t seed = 12345;
  auto next = [&seed] {
    seed = seed * 1664525u + 1013904223u;
    return seed >> 8;
  };
  for (int it = 0; it < 20000; ++it) {
    int num = 990 + static_cast<int>(next() % 5030);
    if (num == VLT_PARAM_SCRIND || num == 1075) continue;  // side effects tested elsewhere
    auto found = rows.find(num);
    const Row *r = found == rows.end() ? nullptr : found->second;
    if (next() % 2 == 0) {
      int v = static_cast<int>(next() % 40) - 10;
      if (next() % 8 == 0) v = static_cast<int>(next()) * (next() % 2 ? 1 : -1);
      int want = 1013;
      if (r != nullptr && r->kind == 'I') {
        int hi = r->number == VLT_PARAM_DPRIIND ? 5 : static_cast<int>(rowmax(*r));
        want = v < r->min ? 1014 : v > hi ? 1015 : 0;
      }
      ASSERT_EQ(VLTsetintparam(env, num, v), want) << num << " " << v;
      if (want == 0) model[num] = v;
    } else {
      double v = (static_cast<double>(next() % 2000) - 1000.0) * std::pow(10.0, static_cast<int>(next() % 30) - 15);
      int want = 1013;
      if (r != nullptr && r->kind == 'D')
        want = r->min == r->max ? 0 : v < r->min ? 1014 : v > r->max ? 1015 : 0;
      ASSERT_EQ(VLTsetdblparam(env, num, v), want) << num << " " << v;
      if (want == 0) model[num] = v;
    }
  }
  for (const Row &r : kTable) {
    if (r.kind == 'I') {
      int v;
      ASSERT_EQ(VLTgetintparam(env, r.number, &v), 0);
      EXPECT_EQ(v, model[r.number]) << r.number;
    } else if (r.kind == 'D') {
      double v;
      ASSERT_EQ(VLTgetdblparam(env, r.number, &v), 0);
      EXPECT_EQ(v, model[r.number]) << r.number;
    }
  }
  // Random names: only the exact table names are found.
  std::set<std::string> names;
  for (const Row &r : kTable)
    if (r.name[0]) names.insert(r.name);
  const char alphabet[] = "VLT_PARAMEOIDXSNCGHRKUWBZ0123456789abc";
  for (int it = 0; it < 5000; ++it) {
    std::string name = next() % 2 ? "VLT_PARAM_" : "";
    for (unsigned k = next() % 12; k > 0; --k) name += alphabet[next() % (sizeof alphabet - 1)];
    int num = 0;
    int st = VLTgetparamnum(env, name.c_str(), &num);
    if (names.count(name)) {
      EXPECT_EQ(st, 0) << name;
    } else {
      ASSERT_EQ(st, 1028) << name;
      ASSERT_EQ(num, -1);
    }
  }
}

TEST(ParamTable, BadEnvironment) {
  int iv;
  double dv;
  char sv[VLT_STR_PARAM_MAX];
  EXPECT_EQ(VLTsetintparam(nullptr, VLT_PARAM_ITLIM, 1), 1002);
  EXPECT_EQ(VLTsetdblparam(nullptr, VLT_PARAM_EPOPT, 1e-6), 1002);
  EXPECT_EQ(VLTsetstrparam(nullptr, VLT_PARAM_WORKDIR, "."), 1002);
  EXPECT_EQ(VLTgetintparam(nullptr, VLT_PARAM_ITLIM, &iv), 1002);
  EXPECT_EQ(VLTgetdblparam(nullptr, VLT_PARAM_EPOPT, &dv), 1002);
  EXPECT_EQ(VLTgetstrparam(nullptr, VLT_PARAM_WORKDIR, sv), 1002);
  EXPECT_EQ(VLTinfointparam(nullptr, VLT_PARAM_ITLIM, &iv, &iv, &iv), 1002);
  EXPECT_EQ(VLTinfodblparam(nullptr, VLT_PARAM_EPOPT, &dv, &dv, &dv), 1002);
  EXPECT_EQ(VLTinfostrparam(nullptr, VLT_PARAM_WORKDIR, sv), 1002);
  EXPECT_EQ(VLTgetparamname(nullptr, VLT_PARAM_ITLIM, sv), 1002);
  EXPECT_EQ(VLTgetparamnum(nullptr, "VLT_PARAM_ITLIM", &iv), 1002);
  EXPECT_EQ(VLTsetdefaults(nullptr), 1002);
}

TEST(ParamTable, NanIsRefusedEverywhere) {
  vtest::Env env;
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (int n : {VLT_PARAM_EPOPT, VLT_PARAM_OBJULIM, VLT_PARAM_CUTUP, 1074}) {
    double before, after;
    ASSERT_EQ(VLTgetdblparam(env, n, &before), 0);
    EXPECT_EQ(VLTsetdblparam(env, n, nan), 1003) << n;
    ASSERT_EQ(VLTgetdblparam(env, n, &after), 0);
    EXPECT_EQ(before, after);
  }
}

TEST(ParamTable, StringParameter) {
  vtest::Env env;
  char buf[VLT_STR_PARAM_MAX];
  std::string longest(VLT_STR_PARAM_MAX - 1, 'd');
  ASSERT_EQ(VLTsetstrparam(env, VLT_PARAM_WORKDIR, longest.c_str()), 0);
  ASSERT_EQ(VLTgetstrparam(env, VLT_PARAM_WORKDIR, buf), 0);
  EXPECT_EQ(longest, buf);
  ASSERT_EQ(VLTsetstrparam(env, VLT_PARAM_WORKDIR, "/tmp/work"), 0);
  std::string toolong(VLT_STR_PARAM_MAX, 'x');
  EXPECT_EQ(VLTsetstrparam(env, VLT_PARAM_WORKDIR, toolong.c_str()), 1026);
  EXPECT_EQ(env.err.all(), "VELTO Error  1026: String parameter is too long.\n");
  EXPECT_EQ(VLTsetstrparam(env, VLT_PARAM_WORKDIR, nullptr), 1004);
  ASSERT_EQ(VLTgetstrparam(env, VLT_PARAM_WORKDIR, buf), 0);
  EXPECT_STREQ(buf, "/tmp/work");
  ASSERT_EQ(VLTsetstrparam(env, VLT_PARAM_WORKDIR, ""), 0);
  ASSERT_EQ(VLTgetstrparam(env, VLT_PARAM_WORKDIR, buf), 0);
  EXPECT_STREQ(buf, "");
}

// Gives every parameter a value other than its default, then restores.
TEST(ParamTable, SetDefaultsRestoresEveryParameterButNotTheScreen) {
  vtest::Env env;
  for (const Row &r : kTable) {
    if (r.number == VLT_PARAM_SCRIND) continue;  // below
    if (r.kind == 'I') {
      int lo = static_cast<int>(r.min), hi = static_cast<int>(rowmax(r));
      if (lo == hi) continue;
      ASSERT_EQ(VLTsetintparam(env, r.number, r.def == lo ? hi : lo), 0) << r.number;
    } else if (r.kind == 'D') {
      ASSERT_EQ(VLTsetdblparam(env, r.number, r.def == r.min ? r.max : r.min), 0) << r.number;
      if (r.min == r.max) {
        ASSERT_EQ(VLTsetdblparam(env, r.number, 42.0), 0);
      }
    } else {
      ASSERT_EQ(VLTsetstrparam(env, r.number, "elsewhere"), 0);
    }
  }
  int changed = 0;
  for (const Row &r : kTable) changed += !isdefault(env, r);
  EXPECT_GE(changed, 159);
  env.res.clear();
  ASSERT_EQ(VLTsetdefaults(env), 0);
  for (const Row &r : kTable) EXPECT_TRUE(isdefault(env, r)) << r.number;
  // The echo switch was reset with the rest and printed nothing.
  EXPECT_TRUE(env.res.lines.empty());
  // SCRIND goes back to 0 but the screen destination set with it stays.
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_SCRIND, 1), 0);
  ASSERT_EQ(VLTsetdefaults(env), 0);
  int scr = 1;
  ASSERT_EQ(VLTgetintparam(env, VLT_PARAM_SCRIND, &scr), 0);
  EXPECT_EQ(scr, 0);
  int onscreen = 0;
  for (velto_dest *d = env.env->reschannel->head; d != nullptr; d = d->next) onscreen += d->kind == 1 && d->fp == stdout;
  EXPECT_EQ(onscreen, 1);
  velto::screenswitch(env.env, 0);
}

int screencount(velto_channel *ch) {
  int n = 0;
  for (velto_dest *d = ch->head; d != nullptr; d = d->next) n += d->kind == 1 && d->fp == stdout;
  return n;
}

TEST(ParamSideEffects, ScreenSwitchAddsOneDestinationPerChannel) {
  vtest::Env env;
  velto::env *e = env.env;
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_SCRIND, 1), 0);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_SCRIND, 1), 0);
  EXPECT_EQ(screencount(e->reschannel), 1);
  EXPECT_EQ(screencount(e->warnchannel), 1);
  EXPECT_EQ(screencount(e->errchannel), 1);
  EXPECT_EQ(screencount(e->logchannel), 0);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_SCRIND, 0), 0);
  EXPECT_EQ(screencount(e->reschannel) + screencount(e->warnchannel) + screencount(e->errchannel), 0);
  // A refused value changes nothing.
  EXPECT_EQ(VLTsetintparam(env, VLT_PARAM_SCRIND, 2), 1015);
  EXPECT_EQ(screencount(e->reschannel), 0);
  // The application's own destinations are untouched.
  env.err.clear();
  velto::msg(e->errchannel, "still here\n");
  EXPECT_EQ(env.err.all(), "still here\n");
}

TEST(ParamSideEffects, EchoLineOnTheResultsChannel) {
  vtest::Env env;
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_ITLIM, 5), 0);
  EXPECT_TRUE(env.res.lines.empty());
  ASSERT_EQ(VLTsetintparam(env, 1075, 1), 0);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_ITLIM, 77), 0);
  ASSERT_EQ(VLTsetdblparam(env, VLT_PARAM_EPOPT, 1e-7), 0);
  ASSERT_EQ(VLTsetdblparam(env, VLT_PARAM_TILIM, 2.5), 0);
  ASSERT_EQ(VLTsetstrparam(env, VLT_PARAM_WORKDIR, "/tmp"), 0);
  EXPECT_EQ(VLTsetintparam(env, VLT_PARAM_ITLIM, -1), 1014);  // no echo for a refused value
  ASSERT_EQ(VLTsetintparam(env, 1075, 0), 0);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_ITLIM, 78), 0);
  const std::vector<std::string> want = {
      "Parameter 1075 set to 1.\n",    "Parameter 1020 set to 77.\n", "Parameter 1014 set to 1e-07.\n",
      "Parameter 1039 set to 2.5.\n",  "Parameter 1064 set to \"/tmp\".\n",
  };
  EXPECT_EQ(env.res.lines, want);
}

TEST(ParamDirectory, NameHashAndHeaderAgree) {
  vtest::Env env;
  // The hash of a name, computed here from its definition.
  auto h = [](const std::string &s) {
    unsigned v = 0;
    for (size_t p = 0; p < s.size(); ++p)
      v ^= static_cast<unsigned>(static_cast<int>(static_cast<signed char>(s[p]))) << (8 * (p % 4));
    return v % 1023u;
  };
  EXPECT_EQ(velto::paramhash("ab", 1023), (97u ^ (98u << 8)) % 1023u);
  EXPECT_EQ(velto::paramhash("\xff", 1023), 0xFFFFFFFFu % 1023u);
  for (const Row &r : kTable)
    if (r.name[0]) {
      EXPECT_EQ(velto::paramhash(r.name, 1023), h(r.name)) << r.name;
    }
  EXPECT_EQ(env.env->paramdir->namedcount, 130);
  EXPECT_EQ(env.env->paramdir->groupcount, 5);

  // Every constant in the public header names the parameter of its number.
  std::string path = __FILE__;
  path = path.substr(0, path.rfind("/tests/")) + "/include/velto.h";
  std::ifstream in(path);
  ASSERT_TRUE(in.good()) << path;
  std::regex def("^#define (VLT_PARAM_[A-Z0-9_]+) +([0-9]+)");
  std::map<std::string, int> header;
  for (std::string line; std::getline(in, line);) {
    std::smatch m;
    if (std::regex_search(line, m, def)) header[m[1]] = std::stoi(m[2]);
  }
  EXPECT_EQ(header.size(), 130u);
  for (const auto &[name, number] : header) {
    int num = 0;
    EXPECT_EQ(VLTgetparamnum(env, name.c_str(), &num), 0) << name;
    EXPECT_EQ(num, number) << name;
  }
}

TEST(ParamDirectory, EnvironmentsAreIndependent) {
  vtest::Env a, b;
  ASSERT_EQ(VLTsetintparam(a, VLT_PARAM_ITLIM, 3), 0);
  int v = 0;
  ASSERT_EQ(VLTgetintparam(b, VLT_PARAM_ITLIM, &v), 0);
  EXPECT_EQ(v, 2100000000);
  // The library reads the same value as a plain field.
  EXPECT_EQ(a.env->params->itlim, 3);
  ASSERT_EQ(VLTsetintparam(a, VLT_PARAM_EFFSLACKIND, 2), 0);  // lives in the MIP block
  EXPECT_EQ(a.env->mipparams->effslackind, 2);
  ASSERT_EQ(VLTsetdblparam(a, 3021, 5.0), 0);
  EXPECT_EQ(a.env->barparams->p3021, 5.0);
}

TEST(Threads, CpuCapAndThreadCount) {
  const int hw = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  EXPECT_EQ(velto::cpucap(0), 1);
  EXPECT_EQ(velto::cpucap(-3), 1);
  EXPECT_EQ(velto::cpucap(1), 1);
  EXPECT_EQ(velto::cpucap(1 << 30), hw);
  EXPECT_EQ(velto::cpucap(hw), hw);

  vtest::Env env;
  velto::env *e = env.env;
  EXPECT_EQ(velto::threadcount(e, velto::kThreadsNoLimit), 16);
  EXPECT_EQ(velto::threadcount(e, velto::kThreadsGeneral), 1);
  EXPECT_EQ(velto::threadcount(e, velto::kThreadsSerial), 1);
  EXPECT_EQ(velto::threadcount(e, 77), 1);
  // Barrier and MIP fall back on the general count while their own is 0.
  e->params->threads = 9;
  EXPECT_EQ(velto::threadcount(e, velto::kThreadsBarrier), 9);
  EXPECT_EQ(velto::threadcount(e, velto::kThreadsMip), 9);
  e->barparams->barthreads = 3;
  e->mipparams->mipthreads = 4;
  EXPECT_EQ(velto::threadcount(e, velto::kThreadsBarrier), 3);
  EXPECT_EQ(velto::threadcount(e, velto::kThreadsMip), 4);
  // The environment's limit caps every answer.
  e->params->threads = 40;
  EXPECT_EQ(velto::threadcount(e, velto::kThreadsGeneral), 16);
  e->threadlimit = 2;
  EXPECT_EQ(velto::threadcount(e, velto::kThreadsMip), 2);
  EXPECT_EQ(velto::threadcount(e, velto::kThreadsNoLimit), 2);
  e->threadlimit = 16;
}

}  // namespace
