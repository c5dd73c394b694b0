// Choice of the format by type, suffix or first byte; the MPS writer's
// layout; the problem is left as it was after a failed read.
#include <cmath>

#include "fileio/support.h"

using namespace velto_test;

namespace {
const char kSmall[] =
    "NAME small\nROWS\n N obj\n L r1\nCOLUMNS\n x obj 1 r1 2\n y obj -1 r1 1\nRHS\n rhs r1 4\nENDATA\n";
const char kSmallLp[] = "\\ comment first\nMinimize\n obj: x - y\nst\n r1: 2 x + y <= 4\nEnd\n";
}  // namespace

TEST_F(FileTest, ReaderChosenByTypeSuffixOrFirstByte) {
  // Type "mps" wins over the suffix.
  std::string a = writefile("model.lp", kSmall);
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, a.c_str(), "mps"), 0) << err_;
  EXPECT_EQ(VLTgetnumcols(env_, lp_), 2);
  // No suffix: '*' or 'N' means MPS, '\' means LP.
  std::string b = writefile("model", std::string("* c\n") + kSmall);
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, b.c_str(), nullptr), 0) << err_;
  std::string c = writefile("other", kSmallLp);
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, c.c_str(), nullptr), 0) << err_;
  EXPECT_EQ(VLTgetnumrows(env_, lp_), 1);
  // A blank first line is legal LP.
  std::string d = writefile("blank", std::string("\n") + kSmallLp);
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, d.c_str(), nullptr), 0) << err_;
  // Unknown first byte, empty file, unknown type: 1424.
  clearlogs();
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, writefile("q", "Qwerty").c_str(), nullptr), 1424);
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, writefile("e", "").c_str(), nullptr), 1424);
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, a.c_str(), "xyz"), 1424);
  EXPECT_EQ(err_,
            "VELTO Error  1424: Invalid filetype.\nVELTO Error  1424: Invalid filetype.\n"
            "VELTO Error  1424: Invalid filetype.\n");
  EXPECT_EQ(VLTgetnumrows(env_, lp_), 1);  // untouched by the failures
  // Missing file and missing name.
  clearlogs();
  std::string missing = path("absent.mps");
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, missing.c_str(), nullptr), 1423);
  EXPECT_EQ(err_, "VELTO Error  1423: Could not open file '" + missing + "' for reading.\n");
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, "", nullptr), 1421);
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, nullptr, nullptr), 1421);
  EXPECT_EQ(VLTreadcopyprob(nullptr, lp_, a.c_str(), nullptr), 1002);
  EXPECT_EQ(VLTreadcopyprob(env_, nullptr, a.c_str(), nullptr), 1009);
}

TEST_F(FileTest, CompressedQpsIsReadThroughThePipe) {
  std::string plain = path("m.qps.gz");
  // Write compressed through the writer, under a name the dispatch maps to MPS.
  std::string src = writefile("m.mps", kSmall);
  ASSERT_EQ(VLTreadcopyprob(env_, lp_, src.c_str(), nullptr), 0);
  ASSERT_EQ(VLTwriteprob(env_, lp_, plain.c_str(), "mps"), 0) << err_;
  VLTLPptr b = VLTcreateprob(env_, nullptr, "b");
  ASSERT_EQ(VLTreadcopyprob(env_, b, plain.c_str(), nullptr), 0) << err_;
  EXPECT_EQ(VLTgetnumcols(env_, b), 2);
  char name[256];
  int surplus = 0;
  ASSERT_EQ(VLTgetprobname(env_, b, name, sizeof name, &surplus), 0);
  EXPECT_EQ(std::string(name), plain);  // the problem takes the file's name
  VLTfreeprob(env_, &b);
}

