// The outcome of an operation: a CMPI return code and, where there is one, a text.
//
// Thread rule: plain values.

#ifndef CIM_STATUS_H_
#define CIM_STATUS_H_

#include <string>

#include "platform/cmpi/cmpi.h"

namespace cim {

struct Status {
  CMPIrc code = CMPI_RC_OK;
  std::string message;

  bool ok() const { return code == CMPI_RC_OK; }

  bool operator==(const Status&) const = default;
};

// The standard's name and the number, "CMPI_RC_ERR_NOT_FOUND (6)"; a number that the standard does
// not name is "CMPI_RC (123)".
std::string StatusName(CMPIrc code);

// StatusName, then ": " and the message when there is one.
std::string ToString(const Status& status);

}  // namespace cim

#endif  // CIM_STATUS_H_
