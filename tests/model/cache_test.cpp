// Additions through the change cache: equal to loading whole, counted
// without folding, folded at the limit.
#include "fixture.h"
#include "model/lp.h"

using namespace velto_test;

namespace {

// Columns [c0, c1) of a model as an addcols batch, entries restricted to
// rows below mrows.
struct Batch {
  std::vector<int> beg, ind;
  std::vector<double> val, obj, lb, ub, rhs;
  std::vector<char> sense;
  std::vector<char *> names;
};

Batch colbatch(Model &d, int c0, int c1, int mrows, bool names) {
  Batch b;
  for (int j = c0; j < c1; ++j) {
    b.beg.push_back(static_cast<int>(b.ind.size()));
    for (int k = d.beg[j]; k < d.beg[j] + d.cnt[j]; ++k)
      if (d.ind[k] < mrows) {
        b.ind.push_back(d.ind[k]);
        b.val.push_back(d.val[k]);
      }
    b.obj.push_back(d.obj[j]);
    b.lb.push_back(d.lb[j]);
    b.ub.push_back(d.ub[j]);
    if (names) b.names.push_back(d.cnames[j].data());
  }
  return b;
}

Batch rowbatch(Model &d, int r0, int r1, int ncols, bool names) {
  Batch b;
  for (int i = r0; i < r1; ++i) {
    b.beg.push_back(static_cast<int>(b.ind.size()));
    for (int j = 0; j < ncols; ++j) {
      double v = d.coef(i, j);
      if (v != 0.0) {
        b.ind.push_back(j);
        b.val.push_back(v);
      }
    }
    b.rhs.push_back(d.rhs[i]);
    b.sense.push_back(d.sense[i]);
    if (names) b.names.push_back(d.rnames[i].data());
  }
  return b;
}

// The leading n1 x m1 part of a model.
Model leading(const Model &d, int n1, int m1) {
  Model s;
  s.n = n1;
  s.m = m1;
  s.objsen = d.objsen;
  s.hasrng = d.hasrng;
  for (int i = 0; i < m1; ++i) {
    s.rhs.push_back(d.rhs[i]);
    s.sense.push_back(d.sense[i]);
    s.rng.push_back(d.rng[i]);
    if (!d.rnames.empty()) s.rnames.push_back(d.rnames[i]);
  }
  for (int j = 0; j < n1; ++j) {
    s.obj.push_back(d.obj[j]);
    s.lb.push_back(d.lb[j]);
    s.ub.push_back(d.ub[j]);
    s.beg.push_back(static_cast<int>(s.ind.size()));
    for (int k = d.beg[j]; k < d.beg[j] + d.cnt[j]; ++k)
      if (d.ind[k] < m1) {
        s.ind.push_back(d.ind[k]);
        s.val.push_back(d.val[k]);
      }
    s.cnt.push_back(static_cast<int>(s.ind.size()) - s.beg[j]);
    if (!d.cnames.empty()) s.cnames.push_back(d.cnames[j]);
  }
  if (s.ind.empty()) {
    s.ind.push_back(0);
    s.val.push_back(0);
  }
  return s;
}

}  // namespace

TEST_F(StoreTest, AddingRowsAndColumnsEqualsLoadingWhole) {
  std::mt19937 rng(77);
  for (int t = 0; t < 30; ++t) {
    SCOPED_TRACE(t);
    bool names = t % 2 == 0;
    int n = 1 + static_cast<int>(rng() % 40), m = 1 + static_cast<int>(rng() % 40);
    Model d = randommodel(rng, n, m, names, false);  // added rows carry no range
    int n1 = static_cast<int>(rng() % (n + 1)), m1 = static_cast<int>(rng() % (m + 1));
    Model first = leading(d, n1, m1);
    if (t % 3 == 0) {
      ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_COLGROWTH, 0), 0);
    }
    ASSERT_EQ(load(env, lp, first), 0) << takeErrors();
    // Columns in random batches, entries only in the rows present so far.
    for (int j = n1; j < n;) {
      int j1 = std::min(n, j + 1 + static_cast<int>(rng() % 5));
      Batch b = colbatch(d, j, j1, m1, names);
      ASSERT_EQ(VLTaddcols(env, lp, j1 - j, static_cast<int>(b.ind.size()), b.obj.data(),
                           b.beg.data(), b.ind.data(), b.val.data(), b.lb.data(), b.ub.data(),
                           names ? b.names.data() : nullptr), 0) << takeErrors();
      j = j1;
    }
    EXPECT_EQ(VLTgetnumcols(env, lp), n);
    // Rows in random batches with entries across all columns.
    for (int i = m1; i < m;) {
      int i1 = std::min(m, i + 1 + static_cast<int>(rng() % 7));
      Batch b = rowbatch(d, i, i1, n, names);
      ASSERT_EQ(VLTaddrows(env, lp, 0, i1 - i, static_cast<int>(b.ind.size()), b.rhs.data(),
                           b.sense.data(), b.beg.data(), b.ind.data(), b.val.data(), nullptr,
                           names ? b.names.data() : nullptr), 0) << takeErrors();
      EXPECT_EQ(VLTgetnumrows(env, lp), i1);
      i = i1;
    }
    // Ranged rows added by rows carry a zero range; the model says so too.
    for (int i = m1; i < m; ++i) d.rng[i] = 0.0;
    expectmodel(env, lp, d, errors, false);
    ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_COLGROWTH, 100), 0);
  }
}

