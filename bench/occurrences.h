// How often one text occurs in another: enough to see that an answer is whole.

#ifndef BENCH_OCCURRENCES_H_
#define BENCH_OCCURRENCES_H_

#include <cstddef>
#include <string_view>

namespace bench {

inline std::size_t Occurrences(std::string_view text, std::string_view wanted) {
  std::size_t count = 0;
  for (std::size_t at = text.find(wanted); at != std::string_view::npos;
       at = text.find(wanted, at + wanted.size())) {
    ++count;
  }
  return count;
}

}  // namespace bench

#endif  // BENCH_OCCURRENCES_H_
