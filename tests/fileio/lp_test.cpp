// The LP reader and writer: expressions across lines, bounds, integer
// lists, exact error lines, number and line forms of the writer.
#include <cmath>

#include "fileio/support.h"

using namespace velto_test;

TEST_F(FileTest, LpFullModelReadsExpressionsAcrossLines) {
  velto::filemodel m;
  ASSERT_EQ(readlp(slurp(data("lp_full.lp")), m), 0) << err_;
  EXPECT_EQ(m.objsen, -1);
  EXPECT_EQ(m.objname, "profit");
  ASSERT_EQ(m.numcols, 4);  // x1 x2 y z, in order of appearance
  ASSERT_EQ(m.numrows, 5);
  EXPECT_EQ(m.obj[0], 3.0);
  EXPECT_EQ(m.obj[2], -0.4);
  EXPECT_EQ(m.obj[3], 0.0);  // "+ 0 z" keeps the column
  EXPECT_EQ(std::string(m.sense.begin(), m.sense.end()), "LGEGL");
  EXPECT_EQ(m.rhs[1], -2.0);  // right-hand side on the next line
  EXPECT_EQ(m.rhs[3], -5.0);
  EXPECT_EQ(coef(m, 3, 3), -1.0);  // "-" ending a line, term on the next
  EXPECT_EQ(coef(m, 4, 1), 1.0);   // -x2 + 2 x2 add up
  EXPECT_EQ(nameindex(m.rownames, "c5"), 4);  // unnamed row numbered from 1
  EXPECT_EQ(m.lb[0], 0.0);
  EXPECT_EQ(m.ub[0], 40.0);
  EXPECT_EQ(m.lb[1], -1e20);
  EXPECT_EQ(m.lb[2], -5.0);
  EXPECT_EQ(m.lb[3], -1e20);
  EXPECT_EQ(m.ub[3], 1e20);
  EXPECT_EQ(std::string(m.ctype.begin(), m.ctype.end()), "ICCC");
  EXPECT_EQ(warn_, "Line 21: Name 'w' does not exist.\n");
}

TEST_F(FileTest, LpIntegerSectionsFollowTheirBounds) {
  velto::filemodel m;
  ASSERT_EQ(readlp(slurp(data("lp_int.lp")), m), 0) << err_;
  // a: Integers without bound -> binary; c: Integers with bound 10 -> general;
  // b: Generals without bound -> infinite upper bound; d: fixed, continuous;
  // e_1: semi-continuous.
  EXPECT_EQ(std::string(m.ctype.begin(), m.ctype.end()), "BIICS");
  EXPECT_EQ(m.ub[0], 1.0);
  EXPECT_EQ(m.ub[1], 1e20);
  EXPECT_EQ(m.ub[2], 10.0);
  EXPECT_EQ(m.lb[3], 3.0);
  EXPECT_EQ(m.ub[3], 3.0);
}

TEST_F(FileTest, LpBoundForms) {
  std::string head = "Min\n obj: x + y + z\nst\n r: x + y + z >= 1\nBounds\n";
  struct bc {
    const char *line;
    double lb, ub;
  };
  const bc cases[] = {{"x >= -inf", -1e20, 1e20}, {"x free", -1e20, 1e20}, {"xfree", -1e20, 1e20},
                      {"0 <= x <= 1", 0, 1},      {"1 >= x >= 0", 0, 1},    {"x = 2.5", 2.5, 2.5},
                      {"-INFINITY <= x <= 4", -1e20, 4}, {"x <= -3", 0, -3}};
  for (const bc &c : cases) {
    clearlogs();
    velto::filemodel m;
    ASSERT_EQ(readlp(head + " " + c.line + "\nEnd\n", m), 0) << c.line << err_;
    EXPECT_EQ(m.lb[0], c.lb) << c.line;
    EXPECT_EQ(m.ub[0], c.ub) << c.line;
  }
  velto::filemodel m;
  ASSERT_EQ(readlp(head + " 1 <= x >= 0\nEnd\n", m), 0);
  EXPECT_EQ(warn_, "Warning, line 6: Possible sense conflict.\n");
  clearlogs();
  EXPECT_EQ(readlp(head + " x 4\nEnd\n", m), 1621);
  EXPECT_EQ(err_, "VELTO Error  1621: Line 6: No bound sense.\n");
  clearlogs();
  EXPECT_EQ(readlp(head + " 4 x\nEnd\n", m), 1622);
  EXPECT_EQ(err_, "VELTO Error  1622: Line 6: Invalid bound sense.\n");
  clearlogs();
  EXPECT_EQ(readlp(head + " 0 <= x <=\nEnd\n", m), 1623);
  EXPECT_EQ(err_, "VELTO Error  1623: Line 6: Missing bound number.\n");
}

