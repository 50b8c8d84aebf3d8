// feedwalk: reads a GDF grid model, orients it away from its breakers and writes the directed edges.
#include <sys/time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "gdf/parse_to_grid.h"
#include "grid/util.h"
#include "orient/slorient.h"
#include "registry/prop_registry.h"

namespace {

const char* const kProgram = "feedwalk";
const char* const kBreakerDefPrefix = "DynamicProtectiveDevice";

enum ExitStatus { kSuccess = 0, kMissingProperty = 4, kFileOrUsageError = 8 };

// Output lines collect here before they reach the file; large enough that a
// big model is written in a few hundred system calls.
char edge_buffer[1 << 20];

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

double walltime() {
  struct timeval tv;
  gettimeofday(&tv, nullptr);
  return tv.tv_sec + tv.tv_usec * 1e-6;
}

// Per-phase wall-clock seconds, printed after the normal messages when the
// environment holds FEEDWALK_PROFILE=1.
class PhaseProfile {
 public:
  PhaseProfile() : _enabled(ProfileRequested()), _start(walltime()), _mark(_start) {}

  // Ends the phase that began at the previous call (or at construction).
  void EndPhase(const char* name) {
    double now = walltime();
    if (_nphases < kMaxPhases) _phases[_nphases++] = {name, now - _mark};
    _mark = now;
  }

  void Report() const {
    if (!_enabled) return;
    for (int i = 0; i < _nphases; ++i) fprintf(stderr, "PROFILE %s %f\n", _phases[i].name, _phases[i].seconds);
    fprintf(stderr, "PROFILE total %f\n", walltime() - _start);
    fflush(stderr);
  }

 private:
  static bool ProfileRequested() {
    const char* value = getenv("FEEDWALK_PROFILE");
    return value != nullptr && strcmp(value, "1") == 0;
  }

  static constexpr int kMaxPhases = 3;
  struct Phase {
    const char* name;
    double seconds;
  };
  bool _enabled;
  double _start;
  double _mark;
  Phase _phases[kMaxPhases] = {};
  int _nphases = 0;
};

// True when ent is an instance of a breaker definition (its name begins with
// the breaker prefix) whose SUBTYPECD is 1.
bool IsDPDBreaker(ZELT_Grid& gm, ZELT_Grid_DefIter& def, ZELT_Grid_EntityIter& ent, int brkr_propkey) {
  if (!gm.IsElementInst(def, ent) && !gm.IsCircuitInst(def, ent)) return false;
  const char* defname = gm.GetDefName(gm.GetDefinition(def, ent));
  if (defname == nullptr || strncmp(defname, kBreakerDefPrefix, strlen(kBreakerDefPrefix)) != 0) return false;
  ZELT_Grid_PropIter prop = gm.GetProperty(def, ent, brkr_propkey);
  if (gm.IsEnd(prop)) return false;
  return IsIntegerOne(gm.GetPropertyValue(def, ent, prop));
}

// The one-step path that names ent inside def.
ZELT_Grid_HEntity ConstructHEnt(ZELT_Grid& gm, ZELT_Grid_DefIter& def, ZELT_Grid_EntityIter& ent) {
  ZELT_Grid_HEntity hent;
  ZELT_Grid_HEntityStep step;
  gm.InitHEntStep(step, def, ent);
  hent.AppendStep(step);
  return hent;
}

// ON for a normal position of 1, OFF for any other value; entities without
// the property keep UNSET.
void InitializeCondStateSetSL(ZELT_Grid_CondStateSetSL& cst, ZELT_Grid& gm, ZELT_Grid_DefIter& def,
                              int normpos_propkey) {
  int count = 0;
  if (!gm.IsEnd(def)) {
    for (ZELT_Grid_EntityIter ent = gm.GetFirstEntity(def); !gm.IsEnd(ent); gm.NextEntity(def, ent)) {
      ZELT_Grid_PropIter prop = gm.GetProperty(def, ent, normpos_propkey);
      if (gm.IsEnd(prop)) continue;
      cst.SetState(ent, IsIntegerOne(gm.GetPropertyValue(def, ent, prop)) ? ON : OFF);
      ++count;
    }
  }
  fprintf(stderr, "INFO(%s):  Initialized conductivity state for %d entities from NORMALPOSITION_A property.\n",
          "InitializeCondStateSetSL", count);
  fflush(stderr);
}

// The breakers of def, in entity order, as one-step paths.
std::vector<ZELT_Grid_HEntity> FindBreakers(ZELT_Grid& gm, ZELT_Grid_DefIter& def, int subtype_propkey) {
  std::vector<ZELT_Grid_HEntity> sources;
  if (gm.IsEnd(def)) return sources;  // a model without definitions has no breaker
  for (ZELT_Grid_EntityIter ent = gm.GetFirstEntity(def); !gm.IsEnd(ent); gm.NextEntity(def, ent)) {
    if (IsDPDBreaker(gm, def, ent, subtype_propkey)) sources.push_back(ConstructHEnt(gm, def, ent));
  }
  return sources;
}

// Writes one "from to" line per pair and counts them in nedges. False as soon
// as the stream reports a write error.
bool WriteEdges(FILE* edgefile, const std::vector<ZELT_Grid_HEntityPair>& pairs, const ZELT_Grid& gm, int& nedges) {
  std::string line;
  for (const ZELT_Grid_HEntityPair& pair : pairs) {
    line = ZELT_Grid_Util::HEntToString(pair.first, gm);
    line += ' ';
    line += ZELT_Grid_Util::HEntToString(pair.second, gm);
    line += '\n';
    if (fwrite(line.data(), 1, line.size(), edgefile) != line.size()) return false;
    ++nedges;
  }
  return true;
}

// Flushes and closes the output; false when either fails (a full disk).
bool CloseEdgeFile(FILE* edgefile) {
  bool flushed = fflush(edgefile) == 0 && !ferror(edgefile);
  return fclose(edgefile) == 0 && flushed;
}

int ReportMissingProperty(const char* name, FILE* edgefile, const PhaseProfile& profile) {
  fprintf(stderr, "ERROR %s:  Could not find property %s in grid model.\n", kProgram, name);
  fflush(stderr);
  fclose(edgefile);  // stays behind empty
  profile.Report();
  return kMissingProperty;
}

int ReportWriteFailure(const char* edgefilename, const PhaseProfile& profile) {
  fprintf(stderr, "ERROR %s:  Could not write output edge file \"%s\".\n", kProgram, edgefilename);
  fflush(stderr);
  profile.Report();
  return kFileOrUsageError;
}

}  // namespace

