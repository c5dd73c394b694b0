// Parameter registry (placeholder until the full table lands).
#include "env/par.h"

namespace velto {

int paraminit(env *e) {
  e->params = allocnzero<parblock>(1);
  e->mipparams = allocnzero<mipparblock>(1);
  e->barparams = allocnzero<barparblock>(1);
  e->qpparams = allocnzero<qpparblock>(1);
  e->netparams = allocnzero<netparblock>(1);
  e->paramdir = allocnzero<paramdir>(1);
  if (!e->params || !e->mipparams || !e->barparams || !e->qpparams || !e->netparams || !e->paramdir)
    return kNoMemory;
  e->params->predisp = 1;
  return 0;
}

void paramfree(env *e) {
  release(&e->params);
  release(&e->mipparams);
  release(&e->barparams);
  release(&e->qpparams);
  release(&e->netparams);
  release(&e->paramdir);
}

int getscrind(const env *e) { return e->params->scrind; }
FILE *getlogfile(const env *e) { return e->params->logfile; }
void setlogfileptr(env *e, FILE *fp) { e->params->logfile = fp; }
int getpredisp(const env *e) { return e->params->predisp; }

}  // namespace velto
