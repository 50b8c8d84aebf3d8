// Key sequences: start values, independent counters, shared counters, the max-key message.
#include "registry/key_sequence.h"

#include <gtest/gtest.h>

TEST(KeySequenceTest, CountersStartWhereToldAndMoveOnIndependently) {
  ZELT_Grid_KeySequence keys(100, 7, 5, 2, 1);
  EXPECT_EQ(keys.NewDefID(), 100);
  EXPECT_EQ(keys.NewDefID(), 101);
  EXPECT_EQ(keys.NewPropKey(), 5);
  EXPECT_EQ(keys.NewEntityID(), 7);
  EXPECT_EQ(keys.NewTSExprKey(), 2);
  EXPECT_EQ(keys.NewTSSchemaID(), 1);
  EXPECT_EQ(keys.NewKey(ZELT_Grid_CondStateID), 0);
  // Named and generic requests draw from one counter.
  EXPECT_EQ(keys.NewKey(ZELT_Grid_AssetClassID), 0);
  EXPECT_EQ(keys.NewAssetClassID(), 1);
  EXPECT_EQ(keys.NewFlowRoleID(), 0);
  EXPECT_EQ(keys.NewKey(ZELT_Grid_FlowRoleID), 1);
  EXPECT_EQ(keys.NewKey(ZELT_Grid_DefID), 102);
}

TEST(KeySequenceTest, UnknownCounterAnswersZeroWithAMessage) {
  ZELT_Grid_KeySequence keys(40, 0, 0, 0, 0);
  testing::internal::CaptureStderr();
  EXPECT_EQ(keys.NewKey(ZELT_Grid_KEYMAX), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "ERROR ZELT_Grid_KeySequence: The max key enum is 9.\n");
  EXPECT_EQ(keys.NewDefID(), 40);
}
