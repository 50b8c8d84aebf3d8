// ZELT_Grid_GDF_ParseToGrid: the builder that parses GDF text into a grid model.
#pragma once

#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "gdf/gdf_actions.h"
#include "grid/grid.h"
#include "registry/key_sequence.h"
#include "registry/prop_registry.h"

class ZELT_AssetClassRegistry;

// Hashes names given as std::string or as const char* alike, so that lookups
// need no std::string.
struct ZELT_GDF_NameHash {
  using is_transparent = void;
  size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
};
class ZELT_RootRegistry;
// Registries of the time-series and flow-role statements. They come with the
// persistence layer; until one is attached, its statements end the parse
// with an error report.
class ZELT_TSExprRegistry;
class ZELT_TSRegistry;
class ZELT_HTSAssocMap;
class ZELT_Grid_TSPropData;
class ZELT_FlowRoleRegistry;

// Drives the GDF tokenizer and parser, answers their existence checks and
// carries out each statement through the grid's modification operations.
// Borrows the grid and the registries, which must outlive it; owns its key
// sequence, which numbers from 0, so definitions that other code adds to the
// same grid must keep clear of its ids. Texts passed in are borrowed for the
// length of a call. One parse at a time per process: the parser's state is
// module-level.
class ZELT_Grid_GDF_ParseToGrid {
 public:
  // Terminals an element may have, and all elements of one parse together.
  static constexpr long kMaxElementTerminals = 65535;
  static constexpr long kMaxElementTerminalsPerParse = 262144;
  // Properties one instance, hierarchical entity or definition may carry. A
  // target's properties form a list that every statement about it walks, so
  // without a cap n statements about one target would take time quadratic in n.
  static constexpr int kMaxTargetProperties = 4096;

  explicit ZELT_Grid_GDF_ParseToGrid(ZELT_Grid& grid);
  ~ZELT_Grid_GDF_ParseToGrid();
  ZELT_Grid_GDF_ParseToGrid(const ZELT_Grid_GDF_ParseToGrid&) = delete;
  ZELT_Grid_GDF_ParseToGrid& operator=(const ZELT_Grid_GDF_ParseToGrid&) = delete;

  void SetPropReg(ZELT_PropRegistry& registry) { _pts = &registry; }
  void SetTSExprReg(ZELT_TSExprRegistry& registry) { _tsexpr = &registry; }
  void SetTSRegistry(ZELT_TSRegistry& registry) { _ptsreg = &registry; }
  void SetHTSAssocMap(ZELT_HTSAssocMap& map) { _phtsassoc = &map; }
  void SetTSPropData(ZELT_Grid_TSPropData& data) { _ptspropdata = &data; }
  void SetAssetClassReg(ZELT_AssetClassRegistry& registry) { _passetreg = &registry; }
  void SetRootReg(ZELT_RootRegistry& registry) { _prootreg = &registry; }
  void SetFlowRoleReg(ZELT_FlowRoleRegistry& registry) { _pflowrolereg = &registry; }
  bool HasRegistry(gdf_Registry registry) const;
  // With fake checks every existence check lets its statement through (for
  // merging into a stored model, whose own lookups then decide).
  void SetFakeCheck(bool fake) { _fake_check = fake; }
  // Test mode records every hierarchical entity that receives a property.
  void SetTestMode(bool test) { _test = test; }

  // Parses a whole stream or text into the grid, inside one modification
  // phase of the grid. True when all of it was valid; warnings, when given,
  // receives the number of warnings. A stream that fails to read ends the
  // parse quietly where the failure struck, with false and InputError() set.
  bool ParseGDF(FILE* in, int* warnings);
  bool ParseGDF(const char* text, int* warnings);
  // The errno of the read failure that ended the last parse, or 0.
  int InputError() const { return _input_error; }

