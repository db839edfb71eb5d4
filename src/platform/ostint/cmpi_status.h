// The outcome of a CMPI call: a return code and, where there is one, a text. Doubles as the
// wrapper's exception: any CMPI call that fails, a key that is missing and a value of the wrong
// type throw a CmpiStatus.
//
// The text is a copy: a status thrown out of an element scope outlives the CMPI objects in it.
// Thread rule: a plain value.

#ifndef PLATFORM_OSTINT_CMPI_STATUS_H_
#define PLATFORM_OSTINT_CMPI_STATUS_H_

#include <string>
#include <utility>

#include "platform/cmpi/cmpi.h"

namespace ostInt {

class CmpiStatus {
 public:
  CmpiStatus(CMPIrc rc) : rc_(rc) {}  // `return CMPI_RC_OK;`
  CmpiStatus(CMPIrc rc, std::string message) : rc_(rc), message_(std::move(message)) {}
  explicit CmpiStatus(const CMPIStatus& status);

  CMPIrc rc() const { return rc_; }
  const std::string& message() const { return message_; }

 private:
  CMPIrc rc_;
  std::string message_;
};

[[noreturn]] void Throw(const CMPIStatus& status);

// Throws the status unless it is CMPI_RC_OK.
inline void ThrowUnlessOk(const CMPIStatus& status) {
  if (status.rc != CMPI_RC_OK) Throw(status);
}

// Throws unless the call that answered `object` succeeded: a null object under CMPI_RC_OK is a
// failure too, named by `what`.
template <typename Object>
Object* ThrowUnlessMade(Object* object, const CMPIStatus& status, const char* what) {
  ThrowUnlessOk(status);
  if (object == nullptr) throw CmpiStatus(CMPI_RC_ERR_FAILED, std::string(what) + " gave nothing");
  return object;
}

}  // namespace ostInt

#endif  // PLATFORM_OSTINT_CMPI_STATUS_H_
