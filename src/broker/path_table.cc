// CMPIObjectPath.

#include "broker/entry.h"
#include "broker/provider_objects.h"
#include "broker/tables.h"

namespace broker {

namespace {

CMPIString* GetText(const CMPIObjectPath* op, std::string_view PathObject::*member, CMPIStatus* rc,
                    const char* function) {
  const auto* path = Use<PathObject>(op, function);
  if (path == nullptr) {
    return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, static_cast<CMPIString*>(nullptr));
  }
  return Made(rc, NewString(RegionFor(path->state), path->*member));
}

CMPIString* GetNameSpace(const CMPIObjectPath* op, CMPIStatus* rc) {
  return GetText(op, &PathObject::name_space, rc, "CMPIObjectPath.getNameSpace");
}
CMPIString* GetClassName(const CMPIObjectPath* op, CMPIStatus* rc) {
  return GetText(op, &PathObject::class_name, rc, "CMPIObjectPath.getClassName");
}

// Keys are neither arrays nor embedded instances (DSP0004, 7.9: key properties).
bool MayBeKey(CMPIType type) {
  return IsDataType(type) && type != CMPI_instance && type < CMPI_ARRAY;
}

CMPIStatus AddKey(CMPIObjectPath* op, const char* name, const CMPIValue* value,
                  const CMPIType type) {
  constexpr const char* kFunction = "CMPIObjectPath.addKey";
  auto* path = Use<PathObject>(op, kFunction);
  if (path == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  if (name == nullptr || value == nullptr) {
    ReportMisuse(kFunction, name == nullptr ? "a null name" : "a null value");
    return Answer(CMPI_RC_ERR_INVALID_PARAMETER);
  }
  if (!MayBeKey(type)) {
    ReportMisuse(kFunction, "a key of type " + cim::TypeName(type));
    return Answer(CMPI_RC_ERR_INVALID_DATA_TYPE);
  }
  Region& region = *path->state.region;
  CMPIData taken;
  const CMPIrc code = TakeValue(region, value, type, kFunction, &taken);
  if (code == CMPI_RC_OK) SetNamed(region, path->keys, name, taken);
  return Answer(code);
}

CMPIData AsKey(CMPIData data) {
  if (data.state == CMPI_goodValue) data.state = CMPI_keyValue;
  return data;
}

CMPIData GetKey(const CMPIObjectPath* op, const char* name, CMPIStatus* rc) {
  const auto* path = Use<PathObject>(op, "CMPIObjectPath.getKey");
  if (path == nullptr) return Unusable(rc);
  return AsKey(NamedByName(path->keys, name, rc, "CMPIObjectPath.getKey"));
}

CMPIData GetKeyAt(const CMPIObjectPath* op, CMPICount index, CMPIString** name, CMPIStatus* rc) {
  const auto* path = Use<PathObject>(op, "CMPIObjectPath.getKeyAt");
  if (path == nullptr) return Unusable(rc);
  if (index >= path->keys.size) return NotThere(rc);
  const NamedData& key = path->keys.items[index];
  if (name != nullptr) *name = &NewString(RegionFor(path->state), key.name)->record;
  return AsKey(Answer(rc, CMPI_RC_OK, key.data));
}

CMPICount GetKeyCount(const CMPIObjectPath* op, CMPIStatus* rc) {
  const auto* path = Use<PathObject>(op, "CMPIObjectPath.getKeyCount");
  if (path == nullptr) return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, CMPICount{0});
  return Answer(rc, CMPI_RC_OK, path->keys.size);
}

}  // namespace

// Qualifiers are not served (no CMPI_MB_Supports_Qualifier).
CMPIObjectPathFT path_table = {
    CMPIVersion200, kNotSupported,   kNotSupported,      kNotSupported,       Entry<GetNameSpace>,
    kNotSupported,  kNotSupported,   kNotSupported,      Entry<GetClassName>, Entry<AddKey>,
    Entry<GetKey>,  Entry<GetKeyAt>, Entry<GetKeyCount>, kNotSupported,       kNotSupported,
    kNotSupported,  kNotSupported,   kNotSupported,      kNotSupported,       kNotSupported,
};

}  // namespace broker
