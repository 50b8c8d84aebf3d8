// Comparators of the ordered maps: the virtual interface and the plain ones
// that need no grid type. Compare(a, b) answers -1, 0 or 1 as a is before,
// equal to or after b.
#pragma once

#include <cstdint>
#include <cstring>

#include "tolk/types.h"

// Virtual comparison used by tolk_RBTREE and by the graphs' sorts.
template <class K>
class tolk_Comparator {
 public:
  virtual ~tolk_Comparator() = default;
  virtual tolk_signed Compare(const K& a, const K& b) const = 0;
};

// Untyped pointers, by address (unsigned).
class tolk_PHGComparator final : public tolk_Comparator<void*> {
 public:
  tolk_signed Compare(void* const& a, void* const& b) const override {
    uintptr_t x = reinterpret_cast<uintptr_t>(a), y = reinterpret_cast<uintptr_t>(b);
    return x < y ? -1 : (x > y ? 1 : 0);
  }
};

// Signed 64-bit ids, numeric.
class ZELT_Grid_LongComparator final : public tolk_Comparator<long> {
 public:
  tolk_signed Compare(const long& a, const long& b) const override { return a < b ? -1 : (a > b ? 1 : 0); }
};

// Signed 32-bit keys, numeric.
class ZELT_Grid_IntComparator final : public tolk_Comparator<int> {
 public:
  tolk_signed Compare(const int& a, const int& b) const override { return a < b ? -1 : (a > b ? 1 : 0); }
};

// NUL-terminated names, by strcmp folded to -1, 0, 1.
class ZELT_Grid_StringComparator final : public tolk_Comparator<const char*> {
 public:
  tolk_signed Compare(const char* const& a, const char* const& b) const override {
    int r = strcmp(a, b);
    return r > 0 ? 1 : (r < 0 ? -1 : 0);
  }
};