  // ---- Existence checks (each returns fake unchanged in fake-check mode) ----
  bool HaveDef(const char* name, bool fake);
  bool IsElement(const char* name, bool fake);
  bool HaveInst(const char* def, const char* name, bool fake);

  // ---- Structure ----
  void StartSection(const char* name);
  void EndSection(const char* name);
  void AddElem(const char* defname, long nterms);
  void AddCkt(const char* defname, unsigned nterms, const char** termnames);
  void SetRoot(const char* root_def);
  void AddInst(const char* defname, const char* leafname, const char* type);
  // terms holds nterm pairs (instance name or null, terminal name). False, with
  // a message, when a pair does not resolve; connections of earlier pairs stay.
  bool AddConn(const char* defname, const char* conn_name, int nterm, const char** terms);
  void AddContainer(const char* defname, const char* entname, int n, const char** members);
  void AddSupportRelation(const char* defname, const char* supportee_name, int num_supporters,
                          const char** supporter_names);

  // Resolves curr_defname.elems[0].elems[1]... into hpath; false, with a
  // message, when the definition or a step does not exist or a step would
  // lead through an entity that is not an instance. hpath then holds the
  // steps resolved before the failing one.
  bool FindHEntPath(const char* curr_defname, int numelems, const char** elems, ZELT_Grid_HEntity& hpath);
  // The same for a dotted text whose first piece names the definition.
  void ParseHEnt(const char* text, ZELT_Grid_HEntity& hent);

  // ---- Properties ----
  // Key and type of a registered property; key -1 and type none when unknown.
  ZELT_Grid_PropKeyAndType CheckProp(const char* name);
  bool IsTSProp(const char* name);
  void AddProp(const char* name, ZELT_Grid_ValueType type, ZELT_PropType proptype);
  // The key of the AUX property NAME;TYPENAME, registered when new.
  int FindOrCreateSpecialProp(const char* propname, ZELT_Grid_ValueType datatype);
  bool HavePropSet(const char* name);
  void AddPropToPropset(const char* setname, ZELT_Grid_PropKeyAndType kt, const char* value);
  void AddPropToPropset(const char* setname, ZELT_Grid_PropKeyAndType kt, long value);
  void AddPropToPropset(const char* setname, ZELT_Grid_PropKeyAndType kt, double value);
  void AddPropToPropset(const char* setname, ZELT_Grid_PropKeyAndType kt, int count, const long* values);
  void AddPropToPropset(const char* setname, ZELT_Grid_PropKeyAndType kt, int count, const double* values);

  bool InstHasProp(const char* def, const char* inst, int key);
  bool HInstHasProp(const ZELT_Grid_HEntity& hent, int key);
  bool DefHasProp(const char* def, int key);
  // True when the target carries kMaxTargetProperties properties already.
  bool InstPropsFull(const char* def, const char* inst);
  bool HInstPropsFull(const ZELT_Grid_HEntity& hent);
  bool DefPropsFull(const char* def);

  // A null text stores a null string value.
  void AddPropadd(const char* def, const char* inst, ZELT_Grid_PropKeyAndType kt, long value);
  void AddPropadd(const char* def, const char* inst, ZELT_Grid_PropKeyAndType kt, double value);
  void AddPropadd(const char* def, const char* inst, ZELT_Grid_PropKeyAndType kt, const char* value);
  void AddPropadd(const char* def, const char* inst, ZELT_Grid_PropKeyAndType kt, int count, const long* values);
  void AddPropadd(const char* def, const char* inst, ZELT_Grid_PropKeyAndType kt, int count, const double* values);
  void AddHPropadd(const ZELT_Grid_HEntity& hent, ZELT_Grid_PropKeyAndType kt, long value);
  void AddHPropadd(const ZELT_Grid_HEntity& hent, ZELT_Grid_PropKeyAndType kt, double value);
  void AddHPropadd(const ZELT_Grid_HEntity& hent, ZELT_Grid_PropKeyAndType kt, const char* value);
  void AddHPropadd(const ZELT_Grid_HEntity& hent, ZELT_Grid_PropKeyAndType kt, int count, const long* values);
  void AddHPropadd(const ZELT_Grid_HEntity& hent, ZELT_Grid_PropKeyAndType kt, int count, const double* values);
  void AddDefPropadd(const char* def, ZELT_Grid_PropKeyAndType kt, long value);
  void AddDefPropadd(const char* def, ZELT_Grid_PropKeyAndType kt, double value);
  void AddDefPropadd(const char* def, ZELT_Grid_PropKeyAndType kt, const char* value);
  void AddDefPropadd(const char* def, ZELT_Grid_PropKeyAndType kt, int count, const long* values);
  void AddDefPropadd(const char* def, ZELT_Grid_PropKeyAndType kt, int count, const double* values);

