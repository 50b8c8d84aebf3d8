// Tests of instance paths, hierarchical graphs, flattened walks and the hierarchy of graphs.
#include "tolk/hgraph.h"
#include "tolk/hgraph_hierarchy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <utility>
#include <vector>

namespace {

struct Rec {
  int id = 0;
};
typedef tolk_HGRAPH<Rec, Rec, Rec, Rec> Graph;
typedef tolk_VFEdge<Rec, Rec, Rec, Rec> VFEdge;
typedef tolk_HIERARCHY<Rec, Rec, Rec, Rec> Hierarchy;
typedef Graph::Path Path;

Path P(std::initializer_list<std::pair<Graph*, tolk_UNode>> steps) {
  Path p;
  for (const auto& [g, n] : steps) p.Append(g, n);
  return p;
}

int IdOf(const Path& p, int i) {
  return Graph::IsLeaf(p.Node(i)) ? p.Scope(i)->LeafValue(p.Node(i)).id : p.Scope(i)->Value(p.Node(i)).id;
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

// Capacity grows and shrinks in blocks of 4; a path of one step keeps it inside itself, so every edit,
// copy and move across that line must keep the steps and the capacity rules.
TEST(InstancePath, StepsAndCapacitySurviveEditsCopiesAndMoves) {
  Graph g;
  tolk_UNode a = g.LeafNodeAppend({1}), b = g.LeafNodeAppend({2}), c = g.LeafNodeAppend({3});
  Path p = P({{&g, a}, {&g, b}, {&g, c}, {&g, a}});
  EXPECT_EQ(p.GetSpace(), 4);
  p.Append(&g, b);
  EXPECT_EQ(p.GetSpace(), 8);
  EXPECT_EQ(Path(p).GetSpace(), 8);
  p.CutToEnd(3);
  EXPECT_EQ(p.GetSpace(), 4);
  Path q(p);
  q.CutToFront(0);
  EXPECT_EQ(Ids(q), (std::vector<int>{2, 3}));
  q.CutToFront(1);
  EXPECT_EQ(q.GetSpace(), 0);  // no step left: no array
  q = p;
  q.DeleteStep(1);
  q.Overlay(1, P({{&g, c}, {&g, c}}));
  q.Append(q);
  EXPECT_EQ(Ids(q), (std::vector<int>{1, 3, 3, 1, 3, 3}));
  p.Reset();  // a small array stays for reuse, but a copy of an empty path holds none
  EXPECT_EQ(p.GetSpace(), 4);
  EXPECT_EQ(Path(p).GetSpace(), 0);

  Path one = P({{&g, a}});
  Path two(one);
  two.Append(two);  // from its own single step onto the heap
  two[1] = Path::Step(&g, b);
  q = one;  // a long path takes a one-step value and the one-step capacity
  EXPECT_EQ(Ids(q), std::vector<int>{1});
  EXPECT_EQ(q.GetSpace(), 4);
  Path moved(std::move(two));
  EXPECT_EQ(Ids(moved), (std::vector<int>{1, 2}));
  EXPECT_EQ(two.GetLength() + two.GetSpace(), 0);  // NOLINT(bugprone-use-after-move)
  moved.CutToEnd(1);  // back inside the path, with the step it kept
  EXPECT_EQ(moved.GetSpace(), 4);
  EXPECT_EQ(moved, one);
  moved.Append(&g, c);
  EXPECT_EQ(Ids(moved), (std::vector<int>{1, 3}));
}

//   D: leaves t1, t2, k;  t1 -d1- k,  t2 -d2- k
//   C: leaves x, y; instances n, m of D
//      x -c1- (n,t1)   (n,t2) -c2- (m,t1)   x -c3- y   (m,t2) -c4- y   (n,t1) -c5- (n,t2)
namespace {

struct TwoLevels {
  Graph D{{1}}, C{{2}};
  tolk_UNode t1 = D.LeafNodeAppend({11}), t2 = D.LeafNodeAppend({12}), k = D.LeafNodeAppend({13});
  tolk_UNode x = C.LeafNodeAppend({21}), y = C.LeafNodeAppend({22});
  tolk_UNode n = C.NodeAppend({23}, &D), m = C.NodeAppend({24}, &D);
  tolk_UEdge c1, c2, c3, c4, c5;

  TwoLevels() {
    D.EdgeAppend({101}, P({{&D, t1}}), P({{&D, k}}));
    D.EdgeAppend({102}, P({{&D, t2}}), P({{&D, k}}));
    c1 = C.EdgeAppend({201}, P({{&C, x}}), P({{&C, n}, {&D, t1}}));
    c2 = C.EdgeAppend({202}, P({{&C, n}, {&D, t2}}), P({{&C, m}, {&D, t1}}));
    c3 = C.EdgeAppend({203}, P({{&C, x}}), P({{&C, y}}));
    c4 = C.EdgeAppend({204}, P({{&C, m}, {&D, t2}}), P({{&C, y}}));
    c5 = C.EdgeAppend({205}, P({{&C, n}, {&D, t1}}), P({{&C, n}, {&D, t2}}));
  }
  ~TwoLevels() {
    while (!C.Empty()) C.NodeDelete(C.FirstNode());  // before D, whose repList they are in
  }
};

}  // namespace

TEST(HGraph, AddEdgeChoosesTheRecordByItsEnds) {
  TwoLevels h;
  EXPECT_EQ(Graph::EdgeType(h.c3), tolk_EDGE_LEAVES);
  EXPECT_EQ(Graph::EdgeType(h.c1), tolk_EDGE_HEAD_INSTANCE);
  EXPECT_EQ(Graph::EdgeType(h.c4), tolk_EDGE_TAIL_INSTANCE);
  EXPECT_EQ(Graph::EdgeType(h.c2), tolk_EDGE_INSTANCES);
  EXPECT_EQ(Graph::VHead(h.c1), P({{&h.D, h.t1}}));
  EXPECT_EQ(Graph::VTail(h.c1).GetLength(), 0);
  EXPECT_EQ(h.C.IHead(tolk_UEdge::BInit(h.c1)), P({{&h.C, h.n}, {&h.D, h.t1}}));
  EXPECT_EQ(h.C.ITail(h.c1), P({{&h.C, h.x}}));
  EXPECT_EQ(Graph::VTail(h.c2), P({{&h.D, h.t2}}));
  EXPECT_EQ(Graph::VHead(h.c2), P({{&h.D, h.t1}}));
  for (tolk_UEdge e : {h.c1, h.c2, h.c3, h.c4, h.c5}) h.C.Value(e).id += 1000;
  EXPECT_EQ(EdgeIds(h.C, h.n), (std::vector<int>{1201, 1202, 1205, 1205}));
  EXPECT_EQ(EdgeIds(h.C, h.y), (std::vector<int>{1203, 1204}));
}

TEST(HGraph, VirtualConnectionsAreTheEdgesWhosePathLeadsToTheLeaf) {
  TwoLevels h;
  // n's list: c1 (path t1), c2 (t2), c5 A link (t1), c5 B link (t2).
  EXPECT_EQ(VConnectIds(P({{&h.C, h.n}, {&h.D, h.t1}})), (std::vector<int>{201, 205}));
  EXPECT_EQ(VConnectIds(P({{&h.C, h.n}, {&h.D, h.t2}})), (std::vector<int>{202, 205}));
  EXPECT_EQ(VConnectIds(P({{&h.C, h.m}, {&h.D, h.t1}})), (std::vector<int>{202}));
  EXPECT_EQ(VConnectIds(P({{&h.C, h.n}, {&h.D, h.k}})), std::vector<int>{});
  EXPECT_EQ(VConnectIds(P({{&h.C, h.x}})), std::vector<int>{});
}

TEST(HGraph, FlattenedWalkGivesOwnEdgesThenVirtualConnections) {
  TwoLevels h;
  Path leaf = P({{&h.C, h.n}, {&h.D, h.t1}});
  VFEdge w;
  w.First(leaf);
  EXPECT_FALSE(w.IsVConnect());
  EXPECT_EQ(w.GetScope(), &h.D);
  EXPECT_EQ(Ids(w.OtherAdjacentLeafInstance(leaf)), (std::vector<int>{23, 13}));
  w.Next();
  EXPECT_TRUE(w.IsVConnect());
  EXPECT_EQ(w.GetScope(), &h.C);
  EXPECT_EQ(Ids(w.OtherAdjacentLeafInstance(leaf)), (std::vector<int>{21}));

  auto copy = std::make_unique<VFEdge>(w);  // walks on by itself, on its own copy of the path
  w.MakeEnd();
  copy->Next();
  EXPECT_EQ(Ids(copy->OtherAdjacentLeafInstance(leaf)), (std::vector<int>{23, 12}));  // the loop c5
  copy->Next();
  EXPECT_TRUE(copy->End());

  h.D.NodeDelete(h.k);  // a leaf without edges of its own starts on its virtual connections
  w.First(P({{&h.C, h.m}, {&h.D, h.t2}}));
  EXPECT_TRUE(w.IsVConnect());
  EXPECT_EQ(h.C.Value(w.GetEdge()).id, 204);
}

namespace {

typedef std::map<std::vector<int>, std::multiset<std::pair<int, std::vector<int>>>> FlatEdges;

// Every leaf path below top (breadth first) with its flattened edges, named by ids;
// steps through `skip` are left out of names, so that a graph can be compared before
// and after exploding that node.
FlatEdges FlatView(Graph* top, tolk_UNode skip = {}) {
  auto name = [&](const Path& p) {
    std::vector<int> v;
    for (int i = 0; i < p.GetLength(); ++i) {
      if (p.Node(i) != skip) v.push_back(IdOf(p, i));
    }
    return v;
  };
  FlatEdges view;
  std::deque<Path> pending{Path()};
  for (; !pending.empty(); pending.pop_front()) {
    const Path& prefix = pending.front();
    const int last = prefix.GetLength() - 1;
    Graph* g = last < 0 ? top : prefix.Scope(last)->GetRepGraph(prefix.Node(last));
    for (tolk_UNode n = g->FirstNode(); !n.End(); n.Next()) {
      Path p(prefix);
      p.Append(g, n);
      if (!Graph::IsLeaf(n)) {
        pending.push_back(p);
        continue;
      }
      VFEdge w;
      for (w.First(p); !w.End(); w.Next()) {
        view[name(p)].emplace(w.GetScope()->Value(w.GetEdge()).id, name(w.OtherAdjacentLeafInstance(p)));
      }
    }
  }
  return view;
}

}  // namespace

//   T: leaf z, instance c of C;  z -t1- (c, x),  (c, y) -t2- z
TEST(HGraph, ExplodeNodeKeepsTheFlattenedConnectivity) {
  TwoLevels h;
  Graph T{{3}};
  tolk_UNode z = T.LeafNodeAppend({31}), c = T.NodeAppend({32}, &h.C);
  T.EdgeAppend({301}, P({{&T, z}}), P({{&T, c}, {&h.C, h.x}}));
  T.EdgeAppend({302}, P({{&T, c}, {&h.C, h.y}}), P({{&T, z}}));
  FlatEdges beforeC = FlatView(&h.C, h.n), beforeT = FlatView(&T, h.n);
  ASSERT_EQ(beforeC.size(), 8u);  // x, y, and t1 t2 k below each of n and m

  tolk_UNODEASSOC<tolk_UNode> map(h.D);
  h.C.ExplodeNode(h.n, map);
  EXPECT_EQ(h.D.NumOfReps(), 1u);
  EXPECT_EQ(h.C.NumberOfNodes(), 6u);
  EXPECT_EQ(FlatView(&h.C), beforeC);
  EXPECT_EQ(FlatView(&T), beforeT);
  T.NodeDelete(c);
}

//   T: leaf z, instance c of C;  z -t1- (c, n, k);   E: leaf u, instanced as j in D;  x -c6- (n, j, u)
TEST(HGraph, ExplodeNodeKeepsDeeperPathsBelowAndAbove) {
  TwoLevels h;
  Graph T{{3}}, E{{4}};
  tolk_UNode z = T.LeafNodeAppend({31}), c = T.NodeAppend({32}, &h.C);
  tolk_UEdge deep = T.EdgeAppend({301}, P({{&T, z}}), P({{&T, c}, {&h.C, h.n}, {&h.D, h.k}}));
  tolk_UNode u = E.LeafNodeAppend({41}), j = h.D.NodeAppend({42}, &E);
  tolk_UEdge c6 = h.C.EdgeAppend({206}, P({{&h.C, h.x}}), P({{&h.C, h.n}, {&h.D, j}, {&E, u}}));
  tolk_UNODEASSOC<tolk_UNode> map(h.D);
  h.C.ExplodeNode(h.n, map);
  EXPECT_EQ(T.IHead(deep), P({{&T, c}, {&h.C, map[h.k]}}));
  EXPECT_EQ(VConnectIds(P({{&T, c}, {&h.C, map[h.k]}})), std::vector<int>{301});
  c6 = tolk_UEdge::First(h.C.FirstNode());  // the rebuilt edge is x's newest
  EXPECT_EQ(Graph::VHead(c6), P({{&E, u}}));
  EXPECT_EQ(h.C.IHead(c6), P({{&h.C, map[j]}, {&E, u}}));
  T.NodeDelete(c);
  h.C.NodeDelete(map[j]);
  h.D.NodeDelete(j);
}

namespace {

// Orders graphs by their id, as the grid model orders its definitions.
class ById final : public tolk_Comparator<void*> {
 public:
  tolk_signed Compare(void* const& a, void* const& b) const override {
    int x = static_cast<Graph*>(a)->Info().id, y = static_cast<Graph*>(b)->Info().id;
    return x < y ? -1 : (x > y ? 1 : 0);
  }
};

std::vector<int> PrimeIds(Hierarchy& h) {
  std::vector<int> ids;
  for (auto it = h.Primes.First(); !it.End(); it.Next()) ids.push_back(h.Primes.Value(it)->Info().id);
  return ids;
}

}  // namespace

//   top: leaf z, instances i1, i2 of mid;  z -e1- (i1, t)
//   mid: leaf t, instance j of low
TEST(Hierarchy, DeleteScopeRemovesItsInstancesAndTheirConnections) {
  Hierarchy h;
  Graph *top = new Graph({1}), *mid = new Graph({2}), *low = new Graph({3});
  for (Graph* g : {top, mid, low}) EXPECT_EQ(h.AddScope(g), 0);
  EXPECT_EQ(h.AddScope(low), 1);
  tolk_UNode z = h.AddLeafNode(top, {1}, false), i1 = h.AddNode(top, {2}, mid, false);
  h.AddNode(top, {3}, mid, true);
  tolk_UNode t = h.AddLeafNode(mid, {4}, false);
  h.AddNode(mid, {5}, low, false);
  top->EdgeAppend({1}, P({{top, z}}), P({{top, i1}, {mid, t}}));
  auto stranger = std::make_unique<Graph>(Rec{9});  // never registered
  EXPECT_TRUE(h.AddNode(stranger.get(), {1}, low, true).End());
  EXPECT_TRUE(h.AddNode(top, {1}, stranger.get(), true).End());
  EXPECT_EQ(h.DeleteScope(stranger.get()), 1);

  EXPECT_EQ(h.DeleteScope(mid), 0);
  EXPECT_FALSE(h.IsKnown(mid));
  EXPECT_EQ(top->NumberOfNodes(), 1u);
  EXPECT_EQ(top->NumberOfEdges(), 0u);
  EXPECT_TRUE(h.IsPrime(low));
}

// Graphs that instantiate each other (or themselves) are never primes; the hierarchy
// must still release them, and the leak checker watches.
TEST(Hierarchy, DestructionReleasesGraphsThatInstantiateEachOther) {
  auto* h = new Hierarchy;
  Graph *a = new Graph({1}), *b = new Graph({2}), *c = new Graph({3}), *d = new Graph({4});
  for (Graph* g : {a, b, c, d}) h->AddScope(g);
  h->AddNode(a, {1}, b, false);
  h->AddNode(b, {2}, a, false);
  h->AddNode(c, {3}, c, false);
  tolk_UNode leaf = h->AddLeafNode(b, {4}, false), toA = h->AddNode(d, {5}, a, false);
  d->EdgeAppend({1}, P({{d, toA}}), P({{d, toA}, {a, a->FirstNode()}, {b, leaf}}));
  EXPECT_EQ(PrimeIds(*h), std::vector<int>{4});
  delete h;
}

// Instances added and deleted at random, and whole graphs deleted and replaced,
// checked against a model of who instantiates whom; primes come in id order.
TEST(Hierarchy, RepresentativesAndPrimesStayExactUnderRandomChanges) {
  std::mt19937 rng(7);
  ById byId;
  Hierarchy h(&byId);
  int nextId = 1;
  auto addGraph = [&] {
    Graph* g = new Graph({nextId++});
    h.AddScope(g);
    return g;
  };
  std::vector<Graph*> graphs;
  for (int i = 0; i < 6; ++i) graphs.push_back(addGraph());
  struct Instance {
    Graph *scope, *ref;
    tolk_UNode node;
  };
  std::vector<Instance> model;

  for (int step = 0; step < 2000; ++step) {
    const unsigned r = rng() % 20;
    if (r < 11 || model.empty()) {
      Graph *scope = graphs[rng() % graphs.size()], *ref = graphs[rng() % graphs.size()];
      model.push_back({scope, ref, h.AddNode(scope, {step}, ref, rng() & 1)});
    } else if (r < 19) {
      const size_t k = rng() % model.size();
      ASSERT_EQ(h.DeleteNode(model[k].scope, model[k].node), 0);
      model.erase(model.begin() + k);
    } else {
      Graph*& g = graphs[rng() % graphs.size()];
      ASSERT_EQ(h.DeleteScope(g), 0);
      std::erase_if(model, [&](const Instance& i) { return i.scope == g || i.ref == g; });
      g = addGraph();
    }
    std::vector<int> primes;
    for (Graph* g : graphs) {
      std::multiset<std::pair<Graph*, tolk_unode_link*>> expected, actual;
      for (const Instance& i : model) {
        if (i.ref == g) expected.emplace(i.scope, i.node.Link());
      }
      for (tolk_RepIter it = g->FirstRep(); !it.End(); it.Next()) {
        Graph::Step s = g->GetRepresentativeValue(it);
        actual.emplace(s.Scope(), s.node.Link());
      }
      ASSERT_EQ(actual, expected) << "step " << step;
      if (expected.empty()) primes.push_back(g->Info().id);
    }
    std::sort(primes.begin(), primes.end());
    ASSERT_EQ(PrimeIds(h), primes) << "step " << step;
  }
}
