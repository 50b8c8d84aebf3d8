// Tests of definitions, entities, their order, their indexes and removals.
#include <gtest/gtest.h>

#include "grid_helpers.h"

using gridtest::EntityNames;
using gridtest::Path;

namespace {

using Names = std::vector<std::string>;
using Defs = std::vector<ZELT_Grid_DefIter>;

std::string DefName(long id) { return std::string("D").append(std::to_string(id)); }

TEST(GridEntities, ElementIsAStarWithTheInternalNodeLast) {
  ZELT_Grid gm;
  long termids[] = {7, 2, 5};
  ZELT_Grid_DefIter el = gm.AddElementDef(1, 3, termids, "Breaker");
  EXPECT_EQ(EntityNames(gm, el), (Names{"5", "2", "7", "cn8"}));
  ZELT_Grid_EntityIter inner = gm.GetEntityFromId(el, 8);
  EXPECT_TRUE(gm.IsConnNode(el, inner));
  for (long id : termids) {
    ZELT_Grid_EntityIter t = gm.GetEntityFromId(el, id);
    ASSERT_TRUE(gm.IsTerminal(el, t));
    EXPECT_EQ(gridtest::ConnectionIds(gm, el, t), (std::vector<long>{id}));
    EXPECT_EQ(gm.GetConOtherEnd(el, t, gm.GetFirstConnection(el, t)), inner);
  }
  EXPECT_EQ(EntityNames(gm, gm.AddElementDef(2, 0, nullptr, "Bare")), (Names{"cn1"}));
  // An element is closed: nothing is added to it afterwards.
  EXPECT_TRUE(gm.IsEnd(gm.AddTerminal(el, 9, "x")));
  EXPECT_TRUE(gm.IsEnd(gm.AddConnNode(el, 9, "x")));
}

TEST(GridEntities, CircuitPutsTerminalsFrontAndTheRestInOrder) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter sub = gm.AddCircuitDef(2, "Sub");
  ZELT_Grid_DefIter ckt = gm.AddCircuitDef(1, "Feeder");
  ZELT_Grid_EntityIter a = gm.AddConnNode(ckt, 10, "A");
  ZELT_Grid_EntityIter t1 = gm.AddTerminal(ckt, 11, "T1");
  ZELT_Grid_EntityIter inst = gm.AddInstance(ckt, sub, 12, "I");
  gm.AddTerminal(ckt, 13, "T2");
  EXPECT_EQ(EntityNames(gm, ckt), (Names{"T2", "T1", "A", "I"}));
  EXPECT_TRUE(gm.IsCircuitInst(ckt, inst));
  EXPECT_EQ(gm.GetDefinition(ckt, inst), sub);
  EXPECT_TRUE(gm.IsEnd(gm.GetDefinition(ckt, a)));
  // Removals refuse entities of the wrong kind.
  EXPECT_EQ(gm.RemoveInst(ckt, t1), 1);
  EXPECT_EQ(gm.RemoveTerminal(ckt, a), 1);
  EXPECT_EQ(gm.RemoveConnNode(ckt, inst), 1);
  EXPECT_EQ(gm.RemoveInst(ckt, inst), 0);
  EXPECT_EQ(EntityNames(gm, ckt), (Names{"T2", "T1", "A"}));
}

TEST(GridIndexes, EmptyNamesAreNotIndexedAndRepeatsPointAtTheNewest) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter anon = gm.AddCircuitDef(1, "");
  EXPECT_EQ(gm.GetDefName(anon), nullptr);
  EXPECT_TRUE(gm.IsEnd(gm.GetDefFromName("")));
  EXPECT_TRUE(gm.IsEnd(gm.AddCircuitDef(1, "again")));  // ids are unique

  ZELT_Grid_DefIter first = gm.AddCircuitDef(2, "Same");
  ZELT_Grid_DefIter later = gm.AddCircuitDef(3, "Same");
  EXPECT_EQ(gm.GetDefFromName("Same"), later);
  EXPECT_EQ(gm.RemoveCircuitDef(first), 0);  // the newer entry stays
  EXPECT_EQ(gm.GetDefFromName("Same"), later);
  EXPECT_EQ(gm.RemoveCircuitDef(later), 0);
  EXPECT_TRUE(gm.IsEnd(gm.GetDefFromName("Same")));

  ZELT_Grid_EntityIter a = gm.AddConnNode(anon, 1, "x");
  ZELT_Grid_EntityIter b = gm.AddConnNode(anon, 1, "x");
  EXPECT_EQ(gm.GetEntityFromName(anon, "x"), b);
  EXPECT_EQ(gm.RemoveConnNode(anon, a), 0);
  EXPECT_EQ(gm.GetEntityFromName(anon, "x"), b);
  EXPECT_EQ(gm.GetEntityFromId(anon, 1), b);
  EXPECT_EQ(gm.RemoveConnNode(anon, b), 0);
  EXPECT_TRUE(gm.IsEnd(gm.GetEntityFromName(anon, "x")));
  EXPECT_TRUE(gm.IsEnd(gm.GetEntityFromId(anon, 1)));
}

