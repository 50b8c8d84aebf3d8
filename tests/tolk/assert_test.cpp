// The assertion report and the way it ends the process.
#include "tolk/assert.h"

#include <gtest/gtest.h>

TEST(AssertDeathTest, ReportTextAndInterrupt) {
  EXPECT_EXIT(tolk_assertfunc(false, "grid.cpp", 42, "bad thing", "more detail"), testing::KilledBySignal(SIGINT),
              "\n\n >>>>>> Internal Error \\(Assert Failure\\): bad thing \n   more detail \n"
              "     At file:grid.cpp line 42 <<<<<<<\n\n");
}

TEST(AssertDeathTest, ReportWithoutDetail) {
  EXPECT_EXIT(TOLK_ASSERT(1 + 1 == 3, "arithmetic"), testing::KilledBySignal(SIGINT),
              "Assert Failure\\): arithmetic \n     At file:assert_test.cpp line [0-9]+ <<<<<<<");
}
