// Loading and querying a model: round trips, range and space protocol,
// data checks, bad input.
#include <cstring>
#include <functional>

#include "fixture.h"
#include "model/lp.h"

using namespace velto_test;


TEST_F(StoreTest, RandomModelsRoundTripThroughQueries) {
  std::mt19937 rng(12345);
  for (int t = 0; t < 40; ++t) {
    int n = static_cast<int>(rng() % 30), m = static_cast<int>(rng() % 25);
    Model d = randommodel(rng, n, m, t % 2 == 0, t % 3 != 0);
    ASSERT_EQ(load(env, lp, d), 0) << takeErrors();
    SCOPED_TRACE(t);
    expectmodel(env, lp, d, errors);
    // The problem type of a pure LP, and the hidden range columns.
    EXPECT_EQ(VLTgetprobtype(env, lp), 0);
    int ranged = 0;
    for (int i = 0; i < m; ++i) ranged += d.sense[i] == 'R';
    EXPECT_EQ(lp->core->totcols - lp->core->numcols, ranged);
    // A clone returns the same model.
    int status = -1;
    VLTLPptr copy = VLTcloneprob(env, lp, &status);
    ASSERT_EQ(status, 0);
    expectmodel(env, copy, d, errors);
    ASSERT_EQ(VLTfreeprob(env, &copy), 0);
    EXPECT_EQ(copy, nullptr);
  }
  EXPECT_EQ(takeErrors(), "");
}

TEST_F(StoreTest, RangedRowsKeepTheirColumnsPrivate) {
  // Row 0: 'R' with a positive range, row 1 with a zero range, row 2 negative.
  double obj[] = {1, 2}, rhs[] = {1, 2, 3}, lb[] = {0, 0}, ub[] = {1e20, 1e20}, rng[] = {4, 0, -2};
  char sense[] = {'R', 'R', 'R'};
  int beg[] = {0, 2}, cnt[] = {2, 1}, ind[] = {0, 2, 1};
  double val[] = {1, 1, 1};
  ASSERT_EQ(VLTcopylp(env, lp, 2, 3, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, rng), 0);
  EXPECT_EQ(VLTgetnumcols(env, lp), 2);
  EXPECT_EQ(VLTgetnumnz(env, lp), 3);
  const velto::lpcore *c = lp->core;
  ASSERT_EQ(c->totcols, 5);
  EXPECT_EQ(c->allcols, 5);  // no slacks for ranged rows
  // Bounds of the private columns: [0, r] for r > 0, [r, 0] otherwise.
  EXPECT_EQ(c->lb[2], 0.0);
  EXPECT_EQ(c->ub[2], 4.0);
  EXPECT_EQ(c->lb[3], 0.0);
  EXPECT_EQ(c->ub[3], 0.0);
  EXPECT_EQ(c->lb[4], -2.0);
  EXPECT_EQ(c->ub[4], 0.0);
  EXPECT_EQ(c->matval[c->matbeg[2]], -1.0);
  int got = 0, sur = 0, rbeg[3], rind[8];
  double rval[8];
  ASSERT_EQ(VLTgetrows(env, lp, &got, rbeg, rind, rval, 8, &sur, 0, 2), 0);
  EXPECT_EQ(got, 3);  // the private entries stay out of sight
  double r[3];
  ASSERT_EQ(VLTgetrngval(env, lp, r, 0, 2), 0);
  EXPECT_EQ(r[0], 4.0);
  EXPECT_EQ(r[2], -2.0);
  double coef = 0;
  ASSERT_EQ(VLTgetcoef(env, lp, 2, -2, &coef), 0);
  EXPECT_EQ(coef, -2.0);
  EXPECT_EQ(VLTgetcoef(env, lp, -1, -1, &coef), 1200);
  EXPECT_EQ(VLTgetcoef(env, lp, 0, 2, &coef), 1200);
}

