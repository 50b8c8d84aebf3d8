// Side arrays of tolk_TARBTREE: index numbering, growth and compaction by 1.3, values kept throughout.
#include "tolk/rbtree.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
#include <set>
#include <string>

namespace {

const ZELT_Grid_IntComparator intCmp;

typedef tolk_TARBTREE<int, int, ZELT_Grid_IntComparator> Tree;
typedef Tree::Iter Iter;
typedef tolk_TASSOC<int, Tree, Iter> IntArray;
typedef tolk_TASSOC<std::string, Tree, Iter> StringArray;

// Starts out null, as the grid's pointer wrappers do.
struct NullInit {
  const void* p = nullptr;
};
typedef tolk_TASSOC<NullInit, Tree, Iter> NullInitArray;

// Every entry has its own index within the array, and the indexes in use plus the free ones account for
// the whole index space.
void CheckIndexes(const Tree& t, tolk_unsigned arraySize) {
  tolk_TAssocArray_Manager* m = t.pAssocM;
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(arraySize, m->GetMaxIndex() + 1);
  std::set<tolk_unsigned> names;
  for (Iter it = t.First(); !it.End(); it.Next()) {
    EXPECT_LT(it.GetName(), arraySize);
    EXPECT_TRUE(names.insert(it.GetName()).second) << "index handed out twice";
  }
  EXPECT_EQ(names.size() + static_cast<size_t>(m->freeIndices.Size()), arraySize);
  EXPECT_LE(static_cast<tolk_unsigned>(m->freeIndices.Size()), (m->GetMaxIndex() + 1) / 2 + 1);
}

}  // namespace

TEST(RBTreeAssocTest, TenEntriesGiveFourteenSlotsNumberedInKeyOrder) {
  Tree t(&intCmp);
  for (int k = 10; k >= 1; --k) t.Insert(k * 3, k);
  EXPECT_EQ(t.pAssocM, nullptr);
  IntArray a(t);
  ASSERT_NE(t.pAssocM, nullptr);
  EXPECT_EQ(a.size, 14u);
  EXPECT_EQ(t.pAssocM->GetMaxIndex(), 13u);
  tolk_unsigned expected = 0;
  for (Iter it = t.First(); !it.End(); it.Next()) EXPECT_EQ(it.GetName(), expected++);

  // The largest free index goes out first.
  t.Insert(100, 0);
  EXPECT_EQ(t.ElemSearch(100).GetName(), 13u);
  t.Insert(0, 0);
  EXPECT_EQ(t.ElemSearch(0).GetName(), 12u);
  CheckIndexes(t, a.size);
}

// Slots that growth adds start as the type's default, not as a copy of old bytes.
TEST(RBTreeAssocTest, NewSlotsStartAsTheTypeSays) {
  Tree t(&intCmp);
  NullInitArray ptrs(t);
  EXPECT_EQ(ptrs.size, 1u);  // no entries yet: one slot
  for (int k = 0; k < 30; ++k) {
    t.Insert(k, k);
    Iter it = t.ElemSearch(k);
    EXPECT_EQ(ptrs[it].p, nullptr);
    ptrs[it].p = &ptrs;
  }
  std::set<tolk_unsigned> used;
  for (Iter it = t.First(); !it.End(); it.Next()) used.insert(it.GetName());
  for (tolk_unsigned i = 0; i < ptrs.size; ++i) EXPECT_EQ(ptrs.p[i].p, used.count(i) ? &ptrs : nullptr) << i;
}

