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

TEST(CondStateSet, ReadsUnsetUntilSetAndWalksSetEntitiesOnceInIdOrder) {
  ZELT_Grid gm;
  ZELT_Grid_DefIter ckt = gm.AddCircuitDef(1, "Feeder");
  ZELT_Grid_EntityIter n30 = gm.AddConnNode(ckt, 30, "n30");
  ZELT_Grid_EntityIter n10 = gm.AddConnNode(ckt, 10, "n10");
  ZELT_Grid_EntityIter n20 = gm.AddConnNode(ckt, 20, "n20");
  ZELT_Grid_CondStateSetSL cst(gm, ckt);
  EXPECT_TRUE(cst.GetDef() == ckt);
  EXPECT_EQ(cst.GetState(n10), UNSET);
  EXPECT_TRUE(WalkedIds(gm, cst).empty());

  cst.SetState(n30, OFF);
  cst.SetState(n10, OFF);
  cst.SetState(n30, ON);
  EXPECT_EQ(cst.GetState(n30), ON);
  EXPECT_EQ(cst.GetState(n10), OFF);
  EXPECT_EQ(cst.GetState(n20), UNSET);
  EXPECT_EQ(WalkedIds(gm, cst), (std::vector<long>{10, 30}));
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
  for (int i = 1; i <= 200; ++i) later.push_back(m.Node(ckt, std::string("N").append(std::to_string(i))));
  for (const ZELT_Grid_EntityIter& e : later) ASSERT_EQ(cst.GetState(e), UNSET);
  EXPECT_EQ(cst.GetState(first), OFF);
}

TEST(ExistAndModifyStateSets, UnsetUntilSetPerDefinitionAndEntity) {
  TestModel m;
  ZELT_Grid_DefIter a = m.Circuit("A"), b = m.Circuit("B");
  ZELT_Grid_EntityIter na = m.Node(a, "N"), na2 = m.Node(a, "N2"), nb = m.Node(b, "N");
  ZELT_Grid_ExistStateSet exist(m.gm);
  ZELT_Grid_ModifyStateSet modified(m.gm);
  EXPECT_EQ(exist.GetState(a, na), NOTEXIST);
  EXPECT_FALSE(modified.GetState(b, nb));
  exist.SetState(a, na, EXIST);
  modified.SetState(b, nb, true);
  EXPECT_EQ(exist.GetState(a, na), EXIST);
  EXPECT_EQ(exist.GetState(a, na2), NOTEXIST);
  EXPECT_EQ(exist.GetState(b, nb), NOTEXIST);
  EXPECT_TRUE(modified.GetState(b, nb));
  EXPECT_FALSE(modified.GetState(a, na));
}

}  // namespace
