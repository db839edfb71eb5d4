// Two ways to do the same, measured in turns: load on the machine that comes and goes meets both.
//
// Thread rule: CPU time of the calling thread is measured.

#ifndef BENCH_TURNS_H_
#define BENCH_TURNS_H_

#include <cstddef>
#include <functional>

namespace bench {

struct Turns {
  double ratio;          // median over the turns, first to second
  double first_seconds;  // medians of one run
  double second_seconds;
};

// Runs both, each as often in a turn as makes some milliseconds, for as many turns as make a
// quarter of a second, and nine at least. Either goes first as often as the other. A run answers
// the CPU seconds that it counts (see ThreadSeconds).
Turns MeasureInTurns(const std::function<double()>& first, const std::function<double()>& second);

// CPU time of this thread so far.
double ThreadSeconds();

// CPU time of one call.
template <typename Call>
double SecondsOf(Call call) {
  const double begin = ThreadSeconds();
  call();
  return ThreadSeconds() - begin;
}

}  // namespace bench

#endif  // BENCH_TURNS_H_
