// The files beside an integer model: priority orders, set files and start
// values written and read back (also beside an MPS model of MIPLIB 3), the
// reader's warnings as printed, the writers' and readers' refusals, and
// damaged files that must give a status and leave the model as it was.
#include <algorithm>
#include <fstream>
#include <random>
#include <sstream>

#include "../common/reference.h"
#include "mipfix.h"

namespace miptest {
namespace {

using velto_test::datadir;
using velto_test::modelpath;

class SideFiles : public MipTest {
 protected:
  // Six named columns x0..x5 (integers and binaries), one row.
  void loadnamed() {
    const int n = 6;
    double obj[n] = {1, 2, 3, 4, 5, 6}, lb[n] = {0, 0, 0, 0, 0, 0}, ub[n] = {1, 1, 4, 4, 9, 9};
    double rhs[1] = {10}, val[n] = {1, 1, 1, 1, 1, 1};
    int beg[n] = {0, 1, 2, 3, 4, 5}, cnt[n] = {1, 1, 1, 1, 1, 1}, ind[n] = {0, 0, 0, 0, 0, 0};
    const char *cn[n] = {"x0", "x1", "x2", "x3", "x4", "x5"};
    const char *rn[1] = {"r0"};
    ASSERT_EQ(VLTcopylpwnames(env, lp, n, 1, 1, obj, rhs, "L", beg, cnt, ind, val, lb, ub,
                              nullptr, const_cast<char **>(cn), const_cast<char **>(rn)),
              0);
    ASSERT_EQ(VLTcopyctype(env, lp, "BBIIII"), 0);
  }
  void write(const std::string &name, const std::string &text) {
    std::ofstream(path(name)) << text;
  }
  std::string slurp(const std::string &name) {
    std::ifstream in(path(name));
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
  }
  struct order {
    std::vector<int> ind, pri, dir;
  };
  order getorder(VLTLPptr q) {
    order o;
    int cnt = 0, surplus = 0;
    VLTgetorder(env, q, &cnt, nullptr, nullptr, nullptr, 0, &surplus);
    take(err);
    o.ind.resize(-surplus);
    o.pri.resize(-surplus);
    o.dir.resize(-surplus);
    EXPECT_EQ(VLTgetorder(env, q, &cnt, o.ind.data(), o.pri.data(), o.dir.data(), -surplus,
                          &surplus),
              0);
    return o;
  }
};

TEST_F(SideFiles, OrderSetsAndStartValuesComeBackAsWritten) {
  loadnamed();
  const int oind[4] = {4, 0, 2, 5}, opri[4] = {7, 3, 12, 0}, odir[4] = {1, -1, 0, 1};
  ASSERT_EQ(VLTcopyorder(env, lp, 4, oind, opri, odir), 0);
  const char stype[2] = {'1', '2'};
  const int spri[2] = {5, 9}, sbeg[2] = {0, 2}, sind[5] = {0, 1, 2, 3, 4};
  const double swt[5] = {1, 2, 1.5, 2.5, 40};
  ASSERT_EQ(VLTcopysos(env, lp, 2, 5, stype, spri, sbeg, sind, swt), 0);
  const int mind[3] = {5, 1, 3};
  const double mval[3] = {7, 1, 2.125};
  ASSERT_EQ(VLTcopymipstart(env, lp, 3, mind, mval), 0);

  ASSERT_EQ(VLTordwrite(env, lp, path("m.ord").c_str()), 0);
  ASSERT_EQ(VLTsoswrite(env, lp, path("m.sos").c_str()), 0);
  ASSERT_EQ(VLTmstwrite(env, lp, path("m.mst").c_str()), 0);
  EXPECT_EQ(slurp("m.ord"),
            "NAME          mip   Priority Order\n"
            " UP x4            7\n"
            " DN x0            3\n"
            "    x2           12\n"
            " UP x5            0\n"
            "ENDATA\n");
  EXPECT_EQ(slurp("m.sos"),
            "NAME          mip\n"
            " S1                                5\n"
            "    x0             1\n"
            "    x1             2\n"
            " S2                                9\n"
            "    x2           1.5\n"
            "    x3           2.5\n"
            "    x4            40\n"
            "ENDATA\n");
  EXPECT_EQ(slurp("m.mst"),
            "NAME          mip    MIP Start\n"
            "    x5                                    7\n"
            "    x1                                    1\n"
            "    x3                                2.125\n"
            "ENDATA\n");

  // A fresh copy of the model without its side data takes them back.
  VLTfreeprob(env, &lp);
  int status = 0;
  lp = VLTcreateprob(env, &status, "mip");
  loadnamed();
  ASSERT_EQ(VLTreadcopyorder(env, lp, path("m.ord").c_str()), 0);
  ASSERT_EQ(VLTreadcopysos(env, lp, path("m.sos").c_str()), 0);
  ASSERT_EQ(VLTreadcopymipstart(env, lp, path("m.mst").c_str()), 0);
  EXPECT_EQ(take(warn), "");
  order o = getorder(lp);
  EXPECT_EQ(o.ind, std::vector<int>(oind, oind + 4));
  EXPECT_EQ(o.pri, std::vector<int>(opri, opri + 4));
  EXPECT_EQ(o.dir, std::vector<int>(odir, odir + 4));
  ASSERT_EQ(VLTgetnumsos(env, lp), 2);
  char gtype[2];
  int gpri[2], gbeg[2], gind[5], nz = 0, surplus = 0;
  double gwt[5];
  ASSERT_EQ(VLTgetsos(env, lp, &nz, gtype, gpri, gbeg, gind, gwt, 5, &surplus, 0, 1), 0);
  EXPECT_EQ(std::string(gtype, 2), "12");
  EXPECT_EQ(std::vector<int>(gpri, gpri + 2), std::vector<int>(spri, spri + 2));
  EXPECT_EQ(std::vector<int>(gbeg, gbeg + 2), std::vector<int>(sbeg, sbeg + 2));
  EXPECT_EQ(std::vector<int>(gind, gind + 5), std::vector<int>(sind, sind + 5));
  EXPECT_EQ(std::vector<double>(gwt, gwt + 5), std::vector<double>(swt, swt + 5));
  int mcnt = 0;
  int gmind[3];
  double gmval[3];
  ASSERT_EQ(VLTgetmipstart(env, lp, &mcnt, gmind, gmval, 3, &surplus), 0);
  EXPECT_EQ(std::vector<int>(gmind, gmind + 3), std::vector<int>(mind, mind + 3));
  EXPECT_EQ(std::vector<double>(gmval, gmval + 3), std::vector<double>(mval, mval + 3));

  // The lower-level readers give the same arrays.
  char *cn[6] = {const_cast<char *>("x0"), const_cast<char *>("x1"), const_cast<char *>("x2"),
                 const_cast<char *>("x3"), const_cast<char *>("x4"), const_cast<char *>("x5")};
  int cnt = 0, rind[6], rpri[6], rdir[6];
  ASSERT_EQ(VLTordread(env, path("m.ord").c_str(), 6, cn, &cnt, rind, rpri, rdir), 0);
  EXPECT_EQ(cnt, 4);
  EXPECT_EQ(std::vector<int>(rdir, rdir + 4), std::vector<int>(odir, odir + 4));
  int numsos = 0, numsosnz = 0;
  char *type = nullptr;
  int *pri = nullptr, *beg = nullptr, *ind = nullptr;
  double *wt = nullptr;
  ASSERT_EQ(VLTsosread(env, path("m.sos").c_str(), 6, cn, &numsos, &numsosnz, &type, &pri, &beg,
                       &ind, &wt),
            0);
  EXPECT_EQ(numsos, 2);
  EXPECT_EQ(numsosnz, 5);
  EXPECT_EQ(beg[2], 5);
  EXPECT_EQ(pri[1], 9);
  EXPECT_EQ(wt[4], 40);
  for (void *b : {static_cast<void *>(type), static_cast<void *>(pri), static_cast<void *>(beg),
                  static_cast<void *>(ind), static_cast<void *>(wt)})
    VLTfree(b);
}

// Orders have no section in the MPS and LP forms: they travel in the order
// file beside the model, and the pair gives back the model with its order.
TEST_F(SideFiles, MiplibOrderTravelsBesideTheMpsModel) {
  const std::string file = modelpath("miplib3", "p0201");
  if (!std::ifstream(file).good()) GTEST_SKIP() << "no MIPLIB 3 models under " << datadir();
  ASSERT_EQ(VLTreadcopyprob(env, lp, file.c_str(), nullptr), 0);
  const int n = VLTgetnumcols(env, lp);
  std::mt19937 rng(11);
  std::vector<int> ind, pri, dir;
  for (int j = 0; j < n; j += 2) {
    ind.push_back(j);
    pri.push_back(static_cast<int>(rng() % 1000));
    dir.push_back(static_cast<int>(rng() % 3) - 1);
  }
  ASSERT_EQ(VLTcopyorder(env, lp, static_cast<int>(ind.size()), ind.data(), pri.data(),
                         dir.data()),
            0);
  ASSERT_EQ(VLTwriteprob(env, lp, path("p.mps").c_str(), nullptr), 0);
  ASSERT_EQ(VLTordwrite(env, lp, path("p.ord").c_str()), 0);
  int status = 0;
  VLTLPptr back = VLTcreateprob(env, &status, "back");
  ASSERT_EQ(VLTreadcopyprob(env, back, path("p.mps").c_str(), nullptr), 0);
  ASSERT_EQ(VLTreadcopyorder(env, back, path("p.ord").c_str()), 0);
  order o = getorder(back);
  EXPECT_EQ(o.ind, ind);
  EXPECT_EQ(o.pri, pri);
  EXPECT_EQ(o.dir, dir);
  EXPECT_EQ(VLTgetnumint(env, back) + VLTgetnumbin(env, back),
            VLTgetnumint(env, lp) + VLTgetnumbin(env, lp));
  VLTfreeprob(env, &back);
}

TEST_F(SideFiles, ReadersWarnAsTheyShould) {
  loadnamed();
  // Lower-case direction, the old combined form with start values, a
  // column that does not exist and no ENDATA.
  write("a.ord",
        "NAME x\n"
        " up x1 4\n"
        "    x2 5 2.5\n"
        "    nosuch 1\n");
  ASSERT_EQ(VLTreadcopyorder(env, lp, path("a.ord").c_str()), 0);
  EXPECT_EQ(take(warn),
            "Warning, line 4: 'nosuch' is not a variable.\n"
            "Warning: 'ENDATA' missing.\n"
            "Warning: file contains MIP start values which are ignored.\n");
  order o = getorder(lp);
  EXPECT_EQ(o.ind, (std::vector<int>{1, 2}));
  EXPECT_EQ(o.dir, (std::vector<int>{1, 0}));

  // Twenty name warnings are printed, the rest counted.
  std::string many = "NAME x\n";
  for (int k = 0; k < 23; ++k) many += "    y" + std::to_string(k) + " 1\n";
  write("b.ord", many + "ENDATA\n");
  ASSERT_EQ(VLTreadcopyorder(env, lp, path("b.ord").c_str()), 0);
  std::string w = take(warn);
  EXPECT_EQ(std::count(w.begin(), w.end(), '\n'), 22);
  EXPECT_NE(w.find("Warning, line 21: 'y19' is not a variable.\n"), std::string::npos);
  EXPECT_EQ(w.find("'y20'"), std::string::npos);
  EXPECT_NE(w.find("3 warnings not printed.\n"), std::string::npos);
  EXPECT_NE(w.find("Warning: no priority order values read, no priority order loaded.\n"),
            std::string::npos);

  // Sets without weights: 1, 2, ... and one line each for the first five.
  std::string sets = "NAME x\n";
  for (int k = 0; k < 7; ++k) sets += " S1\n    x0\n    x1\n";
  write("c.sos", sets + "ENDATA\n");
  ASSERT_EQ(VLTreadcopysos(env, lp, path("c.sos").c_str()), 0);
  std::string expect;
  for (int k = 1; k <= 5; ++k)
    expect += "Default weights 1, 2,... generated for set number " + std::to_string(k) + ".\n";
  expect += "Default weight warnings in excess of 5 not printed.\n";
  EXPECT_EQ(take(warn), expect);
  EXPECT_EQ(VLTgetnumsos(env, lp), 7);

  // A repeated start value: the later one stands.
  write("d.mst", "NAME x\n    x3 1\n    x3 2\nENDATA\n");
  ASSERT_EQ(VLTreadcopymipstart(env, lp, path("d.mst").c_str()), 0);
  EXPECT_EQ(take(warn), "Warning, line 3: repeated entry for 'x3'.\n");
  int cnt = 0, surplus = 0, ind = -1;
  double val = 0;
  ASSERT_EQ(VLTgetmipstart(env, lp, &cnt, &ind, &val, 1, &surplus), 0);
  EXPECT_EQ(ind, 3);
  EXPECT_EQ(val, 2.0);
  write("e.mst", "NAME x\nENDATA\n");
  ASSERT_EQ(VLTreadcopymipstart(env, lp, path("e.mst").c_str()), 0);
  EXPECT_EQ(take(warn), "Warning: no MIP start values read, no MIP start loaded.\n");
}

TEST_F(SideFiles, RefusalsOfWritersAndReaders) {
  loadnamed();
  const std::string f = path("x.ord");
  // Nothing to write.
  EXPECT_EQ(VLTordwrite(env, lp, f.c_str()), 3016);
  EXPECT_EQ(VLTsoswrite(env, lp, f.c_str()), 3015);
  EXPECT_EQ(VLTmstwrite(env, lp, f.c_str()), 3020);
  // An order rule makes an order for the write alone.
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_MIPORDTYPE, 1), 0);
  EXPECT_EQ(VLTordwrite(env, lp, f.c_str()), 0);
  EXPECT_NE(slurp("x.ord").find(" x5 "), std::string::npos);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_MIPORDTYPE, 0), 0);
  EXPECT_EQ(VLTordwrite(env, lp, nullptr), 1421);
  EXPECT_EQ(VLTordwrite(env, lp, ""), 1421);
  EXPECT_EQ(VLTreadcopyorder(env, lp, path("missing.ord").c_str()), 1423);
  // A continuous model has no order or start.
  ASSERT_EQ(VLTchgprobtype(env, lp, 0), 0);
  EXPECT_EQ(VLTordwrite(env, lp, f.c_str()), 3003);
  EXPECT_EQ(VLTreadcopyorder(env, lp, f.c_str()), 3003);
  EXPECT_EQ(VLTreadcopymipstart(env, lp, f.c_str()), 3003);
  // A model without names cannot resolve a file's names.
  int status = 0;
  VLTLPptr bare = VLTcreateprob(env, &status, "bare");
  double obj = 1, lb = 0, ub = 1, dv = 0;
  int beg = 0, cnt = 0, di = 0;
  ASSERT_EQ(VLTcopylp(env, bare, 1, 0, 1, &obj, nullptr, nullptr, &beg, &cnt, &di, &dv, &lb, &ub,
                      nullptr),
            0);
  EXPECT_EQ(VLTreadcopysos(env, bare, f.c_str()), 1219);
  VLTfreeprob(env, &bare);
  // Bad files.
  ASSERT_EQ(VLTchgprobtype(env, lp, 1), 0);
  write("bad1.sos", "NAME x\nS3\n    x0 1\nENDATA\n");
  EXPECT_EQ(VLTreadcopysos(env, lp, path("bad1.sos").c_str()), 1462);
  EXPECT_NE(take(err).find("Line 2: Unrecognized section indicator."), std::string::npos);
  write("bad2.ord", "NAME x\n    x1 one\nENDATA\n");
  EXPECT_EQ(VLTreadcopyorder(env, lp, path("bad2.ord").c_str()), 1434);
  write("bad3.mst", "NAME x\n    x1 1 2 3\nENDATA\n");
  EXPECT_EQ(VLTreadcopymipstart(env, lp, path("bad3.mst").c_str()), 1553);
  write("bad4.sos", "NAME x\n S1\n    x0 1\n    x1\nENDATA\n");
  EXPECT_EQ(VLTreadcopysos(env, lp, path("bad4.sos").c_str()), 1553);
  EXPECT_EQ(VLTgetnumsos(env, lp), 0);  // a failed read loads nothing
}

