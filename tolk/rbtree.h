// Ordered maps: red-black trees with a virtual comparison (tolk_RBTREE) or a template comparator
// (tolk_TRBTREE), and trees with dense entry indexes for side arrays (tolk_TARBTREE, tolk_TASSOC).
#pragma once

#include <cstring>
#include <functional>
#include <type_traits>

#include "tolk/assert.h"
#include "tolk/comparators.h"
#include "tolk/dqueue.h"
#include "tolk/list.h"
#include "tolk/types.h"

// ---------------------------------------------------------------------------------------------------------
// Nodes and sentinels
// ---------------------------------------------------------------------------------------------------------

enum class tolk_RBNODE_COLOR : unsigned char { RED = 0, BLACK = 1 };
enum class tolk_TRBNODE_COLOR : unsigned char { RED = 0, BLACK = 1 };

// Links of a node of the virtual-comparison family. Empty children point to the family's sentinel; the
// root's parent is null.
struct tolk_RBNode {
  typedef tolk_RBNODE_COLOR Color;
  tolk_RBNode* left;
  tolk_RBNode* right;
  tolk_RBNode* parent;
  tolk_RBNODE_COLOR color;
};

// Links of a node of the template-comparator family.
struct tolk_TRBNode {
  typedef tolk_TRBNODE_COLOR Color;
  tolk_TRBNode* left;
  tolk_TRBNode* right;
  tolk_TRBNode* parent;
  tolk_TRBNODE_COLOR color;
};

// The shared leaf of every tree of one family: black, children itself, no parent. Constant-initialised
// and read-only, so no operation can write it.
struct tolk_SentinelFrame : tolk_RBNode {
  constexpr tolk_SentinelFrame() : tolk_RBNode{this, this, nullptr, tolk_RBNODE_COLOR::BLACK} {}
};
struct tolk_TSentinelFrame : tolk_TRBNode {
  constexpr tolk_TSentinelFrame() : tolk_TRBNode{this, this, nullptr, tolk_TRBNODE_COLOR::BLACK} {}
};

template <class K, class V>
struct tolk_RBNODE : tolk_RBNode {
  K key;
  V data;
  tolk_RBNODE(const K& k, const V& v) : key(k), data(v) {}
};

template <class K, class V, class C>
struct tolk_TRBNODE : tolk_TRBNode {
  K key;
  V data;
  tolk_TRBNODE(const K& k, const V& v) : key(k), data(v) {}
};

// Adds the entry's index into the side arrays; all ones while no index manager has numbered it.
template <class K, class V, class C>
struct tolk_TARBNODE : tolk_TRBNODE<K, V, C> {
  tolk_unsigned name = ~tolk_unsigned(0);
  tolk_TARBNODE(const K& k, const V& v) : tolk_TRBNODE<K, V, C>(k, v) {}
};

// ---------------------------------------------------------------------------------------------------------
// Iterators
// ---------------------------------------------------------------------------------------------------------

// A position in a tree of one family: one node pointer, null at the end. Positions of other entries stay
// valid across insertions and removals.
template <class Node, class Tree>
class tolk_RBIterOf {
 public:
  Node* pos = nullptr;

  tolk_RBIterOf() = default;
  explicit tolk_RBIterOf(Node* node) : pos(node) {}

  tolk_RBIterOf& First(const Tree& tree) {
    pos = tree.Minimum();
    return *this;
  }
  tolk_RBIterOf& Last(const Tree& tree) {
    pos = tree.Maximum();
    return *this;
  }
  tolk_RBIterOf& Next() {
    pos = Tree::Successor(pos);
    return *this;
  }
  tolk_RBIterOf& Previous() {
    pos = Tree::Predecessor(pos);
    return *this;
  }
  bool End() const { return pos == nullptr; }
  void MakeEnd() { pos = nullptr; }

