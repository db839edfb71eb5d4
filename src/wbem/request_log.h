// The line that the log has of each request:
//
//   client=127.0.0.1:40712 operation=EnumerateInstances class=Ostrel_PCIPort status=200 error=0
//   elements=54 bytes=118243 ms=3.1
//
// Thread rule: plain values and a pure function.

#ifndef WBEM_REQUEST_LOG_H_
#define WBEM_REQUEST_LOG_H_

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace wbem {

struct RequestRecord {
  std::string client;
  // As the client wrote them; empty where the request was refused before they were read.
  std::string operation;
  std::string class_name;
  int status = 0;            // of HTTP; 0 where the answer could not be completed
  int error = 0;             // of CIM
  std::size_t elements = 0;  // of the result
  std::size_t bytes = 0;     // of the answer's body
  std::chrono::duration<double, std::milli> time{};  // from the request's last byte on
};

// Without a line feed at its end. What a client wrote is shown with "?" for everything but letters,
// digits, '_', '.', ':' and '-', and not beyond 64 characters.
std::string LogLine(const RequestRecord& record);

// Takes the lines. Called on many threads.
using RequestLog = std::function<void(const std::string& line)>;

}  // namespace wbem

#endif  // WBEM_REQUEST_LOG_H_