TEST(GridPrimes, DefinitionsMoveBetweenPrimesAndInstantiated) {
  ZELT_Grid gm;
  EXPECT_TRUE(gm.IsEnd(gm.GetPrimeCircuitDef()));
  // Unused element types with lower ids must not hide the top circuit.
  ZELT_Grid_DefIter line = gm.AddElementDef(1, 0, nullptr, "Line");
  ZELT_Grid_DefIter spare = gm.AddElementDef(2, 0, nullptr, "Spare");
  ZELT_Grid_DefIter b = gm.AddCircuitDef(4, "B");
  ZELT_Grid_DefIter a = gm.AddCircuitDef(5, "A");
  EXPECT_EQ(gm.GetAllPrimeCircuitDefs(), (Defs{b, a, line, spare}));
  ZELT_Grid_EntityIter ib = gm.AddInstance(a, b, 1, "b");
  ZELT_Grid_EntityIter ib2 = gm.AddInstance(a, b, 2, "b2");
  ZELT_Grid_EntityIter il = gm.AddInstance(b, line, 1, "l");
  EXPECT_EQ(gm.GetPrimeCircuitDef(), a);
  EXPECT_EQ(gm.GetAllPrimeCircuitDefs(), (Defs{a, spare}));
  EXPECT_EQ(gm.RemoveElementDef(line), 1);  // still instantiated
  EXPECT_EQ(gm.RemoveInst(a, ib), 0);
  EXPECT_EQ(gm.GetAllPrimeCircuitDefs(), (Defs{a, spare}));
  EXPECT_EQ(gm.RemoveInst(a, ib2), 0);
  EXPECT_EQ(gm.GetAllPrimeCircuitDefs(), (Defs{b, a, spare}));
  EXPECT_EQ(gm.RemoveInst(b, il), 0);
  EXPECT_EQ(gm.RemoveElementDef(line), 0);
  EXPECT_EQ(gm.GetAllPrimeCircuitDefs(), (Defs{b, a, spare}));
}

// A removed definition's side-array slot, and a removed entity's node slot, go
// to later ones; nothing of the old owner may show through them.
TEST(GridRemoval, ReusedSlotsStartEmpty) {
  ZELT_Grid gm;
  for (long id = 0; id < 40; ++id) {
    ZELT_Grid_DefIter d = gm.AddCircuitDef(id, DefName(id).c_str());
    ZELT_Grid_EntityIter c = gm.AddConnNode(d, 1, "c");
    ZELT_Grid_EntityIter i = gm.AddInstance(d, gm.AddCircuitDef(1000 + id, nullptr), 3, "i");
    gm.AddProperty(d, c, 7, ZELT_Grid_PropData(1));
    gm.AddDefProperty(d, 7, ZELT_Grid_PropData(2));
    gm.AddDefAssetClass(d, 4);
    gm.AddContainerOf(d, i, c);
    gm.AddConnection(Path(gm, d, c), Path(gm, d, i), 9);
    ASSERT_EQ(gm.RemoveConnNode(d, c), 0);
    EXPECT_TRUE(gm.IsEnd(gm.GetFirstProperty(d, gm.AddConnNode(d, 2, nullptr))));
  }
  for (long id = 0; id < 40; ++id) {
    ASSERT_EQ(gm.RemoveCircuitDef(gm.GetDefFromId(id)), 0);
    ASSERT_EQ(gm.RemoveCircuitDef(gm.GetDefFromId(1000 + id)), 0);
  }
  for (long id = 0; id < 40; ++id) {
    ZELT_Grid_DefIter d = gm.AddCircuitDef(id, nullptr);
    ZELT_Grid_EntityIter c = gm.AddConnNode(d, 5, nullptr);
    EXPECT_TRUE(gm.IsEnd(gm.GetFirstDefProperty(d)));
    EXPECT_EQ(gm.GetDefAssetClassKey(d), -1);
    EXPECT_TRUE(gm.IsEnd(gm.GetEntityFromId(d, 2)));
    EXPECT_TRUE(gm.IsEnd(gm.GetEntityFromName(d, "i")));
    EXPECT_TRUE(gm.IsEnd(gm.GetConntionFromId(d, 9)));
    EXPECT_TRUE(gm.IsEnd(gm.GetFirstProperty(d, c)));
    EXPECT_TRUE(gm.IsEnd(gm.GetDefFromName(DefName(id).c_str())));
  }
}

}  // namespace
