// One breadth-first search from many sources at once, reporting to a controller.
#pragma once

#include <vector>

#include "grid/defassoc.h"
#include "tolk/dqueue.h"

// The search itself, over any record of which entities it has visited (expanded) and
// touched (reported as discovered). Marks supplies
//   bool Visited(e), void SetVisited(e), bool Touched(e), void SetTouched(e).
template <class Controller, class Marks>
void ZELT_Grid_SLBFS_Search(ZELT_Grid& gm, std::vector<ZELT_Grid_HEntity>& sources, Controller& controller,
                            Marks& marks) {
  tolk_QUEUE<ZELT_Grid_EntityIter> queue(1024);
  ZELT_Grid_DefIter dit;
  for (const ZELT_Grid_HEntity& source : sources) {
    TOLK_ASSERT(source.GetLength() > 0, "empty source path");
    ZELT_Grid_HEntityStep last = source[source.GetLength() - 1];
    dit = gm.GetDefIt(last);
    queue.Add(gm.GetEntIt(last));
  }
  // The queue is read through a window of a few entries whose records are fetched
  // ahead: a search meets entities all over memory, and overlapping their fetches
  // leaves the order as it is (a queue read through a queue).
  constexpr int kAhead = 8;
  ZELT_Grid_EntityIter window[kAhead];
  int head = 0;
  int ahead = 0;
  auto fill_window = [&] {
    for (; ahead < kAhead && !queue.Empty(); ++ahead) {
      ZELT_Grid_EntityIter next = queue.Get();
      __builtin_prefetch(next.position);
      window[(head + ahead) % kAhead] = next;
    }
  };
  for (fill_window(); ahead > 0; fill_window()) {
    ZELT_Grid_EntityIter i0 = window[head];
    head = (head + 1) % kAhead;
    --ahead;
    if (marks.Visited(i0)) continue;  // a source listed twice
    for (ZELT_Grid_ConnectionIter c = gm.GetFirstConnection(dit, i0); !gm.IsEnd(c); gm.NextConnection(dit, i0, c)) {
      ZELT_Grid_EntityIter i = gm.GetConOtherEnd(dit, i0, c);
      if (marks.Visited(i) || controller.BreakOn(i)) continue;
      // A touched entity already waits in the queue ahead of any copy pushed
      // now, so a second copy could never be the one that expands it.
      if (marks.Touched(i)) continue;
      controller.Discovered(i);
      marks.SetTouched(i);
      queue.Add(i);
    }
    marks.SetVisited(i0);
    controller.Finished(i0);
  }
}

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
  struct TwoArrays {
    bool Visited(const ZELT_Grid_EntityIter& e) const { return visited[e]; }
    void SetVisited(const ZELT_Grid_EntityIter& e) { visited[e] = true; }
    bool Touched(const ZELT_Grid_EntityIter& e) const { return touched[e]; }
    void SetTouched(const ZELT_Grid_EntityIter& e) { touched[e] = true; }
    ZELT_Grid_DefAssoc<bool>& visited;
    ZELT_Grid_DefAssoc<bool>& touched;
  } marks{visited, touched};
  ZELT_Grid_SLBFS_Search(gm, sources, controller, marks);
}
