// feedwalk on hostile and broken input: every row ends with its own message and status, in bounded time and memory.
//
// Rows that change nothing a parse can see (line ends, comments, NULs after the
// last statement) run as small_feeder.gdf and must give that case's messages
// and edges exactly. A full disk as output is in feedwalk_cli_test.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <random>
#include <thread>

#include "tests/driver/feedwalk_run.h"

namespace {

using namespace feedwalk_test;

// Far more than any row needs, far less than a run gone wrong takes.
constexpr long kMemoryLimitKb = 4L << 20;

std::string Replace(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

class FeedwalkBadInputTest : public ::testing::Test {
 protected:
  static std::string SmallFeeder() { return ReadFile(SourceDir() / "examples" / "small_feeder.gdf"); }
  static std::string CaseFile(const std::string& name) {
    return ReadFile(SourceDir() / "tests" / "driver" / "cases" / name);
  }

  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(dir / name, std::ios::binary) << text;
  }

  RunResult Run(const std::string& input, const std::string& output,
                std::chrono::seconds limit = kDefaultTimeLimit) const {
    RunResult run = RunFeedwalk({input, output}, dir.path(), {}, limit);
    EXPECT_FALSE(run.killed) << input << " took longer than " << limit.count() << " s";
    EXPECT_LT(run.max_rss_kb, kMemoryLimitKb) << input;
    return run;
  }

  // The text, run as small_feeder.gdf, gives the bundled small feeder's
  // result; `report` is what the parse prints before the first message.
  void ExpectSmallFeederResult(const std::string& text, const std::string& report = "") const {
    Write("small_feeder.gdf", text);
    RunResult run = Run("small_feeder.gdf", "small_feeder.edges");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(MaskTime(run.err), report + CaseFile("small_feeder.stderr"));
    EXPECT_EQ(ReadFile(dir / "small_feeder.edges"), CaseFile("small_feeder.edges"));
  }

  ScratchDir dir;
};

// ---- Files that are not what they seem ----

TEST_F(FeedwalkBadInputTest, BinaryDataStopsAtItsFirstStrayByte) {
  std::mt19937 random(11);
  std::string bytes(1 << 16, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  Write("binary.gdf", bytes);
  RunResult run = Run("binary.gdf", "out.edges");
  EXPECT_EQ(run.status, 4);
  EXPECT_NE(run.err.find("\nLine "), std::string::npos) << "no error report";
  EXPECT_TRUE(run.err.ends_with("INFO(feedwalk):  Finished reading grid model from GDF file binary.gdf.\n"
                                "ERROR feedwalk:  Could not find property SUBTYPECD in grid model.\n"))
      << run.err;
  EXPECT_EQ(ReadFile(dir / "out.edges"), "");
}

// Opening succeeds for both; reading fails, and that must not pass for an empty model.
TEST_F(FeedwalkBadInputTest, InputsThatOpenButCannotBeReadEndWithStatus8) {
  fs::create_directory(dir / "indir");
  RunResult run = Run("indir", "out.edges");
  EXPECT_EQ(run.status, 8);
  EXPECT_EQ(run.err, "ERROR feedwalk: Could not read input GDF file indir (Is a directory).\n");
  EXPECT_EQ(ReadFile(dir / "out.edges"), "");

  // Its first page is not mapped: the read fails with an I/O error.
  run = Run("/proc/self/mem", "out.edges");
  EXPECT_EQ(run.status, 8);
  EXPECT_EQ(run.err, "ERROR feedwalk: Could not read input GDF file /proc/self/mem (Input/output error).\n");
}

TEST_F(FeedwalkBadInputTest, InputsThatCannotBeOpenedEndWithStatus8AndNoOutputFile) {
  RunResult run = Run("missing.gdf", "out.edges");
  EXPECT_EQ(run.status, 8);
  EXPECT_EQ(run.err, "ERROR feedwalk: Could not open input GDF file missing.gdf.\n");
  EXPECT_FALSE(fs::exists(dir / "out.edges"));  // the input is opened first

  if (geteuid() == 0) return;  // permissions do not stop root
  Write("locked.gdf", SmallFeeder());
  fs::permissions(dir / "locked.gdf", fs::perms::none);
  run = Run("locked.gdf", "out.edges");
  EXPECT_EQ(run.status, 8);
  EXPECT_EQ(run.err, "ERROR feedwalk: Could not open input GDF file locked.gdf.\n");
}

// The writer opens its end only once feedwalk has opened the other, and never blocks the test for good.
TEST_F(FeedwalkBadInputTest, FifoIsReadLikeAFile) {
  const fs::path fifo = dir / "small_feeder.gdf";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  FeedwalkProcess process({"small_feeder.gdf", "small_feeder.edges"}, dir.path());
  const std::string text = SmallFeeder();
  std::thread writer([&] {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    int fd;
    while ((fd = open(fifo.c_str(), O_WRONLY | O_NONBLOCK)) < 0 && std::chrono::steady_clock::now() < deadline)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    if (fd < 0) return;
    fcntl(fd, F_SETFL, 0);
    for (size_t at = 0; at < text.size();) {
      // Two writes, so that the reader meets a pause in the middle of a line.
      const ssize_t wrote = write(fd, text.data() + at, std::min<size_t>(text.size() - at, 1000));
      if (wrote <= 0) break;
      at += size_t(wrote);
    }
    close(fd);
  });
  RunResult run = process.Wait();
  writer.join();
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(MaskTime(run.err), CaseFile("small_feeder.stderr"));
  EXPECT_EQ(ReadFile(dir / "small_feeder.edges"), CaseFile("small_feeder.edges"));
}

TEST_F(FeedwalkBadInputTest, OutputsThatCannotBeOpenedEndWithStatus8) {
  Write("model.gdf", SmallFeeder());
  fs::create_directory(dir / "outdir");
  RunResult run = Run("model.gdf", "outdir");
  EXPECT_EQ(run.status, 8);
  EXPECT_EQ(run.err, "ERROR feedwalk:  Could not open output edge file \"outdir\".\n");

  run = Run("model.gdf", "nodir/out.edges");
  EXPECT_EQ(run.status, 8);
  EXPECT_EQ(run.err, "ERROR feedwalk:  Could not open output edge file \"nodir/out.edges\".\n");

  // A path through a regular file stops root as well.
  run = Run("model.gdf", "model.gdf/out.edges");
  EXPECT_EQ(run.status, 8);
  EXPECT_EQ(run.err, "ERROR feedwalk:  Could not open output edge file \"model.gdf/out.edges\".\n");

  if (geteuid() == 0) return;  // permissions do not stop root
  fs::create_directory(dir / "locked");
  fs::permissions(dir / "locked", fs::perms::owner_read | fs::perms::owner_exec);
  run = Run("model.gdf", "locked/out.edges");
  EXPECT_EQ(run.status, 8);
  EXPECT_EQ(run.err, "ERROR feedwalk:  Could not open output edge file \"locked/out.edges\".\n");
}

// Writing the result over the model would empty it before it is read.
TEST_F(FeedwalkBadInputTest, OutputThatIsTheInputIsRefusedAndTheModelKept) {
  Write("model.gdf", SmallFeeder());
  fs::create_hard_link(dir / "model.gdf", dir / "hard.gdf");
  fs::create_symlink("model.gdf", dir / "soft.gdf");
  for (const char* output : {"model.gdf", "./model.gdf", "hard.gdf", "soft.gdf"}) {
    RunResult run = Run("model.gdf", output);
    EXPECT_EQ(run.status, 8) << output;
    EXPECT_EQ(run.err, std::string("ERROR feedwalk:  Could not open output edge file \"") + output +
                           "\" (it is the input GDF file).\n");
  }
  EXPECT_EQ(ReadFile(dir / "model.gdf"), SmallFeeder());

  // Devices are no stored model: the same one on both sides still runs.
  RunResult run = Run("/dev/null", "/dev/null");
  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.err,
            "INFO(feedwalk):  Finished reading grid model from GDF file /dev/null.\n"
            "ERROR feedwalk:  Could not find property SUBTYPECD in grid model.\n");
}

// ---- Texts the reader must survive ----

// A comment runs up to a line feed, so in a file without any, the first
// comment takes in the rest of the file.
TEST_F(FeedwalkBadInputTest, CarriageReturnsEndLinesButNotComments) {
  const std::string text = SmallFeeder();
  ExpectSmallFeederResult(Replace(text, "\n", "\r\n"));
  std::string uncommented;
  for (size_t at = 0; at < text.size(); at = text.find('\n', at) + 1)
    if (text[at] != '%') uncommented += text.substr(at, text.find('\n', at) + 1 - at);
  ExpectSmallFeederResult(Replace(uncommented, "\n", "\r"));

  Write("cr.gdf", Replace(text, "\n", "\r"));
  RunResult run = Run("cr.gdf", "cr.edges");
  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.err,
            "INFO(feedwalk):  Finished reading grid model from GDF file cr.gdf.\n"
            "ERROR feedwalk:  Could not find property SUBTYPECD in grid model.\n");
}

