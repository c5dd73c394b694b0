// The dive rule on hand-made slots.
#include "mip/miptree.h"
#include "mipfix.h"

namespace miptest {
namespace {

using namespace velto;

struct Slots {
  bbnode nodes[6];
  bbnode *s[6] = {};
  Slots(std::initializer_list<int> used) {
    for (int k : used) {
      nodes[k].id = k;
      s[k] = &nodes[k];
    }
  }
  int id(int k) const { return s[k] ? s[k]->id : -1; }
};

diveinput base() {
  diveinput in;
  in.nodesel = 1;
  in.varsel = 2;
  in.bttol = 0.9999;
  in.bestnodeobj = 10.0;
  in.cutoff = 1e75;  // no cutoff: the child is taken
  in.x = 10.5;
  in.branched = 2;
  in.ncols = 50;
  return in;
}

TEST(Dive, BranchedNodeGoesOnWithItsFirstChild) {
  Slots sl({0, 1, 2});
  divestate st;
  st.dives = 7;
  int slot = 0;
  std::vector<bbnode *> out;
  bool pack = false;
  ASSERT_EQ(nodenext(base(), st, sl.s, slot, out, &pack), 1);
  EXPECT_EQ(slot, 0);
  EXPECT_EQ(sl.id(0), 1);  // the child is the main node now
  EXPECT_EQ(sl.id(3), 2);  // its sibling the alternate
  EXPECT_EQ(sl.id(1), -1);
  EXPECT_TRUE(out.empty());
  EXPECT_EQ(st.divelen, 1);
  EXPECT_FALSE(pack);
}

TEST(Dive, ALongDiveReturnsToTheTree) {
  Slots sl({0, 1, 2});
  divestate st;
  st.dives = 7;
  st.divelen = 501;  // more than 10 x 50 columns
  int slot = 0;
  std::vector<bbnode *> out;
  bool pack = false;
  EXPECT_EQ(nodenext(base(), st, sl.s, slot, out, &pack), 0);
  EXPECT_EQ(out.size(), 3u);
  EXPECT_EQ(st.divelen, 0);
  EXPECT_TRUE(pack);  // the child goes to the tree packed
  for (int k = 0; k < 6; ++k) EXPECT_EQ(sl.s[k], nullptr);
}

TEST(Dive, ZeroBacktrackToleranceLeavesTheChoiceToTheTree) {
  Slots sl({0, 1, 2});
  divestate st;
  diveinput in = base();
  in.bttol = 0.0;
  int slot = 0;
  std::vector<bbnode *> out;
  bool pack;
  EXPECT_EQ(nodenext(in, st, sl.s, slot, out, &pack), 0);
  EXPECT_EQ(out.size(), 3u);
}

TEST(Dive, CompactsAndTakesTheSecondChildWhenTheFirstIsGone) {
  Slots sl({0, 2});
  divestate st;
  st.dives = 7;
  int slot = 0;
  std::vector<bbnode *> out;
  bool pack;
  ASSERT_EQ(nodenext(base(), st, sl.s, slot, out, &pack), 1);
  EXPECT_EQ(sl.id(0), 2);
  EXPECT_EQ(sl.id(3), -1);
}

TEST(Dive, AlternateSlotPicksTheLowerEstimate) {
  // Working on the alternate (slot 3) with children in 4; the main node's
  // child A in slot 1 has the lower estimate.
  Slots sl({0, 1, 3, 4});
  sl.nodes[1].baseobj = 5;
  sl.nodes[1].estinc = 1;
  sl.nodes[4].baseobj = 9;
  sl.nodes[4].estinc = 1;
  divestate st;
  st.dives = 7;
  int slot = 3;
  std::vector<bbnode *> out;
  bool pack;
  ASSERT_EQ(nodenext(base(), st, sl.s, slot, out, &pack), 1);
  EXPECT_EQ(slot, 0);
  EXPECT_EQ(sl.id(0), 1);
  // The alternate and its child went to the tree.
  ASSERT_EQ(out.size(), 2u);
  EXPECT_EQ(out[0]->id, 3);
  EXPECT_EQ(out[1]->id, 4);
  EXPECT_TRUE(pack);
}

TEST(Dive, DepthFirstAlwaysTakesTheChild) {
  Slots sl({0, 1, 2, 3});
  divestate st;
  st.dives = 7;
  diveinput in = base();
  in.nodesel = 0;
  in.cutoff = 100;  // a finite cutoff does not matter for depth first
  in.x = 99;
  int slot = 0;
  std::vector<bbnode *> out;
  bool pack;
  ASSERT_EQ(nodenext(in, st, sl.s, slot, out, &pack), 1);
  EXPECT_EQ(sl.id(0), 1);
  EXPECT_EQ(sl.id(3), 2);
  ASSERT_EQ(out.size(), 1u);  // the old alternate went to the tree
  EXPECT_EQ(out[0]->id, 3);
}

}  // namespace
}  // namespace miptest
