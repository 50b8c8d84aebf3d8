// Grid models built in code for the orientation tests: named circuits, nodes and devices.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "grid/grid.h"
#include "grid/util.h"

// Owns a grid and builds circuits in it the way the GDF builder does: devices
// are instances of element definitions "Dev<n>" with terminals 0 .. n-1, and
// a connection runs from (device, terminal) to a connectivity node. Ids come
// from one counter, so entity ids follow the order of creation.
class TestModel {
 public:
  ZELT_Grid gm;

  ZELT_Grid_DefIter Circuit(const char* name, const std::vector<const char*>& terminals = {}) {
    ZELT_Grid_DefIter def = gm.AddCircuitDef(_next_def_id++, name);
    for (const char* t : terminals) gm.AddTerminal(def, _next_id++, t);
    return def;
  }

  ZELT_Grid_EntityIter Node(ZELT_Grid_DefIter def, const char* name) {
    return gm.AddConnNode(def, _next_id++, name);
  }

  // A device with nterminals terminals.
  ZELT_Grid_EntityIter Device(ZELT_Grid_DefIter def, const char* name, int nterminals = 2) {
    return gm.AddInstance(def, Element(nterminals), _next_id++, name);
  }

  ZELT_Grid_EntityIter Instance(ZELT_Grid_DefIter def, const char* name, ZELT_Grid_DefIter type) {
    return gm.AddInstance(def, type, _next_id++, name);
  }

  // Connects terminal `terminal` of the instance `inst` to the node `node` of def.
  void Connect(ZELT_Grid_DefIter def, const char* inst, const char* terminal, const char* node) {
    ZELT_Grid_EntityIter i = Ent(def, inst);
    ZELT_Grid_HEntity end = Path(def, inst);
    AppendStep(end, gm.GetDefinition(def, i), gm.GetEntityFromName(gm.GetDefinition(def, i), terminal));
    gm.AddConnection(end, Path(def, node), _next_id++);
  }
  void Connect(ZELT_Grid_DefIter def, const char* device, int terminal, const char* node) {
    Connect(def, device, std::to_string(terminal).c_str(), node);
  }

  ZELT_Grid_EntityIter Ent(ZELT_Grid_DefIter def, const char* name) { return gm.GetEntityFromName(def, name); }

  // The one-step path of the entity named `name` in def.
  ZELT_Grid_HEntity Path(ZELT_Grid_DefIter def, const char* name) {
    ZELT_Grid_HEntity h;
    AppendStep(h, def, Ent(def, name));
    return h;
  }

  // The path through the instance `inst` of def down to `name` inside it.
  ZELT_Grid_HEntity Path(ZELT_Grid_DefIter def, const char* inst, const char* name) {
    ZELT_Grid_HEntity h = Path(def, inst);
    ZELT_Grid_DefIter inner = gm.GetDefinition(def, Ent(def, inst));
    AppendStep(h, inner, Ent(inner, name));
    return h;
  }

  std::string Name(const ZELT_Grid_HEntity& h) const { return ZELT_Grid_Util::HEntToString(h, gm); }
  std::string Name(ZELT_Grid_DefIter def, const ZELT_Grid_EntityIter& e) const {
    const char* name = gm.GetEntityName(def, e);
    return name ? name : "{}";
  }

 private:
  ZELT_Grid_DefIter Element(int nterminals) {
    auto found = _elements.find(nterminals);
    if (found != _elements.end()) return found->second;
    std::vector<long> termids;
    for (int t = 0; t < nterminals; ++t) termids.push_back(t);
    std::string name = "Dev" + std::to_string(nterminals);
    ZELT_Grid_DefIter def = gm.AddElementDef(_next_def_id++, nterminals, termids.data(), name.c_str());
    _elements.emplace(nterminals, def);
    return def;
  }

  void AppendStep(ZELT_Grid_HEntity& h, ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const {
    ZELT_Grid_HEntityStep step;
    gm.InitHEntStep(step, def, ent);
    h.AppendStep(step);
  }

  std::map<int, ZELT_Grid_DefIter> _elements;
  long _next_def_id = 100;
  long _next_id = 0;
};
