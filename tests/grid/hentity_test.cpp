// Tests of paths, their id order, and the maps that attach values to entities (the per-definition arrays and
// entity sets are checked through the conductivity state set in tests/orient).
#include <gtest/gtest.h>

#include <csignal>

#include "grid/defassoc.h"
#include "grid_helpers.h"

using gridtest::Path;

namespace {

// Sub (id 3) has terminal 5 and an instance with id 3; Feeder (id 1) holds two
// instances of Sub, with ids 4294967301 and 5 (equal in their low 32 bits).
struct Model {
  ZELT_Grid gm;
  ZELT_Grid_DefIter leafdef = gm.AddElementDef(2, 0, nullptr, "Leaf");
  ZELT_Grid_DefIter sub = gm.AddCircuitDef(3, "Sub");
  ZELT_Grid_EntityIter term5 = gm.AddTerminal(sub, 5, "t5");
  ZELT_Grid_EntityIter inst3 = gm.AddInstance(sub, leafdef, 3, "i3");
  ZELT_Grid_DefIter feeder = gm.AddCircuitDef(1, "Feeder");
  ZELT_Grid_EntityIter big = gm.AddInstance(feeder, sub, 4294967301L, "big");
  ZELT_Grid_EntityIter small = gm.AddInstance(feeder, sub, 5, "small");
};

TEST(GridHEntComparator, IdsOnlyLeavesFirstLow32Bits) {
  Model m;
  ZELT_Grid_HEntComparator cmp;
  // Terminal 5 sorts before instance 3: leaves come first.
  EXPECT_LT(cmp.Compare(Path(m.gm, m.sub, m.term5), Path(m.gm, m.sub, m.inst3)), 0);
  EXPECT_GT(cmp.Compare(Path(m.gm, m.sub, m.inst3), Path(m.gm, m.sub, m.term5)), 0);
  // Length decides before anything else.
  EXPECT_LT(cmp.Compare(Path(m.gm, m.sub, m.inst3), Path(m.gm, m.feeder, m.small, m.term5)), 0);
  // Scope definition ids: Feeder (1) before Sub (3).
  EXPECT_LT(cmp.Compare(Path(m.gm, m.feeder, m.small), Path(m.gm, m.sub, m.term5)), 0);
  // 4294967301 and 5 agree in their low 32 bits.
  EXPECT_EQ(cmp.Compare(Path(m.gm, m.feeder, m.big), Path(m.gm, m.feeder, m.small)), 0);
  EXPECT_FALSE(cmp(Path(m.gm, m.feeder, m.big), Path(m.gm, m.feeder, m.small)));
}

TEST(GridInstAssoc, PathsMapToValuesInIdOrder) {
  Model m;
  ZELT_Grid_InstAssoc<long> values(m.gm, -1);
  ZELT_Grid_HEntity deep = Path(m.gm, m.feeder, m.small, m.inst3);
  ZELT_Grid_HEntity top = Path(m.gm, m.feeder, m.small);
  EXPECT_EQ(values.GetValue(top), -1);
  values.SetValue(deep, 2);
  values.SetValue(top, 1);
  values.SetValue(top, 3);
  EXPECT_EQ(values.GetValue(Path(m.gm, m.feeder, m.big)), 3);  // the same ids
  std::vector<long> walked;
  for (ZELT_Grid_InstAssocIter it = values.First(); !values.IsEnd(it); values.Next(it)) walked.push_back(values.GetValue(it));
  EXPECT_EQ(walked, (std::vector<long>{3, 2}));
  EXPECT_EQ(values.Remove(top), 0);
  EXPECT_EQ(values.Remove(top), 1);
  EXPECT_EQ(values.Key(values.First()), deep);
}

TEST(GridAssoc, UnsetDefinitionsReadTheUnsetValueWithoutSlots) {
  Model m;
  ZELT_Grid_Assoc<bool> marks(m.gm, false);
  for (ZELT_Grid_EntityIter e = m.gm.GetFirstEntity(m.sub); !m.gm.IsEnd(e); m.gm.NextEntity(m.sub, e))
    EXPECT_FALSE(marks.GetValue(m.sub, e));
  EXPECT_EQ(m.gm.Graph(m.sub)->pAssocManager, nullptr);
  marks.SetValue(m.sub, m.inst3, true);
  EXPECT_TRUE(marks.GetValue(m.sub, m.inst3));
  EXPECT_FALSE(marks.GetValue(m.sub, m.term5));
  EXPECT_FALSE(marks.GetValue(m.feeder, m.big));
  marks.RemoveDefn(m.sub);
  EXPECT_FALSE(marks.GetValue(m.sub, m.inst3));
}

}  // namespace

TEST(GridHEntity, AnEmptyPathHasNoLeafToAskFor) {
  Model m;
  const ZELT_Grid_HEntity empty;
  EXPECT_EXIT(empty.GetLeafDef(m.gm), testing::KilledBySignal(SIGINT), "GetLeafDef: empty path");
  EXPECT_EXIT(empty.GetLeafEnt(m.gm), testing::KilledBySignal(SIGINT), "GetLeafEnt: empty path");
}
