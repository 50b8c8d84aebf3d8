// Tests of the hierarchy: primes and scopes, their order, and the release of every graph.
#include "tolk/hgraph_hierarchy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
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
typedef tolk_HIERARCHY<GData, NData, EData, LData> Hierarchy;

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

std::vector<int> ScopeIds(Hierarchy& h) {
  std::vector<int> ids;
  for (auto it = h.Scopes.First(); !it.End(); it.Next()) ids.push_back(h.Scopes.Value(it)->Info().id);
  std::sort(ids.begin(), ids.end());
  return ids;
}

Graph::Path P(std::initializer_list<std::pair<Graph*, tolk_UNode>> steps) {
  Graph::Path p;
  for (const auto& [g, n] : steps) p.Append(g, n);
  return p;
}

}  // namespace

TEST(Hierarchy, InstancesMoveGraphsBetweenPrimesAndScopes) {
  ById byId;
  Hierarchy h(&byId);
  Graph* a = new Graph({1});
  Graph* b = new Graph({2});
  EXPECT_EQ(h.AddScope(b), 0);
  EXPECT_EQ(h.AddScope(a), 0);
  EXPECT_EQ(h.AddScope(a), 1);
  EXPECT_EQ(PrimeIds(h), (std::vector<int>{1, 2}));

  tolk_UNode n = h.AddNode(a, {10}, b, false);
  ASSERT_FALSE(n.End());
  EXPECT_EQ(PrimeIds(h), std::vector<int>{1});
  EXPECT_EQ(ScopeIds(h), std::vector<int>{2});
  tolk_UNode n2 = h.AddNode(a, {11}, b, true);
  EXPECT_EQ(h.DeleteNode(a, n), 0);
  EXPECT_EQ(ScopeIds(h), std::vector<int>{2});  // still instantiated by n2
  EXPECT_EQ(h.DeleteNode(a, n2), 0);
  EXPECT_EQ(PrimeIds(h), (std::vector<int>{1, 2}));
  EXPECT_EQ(ScopeIds(h), std::vector<int>{});
}

TEST(Hierarchy, UnregisteredGraphsChangeNothing) {
  Hierarchy h;
  Graph* a = new Graph({1});
  h.AddScope(a);
  Graph stranger({9});
  EXPECT_TRUE(h.AddNode(&stranger, {1}, a, true).End());
  EXPECT_TRUE(h.AddNode(a, {1}, &stranger, true).End());
  EXPECT_TRUE(h.AddLeafNode(&stranger, {1}, true).End());
  EXPECT_EQ(h.DeleteScope(&stranger), 1);
  EXPECT_EQ(h.DeleteNode(&stranger, stranger.LeafNodeAppend({1})), 1);
  EXPECT_EQ(a->NumberOfNodes(), 0u);
  EXPECT_EQ(a->NumOfReps(), 0u);
  EXPECT_EQ(stranger.NumberOfNodes(), 1u);
  EXPECT_TRUE(h.IsPrime(a));
}

//   top: leaf z, instances i1, i2 of mid;  z -e1- (i1, t)
//   mid: leaf t, instance j of low
//   low: leaf u
TEST(Hierarchy, DeleteScopeRemovesItsInstancesAndTheirConnections) {
  Hierarchy h;
  Graph* top = new Graph({1});
  Graph* mid = new Graph({2});
  Graph* low = new Graph({3});
  for (Graph* g : {top, mid, low}) h.AddScope(g);
  tolk_UNode z = h.AddLeafNode(top, {1}, false);
  tolk_UNode i1 = h.AddNode(top, {2}, mid, false);
  h.AddNode(top, {3}, mid, false);
  tolk_UNode t = h.AddLeafNode(mid, {4}, false);
  h.AddNode(mid, {5}, low, false);
  h.AddLeafNode(low, {6}, false);
  top->EdgeAppend({1}, P({{top, z}}), P({{top, i1}, {mid, t}}));

  EXPECT_EQ(h.DeleteScope(mid), 0);
  EXPECT_EQ(top->NumberOfNodes(), 1u);
  EXPECT_EQ(top->NumberOfEdges(), 0u);
  EXPECT_EQ(low->NumOfReps(), 0u);
  EXPECT_TRUE(h.IsPrime(low));
  EXPECT_FALSE(h.IsKnown(mid));
  EXPECT_EQ(ScopeIds(h), std::vector<int>{});
  EXPECT_EQ(h.DeleteScope(top), 0);
  EXPECT_EQ(PrimeIds(h).size(), 1u);
}

