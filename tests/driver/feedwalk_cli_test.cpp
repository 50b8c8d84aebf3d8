// Tests of feedwalk's command line, file handling, write failures and profile output.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

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
  std::istringstream lines(run.err.substr(run.err.find("INFO(feedwalk):  Finished writing")));
  std::string line;
  std::getline(lines, line);
  for (const char* phase : {"parse", "orient", "output", "total"}) {
    std::string word, name, rest;
    double seconds = -1;
    ASSERT_TRUE(std::getline(lines, line)) << run.err;
    std::istringstream fields(line);
    fields >> word >> name >> seconds;
    EXPECT_EQ(word + " " + name, std::string("PROFILE ") + phase);
    EXPECT_GE(seconds, 0.0) << line;
    EXPECT_FALSE(fields >> rest) << line;
  }
  EXPECT_FALSE(std::getline(lines, line)) << "after the profile: " << line;
}

TEST_F(FeedwalkCliTest, ProfileOnlyWhenAskedForWithOne) {
  RunResult run = RunFeedwalk({"model.gdf", "out.edges"}, dir.path(), {"FEEDWALK_PROFILE=0"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err.find("PROFILE"), std::string::npos);
}

}  // namespace
