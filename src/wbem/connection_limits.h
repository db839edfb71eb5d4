// How much time and room a connection's requests and answers may take.
//
// Thread rule: plain values.

#ifndef WBEM_CONNECTION_LIMITS_H_
#define WBEM_CONNECTION_LIMITS_H_

#include <chrono>
#include <cstddef>

namespace wbem {

struct ConnectionLimits {
  std::chrono::milliseconds idle{5'000};  // between two requests
  // The same while others wait for the thread: before the first request, counted from when the
  // client came, and between two.
  std::chrono::milliseconds first_grace{2'000};
  std::chrono::milliseconds grace{100};
  std::chrono::milliseconds request{10'000};      // from a request's first byte to its last
  std::chrono::milliseconds write_stall{10'000};  // while nothing of an answer can be written
  std::chrono::milliseconds answer{300'000};      // from an answer's first byte to its last
  std::size_t header_bytes = 64U << 10U;          // request line and headers of a request
  std::size_t request_bytes = 20U << 20U;         // all of a request, chunk headers included
};

}  // namespace wbem

#endif  // WBEM_CONNECTION_LIMITS_H_
