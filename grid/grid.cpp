// ZELT_Grid: construction, definitions, entities, their indexes and destruction.
#include "grid/grid.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

char* CopyName(const char* name) { return strdup(name); }

// Name indexes own a copy of every key: an entry made for one owner may point
// at a later owner of the same name after the first owner's text is gone.
template <class Index, class Handle>
void IndexName(Index& index, const char* name, const Handle& owner) {
  if (Handle* stored = index.Search(name))
    *stored = owner;
  else
    index.Insert(CopyName(name), owner);
}

// Frees the owner's name; its index entry goes only while it names this owner.
template <class Index, class Handle>
void UnindexName(Index& index, char*& name, const Handle& owner) {
  auto entry = index.ElemSearch(name);
  if (!entry.End() && index.Value(entry) == owner) {
    char* key = const_cast<char*>(index.Key(entry));
    index.Delete(entry);
    free(key);
  }
  free(name);
  name = nullptr;
}

template <class Index>
void DeleteNameIndex(Index* index) {
  if (!index) return;
  while (!index->Empty()) {
    auto first = index->First();
    char* key = const_cast<char*>(index->Key(first));
    index->Delete(first);
    free(key);
  }
  delete index;
}

// Decimal text of an id, for the names of element terminals and internal nodes.
void FormatId(char (&buf)[32], const char* prefix, long id) { snprintf(buf, sizeof buf, "%s%ld", prefix, id); }

}  // namespace

ZELT_Grid::ZELT_Grid()
    : _pdefs(new ZELT_Grid_DefTable(&_lc)),
      _modifiable(true),
      _pdefname2it(new tolk_TRBTREE<const char*, ZELT_Grid_DefIter, ZELT_Grid_StringComparator>(&_scomp)),
      _pdefslots(new tolk_TASSOC<ZELT_Grid_DefSlot, ZELT_Grid_DefTable, ZELT_Grid_DefTableIter>(*_pdefs)),
      _iprops(*this, nullptr),
      _containseq(0) {}

// Tears the model down wholesale rather than entity by entity: nothing can
// observe the intermediate states. Records and their names live in the
// hierarchy's pool, which goes with the hierarchy, so they are not given back
// one by one; property values may hold memory of their own and are released.
ZELT_Grid::~ZELT_Grid() {
  DeleteHPropSets();
  for (ZELT_Grid_DefIter def = GetFirstDef(); !IsEnd(def); NextDef(def)) {
    DropEntityPropLists(def);
    ReleaseDefinitionData(def);
  }
  delete _pdefslots;
  DeleteNameIndex(_pdefname2it);
  delete _pdefs;
  _hier.AbandonRecords();
}

bool ZELT_Grid::BeginModify() {
  if (!_modifiable) return false;
  _modifiable = false;
  return true;
}

void ZELT_Grid::EndModify() { _modifiable = true; }

// ---------------------------------------------------------------------------
// Definitions
// ---------------------------------------------------------------------------

ZELT_Grid_DefIter ZELT_Grid::AddDefinition(long id, const char* name, DefType type) {
  ZELT_Grid_Graph* g = new ZELT_Grid_Graph(ZELT_Grid_GraphData(), &_hier.Records());
  if (_pdefs->Insert(id, g) != nullptr) {
    delete g;
    return ZELT_Grid_DefIter();
  }
  ZELT_Grid_DefIter def = _pdefs->ElemSearch(id);
  ZELT_Grid_GraphData& info = g->Info();
  info._id = id;
  info._type = type;
  info._it = def;
  AddDefName(def, name);
  _hier.AddScope(g);
  return def;
}

ZELT_Grid_DefIter ZELT_Grid::AddCircuitDef(long id, const char* name) {
  return AddDefinition(id, name, DefType_Circuit);
}

ZELT_Grid_DefIter ZELT_Grid::AddElementDef(long id, int numterminals, const long* termids, const char* name) {
  ZELT_Grid_DefIter def = AddDefinition(id, name, DefType_Element);
  if (IsEnd(def)) return def;
  long maxid = 0;
  for (int i = 0; i < numterminals; ++i) maxid = termids[i] > maxid ? termids[i] : maxid;

  char text[32];
  FormatId(text, "cn", maxid + 1);
  ZELT_Grid_HEntity inner;
  inner.AppendStep(ZELT_Grid_HEntityStep(Graph(def), AddLeaf(def, maxid + 1, text, LeafType_ConnNode)));
  ZELT_Grid_HEntity terminal = inner;
  for (int i = 0; i < numterminals; ++i) {
    FormatId(text, "", termids[i]);
    terminal[0].node = AddLeaf(def, termids[i], text, LeafType_Terminal);
    // Made with the element, not a change of its own for subclasses to see.
    ZELT_Grid::AddConnection(terminal, inner, termids[i]);
  }
  return def;
}

