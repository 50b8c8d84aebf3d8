// One breadth-first search from many sources at once, reporting to a controller.
#pragma once

#include <vector>

#include "grid/defassoc.h"
#include "tolk/dqueue.h"

// Searches the entities of the sources' definition (the definition of the last
// step of each source; all sources must lie in the same one), following every
// entity's connections in the grid's order, newest first. The controller
// supplies:
//   bool BreakOn(const ZELT_Grid_EntityIter&)     true: never enter this entity
//   void Discovered(const ZELT_Grid_EntityIter&)  first sight from a neighbour
//   void Finished(const ZELT_Grid_EntityIter&)    the entity has been expanded
// Sources are searched from whatever BreakOn says of them; they are neither
// marked touched nor reported as discovered unless a neighbour finds them
// before their turn. Entities finish in order of first removal from the
// queue: the sources in their order, then level by level. Uses a queue, never
// recursion, so the depth of a user's model cannot overflow the stack.
template <class Controller>
void ZELT_Grid_SLBFS_Base_Multi_Source(ZELT_Grid& gm, std::vector<ZELT_Grid_HEntity>& sources,
                                       Controller& controller, ZELT_Grid_DefAssoc<bool>& visited,
                                       ZELT_Grid_DefAssoc<bool>& touched) {
  tolk_QUEUE<ZELT_Grid_EntityIter> queue(1024);
  ZELT_Grid_DefIter dit;
  for (const ZELT_Grid_HEntity& source : sources) {
    TOLK_ASSERT(source.GetLength() > 0, "empty source path");
    ZELT_Grid_HEntityStep last = source[source.GetLength() - 1];
    dit = gm.GetDefIt(last);
    queue.Add(gm.GetEntIt(last));
  }
  while (!queue.Empty()) {
    ZELT_Grid_EntityIter i0 = queue.Get();
    if (visited[i0]) continue;  // a source listed twice
    for (ZELT_Grid_ConnectionIter c = gm.GetFirstConnection(dit, i0); !gm.IsEnd(c); gm.NextConnection(dit, i0, c)) {
      ZELT_Grid_EntityIter i = gm.GetConOtherEnd(dit, i0, c);
      if (visited[i] || controller.BreakOn(i)) continue;
      // A touched entity already waits in the queue ahead of any copy pushed
      // now, so a second copy could never be the one that expands it.
      if (touched[i]) continue;
      controller.Discovered(i);
      touched[i] = true;
      queue.Add(i);
    }
    visited[i0] = true;
    controller.Finished(i0);
  }
}
