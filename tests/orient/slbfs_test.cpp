// Tests of the multi-source breadth-first search with a scripted controller.
#include "orient/slbfs.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tests/orient/test_model.h"

namespace {

using Calls = std::vector<std::string>;

// Breaks on the entities named in `blocked` and records every callback as
// "D name" (discovered) or "F name" (finished).
struct ScriptedController {
  bool BreakOn(const ZELT_Grid_EntityIter& e) { return blocked.count(m.Name(def, e)) > 0; }
  void Discovered(const ZELT_Grid_EntityIter& e) { calls.push_back("D " + m.Name(def, e)); }
  void Finished(const ZELT_Grid_EntityIter& e) { calls.push_back("F " + m.Name(def, e)); }

  const TestModel& m;
  ZELT_Grid_DefIter def;
  std::set<std::string> blocked;
  Calls calls;
};

class SLBFSTest : public ::testing::Test {
 protected:
  Calls Search(const std::vector<std::string>& source_names, std::set<std::string> blocked = {}) {
    std::vector<ZELT_Grid_HEntity> sources;
    for (const std::string& s : source_names) sources.push_back(m.Path(ckt, s));
    ScriptedController controller{m, ckt, std::move(blocked), {}};
    ZELT_Grid_DefAssoc<bool> visited(m.gm, ckt, false), touched(m.gm, ckt, false);
    ZELT_Grid_SLBFS_Base_Multi_Source(m.gm, sources, controller, visited, touched);
    return controller.calls;
  }

  TestModel m;
  ZELT_Grid_DefIter ckt = m.Circuit("Feeder");
};

//   S --0-- N --0-- A
//           +--0--- B        N's connections, newest first: A, B, S
TEST_F(SLBFSTest, OneSourceFinishesLevelByLevelInConnectionOrder) {
  m.Wire(ckt, "S.0-N B.0-N A.0-N");
  EXPECT_EQ(Search({"S"}), (Calls{"D N", "F S", "D A", "D B", "F N", "F A", "F B"}));
}

//   S1 --0-- N1 --1-- X --0-- N2
//   S2 --0-- N1                         blocked: X
// Both sources see N1, which is discovered once; X is never seen.
TEST_F(SLBFSTest, SourcesFinishFirstAndABlockedEntityIsNeverSeen) {
  m.Wire(ckt, "S1.0-N1 S2.0-N1 X.1-N1 X.0-N2");
  EXPECT_EQ(Search({"S1", "S2"}, {"X"}), (Calls{"D N1", "F S1", "F S2", "F N1"}));
}

//   S --0-- N --1-- S2 --0-- M     S listed twice finishes once
TEST_F(SLBFSTest, SourceListedTwiceFinishesOnce) {
  m.Wire(ckt, "S.0-N S2.1-N S2.0-M");
  EXPECT_EQ(Search({"S", "S2", "S"}), (Calls{"D N", "F S", "D M", "F S2", "F N", "F M"}));
}

//   S1 --0-- N --0-- A      sources S1 and N: S1's expansion discovers N
//                           before N's own turn, and N finishes once
TEST_F(SLBFSTest, ASourceCanBeDiscoveredByAnEarlierOne) {
  m.Wire(ckt, "S1.0-N A.0-N");
  EXPECT_EQ(Search({"S1", "N"}), (Calls{"D N", "F S1", "D A", "F N", "F A"}));
}

//          +--0-- A --1--+
//   S --0- N             M --0-- Z      A ring: M is reached through A and B
//          +--0-- B --1--+              and discovered once, by A. S reaches
//   S --1-- N                           N twice, which counts once too.
TEST_F(SLBFSTest, RingAndParallelConnectionsDiscoverOnce) {
  m.Wire(ckt, "S.0-N S.1-N B.0-N A.0-N A.1-M B.1-M Z.0-M");
  EXPECT_EQ(Search({"S"}), (Calls{"D N", "F S", "D A", "D B", "F N", "D M", "F A", "F B", "D Z", "F M", "F Z"}));
}

//   S --0-- N --0-- A            S itself is blocked: it is searched from all
//                                the same, and A, blocked too, is never seen.
TEST_F(SLBFSTest, BlockedSourceIsStillSearchedFrom) {
  m.Wire(ckt, "S.0-N A.0-N");
  EXPECT_EQ(Search({"S"}, {"S", "A"}), (Calls{"D N", "F S", "F N"}));
  EXPECT_TRUE(Search({}).empty());
}

// A feeder as deep as a user may make one: a recursive search would overflow
// the stack.   S --0-- N0 --0-- L1 --1-- N1 --0-- L2 --1-- N2 ...
TEST_F(SLBFSTest, LongChainIsSearchedWithoutRecursion) {
  const int kLines = 30000;
  std::string wiring = "S.0-N0";
  for (int i = 1; i <= kLines; ++i) {
    wiring += " L" + std::to_string(i) + ".0-N" + std::to_string(i - 1);
    wiring += " L" + std::to_string(i) + ".1-N" + std::to_string(i);
  }
  m.Wire(ckt, wiring);
  Calls calls = Search({"S"});
  EXPECT_EQ(calls.size(), 2u * (2 * kLines + 2) - 1);
  EXPECT_EQ(calls.back(), "F N" + std::to_string(kLines));
}

}  // namespace
