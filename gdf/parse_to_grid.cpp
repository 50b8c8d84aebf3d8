// The GDF builder: parsing entry points, existence checks, structural statements and hierarchical names.
#include "gdf/parse_to_grid.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "gdf/gdf_scan.h"
#include "grid/log.h"
#include "registry/root_registry.h"
#include "tolk/assert.h"

ZELT_Grid_GDF_ParseToGrid::ZELT_Grid_GDF_ParseToGrid(ZELT_Grid& grid)
    : _keysequence(new ZELT_Grid_KeySequence(0, 0, 0, 0, 0)), _pgm(&grid) {}

ZELT_Grid_GDF_ParseToGrid::~ZELT_Grid_GDF_ParseToGrid() {
  delete[] _termids;
  delete _keysequence;
}

bool ZELT_Grid_GDF_ParseToGrid::HasRegistry(gdf_Registry registry) const {
  switch (registry) {
    case gdf_kPropertyRegistry: return _pts != nullptr;
    case gdf_kRootRegistry: return _prootreg != nullptr;
    case gdf_kAssetClassRegistry: return _passetreg != nullptr;
    case gdf_kTSSchemaRegistry: return _ptsreg != nullptr;
    case gdf_kTSExprRegistry: return _tsexpr != nullptr;
    case gdf_kSensorAssociations: return _phtsassoc != nullptr;
    case gdf_kTSPropertyData: return _ptspropdata != nullptr;
    case gdf_kFlowRoleRegistry: return _pflowrolereg != nullptr;
  }
  return false;
}

// ---- Parsing ----

bool ZELT_Grid_GDF_ParseToGrid::ParseGDF(FILE* in, int* warnings) {
  TOLK_ASSERT(in != nullptr, "ParseGDF: no input stream");
  if (!BeginParse()) return false;
  gdf_scan_init(in);
  return FinishParse(warnings);
}

bool ZELT_Grid_GDF_ParseToGrid::ParseGDF(const char* text, int* warnings) {
  TOLK_ASSERT(text != nullptr, "ParseGDF: no input text");
  if (!BeginParse()) return false;
  gdf_scan_init(text);
  return FinishParse(warnings);
}

bool ZELT_Grid_GDF_ParseToGrid::BeginParse() {
  _input_error = 0;
  if (!_pgm->BeginModify()) {
    fputs("ERROR: Not allowed to modify the grid model.\n", stderr);
    fflush(stderr);
    return false;
  }
  // Nothing was remembered since the last parse ended (see FinishParse).
  _parsing = true;
  gdf_parse_init(this);
  gdf_scan_set_name_hint(&HintName, this);
  return true;
}

bool ZELT_Grid_GDF_ParseToGrid::FinishParse(int* warnings) {
  const int result = gdf_parse();
  gdf_scan_set_name_hint(nullptr, nullptr);
  if (warnings != nullptr) *warnings = gdf_parse_get_warnings();
  _input_error = gdf_scan_read_error();
  gdf_scan_terminate();
  // The section name was lent by the parser, which lets go of it now.
  gdf_parse_release();
  _curr_section = nullptr;
  // Once the phase closes the grid is the caller's again.
  _parsing = false;
  ForgetLookups();
  _pgm->EndModify();
  return result == 0;
}

// ---- Name lookups ----

void ZELT_Grid_GDF_ParseToGrid::ForgetLookups() {
  for (DefLookup& lookup : _def_lookups) lookup.valid = false;
  ForgetEntityLookup();
  ForgetRecentProps();
  _prop_lookups.clear();
}

void ZELT_Grid_GDF_ParseToGrid::ForgetEntityLookup() {
  for (RecentEntity& recent : _recent_entities) recent.name = nullptr;
}

// Two definitions are remembered: an inst statement asks for its parent and its
// type in turn.
ZELT_Grid_DefIter ZELT_Grid_GDF_ParseToGrid::FindDef(const char* name) {
  if (_def_lookups[0].valid && strcmp(_def_lookups[0].name.c_str(), name) == 0) return _def_lookups[0].def;
  if (!_parsing) return _pgm->GetDefFromName(name);
  std::swap(_def_lookups[0], _def_lookups[1]);
  DefLookup& lookup = _def_lookups[0];
  if (!lookup.valid || strcmp(lookup.name.c_str(), name) != 0) {
    lookup.def = _pgm->GetDefFromName(name);
    lookup.name = name;
    lookup.valid = true;
  }
  return lookup.def;
}