// A NUL in a comment is part of it; one between statements ends the input there.
TEST_F(FeedwalkBadInputTest, NulBytesInCommentsAndAfterTheLastStatement) {
  const std::string nul(1, '\0');
  ExpectSmallFeederResult("%" + nul + "x" + nul + "\n" + SmallFeeder() + nul + "ckt ignored\n" + nul);
}

TEST_F(FeedwalkBadInputTest, BytesAbove127AreStrayCharactersOutsideComments) {
  ExpectSmallFeederResult("% caf\xc3\xa9 \xff\xfe\n" + SmallFeeder() + "ckt Caf\xc3\xa9\n",
                          "ckt Caf\xc3\n        ^\nLine 72, Char 8: syntax error, unexpected $undefined, "
                          "expecting GDF_EOL or GDF_ID\n");
}

TEST_F(FeedwalkBadInputTest, StringsOpenAtTheEndOfTheFileStopAtTheirQuote) {
  const std::string head = SmallFeeder() + "prop NOTE string\n";
  ExpectSmallFeederResult(head + "propadd Feeder.LD1 NOTE \"never closed",
                          "propadd Feeder.LD1 NOTE \"\n                         ^\nLine 72, Char 25: syntax error, "
                          "unexpected $undefined\n");
  ExpectSmallFeederResult(head + "propadd Feeder.LD1 NOTE 'never",
                          "propadd Feeder.LD1 NOTE '\n                         ^\nLine 72, Char 25: syntax error, "
                          "unexpected $undefined\n");
}

