// HTTP requests and responses as plain values: nothing here knows who reads and writes them, or
// what they are about.
//
// Thread rule: plain values.

#ifndef WBEM_HTTP_MESSAGE_H_
#define WBEM_HTTP_MESSAGE_H_

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "cim/text.h"

namespace wbem {

struct HttpHeader {
  std::string name;
  std::string value;
};

struct HttpRequest {
  std::string method;   // as it was sent: "POST", "M-POST"
  bool is_old = false;  // HTTP/1.0
  std::vector<HttpHeader> headers;
  std::string body;

  // The header's first value, names compared ignoring case; nullptr where there is none.
  const std::string* Find(std::string_view name) const {
    const auto header = std::find_if(headers.begin(), headers.end(), [&](const HttpHeader& one) {
      return cim::EqualIgnoringCase(one.name, name);
    });
    return header != headers.end() ? &header->value : nullptr;
  }
  bool Has(std::string_view name) const { return Find(name) != nullptr; }
  // Empty where there is none.
  std::string_view Header(std::string_view name) const {
    const std::string* value = Find(name);
    return value != nullptr ? std::string_view(*value) : std::string_view();
  }
};

// What frames a response (its length, whether the connection goes on) is added where it is written.
struct HttpResponse {
  int status = 200;
  std::vector<HttpHeader> headers;
  std::string body;
};

// A response that says in a line of plain text what is wrong.
inline HttpResponse PlainResponse(int status, std::string_view text) {
  return {status,
          {{"Content-Type", "text/plain; charset=utf-8"}, {"Cache-Control", "no-cache"}},
          std::string(text) + "\n"};
}

}  // namespace wbem

#endif  // WBEM_HTTP_MESSAGE_H_