  bool operator==(const tolk_RBIterOf& o) const { return pos == o.pos; }
  bool operator!=(const tolk_RBIterOf& o) const { return pos != o.pos; }
  bool operator<(const tolk_RBIterOf& o) const { return std::less<Node*>()(pos, o.pos); }
  bool operator>(const tolk_RBIterOf& o) const { return std::less<Node*>()(o.pos, pos); }
};

class tolk_RBTree_base;
class tolk_TRBTree_base;
typedef tolk_RBIterOf<tolk_RBNode, tolk_RBTree_base> tolk_RBTreeIter;
typedef tolk_RBIterOf<tolk_TRBNode, tolk_TRBTree_base> tolk_TRBTreeIter;

// ---------------------------------------------------------------------------------------------------------
// Untyped trees
// ---------------------------------------------------------------------------------------------------------

// Descents shared by every tree. cmp(n) answers the probe compared with node n (probe first).
namespace tolk_rbdescent {

template <class Node, class F>
Node* FindEqual(Node* n, const Node* nil, F cmp) {
  while (n != nil) {
    tolk_signed c = cmp(n);
    if (c == 0) return n;
    n = c < 0 ? n->left : n->right;
  }
  return nullptr;
}

// An equal node, else the last node at which the descent went right (Pred) or left (Succ), else null.
template <bool Pred, class Node, class F>
Node* FindNeighbour(Node* n, const Node* nil, F cmp) {
  Node* candidate = nullptr;
  while (n != nil) {
    tolk_signed c = cmp(n);
    if (c == 0) return n;
    if ((c > 0) == Pred) candidate = n;
    n = c < 0 ? n->left : n->right;
  }
  return candidate;
}

// Where a new node goes: the empty child slot of parent (null for an empty tree) on the given side. Without
// Multi an equal node stops the descent and is answered in equal; with Multi equal keys go left, so the
// new node comes before every equal one.
template <class Node>
struct Slot {
  Node* equal = nullptr;
  Node* parent = nullptr;
  bool left = true;
};

template <bool Multi, class Node, class F>
Slot<Node> FindSlot(Node* n, const Node* nil, F cmp) {
  Slot<Node> slot;
  while (n != nil) {
    tolk_signed c = cmp(n);
    if (!Multi && c == 0) {
      slot.equal = n;
      return slot;
    }
    slot.parent = n;
    slot.left = Multi ? c <= 0 : c < 0;
    n = slot.left ? n->left : n->right;
  }
  return slot;
}

}  // namespace tolk_rbdescent

// Base of the virtual-comparison family. Rotations and Extension_Fix are virtual so that a tree keeping
// extra data per node can follow the restructuring; Compare orders two nodes, probe first.
class tolk_RBTree_base {
 public:
  typedef tolk_RBNode NodeBase;
  static const tolk_SentinelFrame nullNode;
  static tolk_RBNode* Nil() { return const_cast<tolk_SentinelFrame*>(&nullNode); }

  tolk_RBNode* root;

  tolk_RBTree_base() : root(Nil()) {}
  tolk_RBTree_base(const tolk_RBTree_base&) = delete;
  tolk_RBTree_base& operator=(const tolk_RBTree_base&) = delete;

  virtual void Extension_Fix(tolk_RBNode*) {}
  virtual void Left_Rotate(tolk_RBNode* x);
  virtual void Right_Rotate(tolk_RBNode* x);
  virtual tolk_signed Compare(tolk_RBNode* a, tolk_RBNode* b) const = 0;
  virtual ~tolk_RBTree_base() = default;

  // Hangs node unless an equal one is present; answers that one (the caller discards its node) or null.
  tolk_RBNode* Insert(tolk_RBNode* node);
  void InsertMulti(tolk_RBNode* node);
  tolk_RBNode* Search(tolk_RBNode* probe) const;
  tolk_RBNode* PredSearch(tolk_RBNode* probe) const;
  tolk_RBNode* SuccSearch(tolk_RBNode* probe) const;
  // Unlink and hand back the node (null when none); the caller deletes it.
  tolk_RBNode* Remove(tolk_RBNode* probe);
  tolk_RBNode* Remove(tolk_RBTreeIter it);
  tolk_RBNode* RawRemove(tolk_RBNode* node);
  static tolk_RBNode* POS(tolk_RBTreeIter it) { return it.pos; }

