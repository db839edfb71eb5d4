// How much time and room requests and answers may take.
//
// Thread rule: plain values.

#ifndef WBEM_LIMITS_H_
#define WBEM_LIMITS_H_

#include <chrono>
#include <cstddef>

namespace wbem {

struct Limits {
  std::chrono::milliseconds idle{5'000};  // of a connection without a request
  // From a request's first byte to the end of its headers, and to its last byte.
  std::chrono::milliseconds head{5'000};
  std::chrono::milliseconds request{10'000};
  std::chrono::milliseconds piece{10'000};    // to write a piece of an answer, 64 KiB or less
  std::chrono::milliseconds answer{300'000};  // from a request's last byte to its answer's
  std::size_t head_bytes = 64U << 10U;        // request line and headers of a request
  std::size_t body_bytes = 8U << 20U;         // of a request
  std::size_t all_body_bytes = 256U << 20U;   // of all requests that are read or answered
};

}  // namespace wbem

#endif  // WBEM_LIMITS_H_
