// Tests of connections: walk order, ends from both sides, the id index, the flattened walk.
#include <gtest/gtest.h>

#include "grid_helpers.h"

using gridtest::ConnectionIds;
using gridtest::Path;

namespace {

using Ids = std::vector<long>;

// An element "Sw" (terminals 0 and 1, internal node cn2) used twice:
//
//   N1 --(20)-- s1.0   s1.1 --(21)-- N2 --(22)-- s2.0
struct Circuit {
  ZELT_Grid gm;
  long termids[2] = {0, 1};
  ZELT_Grid_DefIter sw = gm.AddElementDef(1, 2, termids, "Sw");
  ZELT_Grid_DefIter ckt = gm.AddCircuitDef(2, "Feeder");
  ZELT_Grid_EntityIter s1 = gm.AddInstance(ckt, sw, 10, "s1");
  ZELT_Grid_EntityIter s2 = gm.AddInstance(ckt, sw, 11, "s2");
  ZELT_Grid_EntityIter n1 = gm.AddConnNode(ckt, 12, "N1");
  ZELT_Grid_EntityIter n2 = gm.AddConnNode(ckt, 13, "N2");

  Circuit() {
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
  Circuit c;
  EXPECT_EQ(ConnectionIds(c.gm, c.ckt, c.n2), (Ids{22, 21}));
  EXPECT_EQ(ConnectionIds(c.gm, c.ckt, c.s1), (Ids{21, 20}));
  ZELT_Grid_ConnectionIter fromN1 = c.gm.GetFirstConnection(c.ckt, c.n1);
  ZELT_Grid_ConnectionIter fromS1 = c.gm.GetConntionFromId(c.ckt, 20);
  EXPECT_EQ(c.gm.GetConOtherEnd(c.ckt, c.n1, fromN1), c.s1);
  EXPECT_EQ(c.gm.GetConOtherEnd(c.ckt, c.s1, fromS1), c.n1);
  EXPECT_EQ(c.gm.HGetConOtherEnd(c.ckt, c.n1, fromN1), Path(c.gm, c.ckt, c.s1, c.Term(0)));
  EXPECT_EQ(c.gm.HGetConThisEnd(c.ckt, c.n1, fromN1), Path(c.gm, c.ckt, c.n1));
  EXPECT_EQ(c.gm.HGetConOtherEnd(c.ckt, c.s1, fromS1), Path(c.gm, c.ckt, c.n1));
  EXPECT_EQ(c.gm.HGetConThisEnd(c.ckt, c.s1, fromS1), Path(c.gm, c.ckt, c.s1, c.Term(0)));

  // Inside the element the internal node meets the newest terminal first.
  ZELT_Grid_EntityIter inner = c.gm.GetEntityFromName(c.sw, "cn2");
  ZELT_Grid_ConnectionIter first = c.gm.GetFirstConnection(c.sw, inner);
  EXPECT_EQ(c.gm.GetConOtherEnd(c.sw, inner, first), c.Term(1));

  // A loop leads back to its entity and is met twice.
  ZELT_Grid_ConnectionIter loop = c.gm.AddConnection(Path(c.gm, c.ckt, c.n1), Path(c.gm, c.ckt, c.n1), 5);
  EXPECT_EQ(c.gm.GetConOtherEnd(c.ckt, c.n1, loop), c.n1);
  EXPECT_EQ(ConnectionIds(c.gm, c.ckt, c.n1), (Ids{5, 5, 20}));
}

TEST(GridConnections, IdIndexFollowsRemovalsAndRepeats) {
  Circuit c;
  EXPECT_EQ(c.gm.RemoveConnection(c.ckt, c.gm.GetConntionFromId(c.ckt, 21)), 0);
  EXPECT_TRUE(c.gm.IsEnd(c.gm.GetConntionFromId(c.ckt, 21)));
  EXPECT_EQ(ConnectionIds(c.gm, c.ckt, c.n2), (Ids{22}));

  // A repeated id points at the newer connection. Ids leave the index by value:
  // removing the older connection takes the id out, and the newer one stays in
  // its entities' lists without an index entry.
  ZELT_Grid_ConnectionIter older = c.gm.GetConntionFromId(c.ckt, 22);
  ZELT_Grid_ConnectionIter newer = c.Join(c.s2, 1, c.n1, 22);
  EXPECT_EQ(c.gm.GetConntionFromId(c.ckt, 22).Edge(), newer.Edge());
  EXPECT_EQ(c.gm.RemoveConnection(c.ckt, older), 0);
  EXPECT_TRUE(c.gm.IsEnd(c.gm.GetConntionFromId(c.ckt, 22)));
  EXPECT_EQ(ConnectionIds(c.gm, c.ckt, c.n1), (Ids{22, 20}));

  // Removing an entity takes its connections' ids along.
  EXPECT_EQ(c.gm.RemoveConnNode(c.ckt, c.n1), 0);
  EXPECT_TRUE(c.gm.IsEnd(c.gm.GetConntionFromId(c.ckt, 20)));
  EXPECT_TRUE(c.gm.IsEnd(c.gm.GetConntionFromId(c.ckt, 22)));
  EXPECT_TRUE(c.gm.IsEnd(c.gm.GetFirstConnection(c.ckt, c.s1)));
}

// Removing a terminal of an instantiated definition removes the enclosing
// circuit's connections to it, index entries included.
TEST(GridConnections, RemovingAReachedTerminalCleansEnclosingIndexes) {
  Circuit c;
  c.gm.AddConnection(Path(c.gm, c.ckt, c.n1), Path(c.gm, c.ckt, c.s2, c.Term(1)), 23);
  EXPECT_EQ(c.gm.RemoveTerminal(c.sw, c.Term(1)), 0);
  EXPECT_TRUE(c.gm.IsEnd(c.gm.GetConntionFromId(c.ckt, 21)));
  EXPECT_TRUE(c.gm.IsEnd(c.gm.GetConntionFromId(c.ckt, 23)));
  EXPECT_EQ(ConnectionIds(c.gm, c.ckt, c.n2), (Ids{22}));
  EXPECT_EQ(ConnectionIds(c.gm, c.ckt, c.n1), (Ids{20}));

  // Two levels up: Top reaches terminal 0 of s1 through its instance of Feeder.
  ZELT_Grid_DefIter top = c.gm.AddCircuitDef(3, "Top");
  ZELT_Grid_EntityIter feeder = c.gm.AddInstance(top, c.ckt, 1, "f");
  ZELT_Grid_EntityIter bus = c.gm.AddConnNode(top, 2, "bus");
  ZELT_Grid_HEntity deep = Path(c.gm, top, feeder, c.s1);
  deep.AppendStep(ZELT_Grid_HEntityStep(c.gm.Graph(c.sw), c.Term(0)));
  c.gm.AddConnection(Path(c.gm, top, bus), deep, 30);
  EXPECT_EQ(c.gm.RemoveTerminal(c.sw, c.Term(0)), 0);
  EXPECT_TRUE(c.gm.IsEnd(c.gm.GetConntionFromId(top, 30)));
  EXPECT_TRUE(c.gm.IsEnd(c.gm.GetFirstConnection(top, bus)));
}

// A connection to an instance as a whole counts as reaching every entity inside
// it, so removing any entity of the instantiated definition takes it along; its
// id must leave the enclosing definition's index with it.
//
//   Top:  n --(40)-- i        (i an instance of Sub, which holds x and y)
TEST(GridConnections, RemovingAnEntityInsideTakesWholeInstanceConnectionsOutOfTheIndex) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter sub = gm.AddCircuitDef(1, "Sub");
  ZELT_Grid_EntityIter x = gm.AddConnNode(sub, 1, "x");
  gm.AddConnNode(sub, 2, "y");
  ZELT_Grid_DefIter top = gm.AddCircuitDef(2, "Top");
  ZELT_Grid_EntityIter i = gm.AddInstance(top, sub, 1, "i");
  ZELT_Grid_EntityIter n = gm.AddConnNode(top, 2, "n");
  gm.AddConnection(Path(gm, top, n), Path(gm, top, i), 40);
  ASSERT_FALSE(gm.IsEnd(gm.GetConntionFromId(top, 40)));  // the id table is made now
  EXPECT_EQ(gm.RemoveConnNode(sub, x), 0);
  EXPECT_TRUE(ConnectionIds(gm, top, n).empty());
  EXPECT_TRUE(gm.IsEnd(gm.GetConntionFromId(top, 40)));
  // The id is free for a new connection.
  ZELT_Grid_ConnectionIter again = gm.AddConnection(Path(gm, top, n), Path(gm, top, i), 40);
  EXPECT_EQ(gm.GetConntionFromId(top, 40).Edge(), again.Edge());
}

// Instances may form a cycle (nothing forbids it); removing an entity inside one
// must still finish, and the connections that reach the entity go.
//
//   A holds b (an instance of B); B holds a (an instance of A) and x; A: m --(50)-- b.x
TEST(GridConnections, RemovingAnEntityOfACyclicModelFinishes) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter a = gm.AddCircuitDef(1, "A");
  ZELT_Grid_DefIter b = gm.AddCircuitDef(2, "B");
  ZELT_Grid_EntityIter bInA = gm.AddInstance(a, b, 1, "b");
  gm.AddInstance(b, a, 1, "a");
  ZELT_Grid_EntityIter x = gm.AddConnNode(b, 2, "x");
  ZELT_Grid_EntityIter m = gm.AddConnNode(a, 2, "m");
  gm.AddConnection(Path(gm, a, m), Path(gm, a, bInA, x), 50);
  EXPECT_EQ(gm.RemoveConnNode(b, x), 0);
  EXPECT_TRUE(ConnectionIds(gm, a, m).empty());
  EXPECT_TRUE(gm.IsEnd(gm.GetConntionFromId(a, 50)));

  ZELT_Grid_EntityIter self = gm.AddInstance(a, a, 3, "self");
  EXPECT_EQ(gm.RemoveInst(a, self), 0);
}

TEST(GridFlattened, LeafConnectionsThenThoseMadeOneLevelUp) {
  Circuit c;
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

  ZELT_Grid_HEntity node = Path(c.gm, c.ckt, c.n2);
  EXPECT_EQ(c.gm.VFGetConOtherEnd(node, c.gm.GetFirstVFConnection(node)), Path(c.gm, c.ckt, c.s2, c.Term(0)));
}

}  // namespace
