// Whole GDF texts against their expected reports and models: cases/<name>.gdf beside cases/<name>.expected.
//
// A case file holds one text, or several, each starting at a line "%== title";
// each is parsed into a fresh model. The expected file shows, per text, the
// title, what the parse printed, its result and warnings, and a dump of the
// model. Set FEEDWALK_UPDATE_CASES=1 to write the expected files anew.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "model_dump.h"

namespace {

namespace fs = std::filesystem;

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// The texts of a case file, split before every "%==" line.
std::vector<std::string> SplitTexts(const std::string& file) {
  std::vector<std::string> texts;
  size_t start = 0;
  for (size_t at = 0; at < file.size(); at = file.find('\n', at) + 1) {
    if (file.compare(at, 3, "%==") == 0 && at > start) {
      texts.push_back(file.substr(start, at - start));
      start = at;
    }
    if (file.find('\n', at) == std::string::npos) break;
  }
  texts.push_back(file.substr(start));
  return texts;
}

std::string RunText(const std::string& text) {
  GdfModel model;
  bool ok = false;
  int warnings = 0;
  std::ostringstream out;
  if (text.compare(0, 3, "%==") == 0) out << text.substr(0, text.find('\n')) << '\n';
  out << model.Parse(text, &ok, &warnings);
  out << "-- " << (ok ? "ok" : "failed") << ", warnings " << warnings << '\n';
  out << model.Dump();
  return out.str();
}

std::vector<std::string> CaseNames() {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(GDF_CASES_DIR))
    if (entry.path().extension() == ".gdf") names.push_back(entry.path().stem().string());
  std::sort(names.begin(), names.end());
  return names;
}

class GdfCase : public testing::TestWithParam<std::string> {};

TEST_P(GdfCase, MatchesExpected) {
  const fs::path dir = GDF_CASES_DIR;
  std::string actual;
  for (const std::string& text : SplitTexts(ReadFile(dir / (GetParam() + ".gdf")))) actual += RunText(text);
  const fs::path expected_path = dir / (GetParam() + ".expected");
  if (std::getenv("FEEDWALK_UPDATE_CASES") != nullptr) std::ofstream(expected_path, std::ios::binary) << actual;
  EXPECT_EQ(ReadFile(expected_path), actual);
}

INSTANTIATE_TEST_SUITE_P(Cases, GdfCase, testing::ValuesIn(CaseNames()),
                         [](const testing::TestParamInfo<std::string>& info) { return info.param; });

} // namespace
