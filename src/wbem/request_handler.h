// Who answers requests, as the connections see it.

#ifndef WBEM_REQUEST_HANDLER_H_
#define WBEM_REQUEST_HANDLER_H_

#include <optional>

#include "wbem/exchange.h"
#include "wbem/http_message.h"

namespace wbem {

class RequestHandler {
 public:
  virtual ~RequestHandler() = default;

  // Looks at a request whose body has not come yet: nothing where it is to come, otherwise the
  // response in place of it. Called on the thread that reads all connections: it must not wait.
  virtual std::optional<HttpResponse> AnswerHead(const HttpRequest& head) = 0;

  // Answers exchange.request(). Called on many threads. What it throws cuts the response off, or
  // becomes one of status 500 where nothing was sent.
  virtual void Answer(Exchange& exchange) = 0;
};

}  // namespace wbem

#endif  // WBEM_REQUEST_HANDLER_H_
