// Cuts: knapsack covers and GUB covers checked valid by enumerating every
// 0/1 point of small models and violated at the point they separate; the
// pool's duplicate rules; and the cut loop through VLTmipopt (optimum
// against enumeration, the node problem's cut rows against the pool, the
// summary lines of cuts applied).
#include <random>

#include "mip/mipcuts.h"
#include "mipfix.h"

namespace miptest {
namespace {

using namespace velto;

// Rows over n binary columns, dense: a[i][j], sense[i], rhs[i].
struct binmodel {
  int n = 0;
  std::vector<std::vector<double>> a;
  std::string sense;
  std::vector<double> rhs;
  bool feasible(unsigned mask) const {
    for (size_t i = 0; i < a.size(); ++i) {
      double act = 0;
      for (int j = 0; j < n; ++j)
        if (mask >> j & 1) act += a[i][j];
      if ((sense[i] == 'L' || sense[i] == 'E') && act > rhs[i] + 1e-9) return false;
      if ((sense[i] == 'G' || sense[i] == 'E') && act < rhs[i] - 1e-9) return false;
    }
    return true;
  }
};

class CutsTest : public MipTest {
 protected:
  // Loads the model (all columns binary) and the views the families read.
  void load(const binmodel &bm, const std::vector<double> &obj = {}) {
    const int n = bm.n, m = static_cast<int>(bm.a.size());
    std::vector<int> beg(n), cnt(n), ind;
    std::vector<double> val, c(obj.empty() ? std::vector<double>(n, 0.0) : obj);
    for (int j = 0; j < n; ++j) {
      beg[j] = static_cast<int>(ind.size());
      for (int i = 0; i < m; ++i)
        if (bm.a[i][j] != 0) ind.push_back(i), val.push_back(bm.a[i][j]);
      cnt[j] = static_cast<int>(ind.size()) - beg[j];
    }
    ind.push_back(0), val.push_back(0);
    std::vector<double> lb(n, 0.0), ub(n, 1.0);
    ASSERT_EQ(VLTcopylp(env, lp, n, m, 1, c.data(), bm.rhs.data(), bm.sense.data(), beg.data(),
                        cnt.data(), ind.data(), val.data(), lb.data(), ub.data(), nullptr),
              0);
    ASSERT_EQ(VLTcopyctype(env, lp, std::string(n, 'B').c_str()), 0);
    rowcopybuild(lp, rc);
    cutmodelbuild(lp, rc, cm);
    glb.assign(n, 0.0);
    gub.assign(n, 1.0);
  }
  // The cut holds at every feasible 0/1 point; returns how many points.
  int expect_valid(const binmodel &bm, const std::vector<int> &ind, const std::vector<double> &val,
                   double rhs, const std::string &what) {
    int points = 0;
    for (unsigned mask = 0; mask < (1u << bm.n); ++mask) {
      if (!bm.feasible(mask)) continue;
      ++points;
      double act = 0;
      for (size_t k = 0; k < ind.size(); ++k)
        if (mask >> ind[k] & 1) act += val[k];
      EXPECT_LE(act, rhs + 1e-9) << what << ": the cut removes feasible point " << mask;
      if (act > rhs + 1e-9) break;
    }
    return points;
  }
  rowcopy rc;
  cutmodel cm;
  std::vector<double> glb, gub;
};

// n items, `rows` knapsack rows of capacity `frac` of their weight, and
// profits to maximize (as negative costs).
void multiknapsack(std::mt19937 &rng, int n, int rows, double frac, binmodel &bm,
                   std::vector<double> &obj) {
  bm.n = n;
  obj.resize(n);
  for (double &c : obj) c = -static_cast<double>(5 + rng() % 60);
  for (int i = 0; i < rows; ++i) {
    std::vector<double> row(n);
    double s = 0;
    for (double &v : row) v = static_cast<double>(5 + rng() % 50), s += v;
    bm.a.push_back(row);
    bm.sense += "L";
    bm.rhs.push_back(std::floor(s * frac));
  }
}

double activity(const std::vector<int> &ind, const std::vector<double> &val, const double *x) {
  double s = 0;
  for (size_t k = 0; k < ind.size(); ++k) s += val[k] * x[ind[k]];
  return s;
}

// Random knapsack rows with mixed signs and senses, random points with some
// entries at 0 and 1: every cover found is valid and cuts its point off.
TEST_F(CutsTest, LiftedCoversAreValidOnEveryPointAndViolated) {
  std::mt19937 rng(7);
  int found = 0, lifted = 0, complemented = 0, downlifted = 0;
  for (int trial = 0; trial < 400 && !HasFailure(); ++trial) {
    binmodel bm;
    bm.n = 6 + trial % 7;
    std::vector<double> row(bm.n);
    double pos = 0;
    for (int j = 0; j < bm.n; ++j) {
      row[j] = static_cast<double>(1 + rng() % 40);
      if (rng() % 5 == 0) row[j] = -row[j];
      if (row[j] > 0) pos += row[j];
    }
    const char s = "LGE"[trial % 3];
    bm.a = {s == 'L' ? row : row};
    bm.sense = std::string(1, s);
    bm.rhs = {std::floor(pos * (0.3 + 0.4 * (rng() % 100) / 100.0))};
    if (s == 'G') {
      for (double &v : bm.a[0]) v = -v;
      bm.rhs[0] = -bm.rhs[0];
    }
    TearDown();
    SetUp();
    load(bm);
    std::vector<double> work(bm.n, 0.0);
    knapsack k;
    for (int neg = 0; neg < 2; ++neg) {
      knapextract(cm, glb.data(), gub.data(), 0, neg, 1, work, k);
      if (k.n < 2) continue;
      for (int pt = 0; pt < 6; ++pt) {
        std::vector<double> x(bm.n);
        for (double &v : x) {
          int r = rng() % 6;
          v = r == 0 ? 0.0 : r == 1 ? 1.0 : (rng() % 1000) / 1000.0;
        }
        int nnz = 0;
        double rhs = 0;
        std::vector<int> ind;
        std::vector<double> val;
        ASSERT_EQ(coverfind(k, x.data(), &nnz, &rhs, ind, val), 0);
        if (nnz == 0) continue;
        ++found;
        for (double v : val) {
          lifted += std::fabs(v) >= 2;
          complemented += v < 0;
        }
        downlifted += rhs > 0 && std::fabs(rhs - std::round(rhs)) < 1e-9 &&
                      rhs > static_cast<double>(nnz);
        EXPECT_GT(activity(ind, val, x.data()) - rhs, 0.05) << "trial " << trial;
        expect_valid(bm, ind, val, rhs, "trial " + std::to_string(trial));
      }
    }
  }
  // The trials reach the lifting steps, not just plain covers.
  EXPECT_GT(found, 100);
  EXPECT_GT(lifted, 10);
  EXPECT_GT(complemented, 10);
  EXPECT_GT(downlifted, 10);
}

TEST_F(CutsTest, PlainCoverAndTheHeavyItemAndRowsWithoutCover) {
  // 5 x0 + 5 x1 + 5 x2 + 12 x3 <= 11: {0,1,2} is a cover, rhs 2; x3 alone
  // passes the capacity and gets k + 1 = 3 when it is lifted.
  binmodel bm;
  bm.n = 4;
  bm.a = {{5, 5, 5, 12}, {1, 1, 1, 1}};
  bm.sense = "LL";
  bm.rhs = {11, 2};
  load(bm);
  std::vector<double> work(4, 0.0);
  knapsack k;
  knapextract(cm, glb.data(), gub.data(), 0, 0, 1, work, k);
  ASSERT_EQ(k.n, 4);
  EXPECT_DOUBLE_EQ(k.cap, 11.0);
  double x[4] = {0.7, 0.7, 0.7, 0.2};
  int nnz = 0;
  double rhs = 0;
  std::vector<int> ind;
  std::vector<double> val;
  ASSERT_EQ(coverfind(k, x, &nnz, &rhs, ind, val), 0);
  // The greedy packing takes x3 first (heaviest): it does not fit, so C is
  // {0, 1} and x2 and x3 are lifted.
  ASSERT_GT(nnz, 0);
  expect_valid(bm, ind, val, rhs, "plain cover");
  EXPECT_GT(activity(ind, val, x) - rhs, 0.1);
  // A row of unit weights is left to clique separation.
  knapextract(cm, glb.data(), gub.data(), 1, 0, 1, work, k);
  EXPECT_EQ(k.n, -1);
  knapextract(cm, glb.data(), gub.data(), 1, 0, 0, work, k);
  EXPECT_EQ(k.n, 4);
}

TEST_F(CutsTest, EqualityRowGivesTwoKnapsacks) {
  binmodel bm;
  bm.n = 5;
  bm.a = {{3, 4, 5, -6, 7}};
  bm.sense = "E";
  bm.rhs = {9};
  load(bm);
  cutwork w;
  w.cm = cm;
  EXPECT_EQ(coverscan(w, glb.data(), gub.data()), 1);
  EXPECT_EQ(w.coverrows[0] & 3, 3);
  // Covers of both forms at one point are valid for the equality.
  double x[5] = {0.5, 0.9, 0.6, 0.4, 0.3};
  cutsetinit(w.pool, 1, 1, 1);
  int counts[2];
  ASSERT_EQ(coverround(w, x, glb.data(), gub.data(), glb.data(), gub.data(), 10, true, false,
                       nullptr, counts),
            0);
  const cutstore &f = w.pool.fresh[0];
  EXPECT_EQ(f.count(), counts[0]);
  for (int c = 0; c < f.count(); ++c) {
    std::vector<int> ind(f.indof(c), f.indof(c) + f.recs[c].nnz);
    std::vector<double> val(f.valof(c), f.valof(c) + f.recs[c].nnz);
    expect_valid(bm, ind, val, f.recs[c].rhs, "equality form");
  }
}

TEST_F(CutsTest, LocalCoversHoldUnderTheNodeBounds) {
  // 5 y + 3 x1 + 4 x2 + 6 x3 <= 12 with y integer in [0, 3]: globally no
  // cover cuts the point off, at a node with y >= 2 the capacity is 2 and
  // every item alone passes it.
  binmodel bm;
  bm.n = 4;
  bm.a = {{5, 3, 4, 6}};
  bm.sense = "L";
  bm.rhs = {12};
  load(bm);
  int col = 0;
  char lu = 'U', it = 'I';
  double three = 3;
  ASSERT_EQ(VLTchgbds(env, lp, 1, &col, &lu, &three), 0);
  ASSERT_EQ(VLTchgctype(env, lp, 1, &col, &it), 0);
  rowcopybuild(lp, rc);
  cutmodelbuild(lp, rc, cm);
  gub[0] = 3;
  cutwork w;
  w.cm = cm;
  ASSERT_EQ(coverscan(w, glb.data(), gub.data()), 1);
  cutsetinit(w.pool, 1, 1, 1);
  std::vector<double> llb = glb, lub = gub;
  llb[0] = 2.0;
  double x[4] = {2.0, 0.3, 0.2, 0.05};
  cutstore local;
  local.hashed = false;
  int counts[2];
  ASSERT_EQ(coverround(w, x, glb.data(), gub.data(), llb.data(), lub.data(), 10, true, true,
                       &local, counts),
            0);
  EXPECT_EQ(counts[0], 0);
  EXPECT_EQ(counts[1], local.count());
  ASSERT_GT(local.count(), 0);
  // valid on every point of the node's box: y in {2, 3} leaves 3 x1 + 4 x2
  // + 6 x3 <= 2
  binmodel node;
  node.n = 4;
  node.a = {{0, 3, 4, 6}};
  node.sense = "L";
  node.rhs = {2};
  for (int c = 0; c < local.count(); ++c) {
    std::vector<int> ind(local.indof(c), local.indof(c) + local.recs[c].nnz);
    std::vector<double> val(local.valof(c), local.valof(c) + local.recs[c].nnz);
    for (int j : ind) EXPECT_NE(j, 0);
    expect_valid(node, ind, val, local.recs[c].rhs, "local cover");
    EXPECT_GT(activity(ind, val, x) - local.recs[c].rhs, 0.1);
  }
}

// Knapsacks whose items fall into set-packing groups: every GUB cover is
// valid on the points of the knapsack and the group rows.
TEST_F(CutsTest, GubCoversAreValidUnderTheirGroups) {
  std::mt19937 rng(11);
  int found = 0, slackgroups = 0;
  for (int trial = 0; trial < 300 && !HasFailure(); ++trial) {
    binmodel bm;
    bm.n = 8 + trial % 5;
    std::vector<double> row(bm.n, 0.0);
    double pos = 0;
    for (int j = 0; j < bm.n; ++j) {
      row[j] = static_cast<double>(1 + rng() % 30);
      if (rng() % 6 == 0) row[j] = -row[j], ++slackgroups;
      if (row[j] > 0) pos += row[j];
    }
    bm.a.push_back(row);
    bm.sense = "L";
    bm.rhs = {std::floor(pos * 0.45)};
    // groups of 2 or 3 consecutive columns: sum <= 1
    for (int j = 0; j + 1 < bm.n;) {
      int g = 2 + rng() % 2;
      std::vector<double> r(bm.n, 0.0);
      for (int q = j; q < std::min(bm.n, j + g); ++q) r[q] = 1;
      bm.a.push_back(r);
      bm.sense += "L";
      bm.rhs.push_back(1);
      j += g;
    }
    TearDown();
    SetUp();
    load(bm);
    cliquetable t;
    cliquesfromrows(cm, glb.data(), gub.data(), 1000000, t);
    std::vector<double> work(bm.n, 0.0);
    knapsack k;
    knapextract(cm, glb.data(), gub.data(), 0, 0, 1, work, k);
    if (k.n < 2) continue;
    for (int pt = 0; pt < 5; ++pt) {
      std::vector<double> x(bm.n);
      for (double &v : x) v = (rng() % 3 == 0) ? 0.0 : (rng() % 1000) / 1000.0;
      int nnz = 0;
      double rhs = 0;
      std::vector<int> ind;
      std::vector<double> val;
      ASSERT_EQ(gubfind(k, t, x.data(), &nnz, &rhs, ind, val), 0);
      if (nnz == 0) continue;
      ++found;
      expect_valid(bm, ind, val, rhs, "GUB trial " + std::to_string(trial));
    }
  }
  EXPECT_GT(found, 50);
  EXPECT_GT(slackgroups, 10);
}

TEST(CutPool, DuplicatesByScaleSenseAndTightness) {
  EXPECT_EQ(cuthash(5, std::vector<int>{0, 1, 2, 3, 4}.data()),
            1u ^ (2u << 8) ^ (3u << 16) ^ (4u << 24) ^ 5u);
  cutstore s;
  int found = 0, id = 0;
  const int i1[] = {4, 1, 7};
  const double v1[] = {2, 1, 3};
  ASSERT_EQ(cutstoreadd(s, 0, 'L', 5, 3, i1, v1, &found, &id, 0), 0);
  EXPECT_EQ(found, 0);
  // stored sorted
  EXPECT_EQ(s.indof(0)[0], 1);
  EXPECT_EQ(s.valof(0)[2], 3.0);
  // the same cut times 2, in another order: found
  const int i2[] = {1, 7, 4};
  const double v2[] = {2, 6, 4};
  ASSERT_EQ(cutstoreadd(s, 0, 'L', 10, 3, i2, v2, &found, &id, 0), 0);
  EXPECT_EQ(found, 1);
  EXPECT_EQ(id, 0);
  // a negative multiple is another cut, and so is the 'G' form
  const double v3[] = {-1, -3, -2};
  ASSERT_EQ(cutstoreadd(s, 0, 'L', -5, 3, i2, v3, &found, &id, 0), 0);
  EXPECT_EQ(found, 0);
  ASSERT_EQ(cutstoreadd(s, 0, 'G', -5, 3, i2, v3, &found, &id, 0), 0);
  EXPECT_EQ(found, 0);
  EXPECT_EQ(s.recs[id].sense, 'L');
  EXPECT_EQ(s.recs[id].rhs, 5.0);
  // without dedup another rhs is another cut
  ASSERT_EQ(cutstoreadd(s, 0, 'L', 6, 3, i1, v1, &found, &id, 0), 0);
  EXPECT_EQ(found, 0);

  cutstore d;
  d.dedup = 1;
  ASSERT_EQ(cutstoreadd(d, 0, 'L', 5, 3, i1, v1, &found, &id, 1), 0);
  // looser: stays one entry
  ASSERT_EQ(cutstoreadd(d, 0, 'L', 12, 3, i2, v2, &found, &id, 1), 0);
  EXPECT_EQ(found, 1);
  EXPECT_EQ(d.count(), 1);
  // strictly tighter (4 < 5 after scaling): a second entry
  ASSERT_EQ(cutstoreadd(d, 0, 'L', 8, 3, i2, v2, &found, &id, 1), 0);
  EXPECT_EQ(found, 0);
  EXPECT_EQ(d.count(), 2);
  // equalities compare rhs even with dedup
  ASSERT_EQ(cutstoreadd(d, 0, 'E', 5, 3, i1, v1, &found, &id, 1), 0);
  ASSERT_EQ(cutstoreadd(d, 0, 'E', 6, 3, i1, v1, &found, &id, 1), 0);
  EXPECT_EQ(found, 0);
  // no coefficients: compared by rhs
  ASSERT_EQ(cutstoreadd(s, 0, 'L', 1, 0, nullptr, nullptr, &found, &id, 0), 0);
  ASSERT_EQ(cutstoreadd(s, 0, 'L', 1, 0, nullptr, nullptr, &found, &id, 0), 0);
  EXPECT_EQ(found, 1);
}

TEST(CutPool, MergeKeepsOneIdentifierPerCutAndFeedsThePendingStore) {
  cutset set;
  cutsetinit(set, 10, 1, 1);
  const int i1[] = {0, 2};
  const double v1[] = {1, 1};
  const double v2[] = {3, 3};
  ASSERT_EQ(cutsetpush(set, 0, kCutCover, 2, i1, v1, 'L', 1), 0);
  ASSERT_EQ(cutsetpush(set, 0, kCutGub, 2, i1, v2, 'L', 3), 0);  // the same cut
  int mark = 0;
  std::vector<int> ids;
  ASSERT_EQ(cutsetmerge(set, 0, &mark, &ids), 0);
  EXPECT_EQ(ids, (std::vector<int>{0, 0}));
  EXPECT_EQ(set.ids.size(), 1u);
  EXPECT_EQ(set.typecount[kCutCover], 1);
  EXPECT_EQ(set.typecount[kCutGub], 0);
  EXPECT_EQ(mark, 1);
  EXPECT_EQ(set.pending[0].count(), 1);
  EXPECT_EQ(set.fresh[0].count(), 0);
  // pool separation offers only violated cuts, under their own family
  double x[3] = {0.8, 0, 0.8};
  int cnt = 0;
  ASSERT_EQ(cutseparate(set.master, x, 0.1, 5, set, 0, &cnt), 0);
  EXPECT_EQ(cnt, 1);
  x[2] = 0.25;
  ASSERT_EQ(cutseparate(set.master, x, 0.1, 5, set, 0, &cnt), 0);
  EXPECT_EQ(cnt, 0);
}

// Random multi-knapsack models solved with every cover family on: the
// optimum equals the enumerated one, and the node problem's cut rows are
// the pool's cuts in the pool's order.
TEST_F(CutsTest, KnapsackModelsSolveToTheEnumeratedOptimum) {
  std::mt19937 rng(3);
  int withcuts = 0;
  for (int trial = 0; trial < 12 && !HasFailure(); ++trial) {
    binmodel bm;
    std::vector<double> obj;
    multiknapsack(rng, 14, 3, 0.4, bm, obj);
    double best = 1e30;
    for (unsigned mask = 0; mask < (1u << bm.n); ++mask) {
      if (!bm.feasible(mask)) continue;
      double z = 0;
      for (int j = 0; j < bm.n; ++j)
        if (mask >> j & 1) z += obj[j];
      best = std::min(best, z);
    }
    TearDown();
    SetUp();
    load(bm, obj);
    VLTsetintparam(env, VLT_PARAM_MIPDISPLAY, 0);
    VLTsetintparam(env, VLT_PARAM_COVERS, 2);
    VLTsetintparam(env, VLT_PARAM_GUBCOVERS, 2);
    VLTsetintparam(env, VLT_PARAM_LOCALCOVERS, 2);
    ASSERT_EQ(VLTmipopt(env, lp), 0);
    EXPECT_EQ(VLTgetstat(env, lp), 101);
    double z = 0;
    ASSERT_EQ(VLTgetmipobjval(env, lp, &z), 0);
    EXPECT_NEAR(z, best, 1e-6) << "trial " << trial;
    // node problem rows behind the model's are the pool's cuts
    mipwork *w = lp->mip->work;
    ASSERT_NE(w->cuts, nullptr);
    const cutset &pool = w->cuts->pool;
    VLTLPptr q = lp->mip->nodelp;
    const int base = w->cuts->baserows;
    ASSERT_EQ(VLTgetnumrows(env, q), base + static_cast<int>(pool.ids.size()));
    for (size_t k = 0; k < pool.ids.size(); ++k) {
      int id = pool.ids[k], beg = 0, nz = 0, surplus = 0;
      std::vector<int> ind(bm.n);
      std::vector<double> val(bm.n);
      double rhs = 0;
      int row = base + static_cast<int>(k);
      ASSERT_EQ(VLTgetrows(env, q, &nz, &beg, ind.data(), val.data(), bm.n, &surplus, row, row), 0);
      ASSERT_EQ(VLTgetrhs(env, q, &rhs, row, row), 0);
      const cutrec &c = pool.master.recs[id];
      ASSERT_EQ(nz, c.nnz) << "row " << row;
      EXPECT_NEAR(rhs, c.rhs, 1e-9);
      for (int t = 0; t < nz; ++t) {
        EXPECT_EQ(ind[t], pool.master.indof(id)[t]);
        EXPECT_NEAR(val[t], pool.master.valof(id)[t], 1e-9);
      }
    }
    withcuts += pool.ids.size() > 0;
  }
  EXPECT_GT(withcuts, 3);
}


// A model where covers and GUB covers are found: the summary lines count
// the node problem's rows by the family letter of their names.
class CutLogTest : public CutsTest {
 protected:
  void build() {
    std::mt19937 rng(5);
    binmodel bm;
    std::vector<double> obj;
    multiknapsack(rng, 24, 4, 0.35, bm, obj);
    for (int j = 0; j + 2 < bm.n; j += 3) {  // groups of three
      std::vector<double> r(bm.n, 0.0);
      r[j] = r[j + 1] = r[j + 2] = 1;
      bm.a.push_back(r);
      bm.sense += "L";
      bm.rhs.push_back(1);
    }
    load(bm, obj);
    int m = static_cast<int>(bm.a.size());
    std::vector<std::string> names;
    std::vector<char *> np;
    std::vector<int> idx;
    for (int i = 0; i < m; ++i) names.push_back("R" + std::to_string(i));
    for (int i = 0; i < m; ++i) np.push_back(names[i].data()), idx.push_back(i);
    ASSERT_EQ(VLTchgrowname(env, lp, m, idx.data(), np.data()), 0);
  }
  // Rows of the node problem whose names start with `letter`.
  int rowsnamed(char letter) {
    VLTLPptr q = lp->mip->nodelp;
    int m = VLTgetnumrows(env, q), surplus = 0;
    std::vector<char *> nm(m);
    std::vector<char> store(64 * m + 64);
    EXPECT_EQ(VLTgetrowname(env, q, nm.data(), store.data(), static_cast<int>(store.size()),
                            &surplus, 0, m - 1),
              0);
    int c = 0;
    for (int i = 0; i < m; ++i) c += nm[i][0] == letter;
    return c;
  }
};

TEST_F(CutLogTest, SummaryLinesCountTheCutRowsOfEachFamily) {
  build();
  VLTsetintparam(env, VLT_PARAM_MIPDISPLAY, 1);
  VLTsetintparam(env, VLT_PARAM_MIRCUTS, 1);  // a parameter of 1 prints its line
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  int covers = rowsnamed('v'), gubs = rowsnamed('g');
  EXPECT_GT(covers + gubs, 0);
  EXPECT_EQ(VLTgetcovcnt(env, lp), covers);
  std::string expect = "\n";
  if (gubs) expect += "GUB cover cuts applied:  " + std::to_string(gubs) + "\n";
  if (covers) expect += "Cover cuts applied:  " + std::to_string(covers) + "\n";
  expect += "Mixed integer rounding cuts applied:  0\n";
  EXPECT_NE(res.find(expect), std::string::npos) << res;
  EXPECT_EQ(res.find("Local cover cuts applied"), std::string::npos);
}

TEST_F(CutLogTest, FamiliesOffPrintNoSummaryAndAddNoRows) {
  build();
  VLTsetintparam(env, VLT_PARAM_MIPDISPLAY, 1);
  VLTsetintparam(env, VLT_PARAM_COVERS, -1);
  VLTsetintparam(env, VLT_PARAM_GUBCOVERS, -1);
  VLTsetintparam(env, VLT_PARAM_MIRCUTS, -1);
  VLTsetintparam(env, VLT_PARAM_FLOWCOVERS, -1);
  VLTsetintparam(env, VLT_PARAM_FRACCUTS, -1);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  EXPECT_EQ(res.find("applied"), std::string::npos) << res;
  EXPECT_EQ(VLTgetnumrows(env, lp->mip->nodelp), VLTgetnumrows(env, lp));
}

TEST_F(CutLogTest, RootCutRowsAndTheCutPassLimit) {
  build();
  VLTsetintparam(env, VLT_PARAM_MIPDISPLAY, 3);
  VLTsetintparam(env, VLT_PARAM_CUTPASS, 1);
  VLTsetintparam(env, VLT_PARAM_NODELIM, 1);
  ASSERT_EQ(VLTmipopt(env, lp), 0);
  // one generating pass: one cut row, in the node row's columns
  size_t at = res.find("Cuts:  ");
  if (at == std::string::npos) at = res.find("Covers:  ");
  if (at == std::string::npos) at = res.find("GUBcuts:  ");
  ASSERT_NE(at, std::string::npos) << res;
  size_t bol = res.rfind('\n', at) + 1;
  EXPECT_EQ(res.substr(bol, 13), std::string(13, ' '));
  EXPECT_EQ(res.find("Cuts:  ", at + 1), std::string::npos);
  // VLT_PARAM_CUTPASS -1: no root loop; a budget of 0 (VLT_PARAM_CUTSFACTOR
  // 1): no cut.  Either way no rows.
  for (int k = 0; k < 2; ++k) {
    TearDown();
    SetUp();
    build();
    if (k == 0) VLTsetintparam(env, VLT_PARAM_CUTPASS, -1);
    else VLTsetdblparam(env, VLT_PARAM_CUTSFACTOR, 1.0);
    VLTsetintparam(env, VLT_PARAM_NODELIM, 1);
    ASSERT_EQ(VLTmipopt(env, lp), 0);
    EXPECT_EQ(VLTgetnumrows(env, lp->mip->nodelp), VLTgetnumrows(env, lp));
  }
}

}  // namespace
}  // namespace miptest
