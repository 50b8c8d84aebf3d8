// The source-led orientation and the emission of its directed edges.
#include "orient/slorient.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "orient/slbfs.h"
#include "tolk/assert.h"
#include "tolk/pool.h"
#include "tolk/prefetch.h"

ZELT_Grid_HEntity MakeHEntity(const ZELT_Grid& gm, const ZELT_Grid_HEntity& hent, const ZELT_Grid_DefIter& def,
                              const ZELT_Grid_EntityIter& ent) {
  ZELT_Grid_HEntityStep step;
  gm.InitHEntStep(step, def, ent);
  ZELT_Grid_HEntity result(hent);
  result[result.GetLength() - 1] = step;
  return result;
}

namespace {

bool SourcesShareOneInstance(ZELT_Grid& gm, const std::vector<ZELT_Grid_HEntity>& sources) {
  for (size_t i = 1; i < sources.size(); ++i) {
    if (!sources[0].SameDef(gm, sources[i])) return false;
  }
  return true;
}

// Everything the orientation keeps per entity, in one slot: the search then reads one
// slot per entity it meets instead of one in each of four arrays. depth is the
// finishing number, -1 until the entity is finished (the numbers are taken as 32-bit
// integers when the chains are made).
struct EntityWork {
  int32_t depth = -1;
  bool visited = false;
  bool touched = false;
  bool off = false;  // the state set says OFF: the search never enters it
};
typedef ZELT_Grid_DefAssoc<EntityWork> WorkSlots;

// Copies the OFF states into the work slots, slot by slot (both arrays belong to
// the definition's graph and are numbered alike). A state set over another
// definition holds no state for these entities: its slots are numbered by
// another graph, so they would name unrelated entities or lie beyond its array.
void MarkOffEntities(const ZELT_Grid_DefIter& def, const ZELT_Grid_CondStateSetSL& cst, WorkSlots& work) {
  const ZELT_Grid_DefAssoc<ZELT_Grid_CondState>* states = cst.States();
  if (states == nullptr || !(states->GetDef() == def)) return;
  const size_t n = std::min(states->SlotCount(), work.SlotCount());
  for (size_t i = 0; i < n; ++i) work.Slots()[i].off = states->Slots()[i] == OFF;
}

struct WorkMarks {
  bool Visited(const ZELT_Grid_EntityIter& e) const { return work[e].visited; }
  void SetVisited(const ZELT_Grid_EntityIter& e) { work[e].visited = true; }
  bool Touched(const ZELT_Grid_EntityIter& e) const { return work[e].touched; }
  void SetTouched(const ZELT_Grid_EntityIter& e) { work[e].touched = true; }
  void Prefetch(const ZELT_Grid_EntityIter& e) const { tolk_Prefetch(&work[e]); }
  WorkSlots& work;
};

// VisitorSLOrient on the work slots. It also counts the pairs that the finished
// connectivity nodes can give at most (one fewer than their connections), so that
// the result is allocated once.
class WorkVisitor {
 public:
  WorkVisitor(const ZELT_Grid& gm, const ZELT_Grid_DefIter& def, WorkSlots& work) : _gm(gm), _def(def), _work(work) {}

  bool BreakOn(const ZELT_Grid_EntityIter& e) const { return _work[e].off; }
  void Discovered(const ZELT_Grid_EntityIter&) {}
  void Finished(const ZELT_Grid_EntityIter& e) {
    _work[e].depth = static_cast<int32_t>(_depth++);
    if (_gm.IsConnNode(_def, e)) _pair_bound += Degree(e) - 1;
  }
  size_t PairBound() const { return _pair_bound > 0 ? static_cast<size_t>(_pair_bound) : 0; }

 private:
  long Degree(const ZELT_Grid_EntityIter& e) const {
    long n = 0;
    for (ZELT_Grid_ConnectionIter c = _gm.GetFirstConnection(_def, e); !_gm.IsEnd(c); _gm.NextConnection(_def, e, c)) ++n;
    return n > 0 ? n : 1;
  }

  const ZELT_Grid& _gm;
  ZELT_Grid_DefIter _def;
  WorkSlots& _work;
  tolk_signed _depth = 0;
  long _pair_bound = 0;
};

// A neighbour of a connectivity node with its finishing number.
struct FinishedNeighbour {
  int32_t depth;
  ZELT_Grid_EntityIter ent;
};

// Appends node's chain to pairs. The neighbours are ordered by finishing number;
// as -1 sorts first and nothing follows from it, one unfinished neighbour (an
// OFF entity, or one beyond it) silences the whole node. A neighbour met
// through several connections counts once.
class NodeChainEmitter {
 public:
  NodeChainEmitter(const ZELT_Grid& gm, const ZELT_Grid_HEntity& first_source, const ZELT_Grid_DefIter& def,
                   const WorkSlots& work, std::vector<ZELT_Grid_HEntityPair>& pairs)
      : _gm(gm), _first_source(first_source), _def(def), _work(work), _pairs(pairs) {}

