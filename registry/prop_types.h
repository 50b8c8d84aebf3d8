// Property keys, value types and kinds shared by the registries, the grid model and the GDF builder.
#pragma once

#include <cstdint>

#include "tolk/property.h"

// The value type of a property: tolk_Property's value kinds under the names the
// registries and the builder use, so that the codes have one source.
enum class ZELT_Grid_ValueType : int32_t {
  none = tolk_Property::none,
  large_string = tolk_Property::large_string,
  small_string = tolk_Property::small_string,
  int32_set = tolk_Property::int32_set,
  int32 = tolk_Property::int32,
  int64_set = tolk_Property::int64_set,
  int64 = tolk_Property::int64,
  float64_set = tolk_Property::float64_set,
  float64 = tolk_Property::float64,
  __unused__ = tolk_Property::__not_used__,
  iter_vector = tolk_Property::iter_vector,
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
