// Tests of the undirected graph: incidence order, edge moves and the node and edge arrays.
#include "tolk/ugraph.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <unordered_map>
#include <vector>

namespace {

std::vector<tolk_UNode> Nodes(const tolk_ugraph_base& g) {
  std::vector<tolk_UNode> v;
  for (tolk_UNode n = g.FirstNode(); !n.End(); n.Next()) v.push_back(n);
  return v;
}

// The other ends of n's edges, in incidence order.
std::vector<tolk_UNode> Neighbours(const tolk_UNode& n) {
  std::vector<tolk_UNode> v;
  for (tolk_UEdge e = tolk_UEdge::First(n); !e.End(); e.Next()) v.push_back(tolk_ugraph_base::OtherEnd(n, e));
  return v;
}

tolk_unsigned Name(const tolk_UNode& n) { return tolk_UAssocArray_base::GetName(n); }

}  // namespace

//   a --e1-- b,  then a loop at a inserted in front
TEST(UGraph, EdgesAreSeenFromEitherEndAndLoopsTwice) {
  tolk_ugraph_base g;
  tolk_UNode a = g.NodeAppend(), b = g.NodeAppend(), c = g.NodeAppend();
  tolk_UEdge e1 = g.EdgeAppend(a, b);
  tolk_UEdge fromB = tolk_UEdge::First(b);
  EXPECT_TRUE(fromB.IsBlink());
  EXPECT_EQ(tolk_UEdge::AInit(fromB), e1);
  EXPECT_EQ(tolk_ugraph_base::Tail(fromB), a);
  EXPECT_EQ(tolk_ugraph_base::OtherEnd(a, e1), b);
  EXPECT_EQ(tolk_ugraph_base::OtherEnd(b, fromB), a);

  tolk_UEdge loop = g.EdgeInsert(a, a);
  EXPECT_EQ(Neighbours(a), (std::vector<tolk_UNode>{a, a, b}));
  EXPECT_EQ(tolk_ugraph_base::Degree(a), 3u);
  g.EdgeDelete(loop);
  EXPECT_EQ(Neighbours(a), std::vector<tolk_UNode>{b});

  g.EdgeAppend(c, a);
  g.EdgeAppend(a, a);
  g.NodeDelete(a);
  EXPECT_EQ(Nodes(g), (std::vector<tolk_UNode>{b, c}));
  EXPECT_EQ(tolk_ugraph_base::Degree(b) + tolk_ugraph_base::Degree(c), 0u);
  EXPECT_EQ(g.NumberOfEdges(), 0u);
}

//   a --e1-- b,  a --e2-- c,  a --e3-- d   (a's list: e1 e2 e3)
TEST(UGraph, EdgeMovesReorderOnlyTheNamedList) {
  tolk_ugraph_base g;
  tolk_UNode a = g.NodeAppend(), b = g.NodeAppend(), c = g.NodeAppend(), d = g.NodeAppend();
  g.EdgeAppend(a, b);
  tolk_UEdge e2 = g.EdgeAppend(a, c), e3 = g.EdgeAppend(a, d);
  g.EdgeMoveToFront(a, e3);
  EXPECT_EQ(Neighbours(a), (std::vector<tolk_UNode>{d, b, c}));
  // The position given may be the edge's link in the other node's list.
  g.EdgeMoveBehind(a, tolk_UEdge::First(c), e3);
  EXPECT_EQ(Neighbours(a), (std::vector<tolk_UNode>{b, c, d}));
  g.EdgeMove(e2, d, b);  // now d -> b, at the front of both lists
  EXPECT_EQ(Neighbours(a), (std::vector<tolk_UNode>{b, d}));
  EXPECT_EQ(Neighbours(b), (std::vector<tolk_UNode>{d, a}));
  EXPECT_EQ(Neighbours(d), (std::vector<tolk_UNode>{b, a}));
  EXPECT_EQ(tolk_ugraph_base::Degree(c), 0u);
}

namespace {

// Orders edges by the index of their other end seen from `from`.
class ByOtherEnd final : public tolk_Comparator<tolk_UEdge> {
 public:
  explicit ByOtherEnd(tolk_UNode from, const std::vector<tolk_UNode>& order) : from(from), order(order) {}
  tolk_signed Compare(const tolk_UEdge& a, const tolk_UEdge& b) const override {
    return Rank(a) - Rank(b);
  }

 private:
  tolk_signed Rank(const tolk_UEdge& e) const {
    return std::find(order.begin(), order.end(), tolk_ugraph_base::OtherEnd(from, e)) - order.begin();
  }
  tolk_UNode from;
  const std::vector<tolk_UNode>& order;
};

}  // namespace

