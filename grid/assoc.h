// Values attached to grid entities: the null-initialised pointer slot and the
// maps keyed by hierarchical entities and by connection instances.
#pragma once

#include "grid/hentity.h"

class ZELT_Grid;

// A pointer that is null until assigned. It never deletes its target, so slot
// arrays of it can be resized by copying.
template <class T>
class ZELT_Grid_InitPtr {
 public:
  ZELT_Grid_InitPtr() = default;
  ZELT_Grid_InitPtr(T* p) : _p(p) {}
  ZELT_Grid_InitPtr& operator=(T* p) {
    _p = p;
    return *this;
  }
  operator T*&() { return _p; }
  operator T*() const { return _p; }
  T* operator->() const { return _p; }

 private:
  T* _p = nullptr;
};

typedef tolk_RBTreeIter ZELT_Grid_InstAssocIter;

// Values per hierarchical entity, ordered by ZELT_Grid_HEntComparator. Keys are
// copies of the caller's paths; values are copied in and pointer values are
// never released. The order reads the ids from the records the paths lead
// through, so entries through an entity must go (RemoveIf) before it does.
template <class T>
class ZELT_Grid_InstAssoc {
 public:
  typedef tolk_RBTREE<ZELT_Grid_HEntity, T> Tree;

  ZELT_Grid_InstAssoc(ZELT_Grid&, T unsetval) : _pstates(new Tree(&_icomp)), _unsetval(unsetval) {}
  ~ZELT_Grid_InstAssoc() { delete _pstates; }
  ZELT_Grid_InstAssoc(const ZELT_Grid_InstAssoc&) = delete;
  ZELT_Grid_InstAssoc& operator=(const ZELT_Grid_InstAssoc&) = delete;

  // Inserts or overwrites.
  void SetValue(const ZELT_Grid_HEntity& h, const T& v) {
    if (T* stored = _pstates->Insert(h, v)) *stored = v;
  }
  T GetValue(const ZELT_Grid_HEntity& h) const {
    const T* stored = _pstates->Search(h);
    return stored ? *stored : _unsetval;
  }
  ZELT_Grid_InstAssocIter GetElem(const ZELT_Grid_HEntity& h) const { return _pstates->ElemSearch(h); }
  // 0 when h had an entry, 1 otherwise.
  int Remove(const ZELT_Grid_HEntity& h) { return _pstates->Delete(h); }
  void Remove(ZELT_Grid_InstAssocIter position) { _pstates->Delete(position); }

  ZELT_Grid_InstAssocIter First() const { return _pstates->First(); }
  void Next(ZELT_Grid_InstAssocIter& position) const { position.Next(); }
  bool IsEnd(const ZELT_Grid_InstAssocIter& position) const { return position.End(); }
  ZELT_Grid_HEntity Key(const ZELT_Grid_InstAssocIter& position) const { return _pstates->Key(position); }
  T GetValue(const ZELT_Grid_InstAssocIter& position) const { return _pstates->Value(position); }
  T& Value(const ZELT_Grid_InstAssocIter& position) { return _pstates->Value(position); }

  // Removes every entry for which drop(path, value) answers true.
  template <class Drop>
  void RemoveIf(Drop drop) {
    for (ZELT_Grid_InstAssocIter it = First(); !it.End();) {
      ZELT_Grid_InstAssocIter next = it;
      next.Next();
      if (drop(_pstates->Key(it), _pstates->Value(it))) _pstates->Delete(it);
      it = next;
    }
  }

 private:
  static inline ZELT_Grid_HEntComparator _icomp;
  Tree* _pstates;
  T _unsetval;
};

// Values per connection instance; the same idea as ZELT_Grid_InstAssoc.
template <class T>
class ZELT_Grid_ConnInstAssoc {
 public:
  ZELT_Grid_ConnInstAssoc(ZELT_Grid&, T unsetval) : _unsetval(unsetval) {}
  ZELT_Grid_ConnInstAssoc(const ZELT_Grid_ConnInstAssoc&) = delete;
  ZELT_Grid_ConnInstAssoc& operator=(const ZELT_Grid_ConnInstAssoc&) = delete;

  void SetValue(const ZELT_Grid_ConnInstance& c, const T& v) {
    if (T* stored = _states.Insert(c, v)) *stored = v;
  }
  T GetValue(const ZELT_Grid_ConnInstance& c) const {
    const T* stored = _states.Search(c);
    return stored ? *stored : _unsetval;
  }
  int Remove(const ZELT_Grid_ConnInstance& c) { return _states.Delete(c); }

 private:
  struct Order final : tolk_Comparator<ZELT_Grid_ConnInstance> {
    tolk_signed Compare(const ZELT_Grid_ConnInstance& x, const ZELT_Grid_ConnInstance& y) const override {
      return ZELT_Grid_ConnInstComparator::ConstCompare(x, y);
    }
  };
  static inline Order _icomp;
  tolk_RBTREE<ZELT_Grid_ConnInstance, T> _states{&_icomp};
  T _unsetval;
};
