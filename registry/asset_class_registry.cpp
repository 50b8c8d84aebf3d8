// The asset-class registry: an ordered map from class name to key.
#include "registry/asset_class_registry.h"

ZELT_AssetClassRegistry::ZELT_AssetClassRegistry()
    : _own_keysequence(std::make_unique<ZELT_Grid_KeySequence>(0, 0, 0, 0, 0)),
      _keysequence(_own_keysequence.get()) {}

ZELT_AssetClassRegistry::ZELT_AssetClassRegistry(ZELT_Grid_KeySequence& keysequence)
    : _keysequence(&keysequence) {}

int ZELT_AssetClassRegistry::GetKey(const char* name) const {
  auto entry = _name_2_key.find(name);
  return entry == _name_2_key.end() ? -1 : entry->second;
}

int ZELT_AssetClassRegistry::Add(const char* name) {
  auto [entry, inserted] = _name_2_key.try_emplace(name, -1);
  if (inserted) entry->second = _keysequence->NewAssetClassID();
  return entry->second;
}
