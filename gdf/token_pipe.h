// Blocks of scanned tokens on their way from the tokenizer to the parser, filled on a thread of their own or on demand.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "gdf/gdf_parse.h"

// A line of the input as the error report shows it: its first characters, its number and,
// once the line has ended, where the scan stood at its end.
struct gdf_LineRecord {
  static constexpr int kCapacity = 160;
  // A record is made for every line of the input, and text is written up to its NUL when
  // the line closes: the rest of the 160 bytes is left as it was rather than cleared.
  gdf_LineRecord() { text[0] = '\0'; }
  int64_t lineno = 0;
  int32_t end_offset = 0;
  int32_t length = 0;
  char text[kCapacity];
};

// One token as gdf_lex hands it out. The parser's thread reads one for every token, from
// memory the scanning thread wrote, so it is kept to 16 bytes.
struct gdf_TokenValue {
  int32_t code;
  uint32_t text_length; // tokens with a text: value.ival is the text's offset in the block
  GDF_STYPE value;
};

// Where the scan stood right after a token; read only when somebody asks.
struct gdf_TokenPosition {
  enum : uint8_t { kPrevWasEol = 1, kFinished = 2, kReadError = 4 };
  int32_t token_offset;  // clamped to int
  uint16_t line;         // the current line and the one before, in the block's lines
  uint16_t old_line;
  uint8_t line_length;   // how much of the current line the scan had kept
  uint8_t flags;
};

// Texts one after another; grows by doubling and keeps its room from block to block. Its
// memory is whole cache lines, which the thread that fills it shares with nobody.
class gdf_TextArena {
 public:
  // Room for length bytes behind the texts so far; the pointer holds until the next call.
  char* Extend(size_t length) {
    if (_size + length > _capacity) Grow(_size + length);
    char* room = _bytes.get() + _size;
    _size += length;
    return room;
  }
  size_t Size() const { return _size; }
  const char* At(size_t offset) const { return _bytes.get() + offset; }
  void Clear() { _size = 0; }

 private:
  void Grow(size_t needed);
  struct Free {
    void operator()(char* bytes) const { std::free(bytes); }
  };
  std::unique_ptr<char, Free> _bytes;
  size_t _size = 0;
  size_t _capacity = 0;
};

// Aligned to whole cache lines for the same reason.
struct alignas(64) gdf_TokenBlock {
  std::vector<gdf_TokenValue> tokens;
  std::vector<gdf_TokenPosition> positions; // one per token
  std::vector<gdf_LineRecord> lines;
  gdf_TextArena texts; // the tokens' texts, each with a NUL behind it
  int read_error = 0;      // errno of the failed read that tokens flagged kReadError saw
  bool last = false;       // the scan ended in this block

  void Clear() {
    tokens.clear();
    positions.clear();
    lines.clear();
    texts.Clear();
    read_error = 0;
    last = false;
  }
};

// Blocks go round between the filler and the consumer. With a thread the filler runs ahead
// of the parser by a few blocks, so that scanning and building share the two cores; without
// one the consumer fills each block when it needs it. The filler sets last on the block that
// ends the scan and fills no more after it.
class gdf_TokenPipe {
 public:
  using Filler = void (*)(gdf_TokenBlock&);
  static constexpr size_t kBlockTokens = 4096;
  // Two lines per token at most, numbered in 16 bits.
  static_assert(2 * kBlockTokens <= 65536);

  gdf_TokenPipe() = default;
  ~gdf_TokenPipe() { Stop(); }
  gdf_TokenPipe(const gdf_TokenPipe&) = delete;
  gdf_TokenPipe& operator=(const gdf_TokenPipe&) = delete;

  void Start(Filler fill, bool threaded);
  // Gives back the block the consumer is done with (nullptr at first) and returns the next one.
  gdf_TokenBlock* Next(gdf_TokenBlock* done);
  // Ends the filling (waiting for the thread) and gives back every block.
  void Stop();
  // Stops and frees the blocks; the next Start makes new ones. They are megabytes that a
  // program holding its model would otherwise keep to the end.
  void Release();

 private:
  // A block written by one core is read by the other; the longer the round, the less often
  // the writer finds a line still in the reader's cache. Sixteen blocks are about 6 MB.
  static constexpr int kBlocks = 16;
  // A filler that has run out of free blocks waits until this many are free again. The
  // filler is usually the faster side, and every wake-up costs the consumer's thread a
  // system call: waking it for each block cost the parse of a 10^6-device model 8,000 of
  // them.
  static constexpr size_t kRefillBlocks = 4;
  void Produce();

  Filler _fill = nullptr;
  bool _threaded = false;
  std::vector<std::unique_ptr<gdf_TokenBlock>> _blocks;
  std::mutex _mutex;
  std::condition_variable _full_ready;
  std::condition_variable _free_ready;
  std::deque<gdf_TokenBlock*> _full;
  std::deque<gdf_TokenBlock*> _free;
  bool _stop = false;
  std::thread _thread;
};
