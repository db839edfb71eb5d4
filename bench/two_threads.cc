#include "bench/two_threads.h"

#include <sched.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdint>
#include <latch>
#include <thread>
#include <vector>

#include "bench/turns.h"

namespace bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kTurns = 15;
constexpr std::chrono::milliseconds kTurnTime(20);

// What threads have done in a turn.
struct Work {
  double runs = 0;
  double runs_per_second = 0;
  double cpu_seconds = 0;
  double voluntary_switches = 0;

  void Add(const Work& other) {
    runs += other.runs;
    runs_per_second += other.runs_per_second;
    cpu_seconds += other.cpu_seconds;
    voluntary_switches += other.voluntary_switches;
  }
};

double VoluntarySwitches() {
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  return static_cast<double>(usage.ru_nvcsw);
}

// The processors that this process may use.
std::vector<std::size_t> Processors() {
  cpu_set_t allowed;
  CPU_ZERO(&allowed);
  sched_getaffinity(0, sizeof(allowed), &allowed);
  std::vector<std::size_t> processors;
  for (std::size_t number = 0; number < CPU_SETSIZE; ++number) {
    if (CPU_ISSET(number, &allowed)) processors.push_back(number);
  }
  return processors;
}

// Keeps the calling thread on one processor: a turn is too short for the kernel to spread threads.
void StayOn(std::size_t processor) {
  cpu_set_t allowed;
  CPU_ZERO(&allowed);
  CPU_SET(processor, &allowed);
  sched_setaffinity(0, sizeof(allowed), &allowed);
}

// Runs for the time of a turn from when all threads have come.
Work RunForATurn(const std::function<void()>& run, std::size_t processor, std::latch& start) {
  Work work;
  StayOn(processor);
  run();  // what a thread keeps for itself is made now
  start.arrive_and_wait();
  const double switches = VoluntarySwitches();
  const double cpu_seconds = ThreadSeconds();
  const Clock::time_point begin = Clock::now();
  Clock::time_point now = begin;
  for (; now - begin < kTurnTime; now = Clock::now()) {
    run();
    ++work.runs;
  }
  work.runs_per_second = work.runs / std::chrono::duration<double>(now - begin).count();
  work.cpu_seconds = ThreadSeconds() - cpu_seconds;
  work.voluntary_switches = VoluntarySwitches() - switches;
  return work;
}

// One thread for each of the processors.
Work RunOn(const std::vector<std::size_t>& processors, const std::function<void()>& run) {
  std::vector<Work> work(processors.size());
  std::latch start(static_cast<std::ptrdiff_t>(processors.size()));
  {
    std::vector<std::jthread> running;
    for (std::size_t place = 0; place < processors.size(); ++place) {
      running.emplace_back(
          [&, place] { work[place] = RunForATurn(run, processors[place], start); });
    }
  }
  Work all;
  for (const Work& own : work) all.Add(own);
  return all;
}

}  // namespace

void MeasureTwoThreads(benchmark::State& state, const std::function<void()>& run) {
  const std::vector<std::size_t> processors = Processors();
  if (processors.size() < 2) {
    state.SkipWithError("needs two processors");
    return;
  }
  std::vector<double> speedups;
  std::vector<double> cpu_ratios;
  Work two_threads;
  for (auto _ : state) {
    for (int turn = 0; turn < kTurns; ++turn) {
      const Work one = RunOn({processors[static_cast<std::size_t>(turn) % 2]}, run);
      const Work two = RunOn({processors[0], processors[1]}, run);
      speedups.push_back(two.runs_per_second / one.runs_per_second);
      cpu_ratios.push_back(two.cpu_seconds / two.runs / (one.cpu_seconds / one.runs));
      two_threads.Add(two);
    }
  }
  state.counters["speedup"] = Median(speedups);
  state.counters["cpu_ratio"] = Median(cpu_ratios);
  state.counters["voluntary_switches"] = two_threads.voluntary_switches / two_threads.runs;
}

void Calculate() {
  std::uint64_t number = 1;
  for (int step = 0; step < 1'000'000; ++step) number = number * 6364136223846793005U + 1;
  benchmark::DoNotOptimize(number);
}

}  // namespace bench
