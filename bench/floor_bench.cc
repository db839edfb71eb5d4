// What listing a class costs above a hand-written provider that makes the same CMPI calls with the
// same values and nothing else (floor_provider.cc).
//
// Benchmarks: Floor/<Instances|Names>/<class>/<functions>, all ten classes, at 1,000, 8,000 and
// 64,000 functions. The library and the floor are measured in turns, in CPU time of the thread; the
// benchmark's own time is the library's median per listing. Counters:
//   ratio                       median of the turns' ratios, library to floor
//   library_ns_per_element      median
//   floor_ns_per_element        median
//   library_allocs_per_element  allocations of one listing, object manager and host included
//   floor_allocs_per_element    the same
//   returned                    elements of one listing
// Before it is measured, what the two return is compared (up to 8,000 functions); a difference is
// an error of the benchmark, and the program ends with 1.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <string>

#include "bench/heap_count.h"
#include "bench/provider_stack.h"
#include "bench/turns.h"

namespace {

using bench::Listing;

constexpr std::size_t kMostCompared = 8000;

bool all_alike = true;

// The library and the floor on one host.
struct Pair {
  Pair(std::size_t functions, bench::Parents parents)
      : library(bench::kLibrary, functions, parents), floor(bench::kFloor, functions, parents) {}

  bench::Stack library;
  bench::Stack floor;
};

std::unique_ptr<Pair> pair;  // main drops it: a library's own statics must outlive its use

// The pair that is asked for, kept from one benchmark to the next that asks for the same.
Pair& PairOn(std::size_t functions, bench::Parents parents) {
  static std::size_t current_functions = 0;
  static bench::Parents current_parents = {};
  if (pair == nullptr || functions != current_functions || parents != current_parents) {
    pair.reset();
    pair = std::make_unique<Pair>(functions, parents);
    current_functions = functions;
    current_parents = parents;
  }
  return *pair;
}

bool Alike(Pair& both, Listing listing, const char* class_name) {
  broker::Recorder library;
  broker::Recorder floor;
  const bool listed = bench::List(both.library.manager, listing, class_name, library).ok() &&
                      bench::List(both.floor.manager, listing, class_name, floor).ok();
  return listed && !library.events.empty() && library.events == floor.events &&
         library.instances == floor.instances && library.paths == floor.paths;
}

struct Listed {
  std::size_t elements = 0;
  std::uint64_t allocations = 0;
};

Listed ListOnce(bench::Stack& stack, Listing listing, const char* class_name) {
  bench::CountingSink sink;
  const std::uint64_t before = bench::AllocationCount();
  bench::List(stack.manager, listing, class_name, sink);
  return {sink.count, bench::AllocationCount() - before};
}

void Measure(benchmark::State& state, Listing listing, const char* class_name) {
  const auto functions = static_cast<std::size_t>(state.range(0));
  Pair& both = PairOn(functions, bench::ParentsFor(class_name));
  if (functions <= kMostCompared && !Alike(both, listing, class_name)) {
    all_alike = false;
    state.SkipWithError("the library and the floor differ");
    return;
  }
  const Listed library = ListOnce(both.library, listing, class_name);
  const Listed floor = ListOnce(both.floor, listing, class_name);

  bench::Turns turns{};
  for (auto _ : state) {
    turns = bench::MeasureInTurns(
        [&] { return bench::SecondsOf([&] { ListOnce(both.library, listing, class_name); }); },
        [&] { return bench::SecondsOf([&] { ListOnce(both.floor, listing, class_name); }); });
    state.SetIterationTime(turns.first_seconds);
  }

  const auto elements = static_cast<double>(library.elements);
  state.counters["ratio"] = turns.ratio;
  state.counters["library_ns_per_element"] = turns.first_seconds * 1e9 / elements;
  state.counters["floor_ns_per_element"] = turns.second_seconds * 1e9 / elements;
  state.counters["library_allocs_per_element"] =
      static_cast<double>(library.allocations) / elements;
  state.counters["floor_allocs_per_element"] = static_cast<double>(floor.allocations) / elements;
  state.counters["returned"] = elements;
}

}  // namespace

int main(int argc, char** argv) {
  for (const std::int64_t functions : {1000, 8000, 64000}) {
    for (const char* class_name : bench::kClasses) {
      for (const Listing listing : {Listing::kInstances, Listing::kNames}) {
        const std::string form = listing == Listing::kInstances ? "Instances/" : "Names/";
        benchmark::RegisterBenchmark(("Floor/" + form + class_name).c_str(), Measure, listing,
                                     class_name)
            ->Arg(functions)
            ->Iterations(1)
            ->UseManualTime()
            ->Unit(benchmark::kMicrosecond);
      }
    }
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  pair.reset();
  return all_alike ? 0 : 1;
}
