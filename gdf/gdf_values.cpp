// Coercion of written GDF values to property types, and the text forms of property-set members.
#include "gdf/gdf_values.h"

#include <cerrno>
#include <cstdarg>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr gdf_Verdict kAccepted{gdf_Verdict::kAccepted, nullptr};

gdf_Verdict Warning(const char* format) { return {gdf_Verdict::kWarning, format}; }
gdf_Verdict Error(const char* format) { return {gdf_Verdict::kError, format}; }

void SetInteger(gdf_Value& out, ZELT_Grid_ValueType type, int64_t value) {
  out.type = type;
  out.form = gdf_Value::kInteger;
  out.integer = value;
}

void SetReal(gdf_Value& out, ZELT_Grid_ValueType type, double value) {
  out.type = type;
  out.form = gdf_Value::kReal;
  out.real = value;
}

void SetText(gdf_Value& out, ZELT_Grid_ValueType type, const char* text) {
  out.type = type;
  out.form = gdf_Value::kText;
  out.text = text;
}

void SetDigits(gdf_Value& out, ZELT_Grid_ValueType type, const char* format, ...) __attribute__((format(printf, 3, 4)));
void SetDigits(gdf_Value& out, ZELT_Grid_ValueType type, const char* format, ...) {
  va_list args;
  va_start(args, format);
  vsnprintf(out.digits, sizeof out.digits, format, args);
  va_end(args);
  SetText(out, type, out.digits);
}

// Reals that round into the 32-bit and the 64-bit integer range.
bool FitsInt32(double value) { return value >= -2147483648.0 && value <= 2147483647.0; }
bool FitsInt64(double value) { return value >= -9223372036854775808.0 && value <= 9223372036854775808.0; }

// Halves away from zero. The upper end of the 64-bit range itself has no
// integer; it saturates.
int64_t RoundHalfAway(double value) {
  if (value >= 9223372036854775808.0) return INT64_MAX;
  return std::llround(value);
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// The text without blanks and tabs at either end, as [begin, end).
void Trim(const char* text, const char** begin, const char** end) {
  const char* b = text;
  const char* e = text + strlen(text);
  while (b < e && IsBlank(*b)) ++b;
  while (e > b && IsBlank(e[-1])) --e;
  *begin = b;
  *end = e;
}

// The whole of [begin, end) as a decimal integer within [low, high]: an
// optional sign and digits, nothing else. Empty reads as 0.
bool WholeInteger(const char* begin, const char* end, int64_t low, int64_t high, int64_t* value) {
  if (begin == end) {
    *value = 0;
    return true;
  }
  const bool negative = *begin == '-';
  if (*begin == '-' || *begin == '+') ++begin;
  if (begin == end) return false;
  // Accumulated as a negative number, which has room for the lowest value.
  int64_t result = 0;
  for (const char* p = begin; p < end; ++p) {
    if (*p < '0' || *p > '9') return false;
    const int digit = *p - '0';
    if (result < (INT64_MIN + digit) / 10) return false;
    result = result * 10 - digit;
  }
  if (!negative) {
    if (result == INT64_MIN) return false;
    result = -result;
  }
  if (result < low || result > high) return false;
  *value = result;
  return true;
}

// The whole of [begin, end) as a real, as strtod reads it, without overflow.
// Empty reads as 0.
bool WholeReal(const char* begin, const char* end, double* value) {
  if (begin == end) {
    *value = 0;
    return true;
  }
  const std::string copy(begin, end); // strtod needs the end of the text marked
  char* stop = nullptr;
  errno = 0;
  const double result = strtod(copy.c_str(), &stop);
  if (stop != copy.c_str() + copy.size() || copy.empty()) return false;
  if (errno == ERANGE && std::isinf(result)) return false;
  *value = result;
  return true;
}

bool IntegerSetType(ZELT_Grid_ValueType type) { return type == ZELT_Grid_ValueType::int32_set || type == ZELT_Grid_ValueType::int64_set; }

size_t ListLength(const gdf_Value& value) {
  return value.form == gdf_Value::kReals ? value.reals.size() : value.integers.size();
}

template <class T>
size_t ElementTextLength(T value);

template <>
size_t ElementTextLength(int64_t value) {
  return size_t(snprintf(nullptr, 0, "%" PRId64, value));
}

template <>
size_t ElementTextLength(double value) {
  return size_t(snprintf(nullptr, 0, "%g", value));
}

template <class T>
size_t ListTextLength(const std::vector<T>& values) {
  size_t length = 2 + (values.empty() ? 0 : values.size() - 1); // brackets and commas
  for (T value : values) length += ElementTextLength(value);
  return length;
}

template <class T>
std::string ListText(int count, const T* values, void (*append)(std::string&, T)) {
  std::string text = "[";
  for (int i = 0; i < count; ++i) {
    if (i > 0) text += ',';
    append(text, values[i]);
  }
  text += ']';
  return text;
}

} // namespace

const char* gdf_type_name(ZELT_Grid_ValueType type) {
  static const char* const kNames[] = {"none",  "string",      "string", "int32_set", "int32",
                                       "int64_set", "int64", "float64_set", "float64"};
  const int code = static_cast<int>(type);
  if (code >= 0 && code < int(sizeof kNames / sizeof kNames[0])) return kNames[code];
  return type == ZELT_Grid_ValueType::iter_vector ? "iter_vector" : "unknown";
}

bool gdf_is_set_type(ZELT_Grid_ValueType type) { return type == ZELT_Grid_ValueType::int32_set || type == ZELT_Grid_ValueType::int64_set || type == ZELT_Grid_ValueType::float64_set; }

bool gdf_is_string_type(ZELT_Grid_ValueType type) { return type == ZELT_Grid_ValueType::small_string || type == ZELT_Grid_ValueType::large_string; }

