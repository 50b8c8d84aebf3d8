// Tests of the undirected graph: incidence order, edge moves, sorts and the node and edge arrays.
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

std::vector<tolk_uedge_base*> Edges(const tolk_UNode& n) {
  std::vector<tolk_uedge_base*> v;
  for (tolk_UEdge e = tolk_UEdge::First(n); !e.End(); e.Next()) v.push_back(e.Edge());
  return v;
}

std::vector<tolk_unsigned> Names(const tolk_ugraph_base& g) {
  std::vector<tolk_unsigned> v;
  for (const tolk_UNode& n : Nodes(g)) v.push_back(tolk_UAssocArray_base::GetName(n));
  return v;
}

}  // namespace

//   a --e1-- b
TEST(UGraph, EdgeEndsSeenFromEitherNode) {
  tolk_ugraph_base g;
  tolk_UNode a = g.NodeAppend(), b = g.NodeAppend();
  tolk_UEdge e = g.EdgeAppend(a, b);

  tolk_UEdge fromA = tolk_UEdge::First(a);
  EXPECT_FALSE(fromA.IsBlink());
  EXPECT_EQ(tolk_ugraph_base::Tail(fromA), a);
  EXPECT_EQ(tolk_ugraph_base::OtherEnd(a, fromA), b);
  tolk_UEdge fromB = tolk_UEdge::First(b);
  EXPECT_TRUE(fromB.IsBlink());
  EXPECT_EQ(fromB.Edge(), e.Edge());
  EXPECT_EQ(tolk_ugraph_base::Head(fromB), b);
  EXPECT_EQ(tolk_ugraph_base::Tail(fromB), a);
  EXPECT_EQ(tolk_ugraph_base::OtherEnd(b, fromB), a);
  EXPECT_EQ(tolk_UEdge::AInit(fromB), fromA);
  EXPECT_EQ(tolk_UEdge::BInit(fromA), fromB);
  EXPECT_EQ(g.NumberOfEdges(), 1u);
}

TEST(UGraph, SelfLoopIsListedTwiceAndEndsAtItself) {
  tolk_ugraph_base g;
  tolk_UNode a = g.NodeAppend(), b = g.NodeAppend();
  g.EdgeAppend(a, b);
  tolk_UEdge loop = g.EdgeInsert(a, a);

  std::vector<tolk_uedge_base*> edges = Edges(a);
  ASSERT_EQ(edges.size(), 3u);
  EXPECT_EQ(edges[0], loop.Edge());
  EXPECT_EQ(edges[1], loop.Edge());
  EXPECT_EQ(tolk_ugraph_base::Degree(a), 3u);
  EXPECT_EQ(Neighbours(a), (std::vector<tolk_UNode>{a, a, b}));
  EXPECT_EQ(g.NumberOfEdges(), 2u);

  g.EdgeDelete(loop);
  EXPECT_EQ(Neighbours(a), std::vector<tolk_UNode>{b});
  EXPECT_EQ(g.NumberOfEdges(), 1u);
}

TEST(UGraph, InsertionPlacesNodesAndEdges) {
  tolk_ugraph_base g;
  tolk_UNode b = g.NodeAppend();
  tolk_UNode a = g.NodeInsert();
  tolk_UNode d = g.NodeAppend();
  tolk_UNode c = g.NodeInsertBefore(d);
  tolk_UNode e = g.NodeInsertAfter(d);
  EXPECT_EQ(Nodes(g), (std::vector<tolk_UNode>{a, b, c, d, e}));
  EXPECT_EQ(g.NumberOfNodes(), 5u);

  g.EdgeAppend(a, b);
  g.EdgeAppend(a, c);
  g.EdgeInsert(d, a);  // front of a's list too
  EXPECT_EQ(Neighbours(a), (std::vector<tolk_UNode>{d, b, c}));
  EXPECT_EQ(Neighbours(c), std::vector<tolk_UNode>{a});
}

TEST(UGraph, NodeDeleteTakesItsEdgesAlong) {
  tolk_ugraph_base g;
  tolk_UNode a = g.NodeAppend(), b = g.NodeAppend(), c = g.NodeAppend();
  g.EdgeAppend(a, b);
  g.EdgeAppend(c, b);
  g.EdgeAppend(b, b);
  g.NodeDelete(b);
  EXPECT_EQ(Nodes(g), (std::vector<tolk_UNode>{a, c}));
  EXPECT_EQ(tolk_ugraph_base::Degree(a), 0u);
  EXPECT_EQ(tolk_ugraph_base::Degree(c), 0u);
  EXPECT_EQ(g.NumberOfEdges(), 0u);
}

