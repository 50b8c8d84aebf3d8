// The round of token blocks between the filler and the consumer.
#include "gdf/token_pipe.h"

#include <cstring>
#include <new>

#include "tolk/thread.h"

void gdf_TextArena::Grow(size_t needed) {
  size_t capacity = _capacity > 0 ? _capacity : 4096;
  while (capacity < needed) capacity *= 2;
  // A multiple of the line size, as aligned_alloc requires.
  std::unique_ptr<char, Free> bytes(static_cast<char*>(std::aligned_alloc(64, capacity)));
  if (bytes == nullptr) throw std::bad_alloc();
  if (_size > 0) memcpy(bytes.get(), _bytes.get(), _size);
  _bytes = std::move(bytes);
  _capacity = capacity;
}

void gdf_TokenPipe::Start(Filler fill, bool threaded) {
  Stop();
  _fill = fill;
  _threaded = threaded;
  _stop = false;
  const int blocks = threaded ? kBlocks : 1;
  while (static_cast<int>(_blocks.size()) < blocks) {
    _blocks.push_back(std::make_unique<gdf_TokenBlock>());
    _blocks.back()->tokens.reserve(kBlockTokens);
    _blocks.back()->positions.reserve(kBlockTokens);
    // Each token opens at most two lines: its own and the one before.
    _blocks.back()->lines.reserve(2 * kBlockTokens);
  }
  for (int i = 0; i < blocks; ++i) _free.push_back(_blocks[i].get());
  if (!threaded) return;
  // Without a thread to be had (a process at its limit) the blocks are filled on demand.
  _threaded = tolk_TryStartThread(_thread, [this] { Produce(); });
}

void gdf_TokenPipe::Produce() {
  for (;;) {
    gdf_TokenBlock* block;
    {
      std::unique_lock<std::mutex> lock(_mutex);
      if (_free.empty()) _free_ready.wait(lock, [this] { return _stop || _free.size() >= kRefillBlocks; });
      if (_stop) return;
      block = _free.front();
      _free.pop_front();
    }
    _fill(*block);
    {
      std::lock_guard<std::mutex> lock(_mutex);
      _full.push_back(block);
    }
    _full_ready.notify_one();
    if (block->last) return;
  }
}

gdf_TokenBlock* gdf_TokenPipe::Next(gdf_TokenBlock* done) {
  if (!_threaded) {
    gdf_TokenBlock* block = done != nullptr ? done : _free.front();
    _fill(*block);
    return block;
  }
  std::unique_lock<std::mutex> lock(_mutex);
  if (done != nullptr) {
    _free.push_back(done);
    if (_free.size() >= kRefillBlocks) _free_ready.notify_one();
  }
  _full_ready.wait(lock, [this] { return !_full.empty(); });
  gdf_TokenBlock* block = _full.front();
  _full.pop_front();
  return block;
}

void gdf_TokenPipe::Stop() {
  if (_thread.joinable()) {
    {
      std::lock_guard<std::mutex> lock(_mutex);
      _stop = true;
    }
    _free_ready.notify_all();
    _thread.join();
  }
  _threaded = false;
  _full.clear();
  _free.clear();
}

void gdf_TokenPipe::Release() {
  Stop();
  _blocks.clear();
}
