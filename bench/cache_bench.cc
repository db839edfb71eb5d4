// What the one-time build of the topology cache costs, over the size of the host, and above a floor
// that makes the same calls of the host and stores the same strings (see cache_floor.h).
//
// Benchmarks; the time is one build:
//   BuildCache/<functions>       1,000 to 64,000 in steps of two, with the fit to O(N)
//   CacheAboveFloor/<functions>  1,000, 8,000 and 64,000: cache and floor in turns, in CPU time
// Counters:
//   us_per_function         of the cache
// and of CacheAboveFloor:
//   ratio                      median of the turns' ratios, cache to floor
//   floor_us_per_function      median
//   cache_allocs_per_function  allocations of one build, those of the host included
//   floor_allocs_per_function  the same

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdint>
#include <memory>

#include "bench/cache_floor.h"
#include "bench/heap_count.h"
#include "bench/synthetic_host.h"
#include "bench/turns.h"
#include "cache/cache_state.h"
#include "cache/topology_cache.h"

namespace {

// CPU seconds of one build; taking it down again does not count.
double BuildCacheOnce() {
  const double seconds = bench::SecondsOf(LoadCache);
  ProcessCache().Reset();
  return seconds;
}

double BuildFloorOnce() {
  bench::CacheFloor floor;
  return bench::SecondsOf([&] { floor.Build(); });
}

bench::TimedRuns Repeat(double (*build)()) {
  return [build](std::size_t times) {
    double seconds = 0;
    for (std::size_t time = 0; time < times; ++time) seconds += build();
    return seconds;
  };
}

template <typename Run>
double AllocationsOf(Run run) {
  const std::uint64_t before = bench::AllocationCount();
  run();
  return static_cast<double>(bench::AllocationCount() - before);
}

void BuildCache(benchmark::State& state) {
  bench::UseSyntheticHost(static_cast<std::size_t>(state.range(0)));
  double seconds = 0;
  for (auto _ : state) {
    const double once = BuildCacheOnce();
    state.SetIterationTime(once);
    seconds += once;
  }
  state.SetComplexityN(state.range(0));
  state.counters["us_per_function"] =
      seconds * 1e6 / static_cast<double>(state.iterations() * state.range(0));
}
BENCHMARK(BuildCache)
    ->RangeMultiplier(2)
    ->Range(1000, 64000)
    ->MinTime(0.2)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond)
    ->Complexity(benchmark::oN);

void CacheAboveFloor(benchmark::State& state) {
  bench::UseSyntheticHost(static_cast<std::size_t>(state.range(0)));
  bench::Turns turns{};
  for (auto _ : state) {
    turns = bench::MeasureInTurns(Repeat(BuildCacheOnce), Repeat(BuildFloorOnce));
    state.SetIterationTime(turns.first_seconds);
  }
  const auto functions = static_cast<double>(state.range(0));
  state.counters["ratio"] = turns.ratio;
  state.counters["us_per_function"] = turns.first_seconds * 1e6 / functions;
  state.counters["floor_us_per_function"] = turns.second_seconds * 1e6 / functions;
  state.counters["cache_allocs_per_function"] = AllocationsOf(BuildCacheOnce) / functions;
  state.counters["floor_allocs_per_function"] = AllocationsOf(BuildFloorOnce) / functions;
}
BENCHMARK(CacheAboveFloor)
    ->Arg(1000)
    ->Arg(8000)
    ->Arg(64000)
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  // What a build gives back is used again by the next: giving pages back to the kernel and taking
  // them anew would be measured with the builds that happen to do so.
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