int ZELT_Grid::RemoveCircuitDef(ZELT_Grid_DefIter def) { return RemoveDefinition(def); }
int ZELT_Grid::RemoveElementDef(ZELT_Grid_DefIter def) { return RemoveDefinition(def); }

// A definition that is still instantiated would take instance nodes of other
// definitions with it behind their indexes' backs, so it is refused.
int ZELT_Grid::RemoveDefinition(ZELT_Grid_DefIter def) {
  ZELT_Grid_Graph* g = Graph(def);
  if (!IsPrime(g)) return 1;
  DropHPropsThrough(g, nullptr);
  DropEntityPropLists(def);
  RemoveContainAssocInDef(def);
  DropDefinitionData(def);
  int result = _hier.DeleteScope(g);
  _pdefs->Delete(def);
  return result;
}

// Releases everything the grid keeps for a definition outside its graph and
// leaves the definition's slot empty for whichever definition takes it next.
void ZELT_Grid::DropDefinitionData(ZELT_Grid_DefIter def) {
  for (ZELT_Grid_EntityIter ent = GetFirstEntity(def); !IsEnd(ent); NextEntity(def, ent))
    FreeName(EntityNameSlot(def, ent));
  ReleaseDefinitionData(def);
}

// All of it but the entities' names.
void ZELT_Grid::ReleaseDefinitionData(ZELT_Grid_DefIter def) {
  ZELT_Grid_DefSlot& slot = Slot(def);
  delete slot.defprops;
  DeleteContainmentMaps(def);
  RemoveDefName(def);
  DeleteEntityIndexes(slot);
  slot = ZELT_Grid_DefSlot();
}

void ZELT_Grid::DeleteEntityIndexes(ZELT_Grid_DefSlot& slot) {
  delete slot.names;
  slot.ids.Release();
  slot.conns.Release();
}

namespace {

template <class Index>
Index& Made(Index*& index, ZELT_Grid_Graph* graph) {
  if (!index) index = new Index({graph});
  return *index;
}

}  // namespace

ZELT_Grid_DefSlot::NameIndex& ZELT_Grid::NameIndexOf(ZELT_Grid_DefIter def) { return Made(Slot(def).names, Graph(def)); }

const char* ZELT_Grid_EntityNameKeys::KeyOf(const tolk_list_link* node) const {
  tolk_UNode n(const_cast<tolk_list_link*>(node));
  return ZELT_Grid_Graph::IsLeaf(n) ? graph->LeafValue(n)._pname : graph->Value(n)._pname;
}

long ZELT_Grid_EntityIdKeys::KeyOf(const tolk_list_link* node) const {
  tolk_UNode n(const_cast<tolk_list_link*>(node));
  return ZELT_Grid_Graph::IsLeaf(n) ? graph->LeafValue(n)._id : graph->Value(n)._id;
}

long ZELT_Grid_ConnIdKeys::KeyOf(const tolk_list_link* alink) const {
  return graph->Value(tolk_UEdge(const_cast<tolk_list_link*>(alink)))._id;
}

char* ZELT_Grid::NewName(const char* name) {
  const size_t bytes = strlen(name) + 1;
  char* copy = static_cast<char*>(_hier.Records().Allocate(bytes));
  memcpy(copy, name, bytes);
  return copy;
}

void ZELT_Grid::FreeName(char*& name) {
  if (!name) return;
  _hier.Records().Free(name, strlen(name) + 1);
  name = nullptr;
}

bool ZELT_Grid::IsPrime(ZELT_Grid_Graph* g) const { return g->NumOfReps() == 0; }

tolk_signed ZELT_Grid_PrimeOrder::Compare(void* const& a, void* const& b) const {
  const ZELT_Grid_GraphData& x = static_cast<ZELT_Grid_Graph*>(a)->Info();
  const ZELT_Grid_GraphData& y = static_cast<ZELT_Grid_Graph*>(b)->Info();
  if (x._type != y._type) return x._type == DefType_Circuit ? -1 : 1;
  return x._id < y._id ? -1 : (x._id > y._id ? 1 : 0);
}

