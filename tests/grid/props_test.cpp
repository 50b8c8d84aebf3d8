// Tests of the three property stores and the asset class slot.
#include <gtest/gtest.h>

#include <utility>

#include "grid/grid.h"
#include "grid_helpers.h"

using gridtest::Path;

namespace {

using KeyValues = std::vector<std::pair<int, int>>;

KeyValues EntityProps(const ZELT_Grid& gm, ZELT_Grid_DefIter d, ZELT_Grid_EntityIter e) {
  KeyValues out;
  for (ZELT_Grid_PropIter it = gm.GetFirstProperty(d, e); !gm.IsEnd(it); gm.NextProperty(d, e, it))
    out.emplace_back(gm.GetPropertyKey(d, e, it), gm.GetPropertyValue(d, e, it).QInt32());
  return out;
}

KeyValues DefProps(const ZELT_Grid& gm, ZELT_Grid_DefIter d) {
  KeyValues out;
  for (ZELT_Grid_DefPropIter it = gm.GetFirstDefProperty(d); !gm.IsEnd(it); gm.NextDefProperty(d, it))
    out.emplace_back(gm.GetDefPropertyKey(d, it), gm.GetDefPropertyValue(d, it).QInt32());
  return out;
}

KeyValues HProps(const ZELT_Grid& gm, const ZELT_Grid_HEntity& h) {
  KeyValues out;
  for (ZELT_Grid_HPropIter it = gm.GetFirstHProperty(h); !gm.IsEnd(it); gm.NextHProperty(h, it))
    out.emplace_back(gm.GetHPropKey(h, it), gm.GetHPropValue(h, it).QInt32());
  return out;
}

struct Model {
  ZELT_Grid gm;
  ZELT_Grid_DefIter part = gm.AddCircuitDef(1, "Part");
  ZELT_Grid_EntityIter pin = gm.AddTerminal(part, 1, "pin");
  ZELT_Grid_DefIter ckt = gm.AddCircuitDef(2, "Feeder");
  ZELT_Grid_EntityIter p1 = gm.AddInstance(ckt, part, 10, "p1");
  ZELT_Grid_EntityIter p2 = gm.AddInstance(ckt, part, 11, "p2");
};

TEST(GridEntityProps, NewestFirstWithDuplicateKeys) {
  Model m;
  EXPECT_TRUE(m.gm.IsEnd(m.gm.GetFirstProperty(m.ckt, m.p1)));
  ZELT_Grid_PropIter older = m.gm.AddProperty(m.ckt, m.p1, 5, ZELT_Grid_PropData(1));
  m.gm.AddProperty(m.ckt, m.p1, 6, ZELT_Grid_PropData(9));
  ZELT_Grid_PropIter newer = m.gm.AddProperty(m.ckt, m.p1, 5, ZELT_Grid_PropData(2));
  EXPECT_EQ(m.gm.GetPropertyValue(m.ckt, m.p1, newer).QInt32(), 2);
  EXPECT_EQ(m.gm.GetPropertyValue(m.ckt, m.p1, m.gm.GetProperty(m.ckt, m.p1, 5)).QInt32(), 2);
  EXPECT_EQ(EntityProps(m.gm, m.ckt, m.p1), (KeyValues{{5, 2}, {6, 9}, {5, 1}}));
  EXPECT_TRUE(m.gm.IsEnd(m.gm.GetFirstProperty(m.ckt, m.p2)));

  // Removal at either position takes every entry of the key.
  EXPECT_EQ(m.gm.RemoveProperty(m.ckt, m.p1, older), 0);
  EXPECT_EQ(EntityProps(m.gm, m.ckt, m.p1), (KeyValues{{6, 9}}));
  EXPECT_TRUE(m.gm.IsEnd(m.gm.GetProperty(m.ckt, m.p1, 5)));
  EXPECT_EQ(m.gm.RemoveProperty(m.ckt, m.p2, m.gm.GetFirstProperty(m.ckt, m.p2)), 1);
}

TEST(GridEntityProps, ValuesAreCopiesOwnedByTheModel) {
  Model m;
  {
    ZELT_Grid_PropData text("a text longer than seven characters");
    m.gm.AddProperty(m.ckt, m.p1, 3, text);
  }
  ZELT_Grid_PropIter it = m.gm.GetProperty(m.ckt, m.p1, 3);
  EXPECT_STREQ(m.gm.GetPropertyValue(m.ckt, m.p1, it).QString(), "a text longer than seven characters");
}

TEST(GridDefProps, RemovalTakesOnlyTheEntryAtThePosition) {
  Model m;
  m.gm.AddDefProperty(m.part, 5, ZELT_Grid_PropData(1));
  ZELT_Grid_DefPropIter newer = m.gm.AddDefProperty(m.part, 5, ZELT_Grid_PropData(2));
  EXPECT_EQ(DefProps(m.gm, m.part), (KeyValues{{5, 2}, {5, 1}}));
  EXPECT_EQ(m.gm.RemoveDefProperty(m.part, newer), 0);
  EXPECT_EQ(DefProps(m.gm, m.part), (KeyValues{{5, 1}}));
  EXPECT_EQ(m.gm.GetDefPropertyValue(m.part, m.gm.GetDefProperty(m.part, 5)).QInt32(), 1);
  EXPECT_EQ(m.gm.RemoveDefProperty(m.ckt, m.gm.GetFirstDefProperty(m.ckt)), 1);
}

TEST(GridHProps, PathsKeepTheirOwnSetsUntilEmptied) {
  Model m;
  ZELT_Grid_HEntity at1 = Path(m.gm, m.ckt, m.p1, m.pin);
  ZELT_Grid_HEntity at2 = Path(m.gm, m.ckt, m.p2, m.pin);
  ZELT_Grid_PropData one(1), two(2);
  m.gm.AddHProperty(at1, 4, one);
  m.gm.AddHProperty(at2, 4, two);
  ZELT_Grid_HEntity copy = at1;
  EXPECT_EQ(HProps(m.gm, copy), (KeyValues{{4, 1}}));
  EXPECT_EQ(HProps(m.gm, at2), (KeyValues{{4, 2}}));
  EXPECT_EQ(m.gm.GetHPropValue(at2, m.gm.GetHProperty(at2, 4)).QInt32(), 2);
  // The entity property store is a different one.
  EXPECT_TRUE(m.gm.IsEnd(m.gm.GetFirstProperty(m.part, m.pin)));

  EXPECT_EQ(m.gm.RemoveHProperty(at1, m.gm.GetFirstHProperty(at1)), 0);
  EXPECT_TRUE(m.gm.IsEnd(m.gm.GetFirstHProperty(at1)));
  EXPECT_EQ(m.gm.RemoveHProperty(at1, m.gm.GetFirstHProperty(at1)), 1);
  EXPECT_EQ(HProps(m.gm, at2), (KeyValues{{4, 2}}));
}

TEST(GridAssetClass, OneClassPerDefinition) {
  Model m;
  EXPECT_EQ(m.gm.GetDefAssetClassKey(m.part), -1);
  EXPECT_EQ(m.gm.AddDefAssetClass(m.part, 4), 0);
  EXPECT_EQ(m.gm.AddDefAssetClass(m.part, 7), 1);
  EXPECT_EQ(m.gm.GetDefAssetClassKey(m.part), 4);
  EXPECT_EQ(m.gm.RemoveDefAssetClass(m.part), 0);
  EXPECT_EQ(m.gm.RemoveDefAssetClass(m.part), 1);
  EXPECT_EQ(m.gm.AddDefAssetClass(m.part, -2), 1);
  EXPECT_EQ(m.gm.GetDefAssetClassKey(m.part), -1);
}

}  // namespace
