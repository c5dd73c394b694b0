// Name tables: name sets with hash lookup, default names, model names.
#include <cstring>

#include "fixture.h"
#include "model/lp.h"

using namespace velto_test;

TEST(NameSet, BucketCountsAndDefaultNumbering) {
  int status = -1;
  velto::nameset *a = velto::nameset_new(10229, 'x', 1, &status);
  ASSERT_EQ(status, 0);
  EXPECT_EQ(velto::nameset_buckets(a), 1023);
  velto::nameset *b = velto::nameset_new(10230, 'x', 1, &status);
  EXPECT_EQ(velto::nameset_buckets(b), 7161);
  velto::nameset_free(&a);
  velto::nameset_free(&b);
  EXPECT_EQ(a, nullptr);
  EXPECT_EQ(velto::nameset_new(525000000, 'x', 1, &status), nullptr);
  EXPECT_EQ(status, 1012);

  velto::nameset *s = velto::nameset_new(2, 'x', 1, &status);
  const char *three[] = {"alpha", nullptr, ""};
  ASSERT_EQ(velto::nameset_add(s, 3, three), 0);
  ASSERT_EQ(velto::nameset_add(s, 2, nullptr), 0);
  EXPECT_STREQ(velto::nameset_name(s, 0), "alpha");
  EXPECT_STREQ(velto::nameset_name(s, 1), "x2");  // null and empty become defaults
  EXPECT_STREQ(velto::nameset_name(s, 2), "x3");
  EXPECT_STREQ(velto::nameset_name(s, 3), "x4");  // numbering continues
  EXPECT_STREQ(velto::nameset_name(s, 4), "x5");
  EXPECT_EQ(velto::nameset_name(s, 5), nullptr);
  EXPECT_EQ(s->firstdefault, 1);
  EXPECT_EQ(velto::nameset_find(s, "x4"), 3);
  EXPECT_EQ(velto::nameset_find(s, "X4"), -1);  // case matters
  EXPECT_EQ(velto::nameset_findadd(s, "beta", &status), 5);
  EXPECT_EQ(velto::nameset_findadd(s, "alpha", &status), 0);
  // Replace, then delete with the index map.
  int idx[] = {1, 3};
  const char *nn[] = {"a_much_longer_name_than_before", "d"};
  ASSERT_EQ(velto::nameset_replace(s, 2, idx, nn), 0);
  EXPECT_EQ(velto::nameset_find(s, "x2"), -1);
  EXPECT_EQ(velto::nameset_find(s, "d"), 3);
  int flags[] = {1, 0, 1, 0, 0, 0};
  ASSERT_EQ(velto::nameset_delete(s, flags), 0);
  EXPECT_EQ(s->count, 4);
  int expect[] = {-1, 0, -1, 1, 2, 3};
  for (int k = 0; k < 6; ++k) EXPECT_EQ(flags[k], expect[k]);
  EXPECT_EQ(velto::nameset_find(s, "d"), 1);
  EXPECT_EQ(velto::nameset_find(s, "beta"), 3);
  EXPECT_EQ(velto::nameset_find(s, "alpha"), -1);
  velto::nameset_truncate(s, 2);
  EXPECT_EQ(velto::nameset_find(s, "beta"), -1);
  EXPECT_EQ(velto::nameset_find(s, "d"), 1);
  // Copy-out protocol.
  char *out[2];
  char store[64];
  int sur = 0;
  EXPECT_EQ(velto::nameset_copyout(s, out, store, 0, &sur, 0, 1), 1207);
  EXPECT_EQ(sur, -(31 + 2));
  EXPECT_EQ(velto::nameset_copyout(s, out, store, 64, &sur, 0, 1), 0);
  EXPECT_STREQ(out[1], "d");
  velto::nameset_clear(s);
  EXPECT_EQ(velto::nameset_find(s, "d"), -1);
  velto::nameset_free(&s);
}

