// Doubly linked and head-only lists: linking, counting, transfers, sorting and selection.
#include "tolk/list.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

// A key with a tag that tells equal keys apart.
struct Tagged {
  int key;
  char tag;
};

class TaggedComparator final : public tolk_Comparator<Tagged> {
 public:
  tolk_signed Compare(const Tagged& a, const Tagged& b) const override { return a.key - b.key; }
};

const ZELT_Grid_IntComparator intCmp;
const TaggedComparator taggedCmp;

template <class List>
std::vector<int> Forward(const List& l) {
  std::vector<int> out;
  for (auto it = l.First(); !it.End(); it.Next()) out.push_back(List::Value(it));
  return out;
}

std::vector<int> Backward(const tolk_LIST<int>& l) {
  std::vector<int> out;
  for (tolk_list_base_iter it = l.Last(); !it.End(); it.Previous()) out.push_back(tolk_LIST<int>::Value(it));
  return out;
}

std::string Tags(const tolk_LIST<Tagged>& l) {
  std::string out;
  for (tolk_list_base_iter it = l.First(); !it.End(); it.Next()) out += tolk_LIST<Tagged>::Value(it).tag;
  return out;
}

// Both directions agree and the stored count (when known) matches the walk.
void ExpectList(const tolk_LIST<int>& l, std::vector<int> expected) {
  EXPECT_EQ(Forward(l), expected);
  std::reverse(expected.begin(), expected.end());
  EXPECT_EQ(Backward(l), expected);
  EXPECT_EQ(l.Size(), static_cast<tolk_signed>(expected.size()));
}

tolk_list_base_iter Nth(const tolk_list_base& l, int n) {
  tolk_list_base_iter it = l.First();
  while (n-- > 0) it.Next();
  return it;
}

}  // namespace

TEST(ListTest, InsertionsAndDeletionsPlaceElementsAndKeepCount) {
  tolk_LIST<int> l;
  EXPECT_TRUE(l.First().End());
  l.Append(3);
  EXPECT_TRUE(l.First().Previous().End());
  l.Insert(1);
  tolk_list_base_iter four = l.Append(4);
  l.InsertBefore(2, Nth(l, 1));
  l.InsertAfter(5, four);
  ExpectList(l, {1, 2, 3, 4, 5});

  tolk_list_base_iter end;
  l.InsertBefore(6, end);  // before the end: appended
  l.InsertAfter(0, end);   // after the end: at the front
  ExpectList(l, {0, 1, 2, 3, 4, 5, 6});
  EXPECT_EQ(end, l.Last().Next());  // every end position is the same end

  tolk_LIST<int>::Value(Nth(l, 3)) = 30;
  l.Delete(l.First());
  l.Delete(l.Last());
  l.Delete(tolk_list_base_iter());  // nothing at the end
  ExpectList(l, {1, 2, 30, 4, 5});
}

TEST(ListTest, TransfersMoveLinksAndRecountSizes) {
  tolk_LIST<int> a, b;
  for (int i = 1; i <= 6; ++i) a.Append(i);
  b.Append(10);
  tolk_list_base_iter three = Nth(a, 2);

  a.TransferSublist(b, Nth(a, 1), Nth(a, 3));
  EXPECT_EQ(a.size, -1);
  EXPECT_EQ(b.size, -1);
  ExpectList(a, {1, 5, 6});
  ExpectList(b, {10, 2, 3, 4});
  EXPECT_EQ(tolk_LIST<int>::Value(three), 3);  // the link itself moved

  // Counting stays unknown through insertions and removals until a recount.
  a.TransferItem(b, a.First());
  a.Append(7);
  b.Delete(b.First());
  EXPECT_EQ(a.size, -1);
  EXPECT_EQ(b.size, -1);
  ExpectList(a, {5, 6, 7});
  ExpectList(b, {2, 3, 4, 1});

  a.TransferList(b);
  ExpectList(a, {});
  ExpectList(b, {2, 3, 4, 1, 5, 6, 7});
  a.Append(8);
  ExpectList(a, {8});
}

TEST(ListTest, SortOfRunLeavesOutsideAlone) {
  tolk_LIST<int> l;
  for (int v : {9, 5, 4, 3, 2, 0}) l.Append(v);
  tolk_list_base_iter first = Nth(l, 1), last = Nth(l, 4);
  l.Sort(first, last, &intCmp);
  ExpectList(l, {9, 2, 3, 4, 5, 0});
  EXPECT_EQ(tolk_LIST<int>::Value(first), 2);
  EXPECT_EQ(tolk_LIST<int>::Value(last), 5);
}

