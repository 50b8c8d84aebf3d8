// Tests of connections: walk order, ends from both sides, the id index, the flattened walk.
#include <gtest/gtest.h>

#include "grid/grid.h"
#include "grid_helpers.h"

using gridtest::ConnectionIds;
using gridtest::Path;

namespace {

using Ids = std::vector<long>;

// The usual circuit shape: an element "Sw" with terminals 0 and 1, two
// instances of it, and connectivity nodes joined to the instances' terminals.
//
//   N1 --(20)-- s1.0   s1.1 --(21)-- N2 --(22)-- s2.0
struct Circuit {
  ZELT_Grid gm;
  ZELT_Grid_DefIter sw, ckt;
  ZELT_Grid_EntityIter s1, s2, n1, n2;

  Circuit() {
    long termids[] = {0, 1};
    sw = gm.AddElementDef(1, 2, termids, "Sw");
    ckt = gm.AddCircuitDef(2, "Feeder");
    s1 = gm.AddInstance(ckt, sw, 10, "s1");
    s2 = gm.AddInstance(ckt, sw, 11, "s2");
    n1 = gm.AddConnNode(ckt, 12, "N1");
    n2 = gm.AddConnNode(ckt, 13, "N2");
    Join(s1, 0, n1, 20);
    Join(s1, 1, n2, 21);
    Join(s2, 0, n2, 22);
  }
  ZELT_Grid_EntityIter Term(long id) { return gm.GetEntityFromId(sw, id); }
  ZELT_Grid_ConnectionIter Join(ZELT_Grid_EntityIter inst, long term, ZELT_Grid_EntityIter node, long id) {
    return gm.AddConnection(Path(gm, ckt, inst, Term(term)), Path(gm, ckt, node), id);
  }
};

TEST(GridConnections, WalkNewestFirstAndOtherEndsFromBothSides) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter d = gm.AddCircuitDef(1, "D");
  ZELT_Grid_EntityIter a = gm.AddConnNode(d, 1, "A");
  ZELT_Grid_EntityIter b = gm.AddConnNode(d, 2, "B");
  ZELT_Grid_EntityIter c = gm.AddConnNode(d, 3, "C");
  ZELT_Grid_ConnectionIter ab = gm.AddConnection(Path(gm, d, a), Path(gm, d, b), 10);
  gm.AddConnection(Path(gm, d, a), Path(gm, d, c), 11);
  EXPECT_EQ(ConnectionIds(gm, d, a), (Ids{11, 10}));
  EXPECT_EQ(ConnectionIds(gm, d, b), (Ids{10}));
  EXPECT_EQ(gm.GetConOtherEnd(d, a, ab), b);
  EXPECT_EQ(gm.GetConOtherEnd(d, b, gm.GetFirstConnection(d, b)), a);
  EXPECT_EQ(gm.Tail(d, ab), a);
  EXPECT_EQ(gm.Head(d, ab), b);
}

TEST(GridConnections, LoopLeadsBackToItself) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter d = gm.AddCircuitDef(1, "D");
  ZELT_Grid_EntityIter a = gm.AddConnNode(d, 1, "A");
  ZELT_Grid_ConnectionIter loop = gm.AddConnection(Path(gm, d, a), Path(gm, d, a), 5);
  EXPECT_EQ(gm.GetConOtherEnd(d, a, loop), a);
  EXPECT_EQ(ConnectionIds(gm, d, a), (Ids{5, 5}));
  EXPECT_EQ(gm.RemoveConnNode(d, a), 0);
  EXPECT_TRUE(gm.IsEnd(gm.GetConntionFromId(d, 5)));
}

TEST(GridConnections, TwoStepEndsSeenFromEitherSide) {
  Circuit c;
  ZELT_Grid_ConnectionIter fromN1 = c.gm.GetFirstConnection(c.ckt, c.n1);
  EXPECT_EQ(c.gm.GetConOtherEnd(c.ckt, c.n1, fromN1), c.s1);
  EXPECT_EQ(c.gm.GetConOtherEnd(c.ckt, c.s1, c.gm.GetConntionFromId(c.ckt, 20)), c.n1);
  EXPECT_EQ(c.gm.HGetConOtherEnd(c.ckt, c.n1, fromN1), Path(c.gm, c.ckt, c.s1, c.Term(0)));
  EXPECT_EQ(c.gm.HGetConThisEnd(c.ckt, c.n1, fromN1), Path(c.gm, c.ckt, c.n1));
  ZELT_Grid_ConnectionIter fromS1 = c.gm.GetConntionFromId(c.ckt, 20);
  EXPECT_EQ(c.gm.HGetConOtherEnd(c.ckt, c.s1, fromS1), Path(c.gm, c.ckt, c.n1));
  EXPECT_EQ(c.gm.HGetConThisEnd(c.ckt, c.s1, fromS1), Path(c.gm, c.ckt, c.s1, c.Term(0)));
  // The circuit-level walk steps node -> instance -> node.
  EXPECT_EQ(ConnectionIds(c.gm, c.ckt, c.n2), (Ids{22, 21}));
  EXPECT_EQ(ConnectionIds(c.gm, c.ckt, c.s1), (Ids{21, 20}));
}