ZELT_Grid_EntityIter ZELT_Grid_GDF_ParseToGrid::FindEntity(ZELT_Grid_DefIter def, const char* name) {
  if (!_parsing) return _pgm->GetEntityFromName(def, name);
  // The slot that answered last, before any hashing: each check of a property
  // statement asks for the same instance again.
  if (_last_recent != nullptr && _last_recent->Holds(def, name)) return _last_recent->ent;
  const size_t hash = ZELT_GDF_NameHash()(name);
  RecentEntity& recent = _recent_entities[hash % kRecentEntities];
  if (recent.hash == hash && recent.Holds(def, name)) {
    _last_recent = &recent;
    return recent.ent;
  }
  const ZELT_Grid_EntityIter ent = _pgm->GetEntityFromName(def, name);
  KeepRecent(hash, def, ent);
  return ent;
}

// A statement's instances were mostly made long before it, and a new name's slot is
// anywhere in the table: either way the lookup would wait for memory.
void ZELT_Grid_GDF_ParseToGrid::HintName(void* context, const char* def, const char* name) {
  ZELT_Grid_GDF_ParseToGrid& self = *static_cast<ZELT_Grid_GDF_ParseToGrid*>(context);
  const ZELT_Grid_DefIter d = self.FindDef(def);
  if (!self._pgm->IsEnd(d)) self._pgm->TouchEntityName(d, name);
}

void ZELT_Grid_GDF_ParseToGrid::RememberEntity(ZELT_Grid_DefIter def, const char* name, ZELT_Grid_EntityIter ent) {
  KeepRecent(ZELT_GDF_NameHash()(name), def, ent);
}

// The slot keeps the entity's own name, which lives as long as the entity.
void ZELT_Grid_GDF_ParseToGrid::KeepRecent(size_t hash, ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) {
  if (!_parsing || _pgm->IsEnd(ent)) return;
  RecentEntity& recent = _recent_entities[hash % kRecentEntities];
  recent = {hash, _pgm->GetEntityName(def, ent), def, ent};
  _last_recent = &recent;
}

ZELT_Grid_DefIter ZELT_Grid_GDF_ParseToGrid::RequireDef(const char* name) {
  const ZELT_Grid_DefIter def = FindDef(name);
  TOLK_ASSERT2(!_pgm->IsEnd(def), "GDF builder: definition must exist", name);
  return def;
}

ZELT_Grid_EntityIter ZELT_Grid_GDF_ParseToGrid::RequireEntity(ZELT_Grid_DefIter def, const char* name) {
  const ZELT_Grid_EntityIter ent = FindEntity(def, name);
  TOLK_ASSERT2(!_pgm->IsEnd(ent), "GDF builder: entity must exist", name);
  return ent;
}

// ---- Existence checks ----

bool ZELT_Grid_GDF_ParseToGrid::HaveDef(const char* name, bool fake) {
  if (_fake_check) return fake;
  return !_pgm->IsEnd(FindDef(name));
}

bool ZELT_Grid_GDF_ParseToGrid::IsElement(const char* name, bool fake) {
  if (_fake_check) return fake;
  const ZELT_Grid_DefIter def = FindDef(name);
  return !_pgm->IsEnd(def) && _pgm->IsElementDef(def);
}

bool ZELT_Grid_GDF_ParseToGrid::HaveInst(const char* def, const char* name, bool fake) {
  if (_fake_check) return fake;
  const ZELT_Grid_DefIter d = FindDef(def);
  return !_pgm->IsEnd(d) && !_pgm->IsEnd(FindEntity(d, name));
}

// ---- Structure ----

void ZELT_Grid_GDF_ParseToGrid::StartSection(const char* name) { _curr_section = name; }

void ZELT_Grid_GDF_ParseToGrid::EndSection(const char*) { _curr_section = nullptr; }

// Terminal ids 0 .. n-1 for element definitions, grown with some room to spare.
void ZELT_Grid_GDF_ParseToGrid::EnsureTermIds(long nterms) {
  if (_termids_size >= nterms) return;
  delete[] _termids;
  _termids_size = static_cast<int>(static_cast<double>(nterms) * 1.2);
  _termids = new long[_termids_size];
  for (int i = 0; i < _termids_size; ++i) _termids[i] = i;
}

