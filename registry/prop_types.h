// Property keys, value types and kinds shared by the registries, the grid model and the GDF builder.
#pragma once

#include <cstdint>

// The value type of a property; the codes are those of tolk_Property's value kinds.
enum class ZELT_Grid_ValueType : int32_t {
  none = 0,
  large_string = 1,
  small_string = 2,
  int32_set = 3,
  int32 = 4,
  int64_set = 5,
  int64 = 6,
  float64_set = 7,
  float64 = 8,
  __unused__ = 9,
  iter_vector = 10,
};

// The kind of a property: plain value, time series, or auxiliary (declared where it is used).
enum class ZELT_PropType : int32_t {
  STATIC = 0,
  TS = 1,
  AUX = 2,
};

struct ZELT_Grid_PropKeyAndType {
  int32_t key;
  ZELT_Grid_ValueType type;
};

// Properties that every registry knows from the start; their keys are their numbers.
enum ZELT_ReservedProps {
  ZELT_SECTION_PROP = 0,
  ZELT_SUPPORTER_PROP = 1,
  ZELT_SUPPORTEE_PROP = 2,
  ZELT_NUM_RESERVED_PROPS = 3,
};

struct ZELT_ReservedPropRec {
  const char* name;
  ZELT_Grid_ValueType type;
};

// The reserved properties by key. (The table shares its name with the
// enumeration above, which is then named `enum ZELT_ReservedProps`.)
extern const ZELT_ReservedPropRec ZELT_ReservedProps[ZELT_NUM_RESERVED_PROPS];
