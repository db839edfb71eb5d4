// CMPIObjectPath.

#include "broker/entry.h"
#include "broker/guest.h"
#include "broker/tables.h"

namespace broker {

namespace {

CMPIStatus Release(CMPIObjectPath* op) {
  return ReleaseObject<PathObject>(op, "CMPIObjectPath.release");
}

CMPIObjectPath* Clone(const CMPIObjectPath* op, CMPIStatus* rc) {
  return CloneObject<PathObject>(op, rc, "CMPIObjectPath.clone");
}

// The three texts of a path are set and read alike.
CMPIStatus SetText(CMPIObjectPath* op, std::string_view PathObject::*member, const char* text,
                   const char* function) {
  auto* path = Use<PathObject>(op, function);
  if (path == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  const std::string_view view = text != nullptr ? text : "";
  path->*member = {path->state.region->CopyText(view), view.size()};
  return Answer(CMPI_RC_OK);
}

CMPIString* GetText(const CMPIObjectPath* op, std::string_view PathObject::*member, CMPIStatus* rc,
                    const char* function) {
  const auto* path = Use<PathObject>(op, function);
  if (path == nullptr) {
    return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, static_cast<CMPIString*>(nullptr));
  }
  return Made(rc, NewString(RegionFor(path->state), path->*member));
}

CMPIStatus SetNameSpace(CMPIObjectPath* op, const char* ns) {
  return SetText(op, &PathObject::name_space, ns, "CMPIObjectPath.setNameSpace");
}
CMPIString* GetNameSpace(const CMPIObjectPath* op, CMPIStatus* rc) {
  return GetText(op, &PathObject::name_space, rc, "CMPIObjectPath.getNameSpace");
}
CMPIStatus SetHostname(CMPIObjectPath* op, const char* hn) {
  return SetText(op, &PathObject::host, hn, "CMPIObjectPath.setHostname");
}
CMPIString* GetHostname(const CMPIObjectPath* op, CMPIStatus* rc) {
  return GetText(op, &PathObject::host, rc, "CMPIObjectPath.getHostname");
}
CMPIStatus SetClassName(CMPIObjectPath* op, const char* cn) {
  return SetText(op, &PathObject::class_name, cn, "CMPIObjectPath.setClassName");
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
  if (value == nullptr) {
    ReportMisuse(kFunction, "a null value");
    return Answer(CMPI_RC_ERR_INVALID_PARAMETER);
  }
  if (!MayBeKey(type)) {
    ReportMisuse(kFunction, "a key of type " + cim::TypeName(type));
    return Answer(CMPI_RC_ERR_INVALID_DATA_TYPE);
  }
  return TakeNamed(path->state, path->keys, name, value, type, kFunction);
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
  return AsKey(NamedAt(path->state, path->keys, index, name, rc));
}

CMPICount GetKeyCount(const CMPIObjectPath* op, CMPIStatus* rc) {
  const auto* path = Use<PathObject>(op, "CMPIObjectPath.getKeyCount");
  if (path == nullptr) return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, CMPICount{0});
  return Answer(rc, CMPI_RC_OK, path->keys.size);
}

CMPIStatus SetNameSpaceFromObjectPath(CMPIObjectPath* op, const CMPIObjectPath* src) {
  constexpr const char* kFunction = "CMPIObjectPath.setNameSpaceFromObjectPath";
  const auto* source = Use<PathObject>(src, kFunction);
  if (source == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  return SetText(op, &PathObject::name_space, source->name_space.data(), kFunction);
}

CMPIStatus SetHostAndNameSpaceFromObjectPath(CMPIObjectPath* op, const CMPIObjectPath* src) {
  constexpr const char* kFunction = "CMPIObjectPath.setHostAndNameSpaceFromObjectPath";
  const auto* source = Use<PathObject>(src, kFunction);
  if (source == nullptr) return Answer(CMPI_RC_ERR_INVALID_HANDLE);
  const CMPIStatus status =
      SetText(op, &PathObject::name_space, source->name_space.data(), kFunction);
  if (status.rc != CMPI_RC_OK) return status;
  return SetText(op, &PathObject::host, source->host.data(), kFunction);
}

// Qualifiers are not served (no CMPI_MB_Supports_Qualifier).
CMPIData GetClassQualifier(const CMPIObjectPath*, const char*, CMPIStatus* rc) {
  return NotThere(rc, CMPI_RC_ERR_NOT_SUPPORTED);
}
CMPIData GetPropertyQualifier(const CMPIObjectPath*, const char*, const char*, CMPIStatus* rc) {
  return NotThere(rc, CMPI_RC_ERR_NOT_SUPPORTED);
}
CMPIData GetMethodQualifier(const CMPIObjectPath*, const char*, const char*, CMPIStatus* rc) {
  return NotThere(rc, CMPI_RC_ERR_NOT_SUPPORTED);
}
CMPIData GetParameterQualifier(const CMPIObjectPath*, const char*, const char*, const char*,
                               CMPIStatus* rc) {
  return NotThere(rc, CMPI_RC_ERR_NOT_SUPPORTED);
}

CMPIString* PathToString(const CMPIObjectPath* op, CMPIStatus* rc) {
  const auto* path = Use<PathObject>(op, "CMPIObjectPath.toString");
  if (path == nullptr) {
    return Answer(rc, CMPI_RC_ERR_INVALID_HANDLE, static_cast<CMPIString*>(nullptr));
  }
  const auto text = TextOf(*path);
  if (!text) return Answer(rc, CMPI_RC_ERR_FAILED, static_cast<CMPIString*>(nullptr));
  return Made(rc, NewString(RegionFor(path->state), *text));
}

}  // namespace

CMPIObjectPathFT path_table = {
    CMPIVersion200,
    Entry<Release>,
    Entry<Clone>,
    Entry<SetNameSpace>,
    Entry<GetNameSpace>,
    Entry<SetHostname>,
    Entry<GetHostname>,
    Entry<SetClassName>,
    Entry<GetClassName>,
    Entry<AddKey>,
    Entry<GetKey>,
    Entry<GetKeyAt>,
    Entry<GetKeyCount>,
    Entry<SetNameSpaceFromObjectPath>,
    Entry<SetHostAndNameSpaceFromObjectPath>,
    Entry<GetClassQualifier>,
    Entry<GetPropertyQualifier>,
    Entry<GetMethodQualifier>,
    Entry<GetParameterQualifier>,
    Entry<PathToString>,
};

}  // namespace broker
