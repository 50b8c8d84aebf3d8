// Tests of the text forms of paths and connection instances.
#include "grid/util.h"

#include <gtest/gtest.h>

#include "grid_helpers.h"

using gridtest::Path;

namespace {

// Feeder (id 10) holds BRK1 (id 7), an instance of Brk (id 3) whose terminals
// are named 0 and 1; N (id 4294967301, low 32 bits 5) is a connectivity node.
struct Feeder {
  ZELT_Grid gm;
  ZELT_Grid_DefIter brk, feeder;
  ZELT_Grid_EntityIter brk1, node;

  Feeder() {
    long termids[] = {0, 1};
    brk = gm.AddElementDef(3, 2, termids, "Brk");
    feeder = gm.AddCircuitDef(10, "Feeder");
    brk1 = gm.AddInstance(feeder, brk, 7, "BRK1");
    node = gm.AddConnNode(feeder, 4294967301L, "N");
  }
  ZELT_Grid_EntityIter Term(long id) { return gm.GetEntityFromId(brk, id); }
};

TEST(GridUtilNames, NamePathsUseBracesForMissingNames) {
  Feeder f;
  EXPECT_EQ(ZELT_Grid_Util::HEntToString(Path(f.gm, f.feeder, f.brk1), f.gm), "Feeder.BRK1");
  EXPECT_EQ(ZELT_Grid_Util::HEntToString(Path(f.gm, f.feeder, f.brk1, f.Term(1)), f.gm), "Feeder.BRK1.1");

  ZELT_Grid_DefIter anon = f.gm.AddCircuitDef(20, nullptr);
  ZELT_Grid_EntityIter named = f.gm.AddConnNode(anon, 1, "x");
  ZELT_Grid_EntityIter unnamed = f.gm.AddConnNode(anon, 2, "");
  EXPECT_EQ(ZELT_Grid_Util::HEntToString(Path(f.gm, anon, named), f.gm), "{}.x");
  EXPECT_EQ(ZELT_Grid_Util::HEntToString(Path(f.gm, anon, unnamed), f.gm), "{}.{}");
}

TEST(GridUtilIds, IdPathsRoundTripAndStopAtWhatTheModelLacks) {
  Feeder f;
  ZELT_Grid_HEntity deep = Path(f.gm, f.feeder, f.brk1, f.Term(1)), back;
  std::string text = "untouched";
  ZELT_Grid_Util::ParseHEnt(f.gm, text, back);
  EXPECT_EQ(text, "untouched");
  ZELT_Grid_Util::ParseHEnt(f.gm, text, deep);
  EXPECT_EQ(text, "10.7.1");
  EXPECT_TRUE(ZELT_Grid_Util::ParseStrHEnt(f.gm, text, back));
  EXPECT_TRUE(text.empty());
  EXPECT_EQ(back, deep);
  ZELT_Grid_Util::ParseHEnt(f.gm, text, Path(f.gm, f.feeder, f.node));
  EXPECT_EQ(text, "10.5");  // the low 32 bits of 4294967301

  for (std::string bad : {"", "99.7", "10.7.9", "10.7.1.0"}) EXPECT_FALSE(ZELT_Grid_Util::ParseStrHEnt(f.gm, bad, back));
  EXPECT_EQ(back, Path(f.gm, f.feeder, f.brk1, f.Term(1)));  // the steps resolved before the leaf
  std::string only = "10";
  EXPECT_TRUE(ZELT_Grid_Util::ParseStrHEnt(f.gm, only, back));
  EXPECT_EQ(back.GetLength(), 0);
}

TEST(GridUtilConnections, ConnectionInstancesRoundTrip) {
  Feeder f;
  ZELT_Grid_ConnectionIter top =
      f.gm.AddConnection(Path(f.gm, f.feeder, f.brk1, f.Term(0)), Path(f.gm, f.feeder, f.node), 12);

  ZELT_Grid_ConnInstance atTop;
  atTop.Init(ZELT_Grid_HEntity(), f.gm.Graph(f.feeder), top);
  std::string text;
  ZELT_Grid_Util::ParseConninst(f.gm, text, atTop);
  EXPECT_EQ(text, "10.12");
  ZELT_Grid_ConnInstance back;
  ZELT_Grid_Util::ParseStrConnInst(f.gm, text, back);
  EXPECT_EQ(back.GetHEntity().GetLength(), 0);
  EXPECT_EQ(back.GetLeafScope(), f.gm.Graph(f.feeder));
  EXPECT_EQ(back.GetConn().Edge(), top.Edge());

  // The element's own connection 1, seen through BRK1.
  ZELT_Grid_HEntity through = Path(f.gm, f.feeder, f.brk1);
  ZELT_Grid_ConnInstance inner;
  inner.Init(through, f.gm.Graph(f.brk), f.gm.GetConntionFromId(f.brk, 1));
  ZELT_Grid_Util::ParseConninst(f.gm, text, inner);
  EXPECT_EQ(text, "10.7.3.1");
  ZELT_Grid_Util::ParseStrConnInst(f.gm, text, back);
  EXPECT_EQ(back.GetHEntity(), through);
  EXPECT_EQ(back.GetLeafScope(), f.gm.Graph(f.brk));
  EXPECT_EQ(f.gm.GetConnectionID(f.brk, back.GetConn()), 1);
  EXPECT_EQ(ZELT_Grid_ConnInstComparator::ConstCompare(back, inner), 0);
  EXPECT_LT(ZELT_Grid_ConnInstComparator::ConstCompare(atTop, inner), 0);
  ZELT_Grid_ConnInstAssoc<int> marks(f.gm, 0);
  marks.SetValue(inner, 4);
  EXPECT_EQ(marks.GetValue(back), 4);
  EXPECT_EQ(marks.GetValue(atTop), 0);
}

}  // namespace
