// tolk_RecordPool: small fixed-size records (graph nodes and edges, names, property entries) cut from big chunks.
#pragma once

#include <cstddef>
#include <new>
#include <utility>

// Memory for big arrays and chunks, zero-filled. From 2 MiB on it is mapped directly, in
// huge pages where the system faults those in no slower than about twice the cost of small
// ones (the helper below measures both as it goes): a model of millions of records touches
// hundreds of megabytes once, and page faults would otherwise cost as much as building it.
// Even so the kernel zeroes every fresh page when it is first touched, so a helper thread,
// started by the first request of up to 4 MiB (the record pool's chunk size), keeps two
// such blocks mapped and faulted in: a request takes one when it is ready and maps its own
// otherwise, never waiting for the helper. The helper gives its stock back once no request
// has come for a tenth of a second, and stops at exit. Both functions may be called from
// several threads. (Under AddressSanitizer everything comes from operator new, so the
// leak checker sees it, and there is no helper.)
void* tolk_AllocateLarge(size_t bytes);
// bytes must be the size the block was allocated with.
void tolk_FreeLarge(void* block, size_t bytes);
// For big arrays that come from malloc or operator new instead: asks the kernel to back
// the whole huge pages inside [block, block + bytes) with huge pages when they are first
// touched. Every 4 KiB page of such an array would otherwise cost a fault of its own. The
// contents stay as they are. Does nothing where large blocks come from operator new, or
// while large blocks get small pages because huge ones fault in slower. Not for arrays
// that realloc will grow: the advice splits malloc's mapping, and realloc then copies the
// array instead of remapping it.
void tolk_AdviseHugePages(void* block, size_t bytes);

// How the requests of 2 MiB and more were met since the program started, how many
// faulted-in blocks wait now, and how many the helper faulted in with each page size; for
// tests and measurements. All zero where large blocks come from operator new.
struct tolk_LargeBlockCounts {
  size_t fromStock;
  size_t mappedOnDemand;
  size_t stocked;
  size_t faultedInSmallPages;
  size_t faultedInHugePages;
};
tolk_LargeBlockCounts tolk_CountLargeBlocks();

// Hands out blocks of up to kMaxBlock bytes, sizes rounded up to 8. Blocks are cut one
// after another from chunks that grow from 4 KiB to 4 MiB, so records made one after
// another lie side by side and carry no allocator header; a freed block goes on the free
// list of its size and serves the next request of that size. Chunks are given back only
// when the pool is destroyed: whatever lives in a block must be finished with by then.
// Larger blocks come from operator new and are kept on a list: the pool's destruction
// gives back every block still out, large or small. Blocks are aligned to 8 bytes.
class tolk_RecordPool {
 public:
  static constexpr size_t kGranule = 8;
  static constexpr size_t kMaxBlock = 256;

  tolk_RecordPool() = default;
  ~tolk_RecordPool();
  tolk_RecordPool(const tolk_RecordPool&) = delete;
  tolk_RecordPool& operator=(const tolk_RecordPool&) = delete;

  void* Allocate(size_t bytes);
  // bytes must be the size the block was allocated with.
  void Free(void* block, size_t bytes);

  template <class T, class... Args>
  T* New(Args&&... args) {
    static_assert(alignof(T) <= kGranule, "records kept in a pool must not need more than 8-byte alignment");
    return ::new (Allocate(sizeof(T))) T(std::forward<Args>(args)...);
  }
  template <class T>
  void Delete(T* record) {
    if (record == nullptr) return;
    record->~T();
    Free(record, sizeof(T));
  }

  // Bytes held in chunks, in use or not.
  size_t ChunkBytes() const { return chunkBytes; }

 private:
  struct FreeBlock {
    FreeBlock* next;
  };
  struct Chunk {
    Chunk* next;
    size_t bytes;
  };
  struct LargeBlock {
    LargeBlock* prev;
    LargeBlock* next;
  };
  static size_t SizeClass(size_t bytes) { return (bytes + kGranule - 1) / kGranule; }
  void* Carve(size_t rounded);
  void* AllocateLargeBlock(size_t bytes);
  void FreeLargeBlock(void* user);
  void AddChunk(size_t atLeast);

  FreeBlock* freeLists[kMaxBlock / kGranule + 1] = {};
  char* cursor = nullptr;  // the unused rest of the newest chunk
  char* limit = nullptr;
  Chunk* chunks = nullptr;
  LargeBlock* largeBlocks = nullptr;
  size_t nextChunkBytes = 4096;
  size_t chunkBytes = 0;
};
