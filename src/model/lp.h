// The problem object and its model layers: records, frame helpers and the
// internal operations that loaders, optimizers and file readers share.
#pragma once

#include <cstdint>

#include "env/env.h"

namespace velto {

// Layers owned by other subsystems; each defines its own record.
struct lufactor;     // basis factorization
struct lpwork;       // working data of a simplex run
struct primalstate;  // primal simplex state
struct dualstate;    // dual simplex state
struct prerec;       // presolve state
struct mipdata;      // branch-and-cut state
struct barrier;      // barrier run
struct qpdata;       // quadratic extension
struct siftrec;      // sifting state
struct sosdata;      // special ordered sets
struct iisrec;       // irreducible infeasible subset

struct nameset;
struct cache;
struct soln;
struct start;

// Bound kinds of lbkind/ubkind.
enum : int { kBoundInfinite = 0, kBoundFinite = 1, kBoundZero = 2 };

// Problem types.
enum : int {
  kTypeLP = 0, kTypeMILP = 1, kTypeRelaxed = 2, kTypeFixed = 3, kTypeNode = 4,
  kTypeQP = 5, kTypeZeroedQP = 6, kTypeMIQP = 7, kTypeFixedMIQP = 8, kTypeQPNode = 9
};

constexpr double kInfBound = 1e20;     // the model's infinity
constexpr double kInfThreshold = 1e17; // bounds at or beyond this are infinite
constexpr int kBigInt = 2100000000;

// The linear model.  Arrays are sized by the *space fields; everything in
// scaled form while rowscale/colscale are set.
struct lpcore {
  char *probname;
  int numrows;
  int numcols;
  int rowspace, colspace, nzspace;
  uint32_t rownamespace, colnamespace;
  int objsen;
  double *obj;
  double *rhs;
  char *sense;
  char *objname;
  char **rowname;
  char **colname;
  char *rownamestore;
  char *colnamestore;
  int *matbeg;
  int *matcnt;
  int *matind;
  double *matval;
  double *lb;
  double *ub;
  double *rngval;   // may be null
  char *ctype;      // may be null
  sosdata *sos;     // integer extras, null when absent
  void *usercuts;
  void *lazycons;
  int totcols;      // numcols + ranged rows
  int allcols;      // totcols + slacks
  int allcols0;
  int numint;
  int mark1, mark2;
  int *matend;
  int *lbkind, *ubkind;
  void *optpriv1, *optpriv2;  // private to the optimizers (released with alloc)
  int *slackrow;
  double *slackval;
  int scaletype;
  double *rowscale, *colscale;
  double *rowfactor, *colfactor;
  double rowfilemul, colfilemul;
  double objoffset;
  uint32_t flag1, flag2, flag3;
  double modeltol[4];
  velto::cache *cache;
  int semicount;    // count of 'S' columns
};

// Solution record: the optimizer's result in its internal form (scaled,
// working slack signs).  Column numbering: structural, range columns up to
// totcols, slacks up to allcols; head entries at or above allcols are the
// artificial of row (head - allcols).
struct soln {
  int hasbasis;
  int method;
  int pfeas, dfeas;
  int itcnt;
  int phase1cnt;
  int baritcnt;
  int crossppush, crosspexch, crossdpush, crossdexch;
  double objval;
  int *cstat;       // allcols
  double *x;        // totcols, may be null
  double *slack;    // numrows, may be null
  double *pi;       // numrows
  double *dj;       // totcols
  int *head;        // numrows
  double *xbasic;   // numrows
  int offcount;
  int *offind;
  double *offval;
  // bookkeeping
  int lpstat;       // status of the solve that wrote the record
  int valid;        // cleared when a change marks the record stale
  int rows, cols, allcols;  // sizes the arrays were written for
  int psbcnt, dsbcnt;
};

// Starting information given by the user or kept between runs.
struct start {
  int *colstat;     // colspace, user basis per column
  int *rowstat;     // rowspace, user basis per row
  double *xstart, *slackstart;
  double *djstart, *pistart;
  double *pnormcol, *pnormrow;
  int pnormlen;
  double *dnorm;
  int *dnormhead;
  int dnormlen;
  int colcap, rowcap;   // allocated lengths of the arrays above
};

// A store of names with an optional hash table.
struct namehash;
struct nameset {
  namehash *hash;
  char **names;
  char *store;
  uint32_t clean;
  int rowstep;
  int bytestep;
  int capacity;
  int count;
  uint32_t storecap;
  uint32_t storeused;
  char prefix;
  uint32_t mode;
  int firstdefault;
};

// Pending additions to a model.
struct cache {
  int basecols, baserows, basenz;
  uint32_t empty;
  int ccnt, cspace;
  double *cobj, *clb, *cub;
  char *cctype;
  nameset *cnames;
  int rcnt, rspace;
  double *rrhs;
  char *rsense;
  double *rrngval;
  nameset *rnames;
  int mform;        // 0 none, 1 rows, 2 columns, 3 triples
  int mfirst;
  int mvecs;
  int mnz, mspace;
  int *mrow, *mcol;
  int mvecsheld, mvecspace;
  int *mbeg, *mind;
  double *mval;
  int qcnt, qspace;
  int *qrow, *qcol;
  double *qval;
};

}  // namespace velto

