// Tests of the source-led orientation: finishing numbers, per-node chains and the warning.
#include "orient/slorient.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdint>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
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
  // The pairs as the driver prints them, "from to"; err receives the standard error stream.
  Lines OrientFrom(std::vector<ZELT_Grid_HEntity> sources, const ZELT_Grid_CondStateSetSL& states,
                   std::string* err = nullptr) {
    std::vector<ZELT_Grid_HEntityPair> pairs(1);  // to be cleared
    testing::internal::CaptureStderr();
    ZELT_Grid_SLOrient(m.gm, sources, states, pairs);
    std::string captured = testing::internal::GetCapturedStderr();
    if (err) *err = captured;
    Lines lines;
    for (const ZELT_Grid_HEntityPair& p : pairs) lines.push_back(m.Name(p.first) + " " + m.Name(p.second));
    return lines;
  }
  Lines Orient(const std::vector<std::string>& names) { return OrientFrom(Sources(names), cst); }

  std::vector<ZELT_Grid_HEntity> Sources(const std::vector<std::string>& names) {
    std::vector<ZELT_Grid_HEntity> sources;
    for (const std::string& n : names) sources.push_back(m.Path(ckt, n));
    return sources;
  }

  // Every finished entity of the circuit with its finishing number.
  Numbers FinishingNumbers(const std::vector<std::string>& names) {
    std::vector<ZELT_Grid_HEntity> sources = Sources(names);
    ZELT_Grid_DefAssoc<long> depths(m.gm, ckt, -1);
    ZELT_Grid_DefAssoc<bool> visited(m.gm, ckt, false), touched(m.gm, ckt, false);
    VisitorSLOrient visitor(cst, depths);
    ZELT_Grid_SLBFS_Base_Multi_Source(m.gm, sources, visitor, visited, touched);
    Numbers numbers;
    for (ZELT_Grid_EntityIter e = m.gm.GetFirstEntity(ckt); !m.gm.IsEnd(e); m.gm.NextEntity(ckt, e)) {
      if (depths[e] >= 0) numbers[m.Name(ckt, e)] = depths[e];
    }
    return numbers;
  }

  void SetOff(const std::string& name) { cst.SetState(m.Ent(ckt, name), OFF); }

  TestModel m;
  ZELT_Grid_DefIter ckt = m.Circuit("Feeder");
  // Made before the entities: their slots come from the array's growth.
  ZELT_Grid_CondStateSetSL cst{m.gm, ckt};
};

//   S --0-- N --0-- A        N's connections, newest first: A, B, S
//           +--0--- B
TEST_F(SLOrientTest, NodeChainsItsNeighboursInFinishingOrder) {
  m.Wire(ckt, "S.0-N B.0-N A.0-N");
  EXPECT_EQ(FinishingNumbers({"S"}), (Numbers{{"S", 0}, {"N", 1}, {"A", 2}, {"B", 3}}));
  Lines first = Orient({"S"});
  EXPECT_EQ(first, (Lines{"Feeder.S Feeder.A", "Feeder.A Feeder.B"}));
  EXPECT_EQ(Orient({"S"}), first);  // nothing is kept between calls
}

//   S --0-- N --0-- A --1-- M --0-- Z
//           +--0-- C(OFF) --1-- K --0-- Q
// C is never entered, so N (which sees C unfinished) and K (whose
// neighbours are all unreached) are silent; M still chains A to Z.
TEST_F(SLOrientTest, OffNeighbourSilencesItsNode) {
  m.Wire(ckt, "S.0-N C.0-N A.0-N A.1-M Z.0-M C.1-K Q.0-K");
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
  m.Wire(ckt, "S.0-N1 D9.0-N1 D4.1-M D5.1-P D8.0-N1 D7.0-N1 D6.0-N1 D5.0-N1 D4.0-N1 D3.0-N1 D2.0-N1 "
              "D9.1-M Z.0-M L.0-P");
  Numbers numbers = FinishingNumbers({"S"});
  EXPECT_EQ(numbers["D4"], 4);
  EXPECT_EQ(numbers["D9"], 9);
  EXPECT_EQ(numbers["Z"], 12);
  EXPECT_EQ(numbers["L"], 13);
  EXPECT_EQ(Orient({"S"}), (Lines{"Feeder.S Feeder.D2", "Feeder.D2 Feeder.D3", "Feeder.D3 Feeder.D4",
                                  "Feeder.D4 Feeder.D5", "Feeder.D5 Feeder.D6", "Feeder.D6 Feeder.D7",
                                  "Feeder.D7 Feeder.D8", "Feeder.D8 Feeder.D9",  // N1
                                  "Feeder.D4 Feeder.D9", "Feeder.D9 Feeder.Z",   // M
                                  "Feeder.D5 Feeder.L"}));                       // P
}

