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
// Before it is measured, what the two return and which calls they make of the object manager is
// compared (up to 8,000 functions); a difference is an error of the benchmark, and the program ends
// with 1.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <string>

#include "bench/cmpi_calls.h"
#include "bench/heap_count.h"
#include "bench/provider_stack.h"
#include "bench/turns.h"

namespace {

using bench::Listing;

constexpr std::size_t kMostCompared = 8000;

bool all_alike = true;

// What a listing returns, and the calls it makes of the object manager.
struct Behaviour {
  broker::Recorder returned;
  std::map<std::string, std::size_t> calls;
};

Behaviour Observe(bench::Stack& stack, Listing listing, const char* class_name) {
  // With the first instance of all the library finds out whether the object manager copies its
  // keys.
  bench::CountingSink unobserved;
  bench::List(stack.manager, listing, class_name, unobserved);
  Behaviour behaviour;
  const bench::CmpiCalls calls;
  bench::List(stack.manager, listing, class_name, behaviour.returned);
  behaviour.calls = calls.counts();
  return behaviour;
}

bool Alike(const Behaviour& library, const Behaviour& floor) {
  return !library.calls.empty() && !library.returned.events.empty() &&
         library.returned.events == floor.returned.events &&
         library.returned.instances == floor.returned.instances &&
         library.returned.paths == floor.returned.paths && library.calls == floor.calls;
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

bench::TimedRuns ListTimes(bench::Stack& stack, Listing listing, const char* class_name) {
  return [&stack, listing, class_name](std::size_t times) {
    return bench::SecondsOf([&] { ListOnce(stack, listing, class_name); }, times);
  };
}

void Measure(benchmark::State& state, Listing listing, const char* class_name) {
  const auto functions = static_cast<std::size_t>(state.range(0));
  const bench::Parents parents = bench::ParentsFor(class_name);
  bench::Stack& library_stack = bench::StackOf(bench::kLibrary, functions, parents);
  bench::Stack& floor_stack = bench::StackOf(bench::kFloor, functions, parents);
  if (functions <= kMostCompared && !Alike(Observe(library_stack, listing, class_name),
                                           Observe(floor_stack, listing, class_name))) {
    all_alike = false;
    state.SkipWithError("the library and the floor differ");
    return;
  }
  const Listed library = ListOnce(library_stack, listing, class_name);
  const Listed floor = ListOnce(floor_stack, listing, class_name);

  bench::Turns turns{};
  for (auto _ : state) {
    turns = bench::MeasureInTurns(ListTimes(library_stack, listing, class_name),
                                  ListTimes(floor_stack, listing, class_name));
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
  bench::RegisterListings("Floor", Measure, [](benchmark::internal::Benchmark* listing) {
    for (const std::int64_t functions : {1000, 8000, 64000}) listing->Arg(functions);
    listing->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
  });
  const int status = bench::RunBenchmarks(argc, argv);
  return all_alike ? status : 1;
}
