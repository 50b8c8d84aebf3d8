// What feedwalk does to a built model: its breakers, their conductivity states and the directed-edge lines.
#pragma once

#include <cstdio>
#include <vector>

#include "grid/grid.h"
#include "orient/condstate.h"
#include "orient/slorient.h"

// True when ent, an entity of def, is an instance of a breaker definition (its
// name begins with "DynamicProtectiveDevice") whose property brkr_propkey is
// the integer 1.
bool IsDPDBreaker(ZELT_Grid& gm, ZELT_Grid_DefIter& def, ZELT_Grid_EntityIter& ent, int brkr_propkey);

// The one-step path that names ent inside def.
ZELT_Grid_HEntity ConstructHEnt(ZELT_Grid& gm, ZELT_Grid_DefIter& def, ZELT_Grid_EntityIter& ent);

// The breakers of def in entity order, as one-step paths; none over the end handle.
std::vector<ZELT_Grid_HEntity> FindBreakers(ZELT_Grid& gm, ZELT_Grid_DefIter& def, int subtype_propkey);

// Gives every entity of def that has the normal-position property the state ON
// (for the integer 1) or OFF (for any other value), and reports the count.
void InitializeCondStateSetSL(ZELT_Grid_CondStateSetSL& cst, ZELT_Grid& gm, ZELT_Grid_DefIter& def,
                              int normpos_propkey);
// The same without the report; returns the count. Only reads the grid, so it may run
// beside FindBreakers.
int SetCondStatesFromProperty(ZELT_Grid_CondStateSetSL& cst, const ZELT_Grid& gm, const ZELT_Grid_DefIter& def,
                              int normpos_propkey);
// The report of InitializeCondStateSetSL.
void ReportCondStatesInitialized(int count);

// Writes one "from to" line per pair, in chunks that two threads format when there are
// several, and counts them in nedges. False as soon as the stream reports a write error;
// the count then means nothing.
bool WriteEdges(FILE* edgefile, const std::vector<ZELT_Grid_HEntityPair>& pairs, const ZELT_Grid& gm, int& nedges);
