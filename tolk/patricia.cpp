// The untyped Patricia trie: search, linking and unlinking of caller-made nodes.
#include "tolk/patricia.h"

namespace {

// Follows the link of node chosen by key's bit at the node's index.
tolk_patbase_node*& ChildFor(tolk_patbase_node* node, const unsigned char* key) {
  return tolk_patbase::bittest(key, node->b) ? node->r : node->l;
}

// The link of parent that points at child (each node has exactly one link to it
// from above and one upward link, so the pointer tells which side).
tolk_patbase_node*& LinkTo(tolk_patbase_node* parent, const tolk_patbase_node* child) {
  return parent->l == child ? parent->l : parent->r;
}

tolk_patbase_node* OtherChild(const tolk_patbase_node* node, const tolk_patbase_node* child) {
  return node->l == child ? node->r : node->l;
}

}  // namespace

tolk_patbase::tolk_patbase(tolk_unsigned keylength, NodeReleaser releaser)
    : keylength(keylength), head(new tolk_patbase_node), releaser(releaser) {
  head->key = new unsigned char[keylength]();
  head->b = -1;
  head->l = head->r = head;
}

tolk_patbase::~tolk_patbase() {
  delete[] head->key;
  delete head;
}

tolk_patbase_node* tolk_patbase::Reach(const unsigned char* key) const {
  const tolk_patbase_node* p = head;
  tolk_patbase_node* x = head->l;
  while (x->b > p->b) {
    p = x;
    x = ChildFor(x, key);
  }
  return x;
}

tolk_patbase_node* tolk_patbase::Search(const unsigned char* key) const {
  tolk_patbase_node* x = Reach(key);
  if (x == head || memcmp(x->key, key, keylength) != 0) return nullptr;
  return x;
}

tolk_signed tolk_patbase::FirstDifferingBit(const unsigned char* a, const unsigned char* b) const {
  tolk_unsigned byte = 0;
  while (a[byte] == b[byte]) ++byte;
  unsigned diff = a[byte] ^ b[byte];
  tolk_signed bit = 0;
  while (!(diff & 1u)) {
    diff >>= 1;
    ++bit;
  }
  return static_cast<tolk_signed>(byte * 8) + bit;
}

void tolk_patbase::Link(tolk_patbase_node* node, const tolk_patbase_node* reached) {
  const unsigned char* key = node->key;
  const tolk_signed bit = FirstDifferingBit(reached->key, key);
  tolk_patbase_node* p = head;
  tolk_patbase_node* x = head->l;
  while (x->b > p->b && x->b < bit) {
    p = x;
    x = ChildFor(x, key);
  }
  node->b = bit;
  if (bittest(key, bit)) {
    node->r = node;
    node->l = x;
  } else {
    node->l = node;
    node->r = x;
  }
  ChildFor(p, key) = node;
}

tolk_patbase_node* tolk_patbase::Insert(tolk_patbase_node* node) {
  tolk_patbase_node* reached = Reach(node->key);
  if (memcmp(reached->key, node->key, keylength) == 0) return reached;
  Link(node, reached);
  return nullptr;
}

tolk_patbase_node* tolk_patbase::Remove(const unsigned char* key) {
  // Descend as a search does, remembering the node p whose upward link ends the
  // search and p's parent pp.
  tolk_patbase_node* pp = nullptr;
  tolk_patbase_node* p = head;
  tolk_patbase_node* x = head->l;
  while (x->b > p->b) {
    pp = p;
    p = x;
    x = ChildFor(x, key);
  }
  if (x == head || memcmp(x->key, key, keylength) != 0) return nullptr;
  if (x == p) {
    // x tests the last bit on its own path: its other child takes its place.
    LinkTo(pp, x) = OtherChild(x, x);
    return x;
  }
  // x lies on its own key's path above p; find its parent.
  tolk_patbase_node* xp = head;
  for (tolk_patbase_node* n = head->l; n != x; n = ChildFor(n, key)) xp = n;
  // p loses its upward link to x and takes x's place in the trie.
  LinkTo(pp, p) = OtherChild(p, x);
  p->l = x->l;
  p->r = x->r;
  p->b = x->b;
  LinkTo(xp, x) = p;
  return x;
}

int tolk_patbase::Delete(const unsigned char* key) {
  tolk_patbase_node* removed = Remove(key);
  if (!removed) return 0;
  releaser(removed);
  return 1;
}

const unsigned char* tolk_patbase::getsomekey() const { return head->l == head ? nullptr : head->l->key; }
