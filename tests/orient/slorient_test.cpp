// Tests of the source-led orientation: finishing numbers, per-node chains and the warning.
#include "orient/slorient.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "orient/slbfs.h"
#include "tests/orient/test_model.h"

namespace {

using Lines = std::vector<std::string>;
using Numbers = std::map<std::string, long>;

const char* const kDifferingDefsWarning =
    "WARNING(ZELT_Grid_SLOrient):  Differing grid def.s among multiple sources; empty result will be returned.\n";

class SLOrientTest : public ::testing::Test {
 protected:
  std::vector<ZELT_Grid_HEntity> Sources(const std::vector<const char*>& names) {
    std::vector<ZELT_Grid_HEntity> sources;
    for (const char* n : names) sources.push_back(m.Path(ckt, n));
    return sources;
  }

  // The pairs as the driver prints them, "from to".
  Lines OrientFrom(std::vector<ZELT_Grid_HEntity> sources) {
    std::vector<ZELT_Grid_HEntityPair> pairs;
    ZELT_Grid_SLOrient(m.gm, sources, cst, pairs);
    return Print(pairs);
  }
  Lines Orient(const std::vector<const char*>& names) { return OrientFrom(Sources(names)); }

  Lines Print(const std::vector<ZELT_Grid_HEntityPair>& pairs) const {
    Lines lines;
    for (const ZELT_Grid_HEntityPair& p : pairs) lines.push_back(m.Name(p.first) + " " + m.Name(p.second));
    return lines;
  }

  // Every finished entity of the circuit with its finishing number.
  Numbers FinishingNumbers(const std::vector<const char*>& names) {
    std::vector<ZELT_Grid_HEntity> sources = Sources(names);
    ZELT_Grid_DefAssoc<long> depths(m.gm, ckt, -1);
    ZELT_Grid_DefAssoc<bool> visited(m.gm, ckt, false);
    ZELT_Grid_DefAssoc<bool> touched(m.gm, ckt, false);
    VisitorSLOrient visitor(cst, depths);
    ZELT_Grid_SLBFS_Base_Multi_Source(m.gm, sources, visitor, visited, touched);
    Numbers numbers;
    for (ZELT_Grid_EntityIter e = m.gm.GetFirstEntity(ckt); !m.gm.IsEnd(e); m.gm.NextEntity(ckt, e)) {
      if (depths[e] >= 0) numbers[m.Name(ckt, e)] = depths[e];
    }
    return numbers;
  }

  void SetOff(const char* name) { cst.SetState(m.Ent(ckt, name), OFF); }

