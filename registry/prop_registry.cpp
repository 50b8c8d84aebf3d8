// Property registries: the shared lookups and the in-memory variant.
#include "registry/prop_registry.h"

#include <cstdio>
#include <cstdlib>

#include "tolk/assert.h"

const ZELT_ReservedPropRec ZELT_ReservedProps[ZELT_NUM_RESERVED_PROPS] = {
    {"zelt_grid_section", ZELT_Grid_ValueType::small_string},
    {"zelt_grid_supporter", ZELT_Grid_ValueType::iter_vector},
    {"zelt_grid_supportee", ZELT_Grid_ValueType::iter_vector},
};

ZELT_PropRegistry::ZELT_PropRegistry() {
  for (int key = 0; key < ZELT_NUM_RESERVED_PROPS; ++key)
    EnterNameAndType(ZELT_ReservedProps[key].name, key, static_cast<int>(ZELT_ReservedProps[key].type));
}

ZELT_PropRegistry::~ZELT_PropRegistry() = default;

void ZELT_PropRegistry::EnterNameAndType(const std::string& name, int key, int type) {
  _namekey[name] = key;
  _keytype[key] = type;
}

void ZELT_PropRegistry::StoreInPropSet(const std::string& propsetname, int key, int type, const std::string& value) {
  _propset[propsetname][key][type] = value;
}

void ZELT_PropRegistry::RefuseColon(const std::string& name, int line) {
  if (name.find(':') == std::string::npos) return;
  fprintf(stderr, "ERROR %s:%d: The property name %s can not contain the character ':' .\n", "ZELT_PropRegistry",
          line, name.c_str());
  fflush(stderr);
  exit(1);
}

bool ZELT_PropRegistry::GetKeyAndType(const std::string& name, int& key, int& type) {
  auto named = _namekey.find(name);
  if (named == _namekey.end()) return false;
  key = named->second;
  type = _keytype[key];
  return true;
}

bool ZELT_PropRegistry::GetPropertyType(int key, int& type) const {
  auto typed = _keytype.find(key);
  if (typed == _keytype.end()) return false;
  type = typed->second;
  return true;
}

bool ZELT_PropRegistry::GetPropertyName(int key, std::string& name) const {
  for (const auto& [registered, registered_key] : _namekey) {
    if (registered_key != key) continue;
    name = registered;
    return true;
  }
  return false;
}

ZELT_Grid_Prop_Iter ZELT_PropRegistry::GetPropFromName(const char* name) {
  auto named = _namekey.find(name);
  return named == _namekey.end() ? _propinfo.end() : _propinfo.find(named->second);
}

bool ZELT_PropRegistry::HavePropSet(const std::string& propsetname) const { return _propset.count(propsetname) > 0; }

std::map<int, std::map<int, std::string>>& ZELT_PropRegistry::PropSet(const std::string& propsetname) {
  auto set = _propset.find(propsetname);
  TOLK_ASSERT2(set != _propset.end(), "ZELT_PropRegistry: no property set of this name", propsetname.c_str());
  return set->second;
}

ZELT_PropsetIter ZELT_PropRegistry::GetFirstProp(const std::string& propsetname) {
  return PropSet(propsetname).begin();
}

bool ZELT_PropRegistry::IsEnd(const std::string& propsetname, ZELT_PropsetIter& it) {
  return it == PropSet(propsetname).end();
}

void ZELT_PropRegistry::Reset() {
  _namekey.clear();
  _keytype.clear();
  _propset.clear();
  _propinfo.clear();
}

// The first key handed out is the one after the reserved keys.
ZELT_MeMPropRegistry::ZELT_MeMPropRegistry()
    : _keysequence(std::make_unique<ZELT_Grid_KeySequence>(0, 0, ZELT_NUM_RESERVED_PROPS, 0, 0)) {}

ZELT_MeMPropRegistry::~ZELT_MeMPropRegistry() = default;

bool ZELT_MeMPropRegistry::RegisterProp(const std::string& name, int type, ZELT_PropType proptye) {
  RefuseColon(name, 92);
  if (IsRegistered(name)) return false;
  const int key = _keysequence->NewPropKey();
  EnterNameAndType(name, key, type);
  EnterKind(key, proptye);
  return true;
}

int ZELT_MeMPropRegistry::RegisterSpecialProp(const std::string& name, int type) {
  if (!IsRegistered(name)) {
    const int key = _keysequence->NewPropKey();
    EnterNameAndType(name, key, type);
    EnterKind(key, ZELT_PropType::AUX);
  }
  return _namekey[name];
}

void ZELT_MeMPropRegistry::AddPropToPropSet(const std::string& propsetname, int key, int type,
                                            const std::string& value) {
  StoreInPropSet(propsetname, key, type, value);
}
