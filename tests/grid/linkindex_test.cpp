// Tests of the tagged link tables behind the grid's name and id lookups, against a std::unordered_map model.
#include "grid/linkindex.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <unordered_map>

namespace {

struct Record : tolk_list_link {
  long key;
  explicit Record(long k) : key(k) {}
};

// Few homes and few tags, so that probe runs wrap around, tags collide and removals
// have entries to shift back; the keys themselves stay distinct.
struct CrowdedKeys {
  typedef long Key;
  uint64_t Hash(long k) const { return static_cast<uint64_t>(k % 5) | (static_cast<uint64_t>(k % 3) << 48); }
  long KeyOf(const tolk_list_link* l) const { return static_cast<const Record*>(l)->key; }
  bool Same(long a, long b) const { return a == b; }
};

typedef ZELT_Grid_LinkIndex<CrowdedKeys> Index;

TEST(GridLinkIndex, RandomSetsAndErasesMatchTheModel) {
  std::deque<Record> records;  // several records may carry one key; the newest Set wins
  Index index(CrowdedKeys{});
  std::unordered_map<long, Record*> model;
  std::mt19937_64 rng(7);
  for (int step = 0; step < 20000; ++step) {
    const long key = static_cast<long>(rng() % 400);
    if (records.empty() || rng() % 3 != 0) {
      Record* r = &records.emplace_back(key);
      index.Set(key, r);
      model[key] = r;
    } else {
      // The record the key's entry names, or some other record.
      auto at = model.find(key);
      Record* candidate = at != model.end() && (rng() & 1) ? at->second : &records[rng() % records.size()];
      const bool indexed = at != model.end() && at->second == candidate;
      EXPECT_EQ(index.EraseIf(key, candidate), indexed) << "step " << step;
      if (indexed) model.erase(at);
    }
    ASSERT_EQ(index.Size(), model.size());
    if (step % 97 == 0) {
      for (long k = 0; k < 400; ++k) {
        auto found = model.find(k);
        ASSERT_EQ(index.Find(k), found == model.end() ? nullptr : found->second) << "key " << k;
      }
    }
  }
  EXPECT_GE(index.Capacity() * 3, 4 * index.Size());
}

TEST(GridLinkIndex, EmptyIndexFindsAndErasesNothing) {
  Index index(CrowdedKeys{});
  Record r(0);
  EXPECT_EQ(index.Find(0), nullptr);
  EXPECT_FALSE(index.EraseIf(0, &r));
  EXPECT_EQ(index.Capacity(), 0u);
}

// The keys are the records' own: a record whose key is changed is found under its new key
// once set again, and its old entry goes with EraseIf under the old key.
TEST(GridLinkIndex, KeysAreReadFromTheRecords) {
  Index index(CrowdedKeys{});
  Record a(10), b(10);
  index.Set(10, &a);
  index.Set(10, &b);
  EXPECT_EQ(index.Find(10), &b);
  EXPECT_FALSE(index.EraseIf(10, &a));  // a is no longer the entry for 10
  EXPECT_TRUE(index.EraseIf(10, &b));
  EXPECT_EQ(index.Find(10), nullptr);
  EXPECT_EQ(index.Size(), 0u);
}

TEST(GridKeyHash, NeighbouringIdsShareSlotGroupsButNotTags) {
  const uint64_t low48 = (uint64_t(1) << 48) - 1;
  EXPECT_EQ(ZELT_Grid_KeyHash::OfId(32) & low48, (ZELT_Grid_KeyHash::OfId(47) & low48) - 15);
  EXPECT_NE(ZELT_Grid_KeyHash::OfId(32) >> 48, ZELT_Grid_KeyHash::OfId(33) >> 48);
  EXPECT_NE(ZELT_Grid_KeyHash::OfName("F01_L_510"), ZELT_Grid_KeyHash::OfName("F01_L_511"));
}

}  // namespace
