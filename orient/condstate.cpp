// The conductivity state set of one definition.
#include "orient/condstate.h"

#include "tolk/assert.h"

ZELT_Grid_CondStateSetSL::ZELT_Grid_CondStateSetSL(ZELT_Grid& gm, ZELT_Grid_DefIter& def)
    : _entitysetsl(gm, def), _pstates(gm.IsEnd(def) ? nullptr : new ZELT_Grid_DefAssoc<ZELT_Grid_CondState>(gm, def, UNSET)) {}

ZELT_Grid_CondStateSetSL::~ZELT_Grid_CondStateSetSL() { delete _pstates; }

void ZELT_Grid_CondStateSetSL::SetState(const ZELT_Grid_EntityIter& e, ZELT_Grid_CondState s) {
  TOLK_ASSERT(_pstates != nullptr, "conductivity state set over no definition");
  (*_pstates)[e] = s;
  _entitysetsl.Insert(e);
}

ZELT_Grid_CondState ZELT_Grid_CondStateSetSL::GetState(const ZELT_Grid_EntityIter& e) const {
  return _pstates ? (*_pstates)[e] : UNSET;
}

ZELT_Grid_DefIter ZELT_Grid_CondStateSetSL::GetDef() const {
  return _pstates ? _pstates->GetDef() : ZELT_Grid_DefIter();
}
