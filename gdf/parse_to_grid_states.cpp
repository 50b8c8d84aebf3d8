// The GDF builder's time-series, conductivity-state and flow-role statements.
#include <cstring>

#include "gdf/parse_to_grid.h"
#include "tolk/assert.h"

// The time-series schema, expression and sensor registries, the property data
// sources and the flow-role registry belong to the persistence layer. The
// parser refuses these statements while their registry is missing, so the
// operations below are reached only once one is attached, and that layer
// brings their bodies along with it.

namespace {

void RegistryNotSupported(const char* operation) {
  TOLK_ASSERT2(false, "GDF builder: the registry of this statement is not supported yet", operation);
}

} // namespace

bool ZELT_Grid_GDF_ParseToGrid::HaveTSSchema(const char*) {
  RegistryNotSupported("HaveTSSchema");
  return false;
}

bool ZELT_Grid_GDF_ParseToGrid::AddTSSchema(const char*, const char*, const char*, const char*, const char*, int,
                                            const char**, const int*) {
  RegistryNotSupported("AddTSSchema");
  return false;
}

void ZELT_Grid_GDF_ParseToGrid::AddHTSAssoc(const char*, int, const ZELT_Grid_HEntity**, long*) {
  RegistryNotSupported("AddHTSAssoc");
}

bool ZELT_Grid_GDF_ParseToGrid::HaveTSField(const char*, const char*) {
  RegistryNotSupported("HaveTSField");
  return false;
}

bool ZELT_Grid_GDF_ParseToGrid::HaveTSExpr(const char*) {
  RegistryNotSupported("HaveTSExpr");
  return false;
}

void ZELT_Grid_GDF_ParseToGrid::AddTSExpr(const char*, ZELT_Grid_ValueType, const char*) {
  RegistryNotSupported("AddTSExpr");
}

void ZELT_Grid_GDF_ParseToGrid::AddTSPropdata(const char*, const char*, const char*) {
  RegistryNotSupported("AddTSPropdata");
}

void ZELT_Grid_GDF_ParseToGrid::AddTSPropdata(const char*, const char*) { RegistryNotSupported("AddTSPropdata"); }

bool ZELT_Grid_GDF_ParseToGrid::HaveHflowroleTag(const char*) {
  RegistryNotSupported("HaveHflowroleTag");
  return false;
}

void ZELT_Grid_GDF_ParseToGrid::AddHflowrole(const char*, int, const ZELT_Grid_HEntity**, const char**) {
  RegistryNotSupported("AddHflowrole");
}

// ---- Conductivity states: checked, never stored, so tags may repeat ----

bool ZELT_Grid_GDF_ParseToGrid::HaveCondstate(const char*) { return false; }

bool ZELT_Grid_GDF_ParseToGrid::IsValidCondstate(const char* value) {
  return strcmp(value, "ON") == 0 || strcmp(value, "OFF") == 0 || strcmp(value, "UNSET") == 0;
}

void ZELT_Grid_GDF_ParseToGrid::AddCondstate(const char*, const char*, int, const char**, const char**) {}

void ZELT_Grid_GDF_ParseToGrid::AddHCondstate(const char*, int, const ZELT_Grid_HEntity**, const char**) {}

bool ZELT_Grid_GDF_ParseToGrid::IsValidHflowrole(const char* value) {
  return strcmp(value, "SOURCE") == 0 || strcmp(value, "SINK") == 0;
}
