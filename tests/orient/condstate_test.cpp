// Tests of the conductivity state set and the existence and modification flag sets.
#include "orient/condstate.h"

#include <gtest/gtest.h>

#include "tests/orient/test_model.h"

namespace {

std::vector<long> WalkedIds(const ZELT_Grid& gm, const ZELT_Grid_CondStateSetSL& cst) {
  std::vector<long> ids;
  for (ZELT_Grid_EntityIterSetIter it = cst.GetFirstEntity(); !cst.IsEnd(it); cst.NextEntity(it)) {
    ids.push_back(gm.GetEntityID(cst.GetDef(), cst.GetEntity(it)));
  }
  return ids;
}

TEST(CondStateSet, FreshSetReadsUnsetAndWalksNothing) {
  TestModel m;
  ZELT_Grid_DefIter ckt = m.Circuit("Feeder", {"T1"});
  m.Node(ckt, "N1");
  m.Device(ckt, "D1");
  ZELT_Grid_CondStateSetSL cst(m.gm, ckt);
  int entities = 0;
  for (ZELT_Grid_EntityIter e = m.gm.GetFirstEntity(ckt); !m.gm.IsEnd(e); m.gm.NextEntity(ckt, e), ++entities) {
    EXPECT_EQ(cst.GetState(e), UNSET);
  }
  EXPECT_EQ(entities, 3);
  EXPECT_TRUE(cst.IsEnd(cst.GetFirstEntity()));
  EXPECT_TRUE(cst.GetDef() == ckt);
}

TEST(CondStateSet, LastStateWinsAndEachEntityIsWalkedOnce) {
  TestModel m;
  ZELT_Grid_DefIter ckt = m.Circuit("Feeder");
  ZELT_Grid_EntityIter sw = m.Device(ckt, "SW");
  ZELT_Grid_EntityIter other = m.Device(ckt, "Other");
  ZELT_Grid_CondStateSetSL cst(m.gm, ckt);
  cst.SetState(sw, OFF);
  cst.SetState(sw, ON);
  EXPECT_EQ(cst.GetState(sw), ON);
  EXPECT_EQ(cst.GetState(other), UNSET);
  EXPECT_EQ(WalkedIds(m.gm, cst), std::vector<long>{m.gm.GetEntityID(ckt, sw)});
}

TEST(CondStateSet, WalksInAscendingEntityIdWhateverTheOrderOfSetting) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter ckt = gm.AddCircuitDef(1, "Feeder");
  ZELT_Grid_EntityIter n30 = gm.AddConnNode(ckt, 30, "n30");
  ZELT_Grid_EntityIter n10 = gm.AddConnNode(ckt, 10, "n10");
  ZELT_Grid_EntityIter n20 = gm.AddConnNode(ckt, 20, "n20");
  ZELT_Grid_CondStateSetSL cst(gm, ckt);
  cst.SetState(n30, ON);
  cst.SetState(n10, OFF);
  cst.SetState(n20, ON);
  EXPECT_EQ(WalkedIds(gm, cst), (std::vector<long>{10, 20, 30}));
  EXPECT_EQ(cst.GetState(n10), OFF);
}

// The slot array grows with the definition's graph; the new slots must not
// carry leftovers that would stop the search.
TEST(CondStateSet, EntitiesAddedLaterReadUnset) {
  TestModel m;
  ZELT_Grid_DefIter ckt = m.Circuit("Feeder");
  ZELT_Grid_EntityIter first = m.Node(ckt, "N0");
  ZELT_Grid_CondStateSetSL cst(m.gm, ckt);
  cst.SetState(first, OFF);
  std::vector<ZELT_Grid_EntityIter> later;
  for (int i = 1; i <= 200; ++i) later.push_back(m.Node(ckt, std::string("N").append(std::to_string(i)).c_str()));
  for (const ZELT_Grid_EntityIter& e : later) ASSERT_EQ(cst.GetState(e), UNSET);
  EXPECT_EQ(cst.GetState(first), OFF);
  cst.SetState(later.back(), OFF);
  EXPECT_EQ(cst.GetState(later.back()), OFF);
  EXPECT_EQ(WalkedIds(m.gm, cst).size(), 2u);
}

TEST(CondStateSet, SetsOverTwoDefinitionsAreIndependent) {
  TestModel m;
  ZELT_Grid_DefIter a = m.Circuit("A");
  ZELT_Grid_DefIter b = m.Circuit("B");
  ZELT_Grid_EntityIter na = m.Node(a, "N");
  ZELT_Grid_EntityIter nb = m.Node(b, "N");
  ZELT_Grid_CondStateSetSL ca(m.gm, a);
  ZELT_Grid_CondStateSetSL cb(m.gm, b);
  ca.SetState(na, OFF);
  EXPECT_EQ(cb.GetState(nb), UNSET);
  EXPECT_EQ(ca.GetState(na), OFF);
}

// A model without definitions gives the driver the end handle as its circuit.
TEST(CondStateSet, OverNoDefinitionIsEmpty) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter none = gm.GetPrimeCircuitDef();
  ASSERT_TRUE(gm.IsEnd(none));
  ZELT_Grid_CondStateSetSL cst(gm, none);
  EXPECT_TRUE(cst.IsEnd(cst.GetFirstEntity()));
  EXPECT_TRUE(gm.IsEnd(cst.GetDef()));
}

TEST(ExistAndModifyStateSets, UnsetUntilSetPerDefinition) {
  TestModel m;
  ZELT_Grid_DefIter a = m.Circuit("A");
  ZELT_Grid_DefIter b = m.Circuit("B");
  ZELT_Grid_EntityIter na = m.Node(a, "N");
  ZELT_Grid_EntityIter na2 = m.Node(a, "N2");
  ZELT_Grid_EntityIter nb = m.Node(b, "N");

  ZELT_Grid_ExistStateSet exist(m.gm);
  EXPECT_EQ(exist.GetState(a, na), NOTEXIST);
  exist.SetState(a, na, EXIST);
  EXPECT_EQ(exist.GetState(a, na), EXIST);
  EXPECT_EQ(exist.GetState(a, na2), NOTEXIST);
  EXPECT_EQ(exist.GetState(b, nb), NOTEXIST);
  exist.SetState(a, na, NOTEXIST);
  EXPECT_EQ(exist.GetState(a, na), NOTEXIST);

  ZELT_Grid_ModifyStateSet modified(m.gm);
  EXPECT_FALSE(modified.GetState(b, nb));
  modified.SetState(b, nb, true);
  EXPECT_TRUE(modified.GetState(b, nb));
  EXPECT_FALSE(modified.GetState(a, na));
}

}  // namespace
