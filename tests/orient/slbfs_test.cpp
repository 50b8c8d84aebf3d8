// Tests of the multi-source breadth-first search with a scripted controller.
#include "orient/slbfs.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "tests/orient/test_model.h"

namespace {

// Breaks on the entities named in `blocked` and records every callback as
// "D name" (discovered) or "F name" (finished).
class ScriptedController {
 public:
  ScriptedController(const TestModel& m, ZELT_Grid_DefIter def, std::set<std::string> blocked = {})
      : _m(m), _def(def), _blocked(std::move(blocked)) {}

  bool BreakOn(const ZELT_Grid_EntityIter& e) { return _blocked.count(_m.Name(_def, e)) > 0; }
  void Discovered(const ZELT_Grid_EntityIter& e) { calls.push_back("D " + _m.Name(_def, e)); }
  void Finished(const ZELT_Grid_EntityIter& e) { calls.push_back("F " + _m.Name(_def, e)); }

  std::vector<std::string> calls;

 private:
  const TestModel& _m;
  ZELT_Grid_DefIter _def;
  std::set<std::string> _blocked;
};

using Calls = std::vector<std::string>;

class SLBFSTest : public ::testing::Test {
 protected:
  Calls Search(const std::vector<const char*>& source_names, std::set<std::string> blocked = {}) {
    std::vector<ZELT_Grid_HEntity> sources;
    for (const char* s : source_names) sources.push_back(m.Path(ckt, s));
    ScriptedController controller(m, ckt, std::move(blocked));
    ZELT_Grid_DefAssoc<bool> visited(m.gm, ckt, false);
    ZELT_Grid_DefAssoc<bool> touched(m.gm, ckt, false);
    ZELT_Grid_SLBFS_Base_Multi_Source(m.gm, sources, controller, visited, touched);
    return controller.calls;
  }

