// Branch and bound: the run's control record, the state that survives
// between calls of VLTmipopt, the node log and the branching rules.
#pragma once

#include <memory>
#include <vector>

#include "mip/mip.h"
#include "mip/mipnode.h"
#include "mip/miptree.h"

namespace velto {

// The part of a search that outlives one call: root data, pseudocosts,
// working bounds, the node left in hand when a limit stopped the loop.
struct bbstate {
  int terminal = 0;           // 101 or 115 once the search has finished
  int rootiinf = -1;          // 0 or more: the root has been passed
  double rootsuminf = 0.0, rootobj = 1e75, targetobj = 1e75;
  double degperinf = 0.5, degperiinf = 0.5;
  long long rootit = 0;
  int nodeseq = 0, nextid = 1;
  lpresult finalstat;
  bool havefinal = false;
  std::vector<int> pccount;
  std::vector<double> pcdown, pcup;
  nodestate ns;               // node problem, global bounds, installed list
  rcfixtable rcf;
  packlayout layout;
  bbnode *rootslot = nullptr;  // where a resumed run goes on
  double startsec = 0.0;
  ~bbstate() { delete rootslot; }
};

// Control record of one run, built from the parameters.
struct mipctl {
  int brdir = 0, heurfreq = 0, display = 2, interval = 100, nodelim = 0, ordind = 1;
  int intsollim = 0, subalg = 2, startalg = 0, nodesel = 1, varsel = 2, strongitlim = 0;
  int probe = 0, dpriind = 0, emphasis = 0;
  double tilim = 1e75, epagap = 0.0, epgap = 0.0, epint = 1e-5, bttol = 0.9999;
  int headerdue = 1, nodenum = 0, startnode = 0;
  double startsec = 0.0;
  int objsen = 1;
  // the node in hand
  int iinf = -1;
  double suminf = 0.0, nodeobj = 0.0, estimate = 0.0, nodeest = 0.0;
  // candidates of the node: column, value, fraction above the floor
  int nfrac = 0;
  int onesided = 0;  // the branch has a side that came out integer
  std::vector<int> fraccol;
  std::vector<double> fracx, fracval, downpen, uppen;
  // priorities and directions of the order in force (empty: none)
  std::vector<int> priority, branchdir;
};

// One child of a branch, until it becomes a node.
struct bbchild {
  char dir = 'U';
  int var = -1, var2 = -1;
  double value = 0.0, estobj = 0.0, estinc = 0.0;
  bdchglist fix;  // bounds the child adds to its parent's list
};

// What a branch choice needs from the run.
struct branchctx {
  env *e = nullptr;
  lp *q = nullptr;             // the node problem, solved
  const lp *model = nullptr;   // the model (column types, SOS, matrix)
  const char *ctype = nullptr;
  mipctl *ctl = nullptr;
  bbstate *bb = nullptr;
  double cutoff = 1e75;
  const bdchglist *nodebounds = nullptr;  // the node's list (reversal rule)
  const std::vector<double> *x = nullptr; // the node's solution
  const std::vector<double> *lb = nullptr, *ub = nullptr;  // node bounds
  const std::vector<double> *dual = nullptr;               // row duals (model sense)
};

struct heurstate;

// One run of the search on a model: what the loop and the log read.
struct miprun {
  env *e = nullptr;
  lp *p = nullptr;        // the model
  lp *q = nullptr;        // the node problem
  mipwork *w = nullptr;
  bbstate *bb = nullptr;
  incumbent *inc = nullptr;
  const char *ctype = nullptr;
  int n = 0, m = 0;
  mipctl ctl;
  divestate dive;
  double bbinterval = 0.0;
  std::shared_ptr<heurstate> heur;  // the heuristics' memory of the run
  bool rootround = false;                  // the root rounding run is due
};

// Where the cut loops and heuristics plug into the search.  Each entry is
// null until its family is in the library; the driver calls what is set.
// rootcuts runs after the root relaxation (on the root node), nodecuts at a
// fractional node, rootround before the root cuts when the root rounding
// run is asked for, rootheur on the root after its cuts, nodeheur at a
// fractional node when the heuristic frequency is due (deep: a deeper
// search), repair at the nodes of the periodic repair, polish after a new
// incumbent from a node.  Each returns 0, a
// status 101..119 or an error; a new incumbent goes through the incumbent
// store and is logged with the '+' mark.
struct mipplugins {
  int (*rootcuts)(miprun &r, bbnode *root) = nullptr;
  int (*nodecuts)(miprun &r, bbnode *node) = nullptr;
  int (*rootheur)(miprun &r, bbnode *root) = nullptr;
  int (*nodeheur)(miprun &r, bbnode *node, int deep) = nullptr;
  int (*rootround)(miprun &r, bbnode *root) = nullptr;
  int (*repair)(miprun &r, bbnode *node) = nullptr;
  int (*polish)(miprun &r, bbnode *node) = nullptr;
};
extern mipplugins mipplug;

// Log rows.
void logheader(miprun &r);
// A node row; mark '*' for an incumbent, plus '+' when a heuristic found it.
// verdict 1 infeasible, 2 cutoff, else the objective column.
void logrow(miprun &r, char mark, char plus, int left, int verdict, const bbnode *nd,
            long long itcnt);
// The columns of a node row: objective (with the infeasibility count),
// best integer, best node, gap.
void logcolumns(miprun &r, char mark, int verdict, char objcol[64], char bestint[64],
                char bestnode[64], char gap[32]);
// The line or row of a new incumbent: the '*' row (plus: '+' for one from
// a heuristic) with `left` nodes left, or the short line of display 1.
void logincumbent(miprun &r, char plus, int left, int verdict, const bbnode *nd, long long itcnt);
// The stop tests in their order: 0 or a status 101..114.
int miplimits(miprun &r);
// The node loop from the node in slot 0; returns 0, a status or an error.
int mipnodeloop(miprun &r, bbnode *first);

// Counts the integer infeasibilities of x into ctl's candidate arrays
// (skipping columns outside [lb, ub]); returns iinf.
int fraccount(const char *ctype, int n, const double *x, const double *lb, const double *ub,
              double epint, mipctl &ctl);
// Infeasibility of the special ordered sets at x: count of violated sets.
int sosinfeas(const sosdata *s, const double *x, const double *lb, const double *ub,
              double epint);
// Chooses the branch of a fractional node; fills `kids` (0 or 2 children,
// the preferred one first).  Returns 0, a code 108/114, or an error
// (negative when printed).
int branchselect(branchctx &c, std::vector<bbchild> &kids);
// The child estimates after a choice (sets estinc of each child).
void childestimates(const branchctx &c, std::vector<bbchild> &kids);
// Pseudocost rate of a solved child: the largest seen is kept.
void pcrecord(bbstate &bb, int col, char dir, double rate);

}  // namespace velto