TEST_F(FileTest, WriterChosenByTypeOrName) {
  ASSERT_EQ(VLTreadcopyprob(env_, lp_, writefile("s.mps", kSmall).c_str(), nullptr), 0);
  EXPECT_EQ(VLTwriteprob(env_, lp_, path("a.b.lp").c_str(), nullptr), 0);
  EXPECT_EQ(slurp(path("a.b.lp")).find("\\Problem name:"), 0u);
  EXPECT_EQ(VLTwriteprob(env_, lp_, path("a.lp.gz").c_str(), nullptr), 0);
  std::string gz = slurp(path("a.lp.gz"));
  ASSERT_GE(gz.size(), 2u);
  EXPECT_EQ(static_cast<unsigned char>(gz[0]), 0x1f);
  clearlogs();
  EXPECT_EQ(VLTwriteprob(env_, lp_, path("a.lpxx").c_str(), nullptr), 1424);
  EXPECT_EQ(VLTwriteprob(env_, lp_, path("noext").c_str(), nullptr), 1424);
  EXPECT_EQ(VLTwriteprob(env_, lp_, path("a.mps").c_str(), "mpsx"), 1424);
  EXPECT_EQ(VLTwriteprob(env_, lp_, "", nullptr), 1421);
  EXPECT_EQ(VLTwriteprob(env_, lp_, path("x.rmp").c_str(), nullptr), 0);
  std::string generic = slurp(path("x.rmp"));
  EXPECT_NE(generic.find(" L  c1\n"), std::string::npos) << generic;
  EXPECT_NE(generic.find("    x1        obj"), std::string::npos) << generic;
  std::string bad = path("no/such/dir/a.mps");
  clearlogs();
  EXPECT_EQ(VLTwriteprob(env_, lp_, bad.c_str(), nullptr), 1422);
  EXPECT_EQ(err_, "VELTO Error  1422: Could not open file '" + bad + "' for writing.\n");
}

TEST_F(FileTest, MpsWriterLayout) {
  // Maximization, integer columns with markers, a general integer with
  // default bounds, an empty column, a negative upper bound, a ranged row.
  std::string src =
      "NAME lay\nOBJSENSE\n MAX\nROWS\n N profit\n G r1\n E r2\nCOLUMNS\n"
      " c1 profit 2 r1 1\n M 'MARKER' 'INTORG'\n i1 profit 3 r2 1\n M 'MARKER' 'INTEND'\n"
      " empty profit 0\nRHS\n rhs r1 1\nRANGES\n rng r1 -2 r2 -1\nBOUNDS\n LI b i1 0\n MI b c1\n UP b c1 -4\n"
      "ENDATA\n";
  ASSERT_EQ(VLTreadcopyprob(env_, lp_, writefile("lay.mps", src).c_str(), nullptr), 0) << err_;
  std::string out = path("out.mps");
  ASSERT_EQ(VLTwriteprob(env_, lp_, out.c_str(), nullptr), 0);
  std::string expect =
      "NAME          " + path("lay.mps") +
      "\nROWS\n N  profit\n G  r1\n L  r2\nCOLUMNS\n"
      "    c1        profit              -2   r1                   1\n"
      "    MARK0000  'MARKER'                 'INTORG'\n"
      "    i1        profit              -3   r2                   1\n"
      "    MARK0001  'MARKER'                 'INTEND'\n"
      "    empty     profit               0\n"
      "RHS\n"
      "    rhs       r1                   1\n"
      "RANGES\n"
      "    rng       r1                   2   r2                   1\n"
      "BOUNDS\n"
      " MI bnd       c1\n"
      " UP bnd       c1                  -4\n"
      " LI bnd       i1                   0\n"
      "ENDATA\n";
  EXPECT_EQ(slurp(out), expect);
  // Read back: a minimization with negated objective, same bounds and types.
  VLTLPptr b = VLTcreateprob(env_, nullptr, "b");
  ASSERT_EQ(VLTreadcopyprob(env_, b, out.c_str(), nullptr), 0) << err_;
  EXPECT_EQ(b->core->objsen, 1);
  EXPECT_EQ(b->core->obj[1], -3.0);
  EXPECT_EQ(b->core->ctype[1], 'I');
  EXPECT_EQ(b->core->ub[1], 1e20);
  EXPECT_EQ(b->core->lb[0], -1e20);
  EXPECT_EQ(b->core->ub[0], -4.0);
  VLTfreeprob(env_, &b);
}

TEST_F(FileTest, MpsWriterLongNamesTakeOneEntryALine) {
  std::string longname(40, 'n');
  std::string src = "NAME l\nROWS\n N obj\n L " + longname + "\n L r2\nCOLUMNS\n x obj 1 " + longname +
                    " 1\n x r2 1\nENDATA\n";
  ASSERT_EQ(VLTreadcopyprob(env_, lp_, writefile("l.mps", src).c_str(), nullptr), 0) << err_;
  std::string out = path("l2.mps");
  ASSERT_EQ(VLTwriteprob(env_, lp_, out.c_str(), nullptr), 0);
  std::string text = slurp(out);
  std::string pad(40 - 1, ' ');
  EXPECT_NE(text.find("    x" + pad + "  obj" + std::string(37, ' ') + "             1\n    x"),
            std::string::npos)
      << text;
  VLTLPptr b = VLTcreateprob(env_, nullptr, "b");
  ASSERT_EQ(VLTreadcopyprob(env_, b, out.c_str(), nullptr), 0);
  EXPECT_EQ(VLTgetnumnz(env_, b), 2);
  VLTfreeprob(env_, &b);
}

