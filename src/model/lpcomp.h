// Packing of the full model while an optimizer works on its reduced
// problem (VLT_PARAM_PRECOMPRESS).
#pragma once

#include <cstdint>

#include "model/lp.h"

namespace velto {

constexpr int kPackSlots = 30;

// Made by the caller on its own stack; lpcompress fills it, lpexpand
// empties it.
struct packstate {
  int count = 0;              // arrays now packed
  double rawbytes = 0;        // bytes of all arrays considered
  double packedbytes = 0;     // the same after packing
  void **slot[kPackSlots] = {};     // the core field that held each array
  int64_t size[kPackSlots] = {};    // bytes packed
  int64_t space[kPackSlots] = {};   // bytes of the array's capacity
  uint8_t *packed[kPackSlots] = {}; // packed blocks
  int64_t packedsize[kPackSlots] = {};
  bool colnames = false, rownames = false;  // name pointers hold offsets
};

// Packs the large arrays of p's core; an array that does not get smaller,
// or for which memory runs short, stays as it is.
void lpcompress(env *e, lp *p, packstate &ps);
// Unpacks them: 0, or 1027 when memory runs short, in which case the model
// is lost (p is left an empty problem).
int lpexpand(env *e, lp *p, packstate &ps);

// The model of p packed for a scope: expand() brings it back (its status);
// a scope left by an exception expands on the way out.
class modelpack {
 public:
  modelpack(env *e, lp *p, bool on) : e_(e), p_(p), on_(on) {
    if (on_) lpcompress(e_, p_, ps_);
  }
  ~modelpack() {
    if (on_) lpexpand(e_, p_, ps_);
  }
  int expand() {
    if (!on_) return 0;
    on_ = false;
    return lpexpand(e_, p_, ps_);
  }
  modelpack(const modelpack &) = delete;
  modelpack &operator=(const modelpack &) = delete;

 private:
  env *e_;
  lp *p_;
  bool on_;
  packstate ps_;
};

}  // namespace velto
