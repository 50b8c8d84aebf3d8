// Untyped list algorithms: linking, transfers, the merge sort and median-of-medians selection.
#include "tolk/list.h"

#include <utility>
#include <vector>

#include "tolk/assert.h"

namespace {

// Merge sort over a chain of links joined by their next pointers; shared by both list kinds, which
// relink their back pointers afterwards.
template <class Link, class Cmp>
class ChainSorter {
 public:
  ChainSorter(Cmp cmp, const void* ctx) : cmp_(cmp), ctx_(ctx) {}

  // Takes the next n links (n >= 1) from head onwards, advancing head past them, and returns them
  // sorted as a null-terminated chain.
  Link* Sort(Link*& head, tolk_signed n) {
    if (n == 1) {
      Link* single = head;
      head = head->next;
      single->next = nullptr;
      return single;
    }
    Link* a = Sort(head, n / 2);
    Link* b = Sort(head, n - n / 2);
    return Merge(a, b);
  }

 private:
  // b goes ahead on a tie, which is what reverses equal elements.
  Link* Merge(Link* a, Link* b) const {
    Link head;
    Link* tail = &head;
    while (a && b) {
      if (cmp_(a, b, ctx_) >= 0) {
        tail->next = b;
        b = b->next;
      } else {
        tail->next = a;
        a = a->next;
      }
      tail = tail->next;
    }
    tail->next = a ? a : b;
    return head.next;
  }

  Cmp cmp_;
  const void* ctx_;
};

// Rank selection over an array of links, worst case linear (groups of five, median of medians as pivot).
class LinkSelector {
 public:
  LinkSelector(tolk_list_linkcmp cmp, const void* ctx) : cmp_(cmp), ctx_(ctx) {}

  // The element of rank k within v[lo, hi); reorders that range.
  tolk_list_link* Select(std::vector<tolk_list_link*>& v, size_t lo, size_t hi, size_t k) const {
    for (;;) {
      if (hi - lo <= 5) {
        InsertionSort(v, lo, hi);
        return v[k];
      }
      tolk_list_link* pivot = MedianOfMedians(v, lo, hi);
      auto [lessEnd, greaterBegin] = Partition(v, lo, hi, pivot);
      if (k < lessEnd)
        hi = lessEnd;
      else if (k >= greaterBegin)
        lo = greaterBegin;
      else
        return pivot;
    }
  }

  // Sorts each group of five, gathers the groups' medians at the front of the range and selects their
  // median.
  tolk_list_link* MedianOfMedians(std::vector<tolk_list_link*>& v, size_t lo, size_t hi) const {
    size_t medians = 0;
    for (size_t g = lo; g < hi; g += 5) {
      size_t groupEnd = g + 5 < hi ? g + 5 : hi;
      InsertionSort(v, g, groupEnd);
      std::swap(v[lo + medians], v[g + (groupEnd - g - 1) / 2]);
      ++medians;
    }
    return Select(v, lo, lo + medians, lo + (medians - 1) / 2);
  }

 private:
  bool Less(const tolk_list_link* a, const tolk_list_link* b) const { return cmp_(a, b, ctx_) < 0; }

  void InsertionSort(std::vector<tolk_list_link*>& v, size_t lo, size_t hi) const {
    for (size_t i = lo + 1; i < hi; ++i)
      for (size_t j = i; j > lo && Less(v[j], v[j - 1]); --j) std::swap(v[j], v[j - 1]);
  }

  // Three-way partition: [lo, lessEnd) before the pivot, [greaterBegin, hi) after it, equal in between.
  std::pair<size_t, size_t> Partition(std::vector<tolk_list_link*>& v, size_t lo, size_t hi,
                                      tolk_list_link* pivot) const {
    size_t lessEnd = lo, i = lo, greaterBegin = hi;
    while (i < greaterBegin) {
      tolk_signed c = cmp_(v[i], pivot, ctx_);
      if (c < 0)
        std::swap(v[lessEnd++], v[i++]);
      else if (c > 0)
        std::swap(v[i], v[--greaterBegin]);
      else
        ++i;
    }
    return {lessEnd, greaterBegin};
  }

