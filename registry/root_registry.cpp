// The root registry: an ordered map from root name to definition id.
#include "registry/root_registry.h"

ZELT_RootRegistry::ZELT_RootRegistry() = default;

void ZELT_RootRegistry::Reset() { _name_2_def_id.clear(); }

bool ZELT_RootRegistry::Add(const std::string& name, long def_id) {
  _name_2_def_id[name] = def_id;
  return true;
}

bool ZELT_RootRegistry::Delete(const std::string& name) { return _name_2_def_id.erase(name) > 0; }

long ZELT_RootRegistry::Find(const std::string& name) const {
  auto entry = _name_2_def_id.find(name);
  return entry == _name_2_def_id.end() ? -1 : entry->second;
}