  void Emit(const ZELT_Grid_EntityIter& node) {
    if (!CollectNeighbours(node) || _neighbours.empty()) return;
    std::sort(_neighbours.begin(), _neighbours.end(),
              [](const FinishedNeighbour& a, const FinishedNeighbour& b) { return a.depth < b.depth; });
    const FinishedNeighbour* from = &_neighbours[0];
    for (const FinishedNeighbour& to : _neighbours) {
      if (to.depth == from->depth) continue;
      _pairs.emplace_back(MakeHEntity(_gm, _first_source, _def, from->ent), MakeHEntity(_gm, _first_source, _def, to.ent));
      from = &to;
    }
  }

 private:
  // False when some neighbour was never finished.
  bool CollectNeighbours(const ZELT_Grid_EntityIter& node) {
    _neighbours.clear();
    for (ZELT_Grid_ConnectionIter c = _gm.GetFirstConnection(_def, node); !_gm.IsEnd(c); _gm.NextConnection(_def, node, c)) {
      ZELT_Grid_EntityIter other = _gm.GetConOtherEnd(_def, node, c);
      int32_t depth = _work[other].depth;
      if (depth < 0) return false;
      _neighbours.push_back({depth, other});
    }
    return true;
  }

  const ZELT_Grid& _gm;
  const ZELT_Grid_HEntity& _first_source;
  ZELT_Grid_DefIter _def;
  const WorkSlots& _work;
  std::vector<ZELT_Grid_HEntityPair>& _pairs;
  std::vector<FinishedNeighbour> _neighbours;  // reused from node to node
};

// Walks the entities of a definition a fixed number of entities ahead of a loop over
// them, handing fetch the far ends of each connectivity node it passes.
template <class Fetch>
class NodeScout {
 public:
  NodeScout(const ZELT_Grid& gm, const ZELT_Grid_DefIter& def, int lead, Fetch fetch)
      : _gm(gm), _def(def), _at(gm.GetFirstEntity(def)), _fetch(fetch) {
    for (int i = 0; i < lead && !gm.IsEnd(_at); ++i) gm.NextEntity(def, _at);
  }
  void Step() {
    if (_gm.IsEnd(_at)) return;
    if (_gm.IsConnNode(_def, _at)) _gm.ForConnEnds(_def, _at, _fetch);
    _gm.NextEntity(_def, _at);
  }

 private:
  const ZELT_Grid& _gm;
  ZELT_Grid_DefIter _def;
  ZELT_Grid_EntityIter _at;
  Fetch _fetch;
};

}  // namespace

// The search is ZELT_Grid_SLBFS_Base_Multi_Source with VisitorSLOrient, run on one
// array of packed slots (WorkVisitor, WorkMarks) instead of four.
void ZELT_Grid_SLOrient(ZELT_Grid& gm, std::vector<ZELT_Grid_HEntity>& sources, const ZELT_Grid_CondStateSetSL& cst,
                        std::vector<ZELT_Grid_HEntityPair>& pairs) {
  pairs.clear();
  if (sources.empty()) return;
  if (!SourcesShareOneInstance(gm, sources)) {
    fprintf(stderr, "WARNING(%s):  Differing grid def.s among multiple sources; empty result will be returned.\n",
            "ZELT_Grid_SLOrient");
    fflush(stderr);
    return;
  }
  const ZELT_Grid_HEntity& first_source = sources[0];
  TOLK_ASSERT(first_source.GetLength() > 0, "empty source path");
  ZELT_Grid_DefIter first_def = first_source.GetLeafDef(gm);

  WorkSlots work(gm, first_def, EntityWork());
  MarkOffEntities(first_def, cst, work);
  WorkVisitor visitor(gm, first_def, work);
  WorkMarks marks{work};
  ZELT_Grid_SLBFS_Search(gm, sources, visitor, marks);

  pairs.reserve(visitor.PairBound());
  tolk_AdviseHugePages(pairs.data(), pairs.capacity() * sizeof(ZELT_Grid_HEntityPair));
  NodeChainEmitter emitter(gm, first_source, first_def, work, pairs);
  // In a model that outgrows the caches two scouts walk the entities ahead of the
  // emitter: the farther one fetches the records at the far ends of a node's
  // connections, the nearer one the work slots of those ends, so that the emitter
  // seldom waits for memory.
  const bool fetch_ahead = gm.WorthFetchingAhead();
  NodeScout ends_scout(gm, first_def, 8, [](const ZELT_Grid_EntityIter& end) { tolk_Prefetch(end.position); });
  NodeScout slots_scout(gm, first_def, 3, [&](const ZELT_Grid_EntityIter& end) { marks.Prefetch(end); });
  for (ZELT_Grid_EntityIter e = gm.GetFirstEntity(first_def); !gm.IsEnd(e); gm.NextEntity(first_def, e)) {
    if (fetch_ahead) {
      ends_scout.Step();
      slots_scout.Step();
    }
    if (gm.IsConnNode(first_def, e)) emitter.Emit(e);
  }
}
