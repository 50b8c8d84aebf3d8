// The GDF builder's property side: declarations, property sets, values on entities, paths and definitions, asset classes.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_set>
#include <vector>

#include "gdf/gdf_values.h"
#include "gdf/parse_to_grid.h"
#include "grid/common.h"
#include "registry/asset_class_registry.h"
#include "tolk/assert.h"

namespace {

constexpr const char* kModuleName = "ZELT_Grid_GDF_ParseToGrid";

// The builder's names of value types, which AUX property names carry.
const char* BuilderTypeName(ZELT_Grid_ValueType type) {
  static const char* const kNames[] = {"none",      "string", "string",      "int32set", "int32",
                                       "int64set", "int64",  "float64set", "float64"};
  const int code = static_cast<int>(type);
  TOLK_ASSERT(code >= 0 && code < int(sizeof kNames / sizeof kNames[0]), "AUX property of an unknown value type");
  return kNames[code];
}

bool IsType(ZELT_Grid_PropKeyAndType kt, ZELT_Grid_ValueType type) { return kt.type == type; }

// ---- Values from what the parser formed ----

ZELT_Grid_PropData MakeValue(ZELT_Grid_PropKeyAndType kt, long value) {
  ZELT_Grid_PropData data;
  if (IsType(kt, ZELT_Grid_ValueType::int32))
    data.InitInt32(static_cast<int32_t>(value));
  else if (IsType(kt, ZELT_Grid_ValueType::int64))
    data.InitInt64(value);
  else
    TOLK_ASSERT(false, "GDF builder: an integer for a property that is neither int32 nor int64");
  return data;
}

ZELT_Grid_PropData MakeValue(ZELT_Grid_PropKeyAndType, double value) { return ZELT_Grid_PropData(value); }

ZELT_Grid_PropData MakeValue(ZELT_Grid_PropKeyAndType, const char* text) {
  if (text != nullptr) return ZELT_Grid_PropData(text);
  ZELT_Grid_PropData data("");
  data.SetNull();
  return data;
}

ZELT_Grid_PropData MakeValue(ZELT_Grid_PropKeyAndType kt, int count, const long* values) {
  ZELT_Grid_PropData data;
  if (IsType(kt, ZELT_Grid_ValueType::int32_set)) {
    const std::vector<int32_t> narrowed(values, values + count);
    data.InitInt32Set(narrowed.data(), count);
  } else {
    TOLK_ASSERT(IsType(kt, ZELT_Grid_ValueType::int64_set), "GDF builder: integers for a property that is no integer set");
    data.InitInt64Set(values, count);
  }
  return data;
}

ZELT_Grid_PropData MakeValue(ZELT_Grid_PropKeyAndType, int count, const double* values) {
  ZELT_Grid_PropData data;
  data.InitFloat64Set(values, count);
  return data;
}

// ---- Values from the texts that property sets keep ----

template <class T>
std::vector<T> ParseList(const char* text) {
  T* values = nullptr;
  const int count = ZELT_Grid_Common::StringToNum<T>(text, &values);
  std::vector<T> list;
  if (count > 0) list.assign(values, values + count);
  delete[] values;
  return list;
}

ZELT_Grid_PropData RebuildValue(int type, const char* text) {
  ZELT_Grid_PropData data;
  switch (static_cast<ZELT_Grid_ValueType>(type)) {
    case ZELT_Grid_ValueType::large_string:
    case ZELT_Grid_ValueType::small_string:
      data.InitString(text);
      break;
    case ZELT_Grid_ValueType::int32_set: {
      const std::vector<int> list = ParseList<int>(text);
      data.InitInt32Set(list.data(), static_cast<int>(list.size()));
      break;
    }
    case ZELT_Grid_ValueType::int32:
      data.InitInt32(static_cast<int32_t>(strtol(text, nullptr, 10)));
      break;
    case ZELT_Grid_ValueType::int64_set: {
      const std::vector<long> list = ParseList<long>(text);
      data.InitInt64Set(list.data(), static_cast<int>(list.size()));
      break;
    }
    case ZELT_Grid_ValueType::int64:
      data.InitInt64(strtoll(text, nullptr, 10));
      break;
    case ZELT_Grid_ValueType::float64_set: {
      const std::vector<double> list = ParseList<double>(text);
      data.InitFloat64Set(list.data(), static_cast<int>(list.size()));
      break;
    }
    case ZELT_Grid_ValueType::float64:
      data.InitFloat64(strtod(text, nullptr));
      break;
    default:
      fprintf(stderr, "ERROR %s: Unrecognized property data type %d.\n", kModuleName, type);
      fflush(stderr);
      exit(1);
  }
  return data;
}

} // namespace

