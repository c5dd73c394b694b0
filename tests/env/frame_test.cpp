// The environment frame and the message channels: open and close, memory,
// the random generator, range checks, destinations and the log file.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>

#include "capture.h"
#include "env/env.h"
#include "env/par.h"

namespace {

std::string readall(FILE *fp) {
  std::fflush(fp);
  std::rewind(fp);
  std::string s;
  char buf[256];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof buf, fp)) > 0) s.append(buf, n);
  return s;
}

int destcount(velto_channel *ch, FILE *fp) {
  int n = 0;
  for (velto_dest *d = ch->head; d != nullptr; d = d->next) n += d->kind == 1 && d->fp == fp;
  return n;
}

TEST(Frame, OpenAndClose) {
  EXPECT_EQ(VLTopenVELTO(nullptr), nullptr);

  int status = -1;
  VLTENVptr env = VLTopenVELTO(&status);
  ASSERT_NE(env, nullptr);
  EXPECT_EQ(status, 0);
  EXPECT_STREQ(VLTversion(env), "8.1.0");
  EXPECT_EQ(VLTversion(nullptr), nullptr);
  EXPECT_EQ(VLTEgetbigreal(env), 1e75);
  EXPECT_EQ(VLTEgetThreadNumber(env), 0);
  EXPECT_EQ(env->threadlimit, 16);
  EXPECT_EQ(env->seed, 1u);
  EXPECT_EQ(env->trackon, 1u);

  // Channels come back in the order results, warning, error, log.
  VLTCHANNELptr r, w, e, l;
  ASSERT_EQ(VLTgetchannels(env, &r, &w, &e, &l), 0);
  EXPECT_EQ(r, env->reschannel);
  EXPECT_EQ(w, env->warnchannel);
  EXPECT_EQ(e, env->errchannel);
  EXPECT_EQ(l, env->logchannel);
  EXPECT_EQ(VLTgetchannels(env, nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(VLTgetchannels(nullptr, &r, &w, &e, &l), 1002);
  // The standard channels start empty and are not on the resource list.
  EXPECT_EQ(r->head, nullptr);
  EXPECT_EQ(env->restrack, nullptr);

  EXPECT_EQ(VLTcloseVELTO(&env), 0);
  EXPECT_EQ(env, nullptr);
  EXPECT_EQ(VLTcloseVELTO(&env), 1002);
  EXPECT_EQ(VLTcloseVELTO(nullptr), 1004);
}

// Everything the application left open goes at close; the sanitizer build
// reports anything that leaks.
TEST(Frame, CloseFreesProblemsAndChannels) {
  int status = -1;
  VLTENVptr env = VLTopenVELTO(&status);
  ASSERT_NE(env, nullptr);
  for (int i = 0; i < 3; ++i) {
    VLTLPptr lp = VLTcreateprob(env, &status, "p");
    ASSERT_NE(lp, nullptr);
    VLTCHANNELptr ch = VLTaddchannel(env);
    ASSERT_NE(ch, nullptr);
    vtest::Capture *none = nullptr;
    ASSERT_EQ(VLTaddfuncdest(env, ch, none, vtest::Capture::sink), 0);
  }
  int nodes = 0;
  for (velto::resnode *n = env->restrack; n != nullptr; n = n->next) ++nodes;
  EXPECT_EQ(nodes, 6);
  // A freed channel leaves the list.
  VLTCHANNELptr extra = VLTaddchannel(env);
  VLTdelchannel(env, &extra);
  EXPECT_EQ(extra, nullptr);
  VLTdelchannel(env, &extra);  // null: nothing happens
  ASSERT_EQ(VLTcloseVELTO(&env), 0);
  EXPECT_EQ(env, nullptr);
}

TEST(Frame, ClosingAChildIsRefused) {
  vtest::Env parent;
  int status = -1;
  VLTENVptr child = VLTopenVELTO(&status);
  ASSERT_NE(child, nullptr);
  vtest::Capture err;
  VLTCHANNELptr e;
  ASSERT_EQ(VLTgetchannels(child, nullptr, nullptr, &e, nullptr), 0);
  ASSERT_EQ(VLTaddfuncdest(child, e, &err, vtest::Capture::sink), 0);
  child->parent = parent.env;
  VLTENVptr keep = child;
  EXPECT_EQ(VLTcloseVELTO(&child), 1021);
  EXPECT_EQ(child, keep);
  EXPECT_EQ(err.all(), "VELTO Error  1021: Cannot close a child environment.\n");
  child->parent = nullptr;
  EXPECT_EQ(VLTcloseVELTO(&child), 0);
}

TEST(Memory, AlignedBlocksAndResize) {
  for (size_t size : {0, 1, 15, 16, 17, 1000, 100000}) {
    unsigned char *p = static_cast<unsigned char *>(VLTmalloc(size));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(p) % 16, 0u);
    EXPECT_GE(p[-1], 1);
    EXPECT_LE(p[-1], 16);
    for (size_t i = 0; i < size; ++i) p[i] = static_cast<unsigned char>(i * 7);
    // Growing and shrinking keep the contents and the alignment.
    for (size_t nsize : {size + 1, size * 3 + 100, size / 2 + 1}) {
      unsigned char *q = static_cast<unsigned char *>(VLTrealloc(p, nsize));
      ASSERT_NE(q, nullptr);
      EXPECT_EQ(reinterpret_cast<uintptr_t>(q) % 16, 0u);
      size_t keep = std::min(size, nsize);
      for (size_t i = 0; i < keep; ++i) ASSERT_EQ(q[i], static_cast<unsigned char>(i * 7));
      p = q;
      size = std::min(size, nsize);
    }
    VLTfree(p);
  }
  EXPECT_EQ(VLTrealloc(nullptr, 10), nullptr);
  VLTfree(nullptr);

  int *block = velto::allocnzero<int>(100);
  ASSERT_NE(block, nullptr);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(block[i], 0);
  velto::release(&block);
  EXPECT_EQ(block, nullptr);
  velto::release(&block);
  EXPECT_EQ(velto::resize(nullptr, 8), nullptr);
  EXPECT_EQ(velto::alloc(SIZE_MAX), nullptr);
  EXPECT_EQ(velto::alloczero(SIZE_MAX / 2, 4), nullptr);
}

// The classic linear congruential generator from seed 1.
TEST(Random, SequenceFromSeedOne) {
  vtest::Env env;
  const int want[] = {16838, 5758, 10113, 17515, 31051, 5627, 23010, 7419};
  for (int v : want) EXPECT_EQ(velto::randint(env.env), v);
  uint32_t seed = 1;
  EXPECT_EQ(velto::randdbl(&seed), 16838 / 32768.0);
  for (int i = 0; i < 10000; ++i) {
    double x = velto::randdbl(&seed);
    ASSERT_GE(x, 0.0);
    ASSERT_LT(x, 1.0);
  }
}

TEST(Frame, GenericLockExcludes) {
  volatile int word = 0;
  long counter = 0;
  auto work = [&] {
    for (int i = 0; i < 20000; ++i) {
      VLTEgeneric_lock(&word);
      ++counter;
      VLTEgeneric_unlock(&word);
    }
  };
  std::thread a(work), b(work);
  a.join();
  b.join();
  EXPECT_EQ(counter, 40000);
  EXPECT_EQ(word, 0);
}

TEST(RangeCheck, LinesOnTheErrorChannel) {
  vtest::Env env;
  auto run = [&](int begin, int end, int hi) {
    env.err.clear();
    int status = 0;
    if (!velto::rangecheck(env.env, "VLTgetobj", begin, end, 0, hi)) status = 1200;
    if (status) velto::report(env.env, &status);
    return status;
  };
  // begin below range alone: the 1205 line and the 1200 line.
  EXPECT_EQ(run(-1, 2, 5), 1200);
  ASSERT_EQ(env.err.lines.size(), 2u);
  EXPECT_EQ(env.err.lines[0], "VELTO Error  1205: VLTgetobj: 'begin' value -1 is less than 0.\n");
  EXPECT_EQ(env.err.lines[1], "VELTO Error  1200: Index is outside range of valid values.\n");
  // Both ends out: three lines.
  EXPECT_EQ(run(-1, 5, 5), 1200);
  ASSERT_EQ(env.err.lines.size(), 3u);
  EXPECT_EQ(env.err.lines[0], "VELTO Error  1205: VLTgetobj: 'begin' value -1 is less than 0.\n");
  EXPECT_EQ(env.err.lines[1], "VELTO Error  1206: VLTgetobj: 'end' value 5 is greater than 4.\n");
  EXPECT_EQ(env.err.lines[2], "VELTO Error  1200: Index is outside range of valid values.\n");
  // end alone.
  EXPECT_EQ(run(0, 9, 5), 1200);
  ASSERT_EQ(env.err.lines.size(), 2u);
  EXPECT_EQ(env.err.lines[0], "VELTO Error  1206: VLTgetobj: 'end' value 9 is greater than 4.\n");
  // In range, and an empty range inside the bounds, print nothing.
  EXPECT_EQ(run(0, 4, 5), 0);
  EXPECT_EQ(run(3, 2, 5), 0);
  EXPECT_EQ(run(0, -1, 0), 0);
  EXPECT_TRUE(env.err.lines.empty());
  // An empty range still may not start below the bounds.
  EXPECT_EQ(run(-2, -3, 5), 1200);
}

TEST(Channels, DeliveryOrderAndKinds) {
  vtest::Env env;
  VLTCHANNELptr ch = VLTaddchannel(env);
  ASSERT_NE(ch, nullptr);
  std::string order;
  struct Tag {
    std::string *order;
    char c;
  } t1{&order, '1'}, t2{&order, '2'};
  auto sink = [](void *h, const char *) {
    Tag *t = static_cast<Tag *>(h);
    *t->order += t->c;
  };
  FILE *fp = std::tmpfile();
  ASSERT_NE(fp, nullptr);
  ASSERT_EQ(VLTaddfpdest(env, ch, fp), 0);
  ASSERT_EQ(VLTaddfuncdest(env, ch, &t1, sink), 0);
  ASSERT_EQ(VLTaddfuncdest(env, ch, &t2, sink), 0);
  // The destination added last receives first; file and function get the
  // same text.
  vtest::Capture cap;
  ASSERT_EQ(VLTaddfuncdest(env, ch, &cap, vtest::Capture::sink), 0);
  EXPECT_EQ(VLTmsg(ch, "x=%d %s\n", 12, "ok"), 8);
  EXPECT_EQ(order, "21");
  EXPECT_EQ(cap.all(), "x=12 ok\n");
  EXPECT_EQ(readall(fp), "x=12 ok\n");
  EXPECT_EQ(VLTmsgstr(ch, "%d literal\n"), 11);
  EXPECT_EQ(cap.lines.back(), "%d literal\n");

  // A function added twice is called twice; one removal removes one.
  order.clear();
  ASSERT_EQ(VLTaddfuncdest(env, ch, &t1, sink), 0);
  VLTmsg(ch, "a");
  EXPECT_EQ(order, "121");
  ASSERT_EQ(VLTdelfuncdest(env, ch, &t1, sink), 0);
  order.clear();
  VLTmsg(ch, "b");
  EXPECT_EQ(order, "21");
  EXPECT_EQ(VLTdelfuncdest(env, ch, &t2, vtest::Capture::sink), 1053);  // handle and function must both match
  EXPECT_EQ(VLTdelfuncdest(env, ch, nullptr, nullptr), 1053);

  // Removing a stream that isn't there leaves the list alone.
  FILE *other = std::tmpfile();
  EXPECT_EQ(VLTdelfpdest(env, ch, other), 1052);
  EXPECT_EQ(destcount(ch, fp), 1);
  EXPECT_EQ(VLTdelfpdest(env, ch, fp), 0);
  EXPECT_EQ(destcount(ch, fp), 0);
  std::fclose(other);

  // Argument statuses.
  EXPECT_EQ(VLTaddfpdest(env, nullptr, fp), 1051);
  EXPECT_EQ(VLTaddfpdest(env, ch, nullptr), 1052);
  EXPECT_EQ(VLTaddfuncdest(env, ch, nullptr, nullptr), 1053);
  EXPECT_EQ(VLTaddfuncdest(env, nullptr, nullptr, sink), 1051);
  EXPECT_EQ(VLTdelfuncdest(env, nullptr, nullptr, sink), 1051);
  EXPECT_EQ(VLTdelfpdest(env, nullptr, fp), 1051);
  EXPECT_EQ(VLTaddfpdest(nullptr, ch, fp), 1002);
  EXPECT_EQ(VLTflushchannel(env, nullptr), 1051);
  EXPECT_EQ(VLTdisconnectchannel(env, nullptr), 1051);
  EXPECT_EQ(VLTaddchannel(nullptr), nullptr);
  EXPECT_EQ(env.err.lines.back(), "VELTO Error  1051: No channel pointer supplied to message routine.\n");

  // Disconnect empties the channel and keeps it usable.
  ASSERT_EQ(VLTdisconnectchannel(env, ch), 0);
  EXPECT_EQ(ch->head, nullptr);
  EXPECT_EQ(VLTflushchannel(env, ch), 0);
  EXPECT_EQ(VLTflushstdchannels(env), 0);
  EXPECT_EQ(VLTflushstdchannels(nullptr), 1002);
  VLTdelchannel(env, &ch);
  std::fclose(fp);
}

TEST(Channels, MessageLengthAndTruncation) {
  EXPECT_EQ(VLTmsg(nullptr, "%s-%d", "abc", 42), 6);
  EXPECT_EQ(VLTmsgstr(nullptr, "hello"), 5);
  EXPECT_EQ(VLTmsg(nullptr, nullptr), 0);
  EXPECT_EQ(VLTmsgstr(nullptr, nullptr), 0);
  // A text longer than the buffer is cut, never overrun.
  vtest::Env env;
  VLTCHANNELptr ch = VLTaddchannel(env);
  vtest::Capture cap;
  ASSERT_EQ(VLTaddfuncdest(env, ch, &cap, vtest::Capture::sink), 0);
  std::string big(5000, 'z');
  int n = VLTmsgstr(ch, big.c_str());
  EXPECT_EQ(n, 1023);
  ASSERT_EQ(cap.lines.size(), 1u);
  EXPECT_EQ(cap.lines[0], std::string(1023, 'z'));
}

TEST(Channels, LogFileMovesBetweenStreams) {
  vtest::Env env;
  velto::env *e = env.env;
  velto_channel *four[4] = {e->reschannel, e->warnchannel, e->errchannel, e->logchannel};
  FILE *a = std::tmpfile(), *b = std::tmpfile();
  ASSERT_TRUE(a && b);
  FILE *got = nullptr;
  ASSERT_EQ(VLTgetlogfile(env, &got), 0);
  EXPECT_EQ(got, nullptr);

  ASSERT_EQ(VLTsetlogfile(env, a), 0);
  for (auto *ch : four) EXPECT_EQ(destcount(ch, a), 1);
  ASSERT_EQ(VLTgetlogfile(env, &got), 0);
  EXPECT_EQ(got, a);
  velto::msg(e->logchannel, "to the log\n");

  ASSERT_EQ(VLTsetlogfile(env, b), 0);
  for (auto *ch : four) {
    EXPECT_EQ(destcount(ch, a), 0);
    EXPECT_EQ(destcount(ch, b), 1);
  }
  // A null stream closes the log and opens nothing, without an error.
  ASSERT_EQ(VLTsetlogfile(env, nullptr), 0);
  for (auto *ch : four) EXPECT_EQ(destcount(ch, b), 0);
  ASSERT_EQ(VLTgetlogfile(env, &got), 0);
  EXPECT_EQ(got, nullptr);
  EXPECT_TRUE(env.err.lines.empty());
  EXPECT_EQ(VLTsetlogfile(nullptr, a), 1002);
  // The streams are the application's: still open and holding the text.
  EXPECT_EQ(readall(a), "to the log\n");
  std::fclose(a);
  std::fclose(b);
}

}  // namespace
