// Block-allocated double-ended queue and its stack and queue adapters.
#include "tolk/dqueue.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <string>

namespace {

// Counts default constructions, which happen only when a block of slots is allocated.
struct Counted {
  static inline int made = 0;
  int v = 0;
  Counted() { ++made; }
  Counted(int x) : v(x) {}
};

}  // namespace

// Both adapters across several blocks of 8, and again after emptying.
TEST(DQueueTest, StackAndQueueOrderAcrossBlocks) {
  tolk_STACK<int> s;
  tolk_QUEUE<int> q(8);
  for (int round = 0; round < 2; ++round) {
    for (int i = 1; i <= 20; ++i) {
      s.Push(i);
      q.Add(i);
    }
    EXPECT_EQ(s.Size(), 20);
    EXPECT_EQ(s.Snoop(), 20);
    EXPECT_EQ(q.Snoop(), 1);
    for (int i = 1; i <= 20; ++i) {
      EXPECT_EQ(s.Pop(), 21 - i);
      EXPECT_EQ(q.Get(), i);
    }
    EXPECT_TRUE(s.Empty() && q.Empty());
  }
}

// Random mixes at both ends, block sizes 1 to 8, against std::deque.
TEST(DQueueTest, RandomOperationsMatchStdDeque) {
  std::mt19937 rng(42);
  for (long basesize : {1L, 2L, 3L, 8L}) {
    tolk_DQUEUE<std::string> d(basesize);
    std::deque<std::string> model;
    for (int step = 0; step < 20000; ++step) {
      unsigned op = rng() % (model.size() > 40 ? 6 : 4);  // drift back when it grows large
      std::string v = std::to_string(step);
      if (op == 0) {
        d.Addfront(v);
        model.push_front(v);
      } else if (op == 1) {
        d.Addend(v);
        model.push_back(v);
      } else if (!model.empty() && op % 2 == 0) {
        ASSERT_EQ(d.Snoopfront(), model.front());
        ASSERT_EQ(d.Getfront(), model.front());
        model.pop_front();
      } else if (!model.empty()) {
        ASSERT_EQ(d.Snoopend(), model.back());
        ASSERT_EQ(d.Getend(), model.back());
        model.pop_back();
      }
      ASSERT_EQ(d.Size(), static_cast<tolk_signed>(model.size()));
      ASSERT_EQ(d.Empty(), model.empty());
    }
    tolk_DQUEUE<std::string> copy(d), assigned(basesize);
    assigned.Addend("overwritten");
    assigned = d;
    d.Clear();
    EXPECT_TRUE(d.Empty());
    while (!model.empty()) {
      ASSERT_EQ(assigned.Getfront(), model.front());
      ASSERT_EQ(copy.Getfront(), model.front());
      model.pop_front();
    }
    EXPECT_TRUE(copy.Empty());
  }
}

// Pushing and popping across a block boundary reuses the spare block instead of allocating.
TEST(DQueueTest, SpareBlockIsReused) {
  tolk_STACK<Counted> s;
  for (int i = 0; i < 8; ++i) s.Push(i);
  Counted::made = 0;
  for (int round = 0; round < 10; ++round) {
    s.Push(100);  // opens a second block
    EXPECT_EQ(s.Pop().v, 100);
  }
  EXPECT_EQ(Counted::made, 8);  // one block, allocated once

  Counted::made = 0;
  while (!s.Empty()) s.Pop();
  s.Push(1);
  EXPECT_EQ(Counted::made, 0);
}
