// Typed values (tolk_Property), keyed bags of them (tolk_PropertySet) and packed byte buffers (tolk_RawBytefield).
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tolk/list.h"

// A small tagged value: text, 32/64-bit integers, doubles, arrays of the numeric kinds,
// or a vector of list positions. Texts of up to 7 characters live inline; longer texts,
// arrays and the vector are owned heap copies, so copies are deep and independent.
// Queries check the kind (never the null flag) and stop the process on a mismatch.
class tolk_Property {
 public:
  // The codes are stored in files and mapped by the database layer: never renumber.
  // Odd codes own a heap array of `length` bytes; iter_vector owns a vector.
  enum Type : uint8_t {
    none = 0,
    large_string = 1,
    small_string = 2,
    int32_set = 3,
    int32 = 4,
    int64_set = 5,
    int64 = 6,
    float64_set = 7,
    float64 = 8,
    __not_used__ = 9,  // reserved: the property-file tag of a whole value
    iter_vector = 10,
  };
  typedef std::vector<tolk_list_base_iter> IterVector;

  // Texts of this many characters or more are refused.
  static constexpr size_t kMaxTextLength = 65536;

  tolk_Property() = default;
  tolk_Property(int v) { InitInt32(v); }
  tolk_Property(long v) { InitInt64(v); }
  tolk_Property(double v) { InitFloat64(v); }
  tolk_Property(const char* text) { InitString(text); }  // null text: the null value of kind none
  tolk_Property(const tolk_Property& o) { CopyFrom(o); }
  tolk_Property(tolk_Property&& o) noexcept { StealFrom(o); }
  ~tolk_Property() { Release(); }

  tolk_Property& operator=(const tolk_Property& o);
  tolk_Property& operator=(tolk_Property&& o) noexcept;
  tolk_Property& operator=(int v) { return InitInt32(v), *this; }
  tolk_Property& operator=(long v) { return InitInt64(v), *this; }
  tolk_Property& operator=(double v) { return InitFloat64(v), *this; }
  tolk_Property& operator=(const char* text) { return InitString(text), *this; }

  // Kind none, null, length 0.
  void Clear();
  // Releases the data but keeps the kind, so QType still tells what the value was.
  void SetNull();

  bool IsNull() const { return is_null; }
  Type QType() const { return type; }
  int32_t QDataLength() const { return length; }

  void InitString(const char* text);
  void InitInt32(int32_t v);
  void InitInt64(int64_t v);
  void InitFloat64(double v);
  void InitInt32Set(const int32_t* values, int count);
  void InitInt64Set(const int64_t* values, int count);
  void InitFloat64Set(const double* values, int count);
  void InitIterVector();

  // Either string kind; a string value emptied by SetNull reads as "".
  const char* QString() const;
  int32_t QInt32() const;
  int64_t QInt64() const;  // also accepts int32, sign-extended
  double QFloat64() const;
  int QLenInt32Set() const;
  int QLenInt64Set() const;
  int QLenFloat64Set() const;
  int32_t QInt32Set(int i) const;
  int64_t QInt64Set(int i) const;
  double QFloat64Set(int i) const;
  const IterVector& QIterVector() const;
  // The vector for change, made empty first when the value holds none.
  IterVector& AccessIterVector();

  // The text form, e.g. "[int32, 5]" or "[int32_set, 3, [1,2,3,]]"; nothing for none and iter_vector.
  void AppendText(std::string& out) const;
  void WriteText(FILE* fp) const;

 private:
  union Value {
    double double_val;
    int64_t long_val;
    int32_t int_val;
    char shortstring_val[8];
    double* double_set;
    int64_t* long_set;
    int32_t* int_set;
    char* longstring_val;
    IterVector* vector_val;
  };

  void Release();
  void CopyFrom(const tolk_Property& o);
  void StealFrom(tolk_Property& o);
  void Set(Type t, int32_t len);
  void* HeapArray() const;
  void AdoptHeapArray(void* array);
  void InitArray(Type t, const void* values, int count, int width);
  int SetCount(Type t, int width) const;
  void CheckElement(Type t, int width, int i, const char* range_message) const;

