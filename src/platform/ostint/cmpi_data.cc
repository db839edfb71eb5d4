#include "platform/ostint/cmpi_data.h"

#include "platform/ostint/cmpi_broker.h"

namespace ostInt {

void CmpiData::RequireType(bool matches, const char* wanted) const {
  if (isNull()) throw CmpiStatus(CMPI_RC_ERR_NO_SUCH_PROPERTY, "the value is null");
  if (!matches) throw CmpiStatus(CMPI_RC_ERR_TYPE_MISMATCH, std::string("not ") + wanted);
}

CmpiData::operator CmpiString() const {
  // Text comes as CMPI_string or, from some object managers, as CMPI_chars.
  if (data_.type == CMPI_chars && !isNull() && data_.value.chars != nullptr) {
    CMPIStatus status{CMPI_RC_OK, nullptr};
    const CMPIBroker* broker = ProcessBroker();
    const CMPIString* string = broker->eft->newString(broker, data_.value.chars, &status);
    return CmpiString(ThrowUnlessMade(string, status, "newString"));
  }
  RequireType(data_.type == CMPI_string && data_.value.string != nullptr, "a string");
  return CmpiString(data_.value.string);
}

CmpiData::operator CmpiObjectPath() const {
  RequireType(data_.type == CMPI_ref && data_.value.ref != nullptr, "a reference");
  return CmpiObjectPath(data_.value.ref);
}

CmpiData::operator CmpiInstance() const {
  RequireType(data_.type == CMPI_instance && data_.value.inst != nullptr, "an instance");
  return CmpiInstance(data_.value.inst);
}

}  // namespace ostInt
