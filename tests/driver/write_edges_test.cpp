// Tests of the edge writer: the lines of many chunks, formatted on two threads, come out in
// the order of the pairs, and a failing stream stops both threads.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "driver/feeder_walk.h"
#include "gdf/parse_to_grid.h"
#include "grid/util.h"
#include "registry/prop_registry.h"

namespace {

// A circuit of named leaves to make pairs of; the pairs repeat them in a pattern that
// makes every line differ from its neighbours.
class PairSource : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string text = "ckt C T\n";
    for (int i = 0; i < kNodes; ++i) text += "conn C.N" + std::to_string(i) + " T\n";
    builder.SetPropReg(registry);
    ASSERT_TRUE(builder.ParseGDF(text.c_str(), nullptr));
    root = gm.GetPrimeCircuitDef();
    for (ZELT_Grid_EntityIter e = gm.GetFirstEntity(root); !gm.IsEnd(e); gm.NextEntity(root, e))
      entities.push_back(ConstructHEnt(gm, root, e));
  }

  std::vector<ZELT_Grid_HEntityPair> Pairs(size_t count) const {
    std::vector<ZELT_Grid_HEntityPair> pairs;
    for (size_t i = 0; i < count; ++i)
      pairs.emplace_back(entities[i % entities.size()], entities[(i * 7 + 3) % entities.size()]);
    return pairs;
  }

  std::string Expected(const std::vector<ZELT_Grid_HEntityPair>& pairs) const {
    std::string text;
    for (const ZELT_Grid_HEntityPair& pair : pairs)
      text += ZELT_Grid_Util::HEntToString(pair.first, gm) + " " + ZELT_Grid_Util::HEntToString(pair.second, gm) + "\n";
    return text;
  }

  static constexpr int kNodes = 97;
  ZELT_Grid gm;
  ZELT_MeMPropRegistry registry;
  ZELT_Grid_GDF_ParseToGrid builder{gm};
  ZELT_Grid_DefIter root;
  std::vector<ZELT_Grid_HEntity> entities;
};

std::string Written(const std::vector<ZELT_Grid_HEntityPair>& pairs, const ZELT_Grid& gm, int& nedges, bool& ok) {
  FILE* out = tmpfile();
  if (out == nullptr) return "no temporary file";
  ok = WriteEdges(out, pairs, gm, nedges);
  std::string text(static_cast<size_t>(ftell(out)), '\0');
  rewind(out);
  const size_t got = fread(text.data(), 1, text.size(), out);
  fclose(out);
  text.resize(got);
  return text;
}

// Around one chunk, and an even and an odd number of chunks with a part at the end.
TEST_F(PairSource, LinesComeOutInPairOrderWhateverTheChunking) {
  for (size_t count : {size_t(0), size_t(1), size_t(4095), size_t(4096), size_t(4097), size_t(2 * 4096 + 17),
                       size_t(5 * 4096 + 1)}) {
    const std::vector<ZELT_Grid_HEntityPair> pairs = Pairs(count);
    int nedges = 5;
    bool ok = false;
    const std::string text = Written(pairs, gm, nedges, ok);
    EXPECT_TRUE(ok) << count;
    EXPECT_EQ(nedges, 5 + static_cast<int>(count));
    EXPECT_TRUE(text == Expected(pairs)) << count << " pairs: the output differs";
  }
}

// The helper may be waiting to hand over a chunk when the first write fails.
TEST_F(PairSource, AFailingStreamEndsTheWritingOfManyChunks) {
  FILE* full = fopen("/dev/full", "w");
  if (full == nullptr) GTEST_SKIP() << "no /dev/full on this system";
  setvbuf(full, nullptr, _IONBF, 0);
  int nedges = 0;
  EXPECT_FALSE(WriteEdges(full, Pairs(9 * 4096), gm, nedges));
  fclose(full);
}

}  // namespace