  TestModel m;
  ZELT_Grid_DefIter ckt = m.Circuit("Feeder");
  // Made before the entities: their slots come from the array's growth.
  ZELT_Grid_CondStateSetSL cst{m.gm, ckt};
};

//   S --0-- N --0-- A        N's connections, newest first: A, B, S
//           +--0--- B
TEST_F(SLOrientTest, NodeChainsItsNeighboursInFinishingOrder) {
  m.Node(ckt, "N");
  m.Device(ckt, "S", 1);
  m.Device(ckt, "A", 1);
  m.Device(ckt, "B", 1);
  m.Connect(ckt, "S", 0, "N");
  m.Connect(ckt, "B", 0, "N");
  m.Connect(ckt, "A", 0, "N");
  EXPECT_EQ(FinishingNumbers({"S"}), (Numbers{{"S", 0}, {"N", 1}, {"A", 2}, {"B", 3}}));
  EXPECT_EQ(Orient({"S"}), (Lines{"Feeder.S Feeder.A", "Feeder.A Feeder.B"}));
}

//   S --0-- N --0-- A --1-- M --0-- Z
//           +--0-- C(OFF) --1-- K --0-- Q
// C is never entered, so N (which sees C unfinished) and K (whose
// neighbours are all unreached) are silent; M still chains A to Z.
TEST_F(SLOrientTest, OffNeighbourSilencesItsNode) {
  m.Node(ckt, "N");
  m.Node(ckt, "M");
  m.Node(ckt, "K");
  m.Device(ckt, "S", 1);
  m.Device(ckt, "A");
  m.Device(ckt, "C");
  m.Device(ckt, "Z", 1);
  m.Device(ckt, "Q", 1);
  m.Connect(ckt, "S", 0, "N");
  m.Connect(ckt, "C", 0, "N");
  m.Connect(ckt, "A", 0, "N");
  m.Connect(ckt, "A", 1, "M");
  m.Connect(ckt, "Z", 0, "M");
  m.Connect(ckt, "C", 1, "K");
  m.Connect(ckt, "Q", 0, "K");
  SetOff("C");
  EXPECT_EQ(FinishingNumbers({"S"}), (Numbers{{"S", 0}, {"N", 1}, {"A", 2}, {"M", 3}, {"Z", 4}}));
  EXPECT_EQ(Orient({"S"}), (Lines{"Feeder.A Feeder.Z"}));
}

//                 S(0)
//                  |
//   +-----+-----+--N1(1)+-----+-----+-----+        N1's connections, newest
//   |     |     |     |     |     |     |     |    first: D2 ... D9, S
//  D2(2) D3(3) D4(4) D5(5) D6(6) D7(7) D8(8) D9(9)
//               |     |                       |
//               +-----|------- M(10) ---------+
//                     |         |
//                   P(11)     Z(12)
//                     |
//                   L(13)
// M's neighbours finish as 4, 9 and 12: a chain 4 -> 9 -> 12, not a star.
TEST_F(SLOrientTest, NodeEmitsAChainNotAStar) {
  m.Node(ckt, "N1");
  m.Node(ckt, "M");
  m.Node(ckt, "P");
  m.Device(ckt, "S", 1);
  for (const char* load : {"D2", "D3", "D6", "D7", "D8", "Z", "L"}) m.Device(ckt, load, 1);
  for (const char* line : {"D4", "D5", "D9"}) m.Device(ckt, line, 2);
  m.Connect(ckt, "S", 0, "N1");
  for (const char* d : {"D9", "D8", "D7", "D6", "D5", "D4", "D3", "D2"}) m.Connect(ckt, d, 0, "N1");
  m.Connect(ckt, "D4", 1, "M");
  m.Connect(ckt, "D9", 1, "M");
  m.Connect(ckt, "D5", 1, "P");
  m.Connect(ckt, "Z", 0, "M");
  m.Connect(ckt, "L", 0, "P");

  Numbers numbers = FinishingNumbers({"S"});
  EXPECT_EQ(numbers["D4"], 4);
  EXPECT_EQ(numbers["D9"], 9);
  EXPECT_EQ(numbers["M"], 10);
  EXPECT_EQ(numbers["P"], 11);
  EXPECT_EQ(numbers["Z"], 12);
  EXPECT_EQ(numbers["L"], 13);
  EXPECT_EQ(Orient({"S"}), (Lines{"Feeder.S Feeder.D2", "Feeder.D2 Feeder.D3", "Feeder.D3 Feeder.D4",
                                  "Feeder.D4 Feeder.D5", "Feeder.D5 Feeder.D6", "Feeder.D6 Feeder.D7",
                                  "Feeder.D7 Feeder.D8", "Feeder.D8 Feeder.D9",  // N1
                                  "Feeder.D4 Feeder.D9", "Feeder.D9 Feeder.Z",   // M
                                  "Feeder.D5 Feeder.L"}));                       // P
}

//   S(OFF) --0-- N --0-- A       an OFF source is searched from all the same
TEST_F(SLOrientTest, OffSourceIsStillSearchedFrom) {
  m.Node(ckt, "N");
  m.Device(ckt, "S", 1);
  m.Device(ckt, "A", 1);
  m.Connect(ckt, "S", 0, "N");
  m.Connect(ckt, "A", 0, "N");
  SetOff("S");
  EXPECT_EQ(Orient({"S"}), (Lines{"Feeder.S Feeder.A"}));
}

//   S1 --0-- N1 --1-- L --0-- N2 --0-- S2       two breakers feeding one line
TEST_F(SLOrientTest, TwoSourcesFinishFirstInTheirOrder) {
  m.Node(ckt, "N1");
  m.Node(ckt, "N2");
  m.Device(ckt, "S1", 1);
  m.Device(ckt, "S2", 1);
  m.Device(ckt, "L");
  m.Connect(ckt, "S1", 0, "N1");
  m.Connect(ckt, "L", 1, "N1");
  m.Connect(ckt, "L", 0, "N2");
  m.Connect(ckt, "S2", 0, "N2");
  EXPECT_EQ(FinishingNumbers({"S2", "S1"}), (Numbers{{"S2", 0}, {"S1", 1}, {"N2", 2}, {"N1", 3}, {"L", 4}}));
  EXPECT_EQ(Orient({"S2", "S1"}), (Lines{"Feeder.S1 Feeder.L", "Feeder.S2 Feeder.L"}));
}

//   S --0-- N --0-- A           S reaches N through both of its terminals;
//   S --1-- N                   S counts once among N's neighbours.
//   U1 --0-- X --0-- U2         an island: X's neighbours are never reached
//   Y                           a node without connections
TEST_F(SLOrientTest, RepeatedNeighbourCountsOnceAndUnreachedPartsGiveNothing) {
  m.Node(ckt, "N");
  m.Node(ckt, "X");
  m.Node(ckt, "Y");
  m.Device(ckt, "S", 2);
  m.Device(ckt, "A", 1);
  m.Device(ckt, "U1", 1);
  m.Device(ckt, "U2", 1);
  m.Connect(ckt, "S", 0, "N");
  m.Connect(ckt, "S", 1, "N");
  m.Connect(ckt, "A", 0, "N");
  m.Connect(ckt, "U1", 0, "X");
  m.Connect(ckt, "U2", 0, "X");
  EXPECT_EQ(Orient({"S"}), (Lines{"Feeder.S Feeder.A"}));
}

TEST_F(SLOrientTest, SourceWithoutConnectionsGivesNothing) {
  m.Device(ckt, "S", 1);
  m.Node(ckt, "N");
  EXPECT_TRUE(Orient({"S"}).empty());
}

TEST_F(SLOrientTest, RepeatedCallsGiveTheSamePairsAndClearTheResultFirst) {
  m.Node(ckt, "N");
  m.Device(ckt, "S", 1);
  m.Device(ckt, "A", 1);
  m.Device(ckt, "B", 1);
  m.Connect(ckt, "S", 0, "N");
  m.Connect(ckt, "B", 0, "N");
  m.Connect(ckt, "A", 0, "N");
  std::vector<ZELT_Grid_HEntity> sources = Sources({"S"});
  std::vector<ZELT_Grid_HEntityPair> pairs;
  ZELT_Grid_SLOrient(m.gm, sources, cst, pairs);
  Lines first = Print(pairs);
  ZELT_Grid_SLOrient(m.gm, sources, cst, pairs);
  EXPECT_EQ(Print(pairs), first);
  EXPECT_EQ(first.size(), 2u);
}

TEST_F(SLOrientTest, NoSourcesGiveNothingAndNoWarning) {
  m.Node(ckt, "N");
  std::vector<ZELT_Grid_HEntityPair> pairs{{m.Path(ckt, "N"), m.Path(ckt, "N")}};
  std::vector<ZELT_Grid_HEntity> none;
  testing::internal::CaptureStderr();
  ZELT_Grid_SLOrient(m.gm, none, cst, pairs);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_TRUE(pairs.empty());
}

TEST_F(SLOrientTest, SourcesInTwoDefinitionsWarnAndGiveNothing) {
  m.Node(ckt, "N");
  m.Device(ckt, "S", 1);
  m.Device(ckt, "A", 1);
  m.Connect(ckt, "S", 0, "N");
  m.Connect(ckt, "A", 0, "N");
  ZELT_Grid_DefIter other = m.Circuit("Other");
  m.Device(other, "S", 1);
  std::vector<ZELT_Grid_HEntity> sources{m.Path(ckt, "S"), m.Path(other, "S")};
  std::vector<ZELT_Grid_HEntityPair> pairs{{m.Path(ckt, "S"), m.Path(ckt, "A")}};
  testing::internal::CaptureStderr();
  ZELT_Grid_SLOrient(m.gm, sources, cst, pairs);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), kDifferingDefsWarning);
  EXPECT_TRUE(pairs.empty());
}

