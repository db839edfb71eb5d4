// Which system calls a program makes, counted from outside.
//
// Thread rule: one thread; the program must have one, too.

#ifndef BENCH_SYSTEM_CALLS_H_
#define BENCH_SYSTEM_CALLS_H_

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

struct SystemCalls {
  std::size_t all = 0;
  std::size_t positioned_bytes =
      0;  // that pread gave: of configuration spaces, all others are read
};

// Runs the program that the first word names to its end, stopped at each of its system calls, with
// its output thrown away. Throws std::system_error where processes may not be traced, and
// std::runtime_error where the program does not end well.
SystemCalls CountSystemCalls(std::vector<std::string> words);

}  // namespace bench

#endif  // BENCH_SYSTEM_CALLS_H_
