// Tests of definitions, entities, their order, their indexes and removals.
#include "grid/grid.h"

#include <gtest/gtest.h>

#include "grid_helpers.h"

using gridtest::EntityNames;
using gridtest::Path;

namespace {

using Names = std::vector<std::string>;

TEST(GridEntityOrder, ElementIsAStarWithTheInternalNodeLast) {
  ZELT_Grid gm;
  long termids[] = {7, 2, 5};
  ZELT_Grid_DefIter el = gm.AddElementDef(1, 3, termids, "Breaker");
  EXPECT_EQ(EntityNames(gm, el), (Names{"5", "2", "7", "cn8"}));

  std::vector<long> ids;
  for (ZELT_Grid_EntityIter e = gm.GetFirstEntity(el); !gm.IsEnd(e); gm.NextEntity(el, e))
    ids.push_back(gm.GetEntityID(el, e));
  EXPECT_EQ(ids, (std::vector<long>{5, 2, 7, 8}));

  // Each terminal's single connection carries the terminal's id and leads to cn8.
  ZELT_Grid_EntityIter inner = gm.GetEntityFromName(el, "cn8");
  ASSERT_TRUE(gm.IsConnNode(el, inner));
  for (long id : termids) {
    ZELT_Grid_EntityIter t = gm.GetEntityFromId(el, id);
    ASSERT_TRUE(gm.IsTerminal(el, t));
    EXPECT_EQ(gridtest::ConnectionIds(gm, el, t), (std::vector<long>{id}));
    EXPECT_EQ(gm.GetConOtherEnd(el, t, gm.GetFirstConnection(el, t)), inner);
  }
}

TEST(GridEntityOrder, ElementWithoutTerminalsHasOnlyCn1) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter el = gm.AddElementDef(1, 0, nullptr, "Bare");
  EXPECT_EQ(EntityNames(gm, el), (Names{"cn1"}));
  EXPECT_EQ(gm.GetEntityID(el, gm.GetFirstEntity(el)), 1);

  long negative[] = {-3};
  ZELT_Grid_DefIter neg = gm.AddElementDef(2, 1, negative, "Neg");
  EXPECT_EQ(EntityNames(gm, neg), (Names{"-3", "cn1"}));
}

TEST(GridEntityOrder, CircuitPutsTerminalsFrontAndTheRestInOrder) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter part = gm.AddCircuitDef(2, "Part");
  ZELT_Grid_DefIter ckt = gm.AddCircuitDef(1, "Feeder");
  gm.AddConnNode(ckt, 10, "A");
  gm.AddTerminal(ckt, 11, "T1");
  gm.AddInstance(ckt, part, 12, "I");
  gm.AddTerminal(ckt, 13, "T2");
  gm.AddConnNode(ckt, 14, "B");
  EXPECT_EQ(EntityNames(gm, ckt), (Names{"T2", "T1", "A", "I", "B"}));
  ZELT_Grid_EntityIter inst = gm.GetEntityFromName(ckt, "I");
  EXPECT_TRUE(gm.IsCircuitInst(ckt, inst));
  EXPECT_FALSE(gm.IsElementInst(ckt, inst));
  EXPECT_EQ(gm.GetDefinition(ckt, inst), part);
  EXPECT_TRUE(gm.IsEnd(gm.GetDefinition(ckt, gm.GetEntityFromName(ckt, "A"))));
}

TEST(GridEntities, ElementDefinitionsTakeNoAddedEntities) {
  ZELT_Grid gm;
  long termids[] = {0, 1};
  ZELT_Grid_DefIter el = gm.AddElementDef(1, 2, termids, "Line");
  ZELT_Grid_DefIter ckt = gm.AddCircuitDef(2, "Feeder");
  EXPECT_TRUE(gm.IsEnd(gm.AddTerminal(el, 9, "x")));
  EXPECT_TRUE(gm.IsEnd(gm.AddConnNode(el, 9, "x")));
  EXPECT_TRUE(gm.IsEnd(gm.AddInstance(el, ckt, 9, "x")));
  EXPECT_EQ(EntityNames(gm, el), (Names{"1", "0", "cn2"}));
  EXPECT_TRUE(gm.IsElementInst(ckt, gm.AddInstance(ckt, el, 3, "L1")));
}

