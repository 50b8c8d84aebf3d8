// Patricia trie against std::unordered_map: insert, search and erase of 10^6 random 64-bit keys.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <random>
#include <unordered_map>
#include <vector>

#include "tolk/patricia.h"

namespace {

constexpr size_t kKeys = 1'000'000;

const std::vector<uint64_t>& RandomKeys() {
  static const std::vector<uint64_t> keys = [] {
    std::mt19937_64 rng(7);
    std::vector<uint64_t> k(kKeys);
    for (uint64_t& key : k) key = rng();
    return k;
  }();
  return keys;
}

struct PatriciaMap {
  tolk_PATRICIA<uint64_t, uint64_t> trie;
  void Insert(uint64_t k) { trie.Insert(k, k); }
  bool Find(uint64_t k) { return trie.Search(k) != nullptr; }
  void Erase(uint64_t k) { trie.Delete(k); }
};

struct HashMap {
  std::unordered_map<uint64_t, uint64_t> map;
  void Insert(uint64_t k) { map.emplace(k, k); }
  bool Find(uint64_t k) { return map.find(k) != map.end(); }
  void Erase(uint64_t k) { map.erase(k); }
};

template <class Map>
void BM_Insert(benchmark::State& state) {
  for (auto _ : state) {
    auto m = std::make_unique<Map>();
    for (uint64_t k : RandomKeys()) m->Insert(k);
    state.PauseTiming();  // keep the teardown out of the figure
    m.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

template <class Map>
void BM_Search(benchmark::State& state) {
  Map m;
  for (uint64_t k : RandomKeys()) m.Insert(k);
  for (auto _ : state) {
    size_t found = 0;
    for (uint64_t k : RandomKeys()) found += m.Find(k);
    benchmark::DoNotOptimize(found);
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

template <class Map>
void BM_Erase(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    Map m;
    for (uint64_t k : RandomKeys()) m.Insert(k);
    state.ResumeTiming();
    for (uint64_t k : RandomKeys()) m.Erase(k);
  }
  state.SetItemsProcessed(state.iterations() * kKeys);
}

}  // namespace

BENCHMARK(BM_Insert<PatriciaMap>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Insert<HashMap>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Search<PatriciaMap>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Search<HashMap>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Erase<PatriciaMap>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Erase<HashMap>)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
