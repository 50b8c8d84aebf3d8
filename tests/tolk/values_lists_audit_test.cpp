// Second look at typed values, byte fields, the assertion stop, the list sorts and the untyped trie: the
// cases the per-container tests leave out.
#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

#include "tolk/assert.h"
#include "tolk/list.h"
#include "tolk/patricia.h"
#include "tolk/property.h"

namespace {

using P = tolk_Property;

#define EXPECT_CHECK(statement, message) EXPECT_EXIT(statement, testing::KilledBySignal(SIGINT), message)

TEST(ValuesAudit, ScalarConstructorsAndNulledScalars) {
  P none, i(-5), l(5000000000L), d(0.25);
  EXPECT_EQ(none.QType(), P::none);
  EXPECT_EQ(none.QDataLength(), 0);
  EXPECT_TRUE(none.IsNull());
  EXPECT_EQ(i.QType(), P::int32);
  EXPECT_EQ(i.QDataLength(), 4);
  EXPECT_EQ(i.QInt64(), -5);
  EXPECT_EQ(l.QType(), P::int64);
  EXPECT_EQ(l.QDataLength(), 8);
  EXPECT_EQ(d.QType(), P::float64);
  EXPECT_EQ(d.QDataLength(), 8);
  for (P* p : {&i, &l, &d}) EXPECT_FALSE(p->IsNull());
  i.SetNull();
  EXPECT_TRUE(i.IsNull());
  EXPECT_EQ(i.QInt32(), 0);
  EXPECT_EQ(i.QDataLength(), 0);
}

TEST(ValuesAuditDeathTest, RemainingQueryChecks) {
  const int64_t i64[] = {1, 2};
  const double f64[] = {0.5};
  P a, b;
  a.InitInt64Set(i64, 2);
  b.InitFloat64Set(f64, 1);
  EXPECT_CHECK(P(1).QFloat64(), "tolk_Property ERROR, Float64 query for property of different type!\n");
  EXPECT_CHECK(a.QInt64Set(2), "tolk_Property ERROR, index for int64set is out of range!\n");
  EXPECT_CHECK(b.QFloat64Set(-1), "tolk_Property ERROR, index for float64_set is out of range!\n");
  EXPECT_CHECK(a.QInt32Set(0), "tolk_Property ERROR, query for property of different type!\n");
  EXPECT_CHECK(P(1).QIterVector(), "tolk_Property ERROR, Value is not a vector!\n");
}

TEST(ValuesAudit, ByteFieldOfThirteenBytesUsesTheHeap) {
  tolk_RawBytefield f;
  f.Prep(13);
  const char* base = reinterpret_cast<const char*>(&f);
  EXPECT_TRUE(f.Content() < base || f.Content() >= base + sizeof f);
  EXPECT_EQ(f.QCC(), f.Content());
  int pos = f.AddString("", f.AddInt64(-1, f.AddInt32(7, 0)));
  EXPECT_EQ(pos, 13);
  pos = 0;
  EXPECT_EQ(f.GetInt32(pos), 7);
  EXPECT_EQ(f.GetInt64(pos), -1);
  EXPECT_STREQ(f.GetString(pos), "");
  EXPECT_EQ(pos, 13);
  f.Release();
}

TEST(ValuesAuditDeathTest, AssertionStopExitsWithEightWhenTheInterruptIsIgnored) {
  EXPECT_EXIT(
      {
        signal(SIGINT, SIG_IGN);
        tolk_assertfunc(false, "x.cpp", 1, "ignored interrupt", nullptr);
      },
      testing::ExitedWithCode(8), "ignored interrupt");
}

struct Tagged {
  int key;
  char tag;
};

class TaggedCmp final : public tolk_Comparator<Tagged> {
 public:
  tolk_signed Compare(const Tagged& a, const Tagged& b) const override { return a.key - b.key; }
};

TEST(ListsAudit, EqualKeysComeOutReversedInBothListKinds) {
  const TaggedCmp cmp;
  tolk_LIST<Tagged> l;
  tolk_SLIST<Tagged> s;
  for (Tagged t : {Tagged{3, 'a'}, Tagged{1, '1'}, Tagged{3, 'b'}, Tagged{2, '2'}}) l.Append(t);
  for (Tagged t : {Tagged{2, '2'}, Tagged{3, 'b'}, Tagged{1, '1'}, Tagged{3, 'a'}}) s.Insert(t);
  tolk_list_base_iter first = l.First(), last = l.Last();
  l.Sort(first, last, &cmp);
  s.Sort(&cmp);
  std::string lt, st;
  for (tolk_list_base_iter it = l.First(); !it.End(); it.Next()) lt += tolk_LIST<Tagged>::Value(it).tag;
  for (tolk_SLIST_ELEM it = s.First(); !it.End(); it.Next()) st += tolk_SLIST<Tagged>::Value(it).tag;
  EXPECT_EQ(lt, "12ba");
  EXPECT_EQ(st, "12ba");
}

// The untyped trie links caller-made nodes; its Delete answers 1 for a removal, the reverse of the typed map.
TEST(TrieAudit, UntypedTrieConventions) {
  unsigned char keys[3][8] = {{1}, {2}, {0, 0, 0, 0, 0, 0, 0, 1}};
  tolk_patbase trie(8);
  EXPECT_EQ(trie.getsomekey(), nullptr);
  tolk_patbase_node* nodes[3];
  for (int i = 0; i < 3; ++i) {
    nodes[i] = new tolk_patbase_node;
    nodes[i]->key = keys[i];
    EXPECT_EQ(trie.Insert(nodes[i]), nullptr);
  }
  tolk_patbase_node again;
  again.key = keys[1];
  EXPECT_EQ(trie.Insert(&again), nodes[1]);
  EXPECT_EQ(trie.Search(keys[2]), nodes[2]);
  EXPECT_EQ(trie.Remove(keys[0]), nodes[0]);
  delete nodes[0];
  EXPECT_EQ(trie.Search(keys[0]), nullptr);
  EXPECT_EQ(trie.Delete(keys[0]), 0);
  EXPECT_EQ(trie.Delete(keys[1]), 1);
  EXPECT_EQ(trie.getsomekey(), keys[2]);
  EXPECT_EQ(trie.Delete(keys[2]), 1);
  EXPECT_EQ(trie.getsomekey(), nullptr);
  EXPECT_EQ(tolk_patbase::bittest(keys[2], 56), 1);
  EXPECT_EQ(tolk_patbase::bittest(keys[2], -1), 0);
}

}  // namespace
