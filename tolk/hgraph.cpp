// Hierarchical graphs: representatives, edge paths, node deletion and the flattened walkers.
#include "tolk/hgraph.h"

#include <utility>

tolk_hgraph_base::tolk_hgraph_base(tolk_RecordPool* shared)
    : ownRecords(shared != nullptr ? nullptr : new tolk_RecordPool), records(shared != nullptr ? shared : ownRecords.get()) {}

void tolk_hgraph_base::ForgetRecords() {
  RawForget();
  repList.RawForget();
  NEdges = 0;
}

const tolk_instance_base& tolk_hgraph_base::EmptyPath() {
  static const tolk_instance_base empty;
  return empty;
}

tolk_RepIter tolk_hgraph_base::AddRep(tolk_hgraph_base* scope, const tolk_UNode& n) {
  tolk_hrnode_link* l = RLink(n);
  l->repscope = scope;
  repList.RawAppend(l->RepLink());
  return tolk_RepIter(l->RepLink());
}

int tolk_hgraph_base::KindOfEnds(const tolk_instance_base& tail, const tolk_instance_base& head) {
  TOLK_ASSERT(tail.GetLength() > 0 && head.GetLength() > 0, "edge end without a path");
  const bool tailInstance = !IsLeaf(tail[0].node);
  const bool headInstance = !IsLeaf(head[0].node);
  TOLK_ASSERT(tailInstance || tail.GetLength() == 1, "edge path continues below a leaf");
  TOLK_ASSERT(headInstance || head.GetLength() == 1, "edge path continues below a leaf");
  return (tailInstance ? tolk_EDGE_TAIL_INSTANCE : 0) | (headInstance ? tolk_EDGE_HEAD_INSTANCE : 0);
}

tolk_instance_base* tolk_hgraph_base::VPathSlot(tolk_uedge_base* e, bool headEnd) {
  const int kind = KindOf(e);
  const int endBit = headEnd ? tolk_EDGE_HEAD_INSTANCE : tolk_EDGE_TAIL_INSTANCE;
  if ((kind & endBit) == 0) return nullptr;
  if (kind == tolk_EDGE_INSTANCES) {
    tolk_hedge_base* h = static_cast<tolk_hedge_base*>(e);
    return headEnd ? &h->vhead : &h->vtail;
  }
  return &static_cast<tolk_semihedge_base*>(e)->vadj;
}

tolk_UNode tolk_hgraph_base::PlaceInstance(tolk_hrnode_link* l, tolk_hgraph_base* ref, bool front) {
  l->refptr = ref;
  tolk_UNode n = front ? LinkNodeFront(l) : LinkNodeEnd(l);
  ref->AddRep(this, n);
  return n;
}

tolk_UEdge tolk_hgraph_base::PlaceEdge(tolk_uedge_base* rec, const tolk_instance_base& tail,
                                       const tolk_instance_base& head, bool front) {
  TOLK_ASSERT(tail[0].pscope == this && head[0].pscope == this, "edge path does not start in this graph");
  const int kind = KindOfEnds(tail, head);
  switch (kind) {
    case tolk_EDGE_TAIL_INSTANCE: static_cast<tolk_semihedge_base*>(rec)->vadj.AppendFrom(tail, 1); break;
    case tolk_EDGE_HEAD_INSTANCE: static_cast<tolk_semihedge_base*>(rec)->vadj.AppendFrom(head, 1); break;
    case tolk_EDGE_INSTANCES:
      static_cast<tolk_hedge_base*>(rec)->vtail.AppendFrom(tail, 1);
      static_cast<tolk_hedge_base*>(rec)->vhead.AppendFrom(head, 1);
      break;
    default: break;
  }
  tolk_UEdge e = LinkEdge(rec, tail[0].node, head[0].node, front);
  SetKind(rec, kind);
  return e;
}

tolk_UEdge tolk_hgraph_base::PlaceEdgeCopy(tolk_uedge_base* rec, const tolk_uedge_base* from, const tolk_UNode& tail,
                                           const tolk_UNode& head) {
  tolk_uedge_base* src = const_cast<tolk_uedge_base*>(from);
  tolk_UEdge e = LinkEdge(rec, tail, head, true);
  SetKind(rec, KindOf(src));
  for (bool headEnd : {false, true}) {
    tolk_instance_base* to = VPathSlot(rec, headEnd);
    if (to != nullptr) *to = VPath(src, headEnd);
  }
  return e;
}

void tolk_hgraph_base::EdgeMove(const tolk_UEdge& e, const tolk_UNode& a, const tolk_UNode& b) {
  tolk_uedge_base* x = e.Edge();
  TOLK_ASSERT(IsLeaf(a) == IsLeaf(tolk_UNode(x->tail)) && IsLeaf(b) == IsLeaf(tolk_UNode(x->head)),
              "moved edge would change the kind of its ends");
  tolk_ugraph_base::EdgeMove(e, a, b);
}

