// Corners of the tokenizer's and the grammar's behaviour that the other GDF tests leave open.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "gdf/gdf_scan.h"

// The report may be asked for before any scan (a caller reporting its own
// trouble); the death-test style re-runs this test in a fresh process, whose
// scanner has never run.
TEST(ScanStateTest, TheReportBeforeAnyScanShowsAnEmptyLineZero) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        gdf_error("early");
        std::exit(gdf_scan_lineno() == 1 && gdf_scan_prev_was_eol() ? 0 : 1);
      },
      testing::ExitedWithCode(0), "^\n\\^\nLine 0, Char 0: early\n$");
}
