// Error and status tables: the lines an application sees on the error
// channel, the two text functions, and the error hash.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "capture.h"
#include "env/env.h"
#include "env/error.h"

namespace {

// Every code of the table, in order.
const int kCodes[] = {
    1001, 1002, 1003, 1004, 1006, 1009, 1012, 1013, 1014, 1015, 1017, 1018, 1019, 1020,
    1021, 1022, 1023, 1024, 1025, 1026, 1027, 1028, 1029, 1051, 1052, 1053, 1100, 1101,
    1103, 1106, 1107, 1108, 1109, 1110, 1111, 1112, 1114, 1115, 1117, 1118, 1119, 1120,
    1121, 1122, 1200, 1201, 1203, 1205, 1206, 1207, 1208, 1209, 1210, 1211, 1215, 1216,
    1217, 1219, 1221, 1222, 1223, 1224, 1225, 1226, 1227, 1228, 1229, 1230, 1231, 1251,
    1252, 1253, 1254, 1255, 1256, 1257, 1258, 1260, 1261, 1262, 1263, 1264, 1265, 1266,
    1267, 1268, 1269, 1292, 1421, 1422, 1423, 1424, 1431, 1432, 1433, 1434, 1435, 1436,
    1441, 1442, 1443, 1444, 1445, 1446, 1447, 1448, 1449, 1453, 1454, 1455, 1456, 1457,
    1458, 1459, 1460, 1461, 1462, 1463, 1464, 1471, 1472, 1473, 1474, 1475, 1476, 1477,
    1478, 1479, 1480, 1481, 1482, 1483, 1484, 1485, 1486, 1487, 1525, 1526, 1527, 1528,
    1530, 1531, 1532, 1537, 1538, 1550, 1551, 1552, 1553, 1554, 1555, 1556, 1560, 1561,
    1562, 1563, 1602, 1603, 1604, 1605, 1606, 1607, 1608, 1609, 1610, 1611, 1612, 1613,
    1614, 1615, 1616, 1617, 1618, 1619, 1621, 1622, 1623, 1624, 1625, 1626, 1627, 1650,
    1701, 1702, 1703, 1704, 1705, 1706, 1707, 1708, 1709, 1710, 1711, 1712, 1713, 1801,
    1802, 1803, 3002, 3003, 3004, 3006, 3007, 3009, 3010, 3011, 3012, 3015, 3016, 3017,
    3018, 3019, 3020, 3021, 3022, 3023, 3301, 3401, 3402, 3403, 3404, 3405, 3406, 3407,
    3408, 3409, 3410, 3412, 3413, 3414, 3504, 3601, 3603, 4005, 5001, 5002, 5004, 5011,
    5012, 5014,
};

std::string errline(int code, const std::string &text) {
  char prefix[32];
  std::snprintf(prefix, sizeof prefix, "VELTO Error %5d: ", code);
  return prefix + text + ".\n";
}

TEST(ErrorTable, HoldsExactlyTheDocumentedCodes) {
  std::set<int> want(std::begin(kCodes), std::end(kCodes));
  std::set<int> have;
  for (int i = 0; i < velto::errtablesize(); ++i) have.insert(velto::errtablecode(i));
  EXPECT_EQ(velto::errtablesize(), static_cast<int>(std::size(kCodes)));
  EXPECT_EQ(have, want);
}

// Texts checked word for word, with the multi-line and format rows.
TEST(ErrorTable, SelectedLinesAreExact) {
  char buf[192];
  struct {
    int code;
    const char *line;
  } cases[] = {
      {1001, "VELTO Error  1001: Out of memory.\n"},
      {1013, "VELTO Error  1013: Bad parameter number to VELTO parameter routine.\n"},
      {1022, "VELTO Error  1022: Unknown problem type.  Problem not changed.\n"},
      {1200, "VELTO Error  1200: Index is outside range of valid values.\n"},
      {1201, "VELTO Error  1201: Column index %d out of range.\n"},
      {1225, "VELTO Error  1225: Numeric entry %d is not a double precison number (NAN).\n"},
      {1462, "VELTO Error  1462: Line %d: Unrecognized section indicator.\n      Expecting ENDATA.\n"},
      {1705, "VELTO Error  1705: Problem optimal with unscaled infeasibilities.\n      No IIS available.\n"},
      {3011,
       "VELTO Error  3011: Non-integral %s bound value %g \n      for integer variable '%.255s'.\n"},
      {3407,
       "VELTO Error  3407: Tree in file %s does not match the current problem.\n"
       "      Number of integer variables in TRE file:        %d\n"
       "      Number of integer variables in current problem: %d.\n"},
      {5014, "VELTO Error  5014: Q is not indefinite.\n"},
  };
  vtest::Env env;
  for (const auto &c : cases) {
    SCOPED_TRACE(c.code);
    ASSERT_EQ(VLTgeterrorstring(env, c.code, buf), buf);
    EXPECT_STREQ(buf, c.line);
    ASSERT_EQ(VLTgeterrorstring(nullptr, c.code, buf), buf);
    EXPECT_STREQ(buf, c.line);
  }
}

// For every code: the line that reaches the error channel through the frame
// is the one VLTgeterrorstring gives, with and without an environment, and
// it is one well-formed line.
TEST(ErrorTable, EveryCodeGivesOneExactLineOnTheErrorChannel) {
  vtest::Env env;
  for (int code : kCodes) {
    SCOPED_TRACE(code);
    char withenv[192], noenv[192];
    ASSERT_NE(VLTgeterrorstring(env, code, withenv), nullptr);
    ASSERT_NE(VLTgeterrorstring(nullptr, code, noenv), nullptr);
    EXPECT_STREQ(withenv, noenv);
    const std::string text = velto::errtabletext(nullptr, code);
    EXPECT_EQ(std::string(withenv), errline(code, text));
    EXPECT_LT(std::strlen(withenv), 192u);
    // A table text never carries its own period or line end.
    ASSERT_FALSE(text.empty());
    EXPECT_NE(text.back(), '.');
    EXPECT_NE(text.back(), '\n');

    env.err.clear();
    int status = code;
    velto::report(env.env, &status);
    EXPECT_EQ(status, code);
    // Presolve's verdicts print while VLT_PARAM_PREDISP is on (the default).
    ASSERT_EQ(env.err.lines.size(), 1u);
    EXPECT_EQ(env.err.lines[0], withenv);
  }
}

TEST(ErrorTable, UnknownAndInvalidCodes) {
  vtest::Env env;
  char buf[192];
  // Codes without a row: the line says so and the result is null.
  for (int code : {1005, 1007, 1401, 99999, 7}) {
    SCOPED_TRACE(code);
    std::strcpy(buf, "untouched");
    EXPECT_EQ(VLTgeterrorstring(env, code, buf), nullptr);
    EXPECT_EQ(std::string(buf), errline(code, "Unknown error code"));
    EXPECT_EQ(VLTgeterrorstring(nullptr, code, buf), nullptr);
    EXPECT_EQ(std::string(buf), errline(code, "Unknown error code"));
  }
  // Out of the valid span: null and the buffer is not written.
  for (int code : {0, -1, -1001, 100000, 2147483647}) {
    SCOPED_TRACE(code);
    std::strcpy(buf, "untouched");
    EXPECT_EQ(VLTgeterrorstring(env, code, buf), nullptr);
    EXPECT_STREQ(buf, "untouched");
  }
  EXPECT_EQ(VLTgeterrorstring(env, 1001, nullptr), nullptr);

  // The frame's line for a code without a row has two spaces after the colon.
  int status = 1005;
  velto::report(env.env, &status);
  EXPECT_EQ(status, 1005);
  ASSERT_EQ(env.err.lines.size(), 1u);
  EXPECT_EQ(env.err.lines[0], "VELTO Error  1005:  Unknown error code.\n");

  EXPECT_STREQ(velto::errtext(env.env, 1401), "Unknown error code 1401.\n");
  EXPECT_STREQ(velto::errtext(env.env, 1203), "VELTO Error  1203: Row index %d out of range.\n");
}

TEST(ErrorTable, ReportFrame) {
  vtest::Env env;
  // Zero prints nothing.
  int status = 0;
  velto::report(env.env, &status);
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(env.err.lines.empty());

  // A deep routine prints its richer line and returns the code negated: the
  // frame makes it positive and prints nothing more.
  velto::msg(env.env->errchannel, velto::errtext(env.env, 1201), 17);
  status = -1201;
  velto::report(env.env, &status);
  EXPECT_EQ(status, 1201);
  ASSERT_EQ(env.err.lines.size(), 1u);
  EXPECT_EQ(env.err.lines[0], "VELTO Error  1201: Column index 17 out of range.\n");

  // Presolve's verdicts are silent while VLT_PARAM_PREDISP is 0.
  env.err.clear();
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_PREDISP, 0), 0);
  for (int code : {1101, 1117, 1118}) {
    status = code;
    velto::report(env.env, &status);
    EXPECT_EQ(status, code);
  }
  EXPECT_TRUE(env.err.lines.empty());
  status = 1103;  // not a verdict: printed
  velto::report(env.env, &status);
  EXPECT_EQ(env.err.lines.size(), 1u);

  // Without a valid environment nothing can be printed, the status stays.
  status = 1001;
  velto::report(nullptr, &status);
  EXPECT_EQ(status, 1001);
}

