// Tests of feedwalk's command line, file handling, write failures and profile output.
#include <gtest/gtest.h>

#include <algorithm>
#include <regex>

#include "tests/driver/feedwalk_run.h"

namespace {

using namespace feedwalk_test;

const char* const kUsage = "ERROR(feedwalk):   Invocation is feedwalk <gdffile> <oriented_edge_file>\n";

class FeedwalkCliTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_FALSE(dir.path().empty());
    fs::copy_file(SourceDir() / "examples" / "small_feeder.gdf", dir / "model.gdf");
  }

  std::vector<std::string> Entries() const {
    std::vector<std::string> names;
    for (const fs::directory_entry& e : fs::directory_iterator(dir.path())) names.push_back(e.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  ScratchDir dir;
};

TEST_F(FeedwalkCliTest, WrongArgumentCountsGiveUsageAndTouchNoFile) {
  for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
           {}, {"model.gdf"}, {"model.gdf", "out.edges", "extra.edges"}}) {
    SCOPED_TRACE(args.size());
    RunResult run = RunFeedwalk(args, dir.path());
    EXPECT_EQ(run.status, 8);
    EXPECT_EQ(run.err, kUsage);
    EXPECT_EQ(Entries(), std::vector<std::string>{"model.gdf"});
  }
}

TEST_F(FeedwalkCliTest, UnreadableInputStopsBeforeTheOutputIsMade) {
  RunResult run = RunFeedwalk({"missing.gdf", "out.edges"}, dir.path());
  EXPECT_EQ(run.status, 8);
  EXPECT_EQ(run.err, "ERROR feedwalk: Could not open input GDF file missing.gdf.\n");
  EXPECT_FALSE(fs::exists(dir / "out.edges"));
}

TEST_F(FeedwalkCliTest, OutputInMissingDirectory) {
  RunResult run = RunFeedwalk({"model.gdf", "nodir/out.edges"}, dir.path());
  EXPECT_EQ(run.status, 8);
  EXPECT_EQ(run.err, "ERROR feedwalk:  Could not open output edge file \"nodir/out.edges\".\n");
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
  WriteFile(dir / "out.edges", "stale line\n");
  RunResult run = RunFeedwalk({"model.gdf", "out.edges"}, dir.path());
  EXPECT_EQ(run.status, 0);
  std::string edges = ReadFile(dir / "out.edges");
  EXPECT_EQ(edges.find("stale"), std::string::npos);
  EXPECT_EQ(edges.substr(0, 24), "Feeder.BRK1 Feeder.BRK2\n");
}

TEST_F(FeedwalkCliTest, ProfileLinesFollowTheNormalMessages) {
  RunResult run = RunFeedwalk({"model.gdf", "out.edges"}, dir.path(), {"FEEDWALK_PROFILE=1"});
  EXPECT_EQ(run.status, 0);
  std::string tail = run.err.substr(run.err.find("Finished writing"));
  EXPECT_TRUE(std::regex_match(tail, std::regex("Finished writing 8 directed edges to out.edges.\n"
                                                "PROFILE parse [0-9]+\\.[0-9]+\n"
                                                "PROFILE orient [0-9]+\\.[0-9]+\n"
                                                "PROFILE output [0-9]+\\.[0-9]+\n"
                                                "PROFILE total [0-9]+\\.[0-9]+\n")))
      << run.err;
}

TEST_F(FeedwalkCliTest, ProfileOnlyWhenAskedForWithOne) {
  RunResult run = RunFeedwalk({"model.gdf", "out.edges"}, dir.path(), {"FEEDWALK_PROFILE=0"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err.find("PROFILE"), std::string::npos);
}

}  // namespace
