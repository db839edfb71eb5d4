// Whether two threads enumerate twice as fast as one: whether anything on the way of a request, in
// the provider library or in the object manager, is shared in writing.
//
// Benchmarks: Speedup/<Instances|Names>/<class>/1000, all ten classes, both threads on the same
// one; and Speedup/Arithmetic, which shares nothing and tells what the machine gives at the time.
// Counters: speedup, cpu_ratio, voluntary_switches (see two_threads.h). On a busy machine `speedup`
// says little, and the others tell only as much as the two did run at the same time: Arithmetic has
// to reach 2.

#include <benchmark/benchmark.h>

#include "bench/provider_stack.h"
#include "bench/two_threads.h"

namespace {

using bench::Listing;

constexpr std::size_t kFunctions = 1000;

void Enumerate(benchmark::State& state, Listing listing, const char* class_name) {
  broker::ObjectManager& manager =
      bench::StackOf(bench::kLibrary, kFunctions, bench::ParentsFor(class_name)).manager;
  bench::MeasureTwoThreads(state, [&] {
    bench::CountingSink sink;
    bench::List(manager, listing, class_name, sink);
  });
}

void Calculate(benchmark::State& state) { bench::MeasureTwoThreads(state, bench::Calculate); }

}  // namespace

int main(int argc, char** argv) {
  benchmark::RegisterBenchmark("Speedup/Arithmetic", Calculate)->Iterations(1)->UseRealTime();
  bench::RegisterListings("Speedup", Enumerate, [](benchmark::internal::Benchmark* listing) {
    listing->Arg(kFunctions)->Iterations(1)->UseRealTime();
  });
  return bench::RunBenchmarks(argc, argv);
}
