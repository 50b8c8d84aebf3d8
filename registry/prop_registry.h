// Property registries: property names to keys, keys to value types and kinds, and named property sets.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "registry/key_sequence.h"
#include "registry/prop_types.h"

// A position in one property set: key -> (value type code -> value text).
typedef std::map<int, std::map<int, std::string>>::iterator ZELT_PropsetIter;
// A position among the registered kinds: key -> kind.
typedef std::map<int, ZELT_PropType>::iterator ZELT_Grid_Prop_Iter;

// The dictionary that gives the grid's integer property keys their meaning.
// Registration is left to the variants (in memory here, database-backed
// later); every lookup lives here. Keys are never reused or removed.
class ZELT_PropRegistry {
 public:
  // Knows the reserved properties (keys 0 to 2, with types but without kinds).
  ZELT_PropRegistry();
  virtual ~ZELT_PropRegistry();

  // Registers a new property; false when the name is taken.
  virtual bool RegisterProp(const std::string& name, int type, ZELT_PropType proptye) = 0;
  // The key of name, registered first as an AUX property when new.
  virtual int RegisterSpecialProp(const std::string& name, int type) = 0;
  // Stores value as the text of (key, type) in the named set, replacing an earlier text.
  virtual void AddPropToPropSet(const std::string& propsetname, int key, int type, const std::string& value) = 0;

  // False for an unknown name; a key without a type answers type 0.
  bool GetKeyAndType(const std::string& name, int& key, int& type);
  bool GetPropertyType(int key, int& type) const;
  // The first name in ascending order that has this key.
  bool GetPropertyName(int key, std::string& name) const;

  // The end position for an unknown name and for a key without a kind (the reserved ones).
  ZELT_Grid_Prop_Iter GetPropFromName(const char* name);
  int GetPropKey(ZELT_Grid_Prop_Iter& it) { return it->first; }
  bool IsEnd(ZELT_Grid_Prop_Iter& it) { return it == _propinfo.end(); }
  bool IsProperty(ZELT_Grid_Prop_Iter& it) { return it->second == ZELT_PropType::STATIC; }
  bool IsTSProperty(ZELT_Grid_Prop_Iter& it) { return it->second == ZELT_PropType::TS; }
  bool IsAuxProperty(ZELT_Grid_Prop_Iter& it) { return it->second == ZELT_PropType::AUX; }

  // A set is walked in ascending key order; the set must exist (see HavePropSet).
  bool HavePropSet(const std::string& propsetname) const;
  ZELT_PropsetIter GetFirstProp(const std::string& propsetname);
  void Next(ZELT_PropsetIter& it) { ++it; }
  bool IsEnd(const std::string& propsetname, ZELT_PropsetIter& it);
  int GetPropKey(ZELT_PropsetIter& it) { return it->first; }
  // A member's smallest value type code, and the text stored under it.
  int GetPropType(ZELT_PropsetIter& it) { return it->second.begin()->first; }
  const char* GetPropValueStr(ZELT_PropsetIter& it) { return it->second.begin()->second.c_str(); }
  std::string GetPropValue(ZELT_PropsetIter& it) { return it->second.begin()->second; }

  // Forgets everything, the reserved properties included.
  void Reset();

 protected:
  // Building blocks of the variants' registrations.
  bool IsRegistered(const std::string& name) const { return _namekey.count(name) > 0; }
  void EnterNameAndType(const std::string& name, int key, int type);
  void EnterKind(int key, ZELT_PropType proptye) { _propinfo[key] = proptye; }
  void StoreInPropSet(const std::string& propsetname, int key, int type, const std::string& value);
  // Property names cannot hold ':'; one that does ends the process with status 1.
  static void RefuseColon(const std::string& name, int line);

  std::map<std::string, int> _namekey;
  std::map<int, int> _keytype;
  std::map<std::string, std::map<int, std::map<int, std::string>>> _propset;
  std::map<int, ZELT_PropType> _propinfo;

 private:
  std::map<int, std::map<int, std::string>>& PropSet(const std::string& propsetname);
};

// The registry kept in memory; user keys come from its own key sequence, from 3 upward.
class ZELT_MeMPropRegistry : public ZELT_PropRegistry {
 public:
  ZELT_MeMPropRegistry();
  ~ZELT_MeMPropRegistry() override;

  bool RegisterProp(const std::string& name, int type, ZELT_PropType proptye) override;
  int RegisterSpecialProp(const std::string& name, int type) override;
  void AddPropToPropSet(const std::string& propsetname, int key, int type, const std::string& value) override;

 private:
  std::unique_ptr<ZELT_Grid_KeySequence> _keysequence;
};
