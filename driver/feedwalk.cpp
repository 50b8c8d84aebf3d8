// feedwalk: reads a GDF grid model, orients it away from its breakers and writes the directed edges.
#include <sys/stat.h>
#include <sys/time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#else
#define RUNNING_ON_VALGRIND 0
#endif

#include "driver/feeder_walk.h"
#include "gdf/parse_to_grid.h"
#include "registry/prop_registry.h"
#include "tolk/thread.h"

namespace {

const char* const kProgram = "feedwalk";

enum ExitStatus { kSuccess = 0, kMissingProperty = 4, kFileOrUsageError = 8 };

// Output lines collect here before they reach the file; large enough that a
// big model is written in a few hundred system calls.
char edge_buffer[1 << 20];

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

// True when path names the regular file that `in` reads, under this name or
// another (a link): opening it for writing would empty the model before it is read.
bool IsTheInputFile(FILE* in, const char* path) {
  struct stat input, output;
  if (fstat(fileno(in), &input) != 0 || !S_ISREG(input.st_mode)) return false;
  return stat(path, &output) == 0 && output.st_dev == input.st_dev && output.st_ino == input.st_ino;
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

// A read that failed part-way leaves a model cut at an arbitrary point, which
// must not pass for the model the file holds.
int ReportReadFailure(const char* gdffilename, int error, FILE* edgefile, const PhaseProfile& profile) {
  fprintf(stderr, "ERROR %s: Could not read input GDF file %s (%s).\n", kProgram, gdffilename, strerror(error));
  fflush(stderr);
  fclose(edgefile);  // stays behind empty
  profile.Report();
  return kFileOrUsageError;
}

int ReportWriteFailure(const char* edgefilename, const PhaseProfile& profile) {
  fprintf(stderr, "ERROR %s:  Could not write output edge file \"%s\".\n", kProgram, edgefilename);
  fflush(stderr);
  profile.Report();
  return kFileOrUsageError;
}

// A model of millions of entities takes a noticeable time to take apart, and
// the system takes the whole process back at once anyway. Runs that check for
// leaks (sanitizer builds, valgrind) take the model apart, so that its teardown
// stays checked.
void EndWithoutTeardown(int status) {
#if !defined(__SANITIZE_ADDRESS__)
  if (RUNNING_ON_VALGRIND) return;
  fflush(nullptr);
  std::_Exit(status);
#else
  (void)status;
#endif
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
  // empty file rather than an old result; never over the model itself.
  const bool over_input = IsTheInputFile(in, edgefilename);
  FILE* edgefile = over_input ? nullptr : fopen(edgefilename, "w");
  if (edgefile == nullptr) {
    fprintf(stderr, "ERROR %s:  Could not open output edge file \"%s\"%s.\n", kProgram, edgefilename,
            over_input ? " (it is the input GDF file)" : "");
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
  if (gdfp.InputError() != 0) return ReportReadFailure(gdffilename, gdfp.InputError(), edgefile, profile);
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
  // Both walks only read the model: the states are set on a second thread while
  // this one looks for the breakers, and the reports follow in their usual order.
  ZELT_Grid_CondStateSetSL cst(gm, root_def);
  int nstates = 0;
  auto set_states = [&] { nstates = SetCondStatesFromProperty(cst, gm, root_def, normpos_propkey); };
  std::thread states;
  if (!tolk_TryStartThread(states, set_states)) set_states();  // no second thread: one walk after the other
  std::vector<ZELT_Grid_HEntity> sources = FindBreakers(gm, root_def, subtype_propkey);
  fprintf(stderr, "INFO %s:  %d DynamicProtectDevice/Breakers were found.\n", kProgram, static_cast<int>(sources.size()));
  if (states.joinable()) states.join();
  ReportCondStatesInitialized(nstates);

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
  EndWithoutTeardown(kSuccess);
  return kSuccess;
}
