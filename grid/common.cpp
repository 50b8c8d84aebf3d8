// Text helpers: consuming tokenizer, quote doubler, number-list parser.
#include "grid/common.h"

#include <cstring>
#include <sstream>

std::string ZELT_Grid_Common::strtoke(std::string& src, std::string& tok) {
  if (src.empty() || tok.empty()) return src;
  std::string::size_type cut = src.find_first_of(tok);
  if (cut == std::string::npos) {
    std::string all;
    all.swap(src);
    return all;
  }
  std::string token = src.substr(0, cut);
  src.erase(0, cut + 1);
  return token;
}

bool ZELT_Grid_Common::DealValue(std::string& value) {
  if (value.empty()) return false;
  for (std::string::size_type at = value.find('\''); at != std::string::npos; at = value.find('\'', at + 2)) {
    value.insert(at, 1, '\'');
  }
  return true;
}

namespace {

bool IsBlankText(const char* begin, const char* end) {
  for (const char* c = begin; c < end; ++c) {
    if (*c != ' ' && *c != '\t') return false;
  }
  return true;
}

// What the stream's extraction leaves: 0 for a piece that is no number, the
// type's largest or smallest value for one out of its range.
template <class T>
T ReadNumber(const char* begin, const char* end) {
  std::istringstream in(std::string(begin, end));
  T value{};
  in >> value;
  return value;
}

}  // namespace

template <class T>
int ZELT_Grid_Common::StringToNum(const char* str, T** outBuffer) {
  *outBuffer = nullptr;
  if (str == nullptr) return -1;
  size_t len = strlen(str);
  if (len < 2 || str[0] != '[' || str[len - 1] != ']') return -1;
  const char* body = str + 1;
  const char* bodyEnd = str + len - 1;
  if (IsBlankText(body, bodyEnd)) return 0;

  int count = 1;
  for (const char* c = body; c < bodyEnd; ++c) count += (*c == ',');
  T* values = new T[count]();
  const char* piece = body;
  for (int i = 0; i < count; ++i) {
    const char* pieceEnd = piece;
    while (pieceEnd < bodyEnd && *pieceEnd != ',') ++pieceEnd;
    values[i] = ReadNumber<T>(piece, pieceEnd);
    piece = pieceEnd + 1;
  }
  *outBuffer = values;
  return count;
}

template int ZELT_Grid_Common::StringToNum<int>(const char*, int**);
template int ZELT_Grid_Common::StringToNum<long>(const char*, long**);
template int ZELT_Grid_Common::StringToNum<double>(const char*, double**);