void ZELT_Grid_GDF_ParseToGrid::AddElem(const char* defname, long nterms) {
  TOLK_ASSERT(_curr_section != nullptr, "AddElem: element outside a section");
  TOLK_ASSERT(nterms >= 0 && nterms <= kMaxElementTerminals, "AddElem: terminal count out of range");
  ZELTLOG(stderr, "%s:%d: parsing elem %s.\n", __FILE_NAME__, __LINE__, defname);
  const long id = _keysequence->NewDefID();
  EnsureTermIds(nterms);
  const ZELT_Grid_DefIter def = _pgm->AddElementDef(id, static_cast<int>(nterms), _termids, defname);
  // Only another source of ids on the same grid could have taken this one.
  TOLK_ASSERT2(!_pgm->IsEnd(def), "AddElem: the definition id is taken", defname);
  ForgetLookups();
  // The section travels with every element definition.
  ZELT_Grid_PropData section(_curr_section);
  _pgm->AddDefProperty(def, ZELT_SECTION_PROP, section);
}

void ZELT_Grid_GDF_ParseToGrid::AddCkt(const char* defname, unsigned nterms, const char** termnames) {
  ZELTLOG(stderr, "%s:%d: parsing ckt %s.\n", __FILE_NAME__, __LINE__, defname);
  const ZELT_Grid_DefIter def = _pgm->AddCircuitDef(_keysequence->NewDefID(), defname);
  TOLK_ASSERT2(!_pgm->IsEnd(def), "AddCkt: the definition id is taken", defname);
  ForgetLookups();
  for (unsigned i = 0; i < nterms; ++i) {
    ZELTLOG(stderr, " -- terminal %s\n", termnames[i]);
    RememberEntity(def, termnames[i], _pgm->AddTerminal(def, _keysequence->NewEntityID(), termnames[i]));
  }
}

void ZELT_Grid_GDF_ParseToGrid::SetRoot(const char* root_def) {
  ZELTLOG(stderr, "%s:%d: parsing root: %s.\n", __FILE_NAME__, __LINE__, root_def);
  TOLK_ASSERT(_prootreg != nullptr, "SetRoot: no root registry");
  _prootreg->Add("default", _pgm->GetDefID(RequireDef(root_def)));
}

void ZELT_Grid_GDF_ParseToGrid::AddInst(const char* defname, const char* leafname, const char* type) {
  ZELTLOG(stderr, "%s:%d: parsing inst %s.%s of type %s.\n", __FILE_NAME__, __LINE__, defname, leafname, type);
  const long id = _keysequence->NewEntityID();
  const ZELT_Grid_DefIter instantiated = RequireDef(type);
  const ZELT_Grid_DefIter parent = RequireDef(defname);
  const ZELT_Grid_EntityIter instance = _pgm->AddInstance(parent, instantiated, id, leafname);
  // Property statements about the new instance usually follow.
  RememberEntity(parent, leafname, instance);
}

// A conn statement's terminals come as pairs (instance, terminal), the instance null for a
// terminal of the circuit itself.
namespace {
struct TerminalPath {
  const char** steps;
  int length;
};

TerminalPath TerminalPathOf(const char** terms, int i) {
  const char** pair = terms + 2 * i;
  const int length = pair[0] != nullptr ? 2 : 1;
  return {pair + 2 - length, length};
}
}  // namespace

bool ZELT_Grid_GDF_ParseToGrid::AddConn(const char* defname, const char* conn_name, int nterm, const char** terms) {
  ZELTLOG(stderr, "%s:%d: parsing conn %s.%s.\n", __FILE_NAME__, __LINE__, defname, conn_name);
  const ZELT_Grid_DefIter def = RequireDef(defname);
  // Each node and path name is asked for once: the grid's own lookups serve. The
  // instances a statement names were mostly made long before, so every lookup waits for
  // memory; touching all of them first lets those waits overlap. The tokenizer's hint
  // (HintName) touched them 32 tokens ago already; touching them again here, just before
  // the lookups, still measured faster than relying on the hint alone.
  _pgm->TouchEntityName(def, conn_name);
  for (int i = 0; i < nterm; ++i) _pgm->TouchEntityName(def, TerminalPathOf(terms, i).steps[0]);
  ZELT_Grid_EntityIter node = FindEntity(def, conn_name);
  if (_pgm->IsEnd(node)) {
    // An element definition's only node is its own internal one.
    if (_pgm->IsElementDef(def)) {
      fprintf(stderr, "ERROR: Element definition '%s' cannot hold connectivity node '%s'\n", defname, conn_name);
      fflush(stderr);
      return false;
    }
    node = _pgm->AddConnNode(def, _keysequence->NewEntityID(), conn_name);
    RememberEntity(def, conn_name, node);
  }
  ZELT_Grid_HEntityStep node_step;
  _pgm->InitHEntStep(node_step, def, node);
  ZELT_Grid_HEntity node_path;
  node_path.AppendStep(node_step);
  ZELT_Grid_HEntity terminal_path;
  for (int i = 0; i < nterm; ++i) {
    const TerminalPath path = TerminalPathOf(terms, i);
    // The id is drawn before the path is known to resolve.
    const long id = _keysequence->NewEntityID();
    if (!FindHEntPath(defname, path.length, path.steps, terminal_path)) return false;
    _pgm->AddConnection(terminal_path, node_path, id);
  }
  return true;
}

