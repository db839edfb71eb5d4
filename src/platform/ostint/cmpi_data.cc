#include "platform/ostint/cmpi_data.h"

#include "platform/ostint/cmpi_broker.h"

namespace ostInt {

void CmpiData::RequireType(CMPIType type, const char* wanted) const {
  if (isNull()) throw CmpiStatus(CMPI_RC_ERR_NO_SUCH_PROPERTY, "the value is null");
  if (data_.type != type) throw CmpiStatus(CMPI_RC_ERR_TYPE_MISMATCH, std::string("not ") + wanted);
}

CmpiData::operator CmpiString() const {
  // Text comes as CMPI_string or, from some object managers, as CMPI_chars.
  if (data_.type == CMPI_chars && !isNull()) {
    CMPIStatus status{CMPI_RC_OK, nullptr};
    const CMPIBroker* broker = CallBroker();
    const CMPIString* string = broker->eft->newString(broker, data_.value.chars, &status);
    return CmpiString(ThrowUnlessMade(string, status, "newString"));
  }
  RequireType(CMPI_string, "a string");
  return CmpiString(data_.value.string);
}

CmpiData::operator CmpiObjectPath() const {
  RequireType(CMPI_ref, "a reference");
  return CmpiObjectPath(data_.value.ref);
}

CmpiData::operator CmpiInstance() const {
  RequireType(CMPI_instance, "an instance");
  return CmpiInstance(data_.value.inst);
}

}  // namespace ostInt