TEST_F(FileTest, LpErrorsGiveExactStatusAndLine) {
  struct badcase {
    const char *text;
    int status;
    const char *line;
  };
  const badcase cases[] = {
      {"Minimum\n obj: x\nEnd\n", 1436, "VELTO Error  1436: Max or Min missing.\n"},
      {"Min\n obj: x\nst\n c1: e1 + x >= 0\nEnd\n", 1617,
       "VELTO Error  1617: Line 4: 'e1' not valid identifier.\n"},
      {"Min\n obj: x +\n + y\nEnd\n", 1602, "VELTO Error  1602: Lines 2,3: Adjacent signs.\n"},
      {"Min\n obj: x\nst\n c: x +\n <= 2\nEnd\n", 1604,
       "VELTO Error  1604: Lines 4,5: Adjacent sign and sense.\n"},
      {"Min\n obj: x <= 2\nEnd\n", 1603, "VELTO Error  1603: Line 2: RHS sense in objective.\n"},
      {"Min\n obj: x\nst\n c: [ x ^ 2 ] <= 2\nEnd\n", 1605,
       "VELTO Error  1605: Line 4: Quadratic term in constraint.\n"},
      {"Min\n obj: x y z : 3\nEnd\n", 1607, "VELTO Error  1607: Line 2: Expected '+' or '-', found ':'.\n"},
      {"Min\n obj: x\nst\n c: x y | 3\nEnd\n", 1608,
       "VELTO Error  1608: Line 4: Expected '+','-' or sense, found '|'.\n"},
      {"Min\n obj: x\nst\n c: x + y >= 2 z\nEnd\n", 1434,
       "VELTO Error  1434: Line 4: Couldn't convert '2z' to a number.\n"},
      {"Min\n obj: 2e+ x\nEnd\n", 1618, "VELTO Error  1618: Line 2: Exponent '2e+' not ended with number.\n"},
      {"Min\n obj: x + [ x ^ 3 ] / 2\nEnd\n", 1613,
       "VELTO Error  1613: Line 2: Quadratic exponent must be 2.\n"},
      {"Min\n obj: x + [ x ^ 2 ] / 3\nEnd\n", 1619,
       "VELTO Error  1619: Line 2: Missing or incorrect divisor for Q terms.\n"},
  };
  for (const badcase &c : cases) {
    clearlogs();
    velto::filemodel m;
    EXPECT_EQ(readlp(c.text, m), c.status) << c.text;
    EXPECT_EQ(err_, c.line) << c.text;
  }
}

// A row that the file leaves open: at the end of the file or at the next
// section, the error names the line where it was noticed.
TEST_F(FileTest, LpUnterminatedRowsAreErrors) {
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, data("lp_unterminated.lp").c_str(), nullptr), 1615);
  EXPECT_EQ(err_, "VELTO Error  1615: Line 5: Expected number, found ' '.\n");
  clearlogs();
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, data("lp_norhs.lp").c_str(), nullptr), 1610);
  EXPECT_EQ(err_, "VELTO Error  1610: Line 5: Expected RHS coefficient.\n");
  clearlogs();
  velto::filemodel m;
  EXPECT_EQ(readlp("Min\n obj: x\nst\n c: x + y\nBounds\nEnd\n", m), 1608);
  EXPECT_EQ(err_, "VELTO Error  1608: Line 5: Expected '+','-' or sense, found 'B'.\n");
  EXPECT_EQ(VLTgetnumcols(env_, lp_), 0);
}

TEST_F(FileTest, LpWarningsForMissingEndRepeatsAndObjective) {
  velto::filemodel m;
  ASSERT_EQ(readlp("Min\n obj: x +\nst\n a: x >= 1\n a: x <= 3\n obj: x >= 0\n", m), 0);
  EXPECT_EQ(warn_,
            "Warning, line 2: Objective ended unexpectedly.\n"
            "Warning: 'End' missing.\n"
            "Row 'a' repeats.\n"
            "Row 'obj' repeats.\n");
  EXPECT_EQ(m.numrows, 3);
}

