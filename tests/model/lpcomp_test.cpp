// Packing of the full model during a run on its reduced problem: the
// arrays come back exactly, names included, an array that would not shrink
// stays in place, and a presolved run under VLT_PARAM_PRECOMPRESS gives the
// answer of one without it.
#include <cstring>

#include "common/getmodel.h"
#include "fixture.h"
#include "model/lpcomp.h"

using namespace velto_test;

namespace {

// A model with names and much repetition (so most arrays pack), random
// costs (which do not), and a fixed column for presolve to take out.
void repetitive(VLTENVptr env, VLTLPptr lp, int m, int n) {
  std::mt19937 g(5);
  std::vector<double> obj(n), lb(n, 0.0), ub(n, 10.0), rhs(m, 1.0), val;
  lb[0] = ub[0] = 0.5;
  std::vector<int> beg(n), cnt(n), ind;
  std::vector<char> sense(m, 'G');
  std::vector<std::string> cn, rn;
  for (int j = 0; j < n; ++j) {
    obj[j] = std::uniform_real_distribution<double>(1, 2)(g);
    beg[j] = static_cast<int>(ind.size());
    for (int k = 0; k < 3; ++k) {
      ind.push_back((j + k * 7) % m);
      val.push_back(1.0);
    }
    cnt[j] = 3;
    cn.push_back("column" + std::to_string(j));
  }
  for (int i = 0; i < m; ++i) rn.push_back("row" + std::to_string(i));
  std::vector<char *> cp, rp;
  for (auto &s : cn) cp.push_back(s.data());
  for (auto &s : rn) rp.push_back(s.data());
  ASSERT_EQ(VLTcopylpwnames(env, lp, n, m, 1, obj.data(), rhs.data(), sense.data(), beg.data(),
                            cnt.data(), ind.data(), val.data(), lb.data(), ub.data(), nullptr,
                            cp.data(), rp.data()),
            0);
}

}  // namespace

TEST_F(StoreTest, PackedModelComesBackExactly) {
  repetitive(env, lp, 60, 200);
  const apimodel before = getmodel(env, lp);
  velto::packstate ps;
  velto::lpcompress(env, lp, ps);
  // Bounds, their kinds, right sides, names, counts and values repeat and
  // are packed; the random costs and the rising column starts do not
  // shrink and stay.
  const velto::lpcore *c = lp->core;
  EXPECT_EQ(ps.count, 10);
  for (const void *packed : {(const void *)c->lb, (const void *)c->ub, (const void *)c->lbkind,
                             (const void *)c->rhs, (const void *)c->colnamestore,
                             (const void *)c->rownamestore, (const void *)c->matcnt,
                             (const void *)c->matval})
    EXPECT_EQ(packed, nullptr);
  EXPECT_NE(c->obj, nullptr);
  EXPECT_NE(c->matbeg, nullptr);
  EXPECT_EQ(lp->core->matend, nullptr);
  EXPECT_LT(ps.packedbytes, ps.rawbytes);
  ASSERT_EQ(velto::lpexpand(env, lp, ps), 0);
  EXPECT_EQ(ps.count, 0);
  expect_same(before, getmodel(env, lp));
  for (int j = 0; j < c->totcols; ++j) EXPECT_EQ(c->matend[j], c->matbeg[j] + c->matcnt[j]);
  // An empty model packs nothing.
  VLTLPptr empty = VLTcreateprob(env, nullptr, "empty");
  velto::packstate none;
  velto::lpcompress(env, empty, none);
  EXPECT_EQ(none.count, 0);
  EXPECT_EQ(velto::lpexpand(env, empty, none), 0);
  VLTfreeprob(env, &empty);
}

TEST_F(StoreTest, PresolvedRunWithThePackedModel) {
  repetitive(env, lp, 60, 200);
  ASSERT_EQ(VLTdualopt(env, lp), 0);
  double z0 = 0, z1 = 0;
  VLTgetobjval(env, lp, &z0);
  const apimodel before = getmodel(env, lp);
  VLTLPptr other = VLTcreateprob(env, nullptr, "other");
  repetitive(env, other, 60, 200);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_PRECOMPRESS, 1), 0);
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 1), 0);
  Captured log;
  capturelog(log);
  ASSERT_EQ(VLTdualopt(env, other), 0);
  EXPECT_EQ(VLTgetstat(env, other), 1);
  VLTgetobjval(env, other, &z1);
  EXPECT_NEAR(z1, z0, 1e-9 * std::max(1.0, std::fabs(z0)));
  EXPECT_NE(log.text.find("Compression time = "), std::string::npos) << log.text;
  EXPECT_NE(log.text.find("Compression reduced "), std::string::npos);
  expect_same(before, getmodel(env, other));
  // Without the display nothing is printed.
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_SIMDISPLAY, 0), 0);
  log.text.clear();
  int j = 0;
  char lu = 'U';
  double bd = 9;
  ASSERT_EQ(VLTchgbds(env, other, 1, &j, &lu, &bd), 0);
  ASSERT_EQ(VLTdualopt(env, other), 0);
  EXPECT_EQ(log.text, "");
  VLTfreeprob(env, &other);
}