  tolk_RBNode* Minimum() const;  // null on an empty tree
  tolk_RBNode* Maximum() const;
  static tolk_RBNode* Successor(tolk_RBNode* node);  // null past the largest
  static tolk_RBNode* Predecessor(tolk_RBNode* node);

 protected:
  // Makes node a red leaf at the given empty slot and rebalances.
  void Hang(tolk_RBNode* node, tolk_RBNode* parent, bool left);
  template <class N>
  void Added(N*) {}
  template <class N>
  void Removed(N*) {}
};

// Base of the template-comparator family: the same algorithm without a virtual table. Searching by key
// lives in the typed tree, where the comparator's type is known.
class tolk_TRBTree_base {
 public:
  typedef tolk_TRBNode NodeBase;
  static const tolk_TSentinelFrame nullNode;
  static tolk_TRBNode* Nil() { return const_cast<tolk_TSentinelFrame*>(&nullNode); }

  tolk_TRBNode* root;

  tolk_TRBTree_base() : root(Nil()) {}
  tolk_TRBTree_base(const tolk_TRBTree_base&) = delete;
  tolk_TRBTree_base& operator=(const tolk_TRBTree_base&) = delete;

  void Extension_Fix(tolk_TRBNode*) {}
  void Left_Rotate(tolk_TRBNode* x);
  void Right_Rotate(tolk_TRBNode* x);

  tolk_TRBNode* RawRemove(tolk_TRBNode* node);
  static tolk_TRBNode* POS(tolk_TRBTreeIter it) { return it.pos; }
  tolk_TRBNode* Minimum() const;
  tolk_TRBNode* Maximum() const;
  static tolk_TRBNode* Successor(tolk_TRBNode* node);
  static tolk_TRBNode* Predecessor(tolk_TRBNode* node);

 protected:
  void Hang(tolk_TRBNode* node, tolk_TRBNode* parent, bool left);
  template <class N>
  void Added(N*) {}
  template <class N>
  void Removed(N*) {}
};

// ---------------------------------------------------------------------------------------------------------
// Typed trees
// ---------------------------------------------------------------------------------------------------------

// Keyed operations over one of the bases. Keys and values are copied in; pointer values are never
// released. Insert never overwrites: an equal key leaves the stored value as it is.
template <class Base, class K, class V, class Node, class Iter, class Cmp>
class tolk_RBTypedTree : public Base {
 public:
  typedef typename Base::NodeBase NodeBase;
  const Cmp* cmp;  // not owned

  explicit tolk_RBTypedTree(const Cmp* comparator) : cmp(comparator) {}
  ~tolk_RBTypedTree() {
    while (!Empty()) delete static_cast<Node*>(Base::RawRemove(Base::Minimum()));
  }

  // Null when a new entry was made, else the value already stored under an equal key.
  V* Insert(const K& k, const V& v) {
    Slot at = Locate<false>(k);
    if (at.equal) return &AsNode(at.equal)->data;
    Hook(new Node(k, v), at);
    return nullptr;
  }
  // Always adds; iteration yields equal keys newest first.
  Iter InsertMulti(const K& k, const V& v) {
    Node* node = new Node(k, v);
    InsertMulti(node);
    return Iter(node);
  }

  V* Search(const K& k) const {
    NodeBase* n = FindEqual(k);
    return n ? &AsNode(n)->data : nullptr;
  }
  Iter ElemSearch(const K& k) const { return Iter(FindEqual(k)); }
  Iter ElemSearchPred(const K& k) const {
    return Iter(tolk_rbdescent::FindNeighbour<true>(this->root, Base::Nil(), ByKey(k)));
  }
  Iter ElemSearchSucc(const K& k) const {
    return Iter(tolk_rbdescent::FindNeighbour<false>(this->root, Base::Nil(), ByKey(k)));
  }

