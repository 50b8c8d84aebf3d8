// Micro-benchmarks of the undirected graph: building with a node array attached, and a full edge walk.
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "tolk/ugraph.h"

namespace {

// n nodes and n edges shaped like a radial feeder: node i hangs on node i / 2, plus a
// closing edge from the last node to the first. The node array is attached to the
// empty graph, so it grows (and renumbers nothing) all the way up.
struct Feeder {
  tolk_ugraph_base g;
  tolk_UNODEASSOC<long> value{g};

  explicit Feeder(long n) {
    std::vector<tolk_UNode> nodes;
    nodes.reserve(n);
    for (long i = 0; i < n; ++i) {
      nodes.push_back(g.NodeAppend());
      value[nodes.back()] = i;
    }
    for (long i = 1; i < n; ++i) g.EdgeAppend(nodes[i], nodes[i / 2]);
    g.EdgeAppend(nodes[n - 1], nodes[0]);
  }
};

void BM_BuildWithNodeArray(benchmark::State& state) {
  const long n = state.range(0);
  for (auto _ : state) {
    auto f = std::make_unique<Feeder>(n);
    benchmark::DoNotOptimize(f->g.NumberOfEdges());
    state.PauseTiming();
    f.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * 2 * n);  // nodes plus edges
}
// Long enough that the big case reuses freed memory instead of measuring fresh page faults.
BENCHMARK(BM_BuildWithNodeArray)->Arg(100000)->Arg(1000000)->MinTime(3.0)->Unit(benchmark::kMillisecond);

void BM_WalkAllEdges(benchmark::State& state) {
  const long n = state.range(0);
  Feeder f(n);
  for (auto _ : state) {
    long sum = 0;
    for (tolk_UNode v = f.g.FirstNode(); !v.End(); v.Next()) {
      for (tolk_UEdge e = tolk_UEdge::First(v); !e.End(); e.Next()) sum += f.value[tolk_ugraph_base::OtherEnd(v, e)];
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * 2 * n);  // every edge is seen from both ends
}
BENCHMARK(BM_WalkAllEdges)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
