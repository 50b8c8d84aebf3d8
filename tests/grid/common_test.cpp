// Tests of the text helpers: tokenizer, quote doubler, number-list parser.
#include "grid/common.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <memory>

namespace {

TEST(GridCommon, StrtokeWalksTokensIncludingEmptyOnes) {
  std::string src = "a..b;c", seps = ".;", none;
  std::vector<std::string> tokens;
  while (!src.empty()) tokens.push_back(ZELT_Grid_Common::strtoke(src, seps));
  EXPECT_EQ(tokens, (std::vector<std::string>{"a", "", "b", "c"}));
  EXPECT_EQ(ZELT_Grid_Common::strtoke(src, seps), "");
  src = "a.b";
  EXPECT_EQ(ZELT_Grid_Common::strtoke(src, none), "a.b");
  EXPECT_EQ(src, "a.b");
}

TEST(GridCommon, DealValueDoublesEveryQuote) {
  for (auto [in, out] : {std::pair{"O'Brien", "O''Brien"}, {"''", "''''"}, {"'x'", "''x''"}}) {
    std::string value = in;
    EXPECT_TRUE(ZELT_Grid_Common::DealValue(value));
    EXPECT_EQ(value, out);
  }
  std::string empty;
  EXPECT_FALSE(ZELT_Grid_Common::DealValue(empty));
}

template <class T>
std::pair<int, std::unique_ptr<T[]>> Parse(const char* text) {
  T* raw = reinterpret_cast<T*>(0x1);  // every outcome must overwrite it
  int count = ZELT_Grid_Common::StringToNum<T>(text, &raw);
  return {count, std::unique_ptr<T[]>(raw)};
}

TEST(GridCommon, StringToNumReadsListsOfEachType) {
  auto [n, ints] = Parse<int>("[1,,x,3]");  // empty and unreadable pieces read as 0
  ASSERT_EQ(n, 4);
  EXPECT_EQ(ints[0] + ints[1] + ints[2], 1);
  EXPECT_EQ(ints[3], 3);
  auto [m, longs] = Parse<long>("[-4294967301, 7]");
  ASSERT_EQ(m, 2);
  EXPECT_EQ(longs[0], -4294967301L);
  auto [k, reals] = Parse<double>("[2.5]");
  ASSERT_EQ(k, 1);
  EXPECT_DOUBLE_EQ(reals[0], 2.5);
  // Out of range, a piece reads as the nearest end of the type's range.
  auto [o, clamped] = Parse<int>("[99999999999,-99999999999]");
  ASSERT_EQ(o, 2);
  EXPECT_EQ(clamped[0], INT_MAX);
  EXPECT_EQ(clamped[1], INT_MIN);
  auto [h, huge] = Parse<double>("[1e999]");
  ASSERT_EQ(h, 1);
  EXPECT_EQ(huge[0], DBL_MAX);
}

TEST(GridCommon, StringToNumEmptyAndMalformedLists) {
  for (const char* text : {"[]", "[  ]"}) EXPECT_EQ(Parse<int>(text), (std::pair<int, std::unique_ptr<int[]>>{0, nullptr}));
  for (const char* text : {"", "[", "]", "5", "[1,2", "1,2]", static_cast<const char*>(nullptr)})
    EXPECT_EQ(Parse<int>(text).first, -1);
}

}  // namespace
