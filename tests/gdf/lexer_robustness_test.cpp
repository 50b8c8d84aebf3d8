// The tokenizer on arbitrary bytes: agreement with a plain longest-match model, and linear time on hostile input.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <random>
#include <string>

#include "gdf/gdf_scan.h"
#include "gdf/gdf_tokens.h"

namespace {

// A direct transcription of the token table: at every position try each form,
// keep the longest match, the earlier form on a tie. Slow, but obviously so.
class ModelScanner {
 public:
  explicit ModelScanner(std::string_view text) : s_(text) {}

  // Tokens as "code:text" (text only for identifiers and strings), NULs included.
  std::vector<std::string> Tokens() {
    std::vector<std::string> out;
    bool prev_was_eol = true;
    for (size_t i = 0; i < s_.size();) {
      size_t best = 0, form = 0;
      for (size_t f = 0; f < kForms; ++f) {
        const size_t length = Match(f, i);
        if (length > best) best = length, form = f;
      }
      const std::string lexeme(s_.substr(i, best));
      i += best;
      if (form == kBlanks || form == kComment) continue;
      if (form == kLineEnd) {
        if (!prev_was_eol) out.push_back(std::to_string(GDF_EOL) + ":");
        prev_was_eol = true;
        continue;
      }
      prev_was_eol = false;
      out.push_back(Describe(form, lexeme));
    }
    if (!prev_was_eol) out.push_back(std::to_string(GDF_EOL) + ":");
    return out;
  }

 private:
  enum Form { kBlanks, kComment, kLineEnd, kKeyword, kInteger, kReal, kAuxId, kId, kString, kSqString, kOther, kForms };

  static std::string Describe(size_t form, const std::string& lexeme) {
    static const std::pair<const char*, int> kKeywords[] = {
        {"--", GDF_NULL}, {"section", GDF_SECTION}, {"elem", GDF_ELEM}, {"int32", GDF_INT32_T},
        {"int32set", GDF_INT32SET_T}, {"string", GDF_STRING_T}};
    switch (form) {
      case kKeyword:
        for (auto [word, code] : kKeywords)
          if (lexeme == word) return std::to_string(code) + ":";
        break;
      case kInteger: {
        const long long value = strtoll(lexeme.c_str(), nullptr, 10);
        return std::to_string(value >= INT32_MIN && value <= INT32_MAX ? GDF_INT32 : GDF_INT64) + ":";
      }
      case kReal: return std::to_string(GDF_DBL) + ":";
      case kAuxId: return std::to_string(GDF_AUX_ID) + ":" + lexeme;
      case kId: return std::to_string(GDF_ID) + ":" + lexeme;
      // A value is a C string, which ends at a NUL.
      case kString: return std::to_string(GDF_STRING) + ":" + lexeme.substr(1, lexeme.size() - 2).c_str();
      case kSqString: return std::to_string(GDF_SQSTRING) + ":" + lexeme.substr(1, lexeme.size() - 2).c_str();
    }
    return std::to_string(static_cast<unsigned char>(lexeme[0])) + ":";
  }

  char At(size_t i) const { return i < s_.size() ? s_[i] : '\0'; }
  bool AtEnd(size_t i) const { return i >= s_.size(); }
  static bool Digit(char c) { return c >= '0' && c <= '9'; }
  static bool Letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

