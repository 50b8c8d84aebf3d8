// The record pool: carving blocks from chunks and recycling them through per-size free lists;
// beneath it the large blocks, mapped in whichever page size faults in faster and faulted in
// ahead by a helper thread.
#include "tolk/pool.h"

#include <algorithm>
#include <cstring>

#if defined(__linux__) && !defined(__SANITIZE_ADDRESS__)
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <time.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <mutex>
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

void* ZeroedFromHeap(size_t bytes) {
  void* block = ::operator new(bytes);
  memset(block, 0, bytes);
  return block;
}

}  // namespace

#ifdef TOLK_POOL_MAPS_LARGE

namespace {

// Every pool chunk of a big model has this size; smaller mapped requests take a stock
// block and give back its tail.
constexpr size_t kStockBlock = kLargestChunk;
// Two ready blocks cover two chunk requests in a row. Each is resident memory that nobody
// uses yet and adds to the program's peak, so the stock stays this small.
constexpr size_t kStockDepth = 2;
// A program that has asked for nothing this long has most likely stopped growing, and
// the stock would only sit in its resident memory through whatever it does next.
constexpr long kIdleReleaseNs = 100L * 1000 * 1000;
constexpr size_t kSmallPage = 4096;

size_t RoundUp(size_t bytes, size_t unit) { return (bytes + unit - 1) / unit * unit; }

// Mapped with one huge page to spare so that the block can start on a huge-page boundary;
// the spare ends are unmapped again. Null when the system has no memory to give.
char* MapAligned(size_t length, bool huge) {
  void* mapped = mmap(nullptr, length + kHugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED) return nullptr;
  char* start = reinterpret_cast<char*>(RoundUp(reinterpret_cast<size_t>(mapped), kHugePage));
  char* end = start + length;
  char* mappedEnd = static_cast<char*>(mapped) + length + kHugePage;
  if (start != mapped) munmap(mapped, static_cast<size_t>(start - static_cast<char*>(mapped)));
  if (end != mappedEnd) munmap(end, static_cast<size_t>(mappedEnd - end));
  madvise(start, length, huge ? MADV_HUGEPAGE : MADV_NOHUGEPAGE);
  return start;
}

// Which page size fresh blocks get. Huge pages spare a big model's random reads their TLB
// misses, and usually fault in faster too. But where the host of a virtual machine backs a
// fresh huge page slowly, one costs several times what its 512 small pages cost: on one such
// machine a 10^6-device model spent a fifth of all its CPU time in the kernel zeroing huge
// pages, and with small pages its runs took a tenth less. So the filler times every block it
// faults in by its own CPU clock, keeps a running cost per byte for each size, and uses huge
// pages unless they cost more than kHugeAllowance times as much as small ones. Every
// kProbeEvery-th block takes the other size, so that the figures follow the system.
constexpr double kHugeAllowance = 2.0;
constexpr unsigned kProbeEvery = 32;

struct PageSizeChoice {
  std::atomic<bool> huge{true};  // what blocks mapped now get; read by every thread
  std::atomic<size_t> blocksFaulted[2] = {0, 0};  // by the filler: [0] small pages, [1] huge
  double nsPerByte[2] = {0, 0};                     // the filler's figures; 0 until measured
};

double ThreadCpuNs() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

// Plain stores rather than MADV_POPULATE_WRITE: a fault holds only the lock of its own
// mapping, while populating holds the process's map lock, and the requesting thread's
// own mmap calls would queue behind it. Called by the filler only.
char* MapFaultedIn(PageSizeChoice& pages, size_t length) {
  // The other size while it has no figure yet, and every kProbeEvery-th block.
  const size_t faulted = pages.blocksFaulted[0] + pages.blocksFaulted[1];
  bool huge = pages.huge.load(std::memory_order_relaxed);
  if (pages.nsPerByte[huge] != 0 && (pages.nsPerByte[!huge] == 0 || faulted % kProbeEvery == 0)) huge = !huge;

  const double start = ThreadCpuNs();
  char* block = MapAligned(length, huge);
  if (block == nullptr) return nullptr;
  volatile char* page = block;
  for (size_t at = 0; at < length; at += kSmallPage) page[at] = 0;
  // Never 0, which stands for "not measured".
  const double cost = std::max((ThreadCpuNs() - start) / static_cast<double>(length), 1e-6);

  double& figure = pages.nsPerByte[huge];
  figure = figure == 0 ? cost : (figure + cost) / 2;
  pages.blocksFaulted[huge].fetch_add(1, std::memory_order_relaxed);
  if (pages.nsPerByte[0] != 0 && pages.nsPerByte[1] != 0)
    pages.huge.store(pages.nsPerByte[1] <= kHugeAllowance * pages.nsPerByte[0], std::memory_order_relaxed);
  return block;
}

// pthread's own types, because they need no destructor: the stock stays usable (as
// closed) for whatever runs at exit after the filler has been stopped.
struct StockMutex {
  void lock() { pthread_mutex_lock(&handle); }
  void unlock() { pthread_mutex_unlock(&handle); }
  pthread_mutex_t handle = PTHREAD_MUTEX_INITIALIZER;
};

// A block enters `ready` only when the filler has finished writing to it and never
// touches it again, so the mutex hands it over whole.
struct Stock {
  StockMutex mutex;
  pthread_cond_t wake = PTHREAD_COND_INITIALIZER;  // a request came, or the process ends
  char* ready[kStockDepth] = {};
  size_t readyCount = 0;
  unsigned long requests = 0;  // requests the stock could serve, to see an idle program
  bool fillerRunning = false;
  bool dormant = false;  // the filler maps nothing until the next request
  bool closed = false;   // the process is ending, or no filler could be started
  bool hooksSet = false;
  pthread_t filler{};
  std::atomic<size_t> fromStock{0};
  std::atomic<size_t> mappedOnDemand{0};
  PageSizeChoice pages;
};

constinit Stock stock;

using StockLock = std::unique_lock<StockMutex>;

// Waits for a request or the end of the process; false when the program stays idle.
bool WaitForRequest() {
  const unsigned long requests = stock.requests;
  timespec deadline;
  clock_gettime(CLOCK_MONOTONIC, &deadline);
  deadline.tv_nsec += kIdleReleaseNs;
  deadline.tv_sec += deadline.tv_nsec / 1000000000;
  deadline.tv_nsec %= 1000000000;
  while (stock.requests == requests && !stock.closed) {
    if (pthread_cond_clockwait(&stock.wake, &stock.mutex.handle, CLOCK_MONOTONIC, &deadline) == ETIMEDOUT) break;
  }
  return stock.requests != requests || stock.closed;
}

void ReleaseReady(StockLock& lock) {
  char* released[kStockDepth];
  const size_t count = stock.readyCount;
  std::copy_n(stock.ready, count, released);
  stock.readyCount = 0;
  stock.dormant = true;
  lock.unlock();
  for (size_t i = 0; i < count; ++i) munmap(released[i], kStockBlock);
  lock.lock();
}

void* RunFiller(void*) {
  StockLock lock(stock.mutex);
  while (!stock.closed) {
    if (stock.readyCount < kStockDepth && !stock.dormant) {
      lock.unlock();
      char* block = MapFaultedIn(stock.pages, kStockBlock);
      lock.lock();
      // Out of memory for now: the next request may find some freed.
      if (block == nullptr) stock.dormant = true;
      else stock.ready[stock.readyCount++] = block;
    } else if (stock.readyCount == 0) {
      pthread_cond_wait(&stock.wake, &stock.mutex.handle);
    } else if (!WaitForRequest()) {
      ReleaseReady(lock);
    }
  }
  return nullptr;
}

void StopFiller() {
  bool join = false;
  {
    StockLock lock(stock.mutex);
    stock.closed = true;
    std::swap(join, stock.fillerRunning);
  }
  pthread_cond_signal(&stock.wake);
  if (join) pthread_join(stock.filler, nullptr);
  StockLock lock(stock.mutex);
  for (size_t i = 0; i < stock.readyCount; ++i) munmap(stock.ready[i], kStockBlock);
  stock.readyCount = 0;
}

// A child of fork has no filler and may find the mutex and the condition as the
// filler left them; the mutex is held across the fork so that it is consistent.
void LockForFork() { stock.mutex.lock(); }
void UnlockInParent() { stock.mutex.unlock(); }
void ResetInChild() {
  stock.fillerRunning = false;
  stock.dormant = false;
  pthread_cond_init(&stock.wake, nullptr);
  stock.mutex.unlock();
}

// Called under the mutex. The filler blocks every signal, so that signals meant for the
// program reach its own threads.
bool StartFiller() {
  if (!stock.hooksSet) {
    if (atexit(StopFiller) != 0 || pthread_atfork(LockForFork, UnlockInParent, ResetInChild) != 0) return false;
    stock.hooksSet = true;
  }
  sigset_t all, previous;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &previous);
  const bool started = pthread_create(&stock.filler, nullptr, RunFiller, nullptr) == 0;
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
  if (!started) return false;
  pthread_setname_np(stock.filler, "tolk-prefault");
  stock.fillerRunning = true;
  return true;
}

