// What the one-time build of the topology cache costs, over the size of the host.

#include <benchmark/benchmark.h>

#include "bench/synthetic_host.h"
#include "cache/cache_state.h"
#include "cache/topology_cache.h"

namespace {

void BuildCache(benchmark::State& state) {
  bench::UseSyntheticHost(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    LoadCache();
    state.PauseTiming();
    ProcessCache() = TopologyCache{};
    state.ResumeTiming();
  }
  state.SetComplexityN(state.range(0));
  state.counters["per_function"] = benchmark::Counter(
      static_cast<double>(state.range(0)),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}
BENCHMARK(BuildCache)
    ->RangeMultiplier(2)
    ->Range(1000, 64000)
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

}  // namespace

BENCHMARK_MAIN();
