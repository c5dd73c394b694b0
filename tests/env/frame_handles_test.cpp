// Handles of the wrong kind or of another environment are refused at the
// frame, and every resource list stays as it was.
#include <gtest/gtest.h>

#include <string>

#include "capture.h"
#include "env/env.h"

namespace {

int problems(VLTENVptr env) {
  int n = 0;
  for (velto::resnode *r = env->restrack; r != nullptr; r = r->next) n += r->kind == 1;
  return n;
}

// min x + y  s.t.  x + y >= 2,  x - y <= 1,  x, y >= 0.
void load(VLTENVptr env, VLTLPptr lp) {
  double obj[] = {1, 1}, rhs[] = {2, 1}, lb[] = {0, 0}, ub[] = {1e20, 1e20};
  double val[] = {1, 1, 1, -1};
  char sense[] = {'G', 'L'};
  int beg[] = {0, 2}, cnt[] = {2, 2}, ind[] = {0, 1, 0, 1};
  ASSERT_EQ(VLTcopylp(env, lp, 2, 2, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
}

const char *const kNoProblemLine = "VELTO Error  1009: No problem exists.\n";

TEST(FrameHandles, ForeignProblemRefusedPresolveRegistersNothingWithOtherEnv) {
  vtest::Env a, b;
  int status = -1;
  VLTLPptr lp = VLTcreateprob(a, &status, "mine");
  ASSERT_EQ(status, 0);
  load(a, lp);
  ASSERT_EQ(VLTsetintparam(b, VLT_PARAM_PREIND, 1), 0);

  // Solving, loading, changing, querying, writing and freeing through B.
  EXPECT_EQ(VLTlpopt(b, lp), 1009);
  EXPECT_EQ(VLTprimopt(b, lp), 1009);
  double obj[] = {1}, x[2];
  int idx[] = {0};
  EXPECT_EQ(VLTchgobj(b, lp, 1, idx, obj), 1009);
  EXPECT_EQ(VLTgetx(b, lp, x, 0, 1), 1009);
  EXPECT_EQ(VLTgetnumrows(b, lp), 0);
  EXPECT_EQ(VLTwriteprob(b, lp, "never_written.lp", nullptr), 1009);
  EXPECT_EQ(VLTcopylp(b, lp, 0, 0, 1, obj, obj, "", idx, idx, idx, obj, obj, obj, nullptr), 1009);
  VLTLPptr copy = lp;
  EXPECT_EQ(VLTfreeprob(b, &copy), 1009);
  EXPECT_EQ(copy, lp);
  EXPECT_EQ(VLTcloneprob(b, lp, &status), nullptr);
  EXPECT_EQ(status, 1009);
  EXPECT_EQ(b.err.lines.size(), 9u);
  for (const auto &l : b.err.lines) EXPECT_EQ(l, kNoProblemLine);
  EXPECT_TRUE(a.err.lines.empty());
  EXPECT_EQ(problems(a), 1);
  EXPECT_EQ(problems(b), 0);

  // The problem is untouched and still works where it belongs.
  EXPECT_EQ(VLTgetnumrows(a, lp), 2);
  ASSERT_EQ(VLTlpopt(a, lp), 0);
  double z = 0;
  ASSERT_EQ(VLTgetobjval(a, lp, &z), 0);
  EXPECT_NEAR(z, 2.0, 1e-9);
  // Closing B, then A, frees the problem once (the sanitizer build would
  // report a second free).
  EXPECT_EQ(VLTcloseVELTO(&b.env), 0);
  EXPECT_EQ(problems(a), 1);
  EXPECT_EQ(VLTcloseVELTO(&a.env), 0);
}

TEST(FrameHandles, EnvironmentPassedAsProblemAndProblemAsEnvironmentRefused) {
  vtest::Env a;
  int status = -1;
  VLTLPptr lp = VLTcreateprob(a, &status, "p");
  load(a, lp);
  VLTLPptr envaslp = reinterpret_cast<VLTLPptr>(a.env);
  VLTENVptr lpasenv = reinterpret_cast<VLTENVptr>(lp);

  EXPECT_EQ(VLTlpopt(a, envaslp), 1009);
  EXPECT_EQ(VLTgetnumcols(a, envaslp), 0);
  EXPECT_EQ(VLTfreeprob(a, &envaslp), 1009);
  EXPECT_EQ(a.err.all(), std::string(kNoProblemLine) + kNoProblemLine + kNoProblemLine);

  EXPECT_EQ(VLTlpopt(lpasenv, lp), 1002);
  EXPECT_EQ(VLTgetnumcols(lpasenv, lp), 0);
  EXPECT_EQ(VLTversion(lpasenv), nullptr);
  EXPECT_EQ(VLTsetintparam(lpasenv, VLT_PARAM_DATACHECK, 1), 1002);
  VLTLPptr p2 = VLTcreateprob(lpasenv, &status, "q");
  EXPECT_EQ(p2, nullptr);
  EXPECT_EQ(status, 1002);
  EXPECT_EQ(VLTcloseVELTO(&lpasenv), 1002);
  EXPECT_NE(lpasenv, nullptr);

  // Nothing changed.
  EXPECT_EQ(problems(a), 1);
  EXPECT_EQ(VLTgetnumcols(a, lp), 2);
  EXPECT_EQ(VLTlpopt(a, lp), 0);
  EXPECT_EQ(VLTfreeprob(a, &lp), 0);
  EXPECT_EQ(problems(a), 0);
}

}  // namespace

namespace {

// The reduced problem of a presolve is on the environment's list but belongs
// to the problem that holds it: freeing it directly is refused, and closing
// frees everything once.
TEST(FrameHandles, ReducedProblemFreedOnlyWithItsHolder) {
  vtest::Env a;
  int status = -1;
  VLTLPptr lp = VLTcreateprob(a, &status, "p");
  load(a, lp);
  // A singleton row that presolve takes out: x <= 5.
  double rhs = 5, one = 1;
  char sense = 'L';
  int beg = 0, ind = 0;
  ASSERT_EQ(VLTaddrows(a, lp, 0, 1, 1, &rhs, &sense, &beg, &ind, &one, nullptr, nullptr), 0);
  ASSERT_EQ(VLTpresolve(a, lp, 2), 0);
  VLTLPptr red = nullptr;
  ASSERT_EQ(VLTgetredlp(a, lp, &red), 0);
  ASSERT_NE(red, nullptr);
  EXPECT_EQ(problems(a), 2);
  VLTLPptr copy = red;
  EXPECT_EQ(VLTfreeprob(a, &copy), 1003);
  EXPECT_EQ(copy, red);
  EXPECT_EQ(a.err.all(), "VELTO Error  1003: Bad argument to Callable Library function.\n");
  EXPECT_GE(VLTgetnumrows(a, red), 1);
  EXPECT_EQ(problems(a), 2);
  ASSERT_EQ(VLTlpopt(a, lp), 0);
  double z = 0;
  ASSERT_EQ(VLTgetobjval(a, lp, &z), 0);
  EXPECT_NEAR(z, 2.0, 1e-9);
  EXPECT_EQ(VLTcloseVELTO(&a.env), 0);
}

}  // namespace
