// ZELT_Grid: the in-memory hierarchical grid model of definitions, entities,
// connections, properties, containment and support relations.
#pragma once

#include <cstring>
#include <vector>

#include "grid/assoc.h"
#include "grid/hentity.h"
#include "grid/linkindex.h"
#include "grid/proplist.h"
#include "tolk/hgraph_hierarchy.h"
#include "tolk/patricia.h"
#include "tolk/prefetch.h"

typedef tolk_HIERARCHY<ZELT_Grid_GraphData, ZELT_Grid_NodeData, ZELT_Grid_EdgeData, ZELT_Grid_LeafData>
    ZELT_Grid_HierarchyBase;

// Orders the definitions that nothing instantiates: circuits before elements,
// then ascending id, so that the top circuit comes first however many unused
// element types were declared before it.
class ZELT_Grid_PrimeOrder final : public tolk_Comparator<void*> {
 public:
  tolk_signed Compare(void* const& a, void* const& b) const override;
};

// The hierarchy of definition graphs; it owns every graph registered with it.
class Grid_Hierarchy : public ZELT_Grid_HierarchyBase {
 public:
  Grid_Hierarchy() : ZELT_Grid_HierarchyBase(&_primeorder) {}

 private:
  static inline ZELT_Grid_PrimeOrder _primeorder;
};

// A flattened connection: one edge met while walking a leaf path's connections
// across the instance boundary above it.
class ZELT_Grid_VFConnectionIter {
 public:
  ZELT_Grid_VFConnectionIter() = default;

 private:
  friend class ZELT_Grid;
  ZELT_Grid_Graph* _pscope = nullptr;  // graph the current edge lies in; null at the end
  ZELT_Grid_ConnectionIter _edge;      // the edge, in the incidence list being walked
  bool _virtual = false;               // walking the enclosing instance's edges
};

// The keys of a definition's lookup tables, read from its node and edge records.
struct ZELT_Grid_EntityNameKeys {
  typedef const char* Key;
  uint64_t Hash(const char* name) const { return ZELT_Grid_KeyHash::OfName(name); }
  const char* KeyOf(const tolk_list_link* node) const;
  bool Same(const char* a, const char* b) const { return strcmp(a, b) == 0; }
  void PrefetchKey(const tolk_list_link* node) const { tolk_Prefetch(KeyOf(node)); }
  ZELT_Grid_Graph* graph;
};

struct ZELT_Grid_IdKeys {
  typedef long Key;
  uint64_t Hash(long id) const { return ZELT_Grid_KeyHash::OfId(id); }
  bool Same(long a, long b) const { return a == b; }
  ZELT_Grid_Graph* graph;
};

struct ZELT_Grid_EntityIdKeys : ZELT_Grid_IdKeys {
  long KeyOf(const tolk_list_link* node) const;
};

struct ZELT_Grid_ConnIdKeys : ZELT_Grid_IdKeys {
  long KeyOf(const tolk_list_link* alink) const;
};

// Everything the grid keeps per definition, in one side-array slot of the
// definition table. A removed definition's slot is reset to this empty state
// before the table hands it to a later definition.
struct ZELT_Grid_DefSlot {
  typedef ZELT_Grid_LinkIndex<ZELT_Grid_EntityNameKeys> NameIndex;
  typedef ZELT_Grid_DeferredLinkIndex<ZELT_Grid_EntityIdKeys> IdIndex;
  typedef ZELT_Grid_DeferredLinkIndex<ZELT_Grid_ConnIdKeys> ConnIndex;
  typedef tolk_UNODEASSOC<ZELT_Grid_PropList> EntityProps;
  struct Container {
    ZELT_Grid_EntityIter container;
    long seq;  // when the relation was made; orders the containee sets
  };
  typedef tolk_PATRICIA<ZELT_Grid_EntityIter, Container> ContainerMap;
  typedef tolk_TRBTREE<long, ZELT_Grid_EntityIter, ZELT_Grid_LongComparator> ContaineeSet;
  typedef tolk_PATRICIA<ZELT_Grid_EntityIter, ContaineeSet*> ContaineeMap;

