// Benchmarks of large blocks: what a request and the first write cost the requesting thread.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstring>
#include <vector>

#include "tolk/pool.h"

namespace {

constexpr size_t kChunk = size_t(4) << 20;
// Chunks are kept like a growing pool keeps them, so that the kernel hands out other
// pages for each new one instead of the two it has just taken back, still in the cache.
constexpr size_t kChunksKept = 64;

void Pause(std::chrono::milliseconds pause) {
  const auto until = std::chrono::steady_clock::now() + pause;
  while (std::chrono::steady_clock::now() < until) {
  }
}

// A record pool's chunk: asked for, then written once from start to end as records are
// carved from it. Only the request and the write are timed. With no pause the requests
// outrun the helper thread and most blocks are mapped on demand; with a pause of a few
// milliseconds (a program building records between chunks) they come from the stock.
void BM_ChunkRequestAndFirstWrite(benchmark::State& state) {
  const auto pause = std::chrono::milliseconds(state.range(0));
  const tolk_LargeBlockCounts before = tolk_CountLargeBlocks();
  std::vector<char*> kept(kChunksKept, nullptr);
  size_t next = 0;
  for (auto _ : state) {
    tolk_FreeLarge(kept[next], kChunk);
    const auto start = std::chrono::steady_clock::now();
    char* chunk = static_cast<char*>(tolk_AllocateLarge(kChunk));
    memset(chunk, 1, kChunk);
    benchmark::DoNotOptimize(chunk);
    const auto end = std::chrono::steady_clock::now();
    state.SetIterationTime(std::chrono::duration<double>(end - start).count());
    kept[next] = chunk;
    next = (next + 1) % kChunksKept;
    Pause(pause);
  }
  for (char* chunk : kept) tolk_FreeLarge(chunk, kChunk);
  const tolk_LargeBlockCounts after = tolk_CountLargeBlocks();
  const size_t fromStock = after.fromStock - before.fromStock;
  const size_t requests = fromStock + after.mappedOnDemand - before.mappedOnDemand;
  if (requests != 0) state.counters["from_stock"] = static_cast<double>(fromStock) / static_cast<double>(requests);
  const size_t huge = after.faultedInHugePages - before.faultedInHugePages;
  const size_t faulted = huge + after.faultedInSmallPages - before.faultedInSmallPages;
  if (faulted != 0) state.counters["huge_pages"] = static_cast<double>(huge) / static_cast<double>(faulted);
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(kChunk));
}
BENCHMARK(BM_ChunkRequestAndFirstWrite)->Arg(0)->Arg(10)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
