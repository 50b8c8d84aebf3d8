// One breadth-first search from many sources at once, reporting to a controller.
#pragma once

#include <vector>

#include "grid/defassoc.h"
#include "tolk/dqueue.h"
#include "tolk/prefetch.h"

// The search itself, over any record of which entities it has visited (expanded) and
// touched (reported as discovered). Marks supplies
//   bool Visited(e), void SetVisited(e), bool Touched(e), void SetTouched(e),
//   void Prefetch(e)   asks for e's marks ahead of their use.
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
  // The queue is read through a window of entries fetched ahead in stages: a search
  // meets entities all over memory, and each read of an expansion waits for the one
  // before it (the entity's record, its connections, their far ends, the marks of
  // those). Each stage fetches one of these a few entries before the entry's turn, in
  // a model large enough for that to pay; the order stays that of the queue.
  constexpr int kAhead = 12;
  constexpr int kConnsAt = 9;
  constexpr int kEndsAt = 6;
  constexpr int kMarksAt = 3;
  ZELT_Grid_EntityIter window[kAhead];
  int head = 0;
  int ahead = 0;
  auto at = [&](int offset) -> ZELT_Grid_EntityIter& { return window[(head + offset) % kAhead]; };
  auto fill_window = [&] {
    for (; ahead < kAhead && !queue.Empty(); ++ahead) {
      at(ahead) = queue.Get();
      tolk_Prefetch(at(ahead).position);
    }
  };
  auto fetch_stages = [&] {
    if (ahead > kConnsAt) tolk_Prefetch(gm.GetFirstConnection(dit, at(kConnsAt)).position);
    if (ahead > kEndsAt) gm.ForConnEnds(dit, at(kEndsAt), [](const ZELT_Grid_EntityIter& end) {
      tolk_Prefetch(end.position);
    });
    if (ahead > kMarksAt) gm.ForConnEnds(dit, at(kMarksAt), [&](const ZELT_Grid_EntityIter& end) {
      marks.Prefetch(end);
    });
  };
  const bool fetch_ahead = gm.WorthFetchingAhead();
  for (fill_window(); ahead > 0; fill_window()) {
    if (fetch_ahead) fetch_stages();
    const ZELT_Grid_EntityIter i0 = at(0);
    head = (head + 1) % kAhead;
    --ahead;
    if (marks.Visited(i0)) continue;  // a source listed twice
    gm.ForConnEnds(dit, i0, [&](const ZELT_Grid_EntityIter& i) {
      if (marks.Visited(i) || controller.BreakOn(i)) return;
      // A touched entity already waits in the queue ahead of any copy pushed
      // now, so a second copy could never be the one that expands it.
      if (marks.Touched(i)) return;
      controller.Discovered(i);
      marks.SetTouched(i);
      queue.Add(i);
    });
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
    void Prefetch(const ZELT_Grid_EntityIter& e) const {
      tolk_Prefetch(&visited[e]);
      tolk_Prefetch(&touched[e]);
    }
    ZELT_Grid_DefAssoc<bool>& visited;
    ZELT_Grid_DefAssoc<bool>& touched;
  } marks{visited, touched};
  ZELT_Grid_SLBFS_Search(gm, sources, controller, marks);
}
