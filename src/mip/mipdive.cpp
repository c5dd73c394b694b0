// The dive rule: after a node, go on with one of the nodes kept in the six
// slots or leave the choice to the tree.  Slot 0 is the main node with its
// children in 1 and 2; slot 3 the alternate node with its children in 4
// and 5.
#include <cmath>

#include "mip/miptree.h"

namespace velto {

namespace {

// Estimate of a slot node for comparing dive candidates.
double estimate(const diveinput &in, const bbnode *n) {
  if (n == nullptr) return 1e75;
  if (in.varsel == 2) return n->baseobj + n->estinc;
  double r = n->iinf < in.rootiinf ? (n->baseobj - in.rootobj) / (in.rootiinf - n->iinf)
                                   : n->baseobj - in.rootobj;
  return n->baseobj + n->iinf * ((std::fabs(in.rootobj) + 1) * 1e-4 + r);
}

}  // namespace

int nodenext(const diveinput &in, divestate &st, bbnode *slots[6], int &slot,
             std::vector<bbnode *> &totree, bool *packchild) {
  *packchild = false;
  // 1. Compact the children.
  if (slots[2] && !slots[1]) slots[1] = slots[2], slots[2] = nullptr;
  if (slots[5] && !slots[4]) slots[4] = slots[5], slots[5] = nullptr;
  bbnode *A = slots[1], *S = slots[3], *C = slots[4], *D = slots[slot + 1];
  const double B = in.bestnodeobj, U = in.bestinteger, Z = in.cutoff, x = in.x, bt = in.bttol;
  const long long c = st.dives;
  // 2.
  double g = in.hasincumbent ? U - B : Z - B;
  double t = B + bt * g;
  // 3. Forced flag.
  bool F = false;
  if (bt > 0) {
    F = c < 3 || (in.nodesel == 1 && c - st.lastimprove >= 20) ||
        (in.rootiinf > 0 && c % (5 * static_cast<long long>(in.rootiinf)) == 0) ||
        (std::fabs(Z) > 1e74 && c % 2 == 0) ||
        (bt >= 0.99 && ((c < 100 && c % 5 == 0) || (c >= 100 && c % 10 == 0)));
  }
  // 4. Estimate mode and weight.
  int E = 0;
  double w = 1.0;
  if (in.divetype == 2) {
    E = 2, w = 1e-4;
  } else if (in.divetype == 0 && in.brdir == 0) {
    if (in.varsel == 2) {
      if (F) E = c > 0 ? 2 : 1, w = c > 0 ? 1e-4 : 1.0;
    } else if (c < 3 || c % 10 == 0) {
      E = 1, w = 1.0;
    }
  }
  // 5.
  double m = 0.0;
  if (E != 0) {
    m = g >= 1e72 ? std::fabs(x) + 1 : g;
    if (in.rootiinf > 0) m /= in.rootiinf;
    m *= 10 * w;
  }
  bbnode *choice = nullptr;
  bool dropchildren = false;
  bool decided = false;
  // 6.
  if (in.branched && bt > 0) {
    double q = 85 * bt;
    if (in.onesided == 0 && in.nodesel != 0) {
      if (slot == 0 && S && E != 0 && m < estimate(in, A) - estimate(in, S)) choice = S;
      else if (slot == 3 && A && C) choice = estimate(in, A) < estimate(in, C) ? A : C;
    } else {
      choice = D;
    }
    decided = choice != nullptr;
    if (!decided) {
      bool toD = std::fabs(Z) > 1e74;
      if (!toD) {
        const dive_prev &p = in.prev;
        if (g > 0.1 * (std::fabs(B) + 1) && !(p.iinf <= in.iinf && in.suminf >= p.suminf) &&
            x < B + 1e-10 + g * q * 0.25)
          toD = true;
        else if (std::fabs(in.thisest - p.est) <= (1 + std::fabs(p.est)) * q &&
                 std::fabs(x - p.bound) <=
                     q * in.degperiinf * std::max(p.iinf - in.iinf, 1) + std::fabs(p.bound) * 1e-10)
          toD = true;
        else if (!(x >= t && !F))
          toD = true;  // otherwise on to step 7
      }
      if (toD && D) {
        choice = D;
        decided = true;
      }
    }
  }
  if (!decided) {
    // 7.
    if (slot == 3 && !C && A) {
      choice = A;
    } else if (slot == 0 && S && bt > 0) {
      // 8.
      bool leave = false;
      if (in.nodesel != 0 && !F)
        leave = B + 0.2 * (U - B) <= S->bound &&
                !(S->iinf < 4 && U - B > 0.15 * (std::fabs(B) + 1)) && S->bound >= t;
      if (!leave) choice = S, dropchildren = true;
    }
  }
  // 9.
  if (st.divelen > 10LL * in.ncols) choice = nullptr, dropchildren = false;
  // 10.
  if (D && D != choice) *packchild = true;
  // 11, 12.
  auto queue = [&](int k) {
    if (slots[k]) totree.push_back(slots[k]);
    slots[k] = nullptr;
  };
  if (choice == nullptr) {
    for (int k = 0; k < 6; ++k) queue(k);
    slot = 0;
    st.divelen = 0;
    return 0;
  }
  // The current node's child D is A (slot 0) or C (slot 3).
  if (choice == A) {
    queue(3), queue(4), queue(5);
    slots[0] = A;
    slots[3] = slots[2];
    slots[1] = slots[2] = nullptr;
    slot = 0;
  } else if (choice == C) {
    queue(0), queue(1), queue(2);
    slots[0] = C;
    slots[3] = slots[5];
    slots[4] = slots[5] = nullptr;
    slot = 0;
  } else if (dropchildren) {
    queue(1), queue(2);
    slots[0] = S;
    slots[1] = slots[2] = slots[3] = nullptr;
    slot = 0;
  } else {
    slot = 3;
  }
  // 13.
  if (F) st.fresh = 1;
  ++st.divelen;
  return 1;
}

}  // namespace velto