TEST(GridEntities, RemovalsRefuseTheWrongKind) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter part = gm.AddCircuitDef(2, "Part");
  ZELT_Grid_DefIter ckt = gm.AddCircuitDef(1, "Feeder");
  ZELT_Grid_EntityIter t = gm.AddTerminal(ckt, 1, "T");
  ZELT_Grid_EntityIter n = gm.AddConnNode(ckt, 2, "N");
  ZELT_Grid_EntityIter i = gm.AddInstance(ckt, part, 3, "I");
  EXPECT_EQ(gm.RemoveInst(ckt, t), 1);
  EXPECT_EQ(gm.RemoveTerminal(ckt, n), 1);
  EXPECT_EQ(gm.RemoveConnNode(ckt, t), 1);
  EXPECT_EQ(gm.RemoveConnNode(ckt, i), 1);
  EXPECT_EQ(EntityNames(gm, ckt), (Names{"T", "N", "I"}));
  EXPECT_EQ(gm.RemoveInst(ckt, i), 0);
  EXPECT_EQ(gm.RemoveTerminal(ckt, t), 0);
  EXPECT_EQ(gm.RemoveConnNode(ckt, n), 0);
  EXPECT_TRUE(gm.IsEnd(gm.GetFirstEntity(ckt)));
}

TEST(GridIndexes, EmptyNamesAreNeitherKeptNorIndexed) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter d = gm.AddCircuitDef(1, "");
  ZELT_Grid_DefIter n = gm.AddCircuitDef(2, nullptr);
  EXPECT_EQ(gm.GetDefName(d), nullptr);
  EXPECT_EQ(gm.GetDefName(n), nullptr);
  EXPECT_TRUE(gm.IsEnd(gm.GetDefFromName("")));
  ZELT_Grid_EntityIter e = gm.AddConnNode(d, 5, "");
  EXPECT_EQ(gm.GetEntityName(d, e), nullptr);
  EXPECT_TRUE(gm.IsEnd(gm.GetEntityFromName(d, "")));
  EXPECT_EQ(gm.GetEntityFromId(d, 5), e);
}

TEST(GridIndexes, RepeatedNamesPointAtTheNewestUntilItGoes) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter first = gm.AddCircuitDef(1, "Same");
  ZELT_Grid_DefIter later = gm.AddCircuitDef(2, "Same");
  EXPECT_EQ(gm.GetDefFromName("Same"), later);
  // Removing the older one leaves the newer one's entry alone.
  EXPECT_EQ(gm.RemoveCircuitDef(first), 0);
  EXPECT_EQ(gm.GetDefFromName("Same"), later);
  EXPECT_EQ(gm.RemoveCircuitDef(later), 0);
  EXPECT_TRUE(gm.IsEnd(gm.GetDefFromName("Same")));

  ZELT_Grid_DefIter d = gm.AddCircuitDef(3, "D");
  ZELT_Grid_EntityIter a = gm.AddConnNode(d, 1, "x");
  ZELT_Grid_EntityIter b = gm.AddConnNode(d, 1, "x");
  EXPECT_EQ(gm.GetEntityFromName(d, "x"), b);
  EXPECT_EQ(gm.GetEntityFromId(d, 1), b);
  EXPECT_EQ(gm.RemoveConnNode(d, a), 0);
  EXPECT_EQ(gm.GetEntityFromName(d, "x"), b);
  EXPECT_EQ(gm.GetEntityFromId(d, 1), b);
  EXPECT_EQ(gm.RemoveConnNode(d, b), 0);
  EXPECT_TRUE(gm.IsEnd(gm.GetEntityFromName(d, "x")));
  EXPECT_TRUE(gm.IsEnd(gm.GetEntityFromId(d, 1)));
}