TEST_F(FileTest, LpNamesAndCoefficientForms) {
  velto::filemodel m;
  // Blanks inside a name join it; "2e" before a name gives the letter to it;
  // a blank ends a number, so "0.5 EE1" is a coefficient and a name.
  ASSERT_EQ(readlp("Max\n 2 x y + 2ex - 0.5 EE1 + 3e1 z\nEnd\n", m), 0) << err_;
  ASSERT_EQ(m.numcols, 4);
  EXPECT_EQ(std::string(m.colnames.get(0)), "xy");
  EXPECT_EQ(std::string(m.colnames.get(1)), "ex");
  EXPECT_EQ(std::string(m.colnames.get(2)), "EE1");
  EXPECT_EQ(m.obj[0], 2.0);
  EXPECT_EQ(m.obj[1], 2.0);
  EXPECT_EQ(m.obj[2], -0.5);
  EXPECT_EQ(m.obj[3], 30.0);
  EXPECT_EQ(m.objname, "obj");
}

TEST_F(FileTest, LpQuadraticObjectiveIsReadAndRefusedAtLoad) {
  velto::filemodel m;
  ASSERT_EQ(readlp(slurp(data("lp_quad.lp")), m), 0) << err_;
  // [ x^2 + 2 x*y ] / 2: diagonal 1, each mirror entry 1.
  ASSERT_EQ(m.qval.size(), 3u);
  EXPECT_EQ(m.qval[0], 1.0);
  EXPECT_EQ(m.qval[1], 1.0);
  EXPECT_EQ(m.qval[2], 1.0);
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, data("lp_quad.lp").c_str(), nullptr), 1018);
  EXPECT_EQ(VLTgetnumcols(env_, lp_), 0);
}

TEST(LpNumbers, WriterForm) {
  char b[48];
  auto f = [&](double v) {
    velto::lpnumber(v, b);
    return std::string(b);
  };
  EXPECT_EQ(f(1e15), "1e+15");
  EXPECT_EQ(f(1e14), "100000000000000");
  EXPECT_EQ(f(0.1), "0.1");
  EXPECT_EQ(f(-2.5), "-2.5");
  EXPECT_EQ(f(1.5e-7), "1.5e-7");
  EXPECT_EQ(f(1e-6), "0.000001");
  EXPECT_EQ(f(1.0 / 3.0), "0.333333333333333");
}

// Writer details read back through the file.
TEST_F(FileTest, LpWriterLayout) {
  std::string src =
      "NAME layout\nROWS\n N 1cost\n G r1\n L r2\nCOLUMNS\n"
      " x 1cost 1.0000000000001 r1 1.000000000001\n y r1 1\n lonely 1cost 0\n"
      " g 1cost 1 r2 1\nRHS\n rhs r1 2 r2 5\nRANGES\n rng r1 3\nBOUNDS\n LI b g 0\nENDATA\n";
  std::string mps = writefile("layout.mps", src);
  ASSERT_EQ(VLTreadcopyprob(env_, lp_, mps.c_str(), nullptr), 0) << err_;
  std::string out = path("layout.lp");
  ASSERT_EQ(VLTwriteprob(env_, lp_, out.c_str(), nullptr), 0) << err_;
  std::string text = slurp(out);
  EXPECT_EQ(text.find("\\Problem name: " + mps + "\n\nMinimize\n c1cost: x + 0 lonely + g\n"), 0u)
      << text;
  EXPECT_NE(text.find(" r1: 1.000000000001 x + y - Rgr1  = 2\n"), std::string::npos) << text;
  EXPECT_NE(text.find(" 0 <= Rgr1 <= 3\n"), std::string::npos) << text;
  EXPECT_NE(text.find("      g >= 0\n"), std::string::npos) << text;  // keeps g general
  EXPECT_NE(text.find("Generals\n g \n"), std::string::npos) << text;
  // Read back: one more column for the ranged row, the lonely column kept.
  VLTLPptr b = VLTcreateprob(env_, nullptr, "b");
  ASSERT_EQ(VLTreadcopyprob(env_, b, out.c_str(), nullptr), 0) << err_;
  EXPECT_EQ(VLTgetnumcols(env_, b), 5);
  EXPECT_EQ(b->core->ctype[2], 'I');
  EXPECT_EQ(b->core->ub[2], 1e20);
  VLTfreeprob(env_, &b);
}

TEST_F(FileTest, LpWriterWithoutRowsHasNoConstraintSection) {
  velto::filemodel m;
  ASSERT_EQ(readlp("Min\n obj: x + 2 y\nEnd\n", m), 0);
  std::string out = path("norows.lp");
  ASSERT_EQ(velto::lpwritefile(env_, out.c_str(), m), 0);
  std::string text = slurp(out);
  EXPECT_EQ(text.find("Subject To"), std::string::npos);
  EXPECT_NE(text.find(" obj: x + 2 y\nEnd\n"), std::string::npos) << text;
}