// Sources inside an instantiated circuit: the search runs in that circuit and
// the pairs keep the path down to it.
//
//   Top:  I1, I2 instances of Sub          Sub:  S --0-- N --0-- A
class SLOrientInstancesTest : public ::testing::Test {
 protected:
  TestModel m;
  ZELT_Grid_DefIter sub = m.Circuit("Sub");
  ZELT_Grid_DefIter top = m.Circuit("Top");

  void SetUp() override {
    m.Node(sub, "N");
    m.Device(sub, "S", 1);
    m.Device(sub, "S2", 1);
    m.Device(sub, "A", 1);
    m.Connect(sub, "S", 0, "N");
    m.Connect(sub, "S2", 0, "N");
    m.Connect(sub, "A", 0, "N");
    m.Instance(top, "I1", sub);
    m.Instance(top, "I2", sub);
  }

  std::string Orient(std::vector<ZELT_Grid_HEntity> sources, Lines& lines) {
    ZELT_Grid_CondStateSetSL cst(m.gm, sub);
    std::vector<ZELT_Grid_HEntityPair> pairs;
    testing::internal::CaptureStderr();
    ZELT_Grid_SLOrient(m.gm, sources, cst, pairs);
    for (const ZELT_Grid_HEntityPair& p : pairs) lines.push_back(m.Name(p.first) + " " + m.Name(p.second));
    return testing::internal::GetCapturedStderr();
  }
};

