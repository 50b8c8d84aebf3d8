// Text helpers shared by the builder and the database layer: a consuming
// tokenizer, a quote doubler for SQL literals and a bracketed number-list parser.
#pragma once

#include <string>

class ZELT_Grid_Common {
 public:
  // Takes the text before the first character of src that occurs in tok off src
  // (together with that character) and returns it. Without such a character the
  // whole of src is the token and src becomes empty. When src or tok is empty,
  // returns a copy of src and leaves src alone. Adjacent separators give empty
  // tokens.
  static std::string strtoke(std::string& src, std::string& tok);

  // Doubles every single quote of value in place so that it can stand inside an
  // SQL string literal; false (and nothing changed) when value is empty.
  static bool DealValue(std::string& value);

  // Parses "[n1,n2,...]" into a new array that the caller releases with delete[].
  // Returns the element count: 0 (and a null array) for "[]" or blanks between
  // the brackets; -1 (and a null array) when str is null or not enclosed in
  // brackets. An empty or unreadable element reads as 0. Instantiated for int,
  // long and double.
  template <class T>
  static int StringToNum(const char* str, T** outBuffer);
};
