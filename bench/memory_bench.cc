// What the topology cache holds, and what an enumeration of a large host takes on top of it.
//
// Benchmarks, one run each:
//   CacheMemory/<functions>                            1,000, 8,000 and 64,000
//   EnumerationMemory/<Instances|Names>/<class>/64000  all ten classes, by the object manager
// Counters of CacheMemory:
//   bytes_per_function             heap that the cache holds, the host's device objects left out
//   device_bytes_per_function      heap that those hold
//   build_peak_bytes_per_function  the most heap at once in the build, devices included
// and of EnumerationMemory:
//   peak_bytes           the most heap at once while the class was enumerated, above what the
//                        library and the object manager held before (the cache among it)
//   peak_resident_bytes  growth of the process's peak resident memory (VmHWM) over the same time,
//                        above what was resident before; absent where the kernel does not let a
//                        process reset its peak
//   returned             elements
// Heap is what malloc set aside for the calling thread (see heap_count.h).

#include <benchmark/benchmark.h>

#include <cstdint>
#include <fstream>
#include <optional>
#include <string>

#include "bench/heap_count.h"
#include "bench/provider_stack.h"
#include "cache/cache_state.h"
#include "cache/hostctl.h"
#include "cache/topology_cache.h"

namespace {

using bench::Listing;

constexpr std::size_t kLargeHost = 64000;

// Heap that the host's device objects hold, and the list of them.
std::int64_t HeapOfDevices() {
  const bench::HeapWatch watch;
  const auto devices = HostCtl::Host::GetHardwareInfo()->GetPciInfo()->GetPciDevices();
  return watch.held();
}

void CacheMemory(benchmark::State& state) {
  const auto functions = static_cast<double>(state.range(0));
  bench::UseSyntheticHost(static_cast<std::size_t>(state.range(0)));
  const auto of_devices = static_cast<double>(HeapOfDevices());
  for (auto _ : state) {
    const bench::HeapWatch watch;
    LoadCache();
    const auto held = static_cast<double>(watch.held());
    state.counters["bytes_per_function"] = (held - of_devices) / functions;
    state.counters["device_bytes_per_function"] = of_devices / functions;
    state.counters["build_peak_bytes_per_function"] = static_cast<double>(watch.peak()) / functions;
    ProcessCache().Reset();
  }
}
BENCHMARK(CacheMemory)
    ->Arg(1000)
    ->Arg(8000)
    ->Arg(64000)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond);

// A figure of /proc/self/status in bytes.
std::optional<double> StatusBytes(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    if (word != name + ':') continue;
    double kilobytes = 0;
    if (status >> kilobytes) return kilobytes * 1024;
  }
  return std::nullopt;
}

// Makes what is resident now the peak; false where that is not allowed.
bool ResetPeak() {
  std::ofstream file("/proc/self/clear_refs");
  file << "5" << std::flush;
  return file.good();
}

void EnumerationMemory(benchmark::State& state, Listing listing, const char* class_name) {
  broker::ObjectManager& manager =
      bench::StackOf(bench::kLibrary, kLargeHost, bench::ParentsFor(class_name)).manager;
  for (auto _ : state) {
    bench::CountingSink sink;
    const bool peak_known = ResetPeak();
    const std::optional<double> resident = StatusBytes("VmRSS");
    const bench::HeapWatch watch;
    bench::List(manager, listing, class_name, sink);
    state.counters["peak_bytes"] = static_cast<double>(watch.peak());
    const std::optional<double> peak = StatusBytes("VmHWM");
    if (peak_known && resident && peak) state.counters["peak_resident_bytes"] = *peak - *resident;
    state.counters["returned"] = static_cast<double>(sink.count);
  }
}

}  // namespace

int main(int argc, char** argv) {
  bench::RegisterListings("EnumerationMemory", EnumerationMemory,
                          [](benchmark::internal::Benchmark* listing) {
                            listing->Arg(kLargeHost)->Iterations(1)->Unit(benchmark::kMillisecond);
                          });
  return bench::RunBenchmarks(argc, argv);
}