  TestModel m;
  ZELT_Grid_DefIter ckt = m.Circuit("Feeder");
};

//   S --0-- N --0-- A
//           +--0--- B        N's connections, newest first: A, B, S
TEST_F(SLBFSTest, OneSourceFinishesLevelByLevelInConnectionOrder) {
  m.Device(ckt, "S", 1);
  m.Node(ckt, "N");
  m.Device(ckt, "A", 1);
  m.Device(ckt, "B", 1);
  m.Connect(ckt, "S", 0, "N");
  m.Connect(ckt, "B", 0, "N");
  m.Connect(ckt, "A", 0, "N");
  EXPECT_EQ(Search({"S"}), (Calls{"D N", "F S", "D A", "D B", "F N", "F A", "F B"}));
}

//   S1 --0-- N1 --1-- X --0-- N2
//   S2 --0-- N1                         blocked: X
// The second source is not discovered by anyone; the first one's neighbour
// is discovered once although both sources see it.
TEST_F(SLBFSTest, SourcesFinishFirstAndABlockedEntityIsNeverSeen) {
  m.Device(ckt, "S1", 1);
  m.Device(ckt, "S2", 1);
  m.Node(ckt, "N1");
  m.Node(ckt, "N2");
  m.Device(ckt, "X");
  m.Connect(ckt, "S1", 0, "N1");
  m.Connect(ckt, "S2", 0, "N1");
  m.Connect(ckt, "X", 1, "N1");
  m.Connect(ckt, "X", 0, "N2");
  EXPECT_EQ(Search({"S1", "S2"}, {"X"}), (Calls{"D N1", "F S1", "F S2", "F N1"}));
}

//   S --0-- N --1-- S2 --0-- M
// S2 is a source behind N: S's neighbour N is expanded after both sources,
// so S2 is never discovered; listing S twice finishes it once.
TEST_F(SLBFSTest, SourceListedTwiceFinishesOnce) {
  m.Device(ckt, "S", 1);
  m.Device(ckt, "S2");
  m.Node(ckt, "N");
  m.Node(ckt, "M");
  m.Connect(ckt, "S", 0, "N");
  m.Connect(ckt, "S2", 1, "N");
  m.Connect(ckt, "S2", 0, "M");
  EXPECT_EQ(Search({"S", "S2", "S"}), (Calls{"D N", "F S", "D M", "F S2", "F N", "F M"}));
}

//   S1 --0-- N --0-- A      sources S1 and N: S1's expansion discovers N
//                           before N's own turn, and N finishes once
TEST_F(SLBFSTest, ASourceCanBeDiscoveredByAnEarlierOne) {
  m.Device(ckt, "S1", 1);
  m.Node(ckt, "N");
  m.Device(ckt, "A", 1);
  m.Connect(ckt, "S1", 0, "N");
  m.Connect(ckt, "A", 0, "N");
  EXPECT_EQ(Search({"S1", "N"}), (Calls{"D N", "F S1", "D A", "F N", "F A"}));
}

//   S --1-- N1 --0-- S        a device joined to itself through two nodes
//   S --0-- N1
TEST_F(SLBFSTest, ParallelConnectionsDiscoverOnce) {
  m.Device(ckt, "S");
  m.Node(ckt, "N1");
  m.Connect(ckt, "S", 0, "N1");
  m.Connect(ckt, "S", 1, "N1");
  EXPECT_EQ(Search({"S"}), (Calls{"D N1", "F S", "F N1"}));
}

//          +--0-- A --1--+
//   S --0- N             M --0-- Z      A ring: M is reached through A and B
//          +--0-- B --1--+              and discovered once, by A.
TEST_F(SLBFSTest, RingDiscoversEachEntityOnce) {
  m.Device(ckt, "S", 1);
  m.Node(ckt, "N");
  m.Device(ckt, "A");
  m.Device(ckt, "B");
  m.Node(ckt, "M");
  m.Device(ckt, "Z", 1);
  m.Connect(ckt, "S", 0, "N");
  m.Connect(ckt, "B", 0, "N");
  m.Connect(ckt, "A", 0, "N");
  m.Connect(ckt, "A", 1, "M");
  m.Connect(ckt, "B", 1, "M");
  m.Connect(ckt, "Z", 0, "M");
  EXPECT_EQ(Search({"S"}),
            (Calls{"D N", "F S", "D A", "D B", "F N", "D M", "F A", "F B", "D Z", "F M", "F Z"}));
}

//   S --0-- N --0-- A            S itself is blocked: it is searched from all
//                                the same, and A, blocked too, is never seen.
TEST_F(SLBFSTest, BlockedSourceIsStillSearchedFrom) {
  m.Device(ckt, "S", 1);
  m.Node(ckt, "N");
  m.Device(ckt, "A", 1);
  m.Connect(ckt, "S", 0, "N");
  m.Connect(ckt, "A", 0, "N");
  EXPECT_EQ(Search({"S"}, {"S", "A"}), (Calls{"D N", "F S", "F N"}));
}

TEST_F(SLBFSTest, NoSourcesNoCallbacks) {
  m.Node(ckt, "N");
  EXPECT_TRUE(Search({}).empty());
}

// Counts the callbacks and remembers the last entity finished.
struct CountingController {
  bool BreakOn(const ZELT_Grid_EntityIter&) { return false; }
  void Discovered(const ZELT_Grid_EntityIter&) { ++discovered; }
  void Finished(const ZELT_Grid_EntityIter& e) {
    ++finished;
    last = e;
  }
  long discovered = 0, finished = 0;
  ZELT_Grid_EntityIter last;
};

// A feeder as deep as a user may make one: the search must not recurse.
//   S --0-- N0 --0-- L1 --1-- N1 --0-- L2 --1-- N2 ... N100000
TEST_F(SLBFSTest, LongChainIsSearchedWithoutRecursion) {
  const int kLines = 100000;
  m.Device(ckt, "S", 1);
  ZELT_Grid_EntityIter node = m.Node(ckt, "N0");
  m.Connect(ckt, "S", 0, "N0");
  ZELT_Grid_DefIter line = m.gm.GetDefinition(ckt, m.Device(ckt, "L0"));
  ZELT_Grid_HEntityStep step;
  for (int i = 1; i <= kLines; ++i) {
    ZELT_Grid_EntityIter dev = m.gm.AddInstance(ckt, line, 1000 + 2 * i, nullptr);
    ZELT_Grid_EntityIter next = m.gm.AddConnNode(ckt, 1001 + 2 * i, nullptr);
    for (int t = 0; t < 2; ++t) {
      ZELT_Grid_HEntity end, at;
      m.gm.InitHEntStep(step, ckt, dev);
      end.AppendStep(step);
      m.gm.InitHEntStep(step, line, m.gm.GetEntityFromName(line, t == 0 ? "0" : "1"));
      end.AppendStep(step);
      m.gm.InitHEntStep(step, ckt, t == 0 ? node : next);
      at.AppendStep(step);
      m.gm.AddConnection(end, at, -i);
    }
    node = next;
  }
  std::vector<ZELT_Grid_HEntity> sources{m.Path(ckt, "S")};
  CountingController controller;
  ZELT_Grid_DefAssoc<bool> visited(m.gm, ckt, false), touched(m.gm, ckt, false);
  ZELT_Grid_SLBFS_Base_Multi_Source(m.gm, sources, controller, visited, touched);
  EXPECT_EQ(controller.finished, 2 * kLines + 2);
  EXPECT_EQ(controller.discovered, 2 * kLines + 1);
  EXPECT_TRUE(controller.last == node);
}

}  // namespace
