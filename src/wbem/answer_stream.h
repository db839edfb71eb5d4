// The response to one request, written while its elements arrive. The first part is held back: an
// operation that fails before it was sent is answered with an ERROR element. After that a response
// message has no way to take back what it said, so a failure breaks the stream, and the client sees
// that the message is cut off.
//
// Thread rule: one stream per request, used by one thread.

#ifndef WBEM_ANSWER_STREAM_H_
#define WBEM_ANSWER_STREAM_H_

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

#include "wbem/cim_error.h"
#include "wbem/cim_xml_request.h"

namespace wbem {

// Where the bytes of a response go.
class ByteSink {
 public:
  virtual ~ByteSink() = default;
  // Throws StreamBroken where the bytes cannot be delivered.
  virtual void Write(std::string_view bytes) = 0;
};

// The response cannot be completed: the client is gone, or the operation failed after a part of its
// result was sent.
class StreamBroken : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What a response came to.
struct Outcome {
  int error = 0;  // of CIM; 0 where there is a result
  std::size_t elements = 0;
};

class AnswerStream {
 public:
  static constexpr std::size_t kHoldBackBytes = 64U << 10U;

  // Both must outlive the stream. `method` is the method's name as the response tells it.
  AnswerStream(const Request& request, std::string_view method, ByteSink& sink);

  // Calls append(std::string&), which appends one element of the result.
  template <class Append>
  void Element(Append append) {
    append(pending_);
    ++outcome_.elements;
    if (pending_.size() >= kHoldBackBytes) Flush();
  }

  // Ends the response, with the elements so far as the result.
  void Finish();
  // Ends the response with the error in place of a result. Throws StreamBroken, with the error's
  // text, where a part of the result was sent.
  void Fail(const CimError& error);
  const Outcome& outcome() const { return outcome_; }

 private:
  void Flush();
  void Begin();
  void End();

  const Request& request_;
  std::string method_;
  ByteSink& sink_;
  std::string pending_;
  bool sent_ = false;
  Outcome outcome_;
};

}  // namespace wbem

#endif  // WBEM_ANSWER_STREAM_H_
