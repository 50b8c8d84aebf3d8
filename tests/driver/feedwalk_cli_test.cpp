// Tests of feedwalk's command line, write failures and profile output; files that cannot be opened are in
// bad_input_test.
#include <gtest/gtest.h>

#include <sstream>

#include "tests/driver/feedwalk_run.h"

namespace {

using namespace feedwalk_test;

class FeedwalkCliTest : public ::testing::Test {
 protected:
  void SetUp() override { fs::copy_file(SourceDir() / "examples" / "small_feeder.gdf", dir / "model.gdf"); }
  ScratchDir dir;
};

TEST_F(FeedwalkCliTest, WrongArgumentCountsGiveUsageAndTouchNoFile) {
  for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
           {}, {"model.gdf"}, {"model.gdf", "out.edges", "extra.edges"}}) {
    RunResult run = RunFeedwalk(args, dir.path());
    EXPECT_EQ(run.status, 8);
    EXPECT_EQ(run.err, "ERROR(feedwalk):   Invocation is feedwalk <gdffile> <oriented_edge_file>\n");
    EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 1) << args.size();
  }
}

// A truncated file must never pass for a result.
TEST_F(FeedwalkCliTest, FullDiskIsAnErrorNotASuccess) {
  if (!fs::exists("/dev/full")) GTEST_SKIP() << "no /dev/full on this system";
  RunResult run = RunFeedwalk({"model.gdf", "/dev/full"}, dir.path());
  EXPECT_EQ(run.status, 8);
  EXPECT_EQ(MaskTime(run.err),
            "INFO(feedwalk):  Finished reading grid model from GDF file model.gdf.\n"
            "INFO feedwalk:  2 DynamicProtectDevice/Breakers were found.\n"
            "INFO(InitializeCondStateSetSL):  Initialized conductivity state for 5 entities from "
            "NORMALPOSITION_A property.\n"
            "INFO(feedwalk):  Finished orienting 8 edges in <time> sec.\n"
            "ERROR feedwalk:  Could not write output edge file \"/dev/full\".\n");
}

TEST_F(FeedwalkCliTest, OutputFileIsReplacedNotAppended) {
  std::ofstream(dir / "out.edges") << "stale line\n";
  EXPECT_EQ(RunFeedwalk({"model.gdf", "out.edges"}, dir.path()).status, 0);
  EXPECT_EQ(ReadFile(dir / "out.edges").substr(0, 24), "Feeder.BRK1 Feeder.BRK2\n");
}

TEST_F(FeedwalkCliTest, ProfileLinesFollowTheNormalMessagesOnlyWhenAskedFor) {
  EXPECT_EQ(RunFeedwalk({"model.gdf", "out.edges"}, dir.path(), {"FEEDWALK_PROFILE=0"}).err.find("PROFILE"),
            std::string::npos);
  RunResult run = RunFeedwalk({"model.gdf", "out.edges"}, dir.path(), {"FEEDWALK_PROFILE=1"});
  EXPECT_EQ(run.status, 0);
  std::istringstream lines(run.err.substr(run.err.find("INFO(feedwalk):  Finished writing")));
  std::string line, word, phase;
  std::getline(lines, line);
  for (const char* expected : {"parse", "orient", "output", "total"}) {
    double seconds = -1;
    ASSERT_TRUE(lines >> word >> phase >> seconds) << run.err;
    EXPECT_EQ(word + " " + phase, std::string("PROFILE ") + expected);
    EXPECT_GE(seconds, 0.0);
  }
  EXPECT_FALSE(lines >> word) << "after the profile: " << word;
}

}  // namespace
