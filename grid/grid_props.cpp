// ZELT_Grid: entity, hierarchical-entity and definition properties, asset classes.
#include "grid/grid.h"

#include <utility>

namespace {

tolk_PropertySetIter FindKey(const tolk_PropertySet* set, int key) {
  tolk_PropertySetIter it;
  if (!set) return it;
  for (it = set->First(); !it.End(); it.Next()) {
    if (set->QItPropKey(it) == key) break;
  }
  return it;
}

tolk_PropertySetIter FirstOf(const tolk_PropertySet* set) { return set ? set->First() : tolk_PropertySetIter(); }

}  // namespace

// ---------------------------------------------------------------------------
// Entity property lists: one slot per node of the definition's graph, made
// when the definition gets its first entity property.
// ---------------------------------------------------------------------------

ZELT_Grid_PropList* ZELT_Grid::FindPropList(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const {
  ZELT_Grid_DefSlot::EntityProps* props = Slot(def).entprops;
  return props ? &(*props)[ent] : nullptr;
}

ZELT_Grid_PropList& ZELT_Grid::PropList(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) {
  ZELT_Grid_DefSlot& slot = Slot(def);
  if (!slot.entprops) slot.entprops = new ZELT_Grid_DefSlot::EntityProps(*Graph(def));
  return (*slot.entprops)[ent];
}

// Node slots are reused for later nodes, so a released list leaves an empty one behind.
void ZELT_Grid::ClearPropList(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) {
  if (ZELT_Grid_PropList* list = FindPropList(def, ent)) list->Clear(_hier.Records());
}

void ZELT_Grid::DropEntityPropLists(ZELT_Grid_DefIter def) {
  ZELT_Grid_DefSlot& slot = Slot(def);
  if (!slot.entprops) return;
  for (ZELT_Grid_EntityIter ent = GetFirstEntity(def); !IsEnd(ent); NextEntity(def, ent))
    (*slot.entprops)[ent].Clear(_hier.Records());
  delete slot.entprops;
  slot.entprops = nullptr;
}

ZELT_Grid_PropIter ZELT_Grid::AddProperty(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, int key,
                                          ZELT_Grid_PropData value) {
  return PropList(def, ent).Add(_hier.Records(), key, std::move(value));
}

// Removes every entry with the key found at it, not only that one.
int ZELT_Grid::RemoveProperty(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, ZELT_Grid_PropIter it) {
  ZELT_Grid_PropList* list = FindPropList(def, ent);
  if (!list || list->Empty()) return 1;
  list->Remove(_hier.Records(), ZELT_Grid_PropList::KeyAt(it));
  return 0;
}

ZELT_Grid_PropIter ZELT_Grid::GetProperty(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent, int key) const {
  ZELT_Grid_PropList* list = FindPropList(def, ent);
  return list ? list->Find(key) : tolk_PropertySetIter();
}

ZELT_Grid_PropIter ZELT_Grid::GetFirstProperty(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) const {
  ZELT_Grid_PropList* list = FindPropList(def, ent);
  return list ? list->First() : tolk_PropertySetIter();
}

int ZELT_Grid::GetPropertyKey(ZELT_Grid_DefIter, ZELT_Grid_EntityIter, ZELT_Grid_PropIter it) const {
  return ZELT_Grid_PropList::KeyAt(it);
}

ZELT_Grid_PropData& ZELT_Grid::GetPropertyValue(ZELT_Grid_DefIter, ZELT_Grid_EntityIter, ZELT_Grid_PropIter it) const {
  return ZELT_Grid_PropList::ValueAt(it);
}

// ---------------------------------------------------------------------------
// Hierarchical-entity properties
// ---------------------------------------------------------------------------

ZELT_Grid_HPropIter ZELT_Grid::AddHProperty(const ZELT_Grid_HEntity& h, int key, const ZELT_Grid_PropData& value) {
  tolk_PropertySet* set = _iprops.GetValue(h);
  if (!set) {
    set = new tolk_PropertySet();
    _iprops.SetValue(h, set);
  }
  set->AddProperty(key, value);
  return set->First();
}

// A path whose last entry goes loses its set and its entry altogether.
int ZELT_Grid::RemoveHProperty(const ZELT_Grid_HEntity& h, ZELT_Grid_HPropIter it) {
  tolk_PropertySet* set = _iprops.GetValue(h);
  if (!set) return 1;
  int removed = set->RemoveProperty(set->QItPropKey(it));
  if (set->First().End()) {
    delete set;
    _iprops.Remove(h);
  }
  return removed == 0 ? 1 : 0;
}

ZELT_Grid_HPropIter ZELT_Grid::GetHProperty(const ZELT_Grid_HEntity& h, int key) const {
  return FindKey(_iprops.GetValue(h), key);
}

ZELT_Grid_HPropIter ZELT_Grid::GetFirstHProperty(const ZELT_Grid_HEntity& h) const {
  return FirstOf(_iprops.GetValue(h));
}

int ZELT_Grid::GetHPropKey(const ZELT_Grid_HEntity& h, ZELT_Grid_HPropIter it) const {
  return _iprops.GetValue(h)->QItPropKey(it);
}

ZELT_Grid_PropData& ZELT_Grid::GetHPropValue(const ZELT_Grid_HEntity& h, ZELT_Grid_HPropIter it) const {
  return _iprops.GetValue(h)->QItProperty(it);
}

// Paths are ordered by the ids in their node records, so a path through a node
// about to go could no longer be compared; its entry goes first, with its set.
void ZELT_Grid::DropHPropsThrough(const tolk_hgraph_base* scope, const tolk_list_link* node) {
  _iprops.RemoveIf([&](const ZELT_Grid_HEntity& path, tolk_PropertySet* set) {
    for (int i = 0; i < path.GetLength(); ++i) {
      if (path[i].pscope == scope && (node == nullptr || path[i].node.position == node)) {
        delete set;
        return true;
      }
    }
    return false;
  });
}

void ZELT_Grid::DeleteHPropSets() {
  for (ZELT_Grid_InstAssocIter it = _iprops.First(); !_iprops.IsEnd(it); _iprops.Next(it))
    delete _iprops.GetValue(it);
}

// ---------------------------------------------------------------------------
// Definition properties and asset classes
// ---------------------------------------------------------------------------

ZELT_Grid_DefPropIter ZELT_Grid::AddDefProperty(ZELT_Grid_DefIter def, int key, const ZELT_Grid_PropData& value) {
  tolk_PropertySet*& set = Slot(def).defprops;
  if (!set) set = new tolk_PropertySet();
  set->AddProperty(key, value);
  return set->First();
}

// Removes the one entry at it, unlike the entity and path stores.
int ZELT_Grid::RemoveDefProperty(ZELT_Grid_DefIter def, ZELT_Grid_DefPropIter it) {
  tolk_PropertySet* set = Slot(def).defprops;
  if (!set) return 1;
  tolk_PropertySetIter at = it;
  set->RemoveProperty(at);
  return 0;
}

ZELT_Grid_DefPropIter ZELT_Grid::GetDefProperty(ZELT_Grid_DefIter def, int key) const {
  return FindKey(Slot(def).defprops, key);
}

ZELT_Grid_DefPropIter ZELT_Grid::GetFirstDefProperty(ZELT_Grid_DefIter def) const {
  return FirstOf(Slot(def).defprops);
}

int ZELT_Grid::GetDefPropertyKey(ZELT_Grid_DefIter def, ZELT_Grid_DefPropIter it) const {
  return Slot(def).defprops->QItPropKey(it);
}

ZELT_Grid_PropData& ZELT_Grid::GetDefPropertyValue(ZELT_Grid_DefIter def, ZELT_Grid_DefPropIter it) const {
  return Slot(def).defprops->QItProperty(it);
}

// A negative key would read as "no class"; it is refused like a second class.
int ZELT_Grid::AddDefAssetClass(ZELT_Grid_DefIter def, int key) {
  int& slot = Slot(def).assetclass;
  if (key < 0 || slot >= 0) return 1;
  slot = key;
  return 0;
}

int ZELT_Grid::RemoveDefAssetClass(ZELT_Grid_DefIter def) {
  int& slot = Slot(def).assetclass;
  if (slot < 0) return 1;
  slot = -1;
  return 0;
}
