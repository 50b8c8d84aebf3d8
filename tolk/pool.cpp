// The record pool: carving blocks from chunks and recycling them through per-size free lists.
#include "tolk/pool.h"

#include <algorithm>

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__)
#include <sys/mman.h>
#define TOLK_POOL_MAPS_LARGE 1
#endif

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define TOLK_POOL_POISON(p, n) ASAN_POISON_MEMORY_REGION((p), (n))
#define TOLK_POOL_UNPOISON(p, n) ASAN_UNPOISON_MEMORY_REGION((p), (n))
#else
#define TOLK_POOL_POISON(p, n) ((void)(p), (void)(n))
#define TOLK_POOL_UNPOISON(p, n) ((void)(p), (void)(n))
#endif

namespace {

constexpr size_t kLargestChunk = size_t(4) << 20;
// Keeps the first block of a chunk 16-byte aligned.
constexpr size_t kChunkHeader = 16;
constexpr size_t kHugePage = size_t(2) << 20;

size_t RoundUp(size_t bytes, size_t unit) { return (bytes + unit - 1) / unit * unit; }

}  // namespace

#ifdef TOLK_POOL_MAPS_LARGE

// Mapped with one huge page to spare so that the block can start on a huge-page boundary;
// the spare ends are unmapped again.
void* tolk_AllocateLarge(size_t bytes) {
  if (bytes < kHugePage) return ::operator new(bytes);
  const size_t length = RoundUp(bytes, kHugePage);
  void* mapped = mmap(nullptr, length + kHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) throw std::bad_alloc();
  char* start = reinterpret_cast<char*>(RoundUp(reinterpret_cast<size_t>(mapped), kHugePage));
  char* end = start + length;
  char* mappedEnd = static_cast<char*>(mapped) + length + kHugePage;
  if (start != mapped) munmap(mapped, static_cast<size_t>(start - static_cast<char*>(mapped)));
  if (end != mappedEnd) munmap(end, static_cast<size_t>(mappedEnd - end));
  madvise(start, length, MADV_HUGEPAGE);
  return start;
}

void tolk_FreeLarge(void* block, size_t bytes) {
  if (block == nullptr) return;
  if (bytes < kHugePage) {
    ::operator delete(block);
    return;
  }
  munmap(block, RoundUp(bytes, kHugePage));
}

#else

void* tolk_AllocateLarge(size_t bytes) { return ::operator new(bytes); }
void tolk_FreeLarge(void* block, size_t) { ::operator delete(block); }

#endif

tolk_RecordPool::~tolk_RecordPool() {
  while (largeBlocks != nullptr) FreeLargeBlock(largeBlocks + 1);
  while (chunks != nullptr) {
    Chunk* next = chunks->next;
    const size_t bytes = chunks->bytes;
    TOLK_POOL_UNPOISON(chunks, bytes);
    tolk_FreeLarge(chunks, bytes);
    chunks = next;
  }
}

void* tolk_RecordPool::Allocate(size_t bytes) {
  if (bytes > kMaxBlock) return AllocateLargeBlock(bytes);
  const size_t sizeClass = SizeClass(bytes == 0 ? 1 : bytes);
  const size_t rounded = sizeClass * kGranule;
  if (FreeBlock* block = freeLists[sizeClass]) {
    TOLK_POOL_UNPOISON(block, rounded);
    freeLists[sizeClass] = block->next;
    return block;
  }
  return Carve(rounded);
}

void tolk_RecordPool::Free(void* block, size_t bytes) {
  if (block == nullptr) return;
  if (bytes > kMaxBlock) {
    FreeLargeBlock(block);
    return;
  }
  const size_t sizeClass = SizeClass(bytes == 0 ? 1 : bytes);
  FreeBlock* freed = static_cast<FreeBlock*>(block);
  freed->next = freeLists[sizeClass];
  freeLists[sizeClass] = freed;
  TOLK_POOL_POISON(block, sizeClass * kGranule);
}

// Large blocks carry a header that keeps them on a list, so that the pool can give back
// those its users abandon along with the chunks.
void* tolk_RecordPool::AllocateLargeBlock(size_t bytes) {
  LargeBlock* block = static_cast<LargeBlock*>(::operator new(sizeof(LargeBlock) + bytes));
  block->prev = nullptr;
  block->next = largeBlocks;
  if (largeBlocks != nullptr) largeBlocks->prev = block;
  largeBlocks = block;
  return block + 1;
}

void tolk_RecordPool::FreeLargeBlock(void* user) {
  LargeBlock* block = static_cast<LargeBlock*>(user) - 1;
  (block->prev != nullptr ? block->prev->next : largeBlocks) = block->next;
  if (block->next != nullptr) block->next->prev = block->prev;
  ::operator delete(block);
}

void* tolk_RecordPool::Carve(size_t rounded) {
  if (static_cast<size_t>(limit - cursor) < rounded) AddChunk(rounded);
  void* block = cursor;
  cursor += rounded;
  TOLK_POOL_UNPOISON(block, rounded);
  return block;
}

// The rest of the previous chunk, less than one block, stays unused.
void tolk_RecordPool::AddChunk(size_t atLeast) {
  const size_t bytes = std::max(nextChunkBytes, kChunkHeader + atLeast);
  Chunk* chunk = static_cast<Chunk*>(tolk_AllocateLarge(bytes));
  chunk->next = chunks;
  chunk->bytes = bytes;
  chunks = chunk;
  chunkBytes += bytes;
  cursor = reinterpret_cast<char*>(chunk) + kChunkHeader;
  limit = reinterpret_cast<char*>(chunk) + bytes;
  TOLK_POOL_POISON(cursor, static_cast<size_t>(limit - cursor));
  nextChunkBytes = std::min(nextChunkBytes * 2, kLargestChunk);
}
