// The in-memory property registry: reserved keys, registration, special properties, property sets, Reset.
#include "registry/prop_registry.h"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace {

constexpr int kString = int(ZELT_Grid_ValueType::small_string), kInt32 = int(ZELT_Grid_ValueType::int32),
              kInt64 = int(ZELT_Grid_ValueType::int64), kFloat64 = int(ZELT_Grid_ValueType::float64);

// (key, type) of a name; (-7, -7) when the lookup fails and leaves them alone.
std::pair<int, int> KeyAndType(ZELT_PropRegistry& registry, const std::string& name) {
  int key = -7, type = -7;
  registry.GetKeyAndType(name, key, type);
  return {key, type};
}

// The kind of a name: 'S', 'T', 'A', or '-' when it has none.
char Kind(ZELT_PropRegistry& registry, const char* name) {
  ZELT_Grid_Prop_Iter it = registry.GetPropFromName(name);
  if (registry.IsEnd(it)) return '-';
  return registry.IsProperty(it) ? 'S' : registry.IsTSProperty(it) ? 'T' : registry.IsAuxProperty(it) ? 'A' : '?';
}

} // namespace

TEST(PropRegistryTest, ReservedPropertiesHaveKeysAndTypesButNoKind) {
  ZELT_MeMPropRegistry registry;
  EXPECT_EQ(KeyAndType(registry, "zelt_grid_section"), std::make_pair(0, kString));
  EXPECT_EQ(KeyAndType(registry, "zelt_grid_supporter"), std::make_pair(1, 10));
  EXPECT_EQ(KeyAndType(registry, "zelt_grid_supportee"), std::make_pair(2, 10));
  EXPECT_EQ(Kind(registry, "zelt_grid_section"), '-');
  std::string name;
  EXPECT_TRUE(registry.GetPropertyName(1, name));
  EXPECT_EQ(name, "zelt_grid_supporter");
  EXPECT_FALSE(registry.GetPropertyName(3, name));
}

TEST(PropRegistryTest, UserKeysStartAtThreeAndANameRegistersOnce) {
  ZELT_MeMPropRegistry registry;
  EXPECT_TRUE(registry.RegisterProp("NORMALPOSITION_A", kInt32, ZELT_PropType::STATIC));
  EXPECT_TRUE(registry.RegisterProp("LOAD", kFloat64, ZELT_PropType::TS));
  EXPECT_FALSE(registry.RegisterProp("NORMALPOSITION_A", kString, ZELT_PropType::TS));
  EXPECT_FALSE(registry.RegisterProp("zelt_grid_section", kInt32, ZELT_PropType::STATIC));
  EXPECT_EQ(KeyAndType(registry, "NORMALPOSITION_A"), std::make_pair(3, kInt32));
  EXPECT_EQ(KeyAndType(registry, "LOAD"), std::make_pair(4, kFloat64));
  EXPECT_EQ(KeyAndType(registry, "missing"), std::make_pair(-7, -7));
  EXPECT_EQ(Kind(registry, "NORMALPOSITION_A"), 'S');
  EXPECT_EQ(Kind(registry, "LOAD"), 'T');
  EXPECT_EQ(Kind(registry, "missing"), '-');
}

TEST(PropRegistryTest, SpecialPropertiesAreAuxAndExistingNamesStayAsTheyAre) {
  ZELT_MeMPropRegistry registry;
  registry.RegisterProp("P", kInt32, ZELT_PropType::STATIC);
  EXPECT_EQ(registry.RegisterSpecialProp("Rating_AUX;float64", kFloat64), 4);
  EXPECT_EQ(registry.RegisterSpecialProp("Rating_AUX;float64", kInt64), 4);
  EXPECT_EQ(registry.RegisterSpecialProp("P", kFloat64), 3);
  EXPECT_EQ(Kind(registry, "Rating_AUX;float64"), 'A');
  EXPECT_EQ(Kind(registry, "P"), 'S');
  EXPECT_EQ(KeyAndType(registry, "P"), std::make_pair(3, kInt32));
  EXPECT_EQ(KeyAndType(registry, "Rating_AUX;float64"), std::make_pair(4, kFloat64));
}

TEST(PropRegistryTest, PropertySetsWalkByKeyAndShowTheSmallestType) {
  ZELT_MeMPropRegistry registry;
  EXPECT_FALSE(registry.HavePropSet("S"));
  registry.AddPropToPropSet("S", 5, kInt64, "64");
  registry.AddPropToPropSet("S", 5, kInt32, "32");
  registry.AddPropToPropSet("S", 3, kFloat64, "0.5");
  registry.AddPropToPropSet("S", 3, kFloat64, "0.25");
  registry.AddPropToPropSet("T", 9, kString, "x");
  ASSERT_TRUE(registry.HavePropSet("S"));
  std::vector<std::tuple<int, int, std::string>> members;
  for (ZELT_PropsetIter it = registry.GetFirstProp("S"); !registry.IsEnd("S", it); registry.Next(it))
    members.emplace_back(registry.GetPropKey(it), registry.GetPropType(it), registry.GetPropValueStr(it));
  EXPECT_EQ(members, (decltype(members){{3, kFloat64, "0.25"}, {5, kInt32, "32"}}));
}

TEST(PropRegistryTest, ResetForgetsEverythingButKeysAreNotReused) {
  ZELT_MeMPropRegistry registry;
  registry.RegisterProp("P", kInt32, ZELT_PropType::STATIC);
  registry.AddPropToPropSet("S", 3, kInt32, "1");
  registry.Reset();
  EXPECT_EQ(KeyAndType(registry, "zelt_grid_section"), std::make_pair(-7, -7));
  EXPECT_FALSE(registry.HavePropSet("S"));
  EXPECT_TRUE(registry.RegisterProp("P", kInt32, ZELT_PropType::STATIC));
  EXPECT_EQ(KeyAndType(registry, "P"), std::make_pair(4, kInt32));
}

TEST(PropRegistryDeathTest, ColonInAPropertyNameEndsTheProcess) {
  ZELT_MeMPropRegistry registry;
  EXPECT_EXIT(registry.RegisterProp("a:b", kInt32, ZELT_PropType::STATIC), testing::ExitedWithCode(1),
              "^ERROR ZELT_PropRegistry:92: The property name a:b can not contain the character ':' \\.\n$");
}