void tolk_hgraph_base::NodeDelete(const tolk_UNode& n) {
  tolk_unode_link* l = n.Link();
  while (!l->elist.Empty()) EdgeDelete(tolk_UEdge::First(n));
  DeleteAllVConnects(n);
  if (!IsLeaf(n)) RefOf(n)->DeleteRep(tolk_RepIter(RLink(n)->RepLink()));
  tolk_ugraph_base::NodeDelete(n);
}

void tolk_hgraph_base::DeleteAllVConnects(const tolk_UNode& n) {
  tolk_instance_base path;
  for (tolk_RepIter r = repList.First(); !r.End(); r.Next()) {
    const tolk_instance_step_base rep = RLValue(r);
    path.Reset();
    path.Append(rep);
    path.Append(this, n);
    tolk_VConnect_base vc;
    for (vc.First(path); !vc.End(); vc.First(path)) rep.pscope->EdgeDelete(vc.GetEdge());
  }
}

tolk_instance_base tolk_hgraph_base::RebuildEnd(const tolk_UNode& endNode, const tolk_instance_base& vpath,
                                                const tolk_UNode& n, tolk_UNODEASSOC<tolk_UNode>& map) {
  tolk_instance_base p;
  if (endNode != n) {
    p.Append(this, endNode);
    p.Append(vpath);
    return p;
  }
  if (vpath.GetLength() == 0) return p;  // the edge reached n as a whole
  TOLK_ASSERT(vpath[0].pscope == RefOf(n), "edge path does not lead into the instantiated graph");
  const tolk_UNode copy = map[vpath[0].node];
  p.Append(this, copy);
  if (!IsLeaf(copy)) p.AppendFrom(vpath, 1);
  return p;
}

void tolk_hgraph_base::RedirectVConnects(const tolk_UNode& n, tolk_UNODEASSOC<tolk_UNode>& map) {
  const tolk_instance_step_base through(this, n);
  for (tolk_RepIter r = repList.First(); !r.End(); r.Next()) {
    const tolk_UNode inst = RLValue(r).node;
    for (tolk_UEdge e = tolk_UEdge::First(inst); !e.End(); e.Next()) {
      tolk_instance_base* vp = VPathSlot(e.Edge(), e.IsBlink());
      if (vp == nullptr || vp->GetLength() < 2 || (*vp)[0] != through) continue;
      const tolk_UNode copy = map[(*vp)[1].node];
      tolk_instance_base redirected;
      redirected.Append(this, copy);
      if (!IsLeaf(copy)) redirected.AppendFrom(*vp, 2);
      *vp = std::move(redirected);
    }
  }
}

// ---------------------------------------------------------------------------------------------
// Virtual connections

void tolk_VConnect_base::First(const tolk_instance_base& path) {
  mi = &path;
  pos = path.GetLength() - 2;
  if (pos < 0) return;
  edge = tolk_UEdge::First(path[pos].node);
  SkipToMatch();
}

void tolk_VConnect_base::Next() {
  if (End()) return;
  edge.Next();
  SkipToMatch();
}

// An edge matches when the path stored at the instance's end leads down along mi.
void tolk_VConnect_base::SkipToMatch() {
  for (; !edge.End(); edge.Next()) {
    if (mi->AgreesFrom(pos + 1, tolk_hgraph_base::VPathHere(edge))) return;
  }
  pos = -1;
}

// ---------------------------------------------------------------------------------------------
// Flattened edges

tolk_vfedge_base& tolk_vfedge_base::operator=(const tolk_vfedge_base& o) {
  if (this == &o) return *this;
  inst = o.inst;
  ex = o.ex;
  vconnect = o.vconnect;
  vconnect.mi = &inst;
  return *this;
}

void tolk_vfedge_base::First(const tolk_instance_base& path) {
  inst = path;
  MakeEnd();
  vconnect.mi = &inst;
  if (inst.GetLength() == 0) return;
  ex = tolk_UEdge::First(inst.LastStep().node);
  if (ex.End()) vconnect.First(inst);
}

void tolk_vfedge_base::Next() {
  if (ex.End()) {
    vconnect.Next();
    return;
  }
  ex.Next();
  if (ex.End()) vconnect.First(inst);
}

tolk_hgraph_base* tolk_vfedge_base::GetScope() const {
  return ex.End() ? vconnect.GetScope() : inst.LastStep().pscope;
}

tolk_instance_base tolk_vfedge_base::OtherAdjacentLeafInstance(const tolk_instance_base& path) const {
  const tolk_UEdge& e = GetEdge();
  tolk_uedge_base* x = e.Edge();
  // The leaf sits at the end of the link the walk stands on; the answer is the other end.
  const bool leafAtTail = !e.IsBlink();
  tolk_instance_base other(path);
  other.CutToEnd(path.GetLength() - (ex.End() ? 2 : 1));
  other.Append(GetScope(), tolk_UNode(leafAtTail ? x->head : x->tail));
  other.Append(tolk_hgraph_base::VPath(x, leafAtTail));
  return other;
}
