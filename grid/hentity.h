// Hierarchical entities (paths of steps down to one entity), connection
// instances and the comparators that order them by ids.
#pragma once

#include "grid/handles.h"

class ZELT_Grid;

// A path from an outer definition down through instances to one entity. Step 0
// lies in the outermost definition, step i+1 in the definition instantiated by
// the node of step i. Owns nothing but its step array, which grows in blocks of
// 4 steps; at most 65,535 steps.
class ZELT_Grid_HEntity : public ZELT_Grid_HEntityBase {
 public:
  ZELT_Grid_HEntity() = default;
  ZELT_Grid_HEntity(const tolk_instance_base& o) : ZELT_Grid_HEntityBase(o) {}
  ZELT_Grid_HEntity(tolk_instance_base&& o) : ZELT_Grid_HEntityBase(static_cast<tolk_instance_base&&>(o)) {}

  // Reset keeps a 4-step array for reuse and frees a larger one; CutToEnd(n)
  // keeps the first n steps; CutToFront(n) drops steps 0 ... n, freeing the
  // array when nothing is left.
  using ZELT_Grid_HEntityBase::CutToEnd;
  using ZELT_Grid_HEntityBase::CutToFront;
  using ZELT_Grid_HEntityBase::GetLength;
  using ZELT_Grid_HEntityBase::Reset;
  using ZELT_Grid_HEntityBase::operator[];

  void AppendStep(const tolk_instance_step_base& step) { Append(step); }
  bool operator==(const ZELT_Grid_HEntity& o) const { return tolk_instance_base::operator==(o); }
  bool operator!=(const ZELT_Grid_HEntity& o) const { return !(*this == o); }

  // True when some step equals step (same scope and same node).
  bool Contains(const tolk_instance_step_base& step) const;
  // Both lie in the same instance of the same definition: equal lengths, the
  // same definition at the last step and equal steps before it.
  bool SameDef(const ZELT_Grid& gm, const ZELT_Grid_HEntity& other) const;
  // The definition and the entity of the last step; the path must not be empty.
  ZELT_Grid_DefIter GetLeafDef(const ZELT_Grid& gm) const;
  ZELT_Grid_EntityIter GetLeafEnt(const ZELT_Grid& gm) const;
};

// Orders paths by ids only: shorter first, then step by step the scope
// definition's id, leaves before instances, and the node id's low 32 bits.
class ZELT_Grid_HEntComparator : public tolk_Comparator<ZELT_Grid_HEntity> {
 public:
  tolk_signed Compare(const ZELT_Grid_HEntity& x, const ZELT_Grid_HEntity& y) const override {
    return ConstCompare(x, y);
  }
  static tolk_signed ConstCompare(const ZELT_Grid_HEntity& x, const ZELT_Grid_HEntity& y);
  bool operator()(const ZELT_Grid_HEntity& x, const ZELT_Grid_HEntity& y) const { return ConstCompare(x, y) < 0; }

  // One step against another: definition id, leaf before instance, node id.
  static tolk_signed CompareSteps(const ZELT_Grid_HEntityStep& x, const ZELT_Grid_HEntityStep& y);
};

// One connection of the flattened model: the path of instances down to the
// definition the connection lies in (empty for the outermost one), that
// definition's graph and the connection.
class ZELT_Grid_ConnInstance {
 public:
  void Init(const ZELT_Grid_HEntity& i, ZELT_Grid_Graph* leafdef, ZELT_Grid_ConnectionIter conn) {
    _i = i;
    _pleafdef = leafdef;
    _conn = conn;
  }
  const ZELT_Grid_HEntity& GetHEntity() const { return _i; }
  ZELT_Grid_Graph* GetLeafScope() const { return _pleafdef; }
  ZELT_Grid_ConnectionIter GetConn() const { return _conn; }

 private:
  ZELT_Grid_HEntity _i;
  ZELT_Grid_Graph* _pleafdef = nullptr;
  ZELT_Grid_ConnectionIter _conn;
};

// Orders connection instances by their paths, then the leaf definition's id,
// then the connection's id.
class ZELT_Grid_ConnInstComparator : public ZELT_Grid_HEntComparator {
 public:
  using ZELT_Grid_HEntComparator::Compare;
  using ZELT_Grid_HEntComparator::ConstCompare;
  tolk_signed Compare(const ZELT_Grid_ConnInstance& x, const ZELT_Grid_ConnInstance& y) const {
    return ConstCompare(x, y);
  }
  static tolk_signed ConstCompare(const ZELT_Grid_ConnInstance& x, const ZELT_Grid_ConnInstance& y);
  bool operator()(const ZELT_Grid_ConnInstance& x, const ZELT_Grid_ConnInstance& y) const {
    return ConstCompare(x, y) < 0;
  }
};

// Orders entity handles of one definition by identity.
class ZELT_Grid_EntityIterComparator2 final : public tolk_Comparator<ZELT_Grid_EntityIter> {
 public:
  tolk_signed Compare(const ZELT_Grid_EntityIter& a, const ZELT_Grid_EntityIter& b) const override {
    return a.CPOS() < b.CPOS() ? -1 : (b.CPOS() < a.CPOS() ? 1 : 0);
  }
};
