// Hierarchical graphs: instance and leaf nodes, edges that reach into instances, flattened walks.
#pragma once

#include "tolk/assert.h"
#include "tolk/hgraph_path.h"
#include <memory>
#include <type_traits>

#include "tolk/list.h"
#include "tolk/pool.h"
#include "tolk/ugraph.h"

class tolk_hgraph_base;

// Position of a representative in the instantiated graph's repList.
typedef tolk_list_base_iter tolk_RepIter;

// A node; refptr is the graph it instantiates, null for a leaf.
struct tolk_hnode_link : tolk_unode_link {
  tolk_hgraph_base* refptr = nullptr;
};

// The link by which an instance node sits in the instantiated graph's repList.
struct tolk_rep_link : tolk_list_link {};

// An instance node is its own entry in the instantiated graph's repList: the list runs
// through the instance nodes and needs no records of its own. repscope is the graph
// the node lies in, the other half of the representative step.
struct tolk_hrnode_link : tolk_hnode_link, tolk_rep_link {
  tolk_hgraph_base* repscope = nullptr;

  tolk_rep_link* RepLink() { return this; }
  static tolk_hrnode_link* FromRepLink(tolk_list_link* l) {
    return static_cast<tolk_hrnode_link*>(static_cast<tolk_rep_link*>(l));
  }
};

// An edge with exactly one instance end; vadj is the path below that end.
struct tolk_semihedge_base : tolk_uedge_base {
  tolk_instance_base vadj;
};

// An edge between two instance nodes.
struct tolk_hedge_base : tolk_uedge_base {
  tolk_instance_base vtail;
  tolk_instance_base vhead;
};

// Edge kinds as a bit set: which ends are instance nodes.
enum : int { tolk_EDGE_LEAVES = 0, tolk_EDGE_TAIL_INSTANCE = 1, tolk_EDGE_HEAD_INSTANCE = 2, tolk_EDGE_INSTANCES = 3 };

// An undirected graph some of whose nodes stand for other graphs. Edges reach into an
// instance through the path stored with them. repList links every instance node anywhere
// that instantiates this graph, each standing for the step (its scope, itself), kept
// exact by node insertion and deletion. Whether an edge end is an instance end follows
// from its node, so an edge keeps the kind of its ends for its whole life.
class tolk_hgraph_base : public tolk_ugraph_base {
 public:
  tolk_list_base repList;

  // Node and edge records come from records when given (shared by graphs that live and
  // die together, and which must outlive them all), else from a pool of the graph's own.
  explicit tolk_hgraph_base(tolk_RecordPool* records = nullptr);

  // Nodes and edges of a hierarchical graph carry records: only the typed graph makes them.
  tolk_UNode NodeInsert() = delete;
  tolk_UNode NodeAppend() = delete;
  tolk_UNode NodeInsertAfter(const tolk_UNode&) = delete;
  tolk_UNode NodeInsertBefore(const tolk_UNode&) = delete;
  tolk_UEdge EdgeInsert(const tolk_UNode&, const tolk_UNode&) = delete;
  tolk_UEdge EdgeAppend(const tolk_UNode&, const tolk_UNode&) = delete;

  static bool IsLeaf(const tolk_UNode& n) { return HLink(n)->refptr == nullptr; }
  static int EdgeType(const tolk_UEdge& e) { return KindOf(e.Edge()); }
  static tolk_hgraph_base* RefOf(const tolk_UNode& n) { return HLink(n)->refptr; }

  // Appends instance node n of scope (which must instantiate this graph) to repList.
  tolk_RepIter AddRep(tolk_hgraph_base* scope, const tolk_UNode& n);
  void DeleteRep(const tolk_RepIter& r) { repList.RawRemove(r); }
  // The step (scope, instance node) that the entry at r stands for.
  static tolk_instance_step_base RLValue(const tolk_RepIter& r) {
    tolk_hrnode_link* l = tolk_hrnode_link::FromRepLink(r.position);
    return tolk_instance_step_base(l->repscope, tolk_UNode(static_cast<tolk_unode_link*>(l)));
  }
  tolk_unsigned NumOfReps() const { return static_cast<tolk_unsigned>(repList.Size()); }
  tolk_RepIter FirstRep() const { return repList.First(); }

  // The path below the edge's head or tail (the shared empty path for a leaf end).
  static const tolk_instance_base& VHead(const tolk_UEdge& e) { return VPath(e.Edge(), true); }
  static const tolk_instance_base& VTail(const tolk_UEdge& e) { return VPath(e.Edge(), false); }
  // The path below the end whose link this position is at.
  static const tolk_instance_base& VPathHere(const tolk_UEdge& e) { return VPath(e.Edge(), e.IsBlink()); }

