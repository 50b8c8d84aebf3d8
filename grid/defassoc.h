// Values attached to the entities of one definition (ZELT_Grid_DefAssoc) or of
// every definition (ZELT_Grid_Assoc), in slot arrays indexed by node number.
#pragma once

#include "grid/grid.h"

// The node slot array behind ZELT_Grid_DefAssoc: slots that growth adds are
// filled with the initial value, so entities added after the array read it too.
template <class T>
class ZELT_Grid_NodeSlots : public tolk_UNODEASSOC<T> {
 public:
  ZELT_Grid_NodeSlots(ZELT_Grid_Graph& g, const T& initval) : tolk_UNODEASSOC<T>(g), _fill(initval) {
    FillFrom(0);
  }
  void Resize(tolk_unsigned** names, tolk_unsigned used, tolk_unsigned newMax) override {
    tolk_UNODEASSOC<T>::Resize(names, used, newMax);
    FillFrom(used);
  }

 private:
  void FillFrom(tolk_unsigned first) {
    for (tolk_unsigned i = first; i < this->size; ++i) this->p[i] = _fill;
  }
  T _fill;
};

// One T per entity of one definition, found in one indexed load. Must be
// destroyed before its definition is removed.
template <class T>
class ZELT_Grid_DefAssoc {
 public:
  ZELT_Grid_DefAssoc(ZELT_Grid& gm, ZELT_Grid_DefIter def, T initval)
      : _passoc(new ZELT_Grid_NodeSlots<T>(*gm.Graph(def), initval)), _pg(gm.Graph(def)) {}
  ~ZELT_Grid_DefAssoc() { delete _passoc; }
  ZELT_Grid_DefAssoc(const ZELT_Grid_DefAssoc&) = delete;
  ZELT_Grid_DefAssoc& operator=(const ZELT_Grid_DefAssoc&) = delete;

  T& operator[](const ZELT_Grid_EntityIter& ent) { return (*_passoc)[ent]; }
  const T& operator[](const ZELT_Grid_EntityIter& ent) const { return (*_passoc)[ent]; }
  ZELT_Grid_DefIter GetDef() const { return _pg->Info()._it; }

  // The slots themselves, numbered as in every slot array of the definition (by the
  // nodes' indexes), for passes over all of them that need not visit the entities.
  T* Slots() { return _passoc->p; }
  const T* Slots() const { return _passoc->p; }
  size_t SlotCount() const { return _passoc->size; }

 private:
  ZELT_Grid_NodeSlots<T>* _passoc;
  ZELT_Grid_Graph* _pg;
};

// One T per entity of every definition; a definition gets its slot array on the
// first SetValue and reads as the unset value until then.
template <class T>
class ZELT_Grid_Assoc {
 public:
  ZELT_Grid_Assoc(ZELT_Grid& gm, T unsetval) : _unsetval(unsetval), _pg(&gm) {}
  ~ZELT_Grid_Assoc() {
    while (const ZELT_Grid_DefIter* def = _passoc.GetSomeKey()) RemoveDefn(*def);
  }
  ZELT_Grid_Assoc(const ZELT_Grid_Assoc&) = delete;
  ZELT_Grid_Assoc& operator=(const ZELT_Grid_Assoc&) = delete;

  void SetValue(const ZELT_Grid_DefIter& def, const ZELT_Grid_EntityIter& ent, const T& v) {
    ZELT_Grid_DefAssoc<T>** slots = _passoc.Search(def);
    if (!slots) {
      _passoc.Insert(def, new ZELT_Grid_DefAssoc<T>(*_pg, def, _unsetval));
      slots = _passoc.Search(def);
    }
    (**slots)[ent] = v;
  }
  T GetValue(const ZELT_Grid_DefIter& def, const ZELT_Grid_EntityIter& ent) const {
    ZELT_Grid_DefAssoc<T>* const* slots = _passoc.Search(def);
    return slots ? (**slots)[ent] : _unsetval;
  }
  // Drops the definition's slot array; do so before removing the definition.
  void RemoveDefn(const ZELT_Grid_DefIter& def) {
    ZELT_Grid_DefIter key = def;
    ZELT_Grid_DefAssoc<T>** slots = _passoc.Search(key);
    if (!slots) return;
    delete *slots;
    _passoc.Delete(key);
  }

 private:
  tolk_PATRICIA<ZELT_Grid_DefIter, ZELT_Grid_DefAssoc<T>*> _passoc;
  T _unsetval;
  ZELT_Grid* _pg;
};
