// Packed nodes, serialized nodes and the block compressor: identities over
// random inputs, and damaged input refused without a crash.
#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "mip/miptree.h"

namespace {

using namespace velto;

// A random model layout: every column class appears.
struct model {
  int n, m;
  std::string ctype, sense;
  std::vector<double> glb, gub;
};

model randommodel(std::mt19937 &rng, int n, int m, bool ranged) {
  model md{n, m, std::string(n, 'C'), std::string(m, 'L'), std::vector<double>(n),
           std::vector<double>(n)};
  for (int i = 0; i < m; ++i) md.sense[i] = "LGE"[rng() % 3];
  if (ranged && m > 0) md.sense[rng() % m] = 'R';
  for (int j = 0; j < n; ++j) {
    switch (rng() % 6) {
      case 0: md.ctype[j] = 'C'; md.glb[j] = 0; md.gub[j] = 1e20; break;
      case 1: md.ctype[j] = 'C'; md.glb[j] = -5.5; md.gub[j] = 7.25; break;
      case 2: md.ctype[j] = 'B'; md.glb[j] = 0; md.gub[j] = 1; break;
      case 3: {
        md.ctype[j] = 'I';
        md.glb[j] = static_cast<double>(rng() % 50) - 20;
        md.gub[j] = md.glb[j] + 1 + rng() % 1000;  // small range, widths 2..10
        break;
      }
      case 4: md.ctype[j] = 'I'; md.glb[j] = -1e20; md.gub[j] = 1e20; break;
      default: md.ctype[j] = 'I'; md.glb[j] = 0; md.gub[j] = 5000; break;
    }
  }
  return md;
}

TEST(PackNode, UnpackIsTheIdentityOverRandomNodes) {
  std::mt19937 rng(12345);
  int checked = 0, mapnodes = 0, listnodes = 0;
  for (int trial = 0; trial < 40; ++trial) {
    model md = randommodel(rng, 1 + rng() % 120, rng() % 40, trial % 3 == 0);
    packlayout L;
    packlayout_build(md.ctype.data(), md.n, md.m, md.sense.data(), md.glb.data(),
                     md.gub.data(), L);
    for (int node = 0; node < 25; ++node) {
      std::vector<int> cs(md.n), rs(md.m);
      std::vector<double> lb = md.glb, ub = md.gub;
      int fixrate = node % 2 ? 2 : 30;  // many fixed binaries, or few
      for (int i = 0; i < md.m; ++i) rs[i] = md.sense[i] == 'R' ? rng() % 3 : rng() % 2;
      for (int j = 0; j < md.n; ++j) {
        char t = md.ctype[j];
        bool c1 = t == 'C' && md.glb[j] == 0 && md.gub[j] >= 1e20;
        cs[j] = c1 ? (rng() % 10 == 0 ? 3 : rng() % 2) : rng() % 4;
        if (t == 'B') {
          if (rng() % fixrate == 0) lb[j] = ub[j] = rng() % 2;
        } else if (t == 'I' && rng() % 3 == 0) {
          double lo = md.glb[j] > -1e20 ? md.glb[j] : -1000, hi = md.gub[j] < 1e20 ? md.gub[j] : 1000;
          double a = lo + rng() % static_cast<int>(hi - lo + 1), b = lo + rng() % static_cast<int>(hi - lo + 1);
          lb[j] = std::min(a, b);
          ub[j] = std::max(a, b);
        } else if (t == 'C' && rng() % 8 == 0) {
          ub[j] = std::uniform_real_distribution<double>(0.0, 3.0)(rng);
        }
      }
      bool withbasis = node % 5 != 4;
      std::vector<uint32_t> packed;
      packnode(L, withbasis ? cs.data() : nullptr, withbasis ? rs.data() : nullptr, lb.data(),
               ub.data(), packed);
      (packed[0] & 8 ? mapnodes : listnodes)++;
      std::vector<int> cs2(md.n, -7), rs2(md.m, -7);
      std::vector<double> lb2(md.n), ub2(md.n);
      bool hb = false;
      ASSERT_TRUE(unpacknode(L, packed, cs2.data(), rs2.data(), lb2.data(), ub2.data(), &hb));
      EXPECT_EQ(hb, withbasis);
      if (withbasis) {
        EXPECT_EQ(cs2, cs);
        EXPECT_EQ(rs2, rs);
      }
      EXPECT_EQ(lb2, lb);
      EXPECT_EQ(ub2, ub);
      // Every cut-short stream is refused.
      if (node == 0)
        for (size_t cut = 0; cut < packed.size(); ++cut) {
          std::vector<uint32_t> part(packed.begin(), packed.begin() + cut);
          EXPECT_FALSE(unpacknode(L, part, cs2.data(), rs2.data(), lb2.data(), ub2.data(), &hb));
        }
      ++checked;
    }
  }
  EXPECT_EQ(checked, 1000);
  EXPECT_GT(mapnodes, 0);
  EXPECT_GT(listnodes, 0);
}

TEST(PackNode, FieldWordsFollowTheBitWidth) {
  // 40 rows of 1 bit fit in 2 words; 17 binaries at 2 bits take 2 words.
  std::string ct(17, 'B'), sense(40, 'L');
  std::vector<double> lb(17, 0.0), ub(17, 1.0);
  packlayout L;
  packlayout_build(ct.data(), 17, 40, sense.data(), lb.data(), ub.data(), L);
  std::vector<int> cs(17, 0), rs(40, 1);
  std::vector<uint32_t> packed;
  packnode(L, cs.data(), rs.data(), lb.data(), ub.data(), packed);
  // flag, 2 row words, 2 binary status words, list count 0, extra count 0.
  ASSERT_EQ(packed.size(), 7u);
  EXPECT_EQ(packed[1], 0xffffffffu);
  EXPECT_EQ(packed[2], 0xff000000u);  // the first item ends highest
}

bbnode *randomnode(std::mt19937 &rng, bool withdata) {
  auto *nd = new bbnode();
  nd->suminf = rng() / 7.0;
  nd->estinc = rng() / 3.0;
  nd->baseobj = -(rng() / 11.0);
  nd->bound = rng() / 13.0;
  nd->brvalue = 0.5;
  nd->brvar = rng() % 100;
  nd->depth = rng() % 50;
  nd->iinf = rng() % 9;
  nd->id = rng() % 1000;
  nd->parent = rng() % 1000;
  nd->dir = "UDN"[rng() % 3];
  nd->form = 'T';
  nd->packed.resize(rng() % 20);
  for (auto &w : nd->packed) w = rng();
  if (withdata) {
    nd->data = new nodedata();
    nd->data->hasstart = true;
    for (int k = 0; k < 3; ++k) {
      nd->data->normind.push_back(k * 2);
      nd->data->normval.push_back(1.5 * k);
    }
    nd->data->cutids = {4, 9};
    nd->data->bounds.add(3, 'L', 2.0);
    nd->data->bounds.add(7, 'B', 0.0);
    nd->data->handle = 77;
  }
  return nd;
}

TEST(SerializedNode, RoundTripAndDamage) {
  std::mt19937 rng(7);
  std::vector<uint8_t> buf;
  std::vector<bbnode *> nodes;
  for (int k = 0; k < 30; ++k) {
    nodes.push_back(randomnode(rng, k % 2 == 0));
    nodeserialize(*nodes.back(), buf);
  }
  size_t pos = 0;
  for (bbnode *a : nodes) {
    bbnode *b = nodedeserialize(buf.data(), buf.size(), &pos);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(b->bound, a->bound);
    EXPECT_EQ(b->estinc, a->estinc);
    EXPECT_EQ(b->id, a->id);
    EXPECT_EQ(b->dir, a->dir);
    EXPECT_EQ(b->packed, a->packed);
    ASSERT_EQ(b->data != nullptr, a->data != nullptr);
    if (a->data) {
      EXPECT_EQ(b->data->normval, a->data->normval);
      EXPECT_EQ(b->data->cutids, a->data->cutids);
      EXPECT_EQ(b->data->bounds.count, 2);
      EXPECT_EQ(b->data->bounds.sense[1], 'B');
      EXPECT_EQ(b->data->handle, 77);
    }
    delete b;
  }
  EXPECT_EQ(pos, buf.size());
  // Truncation anywhere gives no node or a shorter walk, never a crash.
  for (size_t cut = 0; cut < 400 && cut < buf.size(); cut += 3) {
    size_t p = 0;
    while (bbnode *b = nodedeserialize(buf.data(), cut, &p)) delete b;
    EXPECT_LE(p, cut);
  }
  for (bbnode *a : nodes) delete a;
}

TEST(BdchgList, StrongerBoundsWinAndBothIsOverwritten) {
  bdchglist l;
  l.add(1, 'L', 2.0);
  l.add(1, 'L', 1.0);  // weaker: left
  l.add(1, 'U', 5.0);
  l.add(1, 'U', 4.0);  // stronger: taken
  l.add(2, 'B', 1.0);
  l.add(2, 'B', 0.0);  // overwritten
  ASSERT_EQ(l.count, 3);
  EXPECT_EQ(l.value[0], 2.0);
  EXPECT_EQ(l.value[1], 4.0);
  EXPECT_EQ(l.value[2], 0.0);
  EXPECT_EQ(l.capacity, 8);
  for (int k = 0; k < 6; ++k) l.add(10 + k, 'L', 1.0);
  EXPECT_EQ(l.capacity, 16);  // (9 rounded down to 8) + 8
  EXPECT_EQ(l.bytes(), 4u + 13u * 9u);
}

std::vector<uint8_t> roundtrip(const std::vector<uint8_t> &raw, bool *smaller) {
  std::vector<uint8_t> z, back;
  *smaller = lzcompress(raw.data(), raw.size(), z);
  if (!*smaller) return raw;
  EXPECT_LT(z.size(), raw.size());
  EXPECT_TRUE(lzexpand(z.data(), z.size(), raw.size(), back));
  return back;
}

TEST(BlockCompressor, RoundTripsStructuredAndRefusesIncompressible) {
  std::mt19937 rng(99);
  bool smaller;
  // Random bytes do not compress: the block is stored raw.
  std::vector<uint8_t> noise(5000);
  for (auto &b : noise) b = static_cast<uint8_t>(rng());
  std::vector<uint8_t> z;
  EXPECT_FALSE(lzcompress(noise.data(), noise.size(), z));
  // Structured data of every kind comes back exactly.
  for (int trial = 0; trial < 60; ++trial) {
    size_t words = 1 + rng() % 20000;
    std::vector<uint32_t> w(words);
    for (size_t i = 0; i < words; ++i) {
      switch (trial % 4) {
        case 0: w[i] = (rng() % 10 == 0) ? rng() : 0; break;            // sparse zeros
        case 1: w[i] = static_cast<uint32_t>(i % (1 + trial * 37)); break;  // periodic
        case 2: w[i] = i > 4096 ? w[i - 4095] : rng() % 8; break;         // far copies
        default: w[i] = rng() % 3; break;                                  // small alphabet
      }
    }
    std::vector<uint8_t> raw(words * 4 + trial % 4);
    std::memcpy(raw.data(), w.data(), words * 4);
    for (size_t k = words * 4; k < raw.size(); ++k) raw[k] = static_cast<uint8_t>(k);
    std::vector<uint8_t> back = roundtrip(raw, &smaller);
    EXPECT_EQ(back, raw) << "trial " << trial;
  }
  // Long zero runs beyond the longest token.
  std::vector<uint8_t> zeros(4 * 100000, 0);
  EXPECT_EQ(roundtrip(zeros, &smaller), zeros);
  EXPECT_TRUE(smaller);
}

TEST(BlockCompressor, ZeroRunOfOneIsALiteral) {
  // Words 0, 1, 0, 0, 0 then enough repeats to compress.
  std::vector<uint32_t> w = {0, 1, 0, 0, 0};
  for (int k = 0; k < 50; ++k) w.push_back(5);
  std::vector<uint8_t> raw(w.size() * 4), z;
  std::memcpy(raw.data(), w.data(), raw.size());
  ASSERT_TRUE(lzcompress(raw.data(), raw.size(), z));
  // Flag: token 0 literal, token 1 literal, token 2 the zero run of 3.
  EXPECT_EQ(z[0] & 7, 4);
  EXPECT_EQ(z[9], (3 - 1) << 4 | 0x0f);  // length 3, distance 4096
  EXPECT_EQ(z[10], 0xff);
}

TEST(BlockCompressor, DamagedStreamsFailCleanly) {
  std::vector<uint32_t> w(3000);
  for (size_t i = 0; i < w.size(); ++i) w[i] = static_cast<uint32_t>(i % 17);
  std::vector<uint8_t> raw(w.size() * 4), z, back;
  std::memcpy(raw.data(), w.data(), raw.size());
  ASSERT_TRUE(lzcompress(raw.data(), raw.size(), z));
  for (size_t cut = 0; cut < z.size(); ++cut)
    EXPECT_FALSE(lzexpand(z.data(), cut, raw.size(), back));
  std::mt19937 rng(3);
  for (int k = 0; k < 200; ++k) {
    std::vector<uint8_t> bad = z;
    bad[rng() % bad.size()] ^= static_cast<uint8_t>(1 + rng() % 255);
    lzexpand(bad.data(), bad.size(), raw.size(), back);  // any answer, no crash
  }
}

}  // namespace