//   S1 --0-- N1 --1-- L --0-- N2 --0-- S2     two breakers, listed S2 first;
//   S(OFF) --0-- K --0-- A                    an OFF source is searched from
TEST_F(SLOrientTest, SourcesFinishFirstInTheirOrderEvenWhenOff) {
  m.Wire(ckt, "S1.0-N1 L.1-N1 L.0-N2 S2.0-N2 S.0-K A.0-K");
  SetOff("S");
  EXPECT_EQ(FinishingNumbers({"S2", "S1", "S"}),
            (Numbers{{"S2", 0}, {"S1", 1}, {"S", 2}, {"N2", 3}, {"N1", 4}, {"K", 5}, {"L", 6}, {"A", 7}}));
  EXPECT_EQ(Orient({"S2", "S1", "S"}), (Lines{"Feeder.S1 Feeder.L", "Feeder.S2 Feeder.L", "Feeder.S Feeder.A"}));
}

//   S --0-- N --0-- A           S reaches N through both terminals: it
//   S --1-- N                   counts once among N's neighbours.
//   U1 --0-- X --0-- U2         an island: X's neighbours are never reached
TEST_F(SLOrientTest, RepeatedNeighbourCountsOnceAndUnreachedPartsGiveNothing) {
  m.Wire(ckt, "S.0-N S.1-N A.0-N U1.0-X U2.0-X");
  EXPECT_EQ(Orient({"S"}), (Lines{"Feeder.S Feeder.A"}));
  EXPECT_EQ(Orient({"U1"}), (Lines{"Feeder.U1 Feeder.U2"}));
}

TEST_F(SLOrientTest, NoSourcesOrSourcesInTwoDefinitionsGiveNothing) {
  m.Wire(ckt, "S.0-N A.0-N");
  std::string err;
  EXPECT_TRUE(OrientFrom({}, cst, &err).empty());
  EXPECT_EQ(err, "");
  ZELT_Grid_DefIter other = m.Circuit("Other");
  m.Wire(other, "S.0-N");
  EXPECT_TRUE(OrientFrom({m.Path(ckt, "S"), m.Path(other, "S")}, cst, &err).empty());
  EXPECT_EQ(err, kDifferingDefsWarning);
}

// A state set belongs to one definition: over another one it holds no state
// for the sources' entities, which all conduct.
//   Feeder:  S --0-- N --0-- A        Other: X0, X1, X2, Y (all OFF)
TEST_F(SLOrientTest, StatesOfAnotherDefinitionStopNothing) {
  m.Wire(ckt, "S.0-N A.0-N");
  ZELT_Grid_DefIter other = m.Circuit("Other");
  m.Wire(other, "Y.0-X0 Y.1-X1 Y.2-X2");
  ZELT_Grid_CondStateSetSL other_states(m.gm, other);
  for (ZELT_Grid_EntityIter e = m.gm.GetFirstEntity(other); !m.gm.IsEnd(e); m.gm.NextEntity(other, e))
    other_states.SetState(e, OFF);
  EXPECT_EQ(OrientFrom(Sources({"S"}), other_states), (Lines{"Feeder.S Feeder.A"}));
}

TEST_F(SLOrientTest, EmptySourcePathIsAnInternalError) {
  m.Wire(ckt, "S.0-N A.0-N");
  std::vector<ZELT_Grid_HEntityPair> pairs;
  std::vector<ZELT_Grid_HEntity> sources(1);
  EXPECT_EXIT(ZELT_Grid_SLOrient(m.gm, sources, cst, pairs), testing::KilledBySignal(SIGINT), "empty source path");
}

// Sources inside an instantiated circuit: the search runs in that circuit and
// the pairs keep the path down to it.
//   Top:  I1, I2 instances of Sub          Sub:  S --0-- N --0-- A
//                                                S2 --0-- N
TEST_F(SLOrientTest, SourcesInOneInstanceKeepItsPathAndInTwoWarn) {
  ZELT_Grid_DefIter sub = m.Circuit("Sub"), top = m.Circuit("Top");
  m.Wire(sub, "S.0-N S2.0-N A.0-N");
  m.Instance(top, "I1", sub);
  m.Instance(top, "I2", sub);
  ZELT_Grid_CondStateSetSL sub_states(m.gm, sub);
  std::string err;
  EXPECT_EQ(OrientFrom({m.Path(top, "I2", "S"), m.Path(top, "I2", "S2")}, sub_states, &err),
            (Lines{"Top.I2.S Top.I2.S2", "Top.I2.S2 Top.I2.A"}));
  EXPECT_EQ(err, "");
  EXPECT_TRUE(OrientFrom({m.Path(top, "I1", "S"), m.Path(top, "I2", "S2")}, sub_states, &err).empty());
  EXPECT_EQ(err, kDifferingDefsWarning);
  EXPECT_TRUE(OrientFrom({m.Path(top, "I1", "S"), m.Path(sub, "S2")}, sub_states, &err).empty());
  EXPECT_EQ(err, kDifferingDefsWarning);
}

