// The builder's entry points and modes: modification phases, read errors, successive texts, registries, limits.
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>

#include "grid/util.h"
#include "model_dump.h"

namespace {

const char* const kDrop =
    "prop I int32\n"
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

TEST(ParseToGridTest, ParsesOnlyOutsideAModificationPhaseAndAlwaysClosesItsOwn) {
  GdfModel model;
  ASSERT_TRUE(model.grid.BeginModify());
  bool ok = true;
  EXPECT_EQ(model.Parse("ckt A\n", &ok), "ERROR: Not allowed to modify the grid model.\n");
  EXPECT_FALSE(ok);
  EXPECT_TRUE(model.grid.IsEnd(model.grid.GetDefFromName("A")));
  model.grid.EndModify();

  model.Parse("ckt A\nelem B 1\n", &ok);
  EXPECT_FALSE(ok);
  EXPECT_FALSE(model.grid.IsEnd(model.grid.GetDefFromName("A")));
  EXPECT_TRUE(model.grid.BeginModify()) << "a failed parse leaves the phase closed";
}

TEST(ParseToGridTest, SuccessiveTextsContinueTheIdsAndSeeEarlierNames) {
  GdfModel model;
  bool ok = false;
  model.Parse("section s {\n  elem E 1\n}\nckt A T\ninst A.e E\n", &ok);
  ASSERT_TRUE(ok);
  model.Parse("ckt B U\ninst B.e E\nconn B.N U e.0\n", &ok);
  ASSERT_TRUE(ok);
  EXPECT_EQ(model.Dump(),
            "element 0 \"E\"\n"
            "  zelt_grid_section = [small_string, s]\n"
            "  terminal 0 \"0\"\n"
            "  node 1 \"cn1\"\n"
            "circuit 1 \"A\"\n"
            "  terminal 0 \"T\"\n"
            "  instance 1 \"e\" of \"E\"\n"
            "circuit 2 \"B\"\n"
            "  terminal 2 \"U\"\n"
            "    conn 5 to B.N\n"
            "  instance 3 \"e\" of \"E\"\n"
            "    conn 6 to B.N\n"
            "  node 4 \"N\"\n"
            "    conn 6 to B.e.0\n"
            "    conn 5 to B.U\n");
  EXPECT_EQ(model.Parse("ckt A\n", &ok), "ckt A\n     ^\nLine 1, Char 5: ERROR: Definition exists\n");
}

// A stream that hands out `text` and then fails as a disk would.
FILE* FailingStream(const char* text) {
  cookie_io_functions_t io = {};
  io.read = [](void* cookie, char* buffer, size_t size) -> ssize_t {
    const char*& rest = *static_cast<const char**>(cookie);
    if (*rest == '\0') {
      errno = EIO;
      return -1;
    }
    const size_t n = std::min(size, strlen(rest));
    memcpy(buffer, rest, n);
    rest += n;
    return static_cast<ssize_t>(n);
  };
  static const char* rest;
  rest = text;
  return fopencookie(&rest, "r", io);
}

// What was read before the failure may end anywhere: the statement it cuts
// short is not applied, and the parse fails without a report of its own.
TEST(ParseToGridTest, AReadErrorEndsTheParseAndIsNotTakenForTheEnd) {
  GdfModel model;
  FILE* stream = FailingStream("ckt A\nckt B T1");
  ASSERT_NE(stream, nullptr);
  testing::internal::CaptureStderr();
  EXPECT_FALSE(model.builder.ParseGDF(stream, nullptr));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  fclose(stream);
  EXPECT_EQ(model.builder.InputError(), EIO);
  EXPECT_FALSE(model.grid.IsEnd(model.grid.GetDefFromName("A")));
  EXPECT_TRUE(model.grid.IsEnd(model.grid.GetDefFromName("B")));

  bool ok = false;
  model.Parse("ckt B\n", &ok);
  EXPECT_TRUE(ok);
  EXPECT_EQ(model.builder.InputError(), 0) << "a new parse starts without the old error";
}

TEST(ParseToGridTest, WarningsAreCountedPerParse) {
  GdfModel model;
  int warnings = -1;
  model.Parse("prop I int32\nckt C a b\npropadd C.a I 1.5\npropadd C.b I \"x\"\n", nullptr, &warnings);
  EXPECT_EQ(warnings, 2);
  model.Parse("ckt D\n", nullptr, &warnings);
  EXPECT_EQ(warnings, 0);
}

TEST(ParseToGridTest, StatementsWithoutTheirRegistryEndTheParse) {
  const struct {
    const char* text;
    const char* message;
  } cases[] = {
      {"prop P int32\n", "ERROR: No property registry attached"},
      {"tsprop P int32\n", "ERROR: No property registry attached"},
      {"propset S {\n P 1\n}\n", "ERROR: No property registry attached"},
      {"ckt C T\npropadd C.T P 1\n", "ERROR: No property registry attached"},
      {"ckt C T\npropsetadd C.T S\n", "ERROR: No property registry attached"},
      {"hpropadd C.T P 1\n", "ERROR: No property registry attached"},
      {"hpropsetadd C.T S\n", "ERROR: No property registry attached"},
      {"defpropadd C P 1\n", "ERROR: No property registry attached"},
      {"tspropdata P S f\n", "ERROR: No property registry attached"},
      {"ckt C\nroot C\n", "ERROR: No root registry attached"},
      {"assetclass A\n", "ERROR: No asset-class registry attached"},
      {"ckt C\nassetclassapply C A\n", "ERROR: No asset-class registry attached"},
  };
  for (const auto& c : cases) {
    ZELT_Grid grid;
    ZELT_Grid_GDF_ParseToGrid builder(grid);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(builder.ParseGDF(c.text, nullptr));
    const std::string printed = testing::internal::GetCapturedStderr();
    EXPECT_NE(printed.find(c.message), std::string::npos) << c.text << printed;
  }
}

TEST(ParseToGridTest, FakeChecksLetRepeatedNamesThrough) {
  GdfModel model;
  model.builder.SetFakeCheck(true);
  bool ok = false;
  model.Parse("section s {\n  elem E 1\n}\nckt A\nckt A\ninst A.e E\ninst A.e E\n", &ok);
  EXPECT_TRUE(ok);
  int definitions = 0;
  for (ZELT_Grid_DefIter def = model.grid.GetFirstDef(); !model.grid.IsEnd(def); model.grid.NextDef(def))
    ++definitions;
  EXPECT_EQ(definitions, 3);
  // The later circuit A holds both instances: the name finds the newest definition.
  int instances = 0;
  const ZELT_Grid_DefIter a = model.grid.GetDefFromName("A");
  for (ZELT_Grid_EntityIter e = model.grid.GetFirstEntity(a); !model.grid.IsEnd(e); model.grid.NextEntity(a, e))
    ++instances;
  EXPECT_EQ(instances, 2);
}

TEST(ParseToGridTest, TestModeRecordsEachPathOnceShorterPathsFirst) {
  GdfModel model;
  bool ok = false;
  model.Parse(std::string(kDrop) +
                  "propset S {\n  I 1\n}\n"
                  "hpropadd Feeder.d2.P I 1\n"
                  "hpropadd Feeder.d1 I 1\n"
                  "hpropsetadd Feeder.d2 S\n"
                  "hpropsetadd Feeder.d1.P S\n",
              &ok);
  ASSERT_TRUE(ok);
  std::vector<std::string> paths;
  for (const auto& [hent, unused] : model.builder.InstancesWithHProp())
    paths.push_back(ZELT_Grid_Util::HEntToString(hent, model.grid));
  ASSERT_EQ(paths.size(), 4u);
  EXPECT_EQ(paths[0].size(), std::string("Feeder.d1").size());
  EXPECT_EQ(paths[1].size(), std::string("Feeder.d1").size());
  EXPECT_NE(paths[0], paths[1]);

  GdfModel quiet;
  quiet.builder.SetTestMode(false);
  quiet.Parse(std::string(kDrop) + "hpropadd Feeder.d1 I 1\n", &ok);
  EXPECT_TRUE(quiet.builder.InstancesWithHProp().empty());
}

TEST(ParseToGridTest, PropertySetsKeepTheirMembersAsTexts) {
  GdfModel model;
  bool ok = false;
  model.Parse(
      "prop I int32\nprop F float64\nprop IS int32set\nprop FS float64set\nprop S string\n"
      "propset Set {\n  I \" 42 \"\n  F 2.5\n  IS [1,-2]\n  FS [1,2.5]\n  S 1e300\n  X_AUX float64 7\n}\n",
      &ok);
  ASSERT_TRUE(ok);
  std::string texts;
  for (ZELT_PropsetIter it = model.props.GetFirstProp("Set"); !model.props.IsEnd("Set", it); model.props.Next(it))
    texts += std::to_string(model.props.GetPropType(it)) + ":" + model.props.GetPropValueStr(it) + " ";
  EXPECT_EQ(texts, "4:42 8:2.5 3:[1,-2] 7:[1,2.5] 2:1e+300 8:7 ");
}

TEST(ParseToGridTest, ResolvesDottedTexts) {
  GdfModel model;
  model.Parse(kDrop);
  ZELT_Grid_HEntity hent;
  model.builder.ParseHEnt("Feeder.d2.P", hent);
  ASSERT_EQ(hent.GetLength(), 2);
  EXPECT_EQ(ZELT_Grid_Util::HEntToString(hent, model.grid), "Feeder.d2.P");
  testing::internal::CaptureStderr();
  model.builder.ParseHEnt("Feeder.d2.Q", hent);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ERROR: Hierarchical entity 'Feeder.d2.Q' does not exist\n");
}

TEST(ParseToGridTest, RefusesValuesNoPropertyCanHold) {
  GdfModel model;
  const std::string head = "prop S string\nprop FS float64set\nckt C T\n";
  bool ok = true;
  std::string printed = model.Parse(head + "propadd C.T S \"" + std::string(65536, 'x') + "\"\n", &ok);
  EXPECT_FALSE(ok);
  EXPECT_NE(printed.find("ERROR: A value of type 'string' may hold at most 65535 characters"), std::string::npos);

  GdfModel longest;
  longest.Parse(head + "propadd C.T S \"" + std::string(65535, 'x') + "\"\n", &ok);
  EXPECT_TRUE(ok);

  std::string list = "[0";
  for (int i = 1; i < 1100; ++i) list += ",1.5";
  GdfModel set_member;
  printed = set_member.Parse("prop FS float64set\npropset P {\n  FS " + list + "]\n}\n", &ok);
  EXPECT_FALSE(ok);
  EXPECT_NE(printed.find("ERROR: A number list in a property set may take at most 4095 characters"),
            std::string::npos);
  GdfModel instance;
  instance.Parse(head + "propadd C.T FS " + list + "]\n", &ok);
  EXPECT_TRUE(ok) << "instances take longer lists";
}

// Two circuits that contain each other give names of any length; a path holds
// at most 65535 steps. Paths grow a few steps at a time, so resolving names of
// that length step by step was quadratic: seconds per name.
TEST(ParseToGridTest, ResolvesNamesAsLongAsAPathAndRefusesLongerOnes) {
  std::string head = "prop P int32\nprop Q int32\nprop R int32\nprop S int32\nckt A\nckt B\ninst A.b B\ninst B.a A\n";
  std::string longest = "A";
  for (int step = 0; step < 65535; ++step) longest += step % 2 == 0 ? ".b" : ".a";
  std::string text = head;
  for (const char* property : {"P", "Q", "R", "S"}) text += "hpropadd " + longest + " " + property + " 1\n";
  GdfModel model;
  bool ok = false;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(model.Parse(text, &ok), "");
  EXPECT_TRUE(ok);
  EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 10.0);
  ASSERT_EQ(model.builder.InstancesWithHProp().size(), 1u);
  EXPECT_EQ(model.builder.InstancesWithHProp().begin()->first.GetLength(), 65535);

