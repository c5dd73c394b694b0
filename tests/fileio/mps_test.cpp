// The MPS reader: values of every section, the rules for bounds and ranges,
// exact error lines, and inputs cut anywhere.
#include <cmath>

#include "fileio/mpsutil.h"
#include "fileio/support.h"

using namespace velto_test;

namespace {
const char kHead[] = "NAME x\nROWS\n N obj\n L r1\n G r2\n E r3\nCOLUMNS\n";
}

TEST(MpsNumbers, ConversionRules) {
  double v = 7;
  EXPECT_EQ(velto::parsenumber("", &v, false), 0);
  EXPECT_EQ(v, 0.0);
  EXPECT_EQ(velto::parsenumber("+", &v, false), 0);
  EXPECT_EQ(v, 1.0);
  EXPECT_EQ(velto::parsenumber("-", &v, false), 0);
  EXPECT_EQ(v, -1.0);
  EXPECT_EQ(velto::parsenumber("-.5e+2", &v, false), 0);
  EXPECT_EQ(v, -50.0);
  EXPECT_EQ(velto::parsenumber("1.5D1", &v, false), 0);
  EXPECT_EQ(v, 15.0);
  EXPECT_EQ(velto::parsenumber("0.1", &v, false), 0);
  EXPECT_EQ(v, 0.1);  // correctly rounded
  EXPECT_EQ(velto::parsenumber("123456789012345678901234567890", &v, false), 0);
  EXPECT_EQ(v, 1.2345678901234568e29);
  EXPECT_EQ(velto::parsenumber("1E37", &v, false), 0);
  EXPECT_EQ(v, 1e37);
  EXPECT_EQ(velto::parsenumber("1E38", &v, false), 2);
  // Exponents down to -38 are kept; smaller ones read as zero.
  EXPECT_EQ(velto::parsenumber("1E-38", &v, false), 0);
  EXPECT_EQ(v, 1e-38);
  EXPECT_EQ(velto::parsenumber("1E-40", &v, false), 0);
  EXPECT_EQ(v, 0.0);
  EXPECT_EQ(velto::parsenumber("1.5.5", &v, false), 1);
  EXPECT_EQ(velto::parsenumber("1e", &v, false), 4);
  EXPECT_EQ(velto::parsenumber("e5", &v, false), 3);
  EXPECT_EQ(velto::parsenumber("abc", &v, false), 1);
  EXPECT_EQ(velto::parsenumber("inf", &v, false), 1);
  EXPECT_EQ(velto::parsenumber("-Infinity", &v, true), 0);
  EXPECT_EQ(v, -1e20);
}

TEST(MpsNumbers, WriterFormFitsTwelveCharacters) {
  char b[32];
  auto f = [&](double v) {
    velto::mpsnumber(v, b);
    EXPECT_LE(std::strlen(b), 12u) << v;
    return std::string(b);
  };
  EXPECT_EQ(f(0), "0");
  EXPECT_EQ(f(1e10), "10000000000");
  EXPECT_EQ(f(1e11), "1E+11");
  EXPECT_EQ(f(-1e10), "-1E+10");
  EXPECT_EQ(f(0.001), "0.001");
  EXPECT_EQ(f(0.0001), "1E-4");
  EXPECT_EQ(f(-2.5), "-2.5");
  EXPECT_EQ(f(123.456), "123.456");
  EXPECT_EQ(f(1.0 / 3.0), "0.3333333333");
  EXPECT_EQ(f(-1.0 / 3.0), "-0.333333333");
  EXPECT_EQ(f(1.23456789012e-20), "1.234567E-20");
  // Every form reads back to about ten digits.
  for (double v : {3.14159265358979, -2.718281828e-7, 6.02214076e23, 1e-30, 98765.4321}) {
    double back = 0;
    ASSERT_EQ(velto::parsenumber(f(v), &back, false), 0) << b;
    EXPECT_NEAR(back, v, std::fabs(v) * 1e-6) << b;
  }
}