// The pairs as the description gives them, from the public search with
// VisitorSLOrient and an ordered map per connectivity node.
Lines ReferencePairs(TestModel& m, ZELT_Grid_DefIter ckt, std::vector<ZELT_Grid_HEntity>& sources,
                     const ZELT_Grid_CondStateSetSL& cst) {
  ZELT_Grid& gm = m.gm;
  ZELT_Grid_DefAssoc<long> depths(gm, ckt, -1);
  ZELT_Grid_DefAssoc<bool> visited(gm, ckt, false), touched(gm, ckt, false);
  VisitorSLOrient visitor(cst, depths);
  ZELT_Grid_SLBFS_Base_Multi_Source(gm, sources, visitor, visited, touched);
  Lines lines;
  for (ZELT_Grid_EntityIter n = gm.GetFirstEntity(ckt); !gm.IsEnd(n); gm.NextEntity(ckt, n)) {
    if (!gm.IsConnNode(ckt, n)) continue;
    std::map<int32_t, ZELT_Grid_EntityIter> depth_to_entity;
    for (ZELT_Grid_ConnectionIter c = gm.GetFirstConnection(ckt, n); !gm.IsEnd(c); gm.NextConnection(ckt, n, c)) {
      ZELT_Grid_EntityIter x = gm.GetConOtherEnd(ckt, n, c);
      depth_to_entity[static_cast<int32_t>(depths[x])] = x;
    }
    if (depth_to_entity.size() < 2) continue;
    int32_t this_depth = depth_to_entity.begin()->first;
    ZELT_Grid_EntityIter this_node = depth_to_entity.begin()->second;
    for (auto it = std::next(depth_to_entity.begin()); it != depth_to_entity.end(); ++it) {
      if (this_depth < 0) continue;
      lines.push_back(m.Name(ckt, this_node) + " " + m.Name(ckt, it->second));
      this_depth = it->first;
      this_node = it->second;
    }
  }
  return lines;
}

// A random circuit of the given size with random states and sources: the orientation
// must answer as the plain search with its four slot arrays does. Returns the model's
// record bytes.
size_t CheckRandomCircuit(std::mt19937& rng, int nodes, int devices) {
  TestModel m;
  ZELT_Grid_DefIter ckt = m.Circuit("Feeder");
  std::ostringstream wiring;
  for (int d = 0; d < devices; ++d) {
    const int terminals = 1 + static_cast<int>(rng() % 3);
    for (int t = 0; t < terminals; ++t) wiring << 'D' << d << '.' << t << "-N" << rng() % nodes << ' ';
  }
  m.Wire(ckt, wiring.str());
  ZELT_Grid_CondStateSetSL cst(m.gm, ckt);
  std::vector<ZELT_Grid_HEntity> sources;
  for (ZELT_Grid_EntityIter e = m.gm.GetFirstEntity(ckt); !m.gm.IsEnd(e); m.gm.NextEntity(ckt, e)) {
    const unsigned r = rng() % 10;
    if (r == 0) cst.SetState(e, OFF);
    if (r == 1) cst.SetState(e, ON);
    if ((r >= 8 || (r == 0 && rng() % 4 == 0)) && (devices < 1000 || rng() % 1000 == 0))
      sources.push_back(m.Path(ckt, m.Name(ckt, e)));
  }
  if (sources.empty()) sources.push_back(m.Path(ckt, "D0"));
  std::vector<ZELT_Grid_HEntityPair> pairs;
  ZELT_Grid_SLOrient(m.gm, sources, cst, pairs);
  Lines lines;
  for (const ZELT_Grid_HEntityPair& p : pairs) lines.push_back(m.Name(p.first).substr(7) + " " + m.Name(p.second).substr(7));
  EXPECT_EQ(lines, ReferencePairs(m, ckt, sources, cst)) << nodes << " nodes, " << devices << " devices";
  return m.gm.RecordBytes();
}

TEST(SLOrientRandom, AgreesWithTheSearchAsDescribed) {
  std::mt19937 rng(5);
  for (int round = 0; round < 60 && !HasFailure(); ++round)
    CheckRandomCircuit(rng, 2 + static_cast<int>(rng() % 30), 1 + static_cast<int>(rng() % 40));
}

// A model beyond the caches, where the search and the emission fetch ahead.
TEST(SLOrientRandom, AgreesWithTheSearchAsDescribedInALargeModel) {
  std::mt19937 rng(11);
  EXPECT_GE(CheckRandomCircuit(rng, 120000, 200000), ZELT_Grid::kFetchAheadFrom);
}

}  // namespace
