// ZELT_Grid_PropList: one entity's property list, its entries cut from the grid's record pool.
#pragma once

#include "tolk/pool.h"
#include "tolk/property.h"

// The entries have the link type of a tolk_PropertySet's, so property handles are
// tolk_PropertySetIter positions as always; but there is no set object per entity, and
// the entries come from a record pool. The list is one pointer, which may be moved (the
// slot arrays that hold the lists copy them as they grow): the first entry points back
// to the shared terminator, never to the list. Newest entry first; keys may repeat.
class ZELT_Grid_PropList {
 public:
  typedef tolk_SLIST_LINK<tolk_PropertySet::Entry> Link;

  bool Empty() const { return start == tolk_slist_base::Terminator(); }
  tolk_PropertySetIter First() const { return tolk_PropertySetIter(tolk_slist_base_iter(start)); }
  // The newest entry with key, or the end position.
  tolk_PropertySetIter Find(int key) const;
  tolk_Property* Value(int key) const;

  // Puts the value at the front and answers its position.
  tolk_PropertySetIter Add(tolk_RecordPool& pool, int key, tolk_Property value);
  // Removes every entry with key; answers how many there were.
  int Remove(tolk_RecordPool& pool, int key);
  void Clear(tolk_RecordPool& pool);

  static int KeyAt(tolk_PropertySetIter it) { return static_cast<Link*>(it.position)->data.key; }
  static tolk_Property& ValueAt(tolk_PropertySetIter it) { return static_cast<Link*>(it.position)->data.prop; }

 private:
  void Unlink(tolk_slist_link* link);

  tolk_slist_link* start = tolk_slist_base::Terminator();
};
