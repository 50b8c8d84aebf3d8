// Tests of the record pool (reuse by size, no overlap across chunks) and of large blocks
// (zero-filled, distinct across threads, from the stock or mapped on demand).
#include "tolk/pool.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <functional>
#include <new>
#include <random>
#include <thread>
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

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kLargeBlocksAreMapped = false;
#else
constexpr bool kLargeBlocksAreMapped = true;
#endif

constexpr size_t kMiB = size_t(1) << 20;

// memcmp against a filled buffer rather than a loop, so that sanitizer builds check
// hundreds of megabytes quickly.
bool AllBytesAre(const unsigned char* p, size_t bytes, unsigned char value) {
  static constexpr size_t kPiece = 64 * 1024;
  unsigned char expected[kPiece];
  memset(expected, value, kPiece);
  for (size_t at = 0; at < bytes; at += kPiece)
    if (memcmp(p + at, expected, std::min(kPiece, bytes - at)) != 0) return false;
  return true;
}

// Requests until one is served from the stock; false when none was within a few seconds.
bool EventuallyFromStock(size_t bytes, const std::function<void(unsigned char*)>& use) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (std::chrono::steady_clock::now() < deadline) {
    const size_t before = tolk_CountLargeBlocks().fromStock;
    auto* block = static_cast<unsigned char*>(tolk_AllocateLarge(bytes));
    const bool stocked = tolk_CountLargeBlocks().fromStock != before;
    if (stocked) use(block);
    tolk_FreeLarge(block, bytes);
    if (stocked) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

// Every thread holds blocks of all sizes at once (below, at and around the mapped sizes,
// the stock's size, and beyond it), each filled with the thread's own byte once it was
// seen zeroed: a block handed out twice, or a stock block that was not fresh, shows as
// a wrong byte.
TEST(LargeAllocation, BlocksFromSeveralThreadsAreZeroedDistinctAndWritable) {
  const size_t sizes[] = {1, 4095, 64 * 1024, 2 * kMiB - 1, 2 * kMiB, 2 * kMiB + 1, 3 * kMiB, 4 * kMiB, 4 * kMiB + 8,
                          9 * kMiB};
  constexpr int kThreads = 4, kRounds = 3;
  std::atomic<int> waiting{kThreads};
  std::atomic<int> faults{0};
  auto run = [&](unsigned char fill) {
    for (--waiting; waiting.load() > 0;) std::this_thread::yield();
    for (int round = 0; round < kRounds; ++round) {
      std::vector<unsigned char*> blocks;
      for (size_t bytes : sizes) {
        auto* block = static_cast<unsigned char*>(tolk_AllocateLarge(bytes));
        if (!AllBytesAre(block, bytes, 0)) ++faults;
        memset(block, fill, bytes);
        blocks.push_back(block);
      }
      for (size_t i = 0; i < blocks.size(); ++i) {
        if (!AllBytesAre(blocks[i], sizes[i], fill)) ++faults;
        tolk_FreeLarge(blocks[i], sizes[i]);
      }
    }
  };
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) threads.emplace_back(run, static_cast<unsigned char>(0x11 * (t + 1)));
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(faults.load(), 0);
}

// Both ways a mapped block can come: whole from the stock, cut from a stock block (its
// tail given back), or mapped on demand beyond the stock's size. Each must start on a
// huge page, be zeroed and take writes to its last byte.
TEST(LargeAllocation, StockAndOnDemandBlocksAreAlignedZeroedAndWritable) {
  if (!kLargeBlocksAreMapped) GTEST_SKIP() << "large blocks come from operator new here";
  auto check = [](size_t bytes) {
    return [bytes](unsigned char* block) {
      EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % (2 * kMiB), 0u) << bytes;
      EXPECT_TRUE(AllBytesAre(block, bytes, 0)) << bytes;
      memset(block, 0x5a, bytes);
      EXPECT_EQ(block[bytes - 1], 0x5a) << bytes;
    };
  };
  EXPECT_TRUE(EventuallyFromStock(4 * kMiB, check(4 * kMiB)));
  EXPECT_TRUE(EventuallyFromStock(3 * kMiB + 5, check(3 * kMiB + 5)));
  EXPECT_TRUE(EventuallyFromStock(2 * kMiB, check(2 * kMiB)));

  const size_t onDemandBefore = tolk_CountLargeBlocks().mappedOnDemand;
  const size_t beyond = 6 * kMiB + 3;
  auto* block = static_cast<unsigned char*>(tolk_AllocateLarge(beyond));
  EXPECT_EQ(tolk_CountLargeBlocks().mappedOnDemand, onDemandBefore + 1);
  check(beyond)(block);
  tolk_FreeLarge(block, beyond);
}

