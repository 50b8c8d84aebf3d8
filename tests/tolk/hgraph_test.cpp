// Tests of instance paths, hierarchical graphs, their representatives and flattened walks.
#include "tolk/hgraph.h"

#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <utility>
#include <vector>

namespace {

struct GData {
  int id = 0;
};
struct NData {
  int id = 0;
};
struct EData {
  int id = 0;
};
struct LData {
  int id = 0;
};

typedef tolk_HGRAPH<GData, NData, EData, LData> Graph;
typedef Graph::Path Path;

Path P(std::initializer_list<std::pair<Graph*, tolk_UNode>> steps) {
  Path p;
  for (const auto& [g, n] : steps) p.Append(g, n);
  return p;
}

int IdOf(const Path& p, int i) {
  Graph* g = p.Scope(i);
  return Graph::IsLeaf(p.Node(i)) ? g->LeafValue(p.Node(i)).id : g->Value(p.Node(i)).id;
}

std::vector<int> Ids(const Path& p) {
  std::vector<int> v;
  for (int i = 0; i < p.GetLength(); ++i) v.push_back(IdOf(p, i));
  return v;
}

std::vector<int> EdgeIds(Graph& g, const tolk_UNode& n) {
  std::vector<int> v;
  for (tolk_UEdge e = tolk_UEdge::First(n); !e.End(); e.Next()) v.push_back(g.Value(e).id);
  return v;
}

std::vector<int> VConnectIds(const Path& leaf) {
  std::vector<int> v;
  tolk_VConnect_base vc;
  for (vc.First(leaf); !vc.End(); vc.Next()) v.push_back(static_cast<Graph*>(vc.GetScope())->Value(vc.GetEdge()).id);
  return v;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Instance paths

TEST(InstancePath, CapacityGrowsAndShrinksInBlocksOfFour) {
  Graph g;
  tolk_UNode n = g.LeafNodeAppend({1});
  Path p;
  for (int i = 0; i < 4; ++i) p.Append(&g, n);
  EXPECT_EQ(p.GetSpace(), 4);
  p.Append(&g, n);
  EXPECT_EQ(p.GetSpace(), 8);
  Path copy(p);
  EXPECT_EQ(copy.GetSpace(), 8);
  EXPECT_EQ(copy, p);

  p.CutToEnd(4);  // 4 spare: kept
  EXPECT_EQ(p.GetSpace(), 8);
  p.CutToEnd(3);
  EXPECT_EQ(p.GetLength(), 3);
  EXPECT_EQ(p.GetSpace(), 4);
  copy.DeleteStep(0);
  copy.DeleteStep(0);
  copy.DeleteStep(0);
  EXPECT_EQ(copy.GetLength(), 2);
  EXPECT_EQ(copy.GetSpace(), 4);
}

TEST(InstancePath, EmptyCopiesHoldNoArrayAndResetKeepsSmallOnes) {
  Graph g;
  tolk_UNode n = g.LeafNodeAppend({1});
  Path p = P({{&g, n}, {&g, n}, {&g, n}});
  p.Reset();
  EXPECT_EQ(p.GetLength(), 0);
  EXPECT_EQ(p.GetSpace(), 4);
  Path copy(p);
  EXPECT_EQ(copy.GetSpace(), 0);
  EXPECT_EQ(copy.stepfield, nullptr);
  copy.Append(&g, n);
  EXPECT_EQ(copy.GetSpace(), 4);

  for (int i = 0; i < 6; ++i) p.Append(&g, n);
  p.Reset();
  EXPECT_EQ(p.GetSpace(), 0);
  Path q = P({{&g, n}});
  q = p;  // assigning an empty path gives the array back
  EXPECT_EQ(q.GetSpace(), 0);
}

TEST(InstancePath, CutsDeletionAndOverlayKeepTheRightSteps) {
  Graph g;
  tolk_UNode a = g.LeafNodeAppend({1}), b = g.LeafNodeAppend({2}), c = g.LeafNodeAppend({3});
  Path abc = P({{&g, a}, {&g, b}, {&g, c}});

  Path p(abc);
  p.CutToFront(0);
  EXPECT_EQ(Ids(p), (std::vector<int>{2, 3}));
  p = abc;
  p.CutToFront(2);
  EXPECT_EQ(p.GetLength(), 0);
  EXPECT_EQ(p.GetSpace(), 0);

  p = abc;
  p.DeleteStep(1);
  EXPECT_EQ(Ids(p), (std::vector<int>{1, 3}));

  p = abc;
  p.Overlay(1, P({{&g, c}, {&g, c}}));
  EXPECT_EQ(Ids(p), (std::vector<int>{1, 3, 3}));

  p = abc;
  p.Append(p);  // appending a path to itself doubles it
  EXPECT_EQ(Ids(p), (std::vector<int>{1, 2, 3, 1, 2, 3}));
  EXPECT_EQ(p.GetSpace(), 8);

  EXPECT_NE(P({{&g, a}, {&g, b}}), P({{&g, a}, {&g, c}}));
  EXPECT_NE(P({{&g, a}}), P({{&g, a}, {&g, a}}));
  EXPECT_EQ(Path(), Path());
}

// ---------------------------------------------------------------------------------------------
// Hierarchical graphs
//
//   D (element): t1, t2 leaves, k leaf;   t1 -d1- k,  t2 -d2- k
//   C (circuit): x, y leaves; n, m instances of D
//        x -c1- (n,t1)     (n,t2) -c2- (m,t1)     x -c3- y     (m,t2) -c4- y
//        (n,t1) -c5- (n,t2)   a loop at n joining two of its terminals

namespace {

struct TwoLevels {
  Graph D{{1}}, C{{2}};
  tolk_UNode t1, t2, k, x, y, n, m;
  tolk_UEdge c1, c2, c3, c4, c5;

  TwoLevels() {
    t1 = D.LeafNodeAppend({11});
    t2 = D.LeafNodeAppend({12});
    k = D.LeafNodeAppend({13});
    D.EdgeAppend({101}, P({{&D, t1}}), P({{&D, k}}));
    D.EdgeAppend({102}, P({{&D, t2}}), P({{&D, k}}));
    x = C.LeafNodeAppend({21});
    y = C.LeafNodeAppend({22});
    n = C.NodeAppend({23}, &D);
    m = C.NodeAppend({24}, &D);
    c1 = C.EdgeAppend({201}, P({{&C, x}}), P({{&C, n}, {&D, t1}}));
    c2 = C.EdgeAppend({202}, P({{&C, n}, {&D, t2}}), P({{&C, m}, {&D, t1}}));
    c3 = C.EdgeAppend({203}, P({{&C, x}}), P({{&C, y}}));
    c4 = C.EdgeAppend({204}, P({{&C, m}, {&D, t2}}), P({{&C, y}}));
    c5 = C.EdgeAppend({205}, P({{&C, n}, {&D, t1}}), P({{&C, n}, {&D, t2}}));
  }
  ~TwoLevels() {
    // C goes first: its instance nodes hold entries in D's repList.
    while (!C.Empty()) C.NodeDelete(C.FirstNode());
  }
};

}  // namespace

TEST(HGraph, AddEdgeChoosesTheRecordByItsEnds) {
  TwoLevels h;
  EXPECT_EQ(Graph::EdgeType(h.c3), tolk_EDGE_LEAVES);
  EXPECT_EQ(Graph::EdgeType(h.c1), tolk_EDGE_HEAD_INSTANCE);
  EXPECT_EQ(Graph::EdgeType(h.c4), tolk_EDGE_TAIL_INSTANCE);
  EXPECT_EQ(Graph::EdgeType(h.c2), tolk_EDGE_INSTANCES);

  // One-step tail, two-step head.
  EXPECT_EQ(Graph::VHead(h.c1), P({{&h.D, h.t1}}));
  EXPECT_EQ(Graph::VTail(h.c1).GetLength(), 0);
  EXPECT_EQ(h.C.IHead(h.c1), P({{&h.C, h.n}, {&h.D, h.t1}}));
  EXPECT_EQ(h.C.ITail(h.c1), P({{&h.C, h.x}}));
  // The same answers from the edge's other link.
  tolk_UEdge atN = tolk_UEdge::BInit(h.c1);
  EXPECT_EQ(h.C.IHead(atN), P({{&h.C, h.n}, {&h.D, h.t1}}));

  EXPECT_EQ(Graph::VTail(h.c2), P({{&h.D, h.t2}}));
  EXPECT_EQ(Graph::VHead(h.c2), P({{&h.D, h.t1}}));
  EXPECT_EQ(Graph::VTail(h.c4), P({{&h.D, h.t2}}));
  EXPECT_EQ(Graph::VHead(h.c4).GetLength(), 0);

  for (tolk_UEdge e : {h.c1, h.c2, h.c3, h.c4, h.c5}) h.C.Value(e).id += 1000;
  EXPECT_EQ(EdgeIds(h.C, h.n), (std::vector<int>{1201, 1202, 1205, 1205}));
  EXPECT_EQ(EdgeIds(h.C, h.y), (std::vector<int>{1203, 1204}));
}

TEST(HGraph, RepresentativesFollowInstanceNodes) {
  Graph D{{1}}, C{{2}}, B{{3}};
  tolk_UNode n = C.NodeAppend({1}, &D);
  tolk_UNode m = B.NodeInsert({2}, &D);
  tolk_UNode o = C.NodeInsert({3}, &D);
  ASSERT_EQ(D.NumOfReps(), 3u);
  std::vector<std::pair<Graph*, tolk_UNode>> reps;
  for (tolk_RepIter r = D.FirstRep(); !r.End(); r.Next()) {
    Graph::Step s = D.GetRepresentativeValue(r);
    reps.emplace_back(s.Scope(), s.node);
  }
  EXPECT_EQ(reps, (std::vector<std::pair<Graph*, tolk_UNode>>{{&C, n}, {&B, m}, {&C, o}}));
  EXPECT_EQ(C.GetRepGraph(n), &D);
  EXPECT_FALSE(Graph::IsLeaf(n));

  C.NodeDelete(n);
  EXPECT_EQ(D.NumOfReps(), 2u);
  EXPECT_EQ(D.RLValue(D.FirstRep()), tolk_instance_step_base(&B, m));
  B.NodeDelete(m);
  C.NodeDelete(o);
  EXPECT_EQ(D.NumOfReps(), 0u);
}

TEST(HGraph, VirtualConnectionsAreTheEdgesWhosePathLeadsToTheLeaf) {
  TwoLevels h;
  // Incidence order at n: c1 (vpath t1), c2 (t2), c5 (A link: t1), c5 (B link: t2).
  EXPECT_EQ(VConnectIds(P({{&h.C, h.n}, {&h.D, h.t1}})), (std::vector<int>{201, 205}));
  EXPECT_EQ(VConnectIds(P({{&h.C, h.n}, {&h.D, h.t2}})), (std::vector<int>{202, 205}));
  EXPECT_EQ(VConnectIds(P({{&h.C, h.m}, {&h.D, h.t1}})), (std::vector<int>{202}));
  EXPECT_EQ(VConnectIds(P({{&h.C, h.n}, {&h.D, h.k}})), std::vector<int>{});
  EXPECT_EQ(VConnectIds(P({{&h.C, h.x}})), std::vector<int>{});
}

namespace {

// Every edge of a leaf in the flattened graph: (edge id, other end's ids).
std::multiset<std::pair<int, std::vector<int>>> Flattened(const Path& leaf) {
  std::multiset<std::pair<int, std::vector<int>>> out;
  tolk_VFEdge<GData, NData, EData, LData> w;
  for (w.First(leaf); !w.End(); w.Next()) {
    Path other(w.OtherAdjacentLeafInstance(leaf));
    out.emplace(w.GetScope()->Value(w.GetEdge()).id, Ids(other));
  }
  return out;
}

}  // namespace

TEST(HGraph, FlattenedWalkGivesOwnEdgesThenVirtualConnections) {
  TwoLevels h;
  Path leaf = P({{&h.C, h.n}, {&h.D, h.t1}});
  tolk_VFEdge<GData, NData, EData, LData> w;
  w.First(leaf);
  ASSERT_FALSE(w.End());
  EXPECT_FALSE(w.IsVConnect());
  EXPECT_EQ(w.GetScope(), &h.D);
  EXPECT_EQ(Ids(w.OtherAdjacentLeafInstance(leaf)), (std::vector<int>{23, 13}));

  w.Next();
  EXPECT_TRUE(w.IsVConnect());
  EXPECT_EQ(w.GetScope(), &h.C);
  EXPECT_EQ(Ids(w.OtherAdjacentLeafInstance(leaf)), (std::vector<int>{21}));
  // A copy walks on by itself, on its own copy of the path.
  auto copy = std::make_unique<tolk_VFEdge<GData, NData, EData, LData>>(w);
  w.MakeEnd();
  EXPECT_TRUE(w.End());
  copy->Next();
  EXPECT_EQ(Ids(copy->OtherAdjacentLeafInstance(leaf)), (std::vector<int>{23, 12}));  // the loop c5
  copy->Next();
  EXPECT_TRUE(copy->End());

  // A leaf without own edges starts on its virtual connections.
  Graph E{{5}};
  tolk_UNode lone = E.LeafNodeAppend({51});
  tolk_UNode inst = h.C.NodeAppend({25}, &E);
  h.C.EdgeAppend({206}, P({{&h.C, inst}, {&E, lone}}), P({{&h.C, h.y}}));
  Path loneLeaf = P({{&h.C, inst}, {&E, lone}});
  w.First(loneLeaf);
  EXPECT_TRUE(w.IsVConnect());
  EXPECT_EQ(Flattened(loneLeaf), (std::multiset<std::pair<int, std::vector<int>>>{{206, {22}}}));
  h.C.NodeDelete(inst);
}

TEST(HGraph, NodeDeleteRemovesConnectionsReachingTheNodeFromAbove) {
  TwoLevels h;
  h.D.NodeDelete(h.t1);
  // c1 (x to n.t1), c2 (n.t2 to m.t1) and the loop c5 reached t1; c3 and c4 did not.
  EXPECT_EQ(EdgeIds(h.C, h.x), std::vector<int>{203});
  EXPECT_EQ(EdgeIds(h.C, h.n), std::vector<int>{});
  EXPECT_EQ(EdgeIds(h.C, h.m), std::vector<int>{204});
  EXPECT_EQ(h.C.NumberOfEdges(), 2u);
  EXPECT_EQ(h.D.NumberOfEdges(), 1u);
}

TEST(HGraph, AppendGraphCopiesNodesEdgesAndPaths) {
  TwoLevels h;
  Graph A{{9}};
  tolk_UNODEASSOC<tolk_UNode> map(h.C);
  A.AppendGraph(&h.C, map);
  ASSERT_EQ(A.NumberOfNodes(), 4u);
  EXPECT_EQ(A.NumberOfEdges(), 5u);
  EXPECT_EQ(h.D.NumOfReps(), 4u);
  EXPECT_EQ(A.LeafValue(map[h.x]).id, 21);
  EXPECT_EQ(A.Value(map[h.m]).id, 24);
  EXPECT_EQ(A.GetRepGraph(map[h.n]), &h.D);
  EXPECT_EQ(Flattened(P({{&A, map[h.n]}, {&h.D, h.t1}})), Flattened(P({{&h.C, h.n}, {&h.D, h.t1}})));
  EXPECT_EQ(Flattened(P({{&A, map[h.y]}})), Flattened(P({{&h.C, h.y}})));
  while (!A.Empty()) A.NodeDelete(A.FirstNode());
}

namespace {

// All leaf paths below top, breadth first, each with its flattened edges; steps through
// `skip` are left out of every name so that a graph before and after exploding that
// node can be compared.
std::map<std::vector<int>, std::multiset<std::pair<int, std::vector<int>>>> FlatView(Graph* top,
                                                                                      tolk_UNode skip = {}) {
  auto name = [&](const Path& p) {
    std::vector<int> v;
    for (int i = 0; i < p.GetLength(); ++i) {
      if (skip.End() || !(p.Node(i) == skip)) v.push_back(IdOf(p, i));
    }
    return v;
  };
  std::map<std::vector<int>, std::multiset<std::pair<int, std::vector<int>>>> view;
  std::deque<Path> pending{Path()};
  while (!pending.empty()) {
    Path prefix = pending.front();
    pending.pop_front();
    Graph* g = prefix.GetLength() == 0 ? top : prefix.Scope(prefix.GetLength() - 1)->GetRepGraph(prefix.Node(prefix.GetLength() - 1));
    for (tolk_UNode n = g->FirstNode(); !n.End(); n.Next()) {
      Path p(prefix);
      p.Append(g, n);
      if (!Graph::IsLeaf(n)) {
        pending.push_back(p);
        continue;
      }
      auto& edges = view[name(p)];
      tolk_VFEdge<GData, NData, EData, LData> w;
      for (w.First(p); !w.End(); w.Next()) edges.emplace(w.GetScope()->Value(w.GetEdge()).id, name(w.OtherAdjacentLeafInstance(p)));
    }
  }
  return view;
}

}  // namespace

//   T: leaf z, instance c of C;  z -t1- (c, x),  z -t2- (c, y)
TEST(HGraph, ExplodeNodeKeepsTheFlattenedConnectivity) {
  TwoLevels h;
  Graph T{{3}};
  tolk_UNode z = T.LeafNodeAppend({31});
  tolk_UNode c = T.NodeAppend({32}, &h.C);
  T.EdgeAppend({301}, P({{&T, z}}), P({{&T, c}, {&h.C, h.x}}));
  T.EdgeAppend({302}, P({{&T, c}, {&h.C, h.y}}), P({{&T, z}}));

  auto beforeC = FlatView(&h.C, h.n);
  auto beforeT = FlatView(&T, h.n);
  ASSERT_EQ(beforeC.size(), 8u);  // x, y, and t1 t2 k below each of n and m
  tolk_UNODEASSOC<tolk_UNode> map(h.D);
  h.C.ExplodeNode(h.n, map);

  EXPECT_EQ(h.D.NumOfReps(), 1u);
  EXPECT_EQ(h.C.NumberOfNodes(), 6u);
  EXPECT_EQ(FlatView(&h.C), beforeC);
  EXPECT_EQ(FlatView(&T), beforeT);
  while (!T.Empty()) T.NodeDelete(T.FirstNode());
}

TEST(HGraph, ExplodeNodeRedirectsDeeperPathsOfEnclosingGraphs) {
  TwoLevels h;
  Graph T{{3}};
  tolk_UNode z = T.LeafNodeAppend({31});
  tolk_UNode c = T.NodeAppend({32}, &h.C);
  tolk_UEdge deep = T.EdgeAppend({301}, P({{&T, z}}), P({{&T, c}, {&h.C, h.n}, {&h.D, h.k}}));
  tolk_UNODEASSOC<tolk_UNode> map(h.D);
  h.C.ExplodeNode(h.n, map);
  ASSERT_EQ(T.NumberOfEdges(), 1u);
  EXPECT_EQ(T.IHead(deep), P({{&T, c}, {&h.C, map[h.k]}}));
  EXPECT_EQ(VConnectIds(P({{&T, c}, {&h.C, map[h.k]}})), std::vector<int>{301});
  while (!T.Empty()) T.NodeDelete(T.FirstNode());
}
