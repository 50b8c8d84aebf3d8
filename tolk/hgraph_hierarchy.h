// The hierarchy of hierarchical graphs: which graphs exist, and which of them no node instantiates.
#pragma once

#include "tolk/comparators.h"
#include "tolk/hgraph.h"
#include "tolk/rbtree.h"

// Owns every graph registered with it, and a record pool that graphs made for it may
// share (Records()); graphs are destroyed before the pool. A graph sits in Primes while no instance node
// refers to it and in Scopes otherwise; node operations done through the hierarchy keep
// that exact. Primes are ordered by the comparator given at construction (by address
// when none is given); it sees graph pointers as void*, must tell any two graphs apart
// and must not change its answer for a graph while the graph is registered. Scopes are
// always ordered by address. Operations given a graph that is not registered change
// nothing and answer failure.
template <class G, class N, class E, class L>
class tolk_HIERARCHY {
 public:
  typedef tolk_HGRAPH<G, N, E, L> Graph;
  typedef tolk_RBTREE<void*, Graph*> GraphSet;

  GraphSet Primes;
  GraphSet Scopes;

  explicit tolk_HIERARCHY(const tolk_Comparator<void*>* primeOrder = nullptr)
      : Primes(primeOrder != nullptr ? primeOrder : &byAddress), Scopes(&byAddress) {}
  tolk_HIERARCHY(const tolk_HIERARCHY&) = delete;
  tolk_HIERARCHY& operator=(const tolk_HIERARCHY&) = delete;
  // Deletes every graph, primes first. Graphs that only instantiate one another never
  // become primes by themselves, so one of them is taken from the scopes to break the cycle.
  ~tolk_HIERARCHY() {
    while (!Primes.Empty() || !Scopes.Empty()) {
      GraphSet& from = Primes.Empty() ? Scopes : Primes;
      DeleteScope(from.Value(from.First()));
    }
  }

  // Takes ownership of a new graph as a prime; 1 when it was already registered, else 0.
  int AddScope(Graph* g) {
    TOLK_ASSERT(g != nullptr, "null graph given to the hierarchy");
    if (IsKnown(g)) return 1;
    Primes.Insert(g, g);
    return 0;
  }

  // A new instance node of ref in scope, at the front (insert) or end; ref stops being a prime.
  tolk_UNode AddNode(Graph* scope, const N& d, Graph* ref, bool insert) {
    if (!IsKnown(scope) || !IsKnown(ref)) return tolk_UNode();
    tolk_UNode n = insert ? scope->NodeInsert(d, ref) : scope->NodeAppend(d, ref);
    if (Primes.Delete(ref) == 0) Scopes.Insert(ref, ref);
    return n;
  }

  tolk_UNode AddLeafNode(Graph* scope, const L& d, bool insert) {
    if (!IsKnown(scope)) return tolk_UNode();
    return insert ? scope->LeafNodeInsert(d) : scope->LeafNodeAppend(d);
  }

  // 0 when the node was deleted, 1 when scope is not registered.
  int DeleteNode(Graph* scope, const tolk_UNode& n) {
    if (!IsKnown(scope)) return 1;
    RemoveNode(scope, n);
    return 0;
  }

  // Deletes every instance node of g anywhere, then g's nodes, then g itself.
  int DeleteScope(Graph* g) {
    if (!IsKnown(g)) return 1;
    while (g->NumOfReps() > 0) {
      const tolk_instance_step_base rep = g->RLValue(g->FirstRep());
      RemoveNode(static_cast<Graph*>(rep.pscope), rep.node);
    }
    while (!g->Empty()) RemoveNode(g, g->FirstNode());
    if (Primes.Delete(g) != 0) Scopes.Delete(g);
    delete g;
    return 0;
  }

  // Explodes instance node n of scope, which must instantiate target; map is an array
  // of target's. target returns to the primes when this was its last instance.
  int ExplodeNode(Graph* scope, const tolk_UNode& n, tolk_UNODEASSOC<tolk_UNode>& map, Graph* target) {
    if (!IsKnown(scope) || !IsKnown(target)) return 1;
    if (Graph::IsLeaf(n) || scope->GetRepGraph(n) != target) return 1;
    scope->ExplodeNode(n, map);
    ReturnToPrimesIfUnused(target);
    return 0;
  }

  tolk_RecordPool& Records() { return records; }
  const tolk_RecordPool& Records() const { return records; }

  // Lets go of every graph's records wholesale (tolk_HGRAPH::AbandonRecords), for a
  // hierarchy about to be destroyed: its graphs are then deleted empty.
  void AbandonRecords() {
    for (GraphSet* set : {&Primes, &Scopes}) {
      for (tolk_RBTreeIter it = set->First(); !it.End(); it.Next()) set->Value(it)->AbandonRecords();
    }
  }

  bool IsKnown(Graph* g) { return g != nullptr && (IsPrime(g) || Scopes.Search(g) != nullptr); }
  bool IsPrime(Graph* g) { return Primes.Search(g) != nullptr; }
  const GraphSet& GetPrimes() const { return Primes; }
  const GraphSet& GetScopes() const { return Scopes; }

 private:
  inline static tolk_PHGComparator byAddress;
  tolk_RecordPool records;

  void RemoveNode(Graph* scope, const tolk_UNode& n) {
    Graph* ref = Graph::IsLeaf(n) ? nullptr : scope->GetRepGraph(n);
    scope->NodeDelete(n);
    if (ref != nullptr) ReturnToPrimesIfUnused(ref);
  }

  void ReturnToPrimesIfUnused(Graph* g) {
    if (g->NumOfReps() == 0 && Scopes.Delete(g) == 0) Primes.Insert(g, g);
  }
};