void gdf_make_null(gdf_Value& out) { SetText(out, ZELT_Grid_ValueType::small_string, nullptr); }

gdf_Verdict gdf_coerce_integer(int64_t value, bool beyond_32_bits, ZELT_Grid_ValueType type, gdf_Value& out) {
  switch (type) {
    case ZELT_Grid_ValueType::int32:
      if (beyond_32_bits) {
        gdf_make_null(out);
        return Warning("WARNING: Value is out of range for an '%s' type.  Using null.");
      }
      SetInteger(out, type, value);
      return kAccepted;
    case ZELT_Grid_ValueType::int64:
      SetInteger(out, type, value);
      return kAccepted;
    case ZELT_Grid_ValueType::float64:
      SetReal(out, type, double(value));
      return kAccepted;
    case ZELT_Grid_ValueType::small_string:
    case ZELT_Grid_ValueType::large_string:
      SetDigits(out, type, "%" PRId64, value);
      return kAccepted;
    default:
      return Error(beyond_32_bits ? "ERROR: Property requires '%s' type."
                                  : "ERROR: Property requires value of type '%s'");
  }
}

gdf_Verdict gdf_coerce_real(double value, ZELT_Grid_ValueType type, gdf_Value& out) {
  switch (type) {
    case ZELT_Grid_ValueType::int32:
    case ZELT_Grid_ValueType::int64:
      if (type == ZELT_Grid_ValueType::int32 ? FitsInt32(value) : FitsInt64(value)) {
        SetInteger(out, type, RoundHalfAway(value));
        return Warning("WARNING: Property requires '%s' type. Using lround(double).");
      }
      gdf_make_null(out);
      return Warning("WARNING: Property requires '%s' type, but rounded double is out of range. Using null.");
    case ZELT_Grid_ValueType::float64:
      SetReal(out, type, value);
      return kAccepted;
    case ZELT_Grid_ValueType::small_string:
    case ZELT_Grid_ValueType::large_string:
      SetDigits(out, type, "%g", value);
      return kAccepted;
    default:
      return Error("ERROR: Property requires '%s' type.");
  }
}

gdf_Verdict gdf_coerce_text(const char* text, ZELT_Grid_ValueType type, bool in_property_set, gdf_Value& out) {
  if (gdf_is_string_type(type)) {
    if (strlen(text) > size_t(gdf_kMaxStringLength))
      return Error("ERROR: A value of type '%s' may hold at most 65535 characters");
    SetText(out, type, text);
    return kAccepted;
  }
  if (type != ZELT_Grid_ValueType::int32 && type != ZELT_Grid_ValueType::int64 && type != ZELT_Grid_ValueType::float64)
    return Error("ERROR: Property requires '%s' type.");
  const char* begin;
  const char* end;
  Trim(text, &begin, &end);
  bool coerced;
  if (type == ZELT_Grid_ValueType::float64) {
    double real = 0;
    coerced = WholeReal(begin, end, &real);
    if (coerced) SetReal(out, type, real);
  } else {
    int64_t integer = 0;
    coerced = type == ZELT_Grid_ValueType::int32 ? WholeInteger(begin, end, INT32_MIN, INT32_MAX, &integer)
                                 : WholeInteger(begin, end, INT64_MIN, INT64_MAX, &integer);
    if (coerced) SetInteger(out, type, integer);
  }
  if (coerced) return kAccepted;
  if (in_property_set) return Error("ERROR: Cannot coerce value to '%s' type.");
  gdf_make_null(out);
  return Warning("WARNING: Cannot coerce value to '%s' type. Will store as null.");
}

gdf_Verdict gdf_begin_list(ZELT_Grid_ValueType type, gdf_Value& out) {
  if (!gdf_is_set_type(type)) return Error("ERROR: Property requires a scalar value");
  out.type = type;
  out.form = type == ZELT_Grid_ValueType::float64_set ? gdf_Value::kReals : gdf_Value::kIntegers;
  out.integers.clear();
  out.reals.clear();
  return kAccepted;
}

gdf_Verdict gdf_push_list_integer(int64_t value, bool beyond_32_bits, gdf_Value& out) {
  if (beyond_32_bits && out.type == ZELT_Grid_ValueType::int32_set)
    return Error("ERROR: Value is out of range for property of type int32set");
  if (ListLength(out) >= size_t(gdf_kMaxListLength)) return Error("ERROR: A number list may hold at most 1048576 values");
  if (out.form == gdf_Value::kReals)
    out.reals.push_back(double(value));
  else
    out.integers.push_back(value);
  return kAccepted;
}

gdf_Verdict gdf_push_list_real(double value, gdf_Value& out) {
  if (IntegerSetType(out.type)) return Error("ERROR: Property requires integer values");
  if (ListLength(out) >= size_t(gdf_kMaxListLength)) return Error("ERROR: A number list may hold at most 1048576 values");
  out.reals.push_back(value);
  return kAccepted;
}

void gdf_append_integer_text(std::string& out, int64_t value) {
  char digits[32];
  out.append(digits, size_t(snprintf(digits, sizeof digits, "%" PRId64, value)));
}

void gdf_append_real_text(std::string& out, double value) {
  char digits[32];
  out.append(digits, size_t(snprintf(digits, sizeof digits, "%g", value)));
}

std::string gdf_list_text(int count, const int64_t* values) { return ListText(count, values, gdf_append_integer_text); }

std::string gdf_list_text(int count, const double* values) { return ListText(count, values, gdf_append_real_text); }

size_t gdf_list_text_length(const gdf_Value& value) {
  return value.form == gdf_Value::kReals ? ListTextLength(value.reals) : ListTextLength(value.integers);
}