  tolk_list_linkcmp cmp_;
  const void* ctx_;
};

std::vector<tolk_list_link*> CollectLinks(const tolk_list_base& list) {
  std::vector<tolk_list_link*> links;
  for (tolk_list_base_iter it = list.First(); !it.End(); it.Next()) links.push_back(it.position);
  return links;
}

}  // namespace

void tolk_SortLinkRange(tolk_list_base_iter& first, tolk_list_base_iter& last, tolk_list_linkcmp cmp,
                        const void* ctx, tolk_list_link** head) {
  if (first.End() || last.End()) return;
  tolk_signed n = 1;
  for (tolk_list_base_iter it = first; it != last; it.Next()) {
    TOLK_ASSERT(!it.End(), "list sort: the last position does not follow the first");
    ++n;
  }
  const tolk_list_link* end = tolk_list_base_iter::EndLink();
  tolk_list_link* before = first.position->last;
  tolk_list_link* after = last.position->next;
  tolk_list_link* sorted = ChainSorter<tolk_list_link, tolk_list_linkcmp>(cmp, ctx).Sort(first.position, n);
  tolk_list_link* prev = before;
  for (tolk_list_link* x = sorted; x; x = x->next) {
    x->last = prev;
    if (prev == end)
      *head = x;
    else
      prev->next = x;
    prev = x;
  }
  prev->next = after;
  if (after != end) after->last = prev;
  first = tolk_list_base_iter(sorted);
  last = tolk_list_base_iter(prev);
}

// ---------------------------------------------------------------------------------------------------------
// tolk_list_base
// ---------------------------------------------------------------------------------------------------------

tolk_list_base::tolk_list_base() : size(0) {
  start.last = &start;
  start.next = &end;
  end.last = &start;
  end.next = &end;
}

tolk_signed tolk_list_base::Size() const {
  if (size < 0) {
    size = 0;
    for (tolk_list_base_iter it = First(); !it.End(); it.Next()) ++size;
  }
  return size;
}

void tolk_list_base::LinkBetween(tolk_list_link* link, tolk_list_link* before, tolk_list_link* after) {
  link->last = before;
  link->next = after;
  before->next = link;
  after->last = link;
  NoteInsertion();
}

void tolk_list_base::RawInsert(tolk_list_link* link) { LinkBetween(link, &start, start.next); }

void tolk_list_base::RawAppend(tolk_list_link* link) { LinkBetween(link, end.last, &end); }

void tolk_list_base::RawInsertBefore(tolk_list_link* link, tolk_list_base_iter it) {
  if (it.End())
    RawAppend(link);
  else
    LinkBetween(link, it.position->last, it.position);
}

void tolk_list_base::RawInsertAfter(tolk_list_link* link, tolk_list_base_iter it) {
  if (it.End())
    RawInsert(link);
  else
    LinkBetween(link, it.position, it.position->next);
}

tolk_list_link* tolk_list_base::RawRemove(tolk_list_base_iter it) {
  if (it.End()) return nullptr;
  tolk_list_link* link = it.position;
  link->last->next = link->next;
  link->next->last = link->last;
  link->last = link->next = nullptr;
  size = size < 1 ? -1 : size - 1;
  return link;
}

void tolk_list_base::RawForget() {
  start.next = &end;
  end.last = &start;
  size = 0;
}

void tolk_list_base::TransferItem(tolk_list_base& dest, tolk_list_base_iter it) {
  TransferSublist(dest, it, it);
}

void tolk_list_base::TransferSublist(tolk_list_base& dest, tolk_list_base_iter first, tolk_list_base_iter last) {
  if (first.End() || last.End()) return;
  tolk_list_link* head = first.position;
  tolk_list_link* tail = last.position;
  head->last->next = tail->next;
  tail->next->last = head->last;
  head->last = dest.end.last;
  tail->next = &dest.end;
  dest.end.last->next = head;
  dest.end.last = tail;
  size = -1;
  dest.size = -1;
}

