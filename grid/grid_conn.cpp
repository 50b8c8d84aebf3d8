// ZELT_Grid: connections, their id index, their ends and the flattened walk.
#include <deque>
#include <utility>

#include "grid/grid.h"
#include "tolk/assert.h"

namespace {

// Every connection of g, once each, by its A link, for an id table being made.
auto EveryEdge(ZELT_Grid_Graph* g) {
  return [g](auto&& take) {
    for (tolk_UNode n = g->FirstNode(); !n.End(); n.Next()) {
      for (tolk_UEdge e = tolk_UEdge::First(n); !e.End(); e.Next()) {
        if (!e.IsBlink()) take(e.position);
      }
    }
  };
}

}  // namespace

ZELT_Grid_ConnectionIter ZELT_Grid::AddConnection(const ZELT_Grid_HEntity& I1, const ZELT_Grid_HEntity& I2,
                                                  long id) {
  TOLK_ASSERT(I1.GetLength() > 0 && I2.GetLength() > 0 && I1[0].pscope == I2[0].pscope,
              "ZELT_Grid::AddConnection: both ends must start in one definition");
  ZELT_Grid_DefIter def = GetDefIt(I1[0]);
  ZELT_Grid_EdgeData data;
  data._id = id;
  Graph(def)->EdgeInsert(data, I1, I2);
  // The new edge heads the tail's incidence list.
  ZELT_Grid_ConnectionIter conn = tolk_UEdge::First(I1[0].node);
  AddConnId(def, conn, id);
  return conn;
}

int ZELT_Grid::RemoveConnection(ZELT_Grid_DefIter def, ZELT_Grid_ConnectionIter conn) {
  RemoveConnId(def, conn);
  Graph(def)->EdgeDelete(conn);
  return 0;
}

long ZELT_Grid::GetConnectionID(ZELT_Grid_DefIter def, ZELT_Grid_ConnectionIter conn) const {
  return Graph(def)->Value(conn)._id;
}

ZELT_Grid_ConnectionIter ZELT_Grid::GetConntionFromId(ZELT_Grid_DefIter def, long id) const {
  tolk_list_link* link = Slot(def).conns.Find(ConnIdKeysOf(def), id, EveryEdge(Graph(def)));
  return link ? ZELT_Grid_ConnectionIter(tolk_list_base_iter(link)) : ZELT_Grid_ConnectionIter();
}

ZELT_Grid_EntityIter ZELT_Grid::Head(ZELT_Grid_DefIter, ZELT_Grid_ConnectionIter conn) const {
  return ZELT_Grid_Graph::Head(conn);
}

ZELT_Grid_EntityIter ZELT_Grid::Tail(ZELT_Grid_DefIter, ZELT_Grid_ConnectionIter conn) const {
  return ZELT_Grid_Graph::Tail(conn);
}

ZELT_Grid_HEntity ZELT_Grid::HGetConOtherEnd(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent,
                                             ZELT_Grid_ConnectionIter conn) const {
  ZELT_Grid_Graph* g = Graph(def);
  bool tailIsOther = ZELT_Grid_EntityIter(ZELT_Grid_Graph::Tail(conn)) != ent;
  return tailIsOther ? g->ITail(conn) : g->IHead(conn);
}

ZELT_Grid_HEntity ZELT_Grid::HGetConThisEnd(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent,
                                            ZELT_Grid_ConnectionIter conn) const {
  ZELT_Grid_Graph* g = Graph(def);
  bool tailIsOther = ZELT_Grid_EntityIter(ZELT_Grid_Graph::Tail(conn)) != ent;
  return tailIsOther ? g->IHead(conn) : g->ITail(conn);
}

// A repeated id points the index at the newest connection. The index holds the
// edge's A link, its position in the tail's list.
void ZELT_Grid::AddConnId(ZELT_Grid_DefIter def, ZELT_Grid_ConnectionIter conn, long id) {
  Slot(def).conns.Add(ConnIdKeysOf(def), id, conn.Edge()->Alink(), EveryEdge(Graph(def)));
}

// By value, as definition ids: with a repeated id, removing the older connection
// takes the id out of the index too, and the newer one is then found only by walking.
void ZELT_Grid::RemoveConnId(ZELT_Grid_DefIter def, ZELT_Grid_ConnectionIter conn) {
  Slot(def).conns.RemoveKey(GetConnectionID(def, conn));
}

void ZELT_Grid::RemoveConnIdsOf(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) {
  for (ZELT_Grid_ConnectionIter conn = GetFirstConnection(def, ent); !IsEnd(conn); conn.Next())
    RemoveConnId(def, conn);
}

// The path stored at the end of conn that lies at the position's own node.
static const tolk_instance_base& PathBelow(ZELT_Grid_Graph* g, const ZELT_Grid_ConnectionIter& conn) {
  return conn.IsBlink() ? g->VHead(conn) : g->VTail(conn);
}

namespace {

// True when the stored path begins with every step of lead. Directly above the
// entity (a one-step lead) a connection to the instance as a whole counts too:
// the hierarchy deletes those with any node of the instantiated graph.
bool LeadsThrough(const tolk_instance_base& stored, const tolk_instance_base& lead) {
  if (stored.GetLength() == 0) return lead.GetLength() == 1;
  return stored.GetLength() >= lead.GetLength() && stored.AgreesFrom(0, lead);
}

// True when some step of path lies in scope.
bool PassesThrough(const tolk_instance_base& path, const tolk_hgraph_base* scope) {
  for (int i = 0; i < path.GetLength(); ++i) {
    if (path[i].pscope == scope) return true;
  }
  return false;
}

}  // namespace