// Follows the probe sequence the way the hash is documented, independently
// of the library's own lookup.
int probe(const velto::env *e, int code, int *probes) {
  int s = code % 479;
  const int step = 477 - code % 477;
  for (*probes = 1;; ++*probes) {
    int row = e->errhash[s];
    if (row < 0) return -1;
    if (velto::errtablecode(row) == code) return row;
    s = (s + step) % 479;
  }
}

TEST(ErrorHash, FindsEveryRowAndStopsAtAnEmptySlot) {
  vtest::Env env;
  const velto::env *e = env.env;
  int used = 0;
  for (int v : e->errhash) used += v >= 0;
  EXPECT_EQ(used, velto::errtablesize());

  int collided = 0;
  for (int code : kCodes) {
    int probes = 0;
    int row = probe(e, code, &probes);
    ASSERT_GE(row, 0) << code;
    EXPECT_EQ(velto::errtablecode(row), code);
    EXPECT_STREQ(velto::errtabletext(e, code), velto::errtabletext(nullptr, code));
    if (probes > 1) ++collided;
  }
  // The table is dense enough that some codes share a primary slot; those
  // must have been found further along their sequence.
  EXPECT_GT(collided, 0);

  // Every other code in the span ends at an empty slot.
  std::set<int> known(std::begin(kCodes), std::end(kCodes));
  for (int code = 1; code <= 99999; ++code) {
    if (known.count(code)) continue;
    int probes = 0;
    ASSERT_EQ(probe(e, code, &probes), -1) << code;
    ASSERT_EQ(velto::errtabletext(e, code), nullptr) << code;
  }
}

