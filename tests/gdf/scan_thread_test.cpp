// The tokenizer on a thread of its own hands out what the tokenizer in line does, block boundaries included.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "gdf/gdf_scan.h"
#include "gdf/gdf_tokens.h"
#include "model_dump.h"

namespace {

constexpr int64_t kAlways = 0;
constexpr int64_t kNever = INT64_MAX;

class ScanModes : public testing::Test {
 protected:
  void TearDown() override { gdf_scan_thread_from(gdf_kScanThreadFrom); }
};

// Everything a token tells the parser, and everything the error report would print after it.
std::vector<std::string> Trace(const std::string& text, int64_t thread_from) {
  gdf_scan_thread_from(thread_from);
  gdf_scan_init(text.data(), text.size());
  std::vector<std::string> trace;
  for (;;) {
    const int code = gdf_lex();
    std::ostringstream line;
    line << code << ' ';
    if (gdf_token_has_text(code)) {
      line << gdf_lval.strval;
      gdf_text_free(gdf_lval.strval);
    }
    line << '|' << gdf_scan_lineno() << ',' << gdf_scan_token_offset() << ',' << gdf_scan_token_offset_old() << ','
         << gdf_scan_prev_was_eol() << ',' << gdf_scan_finished() << '|' << gdf_scan_linebuf() << '|'
         << gdf_scan_linebuf_old();
    trace.push_back(line.str());
    if (code == 0 && gdf_scan_finished()) break;
  }
  // The end repeats.
  EXPECT_EQ(gdf_lex(), 0);
  EXPECT_TRUE(gdf_scan_finished());
  gdf_scan_terminate();
  return trace;
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Lines of 3 to 9 tokens, so that the line ends fall everywhere relative to the block ends.
std::string ManyShortLines(int lines) {
  std::string text;
  for (int i = 0; i < lines; ++i) {
    text += "conn C.N" + std::to_string(i);
    for (int k = 0; k < i % 7; ++k) text += " X" + std::to_string(k) + ".0";
    text += (i % 5 == 0) ? "\r\n\n  \n" : "\n";
  }
  return text;
}

} // namespace

TEST_F(ScanModes, BothModesHandOutTheSameTokensAndPositions) {
  static constexpr char kNulsAndQuotes[] = "prop \"open\nckt 'x\0y' B\0\n";
  const std::string long_line = "conn " + std::string(300, 'n') + [] {
    std::string terms;
    for (int i = 0; i < 9000; ++i) terms += " T" + std::to_string(i) + ".1";
    return terms;
  }() + "\n% comment\n";
  const std::vector<std::string> texts = {
      "",
      "ckt A",
      ManyShortLines(3000),
      long_line,
      std::string(kNulsAndQuotes, sizeof kNulsAndQuotes - 1) + ManyShortLines(900) + "\"never closed",
      ReadFile(GDF_EXAMPLE),
  };
  for (const std::string& text : texts) {
    const std::vector<std::string> inline_trace = Trace(text, kNever);
    const std::vector<std::string> threaded_trace = Trace(text, kAlways);
    ASSERT_EQ(inline_trace.size(), threaded_trace.size());
    for (size_t i = 0; i < inline_trace.size(); ++i) ASSERT_EQ(inline_trace[i], threaded_trace[i]) << "token " << i;
  }
}

TEST_F(ScanModes, AParseStoppedEarlyEndsTheScanningThread) {
  GdfModel model;
  gdf_scan_thread_from(kAlways);
  bool ok = true;
  const std::string messages = model.Parse("ckt A\nfoo\n" + ManyShortLines(20000), &ok);
  EXPECT_FALSE(ok);
  EXPECT_NE(messages.find("Line 2"), std::string::npos) << messages;
}

TEST_F(ScanModes, ARegularFileFromTheThresholdOnIsScannedOnAThread) {
  const std::string text = ReadFile(GDF_EXAMPLE);
  std::string dumps[2];
  for (int threaded = 0; threaded < 2; ++threaded) {
    FILE* file = tmpfile();
    ASSERT_NE(file, nullptr);
    fwrite(text.data(), 1, text.size(), file);
    rewind(file);
    gdf_scan_thread_from(threaded ? int64_t(text.size()) : int64_t(text.size()) + 1);
    GdfModel model;
    testing::internal::CaptureStderr();
    EXPECT_TRUE(model.builder.ParseGDF(file, nullptr));
    testing::internal::GetCapturedStderr();
    fclose(file);
    dumps[threaded] = model.Dump();
  }
  EXPECT_EQ(dumps[0], dumps[1]);
}