void ZELT_Grid_GDF_ParseToGrid::AddContainer(const char* defname, const char* entname, int n, const char** members) {
  ZELTLOG(stderr, "%s:%d: parsing Container %s.%s.\n", __FILE_NAME__, __LINE__, defname, entname);
  const ZELT_Grid_DefIter def = RequireDef(defname);
  const ZELT_Grid_EntityIter container = RequireEntity(def, entname);
  for (int i = 0; i < n; ++i) _pgm->AddContainerOf(def, RequireEntity(def, members[i]), container);
}

void ZELT_Grid_GDF_ParseToGrid::AddSupportRelation(const char* defname, const char* supportee_name,
                                                   int num_supporters, const char** supporter_names) {
  const ZELT_Grid_DefIter def = RequireDef(defname);
  const ZELT_Grid_EntityIter supportee = RequireEntity(def, supportee_name);
  for (int i = 0; i < num_supporters; ++i)
    _pgm->AddSupportRelation(def, supportee, RequireEntity(def, supporter_names[i]));
}

// ---- Hierarchical names ----

static void ReportMissingPath(const char* defname, int count, const char* const* elems) {
  std::string path = defname;
  for (int i = 0; i < count; ++i) path.append(".").append(elems[i]);
  fprintf(stderr, "ERROR: Hierarchical entity '%s' does not exist\n", path.c_str());
  fflush(stderr);
}

// A path's array grows by 4 steps at a time, so appending the steps of a long
// name one by one would copy the path over and over: quadratic in its length.
// Doubling the path with its own steps reaches the length in a few
// allocations; the real steps are then written over the copies.
static void AssignSteps(const std::vector<ZELT_Grid_HEntityStep>& steps, ZELT_Grid_HEntity& hpath) {
  hpath.Reset();
  if (steps.empty()) return;
  const int length = static_cast<int>(steps.size());
  hpath.AppendStep(steps[0]);
  while (hpath.GetLength() < length) hpath.AppendFrom(hpath, std::max(0, 2 * hpath.GetLength() - length));
  for (int i = 0; i < length; ++i) hpath[i] = steps[i];
}

bool ZELT_Grid_GDF_ParseToGrid::FindHEntPath(const char* curr_defname, int numelems, const char** elems,
                                             ZELT_Grid_HEntity& hpath) {
  hpath.Reset();
  if (numelems > tolk_MAXPATHLENGTH) {
    fprintf(stderr, "ERROR: Hierarchical entity '%s.%s...' has more than %d steps\n", curr_defname, elems[0],
            tolk_MAXPATHLENGTH);
    fflush(stderr);
    return false;
  }
  ZELT_Grid_DefIter scope = FindDef(curr_defname);
  if (_pgm->IsEnd(scope)) {
    ReportMissingPath(curr_defname, 0, elems);
    return false;
  }
  _path_steps.clear();
  ZELT_Grid_EntityIter ent;
  for (int i = 0; i < numelems; ++i) {
    // Each further name lies in the definition that the previous step instantiates.
    if (i > 0) scope = _pgm->GetDefinition(scope, ent);
    if (!_pgm->IsEnd(scope)) ent = FindEntity(scope, elems[i]);
    if (_pgm->IsEnd(scope) || _pgm->IsEnd(ent)) {
      ReportMissingPath(curr_defname, i + 1, elems);
      // The caller sees how far the name resolved.
      AssignSteps(_path_steps, hpath);
      return false;
    }
    _path_steps.emplace_back();
    _pgm->InitHEntStep(_path_steps.back(), scope, ent);
  }
  AssignSteps(_path_steps, hpath);
  return true;
}

void ZELT_Grid_GDF_ParseToGrid::ParseHEnt(const char* text, ZELT_Grid_HEntity& hent) {
  std::vector<std::string> pieces(1);
  for (const char* p = text; *p != '\0'; ++p) {
    if (*p == '.')
      pieces.emplace_back();
    else
      pieces.back() += *p;
  }
  std::vector<const char*> elems;
  for (size_t i = 1; i < pieces.size(); ++i) elems.push_back(pieces[i].c_str());
  FindHEntPath(pieces[0].c_str(), static_cast<int>(elems.size()), elems.data(), hent);
}
