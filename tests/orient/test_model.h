// Grid models built in code for the orientation tests: circuits wired from a one-line description.
#pragma once

#include <algorithm>
#include <map>
#include <set>
#include <sstream>
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

  ZELT_Grid_DefIter Circuit(const char* name) { return gm.AddCircuitDef(_next_def_id++, name); }
  ZELT_Grid_EntityIter Node(ZELT_Grid_DefIter def, const std::string& name) {
    return gm.AddConnNode(def, _next_id++, name.c_str());
  }
  ZELT_Grid_EntityIter Instance(ZELT_Grid_DefIter def, const std::string& name, ZELT_Grid_DefIter type) {
    return gm.AddInstance(def, type, _next_id++, name.c_str());
  }

  // Wires def from connections written "DEV.T-NODE", blank-separated and in
  // the order they are made: terminal T of device DEV to node NODE. Nodes are
  // made first, then devices, each in order of first mention; a device gets
  // as many terminals as its highest terminal number needs.
  void Wire(ZELT_Grid_DefIter def, const std::string& connections) {
    struct Conn {
      std::string device, node;
      int terminal;
    };
    std::vector<Conn> conns;
    std::vector<std::string> nodes, devices;
    std::set<std::string> seen_nodes;
    std::map<std::string, int> terminals;
    std::istringstream in(connections);
    for (std::string word; in >> word;) {
      size_t dot = word.find('.'), dash = word.find('-');
      Conn c{word.substr(0, dot), word.substr(dash + 1), std::stoi(word.substr(dot + 1, dash - dot - 1))};
      if (!terminals.count(c.device)) devices.push_back(c.device);
      if (seen_nodes.insert(c.node).second) nodes.push_back(c.node);
      terminals[c.device] = std::max(terminals[c.device], c.terminal + 1);
      conns.push_back(c);
    }
    for (const std::string& n : nodes) Node(def, n);
    for (const std::string& d : devices) Instance(def, d, Element(terminals[d]));
    for (const Conn& c : conns) {
      ZELT_Grid_DefIter type = gm.GetDefinition(def, Ent(def, c.device));
      ZELT_Grid_HEntity end = Path(def, c.device);
      AppendStep(end, type, gm.GetEntityFromName(type, std::to_string(c.terminal).c_str()));
      gm.AddConnection(end, Path(def, c.node), _next_id++);
    }
  }

  ZELT_Grid_EntityIter Ent(ZELT_Grid_DefIter def, const std::string& name) {
    return gm.GetEntityFromName(def, name.c_str());
  }

  // The path from def to `name`, through the instances named before it.
  ZELT_Grid_HEntity Path(ZELT_Grid_DefIter def, const std::string& name, const std::string& inner = "") {
    ZELT_Grid_HEntity h;
    AppendStep(h, def, Ent(def, name));
    if (!inner.empty()) {
      ZELT_Grid_DefIter type = gm.GetDefinition(def, Ent(def, name));
      AppendStep(h, type, Ent(type, inner));
    }
    return h;
  }

  std::string Name(const ZELT_Grid_HEntity& h) const { return ZELT_Grid_Util::HEntToString(h, gm); }
  std::string Name(ZELT_Grid_DefIter def, const ZELT_Grid_EntityIter& e) const { return gm.GetEntityName(def, e); }

 private:
  ZELT_Grid_DefIter Element(int nterminals) {
    auto found = _elements.find(nterminals);
    if (found != _elements.end()) return found->second;
    std::vector<long> termids;
    for (int t = 0; t < nterminals; ++t) termids.push_back(t);
    std::string name = "Dev" + std::to_string(nterminals);
    return _elements[nterminals] = gm.AddElementDef(_next_def_id++, nterminals, termids.data(), name.c_str());
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
