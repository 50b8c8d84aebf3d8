// Tests of containment and support relations.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "grid/grid.h"

namespace {

using Ents = std::vector<ZELT_Grid_EntityIter>;

struct Cabinet {
  ZELT_Grid gm;
  ZELT_Grid_DefIter el = gm.AddElementDef(1, 0, nullptr, "Dev");
  ZELT_Grid_DefIter ckt = gm.AddCircuitDef(2, "Feeder");
  ZELT_Grid_EntityIter term = gm.AddTerminal(ckt, 1, "T");
  ZELT_Grid_EntityIter node = gm.AddConnNode(ckt, 2, "N");
  Ents inst;

  explicit Cabinet(int n) {
    for (int i = 0; i < n; ++i) inst.push_back(gm.AddInstance(ckt, el, 10 + i, nullptr));
  }
  Ents Containees(ZELT_Grid_EntityIter c) {
    Ents out;
    gm.GetContainees(ckt, c, out);
    return out;
  }
};

TEST(GridContainment, LeavesAndSelfCannotBeContained) {
  Cabinet k(1);
  EXPECT_EQ(k.gm.AddContainerOf(k.ckt, k.term, k.inst[0]), 1);
  EXPECT_EQ(k.gm.AddContainerOf(k.ckt, k.node, k.inst[0]), 1);
  EXPECT_EQ(k.gm.AddContainerOf(k.ckt, k.inst[0], k.inst[0]), 1);
  EXPECT_EQ(k.gm.RemoveContainerOf(k.ckt, k.inst[0]), 1);
  EXPECT_EQ(k.gm.RemoveContaineesOf(k.ckt, k.inst[0]), 1);
  // The container's own kind is not looked at.
  EXPECT_EQ(k.gm.AddContainerOf(k.ckt, k.inst[0], k.node), 0);
  EXPECT_EQ(k.gm.GetContainer(k.ckt, k.inst[0]), k.node);
}

TEST(GridContainment, OneContainerEachAndSetsInOrderOfAddition) {
  Cabinet k(5);
  ZELT_Grid_EntityIter c = k.inst[0], c2 = k.inst[1];
  EXPECT_EQ(k.gm.AddContainerOf(k.ckt, k.inst[4], c), 0);
  EXPECT_EQ(k.gm.AddContainerOf(k.ckt, k.inst[2], c), 0);
  EXPECT_EQ(k.gm.AddContainerOf(k.ckt, k.inst[3], c), 0);
  EXPECT_EQ(k.gm.AddContainerOf(k.ckt, k.inst[2], c2), 1);
  EXPECT_EQ(k.gm.GetContainer(k.ckt, k.inst[2]), c);
  EXPECT_EQ(k.Containees(c), (Ents{k.inst[4], k.inst[2], k.inst[3]}));
  EXPECT_TRUE(k.Containees(c2).empty());

  EXPECT_EQ(k.gm.RemoveContaineesOf(k.ckt, c), 0);
  for (int i : {2, 3, 4}) EXPECT_TRUE(k.gm.IsEnd(k.gm.GetContainer(k.ckt, k.inst[i])));
  EXPECT_EQ(k.gm.RemoveContaineesOf(k.ckt, c), 1);

  EXPECT_EQ(k.gm.AddContainerOf(k.ckt, k.inst[2], c2), 0);
  EXPECT_EQ(k.gm.RemoveContainerOf(k.ckt, k.inst[2]), 0);
  EXPECT_TRUE(k.Containees(c2).empty());
  EXPECT_EQ(k.gm.RemoveContaineesOf(k.ckt, c2), 1);
}

TEST(GridContainment, RemovingAContainerReleasesItsContents) {
  Cabinet k(3);
  k.gm.AddContainerOf(k.ckt, k.inst[1], k.inst[0]);
  k.gm.AddContainerOf(k.ckt, k.inst[2], k.inst[0]);
  k.gm.AddContainerOf(k.ckt, k.inst[0], k.node);
  EXPECT_EQ(k.gm.RemoveInst(k.ckt, k.inst[0]), 0);
  EXPECT_TRUE(k.gm.IsEnd(k.gm.GetContainer(k.ckt, k.inst[1])));
  EXPECT_TRUE(k.gm.IsEnd(k.gm.GetContainer(k.ckt, k.inst[2])));
  EXPECT_TRUE(k.Containees(k.node).empty());
}

// Random additions and removals against a model map; after every step each
// entity's container and each container's set agree with the model.
TEST(GridContainment, RandomSequencesKeepBothMapsInStep) {
  const int n = 24;
  Cabinet k(n);
  std::map<int, int> containerOf;  // contained index -> container index
  std::map<int, std::vector<int>> setOf;
  std::mt19937 rng(12345);
  auto eraseFrom = [&](int c, int e) {
    auto& v = setOf[c];
    v.erase(std::find(v.begin(), v.end(), e));
    if (v.empty()) setOf.erase(c);
  };
  for (int step = 0; step < 3000; ++step) {
    int e = rng() % n, c = rng() % n;
    switch (rng() % 4) {
      case 0:
      case 1: {
        bool expected = e != c && !containerOf.count(e);
        EXPECT_EQ(k.gm.AddContainerOf(k.ckt, k.inst[e], k.inst[c]), expected ? 0 : 1);
        if (expected) {
          containerOf[e] = c;
          setOf[c].push_back(e);
        }
        break;
      }
      case 2: {
        bool had = containerOf.count(e);
        EXPECT_EQ(k.gm.RemoveContainerOf(k.ckt, k.inst[e]), had ? 0 : 1);
        if (had) {
          eraseFrom(containerOf[e], e);
          containerOf.erase(e);
        }
        break;
      }
      case 3: {
        bool had = setOf.count(c);
        EXPECT_EQ(k.gm.RemoveContaineesOf(k.ckt, k.inst[c]), had ? 0 : 1);
        if (had) {
          for (int x : setOf[c]) containerOf.erase(x);
          setOf.erase(c);
        }
        break;
      }
    }
    for (int i = 0; i < n; ++i) {
      auto found = containerOf.find(i);
      ZELT_Grid_EntityIter expected = found == containerOf.end() ? ZELT_Grid_EntityIter() : k.inst[found->second];
      ASSERT_EQ(k.gm.GetContainer(k.ckt, k.inst[i]), expected) << "step " << step << " entity " << i;
      Ents inside;
      for (int x : setOf.count(i) ? setOf[i] : std::vector<int>{}) inside.push_back(k.inst[x]);
      ASSERT_EQ(k.Containees(k.inst[i]), inside) << "step " << step << " container " << i;
    }
  }
}

TEST(GridSupport, ListsInBothDirectionsInOrderOfAddition) {
  Cabinet k(4);
  ZELT_Grid_EntityIter line = k.inst[0], pole1 = k.inst[1], pole2 = k.inst[2];
  EXPECT_TRUE(k.gm.GetSupporters(k.ckt, line).empty());
  k.gm.AddSupportRelation(k.ckt, line, pole1);
  k.gm.AddSupportRelation(k.ckt, line, pole2);
  const std::vector<tolk_list_base_iter>& supporters = k.gm.GetSupporters(k.ckt, line);
  ASSERT_EQ(supporters.size(), 2u);
  EXPECT_EQ(ZELT_Grid_EntityIter(supporters[0]), pole1);
  EXPECT_EQ(ZELT_Grid_EntityIter(supporters[1]), pole2);
  ASSERT_EQ(k.gm.GetSupportees(k.ckt, pole1).size(), 1u);
  EXPECT_EQ(ZELT_Grid_EntityIter(k.gm.GetSupportees(k.ckt, pole1)[0]), line);

  // The lists are ordinary properties: the line carries one entry, key 1.
  int entries = 0;
  for (ZELT_Grid_PropIter it = k.gm.GetFirstProperty(k.ckt, line); !k.gm.IsEnd(it);
       k.gm.NextProperty(k.ckt, line, it), ++entries)
    EXPECT_EQ(k.gm.GetPropertyKey(k.ckt, line, it), 1);
  EXPECT_EQ(entries, 1);
}

TEST(GridSupport, RemovedEntityLeavesItsPartnersLists) {
  Cabinet k(3);
  ZELT_Grid_EntityIter line = k.inst[0], pole1 = k.inst[1], pole2 = k.inst[2];
  k.gm.AddSupportRelation(k.ckt, line, pole1);
  k.gm.AddSupportRelation(k.ckt, line, pole2);
  EXPECT_EQ(k.gm.RemoveInst(k.ckt, pole1), 0);
  ASSERT_EQ(k.gm.GetSupporters(k.ckt, line).size(), 1u);
  EXPECT_EQ(ZELT_Grid_EntityIter(k.gm.GetSupporters(k.ckt, line)[0]), pole2);
  EXPECT_EQ(k.gm.RemoveInst(k.ckt, line), 0);
  EXPECT_TRUE(k.gm.GetSupportees(k.ckt, pole2).empty());
}

}  // namespace
