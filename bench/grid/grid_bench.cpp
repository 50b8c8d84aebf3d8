// Builds a radial circuit through the grid's public operations, walks every
// entity's connections and tears it down; reports time and peak memory.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <chrono>
#include <memory>
#include <string>

#include "grid/grid.h"

namespace {

double Seconds(std::chrono::steady_clock::time_point since) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

double PeakRssBytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_maxrss) * 1024.0;
}

// What the process holds before any model: code, libraries, the benchmark library.
const double kPeakBeforeModels = PeakRssBytes();

// node0 - line0 - node1 - line1 - ... : about entities/2 instances of a
// two-terminal element and as many connectivity nodes, each instance joined to
// its nodes by two-step paths (instance, terminal) -> (node), as the GDF builder
// joins them. Paths are built once and repointed, as a builder would reuse them.
long BuildRadial(ZELT_Grid& gm, long entities, bool named) {
  long termids[] = {0, 1};
  ZELT_Grid_DefIter line = gm.AddElementDef(0, 2, termids, "Line");
  ZELT_Grid_DefIter ckt = gm.AddCircuitDef(1, "Feeder");
  ZELT_Grid_EntityIter term[2] = {gm.GetEntityFromId(line, 0), gm.GetEntityFromId(line, 1)};

  long nextId = 0;
  std::string name;
  auto nameOf = [&](char kind, long id) -> const char* {
    if (!named) return nullptr;
    name = kind + std::to_string(id);
    return name.c_str();
  };
  ZELT_Grid_EntityIter node = gm.AddConnNode(ckt, nextId, nameOf('n', nextId));
  ++nextId;

  ZELT_Grid_HEntity end, nodePath;
  ZELT_Grid_HEntityStep step;
  gm.InitHEntStep(step, ckt, node);
  end.AppendStep(step);
  nodePath.AppendStep(step);
  gm.InitHEntStep(step, line, term[0]);
  end.AppendStep(step);

  long connections = 0;
  for (long made = 1; made + 2 <= entities; made += 2) {
    ZELT_Grid_EntityIter inst = gm.AddInstance(ckt, line, nextId, nameOf('l', nextId));
    ++nextId;
    ZELT_Grid_EntityIter next = gm.AddConnNode(ckt, nextId, nameOf('n', nextId));
    ++nextId;
    ZELT_Grid_EntityIter nodes[2] = {node, next};
    end[0].node = inst;
    for (int t = 0; t < 2; ++t) {
      end[1].node = term[t];
      nodePath[0].node = nodes[t];
      gm.AddConnection(end, nodePath, nextId++);
      ++connections;
    }
    node = next;
  }
  return connections;
}

// What the orientation does per entity: every connection and its other end.
long WalkAll(const ZELT_Grid& gm) {
  ZELT_Grid_DefIter ckt = gm.GetDefFromId(1);
  long seen = 0;
  for (ZELT_Grid_EntityIter e = gm.GetFirstEntity(ckt); !gm.IsEnd(e); gm.NextEntity(ckt, e)) {
    for (ZELT_Grid_ConnectionIter c = gm.GetFirstConnection(ckt, e); !gm.IsEnd(c); gm.NextConnection(ckt, e, c)) {
      ZELT_Grid_EntityIter other = gm.GetConOtherEnd(ckt, e, c);
      benchmark::DoNotOptimize(other);
      ++seen;
    }
  }
  return seen;
}

void RadialCircuit(benchmark::State& state, bool named) {
  const long entities = state.range(0);
  double build = 0, walk = 0, teardown = 0;
  long connections = 0;
  for (auto _ : state) {
    auto start = std::chrono::steady_clock::now();
    auto gm = std::make_unique<ZELT_Grid>();
    connections = BuildRadial(*gm, entities, named);
    build += Seconds(start);
    start = std::chrono::steady_clock::now();
    benchmark::DoNotOptimize(WalkAll(*gm));
    walk += Seconds(start);
    start = std::chrono::steady_clock::now();
    gm.reset();
    teardown += Seconds(start);
  }
  double n = static_cast<double>(state.iterations());
  state.counters["build_ms"] = build / n * 1e3;
  state.counters["walk_ms"] = walk / n * 1e3;
  state.counters["teardown_ms"] = teardown / n * 1e3;
  state.counters["connections"] = static_cast<double>(connections);
  // Peaks of the whole process: run one size per process for clean figures.
  // The second leaves out what the process held before the first model.
  state.counters["peak_B_per_entity"] = PeakRssBytes() / static_cast<double>(entities);
  state.counters["model_B_per_entity"] = (PeakRssBytes() - kPeakBeforeModels) / static_cast<double>(entities);
}

void BM_RadialCircuit(benchmark::State& state) { RadialCircuit(state, false); }
void BM_RadialCircuitNamed(benchmark::State& state) { RadialCircuit(state, true); }

BENCHMARK(BM_RadialCircuit)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_RadialCircuitNamed)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