// Random insertions and deletions, with two arrays (one of them of a type with its own copy) checked
// against a model throughout.
TEST(RBTreeAssocTest, RandomRunsKeepEveryValueThroughGrowthAndCompaction) {
  std::mt19937 rng(2024);
  Tree t(&intCmp);
  std::map<int, int> model;
  for (int k = 0; k < 50; ++k) {
    t.Insert(k, k);
    model[k] = k;
  }
  IntArray doubled(t);
  StringArray names(t);
  for (Iter it = t.First(); !it.End(); it.Next()) {
    doubled[it] = 2 * Tree::Key(it);
    names[it] = std::to_string(Tree::Key(it));
  }
  int compactions = 0, growths = 0;
  tolk_unsigned lastSize = doubled.size;
  for (int step = 0; step < 6000; ++step) {
    // Phases of growth and shrinkage, so that both kinds of resize happen repeatedly.
    bool growing = (step / 1000) % 2 == 0;
    int k = static_cast<int>(rng() % 3000);
    if (rng() % 10 < (growing ? 7u : 2u)) {
      if (t.Insert(k, k) == nullptr) {
        Iter it = t.ElemSearch(k);
        doubled[it] = 2 * k;
        names[it] = std::to_string(k);
        model[k] = k;
      }
    } else if (!model.empty()) {
      auto victim = model.lower_bound(k);
      if (victim == model.end()) victim = model.begin();
      ASSERT_EQ(t.Delete(victim->first), 0);
      model.erase(victim);
    }
    if (doubled.size != lastSize) {
      (doubled.size > lastSize ? growths : compactions)++;
      lastSize = doubled.size;
    }
    ASSERT_EQ(names.size, doubled.size);
    if (step % 50 == 0) {
      ASSERT_NO_FATAL_FAILURE(CheckIndexes(t, doubled.size));
      size_t n = 0;
      for (Iter it = t.First(); !it.End(); it.Next(), ++n) {
        ASSERT_EQ(doubled[it], 2 * Tree::Key(it));
        ASSERT_EQ(names[it], std::to_string(Tree::Key(it)));
      }
      ASSERT_EQ(n, model.size());
    }
  }
  EXPECT_GT(growths, 3);
  EXPECT_GT(compactions, 3);
}

TEST(RBTreeAssocTest, CompactionRenumbersInKeyOrder) {
  Tree t(&intCmp);
  for (int k = 0; k < 20; ++k) t.Insert(k, k);
  IntArray a(t);  // 20 entries: maxIndex 26
  for (Iter it = t.First(); !it.End(); it.Next()) a[it] = Tree::Key(it) + 1000;
  int k = 0;
  while (a.size == 27u) t.Delete(k++);
  // Compaction happened once the free indexes exceeded half of the 27.
  tolk_unsigned used = 20 - k;
  EXPECT_EQ(a.size, static_cast<tolk_unsigned>(std::ceil(used * 1.3)) + 1);
  tolk_unsigned expected = 0;
  for (Iter it = t.First(); !it.End(); it.Next()) {
    EXPECT_EQ(it.GetName(), expected++);
    EXPECT_EQ(a[it], Tree::Key(it) + 1000);
  }
}

TEST(RBTreeAssocTest, ManagerLivesWhileArraysAreRegistered) {
  Tree t(&intCmp);
  for (int k = 0; k < 5; ++k) t.Insert(k, k);
  {
    IntArray a(t), b(t);
    EXPECT_EQ(a.size, b.size);
  }
  EXPECT_EQ(t.pAssocM, nullptr);

  // Entries made without a manager are numbered by the next one.
  for (int k = 5; k < 15; ++k) t.Insert(k, k);
  IntArray c(t);
  EXPECT_EQ(c.size, 21u);  // ceil(15 × 1.3) + 1
  CheckIndexes(t, c.size);
}

TEST(RBTreeAssocTest, TreeGoingFirstReportsAndLeavesArraysSafe) {
  auto* t = new Tree(&intCmp);
  t->Insert(1, 1);
  IntArray a(*t);
  testing::internal::CaptureStderr();
  delete t;
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            " Error, last assoc. list destructed with active associative arrays!\n");
}

TEST(RBTreeAssocTest, ResizeWithTooFewSlotsReportsAndKeepsTheArray) {
  Tree t(&intCmp);
  t.Insert(1, 1);
  IntArray a(t);
  int* before = a.p;
  testing::internal::CaptureStderr();
  a.Resize(nullptr, a.size + 1, a.size + 5);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Internal: Assoc Resize invalid size condition \n\n");
  EXPECT_EQ(a.p, before);
  EXPECT_EQ(a.size, 3u);
}
