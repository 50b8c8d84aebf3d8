// Tests of paths, their id order, and the arrays and maps that attach values to entities.
#include <gtest/gtest.h>

#include "grid/defassoc.h"
#include "grid/entityset.h"
#include "grid_helpers.h"

using gridtest::Path;

namespace {

// Part (id 3) has terminal 5 and an instance with id 3; Feeder (id 1) holds two
// instances of Part, with ids 4294967301 and 5 (equal in their low 32 bits).
struct Model {
  ZELT_Grid gm;
  ZELT_Grid_DefIter leafdef = gm.AddElementDef(2, 0, nullptr, "Leaf");
  ZELT_Grid_DefIter part = gm.AddCircuitDef(3, "Part");
  ZELT_Grid_EntityIter term5 = gm.AddTerminal(part, 5, "t5");
  ZELT_Grid_EntityIter inst3 = gm.AddInstance(part, leafdef, 3, "i3");
  ZELT_Grid_DefIter feeder = gm.AddCircuitDef(1, "Feeder");
  ZELT_Grid_EntityIter big = gm.AddInstance(feeder, part, 4294967301L, "big");
  ZELT_Grid_EntityIter small = gm.AddInstance(feeder, part, 5, "small");
};

ZELT_Grid_HEntity Repeat(const ZELT_Grid& gm, ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, int n) {
  ZELT_Grid_HEntity h;
  ZELT_Grid_HEntityStep step;
  gm.InitHEntStep(step, def, ent);
  for (int i = 0; i < n; ++i) h.AppendStep(step);
  return h;
}

TEST(GridHEntity, StepArrayGrowsByFourAndCopiesKeepCapacity) {
  Model m;
  ZELT_Grid_HEntity five = Repeat(m.gm, m.part, m.term5, 5);
  EXPECT_EQ(five.GetLength(), 5);
  EXPECT_EQ(five.GetSpace(), 8);
  ZELT_Grid_HEntity copy = five;
  EXPECT_EQ(copy.GetSpace(), 8);
  EXPECT_EQ(copy, five);

  ZELT_Grid_HEntity three = Repeat(m.gm, m.part, m.term5, 3);
  three.Reset();
  EXPECT_EQ(three.GetLength(), 0);
  EXPECT_EQ(three.GetSpace(), 4);
  ZELT_Grid_HEntity emptyCopy = three;
  EXPECT_EQ(emptyCopy.GetSpace(), 0);
  EXPECT_EQ(emptyCopy, ZELT_Grid_HEntity());
  emptyCopy.AppendStep(five[0]);
  EXPECT_EQ(emptyCopy.GetSpace(), 4);
}

TEST(GridHEntity, CutsKeepTheRightSteps) {
  Model m;
  ZELT_Grid_HEntity h = Path(m.gm, m.feeder, m.big, m.inst3);
  ZELT_Grid_HEntityStep last;
  m.gm.InitHEntStep(last, m.leafdef, m.gm.GetFirstEntity(m.leafdef));
  h.AppendStep(last);
  ZELT_Grid_HEntity front = h;
  front.CutToFront(0);
  ASSERT_EQ(front.GetLength(), 2);
  EXPECT_EQ(m.gm.GetEntIt(front[0]), m.inst3);
  EXPECT_EQ(front.GetLeafDef(m.gm), m.leafdef);
  front = h;
  front.CutToFront(2);
  EXPECT_EQ(front.GetLength(), 0);
  h.CutToEnd(1);
  EXPECT_EQ(h, Path(m.gm, m.feeder, m.big));
  EXPECT_TRUE(h.Contains(h[0]));
  EXPECT_FALSE(h.Contains(last));
}

TEST(GridHEntity, SameDefMeansSameInstanceOfOneDefinition) {
  Model m;
  ZELT_Grid_HEntity a = Path(m.gm, m.feeder, m.big, m.term5);
  ZELT_Grid_HEntity b = Path(m.gm, m.feeder, m.big, m.inst3);
  ZELT_Grid_HEntity other = Path(m.gm, m.feeder, m.small, m.term5);
  EXPECT_TRUE(a.SameDef(m.gm, b));
  EXPECT_FALSE(a.SameDef(m.gm, other));
  EXPECT_FALSE(a.SameDef(m.gm, Path(m.gm, m.feeder, m.big)));
}

TEST(GridHEntComparator, IdsOnlyLeavesFirstLow32Bits) {
  Model m;
  ZELT_Grid_HEntComparator cmp;
  // Terminal 5 sorts before instance 3: leaves come first.
  EXPECT_LT(cmp.Compare(Path(m.gm, m.part, m.term5), Path(m.gm, m.part, m.inst3)), 0);
  EXPECT_GT(cmp.Compare(Path(m.gm, m.part, m.inst3), Path(m.gm, m.part, m.term5)), 0);
  // Length decides before anything else.
  EXPECT_LT(cmp.Compare(Path(m.gm, m.part, m.inst3), Path(m.gm, m.feeder, m.small, m.term5)), 0);
  // Scope definition ids: Feeder (1) before Part (3).
  EXPECT_LT(cmp.Compare(Path(m.gm, m.feeder, m.small), Path(m.gm, m.part, m.term5)), 0);
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
  EXPECT_EQ(values.GetValue(top), 3);
  EXPECT_EQ(values.GetValue(Path(m.gm, m.feeder, m.big)), 3);  // the same ids

  std::vector<long> walked;
  for (ZELT_Grid_InstAssocIter it = values.First(); !values.IsEnd(it); values.Next(it)) walked.push_back(values.GetValue(it));
  EXPECT_EQ(walked, (std::vector<long>{3, 2}));
  EXPECT_EQ(values.Key(values.First()), top);

  EXPECT_EQ(values.Remove(top), 0);
  EXPECT_EQ(values.Remove(top), 1);
  EXPECT_EQ(values.GetValue(top), -1);
  values.Remove(values.GetElem(deep));
  EXPECT_TRUE(values.IsEnd(values.First()));
}

TEST(GridAssoc, UnsetDefinitionsReadTheUnsetValueWithoutSlots) {
  Model m;
  ZELT_Grid_Assoc<bool> marks(m.gm, false);
  for (ZELT_Grid_EntityIter e = m.gm.GetFirstEntity(m.part); !m.gm.IsEnd(e); m.gm.NextEntity(m.part, e))
    EXPECT_FALSE(marks.GetValue(m.part, e));
  EXPECT_EQ(m.gm.Graph(m.part)->pAssocManager, nullptr);
  marks.SetValue(m.part, m.inst3, true);
  EXPECT_TRUE(marks.GetValue(m.part, m.inst3));
  EXPECT_FALSE(marks.GetValue(m.part, m.term5));
  EXPECT_FALSE(marks.GetValue(m.feeder, m.big));
  marks.RemoveDefn(m.part);
  EXPECT_FALSE(marks.GetValue(m.part, m.inst3));
}

TEST(GridDefAssoc, LaterEntitiesReadTheInitialValue) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter d = gm.AddCircuitDef(1, "D");
  ZELT_Grid_EntityIter first = gm.AddConnNode(d, 0, nullptr);
  ZELT_Grid_DefAssoc<long> depth(gm, d, -1);
  EXPECT_EQ(depth.GetDef(), d);
  depth[first] = 7;
  std::vector<ZELT_Grid_EntityIter> later;
  for (long id = 1; id < 100; ++id) later.push_back(gm.AddConnNode(d, id, nullptr));
  EXPECT_EQ(depth[first], 7);
  for (ZELT_Grid_EntityIter e : later) EXPECT_EQ(depth[e], -1);
}