  // Deletes the node's edges, the edges of enclosing graphs that reach it through an
  // instance of this graph, its representative entry, then the node.
  void NodeDelete(const tolk_UNode& n) override;
  // Deletes the edges of every representative's scope that end at n one level down.
  void DeleteAllVConnects(const tolk_UNode& n);

  // As the plain move, for ends of the same kinds as before.
  void EdgeMove(const tolk_UEdge& e, const tolk_UNode& a, const tolk_UNode& b);

  static const tolk_instance_base& EmptyPath();
  static const tolk_instance_base& VPath(tolk_uedge_base* e, bool headEnd) {
    const tolk_instance_base* p = VPathSlot(e, headEnd);
    return p != nullptr ? *p : EmptyPath();
  }

 protected:
  static tolk_hnode_link* HLink(const tolk_UNode& n) { return static_cast<tolk_hnode_link*>(n.Link()); }
  static tolk_hrnode_link* RLink(const tolk_UNode& n) { return static_cast<tolk_hrnode_link*>(n.Link()); }
  // Kept in the B link's id when the edge is linked, so that neither end node is read.
  static int KindOf(const tolk_uedge_base* e) {
    return static_cast<int>(static_cast<const tolk_uedge_blink*>(e)->id & tolk_EDGE_INSTANCES);
  }
  static void SetKind(tolk_uedge_base* e, int kind) {
    e->Blink()->id = tolk_uedge_link::kBlinkMark | static_cast<tolk_unsigned>(kind);
  }
  static int KindOfEnds(const tolk_instance_base& tail, const tolk_instance_base& head);
  // The stored path at one end of an edge; null for a leaf end.
  static tolk_instance_base* VPathSlot(tolk_uedge_base* e, bool headEnd);

  // Places a new instance node and records it with the graph it instantiates.
  tolk_UNode PlaceInstance(tolk_hrnode_link* l, tolk_hgraph_base* ref, bool front);
  tolk_UNode PlaceLeaf(tolk_hnode_link* l, bool front) { return front ? LinkNodeFront(l) : LinkNodeEnd(l); }
  // Stores the ends' paths below their first steps in a record of the ends' kind and links it.
  tolk_UEdge PlaceEdge(tolk_uedge_base* rec, const tolk_instance_base& tail, const tolk_instance_base& head,
                       bool front);
  // Links a copy of an edge record between two nodes of the same kinds as its own ends.
  tolk_UEdge PlaceEdgeCopy(tolk_uedge_base* rec, const tolk_uedge_base* from, const tolk_UNode& tail,
                           const tolk_UNode& head);

  // The end of an edge rebuilt after its instance node n was replaced by copies of
  // its graph's nodes (map); empty when the end was not inside n.
  tolk_instance_base RebuildEnd(const tolk_UNode& endNode, const tolk_instance_base& vpath, const tolk_UNode& n,
                                tolk_UNODEASSOC<tolk_UNode>& map);
  // Points the paths of enclosing graphs' edges that run through n at n's copies.
  void RedirectVConnects(const tolk_UNode& n, tolk_UNODEASSOC<tolk_UNode>& map);

  tolk_RecordPool& Records() { return *records; }
  // Empties the graph, lists only, after the records have let go of what they own.
  void ForgetRecords();

 private:
  std::unique_ptr<tolk_RecordPool> ownRecords;
  tolk_RecordPool* records;
};

// Walks the virtual connections of a leaf path: the edges of the instance node one
// level above the leaf whose stored path leads down to the leaf, in incidence order.
// mi is the caller's path, which must outlive the walk.
class tolk_VConnect_base {
 public:
  const tolk_instance_base* mi = nullptr;
  int pos = -1;
  tolk_UEdge edge;

  void First(const tolk_instance_base& path);
  void Next();
  bool End() const { return pos < 0; }
  void MakeEnd() { pos = -1; }
  tolk_hgraph_base* GetScope() const { return (*mi)[pos].pscope; }
  const tolk_UEdge& GetEdge() const { return edge; }

 private:
  void SkipToMatch();
};

// The edges of a leaf in the flattened graph: first its own edges, then its virtual
// connections one level up.
class tolk_vfedge_base {
 public:
  tolk_instance_base inst;
  tolk_UEdge ex;
  tolk_VConnect_base vconnect;