void tolk_list_base::TransferList(tolk_list_base& dest) {
  if (Empty()) return;
  TransferSublist(dest, First(), Last());
}

// The list's own head and tail links surround every range, so no head pointer is needed.
void tolk_list_base::RawSort(tolk_list_base_iter& first, tolk_list_base_iter& last, tolk_list_linkcmp cmp,
                             const void* ctx) {
  tolk_SortLinkRange(first, last, cmp, ctx, nullptr);
}

tolk_list_base_iter tolk_list_base::RawSelect(tolk_signed k, tolk_list_linkcmp cmp, const void* ctx) const {
  std::vector<tolk_list_link*> links = CollectLinks(*this);
  if (k < 0 || static_cast<size_t>(k) >= links.size()) return tolk_list_base_iter();
  return tolk_list_base_iter(LinkSelector(cmp, ctx).Select(links, 0, links.size(), static_cast<size_t>(k)));
}

tolk_list_base_iter tolk_list_base::RawMedianOfMedians(tolk_list_linkcmp cmp, const void* ctx) const {
  std::vector<tolk_list_link*> links = CollectLinks(*this);
  if (links.empty()) return tolk_list_base_iter();
  return tolk_list_base_iter(LinkSelector(cmp, ctx).MedianOfMedians(links, 0, links.size()));
}

// ---------------------------------------------------------------------------------------------------------
// tolk_slist_base
// ---------------------------------------------------------------------------------------------------------

tolk_signed tolk_slist_base::Size() const { return tolk_headlist::Size(start, Terminator()); }

tolk_slist_link* tolk_slist_base::LastLink() const { return tolk_headlist::LastLink(start, Terminator()); }

void tolk_slist_base::RawInsert(tolk_slist_link* link) { tolk_headlist::Insert(start, Terminator(), link); }

void tolk_slist_base::RawInsertBefore(tolk_slist_link* link, tolk_slist_base_iter it) {
  if (it.End()) {
    tolk_slist_link* tail = LastLink();
    if (tail == Terminator())
      RawInsert(link);
    else
      RawInsertAfter(link, tolk_slist_base_iter(tail));
    return;
  }
  tolk_slist_link* pos = it.position;
  if (pos->last == Terminator()) {
    RawInsert(link);
    return;
  }
  link->last = pos->last;
  link->next = pos;
  pos->last->next = link;
  pos->last = link;
}

void tolk_slist_base::RawInsertAfter(tolk_slist_link* link, tolk_slist_base_iter it) {
  if (it.End())
    RawInsert(link);
  else
    tolk_headlist::InsertAfter(Terminator(), link, it.position);
}

tolk_slist_link* tolk_slist_base::RawRemove(tolk_slist_base_iter it) {
  return it.End() ? nullptr : tolk_headlist::Remove(start, Terminator(), it.position);
}

void tolk_slist_base::TransferItem(tolk_slist_base& dest, tolk_slist_base_iter it) {
  tolk_slist_link* link = RawRemove(it);
  if (link) dest.RawInsertBefore(link, tolk_slist_base_iter());
}

void tolk_slist_base::TransferList(tolk_slist_base& dest) {
  if (Empty() || &dest == this) return;
  tolk_slist_link* tail = dest.LastLink();
  if (tail == Terminator()) {
    dest.start = start;
  } else {
    tail->next = start;
    start->last = tail;
  }
  start = Terminator();
}

void tolk_slist_base::RawSort(tolk_slist_linkcmp cmp, const void* ctx) {
  tolk_signed n = Size();
  if (n < 2) return;
  tolk_slist_link* head = start;
  start = ChainSorter<tolk_slist_link, tolk_slist_linkcmp>(cmp, ctx).Sort(head, n);
  tolk_slist_link* prev = Terminator();
  for (tolk_slist_link* x = start; x; x = x->next) {
    x->last = prev;
    if (!x->next) {
      x->next = Terminator();
      break;
    }
    prev = x;
  }
}
