// Tests of the open-addressing id index against a std::unordered_map model.
#include "grid/idindex.h"

#include <gtest/gtest.h>

#include <random>
#include <unordered_map>
#include <vector>

namespace {

TEST(GridIdIndex, RandomSetsAndErasesMatchTheModel) {
  std::vector<tolk_list_link> links(64);
  ZELT_Grid_IdIndex index;
  std::unordered_map<long, tolk_list_link*> model;
  std::mt19937_64 rng(7);
  // Few distinct ids, some far apart in their high bits, so that probe runs
  // collide and wrap and removals have entries to shift back.
  auto someId = [&] { return (static_cast<long>(rng() % 300) - 150) * ((rng() & 1) ? 1 : (1L << 40)); };
  for (int step = 0; step < 20000; ++step) {
    long id = someId();
    if (rng() % 3) {
      tolk_list_link* link = &links[rng() % links.size()];
      index.Set(id, link);
      model[id] = link;
    } else {
      EXPECT_EQ(index.Erase(id), model.erase(id) == 1) << "step " << step;
    }
    ASSERT_EQ(index.Size(), model.size());
    if (step % 97 == 0) {
      for (long probe = -150; probe < 150; ++probe) {
        for (long scale : {1L, 1L << 40}) {
          long key = probe * scale;
          auto found = model.find(key);
          ASSERT_EQ(index.Find(key), found == model.end() ? nullptr : found->second) << "id " << key;
        }
      }
    }
  }
}

TEST(GridIdIndex, EmptyIndexFindsNothing) {
  ZELT_Grid_IdIndex index;
  EXPECT_EQ(index.Find(0), nullptr);
  EXPECT_FALSE(index.Erase(0));
}

}  // namespace
