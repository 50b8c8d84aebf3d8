// Fetching memory ahead of its use: for walks whose reads would otherwise wait for memory
// one after another.
#pragma once

#include <cstdint>

// Asks for the cache line at p ahead of its use; p need not be valid. Unlike a bare
// __builtin_prefetch it survives a loop that does nothing else, which the
// compiler would otherwise remove whole.
inline void tolk_Prefetch(const void* p) {
  __builtin_prefetch(p);
  asm volatile("" : : "r"(p));
}

// A tolk_RecordPool (tolk/pool.h) carves its records one after another, so a walk over
// records made in order meets them at rising addresses a few hundred bytes apart: a stride
// too uneven for the processor's own prefetcher. Called with the record a walk leaves and
// the one it reaches, this fetches the lines a fixed distance beyond that step. A step
// backwards or a long jump fetches nothing.
inline void tolk_PrefetchStep(const void* left, const void* reached) {
  constexpr uintptr_t kDistance = 1024;
  constexpr uintptr_t kMaxStep = 2048;
  constexpr uintptr_t kLine = 64;
  const uintptr_t from = reinterpret_cast<uintptr_t>(left);
  const uintptr_t to = reinterpret_cast<uintptr_t>(reached);
  if (to <= from || to - from > kMaxStep) return;
  // The line that holds from + kDistance was fetched by the step before.
  for (uintptr_t line = ((from + kDistance) | (kLine - 1)) + 1; line <= to + kDistance; line += kLine)
    tolk_Prefetch(reinterpret_cast<const void*>(line));
}