TEST_F(FileTest, FullModelReadsEverySection) {
  velto::filemodel m;
  ASSERT_EQ(readmps(slurp(data("mps_full.mps")), m), 0) << err_;
  EXPECT_EQ(m.objsen, -1);
  EXPECT_EQ(m.objname, "COST");
  ASSERT_EQ(m.numrows, 4);  // the free row SPARE is gone
  ASSERT_EQ(m.numcols, 5);
  EXPECT_EQ(std::string(m.sense.begin(), m.sense.end()), "RGRR");
  int lim1 = nameindex(m.rownames, "LIM1"), lim2 = nameindex(m.rownames, "LIM2");
  int eq = nameindex(m.rownames, "MYEQN"), rg = nameindex(m.rownames, "RNGE");
  ASSERT_EQ(m.rngval.size(), 4u);
  EXPECT_EQ(m.rngval[lim1], -2.5);  // L row: below the rhs
  EXPECT_EQ(m.rngval[eq], -1.5);    // E row keeps the sign
  EXPECT_EQ(m.rngval[rg], 4.0);
  EXPECT_EQ(m.rhs[lim1], 4.0);
  EXPECT_EQ(m.rhs[eq], 7.0);
  int x1 = nameindex(m.colnames, "X1"), x2 = nameindex(m.colnames, "X2"),
      y3 = nameindex(m.colnames, "Y3"), x4 = nameindex(m.colnames, "X4"),
      x5 = nameindex(m.colnames, "X5");
  EXPECT_EQ(m.obj[y3], -10.0);
  EXPECT_EQ(coef(m, lim2, x4), -0.5);
  EXPECT_EQ(coef(m, rg, x4), 2.5);
  EXPECT_EQ(m.matcnt[x1], 2);  // the SPARE entry is dropped
  EXPECT_EQ(std::string(m.ctype.begin(), m.ctype.end()), "CIICC");
  EXPECT_EQ(m.ub[x1], 4.0);
  EXPECT_EQ(m.lb[x2], -1e20);  // MI then UP 1: stays integer with free lower bound
  EXPECT_EQ(m.ub[x2], 1.0);
  EXPECT_EQ(m.ub[y3], 10.0);
  EXPECT_EQ(m.lb[x4], -1e20);
  EXPECT_EQ(m.ub[x4], 1e20);
  EXPECT_EQ(m.lb[x5], -10.0);
  EXPECT_EQ(m.ub[x5], 15.0);
  EXPECT_NE(out_.find("Specified objective sense: MAXIMIZE\n"), std::string::npos);
  EXPECT_NE(out_.find("Selected objective  name:  COST  [1 free row deleted]\n"), std::string::npos);
  EXPECT_NE(warn_.find("Warning, line 24:  OBJ coefficient in RHS section ignored.\n"),
            std::string::npos);
  EXPECT_EQ(err_, "");
}

TEST_F(FileTest, FixedColumnFileWithBlankSetNames) {
  velto::filemodel m;
  ASSERT_EQ(readmps(slurp(data("mps_blanknames.mps")), m), 0) << err_;
  ASSERT_EQ(m.numrows, 2);
  EXPECT_EQ(m.rhs[0], 10.0);
  EXPECT_EQ(m.rhs[1], 1.0);
  EXPECT_EQ(m.sense[0], 'R');
  EXPECT_EQ(m.rngval[0], -4.0);
  EXPECT_EQ(m.ub[0], 5.0);
  EXPECT_EQ(m.lb[1], -1e20);
  EXPECT_EQ(warn_, "Warning:  Blank RHS name changed to 'rhs'.\n");
}

TEST_F(FileTest, BoundRulesOfIntegerAndNegativeColumns) {
  std::string body = std::string(kHead) +
                     "    M1 'MARKER' 'INTORG'\n"
                     " i0 r1 1\n i1 r1 1\n i10 r1 1\n"
                     "    M2 'MARKER' 'INTEND'\n"
                     " neg r1 1\n zero r1 1\n"
                     "RHS\nBOUNDS\n UP b i1 1\n UP b i10 10\n UP b neg -1\n UP b zero 0\nENDATA\n";
  velto::filemodel m;
  ASSERT_EQ(readmps(body, m), 0) << err_;
  EXPECT_EQ(std::string(m.ctype.begin(), m.ctype.end()), "BBICC");
  EXPECT_EQ(m.ub[0], 1.0);  // integer column without bound: binary
  EXPECT_EQ(m.ub[2], 10.0);
  EXPECT_EQ(m.lb[3], -1e20);
  EXPECT_EQ(m.lb[4], 0.0);
  EXPECT_EQ(m.ub[4], 0.0);
  EXPECT_NE(warn_.find("Warning:  Lower bound on column 'neg' in bound 'b'\n"
                       "          changed to minus infinity.\n"),
            std::string::npos);
  EXPECT_NE(warn_.find("Warning:  Column 'zero' in bound 'b' is Fixed.\n"), std::string::npos);
}

TEST_F(FileTest, SpellingAndCommentVariants) {
  // Lower-case keywords, '$' comments, a second N row, OBJNAME naming a
  // constraint, no ENDATA.
  std::string body =
      "name lower\nobjname\n r1\nrows\n n first\n l r1\n n second\ncolumns\n"
      " x first 1 $ second 5\n x r1 2 second 3\nrhs\n rhs r1 1\n";
  velto::filemodel m;
  ASSERT_EQ(readmps(body, m), 0) << err_;
  EXPECT_EQ(m.numrows, 1);
  EXPECT_EQ(m.obj[0], 1.0);
  EXPECT_EQ(m.matcnt[0], 1);
  EXPECT_EQ(m.objname, "first");
  EXPECT_NE(warn_.find("Warning:  Specified objective 'r1' not found.\n"), std::string::npos);
  EXPECT_NE(warn_.find("Warning, line 12:  'ENDATA' missing.\n"), std::string::npos);
  EXPECT_NE(out_.find("Selected objective  name:  first  [1 free row deleted]\n"),
            std::string::npos);
}

