// Entity property lists in the record pool.
#include "grid/proplist.h"

#include <utility>

tolk_PropertySetIter ZELT_Grid_PropList::Find(int key) const {
  tolk_PropertySetIter it = First();
  while (!it.End() && KeyAt(it) != key) it.Next();
  return it;
}

tolk_Property* ZELT_Grid_PropList::Value(int key) const {
  tolk_PropertySetIter it = Find(key);
  return it.End() ? nullptr : &ValueAt(it);
}

tolk_PropertySetIter ZELT_Grid_PropList::Add(tolk_RecordPool& pool, int key, tolk_Property value) {
  Link* link = pool.New<Link>(tolk_PropertySet::Entry{key, std::move(value)});
  link->last = tolk_slist_base::Terminator();
  link->next = start;
  if (!Empty()) start->last = link;
  start = link;
  return First();
}

void ZELT_Grid_PropList::Unlink(tolk_slist_link* link) {
  if (link->last == tolk_slist_base::Terminator())
    start = link->next;
  else
    link->last->next = link->next;
  if (link->next != tolk_slist_base::Terminator()) link->next->last = link->last;
}

int ZELT_Grid_PropList::Remove(tolk_RecordPool& pool, int key) {
  int removed = 0;
  for (tolk_slist_link* link = start; link != tolk_slist_base::Terminator();) {
    tolk_slist_link* next = link->next;
    if (static_cast<Link*>(link)->data.key == key) {
      Unlink(link);
      pool.Delete(static_cast<Link*>(link));
      ++removed;
    }
    link = next;
  }
  return removed;
}

void ZELT_Grid_PropList::Clear(tolk_RecordPool& pool) {
  while (!Empty()) {
    tolk_slist_link* link = start;
    start = link->next;
    pool.Delete(static_cast<Link*>(link));
  }
}
