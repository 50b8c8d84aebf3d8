// Undirected multigraph with ordered node and incidence lists, and dense node and edge arrays.
#pragma once

#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>
#include <vector>

#include "tolk/comparators.h"
#include "tolk/list.h"
#include "tolk/types.h"

class tolk_ugraph_base;
class tolk_UAssocArray_Manager;
class tolk_UNodeAssoc_base;
class tolk_UEdgeAssoc_base;

// Index value of a node that no manager has numbered, and the id a B link starts with.
inline constexpr tolk_unsigned tolk_UNNAMED = ~tolk_unsigned(0);

// One end of an edge as it sits in a node's incidence list. The A link carries the
// edge's index; the B link's id has its top bit set, which is how a link knows its side
// (edge indexes never reach that bit). The bits below it are the edge's own to use:
// a derived graph may keep the kind of its edge records there.
struct tolk_uedge_link : tolk_list_link {
  static constexpr tolk_unsigned kBlinkMark = tolk_unsigned(1) << 63;

  tolk_unsigned id = 0;
  bool IsBlink() const { return (id & kBlinkMark) != 0; }
};

// Distinct types for the two links so that the edge is reached from either one by a
// plain derived-to-base conversion rather than pointer arithmetic.
struct tolk_uedge_alink : tolk_uedge_link {};
struct tolk_uedge_blink : tolk_uedge_link {};

// A node's incidence list. Every node of a model has one, so its head is a single pointer:
// the first link's `last` and the last link's `next` point to tolk_list_base_iter's shared
// end link, which points to itself and is never written. Positions in it therefore walk,
// step back and end exactly as in a tolk_list_base. Appending and counting walk the list.
class tolk_uedge_list {
 public:
  tolk_uedge_list() = default;
  tolk_uedge_list(const tolk_uedge_list&) = delete;
  tolk_uedge_list& operator=(const tolk_uedge_list&) = delete;

  tolk_list_base_iter First() const { return tolk_list_base_iter(first); }
  tolk_list_base_iter Last() const;
  bool Empty() const { return first == End(); }
  tolk_signed Size() const;

  void RawInsert(tolk_list_link* link);
  void RawAppend(tolk_list_link* link);
  // At an end position, inserts at the front.
  void RawInsertAfter(tolk_list_link* link, tolk_list_base_iter it);
  // Unlinks the element at it and hands it back; null (and no change) at an end position.
  tolk_list_link* RawRemove(tolk_list_base_iter it);
  // As tolk_list_base::RawSort.
  void RawSort(tolk_list_base_iter& from, tolk_list_base_iter& to, tolk_list_linkcmp cmp, const void* ctx);

 private:
  static tolk_list_link* End() { return tolk_list_base_iter::EndLink(); }

  tolk_list_link* first = End();
};

struct tolk_unode_link : tolk_list_link {
  tolk_uedge_list elist;
  tolk_unsigned name = tolk_UNNAMED;
};

// One edge: the A link lives in the tail's list, the B link in the head's.
struct tolk_uedge_base : tolk_uedge_alink, tolk_uedge_blink {
  tolk_unode_link* head = nullptr;
  tolk_unode_link* tail = nullptr;

  tolk_uedge_link* Alink() { return static_cast<tolk_uedge_alink*>(this); }
  tolk_uedge_link* Blink() { return static_cast<tolk_uedge_blink*>(this); }
  const tolk_uedge_link* Alink() const { return static_cast<const tolk_uedge_alink*>(this); }
  tolk_unsigned Index() const { return Alink()->id; }

  static tolk_uedge_base* FromLink(tolk_list_link* l) {
    tolk_uedge_link* u = static_cast<tolk_uedge_link*>(l);
    if (u->IsBlink()) return static_cast<tolk_uedge_base*>(static_cast<tolk_uedge_blink*>(u));
    return static_cast<tolk_uedge_base*>(static_cast<tolk_uedge_alink*>(u));
  }
  // The node whose incidence list holds this link.
  tolk_unode_link* OwnerOf(const tolk_uedge_link* l) const { return l->IsBlink() ? head : tail; }
};

// Position of a node in the graph's node list; stays valid until the node is deleted.
class tolk_UNode : public tolk_list_base_iter {
 public:
  tolk_UNode() = default;
  explicit tolk_UNode(tolk_list_link* l) { position = l; }
  explicit tolk_UNode(const tolk_list_base_iter& it) : tolk_list_base_iter(it) {}

  tolk_unode_link* Link() const { return static_cast<tolk_unode_link*>(position); }
};

// Position of one link of an edge in one node's incidence list.
class tolk_UEdge : public tolk_list_base_iter {
 public:
  tolk_UEdge() = default;
  explicit tolk_UEdge(tolk_list_link* l) { position = l; }
  explicit tolk_UEdge(const tolk_list_base_iter& it) : tolk_list_base_iter(it) {}

