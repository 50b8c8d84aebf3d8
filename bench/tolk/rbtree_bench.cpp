// Insert, search and erase of 10^6 random keys: the red-black maps against std::map.
#include "tolk/rbtree.h"

#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <random>
#include <vector>

namespace {

const size_t kKeys = 1000000;

const std::vector<long>& Keys() {
  static const std::vector<long> keys = [] {
    std::mt19937_64 rng(20240601);
    std::vector<long> k(kKeys);
    for (long& key : k) key = static_cast<long>(rng() >> 1);
    return k;
  }();
  return keys;
}

const ZELT_Grid_LongComparator longCmp;

// The same three operations over each map, so that every benchmark body is shared.
struct TemplateTree {
  tolk_TRBTREE<long, long, ZELT_Grid_LongComparator> map{&longCmp};
  void Insert(long k) { map.Insert(k, k); }
  long* Find(long k) { return map.Search(k); }
  void Erase(long k) { map.Delete(k); }
};

struct VirtualTree {
  tolk_RBTREE<long, long> map{&longCmp};
  void Insert(long k) { map.Insert(k, k); }
  long* Find(long k) { return map.Search(k); }
  void Erase(long k) { map.Delete(k); }
};

struct StdMap {
  std::map<long, long> map;
  void Insert(long k) { map.emplace(k, k); }
  long* Find(long k) {
    auto it = map.find(k);
    return it == map.end() ? nullptr : &it->second;
  }
  void Erase(long k) { map.erase(k); }
};

template <class M>
std::unique_ptr<M> Filled() {
  auto m = std::make_unique<M>();
  for (long k : Keys()) m->Insert(k);
  return m;
}

template <class M>
void BM_Insert(benchmark::State& state) {
  for (auto _ : state) {
    auto m = std::make_unique<M>();
    for (long k : Keys()) m->Insert(k);
    state.PauseTiming();
    m.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kKeys));
}

template <class M>
void BM_Search(benchmark::State& state) {
  auto m = Filled<M>();
  for (auto _ : state)
    for (long k : Keys()) benchmark::DoNotOptimize(m->Find(k));
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kKeys));
}

template <class M>
void BM_Erase(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto m = Filled<M>();
    state.ResumeTiming();
    for (long k : Keys()) m->Erase(k);
  }
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kKeys));
}

}  // namespace

BENCHMARK(BM_Insert<TemplateTree>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Insert<VirtualTree>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Insert<StdMap>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Search<TemplateTree>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Search<VirtualTree>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Search<StdMap>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Erase<TemplateTree>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Erase<VirtualTree>)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Erase<StdMap>)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
