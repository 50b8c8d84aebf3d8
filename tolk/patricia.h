// Patricia tries over the raw bytes of fixed-length keys: the untyped trie and the typed map.
#pragma once

#include <array>
#include <bit>
#include <cstring>
#include <type_traits>

#include "tolk/types.h"

// One trie node. The head node carries the all-zero key and tests bit -1.
struct tolk_patbase_node {
  tolk_patbase_node* l = nullptr;
  tolk_patbase_node* r = nullptr;
  unsigned char* key = nullptr;  // keylength bytes, owned by whoever made the node
  tolk_signed b = 0;             // index of the bit this node tests
};

// The untyped trie. It links and unlinks caller-made nodes; only Delete and the
// destructor free anything (Delete through the node releaser given at construction,
// the destructor only the head, so the owner must empty the trie first).
// Bit i of a key is bit (i mod 8), counted from the least significant, of byte (i div 8).
class tolk_patbase {
 public:
  using NodeReleaser = void (*)(tolk_patbase_node*);

  explicit tolk_patbase(tolk_unsigned keylength, NodeReleaser releaser = DeletePlainNode);
  ~tolk_patbase();
  tolk_patbase(const tolk_patbase&) = delete;
  tolk_patbase& operator=(const tolk_patbase&) = delete;

  // The node holding key, or null. The all-zero key is never found: the head owns it.
  tolk_patbase_node* Search(const unsigned char* key) const;
  // Null after linking node; the node already holding its key otherwise (the head
  // for the all-zero key, which no node may hold).
  tolk_patbase_node* Insert(tolk_patbase_node* node);
  // Unlinks and returns the node holding key, or null when there is none.
  tolk_patbase_node* Remove(const unsigned char* key);
  // Removes and releases: 1 when a node was removed, 0 when the key was absent.
  int Delete(const unsigned char* key);
  // The key of some linked node, or null when the trie holds none.
  const unsigned char* getsomekey() const;

  static int bittest(const unsigned char* key, tolk_signed bit) {
    if (bit < 0) return 0;
    return (key[bit >> 3] >> (bit & 7)) & 1;
  }

 protected:
  bool IsZeroKey(const void* key) const { return memcmp(key, head->key, keylength) == 0; }
  // Where a search for key ends: the target of the first upward link on its path.
  tolk_patbase_node* Reach(const unsigned char* key) const;
  // Links node, whose key differs from that of reached (the end of its search).
  void Link(tolk_patbase_node* node, const tolk_patbase_node* reached);

  tolk_unsigned keylength;
  tolk_patbase_node* head;

 private:
  static void DeletePlainNode(tolk_patbase_node* node) { delete node; }
  tolk_signed FirstDifferingBit(const unsigned char* a, const unsigned char* b) const;

  NodeReleaser releaser;
};

template <class K, class V>
struct tolk_PATRICIA_NODE : tolk_patbase_node {
  tolk_PATRICIA_NODE(const K& k, const V& v) : lkey(k), data(v) { key = reinterpret_cast<unsigned char*>(&lkey); }
  tolk_PATRICIA_NODE(const tolk_PATRICIA_NODE&) = delete;
  tolk_PATRICIA_NODE& operator=(const tolk_PATRICIA_NODE&) = delete;

  K lkey;
  V data;
};

// Map from fixed-length keys to values, without order. Keys and values are copied
// in; a pointer value's pointee is never released. Insertion never overwrites.
// The all-zero key lives aside in zerodata/zeroflag because the head node owns it.
template <class K, class V>
class tolk_PATRICIA : public tolk_patbase {
  // Keys are compared as raw bytes, so padding or several encodings of one value would
  // make equal keys differ.
  static_assert(std::is_trivially_copyable_v<K> && std::has_unique_object_representations_v<K>,
                "tolk_PATRICIA keys must be plain bytes without padding");
  using Node = tolk_PATRICIA_NODE<K, V>;

 public:
  tolk_PATRICIA() : tolk_patbase(sizeof(K), ReleaseNode), zerodata(), zeroflag(0) {}
  ~tolk_PATRICIA() {
    while (const K* somekey = GetSomeKey()) {
      const K k = *somekey;
      Delete(k);
    }
  }

  // Null when the entry was added; otherwise the stored value, left unchanged.
  V* Insert(const K& k, const V& v) {
    if (IsZeroKey(&k)) {
      if (zeroflag) return &zerodata;
      zerodata = v;
      zeroflag = 1;
      return nullptr;
    }
    const unsigned char* raw = Bytes(k);
    tolk_patbase_node* reached = Reach(raw);
    if (memcmp(reached->key, raw, sizeof(K)) == 0) return &static_cast<Node*>(reached)->data;
    Link(new Node(k, v), reached);
    return nullptr;
  }

  V* Search(const K& k) {
    if (IsZeroKey(&k)) return zeroflag ? &zerodata : nullptr;
    tolk_patbase_node* found = tolk_patbase::Search(Bytes(k));
    return found ? &static_cast<Node*>(found)->data : nullptr;
  }
  const V* Search(const K& k) const { return const_cast<tolk_PATRICIA*>(this)->Search(k); }

  // 0 when the entry was removed, 1 when the key was absent.
  int Delete(const K& k) {
    if (IsZeroKey(&k)) {
      if (!zeroflag) return 1;
      zeroflag = 0;
      zerodata = V();
      return 0;
    }
    tolk_patbase_node* removed = Remove(Bytes(k));
    if (!removed) return 1;
    ReleaseNode(removed);
    return 0;
  }

  // The key of some entry (the zero key first), or null when the map is empty.
  const K* GetSomeKey() const {
    if (zeroflag) return &ZeroKey();
    // A node's key bytes are its lkey.
    return reinterpret_cast<const K*>(getsomekey());
  }

  V zerodata;
  tolk_signed zeroflag;

 private:
  static const unsigned char* Bytes(const K& k) { return reinterpret_cast<const unsigned char*>(&k); }
  static void ReleaseNode(tolk_patbase_node* node) { delete static_cast<Node*>(node); }
  static const K& ZeroKey() {
    static const K zero = std::bit_cast<K>(std::array<unsigned char, sizeof(K)>{});
    return zero;
  }
};
