// Untyped red-black algorithms shared by both tree families, and the side-array index manager.
#include "tolk/rbtree.h"

#include <cmath>
#include <cstdio>
#include <vector>

namespace {

// Rebalancing and walking for one family. Tree supplies root, Nil() and the rotation and Extension_Fix
// hooks; the sentinel is only ever read.
template <class Tree, class Node>
class RedBlack {
  typedef typename Node::Color Color;

 public:
  static Node* Nil() { return Tree::Nil(); }

  static void RotateLeft(Tree& t, Node* x) {
    Node* y = x->right;
    x->right = y->left;
    if (y->left != Nil()) y->left->parent = x;
    Replace(t, x, y);
    y->left = x;
    x->parent = y;
  }

  static void RotateRight(Tree& t, Node* x) {
    Node* y = x->left;
    x->left = y->right;
    if (y->right != Nil()) y->right->parent = x;
    Replace(t, x, y);
    y->right = x;
    x->parent = y;
  }

  static void Hang(Tree& t, Node* z, Node* parent, bool left) {
    z->left = z->right = Nil();
    z->parent = parent;
    z->color = Color::RED;
    if (!parent) {
      t.root = z;
    } else {
      (left ? parent->left : parent->right) = z;
      t.Extension_Fix(parent);
    }
    InsertFix(t, z);
  }

  // A node with two real children is replaced by its in-order successor, so the node object of every
  // other entry stays where it is.
  static void Unlink(Tree& t, Node* z) {
    Node* x;        // what moves up into the vacated position
    Node* xParent;  // that position's parent, passed along because x may be the sentinel
    Color removed;
    if (z->left != Nil() && z->right != Nil()) {
      Node* y = SubtreeMinimum(z->right);
      removed = y->color;
      x = y->right;
      if (y->parent == z) {
        xParent = y;
      } else {
        xParent = y->parent;
        xParent->left = x;
        if (x != Nil()) x->parent = xParent;
        y->right = z->right;
        y->right->parent = y;
      }
      Replace(t, z, y);
      y->left = z->left;
      y->left->parent = y;
      y->color = z->color;
    } else {
      removed = z->color;
      x = z->left != Nil() ? z->left : z->right;
      xParent = z->parent;
      Replace(t, z, x);
    }
    if (xParent) t.Extension_Fix(xParent);
    if (removed == Color::BLACK) RemoveFix(t, x, xParent);
    z->left = z->right = z->parent = nullptr;
  }

  static Node* SubtreeMinimum(Node* n) {
    while (n->left != Nil()) n = n->left;
    return n;
  }
  static Node* SubtreeMaximum(Node* n) {
    while (n->right != Nil()) n = n->right;
    return n;
  }

  static Node* Successor(Node* n) {
    if (!n) return nullptr;
    if (n->right != Nil()) return SubtreeMinimum(n->right);
    while (n->parent && n == n->parent->right) n = n->parent;
    return n->parent;
  }
  static Node* Predecessor(Node* n) {
    if (!n) return nullptr;
    if (n->left != Nil()) return SubtreeMaximum(n->left);
    while (n->parent && n == n->parent->left) n = n->parent;
    return n->parent;
  }

  static Node* Minimum(const Tree& t) { return t.root == Nil() ? nullptr : SubtreeMinimum(t.root); }
  static Node* Maximum(const Tree& t) { return t.root == Nil() ? nullptr : SubtreeMaximum(t.root); }

 private:
  // Puts v (possibly the sentinel) where u hangs.
  static void Replace(Tree& t, Node* u, Node* v) {
    if (!u->parent)
      t.root = v;
    else if (u == u->parent->left)
      u->parent->left = v;
    else
      u->parent->right = v;
    if (v != Nil()) v->parent = u->parent;
  }

  static bool IsRed(const Node* n) { return n->color == Color::RED; }

  static void InsertFix(Tree& t, Node* z) {
    while (z->parent && IsRed(z->parent)) {
      Node* p = z->parent;
      Node* g = p->parent;  // a red node is never the root
      bool parentIsLeft = p == g->left;
      Node* uncle = parentIsLeft ? g->right : g->left;
      if (IsRed(uncle)) {
        p->color = uncle->color = Color::BLACK;
        g->color = Color::RED;
        z = g;
        continue;
      }
      if (z == (parentIsLeft ? p->right : p->left)) {
        z = p;
        Rotate(t, z, parentIsLeft);
        p = z->parent;
      }
      p->color = Color::BLACK;
      g->color = Color::RED;
      Rotate(t, g, !parentIsLeft);
    }
    t.root->color = Color::BLACK;
  }

