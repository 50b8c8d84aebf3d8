// Typed values: storage rules, checked queries, text forms; property sets; packed byte buffers.
#include "tolk/property.h"

#include <cinttypes>
#include <climits>
#include <cstdarg>
#include <cstring>
#include <type_traits>
#include <utility>

#include "tolk/assert.h"

namespace {

const char kInt32Query[] = "tolk_Property ERROR, Int32 query for property of different type!\n";
const char kInt64Query[] = "tolk_Property ERROR, Int64 query for property that is neither 32 or 64 bit integer\n";
const char kFloat64Query[] = "tolk_Property ERROR, Float64 query for property of different type!\n";
const char kStringQuery[] = "tolk_Property ERROR, String query for property of different type!\n";
const char kSetQuery[] = "tolk_Property ERROR, query for property of different type!\n";
const char kInt32SetRange[] = "tolk_Property ERROR, index for int32set out of range!\n";
const char kInt64SetRange[] = "tolk_Property ERROR, index for int64set is out of range!\n";
const char kFloat64SetRange[] = "tolk_Property ERROR, index for float64_set is out of range!\n";
const char kNotVector[] = "tolk_Property ERROR, Value is not a vector!\n";
const char kNullVector[] = "tolk_Property ERROR, Vector is null!\n";
const char kTextTooLong[] = "Bytefield: String size limited to 64k\n";
const char kSetSize[] = "tolk_Property ERROR, set element count out of range!\n";
const char kSetValues[] = "tolk_Property ERROR, set values missing!\n";

__attribute__((format(printf, 2, 3))) void Appendf(std::string& out, const char* format, ...) {
  char small[64];
  va_list args;
  va_start(args, format);
  int n = vsnprintf(small, sizeof small, format, args);
  va_end(args);
  if (n < static_cast<int>(sizeof small)) {
    out.append(small, n);
    return;
  }
  // Only huge doubles under %f get here.
  const size_t at = out.size();
  out.resize(at + n + 1);
  va_start(args, format);
  vsnprintf(&out[at], n + 1, format, args);
  va_end(args);
  out.resize(at + n);
}

template <class T>
void AppendSet(std::string& out, const char* tag, const T* elements, int count) {
  Appendf(out, "[%s, %d, [", tag, count);
  for (int i = 0; i < count; ++i) {
    if constexpr (std::is_same_v<T, double>)
      Appendf(out, "%f,", elements[i]);
    else if constexpr (std::is_same_v<T, int64_t>)
      Appendf(out, "%" PRId64 ",", elements[i]);
    else
      Appendf(out, "%d,", elements[i]);
  }
  out += "]]";
}

}  // namespace

// ---------------------------------------------------------------------------------------------------------
// tolk_Property: storage
// ---------------------------------------------------------------------------------------------------------

tolk_Property& tolk_Property::operator=(const tolk_Property& o) {
  if (this != &o) {
    tolk_Property copy(o);
    *this = std::move(copy);
  }
  return *this;
}

tolk_Property& tolk_Property::operator=(tolk_Property&& o) noexcept {
  if (this != &o) {
    Release();
    StealFrom(o);
  }
  return *this;
}

void* tolk_Property::HeapArray() const {
  switch (type) {
    case large_string: return value.longstring_val;
    case int32_set: return value.int_set;
    case int64_set: return value.long_set;
    case float64_set: return value.double_set;
    default: return nullptr;
  }
}

void tolk_Property::AdoptHeapArray(void* array) {
  switch (type) {
    case large_string: value.longstring_val = static_cast<char*>(array); break;
    case int32_set: value.int_set = static_cast<int32_t*>(array); break;
    case int64_set: value.long_set = static_cast<int64_t*>(array); break;
    case float64_set: value.double_set = static_cast<double*>(array); break;
    default: TOLK_ASSERT(false, "tolk_Property: heap array for a kind without one\n");
  }
}

void tolk_Property::Release() {
  if (type & 1)
    ::operator delete(HeapArray());
  else if (type == iter_vector)
    delete value.vector_val;
  type = none;
  is_null = true;
  length = 0;
  value.long_val = 0;
}

void tolk_Property::CopyFrom(const tolk_Property& o) {
  type = o.type;
  is_null = o.is_null;
  length = o.length;
  if (type & 1) {
    value.long_val = 0;
    if (const void* source = o.HeapArray()) {
      void* array = ::operator new(length);
      memcpy(array, source, length);
      AdoptHeapArray(array);
    }
  } else if (type == iter_vector) {
    value.vector_val = o.value.vector_val ? new IterVector(*o.value.vector_val) : nullptr;
  } else {
    value = o.value;
  }
}