TEST_F(FeedwalkBadInputTest, MillionCharacterLinesAreReportedCut) {
  const std::string million(1000000, 'x');
  const std::string statement = "propadd Feeder.LD1 NOTE \"" + million + "\"";
  ExpectSmallFeederResult(SmallFeeder() + "% " + million + "\nprop NOTE string\n" + statement + "\n",
                          statement.substr(0, 158) +
                              "\nINFO: Line above truncated due to excess length\nLine 73, Char 1000026: "
                              "ERROR: A value of type 'string' may hold at most 65535 characters\n");
}

// Names are kept whole, however long: the output lines carry them.
TEST_F(FeedwalkBadInputTest, HundredThousandCharacterIdentifiers) {
  const std::string circuit(100000, 'F'), breaker(100000, 'B');
  Write("long.gdf", Replace(Replace(SmallFeeder(), "Feeder", circuit), "BRK1", breaker));
  RunResult run = Run("long.gdf", "long.edges");
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(MaskTime(run.err), Replace(CaseFile("small_feeder.stderr"), "small_feeder.", "long."));
  EXPECT_EQ(ReadFile(dir / "long.edges"),
            Replace(Replace(CaseFile("small_feeder.edges"), "Feeder", circuit), "BRK1", breaker));
}

// C0 <- C1 <- ... <- C99999, each instantiating the one before as x. A name
// may pass through 65535 instances, no more.
TEST_F(FeedwalkBadInputTest, HundredThousandNestedCircuits) {
  std::string text = "prop P int32\nckt C0 T\n";
  for (int i = 1; i < 100000; ++i) text += "ckt C" + std::to_string(i) + "\ninst C" + std::to_string(i) + ".x C" + std::to_string(i - 1) + "\n";
  std::string deepest = "C65535", too_deep = "C99999";
  for (int i = 0; i < 65535; ++i) deepest += ".x";
  for (int i = 0; i < 65536; ++i) too_deep += ".x";
  text += "hpropadd " + deepest + " P 1\nhpropadd " + too_deep + " P 2\n";
  Write("deep.gdf", text);
  RunResult run = Run("deep.gdf", "deep.edges");
  EXPECT_EQ(run.status, 4);
  // The name is complete once the token behind it is read.
  const std::string line = "hpropadd " + too_deep + " P";
  EXPECT_EQ(run.err, "ERROR: Hierarchical entity 'C99999.x...' has more than 65535 steps\n" + line.substr(0, 158) +
                         "\nINFO: Line above truncated due to excess length\nLine 200002, Char " +
                         std::to_string(line.size()) +
                         ": ERROR: Hierarchical instance unknown\n"
                         "INFO(feedwalk):  Finished reading grid model from GDF file deep.gdf.\n"
                         "ERROR feedwalk:  Could not find property SUBTYPECD in grid model.\n");
}

