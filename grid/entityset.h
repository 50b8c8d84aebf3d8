// Sets of entities of one definition ordered by entity id.
#pragma once

#include "grid/grid.h"

// Orders entities of the definition given at construction by their ids.
class ZELT_Grid_EntityIterComparator final : public tolk_Comparator<ZELT_Grid_EntityIter> {
 public:
  ZELT_Grid_EntityIterComparator(const ZELT_Grid& gm, ZELT_Grid_DefIter def) : _pgm(&gm), _def(def) {}
  tolk_signed Compare(const ZELT_Grid_EntityIter& a, const ZELT_Grid_EntityIter& b) const override {
    long x = _pgm->GetEntityID(_def, a), y = _pgm->GetEntityID(_def, b);
    return x < y ? -1 : (x > y ? 1 : 0);
  }

 private:
  const ZELT_Grid* _pgm;
  ZELT_Grid_DefIter _def;
};

typedef tolk_TRBTreeIter ZELT_Grid_EntityIterSetIter;

// Entities of one definition, each at most once, walked in ascending id.
class ZELT_Grid_EntityIterSetSL {
 public:
  ZELT_Grid_EntityIterSetSL(const ZELT_Grid& gm, ZELT_Grid_DefIter def) : _cmp(gm, def), _set(&_cmp) {}
  ZELT_Grid_EntityIterSetSL(const ZELT_Grid_EntityIterSetSL&) = delete;
  ZELT_Grid_EntityIterSetSL& operator=(const ZELT_Grid_EntityIterSetSL&) = delete;

  // False when the entity was in the set already.
  bool Insert(const ZELT_Grid_EntityIter& ent) { return _set.Insert(ent, 0) == nullptr; }
  bool Contains(const ZELT_Grid_EntityIter& ent) const { return _set.Search(ent) != nullptr; }
  ZELT_Grid_EntityIterSetIter First() const { return _set.First(); }
  void Next(ZELT_Grid_EntityIterSetIter& it) const { it.Next(); }
  bool IsEnd(const ZELT_Grid_EntityIterSetIter& it) const { return it.End(); }
  ZELT_Grid_EntityIter Entity(const ZELT_Grid_EntityIterSetIter& it) const { return _set.Key(it); }

 private:
  ZELT_Grid_EntityIterComparator _cmp;
  tolk_TRBTREE<ZELT_Grid_EntityIter, char, ZELT_Grid_EntityIterComparator> _set;
};
