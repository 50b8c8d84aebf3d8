// Parse speed: GDF lines per second into a grid model, for the largest bundled feeder and generated feeders.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "gdf/parse_to_grid.h"
#include "registry/prop_registry.h"

namespace {

// FEEDWALK_GDF_FEEDER names another model to read.
std::string FeederPath() {
  const char* path = getenv("FEEDWALK_GDF_FEEDER");
  return path ? path : "/work/shared/data/feeders/ieee8500x20.gdf";
}

int64_t CountLines(const std::string& path) {
  int64_t lines = 0;
  if (FILE* in = fopen(path.c_str(), "rb")) {
    char chunk[1 << 16];
    for (size_t got; (got = fread(chunk, 1, sizeof chunk, in)) > 0;)
      for (size_t i = 0; i < got; ++i) lines += chunk[i] == '\n';
    fclose(in);
  }
  return lines;
}

// A feeder of `devices` instances made by the benchmark kit's generator, kept
// in the build tree between runs.
std::string GeneratedFeeder(int devices) {
  const std::string path = std::string(FEEDWALK_BENCH_DATA) + "/feeder_" + std::to_string(devices) + ".gdf";
  if (FILE* existing = fopen(path.c_str(), "rb")) {
    fclose(existing);
    return path;
  }
  const std::string command = "mkdir -p " FEEDWALK_BENCH_DATA " && python3 " FEEDWALK_GEN_FEEDER " --devices " +
                              std::to_string(devices) + " --breakers 20 --seed 1 --out " + path +
                              ".tmp --edges /dev/null && mv " + path + ".tmp " + path;
  return system(command.c_str()) == 0 ? path : std::string();
}

double PeakResidentMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return double(usage.ru_maxrss) / 1024.0;
}

// Parses the file into a fresh grid per iteration; making and destroying the
// grid stay outside the measured time.
void ParseFile(benchmark::State& state, const std::string& path) {
  if (path.empty()) {
    state.SkipWithError("no input: the feeder file or its generator is missing");
    return;
  }
  const int64_t lines = CountLines(path);
  for (auto _ : state) {
    state.PauseTiming();
    FILE* in = fopen(path.c_str(), "rb");
    if (in == nullptr) {
      state.SkipWithError("cannot open the feeder file");
      return;
    }
    auto* grid = new ZELT_Grid;
    auto* registry = new ZELT_MeMPropRegistry;
    auto* builder = new ZELT_Grid_GDF_ParseToGrid(*grid);
    builder->SetPropReg(*registry);
    state.ResumeTiming();
    const bool parsed = builder->ParseGDF(in, nullptr);
    state.PauseTiming();
    fclose(in);
    if (!parsed) state.SkipWithError("the feeder did not parse");
    delete builder;
    delete registry;
    delete grid;
    state.ResumeTiming();
  }
  state.counters["lines"] = double(lines);
  state.counters["lines_per_second"] =
      benchmark::Counter(double(lines) * double(state.iterations()), benchmark::Counter::kIsRate);
  state.counters["peak_rss_MB"] = PeakResidentMegabytes();
}

void BM_ParseFeeder(benchmark::State& state) { ParseFile(state, FeederPath()); }
BENCHMARK(BM_ParseFeeder)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_ParseGenerated(benchmark::State& state) { ParseFile(state, GeneratedFeeder(int(state.range(0)))); }
BENCHMARK(BM_ParseGenerated)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