TEST(GridIndexes, NamesAreCopiedOnEntry) {
  ZELT_Grid gm;
  char name[] = "Feeder";
  char ent[] = "N1";
  ZELT_Grid_DefIter d = gm.AddCircuitDef(1, name);
  gm.AddConnNode(d, 1, ent);
  name[0] = 'X';
  ent[0] = 'X';
  EXPECT_STREQ(gm.GetDefName(d), "Feeder");
  EXPECT_EQ(gm.GetDefFromName("Feeder"), d);
  EXPECT_FALSE(gm.IsEnd(gm.GetEntityFromName(d, "N1")));
}

TEST(GridDefinitions, WalkInAscendingIdAndRefuseRepeatedIds) {
  ZELT_Grid gm;
  gm.AddCircuitDef(30, "c");
  gm.AddCircuitDef(10, "a");
  gm.AddElementDef(20, 0, nullptr, "b");
  EXPECT_TRUE(gm.IsEnd(gm.AddCircuitDef(10, "again")));
  std::vector<long> ids;
  for (ZELT_Grid_DefIter d = gm.GetFirstDef(); !gm.IsEnd(d); gm.NextDef(d)) ids.push_back(gm.GetDefID(d));
  EXPECT_EQ(ids, (std::vector<long>{10, 20, 30}));
  EXPECT_EQ(gm.GetDefID(gm.GetDefFromId(20)), 20);
  EXPECT_TRUE(gm.IsElementDef(gm.GetDefFromId(20)));
  EXPECT_TRUE(gm.IsEnd(gm.GetDefFromId(11)));
  EXPECT_TRUE(gm.IsEnd(gm.GetDefFromName("again")));
}

TEST(GridPrimes, DefinitionsMoveBetweenPrimesAndInstantiated) {
  ZELT_Grid gm;
  EXPECT_TRUE(gm.IsEnd(gm.GetPrimeCircuitDef()));
  // Element types declared first, with lower ids, must not hide the top circuit.
  ZELT_Grid_DefIter line = gm.AddElementDef(1, 0, nullptr, "Line");
  ZELT_Grid_DefIter spare = gm.AddElementDef(2, 0, nullptr, "Spare");
  ZELT_Grid_DefIter b = gm.AddCircuitDef(4, "B");
  ZELT_Grid_DefIter a = gm.AddCircuitDef(5, "A");
  EXPECT_EQ(gm.GetAllPrimeCircuitDefs(), (std::vector<ZELT_Grid_DefIter>{b, a, line, spare}));

  ZELT_Grid_EntityIter ib = gm.AddInstance(a, b, 1, "b");
  gm.AddInstance(b, line, 1, "l");
  EXPECT_EQ(gm.GetPrimeCircuitDef(), a);
  EXPECT_EQ(gm.GetAllPrimeCircuitDefs(), (std::vector<ZELT_Grid_DefIter>{a, spare}));

  // A second instance keeps B instantiated until both are gone.
  ZELT_Grid_EntityIter ib2 = gm.AddInstance(a, b, 2, "b2");
  EXPECT_EQ(gm.RemoveInst(a, ib), 0);
  EXPECT_EQ(gm.GetAllPrimeCircuitDefs(), (std::vector<ZELT_Grid_DefIter>{a, spare}));
  EXPECT_EQ(gm.RemoveInst(a, ib2), 0);
  EXPECT_EQ(gm.GetAllPrimeCircuitDefs(), (std::vector<ZELT_Grid_DefIter>{b, a, spare}));
  EXPECT_EQ(gm.GetPrimeCircuitDef(), b);
}

TEST(GridDefinitions, InstantiatedDefinitionIsNotRemoved) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter el = gm.AddElementDef(1, 0, nullptr, "Line");
  ZELT_Grid_DefIter ckt = gm.AddCircuitDef(2, "Feeder");
  ZELT_Grid_EntityIter inst = gm.AddInstance(ckt, el, 1, "L1");
  EXPECT_EQ(gm.RemoveElementDef(el), 1);
  EXPECT_EQ(gm.GetEntityFromName(ckt, "L1"), inst);
  EXPECT_EQ(gm.RemoveInst(ckt, inst), 0);
  EXPECT_EQ(gm.RemoveElementDef(el), 0);
  EXPECT_TRUE(gm.IsEnd(gm.GetDefFromName("Line")));
  EXPECT_TRUE(gm.IsEnd(gm.GetDefFromId(1)));
}