// An incidence list is a single pointer ending on the shared end link: its first,
// last and middle links must come and go without any list writing to that link.
TEST(UGraph, IncidenceListsAppendRemoveAndSortAtEitherEnd) {
  tolk_ugraph_base g;
  tolk_UNode hub = g.NodeAppend(), a = g.NodeAppend(), b = g.NodeAppend(), c = g.NodeAppend();
  tolk_UEdge toA = g.EdgeAppend(hub, a), toB = g.EdgeAppend(hub, b);
  g.EdgeAppend(hub, c);
  g.EdgeAppend(hub, a);
  EXPECT_EQ(Neighbours(hub), (std::vector<tolk_UNode>{a, b, c, a}));
  EXPECT_TRUE(tolk_UEdge(tolk_UEdge::First(hub)).Previous().End());
  EXPECT_EQ(tolk_UEdge(tolk_UEdge::First(hub)).Previous(), tolk_UEdge());  // every end is alike

  // Sorted by other end c, b, a: the two edges to a are equal and change places.
  std::vector<tolk_UNode> order{c, b, a};
  ByOtherEnd byOrder(hub, order);
  tolk_UEdge from = tolk_UEdge::First(hub), to = from;
  while (!tolk_UEdge(to).Next().End()) to.Next();
  g.EdgeSort(hub, from, to, &byOrder);
  EXPECT_EQ(Neighbours(hub), (std::vector<tolk_UNode>{c, b, a, a}));
  EXPECT_EQ(tolk_UEdge(to).Edge(), toA.Edge());  // the earlier edge to a now comes last
  EXPECT_TRUE(tolk_UEdge(to).Next().End());

  g.EdgeDelete(tolk_UEdge::First(hub));  // the first link
  g.EdgeDelete(toA);                      // the last link
  EXPECT_EQ(Neighbours(hub), (std::vector<tolk_UNode>{b, a}));
  g.EdgeDelete(toB);
  EXPECT_EQ(tolk_ugraph_base::Degree(hub), 1u);
  EXPECT_EQ(Neighbours(a), std::vector<tolk_UNode>{hub});
}

TEST(UNodeAssoc, TenNodesGetFourteenSlotsAndGrowAtTheFifteenth) {
  tolk_ugraph_base g;
  for (int i = 0; i < 10; ++i) g.NodeAppend();
  tolk_UNODEASSOC<int> a(g);
  EXPECT_EQ(a.size, 14u);
  for (const tolk_UNode& n : Nodes(g)) a[n] = 100 + static_cast<int>(Name(n));
  std::vector<tolk_unsigned> handedOut;
  for (int i = 0; i < 4; ++i) {
    tolk_UNode n = g.NodeAppend();
    handedOut.push_back(Name(n));
    a[n] = 110 + i;
  }
  EXPECT_EQ(handedOut, (std::vector<tolk_unsigned>{13, 12, 11, 10}));
  EXPECT_EQ(a.size, 14u);

  EXPECT_EQ(Name(g.NodeAppend()), 19u);
  EXPECT_EQ(g.GetMaxNodeName(), 19u);
  EXPECT_EQ(a.size, 20u);
  std::vector<tolk_UNode> nodes = Nodes(g);
  for (int i = 0; i < 14; ++i) EXPECT_EQ(a[nodes[i]], 100 + i);
}

TEST(UNodeAssoc, CompactionRenumbersInListOrderAndKeepsValues) {
  tolk_ugraph_base g;
  for (int i = 0; i < 20; ++i) g.NodeAppend();
  tolk_UNODEASSOC<int> a(g), b(g);  // maxNodeIndex 26, 7 free
  std::vector<tolk_UNode> nodes = Nodes(g);
  for (int i = 0; i < 20; ++i) a[nodes[i]] = b[nodes[i]] = i;
  // More than 27 / 2 indices are free at the 7th deletion.
  for (int i = 0; i < 7; ++i) g.NodeDelete(nodes[2 * i]);
  EXPECT_EQ(g.GetMaxNodeName(), 17u);
  EXPECT_EQ(b.size, 18u);
  std::vector<int> values;
  for (const tolk_UNode& n : Nodes(g)) {
    EXPECT_EQ(Name(n), values.size());
    EXPECT_EQ(b[n], a[n]);
    values.push_back(a[n]);
  }
  EXPECT_EQ(values, (std::vector<int>{1, 3, 5, 7, 9, 11, 13, 14, 15, 16, 17, 18, 19}));
}

