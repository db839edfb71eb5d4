// Provider libraries under the built-in object manager on a synthetic host, as the benchmarks use
// them: ours, and the hand-written floor (floor_provider.cc).
//
// Thread rule: stacks are made and dropped on one thread; requests may come from any.

#ifndef BENCH_PROVIDER_STACK_H_
#define BENCH_PROVIDER_STACK_H_

#include <benchmark/benchmark.h>

#include <cstddef>
#include <string_view>

#include "bench/synthetic_host.h"
#include "broker/object_manager.h"
#include "broker/result_sink.h"

namespace bench {

inline constexpr const char* kClasses[] = {
    "Ostrel_PCIDevice",           "Ostrel_PCIBridge",
    "Ostrel_PCIeSwitch",          "Ostrel_PCIPort",
    "Ostrel_PCIPortGroup",        "Ostrel_PCISystemDevice",
    "Ostrel_PCIDeviceConnection", "Ostrel_PCIControlledBy",
    "Ostrel_PCIHostedCollection", "Ostrel_PCIMemberOfCollection"};

inline constexpr const char* kLibrary = OSTREL_PCI_LIBRARY;
inline constexpr const char* kFloor = OSTREL_PCI_FLOOR;

// The host on which a class has instances.
Parents ParentsFor(std::string_view class_name);

// Counts what is returned and looks at nothing else.
class CountingSink : public broker::ResultSink {
 public:
  void OnInstanceView(const broker::InstanceView& /*instance*/) override { ++count; }
  void OnObjectPathView(const broker::ObjectPathView& /*path*/) override { ++count; }

  std::size_t count = 0;
};

// A provider library loaded on a host of one size. A library learns its host once per load, and
// only one stack of a library stands at a time.
struct Stack {
  // All ten factories have been called when it returns. Throws std::runtime_error.
  Stack(const char* library_file, std::size_t functions, Parents parents);

  broker::ObjectManager manager;
};

// The stack of a library, kept from one benchmark to the next that asks for the same.
Stack& StackOf(const char* library_file, std::size_t functions, Parents parents);

// The two operations that list a class.
enum class Listing { kInstances, kNames };
cim::Status List(broker::ObjectManager& manager, Listing listing, const char* class_name,
                 broker::ResultSink& sink);

// Registers "<prefix>/<Instances|Names>/<class>" for all ten classes; `configure` does the rest.
void RegisterListings(const char* prefix,
                      void (*measure)(benchmark::State& state, Listing listing,
                                      const char* class_name),
                      void (*configure)(benchmark::internal::Benchmark* listing));

// Runs what is registered, as BENCHMARK_MAIN does, and drops the stacks that were kept: the
// libraries' statics must outlive their use. Answers what main is to return.
int RunBenchmarks(int argc, char** argv);

}  // namespace bench

#endif  // BENCH_PROVIDER_STACK_H_
