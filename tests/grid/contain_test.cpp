// Tests of containment and support relations.
#include <gtest/gtest.h>

#include <algorithm>
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

// Only instances are contained, and removing a container instance releases what it held; the random run
// below checks the rest against a model.
TEST(GridContainment, OnlyInstancesAreContainedAndContainersReleaseWhenRemoved) {
  Cabinet k(3);
  ZELT_Grid_EntityIter c = k.inst[0];
  EXPECT_EQ(k.gm.AddContainerOf(k.ckt, k.term, c), 1);
  EXPECT_EQ(k.gm.AddContainerOf(k.ckt, k.node, c), 1);
  for (int i : {2, 1}) EXPECT_EQ(k.gm.AddContainerOf(k.ckt, k.inst[i], c), 0);
  EXPECT_EQ(k.gm.AddContainerOf(k.ckt, c, k.node), 0);  // the container's kind is not looked at
  EXPECT_EQ(k.gm.RemoveInst(k.ckt, c), 0);
  for (int i : {1, 2}) EXPECT_TRUE(k.gm.IsEnd(k.gm.GetContainer(k.ckt, k.inst[i])));
  EXPECT_TRUE(k.Containees(k.node).empty());
  EXPECT_EQ(k.gm.RemoveContaineesOf(k.ckt, k.node), 1);
}

// Random additions and removals against a model: the relations in the order
// they were made. After every step each entity's container and each
// container's set must agree with it.
TEST(GridContainment, RandomSequencesKeepBothMapsInStep) {
  const int n = 24;
  Cabinet k(n);
  std::vector<std::pair<int, int>> relations;  // (contained, container)
  auto containerOf = [&](int e) {
    return std::find_if(relations.begin(), relations.end(), [e](auto& r) { return r.first == e; });
  };
  std::mt19937 rng(12345);
  for (int step = 0; step < 3000; ++step) {
    int e = rng() % n, c = rng() % n;
    switch (rng() % 4) {
      case 0:
      case 1: {
        bool added = e != c && containerOf(e) == relations.end();
        EXPECT_EQ(k.gm.AddContainerOf(k.ckt, k.inst[e], k.inst[c]), added ? 0 : 1);
        if (added) relations.emplace_back(e, c);
        break;
      }
      case 2:
        EXPECT_EQ(k.gm.RemoveContainerOf(k.ckt, k.inst[e]), containerOf(e) == relations.end() ? 1 : 0);
        std::erase_if(relations, [e](auto& r) { return r.first == e; });
        break;
      case 3:
        EXPECT_EQ(k.gm.RemoveContaineesOf(k.ckt, k.inst[c]), std::erase_if(relations, [c](auto& r) { return r.second == c; }) ? 0 : 1);
        break;
    }
    for (int i = 0; i < n; ++i) {
      auto found = containerOf(i);
      ASSERT_EQ(k.gm.GetContainer(k.ckt, k.inst[i]), found == relations.end() ? ZELT_Grid_EntityIter() : k.inst[found->second])
          << "step " << step << " entity " << i;
      Ents inside;
      for (auto& [x, holder] : relations)
        if (holder == i) inside.push_back(k.inst[x]);
      ASSERT_EQ(k.Containees(k.inst[i]), inside) << "step " << step << " container " << i;
    }
  }
}

TEST(GridSupport, ListsInBothDirectionsThatForgetRemovedPartners) {
  Cabinet k(3);
  ZELT_Grid_EntityIter line = k.inst[0], pole1 = k.inst[1], pole2 = k.inst[2];
  EXPECT_TRUE(k.gm.GetSupporters(k.ckt, line).empty());
  k.gm.AddSupportRelation(k.ckt, line, pole1);
  k.gm.AddSupportRelation(k.ckt, line, pole2);
  EXPECT_EQ(Ents(k.gm.GetSupporters(k.ckt, line).begin(), k.gm.GetSupporters(k.ckt, line).end()),
            (Ents{pole1, pole2}));
  EXPECT_EQ(Ents(k.gm.GetSupportees(k.ckt, pole1).begin(), k.gm.GetSupportees(k.ckt, pole1).end()), (Ents{line}));
  // The lists are ordinary properties: the line carries one entry, key 1.
  ZELT_Grid_PropIter it = k.gm.GetFirstProperty(k.ckt, line);
  EXPECT_EQ(k.gm.GetPropertyKey(k.ckt, line, it), 1);
  k.gm.NextProperty(k.ckt, line, it);
  EXPECT_TRUE(k.gm.IsEnd(it));

  EXPECT_EQ(k.gm.RemoveInst(k.ckt, pole1), 0);
  EXPECT_EQ(Ents(k.gm.GetSupporters(k.ckt, line).begin(), k.gm.GetSupporters(k.ckt, line).end()), (Ents{pole2}));
  EXPECT_EQ(k.gm.RemoveInst(k.ckt, line), 0);
  EXPECT_TRUE(k.gm.GetSupportees(k.ckt, pole2).empty());
}

}  // namespace