// A graph can instantiate itself, or two graphs each other: neither is ever a prime,
// and the hierarchy must still release them (the leak checker watches).
TEST(Hierarchy, DestructionReleasesGraphsThatInstantiateEachOther) {
  auto* h = new Hierarchy;
  Graph* a = new Graph({1});
  Graph* b = new Graph({2});
  Graph* c = new Graph({3});
  Graph* d = new Graph({4});
  for (Graph* g : {a, b, c, d}) h->AddScope(g);
  h->AddNode(a, {1}, b, false);
  h->AddNode(b, {2}, a, false);
  h->AddNode(c, {3}, c, false);
  tolk_UNode leaf = h->AddLeafNode(b, {4}, false);
  tolk_UNode toA = h->AddNode(d, {5}, a, false);
  d->EdgeAppend({1}, P({{d, toA}}), P({{d, toA}, {a, a->FirstNode()}, {b, leaf}}));
  EXPECT_EQ(PrimeIds(*h), std::vector<int>{4});
  delete h;
}

TEST(Hierarchy, ExplodingTheLastInstanceMakesItsGraphAPrimeAgain) {
  Hierarchy h;
  Graph* outer = new Graph({1});
  Graph* inner = new Graph({2});
  Graph* leafy = new Graph({3});
  for (Graph* g : {outer, inner, leafy}) h.AddScope(g);
  tolk_UNode i = h.AddNode(outer, {1}, inner, false);
  h.AddNode(inner, {2}, leafy, false);
  tolk_UNODEASSOC<tolk_UNode> map(*inner);
  EXPECT_EQ(h.ExplodeNode(outer, i, map, leafy), 1);  // i does not instantiate leafy
  EXPECT_EQ(h.ExplodeNode(outer, i, map, inner), 0);
  EXPECT_TRUE(h.IsPrime(inner));
  EXPECT_FALSE(h.IsPrime(leafy));
  EXPECT_EQ(leafy->NumOfReps(), 2u);
}

// Random instance additions and deletions (and whole graphs deleted and replaced)
// checked against a model of who instantiates whom.
TEST(Hierarchy, RepresentativesAndPrimesStayExactUnderRandomChanges) {
  std::mt19937 rng(7);
  ById byId;
  Hierarchy h(&byId);
  std::vector<Graph*> graphs;
  int nextId = 1;
  for (int i = 0; i < 6; ++i) {
    graphs.push_back(new Graph({nextId++}));
    h.AddScope(graphs.back());
  }
  struct Instance {
    Graph* scope;
    tolk_UNode node;
    Graph* ref;
  };
  std::vector<Instance> model;

  for (int step = 0; step < 2000; ++step) {
    const unsigned r = rng() % 20;
    if (r < 11 || model.empty()) {
      Graph* scope = graphs[rng() % graphs.size()];
      Graph* ref = graphs[rng() % graphs.size()];
      model.push_back({scope, h.AddNode(scope, {step}, ref, rng() & 1), ref});
    } else if (r < 19) {
      const size_t k = rng() % model.size();
      ASSERT_EQ(h.DeleteNode(model[k].scope, model[k].node), 0);
      model.erase(model.begin() + k);
    } else {
      const size_t k = rng() % graphs.size();
      Graph* gone = graphs[k];
      ASSERT_EQ(h.DeleteScope(gone), 0);
      std::erase_if(model, [&](const Instance& i) { return i.scope == gone || i.ref == gone; });
      graphs[k] = new Graph({nextId++});
      h.AddScope(graphs[k]);
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
      ASSERT_EQ(h.IsPrime(g), expected.empty());
    }
    std::sort(primes.begin(), primes.end());
    ASSERT_EQ(PrimeIds(h), primes) << "step " << step;
  }
}