//   a --e1-- b,  a --e2-- c,  a --e3-- d   (a's list: e1 e2 e3)
TEST(UGraph, EdgeMovesReorderOnlyTheNamedList) {
  tolk_ugraph_base g;
  tolk_UNode a = g.NodeAppend(), b = g.NodeAppend(), c = g.NodeAppend(), d = g.NodeAppend();
  tolk_UEdge e1 = g.EdgeAppend(a, b), e2 = g.EdgeAppend(a, c), e3 = g.EdgeAppend(a, d);

  g.EdgeMoveToFront(a, e3);
  EXPECT_EQ(Neighbours(a), (std::vector<tolk_UNode>{d, b, c}));
  // The position given may be the edge's link in the other node's list.
  g.EdgeMoveBehind(a, tolk_UEdge::First(c), e3);
  EXPECT_EQ(Neighbours(a), (std::vector<tolk_UNode>{b, c, d}));
  g.EdgeMoveBehind(a, e1, e1);
  EXPECT_EQ(Neighbours(a), (std::vector<tolk_UNode>{b, c, d}));

  // e2 now runs d -> b, at the front of both lists.
  g.EdgeMove(e2, d, b);
  EXPECT_EQ(Neighbours(a), (std::vector<tolk_UNode>{b, d}));
  EXPECT_EQ(Neighbours(b), (std::vector<tolk_UNode>{d, a}));
  EXPECT_EQ(Neighbours(d), (std::vector<tolk_UNode>{b, a}));
  EXPECT_EQ(tolk_ugraph_base::Degree(c), 0u);
  EXPECT_EQ(tolk_ugraph_base::Tail(tolk_UEdge::First(b)), d);
}

namespace {

class ByKey : public tolk_Comparator<tolk_UNode> {
 public:
  explicit ByKey(tolk_UNODEASSOC<int>& key) : key_(key) {}
  tolk_signed Compare(const tolk_UNode& a, const tolk_UNode& b) const override {
    return key_[a] < key_[b] ? -1 : (key_[a] > key_[b] ? 1 : 0);
  }

 private:
  tolk_UNODEASSOC<int>& key_;
};

class ByOtherEndKey : public tolk_Comparator<tolk_UEdge> {
 public:
  ByOtherEndKey(const tolk_UNode& from, tolk_UNODEASSOC<int>& key) : from_(from), key_(key) {}
  tolk_signed Compare(const tolk_UEdge& a, const tolk_UEdge& b) const override {
    int x = key_[tolk_ugraph_base::OtherEnd(from_, a)], y = key_[tolk_ugraph_base::OtherEnd(from_, b)];
    return x < y ? -1 : (x > y ? 1 : 0);
  }

 private:
  tolk_UNode from_;
  tolk_UNODEASSOC<int>& key_;
};

}  // namespace

TEST(UGraph, SortsOrderNodesAndIncidenceLists) {
  tolk_ugraph_base g;
  tolk_UNODEASSOC<int> key(g);
  std::vector<tolk_UNode> n;
  for (int k : {3, 1, 4, 1, 5}) {
    n.push_back(g.NodeAppend());
    key[n.back()] = k;
  }
  for (int i = 1; i < 5; ++i) g.EdgeAppend(n[0], n[i]);

  ByKey byKey(key);
  tolk_UNode from = g.FirstNode(), to = g.LastNode();
  g.NodeSort(from, to, &byKey);
  // Equal keys come out newest first.
  EXPECT_EQ(Nodes(g), (std::vector<tolk_UNode>{n[3], n[1], n[0], n[2], n[4]}));
  EXPECT_EQ(from, n[3]);
  EXPECT_EQ(to, n[4]);

  key[n[2]] = 0;
  ByOtherEndKey byEnd(n[0], key);
  tolk_UEdge ef = tolk_UEdge::First(n[0]), el(n[0].Link()->elist.Last());
  g.EdgeSort(n[0], ef, el, &byEnd);
  EXPECT_EQ(Neighbours(n[0]), (std::vector<tolk_UNode>{n[2], n[3], n[1], n[4]}));
}

// ---------------------------------------------------------------------------------------------
// Node and edge arrays