  // type and is_null share the first word with a 32-bit length so that a value stays 16 bytes.
  Type type = none;
  bool is_null = true;
  int32_t length = 0;  // bytes of data; wider than 16 bits so every admitted text is kept whole
  Value value{.long_val = 0};
};

// A position in a tolk_PropertySet; at the end when default-made or after MakeEnd.
class tolk_PropertySetIter : public tolk_slist_base_iter {
 public:
  tolk_PropertySetIter() = default;
  explicit tolk_PropertySetIter(tolk_slist_base_iter it) : tolk_slist_base_iter(it) {}
};

// A keyed bag of values: (32-bit key, value) entries, newest first, duplicate keys kept.
// Values are copied in; copies of the set are deep.
class tolk_PropertySet {
 public:
  struct Entry {
    int32_t key;
    tolk_Property prop;
  };

  void AddProperty(int key, const tolk_Property& prop) { L.Insert(Entry{key, prop}); }
  // The most recently added value with key, or null.
  tolk_Property* QProperty(int key);
  const tolk_Property* QProperty(int key) const { return const_cast<tolk_PropertySet*>(this)->QProperty(key); }
  // Removes every entry with key and answers how many there were.
  int RemoveProperty(int key);
  // Removes the entry at it (nothing at the end) and moves it on to the next entry.
  void RemoveProperty(tolk_PropertySetIter& it);

  bool Empty() const { return L.Empty(); }
  tolk_PropertySetIter First() const { return tolk_PropertySetIter(L.First()); }
  void Next(tolk_PropertySetIter& it) const { it.Next(); }
  int QItPropKey(tolk_PropertySetIter it) const { return tolk_SLIST<Entry>::Value(it).key; }
  tolk_Property& QItProperty(tolk_PropertySetIter it) { return tolk_SLIST<Entry>::Value(it).prop; }
  const tolk_Property& QItProperty(tolk_PropertySetIter it) const { return tolk_SLIST<Entry>::Value(it).prop; }

  tolk_SLIST<Entry> L;
};

// A packed byte buffer: a size and 12 bytes that hold the content inline up to 12 bytes,
// or else (in their last 8) a pointer to a heap array of size bytes. Values are packed
// one after another with the Add calls and read back in the same order with the Get
// calls; positions are byte offsets, unaligned and unchecked against the size.
// The field is plain data: copies share the heap array, and the owner frees it with
// Release (Prep also frees an array the field already holds).
class tolk_RawBytefield {
 public:
  static constexpr int kInlineBytes = 12;

  int32_t QSize() const { return size; }
  int32_t& QS() { return size; }
  // The heap array (meaningful only when the size is over 12).
  char* QC() const { return HeapPointer(); }
  const char* QCC() const { return HeapPointer(); }
  // The content, inline or on the heap by size.
  char* Content() { return size > kInlineBytes ? HeapPointer() : bytes; }
  const char* Content() const { return size > kInlineBytes ? HeapPointer() : bytes; }

  void Prep(int newsize);
  void Release();

  int AddString(const char* text, int pos);
  int AddInt32(int32_t v, int pos);
  int AddInt64(int64_t v, int pos);
  int AddFloat64(double v, int pos);

  const char* GetString(int& pos) const;
  int32_t GetInt32(int& pos) const;
  int64_t GetInt64(int& pos) const;
  double GetFloat64(int& pos) const;

 private:
  static constexpr int kPointerOffset = kInlineBytes - static_cast<int>(sizeof(char*));

  char* HeapPointer() const;
  void SetHeapPointer(char* p);
  int Put(const void* v, int width, int pos);
  template <class T>
  T Take(int& pos) const;

  int32_t size = 0;
  char bytes[kInlineBytes] = {};
};

static_assert(sizeof(tolk_Property) == 16, "tolk_Property is kept once per property of every device");
static_assert(sizeof(tolk_RawBytefield) == 16);
