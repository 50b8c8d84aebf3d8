// Conductivity states of the entities of one definition, and the existence and
// modification flags kept per (definition, entity).
#pragma once

#include <cstdint>

#include "grid/defassoc.h"
#include "grid/entityset.h"

// Whether current may pass through an entity. UNSET and ON conduct; the
// orientation's search never enters an OFF entity.
enum ZELT_Grid_CondState : int32_t { UNSET = 0, ON = 1, OFF = 2 };

// A conductivity state per entity of one definition, plus the set of entities
// whose state was given explicitly, walked in ascending entity id. Bound to the
// grid and definition given at construction; must be destroyed before the
// definition is removed. Entities added to the definition later read UNSET.
// Over the end handle (a model without definitions) the set is empty and every
// entity reads UNSET.
class ZELT_Grid_CondStateSetSL {
 public:
  ZELT_Grid_CondStateSetSL(ZELT_Grid& gm, ZELT_Grid_DefIter& def);
  ~ZELT_Grid_CondStateSetSL();
  ZELT_Grid_CondStateSetSL(const ZELT_Grid_CondStateSetSL&) = delete;
  ZELT_Grid_CondStateSetSL& operator=(const ZELT_Grid_CondStateSetSL&) = delete;

  // Overwrites e's state; e joins the walked set once, however often it is set.
  void SetState(const ZELT_Grid_EntityIter& e, ZELT_Grid_CondState s);
  ZELT_Grid_CondState GetState(const ZELT_Grid_EntityIter& e) const;
  ZELT_Grid_DefIter GetDef() const;
  // The states in slot order (see ZELT_Grid_DefAssoc::Slots); null over no definition.
  const ZELT_Grid_DefAssoc<ZELT_Grid_CondState>* States() const { return _pstates; }

  // The entities whose state was set, in ascending entity id.
  ZELT_Grid_EntityIterSetIter GetFirstEntity() const { return _entitysetsl.First(); }
  void NextEntity(ZELT_Grid_EntityIterSetIter& it) const { _entitysetsl.Next(it); }
  bool IsEnd(const ZELT_Grid_EntityIterSetIter& it) const { return _entitysetsl.IsEnd(it); }
  ZELT_Grid_EntityIter GetEntity(const ZELT_Grid_EntityIterSetIter& it) const { return _entitysetsl.Entity(it); }

 private:
  ZELT_Grid_EntityIterSetSL _entitysetsl;
  ZELT_Grid_DefAssoc<ZELT_Grid_CondState>* _pstates;  // null over the end handle
};

enum ZELT_Grid_ExistState : int32_t { NOTEXIST = 0, EXIST = 1 };

// One state per (definition, entity), `initial` until set; a definition gets its
// slot array on its first SetState.
template <class State>
class ZELT_Grid_PairStateSet {
 public:
  ZELT_Grid_PairStateSet(ZELT_Grid& gm, State initial) : _states(gm, initial) {}
  void SetState(const ZELT_Grid_DefIter& def, const ZELT_Grid_EntityIter& ent, State s) {
    _states.SetValue(def, ent, s);
  }
  State GetState(const ZELT_Grid_DefIter& def, const ZELT_Grid_EntityIter& ent) const {
    return _states.GetValue(def, ent);
  }

 private:
  ZELT_Grid_Assoc<State> _states;
};

// Whether each (definition, entity) exists at some moment; NOTEXIST until set.
class ZELT_Grid_ExistStateSet : public ZELT_Grid_PairStateSet<ZELT_Grid_ExistState> {
 public:
  explicit ZELT_Grid_ExistStateSet(ZELT_Grid& gm) : ZELT_Grid_PairStateSet(gm, NOTEXIST) {}
};

// Marks the (definition, entity) pairs that one pass has touched; false until set.
class ZELT_Grid_ModifyStateSet : public ZELT_Grid_PairStateSet<bool> {
 public:
  explicit ZELT_Grid_ModifyStateSet(ZELT_Grid& gm) : ZELT_Grid_PairStateSet(gm, false) {}
};
