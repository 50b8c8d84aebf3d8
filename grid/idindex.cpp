// Open-addressing id index with linear probing and backward-shift removal.
#include "grid/idindex.h"

#include <cstdint>

namespace {

constexpr size_t kFirstCapacity = 8;

// Ids mostly come from counters. Runs of sixteen neighbouring ids share one
// 256-byte group of slots, so a build that walks a counter stays within a few
// cache lines; the groups themselves are scattered by a full mix, because
// keeping whole runs together let dense id blocks that wrap around the table
// pile up into probe runs as long as the blocks.
uint64_t Mix(uint64_t x) {
  uint64_t group = x >> 4;
  group ^= group >> 33;
  group *= 0xff51afd7ed558ccdULL;
  group ^= group >> 33;
  return (group << 4) | (x & 15);
}

}  // namespace

size_t ZELT_Grid_IdIndex::Home(long id) const { return Mix(static_cast<uint64_t>(id)) & _mask; }

size_t ZELT_Grid_IdIndex::Probe(long id) const {
  size_t i = Home(id);
  while (_slots[i].link && _slots[i].id != id) i = (i + 1) & _mask;
  return i;
}

tolk_list_link* ZELT_Grid_IdIndex::Find(long id) const {
  if (!_slots) return nullptr;
  return _slots[Probe(id)].link;
}

void ZELT_Grid_IdIndex::Set(long id, tolk_list_link* link) {
  if (!_slots || 4 * (_used + 1) > 3 * (_mask + 1)) Grow();
  Slot& slot = _slots[Probe(id)];
  if (!slot.link) ++_used;
  slot.id = id;
  slot.link = link;
}

bool ZELT_Grid_IdIndex::Erase(long id) {
  if (!_slots) return false;
  size_t hole = Probe(id);
  if (!_slots[hole].link) return false;
  // Pull back every following entry whose home does not lie cyclically in
  // (hole, j]: it was probed past the hole and must stay reachable.
  for (size_t j = (hole + 1) & _mask; _slots[j].link; j = (j + 1) & _mask) {
    size_t home = Home(_slots[j].id);
    bool reachable = hole <= j ? (hole < home && home <= j) : (hole < home || home <= j);
    if (reachable) continue;
    _slots[hole] = _slots[j];
    hole = j;
  }
  _slots[hole].link = nullptr;
  --_used;
  return true;
}

void ZELT_Grid_IdIndex::Grow() {
  size_t oldCapacity = _slots ? _mask + 1 : 0;
  Slot* old = _slots;
  size_t capacity = oldCapacity ? 2 * oldCapacity : kFirstCapacity;
  _slots = new Slot[capacity]();
  _mask = capacity - 1;
  for (size_t i = 0; i < oldCapacity; ++i) {
    if (old[i].link) _slots[Probe(old[i].id)] = old[i];
  }
  delete[] old;
}
