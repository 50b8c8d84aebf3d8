// Breaker discovery, conductivity initialisation and edge output for feedwalk.
#include "driver/feeder_walk.h"

#include <cstring>
#include <string>

#include "grid/util.h"

namespace {

const char* const kBreakerDefPrefix = "DynamicProtectiveDevice";

// A property value counts as 1 only when it is an integer equal to 1. Values
// of any other kind (a property declared with another type) and null values
// ("--" in the GDF file) are "not 1".
bool IsIntegerOne(const ZELT_Grid_PropData& value) {
  if (value.IsNull()) return false;
  switch (value.QType()) {
    case ZELT_Grid_PropData::int32:
      return value.QInt32() == 1;
    case ZELT_Grid_PropData::int64:
      return value.QInt64() == 1;
    default:
      return false;
  }
}

}  // namespace

bool IsDPDBreaker(ZELT_Grid& gm, ZELT_Grid_DefIter& def, ZELT_Grid_EntityIter& ent, int brkr_propkey) {
  if (!gm.IsElementInst(def, ent) && !gm.IsCircuitInst(def, ent)) return false;
  const char* defname = gm.GetDefName(gm.GetDefinition(def, ent));
  if (defname == nullptr || strncmp(defname, kBreakerDefPrefix, strlen(kBreakerDefPrefix)) != 0) return false;
  ZELT_Grid_PropIter prop = gm.GetProperty(def, ent, brkr_propkey);
  if (gm.IsEnd(prop)) return false;
  return IsIntegerOne(gm.GetPropertyValue(def, ent, prop));
}

ZELT_Grid_HEntity ConstructHEnt(ZELT_Grid& gm, ZELT_Grid_DefIter& def, ZELT_Grid_EntityIter& ent) {
  ZELT_Grid_HEntity hent;
  ZELT_Grid_HEntityStep step;
  gm.InitHEntStep(step, def, ent);
  hent.AppendStep(step);
  return hent;
}

std::vector<ZELT_Grid_HEntity> FindBreakers(ZELT_Grid& gm, ZELT_Grid_DefIter& def, int subtype_propkey) {
  std::vector<ZELT_Grid_HEntity> sources;
  if (gm.IsEnd(def)) return sources;  // a model without definitions has no breaker
  for (ZELT_Grid_EntityIter ent = gm.GetFirstEntity(def); !gm.IsEnd(ent); gm.NextEntity(def, ent)) {
    if (IsDPDBreaker(gm, def, ent, subtype_propkey)) sources.push_back(ConstructHEnt(gm, def, ent));
  }
  return sources;
}

// Entities without the property keep UNSET.
int SetCondStatesFromProperty(ZELT_Grid_CondStateSetSL& cst, const ZELT_Grid& gm, const ZELT_Grid_DefIter& def,
                              int normpos_propkey) {
  int count = 0;
  if (gm.IsEnd(def)) return count;
  for (ZELT_Grid_EntityIter ent = gm.GetFirstEntity(def); !gm.IsEnd(ent); gm.NextEntity(def, ent)) {
    ZELT_Grid_PropIter prop = gm.GetProperty(def, ent, normpos_propkey);
    if (gm.IsEnd(prop)) continue;
    cst.SetState(ent, IsIntegerOne(gm.GetPropertyValue(def, ent, prop)) ? ON : OFF);
    ++count;
  }
  return count;
}

void ReportCondStatesInitialized(int count) {
  fprintf(stderr, "INFO(%s):  Initialized conductivity state for %d entities from NORMALPOSITION_A property.\n",
          "InitializeCondStateSetSL", count);
  fflush(stderr);
}

void InitializeCondStateSetSL(ZELT_Grid_CondStateSetSL& cst, ZELT_Grid& gm, ZELT_Grid_DefIter& def,
                              int normpos_propkey) {
  ReportCondStatesInitialized(SetCondStatesFromProperty(cst, gm, def, normpos_propkey));
}

bool WriteEdges(FILE* edgefile, const std::vector<ZELT_Grid_HEntityPair>& pairs, const ZELT_Grid& gm, int& nedges) {
  // Lines gather in a block of about kBlock bytes that goes out in one write.
  constexpr size_t kBlock = 1 << 16;
  std::string block;
  block.reserve(kBlock + 1024);
  auto flush = [&] {
    const bool ok = fwrite(block.data(), 1, block.size(), edgefile) == block.size();
    block.clear();
    return ok;
  };
  for (const ZELT_Grid_HEntityPair& pair : pairs) {
    ZELT_Grid_Util::AppendHEnt(block, pair.first, gm);
    block += ' ';
    ZELT_Grid_Util::AppendHEnt(block, pair.second, gm);
    block += '\n';
    ++nedges;
    if (block.size() >= kBlock && !flush()) return false;
  }
  return flush();
}
