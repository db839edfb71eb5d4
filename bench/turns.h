// Two ways to do the same, measured in turns: load on the machine that comes and goes meets both.
//
// Thread rule: CPU time of the calling thread is measured.

#ifndef BENCH_TURNS_H_
#define BENCH_TURNS_H_

#include <cstddef>
#include <functional>
#include <vector>

namespace bench {

struct Turns {
  double ratio;          // median over the turns, first to second
  double first_seconds;  // medians of one run
  double second_seconds;
};

// Does something so many times over and answers the CPU seconds that count of it.
using TimedRuns = std::function<double(std::size_t times)>;

// Runs both, each as often in a turn as makes some milliseconds, for as many turns as make a
// quarter of a second, and nine at least. Either goes first as often as the other.
Turns MeasureInTurns(const TimedRuns& first, const TimedRuns& second);

// The middle one by size. At least one value.
double Median(std::vector<double> values);

// CPU time of this thread so far.
double ThreadSeconds();

// CPU time of so many calls.
template <typename Call>
double SecondsOf(Call call, std::size_t times = 1) {
  const double begin = ThreadSeconds();
  for (std::size_t time = 0; time < times; ++time) call();
  return ThreadSeconds() - begin;
}

}  // namespace bench

#endif  // BENCH_TURNS_H_
