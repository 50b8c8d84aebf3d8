// ZELT_Grid: containment inside a definition and support relations between entities.
#include <algorithm>

#include "grid/grid.h"
#include "grid/log.h"

namespace {

enum SupportKey { kSupporterKey = 1, kSupporteeKey = 2 };

const char* NameForLog(const char* name) { return name ? name : "{}"; }

}  // namespace

// ---------------------------------------------------------------------------
// Containment. Invariant: e is in the set of c exactly when the container map
// maps e to c. Sets are ordered by when the relation was made, which does not
// depend on where entities happen to lie in memory.
// ---------------------------------------------------------------------------

int ZELT_Grid::AddContainerOf(ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter containedentity,
                              ZELT_Grid_EntityIter container) {
  if (Graph(dit)->IsLeaf(containedentity) || containedentity == container) return 1;
  ZELT_Grid_DefSlot& slot = Slot(dit);
  if (!slot.containers) {
    ZELTLOG(stderr, "Creating new container map for definition %s\n", NameForLog(GetDefName(dit)));
    slot.containers = new ZELT_Grid_DefSlot::ContainerMap();
  }
  long seq = _containseq;
  if (slot.containers->Insert(containedentity, ZELT_Grid_DefSlot::Container{container, seq}) != nullptr) return 1;
  ++_containseq;
  if (!slot.containees) {
    ZELTLOG(stderr, "Creating new containee map for definition %s\n", NameForLog(GetDefName(dit)));
    slot.containees = new ZELT_Grid_DefSlot::ContaineeMap();
  }
  ZELT_Grid_DefSlot::ContaineeSet** set = slot.containees->Search(container);
  if (!set) {
    slot.containees->Insert(container, new ZELT_Grid_DefSlot::ContaineeSet(&_lc));
    set = slot.containees->Search(container);
  }
  (*set)->Insert(seq, containedentity);
  ZELTLOG(stderr, "- entry in map is now %d\n", static_cast<int>(seq));
  return 0;
}

int ZELT_Grid::RemoveContainerOf(ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter containedentity) {
  ZELT_Grid_DefSlot& slot = Slot(dit);
  ZELT_Grid_DefSlot::Container* entry = slot.containers ? slot.containers->Search(containedentity) : nullptr;
  if (!entry) return 1;
  ZELT_Grid_DefSlot::Container relation = *entry;
  int missing = slot.containers->Delete(containedentity);
  ZELT_Grid_DefSlot::ContaineeSet** set = slot.containees ? slot.containees->Search(relation.container) : nullptr;
  if (!set) return 1;
  missing |= (*set)->Delete(relation.seq);
  if ((*set)->Empty()) {
    delete *set;
    slot.containees->Delete(relation.container);
  }
  return missing ? 1 : 0;
}

int ZELT_Grid::RemoveContaineesOf(ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter container) {
  ZELT_Grid_DefSlot& slot = Slot(dit);
  ZELT_Grid_DefSlot::ContaineeSet** found = slot.containees ? slot.containees->Search(container) : nullptr;
  if (!found) return 1;
  ZELT_Grid_DefSlot::ContaineeSet* set = *found;
  while (!set->Empty()) {
    auto first = set->First();
    slot.containers->Delete(set->Value(first));
    set->Delete(first);
  }
  delete set;
  slot.containees->Delete(container);
  return 0;
}

ZELT_Grid_EntityIter ZELT_Grid::GetContainer(const ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter containedentity) const {
  ZELT_Grid_DefSlot::ContainerMap* containers = Slot(dit).containers;
  const ZELT_Grid_DefSlot::Container* entry = containers ? containers->Search(containedentity) : nullptr;
  return entry ? entry->container : ZELT_Grid_EntityIter();
}

void ZELT_Grid::GetContainees(ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter container,
                              std::vector<ZELT_Grid_EntityIter>& containees) const {
  ZELT_Grid_DefSlot::ContaineeMap* map = Slot(dit).containees;
  ZELT_Grid_DefSlot::ContaineeSet* const* set = map ? map->Search(container) : nullptr;
  if (!set) return;
  for (auto it = (*set)->First(); !it.End(); it.Next()) containees.push_back((*set)->Value(it));
}

// Both directions go through the virtual operations so that subclasses see them.
void ZELT_Grid::RemoveContainAssoc(ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter ent) {
  RemoveContainerOf(dit, ent);
  RemoveContaineesOf(dit, ent);
}