  tolk_vfedge_base() = default;
  tolk_vfedge_base(const tolk_vfedge_base& o) : inst(o.inst), ex(o.ex), vconnect(o.vconnect) { vconnect.mi = &inst; }
  tolk_vfedge_base& operator=(const tolk_vfedge_base& o);

  void First(const tolk_instance_base& path);
  void Next();
  bool End() const { return ex.End() && vconnect.End(); }
  void MakeEnd() {
    ex.MakeEnd();
    vconnect.MakeEnd();
  }
  bool IsVConnect() const { return ex.End(); }
  tolk_hgraph_base* GetScope() const;
  const tolk_UEdge& GetEdge() const { return ex.End() ? vconnect.GetEdge() : ex; }
  // The full path of the leaf at the other end of the current edge; path is the leaf's.
  tolk_instance_base OtherAdjacentLeafInstance(const tolk_instance_base& path) const;
};

template <class G, class N, class E, class L>
class tolk_HGRAPH;

// A step with its scope typed.
template <class G, class N, class E, class L>
struct tolk_HInstanceStep : tolk_instance_step_base {
  typedef tolk_HGRAPH<G, N, E, L> Graph;

  tolk_HInstanceStep() = default;
  tolk_HInstanceStep(Graph* scope, const tolk_UNode& n) : tolk_instance_step_base(scope, n) {}
  tolk_HInstanceStep(const tolk_instance_step_base& s) : tolk_instance_step_base(s) {}
  Graph* Scope() const { return static_cast<Graph*>(pscope); }
};

// A path whose scopes are typed.
template <class G, class N, class E, class L>
class tolk_HInstance : public tolk_instance_base {
 public:
  typedef tolk_HGRAPH<G, N, E, L> Graph;
  typedef tolk_HInstanceStep<G, N, E, L> Step;

  tolk_HInstance() = default;
  tolk_HInstance(const tolk_instance_base& p) : tolk_instance_base(p) {}
  tolk_HInstance(tolk_instance_base&& p) : tolk_instance_base(static_cast<tolk_instance_base&&>(p)) {}

  Step operator[](int i) const { return Step(Steps()[i]); }
  tolk_instance_step_base& operator[](int i) { return Steps()[i]; }
  Graph* Scope(int i) const { return static_cast<Graph*>(Steps()[i].pscope); }
  const tolk_UNode& Node(int i) const { return Steps()[i].node; }
};

// Typed node and edge records.
template <class G, class N, class E, class L>
struct tolk_HNODEBASE : tolk_hrnode_link {
  N data;
};

template <class G, class N, class E, class L>
struct tolk_HLEAFNODEBASE : tolk_hnode_link {
  L leafdata;
};

template <class G, class N, class E, class L>
struct tolk_LEAFHEDGEBASE : tolk_uedge_base {
  E data;
};

template <class G, class N, class E, class L>
struct tolk_SEMIHEDGEBASE : tolk_semihedge_base {
  E data;
};

template <class G, class N, class E, class L>
struct tolk_HEDGEBASE : tolk_hedge_base {
  E data;
};

// A hierarchical graph with a G record for itself, N records for instance nodes, L
// records for leaves and E records for edges. Records are copied in; pointers in
// them are not released. An instance node does not own the graph it instantiates;
// destroy a graph only after its instance nodes are gone.
template <class G, class N, class E, class L>
class tolk_HGRAPH : public tolk_hgraph_base {
 public:
  typedef tolk_HInstance<G, N, E, L> Path;
  typedef tolk_HInstanceStep<G, N, E, L> Step;

  G data{};

  tolk_HGRAPH() = default;
  explicit tolk_HGRAPH(const G& g) : data(g) {}
  tolk_HGRAPH(const G& g, tolk_RecordPool* records) : tolk_hgraph_base(records), data(g) {}
  ~tolk_HGRAPH() override { DestroyAll(); }

  tolk_UNode NodeInsert(const N& d, tolk_HGRAPH* ref) { return MakeInstance(d, ref, true); }
  tolk_UNode NodeAppend(const N& d, tolk_HGRAPH* ref) { return MakeInstance(d, ref, false); }
  tolk_UNode LeafNodeInsert(const L& d) { return PlaceLeaf(MakeLeaf(d), true); }
  tolk_UNode LeafNodeAppend(const L& d) { return PlaceLeaf(MakeLeaf(d), false); }