ZELT_Grid_DefIter ZELT_Grid::GetPrimeCircuitDef() const {
  tolk_RBTreeIter first = _hier.GetPrimes().First();
  if (first.End()) return ZELT_Grid_DefIter();
  return _hier.GetPrimes().Value(first)->Info()._it;
}

std::vector<ZELT_Grid_DefIter> ZELT_Grid::GetAllPrimeCircuitDefs() const {
  std::vector<ZELT_Grid_DefIter> primes;
  const Grid_Hierarchy::GraphSet& set = _hier.GetPrimes();
  for (tolk_RBTreeIter it = set.First(); !it.End(); it.Next()) primes.push_back(set.Value(it)->Info()._it);
  return primes;
}

ZELT_Grid_DefIter ZELT_Grid::GetDefFromName(const char* name) const {
  if (!IsNontrivial(name)) return ZELT_Grid_DefIter();
  const ZELT_Grid_DefIter* def = _pdefname2it->Search(name);
  return def ? *def : ZELT_Grid_DefIter();
}

ZELT_Grid_DefIter ZELT_Grid::GetDefFromId(long id) const { return _pdefs->ElemSearch(id); }

// The record owns one copy of the name, the index another; a repeated name
// points the index at the newest definition.
void ZELT_Grid::AddDefName(ZELT_Grid_DefIter def, const char* name) {
  if (!IsNontrivial(name)) return;
  Graph(def)->Info()._pname = CopyName(name);
  IndexName(*_pdefname2it, name, def);
}

void ZELT_Grid::RemoveDefName(ZELT_Grid_DefIter def) {
  char*& name = Graph(def)->Info()._pname;
  if (name) UnindexName(*_pdefname2it, name, def);
}

// ---------------------------------------------------------------------------
// Entities
// ---------------------------------------------------------------------------

ZELT_Grid_EntityIter ZELT_Grid::AddLeaf(ZELT_Grid_DefIter def, long id, const char* name, LeafType type) {
  ZELT_Grid_LeafData leaf;
  leaf._id = id;
  leaf._type = type;
  // Terminals go to the front so that walks meet the newest terminal first.
  ZELT_Grid_EntityIter ent = _hier.AddLeafNode(Graph(def), leaf, type == LeafType_Terminal);
  AddEntityName(def, ent, name);
  AddEntityId(def, ent, id);
  return ent;
}

ZELT_Grid_EntityIter ZELT_Grid::AddConnNode(ZELT_Grid_DefIter def, long id, const char* name) {
  if (IsElementDef(def)) return ZELT_Grid_EntityIter();
  return AddLeaf(def, id, name, LeafType_ConnNode);
}

ZELT_Grid_EntityIter ZELT_Grid::AddTerminal(ZELT_Grid_DefIter def, long id, const char* name) {
  if (IsElementDef(def)) return ZELT_Grid_EntityIter();
  return AddLeaf(def, id, name, LeafType_Terminal);
}

// An element definition is a closed star, so nothing is placed inside it.
ZELT_Grid_EntityIter ZELT_Grid::AddInstance(ZELT_Grid_DefIter cit, ZELT_Grid_DefIter dit, long instid,
                                            const char* name) {
  if (IsElementDef(cit)) return ZELT_Grid_EntityIter();
  ZELT_Grid_NodeData data;
  data._id = instid;
  ZELT_Grid_EntityIter ent = _hier.AddNode(Graph(cit), data, Graph(dit), false);
  if (IsEnd(ent)) return ent;
  AddEntityName(cit, ent, name);
  AddEntityId(cit, ent, instid);
  return ent;
}

int ZELT_Grid::RemoveConnNode(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) {
  if (!IsConnNode(def, ent)) return 1;
  return RemoveEntity(def, ent);
}

int ZELT_Grid::RemoveTerminal(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) {
  if (!IsTerminal(def, ent)) return 1;
  return RemoveEntity(def, ent);
}

int ZELT_Grid::RemoveInst(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) {
  if (Graph(def)->IsLeaf(ent)) return 1;
  return RemoveEntity(def, ent);
}