TEST(NameSet, MillionNamesAllFoundWithAndWithoutGrowth) {
  int status = 0;
  velto::nameset *s = velto::nameset_new(1000, 'c', 1, &status);  // grows on the way
  ASSERT_EQ(status, 0);
  const int n = 1000000;
  char buf[32];
  for (int k = 0; k < n; ++k) {
    std::snprintf(buf, sizeof buf, "R%07d", static_cast<int>((static_cast<long long>(k) * 7919) % n));
    const char *one[] = {buf};
    ASSERT_EQ(velto::nameset_add(s, 1, one), 0);
  }
  for (int k = 0; k < n; ++k) {
    std::snprintf(buf, sizeof buf, "R%07d", static_cast<int>((static_cast<long long>(k) * 7919) % n));
    ASSERT_EQ(velto::nameset_find(s, buf), k);
  }
  EXPECT_EQ(velto::nameset_find(s, "R9999999"), -1);
  velto::nameset_free(&s);
}

TEST_F(StoreTest, LookupAmongAMillionModelNames) {
  const int n = 1000000;
  std::vector<std::string> names(n);
  std::vector<char *> ptr(n);
  for (int j = 0; j < n; ++j) {
    names[j] = "col" + std::to_string(j);
    ptr[j] = names[j].data();
  }
  std::vector<double> obj(n, 0.0), lb(n, 0.0), ub(n, 1.0);
  std::vector<int> beg(n, 0), cnt(n, 0);
  int ind0 = 0;
  double val0 = 0, rhs0 = 0;
  char sense0 = 'E';
  ASSERT_EQ(VLTcopylpwnames(env, lp, n, 0, 1, obj.data(), &rhs0, &sense0, beg.data(), cnt.data(),
                            &ind0, &val0, lb.data(), ub.data(), nullptr, ptr.data(), nullptr), 0);
  for (int j : {0, 1, 9, 10, 99999, 500000, 999998, 999999}) {
    int idx = -7;
    ASSERT_EQ(VLTgetcolindex(env, lp, names[j].c_str(), &idx), 0);
    EXPECT_EQ(idx, j);
  }
  int idx = 5;
  EXPECT_EQ(VLTgetcolindex(env, lp, "col1000000", &idx), 1210);
  EXPECT_EQ(idx, -1);
  EXPECT_EQ(takeErrors(), "VELTO Error  1210: Name not found.\n");
  EXPECT_EQ(VLTgetrowindex(env, lp, "c1", &idx), 1219);
  EXPECT_EQ(takeErrors(), "VELTO Error  1219: No names exist.\n");
}

namespace {
std::string renamed(int round) {
  std::string s = "renamed_";
  s += std::to_string(round);
  s.append(static_cast<size_t>(round % 17), 'z');
  return s;
}
}  // namespace

TEST_F(StoreTest, DefaultNamesWhenAModelGetsItsFirstName) {
  std::mt19937 rng(1);
  Model d = randommodel(rng, 12, 11, false, true);
  ASSERT_EQ(load(env, lp, d), 0);
  char *names[12];
  char store[256];
  int sur = 0;
  EXPECT_EQ(VLTgetcolname(env, lp, names, store, 256, &sur, 0, 11), 1219);
  EXPECT_EQ(takeErrors(), "VELTO Error  1219: No names exist.\n");
  int j = 4;
  char *nm[] = {const_cast<char *>("fifth")};
  ASSERT_EQ(VLTchgcolname(env, lp, 1, &j, nm), 0);
  ASSERT_EQ(VLTgetcolname(env, lp, names, store, 256, &sur, 0, 11), 0);
  for (int k = 0; k < 12; ++k) {
    char want[16];
    std::snprintf(want, sizeof want, "x%d", k + 1);
    EXPECT_STREQ(names[k], k == 4 ? "fifth" : want);
  }
  // Rows through the one-name call; other keys do nothing.
  ASSERT_EQ(VLTchgname(env, lp, 'r', 10, "last"), 0);
  ASSERT_EQ(VLTgetrowname(env, lp, names, store, 256, &sur, 9, 10), 0);
  EXPECT_STREQ(names[0], "c10");
  EXPECT_STREQ(names[1], "last");
  EXPECT_EQ(VLTchgname(env, lp, 'x', 0, "ignored"), 0);
  EXPECT_EQ(VLTchgname(env, lp, 'c', 0, nullptr), 1004);
  takeErrors();
  // Many renames: the store compacts and grows, no name is lost.
  for (int round = 0; round < 200; ++round) {
    int k = round % 12;
    std::string s = renamed(round);
    char *one[] = {s.data()};
    ASSERT_EQ(VLTchgcolname(env, lp, 1, &k, one), 0);
  }
  ASSERT_EQ(VLTgetcolname(env, lp, names, store, 256, &sur, 11, 11), 0);
  EXPECT_STREQ(names[0], renamed(191).c_str());
  int idx = -1;
  ASSERT_EQ(VLTgetcolindex(env, lp, renamed(188).c_str(), &idx), 0);
  EXPECT_EQ(idx, 8);
  // Names go away together.
  ASSERT_EQ(VLTdelnames(env, lp), 0);
  EXPECT_EQ(VLTgetcolindex(env, lp, "fifth", &idx), 1219);
  takeErrors();
}