  size_t Run(size_t i, const char* set) const {
    size_t j = i;
    while (!AtEnd(j) && strchr(set, At(j)) && At(j) != '\0') ++j;
    return j - i;
  }
  size_t IntegerDigits(size_t i) const {
    if (At(i) == '0') return 1;
    if (!Digit(At(i))) return 0;
    return 1 + Run(i + 1, "0123456789");
  }
  size_t Exponent(size_t i) const {
    if (At(i) != 'e' && At(i) != 'E') return 0;
    const size_t sign = (At(i + 1) == '+' || At(i + 1) == '-') ? 1 : 0;
    const size_t digits = Run(i + 1 + sign, "0123456789");
    return digits ? 1 + sign + digits : 0;
  }
  size_t Word(size_t i) const {
    return Letter(At(i)) ? 1 + Run(i + 1, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_") : 0;
  }
  size_t Quoted(size_t i, char quote, const char* refused, const char* refused_after_backslash) const {
    if (At(i) != quote) return 0;
    for (size_t j = i + 1; !AtEnd(j);) {
      const char c = At(j);
      if (c == quote) return j + 1 - i;
      if (c == '\\') {
        if (AtEnd(j + 1) || (At(j + 1) != '\0' && strchr(refused_after_backslash, At(j + 1)))) return 0;
        j += 2;
      } else if (c != '\0' && strchr(refused, c)) {
        return 0;
      } else {
        ++j;
      }
    }
    return 0;
  }

  size_t Match(size_t form, size_t i) const {
    const size_t sign = At(i) == '-' ? 1 : 0;
    switch (form) {
      case kBlanks: return Run(i, " \t");
      case kComment: return At(i) == '%' ? 1 + (std::min(s_.find('\n', i), s_.size()) - i - 1) : 0;
      case kLineEnd: return (At(i) == '\n' || At(i) == '\r') && !AtEnd(i) ? 1 + Run(i + 1, " \t") : 0;
      case kKeyword: {
        size_t best = 0;
        for (const char* word : {"--", "section", "elem", "int32", "int32set", "string"})
          if (s_.substr(i, strlen(word)) == word) best = std::max(best, strlen(word));
        return best;
      }
      case kInteger: {
        const size_t digits = IntegerDigits(i + sign);
        return digits ? sign + digits : 0;
      }
      case kReal: {
        const size_t digits = IntegerDigits(i + sign);
        if (!digits) return 0;
        size_t j = i + sign + digits;
        if (At(j) == '.' && Digit(At(j + 1))) {
          j += 1 + Run(j + 1, "0123456789");
          return j + Exponent(j) - i;
        }
        const size_t exponent = sign ? 0 : Exponent(j);
        return exponent ? j + exponent - i : 0;
      }
      case kAuxId:
        for (size_t length = Word(i); length >= 5; --length)
          if (s_.substr(i + length - 4, 4) == "_AUX") return length;
        return 0;
      case kId: return Word(i);
      case kString: return Quoted(i, '"', "\"", "\n");
      case kSqString: return Quoted(i, '\'', "'\" \t", " \t");
      default: return AtEnd(i) ? 0 : 1;
    }
  }

  std::string_view s_;
};

std::vector<std::string> ScannerTokens(std::string_view text) {
  std::vector<std::string> out;
  for (const gdf_Token& token : gdf_scan_tokens(text, gdf_NulHandling::kIsToken))
    out.push_back(std::to_string(token.code) + ":" + token.text);
  return out;
}

// Random texts built from fragments that meet at the edges of the token forms.
std::string RandomText(std::mt19937& random) {
  static const char* const kFragments[] = {
      "\"", "'", "\\", " ", "\t", "\n", "\r", "%", "-", ".", "0", "1", "9", "e", "E", "+", "_AUX",
      "_", "A", "x", "elem", "int32", "set", "string", ";", "\x80", "\xff"};
  std::uniform_int_distribution<size_t> pick(0, std::size(kFragments)), length(0, 40);
  std::string text;
  for (size_t n = length(random); n > 0; --n) {
    const size_t k = pick(random);
    // The extra choice is a NUL byte, which a C string cannot carry.
    if (k == std::size(kFragments)) text += '\0';
    else text += kFragments[k];
  }
  return text;
}

double SecondsToScan(const std::string& text) {
  const auto start = std::chrono::steady_clock::now();
  gdf_scan_init(text.data(), text.size());
  for (int code; (code = gdf_lex()) != 0 || !gdf_scan_finished();)
    if (gdf_token_has_text(code)) delete[] gdf_lval.strval;
  gdf_scan_terminate();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// head, then piece times over.
std::string Repeat(std::string_view head, std::string_view piece, size_t times) {
  std::string out(head);
  out.reserve(head.size() + piece.size() * times);
  for (size_t i = 0; i < times; ++i) out += piece;
  return out;
}

} // namespace

TEST(LexerRobustnessTest, AgreesWithTheModelOnRandomTexts) {
  std::mt19937 random(20240521);
  for (int round = 0; round < 20000; ++round) {
    const std::string text = RandomText(random);
    ASSERT_EQ(ScannerTokens(text), ModelScanner(text).Tokens()) << "text: " << testing::PrintToString(text);
  }
}

TEST(LexerRobustnessTest, AnyBytesGiveTokensThatEndTheInput) {
  std::mt19937 random(7);
  std::uniform_int_distribution<int> byte(0, 255);
  std::string text(1 << 20, '\0');
  for (char& c : text) c = char(byte(random));
  int last_lineno = 1;
  for (const gdf_Token& token : gdf_scan_tokens(text, gdf_NulHandling::kIsToken)) {
    EXPECT_GE(token.code, 0);
    EXPECT_GE(token.lineno, last_lineno);
    EXPECT_GE(token.token_offset, 0);
    last_lineno = token.lineno;
  }
}

// A quadratic scan of any of these would take hours; a linear one takes milliseconds.
TEST(LexerRobustnessTest, HostileTextsScanInLinearTime) {
  const size_t n = 1 << 20;
  const std::string_view kNul("", 1);
  const std::string texts[] = {
      Repeat("\"", "\\\"", n / 2),  // a string never closed, full of escaped quotes
      Repeat("'", "\\'", n / 2),
      Repeat("%", kNul, n),         // NULs in a comment
      Repeat("\"", kNul, n),        // NULs in a string never closed
      Repeat("", "x", n),           // one identifier
      Repeat("", "7", n),           // one integer
      Repeat("", "\n", n),          // empty lines
      Repeat("", "\"\\\n", n / 3), // quotes that fail at once
  };
  for (const std::string& text : texts) EXPECT_LT(SecondsToScan(text), 10.0) << testing::PrintToString(text.substr(0, 8));
}

// Refills of the stream buffer in the middle of a token must not rescan it from its start each time.
TEST(LexerRobustnessTest, AHugeTokenFromAStreamScansInLinearTime) {
  std::string text(1 << 24, 'x');
  FILE* stream = fmemopen(text.data(), text.size(), "rb");
  ASSERT_NE(stream, nullptr);
  const auto start = std::chrono::steady_clock::now();
  gdf_scan_init(stream);
  ASSERT_EQ(gdf_lex(), GDF_ID);
  EXPECT_EQ(strlen(gdf_lval.strval), text.size());
  delete[] gdf_lval.strval;
  EXPECT_EQ(gdf_lex(), GDF_EOL);
  EXPECT_EQ(gdf_lex(), 0);
  gdf_scan_terminate();
  fclose(stream);
  EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 10.0);
}
