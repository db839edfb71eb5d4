// What requests cost through the whole stack: object manager, C interface, wrapper, provider,
// cache, host. The provider library is the shared library itself, the host a synthetic one.
//
// Benchmarks, each at 1,000, 8,000 and 64,000 functions:
//   Enumerate/<class>/<functions>, EnumerateNames/<class>/<functions>   all ten classes
//   GetInstance/Ostrel_PCIDevice/<functions>
//   <Associators|AssociatorNames|References|ReferenceNames>/<class>/<source>/<functions>
// Counters:
//   returned            elements of one request
//   per_element         CPU time per element, s
//   allocs_per_element  allocations of one request by element, object manager and host included

#include <benchmark/benchmark.h>

#include <string>

#include "bench/heap_count.h"
#include "bench/provider_stack.h"

namespace {

using bench::Listing;
using bench::Parents;

// Names in the synthetic host (see synthetic_host.cc): the first bridge group follows 16 buses of
// switches.
constexpr const char* kBridge = "0000:11:00.0";
constexpr const char* kDevice = "0000:12:00.0";
constexpr const char* kPort = "0000:12:00.0-ep";

// Runs `request(manager, sink)` and reports how much was returned, and its cost by element.
template <typename Request>
void Measure(benchmark::State& state, Request request, Parents parents) {
  const auto functions = static_cast<std::size_t>(state.range(0));
  broker::ObjectManager& manager = bench::StackOf(bench::kLibrary, functions, parents).manager;
  std::size_t returned = 0;
  std::uint64_t allocations = 0;
  for (auto _ : state) {
    const std::uint64_t before = bench::AllocationCount();
    bench::CountingSink sink;
    const cim::Status status = request(manager, sink);
    if (status.code != CMPI_RC_OK) state.SkipWithError(status.message.c_str());
    returned = sink.count;
    allocations = bench::AllocationCount() - before;
  }
  state.counters["returned"] = static_cast<double>(returned);
  if (returned == 0) return;
  state.counters["allocs_per_element"] =
      static_cast<double>(allocations) / static_cast<double>(returned);
  state.counters["per_element"] = benchmark::Counter(
      static_cast<double>(returned),
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Enumerate(benchmark::State& state, Listing listing, const char* class_name) {
  Measure(
      state,
      [&](broker::ObjectManager& manager, broker::ResultSink& sink) {
        return bench::List(manager, listing, class_name, sink);
      },
      bench::ParentsFor(class_name));
}

cim::ObjectPath ElementPath(const broker::ObjectManager& manager, const char* class_name,
                            const char* identifier) {
  cim::ObjectPath path = manager.ClassPath(class_name);
  path.keys.emplace_back("DeviceID", std::string(identifier));
  return path;
}

void GetOneDevice(benchmark::State& state) {
  Measure(
      state,
      [](broker::ObjectManager& manager, broker::ResultSink& sink) {
        return manager.GetInstance("Ostrel_PCIDevice",
                                   ElementPath(manager, "Ostrel_PCIDevice", kDevice), std::nullopt,
                                   sink);
      },
      Parents::kCalledAsDevices);
}

// The four sources that a client walks from.
cim::ObjectPath Source(const broker::ObjectManager& manager, const std::string& kind) {
  if (kind == "port") return ElementPath(manager, "Ostrel_PCIPort", kPort);
  if (kind == "device") return ElementPath(manager, "Ostrel_PCIDevice", kDevice);
  if (kind == "bridge") return ElementPath(manager, "Ostrel_PCIBridge", kBridge);
  return manager.SystemPath();
}

struct Walk {
  const char* class_name;
  const char* source;
};

constexpr Walk kWalks[] = {
    {"Ostrel_PCIControlledBy", "port"},      {"Ostrel_PCIControlledBy", "device"},
    {"Ostrel_PCIControlledBy", "bridge"},    {"Ostrel_PCIMemberOfCollection", "port"},
    {"Ostrel_PCIDeviceConnection", "port"},  {"Ostrel_PCISystemDevice", "system"},
    {"Ostrel_PCIHostedCollection", "system"}};

enum class Direction { kAssociators, kAssociatorNames, kReferences, kReferenceNames };
constexpr struct {
  Direction direction;
  const char* name;
} kDirections[] = {{Direction::kAssociators, "Associators"},
                   {Direction::kAssociatorNames, "AssociatorNames"},
                   {Direction::kReferences, "References"},
                   {Direction::kReferenceNames, "ReferenceNames"}};

cim::Status Follow(broker::ObjectManager& manager, Direction direction, const Walk& walk,
                   broker::ResultSink& sink) {
  const cim::ObjectPath source = Source(manager, walk.source);
  switch (direction) {
    case Direction::kAssociators:
      return manager.Associators(walk.class_name, source, {}, std::nullopt, sink);
    case Direction::kAssociatorNames:
      return manager.AssociatorNames(walk.class_name, source, {}, sink);
    case Direction::kReferences:
      return manager.References(walk.class_name, source, {}, std::nullopt, sink);
    case Direction::kReferenceNames:
      return manager.ReferenceNames(walk.class_name, source, {}, sink);
  }
  return {};
}

void FollowFrom(benchmark::State& state, Direction direction, const Walk& walk) {
  Measure(
      state,
      [&](broker::ObjectManager& manager, broker::ResultSink& sink) {
        return Follow(manager, direction, walk, sink);
      },
      Parents::kCalledAsDevices);
}

template <typename... Arguments>
void Register(const std::string& name, std::int64_t functions, Arguments... arguments) {
  benchmark::RegisterBenchmark(name.c_str(), arguments...)
      ->Arg(functions)
      ->MinTime(0.1)
      ->Unit(benchmark::kMicrosecond);
}

void RegisterAll(std::int64_t functions) {
  Register("GetInstance/Ostrel_PCIDevice", functions, GetOneDevice);
  for (const auto& [direction, name] : kDirections) {
    for (const Walk& walk : kWalks) {
      Register(std::string(name) + "/" + walk.class_name + "/" + walk.source, functions, FollowFrom,
               direction, walk);
    }
  }
  for (const char* name : bench::kClasses) {
    Register(std::string("Enumerate/") + name, functions, Enumerate, Listing::kInstances, name);
    Register(std::string("EnumerateNames/") + name, functions, Enumerate, Listing::kNames, name);
  }
}

}  // namespace

int main(int argc, char** argv) {
  for (const std::int64_t functions : {1000, 8000, 64000}) RegisterAll(functions);
  return bench::RunBenchmarks(argc, argv);
}