// ---- Registry side ----

// Registrations during a parse go through the builder, which forgets what it
// knew of the name; every parse starts afresh, and between parses nothing is kept.
const ZELT_Grid_GDF_ParseToGrid::PropLookup& ZELT_Grid_GDF_ParseToGrid::LookUpProp(const char* name) {
  TOLK_ASSERT(_pts != nullptr, "GDF builder: no property registry");
  for (int i = 0; i < kRecentProps && _recent_props[i] != nullptr; ++i) {
    if (strcmp(_recent_props[i]->first.c_str(), name) == 0) {
      std::rotate(_recent_props, _recent_props + i, _recent_props + i + 1);
      return _recent_props[0]->second;
    }
  }
  auto known = _prop_lookups.find(std::string_view(name));
  if (known != _prop_lookups.end()) {
    KeepRecentProp(&*known);
    return known->second;
  }
  PropLookup lookup{{-1, ZELT_Grid_ValueType::none}, false};
  int key = -1;
  int type = 0;
  if (_pts->GetKeyAndType(name, key, type)) {
    lookup.kt = {key, ZELT_Grid_ValueType(type)};
    ZELT_Grid_Prop_Iter it = _pts->GetPropFromName(name);
    lookup.time_series = !_pts->IsEnd(it) && _pts->IsTSProperty(it);
  }
  if (!_parsing) {
    _unkept_prop = lookup;
    return _unkept_prop;
  }
  KeepRecentProp(&*_prop_lookups.emplace(name, lookup).first);
  return _recent_props[0]->second;
}

void ZELT_Grid_GDF_ParseToGrid::KeepRecentProp(const std::pair<const std::string, PropLookup>* entry) {
  std::copy_backward(_recent_props, _recent_props + kRecentProps - 1, _recent_props + kRecentProps);
  _recent_props[0] = entry;
}

void ZELT_Grid_GDF_ParseToGrid::ForgetRecentProps() { std::fill(_recent_props, _recent_props + kRecentProps, nullptr); }

void ZELT_Grid_GDF_ParseToGrid::ForgetProp(const char* name) {
  ForgetRecentProps();
  const auto known = _prop_lookups.find(std::string_view(name));
  if (known != _prop_lookups.end()) _prop_lookups.erase(known);
}

ZELT_Grid_PropKeyAndType ZELT_Grid_GDF_ParseToGrid::CheckProp(const char* name) { return LookUpProp(name).kt; }

bool ZELT_Grid_GDF_ParseToGrid::IsTSProp(const char* name) { return LookUpProp(name).time_series; }

void ZELT_Grid_GDF_ParseToGrid::AddProp(const char* name, ZELT_Grid_ValueType type, ZELT_PropType proptype) {
  TOLK_ASSERT(_pts != nullptr, "AddProp: no property registry");
  ForgetProp(name);
  const bool registered = _pts->RegisterProp(name, static_cast<int>(type), proptype);
  TOLK_ASSERT2(registered, "AddProp: the registry refused the property", name);
}

int ZELT_Grid_GDF_ParseToGrid::FindOrCreateSpecialProp(const char* propname, ZELT_Grid_ValueType datatype) {
  TOLK_ASSERT(_pts != nullptr, "FindOrCreateSpecialProp: no property registry");
  std::string composite = propname;
  composite.append(";").append(BuilderTypeName(datatype));
  ForgetProp(composite.c_str());
  return _pts->RegisterSpecialProp(composite, static_cast<int>(datatype));
}

bool ZELT_Grid_GDF_ParseToGrid::HavePropSet(const char* name) {
  TOLK_ASSERT(_pts != nullptr, "HavePropSet: no property registry");
  return _pts->HavePropSet(name);
}

void ZELT_Grid_GDF_ParseToGrid::AddPropToPropset(const char* setname, ZELT_Grid_PropKeyAndType kt,
                                                 const char* value) {
  TOLK_ASSERT(value != nullptr, "AddPropToPropset: a property set member may not be null");
  _pts->AddPropToPropSet(setname, kt.key, static_cast<int>(kt.type), value);
}

void ZELT_Grid_GDF_ParseToGrid::AddPropToPropset(const char* setname, ZELT_Grid_PropKeyAndType kt, long value) {
  std::string text;
  gdf_append_integer_text(text, value);
  _pts->AddPropToPropSet(setname, kt.key, static_cast<int>(kt.type), text);
}