  // Edge between the first steps of tail and head; the rest of each path is stored
  // with the edge. The answer is the edge's A link, in the tail's list.
  tolk_UEdge EdgeInsert(const E& d, const tolk_instance_base& tail, const tolk_instance_base& head) {
    return AddEdge(d, tail, head, true);
  }
  tolk_UEdge EdgeAppend(const E& d, const tolk_instance_base& tail, const tolk_instance_base& head) {
    return AddEdge(d, tail, head, false);
  }
  tolk_UEdge AddEdge(const E& d, const tolk_instance_base& tail, const tolk_instance_base& head, bool insert) {
    return PlaceEdge(NewEdgeRecord(KindOfEnds(tail, head), d), tail, head, insert);
  }

  N& Value(const tolk_UNode& n) { return static_cast<InstanceNode*>(RLink(n))->data; }
  L& LeafValue(const tolk_UNode& n) { return static_cast<LeafNode*>(HLink(n))->leafdata; }
  E& Value(const tolk_UEdge& e) { return DataOf(e.Edge()); }
  G& Info() { return data; }
  tolk_HGRAPH* GetRepGraph(const tolk_UNode& n) const { return static_cast<tolk_HGRAPH*>(RefOf(n)); }
  static Step GetRepresentativeValue(const tolk_RepIter& r) { return Step(RLValue(r)); }

  // The end's path seen from this graph: (this, end node), then the first step below an instance end.
  Path IHead(const tolk_UEdge& e) { return EndPath(e.Edge()->head, VHead(e)); }
  Path ITail(const tolk_UEdge& e) { return EndPath(e.Edge()->tail, VTail(e)); }

  // For graphs destroyed together with the pool their records came from: lets every
  // record let go of what it owns and empties the graph, without unlinking the records
  // or giving them back one by one. Every graph that refers to this one (through
  // instance nodes or paths) must be abandoned too, and none may be used again but to
  // destroy it; the pool must go soon after. Records whose data need destructors are
  // deleted one by one as usual.
  void AbandonRecords();

  // Appends a copy of every node of other, recording each copy in map (an array of
  // other's), then a copy of every edge of other, each at the front of its lists.
  void AppendGraph(tolk_HGRAPH* other, tolk_UNODEASSOC<tolk_UNode>& map);
  // Replaces instance node n by a copy of the graph it instantiates; map is an array
  // of that graph's. Edges of n are rebuilt to end at the copies, and enclosing graphs'
  // edges that ran through n now run through the copies.
  void ExplodeNode(const tolk_UNode& n, tolk_UNODEASSOC<tolk_UNode>& map);

 protected:
  void DisposeNode(tolk_unode_link* n) override;
  void DisposeEdge(tolk_uedge_base* e) override;

 private:
  typedef tolk_HNODEBASE<G, N, E, L> InstanceNode;
  typedef tolk_HLEAFNODEBASE<G, N, E, L> LeafNode;
  typedef tolk_LEAFHEDGEBASE<G, N, E, L> LeafEdge;
  typedef tolk_SEMIHEDGEBASE<G, N, E, L> SemiEdge;
  typedef tolk_HEDGEBASE<G, N, E, L> FullEdge;

  tolk_UNode MakeInstance(const N& d, tolk_HGRAPH* ref, bool front) {
    TOLK_ASSERT(ref != nullptr, "instance node without the graph it instantiates");
    InstanceNode* l = Records().template New<InstanceNode>();
    l->data = d;
    return PlaceInstance(l, ref, front);
  }

  LeafNode* MakeLeaf(const L& d) {
    LeafNode* l = Records().template New<LeafNode>();
    l->leafdata = d;
    return l;
  }

  template <class Record>
  tolk_uedge_base* MakeEdge(const E& d) {
    Record* r = Records().template New<Record>();
    r->data = d;
    return r;
  }

  tolk_uedge_base* NewEdgeRecord(int kind, const E& d) {
    switch (kind) {
      case tolk_EDGE_LEAVES: return MakeEdge<LeafEdge>(d);
      case tolk_EDGE_INSTANCES: return MakeEdge<FullEdge>(d);
      default: return MakeEdge<SemiEdge>(d);
    }
  }

  static E& DataOf(tolk_uedge_base* e) {
    switch (KindOf(e)) {
      case tolk_EDGE_LEAVES: return static_cast<LeafEdge*>(e)->data;
      case tolk_EDGE_INSTANCES: return static_cast<FullEdge*>(static_cast<tolk_hedge_base*>(e))->data;
      default: return static_cast<SemiEdge*>(static_cast<tolk_semihedge_base*>(e))->data;
    }
  }

  Path EndPath(tolk_unode_link* end, const tolk_instance_base& vpath) {
    Path p;
    p.Append(this, tolk_UNode(end));
    if (vpath.GetLength() > 0) p.Append(vpath[0]);
    return p;
  }
};