TEST(StatusTable, TextsAndUnknownValues) {
  char buf[64];
  EXPECT_EQ(VLTgetstatstring(nullptr, 1, buf), buf);
  EXPECT_STREQ(buf, "optimal");
  EXPECT_EQ(VLTgetstatstring(nullptr, 5, buf), buf);
  EXPECT_STREQ(buf, "optimal with unscaled infeasibilities");
  EXPECT_EQ(VLTgetstatstring(nullptr, 22, buf), buf);
  EXPECT_STREQ(buf, "dual objective limit exceeded");
  EXPECT_EQ(VLTgetstatstring(nullptr, 117, buf), buf);
  EXPECT_STREQ(buf, "error termination, no integer solution, no tree");
  EXPECT_EQ(VLTgetstatstring(nullptr, 119, buf), buf);
  EXPECT_STREQ(buf, "integer infeasible or unbounded");

  const int values[] = {1,   2,   3,   4,   5,   6,   10,  11,  12,  13,  20,
                        21,  22,  101, 102, 103, 104, 105, 106, 107, 108, 109,
                        110, 111, 112, 113, 114, 115, 116, 117, 118, 119};
  std::set<int> want(std::begin(values), std::end(values));
  for (int v = -5; v <= 300; ++v) {
    SCOPED_TRACE(v);
    const char *r = VLTgetstatstring(nullptr, v, buf);
    if (want.count(v)) {
      EXPECT_EQ(r, buf);
      EXPECT_GT(std::strlen(buf), 5u);
    } else {
      EXPECT_EQ(r, nullptr);
      EXPECT_STREQ(buf, "Unknown status value");
    }
  }
  EXPECT_EQ(velto::kStatOptimal, 1);
  EXPECT_EQ(velto::kStatMipInfOrUnbd, 119);
}

}  // namespace
