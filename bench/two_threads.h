// How much faster two threads do something than one: whether they write to anything in common.
//
// Thread rule: starts threads of its own, which have ended when it returns.

#ifndef BENCH_TWO_THREADS_H_
#define BENCH_TWO_THREADS_H_

#include <benchmark/benchmark.h>

#include <functional>

namespace bench {

// Measures one thread and two that call `run` over and over, in turns, each on a processor of its
// own, and reports the counters
//   speedup             median of the turns' ratios of rates in wall-clock time, two threads to one
//   cpu_ratio           the same of CPU time by run: above 1 what threads share costs time
//   voluntary_switches  by run with two threads: above 0 they wait for each other
// A process with one processor makes it an error of the benchmark.
void MeasureTwoThreads(benchmark::State& state, const std::function<void()>& run);

// What shares nothing: tells what two threads can reach on the machine at the time.
void Calculate();

}  // namespace bench

#endif  // BENCH_TWO_THREADS_H_
