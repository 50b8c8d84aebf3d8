// Intrusive doubly linked lists (tolk_LIST) and head-only lists with one shared terminator (tolk_SLIST).
#pragma once

#include <utility>

#include "tolk/comparators.h"
#include "tolk/types.h"

// ---------------------------------------------------------------------------------------------------------
// Doubly linked list with embedded sentinels
// ---------------------------------------------------------------------------------------------------------

// One link of a tolk_list_base. The graphs derive their node and edge records from it.
struct tolk_list_link {
  tolk_list_link* last = nullptr;
  tolk_list_link* next = nullptr;
};

// Orders two links of a list; ctx is whatever the caller passed along with it.
typedef tolk_signed (*tolk_list_linkcmp)(const tolk_list_link* a, const tolk_list_link* b, const void* ctx);

class tolk_list_base;

// A position in a tolk_list_base. It is at the end when it rests on either sentinel of a list (or on the
// shared end link that MakeEnd uses): sentinels are the only links that point to themselves.
class tolk_list_base_iter {
 public:
  tolk_list_link* position;

  tolk_list_base_iter() : position(EndLink()) {}
  explicit tolk_list_base_iter(tolk_list_link* link) : position(link) {}

  inline tolk_list_base_iter& First(const tolk_list_base& list);
  inline tolk_list_base_iter& Last(const tolk_list_base& list);
  tolk_list_base_iter& Next() {
    position = position->next;
    return *this;
  }
  tolk_list_base_iter& Previous() {
    position = position->last;
    return *this;
  }
  bool End() const { return position->next == position || position->last == position; }
  void MakeEnd() { position = EndLink(); }

  // Every end position equals every other one, whichever sentinel it rests on.
  bool operator==(const tolk_list_base_iter& o) const {
    return position == o.position || (End() && o.End());
  }
  bool operator!=(const tolk_list_base_iter& o) const { return !(*this == o); }

  // Self-looped and read-only: a list-independent end position. Lists without sentinels of
  // their own (the graphs' incidence lists) end on it; nothing may ever write to it.
  static constexpr tolk_list_link* EndLink() { return const_cast<tolk_list_link*>(&endLink); }

 private:
  static const tolk_list_link endLink;
};

inline constinit const tolk_list_link tolk_list_base_iter::endLink{EndLink(), EndLink()};

// Merge-sorts the links from first to last (last must follow first) and links them back in between
// their former neighbours; first and last come back as the new ends of the range. Equal elements end
// up in reverse order. When the range starts a list that keeps only a head pointer (the link before it
// is the shared end link), *head receives the new first link; pass null for lists with a head link.
void tolk_SortLinkRange(tolk_list_base_iter& first, tolk_list_base_iter& last, tolk_list_linkcmp cmp,
                        const void* ctx, tolk_list_link** head);

// The pointer work of lists that keep only a head pointer and whose ends rest on one read-only
// terminator shared by all of them (tolk_slist_base, the graphs' incidence lists). Link has `last`
// and `next`; `end` is the terminator.
namespace tolk_headlist {

template <class Link>
Link* LastLink(Link* first, const Link* end) {
  Link* link = first;
  if (link == end) return link;
  while (link->next != end) link = link->next;
  return link;
}

template <class Link>
tolk_signed Size(const Link* first, const Link* end) {
  tolk_signed n = 0;
  for (const Link* link = first; link != end; link = link->next) ++n;
  return n;
}

template <class Link>
void Insert(Link*& first, Link* end, Link* link) {
  link->last = end;
  link->next = first;
  if (first != end) first->last = link;
  first = link;
}

template <class Link>
void InsertAfter(Link* end, Link* link, Link* at) {
  link->last = at;
  link->next = at->next;
  if (at->next != end) at->next->last = link;
  at->next = link;
}

template <class Link>
Link* Remove(Link*& first, Link* end, Link* link) {
  if (link->last == end)
    first = link->next;
  else
    link->last->next = link->next;
  if (link->next != end) link->next->last = link->last;
  link->last = link->next = nullptr;
  return link;
}

}  // namespace tolk_headlist

// Untyped doubly linked list over caller-made links; it never allocates or frees a link.
// Sizes are counted while known; transfers leave them at -1 until Size() recounts.
class tolk_list_base {
 public:
  typedef tolk_list_link LinkBase;
  typedef tolk_list_base_iter Iter;

  mutable tolk_signed size;  // element count, or -1 while it has to be recounted
  tolk_list_link start;      // start.next is the first element; start.last points to start
  tolk_list_link end;        // end.last is the last element; end.next points to end

  tolk_list_base();
  tolk_list_base(const tolk_list_base&) = delete;
  tolk_list_base& operator=(const tolk_list_base&) = delete;

  tolk_list_base_iter First() const { return tolk_list_base_iter(start.next); }
  tolk_list_base_iter Last() const { return tolk_list_base_iter(end.last); }
  bool Empty() const { return start.next == &end; }
  tolk_signed Size() const;