// The problem object: a record of links to its layers, null when absent.
struct velto_lp {
  velto_lp *self;
  uint32_t tag;     // kLpTag while alive (see checkenv)
  velto_lp *self2;
  int auxcount;
  int *aux;
  int lpstat;
  int probtype;
  velto::lpcore *core;
  velto::start *start;
  void *startnorms;
  velto::soln *soln;
  velto::lufactor *factor;
  velto::lpwork *work;
  velto::primalstate *primal;
  void *qpwork;
  void *normblock;
  velto::dualstate *dual;
  void *priceref, *pricecand;
  velto::prerec *presolve;
  velto::mipdata *mip;
  velto_lp *fixedlp;
  velto_lp *auxlp;
  velto::barrier *barrier;
  velto::qpdata *qp;
  void *qpaux;
  velto::siftrec *sift;
  velto::iisrec *iis;  // the last irreducible infeasible subset found, or null
  velto_env *owner;  // the environment that made the problem
  velto_lp *holder;  // the problem whose layer this one is (a reduced problem), or null
};

namespace velto {

using lp = velto_lp;

// ---- handle tests --------------------------------------------------------------
inline bool checklp(const lp *p) {
  return p != nullptr && p->self == p && p->tag == kLpTag && p->core != nullptr;
}
// The frame's test: a valid problem that belongs to environment e.  A problem
// is used only through the environment that made it, so that what it creates
// on the way (views, reduced problems) lands on that environment's list.
inline bool checklp(const env *e, const lp *p) { return checklp(p) && p->owner == e; }
// As checklp(e, p), but a relaxed or fixed view is replaced by its linked
// problem.
bool checklpfollow(const env *e, lp **pp);
inline bool isview(const lp *p) {
  return p->probtype == kTypeRelaxed || p->probtype == kTypeFixed || p->probtype == kTypeFixedMIQP;
}

// ---- layers owned by later subsystems --------------------------------------------
// A subsystem that allocates one of these layers registers how to free it (and
// how to mark it stale, where the layer has a validity word).  Unregistered
// layers are released with `release` if they are non-null.
enum layerid : int {
  kLayerFactor, kLayerWork, kLayerPrimal, kLayerDual, kLayerQpwork, kLayerNormblock,
  kLayerPrice, kLayerPresolve, kLayerMip, kLayerBarrier, kLayerQp, kLayerSift,
  kLayerStartnorms, kLayerQpaux, kLayerSos, kLayerOptpriv, kLayerIis, kLayerCount
};
// `mark` receives the event number so a layer can decide what to clear
// (e.g. only the second word of the working data for bound changes).
// `carry` runs when rows or columns come or go, before the layer is freed:
// what outlives the change (the dual norms of the basis) moves to the start.
struct layerops {
  void (*release)(env *e, lp *p);
  void (*mark)(env *e, lp *p, int event);
  void (*carry)(env *e, lp *p) = nullptr;
  // Rows are about to be deleted (map[i] < 0): the layer may first move
  // their logicals into its basis.
  void (*rowsgo)(env *e, lp *p, const int *map) = nullptr;
};
void setlayerops(int layer, layerops ops);
// Tells the layers that the rows with map[i] < 0 are about to go.
void layers_rowsgo(env *e, lp *p, const int *map);

// ---- invalidation ------------------------------------------------------------------
// Releases or marks the derived layers that a change described by `event`
// makes stale.  Unknown events do nothing.
void dropstate(env *e, lp *p, int event);

// ---- problem object --------------------------------------------------------------
// Arrays handed over whole to a new or existing problem.  Every array must
// come from `alloc`; ownership passes to the problem and the caller's
// pointers are cleared.  Capacities may be 0 (taken as the used size).
// rngval, ctype and the name arrays may be null.  colname/rowname point
// into colnamestore/rownamestore.
struct lpload {
  char *probname;
  int numcols, numrows, objsen;
  double *obj, *rhs;
  char *sense;
  int *matbeg, *matcnt, *matind;
  double *matval, *lb, *ub, *rngval;
  char *ctype;
  char **colname;
  char *colnamestore;
  uint32_t colnamespace;
  char **rowname;
  char *rownamestore;
  uint32_t rownamespace;
  char *objname;
  double objoffset;
  int colspace, rowspace, nzspace;
};
// Releases whatever an lpload still holds.
void lpload_free(lpload *d);
// Makes a problem owning the arrays of `d`; null with *status on failure
// (the arrays are then freed).
lp *newlpobject(env *e, int *status, lpload *d);
// Replaces the model of an existing problem by the arrays of `d` (taken
// over, as newlpobject), dropping every derived layer.  Returns a status.
int loadowned(env *e, lp *p, lpload *d);

// Whole-model copy with explicit growth room (what VLTcopylpwnames does with
// the growth parameters).  Names may be null.
int copylpwnames(env *e, lp *p, int numcols, int numrows, int objsen, const double *obj,
                 const double *rhs, const char *sense, const int *matbeg, const int *matcnt,
                 const int *matind, const double *matval, const double *lb, const double *ub,
                 const double *rngval, char **colname, char **rowname, int colgrow, int rowgrow,
                 int nzgrow);

void freeprob(env *e, lp **pp);
int arrange(lp *p);
void arrangeslacks(lp *p);
void settype(lp *p);
// Makes room for ncols columns, nrows rows, nz nonzeros and the name bytes.
int ensurespace(env *e, lp *p, int ncols, int nrows, int nz, uint32_t colnamebytes,
                uint32_t rownamebytes);
// User-visible nonzeros (columns below numcols).
int numnz(const lp *p);

// ---- names ---------------------------------------------------------------------------
const char *colnameof(env *e, char **names, int n, int j);
const char *rownameof(env *e, char **names, int n, int i);
// Gives every column (row) of a model without names its default name.
int makecolnames(env *e, lp *p);
int makerownames(env *e, lp *p);

nameset *nameset_new(int size, char prefix, int withhash, int *status);
void nameset_free(nameset **set);
void nameset_clear(nameset *set);
void nameset_truncate(nameset *set, int n);
const char *nameset_name(const nameset *set, int i);
int nameset_find(const nameset *set, const char *name);
int nameset_findadd(nameset *set, const char *name, int *status);
int nameset_add(nameset *set, int n, const char *const *names);
int nameset_delete(nameset *set, int *flags);
int nameset_replace(nameset *set, int n, const int *indices, const char *const *names);
int nameset_copyout(const nameset *set, char **names, char *store, int space, int *surplus,
                    int begin, int end);
int nameset_buckets(const nameset *set);  // 0 without hash table

// ---- change cache ----------------------------------------------------------------------
int cache_new(cache **c);
void cache_free(cache **c);
void cache_clear(cache *c);
int cache_overlimit(const cache *c);
int cache_flush(env *e, lp *p);
int cache_fold(env *e, lp *p, int fire);
int cache_newcols(env *e, lp *p, int count, const double *obj, const double *lb,
                  const double *ub, const char *ctype, char **names);
int cache_newrows(env *e, lp *p, int count, const double *rhs, const char *sense,
                  const double *rngval, char **names);
int cache_addcolsnz(env *e, lp *p, int first, int vectors, int nz, const int *beg,
                    const int *ind, const double *val);
int cache_addrowsnz(env *e, lp *p, int first, int vectors, int nz, const int *beg,
                    const int *ind, const double *val);
int cache_addtriples(env *e, lp *p, int count, const int *rows, const int *cols,
                     const double *vals);
inline int pendingcols(const lp *p) {
  return (p->core->cache && !p->core->cache->empty) ? p->core->cache->ccnt : 0;
}
inline int pendingrows(const lp *p) {
  return (p->core->cache && !p->core->cache->empty) ? p->core->cache->rcnt : 0;
}

// ---- solution store ----------------------------------------------------------------------
// Frees the solution record of a problem.
void soln_free(soln **s);
// Makes a fresh solution record sized for the present model (allcols
// statuses, totcols x/dj, numrows slack/pi/head/xbasic), all arrays zeroed,
// and installs it in p (replacing any old one).  The optimizer then fills the
// arrays and counts; finally soln_finish sets the status.  Null on 1001.
soln *soln_create(env *e, lp *p, int withx, int withslack);
// Publishes a filled record: sets soln.lpstat, lp.lpstat, method, flags.
void soln_finish(lp *p, int lpstat, int method, int pfeas, int dfeas, double objval);
bool solnexists(const lp *p);
bool basisexists(const lp *p);   // solution basis or a user start basis
void start_free(start **s);

}  // namespace velto