TEST(GridConnections, ElementInternalNodeSeesNewestTerminalFirst) {
  ZELT_Grid gm;
  long termids[] = {1, 2};
  ZELT_Grid_DefIter el = gm.AddElementDef(1, 2, termids, "E");
  ZELT_Grid_EntityIter inner = gm.GetEntityFromName(el, "cn3");
  std::vector<std::string> ends;
  for (ZELT_Grid_ConnectionIter c = gm.GetFirstConnection(el, inner); !gm.IsEnd(c); gm.NextConnection(el, inner, c))
    ends.push_back(gm.GetEntityName(el, gm.GetConOtherEnd(el, inner, c)));
  EXPECT_EQ(ends, (std::vector<std::string>{"2", "1"}));
}

TEST(GridConnections, IdIndexFollowsRemovalsAndRepeats) {
  Circuit c;
  ZELT_Grid_ConnectionIter c21 = c.gm.GetConntionFromId(c.ckt, 21);
  EXPECT_EQ(c.gm.GetConnectionID(c.ckt, c21), 21);
  EXPECT_EQ(c.gm.RemoveConnection(c.ckt, c21), 0);
  EXPECT_TRUE(c.gm.IsEnd(c.gm.GetConntionFromId(c.ckt, 21)));
  EXPECT_EQ(ConnectionIds(c.gm, c.ckt, c.n2), (Ids{22}));

  // A repeated id points at the newer connection; removing the older one keeps it.
  ZELT_Grid_ConnectionIter older = c.gm.GetConntionFromId(c.ckt, 22);
  ZELT_Grid_ConnectionIter newer = c.Join(c.s2, 1, c.n1, 22);
  EXPECT_EQ(c.gm.GetConntionFromId(c.ckt, 22).Edge(), newer.Edge());
  EXPECT_EQ(c.gm.RemoveConnection(c.ckt, older), 0);
  EXPECT_EQ(c.gm.GetConntionFromId(c.ckt, 22).Edge(), newer.Edge());

  // Removing an entity takes the ids of its connections out of the index.
  EXPECT_EQ(c.gm.RemoveConnNode(c.ckt, c.n1), 0);
  EXPECT_TRUE(c.gm.IsEnd(c.gm.GetConntionFromId(c.ckt, 20)));
  EXPECT_TRUE(c.gm.IsEnd(c.gm.GetConntionFromId(c.ckt, 22)));
  EXPECT_TRUE(c.gm.IsEnd(c.gm.GetFirstConnection(c.ckt, c.s1)));
}

// Removing a terminal of an instantiated definition takes the enclosing
// circuit's connections to it along, index entries included.
TEST(GridConnections, RemovingAReachedTerminalCleansEnclosingIndexes) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter part = gm.AddCircuitDef(1, "Part");
  ZELT_Grid_EntityIter pin = gm.AddTerminal(part, 1, "pin");
  ZELT_Grid_EntityIter other = gm.AddTerminal(part, 2, "other");
  ZELT_Grid_DefIter ckt = gm.AddCircuitDef(2, "Feeder");
  ZELT_Grid_EntityIter p1 = gm.AddInstance(ckt, part, 10, "p1");
  ZELT_Grid_EntityIter n = gm.AddConnNode(ckt, 11, "N");
  gm.AddConnection(Path(gm, ckt, p1, pin), Path(gm, ckt, n), 30);
  gm.AddConnection(Path(gm, ckt, n), Path(gm, ckt, p1, pin), 31);
  gm.AddConnection(Path(gm, ckt, p1, other), Path(gm, ckt, n), 32);
  EXPECT_EQ(gm.RemoveTerminal(part, pin), 0);
  EXPECT_TRUE(gm.IsEnd(gm.GetConntionFromId(ckt, 30)));
  EXPECT_TRUE(gm.IsEnd(gm.GetConntionFromId(ckt, 31)));
  EXPECT_FALSE(gm.IsEnd(gm.GetConntionFromId(ckt, 32)));
  EXPECT_EQ(ConnectionIds(gm, ckt, n), (Ids{32}));
}

TEST(GridFlattened, LeafConnectionsThenThoseMadeOneLevelUp) {
  Circuit c;
  // Terminal 1 of s1: its own connection to cn2 inside Sw, then 21 from the circuit.
  ZELT_Grid_HEntity leaf = Path(c.gm, c.ckt, c.s1, c.Term(1));
  std::vector<ZELT_Grid_HEntity> ends;
  Ids ids;
  for (ZELT_Grid_VFConnectionIter it = c.gm.GetFirstVFConnection(leaf); !c.gm.IsEnd(it);
       c.gm.NextVFConnection(leaf, it)) {
    ends.push_back(c.gm.VFGetConOtherEnd(leaf, it));
    ids.push_back(c.gm.GetConnectionID(c.gm.GetDefinition(it), c.gm.GetConnection(it)));
  }
  ASSERT_EQ(ids, (Ids{1, 21}));
  EXPECT_EQ(ends[0], Path(c.gm, c.ckt, c.s1, c.gm.GetEntityFromName(c.sw, "cn2")));
  EXPECT_EQ(ends[1], Path(c.gm, c.ckt, c.n2));

  // From the circuit node the walk stays at its own level.
  ZELT_Grid_HEntity node = Path(c.gm, c.ckt, c.n2);
  ZELT_Grid_VFConnectionIter first = c.gm.GetFirstVFConnection(node);
  EXPECT_EQ(c.gm.VFGetConOtherEnd(node, first), Path(c.gm, c.ckt, c.s2, c.Term(0)));
}

}  // namespace
