#include "platform/ostint/cmpi_status.h"

namespace ostInt {

CmpiStatus::CmpiStatus(const CMPIStatus& status) : rc_(status.rc) {
  if (status.msg == nullptr) return;
  const char* text = status.msg->ft->getCharPtr(status.msg, nullptr);
  if (text != nullptr) message_ = text;
}

void Throw(const CMPIStatus& status) { throw CmpiStatus(status); }

}  // namespace ostInt
