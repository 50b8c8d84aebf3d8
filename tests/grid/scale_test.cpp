// A model of 10^5 entities, built and torn down whole (run it under the asan preset).
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "grid/grid.h"
#include "grid_helpers.h"

using gridtest::Path;

namespace {

// A radial chain node - line - node - line ... with names, ids, properties and
// containment, so that teardown meets every kind of data the model holds.
TEST(GridScale, HundredThousandEntitiesBuiltAndDestroyed) {
  const long lines = 50000;
  auto gm = std::make_unique<ZELT_Grid>();
  long termids[] = {0, 1};
  ZELT_Grid_DefIter line = gm->AddElementDef(1, 2, termids, "Line");
  gm->AddDefProperty(line, 0, ZELT_Grid_PropData("Lines"));
  ZELT_Grid_DefIter ckt = gm->AddCircuitDef(2, "Feeder");
  ZELT_Grid_EntityIter t0 = gm->GetEntityFromId(line, 0), t1 = gm->GetEntityFromId(line, 1);

  long nextId = 0;
  ZELT_Grid_EntityIter node = gm->AddConnNode(ckt, nextId++, "n0");
  ZELT_Grid_EntityIter cabinet = gm->AddInstance(ckt, line, nextId++, "cabinet");
  for (long i = 0; i < lines; ++i) {
    std::string tag = std::to_string(i);
    ZELT_Grid_EntityIter inst = gm->AddInstance(ckt, line, nextId++, ("l" + tag).c_str());
    ZELT_Grid_EntityIter next = gm->AddConnNode(ckt, nextId++, ("n" + tag).c_str());
    gm->AddConnection(Path(*gm, ckt, inst, t0), Path(*gm, ckt, node), nextId++);
    gm->AddConnection(Path(*gm, ckt, inst, t1), Path(*gm, ckt, next), nextId++);
    if (i % 10 == 0) gm->AddProperty(ckt, inst, 3, ZELT_Grid_PropData(static_cast<int>(i)));
    if (i % 100 == 0) gm->AddContainerOf(ckt, inst, cabinet);
    if (i % 1000 == 0) {
      ZELT_Grid_PropData v(1);
      gm->AddHProperty(Path(*gm, ckt, inst, t0), 4, v);
    }
    node = next;
  }

  long entities = 0, connections = 0;
  for (ZELT_Grid_EntityIter e = gm->GetFirstEntity(ckt); !gm->IsEnd(e); gm->NextEntity(ckt, e)) {
    ++entities;
    connections += static_cast<long>(gridtest::ConnectionIds(*gm, ckt, e).size());
  }
  EXPECT_EQ(entities, 2 * lines + 2);
  EXPECT_EQ(connections, 4 * lines);  // each connection is met from both ends
  EXPECT_EQ(gm->GetDefFromId(2), ckt);
  EXPECT_FALSE(gm->IsEnd(gm->GetEntityFromName(ckt, "l49999")));
  gm.reset();
}

}  // namespace