  // 0 when an entry went, 1 when none had the key (the end position counts as none).
  int Delete(const K& k) { return Delete(Iter(FindEqual(k))); }
  int Delete(Iter it) {
    if (it.End()) return 1;
    delete AsNode(RawRemove(it.pos));
    return 0;
  }

  static V& Value(Iter it) { return AsNode(it.pos)->data; }
  static const K& Key(Iter it) { return AsNode(it.pos)->key; }
  bool Empty() const { return this->root == Base::Nil(); }
  Iter First() const { return Iter(Base::Minimum()); }
  Iter Last() const { return Iter(Base::Maximum()); }

  // Operations on caller-made nodes; nodes handed back are the caller's to delete.
  Node* Insert(Node* node) {
    Slot at = Locate<false>(node->key);
    if (at.equal) return AsNode(at.equal);
    Hook(node, at);
    return nullptr;
  }
  void InsertMulti(Node* node) { Hook(node, Locate<true>(node->key)); }
  Node* Search(Node* probe) const { return AsNode(FindEqual(probe->key)); }
  Node* PredSearch(Node* probe) const { return AsNode(ElemSearchPred(probe->key).pos); }
  Node* SuccSearch(Node* probe) const { return AsNode(ElemSearchSucc(probe->key).pos); }
  Node* Remove(Node* probe) {
    NodeBase* n = FindEqual(probe->key);
    return n ? RawRemove(n) : nullptr;
  }
  Node* Remove(Iter it) { return it.End() ? nullptr : RawRemove(it.pos); }
  Node* RawRemove(NodeBase* node) {
    Base::RawRemove(node);
    this->Removed(AsNode(node));
    return AsNode(node);
  }
  static Node* POS(Iter it) { return AsNode(it.pos); }

 private:
  typedef tolk_rbdescent::Slot<NodeBase> Slot;

  static Node* AsNode(NodeBase* n) { return static_cast<Node*>(n); }
  auto ByKey(const K& k) const {
    return [this, &k](NodeBase* n) { return cmp->Compare(k, AsNode(n)->key); };
  }
  NodeBase* FindEqual(const K& k) const { return tolk_rbdescent::FindEqual(this->root, Base::Nil(), ByKey(k)); }
  template <bool Multi>
  Slot Locate(const K& k) const {
    return tolk_rbdescent::FindSlot<Multi>(this->root, Base::Nil(), ByKey(k));
  }
  void Hook(Node* node, const Slot& at) {
    this->Hang(node, at.parent, at.left);
    this->Added(node);
  }
};

// Map with a virtual comparison: Compare forwards the nodes' keys to a tolk_Comparator<K> (not owned). The
// keyed operations ask the comparator directly, with the same answers; Compare serves the base's
// operations on untyped nodes.
template <class K, class V>
class tolk_RBTREE
    : public tolk_RBTypedTree<tolk_RBTree_base, K, V, tolk_RBNODE<K, V>, tolk_RBTreeIter, tolk_Comparator<K>> {
  typedef tolk_RBNODE<K, V> Node;

 public:
  explicit tolk_RBTREE(const tolk_Comparator<K>* comparator)
      : tolk_RBTypedTree<tolk_RBTree_base, K, V, Node, tolk_RBTreeIter, tolk_Comparator<K>>(comparator) {}
  ~tolk_RBTREE() override = default;

  tolk_signed Compare(tolk_RBNode* a, tolk_RBNode* b) const override {
    return this->cmp->Compare(static_cast<Node*>(a)->key, static_cast<Node*>(b)->key);
  }
};

