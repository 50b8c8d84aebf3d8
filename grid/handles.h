// The grid model's value handles and the records it keeps per definition, node and edge.
#pragma once

#include "tolk/comparators.h"
#include "tolk/hgraph.h"
#include "tolk/property.h"
#include "tolk/rbtree.h"

struct ZELT_Grid_GraphData;
struct ZELT_Grid_NodeData;
struct ZELT_Grid_EdgeData;
struct ZELT_Grid_LeafData;

typedef tolk_HGRAPH<ZELT_Grid_GraphData, ZELT_Grid_NodeData, ZELT_Grid_EdgeData, ZELT_Grid_LeafData>
    ZELT_Grid_Graph;
// The definition table: definition id -> graph, with side arrays per entry.
typedef tolk_TARBTREE<long, ZELT_Grid_Graph*, ZELT_Grid_LongComparator> ZELT_Grid_DefTable;
typedef tolk_TARBTREE_ITER<long, ZELT_Grid_Graph*, ZELT_Grid_LongComparator> ZELT_Grid_DefTableIter;

typedef tolk_Property ZELT_Grid_PropData;
typedef tolk_PropertySet ZELT_Grid_PropDataSet;

// A definition: a position in the definition table. Ordered by the table
// position's address so that it can key maps that need no meaningful order.
class ZELT_Grid_DefIter : public ZELT_Grid_DefTableIter {
 public:
  ZELT_Grid_DefIter() = default;
  ZELT_Grid_DefIter(const ZELT_Grid_DefTableIter& it) : ZELT_Grid_DefTableIter(it) {}
  bool operator==(const ZELT_Grid_DefIter& o) const { return pos == o.pos; }
  bool operator!=(const ZELT_Grid_DefIter& o) const { return pos != o.pos; }
  bool operator<(const ZELT_Grid_DefIter& o) const { return pos < o.pos; }
};

// An entity of one definition: a node position in the definition's graph.
class ZELT_Grid_EntityIter : public tolk_UNode {
 public:
  ZELT_Grid_EntityIter() = default;
  ZELT_Grid_EntityIter(const tolk_list_base_iter& n) : tolk_UNode(n) {}
  // Equality is the list position's: every end handle equals every other.
  bool operator<(const ZELT_Grid_EntityIter& o) const { return position < o.position; }
  // The node's identity, for orderings that need one but no meaning.
  const void* CPOS() const { return position; }
};

// A connection, reached from one of its end entities: a position in that
// entity's incidence list.
class ZELT_Grid_ConnectionIter : public tolk_UEdge {
 public:
  ZELT_Grid_ConnectionIter() = default;
  ZELT_Grid_ConnectionIter(const tolk_list_base_iter& e) : tolk_UEdge(e) {}
};

// A property: a position in its owner's property set. The owner kind is a
// template argument so that a handle of one store cannot be handed to another.
enum ZELT_Grid_PropOwner { ZELT_Grid_EntityOwned, ZELT_Grid_PathOwned, ZELT_Grid_DefOwned };
template <ZELT_Grid_PropOwner Owner>
class ZELT_Grid_PropHandle : public tolk_PropertySetIter {
 public:
  ZELT_Grid_PropHandle() = default;
  ZELT_Grid_PropHandle(const tolk_PropertySetIter& it) : tolk_PropertySetIter(it) {}
};
typedef ZELT_Grid_PropHandle<ZELT_Grid_EntityOwned> ZELT_Grid_PropIter;
typedef ZELT_Grid_PropHandle<ZELT_Grid_PathOwned> ZELT_Grid_HPropIter;
typedef ZELT_Grid_PropHandle<ZELT_Grid_DefOwned> ZELT_Grid_DefPropIter;

enum DefType { DefType_Circuit = 0, DefType_Element = 1 };
enum LeafType { LeafType_ConnNode = 0, LeafType_Terminal = 1 };

// Names are owned copies (or null); the grid allocates and frees them, the
// records themselves copy shallowly because the graphs copy them in by value.
struct ZELT_Grid_GraphData {
  long _id = 0;
  char* _pname = nullptr;
  DefType _type = DefType_Circuit;
  ZELT_Grid_DefIter _it;  // leads from a graph found through a step back to its handle
};

struct ZELT_Grid_NodeData {
  long _id = 0;
  char* _pname = nullptr;
};

struct ZELT_Grid_LeafData {
  long _id = 0;
  char* _pname = nullptr;
  LeafType _type = LeafType_ConnNode;
};

struct ZELT_Grid_EdgeData {
  long _id = 0;
};

typedef tolk_HInstanceStep<ZELT_Grid_GraphData, ZELT_Grid_NodeData, ZELT_Grid_EdgeData, ZELT_Grid_LeafData>
    ZELT_Grid_HEntityStep;
typedef tolk_HInstance<ZELT_Grid_GraphData, ZELT_Grid_NodeData, ZELT_Grid_EdgeData, ZELT_Grid_LeafData>
    ZELT_Grid_HEntityBase;

// The typed graph of a step's scope.
inline ZELT_Grid_Graph* ZELT_Grid_ScopeOf(const tolk_instance_step_base& step) {
  return static_cast<ZELT_Grid_Graph*>(step.pscope);
}