namespace {

// Every index is live or free, and live ones are distinct and inside the arrays.
void ExpectIndexSpaceConsistent(tolk_ugraph_base& g, tolk_unsigned nodeSlots, tolk_unsigned edgeSlots) {
  tolk_UAssocArray_Manager* m = g.pAssocManager;
  std::set<tolk_unsigned> nodeNames, edgeNames;
  for (const tolk_UNode& n : Nodes(g)) {
    nodeNames.insert(Name(n));
    for (tolk_UEdge e = tolk_UEdge::First(n); !e.End(); e.Next()) {
      if (!e.IsBlink()) edgeNames.insert(tolk_UAssocArray_base::GetName(e));
    }
  }
  EXPECT_EQ(nodeNames.size(), g.NumberOfNodes());
  EXPECT_EQ(edgeNames.size(), g.NumberOfEdges());
  EXPECT_TRUE(nodeNames.empty() || *nodeNames.rbegin() < nodeSlots);
  EXPECT_TRUE(edgeNames.empty() || *edgeNames.rbegin() < edgeSlots);
  EXPECT_EQ(m->freeNodeIndices.Size() + nodeNames.size(), nodeSlots);
  EXPECT_EQ(m->freeEdgeIndices.Size() + edgeNames.size(), edgeSlots);
}

}  // namespace

TEST(UAssocArrays, ValuesSurviveLongRandomRuns) {
  std::mt19937 rng(20240611);
  tolk_ugraph_base g;
  tolk_UNODEASSOC<long> nodeValue(g);
  tolk_UEDGEASSOC<long> edgeValue(g);
  std::vector<tolk_UNode> live;
  std::unordered_map<tolk_unode_link*, long> nodeModel;
  std::unordered_map<tolk_uedge_base*, long> edgeModel;
  long stamp = 0;
  tolk_unsigned peakNodeSlots = 0, peakEdgeSlots = 0;

  for (int round = 0; round < 6; ++round) {
    const bool growing = round % 2 == 0;
    for (int step = 0; step < 3000; ++step) {
      const unsigned r = rng() % 10;
      if (live.empty() || r < (growing ? 4 : 1)) {
        tolk_UNode n = (rng() & 1) ? g.NodeAppend() : g.NodeInsert();
        nodeValue[n] = nodeModel[n.Link()] = ++stamp;
        live.push_back(n);
      } else if (r < (growing ? 8 : 3)) {
        tolk_UEdge e = g.EdgeAppend(live[rng() % live.size()], live[rng() % live.size()]);
        edgeValue[e] = edgeModel[e.Edge()] = ++stamp;
      } else if (tolk_UNode& n = live[rng() % live.size()]; r < 9) {
        for (tolk_UEdge e = tolk_UEdge::First(n); !e.End(); e.Next()) edgeModel.erase(e.Edge());
        nodeModel.erase(n.Link());
        g.NodeDelete(n);
        n = live.back();
        live.pop_back();
      } else if (tolk_ugraph_base::Degree(n) > 0) {
        edgeModel.erase(tolk_UEdge::First(n).Edge());
        g.EdgeDelete(tolk_UEdge::First(n));
      }
      peakNodeSlots = std::max(peakNodeSlots, nodeValue.size);
      peakEdgeSlots = std::max(peakEdgeSlots, edgeValue.size);
    }
    for (const auto& [link, v] : nodeModel) ASSERT_EQ(nodeValue[tolk_UNode(link)], v);
    for (const auto& [edge, v] : edgeModel) ASSERT_EQ(edgeValue[tolk_UEdge(edge->Alink())], v);
    ASSERT_EQ(g.NumberOfEdges(), edgeModel.size());
    ExpectIndexSpaceConsistent(g, nodeValue.size, edgeValue.size);
    if (!growing) {  // the shrinking rounds must have compacted both index spaces
      EXPECT_LT(nodeValue.size, peakNodeSlots);
      EXPECT_LT(edgeValue.size, peakEdgeSlots);
    }
  }
}

TEST(UAssocArrays, GraphDestroyedWithArraysAttachedComplainsAndLetsThemGo) {
  auto* g = new tolk_ugraph_base;
  g->EdgeAppend(g->NodeAppend(), g->NodeAppend());
  auto* a = new tolk_UNODEASSOC<int>(*g);
  auto* w = new tolk_UEDGEASSOC<int>(*g);
  testing::internal::CaptureStderr();
  delete g;
  EXPECT_EQ(testing::internal::GetCapturedStderr(), " Fatal Error, Graph destructed with active associative arrays!\n");
  delete a;
  delete w;
}
