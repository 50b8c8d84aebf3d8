// The per-definition id indexes: 64-bit id -> node or edge link, in one
// open-addressing table instead of one allocated tree node per entry.
#pragma once

#include <cstddef>

#include "tolk/list.h"

// A repeated id replaces the link it pointed at. The table grows by doubling
// at three quarters full and never shrinks; removal shifts the following
// entries back, so lookups never meet tombstones.
class ZELT_Grid_IdIndex {
 public:
  ZELT_Grid_IdIndex() = default;
  ~ZELT_Grid_IdIndex() { delete[] _slots; }
  ZELT_Grid_IdIndex(const ZELT_Grid_IdIndex&) = delete;
  ZELT_Grid_IdIndex& operator=(const ZELT_Grid_IdIndex&) = delete;

  // The link stored for id, or null.
  tolk_list_link* Find(long id) const;
  // Points id at link (which must not be null).
  void Set(long id, tolk_list_link* link);
  // Takes id out; false when it was absent.
  bool Erase(long id);
  size_t Size() const { return _used; }

 private:
  struct Slot {
    long id;
    tolk_list_link* link;  // null: free
  };
  size_t Home(long id) const;
  // The slot holding id, or the free slot where the probe for it ends.
  size_t Probe(long id) const;
  void Grow();

  Slot* _slots = nullptr;
  size_t _mask = 0;  // capacity - 1; capacity is a power of two
  size_t _used = 0;
};
