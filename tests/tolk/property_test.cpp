// Typed values, property sets and byte fields: kinds and lengths, ownership, checks, text forms.
#include "tolk/property.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>

namespace {

using P = tolk_Property;

std::string TextOf(const P& p) {
  std::string out;
  p.AppendText(out);
  return out;
}

TEST(PropertyTest, TextKindAndLength) {
  struct Case {
    std::string text;
    P::Type type;
    int32_t length;
  } cases[] = {{"", P::small_string, 1},
               {"1234567", P::small_string, 8},
               {"12345678", P::large_string, 9},
               {std::string(P::kMaxTextLength - 1, 'x'), P::large_string, 65536}};  // kept whole
  for (const Case& c : cases) {
    P p(c.text.c_str());
    EXPECT_EQ(p.QType(), c.type) << c.text.size();
    EXPECT_EQ(p.QDataLength(), c.length);
    EXPECT_FALSE(p.IsNull());
    EXPECT_EQ(p.QString(), c.text);
  }
  P none(static_cast<const char*>(nullptr));
  EXPECT_EQ(none.QType(), P::none);
  EXPECT_TRUE(none.IsNull());
}

TEST(PropertyTest, SetNullKeepsTheKindAndClearForgetsIt) {
  const int64_t values[] = {1, 2};
  P i(42), text("a text longer than eight"), set, vec;
  set.InitInt64Set(values, 2);
  vec.InitIterVector();
  for (P* p : {&i, &text, &set}) p->SetNull();
  EXPECT_EQ(i.QType(), P::int32);
  EXPECT_EQ(i.QDataLength(), 0);
  EXPECT_STREQ(text.QString(), "");
  EXPECT_EQ(set.QLenInt64Set(), 0);
  for (P* p : {&i, &text, &set, &vec}) {
    p->Clear();
    EXPECT_EQ(p->QType(), P::none);
    EXPECT_TRUE(p->IsNull());
  }
}

TEST(PropertyTest, CopiesSurviveChangeAndDestructionOfTheSource) {
  const int32_t values[] = {4, 5, 6};
  auto* text = new P("the source's long text");
  auto* set = new P;
  set->InitInt32Set(values, 3);
  auto* vec = new P;
  vec->InitIterVector();
  vec->AccessIterVector().resize(2);

  P text_copy(*text), set_copy, vec_copy("replaced by a vector copy");
  set_copy = *set;
  vec_copy = *vec;
  *text = "changed";
  set->InitInt32Set(values, 1);
  vec->AccessIterVector().clear();
  delete text;
  delete set;
  delete vec;
  EXPECT_STREQ(text_copy.QString(), "the source's long text");
  EXPECT_EQ(set_copy.QLenInt32Set(), 3);
  EXPECT_EQ(set_copy.QInt32Set(2), 6);
  EXPECT_EQ(vec_copy.QIterVector().size(), 2u);

  P moved(std::move(text_copy));
  EXPECT_EQ(text_copy.QType(), P::none);  // NOLINT(bugprone-use-after-move)
  EXPECT_STREQ(moved.QString(), "the source's long text");
}

// A value set from its own text must copy before it releases.
TEST(PropertyTest, SelfAssignmentAndOwnText) {
  P p("a value that lives on the heap");
  P& alias = p;
  p = alias;
  p = p.QString();
  EXPECT_STREQ(p.QString(), "a value that lives on the heap");
  p = "short";
  p = p.QString();
  EXPECT_STREQ(p.QString(), "short");
}

TEST(PropertyTest, TextForms) {
  const int32_t i32[] = {1, 2, 3};
  const int64_t i64[] = {5000000000, -1};
  const double f64[] = {0.5, -2};
  P a, b, c, empty, vec;
  a.InitInt32Set(i32, 3);
  b.InitInt64Set(i64, 2);
  c.InitFloat64Set(f64, 2);
  empty.InitInt32Set(nullptr, 0);
  vec.InitIterVector();
  EXPECT_EQ(TextOf(P("a long string")), "[large_string, a long string]");
  EXPECT_EQ(TextOf(P("short")), "[small_string, short]");
  EXPECT_EQ(TextOf(P(-7)), "[int32, -7]");
  EXPECT_EQ(P(-7).QInt64(), -7);  // int32 read as int64, sign-extended
  EXPECT_EQ(TextOf(P(5000000000L)), "[int64, 5000000000]");
  EXPECT_EQ(TextOf(P(0.5)), "[float64, 0.500000]");
  EXPECT_EQ(TextOf(a), "[int32_set, 3, [1,2,3,]]");
  EXPECT_EQ(TextOf(b), "[int64_set, 2, [5000000000,-1,]]");
  EXPECT_EQ(TextOf(c), "[float64_set, 2, [0.500000,-2.000000,]]");
  EXPECT_EQ(TextOf(empty), "[int32_set, 0, []]");
  EXPECT_EQ(TextOf(P()) + TextOf(vec), "");
  EXPECT_EQ(TextOf(P(1e300)).size(), std::string("[float64, ]").size() + 301 + 7);
}

#define EXPECT_CHECK(statement, message) EXPECT_EXIT(statement, testing::KilledBySignal(SIGINT), message)

// One query of each family on a value of another kind, and indexes outside a set.
TEST(PropertyDeathTest, QueriesOnOtherKindsAndOutsideSets) {
  EXPECT_CHECK(P(1L).QInt32(), "tolk_Property ERROR, Int32 query for property of different type!\n");
  EXPECT_CHECK(P(1.0).QInt64(), "Int64 query for property that is neither 32 or 64 bit integer\n");
  EXPECT_CHECK(P(1).QString(), "String query for property of different type!\n");
  const int32_t values[] = {1, 2};
  P set;
  set.InitInt32Set(values, 2);
  EXPECT_CHECK(set.QLenInt64Set(), "tolk_Property ERROR, query for property of different type!\n");
  EXPECT_CHECK(set.AccessIterVector(), "Value is not a vector!\n");
  EXPECT_CHECK(set.QInt32Set(2), "index for int32set out of range!\n");
  EXPECT_CHECK(set.QInt32Set(-1), "index for int32set out of range!\n");
  P vec;
  vec.InitIterVector();
  vec.SetNull();
  EXPECT_CHECK(vec.QIterVector(), "Vector is null!\n");
}

TEST(PropertyDeathTest, OversizedTextAndBadSets) {
  const std::string text(P::kMaxTextLength, 'x');
  EXPECT_CHECK(P p(text.c_str()), "Bytefield: String size limited to 64k\n");
  P p;
  EXPECT_CHECK(p.InitInt32Set(nullptr, -1), "set element count out of range!\n");
  EXPECT_CHECK(p.InitInt64Set(nullptr, INT32_MAX / 8 + 1), "set element count out of range!\n");
  EXPECT_CHECK(p.InitFloat64Set(nullptr, 3), "set values missing!\n");
}

std::string Walk(const tolk_PropertySet& set) {
  std::string out;
  for (tolk_PropertySetIter it = set.First(); !it.End(); set.Next(it)) {
    out += std::to_string(set.QItPropKey(it)) + "=" + TextOf(set.QItProperty(it)) + " ";
  }
  return out;
}

TEST(PropertySetTest, DuplicateKeysNewestFirst) {
  tolk_PropertySet set;
  P value("A");
  set.AddProperty(7, value);
  value = "the caller's value changes afterwards";
  set.AddProperty(8, P(1));
  set.AddProperty(7, P("B"));
  EXPECT_EQ(Walk(set), "7=[small_string, B] 8=[int32, 1] 7=[small_string, A] ");
  EXPECT_STREQ(set.QProperty(7)->QString(), "B");
  EXPECT_EQ(set.RemoveProperty(7), 2);
  EXPECT_EQ(set.QProperty(7), nullptr);
  EXPECT_EQ(Walk(set), "8=[int32, 1] ");
}

TEST(PropertySetTest, RemoveAtPositionMovesOn) {
  tolk_PropertySet set;
  for (int key = 1; key <= 5; ++key) set.AddProperty(key, P(key * 10));
  for (tolk_PropertySetIter it = set.First(); !it.End();) {
    if (set.QItPropKey(it) % 2)
      set.RemoveProperty(it);
    else
      set.Next(it);
  }
  tolk_PropertySetIter end;
  set.RemoveProperty(end);
  EXPECT_EQ(Walk(set), "4=[int32, 40] 2=[int32, 20] ");
}

bool LiesInside(const void* p, const tolk_RawBytefield& f) {
  auto* c = static_cast<const char*>(p);
  auto* base = reinterpret_cast<const char*>(&f);
  return c >= base && c < base + sizeof f;
}

// Up to twelve bytes live inside the field; values packed one after another read back at their positions.
TEST(RawBytefieldTest, PackedValuesReadBackInOrder) {
  tolk_RawBytefield f;
  f.Prep(12);
  EXPECT_TRUE(LiesInside(f.Content(), f));
  EXPECT_EQ(f.AddInt64(int64_t{1} << 50, f.AddInt32(-3, 0)), 12);
  int pos = 0;
  EXPECT_EQ(f.GetInt32(pos), -3);
  EXPECT_EQ(f.GetInt64(pos), int64_t{1} << 50);

  f.Prep(3 + 4 + 8);
  EXPECT_FALSE(LiesInside(f.Content(), f));
  EXPECT_EQ(f.AddFloat64(0.5, f.AddInt32(5, f.AddString("ab", 0))), 15);
  pos = 0;
  EXPECT_STREQ(f.GetString(pos), "ab");
  EXPECT_EQ(f.GetInt32(pos), 5);
  EXPECT_EQ(f.GetFloat64(pos), 0.5);
  EXPECT_EQ(pos, 15);
  f.Prep(40);  // frees the 15-byte array before taking a new one (asan checks)
  f.Release();
  EXPECT_EQ(f.QSize(), 0);
}

}  // namespace
