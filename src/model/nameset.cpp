// Name sets: names with hash lookup and default names.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "model/lp.h"
#include "model/store.h"

namespace velto {

void nameset_free(nameset **set) {
  nameset *s = *set;
  if (s == nullptr) return;
  release(&s->names);
  release(&s->store);
  release(set);
}

}  // namespace velto