// Map whose comparator class C is known at compile time (C::Compare(a, b) is called directly).
template <class K, class V, class C>
class tolk_TRBTREE : public tolk_RBTypedTree<tolk_TRBTree_base, K, V, tolk_TRBNODE<K, V, C>, tolk_TRBTreeIter, C> {
 public:
  explicit tolk_TRBTREE(const C* comparator)
      : tolk_RBTypedTree<tolk_TRBTree_base, K, V, tolk_TRBNODE<K, V, C>, tolk_TRBTreeIter, C>(comparator) {}
};

// ---------------------------------------------------------------------------------------------------------
// Side arrays
// ---------------------------------------------------------------------------------------------------------

class tolk_TAssocArray_Manager;

// One side array as its manager sees it.
class tolk_TAssocArray_base {
 public:
  virtual ~tolk_TAssocArray_base() = default;
  // Called by the manager only. With names (compaction) slot i of the new array takes the old slot of the
  // entry *names[i], i < used; without (growth) the old slots stay where they are. Either way the array
  // ends up with newMax + 1 slots.
  virtual void Resize(tolk_unsigned** names, tolk_unsigned used, tolk_unsigned newMax) = 0;

 protected:
  friend class tolk_TAssocArray_Manager;
  // Prints the message for an array that has fewer slots than entries in use.
  static void ReportInvalidResize();

  tolk_SLIST_ELEM reg_handle;             // position in the manager's list
  tolk_TAssocArray_Manager* pM = nullptr;  // null once the manager has gone before this array
};

// Hands out dense entry indexes for one tree and resizes the registered arrays together: by 1.3 when
// the indexes run out, compacting (renumbering in key order) when more than half of them are free.
class tolk_TAssocArray_Manager {
 public:
  typedef tolk_unsigned* (*NameOf)(tolk_TRBNode* entry);

  // Numbers the entries present 0 … n-1 in key order and keeps ceil(n × 1.3) - n + 1 indexes free.
  tolk_TAssocArray_Manager(tolk_TRBTree_base* container, NameOf nameOf);
  ~tolk_TAssocArray_Manager();
  tolk_TAssocArray_Manager(const tolk_TAssocArray_Manager&) = delete;
  tolk_TAssocArray_Manager& operator=(const tolk_TAssocArray_Manager&) = delete;

  tolk_SLIST_ELEM RegisterAssoc(tolk_TAssocArray_base* array);
  void DeregisterAssoc(tolk_SLIST_ELEM handle);
  tolk_unsigned AllocateIndex();
  void DeallocateIndex(tolk_unsigned index);
  tolk_unsigned GetMaxIndex() const { return maxIndex; }
  bool AssocListEmpty() const { return AssocList.Empty(); }
  void InitiateResize();

  tolk_TRBTree_base* pCont;
  tolk_SLIST<tolk_TAssocArray_base*> AssocList;
  tolk_STACK<tolk_unsigned> freeIndices;
  tolk_unsigned maxIndex = 0;

 private:
  void PushFree(tolk_unsigned from, tolk_unsigned to);
  NameOf nameOf;
};

// Base of tolk_TARBTREE: owns the index manager while side arrays exist, and keeps entry indexes
// allocated as entries come and go.
class tolk_TARBTree_base : public tolk_TRBTree_base {
 public:
  tolk_TAssocArray_Manager* pAssocM = nullptr;

  ~tolk_TARBTree_base() { delete pAssocM; }
  void DeactivateAssocManager() {
    delete pAssocM;
    pAssocM = nullptr;
  }

 protected:
  template <class N>
  void Added(N* node) {
    if (pAssocM) node->name = pAssocM->AllocateIndex();
  }
  // The entry must already be out of the tree, for a compaction renumbers the entries in it.
  template <class N>
  void Removed(N* node) {
    if (pAssocM) pAssocM->DeallocateIndex(node->name);
  }
};

// A position in a tolk_TARBTREE, with access to the entry's side-array index.
template <class K, class V, class C>
class tolk_TARBTREE_ITER : public tolk_TRBTreeIter {
 public:
  using tolk_TRBTreeIter::tolk_TRBTreeIter;
  tolk_TARBTREE_ITER() = default;
  tolk_TARBTREE_ITER(const tolk_TRBTreeIter& it) : tolk_TRBTreeIter(it) {}

