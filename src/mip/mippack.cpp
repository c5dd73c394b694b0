// The packed form of a node: basis status and node bounds in bit fields by
// column class.
//
// Stream: a flag word (bit 0 basis present, bit 1 rows take 2 bits, bit 2
// the first continuous class takes 2 bits, bit 3 binaries as a map); the
// status fields (rows, then the classes in layout order); the binary bounds
// (a 2-bit map: 0 free, 1 fixed at 0, 2 fixed at 1; or a count and words
// position << 1 | value); per small-integer class the two offset arrays;
// then a list of other bound changes (count; column, sense, value as two
// words) for general integers of wide range and continuous columns.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>

#include "mip/miptree.h"

namespace velto {

namespace {

struct bitwriter {
  std::vector<uint32_t> &out;
  explicit bitwriter(std::vector<uint32_t> &o) : out(o) {}
  // n items of b bits: ceil(n / floor(32 / b)) words, first item highest.
  template <class F>
  void field(size_t n, int b, F item) {
    int per = 32 / b;
    for (size_t k = 0; k < n; k += per) {
      uint32_t wv = 0;
      for (int q = 0; q < per; ++q) {
        uint32_t v = k + q < n ? static_cast<uint32_t>(item(k + q)) : 0u;
        wv = (b == 32 ? 0 : wv << b) | (v & ((1u << b) - 1));
      }
      out.push_back(wv);
    }
  }
};

struct bitreader {
  const std::vector<uint32_t> &in;
  size_t pos = 0;
  bool bad = false;
  explicit bitreader(const std::vector<uint32_t> &i) : in(i) {}
  uint32_t next() {
    if (pos >= in.size()) {
      bad = true;
      return 0;
    }
    return in[pos++];
  }
  template <class F>
  void field(size_t n, int b, F item) {
    int per = 32 / b;
    for (size_t k = 0; k < n; k += per) {
      uint32_t wv = next();
      for (int q = 0; q < per; ++q) {
        uint32_t v = (wv >> (b * (per - 1 - q))) & ((1u << b) - 1);
        if (k + q < n) item(k + q, v);
      }
    }
  }
};

int widthfor(double range) {
  int b = 2;
  while ((1 << b) <= range) ++b;
  return b;
}

uint64_t dbits(double v) {
  uint64_t u;
  std::memcpy(&u, &v, 8);
  return u;
}
double bitsd(uint64_t u) {
  double v;
  std::memcpy(&v, &u, 8);
  return v;
}

}  // namespace

void packlayout_build(const char *ctype, int ncols, int nrows, const char *sense,
                      const double *glb, const double *gub, packlayout &L) {
  L = packlayout();
  L.ncols = ncols;
  L.nrows = nrows;
  for (int i = 0; i < nrows; ++i) L.ranged |= sense[i] == 'R';
  L.glb.assign(glb, glb + ncols);
  L.gub.assign(gub, gub + ncols);
  std::vector<std::pair<int, int>> small;
  for (int j = 0; j < ncols; ++j) {
    char t = ctype ? ctype[j] : 'C';
    if (t == 'C' || t == 'S') {
      if (glb[j] == 0.0 && gub[j] >= 1e20) L.c1.push_back(j);
      else L.c2.push_back(j);
    } else if (t == 'B') {
      L.bin.push_back(j);
    } else {
      double r = gub[j] - glb[j];
      if (std::fabs(glb[j]) < kInfThreshold && std::fabs(gub[j]) < kInfThreshold && r < 1024 &&
          glb[j] < kBigInt && glb[j] == std::floor(glb[j]) && gub[j] == std::floor(gub[j]))
        small.push_back({widthfor(r), j});
      else
        L.bigint.push_back(j);
    }
  }
  std::stable_sort(small.begin(), small.end(),
                   [](const auto &a, const auto &b) { return a.first < b.first; });
  for (auto &s : small) {
    L.smallint.push_back(s.second);
    L.smallwidth.push_back(s.first);
  }
}

void packnode(const packlayout &L, const int *cstat, const int *rstat, const double *lb,
              const double *ub, std::vector<uint32_t> &out) {
  out.clear();
  bitwriter bw(out);
  uint32_t flags = 0;
  bool basis = cstat != nullptr && (rstat != nullptr || L.nrows == 0);
  bool rows2 = L.ranged, c12 = false;
  if (basis) {
    flags |= 1;
    for (int i = 0; i < L.nrows && !rows2; ++i) rows2 = rstat[i] > 1;
    for (int j : L.c1) c12 |= cstat[j] > 1;
  }
  if (rows2) flags |= 2;
  if (c12) flags |= 4;
  // Binary bounds: a map or a list, whichever is shorter.
  std::vector<uint32_t> binlist;
  for (size_t k = 0; k < L.bin.size(); ++k) {
    int j = L.bin[k];
    if (lb[j] == L.glb[j] && ub[j] == L.gub[j]) continue;
    if (lb[j] == ub[j] && (lb[j] == 0.0 || lb[j] == 1.0))
      binlist.push_back(static_cast<uint32_t>(k) << 1 | (lb[j] == 1.0 ? 1u : 0u));
  }
  size_t mapwords = (L.bin.size() + 15) / 16;
  bool map = mapwords < binlist.size() + 1;
  if (map) flags |= 8;
  out.push_back(flags);
  if (basis) {
    bw.field(L.nrows, rows2 ? 2 : 1, [&](size_t i) { return rstat[i]; });
    bw.field(L.c1.size(), c12 ? 2 : 1, [&](size_t k) { return cstat[L.c1[k]]; });
    bw.field(L.c2.size(), 2, [&](size_t k) { return cstat[L.c2[k]]; });
    bw.field(L.bin.size(), 2, [&](size_t k) { return cstat[L.bin[k]]; });
    bw.field(L.smallint.size(), 2, [&](size_t k) { return cstat[L.smallint[k]]; });
    bw.field(L.bigint.size(), 2, [&](size_t k) { return cstat[L.bigint[k]]; });
  }
  if (map) {
    bw.field(L.bin.size(), 2, [&](size_t k) {
      int j = L.bin[k];
      if (lb[j] == L.glb[j] && ub[j] == L.gub[j]) return 0;
      return lb[j] == 1.0 ? 2 : 1;
    });
  } else {
    out.push_back(static_cast<uint32_t>(binlist.size()));
    out.insert(out.end(), binlist.begin(), binlist.end());
  }
  // Small integers: per width group, lower offsets then upper offsets.
  for (size_t g = 0; g < L.smallint.size();) {
    size_t h = g;
    while (h < L.smallint.size() && L.smallwidth[h] == L.smallwidth[g]) ++h;
    int b = L.smallwidth[g];
    bw.field(h - g, b, [&](size_t k) { int j = L.smallint[g + k]; return static_cast<int>(lb[j] - L.glb[j]); });
    bw.field(h - g, b, [&](size_t k) { int j = L.smallint[g + k]; return static_cast<int>(ub[j] - L.glb[j]); });
    g = h;
  }
  // Everything else that differs from the global bounds.
  std::vector<uint32_t> extra;
  uint32_t n = 0;
  auto put = [&](int j, char s, double v) {
    uint64_t u = dbits(v);
    extra.push_back(static_cast<uint32_t>(j));
    extra.push_back(static_cast<uint32_t>(s));
    extra.push_back(static_cast<uint32_t>(u));
    extra.push_back(static_cast<uint32_t>(u >> 32));
    ++n;
  };
  auto other = [&](int j) {
    if (lb[j] != L.glb[j]) put(j, 'L', lb[j]);
    if (ub[j] != L.gub[j]) put(j, 'U', ub[j]);
  };
  for (int j : L.bigint) other(j);
  for (int j : L.c1) other(j);
  for (int j : L.c2) other(j);
  // Binaries with bounds that neither the map nor the list can say.
  for (int j : L.bin)
    if (!(lb[j] == L.glb[j] && ub[j] == L.gub[j]) &&
        !(lb[j] == ub[j] && (lb[j] == 0.0 || lb[j] == 1.0)))
      other(j);
  out.push_back(n);
  out.insert(out.end(), extra.begin(), extra.end());
}

bool unpacknode(const packlayout &L, const std::vector<uint32_t> &in, int *cstat, int *rstat,
                double *lb, double *ub, bool *hasbasis) {
  bitreader br(in);
  uint32_t flags = br.next();
  if (br.bad || flags > 15) return false;
  bool basis = flags & 1, rows2 = flags & 2, c12 = flags & 4, map = flags & 8;
  *hasbasis = basis;
  std::copy(L.glb.begin(), L.glb.end(), lb);
  std::copy(L.gub.begin(), L.gub.end(), ub);
  if (basis) {
    br.field(L.nrows, rows2 ? 2 : 1, [&](size_t i, uint32_t v) { rstat[i] = static_cast<int>(v); });
    br.field(L.c1.size(), c12 ? 2 : 1, [&](size_t k, uint32_t v) { cstat[L.c1[k]] = static_cast<int>(v); });
    br.field(L.c2.size(), 2, [&](size_t k, uint32_t v) { cstat[L.c2[k]] = static_cast<int>(v); });
    br.field(L.bin.size(), 2, [&](size_t k, uint32_t v) { cstat[L.bin[k]] = static_cast<int>(v); });
    br.field(L.smallint.size(), 2, [&](size_t k, uint32_t v) { cstat[L.smallint[k]] = static_cast<int>(v); });
    br.field(L.bigint.size(), 2, [&](size_t k, uint32_t v) { cstat[L.bigint[k]] = static_cast<int>(v); });
  }
  if (map) {
    br.field(L.bin.size(), 2, [&](size_t k, uint32_t v) {
      int j = L.bin[k];
      if (v == 1) lb[j] = ub[j] = 0.0;
      else if (v == 2) lb[j] = ub[j] = 1.0;
    });
  } else {
    uint32_t cnt = br.next();
    if (cnt > L.bin.size()) return false;
    for (uint32_t q = 0; q < cnt; ++q) {
      uint32_t v = br.next();
      if ((v >> 1) >= L.bin.size()) return false;
      int j = L.bin[v >> 1];
      lb[j] = ub[j] = (v & 1) ? 1.0 : 0.0;
    }
  }
  for (size_t g = 0; g < L.smallint.size();) {
    size_t h = g;
    while (h < L.smallint.size() && L.smallwidth[h] == L.smallwidth[g]) ++h;
    int b = L.smallwidth[g];
    br.field(h - g, b, [&](size_t k, uint32_t v) { int j = L.smallint[g + k]; lb[j] = L.glb[j] + v; });
    br.field(h - g, b, [&](size_t k, uint32_t v) { int j = L.smallint[g + k]; ub[j] = L.glb[j] + v; });
    g = h;
  }
  uint32_t n = br.next();
  if (br.bad || n > static_cast<uint32_t>(2 * L.ncols)) return false;
  for (uint32_t q = 0; q < n; ++q) {
    uint32_t j = br.next(), s = br.next(), lo = br.next(), hi = br.next();
    if (br.bad || j >= static_cast<uint32_t>(L.ncols) || (s != 'L' && s != 'U')) return false;
    double v = bitsd(static_cast<uint64_t>(hi) << 32 | lo);
    (s == 'L' ? lb : ub)[j] = v;
  }
  return !br.bad && br.pos == in.size();
}

}  // namespace velto
