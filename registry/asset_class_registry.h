// The asset-class registry: names of asset classes and their keys.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "registry/key_sequence.h"

// Asset-class names -> keys, drawn from a key sequence's asset-class counter.
// Names are never removed and a name keeps its first key.
class ZELT_AssetClassRegistry {
 public:
  // Draws keys from a sequence of its own, so that they run 0, 1, 2, ...
  ZELT_AssetClassRegistry();
  // Draws keys from a sequence that the caller owns and keeps alive.
  explicit ZELT_AssetClassRegistry(ZELT_Grid_KeySequence& keysequence);

  // The key of the name, or -1 for an unknown name.
  int GetKey(const char* name) const;
  // The name's key, drawn anew when the name is new.
  int Add(const char* name);

 private:
  std::unique_ptr<ZELT_Grid_KeySequence> _own_keysequence;
  ZELT_Grid_KeySequence* _keysequence;
  std::map<std::string, int> _name_2_key;
};
