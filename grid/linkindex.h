// ZELT_Grid_LinkIndex: per-definition lookups from a name or id to the node or edge link that carries it.
#pragma once

#include <cstddef>
#include <cstdint>

#include "tolk/assert.h"
#include "tolk/list.h"
#include "tolk/pool.h"
#include "tolk/prefetch.h"

// An open-addressing table that holds nothing but links, each tagged with 16 bits of its
// key's hash; the key itself is read from the record the link belongs to, so the table
// neither copies names nor can keep a key longer than its record. A repeated key points
// the entry at the newer link. Linear probing, growth by doubling at three quarters full,
// removal by shifting the following entries back (no tombstones); never shrinks.
//
// Traits supplies
//   typedef ... Key;
//   uint64_t Hash(const Key&) const   low bits choose the slot, the top 16 bits are the tag
//   Key KeyOf(const tolk_list_link*) const
//   bool Same(const Key&, const Key&) const
// and, where the key lies outside the record, may supply
//   void PrefetchKey(const tolk_list_link*) const   starts fetching what KeyOf and Hash will read
template <class Traits>
class ZELT_Grid_LinkIndex {
 public:
  typedef typename Traits::Key Key;

  explicit ZELT_Grid_LinkIndex(const Traits& traits) : _traits(traits) {}
  ~ZELT_Grid_LinkIndex() { tolk_FreeLarge(_slots, Capacity() * sizeof(uint64_t)); }
  ZELT_Grid_LinkIndex(const ZELT_Grid_LinkIndex&) = delete;
  ZELT_Grid_LinkIndex& operator=(const ZELT_Grid_LinkIndex&) = delete;

  // The link stored for key, or null.
  tolk_list_link* Find(const Key& key) const {
    if (_used == 0) return nullptr;
    const uint64_t slot = _slots[SlotOf(key, _traits.Hash(key))];
    return slot != 0 ? LinkOf(slot) : nullptr;
  }

  // Starts fetching the slot where key's probe starts and does nothing more. A caller
  // about to look up several keys touches them all first, so that their cache misses
  // overlap instead of queueing one behind the other.
  void Touch(const Key& key) const {
    if (_used == 0) return;
    tolk_Prefetch(&_slots[_traits.Hash(key) & _mask]);
  }

  // Points key at link (not null), whose key it must be.
  void Set(const Key& key, tolk_list_link* link) {
    if (4 * (_used + 1) > 3 * Capacity()) Grow();
    const uint64_t hash = _traits.Hash(key);
    const size_t i = SlotOf(key, hash);
    if (_slots[i] == 0) ++_used;
    _slots[i] = Pack(hash, link);
  }

  // Takes key's entry out if it points at link; false when it does not.
  bool EraseIf(const Key& key, const tolk_list_link* link) {
    if (_used == 0 || !_traits.Same(_traits.KeyOf(link), key)) return false;
    const uint64_t hash = _traits.Hash(key);
    size_t hole = hash & _mask;
    for (; _slots[hole] != 0; hole = (hole + 1) & _mask) {
      if (LinkOf(_slots[hole]) == link) break;
    }
    return EraseAt(hole);
  }

  // Takes key's entry out, whichever link it points at; false when there is none.
  bool Erase(const Key& key) {
    if (_used == 0) return false;
    return EraseAt(SlotOf(key, _traits.Hash(key)));
  }

  size_t Size() const { return _used; }
  size_t Capacity() const { return _slots != nullptr ? _mask + 1 : 0; }

 private:
  static constexpr int kTagShift = 48;
  static constexpr uint64_t kPointerBits = (uint64_t(1) << kTagShift) - 1;
  static constexpr size_t kFirstCapacity = 8;

  // The slot that holds key, or the empty slot that ends its probe run.
  size_t SlotOf(const Key& key, uint64_t hash) const {
    size_t i = hash & _mask;
    for (; _slots[i] != 0; i = (i + 1) & _mask) {
      if (TagOf(_slots[i]) == Tag(hash) && _traits.Same(_traits.KeyOf(LinkOf(_slots[i])), key)) break;
    }
    return i;
  }

  // Empties the slot at hole, if it is taken. Every following entry whose home does not
  // lie cyclically in (hole, j] is pulled back: it was probed past the hole and must stay
  // reachable.
  bool EraseAt(size_t hole) {
    if (_slots[hole] == 0) return false;
    for (size_t j = (hole + 1) & _mask; _slots[j] != 0; j = (j + 1) & _mask) {
      const size_t home = _traits.Hash(_traits.KeyOf(LinkOf(_slots[j]))) & _mask;
      const bool reachable = hole <= j ? (hole < home && home <= j) : (hole < home || home <= j);
      if (reachable) continue;
      _slots[hole] = _slots[j];
      hole = j;
    }
    _slots[hole] = 0;
    --_used;
    return true;
  }

  static uint64_t Tag(uint64_t hash) { return hash >> kTagShift; }
  static uint64_t TagOf(uint64_t slot) { return slot >> kTagShift; }
  static tolk_list_link* LinkOf(uint64_t slot) { return reinterpret_cast<tolk_list_link*>(slot & kPointerBits); }
  static uint64_t Pack(uint64_t hash, const tolk_list_link* link) {
    const uint64_t bits = reinterpret_cast<uintptr_t>(link);
    TOLK_ASSERT((bits & ~kPointerBits) == 0, "a record address above 48 bits cannot be indexed");
    return (Tag(hash) << kTagShift) | bits;
  }

