// The source-led orientation and the emission of its directed edges.
#include "orient/slorient.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "orient/slbfs.h"

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
                   const ZELT_Grid_DefAssoc<long>& depths, std::vector<ZELT_Grid_HEntityPair>& pairs)
      : _gm(gm), _first_source(first_source), _def(def), _depths(depths), _pairs(pairs) {}

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
      int32_t depth = static_cast<int32_t>(_depths[other]);
      if (depth < 0) return false;
      _neighbours.push_back({depth, other});
    }
    return true;
  }

  const ZELT_Grid& _gm;
  const ZELT_Grid_HEntity& _first_source;
  ZELT_Grid_DefIter _def;
  const ZELT_Grid_DefAssoc<long>& _depths;
  std::vector<ZELT_Grid_HEntityPair>& _pairs;
  std::vector<FinishedNeighbour> _neighbours;  // reused from node to node
};

}  // namespace

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
  ZELT_Grid_DefIter first_def = first_source.GetLeafDef(gm);

  ZELT_Grid_DefAssoc<long> depths(gm, first_def, -1);
  VisitorSLOrient visitor(cst, depths);
  ZELT_Grid_DefAssoc<bool> pvisited(gm, first_def, false);
  ZELT_Grid_DefAssoc<bool> touched(gm, first_def, false);
  ZELT_Grid_SLBFS_Base_Multi_Source(gm, sources, visitor, pvisited, touched);

  NodeChainEmitter emitter(gm, first_source, first_def, depths, pairs);
  for (ZELT_Grid_EntityIter e = gm.GetFirstEntity(first_def); !gm.IsEnd(e); gm.NextEntity(first_def, e)) {
    if (gm.IsConnNode(first_def, e)) emitter.Emit(e);
  }
}
