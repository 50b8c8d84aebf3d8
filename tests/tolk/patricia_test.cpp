// Patricia tries: the zero key, never-overwriting insertion, deletion, the untyped
// trie's conventions, and a randomised run against std::map with structure checks.
#include "tolk/patricia.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

constexpr uint64_t kHighByte = uint64_t{1} << 56;

// Exposes the trie's nodes so the test can check its shape.
class CheckedTrie : public tolk_PATRICIA<uint64_t, std::string> {
 public:
  // Walks every downward link from the head. Each stored node must be reached
  // exactly once downward, bit indexes must grow along downward paths and every
  // node (head included) must be the target of exactly one upward link.
  void CheckShape(size_t expected_nodes) const {
    std::map<const tolk_patbase_node*, int> upward_in;
    std::set<const tolk_patbase_node*> seen;
    std::vector<std::pair<const tolk_patbase_node*, const tolk_patbase_node*>> todo{{head, head->l}};
    while (!todo.empty()) {
      auto [parent, child] = todo.back();
      todo.pop_back();
      if (child->b <= parent->b) {
        ++upward_in[child];
        continue;
      }
      ASSERT_TRUE(seen.insert(child).second) << "node reached twice";
      todo.push_back({child, child->l});
      todo.push_back({child, child->r});
    }
    EXPECT_EQ(seen.size(), expected_nodes);
    EXPECT_EQ(upward_in[head], 1);
    for (const tolk_patbase_node* n : seen) EXPECT_EQ(upward_in[n], 1) << "bit " << n->b;
  }
};

std::string Text(uint64_t k) { return "value of " + std::to_string(k) + " with room to leave the small buffer"; }

// The zero key is held beside the trie; the random run below checks the answers against std::map.
TEST(PatriciaTest, ZeroKeyAndAnEmptiedTrie) {
  tolk_PATRICIA<uint64_t, std::string> trie;
  EXPECT_EQ(trie.Insert(9, "nine"), nullptr);
  EXPECT_EQ(trie.Insert(0, "zero"), nullptr);
  EXPECT_EQ(*trie.GetSomeKey(), 0u);  // the zero key comes first
  *trie.Insert(9, "") = "changed";    // the answer is the stored value itself
  EXPECT_EQ(*trie.Search(9), "changed");
  EXPECT_EQ(trie.Delete(0), 0);
  EXPECT_EQ(trie.Delete(9 + kHighByte), 1);  // shares the low bytes of the stored key
  EXPECT_EQ(trie.Delete(9), 0);
  EXPECT_EQ(trie.GetSomeKey(), nullptr);
  EXPECT_EQ(trie.Insert(9, "again"), nullptr);
}

TEST(PatriciaTest, KeysDifferingOnlyInHighestByteAreApart) {
  CheckedTrie trie;
  for (uint64_t k = 0; k < 256; ++k) EXPECT_EQ(trie.Insert(k * kHighByte + 7, Text(k)), nullptr);
  trie.CheckShape(256);
  for (uint64_t k = 0; k < 256; k += 2) EXPECT_EQ(trie.Delete(k * kHighByte + 7), 0);
  trie.CheckShape(128);
  for (uint64_t k = 0; k < 256; ++k) {
    const std::string* found = trie.Search(k * kHighByte + 7);
    EXPECT_EQ(found ? *found : "", k % 2 ? Text(k) : "");
  }
}

// Every key is handed out once; what is left to the destructor, string values
// included, must be released too (checked under asan).
TEST(PatriciaTest, DrainThroughSomeKeyAndDestroyWithEntries) {
  tolk_PATRICIA<uint64_t, std::string> trie;
  std::set<uint64_t> keys{0, 1, 2, 3, kHighByte, 5 * kHighByte, ~uint64_t{0}};
  for (uint64_t k : keys) trie.Insert(k, Text(k));
  std::set<uint64_t> drained;
  while (const uint64_t* k = trie.GetSomeKey()) {
    const uint64_t key = *k;
    EXPECT_TRUE(drained.insert(key).second);
    EXPECT_EQ(trie.Delete(key), 0);
  }
  EXPECT_EQ(drained, keys);

  tolk_PATRICIA<uint64_t, std::string> left_full;
  for (uint64_t k = 0; k < 1000; ++k) left_full.Insert(k * 7919, Text(k));
}

// Random operations over a key pool mixing small values, the zero key, keys apart
// only in the highest byte and full-width random keys; the trie must agree with
// std::map after every step and keep its shape.
TEST(PatriciaTest, RandomisedAgainstStdMap) {
  std::mt19937_64 rng(20240601);
  std::vector<uint64_t> pool{0, 1, 2, 255, 256, kHighByte, 2 * kHighByte, 255 * kHighByte, ~uint64_t{0}};
  for (int i = 0; i < 300; ++i) pool.push_back(rng());
  for (int i = 0; i < 40; ++i) pool.push_back(rng() % 64);

  CheckedTrie trie;
  std::map<uint64_t, std::string> model;
  for (int step = 0; step < 6000; ++step) {
    const uint64_t k = pool[rng() % pool.size()];
    const std::string v = Text(step);
    switch (rng() % 3) {
      case 0: {
        std::string* stored = trie.Insert(k, v);
        auto [it, added] = model.emplace(k, v);
        ASSERT_EQ(stored == nullptr, added);
        if (stored) {
          ASSERT_EQ(*stored, it->second);
        }
        break;
      }
      case 1:
        ASSERT_EQ(trie.Delete(k), model.erase(k) ? 0 : 1);
        break;
      default: {
        std::string* found = trie.Search(k);
        auto it = model.find(k);
        ASSERT_EQ(found != nullptr, it != model.end());
        if (found) {
          ASSERT_EQ(*found, it->second);
        }
      }
    }
    if (step % 50 == 0) {
      trie.CheckShape(model.size() - model.count(0));
      for (const auto& [key, value] : model) ASSERT_EQ(*trie.Search(key), value);
    }
  }
}

}  // namespace