void tolk_Property::StealFrom(tolk_Property& o) {
  type = o.type;
  is_null = o.is_null;
  length = o.length;
  value = o.value;
  o.type = none;
  o.is_null = true;
  o.length = 0;
  o.value.long_val = 0;
}

void tolk_Property::Set(Type t, int32_t len) {
  type = t;
  length = len;
  is_null = false;
}

void tolk_Property::Clear() { Release(); }

void tolk_Property::SetNull() {
  const Type kept = type;
  Release();
  type = kept;
}

// The Init calls that copy caller data build the new value aside first: the data may
// live inside this very value.
void tolk_Property::InitString(const char* text) {
  if (!text) {
    Clear();
    return;
  }
  const size_t characters = strlen(text);
  TOLK_ASSERT(characters < kMaxTextLength, kTextTooLong);
  const int32_t bytes = static_cast<int32_t>(characters + 1);
  tolk_Property fresh;
  if (characters < sizeof value.shortstring_val) {
    fresh.Set(small_string, bytes);
    memcpy(fresh.value.shortstring_val, text, bytes);
  } else {
    fresh.Set(large_string, bytes);
    fresh.value.longstring_val = static_cast<char*>(::operator new(bytes));
    memcpy(fresh.value.longstring_val, text, bytes);
  }
  *this = std::move(fresh);
}

void tolk_Property::InitArray(Type t, const void* values, int count, int width) {
  TOLK_ASSERT(count >= 0 && count <= INT32_MAX / width, kSetSize);
  TOLK_ASSERT(values || count == 0, kSetValues);
  tolk_Property fresh;
  fresh.Set(t, count * width);
  if (count > 0) {
    void* array = ::operator new(fresh.length);
    memcpy(array, values, fresh.length);
    fresh.AdoptHeapArray(array);
  }
  *this = std::move(fresh);
}

void tolk_Property::InitInt32(int32_t v) {
  Release();
  Set(int32, sizeof v);
  value.int_val = v;
}

void tolk_Property::InitInt64(int64_t v) {
  Release();
  Set(int64, sizeof v);
  value.long_val = v;
}

void tolk_Property::InitFloat64(double v) {
  Release();
  Set(float64, sizeof v);
  value.double_val = v;
}

void tolk_Property::InitInt32Set(const int32_t* values, int count) {
  InitArray(int32_set, values, count, sizeof *values);
}
void tolk_Property::InitInt64Set(const int64_t* values, int count) {
  InitArray(int64_set, values, count, sizeof *values);
}
void tolk_Property::InitFloat64Set(const double* values, int count) {
  InitArray(float64_set, values, count, sizeof *values);
}

void tolk_Property::InitIterVector() {
  Release();
  Set(iter_vector, 0);
  value.vector_val = new IterVector;
}

// ---------------------------------------------------------------------------------------------------------
// tolk_Property: queries
// ---------------------------------------------------------------------------------------------------------

const char* tolk_Property::QString() const {
  TOLK_ASSERT(type == small_string || type == large_string, kStringQuery);
  if (type == small_string) return value.shortstring_val;
  return value.longstring_val ? value.longstring_val : "";
}

int32_t tolk_Property::QInt32() const {
  TOLK_ASSERT(type == int32, kInt32Query);
  return value.int_val;
}

int64_t tolk_Property::QInt64() const {
  TOLK_ASSERT(type == int64 || type == int32, kInt64Query);
  return type == int32 ? value.int_val : value.long_val;
}

double tolk_Property::QFloat64() const {
  TOLK_ASSERT(type == float64, kFloat64Query);
  return value.double_val;
}

int tolk_Property::SetCount(Type t, int width) const {
  TOLK_ASSERT(type == t, kSetQuery);
  return length / width;
}

void tolk_Property::CheckElement(Type t, int width, int i, const char* range_message) const {
  const int count = SetCount(t, width);
  TOLK_ASSERT(i >= 0 && i < count, range_message);
}

int tolk_Property::QLenInt32Set() const { return SetCount(int32_set, sizeof(int32_t)); }
int tolk_Property::QLenInt64Set() const { return SetCount(int64_set, sizeof(int64_t)); }
int tolk_Property::QLenFloat64Set() const { return SetCount(float64_set, sizeof(double)); }

int32_t tolk_Property::QInt32Set(int i) const {
  CheckElement(int32_set, sizeof(int32_t), i, kInt32SetRange);
  return value.int_set[i];
}

int64_t tolk_Property::QInt64Set(int i) const {
  CheckElement(int64_set, sizeof(int64_t), i, kInt64SetRange);
  return value.long_set[i];
}

double tolk_Property::QFloat64Set(int i) const {
  CheckElement(float64_set, sizeof(double), i, kFloat64SetRange);
  return value.double_set[i];
}