  GdfModel too_long;
  const std::string printed = too_long.Parse(head + "hpropadd " + longest + ".b P 1\n", &ok);
  EXPECT_FALSE(ok);
  EXPECT_TRUE(printed.starts_with("ERROR: Hierarchical entity 'A.b...' has more than 65535 steps\n")) << printed.substr(0, 200);
  EXPECT_TRUE(printed.ends_with("ERROR: Hierarchical instance unknown\n"));
  EXPECT_TRUE(too_long.builder.InstancesWithHProp().empty());
}

// A few short lines must not ask the grid for gigabytes of terminals.
TEST(ParseToGridTest, ElementsShareABudgetOfTerminals) {
  GdfModel model;
  bool ok = true;
  const std::string printed =
      model.Parse("section s {\n  elem A 65535\n  elem B 65535\n  elem C 65535\n  elem D 65535\n  elem E 4\n"
                  "  elem F 1\n}\n",
                  &ok);
  EXPECT_FALSE(ok);
  EXPECT_EQ(printed, "  elem F 1\n          ^\nLine 7, Char 10: ERROR: The elements of one text may have at most "
                     "262144 terminals in all\n");
  EXPECT_FALSE(model.grid.IsEnd(model.grid.GetDefFromName("E")));
  EXPECT_TRUE(model.grid.IsEnd(model.grid.GetDefFromName("F")));
  // The budget is per text.
  model.Parse("section t {\n  elem G 65535\n}\n", &ok);
  EXPECT_TRUE(ok);
}

