// Source-led orientation: directs a definition's connectivity away from a set
// of sources and lists the directed edges as pairs of hierarchical entities.
#pragma once

#include <utility>
#include <vector>

#include "orient/condstate.h"
#include "tolk/types.h"

// The orientation's controller: stops at OFF entities and numbers entities in
// the order the search finishes them (0, 1, 2, ...).
class VisitorSLOrient {
 public:
  VisitorSLOrient(const ZELT_Grid_CondStateSetSL& cst, ZELT_Grid_DefAssoc<long>& depths)
      : _cst(cst), _depths(depths) {}

  bool BreakOn(const ZELT_Grid_EntityIter& e) const { return _cst.GetState(e) == OFF; }
  void Discovered(const ZELT_Grid_EntityIter&) {}
  void Finished(const ZELT_Grid_EntityIter& e) { _depths[e] = _depth++; }

 private:
  const ZELT_Grid_CondStateSetSL& _cst;
  ZELT_Grid_DefAssoc<long>& _depths;
  tolk_signed _depth = 0;
};

// A copy of hent that ends at ent instead: the same path from the root, with
// its last step replaced by the step (def, ent).
ZELT_Grid_HEntity MakeHEntity(const ZELT_Grid& gm, const ZELT_Grid_HEntity& hent, const ZELT_Grid_DefIter& def,
                              const ZELT_Grid_EntityIter& ent);

typedef std::pair<ZELT_Grid_HEntity, ZELT_Grid_HEntity> ZELT_Grid_HEntityPair;

// Clears pairs, searches from all sources at once without entering OFF
// entities, then at every connectivity node of the sources' definition (in
// entity order) chains the neighbours in finishing order: first to second,
// second to third, and so on. A node with a neighbour the search never
// finished contributes nothing. Sources in different definitions, or in
// different instances of one definition, give a warning and no pairs; no
// sources give no pairs.
void ZELT_Grid_SLOrient(ZELT_Grid& gm, std::vector<ZELT_Grid_HEntity>& sources, const ZELT_Grid_CondStateSetSL& cst,
                        std::vector<ZELT_Grid_HEntityPair>& pairs);
