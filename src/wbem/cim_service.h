// CIM operations over HTTP (DSP0200), on the current object manager: which requests are CIM
// operations, and the headers of what they are answered with.
//
// Thread rule: thread-safe.

#ifndef WBEM_CIM_SERVICE_H_
#define WBEM_CIM_SERVICE_H_

#include <optional>

#include "wbem/current_manager.h"
#include "wbem/request_handler.h"

namespace wbem {

class CimService : public RequestHandler {
 public:
  // `manager` must outlive the service.
  explicit CimService(CurrentManager& manager) : manager_(manager) {}

  std::optional<HttpResponse> AnswerHead(const HttpRequest& head) override;
  void Answer(Exchange& exchange) override;

 private:
  CurrentManager& manager_;
};

}  // namespace wbem

#endif  // WBEM_CIM_SERVICE_H_
