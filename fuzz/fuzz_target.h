// What the fuzz targets share: the input as text, and how they say that something is wrong.
//
// Thread rule: plain functions.

#ifndef FUZZ_FUZZ_TARGET_H_
#define FUZZ_FUZZ_TARGET_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace fuzz {

inline std::string_view TextOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// Ends the process where the oracle of a target has a complaint: libFuzzer keeps the input.
inline void RequireNone(const std::string& complaint) {
  if (complaint.empty()) return;
  (void)std::fprintf(stderr, "fuzz target: %s\n", complaint.c_str());
  std::abort();
}

// The text up to the first `end`, and the text behind it left in `rest`.
inline std::string_view TakeUntil(char end, std::string_view& rest) {
  const std::size_t length = rest.find(end);
  const std::string_view taken = rest.substr(0, length);
  rest = length == std::string_view::npos ? std::string_view{} : rest.substr(length + 1);
  return taken;
}

inline std::string_view TakeWord(std::string_view& line) { return TakeUntil(' ', line); }

// The decimal number that the text begins with, at most `most`; 0 where there is none.
inline std::size_t NumberIn(std::string_view text, std::size_t most) {
  std::size_t number = 0;
  for (const char digit : text) {
    if (digit < '0' || digit > '9') break;
    number = number * 10 + static_cast<std::size_t>(digit - '0');
    if (number >= most) return most;
  }
  return number;
}

}  // namespace fuzz

#endif  // FUZZ_FUZZ_TARGET_H_
