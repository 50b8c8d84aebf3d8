// The three-line error report and what the parser makes of the token stream.
#include <gtest/gtest.h>

#include <string>

#include "gdf/gdf_scan.h"
#include "gdf/gdf_tokens.h"
#include "model_dump.h"

namespace {

// Reads count tokens of text, then returns what gdf_error(message) prints.
std::string ReportAfter(std::string_view text, int count, const char* message) {
  gdf_scan_init(text.data(), text.size());
  for (int i = 0; i < count; ++i)
    if (gdf_token_has_text(gdf_lex())) gdf_text_free(gdf_lval.strval);
  testing::internal::CaptureStderr();
  gdf_error(message);
  std::string report = testing::internal::GetCapturedStderr();
  gdf_scan_terminate();
  return report;
}

} // namespace

TEST(ErrorReportTest, CaretStandsBehindTheLastToken) {
  EXPECT_EQ(ReportAfter("ckt A ;\nelem", 3, "bad"), "ckt A ;\n       ^\nLine 1, Char 7: bad\n");
  EXPECT_EQ(ReportAfter("ckt\tA\n", 2, "tab"), "ckt\tA\n     ^\nLine 1, Char 5: tab\n");
}

TEST(ErrorReportTest, RightAfterALineEndThePreviousLineIsReported) {
  EXPECT_EQ(ReportAfter("ckt A\nelem", 3, "missing"), "ckt A\n     ^\nLine 1, Char 5: missing\n");
  // Its comment was neither kept nor counted.
  EXPECT_EQ(ReportAfter("ckt A % note\nelem", 3, "m"), "ckt A \n      ^\nLine 1, Char 6: m\n");
  // The synthetic line end closing the last line counts as well.
  EXPECT_EQ(ReportAfter("x\nckt A", 5, "end"), "ckt A\n     ^\nLine 2, Char 5: end\n");
  // Blank lines between do not move the report off the statement's line.
  EXPECT_EQ(ReportAfter("ckt A\n\n   \nelem", 3, "m"), "ckt A\n     ^\nLine 1, Char 5: m\n");
}

TEST(ErrorReportTest, CarriageReturnLineFeedCountsTwoLines) {
  EXPECT_EQ(ReportAfter("ckt A\r\nckt ;\r\n", 5, "m"), "ckt ;\n     ^\nLine 3, Char 5: m\n");
}

TEST(ErrorReportTest, LongLinesAreCutAndFarPositionsLoseTheCaret) {
  const std::string blanks157(157, ' ');
  EXPECT_EQ(ReportAfter(blanks157 + "ab", 1, "m"), blanks157 + "a\n" + std::string(159, ' ') + "^\nLine 1, Char 159: m\n");
  EXPECT_EQ(ReportAfter(" " + blanks157 + "ab", 1, "m"),
            " " + blanks157 + "\nINFO: Line above truncated due to excess length\nLine 1, Char 160: m\n");
  const std::string name(200, 'x');
  EXPECT_EQ(ReportAfter("ckt " + name + " ;", 3, "m"),
            "ckt " + name.substr(0, 154) + "\nINFO: Line above truncated due to excess length\nLine 1, Char 206: m\n");
}

// Even inside a statement, which then lacks its line end.
TEST(ParserTest, ANulByteEndsTheInputWhereItStands) {
  const struct {
    std::string bytes;
    bool ok;
    const char* printed;
  } cases[] = {
      {std::string("ckt A\n\0ckt B\n", 13), true, ""},
      {std::string("ckt A\0ckt B\n", 12), false,
       "ckt A\n      ^\nLine 1, Char 6: syntax error, unexpected $end, expecting GDF_EOL or GDF_ID\n"},
  };
  for (const auto& c : cases) {
    GdfModel model;
    FILE* stream = tmpfile();
    ASSERT_NE(stream, nullptr);
    fwrite(c.bytes.data(), 1, c.bytes.size(), stream);
    rewind(stream);
    testing::internal::CaptureStderr();
    EXPECT_EQ(model.builder.ParseGDF(stream, nullptr), c.ok);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.printed);
    fclose(stream);
    EXPECT_TRUE(model.grid.IsEnd(model.grid.GetDefFromName("B")));
  }
}