void ZELT_Grid::RemoveContainAssocInDef(ZELT_Grid_DefIter dit) {
  for (ZELT_Grid_EntityIter ent = GetFirstEntity(dit); !IsEnd(ent); NextEntity(dit, ent)) RemoveContainAssoc(dit, ent);
  DeleteContainmentMaps(dit);
}

void ZELT_Grid::DeleteContainmentMaps(ZELT_Grid_DefIter dit) {
  ZELT_Grid_DefSlot& slot = Slot(dit);
  if (slot.containers) {
    ZELTLOG(stderr, "Deleting container map %d for def %s\n", static_cast<int>(GetDefID(dit)),
            NameForLog(GetDefName(dit)));
    delete slot.containers;
    slot.containers = nullptr;
  }
  if (slot.containees) {
    ZELTLOG(stderr, "Deleting containee map %d for def %s\n", static_cast<int>(GetDefID(dit)),
            NameForLog(GetDefName(dit)));
    while (const ZELT_Grid_EntityIter* container = slot.containees->GetSomeKey()) {
      ZELT_Grid_EntityIter key = *container;
      delete *slot.containees->Search(key);
      slot.containees->Delete(key);
    }
    delete slot.containees;
    slot.containees = nullptr;
  }
}

// ---------------------------------------------------------------------------
// Support relations: list properties under key 1 (supporters) on the supported
// entity and key 2 (supportees) on the supporting one.
// ---------------------------------------------------------------------------

void ZELT_Grid::AddSupportRelation(ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter supportee,
                                   ZELT_Grid_EntityIter supporter) {
  ZELT_Grid_HEntityStep step;
  InitHEntStep(step, dit, supportee);
  AddIter(step, supporter, kSupporterKey);
  InitHEntStep(step, dit, supporter);
  AddIter(step, supportee, kSupporteeKey);
}

const std::vector<tolk_list_base_iter>& ZELT_Grid::GetSupporters(const ZELT_Grid_DefIter dit,
                                                                 ZELT_Grid_EntityIter eit) const {
  ZELT_Grid_HEntityStep step;
  InitHEntStep(step, dit, eit);
  return GetIters(step, kSupporterKey);
}

const std::vector<tolk_list_base_iter>& ZELT_Grid::GetSupportees(const ZELT_Grid_DefIter dit,
                                                                 ZELT_Grid_EntityIter eit) const {
  ZELT_Grid_HEntityStep step;
  InitHEntStep(step, dit, eit);
  return GetIters(step, kSupporteeKey);
}

void ZELT_Grid::AddIter(const ZELT_Grid_HEntityStep& is, const tolk_list_base_iter& it, int key) {
  ZELT_Grid_PropList& props = PropList(GetDefIt(is), GetEntIt(is));
  tolk_Property* list = props.Value(key);
  if (!list) {
    tolk_Property empty;
    empty.InitIterVector();
    list = &ZELT_Grid_PropList::ValueAt(props.Add(_hier.Records(), key, empty));
  }
  list->AccessIterVector().push_back(it);
}

const std::vector<tolk_list_base_iter>& ZELT_Grid::GetIters(const ZELT_Grid_HEntityStep& is, int key) const {
  ZELT_Grid_PropList* props = FindPropList(GetDefIt(is), GetEntIt(is));
  const tolk_Property* list = props ? props->Value(key) : nullptr;
  if (!list || list->QType() != tolk_Property::iter_vector) return empty_iter_vec;
  return list->QIterVector();
}

// The partners of a removed entity would otherwise keep its position in their
// lists after the node is gone.
void ZELT_Grid::RemoveSupportRelationsOf(ZELT_Grid_DefIter dit, ZELT_Grid_EntityIter ent) {
  ZELT_Grid_HEntityStep step;
  InitHEntStep(step, dit, ent);
  for (int key : {kSupporterKey, kSupporteeKey}) {
    int partnerKey = key == kSupporterKey ? kSupporteeKey : kSupporterKey;
    std::vector<tolk_list_base_iter> partners = GetIters(step, key);
    for (const tolk_list_base_iter& partner : partners) {
      if (partner.position == ent.position) continue;
      ZELT_Grid_PropList* props = FindPropList(dit, ZELT_Grid_EntityIter(tolk_UNode(partner)));
      tolk_Property* list = props ? props->Value(partnerKey) : nullptr;
      if (!list) continue;
      std::erase_if(list->AccessIterVector(),
                    [&](const tolk_list_base_iter& p) { return p.position == ent.position; });
    }
  }
}
