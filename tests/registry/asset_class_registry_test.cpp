// The asset-class registry drawing from a shared key sequence (keys from 0 show in tests/gdf/cases/asset_classes).
#include "registry/asset_class_registry.h"

#include <gtest/gtest.h>

TEST(AssetClassRegistryTest, BorrowedSequenceContinuesItsAssetClassCounter) {
  ZELT_Grid_KeySequence keys(0, 0, 0, 0, 0);
  keys.NewAssetClassID();
  ZELT_AssetClassRegistry classes(keys);
  EXPECT_EQ(classes.GetKey("Pole"), -1);
  EXPECT_EQ(classes.Add("Pole"), 1);
  EXPECT_EQ(classes.Add("Pole"), 1);
  EXPECT_EQ(keys.NewKey(ZELT_Grid_AssetClassID), 2);
}
