// libFuzzer target: arbitrary bytes read as a GDF file into a fresh grid with every registry attached, then walked as feedwalk walks it.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "driver/feeder_walk.h"
#include "gdf/parse_to_grid.h"
#include "registry/asset_class_registry.h"
#include "registry/prop_registry.h"
#include "registry/root_registry.h"

// The library's own assertion stop interrupts the process with SIGINT, which
// libFuzzer takes for a user's request to stop. This definition takes the
// place of the library's (the linker then leaves tolk's assert.o out) and
// aborts instead, which libFuzzer reports as a crash and keeps the input of.
void tolk_assertfunc(bool test, const char* filename, unsigned int linenumber, const char* message,
                     const char* optmessage) {
  if (test) return;
  fprintf(stderr, "Internal consistency stop at %s:%u: %s %s\n", filename ? filename : "", linenumber,
          message ? message : "", optmessage ? optmessage : "");
  abort();
}

namespace {

// feedwalk's steps after the parse: breakers of the prime circuit, their
// states, the orientation and the output lines (here thrown away).
void WalkFeeder(ZELT_Grid& gm, ZELT_PropRegistry& propreg) {
  int subtype_key = -1, normpos_key = -1, type = 0;
  if (!propreg.GetKeyAndType("SUBTYPECD", subtype_key, type)) return;
  if (!propreg.GetKeyAndType("NORMALPOSITION_A", normpos_key, type)) return;
  ZELT_Grid_DefIter root_def = gm.GetPrimeCircuitDef();
  std::vector<ZELT_Grid_HEntity> sources = FindBreakers(gm, root_def, subtype_key);
  ZELT_Grid_CondStateSetSL cst(gm, root_def);
  InitializeCondStateSetSL(cst, gm, root_def, normpos_key);
  std::vector<ZELT_Grid_HEntityPair> pairs;
  ZELT_Grid_SLOrient(gm, sources, cst, pairs);
  static FILE* const sink = fopen("/dev/null", "w");
  int nedges = 0;
  if (sink != nullptr) WriteEdges(sink, pairs, gm, nedges);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // fmemopen refuses an empty buffer; an empty file reads the same as this one byte.
  static char newline[] = "\n";
  FILE* in = size > 0 ? fmemopen(const_cast<uint8_t*>(data), size, "r") : fmemopen(newline, 1, "r");
  if (in == nullptr) return 0;
  ZELT_Grid gm;
  ZELT_Grid_GDF_ParseToGrid gdfp(gm);
  ZELT_MeMPropRegistry propreg;
  ZELT_RootRegistry rootreg;
  ZELT_AssetClassRegistry assetreg;
  gdfp.SetPropReg(propreg);
  gdfp.SetRootReg(rootreg);
  gdfp.SetAssetClassReg(assetreg);
  gdfp.ParseGDF(in, nullptr);
  fclose(in);
  WalkFeeder(gm, propreg);
  return 0;
}
