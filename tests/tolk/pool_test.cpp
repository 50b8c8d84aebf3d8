// Tests of the record pool: reuse by size, no overlap across chunks, large blocks.
#include "tolk/pool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace {

TEST(RecordPool, FreedBlocksServeTheNextRequestOfTheirSizeOnly) {
  tolk_RecordPool pool;
  void* a = pool.Allocate(40);
  void* b = pool.Allocate(40);
  void* c = pool.Allocate(24);
  EXPECT_EQ(static_cast<char*>(b) - static_cast<char*>(a), 40);  // cut one after another
  pool.Free(a, 40);
  pool.Free(b, 37);                // the same size once rounded up to 8
  EXPECT_NE(pool.Allocate(24), b);  // another size takes fresh memory
  EXPECT_EQ(pool.Allocate(33), b);  // last freed, first served
  EXPECT_EQ(pool.Allocate(40), a);
  pool.Free(c, 24);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(pool.Allocate(1)) % tolk_RecordPool::kGranule, 0u);
}

// Blocks of every size, made and freed at random across many chunks, each filled
// with its own byte: a block that overlapped another, or a chunk handed out twice,
// would show as a changed byte.
TEST(RecordPool, BlocksNeverOverlapUnderRandomUse) {
  struct Block {
    unsigned char* p;
    size_t bytes;
    unsigned char fill;
  };
  tolk_RecordPool pool;
  std::vector<Block> live;
  std::mt19937 rng(3);
  auto check = [](const Block& b) {
    for (size_t i = 0; i < b.bytes; ++i)
      if (b.p[i] != b.fill) return false;
    return true;
  };
  for (int step = 0; step < 40000; ++step) {
    if (live.empty() || rng() % 3 != 0) {
      size_t bytes = 1 + rng() % (rng() % 50 == 0 ? 1000 : tolk_RecordPool::kMaxBlock);
      Block b{static_cast<unsigned char*>(pool.Allocate(bytes)), bytes, static_cast<unsigned char>(rng())};
      memset(b.p, b.fill, bytes);
      live.push_back(b);
    } else {
      size_t k = rng() % live.size();
      ASSERT_TRUE(check(live[k])) << "step " << step;
      pool.Free(live[k].p, live[k].bytes);
      live[k] = live.back();
      live.pop_back();
    }
  }
  for (const Block& b : live) {
    ASSERT_TRUE(check(b));
    pool.Free(b.p, b.bytes);
  }
  EXPECT_GT(pool.ChunkBytes(), size_t(1) << 20);
}

TEST(LargeAllocation, HugeBlocksAreWritableEndToEnd) {
  const size_t bytes = (size_t(5) << 20) + 12345;
  char* p = static_cast<char*>(tolk_AllocateLarge(bytes));
  memset(p, 0x5a, bytes);
  EXPECT_EQ(p[bytes - 1], 0x5a);
  tolk_FreeLarge(p, bytes);
  char* small = static_cast<char*>(tolk_AllocateLarge(100));
  small[99] = 1;
  tolk_FreeLarge(small, 100);
}

}  // namespace
