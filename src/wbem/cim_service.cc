#include "wbem/cim_service.h"

#include <fmt/format.h>

#include <string>
#include <utility>
#include <variant>

#include "wbem/cim_error.h"
#include "wbem/cim_headers.h"
#include "wbem/cim_xml_request.h"
#include "wbem/operations.h"

namespace wbem {

namespace {

constexpr const char* kHttpMethods = "POST, M-POST, OPTIONS";

// An extension header of the answer, named as the request names its own.
HttpHeader ExtensionHeader(const HttpRequest& request, const std::string& name,
                           const std::string& value) {
  const std::string number = ExtensionNamespace(request);
  return {number.empty() ? name : fmt::format("{}-{}", number, name), value};
}

// RFC 2774: an answer to a mandatory request says that the extension was understood.
void AcknowledgeExtension(const HttpRequest& request, HttpResponse& response) {
  const std::string number = ExtensionNamespace(request);
  if (number.empty()) return;
  response.headers.push_back({"Ext", ""});
  response.headers.push_back({"Man", fmt::format("{} ; ns={}", kExtensionUri, number)});
}

HttpResponse Refusal(const HttpRequest& request, const RequestError& error) {
  HttpResponse response = PlainResponse(error.http_status(), error.what());
  AcknowledgeExtension(request, response);
  if (!error.cim_error().empty()) {
    response.headers.push_back(ExtensionHeader(request, "CIMError", error.cim_error()));
  }
  if (error.http_status() == 405) response.headers.push_back({"Allow", kHttpMethods});
  return response;
}

HttpResponse Options() {
  return {200,
          {{"Opt", fmt::format("{} ; ns=73", kExtensionUri)},
           {"73-CIMProtocolVersion", "1.0"},
           {"73-CIMSupportedFunctionalGroups", "basic-read, association-traversal"},
           {"73-CIMValidation", "loosely-validating"},
           {"Allow", kHttpMethods}},
          {}};
}

void CheckMethod(const HttpRequest& head) {
  if (head.method != "POST" && head.method != kMandatoryPost) {
    throw RequestError(405, {}, "CIM operations are called by POST");
  }
  if (head.method == kMandatoryPost && ExtensionNamespace(head).empty()) {
    throw RequestError(510, {}, "the mandatory extension is not CIM operations");
  }
}

// The class that a request is about, or that of the instance; empty where it is about neither.
std::string ClassOf(const Request& request) {
  for (const Parameter& parameter : request.parameters) {
    if (const auto* cls = std::get_if<ClassName>(&parameter.value)) return cls->name;
    if (const auto* name = std::get_if<InstanceName>(&parameter.value)) return name->class_name;
  }
  return {};
}

CurrentManager::Loan Borrow(CurrentManager& manager) {
  try {
    return manager.Borrow();
  } catch (const std::exception& error) {
    throw RequestError(503, {}, error.what());
  }
}

}  // namespace

std::optional<HttpResponse> CimService::AnswerHead(const HttpRequest& head) {
  try {
    CheckSender(head);
    if (head.method == "OPTIONS") return Options();
    CheckMethod(head);
    CheckHeaders(head);
    return std::nullopt;
  } catch (const RequestError& error) {
    return Refusal(head, error);
  }
}

void CimService::Answer(Exchange& exchange) {
  const HttpRequest& http = exchange.request();
  try {
    const Request request = ParseRequest(http.body);
    exchange.record().operation = request.method;
    exchange.record().class_name = ClassOf(request);
    CheckAgreement(http, request);
    HttpResponse response{200,
                          {{"Content-Type", "application/xml; charset=\"utf-8\""},
                           {"Cache-Control", "no-cache"},
                           ExtensionHeader(http, "CIMOperation", "MethodResponse")},
                          {}};
    AcknowledgeExtension(http, response);
    exchange.Begin(std::move(response));
    const auto manager = Borrow(manager_);
    const Outcome outcome =
        wbem::Answer(*manager, request, std::string(http.Header("Host")), exchange);
    exchange.record().error = outcome.error;
    exchange.record().elements = outcome.elements;
  } catch (const RequestError& error) {
    exchange.Begin(Refusal(http, error));
  }
}

}  // namespace wbem
