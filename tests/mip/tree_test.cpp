// The open-node store: selection order of every node selection rule on
// synthetic trees, pruning, and node files in memory and on disk.
#include <algorithm>
#include <random>

#include "env/env.h"
#include "mip/miptree.h"
#include "mipfix.h"

namespace miptest {
namespace {

using namespace velto;

class TreeTest : public MipTest {
 protected:
  void TearDown() override {
    treefree(tree);
    MipTest::TearDown();
  }
  void make(int nodesel, int varsel = 2, double workmem = 1e75, int nodefile = 1) {
    treefree(tree);
    tree = treecreate(env, 0, nodesel, varsel, workmem, 1e75, nodefile, dir.string().c_str());
  }
  bbnode *node(int id, double bound, double baseobj = 0, double estinc = 0, int iinf = 0) {
    auto *nd = new bbnode();
    nd->id = id;
    nd->bound = bound;
    nd->baseobj = baseobj;
    nd->estinc = estinc;
    nd->iinf = iinf;
    return nd;
  }
  std::vector<int> popall() {
    std::vector<int> ids;
    bbnode *nd = nullptr;
    while (treepop(env, tree, &nd) == 0 && nd != nullptr) {
      ids.push_back(nd->id);
      delete nd;
    }
    return ids;
  }
  bbtree *tree = nullptr;
};

TEST_F(TreeTest, DepthFirstTakesTheNewestNumberedNodeThenUnnumberedInOrder) {
  make(0);
  for (int id : {3, 9, 1, 7}) treepush(env, tree, node(id, id));
  treepush(env, tree, node(-1, 0.0));  // created fifth
  treepush(env, tree, node(5, 5));
  treepush(env, tree, node(-1, 0.0));  // created seventh
  std::vector<int> got;
  bbnode *nd;
  std::vector<int> seqs;
  while (treepop(env, tree, &nd) == 0 && nd) {
    got.push_back(nd->id);
    seqs.push_back(nd->nodeseq);
    delete nd;
  }
  EXPECT_EQ(got, (std::vector<int>{9, 7, 5, 3, 1, -1, -1}));
  EXPECT_EQ(seqs[5], 4);
  EXPECT_EQ(seqs[6], 6);
}

TEST_F(TreeTest, BestBoundBreaksTiesTowardsFewerInfeasibilities) {
  make(1);
  tree->ctx.rootiinf = 10;
  treepush(env, tree, node(1, 5.0, 0, 0, 8));
  treepush(env, tree, node(2, -3.0, 0, 0, 1));
  treepush(env, tree, node(3, 5.0, 0, 0, 2));
  treepush(env, tree, node(4, 4.0, 0, 0, 9));
  EXPECT_EQ(tree->bestbound, -3.0);
  EXPECT_EQ(popall(), (std::vector<int>{2, 4, 3, 1}));
  EXPECT_EQ(tree->bestbound, 1e75);
}

TEST_F(TreeTest, BestEstimateTakesTheBestBoundNodeEveryIntervalPick) {
  make(2);  // varsel 2: estimates as given
  tree->bbinterval = 3;
  // Estimates baseobj + estinc rise with the id; bounds fall with it.
  for (int id = 1; id <= 8; ++id) treepush(env, tree, node(id, 100.0 - id, id, 0.5));
  // Picks 0, 3, 6 take the lowest bound; the others the lowest estimate.
  EXPECT_EQ(popall(), (std::vector<int>{8, 1, 2, 7, 3, 4, 6, 5}));
}

TEST_F(TreeTest, BestEstimateWithIntervalZeroNeverTakesTheBoundNode) {
  make(2);
  tree->bbinterval = 0;
  for (int id = 1; id <= 6; ++id) treepush(env, tree, node(id, 100.0 - id, id, 0.5));
  EXPECT_EQ(popall(), (std::vector<int>{1, 2, 3, 4, 5, 6}));
}

TEST_F(TreeTest, EstimatesFromInfeasibilitiesUnlessTheRuleGivesThem) {
  // varsel 0: estinc becomes suminf * degperinf, except for 'X' branches.
  make(2, 0);
  tree->bbinterval = 0;
  tree->ctx.degperinf = 10.0;
  bbnode *a = node(1, 0, 0.0, 100.0), *b = node(2, 0, 0.0, 0.0), *c = node(3, 0, 0.0, 5.0);
  a->suminf = 0.1;  // estimate 1
  b->suminf = 0.5;  // estimate 5
  c->suminf = 0.0;
  c->dir = 'X';     // keeps its own 5.5 - 0.5
  c->estinc = 3.0;
  treepush(env, tree, a);
  treepush(env, tree, b);
  treepush(env, tree, c);
  EXPECT_EQ(popall(), (std::vector<int>{1, 3, 2}));
}

TEST_F(TreeTest, AlternateEstimateScoresRelativeToTheTarget) {
  make(3);
  tree->ctx.targetobj = 10.0;
  // (baseobj - target + estinc) / estinc: 0.5, -1, 1.5
  treepush(env, tree, node(1, 0, 9.0, 2.0));
  treepush(env, tree, node(2, 0, 8.0, 1.0));
  treepush(env, tree, node(3, 0, 10.0, 1.0) );
  EXPECT_EQ(popall(), (std::vector<int>{2, 1, 3}));
}

TEST_F(TreeTest, ChangingTheRuleReordersTheOpenNodes) {
  make(1);
  for (int id = 1; id <= 5; ++id) treepush(env, tree, node(id, 10.0 - id));
  treeupdate(env, tree, 0, 2, 1e75, 1e75, 1, nullptr, 7);
  EXPECT_EQ(popall(), (std::vector<int>{5, 4, 3, 2, 1}));
  treeupdate(env, tree, 0, 2, 1e75, 1e75, 1, "/elsewhere", 7);
  EXPECT_EQ(take(warn),
            "Warning:  Cannot change node file directory during solution.\nUsing original directory\n");
}

TEST_F(TreeTest, PruningKeepsNodesAtTheCutoff) {
  make(1);
  for (int id = 1; id <= 6; ++id) treepush(env, tree, node(id, id));
  int status;
  EXPECT_EQ(treeprune(env, tree, 4.0, &status), 2);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(treesize(tree), 4);
  EXPECT_EQ(popall(), (std::vector<int>{1, 2, 3, 4}));
}

// Many nodes under a tiny memory limit: blocks are written, and the nodes
// come back in exactly the order of a tree that kept them all in memory.
class NodeFileTest : public TreeTest, public ::testing::WithParamInterface<int> {};

TEST_P(NodeFileTest, BlocksComeBackInSelectionOrder) {
  int nodefile = GetParam();
  std::mt19937 rng(5);
  // Distinct bounds in random order (ties would leave the order to the heaps).
  std::vector<double> bounds(3000);
  for (size_t k = 0; k < bounds.size(); ++k) bounds[k] = k / 7.0;
  std::shuffle(bounds.begin(), bounds.end(), rng);
  auto fill = [&](bbtree *t) {
    for (size_t k = 0; k < bounds.size(); ++k) {
      bbnode *nd = node(static_cast<int>(k), bounds[k]);
      nd->packed.assign(10 + k % 7, static_cast<uint32_t>(k % 3));  // compressible
      if (k % 4 == 0) {
        nd->data = new nodedata();
        nd->data->bounds.add(static_cast<int>(k % 50), 'U', 0.0);
      }
      ASSERT_EQ(treepush(env, t, nd), 0);
    }
  };
  make(1, 2, 1e75, nodefile);
  fill(tree);
  EXPECT_EQ(tree->nblocks, 0);
  std::vector<int> expect = popall();
  ASSERT_EQ(expect.size(), bounds.size());

  make(1, 2, 0.02, nodefile);  // 0.02 MB
  fill(tree);
  if (nodefile == 0) {
    EXPECT_EQ(tree->nblocks, 0);
  } else {
    EXPECT_GT(tree->nblocks, 0);
    EXPECT_EQ(treesize(tree), static_cast<int>(bounds.size()));
    if (nodefile != 2) EXPECT_LT(tree->storedbytes, tree->rawbytes);
    else EXPECT_EQ(tree->storedbytes, tree->rawbytes);
  }
  bool ondisk = nodefile >= 2;
  if (ondisk) {
    std::string log = take(res);
    std::string head = "Began writing nodes to disk (directory " + dir.string() + "/vlt";
    EXPECT_EQ(log.substr(0, head.size()), head);
    EXPECT_EQ(log.substr(log.size() - 10), " created)\n");
    EXPECT_TRUE(std::filesystem::is_directory(tree->blockdir));
  }
  EXPECT_EQ(popall(), expect);
  EXPECT_EQ(tree->nodesinblocks, 0);
}

INSTANTIATE_TEST_SUITE_P(AllModes, NodeFileTest, ::testing::Values(0, 1, 2, 3));

TEST_F(TreeTest, NodeFilesOfAFailedRunAreRemoved) {
  make(1, 2, 0.01, 3);
  for (int k = 0; k < 2000; ++k) {
    bbnode *nd = node(k, k);
    nd->packed.assign(30, 1);
    ASSERT_EQ(treepush(env, tree, nd), 0);
  }
  ASSERT_GT(tree->nblocks, 0);
  std::string blockdir = tree->blockdir;
  ASSERT_FALSE(std::filesystem::is_empty(blockdir));
  treefree(tree);  // the run ends without popping
  tree = nullptr;
  EXPECT_FALSE(std::filesystem::exists(blockdir));
}

TEST_F(TreeTest, PruningDropsWholeBlocksAboveTheCutoff) {
  make(1, 2, 0.01, 3);
  for (int k = 0; k < 2000; ++k) {
    bbnode *nd = node(k, k);
    nd->packed.assign(30, 1);
    ASSERT_EQ(treepush(env, tree, nd), 0);
  }
  int status;
  treeprune(env, tree, 999.5, &status);
  EXPECT_EQ(status, 0);
  std::vector<int> got = popall();
  ASSERT_EQ(got.size(), 1000u);  // blocks that straddle the cutoff are dropped on reading
  for (int k = 0; k < 1000; ++k) EXPECT_EQ(got[k], k);
}

TEST_F(TreeTest, AnUnwritableDirectoryIsAnError) {
  tree = treecreate(env, 0, 1, 2, 0.001, 1e75, 2, "/nonexistent/velto");
  int status = 0;
  for (int k = 0; k < 500 && status == 0; ++k) {
    bbnode *nd = node(k, k);
    nd->packed.assign(30, 1);
    status = treepush(env, tree, nd);
    if (status) delete nd;
  }
  EXPECT_EQ(status, 1801);
}

}  // namespace
}  // namespace miptest

namespace miptest {
namespace {

TEST_F(TreeTest, FreeingPassNotesItsProgress) {
  make(1);
  for (int k = 0; k < 2500; ++k) treepush(env, tree, node(k, k));
  take(res);
  treefreelog(env, tree, 0.0);  // a note after every 1000 nodes
  tree = nullptr;
  EXPECT_EQ(take(res), "Freeing branch-and-bound tree with 2500 nodes\n1000 nodes freed\n2000 nodes freed\n");
}

}  // namespace
}  // namespace miptest