  // An end position passed to RawInsertBefore means "after the last element" (append), to RawInsertAfter
  // "before the first element" (insert at the front).
  void RawInsert(tolk_list_link* link);
  void RawAppend(tolk_list_link* link);
  void RawInsertBefore(tolk_list_link* link, tolk_list_base_iter it);
  void RawInsertAfter(tolk_list_link* link, tolk_list_base_iter it);
  // Unlinks the element at it and hands it back; null (and no change) at an end position.
  tolk_list_link* RawRemove(tolk_list_base_iter it);
  // Empties the list without touching its elements, for an owner that disposes of them wholesale.
  void RawForget();

  // Move elements of this list to the end of dest, without copying; both sizes become unknown.
  void TransferItem(tolk_list_base& dest, tolk_list_base_iter it);
  void TransferSublist(tolk_list_base& dest, tolk_list_base_iter first, tolk_list_base_iter last);
  void TransferList(tolk_list_base& dest);

  // Merge-sorts the run first..last in place; equal elements end up in reverse order. Afterwards first and
  // last designate the run's new first and last element.
  void RawSort(tolk_list_base_iter& first, tolk_list_base_iter& last, tolk_list_linkcmp cmp, const void* ctx);
  // The element of rank k (0 is the smallest) by median of medians; the list is left as it is.
  tolk_list_base_iter RawSelect(tolk_signed k, tolk_list_linkcmp cmp, const void* ctx) const;
  // The median of the medians of groups of five: an element whose rank lies between 30% and 70%.
  tolk_list_base_iter RawMedianOfMedians(tolk_list_linkcmp cmp, const void* ctx) const;

 private:
  void LinkBetween(tolk_list_link* link, tolk_list_link* before, tolk_list_link* after);
  void NoteInsertion() const {
    if (size >= 0) ++size;
  }
};

tolk_list_base_iter& tolk_list_base_iter::First(const tolk_list_base& list) { return *this = list.First(); }
tolk_list_base_iter& tolk_list_base_iter::Last(const tolk_list_base& list) { return *this = list.Last(); }

// ---------------------------------------------------------------------------------------------------------
// Head-only list with one terminator shared by all lists
// ---------------------------------------------------------------------------------------------------------

// One link of a tolk_slist_base. Both neighbours are kept so that removal needs no search.
struct tolk_slist_link {
  tolk_slist_link* last = nullptr;
  tolk_slist_link* next = nullptr;
};

typedef tolk_signed (*tolk_slist_linkcmp)(const tolk_slist_link* a, const tolk_slist_link* b, const void* ctx);

class tolk_slist_base;

// A position in a tolk_slist_base; at the end when it rests on the shared terminator.
class tolk_slist_base_iter {
 public:
  tolk_slist_link* position;

  inline tolk_slist_base_iter();
  explicit tolk_slist_base_iter(tolk_slist_link* link) : position(link) {}

  inline tolk_slist_base_iter& First(const tolk_slist_base& list);
  tolk_slist_base_iter& Next() {
    position = position->next;
    return *this;
  }
  tolk_slist_base_iter& Previous() {
    position = position->last;
    return *this;
  }
  inline bool End() const;
  inline void MakeEnd();
  bool operator==(const tolk_slist_base_iter& o) const { return position == o.position; }
  bool operator!=(const tolk_slist_base_iter& o) const { return position != o.position; }
};

typedef tolk_slist_base_iter tolk_SLIST_ELEM;

// Untyped head-only list over caller-made links; it never allocates or frees a link and keeps no count.
class tolk_slist_base {
 public:
  typedef tolk_slist_link LinkBase;
  typedef tolk_slist_base_iter Iter;

  // The terminator of every list of this kind: an empty list's start, the first element's last and the
  // last element's next. It points to itself and is read-only.
  static const tolk_slist_link nullNode;
  static constexpr tolk_slist_link* Terminator() { return const_cast<tolk_slist_link*>(&nullNode); }

  tolk_slist_link* start;

  tolk_slist_base() : start(Terminator()) {}
  tolk_slist_base(const tolk_slist_base&) = delete;
  tolk_slist_base& operator=(const tolk_slist_base&) = delete;

  tolk_slist_base_iter First() const { return tolk_slist_base_iter(start); }
  bool Empty() const { return start == &nullNode; }
  tolk_signed Size() const;  // counts by walking

  // An end position passed to RawInsertBefore means "after the last element" (append, which walks the
  // list), to RawInsertAfter "before the first element".
  void RawInsert(tolk_slist_link* link);
  void RawInsertBefore(tolk_slist_link* link, tolk_slist_base_iter it);
  void RawInsertAfter(tolk_slist_link* link, tolk_slist_base_iter it);
  // Unlinks the element at it and hands it back; null (and no change) at the end position.
  tolk_slist_link* RawRemove(tolk_slist_base_iter it);