  static tolk_UEdge First(const tolk_UNode& n) { return tolk_UEdge(n.Link()->elist.First()); }
  static tolk_UEdge AInit(const tolk_UEdge& e) { return tolk_UEdge(e.Edge()->Alink()); }
  static tolk_UEdge BInit(const tolk_UEdge& e) { return tolk_UEdge(e.Edge()->Blink()); }

  tolk_uedge_link* Link() const { return static_cast<tolk_uedge_link*>(position); }
  tolk_uedge_base* Edge() const { return tolk_uedge_base::FromLink(position); }
  bool IsBlink() const { return Link()->IsBlink(); }
};

// The graph owns its node and edge records. Nodes and edges carry no data here;
// derived graphs store records of their own and dispose of them through the
// Dispose hooks.
class tolk_ugraph_base : public tolk_list_base {
 public:
  tolk_unsigned NEdges = 0;
  tolk_UAssocArray_Manager* pAssocManager = nullptr;

  tolk_ugraph_base() = default;
  tolk_ugraph_base(const tolk_ugraph_base&) = delete;
  tolk_ugraph_base& operator=(const tolk_ugraph_base&) = delete;
  virtual ~tolk_ugraph_base();

  tolk_UNode NodeInsert() { return LinkNodeFront(new tolk_unode_link); }
  tolk_UNode NodeAppend() { return LinkNodeEnd(new tolk_unode_link); }
  tolk_UNode NodeInsertAfter(const tolk_UNode& n) { return LinkNodeAfter(new tolk_unode_link, n); }
  tolk_UNode NodeInsertBefore(const tolk_UNode& n) { return LinkNodeBefore(new tolk_unode_link, n); }
  // Deletes every edge of the node, then the node.
  virtual void NodeDelete(const tolk_UNode& n);

  // New edge with tail a and head b, at the front (Insert) or end (Append) of both
  // incidence lists; the answer is its A link.
  tolk_UEdge EdgeInsert(const tolk_UNode& a, const tolk_UNode& b) { return LinkEdge(new tolk_uedge_base, a, b, true); }
  tolk_UEdge EdgeAppend(const tolk_UNode& a, const tolk_UNode& b) { return LinkEdge(new tolk_uedge_base, a, b, false); }
  virtual void EdgeDelete(const tolk_UEdge& e);

  // Reattaches the edge with tail a and head b at the front of both lists; its index stays.
  void EdgeMove(const tolk_UEdge& e, const tolk_UNode& a, const tolk_UNode& b);
  void EdgeMoveToFront(const tolk_UNode& n, const tolk_UEdge& e);
  // Moves f's link in n's list to directly after e's link.
  void EdgeMoveBehind(const tolk_UNode& n, const tolk_UEdge& e, const tolk_UEdge& f);

  // Sort the run from..to of the node list, or of n's incidence list; afterwards
  // from and to designate the run's new first and last element.
  void NodeSort(tolk_UNode& from, tolk_UNode& to, tolk_Comparator<tolk_UNode>* cmp);
  void EdgeSort(const tolk_UNode& n, tolk_UEdge& from, tolk_UEdge& to, tolk_Comparator<tolk_UEdge>* cmp);

  tolk_UNode FirstNode() const { return tolk_UNode(First()); }
  tolk_UNode LastNode() const { return tolk_UNode(Last()); }
  static tolk_UNode Head(const tolk_UEdge& e) { return tolk_UNode(e.Edge()->head); }
  static tolk_UNode Tail(const tolk_UEdge& e) { return tolk_UNode(e.Edge()->tail); }
  // The other end of e seen from n: its tail unless the tail is n, else its head.
  static tolk_UNode OtherEnd(const tolk_UNode& n, const tolk_UEdge& e) {
    tolk_uedge_base* x = e.Edge();
    return tolk_UNode(x->tail != n.Link() ? x->tail : x->head);
  }

  tolk_unsigned NumberOfNodes() const { return static_cast<tolk_unsigned>(Size()); }
  tolk_unsigned NumberOfEdges() const { return NEdges; }
  static tolk_unsigned Degree(const tolk_UNode& n) { return static_cast<tolk_unsigned>(n.Link()->elist.Size()); }

  // The largest index handed out to attached arrays (0 while no array is attached).
  tolk_unsigned GetMaxNodeName() const;
  tolk_unsigned GetMaxEdgeName() const;

  void ActivateAssocManager();
  // Deletes the manager once no array is registered with it.
  void DeactivateAssocManager();

 protected:
  tolk_UNode LinkNodeFront(tolk_unode_link* l);
  tolk_UNode LinkNodeEnd(tolk_unode_link* l);
  tolk_UNode LinkNodeAfter(tolk_unode_link* l, const tolk_UNode& n);
  tolk_UNode LinkNodeBefore(tolk_unode_link* l, const tolk_UNode& n);
  tolk_UEdge LinkEdge(tolk_uedge_base* e, const tolk_UNode& a, const tolk_UNode& b, bool front);