TEST_F(SLOrientInstancesTest, SourcesInOneInstanceKeepItsPath) {
  Lines lines;
  EXPECT_EQ(Orient({m.Path(top, "I2", "S"), m.Path(top, "I2", "S2")}, lines), "");
  EXPECT_EQ(lines, (Lines{"Top.I2.S Top.I2.S2", "Top.I2.S2 Top.I2.A"}));
}

TEST_F(SLOrientInstancesTest, SourcesInTwoInstancesWarnAndGiveNothing) {
  Lines lines;
  EXPECT_EQ(Orient({m.Path(top, "I1", "S"), m.Path(top, "I2", "S2")}, lines), kDifferingDefsWarning);
  EXPECT_TRUE(lines.empty());
}

TEST_F(SLOrientInstancesTest, SourcesAtDifferentDepthsWarn) {
  Lines lines;
  EXPECT_EQ(Orient({m.Path(top, "I1", "S"), m.Path(sub, "S2")}, lines), kDifferingDefsWarning);
  EXPECT_TRUE(lines.empty());
}

TEST(MakeHEntity, ReplacesOnlyTheLastStep) {
  TestModel m;
  ZELT_Grid_DefIter sub = m.Circuit("Sub");
  ZELT_Grid_DefIter top = m.Circuit("Top");
  m.Node(sub, "N");
  m.Node(sub, "K");
  m.Instance(top, "I", sub);
  ZELT_Grid_HEntity from = m.Path(top, "I", "N");
  ZELT_Grid_HEntity made = MakeHEntity(m.gm, from, sub, m.Ent(sub, "K"));
  EXPECT_TRUE(made == m.Path(top, "I", "K"));
  EXPECT_EQ(m.Name(from), "Top.I.N");  // the original is left alone
}

}  // namespace
