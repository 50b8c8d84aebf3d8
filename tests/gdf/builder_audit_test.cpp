// The builder against its callers' expectations: lookups after the grid changes, and the corners of its statements.
#include <gtest/gtest.h>

#include <string>

#include "grid/util.h"
#include "model_dump.h"

namespace {

const char* const kDrop =
    "section s {\n"
    "  elem Load 1\n"
    "}\n"
    "ckt Drop P\n"
    "inst Drop.ld Load\n"
    "conn Drop.N P ld.0\n"
    "ckt Feeder\n"
    "inst Feeder.d1 Drop\n"
    "inst Feeder.d2 Drop\n"
    "conn Feeder.B d1.P d2.P\n";

// The grid belongs to the caller, who may change it between parses; what the
// builder found by name during a parse must not outlive the parse.
TEST(BuilderAuditTest, NamesResolveInTheGridAsItIsNowAfterAParse) {
  GdfModel model;
  bool ok = false;
  model.Parse(kDrop, &ok);
  ASSERT_TRUE(ok);
  ZELT_Grid& grid = model.grid;
  ZELT_Grid_HEntity hent;
  model.builder.ParseHEnt("Feeder.d2.P", hent);
  ASSERT_EQ(hent.GetLength(), 2);

  const ZELT_Grid_DefIter feeder = grid.GetDefFromName("Feeder");
  ASSERT_TRUE(grid.BeginModify());
  ASSERT_EQ(grid.RemoveInst(feeder, grid.GetEntityFromName(feeder, "d2")), 0);
  grid.EndModify();
  EXPECT_FALSE(model.builder.HaveInst("Feeder", "d2", false));
  testing::internal::CaptureStderr();
  model.builder.ParseHEnt("Feeder.d2.P", hent);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ERROR: Hierarchical entity 'Feeder.d2' does not exist\n");
  EXPECT_EQ(hent.GetLength(), 0);

  ASSERT_TRUE(grid.BeginModify());
  ASSERT_EQ(grid.RemoveCircuitDef(feeder), 0);
  grid.EndModify();
  EXPECT_FALSE(model.builder.HaveDef("Feeder", false));
  testing::internal::CaptureStderr();
  model.builder.ParseHEnt("Feeder.d1", hent);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ERROR: Hierarchical entity 'Feeder' does not exist\n");
}

// Properties registered straight in the registry after a parse are seen.
TEST(BuilderAuditTest, PropertiesRegisteredAfterAParseAreKnown) {
  GdfModel model;
  bool ok = true;
  model.Parse("ckt C T\npropadd C.T P 1\n", &ok);
  ASSERT_FALSE(ok);
  EXPECT_EQ(model.builder.CheckProp("P").key, -1);
  ASSERT_TRUE(model.props.RegisterProp("P", static_cast<int>(ZELT_Grid_ValueType::int32), ZELT_PropType::STATIC));
  EXPECT_GE(model.builder.CheckProp("P").key, 3);
  EXPECT_EQ(model.builder.CheckProp("P").type, ZELT_Grid_ValueType::int32);
}

// A set member without a value type cannot be rebuilt: the process ends.
TEST(BuilderAuditTest, APropertySetMemberWithoutAValueTypeEndsTheProcess) {
  GdfModel model;
  bool ok = false;
  model.Parse("prop I int32\nckt C T\n", &ok);
  ASSERT_TRUE(ok);
  model.props.AddPropToPropSet("S", model.builder.CheckProp("I").key, 0, "1");
  EXPECT_EXIT(model.builder.AddPropSetadd("C", "T", "S"), testing::ExitedWithCode(1),
              "^ERROR ZELT_Grid_GDF_ParseToGrid: Unrecognized property data type 0\\.\n$");
  // The value is rebuilt before the target is asked whether it has the key already.
  model.Parse("propadd C.T I 5\n", &ok);
  ASSERT_TRUE(ok);
  EXPECT_EXIT(model.builder.AddPropSetadd("C", "T", "S"), testing::ExitedWithCode(1),
              "^ERROR ZELT_Grid_GDF_ParseToGrid: Unrecognized property data type 0\\.\n$");
}

// A name that fails part way leaves the steps resolved before the failing one.
TEST(BuilderAuditTest, AnUnresolvedNameKeepsTheStepsBeforeIt) {
  GdfModel model;
  bool ok = false;
  model.Parse(kDrop, &ok);
  ASSERT_TRUE(ok);
  ZELT_Grid_HEntity hent;
  const char* names[] = {"d2", "Q", "0"};
  testing::internal::CaptureStderr();
  EXPECT_FALSE(model.builder.FindHEntPath("Feeder", 3, names, hent));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ERROR: Hierarchical entity 'Feeder.d2.Q' does not exist\n");
  EXPECT_EQ(ZELT_Grid_Util::HEntToString(hent, model.grid), "Feeder.d2");
}

} // namespace