  // Release a record made by this graph's class; called after it is unlinked.
  virtual void DisposeNode(tolk_unode_link* n) { delete n; }
  virtual void DisposeEdge(tolk_uedge_base* e) { delete e; }

  // Deletes the manager (complaining when arrays are still attached) and every node.
  // A derived graph calls it from its own destructor so that its Dispose hooks run.
  void DestroyAll();

 private:
  tolk_UNode NameNewNode(tolk_unode_link* l);
  void UnlinkEdge(tolk_uedge_base* e);
  void AttachEdge(tolk_uedge_base* e, tolk_unode_link* a, tolk_unode_link* b, bool front);
  tolk_uedge_link* LinkIn(const tolk_UNode& n, const tolk_UEdge& e) const;
};

// An array attached to a graph; the manager calls Resize when the index space changes.
class tolk_UAssocArray_base {
 public:
  tolk_ugraph_base* pG;

  explicit tolk_UAssocArray_base(tolk_ugraph_base& g) : pG(&g) {}
  tolk_UAssocArray_base(const tolk_UAssocArray_base&) = delete;
  tolk_UAssocArray_base& operator=(const tolk_UAssocArray_base&) = delete;
  virtual ~tolk_UAssocArray_base() = default;
  // names, when given, points to the index of every live element in the order of the new
  // numbering (compaction); null means the index space only grows.
  virtual void Resize(tolk_unsigned** names, tolk_unsigned used, tolk_unsigned newMax) = 0;

  static tolk_unsigned GetName(const tolk_UNode& n) { return n.Link()->name; }
  static tolk_unsigned GetName(const tolk_UEdge& e) { return e.Edge()->Index(); }
};

class tolk_UNodeAssoc_base : public tolk_UAssocArray_base {
 public:
  tolk_list_base_iter reg_handle;

  explicit tolk_UNodeAssoc_base(tolk_ugraph_base& g);
  ~tolk_UNodeAssoc_base() override;
  static tolk_unsigned IndexLimit(const tolk_ugraph_base& g) { return g.GetMaxNodeName(); }
};

class tolk_UEdgeAssoc_base : public tolk_UAssocArray_base {
 public:
  tolk_list_base_iter reg_handle;

  explicit tolk_UEdgeAssoc_base(tolk_ugraph_base& g);
  ~tolk_UEdgeAssoc_base() override;
  static tolk_unsigned IndexLimit(const tolk_ugraph_base& g) { return g.GetMaxEdgeName(); }
};

// The free indices of one index space, handed out last in, first out. The indices that
// growth adds are pushed in ascending order and popped from the top, so they are kept as
// one range; indices given back one at a time lie above it. Holds O(1) memory for a
// space that only grows, where a stack of single indices would hold a third of it.
class tolk_IndexStack {
 public:
  bool Empty() const { return pushed.empty() && rangeCount == 0; }
  tolk_signed Size() const { return static_cast<tolk_signed>(pushed.size() + rangeCount); }
  void Push(tolk_unsigned i) { pushed.push_back(i); }
  // The same as Push(from), Push(from + 1), ..., Push(to).
  void PushRange(tolk_unsigned from, tolk_unsigned to);
  tolk_unsigned Pop();
  void Clear();

 private:
  tolk_unsigned rangeLow = 0;    // the range holds rangeLow ... rangeLow + rangeCount - 1
  tolk_unsigned rangeCount = 0;  // and lies below every index in pushed
  std::vector<tolk_unsigned> pushed;
};

// Numbers a graph's nodes and edges densely for the arrays attached to it. Free
// indices are handed out largest first; index spaces grow by 1.3 and are compacted
// (renumbered in list order) when more than half of them is free.
class tolk_UAssocArray_Manager {
 public:
  tolk_ugraph_base* pG;
  tolk_LIST<tolk_UNodeAssoc_base*> NodeAssocList;
  tolk_LIST<tolk_UEdgeAssoc_base*> EdgeAssocList;
  tolk_IndexStack freeNodeIndices;
  tolk_IndexStack freeEdgeIndices;
  tolk_unsigned maxNodeIndex = 0;
  tolk_unsigned maxEdgeIndex = 0;

  // Numbers the graph's present nodes and edges.
  explicit tolk_UAssocArray_Manager(tolk_ugraph_base& g);
  tolk_UAssocArray_Manager(const tolk_UAssocArray_Manager&) = delete;
  tolk_UAssocArray_Manager& operator=(const tolk_UAssocArray_Manager&) = delete;
  // Arrays still registered are cut loose so that their own destructors leave the graph alone.
  ~tolk_UAssocArray_Manager();