int ZELT_Grid::RemoveEntity(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) {
  RemoveEntityName(def, ent);
  RemoveEntityId(def, ent);
  RemoveConnIdsOf(def, ent);
  RemoveConnectionsReaching(def, ent);
  RemoveSupportRelationsOf(def, ent);
  DropHPropsThrough(Graph(def), ent.position);
  ClearPropList(def, ent);
  RemoveContainerOf(def, ent);
  RemoveContaineesOf(def, ent);
  return _hier.DeleteNode(Graph(def), ent);
}

long ZELT_Grid::GetEntityID(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const {
  ZELT_Grid_Graph* g = Graph(def);
  return g->IsLeaf(ent) ? g->LeafValue(ent)._id : g->Value(ent)._id;
}

const char* ZELT_Grid::GetEntityName(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const {
  return EntityNameSlot(def, ent);
}

char*& ZELT_Grid::EntityNameSlot(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const {
  ZELT_Grid_Graph* g = Graph(def);
  return g->IsLeaf(ent) ? g->LeafValue(ent)._pname : g->Value(ent)._pname;
}

bool ZELT_Grid::IsInstanceOfType(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, DefType type) const {
  ZELT_Grid_Graph* g = Graph(def);
  return !g->IsLeaf(ent) && g->GetRepGraph(ent)->Info()._type == type;
}

bool ZELT_Grid::IsCircuitInst(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const {
  return IsInstanceOfType(def, ent, DefType_Circuit);
}

bool ZELT_Grid::IsElementInst(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const {
  return IsInstanceOfType(def, ent, DefType_Element);
}

ZELT_Grid_DefIter ZELT_Grid::GetDefinition(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const {
  ZELT_Grid_Graph* g = Graph(def);
  if (g->IsLeaf(ent)) return ZELT_Grid_DefIter();
  return g->GetRepGraph(ent)->Info()._it;
}

ZELT_Grid_EntityIter ZELT_Grid::GetEntityFromName(ZELT_Grid_DefIter def, const char* name) const {
  ZELT_Grid_DefSlot::NameIndex* names = Slot(def).names;
  if (!names || !IsNontrivial(name)) return ZELT_Grid_EntityIter();
  tolk_list_link* node = names->Find(name);
  return node ? ZELT_Grid_EntityIter(tolk_list_base_iter(node)) : ZELT_Grid_EntityIter();
}

void ZELT_Grid::TouchEntityName(ZELT_Grid_DefIter def, const char* name) const {
  ZELT_Grid_DefSlot::NameIndex* names = Slot(def).names;
  if (names != nullptr && IsNontrivial(name)) names->Touch(name);
}

namespace {

// Every entity of g, for an id table being made.
auto EveryNode(ZELT_Grid_Graph* g) {
  return [g](auto&& take) {
    for (tolk_UNode n = g->FirstNode(); !n.End(); n.Next()) take(n.position);
  };
}

}  // namespace

ZELT_Grid_EntityIter ZELT_Grid::GetEntityFromId(ZELT_Grid_DefIter def, long id) const {
  tolk_list_link* node = Slot(def).ids.Find(EntityIdKeysOf(def), id, EveryNode(Graph(def)));
  return node ? ZELT_Grid_EntityIter(tolk_list_base_iter(node)) : ZELT_Grid_EntityIter();
}

void ZELT_Grid::InitHEntStep(ZELT_Grid_HEntityStep& step, ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const {
  step.pscope = Graph(def);
  step.node = ent;
}

// The index reads its keys from the records: the entry for a repeated name moves
// to the newest entity, and an entity's name goes from the index only with it.
void ZELT_Grid::AddEntityName(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, const char* name) {
  char*& own = EntityNameSlot(def, ent);
  own = nullptr;
  if (!IsNontrivial(name)) return;
  own = NewName(name);
  NameIndexOf(def).Set(own, ent.position);
}

// Only while the entry still names ent: a newer entity with the same name keeps it.
void ZELT_Grid::RemoveEntityName(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) {
  char*& name = EntityNameSlot(def, ent);
  if (!name) return;
  Slot(def).names->EraseIf(name, ent.position);
  FreeName(name);
}

void ZELT_Grid::AddEntityId(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, long id) {
  Slot(def).ids.Add(EntityIdKeysOf(def), id, ent.position, EveryNode(Graph(def)));
}

// Only while the entry still names ent: a newer entity with the same id keeps it.
void ZELT_Grid::RemoveEntityId(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) {
  Slot(def).ids.Remove(GetEntityID(def, ent), ent.position);
}
