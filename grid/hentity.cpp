// Hierarchical entities, connection instances and their id orders.
#include "grid/hentity.h"

#include <cstdint>

#include "grid/grid.h"
#include "tolk/assert.h"

bool ZELT_Grid_HEntity::Contains(const tolk_instance_step_base& step) const {
  const tolk_instance_step_base* steps = Steps();
  for (int i = 0; i < GetLength(); ++i) {
    if (steps[i] == step) return true;
  }
  return false;
}

bool ZELT_Grid_HEntity::SameDef(const ZELT_Grid&, const ZELT_Grid_HEntity& other) const {
  int n = GetLength();
  if (n != other.GetLength()) return false;
  if (n == 0) return true;
  const tolk_instance_step_base* mine = Steps();
  const tolk_instance_step_base* theirs = other.Steps();
  if (mine[n - 1].pscope != theirs[n - 1].pscope) return false;
  for (int i = 0; i < n - 1; ++i) {
    if (mine[i] != theirs[i]) return false;
  }
  return true;
}

// An empty path has no last step to read.
ZELT_Grid_DefIter ZELT_Grid_HEntity::GetLeafDef(const ZELT_Grid& gm) const {
  TOLK_ASSERT(GetLength() > 0, "GetLeafDef: empty path");
  return gm.GetDefIt((*this)[GetLength() - 1]);
}

ZELT_Grid_EntityIter ZELT_Grid_HEntity::GetLeafEnt(const ZELT_Grid& gm) const {
  TOLK_ASSERT(GetLength() > 0, "GetLeafEnt: empty path");
  return gm.GetEntIt((*this)[GetLength() - 1]);
}

namespace {

// Leaves and instances keep their ids in different records.
long NodeId(ZELT_Grid_Graph* g, const tolk_UNode& node) {
  return ZELT_Grid_Graph::IsLeaf(node) ? g->LeafValue(node)._id : g->Value(node)._id;
}

template <class T>
tolk_signed Order(T a, T b) {
  return a < b ? -1 : (b < a ? 1 : 0);
}

}  // namespace

tolk_signed ZELT_Grid_HEntComparator::CompareSteps(const ZELT_Grid_HEntityStep& x, const ZELT_Grid_HEntityStep& y) {
  ZELT_Grid_Graph* gx = x.Scope();
  ZELT_Grid_Graph* gy = y.Scope();
  if (tolk_signed byDef = Order(gx->Info()._id, gy->Info()._id)) return byDef;
  bool leafx = ZELT_Grid_Graph::IsLeaf(x.node), leafy = ZELT_Grid_Graph::IsLeaf(y.node);
  if (leafx != leafy) return leafx ? -1 : 1;
  // Only the low 32 bits of node ids count in the order.
  return Order(static_cast<int32_t>(NodeId(gx, x.node)), static_cast<int32_t>(NodeId(gy, y.node)));
}

tolk_signed ZELT_Grid_HEntComparator::ConstCompare(const ZELT_Grid_HEntity& x, const ZELT_Grid_HEntity& y) {
  if (tolk_signed byLength = Order(x.GetLength(), y.GetLength())) return byLength;
  for (int i = 0; i < x.GetLength(); ++i) {
    if (tolk_signed byStep = CompareSteps(x[i], y[i])) return byStep;
  }
  return 0;
}

tolk_signed ZELT_Grid_ConnInstComparator::ConstCompare(const ZELT_Grid_ConnInstance& x,
                                                        const ZELT_Grid_ConnInstance& y) {
  if (tolk_signed byPath = ZELT_Grid_HEntComparator::ConstCompare(x.GetHEntity(), y.GetHEntity())) return byPath;
  ZELT_Grid_Graph* gx = x.GetLeafScope();
  ZELT_Grid_Graph* gy = y.GetLeafScope();
  if (tolk_signed byDef = Order(gx->Info()._id, gy->Info()._id)) return byDef;
  return Order(gx->Value(x.GetConn())._id, gy->Value(y.GetConn())._id);
}