  // Move elements of this list to the end of dest, without copying (walks dest to its end).
  void TransferItem(tolk_slist_base& dest, tolk_slist_base_iter it);
  void TransferList(tolk_slist_base& dest);

  // Merge-sorts the whole list; equal elements end up in reverse order.
  void RawSort(tolk_slist_linkcmp cmp, const void* ctx);

 private:
  tolk_slist_link* LastLink() const;
};

inline constinit const tolk_slist_link tolk_slist_base::nullNode{Terminator(), Terminator()};

tolk_slist_base_iter::tolk_slist_base_iter() : position(tolk_slist_base::Terminator()) {}
tolk_slist_base_iter& tolk_slist_base_iter::First(const tolk_slist_base& list) { return *this = list.First(); }
bool tolk_slist_base_iter::End() const { return position == &tolk_slist_base::nullNode; }
void tolk_slist_base_iter::MakeEnd() { position = tolk_slist_base::Terminator(); }

// ---------------------------------------------------------------------------------------------------------
// Typed lists
// ---------------------------------------------------------------------------------------------------------

// A link carrying one value of type T.
template <class LinkBase, class T>
struct tolk_ValueLink : LinkBase {
  T data;
  explicit tolk_ValueLink(const T& value) : data(value) {}
  explicit tolk_ValueLink(T&& value) : data(std::move(value)) {}
};

template <class T>
using tolk_LIST_LINK = tolk_ValueLink<tolk_list_link, T>;
template <class T>
using tolk_SLIST_LINK = tolk_ValueLink<tolk_slist_link, T>;

// The owning layer over either untyped list: it makes, copies and frees the links. Values are copied in;
// pointer values are not released.
template <class Base, class T>
class tolk_OwningList : public Base {
 public:
  typedef typename Base::Iter Iter;
  typedef typename Base::LinkBase LinkBase;
  typedef tolk_ValueLink<LinkBase, T> Link;

  tolk_OwningList() = default;
  tolk_OwningList(const tolk_OwningList& o) : Base() { CopyFrom(o); }
  tolk_OwningList& operator=(const tolk_OwningList& o) {
    if (this != &o) {
      Clear();
      CopyFrom(o);
    }
    return *this;
  }
  ~tolk_OwningList() { Clear(); }

  Iter Insert(const T& v) {
    Link* link = new Link(v);
    this->RawInsert(link);
    return Iter(link);
  }
  Iter InsertBefore(const T& v, Iter it) {
    Link* link = new Link(v);
    this->RawInsertBefore(link, it);
    return Iter(link);
  }
  Iter InsertAfter(const T& v, Iter it) {
    Link* link = new Link(v);
    this->RawInsertAfter(link, it);
    return Iter(link);
  }

  static T& Value(Iter it) { return static_cast<Link*>(it.position)->data; }

  // Unlinks and frees the element at it; nothing happens at an end position.
  void Delete(Iter it) { delete static_cast<Link*>(this->RawRemove(it)); }
  void Clear() {
    while (!this->Empty()) Delete(this->First());
  }

 protected:
  // Orders two links by their values through the tolk_Comparator<T> passed as ctx.
  static tolk_signed CompareLinks(const LinkBase* a, const LinkBase* b, const void* cmp) {
    return static_cast<const tolk_Comparator<T>*>(cmp)->Compare(static_cast<const Link*>(a)->data,
                                                                 static_cast<const Link*>(b)->data);
  }

 private:
  void CopyFrom(const tolk_OwningList& o) {
    Iter tail;  // the end position: the first copy goes to the front
    for (Iter it = o.First(); !it.End(); it.Next()) tail = InsertAfter(Value(it), tail);
  }
};

// Doubly linked list of values of type T; owns its links.
template <class T>
class tolk_LIST : public tolk_OwningList<tolk_list_base, T> {
 public:
  typedef tolk_OwningList<tolk_list_base, T> Owning;

  tolk_list_base_iter Append(const T& v) {
    typename Owning::Link* link = new typename Owning::Link(v);
    this->RawAppend(link);
    return tolk_list_base_iter(link);
  }

  void Sort(tolk_list_base_iter& first, tolk_list_base_iter& last, const tolk_Comparator<T>* cmp) {
    this->RawSort(first, last, &Owning::CompareLinks, cmp);
  }
  tolk_list_base_iter Select(tolk_signed k, const tolk_Comparator<T>* cmp) const {
    return this->RawSelect(k, &Owning::CompareLinks, cmp);
  }
  tolk_list_base_iter ComputeMedianOfMedians(const tolk_Comparator<T>* cmp) const {
    return this->RawMedianOfMedians(&Owning::CompareLinks, cmp);
  }
};

// Head-only list of values of type T; owns its links. Insert puts the new element first.
template <class T>
class tolk_SLIST : public tolk_OwningList<tolk_slist_base, T> {
 public:
  typedef tolk_OwningList<tolk_slist_base, T> Owning;

  void Sort(const tolk_Comparator<T>* cmp) { this->RawSort(&Owning::CompareLinks, cmp); }
};
