// What requests cost through the whole stack: object manager, C interface, wrapper, provider,
// cache, host. The provider library is the shared library itself.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <string_view>

#include "bench/synthetic_host.h"
#include "broker/object_manager.h"
#include "broker/provider_library.h"

namespace {

constexpr const char* kClasses[] = {"Ostrel_PCIDevice",           "Ostrel_PCIBridge",
                                    "Ostrel_PCIeSwitch",          "Ostrel_PCIPort",
                                    "Ostrel_PCIPortGroup",        "Ostrel_PCISystemDevice",
                                    "Ostrel_PCIDeviceConnection", "Ostrel_PCIControlledBy",
                                    "Ostrel_PCIHostedCollection", "Ostrel_PCIMemberOfCollection"};

constexpr const char* kLibrary = OSTREL_PCI_LIBRARY;
constexpr const char* kFloor = OSTREL_PCI_FLOOR;

// Names in the synthetic host (see synthetic_host.cc): the first bridge group follows 16 buses of
// switches.
constexpr const char* kBridge = "0000:11:00.0";
constexpr const char* kDevice = "0000:12:00.0";
constexpr const char* kPort = "0000:12:00.0-ep";

// Counts what is returned and looks at nothing else.
class CountingSink : public broker::ResultSink {
 public:
  void OnInstanceView(const broker::InstanceView& /*instance*/) override { ++count; }
  void OnObjectPathView(const broker::ObjectPathView& /*path*/) override { ++count; }

  std::size_t count = 0;
};

// A provider library loaded on a host of one size. A library learns its host once per load.
struct Stack {
  Stack(const char* library_file, std::size_t functions) : manager(MakeOptions()) {
    bench::UseSyntheticHost(functions);
    const auto library = broker::ProviderLibrary::Open(library_file);
    for (const char* name : kClasses) manager.Register(name, library);
  }

  static broker::Options MakeOptions() {
    broker::Options options;
    options.system_name = "bench.example";
    options.check_guest = false;
    return options;
  }

  broker::ObjectManager manager;
};

// The stack that is asked for, kept from one benchmark to the next that asks for the same.
Stack& StackOf(const char* library_file, std::size_t functions) {
  static const char* current_file = nullptr;
  static std::size_t current_functions = 0;
  static std::unique_ptr<Stack> stack;
  if (current_file != library_file || current_functions != functions) {
    stack.reset();
    stack = std::make_unique<Stack>(library_file, functions);
    current_file = library_file;
    current_functions = functions;
  }
  return *stack;
}

// Runs `request(manager, sink)` and reports how much was returned and the time per element.
template <typename Request>
void Measure(benchmark::State& state, Request request, const char* library_file = kLibrary) {
  broker::ObjectManager& manager =
      StackOf(library_file, static_cast<std::size_t>(state.range(0))).manager;
  std::size_t returned = 0;
  for (auto _ : state) {
    CountingSink sink;
    const broker::Status status = request(manager, sink);
    if (status.code != CMPI_RC_OK) state.SkipWithError(status.message.c_str());
    returned = sink.count;
  }
  state.counters["returned"] = static_cast<double>(returned);
  if (returned > 0) {
    state.counters["per_element"] = benchmark::Counter(
        static_cast<double>(returned),
        benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
  }
}

void Enumerate(benchmark::State& state, const char* class_name, const char* library_file) {
  Measure(
      state,
      [&](broker::ObjectManager& manager, broker::ResultSink& sink) {
        return manager.EnumerateInstances(class_name, manager.ClassPath(class_name), std::nullopt,
                                          sink);
      },
      library_file);
}

void EnumerateNames(benchmark::State& state, const char* class_name, const char* library_file) {
  Measure(
      state,
      [&](broker::ObjectManager& manager, broker::ResultSink& sink) {
        return manager.EnumerateInstanceNames(class_name, manager.ClassPath(class_name), sink);
      },
      library_file);
}

broker::ObjectPath ElementPath(const broker::ObjectManager& manager, const char* class_name,
                               const char* identifier) {
  broker::ObjectPath path = manager.ClassPath(class_name);
  path.keys.emplace_back("DeviceID", std::string(identifier));
  return path;
}

void GetOneDevice(benchmark::State& state) {
  Measure(state, [&](broker::ObjectManager& manager, broker::ResultSink& sink) {
    return manager.GetInstance(
        "Ostrel_PCIDevice", ElementPath(manager, "Ostrel_PCIDevice", kDevice), std::nullopt, sink);
  });
}

// The four sources that a client walks from.
broker::ObjectPath Source(const broker::ObjectManager& manager, const std::string& kind) {
  if (kind == "port") return ElementPath(manager, "Ostrel_PCIPort", kPort);
  if (kind == "device") return ElementPath(manager, "Ostrel_PCIDevice", kDevice);
  if (kind == "bridge") return ElementPath(manager, "Ostrel_PCIBridge", kBridge);
  return manager.SystemPath();
}

void Associators(benchmark::State& state, const char* class_name, const char* kind) {
  Measure(state, [&](broker::ObjectManager& manager, broker::ResultSink& sink) {
    return manager.Associators(class_name, Source(manager, kind), {}, std::nullopt, sink);
  });
}

void References(benchmark::State& state, const char* class_name, const char* kind) {
  Measure(state, [&](broker::ObjectManager& manager, broker::ResultSink& sink) {
    return manager.References(class_name, Source(manager, kind), {}, std::nullopt, sink);
  });
}

template <typename... Arguments>
void Register(const std::string& name, void (*function)(benchmark::State&, Arguments...),
              std::size_t functions, Arguments... arguments) {
  benchmark::RegisterBenchmark(name.c_str(), function, arguments...)
      ->Arg(static_cast<std::int64_t>(functions))
      ->Unit(benchmark::kMicrosecond);
}

void RegisterAll(std::size_t functions) {
  Register("GetInstance/Ostrel_PCIDevice", GetOneDevice, functions);
  for (const char* name : kClasses) {
    Register(std::string("Enumerate/") + name, Enumerate, functions, name, kLibrary);
    Register(std::string("EnumerateNames/") + name, EnumerateNames, functions, name, kLibrary);
  }
  const struct {
    const char* kind;
    const char* class_name;
  } walks[] = {{"port", "Ostrel_PCIControlledBy"},      {"device", "Ostrel_PCIControlledBy"},
               {"bridge", "Ostrel_PCIControlledBy"},    {"port", "Ostrel_PCIMemberOfCollection"},
               {"port", "Ostrel_PCIDeviceConnection"},  {"system", "Ostrel_PCISystemDevice"},
               {"system", "Ostrel_PCIHostedCollection"}};
  for (const auto& walk : walks) {
    const std::string suffix = std::string("/") + walk.class_name + "/" + walk.kind;
    Register("Associators" + suffix, Associators, functions, walk.class_name, walk.kind);
    Register("References" + suffix, References, functions, walk.class_name, walk.kind);
  }
  for (const char* name : kClasses) {
    if (std::string_view(name) == "Ostrel_PCIDeviceConnection") continue;  // nothing to return here
    Register(std::string("Floor/Enumerate/") + name, Enumerate, functions, name, kFloor);
    Register(std::string("Floor/EnumerateNames/") + name, EnumerateNames, functions, name, kFloor);
  }
}

}  // namespace

int main(int argc, char** argv) {
  for (const std::size_t functions : {1000, 8000, 64000}) RegisterAll(functions);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