int main(int argc, char** argv) {
  PhaseProfile profile;
  if (argc != 3) {
    fprintf(stderr, "ERROR(%s):   Invocation is feedwalk <gdffile> <oriented_edge_file>\n", kProgram);
    return kFileOrUsageError;
  }
  const char* gdffilename = argv[1];
  const char* edgefilename = argv[2];

  FILE* in = fopen(gdffilename, "r");
  if (in == nullptr) {
    fprintf(stderr, "ERROR %s: Could not open input GDF file %s.\n", kProgram, gdffilename);
    return kFileOrUsageError;
  }
  // Opened before the model is read, so that a run that ends early leaves an
  // empty file rather than an old result.
  FILE* edgefile = fopen(edgefilename, "w");
  if (edgefile == nullptr) {
    fprintf(stderr, "ERROR %s:  Could not open output edge file \"%s\".\n", kProgram, edgefilename);
    fflush(stderr);
    fclose(in);
    return kFileOrUsageError;
  }
  setvbuf(edgefile, edge_buffer, _IOFBF, sizeof edge_buffer);

  ZELT_Grid gm;
  ZELT_Grid_GDF_ParseToGrid gdfp(gm);
  ZELT_MeMPropRegistry propreg;
  gdfp.SetPropReg(propreg);

  // A file with errors still leads on with whatever model was built.
  gdfp.ParseGDF(in, nullptr);
  fclose(in);
  fprintf(stderr, "INFO(%s):  Finished reading grid model from GDF file %s.\n", kProgram, gdffilename);
  fflush(stderr);
  profile.EndPhase("parse");

  int subtype_propkey, subtype_proptype;
  if (!propreg.GetKeyAndType("SUBTYPECD", subtype_propkey, subtype_proptype)) {
    return ReportMissingProperty("SUBTYPECD", edgefile, profile);
  }
  int normpos_propkey = -1, normpos_proptype = -1;
  if (!propreg.GetKeyAndType("NORMALPOSITION_A", normpos_propkey, normpos_proptype)) {
    return ReportMissingProperty("NORMALPOSITION_A", edgefile, profile);
  }

  ZELT_Grid_DefIter root_def = gm.GetPrimeCircuitDef();
  std::vector<ZELT_Grid_HEntity> sources = FindBreakers(gm, root_def, subtype_propkey);
  fprintf(stderr, "INFO %s:  %d DynamicProtectDevice/Breakers were found.\n", kProgram, static_cast<int>(sources.size()));

  ZELT_Grid_CondStateSetSL cst(gm, root_def);
  InitializeCondStateSetSL(cst, gm, root_def, normpos_propkey);

  std::vector<ZELT_Grid_HEntityPair> pairs;
  double t0 = walltime();
  ZELT_Grid_SLOrient(gm, sources, cst, pairs);
  double wt = walltime() - t0;
  fprintf(stderr, "INFO(%s):  Finished orienting %d edges in %lf sec.\n", kProgram, static_cast<int>(pairs.size()), wt);
  profile.EndPhase("orient");

  int nedges = 0;
  bool written = WriteEdges(edgefile, pairs, gm, nedges);
  if (!CloseEdgeFile(edgefile) || !written) return ReportWriteFailure(edgefilename, profile);
  fprintf(stderr, "INFO(%s):  Finished writing %d directed edges to %s.\n", kProgram, nedges, edgefilename);
  fflush(stderr);
  profile.EndPhase("output");
  profile.Report();
  return kSuccess;
}
