// The asset-class registry: keys from 0, -1 for unknown names, a name keeps its key.
#include "registry/asset_class_registry.h"

#include <gtest/gtest.h>

TEST(AssetClassRegistryTest, KeysRunFromZeroAndNamesKeepTheirKeys) {
  ZELT_AssetClassRegistry classes;
  EXPECT_EQ(classes.GetKey("Pole"), -1);
  EXPECT_EQ(classes.Add("Pole"), 0);
  EXPECT_EQ(classes.Add("Transformer"), 1);
  EXPECT_EQ(classes.Add("Pole"), 0);
  EXPECT_EQ(classes.Add("Switch"), 2);
  EXPECT_EQ(classes.GetKey("Transformer"), 1);
}

TEST(AssetClassRegistryTest, BorrowedSequenceContinuesItsAssetClassCounter) {
  ZELT_Grid_KeySequence keys(0, 0, 0, 0, 0);
  keys.NewAssetClassID();
  ZELT_AssetClassRegistry classes(keys);
  EXPECT_EQ(classes.Add("Pole"), 1);
  EXPECT_EQ(keys.NewKey(ZELT_Grid_AssetClassID), 2);
}