TEST_F(StoreTest, NameChangesCheckTheirArguments) {
  std::mt19937 rng(2);
  Model d = randommodel(rng, 3, 2, true, false);
  ASSERT_EQ(load(env, lp, d), 0);
  int idx[] = {0, 0}, far[] = {3};
  char *two[] = {const_cast<char *>("p"), const_cast<char *>("q")};
  char *withnull[] = {nullptr};
  EXPECT_EQ(VLTchgcolname(env, lp, 1, far, two), 1201);
  EXPECT_EQ(VLTchgcolname(env, lp, 1, idx, withnull), 1224);
  EXPECT_EQ(VLTchgcolname(env, lp, -1, idx, two), 1003);
  EXPECT_EQ(VLTchgrowname(env, lp, 1, nullptr, two), 1004);
  EXPECT_EQ(takeErrors(),
            "VELTO Error  1201: Column index 3 out of range.\n"
            "VELTO Error  1224: Null pointer 0 in name array.\n"
            "VELTO Error  1003: Bad argument to Callable Library function.\n"
            "VELTO Error  1004: Null pointer for required data.\n");
  datacheck(1);
  EXPECT_EQ(VLTchgcolname(env, lp, 2, idx, two), 1222);
  EXPECT_EQ(takeErrors(), "VELTO Error  1222: Duplicate entry.\n");
  expectmodel(env, lp, d, errors);  // unchanged
  // Equal texts are allowed; a lookup finds the first.
  int ix[] = {0, 2};
  char *same[] = {const_cast<char *>("dup"), const_cast<char *>("dup")};
  ASSERT_EQ(VLTchgcolname(env, lp, 2, ix, same), 0);
  int found = -1;
  ASSERT_EQ(VLTgetcolindex(env, lp, "dup", &found), 0);
  EXPECT_EQ(found, 0);
}

TEST_F(StoreTest, NamesForMessagesNeverFault) {
  char *names[] = {const_cast<char *>("given")};
  EXPECT_STREQ(velto::colnameof(env, names, 1, 0), "given");
  EXPECT_STREQ(velto::colnameof(env, names, 1, 1), "");
  EXPECT_STREQ(velto::rownameof(env, nullptr, 5, -1), "");
  EXPECT_STREQ(velto::colnameof(env, nullptr, 2000000000, 1999999999), "x2000000000");
  EXPECT_STREQ(velto::rownameof(env, nullptr, 5, 4), "c5");
  auto fn = [](void *h, int i) -> const char * {
    static std::string s;
    s = *static_cast<std::string *>(h) + std::to_string(i);
    return s.c_str();
  };
  std::string pre = "var";
  ASSERT_EQ(VLTEsetnamefunctions(env, fn, nullptr, &pre), 0);
  EXPECT_STREQ(velto::colnameof(env, nullptr, 5, 3), "var3");
  EXPECT_STREQ(velto::rownameof(env, nullptr, 5, 3), "c4");
}