const tolk_Property::IterVector& tolk_Property::QIterVector() const {
  TOLK_ASSERT(type == iter_vector, kNotVector);
  TOLK_ASSERT(value.vector_val != nullptr, kNullVector);
  return *value.vector_val;
}

tolk_Property::IterVector& tolk_Property::AccessIterVector() {
  TOLK_ASSERT(type == iter_vector, kNotVector);
  if (!value.vector_val) value.vector_val = new IterVector;
  return *value.vector_val;
}

// ---------------------------------------------------------------------------------------------------------
// tolk_Property: text forms
// ---------------------------------------------------------------------------------------------------------

void tolk_Property::AppendText(std::string& out) const {
  switch (type) {
    case large_string: Appendf(out, "[large_string, %s]", QString()); break;
    case small_string: Appendf(out, "[small_string, %s]", QString()); break;
    case int32: Appendf(out, "[int32, %d]", value.int_val); break;
    case int64: Appendf(out, "[int64, %" PRId64 "]", value.long_val); break;
    case float64: Appendf(out, "[float64, %f]", value.double_val); break;
    case int32_set: AppendSet(out, "int32_set", value.int_set, QLenInt32Set()); break;
    case int64_set: AppendSet(out, "int64_set", value.long_set, QLenInt64Set()); break;
    case float64_set: AppendSet(out, "float64_set", value.double_set, QLenFloat64Set()); break;
    default: break;  // none and iter_vector have no text form
  }
}

void tolk_Property::WriteText(FILE* fp) const {
  std::string text;
  AppendText(text);
  fwrite(text.data(), 1, text.size(), fp);
}

// ---------------------------------------------------------------------------------------------------------
// tolk_PropertySet
// ---------------------------------------------------------------------------------------------------------

tolk_Property* tolk_PropertySet::QProperty(int key) {
  for (tolk_PropertySetIter it = First(); !it.End(); Next(it))
    if (QItPropKey(it) == key) return &QItProperty(it);
  return nullptr;
}

int tolk_PropertySet::RemoveProperty(int key) {
  int removed = 0;
  for (tolk_PropertySetIter it = First(); !it.End();) {
    if (QItPropKey(it) == key) {
      RemoveProperty(it);
      ++removed;
    } else {
      Next(it);
    }
  }
  return removed;
}

void tolk_PropertySet::RemoveProperty(tolk_PropertySetIter& it) {
  if (it.End()) return;
  tolk_slist_base_iter doomed = it;
  Next(it);
  L.Delete(doomed);
}

// ---------------------------------------------------------------------------------------------------------
// tolk_RawBytefield
// ---------------------------------------------------------------------------------------------------------

char* tolk_RawBytefield::HeapPointer() const {
  char* p;
  memcpy(&p, bytes + kPointerOffset, sizeof p);
  return p;
}

void tolk_RawBytefield::SetHeapPointer(char* p) { memcpy(bytes + kPointerOffset, &p, sizeof p); }

void tolk_RawBytefield::Prep(int newsize) {
  Release();
  size = newsize;
  if (size > kInlineBytes) SetHeapPointer(new char[size]());
}

void tolk_RawBytefield::Release() {
  if (size > kInlineBytes) delete[] HeapPointer();
  size = 0;
  memset(bytes, 0, sizeof bytes);
}

int tolk_RawBytefield::Put(const void* v, int width, int pos) {
  memcpy(Content() + pos, v, width);
  return pos + width;
}

template <class T>
T tolk_RawBytefield::Take(int& pos) const {
  T v;
  memcpy(&v, Content() + pos, sizeof v);
  pos += sizeof v;
  return v;
}

int tolk_RawBytefield::AddString(const char* text, int pos) {
  if (!text) text = "";
  return Put(text, static_cast<int>(strlen(text)) + 1, pos);
}
int tolk_RawBytefield::AddInt32(int32_t v, int pos) { return Put(&v, sizeof v, pos); }
int tolk_RawBytefield::AddInt64(int64_t v, int pos) { return Put(&v, sizeof v, pos); }
int tolk_RawBytefield::AddFloat64(double v, int pos) { return Put(&v, sizeof v, pos); }

const char* tolk_RawBytefield::GetString(int& pos) const {
  const char* text = Content() + pos;
  pos += static_cast<int>(strlen(text)) + 1;
  return text;
}
int32_t tolk_RawBytefield::GetInt32(int& pos) const { return Take<int32_t>(pos); }
int64_t tolk_RawBytefield::GetInt64(int& pos) const { return Take<int64_t>(pos); }
double tolk_RawBytefield::GetFloat64(int& pos) const { return Take<double>(pos); }