// Every statement about a target walks its list of properties; a cap keeps
// that walk short. A property set fills a target up to the cap and no further.
TEST(ParseToGridTest, TargetsCarryAtMost4096Properties) {
  const auto aux_lines = [](const std::string& head, int from, int to) {
    std::string lines;
    for (int i = from; i < to; ++i) lines += head + "P" + std::to_string(i) + "_AUX int32 " + std::to_string(i) + "\n";
    return lines;
  };
  const std::string model = "ckt C x y\nckt D\ninst D.c C\n";
  const struct {
    std::string head, refusal;
  } targets[] = {
      {"propadd C.x ", "ERROR: An instance may carry at most 4096 properties"},
      {"hpropadd D.c.x ", "ERROR: A hierarchical instance may carry at most 4096 properties"},
      {"defpropadd C ", "ERROR: A definition may carry at most 4096 properties"},
  };
  for (const auto& target : targets) {
    GdfModel full;
    bool ok = false;
    EXPECT_EQ(full.Parse(model + aux_lines(target.head, 0, 4096), &ok), "");
    EXPECT_TRUE(ok);
    const std::string printed = full.Parse(aux_lines(target.head, 4096, 4097), &ok);
    EXPECT_FALSE(ok);
    EXPECT_TRUE(printed.ends_with(target.refusal + "\n")) << printed;
  }

  GdfModel from_set;
  bool ok = true;
  EXPECT_EQ(from_set.Parse(model + "propadd C.y P7_AUX int32 7\npropset S {\n" + aux_lines("  ", 0, 4100) + "}\n" +
                           "propsetadd C.y S\n", &ok),
            "ERROR: Cannot add property 'P7_AUX;int32' from propset 'S' to instance - It already exists\n"
            "ERROR: Cannot add the rest of propset 'S' to instance - It carries 4096 properties already\n"
            "propsetadd C.y S\n                ^\nLine 4107, Char 16: \n");
  const ZELT_Grid_DefIter c = from_set.grid.GetDefFromName("C");
  const ZELT_Grid_EntityIter y = from_set.grid.GetEntityFromName(c, "y");
  int carried = 0;
  for (ZELT_Grid_PropIter it = from_set.grid.GetFirstProperty(c, y); !from_set.grid.IsEnd(it);
       from_set.grid.NextProperty(c, y, it))
    ++carried;
  EXPECT_EQ(carried, 4096);
}

// The grid belongs to the caller, who may change it between parses; what the
// builder found by name during a parse must not outlive the parse.
TEST(ParseToGridTest, NamesResolveInTheGridAsItIsNowAfterAParse) {
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
TEST(ParseToGridTest, PropertiesRegisteredAfterAParseAreKnown) {
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
TEST(ParseToGridTest, APropertySetMemberWithoutAValueTypeEndsTheProcess) {
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
TEST(ParseToGridTest, AnUnresolvedNameKeepsTheStepsBeforeIt) {
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