TEST_F(StoreTest, NewRowsColumnsAndTriplesEqualLoadingWhole) {
  std::mt19937 rng(5);
  for (int t = 0; t < 20; ++t) {
    SCOPED_TRACE(t);
    int n = 1 + static_cast<int>(rng() % 30), m = 1 + static_cast<int>(rng() % 30);
    Model d = randommodel(rng, n, m, false, true);
    int n1 = static_cast<int>(rng() % (n + 1)), m1 = static_cast<int>(rng() % (m + 1));
    Model first = leading(d, n1, m1);
    ASSERT_EQ(load(env, lp, first), 0);
    std::vector<double> lb(d.lb.begin() + n1, d.lb.end()), ub(d.ub.begin() + n1, d.ub.end());
    std::vector<double> obj(d.obj.begin() + n1, d.obj.end());
    ASSERT_EQ(VLTnewcols(env, lp, n - n1, obj.data(), lb.data(), ub.data(), nullptr, nullptr), 0);
    std::vector<double> rhs(d.rhs.begin() + m1, d.rhs.end()), rg(d.rng.begin() + m1, d.rng.end());
    std::vector<char> sense(d.sense.begin() + m1, d.sense.end());
    ASSERT_EQ(VLTnewrows(env, lp, m - m1, rhs.data(), sense.data(), rg.data(), nullptr), 0);
    // The entries outside the leading block, as triples in random order,
    // with a few zero triples that must have no effect.
    std::vector<int> ri, ci;
    std::vector<double> vi;
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < m; ++i) {
        if (i < m1 && j < n1) continue;
        double v = d.coef(i, j);
        if (v != 0.0 || rng() % 10 == 0) {
          ri.push_back(i);
          ci.push_back(j);
          vi.push_back(v);
        }
      }
    for (size_t k = ri.size(); k > 1; --k) {
      size_t q = rng() % k;
      std::swap(ri[k - 1], ri[q]);
      std::swap(ci[k - 1], ci[q]);
      std::swap(vi[k - 1], vi[q]);
    }
    ASSERT_EQ(VLTEcacheNewNZsByNZ(env, lp, static_cast<int>(ri.size()), ri.data(), ci.data(),
                                  vi.data()), 0);
    ASSERT_EQ(VLTcompletelp(env, lp), 0);
    EXPECT_EQ(lp->core->cache->empty, 1u);
    expectmodel(env, lp, d, errors, false);
  }
}

