// The two ways in which a request fails: with an error of the CIM operation (an ERROR element in a
// response) or, where it is no proper CIM request, with an HTTP status.
//
// Thread rule: plain values.

#ifndef WBEM_CIM_ERROR_H_
#define WBEM_CIM_ERROR_H_

#include <stdexcept>
#include <string>
#include <string_view>

#include "cim/status.h"

namespace wbem {

// CIM status codes (DSP0200, 5.2.6). CMPI return codes up to 17 are the same numbers.
enum class CimCode {
  kFailed = 1,
  kInvalidNamespace = 3,
  kInvalidParameter = 4,
  kInvalidClass = 5,
  kNotFound = 6,
  kNotSupported = 7,
};

class CimError : public std::runtime_error {
 public:
  CimError(int code, const std::string& description)
      : std::runtime_error(description), code_(code) {}
  CimError(CimCode code, const std::string& description)
      : CimError(static_cast<int>(code), description) {}

  int code() const { return code_; }

 private:
  int code_;
};

// The error that a provider's status is told as: its own code where that is a CIM status code,
// CIM_ERR_FAILED otherwise; described by its message, or by its name where it has none.
CimError ErrorOf(const cim::Status& status);

// A message that is answered with an HTTP status of its own. `cim_error` is the value of the
// response's CIMError header (DSP0200, 7.3.2), empty for none; what() goes into the body.
class RequestError : public std::runtime_error {
 public:
  RequestError(int http_status, std::string_view cim_error, const std::string& text)
      : std::runtime_error(text), http_status_(http_status), cim_error_(cim_error) {}

  int http_status() const { return http_status_; }
  const std::string& cim_error() const { return cim_error_; }

 private:
  int http_status_;
  std::string cim_error_;
};

}  // namespace wbem

#endif  // WBEM_CIM_ERROR_H_