void ZELT_Grid_GDF_ParseToGrid::AddPropToPropset(const char* setname, ZELT_Grid_PropKeyAndType kt, double value) {
  std::string text;
  gdf_append_real_text(text, value);
  _pts->AddPropToPropSet(setname, kt.key, static_cast<int>(kt.type), text);
}

void ZELT_Grid_GDF_ParseToGrid::AddPropToPropset(const char* setname, ZELT_Grid_PropKeyAndType kt, int count,
                                                 const long* values) {
  _pts->AddPropToPropSet(setname, kt.key, static_cast<int>(kt.type), gdf_list_text(count, values));
}

void ZELT_Grid_GDF_ParseToGrid::AddPropToPropset(const char* setname, ZELT_Grid_PropKeyAndType kt, int count,
                                                 const double* values) {
  _pts->AddPropToPropSet(setname, kt.key, static_cast<int>(kt.type), gdf_list_text(count, values));
}

// ---- Grid side ----

bool ZELT_Grid_GDF_ParseToGrid::InstHasProp(const char* def, const char* inst, int key) {
  const ZELT_Grid_DefIter d = RequireDef(def);
  return !_pgm->IsEnd(_pgm->GetProperty(d, RequireEntity(d, inst), key));
}

bool ZELT_Grid_GDF_ParseToGrid::HInstHasProp(const ZELT_Grid_HEntity& hent, int key) {
  return !_pgm->IsEnd(_pgm->GetHProperty(hent, key));
}

bool ZELT_Grid_GDF_ParseToGrid::DefHasProp(const char* def, int key) {
  return !_pgm->IsEnd(_pgm->GetDefProperty(RequireDef(def), key));
}

// Walks at most kMaxTargetProperties properties from first on.
template <class Iter, class Next>
static bool Full(const ZELT_Grid& grid, Iter it, Next next) {
  for (int count = 0; count < ZELT_Grid_GDF_ParseToGrid::kMaxTargetProperties; ++count, next(it))
    if (grid.IsEnd(it)) return false;
  return true;
}

bool ZELT_Grid_GDF_ParseToGrid::InstPropsFull(const char* def, const char* inst) {
  const ZELT_Grid_DefIter d = RequireDef(def);
  const ZELT_Grid_EntityIter e = RequireEntity(d, inst);
  return Full(*_pgm, _pgm->GetFirstProperty(d, e), [&](ZELT_Grid_PropIter& it) { _pgm->NextProperty(d, e, it); });
}

bool ZELT_Grid_GDF_ParseToGrid::HInstPropsFull(const ZELT_Grid_HEntity& hent) {
  return Full(*_pgm, _pgm->GetFirstHProperty(hent), [&](ZELT_Grid_HPropIter& it) { _pgm->NextHProperty(hent, it); });
}

bool ZELT_Grid_GDF_ParseToGrid::DefPropsFull(const char* def) {
  const ZELT_Grid_DefIter d = RequireDef(def);
  return Full(*_pgm, _pgm->GetFirstDefProperty(d), [&](ZELT_Grid_DefPropIter& it) { _pgm->NextDefProperty(d, it); });
}

template <class... Value>
void ZELT_Grid_GDF_ParseToGrid::AddEntityProperty(const char* def, const char* inst, ZELT_Grid_PropKeyAndType kt,
                                                  Value... value) {
  const ZELT_Grid_DefIter d = RequireDef(def);
  _pgm->AddProperty(d, RequireEntity(d, inst), kt.key, MakeValue(kt, value...));
}

template <class... Value>
void ZELT_Grid_GDF_ParseToGrid::AddHierProperty(const ZELT_Grid_HEntity& hent, ZELT_Grid_PropKeyAndType kt,
                                                Value... value) {
  RecordHEnt(hent);
  ZELT_Grid_PropData data = MakeValue(kt, value...);
  _pgm->AddHProperty(hent, kt.key, data);
}

template <class... Value>
void ZELT_Grid_GDF_ParseToGrid::AddDefinitionProperty(const char* def, ZELT_Grid_PropKeyAndType kt, Value... value) {
  _pgm->AddDefProperty(RequireDef(def), kt.key, MakeValue(kt, value...));
}

