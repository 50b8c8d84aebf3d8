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

TEST(GridUtilIds, IdPathsRoundTrip) {
  Feeder f;
  ZELT_Grid_HEntity deep = Path(f.gm, f.feeder, f.brk1, f.Term(1));
  std::string text = "untouched";
  ZELT_Grid_Util::ParseHEnt(f.gm, text, ZELT_Grid_HEntity());
  EXPECT_EQ(text, "untouched");
  ZELT_Grid_Util::ParseHEnt(f.gm, text, deep);
  EXPECT_EQ(text, "10.7.1");

  ZELT_Grid_HEntity back;
  EXPECT_TRUE(ZELT_Grid_Util::ParseStrHEnt(f.gm, text, back));
  EXPECT_TRUE(text.empty());
  EXPECT_EQ(back, deep);

  // Ids are written by their low 32 bits.
  ZELT_Grid_Util::ParseHEnt(f.gm, text, Path(f.gm, f.feeder, f.node));
  EXPECT_EQ(text, "10.5");
}

TEST(GridUtilIds, ParsingStopsAtWhatTheModelLacks) {
  Feeder f;
  ZELT_Grid_HEntity h = Path(f.gm, f.feeder, f.brk1);
  std::string only = "10";
  EXPECT_TRUE(ZELT_Grid_Util::ParseStrHEnt(f.gm, only, h));
  EXPECT_EQ(h.GetLength(), 0);

  std::string unknownDef = "99.7";
  EXPECT_FALSE(ZELT_Grid_Util::ParseStrHEnt(f.gm, unknownDef, h));
  std::string empty;
  EXPECT_FALSE(ZELT_Grid_Util::ParseStrHEnt(f.gm, empty, h));

  std::string unknownEnt = "10.7.9";
  EXPECT_FALSE(ZELT_Grid_Util::ParseStrHEnt(f.gm, unknownEnt, h));
  EXPECT_EQ(h, Path(f.gm, f.feeder, f.brk1));

  // A leaf has no definition to step into.
  std::string throughLeaf = "10.7.1.0";
  EXPECT_FALSE(ZELT_Grid_Util::ParseStrHEnt(f.gm, throughLeaf, h));
}

TEST(GridUtilConnections, ConnectionInstancesRoundTrip) {
  Feeder f;
  ZELT_Grid_ConnectionIter top =
      f.gm.AddConnection(Path(f.gm, f.feeder, f.brk1, f.Term(0)), Path(f.gm, f.feeder, f.node), 12);

  ZELT_Grid_ConnInstance atTop;
  ZELT_Grid_HEntity none;
  atTop.Init(none, f.gm.Graph(f.feeder), top);
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

  ZELT_Grid_ConnInstance untouched = back;
  ZELT_Grid_Util::ParseStrConnInst(f.gm, "", back);
  EXPECT_EQ(back.GetHEntity(), untouched.GetHEntity());
}

TEST(GridUtilConnections, PrintedFormsUseNames) {
  Feeder f;
  ZELT_Grid_ConnectionIter top =
      f.gm.AddConnection(Path(f.gm, f.feeder, f.brk1, f.Term(0)), Path(f.gm, f.feeder, f.node), 12);
  ZELT_Grid_HEntity nodePath = Path(f.gm, f.feeder, f.node);
  ZELT_Grid_ConnInstance atTop;
  ZELT_Grid_Util::ConstructeConn(f.gm, nodePath, top, atTop);
  EXPECT_EQ(atTop.GetLeafScope(), f.gm.Graph(f.feeder));

  char buffer[128] = {};
  FILE* out = fmemopen(buffer, sizeof buffer, "w");
  ZELT_Grid_ConnInstance plain;
  ZELT_Grid_HEntity empty;
  plain.Init(empty, f.gm.Graph(f.feeder), top);
  ZELT_Grid_Util::PrintConnInst(plain, out, f.gm);
  fputc(' ', out);
  ZELT_Grid_Util::PrintHEnt(Path(f.gm, f.feeder, f.brk1, f.Term(0)), out, f.gm);
  fclose(out);
  EXPECT_STREQ(buffer, "Feeder.12 Feeder.BRK1.0");
}

}  // namespace
