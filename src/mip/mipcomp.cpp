// Block compressor of the node files: an LZ coder over 32-bit words with a
// window of 4096 words.  Tokens come in groups of eight behind a flag byte
// whose bit i (from the lowest) marks token i as a copy (1) or a literal (0).
// A literal is one word, 4 bytes little-endian.  A copy is two or three
// bytes: high nibble of the first is length - 1 (15: a third byte holds
// length - 15), low nibble and second byte are distance - 1.  Distance 4096
// is a run of zero words.  Bytes past the last whole word follow verbatim.
#include <cstring>

#include "mip/miptree.h"

namespace velto {

namespace {

constexpr int kWindow = 4096;
constexpr int kMaxLen = 270;
constexpr int kEnd = 4096;  // end mark of the chains

inline uint32_t word(const uint8_t *p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
         static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}
inline uint32_t hashof(uint32_t w) { return (w & 0xffffu) ^ (w >> 16); }

struct tokenwriter {
  std::vector<uint8_t> &out;
  size_t flagpos = 0;
  int ntok = 8;
  explicit tokenwriter(std::vector<uint8_t> &o) : out(o) {}
  void start(bool copy) {
    if (ntok == 8) {
      flagpos = out.size();
      out.push_back(0);
      ntok = 0;
    }
    if (copy) out[flagpos] |= static_cast<uint8_t>(1u << ntok);
    ++ntok;
  }
  void literal(uint32_t w) {
    start(false);
    for (int b = 0; b < 4; ++b) out.push_back(static_cast<uint8_t>(w >> (8 * b)));
  }
  void copy(int len, int dist) {
    start(true);
    int d = dist - 1;
    if (len <= 15) {
      out.push_back(static_cast<uint8_t>(((len - 1) << 4) | (d >> 8)));
      out.push_back(static_cast<uint8_t>(d & 0xff));
    } else {
      out.push_back(static_cast<uint8_t>(0xf0 | (d >> 8)));
      out.push_back(static_cast<uint8_t>(d & 0xff));
      out.push_back(static_cast<uint8_t>(len - 15));
    }
  }
};

}  // namespace

bool lzcompress(const uint8_t *in, size_t n, std::vector<uint8_t> &out) {
  out.clear();
  out.reserve(n + 32);
  size_t nw = n / 4;
  std::vector<uint32_t> w(nw);
  for (size_t i = 0; i < nw; ++i) w[i] = word(in + 4 * i);
  std::vector<int> head(65536, kEnd), chain(kWindow, kEnd);
  std::vector<size_t> chainpos(kWindow, 0);
  std::vector<size_t> headpos(65536, 0);
  tokenwriter tw(out);
  // Enters position i into the hash; entries older than the window are
  // recognised by their stored absolute position.
  auto enter = [&](size_t i) {
    uint32_t h = hashof(w[i]);
    int slot = static_cast<int>(i % kWindow);
    chain[slot] = head[h];
    chainpos[slot] = headpos[h];
    head[h] = slot;
    headpos[h] = i;
  };
  size_t i = 0;
  while (i < nw) {
    if (out.size() >= n) return false;
    if (i + 1 < nw && w[i] == 0 && w[i + 1] == 0) {
      size_t len = 2;
      while (i + len < nw && len < kMaxLen && w[i + len] == 0) ++len;
      tw.copy(static_cast<int>(len), kWindow);
      for (size_t k = 0; k < len; ++k) enter(i + k);
      i += len;
      continue;
    }
    uint32_t h = hashof(w[i]);
    int slot = head[h];
    size_t at = headpos[h];
    size_t best = 0, bestdist = 0;
    while (slot != kEnd && at < i && i - at < kWindow) {
      if (w[at] == w[i]) {
        size_t len = 1;
        while (i + len < nw && len < kMaxLen && w[at + len] == w[i + len]) ++len;
        if (len > best) {
          best = len;
          bestdist = i - at;
          if (len > 3) break;
        }
      }
      int next = chain[slot];
      size_t nextat = chainpos[slot];
      if (nextat >= at) break;  // the slot was reused: the chain ends here
      slot = next;
      at = nextat;
    }
    if (best == 0) {
      tw.literal(w[i]);
      enter(i);
      ++i;
    } else {
      tw.copy(static_cast<int>(best), static_cast<int>(bestdist));
      for (size_t k = 0; k < best; ++k) enter(i + k);
      i += best;
    }
  }
  out.insert(out.end(), in + 4 * nw, in + n);
  return out.size() < n;
}

bool lzexpand(const uint8_t *in, size_t n, size_t rawsize, std::vector<uint8_t> &out) {
  out.assign(rawsize, 0);
  size_t nw = rawsize / 4, tail = rawsize - 4 * nw;
  size_t ip = 0, op = 0;  // op counts words
  uint8_t flags = 0;
  int ntok = 8;
  while (op < nw) {
    if (ntok == 8) {
      if (ip >= n) return false;
      flags = in[ip++];
      ntok = 0;
    }
    bool copy = (flags >> ntok++) & 1u;
    if (!copy) {
      if (ip + 4 > n) return false;
      std::memcpy(out.data() + 4 * op, in + ip, 4);
      ip += 4;
      ++op;
      continue;
    }
    if (ip + 2 > n) return false;
    int len = (in[ip] >> 4) + 1;
    int dist = (((in[ip] & 0x0f) << 8) | in[ip + 1]) + 1;
    ip += 2;
    if (len == 16) {
      if (ip >= n) return false;
      len = in[ip++] + 15;
    }
    if (op + static_cast<size_t>(len) > nw) return false;
    if (dist == kWindow) {
      op += len;  // the buffer is zero already
      continue;
    }
    if (static_cast<size_t>(dist) > op) return false;
    for (int k = 0; k < len; ++k, ++op)
      std::memcpy(out.data() + 4 * op, out.data() + 4 * (op - dist), 4);
  }
  if (ip + tail != n) return false;
  std::memcpy(out.data() + 4 * nw, in + ip, tail);
  return true;
}

}  // namespace velto