void ZELT_Grid_GDF_ParseToGrid::AddPropadd(const char* def, const char* inst, ZELT_Grid_PropKeyAndType kt,
                                           long value) {
  AddEntityProperty(def, inst, kt, value);
}
void ZELT_Grid_GDF_ParseToGrid::AddPropadd(const char* def, const char* inst, ZELT_Grid_PropKeyAndType kt,
                                           double value) {
  AddEntityProperty(def, inst, kt, value);
}
void ZELT_Grid_GDF_ParseToGrid::AddPropadd(const char* def, const char* inst, ZELT_Grid_PropKeyAndType kt,
                                           const char* value) {
  AddEntityProperty(def, inst, kt, value);
}
void ZELT_Grid_GDF_ParseToGrid::AddPropadd(const char* def, const char* inst, ZELT_Grid_PropKeyAndType kt, int count,
                                           const long* values) {
  AddEntityProperty(def, inst, kt, count, values);
}
void ZELT_Grid_GDF_ParseToGrid::AddPropadd(const char* def, const char* inst, ZELT_Grid_PropKeyAndType kt, int count,
                                           const double* values) {
  AddEntityProperty(def, inst, kt, count, values);
}

void ZELT_Grid_GDF_ParseToGrid::AddHPropadd(const ZELT_Grid_HEntity& hent, ZELT_Grid_PropKeyAndType kt, long value) {
  AddHierProperty(hent, kt, value);
}
void ZELT_Grid_GDF_ParseToGrid::AddHPropadd(const ZELT_Grid_HEntity& hent, ZELT_Grid_PropKeyAndType kt,
                                            double value) {
  AddHierProperty(hent, kt, value);
}
void ZELT_Grid_GDF_ParseToGrid::AddHPropadd(const ZELT_Grid_HEntity& hent, ZELT_Grid_PropKeyAndType kt,
                                            const char* value) {
  AddHierProperty(hent, kt, value);
}
void ZELT_Grid_GDF_ParseToGrid::AddHPropadd(const ZELT_Grid_HEntity& hent, ZELT_Grid_PropKeyAndType kt, int count,
                                            const long* values) {
  AddHierProperty(hent, kt, count, values);
}
void ZELT_Grid_GDF_ParseToGrid::AddHPropadd(const ZELT_Grid_HEntity& hent, ZELT_Grid_PropKeyAndType kt, int count,
                                            const double* values) {
  AddHierProperty(hent, kt, count, values);
}

void ZELT_Grid_GDF_ParseToGrid::AddDefPropadd(const char* def, ZELT_Grid_PropKeyAndType kt, long value) {
  AddDefinitionProperty(def, kt, value);
}
void ZELT_Grid_GDF_ParseToGrid::AddDefPropadd(const char* def, ZELT_Grid_PropKeyAndType kt, double value) {
  AddDefinitionProperty(def, kt, value);
}
void ZELT_Grid_GDF_ParseToGrid::AddDefPropadd(const char* def, ZELT_Grid_PropKeyAndType kt, const char* value) {
  AddDefinitionProperty(def, kt, value);
}
void ZELT_Grid_GDF_ParseToGrid::AddDefPropadd(const char* def, ZELT_Grid_PropKeyAndType kt, int count,
                                              const long* values) {
  AddDefinitionProperty(def, kt, count, values);
}
void ZELT_Grid_GDF_ParseToGrid::AddDefPropadd(const char* def, ZELT_Grid_PropKeyAndType kt, int count,
                                              const double* values) {
  AddDefinitionProperty(def, kt, count, values);
}

void ZELT_Grid_GDF_ParseToGrid::RecordHEnt(const ZELT_Grid_HEntity& hent) {
  if (_test) _instances_with_hprop.emplace(hent, true);
}

bool ZELT_Grid_GDF_ParseToGrid::InstComp::operator()(const ZELT_Grid_HEntity& a, const ZELT_Grid_HEntity& b) const {
  if (a.GetLength() != b.GetLength()) return a.GetLength() < b.GetLength();
  for (int i = 0; i < a.GetLength(); ++i) {
    const ZELT_Grid_HEntityStep& x = a[i];
    const ZELT_Grid_HEntityStep& y = b[i];
    if (x.pscope != y.pscope) return std::less<const void*>()(x.pscope, y.pscope);
    const void* xnode = ZELT_Grid_EntityIter(x.node).CPOS();
    const void* ynode = ZELT_Grid_EntityIter(y.node).CPOS();
    if (xnode != ynode) return std::less<const void*>()(xnode, ynode);
  }
  return false;
}

// ---- Property sets applied to targets ----

