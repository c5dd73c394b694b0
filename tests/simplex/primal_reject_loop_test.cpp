// Regression: a phase-1 candidate whose column has no pivot above the
// tolerance is rejected; the rejected marks were cleared as soon as pricing
// found nothing else, so the same candidate came back on the same basis and
// the primal turned without a pivot until a limit stopped it.
#include <gtest/gtest.h>

#include "common/session.h"

namespace {

TEST(PrimalRejectLoop, RejectedPhaseOneCandidateNoLongerLoopsWithoutPivots) {
  velto_test::session s;
  ASSERT_NE(s.lp, nullptr);
  // The three rows are violated at the slack basis, and y reduces all of
  // them: its phase-1 reduced cost is -1.8e-7, beyond the tolerance of 1e-7,
  // but no entry can be a pivot.
  const double obj[] = {0.0}, lb[] = {0.0}, ub[] = {VLT_INFBOUND};
  const double rhs[] = {1.0, 1.0, 1.0};
  const char sense[] = {'G', 'G', 'G'};
  const int beg[] = {0}, cnt[] = {3}, ind[] = {0, 1, 2};
  const double val[] = {6e-8, 6e-8, 6e-8};
  ASSERT_EQ(VLTcopylp(s.env, s.lp, 1, 3, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
  const int cstat[] = {0}, rstat[] = {1, 1, 1};
  ASSERT_EQ(VLTcopybase(s.env, s.lp, cstat, rstat), 0);
  VLTsetintparam(s.env, VLT_PARAM_ADVIND, 1);
  VLTsetintparam(s.env, VLT_PARAM_PREIND, 0);
  VLTsetintparam(s.env, VLT_PARAM_SCAIND, -1);
  // The looping run had made no iteration when the clock stopped it.
  VLTsetdblparam(s.env, VLT_PARAM_TILIM, 5.0);
  ASSERT_EQ(VLTprimopt(s.env, s.lp), 0);
  const int stat = VLTgetstat(s.env, s.lp);
  EXPECT_NE(stat, 11) << "the primal turned without pivots until the time limit";
  EXPECT_TRUE(stat == 1 || stat == 3 || stat == 5) << "status " << stat;
}

}  // namespace