  NameIndex* names = nullptr;  // entity name -> node; the keys are the records' names
  IdIndex ids;                 // entity id -> node
  ConnIndex conns;             // connection id -> edge link in its tail's list
  EntityProps* entprops = nullptr;     // entity property lists, one slot per node
  ContainerMap* containers = nullptr;
  ContaineeMap* containees = nullptr;
  tolk_PropertySet* defprops = nullptr;
  int assetclass = -1;
};

// A set of circuit and element definitions, each one graph of entities and
// connections. The model owns every graph, record, name copy and property set
// in it; callers hold value handles, valid until what they denote is removed.
class ZELT_Grid {
 public:
  ZELT_Grid();
  // Every slot array attached to one of the grid's definitions (ZELT_Grid_DefAssoc,
  // ZELT_Grid_Assoc, state sets) must be gone before the grid is destroyed.
  virtual ~ZELT_Grid();
  ZELT_Grid(const ZELT_Grid&) = delete;
  ZELT_Grid& operator=(const ZELT_Grid&) = delete;

  // Modification interface. Subclasses that record or persist changes override
  // all of these and call the base versions to change the model; the grid's own
  // removals call the containment operations virtually so they see those too.
  // Removing an entity also removes the connections of enclosing definitions
  // that reach it, its place in other entities' support lists and the path
  // properties of paths through it.
  virtual bool BeginModify();
  virtual void EndModify();
  // An existing id is refused with the end handle.
  virtual ZELT_Grid_DefIter AddCircuitDef(long id, const char* name);
  // Refused with 1 while the definition is still instantiated somewhere.
  virtual int RemoveCircuitDef(ZELT_Grid_DefIter def);
  // A star: the terminals with the given ids joined to one internal
  // connectivity node cn<maxid+1> by connections whose ids are the terminal ids.
  virtual ZELT_Grid_DefIter AddElementDef(long id, int numterminals, const long* termids, const char* name);
  virtual int RemoveElementDef(ZELT_Grid_DefIter def);
  virtual ZELT_Grid_EntityIter AddConnNode(ZELT_Grid_DefIter def, long id, const char* name);
  virtual ZELT_Grid_EntityIter AddTerminal(ZELT_Grid_DefIter def, long id, const char* name);
  virtual int RemoveConnNode(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent);
  virtual int RemoveTerminal(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent);
  virtual ZELT_Grid_EntityIter AddInstance(ZELT_Grid_DefIter cit, ZELT_Grid_DefIter dit, long instid,
                                           const char* name);
  virtual int RemoveInst(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent);
  virtual ZELT_Grid_ConnectionIter AddConnection(const ZELT_Grid_HEntity& I1, const ZELT_Grid_HEntity& I2,
                                                 long id);
  virtual int RemoveConnection(ZELT_Grid_DefIter def, ZELT_Grid_ConnectionIter conn);
  virtual int AddContainerOf(ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter containedentity,
                             ZELT_Grid_EntityIter container);
  virtual int RemoveContainerOf(ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter containedentity);
  virtual int RemoveContaineesOf(ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter container);
  // Taken by value: a value made for the call moves in, and only a kept one is copied.
  virtual ZELT_Grid_PropIter AddProperty(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, int key,
                                         ZELT_Grid_PropData value);
  virtual int RemoveProperty(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, ZELT_Grid_PropIter it);
  virtual ZELT_Grid_HPropIter AddHProperty(const ZELT_Grid_HEntity& h, int key, const ZELT_Grid_PropData& value);
  virtual int RemoveHProperty(const ZELT_Grid_HEntity& h, ZELT_Grid_HPropIter it);
  virtual ZELT_Grid_DefPropIter AddDefProperty(ZELT_Grid_DefIter def, int key, const ZELT_Grid_PropData& value);
  virtual int RemoveDefProperty(ZELT_Grid_DefIter def, ZELT_Grid_DefPropIter it);
  virtual int AddDefAssetClass(ZELT_Grid_DefIter def, int key);
  virtual int RemoveDefAssetClass(ZELT_Grid_DefIter def);