  tolk_unsigned GetName() const { return *GetNameAddr(); }
  void SetName(tolk_unsigned name) { *GetNameAddr() = name; }
  tolk_unsigned* GetNameAddr() const { return &static_cast<tolk_TARBNODE<K, V, C>*>(pos)->name; }
};

// Map whose entries carry a dense index, so that side arrays (tolk_TASSOC) hold one extra value per entry.
template <class K, class V, class C>
class tolk_TARBTREE : public tolk_RBTypedTree<tolk_TARBTree_base, K, V, tolk_TARBNODE<K, V, C>,
                                              tolk_TARBTREE_ITER<K, V, C>, C> {
  typedef tolk_TARBNODE<K, V, C> Node;

 public:
  typedef tolk_TARBTREE_ITER<K, V, C> Iter;

  explicit tolk_TARBTREE(const C* comparator)
      : tolk_RBTypedTree<tolk_TARBTree_base, K, V, Node, Iter, C>(comparator) {}

  tolk_TAssocArray_Manager* ActivateAssocManager() {
    if (!this->pAssocM) this->pAssocM = new tolk_TAssocArray_Manager(this, &NameOf);
    return this->pAssocM;
  }

 private:
  static tolk_unsigned* NameOf(tolk_TRBNode* entry) { return &static_cast<Node*>(entry)->name; }
};

// One value of type T per entry of a tolk_TARBTREE, reached through the entry's index in constant time.
// New slots are default-initialised: they hold a value only when T's constructor gives them one.
template <class T, class Tree, class Iter>
class tolk_TASSOC : public tolk_TAssocArray_base {
 public:
  explicit tolk_TASSOC(Tree& tree) {
    pM = tree.ActivateAssocManager();
    reg_handle = pM->RegisterAssoc(this);
    size = pM->GetMaxIndex() + 1;
    p = new T[size];
  }
  tolk_TASSOC(const tolk_TASSOC&) = delete;
  tolk_TASSOC& operator=(const tolk_TASSOC&) = delete;
  ~tolk_TASSOC() override {
    if (pM) {
      pM->DeregisterAssoc(reg_handle);
      if (pM->AssocListEmpty()) static_cast<Tree*>(pM->pCont)->DeactivateAssocManager();
    }
    delete[] p;
  }

  T& operator[](const Iter& it) { return p[it.GetName()]; }
  const T& operator[](const Iter& it) const { return p[it.GetName()]; }

  void Resize(tolk_unsigned** names, tolk_unsigned used, tolk_unsigned newMax) override;

  T* p;
  tolk_unsigned size;

 private:
  // Slots that were never written may be moved here: trivially copyable values go as bytes, so that an
  // indeterminate value is carried along without being read.
  static void MoveSlot(T& to, T& from) {
    if constexpr (std::is_trivially_copyable_v<T>)
      std::memcpy(static_cast<void*>(&to), static_cast<const void*>(&from), sizeof(T));
    else
      to = std::move(from);
  }
};

template <class T, class Tree, class Iter>
void tolk_TASSOC<T, Tree, Iter>::Resize(tolk_unsigned** names, tolk_unsigned used, tolk_unsigned newMax) {
  if (size < used) {
    ReportInvalidResize();
    return;
  }
  TOLK_ASSERT(size == used || used == 0 || names, "side array compaction without the entries' indexes");
  T* fresh = new T[newMax + 1];
  if (size > used) {
    for (tolk_unsigned i = 0; i < used; ++i) MoveSlot(fresh[i], p[*names[i]]);
  } else {
    for (tolk_unsigned i = 0; i < size; ++i) MoveSlot(fresh[i], p[i]);
  }
  delete[] p;
  p = fresh;
  size = newMax + 1;
}
