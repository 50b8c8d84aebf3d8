// Undirected multigraph: node and edge bookkeeping and the index manager of attached arrays.
#include "tolk/ugraph.h"

#include <cmath>
#include <cstdio>
#include <vector>

#include "tolk/assert.h"

namespace {

tolk_unsigned GrownLimit(tolk_unsigned used) {
  return static_cast<tolk_unsigned>(std::ceil(static_cast<double>(used) * 1.3));
}

template <class F>
void ForEachNode(const tolk_ugraph_base& g, F f) {
  for (tolk_UNode n = g.FirstNode(); !n.End(); n.Next()) f(n.Link());
}

template <class F>
void ForEachLink(tolk_unode_link* n, F f) {
  for (tolk_UEdge e = tolk_UEdge::First(tolk_UNode(n)); !e.End(); e.Next()) f(e.Link());
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Incidence lists

tolk_list_base_iter tolk_uedge_list::Last() const { return tolk_list_base_iter(tolk_headlist::LastLink(first, End())); }

tolk_signed tolk_uedge_list::Size() const { return tolk_headlist::Size(first, End()); }

void tolk_uedge_list::RawInsert(tolk_list_link* link) { tolk_headlist::Insert(first, End(), link); }

void tolk_uedge_list::RawAppend(tolk_list_link* link) { RawInsertAfter(link, Last()); }

void tolk_uedge_list::RawInsertAfter(tolk_list_link* link, tolk_list_base_iter it) {
  if (it.End())
    RawInsert(link);
  else
    tolk_headlist::InsertAfter(End(), link, it.position);
}

tolk_list_link* tolk_uedge_list::RawRemove(tolk_list_base_iter it) {
  return it.End() ? nullptr : tolk_headlist::Remove(first, End(), it.position);
}

void tolk_uedge_list::RawSort(tolk_list_base_iter& from, tolk_list_base_iter& to, tolk_list_linkcmp cmp,
                              const void* ctx) {
  tolk_SortLinkRange(from, to, cmp, ctx, &first);
}

// ---------------------------------------------------------------------------------------------
// Free index stacks

void tolk_IndexStack::PushRange(tolk_unsigned from, tolk_unsigned to) {
  if (from > to) return;
  if (!Empty()) {
    for (tolk_unsigned i = from; i <= to; ++i) Push(i);
    return;
  }
  rangeLow = from;
  rangeCount = to - from + 1;
}

tolk_unsigned tolk_IndexStack::Pop() {
  TOLK_ASSERT(!Empty(), "no free index left to hand out");
  if (!pushed.empty()) {
    tolk_unsigned i = pushed.back();
    pushed.pop_back();
    return i;
  }
  --rangeCount;
  return rangeLow + rangeCount;
}

void tolk_IndexStack::Clear() {
  rangeCount = 0;
  pushed.clear();
  pushed.shrink_to_fit();
}

// ---------------------------------------------------------------------------------------------
// Graph

tolk_ugraph_base::~tolk_ugraph_base() { DestroyAll(); }

void tolk_ugraph_base::DestroyAll() {
  if (pAssocManager != nullptr) {
    if (!pAssocManager->AssocListEmpty()) {
      fputs(" Fatal Error, Graph destructed with active associative arrays!\n", stderr);
      fflush(stderr);
    }
    delete pAssocManager;
    pAssocManager = nullptr;
  }
  while (!Empty()) NodeDelete(FirstNode());
}

tolk_UNode tolk_ugraph_base::NameNewNode(tolk_unode_link* l) {
  l->name = pAssocManager != nullptr ? pAssocManager->AllocateNodeIndex() : tolk_UNNAMED;
  return tolk_UNode(l);
}

tolk_UNode tolk_ugraph_base::LinkNodeFront(tolk_unode_link* l) {
  tolk_UNode n = NameNewNode(l);
  RawInsert(l);
  return n;
}

tolk_UNode tolk_ugraph_base::LinkNodeEnd(tolk_unode_link* l) {
  tolk_UNode n = NameNewNode(l);
  RawAppend(l);
  return n;
}

tolk_UNode tolk_ugraph_base::LinkNodeAfter(tolk_unode_link* l, const tolk_UNode& at) {
  tolk_UNode n = NameNewNode(l);
  RawInsertAfter(l, at);
  return n;
}

tolk_UNode tolk_ugraph_base::LinkNodeBefore(tolk_unode_link* l, const tolk_UNode& at) {
  tolk_UNode n = NameNewNode(l);
  RawInsertBefore(l, at);
  return n;
}

void tolk_ugraph_base::NodeDelete(const tolk_UNode& n) {
  tolk_unode_link* l = n.Link();
  while (!l->elist.Empty()) EdgeDelete(tolk_UEdge::First(n));
  RawRemove(n);
  if (pAssocManager != nullptr) pAssocManager->DeallocateNodeIndex(l->name);
  DisposeNode(l);
}

// In a self-loop the A link comes before the B link, whichever end was used.
void tolk_ugraph_base::AttachEdge(tolk_uedge_base* e, tolk_unode_link* a, tolk_unode_link* b, bool front) {
  e->tail = a;
  e->head = b;
  if (front) {
    b->elist.RawInsert(e->Blink());
    a->elist.RawInsert(e->Alink());
  } else {
    a->elist.RawAppend(e->Alink());
    b->elist.RawAppend(e->Blink());
  }
}

void tolk_ugraph_base::UnlinkEdge(tolk_uedge_base* e) {
  e->tail->elist.RawRemove(tolk_UEdge(e->Alink()));
  e->head->elist.RawRemove(tolk_UEdge(e->Blink()));
}

tolk_UEdge tolk_ugraph_base::LinkEdge(tolk_uedge_base* e, const tolk_UNode& a, const tolk_UNode& b, bool front) {
  e->Alink()->id = pAssocManager != nullptr ? pAssocManager->AllocateEdgeIndex() : 0;
  e->Blink()->id = tolk_UNNAMED;
  AttachEdge(e, a.Link(), b.Link(), front);
  ++NEdges;
  return tolk_UEdge(e->Alink());
}

void tolk_ugraph_base::EdgeDelete(const tolk_UEdge& e) {
  tolk_uedge_base* x = e.Edge();
  tolk_unsigned index = x->Index();
  UnlinkEdge(x);
  --NEdges;
  if (pAssocManager != nullptr) pAssocManager->DeallocateEdgeIndex(index);
  DisposeEdge(x);
}

void tolk_ugraph_base::EdgeMove(const tolk_UEdge& e, const tolk_UNode& a, const tolk_UNode& b) {
  tolk_uedge_base* x = e.Edge();
  UnlinkEdge(x);
  AttachEdge(x, a.Link(), b.Link(), true);
}

tolk_uedge_link* tolk_ugraph_base::LinkIn(const tolk_UNode& n, const tolk_UEdge& e) const {
  tolk_uedge_base* x = e.Edge();
  tolk_uedge_link* here = e.Link();
  if (x->OwnerOf(here) == n.Link()) return here;
  return here->IsBlink() ? x->Alink() : x->Blink();
}

void tolk_ugraph_base::EdgeMoveToFront(const tolk_UNode& n, const tolk_UEdge& e) {
  tolk_uedge_link* l = LinkIn(n, e);
  tolk_uedge_list& list = n.Link()->elist;
  list.RawRemove(tolk_UEdge(l));
  list.RawInsert(l);
}

void tolk_ugraph_base::EdgeMoveBehind(const tolk_UNode& n, const tolk_UEdge& e, const tolk_UEdge& f) {
  tolk_uedge_link* le = LinkIn(n, e);
  tolk_uedge_link* lf = LinkIn(n, f);
  if (le == lf) return;
  tolk_uedge_list& list = n.Link()->elist;
  list.RawRemove(tolk_UEdge(lf));
  list.RawInsertAfter(lf, tolk_UEdge(le));
}

namespace {

// Lets the list sort compare links as graph positions.
template <class Pos>
tolk_signed ComparePositions(const tolk_list_link* a, const tolk_list_link* b, const void* cmp) {
  return static_cast<const tolk_Comparator<Pos>*>(cmp)->Compare(Pos(const_cast<tolk_list_link*>(a)),
                                                                 Pos(const_cast<tolk_list_link*>(b)));
}

}  // namespace

void tolk_ugraph_base::NodeSort(tolk_UNode& from, tolk_UNode& to, tolk_Comparator<tolk_UNode>* cmp) {
  RawSort(from, to, &ComparePositions<tolk_UNode>, cmp);
}

void tolk_ugraph_base::EdgeSort(const tolk_UNode& n, tolk_UEdge& from, tolk_UEdge& to,
                                tolk_Comparator<tolk_UEdge>* cmp) {
  n.Link()->elist.RawSort(from, to, &ComparePositions<tolk_UEdge>, cmp);
}

tolk_unsigned tolk_ugraph_base::GetMaxNodeName() const {
  return pAssocManager != nullptr ? pAssocManager->maxNodeIndex : 0;
}

tolk_unsigned tolk_ugraph_base::GetMaxEdgeName() const {
  return pAssocManager != nullptr ? pAssocManager->maxEdgeIndex : 0;
}

void tolk_ugraph_base::ActivateAssocManager() {
  if (pAssocManager == nullptr) pAssocManager = new tolk_UAssocArray_Manager(*this);
}

void tolk_ugraph_base::DeactivateAssocManager() {
  if (pAssocManager != nullptr && pAssocManager->AssocListEmpty()) {
    delete pAssocManager;
    pAssocManager = nullptr;
  }
}

// ---------------------------------------------------------------------------------------------
// Attached arrays

tolk_UNodeAssoc_base::tolk_UNodeAssoc_base(tolk_ugraph_base& g) : tolk_UAssocArray_base(g) {
  g.ActivateAssocManager();
  reg_handle = g.pAssocManager->RegisterNodeAssoc(this);
}

tolk_UNodeAssoc_base::~tolk_UNodeAssoc_base() {
  if (pG == nullptr) return;  // the graph died first
  pG->pAssocManager->DeregisterNodeAssoc(reg_handle);
  pG->DeactivateAssocManager();
}

tolk_UEdgeAssoc_base::tolk_UEdgeAssoc_base(tolk_ugraph_base& g) : tolk_UAssocArray_base(g) {
  g.ActivateAssocManager();
  reg_handle = g.pAssocManager->RegisterEdgeAssoc(this);
}

tolk_UEdgeAssoc_base::~tolk_UEdgeAssoc_base() {
  if (pG == nullptr) return;
  pG->pAssocManager->DeregisterEdgeAssoc(reg_handle);
  pG->DeactivateAssocManager();
}

// ---------------------------------------------------------------------------------------------
// Index manager

tolk_UAssocArray_Manager::tolk_UAssocArray_Manager(tolk_ugraph_base& g) : pG(&g) {
  NumberNodes();
  NumberEdges();
}

tolk_UAssocArray_Manager::~tolk_UAssocArray_Manager() {
  for (tolk_list_base_iter i = NodeAssocList.First(); !i.End(); i.Next()) NodeAssocList.Value(i)->pG = nullptr;
  for (tolk_list_base_iter i = EdgeAssocList.First(); !i.End(); i.Next()) EdgeAssocList.Value(i)->pG = nullptr;
}

void tolk_UAssocArray_Manager::NumberNodes() {
  tolk_unsigned k = 0;
  ForEachNode(*pG, [&](tolk_unode_link* n) { n->name = k++; });
  maxNodeIndex = GrownLimit(k);
  freeNodeIndices.PushRange(k, maxNodeIndex);
}

// Edges are numbered in the order they are first met from either end.
void tolk_UAssocArray_Manager::NumberEdges() {
  const tolk_unsigned unnumbered = pG->NEdges + 1;
  ForEachNode(*pG, [&](tolk_unode_link* n) {
    ForEachLink(n, [&](tolk_uedge_link* l) {
      if (!l->IsBlink()) l->id = unnumbered;
    });
  });
  tolk_unsigned k = 0;
  ForEachNode(*pG, [&](tolk_unode_link* n) {
    ForEachLink(n, [&](tolk_uedge_link* l) {
      tolk_uedge_link* a = tolk_uedge_base::FromLink(l)->Alink();
      if (a->id == unnumbered) a->id = k++;
    });
  });
  maxEdgeIndex = GrownLimit(k);
  freeEdgeIndices.PushRange(k, maxEdgeIndex);
}

tolk_list_base_iter tolk_UAssocArray_Manager::RegisterNodeAssoc(tolk_UNodeAssoc_base* a) {
  NodeAssocList.Append(a);
  return NodeAssocList.Last();
}

tolk_list_base_iter tolk_UAssocArray_Manager::RegisterEdgeAssoc(tolk_UEdgeAssoc_base* a) {
  EdgeAssocList.Append(a);
  return EdgeAssocList.Last();
}

void tolk_UAssocArray_Manager::DeregisterNodeAssoc(const tolk_list_base_iter& h) { NodeAssocList.Delete(h); }

void tolk_UAssocArray_Manager::DeregisterEdgeAssoc(const tolk_list_base_iter& h) { EdgeAssocList.Delete(h); }

namespace {

template <class Resize>
tolk_unsigned TakeIndex(tolk_IndexStack& freeIndices, Resize resize) {
  if (freeIndices.Empty()) resize();
  return freeIndices.Pop();
}

// Compacts once more than half of the index space is free.
template <class Resize>
void GiveIndexBack(tolk_IndexStack& freeIndices, tolk_unsigned maxIndex, tolk_unsigned i, Resize resize) {
  freeIndices.Push(i);
  if (static_cast<tolk_unsigned>(freeIndices.Size()) > (maxIndex + 1) / 2) resize();
}

template <class AssocList>
void ResizeAll(AssocList& arrays, tolk_unsigned** names, tolk_unsigned used, tolk_unsigned newMax) {
  for (tolk_list_base_iter i = arrays.First(); !i.End(); i.Next()) arrays.Value(i)->Resize(names, used, newMax);
}

// Sizes the index space for `used` live elements. While free indices remain, the
// space is compacted: every array moves to the numbering of collectNames (the live
// elements' indices, in list order), which then becomes the elements' own.
template <class AssocList, class CollectNames>
void ResizeIndexSpace(AssocList& arrays, tolk_IndexStack& freeIndices, tolk_unsigned& maxIndex,
                      tolk_unsigned used, CollectNames collectNames) {
  const tolk_unsigned newMax = GrownLimit(used);
  if (!freeIndices.Empty()) {
    std::vector<tolk_unsigned*> names;
    names.reserve(used);
    collectNames(names);
    ResizeAll(arrays, names.data(), used, newMax);
    for (tolk_unsigned k = 0; k < used; ++k) *names[k] = k;
    freeIndices.Clear();
  } else {
    ResizeAll(arrays, nullptr, used, newMax);
  }
  maxIndex = newMax;
  freeIndices.PushRange(used, newMax);
}

}  // namespace

tolk_unsigned tolk_UAssocArray_Manager::AllocateNodeIndex() {
  return TakeIndex(freeNodeIndices, [this] { InitiateNodeResize(); });
}

void tolk_UAssocArray_Manager::DeallocateNodeIndex(tolk_unsigned i) {
  GiveIndexBack(freeNodeIndices, maxNodeIndex, i, [this] { InitiateNodeResize(); });
}

tolk_unsigned tolk_UAssocArray_Manager::AllocateEdgeIndex() {
  return TakeIndex(freeEdgeIndices, [this] { InitiateEdgeResize(); });
}

void tolk_UAssocArray_Manager::DeallocateEdgeIndex(tolk_unsigned i) {
  GiveIndexBack(freeEdgeIndices, maxEdgeIndex, i, [this] { InitiateEdgeResize(); });
}

void tolk_UAssocArray_Manager::InitiateNodeResize() {
  ResizeIndexSpace(NodeAssocList, freeNodeIndices, maxNodeIndex, pG->NumberOfNodes(),
                   [this](std::vector<tolk_unsigned*>& names) {
                     ForEachNode(*pG, [&](tolk_unode_link* n) { names.push_back(&n->name); });
                   });
}

// Each edge is collected once, through its A link.
void tolk_UAssocArray_Manager::InitiateEdgeResize() {
  ResizeIndexSpace(EdgeAssocList, freeEdgeIndices, maxEdgeIndex, pG->NEdges,
                   [this](std::vector<tolk_unsigned*>& names) {
                     ForEachNode(*pG, [&](tolk_unode_link* n) {
                       ForEachLink(n, [&](tolk_uedge_link* l) {
                         if (!l->IsBlink()) names.push_back(&l->id);
                       });
                     });
                   });
}