// Equal keys come out in reverse input order: std::stable_sort of the reversed input orders them the same way.
TEST(ListTest, RandomSortsMatchReversedStableSort) {
  std::mt19937 rng(7);
  for (int n : {2, 3, 7, 64, 1000}) {
    std::vector<Tagged> input;
    tolk_LIST<Tagged> l;
    for (int i = 0; i < n; ++i) {
      Tagged t{static_cast<int>(rng() % 10), static_cast<char>('A' + i % 50)};
      input.push_back(t);
      l.Append(t);
    }
    std::reverse(input.begin(), input.end());
    std::stable_sort(input.begin(), input.end(), [](Tagged a, Tagged b) { return a.key < b.key; });
    std::string expected;
    for (Tagged t : input) expected += t.tag;
    tolk_list_base_iter first = l.First(), last = l.Last();
    l.Sort(first, last, &taggedCmp);
    EXPECT_EQ(Tags(l), expected) << n;
    EXPECT_EQ(first, l.First());
    EXPECT_EQ(last, l.Last());
    EXPECT_EQ(l.Size(), n);
  }
}

TEST(ListTest, SelectFindsEveryRankWithoutReordering) {
  std::mt19937 rng(11);
  for (int n : {1, 5, 6, 26, 300}) {
    tolk_LIST<int> l;
    for (int i = 0; i < n; ++i) l.Append(static_cast<int>(rng() % (n / 2 + 1)));
    std::vector<int> before = Forward(l);
    std::vector<int> sorted = before;
    std::sort(sorted.begin(), sorted.end());
    for (int k = 0; k < n; ++k) EXPECT_EQ(tolk_LIST<int>::Value(l.Select(k, &intCmp)), sorted[k]) << n << " " << k;
    EXPECT_EQ(Forward(l), before);
    EXPECT_TRUE(l.Select(n, &intCmp).End());
    EXPECT_TRUE(l.Select(-1, &intCmp).End());
  }
}

// ---------------------------------------------------------------------------------------------------------

namespace {

void ExpectTerminatorUntouched() {
  EXPECT_EQ(tolk_slist_base::nullNode.last, &tolk_slist_base::nullNode);
  EXPECT_EQ(tolk_slist_base::nullNode.next, &tolk_slist_base::nullNode);
}

// Forward order, with every back link checked against it.
std::vector<int> Checked(const tolk_SLIST<int>& l) {
  std::vector<int> out;
  tolk_slist_link* prev = tolk_slist_base::nullNode.next;
  for (tolk_SLIST_ELEM it = l.First(); !it.End(); it.Next()) {
    EXPECT_EQ(it.position->last, prev);
    prev = it.position;
    out.push_back(tolk_SLIST<int>::Value(it));
  }
  EXPECT_EQ(l.Size(), static_cast<tolk_signed>(out.size()));
  return out;
}

}  // namespace

TEST(SListTest, InsertionsAndDeletionsKeepTheBackLinks) {
  tolk_SLIST<int> l;
  l.InsertBefore(3, tolk_SLIST_ELEM());  // empty: becomes the only element
  l.Insert(1);                           // new first
  tolk_SLIST_ELEM three = l.First().Next();
  l.InsertBefore(2, three);
  l.InsertAfter(4, three);
  l.InsertBefore(5, tolk_SLIST_ELEM());  // before the end: appended
  l.InsertAfter(0, tolk_SLIST_ELEM());   // after the end: at the front
  EXPECT_EQ(Checked(l), (std::vector<int>{0, 1, 2, 3, 4, 5}));
  EXPECT_TRUE(l.First().Previous().End());
  l.Delete(three);
  l.Delete(l.First());
  l.Delete(tolk_SLIST_ELEM());
  EXPECT_EQ(Checked(l), (std::vector<int>{1, 2, 4, 5}));
  while (!l.Empty()) l.Delete(l.First());
  EXPECT_EQ(l.start, &tolk_slist_base::nullNode);
  ExpectTerminatorUntouched();
}

TEST(SListTest, SortReversesEqualElementsAndCopiesAreDeep) {
  tolk_SLIST<int> l;
  l.Sort(&intCmp);
  EXPECT_TRUE(l.Empty());
  std::mt19937 rng(5);
  std::vector<int> expected;
  for (int i = 0; i < 200; ++i) {
    int v = static_cast<int>(rng() % 1000);
    expected.push_back(v);
    l.Insert(v);
  }
  std::sort(expected.begin(), expected.end());
  l.Sort(&intCmp);
  EXPECT_EQ(Checked(l), expected);

  tolk_SLIST<int> copy(l);
  tolk_SLIST<int>::Value(copy.First()) = -1;
  EXPECT_EQ(Checked(l), expected);
  l = copy;
  EXPECT_EQ(tolk_SLIST<int>::Value(l.First()), -1);
  ExpectTerminatorUntouched();
}
