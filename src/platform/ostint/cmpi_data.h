// One CIM value with its type: what keys, properties and array elements are set from, and what
// reads answer.
//
// Text given as `const char*` travels as CMPI_chars: the pointer is kept, no string object is made,
// and the text must outlive the call that it is passed to.
// Conversions throw CmpiStatus: CMPI_RC_ERR_TYPE_MISMATCH for another type,
// CMPI_RC_ERR_NO_SUCH_PROPERTY for a null value.
// Thread rule: a plain value.

#ifndef PLATFORM_OSTINT_CMPI_DATA_H_
#define PLATFORM_OSTINT_CMPI_DATA_H_

#include "platform/cmpi/cmpi.h"
#include "platform/ostint/cmpi_object.h"

namespace ostInt {

class CmpiData {
 public:
  // Implicit on purpose: a property is set as `setProperty("BusNumber", device->GetBus())`.
  CmpiData(const char* text) : data_{CMPI_chars, CMPI_goodValue, {}} {
    data_.value.chars = const_cast<char*>(text);
  }
  CmpiData(unsigned char uint8) : data_{CMPI_uint8, CMPI_goodValue, {}} {
    data_.value.uint8 = uint8;
  }
  CmpiData(unsigned short uint16) : data_{CMPI_uint16, CMPI_goodValue, {}} {
    data_.value.uint16 = uint16;
  }
  CmpiData(const CmpiArray& array)
      : data_{static_cast<CMPIType>(array.element_type() | CMPI_ARRAY), CMPI_goodValue, {}} {
    data_.value.array = array.raw();
  }
  CmpiData(const CmpiObjectPath& path) : data_{CMPI_ref, CMPI_goodValue, {}} {
    data_.value.ref = path.raw();
  }
  CmpiData(bool) = delete;  // would be taken for a number
  explicit CmpiData(const CMPIData& data) : data_(data) {}

  // A value that is not there.
  static CmpiData Null() { return CmpiData(CMPIData{CMPI_null, CMPI_nullValue, {}}); }

  bool isNull() const { return IsAbsent(data_); }

  // Reads as `CmpiString id = path.getKey("DeviceID");`
  operator CmpiString() const;
  operator CmpiObjectPath() const;
  operator CmpiInstance() const;

  CMPIType type() const { return data_.type; }

  // As CMPI passes values: a pointer to the union, except for CMPI_chars, where the pointer is the
  // text itself.
  const CMPIValue* value() const {
    return data_.type == CMPI_chars ? reinterpret_cast<const CMPIValue*>(data_.value.chars)
                                    : &data_.value;
  }

  // Whether a value that was read stands for nothing: absent, null or unusable by its state, or a
  // null pointer under a good one.
  static bool IsAbsent(const CMPIData& data) {
    if ((data.state & (CMPI_nullValue | CMPI_notFound | CMPI_badValue)) != 0) return true;
    return data.type == CMPI_null || (IsPointer(data.type) && data.value.dataPtr.ptr == nullptr);
  }

 private:
  static bool IsPointer(CMPIType type) { return type >= CMPI_instance; }
  void RequireType(CMPIType type, const char* wanted) const;

  CMPIData data_;
};

void CmpiObjectPath::setKey(const char* name, const CmpiData& value) {
  ThrowUnlessOk(raw()->ft->addKey(raw(), name, value.value(), value.type()));
}

void CmpiInstance::setProperty(const char* name, const CmpiData& value) {
  ThrowUnlessOk(raw()->ft->setProperty(raw(), name, value.value(), value.type()));
}

}  // namespace ostInt

#endif  // PLATFORM_OSTINT_CMPI_DATA_H_
