// Key sequences: in-memory counters that hand out ids and keys for definitions, entities, properties and more.
#pragma once

#include <array>
#include <cstdint>

// The counters of a key sequence, by index.
enum ZELT_Grid_KeyName {
  ZELT_Grid_DefID = 0,
  ZELT_Grid_EntityID = 1,
  ZELT_Grid_PropKey = 2,
  ZELT_Grid_TSExprKey = 3,
  ZELT_Grid_TSSchemaID = 4,
  ZELT_Grid_FlowStateID = 5,
  ZELT_Grid_CondStateID = 6,
  ZELT_Grid_CondStateSLID = 7,
  ZELT_Grid_AssetClassID = 8,
  ZELT_Grid_FlowRoleID = 9,
  ZELT_Grid_KEYMAX = 10, // the number of counters
};

// Ten counters; each new key is a counter's current value, after which the
// counter moves on by one. Counters only grow. A database-backed variant keeps
// them in a table and overrides every virtual operation.
class ZELT_Grid_KeySequence {
 public:
  // Counters 0 to 4 start at the given values, the others at 0.
  ZELT_Grid_KeySequence(long defid, long entityid, int propkey, int tsexprkey, int tsschemaid);
  virtual ~ZELT_Grid_KeySequence();

  virtual long NewDefID();
  virtual long NewEntityID();
  // The 32-bit forms hand out the counter cut to 32 bits.
  virtual int NewPropKey();
  virtual int NewTSExprKey();
  virtual int NewTSSchemaID();
  virtual int NewAssetClassID();
  // Any counter; for a name beyond the last counter prints the max-key message and answers 0.
  virtual long NewKey(const ZELT_Grid_KeyName& name);
  int NewFlowRoleID();

 protected:
  // Hands out the counter's value and moves it on.
  long Take(ZELT_Grid_KeyName name);

  std::array<int64_t, ZELT_Grid_KEYMAX> _pkeyset;
};