// The helper times both page sizes before it settles on one, and blocks of either size
// come zeroed and whole.
TEST(LargeAllocation, HelperFaultsBlocksInWithBothPageSizes) {
  if (!kLargeBlocksAreMapped) GTEST_SKIP() << "large blocks come from operator new here";
  auto faulted = [] {
    const tolk_LargeBlockCounts counts = tolk_CountLargeBlocks();
    return counts.faultedInSmallPages + counts.faultedInHugePages;
  };
  for (int i = 0; i < 10 && faulted() < 4; ++i)
    ASSERT_TRUE(EventuallyFromStock(4 * kMiB, [](unsigned char* block) {
      EXPECT_TRUE(AllBytesAre(block, 4 * kMiB, 0));
      memset(block, 0x77, 4 * kMiB);
    }));
  EXPECT_GE(tolk_CountLargeBlocks().faultedInSmallPages, 1u);
  EXPECT_GE(tolk_CountLargeBlocks().faultedInHugePages, 1u);
}

// A program that stops asking must not keep faulted-in memory resident for good.
TEST(LargeAllocation, StockIsGivenBackWhenNoRequestsCome) {
  if (!kLargeBlocksAreMapped) GTEST_SKIP() << "large blocks come from operator new here";
  ASSERT_TRUE(EventuallyFromStock(4 * kMiB, [](unsigned char*) {}));
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while (tolk_CountLargeBlocks().stocked != 0 && std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_EQ(tolk_CountLargeBlocks().stocked, 0u);
}

// The child of a fork inherits the stock but not the helper thread; it must not hang on
// the stock's lock, and a helper of its own must keep serving it beyond the two blocks
// it inherited.
TEST(LargeAllocation, ChildOfForkGetsLargeBlocks) {
#if defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "ThreadSanitizer does not follow threads across fork";
#endif
  tolk_FreeLarge(tolk_AllocateLarge(4 * kMiB), 4 * kMiB);
  const pid_t child = fork();
  ASSERT_NE(child, -1);
  if (child == 0) {
    const size_t fromStockBefore = tolk_CountLargeBlocks().fromStock;
    bool good = true;
    for (int i = 0; i < 20; ++i) {
      auto* block = static_cast<unsigned char*>(tolk_AllocateLarge(4 * kMiB));
      good = good && AllBytesAre(block, 4 * kMiB, 0);
      memset(block, 1, 4 * kMiB);
      tolk_FreeLarge(block, 4 * kMiB);
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (kLargeBlocksAreMapped && tolk_CountLargeBlocks().fromStock - fromStockBefore <= 2) good = false;
    _exit(good ? 0 : 1);
  }
  int status = 0;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (waitpid(child, &status, WNOHANG) == 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      kill(child, SIGKILL);
      waitpid(child, &status, 0);
      FAIL() << "the child hung";
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

// Like operator new, whichever way the block would have come.
TEST(LargeAllocation, RequestBeyondTheSystemThrowsBadAlloc) {
  if (!kLargeBlocksAreMapped) GTEST_SKIP() << "the sanitizer's allocator reports such requests itself";
  EXPECT_THROW(tolk_AllocateLarge(size_t(1) << 60), std::bad_alloc);
  auto* block = static_cast<unsigned char*>(tolk_AllocateLarge(4 * kMiB));
  block[4 * kMiB - 1] = 1;
  tolk_FreeLarge(block, 4 * kMiB);
}

}  // namespace
