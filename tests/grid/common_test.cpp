// Tests of the text helpers: tokenizer, quote doubler, number-list parser.
#include "grid/common.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

TEST(Strtoke, WalksTokensIncludingEmptyOnes) {
  std::string src = "a..b";
  std::string dot = ".";
  EXPECT_EQ(ZELT_Grid_Common::strtoke(src, dot), "a");
  EXPECT_EQ(ZELT_Grid_Common::strtoke(src, dot), "");
  EXPECT_EQ(ZELT_Grid_Common::strtoke(src, dot), "b");
  EXPECT_TRUE(src.empty());
  EXPECT_EQ(ZELT_Grid_Common::strtoke(src, dot), "");
  EXPECT_TRUE(src.empty());
}

TEST(Strtoke, AnySeparatorCharacterEndsTheToken) {
  std::string src = "10,20;30";
  std::string seps = ";,";
  EXPECT_EQ(ZELT_Grid_Common::strtoke(src, seps), "10");
  EXPECT_EQ(ZELT_Grid_Common::strtoke(src, seps), "20");
  EXPECT_EQ(ZELT_Grid_Common::strtoke(src, seps), "30");
}

TEST(Strtoke, EmptySeparatorSetLeavesSourceAlone) {
  std::string src = "a.b";
  std::string none;
  EXPECT_EQ(ZELT_Grid_Common::strtoke(src, none), "a.b");
  EXPECT_EQ(src, "a.b");
}

TEST(DealValue, DoublesEveryQuote) {
  std::string name = "O'Brien";
  EXPECT_TRUE(ZELT_Grid_Common::DealValue(name));
  EXPECT_EQ(name, "O''Brien");
  std::string pair = "''";
  EXPECT_TRUE(ZELT_Grid_Common::DealValue(pair));
  EXPECT_EQ(pair, "''''");
  std::string edges = "'x'";
  EXPECT_TRUE(ZELT_Grid_Common::DealValue(edges));
  EXPECT_EQ(edges, "''x''");
  std::string empty;
  EXPECT_FALSE(ZELT_Grid_Common::DealValue(empty));
}

template <class T>
std::unique_ptr<T[]> Parse(const char* text, int* count) {
  T* raw = reinterpret_cast<T*>(0x1);  // must be overwritten in every case
  *count = ZELT_Grid_Common::StringToNum<T>(text, &raw);
  return std::unique_ptr<T[]>(raw);
}

TEST(StringToNum, ReadsEachElementType) {
  int n = 0;
  auto ints = Parse<int>("[1,2,3]", &n);
  ASSERT_EQ(n, 3);
  EXPECT_EQ(ints[0], 1);
  EXPECT_EQ(ints[2], 3);
  auto longs = Parse<long>("[5]", &n);
  ASSERT_EQ(n, 1);
  EXPECT_EQ(longs[0], 5);
  auto big = Parse<long>("[-4294967301, 7]", &n);
  ASSERT_EQ(n, 2);
  EXPECT_EQ(big[0], -4294967301L);
  EXPECT_EQ(big[1], 7);
  auto reals = Parse<double>("[1,2.5]", &n);
  ASSERT_EQ(n, 2);
  EXPECT_DOUBLE_EQ(reals[1], 2.5);
}

TEST(StringToNum, EmptyListHasNoElements) {
  int n = 7;
  auto none = Parse<int>("[]", &n);
  EXPECT_EQ(n, 0);
  EXPECT_EQ(none, nullptr);
  auto blanks = Parse<double>("[  ]", &n);
  EXPECT_EQ(n, 0);
  EXPECT_EQ(blanks, nullptr);
}

TEST(StringToNum, MalformedTextIsRejectedWithoutArray) {
  for (const char* text : {"", "[", "]", "5", "[1,2", "1,2]", "(1)"}) {
    int n = 0;
    auto values = Parse<int>(text, &n);
    EXPECT_EQ(n, -1) << text;
    EXPECT_EQ(values, nullptr) << text;
  }
  int* raw = nullptr;
  EXPECT_EQ(ZELT_Grid_Common::StringToNum<int>(nullptr, &raw), -1);
}

TEST(StringToNum, EmptyOrUnreadablePiecesReadAsZero) {
  int n = 0;
  auto values = Parse<int>("[4,,x,6]", &n);
  ASSERT_EQ(n, 4);
  EXPECT_EQ(values[0], 4);
  EXPECT_EQ(values[1], 0);
  EXPECT_EQ(values[2], 0);
  EXPECT_EQ(values[3], 6);
}

}  // namespace