// The target's keys are gathered once: asking the target for each member
// would walk its growing list of properties once per member.
template <class Keys, class Add>
bool ZELT_Grid_GDF_ParseToGrid::ApplyPropSet(const char* propset, const char* target_kind, Keys keys, Add add) {
  std::vector<int> carried = keys();
  std::unordered_set<int> taken(carried.begin(), carried.end());
  size_t count = carried.size();
  bool all_added = true;
  const std::string set = propset;
  for (ZELT_PropsetIter it = _pts->GetFirstProp(set); !_pts->IsEnd(set, it); _pts->Next(it)) {
    const int key = _pts->GetPropKey(it);
    // Rebuilt first: a member that cannot be rebuilt ends the process even where the
    // target has its key already.
    ZELT_Grid_PropData value = RebuildValue(_pts->GetPropType(it), _pts->GetPropValueStr(it));
    if (!taken.insert(key).second) {
      std::string name;
      _pts->GetPropertyName(key, name);
      fprintf(stderr, "ERROR: Cannot add property '%s' from propset '%s' to %s - It already exists\n", name.c_str(),
              propset, target_kind);
      fflush(stderr);
      all_added = false;
      continue;
    }
    if (count >= size_t(kMaxTargetProperties)) {
      fprintf(stderr, "ERROR: Cannot add the rest of propset '%s' to %s - It carries %d properties already\n",
              propset, target_kind, kMaxTargetProperties);
      fflush(stderr);
      return false;
    }
    add(key, value);
    ++count;
  }
  return all_added;
}

bool ZELT_Grid_GDF_ParseToGrid::AddPropSetadd(const char* def, const char* inst, const char* propset) {
  TOLK_ASSERT(_pts != nullptr && _pts->HavePropSet(propset), "AddPropSetadd: unknown property set");
  const ZELT_Grid_DefIter d = RequireDef(def);
  const ZELT_Grid_EntityIter e = RequireEntity(d, inst);
  return ApplyPropSet(
      propset, "instance",
      [&] {
        std::vector<int> keys;
        for (ZELT_Grid_PropIter it = _pgm->GetFirstProperty(d, e); !_pgm->IsEnd(it); _pgm->NextProperty(d, e, it))
          keys.push_back(_pgm->GetPropertyKey(d, e, it));
        return keys;
      },
      [&](int key, ZELT_Grid_PropData& value) { _pgm->AddProperty(d, e, key, value); });
}

bool ZELT_Grid_GDF_ParseToGrid::AddHPropSetadd(const ZELT_Grid_HEntity& hpath, const char* propset) {
  TOLK_ASSERT(_pts != nullptr && _pts->HavePropSet(propset), "AddHPropSetadd: unknown property set");
  RecordHEnt(hpath);
  return ApplyPropSet(
      propset, "hierarchical instance",
      [&] {
        std::vector<int> keys;
        for (ZELT_Grid_HPropIter it = _pgm->GetFirstHProperty(hpath); !_pgm->IsEnd(it); _pgm->NextHProperty(hpath, it))
          keys.push_back(_pgm->GetHPropKey(hpath, it));
        return keys;
      },
      [&](int key, ZELT_Grid_PropData& value) { _pgm->AddHProperty(hpath, key, value); });
}

// ---- Asset classes ----

bool ZELT_Grid_GDF_ParseToGrid::CheckAssetClass(const char* name) {
  TOLK_ASSERT(_passetreg != nullptr, "CheckAssetClass: no asset-class registry");
  return _passetreg->GetKey(name) >= 0;
}

void ZELT_Grid_GDF_ParseToGrid::AddAssetClass(const char* name) {
  TOLK_ASSERT(_passetreg != nullptr, "AddAssetClass: no asset-class registry");
  _passetreg->Add(name);
}

bool ZELT_Grid_GDF_ParseToGrid::DefHasAssetClass(const char* defname) {
  const ZELT_Grid_DefIter def = FindDef(defname);
  return !_pgm->IsEnd(def) && _pgm->GetDefAssetClassKey(def) >= 0;
}

void ZELT_Grid_GDF_ParseToGrid::AddAssetClassAdd(const char* defname, const char* class_name) {
  TOLK_ASSERT(_passetreg != nullptr, "AddAssetClassAdd: no asset-class registry");
  const int key = _passetreg->GetKey(class_name);
  TOLK_ASSERT2(key >= 0, "AddAssetClassAdd: unknown asset class", class_name);
  _pgm->AddDefAssetClass(RequireDef(defname), key);
}