  tolk_list_base_iter RegisterNodeAssoc(tolk_UNodeAssoc_base* a);
  tolk_list_base_iter RegisterEdgeAssoc(tolk_UEdgeAssoc_base* a);
  void DeregisterNodeAssoc(const tolk_list_base_iter& h);
  void DeregisterEdgeAssoc(const tolk_list_base_iter& h);
  bool AssocListEmpty() const { return NodeAssocList.Empty() && EdgeAssocList.Empty(); }

  tolk_unsigned AllocateNodeIndex();
  void DeallocateNodeIndex(tolk_unsigned i);
  tolk_unsigned AllocateEdgeIndex();
  void DeallocateEdgeIndex(tolk_unsigned i);
  void InitiateNodeResize();
  void InitiateEdgeResize();

 private:
  void NumberNodes();
  void NumberEdges();
};

// The slot array shared by node and edge arrays: one T per index, resized by the manager.
// Slots of a type that can be moved bytewise grow with realloc, which remaps a large
// array instead of copying it: the pages already touched stay, and a graph that grows
// by 1.3 at a time does not touch its whole history of arrays again.
template <class T, class Base>
class tolk_uassoc_slots : public Base {
 public:
  T* p = nullptr;
  tolk_unsigned size = 0;

  explicit tolk_uassoc_slots(tolk_ugraph_base& g) : Base(g) {
    size = Base::IndexLimit(g) + 1;
    p = NewSlots(size);
  }
  ~tolk_uassoc_slots() override { FreeSlots(p); }

  void Resize(tolk_unsigned** names, tolk_unsigned used, tolk_unsigned newMax) override {
    if (size < used) return;
    if constexpr (kBytewise) {
      if (size == used) {
        T* q = static_cast<T*>(realloc(p, (size_t(newMax) + 1) * sizeof(T)));
        if (q == nullptr) throw std::bad_alloc();
        InitSlots(q, size, newMax + 1);
        p = q;
        size = newMax + 1;
        return;
      }
    }
    T* q = NewSlots(newMax + 1);
    if (size > used) {
      for (tolk_unsigned i = 0; i < used; ++i) CopySlot(q[i], p[*names[i]]);
    } else {
      for (tolk_unsigned i = 0; i < size; ++i) CopySlot(q[i], p[i]);
    }
    FreeSlots(p);
    p = q;
    size = newMax + 1;
  }

 private:
  static constexpr bool kBytewise = std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>;

  // A slot may never have been written (slots of new elements start uninitialised):
  // values that move bytewise go as bytes, so that such a slot is carried along without
  // being read as a T (an indeterminate bool or enum is undefined behaviour to load).
  static void CopySlot(T& to, const T& from) {
    if constexpr (kBytewise)
      std::memcpy(static_cast<void*>(&to), static_cast<const void*>(&from), sizeof(T));
    else
      to = from;
  }
  // Default-initialises slots [from, to), as new T[] would.
  static void InitSlots(T* slots, tolk_unsigned from, tolk_unsigned to) {
    for (tolk_unsigned i = from; i < to; ++i) ::new (slots + i) T;
  }
  static T* NewSlots(tolk_unsigned n) {
    if constexpr (kBytewise) {
      T* q = static_cast<T*>(malloc(size_t(n) * sizeof(T)));
      if (q == nullptr) throw std::bad_alloc();
      InitSlots(q, 0, n);
      return q;
    } else {
      return new T[n];
    }
  }
  static void FreeSlots(T* slots) {
    if constexpr (kBytewise)
      free(slots);
    else
      delete[] slots;
  }
};

// One T per node of a graph, found in one indexed load. Slots of nodes made after the
// array are not initialised unless T's constructor does so.
template <class T>
class tolk_UNODEASSOC : public tolk_uassoc_slots<T, tolk_UNodeAssoc_base> {
 public:
  explicit tolk_UNODEASSOC(tolk_ugraph_base& g) : tolk_uassoc_slots<T, tolk_UNodeAssoc_base>(g) {}
  T& operator[](const tolk_UNode& n) { return this->p[n.Link()->name]; }
  const T& operator[](const tolk_UNode& n) const { return this->p[n.Link()->name]; }
};

// One T per edge of a graph; either link of an edge finds the same slot.
template <class T>
class tolk_UEDGEASSOC : public tolk_uassoc_slots<T, tolk_UEdgeAssoc_base> {
 public:
  explicit tolk_UEDGEASSOC(tolk_ugraph_base& g) : tolk_uassoc_slots<T, tolk_UEdgeAssoc_base>(g) {}
  T& operator[](const tolk_UEdge& e) { return this->p[e.Edge()->Index()]; }
  const T& operator[](const tolk_UEdge& e) const { return this->p[e.Edge()->Index()]; }
};