// Every bad file: exact status and the one error line.
TEST_F(FileTest, BadFilesGiveExactStatusAndLine) {
  struct badcase {
    const char *file;
    int status;
    const char *line;
  };
  const badcase cases[] = {
      {"empty.mps", 1441, "VELTO Error  1441: Line 0: No NAME section.\n"},
      {"bad_number.mps", 1434, "VELTO Error  1434: Line 6: Couldn't convert '1.5.5' to a number.\n"},
      {"bad_exponent.mps", 1435, "VELTO Error  1435: Line 6: Exponent '1E38' out of range.\n"},
      {"dup_row.mps", 1445, "VELTO Error  1445: Row 'r1' repeats.\n"},
      {"dup_entry.mps", 1443, "VELTO Error  1443: Column 'x' has repeated row 'r1'.\n"},
      {"unknown_row.mps", 1448, "VELTO Error  1448: Line 6: 'r2' is not a row name.\n"},
      {"columns_before_rows.mps", 1471, "VELTO Error  1471: Line 4: No ROWS section.\n"},
      {"unknown_section.mps", 1473,
       "VELTO Error  1473: Line 9: Unrecognized section indicator.\n"
       "      Expecting RANGES, BOUNDS, SOS, QMATRIX, or ENDATA.\n"},
  };
  for (const badcase &c : cases) {
    clearlogs();
    int status = VLTreadcopyprob(env_, lp_, data(c.file).c_str(), nullptr);
    EXPECT_EQ(status, c.status) << c.file;
    EXPECT_EQ(err_, c.line) << c.file;
    EXPECT_EQ(VLTgetnumcols(env_, lp_), 0) << c.file;  // the problem is untouched
  }
}

TEST_F(FileTest, BoundAndMarkerErrors) {
  struct badcase {
    std::string tail;
    int status;
    std::string line;
  };
  const std::string cols = " x r1 1\n y r2 1\nRHS\nBOUNDS\n";
  const badcase cases[] = {
      {cols + " UP b x 1\n UP b x 2\nENDATA\n", 1458, "VELTO Error  1458: Line 13: Repeated upper bound.\n"},
      {cols + " LO b x 1\n FX b x 2\nENDATA\n", 1454,
       "VELTO Error  1454: Line 13: 'FX' bound type illegal when prior bound given.\n"},
      {cols + " XX b x 1\nENDATA\n", 1457, "VELTO Error  1457: Line 12: Unrecognized bound type 'XX'.\n"},
      {cols + " UP b z 1\nENDATA\n", 1449, "VELTO Error  1449: Line 12: 'z' is not a column name.\n"},
      {cols + " UP b x 1\n UP c y 1\n UP b y 2\nENDATA\n", 1447,
       "VELTO Error  1447: Line 14: BOUNDS 'b' repeats.\n"},
      {" M 'MARKER' 'INTEND'\nENDATA\n", 1481,
       "VELTO Error  1481: Line 8: 'INTEND' found while not reading integers.\n"},
      {cols + "RANGES\nENDATA\n", 1474, "VELTO Error  1474: Line 12: 'RANGES' section out of order.\n"},
  };
  for (const badcase &c : cases) {
    clearlogs();
    velto::filemodel m;
    EXPECT_EQ(readmps(kHead + c.tail, m), c.status) << c.tail;
    EXPECT_EQ(err_, c.line) << c.tail;
  }
}

// Free-format names with blanks inside (a fixed-column file) are refused,
// never misread.
TEST_F(FileTest, NamesWithBlanksAreRefused) {
  std::string body =
      "NAME x\nROWS\n N obj\n E  ROW 1\n E  ROW 2\nCOLUMNS\n    X 1  ROW 1  1.\nENDATA\n";
  velto::filemodel m;
  EXPECT_EQ(readmps(body, m), 1445);
  EXPECT_NE(warn_.find("Warning, line 4:  extra text '1' ignored.\n"), std::string::npos);
  EXPECT_EQ(err_, "VELTO Error  1445: Row 'ROW' repeats.\n");
}

// Every prefix and every one-byte corruption of a good file gives a status
// or a model, never a crash (the sanitizer build checks the memory).
TEST_F(FileTest, TruncatedAndCorruptedInputsNeverCrash) {
  std::string text = slurp(data("mps_full.mps"));
  for (size_t n = 0; n <= text.size(); ++n) {
    velto::filemodel m;
    int status = readmps(text.substr(0, n), m);
    if (status == 0) {
      EXPECT_EQ(static_cast<int>(m.obj.size()), m.numcols);
      EXPECT_EQ(static_cast<int>(m.rhs.size()), m.numrows);
    }
  }
  for (size_t n = 0; n < text.size(); n += 3) {
    for (char c : {'\0', ' ', '$', '*', '\n', 'X', '-'}) {
      std::string t = text;
      t[n] = c;
      velto::filemodel m;
      readmps(t, m);
    }
  }
}
