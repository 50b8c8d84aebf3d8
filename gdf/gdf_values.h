// Values written in GDF: coercion to a property's type, the names messages give types, and the text forms of property-set members.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "registry/prop_types.h"

// Time-series field types, which tsprop, tsschema and tsexpr write; they travel
// where the builder expects a property's value type.
enum gdf_FieldTypeCode : int {
  gdf_kTSNone = 0,
  gdf_kTSString = 1,
  gdf_kTSInt32 = 2,
  gdf_kTSInt64 = 3,
  gdf_kTSFloat64 = 4,
};

// Limits that keep every value within what a property can hold.
inline constexpr int gdf_kMaxStringLength = 65535;   // characters of a text value
inline constexpr int gdf_kMaxListLength = 1048576;   // elements of a number list
inline constexpr int gdf_kMaxListTextLength = 4095;  // characters of a list's text in a property set

// The name that parser messages print for a value type.
const char* gdf_type_name(ZELT_Grid_ValueType type);
bool gdf_is_set_type(ZELT_Grid_ValueType type);
bool gdf_is_string_type(ZELT_Grid_ValueType type);

// A written value turned into what the builder takes for a property of `type`;
// `type` also chooses the builder overload. Reused from statement to statement.
struct gdf_Value {
  enum Form { kInteger, kReal, kText, kIntegers, kReals };
  ZELT_Grid_ValueType type = ZELT_Grid_ValueType::none;
  Form form = kText;
  int64_t integer = 0;
  double real = 0;
  const char* text = nullptr; // kText; null is the null value. Borrowed, or `digits`.
  char digits[32] = {};
  std::vector<int64_t> integers;
  std::vector<double> reals;
};

// What became of a written value: taken as it is, taken after a warning, or
// refused. `format` is the message, with one %s for the type's name.
struct gdf_Verdict {
  enum Kind { kAccepted, kWarning, kError };
  Kind kind = kAccepted;
  const char* format = nullptr;
};

// Scalars for a property of `type`. An integer token is beyond_32_bits when it
// does not fit 32 bits. A text must outlive `out`; inside a property set an
// uncoercible text is an error rather than a null.
gdf_Verdict gdf_coerce_integer(int64_t value, bool beyond_32_bits, ZELT_Grid_ValueType type, gdf_Value& out);
gdf_Verdict gdf_coerce_real(double value, ZELT_Grid_ValueType type, gdf_Value& out);
gdf_Verdict gdf_coerce_text(const char* text, ZELT_Grid_ValueType type, bool in_property_set, gdf_Value& out);
// The null value: a null text, whatever the property's type.
void gdf_make_null(gdf_Value& out);

// Number lists, element by element, for a property of `type`.
gdf_Verdict gdf_begin_list(ZELT_Grid_ValueType type, gdf_Value& out);
gdf_Verdict gdf_push_list_integer(int64_t value, bool beyond_32_bits, gdf_Value& out);
gdf_Verdict gdf_push_list_real(double value, gdf_Value& out);

// Text forms in which property sets keep their members: integers "%ld", reals
// "%lg", lists "[a,b,...]".
void gdf_append_integer_text(std::string& out, int64_t value);
void gdf_append_real_text(std::string& out, double value);
std::string gdf_list_text(int count, const int64_t* values);
std::string gdf_list_text(int count, const double* values);
// Characters of the list text of `value` (a list) without making it.
size_t gdf_list_text_length(const gdf_Value& value);