TEST(UNodeAssoc, TenNodesGetFourteenSlotsAndGrowAtTheFifteenth) {
  tolk_ugraph_base g;
  for (int i = 0; i < 10; ++i) g.NodeAppend();
  tolk_UNODEASSOC<int> a(g);
  EXPECT_EQ(a.size, 14u);
  EXPECT_EQ(g.GetMaxNodeName(), 13u);
  EXPECT_EQ(Names(g), (std::vector<tolk_unsigned>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
  for (const tolk_UNode& n : Nodes(g)) a[n] = 100 + static_cast<int>(tolk_UAssocArray_base::GetName(n));

  std::vector<tolk_unsigned> handedOut;
  for (int i = 0; i < 4; ++i) {
    tolk_UNode n = g.NodeAppend();
    handedOut.push_back(tolk_UAssocArray_base::GetName(n));
    a[n] = 200 + i;
  }
  EXPECT_EQ(handedOut, (std::vector<tolk_unsigned>{13, 12, 11, 10}));
  EXPECT_EQ(a.size, 14u);

  tolk_UNode fifteenth = g.NodeAppend();
  EXPECT_EQ(g.GetMaxNodeName(), 19u);
  EXPECT_EQ(a.size, 20u);
  EXPECT_EQ(tolk_UAssocArray_base::GetName(fifteenth), 19u);
  std::vector<tolk_UNode> nodes = Nodes(g);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(a[nodes[i]], 100 + i);
  for (int i = 0; i < 4; ++i) EXPECT_EQ(a[nodes[10 + i]], 200 + i);
}

TEST(UNodeAssoc, CompactionRenumbersInListOrderAndKeepsValues) {
  tolk_ugraph_base g;
  for (int i = 0; i < 20; ++i) g.NodeAppend();
  tolk_UNODEASSOC<int> a(g), b(g);  // 20 nodes: maxNodeIndex 26, 7 free
  std::vector<tolk_UNode> nodes = Nodes(g);
  for (int i = 0; i < 20; ++i) {
    a[nodes[i]] = i;
    b[nodes[i]] = -i;
  }
  // Compaction comes when more than 27 / 2 = 13 indices are free: at the 7th deletion.
  for (int i = 0; i < 6; ++i) g.NodeDelete(nodes[2 * i]);
  EXPECT_EQ(a.size, 27u);
  g.NodeDelete(nodes[12]);
  EXPECT_EQ(g.GetMaxNodeName(), 17u);  // ceil(13 * 1.3)
  EXPECT_EQ(a.size, 18u);
  EXPECT_EQ(b.size, 18u);

  std::vector<tolk_UNode> left = Nodes(g);
  ASSERT_EQ(left.size(), 13u);
  for (tolk_unsigned k = 0; k < left.size(); ++k) EXPECT_EQ(tolk_UAssocArray_base::GetName(left[k]), k);
  std::vector<int> values;
  for (const tolk_UNode& n : left) {
    values.push_back(a[n]);
    EXPECT_EQ(b[n], -a[n]);
  }
  EXPECT_EQ(values, (std::vector<int>{1, 3, 5, 7, 9, 11, 13, 14, 15, 16, 17, 18, 19}));
  // The next new node takes the largest free index.
  EXPECT_EQ(tolk_UAssocArray_base::GetName(g.NodeAppend()), 17u);
}

TEST(UNodeAssoc, ManagerLivesExactlyAsLongAsSomeArray) {
  tolk_ugraph_base g;
  for (int i = 0; i < 5; ++i) g.NodeAppend();
  {
    tolk_UNODEASSOC<int> a(g);
    EXPECT_NE(g.pAssocManager, nullptr);
    g.NodeDelete(g.FirstNode());
    g.NodeInsert();  // the index just given back
    g.NodeInsert();  // then the largest free one
    EXPECT_EQ(Names(g), (std::vector<tolk_unsigned>{7, 0, 1, 2, 3, 4}));
  }
  EXPECT_EQ(g.pAssocManager, nullptr);
  tolk_UNode fresh = g.NodeInsert();
  EXPECT_EQ(tolk_UAssocArray_base::GetName(fresh), tolk_UNNAMED);
  tolk_UNODEASSOC<char> again(g);
  EXPECT_EQ(Names(g), (std::vector<tolk_unsigned>{0, 1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(again.size, 11u);
}

//   n0 --e0-- n1      numbering meets edges from either end, in node order:
//    \               n0's list: e2(B), e0(A) -> e2 gets 0, e0 gets 1; then e1 from n1.
//     e2 -- n2 --e1-- n1
TEST(UEdgeAssoc, EdgesAreNumberedAsFirstMetAndSurviveChurn) {
  tolk_ugraph_base g;
  tolk_UNode n0 = g.NodeAppend(), n1 = g.NodeAppend(), n2 = g.NodeAppend();
  tolk_UEdge e0 = g.EdgeAppend(n0, n1);
  tolk_UEdge e1 = g.EdgeAppend(n1, n2);
  tolk_UEdge e2 = g.EdgeInsert(n2, n0);
  tolk_UEDGEASSOC<int> w(g);
  EXPECT_EQ(tolk_UAssocArray_base::GetName(e2), 0u);
  EXPECT_EQ(tolk_UAssocArray_base::GetName(e0), 1u);
  EXPECT_EQ(tolk_UAssocArray_base::GetName(e1), 2u);
  EXPECT_EQ(g.GetMaxEdgeName(), 4u);
  w[e0] = 10;
  w[e1] = 11;
  w[tolk_UEdge::First(n2)] = 12;  // e2 through its A link
  EXPECT_EQ(w[tolk_UEdge::BInit(e2)], 12);

  std::vector<tolk_UEdge> extra;
  for (int i = 0; i < 6; ++i) {
    extra.push_back(g.EdgeAppend(n0, n2));
    w[extra.back()] = 100 + i;
  }
  EXPECT_GT(w.size, 5u);
  for (tolk_UEdge& e : extra) g.EdgeDelete(e);
  EXPECT_EQ(w[e0], 10);
  EXPECT_EQ(w[e1], 11);
  EXPECT_EQ(w[e2], 12);
}

namespace {

// Checks the free-index accounting: live indices are distinct and inside the arrays,
// and every index is either live or free.
void ExpectIndexSpaceConsistent(tolk_ugraph_base& g, tolk_unsigned nodeSlots, tolk_unsigned edgeSlots) {
  tolk_UAssocArray_Manager* m = g.pAssocManager;
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(nodeSlots, m->maxNodeIndex + 1);
  EXPECT_EQ(edgeSlots, m->maxEdgeIndex + 1);
  std::set<tolk_unsigned> nodeNames, edgeNames;
  for (const tolk_UNode& n : Nodes(g)) {
    nodeNames.insert(tolk_UAssocArray_base::GetName(n));
    for (tolk_UEdge e = tolk_UEdge::First(n); !e.End(); e.Next()) {
      if (!e.IsBlink()) edgeNames.insert(tolk_UAssocArray_base::GetName(e));
    }
  }
  EXPECT_EQ(nodeNames.size(), g.NumberOfNodes());
  EXPECT_EQ(edgeNames.size(), g.NumberOfEdges());
  EXPECT_TRUE(nodeNames.empty() || *nodeNames.rbegin() <= m->maxNodeIndex);
  EXPECT_TRUE(edgeNames.empty() || *edgeNames.rbegin() <= m->maxEdgeIndex);
  EXPECT_EQ(static_cast<tolk_unsigned>(m->freeNodeIndices.Size()) + nodeNames.size(), nodeSlots);
  EXPECT_EQ(static_cast<tolk_unsigned>(m->freeEdgeIndices.Size()) + edgeNames.size(), edgeSlots);
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

  auto addNode = [&] {
    tolk_UNode n = (rng() & 1) ? g.NodeAppend() : g.NodeInsert();
    nodeValue[n] = ++stamp;
    nodeModel[n.Link()] = stamp;
    live.push_back(n);
  };
  auto deleteNode = [&](size_t i) {
    for (tolk_UEdge e = tolk_UEdge::First(live[i]); !e.End(); e.Next()) edgeModel.erase(e.Edge());
    nodeModel.erase(live[i].Link());
    g.NodeDelete(live[i]);
    live[i] = live.back();
    live.pop_back();
  };
  auto addEdge = [&] {
    tolk_UEdge e = g.EdgeAppend(live[rng() % live.size()], live[rng() % live.size()]);
    edgeValue[e] = ++stamp;
    edgeModel[e.Edge()] = stamp;
  };
  auto deleteEdge = [&] {
    tolk_UNode n = live[rng() % live.size()];
    if (tolk_ugraph_base::Degree(n) == 0) return;
    tolk_UEdge e = tolk_UEdge::First(n);
    edgeModel.erase(e.Edge());
    g.EdgeDelete(e);
  };

  for (int round = 0; round < 6; ++round) {
    const bool growing = round % 2 == 0;
    for (int step = 0; step < 3000; ++step) {
      const unsigned r = rng() % 10;
      if (live.empty() || (growing ? r < 4 : r < 1)) {
        addNode();
      } else if (growing ? r < 8 : r < 3) {
        addEdge();
      } else if (r < 9) {
        deleteNode(rng() % live.size());
      } else {
        deleteEdge();
      }
      peakNodeSlots = std::max(peakNodeSlots, nodeValue.size);
      peakEdgeSlots = std::max(peakEdgeSlots, edgeValue.size);
    }
    for (const auto& [link, v] : nodeModel) ASSERT_EQ(nodeValue[tolk_UNode(link)], v);
    for (const auto& [edge, v] : edgeModel) ASSERT_EQ(edgeValue[tolk_UEdge(edge->Alink())], v);
    ASSERT_EQ(g.NumberOfNodes(), nodeModel.size());
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
  EXPECT_EQ(a->pG, nullptr);
  delete a;
  delete w;
}