// Every prefix of a good file and random byte damage: a status, never a
// crash, and a failed read leaves the model's side data as it was.
TEST_F(SideFiles, DamagedFilesGiveAStatus) {
  loadnamed();
  const int oind[2] = {4, 0}, opri[2] = {7, 3}, odir[2] = {1, -1};
  ASSERT_EQ(VLTcopyorder(env, lp, 2, oind, opri, odir), 0);
  const char stype[1] = {'2'};
  const int sbeg[1] = {0}, sind[3] = {0, 1, 2};
  const double swt[3] = {1, 2, 3};
  ASSERT_EQ(VLTcopysos(env, lp, 1, 3, stype, nullptr, sbeg, sind, swt), 0);
  const int mind[2] = {5, 1};
  const double mval[2] = {7, 1};
  ASSERT_EQ(VLTcopymipstart(env, lp, 2, mind, mval), 0);
  ASSERT_EQ(VLTordwrite(env, lp, path("g.ord").c_str()), 0);
  ASSERT_EQ(VLTsoswrite(env, lp, path("g.sos").c_str()), 0);
  ASSERT_EQ(VLTmstwrite(env, lp, path("g.mst").c_str()), 0);
  std::mt19937 rng(5);
  for (const char *name : {"g.ord", "g.sos", "g.mst"}) {
    const std::string good = slurp(name);
    for (size_t cut = 0; cut <= good.size() + 40; ++cut) {
      std::string t = good.substr(0, std::min(cut, good.size()));
      if (cut > good.size())  // random damage of the whole file
        for (int k = 0; k < 3; ++k) t[rng() % t.size()] = static_cast<char>(rng() % 256);
      write("t.side", t);
      ASSERT_EQ(VLTcopysos(env, lp, 1, 3, stype, nullptr, sbeg, sind, swt), 0);
      const std::string f = path("t.side");
      const int s = name[2] == 'o'   ? VLTreadcopyorder(env, lp, f.c_str())
                    : name[2] == 's' ? VLTreadcopysos(env, lp, f.c_str())
                                     : VLTreadcopymipstart(env, lp, f.c_str());
      if (s != 0) {
        EXPECT_GT(s, 1000) << name << " cut " << cut;
        EXPECT_EQ(VLTgetnumsos(env, lp), 1);
      }
      EXPECT_EQ(VLTgetnumcols(env, lp), 6);
    }
  }
  take(err);
  take(warn);
}

}  // namespace
}  // namespace miptest
