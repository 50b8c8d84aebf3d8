// Runs feedwalk on every text case and compares its output file, messages and exit status.
//
// A case X is the file cases/X.stderr (the expected messages, with the
// orientation time written as <time>) beside cases/X.edges (the expected
// output, empty when absent) and cases/X.status (the exit status, 0 when
// absent). The model is cases/X.gdf, or examples/X.gdf for a bundled example.
// It is run as "feedwalk X.gdf X.edges" in a scratch directory.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/driver/feedwalk_run.h"

namespace {

using namespace feedwalk_test;

fs::path CasesDir() { return SourceDir() / "tests" / "driver" / "cases"; }

std::vector<std::string> ListCases() {
  std::vector<std::string> names;
  std::error_code ec;
  for (const fs::directory_entry& e : fs::directory_iterator(CasesDir(), ec)) {
    if (e.path().extension() == ".stderr") names.push_back(e.path().stem());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string ReadIfPresent(const fs::path& path, const std::string& absent) {
  return fs::exists(path) ? ReadFile(path) : absent;
}

class FeedwalkCase : public ::testing::TestWithParam<std::string> {};

TEST_P(FeedwalkCase, MatchesExpectedOutputMessagesAndStatus) {
  const std::string& name = GetParam();
  fs::path model = CasesDir() / (name + ".gdf");
  if (!fs::exists(model)) model = SourceDir() / "examples" / (name + ".gdf");
  ScratchDir dir;
  fs::copy_file(model, dir / (name + ".gdf"));
  RunResult run = RunFeedwalk({name + ".gdf", name + ".edges"}, dir.path());

  EXPECT_EQ(run.status, std::stoi(ReadIfPresent(CasesDir() / (name + ".status"), "0")));
  EXPECT_EQ(MaskTime(run.err), ReadFile(CasesDir() / (name + ".stderr")));
  ASSERT_TRUE(fs::exists(dir / (name + ".edges"))) << "no output file";
  EXPECT_EQ(ReadFile(dir / (name + ".edges")), ReadIfPresent(CasesDir() / (name + ".edges"), ""));
}

INSTANTIATE_TEST_SUITE_P(Cases, FeedwalkCase, ::testing::ValuesIn(ListCases()),
                         [](const ::testing::TestParamInfo<std::string>& info) { return info.param; });

}  // namespace
