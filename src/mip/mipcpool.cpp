// Cut stores and the shared pool: duplicate detection by hash, merging of
// the threads' new cuts, pool separation and the rows of pending cuts.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <new>
#include <numeric>

#include "env/files.h"
#include "mip/mipcuts.h"
#include "model/store.h"

namespace velto {

uint32_t cuthash(int nnz, const int *ind) {
  uint32_t h = 0;
  for (int i = 0; i < nnz; ++i) h ^= static_cast<uint32_t>(ind[i] + 1) << ((i % 4) * 8);
  return h;
}

namespace {

// The stored cut k against a query (sorted, sense already 'L' or 'E').
bool sameleft(const cutstore &s, int k, char sense, double rhs, int nnz, const int *ind,
              const double *val) {
  const cutrec &c = s.recs[k];
  if (c.nnz != nnz || c.sense != sense) return false;
  const int *si = s.indof(k);
  const double *sv = s.valof(k);
  for (int i = 0; i < nnz; ++i)
    if (si[i] != ind[i]) return false;
  double r = 1.0;
  if (nnz > 0 && std::fabs(sv[0]) > 1e-10) {
    r = val[0] / sv[0];
    if (!(r > 0)) return false;
    for (int i = 1; i < nnz; ++i)
      if (std::fabs(sv[i] * r - val[i]) > 1e-10) return false;
  }
  if (s.dedup && sense != 'E') return true;
  return std::fabs(r * c.rhs - rhs) <= 1e-10;
}

}  // namespace

int cutstoreadd(cutstore &s, char type, char sense, double rhs, int nnz, const int *ind,
                const double *val, int *found, int *id, int replace) {
  *found = 0;
  *id = -1;
  try {
    // Sorted by index, 'G' written as 'L'.
    std::vector<int> ord(nnz);
    std::iota(ord.begin(), ord.end(), 0);
    std::sort(ord.begin(), ord.end(), [&](int a, int b) { return ind[a] < ind[b]; });
    std::vector<int> si(nnz);
    std::vector<double> sv(nnz);
    double sg = sense == 'G' ? -1.0 : 1.0;
    for (int i = 0; i < nnz; ++i) si[i] = ind[ord[i]], sv[i] = sg * val[ord[i]];
    char ss = sense == 'G' ? 'L' : sense;
    double sr = sg * rhs;
    uint32_t h = cuthash(nnz, si.data());
    if (s.hashed && sense != 'G') {
      // A 'G' cut is looked up as given and finds no stored cut.
      auto it = s.hash.find(h);
      if (it != s.hash.end()) {
        for (int k : it->second) {
          if (s.recs[k].nnz < 0 || !sameleft(s, k, ss, sr, nnz, si.data(), sv.data())) continue;
          bool tighter = false;
          if (replace && ss == 'L') {
            double f = nnz > 0 ? s.valof(k)[0] : 0.0;
            if (nnz > 0 && std::fabs(f) > 1e-10) tighter = f / sv[0] * sr < s.recs[k].rhs;
            else tighter = sr < s.recs[k].rhs;
          }
          if (!tighter) {
            *found = 1;
            *id = k;
            return 0;
          }
          break;
        }
      }
    }
    cutrec c;
    c.type = type;
    c.sense = ss;
    c.rhs = sr;
    c.nnz = nnz;
    c.beg = static_cast<int>(s.ind.size());
    s.ind.insert(s.ind.end(), si.begin(), si.end());
    s.val.insert(s.val.end(), sv.begin(), sv.end());
    s.recs.push_back(c);
    *id = s.count() - 1;
    if (s.hashed) s.hash[h].push_back(*id);
  } catch (const std::bad_alloc &) {
    return kNoMemory;
  }
  return 0;
}

void cutsetinit(cutset &s, int baserows, int dedup, int nthreads) {
  s = cutset();
  s.baserows = baserows;
  s.nthreads = nthreads;
  s.master.dedup = dedup;
  s.fresh.assign(nthreads, cutstore());
  s.pending.assign(nthreads, cutstore());
  s.pendingids.assign(nthreads, std::vector<int>());
  for (int t = 0; t < nthreads; ++t) s.fresh[t].hashed = s.pending[t].hashed = false;
}

int cutsetpush(cutset &s, int thread, int type, int nnz, const int *ind, const double *val,
               char sense, double rhs) {
  int found = 0, id = 0;
  return cutstoreadd(s.fresh[thread], static_cast<char>(type), sense, rhs, nnz, ind, val, &found,
                     &id, 0);
}

int cutsetmerge(cutset &s, int thread, int *mark, std::vector<int> *idlist) {
  cutstore &f = s.fresh[thread];
  try {
    for (int k = 0; k < f.count(); ++k) {
      const cutrec &c = f.recs[k];
      int found = 0, id = 0;
      int st = cutstoreadd(s.master, c.type, c.sense, c.rhs, c.nnz, f.indof(k), f.valof(k), &found,
                           &id, s.master.dedup);
      if (st) return st;
      if (idlist) idlist->push_back(id);
      if (found && std::find(s.ids.begin(), s.ids.end(), id) != s.ids.end()) continue;
      s.ids.push_back(id);
      ++s.typecount[static_cast<int>(c.type)];
    }
    f.clear();
    if (mark != nullptr) {
      cutstore &p = s.pending[thread];
      for (int k = *mark; k < static_cast<int>(s.ids.size()); ++k) {
        int id = s.ids[k];
        const cutrec &c = s.master.recs[id];
        int found = 0, pid = 0;
        int st = cutstoreadd(p, c.type, c.sense, c.rhs, c.nnz, s.master.indof(id),
                             s.master.valof(id), &found, &pid, 0);
        if (st) return st;
        s.pendingids[thread].push_back(id);
      }
      *mark = static_cast<int>(s.ids.size());
    }
  } catch (const std::bad_alloc &) {
    return kNoMemory;
  }
  return 0;
}

int cutseparate(const cutstore &store, const double *x, double tol, int limit, cutset &set,
                int thread, int *count) {
  *count = 0;
  for (int k = 0; k < store.count() && *count < limit; ++k) {
    const cutrec &c = store.recs[k];
    if (c.nnz < 0) continue;
    const int *ind = store.indof(k);
    const double *val = store.valof(k);
    double act = 0.0;
    for (int i = 0; i < c.nnz; ++i) act += val[i] * x[ind[i]];
    double viol = act - c.rhs;
    if (c.sense == 'E') viol = std::fabs(viol);
    if (viol > tol) {
      int st = cutsetpush(set, thread, c.type, c.nnz, ind, val, c.sense, c.rhs);
      if (st) return st;
      ++*count;
    }
  }
  return 0;
}

int cutsetapply(env *e, lp *q, cutset &s, int thread, bool names) {
  cutstore &p = s.pending[thread];
  std::vector<int> &ids = s.pendingids[thread];
  int cnt = p.count();
  if (cnt == 0) return 0;
  std::vector<int> beg(cnt);
  std::vector<double> rhs(cnt);
  std::vector<char> sense(cnt);
  for (int k = 0; k < cnt; ++k) {
    beg[k] = p.recs[k].beg;
    rhs[k] = p.recs[k].rhs;
    sense[k] = p.recs[k].sense;
    if (cutwatch.seen)
      cutwatch.seen(cutwatch.ctx, p.recs[k].nnz, p.indof(k), p.valof(k), sense[k], rhs[k], nullptr,
                    nullptr, 1e75);
  }
  std::vector<std::string> nm;
  std::vector<char *> np;
  if (names) {
    int widest = 0;
    for (int id : ids) widest = std::max(widest, id);
    int width = static_cast<int>(std::to_string(widest).size()) + 2;
    nm.resize(cnt);
    np.resize(cnt);
    for (int k = 0; k < cnt; ++k) {
      std::vector<char> b(width + 1);
      std::snprintf(b.data(), b.size(), "%c%d", kCutLetters[static_cast<int>(p.recs[k].type)],
                    ids[k]);
      nm[k] = b.data();
      np[k] = nm[k].data();
    }
  }
  int status = VLTunscaleprob(e, q);
  if (!status)
    status = VLTaddrows(e, q, 0, cnt, static_cast<int>(p.ind.size()), rhs.data(), sense.data(),
                        beg.data(), p.ind.data(), p.val.data(), nullptr,
                        names ? np.data() : nullptr);
  if (!status) status = cache_flush(e, q);
  p.clear();
  ids.clear();
  return status;
}

void cutworkfree(cutwork *cw) { delete cw; }

}  // namespace velto