TEST(GridModify, PhaseFlagRefusesNesting) {
  ZELT_Grid gm;
  EXPECT_TRUE(gm.BeginModify());
  EXPECT_FALSE(gm.BeginModify());
  gm.EndModify();
  EXPECT_TRUE(gm.BeginModify());
}

// A removed definition's side-array slot goes to a later definition; nothing of
// the old definition may show through it.
TEST(GridRemoval, ReusedDefinitionSlotsStartEmpty) {
  ZELT_Grid gm;
  std::vector<ZELT_Grid_DefIter> defs;
  for (long id = 0; id < 40; ++id) {
    ZELT_Grid_DefIter d = gm.AddCircuitDef(id, ("D" + std::to_string(id)).c_str());
    ZELT_Grid_EntityIter c = gm.AddConnNode(d, 1, "c");
    ZELT_Grid_EntityIter x = gm.AddConnNode(d, 2, "x");
    ZELT_Grid_DefIter part = gm.AddCircuitDef(1000 + id, nullptr);
    ZELT_Grid_EntityIter i = gm.AddInstance(d, part, 3, "i");
    gm.AddProperty(d, x, 7, ZELT_Grid_PropData(1));
    gm.AddDefProperty(d, 7, ZELT_Grid_PropData(2));
    gm.AddDefAssetClass(d, 4);
    gm.AddContainerOf(d, i, c);
    gm.AddConnection(Path(gm, d, c), Path(gm, d, x), 9);
    defs.push_back(d);
  }
  for (long id = 0; id < 40; ++id) {
    ASSERT_EQ(gm.RemoveCircuitDef(defs[id]), 0);
    ASSERT_EQ(gm.RemoveCircuitDef(gm.GetDefFromId(1000 + id)), 0);
  }
  for (long id = 0; id < 40; ++id) {
    ZELT_Grid_DefIter d = gm.AddCircuitDef(id, nullptr);
    ZELT_Grid_EntityIter c = gm.AddConnNode(d, 1, nullptr);
    EXPECT_TRUE(gm.IsEnd(gm.GetFirstDefProperty(d)));
    EXPECT_EQ(gm.GetDefAssetClassKey(d), -1);
    EXPECT_TRUE(gm.IsEnd(gm.GetEntityFromName(d, "c")));
    EXPECT_TRUE(gm.IsEnd(gm.GetEntityFromId(d, 2)));
    EXPECT_TRUE(gm.IsEnd(gm.GetConntionFromId(d, 9)));
    EXPECT_TRUE(gm.IsEnd(gm.GetFirstProperty(d, c)));
    std::vector<ZELT_Grid_EntityIter> inside;
    gm.GetContainees(d, c, inside);
    EXPECT_TRUE(inside.empty());
    EXPECT_TRUE(gm.IsEnd(gm.GetDefFromName(("D" + std::to_string(id)).c_str())));
  }
}

// Node slots of removed entities go to later entities of the same definition.
TEST(GridRemoval, ReusedEntitySlotsStartEmpty) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter d = gm.AddCircuitDef(1, "D");
  std::vector<ZELT_Grid_EntityIter> nodes;
  for (long id = 0; id < 50; ++id) {
    nodes.push_back(gm.AddConnNode(d, id, ("n" + std::to_string(id)).c_str()));
    gm.AddProperty(d, nodes.back(), 3, ZELT_Grid_PropData(static_cast<int>(id)));
  }
  for (long id = 0; id < 50; ++id) ASSERT_EQ(gm.RemoveConnNode(d, nodes[id]), 0);
  for (long id = 0; id < 50; ++id) {
    ZELT_Grid_EntityIter e = gm.AddConnNode(d, 100 + id, nullptr);
    EXPECT_TRUE(gm.IsEnd(gm.GetFirstProperty(d, e)));
    EXPECT_TRUE(gm.IsEnd(gm.GetEntityFromId(d, id)));
    EXPECT_TRUE(gm.IsEnd(gm.GetEntityFromName(d, ("n" + std::to_string(id)).c_str())));
  }
}

}  // namespace