  static void RemoveFix(Tree& t, Node* x, Node* parent) {
    while (x != t.root && !IsRed(x)) {
      bool isLeft = x == parent->left;
      Node* w = isLeft ? parent->right : parent->left;  // real: x's side lost a black node
      if (IsRed(w)) {
        w->color = Color::BLACK;
        parent->color = Color::RED;
        Rotate(t, parent, isLeft);
        w = isLeft ? parent->right : parent->left;
      }
      Node* nearChild = isLeft ? w->left : w->right;
      Node* farChild = isLeft ? w->right : w->left;
      if (!IsRed(nearChild) && !IsRed(farChild)) {
        w->color = Color::RED;
        x = parent;
        parent = x->parent;
        continue;
      }
      if (!IsRed(farChild)) {
        nearChild->color = Color::BLACK;
        w->color = Color::RED;
        Rotate(t, w, !isLeft);
        w = isLeft ? parent->right : parent->left;
        farChild = isLeft ? w->right : w->left;
      }
      w->color = parent->color;
      parent->color = Color::BLACK;
      farChild->color = Color::BLACK;
      Rotate(t, parent, isLeft);
      x = t.root;
    }
    if (x != Nil()) x->color = Color::BLACK;
  }

  // Rotates through the tree's own operations, which may be overridden.
  static void Rotate(Tree& t, Node* n, bool left) {
    if (left)
      t.Left_Rotate(n);
    else
      t.Right_Rotate(n);
  }
};

typedef RedBlack<tolk_RBTree_base, tolk_RBNode> VirtualFamily;

// The probe against one node, through the tree's virtual Compare.
auto Against(const tolk_RBTree_base& tree, tolk_RBNode* probe) {
  return [&tree, probe](tolk_RBNode* n) { return tree.Compare(probe, n); };
}
typedef RedBlack<tolk_TRBTree_base, tolk_TRBNode> TemplateFamily;

}  // namespace

// ---------------------------------------------------------------------------------------------------------
// Virtual-comparison family
// ---------------------------------------------------------------------------------------------------------

constinit const tolk_SentinelFrame tolk_RBTree_base::nullNode;

void tolk_RBTree_base::Left_Rotate(tolk_RBNode* x) { VirtualFamily::RotateLeft(*this, x); }
void tolk_RBTree_base::Right_Rotate(tolk_RBNode* x) { VirtualFamily::RotateRight(*this, x); }
void tolk_RBTree_base::Hang(tolk_RBNode* node, tolk_RBNode* parent, bool left) {
  VirtualFamily::Hang(*this, node, parent, left);
}

tolk_RBNode* tolk_RBTree_base::Insert(tolk_RBNode* node) {
  tolk_rbdescent::Slot<tolk_RBNode> at = tolk_rbdescent::FindSlot<false>(root, Nil(), Against(*this, node));
  if (!at.equal) Hang(node, at.parent, at.left);
  return at.equal;
}

void tolk_RBTree_base::InsertMulti(tolk_RBNode* node) {
  tolk_rbdescent::Slot<tolk_RBNode> at = tolk_rbdescent::FindSlot<true>(root, Nil(), Against(*this, node));
  Hang(node, at.parent, at.left);
}

tolk_RBNode* tolk_RBTree_base::Search(tolk_RBNode* probe) const {
  return tolk_rbdescent::FindEqual(root, Nil(), Against(*this, probe));
}

tolk_RBNode* tolk_RBTree_base::PredSearch(tolk_RBNode* probe) const {
  return tolk_rbdescent::FindNeighbour<true>(root, Nil(), Against(*this, probe));
}

tolk_RBNode* tolk_RBTree_base::SuccSearch(tolk_RBNode* probe) const {
  return tolk_rbdescent::FindNeighbour<false>(root, Nil(), Against(*this, probe));
}

tolk_RBNode* tolk_RBTree_base::Remove(tolk_RBNode* probe) {
  tolk_RBNode* found = Search(probe);
  return found ? RawRemove(found) : nullptr;
}

tolk_RBNode* tolk_RBTree_base::Remove(tolk_RBTreeIter it) { return it.End() ? nullptr : RawRemove(it.pos); }

tolk_RBNode* tolk_RBTree_base::RawRemove(tolk_RBNode* node) {
  VirtualFamily::Unlink(*this, node);
  return node;
}

tolk_RBNode* tolk_RBTree_base::Minimum() const { return VirtualFamily::Minimum(*this); }
tolk_RBNode* tolk_RBTree_base::Maximum() const { return VirtualFamily::Maximum(*this); }
tolk_RBNode* tolk_RBTree_base::Successor(tolk_RBNode* node) { return VirtualFamily::Successor(node); }
tolk_RBNode* tolk_RBTree_base::Predecessor(tolk_RBNode* node) { return VirtualFamily::Predecessor(node); }

// ---------------------------------------------------------------------------------------------------------
// Template-comparator family
// ---------------------------------------------------------------------------------------------------------

