// Solution store: the records an optimizer leaves and their getters.
#include <algorithm>
#include <cstring>
#include <new>

#include "model/lp.h"
#include "model/store.h"

namespace velto {

void soln_free(soln **sp) {
  soln *s = *sp;
  if (s == nullptr) return;
  release(&s->cstat); release(&s->x); release(&s->slack); release(&s->pi); release(&s->dj);
  release(&s->head); release(&s->xbasic); release(&s->offind); release(&s->offval);
  release(sp);
}

void start_free(start **sp) {
  start *s = *sp;
  if (s == nullptr) return;
  release(&s->colstat); release(&s->rowstat); release(&s->xstart); release(&s->slackstart);
  release(&s->djstart); release(&s->pistart); release(&s->pnormcol); release(&s->pnormrow);
  release(&s->dnorm); release(&s->dnormhead);
  release(sp);
}

}  // namespace velto
