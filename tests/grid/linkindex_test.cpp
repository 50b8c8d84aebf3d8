// Tests of the tagged link tables behind the grid's name and id lookups, against a std::unordered_map model.
#include "grid/linkindex.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <unordered_map>
#include <vector>

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

TEST(GridLinkIndex, RandomSetsAndBothKindsOfErasesMatchTheModel) {
  std::deque<Record> records;  // several records may carry one key; the newest Set wins
  Index index(CrowdedKeys{});
  Record stranger(0);
  EXPECT_EQ(index.Find(0), nullptr);  // an index without a table yet
  EXPECT_FALSE(index.EraseIf(0, &stranger));
  EXPECT_FALSE(index.Erase(0));
  index.Touch(0);  // reads nothing without a table
  std::unordered_map<long, Record*> model;
  std::mt19937_64 rng(7);
  for (int step = 0; step < 20000; ++step) {
    const long key = static_cast<long>(rng() % 400);
    if (records.empty() || rng() % 3 != 0) {
      Record* r = &records.emplace_back(key);
      index.Set(key, r);
      model[key] = r;
    } else if (rng() % 3 == 0) {
      // By key, whichever record the entry names.
      EXPECT_EQ(index.Erase(key), model.erase(key) == 1) << "step " << step;
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
        index.Touch(k);  // only reads: the answers stay the model's
        ASSERT_EQ(index.Find(k), found == model.end() ? nullptr : found->second) << "key " << k;
      }
    }
  }
  EXPECT_GE(index.Capacity() * 3, 4 * index.Size());
}

// The records of a definition as the deferred table's walk sees them.
struct Records {
  std::deque<Record> all;
  std::vector<Record*> live;
  Record* Add(long key) {
    live.push_back(&all.emplace_back(key));
    return live.back();
  }
  void Remove(Record* r) { std::erase(live, r); }
  auto Walk() {
    return [this](auto&& take) {
      for (Record* r : live) take(r);
    };
  }
};

typedef ZELT_Grid_DeferredLinkIndex<CrowdedKeys> Deferred;

TEST(GridDeferredLinkIndex, AscendingKeysWaitForTheFirstLookup) {
  Records rs;
  Deferred ids;
  for (long k : {3, 8, 20, 21}) ids.Add(CrowdedKeys{}, k, rs.Add(k), rs.Walk());
  ids.Remove(8, rs.live[1]);
  rs.Remove(rs.live[1]);
  EXPECT_FALSE(ids.IsMade());
  EXPECT_EQ(ids.Find(CrowdedKeys{}, 20, rs.Walk()), rs.live[1]);
  EXPECT_TRUE(ids.IsMade());
  EXPECT_EQ(ids.Find(CrowdedKeys{}, 8, rs.Walk()), nullptr);
  ids.Add(CrowdedKeys{}, 30, rs.Add(30), rs.Walk());  // kept at once now
  EXPECT_EQ(ids.Find(CrowdedKeys{}, 30, rs.Walk()), rs.live.back());
  ids.Release();
}

// A repeated key builds the table before it is added, so the newest record wins, and
// removing that record leaves the key unfound although an older record still has it.
TEST(GridDeferredLinkIndex, KeyOutOfOrderKeepsTheNewestRecord) {
  Records rs;
  Deferred ids;
  Record* older = rs.Add(5);
  ids.Add(CrowdedKeys{}, 5, older, rs.Walk());
  ids.Add(CrowdedKeys{}, 9, rs.Add(9), rs.Walk());
  Record* newer = rs.Add(5);
  ids.Add(CrowdedKeys{}, 5, newer, rs.Walk());
  EXPECT_TRUE(ids.IsMade());
  EXPECT_EQ(ids.Find(CrowdedKeys{}, 5, rs.Walk()), newer);
  ids.Remove(5, older);
  EXPECT_EQ(ids.Find(CrowdedKeys{}, 5, rs.Walk()), newer);
  ids.Remove(5, newer);
  EXPECT_EQ(ids.Find(CrowdedKeys{}, 5, rs.Walk()), nullptr);
  EXPECT_EQ(ids.Find(CrowdedKeys{}, 9, rs.Walk()), rs.live[1]);
  ids.Release();
  EXPECT_EQ(ids.Find(CrowdedKeys{}, 9, rs.Walk()), nullptr);  // released: as new
}

}  // namespace
