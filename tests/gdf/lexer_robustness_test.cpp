// The tokenizer on hostile texts: no quadratic time.
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>

#include "gdf/gdf_scan.h"
#include "gdf/gdf_tokens.h"

namespace {

double SecondsToScan(const std::string& text) {
  const auto start = std::chrono::steady_clock::now();
  gdf_scan_init(text.data(), text.size());
  for (int code; (code = gdf_lex()) != 0 || !gdf_scan_finished();)
    if (gdf_token_has_text(code)) gdf_text_free(gdf_lval.strval);
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
  gdf_text_free(gdf_lval.strval);
  EXPECT_EQ(gdf_lex(), GDF_EOL);
  EXPECT_EQ(gdf_lex(), 0);
  gdf_scan_terminate();
  fclose(stream);
  EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 10.0);
}