  // Apply every member of a property set; a member the target already has is
  // reported and skipped, and the result is then false.
  bool AddPropSetadd(const char* def, const char* inst, const char* propset);
  bool AddHPropSetadd(const ZELT_Grid_HEntity& hpath, const char* propset);

  // ---- Asset classes ----
  bool CheckAssetClass(const char* name);
  void AddAssetClass(const char* name);
  bool DefHasAssetClass(const char* defname);
  void AddAssetClassAdd(const char* defname, const char* class_name);

  // ---- Time series (need the registries of the persistence layer) ----
  bool HaveTSSchema(const char* name);
  // fieldtypes are time-series field type codes (string 1, int32 2, int64 3, float64 4).
  bool AddTSSchema(const char* schemaname, const char* dbschema, const char* tablename, const char* rowkeycol,
                   const char* tsname, int numfields, const char** fieldnames, const int* fieldtypes);
  void AddHTSAssoc(const char* tsschemaname, int numids, const ZELT_Grid_HEntity** hents, long* sensorids);
  bool HaveTSField(const char* schema, const char* field);
  bool HaveTSExpr(const char* name);
  void AddTSExpr(const char* name, ZELT_Grid_ValueType type, const char* value);
  void AddTSPropdata(const char* propname, const char* tsschema, const char* fieldname);
  void AddTSPropdata(const char* propname, const char* tsexpr_name);

  // ---- Conductivity states (checked, not stored) and flow roles ----
  bool HaveCondstate(const char* tag);
  bool IsValidCondstate(const char* value);
  void AddCondstate(const char* tag, const char* defname, int num_insts, const char** insts, const char** vals);
  void AddHCondstate(const char* tag, int num_elems, const ZELT_Grid_HEntity** hents, const char** vals);
  bool HaveHflowroleTag(const char* tag);
  bool IsValidHflowrole(const char* value);
  void AddHflowrole(const char* tag, int num_elems, const ZELT_Grid_HEntity** hents, const char** vals);

  // Hierarchical entities that received properties in test mode, shorter paths first.
  struct InstComp {
    bool operator()(const ZELT_Grid_HEntity& a, const ZELT_Grid_HEntity& b) const;
  };
  const std::map<ZELT_Grid_HEntity, bool, InstComp>& InstancesWithHProp() const { return _instances_with_hprop; }

 private:
  // What the registry says of a property name.
  struct PropLookup {
    ZELT_Grid_PropKeyAndType kt;
    bool time_series;
  };

