// What the snapshot of the host control library holds, and whether two threads read its devices
// twice as fast as one; on hosts in the form of sysfs trees.
//
// Benchmarks: SnapshotMemory/<functions>, 1,000 and 8,000, one run each. Counters:
//   bytes_per_function       heap held while the device list lives: snapshot and device objects
//   peak_bytes_per_function  the most heap at once while it was taken
// Heap is what malloc set aside for the calling thread (see heap_count.h).
// SnapshotSpeedup/<Identifiers|Parents>/<functions>: every device is asked for its name, or for its
// parent's. Counters: speedup, cpu_ratio, voluntary_switches (see two_threads.h).

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "bench/heap_count.h"
#include "bench/sysfs_host.h"
#include "bench/two_threads.h"
#include "cache/hostctl.h"

namespace {

using Devices = std::vector<std::unique_ptr<HostCtl::Hardware::PciDevice>>;

Devices TakeSnapshot() { return HostCtl::Host::GetHardwareInfo()->GetPciInfo()->GetPciDevices(); }

// The host on which the library is asked next.
class Host {
 public:
  explicit Host(std::int64_t functions)
      : sysfs_(bench::SysfsHost(static_cast<std::size_t>(functions))) {
    setenv("HOSTCTL_PCI_SYSFS", sysfs_.path().c_str(), 1);
  }

 private:
  bench::TemporarySysfs sysfs_;
};

void SnapshotMemory(benchmark::State& state) {
  const Host host(state.range(0));
  for (auto _ : state) {
    const bench::HeapWatch watch;
    const Devices devices = TakeSnapshot();
    const auto functions = static_cast<double>(devices.size());
    state.counters["bytes_per_function"] = static_cast<double>(watch.held()) / functions;
    state.counters["peak_bytes_per_function"] = static_cast<double>(watch.peak()) / functions;
  }
}
BENCHMARK(SnapshotMemory)->Arg(1000)->Arg(8000)->Iterations(1)->Unit(benchmark::kMillisecond);

// Two threads that ask every device.
template <typename Ask>
void MeasureSpeedup(benchmark::State& state, Ask ask) {
  const Host host(state.range(0));
  const Devices devices = TakeSnapshot();
  bench::MeasureTwoThreads(state, [&] {
    for (const auto& device : devices) benchmark::DoNotOptimize(ask(*device));
  });
}

void AskIdentifiers(benchmark::State& state) {
  MeasureSpeedup(state, [](const auto& device) { return device.GetName(); });
}
BENCHMARK(AskIdentifiers)->Name("SnapshotSpeedup/Identifiers")->Arg(1000)->Iterations(1);

void AskParents(benchmark::State& state) {
  MeasureSpeedup(state, [](const auto& device) {
    const auto parent = device.GetParent();
    return parent == nullptr ? std::string() : parent->GetName();
  });
}
BENCHMARK(AskParents)->Name("SnapshotSpeedup/Parents")->Arg(1000)->Iterations(1);

}  // namespace

BENCHMARK_MAIN();
