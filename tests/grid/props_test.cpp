// Tests of the three property stores and the asset class slot.
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "grid/grid.h"
#include "grid_helpers.h"

using gridtest::Path;

namespace {

using KeyValues = std::vector<std::pair<int, int>>;

struct Model {
  ZELT_Grid gm;
  ZELT_Grid_DefIter sub = gm.AddCircuitDef(1, "Sub");
  ZELT_Grid_EntityIter pin = gm.AddTerminal(sub, 1, "pin");
  ZELT_Grid_DefIter ckt = gm.AddCircuitDef(2, "Feeder");
  ZELT_Grid_EntityIter p1 = gm.AddInstance(ckt, sub, 10, "p1");
  ZELT_Grid_EntityIter p2 = gm.AddInstance(ckt, sub, 11, "p2");
};

KeyValues EntityProps(Model& m) {
  KeyValues out;
  for (ZELT_Grid_PropIter it = m.gm.GetFirstProperty(m.ckt, m.p1); !m.gm.IsEnd(it); m.gm.NextProperty(m.ckt, m.p1, it))
    out.emplace_back(m.gm.GetPropertyKey(m.ckt, m.p1, it), m.gm.GetPropertyValue(m.ckt, m.p1, it).QInt32());
  return out;
}
KeyValues DefProps(Model& m) {
  KeyValues out;
  for (ZELT_Grid_DefPropIter it = m.gm.GetFirstDefProperty(m.sub); !m.gm.IsEnd(it); m.gm.NextDefProperty(m.sub, it))
    out.emplace_back(m.gm.GetDefPropertyKey(m.sub, it), m.gm.GetDefPropertyValue(m.sub, it).QInt32());
  return out;
}
KeyValues HProps(Model& m, const ZELT_Grid_HEntity& h) {
  KeyValues out;
  for (ZELT_Grid_HPropIter it = m.gm.GetFirstHProperty(h); !m.gm.IsEnd(it); m.gm.NextHProperty(h, it))
    out.emplace_back(m.gm.GetHPropKey(h, it), m.gm.GetHPropValue(h, it).QInt32());
  return out;
}

TEST(GridEntityProps, NewestFirstWithDuplicateKeys) {
  Model m;
  EXPECT_TRUE(m.gm.IsEnd(m.gm.GetFirstProperty(m.ckt, m.p1)));
  ZELT_Grid_PropIter older = m.gm.AddProperty(m.ckt, m.p1, 5, ZELT_Grid_PropData(1));
  m.gm.AddProperty(m.ckt, m.p1, 6, ZELT_Grid_PropData(9));
  ZELT_Grid_PropIter newer = m.gm.AddProperty(m.ckt, m.p1, 5, ZELT_Grid_PropData(2));
  EXPECT_EQ(m.gm.GetPropertyValue(m.ckt, m.p1, newer).QInt32(), 2);
  EXPECT_EQ(m.gm.GetPropertyValue(m.ckt, m.p1, m.gm.GetProperty(m.ckt, m.p1, 5)).QInt32(), 2);
  EXPECT_EQ(EntityProps(m), (KeyValues{{5, 2}, {6, 9}, {5, 1}}));
  EXPECT_TRUE(m.gm.IsEnd(m.gm.GetFirstProperty(m.ckt, m.p2)));

  // Removal at either position takes every entry of the key.
  EXPECT_EQ(m.gm.RemoveProperty(m.ckt, m.p1, older), 0);
  EXPECT_EQ(EntityProps(m), (KeyValues{{6, 9}}));
  EXPECT_TRUE(m.gm.IsEnd(m.gm.GetProperty(m.ckt, m.p1, 5)));
  EXPECT_EQ(m.gm.RemoveProperty(m.ckt, m.p2, m.gm.GetFirstProperty(m.ckt, m.p2)), 1);
}

// The lists live in the definition's node slot array, which moves when entities come
// (growth) and go (compaction); positions handed out before stay good.
TEST(GridEntityProps, ListsFollowTheirEntitiesWhenSlotsMove) {
  Model m;
  ZELT_Grid_PropIter first = m.gm.AddProperty(m.ckt, m.p1, 5, ZELT_Grid_PropData(1));
  m.gm.AddProperty(m.ckt, m.p2, 5, ZELT_Grid_PropData(2));
  std::vector<ZELT_Grid_EntityIter> added;
  for (long id = 100; id < 1100; ++id) {
    added.push_back(m.gm.AddConnNode(m.ckt, id, nullptr));
    m.gm.AddProperty(m.ckt, added.back(), 7, ZELT_Grid_PropData(static_cast<int>(id)));
  }
  EXPECT_EQ(m.gm.GetPropertyValue(m.ckt, m.p1, first).QInt32(), 1);
  m.gm.AddProperty(m.ckt, m.p1, 6, ZELT_Grid_PropData(3));
  for (const ZELT_Grid_EntityIter& e : added) m.gm.RemoveConnNode(m.ckt, e);
  EXPECT_EQ(EntityProps(m), (KeyValues{{6, 3}, {5, 1}}));
  EXPECT_EQ(m.gm.GetPropertyValue(m.ckt, m.p2, m.gm.GetProperty(m.ckt, m.p2, 5)).QInt32(), 2);
  ZELT_Grid_EntityIter late = m.gm.AddConnNode(m.ckt, 2000, nullptr);  // a reused slot starts empty
  EXPECT_TRUE(m.gm.IsEnd(m.gm.GetFirstProperty(m.ckt, late)));
}

TEST(GridDefProps, RemovalTakesOnlyTheEntryAtThePosition) {
  Model m;
  m.gm.AddDefProperty(m.sub, 5, ZELT_Grid_PropData(1));
  ZELT_Grid_DefPropIter newer = m.gm.AddDefProperty(m.sub, 5, ZELT_Grid_PropData(2));
  EXPECT_EQ(DefProps(m), (KeyValues{{5, 2}, {5, 1}}));
  EXPECT_EQ(m.gm.RemoveDefProperty(m.sub, newer), 0);
  EXPECT_EQ(DefProps(m), (KeyValues{{5, 1}}));
  EXPECT_EQ(m.gm.GetDefPropertyValue(m.sub, m.gm.GetDefProperty(m.sub, 5)).QInt32(), 1);
  EXPECT_EQ(m.gm.RemoveDefProperty(m.ckt, m.gm.GetFirstDefProperty(m.ckt)), 1);

  // One asset class per definition; a negative key is no class.
  EXPECT_EQ(m.gm.AddDefAssetClass(m.sub, 4), 0);
  EXPECT_EQ(m.gm.AddDefAssetClass(m.sub, 7), 1);
  EXPECT_EQ(m.gm.GetDefAssetClassKey(m.sub), 4);
  EXPECT_EQ(m.gm.RemoveDefAssetClass(m.sub), 0);
  EXPECT_EQ(m.gm.RemoveDefAssetClass(m.sub), 1);
  EXPECT_EQ(m.gm.AddDefAssetClass(m.sub, -2), 1);
  EXPECT_EQ(m.gm.GetDefAssetClassKey(m.sub), -1);
}

TEST(GridHProps, PathsKeepTheirOwnSetsUntilEmptied) {
  Model m;
  ZELT_Grid_HEntity at1 = Path(m.gm, m.ckt, m.p1, m.pin);
  ZELT_Grid_HEntity at2 = Path(m.gm, m.ckt, m.p2, m.pin);
  ZELT_Grid_PropData one(1), two(2);
  m.gm.AddHProperty(at1, 4, one);
  m.gm.AddHProperty(at2, 4, two);
  ZELT_Grid_HEntity copy = at1;
  EXPECT_EQ(HProps(m, copy), (KeyValues{{4, 1}}));
  EXPECT_EQ(HProps(m, at2), (KeyValues{{4, 2}}));
  EXPECT_EQ(m.gm.GetHPropValue(at2, m.gm.GetHProperty(at2, 4)).QInt32(), 2);
  // The entity property store is a different one.
  EXPECT_TRUE(m.gm.IsEnd(m.gm.GetFirstProperty(m.sub, m.pin)));

  EXPECT_EQ(m.gm.RemoveHProperty(at1, m.gm.GetFirstHProperty(at1)), 0);
  EXPECT_TRUE(m.gm.IsEnd(m.gm.GetFirstHProperty(at1)));
  EXPECT_EQ(m.gm.RemoveHProperty(at1, m.gm.GetFirstHProperty(at1)), 1);
  EXPECT_EQ(HProps(m, at2), (KeyValues{{4, 2}}));

  // A path through a removed instance goes with it; later lookups must not
  // meet its key (under the asan preset a stale key is a use after free).
  m.gm.AddHProperty(at1, 4, one);
  EXPECT_EQ(m.gm.RemoveInst(m.ckt, m.p1), 0);
  ZELT_Grid_HEntity at3 = Path(m.gm, m.ckt, m.gm.AddInstance(m.ckt, m.sub, 9, "p3"), m.pin);
  m.gm.AddHProperty(at3, 5, one);
  EXPECT_EQ(HProps(m, at3), (KeyValues{{5, 1}}));
}

}  // namespace