  bool BeginParse();
  bool FinishParse(int* warnings);
  void EnsureTermIds(long nterms);
  // Name lookups, remembered from one call to the next: a statement's checks and
  // its action ask for the same names. Adding definitions forgets them, and so
  // does the end of every parse; between parses the caller may change the grid
  // and the registry, so lookups then go to them directly.
  ZELT_Grid_DefIter FindDef(const char* name);
  ZELT_Grid_EntityIter FindEntity(ZELT_Grid_DefIter def, const char* name);
  ZELT_Grid_DefIter RequireDef(const char* name);
  ZELT_Grid_EntityIter RequireEntity(ZELT_Grid_DefIter def, const char* name);
  void ForgetLookups();
  void ForgetEntityLookup();
  // The tokenizer's name hint: starts fetching what looking name up in def will read.
  static void HintName(void* context, const char* def, const char* name);
  void RememberEntity(ZELT_Grid_DefIter def, const char* name, ZELT_Grid_EntityIter ent);
  void KeepRecent(size_t hash, ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent);
  const PropLookup& LookUpProp(const char* name);
  void ForgetProp(const char* name);
  void RecordHEnt(const ZELT_Grid_HEntity& hent);
  template <class... Value>
  void AddEntityProperty(const char* def, const char* inst, ZELT_Grid_PropKeyAndType kt, Value... value);
  template <class... Value>
  void AddHierProperty(const ZELT_Grid_HEntity& hent, ZELT_Grid_PropKeyAndType kt, Value... value);
  template <class... Value>
  void AddDefinitionProperty(const char* def, ZELT_Grid_PropKeyAndType kt, Value... value);
  template <class Keys, class Add>
  bool ApplyPropSet(const char* propset, const char* target_kind, Keys keys, Add add);

  long* _termids = nullptr;
  int _termids_size = 0;
  const char* _curr_section = nullptr;
  bool _test = false;
  std::map<ZELT_Grid_HEntity, bool, InstComp> _instances_with_hprop;
  ZELT_Grid_KeySequence* _keysequence;
  ZELT_Grid* _pgm;
  ZELT_PropRegistry* _pts = nullptr;
  ZELT_TSExprRegistry* _tsexpr = nullptr;
  ZELT_TSRegistry* _ptsreg = nullptr;
  ZELT_HTSAssocMap* _phtsassoc = nullptr;
  ZELT_Grid_TSPropData* _ptspropdata = nullptr;
  ZELT_AssetClassRegistry* _passetreg = nullptr;
  ZELT_RootRegistry* _prootreg = nullptr;
  ZELT_FlowRoleRegistry* _pflowrolereg = nullptr;
  bool _fake_check = false;
  int _input_error = 0;
  bool _parsing = false; // lookups are remembered only while this is set

  // The last definitions and entity looked up by name, and the properties.
  struct DefLookup {
    std::string name;
    ZELT_Grid_DefIter def;
    bool valid = false;
  };
  DefLookup _def_lookups[2];
  // Entities named lately, by a hash of the name: a statement names entities that the
  // statements just before it made or named, and the grid's own tables lie all over
  // memory. A slot holds the newest entity of its name, since every entity the builder
  // adds takes its name's slot.
  struct RecentEntity {
    size_t hash;
    const char* name; // the entity's own name in the grid; nullptr for an empty slot
    ZELT_Grid_DefIter def;
    ZELT_Grid_EntityIter ent;
    bool Holds(ZELT_Grid_DefIter d, const char* n) const { return name != nullptr && def == d && strcmp(name, n) == 0; }
  };
  static constexpr size_t kRecentEntities = 4096;
  std::vector<RecentEntity> _recent_entities{kRecentEntities};
  // The slot that answered or was filled last. It is checked like any other slot, so
  // whatever later takes or empties that slot keeps it right.
  const RecentEntity* _last_recent = nullptr;
  std::unordered_map<std::string, PropLookup, ZELT_GDF_NameHash, std::equal_to<>> _prop_lookups;
  // The entries asked for lately, newest first: a value statement asks for its property
  // three times, and a model's value statements take turns among a few properties.
  static constexpr int kRecentProps = 4;
  const std::pair<const std::string, PropLookup>* _recent_props[kRecentProps] = {};
  void KeepRecentProp(const std::pair<const std::string, PropLookup>* entry);
  void ForgetRecentProps();
  PropLookup _unkept_prop; // what a lookup between parses answered
  std::vector<ZELT_Grid_HEntityStep> _path_steps; // of the name FindHEntPath resolves
};
