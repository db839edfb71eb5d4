#include "platform/ostint/cmpi_object.h"

#include "platform/ostint/cim_name.h"
#include "platform/ostint/cmpi_broker.h"
#include "platform/ostint/cmpi_data.h"
#include "platform/ostint/object_path_keys.h"

namespace ostInt {

const char* CmpiString::charPtr() const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const char* text = string_->ft->getCharPtr(string_, &status);
  ThrowUnlessOk(status);
  return text == nullptr ? "" : text;
}

CmpiString CmpiObject::toString() const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIBroker* broker = CallBroker();
  const CMPIString* text = broker->eft->toString(broker, object_, &status);
  return CmpiString(ThrowUnlessMade(text, status, "toString"));
}

namespace {

const CMPIObjectPath* MakeObjectPath(const char* name_space, const char* class_name) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIBroker* broker = CallBroker();
  const CMPIObjectPath* path = broker->eft->newObjectPath(broker, name_space, class_name, &status);
  return ThrowUnlessMade(path, status, "newObjectPath");
}

const CMPIInstance* MakeInstance(const CmpiObjectPath& path) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIBroker* broker = CallBroker();
  const CMPIInstance* instance = broker->eft->newInstance(broker, path.raw(), &status);
  return ThrowUnlessMade(instance, status, "newInstance");
}

CMPIArray* MakeArray(CMPICount count, CMPIType element_type) {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIBroker* broker = CallBroker();
  CMPIArray* array = broker->eft->newArray(broker, count, element_type, &status);
  return ThrowUnlessMade(array, status, "newArray");
}

}  // namespace

CmpiObjectPath::CmpiObjectPath(const char* name_space, const char* class_name)
    : CmpiObject(MakeObjectPath(name_space, class_name)) {}

CmpiData CmpiObjectPath::getKey(const char* name) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  CMPIData data = raw()->ft->getKey(raw(), name, &status);
  if (status.rc == CMPI_RC_OK && !CmpiData::IsAbsent(data)) return CmpiData(data);
  // Some object managers compare key names with regard to case.
  if (FindKeyIgnoringCase(name, data)) return CmpiData(data);
  ThrowUnlessOk(status);
  throw CmpiStatus(CMPI_RC_ERR_NO_SUCH_PROPERTY, std::string("the object path has no key ") + name);
}

bool CmpiObjectPath::FindKeyIgnoringCase(const char* name, CMPIData& found) const {
  const CMPICount count = raw()->ft->getKeyCount(raw(), nullptr);
  for (CMPICount index = 0; index < count; ++index) {
    CMPIStatus status{CMPI_RC_OK, nullptr};
    CMPIString* key = nullptr;
    const CMPIData data = raw()->ft->getKeyAt(raw(), index, &key, &status);
    if (status.rc != CMPI_RC_OK || key == nullptr || CmpiData::IsAbsent(data)) continue;
    if (!SameName(CmpiString(key).charPtr(), name)) continue;
    found = data;
    return true;
  }
  return false;
}

bool CmpiObjectPath::classPathIsA(const char* class_name) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIBroker* broker = CallBroker();
  const bool is_a = broker->eft->classPathIsA(broker, raw(), class_name, &status) != 0;
  if (status.rc == CMPI_RC_ERR_INVALID_CLASS || status.rc == CMPI_RC_ERR_NOT_FOUND) return false;
  ThrowUnlessOk(status);
  return is_a;
}

CmpiInstance::CmpiInstance(const CmpiObjectPath& path) : CmpiObject(MakeInstance(path)) {
  if (!call_broker->CopiesKeys(*this, path)) SetKeys(path);
}

void CmpiInstance::SetKeys(const CmpiObjectPath& path) {
  const CMPICount count = KeyCount(path);
  for (CMPICount index = 0; index < count; ++index) {
    const PathKey key = KeyAt(path, index);
    setProperty(key.name, CmpiData(key.value));
  }
}

bool CmpiInstance::has(const char* name) const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIData data = raw()->ft->getProperty(raw(), name, &status);
  return status.rc == CMPI_RC_OK && !CmpiData::IsAbsent(data);
}

CmpiObjectPath CmpiInstance::objectPath() const {
  CMPIStatus status{CMPI_RC_OK, nullptr};
  const CMPIObjectPath* path = raw()->ft->getObjectPath(raw(), &status);
  return CmpiObjectPath(ThrowUnlessMade(path, status, "getObjectPath"));
}

void CmpiInstance::setPropertyFilter(const char** properties, const char** keys) {
  ThrowUnlessOk(raw()->ft->setPropertyFilter(raw(), properties, keys));
}

CmpiArray::CmpiArray(CMPICount count, CMPIType element_type)
    : array_(MakeArray(count, element_type)), element_type_(element_type) {}

void CmpiArray::Element::operator=(const CmpiData& value) {
  ThrowUnlessOk(array_->ft->setElementAt(array_, index_, value.value(), value.type()));
}

}  // namespace ostInt