// Connections of enclosing definitions that reach ent through instances would
// keep a path to a deleted node (or vanish behind their indexes' backs);
// removing them here first keeps those definitions right and lets subclasses
// see it. Level by level upward: a connection at instance x of graph g reaches
// ent when its path below x begins with the path from g down to ent.
void ZELT_Grid::RemoveConnectionsReaching(ZELT_Grid_DefIter def, ZELT_Grid_EntityIter ent) {
  std::deque<std::pair<ZELT_Grid_Graph*, ZELT_Grid_HEntity>> pending;
  pending.emplace_back(Graph(def), ZELT_Grid_HEntity());
  pending.back().second.AppendStep(ZELT_Grid_HEntityStep(Graph(def), ent));
  while (!pending.empty()) {
    auto [g, lead] = std::move(pending.front());
    pending.pop_front();
    for (tolk_RepIter rep = g->FirstRep(); !rep.End(); rep.Next()) {
      ZELT_Grid_HEntityStep where = g->GetRepresentativeValue(rep);
      ZELT_Grid_Graph* scope = ZELT_Grid_ScopeOf(where);
      RemoveConnectionsThrough(scope, where.node, lead);
      // In a cyclic model the levels never run out: one round of the cycle is climbed.
      if (scope->NumOfReps() == 0 || PassesThrough(lead, scope) || lead.GetLength() >= tolk_MAXPATHLENGTH - 1)
        continue;
      ZELT_Grid_HEntity longer;
      longer.AppendStep(where);
      longer.Append(lead);
      pending.emplace_back(scope, std::move(longer));
    }
  }
}

void ZELT_Grid::RemoveConnectionsThrough(ZELT_Grid_Graph* scope, const tolk_UNode& instance,
                                         const ZELT_Grid_HEntity& lead) {
  ZELT_Grid_DefIter scopedef = scope->Info()._it;
  ZELT_Grid_ConnectionIter conn = tolk_UEdge::First(instance);
  while (!IsEnd(conn)) {
    ZELT_Grid_ConnectionIter next = conn;
    next.Next();
    if (LeadsThrough(PathBelow(scope, conn), lead)) {
      // A loop on the instance has its second link next; step past it too.
      if (!next.End() && next.Edge() == conn.Edge()) next.Next();
      RemoveConnection(scopedef, conn);
    }
    conn = next;
  }
}

// ---------------------------------------------------------------------------
// Flattened walk
// ---------------------------------------------------------------------------

ZELT_Grid_VFConnectionIter ZELT_Grid::GetFirstVFConnection(const ZELT_Grid_HEntity& leaf) const {
  ZELT_Grid_VFConnectionIter it;
  int length = leaf.GetLength();
  if (length == 0) return it;
  ZELT_Grid_HEntityStep last = leaf[length - 1];
  it._pscope = ZELT_Grid_ScopeOf(last);
  it._edge = tolk_UEdge::First(last.node);
  if (!it._edge.End()) return it;
  StartVirtualEdges(leaf, it);
  return it;
}

void ZELT_Grid::NextVFConnection(const ZELT_Grid_HEntity& leaf, ZELT_Grid_VFConnectionIter& it) const {
  it._edge.Next();
  if (!it._virtual) {
    if (!it._edge.End()) return;
    StartVirtualEdges(leaf, it);
    return;
  }
  SeekVirtualEdge(leaf, it);
}

// Moves to the edges of the instance that holds the leaf, one level up.
void ZELT_Grid::StartVirtualEdges(const ZELT_Grid_HEntity& leaf, ZELT_Grid_VFConnectionIter& it) const {
  int length = leaf.GetLength();
  if (length < 2) {
    SetEnd(it);
    return;
  }
  ZELT_Grid_HEntityStep holder = leaf[length - 2];
  it._pscope = ZELT_Grid_ScopeOf(holder);
  it._edge = tolk_UEdge::First(holder.node);
  it._virtual = true;
  SeekVirtualEdge(leaf, it);
}

// Stops at the first edge, from the current one on, whose stored path below the
// instance leads along leaf; a shorter path that agrees so far counts as a match.
void ZELT_Grid::SeekVirtualEdge(const ZELT_Grid_HEntity& leaf, ZELT_Grid_VFConnectionIter& it) const {
  int below = leaf.GetLength() - 1;
  for (; !it._edge.End(); it._edge.Next()) {
    const tolk_instance_base& path = PathBelow(it._pscope, it._edge);
    bool match = true;
    for (int k = 0; match && k < path.GetLength() && below + k < leaf.GetLength(); ++k)
      match = path[k] == leaf[below + k];
    if (match) return;
  }
  SetEnd(it);
}

ZELT_Grid_HEntity ZELT_Grid::VFGetConOtherEnd(const ZELT_Grid_HEntity& leaf, ZELT_Grid_VFConnectionIter it) const {
  ZELT_Grid_HEntity other = leaf;
  other.CutToEnd(leaf.GetLength() - (it._virtual ? 2 : 1));
  ZELT_Grid_Graph* g = it._pscope;
  // The position's own link is the leaf's end; the other link's node and the
  // whole path stored below it make the far end.
  bool leafAtHead = it._edge.IsBlink();
  ZELT_Grid_HEntityStep top(g, leafAtHead ? ZELT_Grid_Graph::Tail(it._edge) : ZELT_Grid_Graph::Head(it._edge));
  other.AppendStep(top);
  const tolk_instance_base& below = leafAtHead ? g->VTail(it._edge) : g->VHead(it._edge);
  for (int i = 0; i < below.GetLength(); ++i) other.AppendStep(below[i]);
  return other;
}