  // Keys are read back from the records to place the entries in the larger table. The
  // records lie anywhere in memory: those of entries further on are fetched early (the
  // record, then what its key points to), so that the misses overlap instead of queueing.
  void Grow() {
    const size_t oldCapacity = Capacity();
    uint64_t* old = _slots;
    const size_t capacity = oldCapacity != 0 ? 2 * oldCapacity : kFirstCapacity;
    // Large blocks come zero-filled: every slot starts empty.
    _slots = static_cast<uint64_t*>(tolk_AllocateLarge(capacity * sizeof(uint64_t)));
    _mask = capacity - 1;
    constexpr size_t kRecordsAhead = 16, kKeysAhead = 8;
    for (size_t k = 0; k < oldCapacity; ++k) {
      if (k + kRecordsAhead < oldCapacity && old[k + kRecordsAhead] != 0)
        tolk_Prefetch(LinkOf(old[k + kRecordsAhead]));
      if constexpr (requires(const tolk_list_link* link) { _traits.PrefetchKey(link); }) {
        if (k + kKeysAhead < oldCapacity && old[k + kKeysAhead] != 0) _traits.PrefetchKey(LinkOf(old[k + kKeysAhead]));
      }
      if (old[k] == 0) continue;
      size_t i = _traits.Hash(_traits.KeyOf(LinkOf(old[k]))) & _mask;
      while (_slots[i] != 0) i = (i + 1) & _mask;
      _slots[i] = old[k];
    }
    tolk_FreeLarge(old, oldCapacity * sizeof(uint64_t));
  }

  Traits _traits;
  uint64_t* _slots = nullptr;
  size_t _mask = 0;
  size_t _used = 0;
};

// An id table made only when it is first needed. While every key added was larger than
// all keys added before it, the keys present are unique, and the table would hold exactly
// the keys of the records present: a walk over those records builds it whenever it is
// asked for. Models read from GDF number their entities and connections with a counter,
// so their id tables are made only if someone looks an id up. A key out of order builds
// the table at once, and from then on it is kept like any other.
//
// Plain data, so that it can sit in a side-array slot: its owner calls Release.
// The walk given to Add and Find calls its argument with every record's link.
template <class Traits>
class ZELT_Grid_DeferredLinkIndex {
 public:
  typedef typename Traits::Key Key;
  typedef ZELT_Grid_LinkIndex<Traits> Table;

  template <class Walk>
  void Add(const Traits& traits, const Key& key, tolk_list_link* link, Walk walk) {
    if (_table == nullptr && (!_any || _last < key)) {
      _any = true;
      _last = key;
      return;
    }
    Made(traits, walk).Set(key, link);
  }
  // Takes key's entry out if it names link.
  void Remove(const Key& key, const tolk_list_link* link) {
    if (_table != nullptr) _table->EraseIf(key, link);
  }
  // Takes key's entry out whichever link it names. Without a table the keys are those of
  // the records present, which the caller is about to remove.
  void RemoveKey(const Key& key) {
    if (_table != nullptr) _table->Erase(key);
  }
  template <class Walk>
  tolk_list_link* Find(const Traits& traits, const Key& key, Walk walk) {
    if (_table == nullptr && !_any) return nullptr;
    return Made(traits, walk).Find(key);
  }
  bool IsMade() const { return _table != nullptr; }
  void Release() {
    delete _table;
    *this = ZELT_Grid_DeferredLinkIndex();
  }

 private:
  template <class Walk>
  Table& Made(const Traits& traits, Walk walk) {
    if (_table == nullptr) {
      _table = new Table(traits);
      walk([&](tolk_list_link* link) { _table->Set(traits.KeyOf(link), link); });
    }
    return *_table;
  }

  Table* _table = nullptr;
  Key _last{};
  bool _any = false;  // some key was added: _last is the largest
};

// Hashes for the tables' keys: the low 48 bits choose the slot, the top 16 bits tag it.
namespace ZELT_Grid_KeyHash {

inline uint64_t Finish(uint64_t x) {
  x ^= x >> 33;
  x *= 0xff51afd7ed558ccdULL;
  x ^= x >> 33;
  x *= 0xc4ceb9fe1a85ec53ULL;
  x ^= x >> 33;
  return x;
}

// Every id is scattered on its own. (Keeping runs of neighbouring ids in neighbouring
// slots saved cache misses only while a table's ids were dense; a definition gets about
// half of a model's counter, and its half-filled runs piled up into long probe runs.)
inline uint64_t OfId(long id) { return Finish(static_cast<uint64_t>(id)); }

inline uint64_t OfName(const char* name) {
  uint64_t h = 0xcbf29ce484222325ULL;
  for (const unsigned char* c = reinterpret_cast<const unsigned char*>(name); *c != 0; ++c) h = (h ^ *c) * 0x100000001b3ULL;
  return Finish(h);
}

}  // namespace ZELT_Grid_KeyHash