TEST_F(FileTest, FailedReadLeavesTheModel) {
  ASSERT_EQ(VLTreadcopyprob(env_, lp_, writefile("good.mps", kSmall).c_str(), nullptr), 0);
  std::string bad = std::string(kSmall).replace(std::string(kSmall).find("r1 4"), 4, "r1 x4");
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, writefile("bad.mps", bad).c_str(), nullptr), 1434);
  EXPECT_EQ(VLTgetnumcols(env_, lp_), 2);
  EXPECT_EQ(lp_->core->rhs[0], 4.0);
}

TEST_F(FileTest, EmptyMarkerPairGivesALinearProgram) {
  std::string src =
      "NAME m\nROWS\n N obj\n G r1\nCOLUMNS\n M1 'MARKER' 'INTORG'\n M2 'MARKER' 'INTEND'\n"
      " x obj 1 r1 1\nRHS\n rhs r1 -5\nRANGES\n rng r1 -5\nENDATA\n";
  ASSERT_EQ(VLTreadcopyprob(env_, lp_, writefile("m.mps", src).c_str(), nullptr), 0) << err_;
  EXPECT_EQ(VLTgetprobtype(env_, lp_), 0);
  EXPECT_EQ(lp_->core->ctype, nullptr);
  EXPECT_EQ(lp_->core->sense[0], 'R');
  EXPECT_EQ(lp_->core->rngval[0], 5.0);  // a G row's range is |R|
}

TEST_F(FileTest, SetsLoadAndQuadraticTermsAreRefused) {
  std::string sos =
      "NAME s\nROWS\n N obj\n L r1\nCOLUMNS\n S1 SOS 'MARKER' 'SOSORG'\n x obj 1 r1 1\n y r1 1\n"
      " S1 SOS 'MARKER' 'SOSEND'\nRHS\nENDATA\n";
  std::string f = writefile("s.mps", sos);
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, f.c_str(), nullptr), 0);
  EXPECT_EQ(err_, "");
  EXPECT_EQ(VLTgetnumsos(env_, lp_), 1);
  EXPECT_EQ(VLTgetprobtype(env_, lp_), 1);
  velto::filemodel m;
  ASSERT_EQ(readmps(sos, m), 0);
  ASSERT_EQ(m.sostype.size(), 1u);
  EXPECT_EQ(m.sosind.size(), 2u);
  EXPECT_EQ(m.soswt[1], 2.0);  // weights by position without a reference row
  std::string q =
      "NAME q\nROWS\n N obj\n L r1\nCOLUMNS\n x obj 1 r1 1\n y r1 1\nRHS\nQUADOBJ\n x x 2\n x y 1\n"
      " x nope 3\nENDATA\n";
  clearlogs();
  velto::filemodel mq;
  ASSERT_EQ(readmps(q, mq), 0);
  EXPECT_EQ(mq.qval.size(), 3u);  // the off-diagonal entry is mirrored
  EXPECT_NE(warn_.find("Warning, line 12:  'nope' is not a variable.\n"), std::string::npos) << warn_;
  EXPECT_EQ(VLTreadcopyprob(env_, lp_, writefile("q.mps", q).c_str(), nullptr), 1018);
  EXPECT_EQ(VLTgetnumcols(env_, lp_), 2);  // the failed read leaves the model as it was
  EXPECT_EQ(VLTgetnumsos(env_, lp_), 1);
}

TEST_F(FileTest, LongLpLines) {
  // A long row with signs reads; a long run without any sign is refused.
  std::string row = " c1:";
  for (int j = 0; j < 120; ++j) row += " + x" + std::to_string(j);
  velto::filemodel m;
  ASSERT_EQ(readlp("Min\n obj: x0\nst\n" + row + " >= 1\nEnd\n", m), 0) << err_;
  EXPECT_EQ(m.numcols, 120);
  std::string noname = " c1: " + std::string(600, 'z') + " >= 1";
  clearlogs();
  EXPECT_EQ(readlp("Min\n obj: x0\nst\n" + noname + "\nEnd\n", m), 1464);
  EXPECT_EQ(err_, "VELTO Error  1464: Line 4: Identifier/name too long to process.\n");
}