TEST(GridEntitySet, WalksInAscendingIdOnceEach) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter d = gm.AddCircuitDef(1, "D");
  ZELT_Grid_EntityIter e30 = gm.AddConnNode(d, 30, nullptr);
  ZELT_Grid_EntityIter e10 = gm.AddConnNode(d, 10, nullptr);
  ZELT_Grid_EntityIter e20 = gm.AddConnNode(d, 20, nullptr);
  ZELT_Grid_EntityIterSetSL set(gm, d);
  EXPECT_TRUE(set.Insert(e30));
  EXPECT_TRUE(set.Insert(e10));
  EXPECT_TRUE(set.Insert(e20));
  EXPECT_FALSE(set.Insert(e10));
  std::vector<ZELT_Grid_EntityIter> walked;
  for (ZELT_Grid_EntityIterSetIter it = set.First(); !set.IsEnd(it); set.Next(it)) walked.push_back(set.Entity(it));
  EXPECT_EQ(walked, (std::vector<ZELT_Grid_EntityIter>{e10, e20, e30}));
  EXPECT_TRUE(set.Contains(e20));
  ZELT_Grid_EntityIter outside = gm.AddConnNode(d, 40, nullptr);
  EXPECT_FALSE(set.Contains(outside));
}

}  // namespace