  // Definitions, in ascending id.
  long GetDefID(ZELT_Grid_DefIter def) const { return Graph(def)->Info()._id; }
  const char* GetDefName(ZELT_Grid_DefIter def) const { return Graph(def)->Info()._pname; }
  bool IsElementDef(ZELT_Grid_DefIter def) const { return Graph(def)->Info()._type == DefType_Element; }
  ZELT_Grid_DefIter GetFirstDef() const { return _pdefs->First(); }
  void NextDef(ZELT_Grid_DefIter& def) const { def.Next(); }
  bool IsEnd(const ZELT_Grid_DefIter& def) const { return def.End(); }
  void SetEnd(ZELT_Grid_DefIter& def) const { def.MakeEnd(); }
  // Definitions that nothing instantiates: circuits before elements, each in
  // ascending id. The first of them is the prime circuit.
  ZELT_Grid_DefIter GetPrimeCircuitDef() const;
  std::vector<ZELT_Grid_DefIter> GetAllPrimeCircuitDefs() const;
  ZELT_Grid_DefIter GetDefFromName(const char* name) const;
  ZELT_Grid_DefIter GetDefFromId(long id) const;

  // Entities: terminals first (newest first), then connectivity nodes and
  // instances in order of addition.
  long GetEntityID(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const;
  const char* GetEntityName(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const;
  ZELT_Grid_EntityIter GetFirstEntity(ZELT_Grid_DefIter def) const { return Graph(def)->FirstNode(); }
  // Bytes of the chunks that hold the model's records (entities, connections, names and
  // property entries). Walks over a model that outgrows the processor's caches fetch
  // ahead of themselves; over a smaller one those fetches only add work.
  size_t RecordBytes() const { return _hier.Records().ChunkBytes(); }
  static constexpr size_t kFetchAheadFrom = size_t(32) << 20;
  bool WorthFetchingAhead() const { return RecordBytes() >= kFetchAheadFrom; }
  // Fetches ahead as it goes: the entities of a model built in one go lie in memory in
  // the order of the walk.
  void NextEntity(const ZELT_Grid_DefIter&, ZELT_Grid_EntityIter& ent) const {
    const tolk_list_link* left = ent.position;
    ent.Next();
    tolk_PrefetchStep(left, ent.position);
  }
  bool IsEnd(const ZELT_Grid_EntityIter& ent) const { return ent.End(); }
  void SetEnd(ZELT_Grid_EntityIter& ent) const { ent.MakeEnd(); }
  bool IsCircuitInst(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const;
  bool IsElementInst(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const;
  bool IsConnNode(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const { return IsLeafOfType(def, ent, LeafType_ConnNode); }
  bool IsTerminal(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const { return IsLeafOfType(def, ent, LeafType_Terminal); }
  // The instantiated definition, or the end handle for a leaf.
  ZELT_Grid_DefIter GetDefinition(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const;
  ZELT_Grid_EntityIter GetEntityFromName(ZELT_Grid_DefIter def, const char* name) const;
  // Starts fetching what a lookup of name in def reads first; a reader about to look up
  // several names touches them all before, so that they wait for memory together.
  void TouchEntityName(ZELT_Grid_DefIter def, const char* name) const;
  ZELT_Grid_EntityIter GetEntityFromId(ZELT_Grid_DefIter def, long id) const;

  // Steps of hierarchical entities.
  void InitHEntStep(ZELT_Grid_HEntityStep& step, ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const;
  ZELT_Grid_DefIter GetDefIt(const tolk_instance_step_base& step) const { return ZELT_Grid_ScopeOf(step)->Info()._it; }
  ZELT_Grid_EntityIter GetEntIt(const tolk_instance_step_base& step) const { return step.node; }

  // Connections of one entity, newest first.
  long GetConnectionID(ZELT_Grid_DefIter def, ZELT_Grid_ConnectionIter conn) const;
  ZELT_Grid_ConnectionIter GetFirstConnection(ZELT_Grid_DefIter, ZELT_Grid_EntityIter ent) const {
    return tolk_UEdge::First(ent);
  }
  void NextConnection(const ZELT_Grid_DefIter&, const ZELT_Grid_EntityIter&, ZELT_Grid_ConnectionIter& conn) const {
    conn.Next();
  }
  bool IsEnd(const ZELT_Grid_ConnectionIter& conn) const { return conn.End(); }
  void SetEnd(ZELT_Grid_ConnectionIter& conn) const { conn.MakeEnd(); }
  ZELT_Grid_ConnectionIter GetConntionFromId(ZELT_Grid_DefIter def, long id) const;
  ZELT_Grid_EntityIter Head(ZELT_Grid_DefIter def, ZELT_Grid_ConnectionIter conn) const;
  ZELT_Grid_EntityIter Tail(ZELT_Grid_DefIter def, ZELT_Grid_ConnectionIter conn) const;
  // The top-level entity at the other end; ent itself for a loop.
  ZELT_Grid_EntityIter GetConOtherEnd(ZELT_Grid_DefIter, ZELT_Grid_EntityIter ent, ZELT_Grid_ConnectionIter conn) const {
    return ZELT_Grid_Graph::OtherEnd(ent, conn);
  }
  // Calls f with the top-level entity at the other end of each connection of ent, in
  // the order of GetFirstConnection and NextConnection.
  template <class F>
  void ForConnEnds(const ZELT_Grid_DefIter& def, const ZELT_Grid_EntityIter& ent, F f) const {
    for (ZELT_Grid_ConnectionIter c = GetFirstConnection(def, ent); !IsEnd(c); NextConnection(def, ent, c))
      f(GetConOtherEnd(def, ent, c));
  }
  // The ends as paths from def: the top-level entity and, for an instance, the
  // entity inside it that the connection reaches.
  ZELT_Grid_HEntity HGetConOtherEnd(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent,
                                    ZELT_Grid_ConnectionIter conn) const;
  ZELT_Grid_HEntity HGetConThisEnd(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent,
                                   ZELT_Grid_ConnectionIter conn) const;

  // The flattened walk at a path that ends at a leaf: first the leaf's own
  // connections, then those that the enclosing definition makes to it through
  // the instance above it.
  ZELT_Grid_VFConnectionIter GetFirstVFConnection(const ZELT_Grid_HEntity& leaf) const;
  void NextVFConnection(const ZELT_Grid_HEntity& leaf, ZELT_Grid_VFConnectionIter& it) const;
  bool IsEnd(const ZELT_Grid_VFConnectionIter& it) const { return it._pscope == nullptr; }
  void SetEnd(ZELT_Grid_VFConnectionIter& it) const { it = ZELT_Grid_VFConnectionIter(); }
  ZELT_Grid_DefIter GetDefinition(const ZELT_Grid_VFConnectionIter& it) const { return it._pscope->Info()._it; }
  ZELT_Grid_ConnectionIter GetConnection(const ZELT_Grid_VFConnectionIter& it) const { return it._edge; }
  // The full path, from step 0 of leaf, of the leaf at the other end.
  ZELT_Grid_HEntity VFGetConOtherEnd(const ZELT_Grid_HEntity& leaf, ZELT_Grid_VFConnectionIter it) const;

  // Entity properties, newest first; a key may occur more than once.
  ZELT_Grid_PropIter GetProperty(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, int key) const;
  ZELT_Grid_PropIter GetFirstProperty(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const;
  void NextProperty(const ZELT_Grid_DefIter&, const ZELT_Grid_EntityIter&, ZELT_Grid_PropIter& it) const {
    it.Next();
  }
  bool IsEnd(const ZELT_Grid_PropIter& it) const { return it.End(); }
  void SetEnd(ZELT_Grid_PropIter& it) const { it.MakeEnd(); }
  int GetPropertyKey(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, ZELT_Grid_PropIter it) const;
  ZELT_Grid_PropData& GetPropertyValue(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, ZELT_Grid_PropIter it) const;

  // Hierarchical-entity properties.
  ZELT_Grid_HPropIter GetHProperty(const ZELT_Grid_HEntity& h, int key) const;
  ZELT_Grid_HPropIter GetFirstHProperty(const ZELT_Grid_HEntity& h) const;
  void NextHProperty(const ZELT_Grid_HEntity&, ZELT_Grid_HPropIter& it) const { it.Next(); }
  bool IsEnd(const ZELT_Grid_HPropIter& it) const { return it.End(); }
  void SetEnd(ZELT_Grid_HPropIter& it) const { it.MakeEnd(); }
  int GetHPropKey(const ZELT_Grid_HEntity& h, ZELT_Grid_HPropIter it) const;
  ZELT_Grid_PropData& GetHPropValue(const ZELT_Grid_HEntity& h, ZELT_Grid_HPropIter it) const;

  // Definition properties.
  ZELT_Grid_DefPropIter GetDefProperty(ZELT_Grid_DefIter def, int key) const;
  ZELT_Grid_DefPropIter GetFirstDefProperty(ZELT_Grid_DefIter def) const;
  void NextDefProperty(const ZELT_Grid_DefIter&, ZELT_Grid_DefPropIter& it) const { it.Next(); }
  bool IsEnd(const ZELT_Grid_DefPropIter& it) const { return it.End(); }
  void SetEnd(ZELT_Grid_DefPropIter& it) const { it.MakeEnd(); }
  int GetDefPropertyKey(ZELT_Grid_DefIter def, ZELT_Grid_DefPropIter it) const;
  ZELT_Grid_PropData& GetDefPropertyValue(ZELT_Grid_DefIter def, ZELT_Grid_DefPropIter it) const;

  // The definition's asset class key, or -1.
  int GetDefAssetClassKey(ZELT_Grid_DefIter def) const { return Slot(def).assetclass; }

  // Containment inside one definition.
  ZELT_Grid_EntityIter GetContainer(const ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter containedentity) const;
  // Appends the contained entities, in the order they were put in; the vector is
  // not cleared first.
  void GetContainees(ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter container,
                     std::vector<ZELT_Grid_EntityIter>& containees) const;

  // Support relations, kept in both directions as list properties of the
  // entities (keys 1 and 2), in the order they were added.
  void AddSupportRelation(ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter supportee, ZELT_Grid_EntityIter supporter);
  const std::vector<tolk_list_base_iter>& GetSupporters(const ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter eit) const;
  const std::vector<tolk_list_base_iter>& GetSupportees(const ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter eit) const;

  // The definition's graph, for the slot arrays that attach data to its nodes.
  ZELT_Grid_Graph* Graph(ZELT_Grid_DefIter def) const { return _pdefs->Value(def); }

 private:
  ZELT_Grid_DefSlot& Slot(ZELT_Grid_DefIter def) const { return (*_pdefslots)[def]; }
  ZELT_Grid_DefIter AddDefinition(long id, const char* name, DefType type);
  int RemoveDefinition(ZELT_Grid_DefIter def);
  void DropDefinitionData(ZELT_Grid_DefIter def);
  void ReleaseDefinitionData(ZELT_Grid_DefIter def);
  ZELT_Grid_EntityIter AddLeaf(ZELT_Grid_DefIter def, long id, const char* name, LeafType type);
  int RemoveEntity(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent);
  bool IsLeafOfType(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, LeafType type) const {
    return ZELT_Grid_Graph::IsLeaf(ent) && Graph(def)->LeafValue(ent)._type == type;
  }
  bool IsInstanceOfType(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, DefType type) const;
  bool IsPrime(ZELT_Grid_Graph* g) const;
  char*& EntityNameSlot(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const;
  // Record names live in the record pool beside the records.
  char* NewName(const char* name);
  void FreeName(char*& name);

  // Name and id indexes. Names that are null or empty are neither copied nor indexed.
  static bool IsNontrivial(const char* name) { return name != nullptr && name[0] != '\0'; }
  void AddDefName(ZELT_Grid_DefIter def, const char* name);
  // The definition's name table, made on first use, and what its id tables need.
  ZELT_Grid_DefSlot::NameIndex& NameIndexOf(ZELT_Grid_DefIter def);
  ZELT_Grid_EntityIdKeys EntityIdKeysOf(ZELT_Grid_DefIter def) const { return {Graph(def)}; }
  ZELT_Grid_ConnIdKeys ConnIdKeysOf(ZELT_Grid_DefIter def) const { return {Graph(def)}; }
  void RemoveDefName(ZELT_Grid_DefIter def);
  void AddEntityName(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, const char* name);
  void RemoveEntityName(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent);
  void AddEntityId(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, long id);
  void RemoveEntityId(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent);
  void AddConnId(ZELT_Grid_DefIter def, ZELT_Grid_ConnectionIter conn, long id);
  void RemoveConnId(ZELT_Grid_DefIter def, ZELT_Grid_ConnectionIter conn);
  void RemoveConnIdsOf(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent);
  void RemoveConnectionsReaching(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent);
  void RemoveConnectionsThrough(ZELT_Grid_Graph* scope, const tolk_UNode& instance, const ZELT_Grid_HEntity& lead);
  void DeleteEntityIndexes(ZELT_Grid_DefSlot& slot);

  // Entity property lists: null when the definition has none yet.
  ZELT_Grid_PropList* FindPropList(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const;
  ZELT_Grid_PropList& PropList(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent);
  void ClearPropList(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent);
  void DropEntityPropLists(ZELT_Grid_DefIter def);
  void DeleteHPropSets();
  // Drops the path properties of paths through node of scope (any node when null).
  void DropHPropsThrough(const tolk_hgraph_base* scope, const tolk_list_link* node);

  // Containment and support bookkeeping.
  void RemoveContainAssoc(ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter ent);
  void RemoveContainAssocInDef(ZELT_Grid_DefIter dit);
  void DeleteContainmentMaps(ZELT_Grid_DefIter dit);
  void RemoveSupportRelationsOf(ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter ent);
  void AddIter(const ZELT_Grid_HEntityStep& is, const tolk_list_base_iter& it, int key);
  const std::vector<tolk_list_base_iter>& GetIters(const ZELT_Grid_HEntityStep& is, int key) const;

  // Flattened walk helpers.
  void StartVirtualEdges(const ZELT_Grid_HEntity& leaf, ZELT_Grid_VFConnectionIter& it) const;
  void SeekVirtualEdge(const ZELT_Grid_HEntity& leaf, ZELT_Grid_VFConnectionIter& it) const;

  Grid_Hierarchy _hier;
  ZELT_Grid_LongComparator _lc;
  ZELT_Grid_DefTable* _pdefs;
  bool _modifiable;
  ZELT_Grid_StringComparator _scomp;
  tolk_TRBTREE<const char*, ZELT_Grid_DefIter, ZELT_Grid_StringComparator>* _pdefname2it;
  tolk_TASSOC<ZELT_Grid_DefSlot, ZELT_Grid_DefTable, ZELT_Grid_DefTableIter>* _pdefslots;
  ZELT_Grid_InstAssoc<tolk_PropertySet*> _iprops;
  long _containseq;
  std::vector<tolk_list_base_iter> empty_iter_vec;
};
