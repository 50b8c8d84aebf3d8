// Text dumps of grid models built from GDF, in the grid's own walking orders.
#include "model_dump.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "grid/util.h"

namespace {

std::string Quoted(const char* name) {
  if (name == nullptr) return "{}";
  std::string quoted(1, '"');
  return quoted.append(name).append(1, '"');
}

std::string ValueText(const ZELT_Grid_PropData& value) {
  if (value.IsNull()) return "null";
  std::string text;
  value.AppendText(text);
  return text;
}

std::string PropName(ZELT_PropRegistry& props, int key) {
  std::string name;
  if (!props.GetPropertyName(key, name)) name.assign(1, '#').append(std::to_string(key));
  return name;
}

const char* EntityKind(ZELT_Grid& grid, ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) {
  if (grid.IsTerminal(def, ent)) return "terminal";
  if (grid.IsConnNode(def, ent)) return "node";
  return "instance";
}

} // namespace

GdfModel::GdfModel() {
  builder.SetPropReg(props);
  builder.SetRootReg(roots);
  builder.SetAssetClassReg(asset_classes);
  builder.SetTestMode(true);
}

std::string GdfModel::Parse(const std::string& text, bool* ok, int* warnings) {
  int count = -1;
  testing::internal::CaptureStderr();
  const bool parsed = builder.ParseGDF(text.c_str(), &count);
  std::string printed = testing::internal::GetCapturedStderr();
  if (ok != nullptr) *ok = parsed;
  if (warnings != nullptr) *warnings = count;
  return printed;
}

std::string GdfModel::Dump() {
  std::ostringstream out;
  for (ZELT_Grid_DefIter def = grid.GetFirstDef(); !grid.IsEnd(def); grid.NextDef(def)) {
    const bool element = grid.IsElementDef(def);
    out << (element ? "element " : "circuit ") << grid.GetDefID(def) << ' ' << Quoted(grid.GetDefName(def));
    if (grid.GetDefAssetClassKey(def) >= 0) out << " asset class " << grid.GetDefAssetClassKey(def);
    out << '\n';
    for (ZELT_Grid_DefPropIter p = grid.GetFirstDefProperty(def); !grid.IsEnd(p); grid.NextDefProperty(def, p))
      out << "  " << PropName(props, grid.GetDefPropertyKey(def, p)) << " = "
          << ValueText(grid.GetDefPropertyValue(def, p)) << '\n';
    for (ZELT_Grid_EntityIter ent = grid.GetFirstEntity(def); !grid.IsEnd(ent); grid.NextEntity(def, ent)) {
      out << "  " << EntityKind(grid, def, ent) << ' ' << grid.GetEntityID(def, ent) << ' '
          << Quoted(grid.GetEntityName(def, ent));
      const ZELT_Grid_DefIter type = grid.GetDefinition(def, ent);
      if (!grid.IsEnd(type)) out << " of " << Quoted(grid.GetDefName(type));
      out << '\n';
      for (ZELT_Grid_PropIter p = grid.GetFirstProperty(def, ent); !grid.IsEnd(p); grid.NextProperty(def, ent, p)) {
        const int key = grid.GetPropertyKey(def, ent, p);
        if (key == ZELT_SUPPORTER_PROP || key == ZELT_SUPPORTEE_PROP) continue; // listed below
        out << "    " << PropName(props, key) << " = " << ValueText(grid.GetPropertyValue(def, ent, p)) << '\n';
      }
      // An element's connections are always its star; they say nothing about the GDF.
      if (!element) {
        for (ZELT_Grid_ConnectionIter c = grid.GetFirstConnection(def, ent); !grid.IsEnd(c);
             grid.NextConnection(def, ent, c))
          out << "    conn " << grid.GetConnectionID(def, c) << " to "
              << ZELT_Grid_Util::HEntToString(grid.HGetConOtherEnd(def, ent, c), grid) << '\n';
      }
      const ZELT_Grid_EntityIter container = grid.GetContainer(def, ent);
      if (!grid.IsEnd(container)) out << "    in " << Quoted(grid.GetEntityName(def, container)) << '\n';
      for (const tolk_list_base_iter& it : grid.GetSupporters(def, ent))
        out << "    supported by " << Quoted(grid.GetEntityName(def, ZELT_Grid_EntityIter(it))) << '\n';
    }
  }
  // The builder orders paths by node identity, which differs between runs.
  std::map<std::string, const ZELT_Grid_HEntity*> paths;
  for (const auto& [hent, unused] : builder.InstancesWithHProp())
    paths.emplace(ZELT_Grid_Util::HEntToString(hent, grid), &hent);
  for (const auto& [text, path] : paths) {
    const ZELT_Grid_HEntity& hent = *path;
    out << "path " << text << '\n';
    for (ZELT_Grid_HPropIter p = grid.GetFirstHProperty(hent); !grid.IsEnd(p); grid.NextHProperty(hent, p))
      out << "  " << PropName(props, grid.GetHPropKey(hent, p)) << " = " << ValueText(grid.GetHPropValue(hent, p))
          << '\n';
  }
  if (roots.Find("default") >= 0) out << "root " << roots.Find("default") << '\n';
  DumpProperties(out);
  return out.str();
}

// Registered properties beyond the reserved ones, with their value type codes and kinds.
void GdfModel::DumpProperties(std::ostream& out) {
  static const char* const kKinds[] = {"static", "time series", "aux"};
  std::string name;
  for (int key = ZELT_NUM_RESERVED_PROPS; props.GetPropertyName(key, name); ++key) {
    int type = 0;
    props.GetPropertyType(key, type);
    ZELT_Grid_Prop_Iter it = props.GetPropFromName(name.c_str());
    out << "property " << key << ' ' << name << " type " << type << ' '
        << (props.IsEnd(it) ? "?" : kKinds[static_cast<int>(it->second)]) << '\n';
  }
}
