// The root registry: lookups, replacement, removal.
#include "registry/root_registry.h"

#include <gtest/gtest.h>

TEST(RootRegistryTest, AddReplacesDeleteRemovesFindAnswersMinusOne) {
  ZELT_RootRegistry roots;
  EXPECT_EQ(roots.Find("default"), -1);
  EXPECT_TRUE(roots.Add("default", 4));
  EXPECT_TRUE(roots.Add("other", 9));
  // A second `root` statement leaves its definition under the name.
  EXPECT_TRUE(roots.Add("default", 12));
  EXPECT_EQ(roots.Find("default"), 12);
  EXPECT_FALSE(roots.Delete("absent"));
  EXPECT_TRUE(roots.Delete("default"));
  EXPECT_EQ(roots.Find("default"), -1);
  EXPECT_EQ(roots.Find("other"), 9);
  roots.Reset();
  EXPECT_EQ(roots.Find("other"), -1);
}
