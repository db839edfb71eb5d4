#include "bench/provider_stack.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "broker/provider_library.h"

namespace bench {

namespace {

broker::Options MakeOptions() {
  broker::Options options;
  options.system_name = "bench.example";
  options.check_providers = false;
  // Factories write a trace line each.
  options.around_factory = [](auto, auto, const auto& call) {
    const int standard_error = dup(STDERR_FILENO);
    const int null = open("/dev/null", O_WRONLY);
    dup2(null, STDERR_FILENO);
    call();
    dup2(standard_error, STDERR_FILENO);
    close(null);
    close(standard_error);
  };
  return options;
}

struct KeptStack {
  std::size_t functions = 0;
  Parents parents = {};
  std::unique_ptr<Stack> stack;
};
std::map<std::string, KeptStack> kept_stacks;  // by library

}  // namespace

Parents ParentsFor(std::string_view class_name) {
  return class_name == "Ostrel_PCIDeviceConnection" ? Parents::kCalledAsPorts
                                                    : Parents::kCalledAsDevices;
}

Stack::Stack(const char* library_file, std::size_t functions, Parents parents)
    : manager(MakeOptions()) {
  UseSyntheticHost(functions, parents);
  const auto library = broker::ProviderLibrary::Open(library_file);
  for (const char* name : kClasses) manager.Register(name, library);
  for (const char* name : kClasses) {
    cim::Status status;
    if (manager.InstanceProvider(name, &status) == nullptr) {
      throw std::runtime_error(std::string(name) + ": " + status.message);
    }
    const bool association = library->FindAssociationFactory(name) != nullptr;
    if (association) manager.AssociationProvider(name, &status);
  }
}

Stack& StackOf(const char* library_file, std::size_t functions, Parents parents) {
  KeptStack& kept = kept_stacks[library_file];
  if (kept.stack == nullptr || functions != kept.functions || parents != kept.parents) {
    kept.stack.reset();
    kept = {functions, parents, std::make_unique<Stack>(library_file, functions, parents)};
  }
  return *kept.stack;
}

cim::Status List(broker::ObjectManager& manager, Listing listing, const char* class_name,
                 broker::ResultSink& sink) {
  const cim::ObjectPath path = manager.ClassPath(class_name);
  return listing == Listing::kInstances
             ? manager.EnumerateInstances(class_name, path, std::nullopt, sink)
             : manager.EnumerateInstanceNames(class_name, path, sink);
}

void RegisterListings(const char* prefix,
                      void (*measure)(benchmark::State& state, Listing listing,
                                      const char* class_name),
                      void (*configure)(benchmark::internal::Benchmark* listing)) {
  for (const char* class_name : kClasses) {
    for (const Listing listing : {Listing::kInstances, Listing::kNames}) {
      const char* const form = listing == Listing::kInstances ? "/Instances/" : "/Names/";
      const std::string name = std::string(prefix) + form + class_name;
      configure(benchmark::RegisterBenchmark(name.c_str(), measure, listing, class_name));
    }
  }
}

int RunBenchmarks(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  kept_stacks.clear();
  return 0;
}

}  // namespace bench
