#include "bench/turns.h"

#include <time.h>

#include <algorithm>
#include <cstddef>

namespace bench {

namespace {

constexpr double kTurnSeconds = 2e-3;      // at least, of the second
constexpr double kMeasuredSeconds = 0.25;  // at least, of both in all turns
constexpr std::size_t kFewestTurns = 9;

}  // namespace

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

double ThreadSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

Turns MeasureInTurns(const TimedRuns& first, const TimedRuns& second) {
  first(1);
  std::size_t times = 1;
  while (second(times) < kTurnSeconds) times *= 2;

  std::vector<double> ratios;
  std::vector<double> first_seconds;
  std::vector<double> second_seconds;
  double measured = 0;
  while (ratios.size() < kFewestTurns || measured < kMeasuredSeconds) {
    const bool swapped = ratios.size() % 2 != 0;
    double below = 0;
    if (swapped) below = second(times);
    const double above = first(times);
    if (!swapped) below = second(times);
    first_seconds.push_back(above / static_cast<double>(times));
    second_seconds.push_back(below / static_cast<double>(times));
    ratios.push_back(above / below);
    measured += above + below;
  }
  return {Median(ratios), Median(first_seconds), Median(second_seconds)};
}

}  // namespace bench