// ---- Models that are valid but extreme ----

TEST_F(FeedwalkBadInputTest, BreakersThatAreAllOffAreStillSearchedFrom) {
  Write("off.gdf", Replace(SmallFeeder(), "NORMALPOSITION_A 1\n", "NORMALPOSITION_A 0\n"));
  RunResult run = Run("off.gdf", "off.edges");
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.err.find("INFO(feedwalk):  Finished writing 3 directed edges to off.edges.\n"), std::string::npos)
      << run.err;
  EXPECT_EQ(ReadFile(dir / "off.edges"), "Feeder.BRK1 Feeder.BRK2\nFeeder.BRK1 Feeder.L1\nFeeder.BRK2 Feeder.L3\n");
}

// Slow: about 15 s in the release build and 30 s under the sanitizers, most
// of it building the grid. The million breakers meet at one node, whose chain
// is written as 999999 lines.
TEST_F(FeedwalkBadInputTest, SlowMillionBreakers) {
  constexpr int kBreakers = 1000000;
  {
    std::ofstream out(dir / "many.gdf", std::ios::binary);
    out << "prop SUBTYPECD int32\nprop NORMALPOSITION_A int32\nsection s {\n  elem DynamicProtectiveDevice 2\n}\n"
           "ckt F\n";
    for (int i = 0; i < kBreakers; ++i)
      out << "inst F.b" << i << " DynamicProtectiveDevice\npropadd F.b" << i << " SUBTYPECD 1\n";
    out << "conn F.N";
    for (int i = 0; i < kBreakers; ++i) out << " b" << i << ".0";
    out << "\n";
  }
  RunResult run = Run("many.gdf", "many.edges", std::chrono::seconds(600));
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(MaskTime(run.err),
            "INFO(feedwalk):  Finished reading grid model from GDF file many.gdf.\n"
            "INFO feedwalk:  1000000 DynamicProtectDevice/Breakers were found.\n"
            "INFO(InitializeCondStateSetSL):  Initialized conductivity state for 0 entities from "
            "NORMALPOSITION_A property.\n"
            "INFO(feedwalk):  Finished orienting 999999 edges in <time> sec.\n"
            "INFO(feedwalk):  Finished writing 999999 directed edges to many.edges.\n");
  const std::string edges = ReadFile(dir / "many.edges");
  EXPECT_EQ(std::count(edges.begin(), edges.end(), '\n'), kBreakers - 1);
  EXPECT_TRUE(edges.starts_with("F.b0 F.b1\nF.b1 F.b2\n"));
  EXPECT_TRUE(edges.ends_with("F.b999998 F.b999999\n"));
}

}  // namespace