constinit const tolk_TSentinelFrame tolk_TRBTree_base::nullNode;

void tolk_TRBTree_base::Left_Rotate(tolk_TRBNode* x) { TemplateFamily::RotateLeft(*this, x); }
void tolk_TRBTree_base::Right_Rotate(tolk_TRBNode* x) { TemplateFamily::RotateRight(*this, x); }
void tolk_TRBTree_base::Hang(tolk_TRBNode* node, tolk_TRBNode* parent, bool left) {
  TemplateFamily::Hang(*this, node, parent, left);
}

tolk_TRBNode* tolk_TRBTree_base::RawRemove(tolk_TRBNode* node) {
  TemplateFamily::Unlink(*this, node);
  return node;
}

tolk_TRBNode* tolk_TRBTree_base::Minimum() const { return TemplateFamily::Minimum(*this); }
tolk_TRBNode* tolk_TRBTree_base::Maximum() const { return TemplateFamily::Maximum(*this); }
tolk_TRBNode* tolk_TRBTree_base::Successor(tolk_TRBNode* node) { return TemplateFamily::Successor(node); }
tolk_TRBNode* tolk_TRBTree_base::Predecessor(tolk_TRBNode* node) { return TemplateFamily::Predecessor(node); }

// ---------------------------------------------------------------------------------------------------------
// Side-array indexes
// ---------------------------------------------------------------------------------------------------------

namespace {

tolk_unsigned GrownMaxIndex(tolk_unsigned used) {
  return static_cast<tolk_unsigned>(std::ceil(static_cast<double>(used) * 1.3));
}

}  // namespace

void tolk_TAssocArray_base::ReportInvalidResize() {
  fputs("Internal: Assoc Resize invalid size condition \n\n", stderr);
  fflush(stderr);
}

tolk_TAssocArray_Manager::tolk_TAssocArray_Manager(tolk_TRBTree_base* container, NameOf nameOf)
    : pCont(container), nameOf(nameOf) {
  tolk_unsigned n = 0;
  for (tolk_TRBNode* e = pCont->Minimum(); e; e = tolk_TRBTree_base::Successor(e)) *nameOf(e) = n++;
  maxIndex = GrownMaxIndex(n);
  PushFree(n, maxIndex);
}

tolk_TAssocArray_Manager::~tolk_TAssocArray_Manager() {
  if (AssocList.Empty()) return;
  fputs(" Error, last assoc. list destructed with active associative arrays!\n", stderr);
  fflush(stderr);
  for (tolk_SLIST_ELEM it = AssocList.First(); !it.End(); it.Next()) AssocList.Value(it)->pM = nullptr;
}

tolk_SLIST_ELEM tolk_TAssocArray_Manager::RegisterAssoc(tolk_TAssocArray_base* array) {
  return AssocList.Insert(array);
}

void tolk_TAssocArray_Manager::DeregisterAssoc(tolk_SLIST_ELEM handle) { AssocList.Delete(handle); }

tolk_unsigned tolk_TAssocArray_Manager::AllocateIndex() {
  if (freeIndices.Empty()) InitiateResize();
  return freeIndices.Pop();
}

void tolk_TAssocArray_Manager::DeallocateIndex(tolk_unsigned index) {
  freeIndices.Push(index);
  if (static_cast<tolk_unsigned>(freeIndices.Size()) > (maxIndex + 1) / 2) InitiateResize();
}

void tolk_TAssocArray_Manager::InitiateResize() {
  tolk_unsigned used = maxIndex + 1 - static_cast<tolk_unsigned>(freeIndices.Size());
  tolk_unsigned newMax = GrownMaxIndex(used);
  if (!freeIndices.Empty()) {
    std::vector<tolk_unsigned*> names;
    names.reserve(used);
    for (tolk_TRBNode* e = pCont->Minimum(); e; e = tolk_TRBTree_base::Successor(e)) names.push_back(nameOf(e));
    TOLK_ASSERT(names.size() == used, "side array indexes out of step with the entries");
    for (tolk_SLIST_ELEM it = AssocList.First(); !it.End(); it.Next())
      AssocList.Value(it)->Resize(names.data(), used, newMax);
    for (tolk_unsigned i = 0; i < used; ++i) *names[i] = i;
    freeIndices.Clear();
  } else {
    for (tolk_SLIST_ELEM it = AssocList.First(); !it.End(); it.Next()) AssocList.Value(it)->Resize(nullptr, used, newMax);
  }
  maxIndex = newMax;
  PushFree(used, newMax);
}

void tolk_TAssocArray_Manager::PushFree(tolk_unsigned from, tolk_unsigned to) {
  for (tolk_unsigned i = from; i <= to; ++i) freeIndices.Push(i);
}