TEST_F(StoreTest, PendingItemsAreCountedAndChangedInTheCache) {
  double obj[] = {1, 2}, rhs[] = {3}, lb[] = {0, 0}, ub[] = {5, 5}, val[] = {1, 1};
  int beg[] = {0, 1}, cnt[] = {1, 1}, ind[] = {0, 0};
  char sense[] = {'L'};
  ASSERT_EQ(VLTcopylp(env, lp, 2, 1, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
  int rbeg[] = {0, 2}, rind[] = {0, 1, 1};
  double rval[] = {1, -1, 4}, rrhs[] = {7, 8};
  char rsense[] = {'G', 'E'};
  ASSERT_EQ(VLTaddrows(env, lp, 0, 2, 3, rrhs, rsense, rbeg, rind, rval, nullptr, nullptr), 0);
  velto::cache *c = lp->core->cache;
  EXPECT_EQ(c->empty, 0u);
  EXPECT_EQ(c->rcnt, 2);
  EXPECT_EQ(VLTgetnumrows(env, lp), 3);  // counted without folding
  EXPECT_EQ(lp->core->numrows, 1);
  int two = 2;
  double newrhs = 9;
  ASSERT_EQ(VLTchgrhs(env, lp, 1, &two, &newrhs), 0);
  EXPECT_EQ(c->rrhs[1], 9.0);
  char toL = 'L';
  ASSERT_EQ(VLTchgsense(env, lp, 1, &two, &toL), 0);
  EXPECT_EQ(c->rsense[1], 'L');
  // A pending column takes bound and objective changes.
  ASSERT_EQ(VLTnewcols(env, lp, 1, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(VLTgetnumcols(env, lp), 3);
  int col2 = 2;
  char b = 'B';
  double bd = 1e-11, newobj = 6;
  ASSERT_EQ(VLTchgbds(env, lp, 1, &col2, &b, &bd), 0);
  ASSERT_EQ(VLTchgobj(env, lp, 1, &col2, &newobj), 0);
  char *nm[] = {const_cast<char *>("late")};
  ASSERT_EQ(VLTchgcolname(env, lp, 1, &col2, nm), 0);
  // Index past the pending ones.
  int three = 3;
  EXPECT_EQ(VLTchgobj(env, lp, 1, &three, &newobj), 1201);
  EXPECT_EQ(takeErrors(), "VELTO Error  1201: Column index 3 out of range.\n");
  // The first query that folds takes them all in.
  double r[3], o[3], l[3], u[3];
  ASSERT_EQ(VLTgetrhs(env, lp, r, 0, 2), 0);
  EXPECT_EQ(c->empty, 1u);
  EXPECT_EQ(r[2], 9.0);
  char s[3];
  ASSERT_EQ(VLTgetsense(env, lp, s, 0, 2), 0);
  EXPECT_EQ(std::string(s, 3), "LGL");
  ASSERT_EQ(VLTgetobj(env, lp, o, 0, 2), 0);
  EXPECT_EQ(o[2], 6.0);
  ASSERT_EQ(VLTgetlb(env, lp, l, 0, 2), 0);
  ASSERT_EQ(VLTgetub(env, lp, u, 0, 2), 0);
  EXPECT_EQ(l[2], 0.0);
  EXPECT_EQ(u[2], 0.0);
  EXPECT_EQ(lp->core->lbkind[2], velto::kBoundZero);
  double a = 0;
  ASSERT_EQ(VLTgetcoef(env, lp, 2, 1, &a), 0);
  EXPECT_EQ(a, 4.0);
  // The model had no names: the others get their defaults.
  char *names[3];
  char store[64];
  int sur;
  ASSERT_EQ(VLTgetcolname(env, lp, names, store, 64, &sur, 0, 2), 0);
  EXPECT_STREQ(names[0], "x1");
  EXPECT_STREQ(names[1], "x2");
  EXPECT_STREQ(names[2], "late");
}

TEST_F(StoreTest, CacheFoldsPastItsLimit) {
  // A clone has no spare room, and without growth every addition goes
  // through the cache.
  ASSERT_EQ(VLTsetintparam(env, VLT_PARAM_COLGROWTH, 0), 0);
  double obj[5] = {}, lb[5] = {}, ub[5] = {1, 1, 1, 1, 1}, rhs[] = {1}, val[5] = {1, 1, 1, 1, 1};
  int beg[] = {0, 1, 2, 3, 4}, cnt[] = {1, 1, 1, 1, 1}, ind[5] = {};
  char sense[] = {'L'};
  ASSERT_EQ(VLTcopylp(env, lp, 5, 1, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
  int status = 0;
  VLTLPptr q = VLTcloneprob(env, lp, &status);
  ASSERT_EQ(status, 0);
  velto::cache *c = q->core->cache;
  int cb = 0, ci = 0;
  double cv = 2, co = 1;
  for (int k = 1; k <= 10; ++k) {
    ASSERT_EQ(VLTaddcols(env, q, 1, 1, &co, &cb, &ci, &cv, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(c->ccnt, k);
  }
  EXPECT_EQ(q->core->numcols, 5);
  EXPECT_EQ(VLTgetnumcols(env, q), 15);
  ASSERT_EQ(VLTaddcols(env, q, 1, 1, &co, &cb, &ci, &cv, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(c->empty, 1u);  // folded after the 11th
  EXPECT_EQ(q->core->numcols, 16);
  EXPECT_EQ(VLTgetnumnz(env, q), 16);
  // VLTnewcols never folds, however many.
  for (int k = 0; k < 200; ++k)
    ASSERT_EQ(VLTnewcols(env, q, 1, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(c->ccnt, 200);
  EXPECT_EQ(VLTgetnumcols(env, q), 216);
  EXPECT_EQ(VLTgetnumnz(env, q), 16);  // folds
  EXPECT_EQ(q->core->numcols, 216);
  // A count of 0 takes the bases but leaves the cache empty.
  ASSERT_EQ(VLTEcacheNewCols(env, q, 0, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(c->empty, 1u);
  EXPECT_EQ(VLTEcacheNewCols(env, q, -1, nullptr, nullptr, nullptr, nullptr, nullptr), 1003);
  takeErrors();
}

TEST_F(StoreTest, VectorFormsTurnIntoTriplesWhenBatchesDoNotFollow) {
  int beg[] = {0, 1, 2}, ind[] = {0, 0, 0};
  double val[] = {1, 2, 3};
  double rhs[] = {0};
  char sense[] = {'E'};
  ASSERT_EQ(VLTnewrows(env, lp, 1, rhs, sense, nullptr, nullptr), 0);
  ASSERT_EQ(velto::cache_flush(env, lp), 0);
  velto::cache *c = lp->core->cache;
  ASSERT_EQ(velto::cache_newcols(env, lp, 6, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  ASSERT_EQ(velto::cache_addcolsnz(env, lp, 0, 3, 3, beg, ind, val), 0);
  ASSERT_EQ(velto::cache_addcolsnz(env, lp, 3, 3, 3, beg, ind, val), 0);
  EXPECT_EQ(c->mform, 2);
  EXPECT_EQ(c->mvecs, 6);
  ASSERT_EQ(velto::cache_fold(env, lp, 1), 0);
  EXPECT_EQ(VLTgetnumnz(env, lp), 6);
  ASSERT_EQ(velto::cache_newcols(env, lp, 10, nullptr, nullptr, nullptr, nullptr, nullptr), 0);
  ASSERT_EQ(velto::cache_addcolsnz(env, lp, 10, 3, 3, beg, ind, val), 0);
  ASSERT_EQ(velto::cache_addcolsnz(env, lp, 13, 3, 3, beg, ind, val), 0);
  EXPECT_EQ(c->mform, 3);
  EXPECT_EQ(c->mnz, 6);
  ASSERT_EQ(velto::cache_fold(env, lp, 1), 0);
  double a = 0;
  ASSERT_EQ(VLTgetcoef(env, lp, 0, 14, &a), 0);
  EXPECT_EQ(a, 2.0);
}

TEST_F(StoreTest, BadAdditionsLeaveTheModel) {
  datacheck(1);
  double obj[] = {1}, rhs[] = {1}, lb[] = {0}, ub[] = {1}, val[] = {1};
  int beg[] = {0}, cnt[] = {1}, ind[] = {0};
  char sense[] = {'L'};
  ASSERT_EQ(VLTcopylp(env, lp, 1, 1, 1, obj, rhs, sense, beg, cnt, ind, val, lb, ub, nullptr), 0);
  int b2[] = {0}, i2[] = {0, 0}, bad[] = {3};
  double v2[] = {1, 1};
  char badsense[] = {'Q'};
  EXPECT_EQ(VLTaddrows(env, lp, 0, -1, 0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), 1003);
  EXPECT_EQ(VLTaddrows(env, lp, 0, 1, 1, rhs, sense, nullptr, i2, v2, nullptr, nullptr), 1004);
  EXPECT_EQ(VLTaddrows(env, lp, 0, 1, 1, rhs, badsense, b2, i2, v2, nullptr, nullptr), 1215);
  EXPECT_EQ(VLTaddrows(env, lp, 0, 1, 1, rhs, sense, b2, bad, v2, nullptr, nullptr), 1201);
  EXPECT_EQ(VLTaddrows(env, lp, 0, 1, 2, rhs, sense, b2, i2, v2, nullptr, nullptr), 1222);
  EXPECT_EQ(VLTaddcols(env, lp, 1, 1, obj, b2, bad, v2, nullptr, nullptr, nullptr), 1203);
  EXPECT_EQ(takeErrors(),
            "VELTO Error  1003: Bad argument to Callable Library function.\n"
            "VELTO Error  1004: Null pointer for required data.\n"
            "VELTO Error  1215: Illegal sense entry 0.\n"
            "VELTO Error  1201: Column index 0 out of range.\n"
            "VELTO Error  1222: Duplicate entry.\n"
            "VELTO Error  1203: Row index 0 out of range.\n");
  EXPECT_EQ(VLTgetnumrows(env, lp), 1);
  EXPECT_EQ(VLTgetnumcols(env, lp), 1);
  EXPECT_EQ(VLTgetnumnz(env, lp), 1);
  char lu[] = {'X'};
  EXPECT_EQ(VLTchgbds(env, lp, 1, ind, lu, val), 1229);
  EXPECT_EQ(takeErrors(), "VELTO Error  1229: Illegal bound change indicator entry 0.\n");
}
