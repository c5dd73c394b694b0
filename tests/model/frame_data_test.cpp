// Numbers that are not numbers, and entries repeated in one place.
//
// Rules pinned here:
//  - NaN is refused with 1225 wherever data enters the model, with the data
//    check on or off; so is an infinity anywhere but in a bound.  A lower
//    bound of -infinity and an upper bound of +infinity mean "no bound" and
//    read back as -1e20 / 1e20.  In VLTchgbds an infinity follows the rules
//    of 1e20 (a lower bound of +infinity is ignored with a warning).
//  - Repeated (row, column) entries: with the data check on they are refused
//    (1222); with it off they add up, so the getters, the writers and the
//    optimizers all see one entry holding the sum.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "common/lpcheck.h"
#include "model/fixture.h"

namespace {

using velto_test::StoreTest;

const double kNaN = std::numeric_limits<double>::quiet_NaN();
const double kInf = std::numeric_limits<double>::infinity();

// max x0 + x1  s.t.  x0 + 2 x1 <= 4,  3 x0 + x1 <= 6,  0 <= x <= 10.
struct Small {
  double obj[2] = {1, 1}, lb[2] = {0, 0}, ub[2] = {10, 10};
  double rhs[2] = {4, 6}, rng[2] = {0, 0};
  char sense[2] = {'L', 'L'};
  int beg[2] = {0, 2}, cnt[2] = {2, 2}, ind[4] = {0, 1, 0, 1};
  double val[4] = {1, 3, 2, 1};
};

class FrameData : public StoreTest {
 protected:
  int load(Small &s, const double *rng = nullptr) {
    return VLTcopylp(env, lp, 2, 2, -1, s.obj, s.rhs, s.sense, s.beg, s.cnt, s.ind, s.val, s.lb,
                     s.ub, rng);
  }
  // Solves and checks the answer independently: a number, a feasible point,
  // and the objective recomputed from the model.
  void solvesToNumber() {
    ASSERT_EQ(VLTlpopt(env, lp), 0);
    int stat = 0;
    double obj = 0;
    ASSERT_EQ(VLTsolution(env, lp, &stat, &obj, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(stat, 1);
    EXPECT_TRUE(std::isfinite(obj));
    lpcheck::model md = lpcheck::from_api(env, lp);
    std::vector<double> x(md.n);
    ASSERT_EQ(VLTgetx(env, lp, x.data(), 0, md.n - 1), 0);
    EXPECT_LE(lpcheck::primal_violation(md, x), 1e-9);
    EXPECT_NEAR(md.objsen * lpcheck::objective(md, x), obj, 1e-9 * (1 + std::fabs(obj)));
  }
  std::string line1225(int k) {
    return "VELTO Error  1225: Numeric entry " + std::to_string(k) +
           " is not a double precison number (NAN).\n";
  }
};

TEST_F(FrameData, NonFiniteDataRefusedAtCopylpWithAndWithoutDatacheck) {
  for (int check : {0, 1}) {
    datacheck(check);
    for (int which = 0; which < 6; ++which) {
      for (double bad : {kNaN, kInf, -kInf}) {
        Small s;
        double rng[2] = {0, 0};
        const double *rp = nullptr;
        int k = 1;
        switch (which) {
          case 0: s.obj[1] = bad; break;
          case 1: s.rhs[1] = bad; break;
          case 2: s.val[3] = bad; k = 3; break;
          case 3: rng[1] = bad; rp = rng; break;
          case 4: if (bad < 0) continue; s.lb[1] = bad; break;   // -inf is no bound
          case 5: if (bad > 0) continue; s.ub[1] = bad; break;   // +inf is no bound
        }
        SCOPED_TRACE("array " + std::to_string(which) + " check " + std::to_string(check));
        EXPECT_EQ(load(s, rp), 1225);
        EXPECT_EQ(takeErrors(), line1225(k));
        EXPECT_EQ(VLTgetnumcols(env, lp), 0);  // nothing loaded
      }
    }
  }
}

TEST_F(FrameData, InfiniteBoundsAtCopylpAreNoBounds) {
  Small s;
  s.lb[0] = -kInf;
  s.ub[1] = kInf;
  ASSERT_EQ(load(s), 0);
  double lb[2], ub[2];
  ASSERT_EQ(VLTgetlb(env, lp, lb, 0, 1), 0);
  ASSERT_EQ(VLTgetub(env, lp, ub, 0, 1), 0);
  EXPECT_EQ(lb[0], -1e20);
  EXPECT_EQ(ub[1], 1e20);
  solvesToNumber();
}

TEST_F(FrameData, NanLowerBoundOnAddedColumnRefusedNotCycled) {
  Small s;
  ASSERT_EQ(load(s), 0);
  for (int check : {0, 1}) {
    datacheck(check);
    double obj = 1, lb = kNaN, ub = 5, v[2] = {1, 1};
    int beg = 0, ind[2] = {0, 1};
    EXPECT_EQ(VLTaddcols(env, lp, 1, 2, &obj, &beg, ind, v, &lb, &ub, nullptr), 1225);
    EXPECT_EQ(takeErrors(), line1225(0));
    lb = 0;
    v[1] = kInf;
    EXPECT_EQ(VLTaddcols(env, lp, 1, 2, &obj, &beg, ind, v, &lb, &ub, nullptr), 1225);
    EXPECT_EQ(takeErrors(), line1225(1));
    v[1] = 1;
    obj = -kInf;
    EXPECT_EQ(VLTaddcols(env, lp, 1, 2, &obj, &beg, ind, v, &lb, &ub, nullptr), 1225);
    EXPECT_EQ(takeErrors(), line1225(0));
    EXPECT_EQ(VLTnewcols(env, lp, 1, &obj, &lb, &ub, nullptr, nullptr), 1225);
    EXPECT_EQ(takeErrors(), line1225(0));
    EXPECT_EQ(VLTgetnumcols(env, lp), 2);

    double rhs = 1, rng = kNaN, rv[2] = {1, kNaN};
    char sense = 'R';
    int rind[2] = {0, 1};
    EXPECT_EQ(VLTaddrows(env, lp, 0, 1, 2, &rhs, &sense, &beg, rind, rv, nullptr, nullptr), 1225);
    EXPECT_EQ(takeErrors(), line1225(1));
    EXPECT_EQ(VLTnewrows(env, lp, 1, &rhs, &sense, &rng, nullptr), 1225);
    EXPECT_EQ(takeErrors(), line1225(0));
    rhs = kInf;
    EXPECT_EQ(VLTnewrows(env, lp, 1, &rhs, &sense, nullptr, nullptr), 1225);
    EXPECT_EQ(takeErrors(), line1225(0));
    EXPECT_EQ(VLTgetnumrows(env, lp), 2);
  }
  solvesToNumber();
}

TEST_F(FrameData, NonFiniteChangesRefusedModelUnchanged) {
  Small s;
  ASSERT_EQ(load(s), 0);
  solvesToNumber();
  for (int check : {0, 1}) {
    datacheck(check);
    int idx[2] = {0, 1};
    double vals[2] = {2, kNaN};
    EXPECT_EQ(VLTchgobj(env, lp, 2, idx, vals), 1225);
    EXPECT_EQ(takeErrors(), line1225(1));
    vals[1] = kInf;
    EXPECT_EQ(VLTchgrhs(env, lp, 2, idx, vals), 1225);
    EXPECT_EQ(takeErrors(), line1225(1));
    char lu[2] = {'U', 'L'};
    vals[1] = kNaN;
    EXPECT_EQ(VLTchgbds(env, lp, 2, idx, lu, vals), 1225);
    EXPECT_EQ(takeErrors(), line1225(1));
    // Coefficients and ranges: one entry, a list, the range of a row.
    EXPECT_EQ(VLTchgcoef(env, lp, 0, 1, kNaN), 1225);
    EXPECT_EQ(takeErrors(), line1225(0));
    EXPECT_EQ(VLTchgcoef(env, lp, 1, 0, kInf), 1225);
    EXPECT_EQ(takeErrors(), line1225(0));
    EXPECT_EQ(VLTchgcoef(env, lp, 0, -2, kNaN), 1225);
    EXPECT_EQ(takeErrors(), line1225(0));
    int rows[3] = {0, 1, 1}, cols[3] = {0, 0, 1};
    double coefs[3] = {1, 2, -kInf};
    EXPECT_EQ(VLTchgcoeflist(env, lp, 3, rows, cols, coefs), 1225);
    EXPECT_EQ(takeErrors(), line1225(2));
    EXPECT_EQ(VLTchgrngval(env, lp, 2, idx, vals), 1225);
    EXPECT_EQ(takeErrors(), line1225(1));
    double a01 = 0;
    ASSERT_EQ(VLTgetcoef(env, lp, 0, 1, &a01), 0);
    EXPECT_EQ(a01, 2);
    double obj[2], rhs[2], ub[2];
    ASSERT_EQ(VLTgetobj(env, lp, obj, 0, 1), 0);
    ASSERT_EQ(VLTgetrhs(env, lp, rhs, 0, 1), 0);
    ASSERT_EQ(VLTgetub(env, lp, ub, 0, 1), 0);
    EXPECT_EQ(obj[0], 1);
    EXPECT_EQ(rhs[0], 4);
    EXPECT_EQ(ub[0], 10);
  }
  solvesToNumber();
}

TEST_F(FrameData, InfiniteBoundChangesFollowTheModelsInfinity) {
  Small s;
  ASSERT_EQ(load(s), 0);
  int idx[3] = {0, 1, 1};
  char lu[3] = {'L', 'U', 'L'};
  double v[3] = {-kInf, kInf, kInf};
  EXPECT_EQ(VLTchgbds(env, lp, 3, idx, lu, v), 0);
  EXPECT_EQ(takeWarnings(), "Warning:  Infinity lower bound ignored.\n");
  double lb[2], ub[2];
  ASSERT_EQ(VLTgetlb(env, lp, lb, 0, 1), 0);
  ASSERT_EQ(VLTgetub(env, lp, ub, 0, 1), 0);
  EXPECT_EQ(lb[0], -1e20);
  EXPECT_EQ(lb[1], 0);
  EXPECT_EQ(ub[1], 1e20);
  solvesToNumber();
}

// Two entries for row 0 of column 0 (2 and 3); rows 1 and 2 are loose.
struct Dup {
  double obj[1] = {1}, lb[1] = {0}, ub[1] = {100}, rhs[3] = {10, 100, 100};
  char sense[3] = {'G', 'L', 'L'};
  int beg[1] = {0}, cnt[1] = {3}, ind[3] = {0, 0, 1};
  double val[3] = {2, 3, 1};
};

TEST_F(FrameData, DuplicateEntriesGetcoefAndOptimizerAgree) {
  datacheck(1);
  Dup d;
  EXPECT_EQ(VLTcopylp(env, lp, 1, 3, 1, d.obj, d.rhs, d.sense, d.beg, d.cnt, d.ind, d.val, d.lb,
                      d.ub, nullptr),
            1222);
  EXPECT_EQ(takeErrors(), "VELTO Error  1222: Duplicate entry.\n");
  datacheck(0);
  ASSERT_EQ(VLTcopylp(env, lp, 1, 3, 1, d.obj, d.rhs, d.sense, d.beg, d.cnt, d.ind, d.val, d.lb,
                      d.ub, nullptr),
            0);
  double coef = 0;
  ASSERT_EQ(VLTgetcoef(env, lp, 0, 0, &coef), 0);
  EXPECT_EQ(coef, 5.0);
  EXPECT_EQ(VLTgetnumnz(env, lp), 2);
  // min x s.t. 5x >= 10: x = 2 whatever the optimizer's own view.
  solvesToNumber();
  double x = 0;
  ASSERT_EQ(VLTgetx(env, lp, &x, 0, 0), 0);
  EXPECT_NEAR(x, 2.0, 1e-9);

  // Entries that add up to zero leave no entry.
  d.val[1] = -2;
  ASSERT_EQ(VLTcopylp(env, lp, 1, 3, 1, d.obj, d.rhs, d.sense, d.beg, d.cnt, d.ind, d.val, d.lb,
                      d.ub, nullptr),
            0);
  EXPECT_EQ(VLTgetnumnz(env, lp), 1);
}

TEST_F(FrameData, DuplicateEntriesInAddedColumnsAndRowsAddUp) {
  datacheck(0);
  Small s;
  ASSERT_EQ(load(s), 0);
  // Column 2 with row 1 twice, added straight and (with names) through the
  // change cache.
  for (int round = 0; round < 2; ++round) {
    double obj = 0, lb = 0, ub = 1, v[3] = {1, 2, 4};
    int beg = 0, ind[3] = {1, 0, 1};
    std::string nm = "extra" + std::to_string(round);
    char *names[1] = {nm.data()};
    ASSERT_EQ(VLTaddcols(env, lp, 1, 3, &obj, &beg, ind, v, &lb, &ub, round ? names : nullptr), 0);
    int j = VLTgetnumcols(env, lp) - 1;
    double c0 = 0, c1 = 0;
    ASSERT_EQ(VLTgetcoef(env, lp, 0, j, &c0), 0);
    ASSERT_EQ(VLTgetcoef(env, lp, 1, j, &c1), 0);
    EXPECT_EQ(c0, 2);
    EXPECT_EQ(c1, 5);
  }
  // A row with column 0 twice.
  double rhs = 3, rv[3] = {1, 1, 0.5};
  char sense = 'L';
  int beg = 0, rind[3] = {0, 1, 0};
  ASSERT_EQ(VLTaddrows(env, lp, 0, 1, 3, &rhs, &sense, &beg, rind, rv, nullptr, nullptr), 0);
  double c = 0;
  ASSERT_EQ(VLTgetcoef(env, lp, 2, 0, &c), 0);
  EXPECT_EQ(c, 1.5);
  EXPECT_EQ(VLTgetnumnz(env, lp), 4 + 2 + 2 + 2);
  solvesToNumber();
  datacheck(1);
  EXPECT_EQ(VLTaddrows(env, lp, 0, 1, 3, &rhs, &sense, &beg, rind, rv, nullptr, nullptr), 1222);
  EXPECT_EQ(takeErrors(), "VELTO Error  1222: Duplicate entry.\n");
}

}  // namespace