// The flattened walk with typed scopes and paths.
template <class G, class N, class E, class L>
class tolk_VFEdge : public tolk_vfedge_base {
 public:
  typedef tolk_HGRAPH<G, N, E, L> Graph;
  typedef tolk_HInstance<G, N, E, L> Path;

  Graph* GetScope() const { return static_cast<Graph*>(tolk_vfedge_base::GetScope()); }
  Path OtherAdjacentLeafInstance(const tolk_instance_base& path) const {
    return Path(tolk_vfedge_base::OtherAdjacentLeafInstance(path));
  }
};

// ---------------------------------------------------------------------------------------------

template <class G, class N, class E, class L>
void tolk_HGRAPH<G, N, E, L>::DisposeNode(tolk_unode_link* n) {
  tolk_UNode pos(n);
  if (IsLeaf(pos)) {
    Records().Delete(static_cast<LeafNode*>(HLink(pos)));
  } else {
    Records().Delete(static_cast<InstanceNode*>(RLink(pos)));
  }
}

template <class G, class N, class E, class L>
void tolk_HGRAPH<G, N, E, L>::DisposeEdge(tolk_uedge_base* e) {
  switch (KindOf(e)) {
    case tolk_EDGE_LEAVES: Records().Delete(static_cast<LeafEdge*>(e)); break;
    case tolk_EDGE_INSTANCES: Records().Delete(static_cast<FullEdge*>(static_cast<tolk_hedge_base*>(e))); break;
    default: Records().Delete(static_cast<SemiEdge*>(static_cast<tolk_semihedge_base*>(e))); break;
  }
}

template <class G, class N, class E, class L>
void tolk_HGRAPH<G, N, E, L>::AbandonRecords() {
  if constexpr (!std::is_trivially_destructible_v<N> || !std::is_trivially_destructible_v<L> ||
                !std::is_trivially_destructible_v<E>) {
    DestroyAll();
  } else {
    // Only the paths below an edge's instance ends may hold memory of their own.
    for (tolk_UNode n = FirstNode(); !n.End(); n.Next()) {
      for (tolk_UEdge e = tolk_UEdge::First(n); !e.End(); e.Next()) {
        if (e.IsBlink()) continue;
        for (bool headEnd : {false, true}) {
          if (tolk_instance_base* path = VPathSlot(e.Edge(), headEnd)) *path = tolk_instance_base();
        }
      }
    }
    ForgetRecords();
  }
}

template <class G, class N, class E, class L>
void tolk_HGRAPH<G, N, E, L>::AppendGraph(tolk_HGRAPH* other, tolk_UNODEASSOC<tolk_UNode>& map) {
  TOLK_ASSERT(other != this, "a graph cannot be appended to itself");
  TOLK_ASSERT(map.pG == other, "node map does not belong to the appended graph");
  for (tolk_UNode n = other->FirstNode(); !n.End(); n.Next()) {
    map[n] = IsLeaf(n) ? LeafNodeAppend(other->LeafValue(n)) : NodeAppend(other->Value(n), other->GetRepGraph(n));
  }
  for (tolk_UNode n = other->FirstNode(); !n.End(); n.Next()) {
    for (tolk_UEdge e = tolk_UEdge::First(n); !e.End(); e.Next()) {
      if (e.IsBlink()) continue;  // each edge once, from its tail
      tolk_uedge_base* x = e.Edge();
      tolk_uedge_base* copy = NewEdgeRecord(KindOf(x), DataOf(x));
      PlaceEdgeCopy(copy, x, map[tolk_UNode(x->tail)], map[tolk_UNode(x->head)]);
    }
  }
}

template <class G, class N, class E, class L>
void tolk_HGRAPH<G, N, E, L>::ExplodeNode(const tolk_UNode& n, tolk_UNODEASSOC<tolk_UNode>& map) {
  TOLK_ASSERT(!IsLeaf(n), "only an instance node can be exploded");
  AppendGraph(GetRepGraph(n), map);
  RedirectVConnects(n, map);
  for (tolk_UEdge e = tolk_UEdge::First(n); !e.End(); e.Next()) {
    tolk_uedge_base* x = e.Edge();
    if (e.IsBlink() && x->tail == x->head) continue;  // a loop at n is rebuilt once
    Path tail = RebuildEnd(tolk_UNode(x->tail), VTail(e), n, map);
    Path head = RebuildEnd(tolk_UNode(x->head), VHead(e), n, map);
    if (tail.GetLength() == 0 || head.GetLength() == 0) continue;
    AddEdge(DataOf(x), tail, head, true);
  }
  NodeDelete(n);
}