// A ready block of at least length bytes cut to length, or null; never waits for the filler.
char* TakeStocked(size_t length) {
  char* block = nullptr;
  {
    StockLock lock(stock.mutex);
    if (stock.closed) return nullptr;
    if (!stock.fillerRunning && !StartFiller()) {
      stock.closed = true;
      return nullptr;
    }
    if (stock.readyCount > 0) block = stock.ready[--stock.readyCount];
    ++stock.requests;
    stock.dormant = false;
  }
  pthread_cond_signal(&stock.wake);
  if (block != nullptr && length < kStockBlock) munmap(block + length, kStockBlock - length);
  return block;
}

}  // namespace

void* tolk_AllocateLarge(size_t bytes) {
  if (bytes < kHugePage) return ZeroedFromHeap(bytes);
  const size_t length = RoundUp(bytes, kHugePage);
  if (length <= kStockBlock) {
    if (char* block = TakeStocked(length)) {
      stock.fromStock.fetch_add(1, std::memory_order_relaxed);
      return block;
    }
  }
  stock.mappedOnDemand.fetch_add(1, std::memory_order_relaxed);
  char* block = MapAligned(length, stock.pages.huge.load(std::memory_order_relaxed));
  // As operator new does, so that callers see one behaviour whichever path serves them.
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void tolk_FreeLarge(void* block, size_t bytes) {
  if (block == nullptr) return;
  if (bytes < kHugePage) {
    ::operator delete(block);
    return;
  }
  munmap(block, RoundUp(bytes, kHugePage));
}

void tolk_AdviseHugePages(void* block, size_t bytes) {
  if (!stock.pages.huge.load(std::memory_order_relaxed)) return;
  const size_t start = RoundUp(reinterpret_cast<size_t>(block), kHugePage);
  const size_t end = (reinterpret_cast<size_t>(block) + bytes) / kHugePage * kHugePage;
  if (end > start) madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE);
}

tolk_LargeBlockCounts tolk_CountLargeBlocks() {
  StockLock lock(stock.mutex);
  return {stock.fromStock.load(std::memory_order_relaxed), stock.mappedOnDemand.load(std::memory_order_relaxed),
          stock.readyCount, stock.pages.blocksFaulted[0].load(std::memory_order_relaxed),
          stock.pages.blocksFaulted[1].load(std::memory_order_relaxed)};
}

#else

void* tolk_AllocateLarge(size_t bytes) { return ZeroedFromHeap(bytes); }
void tolk_FreeLarge(void* block, size_t) { ::operator delete(block); }
void tolk_AdviseHugePages(void*, size_t) {}
tolk_LargeBlockCounts tolk_CountLargeBlocks() { return {0, 0, 0, 0, 0}; }

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
