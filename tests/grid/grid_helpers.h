// Small helpers shared by the grid tests: paths and entity-order snapshots.
#pragma once

#include <string>
#include <vector>

#include "grid/grid.h"

namespace gridtest {

inline ZELT_Grid_HEntity Path(const ZELT_Grid& gm, ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) {
  ZELT_Grid_HEntity h;
  ZELT_Grid_HEntityStep step;
  gm.InitHEntStep(step, def, ent);
  h.AppendStep(step);
  return h;
}

// (def, inst) then (the instantiated definition, inner).
inline ZELT_Grid_HEntity Path(const ZELT_Grid& gm, ZELT_Grid_DefIter def, ZELT_Grid_EntityIter inst,
                              ZELT_Grid_EntityIter inner) {
  ZELT_Grid_HEntity h = Path(gm, def, inst);
  ZELT_Grid_HEntityStep step;
  gm.InitHEntStep(step, gm.GetDefinition(def, inst), inner);
  h.AppendStep(step);
  return h;
}

inline std::string NameOr(const char* name) { return name ? name : "<null>"; }

// Entity names in walk order.
inline std::vector<std::string> EntityNames(const ZELT_Grid& gm, ZELT_Grid_DefIter def) {
  std::vector<std::string> names;
  for (ZELT_Grid_EntityIter e = gm.GetFirstEntity(def); !gm.IsEnd(e); gm.NextEntity(def, e))
    names.push_back(NameOr(gm.GetEntityName(def, e)));
  return names;
}

// Ids of the connections of one entity in walk order.
inline std::vector<long> ConnectionIds(const ZELT_Grid& gm, ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) {
  std::vector<long> ids;
  for (ZELT_Grid_ConnectionIter c = gm.GetFirstConnection(def, ent); !gm.IsEnd(c); gm.NextConnection(def, ent, c))
    ids.push_back(gm.GetConnectionID(def, c));
  return ids;
}

}  // namespace gridtest
