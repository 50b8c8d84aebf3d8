// Key sequences: ten counters in memory.
#include "registry/key_sequence.h"

#include <cstdio>

ZELT_Grid_KeySequence::ZELT_Grid_KeySequence(long defid, long entityid, int propkey, int tsexprkey,
                                             int tsschemaid)
    : _pkeyset{defid, entityid, propkey, tsexprkey, tsschemaid, 0, 0, 0, 0, 0} {}

ZELT_Grid_KeySequence::~ZELT_Grid_KeySequence() = default;

long ZELT_Grid_KeySequence::Take(ZELT_Grid_KeyName name) {
  const int64_t value = _pkeyset[name];
  // Unsigned arithmetic wraps where a signed step past the largest value would be undefined.
  _pkeyset[name] = static_cast<int64_t>(static_cast<uint64_t>(value) + 1);
  return value;
}

long ZELT_Grid_KeySequence::NewDefID() { return Take(ZELT_Grid_DefID); }
long ZELT_Grid_KeySequence::NewEntityID() { return Take(ZELT_Grid_EntityID); }
int ZELT_Grid_KeySequence::NewPropKey() { return static_cast<int>(Take(ZELT_Grid_PropKey)); }
int ZELT_Grid_KeySequence::NewTSExprKey() { return static_cast<int>(Take(ZELT_Grid_TSExprKey)); }
int ZELT_Grid_KeySequence::NewTSSchemaID() { return static_cast<int>(Take(ZELT_Grid_TSSchemaID)); }
int ZELT_Grid_KeySequence::NewAssetClassID() { return static_cast<int>(Take(ZELT_Grid_AssetClassID)); }
int ZELT_Grid_KeySequence::NewFlowRoleID() { return static_cast<int>(Take(ZELT_Grid_FlowRoleID)); }

long ZELT_Grid_KeySequence::NewKey(const ZELT_Grid_KeyName& name) {
  if (name < 0 || name >= ZELT_Grid_KEYMAX) {
    fprintf(stderr, "ERROR %s: The max key enum is %d.\n", "ZELT_Grid_KeySequence", ZELT_Grid_KEYMAX - 1);
    fflush(stderr);
    return 0;
  }
  return Take(name);
}