TEST_F(StoreTest, BoundsAtTheInfinityThreshold) {
  double obj[] = {0, 0, 0}, lb[] = {-1e17, -9.9e16, 0}, ub[] = {1e17, 9.9e16, 1e30};
  int beg[] = {0, 0, 0}, cnt[] = {0, 0, 0}, ind[] = {0};
  double val[] = {0}, rhs[] = {0};
  char sense[] = {'E'};
  ASSERT_EQ(VLTcopylp(env, lp, 3, 0, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
  double out[3];
  ASSERT_EQ(VLTgetlb(env, lp, out, 0, 2), 0);
  EXPECT_EQ(out[0], -1e20);
  EXPECT_EQ(out[1], -9.9e16);
  ASSERT_EQ(VLTgetub(env, lp, out, 0, 2), 0);
  EXPECT_EQ(out[0], 1e20);
  EXPECT_EQ(out[1], 9.9e16);
  EXPECT_EQ(out[2], 1e20);
}

TEST_F(StoreTest, EmptyModelAndZeroCoefficients) {
  ASSERT_EQ(VLTcopylp(env, lp, 0, 0, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                      nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(VLTgetnumrows(env, lp), 0);
  EXPECT_EQ(VLTgetnumcols(env, lp), 0);
  EXPECT_EQ(VLTgetnumnz(env, lp), 0);
  double x;
  EXPECT_EQ(VLTgetobj(env, lp, &x, 0, -1), 0);  // empty range
  // An explicit zero is not stored.
  double obj[] = {1}, rhs[] = {1, 1}, lb[] = {0}, ub[] = {1}, val[] = {0.0, 2.0};
  char sense[] = {'L', 'G'};
  int beg[] = {0}, cnt[] = {2}, ind[] = {0, 1};
  ASSERT_EQ(VLTcopylp(env, lp, 1, 2, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
  EXPECT_EQ(VLTgetnumnz(env, lp), 1);
  double c = -1;
  ASSERT_EQ(VLTgetcoef(env, lp, 0, 0, &c), 0);
  EXPECT_EQ(c, 0.0);
  EXPECT_EQ(lp->core->allcols, 3);  // one column, two slacks
  EXPECT_EQ(lp->core->slackval[1], -1.0);
}

TEST_F(StoreTest, RangeErrorsPrintTheirLines) {
  Model d;
  std::mt19937 rng(7);
  d = randommodel(rng, 5, 4, true, false);
  ASSERT_EQ(load(env, lp, d), 0);
  double a[10];
  EXPECT_EQ(VLTgetobj(env, lp, a, -1, 2), 1200);
  EXPECT_EQ(takeErrors(),
            "VELTO Error  1205: VLTgetobj: 'begin' value -1 is less than 0.\n"
            "VELTO Error  1200: Index is outside range of valid values.\n");
  EXPECT_EQ(VLTgetrhs(env, lp, a, -1, 4), 1200);
  EXPECT_EQ(takeErrors(),
            "VELTO Error  1205: VLTgetrhs: 'begin' value -1 is less than 0.\n"
            "VELTO Error  1206: VLTgetrhs: 'end' value 4 is greater than 3.\n"
            "VELTO Error  1200: Index is outside range of valid values.\n");
  char *names[5];
  char store[100];
  int sur;
  EXPECT_EQ(VLTgetcolname(env, lp, names, store, 100, &sur, 0, 5), 1200);
  EXPECT_EQ(takeErrors(),
            "VELTO Error  1206: VLTgetcname: 'end' value 5 is greater than 4.\n"
            "VELTO Error  1200: Index is outside range of valid values.\n");
  EXPECT_EQ(VLTgetrowname(env, lp, names, store, 100, &sur, -3, 0), 1200);
  EXPECT_EQ(takeErrors(),
            "VELTO Error  1205: VLTgetrname: 'begin' value -3 is less than 0.\n"
            "VELTO Error  1200: Index is outside range of valid values.\n");
  // A null array with a good range.
  EXPECT_EQ(VLTgetub(env, lp, nullptr, 0, 1), 1004);
  EXPECT_EQ(takeErrors(), "VELTO Error  1004: Null pointer for required data.\n");
}

TEST_F(StoreTest, ShortBuffersGiveNegativeSurplus) {
  Model d;
  std::mt19937 rng(3);
  d = randommodel(rng, 4, 3, true, false);
  d.cnames = {"a", "bb", "ccc", "dddd"};
  ASSERT_EQ(load(env, lp, d), 0);
  char *names[4] = {nullptr, nullptr, nullptr, nullptr};
  char store[16];
  int sur = 0;
  // Space 0: the total needed, negated (2 + 3 + 4 + 5 bytes).
  EXPECT_EQ(VLTgetcolname(env, lp, names, store, 0, &sur, 0, 3), 1207);
  EXPECT_EQ(sur, -14);
  EXPECT_EQ(takeErrors(), "VELTO Error  1207: Insufficient array length.\n");
  // Room for the first two: they are delivered, the rest are null.
  EXPECT_EQ(VLTgetcolname(env, lp, names, store, 6, &sur, 0, 3), 1207);
  EXPECT_EQ(sur, -8);
  EXPECT_STREQ(names[0], "a");
  EXPECT_STREQ(names[1], "bb");
  EXPECT_EQ(names[2], nullptr);
  EXPECT_EQ(names[3], nullptr);
  takeErrors();
  // Problem name: same protocol on one text.
  ASSERT_EQ(VLTchgprobname(env, lp, "production"), 0);
  char buf[32];
  EXPECT_EQ(VLTgetprobname(env, lp, buf, 0, &sur), 1207);
  EXPECT_EQ(sur, -11);
  EXPECT_EQ(VLTgetprobname(env, lp, buf, 5, &sur), 1207);
  EXPECT_EQ(sur, -6);
  EXPECT_STREQ(buf, "prod");
  EXPECT_EQ(VLTgetprobname(env, lp, buf, 32, &sur), 0);
  EXPECT_STREQ(buf, "production");
  EXPECT_EQ(sur, 21);
  takeErrors();
  // Columns: space 0 with a surplus pointer learns the size; without one it is 1004.
  int nz = 0, beg[4] = {9, 9, 9, 9};
  EXPECT_EQ(VLTgetcols(env, lp, &nz, beg, nullptr, nullptr, 0, &sur, 0, 3),
            d.nonzeros() > 0 ? 1207 : 0);
  EXPECT_EQ(sur, -d.nonzeros());
  EXPECT_EQ(beg[0], 0);
  if (d.nonzeros() > 0) {
    EXPECT_EQ(VLTgetcols(env, lp, &nz, beg, nullptr, nullptr, 0, nullptr, 0, 3), 1004);
  }
}

TEST_F(StoreTest, DataChecksPrintExactLinesAndLeaveTheModel) {
  datacheck(1);
  Model good;
  std::mt19937 rng(99);
  good = randommodel(rng, 6, 5, true, true);
  ASSERT_EQ(load(env, lp, good), 0);
  struct Case {
    const char *what;
    std::function<void(Model &)> spoil;
    int status;
    const char *line;
  };
  std::vector<Case> cases = {
      {"sense", [](Model &d) { d.sense[2] = 'X'; }, 1215, "VELTO Error  1215: Illegal sense entry 2.\n"},
      {"objsen", [](Model &d) { d.objsen = 0; }, 1003,
       "VELTO Error  1003: Bad argument to Callable Library function.\n"},
      {"descending", [](Model &d) { d.beg[3] = d.beg[2] - 1; d.cnt[2] = 0; d.cnt[3] = 0; }, 1226,
       "VELTO Error  1226: Array entry 3 not ascending.\n"},
      {"count", [](Model &d) { d.cnt[1] = 6; }, 1227,
       "VELTO Error  1227: Count entry 1 negative or larger than allowed.\n"},
      {"rowindex", [](Model &d) { d.cnt[0] = 1; d.ind[d.beg[0]] = 5; }, 1201, nullptr},
      {"duplicate", [](Model &d) {
         d.beg = {0, 2, 2, 2, 2, 2}; d.cnt = {2, 0, 0, 0, 0, 0};
         d.ind = {3, 3}; d.val = {1, 2}; }, 1222, "VELTO Error  1222: Duplicate entry.\n"},
      {"nullname", [](Model &) {}, 1224, "VELTO Error  1224: Null pointer 4 in name array.\n"},
  };
  for (auto &cs : cases) {
    SCOPED_TRACE(cs.what);
    Model bad = good;
    cs.spoil(bad);
    auto cn = bad.cptr(), rn = bad.rptr();
    if (std::string(cs.what) == "nullname") cn[4] = nullptr;
    int status = VLTcopylpwnames(env, lp, bad.n, bad.m, bad.objsen, bad.obj.data(), bad.rhs.data(),
                                 bad.sense.data(), bad.beg.data(), bad.cnt.data(), bad.ind.data(),
                                 bad.val.data(), bad.lb.data(), bad.ub.data(), bad.rng.data(),
                                 cn.data(), rn.data());
    EXPECT_EQ(status, cs.status);
    std::string lines = takeErrors();
    if (cs.line) EXPECT_EQ(lines, cs.line);
    else EXPECT_EQ(lines.rfind("VELTO Error  1201: Column index ", 0), 0u) << lines;  // position
    expectmodel(env, lp, good, errors);  // nothing lost
  }
  // Overlapping columns print and go on; the status stays.
  Model ov = good;
  ov.beg = {0, 1, 1, 1, 1, 1};
  ov.cnt = {2, 0, 0, 0, 0, 0};
  ov.ind = {0, 1};
  ov.val = {1, 1};
  auto cn = ov.cptr(), rn = ov.rptr();
  EXPECT_EQ(VLTcopylpwnames(env, lp, ov.n, ov.m, 1, ov.obj.data(), ov.rhs.data(), ov.sense.data(),
                            ov.beg.data(), ov.cnt.data(), ov.ind.data(), ov.val.data(), ov.lb.data(),
                            ov.ub.data(), nullptr, cn.data(), rn.data()), 1228);
  EXPECT_EQ(takeErrors(), "VELTO Error  1228: Count entry 0 indicates overlapping entries.\n");
}

// Without the data check repeated entries are taken and added up (see
// frame_data_test.cpp); unsafe indices are refused all the same.
TEST_F(StoreTest, WithoutDataCheckDuplicatesPassButUnsafeIndicesDoNot) {
  double obj[] = {1}, rhs[] = {1, 1}, lb[] = {0}, ub[] = {1}, val[] = {1.0, 2.0};
  char sense[] = {'L', 'G'};
  int beg[] = {0}, cnt[] = {2}, dup[] = {1, 1}, wild[] = {0, 7};
  EXPECT_EQ(VLTcopylp(env, lp, 1, 2, 1, obj, rhs, sense, beg, cnt, dup, val, lb, ub, nullptr), 0);
  EXPECT_EQ(VLTgetnumnz(env, lp), 1);
  EXPECT_EQ(VLTcopylp(env, lp, 1, 2, 1, obj, rhs, sense, beg, cnt, wild, val, lb, ub, nullptr), 1201);
  EXPECT_EQ(takeErrors(), "VELTO Error  1201: Column index 1 out of range.\n");
  EXPECT_EQ(VLTgetnumnz(env, lp), 1);
}

TEST_F(StoreTest, BadHandlesAndArguments) {
  double x = 0;
  EXPECT_EQ(VLTgetobj(nullptr, lp, &x, 0, 0), 1002);
  EXPECT_EQ(VLTgetobj(env, nullptr, &x, 0, 0), 1009);
  EXPECT_EQ(takeErrors(), "VELTO Error  1009: No problem exists.\n");
  EXPECT_EQ(VLTgetnumrows(env, nullptr), 0);
  EXPECT_EQ(VLTgetprobtype(env, nullptr), -1);
  takeErrors();
  int status = 0;
  EXPECT_EQ(VLTcreateprob(env, &status, nullptr), nullptr);
  EXPECT_EQ(status, 1004);
  EXPECT_NE(VLTcreateprob(env, nullptr, ""), nullptr);  // null status, empty name
  EXPECT_EQ(VLTcopylp(env, lp, -1, 0, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                      nullptr, nullptr, nullptr, nullptr), 1003);
  EXPECT_EQ(VLTcopylp(env, lp, 2, 0, 1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                      nullptr, nullptr, nullptr, nullptr), 1004);
  VLTLPptr none = nullptr;
  EXPECT_EQ(VLTfreeprob(env, &none), 1004);
  EXPECT_EQ(VLTfreeprob(env, nullptr), 1004);
  // A freed handle fails the problem test (its memory is released; check a copy).
  VLTLPptr q = VLTcreateprob(env, &status, "q");
  EXPECT_EQ(VLTcopyobjname(env, q, "cost"), 0);
  char buf[16];
  int sur;
  EXPECT_EQ(VLTgetobjname(env, q, buf, 16, &sur), 0);
  EXPECT_STREQ(buf, "cost");
  EXPECT_EQ(VLTfreeprob(env, &q), 0);
  EXPECT_EQ(q, nullptr);
}

TEST_F(StoreTest, MixedIntegerLoadIsDroppedByACopy) {
  double obj[] = {1, 1}, lb[] = {0, 0}, ub[] = {1, 10}, rhs[] = {1}, val[] = {1, 1};
  int beg[] = {0, 1}, cnt[] = {1, 1}, ind[] = {0, 0};
  char sense[] = {'L'}, ctype[] = {'B', 'I'};
  ASSERT_EQ(VLTcopylp(env, lp, 2, 1, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
  char out[2];
  EXPECT_EQ(VLTgetctype(env, lp, out, 0, 1), 3003);
  takeErrors();
  ASSERT_EQ(VLTcopyctype(env, lp, ctype), 0);
  EXPECT_EQ(VLTgetprobtype(env, lp), 1);
  ASSERT_EQ(VLTgetctype(env, lp, out, 0, 1), 0);
  EXPECT_EQ(out[1], 'I');
  int one = 1;
  char cont = 'C';
  ASSERT_EQ(VLTchgctype(env, lp, 1, &one, &cont), 0);
  ASSERT_EQ(VLTgetctype(env, lp, out, 0, 1), 0);
  EXPECT_EQ(out[1], 'C');
  EXPECT_EQ(lp->core->numint, 1);
  datacheck(1);
  char badtype[] = {'B', 'Q'};
  EXPECT_EQ(VLTcopyctype(env, lp, badtype), 3021);
  EXPECT_EQ(takeErrors(), "VELTO Error  3021: Illegal ctype entry 1.\n");
  ASSERT_EQ(VLTcopylp(env, lp, 2, 1, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
  EXPECT_EQ(takeWarnings(), "Freeing MIP data.\n");
  EXPECT_EQ(VLTgetprobtype(env, lp), 0);
}

TEST_F(StoreTest, FuzzedLoadsFailCleanly) {
  // Random arrays with random counts: every call must return a status, and the
  // model must stay queryable.
  datacheck(1);
  std::mt19937 rng(2024);
  for (int t = 0; t < 300; ++t) {
    int n = static_cast<int>(rng() % 6), m = static_cast<int>(rng() % 6);
    std::vector<double> obj(n + 1), lb(n + 1), ub(n + 1), rhs(m + 1), val(20);
    std::vector<int> beg(n + 1), cnt(n + 1), ind(20);
    std::vector<char> sense(m + 1);
    for (int j = 0; j < n; ++j) {
      beg[j] = static_cast<int>(rng() % 12) - 1;
      cnt[j] = static_cast<int>(rng() % 5) - 1;
    }
    for (auto &i : ind) i = static_cast<int>(rng() % 8) - 1;
    for (auto &v : val) v = static_cast<double>(rng() % 3);
    for (int i = 0; i < m; ++i) sense[i] = "LGERX"[rng() % 5];
    // Keep starts inside the arrays so that the test itself reads valid memory.
    for (int j = 0; j < n; ++j)
      if (beg[j] >= 0 && cnt[j] > 0 && beg[j] + cnt[j] > 20) cnt[j] = 20 - beg[j];
    int status = VLTcopylp(env, lp, n, m, 1, obj.data(), rhs.data(), sense.data(), beg.data(),
                           cnt.data(), ind.data(), val.data(), lb.data(), ub.data(), nullptr);
    if (status == 0) {
      EXPECT_EQ(VLTgetnumcols(env, lp), n);
      EXPECT_EQ(VLTgetnumrows(env, lp), m);
    } else {
      EXPECT_GT(status, 1000);
    }
    int nz = VLTgetnumnz(env, lp);
    EXPECT_GE(nz, 0);
  }
  takeErrors();
}
